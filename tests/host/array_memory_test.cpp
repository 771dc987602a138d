#include <ovparquet/host/array.hpp>
#include <ovparquet/host/threads.hpp>

#include <arrow/memory_pool.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

TEST(ArrayMemory, LargeDataComesFromArrowsPoolAndGoesBack) {
  arrow::MemoryPool* pool = arrow::default_memory_pool();
  const std::int64_t before = pool->bytes_allocated();
  constexpr std::size_t kDoubles = std::size_t{9} << 20;  // 72 MiB
  auto numbers = ovCreateUninitNumericArray(ovDims{kDoubles, 1}, ovClassID::Double);
  EXPECT_GE(pool->bytes_allocated() - before, static_cast<std::int64_t>(kDoubles * sizeof(double)));
  constexpr std::size_t kUnits = std::size_t{33} << 20;  // 66 MiB
  auto text = ovCreateUninitStringArray(ovDims{2, 1}, kUnits);
  EXPECT_GE(pool->bytes_allocated() - before, static_cast<std::int64_t>(kDoubles * sizeof(double) + kUnits * 2));
  // Written in full and read back: the memory is the array's own.
  auto* values = ovGetTypedDataMutable<double>(numbers.get());
  for (std::size_t i = 0; i < kDoubles; ++i) values[i] = static_cast<double>(i);
  EXPECT_EQ(ovGetTypedData<double>(numbers.get())[kDoubles - 1], static_cast<double>(kDoubles - 1));
  numbers.reset();
  text.reset();
  EXPECT_EQ(pool->bytes_allocated(), before);
}

TEST(ArrayMemory, SmallerDataStaysOutOfArrowsPool) {
  arrow::MemoryPool* pool = arrow::default_memory_pool();
  const std::int64_t before = pool->bytes_allocated();
  auto numbers = ovCreateNumericArray(ovDims{std::size_t{1} << 20, 1}, ovClassID::Double);  // 8 MiB
  EXPECT_EQ(pool->bytes_allocated(), before);
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
