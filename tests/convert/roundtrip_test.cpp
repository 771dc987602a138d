// Property tests over random tables: Arrow -> host -> Arrow gives the same
// table for canonical types, and host -> Arrow -> host the same host table
// for every type with a host class.
#include "random_arrow.hpp"
#include "test_support.hpp"

#include <ovparquet/host/warning.hpp>

#include <arrow/compare.h>

namespace convert_test {
namespace {

using orvane::io::arrow::core::to_arrow_table;
using orvane::io::arrow::core::to_orvane;

constexpr int kIterations = 300;

std::shared_ptr<::arrow::Table> randomTable(RandomArrow& random) {
  const int columns = random.uniform(1, 4);
  // Mostly short tables, some empty ones, a few long enough for the bulk paths.
  const std::int64_t rows =
      random.chance(0.1) ? 0 : (random.chance(0.1) ? random.uniform(100, 400) : random.uniform(1, 30));
  return random.table(columns, rows);
}

void expectSameTable(const ::arrow::Table& actual, const ::arrow::Table& expected) {
  ASSERT_EQ(actual.num_columns(), expected.num_columns());
  ASSERT_EQ(actual.num_rows(), expected.num_rows());
  // The whole schema, field names of list items and map entries included.
  EXPECT_TRUE(actual.schema()->Equals(*expected.schema()))
      << actual.schema()->ToString() << "\nvs\n" << expected.schema()->ToString();
  const auto options = ::arrow::EqualOptions::Defaults().nans_equal(true);
  for (int c = 0; c < expected.num_columns(); ++c) {
    SCOPED_TRACE("column " + expected.field(c)->name());
    EXPECT_EQ(actual.field(c)->name(), expected.field(c)->name());
    ASSERT_TRUE(actual.field(c)->type()->Equals(*expected.field(c)->type()))
        << actual.field(c)->type()->ToString() << " vs " << expected.field(c)->type()->ToString();
    EXPECT_TRUE(actual.column(c)->Equals(*expected.column(c), options))
        << "actual:\n"
        << actual.column(c)->ToString() << "\nexpected:\n"
        << expected.column(c)->ToString();
  }
}

TEST(RoundTrip, CanonicalArrowTypesComeBackEqual) {
  for (int i = 0; i < kIterations; ++i) {
    const std::uint64_t seed = 0xC0FFEE00u + static_cast<std::uint64_t>(i);
    SCOPED_TRACE("seed " + std::to_string(seed));
    // Null records at every level, lists without any element (empty or all
    // missing) and tables of zero rows all come back as they were.
    RandomArrow random(seed, {.canonical = true, .structNulls = true,
                              .differingDictionaries = false, .maxDepth = 3,
                              .listsHaveElements = i % 2 == 0});
    const auto table = randomTable(random);
    ASSERT_TRUE(table->ValidateFull().ok()) << table->ValidateFull().ToString();
    SCOPED_TRACE("schema " + table->schema()->ToString());

    orvane::ScopedWarningCapture warnings;
    auto host = to_orvane(table);
    ASSERT_TRUE(host.ok()) << host.status().ToString();
    ASSERT_TRUE(ovIsTable(host->get()));
    EXPECT_EQ(ovTableNumVariables(host->get()), static_cast<std::size_t>(table->num_columns()));
    EXPECT_EQ(ovTableNumRows(host->get()), static_cast<std::size_t>(table->num_rows()));
    EXPECT_TRUE(warnings.warnings().empty());

    auto back = to_arrow_table(host->get());
    ASSERT_TRUE(back.ok()) << back.status().ToString();
    ASSERT_TRUE((*back)->ValidateFull().ok()) << (*back)->ValidateFull().ToString();
    expectSameTable(**back, *table);
  }
}

TEST(RoundTrip, HostTablesOfEveryClassComeBackEqual) {
  for (int i = 0; i < kIterations; ++i) {
    const std::uint64_t seed = 0xBADC0DE00u + static_cast<std::uint64_t>(i);
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomArrow random(seed, {.canonical = false, .structNulls = true,
                              .differingDictionaries = true, .maxDepth = 3,
                              .listsHaveElements = false});
    const auto table = randomTable(random);
    ASSERT_TRUE(table->ValidateFull().ok()) << table->ValidateFull().ToString();
    SCOPED_TRACE("schema " + table->schema()->ToString());

    orvane::ScopedWarningCapture warnings;
    auto host = to_orvane(table);
    ASSERT_TRUE(host.ok()) << host.status().ToString();
    ASSERT_TRUE(ovIsTable(host->get()));
    // Each variable has the class to_orvane_datatype announces.
    for (int c = 0; c < table->num_columns(); ++c) {
      EXPECT_EQ(std::optional<std::string>(ovGetClassName(ovTableColumn(host->get(), c))),
                orvane::io::arrow::core::to_orvane_datatype(table->field(c)->type()))
          << table->field(c)->type()->ToString();
    }

    auto arrow = to_arrow_table(host->get());
    ASSERT_TRUE(arrow.ok()) << arrow.status().ToString();
    ASSERT_TRUE((*arrow)->ValidateFull().ok()) << (*arrow)->ValidateFull().ToString();

    auto again = to_orvane(*arrow);
    ASSERT_TRUE(again.ok()) << again.status().ToString();
    EXPECT_HOST_EQ(again->get(), host->get());

    // What to_arrow_table produces is canonical: a second round trip
    // reproduces it exactly.
    auto arrowAgain = to_arrow_table(again->get());
    ASSERT_TRUE(arrowAgain.ok()) << arrowAgain.status().ToString();
    expectSameTable(**arrowAgain, **arrow);
    EXPECT_TRUE(warnings.warnings().empty());
  }
}

}  // namespace
}  // namespace convert_test
