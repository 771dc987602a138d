// The read memory limit: how many bytes one read may hold at once, judged
// from what a file declares before any of its data is read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace orvane {

// 4 GiB, or half of the physical memory where that is less: well above what
// any sensible row group needs, and low enough that a file whose footer
// declares absurd sizes is refused before it can take the machine.
std::uint64_t defaultReadMemoryLimit() noexcept;

// The current limit; the default until set.
std::uint64_t readMemoryLimit() noexcept;
// Sets the limit in bytes; 0 raises HostError "ORVANE:host:InvalidMemoryLimit".
void setReadMemoryLimit(std::uint64_t bytes);
// Back to the default.
void resetReadMemoryLimit() noexcept;

// A size written as a whole number of bytes with an optional binary unit:
// "512MiB", "2GiB", "4096", "1.5GiB" ("K", "M", "G", "T", with or without
// "iB"/"B", any case, all powers of 1024). No value for anything else or
// for a size that does not fit in 64 bits.
std::optional<std::uint64_t> parseByteSize(const std::string& text);

}  // namespace orvane
