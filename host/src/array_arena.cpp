// Where array headers come from: one scalable allocation each, or a slot in
// the slab of the thread's array arena.
#include <ovparquet/host/array_arena.hpp>

#include "array_impl.hpp"
#include "scalable_memory.hpp"

#include <atomic>
#include <cstring>
#include <new>

// A slab: its count of live references (the arena that fills it, and each
// header in it), then the headers.
namespace ovdetail {
struct ArenaSlab {
  std::atomic<std::size_t> references{1};
};
}  // namespace ovdetail

namespace {

// Every header is preceded by the slab it lives in, or null when it has an
// allocation of its own.
constexpr std::size_t kPrefix = sizeof(void*);
static_assert(alignof(ovArray) <= kPrefix);

// Thousands of headers each. Slabs are host blocks: those of one read serve
// the next (block_cache.hpp).
constexpr std::size_t kSlabBytes = std::size_t{1} << 20;
constexpr std::size_t kFirstSlot = (sizeof(ovdetail::ArenaSlab) + kPrefix - 1) / kPrefix * kPrefix;

thread_local ovArrayArena* tCurrent = nullptr;

void release(ovdetail::ArenaSlab* slab) noexcept {
  if (slab->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    slab->~ArenaSlab();
    ovdetail::freeBlock(slab, kSlabBytes);
  }
}

ovdetail::ArenaSlab* slabBefore(void* header) noexcept {
  ovdetail::ArenaSlab* slab;
  std::memcpy(&slab, static_cast<char*>(header) - kPrefix, sizeof slab);
  return slab;
}

}  // namespace

ovArrayArena::ovArrayArena() noexcept : mOuter(tCurrent) { tCurrent = this; }

ovArrayArena::~ovArrayArena() {
  tCurrent = mOuter;
  if (mSlab != nullptr) release(mSlab);
}

void* ovArrayArena::take(std::size_t size) {
  const std::size_t slot = kPrefix + (size + kPrefix - 1) / kPrefix * kPrefix;
  if (kFirstSlot + slot > kSlabBytes) return nullptr;
  if (mSlab == nullptr || mUsed + slot > kSlabBytes) {
    void* block = ovdetail::allocateBlock(kSlabBytes);
    auto* slab = ::new (block) ovdetail::ArenaSlab;
    if (mSlab != nullptr) release(mSlab);
    mSlab = slab;
    mUsed = kFirstSlot;
  }
  char* at = reinterpret_cast<char*>(mSlab) + mUsed;
  mUsed += slot;
  mSlab->references.fetch_add(1, std::memory_order_relaxed);
  std::memcpy(at, &mSlab, sizeof mSlab);
  return at + kPrefix;
}

void* ovArray::operator new(std::size_t size) {
  if (tCurrent != nullptr) {
    if (void* header = tCurrent->take(size)) return header;
  }
  void* block = ovdetail::scalableAllocate(kPrefix + size, kPrefix);
  std::memset(block, 0, kPrefix);
  return static_cast<char*>(block) + kPrefix;
}

void ovArray::operator delete(void* header) noexcept {
  if (header == nullptr) return;
  if (ovdetail::ArenaSlab* slab = slabBefore(header)) {
    release(slab);
  } else {
    ovdetail::scalableFree(static_cast<char*>(header) - kPrefix);
  }
}
