#include "progress.hpp"

#include <unistd.h>

#include <cstdio>
#include <string>

namespace ovparquet::cli {
namespace {

// The bar currently drawn; the program draws at most one at a time.
ProgressBar* gVisibleBar = nullptr;
bool gLineDirty = false;

constexpr std::size_t kBarWidth = 30;
constexpr std::size_t kManyItems = 200;
constexpr auto kLongWork = std::chrono::seconds(1);
constexpr auto kRedrawInterval = std::chrono::milliseconds(100);

}  // namespace

ProgressBar::ProgressBar(std::string label, std::size_t total)
    : mLabel(std::move(label)), mTotal(total), mEnabled(isatty(STDERR_FILENO) == 1),
      mStart(std::chrono::steady_clock::now()), mLastDraw(mStart) {}

ProgressBar::~ProgressBar() { finish(); }

void ProgressBar::update(std::size_t done) {
  if (!mEnabled || mTotal == 0) return;
  const auto now = std::chrono::steady_clock::now();
  if (!mVisible) {
    if (mTotal <= kManyItems && now - mStart < kLongWork) return;
    mVisible = true;
    gVisibleBar = this;
  } else if (now - mLastDraw < kRedrawInterval && done < mTotal) {
    return;
  }
  mLastDraw = now;
  draw(done);
}

void ProgressBar::draw(std::size_t done) {
  const std::size_t filled = mTotal == 0 ? kBarWidth : done * kBarWidth / mTotal;
  std::string bar;
  for (std::size_t i = 0; i < kBarWidth; ++i) bar += i < filled ? "\u2588" : "\u2591";
  std::fprintf(stderr, "\r%s %s %zu/%zu\x1b[K", mLabel.c_str(), bar.c_str(), done, mTotal);
  std::fflush(stderr);
  gLineDirty = true;
}

void ProgressBar::finish() {
  if (mVisible) {
    clearProgressLine();
    mVisible = false;
  }
  if (gVisibleBar == this) gVisibleBar = nullptr;
}

void clearProgressLine() {
  if (!gLineDirty) return;
  std::fputs("\r\x1b[K", stderr);
  std::fflush(stderr);
  gLineDirty = false;
}

}  // namespace ovparquet::cli
