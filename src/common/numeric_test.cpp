#include "common/numeric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "common/error.h"
#include "common/testing/raised_code.h"

namespace cvimp {
namespace {

constexpr std::int64_t kMin16 = std::numeric_limits<std::int16_t>::min();
constexpr std::int64_t kMax16 = std::numeric_limits<std::int16_t>::max();
constexpr std::int64_t kMin32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMax32 = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax64 = std::numeric_limits<std::int64_t>::max();

// A decimal as "-digitsEexponent" for readable comparisons; "0" for zero.
std::string Show(const Decimal& d) {
  if (d.is_zero()) return d.negative ? "-0" : "0";
  return (d.negative ? "-" : "") + d.digits + "E" + std::to_string(d.exponent);
}

std::string Parsed(std::string_view text) {
  auto d = ParseNumericText(text);
  return d ? Show(*d) : "refused";
}

std::optional<std::int64_t> ToLong(std::string_view text) { return TextToInteger(text, kMin32, kMax32); }

// ---- Numeric text -------------------------------------------------------------------------------------------

TEST(NumericText, AcceptsDigitsWithOptionalSignPointAndExponent) {
  EXPECT_EQ(Parsed("12"), "12E0");
  EXPECT_EQ(Parsed("+12"), "12E0");
  EXPECT_EQ(Parsed("-12"), "-12E0");
  EXPECT_EQ(Parsed("12.5"), "125E-1");
  EXPECT_EQ(Parsed(".5"), "5E-1");
  EXPECT_EQ(Parsed("5."), "5E0");
  EXPECT_EQ(Parsed("1e3"), "1E3");
  EXPECT_EQ(Parsed("1E3"), "1E3");
  EXPECT_EQ(Parsed("1.5e+2"), "15E1");
  EXPECT_EQ(Parsed("1.5E-05"), "15E-6");
  EXPECT_EQ(Parsed("-.25e1"), "-25E-1");
}

TEST(NumericText, NormalisesLeadingAndTrailingZeros) {
  EXPECT_EQ(Parsed("007"), "7E0");
  EXPECT_EQ(Parsed("1200"), "12E2");
  EXPECT_EQ(Parsed("0.0100"), "1E-2");
  EXPECT_EQ(Parsed("0"), "0");
  EXPECT_EQ(Parsed("000.000"), "0");
  EXPECT_EQ(Parsed("0e99"), "0");
}

TEST(NumericText, NegativeZeroIsZero) {
  EXPECT_EQ(Parsed("-0"), "0");
  EXPECT_EQ(Parsed("-0.0e5"), "0");
}

TEST(NumericText, SpacesAroundAreAllowed) {
  EXPECT_EQ(Parsed(" 12 "), "12E0");
  EXPECT_EQ(Parsed("   -1.5e1   "), "-15E0");
}

TEST(NumericText, RefusesEverythingElse) {
  for (const char* text :
       {"",     " ",      "-",   "+",   ".",        "-.",    "e5",      ".e5",         "1e",   "1e+",
        "1E-",  "1 2",    "- 5", "+-5", "--5",      "1,5",   "1.000,5", "1,000",       "0x10", "&H10",
        "$5",   "5$",     "5%",  "abc", "12abc",    "1.2.3", "1e2.5",   "1e2e3",       "\t12", "12\t",
        "\n12", "12\r\n", "Inf", "NaN", "Infinity", "True",  "1_000",   "\xEF\xBC\x91"}) {
    EXPECT_EQ(Parsed(text), "refused") << "text: \"" << text << "\"";
    EXPECT_FALSE(IsNumericText(text)) << "text: \"" << text << "\"";
  }
}

TEST(NumericText, IsNumericTextAgreesWithParse) {
  EXPECT_TRUE(IsNumericText("12"));
  EXPECT_TRUE(IsNumericText(" -1.5E+3 "));
  EXPECT_FALSE(IsNumericText("12a"));
}

TEST(NumericText, HugeExponentsStayFinite) {
  EXPECT_TRUE(IsNumericText("1e999999999999999999999"));
  EXPECT_EQ(TextToInteger("1e999999999999999999999", kMin64, kMax64), std::nullopt);
  EXPECT_EQ(TextToInteger("1e-999999999999999999999", kMin64, kMax64), 0);
  EXPECT_EQ(TextToDouble("1e999999999999999999999"), std::nullopt);
  EXPECT_EQ(TextToDouble("1e-999999999999999999999"), 0.0);
}

// ---- Rounding ---------------------------------------------------------------------------------------------------

TEST(Rounding, HalvesGoToTheEvenNeighbour) {
  EXPECT_EQ(ToLong("0.5"), 0);
  EXPECT_EQ(ToLong("1.5"), 2);
  EXPECT_EQ(ToLong("2.5"), 2);
  EXPECT_EQ(ToLong("3.5"), 4);
  EXPECT_EQ(ToLong("-0.5"), 0);
  EXPECT_EQ(ToLong("-1.5"), -2);
  EXPECT_EQ(ToLong("-2.5"), -2);
  EXPECT_EQ(ToLong("-3.5"), -4);
  EXPECT_EQ(ToLong("9.5"), 10);
  EXPECT_EQ(ToLong("99.5"), 100);
  EXPECT_EQ(ToLong("25e-1"), 2);
}

TEST(Rounding, OtherFractionsGoToTheNearest) {
  EXPECT_EQ(ToLong("2.4"), 2);
  EXPECT_EQ(ToLong("2.6"), 3);
  EXPECT_EQ(ToLong("2.49999999999999999999"), 2);
  EXPECT_EQ(ToLong("-2.6"), -3);
  EXPECT_EQ(ToLong("0.0000001"), 0);
}

TEST(Rounding, UsesTheExactDecimalOfTheText) {
  // As a double this text is exactly 2.5 and would round to 2; its decimal value lies above the half.
  EXPECT_EQ(ToLong("2.5000000000000001"), 3);
  EXPECT_EQ(ToLong("-2.5000000000000001"), -3);
  EXPECT_EQ(ToLong("3.4999999999999999"), 3);
}

TEST(Rounding, DoublesRoundOnTheirExactBinaryValue) {
  EXPECT_EQ(RoundToInteger(2.5, kMin32, kMax32), 2);
  EXPECT_EQ(RoundToInteger(3.5, kMin32, kMax32), 4);
  EXPECT_EQ(RoundToInteger(-2.5, kMin32, kMax32), -2);
  // 0.49999999999999994 is the largest double below one half.
  EXPECT_EQ(RoundToInteger(0.49999999999999994, kMin32, kMax32), 0);
  // 2.5000000000000004 is the next double after 2.5.
  EXPECT_EQ(RoundToInteger(2.5000000000000004, kMin32, kMax32), 3);
  EXPECT_EQ(RoundToInteger(-0.0, kMin32, kMax32), 0);
  EXPECT_EQ(RoundToInteger(std::numeric_limits<double>::quiet_NaN(), kMin64, kMax64), std::nullopt);
  EXPECT_EQ(RoundToInteger(std::numeric_limits<double>::infinity(), kMin64, kMax64), std::nullopt);
  EXPECT_EQ(RoundToInteger(-std::numeric_limits<double>::infinity(), kMin64, kMax64), std::nullopt);
  EXPECT_EQ(RoundToInteger(1e300, kMin64, kMax64), std::nullopt);
}

TEST(Rounding, ExactDecimalOfDoubles) {
  EXPECT_EQ(Show(*ExactDecimal(0.5)), "5E-1");
  EXPECT_EQ(Show(*ExactDecimal(-12.0)), "-12E0");
  EXPECT_EQ(Show(*ExactDecimal(0.0)), "0");
  EXPECT_EQ(Show(*ExactDecimal(0.1)), "1000000000000000055511151231257827021181583404541015625E-55");
  EXPECT_EQ(ExactDecimal(std::numeric_limits<double>::quiet_NaN()), std::nullopt);
  EXPECT_EQ(ExactDecimal(std::numeric_limits<double>::infinity()), std::nullopt);
  auto smallest = ExactDecimal(std::numeric_limits<double>::denorm_min());
  ASSERT_TRUE(smallest.has_value());
  EXPECT_EQ(smallest->exponent, -1074);
  auto largest = ExactDecimal(std::numeric_limits<double>::max());
  ASSERT_TRUE(largest.has_value());
  EXPECT_EQ(static_cast<std::int64_t>(largest->digits.size()) + largest->exponent, 309);
}

TEST(Rounding, RoundToPlacesHalvesToEven) {
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("1.23455"), 4)), "12346E-4");
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("1.23445"), 4)), "12344E-4");
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("1.234450001"), 4)), "12345E-4");
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("-1.23455"), 4)), "-12346E-4");
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("0.99995"), 4)), "1E0");
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("0.00004"), 4)), "0");
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("-0.00005"), 4)), "0");
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("0.00006"), 4)), "1E-4");
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("12.5"), 4)), "125E-1");
  EXPECT_EQ(Show(RoundToPlaces(*ParseNumericText("1200"), 4)), "12E2");
}

