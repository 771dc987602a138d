// Parsing of names and IRIs into absolute locations.
//
// A name that starts with "scheme:" is an IRI; anything else is a local path.
// Local paths are made absolute against the working directory and normalised
// lexically (symbolic links are kept as written). The stored text never holds
// user information, so a password given in a location cannot reach a message.
#include <ovparquet/host/ascii.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/redact.hpp>

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include <unistd.h>

namespace orvane::vfs {
namespace {

bool isAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Length of the scheme at the start of `text` (ALPHA *(ALPHA / DIGIT / "+" /
// "-" / ".") followed by ':'), or 0 when the text does not start with one.
// One letter is not enough: "C:" is a drive, not a scheme.
std::size_t schemeLength(std::string_view text) {
  if (text.empty() || !isAlpha(text[0])) return 0;
  std::size_t i = 1;
  while (i < text.size() &&
         (isAlpha(text[i]) || isDigit(text[i]) || text[i] == '+' || text[i] == '-' || text[i] == '.')) {
    ++i;
  }
  if (i < 2 || i >= text.size() || text[i] != ':') return 0;
  return i;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

[[noreturn]] void throwMalformed(const std::string& text, const std::string& reason) {
  throwHostError("MalformedIri", text, reason);
}

// Checks that every '%' in `text` starts a two-digit hexadecimal escape and
// that no control character appears; `whole` is the text named in errors.
void checkCharacters(std::string_view text, const std::string& whole) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x20 || c == 0x7f) throwMalformed(whole, "it contains a control character");
    if (c == '%') {
      if (i + 2 >= text.size() || hexValue(text[i + 1]) < 0 || hexValue(text[i + 2]) < 0) {
        const std::string escape(text.substr(i, 3));
        throwMalformed(whole, "'" + escape + "' is not a valid percent escape");
      }
      i += 2;
    }
  }
}

// Decodes percent escapes (already checked by checkCharacters).
std::string percentDecode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      out.push_back(static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2])));
      i += 2;
    } else {
      out.push_back(text[i]);
    }
  }
  return out;
}

std::string normalisePath(const std::string& path) {
  return std::filesystem::path(path).lexically_normal().string();
}

std::string currentDirectory() {
  std::error_code error;
  const std::filesystem::path cwd = std::filesystem::current_path(error);
  if (error) {
    std::string reason = error.message();
    if (!reason.empty() && reason[0] >= 'A' && reason[0] <= 'Z') reason[0] = asciiLower(reason[0]);
    throwHostError("CannotOpen", std::string("."),
                   "the working directory cannot be determined (" + reason + ")");
  }
  return cwd.string();
}

// Converts decoded bytes to host text, naming the location when they are not
// UTF-8.
ustring decodedToUstring(const std::string& bytes, const std::string& whole) {
  try {
    return utf8_to_ustring(bytes);
  } catch (const HostError&) {
    throwMalformed(whole, "its percent escapes do not decode to UTF-8 text");
  }
}

// Splits a query ("a=1&b=2", without '?') into decoded parameters and
// rebuilds it without the secret ones.
std::string splitQuery(std::string_view query, std::vector<std::pair<std::string, std::string>>& parameters) {
  std::string kept;
  std::size_t start = 0;
  while (start <= query.size()) {
    std::size_t end = query.find('&', start);
    if (end == std::string_view::npos) end = query.size();
    const std::string_view item = query.substr(start, end - start);
    if (!item.empty()) {
      const std::size_t equals = item.find('=');
      const std::string_view name = item.substr(0, equals);
      const std::string_view value = equals == std::string_view::npos ? std::string_view() : item.substr(equals + 1);
      parameters.emplace_back(percentDecode(name), percentDecode(value));
      if (!isSecretParameter(parameters.back().first)) {
        if (!kept.empty()) kept.push_back('&');
        kept.append(item);
      }
    }
    start = end + 1;
  }
  return kept;
}

}  // namespace

