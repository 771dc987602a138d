// A one-line progress bar on standard error, shown only when standard error
// is a terminal and the work turns out to be long: more than 200 items, or
// still running after a second.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace ovparquet::cli {

class ProgressBar {
 public:
  ProgressBar(std::string label, std::size_t total);
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  // Reports that `done` of the total items are finished.
  void update(std::size_t done);
  // Removes the bar from the terminal.
  void finish();

 private:
  void draw(std::size_t done);

  std::string mLabel;
  std::size_t mTotal;
  bool mEnabled;
  bool mVisible = false;
  std::chrono::steady_clock::time_point mStart;
  std::chrono::steady_clock::time_point mLastDraw;
};

// Erases the visible progress line, if any, so that a message can be written
// on a clean line. Safe to call at any time.
void clearProgressLine();

}  // namespace ovparquet::cli
