// Binary streams and the registry of schemes that open them.
#include "hdfs_file.hpp"
#include "local_file.hpp"
#include "s3_file.hpp"

#include <ovparquet/host/ascii.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/stream.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace orvane::vfs {
namespace {

// Openers and listers by lowercase scheme; "file", "s3" and "hdfs" are there
// from the start.
class SchemeRegistry {
 public:
  static SchemeRegistry& instance() {
    static SchemeRegistry registry;
    return registry;
  }

  void add(const std::string& scheme, SchemeOpener opener) {
    std::lock_guard<std::mutex> lock(mMutex);
    mOpeners[asciiLowered(scheme)] = std::move(opener);
  }

  void add(const std::string& scheme, SchemeLister lister) {
    std::lock_guard<std::mutex> lock(mMutex);
    mListers[asciiLowered(scheme)] = std::move(lister);
  }

  // Copies, so that they run without the lock held.
  SchemeOpener opener(const std::string& scheme) const { return find(mOpeners, scheme); }
  SchemeLister lister(const std::string& scheme) const { return find(mListers, scheme); }

 private:
  SchemeRegistry() {
    mOpeners["file"] = &detail::openLocalFile;
    mOpeners["s3"] = &detail::openS3File;
    mOpeners["hdfs"] = &detail::openHdfsFile;
    mListers["file"] = &detail::listLocalDirectory;
    mListers["s3"] = &detail::listS3;
    mListers["hdfs"] = &detail::listHdfs;
  }

  template <typename Value>
  Value find(const std::map<std::string, Value>& table, const std::string& scheme) const {
    std::lock_guard<std::mutex> lock(mMutex);
    const auto it = table.find(asciiLowered(scheme));
    return it == table.end() ? Value() : it->second;
  }

  mutable std::mutex mMutex;
  std::map<std::string, SchemeOpener> mOpeners;
  std::map<std::string, SchemeLister> mListers;
};

}  // namespace

BinaryStream::BinaryStream(std::unique_ptr<FileHandle> handle, Iri location, std::int64_t size)
    : std::iostream(handle.get()), mHandle(std::move(handle)), mLocation(std::move(location)), mSize(size) {}

// A handle still held here is destroyed without close(): its descriptor is
// released, nothing is thrown, and output under CommitOnClose is not moved
// into place (only an explicit, successful close() does that).
BinaryStream::~BinaryStream() {
  // Let go of the buffer without raising, whatever exceptions() asks for.
  exceptions(std::ios::goodbit);
  rdbuf(nullptr);
}

std::unique_ptr<FileHandle> BinaryStream::detachFileHandle() {
  rdbuf(nullptr);
  return std::move(mHandle);
}

std::unique_ptr<BinaryStream> openBinaryStream(const ustring& nameOrIri, CleanupFile& cleanup, OpenMode mode,
                                               bool streamFlag) {
  Iri location = Iri::absolute(nameOrIri);
  const std::string scheme = ustring_to_utf8(location.scheme());
  const SchemeOpener opener = SchemeRegistry::instance().opener(scheme);
  if (!opener) throwHostError("UnsupportedScheme", location.scheme(), location.text());
  OpenedFile opened = opener(location, cleanup, mode, streamFlag);
  return std::make_unique<BinaryStream>(std::move(opened.handle), std::move(location), opened.size);
}

void registerScheme(const std::string& scheme, SchemeOpener opener) {
  SchemeRegistry::instance().add(scheme, std::move(opener));
}

Listing listLocation(const ustring& nameOrIri) {
  const Iri location = Iri::absolute(nameOrIri);
  const SchemeLister lister = SchemeRegistry::instance().lister(ustring_to_utf8(location.scheme()));
  if (!lister) throwHostError("UnsupportedScheme", location.scheme(), location.text());
  return lister(location, nameOrIri);
}

void registerSchemeLister(const std::string& scheme, SchemeLister lister) {
  SchemeRegistry::instance().add(scheme, std::move(lister));
}

}  // namespace orvane::vfs
