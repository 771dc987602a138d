#include "where.hpp"

#include "errors.hpp"
#include "text.hpp"

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/read/Statistics.hpp>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <set>

namespace ovparquet::cli {
namespace {

namespace core = orvane::io::parquet::core;

// ---------------------------------------------------------------------------
// Parsing
// ---------------------------------------------------------------------------

struct Token {
  enum class Kind { Name, QuotedName, Number, Text, Operator, End };
  Kind kind = Kind::End;
  std::string text;
  std::size_t position = 0;
};

[[noreturn]] void syntaxError(const std::string& what, std::size_t position, std::string_view expression) {
  throw usageError("InvalidWhere", "Invalid --where expression at character " + std::to_string(position + 1) +
                                       ": " + what + " (in \"" + std::string(expression) + "\").");
}

bool nameStart(unsigned char c) { return std::isalpha(c) || c == '_' || c >= 0x80; }
bool namePart(unsigned char c) { return std::isalnum(c) || c == '_' || c == '.' || c >= 0x80; }

std::vector<Token> tokenize(std::string_view s) {
  std::vector<Token> tokens;
  std::size_t i = 0;
  while (true) {
    while (i < s.size() && std::isspace(static_cast<unsigned char>(s[i]))) ++i;
    Token t;
    t.position = i;
    if (i >= s.size()) {
      tokens.push_back(t);
      return tokens;
    }
    const auto c = static_cast<unsigned char>(s[i]);
    if (c == '\'' || c == '"' || c == '`') {
      const char quote = s[i];
      std::string text;
      ++i;
      while (true) {
        if (i >= s.size()) syntaxError("unterminated quote", t.position, s);
        if (s[i] == quote) {
          if (i + 1 < s.size() && s[i + 1] == quote) {
            text += quote;
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        text += s[i++];
      }
      t.kind = quote == '\'' ? Token::Kind::Text : Token::Kind::QuotedName;
      t.text = std::move(text);
    } else if (std::isdigit(c) || ((c == '-' || c == '+' || c == '.') && i + 1 < s.size() &&
                                   (std::isdigit(static_cast<unsigned char>(s[i + 1])) || s[i + 1] == '.'))) {
      const std::size_t start = i;
      if (s[i] == '-' || s[i] == '+') ++i;
      while (i < s.size() && (std::isdigit(static_cast<unsigned char>(s[i])) || s[i] == '.')) ++i;
      if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        if (i < s.size() && (s[i] == '-' || s[i] == '+')) ++i;
        while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) ++i;
      }
      t.kind = Token::Kind::Number;
      t.text = std::string(s.substr(start, i - start));
    } else if (nameStart(c)) {
      const std::size_t start = i;
      while (i < s.size() && namePart(static_cast<unsigned char>(s[i]))) ++i;
      t.kind = Token::Kind::Name;
      t.text = std::string(s.substr(start, i - start));
    } else if (c == '=' || c == '!' || c == '<' || c == '>') {
      std::string op(1, s[i++]);
      if (i < s.size() && (s[i] == '=' || (op == "<" && s[i] == '>'))) op += s[i++];
      if (op == "!") syntaxError("'!' must be followed by '='", t.position, s);
      t.kind = Token::Kind::Operator;
      t.text = op;
    } else {
      syntaxError(std::string("unexpected character '") + s[i] + "'", i, s);
    }
    tokens.push_back(std::move(t));
  }
}

std::string lower(std::string text) {
  for (auto& ch : text) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
  return text;
}

std::optional<CompareOp> operatorOf(const std::string& op) {
  if (op == "=" || op == "==") return CompareOp::Eq;
  if (op == "!=" || op == "<>") return CompareOp::Ne;
  if (op == "<") return CompareOp::Lt;
  if (op == "<=") return CompareOp::Le;
  if (op == ">") return CompareOp::Gt;
  if (op == ">=") return CompareOp::Ge;
  return std::nullopt;
}

// "5 < x" is "x > 5".
CompareOp mirrored(CompareOp op) {
  switch (op) {
    case CompareOp::Lt: return CompareOp::Gt;
    case CompareOp::Le: return CompareOp::Ge;
    case CompareOp::Gt: return CompareOp::Lt;
    case CompareOp::Ge: return CompareOp::Le;
    default: return op;
  }
}

const char* operatorText(CompareOp op) {
  switch (op) {
    case CompareOp::Eq: return "=";
    case CompareOp::Ne: return "!=";
    case CompareOp::Lt: return "<";
    case CompareOp::Le: return "<=";
    case CompareOp::Gt: return ">";
    case CompareOp::Ge: return ">=";
  }
  return "?";
}

bool isVariableToken(const Token& t) {
  if (t.kind == Token::Kind::QuotedName) return true;
  if (t.kind != Token::Kind::Name) return false;
  const std::string l = lower(t.text);
  return l != "true" && l != "false" && l != "and";
}

std::optional<Literal> literalOf(const Token& t, std::string_view expression) {
  Literal lit;
  switch (t.kind) {
    case Token::Kind::Number: {
      lit.kind = Literal::Kind::Number;
      lit.text = t.text;
      char* end = nullptr;
      lit.number = std::strtold(t.text.c_str(), &end);
      if (end == nullptr || *end != '\0') syntaxError("'" + t.text + "' is not a number", t.position, expression);
      return lit;
    }
    case Token::Kind::Text:
      lit.kind = Literal::Kind::Text;
      lit.text = t.text;
      return lit;
    case Token::Kind::Name: {
      const std::string l = lower(t.text);
      if (l != "true" && l != "false") return std::nullopt;
      lit.kind = Literal::Kind::Boolean;
      lit.boolean = l == "true";
      lit.text = l;
      return lit;
    }
    default: return std::nullopt;
  }
}

// ---------------------------------------------------------------------------
// Literals for the host classes
// ---------------------------------------------------------------------------

constexpr __int128 kNanosPerSecond = 1000000000;
constexpr __int128 kNanosPerDay = kNanosPerSecond * 86400;

__int128 nanosPerTick(ovTimeUnit unit) {
  switch (unit) {
    case ovTimeUnit::Second: return kNanosPerSecond;
    case ovTimeUnit::Milli: return 1000000;
    case ovTimeUnit::Micro: return 1000;
    case ovTimeUnit::Nano: return 1;
    case ovTimeUnit::Day: return kNanosPerDay;
  }
  return 1;
}

std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

// Reads exactly `count` digits at `pos`.
bool digits(std::string_view s, std::size_t& pos, std::size_t count, int& value) {
  if (pos + count > s.size()) return false;
  value = 0;
  for (std::size_t k = 0; k < count; ++k) {
    const char c = s[pos + k];
    if (c < '0' || c > '9') return false;
    value = value * 10 + (c - '0');
  }
  pos += count;
  return true;
}

// Fraction digits ".123456789" as nanoseconds (more than 9 digits are cut).
bool fraction(std::string_view s, std::size_t& pos, __int128& nanos) {
  nanos = 0;
  if (pos >= s.size() || s[pos] != '.') return true;
  ++pos;
  std::size_t count = 0;
  __int128 scale = kNanosPerSecond;
  while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9') {
    if (count < 9) {
      scale /= 10;
      nanos += (s[pos] - '0') * scale;
    }
    ++count;
    ++pos;
  }
  return count > 0;
}

// "HH:MM[:SS[.f]]" as nanoseconds since midnight.
bool timeOfDay(std::string_view s, std::size_t& pos, __int128& nanos) {
  int hh = 0;
  int mm = 0;
  int ss = 0;
  if (!digits(s, pos, 2, hh) || pos >= s.size() || s[pos] != ':') return false;
  ++pos;
  if (!digits(s, pos, 2, mm)) return false;
  __int128 frac = 0;
  if (pos < s.size() && s[pos] == ':') {
    ++pos;
    if (!digits(s, pos, 2, ss) || !fraction(s, pos, frac)) return false;
  }
  if (hh > 24 || mm > 59 || ss > 60) return false;
  nanos = ((static_cast<__int128>(hh) * 60 + mm) * 60 + ss) * kNanosPerSecond + frac;
  return true;
}

// An ISO 8601 date or time stamp as nanoseconds since the epoch, UTC.
std::optional<__int128> parseTimestamp(std::string_view s) {
  std::size_t pos = 0;
  int sign = 1;
  if (!s.empty() && (s[0] == '-' || s[0] == '+')) {
    sign = s[0] == '-' ? -1 : 1;
    ++pos;
  }
  int year = 0;
  int month = 0;
  int day = 0;
  if (!digits(s, pos, 4, year) || pos >= s.size() || s[pos++] != '-' || !digits(s, pos, 2, month) ||
      pos >= s.size() || s[pos++] != '-' || !digits(s, pos, 2, day)) {
    return std::nullopt;
  }
  if (month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
  __int128 nanos = static_cast<__int128>(daysFromCivil(sign * year, static_cast<unsigned>(month),
                                                       static_cast<unsigned>(day))) * kNanosPerDay;
  if (pos == s.size()) return nanos;
  if (s[pos] != 'T' && s[pos] != 't' && s[pos] != ' ') return std::nullopt;
  ++pos;
  __int128 clock = 0;
  if (!timeOfDay(s, pos, clock)) return std::nullopt;
  nanos += clock;
  if (pos == s.size()) return nanos;
  if (s[pos] == 'Z' || s[pos] == 'z') return pos + 1 == s.size() ? std::optional(nanos) : std::nullopt;
  if (s[pos] != '+' && s[pos] != '-') return std::nullopt;
  const int offsetSign = s[pos] == '-' ? -1 : 1;
  ++pos;
  int oh = 0;
  int om = 0;
  if (!digits(s, pos, 2, oh)) return std::nullopt;
  if (pos < s.size() && s[pos] == ':') ++pos;
  if (pos < s.size() && !digits(s, pos, 2, om)) return std::nullopt;
  if (pos != s.size()) return std::nullopt;
  return nanos - offsetSign * (static_cast<__int128>(oh) * 60 + om) * 60 * kNanosPerSecond;
}

// A number of seconds ("90", "-1.5") or a time of day ("12:30:00") as
// nanoseconds.
std::optional<__int128> parseDuration(const Literal& lit) {
  std::string_view s = lit.text;
  if (lit.kind == Literal::Kind::Text) {
    std::size_t pos = 0;
    __int128 nanos = 0;
    if (timeOfDay(s, pos, nanos) && pos == s.size()) return nanos;
    if (s.empty() || (s.back() != 's')) return std::nullopt;
    s.remove_suffix(1);  // "1.5s", as durations print
  } else if (lit.kind != Literal::Kind::Number) {
    return std::nullopt;
  }
  std::size_t pos = 0;
  int sign = 1;
  if (pos < s.size() && (s[pos] == '-' || s[pos] == '+')) sign = s[pos++] == '-' ? -1 : 1;
  __int128 whole = 0;
  std::size_t count = 0;
  while (pos < s.size() && s[pos] >= '0' && s[pos] <= '9') {
    whole = whole * 10 + (s[pos++] - '0');
    if (++count > 20) return std::nullopt;
  }
  __int128 frac = 0;
  if (!fraction(s, pos, frac) || pos != s.size() || (count == 0 && frac == 0 && s.find('.') == s.npos)) {
    return std::nullopt;
  }
  return sign * (whole * kNanosPerSecond + frac);
}

// Orders UTF-16 texts by code point (the order of their UTF-8 bytes, which
// is how Parquet orders texts): surrogates sort above U+E000..U+FFFF.
std::strong_ordering compareCodePoints(std::u16string_view a, std::u16string_view b) {
  const std::size_t n = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < n; ++i) {
    char16_t x = a[i];
    char16_t y = b[i];
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

bool isComparableType(const std::string& t) {
  return isNumericType(t) || t == "logical" || t == "string" || t == "categorical" || t == "datetime" ||
         t == "duration";
}

[[noreturn]] void mismatch(const Condition& c, const std::string& type, const std::string& hint) {
  throw CliError("WhereTypeMismatch", "Cannot compare variable '" + c.variable + "' of type " + type +
                                          " with " + c.literal.text + ": " + hint);
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

// Whether a row group whose values lie in [min, max] (orderings of min and
// max against the literal) can hold no matching value.
bool rangeExcludes(CompareOp op, std::partial_ordering minOrder, std::partial_ordering maxOrder) {
  switch (op) {
    case CompareOp::Eq: return minOrder > 0 || maxOrder < 0;
    case CompareOp::Ne: return minOrder == 0 && maxOrder == 0;
    case CompareOp::Lt: return minOrder >= 0;
    case CompareOp::Le: return minOrder > 0;
    case CompareOp::Gt: return maxOrder <= 0;
    case CompareOp::Ge: return maxOrder < 0;
  }
  return false;
}

template <typename T>
std::partial_ordering numberOrder(const ovArray* a, std::size_t i, long double literal) {
  return static_cast<long double>(static_cast<const T*>(ovGetData(a))[i]) <=> literal;
}

}  // namespace

std::string Condition::describe() const {
  std::string lit = literal.kind == Literal::Kind::Text ? "'" + literal.text + "'" : literal.text;
  return variable + " " + operatorText(op) + " " + lit;
}

std::vector<Condition> parseWhere(std::string_view expression) {
  const std::vector<Token> tokens = tokenize(expression);
  std::vector<Condition> conditions;
  std::size_t k = 0;
  while (true) {
    if (tokens[k].kind == Token::Kind::End) syntaxError("expected a comparison", tokens[k].position, expression);
    const Token& a = tokens[k];
    const Token& op = tokens[k + 1];
    if (op.kind != Token::Kind::Operator) {
      syntaxError(op.kind == Token::Kind::End ? "expected an operator after '" + a.text + "'"
                                              : "expected an operator, not '" + op.text + "'",
                  op.position, expression);
    }
    const Token& b = tokens[k + 2];
    Condition c;
    c.op = *operatorOf(op.text);
    if (isVariableToken(a)) {
      const auto lit = literalOf(b, expression);
      if (!lit) syntaxError("expected a number, a quoted text, true or false", b.position, expression);
      c.variable = a.text;
      c.literal = *lit;
    } else if (isVariableToken(b)) {
      const auto lit = literalOf(a, expression);
      if (!lit) syntaxError("expected a variable name", a.position, expression);
      c.variable = b.text;
      c.literal = *lit;
      c.op = mirrored(c.op);
    } else {
      syntaxError("a comparison needs a variable on one side", a.position, expression);
    }
    conditions.push_back(std::move(c));
    k += 3;
    const Token& next = tokens[k];
    if (next.kind == Token::Kind::End) break;
    if (next.kind != Token::Kind::Name || lower(next.text) != "and") {
      syntaxError("expected 'and' between comparisons, not '" + next.text + "'", next.position, expression);
    }
    ++k;
  }
  return conditions;
}

void checkComparable(const std::string& hostType, const Condition& c) {
  using K = Literal::Kind;
  const K kind = c.literal.kind;
  if (isNumericType(hostType)) {
    if (kind != K::Number) mismatch(c, hostType, "use a number.");
  } else if (hostType == "logical") {
    if (kind != K::Boolean && !(kind == K::Number && (c.literal.number == 0 || c.literal.number == 1))) {
      mismatch(c, hostType, "use true or false.");
    }
  } else if (hostType == "string" || hostType == "categorical") {
    if (kind != K::Text) mismatch(c, hostType, "use a quoted text, like '" + c.literal.text + "'.");
  } else if (hostType == "datetime") {
    if (kind != K::Text || !parseTimestamp(c.literal.text)) {
      mismatch(c, hostType, "use a quoted ISO 8601 date or time stamp, like '2024-06-01' or '2024-06-01T12:00:00Z'.");
    }
  } else if (hostType == "duration") {
    if (!parseDuration(c.literal)) mismatch(c, hostType, "use a number of seconds or a quoted time like '12:30:00'.");
  }
  // Other types (lists, records, binary values) cannot be compared at all;
  // the statistics report them with the library's own message.
}

ValueMatcher::ValueMatcher(const ovArray* column, const Condition& c)
    : mColumn(column), mOp(c.op), mClass(ovGetClassID(column)) {
  const std::string type = ovGetClassName(column);
  if (!isComparableType(type)) {
    throw CliError("UnsupportedWhereVariable",
                   "Variable '" + c.variable + "' of type " + type +
                       " cannot be used in --where: only numbers, logicals, texts, categoricals, datetimes "
                       "and durations can.");
  }
  checkComparable(type, c);
  switch (mClass) {
    case ovClassID::Logical:
      mNumber = c.literal.kind == Literal::Kind::Boolean ? (c.literal.boolean ? 1 : 0) : c.literal.number;
      break;
    case ovClassID::String:
    case ovClassID::Categorical: mText = toHost(c.literal.text); break;
    case ovClassID::Datetime:
      mNanos = *parseTimestamp(c.literal.text);
      mNanosPerTick = nanosPerTick(ovGetTimeUnit(column));
      break;
    case ovClassID::Duration:
      mNanos = *parseDuration(c.literal);
      mNanosPerTick = nanosPerTick(ovGetTimeUnit(column));
      break;
    default: mNumber = c.literal.number; break;
  }
}

std::partial_ordering ValueMatcher::compare(std::size_t i) const {
  const ovArray* a = mColumn;
  if (ovIsMissing(a, i)) return std::partial_ordering::unordered;
  switch (mClass) {
    case ovClassID::Double: return numberOrder<double>(a, i, mNumber);
    case ovClassID::Single: return numberOrder<float>(a, i, mNumber);
    case ovClassID::Int8: return numberOrder<std::int8_t>(a, i, mNumber);
    case ovClassID::UInt8: return numberOrder<std::uint8_t>(a, i, mNumber);
    case ovClassID::Int16: return numberOrder<std::int16_t>(a, i, mNumber);
    case ovClassID::UInt16: return numberOrder<std::uint16_t>(a, i, mNumber);
    case ovClassID::Int32: return numberOrder<std::int32_t>(a, i, mNumber);
    case ovClassID::UInt32: return numberOrder<std::uint32_t>(a, i, mNumber);
    case ovClassID::Int64: return numberOrder<std::int64_t>(a, i, mNumber);
    case ovClassID::UInt64: return numberOrder<std::uint64_t>(a, i, mNumber);
    case ovClassID::Logical: return numberOrder<bool>(a, i, mNumber);
    case ovClassID::String: return compareCodePoints(ovGetStringView(a, i), mText);
    case ovClassID::Categorical: {
      const std::int32_t code = ovGetCategoryCodes(a)[i];
      const ovArray* categories = ovGetCategories(a);
      if (code < 0 || static_cast<std::size_t>(code) >= ovGetNumberOfElements(categories)) {
        return std::partial_ordering::unordered;
      }
      return compareCodePoints(ovGetStringView(categories, static_cast<std::size_t>(code)), mText);
    }
    case ovClassID::Datetime:
    case ovClassID::Duration: {
      const __int128 value = static_cast<__int128>(ovGetTicks(a)[i]) * mNanosPerTick;
      return value < mNanos ? std::partial_ordering::less
             : value > mNanos ? std::partial_ordering::greater
                              : std::partial_ordering::equivalent;
    }
    default: return std::partial_ordering::unordered;
  }
}

bool ValueMatcher::matches(std::size_t i) const { return satisfied(mOp, compare(i)); }

std::vector<std::size_t> matchingRows(const ovArray* table, const std::vector<Condition>& conditions) {
  const std::size_t rows = ovTableNumRows(table);
  std::vector<std::uint8_t> keep(rows, 1);
  const std::size_t variables = ovTableNumVariables(table);
  for (const auto& c : conditions) {
    const ustring name = toHost(c.variable);
    const ovArray* column = nullptr;
    for (std::size_t v = 0; v < variables && column == nullptr; ++v) {
      if (ovTableName(table, v) == name) column = ovTableColumn(table, v);
    }
    if (column == nullptr) throw CliError("InternalError", "Variable '" + c.variable + "' was not read.");
    const ValueMatcher matcher(column, c);
    for (std::size_t r = 0; r < rows; ++r) {
      if (keep[r] != 0 && !matcher.matches(r)) keep[r] = 0;
    }
  }
  std::vector<std::size_t> out;
  for (std::size_t r = 0; r < rows; ++r) {
    if (keep[r] != 0) out.push_back(r);
  }
  return out;
}

std::vector<bool> provenEmptyRowGroups(const core::read::ParquetReader& reader, const std::vector<Condition>& conditions,
                                       const std::vector<double>& candidates, std::vector<std::string>& notes) {
  std::vector<bool> empty(candidates.size(), false);
  const auto names = reader.getVariableNames();
  const auto types = reader.getVariableTypes();
  const auto heights = reader.getRowGroupHeights();
  for (const auto& c : conditions) {
    const ustring name = toHost(c.variable);
    std::int32_t index = -1;
    for (std::size_t v = 0; v < names.size(); ++v) {
      if (names[v] == name) {
        index = static_cast<std::int32_t>(v);
        break;
      }
    }
    if (index < 0) throw CliError("InternalError", "Variable '" + c.variable + "' is not in the file.");
    core::read::Statistics stats;
    try {
      stats = reader.getStatistics({index});
    } catch (const core::common::MessageException<ORVANE::parquetio::read::UnsupportedRowFilterVariable>&) {
      if (!isComparableType(types[static_cast<std::size_t>(index)])) throw;
      notes.push_back("no statistics for '" + c.variable + "' (" + types[static_cast<std::size_t>(index)] +
                      "): its row groups are filtered row by row");
      continue;
    } catch (const core::common::MessageException<ORVANE::parquetio::read::InternalUnsupportedParquetType>&) {
      if (!isComparableType(types[static_cast<std::size_t>(index)])) throw;
      notes.push_back("no statistics for '" + c.variable + "': its row groups are filtered row by row");
      continue;
    }
    const ovArray* minimum = ovGetCell(stats.minValues.get(), 0);
    const ovArray* maximum = ovGetCell(stats.maxValues.get(), 0);
    const auto* minMaxValid = ovGetTypedData<bool>(stats.minMaxValid.get());
    const auto* nullValid = ovGetTypedData<bool>(stats.nullCountValid.get());
    const auto* nulls = ovGetTypedData<std::int64_t>(stats.nullCounts.get());
    std::optional<ValueMatcher> minMatcher;
    std::optional<ValueMatcher> maxMatcher;
    if (minimum != nullptr && maximum != nullptr) {
      minMatcher.emplace(minimum, c);
      maxMatcher.emplace(maximum, c);
    }
    for (std::size_t k = 0; k < candidates.size(); ++k) {
      if (empty[k]) continue;
      const double number = candidates[k];
      if (!(number >= 1) || number > static_cast<double>(heights.size())) continue;
      const auto r = static_cast<std::size_t>(number) - 1;
      // Every value missing: no comparison can hold.
      if (nullValid[r] && nulls[r] >= 0 && static_cast<std::uint64_t>(nulls[r]) >= heights[r]) {
        empty[k] = true;
        continue;
      }
      if (minMatcher && minMaxValid[r] && rangeExcludes(c.op, minMatcher->compare(r), maxMatcher->compare(r))) {
        empty[k] = true;
      }
    }
  }
  return empty;
}

}  // namespace ovparquet::cli
