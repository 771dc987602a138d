// Appending values as text to an output buffer without building a string per
// value: the inner loop of CSV and JSON export.
#pragma once

#include <ovparquet/host/array.hpp>

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

namespace ovparquet::cli {

template <typename T>
void appendNumber(std::string& out, T value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, result.ptr);
}

// A finite double as std::to_chars writes it (the shortest text that reads
// back the same). Whole hundredths (prices, distances) are laid out directly,
// which is several times faster; others go through std::to_chars.
void appendDouble(std::string& out, double value);

// A CSV field: quoted when empty, when it holds a separator, quote or line
// break, or when it starts or ends with a blank.
void appendCsvText(std::string& out, std::string_view text);
// A JSON string with its quotes.
void appendJsonString(std::string& out, std::string_view text);


}  // namespace ovparquet::cli
