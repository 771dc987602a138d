// Error paths and global options: one line on standard error with the
// identifier and the catalog text; status 1 for what the data shows, 2 for
// what the command line alone shows.
#include "CliTest.hpp"

#include <fstream>

namespace ovtest {
namespace {

TEST(Errors, AMissingFileForEveryCommand) {
  const std::string missing = "/nonexistent/dir/x.parquet";
  const std::string text = "Unable to open '" + missing + "': no such file or directory.";
  for (const auto& args : std::vector<std::vector<std::string>>{
           {"count", missing}, {"read", missing}, {"stats", missing}, {"write", "/tmp/x.parquet", "--from", missing}}) {
    SCOPED_TRACE(args[0]);
    const RunResult r = runProgram(args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "ORVANE:host:FileNotFound: " + text + "\n");
    EXPECT_TRUE(r.out.empty()) << r.out;
  }
  // The file summary reports every failure as a read error of the file,
  // with the host's text inside.
  const RunResult r = runProgram({"info", missing});
  expectFailure(r, 1, "ORVANE:parquetio:read:InternalInvalidRead");
  EXPECT_NE(r.err.find(text), std::string::npos) << r.err;
}

TEST(Errors, ACorruptFile) {
  Scratch dir;
  const std::string path = dir.file("corrupt.parquet");
  {
    // Parquet's magic at both ends, garbage between.
    std::ofstream out(path, std::ios::binary);
    out << "PAR1" << std::string(100, 'x') << "\x10\x00\x00\x00" << "PAR1";
  }
  const std::string notParquet = dir.file("text.parquet");
  {
    std::ofstream out(notParquet);
    out << "id,name\n1,a\n";
  }
  for (const auto& file : {path, notParquet}) {
    for (const char* command : {"info", "read", "stats", "count"}) {
      SCOPED_TRACE(std::string(command) + " " + file);
      const RunResult r = runProgram({command, file});
      expectFailure(r, 1, "ORVANE:parquetio:read:InternalInvalidRead");
      EXPECT_NE(r.err.find(file), std::string::npos) << r.err;
    }
  }
}

TEST(Errors, UnknownVariableInVars) {
  const std::string path = fixture("duckdb_flat.parquet");
  for (const char* command : {"read", "stats"}) {
    SCOPED_TRACE(command);
    const RunResult r = runProgram({command, path, "--vars", "id,nope"});
    expectFailure(r, 1, "ORVANE:cli:UnknownVariable");
    EXPECT_EQ(r.err, "ORVANE:cli:UnknownVariable: Variable 'nope' is not in '" + path +
                         "'. Its variables are: id, value, label, maybe.\n");
  }
}

TEST(Errors, RowGroupOutOfRange) {
  expectFailure(runProgram({"read", fixture("duckdb_flat.parquet"), "--row-groups", "1,4"}), 1,
                "ORVANE:cli:RowGroupOutOfRange");
}

TEST(Errors, BadOptionValuesAreUsageErrors) {
  const std::string path = fixture("duckdb_flat.parquet");
  const std::vector<std::vector<std::string>> usage = {
      {"--threads", "0", "info", path},
      {"--threads", "many", "info", path},
      {"--format", "xml", "info", path},
      {"info", path, "--format", "xml"},
      {"info", path, "--bogus"},
      {"info"},
      {},
      {"frobnicate", path},
      {"read", path, "--head", "-1"},
      {"read", path, "--max-rows", "x"},
      {"read", path, "--row-groups", "1", "--range", "0:10"},
  };
  for (const auto& args : usage) {
    SCOPED_TRACE(::testing::PrintToString(args));
    expectFailure(runProgram(args), 2, "ORVANE:cli:InvalidUsage");
  }
  const std::vector<std::vector<std::string>> invalid = {
      {"--log", "lots", "info", path},
      {"read", path, "--row-groups", "0"},
      {"read", path, "--row-groups", "1,a"},
      {"read", path, "--range", "a:b"},
      {"read", path, "--range", "5"},
      {"read", path, "--vars", "id,,label"},
      {"read", path, "--vars", "id,id"},
      {"stats", path, "--vars", "id,id"},
  };
  for (const auto& args : invalid) {
    SCOPED_TRACE(::testing::PrintToString(args));
    expectFailure(runProgram(args), 2, "ORVANE:cli:InvalidOption");
  }
}

TEST(Errors, HelpForEveryCommandAndVersion) {
  for (const char* command : {"info", "count", "read", "stats", "write"}) {
    SCOPED_TRACE(command);
    const RunResult r = ok({command, "--help"});
    EXPECT_NE(r.out.find("Usage"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(command), std::string::npos) << r.out;
  }
  const RunResult help = ok({"--help"});
  for (const char* command : {"info", "count", "read", "stats", "write"}) EXPECT_NE(help.out.find(command), std::string::npos);
  const RunResult version = ok({"--version"});
  EXPECT_EQ(version.out.rfind("ovparquet ", 0), 0u) << version.out;
}

TEST(GlobalOptions, ThreadsDoNotChangeTheOutput) {
  const std::string path = fixture("pyarrow_sorted.parquet");
  const std::string one = ok({"--threads", "1", "read", path, "--row-groups", "5,6", "--format", "csv"}).out;
  const std::string four = ok({"read", path, "--row-groups", "5,6", "--format", "csv", "--threads", "4"}).out;
  EXPECT_EQ(one, four);
}

TEST(GlobalOptions, LogMaskAndLogFile) {
  const std::string path = fixture("duckdb_flat.parquet");
  // Off by default.
  EXPECT_TRUE(ok({"info", path}).err.empty());
  const RunResult toStderr = ok({"--log", "0x60", "info", path});
  EXPECT_NE(toStderr.err.find("ParquetInfo"), std::string::npos) << toStderr.err.substr(0, 400);

  Scratch dir;
  const std::string log = dir.file("trace.log");
  const RunResult toFile = ok({"info", path, "--log", "96", "--log-file", log});
  EXPECT_TRUE(toFile.err.empty()) << toFile.err.substr(0, 400);
  std::ifstream in(log);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(text.find("ParquetInfo"), std::string::npos);

  expectFailure(runProgram({"--log", "96", "--log-file", "/nonexistent/dir/x.log", "info", path}), 1,
                "ORVANE:host:CannotOpenLog");
}

}  // namespace
}  // namespace ovtest
