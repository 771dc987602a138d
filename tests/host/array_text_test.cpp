#include <ovparquet/host/array.hpp>
#include <ovparquet/host/array_text.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

using orvane::ustring;

template <typename T>
unique_ovarray_ptr row(std::vector<T> values) {
  const std::size_t n = values.size();
  return ovCreateNumericArrayFromVector({1, n}, std::move(values));
}

template <typename T>
unique_ovarray_ptr column(std::vector<T> values) {
  const std::size_t n = values.size();
  return ovCreateNumericArrayFromVector({n, 1}, std::move(values));
}

std::string text(const unique_ovarray_ptr& a, const ovTextOptions& options = {}) {
  return ovArrayToText(a.get(), options);
}

TEST(ArrayText, Scalars) {
  EXPECT_EQ(text(ovCreateDoubleScalar(2.5)), "2.5");
  EXPECT_EQ(text(ovCreateDoubleScalar(3)), "3");
  EXPECT_EQ(text(ovCreateDoubleScalar(0.1)), "0.1");
  EXPECT_EQ(text(ovCreateDoubleScalar(1e20)), "1e+20");
  EXPECT_EQ(text(ovCreateDoubleScalar(std::numeric_limits<double>::quiet_NaN())), "NaN");
  EXPECT_EQ(text(ovCreateDoubleScalar(-std::numeric_limits<double>::infinity())), "-Inf");
  EXPECT_EQ(text(row<float>({0.1f})), "0.1");
  EXPECT_EQ(text(ovCreateLogicalScalar(true)), "true");
  EXPECT_EQ(text(row<std::uint64_t>({18446744073709551615u})), "18446744073709551615");
  EXPECT_EQ(text(ovCreateString(u"h\u00e9llo")), "\"h\u00e9llo\"");
  EXPECT_EQ(text(ovCreateString(u"a\"b\\c\nd")), "\"a\\\"b\\\\c\\nd\"");
  EXPECT_EQ(ovArrayToText(nullptr), "<null>");
}

TEST(ArrayText, RowsAndEmpties) {
  EXPECT_EQ(text(row<double>({1, 2, 3})), "[1 2 3]");
  EXPECT_EQ(text(row<std::int8_t>({-1, 0, 5})), "[-1 0 5]");
  auto logical = ovCreateLogicalMatrix(1, 2);
  ovGetTypedDataMutable<bool>(logical.get())[0] = true;
  EXPECT_EQ(text(logical), "[true false]");
  EXPECT_EQ(text(ovCreateCharArray(u"abc")), "'abc'");
  EXPECT_EQ(text(ovCreateStringRow({u"a", u"b c"})), "[\"a\" \"b c\"]");
  EXPECT_EQ(text(ovCreateNumericMatrix(0, 0, ovClassID::Double)), "0x0 double");
  EXPECT_EQ(text(ovCreateStringArray({1, 0})), "1x0 string");
  ovTextOptions shortRows;
  shortRows.maxInlineElements = 3;
  EXPECT_EQ(text(row<double>({1, 2, 3, 4, 5}), shortRows), "[1 2 3 ...]");
}

TEST(ArrayText, Missing) {
  auto d = row<double>({1, 2});
  ovSetMissing(d.get(), 1);
  EXPECT_EQ(text(d), "[1 <missing>]");
  auto s = ovCreateStringRow({u"a", u"b"});
  ovSetMissing(s.get(), 0);
  EXPECT_EQ(text(s), "[<missing> \"b\"]");
}

TEST(ArrayText, Complex) {
  auto z = ovCreateNumericMatrix(1, 2, ovClassID::Double, ovComplexity::Complex);
  double* re = static_cast<double*>(ovGetDataMutable(z.get()));
  double* im = static_cast<double*>(ovGetImagDataMutable(z.get()));
  re[0] = 1;
  im[0] = 2;
  re[1] = 1.5;
  im[1] = -0.5;
  EXPECT_EQ(text(z), "[1+2i 1.5-0.5i]");
}

TEST(ArrayText, MatricesShowDimensions) {
  EXPECT_EQ(text(ovCreateNumericArrayFromVector({2, 3}, std::vector<double>{1, 2, 3, 4, 10, 6})),
            "2x3 double\n"
            "  1  3  10\n"
            "  2  4   6");
  EXPECT_EQ(text(column<std::int32_t>({7, -12})),
            "2x1 int32\n"
            "    7\n"
            "  -12");
  EXPECT_EQ(text(ovCreateNumericArrayFromVector({1, 1, 2}, std::vector<double>{1, 2})),
            "1x1x2 double\n"
            "(:,:,1)\n"
            "  1\n"
            "(:,:,2)\n"
            "  2");
  auto strings = ovCreateStringColumn({u"a", u"bcd"});
  EXPECT_EQ(text(strings),
            "2x1 string\n"
            "  \"a\"\n"
            "  \"bcd\"");
  ovTextOptions two;
  two.maxRows = 2;
  EXPECT_EQ(text(column<double>({1, 2, 3, 4}), two),
            "4x1 double\n"
            "  1\n"
            "  2\n"
            "  ... (2 more rows)");
}

