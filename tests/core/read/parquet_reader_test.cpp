// ParquetReader, through its row-group reader: variable selection, nested
// dictionaries, the thread decision and reading only the selected columns.
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/stream.hpp>

#include "../../support/CountingFiles.hpp"
#include "../../support/LogCapture.hpp"
#include "reader_fixture.hpp"

#include <arrow/ipc/json_simple.h>

#include <random>

namespace orvane::io::parquet::core::read {
namespace {

using orvane::utf8_to_ustring;

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

}  // namespace
}  // namespace orvane::io::parquet::core::read
