// Binary streams and the registry of schemes that open them.
#include "local_file.hpp"

#include <ovparquet/host/error.hpp>
#include <ovparquet/host/stream.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace orvane::vfs {
namespace {

std::string lowerAscii(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

// Openers by lowercase scheme; "file" is there from the start.
class SchemeRegistry {
 public:
  static SchemeRegistry& instance() {
    static SchemeRegistry registry;
    return registry;
  }

  void add(const std::string& scheme, SchemeOpener opener) {
    std::lock_guard<std::mutex> lock(mMutex);
    mOpeners[lowerAscii(scheme)] = std::move(opener);
  }

  // A copy, so that the opener runs without the lock held.
  SchemeOpener find(const std::string& scheme) const {
    std::lock_guard<std::mutex> lock(mMutex);
    const auto it = mOpeners.find(lowerAscii(scheme));
    return it == mOpeners.end() ? SchemeOpener() : it->second;
  }

 private:
  SchemeRegistry() { mOpeners["file"] = &detail::openLocalFile; }

  mutable std::mutex mMutex;
  std::map<std::string, SchemeOpener> mOpeners;
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
  const SchemeOpener opener = SchemeRegistry::instance().find(scheme);
  if (!opener) throwHostError("UnsupportedScheme", location.scheme(), location.text());
  OpenedFile opened = opener(location, cleanup, mode, streamFlag);
  return std::make_unique<BinaryStream>(std::move(opened.handle), std::move(location), opened.size);
}

void registerScheme(const std::string& scheme, SchemeOpener opener) {
  SchemeRegistry::instance().add(scheme, std::move(opener));
}

}  // namespace orvane::vfs
