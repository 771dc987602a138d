#include "row_text.hpp"

#include "output.hpp"
#include "rows.hpp"
#include "text.hpp"
#include "text_append.hpp"
#include "values.hpp"

#include <ovparquet/host/array_text.hpp>
#include <ovparquet/host/class_visit.hpp>

#include <arrow/array.h>
#include <arrow/compute/api_scalar.h>
#include <arrow/type.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

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

bool ZonedTimes::reset(const std::shared_ptr<::arrow::Array>& array) {
  const auto& type = static_cast<const ::arrow::TimestampType&>(*array->type());
  auto local = ::arrow::compute::LocalTimestamp(array);
  if (!local.ok()) return false;
  mUtc = array;
  mWall = local->make_array();
  mUtcTicks = static_cast<const ::arrow::TimestampArray&>(*mUtc).raw_values();
  mWallTicks = static_cast<const ::arrow::TimestampArray&>(*mWall).raw_values();
  mUnit = hostUnit(type.unit());
  mPerSecond = ticksPerSecond(type.unit());
  mUtcZone = isUtcName(type.timezone());
  return true;
}

void ZonedTimes::append(std::string& out, std::size_t row) const {
  const std::int64_t localTicks = mWallTicks[row];
  ovAppendDatetimeText(out, localTicks, mUnit, false);
  const std::int64_t offset = (localTicks - mUtcTicks[row]) / mPerSecond;
  if (mUtcZone && offset == 0) {
    out += 'Z';
  } else {
    appendOffset(out, offset);
  }
}

bool zonedTexts(const std::shared_ptr<::arrow::Array>& array, TextList& texts, std::vector<bool>& missing) {
  ZonedTimes zoned;
  if (!zoned.reset(array)) return false;
  const auto rows = static_cast<std::size_t>(array->length());
  texts.ends.reserve(rows);
  missing.assign(rows, false);
  for (std::size_t i = 0; i < rows; ++i) {
    if (zoned.isMissing(i)) {
      missing[i] = true;
    } else {
      zoned.append(texts.bytes, i);
    }
    texts.ends.push_back(texts.bytes.size());
  }
  return true;
}

void DecimalTexts::reset(const std::shared_ptr<::arrow::Array>& array) {
  mArray = array;
  const auto& type = static_cast<const ::arrow::DecimalType&>(*array->type());
  mWidth = type.byte_width();
  mScale = type.scale();
  mBytes = static_cast<const ::arrow::FixedSizeBinaryArray&>(*array).raw_values();
}

namespace {

// The digits of `value` with the point `scale` digits from the right, as
// Arrow writes a decimal of that scale (0 <= scale <= 6, where it never
// uses the exponent form): "-8602.6138", "0.0012".
void appendScaled(std::string& out, std::int64_t value, int scale) {
  char digits[24];
  const bool negative = value < 0;
  const std::uint64_t magnitude = negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
  const auto end = std::to_chars(digits, digits + sizeof digits, magnitude).ptr;
  const auto count = static_cast<int>(end - digits);
  if (negative) out += '-';
  if (scale == 0) {
    out.append(digits, end);
  } else if (count > scale) {
    out.append(digits, static_cast<std::size_t>(count - scale));
    out += '.';
    out.append(end - scale, end);
  } else {
    out += "0.";
    out.append(static_cast<std::size_t>(scale - count), '0');
    out.append(digits, end);
  }
}

}  // namespace

void DecimalTexts::appendJson(std::string& out, std::size_t row) const {
  const std::size_t start = out.size();
  append(out, row);
  const std::size_t point = out.find(".E", start);
  if (point != std::string::npos) out.erase(point, 1);
}

void DecimalTexts::append(std::string& out, std::size_t row) const {
  const std::uint8_t* bytes = mBytes + row * static_cast<std::size_t>(mWidth);
  if (mScale >= 0 && mScale <= 6) {
    // Little-endian words, least significant first: the value fits 64 bits
    // when every higher word only extends the sign of the lowest.
    std::uint64_t low = 0;
    std::memcpy(&low, bytes, sizeof low);
    const std::uint64_t sign = static_cast<std::int64_t>(low) < 0 ? ~std::uint64_t{0} : 0;
    bool fits = true;
    for (int k = 8; k < mWidth && fits; k += 8) {
      std::uint64_t word = 0;
      std::memcpy(&word, bytes + k, sizeof word);
      fits = word == sign;
    }
    if (fits) {
      appendScaled(out, static_cast<std::int64_t>(low), mScale);
      return;
    }
  }
  const auto i = static_cast<std::int64_t>(row);
  if (mArray->type_id() == ::arrow::Type::DECIMAL128) {
    out += static_cast<const ::arrow::Decimal128Array&>(*mArray).FormatValue(i);
  } else {
    out += static_cast<const ::arrow::Decimal256Array&>(*mArray).FormatValue(i);
  }
}

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
        column.decimals.reset(array);
        column.kind = Kind::Decimal;
      } else if (id == ::arrow::Type::TIMESTAMP &&
                 !static_cast<const ::arrow::TimestampType&>(*array->type()).timezone().empty()) {
        if (column.zoned.reset(array)) column.kind = Kind::Zoned;
      }
    }
    classify(column);
    mColumns.push_back(std::move(column));
  }
}

