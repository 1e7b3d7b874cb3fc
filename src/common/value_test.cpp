#include "common/value.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace cvimp {
namespace {

TEST(Value, DefaultAndNullAreNull) {
  EXPECT_TRUE(Value().is_null());
  EXPECT_TRUE(Value(Null{}).is_null());
  EXPECT_EQ(Value(), Value(Null{}));
  EXPECT_FALSE(Value().is_text());
  EXPECT_FALSE(Value().is_number());
  EXPECT_FALSE(Value().is_bool());
}

TEST(Value, TextFromEveryStringKind) {
  std::string owned = "abc";
  std::string_view view = "def";
  EXPECT_EQ(Value(owned).text(), "abc");
  EXPECT_EQ(Value(view).text(), "def");
  EXPECT_EQ(Value("ghi").text(), "ghi");
  EXPECT_TRUE(Value("").is_text());
  EXPECT_FALSE(Value("").is_null());
  EXPECT_FALSE(Value("12").is_number());
}

TEST(Value, WholeNumbersOfEveryWidth) {
  EXPECT_TRUE(Value(std::int16_t{-3}).is_integer());
  EXPECT_TRUE(Value(std::int32_t{7}).is_integer());
  EXPECT_TRUE(Value(std::int64_t{1} << 40).is_integer());
  EXPECT_EQ(Value(std::int16_t{-3}).integer(), -3);
  EXPECT_EQ(Value(std::int32_t{7}).integer(), 7);
  EXPECT_EQ(Value(std::int64_t{1} << 40).integer(), std::int64_t{1} << 40);
  EXPECT_TRUE(Value(std::int32_t{7}).is_number());
  EXPECT_FALSE(Value(std::int32_t{7}).is_double());
}

TEST(Value, DoublesAreNumbersButNotIntegers) {
  Value d(1.5);
  EXPECT_TRUE(d.is_double());
  EXPECT_TRUE(d.is_number());
  EXPECT_FALSE(d.is_integer());
  EXPECT_EQ(d.number(), 1.5);
  EXPECT_EQ(d.integer(), 0);
}

TEST(Value, AccessorsOfOtherKindsGiveNeutralValues) {
  EXPECT_EQ(Value(std::int32_t{5}).text(), "");
  EXPECT_EQ(Value().text(), "");
  EXPECT_EQ(Value("12").integer(), 0);
  EXPECT_EQ(Value("12").number(), 0.0);
  EXPECT_EQ(Value(true).integer(), 0);
  EXPECT_EQ(Value(true).number(), 0.0);
  EXPECT_FALSE(Value("True").boolean());
  EXPECT_FALSE(Value(std::int32_t{1}).boolean());
  EXPECT_EQ(Value(std::int16_t{-4}).number(), -4.0);
}

TEST(Value, Booleans) {
  EXPECT_TRUE(Value(true).is_bool());
  EXPECT_TRUE(Value(true).boolean());
  EXPECT_FALSE(Value(false).boolean());
  EXPECT_FALSE(Value(true).is_number());
}

TEST(Value, EqualityComparesKindAndValue) {
  EXPECT_EQ(Value("1"), Value(std::string("1")));
  EXPECT_NE(Value("1"), Value(std::int32_t{1}));
  EXPECT_NE(Value(std::int32_t{1}), Value(std::int64_t{1}));
  EXPECT_NE(Value(std::int32_t{1}), Value(1.0));
  EXPECT_NE(Value(""), Value());
  EXPECT_NE(Value(true), Value(false));
  EXPECT_EQ(Value(2.5), Value(2.5));
}

TEST(TextForm, OfEveryKind) {
  EXPECT_EQ(TextForm(Value()), "");
  EXPECT_EQ(TextForm(Value("as is ")), "as is ");
  EXPECT_EQ(TextForm(Value(std::int16_t{-12})), "-12");
  EXPECT_EQ(TextForm(Value(std::int32_t{2147483647})), "2147483647");
  EXPECT_EQ(TextForm(Value(std::numeric_limits<std::int64_t>::min())), "-9223372036854775808");
  EXPECT_EQ(TextForm(Value(12.5)), "12.5");
  EXPECT_EQ(TextForm(Value(100.0)), "100");
  EXPECT_EQ(TextForm(Value(1e15)), "1E+15");
  EXPECT_EQ(TextForm(Value(-0.0)), "0");
  EXPECT_EQ(TextForm(Value(true)), "True");
  EXPECT_EQ(TextForm(Value(false)), "False");
}

TEST(Describe, OfEveryKind) {
  EXPECT_EQ(Value().Describe(), "Null");
  EXPECT_EQ(Value("text").Describe(), "\"text\"");
  EXPECT_EQ(Value("").Describe(), "\"\"");
  EXPECT_EQ(Value(std::int32_t{12}).Describe(), "12");
  EXPECT_EQ(Value(std::int16_t{-3}).Describe(), "-3");
  EXPECT_EQ(Value(std::int64_t{1} << 40).Describe(), "1099511627776");
  EXPECT_EQ(Value(1.5).Describe(), "1.5");
  EXPECT_EQ(Value(true).Describe(), "True");
  EXPECT_EQ(Value(false).Describe(), "False");
}

}  // namespace
}  // namespace cvimp
