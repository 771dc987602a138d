// Stream buffers over Arrow's remote files.
//
// A failed remote read ends the data early instead of setting the stream's
// bad flag: Arrow's Parquet reader reads ahead on its own I/O threads, where
// an exception thrown through the stream would end the process. The reader
// then reports a file shorter than its footer says, an identified error.
//
// A remote read is a round trip, so the reading buffer counts requests, not
// bytes: the Parquet reader reads a footer and then one range per column
// chunk (or per coalesced group of chunks), and after every read the file
// adapter peeks at the next byte. Serving that peek from a short tail fetched
// with the read keeps a whole read at about one request per range.
#include "remote_file.hpp"

#include <ovparquet/host/error.hpp>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace orvane::vfs::detail {
namespace {

// A small read at a new position fetches this much.
constexpr std::int64_t kReadAheadWindow = 256 * 1024;
// Reads up to this size go through the buffer (one request with the tail);
// larger ones land in the caller's memory.
constexpr std::int64_t kBufferedReadLimit = 8 * 1024 * 1024;
// What a buffered read fetches beyond what was asked.
constexpr std::int64_t kReadTail = 64 * 1024;
// Output is handed to the upload in pieces of this size.
constexpr std::size_t kWriteBufferSize = 1024 * 1024;

class RemoteReadHandle final : public FileHandle {
 public:
  RemoteReadHandle(std::shared_ptr<arrow::io::RandomAccessFile> file, std::int64_t size, std::string name,
                   StatusDescriber describe)
      : mFile(std::move(file)), mSize(size), mName(std::move(name)), mDescribe(std::move(describe)) {}

  ~RemoteReadHandle() override {
    if (mFile) (void)mFile->Close();
  }

  bool isOpen() const override { return mFile != nullptr; }

  void close() override {
    if (!mFile) return;
    const arrow::Status status = mFile->Close();
    mFile.reset();
    dropBuffer();
    if (!status.ok()) throwHostError("CannotOpen", mName, mDescribe(status));
  }

 protected:
  int_type underflow() override {
    if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
    const std::int64_t pos = position();
    if (!mFile || pos >= mSize) return traits_type::eof();
    if (!fill(pos, std::min(kReadAheadWindow, mSize - pos), pos)) return traits_type::eof();
    return traits_type::to_int_type(*gptr());
  }

  std::streamsize xsgetn(char_type* s, std::streamsize n) override {
    if (n <= 0) return 0;
    std::streamsize done = std::min<std::streamsize>(n, egptr() - gptr());
    if (done > 0) {
      std::memcpy(s, gptr(), static_cast<std::size_t>(done));
      gbump(static_cast<int>(done));
    }
    if (done == n || !mFile) return done;

    const std::int64_t pos = position();
    if (pos >= mSize) return done;
    const std::int64_t want = std::min<std::int64_t>(n - done, mSize - pos);
    if (want <= kBufferedReadLimit) {
      if (!fill(pos, std::min(want + kReadTail, mSize - pos), pos)) return done;
      const std::int64_t take = std::min<std::int64_t>(want, egptr() - gptr());
      std::memcpy(s + done, gptr(), static_cast<std::size_t>(take));
      gbump(static_cast<int>(take));
      return done + take;
    }

    // A large read: straight into the caller's memory.
    dropBuffer();
    const arrow::Result<std::int64_t> got = mFile->ReadAt(pos, want, s + done);
    if (!got.ok()) return done;
    mPosition = pos + *got;
    return done + *got;
  }

  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override {
    std::int64_t origin = 0;
    if (dir == std::ios_base::cur) {
      origin = position();
      if (off == 0) return pos_type(origin);
    } else if (dir == std::ios_base::end) {
      origin = mSize;
    }
    std::int64_t target = 0;
    if (__builtin_add_overflow(origin, static_cast<std::int64_t>(off), &target)) return pos_type(off_type(-1));
    return seekpos(pos_type(off_type(target)), which);
  }

