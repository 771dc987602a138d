// For every node of the expression and every row group two facts are
// worked out: whether some row may make the node true, and whether some row
// may make it false (a missing value makes a comparison neither). A node
// proves nothing unless its statistics are there, so both facts start true.
//
//   comparison x op v: no row is true when the [min, max] range excludes op,
//     none false when it excludes the negated op; none either way when every
//     value is missing.
//   and: true only if both may be; false if either may be.
//   or:  true if either may be; false only if both may be.
//   not: swaps the two.
//
// `not x > 5` thus skips only row groups whose present values are all above
// 5, however many values are missing.
#include "where_pruning.hpp"

#include "errors.hpp"
#include "text.hpp"
#include "where.hpp"

#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/read/Statistics.hpp>

#include <map>
#include <optional>

namespace ovparquet::cli {
namespace {

namespace core = orvane::io::parquet::core;

struct Possible {
  bool someTrue = true;
  bool someFalse = true;
};

// Whether a row group whose values lie in [min, max] (orderings of min and
// max against the literal) holds no value satisfying op.
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

// The statistics of one variable (none when the library has none for its
// type).
struct VariableFacts {
  std::optional<core::read::Statistics> stats;
  const ovArray* minimum = nullptr;
  const ovArray* maximum = nullptr;
};

class Pruner {
 public:
  Pruner(const core::read::ParquetReader& reader, const WhereNode& expression, std::vector<std::string>& notes)
      : mHeights(reader.getRowGroupHeights()) {
    const auto names = reader.getVariableNames();
    const auto types = reader.getVariableTypes();
    const std::vector<std::string> compared = comparedVariables(expression);
    for (const auto& variable : variablesOf(expression)) {
      const ustring name = toHost(variable);
      std::int32_t index = -1;
      for (std::size_t v = 0; v < names.size() && index < 0; ++v) {
        if (names[v] == name) index = static_cast<std::int32_t>(v);
      }
      if (index < 0) {
        // A field of a record (pt.x): the library keeps statistics per
        // variable only.
        notes.push_back("no statistics for '" + variable + "' (a field of a record): its row groups are filtered "
                        "row by row");
        mFacts.emplace(variable, VariableFacts{});
        continue;
      }
      const std::string type = types[static_cast<std::size_t>(index)];
      const bool isCompared = std::find(compared.begin(), compared.end(), variable) != compared.end();
      VariableFacts facts;
      try {
        facts.stats = reader.getStatistics({index});
        facts.minimum = ovGetCell(facts.stats->minValues.get(), 0);
        facts.maximum = ovGetCell(facts.stats->maxValues.get(), 0);
      } catch (const core::common::MessageException<ORVANE::parquetio::read::UnsupportedRowFilterVariable>&) {
        if (isCompared && !isComparableType(type)) throw;
        notes.push_back("no statistics for '" + variable + "' (" + type + "): its row groups are filtered row by row");
      } catch (const core::common::MessageException<ORVANE::parquetio::read::InternalUnsupportedParquetType>&) {
        if (isCompared && !isComparableType(type)) throw;
        notes.push_back("no statistics for '" + variable + "': its row groups are filtered row by row");
      }
      mFacts.emplace(variable, std::move(facts));
    }
  }

  Possible evaluate(const WhereNode& node, std::size_t rowGroup) const {
    switch (node.kind) {
      case WhereNode::Kind::And: {
        const Possible a = evaluate(node.children[0], rowGroup);
        const Possible b = evaluate(node.children[1], rowGroup);
        return {a.someTrue && b.someTrue, a.someFalse || b.someFalse};
      }
      case WhereNode::Kind::Or: {
        const Possible a = evaluate(node.children[0], rowGroup);
        const Possible b = evaluate(node.children[1], rowGroup);
        return {a.someTrue || b.someTrue, a.someFalse && b.someFalse};
      }
      case WhereNode::Kind::Not: {
        const Possible a = evaluate(node.children[0], rowGroup);
        return {a.someFalse, a.someTrue};
      }
      case WhereNode::Kind::IsMissing: {
        const auto nulls = nullCount(node.variable, rowGroup);
        if (!nulls) return {};
        return {*nulls > 0, *nulls < mHeights[rowGroup]};
      }
      case WhereNode::Kind::Compare:
      case WhereNode::Kind::In: return comparison(node, rowGroup);
    }
    return {};
  }

 private:
  static std::vector<std::string> comparedVariables(const WhereNode& node) {
    std::vector<std::string> names;
    if (node.kind == WhereNode::Kind::Compare || node.kind == WhereNode::Kind::In) names.push_back(node.variable);
    for (const auto& child : node.children) {
      for (auto& n : comparedVariables(child)) names.push_back(std::move(n));
    }
    return names;
  }

  std::optional<std::uint64_t> nullCount(const std::string& variable, std::size_t r) const {
    const auto& facts = mFacts.at(variable);
    if (!facts.stats) return std::nullopt;
    if (!ovGetTypedData<bool>(facts.stats->nullCountValid.get())[r]) return std::nullopt;
    const std::int64_t n = ovGetTypedData<std::int64_t>(facts.stats->nullCounts.get())[r];
    if (n < 0) return std::nullopt;
    return static_cast<std::uint64_t>(n);
  }

  Possible comparison(const WhereNode& node, std::size_t r) const {
    const auto nulls = nullCount(node.variable, r);
    // Every value missing: every comparison is unknown.
    if (nulls && *nulls >= mHeights[r]) return {false, false};
    const auto& facts = mFacts.at(node.variable);
    if (!facts.stats || facts.minimum == nullptr || facts.maximum == nullptr ||
        !ovGetTypedData<bool>(facts.stats->minMaxValid.get())[r]) {
      return {};
    }
    Possible p{false, false};
    for (const auto& literal : node.literals) {
      const ValueMatcher low(facts.minimum, node.variable, literal);
      const ValueMatcher high(facts.maximum, node.variable, literal);
      const auto minOrder = low.compare(r);
      const auto maxOrder = high.compare(r);
      if (node.kind == WhereNode::Kind::Compare) {
        return {!rangeExcludes(node.op, minOrder, maxOrder), !rangeExcludes(negated(node.op), minOrder, maxOrder)};
      }
      // In: a value may equal this literal; every value equals it only when
      // min = max = literal.
      p.someTrue = p.someTrue || !rangeExcludes(CompareOp::Eq, minOrder, maxOrder);
      if (minOrder == 0 && maxOrder == 0) return {true, false};
    }
    p.someFalse = true;
    return p;
  }

  std::vector<std::uint64_t> mHeights;
  std::map<std::string, VariableFacts> mFacts;
};

}  // namespace

std::vector<bool> provenEmptyRowGroups(const core::read::ParquetReader& reader, const WhereNode& expression,
                                       const std::vector<double>& candidates, std::vector<std::string>& notes) {
  const Pruner pruner(reader, expression, notes);
  const auto heights = reader.getRowGroupHeights();
  std::vector<bool> empty(candidates.size(), false);
  for (std::size_t k = 0; k < candidates.size(); ++k) {
    const double number = candidates[k];
    if (!(number >= 1) || number > static_cast<double>(heights.size())) continue;
    empty[k] = !pruner.evaluate(expression, static_cast<std::size_t>(number) - 1).someTrue;
  }
  return empty;
}

}  // namespace ovparquet::cli
