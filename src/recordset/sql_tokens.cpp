#include "recordset/sql_tokens.h"

#include <array>

namespace cvimp::recordset {
namespace {

// Character classes, looked up in one table: every statement passes through here character by character.
enum CharClass : unsigned char { kDigitChar = 1, kWordChar = 2, kBlankChar = 4 };

constexpr std::array<unsigned char, 256> kCharClasses = [] {
  std::array<unsigned char, 256> classes{};
  for (int c = 0; c < 256; ++c) {
    unsigned char bits = 0;
    if (c >= '0' && c <= '9') bits |= kDigitChar | kWordChar;
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$' || c >= 0x80) bits |= kWordChar;
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v') bits |= kBlankChar;
    classes[static_cast<std::size_t>(c)] = bits;
  }
  return classes;
}();

bool Is(char c, CharClass kind) { return (kCharClasses[static_cast<unsigned char>(c)] & kind) != 0; }
bool IsDigit(char c) { return Is(c, kDigitChar); }
bool IsWordChar(char c) { return Is(c, kWordChar); }
bool IsBlank(char c) { return Is(c, kBlankChar); }

// The end of a quoted part that opens at `pos` and closes with `close`; a doubled closing character (not
// for ]) stands for itself.
std::size_t QuotedEnd(std::string_view sql, std::size_t pos, char close) {
  std::size_t i = pos + 1;
  while (i < sql.size()) {
    if (sql[i] == close) {
      if (close != ']' && i + 1 < sql.size() && sql[i + 1] == close) {
        i += 2;
        continue;
      }
      return i + 1;
    }
    ++i;
  }
  return sql.size();
}

std::size_t NumberEnd(std::string_view sql, std::size_t pos) {
  std::size_t i = pos;
  while (i < sql.size() && IsDigit(sql[i])) ++i;
  if (i < sql.size() && sql[i] == '.') {
    ++i;
    while (i < sql.size() && IsDigit(sql[i])) ++i;
  }
  if (i < sql.size() && (sql[i] == 'e' || sql[i] == 'E')) {
    std::size_t j = i + 1;
    if (j < sql.size() && (sql[j] == '+' || sql[j] == '-')) ++j;
    if (j < sql.size() && IsDigit(sql[j])) {
      while (j < sql.size() && IsDigit(sql[j])) ++j;
      i = j;
    }
  }
  return i;
}

}  // namespace

Token TokenAt(std::string_view sql, std::size_t pos) {
  auto token = [&](TokenKind kind, std::size_t end) { return Token{kind, sql.substr(pos, end - pos)}; };
  const char c = sql[pos];
  const char next = pos + 1 < sql.size() ? sql[pos + 1] : '\0';
  if (IsBlank(c)) {
    std::size_t end = pos;
    while (end < sql.size() && IsBlank(sql[end])) ++end;
    return token(TokenKind::kBlank, end);
  }
  if (c == '-' && next == '-') {
    std::size_t end = sql.find('\n', pos);
    return token(TokenKind::kComment, end == std::string_view::npos ? sql.size() : end + 1);
  }
  if (c == '/' && next == '*') {
    std::size_t end = sql.find("*/", pos + 2);
    return token(TokenKind::kComment, end == std::string_view::npos ? sql.size() : end + 2);
  }
  if (c == '\'') return token(TokenKind::kString, QuotedEnd(sql, pos, '\''));
  if (c == '"' || c == '`') return token(TokenKind::kQuotedName, QuotedEnd(sql, pos, c));
  if (c == '[') return token(TokenKind::kQuotedName, QuotedEnd(sql, pos, ']'));
  if (IsDigit(c) || (c == '.' && IsDigit(next))) return token(TokenKind::kNumber, NumberEnd(sql, pos));
  if (c == '?' || ((c == ':' || c == '@' || c == '$') && IsWordChar(next))) {
    std::size_t end = pos + 1;
    while (end < sql.size() && IsWordChar(sql[end])) ++end;
    return token(TokenKind::kParameter, end);
  }
  if (IsWordChar(c)) {
    std::size_t end = pos;
    while (end < sql.size() && IsWordChar(sql[end])) ++end;
    return token(TokenKind::kWord, end);
  }
  return token(TokenKind::kOther, pos + 1);
}

}  // namespace cvimp::recordset
