#include "check/catalog_check.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <utility>

#include "catalog/item_index.h"
#include "check/catalog_rules.h"
#include "check/known_attributes.h"
#include "common/numeric.h"

namespace cvimp::check {
namespace {

constexpr std::string_view kRoot = "CalvoraCatalog";

// Whether a name held by the document (NUL-terminated) is `name`, without measuring it first.
bool NameIs(const char* held, std::string_view name) {
  for (const char c : name)
    if (*held++ != c) return false;  // most names differ in their first character
  return *held == '\0';
}

// An attribute's text, or nullopt when the item does not have it.
std::optional<std::string_view> AttributeText(pugi::xml_node item, std::string_view name) {
  for (pugi::xml_attribute a = item.first_attribute(); a; a = a.next_attribute())
    if (NameIs(a.name(), name)) return std::string_view(a.value());
  return std::nullopt;
}

// A whole number as the importers convert one (rounded, halves to even); nullopt when not numeric or beyond
// 32 bits.
std::optional<std::int32_t> WholeNumber(std::string_view text) {
  const auto n =
      TextToInteger(text, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max());
  if (!n) return std::nullopt;
  return static_cast<std::int32_t>(*n);
}

// The key an item is found by as the lookups compare PKID with a number: nullopt when the PKID is no
// whole number within 32 bits.
std::optional<std::int32_t> PkidOf(pugi::xml_node item) {
  const std::optional<std::string_view> text = AttributeText(item, "PKID");
  if (!text) return std::nullopt;
  const std::optional<double> n = catalog::XPathNumber(*text);
  if (!n || *n != static_cast<double>(static_cast<std::int64_t>(*n)) || *n < std::numeric_limits<std::int32_t>::min() ||
      *n > std::numeric_limits<std::int32_t>::max())
    return std::nullopt;
  return static_cast<std::int32_t>(*n);
}

// 32 bits of a hash, for the first-match tables.
std::uint32_t Hash32(std::string_view text) {
  const std::uint64_t h = std::hash<std::string_view>{}(text);
  return static_cast<std::uint32_t>(h ^ (h >> 32));
}
std::uint32_t Hash32(std::int32_t n) {
  std::uint64_t h = static_cast<std::uint32_t>(n) * 0x9E3779B97F4A7C15ull;  // spreads neighbouring keys
  return static_cast<std::uint32_t>(h >> 32);
}

// The sections of an element type of page data and cross references.
std::string_view SectionOfElementType(std::int32_t type) {
  switch (type) {
    case 0:
      return "Pages";
    case 1:
      return "Categories";
    case 2:
      return "Products";
    default:
      return {};
  }
}

struct Section {
  std::string_view name;
  const SectionRule* rule = nullptr;
  std::vector<pugi::xml_node> items;  // the items the import selects, in document order
  std::vector<std::uint64_t> order;   // each item's place among everything the checks report on
  // Built on first need: each item's PKID as the lookups compare it (nullopt: no item is found by it), and
  // the first item of each PKID.
  std::vector<std::optional<std::int32_t>> pkids;
  catalog::FirstMatchTable by_pkid;
  bool indexed = false;
};

class Checker {
 public:
  explicit Checker(SourceLines* lines) : lines_(lines) {}

  std::vector<Finding> Run(const catalog::Document& document) {
    const pugi::xml_node root = document.DocumentElement().raw().node();
    if (!root) return {};
    if (std::string_view(root.name()) != kRoot) {
      Add(0, FindingKind::kWrongRoot, root, {}, {}, 0, {}, {},
          "The root element is " + std::string(root.name()) + ", not CalvoraCatalog, so the import finds no section.");
      return Sorted();
    }
    Collect(root);
    for (const SectionRule& rule : SectionRules()) {
      auto found = sections_.find(rule.section);
      if (found == sections_.end()) continue;
      CheckAttributes(found->second);
      CheckKeys(found->second);
    }
    for (const SectionRule& rule : SectionRules()) {
      auto found = sections_.find(rule.section);
      if (found != sections_.end()) CheckNeeded(found->second);
    }
    for (const Reference& reference : References()) CheckReference(reference);
    for (const SectionRule& rule : SectionRules())
      if (!rule.parent.empty()) CheckLoops(rule);
    return Sorted();
  }

