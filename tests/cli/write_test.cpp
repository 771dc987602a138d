// write: from CSV and from Parquet, every option, nothing left behind on
// failure or interrupt.
#include "CliTest.hpp"

#include <ovparquet/core/info/ParquetInfo.hpp>

#include <arrow/util/compression.h>
#include <arrow/util/key_value_metadata.h>
#include <parquet/metadata.h>
#include <parquet/schema.h>

#include <chrono>
#include <fstream>
#include <map>
#include <thread>

namespace ovtest {
namespace {

using orvane::io::parquet::core::info::ParquetInfo;

void writeText(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

// Codec and whether dictionary pages are used, per leaf column path, from
// the first row group.
std::map<std::string, std::pair<std::string, bool>> leafSettings(const std::string& path) {
  const ParquetInfo info(u(path));
  const auto metadata = info.getMetadata();
  std::map<std::string, std::pair<std::string, bool>> out;
  const auto rowGroup = metadata->RowGroup(0);
  for (int c = 0; c < rowGroup->num_columns(); ++c) {
    const auto chunk = rowGroup->ColumnChunk(c);
    out[chunk->path_in_schema()->ToDotString()] = {
        ::arrow::util::Codec::GetCodecAsString(chunk->compression()), chunk->has_dictionary_page()};
  }
  return out;
}

const char* kCsv =
    "id,name,score,when,day,ok\n"
    "1,alpha,1.5,2024-01-02T03:04:05Z,2024-01-02,true\n"
    "2,\"with, comma\",,2024-01-03T00:00:00Z,2024-01-03,false\n"
    "3,\"\",2.25,,2024-01-04,\n"
    "4,,NaN,2024-01-05T00:00:00Z,,true\n"
    "5,NA,-3,2024-01-06T00:00:00Z,2024-01-06,false\n";

TEST(Write, FromCsvWithMissingValues) {
  Scratch dir;
  const std::string csv = dir.file("in.csv");
  writeText(csv, kCsv);
  const std::string out = dir.file("out.parquet");
  const RunResult r = ok({"write", out, "--from", csv, "--row-group-length", "2"});
  EXPECT_EQ(r.out, "Wrote 5 rows in 3 row groups to " + out + "\n");
  EXPECT_EQ(dir.entries(), (std::vector<std::string>{"in.csv", "out.parquet"}));

  const ParquetInfo info(u(out));
  EXPECT_EQ(info.getRowGroupHeights(), (std::vector<std::int64_t>{2, 2, 1}));
  EXPECT_EQ(info.getVariableTypes(),
            (std::vector<std::string>{"int64", "string", "double", "datetime", "datetime", "logical"}));

  const json j = okJson({"read", out, "--format", "json"});
  ASSERT_EQ(j.size(), 5u);
  EXPECT_EQ(j[1]["name"], "with, comma");
  EXPECT_TRUE(j[1]["score"].is_null());
  EXPECT_EQ(j[2]["name"], "");  // a quoted empty text is a text
  EXPECT_TRUE(j[2]["when"].is_null());
  EXPECT_TRUE(j[2]["ok"].is_null());
  EXPECT_TRUE(j[3]["name"].is_null());  // an empty field is missing
  EXPECT_TRUE(j[3]["score"].is_null());  // NaN: no JSON number
  EXPECT_EQ(j[4]["name"], "NA");         // only empty fields are missing
  EXPECT_EQ(j[0]["day"], "2024-01-02");
  EXPECT_EQ(j[0]["ok"], true);

  // The csv output writes the same csv back.
  const auto records = parseCsv(ok({"read", out, "--format", "csv"}).out);
  ASSERT_EQ(records.size(), 6u);
  EXPECT_EQ(records[1][3].rfind("2024-01-02T03:04:05", 0), 0u);
  EXPECT_EQ(records[3][1], "");
  EXPECT_EQ(records[4][2], "NaN");
}

TEST(Write, FromParquetWithPerVariableSettings) {
  Scratch dir;
  const std::string in = fixture("pyarrow_nested.parquet");
  const std::string out = dir.file("out.parquet");
  ok({"write", out, "--from", in, "--compression", "zstd,tags=gzip,attrs=uncompressed", "--encoding",
      "plain,when=dictionary"});
  const auto leaves = leafSettings(out);
  const std::map<std::string, std::pair<std::string, bool>> expected = {
      {"tags.list.element", {"gzip", false}},
      {"point.x", {"zstd", false}},
      {"point.y", {"zstd", false}},
      // A map column stays a map.
      {"attrs.key_value.key", {"uncompressed", false}},
      {"attrs.key_value.value", {"uncompressed", false}},
      {"when", {"zstd", true}},
      {"größe", {"zstd", false}},
  };
  EXPECT_EQ(leaves, expected);
  // Nested data comes back as it was.
  EXPECT_EQ(ok({"read", out, "--format", "json"}).out, ok({"read", in, "--format", "json"}).out);
}

TEST(Write, DefaultsKeepTheInputsRowGroups) {
  Scratch dir;
  const std::string out = dir.file("out.parquet");
  ok({"write", out, "--from", fixture("pyarrow_nested.parquet")});
  const ParquetInfo info(u(out));
  EXPECT_EQ(info.getRowGroupHeights(), (std::vector<std::int64_t>{128, 128, 44}));
  EXPECT_EQ(info.getVersion(), "2.0");
  const auto leaves = leafSettings(out);
  for (const auto& [path, setting] : leaves) EXPECT_EQ(setting.first, "snappy") << path;
  // Time stamps that all differ, and a record of numbers that all differ,
  // are written plain; lists keep dictionary encoding.
  EXPECT_FALSE(leaves.at("when").second);
  EXPECT_FALSE(leaves.at("point.x").second);
  EXPECT_TRUE(leaves.at("tags.list.element").second);
  EXPECT_NE(info.getMetadata()->key_value_metadata(), nullptr);
  EXPECT_TRUE(info.getMetadata()->key_value_metadata()->Contains("ARROW:schema"));
}

TEST(Write, FromParquetKeepsMetadataBytesAndMissingRecords) {
  Scratch dir;
  const std::string in = fixture("pyarrow_records.parquet");
  const std::string out = dir.file("out.parquet");
  ok({"write", out, "--from", in});
  const ParquetInfo info(u(out));
  const auto kv = info.getMetadata()->key_value_metadata();
  ASSERT_NE(kv, nullptr);
  ASSERT_TRUE(kv->Contains("origin"));
  EXPECT_EQ(kv->Get("origin").ValueOrDie(), "fixture");
  // Bytes stay one binary leaf (not a list of uint8).
  const auto leaves = leafSettings(out);
  EXPECT_EQ(leaves.count("bin"), 1u);
  EXPECT_EQ(leaves.count("bin.list.element"), 0u);
  EXPECT_EQ(ok({"read", out, "--format", "json"}).out, ok({"read", in, "--format", "json"}).out);
  EXPECT_TRUE(okJson({"read", out, "--format", "json"})[1]["rec"].is_null());
}

TEST(Write, VersionHeightsSchemaAndNestedNames) {
  Scratch dir;
  const std::string out = dir.file("out.parquet");
  ok({"write", out, "--from", fixture("pyarrow_nested.parquet"), "--version", "1.0", "--row-group-heights",
      "100,150,50", "--no-store-schema", "--no-compliant-nested", "--compression", "tags=lz4"});
  const ParquetInfo info(u(out));
  EXPECT_EQ(info.getVersion(), "1.0");
  EXPECT_EQ(info.getRowGroupHeights(), (std::vector<std::int64_t>{100, 150, 50}));
  const auto kv = info.getMetadata()->key_value_metadata();
  EXPECT_TRUE(kv == nullptr || !kv->Contains("ARROW:schema"));
  const auto leaves = leafSettings(out);
  // Without compliant names the list keeps the element name it was read
  // with, as pyarrow's read_table and write_table do.
  ASSERT_EQ(leaves.count("tags.list.element"), 1u) << "non-compliant list names";
  EXPECT_EQ(leaves.at("tags.list.element").first, "lz4_raw");
}

TEST(Write, WarningsArePrintedAndDoNotFail) {
  Scratch dir;
  const RunResult r = ok({"write", dir.file("out.parquet"), "--from", fixture("pyarrow_list_dict.parquet")});
  EXPECT_EQ(r.err,
            "Warning: Variable 'words' holds dictionary-encoded values inside a list; each row group stores its "
            "own dictionary.\n");
}

TEST(Write, FormatsOfTheSummary) {
  Scratch dir;
  const json j = okJson({"write", dir.file("a.parquet"), "--from", fixture("duckdb_flat.parquet"), "--format", "json"});
  EXPECT_EQ(j["rows"], 250000);
  EXPECT_EQ(j["rowGroups"], 3);
  const auto csv = parseCsv(ok({"write", dir.file("b.parquet"), "--from", fixture("pyarrow_empty.parquet"),
                                "--format", "csv"}).out);
  ASSERT_EQ(csv.size(), 2u);
  EXPECT_EQ(csv[1][1], "0");
  EXPECT_EQ(ParquetInfo(u(dir.file("b.parquet"))).getNumRowGroups(), 0);
}

TEST(Write, FailuresLeaveNoFile) {
  Scratch dir;
  const std::string csv = dir.file("in.csv");
  writeText(csv, kCsv);
  const std::string out = dir.file("out.parquet");
  expectFailure(runProgram({"write", out, "--from", csv, "--compression", "fast"}), 2, "ORVANE:cli:InvalidOption");
  expectFailure(runProgram({"write", out, "--from", csv, "--encoding", "rle"}), 2, "ORVANE:cli:InvalidOption");
  expectFailure(runProgram({"write", out, "--from", csv, "--version", "3.0"}), 2, "ORVANE:cli:InvalidUsage");
  expectFailure(runProgram({"write", out, "--from", csv, "--row-group-length", "0"}), 2, "ORVANE:cli:InvalidUsage");
  expectFailure(runProgram({"write", out, "--from", csv, "--row-group-heights", "2,x"}), 2,
                "ORVANE:cli:InvalidOption");
  expectFailure(runProgram({"write", out, "--from", dir.file("in.xyz")}), 2, "ORVANE:cli:UnknownInputFormat");
  expectFailure(runProgram({"write", out, "--from", csv, "--row-group-heights", "2,2"}), 1,
                "ORVANE:cli:RowGroupHeightsMismatch");
  const RunResult unknown = runProgram({"write", out, "--from", csv, "--compression", "nope=zstd"});
  expectFailure(unknown, 1, "ORVANE:cli:UnknownVariable");
  EXPECT_NE(unknown.err.find("'nope'"), std::string::npos);
  const RunResult missing = runProgram({"write", out, "--from", dir.file("none.csv")});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "ORVANE:host:FileNotFound: Unable to open '" + dir.file("none.csv") +
                             "': no such file or directory.\n");
  EXPECT_EQ(dir.entries(), (std::vector<std::string>{"in.csv"}));

  // A directory that does not exist: the message names the output.
  const std::string nowhere = dir.file("no/such/dir/out.parquet");
  const RunResult r = runProgram({"write", nowhere, "--from", csv});
  EXPECT_EQ(r.status, 1) << r.err;
  EXPECT_NE(r.err.find(nowhere), std::string::npos) << r.err;
  EXPECT_EQ(r.err.find("partial"), std::string::npos) << r.err;
}

TEST(Write, AnExistingOutputIsReplacedOnlyOnSuccess) {
  Scratch dir;
  const std::string out = dir.file("out.parquet");
  ok({"write", out, "--from", fixture("pyarrow_nested.parquet")});
  const auto before = ParquetInfo(u(out)).getFileSize();
  expectFailure(runProgram({"write", out, "--from", fixture("duckdb_flat.parquet"), "--row-group-heights", "1"}), 1,
                "ORVANE:cli:RowGroupHeightsMismatch");
  EXPECT_EQ(ParquetInfo(u(out)).getFileSize(), before);
  ok({"write", out, "--from", fixture("duckdb_flat.parquet")});
  EXPECT_EQ(ParquetInfo(u(out)).getNumRowGroups(), 3);
  EXPECT_EQ(dir.entries(), (std::vector<std::string>{"out.parquet"}));
}

TEST(Write, InterruptLeavesNoFile) {
  Scratch dir;
  const std::string csv = dir.file("big.csv");
  {
    std::ofstream out(csv);
    out << "id,text\n";
    for (int i = 0; i < 1000000; ++i) out << i << ",t" << i % 1000 << '\n';
  }
  const std::string out = dir.file("out.parquet");
  // Tiny row groups make the write take seconds.
  RunningProgram program({"write", out, "--from", csv, "--row-group-length", "10"});
  // Wait until the writer has begun (something besides the input appears).
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (dir.entries().size() < 2 && program.running() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  ASSERT_TRUE(program.running()) << "the write ended before it could be interrupted";
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  program.interrupt();
  const RunResult r = program.wait();
  EXPECT_EQ(r.status, 130) << r.err;
  EXPECT_EQ(r.err, "ORVANE:host:Interrupted: Operation interrupted by the user.\n");
  EXPECT_EQ(dir.entries(), (std::vector<std::string>{"big.csv"}));
}

}  // namespace
}  // namespace ovtest
