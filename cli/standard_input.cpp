#include "standard_input.hpp"

#include "errors.hpp"

#include <ovparquet/host/error.hpp>

#include <arrow/buffer.h>
#include <arrow/io/buffered.h>
#include <arrow/io/stdio.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace ovparquet::cli {
namespace {

constexpr std::int64_t kCopyBytes = 1 << 20;

std::shared_ptr<::arrow::io::BufferedInputStream> bufferedStandardInput() {
  static const std::shared_ptr<::arrow::io::BufferedInputStream> stream = [] {
    auto buffered = ::arrow::io::BufferedInputStream::Create(kCopyBytes, ::arrow::default_memory_pool(),
                                                             std::make_shared<::arrow::io::StdinStream>());
    if (!buffered.ok()) throw CliError("CannotReadInput", "Unable to read standard input: " + buffered.status().message());
    return *buffered;
  }();
  return stream;
}

[[noreturn]] void cannotSpool(const std::string& why) {
  throw CliError("CannotSpool", "Unable to copy standard input to a temporary file: " + why + ".");
}

}  // namespace

std::shared_ptr<::arrow::io::InputStream> standardInput() { return bufferedStandardInput(); }

bool standardInputIsParquet() {
  const auto head = bufferedStandardInput()->Peek(4);
  if (!head.ok()) throw CliError("CannotReadInput", "Unable to read standard input: " + head.status().message());
  return *head == std::string_view("PAR1", 4);
}

SpooledInput::SpooledInput() {
  if (!standardInputIsParquet()) {
    throw CliError("NotParquet", "Standard input does not hold a Parquet file (it does not start with PAR1).");
  }
  std::error_code error;
  const auto directory = std::filesystem::temp_directory_path(error);
  if (error) cannotSpool(error.message());
  std::string pattern = (directory / "ovparquet-stdin-XXXXXX.parquet").string();
  const int fd = mkstemps(pattern.data(), 8);
  if (fd < 0) cannotSpool(std::string(std::strerror(errno)) + " in " + directory.string());
  mPath = pattern;
  mFile.track(mPath);
  const auto stream = bufferedStandardInput();
  const auto fail = [&](const std::string& why) {
    ::close(fd);
    mFile.remove();
    cannotSpool(why);
  };
  while (true) {
    if (interruptSignalled()) {
      ::close(fd);
      mFile.remove();
      throw orvane::InterruptError();
    }
    auto chunk = stream->Read(kCopyBytes);
    if (!chunk.ok()) fail(chunk.status().message());
    const auto& bytes = *chunk;
    if (bytes->size() == 0) break;
    const std::uint8_t* data = bytes->data();
    std::int64_t left = bytes->size();
    while (left > 0) {
      const ssize_t written = ::write(fd, data, static_cast<std::size_t>(left));
      if (written < 0) {
        if (errno == EINTR) continue;
        fail(std::string(std::strerror(errno)) + " in " + mPath);
      }
      data += written;
      left -= written;
    }
  }
  if (::close(fd) != 0) {
    mFile.remove();
    cannotSpool(std::string(std::strerror(errno)) + " in " + mPath);
  }
}

SpooledInput::~SpooledInput() { mFile.remove(); }

}  // namespace ovparquet::cli
