#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/host/warning.hpp>

#include "../../support/HostTables.hpp"
#include "../../support/Messages.hpp"
#include "../../support/ParquetFiles.hpp"

#include <arrow/api.h>
#include <gtest/gtest.h>
#include <parquet/arrow/reader.h>
#include <parquet/file_reader.h>

#include <filesystem>

namespace orvane::io::parquet::core::write {
namespace {

using orvane::utf8_to_ustring;
using namespace ORVANE::parquetio::write;
using ovtest::argumentsOf;

unique_ovarray_ptr doubles(std::vector<double> values) {
  const std::size_t n = values.size();
  return ovCreateNumericArrayFromVector<double>({n, 1}, std::move(values));
}

unique_ovarray_ptr twoColumns(std::size_t rows, double base = 0) {
  std::vector<double> a, b;
  for (std::size_t i = 0; i < rows; ++i) {
    a.push_back(base + static_cast<double>(i));
    b.push_back(base + static_cast<double>(i) * 10);
  }
  ovtest::NamedColumns columns;
  columns.emplace_back(u"a", doubles(a));
  columns.emplace_back(u"b", doubles(b));
  return ovtest::hostTable(std::move(columns));
}

// A categorical column inside a list: a cell of categoricals.
unique_ovarray_ptr listOfCategoricals(std::size_t rows) {
  auto cell = ovCreateCellMatrix(rows, 1);
  for (std::size_t i = 0; i < rows; ++i) {
    auto categorical = ovCreateCategoricalArray({2, 1}, ovCreateStringColumn({u"x", u"y"}),
                                                std::vector<std::int32_t>{0, 1});
    ovReplaceCell(cell.get(), i, std::move(categorical));
  }
  return cell;
}

std::shared_ptr<::parquet::FileMetaData> metadataOf(const std::string& path) {
  return ::parquet::ParquetFileReader::OpenFile(path)->metadata();
}

std::shared_ptr<::arrow::Table> readBack(const std::string& path) {
  std::unique_ptr<::parquet::arrow::FileReader> reader;
  ovtest::check(::parquet::arrow::FileReader::Make(::arrow::default_memory_pool(),
                                                   ::parquet::ParquetFileReader::OpenFile(path), &reader));
  std::shared_ptr<::arrow::Table> out;
  ovtest::check(reader->ReadTable(&out));
  return out;
}

std::string invalidWriteReason(const std::function<void()>& f) {
  const auto arguments = argumentsOf<InvalidWrite>(f);
  return arguments.size() == 2 ? orvane::ustring_to_utf8(std::get<ustring>(arguments[1])) : "";
}

class WriterTest : public testing::Test {
 protected:
  std::string path(const std::string& name) const { return mDir.file(name); }
  ovtest::TempDir mDir;
};

TEST_F(WriterTest, WritesAndCloses) {
  const auto file = path("out.parquet");
  {
    ParquetWriter writer(utf8_to_ustring(file));
    writer.setVariableNames({u"a", u"b"});
    writer.write(twoColumns(5).get());
    EXPECT_FALSE(std::filesystem::exists(file));  // appears only when closed
    writer.close();
    EXPECT_TRUE(std::filesystem::exists(file));
    writer.close();  // a second close does nothing
  }
  const auto back = readBack(file);
  EXPECT_EQ(back->num_rows(), 5);
  EXPECT_EQ(back->schema()->field_names(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(metadataOf(file)->RowGroup(0)->ColumnChunk(0)->compression(), ::arrow::Compression::SNAPPY);
}

TEST_F(WriterTest, LockedSetters) {
  ParquetWriter writer(utf8_to_ustring(path("locks.parquet")));
  writer.setVariableNames({});
  writer.setVariableNames({u"a"});  // an empty list left it open
  EXPECT_EQ(invalidWriteReason([&] { writer.setVariableNames({u"b"}); }),
            "Invalid: VariableNames cannot be modified.");
  writer.setVariableCompression({"zstd"});
  EXPECT_EQ(invalidWriteReason([&] { writer.setVariableCompression({"gzip"}); }),
            "Invalid: VariableCompression cannot be modified.");
  writer.setVariableEncoding({"plain"});
  EXPECT_EQ(invalidWriteReason([&] { writer.setVariableEncoding({"plain"}); }),
            "Invalid: VariableEncoding cannot be modified.");
  EXPECT_EQ(argumentsOf<InvalidOption>([&] { writer.setVersion("3.0"); }),
            (std::vector<orvane::MessageArgument>{std::string("Version"), std::string("3.0")}));
  writer.setVersion("2.0");
  EXPECT_EQ(invalidWriteReason([&] { writer.setVersion("1.0"); }), "Invalid: Version cannot be modified.");
  EXPECT_EQ(writer.getVersion(), "2.0");
  writer.setMaxRowGroupLength(7);
  EXPECT_EQ(writer.getMaxRowGroupLength(), 7);
}

TEST_F(WriterTest, TheRejectedVersionLeavesItSettable) {
  ParquetWriter writer(utf8_to_ustring(path("v.parquet")));
  EXPECT_THROW(writer.setVersion("3.0"), common::MessageException<InvalidOption>);
  EXPECT_NO_THROW(writer.setVersion("1.0"));
  EXPECT_EQ(writer.getVersion(), "1.0");
}

TEST_F(WriterTest, DimensionChecks) {
  ParquetWriter writer(utf8_to_ustring(path("dims.parquet")));
  EXPECT_EQ(argumentsOf<InvalidWriteVars>([&] { writer.write(twoColumns(3).get()); }),
            (std::vector<orvane::MessageArgument>{uint64_t{0}}));
  writer.setVariableNames({u"a", u"b", u"c"});
  auto mismatched = twoColumns(3);
  // "Names" with three elements, "Columns" with two.
  ovReplaceField(mismatched.get(), 0, "Names", ovCreateStringRow({u"a", u"b", u"c"}));
  EXPECT_EQ(argumentsOf<InvalidWriteVars>([&] { writer.write(mismatched.get()); }),
            (std::vector<orvane::MessageArgument>{uint64_t{3}}));
  auto notATable = doubles({1, 2});
  EXPECT_THROW(writer.write(notATable.get()), common::MessageException<InvalidWriteVars>);
  auto empty = ovCreateTable({}, {});
  EXPECT_THROW(writer.write(empty.get()), common::MessageException<InvalidZeroVars>);
}

TEST_F(WriterTest, WriteAfterCloseIsRefused) {
  ParquetWriter writer(utf8_to_ustring(path("closed.parquet")));
  writer.setVariableNames({u"a", u"b"});
  writer.write(twoColumns(2).get());
  writer.close();
  EXPECT_EQ(invalidWriteReason([&] { writer.write(twoColumns(2).get()); }), "Invalid: Writer already closed");
  auto heights = doubles({1});
  EXPECT_EQ(invalidWriteReason([&] { writer.writeRowGroups(twoColumns(2).get(), heights.get()); }),
            "Invalid: Writer already closed");
}

TEST_F(WriterTest, ExplicitRowGroupHeights) {
  const auto file = path("groups.parquet");
  {
    ParquetWriter writer(utf8_to_ustring(file));
    writer.setVariableNames({u"a", u"b"});
    auto heights = doubles({2, 3});
    writer.writeRowGroups(twoColumns(5).get(), heights.get());
    writer.close();
  }
  const auto metadata = metadataOf(file);
  ASSERT_EQ(metadata->num_row_groups(), 2);
  EXPECT_EQ(metadata->RowGroup(0)->num_rows(), 2);
  EXPECT_EQ(metadata->RowGroup(1)->num_rows(), 3);
}

TEST_F(WriterTest, EmptyHeightsSetUpTheWriterButWriteNothing) {
  const auto file = path("nogroups.parquet");
  {
    ParquetWriter writer(utf8_to_ustring(file));
    writer.setVariableNames({u"a", u"b"});
    auto heights = ovCreateNumericMatrix(0, 1, ovClassID::Double);
    writer.writeRowGroups(twoColumns(5).get(), heights.get());
    // The schema is kept: a different one is refused now.
    ovtest::NamedColumns other;
    other.emplace_back(u"a", doubles({1}));
    other.emplace_back(u"c", doubles({1}));
    EXPECT_EQ(invalidWriteReason([&] { writer.write(ovtest::hostTable(std::move(other)).get()); }),
              "Invalid: Inconsistent Schema");
    writer.close();
  }
  EXPECT_EQ(metadataOf(file)->num_row_groups(), 0);
}

TEST_F(WriterTest, LaterTablesNeedTheSameSchema) {
  const auto file = path("schema.parquet");
  {
    ParquetWriter writer(utf8_to_ustring(file));
    writer.setVariableNames({u"a", u"b"});
    writer.write(twoColumns(3).get());
    writer.write(twoColumns(2, 100).get());
    // Another type for "b" is refused, and the writer stays usable.
    ovtest::NamedColumns columns;
    columns.emplace_back(u"a", doubles({1}));
    columns.emplace_back(u"b", ovCreateStringColumn({u"text"}));
    EXPECT_EQ(invalidWriteReason([&] { writer.write(ovtest::hostTable(std::move(columns)).get()); }),
              "Invalid: Inconsistent Schema");
    writer.write(twoColumns(1, 200).get());
    writer.close();
  }
  const auto back = readBack(file);
  EXPECT_EQ(back->num_rows(), 6);
  EXPECT_EQ(metadataOf(file)->num_row_groups(), 3);
}

TEST_F(WriterTest, SchemaMetadataDifferencesAreAccepted) {
  ParquetWriter writer(utf8_to_ustring(path("meta.parquet")));
  auto schema = ::arrow::schema({::arrow::field("a", ::arrow::float64())});
  writer.setVariableNames({u"a"});
  ovtest::NamedColumns columns;
  columns.emplace_back(u"a", doubles({1}));
  writer.write(ovtest::hostTable(std::move(columns)).get());
  auto withMetadata = schema->WithMetadata(::arrow::key_value_metadata({"k"}, {"v"}));
  EXPECT_NO_THROW(writer.validateSchema(withMetadata, false));
  auto renamed = ::arrow::schema({::arrow::field("z", ::arrow::float64())});
  EXPECT_THROW(writer.validateSchema(renamed, false), common::MessageException<InvalidWrite>);
}

TEST_F(WriterTest, AWriterNeverWrittenToLeavesNoFile) {
  const auto file = path("never.parquet");
  { ParquetWriter writer(utf8_to_ustring(file)); }
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(mDir.path()), {}), 0);
}

TEST_F(WriterTest, AnOlderFileStaysUntilCloseAndANeverWrittenWriterLeavesItUnchanged) {
  const auto file = path("older.parquet");
  ovtest::writeBytes(file, "older content");
  { ParquetWriter writer(utf8_to_ustring(file)); }
  EXPECT_EQ(ovtest::readBytes(file), "older content");
  {
    ParquetWriter writer(utf8_to_ustring(file));
    writer.setVariableNames({u"a", u"b"});
    writer.write(twoColumns(100).get());
    EXPECT_EQ(ovtest::readBytes(file), "older content");
    // The destructor closes a written file: it replaces the older one whole.
  }
  EXPECT_EQ(readBack(file)->num_rows(), 100);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(mDir.path()), {}), 1);
}

