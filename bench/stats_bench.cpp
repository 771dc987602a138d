// Row-group statistics of a ~200 MB file against a ~1 MB file of the same
// layout (same columns, same number of row groups): the time to open the
// file and gather the statistics, the time of the statistics alone on an
// open reader, and the bytes read through the file adapter, which depend on
// the footer only, not on the data.
//
//   stats_bench [--quick]     (--quick: a ~20 MB file instead of ~200 MB)
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/read/Statistics.hpp>

#include "../tests/support/CountingFiles.hpp"

#include <arrow/api.h>
#include <arrow/io/file.h>
#include <parquet/arrow/writer.h>
#include <parquet/properties.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <unistd.h>

namespace {

namespace read = orvane::io::parquet::core::read;
using Clock = std::chrono::steady_clock;

constexpr int kRowGroups = 64;
constexpr int kColumns = 20;
// Parquet first reads the tail of a file in one piece of this size; when the
// footer (with its 8-byte trailer) is larger, it then reads the whole footer
// in a second piece, so the overlap is read twice.
constexpr int64_t kFooterReadSize = 64 * 1024;
// What the bytes read may exceed those pieces by.
constexpr int64_t kSlack = 64;

void check(const arrow::Status& status) {
  if (!status.ok()) {
    std::fprintf(stderr, "stats_bench: %s\n", status.ToString().c_str());
    std::exit(1);
  }
}
template <typename T>
T check(arrow::Result<T> result) {
  check(result.status());
  return std::move(result).ValueUnsafe();
}

// Twenty columns of the kinds rows are filtered on: integers, doubles,
// timestamps, dates, strings and a logical.
std::shared_ptr<arrow::Schema> benchSchema() {
  arrow::FieldVector fields;
  for (int i = 0; i < 5; ++i) fields.push_back(arrow::field("i64_" + std::to_string(i), arrow::int64()));
  for (int i = 0; i < 5; ++i) fields.push_back(arrow::field("f64_" + std::to_string(i), arrow::float64()));
  for (int i = 0; i < 3; ++i) fields.push_back(arrow::field("i32_" + std::to_string(i), arrow::int32()));
  for (int i = 0; i < 3; ++i) {
    fields.push_back(arrow::field("ts_" + std::to_string(i), arrow::timestamp(arrow::TimeUnit::MICRO, "UTC")));
  }
  fields.push_back(arrow::field("name_0", arrow::utf8()));
  fields.push_back(arrow::field("name_1", arrow::utf8()));
  fields.push_back(arrow::field("day", arrow::date32()));
  fields.push_back(arrow::field("flag", arrow::boolean()));
  return arrow::schema(fields);
}

// One row group's worth of random rows (random so that nothing compresses
// and the sizes are what the row counts say).
std::shared_ptr<arrow::Table> randomRows(const std::shared_ptr<arrow::Schema>& schema, int64_t rows,
                                         std::mt19937_64& rng) {
  arrow::ArrayVector columns;
  for (const auto& field : schema->fields()) {
    switch (field->type()->id()) {
      case arrow::Type::INT64: {
        arrow::Int64Builder b;
        check(b.Reserve(rows));
        for (int64_t i = 0; i < rows; ++i) b.UnsafeAppend(static_cast<int64_t>(rng()));
        columns.push_back(check(b.Finish()));
        break;
      }
      case arrow::Type::DOUBLE: {
        arrow::DoubleBuilder b;
        check(b.Reserve(rows));
        for (int64_t i = 0; i < rows; ++i) b.UnsafeAppend(static_cast<double>(rng()) * 1e-9);
        columns.push_back(check(b.Finish()));
        break;
      }
      case arrow::Type::INT32: {
        arrow::Int32Builder b;
        check(b.Reserve(rows));
        for (int64_t i = 0; i < rows; ++i) b.UnsafeAppend(static_cast<int32_t>(rng()));
        columns.push_back(check(b.Finish()));
        break;
      }
      case arrow::Type::TIMESTAMP: {
        arrow::TimestampBuilder b(field->type(), arrow::default_memory_pool());
        check(b.Reserve(rows));
        for (int64_t i = 0; i < rows; ++i) b.UnsafeAppend(static_cast<int64_t>(rng() % 4000000000000000ULL));
        columns.push_back(check(b.Finish()));
        break;
      }
      case arrow::Type::STRING: {
        arrow::StringBuilder b;
        check(b.Reserve(rows));
        char text[8];
        for (int64_t i = 0; i < rows; ++i) {
          const uint64_t bits = rng();
          for (int k = 0; k < 8; ++k) text[k] = static_cast<char>('a' + ((bits >> (5 * k)) % 26));
          check(b.Append(text, 8));
        }
        columns.push_back(check(b.Finish()));
        break;
      }
      case arrow::Type::DATE32: {
        arrow::Date32Builder b;
        check(b.Reserve(rows));
        for (int64_t i = 0; i < rows; ++i) b.UnsafeAppend(static_cast<int32_t>(rng() % 40000));
        columns.push_back(check(b.Finish()));
        break;
      }
      case arrow::Type::BOOL: {
        arrow::BooleanBuilder b;
        check(b.Reserve(rows));
        for (int64_t i = 0; i < rows; ++i) b.UnsafeAppend((rng() & 1) != 0);
        columns.push_back(check(b.Finish()));
        break;
      }
      default:
        std::fprintf(stderr, "stats_bench: no generator for %s\n", field->type()->ToString().c_str());
        std::exit(1);
    }
  }
  return arrow::Table::Make(schema, columns, rows);
}

// Writes kRowGroups row groups of rowsPerGroup rows, one generated at a time.
void writeFile(const std::string& path, int64_t rowsPerGroup, std::uint64_t seed) {
  const auto schema = benchSchema();
  std::mt19937_64 rng(seed);
  auto sink = check(arrow::io::FileOutputStream::Open(path));
  const auto properties = parquet::WriterProperties::Builder()
                              .disable_dictionary()
                              ->compression(parquet::Compression::UNCOMPRESSED)
                              ->build();
  auto writer = check(parquet::arrow::FileWriter::Open(*schema, arrow::default_memory_pool(), sink, properties));
  for (int r = 0; r < kRowGroups; ++r) check(writer->WriteTable(*randomRows(schema, rowsPerGroup, rng), rowsPerGroup));
  check(writer->Close());
  check(sink->Close());
}

int64_t footerLength(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  in.seekg(-8, std::ios::end);
  uint32_t length = 0;
  in.read(reinterpret_cast<char*>(&length), 4);
  return length;
}

double secondsOf(const std::function<void()>& f) {
  const auto start = Clock::now();
  f();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

struct Figures {
  int64_t fileSize = 0;
  int64_t footer = 0;
  double openAndStats = 0;
  double statsOnly = 0;
  int64_t bytesAtOpen = 0;
  int64_t bytesInStats = 0;
  int64_t distinctBytes = 0;  // bytes of the file read at least once
  std::size_t validMinMax = 0;
};

std::vector<int32_t> allColumns() {
  std::vector<int32_t> all(kColumns);
  std::iota(all.begin(), all.end(), 0);
  return all;
}

// Sizes and bytes read: one open and one gathering, through the counting
// scheme.
Figures measureBytes(const std::string& path, ovtest::CountingFiles& counting) {
  Figures figures;
  figures.fileSize = static_cast<int64_t>(std::filesystem::file_size(path));
  figures.footer = footerLength(path);
  counting.reset();
  read::RowGroupParquetReader reader(counting.location(path), std::vector<double>{});
  figures.bytesAtOpen = counting.bytesRead();
  const read::Statistics statistics = reader.getStatistics(allColumns());
  figures.bytesInStats = counting.bytesRead() - figures.bytesAtOpen;
  for (const auto& file : counting.files()) {
    for (const auto& [begin, end] : file.readRanges) figures.distinctBytes += end - begin;
  }
  const bool* valid = static_cast<const bool*>(ovGetData(statistics.minMaxValid.get()));
  figures.validMinMax = static_cast<std::size_t>(
      std::count(valid, valid + ovGetNumberOfElements(statistics.minMaxValid.get()), true));
  return figures;
}

// Times of both files, taken in alternation so that both see the same load
// of the machine; the best run of each is kept.
void measureTimes(const std::string& small, const std::string& large, Figures& s, Figures& l) {
  constexpr int kRounds = 30;
  const auto all = allColumns();
  const auto smallName = orvane::utf8_to_ustring(small);
  const auto largeName = orvane::utf8_to_ustring(large);
  const auto openAndStats = [&](const orvane::ustring& name) {
    return secondsOf([&] {
      read::RowGroupParquetReader reader(name, std::vector<double>{});
      const read::Statistics statistics = reader.getStatistics(all);
    });
  };
  read::RowGroupParquetReader smallReader(smallName, std::vector<double>{});
  read::RowGroupParquetReader largeReader(largeName, std::vector<double>{});
  const auto statsOnly = [&](const read::RowGroupParquetReader& reader) {
    return secondsOf([&] { const read::Statistics statistics = reader.getStatistics(all); });
  };
  s.openAndStats = l.openAndStats = s.statsOnly = l.statsOnly = 1e300;
  for (int round = 0; round < kRounds; ++round) {
    s.openAndStats = std::min(s.openAndStats, openAndStats(smallName));
    l.openAndStats = std::min(l.openAndStats, openAndStats(largeName));
    s.statsOnly = std::min(s.statsOnly, statsOnly(smallReader));
    l.statsOnly = std::min(l.statsOnly, statsOnly(largeReader));
  }
}

}  // namespace

int main(int argc, char** argv) {
  bool quick = false;
  for (int i = 1; i < argc; ++i) quick = quick || std::strcmp(argv[i], "--quick") == 0;

  const auto dir = std::filesystem::temp_directory_path() / ("ovparquet-stats-bench-" + std::to_string(::getpid()));
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  const std::string small = (dir / "small.parquet").string();
  const std::string large = (dir / "large.parquet").string();
  // About 144 bytes a row (20 columns, no compression, no dictionary); the
  // small file's footer is a good part of its size.
  const int64_t largeRowsPerGroup = quick ? 2170 : 21700;
  const int64_t smallRowsPerGroup = 95;
  writeFile(small, smallRowsPerGroup, 1);
  writeFile(large, largeRowsPerGroup, 2);
  // Let the written data reach the disk first, so that write-back does not
  // compete with the timed runs.
  ::sync();

  ovtest::CountingFiles counting("statsbench");
  Figures s = measureBytes(small, counting);
  Figures l = measureBytes(large, counting);
  measureTimes(small, large, s, l);
  std::filesystem::remove_all(dir);

  std::printf("stats_bench: %d row groups x %d columns in both files (best of 30 alternating runs)\n", kRowGroups, kColumns);
  std::printf("  %-6s %10s %13s %12s %11s %11s %12s %10s %9s\n", "file", "size", "footer bytes", "open+stats",
              "stats only", "bytes@open", "bytes@stats", "distinct", "min/max");
  const auto row = [](const char* name, const Figures& f) {
    std::printf("  %-6s %7.1f MB %13lld %9.3f ms %8.3f ms %11lld %12lld %10lld %5zu/%d\n", name, f.fileSize / 1e6,
                static_cast<long long>(f.footer), f.openAndStats * 1e3, f.statsOnly * 1e3,
                static_cast<long long>(f.bytesAtOpen), static_cast<long long>(f.bytesInStats),
                static_cast<long long>(f.distinctBytes), f.validMinMax, kRowGroups * kColumns);
  };
  row("small", s);
  row("large", l);
  std::printf("  time ratio large/small: open+stats %.2fx, stats only %.2fx (size ratio %.0fx)\n",
              l.openAndStats / s.openAndStats, l.statsOnly / s.statsOnly,
              static_cast<double>(l.fileSize) / static_cast<double>(s.fileSize));

  // Only the footer may be read: the distinct bytes are the footer and its
  // 8-byte trailer (or the first tail piece, if larger), the bytes handed
  // over at most the two pieces, and nothing at all while gathering.
  int failures = 0;
  for (const auto* f : {&s, &l}) {
    const int64_t footerAndTrailer = f->footer + 8;
    const int64_t distinctBound = std::max(footerAndTrailer, kFooterReadSize) + kSlack;
    const int64_t totalBound =
        (footerAndTrailer > kFooterReadSize ? kFooterReadSize + f->footer : kFooterReadSize) + kSlack;
    if (f->distinctBytes > distinctBound || f->bytesAtOpen + f->bytesInStats > totalBound || f->bytesInStats != 0 ||
        f->validMinMax != static_cast<std::size_t>(kRowGroups * kColumns)) {
      std::fprintf(stderr, "  FAIL: %lld bytes read (%lld distinct), bounds %lld (%lld)\n",
                   static_cast<long long>(f->bytesAtOpen + f->bytesInStats), static_cast<long long>(f->distinctBytes),
                   static_cast<long long>(totalBound), static_cast<long long>(distinctBound));
      ++failures;
    }
  }
  if (failures == 0) {
    std::printf("  distinct bytes read <= footer + 8 + %lld; bytes handed over <= footer + %lld + %lld "
                "(the first %lld-byte tail piece is read again with the footer)\n",
                static_cast<long long>(kSlack), static_cast<long long>(kFooterReadSize),
                static_cast<long long>(kSlack), static_cast<long long>(kFooterReadSize));
  }
  return failures == 0 ? 0 : 1;
}
