// Host to Arrow: the canonical Arrow type and exact values of each class, and
// failed statuses (never crashes) for anything that is not a well-formed host
// table.
#include "test_support.hpp"

#include <arrow/compare.h>

#include <complex>
#include <limits>

namespace convert_test {
namespace {

namespace a = ::arrow;
using orvane::io::arrow::core::table_error_column_name;
using orvane::io::arrow::core::to_arrow_array;
using orvane::io::arrow::core::to_arrow_table;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The single column of the Arrow table written from one host variable.
std::shared_ptr<a::Array> writeOne(unique_ovarray_ptr column) {
  auto host = table({u"x"}, std::move(column));
  auto arrow = unwrap(to_arrow_table(host.get()));
  EXPECT_TRUE(arrow->ValidateFull().ok()) << arrow->ValidateFull().ToString();
  EXPECT_EQ(arrow->num_columns(), 1);
  EXPECT_EQ(arrow->column(0)->num_chunks(), 1);
  return arrow->column(0)->chunk(0);
}

::testing::AssertionResult arrowEqual(const std::shared_ptr<a::Array>& actual,
                                      const std::shared_ptr<a::Array>& expected) {
  if (!actual->type()->Equals(*expected->type())) {
    return ::testing::AssertionFailure() << "type " << actual->type()->ToString() << " vs "
                                         << expected->type()->ToString();
  }
  if (!actual->Equals(*expected, a::EqualOptions::Defaults().nans_equal(true))) {
    return ::testing::AssertionFailure() << "actual:\n"
                                         << actual->ToString() << "\nexpected:\n"
                                         << expected->ToString();
  }
  return ::testing::AssertionSuccess();
}

#define EXPECT_WRITES(host, type, json) \
  EXPECT_TRUE(arrowEqual(writeOne(host), fromJson((type), (json))))

TEST(Write, LogicalAndNumericClasses) {
  EXPECT_WRITES(logical({1, 0, 1}, {2}), a::boolean(), "[true, false, null]");
  EXPECT_WRITES(numeric<std::int8_t>({-128, 127}), a::int8(), "[-128, 127]");
  EXPECT_WRITES(numeric<std::uint8_t>({255, 0}, {1}), a::uint8(), "[255, null]");
  EXPECT_WRITES(numeric<std::int16_t>({-2}), a::int16(), "[-2]");
  EXPECT_WRITES(numeric<std::uint16_t>({65535}), a::uint16(), "[65535]");
  EXPECT_WRITES(numeric<std::int32_t>({1, 2, 3}, {0}), a::int32(), "[null, 2, 3]");
  EXPECT_WRITES(numeric<std::uint32_t>({4294967295u}), a::uint32(), "[4294967295]");
  EXPECT_WRITES(numeric<std::int64_t>({std::numeric_limits<std::int64_t>::min()}), a::int64(),
                "[-9223372036854775808]");
  EXPECT_WRITES(numeric<std::uint64_t>({18446744073709551615ull}), a::uint64(),
                "[18446744073709551615]");
  EXPECT_WRITES(numeric<float>({1.5f, 0}, {1}), a::float32(), "[1.5, null]");
  // A NaN value is a value; only the mask makes nulls.
  EXPECT_WRITES(numeric<double>({kNaN, -0.5, 0}, {2}), a::float64(), "[NaN, -0.5, null]");
}

TEST(Write, StringsToUtf8) {
  EXPECT_WRITES(strings({u"a", u"", u"x", u"é日😀"}, {2}), a::utf8(), R"(["a", "", null, "é日😀"])");
  // An unpaired surrogate cannot be UTF-8: it becomes U+FFFD.
  EXPECT_WRITES(strings({orvane::ustring(1, char16_t{0xD800}) + u"z"}), a::utf8(),
                R"(["\ufffdz"])");
}

TEST(Write, DatetimesToTimestampsAndDates) {
  EXPECT_WRITES(datetimes(ovTimeUnit::Milli, "UTC", {0, 1700000000123, 5}, {2}),
                a::timestamp(a::TimeUnit::MILLI, "UTC"), "[0, 1700000000123, null]");
  EXPECT_WRITES(datetimes(ovTimeUnit::Nano, std::nullopt, {-1}), a::timestamp(a::TimeUnit::NANO),
                "[-1]");
  EXPECT_WRITES(datetimes(ovTimeUnit::Second, "Europe/Paris", {7}),
                a::timestamp(a::TimeUnit::SECOND, "Europe/Paris"), "[7]");
  EXPECT_WRITES(datetimes(ovTimeUnit::Micro, std::nullopt, {7}), a::timestamp(a::TimeUnit::MICRO),
                "[7]");
  EXPECT_WRITES(datetimes(ovTimeUnit::Day, std::nullopt, {19000, -1, 0}, {2}), a::date32(),
                "[19000, -1, null]");
  // An empty zone text cannot be told from no zone in Arrow.
  EXPECT_WRITES(datetimes(ovTimeUnit::Milli, "", {1}), a::timestamp(a::TimeUnit::MILLI), "[1]");
}

TEST(Write, DurationsKeepTheirUnit) {
  auto host = ovCreateDurationArray(ovDims{2, 1}, ovTimeUnit::Micro, std::vector<std::int64_t>{5, 6});
  ovSetMissing(host.get(), 1);
  EXPECT_WRITES(std::move(host), a::duration(a::TimeUnit::MICRO), "[5, null]");
}

TEST(Write, CategoricalsToStringDictionaries) {
  auto written = writeOne(categorical({u"lo", u"hi"}, {1, -1, 0, 1}, /*ordered=*/true));
  auto expected = unwrap(a::DictionaryArray::FromArrays(
      a::dictionary(a::int32(), a::utf8(), true), fromJson(a::int32(), "[1, null, 0, 1]"),
      fromJson(a::utf8(), R"(["lo", "hi"])")));
  EXPECT_TRUE(arrowEqual(written, expected));
}

TEST(Write, CellsToListsWithNullAndEmptyRows) {
  std::vector<unique_ovarray_ptr> rows;
  rows.push_back(numeric<std::int32_t>({1, 2}));
  rows.push_back(nullptr);
  rows.push_back(ovCreateNumericMatrix(0, 0, ovClassID::Double));  // also a null list
  rows.push_back(numeric<std::int32_t>({}));
  rows.push_back(numeric<std::int32_t>({0}, {0}));
  EXPECT_WRITES(cells(std::move(rows)), a::list(a::int32()), "[[1, 2], null, null, [], [null]]");
}

TEST(Write, CellWithoutElementsIsAListOfNull) {
  std::vector<unique_ovarray_ptr> rows(2);
  EXPECT_WRITES(cells(std::move(rows)), a::list(a::null()), "[null, null]");
  EXPECT_WRITES(cells({}), a::list(a::null()), "[]");
}

TEST(Write, CellsOfByteColumnsAndOfKeyValueTables) {
  std::vector<unique_ovarray_ptr> blobs;
  blobs.push_back(numeric<std::uint8_t>({97, 98}));
  blobs.push_back(numeric<std::uint8_t>({}));
  EXPECT_WRITES(cells(std::move(blobs)), a::list(a::uint8()), "[[97, 98], []]");

  std::vector<unique_ovarray_ptr> maps;
  maps.push_back(table({u"Key", u"Value"}, strings({u"a", u"b"}), numeric<double>({1, 2}, {1})));
  maps.push_back(nullptr);
  const auto entry = a::struct_({a::field("Key", a::utf8()), a::field("Value", a::float64())});
  EXPECT_WRITES(cells(std::move(maps)), a::list(entry),
                R"([[{"Key": "a", "Value": 1}, {"Key": "b", "Value": null}], null])");
}

TEST(Write, CellsReadFromArrowGoBackToTheirTypeWhileTheyFitIt) {
  // Binary: back to binary; once an element is not bytes, a list of it.
  auto blobs = readArray(fromJson(a::fixed_size_binary(2), R"(["ab", null, "cd"])"));
  EXPECT_WRITES(ovDuplicateArray(blobs.get()), a::fixed_size_binary(2), R"(["ab", null, "cd"])");
  ovReplaceCell(blobs.get(), 2, numeric<std::uint8_t>({1, 2, 3}));
  EXPECT_WRITES(ovDuplicateArray(blobs.get()), a::list(a::uint8()), "[[97, 98], null, [1, 2, 3]]");

  // Maps: back to the map type; a missing key makes it a list of entries.
  const auto mapType = a::map(a::utf8(), a::int32());
  auto maps = readArray(fromJson(mapType, R"([[["k", 1]], null, []])"));
  EXPECT_WRITES(ovDuplicateArray(maps.get()), mapType, R"([[["k", 1]], null, []])");
  ovSetMissing(const_cast<ovArray*>(ovTableColumn(ovGetCell(maps.get(), 0), 0)), 0);
  const auto entry = a::struct_({a::field("Key", a::utf8()), a::field("Value", a::int32())});
  EXPECT_WRITES(ovDuplicateArray(maps.get()), a::list(entry),
                R"([[{"Key": null, "Value": 1}], null, []])");

  // Lists without any element keep their element type; given elements of
  // another class, they stay the same kind of list of the elements' type.
  const auto nestedType = a::large_list(a::list(a::utf8()));
  EXPECT_WRITES(readArray(fromJson(nestedType, "[null, [], [[], null]]")), nestedType,
                "[null, [], [[], null]]");
  const auto listType = a::large_list(a::utf8());
  auto lists = readArray(fromJson(listType, "[null, null]"));
  EXPECT_WRITES(ovDuplicateArray(lists.get()), listType, "[null, null]");
  ovReplaceCell(lists.get(), 0, numeric<double>({1.5}));
  EXPECT_WRITES(ovDuplicateArray(lists.get()), a::large_list(a::float64()), "[[1.5], null]");
}

TEST(Write, MissingRecordsBecomeNullStructs) {
  const auto type = a::struct_({a::field("x", a::int32())});
  auto records = readArray(fromJson(type, R"([{"x": 1}, null, {"x": null}])"));
  ASSERT_TRUE(ovTableIsRowMissing(records.get(), 1));
  auto arrow = writeOne(ovDuplicateArray(records.get()));
  EXPECT_EQ(arrow->null_count(), 1);
  EXPECT_TRUE(arrowEqual(std::move(arrow), fromJson(type, R"([{"x": 1}, null, {"x": null}])")));
}

TEST(Write, CategoricalsInACellAreUnified) {
  std::vector<unique_ovarray_ptr> rows;
  rows.push_back(categorical({u"a", u"b"}, {1, 0}));
  rows.push_back(categorical({u"c", u"a"}, {0, -1, 1}));
  auto written = writeOne(cells(std::move(rows)));
  auto values = unwrap(a::DictionaryArray::FromArrays(
      a::dictionary(a::int32(), a::utf8()), fromJson(a::int32(), "[1, 0, 2, null, 0]"),
      fromJson(a::utf8(), R"(["a", "b", "c"])")));
  auto expected = unwrap(a::ListArray::FromArrays(*fromJson(a::int32(), "[0, 2, 5]"), *values));
  EXPECT_TRUE(arrowEqual(written, expected));
}

TEST(Write, NestedTablesToStructs) {
  auto host = table({u"a", u"b"}, numeric<std::int32_t>({1, 2}, {1}),
                    table({u"c"}, strings({u"x", u"y"})));
  const auto type = a::struct_({a::field("a", a::int32()),
                                a::field("b", a::struct_({a::field("c", a::utf8())}))});
  EXPECT_WRITES(std::move(host), type,
                R"([{"a": 1, "b": {"c": "x"}}, {"a": null, "b": {"c": "y"}}])");
}

TEST(Write, TableShapeAndNames) {
  auto host = table({u"n", u"名前"}, numeric<double>({1, 2}), strings({u"p", u"q"}));
  auto arrow = unwrap(to_arrow_table(host.get()));
  EXPECT_EQ(arrow->num_rows(), 2);
  EXPECT_EQ(arrow->schema()->field(0)->name(), "n");
  EXPECT_EQ(arrow->schema()->field(1)->name(), "名前");

  auto empty = table({});
  auto none = unwrap(to_arrow_table(empty.get()));
  EXPECT_EQ(none->num_columns(), 0);
  EXPECT_EQ(none->num_rows(), 0);
}

TEST(Write, SingleVariablesToArrays) {
  auto array = unwrap(to_arrow_array(numeric<std::int16_t>({3}).get()));
  EXPECT_TRUE(arrowEqual(array, fromJson(a::int16(), "[3]")));
  EXPECT_FALSE(to_arrow_array(nullptr).ok());
  EXPECT_FALSE(to_arrow_array(ovCreateCharArray(u"abc").get()).ok());
}

// --- malformed host tables -------------------------------------------------

struct Failure {
  a::StatusCode code;
  std::string text;  // a part of the message
};

void expectFailure(const ovArray* host, const Failure& failure,
                   const std::string& column = "") {
  auto result = to_arrow_table(host);
  ASSERT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), failure.code) << result.status().ToString();
  EXPECT_NE(result.status().message().find(failure.text), std::string::npos)
      << "'" << failure.text << "' is not in: " << result.status().message();
  if (!column.empty()) {
    EXPECT_EQ(table_error_column_name(result.status()), column);
  }
}

