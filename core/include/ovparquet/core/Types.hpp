// Types shared by the information, reading and writing parts of the library.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <string>
#include <vector>

namespace orvane::io::parquet::core {

using orvane::ustring;

// Names of the top-level variables (columns) of a file, in schema order.
using VariableNames = std::vector<ustring>;
// The host type name of each top-level variable ("double", "string", ...).
using VariableTypes = std::vector<std::string>;
// One codec name per variable ("snappy", "zstd", ...).
using VariableCompression = std::vector<std::string>;
// One encoding per variable ("dictionary", "plain", or "").
using VariableEncoding = std::vector<std::string>;

}  // namespace orvane::io::parquet::core
