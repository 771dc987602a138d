// read FILE: prints the data of chosen variables and row groups, optionally
// only the rows that satisfy a --where filter.
#include "commands.hpp"
#include "errors.hpp"
#include "output.hpp"
#include "rows.hpp"
#include "text.hpp"
#include "values.hpp"
#include "variables.hpp"
#include "where.hpp"

#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/interrupt.hpp>

#include <algorithm>
#include <iostream>
#include <memory>

namespace ovparquet::cli {
namespace {

using orvane::io::parquet::core::read::RowGroupParquetReader;

// Where the kept rows go: one of the three formats.
class RowSink {
 public:
  RowSink(Format format, std::size_t maxRows, std::vector<std::string> names)
      : mFormat(format), mMaxRows(maxRows == 0 ? SIZE_MAX : maxRows), mNames(std::move(names)) {
    if (mFormat == Format::Csv) {
      std::vector<std::string> header;
      for (const auto& n : mNames) header.push_back(csvField(n));
      writeCsvRow(std::cout, header);
    } else if (mFormat == Format::Json) {
      std::cout << '[';
    }
  }

  // Rows of `table` (the output variables are its first ones).
  void add(unique_ovarray_ptr table, std::vector<std::size_t> rows) {
    if (mFormat == Format::Table) {
      const std::size_t room = mMaxRows - std::min(mMaxRows, mShown);
      if (rows.size() > room) {
        mMore += rows.size() - room;
        rows.resize(room);
      }
      mShown += rows.size();
      if (!rows.empty() || mTables.empty()) {
        mPieces.push_back({table.get(), std::move(rows)});
        mTables.push_back(std::move(table));
      }
      return;
    }
    const ovArray* t = table.get();
    for (const std::size_t r : rows) {
      if (mFormat == Format::Csv) {
        std::vector<std::string> fields;
        for (std::size_t v = 0; v < mNames.size(); ++v) {
          const ovArray* column = ovTableColumn(t, v);
          fields.push_back(csvField(valueText(column, r), isMissingValue(column, r)));
        }
        writeCsvRow(std::cout, fields);
      } else {
        nlohmann::ordered_json record = nlohmann::ordered_json::object();
        for (std::size_t v = 0; v < mNames.size(); ++v) record[mNames[v]] = valueJson(ovTableColumn(t, v), r);
        std::cout << (mRecords++ == 0 ? "\n  " : ",\n  ")
                  << record.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
      }
    }
  }

  // Rows that exist but are not shown (table format only).
  void addUnshown(std::uint64_t rows) { mMore += rows; }
  bool full() const { return mFormat == Format::Table && mShown >= mMaxRows; }

  void finish() {
    if (mFormat == Format::Json) {
      std::cout << (mRecords == 0 ? "]\n" : "\n]\n");
    } else if (mFormat == Format::Table) {
      std::vector<std::size_t> variables(mNames.size());
      for (std::size_t v = 0; v < variables.size(); ++v) variables[v] = v;
      unique_ovarray_ptr table;
      if (mPieces.empty()) {
        table = emptyTable(toHost(mNames));
      } else {
        table = gatherTable(mPieces, variables);
      }
      writeTable(std::cout, table.get());
      if (mMore > 0) {
        std::cout << "... (" << mMore << " more " << (mMore == 1 ? "row" : "rows") << ")\n";
      } else if (mShown == 0) {
        std::cout << "(no rows)\n";
      }
    }
    std::cout.flush();
  }

