// read --where: exactly the rows a full scan with the same filter keeps, and
// exactly the row groups that statistics rule out are skipped.
#include "CliTest.hpp"

#include <cmath>
#include <fstream>
#include <functional>

namespace ovtest {
namespace {

using Record = std::vector<std::string>;
using Predicate = std::function<bool(const Record&)>;

// Column positions in the csv of the sorted file.
enum Column { kId, kBucket, kTs, kDay, kName, kValue, kFlag, kCat, kTags };

// Every row of the file, as csv records (header first).
std::vector<Record> fullScan(const std::string& path) {
  return parseCsv(ok({"read", path, "--format", "csv"}).out);
}

constexpr int kAnySkipped = -2;

struct Case {
  std::string where;
  Predicate keep;
  int expectSkipped;
};

// Runs --where and compares with the full scan filtered by `keep`.
void check(const std::string& path, const std::vector<Record>& all, const Case& c,
           const std::vector<std::string>& extra = {}) {
  SCOPED_TRACE(c.where);
  std::vector<std::string> args = {"-v", "read", path, "--where", c.where, "--format", "csv"};
  args.insert(args.end(), extra.begin(), extra.end());
  const RunResult r = ok(args);
  const auto got = parseCsv(r.out);
  std::vector<Record> expected = {all[0]};
  for (std::size_t i = 1; i < all.size(); ++i) {
    if (c.keep(all[i])) expected.push_back(all[i]);
  }
  EXPECT_EQ(got.size(), expected.size());
  EXPECT_TRUE(got == expected) << "rows differ from the filtered full scan";
  const auto [k, n] = skipped(r.err);
  if (c.expectSkipped != kAnySkipped) {
    EXPECT_EQ(k, c.expectSkipped) << r.err;
  }
  EXPECT_GT(n, 0) << r.err;
}

std::int64_t num(const std::string& s) { return std::stoll(s); }
double real(const std::string& s) { return s == "NaN" ? std::nan("") : std::stod(s); }

TEST(Where, EqualsAFilteredFullScanAndSkipsRowGroupsOnSortedData) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  const auto all = fullScan(path);
  ASSERT_EQ(all.size(), 100001u);
  const std::vector<Case> cases = {
      {"id >= 12345 and id < 12400", [](const Record& r) { return num(r[kId]) >= 12345 && num(r[kId]) < 12400; }, 99},
      {"bucket = 42", [](const Record& r) { return num(r[kBucket]) == 42; }, 99},
      {"5000 > id", [](const Record& r) { return num(r[kId]) < 5000; }, 95},
      {"ts >= '2024-01-10' and ts < '2024-01-10T01:00'",
       [](const Record& r) { return r[kTs] >= "2024-01-10T00:00:00" && r[kTs] < "2024-01-10T01:00:00"; }, 98},
      {"day = '2024-02-01'", [](const Record& r) { return r[kDay] == "2024-02-01"; }, 97},
      {"name > 'k099500'", [](const Record& r) { return r[kName] > "k099500"; }, 99},
      // Missing values and NaN never match, whatever the operator.
      {"value < 100 and value != 50",
       [](const Record& r) {
         if (r[kValue].empty() || r[kValue] == "NaN") return false;
         return real(r[kValue]) < 100 && real(r[kValue]) != 50;
       },
       99},
      {"flag = false and id < 5000", [](const Record& r) { return r[kFlag] == "false" && num(r[kId]) < 5000; }, 98},
      {"id < 0", [](const Record&) { return false; }, 100},
      // Categoricals have no statistics: filtered row by row only.
      {"cat = 'c1' and id < 3000", [](const Record& r) { return r[kCat] == "c1" && num(r[kId]) < 3000; }, 97},
      {"cat != 'c1'", [](const Record& r) { return r[kCat] != "c1"; }, 0},
  };
  for (const auto& c : cases) check(path, all, c);
}

TEST(Where, WithoutStatisticsNothingIsSkippedButTheRowsAreTheSame) {
  const std::string path = fixture("pyarrow_no_stats.parquet");
  const auto all = fullScan(path);
  check(path, all, {"id >= 12345 and id < 12400", [](const Record& r) {
                      return num(r[kId]) >= 12345 && num(r[kId]) < 12400;
                    }, 0});
}

TEST(Where, OnChosenRowGroupsAndWithHead) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  const RunResult r = ok({"-v", "read", path, "--row-groups", "1,2,3", "--where", "id >= 1500", "--vars", "id",
                          "--format", "csv"});
  EXPECT_EQ(skipped(r.err), std::make_pair(1, 3));
  const auto records = parseCsv(r.out);
  ASSERT_EQ(records.size(), 1501u);
  EXPECT_EQ(records[1][0], "1500");
  EXPECT_EQ(records.back()[0], "2999");