TEST_F(WriterTest, ADiscardedWriterLeavesNothingAndAnOlderFileUnchanged) {
  const auto fresh = path("discarded.parquet");
  const auto older = path("older.parquet");
  ovtest::writeBytes(older, "older content");
  for (const auto& file : {fresh, older}) {
    ParquetWriter writer(utf8_to_ustring(file));
    writer.setVariableNames({u"a", u"b"});
    writer.write(twoColumns(100).get());
    writer.discard();
    EXPECT_EQ(invalidWriteReason([&] { writer.write(twoColumns(2).get()); }), "Invalid: Writer already closed");
    writer.close();  // nothing to close
  }
  EXPECT_FALSE(std::filesystem::exists(fresh));
  EXPECT_EQ(ovtest::readBytes(older), "older content");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(mDir.path()), {}), 1);
}

TEST_F(WriterTest, DiscardAfterCloseKeepsTheFile) {
  const auto file = path("kept.parquet");
  ParquetWriter writer(utf8_to_ustring(file));
  writer.setVariableNames({u"a", u"b"});
  writer.write(twoColumns(3).get());
  writer.close();
  writer.discard();
  EXPECT_EQ(readBack(file)->num_rows(), 3);
}

TEST_F(WriterTest, AFailedWriteKeepsEarlierRowGroupsAndTheWriterUsable) {
  const auto file = path("partial.parquet");
  {
    ParquetWriter writer(utf8_to_ustring(file));
    writer.setVariableNames({u"a", u"b"});
    writer.write(twoColumns(4).get());
    // A conversion error: a column that is not N-by-1.
    ovtest::NamedColumns columns;
    columns.emplace_back(u"a", doubles({1, 2}));
    columns.emplace_back(u"b", ovCreateNumericMatrix(2, 2, ovClassID::Double));
    EXPECT_THROW(writer.write(ovtest::hostTable(std::move(columns)).get()), common::MessageException<InvalidWrite>);
    writer.write(twoColumns(2, 50).get());
    writer.close();
  }
  EXPECT_EQ(readBack(file)->num_rows(), 6);
}

