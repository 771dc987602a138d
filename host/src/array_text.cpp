// Readable text of host arrays: tables, matrices and inline forms.
#include <ovparquet/host/array_text.hpp>
#include <ovparquet/host/categories.hpp>
#include <ovparquet/host/class_visit.hpp>
#include <ovparquet/host/number_text.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

namespace {

constexpr const char* kMissing = "<missing>";

std::string dimsText(const ovArray* array) {
  std::string text;
  const ovDims& dims = ovGetDimensions(array);
  for (std::size_t i = 0; i < dims.size(); ++i) {
    if (i > 0) text += 'x';
    text += std::to_string(dims[i]);
  }
  return text;
}

std::string summary(const ovArray* array) {
  return "<" + dimsText(array) + " " + ovGetClassName(array) + ">";
}

// ---------------------------------------------------------------------------
// Scalars
// ---------------------------------------------------------------------------

template <typename T>
std::string floatText(T value) {
  return ovShortestText(value);
}

template <typename T>
std::string complexText(T re, T im) {
  std::string text = floatText(re);
  if (std::isnan(im)) return text + "+NaNi";
  text += std::signbit(im) ? '-' : '+';
  return text + floatText(std::fabs(im)) + "i";
}

// UTF-16 text as UTF-8; control characters always escaped, quotes and
// backslashes too when the text is to be quoted.
std::string escapedText(std::u16string_view text, bool quoted) {
  std::string utf8;
  orvane::append_utf16_replacing(text, utf8);
  std::string out;
  out.reserve(utf8.size() + 2);
  for (const char c : utf8) {
    const auto u = static_cast<unsigned char>(c);
    switch (c) {
      case '\n': out += "\\n"; continue;
      case '\t': out += "\\t"; continue;
      case '\r': out += "\\r"; continue;
      case '"':
      case '\\':
        if (quoted) out += '\\';
        out += c;
        continue;
      default: break;
    }
    if (u < 0x20 || u == 0x7f) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02x", u);
      out += hex;
    } else {
      out += c;
    }
  }
  return out;
}

std::string quotedText(std::u16string_view text, char quote) {
  std::string out(1, quote);
  out += escapedText(text, true);
  out += quote;
  return out;
}

constexpr const char* kOutOfRange = "<out of range>";
constexpr std::int64_t kTicksPerSecond[] = {1, 1000, 1000000, 1000000000};
constexpr int kFractionDigits[] = {0, 3, 6, 9};

std::int64_t floorDiv(std::int64_t a, std::int64_t b) {
  const std::int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

void appendDigits(std::string& out, std::int64_t value, int digits) { ovAppendDigits(out, value, digits); }

// Proleptic Gregorian date of a day count from 1970-01-01.
void appendDate(std::string& out, std::int64_t days) {
  const std::int64_t z = days + 719468;
  const std::int64_t era = floorDiv(z, 146097);
  const std::int64_t doe = z - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  const std::int64_t day = doy - (153 * mp + 2) / 5 + 1;
  const std::int64_t month = mp < 10 ? mp + 3 : mp - 9;
  const std::int64_t year = yoe + era * 400 + (month <= 2 ? 1 : 0);
  if (year < 0) out += '-';
  const std::int64_t absYear = year < 0 ? -year : year;
  if (absYear < 10000) {
    appendDigits(out, absYear, 4);
  } else {
    out += std::to_string(absYear);
  }
  out += '-';
  appendDigits(out, month, 2);
  out += '-';
  appendDigits(out, day, 2);
}

std::string datetimeText(std::int64_t ticks, ovTimeUnit unit,
                         const std::optional<std::string>& zone, bool zoneName = true) {
  std::string text;
  ovAppendDatetimeText(text, ticks, unit, zone.has_value());
  if (unit == ovTimeUnit::Day && text == kOutOfRange) return text;
  if (zone && zoneName) text += "[" + *zone + "]";
  return text;
}

std::string durationText(std::int64_t ticks, ovTimeUnit unit) {
  const auto u = static_cast<std::size_t>(unit);
  const auto perSecond = static_cast<std::uint64_t>(kTicksPerSecond[u]);
  // The magnitude as unsigned, so that the most negative tick count works.
  const std::uint64_t magnitude =
      ticks < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(ticks) : static_cast<std::uint64_t>(ticks);
  std::string text = ticks < 0 ? "-" : "";
  text += std::to_string(magnitude / perSecond);
  if (const std::uint64_t fraction = magnitude % perSecond; fraction != 0) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%0*llu", kFractionDigits[u],
                  static_cast<unsigned long long>(fraction));
    std::string f = digits;
    f.erase(f.find_last_not_of('0') + 1);
    text += "." + f;
  }
  return text + "s";
}

