#include "random_arrow.hpp"

#include <arrow/array/array_dict.h>
#include <arrow/util/bitmap_builders.h>
#include <arrow/util/decimal.h>

#include <limits>
#include <stdexcept>
#include <vector>

namespace convert_test {
namespace {

template <typename T>
T check(::arrow::Result<T> result) {
  if (!result.ok()) throw std::runtime_error("generator: " + result.status().ToString());
  return std::move(result).ValueUnsafe();
}

void check(const ::arrow::Status& status) {
  if (!status.ok()) throw std::runtime_error("generator: " + status.ToString());
}

const std::vector<std::string>& zones() {
  static const std::vector<std::string> kZones{"", "UTC", "Europe/Paris", "+05:30"};
  return kZones;
}

::arrow::TimeUnit::type anyUnit(RandomArrow& random) {
  static const ::arrow::TimeUnit::type kUnits[] = {::arrow::TimeUnit::SECOND,
                                                   ::arrow::TimeUnit::MILLI,
                                                   ::arrow::TimeUnit::MICRO,
                                                   ::arrow::TimeUnit::NANO};
  return kUnits[random.uniform(0, 3)];
}

}  // namespace

std::shared_ptr<::arrow::DataType> RandomArrow::scalarType() {
  namespace a = ::arrow;
  std::vector<std::shared_ptr<a::DataType>> types{
      a::boolean(), a::int8(),    a::uint8(),   a::int16(),  a::uint16(),
      a::int32(),   a::uint32(),  a::int64(),   a::uint64(), a::float32(),
      a::float64(), a::utf8(),    a::utf8(),    a::date32(),
      a::timestamp(anyUnit(*this), zones()[static_cast<std::size_t>(uniform(0, 3))]),
      a::duration(anyUnit(*this)),
      a::dictionary(a::int32(), a::utf8(), chance(0.3)),
      // Cells read from binary columns remember their type.
      a::binary(), a::large_binary(), a::fixed_size_binary(uniform(1, 4))};
  if (!mOptions.canonical) {
    const int precision = uniform(1, 38);
    const std::vector<std::shared_ptr<a::DataType>> more{
        a::large_utf8(),
        a::float16(),
        a::decimal128(precision, uniform(0, precision)),
        a::decimal256(precision, uniform(0, precision)),
        a::date64(),
        a::time32(chance(0.5) ? a::TimeUnit::SECOND : a::TimeUnit::MILLI),
        a::time64(chance(0.5) ? a::TimeUnit::MICRO : a::TimeUnit::NANO),
        a::null(),
        a::dictionary(a::int8(), a::utf8()),
        a::dictionary(a::uint16(), a::large_utf8(), true),
        a::dictionary(a::int64(), a::utf8()),
        a::dictionary(a::int16(), a::int64())};
    types.insert(types.end(), more.begin(), more.end());
  }
  return types[static_cast<std::size_t>(uniform(0, static_cast<int>(types.size()) - 1))];
}

std::shared_ptr<::arrow::DataType> RandomArrow::type(int depth) {
  if (depth >= mOptions.maxDepth || chance(0.55)) return scalarType();
  switch (uniform(0, 3)) {
    case 0:
      return ::arrow::list(type(depth + 1));
    case 1: {
      ::arrow::FieldVector fields;
      const int count = uniform(1, 3);
      for (int k = 0; k < count; ++k) {
        fields.push_back(::arrow::field(std::string("f").append(std::to_string(k)), type(depth + 1)));
      }
      return ::arrow::struct_(fields);
    }
    case 2:
      return ::arrow::large_list(type(depth + 1));
    default:
      return ::arrow::map(chance(0.5) ? ::arrow::utf8() : ::arrow::int32(), type(depth + 1));
  }
}

std::string RandomArrow::text(bool utf8) {
  static const char* const kPieces[] = {"a", "b", "Z", " ", "0", "\xC3\xA9" /* é */,
                                        "\xE6\x97\xA5" /* 日 */,
                                        "\xF0\x9F\x98\x80" /* U+1F600 */};
  std::string out;
  const int length = chance(0.15) ? 0 : uniform(1, 6);
  for (int i = 0; i < length; ++i) {
    if (utf8) {
      out += kPieces[chance(0.8) ? uniform(0, 4) : uniform(5, 7)];
    } else {
      out.push_back(static_cast<char>(uniform(0, 255)));
    }
  }
  return out;
}

std::shared_ptr<::arrow::Buffer> RandomArrow::validity(std::int64_t length,
                                                       double nullProbability,
                                                       std::int64_t* nullCount) {
  *nullCount = 0;
  if (nullProbability <= 0) return nullptr;
  std::vector<std::uint8_t> valid(static_cast<std::size_t>(length));
  for (auto& v : valid) {
    v = chance(nullProbability) ? 0 : 1;
    *nullCount += 1 - v;
  }
  return check(::arrow::internal::BytesToBits(valid));
}

std::shared_ptr<::arrow::Array> RandomArrow::dictionaryValues(const ::arrow::DictionaryType& type,
                                                              bool fresh) {
  const std::string key = type.value_type()->ToString();
  if (!fresh) {
    auto found = mDictionaries.find(key);
    if (found != mDictionaries.end()) return found->second;
  }
  const int count = uniform(1, 5);
  std::shared_ptr<::arrow::Array> values;
  if (type.value_type()->id() == ::arrow::Type::INT64) {
    ::arrow::Int64Builder builder;
    std::vector<std::int64_t> seen;
    while (static_cast<int>(seen.size()) < count) {
      const std::int64_t v = uniform(-1000, 1000);
      if (std::find(seen.begin(), seen.end(), v) == seen.end()) seen.push_back(v);
    }
    check(builder.AppendValues(seen));
    values = check(builder.Finish());
  } else {
    std::vector<std::string> seen;
    while (static_cast<int>(seen.size()) < count) {
      std::string v = text(true);
      if (std::find(seen.begin(), seen.end(), v) == seen.end()) seen.push_back(v);
    }
    std::unique_ptr<::arrow::ArrayBuilder> builder;
    check(::arrow::MakeBuilder(::arrow::default_memory_pool(), type.value_type(), &builder));
    for (const auto& v : seen) {
      if (type.value_type()->id() == ::arrow::Type::LARGE_STRING) {
        check(static_cast<::arrow::LargeStringBuilder&>(*builder).Append(v));
      } else {
        check(static_cast<::arrow::StringBuilder&>(*builder).Append(v));
      }
    }
    values = check(builder->Finish());
  }
  if (!fresh) mDictionaries[key] = values;
  return values;
}

namespace {

template <typename ArrowType, typename Generate>
std::shared_ptr<::arrow::Array> numbers(const std::shared_ptr<::arrow::DataType>& type,
                                        std::int64_t length, RandomArrow& random,
                                        double nullProbability, Generate generate) {
  ::arrow::NumericBuilder<ArrowType> builder(type, ::arrow::default_memory_pool());
  for (std::int64_t i = 0; i < length; ++i) {
    if (random.chance(nullProbability)) {
      check(builder.AppendNull());
    } else {
      check(builder.Append(generate()));
    }
  }
  return check(builder.Finish());
}

template <typename T>
T anyBits(RandomArrow& random) {
  return static_cast<T>(random.rng()());
}

double anyDouble(RandomArrow& random) {
  if (random.chance(0.1)) {
    static const double kSpecial[] = {std::numeric_limits<double>::quiet_NaN(),
                                      std::numeric_limits<double>::infinity(),
                                      -std::numeric_limits<double>::infinity(), -0.0, 0.0,
                                      std::numeric_limits<double>::denorm_min()};
    return kSpecial[random.uniform(0, 5)];
  }
  return std::uniform_real_distribution<double>(-1e6, 1e6)(random.rng());
}

template <typename ArrowType>
std::shared_ptr<::arrow::Array> indices(const std::shared_ptr<::arrow::DataType>& type,
                                        std::int64_t length, RandomArrow& random,
                                        double nullProbability, std::int64_t count) {
  using C = typename ArrowType::c_type;
  return numbers<ArrowType>(type, length, random, nullProbability, [&] {
    return static_cast<C>(random.uniform(0, static_cast<int>(count) - 1));
  });
}

}  // namespace

std::shared_ptr<::arrow::Array> RandomArrow::array(const std::shared_ptr<::arrow::DataType>& type,
                                                   std::int64_t length, bool underList) {
  // Some arrays are slices of a longer one, so that offsets are exercised.
  const std::int64_t before = chance(0.3) ? uniform(1, 3) : 0;
  const std::int64_t after = chance(0.3) ? uniform(1, 3) : 0;
  const std::int64_t filledRow =
      (mOptions.listsHaveElements && length > 0)
          ? before + std::uniform_int_distribution<std::int64_t>(0, length - 1)(mRng)
          : -1;
  auto whole = build(type, before + length + after, underList, filledRow);
  return (before == 0 && after == 0) ? whole : whole->Slice(before, length);
}

std::shared_ptr<::arrow::Array> RandomArrow::build(const std::shared_ptr<::arrow::DataType>& type,
                                                   std::int64_t length, bool underList,
                                                   std::int64_t filledRow) {
  namespace a = ::arrow;
  static const double kNullProbabilities[] = {0.0, 0.1, 0.5};
  const double p = mAllowNulls ? kNullProbabilities[uniform(0, 2)] : 0.0;
  switch (type->id()) {
    case a::Type::NA:
      return check(a::MakeArrayOfNull(type, length));
    case a::Type::BOOL: {
      a::BooleanBuilder builder;
      for (std::int64_t i = 0; i < length; ++i) {
        check(chance(p) ? builder.AppendNull() : builder.Append(chance(0.5)));
      }
      return check(builder.Finish());
    }
    case a::Type::INT8:
      return numbers<a::Int8Type>(type, length, *this, p, [&] { return anyBits<std::int8_t>(*this); });
    case a::Type::UINT8:
      return numbers<a::UInt8Type>(type, length, *this, p, [&] { return anyBits<std::uint8_t>(*this); });
    case a::Type::INT16:
      return numbers<a::Int16Type>(type, length, *this, p, [&] { return anyBits<std::int16_t>(*this); });
    case a::Type::UINT16:
      return numbers<a::UInt16Type>(type, length, *this, p, [&] { return anyBits<std::uint16_t>(*this); });
    case a::Type::INT32:
      return numbers<a::Int32Type>(type, length, *this, p, [&] { return anyBits<std::int32_t>(*this); });
    case a::Type::UINT32:
      return numbers<a::UInt32Type>(type, length, *this, p, [&] { return anyBits<std::uint32_t>(*this); });
    case a::Type::INT64:
      return numbers<a::Int64Type>(type, length, *this, p, [&] { return anyBits<std::int64_t>(*this); });
    case a::Type::UINT64:
      return numbers<a::UInt64Type>(type, length, *this, p, [&] { return anyBits<std::uint64_t>(*this); });
    case a::Type::HALF_FLOAT:
      return numbers<a::HalfFloatType>(type, length, *this, p, [&] { return anyBits<std::uint16_t>(*this); });
    case a::Type::FLOAT:
      return numbers<a::FloatType>(type, length, *this, p,
                                   [&] { return static_cast<float>(anyDouble(*this)); });
    case a::Type::DOUBLE:
      return numbers<a::DoubleType>(type, length, *this, p, [&] { return anyDouble(*this); });
    case a::Type::DATE32:
      return numbers<a::Date32Type>(type, length, *this, p, [&] { return uniform(-100000, 100000); });
    case a::Type::DATE64:
      return numbers<a::Date64Type>(type, length, *this, p, [&] {
        return std::int64_t{86400000} * uniform(-100000, 100000);
      });
    case a::Type::TIMESTAMP:
    case a::Type::DURATION:
      return numbers<a::Int64Type>(a::int64(), length, *this, p,
                                   [&] { return anyBits<std::int64_t>(*this); })
          ->View(type)
          .ValueOrDie();
    case a::Type::TIME32: {
      const bool seconds = static_cast<const a::Time32Type&>(*type).unit() == a::TimeUnit::SECOND;
      return numbers<a::Time32Type>(type, length, *this, p, [&] {
        return uniform(0, seconds ? 86399 : 86399999);
      });
    }
    case a::Type::TIME64: {
      const bool micro = static_cast<const a::Time64Type&>(*type).unit() == a::TimeUnit::MICRO;
      return numbers<a::Time64Type>(type, length, *this, p, [&] {
        return std::uniform_int_distribution<std::int64_t>(
            0, micro ? 86399999999LL : 86399999999999LL)(mRng);
      });
    }
    case a::Type::STRING:
    case a::Type::LARGE_STRING:
    case a::Type::BINARY:
    case a::Type::LARGE_BINARY: {
      std::unique_ptr<a::ArrayBuilder> builder;
      check(a::MakeBuilder(a::default_memory_pool(), type, &builder));
      const bool utf8 = type->id() == a::Type::STRING || type->id() == a::Type::LARGE_STRING;
      const bool large = type->id() == a::Type::LARGE_STRING || type->id() == a::Type::LARGE_BINARY;
      for (std::int64_t i = 0; i < length; ++i) {
        if (chance(p)) {
          check(builder->AppendNull());
        } else if (large) {
          check(static_cast<a::LargeBinaryBuilder&>(*builder).Append(text(utf8)));
        } else {
          check(static_cast<a::BinaryBuilder&>(*builder).Append(text(utf8)));
        }
      }
      return check(builder->Finish());
    }
    case a::Type::FIXED_SIZE_BINARY: {
      a::FixedSizeBinaryBuilder builder(type);
      const int width = static_cast<const a::FixedSizeBinaryType&>(*type).byte_width();
      std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width));
      for (std::int64_t i = 0; i < length; ++i) {
        if (chance(p)) {
          check(builder.AppendNull());
          continue;
        }
        for (auto& b : bytes) b = static_cast<std::uint8_t>(uniform(0, 255));
        check(builder.Append(bytes.data()));
      }
      return check(builder.Finish());
    }
    case a::Type::DECIMAL128:
    case a::Type::DECIMAL256: {
      const int precision = static_cast<const a::DecimalType&>(*type).precision();
      std::int64_t limit = 1;
      for (int d = 0; d < std::min(precision, 18); ++d) limit *= 10;
      std::unique_ptr<a::ArrayBuilder> builder;
      check(a::MakeBuilder(a::default_memory_pool(), type, &builder));
      for (std::int64_t i = 0; i < length; ++i) {
        if (chance(p)) {
          check(builder->AppendNull());
          continue;
        }
        const std::int64_t unscaled =
            std::uniform_int_distribution<std::int64_t>(-(limit - 1), limit - 1)(mRng);
        if (type->id() == a::Type::DECIMAL128) {
          check(static_cast<a::Decimal128Builder&>(*builder).Append(a::Decimal128(unscaled)));
        } else {
          check(static_cast<a::Decimal256Builder&>(*builder).Append(
              a::Decimal256(std::to_string(unscaled))));
        }
      }
      return check(builder->Finish());
    }
    case a::Type::DICTIONARY: {
      const auto& dictionaryType = static_cast<const a::DictionaryType&>(*type);
      auto values = dictionaryValues(dictionaryType, mFreshDictionaries && !underList);
      const std::int64_t count = values->length();
      std::shared_ptr<a::Array> codes;
      const auto& indexType = dictionaryType.index_type();
      switch (indexType->id()) {
        case a::Type::INT8:
          codes = indices<a::Int8Type>(indexType, length, *this, p, count);
          break;
        case a::Type::UINT16:
          codes = indices<a::UInt16Type>(indexType, length, *this, p, count);
          break;
        case a::Type::INT16:
          codes = indices<a::Int16Type>(indexType, length, *this, p, count);
          break;
        case a::Type::INT64:
          codes = indices<a::Int64Type>(indexType, length, *this, p, count);
          break;
        default:
          codes = indices<a::Int32Type>(indexType, length, *this, p, count);
          break;
      }
      return check(a::DictionaryArray::FromArrays(type, codes, values));
    }
    case a::Type::LIST:
    case a::Type::LARGE_LIST:
    case a::Type::MAP: {
      std::int64_t nullCount = 0;
      auto valid = validity(length, p, &nullCount);
      if (valid && filledRow >= 0 && !a::bit_util::GetBit(valid->data(), filledRow)) {
        a::bit_util::SetBit(valid->mutable_data(), filledRow);
        --nullCount;
      }
      std::vector<std::int64_t> offsets{0};
      for (std::int64_t i = 0; i < length; ++i) {
        const bool isNull = valid && !a::bit_util::GetBit(valid->data(), i);
        if (i == filledRow) {
          offsets.push_back(offsets.back() + uniform(1, 3));
          continue;
        }
        // Null rows may still span values; they must be ignored.
        const bool spanning = isNull && !mOptions.listsHaveElements && chance(0.3);
        const int size = isNull ? (spanning ? uniform(1, 2) : 0) : uniform(0, 3);
        offsets.push_back(offsets.back() + size);
      }
      const std::int64_t total = offsets.back();
      std::shared_ptr<a::Buffer> offsetBuffer;
      if (type->id() == a::Type::LARGE_LIST) {
        offsetBuffer = a::Buffer::FromVector(offsets);
      } else {
        offsetBuffer = a::Buffer::FromVector(std::vector<std::int32_t>(offsets.begin(), offsets.end()));
      }
      std::shared_ptr<a::ArrayData> values;
      if (type->id() == a::Type::MAP) {
        const auto& mapType = static_cast<const a::MapType&>(*type);
        const bool allowNulls = mAllowNulls;
        mAllowNulls = false;  // map keys are never null
        auto keys = array(mapType.key_type(), total, true);
        mAllowNulls = allowNulls;
        auto items = array(mapType.item_type(), total, true);
        values = a::ArrayData::Make(mapType.value_type(), total, {nullptr},
                                    {keys->data(), items->data()}, 0);
      } else {
        values = array(type->field(0)->type(), total, true)->data();
      }
      return a::MakeArray(
          a::ArrayData::Make(type, length, {valid, offsetBuffer}, {values}, nullCount));
    }
    case a::Type::STRUCT: {
      std::vector<std::shared_ptr<a::ArrayData>> children;
      for (const auto& field : type->fields()) {
        children.push_back(array(field->type(), length, underList)->data());
      }
      std::int64_t nullCount = 0;
      auto valid = mOptions.structNulls ? validity(length, p, &nullCount) : nullptr;
      return a::MakeArray(a::ArrayData::Make(type, length, {valid}, children, nullCount));
    }
    default:
      throw std::runtime_error("generator: no values for " + type->ToString());
  }
}

