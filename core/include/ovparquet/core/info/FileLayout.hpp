// How a Parquet file is laid out, from its footer: a short summary of the
// whole file, and per row group and column chunk the codec, the encodings,
// the sizes and which optional structures (statistics, dictionary page,
// bloom filter, page index) it carries. These answer what a user inspecting
// a file asks about its storage; reading the data needs none of them.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <parquet/metadata.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orvane::io::parquet::core::info {

using orvane::ustring;

struct FileSummary {
  ustring filename;  // the adapter's name: a local path or the location text
  std::int64_t fileSize = 0;
  std::int64_t numRows = 0;
  std::int64_t numRowGroups = 0;
  std::int64_t numVariables = 0;  // top-level fields
  std::int64_t numLeafColumns = 0;
  std::string createdBy;
  std::vector<std::pair<std::string, std::string>> keyValueMetadata;
};

// Reads only the footer. Raises the host's opening errors unchanged and
// "InternalInvalidRead" (file name, reason) when the file is no Parquet file.
FileSummary readFileSummary(const ustring& filename);

// The same facts from a footer already read.
FileSummary summarize(const ::parquet::FileMetaData& metadata, const ustring& filename, std::int64_t fileSize);

struct ColumnChunkLayout {
  int rowGroup = 0;  // 0-based
  int column = 0;    // 0-based leaf column
  std::string path;  // dotted path of the leaf, e.g. "a.list.element"
  std::string codec;  // Arrow's name: "uncompressed", "snappy", "zstd", ...
  std::vector<std::string> encodings;  // every encoding the chunk's pages use, as the footer lists them
  std::int64_t numValues = 0;
  std::int64_t compressedBytes = 0;
  std::int64_t uncompressedBytes = 0;
  bool hasStatistics = false;
  bool hasDictionaryPage = false;
  bool hasBloomFilter = false;
  bool hasColumnIndex = false;
  bool hasOffsetIndex = false;
};

// Every column chunk, row group by row group, leaf by leaf.
std::vector<ColumnChunkLayout> columnChunkLayouts(const ::parquet::FileMetaData& metadata);

struct FileLayout {
  FileSummary summary;
  std::vector<ColumnChunkLayout> chunks;
};

// Reads only the footer; raises as readFileSummary.
FileLayout readFileLayout(const ustring& filename);

}  // namespace orvane::io::parquet::core::info
