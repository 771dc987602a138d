// Numbers as text, shared by the host's rendering of arrays and the
// program's text exports.
#pragma once

#include <cstdint>
#include <string>

// `value` in exactly `digits` decimal digits, leading zeros included
// (0 <= value < 10^digits, digits at most 19).
void ovAppendDigits(std::string& out, std::int64_t value, int digits);

// The shortest text that reads back to the same value (std::to_chars); NaN,
// Inf and -Inf for the others.
std::string ovShortestText(double value);
std::string ovShortestText(float value);
