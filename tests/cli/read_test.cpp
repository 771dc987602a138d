// read: variable and row-group selection, byte ranges, head, the three
// output formats; json equals the library's host tables.
#include "CliTest.hpp"

#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/array.hpp>

namespace ovtest {
namespace {

using orvane::io::parquet::core::read::RowGroupParquetReader;

const ovArray* column(const ovArray* table, const std::string& name) {
  for (std::size_t v = 0; v < ovTableNumVariables(table); ++v) {
    if (ovTableName(table, v) == u(name)) return ovTableColumn(table, v);
  }
  return nullptr;
}

std::vector<std::int64_t> ids(const std::string& csv, std::size_t field = 0) {
  std::vector<std::int64_t> out;
  const auto records = parseCsv(csv);
  for (std::size_t i = 1; i < records.size(); ++i) out.push_back(std::stoll(records[i][field]));
  return out;
}

std::vector<std::int64_t> range(std::int64_t begin, std::int64_t end) {
  std::vector<std::int64_t> out;
  for (std::int64_t i = begin; i < end; ++i) out.push_back(i);
  return out;
}

TEST(Read, JsonEqualsTheLibrarysHostTable) {
  const std::string path = fixture("duckdb_flat.parquet");
  const json j = okJson({"read", path, "--row-groups", "3", "--vars", "label,maybe,id,value", "--format", "json"});
  RowGroupParquetReader reader(u(path), std::vector<double>{3});
  const unique_ovarray_ptr table = reader.readall();
  const std::size_t rows = ovTableNumRows(table.get());
  ASSERT_EQ(j.size(), rows);
  const ovArray* id = column(table.get(), "id");
  const ovArray* value = column(table.get(), "value");
  const ovArray* label = column(table.get(), "label");
  const ovArray* maybe = column(table.get(), "maybe");
  for (std::size_t r = 0; r < rows; ++r) {
    const json& record = j[r];
    ASSERT_EQ(record.size(), 4u);
    EXPECT_EQ(record.begin().key(), "label");  // the order asked for
    EXPECT_EQ(record["id"].get<std::int64_t>(), ovGetTypedData<std::int64_t>(id)[r]);
    EXPECT_EQ(record["value"].get<double>(), ovGetTypedData<double>(value)[r]);
    EXPECT_EQ(record["label"].get<std::string>(), ovGetStringUtf8(label, r));
    if (ovIsMissing(maybe, r)) {
      EXPECT_TRUE(record["maybe"].is_null());
    } else {
      EXPECT_EQ(record["maybe"].get<std::int64_t>(), ovGetTypedData<std::int64_t>(maybe)[r]);
    }
  }
}

TEST(Read, NestedValuesInJsonAndCsv) {
  const std::string path = fixture("pyarrow_nested.parquet");
  const json j = okJson({"read", path, "--head", "2", "--format", "json"});
  ASSERT_EQ(j.size(), 2u);
  EXPECT_TRUE(j[0]["tags"].is_null());
  EXPECT_EQ(j[1]["tags"], json({"t1", "x"}));
  EXPECT_EQ(j[1]["point"], json({{"x", 1}, {"y", 0.5}}));
  EXPECT_EQ(j[1]["attrs"], json::array({{{"Key", "k"}, {"Value", 1}}}));
  EXPECT_EQ(j[1]["when"], "1970-01-01T00:00:00.001Z");
  EXPECT_EQ(j[1]["größe"], 0.5);

  const auto records = parseCsv(ok({"read", path, "--head", "2", "--format", "csv"}).out);
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0], (std::vector<std::string>{"tags", "point", "attrs", "when", "größe"}));
  EXPECT_EQ(records[1][0], "");  // a missing list
  EXPECT_EQ(records[2][1], "{x: 1, y: 0.5}");
  EXPECT_EQ(records[2][3], "1970-01-01T00:00:00.001Z");
}

TEST(Read, MissingRecordsAndOneElementLists) {
  const std::string path = fixture("pyarrow_records.parquet");
  const json j = okJson({"read", path, "--format", "json"});
  ASSERT_EQ(j.size(), 3u);
  EXPECT_EQ(j[0]["rec"], json({{"a", 1}, {"b", "x"}}));
  EXPECT_TRUE(j[1]["rec"].is_null()) << "a missing record is null, not a record of nulls";
  EXPECT_EQ(j[2]["rec"], json({{"a", nullptr}, {"b", nullptr}}));
  EXPECT_EQ(j[0]["one"], json({"a"}));
  EXPECT_TRUE(j[2]["one"].is_null());

  const auto records = parseCsv(ok({"read", path, "--format", "csv", "--vars", "rec,one"}).out);
  ASSERT_EQ(records.size(), 4u);
  EXPECT_EQ(records[1], (std::vector<std::string>{"{a: 1, b: \"x\"}", "[\"a\"]"}));
  EXPECT_EQ(records[2][0], "");
  EXPECT_EQ(records[3][0], "{a: <missing>, b: <missing>}");

  // The table shows a one-element list in brackets, a missing record and a
  // missing list as missing.
  const std::string table = ok({"read", path, "--vars", "one,rec"}).out;
  EXPECT_NE(table.find("[\"a\"]"), std::string::npos) << table;
  EXPECT_NE(table.find("<missing>"), std::string::npos) << table;
}

