// The cache of big host blocks: reuse by size class, its capacity, and
// blocks going back to the system when idle or when the cache goes.
#include "block_cache.hpp"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using ovdetail::BlockCache;
using namespace std::chrono_literals;

constexpr std::size_t kMiB = std::size_t{1} << 20;

// Whether the process still has the pages of [block, block + bytes).
bool mapped(void* block, std::size_t bytes) {
  std::vector<unsigned char> resident((bytes + 4095) / 4096 + 1);
  return mincore(block, bytes, resident.data()) == 0 || errno != ENOMEM;
}

bool becomesUnmapped(void* block, std::size_t bytes) {
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (mapped(block, bytes)) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

}  // namespace

TEST(BlockCache, SizesAreWholePagesInClassesAnEighthApart) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  EXPECT_EQ(BlockCache::blockSize(1), page);
  EXPECT_EQ(BlockCache::blockSize(kMiB), kMiB);
  EXPECT_EQ(BlockCache::blockSize(kMiB + 1), kMiB + kMiB / 8);
  EXPECT_EQ(BlockCache::blockSize(9 * kMiB), 9 * kMiB);
  EXPECT_EQ(BlockCache::blockSize(9 * kMiB + 1), 10 * kMiB);
  for (std::size_t bytes = 1; bytes < 300 * kMiB; bytes = bytes * 3 / 2 + 777) {
    const std::size_t size = BlockCache::blockSize(bytes);
    EXPECT_EQ(size % page, 0u) << bytes;
    EXPECT_GE(size, bytes);
    EXPECT_LE(size, bytes + bytes / 8 + page) << bytes;
  }
  EXPECT_THROW(BlockCache::blockSize(static_cast<std::size_t>(-1)), std::bad_alloc);
}

TEST(BlockCache, AGivenBlockServesTheNextOfItsClassOnly) {
  BlockCache cache(64 * kMiB, 1h);
  void* block = cache.take(3 * kMiB);
  std::memset(block, 7, 3 * kMiB);
  cache.give(block, 3 * kMiB);
  EXPECT_EQ(cache.keptBytes(), BlockCache::blockSize(3 * kMiB));
  void* other = cache.take(5 * kMiB);
  EXPECT_NE(other, block);
  EXPECT_EQ(cache.keptBytes(), BlockCache::blockSize(3 * kMiB));
  // A little less is still the same class.
  void* again = cache.take(3 * kMiB - 1000);
  EXPECT_EQ(again, block);
  EXPECT_EQ(cache.keptBytes(), 0u);
  cache.give(again, 3 * kMiB - 1000);
  cache.give(other, 5 * kMiB);
  EXPECT_EQ(cache.keptBytes(), BlockCache::blockSize(3 * kMiB) + BlockCache::blockSize(5 * kMiB));
}

TEST(BlockCache, KeepsNoMoreThanItsCapacityAndLetsTheOldestGoFirst) {
  BlockCache cache(3 * kMiB, 1h);
  std::vector<void*> blocks;
  for (int i = 0; i < 4; ++i) blocks.push_back(cache.take(kMiB));
  for (void* block : blocks) {
    cache.give(block, kMiB);
    std::this_thread::sleep_for(2ms);  // distinct ages
  }
  EXPECT_EQ(cache.keptBytes(), 3 * kMiB);
  EXPECT_FALSE(mapped(blocks[0], kMiB));
  for (int i = 1; i < 4; ++i) EXPECT_TRUE(mapped(blocks[i], kMiB)) << i;
  // Bigger than the whole capacity: not kept at all.
  void* big = cache.take(4 * kMiB);
  cache.give(big, 4 * kMiB);
  EXPECT_EQ(cache.keptBytes(), 3 * kMiB);
  EXPECT_FALSE(mapped(big, 4 * kMiB));
}

TEST(BlockCache, IdleBlocksGoBackToTheSystem) {
  BlockCache cache(64 * kMiB, 50ms);
  void* block = cache.take(2 * kMiB);
  std::memset(block, 1, 2 * kMiB);
  cache.give(block, 2 * kMiB);
  EXPECT_TRUE(becomesUnmapped(block, 2 * kMiB));
  EXPECT_EQ(cache.keptBytes(), 0u);
  // The cache goes on keeping blocks after its first expiry.
  void* next = cache.take(2 * kMiB);
  cache.give(next, 2 * kMiB);
  EXPECT_TRUE(becomesUnmapped(next, 2 * kMiB));
}

TEST(BlockCache, DestructionReturnsEveryKeptBlock) {
  void* block = nullptr;
  {
    BlockCache cache(64 * kMiB, 1h);
    block = cache.take(2 * kMiB);
    cache.give(block, 2 * kMiB);
    EXPECT_TRUE(mapped(block, 2 * kMiB));
  }
  EXPECT_FALSE(mapped(block, 2 * kMiB));
}

// Threads taking and giving at once each get blocks of their own.
TEST(BlockCache, ThreadsNeverShareABlock) {
  BlockCache cache(16 * kMiB, 20ms);
  auto work = [&](unsigned char mark) {
    for (int i = 0; i < 200; ++i) {
      const std::size_t bytes = kMiB * static_cast<std::size_t>(1 + i % 3);
      auto* block = static_cast<unsigned char*>(cache.take(bytes));
      std::memset(block, mark, bytes);
      for (std::size_t j = 0; j < bytes; j += 4096) ASSERT_EQ(block[j], mark);
      cache.give(block, bytes);
    }
  };
  std::thread first(work, 1), second(work, 2);
  first.join();
  second.join();
  EXPECT_LE(cache.keptBytes(), 16 * kMiB);
}
