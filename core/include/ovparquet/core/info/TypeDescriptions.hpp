// Short, human-readable descriptions of Arrow data types, shown to users as
// the type of each variable ("Int32", "List<String>",
// "Timestamp[unit=milliseconds, timezone=UTC]").
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <arrow/type_fwd.h>

#include <memory>
#include <vector>

namespace orvane::io::parquet::core::info {

using orvane::ustring;

// Any type; "Unknown" for kinds without a description.
ustring type_to_ustring(std::shared_ptr<::arrow::DataType> type);

// The functions below expect a type of the kind they name.
ustring integer_to_ustring(std::shared_ptr<::arrow::DataType> type);
ustring float_to_ustring(std::shared_ptr<::arrow::DataType> type);
ustring flba_to_ustring(std::shared_ptr<::arrow::DataType> type);
ustring decimal_to_ustring(std::shared_ptr<::arrow::DataType> type);
ustring time_unit_to_ustring(::arrow::TimeUnit::type unit);
ustring time_to_ustring(std::shared_ptr<::arrow::DataType> type);
ustring date_to_ustring(std::shared_ptr<::arrow::DataType> type);
ustring timestamp_to_ustring(std::shared_ptr<::arrow::DataType> type);
ustring dictionary_type_to_ustring(std::shared_ptr<::arrow::DataType> type);
ustring map_type_to_ustring(std::shared_ptr<::arrow::DataType> type);
ustring struct_type_to_ustring(std::shared_ptr<::arrow::DataType> type);

// One description per top-level field, in field order.
std::vector<ustring> parquet_types(std::shared_ptr<::arrow::Schema> schema);

}  // namespace orvane::io::parquet::core::info
