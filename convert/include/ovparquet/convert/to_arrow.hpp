// Host tables to Arrow tables.
#pragma once

#include <ovparquet/host/array.hpp>

#include <arrow/result.h>
#include <arrow/type_fwd.h>

#include <memory>

namespace orvane::io::arrow::core {

// Converts a host table to an Arrow table with one column (a single chunk) per
// variable, named after "Names". Each host class has one canonical Arrow type:
//
//   host class     Arrow type
//   -------------  -----------------------------------------------------------
//   logical        bool
//   int8 ... uint64 the same integer type
//   single         float
//   double         double
//   string         string (utf8)
//   datetime       timestamp(unit, zone); unit day: date32
//   duration       duration(unit)
//   categorical    dictionary<int32, string>, ordered as the categorical is
//   cell           the list, large_list, map or binary type it was read as;
//                  a cell built by hand: list<T>, T the canonical type of the
//                  elements' class
//   nested table   struct of its variables (every field nullable); missing
//                  records (ovTableMissingRows) become null structs
//
// - Missing elements become nulls.
// - Cells: every element is one row's list and must be an n-by-1 array (or a
//   host table of n rows); all elements of a cell share one class (and unit
//   and zone for datetimes, unit for durations, ordering for categoricals, the
//   variable names for tables). An empty slot or a 0x0 double is a null list;
//   a 0-by-1 array is an empty list.
// - A cell that to_orvane made remembers its Arrow type (ovGetOrigin) and
//   converts back to it: a list or large_list of the same element type even
//   when it holds no element at all (no rows, every row empty or missing); a
//   map of "Key"/"Value" tables back to the map type; uint8 column vectors
//   back to binary, large_binary or fixed_size_binary. When its elements no
//   longer fit that type (another class, a missing key, a missing byte, bytes
//   of another width for fixed-size binary) the cell is written as if built
//   by hand.
// - A cell built by hand without any element of a class (all slots empty, or
//   no rows) becomes list<null>: there is nothing to tell the type by.
// - A host table that to_orvane made from an Arrow table gives its schema's
//   key-value metadata back.
// - Categoricals in the elements of one cell may hold different categories;
//   they are unified into one dictionary.
// - A datetime zone given as the empty text is written as no zone: Arrow does
//   not tell the two apart.
// - Unpaired UTF-16 surrogates in strings are written as U+FFFD.
//
// With to_orvane the round trip host -> Arrow -> host gives an equal host
// array for every class, except for the empty zone above and for
// categoricals of different categories inside one cell (they come back with
// the unified categories); and Arrow -> host -> Arrow gives an equal table,
// schema and null records included, whenever every column's type is
// canonical: the types above, with nullable struct fields, list elements and
// map items, and, for dictionary columns, one dictionary shared by all
// chunks. The other Arrow types are deliberate mappings and come back as the
// canonical type of the class they read as (see to_orvane_datatype):
//
//   large_string                 string (the same text)
//   half_float                   float (exact)
//   decimal128, decimal256       double (the nearest double: lossy beyond about
//                                16 significant digits)
//   date64                       date32 (days, rounded down)
//   time32, time64               duration of the same unit (since midnight):
//                                the host has no time-of-day class
//   dictionary<K, string>        dictionary<int32, string> (K other than
//                                int32; large_string values as string)
//   dictionary of other values   the values' own type (decoded)
//   null                         double, every element missing
//   struct fields declared       nullable: a nested table keeps no "not
//   not null                     null" (list elements and map items keep
//                                theirs, from the cell's record, while they
//                                hold no null)
//
// Anything that is not a well-formed host table fails with a status naming
// the variable and the reason (a TableErrorStatusDetail carries the top-level
// variable's name when there is one): a wrong class or shape of the table,
// "Columns" or "Names", unequal heights, a variable that is not N-by-1, cell
// elements of different classes (Invalid); classes without an Arrow type
// (char, complex numbers, structs that are not host tables) (TypeError);
// texts or lists too long for 32-bit offsets (CapacityError).
// Whether the Arrow table may read the host arrays' memory in place. With
// Borrow, numeric, datetime and duration variables share the host's value
// buffer (missing values still get a validity bitmap of their own), so
// the host table must outlive the Arrow table (a writer that converts,
// writes and drops the table within one call can use it).
enum class HostMemory { Copy, Borrow };

::arrow::Result<std::shared_ptr<::arrow::Table>> to_arrow_table(const ovArray* table,
                                                               HostMemory memory = HostMemory::Copy);

// Converts one variable (an N-by-1 array or a nested host table) to an Arrow
// array of its canonical type, as above.
::arrow::Result<std::shared_ptr<::arrow::Array>> to_arrow_array(const ovArray* column);

}  // namespace orvane::io::arrow::core
