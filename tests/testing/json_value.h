// A JSON value read from text, and a check of a value against the part of JSON Schema that the report's
// schema uses (type, const, enum, minimum, required, properties, additionalProperties: false, items). Enough
// to read cvimport's reports back in tests; not a general JSON library.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace cvimp::testing {

struct Json {
  enum class Type { kNull, kBool, kNumber, kString, kArray, kObject };
  Type type = Type::kNull;
  bool boolean = false;
  double number = 0;
  bool integral = false;  // written without fraction or exponent
  std::string text;
  std::vector<Json> items;
  std::map<std::string, Json> members;

  const Json& operator[](const std::string& key) const {
    auto found = members.find(key);
    if (found == members.end()) throw std::out_of_range("no member " + key);
    return found->second;
  }
  const Json& operator[](std::size_t i) const { return items.at(i); }
  std::int64_t integer() const { return static_cast<std::int64_t>(number); }
  bool has(const std::string& key) const { return members.count(key) > 0; }
};

// Reads a whole JSON text; throws std::runtime_error with the offset where it is not JSON.
Json ParseJson(const std::string& text);

// The places where `value` breaks `schema` ("$.sections[2].items: expected integer"), empty when it conforms.
std::vector<std::string> SchemaViolations(const Json& value, const Json& schema);

}  // namespace cvimp::testing
