// --vars with dotted paths: fields of record variables.
#include "CliTest.hpp"

namespace ovtest {
namespace {

TEST(FieldPaths, ADottedPathPrintsAFieldOfARecord) {
  const std::string path = fixture("pyarrow_nested.parquet");
  const auto records = parseCsv(ok({"read", path, "--vars", "point.y,größe", "--head", "3", "--format", "csv"}).out);
  EXPECT_EQ(records, (std::vector<std::vector<std::string>>{{"point.y", "größe"}, {"0", "0"}, {"0.5", "0.5"}, {"1", "1"}}));
  // With the record itself, and filtered by another variable.
  const json j = okJson({"read", path, "--vars", "point.x,point", "--where", "größe = 2", "--format", "json"});
  EXPECT_EQ(j, json::parse(R"([{"point.x": 4, "point": {"x": 4, "y": 2.0}}])"));
}

TEST(FieldPaths, AFieldOfAMissingRecordIsMissing) {
  const auto records = parseCsv(ok({"read", fixture("pyarrow_records.parquet"), "--vars", "rec.b,rec.a", "--format",
                                    "csv"}).out);
  EXPECT_EQ(records, (std::vector<std::vector<std::string>>{{"rec.b", "rec.a"}, {"x", "1"}, {"", ""}, {"", ""}}));
}

TEST(FieldPaths, UnknownPathsAreUnknownVariables) {
  const std::string path = fixture("pyarrow_nested.parquet");
  for (const char* bad : {"point.z", "größe.x", "tags.element", "nope.x"}) {
    SCOPED_TRACE(bad);
    expectFailure(runProgram({"read", path, "--vars", bad}), 1, "ORVANE:cli:UnknownVariable");
  }
}

}  // namespace
}  // namespace ovtest
