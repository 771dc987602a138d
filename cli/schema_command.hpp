// schema PATH...: the Parquet schema as a tree, with the physical, logical
// and repetition of every field and the host type of every variable.
#pragma once

#include "options.hpp"

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace ovparquet::cli {

class SchemaCommand {
 public:
  // Registers the command and its options on `app`.
  explicit SchemaCommand(CLI::App& app);
  bool parsed() const { return mCommand->parsed(); }
  int run(const GlobalOptions& global) const;

 private:
  CLI::App* mCommand;
  std::vector<std::string> mPaths;
};

}  // namespace ovparquet::cli
