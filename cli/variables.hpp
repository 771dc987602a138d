// Checking variable names given on the command line against a file's.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <string>
#include <vector>

namespace ovparquet::cli {

// Raises "UnknownVariable" (exit status 1) naming the first name the file
// does not hold, and listing the file's variables.
void requireVariables(const std::vector<std::string>& wanted, const std::vector<orvane::ustring>& available,
                      const std::string& file);

// 0-based position of a name, or -1.
int variableIndex(const std::vector<orvane::ustring>& names, const std::string& name);

}  // namespace ovparquet::cli
