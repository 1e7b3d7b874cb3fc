// import_floor: the least work that any import of a catalogue must do, as a yardstick for the real one.
// It parses the file into a DOM the way the catalogue document does and writes one row per item into a new
// shop database, with one prepared INSERT per table, all in one transaction: no lookups, no key
// translation, no conversions beyond SQLite's own.
//
//   import_floor CATALOG [--db FILE | --memory-db]
//
// Per item it binds, by name and as text, each attribute that is a column of the section's table (PKID
// excepted: the database numbers the rows) and each child element that is a long-text column; a long
// description that is the item's own text goes into LongDesc. Without --db the database is a new file in
// the temporary folder, removed at the end.
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <pugixml.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench_support.h"
#include "recordset/shop_schema.h"
#include "recordset/sqlite_connection.h"

namespace fs = std::filesystem;
using namespace cvimp::bench;

namespace {

// The options the catalogue document parses with: text (whitespace-only text dropped), CDATA, comments and
// processing instructions, entities and end-of-line handling.
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_comments | pugi::parse_pi;

int Usage() {
  std::fprintf(stderr, "usage: import_floor CATALOG [--db FILE | --memory-db]\n");
  return 2;
}

void Check(sqlite3* db, int rc, const char* what) {
  if (rc != SQLITE_OK && rc != SQLITE_DONE && rc != SQLITE_ROW)
    throw std::runtime_error(std::string(what) + ": " + sqlite3_errmsg(db));
}

// One table's INSERT of every column but PKID, with a parameter per column.
struct TableInsert {
  sqlite3_stmt* statement = nullptr;
  std::map<std::string, int, std::less<>> parameter;  // column name -> parameter index
  std::map<std::string, int, std::less<>> long_text;  // the long-text columns among them
  int long_desc = 0;                                  // the parameter of LongDesc, 0 when the table has none
  long long rows = 0;
};

TableInsert Prepare(sqlite3* db, const std::string& table) {
  TableInsert insert;
  sqlite3_stmt* info = nullptr;
  Check(db, sqlite3_prepare_v2(db, ("PRAGMA table_info(" + table + ")").c_str(), -1, &info, nullptr), "table_info");
  std::string columns, values;
  int n = 0;
  while (sqlite3_step(info) == SQLITE_ROW) {
    const std::string name = reinterpret_cast<const char*>(sqlite3_column_text(info, 1));
    const std::string type = reinterpret_cast<const char*>(sqlite3_column_text(info, 2));
    if (name == "PKID") continue;
    insert.parameter[name] = ++n;
    if (type == "LONGTEXT") insert.long_text[name] = n;
    if (name == "LongDesc") insert.long_desc = n;
    columns += (columns.empty() ? "" : ", ") + name;
    values += values.empty() ? "?" : ", ?";
  }
  sqlite3_finalize(info);
  if (n == 0) return insert;  // not a table of the shop
  const std::string sql = "INSERT INTO " + table + " (" + columns + ") VALUES (" + values + ")";
  Check(db, sqlite3_prepare_v2(db, sql.c_str(), -1, &insert.statement, nullptr), sql.c_str());
  return insert;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage();
  const std::string catalog = argv[1];
  std::string db_path;
  bool memory = false;
  for (int i = 2; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--memory-db") {
      memory = true;
    } else if (arg == "--db" && i + 1 < argc) {
      db_path = argv[++i];
    } else {
      return Usage();
    }
  }
  const bool temporary = !memory && db_path.empty();
  if (temporary) db_path = (fs::temp_directory_path() / ("cvimp-floor-" + std::to_string(::getpid()) + ".db")).string();

  try {
    const std::uintmax_t file_bytes = fs::file_size(catalog);
    std::shared_ptr<cvimp::recordset::SqliteConnection> connection;
    if (memory) {
      connection = cvimp::recordset::SqliteConnection::OpenInMemory();
      connection->Execute(cvimp::recordset::ShopSchemaSql());
    } else {
      cvimp::recordset::CreateShopDatabase(db_path);
      connection = cvimp::recordset::OpenShopDatabase(db_path);
    }
    sqlite3* db = connection->handle();
    const std::int64_t rss_before = PeakRssBytes();

    const auto t0 = Clock::now();
    pugi::xml_document doc;
    const pugi::xml_parse_result parsed = doc.load_file(catalog.c_str(), kParseOptions);
    if (!parsed) throw std::runtime_error(catalog + ": " + parsed.description());
    const auto t1 = Clock::now();
    const std::int64_t rss_parsed = PeakRssBytes();

    connection->Begin();
    long long items = 0;
    std::vector<std::pair<std::string, long long>> per_table;
    for (pugi::xml_node section : doc.child("CalvoraCatalog").children()) {
      if (section.type() != pugi::node_element) continue;
      TableInsert insert = Prepare(db, section.name());
      if (!insert.statement) continue;
      const std::string item_name = std::string(section.name()) + "Item";
      for (pugi::xml_node item : section.children(item_name.c_str())) {
        sqlite3_clear_bindings(insert.statement);
        for (pugi::xml_attribute a : item.attributes()) {
          const auto p = insert.parameter.find(a.name());
          if (p != insert.parameter.end() && p->first != "LongDesc")
            sqlite3_bind_text(insert.statement, p->second, a.value(), -1, SQLITE_STATIC);
        }
        for (pugi::xml_node child : item.children()) {
          if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
            if (insert.long_desc)
              sqlite3_bind_text(insert.statement, insert.long_desc, child.value(), -1, SQLITE_STATIC);
          } else if (child.type() == pugi::node_element) {
            const auto p = insert.long_text.find(child.name());
            if (p != insert.long_text.end())
              sqlite3_bind_text(insert.statement, p->second, child.child_value(), -1, SQLITE_STATIC);
          }
        }
        Check(db, sqlite3_step(insert.statement), item_name.c_str());
        sqlite3_reset(insert.statement);
        ++insert.rows;
      }
      sqlite3_finalize(insert.statement);
      items += insert.rows;
      per_table.emplace_back(section.name(), insert.rows);
    }
    connection->Commit();
    const auto t2 = Clock::now();
    const std::int64_t rss_end = PeakRssBytes();

    const double parse = Seconds(t1 - t0), write = Seconds(t2 - t1), total = Seconds(t2 - t0);
    const double mb = Mebibytes(static_cast<double>(file_bytes));
    std::printf("catalogue    %s, %.1f MiB, %lld items in %zu tables, database %s\n", catalog.c_str(), mb, items,
                per_table.size(), memory ? "in memory" : db_path.c_str());
    std::printf("%-8s %9s %12s %14s %9s\n", "", "time s", "items/s", "peak RSS MiB", "x file");
    auto row = [&](const char* what, double seconds, std::int64_t rss) {
      std::printf("%-8s %9.3f %12.0f %14.1f %9.2f\n", what, seconds, Rate(items, seconds),
                  Mebibytes(static_cast<double>(rss)), static_cast<double>(rss) / static_cast<double>(file_bytes));
    };
    std::printf("%-8s %9s %12s %14.1f %9.2f\n", "start", "", "", Mebibytes(static_cast<double>(rss_before)),
                static_cast<double>(rss_before) / static_cast<double>(file_bytes));
    row("parse", parse, rss_parsed);
    row("insert", write, rss_end);
    row("total", total, rss_end);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "import_floor: %s\n", e.what());
    if (temporary) fs::remove(db_path);
    return 1;
  }
  if (temporary) fs::remove(db_path);
  return 0;
}
