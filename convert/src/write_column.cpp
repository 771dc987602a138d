// The writing side's entry points: to_arrow_table and to_arrow_array, the
// check of a host table's shape, and the dispatch of one variable to the
// converter of its class.
#include <ovparquet/convert/status_detail.hpp>
#include <ovparquet/convert/to_arrow.hpp>

#include "common.hpp"
#include "origin.hpp"
#include "write_internal.hpp"

#include <ovparquet/host/class_visit.hpp>
#include <ovparquet/host/ustring.hpp>

#include <arrow/array/util.h>
#include <arrow/buffer.h>
#include <arrow/table.h>
#include <arrow/util/bit_util.h>
#include <arrow/util/bitmap_generate.h>

#include <cstring>

namespace orvane::io::arrow::core {
namespace detail {
namespace {

constexpr std::string_view kColumns = "Columns";
constexpr std::string_view kNames = "Names";

std::string dimsText(const ovArray* array) {
  std::string text;
  for (std::size_t d : ovGetDimensions(array)) {
    if (!text.empty()) text += "x";
    text += std::to_string(d);
  }
  return text;
}

bool isRow(const ovArray* array) {
  return ovGetNumberOfDimensions(array) == 2 && ovGetM(array) == 1;
}

bool isColumnVector(const ovArray* array) {
  return ovGetNumberOfDimensions(array) == 2 && ovGetDimensions(array)[1] == 1;
}

// Whether a struct array has the fields of a host table (it may still be
// malformed otherwise).
bool looksLikeTable(const ovArray* array) {
  return ovIsStruct(array) && ovGetFieldNumber(array, kColumns) >= 0 &&
         ovGetFieldNumber(array, kNames) >= 0;
}

std::string diagnoseTable(const ovArray* table);

// Why a variable of a table is not usable, or an empty text.
std::string diagnoseVariable(const ovArray* column, const std::string& name,
                             std::size_t* height) {
  const std::string label = "variable '" + name + "'";
  if (column == nullptr) return label + " is an empty slot";
  if (ovIsStruct(column)) {
    if (!looksLikeTable(column)) {
      return label + " is a struct array that is not a host table";
    }
    const std::string reason = diagnoseTable(column);
    if (!reason.empty()) return label + " is a nested table that is not well-formed: " + reason;
    *height = ovTableNumRows(column);
    return {};
  }
  if (!isColumnVector(column)) {
    return label + " is " + dimsText(column) + " " + ovGetClassName(column) +
           "; variables must be N-by-1";
  }
  *height = ovGetM(column);
  return {};
}

// Why `table` is not a well-formed host table, or an empty text when it is.
std::string diagnoseTable(const ovArray* table) {
  if (!ovIsStruct(table)) {
    return std::string("it is a ") + ovGetClassName(table) +
           " array, not a 1-by-1 struct with the fields 'Columns' and 'Names'";
  }
  if (ovGetNumberOfElements(table) != 1) {
    return "it is a " + dimsText(table) + " struct array, not 1-by-1";
  }
  if (ovGetFieldNumber(table, kColumns) < 0) return "it has no field 'Columns'";
  if (ovGetFieldNumber(table, kNames) < 0) return "it has no field 'Names'";
  if (ovGetNumberOfFields(table) != 2) {
    return "it has fields other than 'Columns' and 'Names'";
  }
  const ovArray* columns = ovGetField(table, 0, kColumns);
  const ovArray* names = ovGetField(table, 0, kNames);
  if (columns == nullptr || !ovIsCell(columns)) {
    return std::string("its field 'Columns' is ") +
           (columns ? std::string("a ") + ovGetClassName(columns) + " array" : "empty") +
           ", not a cell array";
  }
  if (!isRow(columns)) return "its field 'Columns' is " + dimsText(columns) + ", not 1-by-V";
  if (names == nullptr || !ovIsString(names)) {
    return std::string("its field 'Names' is ") +
           (names ? std::string("a ") + ovGetClassName(names) + " array" : "empty") +
           ", not a string array";
  }
  if (!isRow(names)) return "its field 'Names' is " + dimsText(names) + ", not 1-by-V";
  const std::size_t count = ovGetNumberOfElements(columns);
  if (ovGetNumberOfElements(names) != count) {
    return "it has " + std::to_string(count) + " columns but " +
           std::to_string(ovGetNumberOfElements(names)) + " names";
  }
  if (ovHasMissing(names)) return "its field 'Names' has missing elements";
  std::size_t rows = 0;
  std::string firstName;
  for (std::size_t v = 0; v < count; ++v) {
    const std::string name = ovGetStringUtf8(names, v);
    std::size_t height = 0;
    const std::string reason = diagnoseVariable(ovGetCell(columns, v), name, &height);
    if (!reason.empty()) return reason;
    if (v == 0) {
      rows = height;
      firstName = name;
    } else if (height != rows) {
      return "variable '" + name + "' has " + std::to_string(height) + " rows, but variable '" +
             firstName + "' has " + std::to_string(rows);
    }
  }
  return {};
}

}  // namespace

void WriteContext::fail(::arrow::StatusCode code, const std::string& path,
                        const std::string& what) const {
  throw ConversionError(make_table_error(code, mColumn, "Variable '" + path + "' " + what));
}

bool isNullElement(const ovArray* element) noexcept {
  if (element == nullptr) return true;
  const ovDims& dims = ovGetDimensions(element);
  return ovIsDouble(element) && dims.size() == 2 && dims[0] == 0 && dims[1] == 0;
}

std::size_t pieceHeight(const ovArray* piece, const std::string& path,
                        const WriteContext& context) {
  if (piece == nullptr) context.fail(::arrow::StatusCode::Invalid, path, "is an empty slot");
  if (ovIsStruct(piece)) {
    if (!looksLikeTable(piece)) {
      context.fail(::arrow::StatusCode::TypeError, path,
                   "is a struct array that is not a host table; only host tables (1-by-1 "
                   "structs with the fields 'Columns' and 'Names') convert to Arrow structs");
    }
    if (!ovIsTable(piece)) {
      const std::string reason = diagnoseTable(piece);
      context.fail(::arrow::StatusCode::Invalid, path,
                   "is a nested table that is not well-formed" +
                       (reason.empty() ? std::string() : ": " + reason));
    }
    return ovTableNumRows(piece);
  }
  if (ovIsChar(piece)) {
    context.fail(::arrow::StatusCode::TypeError, path,
                 "is a char array, which has no Arrow type; use a string array");
  }
  if (ovIsComplex(piece)) {
    context.fail(::arrow::StatusCode::TypeError, path,
                 "holds complex numbers, which have no Arrow type");
  }
  if (!isColumnVector(piece)) {
    context.fail(::arrow::StatusCode::Invalid, path,
                 "is " + dimsText(piece) + " " + ovGetClassName(piece) +
                     "; variables and cell elements must be N-by-1");
  }
  return ovGetM(piece);
}

std::shared_ptr<::arrow::ArrayData> writeColumn(Pieces pieces, std::int64_t rows,
                                                const std::string& path, WriteContext& context) {
  const ovClassID classID = ovGetClassID(pieces.front());
  std::size_t total = 0;
  for (const ovArray* piece : pieces) {
    if (piece != nullptr && ovGetClassID(piece) != classID) {
      context.fail(::arrow::StatusCode::Invalid, path,
                   std::string("mixes the classes ") + ovClassName(classID) + " and " +
                       ovGetClassName(piece) + "; the elements of a cell must share one class");
    }
    total += pieceHeight(piece, path, context);
  }
  if (total != static_cast<std::size_t>(rows)) {
    context.fail(::arrow::StatusCode::Invalid, path,
                 "has " + std::to_string(total) + " rows where " + std::to_string(rows) +
                     " were expected");
  }
  return ovVisitClass(classID, [&](auto tag) -> std::shared_ptr<::arrow::ArrayData> {
    using Tag = decltype(tag);
    if constexpr (Tag::isNumeric) {
      return writeNumeric(pieces, rows, context);
    } else if constexpr (Tag::id == ovClassID::Logical) {
      return writeLogical(pieces, rows);
    } else if constexpr (Tag::id == ovClassID::String) {
      return writeString(pieces, rows, path, context);
    } else if constexpr (Tag::id == ovClassID::Datetime) {
      return writeDatetime(pieces, rows, path, context);
    } else if constexpr (Tag::id == ovClassID::Duration) {
      return writeDuration(pieces, rows, path, context);
    } else if constexpr (Tag::id == ovClassID::Categorical) {
      return writeCategorical(pieces, rows, path, context);
    } else if constexpr (Tag::id == ovClassID::Cell) {
      return writeCell(pieces, rows, path, context);
    } else if constexpr (Tag::id == ovClassID::Struct) {
      return writeTable(pieces, rows, path, context);
    } else {
      context.fail(::arrow::StatusCode::TypeError, path,
                   std::string("is of class ") + ovClassName(classID) + ", which has no Arrow type");
    }
  });
}

std::shared_ptr<::arrow::Buffer> allocate(std::int64_t bytes) {
  std::shared_ptr<::arrow::Buffer> buffer = valueOrThrow(::arrow::AllocateBuffer(bytes));
  return buffer;
}

std::shared_ptr<::arrow::Buffer> validityOf(Pieces pieces, std::int64_t rows,
                                            std::int64_t* nullCount) {
  std::size_t missing = 0;
  for (const ovArray* piece : pieces) missing += ovCountMissing(piece);
  *nullCount = static_cast<std::int64_t>(missing);
  if (missing == 0) return nullptr;
  auto buffer = allocate(::arrow::bit_util::BytesForBits(rows));
  std::uint8_t* bits = buffer->mutable_data();
  std::memset(bits, 0, static_cast<std::size_t>(buffer->size()));
  std::int64_t position = 0;
  for (const ovArray* piece : pieces) {
    const auto count = static_cast<std::int64_t>(ovGetNumberOfElements(piece));
    if (const std::uint8_t* mask = ovGetMissingMask(piece)) {
      ::arrow::internal::GenerateBitsUnrolled(bits, position, count,
                                              [mask]() mutable { return *mask++ == 0; });
    } else {
      ::arrow::bit_util::SetBitsTo(bits, position, count, true);
    }
    position += count;
  }
  return buffer;
}

std::string nameToUtf8(std::u16string_view name, const std::string& path,
                       const WriteContext& context) {
  std::string utf8;
  if (orvane::append_utf16_replacing(name, utf8) != 0) {
    context.fail(::arrow::StatusCode::Invalid, path,
                 "has a variable name that is not valid UTF-16 ('" + utf8 + "')");
  }
  return utf8;
}

namespace {

// `name` is the variable's name; a lone array has none and is called
// "column" in messages.
std::shared_ptr<::arrow::ArrayData> writeVariable(const ovArray* column, const std::string& name,
                                                  std::size_t rows, bool borrowHostData) {
  WriteContext context(name, borrowHostData);
  const std::string path = name.empty() ? std::string("column") : name;
  return writeColumn(Pieces(&column, 1), static_cast<std::int64_t>(rows), path, context);
}

}  // namespace
}  // namespace detail

::arrow::Result<std::shared_ptr<::arrow::Table>> to_arrow_table(const ovArray* table, HostMemory memory) {
  return detail::guarded([&]() -> std::shared_ptr<::arrow::Table> {
    if (table == nullptr) {
      throw detail::ConversionError(::arrow::Status::Invalid("No host table to convert"));
    }
    if (!ovIsTable(table)) {
      const std::string reason = detail::diagnoseTable(table);
      throw detail::ConversionError(::arrow::Status::Invalid(
          "Not a well-formed host table" + (reason.empty() ? std::string() : ": " + reason)));
    }
    const std::size_t count = ovTableNumVariables(table);
    const std::size_t rows = ovTableNumRows(table);
    const ovArray* names = ovGetField(table, 0, detail::kNames);
    ::arrow::FieldVector fields;
    ::arrow::ArrayVector columns;
    fields.reserve(count);
    columns.reserve(count);
    for (std::size_t v = 0; v < count; ++v) {
      std::string name;
      if (orvane::append_utf16_replacing(ovGetStringView(names, v), name) != 0) {
        throw detail::ConversionError(make_table_error(
            ::arrow::StatusCode::Invalid, name,
            "Variable name " + std::to_string(v + 1) + " ('" + name + "') is not valid UTF-16"));
      }
      auto data = detail::writeVariable(ovTableColumn(table, v), name, rows, memory == HostMemory::Borrow);
      fields.push_back(::arrow::field(name, data->type));
      columns.push_back(::arrow::MakeArray(data));
    }
    // A table read from Arrow gives its schema's key-value metadata back.
    return ::arrow::Table::Make(::arrow::schema(std::move(fields), detail::originMetadata(table)),
                                std::move(columns),
                                static_cast<std::int64_t>(rows));
  });
}

::arrow::Result<std::shared_ptr<::arrow::Array>> to_arrow_array(const ovArray* column) {
  return detail::guarded([&]() -> std::shared_ptr<::arrow::Array> {
    if (column == nullptr) {
      throw detail::ConversionError(::arrow::Status::Invalid("No host array to convert"));
    }
    detail::WriteContext context("");
    const std::size_t rows = detail::pieceHeight(column, "column", context);
    return ::arrow::MakeArray(detail::writeVariable(column, "", rows, false));
  });
}

}  // namespace orvane::io::arrow::core
