// Numbers in text, by one set of rules for the whole system: what counts as numeric text, how text becomes
// a whole number (rounded on the exact decimal value, halves to even) and how a number is written as text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cvimp {

// An exact decimal number: (negative ? -1 : 1) * digits * 10^exponent. `digits` has no leading zeros and
// is empty for zero.
struct Decimal {
  bool negative = false;
  std::string digits;
  std::int64_t exponent = 0;

  bool is_zero() const { return digits.empty(); }
};

// Numeric text: optional spaces, an optional sign, digits with an optional decimal point and digits (at
// least one digit in all), an optional exponent (e or E, optional sign, digits), optional spaces.
std::optional<Decimal> ParseNumericText(std::string_view text);
inline bool IsNumericText(std::string_view text) { return ParseNumericText(text).has_value(); }

// The exact decimal value of a finite double; nullopt for infinities and NaN.
std::optional<Decimal> ExactDecimal(double d);

// Rounds to the nearest whole number, halves to the even neighbour; nullopt when the result lies outside
// [min, max].
std::optional<std::int64_t> RoundToInteger(const Decimal& d, std::int64_t min, std::int64_t max);
std::optional<std::int64_t> RoundToInteger(double d, std::int64_t min, std::int64_t max);

// Rounds to `places` decimals, halves to even.
Decimal RoundToPlaces(const Decimal& d, int places);

// The nearest double; nullopt when the magnitude is beyond the double range.
std::optional<double> ToDouble(const Decimal& d);

// Text to whole number and text to double by the rules above; nullopt for text that is not numeric or a
// value out of range.
std::optional<std::int64_t> TextToInteger(std::string_view text, std::int64_t min, std::int64_t max);
std::optional<double> TextToDouble(std::string_view text);

// Text to a 32-bit whole number as a conversion of the plug-in does it: text that is not numeric raises
// cvimp::Error kTypeMismatch, a number outside the 32-bit range kOverflow; `what` names the value in the message.
std::int32_t TextToLong(std::string_view text, std::string_view what);

// Number to text: a whole number in plain decimal; a double with at most 15 significant digits, '.' as the
// decimal separator, no trailing zeros or point, exponent form (1E+15, 1.5E-05) from 1E+15 up and below
// 1E-4; -0 is "0".
std::string NumberToText(std::int64_t n);
std::string NumberToText(double d);

}  // namespace cvimp
