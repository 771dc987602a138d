// The read memory budget: the bytes a read holds, from the footer alone, and
// the refusal of a read that declares more than the host's limit.
#include <ovparquet/core/read/ReadBudget.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/memory.hpp>

#include "../../support/Messages.hpp"
#include "../../support/ParquetFiles.hpp"

#include <gtest/gtest.h>

#include <numeric>

namespace orvane::io::parquet::core::read {
namespace {

using Tag = ORVANE::parquetio::read::MemoryLimitExceeded;

class ReadBudget : public testing::Test {
 protected:
  void SetUp() override {
    mPath = mDir.file("budget.parquet");
    ovtest::writeParquet(mPath, *ovtest::makeSimpleTable(1000), 100);
    mName = orvane::utf8_to_ustring(mPath);
  }
  void TearDown() override { orvane::resetReadMemoryLimit(); }

  // What row group r of the simple table holds: "id" and "value" (nullable
  // 8-byte values with 2-byte definition levels), "name" (nullable strings:
  // offsets, levels, and the bytes twice, in the pages and decoded).
  static std::uint64_t expected(const ::parquet::FileMetaData& metadata, int r) {
    const auto group = metadata.RowGroup(r);
    const auto rows = static_cast<std::uint64_t>(group->num_rows());
    const auto pages = [&](int c) { return static_cast<std::uint64_t>(group->ColumnChunk(c)->total_uncompressed_size()); };
    return pages(0) + rows * 10 + pages(1) + rows * 10 + 2 * pages(2) + rows * 6;
  }

  ovtest::TempDir mDir;
  std::string mPath;
  ustring mName;
};

TEST_F(ReadBudget, CountsPagesValuesLevelsAndStringBytesTwice) {
  const RowGroupParquetReader reader(mName, std::vector<double>{});
  const auto& metadata = reader.getMetadata();
  ASSERT_EQ(metadata.num_row_groups(), 10);
  std::uint64_t all = 0;
  for (int r = 0; r < 10; ++r) {
    EXPECT_EQ(declaredReadBytes(metadata, {r}, {0, 1, 2}), expected(metadata, r)) << r;
    all += expected(metadata, r);
  }
  std::vector<int> groups(10);
  std::iota(groups.begin(), groups.end(), 0);
  EXPECT_EQ(declaredReadBytes(metadata, groups, {0, 1, 2}), all);
  EXPECT_EQ(declaredReadBytes(metadata, {3}, {}), 0u);
}

TEST_F(ReadBudget, RefusesAReadAboveTheLimitNamingTheFileAndTheRowGroup) {
  std::vector<double> chosen = {2, 7};
  RowGroupParquetReader reader(mName, chosen);
  reader.setSelectedVariableNames({u"name"});
  const auto& metadata = reader.getMetadata();
  const auto nameOnly = [&](int r) {
    return declaredReadBytes(metadata, {r}, {2});
  };
  const std::uint64_t worst = std::max(nameOnly(1), nameOnly(6));
  const std::string worstText = nameOnly(6) > nameOnly(1) ? "row group 7" : "row group 2";

  orvane::setReadMemoryLimit(worst);
  EXPECT_NO_THROW(checkReadBudget(reader, Holding::OneAtATime));
  orvane::setReadMemoryLimit(worst - 1);
  const auto arguments = ovtest::argumentsOf<Tag>([&] { checkReadBudget(reader, Holding::OneAtATime); });
  ASSERT_EQ(arguments.size(), 4u);
  EXPECT_EQ(std::get<ustring>(arguments[0]), mName);
  EXPECT_EQ(std::get<std::string>(arguments[1]), worstText);
  EXPECT_EQ(std::get<std::uint64_t>(arguments[2]), worst);
  EXPECT_EQ(std::get<std::uint64_t>(arguments[3]), worst - 1);

  // Held together, the two row groups count as one sum.
  orvane::setReadMemoryLimit(nameOnly(1) + nameOnly(6) - 1);
  const auto together = ovtest::argumentsOf<Tag>([&] { checkReadBudget(reader, Holding::Together); });
  ASSERT_EQ(together.size(), 4u);
  EXPECT_EQ(std::get<std::string>(together[1]), "2 row groups");
  EXPECT_EQ(std::get<std::uint64_t>(together[2]), nameOnly(1) + nameOnly(6));
}

TEST_F(ReadBudget, AnIndexTheFooterDoesNotHaveIsAnInvalidReadNamingTheFile) {
  const RowGroupParquetReader reader(mName, std::vector<double>{});
  const auto arguments = ovtest::argumentsOf<ORVANE::parquetio::read::InternalInvalidRead>(
      [&] { checkReadBudget(mName, reader.getMetadata(), {10}, {0}, Holding::Together); });
  ASSERT_EQ(arguments.size(), 2u);
  EXPECT_EQ(std::get<ustring>(arguments[0]), mName);
}

// A 4 KB file of apache/parquet-testing whose map holds one 2 GiB string:
// reading it took 5 GB and 10 s before Parquet gave up.
TEST_F(ReadBudget, RefusesADeclaredTwoGibStringAtTheDefaultLimit) {
  const ustring name = orvane::utf8_to_ustring(OVPARQUET_DATA_DIR "/parquet-testing/refused/large_string_map.brotli.parquet");
  RowGroupParquetReader reader(name, std::vector<double>{1});
  const auto arguments = ovtest::argumentsOf<Tag>([&] { checkReadBudget(reader, Holding::OneAtATime); });
  ASSERT_EQ(arguments.size(), 4u);
  EXPECT_EQ(std::get<ustring>(arguments[0]), name);
  EXPECT_GT(std::get<std::uint64_t>(arguments[2]), std::uint64_t{4} << 30);
}

// A 343-byte fuzzed file of apache/arrow-testing: one fixed-size binary
// column of 1,401,404,944-byte values, 1768 of them, which made a read peak
// at 1.4 GB.
TEST_F(ReadBudget, RefusesAFuzzedFileOfHugeFixedSizeValues) {
  const ustring name = orvane::utf8_to_ustring(
      OVPARQUET_DATA_DIR "/arrow-testing/data/parquet/fuzzing/clusterfuzz-testcase-minimized-parquet-arrow-fuzz-5843248142942208");
  RowGroupParquetReader reader(name, std::vector<double>{1});
  const auto arguments = ovtest::argumentsOf<Tag>([&] { checkReadBudget(reader, Holding::OneAtATime); });
  ASSERT_EQ(arguments.size(), 4u);
  EXPECT_EQ(std::get<std::uint64_t>(arguments[2]), std::uint64_t{1768} * (1401404944 + 2));
}

}  // namespace
}  // namespace orvane::io::parquet::core::read
