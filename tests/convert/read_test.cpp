// Arrow to host: exact host values for each family of types.
#include "test_support.hpp"

#include <ovparquet/host/warning.hpp>

#include <arrow/array/array_dict.h>

#include <cmath>
#include <limits>

namespace convert_test {
namespace {

namespace a = ::arrow;
using orvane::io::arrow::core::kConvertComponent;
using orvane::io::arrow::core::kInvalidUtf8InColumnKey;
using orvane::io::arrow::core::to_orvane;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

unique_ovarray_ptr bytes(std::vector<std::uint8_t> values) {
  return numeric<std::uint8_t>(std::move(values));
}

std::shared_ptr<a::Array> rawStrings(const std::vector<std::optional<std::string>>& values) {
  a::StringBuilder builder;
  for (const auto& value : values) {
    if (value) {
      EXPECT_TRUE(builder.Append(*value).ok());
    } else {
      EXPECT_TRUE(builder.AppendNull().ok());
    }
  }
  return unwrap(builder.Finish());
}

TEST(Read, NullTableIsAnEmptyHostTable) {
  auto host = unwrap(to_orvane(std::shared_ptr<a::Table>()));
  EXPECT_TRUE(ovIsTable(host.get()));
  EXPECT_EQ(ovTableNumVariables(host.get()), 0u);
  EXPECT_EQ(ovTableNumRows(host.get()), 0u);
}

TEST(Read, TableShapeAndNames) {
  auto table = tableOf({{"x", chunked({fromJson(a::int32(), "[1, 2, 3]")})},
                        {"名前", chunked({fromJson(a::utf8(), R"(["a", "b", "c"])")})}});
  auto host = unwrap(to_orvane(table));
  ASSERT_TRUE(ovIsTable(host.get()));
  EXPECT_EQ(ovTableNumVariables(host.get()), 2u);
  EXPECT_EQ(ovTableNumRows(host.get()), 3u);
  EXPECT_EQ(ovTableName(host.get(), 0), u"x");
  EXPECT_EQ(ovTableName(host.get(), 1), u"名前");
  EXPECT_EQ(ovGetDimensions(ovTableColumn(host.get(), 1)), (ovDims{3, 1}));
}

TEST(Read, IntegersWithNullsHaveZeroUnderTheMask) {
  auto host = readArray(fromJson(a::int16(), "[1, null, -3]"));
  EXPECT_HOST_EQ(host.get(), numeric<std::int16_t>({1, 0, -3}, {1}).get());
  EXPECT_EQ(ovGetTypedData<std::int16_t>(host.get())[1], 0);
  auto unsigned64 = readArray(fromJson(a::uint64(), "[18446744073709551615, 0]"));
  EXPECT_HOST_EQ(unsigned64.get(),
                 numeric<std::uint64_t>({std::numeric_limits<std::uint64_t>::max(), 0}).get());
  EXPECT_FALSE(ovHasMissingMask(unsigned64.get()));
}

TEST(Read, FloatsWithNullsHaveNaNUnderTheMask) {
  auto host = readArray(fromJson(a::float64(), "[1.5, null, NaN, -0.0]"));
  EXPECT_HOST_EQ(host.get(), numeric<double>({1.5, kNaN, kNaN, -0.0}, {1}).get());
  EXPECT_TRUE(std::isnan(ovGetTypedData<double>(host.get())[1]));
  EXPECT_FALSE(ovIsMissing(host.get(), 2));  // a NaN value is not a missing one
  auto single = readArray(fromJson(a::float32(), "[null, 2.25]"));
  EXPECT_HOST_EQ(single.get(), numeric<float>({0, 2.25f}, {0}).get());
  EXPECT_TRUE(std::isnan(ovGetTypedData<float>(single.get())[0]));
}

TEST(Read, LogicalFromBitsAtAnyOffset) {
  auto array = fromJson(a::boolean(), "[true, false, true, null, true, true, false, true, "
                                      "false, null, true, true]");
  auto host = readArray(array->Slice(3, 9));
  EXPECT_HOST_EQ(host.get(), logical({0, 1, 1, 0, 1, 0, 0, 1, 1}, {0, 6}).get());
}

TEST(Read, SingleChunkWithoutNullsIsSharedNotCopied) {
  std::vector<double> values(1000);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i) * 0.5;
  a::DoubleBuilder builder;
  ASSERT_TRUE(builder.AppendValues(values).ok());
  auto array = unwrap(builder.Finish());
  const void* arrowValues = std::static_pointer_cast<a::DoubleArray>(array)->raw_values();
  auto host = unwrap(to_orvane(tableOf("x", array)));
  EXPECT_EQ(ovGetData(ovTableColumn(host.get(), 0)), arrowValues);
  EXPECT_HOST_EQ(ovTableColumn(host.get(), 0), numeric<double>(values).get());
  auto column = unwrap(to_orvane(array));
  EXPECT_EQ(ovGetData(column.get()), arrowValues);
  // The host array stays valid after Arrow lets go of the buffer.
  array.reset();
  builder.Reset();
  EXPECT_HOST_EQ(column.get(), numeric<double>(values).get());
  // Writing through the host copies first and leaves Arrow's memory alone.
  ovGetTypedDataMutable<double>(column.get())[0] = 99;
  EXPECT_EQ(ovGetTypedData<double>(ovTableColumn(host.get(), 0))[0], 0.0);
}

TEST(Read, SeveralChunksAreCopiedInOrder) {
  auto column = chunked({fromJson(a::int64(), "[1, 2]"), fromJson(a::int64(), "[]"),
                         fromJson(a::int64(), "[3, null, 5, 6, 7]")->Slice(1, 3)});
  auto host = readOnly(tableOf({{"x", column}}));
  EXPECT_HOST_EQ(host.get(), numeric<std::int64_t>({1, 2, 0, 5, 6}, {2}).get());
}

TEST(Read, HalfFloatsBecomeSingles) {
  a::HalfFloatBuilder builder;
  ASSERT_TRUE(builder.Append(0x3E00).ok());  // 1.5
  ASSERT_TRUE(builder.Append(0xC000).ok());  // -2
  ASSERT_TRUE(builder.Append(0x7C00).ok());  // +inf
  ASSERT_TRUE(builder.AppendNull().ok());
  ASSERT_TRUE(builder.Append(0x7BFF).ok());  // 65504, the largest half
  auto host = readArray(unwrap(builder.Finish()));
  EXPECT_HOST_EQ(host.get(), numeric<float>({1.5f, -2.0f, std::numeric_limits<float>::infinity(),
                                             0.0f, 65504.0f},
                                            {3})
                                 .get());
}

TEST(Read, DecimalsBecomeDoubles) {
  auto host = readArray(fromJson(a::decimal128(10, 2), R"(["123.45", "-0.01", null, "0.00"])"));
  ASSERT_TRUE(ovIsDouble(host.get()));
  const double* values = ovGetTypedData<double>(host.get());
  EXPECT_DOUBLE_EQ(values[0], 123.45);
  EXPECT_DOUBLE_EQ(values[1], -0.01);
  EXPECT_TRUE(ovIsMissing(host.get(), 2));
  EXPECT_TRUE(std::isnan(values[2]));
  EXPECT_EQ(values[3], 0.0);
  auto wide = readArray(fromJson(a::decimal256(40, 3), R"(["-98765.432", "1000000000000000000000000000000.000"])"));
  EXPECT_DOUBLE_EQ(ovGetTypedData<double>(wide.get())[0], -98765.432);
  EXPECT_DOUBLE_EQ(ovGetTypedData<double>(wide.get())[1], 1e30);
}

TEST(Read, NullTypeIsAllMissingDouble) {
  auto host = readArray(unwrap(a::MakeArrayOfNull(a::null(), 3)));
  ASSERT_TRUE(ovIsDouble(host.get()));
  EXPECT_EQ(ovCountMissing(host.get()), 3u);
  EXPECT_TRUE(std::isnan(ovGetTypedData<double>(host.get())[2]));
}

TEST(Read, TimestampsKeepUnitAndZone) {
  auto host = readArray(
      fromJson(a::timestamp(a::TimeUnit::MILLI, "Europe/Paris"), "[0, 1700000000123, null]"));
  EXPECT_HOST_EQ(host.get(),
                 datetimes(ovTimeUnit::Milli, "Europe/Paris", {0, 1700000000123, 0}, {2}).get());
  auto plain = readArray(fromJson(a::timestamp(a::TimeUnit::NANO), "[-1, 5]"));
  EXPECT_HOST_EQ(plain.get(), datetimes(ovTimeUnit::Nano, std::nullopt, {-1, 5}).get());
  EXPECT_FALSE(ovGetTimeZone(plain.get()).has_value());
}

TEST(Read, DatesBecomeDayDatetimes) {
  auto days = readArray(fromJson(a::date32(), "[0, 19000, -1, null]"));
  EXPECT_HOST_EQ(days.get(), datetimes(ovTimeUnit::Day, std::nullopt, {0, 19000, -1, 0}, {3}).get());
  // date64 counts milliseconds; a time before the epoch falls on the earlier day.
  auto millis = readArray(fromJson(a::date64(), "[86400000, -1, null, -86400000]"));
  EXPECT_HOST_EQ(millis.get(),
                 datetimes(ovTimeUnit::Day, std::nullopt, {1, -1, 0, -1}, {2}).get());
}

TEST(Read, TimesAndDurationsBecomeDurations) {
  auto seconds = readArray(fromJson(a::time32(a::TimeUnit::SECOND), "[3600, null, 86399]"));
  EXPECT_HOST_EQ(seconds.get(), durations(ovTimeUnit::Second, {3600, 0, 86399}, {1}).get());
  auto millis = readArray(fromJson(a::time32(a::TimeUnit::MILLI), "[1]"));
  EXPECT_HOST_EQ(millis.get(), durations(ovTimeUnit::Milli, {1}).get());
  auto nanos = readArray(fromJson(a::time64(a::TimeUnit::NANO), "[86399999999999]"));
  EXPECT_HOST_EQ(nanos.get(), durations(ovTimeUnit::Nano, {86399999999999}).get());
  auto micros = readArray(fromJson(a::duration(a::TimeUnit::MICRO), "[-5, null]"));
  EXPECT_HOST_EQ(micros.get(), durations(ovTimeUnit::Micro, {-5, 0}, {1}).get());
}

TEST(Read, StringsWithNullsEmptiesAndNonAscii) {
  auto host = readArray(fromJson(a::utf8(), R"(["abc", null, "", "é日😀", "x"])"));
  EXPECT_HOST_EQ(host.get(), strings({u"abc", u"", u"", u"é日😀", u"x"}, {1}).get());
  EXPECT_EQ(ovGetString(host.get(), 3), u"\u00e9\u65e5\U0001F600");
  EXPECT_FALSE(ovIsMissing(host.get(), 2));
  auto large = readArray(fromJson(a::large_utf8(), R"(["a", null])")->Slice(1, 1));
  EXPECT_HOST_EQ(large.get(), strings({u""}, {0}).get());
}

// The text is widened through a buffer of a few thousand units: runs of
// ASCII longer than it, a non-ASCII byte far into an otherwise ASCII chunk
// (the chunk is widened again value by value), single values longer than it
// and invalid bytes among them must all read as the host's own converter
// reads each value.
TEST(Read, LongStringsReadAsTheHostConverterReadsThem) {
  std::vector<std::optional<std::string>> ascii;
  for (int i = 0; i < 3000; ++i) ascii.push_back("value " + std::to_string(i) + " text");
  std::vector<std::optional<std::string>> lateNonAscii = ascii;
  lateNonAscii.push_back("caf\xC3\xA9");
  lateNonAscii.push_back(std::nullopt);
  std::vector<std::optional<std::string>> longValues{
      std::string(20000, 'a'), std::string(9000, 'b') + "\xE6\x97\xA5" + std::string(9000, 'c'),
      std::string(10000, 'd') + "\xFF" + std::string(10, 'e'), "short"};
  for (const auto& values : {ascii, lateNonAscii, longValues}) {
    std::vector<orvane::ustring> texts(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (values[i]) orvane::append_utf8_replacing(*values[i], texts[i]);
    }
    auto expected = ovCreateStringColumn(texts);
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (!values[i]) ovSetMissing(expected.get(), i);
    }
    orvane::ScopedWarningCapture capture;
    auto host = readArray(rawStrings(values));
    EXPECT_HOST_EQ(host.get(), expected.get());
  }
}

