// The host database's SQL dialect on SQLite. Statements arrive exactly as the plug-in builds them; this is
// the little that has to change for SQLite to read them as the host's database does:
//   - a numeric literal directly followed by a letter ("12AND") reads as the number and then the word;
//   - an empty list after IN is refused as invalid (SQLite alone would accept it and find nothing);
//   - CDBL(text) is a function of the connection (RegisterDialectFunctions).
// Nothing else is rewritten. String literals ('...' with '' for a quote), quoted names ("...", [...],
// `...`) and comments are copied untouched.
#pragma once

#include <optional>
#include <string>
#include <string_view>

struct sqlite3;

namespace cvimp::recordset {

// The statement as SQLite is to run it. Raises cvimp::Error (kDatabase, "<reason> in: <statement>") for an
// empty IN list.
std::string TranslateDialect(std::string_view sql);

// CDBL's conversion: the number in a text whose decimal separator is '.' or ','; nullopt when the text is not
// numeric text (blanks, sign, digits, one separator, exponent) or lies beyond the range of a double.
std::optional<double> CdblOfText(std::string_view text);

// Registers the dialect's functions (CDBL) on a connection. Returns SQLite's result code.
int RegisterDialectFunctions(sqlite3* db);

}  // namespace cvimp::recordset
