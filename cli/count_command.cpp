// count PATH...: row-group counts of many files, in parallel by default.
#include "commands.hpp"
#include "errors.hpp"
#include "output.hpp"
#include "progress.hpp"
#include "text.hpp"

#include <ovparquet/core/info/RowGroupQueries.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/redact.hpp>
#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/threads.hpp>

#include <tbb/task_arena.h>

#include <algorithm>
#include <iostream>

namespace ovparquet::cli {
namespace {

namespace info = orvane::io::parquet::core::info;

// The last component of a path, or of an IRI without its query.
std::string baseName(const std::string& name) {
  const std::size_t scheme = name.find("://");
  const std::string path = scheme == std::string::npos ? name : name.substr(0, name.find_first_of("?#", scheme));
  return path.substr(path.rfind('/') + 1);
}

bool isParquetName(const std::string& base) {
  if (base.size() < 8 || base.front() == '.') return false;
  std::string ext = base.substr(base.size() - 8);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ext == ".parquet";
}

// The files a path stands for: a directory (or object-store prefix) its
// *.parquet files below it, in name order, hidden files left out; anything
// else itself (the library reports what cannot be opened).
std::vector<std::string> expand(const std::string& path) {
  const orvane::vfs::Listing listing = orvane::vfs::listLocation(toHost(path));
  if (!listing.isDirectory) return {path};
  std::vector<std::string> files;
  for (const auto& file : listing.files) {
    std::string name = orvane::ustring_to_utf8(file);
    const std::string base = baseName(name);
    if (!isParquetName(base)) continue;
    files.push_back(std::move(name));
  }
  if (files.empty()) throw CliError("NoParquetFiles", "No Parquet files (*.parquet) found under '" + path + "'.");
  return files;
}

}  // namespace

int runCount(const GlobalOptions& global, const CountOptions& options) {
  std::vector<std::string> files;
  for (const auto& p : options.paths) {
    auto more = expand(p);
    files.insert(files.end(), more.begin(), more.end());
  }
  std::vector<ustring> names = toHost(files);

  // Batches let the bar move and an interrupt stop the work between them.
  const std::size_t batch = std::max<std::size_t>(16, 4 * orvane::computationalThreadCount());
  std::vector<std::int64_t> counts;
  counts.reserve(names.size());
  ProgressBar progress("Counting", names.size());
  tbb::task_arena arena(static_cast<int>(orvane::computationalThreadCount()));
  for (std::size_t start = 0; start < names.size(); start += batch) {
    orvane::throwIfInterruptPending();
    const auto first = names.begin() + static_cast<std::ptrdiff_t>(start);
    const auto last = names.begin() + static_cast<std::ptrdiff_t>(std::min(names.size(), start + batch));
    std::vector<ustring> part(first, last);
    std::vector<std::int64_t> result;
    if (options.sequential) {
      result = info::getNumRowGroupsSync(std::move(part));
    } else {
      arena.execute([&] { result = info::getNumRowGroupsAsync(std::move(part)); });
    }
    counts.insert(counts.end(), result.begin(), result.end());
    progress.update(counts.size());
  }
  orvane::throwIfInterruptPending();
  progress.finish();

  // Names are shown without any credentials they were given with.
  for (auto& file : files) file = orvane::redactLocationSecrets(std::move(file));
  names = toHost(files);
  std::int64_t total = 0;
  for (const auto c : counts) total += c;
  if (global.verbose) {
    std::cerr << "counted " << files.size() << " files " << (options.sequential ? "sequentially" : "in parallel")
              << '\n';
  }
  switch (global.format) {
    case Format::Json: {
      nlohmann::ordered_json j;
      j["files"] = nlohmann::ordered_json::array();
      for (std::size_t i = 0; i < files.size(); ++i) {
        j["files"].push_back({{"filename", files[i]}, {"numRowGroups", counts[i]}});
      }
      j["totalRowGroups"] = total;
      writeJson(std::cout, j);
      break;
    }
    case Format::Csv:
      writeCsvRow(std::cout, {"filename", "numRowGroups"});
      for (std::size_t i = 0; i < files.size(); ++i) writeCsvRow(std::cout, {csvField(files[i]), std::to_string(counts[i])});
      break;
    case Format::Table: {
      std::vector<unique_ovarray_ptr> columns;
      columns.push_back(ovCreateStringColumn(names));
      columns.push_back(ovCreateNumericArrayFromVector<std::int64_t>({counts.size(), 1}, counts));
      const auto table = ovCreateTable(std::move(columns), {u"File", u"Row groups"});
      writeTable(std::cout, table.get(), 0);
      std::cout << '\n'
                << groupedNumber(total) << " row groups in " << groupedNumber(static_cast<std::int64_t>(files.size()))
                << (files.size() == 1 ? " file" : " files") << '\n';
      break;
    }
  }
  return 0;
}

}  // namespace ovparquet::cli