TEST(Read, AsciiChunksStartingAtEveryTextAlignmentReadAsTheHostConverterReadsThem) {
  // Chunks of odd lengths put each chunk's text at a different offset of the
  // joined text, so every alignment of the widening's destination is met; a
  // late non-ASCII value makes one chunk fall back after widening.
  a::ArrayVector chunks;
  std::vector<orvane::ustring> texts;
  for (int c = 0; c < 9; ++c) {
    std::vector<std::optional<std::string>> values;
    for (int i = 0; i < 40 + c * 7; ++i) values.push_back(std::string(static_cast<std::size_t>(c + i % 5), 'a' + c));
    values.push_back(c == 4 ? "\xC3\xA9t\xC3\xA9" : "end");
    for (const auto& value : values) {
      texts.emplace_back();
      orvane::append_utf8_replacing(*value, texts.back());
    }
    chunks.push_back(rawStrings(values));
  }
  auto host = readOnly(tableOf({{"s", chunked(chunks)}}));
  EXPECT_HOST_EQ(host.get(), ovCreateStringColumn(texts).get());
}

TEST(Read, StringChunksAreJoined) {
  auto column = chunked({fromJson(a::utf8(), R"(["a", "bb"])"),
                         fromJson(a::utf8(), R"(["x", "ccc", "é"])")->Slice(1, 2)});
  auto host = readOnly(tableOf({{"s", column}}));
  EXPECT_HOST_EQ(host.get(), strings({u"a", u"bb", u"ccc", u"é"}).get());
}

