// Benchmark support: the best wall time of a few runs.
#pragma once

#include <algorithm>
#include <chrono>

namespace ovbench {

template <typename F>
double bestSeconds(int repetitions, F&& f) {
  double best = 1e300;
  for (int r = 0; r < repetitions; ++r) {
    const auto start = std::chrono::steady_clock::now();
    f();
    best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

}  // namespace ovbench
