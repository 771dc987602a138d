#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/stream.hpp>

#include "../../support/CountingFiles.hpp"
#include "../../support/LogCapture.hpp"
#include "../../support/ParquetFiles.hpp"

#include <arrow/api.h>
#include <arrow/ipc/json_simple.h>
#include <gtest/gtest.h>

#include <random>

namespace orvane::io::parquet::core::read {
namespace {

using orvane::utf8_to_ustring;
using ReadError = common::MessageException<ORVANE::parquetio::read::InternalInvalidRead>;
using NestedDictionaryError = common::MessageException<ORVANE::parquetio::read::DictionaryInNestedStructure>;

// A table whose "id" column counts rows, so every read can be checked.
std::shared_ptr<::arrow::Table> idTable(int64_t rows, const std::vector<std::string>& names = {"id", "b", "c"}) {
  std::vector<std::shared_ptr<::arrow::Field>> fields;
  std::vector<std::shared_ptr<::arrow::Array>> columns;
  for (std::size_t f = 0; f < names.size(); ++f) {
    ::arrow::Int64Builder builder;
    for (int64_t i = 0; i < rows; ++i) ovtest::check(builder.Append(i + static_cast<int64_t>(f) * 1000000));
    fields.push_back(::arrow::field(names[f], ::arrow::int64()));
    columns.push_back(ovtest::check(builder.Finish()));
  }
  return ::arrow::Table::Make(::arrow::schema(fields), columns);
}

std::vector<double> columnValues(const ovArray* table, std::size_t variable) {
  const ovArray* column = ovTableColumn(table, variable);
  std::vector<double> values(ovGetNumberOfElements(column));
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = ovGetScalar(column, i);
  return values;
}

std::vector<double> range(double from, double to) {
  std::vector<double> out;
  for (double v = from; v < to; ++v) out.push_back(v);
  return out;
}

class ReaderTest : public testing::Test {
 protected:
  std::string write(const std::string& name, const ::arrow::Table& table, int64_t rowGroupLength) {
    const auto path = mDir.file(name);
    ovtest::writeParquet(path, table, rowGroupLength);
    return path;
  }
  ovtest::TempDir mDir;
};

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

TEST_F(ReaderTest, SelectionOrderDuplicatesAndCase) {
  const auto path = write("abc.parquet", *idTable(5, {"a", "b", "a", "c"}), 5);
  RowGroupParquetReader reader(utf8_to_ustring(path), std::vector<double>{1});
  EXPECT_EQ(reader.getSelectedVariableNames(), (VariableNames{u"a", u"b", u"a", u"c"}));
  reader.setSelectedVariableNames({u"a", u"a"});
  EXPECT_EQ(reader.getSelectedVariableNames(), (VariableNames{u"a", u"a"}));
  auto table = reader.readall();
  EXPECT_EQ(columnValues(table.get(), 0)[0], 0);         // the first a
  EXPECT_EQ(columnValues(table.get(), 1)[0], 2000000);   // the second a
  reader.setSelectedVariableNames({u"a", u"a", u"a"});
  EXPECT_EQ(reader.getSelectedVariableNames(), (VariableNames{u"a", u"a"}));
  reader.setSelectedVariableNames({u"c", u"a"});
  table = reader.readall();
  EXPECT_EQ(ovTableName(table.get(), 0), u"c");
  EXPECT_EQ(ovTableName(table.get(), 1), u"a");
  EXPECT_EQ(columnValues(table.get(), 0)[1], 3000001);
  reader.setSelectedVariableNames({u"A", u"nope"});
  EXPECT_TRUE(reader.getSelectedVariableNames().empty());
  reader.setSelectedVariableNames({});
  EXPECT_TRUE(reader.getSelectedVariableNames().empty());
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

std::shared_ptr<::arrow::Array> fromJson(const std::shared_ptr<::arrow::DataType>& type, const std::string& json) {
  return ovtest::check(::arrow::ipc::internal::json::ArrayFromJSON(type, json));
}

std::shared_ptr<::arrow::Table> listOfDictionaries(int64_t rows) {
  auto dictType = ::arrow::dictionary(::arrow::int32(), ::arrow::utf8());
  auto values = ovtest::check(::arrow::DictionaryArray::FromArrays(
      dictType, (fromJson(::arrow::int32(), "[0, 1, 0, 1]")),
      (fromJson(::arrow::utf8(), R"(["x", "y"])"))));
  std::vector<std::shared_ptr<::arrow::Array>> chunks;
  for (int64_t i = 0; i < rows; ++i) {
    auto offsets = (fromJson(::arrow::int32(), "[0, 2, 4]"));
    chunks.push_back(ovtest::check(::arrow::ListArray::FromArrays(*offsets, *values)));
  }
  auto column = std::make_shared<::arrow::ChunkedArray>(chunks);
  auto top = ovtest::check(::arrow::DictionaryArray::FromArrays(
      dictType, (fromJson(::arrow::int32(), "[0, 1]")),
      (fromJson(::arrow::utf8(), R"(["p", "q"])"))));
  std::vector<std::shared_ptr<::arrow::Array>> topChunks(static_cast<std::size_t>(rows), top);
  auto schema = ::arrow::schema({::arrow::field("tags", ::arrow::list(dictType)), ::arrow::field("kind", dictType)});
  return ::arrow::Table::Make(schema, {column, std::make_shared<::arrow::ChunkedArray>(topChunks)});
}

TEST_F(ReaderTest, NestedDictionariesOnlyAcrossRowGroups) {
  auto arrowProperties = ::parquet::ArrowWriterProperties::Builder().store_schema()->build();
  const auto one = mDir.file("one.parquet");
  ovtest::writeParquet(one, *listOfDictionaries(1), 100, nullptr, arrowProperties);
  RowGroupParquetReader single(utf8_to_ustring(one), std::vector<double>{1});
  EXPECT_NO_THROW(single.checkForRowGroupedNestedDictionary());

  const auto two = mDir.file("two.parquet");
  ovtest::writeParquet(two, *listOfDictionaries(2), 2, nullptr, arrowProperties);
  RowGroupParquetReader multi(utf8_to_ustring(two), std::vector<double>{1, 2});
  ASSERT_EQ(multi.getTotalNumRowGroups(), 2.0);
  try {
    multi.checkForRowGroupedNestedDictionary();
    FAIL() << "no error";
  } catch (const NestedDictionaryError& e) {
    EXPECT_EQ(e.message().arguments, (std::vector<orvane::MessageArgument>{std::string("tags")}));
  }
  EXPECT_THROW(multi.readRowGroups({1, 2}), NestedDictionaryError);
  EXPECT_NO_THROW(multi.readRowGroups({2}));  // one number: no check
  // A top-level dictionary never raises.
  multi.setSelectedVariableNames({u"kind"});
  EXPECT_NO_THROW(multi.checkForRowGroupedNestedDictionary());
}

TEST_F(ReaderTest, HadoopTestIsCaseSensitive) {
  // "hdfs" locations served from a local file, so that both spellings open.
  const auto path = write("h.parquet", *idTable(3), 3);
  orvane::vfs::registerScheme("hdfs", [path](const orvane::vfs::Iri&, orvane::vfs::CleanupFile& cleanup,
                                             orvane::vfs::OpenMode mode, bool streamFlag) {
    auto local = orvane::vfs::openBinaryStream(utf8_to_ustring(path), cleanup, mode, streamFlag);
    orvane::vfs::OpenedFile opened;
    opened.size = local->size();
    opened.handle = local->detachFileHandle();
    return opened;
  });
  const auto threadDecision = [](const ustring& location) {
    ovtest::LogCapture log(orvane::log::kInformation);
    RowGroupParquetReader reader(location, std::vector<double>{1});
    EXPECT_EQ(columnValues(reader.read().get(), 0), (std::vector<double>{0, 1, 2}));
    return log.records();
  };
  EXPECT_EQ(threadDecision(u"hdfs://namenode/data/h.parquet"),
            (std::vector<std::string>{"Disabling Arrow thread pool since multi-threaded column reads are not "
                                      "currently supported for Hadoop IRIs"}));
  const auto upper = threadDecision(u"HDFS://namenode/data/h.parquet");
  ASSERT_EQ(upper.size(), 1u);
  EXPECT_EQ(upper[0].rfind("numThreads = ", 0), 0u) << upper[0];
}

TEST_F(ReaderTest, OnlyTheSelectedLeafColumnsAreRead) {
  // A small "id", a large uncompressible "payload" between two small ones.
  const int64_t rows = 20000;
  ::arrow::Int64Builder ids, tail;
  ::arrow::StringBuilder payload;
  std::mt19937_64 random(7);
  for (int64_t i = 0; i < rows; ++i) {
    ovtest::check(ids.Append(i));
    ovtest::check(tail.Append(-i));
    std::string text(200, ' ');
    for (auto& c : text) c = static_cast<char>('a' + random() % 26);
    ovtest::check(payload.Append(text));
  }
  auto schema = ::arrow::schema({::arrow::field("id", ::arrow::int64()), ::arrow::field("payload", ::arrow::utf8()),
                                 ::arrow::field("tail", ::arrow::int64())});
  auto table = ::arrow::Table::Make(schema, {ovtest::check(ids.Finish()), ovtest::check(payload.Finish()),
                                             ovtest::check(tail.Finish())});
  const auto path = mDir.file("wide.parquet");
  ovtest::writeParquet(path, *table, 5000,
                       ::parquet::WriterProperties::Builder().disable_dictionary("payload")->build());

  ovtest::CountingFiles counting;
  RowGroupParquetReader reader(counting.location(path), std::vector<double>{1, 2, 3, 4});
  reader.setSelectedVariableNames({u"tail", u"id"});
  const auto& metadata = reader.getMetadata();
  std::int64_t payloadBytes = 0;
  for (int g = 0; g < metadata.num_row_groups(); ++g) payloadBytes += metadata.RowGroup(g)->ColumnChunk(1)->total_compressed_size();
  // Opening read the footer (with Arrow's read-ahead); count the read alone.
  counting.reset();
  const auto host = reader.readall();
  EXPECT_EQ(ovTableName(host.get(), 0), u"tail");
  EXPECT_EQ(columnValues(host.get(), 1).back(), rows - 1);
  // None of the payload's chunks was read, and far fewer bytes than it holds.
  for (int g = 0; g < metadata.num_row_groups(); ++g) {
    const auto chunk = metadata.RowGroup(g)->ColumnChunk(1);
    const std::int64_t begin = chunk->data_page_offset();
    EXPECT_FALSE(counting.touched(path, begin, begin + chunk->total_compressed_size())) << "row group " << g;
  }
  EXPECT_GT(payloadBytes, 3'000'000);
  EXPECT_LT(counting.bytesRead(), payloadBytes / 10);
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
