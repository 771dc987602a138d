// The --where language: conditions on variables combined with and, or, not
// and parentheses, for example
//
//   (temperature > 30 or station in ('Oslo', 'Bergen')) and not time < '2024-06-01'
//
// Conditions: comparisons of a variable with a literal (=, ==, !=, <>, <,
// <=, >, >=, either side), `x in (...)` and `x not in (...)`, `x is missing`
// and `x is not missing` (also `is null`). Literals: numbers, single-quoted
// texts ('it''s' for a quote), true and false. Variable names are bare words
// or written in double quotes ("my var"); the keywords (and, or, not, in, is,
// missing, null, true, false) must be quoted to be names. `and` binds
// tighter than `or`, `not` tighter than both.
//
// Missing values make a comparison unknown, as in SQL: `x > 5` and
// `not x > 5` both drop a row where x is missing; NaN compares like a
// missing value. A row is kept when the whole expression is true.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ovparquet::cli {

enum class CompareOp { Eq, Ne, Lt, Le, Gt, Ge };

// The operator that holds exactly where `op` fails (for present values).
CompareOp negated(CompareOp op);

struct Literal {
  enum class Kind { Number, Text, Boolean };
  Kind kind = Kind::Number;
  // Numbers as written; texts unquoted.
  std::string text;
  long double number = 0;
  bool boolean = false;
  // As written in the expression ('abc', 5, true).
  std::string describe() const;
};

struct WhereNode {
  enum class Kind { Compare, In, IsMissing, And, Or, Not };
  Kind kind = Kind::Compare;
  std::string variable;           // Compare, In, IsMissing (UTF-8)
  CompareOp op = CompareOp::Eq;   // Compare
  std::vector<Literal> literals;  // Compare: one; In: the list
  std::vector<WhereNode> children;  // And, Or: two; Not: one
  // The condition as text, for messages.
  std::string describe() const;
};

// Parses the expression; a syntax error is a usage error.
WhereNode parseWhere(std::string_view expression);

// The variables the expression names, each once, in order of appearance.
std::vector<std::string> variablesOf(const WhereNode& node);
// Whether the expression compares the variable with literals (rather than
// only testing it with 'is missing').
bool isCompared(const WhereNode& node, const std::string& variable);

}  // namespace ovparquet::cli
