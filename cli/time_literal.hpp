// Time texts of --where: ISO 8601 dates and time stamps for datetime
// variables, times of day or seconds for durations.
//
// A time stamp without a zone is wall-clock time in the variable's own zone
// (UTC for variables without one); "Z", an offset ("+02:00") or a zone name
// after a blank ("2024-06-01 12:00 Europe/Oslo") say otherwise.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ovparquet::cli {

struct TimeLiteral {
  __int128 wallNanos = 0;               // nanoseconds since 1970-01-01T00:00 on the wall clock
  std::optional<int> offsetSeconds;     // "Z" is 0
  std::string zone;                     // a named zone, or empty
};

// Parses "2024-06-01", "2024-06-01T12:00:00.5", "2024-06-01 12:00+02:00",
// "2024-06-01T12:00Z" or "2024-06-01 12:00 America/New_York"; nullopt when
// malformed.
std::optional<TimeLiteral> parseTimeLiteral(std::string_view text);

// The instant as nanoseconds since the epoch (UTC). `columnZone` is the
// variable's zone, used when the literal names none. Raises a CliError for a
// zone the time-zone database does not know, or a wall-clock time the zone
// skips.
__int128 instantOf(const TimeLiteral& literal, const std::optional<std::string>& columnZone,
                   const std::string& variable);

// "90", "-1.5", "1.5s" (seconds) or "12:30:00" (a time of day) as
// nanoseconds; nullopt when malformed. `quoted` says whether the text was a
// quoted literal (numbers can be bare).
std::optional<__int128> parseDurationText(std::string_view text, bool quoted);

}  // namespace ovparquet::cli
