// Where `write` puts its file. Nothing appears under the output's name
// unless the write succeeds: the writer writes to a hidden sibling
// ".OUT.partial-PID", which is renamed to OUT only after a successful close
// and removed on any failure or interrupt (after the writer is gone, since
// the writer completes a file it has begun when it is destroyed). A remote
// output (an object store has no rename) is written to a local temporary
// file first and copied up whole.
#pragma once

#include "interrupt_watch.hpp"

#include <ovparquet/host/message.hpp>

#include <filesystem>
#include <string>

namespace ovparquet::cli {

class OutputTarget {
 public:
  explicit OutputTarget(const std::string& output);
  ~OutputTarget() { discard(); }
  OutputTarget(const OutputTarget&) = delete;
  OutputTarget& operator=(const OutputTarget&) = delete;

  // The name to give the writer.
  const std::string& writeTo() const { return mWriteTo; }

  // Moves the finished file into place.
  void commit();
  // Removes what was written (call after the writer is gone).
  void discard() noexcept { mPartial.remove(); }

  // A message of the library names the file it was given; the user gave
  // the output's name.
  orvane::Message rename(orvane::Message message) const;

 private:
  std::string mOutput;
  std::string mWriteTo;
  bool mRemote = false;
  std::filesystem::path mFinal;
  UnfinishedFile mPartial;
};

}  // namespace ovparquet::cli
