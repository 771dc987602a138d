// Standard input ("-") as an input file: CSV is read as it streams in;
// Parquet, whose footer is at the end, is first copied to a temporary file,
// which is removed when the copy is no longer needed (also on Ctrl-C).
#pragma once

#include "interrupt_watch.hpp"

#include <arrow/io/interfaces.h>

#include <memory>
#include <string>

namespace ovparquet::cli {

// The name standard input has on the command line.
inline constexpr const char* kStandardInput = "-";

// Standard input as one stream for the whole process, buffered so that its
// first bytes can be looked at without being consumed.
std::shared_ptr<::arrow::io::InputStream> standardInput();

// Whether standard input starts with Parquet's magic bytes ("PAR1"); its
// bytes stay unread.
bool standardInputIsParquet();

// A copy of all of standard input in a temporary file.
class SpooledInput {
 public:
  // Copies standard input; raises "ORVANE:cli:CannotSpool" when the copy
  // cannot be written, and "ORVANE:cli:NotParquet" when standard input does
  // not hold Parquet.
  SpooledInput();
  ~SpooledInput();
  SpooledInput(const SpooledInput&) = delete;
  SpooledInput& operator=(const SpooledInput&) = delete;

  const std::string& path() const { return mPath; }

 private:
  std::string mPath;
  ScratchFile mFile;
};

}  // namespace ovparquet::cli
