#include "locations.hpp"

#include "errors.hpp"
#include "text.hpp"

#include <ovparquet/core/read/Splits.hpp>
#include <ovparquet/host/redact.hpp>
#include <ovparquet/host/stream.hpp>

#include <fnmatch.h>
#include <glob.h>

#include <algorithm>
#include <memory>

namespace ovparquet::cli {
namespace {

namespace read = orvane::io::parquet::core::read;

std::size_t schemeEnd(const std::string& location) {
  const std::size_t colon = location.find("://");
  return colon == std::string::npos ? 0 : colon + 3;
}

// A remote location without its query, and the query ("" or "?...").
std::pair<std::string, std::string> splitQuery(const std::string& location) {
  const std::size_t query = location.find_first_of("?#", schemeEnd(location));
  if (query == std::string::npos) return {location, ""};
  return {location.substr(0, query), location.substr(query)};
}

[[noreturn]] void throwNoMatch(const std::string& pattern) {
  throw CliError("NoMatchingFiles",
                 "No files match the pattern '" + orvane::redactLocationSecrets(pattern) + "'.");
}

std::vector<std::string> localMatches(const std::string& pattern) {
  glob_t found{};
  const std::unique_ptr<glob_t, void (*)(glob_t*)> release(&found, globfree);
  const int status = glob(pattern.c_str(), 0, nullptr, &found);
  if (status == GLOB_NOMATCH) throwNoMatch(pattern);
  if (status != 0) throw CliError("CannotList", "Unable to list the matches of '" + pattern + "'.");
  return std::vector<std::string>(found.gl_pathv, found.gl_pathv + found.gl_pathc);
}

// Lists the prefix up to the last '/' before the first wildcard and keeps
// the files whose name (without the query) matches; '*' stays inside one
// level of the key.
std::vector<std::string> remoteMatches(const std::string& pattern) {
  const auto [path, query] = splitQuery(pattern);
  const std::size_t wildcard = path.find_first_of("*[", schemeEnd(path));
  const std::string prefix = path.substr(0, path.rfind('/', wildcard) + 1);
  const auto listing = orvane::vfs::listLocation(toHost(prefix + query));
  std::vector<std::string> matches;
  for (const auto& file : listing.files) {
    std::string name = orvane::ustring_to_utf8(file);
    if (fnmatch(path.c_str(), splitQuery(name).first.c_str(), FNM_PATHNAME | FNM_PERIOD) == 0) {
      matches.push_back(std::move(name));
    }
  }
  if (matches.empty()) throwNoMatch(pattern);
  return matches;
}

}  // namespace

bool isGlobPattern(const std::string& location) {
  if (schemeEnd(location) == 0) return location.find_first_of("*?[") != std::string::npos;
  const std::string path = splitQuery(location).first;
  return path.find_first_of("*[", schemeEnd(path)) != std::string::npos;
}

std::vector<std::string> expandLocations(const std::vector<std::string>& locations) {
  std::vector<std::string> named;
  for (const auto& location : locations) {
    if (!isGlobPattern(location)) {
      named.push_back(location);
      continue;
    }
    auto matches = schemeEnd(location) == 0 ? localMatches(location) : remoteMatches(location);
    named.insert(named.end(), matches.begin(), matches.end());
  }
  std::vector<std::string> files;
  for (const auto& file : read::parquetFiles(toHost(named))) files.push_back(orvane::ustring_to_utf8(file));
  std::sort(files.begin(), files.end());
  files.erase(std::unique(files.begin(), files.end()), files.end());
  return files;
}

}  // namespace ovparquet::cli
