// The options every command takes (--format, --threads, --log, --log-file,
// --memory-limit, --verbose): registered on the program, then checked and
// applied to the host services the commands run on.
#pragma once

#include "options.hpp"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>

namespace ovparquet::cli {

class GlobalOptionsWiring {
 public:
  // Registers the options on `app`.
  explicit GlobalOptionsWiring(CLI::App& app);

  // Checks the values CLI11 took as text (a usage error otherwise), sets up
  // the host's threads, memory limit and log, and returns the options.
  GlobalOptions apply();

 private:
  GlobalOptions mOptions;
  std::string mFormat = "table";
  std::optional<unsigned> mThreads;
  std::string mLogMask;
  std::string mMemoryLimit;
};

}  // namespace ovparquet::cli
