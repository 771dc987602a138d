// info PATH...: what a file holds and how it is stored; of several files,
// one line each with totals.
#pragma once

#include "options.hpp"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace ovparquet::cli {

class InfoCommand {
 public:
  // Registers the command and its options on `app`.
  explicit InfoCommand(CLI::App& app);
  bool parsed() const { return mCommand->parsed(); }
  int run(const GlobalOptions& global) const;

 private:
  CLI::App* mCommand;
  std::vector<std::string> mPaths;
  bool mChunks = false;
  bool mPages = false;
  std::string mVars;
};

}  // namespace ovparquet::cli
