// Row-group statistics: flags, counts, minima and maxima from the footer,
// the variables that cannot be filtered on, the error contexts, the log and
// how little of the file is read.
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/read/Statistics.hpp>
#include <ovparquet/convert/datatype.hpp>
#include <ovparquet/host/stream.hpp>

#include "../../support/CountingFiles.hpp"
#include "../../support/LogCapture.hpp"
#include "../../support/ParquetFiles.hpp"

#include <arrow/api.h>
#include <arrow/extension/fixed_shape_tensor.h>
#include <arrow/io/file.h>
#include <arrow/ipc/json_simple.h>
#include <gtest/gtest.h>
#include <parquet/arrow/reader.h>
#include <parquet/file_reader.h>
#include <parquet/file_writer.h>
#include <parquet/metadata.h>
#include <parquet/schema.h>
#include <parquet/statistics.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <optional>

namespace orvane::io::parquet::core::read {
namespace {

using orvane::utf8_to_ustring;
using InternalError = common::MessageException<ORVANE::parquetio::read::InternalError>;
using UnsupportedFilterError = common::MessageException<ORVANE::parquetio::read::UnsupportedRowFilterVariable>;
using UnsupportedTypeError = common::MessageException<ORVANE::parquetio::read::InternalUnsupportedParquetType>;

std::shared_ptr<::arrow::Array> fromJson(const std::shared_ptr<::arrow::DataType>& type, const std::string& json) {
  return ovtest::check(::arrow::ipc::internal::json::ArrayFromJSON(type, json));
}

std::shared_ptr<::arrow::Table> makeTable(const std::vector<std::shared_ptr<::arrow::Field>>& fields,
                                          const std::vector<std::string>& json) {
  std::vector<std::shared_ptr<::arrow::Array>> columns;
  for (std::size_t i = 0; i < fields.size(); ++i) columns.push_back(fromJson(fields[i]->type(), json[i]));
  return ::arrow::Table::Make(::arrow::schema(fields), columns);
}

std::vector<bool> logicalValues(const ovArray* array) {
  const bool* data = ovGetTypedData<bool>(array);
  return std::vector<bool>(data, data + ovGetNumberOfElements(array));
}

std::vector<int64_t> int64Values(const ovArray* array) {
  const int64_t* data = ovGetTypedData<int64_t>(array);
  return std::vector<int64_t>(data, data + ovGetNumberOfElements(array));
}

std::vector<bool> missingMarks(const ovArray* array) {
  std::vector<bool> marks;
  for (std::size_t i = 0; i < ovGetNumberOfElements(array); ++i) marks.push_back(ovIsMissing(array, i));
  return marks;
}

std::vector<std::string> stringValues(const ovArray* array) {
  std::vector<std::string> values;
  for (std::size_t i = 0; i < ovGetNumberOfElements(array); ++i) values.push_back(ovGetStringUtf8(array, i));
  return values;
}

std::vector<int64_t> tickValues(const ovArray* array) {
  const int64_t* ticks = ovGetTicks(array);
  return std::vector<int64_t>(ticks, ticks + ovGetNumberOfElements(array));
}

ovDims dims(const unique_ovarray_ptr& array) { return ovGetDimensions(array.get()); }

// Every field of two records holds equal arrays.
void expectSameStatistics(const Statistics& a, const Statistics& b) {
  EXPECT_EQ(ovArraysDifference(a.nullCountValid.get(), b.nullCountValid.get()), "");
  EXPECT_EQ(ovArraysDifference(a.distinctCountValid.get(), b.distinctCountValid.get()), "");
  EXPECT_EQ(ovArraysDifference(a.minMaxValid.get(), b.minMaxValid.get()), "");
  EXPECT_EQ(ovArraysDifference(a.nullCounts.get(), b.nullCounts.get()), "");
  EXPECT_EQ(ovArraysDifference(a.distinctCounts.get(), b.distinctCounts.get()), "");
  EXPECT_EQ(ovArraysDifference(a.minValues.get(), b.minValues.get()), "");
  EXPECT_EQ(ovArraysDifference(a.maxValues.get(), b.maxValues.get()), "");
}

// What one row group of the hand-made footer says about its single int64
// column "a". Arrow's writer cannot produce most of these combinations.
struct ChunkStatistics {
  bool present = true;
  std::optional<int64_t> nullCount;
  std::optional<int64_t> distinctCount;
  std::optional<std::pair<int64_t, int64_t>> minMax;
};

std::string int64Bytes(int64_t value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return bytes;
}

// Writes a Parquet file that is the leading magic followed by a footer built
// by hand: one optional int64 column "a", one row group per entry. There are
// no pages; statistics never need them.
void writeFooterOnlyFile(const std::string& path, const std::vector<ChunkStatistics>& rowGroups) {
  using ::parquet::schema::GroupNode;
  using ::parquet::schema::PrimitiveNode;
  const auto root = GroupNode::Make(
      "schema", ::parquet::Repetition::REQUIRED,
      {PrimitiveNode::Make("a", ::parquet::Repetition::OPTIONAL, ::parquet::Type::INT64)});
  ::parquet::SchemaDescriptor descriptor;
  descriptor.Init(root);
  const auto properties = ::parquet::default_writer_properties();
  auto builder = ::parquet::FileMetaDataBuilder::Make(&descriptor, properties);
  for (const ChunkStatistics& chunk : rowGroups) {
    ::parquet::RowGroupMetaDataBuilder* rowGroup = builder->AppendRowGroup();
    rowGroup->set_num_rows(10);
    ::parquet::ColumnChunkMetaDataBuilder* column = rowGroup->NextColumnChunk();
    if (chunk.present) {
      ::parquet::EncodedStatistics encoded;
      encoded.set_is_signed(true);
      if (chunk.nullCount) encoded.set_null_count(*chunk.nullCount);
      if (chunk.distinctCount) encoded.set_distinct_count(*chunk.distinctCount);
      if (chunk.minMax) {
        encoded.set_min(int64Bytes(chunk.minMax->first));
        encoded.set_max(int64Bytes(chunk.minMax->second));
      }
      column->SetStatistics(encoded);
    }
    column->Finish(10, 0, -1, 4, 16, 16, false, false, {}, {});
    rowGroup->Finish(16);
  }
  const auto metadata = builder->Finish();
  auto sink = ovtest::check(::arrow::io::FileOutputStream::Open(path));
  ovtest::check(sink->Write("PAR1", 4));
  ::parquet::WriteFileMetaData(*metadata, sink.get());
  ovtest::check(sink->Close());
}

// The pieces read_statistics takes, straight from Arrow's own reader.
struct OpenedFile {
  std::unique_ptr<::parquet::arrow::FileReader> reader;
  std::shared_ptr<::arrow::Schema> schema;
  std::shared_ptr<::parquet::FileMetaData> metadata;
  const ::parquet::arrow::SchemaManifest& manifest() const { return reader->manifest(); }
};

OpenedFile openWithArrow(const std::string& path) {
  OpenedFile opened;
  ovtest::check(::parquet::arrow::OpenFile(ovtest::check(::arrow::io::ReadableFile::Open(path)),
                                           ::arrow::default_memory_pool(), &opened.reader));
  ovtest::check(opened.reader->GetSchema(&opened.schema));
  opened.metadata = opened.reader->parquet_reader()->metadata();
  return opened;
}

// The footer's length, from the last eight bytes of the file.
int64_t footerLength(const std::string& path) {
  const std::string bytes = ovtest::readBytes(path);
  uint32_t length = 0;
  std::memcpy(&length, bytes.data() + bytes.size() - 8, 4);
  return length;
}

class StatisticsTest : public testing::Test {
 protected:
  std::string write(const std::string& name, const ::arrow::Table& table, int64_t rowGroupLength,
                    std::shared_ptr<::parquet::WriterProperties> properties = nullptr) {
    const auto path = mDir.file(name);
    ovtest::writeParquet(path, table, rowGroupLength, std::move(properties),
                         ::parquet::ArrowWriterProperties::Builder().store_schema()->build());
    return path;
  }

