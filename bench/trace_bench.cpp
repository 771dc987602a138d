// The cost of a scope trace when tracing is off (the default) against the
// same function without one, and, for scale, with tracing on.
#include <ovparquet/core/common/Log.hpp>

#include <benchmark/benchmark.h>

#include <sstream>

namespace {

constexpr const char* kTraceSource = "bench/trace";

__attribute__((noinline)) int untraced(int x) {
  benchmark::DoNotOptimize(x);
  return x + 1;
}

__attribute__((noinline)) int traced(int x) {
  OVPARQUET_TRACE();
  benchmark::DoNotOptimize(x);
  return x + 1;
}

void BM_Untraced(benchmark::State& state) {
  orvane::log::setMask(0);
  int x = 0;
  for (auto _ : state) x = untraced(x);
  benchmark::DoNotOptimize(x);
}

void BM_TracedMaskOff(benchmark::State& state) {
  orvane::log::setMask(0);
  int x = 0;
  for (auto _ : state) x = traced(x);
  benchmark::DoNotOptimize(x);
}

void BM_TracedMaskOn(benchmark::State& state) {
  orvane::log::logToStream(std::make_shared<std::ostringstream>());
  orvane::log::setMask(orvane::log::kScopeEntry | orvane::log::kScopeExit);
  int x = 0;
  for (auto _ : state) x = traced(x);
  orvane::log::setMask(0);
  orvane::log::logToStderr();
  benchmark::DoNotOptimize(x);
}

}  // namespace

BENCHMARK(BM_Untraced);
BENCHMARK(BM_TracedMaskOff);
BENCHMARK(BM_TracedMaskOn);
BENCHMARK_MAIN();
