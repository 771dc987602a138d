#include "global_options.hpp"

#include "errors.hpp"

#include <ovparquet/host/log.hpp>
#include <ovparquet/host/memory.hpp>
#include <ovparquet/host/threads.hpp>

#include <cerrno>
#include <cstdlib>

namespace ovparquet::cli {
namespace {

Format formatOf(const std::string& text) {
  if (text == "json" || text == "ndjson") return Format::Json;
  if (text == "csv") return Format::Csv;
  return Format::Table;
}

std::uint32_t logMaskOf(const std::string& text) {
  char* end = nullptr;
  errno = 0;
  const unsigned long mask = std::strtoul(text.c_str(), &end, 0);
  if (end == text.c_str() || *end != '\0' || errno == ERANGE || mask > 0xFFFFFFFFul) {
    throw usageError("InvalidOption", "Option --log needs a number (a mask of severities), not '" + text + "'.");
  }
  return static_cast<std::uint32_t>(mask);
}

std::uint64_t memoryLimitOf(const std::string& text) {
  const auto limit = orvane::parseByteSize(text);
  if (!limit || *limit == 0) {
    throw usageError("InvalidOption", "Option --memory-limit needs a size of at least 1 byte, like 2GiB or "
                                      "512MiB, not '" + text + "'.");
  }
  return *limit;
}

}  // namespace

GlobalOptionsWiring::GlobalOptionsWiring(CLI::App& app) {
  app.add_option("--format", mFormat,
                 "Output format: table (readable), json, ndjson (one JSON record per line) or csv")
      ->check(CLI::IsMember({"table", "json", "ndjson", "csv"}))
      ->default_str("table");
  app.add_option("--threads", mThreads, "Computational thread count (at least 1)")->check(CLI::Range(1u, 1u << 16));
  app.add_option("--log", mLogMask, "Diagnostic log mask: sum of 2 detail, 4 statistics, 8 information, "
                                    "16 exceptions, 32 scope entry, 64 scope exit, 128 return values (e.g. 254 or 0xfe)");
  app.add_option("--memory-limit", mMemoryLimit,
                 "Refuse reads whose file declares more than this much memory (2GiB, 512MiB; default: 4GiB or "
                 "half the physical memory, whichever is less)");
  app.add_option("--log-file", mOptions.logFile, "Write the diagnostic log to this file instead of standard error");
  app.add_flag("-v,--verbose", mOptions.verbose, "Say more on standard error (skipped row groups, counts)");
}

GlobalOptions GlobalOptionsWiring::apply() {
  mOptions.format = formatOf(mFormat);
  mOptions.ndjson = mFormat == "ndjson";
  mOptions.threads = mThreads;
  if (!mLogMask.empty()) mOptions.logMask = logMaskOf(mLogMask);
  std::optional<std::uint64_t> readLimit;
  if (!mMemoryLimit.empty()) readLimit = memoryLimitOf(mMemoryLimit);

  if (mOptions.threads) orvane::setComputationalThreadCount(*mOptions.threads);
  if (readLimit) orvane::setReadMemoryLimit(*readLimit);
  if (!mOptions.logFile.empty()) orvane::log::logToFile(mOptions.logFile);
  if (mOptions.logMask) orvane::log::setMask(*mOptions.logMask);
  return mOptions;
}

}  // namespace ovparquet::cli