  static Statistics statistics(const std::string& path, const std::vector<int32_t>& indices) {
    RowGroupParquetReader reader(utf8_to_ustring(path), std::vector<double>{});
    return reader.getStatistics(indices);
  }

  // id int64 0..9, value double (null at row 5), name string "row<id>".
  std::string knownFile() {
    const auto table = makeTable(
        {::arrow::field("id", ::arrow::int64()), ::arrow::field("value", ::arrow::float64()),
         ::arrow::field("name", ::arrow::utf8())},
        {"[0,1,2,3,4,5,6,7,8,9]", "[0.5,-1.5,2,3,4,null,6,7.25,8,9]",
         R"(["row0","row1","row2","row3","row4","row5","row6","row7","row8","row9"])"});
    return write("known.parquet", *table, 4);
  }

  // A file with one column of each kind that cannot be filtered on.
  std::string unfilterableFile() {
    const auto table = makeTable(
        {::arrow::field("id", ::arrow::int64()), ::arrow::field("dec", ::arrow::decimal128(10, 2)),
         ::arrow::field("bin", ::arrow::binary()), ::arrow::field("lst", ::arrow::list(::arrow::int32()))},
        {"[1,2,3]", R"(["1.50","2.25",null])", R"(["x","yy",null])", "[[1],[2,3],null]"});
    return write("unfilterable.parquet", *table, 2);
  }

