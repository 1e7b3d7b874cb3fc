// A small writer of JSON text: objects, arrays, strings, whole numbers, doubles, booleans and null, written
// in order with two-space indentation. It checks nothing but keeps the commas and the nesting right.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cvimp::cli {

class JsonWriter {
 public:
  // Members of an object: the key, then exactly one value (or a nested object or array).
  JsonWriter& Key(std::string_view key);
  JsonWriter& BeginObject();
  JsonWriter& EndObject();
  JsonWriter& BeginArray();
  JsonWriter& EndArray();
  JsonWriter& String(std::string_view text);
  JsonWriter& Number(std::int64_t n);
  JsonWriter& Double(double d);  // three decimals
  JsonWriter& Bool(bool b);
  JsonWriter& Null();

  const std::string& text() const { return out_; }

 private:
  void BeforeValue();
  void NewLine();

  std::string out_;
  std::vector<bool> first_;  // per open container: whether no member has been written yet
  bool after_key_ = false;
};

// The JSON form of a text (quoted, with the characters JSON requires escaped).
std::string JsonQuote(std::string_view text);

}  // namespace cvimp::cli
