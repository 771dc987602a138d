#include "block_cache.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <new>
#include <vector>

namespace ovdetail {
namespace {

std::size_t pageSize() {
  static const std::size_t page = [] {
    const long size = sysconf(_SC_PAGESIZE);
    return size > 0 ? static_cast<std::size_t>(size) : std::size_t{4096};
  }();
  return page;
}

void unmap(void* block, std::size_t size) noexcept { ::munmap(block, size); }

}  // namespace

BlockCache::BlockCache(std::size_t capacity, std::chrono::milliseconds idle) : mCapacity(capacity), mIdle(idle) {}

BlockCache::~BlockCache() {
  {
    std::lock_guard lock(mMutex);
    mStopping = true;
  }
  mWake.notify_all();
  if (mExpiry.joinable()) mExpiry.join();
  for (auto& [size, kept] : mKept) unmap(kept.block, size);
}

BlockCache& BlockCache::shared() {
  static BlockCache* const cache = [] {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const std::size_t physical =
        pages > 0 ? static_cast<std::size_t>(pages) * pageSize() : std::size_t{8} << 30;
    return new BlockCache(std::min(physical / 8, std::size_t{4} << 30), std::chrono::seconds(5));
  }();
  return *cache;
}

std::size_t BlockCache::blockSize(std::size_t bytes) {
  const std::size_t page = pageSize();
  if (bytes == 0) bytes = 1;
  if (bytes > std::numeric_limits<std::size_t>::max() / 4) throw std::bad_alloc();
  const std::size_t pages = (bytes + page - 1) / page * page;
  const int top = std::bit_width(pages) - 1;
  const std::size_t step = std::max(page, std::size_t{1} << std::max(0, top - 3));
  return (pages + step - 1) / step * step;
}

void* BlockCache::take(std::size_t bytes) {
  const std::size_t size = blockSize(bytes);
  {
    std::lock_guard lock(mMutex);
    auto [first, last] = mKept.equal_range(size);
    if (first != last) {
      auto newest = std::prev(last);
      void* block = newest->second.block;
      mKept.erase(newest);
      mKeptBytes -= size;
      return block;
    }
  }
  void* block = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) throw std::bad_alloc();
  return block;
}

void BlockCache::give(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) return;
  const std::size_t size = blockSize(bytes);
  if (size > mCapacity) {
    unmap(block, size);
    return;
  }
  std::unique_lock lock(mMutex);
  try {
    if (!mExpiry.joinable()) mExpiry = std::thread([this] { expireIdle(); });
    mKept.emplace(size, Kept{block, std::chrono::steady_clock::now()});
  } catch (...) {
    // No thread to return it later, or no memory to note it: return it now.
    lock.unlock();
    unmap(block, size);
    return;
  }
  const bool wasEmpty = mKeptBytes == 0;
  mKeptBytes += size;
  // Over capacity: the blocks idle longest go first. Rare enough that a
  // search of the whole cache for each is cheap.
  while (mKeptBytes > mCapacity) {
    auto oldest = oldestKept();
    mKeptBytes -= oldest->first;
    unmap(oldest->second.block, oldest->first);
    mKept.erase(oldest);
  }
  lock.unlock();
  if (wasEmpty) mWake.notify_all();
}

std::multimap<std::size_t, BlockCache::Kept>::iterator BlockCache::oldestKept() {
  return std::min_element(mKept.begin(), mKept.end(),
                          [](const auto& a, const auto& b) { return a.second.since < b.second.since; });
}

std::size_t BlockCache::keptBytes() const {
  std::lock_guard lock(mMutex);
  return mKeptBytes;
}

void BlockCache::expireIdle() {
  std::unique_lock lock(mMutex);
  std::vector<std::pair<void*, std::size_t>> expired;
  while (!mStopping) {
    if (mKept.empty()) {
      mWake.wait(lock);
      continue;
    }
    auto oldest = oldestKept();
    mWake.wait_until(lock, oldest->second.since + mIdle);
    if (mStopping) break;
    const auto now = std::chrono::steady_clock::now();
    expired.clear();
    for (auto it = mKept.begin(); it != mKept.end();) {
      if (now - it->second.since >= mIdle) {
        try {
          expired.emplace_back(it->second.block, it->first);
        } catch (...) {
          unmap(it->second.block, it->first);
        }
        mKeptBytes -= it->first;
        it = mKept.erase(it);
      } else {
        ++it;
      }
    }
    // Unmapping takes a while for big blocks; reads go on meanwhile.
    lock.unlock();
    for (auto [block, size] : expired) unmap(block, size);
    lock.lock();
  }
}

}  // namespace ovdetail
