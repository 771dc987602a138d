// The ovparquet program on s3 locations prints exactly what it prints for a
// local copy; pyarrow's own S3 file system reads what we write and writes
// what we read.
#include "S3Fixture.hpp"

#include "../cli/Program.hpp"
#include "../support/Files.hpp"
#include "../support/ParquetFiles.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace ovtest {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string replaceAll(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Runs a peer check script with the server's settings; its exit status.
int runPeerCheck(const std::vector<std::string>& args) {
  std::string command = std::string(OVPARQUET_PYTHON) + " " + OVPARQUET_PYARROW_S3_CHECK + " " +
                        s3Server().endpoint();
  for (const auto& a : args) command += " '" + a + "'";
  return std::system(command.c_str());
}

class S3ProgramTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    makeBucket("prog");
    sDir = new TempDir();
    const auto table = makeSimpleTable(30000);
    writeParquet(sDir->file("simple.parquet"), *table, 4000);
    uploadFile(sDir->file("simple.parquet"), "prog/simple.parquet");
    std::filesystem::create_directories(sDir->file("many/sub"));
    for (const std::string name : {"many/a.parquet", "many/b.parquet", "many/sub/c.parquet"}) {
      writeParquet(sDir->file(name), *makeSimpleTable(1000 * static_cast<int64_t>(name.size())), 700);
      uploadFile(sDir->file(name), "prog/" + name);
    }
    putObject("prog/many/readme.txt", "not counted");
  }
  static void TearDownTestSuite() {
    delete sDir;
    sDir = nullptr;
  }

  // The program's output for the local file and for the object, with the
  // names made equal.
  static void expectSameOutput(std::vector<std::string> args) {
    std::vector<std::string> local = args;
    std::vector<std::string> remote = args;
    for (auto& a : local) a = replaceAll(a, "FILE", sDir->file("simple.parquet"));
    for (auto& a : remote) a = replaceAll(a, "FILE", s3Location("prog/simple.parquet"));
    const RunResult l = runProgram(local);
    const RunResult r = runProgram(remote);
    ASSERT_EQ(l.status, 0) << l.err;
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(replaceAll(r.out, s3Location("prog/simple.parquet"), sDir->file("simple.parquet")), l.out);
  }

  static TempDir* sDir;
};
TempDir* S3ProgramTest::sDir = nullptr;

TEST_F(S3ProgramTest, InfoEqualsTheLocalCopy) {
  expectSameOutput({"--format", "json", "info", "FILE"});
  expectSameOutput({"info", "FILE"});
}

TEST_F(S3ProgramTest, ReadWholeByVariablesRowGroupsAndRangeEqualTheLocalCopy) {
  expectSameOutput({"--format", "csv", "read", "FILE"});
  expectSameOutput({"--format", "json", "read", "FILE", "--vars", "name,id"});
  expectSameOutput({"--format", "json", "read", "FILE", "--row-groups", "5,2"});
  expectSameOutput({"--format", "csv", "read", "FILE", "--range", "0:3000"});
  expectSameOutput({"--format", "csv", "read", "FILE", "--range", "3000:100000"});
}

TEST_F(S3ProgramTest, ReadWhereSkipsTheSameRowGroups) {
  expectSameOutput({"--verbose", "--format", "csv", "read", "FILE", "--where", "id >= 12000 and value < 7000"});
}

TEST_F(S3ProgramTest, StatsEqualTheLocalCopy) {
  expectSameOutput({"--format", "json", "stats", "FILE", "--vars", "id,value,name"});
}

