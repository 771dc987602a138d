// Files written by pyarrow and DuckDB read into host arrays equal to what
// those libraries read, value by value.
#include <ovparquet/core/read/RowGroupParquetReader.hpp>

#include "../support/HostJson.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace orvane::io::parquet::core::read {
namespace {

std::string fixtureDir() {
  const char* dir = std::getenv("OVPARQUET_READ_FIXTURES");
  return dir ? dir : "";
}

TEST(ReadAgainstPeers, EveryColumnEqualsWhatThePeerRead) {
  std::ifstream in(fixtureDir() + "/manifest.json");
  ASSERT_TRUE(in) << "no manifest in " << fixtureDir();
  const auto manifest = nlohmann::json::parse(in);
  ASSERT_EQ(manifest.size(), 2u);
  for (const auto& file : manifest) {
    const std::string path = fixtureDir() + "/" + file["file"].get<std::string>();
    SCOPED_TRACE(path + " read by " + file["reader"].get<std::string>());
    RowGroupParquetReader reader(orvane::utf8_to_ustring(path), std::vector<double>{});
    const auto table = reader.readFullFile();
    ASSERT_TRUE(ovIsTable(table.get()));
    const auto& expected = file["columns"];
    ASSERT_EQ(ovTableNumVariables(table.get()), expected.size());
    for (std::size_t v = 0; v < ovTableNumVariables(table.get()); ++v) {
      const std::string name = orvane::ustring_to_utf8(ovTableName(table.get(), v));
      ASSERT_TRUE(expected.contains(name)) << name;
      std::string where = name;
      EXPECT_TRUE(ovtest::jsonClose(ovtest::columnToJson(ovTableColumn(table.get(), v)), expected[name], where))
          << where;
    }
  }
}

}  // namespace
}  // namespace orvane::io::parquet::core::read
