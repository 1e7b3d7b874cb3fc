// Helpers for this folder's tests: readable values in failure output, a fresh shop database in memory and
// a check of the error a statement raises.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "common/error.h"
#include "common/file_open.h"
#include "common/testing/temp_paths.h"
#include "common/value.h"
#include "recordset/shop_schema.h"
#include "recordset/sqlite_connection.h"

namespace cvimp {

inline void PrintTo(const Value& value, std::ostream* os) {
  const char* kind = value.is_null()                                         ? "Null"
                     : value.is_text()                                       ? "text"
                     : value.is_bool()                                       ? "bool"
                     : value.is_double()                                     ? "double"
                     : std::holds_alternative<std::int16_t>(value.storage()) ? "int16"
                     : std::holds_alternative<std::int32_t>(value.storage()) ? "int32"
                                                                             : "int64";
  *os << kind << " " << value.Describe();
}

}  // namespace cvimp

namespace cvimp::recordset::testing {

// A new, empty shop database in memory.
inline std::shared_ptr<SqliteConnection> NewShopDatabase() {
  auto db = SqliteConnection::OpenInMemory();
  db->Execute(ShopSchemaSql());
  return db;
}

// A path (UTF-8) in the temporary folder that is this test process's own, with nothing there yet.
inline std::string TempPath(const std::string& name) {
  std::string path = cvimp::testing::ProcessTempPath(name);
  std::filesystem::remove(PathFromUtf8(path));
  return path;
}

// Runs `statement`, which must raise cvimp::Error with `code`; returns its message ("" when it did not).
inline std::string ErrorOf(const std::function<void()>& statement, ErrorCode code) {
  try {
    statement();
  } catch (const Error& e) {
    EXPECT_EQ(static_cast<int>(e.code()), static_cast<int>(code)) << e.what();
    return e.what();
  } catch (const std::exception& e) {
    ADD_FAILURE() << "raised another exception: " << e.what();
    return {};
  }
  ADD_FAILURE() << "raised nothing";
  return {};
}

}  // namespace cvimp::recordset::testing
