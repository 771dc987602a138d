// ovparquet: describe, count, read, filter and write Parquet files from the
// command line. The command line is parsed here; each command lives in its
// own file.
#include "commands.hpp"
#include "errors.hpp"
#include "option_values.hpp"
#include "options.hpp"
#include "progress.hpp"
#include "read_command.hpp"
#include "splits_command.hpp"
#include "stats_command.hpp"
#include "text.hpp"

#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/log.hpp>
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
#include <set>

#ifndef OVPARQUET_VERSION
#define OVPARQUET_VERSION "unknown"
#endif

namespace ovparquet::cli {
namespace {

// The codecs the writer can write (Arrow writes no LZO).
const std::set<std::string> kCompressions = {"brotli", "gzip", "lz4", "snappy", "uncompressed", "zstd"};
const std::set<std::string> kEncodings = {"dictionary", "plain"};

std::string versionText() {
  return std::string("ovparquet ") + OVPARQUET_VERSION + " (Apache Arrow " + ::arrow::GetBuildInfo().version_string +
         ")";
}

// "zstd", "a=zstd,b=gzip" or "zstd,a=gzip" (a default and exceptions).
PerVariableSetting perVariableSetting(const std::string& text, const std::string& option,
                                      const std::set<std::string>& allowed) {
  PerVariableSetting setting;
  std::set<std::string> seen;
  for (const auto& item : splitList(text)) {
    const auto eq = item.find('=');
    const std::string value = eq == std::string::npos ? item : trim(item.substr(eq + 1));
    if (allowed.count(value) == 0) {
      throw usageError("InvalidOption", "Option " + option + " does not know '" + value + "'; use one of: " +
                                            join(std::vector<std::string>(allowed.begin(), allowed.end())) + ".");
    }
    if (eq == std::string::npos) {
      if (!setting.all.empty()) throw usageError("InvalidOption", "Option " + option + " has two settings for all variables.");
      setting.all = value;
    } else {
      const std::string name = trim(item.substr(0, eq));
      if (name.empty() || !seen.insert(name).second) {
        throw usageError("InvalidOption", "Option " + option + " has an empty or repeated variable name in '" + text + "'.");
      }
      setting.byVariable.emplace_back(name, value);
    }
  }
  return setting;
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
  app.add_option("--format", format,
                 "Output format: table (readable), json, ndjson (one JSON record per line) or csv")
      ->check(CLI::IsMember({"table", "json", "ndjson", "csv"}))
      ->default_str("table");
  app.add_option("--threads", threads, "Computational thread count (at least 1)")->check(CLI::Range(1u, 1u << 16));
  app.add_option("--log", logMask, "Diagnostic log mask: sum of 2 detail, 4 statistics, 8 information, "
                                   "16 exceptions, 32 scope entry, 64 scope exit, 128 return values (e.g. 254 or 0xfe)");
  app.add_option("--log-file", global.logFile, "Write the diagnostic log to this file instead of standard error");
  app.add_flag("-v,--verbose", global.verbose, "Say more on standard error (skipped row groups, counts)");

  // info
  InfoOptions info;
  auto* infoCmd = app.add_subcommand("info", "Summary of a file: variables, types, row groups");
  infoCmd->add_option("file", info.file, "Parquet file")->required();

  // count
  CountOptions count;
  auto* countCmd = app.add_subcommand("count", "Row-group counts of files (directories: the *.parquet files below)");
  countCmd->add_option("paths", count.paths, "Files or directories")->required();
  countCmd->add_flag("--sequential", count.sequential, "Count one file after another instead of in parallel");

  ReadCommand read(app);
  StatsCommand stats(app);

  // write
  WriteOptions write;
  std::string compression;
  std::string encoding;
  std::string heights;
  std::optional<std::int64_t> rowGroupLength;
  std::string delimiter = ",";
  bool noStoreSchema = false;
  bool noCompliant = false;
  auto* writeCmd = app.add_subcommand("write", "Write a Parquet file from a CSV or Parquet file");
  writeCmd->add_option("output", write.output, "Parquet file to write")->required();
  writeCmd->add_option("--from", write.input, "Input file (CSV or Parquet)")->required();
  writeCmd->add_option("--input-format", write.inputFormat, "auto (by the file name), csv or parquet")
      ->check(CLI::IsMember({"auto", "csv", "parquet"}));
  writeCmd->add_option("--delimiter", delimiter, "CSV field separator (one character)");
  writeCmd->add_option("--compression", compression,
                       "Codec for all variables (zstd) or per variable (a=zstd,b=gzip): brotli, gzip, lz4, "
                       "snappy, uncompressed, zstd");
  writeCmd->add_option("--encoding", encoding, "dictionary or plain, for all variables or per variable (a=plain)");
  writeCmd->add_option("--version", write.version, "Parquet format version: 1.0 or 2.0")
      ->check(CLI::IsMember({"1.0", "2.0"}));
  auto* lengthOpt =
      writeCmd->add_option("--row-group-length", rowGroupLength, "Most rows in one row group")->check(CLI::PositiveNumber);
  writeCmd->add_option("--row-group-heights", heights, "Rows of each row group, in order (100,200,...)")
      ->excludes(lengthOpt);
  writeCmd->add_flag("--no-store-schema", noStoreSchema, "Do not store the Arrow schema in the file");
  writeCmd->add_flag("--no-compliant-nested", noCompliant, "Name list elements 'item' instead of 'element'");

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
    if (!compression.empty()) write.compression = perVariableSetting(compression, "--compression", kCompressions);
    if (!encoding.empty()) write.encoding = perVariableSetting(encoding, "--encoding", kEncodings);
    if (!heights.empty()) write.rowGroupHeights = countList<std::int64_t>(heights, "--row-group-heights", 1);
    write.rowGroupLength = rowGroupLength;
    if (delimiter.size() != 1) {
      throw usageError("InvalidOption", "Option --delimiter needs one character, not '" + delimiter + "'.");
    }
    write.delimiter = delimiter[0];
    write.storeSchema = !noStoreSchema;
    write.compliantNested = !noCompliant;

    // The host services every command runs on.
    if (global.threads) orvane::setComputationalThreadCount(*global.threads);
    if (!global.logFile.empty()) orvane::log::logToFile(global.logFile);
    if (global.logMask) orvane::log::setMask(*global.logMask);

    if (infoCmd->parsed()) return runInfo(global, info);
    if (countCmd->parsed()) return runCount(global, count);
    if (read.parsed()) return read.run(global);
    if (stats.parsed()) return stats.run(global);
    if (splits.parsed()) return splits.run(global);
    return runWrite(global, write);
  });
}

}  // namespace
}  // namespace ovparquet::cli

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  orvane::markSignalThread();
  orvane::installInterruptHandler();
  ovparquet::cli::installWarningHandler();
  const int status = ovparquet::cli::run(argc, argv);
  std::cout.flush();
  orvane::log::flush();
  return status;
}
