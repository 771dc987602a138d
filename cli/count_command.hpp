// count PATH...: rows, row groups and bytes of many files and their totals.
#pragma once

#include "options.hpp"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace ovparquet::cli {

class CountCommand {
 public:
  // Registers the command and its options on `app`.
  explicit CountCommand(CLI::App& app);
  bool parsed() const { return mCommand->parsed(); }
  int run(const GlobalOptions& global) const;

 private:
  CLI::App* mCommand;
  std::vector<std::string> mPaths;
  bool mSequential = false;
};

}  // namespace ovparquet::cli