 private:
  // Files each item the import selects (CalvoraCatalog/<S>/<S>Item) under its section; a child of the root
  // that no importer reads is a finding of its own.
  void Collect(pugi::xml_node root) {
    for (pugi::xml_node child = root.first_child(); child; child = child.next_sibling()) {
      if (child.type() != pugi::node_element) continue;
      const std::uint64_t section_order = ++counter_;
      const std::string_view name = child.name();
      const SectionRule* rule = RuleOf(name);
      if (!rule) {
        Add(section_order, FindingKind::kUnknownSection, child, name, {}, 0, {}, {},
            "The section " + std::string(name) + " is not one the import reads, so its items are left out.");
        continue;
      }
      Section& section = sections_[rule->section];
      section.name = rule->section;
      section.rule = rule;
      const std::string item_name = std::string(name) + "Item";
      for (pugi::xml_node item = child.first_child(); item; item = item.next_sibling()) {
        if (item.type() != pugi::node_element) continue;
        if (item_name != item.name()) {
          Add(++counter_, FindingKind::kStrayElement, item, rule->section, {}, 0, {}, item.name(),
              "The element " + std::string(item.name()) + " in the section " + std::string(name) +
                  " is not one of its " + item_name + " items, so the import leaves it out.");
          continue;
        }
        section.items.push_back(item);
        section.order.push_back(++counter_);
      }
    }
  }

  void CheckAttributes(const Section& section) {
    std::vector<std::string_view> known;
    for (const std::string& column : SchemaColumns(section.name)) known.push_back(column);
    known.push_back("NewPKID");
    for (std::string_view extra : section.rule->extra_attributes) known.push_back(extra);
    for (std::size_t i = 0; i < section.items.size(); ++i) {
      for (pugi::xml_attribute a = section.items[i].first_attribute(); a; a = a.next_attribute()) {
        const std::string_view name = a.name();
        if (std::find(known.begin(), known.end(), name) != known.end()) continue;
        const std::string_view spelled = ColumnSpelledOtherwise(section.name, name);
        std::string message = ItemName(section, i) + " has the attribute " + std::string(name) + ", which ";
        if (!spelled.empty())
          message += "the import does not read, since the column is spelled " + std::string(spelled) + ".";
        else
          message += "is no column of the table " + std::string(section.name) + " and is not read by the import.";
        AddForItem(section, i, FindingKind::kUnknownAttribute, name, a.value(), std::move(message));
      }
    }
  }

  // The natural key of an item in a form that compares as the lookup compares: text parts as they stand,
  // number parts by value (absent and not numeric being 0). Notes the required parts that are absent or empty.
  static void ComposeKey(const Section& section, pugi::xml_node item, std::string& composite,
                         std::vector<std::string_view>* missing) {
    composite.clear();
    for (const KeyField& part : section.rule->key) {
      const std::optional<std::string_view> text = AttributeText(item, part.attribute);
      if (missing && part.required && (!text || text->empty())) missing->push_back(part.attribute);
      if (part.number) {
        const std::int32_t n = WholeNumber(text.value_or("")).value_or(0);
        composite.append(reinterpret_cast<const char*>(&n), sizeof n);
      } else {
        composite += text.value_or("");
      }
      composite += '\0';  // never part of XML text: the parts stay apart
    }
  }

