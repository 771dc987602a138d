// Host text: UTF-16 strings and the conversions to and from UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orvane {

// The host's string type. File names, variable names and message texts are
// ustring; option values and Arrow field names are UTF-8 std::string.
using ustring = std::u16string;
using ustring_view = std::u16string_view;

// Strict conversions for names, IRIs and option texts: invalid UTF-8, or an
// unpaired surrogate in UTF-16, raises HostError "ORVANE:host:InvalidUtf8" or
// "ORVANE:host:InvalidUtf16" (the offending byte or unit position is named).
ustring utf8_to_ustring(std::string_view text);
std::string ustring_to_utf8(ustring_view text);

// Widens a narrow text that is not a name, such as an exception's what(): it
// is read as UTF-8, and any invalid sequence becomes U+FFFD instead of
// raising, so an error report can never fail on its own text.
ustring to_ustring(std::string_view text);

// Bulk conversion for column data: appends the UTF-16 form of `text` to
// `out`, replacing each invalid UTF-8 sequence by U+FFFD. Returns the number
// of replacements made (0 for valid input). ASCII runs take a fast path.
std::size_t append_utf8_replacing(std::string_view text, ustring& out);

// Appends the UTF-8 form of `text` to `out`, replacing each unpaired
// surrogate by U+FFFD. Returns the number of replacements made.
std::size_t append_utf16_replacing(ustring_view text, std::string& out);

}  // namespace orvane
