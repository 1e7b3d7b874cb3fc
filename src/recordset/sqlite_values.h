// Field values in and out of SQLite: how a field value is bound to a statement parameter and how a stored
// value is read back as a value of the field's type.
#pragma once

#include <sqlite3.h>

#include <cstdint>

#include "common/value.h"
#include "recordset/recordset.h"

namespace cvimp::recordset {

// Binds a field value: Null as NULL, text as text, whole numbers as integers, doubles as reals, Booleans
// as -1 (True) and 0 (False). Returns SQLite's result code. A text is bound without a copy: `value` must
// stay alive and unchanged until the statement is reset or its bindings are cleared (every caller binds
// values that outlive the statement's run and resets the statement before they go).
int BindValue(sqlite3_stmt* statement, int parameter, const Value& value);

// A stored whole number as a value of the field type (int32 for INTEGER, int16 for SMALLINT), or as a
// 64-bit number where it does not fit or the field is of another type.
Value WholeNumber(DataType type, std::int64_t n);

// Reads result column `index` of the current row as a value of the field type of `column`: integers as
// int32, int64 or int16, reals for DOUBLE and CURRENCY, -1/0 as Booleans, texts as texts. A stored value
// that is not of the column's kind (text in an INTEGER column, say) is returned as it is stored.
Value ReadValue(sqlite3_stmt* statement, int index, const Column& column);

}  // namespace cvimp::recordset
