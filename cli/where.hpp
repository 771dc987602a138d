// Row filters of "read --where": comparisons of a variable with a literal,
// joined by "and", for example
//
//   temperature > 30 and station = 'Oslo' and time >= '2024-06-01'
//
// Operators: = (also ==), != (also <>), <, <=, >, >=. Literals: numbers,
// single-quoted texts ('it''s' for a quote), true and false. Variable names
// are bare words or written in double quotes ("my var"). Texts compare with
// text variables and categoricals (by code point, as Parquet orders them);
// with datetime variables a text is an ISO 8601 date or time stamp
// ('2024-06-01', '2024-06-01T12:00:00.5Z', '2024-06-01 12:00+02:00'; UTC when
// no offset is given), and with duration variables a time of day
// ('12:30:00') or a number of seconds.
//
// A comparison with a missing value (or NaN) is false, whatever the
// operator. Row groups whose statistics prove that no row can match are
// skipped without being read.
#pragma once

#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/array.hpp>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ovparquet::cli {

enum class CompareOp { Eq, Ne, Lt, Le, Gt, Ge };

struct Literal {
  enum class Kind { Number, Text, Boolean };
  Kind kind = Kind::Number;
  // Numbers as written; texts unquoted.
  std::string text;
  long double number = 0;
  bool boolean = false;
};

struct Condition {
  std::string variable;  // UTF-8
  CompareOp op = CompareOp::Eq;
  Literal literal;
  // "x > 5", for messages.
  std::string describe() const;
};

// Parses the expression; a syntax error is a usage error.
std::vector<Condition> parseWhere(std::string_view expression);

// Checks, before anything is read, that the literal of `condition` can be
// compared with a variable of this host type ("double", "string", ...);
// raises a CliError naming both otherwise. Types that cannot be compared at
// all (lists, records) pass here: the statistics refuse them.
void checkComparable(const std::string& hostType, const Condition& condition);

// Compares the elements of one host column (flat, N-by-1) with a literal.
class ValueMatcher {
 public:
  ValueMatcher(const ovArray* column, const Condition& condition);

  // How element i compares with the literal: unordered when missing or NaN.
  std::partial_ordering compare(std::size_t i) const;
  bool matches(std::size_t i) const;

 private:
  const ovArray* mColumn;
  CompareOp mOp;
  ovClassID mClass;
  long double mNumber = 0;
  std::u16string mText;
  __int128 mNanos = 0;
  __int128 mNanosPerTick = 1;
};

// The rows (0-based) of a host table that satisfy every condition. Each
// condition's variable must be a variable of the table.
std::vector<std::size_t> matchingRows(const ovArray* table, const std::vector<Condition>& conditions);

// For each candidate row group (1-based numbers), whether the statistics of
// the conditions' variables prove that none of its rows match. Variables of
// a type the statistics do not cover (categoricals, decimals) prune nothing;
// a note for each is appended to `notes`.
std::vector<bool> provenEmptyRowGroups(const orvane::io::parquet::core::read::ParquetReader& reader,
                                       const std::vector<Condition>& conditions,
                                       const std::vector<double>& candidates, std::vector<std::string>& notes);

}  // namespace ovparquet::cli
