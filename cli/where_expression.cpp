#include "where_expression.hpp"

#include "errors.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <optional>
#include <set>

namespace ovparquet::cli {
namespace {

struct Token {
  enum class Kind { Name, QuotedName, Number, Text, Operator, Open, Close, Comma, End };
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
    } else if (c == '(' || c == ')' || c == ',') {
      t.kind = c == '(' ? Token::Kind::Open : c == ')' ? Token::Kind::Close : Token::Kind::Comma;
      t.text = std::string(1, s[i++]);
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

const std::set<std::string>& keywords() {
  static const std::set<std::string> kKeywords = {"and", "or", "not", "in", "is", "missing", "null", "true", "false"};
  return kKeywords;
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

// Recursive descent over the tokens.
class Parser {
 public:
  Parser(std::string_view expression) : mExpression(expression), mTokens(tokenize(expression)) {}

  WhereNode parse() {
    WhereNode node = orExpression();
    if (peek().kind != Token::Kind::End) {
      syntaxError(peek().kind == Token::Kind::Close ? "')' without '('" : "expected 'and' or 'or', not '" + peek().text + "'",
                  peek().position, mExpression);
    }
    return node;
  }

 private:
  const Token& peek(std::size_t ahead = 0) const { return mTokens[std::min(mNext + ahead, mTokens.size() - 1)]; }
  const Token& take() { return mTokens[std::min(mNext++, mTokens.size() - 1)]; }
  bool isKeyword(const Token& t, const char* word) const { return t.kind == Token::Kind::Name && lower(t.text) == word; }

  [[noreturn]] void expected(const std::string& what) const {
    const Token& t = peek();
    syntaxError(t.kind == Token::Kind::End ? "expected " + what + " at the end" : "expected " + what + ", not '" + t.text + "'",
                t.position, mExpression);
  }

  static WhereNode combine(WhereNode::Kind kind, WhereNode left, WhereNode right) {
    WhereNode node;
    node.kind = kind;
    node.children.push_back(std::move(left));
    node.children.push_back(std::move(right));
    return node;
  }

  static WhereNode negation(WhereNode inner) {
    WhereNode node;
    node.kind = WhereNode::Kind::Not;
    node.children.push_back(std::move(inner));
    return node;
  }

  WhereNode orExpression() {
    WhereNode node = andExpression();
    while (isKeyword(peek(), "or")) {
      take();
      node = combine(WhereNode::Kind::Or, std::move(node), andExpression());
    }
    return node;
  }

  WhereNode andExpression() {
    WhereNode node = notExpression();
    while (isKeyword(peek(), "and")) {
      take();
      node = combine(WhereNode::Kind::And, std::move(node), notExpression());
    }
    return node;
  }

  WhereNode notExpression() {
    if (isKeyword(peek(), "not")) {
      take();
      return negation(notExpression());
    }
    if (peek().kind == Token::Kind::Open) {
      take();
      WhereNode node = orExpression();
      if (peek().kind != Token::Kind::Close) expected("')'");
      take();
      return node;
    }
    return condition();
  }

  bool isVariable(const Token& t) const {
    if (t.kind == Token::Kind::QuotedName) return true;
    return t.kind == Token::Kind::Name && keywords().count(lower(t.text)) == 0;
  }

  std::optional<Literal> literal(const Token& t) const {
    Literal lit;
    switch (t.kind) {
      case Token::Kind::Number: {
        lit.kind = Literal::Kind::Number;
        lit.text = t.text;
        char* end = nullptr;
        lit.number = std::strtold(t.text.c_str(), &end);
        if (end == nullptr || *end != '\0') syntaxError("'" + t.text + "' is not a number", t.position, mExpression);
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

  Literal requireLiteral() {
    const auto lit = literal(peek());
    if (!lit) expected("a number, a quoted text, true or false");
    take();
    return *lit;
  }

  WhereNode condition() {
    const Token& first = peek();
    if (first.kind == Token::Kind::End || first.kind == Token::Kind::Close) expected("a condition");
    if (isVariable(first)) {
      take();
      const std::string variable = first.text;
      const Token& next = peek();
      if (isKeyword(next, "is")) return missingTest(variable);
      if (isKeyword(next, "in")) return inList(variable);
      if (isKeyword(next, "not") && isKeyword(peek(1), "in")) {
        take();
        return negation(inList(variable));
      }
      if (next.kind != Token::Kind::Operator) {
        syntaxError(next.kind == Token::Kind::End ? "expected an operator after '" + variable + "'"
                                                  : "expected an operator, not '" + next.text + "'",
                    next.position, mExpression);
      }
      WhereNode node;
      node.variable = variable;
      node.op = *operatorOf(take().text);
      if (isVariable(peek())) syntaxError("a comparison needs a literal on one side", peek().position, mExpression);
      node.literals.push_back(requireLiteral());
      return node;
    }
    // A literal first: "5 < x".
    const auto lit = literal(first);
    if (!lit) expected("a condition");
    take();
    if (peek().kind != Token::Kind::Operator) expected("an operator");
    WhereNode node;
    node.op = mirrored(*operatorOf(take().text));
    if (!isVariable(peek())) syntaxError("a comparison needs a variable on one side", peek().position, mExpression);
    node.variable = take().text;
    node.literals.push_back(*lit);
    return node;
  }

  WhereNode missingTest(const std::string& variable) {
    take();  // is
    bool negate = false;
    if (isKeyword(peek(), "not")) {
      take();
      negate = true;
    }
    if (!isKeyword(peek(), "missing") && !isKeyword(peek(), "null")) expected("'missing' after 'is'");
    take();
    WhereNode node;
    node.kind = WhereNode::Kind::IsMissing;
    node.variable = variable;
    return negate ? negation(std::move(node)) : node;
  }

  WhereNode inList(const std::string& variable) {
    take();  // in
    if (peek().kind != Token::Kind::Open) expected("'(' after 'in'");
    take();
    WhereNode node;
    node.kind = WhereNode::Kind::In;
    node.variable = variable;
    while (true) {
      node.literals.push_back(requireLiteral());
      if (peek().kind == Token::Kind::Close) break;
      if (peek().kind != Token::Kind::Comma) expected("',' or ')' in the list");
      take();
    }
    take();
    return node;
  }

  std::string_view mExpression;
  std::vector<Token> mTokens;
  std::size_t mNext = 0;
};

void collectVariables(const WhereNode& node, std::vector<std::string>& names) {
  if (!node.variable.empty() && std::find(names.begin(), names.end(), node.variable) == names.end()) {
    names.push_back(node.variable);
  }
  for (const auto& child : node.children) collectVariables(child, names);
}

}  // namespace

CompareOp negated(CompareOp op) {
  switch (op) {
    case CompareOp::Eq: return CompareOp::Ne;
    case CompareOp::Ne: return CompareOp::Eq;
    case CompareOp::Lt: return CompareOp::Ge;
    case CompareOp::Le: return CompareOp::Gt;
    case CompareOp::Gt: return CompareOp::Le;
    case CompareOp::Ge: return CompareOp::Lt;
  }
  return op;
}

std::string Literal::describe() const { return kind == Kind::Text ? "'" + text + "'" : text; }

std::string WhereNode::describe() const {
  switch (kind) {
    case Kind::Compare: return variable + " " + operatorText(op) + " " + literals.front().describe();
    case Kind::In: {
      std::string list;
      for (const auto& l : literals) list += (list.empty() ? "" : ", ") + l.describe();
      return variable + " in (" + list + ")";
    }
    case Kind::IsMissing: return variable + " is missing";
    case Kind::And: return "(" + children[0].describe() + " and " + children[1].describe() + ")";
    case Kind::Or: return "(" + children[0].describe() + " or " + children[1].describe() + ")";
    case Kind::Not: return "not " + children[0].describe();
  }
  return "";
}

WhereNode parseWhere(std::string_view expression) { return Parser(expression).parse(); }

std::vector<std::string> variablesOf(const WhereNode& node) {
  std::vector<std::string> names;
  collectVariables(node, names);
  return names;
}

bool isCompared(const WhereNode& node, const std::string& variable) {
  if ((node.kind == WhereNode::Kind::Compare || node.kind == WhereNode::Kind::In) && node.variable == variable) {
    return true;
  }
  for (const auto& child : node.children) {
    if (isCompared(child, variable)) return true;
  }
  return false;
}

}  // namespace ovparquet::cli