// Text of element i of a flat array; strings and categories quoted when
// `quoted`.
std::string elementText(const ovArray* a, std::size_t i, bool quoted) {
  if (ovIsMissing(a, i)) return kMissing;
  const bool flat = ovIsNumeric(a) || ovIsLogical(a) || ovIsChar(a);
  const void* data = flat ? ovGetData(a) : nullptr;
  const void* imag = flat && ovIsComplex(a) ? ovGetImagData(a) : nullptr;
  auto at = [&](auto tag) { return static_cast<const decltype(tag)*>(data)[i]; };
  if (ovIsInteger(a)) {
    return ovVisitClass(ovGetClassID(a), [&](auto tag) -> std::string {
      if constexpr (decltype(tag)::isInteger) return std::to_string(at(typename decltype(tag)::Element{}));
      return {};
    });
  }
  return ovVisitClass(ovGetClassID(a), [&](auto tag) -> std::string {
    using Tag = decltype(tag);
    if constexpr (Tag::isFloat) {
      using T = typename Tag::Element;
      return imag ? complexText(at(T{}), static_cast<const T*>(imag)[i]) : floatText(at(T{}));
    } else if constexpr (Tag::id == ovClassID::Logical) {
      return at(bool{}) ? "true" : "false";
    } else if constexpr (Tag::id == ovClassID::Char) {
      const char16_t c = at(char16_t{});
      return quoted ? quotedText(std::u16string_view(&c, 1), '\'')
                    : escapedText(std::u16string_view(&c, 1), false);
    } else if constexpr (Tag::id == ovClassID::String) {
      const auto text = ovGetStringView(a, i);
      return quoted ? quotedText(text, '"') : escapedText(text, false);
    } else if constexpr (Tag::id == ovClassID::Datetime) {
      return datetimeText(ovGetTicks(a)[i], ovGetTimeUnit(a), ovGetTimeZone(a));
    } else if constexpr (Tag::id == ovClassID::Duration) {
      return durationText(ovGetTicks(a)[i], ovGetTimeUnit(a));
    } else if constexpr (Tag::id == ovClassID::Categorical) {
      const auto text = ovCategoryText(a, i);
      if (!text) return "<undefined>";
      return quoted ? quotedText(*text, '"') : escapedText(*text, false);
    } else {
      return summary(a);  // cells and structs; the integers are above
    }
  });
}

bool rightAligned(const ovArray* a) {
  return a != nullptr && (ovIsNumeric(a) || ovIsLogical(a) || ovIsDuration(a));
}

std::size_t width(const std::string& utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  }));
}

std::string truncated(const std::string& utf8, std::size_t maxWidth) {
  if (width(utf8) <= maxWidth) return utf8;
  const std::size_t keep = maxWidth > 3 ? maxWidth - 3 : 0;
  std::size_t points = 0;
  std::size_t end = 0;
  for (; end < utf8.size(); ++end) {
    if ((static_cast<unsigned char>(utf8[end]) & 0xC0) != 0x80) {
      if (points == keep) break;
      ++points;
    }
  }
  return utf8.substr(0, end) + "...";
}

std::string padded(const std::string& text, std::size_t columnWidth, bool right) {
  const std::string fill(columnWidth - std::min(columnWidth, width(text)), ' ');
  return right ? fill + text : text + fill;
}

void trimRight(std::string& line) { line.erase(line.find_last_not_of(' ') + 1); }

// ---------------------------------------------------------------------------
// Inline forms
// ---------------------------------------------------------------------------

