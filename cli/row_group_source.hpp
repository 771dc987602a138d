// The row groups `write` writes, cut from the inputs: the heights given,
// the --row-group-length (or, for text input, the program's default), or
// else the input files' own row groups.
#pragma once

#include "input_chain.hpp"
#include "write_options.hpp"

#include <deque>
#include <future>

namespace ovparquet::cli {

class RowGroupSource {
 public:
  RowGroupSource(InputChain& input, const WriteOptions& options);

  // The next row group as one host table; null after the last. Raises
  // "RowGroupHeightsMismatch" when the inputs hold more or fewer rows than
  // the heights given add up to.
  unique_ovarray_ptr next();

  // How far through the inputs the rows handed out so far reach, 0 to 1.
  double progress() const { return mInput.progress(); }

 private:
  // The next `height` rows (fewer at the end of the inputs).
  unique_ovarray_ptr take(std::uint64_t height);
  [[noreturn]] void mismatch();

  InputChain& mInput;
  std::vector<std::uint64_t> mHeights;  // given heights, else empty
  std::uint64_t mLength = 0;            // rows per row group; 0: the inputs' own
  std::size_t mNextHeight = 0;
  std::uint64_t mRows = 0;              // rows handed out so far
  std::deque<unique_ovarray_ptr> mPending;
  std::size_t mFirstRow = 0;            // first unused row of mPending.front()
  std::uint64_t mAvailable = 0;
};

// Reads the next row group on another thread while the caller writes the
// current one. Waiting for it checks for Ctrl-C.
class PrefetchedRowGroups {
 public:
  explicit PrefetchedRowGroups(RowGroupSource& source);
  ~PrefetchedRowGroups();
  PrefetchedRowGroups(const PrefetchedRowGroups&) = delete;
  PrefetchedRowGroups& operator=(const PrefetchedRowGroups&) = delete;

  unique_ovarray_ptr next();

  // The source's progress just after it gave the row group next() returned
  // last. The source itself is busy on the reading thread meanwhile: asking
  // it directly would race with its move to the next input file.
  double progress() const { return mProgress; }

 private:
  struct Fetched {
    unique_ovarray_ptr table;
    double progress = 0;
  };

  void start();

  RowGroupSource& mSource;
  std::future<Fetched> mNext;
  double mProgress = 0;
};

}  // namespace ovparquet::cli
