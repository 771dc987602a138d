// Errors of the program itself and how every failure becomes one line on
// standard error and an exit status.
#pragma once

#include <stdexcept>
#include <string>

namespace ovparquet::cli {

// Exit statuses.
inline constexpr int kExitOk = 0;
inline constexpr int kExitError = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitInterrupted = 130;

// Component of the program's own messages.
inline constexpr const char* kCliComponent = "ORVANE:cli";

// A failure the program detects itself, shown as "<identifier>: <text>".
// Usage errors (what the command line alone shows to be wrong) exit with 2,
// the others (what the data shows) with 1.
class CliError : public std::runtime_error {
 public:
  CliError(std::string key, const std::string& text, bool usage = false)
      : std::runtime_error(text), mIdentifier(std::string(kCliComponent) + ":" + std::move(key)),
        mUsage(usage) {}

  const std::string& identifier() const noexcept { return mIdentifier; }
  bool isUsage() const noexcept { return mUsage; }

 private:
  std::string mIdentifier;
  bool mUsage;
};

// A usage error: exit status 2.
inline CliError usageError(std::string key, const std::string& text) {
  return CliError(std::move(key), text, true);
}

// Runs `body` and turns whatever it throws into the one-line report and the
// exit status; returns body's own status otherwise.
template <typename Body>
int runReporting(Body&& body);

// Writes "<identifier>: <text>" to standard error (after clearing any
// progress line) and returns the exit status of the current exception. Call
// only from inside a catch block.
int reportCurrentException();

template <typename Body>
int runReporting(Body&& body) {
  try {
    return body();
  } catch (...) {
    return reportCurrentException();
  }
}

}  // namespace ovparquet::cli
