#include "recordset/field_conversion.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>

#include "common/ascii_case.h"
#include "common/error.h"
#include "common/numeric.h"
#include "recordset/date_text.h"
#include "recordset/declared_type.h"

namespace cvimp::recordset {
namespace {

[[noreturn]] void Refuse(ErrorCode code, const Column& column, const Value& value, const std::string& reason) {
  std::string message = code == ErrorCode::kOverflow ? "Overflow" : "Type mismatch";
  throw Error(code, message + ": field " + column.name + " (" + DeclaredTypeName(column) + ") cannot take " +
                        value.Describe() + ": " + reason);
}

struct Range {
  std::int64_t min, max;
};

Range RangeOf(DataType type) {
  switch (type) {
    case DataType::kSmallInt:
      return {std::numeric_limits<std::int16_t>::min(), std::numeric_limits<std::int16_t>::max()};
    case DataType::kInteger:
      return {std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()};
    default:
      return {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()};
  }
}

Value WholeNumberOf(DataType type, std::int64_t n) {
  switch (type) {
    case DataType::kSmallInt:
      return Value(static_cast<std::int16_t>(n));
    case DataType::kInteger:
      return Value(static_cast<std::int32_t>(n));
    default:
      return Value(n);
  }
}

Value ToWholeNumber(const Column& column, const Value& value) {
  Range range = RangeOf(column.type);
  if (value.is_bool()) return WholeNumberOf(column.type, value.boolean() ? -1 : 0);
  std::optional<std::int64_t> n;
  if (value.is_text()) {
    auto decimal = ParseNumericText(value.text());
    if (!decimal) Refuse(ErrorCode::kTypeMismatch, column, value, "not a number");
    n = RoundToInteger(*decimal, range.min, range.max);
  } else if (value.is_double()) {
    if (std::isnan(value.number())) Refuse(ErrorCode::kTypeMismatch, column, value, "not a number");
    n = RoundToInteger(value.number(), range.min, range.max);
  } else {
    std::int64_t whole = value.integer();
    if (whole >= range.min && whole <= range.max) n = whole;
  }
  if (!n) Refuse(ErrorCode::kOverflow, column, value, "outside the field's range");
  return WholeNumberOf(column.type, *n);
}

Value ToDouble(const Column& column, const Value& value) {
  if (value.is_bool()) return Value(value.boolean() ? -1.0 : 0.0);
  if (value.is_text()) {
    auto decimal = ParseNumericText(value.text());
    if (!decimal) Refuse(ErrorCode::kTypeMismatch, column, value, "not a number");
    auto d = cvimp::ToDouble(*decimal);
    if (!d) Refuse(ErrorCode::kOverflow, column, value, "outside the range of a double");
    return Value(*d);
  }
  return Value(value.number());
}

Value ToCurrency(const Column& column, const Value& value) {
  if (value.is_bool()) return Value(value.boolean() ? -1.0 : 0.0);
  std::optional<Decimal> exact;
  if (value.is_text()) {
    exact = ParseNumericText(value.text());
    if (!exact) Refuse(ErrorCode::kTypeMismatch, column, value, "not a number");
  } else if (value.is_double()) {
    if (std::isnan(value.number())) Refuse(ErrorCode::kTypeMismatch, column, value, "not a number");
    exact = ExactDecimal(value.number());
    if (!exact) Refuse(ErrorCode::kOverflow, column, value, "outside the field's range");
  } else {
    exact = ParseNumericText(NumberToText(value.integer()));
  }
  auto d = cvimp::ToDouble(RoundToPlaces(*exact, 4));
  if (!d) Refuse(ErrorCode::kOverflow, column, value, "outside the range of a double");
  return Value(*d == 0 ? 0.0 : *d);
}

Value ToDate(const Column& column, const Value& value) {
  if (!value.is_text()) Refuse(ErrorCode::kTypeMismatch, column, value, "a date is given as text");
  auto stored = NormalizeDateText(value.text());
  if (!stored) Refuse(ErrorCode::kTypeMismatch, column, value, "not a date and time");
  return Value(*stored);
}

Value ToBoolean(const Column& column, const Value& value) {
  if (value.is_bool()) return value;
  if (value.is_text()) {
    if (EqualsIgnoringCase(value.text(), "True")) return Value(true);
    if (EqualsIgnoringCase(value.text(), "False")) return Value(false);
    auto decimal = ParseNumericText(value.text());
    if (!decimal) Refuse(ErrorCode::kTypeMismatch, column, value, "neither True, False nor a number");
    return Value(!decimal->is_zero());
  }
  return Value(value.number() != 0);
}

Value ToText(const Column& column, const Value& value) {
  std::string text = TextForm(value);
  if (column.type == DataType::kVarWChar && column.size > 0 &&
      CountCodePoints(text) > static_cast<std::size_t>(column.size))
    Refuse(
        ErrorCode::kOverflow, column, value,
        "longer than " + std::to_string(column.size) + " characters (" + std::to_string(CountCodePoints(text)) + ")");
  return Value(std::move(text));
}

}  // namespace

std::size_t CountCodePoints(std::string_view utf8) {
  std::size_t count = 0;
  for (char c : utf8)
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++count;
  return count;
}

Value ConvertForField(const Column& column, const Value& value) {
  if (value.is_null()) return value;
  switch (column.type) {
    case DataType::kSmallInt:
    case DataType::kInteger:
    case DataType::kBigInt:
      return ToWholeNumber(column, value);
    case DataType::kDouble:
      return ToDouble(column, value);
    case DataType::kCurrency:
      return ToCurrency(column, value);
    case DataType::kDate:
      return ToDate(column, value);
    case DataType::kBoolean:
      return ToBoolean(column, value);
    case DataType::kVarWChar:
    case DataType::kLongVarChar:
    case DataType::kLongVarWChar:
      return ToText(column, value);
  }
  return ToText(column, value);
}

}  // namespace cvimp::recordset
