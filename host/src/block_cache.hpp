// Big blocks of host array data, kept mapped for a while after they are
// freed.
//
// A read allocates the same big blocks as the read before it. A block the
// process still has costs nothing to write; a fresh one costs a page fault
// and the kernel's zeroing for every page, which was a third of the CPU
// time of reading strings. The allocators underneath give blocks this big
// back to the system at once or soon after (oneTBB's cache lets them go
// once nothing of their size is in use, Arrow's jemalloc purges them within
// a second), so every read paid for its pages again.
//
// A kept block goes back to the system once it has been idle for a while,
// on a thread of the cache's own, or as soon as keeping it would put more
// than the capacity in the cache (the oldest goes first).
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <thread>

namespace ovdetail {

class BlockCache {
 public:
  BlockCache(std::size_t capacity, std::chrono::milliseconds idle);
  // Returns every kept block to the system.
  ~BlockCache();
  BlockCache(const BlockCache&) = delete;
  BlockCache& operator=(const BlockCache&) = delete;

  // The process's cache: an eighth of the physical memory at most (and at
  // most 4 GiB), blocks idle for 5 seconds go back. Never destroyed, so
  // arrays that outlive static destruction can still be freed.
  static BlockCache& shared();

  // A page-aligned block of at least `bytes`: a kept block of the same size
  // class, or fresh pages. Throws std::bad_alloc.
  void* take(std::size_t bytes);
  // Takes back a block that take(bytes) returned, with the same `bytes`.
  void give(void* block, std::size_t bytes) noexcept;

  // What the cache keeps now, in bytes.
  std::size_t keptBytes() const;

  // The size of the block that take(bytes) returns: whole pages, rounded up
  // to a class an eighth of a power of two wide, so that blocks of nearly
  // the same size serve each other.
  static std::size_t blockSize(std::size_t bytes);

 private:
  struct Kept {
    void* block;
    std::chrono::steady_clock::time_point since;
  };

  void expireIdle();
  // The block idle longest (the cache is not empty; the caller holds mMutex).
  std::multimap<std::size_t, Kept>::iterator oldestKept();

  const std::size_t mCapacity;
  const std::chrono::milliseconds mIdle;
  mutable std::mutex mMutex;
  std::condition_variable mWake;
  // By block size; among equal sizes, the most recently given last.
  std::multimap<std::size_t, Kept> mKept;
  std::size_t mKeptBytes = 0;
  bool mStopping = false;
  std::thread mExpiry;
};

}  // namespace ovdetail
