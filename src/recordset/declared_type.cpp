#include "recordset/declared_type.h"

#include <cctype>

namespace cvimp::recordset {
namespace {

// Upper case, blanks removed: "varchar ( 255 )" becomes "VARCHAR(255)".
std::string Canonical(std::string_view declared) {
  std::string out;
  out.reserve(declared.size());
  for (char c : declared) {
    if (std::isspace(static_cast<unsigned char>(c))) continue;
    out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return out;
}

}  // namespace

std::optional<FieldType> ParseDeclaredType(std::string_view declared) {
  const std::string d = Canonical(declared);
  if (d == "INTEGER") return FieldType{DataType::kInteger, 0};
  if (d == "BIGINT") return FieldType{DataType::kBigInt, 0};
  if (d == "SMALLINT") return FieldType{DataType::kSmallInt, 0};
  if (d == "DOUBLE") return FieldType{DataType::kDouble, 0};
  if (d == "CURRENCY") return FieldType{DataType::kCurrency, 0};
  if (d == "DATETIME") return FieldType{DataType::kDate, 0};
  if (d == "YESNO") return FieldType{DataType::kBoolean, 0};
  if (d == "LONGTEXT") return FieldType{DataType::kLongVarWChar, 0};
  constexpr std::string_view kVarchar = "VARCHAR(";
  if (d.size() > kVarchar.size() + 1 && d.starts_with(kVarchar) && d.back() == ')') {
    std::string_view digits(d.data() + kVarchar.size(), d.size() - kVarchar.size() - 1);
    if (digits.size() > 9) return std::nullopt;
    int n = 0;
    for (char c : digits) {
      if (c < '0' || c > '9') return std::nullopt;
      n = n * 10 + (c - '0');
    }
    if (n == 0) return std::nullopt;
    return FieldType{DataType::kVarWChar, n};
  }
  return std::nullopt;
}

FieldType FieldTypeOfDeclaration(std::string_view declared) {
  if (auto known = ParseDeclaredType(declared)) return *known;
  const std::string d = Canonical(declared);
  auto has = [&](std::string_view word) { return d.find(word) != std::string::npos; };
  if (has("INT")) return {DataType::kBigInt, 0};
  if (has("REAL") || has("FLOA") || has("DOUB")) return {DataType::kDouble, 0};
  return {DataType::kLongVarWChar, 0};
}

std::string DeclaredTypeName(DataType type, int size) {
  switch (type) {
    case DataType::kSmallInt:
      return "SMALLINT";
    case DataType::kInteger:
      return "INTEGER";
    case DataType::kDouble:
      return "DOUBLE";
    case DataType::kCurrency:
      return "CURRENCY";
    case DataType::kDate:
      return "DATETIME";
    case DataType::kBoolean:
      return "YESNO";
    case DataType::kBigInt:
      return "BIGINT";
    case DataType::kLongVarChar:
      return "LONGTEXT";
    case DataType::kLongVarWChar:
      return "LONGTEXT";
    case DataType::kVarWChar:
      return size > 0 ? "VARCHAR(" + std::to_string(size) + ")" : "VARCHAR";
  }
  return "?";
}

}  // namespace cvimp::recordset