  ovtest::TempDir mDir;
};

TEST_F(StatisticsTest, KnownFileFlagsCountsMinimaAndMaxima) {
  const auto s = statistics(knownFile(), {0, 1, 2});
  // Three row groups (4, 4 and 2 rows) by three variables.
  for (const auto* array : {&s.nullCountValid, &s.distinctCountValid, &s.minMaxValid, &s.nullCounts,
                            &s.distinctCounts}) {
    EXPECT_EQ(dims(*array), (ovDims{3, 3}));
  }
  EXPECT_TRUE(ovIsLogical(s.nullCountValid.get()));
  EXPECT_EQ(ovGetClassID(s.nullCounts.get()), ovClassID::Int64);
  EXPECT_EQ(ovGetClassID(s.distinctCounts.get()), ovClassID::Int64);
  EXPECT_EQ(logicalValues(s.nullCountValid.get()), std::vector<bool>(9, true));
  // Arrow's writer records no distinct counts.
  EXPECT_EQ(logicalValues(s.distinctCountValid.get()), std::vector<bool>(9, false));
  EXPECT_EQ(int64Values(s.distinctCounts.get()), std::vector<int64_t>(9, 0));
  EXPECT_EQ(logicalValues(s.minMaxValid.get()), std::vector<bool>(9, true));
  // Column-major: variable "value" (second column) has its null in row group 2.
  EXPECT_EQ(int64Values(s.nullCounts.get()), (std::vector<int64_t>{0, 0, 0, 0, 1, 0, 0, 0, 0}));

  ASSERT_EQ(dims(s.minValues), (ovDims{1, 3}));
  ASSERT_EQ(dims(s.maxValues), (ovDims{1, 3}));
  const ovArray* idMin = ovGetCell(s.minValues.get(), 0);
  const ovArray* idMax = ovGetCell(s.maxValues.get(), 0);
  ASSERT_NE(idMin, nullptr);
  ASSERT_NE(idMax, nullptr);
  EXPECT_EQ(ovGetDimensions(idMin), (ovDims{3, 1}));
  EXPECT_EQ(int64Values(idMin), (std::vector<int64_t>{0, 4, 8}));
  EXPECT_EQ(int64Values(idMax), (std::vector<int64_t>{3, 7, 9}));

  const ovArray* valueMin = ovGetCell(s.minValues.get(), 1);
  const ovArray* valueMax = ovGetCell(s.maxValues.get(), 1);
  ASSERT_TRUE(valueMin && ovIsDouble(valueMin));
  ASSERT_TRUE(valueMax && ovIsDouble(valueMax));
  EXPECT_EQ(std::vector<double>(ovGetTypedData<double>(valueMin), ovGetTypedData<double>(valueMin) + 3),
            (std::vector<double>{-1.5, 4, 8}));
  EXPECT_EQ(std::vector<double>(ovGetTypedData<double>(valueMax), ovGetTypedData<double>(valueMax) + 3),
            (std::vector<double>{3, 7.25, 9}));

  const ovArray* nameMin = ovGetCell(s.minValues.get(), 2);
  const ovArray* nameMax = ovGetCell(s.maxValues.get(), 2);
  ASSERT_TRUE(nameMin && ovIsString(nameMin));
  ASSERT_TRUE(nameMax && ovIsString(nameMax));
  EXPECT_EQ(stringValues(nameMin), (std::vector<std::string>{"row0", "row4", "row8"}));
  EXPECT_EQ(stringValues(nameMax), (std::vector<std::string>{"row3", "row7", "row9"}));
}

TEST_F(StatisticsTest, WithoutIndexListEveryFieldInOrder) {
  const auto path = knownFile();
  const OpenedFile opened = openWithArrow(path);
  const Statistics all = read_statistics(opened.metadata, opened.schema, opened.manifest(), std::nullopt);
  EXPECT_EQ(dims(all.nullCounts), (ovDims{3, 3}));
  EXPECT_EQ(dims(all.minValues), (ovDims{1, 3}));
  expectSameStatistics(all, statistics(path, {0, 1, 2}));
}

TEST_F(StatisticsTest, ReaderAndFreeFunctionAgree) {
  const auto path = knownFile();
  const OpenedFile opened = openWithArrow(path);
  expectSameStatistics(read_statistics(opened.metadata, opened.schema, opened.manifest(), std::vector<int32_t>{2, 0}),
                       statistics(path, {2, 0}));
}

TEST_F(StatisticsTest, ZeroRowGroupsGiveEmptyArraysAndEmptyCells) {
  const auto path = mDir.file("empty.parquet");
  ovtest::writeParquetWithoutRowGroups(
      path, ::arrow::schema({::arrow::field("a", ::arrow::int32()), ::arrow::field("b", ::arrow::utf8())}));
  const auto s = statistics(path, {0, 1, 1});
  for (const auto* array : {&s.nullCountValid, &s.distinctCountValid, &s.minMaxValid, &s.nullCounts,
                            &s.distinctCounts}) {
    EXPECT_EQ(dims(*array), (ovDims{0, 3}));
  }
  EXPECT_TRUE(ovIsLogical(s.minMaxValid.get()));
  EXPECT_EQ(ovGetClassID(s.nullCounts.get()), ovClassID::Int64);
  for (const auto* cells : {&s.minValues, &s.maxValues}) {
    ASSERT_TRUE(ovIsCell(cells->get()));
    EXPECT_EQ(dims(*cells), (ovDims{1, 3}));
    for (std::size_t v = 0; v < 3; ++v) EXPECT_EQ(ovGetCell(cells->get(), v), nullptr) << v;
  }
}

TEST_F(StatisticsTest, EmptyIndexListGivesNoColumns) {
  const auto s = statistics(knownFile(), {});
  for (const auto* array : {&s.nullCountValid, &s.distinctCountValid, &s.minMaxValid, &s.nullCounts,
                            &s.distinctCounts}) {
    EXPECT_EQ(dims(*array), (ovDims{3, 0}));
  }
  EXPECT_EQ(dims(s.minValues), (ovDims{1, 0}));
  EXPECT_EQ(dims(s.maxValues), (ovDims{1, 0}));
  EXPECT_TRUE(ovIsCell(s.minValues.get()));
}

TEST_F(StatisticsTest, RowGroupWithoutStatisticsKeepsOthers) {
  const auto path = mDir.file("footer.parquet");
  writeFooterOnlyFile(path, {{true, 2, std::nullopt, std::pair<int64_t, int64_t>{5, 9}},
                             {false, std::nullopt, std::nullopt, std::nullopt},
                             {true, 0, std::nullopt, std::pair<int64_t, int64_t>{-4, 4}}});
  const auto s = statistics(path, {0});
  EXPECT_EQ(logicalValues(s.nullCountValid.get()), (std::vector<bool>{true, false, true}));
  EXPECT_EQ(int64Values(s.nullCounts.get()), (std::vector<int64_t>{2, 0, 0}));
  EXPECT_EQ(logicalValues(s.distinctCountValid.get()), (std::vector<bool>{false, false, false}));
  EXPECT_EQ(logicalValues(s.minMaxValid.get()), (std::vector<bool>{true, false, true}));
  const ovArray* minima = ovGetCell(s.minValues.get(), 0);
  const ovArray* maxima = ovGetCell(s.maxValues.get(), 0);
  ASSERT_NE(minima, nullptr);
  ASSERT_NE(maxima, nullptr);
  // The row group without statistics holds the missing value of the type.
  EXPECT_EQ(ovGetClassID(minima), ovClassID::Int64);
  EXPECT_EQ(missingMarks(minima), (std::vector<bool>{false, true, false}));
  EXPECT_EQ(missingMarks(maxima), (std::vector<bool>{false, true, false}));
  EXPECT_EQ(int64Values(minima)[0], 5);
  EXPECT_EQ(int64Values(minima)[2], -4);
  EXPECT_EQ(int64Values(maxima)[0], 9);
  EXPECT_EQ(int64Values(maxima)[2], 4);
}

TEST_F(StatisticsTest, NegativeCountsAreAbsentAndDistinctCountsAreRead) {
  const auto path = mDir.file("counts.parquet");
  writeFooterOnlyFile(path, {{true, -1, 3, std::pair<int64_t, int64_t>{1, 2}},
                             {true, 4, -2, std::nullopt},
                             {true, 0, 0, std::nullopt},
                             {true, std::nullopt, std::nullopt, std::nullopt}});
  const auto s = statistics(path, {0});
  EXPECT_EQ(logicalValues(s.nullCountValid.get()), (std::vector<bool>{false, true, true, false}));
  EXPECT_EQ(int64Values(s.nullCounts.get()), (std::vector<int64_t>{0, 4, 0, 0}));
  EXPECT_EQ(logicalValues(s.distinctCountValid.get()), (std::vector<bool>{true, false, true, false}));
  EXPECT_EQ(int64Values(s.distinctCounts.get()), (std::vector<int64_t>{3, 0, 0, 0}));
  // Statistics without a minimum and maximum leave the pair missing.
  EXPECT_EQ(logicalValues(s.minMaxValid.get()), (std::vector<bool>{true, false, false, false}));
  EXPECT_EQ(missingMarks(ovGetCell(s.minValues.get(), 0)), (std::vector<bool>{false, true, true, true}));
}

TEST_F(StatisticsTest, ColumnWrittenWithoutStatistics) {
  const auto table = makeTable({::arrow::field("a", ::arrow::int32()), ::arrow::field("b", ::arrow::utf8())},
                               {"[1,2,null,4]", R"(["w","x",null,"z"])"});
  const auto properties = ::parquet::WriterProperties::Builder().disable_statistics("b")->build();
  const auto s = statistics(write("partial.parquet", *table, 2, properties), {0, 1});
  EXPECT_EQ(logicalValues(s.nullCountValid.get()), (std::vector<bool>{true, true, false, false}));
  EXPECT_EQ(int64Values(s.nullCounts.get()), (std::vector<int64_t>{0, 1, 0, 0}));
  EXPECT_EQ(logicalValues(s.minMaxValid.get()), (std::vector<bool>{true, true, false, false}));
  const ovArray* bMin = ovGetCell(s.minValues.get(), 1);
  ASSERT_TRUE(bMin && ovIsString(bMin));
  EXPECT_EQ(missingMarks(bMin), (std::vector<bool>{true, true}));
  EXPECT_EQ(*ovGetTypedData<int32_t>(ovGetCell(s.minValues.get(), 0)), 1);
}

TEST_F(StatisticsTest, TimestampsComeBackInTheFieldsUnit) {
  const auto table = makeTable(
      {::arrow::field("us", ::arrow::timestamp(::arrow::TimeUnit::MICRO)),
       ::arrow::field("ns", ::arrow::timestamp(::arrow::TimeUnit::NANO, "Europe/Paris")),
       ::arrow::field("day", ::arrow::date32()), ::arrow::field("t", ::arrow::time64(::arrow::TimeUnit::MICRO))},
      {"[1700000000000001, 1600000000000000, 1800000000000000]", "[5, 3, 7]", "[19000, 18000, 20000]",
       "[1000, 2000, 3000]"});
  const auto s = statistics(write("times.parquet", *table, 2), {0, 1, 2, 3});
  EXPECT_EQ(logicalValues(s.minMaxValid.get()), std::vector<bool>(8, true));

  const ovArray* usMin = ovGetCell(s.minValues.get(), 0);
  const ovArray* usMax = ovGetCell(s.maxValues.get(), 0);
  ASSERT_TRUE(usMin && ovIsDatetime(usMin));
  EXPECT_EQ(ovGetTimeUnit(usMin), ovTimeUnit::Micro);
  EXPECT_FALSE(ovGetTimeZone(usMin).has_value());
  EXPECT_EQ(tickValues(usMin), (std::vector<int64_t>{1600000000000000, 1800000000000000}));
  EXPECT_EQ(tickValues(usMax), (std::vector<int64_t>{1700000000000001, 1800000000000000}));

  const ovArray* nsMax = ovGetCell(s.maxValues.get(), 1);
  ASSERT_TRUE(nsMax && ovIsDatetime(nsMax));
  EXPECT_EQ(ovGetTimeUnit(nsMax), ovTimeUnit::Nano);
  EXPECT_EQ(ovGetTimeZone(nsMax), std::optional<std::string>("Europe/Paris"));
  EXPECT_EQ(tickValues(nsMax), (std::vector<int64_t>{5, 7}));

  const ovArray* dayMin = ovGetCell(s.minValues.get(), 2);
  ASSERT_TRUE(dayMin && ovIsDatetime(dayMin));
  EXPECT_EQ(ovGetTimeUnit(dayMin), ovTimeUnit::Day);
  EXPECT_EQ(tickValues(dayMin), (std::vector<int64_t>{18000, 20000}));

  const ovArray* timeMax = ovGetCell(s.maxValues.get(), 3);
  ASSERT_TRUE(timeMax && ovIsDuration(timeMax));
  EXPECT_EQ(ovGetTimeUnit(timeMax), ovTimeUnit::Micro);
  EXPECT_EQ(tickValues(timeMax), (std::vector<int64_t>{2000, 3000}));
}

TEST_F(StatisticsTest, EveryFilterableKindOfColumn) {
  const auto table = makeTable(
      {::arrow::field("b", ::arrow::boolean()), ::arrow::field("i8", ::arrow::int8()),
       ::arrow::field("u16", ::arrow::uint16()), ::arrow::field("u64", ::arrow::uint64()),
       ::arrow::field("f", ::arrow::float32()), ::arrow::field("ls", ::arrow::large_utf8()),
       ::arrow::field("n", ::arrow::null())},
      {"[true, false, null]", "[-128, 5, 127]", "[0, 65535, 7]", "[18446744073709551615, 1, 2]",
       "[1.5, -2.5, 0]", R"(["b", "a", "c"])", "[null, null, null]"});
  const auto s = statistics(write("kinds.parquet", *table, 3), {0, 1, 2, 3, 4, 5, 6});
  EXPECT_EQ(logicalValues(s.minMaxValid.get()), (std::vector<bool>{true, true, true, true, true, true, false}));
  EXPECT_EQ(logicalValues(ovGetCell(s.minValues.get(), 0)), std::vector<bool>{false});
  EXPECT_EQ(logicalValues(ovGetCell(s.maxValues.get(), 0)), std::vector<bool>{true});
  EXPECT_EQ(*ovGetTypedData<int8_t>(ovGetCell(s.minValues.get(), 1)), -128);
  EXPECT_EQ(*ovGetTypedData<uint16_t>(ovGetCell(s.maxValues.get(), 2)), 65535);
  EXPECT_EQ(*ovGetTypedData<uint64_t>(ovGetCell(s.maxValues.get(), 3)), UINT64_MAX);
  EXPECT_EQ(*ovGetTypedData<float>(ovGetCell(s.minValues.get(), 4)), -2.5f);
  EXPECT_EQ(stringValues(ovGetCell(s.maxValues.get(), 5)), std::vector<std::string>{"c"});
  // A null column has no minimum: its missing value is a missing double.
  const ovArray* nullMin = ovGetCell(s.minValues.get(), 6);
  ASSERT_TRUE(nullMin && ovIsDouble(nullMin));
  EXPECT_EQ(missingMarks(nullMin), std::vector<bool>{true});
}

TEST_F(StatisticsTest, SameVariableTwiceFillsTwoEqualColumns) {
  const auto s = statistics(knownFile(), {1, 1});
  const auto column = [](const ovArray* array, std::size_t v) {
    const std::size_t rows = ovGetM(array);
    std::vector<int64_t> out;
    for (std::size_t r = 0; r < rows; ++r) out.push_back(static_cast<int64_t>(ovGetScalar(array, r + v * rows)));
    return out;
  };
  for (const auto* array : {&s.nullCountValid, &s.distinctCountValid, &s.minMaxValid, &s.nullCounts,
                            &s.distinctCounts}) {
    EXPECT_EQ(column(array->get(), 0), column(array->get(), 1));
  }
  EXPECT_EQ(column(s.nullCounts.get(), 0), (std::vector<int64_t>{0, 1, 0}));
  EXPECT_EQ(ovArraysDifference(ovGetCell(s.minValues.get(), 0), ovGetCell(s.minValues.get(), 1)), "");
  EXPECT_EQ(ovArraysDifference(ovGetCell(s.maxValues.get(), 0), ovGetCell(s.maxValues.get(), 1)), "");
}

TEST_F(StatisticsTest, IndexOutOfRangeIsAnInternalError) {
  const auto path = knownFile();
  for (const std::vector<int32_t>& indices : {std::vector<int32_t>{3}, std::vector<int32_t>{0, -1},
                                              std::vector<int32_t>{2, 1000}}) {
    try {
      statistics(path, indices);
      FAIL() << "no error";
    } catch (const InternalError& e) {
      EXPECT_EQ(e.identifier(), "ORVANE:parquetio:read:InternalError");
      ASSERT_EQ(e.message().arguments.size(), 2u);
      EXPECT_EQ(std::get<std::string>(e.message().arguments[0]), "statistics field index conversion");
      EXPECT_EQ(std::get<std::string>(e.message().arguments[1]), "");
    }
  }
}

TEST_F(StatisticsTest, IndicesAreCheckedBeforeTypes) {
  // "dec" (1) cannot be filtered on, but the bad index is found first.
  EXPECT_THROW(statistics(unfilterableFile(), {1, 4}), InternalError);
}

TEST_F(StatisticsTest, UnfilterableVariablesNameTheirHostType) {
  const auto path = unfilterableFile();
  const std::vector<std::pair<int32_t, std::pair<std::string, std::string>>> cases = {
      {1, {"dec", "double"}}, {2, {"bin", "cell"}}, {3, {"lst", "cell"}}};
  for (const auto& [index, expected] : cases) {
    ovtest::LogCapture log(orvane::log::kStatistics);
    try {
      statistics(path, {0, index});
      FAIL() << "no error for " << index;
    } catch (const UnsupportedFilterError& e) {
      EXPECT_EQ(e.identifier(), "ORVANE:parquetio:read:UnsupportedRowFilterVariable");
      ASSERT_EQ(e.message().arguments.size(), 2u);
      EXPECT_EQ(std::get<std::string>(e.message().arguments[0]), expected.first);
      EXPECT_EQ(std::get<std::string>(e.message().arguments[1]), expected.second);
    }
    // Nothing was looked at before the check: its record is the only one.
    const auto records = log.records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].rfind("Variable " + expected.first + " has an unsupported type for filtering: ", 0), 0u)
        << records[0];
  }
  EXPECT_NO_THROW(statistics(path, {0}));
}

