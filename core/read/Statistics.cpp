#include <ovparquet/convert.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/core/read/Statistics.hpp>

#include <arrow/array.h>
#include <arrow/array/concatenate.h>
#include <arrow/array/util.h>
#include <arrow/memory_pool.h>
#include <arrow/scalar.h>
#include <arrow/type.h>
#include <parquet/arrow/reader.h>
#include <parquet/statistics.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <numeric>
#include <ostream>
#include <string>
#include <utility>

namespace orvane::io::parquet::core::read {
namespace {
constexpr const char* kTraceSource = "read/Statistics";

constexpr unsigned kStatisticsLog = orvane::log::kStatistics;

// The minimum and the maximum of one column chunk, each an array of length 1
// of the field's type.
using min_max_pair = std::pair<std::shared_ptr<::arrow::Array>, std::shared_ptr<::arrow::Array>>;

// The types the host can filter rows on: null, logical, the integers, float,
// double, strings, dates, times and timestamps. Half floats, decimals,
// binaries, durations, intervals, dictionaries and nested types cannot be.
// The set is held as bits over the type ids 0..34; every id past that range
// is rejected.
constexpr int kLastFilterableTypeId = 34;

constexpr std::uint64_t makeFilterableTypeMask(std::initializer_list<::arrow::Type::type> ids) {
  std::uint64_t mask = 0;
  for (const auto id : ids) mask |= std::uint64_t{1} << static_cast<int>(id);
  return mask;
}

constexpr std::uint64_t kFilterableTypeMask = makeFilterableTypeMask({
    ::arrow::Type::NA,         ::arrow::Type::BOOL,         ::arrow::Type::UINT8,  ::arrow::Type::INT8,
    ::arrow::Type::UINT16,     ::arrow::Type::INT16,        ::arrow::Type::UINT32, ::arrow::Type::INT32,
    ::arrow::Type::UINT64,     ::arrow::Type::INT64,        ::arrow::Type::FLOAT,  ::arrow::Type::DOUBLE,
    ::arrow::Type::STRING,     ::arrow::Type::LARGE_STRING, ::arrow::Type::DATE32, ::arrow::Type::DATE64,
    ::arrow::Type::TIMESTAMP,  ::arrow::Type::TIME32,       ::arrow::Type::TIME64,
});
static_assert(kFilterableTypeMask >> (kLastFilterableTypeId + 1) == 0,
              "every filterable type id lies in 0..34");
static_assert(::arrow::Type::LARGE_STRING == kLastFilterableTypeId);

bool isFilterableTypeId(::arrow::Type::type id) {
  const int value = static_cast<int>(id);
  return value >= 0 && value <= kLastFilterableTypeId && ((kFilterableTypeMask >> value) & 1U) != 0;
}

// A status written into a log record as its text, formed only when the
// record is.
struct StatusText {
  const ::arrow::Status& status;
};
std::ostream& operator<<(std::ostream& out, const StatusText& text) { return out << text.status.ToString(); }

[[noreturn]] void throwInternalError(const std::string& context, const std::string& detail) {
  using Tag = ORVANE::parquetio::read::InternalError;
  throw common::MessageException<Tag>(common::makeMessage<Tag>(context, detail));
}

// Rejects the first variable whose type cannot be filtered on, naming its
// host class when it has one.
void validateFilterableVariableType(const std::vector<int32_t>& indices,
                                    const std::shared_ptr<::arrow::Schema> schema) {
  OVPARQUET_TRACE();
  for (const int32_t index : indices) {
    const auto& field = schema->field(index);
    const auto& type = field->type();
    if (isFilterableTypeId(type->id())) continue;
    common::logRecord(kStatisticsLog, "Variable ", field->name(), " has an unsupported type for filtering: ",
                      type->ToString());
    const std::optional<std::string> hostType = orvane::io::arrow::core::to_orvane_datatype(type);
    if (hostType) {
      using Tag = ORVANE::parquetio::read::UnsupportedRowFilterVariable;
      throw common::MessageException<Tag>(common::makeMessage<Tag>(field->name(), *hostType));
    }
    using Tag = ORVANE::parquetio::read::InternalUnsupportedParquetType;
    throw common::MessageException<Tag>(common::makeMessage<Tag>(field->name()));
  }
}

// The five R-by-V arrays, zero-filled; the two cells are made at the end.
Statistics initializeStatistics(const int32_t numRowGroups, const int32_t numVariables) {
  OVPARQUET_TRACE();
  const auto rows = static_cast<std::size_t>(numRowGroups);
  const auto columns = static_cast<std::size_t>(numVariables);
  Statistics statistics;
  statistics.nullCountValid = ovCreateLogicalMatrix(rows, columns);
  statistics.distinctCountValid = ovCreateLogicalMatrix(rows, columns);
  statistics.minMaxValid = ovCreateLogicalMatrix(rows, columns);
  statistics.nullCounts = ovCreateNumericMatrix(rows, columns, ovClassID::Int64);
  statistics.distinctCounts = ovCreateNumericMatrix(rows, columns, ovClassID::Int64);
  return statistics;
}

// One null of each listed field's type: what a row group without a usable
// minimum or maximum shows.
::arrow::ArrayVector getDefaultMissingValues(const std::shared_ptr<::arrow::Schema> schema,
                                             const std::vector<int32_t>& indices) {
  OVPARQUET_TRACE();
  ::arrow::ArrayVector missing;
  missing.reserve(indices.size());
  for (const int32_t index : indices) {
    common::logRecord(kStatisticsLog, "Get missing value for field: ", index);
    auto result = ::arrow::MakeArrayOfNull(schema->field(index)->type(), 1, ::arrow::default_memory_pool());
    if (!result.ok()) throwInternalError("empty metadata generation", "Column index: " + std::to_string(index));
    missing.push_back(std::move(result).ValueUnsafe());
  }
  return missing;
}

// The chunk's minimum and maximum as arrays of the field's type, or no value
// when the chunk has none or they cannot be expressed in that type. Parquet
// keeps physical values (a timestamp is an int64), so the scalars are cast
// to the field's logical type, unit and zone.
std::optional<min_max_pair> getMinMaxMetaData(const std::unique_ptr<::parquet::ColumnChunkMetaData>& columnChunk,
                                              const std::shared_ptr<::arrow::DataType> fieldType) {
  OVPARQUET_TRACE();
  if (!columnChunk->is_stats_set()) return std::nullopt;
  std::shared_ptr<::arrow::Scalar> min;
  std::shared_ptr<::arrow::Scalar> max;
  const ::arrow::Status status = ::parquet::arrow::StatisticsAsScalars(*columnChunk->statistics(), &min, &max);
  common::logRecord(kStatisticsLog, "StatisticsAsScalars returned status: ", StatusText{status});
  if (!status.ok()) return std::nullopt;

  auto minCast = min->CastTo(fieldType);
  auto maxCast = max->CastTo(fieldType);
  if (!minCast.ok() || !maxCast.ok()) {
    common::logRecord(kStatisticsLog, "MinResult cast status: ", StatusText{minCast.status()});
    common::logRecord(kStatisticsLog, "MaxResult cast status: ", StatusText{maxCast.status()});
    return std::nullopt;
  }

  auto minArray = ::arrow::MakeArrayFromScalar(**minCast, 1, ::arrow::default_memory_pool());
  auto maxArray = ::arrow::MakeArrayFromScalar(**maxCast, 1, ::arrow::default_memory_pool());
  if (!minArray.ok() || !maxArray.ok()) throwInternalError("scalar metadata conversion", "");
  return min_max_pair(std::move(minArray).ValueUnsafe(), std::move(maxArray).ValueUnsafe());
}

// A 1-by-V cell whose element v holds the row-group values of variable v as
// one host array. A variable whose values have no host form leaves its
// element empty.
unique_ovarray_ptr convertArrayVectorToCellArray(const std::vector<::arrow::ArrayVector>& arrays,
                                                 const int32_t numVariables) {
  OVPARQUET_TRACE();
  auto cell = ovCreateCellMatrix(1, static_cast<std::size_t>(numVariables));
  for (int32_t v = 0; v < numVariables; ++v) {
    const ::arrow::ArrayVector& values = arrays[static_cast<std::size_t>(v)];
    if (values.empty()) continue;  // no row groups
    auto concatenated = ::arrow::Concatenate(values, ::arrow::default_memory_pool());
    if (!concatenated.ok()) {
      common::logRecord(kStatisticsLog, "Error during Concatenate for variable_index ", v, ": ",
                        StatusText{concatenated.status()});
      throwInternalError("metadata array concatenation", "Could not convert variable index: " + std::to_string(v));
    }
    auto converted = orvane::io::arrow::core::to_orvane(*concatenated);
    if (converted.ok()) {
      ovSetCell(cell.get(), static_cast<std::size_t>(v), std::move(converted).ValueUnsafe().release());
    } else {
      common::logRecord(kStatisticsLog, "Error during orvane::io::arrow::core::to_orvane for variable_index ", v,
                        ": ", StatusText{converted.status()});
    }
  }
  return cell;
}

}  // namespace

Statistics read_statistics(std::shared_ptr<::parquet::FileMetaData> metadata, std::shared_ptr<::arrow::Schema> schema,
                           const ::parquet::arrow::SchemaManifest& manifest,
                           std::optional<std::vector<int32_t>> variableIndices) {
  OVPARQUET_TRACE();
  const auto numFields = static_cast<int32_t>(manifest.schema_fields.size());
  std::vector<int32_t> indices;
  if (!variableIndices) {
    indices.resize(static_cast<std::size_t>(numFields));
    std::iota(indices.begin(), indices.end(), 0);
  } else {
    for (const int32_t index : *variableIndices) {
      if (index < 0 || index >= numFields) throwInternalError("statistics field index conversion", "");
    }
    indices = *variableIndices;
  }

  validateFilterableVariableType(indices, schema);

  const int32_t numRowGroups = metadata->num_row_groups();
  const auto numVariables = static_cast<int32_t>(indices.size());
  Statistics statistics = initializeStatistics(numRowGroups, numVariables);
  const auto rows = static_cast<std::size_t>(numRowGroups);
  std::vector<::arrow::ArrayVector> minima(indices.size(), ::arrow::ArrayVector(rows));
  std::vector<::arrow::ArrayVector> maxima(indices.size(), ::arrow::ArrayVector(rows));

  const ::arrow::ArrayVector missing = getDefaultMissingValues(schema, indices);

  bool* nullCountValid = ovGetTypedDataMutable<bool>(statistics.nullCountValid.get());
  bool* distinctCountValid = ovGetTypedDataMutable<bool>(statistics.distinctCountValid.get());
  bool* minMaxValid = ovGetTypedDataMutable<bool>(statistics.minMaxValid.get());
  std::int64_t* nullCounts = ovGetTypedDataMutable<std::int64_t>(statistics.nullCounts.get());
  std::int64_t* distinctCounts = ovGetTypedDataMutable<std::int64_t>(statistics.distinctCounts.get());

  for (int32_t r = 0; r < numRowGroups; ++r) {
    // Released at the end of each pass, like the column chunks below.
    const std::unique_ptr<::parquet::RowGroupMetaData> rowGroup = metadata->RowGroup(r);
    for (int32_t v = 0; v < numVariables; ++v) {
      const auto column = static_cast<std::size_t>(v);
      const auto row = static_cast<std::size_t>(r);
      const int32_t fieldIndex = indices[column];
      const std::size_t at = row + column * rows;
      common::logRecord(kStatisticsLog, "Main statistics loop for rowgroup index: ", r, " and variable index: ", v,
                        " and field index: ", fieldIndex);

      nullCountValid[at] = false;
      distinctCountValid[at] = false;
      minMaxValid[at] = false;
      minima[column][row] = missing[column];
      maxima[column][row] = missing[column];

      const ::parquet::arrow::SchemaField& schemaField = manifest.schema_fields[static_cast<std::size_t>(fieldIndex)];
      const std::optional<int> leaf = common::schema_field_to_leaf_index(schemaField);
      if (!leaf) continue;

      common::logRecord(kStatisticsLog, "Dereferencing metadata for Parquet schema field index: ", *leaf);
      const std::unique_ptr<::parquet::ColumnChunkMetaData> columnChunk = rowGroup->ColumnChunk(*leaf);
      const std::shared_ptr<::parquet::Statistics> chunkStatistics =
          columnChunk->is_stats_set() ? columnChunk->statistics() : nullptr;

      if (chunkStatistics && chunkStatistics->HasNullCount() && chunkStatistics->null_count() >= 0) {
        common::logRecord(kStatisticsLog, "Valid null_count value: ", chunkStatistics->null_count());
        nullCountValid[at] = true;
        nullCounts[at] = chunkStatistics->null_count();
      }

      if (chunkStatistics && chunkStatistics->HasDistinctCount() && chunkStatistics->distinct_count() >= 0) {
        common::logRecord(kStatisticsLog, "Valid distinct_count value: ", chunkStatistics->distinct_count());
        distinctCountValid[at] = true;
        distinctCounts[at] = chunkStatistics->distinct_count();
      }

      const std::optional<min_max_pair> minMax = getMinMaxMetaData(columnChunk, schemaField.field->type());
      if (minMax) {
        common::logRecord(kStatisticsLog, "Setting valid min/max values.");
        minMaxValid[at] = true;
        minima[column][row] = minMax->first;
        maxima[column][row] = minMax->second;
      }
    }
  }

  statistics.minValues = convertArrayVectorToCellArray(minima, numVariables);
  statistics.maxValues = convertArrayVectorToCellArray(maxima, numVariables);
  return statistics;
}

}  // namespace orvane::io::parquet::core::read
