// The Parquet files that the locations of a command line stand for.
#pragma once

#include <string>
#include <vector>

namespace ovparquet::cli {

// Files stand for themselves; directories and object-store prefixes for the
// *.parquet files below them (the library's rule); glob patterns, quoted so
// that the program and not the shell expands them, for what they match:
// local ones through glob(3), s3 ones by listing the prefix before the first
// wildcard and matching each key. A "**" segment matches any number of
// directory levels (a/**/*.parquet: every .parquet file below a). A matched
// directory stands for its *.parquet files. The result is sorted and names each file once.
// Raises "ORVANE:cli:NoMatchingFiles" for a pattern that matches nothing and
// the library's "NoParquetFiles" for a directory without Parquet files.
std::vector<std::string> expandLocations(const std::vector<std::string>& locations);

// True when the location holds a wildcard ('*', '?' or '[' locally; '*' or
// '[' before the query of a remote location, where '?' starts the query).
bool isGlobPattern(const std::string& location);

}  // namespace ovparquet::cli
