#include "output_target.hpp"

#include "errors.hpp"
#include "text.hpp"

#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/ustring.hpp>

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace ovparquet::cli {
namespace {

namespace fs = std::filesystem;

// A new, empty file in the temporary directory.
fs::path temporaryFile() {
  std::error_code ec;
  fs::path directory = fs::temp_directory_path(ec);
  if (ec) directory = "/tmp";
  std::string name = (directory / "ovparquet-upload-XXXXXX").string();
  const int fd = ::mkstemp(name.data());
  if (fd < 0) {
    throw CliError("CannotWrite", "Unable to create a temporary file in '" + directory.string() + "': " +
                                      std::strerror(errno) + ".");
  }
  ::close(fd);
  return name;
}

}  // namespace

OutputTarget::OutputTarget(const std::string& output) : mOutput(output) {
  const auto iri = orvane::vfs::Iri::absolute(toHost(output));
  fs::path partial;
  if (iri.isLocal()) {
    mFinal = iri.localPath();
    partial = mFinal.parent_path() / ("." + mFinal.filename().string() + ".partial-" + std::to_string(getpid()));
  } else {
    mRemote = true;
    partial = temporaryFile();
  }
  mWriteTo = partial.string();
  mPartial.track(partial);
}

void OutputTarget::commit() {
  if (mPartial.path().empty()) return;
  if (mRemote) {
    orvane::vfs::copyFile(toHost(mPartial.path().string()), toHost(mOutput));
    discard();
    return;
  }
  std::error_code ec;
  mPartial.publish(mFinal, ec);
  if (ec) {
    throw CliError("CannotRename", "Unable to move the written file to '" + mOutput + "': " + ec.message() + ".");
  }
}

orvane::Message OutputTarget::rename(orvane::Message message) const {
  const std::string from = mWriteTo;
  const auto replace = [&](std::string text) {
    for (std::size_t p = text.find(from); p != std::string::npos; p = text.find(from, p + mOutput.size())) {
      text.replace(p, from.size(), mOutput);
    }
    return text;
  };
  for (auto& argument : message.arguments) {
    if (auto* s = std::get_if<std::string>(&argument)) {
      *s = replace(*s);
    } else if (auto* u = std::get_if<orvane::ustring>(&argument)) {
      *u = orvane::to_ustring(replace(orvane::ustring_to_utf8(*u)));
    }
  }
  return message;
}

}  // namespace ovparquet::cli
