// One value of a host column as text or as JSON: what the csv and json
// outputs print, and the minima and maxima of the statistics.
//
// Columns are N-by-1 host arrays of any class, or nested host tables; `row`
// is the 0-based row. Texts follow the host's own rendering (datetimes in ISO
// 8601 with as many fraction digits as the unit has, durations as exact
// seconds "1.5s", logical true/false, doubles in the shortest text that reads
// back to the same value), but strings are raw, not quoted or escaped, and a
// datetime with a time zone is the UTC instant ending in "Z" (RFC 3339), so
// that other tools read it back.
#pragma once

#include <ovparquet/host/array.hpp>

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace ovparquet::cli {

// Whether the value is missing: a masked element of a flat column or an empty
// slot of a cell column (a null list). A row of a nested table is never
// missing as a whole; its fields are.
bool isMissingValue(const ovArray* column, std::size_t row);

// The value as text; "" for a missing one. Lists, binary values and records
// use the host's inline form ("[1 2 3]", "{x: 1, y: \"a\"}").
std::string valueText(const ovArray* column, std::size_t row);

// The value as JSON: null when missing (also NaN and infinities), numbers,
// true/false, strings (datetimes and durations as their texts), arrays for
// lists, objects for records.
nlohmann::ordered_json valueJson(const ovArray* column, std::size_t row);

// Texts of datetime and duration ticks, as the host renders them.
std::string datetimeText(std::int64_t ticks, ovTimeUnit unit, const std::optional<std::string>& zone);
std::string durationText(std::int64_t ticks, ovTimeUnit unit);
// Shortest round-trip text; NaN, Inf, -Inf (ovShortestText).
std::string doubleText(double value);

}  // namespace ovparquet::cli