  pos_type seekpos(pos_type pos, std::ios_base::openmode /*which*/) override {
    const auto target = static_cast<std::int64_t>(off_type(pos));
    if (!mFile || target < 0) return pos_type(off_type(-1));
    if (target >= mBufferStart && target < mBufferStart + static_cast<std::int64_t>(mBuffer.size()) &&
        eback() != nullptr) {
      setg(eback(), eback() + (target - mBufferStart), egptr());
    } else {
      setg(nullptr, nullptr, nullptr);
      mPosition = target;
    }
    return pos;
  }

 private:
  std::int64_t position() const {
    return eback() != nullptr ? mBufferStart + (gptr() - eback()) : mPosition;
  }

  // Fetches [start, start + length) in one request into the buffer and
  // points the get area at `at` inside it; false when nothing could be read
  // there.
  bool fill(std::int64_t start, std::int64_t length, std::int64_t at) {
    setg(nullptr, nullptr, nullptr);
    mPosition = at;
    mBuffer.resize(static_cast<std::size_t>(length));
    const arrow::Result<std::int64_t> got = mFile->ReadAt(start, length, mBuffer.data());
    if (!got.ok()) {
      mBuffer.clear();
      return false;
    }
    mBuffer.resize(static_cast<std::size_t>(*got));
    mBufferStart = start;
    char* base = mBuffer.data();
    if (at - start >= *got) return false;  // the object ended early
    setg(base, base + (at - start), base + *got);
    return true;
  }

  void dropBuffer() {
    mPosition = position();
    setg(nullptr, nullptr, nullptr);
    mBuffer.clear();
    mBuffer.shrink_to_fit();
  }

  std::shared_ptr<arrow::io::RandomAccessFile> mFile;
  const std::int64_t mSize;
  const std::string mName;
  const StatusDescriber mDescribe;
  std::vector<char> mBuffer;
  std::int64_t mBufferStart = 0;
  // The position while no buffer is in use.
  std::int64_t mPosition = 0;
};

class RemoteWriteHandle final : public FileHandle {
 public:
  RemoteWriteHandle(std::shared_ptr<arrow::io::OutputStream> stream, std::string name,
                    std::shared_ptr<CleanupState> commit, StatusDescriber describe, RemoteCommit hooks)
      : mStream(std::move(stream)),
        mName(std::move(name)),
        mCommit(std::move(commit)),
        mDescribe(std::move(describe)),
        mFinish(std::move(hooks.finish)) {
    if (mCommit) {
      // cleanup() discards the output; the stream stays alive for that.
      std::lock_guard<std::mutex> lock(mCommit->mutex);
      mCommit->inUse = true;
      mCommit->abortUpload = [stream = mStream, discard = std::move(hooks.discard)] {
        (void)stream->Abort();
        if (discard) discard();
      };
    }
  }

  ~RemoteWriteHandle() override {
    if (!mStream) return;
    if (mCommit) {
      // Only an explicit, successful close() completes the upload.
      std::lock_guard<std::mutex> lock(mCommit->mutex);
      mCommit->discardUncommitted();
    } else {
      // Without a commit, what was written stays.
      flush();
      (void)mStream->Close();
    }
  }

  bool isOpen() const override { return mStream != nullptr; }

  void close() override {
    if (!mStream) return;
    const bool flushed = flush();
    std::shared_ptr<arrow::io::OutputStream> stream = std::move(mStream);
    mBuffer.clear();
    mBuffer.shrink_to_fit();
    setp(nullptr, nullptr);

    if (mCommit) {
      std::lock_guard<std::mutex> lock(mCommit->mutex);
      // After cleanup() the upload is aborted already; nothing to report.
      if (mCommit->abandoned) return;
      if (!flushed) {
        mCommit->discardUncommitted();
        throwHostError("CannotWrite", mName, mError);
      }
      arrow::Status status = stream->Close();
      if (status.ok() && mFinish) status = mFinish();
      if (!status.ok()) {
        mCommit->discardUncommitted();
        throwHostError("CannotWrite", mName, mDescribe(status));
      }
      mCommit->committed = true;
      mCommit->abortUpload = nullptr;
      return;
    }
    const arrow::Status status = stream->Close();
    if (!flushed) throwHostError("CannotWrite", mName, mError);
    if (!status.ok()) throwHostError("CannotWrite", mName, mDescribe(status));
  }

