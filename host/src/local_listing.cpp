// Listing local directories for the "file" scheme.
#include "local_file.hpp"

#include <ovparquet/host/ascii.hpp>
#include <ovparquet/host/error.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

namespace orvane::vfs::detail {

Listing listLocalDirectory(const Iri& location, const ustring& asGiven) {
  namespace fs = std::filesystem;
  const std::string path = location.localPath();
  Listing listing;
  std::error_code error;
  if (!fs::is_directory(path, error)) return listing;
  listing.isDirectory = true;

  // A name given as a path keeps its spelling; a "file:" IRI lists as paths.
  std::string given = ustring_to_utf8(asGiven);
  const bool fileIri = equalsIgnoringAsciiCase(std::string_view(given).substr(0, 5), "file:");
  const fs::path base = fileIri ? fs::path(path) : fs::path(given);
  std::vector<std::string> files;
  for (fs::recursive_directory_iterator it(base, fs::directory_options::skip_permission_denied, error), end;
       !error && it != end; it.increment(error)) {
    if (it->is_regular_file(error)) files.push_back(it->path().string());
  }
  if (error) {
    throwHostError("CannotList", path, error.message());
  }
  std::sort(files.begin(), files.end());
  listing.files.reserve(files.size());
  for (const std::string& file : files) listing.files.push_back(utf8_to_ustring(file));
  return listing;
}

}  // namespace orvane::vfs::detail
