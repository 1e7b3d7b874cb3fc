// What SQLite will store for a new row, known before the row is written: the facts about a table that make
// an insert into it certain to succeed and its stored row predictable, and the value that a bound value
// reads back as. The connection uses them to write a new record once, with its final values, instead of
// inserting it, reading it back and then updating it (sqlite_connection.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "common/value.h"
#include "recordset/recordset.h"

struct sqlite3;

namespace cvimp::recordset {

// A column's type affinity, from its declared type by SQLite's rules.
enum class Affinity { kText, kNumeric, kInteger, kReal, kBlob };
Affinity AffinityOf(std::string_view declared);

// Sets `stored` to the value that `bound` (as the record set binds it: BindValue) reads back as (ReadValue)
// from a column of `column`'s field type and `affinity`; false where that depends on more than the kinds (a
// text that SQLite may turn into a number, a number written as text, a NaN or negative zero).
bool StoredValueForecast(const Column& column, Affinity affinity, const Value& bound, Value& stored);

// Hash and equality of names without regard to ASCII case, for maps keyed by column name.
struct NameHash {
  std::size_t operator()(std::string_view name) const;
};
struct NameEqual {
  bool operator()(std::string_view a, std::string_view b) const;
};
template <class T>
using ByColumnName = std::unordered_map<std::string, T, NameHash, NameEqual>;

// A table into which an insert of any values can only fail by a fault of the database itself (I/O, a full
// disk): a rowid table whose INTEGER PRIMARY KEY is its only key, with no NOT NULL, CHECK, UNIQUE or
// foreign-key constraint, no trigger, no generated column, and constant defaults only.
struct TableWriteFacts {
  std::string rowid_column;         // the INTEGER PRIMARY KEY column, e.g. PKID
  ByColumnName<Affinity> affinities;  // every column's affinity
};

// The facts of `table`, or nullopt when it is not such a table (or cannot be examined).
std::optional<TableWriteFacts> ReadTableWriteFacts(sqlite3* db, const std::string& table);

}  // namespace cvimp::recordset