TEST_F(WriterTest, AnOptionErrorAtTheFirstWriteKeepsTheSchemaWithoutAWriter) {
  const auto file = path("options.parquet");
  ParquetWriter writer(utf8_to_ustring(file));
  writer.setVariableNames({u"a", u"b"});
  writer.setVariableCompression({"zstd", "zstd"});  // no leaf paths set
  EXPECT_THROW(writer.write(twoColumns(2).get()), common::MessageException<WrongOptionNumel>);
  EXPECT_EQ(invalidWriteReason([&] { writer.write(twoColumns(2).get()); }),
            "Invalid: The Parquet file writer could not be created");
}

TEST_F(WriterTest, PerVariableCompressionThroughLeafPaths) {
  const auto file = path("codecs.parquet");
  {
    ParquetWriter writer(utf8_to_ustring(file));
    writer.setVariableNames({u"a", u"b"});
    writer.setLeafColumnPaths({0, 1, 2}, {u"a", u"b"});
    writer.setVariableCompression({"zstd", "uncompressed"});
    writer.setVariableEncoding({"plain", "dictionary"});
    writer.setVersion("1.0");
    writer.write(twoColumns(10).get());
    writer.close();
  }
  const auto metadata = metadataOf(file);
  EXPECT_EQ(metadata->version(), ::parquet::ParquetVersion::PARQUET_1_0);
  EXPECT_EQ(metadata->RowGroup(0)->ColumnChunk(0)->compression(), ::arrow::Compression::ZSTD);
  EXPECT_EQ(metadata->RowGroup(0)->ColumnChunk(1)->compression(), ::arrow::Compression::UNCOMPRESSED);
  EXPECT_FALSE(metadata->RowGroup(0)->ColumnChunk(0)->has_dictionary_page());
  EXPECT_TRUE(metadata->RowGroup(0)->ColumnChunk(1)->has_dictionary_page());
}

