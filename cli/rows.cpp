#include "rows.hpp"

namespace ovparquet::cli {

unique_ovarray_ptr emptyTable(const std::vector<orvane::ustring>& names) {
  std::vector<unique_ovarray_ptr> columns;
  for (std::size_t i = 0; i < names.size(); ++i) columns.push_back(ovCreateNumericMatrix(0, 1, ovClassID::Double));
  return ovCreateTable(std::move(columns), names);
}

}  // namespace ovparquet::cli
