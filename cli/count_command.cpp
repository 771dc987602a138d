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
  std::vector<std::string> names;
  std::vector<std::int64_t> rows, rowGroups, bytes;
  Totals total;
  for (const auto& o : outcomes) {
    if (!o.value) continue;
    names.push_back(orvane::redactLocationSecrets(o.location));
    rows.push_back(o.value->numRows);
    rowGroups.push_back(o.value->numRowGroups);
    bytes.push_back(o.value->fileSize);
    total.files += 1;
    total.rows += o.value->numRows;
    total.rowGroups += o.value->numRowGroups;
    total.bytes += o.value->fileSize;
  }
  if (global.verbose) {
    std::cerr << "read the footers of " << files.size() << " files " << (mSequential ? "sequentially" : "in parallel")
              << '\n';
  }
  // When no file could be read there is nothing to show but the failures.
  if (names.empty() && !files.empty()) return reportFailures(outcomes);
  switch (global.format) {
    case Format::Json: {
      nlohmann::ordered_json j;
      j["files"] = nlohmann::ordered_json::array();
      for (std::size_t i = 0; i < names.size(); ++i) {
        j["files"].push_back(
            {{"filename", names[i]}, {"numRowGroups", rowGroups[i]}, {"numRows", rows[i]}, {"fileSize", bytes[i]}});
      }
      j["totalRowGroups"] = total.rowGroups;
      j["totalRows"] = total.rows;
      j["totalBytes"] = total.bytes;
      writeJson(std::cout, j);
      break;
    }
    case Format::Csv:
      writeCsvRow(std::cout, {"filename", "numRowGroups", "numRows", "fileSize"});
      for (std::size_t i = 0; i < names.size(); ++i) {
        writeCsvRow(std::cout, {csvField(names[i]), std::to_string(rowGroups[i]), std::to_string(rows[i]),
                                std::to_string(bytes[i])});
      }
      break;
    case Format::Table: {
      std::vector<unique_ovarray_ptr> columns;
      columns.push_back(ovCreateStringColumn(toHost(names)));
      columns.push_back(ovCreateNumericArrayFromVector<std::int64_t>({names.size(), 1}, rows));
      columns.push_back(ovCreateNumericArrayFromVector<std::int64_t>({names.size(), 1}, rowGroups));
      columns.push_back(ovCreateNumericArrayFromVector<std::int64_t>({names.size(), 1}, bytes));
      const auto table = ovCreateTable(std::move(columns), {u"File", u"Rows", u"Row groups", u"Bytes"});
      writeTable(std::cout, table.get(), 0);
      std::cout << '\n'
                << groupedNumber(total.rows) << " rows, " << groupedNumber(total.rowGroups) << " row groups in "
                << groupedNumber(total.files) << (total.files == 1 ? " file" : " files") << ", "
                << humanBytes(total.bytes) << '\n';
      break;
    }
  }
  return reportFailures(outcomes);
}

}  // namespace ovparquet::cli
