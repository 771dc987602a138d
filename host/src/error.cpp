#include <ovparquet/host/error.hpp>

namespace orvane {

HostError::HostError(Message message)
    : mMessage(std::move(message)), mText(formatMessage(mMessage)) {}

InterruptError::InterruptError() : HostError(Message(kHostComponent, "Interrupted")) {}

}  // namespace orvane
