#include "testing/json_value.h"

#include <cmath>
#include <cstdlib>

namespace cvimp::testing {
namespace {

class Reader {
 public:
  explicit Reader(const std::string& text) : s_(text) {}

  Json Document() {
    Json value = Value();
    Blanks();
    if (i_ != s_.size()) Fail("text after the value");
    return value;
  }

 private:
  [[noreturn]] void Fail(const std::string& why) const {
    throw std::runtime_error("not JSON at offset " + std::to_string(i_) + ": " + why);
  }
  void Blanks() {
    while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\n' || s_[i_] == '\r' || s_[i_] == '\t')) ++i_;
  }
  bool Literal(const char* word) {
    const std::string w(word);
    if (s_.compare(i_, w.size(), w) != 0) return false;
    i_ += w.size();
    return true;
  }
  void Expect(char c) {
    Blanks();
    if (i_ >= s_.size() || s_[i_] != c) Fail(std::string("expected '") + c + "'");
    ++i_;
  }

  Json Value() {
    Blanks();
    if (i_ >= s_.size()) Fail("unexpected end");
    Json v;
    const char c = s_[i_];
    if (c == '{') {
      v.type = Json::Type::kObject;
      ++i_;
      Blanks();
      if (i_ < s_.size() && s_[i_] == '}') {
        ++i_;
        return v;
      }
      for (;;) {
        Blanks();
        if (i_ >= s_.size() || s_[i_] != '"') Fail("expected a member name");
        std::string key = String();
        Expect(':');
        if (v.members.count(key)) Fail("member " + key + " twice");
        v.members[key] = Value();
        Blanks();
        if (i_ < s_.size() && s_[i_] == ',') {
          ++i_;
          continue;
        }
        Expect('}');
        return v;
      }
    }
    if (c == '[') {
      v.type = Json::Type::kArray;
      ++i_;
      Blanks();
      if (i_ < s_.size() && s_[i_] == ']') {
        ++i_;
        return v;
      }
      for (;;) {
        v.items.push_back(Value());
        Blanks();
        if (i_ < s_.size() && s_[i_] == ',') {
          ++i_;
          continue;
        }
        Expect(']');
        return v;
      }
    }
    if (c == '"') {
      v.type = Json::Type::kString;
      v.text = String();
      return v;
    }
    if (Literal("true")) {
      v.type = Json::Type::kBool;
      v.boolean = true;
      return v;
    }
    if (Literal("false")) {
      v.type = Json::Type::kBool;
      return v;
    }
    if (Literal("null")) return v;
    return Number();
  }

  Json Number() {
    const std::size_t start = i_;
    if (i_ < s_.size() && s_[i_] == '-') ++i_;
    auto digits = [&] {
      const std::size_t from = i_;
      while (i_ < s_.size() && s_[i_] >= '0' && s_[i_] <= '9') ++i_;
      if (i_ == from) Fail("expected a digit");
    };
    digits();
    Json v;
    v.type = Json::Type::kNumber;
    v.integral = true;
    if (i_ < s_.size() && s_[i_] == '.') {
      ++i_;
      digits();
      v.integral = false;
    }
    if (i_ < s_.size() && (s_[i_] == 'e' || s_[i_] == 'E')) {
      ++i_;
      if (i_ < s_.size() && (s_[i_] == '+' || s_[i_] == '-')) ++i_;
      digits();
      v.integral = false;
    }
    v.number = std::strtod(s_.substr(start, i_ - start).c_str(), nullptr);
    return v;
  }

  static void AppendUtf8(unsigned cp, std::string& out) {
    if (cp < 0x80) {
      out += static_cast<char>(cp);
    } else if (cp < 0x800) {
      out += static_cast<char>(0xC0 | (cp >> 6));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      out += static_cast<char>(0xE0 | (cp >> 12));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    }
  }

