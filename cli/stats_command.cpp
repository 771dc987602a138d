// stats PATH...: per-row-group statistics (null count, distinct count,
// minimum, maximum) of chosen variables, from each file's footer, in the
// three formats.
#include "stats_command.hpp"

#include "errors.hpp"
#include "locations.hpp"
#include "option_values.hpp"
#include "output.hpp"
#include "row_text.hpp"
#include "show_each.hpp"
#include "text.hpp"
#include "values.hpp"
#include "variables.hpp"

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/read/Statistics.hpp>

#include <arrow/array/builder_primitive.h>
#include <arrow/memory_pool.h>

#include <array>
#include <iostream>
#include <optional>

namespace ovparquet::cli {
namespace {

namespace core = orvane::io::parquet::core;

struct VariableStatistics {
  std::string name;
  core::read::Statistics stats;
};

// A variable the library gives no statistics for, and why.
struct RefusedVariable {
  std::string name;
  std::string fileType;  // Arrow's text of its type: decimal128(18, 4)
  std::string reason;
};

template <typename T>
T element(const unique_ovarray_ptr& array, std::size_t i) {
  return ovGetTypedData<T>(array.get())[i];
}

const ovArray* cellValues(const unique_ovarray_ptr& cell) { return ovGetCell(cell.get(), 0); }

// Local times of a zoned datetime column in its zone with their offsets;
// empty for other columns (or when Arrow does not know the zone).
std::vector<std::string> zonedLocalTexts(const ovArray* values) {
  if (values == nullptr || ovGetClassID(values) != ovClassID::Datetime || !ovGetTimeZone(values)) return {};
  ::arrow::TimeUnit::type unit = ::arrow::TimeUnit::NANO;
  switch (ovGetTimeUnit(values)) {
    case ovTimeUnit::Second: unit = ::arrow::TimeUnit::SECOND; break;
    case ovTimeUnit::Milli: unit = ::arrow::TimeUnit::MILLI; break;
    case ovTimeUnit::Micro: unit = ::arrow::TimeUnit::MICRO; break;
    case ovTimeUnit::Nano: break;
    case ovTimeUnit::Day: return {};
  }
  ::arrow::TimestampBuilder builder(::arrow::timestamp(unit, *ovGetTimeZone(values)), ::arrow::default_memory_pool());
  const std::size_t n = ovGetNumberOfElements(values);
  const std::int64_t* ticks = ovGetTicks(values);
  for (std::size_t i = 0; i < n; ++i) {
    const auto status = ovIsMissing(values, i) ? builder.AppendNull() : builder.Append(ticks[i]);
    if (!status.ok()) return {};
  }
  std::shared_ptr<::arrow::Array> array;
  if (!builder.Finish(&array).ok()) return {};
  TextList local;
  std::vector<bool> missing;
  if (!zonedTexts(array, local, missing)) return {};
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < local.ends.size(); ++i) texts.emplace_back(local.at(i));
  return texts;
}

// The statistics of one file: written to standard output, or returned in JSON.
std::optional<nlohmann::ordered_json> statsOfFile(const GlobalOptions& global, const StatsOptions& options) {
  const ustring file = toHost(options.file);
  const core::read::RowGroupParquetReader reader(file, std::vector<double>{});
  const auto names = reader.getVariableNames();
  requireVariables(options.vars, names, options.file);
  const std::vector<std::string> wanted = options.vars.empty() ? toUtf8(names) : options.vars;

  // One call per variable, so that a variable the library refuses is shown
  // with its reason instead of failing the whole command.
  std::vector<VariableStatistics> all;
  std::vector<RefusedVariable> refused;
  std::optional<core::info::ParquetInfo> info;  // the file's types, read when first needed
  const auto refuse = [&](const std::string& name, std::size_t index, const std::string& reason) {
    if (!info) info.emplace(file);
    const auto& arrowTypes = info->getArrowTypes();
    const std::string fileType = index < arrowTypes.size() ? arrowTypes[index] : "";
    refused.push_back({name, fileType, reason + " Its type in the file is " + fileType + "."});
  };
  for (const auto& name : wanted) {
    const auto index = static_cast<std::int32_t>(variableIndex(names, name));
    try {
      all.push_back({name, reader.getStatistics({index})});
    } catch (const core::common::MessageException<ORVANE::parquetio::read::UnsupportedRowFilterVariable>& e) {
      refuse(name, static_cast<std::size_t>(index), e.what());
    } catch (const core::common::MessageException<ORVANE::parquetio::read::InternalUnsupportedParquetType>& e) {
      refuse(name, static_cast<std::size_t>(index), e.what());
    }
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
  // Zoned time stamps as local time in their zone with the offset, as read
  // shows them; other values as the host renders them.
  std::vector<std::array<std::vector<std::string>, 2>> zoned(all.size());
  for (std::size_t v = 0; v < all.size(); ++v) {
    zoned[v][0] = zonedLocalTexts(cellValues(all[v].stats.minValues));
    zoned[v][1] = zonedLocalTexts(cellValues(all[v].stats.maxValues));
  }
  const auto extremeText = [&](const Record& rec, bool maximum, const ovArray* values) {
    const auto& texts = zoned[rec.variable][maximum ? 1 : 0];
    return texts.empty() ? valueText(values, rec.rowGroup) : texts[rec.rowGroup];
  };
  const auto extremeJson = [&](const Record& rec, bool maximum, const ovArray* values) {
    const auto& texts = zoned[rec.variable][maximum ? 1 : 0];
    return texts.empty() ? valueJson(values, rec.rowGroup) : nlohmann::ordered_json(texts[rec.rowGroup]);
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
        s["min"] = mn ? extremeJson(rec, false, mn) : nlohmann::ordered_json(nullptr);
        s["max"] = mx ? extremeJson(rec, true, mx) : nlohmann::ordered_json(nullptr);
        j["statistics"].push_back(std::move(s));
      }
      j["withoutStatistics"] = nlohmann::ordered_json::array();
      for (const auto& r : refused) {
        j["withoutStatistics"].push_back({{"variable", r.name}, {"fileType", r.fileType}, {"reason", r.reason}});
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
                                dc ? std::to_string(*dc) : "", csvField(mn ? extremeText(rec, false, mn) : "", !mn),
                                csvField(mx ? extremeText(rec, true, mx) : "", !mx)});
      }
      // The CSV holds statistics only; the reasons go to standard error.
      for (const auto& r : refused) std::cerr << "Note: no statistics for " << r.name << ": " << r.reason << '\n';
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
            builder.appendUtf8(extremeText(rec, isMax, values));
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
      for (const auto& r : refused) std::cout << "No statistics for " << r.name << ": " << r.reason << '\n';
      break;
    }
  }
  return std::nullopt;
}

// Several files: each one's statistics in turn.
int runStats(const GlobalOptions& global, const StatsOptions& options) {
  return showEach(expandLocations(options.paths), global, [&](const std::string& file) {
    StatsOptions one = options;
    one.file = file;
    return statsOfFile(global, one);
  });
}

}  // namespace

StatsCommand::StatsCommand(CLI::App& app) {
  mCommand = app.add_subcommand("stats", "Per-row-group statistics: null and distinct counts, minimum, maximum");
  mCommand->add_option("paths", mOptions.paths, "Files, directories, s3 prefixes or quoted glob patterns")->required();
  mCommand->add_option("--vars", mVars, "Variables (a,b); default: every variable that has statistics");
}

int StatsCommand::run(const GlobalOptions& global) {
  if (!mVars.empty()) mOptions.vars = nameList(mVars, "--vars");
  return runStats(global, mOptions);
}

}  // namespace ovparquet::cli
