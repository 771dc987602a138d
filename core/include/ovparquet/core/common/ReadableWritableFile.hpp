// The Arrow file interface over a host binary stream: every Parquet file the
// library reads or writes is opened through this adapter.
#pragma once

#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/ustring.hpp>

#include <arrow/io/interfaces.h>
#include <arrow/result.h>
#include <arrow/status.h>

#include <cstdint>
#include <exception>
#include <memory>

namespace orvane::io::parquet::core::common {

using orvane::ustring;
using OpenMode = orvane::vfs::OpenMode;
using CleanupPolicy = orvane::vfs::CleanupPolicy;

// Thrown by Read when the stream fails; it travels through Arrow and Parquet
// to the library's caller.
class ReadFailure : public std::exception {
 public:
  const char* what() const noexcept override { return "Unable to read from the stream."; }
};

class ReadableWritableFile : public ::arrow::io::ReadWriteFileInterface {
 public:
  ReadableWritableFile(const ustring& filename, OpenMode mode, CleanupPolicy policy, bool streamFlag);
  ~ReadableWritableFile() override;

  ::arrow::Result<int64_t> Read(int64_t nbytes, void* out) override;
  ::arrow::Result<std::shared_ptr<::arrow::Buffer>> Read(int64_t nbytes) override;
  bool supports_zero_copy() const override;
  ::arrow::Result<int64_t> GetSize() override;
  ::arrow::Result<int64_t> ReadAt(int64_t position, int64_t nbytes, void* out) override;
  ::arrow::Result<std::shared_ptr<::arrow::Buffer>> ReadAt(int64_t position, int64_t nbytes) override;
  // Reads on an I/O thread while the caller waits; a ReadFailure is thrown
  // again on the caller's thread (see the definition).
  ::arrow::Future<std::shared_ptr<::arrow::Buffer>> ReadAsync(const ::arrow::io::IOContext& context,
                                                              int64_t position, int64_t nbytes) override;
  ::arrow::Status Close() override;
  ::arrow::Result<int64_t> Tell() const override;
  bool closed() const override;
  ::arrow::Status Seek(int64_t position) override;
  ::arrow::Status Write(const void* data, int64_t nbytes) override;
  ::arrow::Status Write(const std::shared_ptr<::arrow::Buffer>& data) override;
  ::arrow::Status WriteAt(int64_t position, const void* data, int64_t nbytes) override;

  // The name to show in messages: the local path of a "file" location, the
  // whole location text otherwise.
  ustring GetFilename();
  // Carries out the cleanup policy (under CommitOnClose: the partly written
  // file is discarded).
  void Cleanup();

 private:
  bool isInputMode() const { return mMode == OpenMode::Read || mMode == OpenMode::ReadUpdate; }

  std::unique_ptr<orvane::vfs::BinaryStream> mStream;
  std::unique_ptr<orvane::vfs::CleanupFile> mCleanupFile;
  std::int64_t mSize = 0;
  OpenMode mMode;
};

using ReadWriteFilePtr = std::shared_ptr<ReadableWritableFile>;

namespace detail {
// Opens the adapter; a host error passes unchanged, any other std::exception
// becomes "InternalInvalidRead" with (filename, its text).
ReadWriteFilePtr makeReadableWritableFilePtr(const ustring& filename, OpenMode mode, CleanupPolicy policy,
                                             bool streamFlag);
}  // namespace detail

// Opens a file for reading (mode 0, cleanup policy 0).
ReadWriteFilePtr makeReadableFilePtr(const ustring& filename);
// Opens a file for writing (mode 2) under the caller's cleanup policy.
ReadWriteFilePtr makeWritableFilePtr(const ustring& filename, const CleanupPolicy& policy);

}  // namespace orvane::io::parquet::core::common
