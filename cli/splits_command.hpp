// splits PATH...: the byte-range splits of the Parquet files of some
// locations, for handing out to many workers (each one `read --range`).
#pragma once

#include "options.hpp"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ovparquet::cli {

class SplitsCommand {
 public:
  // Registers the command and its options on `app`.
  explicit SplitsCommand(CLI::App& app);
  bool parsed() const { return mCommand->parsed(); }
  int run(const GlobalOptions& global) const;

 private:
  CLI::App* mCommand;
  std::vector<std::string> mPaths;
  std::string mSplitSize = "128MiB";
};

// A byte count: digits with an optional unit B, KiB, MiB, GiB or TiB (K, M,
// G and T alike); nullopt when malformed, zero or too large.
std::optional<std::int64_t> parseByteSize(const std::string& text);

}  // namespace ovparquet::cli
