// Host arrays to Octave values (reading).
//
//   host class           Octave value (N-by-1)
//   double, single       double, single; missing values are NaN
//   int8 ... uint64      the same integer class, plus a missing mask
//   logical              logical, plus a missing mask
//   string, categorical  cellstr, plus a missing mask (missing texts are '')
//   datetime             double datenum of the UTC instant; unit and zone in
//                        Properties; missing is NaN
//   duration             double seconds; missing is NaN
//   cell (lists, maps,   cell: one value per row, [] for a missing row
//   binary)
//   nested table         N-by-1 struct array, one field per variable
//
// With MissingAs "double", integer and logical variables come back as
// double with NaN. Inside lists and structs there is no mask: integer and
// logical values with missing elements come back as double with NaN, and a
// missing field of a struct element is [].
#include "binding.h"

#include <ovparquet/host/class_visit.hpp>

#include <octave/Cell.h>
#include <octave/parse.h>

#include <cmath>
#include <cstring>

namespace ovparquet::octave_binding {
namespace {

constexpr double kUnixEpochDatenum = 719529.0;  // datenum(1970, 1, 1)

double ticks_per_second(ovTimeUnit unit) {
  switch (unit) {
    case ovTimeUnit::Second: return 1.0;
    case ovTimeUnit::Milli: return 1e3;
    case ovTimeUnit::Micro: return 1e6;
    case ovTimeUnit::Nano: return 1e9;
    case ovTimeUnit::Day: return 1.0 / 86400.0;
  }
  return 1.0;
}

boolNDArray mask_of(const ovArray* column, std::size_t n) {
  boolNDArray mask(dim_vector(static_cast<octave_idx_type>(n), 1), false);
  if (const std::uint8_t* m = ovGetMissingMask(column)) {
    bool* out = mask.fortran_vec();
    for (std::size_t i = 0; i < n; ++i) out[i] = m[i] != 0;
  }
  return mask;
}

template <typename OctArray, typename T>
octave_value copy_numeric(const ovArray* column, std::size_t n) {
  OctArray out(dim_vector(static_cast<octave_idx_type>(n), 1));
  if (n > 0) std::memcpy(static_cast<void*>(out.fortran_vec()), ovGetData(column), n * sizeof(T));
  return octave_value(out);
}

template <typename T>
octave_value as_double_with_nan(const ovArray* column, std::size_t n) {
  NDArray out(dim_vector(static_cast<octave_idx_type>(n), 1));
  const T* in = static_cast<const T*>(ovGetData(column));
  const std::uint8_t* m = ovGetMissingMask(column);
  double* o = out.fortran_vec();
  for (std::size_t i = 0; i < n; ++i) o[i] = (m && m[i]) ? octave_NaN : static_cast<double>(in[i]);
  return octave_value(out);
}

// The Octave array of each integer element type.
template <typename T> struct octave_integer_array;
template <> struct octave_integer_array<std::int8_t> { using type = int8NDArray; };
template <> struct octave_integer_array<std::uint8_t> { using type = uint8NDArray; };
template <> struct octave_integer_array<std::int16_t> { using type = int16NDArray; };
template <> struct octave_integer_array<std::uint16_t> { using type = uint16NDArray; };
template <> struct octave_integer_array<std::int32_t> { using type = int32NDArray; };
template <> struct octave_integer_array<std::uint32_t> { using type = uint32NDArray; };
template <> struct octave_integer_array<std::int64_t> { using type = int64NDArray; };
template <> struct octave_integer_array<std::uint64_t> { using type = uint64NDArray; };

octave_value integer_column(const ovArray* column, std::size_t n, bool asDouble) {
  return ovVisitClass(ovGetClassID(column), [&](auto tag) -> octave_value {
    using Tag = decltype(tag);
    using T = typename Tag::Element;
    if constexpr (Tag::isInteger) {
      return asDouble ? as_double_with_nan<T>(column, n)
                      : copy_numeric<typename octave_integer_array<T>::type, T>(column, n);
    } else if constexpr (Tag::id == ovClassID::Logical) {
      if (asDouble) return as_double_with_nan<bool>(column, n);
      boolNDArray out(dim_vector(static_cast<octave_idx_type>(n), 1));
      const bool* in = ovGetTypedData<bool>(column);
      std::copy(in, in + n, out.fortran_vec());
      return octave_value(out);
    } else {
      return octave_value();
    }
  });
}

octave_value text_column(const ovArray* column, std::size_t n) {
  Cell out(dim_vector(static_cast<octave_idx_type>(n), 1));
  if (ovIsCategorical(column)) {
    const ovArray* categories = ovGetCategories(column);
    std::vector<octave_value> texts(ovGetNumberOfElements(categories));
    for (std::size_t c = 0; c < texts.size(); ++c) texts[c] = octave_value(ovGetStringUtf8(categories, c));
    const std::int32_t* codes = ovGetCategoryCodes(column);
    const octave_value empty("");
    for (std::size_t i = 0; i < n; ++i) {
      const bool valid = codes[i] >= 0 && static_cast<std::size_t>(codes[i]) < texts.size() && !ovIsMissing(column, i);
      out(static_cast<octave_idx_type>(i)) = valid ? texts[static_cast<std::size_t>(codes[i])] : empty;
    }
  } else {
    for (std::size_t i = 0; i < n; ++i) out(static_cast<octave_idx_type>(i)) = octave_value(ovGetStringUtf8(column, i));
  }
  return octave_value(out);
}

octave_value time_column(const ovArray* column, std::size_t n, bool datetime) {
  NDArray out(dim_vector(static_cast<octave_idx_type>(n), 1));
  const std::int64_t* ticks = ovGetTicks(column);
  const std::uint8_t* m = ovGetMissingMask(column);
  const ovTimeUnit unit = ovGetTimeUnit(column);
  double* o = out.fortran_vec();
  if (datetime) {
    // Whole days and the remainder apart, so that the day count does not
    // eat the precision of the fraction.
    const double perDay = ticks_per_second(unit) * 86400.0;
    const std::int64_t whole = unit == ovTimeUnit::Day ? 1 : static_cast<std::int64_t>(perDay);
    for (std::size_t i = 0; i < n; ++i) {
      if (m && m[i]) {
        o[i] = octave_NaN;
        continue;
      }
      std::int64_t days = ticks[i] / whole;
      std::int64_t rest = ticks[i] % whole;
      if (rest < 0) {
        rest += whole;
        --days;
      }
      o[i] = kUnixEpochDatenum + static_cast<double>(days) + static_cast<double>(rest) / static_cast<double>(whole);
    }
  } else {
    const double per = ticks_per_second(unit);
    for (std::size_t i = 0; i < n; ++i) o[i] = (m && m[i]) ? octave_NaN : static_cast<double>(ticks[i]) / per;
  }
  return octave_value(out);
}

// Element i of a converted column, as one struct field value.
octave_value element_of(const OctaveColumn& column, octave_idx_type i) {
  if (column.mask.is_defined() && column.mask.bool_array_value()(i)) return octave_value(Matrix());
  if (column.value.iscell()) return column.value.cell_value()(i);
  if (column.value.isstruct()) return octave_value(column.value.map_value().index(idx_vector(i)));
  octave_value value = column.value;
  return value.index_op(octave_value_list(octave_value(static_cast<double>(i + 1))));
}

octave_value struct_column(const ovArray* table, std::size_t n) {
  octave_map out(dim_vector(static_cast<octave_idx_type>(n), 1));
  const std::size_t variables = ovTableNumVariables(table);
  for (std::size_t v = 0; v < variables; ++v) {
    const OctaveColumn field = column_to_octave(ovTableColumn(table, v), MissingAs::Mask);
    Cell values(dim_vector(static_cast<octave_idx_type>(n), 1));
    for (std::size_t i = 0; i < n; ++i) values(static_cast<octave_idx_type>(i)) = element_of(field, static_cast<octave_idx_type>(i));
    out.setfield(utf8_text(ovTableName(table, v)), values);
  }
  return octave_value(out);
}

octave_value cell_column(const ovArray* cell, std::size_t n) {
  Cell out(dim_vector(static_cast<octave_idx_type>(n), 1));
  for (std::size_t i = 0; i < n; ++i) {
    const ovArray* element = ovGetCell(cell, i);
    if (element == nullptr) {
      out(static_cast<octave_idx_type>(i)) = octave_value(Matrix());
      continue;
    }
    // Inside a list there is no room for a mask: integers and logicals with
    // missing elements become double with NaN, the others keep their class.
    const bool masked = !ovIsContainer(element) && ovHasMissing(element);
    out(static_cast<octave_idx_type>(i)) = column_to_octave(element, masked ? MissingAs::Double : MissingAs::Mask).value;
  }
  return octave_value(out);
}

}  // namespace

OctaveColumn column_to_octave(const ovArray* column, MissingAs missing) {
  OctaveColumn out;
  out.zone = octave_value(Matrix());
  if (ovIsTable(column)) {
    out.type = "struct";
    out.value = struct_column(column, ovColumnHeight(column));
    return out;
  }
  const std::size_t n = ovGetNumberOfElements(column);
  out.type = ovGetClassName(column);
  ovVisitClass(ovGetClassID(column), [&](auto tag) {
    using Tag = decltype(tag);
    constexpr ovClassID id = Tag::id;
    if constexpr (id == ovClassID::Double) {
      out.value = copy_numeric<NDArray, double>(column, n);
    } else if constexpr (id == ovClassID::Single) {
      out.value = copy_numeric<FloatNDArray, float>(column, n);
    } else if constexpr (id == ovClassID::String || id == ovClassID::Categorical) {
      out.value = text_column(column, n);
      out.mask = octave_value(mask_of(column, n));
    } else if constexpr (id == ovClassID::Datetime || id == ovClassID::Duration) {
      const bool datetime = id == ovClassID::Datetime;
      out.value = time_column(column, n, datetime);
      out.unit = ovTimeUnitName(ovGetTimeUnit(column));
      if (datetime && ovGetTimeZone(column)) out.zone = octave_value(*ovGetTimeZone(column));
    } else if constexpr (id == ovClassID::Cell) {
      out.value = cell_column(column, n);
    } else if constexpr (id == ovClassID::Char) {
      out.value = octave_value(utf8_text(orvane::ustring(static_cast<const char16_t*>(ovGetData(column)), n)));
    } else if constexpr (id == ovClassID::Struct) {
      throw BindingError("UnsupportedValue", "A struct that is not a table cannot be converted.");
    } else {
      const bool asDouble = missing == MissingAs::Double;
      out.value = integer_column(column, n, asDouble);
      if (asDouble) {
        out.type = "double";
      } else {
        out.mask = octave_value(mask_of(column, n));
      }
    }
  });
  return out;
}

void TableBuilder::add(const ovArray* table) {
  const std::size_t variables = ovTableNumVariables(table);
  if (mNames.empty() && mParts.empty()) {
    for (std::size_t v = 0; v < variables; ++v) mNames.push_back(utf8_text(ovTableName(table, v)));
    mParts.resize(variables);
  }
  for (std::size_t v = 0; v < variables && v < mParts.size(); ++v) {
    mParts[v].push_back(column_to_octave(ovTableColumn(table, v), mMissing));
    check_interrupt();
  }
}

namespace {

octave_value vertcat(const std::vector<octave_value>& parts) {
  if (parts.size() == 1) return parts.front();
  octave_value_list list;
  for (std::size_t i = 0; i < parts.size(); ++i) list(static_cast<octave_idx_type>(i)) = parts[i];
  return octave::feval("vertcat", list, 1)(0);
}

}  // namespace

octave_value TableBuilder::finish() {
  octave_scalar_map table;
  Cell names(dim_vector(1, static_cast<octave_idx_type>(mNames.size())));
  Cell types(names.dims());
  Cell units(names.dims());
  Cell zones(names.dims());
  octave_scalar_map masks;
  for (std::size_t v = 0; v < mNames.size(); ++v) {
    const auto& parts = mParts[v];
    std::vector<octave_value> values;
    std::vector<octave_value> partMasks;
    for (const auto& p : parts) {
      values.push_back(p.value);
      if (p.mask.is_defined()) partMasks.push_back(p.mask);
    }
    // A variable called like the properties field keeps its name in
    // VariableNames; its field gets a trailing underscore.
    std::string field = mNames[v];
    while (field == kProperties || table.isfield(field)) field += "_";
    table.setfield(field, values.empty() ? octave_value(Matrix(0, 1)) : vertcat(values));
    if (!partMasks.empty()) masks.setfield(field, vertcat(partMasks));
    const auto idx = static_cast<octave_idx_type>(v);
    names(idx) = octave_value(mNames[v]);
    types(idx) = octave_value(parts.empty() ? std::string("double") : parts.front().type);
    units(idx) = octave_value(parts.empty() ? std::string() : parts.front().unit);
    zones(idx) = parts.empty() ? octave_value(Matrix()) : parts.front().zone;
  }
  octave_scalar_map properties;
  properties.setfield("VariableNames", octave_value(names));
  properties.setfield("VariableTypes", octave_value(types));
  properties.setfield("VariableUnits", octave_value(units));
  properties.setfield("TimeZones", octave_value(zones));
  properties.setfield("Missing", octave_value(masks));
  table.setfield(kProperties, octave_value(properties));
  return octave_value(table);
}

}  // namespace ovparquet::octave_binding
