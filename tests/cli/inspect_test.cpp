// Inspection: info of one and several files, info --chunks, info --pages,
// schema, and the locations every command takes (globs, directories). The
// facts are compared with what pyarrow's metadata reports
// (pyarrow_metadata.json, written with the fixtures) and with the pages the
// fixture was written with.
#include "CliTest.hpp"

#include <ovparquet/core/info/ParquetInfo.hpp>

#include <fstream>
#include <set>

namespace ovtest {
namespace {

namespace info = orvane::io::parquet::core::info;

const json& pyarrowViews() {
  static const json views = [] {
    std::ifstream in(fixture("pyarrow_metadata.json"));
    return json::parse(in);
  }();
  return views;
}

const json& pyarrowView(const std::string& name) { return pyarrowViews().at(name); }

std::set<std::string> asSet(const json& list) {
  std::set<std::string> out;
  for (const auto& item : list) out.insert(item.get<std::string>());
  return out;
}

// ---- info: one file

TEST(InfoSummary, CreatedByAndKeyValueMetadataEqualPyarrow) {
  for (const char* name : {"pyarrow_pages.parquet", "duckdb_flat.parquet"}) {
    SCOPED_TRACE(name);
    const json& expected = pyarrowView(name);
    const json j = okJson({"info", fixture(name), "--format", "json"});
    EXPECT_EQ(j["createdBy"], expected["createdBy"]);
    EXPECT_EQ(j["keyValueMetadata"].size(), expected["keyValueMetadata"].size());
    for (const auto& [key, value] : expected["keyValueMetadata"].items()) EXPECT_EQ(j["keyValueMetadata"][key], value);
  }
}

TEST(InfoSummary, TableShowsTheWriterAndTheKeyValuePairs) {
  const RunResult r = ok({"info", fixture("pyarrow_pages.parquet")});
  EXPECT_NE(r.out.find("Created by  parquet-cpp-arrow version"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Key-value metadata"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("ovparquet tests"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("gr\u00fc\u00dfe"), std::string::npos) << r.out;
}

// ---- info: several files

TEST(InfoFiles, SeveralFilesGiveOneLineEachAndTotalsEqualPyarrow) {
  const std::vector<std::string> names = {"duckdb_flat.parquet", "pyarrow_nested.parquet", "pyarrow_pages.parquet"};
  std::vector<std::string> args = {"info", "--format", "json"};
  for (const auto& n : names) args.push_back(fixture(n));
  const json j = okJson(args);
  ASSERT_EQ(j["files"].size(), names.size());
  std::int64_t rows = 0, rowGroups = 0, bytes = 0;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const json& expected = pyarrowView(names[i]);
    const json& line = j["files"][i];
    EXPECT_EQ(line["filename"], fixture(names[i]));
    EXPECT_EQ(line["createdBy"], expected["createdBy"]);
    EXPECT_EQ(line["numRows"], expected["numRows"]);
    EXPECT_EQ(line["numRowGroups"], expected["numRowGroups"]);
    EXPECT_EQ(line["fileSize"], expected["fileSize"]);
    rows += expected["numRows"].get<std::int64_t>();
    rowGroups += expected["numRowGroups"].get<std::int64_t>();
    bytes += expected["fileSize"].get<std::int64_t>();
  }
  EXPECT_EQ(j["files"][1]["numVariables"], 5);  // pyarrow_nested: tags, point, attrs, when, größe
  EXPECT_EQ(j["totalRows"], rows);
  EXPECT_EQ(j["totalRowGroups"], rowGroups);
  EXPECT_EQ(j["totalBytes"], bytes);

  const RunResult table = ok({"info", fixture("duckdb_flat.parquet"), fixture("pyarrow_pages.parquet")});
  EXPECT_NE(table.out.find("251,000 rows, 5 row groups"), std::string::npos) << table.out;
  EXPECT_NE(table.out.find("in 2 files"), std::string::npos) << table.out;
  EXPECT_EQ(parseCsv(ok({"info", "--format", "csv", fixture("duckdb_flat.parquet"), fixture("pyarrow_pages.parquet")})
                         .out)
                .size(),
            3u);
}

TEST(InfoFiles, AFailingFileIsReportedOnItsOwnLineAndTheOthersAreShown) {
  Scratch dir;
  const std::string broken = dir.file("broken.parquet");
  std::ofstream(broken) << "not a parquet file";
  const RunResult r = runProgram({"info", fixture("pyarrow_pages.parquet"), broken, fixture("duckdb_flat.parquet")});
  expectFailure(r, 1, "ORVANE:parquetio:read:InternalInvalidRead");
  EXPECT_NE(r.err.find("broken.parquet"), std::string::npos) << r.err;
  EXPECT_NE(r.out.find("pyarrow_pages.parquet"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("duckdb_flat.parquet"), std::string::npos) << r.out;
  EXPECT_EQ(r.out.find("broken.parquet"), std::string::npos) << r.out;
}

// ---- info --chunks

TEST(InfoChunks, EveryColumnChunkEqualsPyarrowsMetadata) {
  for (const char* name : {"pyarrow_pages.parquet", "pyarrow_nested.parquet", "duckdb_flat.parquet"}) {
    SCOPED_TRACE(name);
    const json& expected = pyarrowView(name);
    const json j = okJson({"info", "--chunks", fixture(name), "--format", "json"});
    EXPECT_EQ(j["fileSize"], expected["fileSize"]);
    ASSERT_EQ(j["columnChunks"].size(), expected["chunks"].size());
    for (std::size_t i = 0; i < expected["chunks"].size(); ++i) {
      const json& want = expected["chunks"][i];
      const json& got = j["columnChunks"][i];
      SCOPED_TRACE(want.dump());
      for (const char* key : {"rowGroup", "column", "codec", "numValues", "compressedBytes", "uncompressedBytes",
                              "hasStatistics", "hasDictionaryPage", "hasColumnIndex", "hasOffsetIndex"}) {
        EXPECT_EQ(got[key], want[key]) << key;
      }
      EXPECT_EQ(asSet(got["encodings"]), asSet(want["encodings"]));
      EXPECT_EQ(got["hasBloomFilter"], false);  // none of these writers writes bloom filters
    }
  }
}

TEST(InfoChunks, SizesPerColumnSumTheChunks) {
  const json& expected = pyarrowView("pyarrow_pages.parquet");
  const json j = okJson({"info", "--chunks", fixture("pyarrow_pages.parquet"), "--format", "json"});
  ASSERT_EQ(j["columns"].size(), 2u);
  const double fileSize = expected["fileSize"].get<double>();
  for (const auto& column : j["columns"]) {
    std::int64_t compressed = 0, uncompressed = 0;
    for (const auto& chunk : expected["chunks"]) {
      if (chunk["column"] != column["column"]) continue;
      compressed += chunk["compressedBytes"].get<std::int64_t>();
      uncompressed += chunk["uncompressedBytes"].get<std::int64_t>();
    }
    EXPECT_EQ(column["compressedBytes"], compressed);
    EXPECT_EQ(column["uncompressedBytes"], uncompressed);
    EXPECT_DOUBLE_EQ(column["ratio"].get<double>(), static_cast<double>(uncompressed) / static_cast<double>(compressed));
    EXPECT_DOUBLE_EQ(column["shareOfFile"].get<double>(), static_cast<double>(compressed) / fileSize);
  }
  // The two codecs the fixture was written with.
  EXPECT_EQ(j["columnChunks"][0]["codec"], "zstd");
  EXPECT_EQ(j["columnChunks"][1]["codec"], "snappy");
}

TEST(InfoChunks, TableAndCsv) {
  const RunResult r = ok({"info", "--chunks", fixture("pyarrow_pages.parquet")});
  for (const char* text : {"Column chunks", "Codec", "Encodings", "Bloom filter", "Column index", "Sizes per column",
                           "Ratio", "Share of file", "zstd", "snappy"}) {
    EXPECT_NE(r.out.find(text), std::string::npos) << text << "\n" << r.out;
  }
  const auto records = parseCsv(ok({"info", "--chunks", fixture("pyarrow_nested.parquet"), "--format", "csv"}).out);
  ASSERT_EQ(records.size(), pyarrowView("pyarrow_nested.parquet")["chunks"].size() + 1);
  EXPECT_EQ(records[0][2], "column");
  EXPECT_EQ(records[1][2], "tags.list.element");
}

// ---- info --pages

// The fixture's pages: row groups of 600 and 400 rows, pages of 200 rows;
// id is the row number, s is "v" and the row number in four digits, missing
// in every 7th row.
TEST(InfoPages, TheDecodedPageIndexIsThePagesTheFileWasWrittenWith) {
  const json& expected = pyarrowView("pyarrow_pages.parquet");
  const json j = okJson({"info", "--pages", fixture("pyarrow_pages.parquet"), "--format", "json"});
  ASSERT_EQ(j["columnChunks"].size(), 4u);  // 2 row groups x 2 columns
  for (std::size_t k = 0; k < 4; ++k) {
    const json& chunk = j["columnChunks"][k];
    const json& meta = expected["chunks"][k];
    SCOPED_TRACE(chunk["column"].get<std::string>() + " in row group " + chunk["rowGroup"].dump());
    EXPECT_EQ(chunk["column"], meta["column"]);
    EXPECT_TRUE(chunk["hasOffsetIndex"].get<bool>());
    EXPECT_TRUE(chunk["hasColumnIndex"].get<bool>());
    EXPECT_EQ(chunk["boundaryOrder"], "ascending");
    const std::int64_t rowGroupStart = k < 2 ? 0 : 600;
    const std::size_t pageCount = k < 2 ? 3 : 2;
    ASSERT_EQ(chunk["pages"].size(), pageCount);
    std::int64_t offset = meta["dataPageOffset"].get<std::int64_t>();
    std::int64_t bytes = 0;
    for (std::size_t p = 0; p < pageCount; ++p) {
      const json& page = chunk["pages"][p];
      const std::int64_t first = static_cast<std::int64_t>(p) * 200;
      EXPECT_EQ(page["firstRow"], first);
      EXPECT_EQ(page["numRows"], 200);
      // Pages follow one another from the chunk's first data page.
      EXPECT_EQ(page["offset"], offset);
      offset += page["compressedBytes"].get<std::int64_t>();
      bytes += page["compressedBytes"].get<std::int64_t>();
      const std::int64_t lo = rowGroupStart + first;
      const std::int64_t hi = lo + 199;
      EXPECT_FALSE(page["nullPage"].get<bool>());
      if (chunk["column"] == "id") {
        EXPECT_EQ(page["nullCount"], 0);
        EXPECT_EQ(page["min"], std::to_string(lo));
        EXPECT_EQ(page["max"], std::to_string(hi));
      } else {
        std::int64_t nulls = 0;
        for (std::int64_t i = lo; i <= hi; ++i) nulls += i % 7 == 0;
        const std::int64_t min = lo % 7 == 0 ? lo + 1 : lo;
        const std::int64_t max = hi % 7 == 0 ? hi - 1 : hi;
        char text[32];
        EXPECT_EQ(page["nullCount"], nulls);
        std::snprintf(text, sizeof text, "v%04lld", static_cast<long long>(min));
        EXPECT_EQ(page["min"], text);
        std::snprintf(text, sizeof text, "v%04lld", static_cast<long long>(max));
        EXPECT_EQ(page["max"], text);
      }
    }
    // No dictionary page: the data pages are the whole chunk.
    EXPECT_EQ(bytes, meta["compressedBytes"].get<std::int64_t>());
  }
}

TEST(InfoPages, VarsChoosesTheColumns) {
  const json j = okJson({"info", "--pages", "--vars", "s", fixture("pyarrow_pages.parquet"), "--format", "json"});
  ASSERT_EQ(j["columnChunks"].size(), 2u);
  for (const auto& chunk : j["columnChunks"]) EXPECT_EQ(chunk["column"], "s");
  // A nested variable stands for its leaves.
  const json nested = okJson({"info", "--pages", "--vars", "point", fixture("pyarrow_nested.parquet"), "--format", "json"});
  ASSERT_EQ(nested["columnChunks"].size(), 6u);  // x and y in 3 row groups
  EXPECT_EQ(nested["columnChunks"][0]["column"], "point.x");
  EXPECT_EQ(nested["columnChunks"][1]["column"], "point.y");
}

TEST(InfoPages, TableAndCsv) {
  const RunResult r = ok({"info", "--pages", fixture("pyarrow_pages.parquet")});
  EXPECT_NE(r.out.find("Row group 2, column s (bounds ascending)"), std::string::npos) << r.out;
  for (const char* text : {"First row", "Offset", "Nulls", "Min", "Max", "v0600", "v0799"}) {
    EXPECT_NE(r.out.find(text), std::string::npos) << text;
  }
  const auto records = parseCsv(ok({"info", "--pages", fixture("pyarrow_pages.parquet"), "--format", "csv"}).out);
  ASSERT_EQ(records.size(), 11u);  // header and 10 pages
  EXPECT_EQ(records[0][4], "firstRow");
  EXPECT_EQ(records[1], (std::vector<std::string>{fixture("pyarrow_pages.parquet"), "1", "id", "1", "0", "200",
                                                  records[1][6], records[1][7], "false", "0", "0", "199"}));
}

TEST(InfoPages, AFileWithoutPageIndexSaysSo) {
  const RunResult r = ok({"info", "--pages", fixture("pyarrow_nested.parquet")});
  EXPECT_NE(r.out.find("No page index"), std::string::npos) << r.out;
  const json j = okJson({"info", "--pages", fixture("pyarrow_nested.parquet"), "--format", "json"});
  for (const auto& chunk : j["columnChunks"]) {
    EXPECT_FALSE(chunk["hasOffsetIndex"].get<bool>());
    EXPECT_TRUE(chunk["pages"].empty());
  }
}

TEST(InfoPages, BadOptions) {
  const RunResult unknown = runProgram({"info", "--pages", "--vars", "nope", fixture("pyarrow_pages.parquet")});
  expectFailure(unknown, 1, "ORVANE:cli:UnknownVariable");
  EXPECT_NE(unknown.err.find("'nope'"), std::string::npos);
  expectFailure(runProgram({"info", "--vars", "id", fixture("pyarrow_pages.parquet")}), 2, "ORVANE:cli:InvalidUsage");
  expectFailure(runProgram({"info", "--pages", "--chunks", fixture("pyarrow_pages.parquet")}), 2,
                "ORVANE:cli:InvalidUsage");
  expectFailure(runProgram({"info", "--pages", "--vars", "id,id", fixture("pyarrow_pages.parquet")}), 2,
                "ORVANE:cli:InvalidOption");
}

// ---- schema

void collectLeaves(const json& fields, std::vector<json>& leaves) {
  for (const auto& f : fields) {
    if (f.contains("fields")) {
      collectLeaves(f["fields"], leaves);
    } else {
      leaves.push_back(f);
    }
  }
}

TEST(Schema, LeavesEqualPyarrowAndVariablesCarryTheirHostType) {
  for (const char* name : {"pyarrow_nested.parquet", "duckdb_flat.parquet", "pyarrow_pages.parquet"}) {
    SCOPED_TRACE(name);
    const json& expected = pyarrowView(name);
    const json j = okJson({"schema", fixture(name), "--format", "json"});
    std::vector<json> leaves;
    collectLeaves(j["fields"], leaves);
    ASSERT_EQ(leaves.size(), expected["leaves"].size());
    for (std::size_t i = 0; i < leaves.size(); ++i) {
      const json& want = expected["leaves"][i];
      EXPECT_EQ(leaves[i]["path"], want["path"]);
      EXPECT_EQ(leaves[i]["physicalType"], want["physicalType"]);
      EXPECT_EQ(leaves[i]["logicalType"], want["logicalType"] == "None" ? json(nullptr) : want["logicalType"]);
      EXPECT_EQ(leaves[i]["convertedType"], want["convertedType"] == "NONE" ? json(nullptr) : want["convertedType"]);
    }
    const info::ParquetInfo library(u(fixture(name)));
    ASSERT_EQ(j["fields"].size(), library.getVariableTypes().size());
    for (std::size_t v = 0; v < j["fields"].size(); ++v) {
      EXPECT_EQ(j["fields"][v]["hostType"], library.getVariableTypes()[v]);
    }
  }
}

TEST(Schema, NestedFieldsAreIndentedWithTheirRepetition) {
  const json j = okJson({"schema", fixture("pyarrow_nested.parquet"), "--format", "json"});
  const json& tags = j["fields"][0];
  EXPECT_EQ(tags["name"], "tags");
  EXPECT_EQ(tags["repetition"], "optional");
  EXPECT_EQ(tags["logicalType"], "List");
  EXPECT_EQ(tags["fields"][0]["repetition"], "repeated");
  EXPECT_EQ(tags["fields"][0]["fields"][0]["path"], "tags.list.element");

  const RunResult r = ok({"schema", fixture("pyarrow_nested.parquet")});
  EXPECT_NE(r.out.find("\u2514\u2500 list"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("   \u2514\u2500 element"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\u251c\u2500 x"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("BYTE_ARRAY"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("struct"), std::string::npos) << r.out;  // host type of point

  const auto records = parseCsv(ok({"schema", fixture("pyarrow_nested.parquet"), "--format", "csv"}).out);
  ASSERT_EQ(records.size(), 13u);  // header and 12 fields
  EXPECT_EQ(records[3][1], "tags.list.element");
  EXPECT_EQ(records[3][2], "2");
}

TEST(Schema, SeveralFilesOneAfterAnother) {
  const RunResult r = ok({"schema", fixture("duckdb_flat.parquet"), fixture("pyarrow_pages.parquet")});
  EXPECT_NE(r.out.find("== " + fixture("duckdb_flat.parquet") + " =="), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("== " + fixture("pyarrow_pages.parquet") + " =="), std::string::npos) << r.out;
  const json j = okJson({"schema", "--format", "json", fixture("duckdb_flat.parquet"), fixture("pyarrow_pages.parquet")});
  ASSERT_TRUE(j.is_array());
  EXPECT_EQ(j.size(), 2u);
}

// ---- locations

TEST(Locations, GlobPatternsAndDirectoriesGiveEachFileOnceInOrder) {
  Scratch dir;
  std::filesystem::create_directories(dir.path() / "sub");
  for (const char* name : {"b.parquet", "a.parquet", "sub/c.parquet"}) {
    std::filesystem::copy_file(fixture("pyarrow_pages.parquet"), dir.path() / name);
  }
  std::ofstream(dir.file("notes.txt")) << "not parquet";
  const json j = okJson({"count", "--format", "json", dir.file("*.parquet"), dir.path().string(), dir.file("s?b")});
  ASSERT_EQ(j["files"].size(), 3u);
  EXPECT_EQ(j["files"][0]["filename"], dir.file("a.parquet"));
  EXPECT_EQ(j["files"][1]["filename"], dir.file("b.parquet"));
  EXPECT_EQ(j["files"][2]["filename"], dir.file("sub/c.parquet"));
  EXPECT_EQ(j["totalRows"], 3000);
  EXPECT_EQ(j["totalBytes"], 3 * pyarrowView("pyarrow_pages.parquet")["fileSize"].get<std::int64_t>());
}

TEST(Locations, SplitsTakePatternsToo) {
  Scratch dir;
  for (const char* name : {"b.parquet", "a.parquet", "c.txt"}) {
    std::filesystem::copy_file(fixture("pyarrow_pages.parquet"), dir.path() / name);
  }
  const auto records = parseCsv(ok({"splits", dir.file("[ab].parquet"), "--format", "csv"}).out);
  ASSERT_EQ(records.size(), 3u);  // header and one split per small file
  EXPECT_EQ(records[1][0], dir.file("a.parquet"));
  EXPECT_EQ(records[2][0], dir.file("b.parquet"));
  expectFailure(runProgram({"splits", dir.file("*.csv")}), 1, "ORVANE:cli:NoMatchingFiles");
}

TEST(Locations, APatternThatMatchesNothingIsAnError) {
  Scratch dir;
  for (const char* command : {"count", "info", "schema"}) {
    SCOPED_TRACE(command);
    const RunResult r = runProgram({command, dir.file("*.parquet")});
    expectFailure(r, 1, "ORVANE:cli:NoMatchingFiles");
    EXPECT_NE(r.err.find(dir.file("*.parquet")), std::string::npos) << r.err;
    EXPECT_TRUE(r.out.empty()) << r.out;
  }
}

TEST(Locations, ADirectoryWithoutParquetFilesIsAnError) {
  Scratch dir;
  std::ofstream(dir.file("notes.txt")) << "not parquet";
  for (const char* command : {"count", "info", "schema"}) {
    SCOPED_TRACE(command);
    expectFailure(runProgram({command, dir.path().string()}), 1, "ORVANE:parquetio:read:NoParquetFiles");
  }
}

// ---- read and stats of several files

// Two copies of the pages fixture (1000 rows each) and a file of other variables.
struct TwoCopies {
  Scratch dir;
  TwoCopies() {
    for (const char* name : {"a.parquet", "b.parquet"}) {
      std::filesystem::copy_file(fixture("pyarrow_pages.parquet"), dir.path() / name);
    }
  }
};

TEST(ManyFiles, ReadPrintsTheRowsOfOneFileAfterTheOther) {
  TwoCopies two;
  const auto all = parseCsv(ok({"read", two.dir.path().string(), "--format", "csv"}).out);
  ASSERT_EQ(all.size(), 2001u);
  EXPECT_EQ(all[1000][0], "999");
  EXPECT_EQ(all[1001][0], "0");
  // --offset and --head count across the files.
  const auto across = parseCsv(ok({"read", two.dir.file("*.parquet"), "--offset", "998", "--head", "4", "--format",
                                   "csv", "--vars", "id"})
                                   .out);
  EXPECT_EQ(across, (std::vector<std::vector<std::string>>{{"id"}, {"998"}, {"999"}, {"0"}, {"1"}}));
  const RunResult filtered = ok({"read", two.dir.path().string(), "--where", "id > 998", "--format", "ndjson"});
  EXPECT_EQ(filtered.out, "{\"id\":999,\"s\":\"v0999\"}\n{\"id\":999,\"s\":\"v0999\"}\n");
  // The table view counts the rows of both files it does not show.
  EXPECT_NE(ok({"read", two.dir.path().string()}).out.find("1980 more rows"), std::string::npos);
}

TEST(ManyFiles, AFileWithOtherVariablesIsAnErrorNamingIt) {
  TwoCopies two;
  std::filesystem::copy_file(fixture("duckdb_flat.parquet"), two.dir.path() / "c.parquet");
  const RunResult r = runProgram({"read", two.dir.path().string(), "--format", "csv"});
  expectFailure(r, 1, "ORVANE:cli:DifferentVariables");
  EXPECT_NE(r.err.find(two.dir.file("c.parquet")), std::string::npos) << r.err;
  EXPECT_NE(r.err.find(two.dir.file("a.parquet")), std::string::npos) << r.err;
}

TEST(ManyFiles, ARangeIsOfOneFile) {
  TwoCopies two;
  expectFailure(runProgram({"read", two.dir.path().string(), "--range", "0:100"}), 2, "ORVANE:cli:InvalidOption");
}

TEST(ManyFiles, StatsArePerFile) {
  TwoCopies two;
  const json j = okJson({"stats", two.dir.path().string(), "--vars", "id", "--format", "json"});
  ASSERT_TRUE(j.is_array());
  ASSERT_EQ(j.size(), 2u);
  EXPECT_EQ(j[0]["filename"], two.dir.file("a.parquet"));
  EXPECT_EQ(j[1]["filename"], two.dir.file("b.parquet"));
  const RunResult table = ok({"stats", two.dir.path().string(), "--vars", "id"});
  EXPECT_NE(table.out.find("== " + two.dir.file("b.parquet") + " =="), std::string::npos) << table.out;
  // One file alone keeps its single object.
  EXPECT_TRUE(okJson({"stats", two.dir.file("a.parquet"), "--format", "json"}).is_object());
}

}  // namespace
}  // namespace ovtest
