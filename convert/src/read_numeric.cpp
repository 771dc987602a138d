// Logical, integer and floating-point columns (and the types read as them:
// half floats, decimals, the null type).
#include "read_internal.hpp"

#include <arrow/util/decimal.h>
#include <arrow/util/float16.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace orvane::io::arrow::core::detail {
namespace {

// Sharing needs no allocation of its own, so even the few values of one list
// row share the list's value buffer (a copy would allocate per row).
constexpr std::size_t kShareMinRows = 1;

template <typename T>
const T* valuesOf(const Segment& segment) {
  return reinterpret_cast<const T*>(segment.data->buffers[1]->data()) + segment.position();
}

template <typename T>
constexpr T missingValue() {
  if constexpr (std::is_floating_point_v<T>) {
    return std::numeric_limits<T>::quiet_NaN();
  } else {
    return T{0};
  }
}

// Writes the class's conventional value under the missing elements.
template <typename T>
void fillUnderMask(T* data, const std::uint8_t* mask, std::size_t rows) {
  const T fill = missingValue<T>();
  for (std::size_t i = 0; i < rows; ++i) data[i] = mask[i] ? fill : data[i];
}

template <typename T>
unique_ovarray_ptr readPrimitive(Segments segments, std::size_t rows,
                                 ParentMissing parentMissing) {
  constexpr ovClassID classID = ovClassOf<T>;
  // One chunk without nulls: share Arrow's buffer instead of copying it.
  if (segments.size() == 1 && rows >= kShareMinRows && !mayHaveMissing(segments, parentMissing)) {
    const T* values = valuesOf<T>(segments[0]);
    if (reinterpret_cast<std::uintptr_t>(values) % alignof(T) == 0) {
      return ovCreateNumericArrayShared(ovDims{rows, 1}, classID, values,
                                        segments[0].data->buffers[1]);
    }
  }
  auto array = ovCreateUninitNumericArray(ovDims{rows, 1}, classID);
  T* data = ovGetTypedDataMutable<T>(array.get());
  T* out = data;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    std::memcpy(out, valuesOf<T>(segment), static_cast<std::size_t>(segment.length) * sizeof(T));
    out += segment.length;
  }
  if (const std::uint8_t* mask = attachMissing(array.get(), segments, parentMissing)) {
    fillUnderMask(data, mask, rows);
  }
  return array;
}

// A column whose values are converted one by one from Arrow's storage type
// `Source` to the host's element type `T`.
template <typename T, typename Source, typename Convert>
unique_ovarray_ptr readConverted(Segments segments, std::size_t rows,
                                 ParentMissing parentMissing, Convert convert) {
  auto array = ovCreateUninitNumericArray(ovDims{rows, 1}, ovClassOf<T>);
  T* data = ovGetTypedDataMutable<T>(array.get());
  T* out = data;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    const Source* values = valuesOf<Source>(segment);
    for (std::int64_t j = 0; j < segment.length; ++j) *out++ = convert(values[j]);
  }
  if (const std::uint8_t* mask = attachMissing(array.get(), segments, parentMissing)) {
    fillUnderMask(data, mask, rows);
  }
  return array;
}

// Powers of ten that doubles hold exactly.
constexpr double kExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                        1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The double nearest to unscaled * 10^-scale. When both the unscaled value
// and the power of ten are exact doubles, one division (or multiplication)
// rounds correctly; otherwise the decimal text is parsed, which rounds
// correctly too.
template <typename Decimal>
double decimalToDouble(const Decimal& value, std::int32_t scale) {
  constexpr std::int64_t kExactIntegers = std::int64_t{1} << 53;
  // The value fits in an int64 when every word above the lowest is the sign
  // extension of the lowest.
  const auto words = value.little_endian_array();
  const auto low = static_cast<std::int64_t>(words[0]);
  const std::uint64_t extension = low < 0 ? ~std::uint64_t{0} : 0;
  bool small = true;
  for (std::size_t w = 1; w < words.size(); ++w) small = small && words[w] == extension;
  if (small && low > -kExactIntegers && low < kExactIntegers) {
    const auto unscaled = static_cast<double>(low);
    if (scale >= 0 && scale <= 22) return unscaled / kExactPowersOfTen[scale];
    if (scale < 0 && scale >= -22) return unscaled * kExactPowersOfTen[-scale];
  }
  std::string text = value.ToIntegerString();
  text += 'e';
  text += std::to_string(-static_cast<std::int64_t>(scale));
  // strtod rather than from_chars: beyond the range of doubles it gives the
  // infinity (or zero) of the right sign instead of no value.
  return std::strtod(text.c_str(), nullptr);
}

