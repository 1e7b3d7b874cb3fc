#include "recordset/sqlite_connection.h"

#include <sqlite3.h>

#include <limits>

#include "common/ascii_case.h"
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
  // SQLite counts every allocation under a process-wide mutex for its memory statistics, which nothing here
  // reads: switched off before the library first starts (afterwards SQLite refuses the change, harmlessly).
  static const int kMemoryStatisticsOff = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
  (void)kMemoryStatisticsOff;
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
void SqliteConnection::Rollback() {
  pending_.reset();  // rolled back with the rest
  Execute("ROLLBACK");
}
bool SqliteConnection::InTransaction() const { return sqlite3_get_autocommit(db_) == 0; }

void SqliteConnection::Execute(std::string_view sql) {
  WritePending();
  // What the connection knows of its tables holds for one transaction and one schema: these statements may
  // end either.
  tables_.clear();
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
  query.distinct_names = true;
  for (std::size_t i = 0; i < query.columns.size() && query.distinct_names; ++i)
    for (std::size_t j = 0; j < i && query.distinct_names; ++j)
      if (EqualsIgnoringCase(query.columns[i].name, query.columns[j].name)) query.distinct_names = false;
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
  WritePending();
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
      QueryResult result{query->table, query->columns, {}, query->distinct_names};
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
  // A statement that writes may change any table, also the rowids its next rows get.
  if (!sqlite3_stmt_readonly(raw)) tables_.clear();
  PreparedQuery query = Describe(raw);
  QueryResult result{std::move(query.table), std::move(query.columns), {}, query.distinct_names};
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

template <typename NameAt, typename ValueAt>
void SqliteConnection::RunInsert(TextKind kind, const std::string& table, std::size_t count, NameAt name,
                                 ValueAt value) {
  const std::string& insert = GeneratedFor(kind, table, count, name, [&] {
    std::string text;
    text.reserve(64 + 24 * count);
    text += "INSERT INTO ";
    AppendName(text, table);
    if (count == 0) {
      text += " DEFAULT VALUES";
    } else {
      text += " (";
      for (std::size_t i = 0; i < count; ++i) {
        if (i) text += ", ";
        AppendName(text, name(i));
      }
      text += ") VALUES (?";
      for (std::size_t i = 1; i < count; ++i) text += ", ?";
      text += ')';
    }
    return text;
  });
  sqlite3_stmt* statement = Cached(insert);
  ResetOnExit reset(statement);
  for (std::size_t i = 0; i < count; ++i)
    if (BindValue(statement, static_cast<int>(i + 1), value(i)) != SQLITE_OK) Fail(insert);
  RunToEnd(statement, insert);
}

std::vector<Value> SqliteConnection::Insert(const std::string& table, const std::vector<Column>& columns,
                                            const std::vector<std::pair<std::size_t, Value>>& values) {
  WritePending();
  if (auto row = ForecastInsert(table, columns, values)) return std::move(*row);

  RunInsert(
      TextKind::kInsert, table, values.size(),
      [&](std::size_t i) -> const std::string& { return columns.at(values[i].first).name; },
      [&](std::size_t i) -> const Value& { return values[i].second; });
  const std::int64_t rowid = sqlite3_last_insert_rowid(db_);

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
  std::vector<Value> row;
  {
    ResetOnExit reset(read);
    sqlite3_bind_int64(read, 1, rowid);
    const int rc = sqlite3_step(read);
    if (rc == SQLITE_DONE) throw Error(ErrorCode::kDatabase, "The inserted row cannot be read back in: " + select);
    if (rc != SQLITE_ROW) Fail(select);
    row.reserve(columns.size());
    for (std::size_t i = 0; i < columns.size(); ++i) row.push_back(ReadValue(read, static_cast<int>(i), columns[i]));
  }
  LearnFromInsert(table, columns, values, row, rowid);
  return row;
}

void SqliteConnection::UpdateRow(const std::string& table, const std::vector<Column>& columns, std::int64_t pkid,
                                 const std::vector<std::pair<std::size_t, Value>>& values) {
  if (pending_ && pending_->rowid == pkid && pending_->table == table && !TouchesRowid(table, columns, values)) {
    if (WriteCompleted(columns, values)) return;
  } else {
    WritePending();
  }
  if (values.empty()) return;
  if (TouchesRowid(table, columns, values)) {
    // A row that moves to another rowid may change which rowid the next new row gets.
    if (auto known = tables_.find(table); known != tables_.end()) known->second.next_rowid.reset();
  }
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

// ---- New rows written once --------------------------------------------------------------------------------

sqlite3* SqliteConnection::handle() const {
  // Whoever reads through the handle is to see every row inserted so far. The connection is never defined
  // const; only the handle's accessor is.
  const_cast<SqliteConnection*>(this)->WritePending();
  return db_;
}

bool SqliteConnection::TouchesRowid(const std::string& table, const std::vector<Column>& columns,
                                    const std::vector<std::pair<std::size_t, Value>>& values) const {
  auto known = tables_.find(table);
  const std::string_view rowid_column =
      known != tables_.end() && known->second.facts ? std::string_view(known->second.facts->rowid_column) : "PKID";
  for (const auto& [index, value] : values)
    if (EqualsIgnoringCase(columns.at(index).name, rowid_column)) return true;
  return false;
}

bool SqliteConnection::Fits(const ColumnPlan& plan, const std::vector<Column>& columns) {
  if (plan.names.size() != columns.size()) return false;
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (plan.types[i] != columns[i].type || plan.names[i] != columns[i].name) return false;
  return true;
}

SqliteConnection::ColumnPlan SqliteConnection::PlanColumns(const TableKnowledge& knowledge,
                                                           const std::vector<Column>& columns) {
  const TableWriteFacts& facts = *knowledge.facts;
  ColumnPlan plan;
  for (const Column& column : columns) {
    plan.names.push_back(column.name);
    plan.types.push_back(column.type);
    auto affinity = facts.affinities.find(column.name);
    plan.affinities.push_back(affinity == facts.affinities.end() ? std::nullopt
                                                                 : std::optional<Affinity>(affinity->second));
    auto stored = knowledge.defaults.find(column.name);
    if (EqualsIgnoringCase(column.name, facts.rowid_column)) {
      plan.parts.push_back(ColumnPlan::Part::kRowid);
      plan.defaults.emplace_back();
    } else if (stored != knowledge.defaults.end() && stored->second.type == column.type) {
      plan.parts.push_back(ColumnPlan::Part::kDefault);
      plan.defaults.push_back(stored->second.value);
    } else {
      plan.parts.push_back(ColumnPlan::Part::kNeedsValue);
      plan.defaults.emplace_back();
      ++plan.needing_values;
    }
  }
  for (std::size_t i = 0; i < columns.size() && plan.distinct; ++i)
    for (std::size_t j = 0; j < i && plan.distinct; ++j)
      if (EqualsIgnoringCase(columns[i].name, columns[j].name)) plan.distinct = false;
  return plan;
}

std::optional<std::vector<Value>> SqliteConnection::ForecastInsert(
    const std::string& table, const std::vector<Column>& columns,
    const std::vector<std::pair<std::size_t, Value>>& values) {
  if (!single_write_inserts_ || !InTransaction()) return std::nullopt;
  auto known = tables_.find(table);
  if (known == tables_.end() || !known->second.facts || !known->second.next_rowid) return std::nullopt;
  TableKnowledge& knowledge = known->second;
  if (!knowledge.plan || !Fits(*knowledge.plan, columns)) knowledge.plan = PlanColumns(knowledge, columns);
  const ColumnPlan& plan = *knowledge.plan;
  if (!plan.distinct) return std::nullopt;

  // The defaults and the rowid first, then the values over them.
  std::vector<Value> row = plan.defaults;
  std::size_t needed = 0;
  for (const auto& [index, value] : values) {
    const ColumnPlan::Part part = plan.parts.at(index);
    if (part == ColumnPlan::Part::kRowid || !plan.affinities[index]) return std::nullopt;
    if (!StoredValueForecast(columns[index], *plan.affinities[index], value, row[index])) return std::nullopt;
    if (part == ColumnPlan::Part::kNeedsValue) ++needed;
  }
  if (needed != plan.needing_values) return std::nullopt;  // a field whose default is not known yet
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (plan.parts[i] != ColumnPlan::Part::kRowid) continue;
    // The rowid as ReadValue reads a stored whole number.
    if (!StoredValueForecast(columns[i], Affinity::kInteger, Value(*knowledge.next_rowid), row[i])) return std::nullopt;
  }

  PendingInsert pending{table, {}, {}, *knowledge.next_rowid};
  pending.names.reserve(values.size());
  pending.values.reserve(values.size());
  for (const auto& [index, value] : values) {
    pending.names.push_back(columns[index].name);
    pending.values.push_back(value);
  }
  pending_ = std::move(pending);
  return row;
}

void SqliteConnection::LearnFromInsert(const std::string& table, const std::vector<Column>& columns,
                                       const std::vector<std::pair<std::size_t, Value>>& values,
                                       const std::vector<Value>& row, std::int64_t rowid) {
  if (!single_write_inserts_ || !InTransaction()) return;
  TableKnowledge& knowledge = tables_[table];
  if (!knowledge.examined) {
    knowledge.examined = true;
    knowledge.facts = ReadTableWriteFacts(db_, table);
  }
  if (!knowledge.facts) return;
  // An automatic rowid is one more than the largest so far (or than the table's sequence): the next one
  // follows it, unless this row's rowid was given, or is the largest there can be.
  if (TouchesRowid(table, columns, values) || rowid == std::numeric_limits<std::int64_t>::max())
    knowledge.next_rowid.reset();
  else
    knowledge.next_rowid = rowid + 1;
  // The defaults are constants (TableWriteFacts): a column's is learnt once, for each field type it is read as.
  if (!knowledge.plan || !Fits(*knowledge.plan, columns)) knowledge.plan = PlanColumns(knowledge, columns);
  if (!knowledge.plan->distinct) return;
  std::vector<bool> assigned(columns.size(), false);
  for (const auto& [index, value] : values) assigned[index] = true;
  const ColumnPlan& plan = *knowledge.plan;
  std::vector<std::size_t> unknown;
  for (std::size_t i = 0; i < columns.size(); ++i)
    if (!assigned[i] && plan.parts[i] == ColumnPlan::Part::kNeedsValue) unknown.push_back(i);
  for (std::size_t i : unknown) {
    auto known_default = knowledge.defaults.find(columns[i].name);
    if (known_default == knowledge.defaults.end()) {
      knowledge.defaults.emplace(columns[i].name, StoredDefault{columns[i].type, row[i]});
      knowledge.plan.reset();
    } else if (known_default->second.type != columns[i].type) {
      known_default->second = StoredDefault{columns[i].type, row[i]};
      knowledge.plan.reset();
    }
  }
}

bool SqliteConnection::WriteCompleted(const std::vector<Column>& columns,
                                      const std::vector<std::pair<std::size_t, Value>>& values) {
  PendingInsert& pending = *pending_;
  // The inserted values, each replaced by the update's value for its column, then the update's other columns.
  std::vector<const Value*> merged;
  std::vector<const std::string*> names;
  merged.reserve(pending.values.size() + values.size());
  names.reserve(pending.values.size() + values.size());
  for (std::size_t i = 0; i < pending.names.size(); ++i) {
    names.push_back(&pending.names[i]);
    merged.push_back(&pending.values[i]);
  }
  for (const auto& [index, value] : values) {
    const std::string& name = columns.at(index).name;
    bool replaced = false;
    for (std::size_t i = 0; i < pending.names.size() && !replaced; ++i) {
      if (EqualsIgnoringCase(*names[i], name)) {
        merged[i] = &value;
        replaced = true;
      }
    }
    if (!replaced) {
      names.push_back(&name);
      merged.push_back(&value);
    }
  }
  try {
    RunInsert(
        TextKind::kCompletedInsert, pending.table, names.size(),
        [&](std::size_t i) -> const std::string& { return *names[i]; },
        [&](std::size_t i) -> const Value& { return *merged[i]; });
  } catch (const Error&) {
    // As the row would have been written: inserted first, then updated (which then reports its own error).
    WritePending();
    return false;
  }
  const PendingInsert written = std::move(pending);
  pending_.reset();
  ++single_write_count_;
  CheckRowid(written.rowid, written.table);
  tables_[written.table].next_rowid = written.rowid + 1;
  return true;
}

void SqliteConnection::WritePending() {
  if (!pending_) return;
  const PendingInsert pending = std::move(*pending_);
  pending_.reset();
  RunInsert(
      TextKind::kInsert, pending.table, pending.names.size(),
      [&](std::size_t i) -> const std::string& { return pending.names[i]; },
      [&](std::size_t i) -> const Value& { return pending.values[i]; });
  CheckRowid(pending.rowid, pending.table);
  tables_[pending.table].next_rowid = pending.rowid + 1;
}

void SqliteConnection::CheckRowid(std::int64_t expected, const std::string& table) const {
  const std::int64_t rowid = sqlite3_last_insert_rowid(db_);
  if (rowid != expected)
    throw Error(ErrorCode::kDatabase, "The new row of " + table + " got the rowid " + std::to_string(rowid) +
                                          " where " + std::to_string(expected) + " was foretold");
}

}  // namespace cvimp::recordset
