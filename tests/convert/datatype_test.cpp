// to_orvane_datatype for every Arrow type id, and the TypeError (with the
// column name) of columns without a host class.
#include "test_support.hpp"

#include <arrow/extension_type.h>

#include <map>
#include <optional>

namespace convert_test {
namespace {

using orvane::io::arrow::core::table_error_column_name;
using orvane::io::arrow::core::TableErrorStatusDetail;
using orvane::io::arrow::core::to_orvane;
using orvane::io::arrow::core::to_orvane_datatype;

// A minimal extension type: extension types have no host class, whatever
// their storage.
class TestExtensionType : public ::arrow::ExtensionType {
 public:
  TestExtensionType() : ::arrow::ExtensionType(::arrow::int32()) {}
  std::string extension_name() const override { return "ovparquet.test"; }
  bool ExtensionEquals(const ::arrow::ExtensionType& other) const override {
    return other.extension_name() == extension_name();
  }
  std::shared_ptr<::arrow::Array> MakeArray(std::shared_ptr<::arrow::ArrayData> data) const override {
    return std::make_shared<::arrow::ExtensionArray>(data);
  }
  ::arrow::Result<std::shared_ptr<::arrow::DataType>> Deserialize(
      std::shared_ptr<::arrow::DataType>, const std::string&) const override {
    return std::make_shared<TestExtensionType>();
  }
  std::string Serialize() const override { return {}; }
};

struct Expectation {
  std::shared_ptr<::arrow::DataType> type;
  std::optional<std::string> hostClass;
};

// One example per Arrow type id, with the host class it must map to.
std::map<int, Expectation> examples() {
  namespace a = ::arrow;
  using T = a::Type;
  const std::nullopt_t none = std::nullopt;
  std::map<int, Expectation> e;
  e[T::NA] = {a::null(), "double"};
  e[T::BOOL] = {a::boolean(), "logical"};
  e[T::UINT8] = {a::uint8(), "uint8"};
  e[T::INT8] = {a::int8(), "int8"};
  e[T::UINT16] = {a::uint16(), "uint16"};
  e[T::INT16] = {a::int16(), "int16"};
  e[T::UINT32] = {a::uint32(), "uint32"};
  e[T::INT32] = {a::int32(), "int32"};
  e[T::UINT64] = {a::uint64(), "uint64"};
  e[T::INT64] = {a::int64(), "int64"};
  e[T::HALF_FLOAT] = {a::float16(), "single"};
  e[T::FLOAT] = {a::float32(), "single"};
  e[T::DOUBLE] = {a::float64(), "double"};
  e[T::STRING] = {a::utf8(), "string"};
  e[T::BINARY] = {a::binary(), "cell"};
  e[T::FIXED_SIZE_BINARY] = {a::fixed_size_binary(4), "cell"};
  e[T::DATE32] = {a::date32(), "datetime"};
  e[T::DATE64] = {a::date64(), "datetime"};
  e[T::TIMESTAMP] = {a::timestamp(a::TimeUnit::MICRO, "UTC"), "datetime"};
  e[T::TIME32] = {a::time32(a::TimeUnit::MILLI), "duration"};
  e[T::TIME64] = {a::time64(a::TimeUnit::NANO), "duration"};
  e[T::INTERVAL_MONTHS] = {a::month_interval(), none};
  e[T::INTERVAL_DAY_TIME] = {a::day_time_interval(), none};
  e[T::DECIMAL128] = {a::decimal128(10, 2), "double"};
  e[T::DECIMAL256] = {a::decimal256(50, 3), "double"};
  e[T::LIST] = {a::list(a::int32()), "cell"};
  e[T::STRUCT] = {a::struct_({a::field("a", a::int32())}), "struct"};
  e[T::SPARSE_UNION] = {a::sparse_union({a::field("a", a::int32())}), none};
  e[T::DENSE_UNION] = {a::dense_union({a::field("a", a::int32())}), none};
  e[T::DICTIONARY] = {a::dictionary(a::int32(), a::utf8()), "categorical"};
  e[T::MAP] = {a::map(a::utf8(), a::int32()), "cell"};
  e[T::EXTENSION] = {std::make_shared<TestExtensionType>(), none};
  e[T::FIXED_SIZE_LIST] = {a::fixed_size_list(a::int32(), 2), none};
  e[T::DURATION] = {a::duration(a::TimeUnit::SECOND), "duration"};
  e[T::LARGE_STRING] = {a::large_utf8(), "string"};
  e[T::LARGE_BINARY] = {a::large_binary(), "cell"};
  e[T::LARGE_LIST] = {a::large_list(a::utf8()), "cell"};
  e[T::INTERVAL_MONTH_DAY_NANO] = {a::month_day_nano_interval(), none};
  e[T::RUN_END_ENCODED] = {a::run_end_encoded(a::int32(), a::utf8()), none};
  e[T::STRING_VIEW] = {a::utf8_view(), none};
  e[T::BINARY_VIEW] = {a::binary_view(), none};
  e[T::LIST_VIEW] = {a::list_view(a::int32()), none};
  e[T::LARGE_LIST_VIEW] = {a::large_list_view(a::int32()), none};
  return e;
}

TEST(Datatype, EveryArrowTypeIdMapsAsDocumented) {
  const auto all = examples();
  for (int id = 0; id < ::arrow::Type::MAX_ID; ++id) {
    const auto found = all.find(id);
    ASSERT_NE(found, all.end()) << "no example for Arrow type id " << id;
    const Expectation& expectation = found->second;
    ASSERT_EQ(expectation.type->id(), id) << expectation.type->ToString();
    EXPECT_EQ(to_orvane_datatype(expectation.type), expectation.hostClass)
        << expectation.type->ToString();
  }
}

TEST(Datatype, NestedTypesNeedAHostClassAllTheWayDown) {
  namespace a = ::arrow;
  EXPECT_EQ(to_orvane_datatype(a::list(a::month_interval())), std::nullopt);
  EXPECT_EQ(to_orvane_datatype(a::large_list(a::fixed_size_list(a::int8(), 3))), std::nullopt);
  EXPECT_EQ(to_orvane_datatype(a::struct_({a::field("a", a::int32()),
                                           a::field("b", a::dense_union(a::FieldVector{}))})),
            std::nullopt);
  EXPECT_EQ(to_orvane_datatype(a::map(a::utf8(), a::utf8_view())), std::nullopt);
  EXPECT_EQ(to_orvane_datatype(a::struct_(a::FieldVector{})), std::nullopt);
  EXPECT_EQ(to_orvane_datatype(nullptr), std::nullopt);
  EXPECT_EQ(to_orvane_datatype(a::list(a::struct_({a::field("x", a::list(a::int8()))}))),
            std::optional<std::string>("cell"));
  EXPECT_EQ(to_orvane_datatype(a::struct_({a::field("m", a::map(a::int32(), a::utf8()))})),
            std::optional<std::string>("struct"));
}

TEST(Datatype, DictionariesOfOtherValuesTakeTheValueClass) {
  namespace a = ::arrow;
  EXPECT_EQ(to_orvane_datatype(a::dictionary(a::int8(), a::large_utf8())),
            std::optional<std::string>("categorical"));
  EXPECT_EQ(to_orvane_datatype(a::dictionary(a::int16(), a::int64())),
            std::optional<std::string>("int64"));
  EXPECT_EQ(to_orvane_datatype(a::dictionary(a::int32(), a::binary())),
            std::optional<std::string>("cell"));
  EXPECT_EQ(to_orvane_datatype(a::dictionary(a::int32(), a::float32())),
            std::optional<std::string>("single"));
}

TEST(Datatype, UnsupportedColumnFailsWithTypeErrorNamingTheColumn) {
  namespace a = ::arrow;
  auto good = fromJson(a::int32(), "[1, 2]");
  auto interval = fromJson(a::month_interval(), "[1, null]");
  auto table = tableOf({{"good", chunked({good})}, {"months", chunked({interval})}});
  auto result = to_orvane(table, u"data/file.parquet");
  ASSERT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), ::arrow::StatusCode::TypeError);
  EXPECT_EQ(table_error_column_name(result.status()), "months");
  const auto detail = TableErrorStatusDetail::FromStatus(result.status());
  ASSERT_NE(detail, nullptr);
  EXPECT_EQ(detail->column_name(), "months");
  EXPECT_EQ(detail->ToString(), "column 'months'");
  EXPECT_NE(result.status().message().find("months"), std::string::npos);
  EXPECT_NE(result.status().message().find("data/file.parquet"), std::string::npos);
  EXPECT_NE(result.status().message().find("month_interval"), std::string::npos);
}

