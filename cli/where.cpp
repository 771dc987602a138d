#include "where.hpp"

#include "errors.hpp"
#include "text.hpp"
#include "time_literal.hpp"
#include "values.hpp"

#include <ovparquet/host/categories.hpp>
#include <ovparquet/host/class_visit.hpp>

#include <set>

namespace ovparquet::cli {
namespace {

constexpr __int128 kNanosPerSecond = 1000000000;

__int128 nanosPerTick(ovTimeUnit unit) {
  switch (unit) {
    case ovTimeUnit::Second: return kNanosPerSecond;
    case ovTimeUnit::Milli: return 1000000;
    case ovTimeUnit::Micro: return 1000;
    case ovTimeUnit::Nano: return 1;
    case ovTimeUnit::Day: return kNanosPerSecond * 86400;
  }
  return 1;
}

std::optional<__int128> durationOf(const Literal& literal) {
  if (literal.kind == Literal::Kind::Boolean) return std::nullopt;
  return parseDurationText(literal.text, literal.kind == Literal::Kind::Text);
}

// Orders UTF-16 texts by code point (the order of their UTF-8 bytes, which
// is how Parquet orders texts): surrogates sort above U+E000..U+FFFF.
std::strong_ordering compareCodePoints(std::u16string_view a, std::u16string_view b) {
  const std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    const char16_t x = a[i];
    const char16_t y = b[i];
    if (x == y) continue;
    const auto fix = [](char16_t c) -> std::uint32_t {
      if (c >= 0xD800 && c <= 0xDFFF) return c + 0x2000u;
      if (c >= 0xE000) return c - 0x800u;
      return c;
    };
    return fix(x) <=> fix(y);
  }
  return a.size() <=> b.size();
}

bool isNumericType(const std::string& t) {
  static const std::set<std::string> kTypes = {"double", "single", "int8",  "uint8",  "int16",
                                               "uint16", "int32",  "uint32", "int64", "uint64"};
  return kTypes.count(t) != 0;
}

[[noreturn]] void mismatch(const std::string& variable, const Literal& literal, const std::string& type,
                           const std::string& hint) {
  throw CliError("WhereTypeMismatch", "Cannot compare variable '" + variable + "' of type " + type + " with " +
                                          literal.text + ": " + hint);
}

template <typename T>
std::partial_ordering numberOrder(const ovArray* a, std::size_t i, long double literal) {
  return static_cast<long double>(static_cast<const T*>(ovGetData(a))[i]) <=> literal;
}

// Three-valued results of SQL: a comparison with a missing value is unknown.
enum Truth : std::uint8_t { kFalse, kTrue, kUnknown };

const ovArray* columnOf(const ovArray* table, const std::string& variable) {
  const ustring name = toHost(variable);
  const std::size_t variables = ovTableNumVariables(table);
  for (std::size_t v = 0; v < variables; ++v) {
    if (ovTableName(table, v) == name) return ovTableColumn(table, v);
  }
  throw CliError("InternalError", "Variable '" + variable + "' was not read.");
}

std::vector<std::uint8_t> evaluate(const ovArray* table, const WhereNode& node, std::size_t rows) {
  std::vector<std::uint8_t> out(rows, kUnknown);
  switch (node.kind) {
    case WhereNode::Kind::Compare: {
      const ValueMatcher matcher(columnOf(table, node.variable), node.variable, node.literals.front());
      for (std::size_t r = 0; r < rows; ++r) {
        const auto order = matcher.compare(r);
        if (order != std::partial_ordering::unordered) out[r] = satisfied(node.op, order) ? kTrue : kFalse;
      }
      break;
    }
    case WhereNode::Kind::In: {
      const ovArray* column = columnOf(table, node.variable);
      std::vector<ValueMatcher> matchers;
      for (const auto& literal : node.literals) matchers.emplace_back(column, node.variable, literal);
      for (std::size_t r = 0; r < rows; ++r) {
        const auto order = matchers.front().compare(r);
        if (order == std::partial_ordering::unordered) continue;
        out[r] = kFalse;
        for (const auto& m : matchers) {
          if (m.compare(r) == 0) {
            out[r] = kTrue;
            break;
          }
        }
      }
      break;
    }
    case WhereNode::Kind::IsMissing: {
      const ovArray* column = columnOf(table, node.variable);
      for (std::size_t r = 0; r < rows; ++r) out[r] = isMissingValue(column, r) ? kTrue : kFalse;
      break;
    }
    case WhereNode::Kind::And:
    case WhereNode::Kind::Or: {
      const bool isAnd = node.kind == WhereNode::Kind::And;
      const auto a = evaluate(table, node.children[0], rows);
      const auto b = evaluate(table, node.children[1], rows);
      const std::uint8_t decisive = isAnd ? kFalse : kTrue;
      for (std::size_t r = 0; r < rows; ++r) {
        if (a[r] == decisive || b[r] == decisive) {
          out[r] = decisive;
        } else if (a[r] == kUnknown || b[r] == kUnknown) {
          out[r] = kUnknown;
        } else {
          out[r] = isAnd ? kTrue : kFalse;
        }
      }
      break;
    }
    case WhereNode::Kind::Not: {
      out = evaluate(table, node.children[0], rows);
      for (auto& t : out) t = t == kTrue ? kFalse : t == kFalse ? kTrue : kUnknown;
      break;
    }
  }
  return out;
}

}  // namespace

