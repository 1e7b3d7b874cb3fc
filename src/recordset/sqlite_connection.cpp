#include "recordset/sqlite_connection.h"

#include <sqlite3.h>

#include <limits>

#include "common/error.h"
#include "recordset/dialect.h"
#include "recordset/sqlite_values.h"
#include "recordset/where_parameters.h"

namespace cvimp::recordset {
namespace {

// Beyond this many prepared statements of one kind the cache starts afresh: generated and parameterized
// texts come in few shapes, so this is only reached by unusual callers.
constexpr std::size_t kCacheLimit = 256;

struct Finalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using OwnedStatement = std::unique_ptr<sqlite3_stmt, Finalizer>;

// Resets a cached statement when its use ends, however it ends.
class ResetOnExit {
 public:
  explicit ResetOnExit(sqlite3_stmt* statement) : statement_(statement) {}
  ~ResetOnExit() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }
  ResetOnExit(const ResetOnExit&) = delete;
  ResetOnExit& operator=(const ResetOnExit&) = delete;

 private:
  sqlite3_stmt* statement_;
};

// Appends a name as an SQL identifier: between double quotes, a quote doubled.
void AppendName(std::string& out, std::string_view name) {
  out += '"';
  for (char c : name) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

void AppendColumnList(std::string& out, const std::vector<Column>& columns) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i) out += ", ";
    AppendName(out, columns[i].name);
  }
}

// The field type of a result column that is no table column (an expression): by its first value.
FieldType FieldTypeOfValue(sqlite3_stmt* statement, int index) {
  switch (sqlite3_column_type(statement, index)) {
    case SQLITE_INTEGER: {
      sqlite3_int64 n = sqlite3_column_int64(statement, index);
      bool fits = n >= std::numeric_limits<std::int32_t>::min() && n <= std::numeric_limits<std::int32_t>::max();
      return {fits ? DataType::kInteger : DataType::kBigInt, 0};
    }
    case SQLITE_FLOAT:
      return {DataType::kDouble, 0};
    default:
      return {DataType::kVarWChar, 0};
  }
}

}  // namespace

std::shared_ptr<SqliteConnection> SqliteConnection::OpenWithFlags(const std::string& path, int flags) {
  sqlite3* db = nullptr;
  // A connection is used by one thread at a time (the import runs on one), so SQLite need not lock its own
  // mutex around every call on it.
  int rc = sqlite3_open_v2(path.c_str(), &db, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc != SQLITE_OK) {
    std::string message = db ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
    sqlite3_close_v2(db);
    throw Error(ErrorCode::kDatabase, "Cannot open the database " + path + ": " + message);
  }
  std::shared_ptr<SqliteConnection> connection(new SqliteConnection(db));
  sqlite3_busy_timeout(db, 5000);
  if (RegisterDialectFunctions(db) != SQLITE_OK)
    throw Error(ErrorCode::kDatabase, "Cannot open the database " + path + ": " + sqlite3_errmsg(db));
  // SQLite reads the file's header only when it is first used: check it now, so that a file that is no
  // database fails here and not at the first statement.
  if (sqlite3_exec(db, "SELECT count(*) FROM sqlite_master", nullptr, nullptr, nullptr) != SQLITE_OK)
    throw Error(ErrorCode::kDatabase, "Cannot open the database " + path + ": " + sqlite3_errmsg(db));
  return connection;
}

std::shared_ptr<SqliteConnection> SqliteConnection::Open(const std::string& path) {
  return OpenWithFlags(path, SQLITE_OPEN_READWRITE);
}

std::shared_ptr<SqliteConnection> SqliteConnection::OpenReadOnly(const std::string& path) {
  return OpenWithFlags(path, SQLITE_OPEN_READONLY);
}

