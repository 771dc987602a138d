// count PATH...: the footers of many files, read in parallel by default.
#include "count_command.hpp"

#include "errors.hpp"
#include "locations.hpp"
#include "output.hpp"
#include "per_file.hpp"
#include "text.hpp"

#include <ovparquet/core/info/FileLayout.hpp>
#include <ovparquet/host/redact.hpp>

#include <iostream>

namespace ovparquet::cli {
namespace {

namespace info = orvane::io::parquet::core::info;

struct Totals {
  std::int64_t files = 0;
  std::int64_t rows = 0;
  std::int64_t rowGroups = 0;
  std::int64_t bytes = 0;
};

// The files that could be read, one entry each, and their totals.
struct Counts {
  std::vector<std::string> names;
  std::vector<std::int64_t> rows, rowGroups, bytes;
  Totals total;
};

void writeCountJson(const Counts& counts) {
  nlohmann::ordered_json j;
  j["files"] = nlohmann::ordered_json::array();
  for (std::size_t i = 0; i < counts.names.size(); ++i) {
    j["files"].push_back({{"filename", counts.names[i]},
                          {"numRowGroups", counts.rowGroups[i]},
                          {"numRows", counts.rows[i]},
                          {"fileSize", counts.bytes[i]}});
  }
  j["totalRowGroups"] = counts.total.rowGroups;
  j["totalRows"] = counts.total.rows;
  j["totalBytes"] = counts.total.bytes;
  writeJson(std::cout, j);
}

void writeCountCsv(const Counts& counts) {
  writeCsvRow(std::cout, {"filename", "numRowGroups", "numRows", "fileSize"});
  for (std::size_t i = 0; i < counts.names.size(); ++i) {
    writeCsvRow(std::cout, {csvField(counts.names[i]), std::to_string(counts.rowGroups[i]),
                            std::to_string(counts.rows[i]), std::to_string(counts.bytes[i])});
  }
}

void writeCountTable(const Counts& counts) {
  const std::size_t n = counts.names.size();
  std::vector<unique_ovarray_ptr> columns;
  columns.push_back(ovCreateStringColumn(toHost(counts.names)));
  columns.push_back(ovCreateNumericArrayFromVector<std::int64_t>({n, 1}, counts.rows));
  columns.push_back(ovCreateNumericArrayFromVector<std::int64_t>({n, 1}, counts.rowGroups));
  columns.push_back(ovCreateNumericArrayFromVector<std::int64_t>({n, 1}, counts.bytes));
  const auto table = ovCreateTable(std::move(columns), {u"File", u"Rows", u"Row groups", u"Bytes"});
  writeTable(std::cout, table.get(), 0);
  const Totals& total = counts.total;
  std::cout << '\n'
            << groupedNumber(total.rows) << " rows, " << groupedNumber(total.rowGroups) << " row groups in "
            << groupedNumber(total.files) << (total.files == 1 ? " file" : " files") << ", "
            << humanBytes(total.bytes) << '\n';
}

}  // namespace

CountCommand::CountCommand(CLI::App& app) {
  mCommand = app.add_subcommand(
      "count", "Rows, row groups and bytes of files (directories: the *.parquet files below; quoted globs)");
  mCommand->add_option("paths", mPaths, "Files, directories, s3 prefixes or quoted glob patterns")->required();
  mCommand->add_flag("--sequential", mSequential, "Read one file after another instead of in parallel");
}

int CountCommand::run(const GlobalOptions& global) const {
  const auto files = expandLocations(mPaths);
  const auto outcomes = runPerFile<info::FileSummary>(
      files, mSequential, "Counting", [](const std::string& file) { return info::readFileSummary(toHost(file)); });

  // Names are shown without any credentials they were given with.
  Counts counts;
  for (const auto& outcome : outcomes) {
    if (!outcome.value) continue;
    const info::FileSummary& summary = *outcome.value;
    counts.names.push_back(orvane::redactLocationSecrets(outcome.location));
    counts.rows.push_back(summary.numRows);
    counts.rowGroups.push_back(summary.numRowGroups);
    counts.bytes.push_back(summary.fileSize);
    counts.total.files += 1;
    counts.total.rows += summary.numRows;
    counts.total.rowGroups += summary.numRowGroups;
    counts.total.bytes += summary.fileSize;
  }
  if (global.verbose) {
    std::cerr << "read the footers of " << files.size() << " files " << (mSequential ? "sequentially" : "in parallel")
              << '\n';
  }
  // When no file could be read there is nothing to show but the failures.
  if (counts.names.empty() && !files.empty()) return reportFailures(outcomes);
  switch (global.format) {
    case Format::Json: writeCountJson(counts); break;
    case Format::Csv: writeCountCsv(counts); break;
    case Format::Table: writeCountTable(counts); break;
  }
  return reportFailures(outcomes);
}

}  // namespace ovparquet::cli
