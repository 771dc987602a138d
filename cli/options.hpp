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

// One setting for all variables (`all`) and settings for some of them.
struct PerVariableSetting {
  std::string all;
  std::vector<std::pair<std::string, std::string>> byVariable;
  bool given() const { return !all.empty() || !byVariable.empty(); }
};

struct WriteOptions {
  std::string output;
  std::string input;
  std::string inputFormat = "auto";  // auto, csv, parquet
  char delimiter = ',';
  PerVariableSetting compression;
  PerVariableSetting encoding;
  std::string version;  // "" keeps the writer's default
  std::optional<std::int64_t> rowGroupLength;
  std::vector<std::int64_t> rowGroupHeights;
  bool storeSchema = true;
  bool compliantNested = true;
};

}  // namespace ovparquet::cli
