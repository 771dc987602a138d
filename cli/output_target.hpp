// Where `write` puts its file, and how nothing appears under the output's
// name unless the write succeeds (Ctrl-C included).
//
// The writer writes to the output's name through the file system's
// commit-on-close temporary: a hidden sibling renamed over the output when
// the writer closes, or for an object store an upload completed only then.
// On any failure or interrupt the command calls ParquetWriter::discard()
// before the writer is gone, since a destroyed writer completes its file.
// Against a Ctrl-C that the ordinary unwinding does not answer in time, a
// local output is registered with the interrupt watcher, which removes its
// hidden temporaries before it ends the process; the close runs under the
// watcher's lock, so the output is committed either before the watcher acts
// or not at all.
#pragma once

#include "interrupt_watch.hpp"

#include <ovparquet/core/write/ParquetWriter.hpp>

#include <string>

namespace ovparquet::cli {

class OutputTarget {
 public:
  explicit OutputTarget(const std::string& output);

  // The name to give the writer.
  const std::string& writeTo() const { return mOutput; }

  // Closes the writer, which moves the finished file into place; raises
  // InterruptError instead when an interrupt has arrived.
  void commit(orvane::io::parquet::core::write::ParquetWriter& writer);

 private:
  std::string mOutput;
  UnfinishedOutput mTemporaries;
};

}  // namespace ovparquet::cli
