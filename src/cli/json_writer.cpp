#include "cli/json_writer.h"

#include <cstdio>

namespace cvimp::cli {

std::string JsonQuote(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) {
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
          out += escaped;
        } else {
          out += c;
        }
    }
  }
  return out + "\"";
}

void JsonWriter::NewLine() {
  out_ += '\n';
  out_.append(2 * first_.size(), ' ');
}

void JsonWriter::BeforeValue() {
  if (after_key_) {
    after_key_ = false;
    return;
  }
  if (first_.empty()) return;
  if (!first_.back()) out_ += ',';
  first_.back() = false;
  NewLine();
}

JsonWriter& JsonWriter::Key(std::string_view key) {
  BeforeValue();
  out_ += JsonQuote(key) + ": ";
  after_key_ = true;
  return *this;
}

JsonWriter& JsonWriter::BeginObject() {
  BeforeValue();
  out_ += '{';
  first_.push_back(true);
  return *this;
}

JsonWriter& JsonWriter::EndObject() {
  const bool empty = first_.back();
  first_.pop_back();
  if (!empty) NewLine();
  out_ += '}';
  if (first_.empty()) out_ += '\n';
  return *this;
}

JsonWriter& JsonWriter::BeginArray() {
  BeforeValue();
  out_ += '[';
  first_.push_back(true);
  return *this;
}

JsonWriter& JsonWriter::EndArray() {
  const bool empty = first_.back();
  first_.pop_back();
  if (!empty) NewLine();
  out_ += ']';
  return *this;
}

JsonWriter& JsonWriter::String(std::string_view text) {
  BeforeValue();
  out_ += JsonQuote(text);
  return *this;
}

JsonWriter& JsonWriter::Number(std::int64_t n) {
  BeforeValue();
  out_ += std::to_string(n);
  return *this;
}

JsonWriter& JsonWriter::Double(double d) {
  BeforeValue();
  char text[64];
  std::snprintf(text, sizeof text, "%.3f", d);
  out_ += text;
  return *this;
}

JsonWriter& JsonWriter::Bool(bool b) {
  BeforeValue();
  out_ += b ? "true" : "false";
  return *this;
}

JsonWriter& JsonWriter::Null() {
  BeforeValue();
  out_ += "null";
  return *this;
}

}  // namespace cvimp::cli
