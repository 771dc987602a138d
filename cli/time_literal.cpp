#include "time_literal.hpp"

#include "errors.hpp"

#include <arrow/compute/api_scalar.h>
#include <arrow/scalar.h>
#include <arrow/type.h>

#include <algorithm>
#include <cstdint>

namespace ovparquet::cli {
namespace {

constexpr __int128 kNanosPerSecond = 1000000000;
constexpr __int128 kNanosPerDay = kNanosPerSecond * 86400;

std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

// Reads exactly `count` digits at `pos`.
bool digits(std::string_view s, std::size_t& pos, std::size_t count, int& value) {
  if (pos + count > s.size()) return false;
  value = 0;
  for (std::size_t k = 0; k < count; ++k) {
    const char c = s[pos + k];
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');
  }
  pos += count;
  return true;
}

// Fraction digits ".123456789" as nanoseconds (more than 9 digits are cut).
bool fraction(std::string_view s, std::size_t& pos, __int128& nanos) {
  nanos = 0;
  if (pos >= s.size() || s[pos] != '.') return true;
  ++pos;
  std::size_t count = 0;
  __int128 scale = kNanosPerSecond;
  while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9') {
    if (count < 9) {
      scale /= 10;
      nanos += (s[pos] - '0') * scale;
    }
    ++count;
    ++pos;
  }
  return count > 0;
}

// "HH:MM[:SS[.f]]" as nanoseconds since midnight.
bool timeOfDay(std::string_view s, std::size_t& pos, __int128& nanos) {
  int hh = 0;
  int mm = 0;
  int ss = 0;
  if (!digits(s, pos, 2, hh) || pos >= s.size() || s[pos] != ':') return false;
  ++pos;
  if (!digits(s, pos, 2, mm)) return false;
  __int128 frac = 0;
  if (pos < s.size() && s[pos] == ':') {
    ++pos;
    if (!digits(s, pos, 2, ss) || !fraction(s, pos, frac)) return false;
  }
  if (hh > 24 || mm > 59 || ss > 60) return false;
  nanos = ((static_cast<__int128>(hh) * 60 + mm) * 60 + ss) * kNanosPerSecond + frac;
  return true;
}

bool zoneNameChar(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '/' || c == '_' ||
         c == '-' || c == '+';
}

__int128 floorDiv(__int128 a, __int128 b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

}  // namespace

std::optional<TimeLiteral> parseTimeLiteral(std::string_view s) {
  TimeLiteral out;
  std::size_t pos = 0;
  int sign = 1;
  if (!s.empty() && (s[0] == '-' || s[0] == '+')) {
    sign = s[0] == '-' ? -1 : 1;
    ++pos;
  }
  int year = 0;
  int month = 0;
  int day = 0;
  if (!digits(s, pos, 4, year) || pos >= s.size() || s[pos++] != '-' || !digits(s, pos, 2, month) ||
      pos >= s.size() || s[pos++] != '-' || !digits(s, pos, 2, day)) {
    return std::nullopt;
  }
  if (month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
  out.wallNanos = static_cast<__int128>(daysFromCivil(sign * year, static_cast<unsigned>(month),
                                                      static_cast<unsigned>(day))) * kNanosPerDay;
  if (pos == s.size()) return out;
  if (s[pos] != 'T' && s[pos] != 't' && s[pos] != ' ') return std::nullopt;
  ++pos;
  __int128 clock = 0;
  if (!timeOfDay(s, pos, clock)) return std::nullopt;
  out.wallNanos += clock;
  if (pos == s.size()) return out;
  if (s[pos] == 'Z' || s[pos] == 'z') {
    out.offsetSeconds = 0;
    return pos + 1 == s.size() ? std::optional(out) : std::nullopt;
  }
  if (s[pos] == ' ') {
    const std::string_view name = s.substr(pos + 1);
    if (name.empty()) return std::nullopt;
    for (const char c : name) {
      if (!zoneNameChar(c)) return std::nullopt;
    }
    out.zone = std::string(name);
    return out;
  }
  if (s[pos] != '+' && s[pos] != '-') return std::nullopt;
  const int offsetSign = s[pos] == '-' ? -1 : 1;
  ++pos;
  int oh = 0;
  int om = 0;
  if (!digits(s, pos, 2, oh)) return std::nullopt;
  if (pos < s.size() && s[pos] == ':') ++pos;
  if (pos < s.size() && !digits(s, pos, 2, om)) return std::nullopt;
  if (pos != s.size() || oh > 23 || om > 59) return std::nullopt;
  out.offsetSeconds = offsetSign * (oh * 3600 + om * 60);
  return out;
}

__int128 instantOf(const TimeLiteral& literal, const std::optional<std::string>& columnZone,
                   const std::string& variable) {
  if (literal.offsetSeconds) return literal.wallNanos - static_cast<__int128>(*literal.offsetSeconds) * kNanosPerSecond;
  const std::string zone = !literal.zone.empty() ? literal.zone : columnZone.value_or("");
  if (zone.empty()) return literal.wallNanos;
  // Whole seconds go through the time-zone database; the fraction is added
  // back, as no zone's offset has one.
  const __int128 seconds = floorDiv(literal.wallNanos, kNanosPerSecond);
  const __int128 fraction = literal.wallNanos - seconds * kNanosPerSecond;
  const ::arrow::TimestampScalar wall(static_cast<std::int64_t>(seconds), ::arrow::timestamp(::arrow::TimeUnit::SECOND));
  const ::arrow::compute::AssumeTimezoneOptions options(zone, ::arrow::compute::AssumeTimezoneOptions::AMBIGUOUS_EARLIEST,
                                                        ::arrow::compute::AssumeTimezoneOptions::NONEXISTENT_RAISE);
  const auto instant = ::arrow::compute::AssumeTimezone(wall, options);
  if (!instant.ok()) {
    // Arrow explains a skipped time over several lines; errors are one line.
    std::string reason = instant.status().message();
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    throw CliError("WhereTypeMismatch", "Cannot read the time of the comparison with variable '" + variable +
                                            "' in zone " + zone + ": " + reason);
  }
  const auto& scalar = static_cast<const ::arrow::TimestampScalar&>(*instant->scalar());
  return static_cast<__int128>(scalar.value) * kNanosPerSecond + fraction;
}

std::optional<__int128> parseDurationText(std::string_view s, bool quoted) {
  if (quoted) {
    std::size_t pos = 0;
    __int128 nanos = 0;
    if (timeOfDay(s, pos, nanos) && pos == s.size()) return nanos;
    if (s.empty() || s.back() != 's') return std::nullopt;
    s.remove_suffix(1);  // "1.5s", as durations print
  }
  std::size_t pos = 0;
  int sign = 1;
  if (pos < s.size() && (s[pos] == '-' || s[pos] == '+')) sign = s[pos++] == '-' ? -1 : 1;
  __int128 whole = 0;
  std::size_t count = 0;
  while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9') {
    whole = whole * 10 + (s[pos++] - '0');
    if (++count > 20) return std::nullopt;
  }
  __int128 frac = 0;
  if (!fraction(s, pos, frac) || pos != s.size() || (count == 0 && frac == 0 && s.find('.') == s.npos)) {
    return std::nullopt;
  }
  return sign * (whole * kNanosPerSecond + frac);
}

}  // namespace ovparquet::cli
