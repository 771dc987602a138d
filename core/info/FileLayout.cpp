// Footer facts of a file, for inspection.
#include <ovparquet/core/common/Log.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/info/FileLayout.hpp>

#include <arrow/util/compression.h>
#include <arrow/util/key_value_metadata.h>
#include <parquet/file_reader.h>
#include <parquet/schema.h>

namespace orvane::io::parquet::core::info {
namespace {
constexpr const char* kTraceSource = "info/FileLayout";
}  // namespace

FileSummary summarize(const ::parquet::FileMetaData& metadata, const ustring& filename, std::int64_t fileSize) {
  OVPARQUET_TRACE();
  FileSummary summary;
  summary.filename = filename;
  summary.fileSize = fileSize;
  summary.numRows = metadata.num_rows();
  summary.numRowGroups = metadata.num_row_groups();
  summary.numVariables = metadata.schema()->group_node()->field_count();
  summary.numLeafColumns = metadata.num_columns();
  summary.createdBy = metadata.created_by();
  if (const auto& pairs = metadata.key_value_metadata()) {
    for (std::int64_t i = 0; i < pairs->size(); ++i) summary.keyValueMetadata.emplace_back(pairs->key(i), pairs->value(i));
  }
  return summary;
}

FileSummary readFileSummary(const ustring& filename) {
  OVPARQUET_TRACE();
  return readFileLayout(filename).summary;
}

FileLayout readFileLayout(const ustring& filename) {
  OVPARQUET_TRACE();
  common::logDetail("filename", filename);
  // Opening errors of the host already say what is wrong with the location.
  auto file = common::makeReadableFilePtr(filename);
  const ustring name = file->GetFilename();
  try {
    const auto size = file->GetSize();
    common::throwReadExceptIfNotOk(size.status(), name);
    const auto reader = ::parquet::ParquetFileReader::Open(file);
    const auto metadata = reader->metadata();
    return FileLayout{summarize(*metadata, name, *size), columnChunkLayouts(*metadata)};
  } catch (const common::MessageError&) {
    throw;
  } catch (const std::exception& e) {
    common::logCaughtException();
    common::throwInvalidRead(name, orvane::to_ustring(e.what()));
  }
}

std::vector<ColumnChunkLayout> columnChunkLayouts(const ::parquet::FileMetaData& metadata) {
  OVPARQUET_TRACE();
  std::vector<ColumnChunkLayout> layouts;
  for (int r = 0; r < metadata.num_row_groups(); ++r) {
    const auto rowGroup = metadata.RowGroup(r);
    for (int c = 0; c < rowGroup->num_columns(); ++c) {
      const auto chunk = rowGroup->ColumnChunk(c);
      ColumnChunkLayout layout;
      layout.rowGroup = r;
      layout.column = c;
      layout.path = chunk->path_in_schema()->ToDotString();
      layout.codec = ::arrow::util::Codec::GetCodecAsString(chunk->compression());
      for (const auto encoding : chunk->encodings()) layout.encodings.push_back(::parquet::EncodingToString(encoding));
      layout.numValues = chunk->num_values();
      layout.compressedBytes = chunk->total_compressed_size();
      layout.uncompressedBytes = chunk->total_uncompressed_size();
      layout.hasStatistics = chunk->is_stats_set();
      layout.hasDictionaryPage = chunk->has_dictionary_page();
      layout.hasBloomFilter = chunk->bloom_filter_offset().has_value();
      layout.hasColumnIndex = chunk->GetColumnIndexLocation().has_value();
      layout.hasOffsetIndex = chunk->GetOffsetIndexLocation().has_value();
      layouts.push_back(std::move(layout));
    }
  }
  return layouts;
}

}  // namespace orvane::io::parquet::core::info
