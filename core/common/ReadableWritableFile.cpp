#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/common/Utils.hpp>
#include <ovparquet/host/error.hpp>

#include <arrow/buffer.h>
#include <arrow/util/future.h>
#include <arrow/util/thread_pool.h>
#include <arrow/memory_pool.h>

#include <exception>


namespace orvane::io::parquet::core::common {
namespace {
constexpr const char* kTraceSource = "common/ReadableWritableFile";
}  // namespace

ReadableWritableFile::ReadableWritableFile(const ustring& filename, OpenMode mode, CleanupPolicy policy,
                                           bool streamFlag)
    : mMode(mode) {
  // The guard exists before the stream, which writes under its policy.
  mCleanupFile = std::make_unique<orvane::vfs::CleanupFile>(mode, policy);
  mStream = orvane::vfs::openBinaryStream(filename, *mCleanupFile, mode, streamFlag);
  mSize = mStream->size();
}

ReadableWritableFile::~ReadableWritableFile() = default;

::arrow::Result<int64_t> ReadableWritableFile::Read(int64_t nbytes, void* out) {
  mStream->read(static_cast<char*>(out), static_cast<std::streamsize>(nbytes));
  if (mStream->bad()) throw ReadFailure();
  const int64_t count = static_cast<int64_t>(mStream->gcount());
  if (mMode == OpenMode::Read && count < nbytes) {
    // A read may come back short only at the end of the file. Short before
    // it, the device lost bytes (a remote transfer cut off, a file truncated
    // after opening); Parquet's pre-buffered ranges are sliced at the lengths
    // asked for, so the missing bytes must be an error, never a short count.
    mStream->clear();
    const int64_t reached = static_cast<int64_t>(mStream->tellg());
    if (reached >= 0 && reached < mSize) {
      mStream->seekg(0, std::ios::end);
      mStream->clear();
      return ::arrow::Status::IOError("Unable to read from the stream: ", count, " of ", nbytes,
                                      " bytes came back, and the stream stopped at byte ", reached, " of ", mSize,
                                      ".");
    }
  }
  if (isInputMode()) {
    // A short read at the end leaves eof and fail set; clear them so that the
    // stream keeps working for later Seek and Tell calls.
    const bool atEnd = mStream->peek() == std::char_traits<char>::eof();
    if (!mStream->good()) mStream->clear();
    if (atEnd) {
      mStream->seekg(0, std::ios::end);
      mStream->clear();
    }
  }
  return count;
}

::arrow::Result<std::shared_ptr<::arrow::Buffer>> ReadableWritableFile::Read(int64_t nbytes) {
  ARROW_ASSIGN_OR_RAISE(auto buffer, ::arrow::AllocateResizableBuffer(nbytes, ::arrow::default_memory_pool()));
  ARROW_ASSIGN_OR_RAISE(const int64_t count,
                        Read(nbytes, buffer->is_mutable() ? buffer->mutable_data() : nullptr));
  if (count < nbytes) ARROW_RETURN_NOT_OK(buffer->Resize(count, /*shrink_to_fit=*/true));
  return std::shared_ptr<::arrow::Buffer>(std::move(buffer));
}

bool ReadableWritableFile::supports_zero_copy() const { return false; }

::arrow::Result<int64_t> ReadableWritableFile::GetSize() { return mSize; }

// Arrow's own positional reads: Seek and Read under the file's lock.
::arrow::Result<int64_t> ReadableWritableFile::ReadAt(int64_t position, int64_t nbytes, void* out) {
  return ::arrow::io::RandomAccessFile::ReadAt(position, nbytes, out);
}

::arrow::Result<std::shared_ptr<::arrow::Buffer>> ReadableWritableFile::ReadAt(int64_t position, int64_t nbytes) {
  return ::arrow::io::RandomAccessFile::ReadAt(position, nbytes);
}

// Parquet pre-buffers column chunks through ReadAsync, which by default runs
// ReadAt as a task on Arrow's I/O threads and lets the caller wait for it
// later. A ReadFailure thrown in such a task has no catcher and ends the
// process. The read still runs on an I/O thread here, but the caller waits
// for it at once, and a ReadFailure caught there is thrown again on the
// caller's thread, from where it travels to the library's caller.
//
// The thread matters for speed: the buffer comes from Arrow's jemalloc,
// whose first arena (the main thread's) gives blocks of 8 MiB and more back
// to the system as soon as they are freed, so every read would fault the
// coalesced column chunks in afresh. The I/O threads allocate from arenas
// that keep them, as Arrow's own files do.
::arrow::Future<std::shared_ptr<::arrow::Buffer>> ReadableWritableFile::ReadAsync(const ::arrow::io::IOContext& context,
                                                                                 int64_t position, int64_t nbytes) {
  using BufferResult = ::arrow::Result<std::shared_ptr<::arrow::Buffer>>;
  // A thread of the executor itself reads in place: waiting there for a task
  // of its own pool could wait forever once every thread of the pool does.
  if (context.executor()->OwnsThisThread()) {
    return ::arrow::Future<std::shared_ptr<::arrow::Buffer>>::MakeFinished(ReadAt(position, nbytes));
  }
  std::exception_ptr failure;
  auto read = [this, position, nbytes, &failure]() -> BufferResult {
    try {
      return ReadAt(position, nbytes);
    } catch (...) {
      failure = std::current_exception();
      return ::arrow::Status::IOError("Unable to read from the stream.");
    }
  };
  auto submitted = context.executor()->Submit(context.stop_token(), std::move(read));
  if (!submitted.ok()) return ::arrow::Future<std::shared_ptr<::arrow::Buffer>>::MakeFinished(submitted.status());
  BufferResult result = submitted->result();
  if (failure) std::rethrow_exception(failure);
  return ::arrow::Future<std::shared_ptr<::arrow::Buffer>>::MakeFinished(std::move(result));
}

::arrow::Status ReadableWritableFile::Close() {
  if (closed()) return ::arrow::Status::OK();
  mStream->fileHandle()->close();
  try {
    auto handle = mStream->detachFileHandle();
    if (handle && handle->isOpen()) handle->close();
  } catch (...) {
    // The handle was closed above; a failure to close it again changes nothing.
  }
  return ::arrow::Status::OK();
}

::arrow::Result<int64_t> ReadableWritableFile::Tell() const {
  if (isInputMode()) return static_cast<int64_t>(mStream->tellg());
  if (mStream->fail() || mStream->bad()) return int64_t{-1};
  return static_cast<int64_t>(mStream->rdbuf()->pubseekoff(0, std::ios::cur, std::ios::out));
}

bool ReadableWritableFile::closed() const { return mStream->fileHandle() == nullptr; }

::arrow::Status ReadableWritableFile::Seek(int64_t position) {
  if (isInputMode()) {
    mStream->seekg(position, std::ios::beg);
  } else {
    mStream->seekp(position, std::ios::beg);
  }
  return ::arrow::Status::OK();
}

::arrow::Status ReadableWritableFile::Write(const void* data, int64_t nbytes) {
  mStream->write(static_cast<const char*>(data), static_cast<std::streamsize>(nbytes));
  return ::arrow::Status::OK();
}

::arrow::Status ReadableWritableFile::Write(const std::shared_ptr<::arrow::Buffer>& data) {
  return Write(data->is_cpu() ? data->data() : nullptr, data->size());
}

::arrow::Status ReadableWritableFile::WriteAt(int64_t position, const void* data, int64_t nbytes) {
  ARROW_RETURN_NOT_OK(Seek(position));
  return Write(data, nbytes);
}

ustring ReadableWritableFile::GetFilename() {
  const orvane::vfs::Iri& location = mStream->location();
  // "file" in any letter case, compared unit by unit.
  if (location.isLocal()) return orvane::utf8_to_ustring(location.localPath());
  return location.text();
}

void ReadableWritableFile::Cleanup() { mCleanupFile->cleanup(); }

namespace detail {
ReadWriteFilePtr makeReadableWritableFilePtr(const ustring& filename, OpenMode mode, CleanupPolicy policy,
                                             bool streamFlag) {
  try {
    return std::make_shared<ReadableWritableFile>(filename, mode, policy, streamFlag);
  } catch (const orvane::HostError&) {
    throw;  // already a message fit for the user
  } catch (const std::exception& e) {
    throwInvalidRead(filename, orvane::to_ustring(e.what()));
  }
}
}  // namespace detail

ReadWriteFilePtr makeReadableFilePtr(const ustring& filename) {
  OVPARQUET_TRACE();
  logDetail("filename", filename);
  return detail::makeReadableWritableFilePtr(filename, OpenMode::Read, CleanupPolicy::Keep, true);
}

ReadWriteFilePtr makeWritableFilePtr(const ustring& filename, const CleanupPolicy& policy) {
  OVPARQUET_TRACE();
  logDetail("filename", filename);
  return detail::makeReadableWritableFilePtr(filename, OpenMode::Write, policy, false);
}

}  // namespace orvane::io::parquet::core::common
