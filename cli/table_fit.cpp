#include "table_fit.hpp"

#include "text.hpp"

#include <ovparquet/host/array_text.hpp>

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <vector>

namespace ovparquet::cli {
namespace {

// Narrowest cut of a long cell, the mark included.
constexpr std::size_t kNarrowestCell = 12;
const char* const kMark = "\u2026";

std::string render(const ovArray* table, std::size_t cellWidth) {
  ovTextOptions options;
  options.maxRows = std::numeric_limits<std::size_t>::max();
  options.maxCellWidth = cellWidth;
  return ovArrayToText(table, options);
}

std::size_t widestLine(const std::string& text) {
  std::size_t widest = 0;
  std::size_t start = 0;
  while (start <= text.size()) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    widest = std::max(widest, displayWidth(std::string_view(text).substr(start, end - start)));
    start = end + 1;
  }
  return widest;
}

// The first `count` variables of the table and a last column "…".
unique_ovarray_ptr leadingVariables(const ovArray* table, std::size_t count) {
  const std::size_t rows = ovTableNumRows(table);
  std::vector<unique_ovarray_ptr> columns;
  std::vector<orvane::ustring> names;
  for (std::size_t v = 0; v < count; ++v) {
    columns.push_back(ovDuplicateArray(ovTableColumn(table, v)));
    names.push_back(ovTableName(table, v));
  }
  columns.push_back(ovCreateStringColumn(std::vector<orvane::ustring>(rows, toHost(kMark))));
  names.push_back(toHost(kMark));
  return ovCreateTable(std::move(columns), names);
}

// "(3 more variables: a, b, c)", cut to the width.
std::string leftOutLine(const ovArray* table, std::size_t shown, std::size_t width) {
  const std::size_t total = ovTableNumVariables(table);
  std::string names;
  for (std::size_t v = shown; v < total; ++v) names += (v > shown ? ", " : "") + toUtf8(ovTableName(table, v));
  const std::size_t more = total - shown;
  std::string line = "(" + std::to_string(more) + " more " + (more == 1 ? "variable: " : "variables: ") + names + ")";
  if (displayWidth(line) <= width) return line;
  // Cut at a character boundary, leaving room for the mark.
  std::string cut;
  std::size_t used = 0;
  for (std::size_t i = 0; i < line.size();) {
    std::size_t len = 1;
    while (i + len < line.size() && (static_cast<unsigned char>(line[i + len]) & 0xC0) == 0x80) ++len;
    const std::size_t w = displayWidth(std::string_view(line).substr(i, len));
    if (used + w + 1 > width) break;
    cut += line.substr(i, len);
    used += w;
    i += len;
  }
  return cut + kMark;
}

}  // namespace

std::size_t outputWidth() {
  winsize size{};
  if (isatty(STDOUT_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return size.ws_col;
  }
  if (const char* columns = std::getenv("COLUMNS")) {
    char* end = nullptr;
    const long value = std::strtol(columns, &end, 10);
    if (end != columns && *end == '\0' && value > 0) return static_cast<std::size_t>(value);
  }
  return kDefaultWidth;
}

std::string fittedTableText(const ovArray* table, std::size_t maxCellWidth, std::size_t width) {
  std::string text = render(table, maxCellWidth);
  if (!ovIsTable(table) || widestLine(text) <= width) return text;
  // Narrower cells first.
  for (std::size_t cell = std::min<std::size_t>(maxCellWidth, 40); cell >= kNarrowestCell; cell -= 4) {
    text = render(table, cell);
    if (widestLine(text) <= width) return text;
  }
  // Then fewer variables (at least one, even if it alone is too wide).
  const std::size_t total = ovTableNumVariables(table);
  for (std::size_t count = total - 1; count >= 1; --count) {
    const auto part = leadingVariables(table, count);
    text = render(part.get(), kNarrowestCell);
    if (widestLine(text) <= width || count == 1) return text + "\n" + leftOutLine(table, count, width);
  }
  return text;
}

}  // namespace ovparquet::cli
