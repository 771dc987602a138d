#include <ovparquet/core/info/TypeDescriptions.hpp>

#include <arrow/api.h>
#include <arrow/extension_type.h>
#include <gtest/gtest.h>

namespace orvane::io::parquet::core::info {
namespace {

using namespace ::arrow;

// A minimal extension type, only to be described.
class LabelType : public ExtensionType {
 public:
  LabelType() : ExtensionType(utf8()) {}
  std::string extension_name() const override { return "test.label"; }
  bool ExtensionEquals(const ExtensionType& other) const override {
    return other.extension_name() == extension_name();
  }
  std::shared_ptr<Array> MakeArray(std::shared_ptr<ArrayData> data) const override {
    return std::make_shared<ExtensionArray>(data);
  }
  Result<std::shared_ptr<DataType>> Deserialize(std::shared_ptr<DataType>, const std::string&) const override {
    return std::make_shared<LabelType>();
  }
  std::string Serialize() const override { return ""; }
};

class OddTime32 : public TimeType {
 public:
  explicit OddTime32(TimeUnit::type unit) : TimeType(Type::TIME32, unit) {}
  int bit_width() const override { return 32; }
  std::string ToString() const override { return "odd time32"; }
  std::string name() const override { return "time32"; }
  DataTypeLayout layout() const override {
    return DataTypeLayout({DataTypeLayout::Bitmap(), DataTypeLayout::FixedWidth(4)});
  }
};

TEST(TypeDescriptions, FixedTexts) {
  EXPECT_EQ(type_to_ustring(null()), u"Null");
  EXPECT_EQ(type_to_ustring(boolean()), u"Boolean");
  EXPECT_EQ(type_to_ustring(utf8()), u"String");
  EXPECT_EQ(type_to_ustring(large_utf8()), u"String");
  EXPECT_EQ(type_to_ustring(binary()), u"ByteArray");
  EXPECT_EQ(type_to_ustring(large_binary()), u"ByteArray");
}

TEST(TypeDescriptions, NumbersSpellOutTheirWidth) {
  EXPECT_EQ(type_to_ustring(int8()), u"Int8");
  EXPECT_EQ(type_to_ustring(uint16()), u"UInt16");
  EXPECT_EQ(type_to_ustring(int32()), u"Int32");
  EXPECT_EQ(type_to_ustring(uint64()), u"UInt64");
  EXPECT_EQ(type_to_ustring(float16()), u"Float16");
  EXPECT_EQ(type_to_ustring(float32()), u"Float32");
  EXPECT_EQ(type_to_ustring(float64()), u"Float64");
  EXPECT_EQ(type_to_ustring(fixed_size_binary(16)), u"FixedLenByteArray[length=16]");
  EXPECT_EQ(type_to_ustring(decimal128(10, 2)), u"Decimal128[precision=10, scale=2]");
  EXPECT_EQ(type_to_ustring(decimal256(50, 0)), u"Decimal256[precision=50, scale=0]");
}

TEST(TypeDescriptions, DatesTimesAndTimestamps) {
  EXPECT_EQ(type_to_ustring(date32()), u"Date32");
  EXPECT_EQ(type_to_ustring(date64()), u"Date64");
  EXPECT_EQ(type_to_ustring(time32(TimeUnit::MILLI)), u"Time32[unit=milliseconds]");
  EXPECT_EQ(type_to_ustring(time64(TimeUnit::NANO)), u"Time64[unit=nanoseconds]");
  EXPECT_EQ(type_to_ustring(timestamp(TimeUnit::MICRO)), u"Timestamp[unit=microseconds]");
  EXPECT_EQ(type_to_ustring(timestamp(TimeUnit::MILLI, "UTC")), u"Timestamp[unit=milliseconds, timezone=UTC]");
  EXPECT_EQ(type_to_ustring(timestamp(TimeUnit::SECOND, "+01:00")), u"Timestamp[unit=seconds, timezone=+01:00]");
  EXPECT_EQ(type_to_ustring(timestamp(TimeUnit::SECOND, "Europe/Zürich")),
            u"Timestamp[unit=seconds, timezone=Europe/Zürich]");
}

TEST(TypeDescriptions, TimeUnits) {
  EXPECT_EQ(time_unit_to_ustring(TimeUnit::SECOND), u"seconds");
  EXPECT_EQ(time_unit_to_ustring(TimeUnit::MILLI), u"milliseconds");
  EXPECT_EQ(time_unit_to_ustring(TimeUnit::MICRO), u"microseconds");
  EXPECT_EQ(time_unit_to_ustring(TimeUnit::NANO), u"nanoseconds");
  const auto odd = static_cast<TimeUnit::type>(7);
  EXPECT_EQ(time_unit_to_ustring(odd), u"<Unknown>");
  // A 32-bit time carrying an out-of-range unit (Time32Type itself refuses
  // one, so it is made through the common base).
  EXPECT_EQ(time_to_ustring(std::make_shared<OddTime32>(odd)), u"Time32[unit=<Unknown>]");
  EXPECT_EQ(type_to_ustring(std::make_shared<OddTime32>(odd)), u"Time32[unit=<Unknown>]");
}

TEST(TypeDescriptions, NestedTypes) {
  EXPECT_EQ(type_to_ustring(struct_({})), u"Struct<>");
  EXPECT_EQ(type_to_ustring(struct_({field("x", boolean())})), u"Struct<x: Boolean>");
  EXPECT_EQ(type_to_ustring(struct_({field("a", int32()), field("b", utf8())})), u"Struct<a: Int32, b: String>");
  EXPECT_EQ(type_to_ustring(list(float64())), u"List<Float64>");
  EXPECT_EQ(type_to_ustring(large_list(float64())), u"List<Float64>");
  EXPECT_EQ(type_to_ustring(list(struct_({field("x", int8())}))), u"List<Struct<x: Int8>>");
  EXPECT_EQ(type_to_ustring(map(utf8(), float64())), u"Map<key=String, value=Float64>");
  EXPECT_EQ(type_to_ustring(dictionary(int32(), utf8())), u"Dictionary<index=Int32, value=String>");
  EXPECT_EQ(type_to_ustring(struct_({field("größe", list(map(utf8(), struct_({field("ü", date32())}))))})),
            u"Struct<größe: List<Map<key=String, value=Struct<ü: Date32>>>>");
}

TEST(TypeDescriptions, UnknownKinds) {
  EXPECT_EQ(type_to_ustring(fixed_size_list(int32(), 3)), u"Unknown");
  EXPECT_EQ(type_to_ustring(duration(TimeUnit::SECOND)), u"Unknown");
  EXPECT_EQ(type_to_ustring(month_interval()), u"Unknown");
  EXPECT_EQ(type_to_ustring(day_time_interval()), u"Unknown");
  EXPECT_EQ(type_to_ustring(month_day_nano_interval()), u"Unknown");
  EXPECT_EQ(type_to_ustring(sparse_union({field("a", int32())})), u"Unknown");
  EXPECT_EQ(type_to_ustring(dense_union({field("a", int32())})), u"Unknown");
  EXPECT_EQ(type_to_ustring(std::make_shared<LabelType>()), u"Unknown");
  EXPECT_EQ(type_to_ustring(run_end_encoded(int32(), utf8())), u"Unknown");
  EXPECT_EQ(type_to_ustring(utf8_view()), u"Unknown");
  EXPECT_EQ(type_to_ustring(list_view(int32())), u"Unknown");
  EXPECT_EQ(type_to_ustring(map(utf8(), duration(TimeUnit::MILLI))), u"Map<key=String, value=Unknown>");
  EXPECT_EQ(type_to_ustring(list(month_interval())), u"List<Unknown>");
}

TEST(TypeDescriptions, OnePerTopLevelField) {
  auto schema = ::arrow::schema({field("a", int64()), field("b", list(utf8())), field("c", month_interval())});
  EXPECT_EQ(parquet_types(schema), (std::vector<ustring>{u"Int64", u"List<String>", u"Unknown"}));
  EXPECT_TRUE(parquet_types(::arrow::schema(FieldVector{})).empty());
}

}  // namespace
}  // namespace orvane::io::parquet::core::info
