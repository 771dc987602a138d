// Test support: a virtual-file-system scheme that serves local files and
// counts what is read from them, to check that an operation reads only what
// it needs (only the footer, only the selected columns, ...).
//
//   ovtest::CountingFiles counting;             // registers "counted"
//   Reader reader(counting.location(path));     // "counted:///tmp/.../x.parquet"
//   EXPECT_LT(counting.bytesRead(), 70000);
//   EXPECT_FALSE(counting.touched(path, chunkBegin, chunkEnd));
//
// Counts are of bytes handed to the stream above the file handle (what the
// reader consumed), not of what the handle fetched from the disk with its
// own read-ahead. A byte read twice counts twice.
#pragma once

#include <ovparquet/host/ustring.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ovtest {

class CountingFiles {
 public:
  // What was done with one opened file.
  struct FileCounts {
    std::string path;          // the local path
    std::int64_t bytesRead = 0;
    std::int64_t bytesWritten = 0;
    std::int64_t readCalls = 0;  // bulk reads and single-character reads
    std::int64_t seeks = 0;      // repositionings (asking for the position is not one)
    // The byte ranges [begin, end) read, merged and sorted.
    std::vector<std::pair<std::int64_t, std::int64_t>> readRanges;
  };

  // Registers the opener of `scheme`, replacing whatever served it before:
  // "<scheme>:///absolute/path" opens that local file in the mode asked for.
  // Counts start at zero.
  explicit CountingFiles(std::string scheme = "counted");
  ~CountingFiles();
  CountingFiles(const CountingFiles&) = delete;
  CountingFiles& operator=(const CountingFiles&) = delete;

  // The location under this scheme of a local path (absolute or relative to
  // the working directory).
  orvane::ustring location(const std::string& localPath) const;

  // Bytes read from all files opened through the scheme since the last reset.
  std::int64_t bytesRead() const;
  // Bytes read from one local path, over every opening of it.
  std::int64_t bytesRead(const std::string& localPath) const;
  // Number of files opened since the last reset.
  std::size_t openCount() const;
  // Every opening since the last reset, in order.
  std::vector<FileCounts> files() const;
  // Whether any byte of [begin, end) of this local path was read.
  bool touched(const std::string& localPath, std::int64_t begin, std::int64_t end) const;
  // Forgets everything counted so far (files still open count afresh).
  void reset();

  struct State;

 private:
  std::string mScheme;
  std::shared_ptr<State> mState;
};

}  // namespace ovtest
