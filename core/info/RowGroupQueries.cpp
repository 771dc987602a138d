#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/RowGroupQueries.hpp>

#include <ovparquet/convert.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/parallel.hpp>

#include <arrow/memory_pool.h>
#include <arrow/type.h>
#include <parquet/arrow/reader.h>
#include <parquet/file_reader.h>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>

namespace orvane::io::parquet::core::info {

int openAndGetRowGroups(const ustring& filename) {
  std::unique_ptr<::parquet::arrow::FileReader> reader;
  ::arrow::Status status;
  {
    // The reader keeps its own reference to the file.
    std::shared_ptr<::arrow::io::RandomAccessFile> file = common::makeReadableFilePtr(filename);
    status = ::parquet::arrow::OpenFile(std::move(file), ::arrow::default_memory_pool(), &reader);
  }
  common::throwReadExceptIfNotOk(status, filename);
  // Only the signal thread may look at the host's interrupt state.
  if (orvane::isSignalThread()) orvane::throwIfInterruptPending();
  return reader->parquet_reader()->metadata()->num_row_groups();
}

std::vector<std::int64_t> getNumRowGroupsSync(std::vector<ustring> filenames) {
  std::vector<std::int64_t> counts;
  if (filenames.empty()) return counts;
  counts.reserve(filenames.size());
  for (const auto& filename : filenames) counts.push_back(openAndGetRowGroups(filename));
  return counts;
}

std::vector<std::int64_t> getNumRowGroupsAsync(std::vector<ustring> filenames) {
  std::vector<std::int64_t> counts(filenames.size(), 0);
  if (filenames.empty()) return counts;
  // Each element is written by exactly one task; the first exception cancels
  // the loop and is rethrown here. The calling thread runs tasks too: on the
  // signal thread those check for a pending interrupt (see the header).
  // (The hand-over marks are for ThreadSanitizer builds: see parallel.hpp.)
  orvane::handOver(&counts);
  tbb::parallel_for(
      tbb::blocked_range<std::size_t>(0, filenames.size()),
      [&counts, &filenames](const tbb::blocked_range<std::size_t>& range) {
        orvane::takeOver(&counts);
        for (std::size_t i = range.begin(); i != range.end(); ++i) {
          counts[i] = openAndGetRowGroups(filenames[i]);
        }
        orvane::handOver(&counts);
      },
      tbb::auto_partitioner());
  orvane::takeOver(&counts);
  return counts;
}

VariableNames getVariableNames(std::shared_ptr<::arrow::Schema> schema) {
  VariableNames names;
  names.reserve(static_cast<std::size_t>(schema->num_fields()));
  for (const auto& field : schema->fields()) names.push_back(orvane::utf8_to_ustring(field->name()));
  return names;
}

VariableTypes getVariableTypes(std::shared_ptr<::arrow::Schema> schema) {
  VariableTypes types;
  types.reserve(static_cast<std::size_t>(schema->num_fields()));
  for (const auto& field : schema->fields()) {
    types.push_back(orvane::io::arrow::core::to_orvane_datatype(field->type()).value_or(std::string()));
  }
  return types;
}

std::vector<std::int64_t> getRowGroupHeights(const ::parquet::FileMetaData& metadata) {
  std::vector<std::int64_t> heights;
  heights.reserve(static_cast<std::size_t>(metadata.num_row_groups()));
  for (int i = 0; i < metadata.num_row_groups(); ++i) heights.push_back(metadata.RowGroup(i)->num_rows());
  return heights;
}

std::vector<std::int64_t> getRowGroupOffsets(const ::parquet::FileMetaData& metadata) {
  std::vector<std::int64_t> offsets;
  offsets.reserve(static_cast<std::size_t>(metadata.num_row_groups()));
  for (int i = 0; i < metadata.num_row_groups(); ++i) {
    offsets.push_back(read::calculateRowGroupOffset(*metadata.RowGroup(i)));
  }
  return offsets;
}

}  // namespace orvane::io::parquet::core::info

namespace orvane::io::parquet::core::read {

std::int64_t calculateRowGroupOffset(const ::parquet::RowGroupMetaData& rowGroup) {
  const auto chunk = rowGroup.ColumnChunk(0);
  return chunk->has_dictionary_page() ? chunk->dictionary_page_offset() : chunk->data_page_offset();
}

double getNumRowGroups(const ::parquet::FileMetaData& metadata) {
  return static_cast<double>(metadata.num_row_groups());
}

}  // namespace orvane::io::parquet::core::read
