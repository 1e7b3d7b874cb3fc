#include "recordset/date_text.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace cvimp::recordset {
namespace {

TEST(DateText, WritesTheStoredFormWithZeroTimeWhenNoneIsGiven) {
  EXPECT_EQ(NormalizeDateText("1999-12-31"), "1999-12-31 00:00:00");
  EXPECT_EQ(NormalizeDateText("01.01.2000 00:00"), "2000-01-01 00:00:00");
}

TEST(DateText, KnowsTheLengthOfEveryMonth) {
  const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int month = 1; month <= 12; ++month) {
    char last[48], beyond[48];
    std::snprintf(last, sizeof last, "2023-%02d-%02d", month, days[month - 1]);
    std::snprintf(beyond, sizeof beyond, "2023-%02d-%02d", month, days[month - 1] + 1);
    EXPECT_TRUE(NormalizeDateText(last).has_value()) << last;
    EXPECT_FALSE(NormalizeDateText(beyond).has_value()) << beyond;
  }
}

TEST(DateText, LeapYearsFollowTheGregorianRule) {
  EXPECT_TRUE(NormalizeDateText("29.02.2024").has_value());
  EXPECT_TRUE(NormalizeDateText("29.02.2000").has_value());
  EXPECT_TRUE(NormalizeDateText("29.02.1600").has_value());
  EXPECT_FALSE(NormalizeDateText("29.02.2100").has_value());
  EXPECT_FALSE(NormalizeDateText("29.02.2023").has_value());
}

TEST(DateText, TheTimeRunsFromMidnightToOneSecondBefore) {
  EXPECT_EQ(NormalizeDateText("2024-01-01 00:00:00"), "2024-01-01 00:00:00");
  EXPECT_EQ(NormalizeDateText("2024-01-01 23:59:59"), "2024-01-01 23:59:59");
  EXPECT_FALSE(NormalizeDateText("2024-01-01 24:00:00").has_value());
  EXPECT_FALSE(NormalizeDateText("2024-01-01 12:60:00").has_value());
  EXPECT_FALSE(NormalizeDateText("2024-01-01 12:00:60").has_value());
}

}  // namespace
}  // namespace cvimp::recordset
