// read as a stream: --head and --offset in every format, ndjson, zoned time
// stamps and decimals against the texts pyarrow and Python's zoneinfo give;
// write refusing text output names; codecs the writer cannot write.
#include "CliTest.hpp"

#include <fstream>
#include <sstream>

namespace ovtest {
namespace {

std::vector<std::int64_t> firstFields(const std::string& csv) {
  std::vector<std::int64_t> out;
  const auto records = parseCsv(csv);
  for (std::size_t i = 1; i < records.size(); ++i) out.push_back(std::stoll(records[i][0]));
  return out;
}

std::vector<std::int64_t> span(std::int64_t begin, std::int64_t end) {
  std::vector<std::int64_t> out;
  for (std::int64_t i = begin; i < end; ++i) out.push_back(i);
  return out;
}

std::string slurp(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(Stream, HeadPrintsNRowsInEveryFormat) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  // The table view shows the head, past its own 20-row default.
  const auto table = lines(ok({"read", path, "--vars", "id", "--head", "25"}).out);
  ASSERT_EQ(table.size(), 2u + 25u) << table.back();
  EXPECT_EQ(table.back().find("24"), table.back().size() - 2);
  EXPECT_EQ(firstFields(ok({"read", path, "--vars", "id", "--head", "25", "--format", "csv"}).out), span(0, 25));
  EXPECT_EQ(okJson({"read", path, "--head", "25", "--format", "json"}).size(), 25u);
  EXPECT_EQ(lines(ok({"read", path, "--head", "25", "--format", "ndjson"}).out).size(), 25u);
}

TEST(Stream, OffsetSkipsRowsAcrossRowGroups) {
  const std::string path = fixture("pyarrow_sorted.parquet");  // row groups of 1000
  EXPECT_EQ(firstFields(ok({"read", path, "--vars", "id", "--offset", "2990", "--head", "20", "--format", "csv"}).out),
            span(2990, 3010));
  EXPECT_EQ(firstFields(ok({"read", path, "--vars", "id", "--offset", "99995", "--format", "csv"}).out),
            span(99995, 100000));
  // After the filter: the offset counts the matching rows.
  EXPECT_EQ(firstFields(ok({"read", path, "--vars", "id", "--where", "bucket = 7", "--offset", "10", "--head", "3",
                            "--format", "csv"})
                            .out),
            span(7010, 7013));
  // Past the end: no rows, not an error.
  EXPECT_EQ(ok({"read", path, "--vars", "id", "--offset", "100000", "--format", "csv"}).out, "id\n");
  EXPECT_EQ(okJson({"read", path, "--offset", "500000", "--format", "json"}), json::array());
  EXPECT_EQ(lines(ok({"read", path, "--vars", "id", "--offset", "500000"}).out).back(), "(no rows)");
  const auto table = lines(ok({"read", path, "--vars", "id", "--offset", "99990", "--max-rows", "4"}).out);
  EXPECT_EQ(table.back(), "... (6 more rows)");
}

TEST(Stream, NdjsonIsOneRecordPerLineAndEqualsJson) {
  const std::string path = fixture("pyarrow_nested.parquet");
  const json all = okJson({"read", path, "--format", "json"});
  const auto records = lines(ok({"read", path, "--format", "ndjson"}).out);
  ASSERT_EQ(records.size(), all.size());
  for (std::size_t i = 0; i < records.size(); ++i) EXPECT_EQ(json::parse(records[i]), all[i]) << i;
}

TEST(Stream, WholeExportEqualsRowGroupReads) {
  // Many batches (65,536 rows each) and row groups: nothing lost or reordered.
  const std::string path = fixture("pyarrow_sorted.parquet");
  EXPECT_EQ(firstFields(ok({"read", path, "--vars", "id,name", "--format", "csv"}).out), span(0, 100000));
  const auto records = lines(ok({"read", path, "--vars", "id", "--format", "ndjson"}).out);
  ASSERT_EQ(records.size(), 100000u);
  EXPECT_EQ(json::parse(records[70000])["id"], 70000);
}

TEST(Stream, ZonedTimeStampsAndDecimalsAsThePeersWriteThem) {
  const std::string path = fixture("pyarrow_zoned_decimal.parquet");
  const auto expected = parseCsv(slurp(fixture("pyarrow_zoned_decimal_expected.csv")));
  ASSERT_EQ(expected.size(), 100u);
  const auto csv = parseCsv(ok({"read", path, "--format", "csv"}).out);
  ASSERT_EQ(csv.size(), 101u);
  for (std::size_t i = 0; i < 100; ++i) EXPECT_EQ(csv[i + 1], expected[i]) << i;

  const json records = okJson({"read", path, "--format", "json"});
  ASSERT_EQ(records.size(), 100u);
  for (std::size_t i = 0; i < 100; ++i) {
    EXPECT_EQ(records[i]["at"], expected[i][1]) << i;
    if (expected[i][2].empty()) {
      EXPECT_TRUE(records[i]["amount"].is_null());
    } else {
      // The exact digits as a JSON number.
      EXPECT_EQ(records[i]["amount"].dump(), expected[i][2]) << i;
    }
  }
  const std::string table = ok({"read", path, "--head", "1"}).out;
  EXPECT_NE(table.find("2023-12-31T19:00:00.000000-05:00"), std::string::npos) << table;
  EXPECT_NE(table.find("-8602.6138"), std::string::npos) << table;
  EXPECT_EQ(table.find("-8602.613800000001"), std::string::npos) << table;
}

TEST(Stream, WriteRefusesATextOutputName) {
  Scratch dir;
  for (const std::string name : {"out.csv", "out.JSON", "out.ndjson"}) {
    const RunResult r = runProgram({"write", dir.file(name), "--from", fixture("pyarrow_sorted.parquet")});
    expectFailure(r, 2, "ORVANE:cli:OutputNotParquet");
    EXPECT_NE(r.err.find("--format"), std::string::npos) << r.err;
  }
  EXPECT_TRUE(dir.entries().empty());
}

TEST(Stream, NoCodecTheWriterCannotWrite) {
  EXPECT_EQ(ok({"write", "--help"}).out.find("lzo"), std::string::npos);
  Scratch dir;
  const RunResult r =
      runProgram({"write", dir.file("x.parquet"), "--from", fixture("pyarrow_sorted.parquet"), "--compression", "lzo"});
  expectFailure(r, 2, "ORVANE:cli:InvalidOption");
  EXPECT_TRUE(dir.entries().empty());
}

}  // namespace
}  // namespace ovtest
