// The parsed options of `write`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ovparquet::cli {

// One setting for all variables (`all`) and settings for some of them.
struct PerVariableSetting {
  std::string all;
  std::vector<std::pair<std::string, std::string>> byVariable;
  bool given() const { return !all.empty() || !byVariable.empty(); }
};

// Rows per row group of text input when --row-group-length does not say.
inline constexpr std::int64_t kDefaultRowGroupLength = 1 << 20;

struct WriteOptions {
  std::string output;
  std::vector<std::string> inputs;   // "-" is standard input
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
