// Builds a text table column by column and writes it aligned (numbers to
// the right), for views whose cells are already worked out.
#pragma once

#include <ovparquet/host/array.hpp>

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace ovparquet::cli {

class TableBuilder {
 public:
  TableBuilder& text(const std::string& name, const std::vector<std::string>& cells);
  TableBuilder& numbers(const std::string& name, const std::vector<std::int64_t>& cells);
  // Every row; cells wider than maxCellWidth characters are cut, 0 keeps them whole.
  void write(std::ostream& out, std::size_t maxCellWidth = 60);

 private:
  std::vector<unique_ovarray_ptr> mColumns;
  std::vector<orvane::ustring> mNames;
};

}  // namespace ovparquet::cli
