// Where the data of host arrays lives, and how big arrays are freed.
#include "array_impl.hpp"
#include "scalable_memory.hpp"

#include <ovparquet/host/parallel.hpp>

#include <arrow/memory_pool.h>

#include <cstdint>
#include <limits>
#include <new>

namespace ovdetail {
namespace {

constexpr std::size_t kAlignment = 64;

// From this size on, blocks come from Arrow's pool. The scalable allocator
// keeps smaller freed blocks for reuse, but maps and unmaps bigger ones on
// every call, so each read would fault the text of its string columns in
// afresh; Arrow's pool reuses much of it. (Below this size the scalable
// allocator does better, above all with one thread: Arrow's pool returns
// pages the moment a thread's next read is slow to ask for them again.)
constexpr std::size_t kPoolBlock = std::size_t{64} << 20;

// Cells and structs with this many slots free their elements in parallel:
// a nested column of millions of rows would otherwise free them one by one.
constexpr std::size_t kParallelSlots = 32768;
constexpr std::size_t kSlotsPerTask = 8192;

}  // namespace

void* allocateBlock(std::size_t bytes) {
  if (bytes == 0) bytes = 1;
  if (bytes >= kPoolBlock) {
    if (bytes > static_cast<std::size_t>(std::numeric_limits<std::int64_t>::max())) {
      throw std::bad_alloc();
    }
    std::uint8_t* block = nullptr;
    if (!arrow::default_memory_pool()->Allocate(static_cast<std::int64_t>(bytes), kAlignment, &block).ok()) {
      throw std::bad_alloc();
    }
    return block;
  }
  return scalableAllocate(bytes, kAlignment);
}

void freeBlock(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) return;
  if (bytes == 0) bytes = 1;
  if (bytes >= kPoolBlock) {
    arrow::default_memory_pool()->Free(static_cast<std::uint8_t*>(block), static_cast<std::int64_t>(bytes),
                                       kAlignment);
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