  void CheckKeys(const Section& section) {
    // The first item of each key, by position; keys are composed again to confirm a hash match, so that the
    // table holds no text.
    catalog::FirstMatchTable first;
    first.Reserve(section.items.size());
    std::string composite, other;
    std::vector<std::string_view> missing;
    for (std::size_t i = 0; i < section.items.size(); ++i) {
      missing.clear();
      ComposeKey(section, section.items[i], composite, &missing);
      if (!missing.empty()) {
        std::string names;
        for (std::size_t m = 0; m < missing.size(); ++m)
          names += (m == 0 ? "" : m + 1 == missing.size() ? " and " : ", ") + std::string(missing[m]);
        const bool whole = missing.size() == section.rule->key.size();
        std::string message = ItemName(section, i) + " has no " + names + ", " +
                              (whole                 ? "the natural key"
                               : missing.size() == 1 ? "part of the natural key"
                                                     : "parts of the natural key") +
                              " by which the import finds its record.";
        std::string attributes;
        for (std::string_view m : missing) attributes += (attributes.empty() ? "" : ", ") + std::string(m);
        AddForItem(section, i, FindingKind::kMissingKey, attributes, {}, std::move(message));
        continue;
      }
      const std::uint32_t hash = Hash32(composite);
      const std::uint32_t earlier_item = first.Find(hash, [&](std::uint32_t j) {
        ComposeKey(section, section.items[j], other, nullptr);
        return other == composite;
      });
      if (earlier_item == catalog::FirstMatchTable::kNone) {
        first.Add(static_cast<std::uint32_t>(i), hash, [](std::uint32_t) { return false; });
        continue;
      }
      const SourcePlace earlier = Place(section.items[earlier_item]);
      std::string message = ItemName(section, i) + " repeats the natural key " + KeyText(section, i) + " of item " +
                            std::to_string(earlier_item + 1) +
                            (earlier.line ? " (line " + std::to_string(earlier.line) + ")" : "") +
                            ", so the import writes both into one record.";
      AddForItem(section, i, FindingKind::kRepeatedKey, {}, {}, std::move(message));
    }
  }

  void CheckNeeded(const Section& section) {
    for (const NeededNumber& needed : section.rule->needed) {
      for (std::size_t i = 0; i < section.items.size(); ++i) {
        const std::optional<std::string_view> text = AttributeText(section.items[i], needed.attribute);
        const std::optional<std::int32_t> n = WholeNumber(text.value_or(""));
        if (n && !(needed.nonzero && *n == 0)) continue;
        const std::string attribute(needed.attribute);
        std::string what;
        if (!text || text->empty())
          what = "has no " + attribute;
        else if (n)
          what = "has the " + attribute + " 0";
        else
          what = "has the " + attribute + " " + std::string(*text) + ", not a whole number";
        AddForItem(section, i, FindingKind::kMissingValue, needed.attribute, text.value_or(""),
                   ItemName(section, i) + " " + what + ", which ends the import of " + std::string(section.name) +
                       " at this item.");
      }
    }
  }

  void CheckReference(const Reference& reference) {
    auto found = sections_.find(reference.section);
    if (found == sections_.end()) return;
    const Section& section = found->second;
    for (std::size_t i = 0; i < section.items.size(); ++i) {
      const pugi::xml_node item = section.items[i];
      if (reference.how == Target::kVarString) {
        CheckVarString(section, i, reference);
        continue;
      }
      const std::optional<std::string_view> text = AttributeText(item, reference.attribute);
      const bool empty = !text || text->empty();
      if (empty && IsRequiredKeyPart(section, reference.attribute)) continue;  // reported as a missing key
      // The section pointed into.
      std::string_view target = reference.target;
      std::string type_note;
      if (reference.how == Target::kElementType || reference.how == Target::kCalculatorType) {
        const std::optional<std::string_view> type_text = AttributeText(item, reference.type);
        if ((!type_text || type_text->empty()) && IsRequiredKeyPart(section, reference.type)) continue;
        const std::optional<std::int32_t> type = WholeNumber(type_text.value_or(""));
        if (reference.how == Target::kElementType) {
          if (!type) continue;
          target = SectionOfElementType(*type);
          if (target.empty()) continue;  // an element type the import keeps as it is
        } else {
          target = type.value_or(0) != 0 ? "ShipMethodZones" : "ShipMethods";
        }
        type_note = " (" + std::string(reference.type) + " " + std::to_string(type.value_or(0)) + ")";
      }
      auto where = [&] {
        return ItemName(section, i) + " refers through " + std::string(reference.attribute) + type_note;
      };
      if (empty) {
        if (reference.required)
          AddForItem(section, i, FindingKind::kUnresolvedReference, reference.attribute, {},
                     ItemName(section, i) + " has no " + std::string(reference.attribute) +
                         ", which the import needs to find its item in " + std::string(target) + ".");
        else if (!reference.zero_is_none && !ItemWithKey(target, 0))
          AddForItem(section, i, FindingKind::kUnresolvedReference, reference.attribute, {},
                     ItemName(section, i) + " has no " + std::string(reference.attribute) +
                         ", read by the import as the key 0, which no item of " + std::string(target) + " has.");
        continue;
      }
      const std::optional<std::int32_t> key = WholeNumber(*text);
      if (!key) {
        AddForItem(section, i, FindingKind::kUnresolvedReference, reference.attribute, *text,
                   where() + " to " + std::string(*text) + ", which is not a key of " + std::string(target) + ".");
        continue;
      }
      if ((*key == 0 && reference.zero_is_none) || ItemWithKey(target, *key)) continue;
      AddForItem(section, i, FindingKind::kUnresolvedReference, reference.attribute, *text,
                 where() + " to the key " + std::string(*text) + ", which no item of " + std::string(target) + " has.");
    }
  }

