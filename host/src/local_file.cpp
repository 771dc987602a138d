// Local files: a stream buffer over a POSIX file descriptor, and the opener of
// the "file" scheme with its commit-on-close temporaries.
//
// The buffer serves either reading or writing at a time, as std::filebuf
// does: one position is shared by both sides. Small operations go through a
// 64 KiB buffer; large reads land directly in the caller's memory and large
// writes go straight to the file.
#include "local_file.hpp"

#include "cleanup_state.hpp"

#include <ovparquet/host/error.hpp>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace orvane::vfs::detail {
namespace {

constexpr std::size_t kBufferSize = 64 * 1024;

// The operating system's text for an error number, starting lowercase so it
// reads well inside a sentence.
std::string reasonText(int error) {
  if (error == 0) error = EIO;
  std::string text = std::system_category().message(error);
  if (text.size() >= 2 && text[0] >= 'A' && text[0] <= 'Z' && !(text[1] >= 'A' && text[1] <= 'Z')) {
    text[0] = static_cast<char>(text[0] - 'A' + 'a');
  }
  return text;
}

[[noreturn]] void throwOpenError(int error, const std::string& file) {
  switch (error) {
    case ENOENT:
      throwHostError("FileNotFound", file);
    case EACCES:
    case EPERM:
      throwHostError("PermissionDenied", file);
    case EISDIR:
      throwHostError("IsDirectory", file);
    default:
      throwHostError("CannotOpen", file, reasonText(error));
  }
}

int openRetrying(const char* path, int flags, mode_t permissions = 0666) {
  int fd;
  do {
    fd = ::open(path, flags, permissions);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

// Owns a descriptor until released.
class FdGuard {
 public:
  explicit FdGuard(int fd = -1) : mFd(fd) {}
  ~FdGuard() {
    if (mFd >= 0) ::close(mFd);
  }
  FdGuard(const FdGuard&) = delete;
  FdGuard& operator=(const FdGuard&) = delete;
  int get() const { return mFd; }
  void reset(int fd) {
    if (mFd >= 0) ::close(mFd);
    mFd = fd;
  }
  int release() {
    const int fd = mFd;
    mFd = -1;
    return fd;
  }

 private:
  int mFd;
};

// The process's file-creation mask. Reading it through umask() would change
// it for a moment under other threads creating files, so the kernel's report
// is preferred.
mode_t currentUmask() {
  if (FILE* status = std::fopen("/proc/self/status", "re")) {
    char line[256];
    unsigned int mask = 0;
    bool found = false;
    while (!found && std::fgets(line, sizeof line, status)) {
      found = std::sscanf(line, "Umask: %o", &mask) == 1;
    }
    std::fclose(status);
    if (found) return static_cast<mode_t>(mask);
  }
  static std::mutex umaskMutex;
  std::lock_guard<std::mutex> lock(umaskMutex);
  const mode_t mask = ::umask(022);
  ::umask(mask);
  return mask;
}

// Flushes a directory's entries to disk so that a rename in it survives a
// crash; failures only cost durability and are ignored.
void syncDirectory(const std::string& directory) {
  const int fd = openRetrying(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

std::string parentDirectory(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

class LocalFileHandle final : public FileHandle {
 public:
  // `file` names the file in messages; `commit` is the shared cleanup state
  // when the descriptor is a temporary to be renamed into place on close.
  LocalFileHandle(int fd, std::string file, OpenMode mode, std::int64_t position,
                  std::shared_ptr<CleanupState> commit)
      : mFd(fd),
        mFile(std::move(file)),
        mCanRead(mode == OpenMode::Read || mode == OpenMode::ReadUpdate),
        mCanWrite(mode != OpenMode::Read),
        mAppend(mode == OpenMode::Append),
        mCanSeek(::lseek(fd, 0, SEEK_CUR) >= 0),
        mPositional(mCanSeek),
        mFdOffset(mCanSeek ? ::lseek(fd, 0, SEEK_CUR) : 0),
        mBase(position),
        mCommit(std::move(commit)) {}

  ~LocalFileHandle() override {
    if (mFd < 0) return;
    // Without a commit, what was written stays, including what is still
    // buffered. A temporary is never committed from here.
    if (!mCommit && mArea == Area::Put) flushPut();
    ::close(mFd);
  }

  bool isOpen() const override { return mFd >= 0; }

  void close() override {
    if (mFd < 0) return;
    int error = mWriteError;
    if (mArea == Area::Put && !flushPut() && error == 0) error = mWriteError;
    dropAreas();
    mBuffer.reset();

    bool abandoned = false;
    if (mCommit) {
      std::lock_guard<std::mutex> lock(mCommit->mutex);
      abandoned = mCommit->abandoned;
    }
    if (mCommit && !abandoned && error == 0 && ::fsync(mFd) != 0) error = errno;
    if (::close(mFd) != 0 && errno != EINTR && error == 0) error = errno;
    mFd = -1;

    // After cleanup() the output is disposed of already; nothing to report.
    if (abandoned) return;
    if (error != 0) throwHostError("CannotWrite", mFile, reasonText(error));
    if (mCommit) commit();
  }

 protected:
  int_type underflow() override {
    if (mArea == Area::Get && gptr() < egptr()) return traits_type::to_int_type(*gptr());
    if (!mCanRead || mFd < 0) return traits_type::eof();
    if (!leaveArea()) return traits_type::eof();
    ensureBuffer();
    const std::size_t count = readSome(mBuffer.get(), kBufferSize, mBase);
    mArea = Area::Get;
    setg(mBuffer.get(), mBuffer.get(), mBuffer.get() + count);
    if (count == 0) return traits_type::eof();
    return traits_type::to_int_type(*gptr());
  }

  std::streamsize xsgetn(char_type* s, std::streamsize n) override {
    if (n <= 0) return 0;
    std::streamsize done = 0;
    if (mArea == Area::Get) {
      done = std::min<std::streamsize>(n, egptr() - gptr());
      std::memcpy(s, gptr(), static_cast<std::size_t>(done));
      gbump(static_cast<int>(done));
      if (done == n) return done;
    }
    if (!mCanRead || mFd < 0) return done;

    if (static_cast<std::size_t>(n - done) < kBufferSize) {
      // A small remainder: refill the buffer and copy from it.
      while (done < n && underflow() != traits_type::eof()) {
        const std::streamsize take = std::min<std::streamsize>(n - done, egptr() - gptr());
        std::memcpy(s + done, gptr(), static_cast<std::size_t>(take));
        gbump(static_cast<int>(take));
        done += take;
      }
      return done;
    }

    // A large request: read straight into the caller's memory.
    if (!leaveArea()) return done;
    while (done < n) {
      const std::size_t count = readSome(s + done, static_cast<std::size_t>(n - done), mBase);
      if (count == 0) break;
      done += static_cast<std::streamsize>(count);
      mBase += static_cast<std::int64_t>(count);
    }
    return done;
  }

  int_type overflow(int_type c) override {
    if (!mCanWrite || mFd < 0 || mWriteError != 0) return traits_type::eof();
    if (mArea != Area::Put) {
      if (!enterPut()) return traits_type::eof();
    } else if (pptr() == epptr() && !flushPut()) {
      return traits_type::eof();
    }
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
      *pptr() = traits_type::to_char_type(c);
      pbump(1);
    }
    return traits_type::not_eof(c);
  }

  std::streamsize xsputn(const char_type* s, std::streamsize n) override {
    if (n <= 0) return 0;
    if (!mCanWrite || mFd < 0 || mWriteError != 0) return 0;
    if (mArea != Area::Put && !enterPut()) return 0;
    const auto room = static_cast<std::streamsize>(epptr() - pptr());
    if (n <= room) {
      std::memcpy(pptr(), s, static_cast<std::size_t>(n));
      pbump(static_cast<int>(n));
      return n;
    }
    if (static_cast<std::size_t>(n) < kBufferSize) {
      // Fill the buffer, write it out, keep the rest.
      std::memcpy(pptr(), s, static_cast<std::size_t>(room));
      pbump(static_cast<int>(room));
      if (!flushPut()) return room;
      std::memcpy(pptr(), s + room, static_cast<std::size_t>(n - room));
      pbump(static_cast<int>(n - room));
      return n;
    }
    // A large write goes straight to the file after what is pending.
    if (!flushPut()) return 0;
    const std::int64_t before = mBase;
    if (!writeAll(s, static_cast<std::size_t>(n))) return static_cast<std::streamsize>(mBase - before);
    return n;
  }

  int sync() override {
    if (mArea == Area::Put) return flushPut() ? 0 : -1;
    return 0;
  }

  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override {
    if (mFd < 0) return pos_type(off_type(-1));
    // The current position is asked for often (tellp, tellg): answer it
    // without a system call or a flush.
    if (dir == std::ios_base::cur && off == 0) return pos_type(position());
    std::int64_t origin = 0;
    if (dir == std::ios_base::cur) {
      origin = position();
    } else if (dir == std::ios_base::end) {
      if (mArea == Area::Put && !flushPut()) return pos_type(off_type(-1));
      struct stat st;
      if (::fstat(mFd, &st) != 0) return pos_type(off_type(-1));
      origin = st.st_size;
    }
    std::int64_t target = 0;
    if (__builtin_add_overflow(origin, static_cast<std::int64_t>(off), &target)) {
      return pos_type(off_type(-1));
    }
    return seekpos(pos_type(off_type(target)), which);
  }

  pos_type seekpos(pos_type pos, std::ios_base::openmode /*which*/) override {
    if (mFd < 0) return pos_type(off_type(-1));
    const auto target = static_cast<std::int64_t>(off_type(pos));
    if (target < 0) return pos_type(off_type(-1));
    if (target == position()) return pos;
    if (!mCanSeek) return pos_type(off_type(-1));
    if (mArea == Area::Get && target >= mBase && target <= mBase + (egptr() - eback())) {
      setg(eback(), eback() + (target - mBase), egptr());
      return pos;
    }
    if (mArea == Area::Put && !flushPut()) return pos_type(off_type(-1));
    dropAreas();
    mBase = target;
    return pos;
  }

 private:
  enum class Area { None, Get, Put };

  // The stream position: the file offset of the buffer's start plus what has
  // been consumed or produced in it.
  std::int64_t position() const {
    switch (mArea) {
      case Area::Get:
        return mBase + (gptr() - eback());
      case Area::Put:
        return mBase + (pptr() - pbase());
      case Area::None:
        break;
    }
    return mBase;
  }

  void ensureBuffer() {
    if (!mBuffer) mBuffer = std::make_unique<char[]>(kBufferSize);
  }

  void dropAreas() {
    setg(nullptr, nullptr, nullptr);
    setp(nullptr, nullptr);
    mArea = Area::None;
  }

  // Leaves the current area with the position kept in mBase; false when
  // pending output cannot be written.
  bool leaveArea() {
    if (mArea == Area::Put && !flushPut()) return false;
    mBase = position();
    dropAreas();
    return true;
  }

  bool enterPut() {
    if (!leaveArea()) return false;
    if (mAppend) {
      // Output always lands at the end of the file.
      const off_t end = ::lseek(mFd, 0, SEEK_END);
      if (end >= 0) mBase = end;
    }
    ensureBuffer();
    setp(mBuffer.get(), mBuffer.get() + kBufferSize);
    mArea = Area::Put;
    return true;
  }

  // Writes the put area out and empties it; false (with the error kept for
  // close()) when the write failed.
  bool flushPut() {
    const auto pending = static_cast<std::size_t>(pptr() - pbase());
    setp(pbase(), epptr());
    if (pending == 0) return mWriteError == 0;
    return writeAll(pbase(), pending);
  }

  // Pread/pwrite refused by a file that is regular but not positional (some
  // pseudo files): continue with read/write at the descriptor's offset.
  void becomeSequential() {
    mPositional = false;
    const off_t offset = ::lseek(mFd, 0, SEEK_CUR);
    mFdOffset = offset >= 0 ? offset : 0;
  }

  bool moveDescriptorTo(std::int64_t offset) {
    if (offset == mFdOffset) return true;
    if (::lseek(mFd, static_cast<off_t>(offset), SEEK_SET) < 0) return false;
    mFdOffset = offset;
    return true;
  }

  // Reads at most `n` bytes at `offset` with one successful system call;
  // 0 means the end of the file. Errors throw, which the stream turns into
  // its bad flag.
  std::size_t readSome(char* destination, std::size_t n, std::int64_t offset) {
    n = std::min<std::size_t>(n, static_cast<std::size_t>(SSIZE_MAX));
    for (;;) {
      ssize_t count;
      if (mPositional) {
        count = ::pread(mFd, destination, n, static_cast<off_t>(offset));
        if (count < 0 && errno == ESPIPE) {
          becomeSequential();
          continue;
        }
      } else {
        if (!moveDescriptorTo(offset)) throwReadError(errno);
        count = ::read(mFd, destination, n);
        if (count > 0) mFdOffset += count;
      }
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno != EINTR) throwReadError(errno);
    }
  }

  [[noreturn]] void throwReadError(int error) {
    throw std::system_error(error, std::system_category(), "Unable to read '" + mFile + "'");
  }

  // Writes all `n` bytes at mBase (at the end in append mode), advancing
  // mBase; on failure keeps the error for close() and returns false.
  bool writeAll(const char* source, std::size_t n) {
    while (n > 0) {
      const std::size_t chunk = std::min<std::size_t>(n, static_cast<std::size_t>(SSIZE_MAX));
      ssize_t count;
      if (mAppend) {
        count = ::write(mFd, source, chunk);
      } else if (mPositional) {
        count = ::pwrite(mFd, source, chunk, static_cast<off_t>(mBase));
        if (count < 0 && errno == ESPIPE) {
          becomeSequential();
          continue;
        }
      } else {
        if (!moveDescriptorTo(mBase)) {
          mWriteError = errno;
          return false;
        }
        count = ::write(mFd, source, chunk);
        if (count > 0) mFdOffset += count;
      }
      if (count < 0) {
        if (errno == EINTR) continue;
        mWriteError = errno;
        return false;
      }
      if (count == 0) {
        mWriteError = EIO;
        return false;
      }
      source += count;
      n -= static_cast<std::size_t>(count);
      mBase += count;
    }
    if (mAppend) {
      const off_t end = ::lseek(mFd, 0, SEEK_CUR);
      if (end >= 0) mBase = end;
    }
    return true;
  }

  void commit() {
    std::lock_guard<std::mutex> lock(mCommit->mutex);
    if (mCommit->abandoned || mCommit->committed || mCommit->temporary.empty()) return;
    if (::rename(mCommit->temporary.c_str(), mCommit->target.c_str()) != 0) {
      throwHostError("CannotWrite", mFile, reasonText(errno));
    }
    mCommit->committed = true;
    mCommit->temporary.clear();
    syncDirectory(parentDirectory(mCommit->target));
  }

  int mFd;
  const std::string mFile;
  const bool mCanRead;
  const bool mCanWrite;
  const bool mAppend;
  const bool mCanSeek;
  bool mPositional;
  std::int64_t mFdOffset;
  // File offset of the start of the get or put area (or the position when
  // neither is active).
  std::int64_t mBase;
  Area mArea = Area::None;
  std::unique_ptr<char[]> mBuffer;
  int mWriteError = 0;
  std::shared_ptr<CleanupState> mCommit;
};

int openFlags(OpenMode mode) {
  constexpr int common = O_CLOEXEC | O_NOCTTY;
  switch (mode) {
    case OpenMode::Read:
      return common | O_RDONLY;
    case OpenMode::Append:
      return common | O_WRONLY | O_CREAT | O_APPEND;
    case OpenMode::Write:
      return common | O_WRONLY | O_CREAT | O_TRUNC;
    case OpenMode::ReadUpdate:
      return common | O_RDWR;
  }
  throw std::invalid_argument("unknown open mode " + std::to_string(static_cast<int>(mode)));
}

OpenedFile makeOpened(FdGuard& fd, const std::string& file, OpenMode mode, std::int64_t size,
                      std::shared_ptr<CleanupState> commit) {
  const std::int64_t position = mode == OpenMode::Append ? size : 0;
  OpenedFile opened;
  opened.handle = std::make_unique<LocalFileHandle>(fd.get(), file, mode, position, std::move(commit));
  fd.release();
  opened.size = size;
  return opened;
}

OpenedFile openInPlace(const std::string& path, OpenMode mode, bool streamFlag) {
  FdGuard fd(openRetrying(path.c_str(), openFlags(mode)));
  if (fd.get() < 0) throwOpenError(errno, path);
  struct stat st;
  if (::fstat(fd.get(), &st) != 0) throwOpenError(errno, path);
  if (S_ISDIR(st.st_mode)) throwHostError("IsDirectory", path);
  if (mode == OpenMode::Read && streamFlag) ::posix_fadvise(fd.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
  return makeOpened(fd, path, mode, S_ISREG(st.st_mode) ? st.st_size : 0, nullptr);
}

// Copies all of `source` into `destination` from the start of both.
bool copyContent(int source, int destination) {
  loff_t in = 0;
  loff_t out = 0;
  for (;;) {
    const ssize_t count = ::copy_file_range(source, &in, destination, &out, 1 << 30, 0);
    if (count == 0) return true;
    if (count > 0) continue;
    if (errno == EINTR) continue;
    if (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP) break;
    return false;
  }
  // The kernel cannot copy between these files: copy through a buffer.
  auto buffer = std::make_unique<char[]>(kBufferSize);
  for (;;) {
    const ssize_t count = ::pread(source, buffer.get(), kBufferSize, in);
    if (count < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (count == 0) return true;
    ssize_t written = 0;
    while (written < count) {
      const ssize_t w = ::pwrite(destination, buffer.get() + written, static_cast<std::size_t>(count - written),
                                 out + written);
      if (w < 0) {
        if (errno == EINTR) continue;
        return false;
      }
      written += w;
    }
    in += count;
    out += count;
  }
}

// The name of the temporary beside `target`: hidden, recognisable, and short
// enough for the file system however long the target's name is.
std::string temporaryTemplate(const std::string& target) {
  const std::size_t slash = target.rfind('/');
  std::string base = target.substr(slash + 1);
  constexpr std::size_t kMaxBase = 200;
  if (base.size() > kMaxBase) {
    std::size_t cut = kMaxBase;
    // Do not split a UTF-8 sequence.
    while (cut > 0 && (static_cast<unsigned char>(base[cut]) & 0xC0) == 0x80) --cut;
    base.resize(cut);
  }
  return target.substr(0, slash + 1) + "." + base + ".ovtmp-XXXXXX";
}

// Output under CommitOnClose: writes a temporary sibling of the target that
// close() renames over it. Targets that cannot be replaced by a rename
// (devices, pipes) are written in place instead: the returned handle is then
// null.
OpenedFile openThroughTemporary(const std::string& path, const std::shared_ptr<CleanupState>& state,
                                OpenMode mode) {
  {
    std::lock_guard<std::mutex> lock(state->mutex);
    if (state->inUse) throw std::logic_error("a cleanup guard serves one file only");
  }

  if (path.back() == '/') throwHostError("IsDirectory", path);
  struct stat st;
  const bool exists = ::stat(path.c_str(), &st) == 0;
  if (!exists && errno != ENOENT) throwOpenError(errno, path);
  if (!exists && mode == OpenMode::ReadUpdate) throwHostError("FileNotFound", path);

  std::string target = path;
  FdGuard source;
  if (exists) {
    if (S_ISDIR(st.st_mode)) throwHostError("IsDirectory", path);
    if (!S_ISREG(st.st_mode)) return {};
    // Refuse what writing in place would refuse, such as a read-only file.
    FdGuard check(openRetrying(path.c_str(), O_CLOEXEC | O_NOCTTY | (mode == OpenMode::Write ? O_WRONLY : O_RDWR)));
    if (check.get() < 0) throwOpenError(errno, path);
    if (mode != OpenMode::Write) source.reset(check.release());
    // Through a symbolic link, the file it names is replaced, not the link.
    if (char* resolved = ::realpath(path.c_str(), nullptr)) {
      target = resolved;
      std::free(resolved);
    }
  }

  std::string temporary = temporaryTemplate(target);
  FdGuard fd(::mkostemp(temporary.data(), O_CLOEXEC));
  if (fd.get() < 0) {
    const int error = errno;
    if (exists) {
      throwHostError("CannotOpen", path, "no temporary file can be created beside it (" + reasonText(error) + ")");
    }
    throwOpenError(error, path);
  }
  {
    std::lock_guard<std::mutex> lock(state->mutex);
    state->inUse = true;
    state->temporary = temporary;
    state->target = target;
  }
  // From here on a failure removes the temporary again.
  struct Undo {
    const std::shared_ptr<CleanupState>& state;
    bool active = true;
    ~Undo() {
      if (!active) return;
      std::lock_guard<std::mutex> lock(state->mutex);
      state->discardUncommitted();
      state->inUse = false;
    }
  } undo{state};

  // The replacement gets the permissions (and, where allowed, the owner) of
  // the file it replaces, or those of a newly created file.
  if (exists) {
    if (st.st_uid != ::geteuid() || st.st_gid != ::getegid()) {
      [[maybe_unused]] const int ignored = ::fchown(fd.get(), st.st_uid, st.st_gid);
    }
    ::fchmod(fd.get(), st.st_mode & 07777);
  } else {
    ::fchmod(fd.get(), 0666 & ~currentUmask());
  }

  if (source.get() >= 0 && !copyContent(source.get(), fd.get())) {
    throwHostError("CannotWrite", path, reasonText(errno));
  }

  // Appending starts once the old content is in place (the kernel's copy
  // does not write to a descriptor in append mode).
  if (mode == OpenMode::Append) {
    const int flags = ::fcntl(fd.get(), F_GETFL);
    if (flags < 0 || ::fcntl(fd.get(), F_SETFL, flags | O_APPEND) != 0) {
      throwHostError("CannotOpen", path, reasonText(errno));
    }
  }

  struct stat written;
  if (::fstat(fd.get(), &written) != 0) throwOpenError(errno, path);
  OpenedFile opened = makeOpened(fd, path, mode, written.st_size, state);
  undo.active = false;
  return opened;
}

}  // namespace

OpenedFile openLocalFile(const Iri& location, CleanupFile& cleanup, OpenMode mode, bool streamFlag) {
  const std::string path = location.localPath();
  if (path.empty()) throwHostError("EmptyName");
  openFlags(mode);  // rejects an unknown mode before anything is created
  if (mode != OpenMode::Read && cleanup.policy() == CleanupPolicy::CommitOnClose) {
    OpenedFile opened = openThroughTemporary(path, cleanup.state(), mode);
    if (opened.handle) return opened;
  }
  return openInPlace(path, mode, streamFlag);
}

}  // namespace orvane::vfs::detail
