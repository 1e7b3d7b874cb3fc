// The one variant type of the plug-in core: what an attribute of the catalogue yields (absent or a text),
// what a record field holds, and what crosses the host and record-set interfaces.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace cvimp {

struct Null {
  bool operator==(const Null&) const = default;
};

class Value {
 public:
  using Storage = std::variant<Null, std::string, std::int16_t, std::int32_t, std::int64_t, double, bool>;

  Value() = default;
  Value(Null) {}
  Value(std::string text) : v_(std::move(text)) {}
  Value(std::string_view text) : v_(std::string(text)) {}
  Value(const char* text) : v_(std::string(text)) {}
  Value(std::int16_t n) : v_(n) {}
  Value(std::int32_t n) : v_(n) {}
  Value(std::int64_t n) : v_(n) {}
  Value(double d) : v_(d) {}
  Value(bool b) : v_(b) {}

  bool is_null() const { return std::holds_alternative<Null>(v_); }
  bool is_text() const { return std::holds_alternative<std::string>(v_); }
  bool is_bool() const { return std::holds_alternative<bool>(v_); }
  bool is_double() const { return std::holds_alternative<double>(v_); }
  // A whole number of any width.
  bool is_integer() const {
    return std::holds_alternative<std::int16_t>(v_) || std::holds_alternative<std::int32_t>(v_) ||
           std::holds_alternative<std::int64_t>(v_);
  }
  bool is_number() const { return is_integer() || is_double(); }

  // The text of a text value; empty for anything else.
  const std::string& text() const;
  // The whole number of an integer value of any width; 0 for anything else.
  std::int64_t integer() const;
  double number() const;  // integer or double as a double; 0 for anything else
  bool boolean() const { return is_bool() && std::get<bool>(v_); }

  const Storage& storage() const { return v_; }
  bool operator==(const Value&) const = default;

  // A short description for error texts and test output: Null, "text", 12, 1.5, True.
  std::string Describe() const;

 private:
  Storage v_;
};

// The text form of a value, as a field or a text conversion sees it: Null gives the empty text; numbers in
// plain decimal (NumberToText), Booleans as "True" / "False".
std::string TextForm(const Value& value);

}  // namespace cvimp
