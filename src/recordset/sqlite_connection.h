// The record-set layer's backend on an SQLite shop database.
//
//   auto db = SqliteConnection::Open("shop.db");      // raises cvimp::Error (kDatabase) when it cannot
//   db->Begin();  ... record sets on db ...  db->Commit();
//
// Statements go through the host database's dialect (dialect.h). Every refusal by SQLite raises
// cvimp::Error(kDatabase, "<SQLite's message> in: <statement>"). The fields of a result are typed by the
// declared types of their columns, which SQLite reports when it is built with column metadata (Debian's
// libsqlite3 is; without it the library does not link).
//
// A new record is usually inserted with its key, read back, filled and written again. Inside a transaction,
// on a table where no insert can be refused (row_forecast.h) and once an insert into it has succeeded in
// this transaction, Insert returns the row as it will be stored without writing it yet; the UpdateRow of
// that row that follows then writes it once, as one INSERT of its final values. Whatever else comes first
// (any other statement, a commit, another row) writes the new row as it was inserted. The rows stored are
// the same either way; only a fault of the database itself (a full disk) can show at another step.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "recordset/declared_type.h"
#include "recordset/recordset.h"
#include "recordset/row_forecast.h"

struct sqlite3;
struct sqlite3_stmt;

namespace cvimp::recordset {

class SqliteConnection : public Connection {
 public:
  // Opens an existing database file for reading and writing; a missing file is an error, not a new
  // database (shop_schema.h creates those).
  static std::shared_ptr<SqliteConnection> Open(const std::string& path);
  // Opens an existing database file for reading only.
  static std::shared_ptr<SqliteConnection> OpenReadOnly(const std::string& path);
  // A new, empty database in memory, for tests and tools.
  static std::shared_ptr<SqliteConnection> OpenInMemory();

  ~SqliteConnection() override;
  SqliteConnection(const SqliteConnection&) = delete;
  SqliteConnection& operator=(const SqliteConnection&) = delete;

  // One transaction at a time: Begin raises when one is running, Commit and Rollback when none is.
  void Begin();
  void Commit();
  void Rollback();
  bool InTransaction() const;

  // Runs statements as they are (no dialect), for setting a database up; rows are not read.
  void Execute(std::string_view sql);

  QueryResult Query(std::string_view sql) override;
  std::vector<Value> Insert(const std::string& table, const std::vector<Column>& columns,
                            const std::vector<std::pair<std::size_t, Value>>& values) override;
  void UpdateRow(const std::string& table, const std::vector<Column>& columns, std::int64_t pkid,
                 const std::vector<std::pair<std::size_t, Value>>& values) override;

  // The SQLite handle, for reading the schema; a new row still to be written is written first.
  sqlite3* handle() const;

  // Whether new rows may be written once (see above; on by default), and how many were, for tests and the
  // benchmark.
  void set_single_write_inserts(bool on) { single_write_inserts_ = on; }
  std::uint64_t single_write_inserts() const { return single_write_count_; }

 private:
  // A prepared lookup with what its result columns are; the columns typed by their values get their types
  // from the first row of each run.
  struct PreparedQuery {
    sqlite3_stmt* statement = nullptr;
    std::string table;
    std::vector<Column> columns;
    std::vector<bool> typed_by_value;
    bool distinct_names = false;
    int reprepared = 0;  // SQLite recompiles a statement after a change of the schema: then describe it anew
  };

  explicit SqliteConnection(sqlite3* db) : db_(db) {}
  static std::shared_ptr<SqliteConnection> OpenWithFlags(const std::string& path, int flags);

  [[noreturn]] void Fail(std::string_view statement) const;
  // A prepared statement for generated text, kept for the connection's life and reset after each use.
  sqlite3_stmt* Cached(const std::string& sql);
  // The prepared lookup for a statement text with its literals as parameters; nullptr when SQLite refuses
  // that text (the statement is then run as it is, to report its own error).
  PreparedQuery* CachedQuery(const std::string& sql);
  PreparedQuery Describe(sqlite3_stmt* statement);
  // Reads every row of a prepared lookup into `result` (whose columns Describe gave); `rc` is what its first
  // step returned.
  void ReadRows(sqlite3_stmt* statement, int rc, const std::vector<bool>& typed_by_value, QueryResult& result,
                std::string_view sql);
  const FieldType& FieldTypeOf(const char* declared);
  // Steps a statement to its end; raises when SQLite refuses.
  void RunToEnd(sqlite3_stmt* statement, std::string_view text);

