// Where the rows `read` keeps go: CSV, JSON or NDJSON text written as it
// comes, or the table view collected and shown at the end. Text is
// formatted in blocks on every computational thread and written in order.
#pragma once

#include "options.hpp"

#include <ovparquet/host/array.hpp>

#include <arrow/record_batch.h>

#include <tbb/task_arena.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ovparquet::cli {

class RowSink {
 public:
  RowSink(const GlobalOptions& global, std::vector<std::string> names);

  // Rows of `table` (the output variables are its first ones); `batch` is
  // the Arrow batch the table was converted from.
  void add(const ovArray* table, const std::shared_ptr<::arrow::RecordBatch>& batch,
           const std::vector<std::size_t>& rows);

  // Rows that exist but are not shown (table format only).
  void addUnshown(std::uint64_t rows) { mMore += rows; }

  void finish();

 private:
  Format mFormat;
  bool mNdjson;
  std::vector<std::string> mNames;
  tbb::task_arena mArena;
  std::vector<unique_ovarray_ptr> mShown;
  std::size_t mShownRows = 0;
  std::uint64_t mMore = 0;
  std::size_t mRecords = 0;
  std::vector<std::string> mText;  // formatted blocks of the current batch
  std::size_t mBytesPerRow = 0;    // of the text so far
};

}  // namespace ovparquet::cli