TEST(Read, VariablesInTheOrderGiven) {
  const auto records = parseCsv(
      ok({"read", fixture("pyarrow_nested.parquet"), "--vars", "größe,when", "--head", "1", "--format", "csv"}).out);
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0], (std::vector<std::string>{"größe", "when"}));
  EXPECT_EQ(records[1], (std::vector<std::string>{"0", "1970-01-01T00:00:00.000Z"}));
}

TEST(Read, ChosenRowGroups) {
  const std::string out =
      ok({"read", fixture("pyarrow_sorted.parquet"), "--row-groups", "4,2", "--vars", "id", "--format", "csv"}).out;
  auto expected = range(3000, 4000);
  const auto second = range(1000, 2000);
  expected.insert(expected.end(), second.begin(), second.end());
  EXPECT_EQ(ids(out), expected);
}

TEST(Read, ByteRangeSelectsTheRowGroupsStartingInIt) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  RowGroupParquetReader reader(u(path), std::vector<double>{});
  const auto offsets = reader.getRowGroupOffsets();
  // From the start of row group 5 up to (not including) the start of 7.
  const std::string byteRange = std::to_string(offsets[4]) + ":" + std::to_string(offsets[6] - offsets[4]);
  EXPECT_EQ(ids(ok({"read", path, "--range", byteRange, "--vars", "id", "--format", "csv"}).out), range(4000, 6000));
  // The whole file.
  EXPECT_EQ(ids(ok({"read", path, "--range", "0:1000000000", "--vars", "id", "--format", "csv"}).out),
            range(0, 100000));
}

TEST(Read, HeadLimitsTheRows) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  EXPECT_EQ(ids(ok({"read", path, "--head", "1500", "--vars", "id", "--format", "csv"}).out), range(0, 1500));
  const auto header = parseCsv(ok({"read", path, "--head", "0", "--vars", "id,name", "--format", "csv"}).out);
  EXPECT_EQ(header, (std::vector<std::vector<std::string>>{{"id", "name"}}));
  EXPECT_EQ(okJson({"read", path, "--head", "0", "--format", "json"}), json::array());
}

TEST(Read, TableShowsTheFirstRowsAndCountsTheRest) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  const RunResult r = ok({"read", path, "--vars", "id,name,value"});
  const auto text = lines(r.out);
  ASSERT_EQ(text.size(), 2u + 20u + 1u) << r.out;
  EXPECT_NE(text[0].find("id"), std::string::npos);
  EXPECT_NE(text[0].find("name"), std::string::npos);
  EXPECT_NE(text[2].find("k000000"), std::string::npos);
  EXPECT_NE(text[2].find("<missing>"), std::string::npos);  // value of row 0
  EXPECT_EQ(text.back(), "... (99980 more rows)");

  const auto few = lines(ok({"read", path, "--vars", "id", "--max-rows", "3"}).out);
  EXPECT_EQ(few.back(), "... (99997 more rows)");
}

TEST(Read, OurOwnFileReadsBackAsWritten) {
  Scratch dir;
  const std::string out = dir.file("own.parquet");
  ok({"write", out, "--from", fixture("pyarrow_nested.parquet"), "--row-group-heights", "100,150,50"});
  EXPECT_EQ(ok({"read", out, "--format", "json"}).out, ok({"read", fixture("pyarrow_nested.parquet"), "--format", "json"}).out);
  const std::string second = ok({"read", out, "--row-groups", "2", "--vars", "größe", "--format", "csv"}).out;
  EXPECT_EQ(second.rfind("größe\n50\n", 0), 0u) << second;
}

TEST(Read, AFileWithoutRowGroups) {
  const std::string path = fixture("pyarrow_empty.parquet");
  EXPECT_EQ(ok({"read", path, "--format", "csv"}).out, "id,name\n");
  EXPECT_EQ(okJson({"read", path, "--format", "json"}), json::array());
  const auto text = lines(ok({"read", path}).out);
  ASSERT_FALSE(text.empty());
  EXPECT_EQ(text.back(), "(no rows)");
}

}  // namespace
}  // namespace ovtest
