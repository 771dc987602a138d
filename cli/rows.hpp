// The program's names for the host's row picking (ovparquet/host/rows.hpp),
// and the empty table shown when no row group was read.
#pragma once

#include <ovparquet/host/array.hpp>
#include <ovparquet/host/rows.hpp>

#include <cstddef>
#include <vector>

namespace ovparquet::cli {

using RowPick = ovRowPick;

inline std::vector<std::size_t> rowRange(std::size_t begin, std::size_t end) { return ovRowRange(begin, end); }

inline unique_ovarray_ptr gatherTable(const std::vector<RowPick>& pieces, const std::vector<std::size_t>& variables) {
  return ovGatherTable(pieces, variables);
}

// A table of zero rows with these names (0-by-1 double columns): what is
// shown when no row group was read at all.
unique_ovarray_ptr emptyTable(const std::vector<orvane::ustring>& names);

}  // namespace ovparquet::cli
