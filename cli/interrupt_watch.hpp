// A backstop for Ctrl-C: the commands check for an interrupt between pieces
// of work, but one piece (a row group being compressed, a batch being
// decoded) can take a second or more. A watcher thread sees every SIGINT;
// if the program is still running a short grace period later, it removes the
// files registered as unfinished, reports the interrupt and exits with 130.
#pragma once

#include <chrono>
#include <filesystem>

namespace ovparquet::cli {

// How long the ordinary unwinding may take before the watcher ends the
// process itself.
inline constexpr std::chrono::milliseconds kInterruptGrace{120};

// Starts the watcher (call once, after the host's SIGINT handler is in
// place; the watcher's handler passes each signal on to it).
void watchInterrupts();

// Says that the command has ended and reported how: the watcher then leaves
// the exit to the program.
void stopWatchingInterrupts() noexcept;

// Whether a SIGINT has arrived (whether or not it was handled since).
bool interruptSignalled() noexcept;

// A file removed if the watcher ends the process while it is registered.
class UnfinishedFile {
 public:
  UnfinishedFile() = default;
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  // Registers the file (one per object).
  void track(std::filesystem::path path);
  const std::filesystem::path& path() const { return mPath; }
  // Removes the file now and forgets it.
  void remove() noexcept;
  // Renames the finished file to `target` and forgets it. Atomic with
  // respect to the watcher: an interrupt that arrived before the rename
  // cancels it (InterruptError), so no finished-looking file appears.
  void publish(const std::filesystem::path& target, std::error_code& error);
  // Forgets the file without touching it (it has been consumed).
  void release() noexcept;

 private:
  std::filesystem::path mPath;
};

}  // namespace ovparquet::cli
