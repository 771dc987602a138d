// Conversion speed against the cost floor of the same data, in one process:
//   - a 10-million-row double column against one memcpy of its bytes
//     (target: within 1.2x);
//   - a 2-million-row string column against Arrow's own UTF-8 validation of
//     it (target: within 3x).
#include <ovparquet/convert.hpp>

#include <arrow/api.h>
#include <arrow/util/utf8.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>

namespace {

using orvane::io::arrow::core::to_orvane;

constexpr std::int64_t kDoubleRows = 10'000'000;
constexpr std::int64_t kStringRows = 2'000'000;

template <typename T>
T check(arrow::Result<T> result) {
  if (!result.ok()) throw std::runtime_error(result.status().ToString());
  return std::move(result).ValueUnsafe();
}

std::shared_ptr<arrow::Array> doubles(std::int64_t rows, std::uint64_t seed) {
  std::mt19937_64 rng(seed);
  std::uniform_real_distribution<double> value(-1e9, 1e9);
  arrow::DoubleBuilder builder;
  if (!builder.Reserve(rows).ok()) throw std::runtime_error("reserve");
  for (std::int64_t i = 0; i < rows; ++i) builder.UnsafeAppend(value(rng));
  return check(builder.Finish());
}

// One chunk, as a file of one row group reads.
const std::shared_ptr<arrow::Table>& doubleTable() {
  static const auto table = [] {
    auto column = doubles(kDoubleRows, 1);
    return arrow::Table::Make(arrow::schema({arrow::field("x", arrow::float64())}), {column});
  }();
  return table;
}

// Ten chunks of one million rows, as a file of ten row groups reads: the
// conversion copies them into one host array.
const std::shared_ptr<arrow::Table>& chunkedDoubleTable() {
  static const auto table = [] {
    const auto& whole = doubleTable()->column(0)->chunk(0);
    arrow::ArrayVector chunks;
    for (std::int64_t start = 0; start < kDoubleRows; start += kDoubleRows / 10) {
      // Copy each slice into its own buffers, as separate row groups have.
      auto slice = whole->Slice(start, kDoubleRows / 10);
      chunks.push_back(check(arrow::Concatenate({slice})));
    }
    auto column = std::make_shared<arrow::ChunkedArray>(chunks);
    return arrow::Table::Make(arrow::schema({arrow::field("x", arrow::float64())}), {column});
  }();
  return table;
}

// Strings of 0 to 20 characters; `nonAscii` of them hold a few two- and
// three-byte characters.
std::shared_ptr<arrow::Table> stringTable(double nonAscii) {
  std::mt19937_64 rng(2);
  std::uniform_int_distribution<int> length(0, 20);
  std::uniform_int_distribution<int> letter('a', 'z');
  std::bernoulli_distribution wide(nonAscii);
  arrow::StringBuilder builder;
  std::string text;
  for (std::int64_t i = 0; i < kStringRows; ++i) {
    text.clear();
    const int n = length(rng);
    const bool unicode = wide(rng);
    for (int k = 0; k < n; ++k) {
      if (unicode && k % 5 == 0) {
        text += (k % 2 == 0) ? "\xC3\xA9" : "\xE6\x97\xA5";
      } else {
        text.push_back(static_cast<char>(letter(rng)));
      }
    }
    if (!builder.Append(text).ok()) throw std::runtime_error("append");
  }
  auto column = check(builder.Finish());
  return arrow::Table::Make(arrow::schema({arrow::field("s", arrow::utf8())}), {column});
}

const std::shared_ptr<arrow::Table>& asciiStringTable() {
  static const auto table = stringTable(0.0);
  return table;
}

const std::shared_ptr<arrow::Table>& mixedStringTable() {
  static const auto table = stringTable(0.2);
  return table;
}

void convertTable(benchmark::State& state, const std::shared_ptr<arrow::Table>& table,
                  std::int64_t bytes) {
  for (auto _ : state) {
    auto host = to_orvane(table);
    if (!host.ok()) {
      state.SkipWithError(host.status().ToString().c_str());
      break;
    }
    benchmark::DoNotOptimize(host->get());
  }
  state.SetBytesProcessed(state.iterations() * bytes);
}

// --- doubles -----------------------------------------------------------------

void BM_DoubleColumn_ToOrvane_OneChunk(benchmark::State& state) {
  convertTable(state, doubleTable(), kDoubleRows * 8);
}
BENCHMARK(BM_DoubleColumn_ToOrvane_OneChunk)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_DoubleColumn_ToOrvane_TenChunks(benchmark::State& state) {
  convertTable(state, chunkedDoubleTable(), kDoubleRows * 8);
}
BENCHMARK(BM_DoubleColumn_ToOrvane_TenChunks)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floor: a fresh buffer and one memcpy of the column's bytes (the
// conversion has to allocate its result too).
void BM_DoubleColumn_Memcpy(benchmark::State& state) {
  const auto& values = doubleTable()->column(0)->chunk(0)->data()->buffers[1];
  const auto bytes = static_cast<std::size_t>(kDoubleRows * 8);
  for (auto _ : state) {
    std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[bytes]);
    std::memcpy(copy.get(), values->data(), bytes);
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_DoubleColumn_Memcpy)->Unit(benchmark::kMillisecond)->UseRealTime();

// --- strings -----------------------------------------------------------------

std::int64_t stringBytes(const std::shared_ptr<arrow::Table>& table) {
  return std::static_pointer_cast<arrow::StringArray>(table->column(0)->chunk(0))->total_values_length();
}

void BM_StringColumn_ToOrvane_Ascii(benchmark::State& state) {
  convertTable(state, asciiStringTable(), stringBytes(asciiStringTable()));
}
BENCHMARK(BM_StringColumn_ToOrvane_Ascii)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_StringColumn_ToOrvane_Mixed(benchmark::State& state) {
  convertTable(state, mixedStringTable(), stringBytes(mixedStringTable()));
}
BENCHMARK(BM_StringColumn_ToOrvane_Mixed)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floors: Arrow's full validation of the array (offsets and UTF-8), and
// its UTF-8 check of the character data alone.
void validateFull(benchmark::State& state, const std::shared_ptr<arrow::Table>& table) {
  const auto& array = table->column(0)->chunk(0);
  for (auto _ : state) {
    auto status = array->ValidateFull();
    if (!status.ok()) state.SkipWithError(status.ToString().c_str());
    benchmark::DoNotOptimize(status);
  }
  state.SetBytesProcessed(state.iterations() * stringBytes(table));
}

void validateUtf8(benchmark::State& state, const std::shared_ptr<arrow::Table>& table) {
  const auto strings = std::static_pointer_cast<arrow::StringArray>(table->column(0)->chunk(0));
  const std::uint8_t* data = strings->value_data()->data() + strings->value_offset(0);
  const std::int64_t size = strings->total_values_length();
  for (auto _ : state) {
    bool valid = arrow::util::ValidateUTF8(data, size);
    if (!valid) state.SkipWithError("invalid UTF-8");
    benchmark::DoNotOptimize(valid);
  }
  state.SetBytesProcessed(state.iterations() * size);
}

void BM_StringColumn_ValidateFull_Ascii(benchmark::State& state) {
  validateFull(state, asciiStringTable());
}
BENCHMARK(BM_StringColumn_ValidateFull_Ascii)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_StringColumn_ValidateUtf8_Ascii(benchmark::State& state) {
  validateUtf8(state, asciiStringTable());
}
BENCHMARK(BM_StringColumn_ValidateUtf8_Ascii)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_StringColumn_ValidateFull_Mixed(benchmark::State& state) {
  validateFull(state, mixedStringTable());
}
BENCHMARK(BM_StringColumn_ValidateFull_Mixed)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_StringColumn_ValidateUtf8_Mixed(benchmark::State& state) {
  validateUtf8(state, mixedStringTable());
}
BENCHMARK(BM_StringColumn_ValidateUtf8_Mixed)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
