// Split planning from listings and file sizes.
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/read/Splits.hpp>
#include <ovparquet/host/stream.hpp>

#include <algorithm>
#include <cctype>
#include <string>

namespace orvane::io::parquet::core::read {
namespace {

using common::makeMessage;
using common::MessageException;

// The last component of a path, or of an IRI without its query or fragment.
std::string baseName(const std::string& name) {
  const std::size_t scheme = name.find("://");
  const std::string path = scheme == std::string::npos ? name : name.substr(0, name.find_first_of("?#", scheme));
  return path.substr(path.rfind('/') + 1);
}

bool isParquetName(const std::string& base) {
  if (base.size() < 8 || base.front() == '.') return false;
  std::string ext = base.substr(base.size() - 8);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext == ".parquet";
}

// The size in bytes, from opening the file (a metadata request on an object
// store); nothing is read.
std::int64_t fileSize(const ustring& location) {
  orvane::vfs::CleanupFile cleanup(orvane::vfs::OpenMode::Read, orvane::vfs::CleanupPolicy::Keep);
  auto stream = orvane::vfs::openBinaryStream(location, cleanup, orvane::vfs::OpenMode::Read, false);
  const std::int64_t size = stream->size();
  stream->fileHandle()->close();
  return size;
}

}  // namespace

std::vector<ustring> parquetFiles(const std::vector<ustring>& locations) {
  std::vector<ustring> files;
  for (const auto& location : locations) {
    const orvane::vfs::Listing listing = orvane::vfs::listLocation(location);
    if (!listing.isDirectory) {
      files.push_back(location);
      continue;
    }
    const std::size_t before = files.size();
    for (const auto& file : listing.files) {
      if (isParquetName(baseName(orvane::ustring_to_utf8(file)))) files.push_back(file);
    }
    if (files.size() == before) {
      using Tag = ORVANE::parquetio::read::NoParquetFiles;
      throw MessageException<Tag>(makeMessage<Tag>(location));
    }
  }
  return files;
}

std::vector<Split> cutFile(const ustring& location, std::int64_t fileSize, std::int64_t splitSize) {
  std::vector<Split> splits;
  if (fileSize <= 0) {
    splits.push_back(Split{location, 0, 0});
    return splits;
  }
  for (std::int64_t offset = 0; offset < fileSize; offset += splitSize) {
    splits.push_back(Split{location, offset, std::min(splitSize, fileSize - offset)});
  }
  return splits;
}

std::vector<Split> planSplits(const std::vector<ustring>& locations, std::int64_t splitSize) {
  if (splitSize < 1) {
    using Tag = ORVANE::parquetio::read::InvalidSplitSize;
    throw MessageException<Tag>(makeMessage<Tag>(std::to_string(splitSize)));
  }
  std::vector<Split> splits;
  for (const auto& file : parquetFiles(locations)) {
    auto more = cutFile(file, fileSize(file), splitSize);
    splits.insert(splits.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
  }
  return splits;
}

}  // namespace orvane::io::parquet::core::read
