// The detail attached to failed conversion statuses: which variable (top-level
// column) of a table the failure belongs to.
#pragma once

#include <arrow/status.h>

#include <memory>
#include <string>

namespace orvane::io::arrow::core {

// Names the top-level variable a conversion failure belongs to. `to_orvane`
// attaches it to the TypeError of a column whose type has no host class;
// `to_arrow_table` attaches it to the failures of a malformed variable.
class TableErrorStatusDetail : public ::arrow::StatusDetail {
 public:
  // The text type_id() returns, the same for every instance.
  static constexpr const char* kTypeId = "orvane::io::arrow::core::TableErrorStatusDetail";

  explicit TableErrorStatusDetail(std::string column_name);

  const char* type_id() const override;
  // "column '<name>'"
  std::string ToString() const override;

  // The variable's name (UTF-8), as it appears in the table's field names.
  const std::string& column_name() const noexcept { return mColumnName; }

  // The detail of `status` when it is a TableErrorStatusDetail, otherwise null.
  static std::shared_ptr<const TableErrorStatusDetail> FromStatus(const ::arrow::Status& status);

 private:
  std::string mColumnName;
};

// A failed status of the given code and message carrying a
// TableErrorStatusDetail for `column_name`.
::arrow::Status make_table_error(::arrow::StatusCode code, std::string column_name,
                                 std::string message);

// The column name carried by `status`, or an empty text when it has no
// TableErrorStatusDetail.
std::string table_error_column_name(const ::arrow::Status& status);

}  // namespace orvane::io::arrow::core
