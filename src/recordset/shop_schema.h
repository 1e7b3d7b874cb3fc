// The shop database's schema, compiled in from schema/shop-schema.sql: creating a new shop database and
// telling whether a database file is one.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "recordset/sqlite_connection.h"

namespace cvimp::recordset {

// The text of schema/shop-schema.sql, as it was when the library was built.
std::string_view ShopSchemaSql();

// Creates a new shop database file at `path` with every table and index of the schema. Never overwrites:
// an existing file (or anything else at that path) is refused. Raises cvimp::Error (kDatabase) with a
// message naming the path and the reason; a half-made file is removed again.
void CreateShopDatabase(const std::string& path);

// What keeps a database from being a shop database: the first of the schema's tables that it lacks, or of
// their columns that it lacks or declares with another type ("table Products has no column Price"). Empty
// when it has every table and column of the schema (further tables and columns are allowed).
std::string ShopDatabaseMismatch(SqliteConnection& connection);

bool IsShopDatabase(SqliteConnection& connection);
// False also for a file that does not exist or is no SQLite database; the file is only read.
bool IsShopDatabase(const std::string& path);

// Opens an existing shop database for reading and writing. Raises cvimp::Error (kDatabase) when the file
// cannot be opened, is no SQLite database or is not a shop database, with a message naming the path and why.
std::shared_ptr<SqliteConnection> OpenShopDatabase(const std::string& path);

}  // namespace cvimp::recordset