TEST(Read, InvalidUtf8IsReplacedWithOneWarningPerColumn) {
  auto bad = chunked({rawStrings({"ok", "a\xFF" "b", "\xC3"}),
                      rawStrings({std::nullopt, "\xE6\x97", "fine"})});
  auto good = chunked({rawStrings({"1", "2", "3", "4", "5", "6"})});
  auto nestedValues = rawStrings({"\xFF", "x", "\xFE\xFE", "y", "z", "w"});
  auto offsets = fromJson(a::int32(), "[0, 1, 2, 4, 5, 6, 6]");
  auto nested = chunked({unwrap(a::ListArray::FromArrays(*offsets, *nestedValues))});
  auto table = tableOf({{"bad", bad}, {"good", good}, {"nested", nested}});

  orvane::ScopedWarningCapture capture;
  auto host = unwrap(to_orvane(table));
  EXPECT_HOST_EQ(ovTableColumn(host.get(), 0),
                 strings({u"ok", u"a\uFFFDb", u"\uFFFD", u"", u"\uFFFD", u"fine"}, {3}).get());
  const ovArray* list = ovTableColumn(host.get(), 2);
  EXPECT_HOST_EQ(ovGetCell(list, 0), strings({u"\uFFFD"}).get());
  EXPECT_HOST_EQ(ovGetCell(list, 2), strings({u"\uFFFD\uFFFD", u"y"}).get());

  const auto warnings = capture.warnings();
  ASSERT_EQ(warnings.size(), 2u);
  EXPECT_EQ(warnings[0], orvane::Message::make(kConvertComponent, kInvalidUtf8InColumnKey,
                                               std::string("bad"), std::uint64_t{3}));
  EXPECT_EQ(warnings[1], orvane::Message::make(kConvertComponent, kInvalidUtf8InColumnKey,
                                               std::string("nested"), std::uint64_t{2}));
  EXPECT_EQ(warnings[0].identifier(), "ORVANE:convert:InvalidUtf8InColumn");
}

