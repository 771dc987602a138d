// Questions every other part asks about a Parquet file: how many row groups
// (of one file, or of many, one after another or in parallel), how many rows
// each holds, where each starts, and the names and host types of the
// top-level variables of a schema. Stateless; none of these traces.
#pragma once

#include <ovparquet/core/Types.hpp>

#include <arrow/type_fwd.h>
#include <parquet/metadata.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace orvane::io::parquet::core::info {

// Opens the file and returns its number of row groups. On the host's signal
// thread a pending interrupt is raised after the file was opened.
int openAndGetRowGroups(const ustring& filename);

// Row-group counts of many files, in list order; the first failure ends the
// call. The parallel form runs the files as oneTBB tasks in the caller's
// task arena and starts no parallel work for an empty list.
//
// Interrupts in the parallel form: only the host's signal thread looks at the
// interrupt flag, and oneTBB lets the calling thread run part of the loop
// itself. Called from any other thread, the count never checks, and an
// interrupt takes effect only after the loop returns. Called from the signal
// thread, the files that thread counts itself do check, so a pending
// interrupt is raised from inside the loop, cancels the rest of it and
// propagates like any other failure.
std::vector<std::int64_t> getNumRowGroupsSync(std::vector<ustring> filenames);
std::vector<std::int64_t> getNumRowGroupsAsync(std::vector<ustring> filenames);

VariableNames getVariableNames(std::shared_ptr<::arrow::Schema> schema);
// "" for a field whose type has no host class.
VariableTypes getVariableTypes(std::shared_ptr<::arrow::Schema> schema);

std::vector<std::int64_t> getRowGroupHeights(const ::parquet::FileMetaData& metadata);
std::vector<std::int64_t> getRowGroupOffsets(const ::parquet::FileMetaData& metadata);

}  // namespace orvane::io::parquet::core::info

namespace orvane::io::parquet::core::read {

// Byte offset of a row group: its first column chunk's dictionary page when
// it has one, otherwise that chunk's first data page. Other chunks are not
// consulted.
std::int64_t calculateRowGroupOffset(const ::parquet::RowGroupMetaData& rowGroup);

// The row-group count as a number.
double getNumRowGroups(const ::parquet::FileMetaData& metadata);

}  // namespace orvane::io::parquet::core::read
