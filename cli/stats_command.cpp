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

// The statistics of one file, variable by variable, with what each format
// shows of them.
class FileStatistics {
 public:
  // Row group by row group, variable by variable.
  struct Record {
    std::size_t rowGroup;
    std::size_t variable;
  };

  // `file` as given, `names` the file's variables, `wanted` those to show.
  FileStatistics(const ustring& file, const core::read::RowGroupParquetReader& reader,
                 const std::vector<std::string>& wanted, const std::vector<orvane::ustring>& names);

  const std::string& filename() const { return mFilename; }
  const std::vector<std::uint64_t>& heights() const { return mHeights; }
  const std::vector<VariableStatistics>& variables() const { return mVariables; }
  const std::vector<RefusedVariable>& refused() const { return mRefused; }
  const std::vector<Record>& records() const { return mRecords; }
  const std::string& variableName(const Record& record) const { return mVariables[record.variable].name; }

  std::optional<std::int64_t> nullCount(const Record& record) const {
    const auto& stats = mVariables[record.variable].stats;
    if (!element<bool>(stats.nullCountValid, record.rowGroup)) return std::nullopt;
    return element<std::int64_t>(stats.nullCounts, record.rowGroup);
  }
  std::optional<std::int64_t> distinctCount(const Record& record) const {
    const auto& stats = mVariables[record.variable].stats;
    if (!element<bool>(stats.distinctCountValid, record.rowGroup)) return std::nullopt;
    return element<std::int64_t>(stats.distinctCounts, record.rowGroup);
  }
  // The minimum or maximum values of the record's variable, when known.
  const ovArray* extremes(const Record& record, bool maximum) const {
    const auto& stats = mVariables[record.variable].stats;
    if (!element<bool>(stats.minMaxValid, record.rowGroup)) return nullptr;
    const ovArray* values = cellValues(maximum ? stats.maxValues : stats.minValues);
    if (values == nullptr || isMissingValue(values, record.rowGroup)) return nullptr;
    return values;
  }
  // Zoned time stamps as local time in their zone with the offset, as read
  // shows them; other values as the host renders them.
  std::string extremeText(const Record& record, bool maximum, const ovArray* values) const {
    const auto& texts = mZoned[record.variable][maximum ? 1 : 0];
    return texts.empty() ? valueText(values, record.rowGroup) : texts[record.rowGroup];
  }
  nlohmann::ordered_json extremeJson(const Record& record, bool maximum, const ovArray* values) const {
    const auto& texts = mZoned[record.variable][maximum ? 1 : 0];
    return texts.empty() ? valueJson(values, record.rowGroup) : nlohmann::ordered_json(texts[record.rowGroup]);
  }

 private:
  std::string mFilename;
  std::vector<std::uint64_t> mHeights;
  std::vector<VariableStatistics> mVariables;
  std::vector<RefusedVariable> mRefused;
  std::vector<Record> mRecords;
  std::vector<std::array<std::vector<std::string>, 2>> mZoned;
};

FileStatistics::FileStatistics(const ustring& file, const core::read::RowGroupParquetReader& reader,
                               const std::vector<std::string>& wanted, const std::vector<orvane::ustring>& names)
    : mFilename(toUtf8(reader.getFilename())), mHeights(reader.getRowGroupHeights()) {
  // One call per variable, so that a variable the library refuses is shown
  // with its reason instead of failing the whole command.
  std::optional<core::info::ParquetInfo> info;  // the file's types, read when first needed
  const auto refuse = [&](const std::string& name, std::size_t index, const std::string& reason) {
    if (!info) info.emplace(file);
    const auto& arrowTypes = info->getArrowTypes();
    const std::string fileType = index < arrowTypes.size() ? arrowTypes[index] : "";
    mRefused.push_back({name, fileType, reason + " Its type in the file is " + fileType + "."});
  };
  for (const auto& name : wanted) {
    const auto index = static_cast<std::int32_t>(variableIndex(names, name));
    try {
      mVariables.push_back({name, reader.getStatistics({index})});
    } catch (const core::common::MessageException<ORVANE::parquetio::read::UnsupportedRowFilterVariable>& e) {
      refuse(name, static_cast<std::size_t>(index), e.what());
    } catch (const core::common::MessageException<ORVANE::parquetio::read::InternalUnsupportedParquetType>& e) {
      refuse(name, static_cast<std::size_t>(index), e.what());
    }
  }
  for (std::size_t r = 0; r < mHeights.size(); ++r) {
    for (std::size_t v = 0; v < mVariables.size(); ++v) mRecords.push_back({r, v});
  }
  mZoned.resize(mVariables.size());
  for (std::size_t v = 0; v < mVariables.size(); ++v) {
    mZoned[v][0] = zonedLocalTexts(cellValues(mVariables[v].stats.minValues));
    mZoned[v][1] = zonedLocalTexts(cellValues(mVariables[v].stats.maxValues));
  }
}

nlohmann::ordered_json optionalJson(const std::optional<std::int64_t>& count) {
  return count ? nlohmann::ordered_json(*count) : nlohmann::ordered_json(nullptr);
}

