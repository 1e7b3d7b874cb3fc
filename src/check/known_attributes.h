// Which attributes an item of a section may carry: the columns of the section's table in the shop schema
// (schema/shop-schema.sql, as compiled into the record-set library), the attributes an importer reads
// although they are no columns, and NewPKID, which a catalogue saved after an import may hold.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace cvimp::check {

// The columns of a table of the shop schema, in the schema's order; empty for a table it does not have.
std::span<const std::string> SchemaColumns(std::string_view table);

// Whether an item of `section` may carry the attribute (names compare exactly, as the importers read them).
bool IsKnownAttribute(std::string_view section, std::string_view attribute);

// The column of the section's table that differs from `attribute` in letter case only, or empty: an
// attribute spelled so is never read, since the importers read attributes by their exact names.
std::string_view ColumnSpelledOtherwise(std::string_view section, std::string_view attribute);

}  // namespace cvimp::check
