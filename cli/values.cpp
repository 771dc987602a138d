#include "values.hpp"

#include "text.hpp"

#include <ovparquet/host/array_text.hpp>
#include <ovparquet/host/categories.hpp>
#include <ovparquet/host/class_visit.hpp>
#include <ovparquet/host/number_text.hpp>

#include <cmath>
#include <optional>

namespace ovparquet::cli {
namespace {

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

std::string doubleText(double value) { return ovShortestText(value); }

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
  return ovVisitClass(ovGetClassID(column), [&](auto tag) -> std::string {
    using Tag = decltype(tag);
    using T = typename Tag::Element;
    if constexpr (Tag::isFloat) {
      return ovShortestText(at<T>(column, row));
    } else if constexpr (Tag::isInteger) {
      return std::to_string(at<T>(column, row));
    } else if constexpr (Tag::id == ovClassID::Logical) {
      return at<bool>(column, row) ? "true" : "false";
    } else if constexpr (Tag::id == ovClassID::Char || Tag::id == ovClassID::String ||
                         Tag::id == ovClassID::Categorical) {
      std::optional<std::u16string_view> text;
      if constexpr (Tag::id == ovClassID::Char) text = std::u16string_view(&at<char16_t>(column, row), 1);
      if constexpr (Tag::id == ovClassID::String) text = ovGetStringView(column, row);
      if constexpr (Tag::id == ovClassID::Categorical) text = ovCategoryText(column, row);
      if (!text) return "<undefined>";
      std::string out;
      orvane::append_utf16_replacing(*text, out);
      return out;
    } else if constexpr (Tag::id == ovClassID::Datetime) {
      return datetimeText(ovGetTicks(column)[row], ovGetTimeUnit(column), ovGetTimeZone(column));
    } else if constexpr (Tag::id == ovClassID::Duration) {
      return durationText(ovGetTicks(column)[row], ovGetTimeUnit(column));
    } else if constexpr (Tag::id == ovClassID::Cell) {
      return ovListToInlineText(ovGetCell(column, row));
    } else {
      return ovArrayToInlineText(column);
    }
  });
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
  return ovVisitClass(ovGetClassID(column), [&](auto tag) -> nlohmann::ordered_json {
    using Tag = decltype(tag);
    using T = typename Tag::Element;
    if constexpr (Tag::id == ovClassID::Double) {
      return number(at<double>(column, row));
    } else if constexpr (Tag::id == ovClassID::Single) {
      // Through the shortest text, so that 0.1f prints as 0.1.
      const float value = at<float>(column, row);
      if (!std::isfinite(value)) return nullptr;
      return nlohmann::ordered_json::parse(ovShortestText(value));
    } else if constexpr (Tag::isInteger || Tag::id == ovClassID::Logical) {
      return at<T>(column, row);
    } else if constexpr (Tag::id == ovClassID::Cell) {
      return listJson(ovGetCell(column, row));
    } else {
      return valueText(column, row);
    }
  });
}

}  // namespace ovparquet::cli