unique_ovarray_ptr rawTable(unique_ovarray_ptr columns, unique_ovarray_ptr names) {
  auto host = ovCreateStructMatrix(1, 1, {"Columns", "Names"});
  ovReplaceField(host.get(), 0, "Columns", std::move(columns));
  ovReplaceField(host.get(), 0, "Names", std::move(names));
  return host;
}

TEST(WriteMalformed, NotATable) {
  expectFailure(nullptr, {a::StatusCode::Invalid, "No host table"});
  expectFailure(ovCreateDoubleScalar(1).get(), {a::StatusCode::Invalid, "double"});
  expectFailure(ovCreateStructMatrix(2, 1, {"Columns", "Names"}).get(),
                {a::StatusCode::Invalid, "2x1 struct"});
  expectFailure(ovCreateStructMatrix(1, 1, {"Names"}).get(),
                {a::StatusCode::Invalid, "no field 'Columns'"});
  expectFailure(ovCreateStructMatrix(1, 1, {"Columns"}).get(),
                {a::StatusCode::Invalid, "no field 'Names'"});
  auto extra = table({u"a"}, numeric<double>({1}));
  ovAddField(extra.get(), "Extra");
  expectFailure(extra.get(), {a::StatusCode::Invalid, "other than"});
}

TEST(WriteMalformed, BadColumnsOrNames) {
  expectFailure(rawTable(ovCreateDoubleScalar(1), ovCreateStringRow({u"a"})).get(),
                {a::StatusCode::Invalid, "'Columns' is a double"});
  expectFailure(rawTable(ovCreateCellMatrix(2, 1), ovCreateStringRow({u"a", u"b"})).get(),
                {a::StatusCode::Invalid, "'Columns' is 2x1"});
  expectFailure(rawTable(ovCreateCellMatrix(1, 1), ovCreateDoubleScalar(1)).get(),
                {a::StatusCode::Invalid, "'Names' is a double"});
  auto columns = ovCreateCellMatrix(1, 2);
  ovReplaceCell(columns.get(), 0, numeric<double>({1}));
  ovReplaceCell(columns.get(), 1, numeric<double>({2}));
  expectFailure(rawTable(std::move(columns), ovCreateStringRow({u"a"})).get(),
                {a::StatusCode::Invalid, "2 columns but 1 names"});
  auto names = ovCreateStringRow({u"a"});
  ovSetMissing(names.get(), 0);
  auto one = ovCreateCellMatrix(1, 1);
  ovReplaceCell(one.get(), 0, numeric<double>({1}));
  expectFailure(rawTable(std::move(one), std::move(names)).get(),
                {a::StatusCode::Invalid, "missing"});
  auto emptySlot = ovCreateCellMatrix(1, 1);
  expectFailure(rawTable(std::move(emptySlot), ovCreateStringRow({u"gone"})).get(),
                {a::StatusCode::Invalid, "variable 'gone' is an empty slot"});
}

