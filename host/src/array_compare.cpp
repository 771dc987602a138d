// Host arrays: deep equality, with a description of the first difference.
#include "array_impl.hpp"

#include <ovparquet/host/class_visit.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

using namespace ovdetail;

namespace {

// Stands in for an empty cell or field slot.
const ovArray* orEmpty(const ovArray* array) {
  static const unique_ovarray_ptr empty = ovCreateNumericMatrix(0, 0, ovClassID::Double);
  return array != nullptr ? array : empty.get();
}

std::string dimsText(const ovDims& dims) {
  std::string text;
  for (std::size_t i = 0; i < dims.size(); ++i) {
    if (i > 0) text += 'x';
    text += std::to_string(dims[i]);
  }
  return text;
}

template <typename T>
std::string numberText(T value) {
  char buffer[64];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

std::string pathText(const std::string& path) { return path.empty() ? "array" : path; }

// Compares two arrays; on the first difference writes a description to `why`
// (when not null) and returns false.
class Comparer {
 public:
  explicit Comparer(std::string* why) : mWhy(why) {}

  bool equal(const ovArray* a, const ovArray* b, const std::string& path) {
    a = orEmpty(a);
    b = orEmpty(b);
    if (a == b) return true;
    if (a->classID != b->classID) {
      return differ(path, std::string("class ") + ovClassName(a->classID) + " vs " +
                              ovClassName(b->classID));
    }
    if (a->dims != b->dims) {
      return differ(path, "dimensions " + dimsText(a->dims) + " vs " + dimsText(b->dims));
    }
    if (a->complex != b->complex) {
      return differ(path, std::string("complexity ") + (a->complex ? "complex" : "real") + " vs " +
                              (b->complex ? "complex" : "real"));
    }
    for (std::size_t i = 0; i < a->numel; ++i) {
      if (missing(a, i) != missing(b, i)) {
        return differ(element(path, i), std::string(missing(a, i) ? "missing" : "present") +
                                            " vs " + (missing(b, i) ? "missing" : "present"));
      }
    }
    return ovVisitClass(a->classID, [&](auto tag) -> bool {
      using Tag = decltype(tag);
      if constexpr (Tag::id == ovClassID::String) {
        return strings(a, b, path);
      } else if constexpr (Tag::id == ovClassID::Cell) {
        return cells(a, b, path);
      } else if constexpr (Tag::id == ovClassID::Struct) {
        return structs(a, b, path);
      } else if constexpr (Tag::id == ovClassID::Datetime) {
        if (a->more().unit != b->more().unit) return differ(path, unitText(a, b));
        if (a->more().zone != b->more().zone) {
          return differ(path, "time zone " + zoneText(a->more().zone) + " vs " + zoneText(b->more().zone));
        }
        return flat(a, b, path);
      } else if constexpr (Tag::id == ovClassID::Duration) {
        if (a->more().unit != b->more().unit) return differ(path, unitText(a, b));
        return flat(a, b, path);
      } else if constexpr (Tag::id == ovClassID::Categorical) {
        if (a->more().ordered != b->more().ordered) return differ(path, "ordinal flag differs");
        if (!equal(a->more().categories.get(), b->more().categories.get(), pathText(path) + ".categories")) return false;
        return flat(a, b, path);
      } else {
        return flat(a, b, path);
      }
    });
  }

 private:
  static bool missing(const ovArray* array, std::size_t i) {
    return array->mask && array->mask[i] != 0;
  }

  static std::string element(const std::string& path, std::size_t i) {
    return pathText(path) + "(" + std::to_string(i) + ")";
  }

  static std::string unitText(const ovArray* a, const ovArray* b) {
    return std::string("unit ") + ovTimeUnitName(a->more().unit) + " vs " + ovTimeUnitName(b->more().unit);
  }

  static std::string zoneText(const std::optional<std::string>& zone) {
    return zone ? "\"" + *zone + "\"" : std::string("none");
  }

  bool differ(const std::string& path, const std::string& what) {
    if (mWhy != nullptr) *mWhy = pathText(path) + ": " + what;
    return false;
  }

  template <typename T>
  static bool sameFloat(T x, T y) {
    return x == y || (std::isnan(x) && std::isnan(y));
  }

  template <typename T>
  bool floats(const ovArray* a, const std::string& path, const char* part, const void* da,
              const void* db) {
    const T* x = static_cast<const T*>(da);
    const T* y = static_cast<const T*>(db);
    for (std::size_t i = 0; i < a->numel; ++i) {
      if (missing(a, i)) continue;
      if (!sameFloat(x[i], y[i])) {
        return differ(element(path, i), std::string(part) + numberText(x[i]) + " vs " +
                                            numberText(y[i]));
      }
    }
    return true;
  }

  bool bytes(const ovArray* a, const std::string& path, const char* part, const void* da,
             const void* db) {
    const std::size_t size = ovClassElementSize(a->classID);
    const auto* x = static_cast<const unsigned char*>(da);
    const auto* y = static_cast<const unsigned char*>(db);
    if (!a->mask && std::memcmp(x, y, a->numel * size) == 0) return true;
    for (std::size_t i = 0; i < a->numel; ++i) {
      if (missing(a, i)) continue;
      if (std::memcmp(x + i * size, y + i * size, size) != 0) {
        return differ(element(path, i), std::string(part) + "values differ");
      }
    }
    return true;
  }

  bool part(const ovArray* a, const std::string& path, const char* name, const void* da,
            const void* db) {
    return ovVisitClass(a->classID, [&](auto tag) -> bool {
      using Tag = decltype(tag);
      if constexpr (Tag::isFloat) {
        return floats<typename Tag::Element>(a, path, name, da, db);
      } else {
        return bytes(a, path, name, da, db);
      }
    });
  }

  bool flat(const ovArray* a, const ovArray* b, const std::string& path) {
    if (!part(a, path, "", a->real.data, b->real.data)) return false;
    if (a->complex && !part(a, path, "imaginary ", a->more().imag.data, b->more().imag.data)) return false;
    return true;
  }

  bool strings(const ovArray* a, const ovArray* b, const std::string& path) {
    for (std::size_t i = 0; i < a->numel; ++i) {
      if (missing(a, i)) continue;
      if (ovGetStringView(a, i) != ovGetStringView(b, i)) {
        // Appended piece by piece: GCC 12 warns falsely (-Wrestrict) about
        // a chain of string concatenations starting with a literal.
        std::string text = "\"";
        text.append(ovGetStringUtf8(a, i)).append("\" vs \"").append(ovGetStringUtf8(b, i)).append("\"");
        return differ(element(path, i), text);
      }
    }
    return true;
  }

  bool cells(const ovArray* a, const ovArray* b, const std::string& path) {
    for (std::size_t i = 0; i < a->numel; ++i) {
      if (!equal(a->more().slots[i].get(), b->more().slots[i].get(), pathText(path) + "{" + std::to_string(i) + "}")) {
        return false;
      }
    }
    return true;
  }

  bool structs(const ovArray* a, const ovArray* b, const std::string& path) {
    if (a->more().fieldNames != b->more().fieldNames) {
      auto list = [](const std::vector<std::string>& fields) {
        std::string text = "[";
        for (std::size_t i = 0; i < fields.size(); ++i) text += (i ? ", " : "") + fields[i];
        return text + "]";
      };
      return differ(path, "fields " + list(a->more().fieldNames) + " vs " + list(b->more().fieldNames));
    }
    // Missing records of host tables (no marks equal all-clear marks).
    const std::size_t records = std::max(a->more().rowMask.size(), b->more().rowMask.size());
    for (std::size_t r = 0; r < records; ++r) {
      const bool x = r < a->more().rowMask.size() && a->more().rowMask[r] != 0;
      const bool y = r < b->more().rowMask.size() && b->more().rowMask[r] != 0;
      if (x != y) {
        return differ(pathText(path) + " row " + std::to_string(r + 1),
                      std::string(x ? "missing" : "present") + " record vs " +
                          (y ? "missing" : "present") + " record");
      }
    }
    const std::size_t fields = a->more().fieldNames.size();
    for (std::size_t i = 0; i < a->numel; ++i) {
      for (std::size_t f = 0; f < fields; ++f) {
        const std::string where =
            (a->numel == 1 ? pathText(path) : element(path, i)) + "." + a->more().fieldNames[f];
        if (!equal(a->more().slots[i * fields + f].get(), b->more().slots[i * fields + f].get(), where)) {
          return false;
        }
      }
    }
    return true;
  }

  std::string* mWhy;
};

}  // namespace

bool ovArraysEqual(const ovArray* a, const ovArray* b) {
  return Comparer(nullptr).equal(a, b, "");
}

std::string ovArraysDifference(const ovArray* a, const ovArray* b) {
  std::string why;
  Comparer(&why).equal(a, b, "");
  return why;
}

bool operator==(const ovArray& a, const ovArray& b) { return ovArraysEqual(&a, &b); }