  // The filter's variable need not be printed.
  const RunResult other = ok({"-v", "read", path, "--vars", "name", "--where", "bucket = 3", "--format", "csv"});
  EXPECT_EQ(skipped(other.err), std::make_pair(99, 100));
  const auto names = parseCsv(other.out);
  ASSERT_EQ(names.size(), 1001u);
  EXPECT_EQ(names[0], Record{"name"});
  EXPECT_EQ(names[1], Record{"k003000"});
  EXPECT_EQ(names.back(), Record{"k003999"});

  const auto head = parseCsv(ok({"read", path, "--where", "id > 70000", "--head", "3", "--vars", "id",
                                 "--format", "csv"}).out);
  EXPECT_EQ(head, (std::vector<Record>{{"id"}, {"70001"}, {"70002"}, {"70003"}}));
}

TEST(Where, OnDuckdbFile) {
  const std::string path = fixture("duckdb_flat.parquet");
  const auto all = fullScan(path);
  // id, value, label, maybe (missing for every fourth id)
  check(path, all, {"id >= 150000 and id < 150010", [](const Record& r) {
                      return num(r[0]) >= 150000 && num(r[0]) < 150010;
                    }, 2});
  check(path, all, {"maybe = 5", [](const Record& r) { return !r[3].empty() && num(r[3]) == 5; }, 2});
  // Texts order by bytes ("row 99999" > "row 200703"): whatever is skipped, the
  // rows are the same.
  check(path, all, {"label = 'row 249999'", [](const Record& r) { return r[2] == "row 249999"; }, kAnySkipped});
}

TEST(Where, OnOurOwnFilesFromParquetAndCsv) {
  Scratch dir;
  const std::string own = dir.file("own.parquet");
  ok({"write", own, "--from", fixture("pyarrow_sorted.parquet"), "--row-group-length", "5000"});
  const auto all = fullScan(own);
  check(own, all, {"id >= 50000 and id < 50100 and flag = true", [](const Record& r) {
                     return num(r[kId]) >= 50000 && num(r[kId]) < 50100 && r[kFlag] == "true";
                   }, 19});

  // The same data through csv: timestamps come back as timestamps.
  const std::string csv = dir.file("sorted.csv");
  {
    std::ofstream out(csv);
    out << ok({"read", fixture("pyarrow_sorted.parquet"), "--vars", "id,ts,name,value", "--format", "csv"}).out;
  }
  const std::string fromCsv = dir.file("from_csv.parquet");
  ok({"write", fromCsv, "--from", csv, "--row-group-length", "10000"});
  const auto csvAll = fullScan(fromCsv);
  check(fromCsv, csvAll, {"ts >= '2024-02-15T12:00:00' and value > 100", [](const Record& r) {
                            return r[1] >= "2024-02-15T12:00:00" && !r[3].empty() && r[3] != "NaN" &&
                                   real(r[3]) > 100;
                          }, 6});
}

TEST(Where, Errors) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  // Syntax: a usage error.
  for (const char* bad : {"id >", "id 5", "id = 5 or", "= 5", "id = 'x", "id ! 5"}) {
    SCOPED_TRACE(bad);
    expectFailure(runProgram({"read", path, "--where", bad}), 2, "ORVANE:cli:InvalidWhere");
  }
  // What the file holds decides the rest.
  expectFailure(runProgram({"read", path, "--where", "nope = 1"}), 1, "ORVANE:cli:UnknownVariable");
  expectFailure(runProgram({"read", path, "--where", "name = 5"}), 1, "ORVANE:cli:WhereTypeMismatch");
  expectFailure(runProgram({"read", path, "--where", "ts > 5"}), 1, "ORVANE:cli:WhereTypeMismatch");
  expectFailure(runProgram({"read", path, "--where", "ts > '2024-13-01'"}), 1, "ORVANE:cli:WhereTypeMismatch");
  const RunResult list = runProgram({"read", path, "--where", "tags = 'x'"});
  expectFailure(list, 1, "ORVANE:parquetio:read:UnsupportedRowFilterVariable");
  EXPECT_NE(list.err.find("'tags'"), std::string::npos);
}

}  // namespace
}  // namespace ovtest
