#include "recordset/dialect.h"

#include <gtest/gtest.h>

#include "recordset/test_support.h"

namespace cvimp::recordset {
namespace {

using testing::ErrorOf;

TEST(Dialect, ANumberDirectlyFollowedByALetterReadsAsNumberThenWord) {
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE A=12AND B=3"), "SELECT * FROM T WHERE A=12 AND B=3");
  EXPECT_EQ(TranslateDialect("WHERE A=1.5OR B=2"), "WHERE A=1.5 OR B=2");
  EXPECT_EQ(TranslateDialect("WHERE A=1e5AND B=2"), "WHERE A=1e5 AND B=2");
  EXPECT_EQ(TranslateDialect("WHERE A=12ORDER BY A"), "WHERE A=12 ORDER BY A");
  // An E without digits after it is no exponent: the word starts there.
  EXPECT_EQ(TranslateDialect("WHERE A=12END"), "WHERE A=12 END");
  EXPECT_EQ(TranslateDialect("WHERE A=0x1F"), "WHERE A=0 x1F");
}

TEST(Dialect, NumbersNotFollowedByALetterAndDigitsInNamesStayAsTheyAre) {
  for (const char* sql : {"SELECT * FROM T WHERE A=12 AND B=3", "SELECT T2.A1 FROM T2 WHERE X_1=1.5e-3",
                          "SELECT * FROM T WHERE A IN (1,2,3)", "SELECT 1", "SELECT * FROM T WHERE A=-12)"})
    EXPECT_EQ(TranslateDialect(sql), sql);
}

TEST(Dialect, StringLiteralsAndQuotedNamesAreNeverTouched) {
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE A='12AND' AND B='it''s 5x'"),
            "SELECT * FROM T WHERE A='12AND' AND B='it''s 5x'");
  EXPECT_EQ(TranslateDialect("SELECT \"12x\", [3y], `4z` FROM T"), "SELECT \"12x\", [3y], `4z` FROM T");
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE A='x IN ()' AND B=1"), "SELECT * FROM T WHERE A='x IN ()' AND B=1");
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE A='''12x'''"), "SELECT * FROM T WHERE A='''12x'''");
}

TEST(Dialect, CommentsAreNotRewritten) {
  EXPECT_EQ(TranslateDialect("SELECT 1 -- 12AND\n"), "SELECT 1 -- 12AND\n");
  EXPECT_EQ(TranslateDialect("SELECT /* IN () 3x */ 1"), "SELECT /* IN () 3x */ 1");
}

TEST(Dialect, AnEmptyInListIsRefused) {
  const char* sql = "SELECT * FROM Products WHERE PKID IN() ORDER BY PKID";
  EXPECT_EQ(ErrorOf([&] { TranslateDialect(sql); }, ErrorCode::kDatabase),
            std::string("Syntax error: an empty list after IN in: ") + sql);
  ErrorOf([] { TranslateDialect("SELECT * FROM T WHERE A NOT IN ( )"); }, ErrorCode::kDatabase);
  ErrorOf([] { TranslateDialect("SELECT * FROM T WHERE A in\n(\n)"); }, ErrorCode::kDatabase);
  // Every kind of blank, and comments, may stand between the brackets.
  ErrorOf([] { TranslateDialect("SELECT * FROM T WHERE A IN( \t\r\n\f\v)"); }, ErrorCode::kDatabase);
  ErrorOf([] { TranslateDialect("SELECT * FROM T WHERE A IN (/* none */)"); }, ErrorCode::kDatabase);
  ErrorOf([] { TranslateDialect("SELECT * FROM T WHERE A IN (-- none\n)"); }, ErrorCode::kDatabase);
  ErrorOf([] { TranslateDialect("SELECT * FROM T WHERE A IN /**/ ( ) AND B=1"); }, ErrorCode::kDatabase);
}

TEST(Dialect, ANumberEndingInAPointBeforeALetterIsCutThereToo) {
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE A=12.B"), "SELECT * FROM T WHERE A=12. B");
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE A=.5x"), "SELECT * FROM T WHERE A=.5 x");
  EXPECT_EQ(TranslateDialect("SELECT T.A FROM T WHERE T.B=1"), "SELECT T.A FROM T WHERE T.B=1");
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE A=(1) AND B IN ('')"),
            "SELECT * FROM T WHERE A=(1) AND B IN ('')");
}

