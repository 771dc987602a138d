// Dates, timestamps, times and durations: int64 ticks in a unit.
#include "read_internal.hpp"

#include <cstring>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace orvane::io::arrow::core::detail {
namespace {

constexpr std::int64_t kMillisPerDay = 86400000;

ovTimeUnit hostUnit(::arrow::TimeUnit::type unit) {
  switch (unit) {
    case ::arrow::TimeUnit::SECOND:
      return ovTimeUnit::Second;
    case ::arrow::TimeUnit::MILLI:
      return ovTimeUnit::Milli;
    case ::arrow::TimeUnit::MICRO:
      return ovTimeUnit::Micro;
    case ::arrow::TimeUnit::NANO:
      return ovTimeUnit::Nano;
  }
  return ovTimeUnit::Second;
}

// Floor division, so that times before the epoch fall on the day they are in.
std::int64_t floorDiv(std::int64_t value, std::int64_t divisor) {
  std::int64_t quotient = value / divisor;
  if ((value % divisor != 0) && ((value < 0) != (divisor < 0))) --quotient;
  return quotient;
}

// Fills the ticks of `array` from `segments`, whose storage type is Source.
template <typename Source, typename Convert>
void fillTicks(ovArray* array, Segments segments, ParentMissing parentMissing,
               Convert convert) {
  std::int64_t* ticks = ovGetTicksMutable(array);
  std::int64_t* out = ticks;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    const Source* values =
        reinterpret_cast<const Source*>(segment.data->buffers[1]->data()) + segment.position();
    if constexpr (std::is_same_v<Source, std::int64_t> && std::is_same_v<Convert, std::nullptr_t>) {
      std::memcpy(out, values, static_cast<std::size_t>(segment.length) * sizeof(std::int64_t));
      out += segment.length;
    } else {
      for (std::int64_t j = 0; j < segment.length; ++j) *out++ = convert(values[j]);
    }
  }
  if (const std::uint8_t* mask = attachMissing(array, segments, parentMissing)) {
    const std::size_t rows = ovGetNumberOfElements(array);
    for (std::size_t i = 0; i < rows; ++i) ticks[i] = mask[i] ? 0 : ticks[i];
  }
}

std::int64_t widen(std::int32_t value) { return value; }

}  // namespace

unique_ovarray_ptr readTemporal(const ::arrow::DataType& type, Segments segments,
                                std::size_t rows, ParentMissing parentMissing) {
  using ::arrow::Type;
  const ovDims dims{rows, 1};
  unique_ovarray_ptr array;
  switch (type.id()) {
    case Type::TIMESTAMP: {
      const auto& timestamp = static_cast<const ::arrow::TimestampType&>(type);
      std::optional<std::string> zone;
      if (!timestamp.timezone().empty()) zone = timestamp.timezone();
      array = ovCreateDatetimeArray(dims, hostUnit(timestamp.unit()), std::move(zone),
                                    ovInit::Uninit);
      fillTicks<std::int64_t>(array.get(), segments, parentMissing, nullptr);
      break;
    }
    case Type::DATE32:
      array = ovCreateDatetimeArray(dims, ovTimeUnit::Day, std::nullopt, ovInit::Uninit);
      fillTicks<std::int32_t>(array.get(), segments, parentMissing, widen);
      break;
    case Type::DATE64:
      array = ovCreateDatetimeArray(dims, ovTimeUnit::Day, std::nullopt, ovInit::Uninit);
      fillTicks<std::int64_t>(array.get(), segments, parentMissing,
                              [](std::int64_t ms) { return floorDiv(ms, kMillisPerDay); });
      break;
    case Type::TIME32: {
      const auto unit = static_cast<const ::arrow::Time32Type&>(type).unit();
      array = ovCreateDurationArray(dims, hostUnit(unit), ovInit::Uninit);
      fillTicks<std::int32_t>(array.get(), segments, parentMissing, widen);
      break;
    }
    case Type::TIME64: {
      const auto unit = static_cast<const ::arrow::Time64Type&>(type).unit();
      array = ovCreateDurationArray(dims, hostUnit(unit), ovInit::Uninit);
      fillTicks<std::int64_t>(array.get(), segments, parentMissing, nullptr);
      break;
    }
    case Type::DURATION: {
      const auto unit = static_cast<const ::arrow::DurationType&>(type).unit();
      array = ovCreateDurationArray(dims, hostUnit(unit), ovInit::Uninit);
      fillTicks<std::int64_t>(array.get(), segments, parentMissing, nullptr);
      break;
    }
    default:
      throw std::logic_error("readTemporal: not a temporal type");
  }
  return array;
}

}  // namespace orvane::io::arrow::core::detail
