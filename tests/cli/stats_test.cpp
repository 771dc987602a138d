// stats: the per-row-group statistics of the library, in every format.
#include "CliTest.hpp"

#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/read/Statistics.hpp>
#include <ovparquet/host/array.hpp>

namespace ovtest {
namespace {

using orvane::io::parquet::core::read::RowGroupParquetReader;
using orvane::io::parquet::core::read::Statistics;

// Compares the json records of one variable with the library's statistics.
void expectEqualsLibrary(const std::string& path, const json& j, const std::string& name, std::int32_t index) {
  SCOPED_TRACE(name);
  const RowGroupParquetReader reader(u(path), std::vector<double>{});
  const Statistics s = reader.getStatistics({index});
  const std::size_t R = static_cast<std::size_t>(reader.getTotalNumRowGroups());
  const ovArray* mins = ovGetCell(s.minValues.get(), 0);
  const ovArray* maxs = ovGetCell(s.maxValues.get(), 0);
  std::size_t seen = 0;
  for (const auto& rec : j["statistics"]) {
    if (rec["variable"].get<std::string>() != name) continue;
    const std::size_t r = rec["rowGroup"].get<std::size_t>() - 1;
    ASSERT_LT(r, R);
    ++seen;
    if (ovGetTypedData<bool>(s.nullCountValid.get())[r]) {
      EXPECT_EQ(rec["nullCount"].get<std::int64_t>(), ovGetTypedData<std::int64_t>(s.nullCounts.get())[r]);
    } else {
      EXPECT_TRUE(rec["nullCount"].is_null());
    }
    if (ovGetTypedData<bool>(s.distinctCountValid.get())[r]) {
      EXPECT_EQ(rec["distinctCount"].get<std::int64_t>(), ovGetTypedData<std::int64_t>(s.distinctCounts.get())[r]);
    } else {
      EXPECT_TRUE(rec["distinctCount"].is_null());
    }
    const bool valid = ovGetTypedData<bool>(s.minMaxValid.get())[r];
    if (!valid || mins == nullptr) {
      EXPECT_TRUE(rec["min"].is_null());
      EXPECT_TRUE(rec["max"].is_null());
      continue;
    }
    switch (ovGetClassID(mins)) {
      case ovClassID::Int64:
        EXPECT_EQ(rec["min"].get<std::int64_t>(), ovGetTypedData<std::int64_t>(mins)[r]);
        EXPECT_EQ(rec["max"].get<std::int64_t>(), ovGetTypedData<std::int64_t>(maxs)[r]);
        break;
      case ovClassID::Int32:
        EXPECT_EQ(rec["min"].get<std::int32_t>(), ovGetTypedData<std::int32_t>(mins)[r]);
        EXPECT_EQ(rec["max"].get<std::int32_t>(), ovGetTypedData<std::int32_t>(maxs)[r]);
        break;
      case ovClassID::Double:
        EXPECT_EQ(rec["min"].get<double>(), ovGetTypedData<double>(mins)[r]);
        EXPECT_EQ(rec["max"].get<double>(), ovGetTypedData<double>(maxs)[r]);
        break;
      case ovClassID::Logical:
        EXPECT_EQ(rec["min"].get<bool>(), ovGetTypedData<bool>(mins)[r]);
        EXPECT_EQ(rec["max"].get<bool>(), ovGetTypedData<bool>(maxs)[r]);
        break;
      case ovClassID::String:
        EXPECT_EQ(rec["min"].get<std::string>(), ovGetStringUtf8(mins, r));
        EXPECT_EQ(rec["max"].get<std::string>(), ovGetStringUtf8(maxs, r));
        break;
      case ovClassID::Datetime:
        // Checked by text below; here only that it is a text.
        EXPECT_TRUE(rec["min"].is_string());
        break;
      default: ADD_FAILURE() << "unexpected class " << ovGetClassName(mins);
    }
  }
  EXPECT_EQ(seen, R);
}

TEST(Stats, JsonEqualsTheLibraryOnPeerFiles) {
  const std::string sorted = fixture("pyarrow_sorted.parquet");
  const json j = okJson({"stats", sorted, "--vars", "id,bucket,name,value,flag,ts", "--format", "json"});
  EXPECT_EQ(j["numRowGroups"], 100);
  EXPECT_EQ(j["variables"], json({"id", "bucket", "name", "value", "flag", "ts"}));
  ASSERT_EQ(j["statistics"].size(), 600u);
  EXPECT_EQ(j["statistics"][0]["rowGroup"], 1);
  EXPECT_EQ(j["statistics"][0]["variable"], "id");
  EXPECT_EQ(j["statistics"][1]["variable"], "bucket");
  expectEqualsLibrary(sorted, j, "id", 0);
  expectEqualsLibrary(sorted, j, "bucket", 1);
  expectEqualsLibrary(sorted, j, "name", 4);
  expectEqualsLibrary(sorted, j, "value", 5);
  expectEqualsLibrary(sorted, j, "flag", 6);
  expectEqualsLibrary(sorted, j, "ts", 2);
  // Timestamps of the field's unit, as texts.
  EXPECT_EQ(j["statistics"][5]["min"], "2024-01-01T00:00:00.000000");
  EXPECT_EQ(j["statistics"][5]["max"], "2024-01-01T16:39:00.000000");

  const std::string duck = fixture("duckdb_flat.parquet");
  // DuckDB writes "value" (i * 1.5) as a decimal, which has no statistics.
  const RunResult all = ok({"stats", duck, "--format", "json"});
  const json d = json::parse(all.out);
  EXPECT_EQ(d["variables"], json({"id", "label", "maybe"}));
  ASSERT_EQ(d["withoutStatistics"].size(), 1u);
  EXPECT_EQ(d["withoutStatistics"][0]["variable"], "value");
  EXPECT_EQ(d["withoutStatistics"][0]["fileType"].get<std::string>().rfind("decimal128(", 0), 0u);
  expectEqualsLibrary(duck, d, "id", 0);
  expectEqualsLibrary(duck, d, "label", 2);
  expectEqualsLibrary(duck, d, "maybe", 3);
}

TEST(Stats, OurOwnFile) {
  Scratch dir;
  const std::string own = dir.file("own.parquet");
  ok({"write", own, "--from", fixture("duckdb_flat.parquet"), "--row-group-length", "60000"});
  const json j = okJson({"stats", own, "--vars", "maybe,id", "--format", "json"});
  EXPECT_EQ(j["rowGroupHeights"], json({60000, 60000, 60000, 60000, 10000}));
  expectEqualsLibrary(own, j, "maybe", 3);
  expectEqualsLibrary(own, j, "id", 0);
  EXPECT_EQ(j["statistics"][0]["nullCount"], 15000);  // maybe: every fourth row
  EXPECT_EQ(j["statistics"][1]["min"], 0);
  EXPECT_EQ(j["statistics"][1]["max"], 59999);
}

TEST(Stats, VariablesWithoutStatisticsAreShownWithTheLibrarysReason) {
  const RunResult r = ok({"stats", fixture("pyarrow_nested.parquet"), "--format", "json"});
  const json j = json::parse(r.out);
  EXPECT_EQ(j["variables"], json({"when", "größe"}));
  ASSERT_EQ(j["withoutStatistics"].size(), 3u);
  EXPECT_EQ(j["withoutStatistics"][0]["variable"], "tags");
  EXPECT_EQ(j["withoutStatistics"][0]["fileType"], "list<element: string>");
  EXPECT_EQ(j["withoutStatistics"][0]["reason"],
            "Variable 'tags' of type cell cannot be used to filter rows. Its type in the file is "
            "list<element: string>.");
  EXPECT_EQ(j["withoutStatistics"][1]["variable"], "point");
  EXPECT_EQ(j["withoutStatistics"][2]["variable"], "attrs");
}

TEST(Stats, AskingForAVariableWithoutStatisticsShowsWhyInsteadOfFailing) {
  // The table: the statistics of the others, then one line per refused variable.
  const RunResult r = ok({"stats", fixture("pyarrow_zoned_decimal.parquet"), "--vars", "amount,id"});
  EXPECT_NE(r.out.find("No statistics for amount: Variable 'amount' of type double cannot be used to filter rows. "
                       "Its type in the file is decimal128(18, 4)."),
            std::string::npos)
      << r.out;
  EXPECT_EQ(lines(r.out).size(), 2u + 4u + 1u) << r.out;  // header, 4 row groups of id, the reason
  // CSV keeps to statistics; the reason goes to standard error.
  const RunResult csv = ok({"stats", fixture("pyarrow_zoned_decimal.parquet"), "--vars", "amount", "--format", "csv"});
  EXPECT_EQ(lines(csv.out).size(), 1u);
  EXPECT_NE(csv.err.find("decimal128(18, 4)"), std::string::npos) << csv.err;
}

TEST(Stats, CsvAndTable) {
  const std::string path = fixture("duckdb_flat.parquet");
  const auto records = parseCsv(ok({"stats", path, "--vars", "label,maybe", "--format", "csv"}).out);
  ASSERT_EQ(records.size(), 1u + 3u * 2u);
  EXPECT_EQ(records[0], (std::vector<std::string>{"rowGroup", "variable", "rows", "nullCount", "distinctCount",
                                                  "min", "max"}));
  EXPECT_EQ(records[1][0], "1");
  EXPECT_EQ(records[1][1], "label");
  EXPECT_EQ(records[2][1], "maybe");
  EXPECT_EQ(records[2][2], "100352");
  EXPECT_EQ(records[2][3], "25088");  // missing for every fourth id

  const RunResult table = ok({"stats", path, "--vars", "maybe"});
  const auto text = lines(table.out);
  ASSERT_EQ(text.size(), 2u + 3u);
  for (const char* header : {"Row group", "Variable", "Rows", "Nulls", "Distinct", "Min", "Max"}) {
    EXPECT_NE(text[0].find(header), std::string::npos) << header;
  }
  EXPECT_NE(text[2].find("25088"), std::string::npos) << table.out;
}

TEST(Stats, AFileWithoutRowGroups) {
  const json j = okJson({"stats", fixture("pyarrow_empty.parquet"), "--format", "json"});
  EXPECT_EQ(j["numRowGroups"], 0);
  EXPECT_EQ(j["statistics"], json::array());
}

TEST(Stats, ZonedTimeStampsInTheirZoneLikeRead) {
  // Row groups of 25 rows, each ordered in time: the minimum is the first
  // row's time, the maximum the last's, in New York time with the offset.
  const auto expected = parseCsv(ok({"read", fixture("pyarrow_zoned_decimal.parquet"), "--vars", "at", "--format",
                                     "csv"}).out);
  ASSERT_EQ(expected.size(), 101u);
  const json j = okJson({"stats", fixture("pyarrow_zoned_decimal.parquet"), "--vars", "at", "--format", "json"});
  ASSERT_EQ(j["statistics"].size(), 4u);
  for (std::size_t r = 0; r < 4; ++r) {
    EXPECT_EQ(j["statistics"][r]["min"], expected[1 + 25 * r][0]);
    EXPECT_EQ(j["statistics"][r]["max"], expected[25 + 25 * r][0]);
  }
  EXPECT_EQ(j["statistics"][0]["min"], "2023-12-31T19:00:00.000000-05:00");
  const auto csv = parseCsv(ok({"stats", fixture("pyarrow_zoned_decimal.parquet"), "--vars", "at", "--format", "csv"}).out);
  EXPECT_EQ(csv[4][6], expected[100][0]);
}

}  // namespace
}  // namespace ovtest
