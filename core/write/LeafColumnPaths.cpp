#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/write/LeafColumnPaths.hpp>

namespace orvane::io::parquet::core::write {
namespace {
constexpr const char* kTraceSource = "write/LeafColumnPaths";

template <typename Tag>
[[noreturn]] void fail() {
  throw common::MessageException<Tag>(common::makeMessage<Tag>());
}
}  // namespace

std::unique_ptr<LeafColumnPaths> LeafColumnPaths::Make(std::vector<uint64_t> offsets, std::vector<ustring> paths) {
  OVPARQUET_TRACE();
  if (offsets.empty() || paths.empty()) fail<ORVANE::parquetio::write::LeafColumnPathsEmpty>();
  for (std::size_t k = 0; k + 1 < offsets.size(); ++k) {
    // Equal neighbours too: every column owns at least one path.
    if (offsets[k] >= offsets[k + 1]) fail<ORVANE::parquetio::write::LeafColumnPathsOffsetsAcending>();
  }
  if (offsets.back() != paths.size()) fail<ORVANE::parquetio::write::LeafColumnPathsSizeMismatch>();
  return std::make_unique<LeafColumnPaths>(std::move(offsets), std::move(paths));
}

LeafColumnPaths::LeafColumnPaths(std::vector<uint64_t> offsets, std::vector<ustring> paths)
    : mOffsets(std::move(offsets)), mPaths(std::move(paths)) {}

std::pair<LeafColumnPaths::const_iterator, LeafColumnPaths::const_iterator> LeafColumnPaths::leaf_paths(
    size_t i) const {
  return {mPaths.begin() + static_cast<std::ptrdiff_t>(mOffsets[i]),
          mPaths.begin() + static_cast<std::ptrdiff_t>(mOffsets[i + 1])};
}

}  // namespace orvane::io::parquet::core::write
