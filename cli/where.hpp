// Evaluating a --where expression (where_expression.hpp) on the rows of host
// tables.
//
// Texts compare with text variables and categoricals (by code point, as
// Parquet orders them); with datetime variables a text is an ISO 8601 date or
// time stamp (time_literal.hpp), and with duration variables a time of day
// ('12:30:00') or a number of seconds.
#pragma once

#include "where_expression.hpp"

#include <ovparquet/host/array.hpp>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ovparquet::cli {

// Checks, before anything is read, that every literal can be compared with
// its variable; `hostTypeOf` gives a variable's host type ("double",
// "string", ...). Raises a CliError naming both otherwise. Types that cannot
// be compared at all (lists, records) pass here: the statistics refuse them.
template <typename TypeOf>
void checkComparable(const WhereNode& node, const TypeOf& hostTypeOf);
void checkComparable(const std::string& hostType, const std::string& variable, const Literal& literal);

// Whether a host type can be compared with literals at all.
bool isComparableType(const std::string& hostType);

// Compares the elements of one host column (flat, N-by-1) with a literal.
class ValueMatcher {
 public:
  ValueMatcher(const ovArray* column, const std::string& variable, const Literal& literal);

  // How element i compares with the literal: unordered when missing or NaN.
  std::partial_ordering compare(std::size_t i) const;

 private:
  const ovArray* mColumn;
  ovClassID mClass;
  long double mNumber = 0;
  std::u16string mText;
  __int128 mNanos = 0;
  __int128 mNanosPerTick = 1;
};

// Whether `order` (of a value against the literal) satisfies `op`.
bool satisfied(CompareOp op, std::partial_ordering order);

// The rows (0-based) of a host table for which the expression is true.
// Every variable it names must be a variable of the table.
std::vector<std::size_t> matchingRows(const ovArray* table, const WhereNode& expression);

template <typename TypeOf>
void checkComparable(const WhereNode& node, const TypeOf& hostTypeOf) {
  if (node.kind == WhereNode::Kind::Compare || node.kind == WhereNode::Kind::In) {
    const std::string type = hostTypeOf(node.variable);
    for (const auto& literal : node.literals) checkComparable(type, node.variable, literal);
  }
  for (const auto& child : node.children) checkComparable(child, hostTypeOf);
}

}  // namespace ovparquet::cli
