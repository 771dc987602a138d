// The rows of chosen row groups and variables of one Parquet file, delivered
// as host tables of a bounded number of rows (Arrow's record-batch reader):
// reading stops as soon as the caller has enough, and memory stays bounded by
// a few batches whatever the size of the row groups.
#pragma once

#include <ovparquet/host/array.hpp>
#include <ovparquet/host/ustring.hpp>

#include <arrow/record_batch.h>
#include <parquet/arrow/reader.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace ovparquet::cli {

class BatchStream {
 public:
  // `rowGroups` are 0-based; `variables` the top-level names in output
  // order. Batches hold at most `batchRows` rows (a head of a few rows asks
  // for that many, so that no more is decoded).
  BatchStream(const orvane::ustring& file, const std::vector<int>& rowGroups,
              const std::vector<orvane::ustring>& variables, std::int64_t batchRows);

  // The next batch as a host table of the selected variables, in their
  // order; null at the end.
  unique_ovarray_ptr next();

  // The next batch as Arrow has it; null at the end.
  std::shared_ptr<::arrow::RecordBatch> nextArrow();

 private:
  orvane::ustring mFile;
  std::unique_ptr<::parquet::arrow::FileReader> mFileReader;
  std::unique_ptr<::arrow::RecordBatchReader> mBatches;
};

}  // namespace ovparquet::cli
