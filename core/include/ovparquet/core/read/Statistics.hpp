// Row-group statistics: what the footer of a Parquet file says about each
// row group of chosen variables (null counts, distinct counts, minima and
// maxima), gathered without reading any column data. The host uses them to
// skip row groups when it filters rows.
#pragma once

#include <ovparquet/host/array.hpp>

#include <arrow/type_fwd.h>
#include <parquet/arrow/schema.h>
#include <parquet/metadata.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace orvane::io::parquet::core::read {

// The statistics of R row groups of V variables. Element (r, v) of each
// R-by-V array describes row group r (0-based) of the v-th requested
// variable; arrays are column-major, so its linear position is r + v*R.
struct Statistics {
  // R-by-V logical: whether the column chunk carries a usable null count.
  unique_ovarray_ptr nullCountValid;
  // R-by-V logical: whether it carries a usable distinct count.
  unique_ovarray_ptr distinctCountValid;
  // R-by-V logical: whether a minimum and maximum were found and converted.
  unique_ovarray_ptr minMaxValid;
  // R-by-V int64: the null count where valid, else 0.
  unique_ovarray_ptr nullCounts;
  // R-by-V int64: the distinct count where valid, else 0.
  unique_ovarray_ptr distinctCounts;
  // 1-by-V cells: element v holds the R minima (maxima) of variable v as one
  // host array of the variable's own type; a row group without a usable
  // value holds the type's missing value. An element stays empty when there
  // are no row groups or the values cannot be converted to a host array.
  unique_ovarray_ptr minValues;
  unique_ovarray_ptr maxValues;
};

// Gathers the statistics of the top-level fields `variableIndices` (0-based
// indices into `schema`, which must describe the same fields as `manifest`),
// in the given order, duplicates allowed; every field when no list is given.
//
// Raises "InternalError" for an index outside the schema, and
// "UnsupportedRowFilterVariable" (or "InternalUnsupportedParquetType" when
// the type has no host class) for a variable whose type cannot be filtered
// on: only null, logical, integer, float, double, string and date/time
// types can. Missing or unusable statistics are not errors: they show as a
// false flag, a zero count and a missing minimum and maximum.
Statistics read_statistics(std::shared_ptr<::parquet::FileMetaData> metadata,
                           std::shared_ptr<::arrow::Schema> schema,
                           const ::parquet::arrow::SchemaManifest& manifest,
                           std::optional<std::vector<int32_t>> variableIndices);

}  // namespace orvane::io::parquet::core::read
