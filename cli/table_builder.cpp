#include "table_builder.hpp"

#include "output.hpp"
#include "text.hpp"

namespace ovparquet::cli {

TableBuilder& TableBuilder::text(const std::string& name, const std::vector<std::string>& cells) {
  mColumns.push_back(ovCreateStringColumn(toHost(cells)));
  mNames.push_back(toHost(name));
  return *this;
}

TableBuilder& TableBuilder::numbers(const std::string& name, const std::vector<std::int64_t>& cells) {
  mColumns.push_back(ovCreateNumericArrayFromVector<std::int64_t>({cells.size(), 1}, cells));
  mNames.push_back(toHost(name));
  return *this;
}

void TableBuilder::write(std::ostream& out, std::size_t maxCellWidth) {
  const auto table = ovCreateTable(std::move(mColumns), mNames);
  writeTable(out, table.get(), maxCellWidth);
  mColumns.clear();
  mNames.clear();
}

}  // namespace ovparquet::cli
