// The "hdfs" scheme on Arrow's Hadoop file system (libhdfs over JNI).
#include "hdfs_file.hpp"

#include "remote_file.hpp"
#include "remote_status.hpp"

#include <ovparquet/host/error.hpp>

#include <arrow/filesystem/hdfs.h>
#include <arrow/io/hdfs.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvane::vfs::detail {
namespace {

bool environmentSet(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

// Raises HdfsUnavailable naming every missing piece of the native client.
void requireNativeClient(const std::string& location) {
  std::vector<std::string> missing;
  if (!environmentSet("JAVA_HOME")) missing.push_back("JAVA_HOME is not set (a Java runtime is needed)");
  if (!environmentSet("CLASSPATH")) {
    missing.push_back("CLASSPATH is not set (it must list the Hadoop jars, as `hadoop classpath --glob` prints)");
  }
  if (missing.empty()) {
    const arrow::Status status = arrow::io::HaveLibHdfs();
    if (!status.ok()) {
      missing.push_back("libhdfs cannot be loaded (" + status.message() +
                        "; set ARROW_LIBHDFS_DIR or HADOOP_HOME to where libhdfs.so is)");
    }
  } else if (!environmentSet("ARROW_LIBHDFS_DIR") && !environmentSet("HADOOP_HOME")) {
    missing.push_back("neither ARROW_LIBHDFS_DIR nor HADOOP_HOME says where libhdfs is");
  }
  if (missing.empty()) return;
  std::string reason = missing.front();
  for (std::size_t i = 1; i < missing.size(); ++i) reason += "; " + missing[i];
  throwHostError("HdfsUnavailable", location, reason);
}

std::shared_ptr<arrow::fs::HadoopFileSystem> connect(const std::string& location) {
  requireNativeClient(location);
  const SecretRedactor redactor({});
  auto options = arrow::fs::HdfsOptions::FromUri(location);
  if (!options.ok()) throwHostError("MalformedIri", location, redactor.describe(options.status()));
  auto fs = arrow::fs::HadoopFileSystem::Make(*options);
  if (!fs.ok()) throwHostError("RemoteUnreachable", location, redactor.describe(fs.status()));
  return *fs;
}

std::string temporaryBeside(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  std::random_device random;
  return path.substr(0, slash + 1) + "." + path.substr(slash + 1) + ".ovtmp-" + std::to_string(random());
}

}  // namespace

OpenedFile openHdfsFile(const Iri& location, CleanupFile& cleanup, OpenMode mode, bool /*streamFlag*/) {
  const std::string text = ustring_to_utf8(location.text());
  if (mode == OpenMode::Append || mode == OpenMode::ReadUpdate) {
    throwHostError("UnsupportedMode", text,
                   mode == OpenMode::Append ? "HDFS files are opened here for reading or writing only"
                                            : "an HDFS file cannot be read and written in place");
  }
  const auto fs = connect(text);
  const std::string path = ustring_to_utf8(location.path());
  const SecretRedactor redactor({});
  const StatusDescriber describe = [redactor](const arrow::Status& status) { return redactor.describe(status); };

  OpenedFile opened;
  if (mode == OpenMode::Read) {
    const auto info = fs->GetFileInfo(path);
    if (info.ok() && info->type() == arrow::fs::FileType::NotFound) throwHostError("FileNotFound", text);
    if (info.ok() && info->type() == arrow::fs::FileType::Directory) throwHostError("IsDirectory", text);
    auto file = fs->OpenInputFile(path);
    if (!file.ok()) throwHostError("CannotOpen", text, describe(file.status()));
    const auto size = (*file)->GetSize();
    if (!size.ok()) throwHostError("CannotOpen", text, describe(size.status()));
    opened.size = *size;
    opened.handle = makeRemoteReadHandle(*file, *size, text, describe);
    return opened;
  }

  if (cleanup.policy() != CleanupPolicy::CommitOnClose) {
    auto stream = fs->OpenOutputStream(path);
    if (!stream.ok()) throwHostError("CannotOpen", text, describe(stream.status()));
    opened.handle = makeRemoteWriteHandle(*stream, text, nullptr, describe);
    return opened;
  }
  // Written beside the file and moved over it on close.
  const std::string temporary = temporaryBeside(path);
  auto stream = fs->OpenOutputStream(temporary);
  if (!stream.ok()) throwHostError("CannotOpen", text, describe(stream.status()));
  RemoteCommit hooks;
  hooks.finish = [fs, temporary, path] { return fs->Move(temporary, path); };
  hooks.discard = [fs, temporary] { (void)fs->DeleteFile(temporary); };
  opened.handle = makeRemoteWriteHandle(*stream, text, cleanup.state(), describe, std::move(hooks));
  return opened;
}

Listing listHdfs(const Iri& location, const ustring& /*asGiven*/) {
  const std::string text = ustring_to_utf8(location.text());
  const auto fs = connect(text);
  const std::string path = ustring_to_utf8(location.path());
  Listing listing;
  const auto info = fs->GetFileInfo(path);
  if (!info.ok()) throwHostError("CannotList", text, SecretRedactor({}).describe(info.status()));
  if (info->type() != arrow::fs::FileType::Directory) return listing;
  listing.isDirectory = true;
  arrow::fs::FileSelector selector;
  selector.base_dir = path;
  selector.recursive = true;
  const auto entries = fs->GetFileInfo(selector);
  if (!entries.ok()) throwHostError("CannotList", text, SecretRedactor({}).describe(entries.status()));
  const std::string prefix = ustring_to_utf8(location.scheme()) + "://" + ustring_to_utf8(location.authority());
  for (const auto& entry : *entries) {
    if (entry.type() == arrow::fs::FileType::File) {
      listing.files.push_back(utf8_to_ustring(prefix + percentEncodePath(entry.path())));
    }
  }
  std::sort(listing.files.begin(), listing.files.end());
  return listing;
}

}  // namespace orvane::vfs::detail
