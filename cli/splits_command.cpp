// splits PATH...: one line per split, from the library's split planning.
#include "splits_command.hpp"

#include "errors.hpp"
#include "locations.hpp"
#include "output.hpp"
#include "text.hpp"

#include <ovparquet/core/read/Splits.hpp>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <utility>

namespace ovparquet::cli {

namespace read = orvane::io::parquet::core::read;

std::optional<std::int64_t> parseByteSize(const std::string& text) {
  const std::string t = trim(text);
  const std::size_t digits = t.find_first_not_of("0123456789");
  if (digits == 0 || t.empty()) return std::nullopt;
  const std::string number = t.substr(0, digits);
  const std::string unit = digits == std::string::npos ? "" : t.substr(digits);
  static const std::vector<std::pair<std::string, int>> units = {
      {"", 0}, {"B", 0}, {"K", 10}, {"KiB", 10}, {"M", 20}, {"MiB", 20}, {"G", 30}, {"GiB", 30}, {"T", 40}, {"TiB", 40}};
  const auto found = std::find_if(units.begin(), units.end(), [&](const auto& u) { return u.first == unit; });
  if (found == units.end() || number.size() > 18) return std::nullopt;
  errno = 0;
  const unsigned long long value = std::strtoull(number.c_str(), nullptr, 10);
  if (errno == ERANGE || value == 0) return std::nullopt;
  const int shift = found->second;
  if (value > (static_cast<unsigned long long>(std::numeric_limits<std::int64_t>::max()) >> shift)) return std::nullopt;
  return static_cast<std::int64_t>(value << shift);
}

SplitsCommand::SplitsCommand(CLI::App& app) {
  mCommand = app.add_subcommand("splits", "Byte-range splits of Parquet files, one per line (for read --range)");
  mCommand->add_option("paths", mPaths, "Files, directories, s3 prefixes or quoted glob patterns")->required();
  mCommand->add_option("--split-size", mSplitSize, "Bytes per split, like 134217728 or 64MiB")->default_str("128MiB");
}

int SplitsCommand::run(const GlobalOptions& global) const {
  const auto splitSize = parseByteSize(mSplitSize);
  if (!splitSize) {
    throw usageError("InvalidOption", "Option --split-size needs a positive number of bytes, like 67108864 or "
                                      "64MiB, not '" + mSplitSize + "'.");
  }
  // Patterns are expanded here; the rest the split planning lists itself.
  const bool patterns = std::any_of(mPaths.begin(), mPaths.end(), isGlobPattern);
  const auto splits = read::planSplits(toHost(patterns ? expandLocations(mPaths) : mPaths), *splitSize);
  std::ostream& out = std::cout;
  if (global.format == Format::Csv) {
    writeCsvRow(out, {"location", "offset", "size"});
    for (const auto& s : splits) {
      writeCsvRow(out, {csvField(orvane::ustring_to_utf8(s.location)), std::to_string(s.offset), std::to_string(s.size)});
    }
  } else if (global.format == Format::Json) {
    // JSON lines: one object per split.
    for (const auto& s : splits) {
      nlohmann::ordered_json line = {
          {"location", orvane::ustring_to_utf8(s.location)}, {"offset", s.offset}, {"size", s.size}};
      out << line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
    }
  } else {
    for (const auto& s : splits) {
      out << orvane::ustring_to_utf8(s.location) << ' ' << s.offset << ':' << s.size << '\n';
    }
  }
  return kExitOk;
}

}  // namespace ovparquet::cli
