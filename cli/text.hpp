// Small text helpers: UTF-8 <-> host text, comma lists, byte sizes.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ovparquet::cli {

using orvane::ustring;

// Strict conversions (invalid text raises the host's error).
ustring toHost(std::string_view utf8);
std::string toUtf8(const ustring& text);
std::vector<ustring> toHost(const std::vector<std::string>& utf8);
std::vector<std::string> toUtf8(const std::vector<ustring>& texts);

// Splits "a, b,c" at the separator and trims blanks around each item; empty
// items are kept so that callers can reject them.
std::vector<std::string> splitList(std::string_view text, char separator = ',');
std::string trim(std::string_view text);

// "a, b, c".
std::string join(const std::vector<std::string>& items, std::string_view separator = ", ");

// "1.5 MiB" style sizes (base 1024, one decimal below 10 units).
std::string humanBytes(std::int64_t bytes);
// "1,234,567".
std::string groupedNumber(std::int64_t value);

// Number of terminal columns a UTF-8 text takes (one per code point).
std::size_t displayWidth(std::string_view utf8);

}  // namespace ovparquet::cli
