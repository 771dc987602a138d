// Classification and redaction of remote file-system failures.
//
// Arrow's S3 errors read "AWS Error <TYPE> during <Operation> operation:
// <server message>", and a missing object becomes "Path does not exist".
#include "remote_status.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace orvane::vfs::detail {
namespace {

bool containsAny(std::string_view text, std::initializer_list<std::string_view> needles) {
  return std::any_of(needles.begin(), needles.end(),
                     [text](std::string_view needle) { return text.find(needle) != std::string_view::npos; });
}

}  // namespace

RemoteFailure classifyRemoteFailure(const arrow::Status& status) {
  const std::string& text = status.message();
  if (containsAny(text, {"NETWORK_CONNECTION", "curlCode", "Couldn't connect", "Connection refused"})) {
    return RemoteFailure::Unreachable;
  }
  if (containsAny(text, {"ACCESS_DENIED", "INVALID_ACCESS_KEY_ID", "SIGNATURE_DOES_NOT_MATCH", "MISSING_AUTHENTICATION",
                         "HTTP status 403", "AccessDenied", "InvalidAccessKeyId", "SignatureDoesNotMatch"})) {
    return RemoteFailure::Denied;
  }
  if (containsAny(text, {"Path does not exist", "NO_SUCH_KEY", "NO_SUCH_BUCKET", "RESOURCE_NOT_FOUND",
                         "HTTP status 404", "NoSuchKey", "NoSuchBucket"})) {
    return RemoteFailure::NotFound;
  }
  return RemoteFailure::Other;
}

SecretRedactor::SecretRedactor(std::vector<std::string> secrets) : mSecrets(std::move(secrets)) {
  mSecrets.erase(std::remove_if(mSecrets.begin(), mSecrets.end(), [](const std::string& s) { return s.size() < 4; }),
                 mSecrets.end());
}

std::string SecretRedactor::redact(std::string text) const {
  for (const std::string& secret : mSecrets) {
    for (std::size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at + 3)) {
      text.replace(at, secret.size(), "***");
    }
  }
  return text;
}

std::string SecretRedactor::describe(const arrow::Status& status) const {
  std::string text = status.message();
  // One line: the SDK's messages sometimes carry line breaks.
  std::replace(text.begin(), text.end(), '\n', ' ');
  while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
  return redact(std::move(text));
}

}  // namespace orvane::vfs::detail
