#include "text.hpp"

#include <algorithm>
#include <cstdio>

namespace ovparquet::cli {

ustring toHost(std::string_view utf8) { return orvane::utf8_to_ustring(utf8); }
std::string toUtf8(const ustring& text) { return orvane::ustring_to_utf8(text); }

std::vector<ustring> toHost(const std::vector<std::string>& utf8) {
  std::vector<ustring> out;
  out.reserve(utf8.size());
  for (const auto& s : utf8) out.push_back(toHost(s));
  return out;
}

std::vector<std::string> toUtf8(const std::vector<ustring>& texts) {
  std::vector<std::string> out;
  out.reserve(texts.size());
  for (const auto& s : texts) out.push_back(toUtf8(s));
  return out;
}

std::string trim(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  std::size_t begin = 0;
  std::size_t end = text.size();
  while (begin < end && blank(text[begin])) ++begin;
  while (end > begin && blank(text[end - 1])) --end;
  return std::string(text.substr(begin, end - begin));
}

std::vector<std::string> splitList(std::string_view text, char separator) {
  std::vector<std::string> items;
  std::size_t start = 0;
  while (true) {
    const std::size_t pos = text.find(separator, start);
    items.push_back(trim(text.substr(start, pos == std::string_view::npos ? pos : pos - start)));
    if (pos == std::string_view::npos) break;
    start = pos + 1;
  }
  return items;
}

std::string join(const std::vector<std::string>& items, std::string_view separator) {
  std::string out;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += separator;
    out += items[i];
  }
  return out;
}

std::string humanBytes(std::int64_t bytes) {
  static constexpr const char* kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB", "PiB"};
  if (bytes < 1024) return std::to_string(bytes) + " B";
  double value = static_cast<double>(bytes);
  std::size_t unit = 0;
  while (value >= 1024.0 && unit + 1 < std::size(kUnits)) {
    value /= 1024.0;
    ++unit;
  }
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, value < 10.0 ? "%.1f %s" : "%.0f %s", value, kUnits[unit]);
  return buffer;
}

std::string groupedNumber(std::int64_t value) {
  const auto raw = static_cast<unsigned long long>(value);
  const std::string digits = std::to_string(value < 0 ? 0ULL - raw : raw);
  std::string out;
  const std::size_t n = digits.size();
  for (std::size_t i = 0; i < n; ++i) {
    if (i > 0 && (n - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return value < 0 ? "-" + out : out;
}

std::size_t displayWidth(std::string_view utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

}  // namespace ovparquet::cli
