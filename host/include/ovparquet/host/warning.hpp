// The host warning facility: warnings are identified messages handed to the
// current handler; they never stop the operation that issues them.
#pragma once

#include <ovparquet/host/message.hpp>

#include <functional>
#include <memory>
#include <vector>

namespace orvane {

using WarningHandler = std::function<void(const Message&)>;

// Issues a warning. The default handler writes "Warning: " and the formatted
// text to standard error.
void ovWarningMsgId(const Message& message);

// Replaces the handler (an empty function restores the default) and returns
// the previous one. Thread-safe; the handler may be called from any thread.
WarningHandler setWarningHandler(WarningHandler handler);

// Collects every warning issued while it lives, instead of printing them.
// Captures nest: the innermost one receives the warnings.
class ScopedWarningCapture {
 public:
  ScopedWarningCapture();
  ~ScopedWarningCapture();
  ScopedWarningCapture(const ScopedWarningCapture&) = delete;
  ScopedWarningCapture& operator=(const ScopedWarningCapture&) = delete;

  std::vector<Message> warnings() const;

 private:
  struct State;
  std::shared_ptr<State> mState;
  WarningHandler mPrevious;
};

}  // namespace orvane
