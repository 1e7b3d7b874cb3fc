// Lookups that differ only in the values they look for ("... WHERE Name='a'", "... WHERE Name='b'") share
// one prepared statement: the literal texts and whole numbers of the WHERE clause are taken out as
// parameters. A bound parameter compares exactly as the literal would (neither has an affinity), so the
// statement means the same; only the statement text that SQLite compiles is shared.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/value.h"

namespace cvimp::recordset {

struct ParameterizedStatement {
  std::string text;               // the statement with ? in place of the literals
  std::vector<Value> parameters;  // their values in order: texts and 64-bit whole numbers
};

// The literals of a SELECT's WHERE clause, up to its first ORDER, GROUP, HAVING, LIMIT, WINDOW or nested
// SELECT or compound, as parameters. nullopt for a statement that is not one plain SELECT (one that
// starts otherwise, holds parameters of its own or a semicolon, or a literal glued to a word like X'00').
std::optional<ParameterizedStatement> ParameterizeWhereLiterals(std::string_view sql);

}  // namespace cvimp::recordset
