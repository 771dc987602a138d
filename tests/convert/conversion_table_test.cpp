// Every row of the conversion table, Arrow -> host -> Arrow: each Arrow type
// reads as the host class to_orvane_datatype names and comes back either
// equal (its canonical type) or as the deliberate mapping to_arrow.hpp
// documents, with the same values after that mapping. Each type is tried as
// a column, inside a list and inside a struct with a null record, with nulls,
// and as an all-missing and an empty column.
#include "test_support.hpp"

#include <arrow/array/array_dict.h>
#include <arrow/compute/api.h>
#include <arrow/util/bitmap_builders.h>
#include <arrow/util/decimal.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

namespace convert_test {
namespace {

namespace a = ::arrow;
using orvane::io::arrow::core::to_arrow_table;
using orvane::io::arrow::core::to_orvane;
using orvane::io::arrow::core::to_orvane_datatype;

struct Row {
  std::shared_ptr<a::DataType> type;
  std::string values;  // JSON of a few values, nulls included
  std::string hostClass;
  // The type it comes back as; null when it comes back equal.
  std::shared_ptr<a::DataType> mapped;
  // The values in the mapped type, when the literal differs.
  std::string mappedValues;

  Row(std::shared_ptr<a::DataType> t, std::string v, std::string c,
      std::shared_ptr<a::DataType> m, std::string mv = {})
      : type(std::move(t)), values(std::move(v)), hostClass(std::move(c)), mapped(std::move(m)),
        mappedValues(std::move(mv)) {}
};

std::vector<Row> conversionTable() {
  const auto stringDictionary = a::dictionary(a::int32(), a::utf8());
  const auto date32 = a::date32();
  std::vector<Row> rows{
      {a::boolean(), "[true, null, false]", "logical", nullptr},
      {a::int8(), "[-128, null, 127]", "int8", nullptr},
      {a::uint8(), "[0, null, 255]", "uint8", nullptr},
      {a::int16(), "[-32768, null, 32767]", "int16", nullptr},
      {a::uint16(), "[0, null, 65535]", "uint16", nullptr},
      {a::int32(), "[-2147483648, null, 2147483647]", "int32", nullptr},
      {a::uint32(), "[0, null, 4294967295]", "uint32", nullptr},
      {a::int64(), "[-9223372036854775808, null, 9223372036854775807]", "int64", nullptr},
      {a::uint64(), "[0, null, 18446744073709551615]", "uint64", nullptr},
      // Half floats are given by their bits: 1.5 and -2.
      {a::float16(), "[15872, null, 49152]", "single", a::float32(), "[1.5, null, -2]"},
      {a::float32(), "[1.5, null, -2.25]", "single", nullptr},
      {a::float64(), "[1.5, null, -2.25]", "double", nullptr},
      {a::decimal128(18, 4), "[\"-8602.6138\", null, \"0.1000\"]", "double", a::float64()},
      {a::decimal256(40, 3), "[\"1234567890123456789012345.678\", null, \"-0.001\"]", "double",
       a::float64()},
      {a::utf8(), "[\"a\", null, \"\xC3\xA9\"]", "string", nullptr},
      {a::large_utf8(), "[\"a\", null, \"b\"]", "string", a::utf8()},
      {a::binary(), "[\"ab\", null, \"\"]", "cell", nullptr},
      {a::large_binary(), "[\"ab\", null, \"\"]", "cell", nullptr},
      {a::fixed_size_binary(3), "[\"abc\", null, \"xyz\"]", "cell", nullptr},
      {a::date32(), "[0, null, -719162]", "datetime", nullptr},
      {a::date64(), "[86400000, null, 0]", "datetime", date32},
      {a::time32(a::TimeUnit::SECOND), "[1, null, 86399]", "duration",
       a::duration(a::TimeUnit::SECOND)},
      {a::time32(a::TimeUnit::MILLI), "[1, null, 86399999]", "duration",
       a::duration(a::TimeUnit::MILLI)},
      {a::time64(a::TimeUnit::MICRO), "[1, null, 86399999999]", "duration",
       a::duration(a::TimeUnit::MICRO)},
      {a::time64(a::TimeUnit::NANO), "[1, null, 86399999999999]", "duration",
       a::duration(a::TimeUnit::NANO)},
      {a::dictionary(a::int32(), a::utf8()), "[\"x\", null, \"y\"]", "categorical", nullptr},
      {a::dictionary(a::int32(), a::utf8(), true), "[\"x\", null, \"y\"]", "categorical",
       nullptr},
      {a::dictionary(a::int8(), a::utf8()), "[\"x\", null, \"y\"]", "categorical",
       stringDictionary},
      {a::dictionary(a::int16(), a::int64()), "[5, null, 7]", "int64", a::int64()},
      {a::null(), "[null, null, null]", "double", a::float64()},
      {a::list(a::int32()), "[[1, 2], null, []]", "cell", nullptr},
      {a::large_list(a::utf8()), "[[\"a\"], null, []]", "cell", nullptr},
      {a::list(a::list(a::int64())), "[[[1], null, []], null, []]", "cell", nullptr},
      {a::struct_({a::field("x", a::int32()), a::field("y", a::utf8())}),
       "[{\"x\": 1, \"y\": \"a\"}, null, {\"x\": null, \"y\": null}]", "struct", nullptr},
      {a::map(a::utf8(), a::int32()), "[[[\"k\", 1]], null, []]", "cell", nullptr},
      {a::map(a::utf8(), a::map(a::int32(), a::utf8())),
       "[[[\"k\", [[1, \"v\"]]]], null, [[\"e\", []], [\"n\", null]]]", "cell", nullptr},
  };
  for (const auto unit : {a::TimeUnit::SECOND, a::TimeUnit::MILLI, a::TimeUnit::MICRO,
                          a::TimeUnit::NANO}) {
    for (const std::string zone : {"", "UTC", "Europe/Paris", "+05:30"}) {
      rows.push_back({a::timestamp(unit, zone), "[0, null, -86400]", "datetime", nullptr});
    }
    rows.push_back({a::duration(unit), "[1, null, -5]", "duration", nullptr});
  }
  return rows;
}

// The value `array` should come back with: the mapped type's reading of it.
std::shared_ptr<a::Array> mappedValues(const std::shared_ptr<a::Array>& array,
                                       const std::shared_ptr<a::DataType>& mapped,
                                       const std::string& json) {
  const auto id = array->type_id();
  if (id == a::Type::TIME32 || id == a::Type::TIME64) {
    // Ticks since midnight become a duration of the same ticks.
    auto raw = unwrap(array->View(id == a::Type::TIME32 ? a::int32() : a::int64()));
    auto ticks = unwrap(a::compute::Cast(raw, a::int64())).make_array();
    return unwrap(ticks->View(mapped));
  }
  if (id == a::Type::DECIMAL128 || id == a::Type::DECIMAL256) {
    // The nearest double, through the decimal text (strtod rounds correctly).
    const auto& decimals = static_cast<const a::DecimalType&>(*array->type());
    a::DoubleBuilder builder;
    for (std::int64_t i = 0; i < array->length(); ++i) {
      if (array->IsNull(i)) {
        EXPECT_TRUE(builder.AppendNull().ok());
        continue;
      }
      const auto* bytes = static_cast<const a::FixedSizeBinaryArray&>(*array).GetValue(i);
      const std::string text = id == a::Type::DECIMAL128
                                   ? a::Decimal128(bytes).ToString(decimals.scale())
                                   : a::Decimal256(bytes).ToString(decimals.scale());
      EXPECT_TRUE(builder.Append(std::strtod(text.c_str(), nullptr)).ok());
    }
    return unwrap(builder.Finish());
  }
  if (id == a::Type::DATE64) return unwrap(a::compute::Cast(array, mapped)).make_array();
  // The same literal values in the mapped type.
  return fromJson(mapped, json);
}

// `column` through the host and back.
std::shared_ptr<a::ChunkedArray> roundTrip(const std::shared_ptr<a::Array>& column,
                                           const std::string& expectedClass) {
  auto host = unwrap(to_orvane(tableOf("v", column)));
  EXPECT_EQ(ovGetClassName(ovTableColumn(host.get(), 0)), expectedClass);
  auto back = unwrap(to_arrow_table(host.get()));
  EXPECT_TRUE(back->ValidateFull().ok()) << back->ValidateFull().ToString();
  return back->column(0);
}

void expectEqual(const a::ChunkedArray& actual, const a::Array& expected) {
  ASSERT_TRUE(actual.type()->Equals(*expected.type()))
      << actual.type()->ToString() << " vs " << expected.type()->ToString();
  const auto options = a::EqualOptions::Defaults().nans_equal(true);
  EXPECT_TRUE(actual.Equals(a::ChunkedArray(std::vector<std::shared_ptr<a::Array>>{
                                                expected.Slice(0)},
                                            expected.type()),
                            options))
      << "actual:\n"
      << actual.ToString() << "\nexpected:\n"
      << expected.ToString();
}

TEST(ConversionTable, EveryArrowTypeReadsAsItsClassAndComesBackAsDocumented) {
  for (const Row& row : conversionTable()) {
    SCOPED_TRACE(row.type->ToString());
    EXPECT_EQ(to_orvane_datatype(row.type), std::optional<std::string>(row.hostClass));
    auto array = fromJson(row.type, row.values);
    if (array->type_id() == a::Type::DICTIONARY) {
      // The JSON reader drops the ordered flag; put the type back.
      const auto& dictionary = static_cast<const a::DictionaryArray&>(*array);
      array = unwrap(a::DictionaryArray::FromArrays(row.type, dictionary.indices(),
                                                    dictionary.dictionary()));
    }
    const auto expected = row.mapped ? mappedValues(array, row.mapped,
                                                 row.mappedValues.empty() ? row.values : row.mappedValues)
                                  : array;

    // As a column, also all-missing and without rows: the type survives.
    expectEqual(*roundTrip(array, row.hostClass), *expected);
    expectEqual(*roundTrip(unwrap(a::MakeArrayOfNull(row.type, 2)), row.hostClass),
                *unwrap(a::MakeArrayOfNull(expected->type(), 2)));
    expectEqual(*roundTrip(array->Slice(0, 0), row.hostClass), *expected->Slice(0, 0));

    // Inside a list (with an all-missing and an empty list row) and inside a
    // struct with a null record.
    const auto offsets = fromJson(a::int32(), "[0, 3, null, 3]");
    const auto list = unwrap(a::ListArray::FromArrays(*offsets, *array));
    const auto listExpected = unwrap(a::ListArray::FromArrays(*offsets, *expected));
    expectEqual(*roundTrip(list, "cell"), *listExpected);
    const auto validity = unwrap(a::internal::BytesToBits({1, 0, 1}));
    const auto record = unwrap(a::StructArray::Make({array}, {a::field("f", row.type)}, validity, 1));
    const auto recordExpected = unwrap(
        a::StructArray::Make({expected}, {a::field("f", expected->type())}, validity, 1));
    expectEqual(*roundTrip(record, "struct"), *recordExpected);
  }
}

TEST(ConversionTable, TypesWithoutAHostClassAreRefused) {
  const std::vector<std::shared_ptr<a::DataType>> refused{
      a::month_interval(), a::day_time_interval(), a::month_day_nano_interval(),
      a::fixed_size_list(a::int32(), 2), a::sparse_union({a::field("i", a::int32())}),
      a::dense_union({a::field("i", a::int32())}), a::struct_({})};
  for (const auto& type : refused) {
    SCOPED_TRACE(type->ToString());
    if (type->id() != a::Type::STRUCT) {
      EXPECT_FALSE(to_orvane_datatype(type).has_value());
    }
    auto host = to_orvane(tableOf("v", unwrap(a::MakeArrayOfNull(type, 1))));
    ASSERT_FALSE(host.ok());
    EXPECT_TRUE(host.status().IsTypeError()) << host.status().ToString();
  }
}

TEST(ConversionTable, DecimalsBecomeTheNearestDouble) {
  // Every scale, negative ones included, both widths: the double nearest to
  // the decimal value, as strtod gives it from the decimal's text.
  std::mt19937_64 rng(20240601);
  for (int scale = -30; scale <= 38; ++scale) {
    for (const bool wide : {false, true}) {
      const int precision = wide ? 76 : 38;
      if (scale > precision) continue;
      const auto type = wide ? a::decimal256(precision, scale) : a::decimal128(precision, scale);
      std::vector<std::string> texts;
      for (int i = 0; i < 40; ++i) {
        // Unscaled values of 1 to 36 digits.
        std::string digits = std::to_string(rng() % 9 + 1);
        const int more = static_cast<int>(rng() % 36);
        for (int d = 0; d < more; ++d) digits += static_cast<char>('0' + rng() % 10);
        texts.push_back((rng() % 2 ? "-" : "") + digits);
      }
      texts.push_back("-86026138");
      std::shared_ptr<a::Array> array;
      if (wide) {
        a::Decimal256Builder builder(type);
        for (const auto& t : texts) ASSERT_TRUE(builder.Append(unwrap(a::Decimal256::FromString(t))).ok());
        array = unwrap(builder.Finish());
      } else {
        a::Decimal128Builder builder(type);
        for (const auto& t : texts) ASSERT_TRUE(builder.Append(unwrap(a::Decimal128::FromString(t))).ok());
        array = unwrap(builder.Finish());
      }
      auto host = unwrap(to_orvane(array));
      const double* values = ovGetTypedData<double>(host.get());
      for (std::size_t i = 0; i < texts.size(); ++i) {
        const std::string text = texts[i] + "e" + std::to_string(-scale);
        EXPECT_EQ(values[i], std::strtod(text.c_str(), nullptr)) << type->ToString() << " " << text;
      }
    }
  }
  // Beyond the range of doubles: infinities of the value's sign, and zero.
  {
    a::Decimal256Builder huge(a::decimal256(76, -300));
    ASSERT_TRUE(huge.Append(unwrap(a::Decimal256::FromString(std::string(70, '9')))).ok());
    ASSERT_TRUE(huge.Append(unwrap(a::Decimal256::FromString("-" + std::string(70, '9')))).ok());
    auto host = unwrap(to_orvane(unwrap(huge.Finish())));
    EXPECT_EQ(ovGetTypedData<double>(host.get())[0], std::numeric_limits<double>::infinity());
    EXPECT_EQ(ovGetTypedData<double>(host.get())[1], -std::numeric_limits<double>::infinity());
    a::Decimal256Builder tiny(a::decimal256(76, 400));
    ASSERT_TRUE(tiny.Append(unwrap(a::Decimal256::FromString("1"))).ok());
    host = unwrap(to_orvane(unwrap(tiny.Finish())));
    EXPECT_EQ(ovGetTypedData<double>(host.get())[0], 0.0);
  }
  // The value the issue was found with.
  auto host = unwrap(to_orvane(fromJson(a::decimal128(18, 4), "[\"-8602.6138\"]")));
  EXPECT_EQ(ovGetTypedData<double>(host.get())[0], -8602.6138);
}

}  // namespace
}  // namespace convert_test
