// Fitting the table view into the width of the terminal.
#pragma once

#include <ovparquet/host/array.hpp>

#include <cstddef>
#include <string>

namespace ovparquet::cli {

// Columns of the output: the terminal's width when standard output is one,
// else COLUMNS when it holds a positive number, else kDefaultWidth.
inline constexpr std::size_t kDefaultWidth = 120;
std::size_t outputWidth();

// The host table as aligned text of at most `width` characters a line (every
// row): long cells are cut first (down to a few characters, with "…"), then
// the variables that still do not fit are left out, marked by a last column
// "…" and named on a line below the table.
std::string fittedTableText(const ovArray* table, std::size_t maxCellWidth, std::size_t width);

}  // namespace ovparquet::cli
