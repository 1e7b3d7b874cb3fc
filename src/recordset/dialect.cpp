#include "recordset/dialect.h"

#include <sqlite3.h>

#include <string>

#include "common/error.h"
#include "common/numeric.h"
#include "recordset/sql_tokens.h"

namespace cvimp::recordset {
namespace {

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// The first token at or after `pos` that is neither blank nor comment; nullopt at the end.
std::optional<Token> NextSignificant(std::string_view sql, std::size_t pos) {
  while (pos < sql.size()) {
    Token token = TokenAt(sql, pos);
    if (token.kind != TokenKind::kBlank && token.kind != TokenKind::kComment) return token;
    pos += token.text.size();
  }
  return std::nullopt;
}

std::size_t EndOf(std::string_view sql, const Token& token) {
  return static_cast<std::size_t>(token.text.data() - sql.data()) + token.text.size();
}

// Whether the word IN at `token` is followed by an empty list: "(" and ")" with only blanks between.
bool IsEmptyInList(std::string_view sql, const Token& token) {
  auto open = NextSignificant(sql, EndOf(sql, token));
  if (!open || open->text != "(") return false;
  auto close = NextSignificant(sql, EndOf(sql, *open));
  return close && close->text == ")";
}

}  // namespace

std::string TranslateDialect(std::string_view sql) {
  std::string out;
  out.reserve(sql.size() + 8);
  for (std::size_t pos = 0; pos < sql.size();) {
    Token token = TokenAt(sql, pos);
    out.append(token.text);
    pos += token.text.size();
    if (token.kind == TokenKind::kNumber && pos < sql.size() && IsLetter(sql[pos])) out += ' ';
    if (token.kind == TokenKind::kWord && IsKeyword(token.text, "IN") && IsEmptyInList(sql, token))
      throw Error(ErrorCode::kDatabase, "Syntax error: an empty list after IN in: " + std::string(sql));
  }
  return out;
}

std::optional<double> CdblOfText(std::string_view text) {
  std::string number(text);
  if (number.find(',') != std::string::npos) {
    if (number.find('.') != std::string::npos) return std::nullopt;
    for (char& c : number)
      if (c == ',') c = '.';
  }
  return TextToDouble(number);
}

namespace {

void Cdbl(sqlite3_context* context, int, sqlite3_value** argv) {
  sqlite3_value* arg = argv[0];
  switch (sqlite3_value_type(arg)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT:
      sqlite3_result_double(context, sqlite3_value_double(arg));
      return;
    case SQLITE_NULL:
      sqlite3_result_error(context, "CDBL: invalid use of Null", -1);
      return;
    default:
      break;
  }
  const auto* bytes = reinterpret_cast<const char*>(sqlite3_value_text(arg));
  std::string_view text(bytes ? bytes : "", static_cast<std::size_t>(sqlite3_value_bytes(arg)));
  if (auto d = CdblOfText(text)) {
    sqlite3_result_double(context, *d);
    return;
  }
  std::string message = "CDBL: '" + std::string(text) + "' is not a number";
  sqlite3_result_error(context, message.c_str(), static_cast<int>(message.size()));
}

}  // namespace

int RegisterDialectFunctions(sqlite3* db) {
  return sqlite3_create_function_v2(db, "CDBL", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, Cdbl, nullptr, nullptr,
                                    nullptr);
}

}  // namespace cvimp::recordset