  // A variant key text: each piece up to a closing bracket, cut at the opening bracket of the next group, that
  // is a number is a key of the variant values (0 being none).
  void CheckVarString(const Section& section, std::size_t i, const Reference& reference) {
    const std::string_view text = AttributeText(section.items[i], reference.attribute).value_or("");
    std::size_t start = 0;
    for (bool last = false; !last;) {
      const std::size_t end = text.find(']', start);
      last = end == std::string_view::npos;
      std::string_view piece = text.substr(std::min(start, text.size()), last ? std::string_view::npos : end - start);
      start = end + 1;
      if (const std::size_t bracket = piece.find('['); bracket != std::string_view::npos && bracket > 0)
        piece = piece.substr(0, bracket);
      if (!IsNumericText(piece)) continue;
      const std::optional<std::int32_t> key = WholeNumber(piece);
      if (key && (*key == 0 || ItemWithKey(reference.target, *key))) continue;
      AddForItem(section, i, FindingKind::kUnresolvedReference, reference.attribute, piece,
                 ItemName(section, i) + " names in its " + std::string(reference.attribute) + " the key " +
                     std::string(piece) + ", which no item of " + std::string(reference.target) + " has.");
    }
  }

  // The first item of the section whose PKID equals `key`, or nullopt.
  std::optional<std::uint32_t> ItemWithKey(std::string_view section_name, std::int32_t key) {
    auto found = sections_.find(section_name);
    if (found == sections_.end()) return std::nullopt;
    Section& section = found->second;
    if (!section.indexed) {
      section.indexed = true;
      section.pkids.reserve(section.items.size());
      section.by_pkid.Reserve(section.items.size());
      for (std::size_t i = 0; i < section.items.size(); ++i) {
        section.pkids.push_back(PkidOf(section.items[i]));
        if (const std::optional<std::int32_t> pkid = section.pkids.back())
          section.by_pkid.Add(static_cast<std::uint32_t>(i), Hash32(*pkid),
                              [&](std::uint32_t j) { return section.pkids[j] == pkid; });
      }
    }
    const std::uint32_t item =
        section.by_pkid.Find(Hash32(key), [&](std::uint32_t j) { return section.pkids[j] == key; });
    if (item == catalog::FirstMatchTable::kNone) return std::nullopt;
    return item;
  }

