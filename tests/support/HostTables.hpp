// Test support: host tables from named columns.
#pragma once

#include <ovparquet/host/array.hpp>

#include <utility>
#include <vector>

namespace ovtest {

using NamedColumns = std::vector<std::pair<orvane::ustring, unique_ovarray_ptr>>;

inline unique_ovarray_ptr hostTable(NamedColumns columns) {
  std::vector<unique_ovarray_ptr> arrays;
  std::vector<orvane::ustring> names;
  for (auto& [name, column] : columns) {
    names.push_back(name);
    arrays.push_back(std::move(column));
  }
  return ovCreateTable(std::move(arrays), names);
}

}  // namespace ovtest