class Renderer {
 public:
  explicit Renderer(const ovTextOptions& options) : mOptions(options) {}

  // Elements of a 2-D array in rows: vectors are cut after maxInlineElements;
  // matrices too large for that, and N-D arrays, become a summary. (Defined
  // before its callers: clang does not instantiate it from their generic
  // lambdas otherwise.)
  template <typename ElementFn>
  std::string grid(const ovArray* a, const char* open, const char* close, const char* separator,
                   ElementFn&& elementOf) const {
    const std::size_t numel = ovGetNumberOfElements(a);
    if (numel == 0) return std::string(open) + close;
    if (ovGetNumberOfDimensions(a) > 2) return summary(a);
    const std::size_t m = ovGetM(a);
    const std::size_t n = ovGetN(a);
    const bool vector = m == 1 || n == 1;
    if (!vector && numel > mOptions.maxInlineElements) return summary(a);
    // A column separates its elements like rows.
    const std::string between = m == 1 ? separator : "; ";
    std::string out = open;
    if (vector) {
      const std::size_t shown = std::min(numel, mOptions.maxInlineElements);
      for (std::size_t i = 0; i < shown; ++i) {
        if (i > 0) out += between;
        out += elementOf(i);
      }
      if (numel > shown) out += between + "...";
    } else {
      for (std::size_t i = 0; i < m; ++i) {
        if (i > 0) out += "; ";
        for (std::size_t j = 0; j < n; ++j) {
          if (j > 0) out += separator;
          out += elementOf(j * m + i);
        }
      }
    }
    return out + close;
  }

  std::string inlineText(const ovArray* a) const {
    if (a == nullptr) return "[]";
    if (ovIsTable(a)) return tableRecords(a);
    return ovVisitClass(ovGetClassID(a), [&](auto tag) -> std::string {
      using Tag = decltype(tag);
      if constexpr (Tag::id == ovClassID::Cell) {
        return grid(a, "{", "}", ", ", [&](std::size_t i) { return inlineText(ovGetCell(a, i)); });
      } else if constexpr (Tag::id == ovClassID::Struct) {
        return structInline(a);
      } else {
        // A row of characters reads as one quoted text.
        if (Tag::id == ovClassID::Char && ovGetM(a) == 1 && ovGetNumberOfDimensions(a) == 2 && !ovHasMissing(a) &&
            ovGetNumberOfElements(a) != 1) {
          return quotedText(std::u16string_view(ovGetTypedData<char16_t>(a), ovGetN(a)), '\'');
        }
        if (ovGetNumberOfElements(a) == 1) return elementText(a, 0, true);
        return grid(a, "[", "]", " ", [&](std::size_t i) { return elementText(a, i, true); });
      }
    });
  }

  // One element of a table variable, as a table cell (quoted == false) or
  // inline inside a record.
  std::string variableElement(const ovArray* column, std::size_t row, bool quoted) const {
    if (column == nullptr) return "[]";
    if (ovIsTable(column)) return tableRecord(column, row);
    return ovVisitClass(ovGetClassID(column), [&](auto tag) -> std::string {
      using Tag = decltype(tag);
      if constexpr (Tag::id == ovClassID::Cell) {
        // An empty slot of a list variable is a missing list, not an empty one.
        const ovArray* element = ovGetCell(column, row);
        return element == nullptr ? "<missing>" : listText(element);
      } else if constexpr (Tag::id == ovClassID::Struct) {
        return structRecord(column, row);
      } else {
        return elementText(column, row, quoted);
      }
    });
  }

  // A list value always in brackets, so that a list of one element does not
  // read as that element.
  std::string listText(const ovArray* a) const {
    if (a != nullptr && !ovIsContainer(a) && ovGetNumberOfElements(a) == 1) {
      return grid(a, "[", "]", " ", [&](std::size_t i) { return elementText(a, i, true); });
    }
    return inlineText(a);
  }

  // ---- tables --------------------------------------------------------------