TEST(WriteMalformed, UnequalHeightsNameTheVariables) {
  auto host = table({u"a", u"b"}, numeric<double>({1, 2, 3}), strings({u"x", u"y"}));
  expectFailure(host.get(), {a::StatusCode::Invalid, "variable 'b' has 2 rows, but variable 'a' has 3"});
}

TEST(WriteMalformed, VariablesMustBeColumns) {
  auto matrix = ovCreateNumericMatrix(3, 2, ovClassID::Double);
  expectFailure(table({u"m"}, std::move(matrix)).get(),
                {a::StatusCode::Invalid, "variable 'm' is 3x2 double"});
  std::vector<unique_ovarray_ptr> rows;
  rows.push_back(ovCreateNumericMatrix(1, 3, ovClassID::Int32));
  expectFailure(table({u"c"}, cells(std::move(rows))).get(),
                {a::StatusCode::Invalid, "'c{}' is 1x3 int32"}, "c");
}

TEST(WriteMalformed, CellsMixingClassesNameTheVariable) {
  std::vector<unique_ovarray_ptr> rows;
  rows.push_back(numeric<std::int32_t>({1}));
  rows.push_back(numeric<double>({2}));
  auto host = table({u"c"}, cells(std::move(rows)));
  expectFailure(host.get(), {a::StatusCode::Invalid, "Variable 'c{}' mixes the classes int32 and double"},
                "c");

  std::vector<unique_ovarray_ptr> times;
  times.push_back(datetimes(ovTimeUnit::Milli, "UTC", {1}));
  times.push_back(datetimes(ovTimeUnit::Milli, std::nullopt, {2}));
  expectFailure(table({u"t"}, cells(std::move(times))).get(),
                {a::StatusCode::Invalid, "'t{}' mixes datetimes"}, "t");

  std::vector<unique_ovarray_ptr> tables;
  tables.push_back(table({u"x"}, numeric<double>({1})));
  tables.push_back(table({u"y"}, numeric<double>({1})));
  expectFailure(table({u"n"}, cells(std::move(tables))).get(),
                {a::StatusCode::Invalid, "'n{}' mixes host tables"}, "n");

  std::vector<unique_ovarray_ptr> deep;
  std::vector<unique_ovarray_ptr> inner;
  inner.push_back(strings({u"s"}));
  inner.push_back(logical({1}));
  deep.push_back(cells(std::move(inner)));
  auto nested = table({u"outer"}, table({u"inner"}, cells(std::move(deep))));
  expectFailure(nested.get(), {a::StatusCode::Invalid, "'outer.inner{}{}' mixes"}, "outer");
}

