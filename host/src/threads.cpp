#include <ovparquet/host/error.hpp>
#include <ovparquet/host/threads.hpp>

#include <atomic>
#include <cstdint>
#include <thread>

namespace orvane {
namespace {

unsigned hardwareThreads() noexcept {
  const unsigned n = std::thread::hardware_concurrency();
  return n == 0 ? 1u : n;
}

std::atomic<unsigned>& threadCount() {
  static std::atomic<unsigned> count{hardwareThreads()};
  return count;
}

}  // namespace

unsigned computationalThreadCount() noexcept { return threadCount().load(std::memory_order_relaxed); }

void setComputationalThreadCount(unsigned count) {
  if (count == 0) throwHostError("InvalidThreadCount", static_cast<std::uint64_t>(count));
  threadCount().store(count, std::memory_order_relaxed);
}

void resetComputationalThreadCount() noexcept {
  threadCount().store(hardwareThreads(), std::memory_order_relaxed);
}

}  // namespace orvane
