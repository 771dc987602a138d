// The dotted Parquet column paths of the leaf columns of each top-level
// field, as Arrow's Parquet writer names them: what per-variable compression
// and encoding settings are applied to.
//
//   list<int64> "v"                 v.list.element   (v.list.item when not compliant)
//   struct<x, y> "p"                p.x, p.y
//   list<struct<x, y>> "v"          v.list.element.x, v.list.element.y
//   map<string, int64> "m"          m.key_value.key, m.key_value.value
#pragma once

#include <arrow/type_fwd.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ovparquet::cli {

struct LeafPaths {
  // Field i owns paths [offsets[i], offsets[i + 1]).
  std::vector<std::uint64_t> offsets;
  std::vector<std::string> paths;
};

LeafPaths leafColumnPaths(const ::arrow::Schema& schema, bool compliantNestedTypes);

}  // namespace ovparquet::cli
