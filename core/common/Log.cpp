#include <ovparquet/core/common/Log.hpp>

#include <boost/exception/diagnostic_information.hpp>

#include <exception>

namespace orvane::io::parquet::core::common {

Logger& getLogger() {
  static Logger logger("ovio::parquet");
  return logger;
}

namespace detail {
void putWide(boost::log::record_ostream& out, std::u16string_view text) {
  std::string narrow;
  orvane::append_utf16_replacing(text, narrow);
  out << narrow;
}
}  // namespace detail

void logCaughtException() noexcept {
  try {
    if (!orvane::log::isEnabled(orvane::log::kException)) return;
    logRecord(orvane::log::kException, "Exception caught: ",
              boost::current_exception_diagnostic_information());
  } catch (...) {
    // Logging never replaces the error being handled.
  }
}

std::string traceSignature(std::string_view pretty) {
  // How libstdc++ spells std::u16string once typedefs are resolved.
  static constexpr std::string_view kSpellings[] = {
      "std::__cxx11::basic_string<char16_t>",
      "std::__cxx11::basic_string<char16_t, std::char_traits<char16_t>, std::allocator<char16_t> >",
      "std::basic_string<char16_t>",
      "std::u16string",
      "orvane::ustring",
  };
  std::string text(pretty);
  for (std::string_view spelling : kSpellings) {
    for (auto at = text.find(spelling); at != std::string::npos; at = text.find(spelling, at)) {
      text.replace(at, spelling.size(), "ustring");
      at += 7;
    }
  }
  return text;
}

void ScopeTrace::writeRecord(unsigned severity, bool throwing) noexcept {
  try {
    Logger& logger = mLogger();
    auto record = logger.open_record(boost::log::keywords::severity = severity);
    if (!record) return;
    boost::log::record_ostream stream(record);
    stream << traceSignature(mSignature);
    if (throwing) stream << " [throw]";
    stream.flush();
    logger.push_record(std::move(record));
  } catch (...) {
    // A trace record never changes what the function does, and a destructor
    // never throws.
  }
}

void ScopeTrace::enter() noexcept {
  mUncaughtExceptions = std::uncaught_exceptions();
  writeRecord(orvane::log::kScopeEntry, false);
  orvane::log::increaseDepth();
}

void ScopeTrace::leave() noexcept {
  orvane::log::decreaseDepth();
  // Left by an exception when more are in flight than on entry.
  writeRecord(orvane::log::kScopeExit, std::uncaught_exceptions() > mUncaughtExceptions);
}

}  // namespace orvane::io::parquet::core::common
