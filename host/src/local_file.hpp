// Local files: the opener behind the "file" scheme.
#pragma once

#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/stream.hpp>

namespace orvane::vfs::detail {

// Opens the local file of a "file" location in `mode`. Output under
// CommitOnClose goes to a temporary sibling that close() renames into place.
OpenedFile openLocalFile(const Iri& location, CleanupFile& cleanup, OpenMode mode, bool streamFlag);

// The regular files below a local directory, recursively in name order,
// named from `asGiven` (hidden entries included: callers choose).
Listing listLocalDirectory(const Iri& location, const ustring& asGiven);

}  // namespace orvane::vfs::detail
