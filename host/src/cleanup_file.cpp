// The cleanup guard of an output file.
#include "cleanup_state.hpp"

#include <ovparquet/host/stream.hpp>

#include <memory>
#include <mutex>

#include <unistd.h>

namespace orvane::vfs {

namespace detail {

void CleanupState::discardUncommitted() noexcept {
  if (committed) return;
  if (!temporary.empty()) {
    ::unlink(temporary.c_str());
    temporary.clear();
  }
  if (abortUpload) {
    const std::function<void()> abort = std::move(abortUpload);
    abortUpload = nullptr;
    abort();
  }
}

}  // namespace detail

CleanupFile::CleanupFile(OpenMode mode, CleanupPolicy policy)
    : mState(std::make_shared<detail::CleanupState>(mode, policy)) {}

// Dropping the guard only releases its share of the state: a handle that is
// still open may yet commit its output, and the last owner cleans up.
CleanupFile::~CleanupFile() = default;

OpenMode CleanupFile::mode() const { return mState->mode; }

CleanupPolicy CleanupFile::policy() const { return mState->policy; }

void CleanupFile::cleanup() noexcept {
  if (mState->policy != CleanupPolicy::CommitOnClose) return;
  std::lock_guard<std::mutex> lock(mState->mutex);
  if (mState->committed) return;
  mState->abandoned = true;
  mState->discardUncommitted();
}

}  // namespace orvane::vfs
