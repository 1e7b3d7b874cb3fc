#include "recordset/row_forecast.h"

#include <sqlite3.h>

#include <cmath>
#include <vector>

#include "common/ascii_case.h"
#include "recordset/sql_tokens.h"
#include "recordset/sqlite_values.h"

namespace cvimp::recordset {
namespace {

bool Contains(std::string_view upper, std::string_view word) { return upper.find(word) != std::string_view::npos; }

bool IsTextField(DataType type) {
  return type == DataType::kDate || type == DataType::kVarWChar || type == DataType::kLongVarChar ||
         type == DataType::kLongVarWChar;
}

bool IsWholeNumberField(DataType type) {
  return type == DataType::kSmallInt || type == DataType::kInteger || type == DataType::kBigInt;
}

// A stored INTEGER as ReadValue reads it for the field; false where that is a text (SQLite's own digits).
bool ReadInteger(const Column& column, std::int64_t n, Value& out) {
  if (IsWholeNumberField(column.type)) {
    out = WholeNumber(column.type, n);
  } else if (column.type == DataType::kDouble || column.type == DataType::kCurrency) {
    out = Value(static_cast<double>(n));
  } else if (column.type == DataType::kBoolean) {
    out = Value(static_cast<double>(n) != 0);
  } else {
    return false;
  }
  return true;
}

// A stored REAL as ReadValue reads it for the field; false where that is a text (SQLite's own digits).
bool ReadReal(const Column& column, double d, Value& out) {
  if (IsTextField(column.type)) return false;
  out = column.type == DataType::kBoolean ? Value(d != 0) : Value(d);
  return true;
}

// Whether SQLite keeps a real bound to a column of numeric or integer affinity as an integer: when it is
// whole and strictly between the smallest and the largest 64-bit integer.
bool StoredAsInteger(double d) {
  constexpr double kTwoTo63 = 9223372036854775808.0;
  return d == std::trunc(d) && d > -kTwoTo63 && d < kTwoTo63;
}

// A column default that is the same for every row: NULL, a number (with a sign) or a string literal.
bool IsConstantDefault(std::string_view text) {
  std::vector<Token> tokens;
  for (std::size_t pos = 0; pos < text.size();) {
    Token token = TokenAt(text, pos);
    pos += token.text.size();
    if (token.kind != TokenKind::kBlank) tokens.push_back(token);
  }
  if (tokens.size() == 1) {
    const Token& t = tokens[0];
    return t.kind == TokenKind::kNumber || t.kind == TokenKind::kString ||
           (t.kind == TokenKind::kWord && IsKeyword(t.text, "NULL"));
  }
  return tokens.size() == 2 && (tokens[0].text == "-" || tokens[0].text == "+") &&
         tokens[1].kind == TokenKind::kNumber;
}

// Whether a CREATE TABLE text declares a constraint by one of these words (outside literals and quoted
// names).
bool DeclaresAny(std::string_view sql, std::initializer_list<std::string_view> keywords) {
  for (std::size_t pos = 0; pos < sql.size();) {
    Token token = TokenAt(sql, pos);
    pos += token.text.size();
    if (token.kind != TokenKind::kWord) continue;
    for (std::string_view keyword : keywords)
      if (IsKeyword(token.text, keyword)) return true;
  }
  return false;
}

// Runs a statement with the table name as its one text parameter (when it has one) and hands each row over;
// false when SQLite refuses it.
template <class OnRow>
bool ForEachRow(sqlite3* db, const std::string& sql, const std::string& table, OnRow&& on_row) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), static_cast<int>(sql.size()), &statement, nullptr) != SQLITE_OK) {
    sqlite3_finalize(statement);
    return false;
  }
  if (sqlite3_bind_parameter_count(statement) > 0)
    sqlite3_bind_text(statement, 1, table.data(), static_cast<int>(table.size()), SQLITE_STATIC);
  int rc;
  while ((rc = sqlite3_step(statement)) == SQLITE_ROW) on_row(statement);
  sqlite3_finalize(statement);
  return rc == SQLITE_DONE;
}

std::string TextColumn(sqlite3_stmt* statement, int index) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
  return text ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, index))) : std::string();
}

std::string QuotedName(std::string_view name) {
  std::string out = "\"";
  for (char c : name) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + '"';
}

}  // namespace

std::size_t NameHash::operator()(std::string_view name) const {
  // 64-bit FNV-1a over the folded bytes (std::size_t is 32 bits wide on some targets: cut at the end).
  std::uint64_t h = 14695981039346656037ull;
  for (char c : name) h = (h ^ static_cast<unsigned char>(FoldAsciiCase(c))) * 1099511628211ull;
  return static_cast<std::size_t>(h);
}

bool NameEqual::operator()(std::string_view a, std::string_view b) const { return EqualsIgnoringCase(a, b); }

