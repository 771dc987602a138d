// ASCII case rules for protocol texts (schemes, host names, parameter names,
// size units): the same in every locale, and non-ASCII bytes unchanged.
#pragma once

#include <string>
#include <string_view>

namespace orvane {

constexpr char asciiLower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

inline std::string asciiLowered(std::string_view text) {
  std::string out(text);
  for (char& c : out) c = asciiLower(c);
  return out;
}

inline bool equalsIgnoringAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (asciiLower(a[i]) != asciiLower(b[i])) return false;
  }
  return true;
}

}  // namespace orvane
