#include "batch_stream.hpp"

#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/read/ParquetReader.hpp>
#include <ovparquet/host/threads.hpp>

#include <arrow/table.h>
#include <arrow/util/thread_pool.h>

namespace ovparquet::cli {

namespace core = orvane::io::parquet::core;

BatchStream::BatchStream(const orvane::ustring& file, const std::vector<int>& rowGroups,
                         const std::vector<orvane::ustring>& variables, std::int64_t batchRows) {
  auto input = core::common::makeReadableFilePtr(file);
  mFile = input->GetFilename();
  ::parquet::ArrowReaderProperties properties;
  properties.set_batch_size(batchRows);
  // Columns decode in parallel on Arrow's pool; pages are read as needed,
  // not whole column chunks ahead, so a head reads little.
  properties.set_use_threads(orvane::computationalThreadCount() > 1);
  properties.set_pre_buffer(false);
  core::common::throwReadExceptIfNotOk(
      ::arrow::SetCpuThreadPoolCapacity(static_cast<int>(orvane::computationalThreadCount())), mFile);
  ::parquet::arrow::FileReaderBuilder builder;
  core::common::throwReadExceptIfNotOk(builder.Open(input), mFile);
  core::common::throwReadExceptIfNotOk(builder.properties(properties)->Build(&mFileReader), mFile);

  core::read::ParquetReader::SelectedVariables selection;
  core::common::throwReadExceptIfNotOk(selection.init(&mFileReader->manifest()), mFile);
  core::common::throwReadExceptIfNotOk(selection.setSelectedIndices(variables), mFile);
  core::common::throwReadExceptIfNotOk(
      mFileReader->GetRecordBatchReader(rowGroups, selection.parquetColumnIndices(), &mBatches), mFile);
}

std::shared_ptr<::arrow::RecordBatch> BatchStream::nextArrow() {
  std::shared_ptr<::arrow::RecordBatch> batch;
  core::common::throwReadExceptIfNotOk(mBatches->ReadNext(&batch), mFile);
  return batch;
}

unique_ovarray_ptr BatchStream::next() {
  auto batch = nextArrow();
  if (!batch) return nullptr;
  auto table = ::arrow::Table::FromRecordBatches({batch});
  core::common::throwReadExceptIfNotOk(table.status(), mFile);
  return core::read::arrow_to_orvane(*table, mFile);
}

}  // namespace ovparquet::cli
