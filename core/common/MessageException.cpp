#include <ovparquet/core/common/MessageException.hpp>

#include <stdexcept>

namespace orvane::io::parquet::core::common {
namespace {

std::string formatOrIdentifier(const orvane::Message& message) {
  try {
    return orvane::formatMessage(message);
  } catch (const std::logic_error&) {
    return message.identifier();
  }
}

}  // namespace

MessageError::MessageError(orvane::Message message)
    : mMessage(std::move(message)), mText(formatOrIdentifier(mMessage)) {}

}  // namespace orvane::io::parquet::core::common
