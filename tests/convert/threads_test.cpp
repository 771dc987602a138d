// Columns convert on the host's computational thread count: one thread and
// two give the same host arrays, warnings and errors.
#include "random_arrow.hpp"
#include "test_support.hpp"

#include <ovparquet/host/threads.hpp>
#include <ovparquet/host/warning.hpp>

namespace convert_test {
namespace {

namespace a = ::arrow;
using orvane::io::arrow::core::kConvertComponent;
using orvane::io::arrow::core::kInvalidUtf8InColumnKey;
using orvane::io::arrow::core::to_orvane;

// Restores the default thread count when a test ends.
struct ThreadCountGuard {
  ~ThreadCountGuard() { orvane::resetComputationalThreadCount(); }
};

struct Outcome {
  unique_ovarray_ptr host;
  std::vector<orvane::Message> warnings;
};

Outcome convertWith(unsigned threads, const std::shared_ptr<a::Table>& table) {
  orvane::setComputationalThreadCount(threads);
  orvane::ScopedWarningCapture capture;
  Outcome outcome;
  outcome.host = unwrap(to_orvane(table));
  outcome.warnings = capture.warnings();
  return outcome;
}

TEST(Threads, OneAndTwoThreadsGiveTheSameHostArrays) {
  ThreadCountGuard guard;
  RandomArrow::Options options;
  options.canonical = false;
  options.structNulls = true;
  options.differingDictionaries = true;
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    RandomArrow random(seed, options);
    const auto table = random.table(random.uniform(2, 8), random.uniform(0, 300));
    const Outcome one = convertWith(1, table);
    const Outcome two = convertWith(2, table);
    EXPECT_HOST_EQ(one.host.get(), two.host.get()) << "seed " << seed;
    EXPECT_EQ(one.warnings, two.warnings) << "seed " << seed;
  }
}

TEST(Threads, LongListColumnsGiveTheSameHostArrays) {
  // Long enough for the rows of one list column to convert on both threads.
  ThreadCountGuard guard;
  RandomArrow::Options options;
  options.canonical = false;
  options.structNulls = true;
  options.maxDepth = 2;
  for (std::uint64_t seed = 1; seed <= 4; ++seed) {
    RandomArrow random(seed, options);
    const auto type = a::list(random.type(1));
    auto table = tableOf({{"list", random.column(type, 70000)},
                          {"ints", random.column(a::list(a::int64()), 70000)}});
    const Outcome one = convertWith(1, table);
    const Outcome two = convertWith(2, table);
    EXPECT_HOST_EQ(one.host.get(), two.host.get()) << "seed " << seed << ", " << type->ToString();
    EXPECT_EQ(one.warnings, two.warnings) << "seed " << seed;
  }
}

TEST(Threads, InvalidUtf8InListRowsIsCountedOnce) {
  ThreadCountGuard guard;
  a::ListBuilder lists(a::default_memory_pool(), std::make_shared<a::StringBuilder>());
  auto* values = static_cast<a::StringBuilder*>(lists.value_builder());
  std::uint64_t bad = 0;
  for (int row = 0; row < 50000; ++row) {
    ASSERT_TRUE(lists.Append().ok());
    ASSERT_TRUE(values->Append(row % 7 == 0 ? "x\xFF" : "fine").ok());
    bad += row % 7 == 0;
  }
  auto table = tableOf("s", unwrap(lists.Finish()));
  const Outcome two = convertWith(2, table);
  ASSERT_EQ(two.warnings.size(), 1u);
  EXPECT_EQ(two.warnings[0], orvane::Message::make(kConvertComponent, kInvalidUtf8InColumnKey,
                                                   std::string("s"), bad));
  EXPECT_HOST_EQ(two.host.get(), convertWith(1, table).host.get());
}

std::shared_ptr<a::Array> badUtf8(const std::string& text) {
  a::StringBuilder builder;
  EXPECT_TRUE(builder.Append(text).ok());
  return unwrap(builder.Finish());
}

TEST(Threads, WarningsComeInColumnOrder) {
  ThreadCountGuard guard;
  auto table = tableOf({{"first", chunked({badUtf8("a\xFF")})},
                        {"fine", chunked({badUtf8("ok")})},
                        {"second", chunked({badUtf8("\xFE\xFE")})}});
  const Outcome two = convertWith(2, table);
  ASSERT_EQ(two.warnings.size(), 2u);
  EXPECT_EQ(two.warnings[0], orvane::Message::make(kConvertComponent, kInvalidUtf8InColumnKey,
                                                   std::string("first"), std::uint64_t{1}));
  EXPECT_EQ(two.warnings[1], orvane::Message::make(kConvertComponent, kInvalidUtf8InColumnKey,
                                                   std::string("second"), std::uint64_t{1}));
  EXPECT_EQ(two.warnings, convertWith(1, table).warnings);
}

std::shared_ptr<a::Array> outOfRangeDictionary() {
  auto data = fromJson(a::int32(), "[0, 7]")->data()->Copy();
  data->type = a::dictionary(a::int32(), a::utf8());
  data->dictionary = fromJson(a::utf8(), R"(["a"])")->data();
  return a::MakeArray(data);
}

TEST(Threads, TheFirstFailingColumnIsReported) {
  ThreadCountGuard guard;
  auto table = tableOf({{"fine", chunked({fromJson(a::int32(), "[1, 2]")})},
                        {"early", chunked({outOfRangeDictionary()})},
                        {"late", chunked({outOfRangeDictionary()})}});
  for (unsigned threads : {1u, 2u}) {
    orvane::setComputationalThreadCount(threads);
    auto result = to_orvane(table);
    ASSERT_FALSE(result.ok());
    EXPECT_NE(result.status().message().find("'early'"), std::string::npos)
        << threads << " threads: " << result.status().ToString();
  }
}

}  // namespace
}  // namespace convert_test
