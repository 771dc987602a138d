// The encoding `write` gives a variable it was not told about. Dictionary
// encoding pays for values that repeat (categories, codes, prices, days).
// For values that are mostly distinct (keys, measurements, time stamps) the
// Parquet writer would hash every value into a dictionary, find it too large
// and fall back to plain encoding part way through: slower by several times
// and a larger file than plain encoding from the start.
#pragma once

#include <ovparquet/host/array.hpp>

#include <string>
#include <vector>

namespace ovparquet::cli {

// "plain" for a variable whose first values (a sample of the table's first
// rows) are mostly distinct, "dictionary" otherwise; one per variable of
// `table`. A record is plain when all its fields are.
std::vector<std::string> chooseEncodings(const ovArray* table);

}  // namespace ovparquet::cli
