// The export's double formatting (whole hundredths laid out directly)
// against std::to_chars, which it must equal: money and distances like the
// taxi-trip columns, then arbitrary doubles (which take the to_chars path).
#include "text_append.hpp"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstring>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

std::vector<double> hundredths() {
  std::mt19937_64 rng(7);
  std::vector<double> values(1 << 16);
  for (auto& v : values) v = static_cast<double>(rng() % 20000) / 100.0;
  return values;
}

std::vector<double> anyDoubles() {
  std::mt19937_64 rng(8);
  std::uniform_real_distribution<double> uniform(-1e6, 1e6);
  std::vector<double> values(1 << 16);
  for (auto& v : values) v = uniform(rng);
  return values;
}

void requireSameAsToChars(const std::vector<double>& values) {
  for (const double v : values) {
    std::string ours;
    ovparquet::cli::appendDouble(ours, v);
    char buffer[64];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, v).ptr;
    if (ours != std::string(buffer, end)) throw std::logic_error("appendDouble differs from std::to_chars");
  }
}

template <typename Format>
void run(benchmark::State& state, const std::vector<double>& values, Format format) {
  requireSameAsToChars(values);
  std::string out;
  for (auto _ : state) {
    out.clear();
    for (const double v : values) {
      format(out, v);
      out += ',';
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
}

void toChars(std::string& out, double v) {
  char buffer[64];
  out.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, v).ptr);
}

void BM_HundredthsToChars(benchmark::State& state) { run(state, hundredths(), toChars); }
void BM_HundredthsAppendDouble(benchmark::State& state) { run(state, hundredths(), ovparquet::cli::appendDouble); }
void BM_AnyToChars(benchmark::State& state) { run(state, anyDoubles(), toChars); }
void BM_AnyAppendDouble(benchmark::State& state) { run(state, anyDoubles(), ovparquet::cli::appendDouble); }

}  // namespace

BENCHMARK(BM_HundredthsToChars);
BENCHMARK(BM_HundredthsAppendDouble);
BENCHMARK(BM_AnyToChars);
BENCHMARK(BM_AnyAppendDouble);
BENCHMARK_MAIN();
