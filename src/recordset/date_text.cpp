#include "recordset/date_text.h"

#include <cstdio>

namespace cvimp::recordset {
namespace {

// Reads exactly `count` digits at `pos`, advancing it; nullopt when any of them is not a digit.
std::optional<int> Digits(std::string_view text, std::size_t& pos, std::size_t count) {
  if (pos + count > text.size()) return std::nullopt;
  int value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    char c = text[pos + i];
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  pos += count;
  return value;
}

bool Expect(std::string_view text, std::size_t& pos, char c) {
  if (pos >= text.size() || text[pos] != c) return false;
  ++pos;
  return true;
}

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

}  // namespace

std::optional<std::string> NormalizeDateText(std::string_view text) {
  std::size_t pos = 0;
  std::optional<int> year, month, day;
  bool iso = text.size() >= 5 && text[4] == '-';
  if (iso) {
    year = Digits(text, pos, 4);
    if (!year || !Expect(text, pos, '-') || !(month = Digits(text, pos, 2)) || !Expect(text, pos, '-') ||
        !(day = Digits(text, pos, 2)))
      return std::nullopt;
  } else {
    day = Digits(text, pos, 2);
    if (!day || !Expect(text, pos, '.') || !(month = Digits(text, pos, 2)) || !Expect(text, pos, '.') ||
        !(year = Digits(text, pos, 4)))
      return std::nullopt;
  }
  int hour = 0, minute = 0, second = 0;
  if (pos < text.size()) {
    // A time follows after one blank, or after a 'T' in the ISO forms.
    if (!(text[pos] == ' ' || (iso && text[pos] == 'T'))) return std::nullopt;
    ++pos;
    auto h = Digits(text, pos, 2);
    if (!h || !Expect(text, pos, ':')) return std::nullopt;
    auto m = Digits(text, pos, 2);
    if (!m) return std::nullopt;
    hour = *h;
    minute = *m;
    if (pos < text.size()) {
      if (!Expect(text, pos, ':')) return std::nullopt;
      auto s = Digits(text, pos, 2);
      if (!s) return std::nullopt;
      second = *s;
    }
    if (pos != text.size()) return std::nullopt;
  }
  if (*year < 1 || *month < 1 || *month > 12 || *day < 1 || *day > DaysInMonth(*year, *month)) return std::nullopt;
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  char buffer[80];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", *year, *month, *day, hour, minute, second);
  return std::string(buffer);
}

}  // namespace cvimp::recordset
