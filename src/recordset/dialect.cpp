#include "recordset/dialect.h"

#include <sqlite3.h>

#include <array>
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

// Character classes for the quick check below, as the tokenizer reads them (sql_tokens.cpp): name
// characters (letters, digits, _, $ and every byte of a UTF-8 sequence), digits, ASCII letters, blanks.
enum CharClass : unsigned char { kNameChar = 1, kDigitChar = 2, kLetterChar = 4, kBlankChar = 8 };

constexpr std::array<unsigned char, 256> kCharClasses = [] {
  std::array<unsigned char, 256> classes{};
  for (int c = 0; c < 256; ++c) {
    unsigned char bits = 0;
    if (c >= '0' && c <= '9') bits |= kNameChar | kDigitChar;
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) bits |= kNameChar | kLetterChar;
    if (c == '_' || c == '$' || c >= 0x80) bits |= kNameChar;
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') bits |= kBlankChar;
    classes[static_cast<std::size_t>(c)] = bits;
  }
  return classes;
}();

unsigned char ClassOf(char c) { return kCharClasses[static_cast<unsigned char>(c)]; }

// Whether the text surely translates to itself without an error, judged from its characters alone:
//   - no letter directly after a digit in a run of name characters that starts with a digit, nor after a
//     point that follows a digit (only there can a number end right before a word: a run that starts with a
//     letter, "_" or "$" is one name or parameter, digits included, as in Products2Categories);
//   - no comment;
//   - no "(" with nothing but blanks up to a ")" (where an IN list could be empty).
// Literals and quoted names that hold such characters only send the text through the full translation.
bool TranslatesToItself(std::string_view sql) {
  const std::size_t size = sql.size();
  bool in_run = false;                // the character before was a name character
  bool run_starts_with_digit = false;  // and the run of them began with a digit
  for (std::size_t i = 0; i < size; ++i) {
    const char c = sql[i];
    const unsigned char kind = ClassOf(c);
    if (kind & kNameChar) {
      if (!in_run) run_starts_with_digit = (kind & kDigitChar) != 0;
      in_run = true;
    } else {
      in_run = false;
    }
    if (c == '(') {
      std::size_t j = i + 1;
      while (j < size && (ClassOf(sql[j]) & kBlankChar)) ++j;
      if (j < size && sql[j] == ')') return false;
      continue;
    }
    if (i + 1 == size) break;
    const char next = sql[i + 1];
    if (ClassOf(next) & kLetterChar) {
      if ((kind & kDigitChar) && run_starts_with_digit) return false;
      if (c == '.' && i > 0 && (ClassOf(sql[i - 1]) & kDigitChar)) return false;
    }
    if ((c == '-' && next == '-') || (c == '/' && next == '*')) return false;
  }
  return true;
}

}  // namespace

std::string TranslateDialect(std::string_view sql) {
  // Most statements need no change: those are not cut into tokens.
  if (TranslatesToItself(sql)) return std::string(sql);
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
