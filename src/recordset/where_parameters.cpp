#include "recordset/where_parameters.h"

#include <cstdint>

#include "recordset/sql_tokens.h"

namespace cvimp::recordset {
namespace {

// Words after which the rest of the statement is left as it is: numbers there may be column positions
// (ORDER BY 2) or counts, and nested statements are not looked into.
bool EndsTheWhereClause(std::string_view word) {
  // Most words are names: those are told apart by their length and first letter without comparing.
  if (word.size() < 5 || word.size() > 9) return false;
  switch (word[0] | 0x20) {
    case 'o': case 'g': case 'h': case 'l': case 'w': case 's': case 'u': case 'e': case 'i': case 'v':
      break;
    default:
      return false;
  }
  for (std::string_view keyword :
       {"ORDER", "GROUP", "HAVING", "LIMIT", "WINDOW", "SELECT", "UNION", "EXCEPT", "INTERSECT", "VALUES"})
    if (IsKeyword(word, keyword)) return true;
  return false;
}

// The value of a string literal: without its quotes, '' as one quote; nullopt when unterminated (a literal
// that runs to the end of the statement, also one that ends in a doubled quote).
std::optional<std::string> StringValue(std::string_view literal) {
  if (literal.size() < 2 || literal.back() != '\'') return std::nullopt;
  const std::string_view body = literal.substr(1, literal.size() - 2);
  std::string value;
  value.reserve(body.size());
  for (std::size_t i = 0;;) {
    const std::size_t quote = body.find('\'', i);
    if (quote == std::string_view::npos) {
      value.append(body.substr(i));
      return value;
    }
    if (quote + 1 == body.size() || body[quote + 1] != '\'') return std::nullopt;
    value.append(body.substr(i, quote + 1 - i));
    i = quote + 2;
  }
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
  out.parameters.reserve(4);
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
