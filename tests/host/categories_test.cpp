#include <ovparquet/host/categories.hpp>

#include <gtest/gtest.h>

namespace {

unique_ovarray_ptr categorical(std::vector<orvane::ustring> categories, std::vector<std::int32_t> codes) {
  const std::size_t n = codes.size();
  return ovCreateCategoricalArray({n, 1}, ovCreateStringColumn(categories), std::move(codes));
}

TEST(Categories, TextOfAnElementOrNothingOutOfRange) {
  auto a = categorical({u"x", u"y"}, {1, 0, 0});
  ovGetCategoryCodesMutable(a.get())[2] = 5;
  EXPECT_EQ(ovCategoryText(a.get(), 0), std::u16string_view(u"y"));
  EXPECT_EQ(ovCategoryText(a.get(), 1), std::u16string_view(u"x"));
  EXPECT_FALSE(ovCategoryText(a.get(), 2).has_value());
}

TEST(Categories, UnionKeepsFirstAppearanceAndMapsCodes) {
  auto first = categorical({u"x", u"y"}, {0});
  auto same = categorical({u"x", u"y"}, {1});
  auto other = categorical({u"z", u"y", u"w"}, {0});
  ovCategoryUnion categories;
  EXPECT_TRUE(categories.add(first.get()).empty());
  EXPECT_TRUE(categories.add(same.get()).empty());
  EXPECT_EQ(categories.add(other.get()), (std::vector<std::int32_t>{2, 1, 3}));
  EXPECT_EQ(categories.categories(), (std::vector<std::u16string_view>{u"x", u"y", u"z", u"w"}));
}

}  // namespace
