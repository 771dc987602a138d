// Picking rows out of host columns and tables: the rows a filter kept, the
// first rows of several row groups joined into one table, or the slices of
// a table that become row groups of a new file.
#pragma once

#include <ovparquet/host/array.hpp>

#include <cstddef>
#include <vector>

namespace ovparquet::cli {

// Rows of one host table (or one column), in the given order.
struct RowPick {
  const ovArray* source = nullptr;
  std::vector<std::size_t> rows;
};

// The rows [begin, end).
std::vector<std::size_t> rowRange(std::size_t begin, std::size_t end);

// A new N-by-1 column (or nested table) holding the picked rows of every
// piece, in order. The pieces must be of one class (datetimes of one unit and
// zone); categoricals with different categories are joined into one list of
// categories. Missing values stay missing.
unique_ovarray_ptr gatherColumn(const std::vector<RowPick>& pieces);

// A new host table of the picked rows of the given variables (0-based
// indices into the first piece's variables, in this order); every piece has
// the variables of the first.
unique_ovarray_ptr gatherTable(const std::vector<RowPick>& pieces, const std::vector<std::size_t>& variables);

// A table of zero rows with these names (0-by-1 double columns): what is
// shown when no row group was read at all.
unique_ovarray_ptr emptyTable(const std::vector<orvane::ustring>& names);

}  // namespace ovparquet::cli
