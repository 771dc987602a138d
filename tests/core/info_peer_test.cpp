// The file summary of files written by pyarrow across format versions,
// codecs, dictionary settings and nesting agrees with pyarrow's own metadata.
#include <ovparquet/core/info/ParquetInfo.hpp>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>

namespace orvane::io::parquet::core::info {
namespace {

std::string fixtureDir() {
  const char* dir = std::getenv("OVPARQUET_INFO_FIXTURES");
  return dir ? dir : "";
}

std::string mappedVersion(const std::string& pyarrowVersion) {
  if (pyarrowVersion == "1.0") return "1.0";
  if (pyarrowVersion.rfind("2.", 0) == 0) return "2.0";
  return "";
}

// pyarrow names the Parquet LZ4_RAW codec "lz4"; Arrow's C++ codec name for
// it is "lz4_raw". Every other name is the same in both.
std::string arrowCodecName(const std::string& pyarrowName) {
  return pyarrowName == "lz4" ? "lz4_raw" : pyarrowName;
}

// The encoding rule applied to pyarrow's view of the chunk.
std::string expectedEncoding(const nlohmann::json& variable) {
  if (variable["hasDictionaryPage"].get<bool>()) return "dictionary";
  const auto encodings = variable["encodings"].get<std::vector<std::string>>();
  const bool plain = std::find(encodings.begin(), encodings.end(), "PLAIN") != encodings.end();
  return plain && encodings.size() == 2 ? "plain" : "";
}

TEST(ParquetInfoAgainstPyarrow, EveryGetterAgrees) {
  std::ifstream in(fixtureDir() + "/manifest.json");
  ASSERT_TRUE(in) << "no manifest in " << fixtureDir();
  const auto manifest = nlohmann::json::parse(in);
  ASSERT_GE(manifest.size(), 73u);
  for (const auto& file : manifest) {
    const std::string path = fixtureDir() + "/" + file["file"].get<std::string>();
    SCOPED_TRACE(path);
    const ParquetInfo info(orvane::utf8_to_ustring(path));
    EXPECT_EQ(info.getVersion(), mappedVersion(file["formatVersion"].get<std::string>()));
    EXPECT_EQ(info.getNumRowGroups(), file["numRowGroups"].get<int>());
    EXPECT_EQ(info.getRowGroupHeights(), file["rowGroupHeights"].get<std::vector<std::int64_t>>());
    EXPECT_EQ(info.getFileSize(), file["fileSize"].get<std::int64_t>());
    const auto& variables = file["variables"];
    ASSERT_EQ(info.getVariableNames().size(), variables.size());
    const bool hasRowGroups = file["numRowGroups"].get<int>() > 0;
    EXPECT_EQ(info.getVariableCompression().size(), hasRowGroups ? variables.size() : 0u);
    EXPECT_EQ(info.getVariableEncoding().size(), hasRowGroups ? variables.size() : 0u);
    for (std::size_t v = 0; v < variables.size(); ++v) {
      const auto& variable = variables[v];
      SCOPED_TRACE(variable["name"].get<std::string>());
      EXPECT_EQ(orvane::ustring_to_utf8(info.getVariableNames()[v]), variable["name"].get<std::string>());
      EXPECT_EQ(info.getArrowTypes()[v], variable["arrowType"].get<std::string>());
      const bool singleLeaf = variable["leaves"].size() == 1;
      EXPECT_EQ(info.getParquetPhysicalTypes()[v], singleLeaf ? variable["physicalType"].get<std::string>() : "");
      if (hasRowGroups) {
        EXPECT_EQ(info.getVariableCompression()[v], singleLeaf ? arrowCodecName(variable["compression"].get<std::string>()) : "");
        EXPECT_EQ(info.getVariableEncoding()[v], singleLeaf ? expectedEncoding(variable) : "");
      }
      if (variable.contains("convertedType")) {
        EXPECT_EQ(info.getParquetConvertedTypes()[v], variable["convertedType"].get<std::string>());
        EXPECT_EQ(info.getParquetLogicalTypes()[v], variable["logicalType"].get<std::string>());
      }
    }
  }
}

// DuckDB and fastparquet write plain-encoded chunks that list PLAIN alone;
// the rule asks for exactly two entries, so those variables report "".
TEST(ParquetInfoAgainstPeers, ChunksListingOnlyPlainReportNoEncoding) {
  std::ifstream in(fixtureDir() + "/manifest.json");
  ASSERT_TRUE(in) << "no manifest in " << fixtureDir();
  const auto manifest = nlohmann::json::parse(in);
  std::map<std::string, int> plainOnly;
  for (const auto& file : manifest) {
    if (!file.contains("writer")) continue;
    const std::string path = fixtureDir() + "/" + file["file"].get<std::string>();
    SCOPED_TRACE(path);
    const ParquetInfo info(orvane::utf8_to_ustring(path));
    const auto& variables = file["variables"];
    ASSERT_EQ(info.getVariableEncoding().size(), variables.size());
    for (std::size_t v = 0; v < variables.size(); ++v) {
      const auto& variable = variables[v];
      if (variable["hasDictionaryPage"].get<bool>() ||
          variable["encodings"] != nlohmann::json::array({"PLAIN"})) {
        continue;
      }
      EXPECT_EQ(info.getVariableEncoding()[v], "") << variable["name"];
      ++plainOnly[file["writer"].get<std::string>()];
    }
  }
  EXPECT_GT(plainOnly["duckdb"], 0);
  EXPECT_GT(plainOnly["fastparquet"], 0);
}

}  // namespace
}  // namespace orvane::io::parquet::core::info
