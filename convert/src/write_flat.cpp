// Numeric, logical, datetime and duration variables: one copy of the host's
// element buffers into an Arrow value buffer, or none when the caller lets
// Arrow borrow the host's memory.
#include "common.hpp"
#include "write_internal.hpp"

#include <ovparquet/host/class_visit.hpp>

#include <arrow/buffer.h>
#include <arrow/type_traits.h>
#include <arrow/util/bit_util.h>
#include <arrow/util/bitmap_generate.h>

#include <cstring>
#include <limits>
#include <optional>
#include <stdexcept>

namespace orvane::io::arrow::core::detail {
namespace {

template <typename T>
std::shared_ptr<::arrow::ArrayData> writePrimitive(Pieces pieces, std::int64_t rows,
                                                   std::shared_ptr<::arrow::DataType> type,
                                                   const WriteContext& context) {
  std::shared_ptr<::arrow::Buffer> values;
  if (context.borrowHostData() && pieces.size() == 1) {
    // One piece: Arrow reads the host's buffer in place (the caller keeps
    // the host array alive while the Arrow data is used).
    values = std::make_shared<::arrow::Buffer>(static_cast<const std::uint8_t*>(ovGetData(pieces.front())),
                                               rows * static_cast<std::int64_t>(sizeof(T)));
  } else {
    auto owned = allocate(rows * static_cast<std::int64_t>(sizeof(T)));
    auto* out = owned->mutable_data();
    for (const ovArray* piece : pieces) {
      const std::size_t bytes = ovGetNumberOfElements(piece) * sizeof(T);
      if (bytes != 0) std::memcpy(out, ovGetData(piece), bytes);
      out += bytes;
    }
    values = std::move(owned);
  }
  std::int64_t nullCount = 0;
  auto validity = validityOf(pieces, rows, &nullCount);
  return ::arrow::ArrayData::Make(std::move(type), rows, {std::move(validity), std::move(values)},
                                  nullCount);
}

::arrow::TimeUnit::type arrowUnit(ovTimeUnit unit) {
  switch (unit) {
    case ovTimeUnit::Second:
      return ::arrow::TimeUnit::SECOND;
    case ovTimeUnit::Milli:
      return ::arrow::TimeUnit::MILLI;
    case ovTimeUnit::Micro:
      return ::arrow::TimeUnit::MICRO;
    case ovTimeUnit::Nano:
    case ovTimeUnit::Day:
      break;
  }
  return ::arrow::TimeUnit::NANO;
}

// Day datetimes as date32: the days must fit 32 bits.
std::shared_ptr<::arrow::ArrayData> writeDays(Pieces pieces, std::int64_t rows,
                                              const std::string& path,
                                              const WriteContext& context) {
  auto values = allocate(rows * static_cast<std::int64_t>(sizeof(std::int32_t)));
  auto* out = reinterpret_cast<std::int32_t*>(values->mutable_data());
  for (const ovArray* piece : pieces) {
    const std::int64_t* ticks = ovGetTicks(piece);
    const std::uint8_t* mask = ovGetMissingMask(piece);
    const std::size_t count = ovGetNumberOfElements(piece);
    for (std::size_t i = 0; i < count; ++i) {
      if (mask != nullptr && mask[i]) {
        *out++ = 0;
        continue;
      }
      if (ticks[i] < std::numeric_limits<std::int32_t>::min() ||
          ticks[i] > std::numeric_limits<std::int32_t>::max()) {
        context.fail(::arrow::StatusCode::Invalid, path,
                     "holds a date of " + std::to_string(ticks[i]) +
                         " days from 1970-01-01, beyond the range of a 32-bit date");
      }
      *out++ = static_cast<std::int32_t>(ticks[i]);
    }
  }
  std::int64_t nullCount = 0;
  auto validity = validityOf(pieces, rows, &nullCount);
  return ::arrow::ArrayData::Make(::arrow::date32(), rows,
                                  {std::move(validity), std::move(values)}, nullCount);
}

}  // namespace

std::shared_ptr<::arrow::ArrayData> writeNumeric(Pieces pieces, std::int64_t rows, const WriteContext& context) {
  return ovVisitClass(ovGetClassID(pieces.front()), [&](auto tag) -> std::shared_ptr<::arrow::ArrayData> {
    using Tag = decltype(tag);
    if constexpr (Tag::isNumeric) {
      using T = typename Tag::Element;
      return writePrimitive<T>(pieces, rows, ::arrow::CTypeTraits<T>::type_singleton(), context);
    } else {
      throw std::logic_error("writeNumeric: not a numeric class");
    }
  });
}

std::shared_ptr<::arrow::ArrayData> writeLogical(Pieces pieces, std::int64_t rows) {
  auto values = allocate(::arrow::bit_util::BytesForBits(rows));
  std::uint8_t* bits = values->mutable_data();
  std::memset(bits, 0, static_cast<std::size_t>(values->size()));
  std::int64_t position = 0;
  for (const ovArray* piece : pieces) {
    const auto count = static_cast<std::int64_t>(ovGetNumberOfElements(piece));
    const auto* data = static_cast<const std::uint8_t*>(ovGetData(piece));
    ::arrow::internal::GenerateBitsUnrolled(bits, position, count,
                                            [data]() mutable { return *data++ != 0; });
    position += count;
  }
  std::int64_t nullCount = 0;
  auto validity = validityOf(pieces, rows, &nullCount);
  return ::arrow::ArrayData::Make(::arrow::boolean(), rows,
                                  {std::move(validity), std::move(values)}, nullCount);
}

std::shared_ptr<::arrow::ArrayData> writeDatetime(Pieces pieces, std::int64_t rows,
                                                  const std::string& path,
                                                  const WriteContext& context) {
  const ovTimeUnit unit = ovGetTimeUnit(pieces.front());
  const std::optional<std::string>& zone = ovGetTimeZone(pieces.front());
  for (const ovArray* piece : pieces) {
    if (ovGetTimeUnit(piece) != unit || ovGetTimeZone(piece) != zone) {
      context.fail(::arrow::StatusCode::Invalid, path,
                   "mixes datetimes of different units or time zones; the elements of a cell "
                   "must share them");
    }
  }
  if (unit == ovTimeUnit::Day) return writeDays(pieces, rows, path, context);
  return writePrimitive<std::int64_t>(pieces, rows,
                                      ::arrow::timestamp(arrowUnit(unit), zone.value_or("")), context);
}

std::shared_ptr<::arrow::ArrayData> writeDuration(Pieces pieces, std::int64_t rows,
                                                  const std::string& path,
                                                  const WriteContext& context) {
  const ovTimeUnit unit = ovGetTimeUnit(pieces.front());
  for (const ovArray* piece : pieces) {
    if (ovGetTimeUnit(piece) != unit) {
      context.fail(::arrow::StatusCode::Invalid, path,
                   "mixes durations of different units; the elements of a cell must share one");
    }
  }
  return writePrimitive<std::int64_t>(pieces, rows, ::arrow::duration(arrowUnit(unit)), context);
}

}  // namespace orvane::io::arrow::core::detail
