#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/write/LeafColumnPaths.hpp>

#include <arrow/api.h>
#include <parquet/arrow/schema.h>
#include <parquet/properties.h>
#include <parquet/schema.h>

#include <gtest/gtest.h>

namespace orvane::io::parquet::core::write {
namespace {

using namespace ORVANE::parquetio::write;
using Paths = std::vector<ustring>;
using Offsets = std::vector<uint64_t>;

TEST(LeafColumnPaths, EmptyDescriptions) {
  EXPECT_THROW(LeafColumnPaths::Make(Offsets{0}, Paths{}), common::MessageException<LeafColumnPathsEmpty>);
  EXPECT_THROW(LeafColumnPaths::Make(Offsets{}, Paths{u"a"}), common::MessageException<LeafColumnPathsEmpty>);
  EXPECT_THROW(LeafColumnPaths::Make(Offsets{}, Paths{}), common::MessageException<LeafColumnPathsEmpty>);
}

TEST(LeafColumnPaths, SizeMismatch) {
  EXPECT_THROW(LeafColumnPaths::Make(Offsets{0}, Paths{u"a"}), common::MessageException<LeafColumnPathsSizeMismatch>);
  EXPECT_THROW(LeafColumnPaths::Make(Offsets{0, 1}, Paths{u"a", u"b"}),
               common::MessageException<LeafColumnPathsSizeMismatch>);
}

TEST(LeafColumnPaths, OffsetsMustAscendStrictlyAndAreCheckedBeforeTheSize) {
  EXPECT_THROW(LeafColumnPaths::Make(Offsets{0, 2, 2}, Paths{u"a", u"b"}),
               common::MessageException<LeafColumnPathsOffsetsAcending>);
  EXPECT_THROW(LeafColumnPaths::Make(Offsets{3, 1}, Paths{u"a"}),
               common::MessageException<LeafColumnPathsOffsetsAcending>);
  try {
    LeafColumnPaths::Make(Offsets{0, 2, 2}, Paths{u"a", u"b"});
  } catch (const common::MessageError& e) {
    EXPECT_EQ(e.identifier(), "ORVANE:parquetio:write:LeafColumnPathsOffsetsAcending");
    EXPECT_TRUE(e.message().arguments.empty());
  }
}

TEST(LeafColumnPaths, OneColumnOneLeaf) {
  const auto paths = LeafColumnPaths::Make(Offsets{0, 1}, Paths{u"a"});
  EXPECT_EQ(paths->numTopLevelColumns(), 1u);
  EXPECT_EQ(paths->numLeafColumnPaths(), 1u);
  const auto [begin, end] = paths->leaf_paths(0);
  EXPECT_EQ(Paths(begin, end), Paths{u"a"});
}

TEST(LeafColumnPaths, SlicesPerColumnAndUnusedLeadingPaths) {
  const auto two = LeafColumnPaths::Make(Offsets{0, 1, 4}, Paths{u"a", u"s.x", u"s.y", u"s.z"});
  EXPECT_EQ(two->numTopLevelColumns(), 2u);
  const auto [b1, e1] = two->leaf_paths(1);
  EXPECT_EQ(Paths(b1, e1), (Paths{u"s.x", u"s.y", u"s.z"}));

  const auto skipped = LeafColumnPaths::Make(Offsets{1, 3}, Paths{u"unused", u"p", u"q"});
  EXPECT_EQ(skipped->numTopLevelColumns(), 1u);
  const auto [b, e] = skipped->leaf_paths(0);
  EXPECT_EQ(Paths(b, e), (Paths{u"p", u"q"}));
}

// The leaf paths of the Parquet schema Arrow's writer makes of `schema`.
Paths writerLeafPaths(const std::shared_ptr<::arrow::Schema>& schema, bool compliant) {
  ::parquet::ArrowWriterProperties::Builder arrowProps;
  if (compliant) arrowProps.enable_compliant_nested_types();
  else arrowProps.disable_compliant_nested_types();
  std::shared_ptr<::parquet::SchemaDescriptor> descriptor;
  EXPECT_TRUE(::parquet::arrow::ToParquetSchema(schema.get(), *::parquet::default_writer_properties(),
                                                *arrowProps.build(), &descriptor)
                  .ok());
  Paths paths;
  for (int i = 0; i < descriptor->num_columns(); ++i) {
    paths.push_back(utf8_to_ustring(descriptor->Column(i)->path()->ToDotString()));
  }
  return paths;
}

TEST(LeafColumnPaths, OfSchemaNamesTheLeavesAsArrowsWriterDoes) {
  const auto schema = ::arrow::schema({
      ::arrow::field("a", ::arrow::int64()),
      ::arrow::field("v", ::arrow::list(::arrow::int64())),
      ::arrow::field("p", ::arrow::struct_({::arrow::field("x", ::arrow::utf8()), ::arrow::field("y", ::arrow::float64())})),
      ::arrow::field("w", ::arrow::large_list(::arrow::struct_({::arrow::field("x", ::arrow::int32())}))),
      ::arrow::field("m", ::arrow::map(::arrow::utf8(), ::arrow::int64())),
  });
  for (const bool compliant : {true, false}) {
    SCOPED_TRACE(compliant);
    const LeafColumnPaths paths = LeafColumnPaths::ofSchema(*schema, compliant);
    EXPECT_EQ(paths.paths(), writerLeafPaths(schema, compliant));
    EXPECT_EQ(paths.offsets(), (Offsets{0, 1, 2, 4, 5, 7}));
  }
  EXPECT_EQ(LeafColumnPaths::ofSchema(*schema, false).paths()[1], u"v.list.item");
}

}  // namespace
}  // namespace orvane::io::parquet::core::write