// ---- Range checks -----------------------------------------------------------------------------------------------

TEST(RangeCheck, SixteenBit) {
  EXPECT_EQ(TextToInteger("32767", kMin16, kMax16), 32767);
  EXPECT_EQ(TextToInteger("-32768", kMin16, kMax16), -32768);
  EXPECT_EQ(TextToInteger("32768", kMin16, kMax16), std::nullopt);
  EXPECT_EQ(TextToInteger("-32769", kMin16, kMax16), std::nullopt);
  EXPECT_EQ(TextToInteger("32767.5", kMin16, kMax16), std::nullopt);  // rounds to 32768
  EXPECT_EQ(TextToInteger("32766.5", kMin16, kMax16), 32766);
  EXPECT_EQ(TextToInteger("-32768.5", kMin16, kMax16), -32768);  // rounds to the even -32768
}

TEST(RangeCheck, ThirtyTwoBit) {
  EXPECT_EQ(ToLong("2147483647"), kMax32);
  EXPECT_EQ(ToLong("-2147483648"), kMin32);
  EXPECT_EQ(ToLong("2147483648"), std::nullopt);
  EXPECT_EQ(ToLong("-2147483649"), std::nullopt);
  EXPECT_EQ(ToLong("2147483647.5"), std::nullopt);
  EXPECT_EQ(ToLong("-2147483648.5"), kMin32);
  EXPECT_EQ(ToLong("2.147483647e9"), kMax32);
  EXPECT_EQ(RoundToInteger(2147483647.4, kMin32, kMax32), kMax32);
  EXPECT_EQ(RoundToInteger(2147483648.0, kMin32, kMax32), std::nullopt);
}

