#include "recordset/shop_schema.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "recordset/declared_type.h"
#include "recordset/test_support.h"

namespace cvimp::recordset {
namespace {

using testing::ErrorOf;
using testing::TempPath;

struct ColumnDeclaration {
  std::string name;
  std::string type;
  bool operator==(const ColumnDeclaration&) const = default;
};
using TableDeclarations = std::vector<std::pair<std::string, std::vector<ColumnDeclaration>>>;

std::string ReadFile(const std::string& path) {
  std::ifstream in(PathFromUtf8(path), std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string Trim(const std::string& s) {
  std::size_t b = s.find_first_not_of(" \t\r\n"), e = s.find_last_not_of(" \t\r\n");
  return b == std::string::npos ? std::string() : s.substr(b, e - b + 1);
}

// The tables of a schema text, read from its CREATE TABLE statements on their own: each column's name is
// its first word and its type the words up to the first constraint.
TableDeclarations TablesOfSchemaText(std::string text) {
  std::string without_comments;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::size_t comment = line.find("--");
    without_comments += (comment == std::string::npos ? line : line.substr(0, comment)) + "\n";
  }
  TableDeclarations tables;
  std::size_t pos = 0;
  const std::string create = "CREATE TABLE ";
  while ((pos = without_comments.find(create, pos)) != std::string::npos) {
    std::size_t open = without_comments.find('(', pos);
    std::size_t close = without_comments.find(");", open);
    std::string name = Trim(without_comments.substr(pos + create.size(), open - pos - create.size()));
    std::vector<ColumnDeclaration> columns;
    std::istringstream definitions(without_comments.substr(open + 1, close - open - 1));
    for (std::string definition; std::getline(definitions, definition, ',');) {
      std::istringstream words(Trim(definition));
      ColumnDeclaration column;
      words >> column.name;
      for (std::string word; words >> word;) {
        if (word == "PRIMARY" || word == "DEFAULT" || word == "NOT" || word == "UNIQUE") break;
        column.type += (column.type.empty() ? "" : " ") + word;
      }
      columns.push_back(column);
    }
    tables.emplace_back(name, columns);
    pos = close;
  }
  return tables;
}

TableDeclarations TablesOfDatabase(SqliteConnection& db) {
  TableDeclarations tables;
  QueryResult names = db.Query(
      "SELECT name FROM sqlite_master WHERE type='table' AND name <> 'sqlite_sequence' "
      "ORDER BY rowid");
  for (const auto& row : names.rows) {
    std::vector<ColumnDeclaration> columns;
    for (const auto& c : db.Query("SELECT name, type FROM pragma_table_info('" + row[0].text() + "')").rows)
      columns.push_back({c[0].text(), c[1].text()});
    tables.emplace_back(row[0].text(), columns);
  }
  return tables;
}

TEST(ShopSchema, TheCompiledInTextIsTheSchemaFile) {
  std::string file = ReadFile(CVIMP_SHOP_SCHEMA_FILE);
  ASSERT_FALSE(file.empty());
  EXPECT_EQ(ShopSchemaSql(), file);
}

TEST(ShopSchema, ACreatedDatabaseHasTheSchemasTablesColumnsOrderAndTypes) {
  TableDeclarations expected = TablesOfSchemaText(ReadFile(CVIMP_SHOP_SCHEMA_FILE));
  ASSERT_EQ(expected.size(), 40u);
  EXPECT_EQ(expected.front().first, "Currencies");
  EXPECT_EQ(expected.back().first, "CrossRefs");
  std::string path = TempPath("schema.db");
  CreateShopDatabase(path);
  auto db = SqliteConnection::Open(path);
  EXPECT_EQ(TablesOfDatabase(*db), expected);
  QueryResult indexes = db->Query("SELECT name FROM sqlite_master WHERE type='index'");
  EXPECT_EQ(indexes.rows.size(), 39u);
  db.reset();
  std::filesystem::remove(PathFromUtf8(path));
}

TEST(ShopSchema, EveryDeclaredTypeIsOfTheVocabulary) {
  for (const auto& [table, columns] : TablesOfSchemaText(std::string(ShopSchemaSql())))
    for (const auto& column : columns)
      EXPECT_TRUE(ParseDeclaredType(column.type).has_value()) << table << "." << column.name << " " << column.type;
}

TEST(ShopSchema, CreatingNeverOverwritesAnExistingFile) {
  std::string path = TempPath("existing.db");
  {
    std::ofstream out(PathFromUtf8(path), std::ios::binary);
    out << "precious";
  }
  EXPECT_EQ(ErrorOf([&] { CreateShopDatabase(path); }, ErrorCode::kDatabase),
            "Cannot create the shop database " + path + ": the file already exists");
  EXPECT_EQ(ReadFile(path), "precious");
  std::filesystem::remove(PathFromUtf8(path));

  CreateShopDatabase(path);
  ErrorOf([&] { CreateShopDatabase(path); }, ErrorCode::kDatabase);
  EXPECT_TRUE(IsShopDatabase(path));
  std::filesystem::remove(PathFromUtf8(path));
}

TEST(ShopSchema, ADatabaseNamedOutsideAsciiIsCreatedUnderThatName) {
  const std::string name = "Shop-\xC3\xA4\xE2\x82\xAC.db";  // "Shop-ä€.db"
  std::string path = TempPath(name);
  CreateShopDatabase(path);
  EXPECT_TRUE(std::filesystem::is_regular_file(PathFromUtf8(path)));
  bool listed = false;  // under the name given, not under its bytes read in another encoding
  for (const auto& entry : std::filesystem::directory_iterator(PathFromUtf8(path).parent_path()))
    listed = listed || Utf8FromPath(entry.path().filename()) == "cvimp_" + cvimp::testing::ProcessTag() + "_" + name;
  EXPECT_TRUE(listed);
  EXPECT_TRUE(IsShopDatabase(path));
  EXPECT_EQ(ErrorOf([&] { CreateShopDatabase(path); }, ErrorCode::kDatabase),
            "Cannot create the shop database " + path + ": the file already exists");
  EXPECT_EQ(ShopDatabaseMismatch(*OpenShopDatabase(path)), "");
  std::filesystem::remove(PathFromUtf8(path));
}

TEST(ShopSchema, CreatingInAFolderThatDoesNotExistFails) {
  std::string path = TempPath("no_such_folder") + "/shop.db";
  EXPECT_EQ(ErrorOf([&] { CreateShopDatabase(path); }, ErrorCode::kDatabase),
            "Cannot create the shop database " + path + ": the file cannot be created");
  EXPECT_FALSE(std::filesystem::exists(PathFromUtf8(path)));
}

TEST(ShopSchema, ACreatedDatabaseIsAShopDatabase) {
  std::string path = TempPath("created.db");
  CreateShopDatabase(path);
  EXPECT_TRUE(IsShopDatabase(path));
  auto db = OpenShopDatabase(path);
  EXPECT_EQ(ShopDatabaseMismatch(*db), "");
  EXPECT_FALSE(db->InTransaction());
  db.reset();
  std::filesystem::remove(PathFromUtf8(path));
}

TEST(ShopSchema, AMissingFileIsNoShopDatabaseAndIsNotCreated) {
  std::string path = TempPath("missing_shop.db");
  EXPECT_FALSE(IsShopDatabase(path));
  EXPECT_FALSE(std::filesystem::exists(PathFromUtf8(path)));
  std::string message = ErrorOf([&] { OpenShopDatabase(path); }, ErrorCode::kDatabase);
  EXPECT_EQ(message.rfind("Cannot open the database " + path, 0), 0u) << message;
}

TEST(ShopSchema, AFileThatIsNoDatabaseIsNoShopDatabase) {
  std::string path = TempPath("text.db");
  {
    std::ofstream out(PathFromUtf8(path), std::ios::binary);
    out << "<CalvoraCatalog>this is a catalogue, not a database, and it is long enough</CalvoraCatalog>\n";
  }
  EXPECT_FALSE(IsShopDatabase(path));
  ErrorOf([&] { OpenShopDatabase(path); }, ErrorCode::kDatabase);
  std::filesystem::remove(PathFromUtf8(path));
}

TEST(ShopSchema, AnotherDatabaseIsNoShopDatabaseAndTheReasonIsNamed) {
  auto db = SqliteConnection::OpenInMemory();
  EXPECT_EQ(ShopDatabaseMismatch(*db), "table Currencies is missing");
  EXPECT_FALSE(IsShopDatabase(*db));

  std::string path = TempPath("other.db");
  { std::ofstream touch(PathFromUtf8(path)); }
  SqliteConnection::Open(path)->Execute("CREATE TABLE Notes (Text TEXT)");
  EXPECT_FALSE(IsShopDatabase(path));
  EXPECT_EQ(ErrorOf([&] { OpenShopDatabase(path); }, ErrorCode::kDatabase),
            path + " is not a shop database: table Currencies is missing");
  std::filesystem::remove(PathFromUtf8(path));
}

TEST(ShopSchema, AMissingColumnOrAnotherTypeIsNamed) {
  auto db = testing::NewShopDatabase();
  db->Execute("ALTER TABLE CrossRefs DROP COLUMN SortOrder");
  EXPECT_EQ(ShopDatabaseMismatch(*db), "table CrossRefs has no column SortOrder");
  EXPECT_FALSE(IsShopDatabase(*db));

  db = testing::NewShopDatabase();
  db->Execute(
      "DROP TABLE Products; CREATE TABLE Products (PKID INTEGER PRIMARY KEY, ProductID VARCHAR(255), "
      "Name VARCHAR(255), PictureMRef INTEGER, LongDesc LONGTEXT, ShortDesc VARCHAR(255), Price DOUBLE, "
      "Weight DOUBLE, ManufacturerFKID INTEGER, DeliveryTimeFKID INTEGER)");
  EXPECT_EQ(ShopDatabaseMismatch(*db), "column Products.Price is declared DOUBLE, not CURRENCY");
}

TEST(ShopSchema, FurtherTablesAndColumnsAreAllowed) {
  auto db = testing::NewShopDatabase();
  db->Execute(
      "CREATE TABLE Orders (PKID INTEGER PRIMARY KEY AUTOINCREMENT, Total CURRENCY);"
      "ALTER TABLE Products ADD COLUMN Stock INTEGER DEFAULT 0");
  EXPECT_TRUE(IsShopDatabase(*db));
}

}  // namespace
}  // namespace cvimp::recordset
