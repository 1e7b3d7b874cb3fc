#include "recordset/sqlite_values.h"

#include <gtest/gtest.h>

#include "recordset/test_support.h"

namespace cvimp::recordset {
namespace {

// Binds `value` as the one parameter of "SELECT typeof(?) || ' ' || quote(?1)" and returns the result.
std::string Bound(SqliteConnection& db, const Value& value) {
  sqlite3_stmt* statement = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db.handle(), "SELECT typeof(?1) || ' ' || quote(?1)", -1, &statement, nullptr),
            SQLITE_OK);
  EXPECT_EQ(BindValue(statement, 1, value), SQLITE_OK);
  EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
  std::string out = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
  sqlite3_finalize(statement);
  return out;
}

// Reads the one value of `sql` as a field of type `type`.
Value Read(SqliteConnection& db, const std::string& sql, DataType type) {
  sqlite3_stmt* statement = nullptr;
  EXPECT_EQ(sqlite3_prepare_v2(db.handle(), sql.c_str(), -1, &statement, nullptr), SQLITE_OK);
  EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
  Value value = ReadValue(statement, 0, Column{"F", type, 0});
  sqlite3_finalize(statement);
  return value;
}

TEST(SqliteValues, ValuesAreBoundInTheirStorageClasses) {
  auto db = SqliteConnection::OpenInMemory();
  EXPECT_EQ(Bound(*db, Value()), "null NULL");
  EXPECT_EQ(Bound(*db, Value("it's")), "text 'it''s'");
  EXPECT_EQ(Bound(*db, Value(std::int16_t{-2})), "integer -2");
  EXPECT_EQ(Bound(*db, Value(std::int64_t{5000000000})), "integer 5000000000");
  EXPECT_EQ(Bound(*db, Value(1.5)), "real 1.5");
  EXPECT_EQ(Bound(*db, Value(true)), "integer -1");
  EXPECT_EQ(Bound(*db, Value(false)), "integer 0");
}

TEST(SqliteValues, StoredValuesAreReadAsTheirFieldTypes) {
  auto db = SqliteConnection::OpenInMemory();
  EXPECT_EQ(Read(*db, "SELECT 7", DataType::kSmallInt), Value(std::int16_t{7}));
  EXPECT_EQ(Read(*db, "SELECT 7", DataType::kInteger), Value(std::int32_t{7}));
  EXPECT_EQ(Read(*db, "SELECT 7", DataType::kBigInt), Value(std::int64_t{7}));
  EXPECT_EQ(Read(*db, "SELECT 7", DataType::kDouble), Value(7.0));
  EXPECT_EQ(Read(*db, "SELECT 7", DataType::kCurrency), Value(7.0));
  EXPECT_EQ(Read(*db, "SELECT -1", DataType::kBoolean), Value(true));
  EXPECT_EQ(Read(*db, "SELECT 0", DataType::kBoolean), Value(false));
  EXPECT_EQ(Read(*db, "SELECT '2024-01-02 03:04:05'", DataType::kDate), Value("2024-01-02 03:04:05"));
  EXPECT_EQ(Read(*db, "SELECT 12", DataType::kVarWChar), Value("12"));
  EXPECT_EQ(Read(*db, "SELECT 'x'", DataType::kLongVarWChar), Value("x"));
  EXPECT_EQ(Read(*db, "SELECT NULL", DataType::kInteger), Value());
}

TEST(SqliteValues, AStoredValueNotOfTheFieldsKindIsReadAsStored) {
  auto db = SqliteConnection::OpenInMemory();
  EXPECT_EQ(Read(*db, "SELECT 'abc'", DataType::kInteger), Value("abc"));
  EXPECT_EQ(Read(*db, "SELECT 1.5", DataType::kInteger), Value(1.5));
  EXPECT_EQ(Read(*db, "SELECT 70000", DataType::kSmallInt), Value(std::int64_t{70000}));
  EXPECT_EQ(Read(*db, "SELECT 'True'", DataType::kBoolean), Value("True"));
  EXPECT_EQ(Read(*db, "SELECT 'x'", DataType::kDouble), Value("x"));
}

}  // namespace
}  // namespace cvimp::recordset
