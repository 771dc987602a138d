// Arrow tables and arrays to host arrays.
#pragma once

#include <ovparquet/host/array.hpp>
#include <ovparquet/host/ustring.hpp>

#include <arrow/result.h>
#include <arrow/type_fwd.h>

#include <memory>

namespace orvane::io::arrow::core {

// Warning issued once per column whose string data holds invalid UTF-8, with
// the arguments (column name as UTF-8 std::string, number of values that had
// at least one invalid sequence as std::uint64_t). Each invalid sequence is
// replaced by U+FFFD; the conversion goes on.
inline constexpr const char* kConvertComponent = "ORVANE:convert";
inline constexpr const char* kInvalidUtf8InColumnKey = "InvalidUtf8InColumn";

// Converts a table to a host table: a 1-by-1 struct with "Columns" (1-by-V
// cell, one N-by-1 variable per column) and "Names" (1-by-V string of the
// field names). A null table converts to an empty host table (no variables).
//
// Each column becomes the class to_orvane_datatype names for its type:
// - Nulls become the host's missing values: the missing mask of flat classes
//   (NaN, 0, false, empty text, code -1 or 0 ticks under it), an empty slot
//   in cells.
// - list, large_list: a cell with one n-by-1 array of the element class per
//   row; an empty list is a 0-by-1 array of that class, a null list an empty
//   slot (ovGetCell returns nullptr).
// - map: a cell with one host table of the variables "Key" and "Value" per
//   row (n rows for n entries); a null map is an empty slot.
// - binary, large_binary, fixed_size_binary: a cell of n-by-1 uint8 arrays
//   (0-by-1 for an empty value, an empty slot for a null one).
// - Cells made from list, large_list, map and binary columns record their
//   Arrow type (ovGetOrigin), so that to_arrow_table gives it back.
// - struct: a nested host table of the struct's fields. A null struct row is
//   a missing record (ovTableMissingRows) and is missing in every field too
//   (empty slots in cell fields); so is a record under a missing one.
// - The table's schema metadata is recorded on the host table (ovGetOrigin)
//   and given back by to_arrow_table.
// - dictionary of strings: categorical with int32 codes; when the chunks of a
//   column carry different dictionaries they are unified, so the codes of all
//   rows refer to one list of categories. The ordered flag is kept. A
//   dictionary of any other value type is decoded into that type's class.
// - timestamp: datetime with the type's unit and zone (no zone when the
//   type's zone is empty); date32: datetime in days; date64: datetime in days
//   (milliseconds divided by 86400000, rounding down).
// - time32, time64: duration of the same unit (ticks since midnight);
//   duration: duration of its unit.
// - half_float: single; decimal128/256: double, the nearest double to the
//   decimal value (lossy beyond about 16 significant digits); null: double,
//   every element missing.
// - string, large_string: string; invalid UTF-8 is replaced by U+FFFD with
//   one warning per column (kInvalidUtf8InColumnKey).
//
// A column whose type has no host class fails the whole conversion with a
// TypeError status carrying a TableErrorStatusDetail with the column's name.
// Any other failure (for example out of memory or malformed Arrow data) is an
// ordinary failed status. `filename` only appears in the status messages.
//
// Numeric columns without nulls are copied with one memcpy per chunk, or,
// when the column is one suitably aligned chunk, shared with Arrow without a
// copy (the host array then keeps the Arrow buffer alive).
::arrow::Result<unique_ovarray_ptr> to_orvane(const std::shared_ptr<::arrow::Table>& table,
                                             const orvane::ustring& filename = {});

// Converts one column: an N-by-1 array of the column's class (a nested host
// table for a struct column), as described above. The warning for invalid
// UTF-8 names the column "".
::arrow::Result<unique_ovarray_ptr> to_orvane(const std::shared_ptr<::arrow::ChunkedArray>& column);
::arrow::Result<unique_ovarray_ptr> to_orvane(const std::shared_ptr<::arrow::Array>& array);

}  // namespace orvane::io::arrow::core
