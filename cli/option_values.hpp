// Option values that CLI11 takes as text: whole numbers and comma lists of
// names or numbers, checked with messages that name the option.
#pragma once

#include "errors.hpp"
#include "text.hpp"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace ovparquet::cli {

// A whole number in [minimum, maximum], written in decimal.
std::optional<std::uint64_t> parseCount(const std::string& text, std::uint64_t minimum, std::uint64_t maximum);

// "a,b,c": names, none empty or repeated (usage errors otherwise).
std::vector<std::string> nameList(const std::string& text, const std::string& option);

// "1,3,5": whole numbers of at least `minimum`.
template <typename T>
std::vector<T> countList(const std::string& text, const std::string& option, std::uint64_t minimum) {
  std::vector<T> values;
  for (const auto& item : splitList(text)) {
    const auto value = parseCount(item, minimum, static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()));
    if (!value) {
      throw usageError("InvalidOption", "Option " + option + " needs whole numbers of at least " +
                                            std::to_string(minimum) + ", not '" + item + "'.");
    }
    values.push_back(static_cast<T>(*value));
  }
  return values;
}

}  // namespace ovparquet::cli