std::shared_ptr<::arrow::ChunkedArray> RandomArrow::column(
    const std::shared_ptr<::arrow::DataType>& type, std::int64_t length) {
  mFreshDictionaries = mOptions.differingDictionaries && chance(0.5);
  const int chunks = uniform(1, 4);
  std::vector<std::int64_t> cuts{0, length};
  for (int c = 1; c < chunks; ++c) {
    cuts.push_back(std::uniform_int_distribution<std::int64_t>(0, length)(mRng));
  }
  std::sort(cuts.begin(), cuts.end());
  ::arrow::ArrayVector arrays;
  for (std::size_t c = 0; c + 1 < cuts.size(); ++c) {
    arrays.push_back(array(type, cuts[c + 1] - cuts[c]));
  }
  mFreshDictionaries = false;
  return std::make_shared<::arrow::ChunkedArray>(arrays, type);
}

std::shared_ptr<::arrow::Table> RandomArrow::table(int columns, std::int64_t rows) {
  ::arrow::FieldVector fields;
  ::arrow::ChunkedArrayVector data;
  for (int c = 0; c < columns; ++c) {
    auto columnType = type();
    fields.push_back(::arrow::field(std::string("c").append(std::to_string(c)), columnType));
    data.push_back(column(columnType, rows));
  }
  return ::arrow::Table::Make(::arrow::schema(fields), data, rows);
}

}  // namespace convert_test