  std::string table(const ovArray* t) const {
    const std::size_t variables = ovTableNumVariables(t);
    const std::size_t rows = ovTableNumRows(t);
    if (variables == 0) return "0x0 table";
    const std::size_t shown = std::min(rows, mOptions.maxRows);
    std::vector<std::vector<std::string>> cells(variables);
    std::vector<std::size_t> widths(variables);
    std::vector<bool> right(variables);
    std::vector<std::string> names(variables);
    for (std::size_t v = 0; v < variables; ++v) {
      const ovArray* column = ovTableColumn(t, v);
      right[v] = rightAligned(column) && !ovIsTable(column);
      names[v] = truncated(escapedText(ovTableName(t, v), false), mOptions.maxCellWidth);
      widths[v] = width(names[v]);
      for (std::size_t r = 0; r < shown; ++r) {
        cells[v].push_back(truncated(variableElement(column, r, false), mOptions.maxCellWidth));
        widths[v] = std::max(widths[v], width(cells[v].back()));
      }
    }
    auto line = [&](auto&& cellOf) {
      std::string text;
      for (std::size_t v = 0; v < variables; ++v) {
        if (v > 0) text += "  ";
        text += padded(cellOf(v), widths[v], right[v]);
      }
      trimRight(text);
      return text;
    };
    std::string out = line([&](std::size_t v) { return names[v]; });
    out += '\n';
    out += line([&](std::size_t v) { return std::string(widths[v], '-'); });
    for (std::size_t r = 0; r < shown; ++r) {
      out += '\n';
      out += line([&](std::size_t v) { return cells[v][r]; });
    }
    if (rows > shown) out += "\n... (" + std::to_string(rows - shown) + " more rows)";
    return out;
  }

  // ---- matrices ------------------------------------------------------------

  std::string block(const ovArray* a) const {
    const ovDims& dims = ovGetDimensions(a);
    const std::size_t m = dims[0];
    const std::size_t n = dims[1];
    const std::size_t pages = ovGetNumberOfElements(a) / (m * n);
    const bool right = rightAligned(a);
    std::string out = dimsText(a) + (ovIsComplex(a) ? " complex " : " ") + ovGetClassName(a);
    for (std::size_t p = 0; p < pages; ++p) {
      if (pages > 1) out += "\n" + pageText(dims, p);
      const std::size_t shown = std::min(m, mOptions.maxRows);
      std::vector<std::string> texts(shown * n);
      std::vector<std::size_t> widths(n, 0);
      for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < shown; ++i) {
          std::string& text = texts[j * shown + i];
          text = truncated(element(a, p * m * n + j * m + i), mOptions.maxCellWidth);
          widths[j] = std::max(widths[j], width(text));
        }
      }
      for (std::size_t i = 0; i < shown; ++i) {
        std::string line = "\n";
        for (std::size_t j = 0; j < n; ++j) line += "  " + padded(texts[j * shown + i], widths[j], right);
        trimRight(line);
        out += line;
      }
      if (m > shown) out += "\n  ... (" + std::to_string(m - shown) + " more rows)";
    }
    return out;
  }

 private:
  std::string element(const ovArray* a, std::size_t i) const {
    return ovVisitClass(ovGetClassID(a), [&](auto tag) -> std::string {
      using Tag = decltype(tag);
      if constexpr (Tag::id == ovClassID::Cell) {
        return inlineText(ovGetCell(a, i));
      } else if constexpr (Tag::id == ovClassID::Struct) {
        return structRecord(a, i);
      } else {
        return elementText(a, i, true);
      }
    });
  }

  static std::string pageText(const ovDims& dims, std::size_t page) {
    std::string text = "(:,:";
    for (std::size_t k = 2; k < dims.size(); ++k) {
      text += "," + std::to_string(page % dims[k] + 1);
      page /= dims[k];
    }
    return text + ")";
  }

  std::string structRecord(const ovArray* a, std::size_t index) const {
    std::string out = "{";
    const int fields = ovGetNumberOfFields(a);
    for (int f = 0; f < fields; ++f) {
      if (f > 0) out += ", ";
      out += ovGetFieldNameByNumber(a, f) + ": " + inlineText(ovGetFieldByNumber(a, index, f));
    }
    return out + "}";
  }

  std::string structInline(const ovArray* a) const {
    const std::size_t numel = ovGetNumberOfElements(a);
    if (numel == 1) return structRecord(a, 0);
    if (numel == 0 || ovGetNumberOfDimensions(a) > 2 || (ovGetM(a) != 1 && ovGetN(a) != 1)) {
      return summary(a);
    }
    return grid(a, "[", "]", ", ", [&](std::size_t i) { return structRecord(a, i); });
  }

  std::string tableRecord(const ovArray* t, std::size_t row) const {
    if (ovTableIsRowMissing(t, row)) return "<missing>";
    std::string out = "{";
    const std::size_t variables = ovTableNumVariables(t);
    for (std::size_t v = 0; v < variables; ++v) {
      if (v > 0) out += ", ";
      out += escapedText(ovTableName(t, v), false) + ": " +
             variableElement(ovTableColumn(t, v), row, true);
    }
    return out + "}";
  }

  std::string tableRecords(const ovArray* t) const {
    const std::size_t rows = ovTableNumRows(t);
    const std::size_t shown = std::min(rows, mOptions.maxInlineElements);
    std::string out = "[";
    for (std::size_t r = 0; r < shown; ++r) {
      if (r > 0) out += ", ";
      out += tableRecord(t, r);
    }
    if (rows > shown) out += ", ...";
    return out + "]";
  }

  const ovTextOptions& mOptions;
};

}  // namespace