TEST_F(StatisticsTest, UnfilterableVariableFailsAllFieldsToo) {
  const OpenedFile opened = openWithArrow(unfilterableFile());
  try {
    read_statistics(opened.metadata, opened.schema, opened.manifest(), std::nullopt);
    FAIL() << "no error";
  } catch (const UnsupportedFilterError& e) {
    EXPECT_EQ(std::get<std::string>(e.message().arguments[0]), "dec");
    EXPECT_EQ(std::get<std::string>(e.message().arguments[1]), "double");
  }
}

TEST_F(StatisticsTest, OtherUnfilterableTypesWithHostNames) {
  const auto table = makeTable({::arrow::field("dur", ::arrow::duration(::arrow::TimeUnit::MILLI)),
                                ::arrow::field("half", ::arrow::float16())},
                               {"[1, 2]", "[15360, 16384]"});
  const auto path = write("others.parquet", *table, 2);
  const std::vector<std::pair<int32_t, std::string>> cases = {{0, "duration"}, {1, "single"}};
  for (const auto& [index, hostType] : cases) {
    try {
      statistics(path, {index});
      FAIL() << "no error for " << index;
    } catch (const UnsupportedFilterError& e) {
      EXPECT_EQ(std::get<std::string>(e.message().arguments[1]), hostType);
    }
  }
}