  std::string String() {
    ++i_;  // the opening quote
    std::string out;
    for (;;) {
      if (i_ >= s_.size()) Fail("unterminated string");
      const char c = s_[i_++];
      if (c == '"') return out;
      if (static_cast<unsigned char>(c) < 0x20) Fail("control character in a string");
      if (c != '\\') {
        out += c;
        continue;
      }
      if (i_ >= s_.size()) Fail("unterminated escape");
      const char e = s_[i_++];
      switch (e) {
        case '"':
          out += '"';
          break;
        case '\\':
          out += '\\';
          break;
        case '/':
          out += '/';
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'n':
          out += '\n';
          break;
        case 'r':
          out += '\r';
          break;
        case 't':
          out += '\t';
          break;
        case 'u': {
          if (i_ + 4 > s_.size()) Fail("short \\u escape");
          AppendUtf8(static_cast<unsigned>(std::stoul(s_.substr(i_, 4), nullptr, 16)), out);
          i_ += 4;
          break;
        }
        default:
          Fail("unknown escape");
      }
    }
  }

  const std::string& s_;
  std::size_t i_ = 0;
};

bool HasType(const Json& v, const std::string& type) {
  if (type == "null") return v.type == Json::Type::kNull;
  if (type == "boolean") return v.type == Json::Type::kBool;
  if (type == "number") return v.type == Json::Type::kNumber;
  if (type == "integer") return v.type == Json::Type::kNumber && v.integral;
  if (type == "string") return v.type == Json::Type::kString;
  if (type == "array") return v.type == Json::Type::kArray;
  if (type == "object") return v.type == Json::Type::kObject;
  throw std::runtime_error("the schema names an unknown type " + type);
}

bool SameValue(const Json& a, const Json& b) {
  if (a.type != b.type) return false;
  switch (a.type) {
    case Json::Type::kNull:
      return true;
    case Json::Type::kBool:
      return a.boolean == b.boolean;
    case Json::Type::kNumber:
      return a.number == b.number;
    case Json::Type::kString:
      return a.text == b.text;
    default:
      return false;  // the schema compares scalars only
  }
}

void Check(const Json& v, const Json& schema, const std::string& at, std::vector<std::string>& out) {
  static const char* const kKnown[] = {
      "$schema", "$id",      "title",      "description",          "type", "const", "enum",
      "minimum", "required", "properties", "additionalProperties", "items"};
  for (const auto& [keyword, _] : schema.members) {
    bool known = false;
    for (const char* k : kKnown) known = known || keyword == k;
    if (!known) throw std::runtime_error("the schema uses " + keyword + ", which this check does not know");
  }
  if (schema.has("type")) {
    const Json& type = schema["type"];
    bool ok = false;
    std::string names;
    if (type.type == Json::Type::kString) {
      ok = HasType(v, type.text);
      names = type.text;
    } else {
      for (const Json& t : type.items) {
        ok = ok || HasType(v, t.text);
        names += (names.empty() ? "" : " or ") + t.text;
      }
    }
    if (!ok) {
      out.push_back(at + ": expected " + names);
      return;
    }
  }
  if (schema.has("const") && !SameValue(v, schema["const"])) out.push_back(at + ": not the constant value");
  if (schema.has("enum")) {
    bool found = false;
    for (const Json& e : schema["enum"].items) found = found || SameValue(v, e);
    if (!found) out.push_back(at + ": not one of the values allowed");
  }
  if (schema.has("minimum") && v.type == Json::Type::kNumber && v.number < schema["minimum"].number)
    out.push_back(at + ": below the minimum");
  if (v.type == Json::Type::kObject) {
    if (schema.has("required"))
      for (const Json& name : schema["required"].items)
        if (!v.has(name.text)) out.push_back(at + ": lacks " + name.text);
    for (const auto& [key, member] : v.members) {
      if (schema.has("properties") && schema["properties"].has(key)) {
        Check(member, schema["properties"][key], at + "." + key, out);
      } else if (schema.has("additionalProperties") && !schema["additionalProperties"].boolean) {
        out.push_back(at + ": unexpected member " + key);
      }
    }
  }
  if (v.type == Json::Type::kArray && schema.has("items"))
    for (std::size_t i = 0; i < v.items.size(); ++i)
      Check(v.items[i], schema["items"], at + "[" + std::to_string(i) + "]", out);
}

}  // namespace

Json ParseJson(const std::string& text) { return Reader(text).Document(); }

std::vector<std::string> SchemaViolations(const Json& value, const Json& schema) {
  std::vector<std::string> out;
  Check(value, schema, "$", out);
  return out;
}

}  // namespace cvimp::testing
