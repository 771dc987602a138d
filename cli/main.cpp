// ovparquet: describe, count, read, filter and write Parquet files from the
// command line. The command line is parsed here; each command lives in its
// own file.
#include "count_command.hpp"
#include "errors.hpp"
#include "info_command.hpp"
#include "interrupt_watch.hpp"
#include "options.hpp"
#include "progress.hpp"
#include "read_command.hpp"
#include "schema_command.hpp"
#include "splits_command.hpp"
#include "stats_command.hpp"
#include "text.hpp"
#include "write_command.hpp"

#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/log.hpp>
#include <ovparquet/host/memory.hpp>
#include <ovparquet/host/message.hpp>
#include <ovparquet/host/threads.hpp>
#include <ovparquet/host/warning.hpp>

#include <arrow/config.h>

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <limits>

#ifndef OVPARQUET_VERSION
#define OVPARQUET_VERSION "unknown"
#endif

namespace ovparquet::cli {
namespace {

std::string versionText() {
  return std::string("ovparquet ") + OVPARQUET_VERSION + " (Apache Arrow " + ::arrow::GetBuildInfo().version_string +
         ")";
}

Format formatOf(const std::string& text) {
  if (text == "json" || text == "ndjson") return Format::Json;
  if (text == "csv") return Format::Csv;
  return Format::Table;
}

void installWarningHandler() {
  orvane::setWarningHandler([](const orvane::Message& message) {
    std::string text;
    try {
      text = orvane::formatMessage(message);
    } catch (const std::exception&) {
      text = message.identifier();
    }
    clearProgressLine();
    std::fflush(stdout);
    std::fprintf(stderr, "Warning: %s\n", text.c_str());
    std::fflush(stderr);
  });
}

int run(int argc, char** argv) {
  CLI::App app("Describe, count, read, filter and write Apache Parquet files.", "ovparquet");
  app.require_subcommand(1);
  app.fallthrough();
  app.set_version_flag("--version", versionText(), "Print the program's version and exit");

  GlobalOptions global;
  std::string format = "table";
  std::optional<unsigned> threads;
  std::string logMask;
  std::string memoryLimit;
  app.add_option("--format", format,
                 "Output format: table (readable), json, ndjson (one JSON record per line) or csv")
      ->check(CLI::IsMember({"table", "json", "ndjson", "csv"}))
      ->default_str("table");
  app.add_option("--threads", threads, "Computational thread count (at least 1)")->check(CLI::Range(1u, 1u << 16));
  app.add_option("--log", logMask, "Diagnostic log mask: sum of 2 detail, 4 statistics, 8 information, "
                                   "16 exceptions, 32 scope entry, 64 scope exit, 128 return values (e.g. 254 or 0xfe)");
  app.add_option("--memory-limit", memoryLimit,
                 "Refuse reads whose file declares more than this much memory (2GiB, 512MiB; default: 4GiB or "
                 "half the physical memory, whichever is less)");
  app.add_option("--log-file", global.logFile, "Write the diagnostic log to this file instead of standard error");
  app.add_flag("-v,--verbose", global.verbose, "Say more on standard error (skipped row groups, counts)");

  InfoCommand info(app);
  SchemaCommand schema(app);
  CountCommand count(app);

  ReadCommand read(app);
  StatsCommand stats(app);

  WriteCommand write(app);
  SplitsCommand splits(app);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    clearProgressLine();
    std::string what = e.what();
    if (!what.empty() && what.back() != '.') what += '.';
    std::fprintf(stderr, "%s:InvalidUsage: %s Run 'ovparquet --help' for the usage.\n", kCliComponent,
                 what.c_str());
    return kExitUsage;
  }

  return runReporting([&]() -> int {
    // Values that CLI11 took as text.
    global.format = formatOf(format);
    global.ndjson = format == "ndjson";
    global.threads = threads;
    if (!logMask.empty()) {
      char* end = nullptr;
      errno = 0;
      const unsigned long mask = std::strtoul(logMask.c_str(), &end, 0);
      if (end == logMask.c_str() || *end != '\0' || errno == ERANGE || mask > 0xFFFFFFFFul) {
        throw usageError("InvalidOption", "Option --log needs a number (a mask of severities), not '" + logMask + "'.");
      }
      global.logMask = static_cast<std::uint32_t>(mask);
    }
    std::optional<std::uint64_t> readLimit;
    if (!memoryLimit.empty()) {
      readLimit = orvane::parseByteSize(memoryLimit);
      if (!readLimit || *readLimit == 0) {
        throw usageError("InvalidOption", "Option --memory-limit needs a size of at least 1 byte, like 2GiB or "
                                          "512MiB, not '" + memoryLimit + "'.");
      }
    }

    // The host services every command runs on.
    if (global.threads) orvane::setComputationalThreadCount(*global.threads);
    if (readLimit) orvane::setReadMemoryLimit(*readLimit);
    if (!global.logFile.empty()) orvane::log::logToFile(global.logFile);
    if (global.logMask) orvane::log::setMask(*global.logMask);

    if (info.parsed()) return info.run(global);
    if (schema.parsed()) return schema.run(global);
    if (count.parsed()) return count.run(global);
    if (read.parsed()) return read.run(global);
    if (stats.parsed()) return stats.run(global);
    if (splits.parsed()) return splits.run(global);
    return write.run(global);
  });
}

}  // namespace
}  // namespace ovparquet::cli

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  orvane::markSignalThread();
  orvane::installInterruptHandler();
  ovparquet::cli::watchInterrupts();
  ovparquet::cli::installWarningHandler();
  const int status = ovparquet::cli::run(argc, argv);
  ovparquet::cli::stopWatchingInterrupts();
  std::cout.flush();
  orvane::log::flush();
  return status;
}
