// Credentials in locations, found without a full parse: a text may hold any
// number of locations among other words.
#include <ovparquet/host/ascii.hpp>
#include <ovparquet/host/redact.hpp>

#include <algorithm>
#include <cctype>

namespace orvane {
namespace {

bool endsLocation(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0 || c == '\'' || c == '"' || c == '<' || c == '>' ||
         c == ')' || c == ',';
}

// Drops "user:secret@" after every "://".
void removeUserInformation(std::string& text) {
  for (std::size_t scheme = text.find("://"); scheme != std::string::npos; scheme = text.find("://", scheme + 3)) {
    const std::size_t start = scheme + 3;
    std::size_t end = start;
    while (end < text.size() && text[end] != '/' && text[end] != '?' && text[end] != '#' && !endsLocation(text[end])) {
      ++end;
    }
    const std::size_t at = text.rfind('@', end == start ? start : end - 1);
    if (at != std::string::npos && at >= start && at < end) text.erase(start, at + 1 - start);
  }
}

// Replaces the value of every secret parameter after '?' or '&'.
void maskSecretParameters(std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '?' && text[i] != '&') continue;
    const std::size_t nameStart = i + 1;
    const std::size_t equals = text.find('=', nameStart);
    if (equals == std::string::npos) return;
    const std::string_view name(text.data() + nameStart, equals - nameStart);
    if (name.find_first_of("?&#/ ") != std::string_view::npos || !isSecretParameter(name)) continue;
    std::size_t end = equals + 1;
    while (end < text.size() && text[end] != '&' && text[end] != '#' && !endsLocation(text[end])) ++end;
    text.replace(equals + 1, end - equals - 1, "***");
    i = equals + 3;
  }
}

}  // namespace

bool isSecretParameter(std::string_view name) {
  static constexpr std::string_view kSecret[] = {
      "access_key", "secret_key", "session_token", "x-amz-signature", "x-amz-credential", "x-amz-security-token",
      "signature",  "awsaccesskeyid", "token",     "password",        "sig",              "x-goog-signature",
      "x-goog-credential"};
  return std::any_of(std::begin(kSecret), std::end(kSecret),
                     [name](std::string_view secret) { return equalsIgnoringAsciiCase(name, secret); });
}

std::string redactLocationSecrets(std::string text) {
  if (text.find("://") == std::string::npos && text.find('=') == std::string::npos) return text;
  removeUserInformation(text);
  maskSecretParameters(text);
  return text;
}

}  // namespace orvane