TEST_F(WriterTest, NestedDictionaryWarnings) {
  const auto makeTable = [] {
    ovtest::NamedColumns columns;
    columns.emplace_back(u"tags", listOfCategoricals(4));
    columns.emplace_back(u"kind", ovCreateCategoricalArray({4, 1}, ovCreateStringColumn({u"p", u"q"}),
                                                           std::vector<std::int32_t>{0, 1, 0, 1}));
    return ovtest::hostTable(std::move(columns));
  };
  {
    ParquetWriter writer(utf8_to_ustring(path("warn.parquet")));
    writer.setVariableNames({u"tags", u"kind"});
    orvane::ScopedWarningCapture capture;
    auto heights = doubles({2, 2});
    writer.writeRowGroups(makeTable().get(), heights.get());
    ASSERT_EQ(capture.warnings().size(), 1u);
    EXPECT_EQ(capture.warnings()[0],
              orvane::Message::make("ORVANE:parquetio:write", "RowGroupedListOfDictionaries", std::string("tags")));
    writer.writeRowGroups(makeTable().get(), heights.get());
    EXPECT_EQ(capture.warnings().size(), 1u);  // only the first row-grouped write warns
    writer.close();
  }
  {
    ParquetWriter writer(utf8_to_ustring(path("nowarn.parquet")));
    writer.setVariableNames({u"tags", u"kind"});
    orvane::ScopedWarningCapture capture;
    writer.write(makeTable().get());
    EXPECT_TRUE(capture.warnings().empty());
    writer.checkForNestedDictionary(false);
    EXPECT_TRUE(capture.warnings().empty());
    writer.checkForNestedDictionary(true);
    ASSERT_EQ(capture.warnings().size(), 1u);
    EXPECT_EQ(capture.warnings()[0].key, "RowGroupedListOfDictionaries");
    writer.close();
  }
}

TEST(WarnIfNestedDictionary, DepthDecidesTheWarning) {
  auto dict = ::arrow::dictionary(::arrow::int32(), ::arrow::utf8());
  orvane::ScopedWarningCapture capture;
  warnIfNestedDictionary(::arrow::field("top", dict), 0, "top");
  EXPECT_TRUE(capture.warnings().empty());
  warnIfNestedDictionary(::arrow::field("deep", ::arrow::list(::arrow::list(dict))), 0, "deep");
  warnIfNestedDictionary(
      ::arrow::field("pair", ::arrow::struct_({::arrow::field("x", dict), ::arrow::field("y", dict)})), 0, "pair");
  warnIfNestedDictionary(::arrow::field("m", ::arrow::map(::arrow::utf8(), dict)), 0, "m");
  const auto warnings = capture.warnings();
  ASSERT_EQ(warnings.size(), 4u);
  EXPECT_EQ(warnings[0].key, "NestedRowGroupedListOfDictionaries");
  EXPECT_EQ(warnings[1].key, "RowGroupedListOfDictionaries");
  EXPECT_EQ(warnings[2].key, "RowGroupedListOfDictionaries");
  EXPECT_EQ(std::get<std::string>(warnings[2].arguments.at(0)), "pair");
  EXPECT_EQ(warnings[3].key, "NestedRowGroupedListOfDictionaries");
}

}  // namespace
}  // namespace orvane::io::parquet::core::write
