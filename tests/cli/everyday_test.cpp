// Everyday jobs: exact decimal texts of every scale, Parquet on standard
// input, "**" in glob patterns, --where on fields of records, the encodings
// write chooses when not told, and page bounds shown as values.
#include "CliTest.hpp"

#include <sys/wait.h>

#include <fstream>
#include <map>
#include <iterator>

namespace ovtest {
namespace {

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Runs a shell command line with TMPDIR set; the exit status, standard
// output and standard error.
RunResult shell(const std::string& command, const Scratch& dir, const std::string& tmp) {
  const std::string out = dir.file("shell.out");
  const std::string err = dir.file("shell.err");
  const int status =
      std::system(("TMPDIR='" + tmp + "' " + command + " > '" + out + "' 2> '" + err + "'").c_str());
  RunResult r;
  r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  r.out = slurp(out);
  r.err = slurp(err);
  return r;
}

std::string quoted(const std::string& path) { return "'" + path + "'"; }

bool emptyDirectory(const std::string& path) {
  return std::filesystem::is_empty(path);
}

TEST(Everyday, DecimalsOfEveryScaleAsArrowWritesThem) {
  const std::string path = fixture("pyarrow_decimals.parquet");
  const auto expected = parseCsv(slurp(fixture("pyarrow_decimals_expected.csv")));
  ASSERT_EQ(expected.size(), 401u);
  EXPECT_EQ(parseCsv(ok({"read", path, "--format", "csv"}).out), expected);

  // JSON: the same digits as numbers (an exponent form without the lone
  // point JSON forbids), null where missing.
  const json records = okJson({"read", path, "--format", "json"});
  ASSERT_EQ(records.size(), 400u);
  for (std::size_t i = 0; i < 400; ++i) {
    for (std::size_t c = 0; c < expected[0].size(); ++c) {
      const json& value = records[i][expected[0][c]];
      const std::string& text = expected[i + 1][c];
      if (text.empty()) {
        EXPECT_TRUE(value.is_null()) << i << " " << c;
        continue;
      }
      std::string number = text;
      const auto point = number.find(".E");
      if (point != std::string::npos) number.erase(point, 1);
      EXPECT_EQ(value.dump(), json::parse(number).dump()) << i << " " << c << " " << text;
    }
  }
  // The table view shows the same texts.
  const std::string table = ok({"read", path, "--vars", "d4", "--head", "3"}).out;
  EXPECT_NE(table.find(expected[3][4]), std::string::npos) << table;
}

TEST(Everyday, ParquetOnStandardInputIsReadFromACopyThatIsRemoved) {
  Scratch dir;
  const std::string tmp = dir.file("tmp");
  std::filesystem::create_directory(tmp);
  const std::string program = quoted(programPath());
  const std::string source = fixture("pyarrow_sorted.parquet");

  // read -: the rows of the file, as when named.
  const RunResult read = shell(program + " read - --vars id,name --format csv --head 5 < " + quoted(source), dir, tmp);
  EXPECT_EQ(read.status, 0) << read.err;
  EXPECT_EQ(read.out, ok({"read", source, "--vars", "id,name", "--format", "csv", "--head", "5"}).out);
  EXPECT_TRUE(emptyDirectory(tmp));

  // write --from -: Parquet told by its first bytes, or by --input-format.
  const std::string out = dir.file("out.parquet");
  for (const std::string extra : {"", " --input-format parquet"}) {
    SCOPED_TRACE(extra);
    const RunResult write = shell(program + " write " + quoted(out) + " --from -" + extra + " < " + quoted(source), dir, tmp);
    EXPECT_EQ(write.status, 0) << write.err;
    EXPECT_EQ(ok({"read", out, "--format", "csv"}).out, ok({"read", source, "--format", "csv"}).out);
    EXPECT_EQ(okJson({"count", out, "--format", "json"})["totalRowGroups"], 100);
    EXPECT_TRUE(emptyDirectory(tmp));
  }

  // CSV on standard input is still CSV.
  std::ofstream(dir.file("in.csv")) << "a,b\n1,x\n";
  const RunResult csv = shell(program + " write " + quoted(out) + " --from - < " + quoted(dir.file("in.csv")), dir, tmp);
  EXPECT_EQ(csv.status, 0) << csv.err;
  EXPECT_EQ(ok({"read", out, "--format", "csv"}).out, "a,b\n1,x\n");
}

TEST(Everyday, StandardInputThatIsNotParquetIsRefused) {
  Scratch dir;
  const std::string tmp = dir.file("tmp");
  std::filesystem::create_directory(tmp);
  const std::string program = quoted(programPath());
  std::ofstream(dir.file("in.csv")) << "a,b\n1,x\n";
  const std::string in = " < " + quoted(dir.file("in.csv"));

  RunResult r = shell(program + " read -" + in, dir, tmp);
  expectFailure(r, 1, "ORVANE:cli:NotParquet");
  r = shell(program + " write " + quoted(dir.file("out.parquet")) + " --from - --input-format parquet" + in, dir, tmp);
  expectFailure(r, 1, "ORVANE:cli:NotParquet");
  // Nothing (empty standard input) is not Parquet either.
  expectFailure(runProgram({"read", "-"}), 1, "ORVANE:cli:NotParquet");
  // Standard input once only.
  expectFailure(runProgram({"read", "-", "-"}), 2, "ORVANE:cli:InvalidOption");
  // A temporary directory that cannot be written: an identified error.
  r = shell(program + " read -" + " < " + quoted(fixture("pyarrow_sorted.parquet")), dir, dir.file("missing"));
  expectFailure(r, 1, "ORVANE:cli:CannotSpool");
  EXPECT_TRUE(emptyDirectory(tmp));
  EXPECT_FALSE(std::filesystem::exists(dir.file("out.parquet")));
}

TEST(Everyday, TwoStarsInAGlobMatchAnyNumberOfLevels) {
  Scratch dir;
  const std::string source = fixture("pyarrow_nested.parquet");
  for (const std::string sub : {"", "a/", "a/b/", "a/b/c/", ".hidden/"}) {
    std::filesystem::create_directories(dir.file(sub.empty() ? "." : sub));
    std::filesystem::copy_file(source, dir.file(sub + "f.parquet"));
  }
  std::ofstream(dir.file("a/notes.txt")) << "not parquet";
  const auto files = [&](const std::string& pattern) {
    std::vector<std::string> names;
    const json counted = okJson({"count", pattern, "--format", "json"});
    for (const auto& file : counted["files"]) {
      names.push_back(std::filesystem::path(file["filename"].get<std::string>()).lexically_relative(dir.path()).string());
    }
    return names;
  };
  EXPECT_EQ(files(dir.file("**/*.parquet")),
            (std::vector<std::string>{"a/b/c/f.parquet", "a/b/f.parquet", "a/f.parquet", "f.parquet"}));
  EXPECT_EQ(files(dir.file("a/**/f.parquet")), (std::vector<std::string>{"a/b/c/f.parquet", "a/b/f.parquet", "a/f.parquet"}));
  EXPECT_EQ(files(dir.file("a/**/c/*.parquet")), (std::vector<std::string>{"a/b/c/f.parquet"}));
  EXPECT_EQ(files(dir.file("**/b/**/*.parquet")), (std::vector<std::string>{"a/b/c/f.parquet", "a/b/f.parquet"}));
  expectFailure(runProgram({"count", dir.file("**/*.csv")}), 1, "ORVANE:cli:NoMatchingFiles");
  expectFailure(runProgram({"count", dir.file("missing/**/*.parquet")}), 1, "ORVANE:cli:NoMatchingFiles");
}

TEST(Everyday, WhereOnAFieldOfARecord) {
  const std::string path = fixture("pyarrow_nested.parquet");
  // Field x of point is i for row i.
  const auto rows = parseCsv(ok({"read", path, "--vars", "größe", "--where", "point.x >= 297 or point.y < 1",
                                 "--format", "csv"}).out);
  EXPECT_EQ(rows, (std::vector<std::vector<std::string>>{{"größe"}, {"0"}, {"0.5"}, {"148.5"}, {"149"}, {"149.5"}}));
  // With the field among the output, and with the record itself.
  EXPECT_EQ(parseCsv(ok({"read", path, "--vars", "point.x,point.y", "--where", "point.x in (3, 5)", "--format",
                         "csv"}).out),
            (std::vector<std::vector<std::string>>{{"point.x", "point.y"}, {"3", "1.5"}, {"5", "2.5"}}));
  const json j = okJson({"read", path, "--vars", "point", "--where", "not point.y > 0.5", "--format", "json"});
  EXPECT_EQ(j, json::parse(R"([{"point": {"x": 0, "y": 0.0}}, {"point": {"x": 1, "y": 0.5}}])"));
  // A field has no statistics: every row group is read, and -v says why.
  const RunResult v = ok({"read", path, "--vars", "größe", "--where", "point.x = 3", "-v"});
  EXPECT_EQ(skipped(v.err), std::make_pair(0, 3)) << v.err;
  EXPECT_NE(v.err.find("'point.x' (a field of a record)"), std::string::npos) << v.err;
  // A field of a missing record is missing.
  const auto missing = parseCsv(ok({"read", fixture("pyarrow_records.parquet"), "--vars", "one", "--where",
                                    "rec.a is missing", "--format", "csv"}).out);
  EXPECT_EQ(missing.size(), 3u);
}

TEST(Everyday, WhereOnAFieldErrors) {
  const std::string path = fixture("pyarrow_nested.parquet");
  expectFailure(runProgram({"read", path, "--where", "point.z > 1"}), 1, "ORVANE:cli:UnknownVariable");
  expectFailure(runProgram({"read", path, "--where", "point.x > 'abc'"}), 1, "ORVANE:cli:WhereTypeMismatch");
  // A record cannot be compared, nor a field that is a list; both may be
  // tested with 'is missing'.
  expectFailure(runProgram({"read", path, "--where", "point > 1"}), 1, "ORVANE:parquetio:read:UnsupportedRowFilterVariable");
  const std::string lists = fixture("pyarrow_record_list.parquet");
  const RunResult r = runProgram({"read", lists, "--where", "holder.tags = 'a'"});
  expectFailure(r, 1, "ORVANE:cli:UnsupportedWhereVariable");
  EXPECT_NE(r.err.find("holder.tags"), std::string::npos) << r.err;
  EXPECT_EQ(parseCsv(ok({"read", lists, "--vars", "holder.n", "--where", "not holder.tags is missing and holder.n > 1",
                         "--format", "csv"}).out),
            (std::vector<std::vector<std::string>>{{"holder.n"}, {"2"}}));
}

TEST(Everyday, WriteDictionaryEncodesOnlyValuesThatRepeat) {
  Scratch dir;
  const std::string csv = dir.file("in.csv");
  {
    std::ofstream out(csv);
    out << "key,code,word,price,unique_word\n";
    for (int i = 0; i < 20000; ++i) {
      out << i << ',' << i % 7 << ",w" << i % 13 << ',' << (i % 50) * 0.25 << ",u" << i << '\n';
    }
  }
  const std::string out = dir.file("out.parquet");
  ok({"write", out, "--from", csv});
  const auto encodingsOf = [&](const std::string& file) {
    std::map<std::string, bool> dictionary;
    const json info = okJson({"info", file, "--chunks", "--format", "json"});
    for (const auto& chunk : info["columnChunks"]) {
      dictionary[chunk["column"].get<std::string>()] = chunk["hasDictionaryPage"].get<bool>();
    }
    return dictionary;
  };
  EXPECT_EQ(encodingsOf(out), (std::map<std::string, bool>{
                                  {"key", false}, {"code", true}, {"word", true}, {"price", true}, {"unique_word", false}}));
  // Told: as told, for all or some variables.
  ok({"write", out, "--from", csv, "--encoding", "dictionary"});
  for (const auto& [column, dictionary] : encodingsOf(out)) EXPECT_TRUE(dictionary) << column;
  ok({"write", out, "--from", csv, "--encoding", "code=plain,key=dictionary"});
  EXPECT_EQ(encodingsOf(out), (std::map<std::string, bool>{
                                  {"key", true}, {"code", false}, {"word", true}, {"price", true}, {"unique_word", false}}));
  // Whatever the encodings, the values read back equal.
  EXPECT_EQ(ok({"read", out, "--format", "csv"}).out, slurp(csv));
}

TEST(Everyday, PageBoundsReadAsTheColumnsValues) {
  const std::string path = fixture("pyarrow_page_types.parquet");
  const json j = okJson({"info", path, "--pages", "--format", "json"});
  std::map<std::string, std::pair<std::string, std::string>> bounds;
  for (const auto& chunk : j["columnChunks"]) {
    ASSERT_EQ(chunk["pages"].size(), 1u) << chunk.dump();
    const auto& page = chunk["pages"][0];
    bounds[chunk["column"].get<std::string>()] = {page["min"].get<std::string>(), page["max"].get<std::string>()};
  }
  using Bounds = std::pair<std::string, std::string>;
  EXPECT_EQ(bounds["day"], Bounds("2023-12-31", "2024-01-02"));
  EXPECT_EQ(bounds["at"], Bounds("2024-01-01T00:00:00.000000Z", "2024-01-02T03:04:05.000000Z"));
  EXPECT_EQ(bounds["naive"], Bounds("2024-01-01T00:00:00.000", "2024-01-02T03:04:05.250"));
  EXPECT_EQ(bounds["clock"], Bounds("00:00:00.000000", "01:02:03.000000"));
  EXPECT_EQ(bounds["price"], Bounds("-12.50", "3.25"));
  EXPECT_EQ(bounds["big"], Bounds("1", "9223372036854775813"));
  EXPECT_EQ(bounds["blob"], Bounds("0x00ff", "0x01"));
  EXPECT_EQ(bounds["name"], Bounds("a", "b"));
  // The table view shows the same.
  const std::string table = ok({"info", path, "--pages", "--vars", "day,price"}).out;
  EXPECT_NE(table.find("2023-12-31"), std::string::npos) << table;
  EXPECT_NE(table.find("-12.50"), std::string::npos) << table;
}

}  // namespace
}  // namespace ovtest
