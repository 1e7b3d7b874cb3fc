#include "check/known_attributes.h"

#include <sqlite3.h>

#include <map>
#include <vector>

#include "check/catalog_rules.h"
#include "common/ascii_case.h"
#include "recordset/shop_schema.h"
#include "recordset/sqlite_connection.h"

namespace cvimp::check {
namespace {

using Tables = std::map<std::string, std::vector<std::string>, std::less<>>;

std::string TextAt(sqlite3_stmt* statement, int index) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
  return text ? text : "";
}

// The tables of the schema with their columns, read once from a database made from the schema in memory.
const Tables& SchemaTables() {
  static const Tables tables = [] {
    Tables out;
    auto db = recordset::SqliteConnection::OpenInMemory();
    db->Execute(recordset::ShopSchemaSql());
    sqlite3_stmt* statement = nullptr;
    const char* sql =
        "SELECT m.name, c.name FROM sqlite_master AS m, pragma_table_info(m.name) AS c "
        "WHERE m.type = 'table' AND m.name NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY m.rowid, c.cid";
    if (sqlite3_prepare_v2(db->handle(), sql, -1, &statement, nullptr) == SQLITE_OK) {
      while (sqlite3_step(statement) == SQLITE_ROW) out[TextAt(statement, 0)].push_back(TextAt(statement, 1));
    }
    sqlite3_finalize(statement);
    return out;
  }();
  return tables;
}

}  // namespace

std::span<const std::string> SchemaColumns(std::string_view table) {
  const Tables& tables = SchemaTables();
  auto found = tables.find(table);
  if (found == tables.end()) return {};
  return found->second;
}

bool IsKnownAttribute(std::string_view section, std::string_view attribute) {
  if (attribute == "NewPKID") return true;
  for (const std::string& column : SchemaColumns(section))
    if (column == attribute) return true;
  if (const SectionRule* rule = RuleOf(section)) {
    for (std::string_view extra : rule->extra_attributes)
      if (extra == attribute) return true;
  }
  return false;
}

std::string_view ColumnSpelledOtherwise(std::string_view section, std::string_view attribute) {
  for (const std::string& column : SchemaColumns(section))
    if (column != attribute && EqualsIgnoringCase(column, attribute)) return column;
  return {};
}

}  // namespace cvimp::check