TEST(Read, Utf8DecodingAgreesWithTheHostConverter) {
  // Valid and ill-formed sequences of every length, short and long values.
  const std::vector<std::string> values{
      "plain ascii that is longer than eight bytes",
      "\xE2\x82\xAC",                         // U+20AC
      "\xF4\x8F\xBF\xBF",                     // U+10FFFF, the last code point
      "a\xF0\x9F\x98\x80" "b",                // a surrogate pair in UTF-16
      "abcdefghij\xC3\xA9klmnopqrs\xE6\x97\xA5",
      "\xC0\xAF",                              // overlong
      "\xE0\x80\xAF",                          // overlong
      "\xED\xA0\x80",                          // an encoded surrogate
      "\xF4\x90\x80\x80",                     // past U+10FFFF
      "\xF0\x9F\x98",                          // truncated
      "\x80",                                  // a lone continuation byte
      "12345678\xC3",                          // truncated after an ASCII run
      "",
  };
  const std::vector<std::optional<std::string>> plain(values.begin(), values.end());
  auto withNull = plain;
  withNull.insert(withNull.begin() + 3, std::nullopt);
  using Values = std::vector<std::optional<std::string>>;
  for (const Values* rows : {&plain, static_cast<const Values*>(&withNull)}) {
    SCOPED_TRACE(rows == &plain ? "without nulls" : "with a null");
    orvane::ScopedWarningCapture capture;
    auto host = readArray(rawStrings(*rows));
    for (std::size_t row = 0; row < rows->size(); ++row) {
      const auto& value = (*rows)[row];
      if (value) {
        EXPECT_EQ(ovGetString(host.get(), row), orvane::to_ustring(*value)) << "row " << row;
      } else {
        EXPECT_TRUE(ovIsMissing(host.get(), row));
      }
    }
    ASSERT_EQ(capture.warnings().size(), 1u);
    EXPECT_EQ(capture.warnings()[0], orvane::Message::make(kConvertComponent, kInvalidUtf8InColumnKey,
                                                          std::string("x"), std::uint64_t{7}));
  }
}

