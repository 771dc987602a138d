#include "variables.hpp"

#include "errors.hpp"
#include "text.hpp"

namespace ovparquet::cli {

int variableIndex(const std::vector<orvane::ustring>& names, const std::string& name) {
  const ustring wanted = toHost(name);
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] == wanted) return static_cast<int>(i);
  }
  return -1;
}

void requireVariables(const std::vector<std::string>& wanted, const std::vector<orvane::ustring>& available,
                      const std::string& file) {
  for (const auto& name : wanted) {
    if (variableIndex(available, name) >= 0) continue;
    std::string list;
    constexpr std::size_t kShown = 20;
    for (std::size_t i = 0; i < available.size() && i < kShown; ++i) {
      list += (i > 0 ? ", " : "") + toUtf8(available[i]);
    }
    if (available.size() > kShown) list += ", ... (" + std::to_string(available.size()) + " in all)";
    throw CliError("UnknownVariable", "Variable '" + name + "' is not in '" + file + "'. Its variables are: " +
                                          (list.empty() ? "(none)" : list) + ".");
  }
}

}  // namespace ovparquet::cli
