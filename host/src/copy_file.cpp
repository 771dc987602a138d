// Copying a file between locations through the virtual file system.
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/stream.hpp>

#include <memory>
#include <vector>

namespace orvane::vfs {

void copyFile(const ustring& from, const ustring& to) {
  CleanupFile readGuard(OpenMode::Read, CleanupPolicy::Keep);
  auto source = openBinaryStream(from, readGuard, OpenMode::Read, true);
  CleanupFile writeGuard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto target = openBinaryStream(to, writeGuard, OpenMode::Write, false);
  // Whatever happens before the close, the target is discarded.
  struct Discard {
    CleanupFile& guard;
    bool active = true;
    ~Discard() {
      if (active) guard.cleanup();
    }
  } discard{writeGuard};

  const std::string toText = ustring_to_utf8(target->location().text());
  std::vector<char> buffer(8 * 1024 * 1024);
  for (;;) {
    throwIfInterruptPending();
    source->read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
    const std::streamsize count = source->gcount();
    if (source->bad()) {
      throwHostError("CannotOpen", ustring_to_utf8(source->location().text()), "reading it failed");
    }
    if (count > 0 && !target->write(buffer.data(), count)) {
      // The handle keeps the reason; closing reports it.
      break;
    }
    if (count < static_cast<std::streamsize>(buffer.size())) break;
  }
  target->flush();
  std::unique_ptr<FileHandle> handle = target->detachFileHandle();
  handle->close();
  discard.active = false;
}

}  // namespace orvane::vfs