TEST(Read, BinaryKindsBecomeCellsOfByteColumns) {
  auto host = readArray(fromJson(a::binary(), R"(["ab", null, ""])"));
  std::vector<unique_ovarray_ptr> expected;
  expected.push_back(bytes({'a', 'b'}));
  expected.push_back(nullptr);
  expected.push_back(bytes({}));
  EXPECT_HOST_EQ(host.get(), cells(std::move(expected)).get());
  EXPECT_EQ(ovGetCell(host.get(), 1), nullptr);
  EXPECT_EQ(ovGetDimensions(ovGetCell(host.get(), 2)), (ovDims{0, 1}));

  auto fixed = readArray(fromJson(a::fixed_size_binary(3), R"(["abc", null, "xyz"])")->Slice(1, 2));
  std::vector<unique_ovarray_ptr> fixedExpected;
  fixedExpected.push_back(nullptr);
  fixedExpected.push_back(bytes({'x', 'y', 'z'}));
  EXPECT_HOST_EQ(fixed.get(), cells(std::move(fixedExpected)).get());

  auto large = readArray(fromJson(a::large_binary(), R"(["q"])"));
  std::vector<unique_ovarray_ptr> largeExpected;
  largeExpected.push_back(bytes({'q'}));
  EXPECT_HOST_EQ(large.get(), cells(std::move(largeExpected)).get());
}

TEST(Read, DictionaryChunksWithDifferentDictionariesAreUnified) {
  const auto type = a::dictionary(a::int32(), a::utf8());
  auto first = unwrap(a::DictionaryArray::FromArrays(type, fromJson(a::int32(), "[0, 1, null]"),
                                                     fromJson(a::utf8(), R"(["a", "b"])")));
  auto second = unwrap(a::DictionaryArray::FromArrays(type, fromJson(a::int32(), "[1, 0]"),
                                                      fromJson(a::utf8(), R"(["b", "c"])")));
  auto host = readOnly(tableOf({{"d", chunked({first, second})}}));
  EXPECT_HOST_EQ(host.get(), categorical({u"a", u"b", u"c"}, {0, 1, -1, 2, 1}).get());
  EXPECT_EQ(ovGetCategoryCodes(host.get())[2], -1);
  EXPECT_TRUE(ovCategoryCodesValid(host.get()));
}

TEST(Read, DictionariesKeepOrderingAndAcceptAnyIndexType) {
  const auto type = a::dictionary(a::uint8(), a::large_utf8(), /*ordered=*/true);
  auto array = unwrap(a::DictionaryArray::FromArrays(
      type, fromJson(a::uint8(), "[2, 0, null, 1]"), fromJson(a::large_utf8(), R"(["lo", "mid", "hi"])")));
  auto host = readArray(array->Slice(1, 3));
  EXPECT_HOST_EQ(host.get(), categorical({u"lo", u"mid", u"hi"}, {0, -1, 1}, true).get());
  EXPECT_TRUE(ovIsOrdinal(host.get()));
}

TEST(Read, NullDictionaryEntriesReadAsMissing) {
  const auto type = a::dictionary(a::int32(), a::utf8());
  auto array = unwrap(a::DictionaryArray::FromArrays(type, fromJson(a::int32(), "[0, 1, null]"),
                                                     fromJson(a::utf8(), R"(["a", null])")));
  auto host = readArray(array);
  EXPECT_HOST_EQ(host.get(), categorical({u"a", u""}, {0, -1, -1}).get());
}

