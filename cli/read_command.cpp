// read PATH...: prints the data of chosen variables and row groups of one or
// more files, optionally only the rows that satisfy a --where filter. Where
// the rows go is row_sink.hpp's job.
//
// Rows stream through in batches (Arrow's record-batch reader), so a head of
// a few rows decodes only those, and an export of a large file keeps a few
// batches in memory. CSV and JSON text is formatted on every computational
// thread while the next batch is read, and written in order.
#include "read_command.hpp"

#include "batch_stream.hpp"
#include "errors.hpp"
#include "field_paths.hpp"
#include "file_errors.hpp"
#include "locations.hpp"
#include "option_values.hpp"
#include "output.hpp"
#include "row_sink.hpp"
#include "rows.hpp"
#include "standard_input.hpp"
#include "text.hpp"
#include "variables.hpp"
#include "where.hpp"
#include "where_pruning.hpp"

#include <ovparquet/convert/datatype.hpp>
#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/read/ParquetReader.hpp>
#include <ovparquet/core/read/ReadBudget.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/interrupt.hpp>
#include <ovparquet/host/threads.hpp>

#include <arrow/table.h>

#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <algorithm>
#include <future>
#include <iostream>
#include <limits>
#include <memory>

namespace ovparquet::cli {
namespace {

using orvane::io::parquet::core::read::RowGroupParquetReader;

constexpr std::int64_t kBatchRows = 65536;
constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

std::vector<double> allRowGroups(double count) {
  std::vector<double> list;
  for (double r = 1; r <= count; ++r) list.push_back(r);
  return list;
}

// The candidate row groups: by --range, --row-groups or all.
std::vector<double> candidateRowGroups(const ReadOptions& options, const RowGroupParquetReader& reader) {
  if (options.range) return reader.getRowGroups();
  if (options.rowGroups.empty()) return allRowGroups(reader.getTotalNumRowGroups());
  const double total = reader.getTotalNumRowGroups();
  for (const double r : options.rowGroups) {
    if (r > total) {
      throw CliError("RowGroupOutOfRange", "Row group " + std::to_string(static_cast<long long>(r)) +
                                               " does not exist: '" + options.file + "' has " +
                                               std::to_string(static_cast<long long>(total)) + " row groups.");
    }
  }
  return options.rowGroups;
}

// What reading several files one after another shares: one output, and the
// rows skipped and taken so far.
struct ReadState {
  std::unique_ptr<RowSink> sink;
  std::vector<std::string> output;  // the variables every file must have
  std::string firstFile;
  std::uint64_t skip = 0;
  std::uint64_t taken = 0;
  std::size_t batches = 0;
};

// The output names as paths; the file's schema is read only when a name is
// not a top-level variable.
std::vector<FieldPath> outputPaths(const std::vector<std::string>& output, const std::vector<ustring>& fileNames,
                                   const ustring& file, const std::string& fileText) {
  std::vector<FieldPath> paths;
  for (const auto& name : output) {
    if (variableIndex(fileNames, name) < 0) {
      const orvane::io::parquet::core::info::ParquetInfo info(file);
      return resolveFieldPaths(output, *info.getArrowSchema(), fileText);
    }
    paths.push_back({name, name, {}, nullptr});
  }
  return paths;
}

// Checks the filter's literals against the host types of its variables and
// record fields before anything is read.
void checkFilterTypes(const WhereNode& filter, const std::vector<FieldPath>& filterPaths,
                      const std::vector<ustring>& fileNames, const std::vector<std::string>& types) {
  const auto typeOf = [&](const std::string& name) -> std::string {
    const int index = variableIndex(fileNames, name);
    if (index >= 0) return types[static_cast<std::size_t>(index)];
    for (const auto& p : filterPaths) {
      if (p.text == name && p.type) return orvane::io::arrow::core::to_orvane_datatype(p.type).value_or("");
    }
    return "";
  };
  checkComparable(filter, typeOf);
  // A record field has no statistics to refuse it: its type is checked here.
  for (const auto& p : filterPaths) {
    if (p.fields.empty() || !isCompared(filter, p.text)) continue;
    const std::string type = typeOf(p.text);
    if (!isComparableType(type)) {
      throw CliError("UnsupportedWhereVariable",
                     "Field '" + p.text + "' of type " + (type.empty() ? p.type->ToString() : type) +
                         " cannot be compared in --where: only numbers, logicals, texts, categoricals, datetimes "
                         "and durations can (any field can be tested with 'is missing').");
    }
  }
}

// Appends the rows of options.file.
void readFile(const GlobalOptions& global, const ReadOptions& options, const std::optional<WhereNode>& filter,
              ReadState& state) {
  const ustring file = toHost(options.file);

  // The footer answers the metadata and statistics questions; data is read
  // by the batch stream below.
  const auto reader = options.range
                          ? std::make_unique<RowGroupParquetReader>(file, options.range->first, options.range->second)
                          : std::make_unique<RowGroupParquetReader>(file, std::vector<double>{});
  const std::vector<double> candidates = candidateRowGroups(options, *reader);

  const auto fileNames = reader->getVariableNames();
  const std::vector<std::string> output = options.vars.empty() ? toUtf8(fileNames) : options.vars;
  if (!state.sink) {
    state.sink = std::make_unique<RowSink>(global, output);
    state.output = output;
    state.firstFile = options.file;
  } else if (output != state.output) {
    throw CliError("DifferentVariables", "'" + options.file + "' has the variables " + join(output) + ", not " +
                                             join(state.output) + " as '" + state.firstFile + "' has.");
  }
  const std::vector<FieldPath> paths = outputPaths(output, fileNames, file, options.file);
  // The top-level variables to read: those of the output, then the filter's.
  std::vector<std::string> selection;
  for (const auto& p : paths) {
    if (std::find(selection.begin(), selection.end(), p.variable) == selection.end()) selection.push_back(p.variable);
  }
  // The filter's variables and record fields not among the output's.
  std::vector<FieldPath> filterOnly;
  if (filter) {
    const auto filterPaths = outputPaths(variablesOf(*filter), fileNames, file, options.file);
    checkFilterTypes(*filter, filterPaths, fileNames, reader->getVariableTypes());
    for (const auto& p : filterPaths) {
      if (std::find(selection.begin(), selection.end(), p.variable) == selection.end()) selection.push_back(p.variable);
      if (std::find(output.begin(), output.end(), p.text) == output.end()) filterOnly.push_back(p);
    }
  }
  const bool project = reachesInside(paths) || reachesInside(filterOnly);

  // Row groups that statistics prove empty are not read.
  std::vector<double> list = candidates;
  if (filter) {
    std::vector<std::string> notes;
    const auto empty = provenEmptyRowGroups(*reader, *filter, candidates, notes);
    list.clear();
    for (std::size_t k = 0; k < candidates.size(); ++k) {
      if (!empty[k]) list.push_back(candidates[k]);
    }
    if (global.verbose) {
      for (const auto& n : notes) std::cerr << n << '\n';
      std::cerr << "skipped " << candidates.size() - list.size() << " of " << candidates.size() << " row groups\n";
    }
  }

  // Rows of the list, per row group, from the footer.
  const auto heights = reader->getRowGroupHeights();
  const auto heightOf = [&](double r) -> std::uint64_t {
    const auto i = static_cast<std::size_t>(r) - 1;
    return i < heights.size() ? heights[i] : 0;
  };

  // --offset: whole row groups before it are not read when no filter
  // decides which rows count.
  std::uint64_t& skip = state.skip;
  if (!filter) {
    std::size_t first = 0;
    while (first < list.size() && skip >= heightOf(list[first])) skip -= heightOf(list[first++]);
    list.erase(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(first));
  }

  // How many rows to print: --head in every format; the table view stops at
  // --max-rows (0: all) when no head is given, and counts the rest.
  std::uint64_t limit = options.head.value_or(kNoLimit);
  const bool tableCut = global.format == Format::Table && !options.head && options.maxRows != 0;
  if (tableCut) limit = options.maxRows;

  std::int64_t batchRows = kBatchRows;
  if (!filter && limit != kNoLimit) {
    batchRows = static_cast<std::int64_t>(std::clamp<std::uint64_t>(skip + limit, 1, kBatchRows));
  }

  std::vector<int> groups;
  for (const double r : list) groups.push_back(static_cast<int>(r) - 1);
  RowSink& sink = *state.sink;
  std::uint64_t& taken = state.taken;
  std::uint64_t seen = 0;  // rows the stream delivered
  std::size_t& batches = state.batches;
  // A filtered table view reads on to count the matching rows not shown.
  const bool countAll = tableCut && filter.has_value();
  if (limit > 0 && !groups.empty()) {
    // The stream holds one row group at a time.
    namespace read = orvane::io::parquet::core::read;
    const auto& metadata = reader->getMetadata();
    read::checkReadBudget(file, metadata, groups, read::leafColumnsOf(*metadata.schema(), toHost(selection)),
                          read::Holding::OneAtATime);
    BatchStream stream(file, groups, toHost(selection), batchRows);
    // The next batch is read and converted to host arrays on another thread
    // while the current one is filtered, formatted and written.
    struct Converted {
      std::shared_ptr<::arrow::RecordBatch> batch;
      unique_ovarray_ptr host;
    };
    const auto fetch = [&stream, &paths, &filterOnly, project, &file] {
      Converted next;
      next.batch = stream.nextArrow();
      if (!next.batch) return next;
      if (project) next.batch = projectBatch(next.batch, paths, filterOnly);
      auto table = ::arrow::Table::FromRecordBatches({next.batch});
      if (!table.ok()) throw CliError("InternalError", table.status().message());
      next.host = orvane::io::parquet::core::read::arrow_to_orvane(*table, file);
      return next;
    };
    auto pending = std::async(std::launch::async, fetch);
    while (true) {
      orvane::throwIfInterruptPending();
      auto [batch, host] = pending.get();
      if (!batch) break;
      ++batches;
      seen += static_cast<std::uint64_t>(batch->num_rows());
      const std::size_t rows = ovTableNumRows(host.get());
      std::vector<std::size_t> kept = !filter ? rowRange(0, rows) : matchingRows(host.get(), *filter);
      const auto dropped = static_cast<std::size_t>(std::min<std::uint64_t>(skip, kept.size()));
      kept.erase(kept.begin(), kept.begin() + static_cast<std::ptrdiff_t>(dropped));
      skip -= dropped;
      const std::uint64_t room = limit - taken;
      if (kept.size() > room) {
        if (tableCut) sink.addUnshown(kept.size() - room);
        kept.resize(static_cast<std::size_t>(room));
      }
      const bool done = taken + kept.size() >= limit && !countAll;
      if (!done) pending = std::async(std::launch::async, fetch);
      orvane::throwIfInterruptPending();
      if (!kept.empty() || (batches == 1 && global.format == Format::Table)) sink.add(host.get(), batch, kept);
      taken += kept.size();
      if (done) break;
    }
    if (tableCut && !filter) {
      // Rows not read at all are counted from the row-group heights.
      std::uint64_t total = 0;
      for (const double r : list) total += heightOf(r);
      sink.addUnshown(total - std::min(total, seen));
    }
  }
}

// Several files: their rows one after another, as if they were one file.
int runRead(const GlobalOptions& global, const ReadOptions& options) {
  const std::optional<WhereNode> filter =
      options.where.empty() ? std::nullopt : std::optional<WhereNode>(parseWhere(options.where));
  // Parquet on standard input is read from a copy (its footer comes last).
  std::vector<std::string> paths = options.paths;
  if (std::count(paths.begin(), paths.end(), kStandardInput) > 1) {
    throw usageError("InvalidOption", "Standard input (-) can be read only once.");
  }
  std::unique_ptr<SpooledInput> spool;
  for (auto& path : paths) {
    if (path != kStandardInput) continue;
    spool = std::make_unique<SpooledInput>();
    path = spool->path();
  }
  const auto shown = [&](const std::string& file) { return spool && file == spool->path() ? "-" : file; };
  const auto files = expandLocations(paths);
  if (files.size() > 1 && options.range) {
    throw usageError("InvalidOption", "Option --range is a byte range of one file; " + std::to_string(files.size()) +
                                          " files were given.");
  }
  ReadState state;
  state.skip = options.offset;
  for (const auto& file : files) {
    ReadOptions one = options;
    one.file = file;
    namingFile(shown(file), [&] { readFile(global, one, filter, state); });
  }
  orvane::throwIfInterruptPending();
  state.sink->finish();
  if (global.verbose) std::cerr << "read " << state.batches << " batches, " << state.taken << " rows\n";
  return 0;
}

}  // namespace

ReadCommand::ReadCommand(CLI::App& app) {
  mCommand = app.add_subcommand("read", "Print the data of files, one after another");
  mCommand->add_option("paths", mOptions.paths,
                       "Files, directories, s3 prefixes, quoted glob patterns, or - (Parquet on standard input)")
      ->required();
  mCommand->add_option("--vars", mVars, "Variables to print, in this order (a,b,c); pt.x is field x of record pt");
  auto* rowGroups = mCommand->add_option("--row-groups", mRowGroups, "Row groups to read, 1-based (1,3)");
  mCommand->add_option("--range", mRange, "Row groups starting in the byte range OFFSET:SIZE")->excludes(rowGroups);
  mCommand->add_option("--head", mHead, "Print at most N rows (in every format)")->check(CLI::NonNegativeNumber);
  mCommand->add_option("--offset", mOptions.offset, "Skip the first N rows (of those the filter keeps)")
      ->check(CLI::NonNegativeNumber);
  mCommand->add_option("--where", mOptions.where,
                       "Keep the rows where this is true: comparisons, in (...), is missing, with and, or, not and "
                       "parentheses, e.g. \"(x > 5 or y in (1, 2)) and not name is missing\"");
  mCommand->add_option("--max-rows", mOptions.maxRows, "Rows shown by the table format without --head (0: all)")
      ->check(CLI::NonNegativeNumber)
      ->default_val(20);
}

int ReadCommand::run(const GlobalOptions& global) {
  if (!mVars.empty()) mOptions.vars = nameList(mVars, "--vars");
  if (!mRowGroups.empty()) {
    for (const auto r : countList<std::uint64_t>(mRowGroups, "--row-groups", 1)) {
      mOptions.rowGroups.push_back(static_cast<double>(r));
    }
  }
  if (!mRange.empty()) {
    const auto colon = mRange.find(':');
    const auto offset = colon == std::string::npos ? std::nullopt : parseCount(trim(mRange.substr(0, colon)), 0, 1ull << 62);
    const auto size = colon == std::string::npos ? std::nullopt : parseCount(trim(mRange.substr(colon + 1)), 0, 1ull << 62);
    if (!offset || !size) {
      throw usageError("InvalidOption", "Option --range needs OFFSET:SIZE in bytes, like 4:1048576, not '" + mRange + "'.");
    }
    mOptions.range = std::make_pair(static_cast<double>(*offset), static_cast<double>(*size));
  }
  mOptions.head = mHead;
  return runRead(global, mOptions);
}

}  // namespace ovparquet::cli
