#include <ovparquet/host/array.hpp>
#include <ovparquet/host/threads.hpp>

#include <gtest/gtest.h>

#include "block_cache.hpp"
#include "scalable_memory.hpp"

#include <cstring>
#include <memory>

// Big arrays leave their memory to the next array of their size, which then
// writes to pages the process already has.
TEST(ArrayMemory, LargeDataIsKeptForTheNextArrayOfItsSize) {
  if (ovdetail::kSanitizedMemory) GTEST_SKIP() << "sanitized builds take every block from the system allocator";
  ovdetail::BlockCache& cache = ovdetail::BlockCache::shared();
  constexpr std::size_t kDoubles = std::size_t{9} << 20;  // 72 MiB
  auto numbers = ovCreateUninitNumericArray(ovDims{kDoubles, 1}, ovClassID::Double);
  auto* values = ovGetTypedDataMutable<double>(numbers.get());
  for (std::size_t i = 0; i < kDoubles; ++i) values[i] = static_cast<double>(i);
  EXPECT_EQ(ovGetTypedData<double>(numbers.get())[kDoubles - 1], static_cast<double>(kDoubles - 1));
  const std::size_t before = cache.keptBytes();
  numbers.reset();
  EXPECT_GE(cache.keptBytes(), before + kDoubles * sizeof(double));
  auto next = ovCreateUninitNumericArray(ovDims{kDoubles, 1}, ovClassID::Double);
  EXPECT_EQ(ovGetTypedData<double>(next.get()), values);
  EXPECT_EQ(cache.keptBytes(), before);
  // The text of strings too.
  constexpr std::size_t kUnits = std::size_t{3} << 20;
  auto text = ovCreateUninitStringArray(ovDims{2, 1}, kUnits);
  text.reset();
  EXPECT_GE(cache.keptBytes(), before + kUnits * 2);
}

TEST(ArrayMemory, SmallDataIsNotKept) {
  ovdetail::BlockCache& cache = ovdetail::BlockCache::shared();
  const std::size_t before = cache.keptBytes();
  auto numbers = ovCreateNumericArray(ovDims{std::size_t{1} << 16, 1}, ovClassID::Double);  // 512 KiB
  numbers.reset();
  EXPECT_EQ(cache.keptBytes(), before);
}

// List rows are often empty and still ask for writable data: they share one
// block instead of allocating a copy of nothing each.
TEST(ArrayMemory, EmptyArraysShareTheirBlockEvenWhenWritten) {
  auto first = ovCreateUninitNumericArray(ovDims{0, 1}, ovClassID::Int64);
  auto second = ovCreateUninitNumericArray(ovDims{1, 0}, ovClassID::Double);
  auto* a = ovGetTypedDataMutable<std::int64_t>(first.get());
  auto* b = ovGetTypedDataMutable<double>(second.get());
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(static_cast<void*>(a), static_cast<void*>(b));
  EXPECT_EQ(ovGetNumberOfElements(first.get()), 0u);
}

// Big cells free their elements on several threads: every one must go,
// whatever the thread count.
TEST(ArrayMemory, BigCellsAndStructsReleaseEveryElement) {
  for (unsigned threads : {1u, 2u}) {
    orvane::setComputationalThreadCount(threads);
    constexpr std::size_t kRows = 100000;
    const double value = 1.5;
    auto owner = std::make_shared<int>(0);
    auto cell = ovCreateCellArray(ovDims{kRows, 1});
    auto records = ovCreateStructArray(ovDims{kRows, 1}, {"a"});
    for (std::size_t i = 0; i < kRows; ++i) {
      ovReplaceCell(cell.get(), i, ovCreateNumericArrayShared(ovDims{1, 1}, ovClassID::Double, &value, owner));
      ovReplaceField(records.get(), i, "a",
                     ovCreateNumericArrayShared(ovDims{1, 1}, ovClassID::Double, &value, owner));
    }
    EXPECT_EQ(owner.use_count(), static_cast<long>(2 * kRows + 1));
    cell.reset();
    EXPECT_EQ(owner.use_count(), static_cast<long>(kRows + 1));
    records.reset();
    EXPECT_EQ(owner.use_count(), 1) << threads << " threads";
  }
  orvane::resetComputationalThreadCount();
}
