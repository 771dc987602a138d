// Starts an upload, says so, and waits to be killed: what a process killed in
// the middle of a write leaves behind.
#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/ustring.hpp>

#include <unistd.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  using namespace orvane::vfs;
  CleanupFile guard(OpenMode::Write, CleanupPolicy::CommitOnClose);
  auto stream = openBinaryStream(orvane::utf8_to_ustring(argv[1]), guard, OpenMode::Write, false);
  const std::string chunk(1024 * 1024, 'k');
  for (int i = 0; i < 12; ++i) stream->write(chunk.data(), static_cast<std::streamsize>(chunk.size()));
  stream->flush();
  std::printf("written\n");
  std::fflush(stdout);
  for (;;) ::pause();
}
