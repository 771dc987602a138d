// Shared pieces of the three output formats.
#pragma once

#include <ovparquet/host/array.hpp>

#include <nlohmann/json.hpp>

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace ovparquet::cli {

// A CSV field: quoted when it holds the separator, a quote, a line break or
// blanks at its ends, or when it is an empty text that is not missing (so
// that "" and a missing value differ).
std::string csvField(std::string_view text, bool missing = false);
void writeCsvRow(std::ostream& out, const std::vector<std::string>& fields);

// A host table as the aligned text table (every row), fitted into the
// output's width (table_fit.hpp); cells wider than maxCellWidth characters
// are cut, 0 keeps them whole unless the width needs it.
void writeTable(std::ostream& out, const ovArray* table, std::size_t maxCellWidth = 60);

// Pretty JSON followed by a newline; invalid UTF-8 is replaced.
void writeJson(std::ostream& out, const nlohmann::ordered_json& value);

// Names of a table's variables as UTF-8.
std::vector<std::string> tableNames(const ovArray* table);

}  // namespace ovparquet::cli