TEST(WriteMalformed, ClassesWithoutArrowTypes) {
  auto chars = ovCreateCharArray(u"abc");
  ovSetDimensions(chars.get(), {3, 1});
  expectFailure(table({u"ch"}, std::move(chars)).get(),
                {a::StatusCode::TypeError, "'ch' is a char array"}, "ch");
  expectFailure(table({u"z"}, ovCreateNumericArray(ovDims{2, 1}, ovClassID::Double,
                                                   ovComplexity::Complex))
                    .get(),
                {a::StatusCode::TypeError, "complex"}, "z");
  expectFailure(table({u"s"}, ovCreateStructMatrix(2, 1, {"f"})).get(),
                {a::StatusCode::TypeError, "not a host table"}, "s");
}

TEST(WriteMalformed, NestedTablesMustBeWellFormed) {
  auto inner = table({u"p", u"q"}, numeric<double>({1, 2}), numeric<double>({1}));
  expectFailure(table({u"t"}, std::move(inner)).get(),
                {a::StatusCode::Invalid, "'t' is a nested table that is not well-formed: variable 'q' has 1 rows"}, "t");
  std::vector<unique_ovarray_ptr> rows;
  rows.push_back(table({u"p", u"q"}, numeric<double>({1, 2}), numeric<double>({1})));
  expectFailure(table({u"l"}, cells(std::move(rows))).get(),
                {a::StatusCode::Invalid, "'l{}' is a nested table that is not well-formed"}, "l");
}

