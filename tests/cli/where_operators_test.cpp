// read --where with or, not, parentheses, in-lists and is missing, and time
// texts read in the variable's zone: the rows a full scan with the same
// filter keeps, and the row groups statistics can rule out skipped.
#include "CliTest.hpp"

#include <cmath>
#include <functional>

namespace ovtest {
namespace {

using Record = std::vector<std::string>;
using Predicate = std::function<bool(const Record&)>;

// Columns of pyarrow_sorted.parquet: 100 row groups of 1000 rows.
enum Column { kId, kBucket, kTs, kDay, kName, kValue, kFlag, kCat, kTags };

struct Case {
  std::string where;
  Predicate keep;
  int expectSkipped;
};

std::int64_t num(const std::string& s) { return std::stoll(s); }
bool present(const std::string& s) { return !s.empty() && s != "NaN"; }

void check(const std::string& path, const std::vector<Record>& all, const Case& c) {
  SCOPED_TRACE(c.where);
  const RunResult r = ok({"-v", "read", path, "--where", c.where, "--format", "csv"});
  std::vector<Record> expected = {all[0]};
  for (std::size_t i = 1; i < all.size(); ++i) {
    if (c.keep(all[i])) expected.push_back(all[i]);
  }
  const auto got = parseCsv(r.out);
  EXPECT_EQ(got.size(), expected.size());
  EXPECT_TRUE(got == expected) << "rows differ from the filtered full scan";
  EXPECT_EQ(skipped(r.err).first, c.expectSkipped) << r.err;
}

TEST(WhereOperators, EqualFilteredFullScanAndSkipWhereStatisticsProve) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  const auto all = parseCsv(ok({"read", path, "--format", "csv"}).out);
  ASSERT_EQ(all.size(), 100001u);
  const std::vector<Case> cases = {
      {"id < 1000 or id >= 99000", [](const Record& r) { return num(r[kId]) < 1000 || num(r[kId]) >= 99000; }, 98},
      {"not id >= 1000", [](const Record& r) { return num(r[kId]) < 1000; }, 99},
      {"not (id >= 1000 and id < 99000)",
       [](const Record& r) { return num(r[kId]) < 1000 || num(r[kId]) >= 99000; }, 98},
      {"bucket in (3, 5, 7)", [](const Record& r) { return r[kBucket] == "3" || r[kBucket] == "5" || r[kBucket] == "7"; }, 97},
      // Row groups whose every bucket is in the list hold no row of "not in".
      {"bucket not in (3, 5)", [](const Record& r) { return r[kBucket] != "3" && r[kBucket] != "5"; }, 2},
      {"not (bucket != 4)", [](const Record& r) { return r[kBucket] == "4"; }, 99},
      {"(bucket = 1 or bucket = 2) and not flag = true",
       [](const Record& r) { return (r[kBucket] == "1" || r[kBucket] == "2") && r[kFlag] == "false"; }, 99},
      // Every row group has a missing value: nothing to skip.
      {"value is missing", [](const Record& r) { return r[kValue].empty(); }, 0},
      {"value is not missing and id < 2000", [](const Record& r) { return !r[kValue].empty() && num(r[kId]) < 2000; }, 98},
      // A missing value makes "not value > 100" unknown, not true; row groups
      // 1 and 2 hold only values above 100 and missing ones.
      {"not value > 100 and id < 3000",
       [](const Record& r) { return present(r[kValue]) && std::stod(r[kValue]) <= 100 && num(r[kId]) < 3000; }, 99},
      {"value > 24000 or value is missing",
       [](const Record& r) { return r[kValue].empty() || (present(r[kValue]) && std::stod(r[kValue]) > 24000); }, 0},
      {"name in ('k000005', 'k050000')", [](const Record& r) { return r[kName] == "k000005" || r[kName] == "k050000"; }, 98},
      {"day in ('2024-01-02', '2024-02-01') and ts < '2024-02-01T00:05'",
       [](const Record& r) {
         return (r[kDay] == "2024-01-02" || r[kDay] == "2024-02-01") && r[kTs] < "2024-02-01T00:05:00";
       },
       97},
      // Categoricals have no statistics; lists can be tested for missing values.
      {"cat in ('c1', 'c2') and id < 3000",
       [](const Record& r) { return (r[kCat] == "c1" || r[kCat] == "c2") && num(r[kId]) < 3000; }, 97},
      {"tags is missing or id = 7", [](const Record& r) { return r[kId] == "7"; }, 0},
      {"\"id\" = 3 or (id = 4)", [](const Record& r) { return r[kId] == "3" || r[kId] == "4"; }, 99},
  };
  for (const auto& c : cases) check(path, all, c);
}

TEST(WhereOperators, SyntaxErrorsAreUsageErrors) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  for (const char* bad : {"id = 5 or", "(id = 5", "id = 5)", "id in ()", "id in (5", "id in (x)", "id is",
                          "id is not", "not", "id = 5 and or id = 6", "flag", "id = 5 id = 6"}) {
    SCOPED_TRACE(bad);
    expectFailure(runProgram({"read", path, "--where", bad}), 2, "ORVANE:cli:InvalidWhere");
  }
  expectFailure(runProgram({"read", path, "--where", "id in (1, 'a')"}), 1, "ORVANE:cli:WhereTypeMismatch");
  expectFailure(runProgram({"read", path, "--where", "id = 1 or tags = 'x'"}), 1,
                "ORVANE:parquetio:read:UnsupportedRowFilterVariable");
}

// The ids kept by --where on the zoned file.
std::vector<std::string> zonedIds(const std::string& where) {
  std::vector<std::string> ids;
  const auto records = parseCsv(ok({"read", fixture("pyarrow_zoned_decimal.parquet"), "--vars", "id", "--where",
                                    where, "--format", "csv"}).out);
  for (std::size_t i = 1; i < records.size(); ++i) ids.push_back(records[i][0]);
  return ids;
}

TEST(WhereOperators, TimeTextsAreReadInTheVariablesZoneUnlessTheyNameOne) {
  // "at" is in New York: row i is 2024-01-01 + i days + (i mod 24) hours UTC.
  // 18:00 in New York on 2024-03-10 (after the change to summer time) is
  // 22:00 UTC: row 69 (21:00 UTC) is before it, row 70 the first after.
  const auto local = zonedIds("at >= '2024-03-10 18:00'");
  ASSERT_FALSE(local.empty());
  EXPECT_EQ(local.front(), "70");
  EXPECT_EQ(local, zonedIds("at >= '2024-03-10T22:00:00Z'"));
  EXPECT_EQ(local, zonedIds("at >= '2024-03-10 23:00+01:00'"));
  EXPECT_EQ(local, zonedIds("at >= '2024-03-11 07:00 Asia/Tokyo'"));
  // In winter New York is 5 hours behind.
  EXPECT_EQ(zonedIds("at < '2024-01-03 00:00'"), zonedIds("at < '2024-01-03T05:00Z'"));
  expectFailure(runProgram({"read", fixture("pyarrow_zoned_decimal.parquet"), "--where", "at > '2024-01-01 10:00 Mars/Base'"}),
                1, "ORVANE:cli:WhereTypeMismatch");
  // 02:30 does not exist in New York on 2024-03-10: one line that says so.
  const RunResult gap = runProgram({"read", fixture("pyarrow_zoned_decimal.parquet"), "--where", "at > '2024-03-10 02:30'"});
  expectFailure(gap, 1, "ORVANE:cli:WhereTypeMismatch");
  EXPECT_NE(gap.err.find("America/New_York"), std::string::npos) << gap.err;
}

}  // namespace
}  // namespace ovtest