TEST(ArrayText, Datetimes) {
  auto dt = ovCreateDatetimeArray({1, 1}, ovTimeUnit::Second, std::nullopt,
                                  std::vector<std::int64_t>{1704164645});
  EXPECT_EQ(text(dt), "2024-01-02T03:04:05");
  auto ms = ovCreateDatetimeArray({1, 1}, ovTimeUnit::Milli, "Europe/Paris",
                                  std::vector<std::int64_t>{1704164645250});
  EXPECT_EQ(text(ms), "2024-01-02T03:04:05.250Z[Europe/Paris]");
  auto before = ovCreateDatetimeArray({1, 2}, ovTimeUnit::Nano, std::nullopt,
                                      std::vector<std::int64_t>{-1, 0});
  EXPECT_EQ(text(before), "[1969-12-31T23:59:59.999999999 1970-01-01T00:00:00.000000000]");
  auto days = ovCreateDatetimeArray({1, 2}, ovTimeUnit::Day, std::nullopt,
                                    std::vector<std::int64_t>{19724, -719468});
  EXPECT_EQ(text(days), "[2024-01-02 0000-03-01]");
  auto us = ovCreateDatetimeArray({1, 1}, ovTimeUnit::Micro, "UTC",
                                  std::vector<std::int64_t>{951782400000001});
  EXPECT_EQ(text(us), "2000-02-29T00:00:00.000001Z[UTC]");
}

TEST(ArrayText, Durations) {
  auto d = ovCreateDurationArray({1, 4}, ovTimeUnit::Milli,
                                 std::vector<std::int64_t>{1500, 0, -250, 90000});
  EXPECT_EQ(text(d), "[1.5s 0s -0.25s 90s]");
  auto ns = ovCreateDurationArray({1, 2}, ovTimeUnit::Nano,
                                  std::vector<std::int64_t>{-3, std::numeric_limits<std::int64_t>::min()});
  EXPECT_EQ(text(ns), "[-0.000000003s -9223372036.854775808s]");
}

TEST(ArrayText, Categorical) {
  auto cat = ovCreateCategoricalArray({1, 4}, ovCreateStringRow({u"lo", u"hi"}),
                                      std::vector<std::int32_t>{1, 0, 0, 5});
  ovSetMissing(cat.get(), 2);
  EXPECT_EQ(text(cat), "[\"hi\" \"lo\" <missing> <undefined>]");
}

TEST(ArrayText, CellsAndStructsInline) {
  auto cell = ovCreateCellMatrix(1, 4);
  ovReplaceCell(cell.get(), 0, ovCreateDoubleScalar(1));
  ovReplaceCell(cell.get(), 1, ovCreateString(u"a"));
  ovReplaceCell(cell.get(), 2, row<double>({1, 2, 3}));
  EXPECT_EQ(text(cell), "{1, \"a\", [1 2 3], []}");

  auto st = ovCreateStructMatrix(1, 1, {"a", "b"});
  ovReplaceField(st.get(), 0, "a", ovCreateDoubleScalar(1));
  ovReplaceField(st.get(), 0, "b", ovCreateString(u"x"));
  EXPECT_EQ(text(st), "{a: 1, b: \"x\"}");

  auto nested = ovCreateCellMatrix(1, 2);
  ovReplaceCell(nested.get(), 0, ovDuplicateArray(st.get()));
  ovReplaceCell(nested.get(), 1, column<double>({1, 2}));
  EXPECT_EQ(text(nested), "{{a: 1, b: \"x\"}, [1; 2]}");

  auto records = ovCreateStructMatrix(2, 1, {"k"});
  ovReplaceField(records.get(), 0, "k", ovCreateDoubleScalar(1));
  EXPECT_EQ(ovArrayToInlineText(records.get()), "[{k: 1}; {k: []}]");
  EXPECT_EQ(ovArrayToInlineText(ovCreateCellMatrix(0, 0).get()), "{}");
  EXPECT_EQ(ovArrayToInlineText(ovCreateCellArray({2, 2, 2}).get()), "<2x2x2 cell>");
}

