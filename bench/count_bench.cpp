// Counting the row groups of 2,000 small files: one after another against
// the parallel count, in one run on the same files.
#include <ovparquet/core/info/RowGroupQueries.hpp>

#include <arrow/api.h>
#include <arrow/io/file.h>
#include <parquet/arrow/writer.h>

#include <cstdio>
#include <filesystem>
#include <thread>

#include "Timing.hpp"

namespace {

using ovbench::bestSeconds;

std::shared_ptr<arrow::Table> smallTable() {
  arrow::Int64Builder ids;
  arrow::StringBuilder names;
  for (int i = 0; i < 100; ++i) {
    (void)ids.Append(i);
    (void)names.Append("name" + std::to_string(i));
  }
  auto schema = arrow::schema({arrow::field("id", arrow::int64()), arrow::field("name", arrow::utf8())});
  return arrow::Table::Make(schema, {ids.Finish().ValueOrDie(), names.Finish().ValueOrDie()});
}

}  // namespace

int main() {
  namespace info = orvane::io::parquet::core::info;
  const int kFiles = 2000;
  const auto dir = std::filesystem::temp_directory_path() / "ovparquet-count-bench";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  const auto table = smallTable();
  std::vector<orvane::ustring> names;
  for (int i = 0; i < kFiles; ++i) {
    const auto path = (dir / ("f" + std::to_string(i) + ".parquet")).string();
    auto sink = arrow::io::FileOutputStream::Open(path).ValueOrDie();
    if (!parquet::arrow::WriteTable(*table, arrow::default_memory_pool(), sink, 25).ok()) return 1;
    (void)sink->Close();
    names.push_back(orvane::utf8_to_ustring(path));
  }

  std::vector<std::int64_t> sequential, parallel;
  info::getNumRowGroupsSync(names);  // warm the page cache
  const double seq = bestSeconds(5, [&] { sequential = info::getNumRowGroupsSync(names); });
  const double par = bestSeconds(5, [&] { parallel = info::getNumRowGroupsAsync(names); });
  std::filesystem::remove_all(dir);
  if (sequential != parallel) {
    std::fprintf(stderr, "parallel and sequential counts differ\n");
    return 1;
  }
  std::printf("count_bench: %d files of 4 row groups, %u hardware threads\n", kFiles,
              std::thread::hardware_concurrency());
  std::printf("  sequential  %8.1f ms  %9.0f files/s\n", seq * 1e3, kFiles / seq);
  std::printf("  parallel    %8.1f ms  %9.0f files/s\n", par * 1e3, kFiles / par);
  std::printf("  speed-up (sequential / parallel): %.2fx\n", seq / par);
  return 0;
}
