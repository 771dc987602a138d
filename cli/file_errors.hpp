// Failures about one file's content that come out of the library without
// naming the file: the Parquet library's own exceptions (statistics it cannot
// decode, for example), a failed device read under the file adapter, and
// names in the file that are not UTF-8. They are
// said again as "ORVANE:parquetio:read:InternalInvalidRead" with the file
// and, for a name, the column it belongs to.
#pragma once

#include <string>

namespace ovparquet::cli {

// Rethrows the current exception, restated when it is one of the kinds
// above. Call only from inside a catch block.
[[noreturn]] void rethrowNamingFile(const std::string& file);

// Runs `body` (work on `file`) and restates what it throws.
template <typename Body>
auto namingFile(const std::string& file, Body&& body) -> decltype(body()) {
  try {
    return body();
  } catch (...) {
    rethrowNamingFile(file);
  }
}

}  // namespace ovparquet::cli
