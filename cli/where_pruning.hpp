// Skipping row groups by their statistics: a row group is left unread only
// where the footer's minima, maxima and null counts prove that the --where
// expression is true for none of its rows.
#pragma once

#include "where_expression.hpp"

#include <ovparquet/core/read/ParquetReader.hpp>

#include <string>
#include <vector>

namespace ovparquet::cli {

// For each candidate row group (1-based numbers), whether the statistics
// prove that no row satisfies the expression. Variables without statistics
// (categoricals, decimals, durations) prove nothing; a note for each is
// appended to `notes`. A variable that cannot be compared at all (a list)
// and is compared raises the library's error.
std::vector<bool> provenEmptyRowGroups(const orvane::io::parquet::core::read::ParquetReader& reader,
                                       const WhereNode& expression, const std::vector<double>& candidates,
                                       std::vector<std::string>& notes);

}  // namespace ovparquet::cli
