// stats PATH...: per-row-group statistics (null count, distinct count, minimum,
// maximum) of chosen variables, from the file's footer.
#include "commands.hpp"
#include "errors.hpp"
#include "locations.hpp"
#include "output.hpp"
#include "show_each.hpp"
#include "text.hpp"
#include "values.hpp"
#include "variables.hpp"

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/read/Statistics.hpp>

#include <iostream>

namespace ovparquet::cli {
namespace {

namespace core = orvane::io::parquet::core;

struct VariableStatistics {
  std::string name;
  core::read::Statistics stats;
};

template <typename T>
T element(const unique_ovarray_ptr& array, std::size_t i) {
  return ovGetTypedData<T>(array.get())[i];
}

const ovArray* cellValues(const unique_ovarray_ptr& cell) { return ovGetCell(cell.get(), 0); }

}  // namespace

namespace {

// The statistics of one file: written to standard output, or returned in JSON.
std::optional<nlohmann::ordered_json> statsOfFile(const GlobalOptions& global, const StatsOptions& options) {
  const ustring file = toHost(options.file);
  const core::read::RowGroupParquetReader reader(file, std::vector<double>{});
  const auto names = reader.getVariableNames();
  requireVariables(options.vars, names, options.file);
  const std::vector<std::string> wanted = options.vars.empty() ? toUtf8(names) : options.vars;

  // One call per variable, so that without --vars the variables whose type
  // has no statistics can be left out instead of failing the whole file.
  std::vector<VariableStatistics> all;
  std::vector<std::string> without;
  for (const auto& name : wanted) {
    const auto index = static_cast<std::int32_t>(variableIndex(names, name));
    try {
      all.push_back({name, reader.getStatistics({index})});
    } catch (const core::common::MessageException<ORVANE::parquetio::read::UnsupportedRowFilterVariable>&) {
      if (!options.vars.empty()) throw;
      without.push_back(name);
    } catch (const core::common::MessageException<ORVANE::parquetio::read::InternalUnsupportedParquetType>&) {
      if (!options.vars.empty()) throw;
      without.push_back(name);
    }
  }
  if (!without.empty()) {
    std::cerr << "Note: no statistics for " << join(without) << " (their types have no row-group statistics)\n";
  }

  const auto heights = reader.getRowGroupHeights();
  const std::size_t R = heights.size();

  // Row group by row group, variable by variable.
  struct Record {
    std::size_t rowGroup;
    std::size_t variable;
  };
  std::vector<Record> records;
  for (std::size_t r = 0; r < R; ++r) {
    for (std::size_t v = 0; v < all.size(); ++v) records.push_back({r, v});
  }
  const auto nullCount = [&](const Record& rec) -> std::optional<std::int64_t> {
    const auto& s = all[rec.variable].stats;
    if (!element<bool>(s.nullCountValid, rec.rowGroup)) return std::nullopt;
    return element<std::int64_t>(s.nullCounts, rec.rowGroup);
  };
  const auto distinctCount = [&](const Record& rec) -> std::optional<std::int64_t> {
    const auto& s = all[rec.variable].stats;
    if (!element<bool>(s.distinctCountValid, rec.rowGroup)) return std::nullopt;
    return element<std::int64_t>(s.distinctCounts, rec.rowGroup);
  };
  // The minimum or maximum values of the record's variable, when known.
  const auto extremes = [&](const Record& rec, bool maximum) -> const ovArray* {
    const auto& s = all[rec.variable].stats;
    if (!element<bool>(s.minMaxValid, rec.rowGroup)) return nullptr;
    const ovArray* values = cellValues(maximum ? s.maxValues : s.minValues);
    if (values == nullptr || isMissingValue(values, rec.rowGroup)) return nullptr;
    return values;
  };

  switch (global.format) {
    case Format::Json: {
      nlohmann::ordered_json j;
      j["filename"] = toUtf8(reader.getFilename());
      j["numRowGroups"] = R;
      j["rowGroupHeights"] = heights;
      j["variables"] = nlohmann::ordered_json::array();
      for (const auto& v : all) j["variables"].push_back(v.name);
      j["statistics"] = nlohmann::ordered_json::array();
      for (const auto& rec : records) {
        nlohmann::ordered_json s;
        s["rowGroup"] = rec.rowGroup + 1;
        s["variable"] = all[rec.variable].name;
        const auto nc = nullCount(rec);
        const auto dc = distinctCount(rec);
        s["nullCount"] = nc ? nlohmann::ordered_json(*nc) : nlohmann::ordered_json(nullptr);
        s["distinctCount"] = dc ? nlohmann::ordered_json(*dc) : nlohmann::ordered_json(nullptr);
        const ovArray* mn = extremes(rec, false);
        const ovArray* mx = extremes(rec, true);
        s["min"] = mn ? valueJson(mn, rec.rowGroup) : nlohmann::ordered_json(nullptr);
        s["max"] = mx ? valueJson(mx, rec.rowGroup) : nlohmann::ordered_json(nullptr);
        j["statistics"].push_back(std::move(s));
      }
      return j;
    }
    case Format::Csv: {
      writeCsvRow(std::cout, {"rowGroup", "variable", "rows", "nullCount", "distinctCount", "min", "max"});
      for (const auto& rec : records) {
        const auto nc = nullCount(rec);
        const auto dc = distinctCount(rec);
        const ovArray* mn = extremes(rec, false);
        const ovArray* mx = extremes(rec, true);
        writeCsvRow(std::cout, {std::to_string(rec.rowGroup + 1), csvField(all[rec.variable].name),
                                std::to_string(heights[rec.rowGroup]), nc ? std::to_string(*nc) : "",
                                dc ? std::to_string(*dc) : "", csvField(mn ? valueText(mn, rec.rowGroup) : "", !mn),
                                csvField(mx ? valueText(mx, rec.rowGroup) : "", !mx)});
      }
      break;
    }
    case Format::Table: {
      const std::size_t n = records.size();
      auto rowGroup = ovCreateNumericMatrix(n, 1, ovClassID::Int64);
      auto rows = ovCreateNumericMatrix(n, 1, ovClassID::UInt64);
      auto nulls = ovCreateNumericMatrix(n, 1, ovClassID::Int64);
      auto distinct = ovCreateNumericMatrix(n, 1, ovClassID::Int64);
      ovStringArrayBuilder variable({n, 1});
      ovStringArrayBuilder minimum({n, 1});
      ovStringArrayBuilder maximum({n, 1});
      for (std::size_t i = 0; i < n; ++i) {
        const auto& rec = records[i];
        ovGetTypedDataMutable<std::int64_t>(rowGroup.get())[i] = static_cast<std::int64_t>(rec.rowGroup + 1);
        ovGetTypedDataMutable<std::uint64_t>(rows.get())[i] = heights[rec.rowGroup];
        if (const auto nc = nullCount(rec)) {
          ovGetTypedDataMutable<std::int64_t>(nulls.get())[i] = *nc;
        } else {
          ovSetMissing(nulls.get(), i);
        }
        if (const auto dc = distinctCount(rec)) {
          ovGetTypedDataMutable<std::int64_t>(distinct.get())[i] = *dc;
        } else {
          ovSetMissing(distinct.get(), i);
        }
        variable.appendUtf8(all[rec.variable].name);
        for (const bool isMax : {false, true}) {
          auto& builder = isMax ? maximum : minimum;
          const ovArray* values = extremes(rec, isMax);
          if (values == nullptr) {
            builder.appendMissing();
          } else {
            builder.appendUtf8(valueText(values, rec.rowGroup));
          }
        }
      }
      std::vector<unique_ovarray_ptr> columns;
      columns.push_back(std::move(rowGroup));
      columns.push_back(variable.finish());
      columns.push_back(std::move(rows));
      columns.push_back(std::move(nulls));
      columns.push_back(std::move(distinct));
      columns.push_back(minimum.finish());
      columns.push_back(maximum.finish());
      const auto table = ovCreateTable(std::move(columns),
                                       {u"Row group", u"Variable", u"Rows", u"Nulls", u"Distinct", u"Min", u"Max"});
      writeTable(std::cout, table.get());
      break;
    }
  }
  return std::nullopt;
}

}  // namespace

// Several files: each one's statistics in turn.
int runStats(const GlobalOptions& global, const StatsOptions& options) {
  return showEach(expandLocations(options.paths), global, [&](const std::string& file) {
    StatsOptions one = options;
    one.file = file;
    return statsOfFile(global, one);
  });
}

}  // namespace ovparquet::cli
