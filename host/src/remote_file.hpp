// File handles over Arrow's remote file systems (object stores, HDFS): the
// stream buffers that the "s3" and "hdfs" openers hand to a binary stream.
#pragma once

#include "cleanup_state.hpp"

#include <ovparquet/host/stream.hpp>

#include <arrow/io/interfaces.h>
#include <arrow/result.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace orvane::vfs::detail {

// Turns a failed Arrow status into the text shown to a person (with any
// secret removed).
using StatusDescriber = std::function<std::string(const arrow::Status&)>;

// Random access over ranged reads. Every read is served from one buffer or
// one request: a small read fetches a window ahead of itself, a read of up
// to a few MiB fetches exactly what was asked plus a short tail (so the
// caller's look at the next byte costs no request), and larger reads land
// directly in the caller's memory.
std::unique_ptr<FileHandle> makeRemoteReadHandle(std::shared_ptr<arrow::io::RandomAccessFile> file,
                                                 std::int64_t size, std::string name,
                                                 StatusDescriber describe);

// How output written under CommitOnClose is put in place or thrown away.
// By default the stream's own Close completes it (an object store's upload)
// and Abort discards it; a file system with renames writes a temporary and
// moves it into place in `finish`, removing it in `discard`.
struct RemoteCommit {
  std::function<arrow::Status()> finish;
  std::function<void()> discard;
};

// Sequential output into an upload. `commit` is the cleanup state under
// CommitOnClose (the output appears only on a successful close and is
// discarded otherwise) or null under Keep (an unclosed handle completes what
// was written when it is destroyed).
std::unique_ptr<FileHandle> makeRemoteWriteHandle(std::shared_ptr<arrow::io::OutputStream> stream,
                                                  std::string name, std::shared_ptr<CleanupState> commit,
                                                  StatusDescriber describe, RemoteCommit hooks = {});

}  // namespace orvane::vfs::detail
