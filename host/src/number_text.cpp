#include <ovparquet/host/number_text.hpp>

#include <charconv>
#include <cmath>

void ovAppendDigits(std::string& out, std::int64_t value, int digits) {
  char buffer[24];
  for (int i = digits - 1; i >= 0; --i) {
    buffer[i] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
  out.append(buffer, static_cast<std::size_t>(digits));
}

namespace {

template <typename T>
std::string shortestText(T value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-Inf" : "Inf";
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

}  // namespace

std::string ovShortestText(double value) { return shortestText(value); }
std::string ovShortestText(float value) { return shortestText(value); }
