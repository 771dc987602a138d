// Test support: scratch directories and whole-file reads and writes.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

namespace ovtest {

// A fresh directory, removed with everything in it when the object goes.
class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "ovparquet-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    mPath = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return mPath; }
  std::string file(const std::string& name) const { return mPath + "/" + name; }

  // The names in the directory, sorted, hidden ones included.
  std::vector<std::string> entries() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(mPath)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::string mPath;
};

// `size` pseudo-random bytes, the same for the same seed.
inline std::string pattern(std::size_t size, unsigned seed = 1) {
  std::string bytes(size, '\0');
  std::mt19937 random(seed);
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

inline void writeBytes(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!out) throw std::runtime_error("cannot write " + path);
}

inline std::string readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace ovtest