TEST(Read, DictionaryIndexOutOfRangeFails) {
  const auto type = a::dictionary(a::int32(), a::utf8());
  auto indices = fromJson(a::int32(), "[0, 7]");
  auto data = indices->data()->Copy();
  data->type = type;
  data->dictionary = fromJson(a::utf8(), R"(["a"])")->data();
  auto result = to_orvane(tableOf("d", a::MakeArray(data)));
  ASSERT_FALSE(result.ok());
  EXPECT_EQ(result.status().code(), a::StatusCode::Invalid);
  EXPECT_NE(result.status().message().find("'d'"), std::string::npos);

  // With several dictionaries an index is checked against its own chunk's
  // dictionary, not the unified one.
  auto first = unwrap(a::DictionaryArray::FromArrays(type, fromJson(a::int32(), "[0, 1]"),
                                                     fromJson(a::utf8(), R"(["a", "b"])")));
  auto second = fromJson(a::int32(), "[1]")->data()->Copy();
  second->type = type;
  second->dictionary = fromJson(a::utf8(), R"(["c"])")->data();
  auto unified = to_orvane(tableOf({{"u", chunked({first, a::MakeArray(second)})}}));
  ASSERT_FALSE(unified.ok());
  EXPECT_EQ(unified.status().code(), a::StatusCode::Invalid);
}

TEST(Read, DictionariesOfOtherValuesAreDecoded) {
  auto array = unwrap(a::DictionaryArray::FromArrays(a::dictionary(a::int16(), a::int64()),
                                                     fromJson(a::int16(), "[1, null, 0, 1]"),
                                                     fromJson(a::int64(), "[-7, 42]")));
  auto host = readArray(array);
  EXPECT_HOST_EQ(host.get(), numeric<std::int64_t>({42, 0, -7, 42}, {1}).get());
}

TEST(Read, ListsBecomeCellsOfColumns) {
  auto host = readArray(fromJson(a::list(a::int32()), "[[1, 2], null, [], [null]]"));
  std::vector<unique_ovarray_ptr> expected;
  expected.push_back(numeric<std::int32_t>({1, 2}));
  expected.push_back(nullptr);
  expected.push_back(numeric<std::int32_t>({}));
  expected.push_back(numeric<std::int32_t>({0}, {0}));
  EXPECT_HOST_EQ(host.get(), cells(std::move(expected)).get());
  EXPECT_EQ(ovGetDimensions(ovGetCell(host.get(), 2)), (ovDims{0, 1}));

  auto large = readArray(fromJson(a::large_list(a::utf8()), R"([["a"], ["b", null]])")->Slice(1, 1));
  std::vector<unique_ovarray_ptr> largeExpected;
  largeExpected.push_back(strings({u"b", u""}, {1}));
  EXPECT_HOST_EQ(large.get(), cells(std::move(largeExpected)).get());
}

TEST(Read, MapsBecomeCellsOfKeyValueTables) {
  auto host = readArray(fromJson(a::map(a::utf8(), a::int32()),
                                 R"([[["a", 1], ["b", null]], null, []])"));
  std::vector<unique_ovarray_ptr> expected;
  expected.push_back(table({u"Key", u"Value"}, strings({u"a", u"b"}),
                           numeric<std::int32_t>({1, 0}, {1})));
  expected.push_back(nullptr);
  expected.push_back(table({u"Key", u"Value"}, strings({}), numeric<std::int32_t>({})));
  EXPECT_HOST_EQ(host.get(), cells(std::move(expected)).get());
  EXPECT_TRUE(ovIsTable(ovGetCell(host.get(), 2)));
}

TEST(Read, StructsBecomeNestedTablesAndNullRowsAreMissingRecords) {
  const auto type = a::struct_({a::field("a", a::int32()), a::field("b", a::list(a::int8())),
                                a::field("c", a::utf8()),
                                a::field("d", a::struct_({a::field("e", a::float64())}))});
  auto array = fromJson(type, R"([{"a": 0, "b": [0], "c": "zero", "d": {"e": 0}},
                                  {"a": 1, "b": [1, 2], "c": "x", "d": {"e": 1.5}},
                                  null,
                                  {"a": null, "b": null, "c": "z", "d": null}])");
  auto host = readArray(array->Slice(1, 3));
  std::vector<unique_ovarray_ptr> lists;
  lists.push_back(numeric<std::int8_t>({1, 2}));
  lists.push_back(nullptr);
  lists.push_back(nullptr);
  auto inner = table({u"e"}, numeric<double>({1.5, kNaN, kNaN}, {1, 2}));
  // A null record is a missing record, and missing in every field; a record
  // under a missing one is missing too.
  std::uint8_t* innerMissing = ovTableAllocMissingRows(inner.get());
  innerMissing[1] = innerMissing[2] = 1;
  auto expected = table({u"a", u"b", u"c", u"d"}, numeric<std::int32_t>({1, 0, 0}, {1, 2}),
                        cells(std::move(lists)), strings({u"x", u"", u"z"}, {1}),
                        std::move(inner));
  ovTableAllocMissingRows(expected.get())[1] = 1;
  EXPECT_HOST_EQ(host.get(), expected.get());
  EXPECT_TRUE(ovIsTable(host.get()));
  EXPECT_FALSE(ovTableIsRowMissing(host.get(), 0));
  EXPECT_TRUE(ovTableIsRowMissing(host.get(), 1));
  EXPECT_FALSE(ovTableIsRowMissing(host.get(), 2));
  // A record of missing fields is not a missing record.
  auto withoutMarks = ovDuplicateArray(expected.get());
  ovTableRemoveMissingRows(withoutMarks.get());
  EXPECT_FALSE(ovArraysEqual(host.get(), withoutMarks.get()));
}

