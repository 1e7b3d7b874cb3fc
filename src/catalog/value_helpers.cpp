#include "catalog/value_helpers.h"

#include <limits>
#include <optional>

#include "common/numeric.h"

namespace cvimp::catalog {
namespace {

constexpr std::int64_t kMinLong = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMaxLong = std::numeric_limits<std::int32_t>::max();

}  // namespace

std::string NzText(const Value& value, std::string_view default_text) {
  if (value.is_null()) return std::string(default_text);
  std::string text = TextForm(value);
  return text.empty() ? std::string(default_text) : text;
}

std::int32_t NzLong(const Value& value, std::int32_t default_value) {
  std::optional<std::int64_t> n;
  if (value.is_text())
    n = TextToInteger(value.text(), kMinLong, kMaxLong);
  else if (value.is_bool())
    n = value.boolean() ? -1 : 0;
  else if (value.is_double())
    n = RoundToInteger(value.number(), kMinLong, kMaxLong);
  else if (value.is_integer() && value.integer() >= kMinLong && value.integer() <= kMaxLong)
    n = value.integer();
  return n ? static_cast<std::int32_t>(*n) : default_value;
}

double NzDouble(const Value& value, double default_value) {
  std::optional<double> d;
  if (value.is_text())
    d = TextToDouble(value.text());
  else if (value.is_bool())
    d = value.boolean() ? -1.0 : 0.0;
  else if (value.is_number())
    d = value.number();
  return d ? *d : default_value;
}

bool RecordFound(const recordset::Recordset* recordset) {
  if (!recordset) return false;
  try {
    return recordset->IsOpen() && !recordset->Eof();
  } catch (...) {
    return false;
  }
}

}  // namespace cvimp::catalog
