// The views of the info command. Each single-file view writes the table or
// CSV form to standard output and returns nothing, or returns the JSON form.
#pragma once

#include "options.hpp"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

namespace ovparquet::cli {

// Summary of one file: variables, types, row groups, created-by, key-value metadata.
std::optional<nlohmann::ordered_json> showSummary(const GlobalOptions& global, const std::string& file);

// Per row group and column chunk: codec, encodings, sizes, optional
// structures; then the sizes per column.
std::optional<nlohmann::ordered_json> showChunks(const GlobalOptions& global, const std::string& file);

// The decoded page index of the leaf columns of the variables (all when empty).
std::optional<nlohmann::ordered_json> showPages(const GlobalOptions& global, const std::string& file,
                                                const std::vector<std::string>& variables);

// One line per file with totals; the footers are read in parallel. Returns
// the exit status.
int showFileList(const GlobalOptions& global, const std::vector<std::string>& files);

}  // namespace ovparquet::cli
