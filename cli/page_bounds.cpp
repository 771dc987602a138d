#include "page_bounds.hpp"

#include <ovparquet/host/array_text.hpp>

#include <arrow/util/decimal.h>
#include <parquet/types.h>

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>

namespace ovparquet::cli {
namespace {

std::optional<std::int64_t> integerOf(const std::string& text) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

ovTimeUnit unitOf(::parquet::LogicalType::TimeUnit::unit unit) {
  switch (unit) {
    case ::parquet::LogicalType::TimeUnit::MILLIS: return ovTimeUnit::Milli;
    case ::parquet::LogicalType::TimeUnit::MICROS: return ovTimeUnit::Micro;
    default: return ovTimeUnit::Nano;
  }
}

std::string hexOf(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text = "0x";
  for (const unsigned char c : bytes) {
    text += kDigits[c >> 4];
    text += kDigits[c & 15];
  }
  return text;
}

bool isUtf8(const std::string& bytes) {
  std::size_t i = 0;
  while (i < bytes.size()) {
    const auto c = static_cast<unsigned char>(bytes[i]);
    const std::size_t length = c < 0x80 ? 1 : (c >> 5) == 6 ? 2 : (c >> 4) == 14 ? 3 : (c >> 3) == 30 ? 4 : 0;
    if (length == 0 || i + length > bytes.size()) return false;
    for (std::size_t k = 1; k < length; ++k) {
      if ((static_cast<unsigned char>(bytes[i + k]) >> 6) != 2) return false;
    }
    i += length;
  }
  return true;
}

// A time of day from ticks of `perSecond` since midnight: 03:04:05.250.
std::string timeOfDay(std::int64_t ticks, std::int64_t perSecond, int digits) {
  const std::int64_t seconds = ticks / perSecond;
  std::string text(8, '0');
  const auto two = [&](std::size_t at, std::int64_t v) {
    text[at] = static_cast<char>('0' + v / 10 % 10);
    text[at + 1] = static_cast<char>('0' + v % 10);
  };
  two(0, seconds / 3600);
  text[2] = ':';
  two(3, seconds / 60 % 60);
  text[5] = ':';
  two(6, seconds % 60);
  if (digits > 0) {
    std::string fraction = std::to_string(ticks % perSecond);
    text += '.' + std::string(static_cast<std::size_t>(digits) - fraction.size(), '0') + fraction;
  }
  return text;
}

std::optional<std::string> decode(const std::string& physical, const ::parquet::ColumnDescriptor& column) {
  const auto& logical = column.logical_type();
  const auto type = column.physical_type();
  const bool integer = type == ::parquet::Type::INT32 || type == ::parquet::Type::INT64;
  const bool bytes = type == ::parquet::Type::BYTE_ARRAY || type == ::parquet::Type::FIXED_LEN_BYTE_ARRAY;
  if (logical && logical->is_date() && integer) {
    const auto days = integerOf(physical);
    if (!days) return std::nullopt;
    std::string text;
    ovAppendDatetimeText(text, *days, ovTimeUnit::Day, false);
    return text;
  }
  if (logical && logical->is_timestamp() && integer) {
    const auto& timestamp = static_cast<const ::parquet::TimestampLogicalType&>(*logical);
    const auto ticks = integerOf(physical);
    if (!ticks) return std::nullopt;
    std::string text;
    ovAppendDatetimeText(text, *ticks, unitOf(timestamp.time_unit()), timestamp.is_adjusted_to_utc());
    return text;
  }
  if (logical && logical->is_time() && integer) {
    const auto& time = static_cast<const ::parquet::TimeLogicalType&>(*logical);
    const auto ticks = integerOf(physical);
    if (!ticks || *ticks < 0) return std::nullopt;
    switch (time.time_unit()) {
      case ::parquet::LogicalType::TimeUnit::MILLIS: return timeOfDay(*ticks, 1000, 3);
      case ::parquet::LogicalType::TimeUnit::MICROS: return timeOfDay(*ticks, 1000000, 6);
      default: return timeOfDay(*ticks, 1000000000, 9);
    }
  }
  if (logical && logical->is_decimal()) {
    const int scale = static_cast<const ::parquet::DecimalLogicalType&>(*logical).scale();
    if (integer) {
      const auto unscaled = integerOf(physical);
      if (!unscaled) return std::nullopt;
      return ::arrow::Decimal128(*unscaled).ToString(scale);
    }
    if (bytes && !physical.empty() && physical.size() <= 32) {
      const auto* data = reinterpret_cast<const std::uint8_t*>(physical.data());
      const auto length = static_cast<std::int32_t>(physical.size());
      if (length <= 16) {
        const auto value = ::arrow::Decimal128::FromBigEndian(data, length);
        if (value.ok()) return value->ToString(scale);
      } else {
        const auto value = ::arrow::Decimal256::FromBigEndian(data, length);
        if (value.ok()) return value->ToString(scale);
      }
    }
    return std::nullopt;
  }
  if (logical && logical->is_int() && integer && !static_cast<const ::parquet::IntLogicalType&>(*logical).is_signed()) {
    const auto value = integerOf(physical);
    if (!value) return std::nullopt;
    return type == ::parquet::Type::INT32 ? std::to_string(static_cast<std::uint32_t>(*value))
                                           : std::to_string(static_cast<std::uint64_t>(*value));
  }
  if (bytes) {
    const bool text = logical && (logical->is_string() || logical->is_enum() || logical->is_JSON());
    if (text && isUtf8(physical)) return std::nullopt;
    return hexOf(physical);
  }
  return std::nullopt;
}

}  // namespace

void decodePageBounds(std::vector<orvane::io::parquet::core::info::ColumnChunkPages>& chunks,
                      const ::parquet::SchemaDescriptor& schema) {
  for (auto& chunk : chunks) {
    if (chunk.column < 0 || chunk.column >= schema.num_columns()) continue;
    const auto& column = *schema.Column(chunk.column);
    for (auto& page : chunk.pages) {
      for (auto* bound : {&page.min, &page.max}) {
        if (!*bound) continue;
        if (auto decoded = decode(**bound, column)) *bound = std::move(*decoded);
      }
    }
  }
}

}  // namespace ovparquet::cli