TEST(Datatype, UnsupportedNestedTypeNamesTheTopLevelColumn) {
  namespace a = ::arrow;
  auto nested = fromJson(a::struct_({a::field("inner", a::list(a::month_interval()))}),
                         R"([{"inner": [1, 2]}])");
  auto result = to_orvane(tableOf("outer", nested));
  ASSERT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), ::arrow::StatusCode::TypeError);
  EXPECT_EQ(table_error_column_name(result.status()), "outer");
}

TEST(Datatype, UnsupportedArrayFailsWithTypeError) {
  auto result = to_orvane(fromJson(::arrow::fixed_size_list(::arrow::int32(), 2), "[[1, 2]]"));
  ASSERT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), ::arrow::StatusCode::TypeError);
}

TEST(StatusDetail, OtherStatusesCarryNoColumnName) {
  EXPECT_EQ(table_error_column_name(::arrow::Status::OK()), "");
  EXPECT_EQ(table_error_column_name(::arrow::Status::TypeError("plain")), "");
  EXPECT_EQ(TableErrorStatusDetail::FromStatus(::arrow::Status::Invalid("plain")), nullptr);
  const auto made = orvane::io::arrow::core::make_table_error(::arrow::StatusCode::TypeError,
                                                              "col", "bad type");
  EXPECT_EQ(made.code(), ::arrow::StatusCode::TypeError);
  EXPECT_EQ(made.message(), "bad type");
  EXPECT_EQ(table_error_column_name(made), "col");
  EXPECT_EQ(std::string(made.detail()->type_id()), TableErrorStatusDetail::kTypeId);
}

}  // namespace
}  // namespace convert_test