Affinity AffinityOf(std::string_view declared) {
  std::string upper(declared);
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  if (Contains(upper, "INT")) return Affinity::kInteger;
  if (Contains(upper, "CHAR") || Contains(upper, "CLOB") || Contains(upper, "TEXT")) return Affinity::kText;
  if (Contains(upper, "BLOB") || upper.find_first_not_of(" \t\r\n") == std::string::npos) return Affinity::kBlob;
  if (Contains(upper, "REAL") || Contains(upper, "FLOA") || Contains(upper, "DOUB")) return Affinity::kReal;
  return Affinity::kNumeric;
}

bool StoredValueForecast(const Column& column, Affinity affinity, const Value& bound, Value& stored) {
  if (bound.is_null()) {
    stored = Value();
    return true;
  }
  if (bound.is_text()) {
    // Only a column of text or no affinity keeps every text as it is; ReadValue returns a stored text as it is.
    if (affinity != Affinity::kText && affinity != Affinity::kBlob) return false;
    stored = bound;
    return true;
  }
  if (bound.is_bool() || bound.is_integer()) {
    const std::int64_t n = bound.is_bool() ? (bound.boolean() ? -1 : 0) : bound.integer();
    switch (affinity) {
      case Affinity::kInteger:
      case Affinity::kNumeric:
      case Affinity::kBlob:
        return ReadInteger(column, n, stored);
      case Affinity::kReal:
        return ReadReal(column, static_cast<double>(n), stored);
      case Affinity::kText:
        return false;
    }
  }
  if (bound.is_double()) {
    const double d = bound.number();
    if (std::isnan(d) || std::isinf(d) || (d == 0 && std::signbit(d))) return false;
    switch (affinity) {
      case Affinity::kInteger:
      case Affinity::kNumeric:
        if (StoredAsInteger(d)) return ReadInteger(column, static_cast<std::int64_t>(d), stored);
        return ReadReal(column, d, stored);
      case Affinity::kReal:
      case Affinity::kBlob:
        return ReadReal(column, d, stored);
      case Affinity::kText:
        return false;
    }
  }
  return false;
}

std::optional<TableWriteFacts> ReadTableWriteFacts(sqlite3* db, const std::string& table) {
  // One ordinary table of that name in the main schema, and nothing in the temporary one that would take
  // its place or act on it.
  int tables = 0;
  bool ordinary = false;
  if (!ForEachRow(db, "SELECT type, sql FROM main.sqlite_master WHERE name = ?1 COLLATE NOCASE", table,
                  [&](sqlite3_stmt* row) {
                    ++tables;
                    const std::string sql = TextColumn(row, 1);
                    ordinary = TextColumn(row, 0) == "table" &&
                               !DeclaresAny(sql, {"VIRTUAL", "CHECK", "REFERENCES", "UNIQUE", "GENERATED"});
                  }))
    return std::nullopt;
  if (tables != 1 || !ordinary) return std::nullopt;
  int others = 0;
  auto count = [&](sqlite3_stmt* row) { others += sqlite3_column_int(row, 0); };
  if (!ForEachRow(db,
                  "SELECT count(*) FROM main.sqlite_master WHERE type = 'trigger' AND tbl_name = ?1 COLLATE NOCASE",
                  table, count) ||
      !ForEachRow(db, "SELECT count(*) FROM temp.sqlite_master WHERE tbl_name = ?1 COLLATE NOCASE", table, count) ||
      others != 0)
    return std::nullopt;

  TableWriteFacts facts;
  int keys = 0;
  bool eligible = true;
  if (!ForEachRow(db, "PRAGMA main.table_xinfo(" + QuotedName(table) + ")", table, [&](sqlite3_stmt* row) {
        const std::string name = TextColumn(row, 1);
        const std::string type = TextColumn(row, 2);
        const bool not_null = sqlite3_column_int(row, 3) != 0;
        const bool has_default = sqlite3_column_type(row, 4) != SQLITE_NULL;
        const bool key = sqlite3_column_int(row, 5) != 0;
        const bool hidden = sqlite3_column_int(row, 6) != 0;
        if (hidden || (has_default && !IsConstantDefault(TextColumn(row, 4)))) eligible = false;
        if (key) {
          ++keys;
          if (!EqualsIgnoringCase(type, "INTEGER")) eligible = false;
          facts.rowid_column = name;
        } else if (not_null) {
          eligible = false;
        }
        facts.affinities.emplace(name, AffinityOf(type));
      }))
    return std::nullopt;
  if (!eligible || keys != 1) return std::nullopt;
  // A key of INTEGER PRIMARY KEY DESC, WITHOUT ROWID, or any unique index: an index that could refuse a row.
  bool unique = false;
  if (!ForEachRow(db, "PRAGMA main.index_list(" + QuotedName(table) + ")", table,
                  [&](sqlite3_stmt* row) { unique = unique || sqlite3_column_int(row, 2) != 0; }) ||
      unique)
    return std::nullopt;
  bool foreign = false;
  if (!ForEachRow(db, "PRAGMA main.foreign_key_list(" + QuotedName(table) + ")", table,
                  [&](sqlite3_stmt*) { foreign = true; }) ||
      foreign)
    return std::nullopt;
  return facts;
}

}  // namespace cvimp::recordset
