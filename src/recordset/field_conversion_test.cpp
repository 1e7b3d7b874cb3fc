#include "recordset/field_conversion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "recordset/test_support.h"

namespace cvimp::recordset {
namespace {

using testing::ErrorOf;

Column Field(DataType type, int size = 0) { return Column{"Field", type, size}; }
Value Convert(DataType type, const Value& value, int size = 0) { return ConvertForField(Field(type, size), value); }
std::string Refusal(DataType type, const Value& value, ErrorCode code, int size = 0) {
  return ErrorOf([&] { ConvertForField(Field(type, size), value); }, code);
}

const Value kNull;
constexpr auto kMismatch = ErrorCode::kTypeMismatch;
constexpr auto kOverflow = ErrorCode::kOverflow;

// ---- Null: every field type keeps Null ----

TEST(FieldConversion, NullStaysNullInEveryFieldType) {
  for (DataType type :
       {DataType::kInteger, DataType::kBigInt, DataType::kSmallInt, DataType::kDouble, DataType::kCurrency,
        DataType::kDate, DataType::kBoolean, DataType::kVarWChar, DataType::kLongVarWChar})
    EXPECT_EQ(Convert(type, kNull, type == DataType::kVarWChar ? 5 : 0), kNull) << AdoCode(type);
}

// ---- INTEGER, BIGINT, SMALLINT ----

TEST(FieldConversion, WholeNumberFieldsStoreTheirOwnWidth) {
  EXPECT_EQ(Convert(DataType::kInteger, "12"), Value(std::int32_t{12}));
  EXPECT_EQ(Convert(DataType::kBigInt, "12"), Value(std::int64_t{12}));
  EXPECT_EQ(Convert(DataType::kSmallInt, "12"), Value(std::int16_t{12}));
  EXPECT_EQ(Convert(DataType::kSmallInt, std::int64_t{7}), Value(std::int16_t{7}));
  EXPECT_EQ(Convert(DataType::kBigInt, std::int16_t{7}), Value(std::int64_t{7}));
}

TEST(FieldConversion, WholeNumberFromNumericTextWithBlanksSignAndExponent) {
  EXPECT_EQ(Convert(DataType::kInteger, "  -42  "), Value(std::int32_t{-42}));
  EXPECT_EQ(Convert(DataType::kInteger, "+7"), Value(std::int32_t{7}));
  EXPECT_EQ(Convert(DataType::kInteger, "1e3"), Value(std::int32_t{1000}));
  EXPECT_EQ(Convert(DataType::kInteger, "1.5E+2"), Value(std::int32_t{150}));
  EXPECT_EQ(Convert(DataType::kInteger, ".5e1"), Value(std::int32_t{5}));
  EXPECT_EQ(Convert(DataType::kInteger, "-0"), Value(std::int32_t{0}));
}

TEST(FieldConversion, WholeNumberFromTextRoundsHalvesToEven) {
  EXPECT_EQ(Convert(DataType::kInteger, "2.5"), Value(std::int32_t{2}));
  EXPECT_EQ(Convert(DataType::kInteger, "3.5"), Value(std::int32_t{4}));
  EXPECT_EQ(Convert(DataType::kInteger, "-2.5"), Value(std::int32_t{-2}));
  EXPECT_EQ(Convert(DataType::kInteger, "0.5"), Value(std::int32_t{0}));
  EXPECT_EQ(Convert(DataType::kInteger, "1.5"), Value(std::int32_t{2}));
  EXPECT_EQ(Convert(DataType::kInteger, "2.4999"), Value(std::int32_t{2}));
  EXPECT_EQ(Convert(DataType::kInteger, "2.6"), Value(std::int32_t{3}));
}

TEST(FieldConversion, WholeNumberFromTextRoundsTheExactDecimalValueOfTheText) {
  // As a double this text is exactly 2.5 and would round to 2; the text itself lies above the half.
  EXPECT_EQ(Convert(DataType::kInteger, "2.50000000000000000001"), Value(std::int32_t{3}));
  EXPECT_EQ(Convert(DataType::kBigInt, "9007199254740993"), Value(std::int64_t{9007199254740993}));
  EXPECT_EQ(Convert(DataType::kBigInt, "-9223372036854775808"), Value(std::numeric_limits<std::int64_t>::min()));
}

TEST(FieldConversion, WholeNumberRefusesTextThatIsNotNumeric) {
  for (const char* text : {"", " ", "abc", "12abc", "1,5", "0x10", "$5", "1 000", "1e", "--1", ".", "e5"})
    Refusal(DataType::kInteger, text, kMismatch);
  // Blanks are spaces only.
  Refusal(DataType::kInteger, "\t1", kMismatch);
  Refusal(DataType::kInteger, "1\n", kMismatch);
  Refusal(DataType::kSmallInt, "", kMismatch);
  Refusal(DataType::kBigInt, "", kMismatch);
}

TEST(FieldConversion, WholeNumberFromTextIsRangeCheckedAfterRounding) {
  EXPECT_EQ(Convert(DataType::kSmallInt, "32767"), Value(std::int16_t{32767}));
  EXPECT_EQ(Convert(DataType::kSmallInt, "-32768"), Value(std::int16_t{-32768}));
  EXPECT_EQ(Convert(DataType::kSmallInt, "32766.5"), Value(std::int16_t{32766}));
  Refusal(DataType::kSmallInt, "32768", kOverflow);
  Refusal(DataType::kSmallInt, "-32769", kOverflow);
  Refusal(DataType::kSmallInt, "32767.5", kOverflow);
  EXPECT_EQ(Convert(DataType::kInteger, "2147483647"), Value(std::int32_t{2147483647}));
  Refusal(DataType::kInteger, "2147483648", kOverflow);
  Refusal(DataType::kInteger, "-2147483649", kOverflow);
  EXPECT_EQ(Convert(DataType::kBigInt, "9223372036854775807"), Value(std::numeric_limits<std::int64_t>::max()));
  Refusal(DataType::kBigInt, "9223372036854775808", kOverflow);
  Refusal(DataType::kBigInt, "1e400", kOverflow);
}

TEST(FieldConversion, WholeNumberFromNumberRoundsHalvesToEvenAndChecksRange) {
  EXPECT_EQ(Convert(DataType::kInteger, 2.5), Value(std::int32_t{2}));
  EXPECT_EQ(Convert(DataType::kInteger, 3.5), Value(std::int32_t{4}));
  EXPECT_EQ(Convert(DataType::kInteger, -2.5), Value(std::int32_t{-2}));
  EXPECT_EQ(Convert(DataType::kInteger, 0.49999999999999994), Value(std::int32_t{0}));
  EXPECT_EQ(Convert(DataType::kInteger, std::int32_t{-5}), Value(std::int32_t{-5}));
  EXPECT_EQ(Convert(DataType::kBigInt, 1e18), Value(std::int64_t{1000000000000000000}));
  Refusal(DataType::kSmallInt, std::int32_t{40000}, kOverflow);
  Refusal(DataType::kSmallInt, 32767.5, kOverflow);
  Refusal(DataType::kInteger, std::int64_t{2147483648}, kOverflow);
  Refusal(DataType::kInteger, 2147483647.5, kOverflow);
  Refusal(DataType::kBigInt, 1e19, kOverflow);
  Refusal(DataType::kBigInt, std::numeric_limits<double>::infinity(), kOverflow);
  Refusal(DataType::kInteger, std::nan(""), kMismatch);
}

TEST(FieldConversion, WholeNumberFromBooleanIsMinusOneOrZero) {
  EXPECT_EQ(Convert(DataType::kInteger, true), Value(std::int32_t{-1}));
  EXPECT_EQ(Convert(DataType::kInteger, false), Value(std::int32_t{0}));
  EXPECT_EQ(Convert(DataType::kSmallInt, true), Value(std::int16_t{-1}));
  EXPECT_EQ(Convert(DataType::kBigInt, true), Value(std::int64_t{-1}));
  EXPECT_EQ(Convert(DataType::kBigInt, false), Value(std::int64_t{0}));
}

// ---- DOUBLE ----

TEST(FieldConversion, DoubleFromNumericText) {
  EXPECT_EQ(Convert(DataType::kDouble, "1.5"), Value(1.5));
  EXPECT_EQ(Convert(DataType::kDouble, " -1e-3 "), Value(-0.001));
  EXPECT_EQ(Convert(DataType::kDouble, "0.1"), Value(0.1));
  EXPECT_EQ(Convert(DataType::kDouble, "12"), Value(12.0));
}

TEST(FieldConversion, DoubleRefusesTextThatIsNotNumeric) {
  for (const char* text : {"", "abc", "1,5", "1.5.5", "\t1", "1e"}) Refusal(DataType::kDouble, text, kMismatch);
  Refusal(DataType::kDouble, "1e400", kOverflow);
}

TEST(FieldConversion, DoubleTakesNumbersAsTheyAre) {
  EXPECT_EQ(Convert(DataType::kDouble, 0.1), Value(0.1));
  EXPECT_EQ(Convert(DataType::kDouble, 1.23456789012345678), Value(1.23456789012345678));
  EXPECT_EQ(Convert(DataType::kDouble, std::int32_t{7}), Value(7.0));
  EXPECT_EQ(Convert(DataType::kDouble, std::int16_t{-3}), Value(-3.0));
}

TEST(FieldConversion, DoubleFromBooleanIsMinusOneOrZero) {
  EXPECT_EQ(Convert(DataType::kDouble, true), Value(-1.0));
  EXPECT_EQ(Convert(DataType::kDouble, false), Value(0.0));
}

// ---- CURRENCY ----

TEST(FieldConversion, CurrencyFromTextRoundsToFourDecimalsHalvesToEven) {
  EXPECT_EQ(Convert(DataType::kCurrency, "1.23456"), Value(1.2346));
  EXPECT_EQ(Convert(DataType::kCurrency, "1.23455"), Value(1.2346));
  EXPECT_EQ(Convert(DataType::kCurrency, "1.23445"), Value(1.2344));
  EXPECT_EQ(Convert(DataType::kCurrency, "-1.23445"), Value(-1.2344));
  EXPECT_EQ(Convert(DataType::kCurrency, "0.00015"), Value(0.0002));
  EXPECT_EQ(Convert(DataType::kCurrency, "1.00005"), Value(1.0));
  EXPECT_EQ(Convert(DataType::kCurrency, "0.000050000001"), Value(0.0001));
  EXPECT_EQ(Convert(DataType::kCurrency, "12"), Value(12.0));
}

TEST(FieldConversion, CurrencyRoundingOfASmallNegativeGivesPositiveZero) {
  Value v = Convert(DataType::kCurrency, "-0.00001");
  ASSERT_TRUE(v.is_double());
  EXPECT_EQ(v.number(), 0.0);
  EXPECT_FALSE(std::signbit(v.number()));
  EXPECT_FALSE(std::signbit(Convert(DataType::kCurrency, -0.0).number()));
}

TEST(FieldConversion, CurrencyFromDoubleRoundsItsExactDecimalValue) {
  // 1.00005 is 1.0000500000000001055... as a double: above the half, so up (the text "1.00005" goes down).
  EXPECT_EQ(Convert(DataType::kCurrency, 1.00005), Value(1.0001));
  // 0.00015 is 0.000149999999999999986... as a double: below the half, so down (the text goes up).
  EXPECT_EQ(Convert(DataType::kCurrency, 0.00015), Value(0.0001));
  // Exact halves as doubles: 0.03125 and 0.09375.
  EXPECT_EQ(Convert(DataType::kCurrency, 0.03125), Value(0.0312));
  EXPECT_EQ(Convert(DataType::kCurrency, 0.09375), Value(0.0938));
  EXPECT_EQ(Convert(DataType::kCurrency, std::int32_t{5}), Value(5.0));
  Refusal(DataType::kCurrency, std::numeric_limits<double>::infinity(), kOverflow);
}

TEST(FieldConversion, CurrencyRefusesTextThatIsNotNumeric) {
  for (const char* text : {"", "abc", "1,50", "12 EUR", "€5"}) Refusal(DataType::kCurrency, text, kMismatch);
}

TEST(FieldConversion, CurrencyFromBooleanIsMinusOneOrZero) {
  EXPECT_EQ(Convert(DataType::kCurrency, true), Value(-1.0));
  EXPECT_EQ(Convert(DataType::kCurrency, false), Value(0.0));
}

// ---- DATETIME ----

TEST(FieldConversion, DateTakesEveryListedTextForm) {
  EXPECT_EQ(Convert(DataType::kDate, "2024-03-07"), Value("2024-03-07 00:00:00"));
  EXPECT_EQ(Convert(DataType::kDate, "2024-03-07 08:09"), Value("2024-03-07 08:09:00"));
  EXPECT_EQ(Convert(DataType::kDate, "2024-03-07 08:09:10"), Value("2024-03-07 08:09:10"));
  EXPECT_EQ(Convert(DataType::kDate, "2024-03-07T08:09"), Value("2024-03-07 08:09:00"));
  EXPECT_EQ(Convert(DataType::kDate, "2024-03-07T08:09:10"), Value("2024-03-07 08:09:10"));
  EXPECT_EQ(Convert(DataType::kDate, "07.03.2024"), Value("2024-03-07 00:00:00"));
  EXPECT_EQ(Convert(DataType::kDate, "07.03.2024 23:59"), Value("2024-03-07 23:59:00"));
  EXPECT_EQ(Convert(DataType::kDate, "07.03.2024 23:59:59"), Value("2024-03-07 23:59:59"));
}

TEST(FieldConversion, DateAcceptsOnlyRealCalendarDates) {
  EXPECT_EQ(Convert(DataType::kDate, "2024-02-29"), Value("2024-02-29 00:00:00"));
  EXPECT_EQ(Convert(DataType::kDate, "2000-02-29"), Value("2000-02-29 00:00:00"));
  EXPECT_EQ(Convert(DataType::kDate, "0001-01-01"), Value("0001-01-01 00:00:00"));
  EXPECT_EQ(Convert(DataType::kDate, "31.12.9999 00:00"), Value("9999-12-31 00:00:00"));
  for (const char* text :
       {"2023-02-29", "1900-02-29", "2024-04-31", "2024-13-01", "2024-00-10", "2024-01-00", "0000-01-01", "31.06.2024",
        "29.02.2023", "2024-01-01 24:00", "2024-01-01 23:60", "2024-01-01 23:59:60"})
    Refusal(DataType::kDate, text, kMismatch);
}

TEST(FieldConversion, DateRefusesOtherTextForms) {
  for (const char* text : {"", " ", "2024-1-1", "2024-01-1", "7.3.2024", "2024/03/07", " 2024-03-07", "2024-03-07 ",
                           "2024-03-07  08:09", "2024-03-07 8:09", "2024-03-07 08", "2024-03-07 08:09:", "2024-03-07x",
                           "07.03.2024T08:09", "07.03.24", "20240307", "today", "2024-03-07 08:09:10.5"})
    Refusal(DataType::kDate, text, kMismatch);
}

TEST(FieldConversion, DateRefusesNumbersAndBooleans) {
  Refusal(DataType::kDate, std::int32_t{45000}, kMismatch);
  Refusal(DataType::kDate, 45000.5, kMismatch);
  Refusal(DataType::kDate, true, kMismatch);
  Refusal(DataType::kDate, false, kMismatch);
}

// ---- YESNO ----

TEST(FieldConversion, YesNoFromTrueOrFalseInAnyCase) {
  for (const char* text : {"True", "TRUE", "true", "tRuE"}) EXPECT_EQ(Convert(DataType::kBoolean, text), Value(true));
  for (const char* text : {"False", "FALSE", "false", "fAlSe"})
    EXPECT_EQ(Convert(DataType::kBoolean, text), Value(false));
}

TEST(FieldConversion, YesNoFromNumericTextIsFalseOnlyForZero) {
  for (const char* text : {"0", "0.0", " -0 ", "0e5", ".0"}) EXPECT_EQ(Convert(DataType::kBoolean, text), Value(false));
  for (const char* text : {"1", "-1", " 2.5 ", "1e-400", "0.0001"})
    EXPECT_EQ(Convert(DataType::kBoolean, text), Value(true));
}

TEST(FieldConversion, YesNoRefusesOtherText) {
  for (const char* text : {"", " ", "yes", "no", "T", " True", "True ", "wahr", "1,0"})
    Refusal(DataType::kBoolean, text, kMismatch);
}

TEST(FieldConversion, YesNoFromNumberIsFalseOnlyForZero) {
  EXPECT_EQ(Convert(DataType::kBoolean, std::int32_t{0}), Value(false));
  EXPECT_EQ(Convert(DataType::kBoolean, 0.0), Value(false));
  EXPECT_EQ(Convert(DataType::kBoolean, -0.0), Value(false));
  EXPECT_EQ(Convert(DataType::kBoolean, std::int16_t{-1}), Value(true));
  EXPECT_EQ(Convert(DataType::kBoolean, std::int64_t{2}), Value(true));
  EXPECT_EQ(Convert(DataType::kBoolean, -0.5), Value(true));
}

TEST(FieldConversion, YesNoTakesBooleansAsTheyAre) {
  EXPECT_EQ(Convert(DataType::kBoolean, true), Value(true));
  EXPECT_EQ(Convert(DataType::kBoolean, false), Value(false));
}

// ---- VARCHAR(n) ----

TEST(FieldConversion, VarcharStoresTextAsItIs) {
  EXPECT_EQ(Convert(DataType::kVarWChar, "  a b  ", 10), Value("  a b  "));
  EXPECT_EQ(Convert(DataType::kVarWChar, "", 10), Value(""));
  EXPECT_EQ(Convert(DataType::kVarWChar, "abcde", 5), Value("abcde"));
  EXPECT_EQ(Convert(DataType::kVarWChar, "it's", 5), Value("it's"));
}

TEST(FieldConversion, VarcharRefusesMoreThanItsSizeInCharacters) {
  std::string message = Refusal(DataType::kVarWChar, "abcdef", kOverflow, 5);
  EXPECT_NE(message.find("Field"), std::string::npos) << message;
  EXPECT_NE(message.find("5 characters"), std::string::npos) << message;
}

TEST(FieldConversion, VarcharCountsUnicodeCodePointsNotBytes) {
  // Five characters in ten bytes, and a character of four bytes.
  EXPECT_EQ(Convert(DataType::kVarWChar, "äöüßé", 5), Value("äöüßé"));
  EXPECT_EQ(Convert(DataType::kVarWChar, "\xF0\x9F\x98\x80", 1), Value("\xF0\x9F\x98\x80"));
  Refusal(DataType::kVarWChar, "ääääää", kOverflow, 5);
  EXPECT_EQ(CountCodePoints("äöüßé"), 5u);
  EXPECT_EQ(CountCodePoints("\xF0\x9F\x98\x80x"), 2u);
  EXPECT_EQ(CountCodePoints(""), 0u);
}

TEST(FieldConversion, VarcharTakesNumbersAsText) {
  EXPECT_EQ(Convert(DataType::kVarWChar, std::int32_t{-12}, 10), Value("-12"));
  EXPECT_EQ(Convert(DataType::kVarWChar, std::int16_t{7}, 10), Value("7"));
  EXPECT_EQ(Convert(DataType::kVarWChar, std::int64_t{9007199254740993}, 20), Value("9007199254740993"));
  EXPECT_EQ(Convert(DataType::kVarWChar, 12.5, 10), Value("12.5"));
  EXPECT_EQ(Convert(DataType::kVarWChar, 100.0, 10), Value("100"));
  EXPECT_EQ(Convert(DataType::kVarWChar, 0.1, 10), Value("0.1"));
  EXPECT_EQ(Convert(DataType::kVarWChar, 1.0 / 3, 20), Value("0.333333333333333"));
  EXPECT_EQ(Convert(DataType::kVarWChar, 1e15, 10), Value("1E+15"));
  EXPECT_EQ(Convert(DataType::kVarWChar, 999999999999999.0, 20), Value("999999999999999"));
  EXPECT_EQ(Convert(DataType::kVarWChar, 1.5e-5, 10), Value("1.5E-05"));
  EXPECT_EQ(Convert(DataType::kVarWChar, 0.0001, 10), Value("0.0001"));
  EXPECT_EQ(Convert(DataType::kVarWChar, 1e100, 10), Value("1E+100"));
  EXPECT_EQ(Convert(DataType::kVarWChar, -0.0, 10), Value("0"));
  Refusal(DataType::kVarWChar, std::int32_t{123456}, kOverflow, 5);
}

TEST(FieldConversion, VarcharTakesBooleansAsTrueOrFalse) {
  EXPECT_EQ(Convert(DataType::kVarWChar, true, 10), Value("True"));
  EXPECT_EQ(Convert(DataType::kVarWChar, false, 10), Value("False"));
  Refusal(DataType::kVarWChar, false, kOverflow, 4);
}

// ---- LONGTEXT ----

TEST(FieldConversion, LongTextStoresTextNumbersAndBooleans) {
  std::string long_text(100000, 'x');
  EXPECT_EQ(Convert(DataType::kLongVarWChar, long_text), Value(long_text));
  EXPECT_EQ(Convert(DataType::kLongVarWChar, "  "), Value("  "));
  EXPECT_EQ(Convert(DataType::kLongVarWChar, std::int32_t{42}), Value("42"));
  EXPECT_EQ(Convert(DataType::kLongVarWChar, -0.0), Value("0"));
  EXPECT_EQ(Convert(DataType::kLongVarWChar, 2.5e-7), Value("2.5E-07"));
  EXPECT_EQ(Convert(DataType::kLongVarWChar, true), Value("True"));
  EXPECT_EQ(Convert(DataType::kLongVarWChar, false), Value("False"));
}

// ---- the error names the field and the value ----

TEST(FieldConversion, ARefusalNamesTheFieldItsTypeAndTheValue) {
  std::string message = ErrorOf(
      [] {
        ConvertForField(Column{"Price", DataType::kCurrency, 0}, Value("abc"));
      },
      kMismatch);
  EXPECT_EQ(message, "Type mismatch: field Price (CURRENCY) cannot take \"abc\": not a number");
  message = ErrorOf([] { ConvertForField(Column{"Name", DataType::kVarWChar, 3}, Value("abcd")); }, kOverflow);
  EXPECT_EQ(message, "Overflow: field Name (VARCHAR(3)) cannot take \"abcd\": longer than 3 characters (4)");
}

}  // namespace
}  // namespace cvimp::recordset
