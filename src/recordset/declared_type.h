// The declared column types of a shop database and the field types they stand for: "VARCHAR(255)" is a
// kVarWChar field of at most 255 characters, "YESNO" a kBoolean field, and so on.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "recordset/recordset.h"

namespace cvimp::recordset {

struct FieldType {
  DataType type = DataType::kVarWChar;
  int size = 0;  // n of VARCHAR(n); 0 for every other type
  bool operator==(const FieldType&) const = default;
};

// The field type of a declared type of the shop schema's vocabulary, without regard to case and blanks;
// nullopt for a declaration outside it.
std::optional<FieldType> ParseDeclaredType(std::string_view declared);

// The field type of any declared type: the shop vocabulary first, otherwise by the words in it, as SQLite
// derives a column's affinity (INT: BIGINT, CHAR/CLOB/TEXT: LONGTEXT, REAL/FLOA/DOUB: DOUBLE, anything
// else: LONGTEXT).
FieldType FieldTypeOfDeclaration(std::string_view declared);

// The declaration that stands for a field type: "INTEGER", "VARCHAR(255)", "LONGTEXT".
std::string DeclaredTypeName(DataType type, int size);
inline std::string DeclaredTypeName(const Column& column) { return DeclaredTypeName(column.type, column.size); }

}  // namespace cvimp::recordset
