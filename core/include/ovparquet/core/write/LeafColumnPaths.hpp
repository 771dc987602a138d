// The dotted paths of the leaf columns of each top-level column, so that
// per-variable write settings reach every leaf of a nested variable.
#pragma once

#include <ovparquet/core/Types.hpp>

#include <arrow/type_fwd.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace orvane::io::parquet::core::write {

class LeafColumnPaths {
 public:
  using const_iterator = std::vector<ustring>::const_iterator;

  // Checks the description: offsets and paths non-empty
  // ("LeafColumnPathsEmpty"), offsets strictly ascending
  // ("LeafColumnPathsOffsetsAcending"), last offset equal to the number of
  // paths ("LeafColumnPathsSizeMismatch").
  static std::unique_ptr<LeafColumnPaths> Make(std::vector<uint64_t> offsets, std::vector<ustring> paths);

  // No checks: column i owns paths [offsets[i], offsets[i+1]).
  LeafColumnPaths(std::vector<uint64_t> offsets, std::vector<ustring> paths);

  // The paths Arrow's Parquet writer gives the leaf columns of each field of
  // `schema`, with or without compliant nested names:
  //   list<int64> "v"                 v.list.element   (v.list.item when not compliant)
  //   struct<x, y> "p"                p.x, p.y
  //   list<struct<x, y>> "v"          v.list.element.x, v.list.element.y
  //   map<string, int64> "m"          m.key_value.key, m.key_value.value
  static LeafColumnPaths ofSchema(const ::arrow::Schema& schema, bool compliantNestedTypes);

  const std::vector<uint64_t>& offsets() const { return mOffsets; }
  const std::vector<ustring>& paths() const { return mPaths; }

  // The paths of top-level column i (i below numTopLevelColumns()).
  std::pair<const_iterator, const_iterator> leaf_paths(size_t i) const;
  size_t numTopLevelColumns() const { return mOffsets.size() - 1; }
  size_t numLeafColumnPaths() const { return mPaths.size(); }

 private:
  std::vector<uint64_t> mOffsets;
  std::vector<ustring> mPaths;
};

}  // namespace orvane::io::parquet::core::write
