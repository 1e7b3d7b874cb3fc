#include "recordset/sqlite_values.h"

#include <limits>
#include <string>

namespace cvimp::recordset {
namespace {

std::string TextAt(sqlite3_stmt* statement, int index) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, index));
  return text ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, index))) : std::string();
}

}  // namespace

Value WholeNumber(DataType type, std::int64_t n) {
  if (type == DataType::kInteger && n >= std::numeric_limits<std::int32_t>::min() &&
      n <= std::numeric_limits<std::int32_t>::max())
    return Value(static_cast<std::int32_t>(n));
  if (type == DataType::kSmallInt && n >= std::numeric_limits<std::int16_t>::min() &&
      n <= std::numeric_limits<std::int16_t>::max())
    return Value(static_cast<std::int16_t>(n));
  return Value(static_cast<std::int64_t>(n));
}

int BindValue(sqlite3_stmt* statement, int parameter, const Value& value) {
  if (value.is_null()) return sqlite3_bind_null(statement, parameter);
  if (value.is_text())
    return sqlite3_bind_text(statement, parameter, value.text().data(), static_cast<int>(value.text().size()),
                             SQLITE_STATIC);
  if (value.is_bool()) return sqlite3_bind_int64(statement, parameter, value.boolean() ? -1 : 0);
  if (value.is_double()) return sqlite3_bind_double(statement, parameter, value.number());
  return sqlite3_bind_int64(statement, parameter, value.integer());
}

Value ReadValue(sqlite3_stmt* statement, int index, const Column& column) {
  const int stored = sqlite3_column_type(statement, index);
  if (stored == SQLITE_NULL) return Value();
  switch (column.type) {
    case DataType::kSmallInt:
    case DataType::kInteger:
    case DataType::kBigInt:
      if (stored == SQLITE_INTEGER) return WholeNumber(column.type, sqlite3_column_int64(statement, index));
      break;
    case DataType::kDouble:
    case DataType::kCurrency:
      if (stored == SQLITE_INTEGER || stored == SQLITE_FLOAT) return Value(sqlite3_column_double(statement, index));
      break;
    case DataType::kBoolean:
      if (stored == SQLITE_INTEGER || stored == SQLITE_FLOAT)
        return Value(sqlite3_column_double(statement, index) != 0);
      break;
    case DataType::kDate:
    case DataType::kVarWChar:
    case DataType::kLongVarChar:
    case DataType::kLongVarWChar:
      return Value(TextAt(statement, index));
  }
  // Not of the column's kind: as stored.
  switch (stored) {
    case SQLITE_INTEGER:
      return Value(static_cast<std::int64_t>(sqlite3_column_int64(statement, index)));
    case SQLITE_FLOAT:
      return Value(sqlite3_column_double(statement, index));
    default:
      return Value(TextAt(statement, index));
  }
}

}  // namespace cvimp::recordset
