// Parallel loops on oneTBB's threads, bounded by the computational thread
// count, that ThreadSanitizer builds can check.
#pragma once

#include <ovparquet/host/threads.hpp>

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

#include <cstddef>
#include <utility>

#if defined(__SANITIZE_THREAD__)
#define OVPARQUET_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define OVPARQUET_THREAD_SANITIZER 1
#endif
#endif

#if defined(OVPARQUET_THREAD_SANITIZER)
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#endif

namespace orvane {

// oneTBB hands tasks between its threads inside its own library, which
// ThreadSanitizer builds do not instrument. These tell ThreadSanitizer what
// oneTBB guarantees: what one thread did before handOver(address) happens
// before what another does after takeOver(address). No-ops otherwise.
#if defined(OVPARQUET_THREAD_SANITIZER)
inline void handOver(void* address) noexcept { __tsan_release(address); }
inline void takeOver(void* address) noexcept { __tsan_acquire(address); }
#else
inline void handOver(void*) noexcept {}
inline void takeOver(void*) noexcept {}
#endif

// Runs `work` in an arena of the computational thread count, which bounds
// the threads of every parallel loop inside it, whatever arena the caller
// runs in.
template <typename Work>
void withComputationalThreads(Work&& work) {
  tbb::task_arena arena(static_cast<int>(computationalThreadCount()));
  arena.execute(std::forward<Work>(work));
}

// Calls body(i) for every i in [begin, end), on the threads of the caller's
// arena. What the caller did before the loop happens before every call, and
// every call before what the caller does after it; the calls are not
// ordered among themselves. The first exception a call throws cancels the
// loop and is rethrown here.
//
// The loop runs over a blocked range, so that each task holds its own copy
// of the loop's closure (made where oneTBB allocates the task) rather than a
// reference to the caller's stack, which a task would read before it could
// take over the caller's mark.
template <typename Body>
void parallelFor(std::size_t begin, std::size_t end, const Body& body) {
  char marks[2];  // addresses only: into the loop, out of it
  handOver(&marks[0]);
  tbb::parallel_for(tbb::blocked_range<std::size_t>(begin, end),
                    [&marks, &body](const tbb::blocked_range<std::size_t>& range) {
                      takeOver(&marks[0]);
                      for (std::size_t i = range.begin(); i != range.end(); ++i) body(i);
                      handOver(&marks[1]);
                    });
  takeOver(&marks[1]);
}

}  // namespace orvane
