// What a static check of a catalogue finds: one problem, placed by section, item and line, in words a user
// can act on.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

namespace cvimp::check {

enum class FindingKind {
  kNotWellFormed,        // the file is not XML (or cannot be read): nothing else is checked
  kWrongRoot,            // the root element is not CalvoraCatalog: the import finds no section
  kUnknownSection,       // a child of the root that no importer reads
  kStrayElement,         // an element in a section that is not one of its items (<S>Item), so never read
  kUnknownAttribute,     // an item attribute that is neither a column of the section's table nor read otherwise
  kMissingKey,           // an item without (part of) its natural key
  kRepeatedKey,          // an item whose natural key an earlier item of the section has
  kMissingValue,         // an attribute the importer needs as a whole number is absent or not one: it ends there
  kUnresolvedReference,  // a reference that names no item of the section it points into
  kParentLoop,           // a folder or category whose parent chain comes back to it
};

// A stable name of each kind, for reports ("unresolved-reference").
std::string_view KindName(FindingKind kind);

struct Finding {
  FindingKind kind;
  std::string section;     // empty for problems of the whole file
  std::size_t item = 0;    // 1-based position among the section's items; 0 when not about an item
  std::string key;         // the item's natural key as text ("A=1, B=2" for a key of several parts)
  std::size_t line = 0;    // 1-based, of the element's start tag (or of the fault); 0 when not known
  std::size_t column = 0;  // 1-based, in characters
  std::string attribute;   // the attribute concerned, if any
  std::string value;       // the attribute's value (for a reference: the key that names nothing)
  std::string message;     // one plain English sentence

  bool operator==(const Finding&) const = default;
};

// One line of text per finding, for test output and logs.
std::ostream& operator<<(std::ostream& out, const Finding& finding);

}  // namespace cvimp::check
