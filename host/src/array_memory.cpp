// Where the data of host arrays lives, and how big arrays are freed.
#include "array_impl.hpp"
#include "block_cache.hpp"
#include "scalable_memory.hpp"

#include <ovparquet/host/parallel.hpp>

namespace ovdetail {
namespace {

constexpr std::size_t kAlignment = 64;

// From this size on, blocks are kept for the next read (block_cache.hpp).
// oneTBB's scalable allocator serves smaller ones well, and keeps them
// itself.
constexpr std::size_t kCachedBlock = std::size_t{1} << 20;

// Cells and structs with this many slots free their elements in parallel:
// a nested column of millions of rows would otherwise free them one by one.
constexpr std::size_t kParallelSlots = 32768;
constexpr std::size_t kSlotsPerTask = 8192;

}  // namespace

void* allocateBlock(std::size_t bytes) {
  // Sanitized builds take every block from the system allocator, which the
  // sanitizers see.
  if (!kSanitizedMemory && bytes >= kCachedBlock) return BlockCache::shared().take(bytes);
  return scalableAllocate(bytes, kAlignment);
}

void freeBlock(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) return;
  if (!kSanitizedMemory && bytes >= kCachedBlock) {
    BlockCache::shared().give(block, bytes);
  } else {
    scalableFree(block);
  }
}

void releaseSlots(std::vector<unique_ovarray_ptr>& slots) noexcept {
  const std::size_t count = slots.size();
  const unsigned threads = orvane::computationalThreadCount();
  if (count >= kParallelSlots && threads > 1) {
    try {
      orvane::withComputationalThreads([&] {
        orvane::parallelFor(0, (count + kSlotsPerTask - 1) / kSlotsPerTask, [&](std::size_t task) {
          const std::size_t end = std::min(count, (task + 1) * kSlotsPerTask);
          for (std::size_t i = task * kSlotsPerTask; i < end; ++i) slots[i].reset();
        });
      });
    } catch (...) {
      // Whatever the tasks left is freed below, in order.
    }
  }
  for (auto& slot : slots) slot.reset();
}

}  // namespace ovdetail
