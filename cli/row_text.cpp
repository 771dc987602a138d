#include "row_text.hpp"

#include "output.hpp"
#include "rows.hpp"
#include "text.hpp"
#include "text_append.hpp"
#include "values.hpp"

#include <ovparquet/host/array_text.hpp>

#include <arrow/array.h>
#include <arrow/compute/api_scalar.h>
#include <arrow/type.h>

#include <charconv>
#include <cmath>
#include <cstdio>

namespace ovparquet::cli {
namespace {

template <typename T>
const T& at(const ovArray* column, std::size_t row) {
  return static_cast<const T*>(ovGetData(column))[row];
}

ovTimeUnit hostUnit(::arrow::TimeUnit::type unit) {
  switch (unit) {
    case ::arrow::TimeUnit::SECOND: return ovTimeUnit::Second;
    case ::arrow::TimeUnit::MILLI: return ovTimeUnit::Milli;
    case ::arrow::TimeUnit::MICRO: return ovTimeUnit::Micro;
    case ::arrow::TimeUnit::NANO: break;
  }
  return ovTimeUnit::Nano;
}

std::int64_t ticksPerSecond(::arrow::TimeUnit::type unit) {
  switch (unit) {
    case ::arrow::TimeUnit::SECOND: return 1;
    case ::arrow::TimeUnit::MILLI: return 1000;
    case ::arrow::TimeUnit::MICRO: return 1000000;
    case ::arrow::TimeUnit::NANO: break;
  }
  return 1000000000;
}

bool isUtcName(const std::string& zone) {
  return zone == "UTC" || zone == "Etc/UTC" || zone == "Z" || zone == "utc" || zone == "+00:00" || zone == "GMT";
}

// "+05:30", "-05:00" ("+05:30:15" when the offset has seconds).
void appendOffset(std::string& out, std::int64_t seconds) {
  out += seconds < 0 ? '-' : '+';
  const std::int64_t s = seconds < 0 ? -seconds : seconds;
  const auto two = [&](std::int64_t v) {
    out += static_cast<char>('0' + v / 10 % 10);
    out += static_cast<char>('0' + v % 10);
  };
  if (s / 3600 >= 100) {
    appendNumber(out, s / 3600);
  } else {
    two(s / 3600);
  }
  out += ':';
  two(s / 60 % 60);
  if (s % 60 != 0) {
    out += ':';
    two(s % 60);
  }
}

}  // namespace

bool zonedTexts(const std::shared_ptr<::arrow::Array>& array, TextList& texts, std::vector<bool>& missing) {
  const auto& type = static_cast<const ::arrow::TimestampType&>(*array->type());
  const std::string zone = type.timezone();
  auto local = ::arrow::compute::LocalTimestamp(array);
  if (!local.ok()) return false;
  const auto localArray = local->make_array();
  const auto& utc = static_cast<const ::arrow::TimestampArray&>(*array);
  const auto& wall = static_cast<const ::arrow::TimestampArray&>(*localArray);
  const std::int64_t perSecond = ticksPerSecond(type.unit());
  const bool utcZone = isUtcName(zone);
  const auto rows = static_cast<std::size_t>(array->length());
  texts.ends.reserve(rows);
  missing.assign(rows, false);
  for (std::int64_t i = 0; i < array->length(); ++i) {
    if (array->IsNull(i)) {
      missing[static_cast<std::size_t>(i)] = true;
      texts.ends.push_back(texts.bytes.size());
      continue;
    }
    const std::int64_t localTicks = wall.Value(i);
    ovAppendDatetimeText(texts.bytes, localTicks, hostUnit(type.unit()), false);
    const std::int64_t offset = (localTicks - utc.Value(i)) / perSecond;
    if (utcZone && offset == 0) {
      texts.bytes += 'Z';
    } else {
      appendOffset(texts.bytes, offset);
    }
    texts.ends.push_back(texts.bytes.size());
  }
  return true;
}

namespace {

void decimalTexts(const ::arrow::Array& array, TextList& texts, std::vector<bool>& missing) {
  missing.assign(static_cast<std::size_t>(array.length()), false);
  const auto& decimals = static_cast<const ::arrow::FixedSizeBinaryArray&>(array);
  for (std::int64_t i = 0; i < array.length(); ++i) {
    if (array.IsNull(i)) {
      missing[static_cast<std::size_t>(i)] = true;
      texts.push({});
    } else if (array.type_id() == ::arrow::Type::DECIMAL128) {
      texts.push(static_cast<const ::arrow::Decimal128Array&>(decimals).FormatValue(i));
    } else {
      texts.push(static_cast<const ::arrow::Decimal256Array&>(decimals).FormatValue(i));
    }
  }
}

}  // namespace

RowTexts::RowTexts(const ovArray* table, const std::shared_ptr<::arrow::RecordBatch>& batch,
                   std::vector<std::string> names)
    : mTable(table), mNames(std::move(names)) {
  for (std::size_t v = 0; v < mNames.size(); ++v) {
    std::string key;
    appendJsonString(key, mNames[v]);
    mJsonKeys.push_back(key + ":");
    Column column;
    column.host = ovTableColumn(table, v);
    if (batch && static_cast<int>(v) < batch->num_columns()) {
      const auto array = batch->column(static_cast<int>(v));
      const auto id = array->type_id();
      if (id == ::arrow::Type::DECIMAL128 || id == ::arrow::Type::DECIMAL256) {
        decimalTexts(*array, column.texts, column.missing);
        column.bareJson = true;
      } else if (id == ::arrow::Type::TIMESTAMP &&
                 !static_cast<const ::arrow::TimestampType&>(*array->type()).timezone().empty()) {
        if (!zonedTexts(array, column.texts, column.missing)) column.texts = {};
      }
    }
    classify(column);
    mColumns.push_back(std::move(column));
  }
}

void RowTexts::classify(Column& column) {
  if (!column.texts.ends.empty()) {
    column.kind = Kind::Exact;
    return;
  }
  const ovArray* c = column.host;
  if (ovIsTable(c) || ovIsCell(c) || ovIsStruct(c)) return;
  column.missingMask = ovGetMissingMask(c);
  switch (ovGetClassID(c)) {
    case ovClassID::Double: column.kind = Kind::Double; break;
    case ovClassID::Int64: column.kind = Kind::Int64; break;
    case ovClassID::Int32: column.kind = Kind::Int32; break;
    case ovClassID::Logical: column.kind = Kind::Logical; break;
    case ovClassID::String: column.kind = Kind::String; return;
    case ovClassID::Datetime:
      column.kind = Kind::Datetime;
      column.values = ovGetTicks(c);
      column.unit = ovGetTimeUnit(c);
      column.instant = ovGetTimeZone(c).has_value();
      return;
    case ovClassID::Categorical: {
      // Each category's text once, not once per row.
      column.kind = Kind::Categorical;
      column.values = ovGetCategoryCodes(c);
      const ovArray* categories = ovGetCategories(c);
      std::string text;
      for (std::size_t k = 0; k < ovGetNumberOfElements(categories); ++k) {
        text.clear();
        orvane::append_utf16_replacing(ovGetStringView(categories, k), text);
        column.texts.push(text);
      }
      return;
    }
    default: return;
  }
  column.values = ovGetData(c);
}

namespace {

// How CSV and JSON differ for the typed values: how a text is written (a
// datetime is a text too) and what stands for NaN and the infinities.
struct CsvStyle {
  static void text(std::string& out, std::string_view text) { appendCsvText(out, text); }
  static void nonFinite(std::string& out, double value) { out += doubleText(value); }
  static constexpr char kQuote[] = "";
};

struct JsonStyle {
  static void text(std::string& out, std::string_view text) { appendJsonString(out, text); }
  static void nonFinite(std::string& out, double) { out += "null"; }
  static constexpr char kQuote[] = "\"";
};

}  // namespace

template <typename Style>
void RowTexts::appendTypedValue(std::string& out, std::string& scratch, const Column& column, std::size_t row) {
  switch (column.kind) {
    case Kind::Double: {
      const double value = static_cast<const double*>(column.values)[row];
      if (std::isfinite(value)) {
        appendDouble(out, value);
      } else {
        Style::nonFinite(out, value);
      }
      return;
    }
    case Kind::Int64: appendNumber(out, static_cast<const std::int64_t*>(column.values)[row]); return;
    case Kind::Int32: appendNumber(out, static_cast<const std::int32_t*>(column.values)[row]); return;
    case Kind::Logical: out += static_cast<const bool*>(column.values)[row] ? "true" : "false"; return;
    case Kind::String:
      scratch.clear();
      orvane::append_utf16_replacing(ovGetStringView(column.host, row), scratch);
      Style::text(out, scratch);
      return;
    case Kind::Datetime:
      // Digits, dashes, colons and a point: no character needs escaping.
      out += Style::kQuote;
      ovAppendDatetimeText(out, static_cast<const std::int64_t*>(column.values)[row], column.unit, column.instant);
      out += Style::kQuote;
      return;
    case Kind::Categorical: {
      const std::int32_t code = static_cast<const std::int32_t*>(column.values)[row];
      const bool defined = code >= 0 && static_cast<std::size_t>(code) < column.texts.ends.size();
      Style::text(out, defined ? column.texts.at(static_cast<std::size_t>(code)) : std::string_view("<undefined>"));
      return;
    }
    default: return;
  }
}

void RowTexts::appendCsvValue(std::string& out, std::string& scratch, const Column& column, std::size_t row) const {
  switch (column.kind) {
    case Kind::Exact:
      if (!column.missing[row]) appendCsvText(out, column.texts.at(row));
      return;
    case Kind::Other:
      if (!isMissingValue(column.host, row)) appendCsvText(out, valueText(column.host, row));
      return;
    default: break;
  }
  if (!column.missingAt(row)) appendTypedValue<CsvStyle>(out, scratch, column, row);
}

void RowTexts::appendJsonValue(std::string& out, std::string& scratch, const Column& column, std::size_t row) const {
  switch (column.kind) {
    case Kind::Exact:
      if (column.missing[row]) {
        out += "null";
      } else if (column.bareJson) {
        out += column.texts.at(row);
      } else {
        appendJsonString(out, column.texts.at(row));
      }
      return;
    case Kind::Other:
      if (!ovIsTable(column.host) && isMissingValue(column.host, row)) {
        out += "null";
      } else {
        out += valueJson(column.host, row).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
      }
      return;
    default: break;
  }
  if (column.missingAt(row)) {
    out += "null";
    return;
  }
  appendTypedValue<JsonStyle>(out, scratch, column, row);
}

void RowTexts::appendCsv(std::string& out, const std::vector<std::size_t>& rows, std::size_t begin,
                         std::size_t end) const {
  std::string scratch;
  for (std::size_t k = begin; k < end; ++k) {
    for (std::size_t v = 0; v < mColumns.size(); ++v) {
      if (v > 0) out += ',';
      appendCsvValue(out, scratch, mColumns[v], rows[k]);
    }
    out += '\n';
  }
}

void RowTexts::appendJson(std::string& out, const std::vector<std::size_t>& rows, std::size_t begin,
                          std::size_t end, const char* before, const char* after) const {
  std::string scratch;
  for (std::size_t k = begin; k < end; ++k) {
    out += before;
    out += '{';
    for (std::size_t v = 0; v < mColumns.size(); ++v) {
      if (v > 0) out += ',';
      out += mJsonKeys[v];
      appendJsonValue(out, scratch, mColumns[v], rows[k]);
    }
    out += '}';
    out += after;
  }
}

unique_ovarray_ptr RowTexts::shownTable(const std::vector<std::size_t>& rows) const {
  std::vector<std::size_t> all(mColumns.size());
  for (std::size_t v = 0; v < all.size(); ++v) all[v] = v;
  auto gathered = gatherTable({{mTable, rows}}, all);
  bool exact = false;
  for (const auto& c : mColumns) exact = exact || c.kind == Kind::Exact;
  if (!exact) return gathered;
  std::vector<unique_ovarray_ptr> columns;
  std::vector<orvane::ustring> names;
  for (std::size_t v = 0; v < mColumns.size(); ++v) {
    names.push_back(ovTableName(gathered.get(), v));
    const Column& c = mColumns[v];
    if (c.kind != Kind::Exact) {
      columns.push_back(ovDuplicateArray(ovTableColumn(gathered.get(), v)));
      continue;
    }
    ovStringArrayBuilder builder({rows.size(), 1});
    for (const std::size_t r : rows) {
      if (c.missing[r]) {
        builder.appendMissing();
      } else {
        builder.append(toHost(c.texts.at(r)));
      }
    }
    columns.push_back(builder.finish());
  }
  return ovCreateTable(std::move(columns), names);
}

}  // namespace ovparquet::cli
