// Runs the built ovparquet program in a child process and collects its exit
// status, standard output and standard error.
#pragma once

#include <sys/types.h>

#include <cstdint>

#include <string>
#include <vector>

namespace ovtest {

struct RunResult {
  int status = -1;  // exit status; 128 + signal number when killed
  std::string out;
  std::string err;
};

// Path of the program under test.
std::string programPath();
// Directory of the Parquet files written by the peers for these tests.
std::string fixture(const std::string& name);

// Runs the program with these arguments to completion.
RunResult runProgram(const std::vector<std::string>& args);

// A started run that can be interrupted.
class RunningProgram {
 public:
  explicit RunningProgram(const std::vector<std::string>& args);
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  // Sends SIGINT, as Ctrl-C does.
  void interrupt();
  bool running();
  // How much the program has written to its standard output so far.
  std::uintmax_t outputBytes() const;
  RunResult wait();

 private:
  pid_t mPid = -1;
  std::string mOutPath;
  std::string mErrPath;
  bool mDone = false;
  int mStatus = -1;
};

// Splits CSV text into records of fields (quotes handled).
std::vector<std::vector<std::string>> parseCsv(const std::string& text);
// Lines of a text, without the newlines.
std::vector<std::string> lines(const std::string& text);

}  // namespace ovtest
