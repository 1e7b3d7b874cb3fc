#include "recordset/where_parameters.h"

#include <gtest/gtest.h>

#include "recordset/test_support.h"

namespace cvimp::recordset {
namespace {

using testing::ErrorOf;
using testing::NewShopDatabase;

ParameterizedStatement Parameterized(std::string_view sql) {
  auto p = ParameterizeWhereLiterals(sql);
  EXPECT_TRUE(p.has_value()) << sql;
  return p.value_or(ParameterizedStatement{});
}

TEST(WhereParameters, TextsAndWholeNumbersOfTheWhereClauseBecomeParameters) {
  auto p = Parameterized("SELECT * FROM Products WHERE ProductID='P''1' AND ManufacturerFKID=12");
  EXPECT_EQ(p.text, "SELECT * FROM Products WHERE ProductID=? AND ManufacturerFKID=?");
  EXPECT_EQ(p.parameters, (std::vector<Value>{Value("P'1"), Value(std::int64_t{12})}));
  p = Parameterized("select * from T where A in ('x', '', 3)");
  EXPECT_EQ(p.text, "select * from T where A in (?, ?, ?)");
  EXPECT_EQ(p.parameters, (std::vector<Value>{Value("x"), Value(""), Value(std::int64_t{3})}));
}

TEST(WhereParameters, OtherNumbersAndLiteralsOutsideTheWhereClauseStay) {
  auto p = Parameterized("SELECT 'a', 2 FROM T WHERE A=1.5 AND B=-1e3 AND C=1234567890123456789 ORDER BY 2 LIMIT 5");
  EXPECT_EQ(p.text, "SELECT 'a', 2 FROM T WHERE A=1.5 AND B=-1e3 AND C=1234567890123456789 ORDER BY 2 LIMIT 5");
  EXPECT_TRUE(p.parameters.empty());
  p = Parameterized("SELECT * FROM T WHERE A=1 GROUP BY B HAVING COUNT(*) > 2");
  EXPECT_EQ(p.text, "SELECT * FROM T WHERE A=? GROUP BY B HAVING COUNT(*) > 2");
  p = Parameterized("SELECT * FROM T WHERE A IN (SELECT B FROM U WHERE C='x')");
  EXPECT_EQ(p.text, "SELECT * FROM T WHERE A IN (SELECT B FROM U WHERE C='x')");
}

TEST(WhereParameters, NamesCommentsAndQuotedNamesAreLeftAlone) {
  auto p = Parameterized("SELECT * FROM T2 WHERE \"A'1\"='v' -- 'c'\n AND [B 2]=7 /* 8 */");
  EXPECT_EQ(p.text, "SELECT * FROM T2 WHERE \"A'1\"=? -- 'c'\n AND [B 2]=? /* 8 */");
  EXPECT_EQ(p.parameters, (std::vector<Value>{Value("v"), Value(std::int64_t{7})}));
}

TEST(WhereParameters, StatementsThatAreNotOnePlainSelectAreNotParameterized) {
  for (const char* sql : {"UPDATE T SET A='x' WHERE B=1", "SELECT * FROM T WHERE A=?", "SELECT * FROM T WHERE A=:a",
                          "SELECT * FROM T WHERE A='x'; SELECT 1", "SELECT * FROM T WHERE A=X'00'",
                          "SELECT * FROM T WHERE A='unterminated",
                          "SELECT * FROM T WHERE A='ends in a doubled quote''", "  ", "WITH c AS (SELECT 1) SELECT * FROM c"})
    EXPECT_FALSE(ParameterizeWhereLiterals(sql).has_value()) << sql;
}

TEST(WhereParameters, LookupsOfOneShapeFindTheirOwnRows) {
  auto db = NewShopDatabase();
  db->Execute("INSERT INTO Currencies (ISOCode, Name) VALUES ('EUR', 'Euro'), ('USD', 'Dollar'), ('12', 'Zwölf')");
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(db->Query("SELECT Name FROM Currencies WHERE ISOCode='EUR'").rows.at(0).at(0), Value("Euro"));
    EXPECT_EQ(db->Query("SELECT Name FROM Currencies WHERE ISOCode='USD'").rows.at(0).at(0), Value("Dollar"));
    EXPECT_TRUE(db->Query("SELECT Name FROM Currencies WHERE ISOCode='eur'").rows.empty());
    // The text column compares a number as text, as with the literal.
    EXPECT_EQ(db->Query("SELECT Name FROM Currencies WHERE ISOCode=12").rows.size(), 1u);
    // The integer column compares numeric text as a number, as with the literal.
    EXPECT_EQ(db->Query("SELECT Name FROM Currencies WHERE PKID='2'").rows.at(0).at(0), Value("Dollar"));
    EXPECT_EQ(db->Query("SELECT Name FROM Currencies WHERE PKID=3").rows.at(0).at(0), Value("Zwölf"));
  }
}

TEST(WhereParameters, ARefusedLookupReportsItsOwnText) {
  auto db = NewShopDatabase();
  EXPECT_EQ(ErrorOf([&] { db->Query("SELECT * FROM Currencies WHERE ISOCode='a' 'b'"); }, ErrorCode::kDatabase),
            "near \"'b'\": syntax error in: SELECT * FROM Currencies WHERE ISOCode='a' 'b'");
  EXPECT_EQ(ErrorOf([&] { db->Query("SELECT * FROM Currencies WHERE Nope='a'"); }, ErrorCode::kDatabase),
            "no such column: Nope in: SELECT * FROM Currencies WHERE Nope='a'");
  // A literal left open is refused as SQLite refuses it, also where it ends in a doubled quote.
  EXPECT_EQ(ErrorOf([&] { db->Query("SELECT * FROM Currencies WHERE ISOCode='a''"); }, ErrorCode::kDatabase),
            "unrecognized token: \"'a''\" in: SELECT * FROM Currencies WHERE ISOCode='a''");
}

TEST(WhereParameters, ALookupSeesAChangeOfTheTablesColumns) {
  auto db = NewShopDatabase();
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a')");
  EXPECT_EQ(db->Query("SELECT * FROM Keywords WHERE Keyword='a'").columns.size(), 2u);
  db->Execute("ALTER TABLE Keywords ADD COLUMN Weight DOUBLE DEFAULT 2");
  QueryResult result = db->Query("SELECT * FROM Keywords WHERE Keyword='a'");
  ASSERT_EQ(result.columns.size(), 3u);
  EXPECT_EQ(result.columns[2].name, "Weight");
  EXPECT_EQ(result.columns[2].type, DataType::kDouble);
  EXPECT_EQ(result.rows.at(0).at(2), Value(2.0));
}

}  // namespace
}  // namespace cvimp::recordset
