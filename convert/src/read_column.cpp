// The reading side's entry points: to_orvane of tables, chunked arrays and
// arrays, and the dispatch of one column to the converter of its type.
#include <ovparquet/convert/datatype.hpp>
#include <ovparquet/convert/status_detail.hpp>
#include <ovparquet/convert/to_orvane.hpp>

#include "common.hpp"
#include "origin.hpp"
#include "read_internal.hpp"

#include <ovparquet/host/parallel.hpp>
#include <ovparquet/host/threads.hpp>
#include <ovparquet/host/ustring.hpp>
#include <ovparquet/host/warning.hpp>

#include <arrow/array.h>
#include <arrow/chunked_array.h>
#include <arrow/table.h>

#include <deque>
#include <exception>
#include <utility>

namespace orvane::io::arrow::core {
namespace detail {

void ReadContext::unsupported(const ::arrow::DataType& type) const {
  std::string message = "Column '" + mColumn + "'";
  if (!mFilename.empty()) message += " of '" + mFilename + "'";
  message += " has the Arrow type " + type.ToString() + ", which has no host counterpart";
  throw ConversionError(make_table_error(::arrow::StatusCode::TypeError, mColumn, message));
}

void ReadContext::invalid(const std::string& what) const {
  std::string message = "Column '" + mColumn + "'";
  if (!mFilename.empty()) message += " of '" + mFilename + "'";
  message += ": " + what;
  throw ConversionError(make_table_error(::arrow::StatusCode::Invalid, mColumn, message));
}

const std::shared_ptr<const ovOrigin>& ReadContext::cellOrigin(const ::arrow::DataType& type) {
  // References to the map's values stay valid as it grows.
  std::lock_guard<std::mutex> lock(mOriginMutex);
  auto& origin = mOrigins[&type];
  if (!origin) origin = std::make_shared<ArrowTypeOrigin>(type.GetSharedPtr());
  return origin;
}

unique_ovarray_ptr readColumn(const ::arrow::DataType& type, Segments segments,
                              std::size_t rows, ParentMissing parentMissing,
                              ReadContext& context) {
  using ::arrow::Type;
  switch (type.id()) {
    case Type::BOOL:
      return readBoolean(segments, rows, parentMissing);
    case Type::INT8:
    case Type::UINT8:
    case Type::INT16:
    case Type::UINT16:
    case Type::INT32:
    case Type::UINT32:
    case Type::INT64:
    case Type::UINT64:
    case Type::FLOAT:
    case Type::DOUBLE:
      return readNumeric(type.id(), segments, rows, parentMissing);
    case Type::HALF_FLOAT:
      return readHalfFloat(segments, rows, parentMissing);
    case Type::DECIMAL128:
    case Type::DECIMAL256:
      return readDecimal(static_cast<const ::arrow::DecimalType&>(type), segments, rows,
                         parentMissing);
    case Type::NA:
      return readNull(rows);
    case Type::STRING:
    case Type::LARGE_STRING:
      return readString(type, segments, rows, parentMissing, context);
    case Type::BINARY:
    case Type::LARGE_BINARY:
    case Type::FIXED_SIZE_BINARY:
      return readBinary(type, segments, rows, parentMissing, context);
    case Type::DATE32:
    case Type::DATE64:
    case Type::TIMESTAMP:
    case Type::TIME32:
    case Type::TIME64:
    case Type::DURATION:
      return readTemporal(type, segments, rows, parentMissing);
    case Type::DICTIONARY:
      return readDictionary(static_cast<const ::arrow::DictionaryType&>(type), segments, rows,
                            parentMissing, context);
    case Type::LIST:
    case Type::LARGE_LIST:
    case Type::MAP:
      return readList(type, segments, rows, parentMissing, context);
    case Type::STRUCT:
      return readStruct(static_cast<const ::arrow::StructType&>(type), segments, rows,
                        parentMissing, context);
    default:
      context.unsupported(type);
  }
}

namespace {

// Converts one column given as its chunks. The column's warning for invalid
// UTF-8 is left to the caller (see warnInvalidUtf8), so that columns
// converted on other threads still warn on the caller's, in column order.
unique_ovarray_ptr convertChunks(const std::shared_ptr<::arrow::DataType>& type,
                                 const ::arrow::ArrayVector& chunks, std::int64_t length,
                                 ReadContext& context) {
  if (!to_orvane_datatype(type)) context.unsupported(*type);
  std::vector<Segment> segments;
  segments.reserve(chunks.size());
  for (const auto& chunk : chunks) {
    segments.push_back(Segment{chunk->data().get(), 0, chunk->length()});
  }
  return readColumn(*type, segments, static_cast<std::size_t>(length), nullptr, context);
}

void warnInvalidUtf8(const ReadContext& context) {
  if (context.invalidUtf8Values() != 0) {
    orvane::ovWarningMsgId(orvane::Message::make(kConvertComponent, kInvalidUtf8InColumnKey,
                                                 context.column(),
                                                 context.invalidUtf8Values()));
  }
}

unique_ovarray_ptr readChunks(const std::shared_ptr<::arrow::DataType>& type,
                              const ::arrow::ArrayVector& chunks, std::int64_t length,
                              ReadContext& context) {
  unique_ovarray_ptr array;
  std::exception_ptr error;
  orvane::withComputationalThreads([&] {
    try {
      array = convertChunks(type, chunks, length, context);
    } catch (...) {
      error = std::current_exception();
    }
  });
  if (error) std::rethrow_exception(error);
  warnInvalidUtf8(context);
  return array;
}

// Converts the columns of a table, on up to the host's computational thread
// count of threads. The result, the warnings and the error raised are those
// of converting the columns one after another: each column's outcome is kept
// and they are reported in column order.
std::vector<unique_ovarray_ptr> readColumns(const ::arrow::Table& table, const std::string& file) {
  const auto count = static_cast<std::size_t>(table.num_columns());
  std::vector<unique_ovarray_ptr> columns(count);
  std::deque<ReadContext> contexts;
  for (std::size_t i = 0; i < count; ++i) {
    contexts.emplace_back(table.schema()->field(static_cast<int>(i))->name(), file);
  }
  std::vector<std::exception_ptr> errors(count);
  auto convert = [&](std::size_t i) {
    try {
      const auto& column = table.column(static_cast<int>(i));
      columns[i] = convertChunks(column->type(), column->chunks(), column->length(), contexts[i]);
    } catch (...) {
      errors[i] = std::current_exception();
    }
  };
  if (orvane::computationalThreadCount() <= 1) {
    for (std::size_t i = 0; i < count; ++i) {
      convert(i);
      if (errors[i]) break;
    }
  } else {
    orvane::withComputationalThreads([&] { orvane::parallelFor(0, count, convert); });
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (errors[i]) std::rethrow_exception(errors[i]);
    warnInvalidUtf8(contexts[i]);
  }
  return columns;
}

}  // namespace
}  // namespace detail

::arrow::Result<unique_ovarray_ptr> to_orvane(const std::shared_ptr<::arrow::Table>& table,
                                             const orvane::ustring& filename) {
  return detail::guarded([&]() -> unique_ovarray_ptr {
    if (!table) return ovCreateTable({}, {});
    std::string file;
    orvane::append_utf16_replacing(filename, file);
    const auto& schema = table->schema();
    const int count = table->num_columns();
    // Every column's type is checked before any data is converted.
    for (int i = 0; i < count; ++i) {
      const auto& field = schema->field(i);
      if (!to_orvane_datatype(field->type())) {
        detail::ReadContext(field->name(), file).unsupported(*field->type());
      }
    }
    std::vector<unique_ovarray_ptr> columns = detail::readColumns(*table, file);
    std::vector<orvane::ustring> names;
    names.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) names.push_back(orvane::to_ustring(schema->field(i)->name()));
    auto host = ovCreateTable(std::move(columns), names);
    if (const auto& metadata = schema->metadata(); metadata && metadata->size() != 0) {
      ovSetOrigin(host.get(), std::make_shared<detail::SchemaMetadataOrigin>(metadata));
    }
    return host;
  });
}

::arrow::Result<unique_ovarray_ptr> to_orvane(
    const std::shared_ptr<::arrow::ChunkedArray>& column) {
  return detail::guarded([&]() -> unique_ovarray_ptr {
    if (!column) throw detail::ConversionError(::arrow::Status::Invalid("No column to convert"));
    detail::ReadContext context({}, {});
    return detail::readChunks(column->type(), column->chunks(), column->length(), context);
  });
}

::arrow::Result<unique_ovarray_ptr> to_orvane(const std::shared_ptr<::arrow::Array>& array) {
  return detail::guarded([&]() -> unique_ovarray_ptr {
    if (!array) throw detail::ConversionError(::arrow::Status::Invalid("No array to convert"));
    detail::ReadContext context({}, {});
    return detail::readChunks(array->type(), {array}, array->length(), context);
  });
}

}  // namespace orvane::io::arrow::core