 private:
  Format mFormat;
  std::size_t mMaxRows;
  std::vector<std::string> mNames;
  std::vector<unique_ovarray_ptr> mTables;
  std::vector<RowPick> mPieces;
  std::size_t mShown = 0;
  std::uint64_t mMore = 0;
  std::size_t mRecords = 0;
};

std::vector<double> allRowGroups(double count) {
  std::vector<double> list;
  for (double r = 1; r <= count; ++r) list.push_back(r);
  return list;
}

}  // namespace

int runRead(const GlobalOptions& global, const ReadOptions& options) {
  const std::vector<Condition> conditions = options.where.empty() ? std::vector<Condition>{} : parseWhere(options.where);
  const ustring file = toHost(options.file);

  // The reader that chose the candidate row groups also answers the
  // metadata and statistics questions.
  std::unique_ptr<RowGroupParquetReader> reader;
  std::vector<double> candidates;
  if (options.range) {
    reader = std::make_unique<RowGroupParquetReader>(file, options.range->first, options.range->second);
    candidates = reader->getRowGroups();
  } else if (!options.rowGroups.empty()) {
    reader = std::make_unique<RowGroupParquetReader>(file, options.rowGroups);
    const double total = reader->getTotalNumRowGroups();
    for (const double r : options.rowGroups) {
      if (r > total) {
        throw CliError("RowGroupOutOfRange", "Row group " + std::to_string(static_cast<long long>(r)) +
                                                 " does not exist: '" + options.file + "' has " +
                                                 std::to_string(static_cast<long long>(total)) + " row groups.");
      }
    }
    candidates = options.rowGroups;
  } else {
    reader = std::make_unique<RowGroupParquetReader>(file, std::vector<double>{});
    candidates = allRowGroups(reader->getTotalNumRowGroups());
  }

  const auto fileNames = reader->getVariableNames();
  requireVariables(options.vars, fileNames, options.file);
  std::vector<std::string> output = options.vars.empty() ? toUtf8(fileNames) : options.vars;
  std::vector<std::string> selection = output;
  const auto types = reader->getVariableTypes();
  for (const auto& c : conditions) {
    requireVariables({c.variable}, fileNames, options.file);
    checkComparable(types[static_cast<std::size_t>(variableIndex(fileNames, c.variable))], c);
    if (std::find(selection.begin(), selection.end(), c.variable) == selection.end()) selection.push_back(c.variable);
  }

  // Row groups that statistics prove empty are not read.
  std::vector<double> list = candidates;
  if (!conditions.empty()) {
    std::vector<std::string> notes;
    const auto empty = provenEmptyRowGroups(*reader, conditions, candidates, notes);
    list.clear();
    for (std::size_t k = 0; k < candidates.size(); ++k) {
      if (!empty[k]) list.push_back(candidates[k]);
    }
    if (global.verbose) {
      for (const auto& n : notes) std::cerr << n << '\n';
      std::cerr << "skipped " << candidates.size() - list.size() << " of " << candidates.size() << " row groups\n";
    }
  }
  if (list != reader->getRowGroups()) reader = std::make_unique<RowGroupParquetReader>(file, list);
  reader->setSelectedVariableNames(toHost(selection));

  const auto heights = reader->getRowGroupHeights();
  RowSink sink(global.format, options.maxRows, output);
  std::uint64_t taken = 0;
  std::size_t groupsRead = 0;
  while (reader->hasdata()) {
    orvane::throwIfInterruptPending();
    unique_ovarray_ptr table = reader->read();
    ++groupsRead;
    const std::size_t rows = ovTableNumRows(table.get());
    std::vector<std::size_t> kept = conditions.empty() ? rowRange(0, rows) : matchingRows(table.get(), conditions);
    if (options.head && kept.size() > *options.head - taken) kept.resize(static_cast<std::size_t>(*options.head - taken));
    taken += kept.size();
    sink.add(std::move(table), std::move(kept));
    if (options.head && taken >= *options.head) break;
    if (conditions.empty() && sink.full()) {
      // The rest would not be shown: count it from the row-group heights.
      std::uint64_t rest = 0;
      for (std::size_t k = reader->getRowGroupIndex(); k < list.size(); ++k) {
        const auto r = static_cast<std::size_t>(list[k]) - 1;
        if (r < heights.size()) rest += heights[r];
      }
      if (options.head) rest = std::min<std::uint64_t>(rest, *options.head - taken);
      sink.addUnshown(rest);
      break;
    }
  }
  orvane::throwIfInterruptPending();
  sink.finish();
  if (global.verbose) std::cerr << "read " << groupsRead << " row groups, " << taken << " rows\n";
  return 0;
}

}  // namespace ovparquet::cli
