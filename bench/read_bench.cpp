// Reading whole files into host arrays (file adapter, decoding, conversion)
// against Arrow's own ReadTable through Arrow's local file, on the same
// files in one run: numeric-heavy (10M rows x 8 double and int64 columns),
// string-heavy (2M rows x 4 string columns), nested (lists and structs) and
// mixed records (5M trip records).
//
// The files are written to the folder OVPARQUET_READ_BENCH_DIR names, and
// left there for bench/peers_read.py (bench/run.sh makes that folder and
// removes it). Without it, each run writes to a fresh folder of its own and
// removes it at the end, so concurrent runs never share files.
//
//   read_bench [KIND...]  every kind (or the kinds named), timed
//   read_bench ours FILE [N]  one (or N) whole reads into host arrays (for
//                             /usr/bin/time, or a profiler)
//   read_bench arrow FILE [N] one (or N) Arrow ReadTable
//   read_bench time FILE [N]  N whole reads into host arrays (default 5)
//                             after one untimed read; prints the best and
//                             the median in ms, for bench/peers_read.py
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/threads.hpp>

#include <arrow/api.h>
#include <arrow/io/file.h>
#include <arrow/util/thread_pool.h>
#include <parquet/arrow/reader.h>
#include <parquet/arrow/writer.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "Timing.hpp"

