// Reading a file row group by row group into host arrays and writing each
// row group with writeRowGroups gives the same file content: every corpus
// file, and a file whose later row groups hold lists without any element and
// null records (their types must still agree with the first row group's).
#include "CliTest.hpp"

#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/host/array_text.hpp>
#include <ovparquet/host/warning.hpp>

#include <arrow/api.h>
#include <arrow/io/file.h>
#include <arrow/ipc/json_simple.h>
#include <parquet/arrow/writer.h>

namespace ovtest {
namespace {

using orvane::io::parquet::core::read::RowGroupParquetReader;
using orvane::io::parquet::core::write::ParquetWriter;

// Copies `in` to `out` one row group at a time and returns the row-group
// heights written.
std::vector<double> copyByRowGroups(const std::string& in, const std::string& out) {
  const RowGroupParquetReader probe(u(in), std::vector<double>{});
  std::vector<double> all;
  for (double r = 1; r <= probe.getTotalNumRowGroups(); ++r) all.push_back(r);
  RowGroupParquetReader reader(u(in), all);
  ParquetWriter writer(u(out));
  writer.setVariableNames(reader.getVariableNames());
  std::vector<double> heights;
  bool wrote = false;
  while (reader.hasdata()) {
    auto table = reader.read();
    const auto rows = static_cast<double>(ovTableNumRows(table.get()));
    const auto height = ovCreateNumericArrayFromVector<double>({1, 1}, std::vector<double>{rows});
    writer.writeRowGroups(table.get(), height.get());
    heights.push_back(rows);
    wrote = true;
  }
  if (!wrote) {
    // No row group: the schema alone.
    RowGroupParquetReader empty(u(in), std::vector<double>{});
    auto table = empty.read();
    const auto none = ovCreateNumericMatrix(1, 0, ovClassID::Double);
    writer.writeRowGroups(table.get(), none.get());
  }
  writer.close();
  return heights;
}

void expectSameContent(const std::string& in, const std::string& out) {
  RowGroupParquetReader original(u(in), std::vector<double>{});
  RowGroupParquetReader copy(u(out), std::vector<double>{});
  auto a = original.readFullFile();
  auto b = copy.readFullFile();
  EXPECT_TRUE(ovArraysEqual(a.get(), b.get())) << ovArraysDifference(a.get(), b.get());
  std::vector<std::int64_t> heights;
  for (const auto h : copy.getRowGroupHeights()) heights.push_back(static_cast<std::int64_t>(h));
  std::vector<std::int64_t> expected;
  for (const auto h : original.getRowGroupHeights()) {
    if (h != 0) expected.push_back(static_cast<std::int64_t>(h));
  }
  std::erase(heights, 0);
  EXPECT_EQ(heights, expected);
}

TEST(RowGroups, EveryCorpusFileCopiesRowGroupByRowGroup) {
  const std::filesystem::path data = OVPARQUET_TEST_DATA "/parquet-testing/data";
  Scratch dir;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(data)) {
    if (entry.path().extension() != ".parquet") continue;
    SCOPED_TRACE(entry.path().filename().string());
    ++files;
    const std::string out = dir.file(entry.path().filename().string());
    orvane::ScopedWarningCapture warnings;  // nested dictionaries warn; not the point here
    try {
      copyByRowGroups(entry.path().string(), out);
    } catch (const std::exception& e) {
      ADD_FAILURE() << e.what();
      continue;
    }
    expectSameContent(entry.path().string(), out);
  }
  EXPECT_GE(files, 50);
}

TEST(RowGroups, LaterRowGroupsWithoutListElementsOrWithNullRecordsKeepTheSchema) {
  namespace a = ::arrow;
  const auto type = a::struct_({a::field("tags", a::list(a::utf8())),
                                a::field("attrs", a::map(a::utf8(), a::list(a::int64()))),
                                a::field("blob", a::binary())});
  // Row groups of two rows: the first has every element, the later ones
  // only empty or missing lists and maps, and null records.
  auto array = a::ipc::internal::json::ArrayFromJSON(type, R"([
      {"tags": ["a"], "attrs": [["k", [1]]], "blob": "xy"},
      {"tags": [], "attrs": [], "blob": ""},
      {"tags": null, "attrs": null, "blob": null},
      null,
      {"tags": [], "attrs": [["e", []]], "blob": null},
      null])").ValueOrDie();
  auto table = a::Table::Make(a::schema({a::field("r", type), a::field("n", a::int64())}),
                              {array, a::ipc::internal::json::ArrayFromJSON(
                                          a::int64(), "[1, 2, 3, 4, 5, 6]").ValueOrDie()});
  Scratch dir;
  const std::string in = dir.file("in.parquet");
  {
    auto sink = a::io::FileOutputStream::Open(in).ValueOrDie();
    ASSERT_TRUE(parquet::arrow::WriteTable(*table, a::default_memory_pool(), sink, 2).ok());
    ASSERT_TRUE(sink->Close().ok());
  }
  const std::string out = dir.file("out.parquet");
  EXPECT_EQ(copyByRowGroups(in, out), (std::vector<double>{2, 2, 2}));
  expectSameContent(in, out);
  // The missing records are still there.
  RowGroupParquetReader copy(u(out), std::vector<double>{});
  auto host = copy.readFullFile();
  const ovArray* records = ovTableColumn(host.get(), 0);
  ASSERT_TRUE(ovIsTable(records));
  EXPECT_TRUE(ovTableIsRowMissing(records, 3));
  EXPECT_TRUE(ovTableIsRowMissing(records, 5));
  EXPECT_FALSE(ovTableIsRowMissing(records, 2));
}

}  // namespace
}  // namespace ovtest