template <typename Decimal>
unique_ovarray_ptr readDecimalOf(int32_t scale, Segments segments, std::size_t rows,
                                 ParentMissing parentMissing) {
  constexpr std::size_t kWidth = sizeof(Decimal);
  auto array = ovCreateUninitNumericArray(ovDims{rows, 1}, ovClassID::Double);
  double* data = ovGetTypedDataMutable<double>(array.get());
  double* out = data;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    const std::uint8_t* bytes =
        segment.data->buffers[1]->data() + static_cast<std::size_t>(segment.position()) * kWidth;
    for (std::int64_t j = 0; j < segment.length; ++j, bytes += kWidth) {
      *out++ = decimalToDouble(Decimal(bytes), scale);
    }
  }
  if (const std::uint8_t* mask = attachMissing(array.get(), segments, parentMissing)) {
    fillUnderMask(data, mask, rows);
  }
  return array;
}

}  // namespace

unique_ovarray_ptr readBoolean(Segments segments, std::size_t rows, ParentMissing parentMissing) {
  auto array = ovCreateLogicalArray(ovDims{rows, 1});
  // Logical elements are one byte holding 0 or 1.
  static_assert(sizeof(ovLogical) == 1);
  auto* data = static_cast<std::uint8_t*>(ovGetDataMutable(array.get()));
  std::uint8_t* out = data;
  for (const Segment& segment : segments) {
    if (segment.length == 0) continue;
    unpackBits(segment.data->buffers[1]->data(), segment.position(), segment.length, out,
               /*invert=*/false);
    out += segment.length;
  }
  if (const std::uint8_t* mask = attachMissing(array.get(), segments, parentMissing)) {
    for (std::size_t i = 0; i < rows; ++i) data[i] = mask[i] ? 0 : data[i];
  }
  return array;
}

unique_ovarray_ptr readNumeric(::arrow::Type::type id, Segments segments, std::size_t rows,
                               ParentMissing parentMissing) {
  using ::arrow::Type;
  switch (id) {
    case Type::INT8:
      return readPrimitive<std::int8_t>(segments, rows, parentMissing);
    case Type::UINT8:
      return readPrimitive<std::uint8_t>(segments, rows, parentMissing);
    case Type::INT16:
      return readPrimitive<std::int16_t>(segments, rows, parentMissing);
    case Type::UINT16:
      return readPrimitive<std::uint16_t>(segments, rows, parentMissing);
    case Type::INT32:
      return readPrimitive<std::int32_t>(segments, rows, parentMissing);
    case Type::UINT32:
      return readPrimitive<std::uint32_t>(segments, rows, parentMissing);
    case Type::INT64:
      return readPrimitive<std::int64_t>(segments, rows, parentMissing);
    case Type::UINT64:
      return readPrimitive<std::uint64_t>(segments, rows, parentMissing);
    case Type::FLOAT:
      return readPrimitive<float>(segments, rows, parentMissing);
    case Type::DOUBLE:
      return readPrimitive<double>(segments, rows, parentMissing);
    default:
      throw std::logic_error("readNumeric: not a numeric type");
  }
}

unique_ovarray_ptr readHalfFloat(Segments segments, std::size_t rows,
                                 ParentMissing parentMissing) {
  return readConverted<float, std::uint16_t>(segments, rows, parentMissing, [](std::uint16_t bits) {
    return ::arrow::util::Float16::FromBits(bits).ToFloat();
  });
}

unique_ovarray_ptr readDecimal(const ::arrow::DecimalType& type, Segments segments,
                               std::size_t rows, ParentMissing parentMissing) {
  if (type.id() == ::arrow::Type::DECIMAL256) {
    return readDecimalOf<::arrow::Decimal256>(type.scale(), segments, rows, parentMissing);
  }
  return readDecimalOf<::arrow::Decimal128>(type.scale(), segments, rows, parentMissing);
}

unique_ovarray_ptr readNull(std::size_t rows) {
  auto array = ovCreateUninitNumericArray(ovDims{rows, 1}, ovClassID::Double);
  double* data = ovGetTypedDataMutable<double>(array.get());
  std::uint8_t* mask = ovAllocMissingMask(array.get());
  for (std::size_t i = 0; i < rows; ++i) {
    data[i] = std::numeric_limits<double>::quiet_NaN();
    mask[i] = 1;
  }
  if (rows == 0) ovRemoveMissingMask(array.get());
  return array;
}

}  // namespace orvane::io::arrow::core::detail