  // Parent chains that come back to where they started: one finding per loop, on its first item in the file.
  // A parent that is not there is an unresolved reference, reported with the references.
  void CheckLoops(const SectionRule& rule) {
    auto found = sections_.find(rule.section);
    if (found == sections_.end()) return;
    const std::size_t count = found->second.items.size();
    constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
    std::vector<std::uint32_t> parent(count, kNone);
    for (std::size_t i = 0; i < count; ++i) {
      const std::optional<std::int32_t> key =
          WholeNumber(AttributeText(found->second.items[i], rule.parent).value_or(""));
      if (!key || *key == 0) continue;
      if (const std::optional<std::uint32_t> p = ItemWithKey(rule.section, *key)) parent[i] = *p;
    }
    enum : std::uint8_t { kNew, kOnPath, kDone };
    std::vector<std::uint8_t> state(count, kNew);
    std::vector<std::uint32_t> path;
    const Section& section = found->second;
    for (std::size_t start = 0; start < count; ++start) {
      path.clear();
      std::uint32_t at = static_cast<std::uint32_t>(start);
      while (at != kNone && state[at] == kNew) {
        state[at] = kOnPath;
        path.push_back(at);
        at = parent[at];
      }
      if (at != kNone && state[at] == kOnPath) {
        const auto loop_start = std::find(path.begin(), path.end(), at);
        const std::uint32_t first = *std::min_element(loop_start, path.end());
        // The chain from the loop's first item round to it again (its first steps, when it is long).
        constexpr std::size_t kShown = 8;
        std::string chain;
        std::size_t length = 0;
        std::uint32_t step = first;
        do {
          if (length++ < kShown) chain += std::string(AttributeText(section.items[step], "PKID").value_or("")) + " -> ";
          step = parent[step];
        } while (step != first);
        if (length > kShown) chain += "... (" + std::to_string(length) + " items) -> ";
        chain += std::string(AttributeText(section.items[first], "PKID").value_or(""));
        // The import builds each folder's path up through its parents, and a path that comes round ends it.
        const std::string consequence =
            rule.section == "Folders" ? ", so the import of Folders ends at the first folder whose path leads into it"
                                      : "";
        AddForItem(section, first, FindingKind::kParentLoop, rule.parent,
                   AttributeText(section.items[first], rule.parent).value_or(""),
                   ItemName(section, first) + " is its own ancestor through " + std::string(rule.parent) +
                       ", by the PKIDs " + chain + consequence + ".");
      }
      for (std::uint32_t p : path) state[p] = kDone;
    }
  }

  static bool IsRequiredKeyPart(const Section& section, std::string_view attribute) {
    for (const KeyField& part : section.rule->key)
      if (part.attribute == attribute && part.required) return true;
    return false;
  }

  static std::string ItemName(const Section& section, std::size_t i) {
    return "Item " + std::to_string(i + 1) + " of " + std::string(section.name);
  }

  // The natural key as text: the value of a one-part key, "A=1, B=2" for several parts.
  static std::string KeyText(const Section& section, std::size_t i) {
    const auto& key = section.rule->key;
    if (key.size() == 1) return std::string(AttributeText(section.items[i], key[0].attribute).value_or(""));
    std::string text;
    for (const KeyField& part : key) {
      if (!text.empty()) text += ", ";
      text +=
          std::string(part.attribute) + "=" + std::string(AttributeText(section.items[i], part.attribute).value_or(""));
    }
    return text;
  }

  SourcePlace Place(pugi::xml_node element) { return lines_ ? lines_->Locate(element) : SourcePlace{}; }

  void AddForItem(const Section& section, std::size_t i, FindingKind kind, std::string_view attribute,
                  std::string_view value, std::string message) {
    Add(section.order[i], kind, section.items[i], section.name, KeyText(section, i), i + 1, attribute, value,
        std::move(message));
  }

  void Add(std::uint64_t order, FindingKind kind, pugi::xml_node element, std::string_view section, std::string key,
           std::size_t item, std::string_view attribute, std::string_view value, std::string message) {
    const SourcePlace place = Place(element);
    findings_.emplace_back(order, Finding{kind, std::string(section), item, std::move(key), place.line, place.column,
                                          std::string(attribute), std::string(value), std::move(message)});
  }

  std::vector<Finding> Sorted() {
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<Finding> out;
    out.reserve(findings_.size());
    for (auto& [order, finding] : findings_) out.push_back(std::move(finding));
    return out;
  }

  SourceLines* lines_;
  std::map<std::string_view, Section, std::less<>> sections_;
  std::vector<std::pair<std::uint64_t, Finding>> findings_;
  std::uint64_t counter_ = 0;
};

}  // namespace

std::vector<Finding> CheckDocument(const catalog::Document& document, SourceLines* lines) {
  return Checker(lines).Run(document);
}

std::vector<Finding> CheckCatalogFile(const std::string& path) {
  catalog::Document document;
  if (!document.Load(path)) {
    const catalog::LoadError& error = document.load_error();
    return {Finding{FindingKind::kNotWellFormed,
                    {},
                    0,
                    {},
                    error.line,
                    error.column,
                    {},
                    {},
                    "The catalogue cannot be read as XML: " + error.reason + "."}};
  }
  SourceLines lines = SourceLines::OfFile(path);
  return CheckDocument(document, &lines);
}

}  // namespace cvimp::check
