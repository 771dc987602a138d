// The parsed command line: global options and those of each command.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ovparquet::cli {

enum class Format { Table, Json, Csv };

struct GlobalOptions {
  Format format = Format::Table;
  bool ndjson = false;  // with Json: one compact record per line where there are rows
  bool verbose = false;
  std::optional<unsigned> threads;
  std::optional<std::uint32_t> logMask;
  std::string logFile;
};

struct ReadOptions {
  std::vector<std::string> paths;  // as given: files, directories, globs
  std::string file;                // the one being read
  std::vector<std::string> vars;
  std::vector<double> rowGroups;             // 1-based
  std::optional<std::pair<double, double>> range;  // offset, size in bytes
  std::optional<std::uint64_t> head;
  std::uint64_t offset = 0;                  // rows skipped first
  std::string where;
  std::size_t maxRows = 20;                  // table output; 0 = all
};

struct StatsOptions {
  std::vector<std::string> paths;  // as given: files, directories, globs
  std::string file;                // the one being worked on
  std::vector<std::string> vars;
};

}  // namespace ovparquet::cli
