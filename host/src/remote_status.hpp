// Failures of remote file systems, as a person should read them.
#pragma once

#include <arrow/status.h>

#include <string>
#include <vector>

namespace orvane::vfs::detail {

// What kind of failure a remote file system reported.
enum class RemoteFailure {
  Unreachable,  // no connection to the server
  Denied,       // credentials refused or missing
  NotFound,     // no such object or bucket
  Other,
};

RemoteFailure classifyRemoteFailure(const arrow::Status& status);

// Removes the configured secrets from texts that reach a person: a server's
// error message may quote what it was sent.
class SecretRedactor {
 public:
  explicit SecretRedactor(std::vector<std::string> secrets);
  std::string redact(std::string text) const;
  // The status's message without its code prefix, redacted.
  std::string describe(const arrow::Status& status) const;

 private:
  std::vector<std::string> mSecrets;
};

}  // namespace orvane::vfs::detail
