#include "interrupt_watch.hpp"

#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>

#include <semaphore.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace ovparquet::cli {
namespace {

sem_t gSignal;
std::atomic<bool> gSignalled{false};
bool gFinished = false;  // under filesMutex()
struct sigaction gHostAction {};

// Registered unfinished files; the watcher holds the lock while it removes
// them and exits, so a rename cannot slip in between.
std::mutex& filesMutex() {
  static std::mutex mutex;
  return mutex;
}
std::set<std::string>& unfinishedFiles() {
  static std::set<std::string> files;
  return files;
}
std::set<std::string>& scratchFiles() {
  static std::set<std::string> files;
  return files;
}

extern "C" void onInterruptSignal(int signal) {
  gSignalled.store(true, std::memory_order_relaxed);
  sem_post(&gSignal);  // async-signal-safe
  if (gHostAction.sa_handler != SIG_DFL && gHostAction.sa_handler != SIG_IGN) gHostAction.sa_handler(signal);
}

// Removes the hidden temporaries a writer of `file` may have open beside it
// (".NAME.<suffix>"; the file system layer writes there and renames on
// close).
void removeTemporaries(const std::filesystem::path& file) {
  std::error_code ignored;
  const std::string prefix = "." + file.filename().string() + ".";
  const std::filesystem::path directory = file.has_parent_path() ? file.parent_path() : ".";
  for (const auto& entry : std::filesystem::directory_iterator(directory, ignored)) {
    if (entry.path().filename().string().rfind(prefix, 0) == 0) std::filesystem::remove(entry.path(), ignored);
  }
}

void endInterrupted(const std::string& report) {
  {
    std::lock_guard<std::mutex> lock(filesMutex());
    // The command reported its own end (the interrupt, most likely).
    if (gFinished) return;
    for (const auto& file : unfinishedFiles()) removeTemporaries(file);
    for (const auto& file : scratchFiles()) std::remove(file.c_str());
    // Whatever was printed so far goes out before the report.
    std::fflush(stdout);
    std::fputs(report.c_str(), stderr);
    std::fflush(stderr);
  }
  std::_Exit(130);
}

void watch(std::string report) {
  while (sem_wait(&gSignal) != 0) {
  }
  std::this_thread::sleep_for(kInterruptGrace);
  endInterrupted(report);
}

}  // namespace

void stopWatchingInterrupts() noexcept {
  std::lock_guard<std::mutex> lock(filesMutex());
  gFinished = true;
}

void watchInterrupts() {
  static std::once_flag once;
  std::call_once(once, [] {
    sem_init(&gSignal, 0, 0);
    const orvane::InterruptError interrupt;
    const std::string report = std::string(interrupt.identifier()) + ": " + interrupt.what() + "\n";
    struct sigaction action {};
    action.sa_handler = &onInterruptSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, &gHostAction);
    std::thread(watch, report).detach();
  });
}

bool interruptSignalled() noexcept { return gSignalled.load(std::memory_order_relaxed); }

void UnfinishedOutput::track(std::filesystem::path output) {
  release();
  std::lock_guard<std::mutex> lock(filesMutex());
  mPath = std::move(output);
  unfinishedFiles().insert(mPath.string());
}

void UnfinishedOutput::release() noexcept {
  if (mPath.empty()) return;
  std::lock_guard<std::mutex> lock(filesMutex());
  unfinishedFiles().erase(mPath.string());
  mPath.clear();
}

void UnfinishedOutput::commit(const std::function<void()>& close) {
  std::lock_guard<std::mutex> lock(filesMutex());
  if (gSignalled.load(std::memory_order_relaxed)) throw orvane::InterruptError();
  close();
  if (mPath.empty()) return;
  unfinishedFiles().erase(mPath.string());
  mPath.clear();
}

void ScratchFile::track(std::filesystem::path path) {
  remove();
  std::lock_guard<std::mutex> lock(filesMutex());
  mPath = std::move(path);
  scratchFiles().insert(mPath.string());
}

void ScratchFile::remove() noexcept {
  if (mPath.empty()) return;
  std::lock_guard<std::mutex> lock(filesMutex());
  std::error_code ignored;
  std::filesystem::remove(mPath, ignored);
  scratchFiles().erase(mPath.string());
  mPath.clear();
}

}  // namespace ovparquet::cli
