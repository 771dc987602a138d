#include "row_text.hpp"

#include "output.hpp"
#include "rows.hpp"
#include "text.hpp"
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

template <typename T>
void appendNumber(std::string& out, T value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, result.ptr);
}

void appendCsvText(std::string& out, std::string_view text) {
  const bool quote = text.empty() || text.find_first_of(",\"\r\n") != std::string_view::npos ||
                     text.front() == ' ' || text.back() == ' ';
  if (!quote) {
    out += text;
    return;
  }
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

void appendJsonString(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char buffer[8];
          std::snprintf(buffer, sizeof buffer, "\\u%04x", static_cast<unsigned>(c));
          out += buffer;
        } else {
          out += c;
        }
    }
  }
  out += '"';
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
std::string offsetText(std::int64_t seconds) {
  const char sign = seconds < 0 ? '-' : '+';
  const std::int64_t s = seconds < 0 ? -seconds : seconds;
  char buffer[32];
  if (s % 60 != 0) {
    std::snprintf(buffer, sizeof buffer, "%c%02lld:%02lld:%02lld", sign, static_cast<long long>(s / 3600),
                  static_cast<long long>(s / 60 % 60), static_cast<long long>(s % 60));
  } else {
    std::snprintf(buffer, sizeof buffer, "%c%02lld:%02lld", sign, static_cast<long long>(s / 3600),
                  static_cast<long long>(s / 60 % 60));
  }
  return buffer;
}

}  // namespace

bool zonedTexts(const std::shared_ptr<::arrow::Array>& array, std::vector<std::string>& texts,
                std::vector<bool>& missing) {
  const auto& type = static_cast<const ::arrow::TimestampType&>(*array->type());
  const std::string zone = type.timezone();
  auto local = ::arrow::compute::LocalTimestamp(array);
  if (!local.ok()) return false;
  const auto localArray = local->make_array();
  const auto& utc = static_cast<const ::arrow::TimestampArray&>(*array);
  const auto& wall = static_cast<const ::arrow::TimestampArray&>(*localArray);
  const std::int64_t perSecond = ticksPerSecond(type.unit());
  const bool utcZone = isUtcName(zone);
  texts.resize(static_cast<std::size_t>(array->length()));
  missing.assign(texts.size(), false);
  for (std::int64_t i = 0; i < array->length(); ++i) {
    if (array->IsNull(i)) {
      missing[static_cast<std::size_t>(i)] = true;
      continue;
    }
    const std::int64_t localTicks = wall.Value(i);
    std::string text = ovDatetimeText(localTicks, hostUnit(type.unit()), std::nullopt);
    const std::int64_t offset = (localTicks - utc.Value(i)) / perSecond;
    text += utcZone && offset == 0 ? std::string("Z") : offsetText(offset);
    texts[static_cast<std::size_t>(i)] = std::move(text);
  }
  return true;
}

namespace {

void decimalTexts(const ::arrow::Array& array, std::vector<std::string>& texts, std::vector<bool>& missing) {
  texts.resize(static_cast<std::size_t>(array.length()));
  missing.assign(texts.size(), false);
  const auto& decimals = static_cast<const ::arrow::FixedSizeBinaryArray&>(array);
  for (std::int64_t i = 0; i < array.length(); ++i) {
    if (array.IsNull(i)) {
      missing[static_cast<std::size_t>(i)] = true;
    } else if (array.type_id() == ::arrow::Type::DECIMAL128) {
      texts[static_cast<std::size_t>(i)] = static_cast<const ::arrow::Decimal128Array&>(decimals).FormatValue(i);
    } else {
      texts[static_cast<std::size_t>(i)] = static_cast<const ::arrow::Decimal256Array&>(decimals).FormatValue(i);
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
        if (!zonedTexts(array, column.texts, column.missing)) column.texts.clear();
      }
    }
    mColumns.push_back(std::move(column));
  }
}

