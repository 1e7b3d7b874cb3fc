// What the checks know about each catalogue section: the natural key its importer looks records up by, the
// references it translates through other sections, and the parent attribute of a tree. One table, each
// section and each (section, attribute -> section) named once, written after the importers (src/importers/).
#pragma once

#include <span>
#include <string_view>

namespace cvimp::check {

// One part of a natural key: an attribute read as text, or as a whole number (compared by value).
struct KeyField {
  std::string_view attribute;
  bool number = false;
  // False for a part that only tells items apart (a folder's parent): its absence is no missing key.
  bool required = true;
};

// How a reference chooses the section it points into.
enum class Target {
  kSection,         // always `target`
  kElementType,     // by the attribute `type`: 0 Pages, 1 Categories, 2 Products; other types name no section
  kCalculatorType,  // by the attribute `type`: 0 ShipMethods, anything else ShipMethodZones
  kVarString,       // `attribute` is a variant key text: each number between brackets is a key of `target`
};

struct Reference {
  std::string_view section;
  std::string_view attribute;
  Target how = Target::kSection;
  std::string_view target{};  // for kSection and kVarString
  std::string_view type{};    // for kElementType and kCalculatorType
  // True where the importer takes 0 for "no reference" and never looks it up (TranslateKey, the media and
  // folder lookups, the tree parents); false where 0 is looked up like any key.
  bool zero_is_none = true;
  // True where an absent, empty or non-numeric value ends the importer (the strict whole-number reads).
  bool required = false;
};

// An attribute that the importer converts strictly to a whole number: absent, empty or not numeric (and 0,
// where `nonzero`) ends the importer at the item.
struct NeededNumber {
  std::string_view attribute;
  bool nonzero = false;
};

struct SectionRule {
  std::string_view section;
  std::span<const KeyField> key;
  std::string_view parent{};  // the attribute naming the parent item of a tree (Folders, Categories)
  // Attributes an importer reads although its table has no such column (besides NewPKID, which every
  // section may carry from an earlier run).
  std::span<const std::string_view> extra_attributes{};
  // Besides the key and the references: the attributes the importer cannot do without.
  std::span<const NeededNumber> needed{};
};

// Every section the import reads (the sections of the import run and PageData), in the run's order.
std::span<const SectionRule> SectionRules();
// The rule of a section, or nullptr when the import does not read it (names compare exactly).
const SectionRule* RuleOf(std::string_view section);
// Every reference that the importers translate.
std::span<const Reference> References();

}  // namespace cvimp::check
