// The page index keeps each page's bounds as physical values. Shown to a
// user they read as the column's values do: a date as 2024-01-02, a time
// stamp as 2024-01-02T03:04:05.000000Z, a decimal with its point, an
// unsigned integer without a sign, bytes that are not text in hex.
#pragma once

#include <ovparquet/core/info/PageIndex.hpp>

#include <parquet/schema.h>

#include <vector>

namespace ovparquet::cli {

// Rewrites the bounds of every page of `chunks` by their columns' logical
// types in `schema`; bounds it cannot decode stay as they are.
void decodePageBounds(std::vector<orvane::io::parquet::core::info::ColumnChunkPages>& chunks,
                      const ::parquet::SchemaDescriptor& schema);

}  // namespace ovparquet::cli
