#include "option_values.hpp"

#include <cerrno>
#include <cstdlib>
#include <set>

namespace ovparquet::cli {

std::optional<std::uint64_t> parseCount(const std::string& text, std::uint64_t minimum, std::uint64_t maximum) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
  errno = 0;
  const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
  if (errno == ERANGE || value < minimum || value > maximum) return std::nullopt;
  return value;
}

std::vector<std::string> nameList(const std::string& text, const std::string& option) {
  std::vector<std::string> names = splitList(text);
  std::set<std::string> seen;
  for (const auto& n : names) {
    if (n.empty()) throw usageError("InvalidOption", "Option " + option + " has an empty name in '" + text + "'.");
    if (!seen.insert(n).second) {
      throw usageError("InvalidOption", "Option " + option + " names '" + n + "' more than once.");
    }
  }
  return names;
}

}  // namespace ovparquet::cli