TEST(RangeCheck, SixtyFourBit) {
  EXPECT_EQ(TextToInteger("9223372036854775807", kMin64, kMax64), kMax64);
  EXPECT_EQ(TextToInteger("-9223372036854775808", kMin64, kMax64), kMin64);
  EXPECT_EQ(TextToInteger("9223372036854775808", kMin64, kMax64), std::nullopt);
  EXPECT_EQ(TextToInteger("-9223372036854775809", kMin64, kMax64), std::nullopt);
  EXPECT_EQ(TextToInteger("18446744073709551616", kMin64, kMax64), std::nullopt);
  EXPECT_EQ(TextToInteger("99999999999999999999", kMin64, kMax64), std::nullopt);
  EXPECT_EQ(TextToInteger("1e18", kMin64, kMax64), 1000000000000000000);
  EXPECT_EQ(TextToInteger("1e19", kMin64, kMax64), std::nullopt);
  EXPECT_EQ(TextToInteger("9223372036854775807.4", kMin64, kMax64), kMax64);
  EXPECT_EQ(TextToInteger("9223372036854775807.5", kMin64, kMax64), std::nullopt);
  EXPECT_EQ(RoundToInteger(9223372036854775808.0, kMin64, kMax64), std::nullopt);
  EXPECT_EQ(RoundToInteger(-9223372036854775808.0, kMin64, kMax64), kMin64);
}

TEST(RangeCheck, ZeroOutsideTheRangeIsRefused) {
  EXPECT_EQ(TextToInteger("0", 1, 10), std::nullopt);
  EXPECT_EQ(TextToInteger("0.4", 1, 10), std::nullopt);
  EXPECT_EQ(TextToInteger("0", -10, 0), 0);
}

TEST(RangeCheck, TextThatIsNotNumericIsRefused) {
  EXPECT_EQ(ToLong(""), std::nullopt);
  EXPECT_EQ(ToLong("abc"), std::nullopt);
  EXPECT_EQ(ToLong("1,5"), std::nullopt);
}

// ---- Text to double -------------------------------------------------------------------------------------------

TEST(TextToDouble, ConvertsToTheNearestDouble) {
  EXPECT_EQ(TextToDouble("0.1"), 0.1);
  EXPECT_EQ(TextToDouble("-12.5"), -12.5);
  EXPECT_EQ(TextToDouble(" 1e3 "), 1000.0);
  EXPECT_EQ(TextToDouble("2.5000000000000001"), 2.5);
  EXPECT_EQ(TextToDouble("1.7976931348623157e308"), std::numeric_limits<double>::max());
  EXPECT_EQ(TextToDouble("0"), 0.0);
  EXPECT_FALSE(std::signbit(*TextToDouble("-0")));
}