Iri Iri::absolute(const ustring& nameOrIri) {
  if (nameOrIri.empty()) throwHostError("EmptyName");
  const std::string name = ustring_to_utf8(nameOrIri);

  Iri iri;
  const std::size_t schemeLen = schemeLength(name);
  if (schemeLen == 0) {
    // A local path.
    if (name.find('\0') != std::string::npos) throwMalformed(name, "it contains a NUL character");
    std::string path = name[0] == '/' ? name : currentDirectory() + "/" + name;
    path = normalisePath(path);
    iri.mScheme = u"file";
    iri.mPath = utf8_to_ustring(path);
    iri.mText = utf8_to_ustring("file://" + percentEncodePath(path));
    return iri;
  }

  const std::string scheme = name.substr(0, schemeLen);
  const std::string rest = name.substr(schemeLen + 1);
  const bool local = equalsIgnoringAsciiCase(scheme, "file");

  // Split "//authority" from the rest, dropping user information.
  std::string authority;
  std::string userInformation;
  std::string afterAuthority = rest;
  bool hasAuthority = false;
  if (rest.size() >= 2 && rest[0] == '/' && rest[1] == '/') {
    hasAuthority = true;
    const std::size_t end = rest.find_first_of("/?#", 2);
    authority = rest.substr(2, end == std::string::npos ? std::string::npos : end - 2);
    afterAuthority = end == std::string::npos ? std::string() : rest.substr(end);
    const std::size_t at = authority.rfind('@');
    if (at != std::string::npos) {
      userInformation = authority.substr(0, at);
      authority.erase(0, at + 1);
    }
  }
  // Secrets in the query never reach the kept text; they are checked and
  // decoded like the rest, but named in no message.
  std::vector<std::pair<std::string, std::string>> query;
  std::size_t queryStart = afterAuthority.find('?');
  if (queryStart > afterAuthority.find('#')) queryStart = std::string::npos;  // a '?' inside the fragment
  if (queryStart != std::string::npos) {
    const std::size_t fragment = afterAuthority.find('#', queryStart);
    const std::string rawQuery =
        afterAuthority.substr(queryStart + 1, fragment == std::string::npos ? std::string::npos : fragment - queryStart - 1);
    checkCharacters(rawQuery, "the query of " + scheme + ":" + (hasAuthority ? "//" + authority : std::string()) +
                                  afterAuthority.substr(0, queryStart));
    const std::string kept = splitQuery(rawQuery, query);
    afterAuthority = afterAuthority.substr(0, queryStart) + (kept.empty() ? std::string() : "?" + kept) +
                     (fragment == std::string::npos ? std::string() : afterAuthority.substr(fragment));
  }
  checkCharacters(userInformation, scheme + ":");
  const std::string text =
      scheme + ":" + (hasAuthority ? "//" + authority : std::string()) + afterAuthority;
  checkCharacters(text, text);

  const std::size_t pathEnd = afterAuthority.find_first_of("?#");
  const std::string rawPath = afterAuthority.substr(0, pathEnd);
  if (!hasAuthority && rest.empty()) throwMalformed(text, "nothing follows the scheme");
  if (hasAuthority && authority.empty() && afterAuthority.empty()) {
    throwMalformed(text, "nothing follows the scheme");
  }

  std::string path = percentDecode(rawPath);
  if (local) {
    if (!authority.empty() && !equalsIgnoringAsciiCase(authority, "localhost")) {
      throwMalformed(text, "the host '" + authority + "' is not this computer");
    }
    if (pathEnd != std::string::npos || queryStart != std::string::npos) {
      throwMalformed(text, "a file location has no query or fragment (write '?' as %3F and '#' as %23)");
    }
    if (path.empty() || path[0] != '/') throwMalformed(text, "a file location needs an absolute path");
    if (path.find('\0') != std::string::npos) throwMalformed(text, "it contains a NUL character");
    path = normalisePath(path);
  }

  iri.mScheme = utf8_to_ustring(scheme);
  iri.mText = utf8_to_ustring(text);
  iri.mAuthority = decodedToUstring(percentDecode(authority), text);
  iri.mPath = decodedToUstring(path, text);
  iri.mQuery = std::move(query);
  iri.mUserInformation = percentDecode(userInformation);
  return iri;
}

std::string percentEncodePath(std::string_view path) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(path.size());
  for (const char ch : path) {
    const auto c = static_cast<unsigned char>(ch);
    const bool escape = c <= 0x20 || c == 0x7f || c == '%' || c == '#' || c == '?' || c == '"' ||
                        c == '<' || c == '>' || c == '\\' || c == '^' || c == '`' || c == '{' ||
                        c == '|' || c == '}' || c == '[' || c == ']';
    if (escape) {
      out.push_back('%');
      out.push_back(kHex[c >> 4]);
      out.push_back(kHex[c & 0xF]);
    } else {
      out.push_back(ch);
    }
  }
  return out;
}

bool Iri::isLocal() const {
  static constexpr std::u16string_view kFile = u"file";
  if (mScheme.size() != kFile.size()) return false;
  for (std::size_t i = 0; i < kFile.size(); ++i) {
    char16_t c = mScheme[i];
    if (c >= u'A' && c <= u'Z') c = static_cast<char16_t>(c - u'A' + u'a');
    if (c != kFile[i]) return false;
  }
  return true;
}

std::string Iri::localPath() const {
  if (!isLocal()) throwHostError("NotLocal", mText);
  return ustring_to_utf8(mPath);
}

}  // namespace orvane::vfs
