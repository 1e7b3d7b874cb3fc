// What a field does with a value assigned to it: converts it to the field's type, or refuses it.
#pragma once

#include <cstddef>
#include <string_view>

#include "common/value.h"
#include "recordset/recordset.h"

namespace cvimp::recordset {

// The value that a field of `column` holds after `value` was assigned to it (Null stays Null):
//   INTEGER, BIGINT, SMALLINT: int32, int64, int16; numeric text and doubles rounded halves to even on their
//     exact decimal value; True -1, False 0;
//   DOUBLE: double; CURRENCY: double rounded to 4 decimals, halves to even on the exact decimal value;
//   DATETIME: 'YYYY-MM-DD HH:MM:SS' from a date text (date_text.h); numbers and Booleans are refused;
//   YESNO: bool, from 'True'/'False' in any case, numeric text or a number (0 False, else True);
//   VARCHAR(n), LONGTEXT: text, numbers and Booleans in their text form; VARCHAR(n) takes at most n
//     characters (Unicode code points of the UTF-8 text).
// Raises cvimp::Error naming the field: kTypeMismatch for a value that cannot become the field's type,
// kOverflow for a number outside its range or a text longer than the field.
Value ConvertForField(const Column& column, const Value& value);

// The number of Unicode code points of a UTF-8 text (bytes that do not continue a sequence).
std::size_t CountCodePoints(std::string_view utf8);

}  // namespace cvimp::recordset
