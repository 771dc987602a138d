// info of several files: one line per file from its footer, and the totals.
#include "info_views.hpp"
#include "output.hpp"
#include "per_file.hpp"
#include "table_builder.hpp"
#include "text.hpp"

#include <ovparquet/core/info/FileLayout.hpp>
#include <ovparquet/host/redact.hpp>

#include <iostream>

namespace ovparquet::cli {

namespace info = orvane::io::parquet::core::info;

namespace {

// The folder (up to and including a '/') that every name starts with; the
// table shows the names below it, so that a narrow terminal cuts no file name.
std::string commonFolder(const std::vector<std::string>& names) {
  if (names.size() < 2) return {};
  std::string prefix = names.front();
  for (const auto& name : names) {
    std::size_t same = 0;
    while (same < prefix.size() && same < name.size() && prefix[same] == name[same]) ++same;
    prefix.resize(same);
  }
  const auto slash = prefix.rfind('/');
  return slash == std::string::npos ? std::string() : prefix.substr(0, slash + 1);
}

}  // namespace

int showFileList(const GlobalOptions& global, const std::vector<std::string>& files) {
  const auto outcomes = runPerFile<info::FileSummary>(
      files, false, "Reading footers", [](const std::string& file) { return info::readFileSummary(toHost(file)); });
  std::vector<std::string> names, writers;
  std::vector<std::int64_t> rows, rowGroups, variables, bytes;
  for (const auto& o : outcomes) {
    if (!o.value) continue;
    names.push_back(orvane::redactLocationSecrets(o.location));
    writers.push_back(o.value->createdBy);
    rows.push_back(o.value->numRows);
    rowGroups.push_back(o.value->numRowGroups);
    variables.push_back(o.value->numVariables);
    bytes.push_back(o.value->fileSize);
  }
  const auto sum = [](const std::vector<std::int64_t>& v) {
    std::int64_t total = 0;
    for (const auto x : v) total += x;
    return total;
  };
  // When no file could be read there is nothing to show but the failures.
  if (names.empty()) return reportFailures(outcomes);
  switch (global.format) {
    case Format::Json: {
      nlohmann::ordered_json j;
      j["files"] = nlohmann::ordered_json::array();
      for (std::size_t i = 0; i < names.size(); ++i) {
        j["files"].push_back({{"filename", names[i]},
                              {"createdBy", writers[i]},
                              {"numRows", rows[i]},
                              {"numRowGroups", rowGroups[i]},
                              {"numVariables", variables[i]},
                              {"fileSize", bytes[i]}});
      }
      j["totalRows"] = sum(rows);
      j["totalRowGroups"] = sum(rowGroups);
      j["totalBytes"] = sum(bytes);
      writeJson(std::cout, j);
      break;
    }
    case Format::Csv:
      writeCsvRow(std::cout, {"filename", "createdBy", "numRows", "numRowGroups", "numVariables", "fileSize"});
      for (std::size_t i = 0; i < names.size(); ++i) {
        writeCsvRow(std::cout, {csvField(names[i]), csvField(writers[i]), std::to_string(rows[i]),
                                std::to_string(rowGroups[i]), std::to_string(variables[i]), std::to_string(bytes[i])});
      }
      break;
    case Format::Table: {
      const std::string folder = commonFolder(names);
      std::vector<std::string> shown;
      for (const auto& name : names) shown.push_back(name.substr(folder.size()));
      if (!folder.empty()) std::cout << "In " << folder << '\n';
      TableBuilder()
          .text("File", shown)
          .numbers("Rows", rows)
          .numbers("Row groups", rowGroups)
          .numbers("Variables", variables)
          .numbers("Bytes", bytes)
          .text("Created by", writers)
          .write(std::cout, 0);
      std::cout << '\n'
                << groupedNumber(sum(rows)) << " rows, " << groupedNumber(sum(rowGroups)) << " row groups, "
                << humanBytes(sum(bytes)) << " in " << groupedNumber(static_cast<std::int64_t>(names.size()))
                << (names.size() == 1 ? " file" : " files") << '\n';
      break;
    }
  }
  return reportFailures(outcomes);
}

}  // namespace ovparquet::cli
