// The record-set layer's backend on an SQLite shop database.
//
//   auto db = SqliteConnection::Open("shop.db");      // raises cvimp::Error (kDatabase) when it cannot
//   db->Begin();  ... record sets on db ...  db->Commit();
//
// Statements go through the host database's dialect (dialect.h). Every refusal by SQLite raises
// cvimp::Error(kDatabase, "<SQLite's message> in: <statement>"). The fields of a result are typed by the
// declared types of their columns, which SQLite reports when it is built with column metadata (Debian's
// libsqlite3 is; without it the library does not link).
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "recordset/declared_type.h"
#include "recordset/recordset.h"

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

  sqlite3* handle() const { return db_; }

 private:
  // A prepared lookup with what its result columns are; the columns typed by their values get their types
  // from the first row of each run.
  struct PreparedQuery {
    sqlite3_stmt* statement = nullptr;
    std::string table;
    std::vector<Column> columns;
    std::vector<bool> typed_by_value;
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
  enum class TextKind { kInsert, kReadBack, kUpdate };
  // The text for `kind` on `table` naming `count` columns, `name(i)` the i-th of them; `build` makes the
  // text when the remembered one does not fit.
  template <typename NameAt, typename Build>
  const std::string& GeneratedFor(TextKind kind, const std::string& table, std::size_t count, NameAt name,
                                  Build build);

  sqlite3* db_;
  std::unordered_map<std::string, sqlite3_stmt*> statements_;
  std::unordered_map<std::string, PreparedQuery> queries_;
  std::unordered_map<std::string, FieldType> declared_types_;
  std::unordered_map<std::string, GeneratedText> generated_[3];  // by TextKind, then by table
};

}  // namespace cvimp::recordset
