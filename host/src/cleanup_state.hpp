// The state a cleanup guard shares with the file handle that writes the file.
#pragma once

#include <ovparquet/host/stream.hpp>

#include <functional>
#include <mutex>
#include <string>

namespace orvane::vfs::detail {

struct CleanupState {
  CleanupState(OpenMode mode, CleanupPolicy policy) : mode(mode), policy(policy) {}
  // The last owner discards output that was never committed, so neither an
  // abandoned guard nor an unclosed handle leaves a file behind.
  ~CleanupState() { discardUncommitted(); }
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
  // Aborts an unfinished remote upload (object stores have no temporary to
  // remove: the object appears only when its upload completes). Empty when
  // there is none; never throws.
  std::function<void()> abortUpload;

  // Removes the uncommitted temporary or aborts the unfinished upload, if
  // any; the caller holds `mutex` or is the last owner.
  void discardUncommitted() noexcept;
};

}  // namespace orvane::vfs::detail
