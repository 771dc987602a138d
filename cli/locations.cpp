#include "locations.hpp"

#include "errors.hpp"
#include "text.hpp"

#include <ovparquet/core/read/Splits.hpp>
#include <ovparquet/host/redact.hpp>
#include <ovparquet/host/stream.hpp>

#include <fnmatch.h>
#include <glob.h>

#include <algorithm>
#include <filesystem>
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

std::vector<std::string> splitSegments(const std::string& path) {
  std::vector<std::string> segments;
  std::size_t start = 0;
  while (start <= path.size()) {
    const std::size_t slash = path.find('/', start);
    const std::size_t end = slash == std::string::npos ? path.size() : slash;
    segments.push_back(path.substr(start, end - start));
    if (slash == std::string::npos) break;
    start = slash + 1;
  }
  return segments;
}

bool hasRecursiveSegment(const std::string& path) {
  for (const auto& segment : splitSegments(path)) {
    if (segment == "**") return true;
  }
  return false;
}

// Whether path segments [j, end) match pattern segments [i, end): a "**"
// segment stands for any number of levels (none included) whose names do not
// start with a dot; any other segment matches one level as fnmatch does.
bool segmentsMatch(const std::vector<std::string>& pattern, std::size_t i, const std::vector<std::string>& path,
                   std::size_t j) {
  if (i == pattern.size()) return j == path.size();
  if (pattern[i] == "**") {
    if (segmentsMatch(pattern, i + 1, path, j)) return true;
    return j < path.size() && !path[j].empty() && path[j][0] != '.' && segmentsMatch(pattern, i, path, j + 1);
  }
  return j < path.size() && fnmatch(pattern[i].c_str(), path[j].c_str(), FNM_PERIOD) == 0 &&
         segmentsMatch(pattern, i + 1, path, j + 1);
}

bool pathMatches(const std::string& pattern, const std::string& path) {
  return segmentsMatch(splitSegments(pattern), 0, splitSegments(path), 0);
}

// A local pattern with a "**" segment: the tree below its literal leading
// directories is walked (hidden directories are not entered) and every file
// and directory whose path matches is kept.
std::vector<std::string> localRecursiveMatches(const std::string& pattern) {
  const auto segments = splitSegments(pattern);
  std::size_t literal = 0;  // leading segments without wildcards
  while (literal + 1 < segments.size() && segments[literal].find_first_of("*?[") == std::string::npos) ++literal;
  std::string root;
  for (std::size_t k = 0; k < literal; ++k) root += segments[k] + "/";
  namespace fs = std::filesystem;
  const fs::path start = root.empty() ? fs::path(".") : fs::path(root);
  std::vector<std::string> matches;
  std::error_code error;
  if (!fs::is_directory(start, error)) throwNoMatch(pattern);
  fs::recursive_directory_iterator walk(start, fs::directory_options::skip_permission_denied, error);
  if (error) throw CliError("CannotList", "Unable to list the matches of '" + pattern + "': " + error.message() + ".");
  for (; walk != fs::recursive_directory_iterator(); walk.increment(error)) {
    if (error) throw CliError("CannotList", "Unable to list the matches of '" + pattern + "': " + error.message() + ".");
    const std::string name = walk->path().filename().string();
    const std::string path = root + walk->path().lexically_relative(start).generic_string();
    if (pathMatches(pattern, path)) matches.push_back(path);
    if (!name.empty() && name[0] == '.' && walk->is_directory(error)) walk.disable_recursion_pending();
  }
  if (matches.empty()) throwNoMatch(pattern);
  return matches;
}

std::vector<std::string> localMatches(const std::string& pattern) {
  if (hasRecursiveSegment(pattern)) return localRecursiveMatches(pattern);
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
    if (pathMatches(path, splitQuery(name).first)) {
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
