// Uses exported functions of the installed libraries through their umbrella
// headers only.
#include <ovparquet/convert.hpp>
#include <ovparquet/core.hpp>
#include <ovparquet/host.hpp>

#include <arrow/type.h>

#include <iostream>

int main() {
  const orvane::ustring name = orvane::utf8_to_ustring("Grüße");
  const auto description = orvane::io::parquet::core::info::type_to_ustring(arrow::list(arrow::int32()));
  const auto hostType = orvane::io::arrow::core::to_orvane_datatype(arrow::float64());
  std::cout << orvane::ustring_to_utf8(name) << " " << name.size() << " "
            << orvane::ustring_to_utf8(description) << " " << hostType.value_or("?") << "\n";
  return 0;
}
