#include "option_lists.hpp"

#include <cerrno>
#include <cstdlib>

namespace ovparquet::cli {

std::optional<std::uint64_t> parseCount(const std::string& text, std::uint64_t minimum, std::uint64_t maximum) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
  errno = 0;
  const unsigned long long value = std::strtoull(text.c_str(), nullptr, 10);
  if (errno == ERANGE || value < minimum || value > maximum) return std::nullopt;
  return value;
}

}  // namespace ovparquet::cli
