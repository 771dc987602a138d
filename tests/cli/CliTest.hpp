// Shared pieces of the command-line tests.
#pragma once

#include "Program.hpp"

#include <ovparquet/host/ustring.hpp>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

namespace ovtest {

using json = nlohmann::ordered_json;

inline orvane::ustring u(const std::string& s) { return orvane::utf8_to_ustring(s); }
inline std::string utf8(const orvane::ustring& s) { return orvane::ustring_to_utf8(s); }

// Runs the program and expects exit status 0.
inline RunResult ok(const std::vector<std::string>& args) {
  RunResult r = runProgram(args);
  EXPECT_EQ(r.status, 0) << "stderr: " << r.err;
  return r;
}

inline json okJson(const std::vector<std::string>& args) {
  const RunResult r = ok(args);
  return json::parse(r.out);
}

// Expects one line on standard error that starts with the identifier, and
// the exit status.
inline void expectFailure(const RunResult& r, int status, const std::string& identifier) {
  EXPECT_EQ(r.status, status) << "stderr: " << r.err << "\nstdout: " << r.out;
  EXPECT_EQ(r.err.rfind(identifier + ": ", 0), 0u) << r.err;
  ASSERT_FALSE(r.err.empty());
  EXPECT_EQ(r.err.back(), '\n');
  EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

// "skipped K of N row groups" from --verbose output: {K, N}.
inline std::pair<int, int> skipped(const std::string& err) {
  std::smatch m;
  if (!std::regex_search(err, m, std::regex("skipped (\\d+) of (\\d+) row groups"))) return {-1, -1};
  return {std::stoi(m[1]), std::stoi(m[2])};
}

// A scratch directory removed at the end of the test.
class Scratch {
 public:
  Scratch() {
    char pattern[] = "/tmp/ovparquet-cli-test-XXXXXX";
    mPath = mkdtemp(pattern);
  }
  ~Scratch() {
    std::error_code ec;
    std::filesystem::remove_all(mPath, ec);
  }
  std::string file(const std::string& name) const { return (mPath / name).string(); }
  const std::filesystem::path& path() const { return mPath; }
  std::vector<std::string> entries() const {
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(mPath)) names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::filesystem::path mPath;
};

}  // namespace ovtest
