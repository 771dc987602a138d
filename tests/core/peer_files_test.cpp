// Files written by pyarrow, DuckDB and polars give the row-group counts,
// heights and variable names those libraries report.
#include <ovparquet/core/info/RowGroupQueries.hpp>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <parquet/arrow/reader.h>
#include <parquet/file_reader.h>

#include <cstdlib>
#include <fstream>
#include <set>

namespace orvane::io::parquet::core {
namespace {

std::string fixtureDir() {
  const char* dir = std::getenv("OVPARQUET_PEER_FIXTURES");
  return dir ? dir : "";
}

nlohmann::json manifest() {
  std::ifstream in(fixtureDir() + "/manifest.json");
  if (!in) return nlohmann::json::array();
  return nlohmann::json::parse(in);
}

TEST(PeerFiles, ManifestCoversEveryWriter) {
  std::set<std::string> writers;
  for (const auto& entry : manifest()) writers.insert(entry["writer"].get<std::string>());
  EXPECT_EQ(writers, (std::set<std::string>{"pyarrow", "duckdb", "polars"})) << "fixtures in " << fixtureDir();
}

TEST(PeerFiles, CountsHeightsAndNamesAgree) {
  const auto entries = manifest();
  ASSERT_FALSE(entries.empty());
  std::vector<ustring> files;
  std::vector<std::int64_t> expectedCounts;
  for (const auto& entry : entries) {
    const std::string path = fixtureDir() + "/" + entry["file"].get<std::string>();
    SCOPED_TRACE(path);
    const ustring name = orvane::utf8_to_ustring(path);
    files.push_back(name);
    expectedCounts.push_back(entry["numRowGroups"].get<std::int64_t>());
    EXPECT_EQ(info::openAndGetRowGroups(name), entry["numRowGroups"].get<int>());

    auto parquetReader = ::parquet::ParquetFileReader::OpenFile(path);
    EXPECT_EQ(info::getRowGroupHeights(*parquetReader->metadata()),
              entry["rowGroupHeights"].get<std::vector<std::int64_t>>());
    std::unique_ptr<::parquet::arrow::FileReader> reader;
    ASSERT_TRUE(::parquet::arrow::FileReader::Make(::arrow::default_memory_pool(), std::move(parquetReader), &reader).ok());
    std::shared_ptr<::arrow::Schema> schema;
    ASSERT_TRUE(reader->GetSchema(&schema).ok());
    VariableNames expectedNames;
    for (const auto& n : entry["variableNames"]) expectedNames.push_back(orvane::utf8_to_ustring(n.get<std::string>()));
    EXPECT_EQ(info::getVariableNames(schema), expectedNames);
  }
  EXPECT_EQ(info::getNumRowGroupsSync(files), expectedCounts);
  EXPECT_EQ(info::getNumRowGroupsAsync(files), expectedCounts);
}

}  // namespace
}  // namespace orvane::io::parquet::core
