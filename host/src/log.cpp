#include <ovparquet/host/error.hpp>
#include <ovparquet/host/logger.hpp>
#include <ovparquet/host/redact.hpp>

#include <boost/core/null_deleter.hpp>
#include <boost/log/attributes/current_thread_id.hpp>
#include <boost/log/attributes/clock.hpp>
#include <boost/log/attributes/function.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/text_ostream_backend.hpp>
#include <boost/log/support/date_time.hpp>
#include <boost/thread/tss.hpp>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <mutex>

namespace orvane::log {

namespace detail {
std::atomic<std::uint32_t> gMask{0};
}

namespace {

namespace logging = boost::log;
namespace expr = boost::log::expressions;
namespace sinks = boost::log::sinks;
namespace attrs = boost::log::attributes;

using Sink = sinks::synchronous_sink<sinks::text_ostream_backend>;

BOOST_LOG_ATTRIBUTE_KEYWORD(severityKeyword, "Severity", unsigned)
BOOST_LOG_ATTRIBUTE_KEYWORD(channelKeyword, "Channel", std::string)
BOOST_LOG_ATTRIBUTE_KEYWORD(depthKeyword, "Depth", int)
BOOST_LOG_ATTRIBUTE_KEYWORD(threadKeyword, "ThreadID", attrs::current_thread_id::value_type)

// Per-thread nesting depth, through Boost.Thread's thread-specific storage.
boost::thread_specific_ptr<int>& depthSlot() {
  static boost::thread_specific_ptr<int> slot;
  return slot;
}

int& threadDepth() {
  auto& slot = depthSlot();
  if (slot.get() == nullptr) slot.reset(new int(0));
  return *slot;
}

const char* severityName(unsigned severity) {
  switch (severity) {
    case kDetail: return "detail";
    case kStatistics: return "stats ";
    case kInformation: return "info  ";
    case kException: return "except";
    case kScopeEntry: return "enter ";
    case kScopeExit: return "exit  ";
    case kReturnValue: return "return";
    default: return "other ";
  }
}

// One line per record:
//   2026-11-21 07:59:01.123456 [0x00007f..] enter  ovio::parquet:     text
// with two blanks of indentation per nesting level.
void formatRecord(const logging::record_view& record, logging::formatting_ostream& out) {
  static const auto timestamp =
      expr::stream << expr::format_date_time<boost::posix_time::ptime>("TimeStamp", "%Y-%m-%d %H:%M:%S.%f");
  timestamp(record, out);
  out << " [" << record[threadKeyword] << "] ";
  const auto severity = record[severityKeyword];
  out << severityName(severity ? *severity : 0u) << ' ' << record[channelKeyword] << ": ";
  const auto depth = record[depthKeyword];
  if (depth && *depth > 0) out << std::string(static_cast<std::size_t>(*depth) * 2, ' ');
  // A location given with credentials must not show them.
  if (const auto text = record[expr::smessage]) out << redactLocationSecrets(*text);
}

std::mutex& sinkMutex() {
  static std::mutex mutex;
  return mutex;
}

boost::shared_ptr<Sink>& currentSink() {
  static boost::shared_ptr<Sink> sink;
  return sink;
}

void replaceSink(boost::shared_ptr<std::ostream> stream) {
  auto backend = boost::make_shared<sinks::text_ostream_backend>();
  backend->add_stream(std::move(stream));
  backend->auto_flush(true);
  auto sink = boost::make_shared<Sink>(backend);
  sink->set_formatter(&formatRecord);

  std::lock_guard<std::mutex> lock(sinkMutex());
  auto core = logging::core::get();
  if (currentSink()) core->remove_sink(currentSink());
  currentSink() = sink;
  core->add_sink(sink);
}

// Sets up the core once: the mask filter, the common attributes and the
// default sink on standard error.
void ensureCore() {
  static std::once_flag once;
  std::call_once(once, [] {
    auto core = logging::core::get();
    core->add_global_attribute("TimeStamp", attrs::local_clock());
    core->add_global_attribute("ThreadID", attrs::current_thread_id());
    core->set_filter([](const logging::attribute_value_set& values) {
      const auto severity = values[severityKeyword];
      return severity && isEnabled(*severity);
    });
    bool hasSink = false;
    {
      std::lock_guard<std::mutex> lock(sinkMutex());
      hasSink = static_cast<bool>(currentSink());
    }
    if (!hasSink) replaceSink(boost::shared_ptr<std::ostream>(&std::clog, boost::null_deleter()));
  });
}

}  // namespace

void setMask(std::uint32_t newMask) {
  ensureCore();
  detail::gMask.store(newMask, std::memory_order_relaxed);
}

void logToStderr() {
  ensureCore();
  replaceSink(boost::shared_ptr<std::ostream>(&std::clog, boost::null_deleter()));
}

void logToFile(const std::string& path) {
  ensureCore();
  auto file = boost::make_shared<std::ofstream>(path, std::ios::app);
  if (!*file) throwHostError("CannotOpenLog", path, std::string(std::strerror(errno)));
  replaceSink(file);
}

void logToStream(std::shared_ptr<std::ostream> stream) {
  ensureCore();
  // Boost.Log wants a boost::shared_ptr; keep the std one alive inside it.
  std::ostream* raw = stream.get();
  replaceSink(boost::shared_ptr<std::ostream>(raw, [keep = std::move(stream)](std::ostream*) {}));
}

void flush() {
  std::lock_guard<std::mutex> lock(sinkMutex());
  if (currentSink()) currentSink()->flush();
}

int depth() noexcept { return threadDepth(); }
void increaseDepth() noexcept { ++threadDepth(); }
void decreaseDepth() noexcept { --threadDepth(); }

Logger::Logger(const std::string& channel)
    : boost::log::sources::severity_channel_logger_mt<unsigned, std::string>(
          boost::log::keywords::channel = channel) {
  ensureCore();
  // The depth is read when a record is opened, on the thread that opens it.
  add_attribute("Depth", attrs::make_function([] { return threadDepth(); }));
}

}  // namespace orvane::log
