#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/read/Splits.hpp>

#include "../../support/ParquetFiles.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>

namespace orvane::io::parquet::core::read {
namespace {

using orvane::utf8_to_ustring;
using orvane::ustring_to_utf8;

TEST(CutFile, ConsecutiveRangesCoverTheFile) {
  const auto splits = cutFile(u"f.parquet", 1000, 300);
  ASSERT_EQ(splits.size(), 4u);
  std::int64_t next = 0;
  for (const auto& s : splits) {
    EXPECT_EQ(s.location, u"f.parquet");
    EXPECT_EQ(s.offset, next);
    next = s.offset + s.size;
  }
  EXPECT_EQ(next, 1000);
  EXPECT_EQ(splits.back().size, 100);
}

TEST(CutFile, ExactMultipleHasNoEmptyTail) {
  const auto splits = cutFile(u"f", 900, 300);
  ASSERT_EQ(splits.size(), 3u);
  EXPECT_EQ(splits.back().offset, 600);
  EXPECT_EQ(splits.back().size, 300);
}

TEST(CutFile, EmptyFileGivesOneEmptyRange) {
  const auto splits = cutFile(u"f", 0, 300);
  ASSERT_EQ(splits.size(), 1u);
  EXPECT_EQ(splits[0].offset, 0);
  EXPECT_EQ(splits[0].size, 0);
}

class PlanSplits : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(dir.file("sub"));
    // Several row groups per file, so split bounds fall inside row groups.
    ovtest::writeParquet(dir.file("b.parquet"), *ovtest::makeSimpleTable(5000), 300);
    ovtest::writeParquet(dir.file("a.parquet"), *ovtest::makeSimpleTable(3000), 250);
    ovtest::writeParquet(dir.file("sub/c.PARQUET"), *ovtest::makeSimpleTable(700), 100);
    ovtest::writeParquet(dir.file(".hidden.parquet"), *ovtest::makeSimpleTable(10), 10);
    std::ofstream(dir.file("notes.txt")) << "not parquet";
  }
  ovtest::TempDir dir;
};

TEST_F(PlanSplits, FolderGivesItsParquetFilesInNameOrder) {
  const auto files = parquetFiles({utf8_to_ustring(dir.path())});
  ASSERT_EQ(files.size(), 3u);
  EXPECT_EQ(ustring_to_utf8(files[0]), dir.file("a.parquet"));
  EXPECT_EQ(ustring_to_utf8(files[1]), dir.file("b.parquet"));
  EXPECT_EQ(ustring_to_utf8(files[2]), dir.file("sub/c.PARQUET"));
}

TEST_F(PlanSplits, SplitsCoverEveryByteOfEveryFile) {
  const auto splits = planSplits({utf8_to_ustring(dir.path())}, 4096);
  std::map<std::string, std::int64_t> covered;
  for (const auto& s : splits) {
    auto& end = covered[ustring_to_utf8(s.location)];
    EXPECT_EQ(s.offset, end) << "ranges of a file are consecutive";
    EXPECT_GT(s.size, 0);
    EXPECT_LE(s.size, 4096);
    end = s.offset + s.size;
  }
  ASSERT_EQ(covered.size(), 3u);
  for (const auto& [file, end] : covered) EXPECT_EQ(end, static_cast<std::int64_t>(std::filesystem::file_size(file)));
}

TEST_F(PlanSplits, DefaultSizeKeepsSmallFilesWhole) {
  const auto splits = planSplits({utf8_to_ustring(dir.file("a.parquet"))});
  ASSERT_EQ(splits.size(), 1u);
  EXPECT_EQ(splits[0].size, static_cast<std::int64_t>(std::filesystem::file_size(dir.file("a.parquet"))));
}

// For random split sizes every row group lies in exactly one split.
TEST_F(PlanSplits, EveryRowGroupInExactlyOneSplit) {
  std::map<std::string, std::size_t> groups;
  for (const auto& file : parquetFiles({utf8_to_ustring(dir.path())})) {
    groups[ustring_to_utf8(file)] = RowGroupParquetReader(file, std::vector<double>{}).getTotalNumRowGroups();
  }
  std::mt19937 random(23);
  std::uniform_int_distribution<std::int64_t> size(2000, 40000);
  for (int trial = 0; trial < 10; ++trial) {
    const std::int64_t splitSize = size(random);
    std::map<std::string, std::multiset<double>> seen;
    for (const auto& s : planSplits({utf8_to_ustring(dir.path())}, splitSize)) {
      RowGroupParquetReader reader(s.location, static_cast<double>(s.offset), static_cast<double>(s.size));
      for (const double g : reader.getRowGroups()) seen[ustring_to_utf8(s.location)].insert(g);
    }
    for (const auto& [file, count] : groups) {
      const auto& got = seen[file];
      ASSERT_EQ(got.size(), count) << file << " with split size " << splitSize;
      for (std::size_t g = 1; g <= count; ++g) EXPECT_EQ(got.count(static_cast<double>(g)), 1u) << file << " " << g;
    }
  }
}

TEST_F(PlanSplits, FolderWithoutParquetFilesIsAnError) {
  std::filesystem::create_directories(dir.file("empty"));
  std::ofstream(dir.file("empty/x.csv")) << "a\n1\n";
  try {
    planSplits({utf8_to_ustring(dir.file("empty"))});
    FAIL() << "expected NoParquetFiles";
  } catch (const common::MessageError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:parquetio:read:NoParquetFiles");
    EXPECT_NE(std::string(e.what()).find(dir.file("empty")), std::string::npos) << e.what();
  }
}

TEST_F(PlanSplits, SplitSizeBelowOneIsAnError) {
  for (const std::int64_t bad : {std::int64_t{0}, std::int64_t{-5}}) {
    try {
      planSplits({utf8_to_ustring(dir.path())}, bad);
      FAIL() << "expected InvalidSplitSize";
    } catch (const common::MessageError& e) {
      EXPECT_EQ(e.identifier(), "ORVANE:parquetio:read:InvalidSplitSize");
    }
  }
}

TEST_F(PlanSplits, MissingFileNamesTheFile) {
  try {
    planSplits({utf8_to_ustring(dir.file("nope.parquet"))});
    FAIL() << "expected an error";
  } catch (const std::exception& e) {
    EXPECT_NE(std::string(e.what()).find("nope.parquet"), std::string::npos) << e.what();
  }
}

}  // namespace
}  // namespace orvane::io::parquet::core::read
