// What `write` tells the writer: codecs, encodings, version, row-group
// length, schema options.
#pragma once

#include "write_options.hpp"

#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/host/array.hpp>
#include <ovparquet/host/ustring.hpp>

#include <set>
#include <string>
#include <vector>

namespace ovparquet::cli {

// The names the writer accepts, as core lists them.
extern const std::set<std::string> kCompressions;
extern const std::set<std::string> kEncodings;

// "zstd", "a=zstd,b=gzip" or "zstd,a=gzip" (a default and exceptions); a
// usage error naming `option` when a value is not in `allowed`.
PerVariableSetting perVariableSetting(const std::string& text, const std::string& option,
                                      const std::set<std::string>& allowed);

// Sets up `writer` for tables of `names` like `firstTable` (whose schema
// places per-variable settings on the leaf columns). `input` names the
// input in messages.
void configureWriter(orvane::io::parquet::core::write::ParquetWriter& writer, const WriteOptions& options,
                     const std::vector<orvane::ustring>& names, const ovArray* firstTable, const std::string& input);

}  // namespace ovparquet::cli
