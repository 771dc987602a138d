// Absolute locations: every file the host opens is named by an IRI with a
// scheme. Local paths become "file:" IRIs.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvane::vfs {

class Iri {
 public:
  // Makes the absolute IRI of a name: a text that starts with a scheme
  // ("s3://bucket/key", "file:///tmp/x", "FILE:/tmp/x") is parsed as an IRI;
  // anything else is a local path, absolute or relative to the working
  // directory. User information ("user:secret@") is removed from the
  // authority, and query parameters that carry secrets (access keys, tokens,
  // signatures) from the query, before the text is kept, so no message can
  // show them.
  // Raises HostError "ORVANE:host:EmptyName" for an empty name and
  // "ORVANE:host:MalformedIri" for an IRI that cannot be parsed.
  static Iri absolute(const ustring& nameOrIri);

  // The scheme as written (case kept), e.g. u"file", u"s3".
  const ustring& scheme() const { return mScheme; }
  // The full IRI text, without credentials.
  const ustring& text() const { return mText; }
  // The authority (host[:port]) without user information; may be empty.
  const ustring& authority() const { return mAuthority; }
  // The percent-decoded path part.
  const ustring& path() const { return mPath; }

  // The percent-decoded query parameters in order, secrets included: for the
  // scheme's opener only, never for a message.
  const std::vector<std::pair<std::string, std::string>>& queryParameters() const { return mQuery; }
  // The percent-decoded user information ("user:secret"), or empty: for the
  // scheme's opener only, never for a message.
  const std::string& userInformation() const { return mUserInformation; }

  // True when the scheme is "file" in any letter case.
  bool isLocal() const;
  // The local file-system path of a "file" IRI (UTF-8, percent-decoded).
  // Raises HostError "ORVANE:host:NotLocal" for other schemes.
  std::string localPath() const;

 private:
  ustring mScheme;
  ustring mText;
  ustring mAuthority;
  ustring mPath;
  std::vector<std::pair<std::string, std::string>> mQuery;
  std::string mUserInformation;
};

// Percent-encodes the characters of a path that cannot stand as they are in
// an IRI (controls, space, '%', '#', '?' and a few more); the bytes of
// non-ASCII characters stay, as an IRI may hold them.
std::string percentEncodePath(std::string_view path);

}  // namespace orvane::vfs
