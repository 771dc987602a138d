// Test support: captures the diagnostic log with a chosen mask.
#pragma once

#include <ovparquet/host/log.hpp>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace ovtest {

class LogCapture {
 public:
  explicit LogCapture(std::uint32_t mask) : mOut(std::make_shared<std::ostringstream>()) {
    orvane::log::logToStream(mOut);
    orvane::log::setMask(mask);
  }
  ~LogCapture() {
    orvane::log::setMask(0);
    orvane::log::logToStderr();
  }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // The text of each record: what follows "<channel>: ", indentation kept.
  std::vector<std::string> records() const {
    orvane::log::flush();
    std::vector<std::string> out;
    std::istringstream in(mOut->str());
    for (std::string line; std::getline(in, line);) {
      const auto at = line.find("ovio::parquet: ");
      if (at != std::string::npos) out.push_back(line.substr(at + 15));
    }
    return out;
  }

 private:
  std::shared_ptr<std::ostringstream> mOut;
};

}  // namespace ovtest
