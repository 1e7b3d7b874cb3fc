// The exact index behind the document's item lookups: per section its items in document order and, built
// on first use of each form, hash tables from a key to the first item in document order that has it.
// Tables hold item positions only; keys are read from the DOM again to confirm a hash match, so the index
// stays small (8 bytes per item and form) and never holds an attribute value that the run may change.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace cvimp::catalog {

// The number that XPath 1.0 makes of a text: optional white space (space, tab, CR, LF), an optional '-',
// digits with an optional '.' and fraction (at least one digit in all), optional white space. Anything
// else is NaN, returned as nullopt. The value is the nearest double, as strtod gives it in the C locale.
std::optional<double> XPathNumber(std::string_view text);

// True when `name` can stand in a path as one name step, so that the path selects elements of exactly
// this name: an XML name without a colon (the byte rules of the XPath evaluation's lexer).
bool IsNameStep(std::string_view name);

// A count of changes to the attributes that the index reads (PKID, ElType, ElRef), shared by all
// documents. An index built at another count is out of date.
std::uint64_t KeyedAttributeChanges();
void NoteAttributeChange(std::string_view attribute_name);

// Hash table from a key to the position of the first item that has it. The caller supplies the key's hash
// and, through `matches`, the comparison with an item's own key.
class FirstMatchTable {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  void Reserve(std::size_t keys);
  // Adds `item` under `hash` unless an earlier item with an equal key is there already.
  template <class Matches>
  void Add(std::uint32_t item, std::uint32_t hash, Matches&& matches) {
    if (Find(hash, matches) == kNone) Insert(item, hash);
  }
  template <class Matches>
  std::uint32_t Find(std::uint32_t hash, Matches&& matches) const {
    if (slots_.empty()) return kNone;
    for (std::size_t i = Home(hash);; i = i + 1 == slots_.size() ? 0 : i + 1) {
      const Slot& slot = slots_[i];
      if (slot.item == kNone) return kNone;
      if (slot.hash == hash && matches(slot.item)) return slot.item;
    }
  }
  std::size_t memory_bytes() const { return slots_.capacity() * sizeof(Slot); }

 private:
  struct Slot {
    std::uint32_t item = kNone;
    std::uint32_t hash = 0;
  };
  std::size_t Home(std::uint32_t hash) const {
    return static_cast<std::size_t>((static_cast<std::uint64_t>(hash) * slots_.size()) >> 32);
  }
  void Insert(std::uint32_t item, std::uint32_t hash);
  std::vector<Slot> slots_;
};

class ItemIndex {
 public:
  explicit ItemIndex(const pugi::xml_document& doc);

  // The change count at which the index was built (see KeyedAttributeChanges).
  std::uint64_t built_at() const { return built_at_; }

  // The forms of Document; `section` and `element` must satisfy IsNameStep. Empty node: no match.
  const std::vector<pugi::xml_node>& SectionItems(std::string_view section);
  pugi::xml_node ItemByNumber(std::string_view section, double key);
  pugi::xml_node ItemByText(std::string_view section, std::string_view key);
  pugi::xml_node ElementAnywhere(std::string_view element, std::string_view key);
  pugi::xml_node PageDataItem(std::string_view element_type, std::string_view element_key);

  // What the tables built so far occupy, for the benchmark.
  std::size_t memory_bytes() const;

 private:
  struct ItemSet {
    std::vector<pugi::xml_node> items;  // in document order
    std::unique_ptr<FirstMatchTable> by_number, by_text, by_page_data;
  };
  ItemSet& Section(std::string_view section);
  ItemSet& Anywhere(std::string_view element);
  static pugi::xml_node FindText(ItemSet& set, std::string_view key);

  const pugi::xml_document& doc_;
  std::uint64_t built_at_;
  std::map<std::string, ItemSet, std::less<>> sections_;
  // Every element of the document filed under its name by one walk, on the first lookup anywhere; the names
  // are the document's own (elements are never renamed).
  std::unordered_map<std::string_view, ItemSet> by_name_;
  bool walked_ = false;
  ItemSet no_elements_;  // for a name that no element has
};

}  // namespace cvimp::catalog
