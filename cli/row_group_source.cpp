#include "row_group_source.hpp"

#include "errors.hpp"
#include "rows.hpp"

#include <ovparquet/host/interrupt.hpp>

#include <chrono>
#include <limits>

namespace ovparquet::cli {

RowGroupSource::RowGroupSource(InputChain& input, const WriteOptions& options) : mInput(input) {
  if (!options.rowGroupHeights.empty()) {
    mHeights.assign(options.rowGroupHeights.begin(), options.rowGroupHeights.end());
  } else if (options.rowGroupLength) {
    mLength = static_cast<std::uint64_t>(*options.rowGroupLength);
  } else if (input.anyCsv()) {
    mLength = static_cast<std::uint64_t>(kDefaultRowGroupLength);
  }
}

void RowGroupSource::mismatch() {
  // Count the rest, so that the message can say how many rows there are.
  std::uint64_t total = mRows + mAvailable;
  while (auto chunk = mInput.next(std::numeric_limits<std::uint32_t>::max())) total += ovTableNumRows(chunk.get());
  std::uint64_t sum = 0;
  for (const auto h : mHeights) sum += h;
  throw CliError("RowGroupHeightsMismatch", "The row-group heights add up to " + std::to_string(sum) + " rows, but '" +
                                                mInput.name() + "' has " + std::to_string(total) + " rows.");
}

unique_ovarray_ptr RowGroupSource::next() {
  if (!mHeights.empty()) {
    if (mNextHeight == mHeights.size()) {
      if (auto extra = take(1)) {
        mRows += ovTableNumRows(extra.get());
        mismatch();
      }
      return nullptr;
    }
    const std::uint64_t height = mHeights[mNextHeight++];
    auto table = take(height);
    const std::uint64_t got = table ? ovTableNumRows(table.get()) : 0;
    mRows += got;
    if (got < height) mismatch();
    return table;
  }
  if (mLength == 0) {
    // The inputs' own row groups, except empty ones.
    auto table = mInput.next(0);
    while (table && ovTableNumRows(table.get()) == 0) table = mInput.next(0);
    if (table) mRows += ovTableNumRows(table.get());
    return table;
  }
  auto table = take(mLength);
  if (table) mRows += ovTableNumRows(table.get());
  return table;
}

unique_ovarray_ptr RowGroupSource::take(std::uint64_t height) {
  while (mAvailable < height) {
    auto chunk = mInput.next(height - mAvailable);
    if (!chunk) break;
    const std::uint64_t rows = ovTableNumRows(chunk.get());
    if (rows == 0) continue;
    mAvailable += rows;
    mPending.push_back(std::move(chunk));
  }
  if (mPending.empty()) return nullptr;
  if (mFirstRow == 0 && ovTableNumRows(mPending.front().get()) == height) {
    // A chunk that is exactly the row group: no copy.
    auto table = std::move(mPending.front());
    mPending.pop_front();
    mAvailable -= height;
    return table;
  }
  std::vector<RowPick> pieces;
  std::uint64_t need = height;
  std::size_t used = 0;
  for (auto& chunk : mPending) {
    const std::size_t rows = ovTableNumRows(chunk.get());
    const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(need, rows - mFirstRow));
    pieces.push_back({chunk.get(), rowRange(mFirstRow, mFirstRow + n)});
    need -= n;
    if (mFirstRow + n == rows) {
      ++used;
      mFirstRow = 0;
    } else {
      mFirstRow += n;
    }
    if (need == 0) break;
  }
  std::vector<std::size_t> all(ovTableNumVariables(mPending.front().get()));
  for (std::size_t v = 0; v < all.size(); ++v) all[v] = v;
  auto table = gatherTable(pieces, all);
  mAvailable -= ovTableNumRows(table.get());
  mPending.erase(mPending.begin(), mPending.begin() + static_cast<std::ptrdiff_t>(used));
  return table;
}

PrefetchedRowGroups::PrefetchedRowGroups(RowGroupSource& source) : mSource(source) { start(); }

PrefetchedRowGroups::~PrefetchedRowGroups() {
  // The reader works on the source, which outlives this: let it finish (it
  // stops early on Ctrl-C).
  if (mNext.valid()) mNext.wait();
}

void PrefetchedRowGroups::start() {
  mNext = std::async(std::launch::async, [this] {
    Fetched fetched;
    fetched.table = mSource.next();
    fetched.progress = mSource.progress();
    return fetched;
  });
}

unique_ovarray_ptr PrefetchedRowGroups::next() {
  while (mNext.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready) {
    orvane::throwIfInterruptPending();
  }
  Fetched fetched = mNext.get();
  mProgress = fetched.progress;
  if (fetched.table) start();
  return std::move(fetched.table);
}

}  // namespace ovparquet::cli
