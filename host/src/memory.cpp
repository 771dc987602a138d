#include <ovparquet/host/ascii.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/memory.hpp>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstdlib>

namespace orvane {
namespace {

constexpr std::uint64_t kFixedLimit = std::uint64_t{4} << 30;

std::uint64_t physicalMemory() noexcept {
  const long pages = ::sysconf(_SC_PHYS_PAGES);
  const long pageSize = ::sysconf(_SC_PAGE_SIZE);
  if (pages <= 0 || pageSize <= 0) return 0;
  return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
}

std::atomic<std::uint64_t>& limit() {
  static std::atomic<std::uint64_t> value{defaultReadMemoryLimit()};
  return value;
}

}  // namespace

std::uint64_t defaultReadMemoryLimit() noexcept {
  const std::uint64_t physical = physicalMemory();
  return physical == 0 ? kFixedLimit : std::min(kFixedLimit, physical / 2);
}

std::uint64_t readMemoryLimit() noexcept { return limit().load(std::memory_order_relaxed); }

void setReadMemoryLimit(std::uint64_t bytes) {
  if (bytes == 0) throwHostError("InvalidMemoryLimit", bytes);
  limit().store(bytes, std::memory_order_relaxed);
}

void resetReadMemoryLimit() noexcept { limit().store(defaultReadMemoryLimit(), std::memory_order_relaxed); }

std::optional<std::uint64_t> parseByteSize(const std::string& text) {
  std::size_t end = 0;
  while (end < text.size() && (std::isdigit(static_cast<unsigned char>(text[end])) || text[end] == '.')) ++end;
  const std::string number = text.substr(0, end);
  if (number.empty() || number.front() == '.' || number.back() == '.' ||
      std::count(number.begin(), number.end(), '.') > 1) {
    return std::nullopt;
  }
  const std::string unit = asciiLowered(std::string_view(text).substr(end));
  int power = 0;
  if (!unit.empty()) {
    const std::string prefixes = "kmgt";
    const auto at = prefixes.find(unit[0]);
    const std::string rest = unit.substr(1);
    if (unit == "b") {
      power = 0;
    } else if (at == std::string::npos || !(rest.empty() || rest == "b" || rest == "ib")) {
      return std::nullopt;
    } else {
      power = static_cast<int>(at) + 1;
    }
  }
  // A long double holds every 64-bit count exactly enough for a limit.
  const long double bytes = std::strtold(number.c_str(), nullptr) * std::pow(1024.0L, power);
  if (!std::isfinite(bytes) || bytes >= 18446744073709551616.0L) return std::nullopt;
  return static_cast<std::uint64_t>(bytes);
}

}  // namespace orvane
