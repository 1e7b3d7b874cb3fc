#include "recordset/row_forecast.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "recordset/declared_type.h"
#include "recordset/sqlite_connection.h"
#include "recordset/sqlite_values.h"

namespace cvimp::recordset {
namespace {

TEST(RowForecast, AffinityFollowsTheWordsOfTheDeclaredType) {
  EXPECT_EQ(AffinityOf("INTEGER"), Affinity::kInteger);
  EXPECT_EQ(AffinityOf("smallint"), Affinity::kInteger);
  EXPECT_EQ(AffinityOf("VARCHAR(255)"), Affinity::kText);
  EXPECT_EQ(AffinityOf("LONGTEXT"), Affinity::kText);
  EXPECT_EQ(AffinityOf("DOUBLE"), Affinity::kReal);
  EXPECT_EQ(AffinityOf("FLOATING POINT"), Affinity::kInteger);  // "INT" comes first
  EXPECT_EQ(AffinityOf("DATETIME"), Affinity::kNumeric);
  EXPECT_EQ(AffinityOf("YESNO"), Affinity::kNumeric);
  EXPECT_EQ(AffinityOf("CURRENCY"), Affinity::kNumeric);
  EXPECT_EQ(AffinityOf(""), Affinity::kBlob);
  EXPECT_EQ(AffinityOf("BLOB"), Affinity::kBlob);
}

// Every forecast equals what SQLite stores and ReadValue reads back, for each declared type of the shop
// vocabulary and values of every kind, including the awkward ones.
TEST(RowForecast, AForecastIsWhatTheStoredValueReadsBackAs) {
  const std::vector<std::string> declared = {"INTEGER", "SMALLINT", "BIGINT", "DOUBLE", "CURRENCY", "DATETIME",
                                             "YESNO", "VARCHAR(20)", "LONGTEXT", "", "BLOB", "NUMERIC"};
  const std::vector<Value> values = {Value(),
                                     Value("text"),
                                     Value("12"),
                                     Value(" 1.5 "),
                                     Value(""),
                                     Value(std::string("a\0b", 3)),
                                     Value(true),
                                     Value(false),
                                     Value(std::int32_t{7}),
                                     Value(std::int16_t{-3}),
                                     Value(std::int64_t{5000000000}),
                                     Value(std::numeric_limits<std::int64_t>::max()),
                                     Value(std::numeric_limits<std::int64_t>::min()),
                                     Value(2.5),
                                     Value(3.0),
                                     Value(-0.0),
                                     Value(0.0),
                                     Value(1e300),
                                     Value(9223372036854775808.0),
                                     Value(-9223372036854775808.0),
                                     Value(std::nan("")),
                                     Value(std::numeric_limits<double>::infinity())};
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
  int forecasts = 0;
  for (std::size_t t = 0; t < declared.size(); ++t) {
    const std::string table = "T" + std::to_string(t);
    const std::string create = "CREATE TABLE " + table + " (V " + declared[t] + ")";
    ASSERT_EQ(sqlite3_exec(db, create.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    const FieldType type = FieldTypeOfDeclaration(declared[t]);
    const Column column{"V", type.type, type.size};
    for (const Value& value : values) {
      sqlite3_stmt* insert = nullptr;
      ASSERT_EQ(sqlite3_prepare_v2(db, ("INSERT INTO " + table + " (V) VALUES (?)").c_str(), -1, &insert, nullptr),
                SQLITE_OK);
      ASSERT_EQ(BindValue(insert, 1, value), SQLITE_OK);
      ASSERT_EQ(sqlite3_step(insert), SQLITE_DONE);
      sqlite3_finalize(insert);
      sqlite3_stmt* read = nullptr;
      ASSERT_EQ(sqlite3_prepare_v2(db, ("SELECT V FROM " + table + " WHERE rowid = last_insert_rowid()").c_str(), -1,
                                   &read, nullptr),
                SQLITE_OK);
      ASSERT_EQ(sqlite3_step(read), SQLITE_ROW);
      const Value stored = ReadValue(read, 0, column);
      sqlite3_finalize(read);
      Value forecast_value;
      if (!StoredValueForecast(column, AffinityOf(declared[t]), value, forecast_value)) continue;
      const Value* forecast = &forecast_value;
      ++forecasts;
      EXPECT_EQ(forecast->Describe(), stored.Describe()) << declared[t] << " " << value.Describe();
      EXPECT_EQ(*forecast, stored) << declared[t] << " " << value.Describe();
      if (forecast->is_double() && stored.is_double()) {
        EXPECT_EQ(std::signbit(forecast->number()), std::signbit(stored.number())) << declared[t];
      }
    }
  }
  sqlite3_close(db);
  EXPECT_GT(forecasts, 100);
}

TEST(RowForecast, AValueThatSQLiteMayTurnIntoAnotherIsNotForetold) {
  Value stored("untouched");
  const Column date{"D", DataType::kDate, 0};
  EXPECT_FALSE(StoredValueForecast(date, Affinity::kNumeric, Value("2024"), stored));
  const Column name{"N", DataType::kVarWChar, 20};
  EXPECT_FALSE(StoredValueForecast(name, Affinity::kText, Value(std::int32_t{1}), stored));
  const Column price{"P", DataType::kDouble, 0};
  EXPECT_FALSE(StoredValueForecast(price, Affinity::kReal, Value(-0.0), stored));
  EXPECT_FALSE(StoredValueForecast(price, Affinity::kReal, Value(std::nan("")), stored));
}

struct FactsCase {
  const char* schema;
  bool eligible;
};

TEST(RowForecast, OnlyTablesWhereNoInsertCanBeRefusedOrChangedQualify) {
  const std::vector<FactsCase> cases = {
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY AUTOINCREMENT, Name VARCHAR(20), N INTEGER DEFAULT 0, "
       "S VARCHAR(5) DEFAULT 'x', D DOUBLE DEFAULT -1.5, E LONGTEXT DEFAULT NULL)",
       true},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, Name VARCHAR(20))", true},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, Name VARCHAR(20) NOT NULL)", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, Name VARCHAR(20) UNIQUE)", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER CHECK (N > 0))", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER REFERENCES U(PKID))", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, Made DATETIME DEFAULT CURRENT_TIMESTAMP)", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER DEFAULT (1 + 1))", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY DESC, N INTEGER)", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER) WITHOUT ROWID", false},
      {"CREATE TABLE T (PKID BIGINT PRIMARY KEY, N INTEGER)", false},
      {"CREATE TABLE T (A INTEGER, B INTEGER, PRIMARY KEY (A, B))", false},
      {"CREATE TABLE T (N INTEGER)", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER, M INTEGER GENERATED ALWAYS AS (N + 1))", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER); CREATE INDEX TN ON T (N)", true},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER); CREATE UNIQUE INDEX TN ON T (N)", false},
      {"CREATE TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER); "
       "CREATE TRIGGER TT AFTER INSERT ON T BEGIN UPDATE T SET N = 1; END",
       false},
      {"CREATE TABLE U (X INTEGER); CREATE VIEW T AS SELECT X FROM U", false},
  };
  for (const FactsCase& c : cases) {
    auto db = SqliteConnection::OpenInMemory();
    db->Execute(c.schema);
    const std::optional<TableWriteFacts> facts = ReadTableWriteFacts(db->handle(), "t");
    EXPECT_EQ(facts.has_value(), c.eligible) << c.schema;
    if (facts) {
      EXPECT_EQ(facts->rowid_column, "PKID");
      EXPECT_EQ(facts->affinities.count("pkid"), 1u);
    }
  }
}

TEST(RowForecast, ATemporaryTableOfTheSameNameDisqualifies) {
  auto db = SqliteConnection::OpenInMemory();
  db->Execute("CREATE TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER)");
  EXPECT_TRUE(ReadTableWriteFacts(db->handle(), "T").has_value());
  db->Execute("CREATE TEMP TABLE T (PKID INTEGER PRIMARY KEY, N INTEGER)");
  EXPECT_FALSE(ReadTableWriteFacts(db->handle(), "T").has_value());
}

}  // namespace
}  // namespace cvimp::recordset
