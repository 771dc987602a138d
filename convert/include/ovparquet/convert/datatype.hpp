// The host class an Arrow type converts to.
#pragma once

#include <arrow/type_fwd.h>

#include <memory>
#include <optional>
#include <string>

namespace orvane::io::arrow::core {

// The name (ovClassName) of the host class a column of `type` becomes when
// read with to_orvane, or no value when the type has no host counterpart:
//
//   bool                                        logical
//   int8 ... uint64                             the same integer class
//   half_float, float                           single
//   double, decimal128, decimal256, null        double
//   string, large_string                        string
//   binary, large_binary, fixed_size_binary     cell (of uint8 column vectors)
//   list, large_list, map                       cell
//   date32, date64, timestamp                   datetime
//   time32, time64, duration                    duration
//   dictionary of string or large_string        categorical
//   dictionary of any other value type          the value type's class
//   struct with at least one field              struct (a nested host table)
//
// Nested types have a host class only when every type inside them has one,
// so list<interval> and struct<a: union> have none. Intervals, unions,
// fixed-size lists, extension types, string and list views, run-end encoded
// arrays, struct<> (no fields) and a null pointer have none either.
std::optional<std::string> to_orvane_datatype(const std::shared_ptr<::arrow::DataType>& type);

}  // namespace orvane::io::arrow::core
