#include "values.hpp"

#include "text.hpp"

#include <ovparquet/host/array_text.hpp>

#include <charconv>
#include <cmath>
#include <cstdio>

namespace ovparquet::cli {
namespace {

template <typename T>
std::string shortestText(T value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "Inf" : "-Inf";
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

template <typename T>
const T& at(const ovArray* column, std::size_t row) {
  return static_cast<const T*>(ovGetData(column))[row];
}

// The nested-table row as a record "{a: 1, b: \"x\"}".
std::string recordText(const ovArray* table, std::size_t row);

std::string quotedIfText(const ovArray* column, std::size_t row) {
  if (isMissingValue(column, row)) return "<missing>";
  if (ovIsString(column) || ovIsCategorical(column)) {
    nlohmann::json text = valueText(column, row);
    return text.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  }
  return valueText(column, row);
}

std::string recordText(const ovArray* table, std::size_t row) {
  std::string text = "{";
  const std::size_t n = ovTableNumVariables(table);
  for (std::size_t v = 0; v < n; ++v) {
    if (v > 0) text += ", ";
    text += toUtf8(ovTableName(table, v)) + ": " + quotedIfText(ovTableColumn(table, v), row);
  }
  return text + "}";
}

// Every element of a list value (an n-by-1 array or a host table of n rows).
nlohmann::ordered_json listJson(const ovArray* list) {
  auto out = nlohmann::ordered_json::array();
  const std::size_t n = ovIsTable(list) ? ovTableNumRows(list) : ovGetNumberOfElements(list);
  for (std::size_t i = 0; i < n; ++i) out.push_back(valueJson(list, i));
  return out;
}

}  // namespace

std::string doubleText(double value) { return shortestText(value); }
std::string floatText(float value) { return shortestText(value); }

std::string datetimeText(std::int64_t ticks, ovTimeUnit unit, const std::optional<std::string>& zone) {
  // A zoned time stamp is an instant: shown in UTC, as RFC 3339 writes it.
  return ovDatetimeText(ticks, unit, zone, /*zoneName=*/false);
}

std::string durationText(std::int64_t ticks, ovTimeUnit unit) { return ovDurationText(ticks, unit); }

bool isMissingValue(const ovArray* column, std::size_t row) {
  if (ovIsTable(column)) return ovTableIsRowMissing(column, row);
  if (ovIsCell(column)) return ovGetCell(column, row) == nullptr;
  if (ovIsStruct(column)) return false;
  return ovIsMissing(column, row);
}

std::string valueText(const ovArray* column, std::size_t row) {
  if (isMissingValue(column, row)) return "";
  if (ovIsTable(column)) return recordText(column, row);
  switch (ovGetClassID(column)) {
    case ovClassID::Double: return doubleText(at<double>(column, row));
    case ovClassID::Single: return floatText(at<float>(column, row));
    case ovClassID::Int8: return std::to_string(at<std::int8_t>(column, row));
    case ovClassID::UInt8: return std::to_string(at<std::uint8_t>(column, row));
    case ovClassID::Int16: return std::to_string(at<std::int16_t>(column, row));
    case ovClassID::UInt16: return std::to_string(at<std::uint16_t>(column, row));
    case ovClassID::Int32: return std::to_string(at<std::int32_t>(column, row));
    case ovClassID::UInt32: return std::to_string(at<std::uint32_t>(column, row));
    case ovClassID::Int64: return std::to_string(at<std::int64_t>(column, row));
    case ovClassID::UInt64: return std::to_string(at<std::uint64_t>(column, row));
    case ovClassID::Logical: return at<bool>(column, row) ? "true" : "false";
    case ovClassID::Char: {
      std::string out;
      orvane::append_utf16_replacing(std::u16string_view(&at<char16_t>(column, row), 1), out);
      return out;
    }
    case ovClassID::String: {
      std::string out;
      orvane::append_utf16_replacing(ovGetStringView(column, row), out);
      return out;
    }
    case ovClassID::Datetime:
      return datetimeText(ovGetTicks(column)[row], ovGetTimeUnit(column), ovGetTimeZone(column));
    case ovClassID::Duration: return durationText(ovGetTicks(column)[row], ovGetTimeUnit(column));
    case ovClassID::Categorical: {
      const std::int32_t code = ovGetCategoryCodes(column)[row];
      const ovArray* categories = ovGetCategories(column);
      if (code < 0 || static_cast<std::size_t>(code) >= ovGetNumberOfElements(categories)) return "<undefined>";
      std::string out;
      orvane::append_utf16_replacing(ovGetStringView(categories, static_cast<std::size_t>(code)), out);
      return out;
    }
    case ovClassID::Cell: return ovListToInlineText(ovGetCell(column, row));
    case ovClassID::Struct: break;
  }
  return ovArrayToInlineText(column);
}

nlohmann::ordered_json valueJson(const ovArray* column, std::size_t row) {
  if (isMissingValue(column, row)) return nullptr;
  if (ovIsTable(column)) {
    auto record = nlohmann::ordered_json::object();
    const std::size_t n = ovTableNumVariables(column);
    for (std::size_t v = 0; v < n; ++v) {
      record[toUtf8(ovTableName(column, v))] = valueJson(ovTableColumn(column, v), row);
    }
    return record;
  }
  const auto number = [](auto value) -> nlohmann::ordered_json {
    if (!std::isfinite(static_cast<double>(value))) return nullptr;
    return value;
  };
  switch (ovGetClassID(column)) {
    case ovClassID::Double: return number(at<double>(column, row));
    case ovClassID::Single: {
      // Through the shortest text, so that 0.1f prints as 0.1.
      const float value = at<float>(column, row);
      if (!std::isfinite(value)) return nullptr;
      return nlohmann::ordered_json::parse(floatText(value));
    }
    case ovClassID::Int8: return at<std::int8_t>(column, row);
    case ovClassID::UInt8: return at<std::uint8_t>(column, row);
    case ovClassID::Int16: return at<std::int16_t>(column, row);
    case ovClassID::UInt16: return at<std::uint16_t>(column, row);
    case ovClassID::Int32: return at<std::int32_t>(column, row);
    case ovClassID::UInt32: return at<std::uint32_t>(column, row);
    case ovClassID::Int64: return at<std::int64_t>(column, row);
    case ovClassID::UInt64: return at<std::uint64_t>(column, row);
    case ovClassID::Logical: return at<bool>(column, row);
    case ovClassID::Cell: return listJson(ovGetCell(column, row));
    default: return valueText(column, row);
  }
}

}  // namespace ovparquet::cli
