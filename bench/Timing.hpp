// Benchmark support: the best wall time of a few runs.
#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

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

// The best wall times of `f` and of `g`, run in turns: a slow spell of a
// shared machine then falls on both rather than on one of them.
template <typename F, typename G>
std::pair<double, double> bestSecondsInTurns(int rounds, F&& f, G&& g) {
  std::pair<double, double> best{1e300, 1e300};
  for (int r = 0; r < rounds; ++r) {
    best.first = std::min(best.first, bestSeconds(1, f));
    best.second = std::min(best.second, bestSeconds(1, g));
  }
  return best;
}

}  // namespace ovbench