void RowTexts::appendCsvValue(std::string& out, const Column& column, std::size_t row) const {
  if (!column.texts.empty()) {
    if (!column.missing[row]) appendCsvText(out, column.texts[row]);
    return;
  }
  const ovArray* c = column.host;
  if (isMissingValue(c, row)) return;
  switch (ovGetClassID(c)) {
    case ovClassID::Double: {
      const double value = at<double>(c, row);
      if (std::isfinite(value)) {
        appendNumber(out, value);
      } else {
        out += doubleText(value);
      }
      return;
    }
    case ovClassID::Int64: appendNumber(out, at<std::int64_t>(c, row)); return;
    case ovClassID::Int32: appendNumber(out, at<std::int32_t>(c, row)); return;
    case ovClassID::String: {
      std::string text;
      orvane::append_utf16_replacing(ovGetStringView(c, row), text);
      appendCsvText(out, text);
      return;
    }
    default: appendCsvText(out, valueText(c, row)); return;
  }
}

void RowTexts::appendJsonValue(std::string& out, const Column& column, std::size_t row) const {
  if (!column.texts.empty()) {
    if (column.missing[row]) {
      out += "null";
    } else if (column.bareJson) {
      out += column.texts[row];
    } else {
      appendJsonString(out, column.texts[row]);
    }
    return;
  }
  const ovArray* c = column.host;
  if (!ovIsTable(c) && isMissingValue(c, row)) {
    out += "null";
    return;
  }
  switch (ovGetClassID(c)) {
    case ovClassID::Double: {
      const double value = at<double>(c, row);
      if (std::isfinite(value)) {
        appendNumber(out, value);
      } else {
        out += "null";
      }
      return;
    }
    case ovClassID::Int64: appendNumber(out, at<std::int64_t>(c, row)); return;
    case ovClassID::Int32: appendNumber(out, at<std::int32_t>(c, row)); return;
    case ovClassID::String: {
      std::string text;
      orvane::append_utf16_replacing(ovGetStringView(c, row), text);
      appendJsonString(out, text);
      return;
    }
    default:
      out += valueJson(c, row).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
      return;
  }
}

void RowTexts::appendCsv(std::string& out, const std::vector<std::size_t>& rows, std::size_t begin,
                         std::size_t end) const {
  for (std::size_t k = begin; k < end; ++k) {
    for (std::size_t v = 0; v < mColumns.size(); ++v) {
      if (v > 0) out += ',';
      appendCsvValue(out, mColumns[v], rows[k]);
    }
    out += '\n';
  }
}

void RowTexts::appendJson(std::string& out, const std::vector<std::size_t>& rows, std::size_t begin,
                          std::size_t end, const char* before, const char* after) const {
  for (std::size_t k = begin; k < end; ++k) {
    out += before;
    out += '{';
    for (std::size_t v = 0; v < mColumns.size(); ++v) {
      if (v > 0) out += ',';
      out += mJsonKeys[v];
      appendJsonValue(out, mColumns[v], rows[k]);
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
  for (const auto& c : mColumns) exact = exact || !c.texts.empty();
  if (!exact) return gathered;
  std::vector<unique_ovarray_ptr> columns;
  std::vector<orvane::ustring> names;
  for (std::size_t v = 0; v < mColumns.size(); ++v) {
    names.push_back(ovTableName(gathered.get(), v));
    const Column& c = mColumns[v];
    if (c.texts.empty()) {
      columns.push_back(ovDuplicateArray(ovTableColumn(gathered.get(), v)));
      continue;
    }
    ovStringArrayBuilder builder({rows.size(), 1});
    for (const std::size_t r : rows) {
      if (c.missing[r]) {
        builder.appendMissing();
      } else {
        builder.append(toHost(c.texts[r]));
      }
    }
    columns.push_back(builder.finish());
  }
  return ovCreateTable(std::move(columns), names);
}

}  // namespace ovparquet::cli
