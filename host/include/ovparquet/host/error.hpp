// Host errors: user-facing exceptions that carry an identified message whose
// formatted text is fit to show a person as it is.
#pragma once

#include <ovparquet/host/message.hpp>

#include <exception>
#include <string>

namespace orvane {

// Component of the host's own messages.
inline constexpr const char* kHostComponent = "ORVANE:host";

class HostError : public std::exception {
 public:
  explicit HostError(Message message);

  const Message& message() const noexcept { return mMessage; }
  std::string identifier() const { return mMessage.identifier(); }
  // The formatted catalog text.
  const char* what() const noexcept override { return mText.c_str(); }

 private:
  Message mMessage;
  std::string mText;
};

// Raised by throwIfInterruptPending when the user asked to stop
// ("ORVANE:host:Interrupted").
class InterruptError : public HostError {
 public:
  InterruptError();
};

// Builds and throws a host error of the host's own component.
template <typename... Args>
[[noreturn]] void throwHostError(std::string key, Args&&... args) {
  throw HostError(Message::make(kHostComponent, std::move(key), std::forward<Args>(args)...));
}

}  // namespace orvane
