#include "HostJson.hpp"

#include <cmath>

namespace ovtest {
namespace {

nlohmann::json elementToJson(const ovArray* array, std::size_t i);

// Rows of a nested host table as objects.
nlohmann::json tableRows(const ovArray* table) {
  const std::size_t rows = ovTableNumRows(table);
  nlohmann::json out = nlohmann::json::array();
  std::vector<nlohmann::json> columns;
  for (std::size_t v = 0; v < ovTableNumVariables(table); ++v) columns.push_back(columnToJson(ovTableColumn(table, v)));
  for (std::size_t r = 0; r < rows; ++r) {
    nlohmann::json row = nlohmann::json::object();
    for (std::size_t v = 0; v < columns.size(); ++v) {
      row[orvane::ustring_to_utf8(ovTableName(table, v))] = columns[v][r];
    }
    out.push_back(std::move(row));
  }
  return out;
}

nlohmann::json elementToJson(const ovArray* array, std::size_t i) {
  if (!ovIsContainer(array) && ovIsMissing(array, i)) return nullptr;
  switch (ovGetClassID(array)) {
    case ovClassID::Double:
    case ovClassID::Single: {
      const double value = ovGetScalar(array, i);
      if (std::isnan(value)) return "NaN";
      return value;
    }
    case ovClassID::Int8: return ovGetTypedData<int8_t>(array)[i];
    case ovClassID::UInt8: return ovGetTypedData<uint8_t>(array)[i];
    case ovClassID::Int16: return ovGetTypedData<int16_t>(array)[i];
    case ovClassID::UInt16: return ovGetTypedData<uint16_t>(array)[i];
    case ovClassID::Int32: return ovGetTypedData<int32_t>(array)[i];
    case ovClassID::UInt32: return ovGetTypedData<uint32_t>(array)[i];
    case ovClassID::Int64: return ovGetTypedData<int64_t>(array)[i];
    case ovClassID::UInt64: return ovGetTypedData<uint64_t>(array)[i];
    case ovClassID::Logical: return ovGetTypedData<bool>(array)[i];
    case ovClassID::String: return ovGetStringUtf8(array, i);
    case ovClassID::Datetime:
    case ovClassID::Duration: return ovGetTicks(array)[i];
    case ovClassID::Categorical: {
      const int32_t code = ovGetCategoryCodes(array)[i];
      return ovGetStringUtf8(ovGetCategories(array), static_cast<std::size_t>(code));
    }
    case ovClassID::Cell: {
      const ovArray* element = ovGetCell(array, i);
      if (element == nullptr) return nullptr;
      return columnToJson(element);
    }
    default: return "<unsupported class>";
  }
}

}  // namespace

nlohmann::json columnToJson(const ovArray* column) {
  if (ovIsTable(column)) return tableRows(column);
  nlohmann::json out = nlohmann::json::array();
  for (std::size_t i = 0; i < ovGetNumberOfElements(column); ++i) out.push_back(elementToJson(column, i));
  return out;
}

bool jsonClose(const nlohmann::json& a, const nlohmann::json& b, std::string& path) {
  if (a.is_number() && b.is_number()) {
    const double x = a.get<double>(), y = b.get<double>();
    if (a.is_number_integer() && b.is_number_integer()) {
      if (a.dump() == b.dump()) return true;  // exact, also past 2^53
    } else if (x == y || std::fabs(x - y) <= 1e-12 * std::max(std::fabs(x), std::fabs(y))) {
      return true;
    }
    path += ": " + a.dump() + " vs " + b.dump();
    return false;
  }
  if (a.type() != b.type()) {
    path += ": " + a.dump().substr(0, 200) + " vs " + b.dump().substr(0, 200);
    return false;
  }
  if (a.is_array()) {
    if (a.size() != b.size()) {
      path += ": " + std::to_string(a.size()) + " vs " + std::to_string(b.size()) + " elements";
      return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
      std::string inner = path + "[" + std::to_string(i) + "]";
      if (!jsonClose(a[i], b[i], inner)) {
        path = inner;
        return false;
      }
    }
    return true;
  }
  if (a.is_object()) {
    for (const auto& [key, value] : a.items()) {
      std::string inner = path + "." + key;
      if (!b.contains(key)) {
        path = inner + ": missing";
        return false;
      }
      if (!jsonClose(value, b[key], inner)) {
        path = inner;
        return false;
      }
    }
    if (a.size() != b.size()) {
      path += ": different keys";
      return false;
    }
    return true;
  }
  if (a.dump() != b.dump()) {
    path += ": " + a.dump() + " vs " + b.dump();
    return false;
  }
  return true;
}

}  // namespace ovtest