TEST_F(StatisticsTest, UnfilterableWithoutHostTypeIsUnsupportedParquetType) {
  // Arrow keeps a fixed-size list through Parquet; the host has no class for it.
  const auto table = makeTable(
      {::arrow::field("id", ::arrow::int64()), ::arrow::field("pair", ::arrow::fixed_size_list(::arrow::int32(), 2))},
      {"[1, 2]", "[[1, 2], null]"});
  const auto path = write("fixed.parquet", *table, 2);
  try {
    statistics(path, {1});
    FAIL() << "no error";
  } catch (const UnsupportedTypeError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:parquetio:read:InternalUnsupportedParquetType");
    ASSERT_EQ(e.message().arguments.size(), 1u);
    EXPECT_EQ(std::get<std::string>(e.message().arguments[0]), "pair");
  }
}

TEST_F(StatisticsTest, TypesWithoutHostClassInAHandMadeSchema) {
  // Intervals cannot be written to Parquet: present one through the schema.
  const OpenedFile opened = openWithArrow(knownFile());
  const auto schema = ovtest::check(opened.schema->SetField(1, ::arrow::field("span", ::arrow::month_interval())));
  try {
    read_statistics(opened.metadata, schema, opened.manifest(), std::vector<int32_t>{0, 1});
    FAIL() << "no error";
  } catch (const UnsupportedTypeError& e) {
    EXPECT_EQ(std::get<std::string>(e.message().arguments.at(0)), "span");
  }
}