TEST(Read, ThreeLevelsOfNesting) {
  const auto type = a::list(a::struct_({a::field("v", a::list(a::int64()))}));
  auto host = readArray(fromJson(type, R"([[{"v": [1, 2]}, {"v": []}], [], null])"));
  std::vector<unique_ovarray_ptr> inner;
  inner.push_back(numeric<std::int64_t>({1, 2}));
  inner.push_back(numeric<std::int64_t>({}));
  std::vector<unique_ovarray_ptr> empty;
  std::vector<unique_ovarray_ptr> rows;
  rows.push_back(table({u"v"}, cells(std::move(inner))));
  rows.push_back(table({u"v"}, cells(std::move(empty))));
  rows.push_back(nullptr);
  EXPECT_HOST_EQ(host.get(), cells(std::move(rows)).get());
}

TEST(Read, ArraysAndChunkedArraysConvertToColumns) {
  auto array = unwrap(to_orvane(fromJson(a::int32(), "[5]")));
  EXPECT_HOST_EQ(array.get(), numeric<std::int32_t>({5}).get());
  auto column = unwrap(to_orvane(chunked({fromJson(a::utf8(), R"(["a"])"),
                                          fromJson(a::utf8(), R"([null])")})));
  EXPECT_HOST_EQ(column.get(), strings({u"a", u""}, {1}).get());
  auto structs = unwrap(to_orvane(fromJson(a::struct_({a::field("q", a::boolean())}), R"([{"q": true}])")));
  EXPECT_TRUE(ovIsTable(structs.get()));
  EXPECT_FALSE(to_orvane(std::shared_ptr<a::Array>()).ok());
  EXPECT_FALSE(to_orvane(std::shared_ptr<a::ChunkedArray>()).ok());
}

TEST(Read, ZeroRowTableKeepsItsVariables) {
  auto table = tableOf({{"a", chunked({fromJson(a::float32(), "[]")})},
                        {"b", chunked({fromJson(a::list(a::utf8()), "[]")})}});
  auto host = unwrap(to_orvane(table));
  ASSERT_TRUE(ovIsTable(host.get()));
  EXPECT_EQ(ovTableNumVariables(host.get()), 2u);
  EXPECT_EQ(ovGetDimensions(ovTableColumn(host.get(), 0)), (ovDims{0, 1}));
  EXPECT_TRUE(ovIsCell(ovTableColumn(host.get(), 1)));
}

}  // namespace
}  // namespace convert_test

namespace convert_test {
namespace {

TEST(Read, ColumnsWithoutChunks) {
  const std::vector<std::shared_ptr<a::DataType>> types{
      a::int32(), a::boolean(), a::utf8(), a::dictionary(a::int32(), a::utf8()),
      a::list(a::float64()), a::struct_({a::field("f", a::utf8())}), a::timestamp(a::TimeUnit::SECOND),
      a::null()};
  for (const auto& type : types) {
    SCOPED_TRACE(type->ToString());
    auto host = unwrap(to_orvane(std::make_shared<a::ChunkedArray>(a::ArrayVector{}, type)));
    EXPECT_EQ(ovColumnHeight(host.get()), 0u);
    EXPECT_EQ(std::string(ovGetClassName(host.get())),
              *orvane::io::arrow::core::to_orvane_datatype(type));
  }
}

}  // namespace
}  // namespace convert_test
