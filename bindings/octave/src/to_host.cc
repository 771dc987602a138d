// Octave values to host arrays (writing): the read mapping in reverse.
// NaN in double and single variables and the masks in Properties.Missing
// become missing values; Properties.VariableTypes turns doubles back into
// datetimes (datenum, UTC) and durations (seconds) in the unit of
// Properties.VariableUnits (default "ms") and cellstr into categoricals.
#include "binding.h"

#include <octave/Cell.h>
#include <octave/parse.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>

namespace ovparquet::octave_binding {
namespace {

constexpr double kUnixEpochDatenum = 719529.0;

struct Hints {
  std::string type;
  std::string unit;
  std::optional<std::string> zone;
  octave_value mask;
};

std::string shape_text(const octave_value& v) { return v.dims().str() + " " + v.class_name(); }

ovTimeUnit time_unit(const std::string& name, const std::string& variable, bool datetime) {
  if (name.empty() || name == "ms") return ovTimeUnit::Milli;
  if (name == "s") return ovTimeUnit::Second;
  if (name == "us") return ovTimeUnit::Micro;
  if (name == "ns") return ovTimeUnit::Nano;
  if (name == "day" && datetime) return ovTimeUnit::Day;
  throw BindingError("InvalidProperties", "Variable '" + variable + "' has the unknown time unit '" + name +
                                              "' (use s, ms, us, ns" + (datetime ? ", day" : "") + ").");
}

std::int64_t ticks_per_day(ovTimeUnit unit) {
  switch (unit) {
    case ovTimeUnit::Second: return 86400;
    case ovTimeUnit::Milli: return 86400000;
    case ovTimeUnit::Micro: return 86400000000LL;
    case ovTimeUnit::Nano: return 86400000000000LL;
    case ovTimeUnit::Day: return 1;
  }
  return 1;
}

void apply_mask(ovArray* array, const octave_value& mask, std::size_t n, const std::string& variable) {
  if (mask.is_undefined() || mask.isempty()) return;
  if (!mask.islogical() || static_cast<std::size_t>(mask.numel()) != n) {
    throw BindingError("InvalidProperties", "The missing mask of variable '" + variable + "' must be a logical array of " +
                                                std::to_string(n) + " elements, not a " + shape_text(mask) + ".");
  }
  const boolNDArray m = mask.bool_array_value();
  for (std::size_t i = 0; i < n; ++i) {
    if (m(static_cast<octave_idx_type>(i))) ovSetMissing(array, i);
  }
}

template <typename T, typename OctArray>
unique_ovarray_ptr numeric(const OctArray& in, std::size_t n) {
  auto out = ovCreateUninitNumericArray(ovDims{n, 1}, ovClassOf<T>);
  if (n > 0) std::memcpy(ovGetDataMutable(out.get()), in.data(), n * sizeof(T));
  return out;
}

template <typename T>
void nan_to_missing(ovArray* array, std::size_t n) {
  const T* data = static_cast<const T*>(ovGetData(array));
  std::vector<std::size_t> missing;
  for (std::size_t i = 0; i < n; ++i) {
    if (std::isnan(data[i])) missing.push_back(i);
  }
  for (const auto i : missing) ovSetMissing(array, i);
}

unique_ovarray_ptr strings(const Cell& cell, std::size_t n, const std::string& variable) {
  ovStringArrayBuilder builder({n, 1});
  for (std::size_t i = 0; i < n; ++i) {
    const octave_value& e = cell(static_cast<octave_idx_type>(i));
    if (!e.is_string() && !(e.isempty() && e.is_double_type())) {
      throw BindingError("UnsupportedValue", "Variable '" + variable + "' mixes texts with a " + shape_text(e) + ".");
    }
    if (e.is_string()) {
      builder.appendUtf8(e.string_value());
    } else {
      builder.appendMissing();
    }
  }
  return builder.finish();
}

unique_ovarray_ptr categorical(const Cell& cell, std::size_t n, const octave_value& mask, const std::string& variable) {
  auto texts = strings(cell, n, variable);
  apply_mask(texts.get(), mask, n, variable);
  std::set<std::string> unique;
  for (std::size_t i = 0; i < n; ++i) {
    if (!ovIsMissing(texts.get(), i)) unique.insert(ovGetStringUtf8(texts.get(), i));
  }
  const std::vector<std::string> categories(unique.begin(), unique.end());
  std::vector<std::int32_t> codes(n, -1);
  for (std::size_t i = 0; i < n; ++i) {
    if (ovIsMissing(texts.get(), i)) continue;
    const auto at = std::lower_bound(categories.begin(), categories.end(), ovGetStringUtf8(texts.get(), i));
    codes[i] = static_cast<std::int32_t>(at - categories.begin());
  }
  std::vector<orvane::ustring> hostCategories;
  for (const auto& c : categories) hostCategories.push_back(host_text(c));
  auto out = ovCreateCategoricalArray({n, 1}, ovCreateStringColumn(hostCategories), codes);
  for (std::size_t i = 0; i < n; ++i) {
    if (codes[i] < 0) ovSetMissing(out.get(), i);
  }
  return out;
}

unique_ovarray_ptr times(const NDArray& values, std::size_t n, const Hints& hints, const std::string& variable) {
  const bool datetime = hints.type == "datetime";
  const ovTimeUnit unit = time_unit(hints.unit, variable, datetime);
  std::vector<std::int64_t> ticks(n, 0);
  std::vector<std::size_t> missing;
  const std::int64_t perDay = ticks_per_day(unit);
  for (std::size_t i = 0; i < n; ++i) {
    const double d = values(static_cast<octave_idx_type>(i));
    if (!std::isfinite(d)) {
      missing.push_back(i);
    } else if (datetime) {
      // Days and the fraction of a day apart, for the fraction's precision.
      const double day = std::floor(d);
      ticks[i] = (static_cast<std::int64_t>(day) - static_cast<std::int64_t>(kUnixEpochDatenum)) * perDay +
                 static_cast<std::int64_t>(std::llround((d - day) * static_cast<double>(perDay)));
    } else {
      ticks[i] = static_cast<std::int64_t>(std::llround(d * static_cast<double>(perDay) / 86400.0));
    }
  }
  auto out = datetime ? ovCreateDatetimeArray({n, 1}, unit, hints.zone, std::move(ticks))
                      : ovCreateDurationArray({n, 1}, unit, std::move(ticks));
  for (const auto i : missing) ovSetMissing(out.get(), i);
  return out;
}

unique_ovarray_ptr column(const octave_value& value, const Hints& hints, const std::string& variable);

// One element of a list column: any vector (a row is taken as a column).
unique_ovarray_ptr list_element(const octave_value& e, const std::string& variable) {
  if (e.isstruct()) return column(e, {}, variable);
  if (e.is_string()) {
    if (e.rows() > 1) throw BindingError("UnsupportedValue", "Variable '" + variable + "' holds a char matrix in a list.");
    return strings(Cell(e), 1, variable);
  }
  if (e.ndims() > 2 || (e.rows() != 1 && e.columns() != 1 && e.numel() != 0)) {
    throw BindingError("NotAColumn", "The lists of variable '" + variable + "' must hold vectors, not a " + shape_text(e) + ".");
  }
  octave_value asColumn = e;
  if (e.numel() > 0 && e.rows() == 1) asColumn = e.reshape(dim_vector(e.numel(), 1));
  if (e.numel() == 0) asColumn = e.reshape(dim_vector(0, 1));
  return column(asColumn, {}, variable);
}

unique_ovarray_ptr list(const Cell& cell, std::size_t n, const std::string& variable) {
  auto out = ovCreateCellArray(ovDims{n, 1});
  for (std::size_t i = 0; i < n; ++i) {
    const octave_value& e = cell(static_cast<octave_idx_type>(i));
    // [] is a missing list; a 0-by-1 array an empty one.
    if (e.is_double_type() && e.rows() == 0 && e.columns() == 0) continue;
    ovReplaceCell(out.get(), i, list_element(e, variable));
  }
  return out;
}

bool is_missing_element(const octave_value& e) { return e.is_double_type() && e.isempty() && e.ndims() == 2 && e.rows() == 0 && e.columns() == 0; }

// The values of one field over the elements of a struct array.
unique_ovarray_ptr field_column(const Cell& values, std::size_t n, const std::string& variable) {
  const octave_value* first = nullptr;
  for (std::size_t i = 0; i < n && !first; ++i) {
    if (!is_missing_element(values(static_cast<octave_idx_type>(i)))) first = &values(static_cast<octave_idx_type>(i));
  }
  if (first == nullptr) {
    auto out = ovCreateNumericArray(ovDims{n, 1}, ovClassID::Double);
    for (std::size_t i = 0; i < n; ++i) ovSetMissing(out.get(), i);
    return out;
  }
  if (first->is_string()) return strings(values, n, variable);
  const bool scalars = (first->isnumeric() || first->islogical()) && first->numel() == 1;
  if (scalars) {
    // Scalars of one class: a flat column, [] for the missing ones.
    Cell filled(values);
    boolNDArray mask(dim_vector(static_cast<octave_idx_type>(n), 1), false);
    octave_value firstValue = *first;
    const octave_value zero = firstValue.index_op(octave_value_list(octave_value(1.0)));
    for (std::size_t i = 0; i < n; ++i) {
      const auto k = static_cast<octave_idx_type>(i);
      if (is_missing_element(filled(k))) {
        filled(k) = zero;
        mask(k) = true;
      } else if (filled(k).class_name() != first->class_name() || filled(k).numel() != 1) {
        throw BindingError("UnsupportedValue", "Field '" + variable + "' mixes a " + shape_text(*first) + " with a " +
                                                   shape_text(filled(k)) + ".");
      }
    }
    octave_value_list list;
    for (std::size_t i = 0; i < n; ++i) list(static_cast<octave_idx_type>(i)) = filled(static_cast<octave_idx_type>(i));
    Hints hints;
    hints.mask = octave_value(mask);
    const octave_value joined = octave::feval("vertcat", list, 1)(0);
    return column(joined, hints, variable);
  }
  if (first->isstruct()) {
    octave_map joined(dim_vector(static_cast<octave_idx_type>(n), 1), first->map_value().keys());
    for (std::size_t i = 0; i < n; ++i) {
      const octave_value& e = values(static_cast<octave_idx_type>(i));
      if (!e.isstruct() || e.numel() != 1) {
        throw BindingError("UnsupportedValue", "Field '" + variable + "' must hold 1-by-1 structs in every element.");
      }
      joined.assign(idx_vector(static_cast<octave_idx_type>(i)), e.map_value());
    }
    return column(octave_value(joined), {}, variable);
  }
  return list(values, n, variable);
}

unique_ovarray_ptr struct_table(const octave_map& map, const std::string& variable) {
  const std::size_t n = static_cast<std::size_t>(map.numel());
  const string_vector keys = map.keys();
  std::vector<unique_ovarray_ptr> columns;
  std::vector<orvane::ustring> names;
  for (octave_idx_type k = 0; k < keys.numel(); ++k) {
    const Cell values = map.contents(keys(k));
    columns.push_back(field_column(values, n, variable + "." + keys(k)));
    names.push_back(host_text(keys(k)));
  }
  return ovCreateTable(std::move(columns), names);
}

unique_ovarray_ptr column(const octave_value& value, const Hints& hints, const std::string& variable) {
  if (value.isstruct()) {
    const octave_map map = value.map_value();
    if (map.ndims() > 2 || (map.rows() != 1 && map.columns() != 1 && map.numel() != 0)) {
      throw BindingError("NotAColumn", "Variable '" + variable + "' must be a struct vector, not a " + shape_text(value) + ".");
    }
    return struct_table(map.reshape(dim_vector(map.numel(), 1)), variable);
  }
  if (value.ndims() > 2 || (value.columns() != 1 && !(value.rows() == 0 && value.columns() == 0))) {
    throw BindingError("NotAColumn", "Variable '" + variable + "' must be a column vector (N-by-1), not a " +
                                         shape_text(value) + ".");
  }
  const std::size_t n = static_cast<std::size_t>(value.numel());
  if (value.iscomplex()) throw BindingError("UnsupportedValue", "Variable '" + variable + "' is complex, which Parquet cannot hold.");
  unique_ovarray_ptr out;
  if (hints.type == "datetime" || hints.type == "duration") {
    if (!value.is_double_type()) {
      throw BindingError("InvalidProperties", "Variable '" + variable + "' is marked " + hints.type + " but is a " +
                                                  shape_text(value) + " (it must be double).");
    }
    return times(value.array_value(), n, hints, variable);
  }
  if (value.iscell()) {
    const Cell cell = value.cell_value();
    if (value.iscellstr() && n > 0) {
      if (hints.type == "categorical") return categorical(cell, n, hints.mask, variable);
      out = strings(cell, n, variable);
      apply_mask(out.get(), hints.mask, n, variable);
      return out;
    }
    return list(cell, n, variable);
  }
  if (value.is_double_type()) {
    out = numeric<double>(value.array_value(), n);
    nan_to_missing<double>(out.get(), n);
  } else if (value.is_single_type()) {
    out = numeric<float>(value.float_array_value(), n);
    nan_to_missing<float>(out.get(), n);
  } else if (value.islogical()) {
    const boolNDArray b = value.bool_array_value();
    out = ovCreateLogicalArray({n, 1});
    std::copy(b.data(), b.data() + n, static_cast<bool*>(ovGetDataMutable(out.get())));
  } else if (value.is_int8_type()) {
    out = numeric<std::int8_t>(value.int8_array_value(), n);
  } else if (value.is_uint8_type()) {
    out = numeric<std::uint8_t>(value.uint8_array_value(), n);
  } else if (value.is_int16_type()) {
    out = numeric<std::int16_t>(value.int16_array_value(), n);
  } else if (value.is_uint16_type()) {
    out = numeric<std::uint16_t>(value.uint16_array_value(), n);
  } else if (value.is_int32_type()) {
    out = numeric<std::int32_t>(value.int32_array_value(), n);
  } else if (value.is_uint32_type()) {
    out = numeric<std::uint32_t>(value.uint32_array_value(), n);
  } else if (value.is_int64_type()) {
    out = numeric<std::int64_t>(value.int64_array_value(), n);
  } else if (value.is_uint64_type()) {
    out = numeric<std::uint64_t>(value.uint64_array_value(), n);
  } else {
    throw BindingError("UnsupportedValue", "Variable '" + variable + "' is a " + shape_text(value) +
                                               ", which has no Parquet counterpart.");
  }
  apply_mask(out.get(), hints.mask, n, variable);
  return out;
}

}  // namespace

unique_ovarray_ptr octave_to_table(const octave_value& t) {
  if (!t.isstruct() || t.numel() != 1) {
    throw BindingError("NotATable", "The table to write must be a 1-by-1 struct with one field per variable, not a " +
                                        shape_text(t) + ".");
  }
  const octave_scalar_map map = t.scalar_map_value();
  std::vector<std::string> fields;
  const string_vector keys = map.fieldnames();
  for (octave_idx_type k = 0; k < keys.numel(); ++k) {
    if (keys(k) != kProperties) fields.push_back(keys(k));
  }
  octave_scalar_map properties;
  if (map.isfield(kProperties)) {
    const octave_value p = map.getfield(kProperties);
    if (!p.isstruct() || p.numel() != 1) throw BindingError("InvalidProperties", "Properties must be a 1-by-1 struct.");
    properties = p.scalar_map_value();
  }
  const auto perVariable = [&](const char* name) -> Cell {
    if (!properties.isfield(name)) return Cell(dim_vector(1, static_cast<octave_idx_type>(fields.size())));
    const octave_value v = properties.getfield(name);
    if (!v.iscell() || static_cast<std::size_t>(v.numel()) != fields.size()) {
      throw BindingError("InvalidProperties", std::string("Properties.") + name + " must be a cell array with one entry per variable (" +
                                                  std::to_string(fields.size()) + ").");
    }
    return v.cell_value();
  };
  const Cell names = perVariable("VariableNames");
  const Cell types = perVariable("VariableTypes");
  const Cell units = perVariable("VariableUnits");
  const Cell zones = perVariable("TimeZones");
  octave_scalar_map masks;
  if (properties.isfield("Missing")) {
    const octave_value m = properties.getfield("Missing");
    if (!m.isstruct() || m.numel() != 1) throw BindingError("InvalidProperties", "Properties.Missing must be a 1-by-1 struct.");
    masks = m.scalar_map_value();
  }

  std::vector<unique_ovarray_ptr> columns;
  std::vector<orvane::ustring> hostNames;
  std::size_t height = 0;
  for (std::size_t v = 0; v < fields.size(); ++v) {
    const auto k = static_cast<octave_idx_type>(v);
    const std::string name = names(k).is_defined() && !names(k).isempty() ? text_argument(names(k), "Properties.VariableNames") : fields[v];
    Hints hints;
    if (types(k).is_string()) hints.type = types(k).string_value();
    if (units(k).is_string()) hints.unit = units(k).string_value();
    if (zones(k).is_string()) hints.zone = zones(k).string_value();
    if (masks.isfield(fields[v])) hints.mask = masks.getfield(fields[v]);
    auto c = column(map.getfield(fields[v]), hints, name);
    const std::size_t h = ovColumnHeight(c.get());
    if (v == 0) {
      height = h;
    } else if (h != height) {
      throw BindingError("HeightMismatch", "Variable '" + name + "' has " + std::to_string(h) + " rows, but '" +
                                               utf8_text(hostNames.front()) + "' has " + std::to_string(height) + ".");
    }
    columns.push_back(std::move(c));
    hostNames.push_back(host_text(name));
  }
  return ovCreateTable(std::move(columns), hostNames);
}

}  // namespace ovparquet::octave_binding