void RowTexts::classify(Column& column) {
  if (column.exact()) return;
  const ovArray* c = column.host;
  if (ovIsTable(c) || ovIsCell(c) || ovIsStruct(c)) return;
  column.missingMask = ovGetMissingMask(c);
  ovVisitClass(ovGetClassID(c), [&](auto tag) {
    using Tag = decltype(tag);
    constexpr ovClassID id = Tag::id;
    if constexpr (id == ovClassID::Double || id == ovClassID::Int64 || id == ovClassID::Int32 ||
                  id == ovClassID::Logical) {
      column.kind = id == ovClassID::Double  ? Kind::Double
                    : id == ovClassID::Int64 ? Kind::Int64
                    : id == ovClassID::Int32 ? Kind::Int32
                                             : Kind::Logical;
      column.values = ovGetData(c);
    } else if constexpr (id == ovClassID::String) {
      column.kind = Kind::String;
    } else if constexpr (id == ovClassID::Datetime) {
      column.kind = Kind::Datetime;
      column.values = ovGetTicks(c);
      column.unit = ovGetTimeUnit(c);
      column.instant = ovGetTimeZone(c).has_value();
    } else if constexpr (id == ovClassID::Categorical) {
      // Each category's text once, not once per row.
      column.kind = Kind::Categorical;
      column.values = ovGetCategoryCodes(c);
      const ovArray* categories = ovGetCategories(c);
      std::string text;
      std::string styled;
      for (std::size_t k = 0; k < ovGetNumberOfElements(categories); ++k) {
        text.clear();
        orvane::append_utf16_replacing(ovGetStringView(categories, k), text);
        column.texts.push(text);
        // Written as each format writes a text, once per category.
        styled.clear();
        appendCsvText(styled, text);
        column.csvTexts.push(styled);
        styled.clear();
        appendJsonString(styled, text);
        column.jsonTexts.push(styled);
      }
    }
  });
}

namespace {

// How CSV and JSON differ for the typed values: how a text is written (a
// datetime is a text too) and what stands for NaN and the infinities.
struct CsvStyle {
  static constexpr bool kCsv = true;
  static void text(std::string& out, std::string_view text) { appendCsvText(out, text); }
  static void nonFinite(std::string& out, double value) { out += doubleText(value); }
  static constexpr char kQuote[] = "";
};

struct JsonStyle {
  static constexpr bool kCsv = false;
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
      if (code >= 0 && static_cast<std::size_t>(code) < column.texts.ends.size()) {
        out += (Style::kCsv ? column.csvTexts : column.jsonTexts).at(static_cast<std::size_t>(code));
      } else {
        Style::text(out, "<undefined>");
      }
      return;
    }
    default: return;
  }
}

void RowTexts::appendCsvValue(std::string& out, std::string& scratch, const Column& column, std::size_t row) const {
  switch (column.kind) {
    case Kind::Decimal:
      // Digits, a sign and a point: never quoted.
      if (!column.decimals.isMissing(row)) column.decimals.append(out, row);
      return;
    case Kind::Zoned:
      if (!column.zoned.isMissing(row)) column.zoned.append(out, row);
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
    case Kind::Decimal:
      if (column.decimals.isMissing(row)) {
        out += "null";
      } else {
        column.decimals.appendJson(out, row);
      }
      return;
    case Kind::Zoned:
      if (column.zoned.isMissing(row)) {
        out += "null";
      } else {
        out += '"';
        column.zoned.append(out, row);
        out += '"';
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
  for (const auto& c : mColumns) exact = exact || c.exact();
  if (!exact) return gathered;
  std::vector<unique_ovarray_ptr> columns;
  std::vector<orvane::ustring> names;
  for (std::size_t v = 0; v < mColumns.size(); ++v) {
    names.push_back(ovTableName(gathered.get(), v));
    const Column& c = mColumns[v];
    if (!c.exact()) {
      columns.push_back(ovDuplicateArray(ovTableColumn(gathered.get(), v)));
      continue;
    }
    ovStringArrayBuilder builder({rows.size(), 1});
    std::string text;
    for (const std::size_t r : rows) {
      if (c.exactMissing(r)) {
        builder.appendMissing();
      } else {
        text.clear();
        c.appendExact(text, r);
        builder.append(toHost(text));
      }
    }
    columns.push_back(builder.finish());
  }
  return ovCreateTable(std::move(columns), names);
}

}  // namespace ovparquet::cli