TEST(TextToDouble, RefusesNonNumericTextAndOverflow) {
  EXPECT_EQ(TextToDouble(""), std::nullopt);
  EXPECT_EQ(TextToDouble("1,5"), std::nullopt);
  EXPECT_EQ(TextToDouble("inf"), std::nullopt);
  EXPECT_EQ(TextToDouble("1e309"), std::nullopt);
  EXPECT_EQ(TextToDouble("-1.8e308"), std::nullopt);
  EXPECT_EQ(ToDouble(*ParseNumericText("1e309")), std::nullopt);
  EXPECT_EQ(ToDouble(*ParseNumericText("4.9e-324")), std::numeric_limits<double>::denorm_min());
}

// ---- Number to text ---------------------------------------------------------------------------------------------

TEST(NumberToText, WholeNumbersInPlainDecimal) {
  EXPECT_EQ(NumberToText(std::int64_t{0}), "0");
  EXPECT_EQ(NumberToText(std::int64_t{-12}), "-12");
  EXPECT_EQ(NumberToText(std::int64_t{1000000000000000000}), "1000000000000000000");
  EXPECT_EQ(NumberToText(kMin64), "-9223372036854775808");
  EXPECT_EQ(NumberToText(kMax64), "9223372036854775807");
}

TEST(NumberToText, DoublesWithoutTrailingZerosOrPoint) {
  EXPECT_EQ(NumberToText(12.5), "12.5");
  EXPECT_EQ(NumberToText(100.0), "100");
  EXPECT_EQ(NumberToText(0.1), "0.1");
  EXPECT_EQ(NumberToText(-12.5), "-12.5");
  EXPECT_EQ(NumberToText(1.0), "1");
  EXPECT_EQ(NumberToText(0.0001), "0.0001");
  EXPECT_EQ(NumberToText(123456789012345.0), "123456789012345");
}

TEST(NumberToText, ExponentFormFromOneE15UpAndBelowOneEMinus4) {
  EXPECT_EQ(NumberToText(1e15), "1E+15");
  EXPECT_EQ(NumberToText(1.5e-5), "1.5E-05");
  EXPECT_EQ(NumberToText(1e100), "1E+100");
  EXPECT_EQ(NumberToText(1e-100), "1E-100");
  EXPECT_EQ(NumberToText(-2.5e20), "-2.5E+20");
  EXPECT_EQ(NumberToText(0.00009), "9E-05");
  EXPECT_EQ(NumberToText(999999999999999.0), "999999999999999");
  EXPECT_EQ(NumberToText(1.7976931348623157e308), "1.79769313486232E+308");
}

TEST(NumberToText, NegativeZeroIsZero) {
  EXPECT_EQ(NumberToText(-0.0), "0");
  EXPECT_EQ(NumberToText(0.0), "0");
}

TEST(NumberToText, AtMostFifteenSignificantDigits) {
  EXPECT_EQ(NumberToText(0.1 + 0.2), "0.3");
  EXPECT_EQ(NumberToText(1.0 / 3.0), "0.333333333333333");
  EXPECT_EQ(NumberToText(2.0 / 3.0), "0.666666666666667");
  EXPECT_EQ(NumberToText(123456789012345678.0), "1.23456789012346E+17");
  EXPECT_EQ(NumberToText(1234567.891), "1234567.891");
  // Rounding to 15 digits can carry into the exponent form.
  EXPECT_EQ(NumberToText(999999999999999.9), "1E+15");
}

}  // namespace
}  // namespace cvimp

namespace cvimp {
namespace {

TEST(TextToLong, ConvertsNumericTextRoundingHalvesToEven) {
  EXPECT_EQ(TextToLong(" 15 ", "key"), 15);
  EXPECT_EQ(TextToLong("2.5", "key"), 2);
  EXPECT_EQ(TextToLong("-2147483648", "key"), -2147483648LL);
}

TEST(TextToLong, RaisesTypeMismatchForTextAndOverflowBeyondThirtyTwoBits) {
  EXPECT_EQ(testing::RaisedCode([] { TextToLong("", "ElRef"); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(testing::RaisedCode([] { TextToLong("abc", "ElRef"); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(testing::RaisedCode([] { TextToLong("2147483648", "ElRef"); }), ErrorCode::kOverflow);
  try {
    TextToLong("abc", "ElRef");
  } catch (const Error& e) {
    EXPECT_STREQ(e.what(), "Type mismatch: ElRef \"abc\"");
  }
}

}  // namespace
}  // namespace cvimp