TEST(WriteMalformed, BadValues) {
  auto codes = ovCreateCategoricalArray(ovDims{2, 1}, ovCreateStringColumn({u"a"}),
                                        std::vector<std::int32_t>{0, 3});
  expectFailure(table({u"k"}, std::move(codes)).get(),
                {a::StatusCode::Invalid, "categorical code 3"}, "k");
  expectFailure(table({u"d"}, datetimes(ovTimeUnit::Day, std::nullopt, {std::int64_t{1} << 40})).get(),
                {a::StatusCode::Invalid, "32-bit date"}, "d");
  expectFailure(table({orvane::ustring(1, char16_t{0xDC00})}, numeric<double>({1})).get(),
                {a::StatusCode::Invalid, "not valid UTF-16"});
}

}  // namespace
}  // namespace convert_test

namespace convert_test {
namespace {

// Borrowing shares the host's value buffers; copying never does.
TEST(Write, BorrowedHostMemoryIsReadInPlace) {
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(ovCreateNumericArrayFromVector<double>({4, 1}, std::vector<double>{1, 2, 3, 4}));
  columns.push_back(ovCreateDurationArray({4, 1}, ovTimeUnit::Milli, std::vector<std::int64_t>{5, 6, 7, 8}));
  ovSetMissing(columns[0].get(), 2);
  auto table = ovCreateTable(std::move(columns), {u"x", u"span"});
  const auto* hostValues = ovGetData(ovTableColumn(table.get(), 0));
  const auto* hostTicks = ovGetData(ovTableColumn(table.get(), 1));

  auto borrowed = to_arrow_table(table.get(), orvane::io::arrow::core::HostMemory::Borrow).ValueOrDie();
  EXPECT_EQ(borrowed->column(0)->chunk(0)->data()->buffers[1]->data(), hostValues);
  EXPECT_EQ(borrowed->column(1)->chunk(0)->data()->buffers[1]->data(), hostTicks);
  EXPECT_EQ(borrowed->column(0)->null_count(), 1);

  auto copied = to_arrow_table(table.get()).ValueOrDie();
  EXPECT_NE(copied->column(0)->chunk(0)->data()->buffers[1]->data(), hostValues);
  EXPECT_TRUE(copied->Equals(*borrowed));
}

}  // namespace
}  // namespace convert_test
