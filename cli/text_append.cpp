#include "text_append.hpp"

#include <ovparquet/host/number_text.hpp>

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace ovparquet::cli {
namespace {

int decimalDigits(std::uint64_t value) {
  int digits = 1;
  while (value >= 10) {
    value /= 10;
    ++digits;
  }
  return digits;
}

// Whole hundredths below 1e13: their decimal text is the only one of at most
// two fraction digits within one unit in the last place (which is below
// 0.01 there), so it is the shortest that reads back; false when it is not
// one, or when to_chars would pick the (strictly shorter) exponent form.
bool appendHundredths(std::string& out, double value) {
  if (!(std::fabs(value) < 1e13) || value == 0) return false;
  const double scaled = std::nearbyint(value * 100);
  if (scaled / 100 != value) return false;
  const bool negative = scaled < 0;
  const auto hundredths = static_cast<std::uint64_t>(negative ? -scaled : scaled);
  const std::uint64_t whole = hundredths / 100;
  std::uint64_t fraction = hundredths % 100;
  int fractionDigits = fraction == 0 ? 0 : (fraction % 10 == 0 ? 1 : 2);
  if (fractionDigits == 1) fraction /= 10;
  const int fixedLength = decimalDigits(whole) + (fractionDigits > 0 ? 1 + fractionDigits : 0);
  // The exponent form: significant digits, a point when more than one, and
  // "e+XX".
  std::uint64_t significand = hundredths;
  while (significand % 10 == 0) significand /= 10;
  const int significant = decimalDigits(significand);
  const int exponent = decimalDigits(hundredths) - 1 - 2;
  const int exponentDigits = std::abs(exponent) >= 100 ? 3 : 2;
  const int scientificLength = significant + (significant > 1 ? 1 : 0) + 2 + exponentDigits;
  if (scientificLength < fixedLength) return false;
  if (negative) out += '-';
  appendNumber(out, whole);
  if (fractionDigits > 0) {
    out += '.';
    ovAppendDigits(out, static_cast<std::int64_t>(fraction), fractionDigits);
  }
  return true;
}

}  // namespace

void appendDouble(std::string& out, double value) {
  if (!appendHundredths(out, value)) appendNumber(out, value);
}

void appendCsvText(std::string& out, std::string_view text) {
  // One pass over the bytes (find_first_of would search the four special
  // characters for every byte).
  bool quote = text.empty() || text.front() == ' ' || text.back() == ' ';
  for (std::size_t i = 0; i < text.size() && !quote; ++i) {
    const char c = text[i];
    quote = c == ',' || c == '"' || c == '\r' || c == '\n';
  }
  if (!quote) {
    out += text;
    return;
  }
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

void appendJsonString(std::string& out, std::string_view text) {
  out += '"';
  std::size_t plain = 0;  // start of the run not yet copied
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0x20 && c != '"' && c != '\\') continue;
    out.append(text.data() + plain, i - plain);
    plain = i + 1;
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default: {
        char buffer[8];
        std::snprintf(buffer, sizeof buffer, "\\u%04x", static_cast<unsigned>(c));
        out += buffer;
      }
    }
  }
  out.append(text.data() + plain, text.size() - plain);
  out += '"';
}

}  // namespace ovparquet::cli
