// ovparquet: describe, count, read, filter and write Parquet files from the
// command line. The command line is parsed here; each command lives in its
// own file.
#include "count_command.hpp"
#include "errors.hpp"
#include "global_options.hpp"
#include "info_command.hpp"
#include "interrupt_watch.hpp"
#include "progress.hpp"
#include "read_command.hpp"
#include "schema_command.hpp"
#include "splits_command.hpp"
#include "stats_command.hpp"
#include "write_command.hpp"

#include <ovparquet/host/error.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/log.hpp>
#include <ovparquet/host/message.hpp>
#include <ovparquet/host/warning.hpp>

#include <arrow/config.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

#ifndef OVPARQUET_VERSION
#define OVPARQUET_VERSION "unknown"
#endif

namespace ovparquet::cli {
namespace {

std::string versionText() {
  return std::string("ovparquet ") + OVPARQUET_VERSION + " (Apache Arrow " + ::arrow::GetBuildInfo().version_string +
         ")";
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

  GlobalOptionsWiring globalOptions(app);

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
    const GlobalOptions global = globalOptions.apply();
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