TEST_F(StatisticsTest, TypeIdsAcrossTheWholeRange) {
  // Every type below is rejected, whatever its id, and only the listed ones pass.
  const OpenedFile opened = openWithArrow(knownFile());
  const std::vector<std::shared_ptr<::arrow::DataType>> rejected = {
      ::arrow::float16(),
      ::arrow::binary(),
      ::arrow::fixed_size_binary(3),
      ::arrow::large_binary(),
      ::arrow::month_interval(),
      ::arrow::day_time_interval(),
      ::arrow::month_day_nano_interval(),
      ::arrow::decimal128(5, 1),
      ::arrow::decimal256(40, 2),
      ::arrow::duration(::arrow::TimeUnit::NANO),
      ::arrow::list(::arrow::int8()),
      ::arrow::large_list(::arrow::int8()),
      ::arrow::fixed_size_list(::arrow::int8(), 2),
      ::arrow::struct_({::arrow::field("x", ::arrow::int8())}),
      ::arrow::map(::arrow::utf8(), ::arrow::int8()),
      ::arrow::sparse_union({::arrow::field("x", ::arrow::int8())}),
      ::arrow::dense_union({::arrow::field("x", ::arrow::int8())}),
      ::arrow::dictionary(::arrow::int32(), ::arrow::utf8()),
      ::arrow::run_end_encoded(::arrow::int32(), ::arrow::int8()),
      ::arrow::utf8_view(),
      ::arrow::binary_view(),
      ::arrow::list_view(::arrow::int8()),
      ::arrow::large_list_view(::arrow::int8()),
      ::arrow::extension::fixed_shape_tensor(::arrow::float32(), {2, 2}),
  };
  for (const auto& type : rejected) {
    const auto schema = ovtest::check(opened.schema->SetField(0, ::arrow::field("x", type)));
    const bool hasHostType = orvane::io::arrow::core::to_orvane_datatype(type).has_value();
    try {
      read_statistics(opened.metadata, schema, opened.manifest(), std::vector<int32_t>{0});
      ADD_FAILURE() << "no error for " << type->ToString();
    } catch (const UnsupportedFilterError&) {
      EXPECT_TRUE(hasHostType) << type->ToString();
    } catch (const UnsupportedTypeError&) {
      EXPECT_FALSE(hasHostType) << type->ToString();
    }
  }
  // Accepted: the minima and maxima come from the file's own column (int64),
  // so only types int64 statistics can be cast to are tried.
  const std::vector<std::shared_ptr<::arrow::DataType>> accepted = {
      ::arrow::int64(), ::arrow::int32(), ::arrow::uint8(), ::arrow::float64(), ::arrow::boolean(),
      ::arrow::timestamp(::arrow::TimeUnit::SECOND), ::arrow::date32(), ::arrow::date64(),
      ::arrow::time32(::arrow::TimeUnit::SECOND), ::arrow::time64(::arrow::TimeUnit::NANO), ::arrow::utf8(),
      ::arrow::large_utf8(), ::arrow::null(), ::arrow::float32(), ::arrow::int8(), ::arrow::uint16(),
      ::arrow::int16(), ::arrow::uint32(), ::arrow::uint64()};
  for (const auto& type : accepted) {
    const auto schema = ovtest::check(opened.schema->SetField(0, ::arrow::field("x", type)));
    // Row groups all have statistics of the manifest's int64 type, so the
    // values concatenate and convert whatever the schema says.
    EXPECT_NO_THROW(read_statistics(opened.metadata, schema, opened.manifest(), std::vector<int32_t>{0}))
        << type->ToString();
  }
}

TEST_F(StatisticsTest, FailedCastIsNotAnError) {
  // The manifest's field type decides the cast of the minima and maxima; an
  // int64 statistic cannot become a list, so no row group has a pair.
  const OpenedFile opened = openWithArrow(knownFile());
  ::parquet::arrow::SchemaManifest manifest = opened.manifest();
  manifest.schema_fields[0].field = ::arrow::field("id", ::arrow::list(::arrow::int64()));
  ovtest::LogCapture log(orvane::log::kStatistics);
  const Statistics s = read_statistics(opened.metadata, opened.schema, manifest, std::vector<int32_t>{0});
  EXPECT_EQ(logicalValues(s.minMaxValid.get()), (std::vector<bool>{false, false, false}));
  EXPECT_EQ(logicalValues(s.nullCountValid.get()), (std::vector<bool>{true, true, true}));
  const ovArray* minima = ovGetCell(s.minValues.get(), 0);
  ASSERT_TRUE(minima && ovGetClassID(minima) == ovClassID::Int64);
  EXPECT_EQ(missingMarks(minima), (std::vector<bool>{true, true, true}));
  std::size_t minRecords = 0;
  std::size_t maxRecords = 0;
  for (const auto& record : log.records()) {
    if (record.rfind("MinResult cast status: NotImplemented", 0) == 0) ++minRecords;
    if (record.rfind("MaxResult cast status: NotImplemented", 0) == 0) ++maxRecords;
  }
  EXPECT_EQ(minRecords, 3u);
  EXPECT_EQ(maxRecords, 3u);
}

