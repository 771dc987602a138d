// stats FILE: per-row-group statistics of chosen variables, from the footer.
#pragma once

#include "options.hpp"

#include <CLI/CLI.hpp>

#include <string>

namespace ovparquet::cli {

class StatsCommand {
 public:
  // Registers the command and its options on `app`.
  explicit StatsCommand(CLI::App& app);
  bool parsed() const { return mCommand->parsed(); }
  int run(const GlobalOptions& global);

 private:
  CLI::App* mCommand;
  StatsOptions mOptions;
  std::string mVars;
};

}  // namespace ovparquet::cli
