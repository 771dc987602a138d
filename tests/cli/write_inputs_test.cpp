// write: several inputs, directories, standard input, CSV in blocks and
// row groups, bad CSV, and Ctrl-C during long commands.
#include "CliTest.hpp"

#include <ovparquet/core/info/ParquetInfo.hpp>

#include <sys/wait.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <thread>

namespace ovtest {
namespace {

using orvane::io::parquet::core::info::ParquetInfo;

void writeText(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

// "id,name" and `rows` rows from `first` on.
void writeRows(const std::string& path, int first, int rows) {
  std::ofstream out(path);
  out << "id,name\n";
  for (int i = first; i < first + rows; ++i) out << i << ",n" << i % 100 << '\n';
}

std::vector<std::int64_t> heights(const std::string& path) { return ParquetInfo(u(path)).getRowGroupHeights(); }

// Runs a shell command line; the exit status and standard error.
RunResult shell(const std::string& command, const std::string& errFile) {
  RunResult r;
  const int status = std::system((command + " 2> '" + errFile + "'").c_str());
  r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  std::ifstream in(errFile);
  r.err.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return r;
}

TEST(WriteInputs, SeveralCsvFilesAppendInOrder) {
  Scratch dir;
  writeText(dir.file("a.csv"), "id,name\n1,x\n2,y\n");
  writeText(dir.file("b.csv"), "id,name\n3,z\n");
  const std::string out = dir.file("out.parquet");
  const json j = okJson({"write", out, "--from", dir.file("a.csv"), "--from", dir.file("b.csv"), "--format", "json"});
  EXPECT_EQ(j["rows"], 3);
  EXPECT_EQ(j["rowGroups"], 1);
  const auto rows = parseCsv(ok({"read", out, "--format", "csv"}).out);
  EXPECT_EQ(rows, (std::vector<std::vector<std::string>>{{"id", "name"}, {"1", "x"}, {"2", "y"}, {"3", "z"}}));
}

TEST(WriteInputs, AnInputThatDiffersIsNamedAndNothingIsWritten) {
  Scratch dir;
  writeText(dir.file("a.csv"), "id,name\n1,x\n");
  writeText(dir.file("renamed.csv"), "id,label\n1,x\n");
  writeText(dir.file("retyped.csv"), "id,name\nfirst,x\n");
  writeText(dir.file("wider.csv"), "id,name,more\n1,x,2\n");
  const std::string out = dir.file("out.parquet");
  for (const std::string other : {"renamed.csv", "retyped.csv", "wider.csv"}) {
    const RunResult r = runProgram({"write", out, "--from", dir.file("a.csv"), "--from", dir.file(other)});
    expectFailure(r, 1, "ORVANE:cli:InputsDiffer");
    EXPECT_NE(r.err.find("'" + dir.file(other) + "' does not match '" + dir.file("a.csv") + "'"), std::string::npos)
        << r.err;
  }
  EXPECT_NE(runProgram({"write", out, "--from", dir.file("a.csv"), "--from", dir.file("retyped.csv")})
                .err.find("variable 'id' is string, not int64"),
            std::string::npos);
  EXPECT_EQ(dir.entries(), (std::vector<std::string>{"a.csv", "renamed.csv", "retyped.csv", "wider.csv"}));
}

TEST(WriteInputs, ADirectoryStandsForItsParquetFiles) {
  Scratch dir;
  std::filesystem::create_directory(dir.file("parts"));
  writeRows(dir.file("a.csv"), 0, 5);
  writeRows(dir.file("b.csv"), 5, 7);
  ok({"write", dir.file("parts/1.parquet"), "--from", dir.file("a.csv")});
  ok({"write", dir.file("parts/2.parquet"), "--from", dir.file("b.csv"), "--row-group-length", "4"});
  writeText(dir.file("parts/notes.txt"), "not data");
  const std::string out = dir.file("all.parquet");
  ok({"write", out, "--from", dir.file("parts")});
  // Each file's row groups are kept.
  EXPECT_EQ(heights(out), (std::vector<std::int64_t>{5, 4, 3}));
  const auto rows = parseCsv(ok({"read", out, "--vars", "id", "--format", "csv"}).out);
  ASSERT_EQ(rows.size(), 13u);
  for (int i = 0; i < 12; ++i) EXPECT_EQ(rows[static_cast<std::size_t>(i) + 1][0], std::to_string(i));
  // --row-group-length cuts across the files.
  ok({"write", out, "--from", dir.file("parts"), "--row-group-length", "10"});
  EXPECT_EQ(heights(out), (std::vector<std::int64_t>{10, 2}));

  // A file of other variables in the directory is named.
  writeText(dir.file("c.csv"), "other\n1\n");
  ok({"write", dir.file("parts/3.parquet"), "--from", dir.file("c.csv")});
  const RunResult r = runProgram({"write", dir.file("bad.parquet"), "--from", dir.file("parts")});
  expectFailure(r, 1, "ORVANE:cli:InputsDiffer");
  EXPECT_NE(r.err.find("3.parquet"), std::string::npos) << r.err;
  EXPECT_FALSE(std::filesystem::exists(dir.file("bad.parquet")));

  std::filesystem::create_directory(dir.file("none"));
  expectFailure(runProgram({"write", out, "--from", dir.file("none")}), 1, "ORVANE:cli:NoParquetFiles");
}

TEST(WriteInputs, StandardInputIsReadAsCsv) {
  Scratch dir;
  writeRows(dir.file("in.csv"), 0, 1000);
  const std::string out = dir.file("out.parquet");
  const RunResult r = shell("'" + programPath() + "' write '" + out + "' --from - < '" + dir.file("in.csv") + "' > /dev/null",
                            dir.file("err.txt"));
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(heights(out), (std::vector<std::int64_t>{1000}));
  EXPECT_EQ(ok({"read", out, "--format", "csv", "--head", "2"}).out, "id,name\n0,n0\n1,n1\n");

  expectFailure(runProgram({"write", out, "--from", "-", "--from", "-"}), 2, "ORVANE:cli:InvalidOption");
  // Told Parquet, standard input must hold it (here it is empty).
  expectFailure(runProgram({"write", out, "--from", "-", "--input-format", "parquet"}), 1, "ORVANE:cli:NotParquet");
}

TEST(WriteInputs, CsvBecomesRowGroupsOfAMillionRowsByDefault) {
  Scratch dir;
  writeRows(dir.file("a.csv"), 0, 1100000);
  const std::string out = dir.file("out.parquet");
  ok({"write", out, "--from", dir.file("a.csv")});
  EXPECT_EQ(heights(out), (std::vector<std::int64_t>{1048576, 51424}));
  ok({"write", out, "--from", dir.file("a.csv"), "--row-group-length", "400000"});
  EXPECT_EQ(heights(out), (std::vector<std::int64_t>{400000, 400000, 300000}));

  // Heights may span two inputs; they must add up to all of their rows.
  writeRows(dir.file("b.csv"), 1100000, 10);
  ok({"write", out, "--from", dir.file("a.csv"), "--from", dir.file("b.csv"), "--row-group-heights", "1100005,5"});
  EXPECT_EQ(heights(out), (std::vector<std::int64_t>{1100005, 5}));
  const auto last = parseCsv(ok({"read", out, "--row-groups", "2", "--vars", "id", "--format", "csv"}).out);
  ASSERT_EQ(last.size(), 6u);
  EXPECT_EQ(last[1][0], "1100005");
  const RunResult r =
      runProgram({"write", out, "--from", dir.file("a.csv"), "--from", dir.file("b.csv"), "--row-group-heights", "5"});
  expectFailure(r, 1, "ORVANE:cli:RowGroupHeightsMismatch");
  EXPECT_NE(r.err.find("1100010 rows"), std::string::npos) << r.err;
}

TEST(WriteInputs, BadCsvIsAnIdentifiedErrorAndLeavesNoFile) {
  Scratch dir;
  const std::string out = dir.file("out.parquet");
  writeText(dir.file("empty.csv"), "");
  RunResult r = runProgram({"write", out, "--from", dir.file("empty.csv")});
  expectFailure(r, 1, "ORVANE:cli:EmptyInput");
  EXPECT_NE(r.err.find("empty.csv"), std::string::npos);

  writeText(dir.file("ragged.csv"), "a,b\n1,2\n3\n");
  r = runProgram({"write", out, "--from", dir.file("ragged.csv")});
  expectFailure(r, 1, "ORVANE:cli:InvalidCsv");
  EXPECT_NE(r.err.find("line 3"), std::string::npos) << r.err;

  // The type of a column comes from the first block; a later line that does
  // not fit is named with its column.
  {
    std::ofstream csv(dir.file("changes.csv"));
    csv << "a,b\n";
    for (int i = 0; i < 1000000; ++i) csv << i << ",x\n";
    csv << "abc,y\n";
  }
  r = runProgram({"write", out, "--from", dir.file("changes.csv")});
  expectFailure(r, 1, "ORVANE:cli:InvalidCsv");
  EXPECT_NE(r.err.find("line 1000002, column 'a'"), std::string::npos) << r.err;

  EXPECT_EQ(dir.entries(), (std::vector<std::string>{"changes.csv", "empty.csv", "ragged.csv"}));

  // A header alone: a file of those variables and no rows.
  writeText(dir.file("header.csv"), "a,b\n");
  ok({"write", out, "--from", dir.file("header.csv")});
  const ParquetInfo info(u(out));
  EXPECT_EQ(info.getNumRowGroups(), 0);
  EXPECT_EQ(info.getVariableNames(), (std::vector<orvane::ustring>{u("a"), u("b")}));
}

// Starts the program, waits until `started` says it is under way, sends
// SIGINT and expects exit 130 well within `bound`.
void expectStops(const std::vector<std::string>& args, const std::function<bool(const RunningProgram&)>& started) {
  RunningProgram program(args);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!started(program) && program.running() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ASSERT_TRUE(program.running()) << "the command ended before it could be interrupted";
  const auto sent = std::chrono::steady_clock::now();
  program.interrupt();
  const RunResult r = program.wait();
  // Generous: the figure itself is measured in the program benchmark.
  EXPECT_LT(std::chrono::steady_clock::now() - sent, std::chrono::seconds(5));
  EXPECT_EQ(r.status, 130) << r.err;
  EXPECT_EQ(r.err, "ORVANE:host:Interrupted: Operation interrupted by the user.\n");
}

TEST(WriteInputs, CtrlCStopsLongCommandsAndLeavesNoFile) {
  Scratch dir;
  writeRows(dir.file("big.csv"), 0, 3000000);
  const std::string big = dir.file("big.parquet");
  ok({"write", big, "--from", dir.file("big.csv"), "--row-group-length", "250000"});

  // A rewrite: stopped while it writes, nothing under the output's name.
  const auto before = dir.entries();
  expectStops({"write", dir.file("out.parquet"), "--from", big, "--compression", "gzip"},
              [&](const RunningProgram&) { return dir.entries().size() > before.size(); });
  EXPECT_EQ(dir.entries(), before);

  // An export: stopped once it has begun to print (its text is over a
  // hundred megabytes, so most of it is still to come). A fixed delay was
  // racy: the whole export can take less than a third of a second.
  expectStops({"read", big, "--format", "json"},
              [](const RunningProgram& program) { return program.outputBytes() > 0; });
}

}  // namespace
}  // namespace ovtest