void ovAppendDatetimeText(std::string& out, std::int64_t ticks, ovTimeUnit unit, bool instant) {
  if (unit == ovTimeUnit::Day) {
    // Day counts this large are past any calendar worth printing.
    if (ticks > (std::int64_t{1} << 50) || ticks < -(std::int64_t{1} << 50)) {
      out += kOutOfRange;
    } else {
      appendDate(out, ticks);
    }
    return;
  }
  const auto u = static_cast<std::size_t>(unit);
  const std::int64_t perSecond = kTicksPerSecond[u];
  const std::int64_t seconds = floorDiv(ticks, perSecond);
  const std::int64_t fraction = ticks - seconds * perSecond;
  const std::int64_t days = floorDiv(seconds, 86400);
  const std::int64_t secondOfDay = seconds - days * 86400;
  appendDate(out, days);
  out += 'T';
  appendDigits(out, secondOfDay / 3600, 2);
  out += ':';
  appendDigits(out, secondOfDay / 60 % 60, 2);
  out += ':';
  appendDigits(out, secondOfDay % 60, 2);
  if (kFractionDigits[u] > 0) {
    out += '.';
    appendDigits(out, fraction, kFractionDigits[u]);
  }
  if (instant) out += 'Z';
}

std::string ovDatetimeText(std::int64_t ticks, ovTimeUnit unit, const std::optional<std::string>& zone,
                           bool zoneName) {
  return datetimeText(ticks, unit, zone, zoneName);
}

std::string ovDurationText(std::int64_t ticks, ovTimeUnit unit) { return durationText(ticks, unit); }

std::string ovArrayToText(const ovArray* array, const ovTextOptions& options) {
  if (array == nullptr) return "<null>";
  const Renderer renderer(options);
  if (ovIsTable(array)) return renderer.table(array);
  if (ovIsEmpty(array)) return dimsText(array) + " " + ovGetClassName(array);
  if (ovGetNumberOfDimensions(array) == 2 && ovGetM(array) == 1) {
    return renderer.inlineText(array);
  }
  return renderer.block(array);
}

std::string ovArrayToInlineText(const ovArray* array, const ovTextOptions& options) {
  if (array == nullptr) return "<null>";
  return Renderer(options).inlineText(array);
}

std::string ovListToInlineText(const ovArray* list, const ovTextOptions& options) {
  return Renderer(options).listText(list);
}

std::ostream& operator<<(std::ostream& out, const ovArray& array) {
  return out << ovArrayToText(&array);
}

void PrintTo(const ovArray& array, std::ostream* out) {
  const std::string text = ovArrayToText(&array);
  // Multi-line renderings start on their own line in failure messages.
  if (text.find('\n') != std::string::npos) *out << '\n';
  *out << text;
}