 protected:
  int_type overflow(int_type c) override {
    if (!mStream || !mError.empty()) return traits_type::eof();
    if (pbase() == nullptr) {
      mBuffer.resize(kWriteBufferSize);
      setp(mBuffer.data(), mBuffer.data() + mBuffer.size());
    } else if (pptr() == epptr() && !flush()) {
      return traits_type::eof();
    }
    if (!traits_type::eq_int_type(c, traits_type::eof())) {
      *pptr() = traits_type::to_char_type(c);
      pbump(1);
    }
    return traits_type::not_eof(c);
  }

  std::streamsize xsputn(const char_type* s, std::streamsize n) override {
    if (n <= 0 || !mStream || !mError.empty()) return 0;
    const auto room = static_cast<std::streamsize>(epptr() - pptr());
    if (n <= room) {
      std::memcpy(pptr(), s, static_cast<std::size_t>(n));
      pbump(static_cast<int>(n));
      return n;
    }
    if (static_cast<std::size_t>(n) < kWriteBufferSize) {
      for (std::streamsize done = 0; done < n;) {
        if (overflow(traits_type::eof()) == traits_type::eof()) return done;
        const std::streamsize take = std::min<std::streamsize>(n - done, epptr() - pptr());
        std::memcpy(pptr(), s + done, static_cast<std::size_t>(take));
        pbump(static_cast<int>(take));
        done += take;
      }
      return n;
    }
    // A large write goes to the upload directly, after what is pending.
    if (!flush()) return 0;
    if (!record(mStream->Write(s, n))) return 0;
    mWritten += n;
    return n;
  }

  int sync() override { return flush() ? 0 : -1; }

  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override {
    if (dir == std::ios_base::cur && off == 0) return pos_type(position());
    if (dir == std::ios_base::cur) return seekpos(pos_type(position() + off), which);
    return pos_type(off_type(-1));
  }

  // An upload is written front to back: only the current position is a
  // valid target.
  pos_type seekpos(pos_type pos, std::ios_base::openmode /*which*/) override {
    if (!mStream || static_cast<std::int64_t>(off_type(pos)) != position()) return pos_type(off_type(-1));
    return pos;
  }

 private:
  std::int64_t position() const { return mWritten + (pptr() - pbase()); }

  // Hands what is buffered to the upload; false (with the reason kept) when
  // it failed now or before.
  bool flush() {
    if (!mError.empty()) return false;
    const auto pending = static_cast<std::int64_t>(pptr() - pbase());
    if (pending == 0) return true;
    setp(pbase(), epptr());
    if (!record(mStream->Write(pbase(), pending))) return false;
    mWritten += pending;
    return true;
  }

  bool record(const arrow::Status& status) {
    if (status.ok()) return true;
    mError = mDescribe(status);
    return false;
  }

  std::shared_ptr<arrow::io::OutputStream> mStream;
  const std::string mName;
  std::shared_ptr<CleanupState> mCommit;
  const StatusDescriber mDescribe;
  std::vector<char> mBuffer;
  const std::function<arrow::Status()> mFinish;
  std::int64_t mWritten = 0;
  std::string mError;
};

}  // namespace

std::unique_ptr<FileHandle> makeRemoteReadHandle(std::shared_ptr<arrow::io::RandomAccessFile> file,
                                                 std::int64_t size, std::string name,
                                                 StatusDescriber describe) {
  return std::make_unique<RemoteReadHandle>(std::move(file), size, std::move(name), std::move(describe));
}

std::unique_ptr<FileHandle> makeRemoteWriteHandle(std::shared_ptr<arrow::io::OutputStream> stream,
                                                  std::string name, std::shared_ptr<CleanupState> commit,
                                                  StatusDescriber describe, RemoteCommit hooks) {
  return std::make_unique<RemoteWriteHandle>(std::move(stream), std::move(name), std::move(commit),
                                             std::move(describe), std::move(hooks));
}

}  // namespace orvane::vfs::detail
