#include "common/numeric.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "common/error.h"

namespace cvimp {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Exponents beyond this make any nonzero number overflow every target type; clamping keeps the
// arithmetic below in range without changing a result.
constexpr std::int64_t kExponentClamp = 1'000'000;

void Normalize(Decimal& d) {
  std::size_t lead = d.digits.find_first_not_of('0');
  if (lead == std::string::npos) {
    d = Decimal{};
    return;
  }
  d.digits.erase(0, lead);
  std::size_t last = d.digits.find_last_not_of('0');
  d.exponent += static_cast<std::int64_t>(d.digits.size() - 1 - last);
  d.digits.resize(last + 1);
}

}  // namespace

std::optional<Decimal> ParseNumericText(std::string_view text) {
  std::size_t i = 0, n = text.size();
  while (i < n && text[i] == ' ') ++i;
  Decimal d;
  if (i < n && (text[i] == '+' || text[i] == '-')) d.negative = text[i++] == '-';
  std::size_t digit_count = 0;
  while (i < n && IsDigit(text[i])) d.digits += text[i++], ++digit_count;
  if (i < n && text[i] == '.') {
    ++i;
    while (i < n && IsDigit(text[i])) d.digits += text[i++], ++digit_count, --d.exponent;
  }
  if (digit_count == 0) return std::nullopt;
  if (i < n && (text[i] == 'e' || text[i] == 'E')) {
    ++i;
    bool exp_negative = false;
    if (i < n && (text[i] == '+' || text[i] == '-')) exp_negative = text[i++] == '-';
    if (i >= n || !IsDigit(text[i])) return std::nullopt;
    std::int64_t e = 0;
    while (i < n && IsDigit(text[i])) {
      if (e < kExponentClamp) e = e * 10 + (text[i] - '0');
      ++i;
    }
    d.exponent += exp_negative ? -e : e;
  }
  while (i < n && text[i] == ' ') ++i;
  if (i != n) return std::nullopt;
  bool negative = d.negative;
  Normalize(d);
  d.negative = negative && !d.is_zero();
  return d;
}

std::optional<Decimal> ExactDecimal(double value) {
  if (!std::isfinite(value)) return std::nullopt;
  // A double's exact value has at most 1074 fraction digits; glibc prints it exactly.
  char buffer[1500];
  std::snprintf(buffer, sizeof buffer, "%.1100f", value);
  return ParseNumericText(buffer);
}

Decimal RoundToPlaces(const Decimal& d, int places) {
  if (d.is_zero() || d.exponent >= -places) return d;
  // Keep the digits at or above 10^-places; look at what is cut off to round.
  std::int64_t cut = -places - d.exponent;  // number of digits to drop, > 0
  std::int64_t size = static_cast<std::int64_t>(d.digits.size());
  std::string kept = cut >= size ? std::string() : d.digits.substr(0, static_cast<std::size_t>(size - cut));
  std::string dropped = cut >= size ? std::string(static_cast<std::size_t>(cut - size), '0') + d.digits
                                    : d.digits.substr(static_cast<std::size_t>(size - cut));
  // Compare the dropped part with one half: "5000...".
  bool round_up = false;
  if (dropped[0] > '5') {
    round_up = true;
  } else if (dropped[0] == '5') {
    bool beyond_half = dropped.find_first_not_of('0', 1) != std::string::npos;
    bool kept_odd = !kept.empty() && ((kept.back() - '0') % 2 == 1);
    round_up = beyond_half || kept_odd;
  }
  if (round_up) {
    int pos = static_cast<int>(kept.size()) - 1;
    while (pos >= 0 && kept[static_cast<std::size_t>(pos)] == '9') kept[static_cast<std::size_t>(pos--)] = '0';
    if (pos < 0)
      kept.insert(kept.begin(), '1');
    else
      ++kept[static_cast<std::size_t>(pos)];
  }
  Decimal r{d.negative, kept, -places};
  Normalize(r);
  r.negative = d.negative && !r.is_zero();
  return r;
}

std::optional<std::int64_t> RoundToInteger(const Decimal& d, std::int64_t min, std::int64_t max) {
  Decimal r = RoundToPlaces(d, 0);
  if (r.is_zero()) return 0 >= min && 0 <= max ? std::optional<std::int64_t>(0) : std::nullopt;
  if (static_cast<std::int64_t>(r.digits.size()) + r.exponent > 19) return std::nullopt;
  // |r| < 10^19 fits an unsigned 64-bit magnitude.
  unsigned long long magnitude = 0;
  for (char c : r.digits) magnitude = magnitude * 10 + static_cast<unsigned>(c - '0');
  for (std::int64_t e = 0; e < r.exponent; ++e) {
    if (magnitude > std::numeric_limits<unsigned long long>::max() / 10) return std::nullopt;
    magnitude *= 10;
  }
  constexpr unsigned long long kMaxNegative = 9223372036854775808ULL;
  std::int64_t value;
  if (r.negative) {
    if (magnitude > kMaxNegative) return std::nullopt;
    value =
        magnitude == kMaxNegative ? std::numeric_limits<std::int64_t>::min() : -static_cast<std::int64_t>(magnitude);
  } else {
    if (magnitude > static_cast<unsigned long long>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
    value = static_cast<std::int64_t>(magnitude);
  }
  if (value < min || value > max) return std::nullopt;
  return value;
}

std::optional<std::int64_t> RoundToInteger(double d, std::int64_t min, std::int64_t max) {
  auto exact = ExactDecimal(d);
  if (!exact) return std::nullopt;
  return RoundToInteger(*exact, min, max);
}

std::optional<double> ToDouble(const Decimal& d) {
  if (d.is_zero()) return 0.0;
  std::string text = (d.negative ? "-" : "") + d.digits + "e" + std::to_string(d.exponent);
  double value = std::strtod(text.c_str(), nullptr);
  if (!std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<std::int64_t> TextToInteger(std::string_view text, std::int64_t min, std::int64_t max) {
  auto d = ParseNumericText(text);
  if (!d) return std::nullopt;
  return RoundToInteger(*d, min, max);
}

std::optional<double> TextToDouble(std::string_view text) {
  auto d = ParseNumericText(text);
  if (!d) return std::nullopt;
  return ToDouble(*d);
}

std::int32_t TextToLong(std::string_view text, std::string_view what) {
  const auto decimal = ParseNumericText(text);
  if (!decimal)
    throw Error(ErrorCode::kTypeMismatch, "Type mismatch: " + std::string(what) + " \"" + std::string(text) + "\"");
  const auto n =
      RoundToInteger(*decimal, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max());
  if (!n) throw Error(ErrorCode::kOverflow, "Overflow: " + std::string(what) + " " + std::string(text));
  return static_cast<std::int32_t>(*n);
}

std::string NumberToText(std::int64_t n) { return std::to_string(n); }

std::string NumberToText(double d) {
  if (d == 0) return "0";
  char buffer[64];
  // %G switches to exponent form below 1E-4 and from 10^precision up, drops trailing zeros, and writes the
  // exponent with a sign and at least two digits.
  std::snprintf(buffer, sizeof buffer, "%.15G", d);
  return buffer;
}

}  // namespace cvimp
