// RowGroupParquetReader: row groups chosen by number or byte range, the
// cursor, its saved state and the whole-file reads.
#include <ovparquet/core/read/RowGroupParquetReader.hpp>

#include "reader_fixture.hpp"

namespace orvane::io::parquet::core::read {
namespace {

using orvane::utf8_to_ustring;

TEST_F(ReaderTest, ReadsRowGroupsOneAtATime) {
  const auto path = write("ten.parquet", *idTable(10), 4);
  RowGroupParquetReader reader(utf8_to_ustring(path), std::vector<double>{3, 1});
  EXPECT_EQ(reader.getTotalNumRowGroups(), 3.0);
  EXPECT_EQ(reader.getRowGroupHeights(), (std::vector<uint64_t>{4, 4, 2}));
  ASSERT_TRUE(reader.hasdata());
  auto first = reader.read();
  EXPECT_EQ(columnValues(first.get(), 0), (std::vector<double>{8, 9}));
  auto second = reader.read();
  EXPECT_EQ(columnValues(second.get(), 0), (std::vector<double>{0, 1, 2, 3}));
  EXPECT_FALSE(reader.hasdata());
  try {
    reader.read();
    FAIL() << "no error";
  } catch (const ReadError& e) {
    EXPECT_EQ(std::get<ustring>(e.message().arguments.at(1)), u"No more data");
  }
}

TEST_F(ReaderTest, ByteRangeBoundaries) {
  const auto path = write("range.parquet", *idTable(100), 10);
  const RowGroupParquetReader all(utf8_to_ustring(path), std::vector<double>{});
  const auto offsets = all.getRowGroupOffsets();
  ASSERT_EQ(offsets.size(), 10u);
  const double o3 = static_cast<double>(offsets[3]), o5 = static_cast<double>(offsets[5]);
  // Starting inside row group 3 (1-based 4): only groups starting at or after.
  EXPECT_EQ(RowGroupParquetReader(utf8_to_ustring(path), o3 + 1, o5 - o3 - 1).getRowGroups(),
            (std::vector<double>{5}));
  // A group starting exactly at offset + size belongs to the next range.
  EXPECT_EQ(RowGroupParquetReader(utf8_to_ustring(path), o3, o5 - o3).getRowGroups(), (std::vector<double>{4, 5}));
  EXPECT_TRUE(RowGroupParquetReader(utf8_to_ustring(path), o3, 0).getRowGroups().empty());
}

TEST_F(ReaderTest, AdjacentRangesSelectEveryRowGroupExactlyOnce) {
  std::mt19937_64 random(20261121);
  for (int file = 0; file < 5; ++file) {
    const int rows = 50 + static_cast<int>(random() % 400);
    const auto path = write("p" + std::to_string(file) + ".parquet", *idTable(rows), 1 + random() % 20);
    const auto size = static_cast<double>(std::filesystem::file_size(path));
    const double groups = RowGroupParquetReader(utf8_to_ustring(path), std::vector<double>{}).getTotalNumRowGroups();
    for (int partition = 0; partition < 20; ++partition) {
      SCOPED_TRACE("file " + std::to_string(file) + " partition " + std::to_string(partition));
      std::vector<double> cuts{0, size};
      const int pieces = 1 + static_cast<int>(random() % 12);
      for (int k = 0; k < pieces; ++k) cuts.push_back(std::floor(std::uniform_real_distribution<double>(0, size)(random)));
      std::sort(cuts.begin(), cuts.end());
      std::vector<double> seen;
      for (std::size_t k = 0; k + 1 < cuts.size(); ++k) {
        const auto selected = RowGroupParquetReader(utf8_to_ustring(path), cuts[k], cuts[k + 1] - cuts[k]).getRowGroups();
        seen.insert(seen.end(), selected.begin(), selected.end());
      }
      EXPECT_EQ(seen, range(1, groups + 1));
    }
  }
}

TEST_F(ReaderTest, ZeroRowGroupsReadsOneEmptyTable) {
  const auto path = mDir.file("none.parquet");
  ovtest::writeParquetWithoutRowGroups(path, idTable(0)->schema());
  RowGroupParquetReader reader(utf8_to_ustring(path), std::vector<double>{});
  EXPECT_EQ(reader.getTotalNumRowGroups(), 0.0);
  reader.setSelectedVariableNames({u"c", u"id"});
  EXPECT_TRUE(reader.shouldReadEmptyOnce());
  ASSERT_TRUE(reader.hasdata());
  auto table = reader.readNext();
  ASSERT_TRUE(table);
  EXPECT_EQ(table->num_rows(), 0);
  EXPECT_EQ(table->schema()->field_names(), (std::vector<std::string>{"c", "id"}));
  EXPECT_FALSE(reader.hasdata());
}

TEST_F(ReaderTest, RangePastTheDataSelectsNothing) {
  const auto path = write("past.parquet", *idTable(10), 5);
  RowGroupParquetReader reader(utf8_to_ustring(path), 1e9, 100);
  EXPECT_TRUE(reader.getRowGroups().empty());
  EXPECT_FALSE(reader.shouldReadEmptyOnce());
  EXPECT_FALSE(reader.hasdata());
}

TEST_F(ReaderTest, SerializeAfterTwoOfFiveAndRestore) {
  const auto path = write("five.parquet", *idTable(50), 10);
  RowGroupParquetReader reader(utf8_to_ustring(path), range(1, 6));
  reader.read();
  reader.read();
  const auto state = reader.serialize();
  ASSERT_TRUE(ovIsCell(state.get()));
  EXPECT_EQ(ovGetDimensions(state.get()), (ovDims{1, 2}));
  EXPECT_EQ(ovGetString(ovGetCell(state.get(), 0)), utf8_to_ustring(path));
  const ovArray* numbers = ovGetCell(state.get(), 1);
  EXPECT_EQ(ovGetDimensions(numbers), (ovDims{3, 1}));
  EXPECT_EQ(std::vector<double>(ovGetTypedData<double>(numbers), ovGetTypedData<double>(numbers) + 3),
            (std::vector<double>{3, 4, 5}));

  RowGroupParquetReader restored;
  EXPECT_TRUE(restored.getVariableNames().empty());
  EXPECT_TRUE(restored.getSelectedVariableNames().empty());
  restored.deserialize(state);
  EXPECT_EQ(restored.getRowGroupIndex(), 0u);
  for (double expectedGroup : {3.0, 4.0, 5.0}) {
    ASSERT_TRUE(restored.hasdata());
    auto restoredTable = restored.read();
    auto uninterrupted = reader.read();
    EXPECT_TRUE(ovArraysEqual(restoredTable.get(), uninterrupted.get())) << ovArraysDifference(restoredTable.get(), uninterrupted.get());
    EXPECT_EQ(columnValues(restoredTable.get(), 0).front(), (expectedGroup - 1) * 10);
  }
  EXPECT_FALSE(restored.hasdata());
}

TEST_F(ReaderTest, MalformedSavedStateIsRejectedWithoutChange) {
  RowGroupParquetReader reader;
  auto notACell = ovCreateDoubleScalar(1);
  EXPECT_THROW(reader.deserialize(notACell), ReadError);
  auto wrongContent = ovCreateCellMatrix(1, 2);
  ovReplaceCell(wrongContent.get(), 0, ovCreateDoubleScalar(3));
  EXPECT_THROW(reader.deserialize(wrongContent), ReadError);
  EXPECT_TRUE(reader.getRowGroups().empty());
}

TEST_F(ReaderTest, TruncationOrdersDifferBetweenReadNextAndReadRowGroups) {
  const auto path = write("trunc.parquet", *idTable(20), 10);
  // 2.5 -> readNext: int(2.5) - 1 = 1; readRowGroups: int(2.5 - 1) = 1.
  // 1.5 -> readNext: 0;                readRowGroups: int(0.5) = 0.
  // 0.5 -> readNext: int(0.5) - 1 = -1 (rejected by Arrow); readRowGroups: 0.
  RowGroupParquetReader reader(utf8_to_ustring(path), std::vector<double>{0.5});
  EXPECT_THROW(reader.readNext(), ReadError);
  auto table = reader.readRowGroups({0.5});
  EXPECT_EQ(columnValues(table.get(), 0).front(), 0);
  table = reader.readRowGroups({2.5});
  EXPECT_EQ(columnValues(table.get(), 0).front(), 10);
}

TEST_F(ReaderTest, ReadallIgnoresTheCursorAndReadFullFileReadsAll) {
  const auto path = write("all.parquet", *idTable(30), 10);
  RowGroupParquetReader reader(utf8_to_ustring(path), std::vector<double>{2, 3});
  reader.read();
  EXPECT_EQ(reader.getRowGroupIndex(), 1u);
  auto table = reader.readall();
  EXPECT_EQ(columnValues(table.get(), 0), range(10, 30));
  EXPECT_EQ(reader.getRowGroupIndex(), 1u);
  table = reader.readFullFile();
  EXPECT_EQ(columnValues(table.get(), 0), range(0, 30));
  reader.reset();
  EXPECT_EQ(reader.getRowGroupIndex(), 0u);
  reader.setRowGroupIndex(7);
  EXPECT_FALSE(reader.hasdata());
  EXPECT_EQ(ovGetNumberOfElements(ovGetCell(reader.serialize().get(), 1)), 0u);
}

TEST_F(ReaderTest, DefaultReaderIsClosed) {
  RowGroupParquetReader reader;
  EXPECT_TRUE(reader.getVariableNames().empty());
  EXPECT_TRUE(reader.getVariableTypes().empty());
  EXPECT_TRUE(reader.getSelectedVariableNames().empty());
  reader.setSelectedVariableNames({u"a"});
  EXPECT_EQ(reader.readNext(), nullptr);
  EXPECT_TRUE(reader.getRowGroups().empty());
}

}  // namespace
}  // namespace orvane::io::parquet::core::read
