// The loggers that form the diagnostic log's records, over Boost.Log; the
// mask and the sinks are in log.hpp.
#pragma once

#include <ovparquet/host/log.hpp>

#include <boost/log/sources/severity_channel_logger.hpp>

#include <string>

namespace orvane::log {

// A logger on one channel: open a record with
//   open_record(boost::log::keywords::severity = kDetail)
// fill it through a boost::log::record_ostream and push_record it. Each
// record carries the channel, the severity, the thread and the thread's
// nesting depth at the moment it was opened.
class Logger : public boost::log::sources::severity_channel_logger_mt<unsigned, std::string> {
 public:
  explicit Logger(const std::string& channel);
};

}  // namespace orvane::log
