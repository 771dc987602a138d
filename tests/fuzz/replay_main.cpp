// Runs a fuzz target without the fuzzer: on every file named (directories
// are walked), then, with --mutants N, on N variations of those files made
// by a fixed pseudo-random sequence, so that a run is repeatable. The
// default test run replays the kept crashes and the seeds this way.
//
//   fuzz_<target>_replay [--mutants N] PATH...
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void run(const std::string& bytes) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

// Mutations of the kinds that break Parquet files: single bytes, 32-bit
// lengths and counts set to edge values, truncation and duplicated spans.
std::string mutate(std::string bytes, std::mt19937_64& random) {
  if (bytes.empty()) return bytes;
  const auto at = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
  const int edits = 1 + static_cast<int>(random() % 4);
  for (int e = 0; e < edits && !bytes.empty(); ++e) {
    switch (random() % 5) {
      case 0:
        bytes[at(bytes.size())] ^= static_cast<char>(1u << (random() % 8));
        break;
      case 1:
        bytes[at(bytes.size())] = static_cast<char>(random());
        break;
      case 2:
        if (bytes.size() >= 4) {
          static constexpr std::uint32_t kEdges[] = {0, 1, 0x7F, 0xFF, 0x7FFF, 0xFFFF, 0x7FFFFFFF, 0x80000000,
                                                     0xFFFFFFFF};
          const std::uint32_t value = kEdges[random() % std::size(kEdges)];
          std::memcpy(&bytes[at(bytes.size() - 3)], &value, 4);
        }
        break;
      case 3:
        bytes.resize(at(bytes.size()));
        break;
      default: {
        const std::size_t from = at(bytes.size());
        const std::size_t length = std::min<std::size_t>(1 + at(64), bytes.size() - from);
        bytes.insert(at(bytes.size()), bytes.substr(from, length));
      }
    }
  }
  return bytes;
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  long mutants = 0;
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--mutants") == 0 && i + 1 < argc) {
      mutants = std::strtol(argv[++i], nullptr, 10);
      continue;
    }
    const std::filesystem::path path(argv[i]);
    if (std::filesystem::is_directory(path)) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        if (entry.is_regular_file() && entry.path().filename().string()[0] != '.') files.push_back(entry.path());
      }
    } else {
      files.push_back(path);
    }
  }
  std::sort(files.begin(), files.end());
  std::vector<std::string> inputs;
  for (const auto& file : files) {
    std::printf("replaying %s\n", file.c_str());
    std::fflush(stdout);
    inputs.push_back(readFile(file));
    run(inputs.back());
  }
  if (mutants > 0 && !inputs.empty()) {
    // A crash leaves the input it met here, to be kept and replayed.
    const auto last = std::filesystem::temp_directory_path() /
                      ("ovparquet-" + std::filesystem::path(argv[0]).filename().string() + "-last-mutant");
    std::printf("%ld mutants; the one running is kept in %s\n", mutants, last.c_str());
    std::mt19937_64 random(20240611);
    for (long k = 0; k < mutants; ++k) {
      const std::string input = mutate(inputs[static_cast<std::size_t>(k) % inputs.size()], random);
      std::ofstream(last, std::ios::binary | std::ios::trunc).write(input.data(), static_cast<std::streamsize>(input.size()));
      run(input);
    }
    std::filesystem::remove(last);
  }
  std::printf("%zu files, %ld mutants: no crash\n", files.size(), mutants);
  return 0;
}
