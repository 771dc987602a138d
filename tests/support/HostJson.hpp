// Test support: host arrays as JSON values, in the form the peer checks
// write (numbers, text, ticks, lists, objects, null for missing).
#pragma once

#include <ovparquet/host/array.hpp>

#include <nlohmann/json.hpp>

namespace ovtest {

// One JSON value per row of a column (an N-by-1 array or a nested table).
nlohmann::json columnToJson(const ovArray* column);

// Whether two JSON values are equal, numbers compared with a relative
// tolerance of 1e-12; `path` receives where they first differ.
bool jsonClose(const nlohmann::json& a, const nlohmann::json& b, std::string& path);

}  // namespace ovtest
