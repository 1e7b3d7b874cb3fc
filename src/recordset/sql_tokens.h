// A scanner that cuts an SQL statement into the pieces that the dialect and the statement cache need to
// tell apart: string literals, quoted names and comments (never to be looked into), numbers, words,
// parameters, blanks and single characters.
#pragma once

#include <string_view>

#include "common/ascii_case.h"

namespace cvimp::recordset {

enum class TokenKind {
  kBlank,       // spaces, tabs, line breaks
  kComment,     // -- to the end of the line, or /* ... */
  kString,      // '...' with '' for a quote
  kQuotedName,  // "...", [...] or `...`
  kNumber,      // digits, an optional point and digits, an exponent only where digits follow the E
  kWord,        // a name or keyword: letters, digits, _ and $ (and UTF-8 bytes), not starting with a digit
  kParameter,   // ?, ?NNN, :name, @name, $name
  kOther,       // any other single character
};

struct Token {
  TokenKind kind;
  std::string_view text;
};

// The token that starts at `pos` (< sql.size()). Unterminated literals and comments run to the end.
Token TokenAt(std::string_view sql, std::size_t pos);

// Whether a word is `keyword`, without regard to case.
inline bool IsKeyword(std::string_view word, std::string_view keyword) { return EqualsIgnoringCase(word, keyword); }

}  // namespace cvimp::recordset