bool isComparableType(const std::string& t) {
  return isNumericType(t) || t == "logical" || t == "string" || t == "categorical" || t == "datetime" ||
         t == "duration";
}

void checkComparable(const std::string& hostType, const std::string& variable, const Literal& literal) {
  using K = Literal::Kind;
  const K kind = literal.kind;
  if (isNumericType(hostType)) {
    if (kind != K::Number) mismatch(variable, literal, hostType, "use a number.");
  } else if (hostType == "logical") {
    if (kind != K::Boolean && !(kind == K::Number && (literal.number == 0 || literal.number == 1))) {
      mismatch(variable, literal, hostType, "use true or false.");
    }
  } else if (hostType == "string" || hostType == "categorical") {
    if (kind != K::Text) mismatch(variable, literal, hostType, "use a quoted text, like '" + literal.text + "'.");
  } else if (hostType == "datetime") {
    if (kind != K::Text || !parseTimeLiteral(literal.text)) {
      mismatch(variable, literal, hostType,
               "use a quoted ISO 8601 date or time stamp, like '2024-06-01', '2024-06-01T12:00:00Z' or "
               "'2024-06-01 12:00 Europe/Oslo'.");
    }
  } else if (hostType == "duration") {
    if (!durationOf(literal)) mismatch(variable, literal, hostType, "use a number of seconds or a quoted time like '12:30:00'.");
  }
  // Other types (lists, records, binary values) cannot be compared at all;
  // the statistics report them with the library's own message.
}

ValueMatcher::ValueMatcher(const ovArray* column, const std::string& variable, const Literal& literal)
    : mColumn(column), mClass(ovGetClassID(column)) {
  const std::string type = ovGetClassName(column);
  if (!isComparableType(type)) {
    throw CliError("UnsupportedWhereVariable",
                   "Variable '" + variable + "' of type " + type +
                       " cannot be compared in --where: only numbers, logicals, texts, categoricals, datetimes "
                       "and durations can (any variable can be tested with 'is missing').");
  }
  checkComparable(type, variable, literal);
  ovVisitClass(mClass, [&](auto tag) {
    using Tag = decltype(tag);
    if constexpr (Tag::id == ovClassID::Logical) {
      mNumber = literal.kind == Literal::Kind::Boolean ? (literal.boolean ? 1 : 0) : literal.number;
    } else if constexpr (Tag::id == ovClassID::String || Tag::id == ovClassID::Categorical) {
      mText = toHost(literal.text);
    } else if constexpr (Tag::id == ovClassID::Datetime) {
      mNanos = instantOf(*parseTimeLiteral(literal.text), ovGetTimeZone(column), variable);
      mNanosPerTick = nanosPerTick(ovGetTimeUnit(column));
    } else if constexpr (Tag::id == ovClassID::Duration) {
      mNanos = *durationOf(literal);
      mNanosPerTick = nanosPerTick(ovGetTimeUnit(column));
    } else {
      mNumber = literal.number;
    }
  });
}

std::partial_ordering ValueMatcher::compare(std::size_t i) const {
  const ovArray* a = mColumn;
  if (ovIsMissing(a, i)) return std::partial_ordering::unordered;
  return ovVisitClass(mClass, [&](auto tag) -> std::partial_ordering {
    using Tag = decltype(tag);
    if constexpr (Tag::isNumeric || Tag::id == ovClassID::Logical) {
      return numberOrder<typename Tag::Element>(a, i, mNumber);
    } else if constexpr (Tag::id == ovClassID::String) {
      return compareCodePoints(ovGetStringView(a, i), mText);
    } else if constexpr (Tag::id == ovClassID::Categorical) {
      const auto text = ovCategoryText(a, i);
      if (!text) return std::partial_ordering::unordered;
      return compareCodePoints(*text, mText);
    } else if constexpr (Tag::id == ovClassID::Datetime || Tag::id == ovClassID::Duration) {
      const __int128 value = static_cast<__int128>(ovGetTicks(a)[i]) * mNanosPerTick;
      return value < mNanos ? std::partial_ordering::less
             : value > mNanos ? std::partial_ordering::greater
                              : std::partial_ordering::equivalent;
    } else {
      return std::partial_ordering::unordered;
    }
  });
}

bool satisfied(CompareOp op, std::partial_ordering o) {
  switch (op) {
    case CompareOp::Eq: return o == 0;
    case CompareOp::Ne: return o < 0 || o > 0;
    case CompareOp::Lt: return o < 0;
    case CompareOp::Le: return o <= 0;
    case CompareOp::Gt: return o > 0;
    case CompareOp::Ge: return o >= 0;
  }
  return false;
}

std::vector<std::size_t> matchingRows(const ovArray* table, const WhereNode& expression) {
  const std::size_t rows = ovTableNumRows(table);
  const auto truth = evaluate(table, expression, rows);
  std::vector<std::size_t> out;
  for (std::size_t r = 0; r < rows; ++r) {
    if (truth[r] == kTrue) out.push_back(r);
  }
  return out;
}

}  // namespace ovparquet::cli
