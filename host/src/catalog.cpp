// The message catalog: one English text per identifier, with holes {1}, {2},
// ... filled from the message's arguments in order. The host's own entries
// are here; every other layer adds its entries beside its message tags.
#include <ovparquet/host/message.hpp>

#include <algorithm>
#include <mutex>

namespace orvane {
namespace {

std::vector<CatalogEntry> hostEntries() {
  return {
      // The host itself.
      {"ORVANE:host:FileNotFound", "Unable to open '{1}': no such file or directory.", 1},
      {"ORVANE:host:PermissionDenied", "Unable to open '{1}': permission denied.", 1},
      {"ORVANE:host:IsDirectory", "Unable to open '{1}': it is a directory, not a file.", 1},
      {"ORVANE:host:UnsupportedScheme", "Unable to open '{2}': the scheme '{1}' is not supported.", 2},
      {"ORVANE:host:CannotOpen", "Unable to open '{1}': {2}.", 2},
      {"ORVANE:host:CannotWrite", "Unable to write '{1}': {2}.", 2},
      {"ORVANE:host:EmptyName", "The file name is empty.", 0},
      {"ORVANE:host:MalformedIri", "'{1}' is not a valid location: {2}.", 2},
      {"ORVANE:host:NotLocal", "'{1}' is not a local file.", 1},
      {"ORVANE:host:RemoteUnreachable", "Unable to reach '{1}': {2}.", 2},
      {"ORVANE:host:AccessDenied", "Unable to open '{1}': the server refused access ({2}).", 2},
      {"ORVANE:host:BucketNotFound", "Unable to open '{1}': the bucket '{2}' does not exist.", 2},
      {"ORVANE:host:UnsupportedMode", "Unable to open '{1}': {2}.", 2},
      {"ORVANE:host:HdfsUnavailable", "Unable to open '{1}': HDFS is not available here: {2}.", 2},
      {"ORVANE:host:CannotList", "Unable to list '{1}': {2}.", 2},
      {"ORVANE:host:InvalidUtf8", "The text is not valid UTF-8: invalid byte sequence at byte {1}.", 1},
      {"ORVANE:host:InvalidUtf16", "The text is not valid UTF-16: unpaired surrogate at position {1}.", 1},
      {"ORVANE:host:Interrupted", "Operation interrupted by the user.", 0},
      {"ORVANE:host:InvalidThreadCount", "The computational thread count must be at least 1, not {1}.", 1},
      {"ORVANE:host:InvalidMemoryLimit", "The read memory limit must be at least 1 byte, not {1}.", 1},
      {"ORVANE:host:CannotOpenLog", "Unable to open the log file '{1}': {2}.", 2},
      {"ORVANE:host:ArrayClassMismatch", "Expected a {1} array, got a {2} array.", 2},
      {"ORVANE:host:ArrayIndexOutOfRange", "Index {1} is out of range for an array of {2} elements.", 2},
      {"ORVANE:host:ArrayFieldNotFound", "The struct has no field '{1}'.", 1},
  };
}

// Entries are added while the layers' libraries load, before any message is
// formatted, so lookups read the sorted list without the lock.
struct Catalog {
  std::mutex mutex;
  std::vector<CatalogEntry> entries = hostEntries();

  Catalog() { sort(); }

  void sort() {
    std::sort(entries.begin(), entries.end(),
              [](const CatalogEntry& a, const CatalogEntry& b) { return a.identifier < b.identifier; });
  }
};

Catalog& catalog() {
  static Catalog instance;
  return instance;
}

}  // namespace

CatalogRegistration::CatalogRegistration(std::initializer_list<CatalogEntry> entries) {
  Catalog& c = catalog();
  const std::lock_guard<std::mutex> lock(c.mutex);
  c.entries.insert(c.entries.end(), entries.begin(), entries.end());
  c.sort();
}

const std::vector<CatalogEntry>& messageCatalog() { return catalog().entries; }

}  // namespace orvane
