#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/write/ParquetWriterOptions.hpp>

#include "../../support/Messages.hpp"

#include <gtest/gtest.h>
#include <parquet/schema.h>

namespace orvane::io::parquet::core::write {
namespace {

using namespace ORVANE::parquetio::write;
using ovtest::argumentsOf;

std::vector<orvane::MessageArgument> args(std::string name, std::string value) {
  return {std::move(name), std::move(value)};
}
std::vector<orvane::MessageArgument> args(std::string name, uint64_t value) { return {std::move(name), value}; }

TEST(WriterOptions, Defaults) {
  const ParquetWriterOptions options;
  EXPECT_EQ(options.getVersion(), "2.0");
  EXPECT_TRUE(options.getStoreArrowSchema());
  EXPECT_TRUE(options.getUseCompliantNestedTypes());
  EXPECT_EQ(options.getMaxRowGroupLength(), 67108864);
  const auto properties = options.buildWriterProperties();
  EXPECT_EQ(properties->max_row_group_length(), 67108864);
  EXPECT_EQ(static_cast<int>(properties->version()), 1);
  EXPECT_EQ(properties->created_by(), "parquet-cpp-arrow version 15.0.1");
}

TEST(WriterOptions, VersionTexts) {
  ParquetWriterOptions options;
  options.setVersion("1.0");
  EXPECT_EQ(options.getVersion(), "1.0");
  EXPECT_EQ(options.buildWriterProperties()->version(), ::parquet::ParquetVersion::PARQUET_1_0);
  options.setVersion("2.0");
  EXPECT_EQ(options.getVersion(), "2.0");
  for (const std::string bad : {"2.6", "2", " 1.0", "", "3.0"}) {
    EXPECT_EQ(argumentsOf<InvalidOption>([&] { options.setVersion(bad); }), args("Version", bad));
    EXPECT_EQ(options.getVersion(), "2.0");
  }
}

TEST(WriterOptions, PerVariableListsNeedLeafPaths) {
  ParquetWriterOptions options;
  options.setVariableCompression({"zstd"});
  EXPECT_EQ(argumentsOf<WrongOptionNumel>([&] { options.validate(); }), args("VariableCompression", uint64_t{0}));
  options.setVariableEncoding({"plain"});
  EXPECT_EQ(argumentsOf<WrongOptionNumel>([&] { options.validate(); }), args("VariableEncoding", uint64_t{0}));
}

TEST(WriterOptions, CountsAgainstVariableNames) {
  ParquetWriterOptions options;
  options.setVariableNames({u"a", u"b", u"c"});
  options.setLeafColumnPaths(LeafColumnPaths::Make({0, 1, 2, 3}, {u"a", u"b", u"c"}));
  options.setVariableCompression({"zstd"});  // one entry is not broadcast
  EXPECT_EQ(argumentsOf<WrongOptionNumel>([&] { options.validate(); }), args("VariableCompression", uint64_t{3}));
  options.setVariableCompression({});
  options.setVariableEncoding({"plain", "plain"});
  EXPECT_EQ(argumentsOf<WrongOptionNumel>([&] { options.validate(); }), args("VariableEncoding", uint64_t{3}));
  options.setLeafColumnPaths(LeafColumnPaths::Make({0, 1}, {u"a"}));
  EXPECT_EQ(argumentsOf<LeafColumnPathsNumTopLevelCols>([&] { options.validate(); }),
            (std::vector<orvane::MessageArgument>{uint64_t{1}, uint64_t{3}}));
}

TEST(WriterOptions, EncodingNamesAreExact) {
  ParquetWriterOptions options;
  options.setVariableNames({u"a"});
  options.setLeafColumnPaths(LeafColumnPaths::Make({0, 1}, {u"a"}));
  for (const std::string bad : {"Dictionary", "rle", "PLAIN"}) {
    ParquetWriterOptions o;
    o.setVariableNames({u"a"});
    o.setLeafColumnPaths(LeafColumnPaths::Make({0, 1}, {u"a"}));
    o.setVariableEncoding({bad});
    EXPECT_EQ(argumentsOf<InvalidOption>([&] { o.validate(); }), args("VariableEncoding", bad));
  }
}

TEST(WriterOptions, CompressionNamesAreCheckedWhenBuilding) {
  ParquetWriterOptions options;
  options.setVariableNames({u"a"});
  options.setLeafColumnPaths(LeafColumnPaths::Make({0, 1}, {u"a"}));
  options.setVariableCompression({"LZ4"});
  EXPECT_NO_THROW(options.validate());
  EXPECT_EQ(argumentsOf<InvalidOption>([&] { options.buildWriterProperties(); }), args("VariableCompression", "LZ4"));
}

TEST(WriterOptions, EmptyListsMeanSnappyAndDictionaryForAll) {
  const auto properties = ParquetWriterOptions().buildWriterProperties();
  for (const std::string path : {"x", "s.y", "anything"}) {
    const auto column = ::parquet::schema::ColumnPath::FromDotString(path);
    EXPECT_EQ(properties->compression(column), ::arrow::Compression::SNAPPY);
    EXPECT_TRUE(properties->dictionary_enabled(column));
  }
}

TEST(WriterOptions, PerVariableSettingsReachExactlyTheirLeafPaths) {
  ParquetWriterOptions options;
  options.setVariableNames({u"id", u"point"});
  options.setLeafColumnPaths(LeafColumnPaths::Make({0, 1, 4}, {u"id", u"point.x", u"point.y", u"point.z"}));
  options.setVariableCompression({"uncompressed", "zstd"});
  options.setVariableEncoding({"dictionary", "plain"});
  const auto properties = options.buildWriterProperties();
  const auto path = [](const std::string& p) { return ::parquet::schema::ColumnPath::FromDotString(p); };
  EXPECT_EQ(properties->compression(path("id")), ::arrow::Compression::UNCOMPRESSED);
  for (const std::string leaf : {"point.x", "point.y", "point.z"}) {
    EXPECT_EQ(properties->compression(path(leaf)), ::arrow::Compression::ZSTD) << leaf;
    EXPECT_FALSE(properties->dictionary_enabled(path(leaf))) << leaf;
  }
  EXPECT_TRUE(properties->dictionary_enabled(path("id")));
  // Columns not named keep the library default codec.
  EXPECT_EQ(properties->compression(path("other")), ::arrow::Compression::UNCOMPRESSED);
}

TEST(WriterOptions, ArrowProperties) {
  ParquetWriterOptions options;
  auto arrow = options.buildArrowWriterProperties();
  EXPECT_TRUE(arrow->store_schema());
  EXPECT_TRUE(arrow->compliant_nested_types());
  options.setStoreArrowSchema(false);
  options.setUseCompliantNestedTypes(false);
  arrow = options.buildArrowWriterProperties();
  EXPECT_FALSE(arrow->store_schema());
  EXPECT_FALSE(arrow->compliant_nested_types());
}

}  // namespace
}  // namespace orvane::io::parquet::core::write