nlohmann::ordered_json statsJson(const FileStatistics& stats) {
  nlohmann::ordered_json j;
  j["filename"] = stats.filename();
  j["numRowGroups"] = stats.heights().size();
  j["rowGroupHeights"] = stats.heights();
  j["variables"] = nlohmann::ordered_json::array();
  for (const auto& v : stats.variables()) j["variables"].push_back(v.name);
  j["statistics"] = nlohmann::ordered_json::array();
  for (const auto& record : stats.records()) {
    nlohmann::ordered_json entry;
    entry["rowGroup"] = record.rowGroup + 1;
    entry["variable"] = stats.variableName(record);
    entry["nullCount"] = optionalJson(stats.nullCount(record));
    entry["distinctCount"] = optionalJson(stats.distinctCount(record));
    for (const bool isMax : {false, true}) {
      const ovArray* values = stats.extremes(record, isMax);
      entry[isMax ? "max" : "min"] = values ? stats.extremeJson(record, isMax, values) : nlohmann::ordered_json(nullptr);
    }
    j["statistics"].push_back(std::move(entry));
  }
  j["withoutStatistics"] = nlohmann::ordered_json::array();
  for (const auto& r : stats.refused()) {
    j["withoutStatistics"].push_back({{"variable", r.name}, {"fileType", r.fileType}, {"reason", r.reason}});
  }
  return j;
}

std::string optionalText(const std::optional<std::int64_t>& count) { return count ? std::to_string(*count) : ""; }

void writeStatsCsv(const FileStatistics& stats) {
  writeCsvRow(std::cout, {"rowGroup", "variable", "rows", "nullCount", "distinctCount", "min", "max"});
  for (const auto& record : stats.records()) {
    const ovArray* minimum = stats.extremes(record, false);
    const ovArray* maximum = stats.extremes(record, true);
    writeCsvRow(std::cout,
                {std::to_string(record.rowGroup + 1), csvField(stats.variableName(record)),
                 std::to_string(stats.heights()[record.rowGroup]), optionalText(stats.nullCount(record)),
                 optionalText(stats.distinctCount(record)),
                 csvField(minimum ? stats.extremeText(record, false, minimum) : "", !minimum),
                 csvField(maximum ? stats.extremeText(record, true, maximum) : "", !maximum)});
  }
  // The CSV holds statistics only; the reasons go to standard error.
  for (const auto& r : stats.refused()) std::cerr << "Note: no statistics for " << r.name << ": " << r.reason << '\n';
}

// A count into an int64 column, missing when unknown.
void setCount(ovArray* column, std::size_t i, const std::optional<std::int64_t>& count) {
  if (count) {
    ovGetTypedDataMutable<std::int64_t>(column)[i] = *count;
  } else {
    ovSetMissing(column, i);
  }
}

void writeStatsTable(const FileStatistics& stats) {
  const auto& records = stats.records();
  const std::size_t n = records.size();
  auto rowGroup = ovCreateNumericMatrix(n, 1, ovClassID::Int64);
  auto rows = ovCreateNumericMatrix(n, 1, ovClassID::UInt64);
  auto nulls = ovCreateNumericMatrix(n, 1, ovClassID::Int64);
  auto distinct = ovCreateNumericMatrix(n, 1, ovClassID::Int64);
  ovStringArrayBuilder variable({n, 1});
  ovStringArrayBuilder minimum({n, 1});
  ovStringArrayBuilder maximum({n, 1});
  for (std::size_t i = 0; i < n; ++i) {
    const auto& record = records[i];
    ovGetTypedDataMutable<std::int64_t>(rowGroup.get())[i] = static_cast<std::int64_t>(record.rowGroup + 1);
    ovGetTypedDataMutable<std::uint64_t>(rows.get())[i] = stats.heights()[record.rowGroup];
    setCount(nulls.get(), i, stats.nullCount(record));
    setCount(distinct.get(), i, stats.distinctCount(record));
    variable.appendUtf8(stats.variableName(record));
    for (const bool isMax : {false, true}) {
      auto& builder = isMax ? maximum : minimum;
      const ovArray* values = stats.extremes(record, isMax);
      if (values == nullptr) {
        builder.appendMissing();
      } else {
        builder.appendUtf8(stats.extremeText(record, isMax, values));
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
  for (const auto& r : stats.refused()) std::cout << "No statistics for " << r.name << ": " << r.reason << '\n';
}

// The statistics of one file: written to standard output, or returned in JSON.
std::optional<nlohmann::ordered_json> statsOfFile(const GlobalOptions& global, const StatsOptions& options) {
  const ustring file = toHost(options.file);
  const core::read::RowGroupParquetReader reader(file, std::vector<double>{});
  const auto names = reader.getVariableNames();
  requireVariables(options.vars, names, options.file);
  const FileStatistics stats(file, reader, options.vars.empty() ? toUtf8(names) : options.vars, names);
  switch (global.format) {
    case Format::Json: return statsJson(stats);
    case Format::Csv: writeStatsCsv(stats); break;
    case Format::Table: writeStatsTable(stats); break;
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
