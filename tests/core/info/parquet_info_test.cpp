#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/info/ParquetInfo.hpp>

#include "../../support/FailingStreams.hpp"
#include "../../support/LogCapture.hpp"
#include "../../support/ParquetFiles.hpp"

#include <arrow/api.h>
#include <arrow/io/file.h>
#include <parquet/arrow/reader.h>
#include <parquet/exception.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

namespace orvane::io::parquet::core::info {
namespace {

using orvane::utf8_to_ustring;
using ReadError = common::MessageException<ORVANE::parquetio::read::InternalInvalidRead>;

std::shared_ptr<::arrow::Table> mixedTable() {
  auto point = ::arrow::struct_({::arrow::field("x", ::arrow::int64()), ::arrow::field("y", ::arrow::float64())});
  auto schema = ::arrow::schema({::arrow::field("id", ::arrow::int64()), ::arrow::field("flag", ::arrow::boolean()),
                                 ::arrow::field("point", point),
                                 ::arrow::field("tags", ::arrow::list(::arrow::utf8()))});
  ::arrow::Int64Builder ids;
  ::arrow::BooleanBuilder flags;
  ::arrow::StructBuilder points(point, ::arrow::default_memory_pool(),
                                {std::make_shared<::arrow::Int64Builder>(), std::make_shared<::arrow::DoubleBuilder>()});
  ::arrow::ListBuilder tags(::arrow::default_memory_pool(), std::make_shared<::arrow::StringBuilder>());
  for (int i = 0; i < 10; ++i) {
    ovtest::check(ids.Append(i));
    ovtest::check(flags.Append(i % 2 == 0));
    ovtest::check(points.Append());
    ovtest::check(static_cast<::arrow::Int64Builder*>(points.field_builder(0))->Append(i));
    ovtest::check(static_cast<::arrow::DoubleBuilder*>(points.field_builder(1))->Append(i * 0.5));
    ovtest::check(tags.Append());
    ovtest::check(static_cast<::arrow::StringBuilder*>(tags.value_builder())->Append("t"));
  }
  return ::arrow::Table::Make(schema, {ovtest::check(ids.Finish()), ovtest::check(flags.Finish()),
                                       ovtest::check(points.Finish()), ovtest::check(tags.Finish())});
}

class ParquetInfoTest : public testing::Test {
 protected:
  std::string write(const std::string& name, const ::arrow::Table& table, int64_t rowGroupLength,
                    std::shared_ptr<::parquet::WriterProperties> properties = nullptr) {
    const auto path = mDir.file(name);
    ovtest::writeParquet(path, table, rowGroupLength, std::move(properties));
    return path;
  }
  ovtest::TempDir mDir;
};

TEST_F(ParquetInfoTest, SummaryOfAMixedFile) {
  const auto path = write("mixed.parquet", *mixedTable(), 4,
                          ::parquet::WriterProperties::Builder().compression(::arrow::Compression::SNAPPY)->build());
  const ParquetInfo info(utf8_to_ustring(path));
  EXPECT_EQ(info.getFilename(), utf8_to_ustring(path));
  EXPECT_EQ(info.getFileSize(), static_cast<std::int64_t>(std::filesystem::file_size(path)));
  EXPECT_EQ(info.getNumRowGroups(), 3);
  EXPECT_EQ(info.getRowGroupHeights(), (std::vector<std::int64_t>{4, 4, 2}));
  EXPECT_EQ(info.getRowGroupOffsets().size(), 3u);
  EXPECT_EQ(info.getVariableNames(), (VariableNames{u"id", u"flag", u"point", u"tags"}));
  EXPECT_EQ(info.getVariableTypes(), (VariableTypes{"int64", "logical", "struct", "cell"}));
  EXPECT_EQ(info.getArrowTypes(),
            (std::vector<std::string>{"int64", "bool", "struct<x: int64, y: double>", "list<element: string>"}));
  // The struct has two leaves: no single physical type, codec or encoding.
  EXPECT_EQ(info.getParquetPhysicalTypes(), (std::vector<std::string>{"INT64", "BOOLEAN", "", "BYTE_ARRAY"}));
  EXPECT_EQ(info.getVariableCompression(), (VariableCompression{"snappy", "snappy", "", "snappy"}));
  EXPECT_EQ(info.getVariableEncoding()[2], "");
  // Converted and logical types describe the top-level node, groups too.
  EXPECT_EQ(info.getParquetConvertedTypes(), (std::vector<std::string>{"NONE", "NONE", "NONE", "LIST"}));
  EXPECT_EQ(info.getParquetLogicalTypes()[3], "List");
  EXPECT_EQ(info.getParquetLogicalTypes()[2], "None");
  EXPECT_EQ(info.getArrowSchema()->num_fields(), 4);
  EXPECT_EQ(info.getSchemaManifest().schema_fields.size(), 4u);
  EXPECT_EQ(info.getMetadata()->num_rows(), 10);
}

TEST_F(ParquetInfoTest, ZeroRowGroups) {
  const auto path = mDir.file("none.parquet");
  ovtest::writeParquetWithoutRowGroups(path, mixedTable()->schema());
  const ParquetInfo info(utf8_to_ustring(path));
  EXPECT_EQ(info.getNumRowGroups(), 0);
  EXPECT_TRUE(info.getRowGroupHeights().empty());
  EXPECT_TRUE(info.getRowGroupOffsets().empty());
  EXPECT_TRUE(info.getVariableCompression().empty());
  EXPECT_TRUE(info.getVariableEncoding().empty());
  EXPECT_EQ(info.getVariableNames().size(), 4u);
  EXPECT_EQ(info.getVariableTypes().size(), 4u);
}

TEST_F(ParquetInfoTest, VersionsMapToOneOrTwo) {
  for (auto [version, expected] : std::vector<std::pair<::parquet::ParquetVersion::type, std::string>>{
           {::parquet::ParquetVersion::PARQUET_1_0, "1.0"},
           {::parquet::ParquetVersion::PARQUET_2_4, "2.0"},
           {::parquet::ParquetVersion::PARQUET_2_6, "2.0"}}) {
    auto props = ::parquet::WriterProperties::Builder().version(version)->build();
    const auto path = write("v.parquet", *ovtest::makeSimpleTable(5), 5, props);
    EXPECT_EQ(ParquetInfo(utf8_to_ustring(path)).getVersion(), expected);
  }
}

TEST_F(ParquetInfoTest, CompressionNames) {
  auto props = ::parquet::WriterProperties::Builder()
                   .compression("id", ::arrow::Compression::UNCOMPRESSED)
                   ->compression("value", ::arrow::Compression::ZSTD)
                   ->compression("name", ::arrow::Compression::SNAPPY)
                   ->build();
  const auto path = write("codecs.parquet", *ovtest::makeSimpleTable(50), 50, props);
  EXPECT_EQ(ParquetInfo(utf8_to_ustring(path)).getVariableCompression(),
            (VariableCompression{"uncompressed", "zstd", "snappy"}));
}

TEST_F(ParquetInfoTest, EncodingsFollowTheNarrowRule) {
  auto props = ::parquet::WriterProperties::Builder()
                   .disable_dictionary("value")
                   ->disable_dictionary("name")
                   ->encoding("name", ::parquet::Encoding::DELTA_BYTE_ARRAY)
                   ->build();
  const auto path = write("enc.parquet", *ovtest::makeSimpleTable(50), 50, props);
  const ParquetInfo info(utf8_to_ustring(path));
  const auto metadata = info.getMetadata();
  // Dictionary whatever else is listed; exactly PLAIN and RLE is plain; a
  // non-plain encoding is "".
  ASSERT_TRUE(metadata->RowGroup(0)->ColumnChunk(0)->has_dictionary_page());
  ASSERT_EQ(metadata->RowGroup(0)->ColumnChunk(1)->encodings().size(), 2u);
  EXPECT_EQ(info.getVariableEncoding(), (VariableEncoding{"dictionary", "plain", ""}));
}

TEST_F(ParquetInfoTest, HeightsAreIndependentCopies) {
  const auto path = write("copies.parquet", *ovtest::makeSimpleTable(20), 10);
  const ParquetInfo info(utf8_to_ustring(path));
  auto heights = info.getRowGroupHeights();
  heights[0] = 999;
  heights.push_back(1);
  EXPECT_EQ(info.getRowGroupHeights(), (std::vector<std::int64_t>{10, 10}));
}

TEST_F(ParquetInfoTest, FilenameIsTheAdaptersName) {
  const auto path = write("name with space.parquet", *ovtest::makeSimpleTable(3), 3);
  std::string iri = "FILE://" + path;
  iri.replace(iri.find(' '), 1, "%20");
  EXPECT_EQ(ParquetInfo(utf8_to_ustring(iri)).getFilename(), utf8_to_ustring(path));
}

std::string readErrorText(const std::string& path) {
  try {
    ParquetInfo info(utf8_to_ustring(path));
  } catch (const ReadError& e) {
    EXPECT_EQ(std::get<ustring>(e.message().arguments.at(0)), utf8_to_ustring(path));
    return orvane::ustring_to_utf8(std::get<ustring>(e.message().arguments.at(1)));
  }
  ADD_FAILURE() << "no invalid-read error for " << path;
  return "";
}

// What the Parquet library itself says when it opens the file, without this
// library in between: Arrow's own local file and Parquet's own reader.
std::string libraryStatusText(const std::string& path) {
  auto file = ovtest::check(::arrow::io::ReadableFile::Open(path));
  std::unique_ptr<::parquet::arrow::FileReader> reader;
  const auto status = ::parquet::arrow::OpenFile(file, ::arrow::default_memory_pool(), &reader);
  EXPECT_FALSE(status.ok()) << path;
  return status.ToString();
}

TEST_F(ParquetInfoTest, BrokenFilesRaiseTheInvalidReadErrorWithTheLibrarysReason) {
  const auto good = ovtest::readBytes(write("good.parquet", *ovtest::makeSimpleTable(100), 30));

  const auto truncated = mDir.file("truncated.parquet");
  ovtest::writeBytes(truncated, good.substr(0, good.size() / 2));

  const auto empty = mDir.file("empty.parquet");
  ovtest::writeBytes(empty, "");

  std::string noise(4096, '\0');
  std::uint64_t state = 42;
  for (auto& c : noise) c = static_cast<char>((state = state * 6364136223846793005ULL + 1) >> 56);
  const auto random = mDir.file("random.parquet");
  ovtest::writeBytes(random, noise);

  // A footer length that points before the start of the file.
  std::string footer = good;
  const std::size_t lengthAt = footer.size() - 8;
  const std::uint32_t huge = 0x7FFFFFF0u;
  std::memcpy(&footer[lengthAt], &huge, 4);
  const auto badFooter = mDir.file("badfooter.parquet");
  ovtest::writeBytes(badFooter, footer);

  // A corrupt footer: its bytes overwritten, lengths intact.
  std::string corrupt = good;
  std::uint32_t metadataLength;
  std::memcpy(&metadataLength, &corrupt[lengthAt], 4);
  for (std::size_t i = lengthAt - metadataLength; i < lengthAt; ++i) corrupt[i] = static_cast<char>(0xFF);
  const auto corruptFooter = mDir.file("corruptfooter.parquet");
  ovtest::writeBytes(corruptFooter, corrupt);

  // Each case carries the Parquet library's own text for that file, whose
  // gist is named here so that a change of reason is seen too.
  for (const auto& [path, gist] : std::vector<std::pair<std::string, std::string>>{
           {truncated, "magic bytes not found"},
           {empty, "file size is 0 bytes"},
           {random, "magic bytes not found"},
           {badFooter, "smaller than the size reported by footer"},
           {corruptFooter, "Couldn't deserialize thrift"}}) {
    SCOPED_TRACE(path);
    const auto libraryText = libraryStatusText(path);
    EXPECT_NE(libraryText.find(gist), std::string::npos) << libraryText;
    const auto text = readErrorText(path);
    EXPECT_NE(text.find(libraryText), std::string::npos) << text;
  }
}

// A zero-column table, as pyarrow writes it: the file opens, but its row
// group has no first column chunk to take the offset from. The Parquet
// library's exception becomes the invalid-read error with its own text.
TEST_F(ParquetInfoTest, AParquetExceptionInsideASetterBecomesAnInvalidRead) {
  const auto path = mDir.file("nocolumns.parquet");
  const auto table = ::arrow::Table::Make(::arrow::schema(::arrow::FieldVector{}),
                                          std::vector<std::shared_ptr<::arrow::ChunkedArray>>{}, 3);
  ovtest::writeParquet(path, *table, 10);
  std::string libraryText;
  try {
    (void)::parquet::ParquetFileReader::OpenFile(path)->metadata()->RowGroup(0)->ColumnChunk(0);
  } catch (const ::parquet::ParquetException& e) {
    libraryText = e.what();
  }
  ASSERT_NE(libraryText.find("requested metadata for column: 0"), std::string::npos) << libraryText;
  EXPECT_EQ(readErrorText(path), libraryText);
}

// The adapter's ReadFailure, thrown through Parquet while the footer is read,
// becomes the invalid-read error with its text; the name is the one given,
// as the file never opened.
TEST_F(ParquetInfoTest, AReadFailureBecomesAnInvalidRead) {
  ovtest::registerHandleScheme("unreadable", 4096, [] { return std::make_unique<ovtest::UnreadableHandle>(); });
  try {
    ParquetInfo info(u"unreadable://disk/data.parquet");
    FAIL() << "no error";
  } catch (const ReadError& e) {
    EXPECT_EQ(e.message().arguments,
              (std::vector<orvane::MessageArgument>{ustring(u"unreadable://disk/data.parquet"),
                                                    ustring(u"Unable to read from the stream.")}));
  }
}

// The caught failure is logged at the caught-exception severity, and only
// there, before it is translated.
TEST_F(ParquetInfoTest, TheCaughtFailureIsLoggedAtItsSeverity) {
  const auto path = mDir.file("notparquet.parquet");
  ovtest::writeBytes(path, "this is not a parquet file at all");
  const auto caughtRecords = [&](std::uint32_t mask) {
    ovtest::LogCapture log(mask);
    EXPECT_THROW(ParquetInfo(utf8_to_ustring(path)), ReadError);
    std::vector<std::string> caught;
    for (const auto& record : log.records()) {
      if (record.find("Exception caught: ") != std::string::npos) caught.push_back(record);
    }
    return caught;
  };
  const auto caught = caughtRecords(orvane::log::kException);
  ASSERT_EQ(caught.size(), 1u);
  EXPECT_EQ(caught[0].rfind("Exception caught: ", 0), 0u) << caught[0];
  // Boost's diagnostic text starts with the type of what was caught.
  EXPECT_NE(caught[0].find("MessageException"), std::string::npos) << caught[0];
  EXPECT_TRUE(caughtRecords(orvane::log::kAllSeverities & ~orvane::log::kException).empty());
}

// Records between a function's entry record and its exit record that name
// `callee`: what it called that traced.
int nestedTraces(const std::vector<std::string>& records, const std::string& function, const std::string& callee) {
  const auto strip = [](const std::string& record) { return record.substr(record.find_first_not_of(' ')); };
  std::size_t entry = 0;
  while (entry < records.size() && strip(records[entry]).find(function) == std::string::npos) ++entry;
  EXPECT_LT(entry, records.size()) << "no trace of " << function;
  int count = 0;
  for (std::size_t i = entry + 1; i < records.size(); ++i) {
    const auto text = strip(records[i]);
    if (text == strip(records[entry])) return count;  // its exit record
    if (text.find(callee) != std::string::npos) ++count;
  }
  ADD_FAILURE() << "no exit record of " << function;
  return count;
}

TEST_F(ParquetInfoTest, OnlyTheMetadataAndManifestGettersTrace) {
  const auto path = write("traced.parquet", *mixedTable(), 4);
  ovtest::LogCapture log(orvane::log::kScopeEntry | orvane::log::kScopeExit);
  const ParquetInfo info(utf8_to_ustring(path));
  const auto building = log.records();

  // Each setter traces itself and, inside, the getters it asks (an entry and
  // an exit record each).
  const std::string metadata = "ParquetInfo::getMetadata() const";
  const std::string manifest = "ParquetInfo::getSchemaManifest() const";
  const std::vector<std::tuple<std::string, int, int>> setters = {
      {"ParquetInfo::setVersion()", 2, 0},
      {"ParquetInfo::setArrowSchema()", 0, 0},
      {"ParquetInfo::setNumRowGroups()", 2, 0},
      {"ParquetInfo::setVariableNames()", 0, 0},
      {"ParquetInfo::setVariableTypes()", 0, 0},
      {"ParquetInfo::setArrowTypes()", 0, 0},
      {"ParquetInfo::setRowGroupHeights()", 2, 0},
      {"ParquetInfo::setRowGroupOffsets()", 2, 0},
      {"ParquetInfo::setParquetPhysicalTypes()", 2, 2},
      {"ParquetInfo::setParquetConvertedTypes()", 2, 2},
      {"ParquetInfo::setParquetLogicalTypes()", 2, 2},
      {"ParquetInfo::setVariableCompression(", 0, 2},
      {"ParquetInfo::setVariableEncoding(", 0, 2},
  };
  for (const auto& [setter, metadataRecords, manifestRecords] : setters) {
    EXPECT_EQ(nestedTraces(building, setter, metadata), metadataRecords) << setter;
    EXPECT_EQ(nestedTraces(building, setter, manifest), manifestRecords) << setter;
  }

  const auto before = log.records().size();
  (void)info.getFilename();
  (void)info.getFileSize();
  (void)info.getNumRowGroups();
  (void)info.getVariableNames();
  (void)info.getRowGroupHeights();
  (void)info.getRowGroupOffsets();
  (void)info.getVariableTypes();
  (void)info.getVariableCompression();
  (void)info.getVariableEncoding();
  (void)info.getVersion();
  (void)info.getParquetPhysicalTypes();
  (void)info.getParquetConvertedTypes();
  (void)info.getParquetLogicalTypes();
  (void)info.getArrowTypes();
  (void)info.getArrowSchema();
  EXPECT_EQ(log.records().size(), before);

  (void)info.getMetadata();
  (void)info.getSchemaManifest();
  auto records = log.records();
  records.erase(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(before));
  ASSERT_EQ(records.size(), 4u);
  EXPECT_NE(records[0].find(metadata), std::string::npos) << records[0];
  EXPECT_EQ(records[1], records[0]);
  EXPECT_NE(records[2].find(manifest), std::string::npos) << records[2];
  EXPECT_EQ(records[3], records[2]);
}

TEST_F(ParquetInfoTest, MissingFileIsAnInvalidReadNamingIt) {
  const auto missing = mDir.file("missing.parquet");
  EXPECT_NE(readErrorText(missing).find("no such file"), std::string::npos);
}

}  // namespace
}  // namespace orvane::io::parquet::core::info
