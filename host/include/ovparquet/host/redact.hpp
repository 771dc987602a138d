// Removing credentials from texts meant for people.
#pragma once

#include <string>
#include <string_view>

namespace orvane {

// True for query parameters whose values are credentials (access keys,
// secrets, tokens, signatures of presigned addresses), ignoring case.
bool isSecretParameter(std::string_view name);

// The text with the credentials of every location in it removed: user
// information ("s3://key:secret@bucket" becomes "s3://bucket") and the
// values of secret query parameters ("?secret_key=..." becomes
// "?secret_key=***"). Every message and diagnostic record passes through
// it, so a location given with credentials cannot leak them.
std::string redactLocationSecrets(std::string text);

}  // namespace orvane
