// The state a cleanup guard shares with the file handle that writes the file.
#pragma once

#include <ovparquet/host/stream.hpp>

#include <mutex>
#include <string>

namespace orvane::vfs::detail {

struct CleanupState {
  CleanupState(OpenMode mode, CleanupPolicy policy) : mode(mode), policy(policy) {}
  // The last owner removes a temporary that was never committed, so neither
  // an abandoned guard nor an unclosed handle leaves a file behind.
  ~CleanupState() { removeTemporary(); }
  CleanupState(const CleanupState&) = delete;
  CleanupState& operator=(const CleanupState&) = delete;

  const OpenMode mode;
  const CleanupPolicy policy;

  std::mutex mutex;
  // A handle has been opened with this guard.
  bool inUse = false;
  // cleanup() ran: the output must never be moved into place.
  bool abandoned = false;
  // The temporary has been renamed to its final name.
  bool committed = false;
  // Path of the uncommitted temporary (empty when there is none) and of the
  // file it replaces once committed.
  std::string temporary;
  std::string target;

  // Removes the uncommitted temporary, if any; the caller holds `mutex` or
  // is the last owner.
  void removeTemporary() noexcept;
};

}  // namespace orvane::vfs::detail
