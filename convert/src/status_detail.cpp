#include <ovparquet/convert/status_detail.hpp>

#include <cstring>
#include <utility>

namespace orvane::io::arrow::core {

TableErrorStatusDetail::TableErrorStatusDetail(std::string column_name)
    : mColumnName(std::move(column_name)) {}

const char* TableErrorStatusDetail::type_id() const { return kTypeId; }

std::string TableErrorStatusDetail::ToString() const { return "column '" + mColumnName + "'"; }

std::shared_ptr<const TableErrorStatusDetail> TableErrorStatusDetail::FromStatus(
    const ::arrow::Status& status) {
  const auto& detail = status.detail();
  if (!detail || std::strcmp(detail->type_id(), kTypeId) != 0) return nullptr;
  return std::static_pointer_cast<const TableErrorStatusDetail>(detail);
}

::arrow::Status make_table_error(::arrow::StatusCode code, std::string column_name,
                                 std::string message) {
  return ::arrow::Status(code, std::move(message),
                         std::make_shared<TableErrorStatusDetail>(std::move(column_name)));
}

std::string table_error_column_name(const ::arrow::Status& status) {
  const auto detail = TableErrorStatusDetail::FromStatus(status);
  return detail ? detail->column_name() : std::string();
}

}  // namespace orvane::io::arrow::core
