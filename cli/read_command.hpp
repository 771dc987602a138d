// read FILE: prints the data of chosen variables and row groups, optionally
// only the rows that satisfy a --where filter.
#pragma once

#include "options.hpp"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace ovparquet::cli {

class ReadCommand {
 public:
  // Registers the command and its options on `app`.
  explicit ReadCommand(CLI::App& app);
  bool parsed() const { return mCommand->parsed(); }
  // Checks the option texts CLI11 took as they are, then reads.
  int run(const GlobalOptions& global);

 private:
  CLI::App* mCommand;
  ReadOptions mOptions;
  std::string mVars;
  std::string mRowGroups;
  std::string mRange;
  std::optional<std::uint64_t> mHead;
};

}  // namespace ovparquet::cli
