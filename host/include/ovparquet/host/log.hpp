// The diagnostic log back end over Boost.Log.
//
// Records carry a severity that is one bit of a process-wide mask; a record
// is formed only when its bit is set, and the mask is 0 by default, so a
// default run forms no record at all. Every logger also carries a per-thread
// nesting depth, rendered as indentation, which scope traces raise and lower.
// Records go to one sink: standard error (the default) or a file. The
// loggers that form records are in logger.hpp, the one header that brings in
// Boost.Log.
#pragma once

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

namespace orvane::log {

// Severity bits used by the libraries.
enum Severity : unsigned {
  kDetail = 2,
  kStatistics = 4,
  kInformation = 8,
  kException = 16,
  kScopeEntry = 32,
  kScopeExit = 64,
  kReturnValue = 128,
};
inline constexpr std::uint32_t kAllSeverities = 0xFE;

namespace detail {
extern std::atomic<std::uint32_t> gMask;
}

// The mask of enabled severities. Settable at any time, from any thread.
inline std::uint32_t mask() noexcept { return detail::gMask.load(std::memory_order_relaxed); }
void setMask(std::uint32_t mask);

// True when records of this severity are formed: a single relaxed load,
// so a disabled record costs nothing measurable.
inline bool isEnabled(unsigned severity) noexcept { return (mask() & severity) != 0; }

// Sends records to standard error (the default sink).
void logToStderr();
// Sends records to a file, appending. Raises HostError "ORVANE:host:CannotOpenLog".
void logToFile(const std::string& path);
// Sends records to a stream the caller keeps alive (tests, embedding hosts).
void logToStream(std::shared_ptr<std::ostream> stream);
// Flushes the sink.
void flush();

// The nesting depth of the calling thread.
int depth() noexcept;
void increaseDepth() noexcept;
void decreaseDepth() noexcept;

}  // namespace orvane::log
