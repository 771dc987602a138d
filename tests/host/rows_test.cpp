#include <ovparquet/host/array_text.hpp>
#include <ovparquet/host/rows.hpp>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

unique_ovarray_ptr categorical(std::vector<orvane::ustring> categories, std::vector<std::int32_t> codes) {
  const std::size_t n = codes.size();
  return ovCreateCategoricalArray({n, 1}, ovCreateStringColumn(categories), std::move(codes));
}

TEST(Rows, RangeIsHalfOpenAndEmptyWhenReversed) {
  EXPECT_EQ(ovRowRange(2, 5), (std::vector<std::size_t>{2, 3, 4}));
  EXPECT_TRUE(ovRowRange(5, 2).empty());
}

TEST(Rows, GatherKeepsOrderAndMissingValues) {
  auto a = ovCreateNumericArrayFromVector<double>({3, 1}, {1, 2, 3});
  ovSetMissing(a.get(), 1);
  auto b = ovCreateNumericArrayFromVector<double>({2, 1}, {10, 20});
  const auto out = ovGatherColumn({{a.get(), {2, 1}}, {b.get(), {0}}});
  EXPECT_EQ(ovArrayToInlineText(out.get()), "[3; <missing>; 10]");
}

TEST(Rows, CategoricalsWithDifferentCategoriesAreJoined) {
  auto first = categorical({u"x", u"y"}, {1, 0});
  auto second = categorical({u"z", u"x"}, {0, 1, -1});
  ovSetMissing(second.get(), 2);
  const auto out = ovGatherColumn({{first.get(), {0, 1}}, {second.get(), {0, 1, 2}}});
  EXPECT_EQ(ovGetNumberOfCategories(out.get()), 3u);
  EXPECT_EQ(ovArrayToInlineText(out.get()), "[\"y\"; \"x\"; \"z\"; \"x\"; <missing>]");
}

TEST(Rows, TablesGatherTheirVariablesInTheGivenOrder) {
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(ovCreateNumericArrayFromVector<std::int32_t>({2, 1}, {1, 2}));
  columns.push_back(ovCreateStringColumn({u"a", u"b"}));
  const auto table = ovCreateTable(std::move(columns), {u"n", u"s"});
  const auto out = ovGatherTable({{table.get(), {1}}, {table.get(), {0}}}, {1, 0});
  EXPECT_EQ(ovTableName(out.get(), 0), u"s");
  EXPECT_EQ(ovArrayToInlineText(ovTableColumn(out.get(), 0)), "[\"b\"; \"a\"]");
  EXPECT_EQ(ovArrayToInlineText(ovTableColumn(out.get(), 1)), "[2; 1]");
}

TEST(Rows, AStructThatIsNotATableIsRefused) {
  auto record = ovCreateStructMatrix(1, 1, {"a"});
  EXPECT_THROW(ovGatherColumn({{record.get(), {0}}}), std::logic_error);
}

}  // namespace
