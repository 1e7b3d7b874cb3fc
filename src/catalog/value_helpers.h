// The lenient conversions that every importer applies to values read from the catalogue, and the test
// whether a record set stands on a record. None of them ever raises: a value that cannot be converted
// yields the caller's default, a record set that cannot be asked counts as having no record.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/value.h"
#include "recordset/recordset.h"

namespace cvimp::catalog {

// The value's text form when it is not Null and not empty; otherwise the default.
std::string NzText(const Value& value, std::string_view default_text);

// Numeric text, a number or a Boolean (True is -1) as a 32-bit integer, rounded to the nearest whole
// number with halves to the even neighbour; the default for Null, text that is not numeric and values
// outside the 32-bit range.
std::int32_t NzLong(const Value& value, std::int32_t default_value);

// Numeric text, a number or a Boolean (True is -1) as a double; the default for Null, text that is not
// numeric and text beyond the double range.
double NzDouble(const Value& value, double default_value);

// True when the record set is open and stands on a record; false for a null pointer, a closed record set,
// end of file, or any error while asking.
bool RecordFound(const recordset::Recordset* recordset);

}  // namespace cvimp::catalog