std::shared_ptr<SqliteConnection> SqliteConnection::OpenInMemory() {
  return OpenWithFlags(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
}

SqliteConnection::~SqliteConnection() {
  for (auto& [text, statement] : statements_) sqlite3_finalize(statement);
  for (auto& [text, query] : queries_) sqlite3_finalize(query.statement);
  sqlite3_close_v2(db_);
}

void SqliteConnection::Fail(std::string_view statement) const {
  throw Error(ErrorCode::kDatabase, std::string(sqlite3_errmsg(db_)) + " in: " + std::string(statement));
}

void SqliteConnection::Begin() { Execute("BEGIN"); }
void SqliteConnection::Commit() { Execute("COMMIT"); }
void SqliteConnection::Rollback() { Execute("ROLLBACK"); }
bool SqliteConnection::InTransaction() const { return sqlite3_get_autocommit(db_) == 0; }

void SqliteConnection::Execute(std::string_view sql) {
  std::string text(sql);
  if (sqlite3_exec(db_, text.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) Fail(sql);
}

sqlite3_stmt* SqliteConnection::Cached(const std::string& sql) {
  auto it = statements_.find(sql);
  if (it != statements_.end()) return it->second;
  if (statements_.size() >= kCacheLimit) {
    for (auto& [text, old] : statements_) sqlite3_finalize(old);
    statements_.clear();
  }
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v3(db_, sql.c_str(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement,
                         nullptr) != SQLITE_OK)
    Fail(sql);
  statements_.emplace(sql, statement);
  return statement;
}

const FieldType& SqliteConnection::FieldTypeOf(const char* declared) {
  auto it = declared_types_.find(declared);
  if (it == declared_types_.end()) it = declared_types_.emplace(declared, FieldTypeOfDeclaration(declared)).first;
  return it->second;
}

void SqliteConnection::RunToEnd(sqlite3_stmt* statement, std::string_view text) {
  int rc;
  while ((rc = sqlite3_step(statement)) == SQLITE_ROW) {
  }
  if (rc != SQLITE_DONE) Fail(text);
}

SqliteConnection::PreparedQuery* SqliteConnection::CachedQuery(const std::string& sql) {
  auto it = queries_.find(sql);
  if (it != queries_.end()) return &it->second;
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v3(db_, sql.c_str(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement,
                         nullptr) != SQLITE_OK ||
      !statement) {
    sqlite3_finalize(statement);
    return nullptr;
  }
  if (queries_.size() >= kCacheLimit) {
    for (auto& [text, old] : queries_) sqlite3_finalize(old.statement);
    queries_.clear();
  }
  return &queries_.emplace(sql, Describe(statement)).first->second;
}

SqliteConnection::PreparedQuery SqliteConnection::Describe(sqlite3_stmt* statement) {
  PreparedQuery query;
  query.statement = statement;
  const int count = sqlite3_column_count(statement);
  query.typed_by_value.assign(static_cast<std::size_t>(count), false);
  bool one_table = true;
  for (int i = 0; i < count; ++i) {
    Column column;
    column.name = sqlite3_column_name(statement, i);
    if (const char* declared = sqlite3_column_decltype(statement, i)) {
      const FieldType& type = FieldTypeOf(declared);
      column.type = type.type;
      column.size = type.size;
    } else {
      query.typed_by_value[static_cast<std::size_t>(i)] = true;
    }
    const char* table = sqlite3_column_table_name(statement, i);
    if (!table) {
      one_table = false;
    } else if (query.table.empty()) {
      query.table = table;
    } else if (query.table != table) {
      one_table = false;
    }
    query.columns.push_back(std::move(column));
  }
  // Records are written back only where every field is a column of the one table.
  if (!one_table) query.table.clear();
  return query;
}

void SqliteConnection::ReadRows(sqlite3_stmt* statement, int rc, const std::vector<bool>& typed_by_value,
                                QueryResult& result, std::string_view sql) {
  const int count = static_cast<int>(result.columns.size());
  for (; rc == SQLITE_ROW; rc = sqlite3_step(statement)) {
    if (result.rows.empty()) {
      for (int i = 0; i < count; ++i) {
        if (!typed_by_value[static_cast<std::size_t>(i)]) continue;
        FieldType type = FieldTypeOfValue(statement, i);
        result.columns[static_cast<std::size_t>(i)].type = type.type;
        result.columns[static_cast<std::size_t>(i)].size = type.size;
      }
    }
    std::vector<Value> row;
    row.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) row.push_back(ReadValue(statement, i, result.columns[static_cast<std::size_t>(i)]));
    result.rows.push_back(std::move(row));
  }
  if (rc != SQLITE_DONE) Fail(sql);
}

QueryResult SqliteConnection::Query(std::string_view sql) {
  const std::string translated = TranslateDialect(sql);
  if (auto parameterized = ParameterizeWhereLiterals(translated)) {
    if (PreparedQuery* query = CachedQuery(parameterized->text)) {
      sqlite3_stmt* statement = query->statement;
      ResetOnExit reset(statement);
      for (std::size_t i = 0; i < parameterized->parameters.size(); ++i)
        if (BindValue(statement, static_cast<int>(i + 1), parameterized->parameters[i]) != SQLITE_OK) Fail(sql);
      const int rc = sqlite3_step(statement);
      const int reprepared = sqlite3_stmt_status(statement, SQLITE_STMTSTATUS_REPREPARE, 0);
      if (reprepared != query->reprepared) {
        *query = Describe(statement);
        query->reprepared = reprepared;
      }
      QueryResult result{query->table, query->columns, {}};
      ReadRows(statement, rc, query->typed_by_value, result, sql);
      return result;
    }
  }

  sqlite3_stmt* raw = nullptr;
  const char* tail = nullptr;
  if (sqlite3_prepare_v2(db_, translated.c_str(), static_cast<int>(translated.size()), &raw, &tail) != SQLITE_OK)
    Fail(sql);
  OwnedStatement statement(raw);
  if (!statement) throw Error(ErrorCode::kDatabase, "An empty statement in: " + std::string(sql));
  // One statement per query: whatever follows it may only be blanks, comments or semicolons.
  if (tail && *tail) {
    sqlite3_stmt* next = nullptr;
    if (sqlite3_prepare_v2(db_, tail, -1, &next, nullptr) != SQLITE_OK) Fail(sql);
    OwnedStatement owned_next(next);
    if (owned_next) throw Error(ErrorCode::kDatabase, "More than one statement in: " + std::string(sql));
  }
  PreparedQuery query = Describe(raw);
  QueryResult result{std::move(query.table), std::move(query.columns), {}};
  ReadRows(raw, sqlite3_step(raw), query.typed_by_value, result, sql);
  return result;
}

template <typename NameAt, typename Build>
const std::string& SqliteConnection::GeneratedFor(TextKind kind, const std::string& table, std::size_t count,
                                                  NameAt name, Build build) {
  auto& by_table = generated_[static_cast<int>(kind)];
  auto it = by_table.find(table);
  if (it != by_table.end()) {
    const std::vector<std::string>& names = it->second.names;
    bool same = names.size() == count;
    for (std::size_t i = 0; same && i < count; ++i) same = names[i] == name(i);
    if (same) return it->second.text;
  } else {
    if (by_table.size() >= kCacheLimit) by_table.clear();
    it = by_table.emplace(table, GeneratedText{}).first;
  }
  GeneratedText& entry = it->second;
  entry.names.clear();
  entry.names.reserve(count);
  for (std::size_t i = 0; i < count; ++i) entry.names.emplace_back(name(i));
  entry.text = build();
  return entry.text;
}

std::vector<Value> SqliteConnection::Insert(const std::string& table, const std::vector<Column>& columns,
                                            const std::vector<std::pair<std::size_t, Value>>& values) {
  auto value_name = [&](std::size_t i) -> const std::string& { return columns.at(values[i].first).name; };
  const std::string& insert = GeneratedFor(TextKind::kInsert, table, values.size(), value_name, [&] {
    std::string text;
    text.reserve(64 + 24 * values.size());
    text += "INSERT INTO ";
    AppendName(text, table);
    if (values.empty()) {
      text += " DEFAULT VALUES";
    } else {
      text += " (";
      for (std::size_t i = 0; i < values.size(); ++i) {
        if (i) text += ", ";
        AppendName(text, value_name(i));
      }
      text += ") VALUES (?";
      for (std::size_t i = 1; i < values.size(); ++i) text += ", ?";
      text += ')';
    }
    return text;
  });
  sqlite3_stmt* statement = Cached(insert);
  {
    ResetOnExit reset(statement);
    for (std::size_t i = 0; i < values.size(); ++i)
      if (BindValue(statement, static_cast<int>(i + 1), values[i].second) != SQLITE_OK) Fail(insert);
    RunToEnd(statement, insert);
  }

  // Read the row back as stored: the generated PKID and the defaults included.
  auto column_name = [&](std::size_t i) -> const std::string& { return columns[i].name; };
  const std::string& select = GeneratedFor(TextKind::kReadBack, table, columns.size(), column_name, [&] {
    std::string text;
    text.reserve(64 + 16 * columns.size());
    text += "SELECT ";
    AppendColumnList(text, columns);
    text += " FROM ";
    AppendName(text, table);
    text += " WHERE rowid = ?";
    return text;
  });
  sqlite3_stmt* read = Cached(select);
  ResetOnExit reset(read);
  sqlite3_bind_int64(read, 1, sqlite3_last_insert_rowid(db_));
  const int rc = sqlite3_step(read);
  if (rc == SQLITE_DONE) throw Error(ErrorCode::kDatabase, "The inserted row cannot be read back in: " + select);
  if (rc != SQLITE_ROW) Fail(select);
  std::vector<Value> row;
  row.reserve(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) row.push_back(ReadValue(read, static_cast<int>(i), columns[i]));
  return row;
}

void SqliteConnection::UpdateRow(const std::string& table, const std::vector<Column>& columns, std::int64_t pkid,
                                 const std::vector<std::pair<std::size_t, Value>>& values) {
  if (values.empty()) return;
  auto value_name = [&](std::size_t i) -> const std::string& { return columns.at(values[i].first).name; };
  const std::string& update = GeneratedFor(TextKind::kUpdate, table, values.size(), value_name, [&] {
    std::string text;
    text.reserve(64 + 24 * values.size());
    text += "UPDATE ";
    AppendName(text, table);
    text += " SET ";
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (i) text += ", ";
      AppendName(text, value_name(i));
      text += " = ?";
    }
    text += " WHERE PKID = ?";
    return text;
  });
  sqlite3_stmt* statement = Cached(update);
  ResetOnExit reset(statement);
  for (std::size_t i = 0; i < values.size(); ++i)
    if (BindValue(statement, static_cast<int>(i + 1), values[i].second) != SQLITE_OK) Fail(update);
  sqlite3_bind_int64(statement, static_cast<int>(values.size() + 1), pkid);
  RunToEnd(statement, update);
  if (sqlite3_changes(db_) == 0)
    throw Error(ErrorCode::kDatabase,
                "No row of " + table + " has the PKID " + std::to_string(pkid) + " in: " + update);
}

}  // namespace cvimp::recordset
