#include <ovparquet/host/warning.hpp>

#include <iostream>
#include <mutex>
#include <utility>

namespace orvane {
namespace {

std::mutex& handlerMutex() {
  static std::mutex mutex;
  return mutex;
}

WarningHandler& currentHandler() {
  static WarningHandler handler;
  return handler;
}

void printWarning(const Message& message) {
  std::string text;
  try {
    text = formatMessage(message);
  } catch (const std::exception&) {
    text = message.identifier();  // an uncatalogued warning still shows its identifier
  }
  std::cerr << "Warning: " << text << std::endl;
}

}  // namespace

void ovWarningMsgId(const Message& message) {
  WarningHandler handler;
  {
    std::lock_guard<std::mutex> lock(handlerMutex());
    handler = currentHandler();
  }
  // Called outside the lock, so a handler may itself issue warnings.
  if (handler) {
    handler(message);
  } else {
    printWarning(message);
  }
}

WarningHandler setWarningHandler(WarningHandler handler) {
  std::lock_guard<std::mutex> lock(handlerMutex());
  return std::exchange(currentHandler(), std::move(handler));
}

struct ScopedWarningCapture::State {
  mutable std::mutex mutex;
  std::vector<Message> warnings;
};

ScopedWarningCapture::ScopedWarningCapture() : mState(std::make_shared<State>()) {
  mPrevious = setWarningHandler([state = mState](const Message& message) {
    std::lock_guard<std::mutex> lock(state->mutex);
    state->warnings.push_back(message);
  });
}

ScopedWarningCapture::~ScopedWarningCapture() { setWarningHandler(std::move(mPrevious)); }

std::vector<Message> ScopedWarningCapture::warnings() const {
  std::lock_guard<std::mutex> lock(mState->mutex);
  return mState->warnings;
}

}  // namespace orvane
