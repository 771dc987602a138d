#include <ovparquet/host/array.hpp>
#include <ovparquet/host/array_arena.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <vector>

namespace {

unique_ovarray_ptr rowOf(std::size_t i) {
  auto row = ovCreateUninitNumericArray(ovDims{i % 4, 1}, ovClassID::Int64);
  auto* data = ovGetTypedDataMutable<std::int64_t>(row.get());
  for (std::size_t k = 0; k < i % 4; ++k) data[k] = static_cast<std::int64_t>(i * 10 + k);
  return row;
}

void expectRow(const ovArray* row, std::size_t i) {
  ASSERT_NE(row, nullptr);
  ASSERT_EQ(ovGetDimensions(row), (ovDims{i % 4, 1}));
  const auto* data = ovGetTypedData<std::int64_t>(row);
  for (std::size_t k = 0; k < i % 4; ++k) ASSERT_EQ(data[k], static_cast<std::int64_t>(i * 10 + k)) << i;
}

std::uintptr_t addressOf(const unique_ovarray_ptr& array) { return reinterpret_cast<std::uintptr_t>(array.get()); }

}  // namespace

TEST(ArrayArena, ArraysOutliveTheArenaAndKeepTheirValues) {
  constexpr std::size_t kRows = 30000;  // several slabs
  auto cell = ovCreateCellArray(ovDims{kRows, 1});
  {
    ovArrayArena arena;
    for (std::size_t i = 0; i < kRows; ++i) ovReplaceCell(cell.get(), i, rowOf(i));
  }
  for (std::size_t i = 0; i < kRows; ++i) expectRow(ovGetCell(cell.get(), i), i);
  // Replaced and duplicated elements are ordinary arrays too.
  auto copy = ovDuplicateArray(cell.get());
  ovReplaceCell(cell.get(), 7, rowOf(11));
  expectRow(ovGetCell(cell.get(), 7), 11);
  cell.reset();
  for (std::size_t i = 0; i < kRows; ++i) expectRow(ovGetCell(copy.get(), i), i);
}

TEST(ArrayArena, ArraysFreedOnAnotherThreadLeaveTheRestIntact) {
  constexpr std::size_t kRows = 20000;
  std::vector<unique_ovarray_ptr> rows;
  {
    ovArrayArena arena;
    for (std::size_t i = 0; i < kRows; ++i) rows.push_back(rowOf(i));
  }
  std::thread other([&] {
    for (std::size_t i = 0; i < kRows; i += 2) rows[i].reset();
  });
  other.join();
  for (std::size_t i = 1; i < kRows; i += 2) expectRow(rows[i].get(), i);
  // The last arrays of each slab go in reverse order.
  for (std::size_t i = kRows; i-- > 0;) rows[i].reset();
}

TEST(ArrayArena, TheInnermostArenaServesAndTheOuterResumesAfterIt) {
  ovArrayArena outer;
  auto first = rowOf(1);
  std::vector<unique_ovarray_ptr> inner;
  {
    ovArrayArena arena;
    inner.push_back(rowOf(2));
    inner.push_back(rowOf(3));
  }
  auto second = rowOf(4);
  // Headers of one arena lie one slot apart; the inner arena's two took no
  // slot of the outer's.
  const std::uintptr_t slot = addressOf(inner[1]) - addressOf(inner[0]);
  EXPECT_EQ(addressOf(second) - addressOf(first), slot);
  expectRow(first.get(), 1);
  expectRow(inner[0].get(), 2);
  expectRow(inner[1].get(), 3);
  expectRow(second.get(), 4);
}

TEST(ArrayArena, ArenasBelongToTheirThread) {
  ovArrayArena arena;
  auto here = rowOf(1);
  unique_ovarray_ptr there;
  std::thread other([&] { there = rowOf(2); });
  other.join();
  auto next = rowOf(3);
  // The other thread's array came from elsewhere, so this arena's next slot
  // follows its previous one.
  const std::uintptr_t gap = addressOf(next) - addressOf(here);
  EXPECT_LT(gap, 256u);
  EXPECT_TRUE(addressOf(there) < addressOf(here) || addressOf(there) > addressOf(next));
  expectRow(there.get(), 2);
}
