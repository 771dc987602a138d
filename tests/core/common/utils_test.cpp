#include <ovparquet/core/common/Utils.hpp>

#include "../../support/HostErrors.hpp"
#include "../../support/LogCapture.hpp"

#include <arrow/api.h>
#include <gtest/gtest.h>

namespace orvane::io::parquet::core::common {
namespace {

using ::parquet::arrow::SchemaField;

SchemaField leaf(int index) {
  SchemaField field;
  field.field = ::arrow::field("leaf" + std::to_string(index), ::arrow::int32());
  field.column_index = index;
  return field;
}

SchemaField group(std::vector<SchemaField> children) {
  SchemaField field;
  field.field = ::arrow::field("group", ::arrow::struct_({}));
  field.children = std::move(children);
  field.column_index = -1;
  return field;
}

TEST(ThrowHelpers, OkStatusThrowsNothingAndExitHasNoThrowMark) {
  ovtest::LogCapture log(orvane::log::kScopeEntry | orvane::log::kScopeExit);
  EXPECT_NO_THROW(throwReadExceptIfNotOk(::arrow::Status::OK(), u"file.parquet"));
  const auto records = log.records();
  ASSERT_FALSE(records.empty());
  for (const auto& r : records) EXPECT_EQ(r.find("[throw]"), std::string::npos) << r;
}

TEST(ThrowHelpers, FailedStatusGivesFileNameThenStatusText) {
  const auto status = ::arrow::Status::IOError("Größe kaputt");
  try {
    throwReadExceptIfNotOk(status, u"/data/datei.parquet");
    FAIL() << "no exception";
  } catch (const MessageException<ORVANE::parquetio::read::InternalInvalidRead>& e) {
    const auto& m = e.message();
    EXPECT_EQ(m.component, "ORVANE:parquetio:read");
    EXPECT_EQ(m.key, "InternalInvalidRead");
    ASSERT_EQ(m.arguments.size(), 2u);
    EXPECT_EQ(std::get<ustring>(m.arguments[0]), u"/data/datei.parquet");
    EXPECT_EQ(std::get<ustring>(m.arguments[1]), orvane::utf8_to_ustring(status.ToString()));
    EXPECT_EQ(std::get<ustring>(m.arguments[1]), u"IOError: Größe kaputt");
    EXPECT_STREQ(e.what(), "Unable to read Parquet file '/data/datei.parquet': IOError: Größe kaputt");
  }
}

TEST(ThrowHelpers, WriteSideUsesInvalidWrite) {
  try {
    throwWriteExceptIfNotOk(::arrow::Status::Invalid("Inconsistent Schema"), u"out.parquet");
    FAIL() << "no exception";
  } catch (const MessageException<ORVANE::parquetio::write::InvalidWrite>& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:parquetio:write:InvalidWrite");
    EXPECT_EQ(std::get<ustring>(e.message().arguments.at(0)), u"out.parquet");
    EXPECT_EQ(std::get<ustring>(e.message().arguments.at(1)), u"Invalid: Inconsistent Schema");
  }
}

// The status text is converted strictly and the helpers catch nothing: a text
// that is not UTF-8 surfaces as the host's own conversion error, on both sides,
// and the scope is left with the throw mark.
TEST(ThrowHelpers, StatusTextWithInvalidUtf8RaisesTheHostConversionError) {
  const auto status = ::arrow::Status::IOError("bad \xff byte");  // "IOError: " puts 0xff at 13
  ovtest::LogCapture log(orvane::log::kScopeEntry | orvane::log::kScopeExit);
  const auto [readId, readText] = ovtest::hostError([&] { throwReadExceptIfNotOk(status, u"in.parquet"); });
  EXPECT_EQ(readId, "ORVANE:host:InvalidUtf8");
  EXPECT_NE(readText.find("at byte 13"), std::string::npos) << readText;
  const auto [writeId, writeText] = ovtest::hostError([&] { throwWriteExceptIfNotOk(status, u"out.parquet"); });
  EXPECT_EQ(writeId, "ORVANE:host:InvalidUtf8");
  bool throwMark = false;
  for (const auto& r : log.records()) {
    if (r.find("throwIfNotOk") != std::string::npos && r.find("[throw]") != std::string::npos) throwMark = true;
  }
  EXPECT_TRUE(throwMark);
}

TEST(ThrowHelpers, PlainTextHelpersKeepTheirArgumentTypes) {
  try {
    throwInvalidRead(u"a", u"b");
  } catch (const MessageException<ORVANE::parquetio::read::InternalInvalidRead>& e) {
    EXPECT_EQ(e.message().arguments, (std::vector<orvane::MessageArgument>{ustring(u"a"), ustring(u"b")}));
  }
  try {
    throwReaderLoadException("x", "y");
  } catch (const MessageException<ORVANE::parquetio::read::ReaderLoadFailed>& e) {
    EXPECT_EQ(e.message().arguments,
              (std::vector<orvane::MessageArgument>{std::string("x"), std::string("y")}));
  }
  try {
    throwInternalUnsupportedParquetTypeException("Spalte ä");
  } catch (const MessageException<ORVANE::parquetio::read::InternalUnsupportedParquetType>& e) {
    EXPECT_EQ(e.message().arguments, (std::vector<orvane::MessageArgument>{ustring(u"Spalte ä")}));
  }
}

TEST(ThrowHelpers, EachKeyIsItsOwnTypeAndAllAreStdExceptions) {
  EXPECT_THROW(throwInvalidRead(u"a", u"b"), std::exception);
  EXPECT_THROW(throwInvalidRead(u"a", u"b"), MessageError);
  bool caughtWrongKind = false;
  try {
    try {
      throwReaderLoadException("a", "b");
    } catch (const MessageException<ORVANE::parquetio::read::InternalInvalidRead>&) {
      caughtWrongKind = true;
    }
  } catch (const MessageException<ORVANE::parquetio::read::ReaderLoadFailed>&) {
  }
  EXPECT_FALSE(caughtWrongKind);
}

TEST(SchemaFieldHelpers, LeafIndexOfALeafIsItsColumn) {
  EXPECT_EQ(schema_field_to_leaf_index(leaf(7)), 7);
  EXPECT_EQ(schema_field_to_all_leaf_indices(leaf(7)), std::vector<int>{7});
}

TEST(SchemaFieldHelpers, LeafIndexFollowsOnlyTheFirstChild) {
  EXPECT_EQ(schema_field_to_leaf_index(group({leaf(3), leaf(4)})), 3);
  EXPECT_EQ(schema_field_to_leaf_index(group({group({leaf(8)}), leaf(9)})), 8);
  // First child an empty group, second a leaf: the second is never visited.
  EXPECT_EQ(schema_field_to_leaf_index(group({group({}), leaf(5)})), std::nullopt);
  EXPECT_EQ(schema_field_to_leaf_index(group({})), std::nullopt);
}

TEST(SchemaFieldHelpers, LeafIndexTestsForExactlyMinusOne) {
  SchemaField odd = leaf(-2);  // not -1: taken as a leaf
  odd.children.push_back(leaf(1));
  EXPECT_EQ(schema_field_to_leaf_index(odd), -2);
}

TEST(SchemaFieldHelpers, AllLeafIndicesInSchemaOrder) {
  const auto field = group({leaf(3), group({leaf(4)}), leaf(5)});
  EXPECT_EQ(schema_field_to_all_leaf_indices(field), (std::vector<int>{3, 4, 5}));
  EXPECT_EQ(schema_field_to_all_leaf_indices(group({leaf(3), group({}), leaf(5)})), std::nullopt);
  EXPECT_EQ(schema_field_to_all_leaf_indices(group({leaf(3), leaf(4), group({})})), std::nullopt);
  EXPECT_EQ(schema_field_to_all_leaf_indices(group({})), std::nullopt);
}

TEST(SupportedNestedType, ListStructMapLargeListOnly) {
  EXPECT_TRUE(isSupportedNestedType(::arrow::list(::arrow::int32())));
  EXPECT_TRUE(isSupportedNestedType(::arrow::struct_({::arrow::field("a", ::arrow::int32())})));
  EXPECT_TRUE(isSupportedNestedType(::arrow::map(::arrow::utf8(), ::arrow::int32())));
  EXPECT_TRUE(isSupportedNestedType(::arrow::large_list(::arrow::int32())));
  EXPECT_FALSE(isSupportedNestedType(::arrow::fixed_size_list(::arrow::int32(), 3)));
  EXPECT_FALSE(isSupportedNestedType(::arrow::dictionary(::arrow::int32(), ::arrow::list(::arrow::utf8()))));
  EXPECT_FALSE(isSupportedNestedType(::arrow::dictionary(::arrow::int32(), ::arrow::utf8())));
  EXPECT_FALSE(isSupportedNestedType(::arrow::sparse_union({::arrow::field("a", ::arrow::int32())})));
  EXPECT_FALSE(isSupportedNestedType(::arrow::list_view(::arrow::int32())));
  EXPECT_FALSE(isSupportedNestedType(::arrow::run_end_encoded(::arrow::int32(), ::arrow::utf8())));
  EXPECT_FALSE(isSupportedNestedType(::arrow::int64()));
  EXPECT_FALSE(isSupportedNestedType(::arrow::utf8()));
}

}  // namespace
}  // namespace orvane::io::parquet::core::common
