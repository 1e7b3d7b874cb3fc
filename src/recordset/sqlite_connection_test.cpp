#include "recordset/sqlite_connection.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "recordset/test_support.h"

namespace cvimp::recordset {
namespace {

using testing::ErrorOf;
using testing::NewShopDatabase;
using testing::TempPath;

std::vector<std::pair<std::size_t, Value>> Values(std::initializer_list<std::pair<std::size_t, Value>> list) {
  return list;
}

std::size_t IndexOf(const QueryResult& result, const std::string& name) {
  for (std::size_t i = 0; i < result.columns.size(); ++i)
    if (result.columns[i].name == name) return i;
  ADD_FAILURE() << "no column " << name;
  return 0;
}

// The value SQLite stores, as its own SQL sees it.
std::string Stored(SqliteConnection& db, const std::string& expression) {
  QueryResult result = db.Query("SELECT " + expression);
  return TextForm(result.rows.at(0).at(0));
}

TEST(SqliteConnection, SelectStarGivesTheTableColumnsInOrderWithTheirTypes) {
  auto db = NewShopDatabase();
  QueryResult result = db->Query("SELECT * FROM Media WHERE 1=0");
  EXPECT_EQ(result.table, "Media");
  std::vector<std::string> names;
  for (const Column& c : result.columns) names.push_back(c.name);
  EXPECT_EQ(names, (std::vector<std::string>{"PKID", "Src", "MediaTypeFKID", "RefCounter", "PublishAlways",
                                             "IsReferenced", "LastModifiedDate", "Title", "FileSize"}));
  EXPECT_EQ(result.columns[0].type, DataType::kInteger);
  EXPECT_EQ(result.columns[1].type, DataType::kVarWChar);
  EXPECT_EQ(result.columns[1].size, 255);
  EXPECT_EQ(result.columns[2].size, 20);
  EXPECT_EQ(result.columns[4].type, DataType::kBoolean);
  EXPECT_EQ(result.columns[6].type, DataType::kDate);
  EXPECT_EQ(result.columns[8].type, DataType::kBigInt);
  EXPECT_TRUE(result.rows.empty());
}

TEST(SqliteConnection, StoredValuesAreReadInTheirFieldTypes) {
  auto db = NewShopDatabase();
  db->Execute(
      "INSERT INTO Products (ProductID, Price, Weight, LongDesc) VALUES ('P1', 12.5, 3, 'long');"
      "INSERT INTO Media (Src, PublishAlways, IsReferenced, LastModifiedDate, FileSize) "
      "VALUES ('a.png', -1, 0, '2024-03-07 08:09:10', 5000000000);"
      "INSERT INTO KeywordRefs (RefType, Keyword) VALUES (2, 'k');");
  QueryResult products = db->Query("SELECT * FROM Products");
  ASSERT_EQ(products.rows.size(), 1u);
  const auto& p = products.rows[0];
  EXPECT_EQ(p[IndexOf(products, "PKID")], Value(std::int32_t{1}));
  EXPECT_EQ(p[IndexOf(products, "ProductID")], Value("P1"));
  EXPECT_EQ(p[IndexOf(products, "Price")], Value(12.5));
  EXPECT_EQ(p[IndexOf(products, "Weight")], Value(3.0));
  EXPECT_EQ(p[IndexOf(products, "LongDesc")], Value("long"));
  EXPECT_EQ(p[IndexOf(products, "ShortDesc")], Value());
  EXPECT_EQ(p[IndexOf(products, "PictureMRef")], Value(std::int32_t{0}));
  QueryResult media = db->Query("SELECT * FROM Media");
  const auto& m = media.rows.at(0);
  EXPECT_EQ(m[IndexOf(media, "PublishAlways")], Value(true));
  EXPECT_EQ(m[IndexOf(media, "IsReferenced")], Value(false));
  EXPECT_EQ(m[IndexOf(media, "LastModifiedDate")], Value("2024-03-07 08:09:10"));
  EXPECT_EQ(m[IndexOf(media, "FileSize")], Value(std::int64_t{5000000000}));
  QueryResult refs = db->Query("SELECT RefType FROM KeywordRefs");
  EXPECT_EQ(refs.rows.at(0).at(0), Value(std::int16_t{2}));
}

TEST(SqliteConnection, ResultColumnsFollowTheStatementAndExpressionsAreTypedByTheirValues) {
  auto db = NewShopDatabase();
  db->Execute("INSERT INTO Currencies (ISOCode, Name) VALUES ('EUR', 'Euro')");
  QueryResult result = db->Query("SELECT Name, ISOCode, 1 + 1 AS Two, 'x' AS X, 1.5 AS F FROM Currencies");
  ASSERT_EQ(result.columns.size(), 5u);
  EXPECT_EQ(result.columns[0].name, "Name");
  EXPECT_EQ(result.columns[1].name, "ISOCode");
  EXPECT_EQ(result.columns[1].size, 10);
  EXPECT_EQ(result.columns[2].type, DataType::kInteger);
  EXPECT_EQ(result.columns[3].type, DataType::kVarWChar);
  EXPECT_EQ(result.columns[4].type, DataType::kDouble);
  EXPECT_EQ(result.rows.at(0),
            (std::vector<Value>{Value("Euro"), Value("EUR"), Value(std::int32_t{2}), Value("x"), Value(1.5)}));
  // Fields that are not all columns of one table cannot be written back.
  EXPECT_EQ(result.table, "");
  EXPECT_EQ(db->Query("SELECT Name, ISOCode FROM Currencies").table, "Currencies");
}

TEST(SqliteConnection, ARefusedStatementNamesSqlitesReasonAndTheStatement) {
  auto db = NewShopDatabase();
  EXPECT_EQ(ErrorOf([&] { db->Query("SELECT Nope FROM Products"); }, ErrorCode::kDatabase),
            "no such column: Nope in: SELECT Nope FROM Products");
  EXPECT_EQ(ErrorOf([&] { db->Query("   "); }, ErrorCode::kDatabase), "An empty statement in:    ");
  EXPECT_EQ(ErrorOf([&] { db->Query("SELECT 1; SELECT 2"); }, ErrorCode::kDatabase),
            "More than one statement in: SELECT 1; SELECT 2");
  EXPECT_EQ(db->Query("SELECT 1; -- done").rows.size(), 1u);
}

TEST(SqliteConnection, InsertWritesTheGivenColumnsAndReturnsTheStoredRow) {
  auto db = NewShopDatabase();
  QueryResult shape = db->Query("SELECT * FROM Currencies WHERE 1=0");
  std::vector<Value> row = db->Insert("Currencies", shape.columns, Values({{1, Value("EUR")}}));
  EXPECT_EQ(row, (std::vector<Value>{Value(std::int32_t{1}), Value("EUR"), Value(), Value(), Value(1.0)}));
  row = db->Insert("Currencies", shape.columns, Values({{1, Value("USD")}, {4, Value(1.1)}}));
  EXPECT_EQ(row, (std::vector<Value>{Value(std::int32_t{2}), Value("USD"), Value(), Value(), Value(1.1)}));
  row = db->Insert("Currencies", shape.columns, {});
  EXPECT_EQ(row.at(0), Value(std::int32_t{3}));
  EXPECT_EQ(row.at(4), Value(1.0));
  EXPECT_EQ(db->Query("SELECT * FROM Currencies").rows.size(), 3u);
}

TEST(SqliteConnection, InsertWithAnExplicitPkidKeepsIt) {
  auto db = NewShopDatabase();
  QueryResult shape = db->Query("SELECT * FROM Regions WHERE 1=0");
  std::vector<Value> row = db->Insert("Regions", shape.columns, Values({{0, Value(std::int32_t{276})}}));
  EXPECT_EQ(row.at(0), Value(std::int32_t{276}));
  EXPECT_EQ(ErrorOf(
                [&] {
                  db->Insert("Regions", shape.columns, Values({{0, Value(std::int32_t{276})}}));
                },
                ErrorCode::kDatabase),
            "UNIQUE constraint failed: Regions.PKID in: INSERT INTO \"Regions\" (\"PKID\") VALUES (?)");
  // The cached statement is usable again after the refusal.
  EXPECT_EQ(db->Insert("Regions", shape.columns, Values({{0, Value(std::int32_t{277})}})).at(0),
            Value(std::int32_t{277}));
}

TEST(SqliteConnection, BooleansAreStoredAsMinusOneAndZero) {
  auto db = NewShopDatabase();
  QueryResult shape = db->Query("SELECT * FROM Categories WHERE 1=0");
  std::size_t hidden = IndexOf(shape, "IsHidden");
  std::vector<Value> row = db->Insert("Categories", shape.columns, Values({{hidden, Value(true)}}));
  EXPECT_EQ(row.at(hidden), Value(true));
  EXPECT_EQ(Stored(*db, "typeof(IsHidden) || ' ' || quote(IsHidden) FROM Categories"), "integer -1");
  db->UpdateRow("Categories", shape.columns, 1, Values({{hidden, Value(false)}}));
  EXPECT_EQ(Stored(*db, "typeof(IsHidden) || ' ' || quote(IsHidden) FROM Categories"), "integer 0");
}

TEST(SqliteConnection, UpdateRowWritesOnlyTheGivenColumnsOfThatRow) {
  auto db = NewShopDatabase();
  db->Execute("INSERT INTO DeliveryTimes (Name, DeliveryDays) VALUES ('a', 1), ('b', 2)");
  QueryResult shape = db->Query("SELECT * FROM DeliveryTimes WHERE 1=0");
  db->UpdateRow("DeliveryTimes", shape.columns, 2, Values({{2, Value(std::int32_t{9})}}));
  QueryResult rows = db->Query("SELECT Name, DeliveryDays FROM DeliveryTimes ORDER BY PKID");
  EXPECT_EQ(rows.rows, (std::vector<std::vector<Value>>{{Value("a"), Value(std::int32_t{1})},
                                                        {Value("b"), Value(std::int32_t{9})}}));
}

TEST(SqliteConnection, UpdateRowOfAMissingPkidIsRefused) {
  auto db = NewShopDatabase();
  QueryResult shape = db->Query("SELECT * FROM DeliveryTimes WHERE 1=0");
  EXPECT_EQ(ErrorOf(
                [&] {
                  db->UpdateRow("DeliveryTimes", shape.columns, 5, Values({{1, Value("x")}}));
                },
                ErrorCode::kDatabase),
            "No row of DeliveryTimes has the PKID 5 in: UPDATE \"DeliveryTimes\" SET \"Name\" = ? WHERE PKID = ?");
}

TEST(SqliteConnection, UpdateRowChangingPkidToATakenOneIsRefused) {
  auto db = NewShopDatabase();
  db->Execute("INSERT INTO Folders (Name) VALUES ('a'), ('b')");
  QueryResult shape = db->Query("SELECT * FROM Folders WHERE 1=0");
  ErrorOf(
      [&] {
        db->UpdateRow("Folders", shape.columns, 2, Values({{0, Value(std::int32_t{1})}}));
      },
      ErrorCode::kDatabase);
  db->UpdateRow("Folders", shape.columns, 2, Values({{0, Value(std::int32_t{7})}}));
  EXPECT_EQ(db->Query("SELECT Name FROM Folders WHERE PKID=7").rows.at(0).at(0), Value("b"));
}

// The statements built for a table are remembered with the columns they name: record sets of the same table
// with other field lists, or other changed fields, get statements of their own, also when they alternate.
TEST(SqliteConnection, InsertsAndUpdatesOfOneTableWithOtherColumnsKeepTheirOwnStatements) {
  auto db = NewShopDatabase();
  QueryResult all = db->Query("SELECT * FROM DeliveryTimes WHERE 1=0");
  QueryResult two = db->Query("SELECT DeliveryDays, PKID FROM DeliveryTimes WHERE 1=0");
  std::size_t name = IndexOf(all, "Name");
  std::size_t days = IndexOf(all, "DeliveryDays");

  std::vector<Value> first = db->Insert("DeliveryTimes", all.columns, Values({{name, Value("a")}}));
  EXPECT_EQ(first.size(), all.columns.size());
  EXPECT_EQ(first.at(0), Value(std::int32_t{1}));
  std::vector<Value> second = db->Insert("DeliveryTimes", two.columns, Values({{0, Value(std::int32_t{5})}}));
  EXPECT_EQ(second, (std::vector<Value>{Value(std::int32_t{5}), Value(std::int32_t{2})}));
  std::vector<Value> third =
      db->Insert("DeliveryTimes", all.columns, Values({{days, Value(std::int32_t{6})}, {name, Value("c")}}));
  EXPECT_EQ(third.size(), all.columns.size());
  EXPECT_EQ(third.at(name), Value("c"));
  EXPECT_EQ(third.at(days), Value(std::int32_t{6}));

  db->UpdateRow("DeliveryTimes", two.columns, 1, Values({{0, Value(std::int32_t{7})}}));
  db->UpdateRow("DeliveryTimes", all.columns, 1, Values({{name, Value("A")}}));
  db->UpdateRow("DeliveryTimes", two.columns, 3, Values({{0, Value(std::int32_t{8})}}));
  db->UpdateRow("DeliveryTimes", all.columns, 2, Values({{name, Value("B")}, {days, Value(std::int32_t{9})}}));
  QueryResult rows = db->Query("SELECT PKID, Name, DeliveryDays FROM DeliveryTimes ORDER BY PKID");
  EXPECT_EQ(rows.rows, (std::vector<std::vector<Value>>{
                           {Value(std::int32_t{1}), Value("A"), Value(std::int32_t{7})},
                           {Value(std::int32_t{2}), Value("B"), Value(std::int32_t{9})},
                           {Value(std::int32_t{3}), Value("c"), Value(std::int32_t{8})}}));
  EXPECT_EQ(ErrorOf(
                [&] {
                  db->UpdateRow("DeliveryTimes", two.columns, 5, Values({{0, Value(std::int32_t{1})}}));
                },
                ErrorCode::kDatabase),
            "No row of DeliveryTimes has the PKID 5 in: UPDATE \"DeliveryTimes\" SET \"DeliveryDays\" = ? "
            "WHERE PKID = ?");
}

TEST(SqliteConnection, TransactionsCommitAndRollBack) {
  auto db = NewShopDatabase();
  EXPECT_FALSE(db->InTransaction());
  db->Begin();
  EXPECT_TRUE(db->InTransaction());
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('kept')");
  db->Commit();
  EXPECT_FALSE(db->InTransaction());
  db->Begin();
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('dropped')");
  db->Rollback();
  QueryResult rows = db->Query("SELECT Keyword FROM Keywords");
  EXPECT_EQ(rows.rows, (std::vector<std::vector<Value>>{{Value("kept")}}));
  ErrorOf([&] { db->Commit(); }, ErrorCode::kDatabase);
  db->Begin();
  ErrorOf([&] { db->Begin(); }, ErrorCode::kDatabase);
  db->Rollback();
}

TEST(SqliteConnection, OpeningAMissingFileIsAnErrorAndCreatesNothing) {
  std::string path = TempPath("missing.db");
  std::string message = ErrorOf([&] { SqliteConnection::Open(path); }, ErrorCode::kDatabase);
  EXPECT_EQ(message.rfind("Cannot open the database " + path + ": ", 0), 0u) << message;
  EXPECT_FALSE(std::filesystem::exists(PathFromUtf8(path)));
}

TEST(SqliteConnection, OpeningAFileThatIsNoDatabaseIsAnError) {
  std::string path = TempPath("not_a_db.txt");
  {
    std::FILE* f = OpenFile(path, "wb");
    std::fputs("this is not a database, just some text that is long enough to fill a header\n", f);
    std::fclose(f);
  }
  EXPECT_EQ(ErrorOf([&] { SqliteConnection::Open(path); }, ErrorCode::kDatabase),
            "Cannot open the database " + path + ": file is not a database");
  std::filesystem::remove(PathFromUtf8(path));
}

TEST(SqliteConnection, ADatabaseFileKeepsWhatWasCommitted) {
  std::string path = TempPath("connection.db");
  CreateShopDatabase(path);
  {
    auto db = SqliteConnection::Open(path);
    db->Begin();
    db->Execute("INSERT INTO Keywords (Keyword) VALUES ('kept')");
    db->Commit();
    db->Begin();
    db->Execute("INSERT INTO Keywords (Keyword) VALUES ('never committed')");
  }
  auto db = SqliteConnection::OpenReadOnly(path);
  EXPECT_EQ(db->Query("SELECT Keyword FROM Keywords").rows, (std::vector<std::vector<Value>>{{Value("kept")}}));
  ErrorOf([&] { db->Execute("INSERT INTO Keywords (Keyword) VALUES ('x')"); }, ErrorCode::kDatabase);
  db.reset();
  std::filesystem::remove(PathFromUtf8(path));
}

}  // namespace
}  // namespace cvimp::recordset
