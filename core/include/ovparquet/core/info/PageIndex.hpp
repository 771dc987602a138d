// The page index of a Parquet file decoded: for each column chunk that has
// one, per data page its first row, byte offset and compressed size (the
// offset index) and its null count and bounds (the column index). Readers
// use it to skip pages; shown to a user it tells how finely a filter can
// prune inside a row group.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvane::io::parquet::core::info {

using orvane::ustring;

struct PageIndexEntry {
  std::int64_t firstRow = 0;  // within the row group, 0-based
  std::int64_t numRows = 0;
  std::int64_t offset = 0;
  std::int64_t compressedBytes = 0;  // page header included
  // From the column index, when the chunk has one:
  bool nullPage = false;                 // every value of the page is null
  std::optional<std::int64_t> nullCount;  // when the writer recorded it
  std::optional<std::string> min;         // physical values as text; none for null pages
  std::optional<std::string> max;
};

struct ColumnChunkPages {
  int rowGroup = 0;  // 0-based
  int column = 0;    // 0-based leaf column
  std::string path;
  bool hasOffsetIndex = false;
  bool hasColumnIndex = false;
  std::string boundaryOrder;  // "ascending", "descending", "unordered" or "" without column index
  std::vector<PageIndexEntry> pages;  // empty without offset index
};

// The page index of the given leaf columns (0-based; all when empty) in
// every row group, row group by row group. Raises the host's opening errors,
// "InternalInvalidRead" (file name, reason) for a broken file or index, and
// "InternalInvalidRead" naming a column index out of range.
std::vector<ColumnChunkPages> readPageIndex(const ustring& filename, const std::vector<int>& columns = {});

}  // namespace orvane::io::parquet::core::info
