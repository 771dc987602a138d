// Readable UTF-8 text of host arrays, for the command-line program and for
// test failure messages.
//
// Host tables render as aligned columns under a header of variable names and
// a rule of dashes (numeric, logical and duration columns right-aligned, the
// others left-aligned), at most maxRows rows followed by "... (K more rows)".
// Cells wider than maxCellWidth characters end in "...". A table without
// variables renders as "0x0 table". Lines are separated by newlines; there is
// no newline after the last one.
//
// Other arrays render inline when they are scalars or row vectors ("5",
// "[1 2 3]", "{1, \"a\"}", "{a: 1, b: \"x\"}"); matrices and N-D arrays render
// as a header with dimensions and class ("2x3 double") and one indented line
// per row (per page for N-D: "(:,:,2)"); empty arrays as their dimensions
// and class ("0x0 double").
//
// Element texts:
// - missing elements (the mask): <missing>, for every class
// - double, single: shortest text that reads back to the same value; NaN,
//   Inf, -Inf; complex as 1+2i
// - integers: decimal; logical: true / false
// - string: unquoted in table cells and matrix rows of a table, quoted with
//   C escapes ("a\"b") inline; control characters are always escaped
// - char: a row renders as 'text'
// - datetime: ISO 8601 of the UTC ticks with as many fraction digits as the
//   unit has (2024-01-02T03:04:05.250 for ms), 2024-01-02 for the day unit;
//   with a time zone "Z[zone]" is appended (2024-01-02T03:04:05Z[Europe/Paris])
// - duration: exact seconds, "1.5s", "-0.000000003s", "0s"
// - categorical: the category text like a string; <undefined> for a code out
//   of range
// - empty cell or field slots: []; nested host tables: their rows as records
//   "[{a: 1, b: \"x\"}, {a: 2, b: \"y\"}]", a missing record as <missing>
// - in a table, a cell variable's element is one row's list: always in
//   brackets (["a"], not "a"), and an empty slot (a missing list) <missing>
#pragma once

#include <ovparquet/host/array.hpp>

#include <cstddef>
#include <iosfwd>
#include <string>

struct ovTextOptions {
  // Table and matrix rows shown before "... (K more rows)".
  std::size_t maxRows = 20;
  // Characters of one table cell, the ellipsis included.
  std::size_t maxCellWidth = 40;
  // Elements shown of an inline array before "...".
  std::size_t maxInlineElements = 10;
};

// The rendering described above; "<null>" for a null pointer.
std::string ovArrayToText(const ovArray* array, const ovTextOptions& options = {});
// One datetime element as ISO 8601 in its unit ("2024-01-02T03:04:05.250";
// days as "2024-01-02"); a zoned one ends in "Z" (the instant in UTC),
// followed by "[zone]" when `zoneName`.
std::string ovDatetimeText(std::int64_t ticks, ovTimeUnit unit, const std::optional<std::string>& zone,
                           bool zoneName = true);
// The same without the zone's name, appended to `out` without building a
// string: the inner loop of text exports. `instant` adds the "Z".
void ovAppendDatetimeText(std::string& out, std::int64_t ticks, ovTimeUnit unit, bool instant);
// One duration element in seconds, exactly ("1.5s", "-0.000000001s").
std::string ovDurationText(std::int64_t ticks, ovTimeUnit unit);
// The one-line inline form of any array (tables included, as records).
std::string ovArrayToInlineText(const ovArray* array, const ovTextOptions& options = {});

// The inline form of one row's list (a cell element): like
// ovArrayToInlineText, except that a single element stays in brackets.
std::string ovListToInlineText(const ovArray* list, const ovTextOptions& options = {});

// Writes ovArrayToText; lets GoogleTest print arrays and unique_ovarray_ptr.
std::ostream& operator<<(std::ostream& out, const ovArray& array);
void PrintTo(const ovArray& array, std::ostream* out);
