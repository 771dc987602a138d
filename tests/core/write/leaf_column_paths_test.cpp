#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/write/LeafColumnPaths.hpp>

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

}  // namespace
}  // namespace orvane::io::parquet::core::write