unique_ovarray_ptr peopleTable() {
  auto x = column<double>({1, 0, 3.5});
  ovSetMissing(x.get(), 1);
  auto name = ovCreateStringColumn({u"alice", u"bob", u""});
  ovSetMissing(name.get(), 2);
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(std::move(x));
  columns.push_back(std::move(name));
  return ovCreateTable(std::move(columns), {u"x", u"name"});
}

TEST(ArrayText, Table) {
  EXPECT_EQ(text(peopleTable()),
            "        x  name\n"
            "---------  ---------\n"
            "        1  alice\n"
            "<missing>  bob\n"
            "      3.5  <missing>");
}

TEST(ArrayText, TableTruncatesRowsAndCells) {
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(ovCreateStringColumn({u"abcdefghij", u"\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9", u"c"}));
  columns.push_back(column<std::int64_t>({1, 22, 333}));
  auto table = ovCreateTable(std::move(columns), {u"s", u"n"});
  ovTextOptions options;
  options.maxRows = 2;
  options.maxCellWidth = 8;
  EXPECT_EQ(text(table, options),
            "s          n\n"
            "--------  --\n"
            "abcde...   1\n"
            "\u00e9\u00e9\u00e9\u00e9\u00e9...  22\n"
            "... (1 more rows)");
}

TEST(ArrayText, TableWithNestedColumns) {
  auto lists = ovCreateCellMatrix(2, 1);
  ovReplaceCell(lists.get(), 0, column<double>({1, 2}));
  std::vector<unique_ovarray_ptr> inner;
  inner.push_back(ovCreateStringColumn({u"p", u"q"}));
  inner.push_back(column<std::int32_t>({5, 6}));
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(std::move(lists));
  columns.push_back(ovCreateTable(std::move(inner), {u"k", u"v"}));
  auto table = ovCreateTable(std::move(columns), {u"list", u"rec"});
  // An empty slot of a list variable is a missing list.
  EXPECT_EQ(text(table),
            "list       rec\n"
            "---------  --------------\n"
            "[1; 2]     {k: \"p\", v: 5}\n"
            "<missing>  {k: \"q\", v: 6}");
  EXPECT_EQ(ovArrayToInlineText(table.get()),
            "[{list: [1; 2], rec: {k: \"p\", v: 5}}, {list: <missing>, rec: {k: \"q\", v: 6}}]");
  EXPECT_EQ(text(ovCreateTable({}, {})), "0x0 table");
}

TEST(ArrayText, OneElementListsKeepTheirBracketsAndMissingRecordsShow) {
  auto lists = ovCreateCellMatrix(3, 1);
  ovReplaceCell(lists.get(), 0, ovCreateStringColumn({u"a"}));
  ovReplaceCell(lists.get(), 1, ovCreateStringColumn({}));
  ovReplaceCell(lists.get(), 2, ovCreateStringColumn({u"a", u"b"}));
  std::vector<unique_ovarray_ptr> inner;
  inner.push_back(column<std::int32_t>({5, 0, 7}));
  auto record = ovCreateTable(std::move(inner), {u"v"});
  ovSetMissing(const_cast<ovArray*>(ovTableColumn(record.get(), 0)), 1);
  ovTableAllocMissingRows(record.get())[1] = 1;
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(std::move(lists));
  columns.push_back(std::move(record));
  auto table = ovCreateTable(std::move(columns), {u"list", u"rec"});
  EXPECT_EQ(text(table),
            "list        rec\n"
            "----------  ---------\n"
            "[\"a\"]       {v: 5}\n"
            "[]          <missing>\n"
            "[\"a\"; \"b\"]  {v: 7}");
  EXPECT_EQ(ovListToInlineText(ovCreateStringColumn({u"a"}).get()), "[\"a\"]");
  EXPECT_EQ(ovListToInlineText(ovCreateDoubleScalar(2).get()), "[2]");
  EXPECT_EQ(ovListToInlineText(ovCreateStringColumn({u"a", u"b"}).get()), "[\"a\"; \"b\"]");
  EXPECT_EQ(ovArrayToInlineText(ovCreateStringColumn({u"a"}).get()), "\"a\"");
}

TEST(ArrayText, StreamsAndGoogleTestPrinting) {
  auto a = row<double>({1, 2, 3});
  std::ostringstream out;
  out << *a;
  EXPECT_EQ(out.str(), "[1 2 3]");
  EXPECT_EQ(::testing::PrintToString(*a), "[1 2 3]");
  EXPECT_NE(::testing::PrintToString(a).find("value = [1 2 3]"), std::string::npos);
  EXPECT_EQ(::testing::PrintToString(*peopleTable()).substr(0, 16), "\n        x  name");
}

}  // namespace
