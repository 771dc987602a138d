// The small allocations of host arrays: oneTBB's scalable allocator, or the
// system's in sanitized builds. The sanitizers intercept malloc and its
// kin, not oneTBB's allocator: memory from it would be invisible to them,
// its reuse across threads a race to ThreadSanitizer.
#pragma once

#include <oneapi/tbb/scalable_allocator.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define OVPARQUET_SANITIZED_MEMORY 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OVPARQUET_SANITIZED_MEMORY 1
#endif

namespace ovdetail {

#if defined(OVPARQUET_SANITIZED_MEMORY)
inline constexpr bool kSanitizedMemory = true;
#else
inline constexpr bool kSanitizedMemory = false;
#endif

// `bytes` (at least one) aligned to `alignment` (a power of two, at least
// that of a pointer); throws std::bad_alloc.
inline void* scalableAllocate(std::size_t bytes, std::size_t alignment) {
  if (bytes == 0) bytes = 1;
  void* p = nullptr;
  if constexpr (kSanitizedMemory) {
    if (posix_memalign(&p, alignment, bytes) != 0) p = nullptr;
  } else {
    p = scalable_aligned_malloc(bytes, alignment);
  }
  if (p == nullptr) throw std::bad_alloc();
  return p;
}

inline void scalableFree(void* p) noexcept {
  if constexpr (kSanitizedMemory) {
    std::free(p);
  } else {
    scalable_aligned_free(p);
  }
}

// For shared counts and other small objects of the standard library.
template <typename T>
using ScalableAllocator = std::conditional_t<kSanitizedMemory, std::allocator<T>, tbb::scalable_allocator<T>>;

}  // namespace ovdetail
