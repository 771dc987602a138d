// Benchmark support: the best wall time of a few runs, and paired runs of
// two contenders.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

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

// `f` and `g` run in turns, `rounds` times: their best wall times, and the
// median of the per-round ratios g / f. Each ratio compares two runs a few
// milliseconds apart, so a slow spell of a shared machine falls on both.
struct Paired {
  double bestF = 1e300;
  double bestG = 1e300;
  double medianRatio = 0;
};

template <typename F, typename G>
Paired pairedSeconds(int rounds, F&& f, G&& g) {
  Paired result;
  std::vector<double> ratios;
  for (int r = 0; r < rounds; ++r) {
    const double tf = bestSeconds(1, f);
    const double tg = bestSeconds(1, g);
    result.bestF = std::min(result.bestF, tf);
    result.bestG = std::min(result.bestG, tg);
    ratios.push_back(tg / tf);
  }
  std::sort(ratios.begin(), ratios.end());
  result.medianRatio = ratios.empty() ? 0 : ratios[ratios.size() / 2];
  return result;
}

}  // namespace ovbench