namespace {

using ovbench::bestSeconds;
using ovbench::pairedSeconds;

std::shared_ptr<arrow::Table> numericTable(int64_t rows) {
  arrow::FieldVector fields;
  arrow::ArrayVector columns;
  for (int c = 0; c < 8; ++c) {
    if (c % 2 == 0) {
      arrow::DoubleBuilder builder;
      (void)builder.Reserve(rows);
      for (int64_t i = 0; i < rows; ++i) builder.UnsafeAppend(static_cast<double>(i * (c + 1)) * 0.37);
      columns.push_back(builder.Finish().ValueOrDie());
      fields.push_back(arrow::field("d" + std::to_string(c), arrow::float64()));
    } else {
      arrow::Int64Builder builder;
      (void)builder.Reserve(rows);
      for (int64_t i = 0; i < rows; ++i) builder.UnsafeAppend((i * 2654435761LL + c) % 1000000007LL);
      columns.push_back(builder.Finish().ValueOrDie());
      fields.push_back(arrow::field("i" + std::to_string(c), arrow::int64()));
    }
  }
  return arrow::Table::Make(arrow::schema(fields), columns);
}

std::shared_ptr<arrow::Table> stringTable(int64_t rows) {
  arrow::FieldVector fields;
  arrow::ArrayVector columns;
  for (int c = 0; c < 4; ++c) {
    arrow::StringBuilder builder;
    for (int64_t i = 0; i < rows; ++i) {
      (void)builder.Append("value " + std::to_string((i * (c + 3)) % (c == 0 ? 1000 : rows)) + " text");
    }
    columns.push_back(builder.Finish().ValueOrDie());
    fields.push_back(arrow::field("s" + std::to_string(c), arrow::utf8()));
  }
  return arrow::Table::Make(arrow::schema(fields), columns);
}

std::shared_ptr<arrow::Table> nestedTable(int64_t rows) {
  auto pointType = arrow::struct_({arrow::field("x", arrow::float64()), arrow::field("y", arrow::int32())});
  arrow::ListBuilder lists(arrow::default_memory_pool(), std::make_shared<arrow::Int64Builder>());
  auto* values = static_cast<arrow::Int64Builder*>(lists.value_builder());
  arrow::StructBuilder points(pointType, arrow::default_memory_pool(),
                              {std::make_shared<arrow::DoubleBuilder>(), std::make_shared<arrow::Int32Builder>()});
  for (int64_t i = 0; i < rows; ++i) {
    (void)lists.Append();
    for (int64_t j = 0; j < i % 5; ++j) (void)values->Append(i + j);
    (void)points.Append();
    (void)static_cast<arrow::DoubleBuilder*>(points.field_builder(0))->Append(static_cast<double>(i) * 0.5);
    (void)static_cast<arrow::Int32Builder*>(points.field_builder(1))->Append(static_cast<int32_t>(i % 1000));
  }
  auto schema = arrow::schema({arrow::field("list", arrow::list(arrow::int64())), arrow::field("point", pointType)});
  return arrow::Table::Make(schema, {lists.Finish().ValueOrDie(), points.Finish().ValueOrDie()});
}

// Trip records: a zoned timestamp, a small integer with nulls, doubles, a
// dictionary-encoded and a plain string column, and booleans.
std::shared_ptr<arrow::Table> mixedTable(int64_t rows) {
  arrow::TimestampBuilder pickup(arrow::timestamp(arrow::TimeUnit::MICRO, "America/New_York"),
                                 arrow::default_memory_pool());
  arrow::Int8Builder passengers;
  arrow::DoubleBuilder distance, fare, tip;
  arrow::StringDictionary32Builder payment;
  arrow::StringBuilder zone;
  arrow::BooleanBuilder flag;
  static const char* const kPayments[] = {"card", "cash", "no charge", "dispute", "unknown"};
  for (int64_t i = 0; i < rows; ++i) {
    (void)pickup.Append(1'700'000'000'000'000LL + i * 1'000'003LL);
    if (i % 17 == 0) {
      (void)passengers.AppendNull();
    } else {
      (void)passengers.Append(static_cast<int8_t>(1 + i % 6));
    }
    (void)distance.Append(static_cast<double>(i % 3000) * 0.01);
    (void)fare.Append(2.5 + static_cast<double>(i % 9000) * 0.05);
    (void)tip.Append(static_cast<double>(i % 700) * 0.01);
    (void)payment.Append(kPayments[i % 5]);
    (void)zone.Append("zone " + std::to_string((i * 7919) % 265));
    (void)flag.Append(i % 3 == 0);
  }
  auto schema = arrow::schema({arrow::field("pickup", pickup.type()), arrow::field("passengers", arrow::int8()),
                               arrow::field("distance", arrow::float64()), arrow::field("fare", arrow::float64()),
                               arrow::field("tip", arrow::float64()),
                               arrow::field("payment", arrow::dictionary(arrow::int32(), arrow::utf8())),
                               arrow::field("zone", arrow::utf8()), arrow::field("flag", arrow::boolean())});
  return arrow::Table::Make(schema, {pickup.Finish().ValueOrDie(), passengers.Finish().ValueOrDie(),
                                     distance.Finish().ValueOrDie(), fare.Finish().ValueOrDie(),
                                     tip.Finish().ValueOrDie(), payment.Finish().ValueOrDie(),
                                     zone.Finish().ValueOrDie(), flag.Finish().ValueOrDie()});
}

void write(const arrow::Table& table, const std::string& path) {
  auto sink = arrow::io::FileOutputStream::Open(path).ValueOrDie();
  auto properties = parquet::WriterProperties::Builder().compression(arrow::Compression::SNAPPY)->build();
  if (!parquet::arrow::WriteTable(table, arrow::default_memory_pool(), sink, 1 << 20, properties).ok()) std::abort();
  (void)sink->Close();
}

void readWithArrow(const std::string& path) {
  auto file = arrow::io::ReadableFile::Open(path).ValueOrDie();
  std::unique_ptr<parquet::arrow::FileReader> reader;
  if (!parquet::arrow::OpenFile(file, arrow::default_memory_pool(), &reader).ok()) std::abort();
  reader->set_use_threads(true);
  std::shared_ptr<arrow::Table> table;
  if (!reader->ReadTable(&table).ok()) std::abort();
}

void readWithOurs(const std::string& path) {
  orvane::io::parquet::core::read::RowGroupParquetReader reader(orvane::utf8_to_ustring(path), std::vector<double>{});
  auto host = reader.readFullFile();
  if (!host) std::abort();
}

void run(const char* label, const std::shared_ptr<arrow::Table>& table, const std::string& path) {
  write(*table, path);
  readWithArrow(path);  // warm the page cache
  const auto paired = pairedSeconds(11, [&] { readWithArrow(path); }, [&] { readWithOurs(path); });
  // The whole read (decoding and conversion) with a computational thread
  // count of 1.
  orvane::setComputationalThreadCount(1);
  const double serial = bestSeconds(5, [&] { readWithOurs(path); });
  orvane::resetComputationalThreadCount();
  // Our reader sized Arrow's pool to one thread too; Arrow's next reads get
  // it back.
  (void)arrow::SetCpuThreadPoolCapacity(static_cast<int>(orvane::computationalThreadCount()));
  std::printf("%-8s %8.1f MB  host arrays %8.1f ms (1 thread %8.1f)   Arrow ReadTable %8.1f ms   "
              "ratio %.2fx (median of paired runs %.2fx)\n",
              label, static_cast<double>(std::filesystem::file_size(path)) / 1e6, paired.bestG * 1e3, serial * 1e3,
              paired.bestF * 1e3, paired.bestG / paired.bestF, paired.medianRatio);
}

}  // namespace

int main(int argc, char** argv) {
  if ((argc == 3 || argc == 4) && std::strcmp(argv[1], "time") == 0) {
    const int repeat = argc == 4 ? std::max(1, std::atoi(argv[3])) : 5;
    readWithOurs(argv[2]);  // warm the page cache and the allocators, as a long-lived host is
    std::vector<double> times;
    for (int r = 0; r < repeat; ++r) times.push_back(bestSeconds(1, [&] { readWithOurs(argv[2]); }));
    std::sort(times.begin(), times.end());
    std::printf("%.3f %.3f\n", times.front() * 1e3, times[times.size() / 2] * 1e3);
    return 0;
  }
  if ((argc == 3 || argc == 4) && (std::strcmp(argv[1], "ours") == 0 || std::strcmp(argv[1], "arrow") == 0)) {
    const bool ours = std::strcmp(argv[1], "ours") == 0;
    const int repeat = argc == 4 ? std::max(1, std::atoi(argv[3])) : 1;
    for (int r = 0; r < repeat; ++r) {
      if (ours) {
        readWithOurs(argv[2]);
      } else {
        readWithArrow(argv[2]);
      }
    }
    return 0;
  }
  std::vector<std::string> kinds(argv + 1, argv + argc);
  auto wanted = [&](const char* kind) {
    return kinds.empty() || std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
  };
  std::filesystem::path dir;
  bool ownFolder = false;
  if (const char* given = std::getenv("OVPARQUET_READ_BENCH_DIR"); given != nullptr && *given != '\0') {
    dir = given;
    std::filesystem::create_directories(dir);
  } else {
    std::string name = (std::filesystem::temp_directory_path() / "ovparquet-read-bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      std::perror("mkdtemp");
      return 1;
    }
    dir = name;
    ownFolder = true;
  }
  if (wanted("numeric")) run("numeric", numericTable(10'000'000), (dir / "numeric.parquet").string());
  if (wanted("strings")) run("strings", stringTable(2'000'000), (dir / "strings.parquet").string());
  if (wanted("nested")) run("nested", nestedTable(2'000'000), (dir / "nested.parquet").string());
  if (wanted("mixed")) run("mixed", mixedTable(5'000'000), (dir / "mixed.parquet").string());
  if (ownFolder) std::filesystem::remove_all(dir);
  return 0;
}
