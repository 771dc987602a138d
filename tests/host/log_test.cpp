#include <ovparquet/host/logger.hpp>

#include <boost/log/sources/record_ostream.hpp>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <thread>

namespace orvane::log {
namespace {

void write(Logger& logger, unsigned severity, const std::string& text) {
  if (!isEnabled(severity)) return;
  auto record = logger.open_record(boost::log::keywords::severity = severity);
  if (!record) return;
  boost::log::record_ostream stream(record);
  stream << text;
  stream.flush();
  logger.push_record(std::move(record));
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

// The part of a line after "<channel>: ".
std::string body(const std::string& line, const std::string& channel) {
  const auto at = line.find(channel + ": ");
  return at == std::string::npos ? "<no channel>" : line.substr(at + channel.size() + 2);
}

class LogTest : public testing::Test {
 protected:
  void SetUp() override {
    mOut = std::make_shared<std::ostringstream>();
    logToStream(mOut);
  }
  void TearDown() override {
    setMask(0);
    logToStderr();
  }
  std::string output() {
    flush();
    return mOut->str();
  }
  std::shared_ptr<std::ostringstream> mOut;
};

TEST_F(LogTest, MaskIsZeroByDefaultSoNothingIsFormed) {
  EXPECT_EQ(mask(), 0u);
  Logger logger("test.default");
  for (unsigned s : {2u, 4u, 8u, 16u, 32u, 64u, 128u}) write(logger, s, "never");
  EXPECT_EQ(output(), "");
}

TEST_F(LogTest, OnlyEnabledSeveritiesAppear) {
  Logger logger("test.mask");
  setMask(kDetail | kScopeExit);
  write(logger, kDetail, "detail record");
  write(logger, kInformation, "info record");
  write(logger, kScopeEntry, "entry record");
  write(logger, kScopeExit, "exit record");
  const auto got = lines(output());
  ASSERT_EQ(got.size(), 2u) << output();
  EXPECT_EQ(body(got[0], "test.mask"), "detail record");
  EXPECT_NE(got[0].find("detail"), std::string::npos);
  EXPECT_EQ(body(got[1], "test.mask"), "exit record");
}

TEST_F(LogTest, MaskChangesTakeEffectAtOnce) {
  Logger logger("test.toggle");
  setMask(kInformation);
  write(logger, kInformation, "one");
  setMask(0);
  write(logger, kInformation, "two");
  setMask(kInformation);
  write(logger, kInformation, "three");
  const auto got = lines(output());
  ASSERT_EQ(got.size(), 2u);
  EXPECT_EQ(body(got[1], "test.toggle"), "three");
}

TEST_F(LogTest, NestingDepthIndentsPerThread) {
  Logger logger("test.depth");
  setMask(kAllSeverities);
  ASSERT_EQ(depth(), 0);
  write(logger, kScopeEntry, "outer");
  increaseDepth();
  write(logger, kScopeEntry, "inner");
  increaseDepth();
  write(logger, kDetail, "deepest");
  // Another thread has its own depth, starting at 0.
  std::thread other([&] {
    EXPECT_EQ(depth(), 0);
    write(logger, kInformation, "other thread");
    increaseDepth();
    write(logger, kInformation, "other nested");
    decreaseDepth();
  });
  other.join();
  EXPECT_EQ(depth(), 2);
  decreaseDepth();
  write(logger, kScopeExit, "inner");
  decreaseDepth();
  write(logger, kScopeExit, "outer");
  const auto got = lines(output());
  ASSERT_EQ(got.size(), 7u) << output();
  EXPECT_EQ(body(got[0], "test.depth"), "outer");
  EXPECT_EQ(body(got[1], "test.depth"), "  inner");
  EXPECT_EQ(body(got[2], "test.depth"), "    deepest");
  EXPECT_EQ(body(got[3], "test.depth"), "other thread");
  EXPECT_EQ(body(got[4], "test.depth"), "  other nested");
  EXPECT_EQ(body(got[5], "test.depth"), "  inner");
  EXPECT_EQ(body(got[6], "test.depth"), "outer");
  // The two threads' lines carry different thread ids.
  const auto threadOf = [](const std::string& line) {
    const auto open = line.find('[');
    return line.substr(open, line.find(']') - open);
  };
  EXPECT_NE(threadOf(got[2]), threadOf(got[3]));
  EXPECT_EQ(threadOf(got[2]), threadOf(got[5]));
}

TEST_F(LogTest, WideTextIsWrittenAsUtf8) {
  Logger logger("test.wide");
  setMask(kDetail);
  auto record = logger.open_record(boost::log::keywords::severity = kDetail);
  ASSERT_TRUE(record);
  boost::log::record_ostream stream(record);
  stream << " filename=" << std::u16string(u"/tmp/Grüße.parquet");
  stream.flush();
  logger.push_record(std::move(record));
  const auto got = lines(output());
  ASSERT_EQ(got.size(), 1u);
  EXPECT_EQ(body(got[0], "test.wide"), " filename=/tmp/Grüße.parquet");
}

TEST_F(LogTest, FileSinkAppendsAndBadPathIsAnIdentifiedError) {
  const std::string path = testing::TempDir() + "/ovparquet_log_test.log";
  std::remove(path.c_str());
  logToFile(path);
  Logger logger("test.file");
  setMask(kInformation);
  write(logger, kInformation, "to the file");
  flush();
  std::ifstream in(path);
  std::string line;
  ASSERT_TRUE(std::getline(in, line));
  EXPECT_EQ(body(line, "test.file"), "to the file");
  try {
    logToFile("/nonexistent-dir/x.log");
    FAIL() << "no error";
  } catch (const std::exception& e) {
    EXPECT_NE(std::string(e.what()).find("/nonexistent-dir/x.log"), std::string::npos) << e.what();
  }
}

}  // namespace
}  // namespace orvane::log
