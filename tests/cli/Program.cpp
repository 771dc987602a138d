#include "Program.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace ovtest {
namespace {

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

std::string scratchName(const char* what) {
  static std::atomic<int> counter{0};
  return (std::filesystem::temp_directory_path() /
          ("ovparquet-cli-" + std::to_string(getpid()) + "-" + std::to_string(counter++) + "." + what))
      .string();
}

int decodeStatus(int raw) {
  if (WIFEXITED(raw)) return WEXITSTATUS(raw);
  if (WIFSIGNALED(raw)) return 128 + WTERMSIG(raw);
  return -1;
}

}  // namespace

std::string programPath() { return OVPARQUET_CLI_PROGRAM; }

std::string fixture(const std::string& name) { return std::string(OVPARQUET_CLI_FIXTURES) + "/" + name; }

RunningProgram::RunningProgram(const std::vector<std::string>& args)
    : mOutPath(scratchName("out")), mErrPath(scratchName("err")) {
  std::vector<std::string> argv = {programPath()};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<char*> cargs;
  for (auto& a : argv) cargs.push_back(a.data());
  cargs.push_back(nullptr);
  mPid = fork();
  if (mPid < 0) throw std::runtime_error("fork failed");
  if (mPid == 0) {
    const int in = open("/dev/null", O_RDONLY);
    const int out = open(mOutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = open(mErrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0) _exit(127);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    // The child must react to SIGINT even if the test runner ignores it.
    signal(SIGINT, SIG_DFL);
    execv(cargs[0], cargs.data());
    _exit(127);
  }
}

RunningProgram::~RunningProgram() {
  if (!mDone && mPid > 0) {
    kill(mPid, SIGKILL);
    int raw = 0;
    waitpid(mPid, &raw, 0);
  }
  std::error_code ec;
  std::filesystem::remove(mOutPath, ec);
  std::filesystem::remove(mErrPath, ec);
}

void RunningProgram::interrupt() {
  if (!mDone) kill(mPid, SIGINT);
}

std::uintmax_t RunningProgram::outputBytes() const {
  std::error_code ec;
  const auto size = std::filesystem::file_size(mOutPath, ec);
  return ec ? 0 : size;
}

bool RunningProgram::running() {
  if (mDone) return false;
  int raw = 0;
  const pid_t r = waitpid(mPid, &raw, WNOHANG);
  if (r == mPid) {
    mDone = true;
    mStatus = decodeStatus(raw);
    return false;
  }
  return true;
}

RunResult RunningProgram::wait() {
  if (!mDone) {
    int raw = 0;
    waitpid(mPid, &raw, 0);
    mDone = true;
    mStatus = decodeStatus(raw);
  }
  return {mStatus, slurp(mOutPath), slurp(mErrPath)};
}

RunResult runProgram(const std::vector<std::string>& args) {
  RunningProgram program(args);
  return program.wait();
}

std::vector<std::vector<std::string>> parseCsv(const std::string& text) {
  std::vector<std::vector<std::string>> records;
  std::vector<std::string> record;
  std::string field;
  bool quoted = false;
  bool any = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (quoted) {
      if (c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
        field += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        field += c;
      }
    } else if (c == '"') {
      quoted = true;
      any = true;
    } else if (c == ',') {
      record.push_back(field);
      field.clear();
      any = true;
    } else if (c == '\n') {
      record.push_back(field);
      records.push_back(record);
      record.clear();
      field.clear();
      any = false;
    } else if (c != '\r') {
      field += c;
      any = true;
    }
  }
  if (any) {
    record.push_back(field);
    records.push_back(record);
  }
  return records;
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::stringstream s(text);
  std::string line;
  while (std::getline(s, line)) out.push_back(line);
  return out;
}

}  // namespace ovtest
