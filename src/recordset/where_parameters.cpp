#include "recordset/where_parameters.h"

#include <cstdint>

#include "recordset/sql_tokens.h"

namespace cvimp::recordset {
namespace {

// Words after which the rest of the statement is left as it is: numbers there may be column positions
// (ORDER BY 2) or counts, and nested statements are not looked into.
bool EndsTheWhereClause(std::string_view word) {
  for (std::string_view keyword :
       {"ORDER", "GROUP", "HAVING", "LIMIT", "WINDOW", "SELECT", "UNION", "EXCEPT", "INTERSECT", "VALUES"})
    if (IsKeyword(word, keyword)) return true;
  return false;
}

// The value of a string literal: without its quotes, '' as one quote; nullopt when unterminated.
std::optional<std::string> StringValue(std::string_view literal) {
  if (literal.size() < 2 || literal.back() != '\'') return std::nullopt;
  std::string value;
  value.reserve(literal.size() - 2);
  for (std::size_t i = 1; i + 1 < literal.size(); ++i) {
    value += literal[i];
    if (literal[i] == '\'') ++i;
  }
  return value;
}

// A whole number of plain digits that surely fits 64 bits.
std::optional<std::int64_t> WholeNumberValue(std::string_view literal) {
  if (literal.size() > 18) return std::nullopt;
  std::int64_t n = 0;
  for (char c : literal) {
    if (c < '0' || c > '9') return std::nullopt;
    n = n * 10 + (c - '0');
  }
  return n;
}

}  // namespace

std::optional<ParameterizedStatement> ParameterizeWhereLiterals(std::string_view sql) {
  enum class Part { kBeforeWhere, kWhere, kAfterWhere } part = Part::kBeforeWhere;
  ParameterizedStatement out;
  out.text.reserve(sql.size());
  bool seen_select = false;
  std::optional<TokenKind> previous;  // the token right before, blanks and comments included
  for (std::size_t pos = 0; pos < sql.size();) {
    Token token = TokenAt(sql, pos);
    pos += token.text.size();
    const bool significant = token.kind != TokenKind::kBlank && token.kind != TokenKind::kComment;
    if (significant && !seen_select) {
      if (token.kind != TokenKind::kWord || !IsKeyword(token.text, "SELECT")) return std::nullopt;
      seen_select = true;
      out.text.append(token.text);
      previous = token.kind;
      continue;
    }
    if (token.kind == TokenKind::kParameter || (token.kind == TokenKind::kOther && token.text == ";"))
      return std::nullopt;
    bool replaced = false;
    if (token.kind == TokenKind::kWord) {
      if (part == Part::kBeforeWhere && IsKeyword(token.text, "WHERE"))
        part = Part::kWhere;
      else if (part == Part::kWhere && EndsTheWhereClause(token.text))
        part = Part::kAfterWhere;
    } else if (part == Part::kWhere && token.kind == TokenKind::kString) {
      if (previous == TokenKind::kWord) return std::nullopt;  // X'00' and the like
      auto value = StringValue(token.text);
      if (!value) return std::nullopt;
      out.parameters.emplace_back(std::move(*value));
      replaced = true;
    } else if (part == Part::kWhere && token.kind == TokenKind::kNumber) {
      if (auto value = WholeNumberValue(token.text)) {
        out.parameters.emplace_back(*value);
        replaced = true;
      }
    }
    if (replaced)
      out.text += '?';
    else
      out.text.append(token.text);
    previous = token.kind;
  }
  if (!seen_select) return std::nullopt;
  return out;
}

}  // namespace cvimp::recordset