TEST_F(StatisticsTest, ValuesWithoutHostFormLeaveTheCellEmpty) {
  // An int64 statistic casts to a month interval, which has no host class:
  // the flags stand, the cell of that variable stays empty, and it is no
  // error.
  const OpenedFile opened = openWithArrow(knownFile());
  ::parquet::arrow::SchemaManifest manifest = opened.manifest();
  manifest.schema_fields[0].field = ::arrow::field("id", ::arrow::month_interval());
  ovtest::LogCapture log(orvane::log::kStatistics);
  const Statistics s = read_statistics(opened.metadata, opened.schema, manifest, std::vector<int32_t>{0, 1});
  EXPECT_EQ(logicalValues(s.minMaxValid.get()), std::vector<bool>(6, true));
  EXPECT_EQ(ovGetCell(s.minValues.get(), 0), nullptr);
  EXPECT_EQ(ovGetCell(s.maxValues.get(), 0), nullptr);
  EXPECT_NE(ovGetCell(s.minValues.get(), 1), nullptr);
  EXPECT_NE(ovGetCell(s.maxValues.get(), 1), nullptr);
  std::size_t conversionRecords = 0;
  for (const auto& record : log.records()) {
    if (record.rfind("Error during orvane::io::arrow::core::to_orvane for variable_index 0: ", 0) == 0) {
      ++conversionRecords;
    }
  }
  EXPECT_EQ(conversionRecords, 2u);  // minima and maxima
}

TEST_F(StatisticsTest, ValuesThatCannotBeConcatenatedAreAnInternalError) {
  // The schema's type (the missing values) and the manifest's (the minima)
  // differ, and one row group has no statistics, so the values mix types.
  const auto path = mDir.file("mixed.parquet");
  writeFooterOnlyFile(path, {{true, 0, std::nullopt, std::pair<int64_t, int64_t>{1, 2}},
                             {false, std::nullopt, std::nullopt, std::nullopt}});
  const OpenedFile opened = openWithArrow(path);
  const auto schema = ovtest::check(opened.schema->SetField(0, ::arrow::field("a", ::arrow::int32())));
  ovtest::LogCapture log(orvane::log::kStatistics);
  try {
    read_statistics(opened.metadata, schema, opened.manifest(), std::vector<int32_t>{0});
    FAIL() << "no error";
  } catch (const InternalError& e) {
    EXPECT_EQ(std::get<std::string>(e.message().arguments.at(0)), "metadata array concatenation");
    EXPECT_EQ(std::get<std::string>(e.message().arguments.at(1)), "Could not convert variable index: 0");
  }
  const auto records = log.records();
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.back().rfind("Error during Concatenate for variable_index 0: ", 0), 0u) << records.back();
}

TEST_F(StatisticsTest, LogRecordsOfOneChunk) {
  const auto table = makeTable({::arrow::field("a", ::arrow::int64()), ::arrow::field("b", ::arrow::int64())},
                               {"[1, 2, 3]", "[4, null, 6]"});
  const auto path = write("log.parquet", *table, 3);
  RowGroupParquetReader reader(utf8_to_ustring(path), std::vector<double>{});
  ovtest::LogCapture log(orvane::log::kStatistics);
  reader.getStatistics({1});
  EXPECT_EQ(log.records(), (std::vector<std::string>{
                               "Get missing value for field: 1",
                               "Main statistics loop for rowgroup index: 0 and variable index: 0 and field index: 1",
                               "Dereferencing metadata for Parquet schema field index: 1",
                               "Valid null_count value: 1",
                               "StatisticsAsScalars returned status: OK",
                               "Setting valid min/max values.",
                           }));
}

TEST_F(StatisticsTest, LogRecordsOfMissingStatistics) {
  const auto path = mDir.file("footer-log.parquet");
  writeFooterOnlyFile(path, {{true, std::nullopt, 7, std::nullopt}, {false, std::nullopt, std::nullopt, std::nullopt}});
  RowGroupParquetReader reader(utf8_to_ustring(path), std::vector<double>{});
  ovtest::LogCapture log(orvane::log::kStatistics);
  reader.getStatistics({0});
  EXPECT_EQ(log.records(), (std::vector<std::string>{
                               "Get missing value for field: 0",
                               "Main statistics loop for rowgroup index: 0 and variable index: 0 and field index: 0",
                               "Dereferencing metadata for Parquet schema field index: 0",
                               "Valid distinct_count value: 7",
                               "StatisticsAsScalars returned status: Invalid: Statistics has no min max.",
                               "Main statistics loop for rowgroup index: 1 and variable index: 0 and field index: 0",
                               "Dereferencing metadata for Parquet schema field index: 0",
                           }));
}

TEST_F(StatisticsTest, ScopeTracesNameTheirSources) {
  const auto path = knownFile();
  RowGroupParquetReader reader(utf8_to_ustring(path), std::vector<double>{});
  ovtest::LogCapture log(orvane::log::kScopeEntry);
  reader.getStatistics({0});
  const auto records = log.records();
  const auto has = [&](const std::string& text) {
    for (const auto& record : records) {
      if (record.find(text) != std::string::npos) return true;
    }
    return false;
  };
  EXPECT_TRUE(has("ParquetReader::getStatistics")) << testing::PrintToString(records);
  EXPECT_TRUE(has("read_statistics")) << testing::PrintToString(records);
  EXPECT_TRUE(has("getMinMaxMetaData")) << testing::PrintToString(records);
}

