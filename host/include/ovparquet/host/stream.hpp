// The virtual file system: binary streams on names or IRIs, selected by
// scheme, with open modes and cleanup policies.
#pragma once

#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/ustring.hpp>

#include <cstdint>
#include <functional>
#include <iostream>
#include <memory>
#include <streambuf>
#include <string>
#include <vector>

namespace orvane::vfs {

// Open modes, numbered as the host knows them.
enum class OpenMode : int {
  Read = 0,        // existing file, input only
  Append = 1,      // output appended to an existing or new file
  Write = 2,       // create or truncate, output only
  ReadUpdate = 3,  // existing file, input and output
};

// What CleanupFile::cleanup() does with a file opened for output.
enum class CleanupPolicy : int {
  // Nothing: whatever was written stays.
  Keep = 0,
  // The output appears under its name only when the handle is closed
  // successfully: it is written to a temporary sibling and renamed into
  // place on close (on an object store, the upload completes on close); an
  // existing file of that name is untouched until then. cleanup() (or the
  // last owner going away unclosed) removes the temporary or aborts the
  // upload.
  CommitOnClose = 1,
};

namespace detail {
struct CleanupState;
}

// Guard that decides the fate of an output file, shared with the file handle
// that writes it (the guard may be destroyed before or after the handle).
class CleanupFile {
 public:
  CleanupFile(OpenMode mode, CleanupPolicy policy);
  ~CleanupFile();
  CleanupFile(const CleanupFile&) = delete;
  CleanupFile& operator=(const CleanupFile&) = delete;

  OpenMode mode() const;
  CleanupPolicy policy() const;
  // Carries out the policy: under CommitOnClose, removes an uncommitted
  // temporary or aborts an unfinished upload; never throws.
  void cleanup() noexcept;
  // The state a file handle shares with this guard.
  const std::shared_ptr<detail::CleanupState>& state() const { return mState; }

 private:
  std::shared_ptr<detail::CleanupState> mState;
};

// The open file under a stream: a stream buffer that owns the operating
// system handle (or remote connection). Large unformatted reads land directly
// in the caller's memory.
class FileHandle : public std::streambuf {
 public:
  ~FileHandle() override = default;
  virtual bool isOpen() const = 0;
  // Flushes pending output and closes. Under CommitOnClose the output is
  // then moved into place. Raises HostError on failure; a second close does
  // nothing.
  virtual void close() = 0;
};

// A binary stream on one file: std::iostream semantics (read/gcount, peek,
// clear, flags, seekg/tellg, seekp/tellp) over a FileHandle.
class BinaryStream : public std::iostream {
 public:
  BinaryStream(std::unique_ptr<FileHandle> handle, Iri location, std::int64_t size);
  ~BinaryStream() override;

  // The handle, or nullptr once detached.
  FileHandle* fileHandle() const { return mHandle.get(); }
  // Takes the handle out of the stream; the stream is unusable afterwards.
  std::unique_ptr<FileHandle> detachFileHandle();

  // The absolute location, without credentials.
  const Iri& location() const { return mLocation; }
  // Size in bytes when the stream was opened.
  std::int64_t size() const { return mSize; }

 private:
  std::unique_ptr<FileHandle> mHandle;
  Iri mLocation;
  std::int64_t mSize;
};

// Opens a binary stream on a name or IRI. `streamFlag` is true for streams
// read front to back (the handle may read ahead), false otherwise.
// Raises HostError with a message naming the file and the reason:
// "ORVANE:host:FileNotFound", "PermissionDenied", "IsDirectory",
// "UnsupportedScheme", "CannotOpen", "EmptyName", "MalformedIri"; remote
// locations also "RemoteUnreachable", "AccessDenied", "BucketNotFound",
// "UnsupportedMode" and "HdfsUnavailable".
//
// Schemes served: "file" (and plain paths), "s3" (object stores, see
// s3_file.hpp in the sources for the configuration) and "hdfs".
std::unique_ptr<BinaryStream> openBinaryStream(const ustring& nameOrIri, CleanupFile& cleanup,
                                               OpenMode mode, bool streamFlag);

// A scheme's opener: given the parsed location, the guard and the mode,
// returns the open handle and the file's size.
struct OpenedFile {
  std::unique_ptr<FileHandle> handle;
  std::int64_t size = 0;
};
using SchemeOpener =
    std::function<OpenedFile(const Iri& location, CleanupFile& cleanup, OpenMode mode, bool streamFlag)>;

// Registers the opener of a scheme (compared ignoring case), replacing any
// earlier one. "file", "s3" and "hdfs" are registered from the start; other
// schemes raise "ORVANE:host:UnsupportedScheme" until registered.
void registerScheme(const std::string& scheme, SchemeOpener opener);

// What a location stands for when files are gathered.
struct Listing {
  // The location is a directory (an object-store prefix or bucket).
  bool isDirectory = false;
  // Then: every file below it, recursively, in name order. Local files are
  // named as the location was (a relative directory gives relative names),
  // remote ones as IRIs carrying the location's query.
  std::vector<ustring> files;
};

// Lists a directory or prefix; a file, or a location that names nothing,
// gives a listing that is not a directory (opening it then says why).
// Raises "ORVANE:host:CannotList" when the listing itself fails, and
// "UnsupportedScheme" for a scheme that cannot be listed.
Listing listLocation(const ustring& nameOrIri);

// Copies a file to another location (any schemes) under CommitOnClose: the
// copy appears only once complete, and a failure or an interrupt leaves
// nothing under the target and an older file there intact. Raises the
// opening errors of either side, "ORVANE:host:CannotWrite" when writing
// fails, and the interrupt error when the user stops it.
void copyFile(const ustring& from, const ustring& to);

// A scheme's lister: the parsed location and the name as given.
using SchemeLister = std::function<Listing(const Iri& location, const ustring& asGiven)>;
void registerSchemeLister(const std::string& scheme, SchemeLister lister);

}  // namespace orvane::vfs
