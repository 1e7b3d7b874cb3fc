// The field types of a shop database, with the ADO data type codes that Field.Type reports.
#pragma once

#include <optional>
#include <string_view>

namespace cvimp::recordset {

enum class DataType : int {
  kSmallInt = 2,        // SMALLINT
  kInteger = 3,         // INTEGER
  kDouble = 5,          // DOUBLE
  kCurrency = 6,        // CURRENCY
  kDate = 7,            // DATETIME
  kBoolean = 11,        // YESNO
  kBigInt = 20,         // BIGINT
  kLongVarChar = 201,   // (a long ANSI text; not declared by the shop schema)
  kVarWChar = 202,      // VARCHAR(n)
  kLongVarWChar = 203,  // LONGTEXT
};

constexpr int AdoCode(DataType t) { return static_cast<int>(t); }

}  // namespace cvimp::recordset