TEST_F(StatisticsTest, OnlyTheFooterIsRead) {
  // Two files of the same layout (4 row groups, 3 columns), one 40 times
  // larger than the other.
  const auto makeFile = [&](const std::string& name, int64_t rows) {
    ::arrow::Int64Builder ids;
    ::arrow::DoubleBuilder values;
    ::arrow::Int32Builder small;
    for (int64_t i = 0; i < rows; ++i) {
      ovtest::check(ids.Append(i * 7919 % 1000003));
      ovtest::check(values.Append(static_cast<double>(i) * 0.37));
      ovtest::check(small.Append(static_cast<int32_t>(i % 1000)));
    }
    const auto schema = ::arrow::schema({::arrow::field("id", ::arrow::int64()),
                                         ::arrow::field("value", ::arrow::float64()),
                                         ::arrow::field("small", ::arrow::int32())});
    const auto table = ::arrow::Table::Make(
        schema, {ovtest::check(ids.Finish()), ovtest::check(values.Finish()), ovtest::check(small.Finish())});
    const auto properties = ::parquet::WriterProperties::Builder().disable_dictionary()->build();
    return write(name, *table, rows / 4, properties);
  };
  const auto smallPath = makeFile("small.parquet", 20000);
  const auto largePath = makeFile("large.parquet", 800000);
  const auto smallSize = static_cast<int64_t>(std::filesystem::file_size(smallPath));
  const auto largeSize = static_cast<int64_t>(std::filesystem::file_size(largePath));
  ASSERT_GT(smallSize, 128 * 1024);
  ASSERT_GT(largeSize, 30 * smallSize);

  ovtest::CountingFiles counting;
  const auto measure = [&](const std::string& path) {
    counting.reset();
    RowGroupParquetReader reader(counting.location(path), std::vector<double>{});
    const int64_t openBytes = counting.bytesRead();
    const Statistics s = reader.getStatistics({0, 1, 2});
    EXPECT_EQ(logicalValues(s.minMaxValid.get()), std::vector<bool>(12, true));
    // The statistics themselves come from the footer already in memory.
    EXPECT_EQ(counting.bytesRead(), openBytes) << path;
    EXPECT_EQ(counting.openCount(), 1u);
    return openBytes;
  };
  const int64_t smallBytes = measure(smallPath);
  const int64_t largeBytes = measure(largePath);
  EXPECT_EQ(smallBytes, largeBytes);
  // Parquet reads the file's tail in one piece of 64 KiB and, only when the
  // footer with its 8-byte trailer is larger, the whole footer once more.
  const int64_t footer = footerLength(largePath) + 8;
  const int64_t firstPiece = 64 * 1024;
  EXPECT_LE(largeBytes, (footer > firstPiece ? firstPiece + footer : firstPiece) + 64);
  // Nothing before the footer (or that first piece) was touched.
  const int64_t tail = std::max(footer, firstPiece);
  EXPECT_FALSE(counting.touched(largePath, 0, largeSize - tail));
  EXPECT_TRUE(counting.touched(largePath, largeSize - 8, largeSize));
}

// The counting scheme used above: exact counts and ranges under the stream
// operations the file adapter uses, and outputs passed through.
TEST(CountingFilesTest, CountsWhatTheStreamHandsOver) {
  ovtest::TempDir dir;
  const auto path = dir.file("digits.bin");
  std::string digits;
  for (int i = 0; i < 1000; ++i) digits += "0123456789";
  ovtest::writeBytes(path, digits);

  ovtest::CountingFiles counting;
  EXPECT_EQ(counting.location(path).rfind(u"counted:///", 0), 0u);
  {
    orvane::vfs::CleanupFile cleanup(orvane::vfs::OpenMode::Read, orvane::vfs::CleanupPolicy::Keep);
    auto stream = orvane::vfs::openBinaryStream(counting.location(path), cleanup, orvane::vfs::OpenMode::Read, true);
    EXPECT_EQ(stream->size(), 10000);
    char buffer[100];
    stream->read(buffer, 100);
    EXPECT_EQ(stream->gcount(), 100);
    EXPECT_EQ(std::string(buffer, 3), "012");
    EXPECT_EQ(stream->peek(), '0');  // peeking hands nothing over
    EXPECT_EQ(counting.bytesRead(), 100);
    EXPECT_EQ(stream->get(), '0');
    EXPECT_EQ(stream->tellg(), 101);
    stream->seekg(5003);
    stream->read(buffer, 4);
    EXPECT_EQ(std::string(buffer, 4), "3456");
    stream->seekg(9995);
    stream->read(buffer, 10);
    EXPECT_EQ(stream->gcount(), 5);
    EXPECT_TRUE(stream->eof());
    stream->clear();
    EXPECT_EQ(stream->tellg(), 10000);
  }
  EXPECT_EQ(counting.bytesRead(), 110);
  EXPECT_EQ(counting.bytesRead(path), 110);
  ASSERT_EQ(counting.files().size(), 1u);
  const auto counts = counting.files()[0];
  EXPECT_EQ(counts.readCalls, 4);
  EXPECT_EQ(counts.seeks, 2);
  using Ranges = std::vector<std::pair<int64_t, int64_t>>;
  EXPECT_EQ(counts.readRanges, (Ranges{{0, 101}, {5003, 5007}, {9995, 10000}}));
  EXPECT_TRUE(counting.touched(path, 5006, 6000));
  EXPECT_FALSE(counting.touched(path, 101, 5003));

  // Through the Arrow file adapter, as the readers use it.
  counting.reset();
  EXPECT_EQ(counting.openCount(), 0u);
  {
    auto file = common::makeReadableFilePtr(counting.location(path));
    const auto piece = ovtest::check(file->ReadAt(9990, 100));
    EXPECT_EQ(piece->ToString(), "0123456789");
    EXPECT_EQ(counting.openCount(), 1u);
  }
  EXPECT_EQ(counting.bytesRead(), 10);

  // Output passes through to the local file.
  const auto written = dir.file("out.bin");
  {
    orvane::vfs::CleanupFile cleanup(orvane::vfs::OpenMode::Write, orvane::vfs::CleanupPolicy::Keep);
    auto stream =
        orvane::vfs::openBinaryStream(counting.location(written), cleanup, orvane::vfs::OpenMode::Write, false);
    stream->write("abcdef", 6);
    stream->put('g');
    stream->fileHandle()->close();
  }
  EXPECT_EQ(ovtest::readBytes(written), "abcdefg");
  EXPECT_EQ(counting.files().back().bytesWritten, 7);
}

}  // namespace
}  // namespace orvane::io::parquet::core::read
