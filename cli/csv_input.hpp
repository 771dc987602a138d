// CSV input of `write`, read in blocks by Arrow's streaming CSV reader: the
// types of the columns come from the first block, and memory stays bounded
// by the rows asked for plus a block.
#pragma once

#include "write_input.hpp"

#include <arrow/csv/api.h>
#include <arrow/record_batch.h>

#include <deque>
#include <memory>

namespace ovparquet::cli {

class CsvInput : public WriteInput {
 public:
  // `name` is a file or "-" (standard input).
  CsvInput(const std::string& name, char delimiter);

  const std::string& name() const override { return mName; }
  bool cutsAnywhere() const override { return true; }
  unique_ovarray_ptr next(std::uint64_t rows) override;
  unique_ovarray_ptr empty() override;
  double progress() const override;

 private:
  [[noreturn]] void fail(const ::arrow::Status& status) const;
  bool readBlock();

  std::string mName;
  std::int64_t mSize = 0;  // bytes; 0 when unknown (standard input)
  std::shared_ptr<::arrow::csv::StreamingReader> mReader;
  std::deque<std::shared_ptr<::arrow::RecordBatch>> mBlocks;
  std::uint64_t mAvailable = 0;  // rows in mBlocks
  bool mEnded = false;
};

}  // namespace ovparquet::cli
