// The page index decoded with Parquet's PageIndexReader.
#include <ovparquet/core/common/Log.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/PageIndex.hpp>

#include <parquet/file_reader.h>
#include <parquet/metadata.h>
#include <parquet/page_index.h>
#include <parquet/schema.h>
#include <parquet/types.h>

#include <numeric>

namespace orvane::io::parquet::core::info {
namespace {
constexpr const char* kTraceSource = "info/PageIndex";

std::string boundaryOrderName(::parquet::BoundaryOrder::type order) {
  switch (order) {
    case ::parquet::BoundaryOrder::Ascending: return "ascending";
    case ::parquet::BoundaryOrder::Descending: return "descending";
    default: return "unordered";
  }
}

// Row ranges and places of the pages, from the offset index.
std::vector<PageIndexEntry> pageEntries(const ::parquet::OffsetIndex& offsets, std::int64_t rowGroupRows) {
  const auto& locations = offsets.page_locations();
  std::vector<PageIndexEntry> pages;
  for (std::size_t p = 0; p < locations.size(); ++p) {
    PageIndexEntry page;
    page.firstRow = locations[p].first_row_index;
    const std::int64_t end = p + 1 < locations.size() ? locations[p + 1].first_row_index : rowGroupRows;
    page.numRows = end - page.firstRow;
    page.offset = locations[p].offset;
    page.compressedBytes = locations[p].compressed_page_size;
    pages.push_back(page);
  }
  return pages;
}

// Null counts and bounds, from the column index; pages beyond those the
// offset index listed are added (a column index without offset index).
void addColumnIndex(const ::parquet::ColumnIndex& index, ::parquet::Type::type physical,
                    std::vector<PageIndexEntry>& pages) {
  const auto& nulls = index.null_pages();
  if (pages.size() < nulls.size()) pages.resize(nulls.size());
  for (std::size_t p = 0; p < nulls.size(); ++p) {
    PageIndexEntry& page = pages[p];
    page.nullPage = nulls[p];
    if (index.has_null_counts() && p < index.null_counts().size()) page.nullCount = index.null_counts()[p];
    if (page.nullPage) continue;
    if (p < index.encoded_min_values().size()) page.min = ::parquet::FormatStatValue(physical, index.encoded_min_values()[p]);
    if (p < index.encoded_max_values().size()) page.max = ::parquet::FormatStatValue(physical, index.encoded_max_values()[p]);
  }
}

std::vector<ColumnChunkPages> decode(::parquet::ParquetFileReader& reader, const ustring& filename,
                                     std::vector<int> columns) {
  const auto metadata = reader.metadata();
  if (columns.empty()) {
    columns.resize(static_cast<std::size_t>(metadata->num_columns()));
    std::iota(columns.begin(), columns.end(), 0);
  }
  for (const int c : columns) {
    if (c < 0 || c >= metadata->num_columns()) {
      common::throwInvalidRead(filename, orvane::to_ustring("no leaf column " + std::to_string(c)));
    }
  }
  const auto pageIndex = reader.GetPageIndexReader();
  std::vector<ColumnChunkPages> chunks;
  for (int r = 0; r < metadata->num_row_groups(); ++r) {
    const auto rowGroup = metadata->RowGroup(r);
    const auto rowGroupIndex = pageIndex ? pageIndex->RowGroup(r) : nullptr;
    for (const int c : columns) {
      ColumnChunkPages chunk;
      chunk.rowGroup = r;
      chunk.column = c;
      chunk.path = metadata->schema()->Column(c)->path()->ToDotString();
      if (rowGroupIndex) {
        if (const auto offsets = rowGroupIndex->GetOffsetIndex(c)) {
          chunk.hasOffsetIndex = true;
          chunk.pages = pageEntries(*offsets, rowGroup->num_rows());
        }
        if (const auto index = rowGroupIndex->GetColumnIndex(c)) {
          chunk.hasColumnIndex = true;
          chunk.boundaryOrder = boundaryOrderName(index->boundary_order());
          addColumnIndex(*index, metadata->schema()->Column(c)->physical_type(), chunk.pages);
        }
      }
      chunks.push_back(std::move(chunk));
    }
  }
  return chunks;
}

}  // namespace

std::vector<ColumnChunkPages> readPageIndex(const ustring& filename, const std::vector<int>& columns) {
  OVPARQUET_TRACE();
  common::logDetail("filename", filename);
  auto file = common::makeReadableFilePtr(filename);
  const ustring name = file->GetFilename();
  try {
    const auto reader = ::parquet::ParquetFileReader::Open(file);
    return decode(*reader, name, columns);
  } catch (const common::MessageError&) {
    throw;
  } catch (const std::exception& e) {
    common::logCaughtException();
    common::throwInvalidRead(name, orvane::to_ustring(e.what()));
  }
}

}  // namespace orvane::io::parquet::core::info
