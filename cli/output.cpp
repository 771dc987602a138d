#include "output.hpp"

#include "table_fit.hpp"
#include "text.hpp"


#include <limits>
#include <ostream>

namespace ovparquet::cli {

std::string csvField(std::string_view text, bool missing) {
  if (missing) return "";
  const bool quote = text.empty() || text.find_first_of(",\"\r\n") != std::string_view::npos ||
                     text.front() == ' ' || text.back() == ' ';
  if (!quote) return std::string(text);
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + "\"";
}

void writeCsvRow(std::ostream& out, const std::vector<std::string>& fields) {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) out << ',';
    out << fields[i];
  }
  out << '\n';
}

void writeTable(std::ostream& out, const ovArray* table, std::size_t maxCellWidth) {
  const std::size_t cellWidth = maxCellWidth == 0 ? std::numeric_limits<std::size_t>::max() : maxCellWidth;
  out << fittedTableText(table, cellWidth, outputWidth()) << '\n';
}

void writeJson(std::ostream& out, const nlohmann::ordered_json& value) {
  out << value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

std::vector<std::string> tableNames(const ovArray* table) {
  std::vector<std::string> names;
  const std::size_t n = ovTableNumVariables(table);
  for (std::size_t v = 0; v < n; ++v) names.push_back(toUtf8(ovTableName(table, v)));
  return names;
}

}  // namespace ovparquet::cli
