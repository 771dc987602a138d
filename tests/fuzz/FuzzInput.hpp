// Fuzz support: hands the fuzzer's bytes to the core through the host file
// system, so that the file adapter and the stream are inside the fuzzed path.
// The bytes are served by an in-memory scheme; each input is one file.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <cstddef>
#include <cstdint>
#include <exception>

namespace ovfuzz {

// The read memory limit of every target: a read the footer declares larger
// is refused before it starts, well inside the fuzzer's 2 GiB RSS limit
// with the sanitizers' overhead.
inline constexpr std::uint64_t kReadMemoryLimit = std::uint64_t{512} << 20;

// Registers the in-memory scheme and quiets everything that would only slow
// the fuzzer down (one decoding thread, no log), and sets the read memory
// limit. Call once.
void initialise();

// The name under which `data` can be opened until the next call.
orvane::ustring serve(const std::uint8_t* data, std::size_t size);

// Runs `body`. Failures are expected of files from strangers and end the
// input quietly when they come as exceptions; anything else (a crash, a
// sanitizer report, an exception of no standard type) is a finding.
template <typename Body>
void expectingFailures(Body&& body) {
  try {
    body();
  } catch (const std::exception&) {
  }
}

}  // namespace ovfuzz
