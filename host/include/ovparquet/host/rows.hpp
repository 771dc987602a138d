// Picking rows out of host columns and tables into new ones: the rows a
// filter kept, the first rows of several row groups joined into one table,
// or the slices of a table that become row groups of a new file.
#pragma once

#include <ovparquet/host/array.hpp>

#include <cstddef>
#include <vector>

// Rows of one host table (or one column), in the given order.
struct ovRowPick {
  const ovArray* source = nullptr;
  std::vector<std::size_t> rows;
};

// The rows [begin, end).
std::vector<std::size_t> ovRowRange(std::size_t begin, std::size_t end);

// A new N-by-1 column (or nested table) holding the picked rows of every
// piece, in order. The pieces must be of one class (datetimes of one unit and
// zone); categoricals with different categories are joined into one list of
// categories (ovCategoryUnion). Missing values stay missing. A struct that is
// not a table raises std::logic_error.
unique_ovarray_ptr ovGatherColumn(const std::vector<ovRowPick>& pieces);

// A new host table of the picked rows of the given variables (0-based
// indices into the first piece's variables, in this order); every piece has
// the variables of the first.
unique_ovarray_ptr ovGatherTable(const std::vector<ovRowPick>& pieces, const std::vector<std::size_t>& variables);
