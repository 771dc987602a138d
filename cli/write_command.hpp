// write OUT --from INPUT...: a Parquet file from CSV and Parquet files (or
// standard input), through host tables and the library's ParquetWriter.
#pragma once

#include "options.hpp"
#include "write_options.hpp"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace ovparquet::cli {

class WriteCommand {
 public:
  // Registers the command and its options on `app`.
  explicit WriteCommand(CLI::App& app);
  bool parsed() const { return mCommand->parsed(); }
  int run(const GlobalOptions& global);

 private:
  // Checks the option values CLI11 took as text and fills mOptions.
  void takeOptions();

  CLI::App* mCommand;
  WriteOptions mOptions;
  std::string mCompression;
  std::string mEncoding;
  std::string mHeights;
  std::optional<std::int64_t> mRowGroupLength;
  std::string mDelimiter = ",";
  bool mNoStoreSchema = false;
  bool mNoCompliant = false;
};

}  // namespace ovparquet::cli
