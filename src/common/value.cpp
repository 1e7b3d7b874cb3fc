#include "common/value.h"

#include "common/numeric.h"

namespace cvimp {

const std::string& Value::text() const {
  static const std::string kEmpty;
  if (const auto* s = std::get_if<std::string>(&v_)) return *s;
  return kEmpty;
}

std::int64_t Value::integer() const {
  if (const auto* n = std::get_if<std::int16_t>(&v_)) return *n;
  if (const auto* n = std::get_if<std::int32_t>(&v_)) return *n;
  if (const auto* n = std::get_if<std::int64_t>(&v_)) return *n;
  return 0;
}

double Value::number() const {
  if (const auto* d = std::get_if<double>(&v_)) return *d;
  return static_cast<double>(integer());
}

std::string TextForm(const Value& value) {
  if (value.is_text()) return value.text();
  if (value.is_bool()) return value.boolean() ? "True" : "False";
  if (value.is_double()) return NumberToText(value.number());
  if (value.is_integer()) return NumberToText(value.integer());
  return {};
}

std::string Value::Describe() const {
  if (is_null()) return "Null";
  if (is_text()) return "\"" + text() + "\"";
  return TextForm(*this);
}

}  // namespace cvimp
