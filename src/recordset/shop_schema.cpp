#include "recordset/shop_schema.h"

#include <sqlite3.h>

#include <cstdio>
#include <vector>

#include "common/ascii_case.h"
#include "common/error.h"
#include "common/file_open.h"

namespace cvimp::recordset {
namespace {

struct TableColumn {
  std::string name;
  std::string declared;
};

struct Table {
  std::string name;
  std::vector<TableColumn> columns;
};

struct Finalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using OwnedStatement = std::unique_ptr<sqlite3_stmt, Finalizer>;

OwnedStatement Prepare(sqlite3* db, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK)
    throw Error(ErrorCode::kDatabase, std::string(sqlite3_errmsg(db)) + " in: " + sql);
  return OwnedStatement(statement);
}

std::string TextAt(sqlite3_stmt* statement, int index) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
  return text ? text : "";
}

// The columns of a table in order (none when there is no such table).
std::vector<TableColumn> ColumnsOf(sqlite3* db, const std::string& table) {
  auto statement = Prepare(db, "SELECT name, type FROM pragma_table_info(?)");
  sqlite3_bind_text(statement.get(), 1, table.c_str(), -1, SQLITE_TRANSIENT);
  std::vector<TableColumn> columns;
  while (sqlite3_step(statement.get()) == SQLITE_ROW)
    columns.push_back({TextAt(statement.get(), 0), TextAt(statement.get(), 1)});
  return columns;
}

// The tables of the schema with their columns, in the schema's order.
const std::vector<Table>& SchemaTables() {
  static const std::vector<Table> tables = [] {
    auto db = SqliteConnection::OpenInMemory();
    db->Execute(ShopSchemaSql());
    std::vector<Table> out;
    auto statement = Prepare(db->handle(),
                             "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite\\_%' "
                             "ESCAPE '\\' ORDER BY rowid");
    while (sqlite3_step(statement.get()) == SQLITE_ROW) out.push_back({TextAt(statement.get(), 0), {}});
    for (auto& table : out) table.columns = ColumnsOf(db->handle(), table.name);
    return out;
  }();
  return tables;
}

bool SameIgnoringCaseAndBlanks(std::string_view a, std::string_view b) {
  auto without_blanks = [](std::string_view s) {
    std::string out;
    for (char c : s)
      if (c != ' ' && c != '\t' && c != '\n' && c != '\r') out += c;
    return out;
  };
  return EqualsIgnoringCase(without_blanks(a), without_blanks(b));
}

}  // namespace

void CreateShopDatabase(const std::string& path) {
  const std::string failure = "Cannot create the shop database " + path + ": ";
  // Created exclusively, so that nothing that is already there is ever overwritten.
  std::FILE* file = CreateNewFile(path);
  if (!file) {
    std::FILE* existing = OpenFile(path, "rb");
    if (existing) std::fclose(existing);
    throw Error(ErrorCode::kDatabase, failure + (existing ? "the file already exists" : "the file cannot be created"));
  }
  std::fclose(file);
  try {
    auto db = SqliteConnection::Open(path);
    db->Begin();
    db->Execute(ShopSchemaSql());
    db->Commit();
  } catch (const Error& e) {
    RemoveFile(path);
    throw Error(ErrorCode::kDatabase, failure + e.what());
  }
}

std::string ShopDatabaseMismatch(SqliteConnection& connection) {
  for (const Table& expected : SchemaTables()) {
    std::vector<TableColumn> actual = ColumnsOf(connection.handle(), expected.name);
    if (actual.empty()) return "table " + expected.name + " is missing";
    for (const TableColumn& column : expected.columns) {
      const TableColumn* found = nullptr;
      for (const TableColumn& candidate : actual)
        if (SameIgnoringCaseAndBlanks(candidate.name, column.name)) found = &candidate;
      if (!found) return "table " + expected.name + " has no column " + column.name;
      if (!SameIgnoringCaseAndBlanks(found->declared, column.declared))
        return "column " + expected.name + "." + column.name + " is declared " +
               (found->declared.empty() ? "without a type" : found->declared) + ", not " + column.declared;
    }
  }
  return {};
}

bool IsShopDatabase(SqliteConnection& connection) {
  try {
    return ShopDatabaseMismatch(connection).empty();
  } catch (const Error&) {
    return false;
  }
}

bool IsShopDatabase(const std::string& path) {
  try {
    auto db = SqliteConnection::OpenReadOnly(path);
    return IsShopDatabase(*db);
  } catch (const Error&) {
    return false;
  }
}

std::shared_ptr<SqliteConnection> OpenShopDatabase(const std::string& path) {
  auto db = SqliteConnection::Open(path);
  std::string mismatch = ShopDatabaseMismatch(*db);
  if (!mismatch.empty()) throw Error(ErrorCode::kDatabase, path + " is not a shop database: " + mismatch);
  return db;
}

}  // namespace cvimp::recordset
