// A backstop for Ctrl-C: the commands check for an interrupt between pieces
// of work, but one piece (a row group being compressed, a batch being
// decoded) can take a second or more. A watcher thread sees every SIGINT;
// if the program is still running a short grace period later, it removes the
// temporaries of the outputs registered as unfinished, reports the interrupt
// and exits with 130.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>

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

// An output being written through the file system's hidden temporaries
// beside it (".NAME.<suffix>", renamed over NAME when the writer closes): if
// the watcher ends the process while the output is registered, it removes
// those temporaries, never the output itself.
class UnfinishedOutput {
 public:
  UnfinishedOutput() = default;
  ~UnfinishedOutput() { release(); }
  UnfinishedOutput(const UnfinishedOutput&) = delete;
  UnfinishedOutput& operator=(const UnfinishedOutput&) = delete;

  // Registers the output (one per object).
  void track(std::filesystem::path output);
  // Runs `close`, which commits the output, and forgets it. Atomic with
  // respect to the watcher: an interrupt that arrived before cancels it
  // (InterruptError), so no finished-looking file appears after the report.
  void commit(const std::function<void()>& close);
  // Forgets the output.
  void release() noexcept;

 private:
  std::filesystem::path mPath;
};

// A scratch file of the program's own (a copy of standard input, say): the
// watcher removes it if it ends the process while the file is registered.
class ScratchFile {
 public:
  ScratchFile() = default;
  ~ScratchFile() { remove(); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  // Registers the file (one per object).
  void track(std::filesystem::path path);
  // Removes the file now and forgets it.
  void remove() noexcept;

 private:
  std::filesystem::path mPath;
};

}  // namespace ovparquet::cli
