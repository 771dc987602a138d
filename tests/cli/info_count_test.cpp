// info and count: every output format, on peers' files and on a file the
// program wrote itself; json equals what the library returns.
#include "CliTest.hpp"

#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/core/info/TypeDescriptions.hpp>

namespace ovtest {
namespace {

namespace info = orvane::io::parquet::core::info;

std::vector<std::string> utf8(const std::vector<orvane::ustring>& texts) {
  std::vector<std::string> out;
  for (const auto& t : texts) out.push_back(ovtest::utf8(t));
  return out;
}

void expectInfoJsonEqualsLibrary(const std::string& path, const json& j) {
  const info::ParquetInfo expected(u(path));
  EXPECT_EQ(j.at("filename").get<std::string>(), ovtest::utf8(expected.getFilename()));
  EXPECT_EQ(j.at("fileSize").get<std::int64_t>(), expected.getFileSize());
  EXPECT_EQ(j.at("numRowGroups").get<int>(), expected.getNumRowGroups());
  EXPECT_EQ(j.at("rowGroupHeights").get<std::vector<std::int64_t>>(), expected.getRowGroupHeights());
  EXPECT_EQ(j.at("rowGroupOffsets").get<std::vector<std::int64_t>>(), expected.getRowGroupOffsets());
  EXPECT_EQ(j.at("variableNames").get<std::vector<std::string>>(), utf8(expected.getVariableNames()));
  EXPECT_EQ(j.at("variableTypes").get<std::vector<std::string>>(), expected.getVariableTypes());
  EXPECT_EQ(j.at("variableCompression").get<std::vector<std::string>>(), expected.getVariableCompression());
  EXPECT_EQ(j.at("variableEncoding").get<std::vector<std::string>>(), expected.getVariableEncoding());
  EXPECT_EQ(j.at("version").get<std::string>(), expected.getVersion());
  EXPECT_EQ(j.at("parquetPhysicalTypes").get<std::vector<std::string>>(), expected.getParquetPhysicalTypes());
  EXPECT_EQ(j.at("parquetConvertedTypes").get<std::vector<std::string>>(), expected.getParquetConvertedTypes());
  EXPECT_EQ(j.at("parquetLogicalTypes").get<std::vector<std::string>>(), expected.getParquetLogicalTypes());
  EXPECT_EQ(j.at("arrowTypes").get<std::vector<std::string>>(), expected.getArrowTypes());
  EXPECT_EQ(j.at("typeDescriptions").get<std::vector<std::string>>(),
            utf8(info::parquet_types(expected.getArrowSchema())));
}

TEST(Info, JsonEqualsTheLibraryOnPeerFiles) {
  for (const char* name : {"pyarrow_nested.parquet", "pyarrow_sorted.parquet", "duckdb_flat.parquet",
                           "pyarrow_empty.parquet"}) {
    SCOPED_TRACE(name);
    const std::string path = fixture(name);
    expectInfoJsonEqualsLibrary(path, okJson({"info", path, "--format", "json"}));
  }
}

TEST(Info, JsonEqualsTheLibraryOnOurOwnFile) {
  Scratch dir;
  const std::string out = dir.file("own.parquet");
  ok({"write", out, "--from", fixture("pyarrow_nested.parquet"), "--row-group-length", "100", "--compression",
      "zstd,tags=gzip"});
  // Global options may come before the command too.
  const json j = okJson({"--format", "json", "info", out});
  expectInfoJsonEqualsLibrary(out, j);
  EXPECT_EQ(j["numRowGroups"], 3);
  EXPECT_EQ(j["variableCompression"][0], "gzip");  // tags
  EXPECT_EQ(j["variableCompression"][3], "zstd");  // when
}

TEST(Info, TableShowsSummaryVariablesAndRowGroupBars) {
  const std::string path = fixture("duckdb_flat.parquet");
  const RunResult r = ok({"info", path});
  EXPECT_NE(r.out.find("File        " + path), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Rows        250,000"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Row groups  3"), std::string::npos) << r.out;
  for (const char* column : {"Name", "Type", "Description", "Physical", "Compression", "Encoding"}) {
    EXPECT_NE(r.out.find(column), std::string::npos) << column;
  }
  for (const char* variable : {"id", "value", "label", "maybe"}) EXPECT_NE(r.out.find(variable), std::string::npos);
  EXPECT_NE(r.out.find("\u2588"), std::string::npos) << "no bars: " << r.out;
  EXPECT_TRUE(r.err.empty()) << r.err;
}

TEST(Info, CsvHasOneRecordPerVariable) {
  const std::string path = fixture("pyarrow_nested.parquet");
  const auto records = parseCsv(ok({"info", path, "--format", "csv"}).out);
  const info::ParquetInfo expected(u(path));
  ASSERT_EQ(records.size(), expected.getVariableNames().size() + 1);
  EXPECT_EQ(records[0][0], "name");
  const auto descriptions = info::parquet_types(expected.getArrowSchema());
  for (std::size_t i = 0; i < expected.getVariableNames().size(); ++i) {
    EXPECT_EQ(records[i + 1][0], ovtest::utf8(expected.getVariableNames()[i]));
    EXPECT_EQ(records[i + 1][1], expected.getVariableTypes()[i]);
    EXPECT_EQ(records[i + 1][2], ovtest::utf8(descriptions[i]));
  }
}

// A directory of copies of the peers' files, some in a subdirectory.
struct CountTree {
  Scratch dir;
  std::vector<std::string> files;  // sorted, as the program lists them
  CountTree() {
    std::filesystem::create_directories(dir.path() / "b");
    const std::vector<std::pair<std::string, std::string>> copies = {
        {"pyarrow_sorted.parquet", "a1.parquet"}, {"duckdb_flat.parquet", "a2.parquet"},
        {"pyarrow_nested.parquet", "b/c.parquet"}, {"pyarrow_empty.parquet", "b/d.parquet"}};
    for (const auto& [from, to] : copies) {
      std::filesystem::copy_file(fixture(from), dir.path() / to);
      files.push_back(dir.file(to));
    }
    // Not Parquet by name: left out.
    std::filesystem::copy_file(fixture("duckdb_flat.parquet"), dir.path() / "b" / "notes.txt");
  }
};

TEST(Count, DirectoriesExpandAndCountsEqualTheLibrary) {
  CountTree tree;
  std::vector<orvane::ustring> names;
  for (const auto& f : tree.files) names.push_back(u(f));
  const auto expected = info::getNumRowGroupsSync(names);
  for (const char* mode : {"parallel", "sequential"}) {
    SCOPED_TRACE(mode);
    std::vector<std::string> args = {"count", tree.dir.path().string(), "--format", "json"};
    if (std::string(mode) == "sequential") args.push_back("--sequential");
    const json j = okJson(args);
    ASSERT_EQ(j["files"].size(), tree.files.size());
    std::int64_t total = 0;
    for (std::size_t i = 0; i < tree.files.size(); ++i) {
      EXPECT_EQ(j["files"][i]["filename"], tree.files[i]);
      EXPECT_EQ(j["files"][i]["numRowGroups"].get<std::int64_t>(), expected[i]);
      total += expected[i];
    }
    EXPECT_EQ(j["totalRowGroups"].get<std::int64_t>(), total);
  }
}

TEST(Count, ManyFilesInParallelEqualSequential) {
  Scratch dir;
  for (int i = 0; i < 250; ++i) {
    std::filesystem::copy_file(fixture(i % 2 ? "pyarrow_nested.parquet" : "duckdb_flat.parquet"),
                               dir.path() / ("f" + std::to_string(1000 + i) + ".parquet"));
  }
  const RunResult parallel = ok({"count", dir.path().string(), "--format", "csv"});
  const RunResult sequential = ok({"count", dir.path().string(), "--format", "csv", "--sequential"});
  EXPECT_EQ(parallel.out, sequential.out);
  const auto records = parseCsv(parallel.out);
  ASSERT_EQ(records.size(), 251u);
  EXPECT_EQ(records[0], (std::vector<std::string>{"filename", "numRowGroups", "numRows", "fileSize"}));
  EXPECT_EQ(records[1][1], "3");  // duckdb_flat
  EXPECT_EQ(records[2][1], "3");  // pyarrow_nested: 300 rows in groups of 128
  // Standard error is not a terminal here: no progress bar.
  EXPECT_TRUE(parallel.err.empty()) << parallel.err;
}

TEST(Count, TableListsFilesAndTheTotal) {
  const RunResult r = ok({"--threads", "1", "count", fixture("duckdb_flat.parquet"), fixture("pyarrow_sorted.parquet")});
  EXPECT_NE(r.out.find("duckdb_flat.parquet"), std::string::npos);
  EXPECT_NE(r.out.find("103 row groups in 2 files"), std::string::npos) << r.out;
}

TEST(Count, AMissingFileIsReportedAndTheOthersAreStillCounted) {
  const RunResult r = runProgram({"count", fixture("duckdb_flat.parquet"), "/nonexistent/x.parquet", "--format", "json"});
  expectFailure(r, 1, "ORVANE:host:FileNotFound");
  EXPECT_EQ(r.err, "ORVANE:host:FileNotFound: Unable to open '/nonexistent/x.parquet': no such file or directory.\n");
  const json j = json::parse(r.out);
  ASSERT_EQ(j["files"].size(), 1u);
  EXPECT_EQ(j["files"][0]["filename"], fixture("duckdb_flat.parquet"));
  EXPECT_EQ(j["totalRows"], 250000);
}

TEST(Count, ADirectoryWithoutParquetFilesIsAnError) {
  Scratch dir;
  expectFailure(runProgram({"count", dir.path().string()}), 1, "ORVANE:parquetio:read:NoParquetFiles");
}

}  // namespace
}  // namespace ovtest