TEST_F(S3ProgramTest, CountOfAPrefixCountsEveryParquetObject) {
  const RunResult l = runProgram({"--format", "csv", "count", sDir->file("many")});
  const RunResult r = runProgram({"--format", "csv", "count", s3Location("prog/many/")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(replaceAll(r.out, s3Location("prog/many"), sDir->file("many")), l.out);
  EXPECT_THAT(r.out, HasSubstr("s3://prog/many/sub/c.parquet"));
  EXPECT_THAT(r.out, Not(HasSubstr("readme")));
}

TEST_F(S3ProgramTest, InspectionEqualsTheLocalCopy) {
  expectSameOutput({"schema", "FILE"});
  expectSameOutput({"--format", "json", "info", "--chunks", "FILE"});
  expectSameOutput({"--format", "csv", "info", "--pages", "FILE"});
}

TEST_F(S3ProgramTest, GlobPatternsMatchTheKeysOfOneLevel) {
  const RunResult l = runProgram({"--format", "csv", "count", sDir->file("many") + "/*.parquet"});
  const RunResult r = runProgram({"--format", "csv", "count", s3Location("prog/many/*.parquet")});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(replaceAll(r.out, s3Location("prog/many"), sDir->file("many")), l.out);
  EXPECT_THAT(r.out, HasSubstr("s3://prog/many/a.parquet"));
  EXPECT_THAT(r.out, HasSubstr("s3://prog/many/b.parquet"));
  EXPECT_THAT(r.out, Not(HasSubstr("sub/c.parquet")));
  const RunResult deeper = runProgram({"--format", "csv", "count", s3Location("prog/many/*/[c].parquet")});
  ASSERT_EQ(deeper.status, 0) << deeper.err;
  EXPECT_THAT(deeper.out, HasSubstr("s3://prog/many/sub/c.parquet"));
  EXPECT_THAT(deeper.out, Not(HasSubstr("a.parquet")));
  const RunResult none = runProgram({"count", s3Location("prog/many/*.csv")});
  EXPECT_EQ(none.status, 1);
  EXPECT_THAT(none.err, HasSubstr("ORVANE:cli:NoMatchingFiles: No files match the pattern 's3://prog/many/*.csv'."));
}

TEST_F(S3ProgramTest, WriteFromAnObjectToAnObject) {
  const RunResult w = runProgram({"write", s3Location("prog/rewritten.parquet"), "--from", s3Location("prog/simple.parquet"),
                                  "--compression", "zstd,name=gzip", "--row-group-length", "7000"});
  ASSERT_EQ(w.status, 0) << w.err;
  const RunResult l = runProgram({"write", sDir->file("rewritten.parquet"), "--from", sDir->file("simple.parquet"),
                                  "--compression", "zstd,name=gzip", "--row-group-length", "7000"});
  ASSERT_EQ(l.status, 0) << l.err;
  EXPECT_EQ(getObject("prog/rewritten.parquet"), readFile(sDir->file("rewritten.parquet")));
}

TEST_F(S3ProgramTest, FailedWriteLeavesTheOlderObject) {
  putObject("prog/kept.parquet", "older");
  const RunResult w = runProgram({"write", s3Location("prog/kept.parquet"), "--from", s3Location("prog/missing.parquet")});
  EXPECT_EQ(w.status, 1);
  EXPECT_THAT(w.err, HasSubstr("ORVANE:host:FileNotFound"));
  EXPECT_EQ(getObject("prog/kept.parquet"), "older");
  const RunResult bucket = runProgram({"write", s3Location("no-such-bucket/x.parquet"), "--from", sDir->file("simple.parquet")});
  EXPECT_EQ(bucket.status, 1);
  EXPECT_THAT(bucket.err, HasSubstr("ORVANE:host:BucketNotFound"));
}

TEST_F(S3ProgramTest, ErrorsNameTheLocationAndNoSecret) {
  const std::string secretName =
      "s3://" + std::string(kAccessKey) + ":" + kSecretKey + "@prog/missing.parquet?secret_key=" + kSecretKey;
  for (const std::string command : {"info", "read", "stats"}) {
    const RunResult r = runProgram({"--log", "255", command, secretName});
    EXPECT_EQ(r.status, 1) << command;
    EXPECT_THAT(r.err, HasSubstr("Unable to open 's3://prog/missing.parquet': no such file or directory."));
    EXPECT_THAT(r.err + r.out, Not(HasSubstr(kSecretKey)));
    EXPECT_THAT(r.err + r.out, Not(HasSubstr(kAccessKey)));
  }
}

TEST_F(S3ProgramTest, PyarrowReadsWhatWeWriteAndWeReadWhatPyarrowWrites) {
  const RunResult w = runProgram({"write", s3Location("prog/ours.parquet"), "--from", sDir->file("simple.parquet")});
  ASSERT_EQ(w.status, 0) << w.err;
  EXPECT_EQ(runPeerCheck({"read-equals", "prog/ours.parquet", sDir->file("simple.parquet")}), 0);

  ASSERT_EQ(runPeerCheck({"write", sDir->file("simple.parquet"), "prog/theirs.parquet"}), 0);
  const RunResult theirs = runProgram({"--format", "csv", "read", s3Location("prog/theirs.parquet")});
  const RunResult local = runProgram({"--format", "csv", "read", sDir->file("simple.parquet")});
  ASSERT_EQ(theirs.status, 0) << theirs.err;
  EXPECT_EQ(theirs.out, local.out);
}

}  // namespace
}  // namespace ovtest
