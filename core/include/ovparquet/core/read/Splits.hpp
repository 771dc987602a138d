// Split planning: the files of some locations cut into byte ranges, so that
// many workers can share one dataset. A split is cut from the file's size
// alone (no footer is read); a row group belongs to the split holding its
// first byte, the rule of RowGroupParquetReader's byte-range constructor, so
// some splits hold no row group and every row group is in exactly one.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <cstdint>
#include <vector>

namespace orvane::io::parquet::core::read {

using orvane::ustring;

// The byte range [offset, offset + size) of one file.
struct Split {
  ustring location;
  std::int64_t offset = 0;
  std::int64_t size = 0;
};

// 128 MiB, the block size distributed file systems cut files into.
inline constexpr std::int64_t kDefaultSplitSize = std::int64_t{128} << 20;

// The files the locations stand for, in order: a directory (or object-store
// prefix) its *.parquet files below it in name order, hidden ones left out;
// anything else itself (opening it later says what is wrong). Raises
// "ORVANE:parquetio:read:NoParquetFiles" for a directory without any, and the
// host's listing errors.
std::vector<ustring> parquetFiles(const std::vector<ustring>& locations);

// Cuts one file of `fileSize` bytes into consecutive ranges of `splitSize`
// bytes, the last one shorter; an empty file gives one empty range, so that
// reading it reports the broken file instead of skipping it.
std::vector<Split> cutFile(const ustring& location, std::int64_t fileSize, std::int64_t splitSize);

// The splits of every file of the locations, file by file. Raises
// "ORVANE:parquetio:read:InvalidSplitSize" unless splitSize >= 1, the errors
// of parquetFiles and those of opening each file (for its size).
std::vector<Split> planSplits(const std::vector<ustring>& locations, std::int64_t splitSize = kDefaultSplitSize);

}  // namespace orvane::io::parquet::core::read
