// The library's diagnostic logger and the scope trace that functions open on
// entry.
#pragma once

#include <ovparquet/host/logger.hpp>
#include <ovparquet/host/ustring.hpp>

#include <boost/log/sources/record_ostream.hpp>

#include <string_view>

namespace orvane::io::parquet::core::common {

using Logger = orvane::log::Logger;

// The single process-wide logger, on the channel "ovio::parquet".
Logger& getLogger();

namespace detail {
// Writes one value into a record: ustring as UTF-8, everything else as the
// stream formats it.
void putWide(boost::log::record_ostream& out, std::u16string_view text);
inline void put(boost::log::record_ostream& out, const orvane::ustring& text) { putWide(out, text); }
template <typename T>
void put(boost::log::record_ostream& out, const T& value) {
  out << value;
}
}  // namespace detail

// Writes one record of `severity` made of `parts`, only when the severity is
// enabled: nothing is formatted otherwise.
template <typename... Parts>
void logRecord(unsigned severity, const Parts&... parts) {
  if (!orvane::log::isEnabled(severity)) return;
  Logger& logger = getLogger();
  auto record = logger.open_record(boost::log::keywords::severity = severity);
  if (!record) return;
  boost::log::record_ostream stream(record);
  (detail::put(stream, parts), ...);
  stream.flush();
  logger.push_record(std::move(record));
}

// A detail record " key=value".
template <typename Value>
void logDetail(std::string_view key, const Value& value) {
  logRecord(orvane::log::kDetail, " ", key, "=", value);
}

// A record "Exception caught: " with the diagnostic text of the exception
// being handled; call it only inside a catch block.
void logCaughtException() noexcept;

// The signature text shown in traces: the compiler's pretty-function text
// with the standard library's spelling of the UTF-16 string type written
// "ustring".
std::string traceSignature(std::string_view prettyFunction);

// Writes an entry record when it is created and an exit record when the scope
// ends, the exit marked " [throw]" when the scope is left by an exception.
// Tracing is decided once, on entry, by the scope-entry bit of the mask; when
// it is off, entry and exit cost one load and one test each.
class ScopeTrace {
 public:
  ScopeTrace(Logger& (*logger)(), const char* signature, const char* file, int line) noexcept
      : mLogger(logger),
        mSignature(signature),
        mFile(file),
        mLine(line),
        mEnabled(orvane::log::isEnabled(orvane::log::kScopeEntry)) {
    if (mEnabled) enter();
  }
  ~ScopeTrace() {
    if (mEnabled) leave();
  }
  ScopeTrace(const ScopeTrace&) = delete;
  ScopeTrace& operator=(const ScopeTrace&) = delete;

 private:
  void enter() noexcept;
  void leave() noexcept;
  void writeRecord(unsigned severity, bool throwing) noexcept;

  Logger& (*mLogger)();
  const char* mSignature;
  // Kept with the trace for debuggers; records carry the signature only.
  [[maybe_unused]] const char* mFile;
  [[maybe_unused]] int mLine;
  int mUncaughtExceptions = 0;
  bool mEnabled;
};

}  // namespace orvane::io::parquet::core::common

// Opens the scope trace of the enclosing function. Each source file that
// traces defines `kTraceSource`, its own path relative to the library root
// without the extension ("common/Utils"); the trace keeps it for debuggers,
// while records carry the function's signature only.
#define OVPARQUET_TRACE()                                                                          \
  ::orvane::io::parquet::core::common::ScopeTrace ovparquetScopeTrace_(                            \
      &::orvane::io::parquet::core::common::getLogger, __PRETTY_FUNCTION__, kTraceSource, __LINE__)
