#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>

namespace orvane {
namespace {

// Lock-free, so the signal handler may set it.
std::atomic<bool> gPending{false};
static_assert(std::atomic<bool>::is_always_lock_free);

std::atomic<std::thread::id>& signalThread() {
  static std::atomic<std::thread::id> id{};
  return id;
}

std::mutex gHandlerMutex;
bool gInstalled = false;
struct sigaction gPrevious {};

extern "C" void onSigint(int) { gPending.store(true, std::memory_order_relaxed); }

}  // namespace

void markSignalThread() noexcept { signalThread().store(std::this_thread::get_id()); }

bool isSignalThread() noexcept { return signalThread().load() == std::this_thread::get_id(); }

void installInterruptHandler() {
  std::lock_guard<std::mutex> lock(gHandlerMutex);
  if (gInstalled) return;
  struct sigaction action {};
  action.sa_handler = &onSigint;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  if (sigaction(SIGINT, &action, &gPrevious) != 0) {
    throw std::runtime_error(std::string("cannot install the SIGINT handler: ") + std::strerror(errno));
  }
  gInstalled = true;
}

void uninstallInterruptHandler() {
  std::lock_guard<std::mutex> lock(gHandlerMutex);
  if (!gInstalled) return;
  sigaction(SIGINT, &gPrevious, nullptr);
  gInstalled = false;
}

void requestInterrupt() noexcept { gPending.store(true, std::memory_order_relaxed); }

bool isInterruptPending() noexcept { return gPending.load(std::memory_order_relaxed); }

void clearInterrupt() noexcept { gPending.store(false, std::memory_order_relaxed); }

void throwIfInterruptPending() {
  if (!isSignalThread()) return;
  if (gPending.exchange(false, std::memory_order_relaxed)) throw InterruptError();
}

}  // namespace orvane