TEST(Dialect, InWithItemsOrAsPartOfANameIsFine) {
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE A IN (1)"), "SELECT * FROM T WHERE A IN (1)");
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE MIN() = 1"), "SELECT * FROM T WHERE MIN() = 1");
  EXPECT_EQ(TranslateDialect("SELECT * FROM T WHERE [IN]()"), "SELECT * FROM T WHERE [IN]()");
}

TEST(Dialect, CdblReadsPointOrCommaAsTheDecimalSeparator) {
  EXPECT_EQ(CdblOfText("1.5"), 1.5);
  EXPECT_EQ(CdblOfText("1,5"), 1.5);
  EXPECT_EQ(CdblOfText(" -2,25 "), -2.25);
  EXPECT_EQ(CdblOfText("12"), 12.0);
  EXPECT_EQ(CdblOfText("1,5e2"), 150.0);
}

TEST(Dialect, CdblRefusesTextThatIsNotANumber) {
  for (const char* text : {"", "abc", "1,5.0", "1.000,5", "1,2,3", "1.2.3", "12 EUR", "1e400"})
    EXPECT_FALSE(CdblOfText(text).has_value()) << text;
}

TEST(Dialect, CdblIsAFunctionOfTheConnection) {
  auto db = SqliteConnection::OpenInMemory();
  QueryResult result = db->Query("SELECT CDBL('1,5'), cdbl('2.25'), CDbl(3), CDBL(' 4 ')");
  ASSERT_EQ(result.rows.size(), 1u);
  EXPECT_EQ(result.rows[0], (std::vector<Value>{Value(1.5), Value(2.25), Value(3.0), Value(4.0)}));
  EXPECT_EQ(result.columns[0].type, DataType::kDouble);
}

TEST(Dialect, CdblOfTextThatIsNotANumberFailsTheStatement) {
  auto db = SqliteConnection::OpenInMemory();
  EXPECT_EQ(ErrorOf([&] { db->Query("SELECT CDBL('abc')"); }, ErrorCode::kDatabase),
            "CDBL: 'abc' is not a number in: SELECT CDBL('abc')");
  ErrorOf([&] { db->Query("SELECT CDBL(NULL)"); }, ErrorCode::kDatabase);
}

TEST(Dialect, CdblComparesNumericallyInAWhereClause) {
  auto db = testing::NewShopDatabase();
  db->Execute("INSERT INTO Discounts (Name, FromAmount) VALUES ('a', 2.5), ('b', 10)");
  QueryResult result = db->Query("SELECT Name FROM Discounts WHERE FromAmount=CDBL('2,5')");
  ASSERT_EQ(result.rows.size(), 1u);
  EXPECT_EQ(result.rows[0][0], Value("a"));
}

TEST(Dialect, TheConnectionRunsStatementsWithNumbersGluedToWords) {
  auto db = testing::NewShopDatabase();
  db->Execute("INSERT INTO Products (ProductID, ManufacturerFKID) VALUES ('p', 12)");
  QueryResult result = db->Query("SELECT ProductID FROM Products WHERE ManufacturerFKID=12AND ProductID='p'");
  ASSERT_EQ(result.rows.size(), 1u);
  EXPECT_EQ(result.rows[0][0], Value("p"));
}

TEST(Dialect, TheConnectionRefusesAnEmptyInList) {
  auto db = testing::NewShopDatabase();
  ErrorOf([&] { db->Query("SELECT * FROM Products WHERE PKID IN() ORDER BY PKID"); }, ErrorCode::kDatabase);
}

TEST(Dialect, TextComparesWithRegardToCaseAndNamesWithout) {
  auto db = testing::NewShopDatabase();
  db->Execute("INSERT INTO Currencies (ISOCode) VALUES ('EUR')");
  EXPECT_EQ(db->Query("SELECT * FROM currencies WHERE isocode='EUR'").rows.size(), 1u);
  EXPECT_EQ(db->Query("SELECT * FROM Currencies WHERE ISOCode='eur'").rows.size(), 0u);
}

TEST(Dialect, AStatementThatIsStillInvalidIsRefused) {
  auto db = testing::NewShopDatabase();
  std::string message = ErrorOf([&] { db->Query("SELECT * FROM Nowhere"); }, ErrorCode::kDatabase);
  EXPECT_EQ(message, "no such table: Nowhere in: SELECT * FROM Nowhere");
}

}  // namespace
}  // namespace cvimp::recordset
