// Work on many files where one failing file does not stop the others: each
// file gets its result or its failure, and the failures are reported one
// line each after the results are shown.
#pragma once

#include "errors.hpp"
#include "file_errors.hpp"
#include "progress.hpp"

#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/threads.hpp>

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace ovparquet::cli {

template <typename T>
struct FileOutcome {
  std::string location;
  std::optional<T> value;  // set unless the file failed
  std::exception_ptr failure;
};

// Runs work(location) on every file, in parallel unless `sequential`, in
// batches so that the progress bar moves and an interrupt stops the run
// between them. An interrupt raised by the work stops the run too.
template <typename T, typename Work>
std::vector<FileOutcome<T>> runPerFile(const std::vector<std::string>& files, bool sequential, const std::string& label,
                                       Work work) {
  std::vector<FileOutcome<T>> outcomes(files.size());
  const auto one = [&](std::size_t i) {
    outcomes[i].location = files[i];
    try {
      outcomes[i].value = namingFile(files[i], [&] { return work(files[i]); });
    } catch (const orvane::InterruptError&) {
      throw;
    } catch (...) {
      outcomes[i].failure = std::current_exception();
    }
  };
  const std::size_t batch = std::max<std::size_t>(16, 4 * orvane::computationalThreadCount());
  ProgressBar progress(label, files.size());
  tbb::task_arena arena(static_cast<int>(orvane::computationalThreadCount()));
  for (std::size_t start = 0; start < files.size(); start += batch) {
    orvane::throwIfInterruptPending();
    const std::size_t end = std::min(files.size(), start + batch);
    if (sequential) {
      for (std::size_t i = start; i < end; ++i) one(i);
    } else {
      arena.execute([&] { tbb::parallel_for(start, end, one); });
    }
    progress.update(end);
  }
  orvane::throwIfInterruptPending();
  progress.finish();
  return outcomes;
}

// Reports each failure on its own line of standard error, in file order;
// returns the exit status: 0 when every file succeeded.
template <typename T>
int reportFailures(const std::vector<FileOutcome<T>>& outcomes) {
  int status = kExitOk;
  for (const auto& outcome : outcomes) {
    if (!outcome.failure) continue;
    try {
      std::rethrow_exception(outcome.failure);
    } catch (...) {
      status = std::max(status, reportCurrentException());
    }
  }
  return status;
}

}  // namespace ovparquet::cli