  // A generated statement text remembered with the column names it was built from: the text for the same
  // kind of statement on the same table with the same names is taken from here instead of being built anew.
  struct GeneratedText {
    std::vector<std::string> names;
    std::string text;
  };
  enum class TextKind { kInsert, kReadBack, kUpdate, kCompletedInsert };
  // The text for `kind` on `table` naming `count` columns, `name(i)` the i-th of them; `build` makes the
  // text when the remembered one does not fit.
  template <typename NameAt, typename Build>
  const std::string& GeneratedFor(TextKind kind, const std::string& table, std::size_t count, NameAt name,
                                  Build build);

  // ---- New rows written once ----
  // What this transaction knows of a table: whether inserts into it cannot be refused, the defaults its new
  // rows read back with (by column, for the field type they were read as), the rowid its next row gets.
  struct StoredDefault {
    DataType type;
    Value value;
  };
  // How the fields of one list of columns are filled in a new row of the table: the rowid, a known default,
  // or (kNeedsValue) only by a value of the insert; with each field's affinity (nullopt: not a column).
  struct ColumnPlan {
    enum class Part : unsigned char { kRowid, kDefault, kNeedsValue };
    std::vector<std::string> names;
    std::vector<DataType> types;
    std::vector<Part> parts;
    std::vector<std::optional<Affinity>> affinities;
    std::vector<Value> defaults;
    std::size_t needing_values = 0;
    bool distinct = true;  // no two fields of one name: otherwise nothing is foretold or learnt
  };
  struct TableKnowledge {
    bool examined = false;
    std::optional<TableWriteFacts> facts;
    ByColumnName<StoredDefault> defaults;
    std::optional<std::int64_t> next_rowid;
    std::optional<ColumnPlan> plan;  // for the last list of columns; dropped when a default is learnt
  };
  static bool Fits(const ColumnPlan& plan, const std::vector<Column>& columns);
  static ColumnPlan PlanColumns(const TableKnowledge& knowledge, const std::vector<Column>& columns);
  // A new row that Insert returned without writing it.
  struct PendingInsert {
    std::string table;
    std::vector<std::string> names;
    std::vector<Value> values;
    std::int64_t rowid = 0;
  };
  // The row an insert of `values` will store, or nullopt when it cannot be told: then the row is inserted
  // now. On success the insert is pending.
  std::optional<std::vector<Value>> ForecastInsert(const std::string& table, const std::vector<Column>& columns,
                                                   const std::vector<std::pair<std::size_t, Value>>& values);
  // What an insert that was written and read back teaches about its table.
  void LearnFromInsert(const std::string& table, const std::vector<Column>& columns,
                       const std::vector<std::pair<std::size_t, Value>>& values, const std::vector<Value>& row,
                       std::int64_t rowid);
  // Writes the pending row with the values of the UpdateRow that completes it. False when that INSERT was
  // refused: the pending row has then been written as it was inserted, and the update is to run as usual.
  bool WriteCompleted(const std::vector<Column>& columns, const std::vector<std::pair<std::size_t, Value>>& values);
  // Writes the pending row, if any, as it was inserted.
  void WritePending();
  // Runs the INSERT (text of `kind`) of `count` columns into `table`, `name(i)` the i-th column, `value(i)`
  // its value; raises when SQLite refuses.
  template <typename NameAt, typename ValueAt>
  void RunInsert(TextKind kind, const std::string& table, std::size_t count, NameAt name, ValueAt value);
  // The rowid that the last insert gave its row, checked against the one foretold for it.
  void CheckRowid(std::int64_t expected, const std::string& table) const;
  bool TouchesRowid(const std::string& table, const std::vector<Column>& columns,
                    const std::vector<std::pair<std::size_t, Value>>& values) const;

  sqlite3* db_;
  bool single_write_inserts_ = true;
  std::uint64_t single_write_count_ = 0;
  std::unordered_map<std::string, TableKnowledge> tables_;  // forgotten by every Execute (and so every transaction)
  std::optional<PendingInsert> pending_;
  std::unordered_map<std::string, sqlite3_stmt*> statements_;
  std::unordered_map<std::string, PreparedQuery> queries_;
  std::unordered_map<std::string, FieldType> declared_types_;
  std::unordered_map<std::string, GeneratedText> generated_[4];  // by TextKind, then by table
};

}  // namespace cvimp::recordset
