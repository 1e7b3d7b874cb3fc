#include "catalog/item_index.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

namespace cvimp::catalog {
namespace {

constexpr const char* kRoot = "CalvoraCatalog";
constexpr const char* kKey = "PKID";

std::atomic<std::uint64_t> keyed_attribute_changes{0};

bool IsXPathSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::uint32_t HashText(std::string_view text) {
  const std::uint64_t h = std::hash<std::string_view>{}(text);
  return static_cast<std::uint32_t>(h ^ (h >> 32));
}

std::uint32_t Mix(std::uint64_t x) {
  // The finaliser of splitmix64: every input bit reaches every output bit.
  x ^= x >> 30;
  x *= 0xbf58476d1ce4e5b9ULL;
  x ^= x >> 27;
  x *= 0x94d049bb133111ebULL;
  x ^= x >> 31;
  return static_cast<std::uint32_t>(x ^ (x >> 32));
}

// -0 and 0 are one key, as they compare equal.
std::uint32_t HashNumber(double value) { return Mix(std::bit_cast<std::uint64_t>(value == 0 ? 0.0 : value)); }

bool HasName(pugi::xml_node node, std::string_view name) {
  return node.type() == pugi::node_element && name == node.name();
}

// The attribute's value; nullptr when the element has no such attribute.
const char* AttributeValue(pugi::xml_node node, const char* name) {
  pugi::xml_attribute a = node.attribute(name);
  return a ? a.value() : nullptr;
}

std::optional<double> KeyNumber(pugi::xml_node item) {
  const char* text = AttributeValue(item, kKey);
  return text ? XPathNumber(text) : std::nullopt;
}

bool HasKeyText(pugi::xml_node item, std::string_view key) {
  const char* text = AttributeValue(item, kKey);
  return text && key == text;
}

std::uint32_t HashPair(std::string_view first, std::string_view second) {
  return Mix((static_cast<std::uint64_t>(HashText(first)) << 32) | HashText(second));
}

}  // namespace

std::optional<double> XPathNumber(std::string_view text) {
  std::size_t begin = 0, end = text.size();
  while (begin < end && IsXPathSpace(text[begin])) ++begin;
  while (end > begin && IsXPathSpace(text[end - 1])) --end;
  const std::string_view number = text.substr(begin, end - begin);
  std::size_t i = number.starts_with('-') ? 1 : 0;
  std::size_t digits = 0;
  bool integer_part_nonzero = false;
  for (; i < number.size() && IsDigit(number[i]); ++i, ++digits) integer_part_nonzero |= number[i] != '0';
  if (i < number.size() && number[i] == '.') {
    for (++i; i < number.size() && IsDigit(number[i]); ++i) ++digits;
  }
  if (digits == 0 || i != number.size()) return std::nullopt;
  double value = 0;
  const auto [ptr, ec] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (ec == std::errc::result_out_of_range) {
    // Beyond the range of a double: the nearest double is infinity when the integer part is not zero,
    // and zero for a fraction too small to tell from it.
    value = integer_part_nonzero ? std::numeric_limits<double>::infinity() : 0.0;
    if (number.starts_with('-')) value = -value;
  } else if (ec != std::errc() || ptr != number.data() + number.size()) {
    return std::nullopt;
  }
  return value;
}

bool IsNameStep(std::string_view name) {
  auto start = [](unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c >= 0x80;
  };
  auto rest = [&](unsigned char c) { return start(c) || IsDigit(static_cast<char>(c)) || c == '-' || c == '.'; };
  if (name.empty() || !start(static_cast<unsigned char>(name[0]))) return false;
  return std::all_of(name.begin() + 1, name.end(), [&](char c) { return rest(static_cast<unsigned char>(c)); });
}

std::uint64_t KeyedAttributeChanges() { return keyed_attribute_changes.load(std::memory_order_relaxed); }

void NoteAttributeChange(std::string_view attribute_name) {
  if (attribute_name == kKey || attribute_name == "ElType" || attribute_name == "ElRef") {
    keyed_attribute_changes.fetch_add(1, std::memory_order_relaxed);
  }
}

// ---- FirstMatchTable ---------------------------------------------------------------------------------------

void FirstMatchTable::Reserve(std::size_t keys) {
  // At most three quarters full, so that a probe ends soon at an empty slot.
  slots_.assign(std::max<std::size_t>(8, keys + keys / 3 + 1), Slot{});
}

void FirstMatchTable::Insert(std::uint32_t item, std::uint32_t hash) {
  std::size_t i = Home(hash);
  while (slots_[i].item != kNone) i = i + 1 == slots_.size() ? 0 : i + 1;
  slots_[i] = Slot{item, hash};
}

// ---- ItemIndex ---------------------------------------------------------------------------------------------

ItemIndex::ItemIndex(const pugi::xml_document& doc) : doc_(doc), built_at_(KeyedAttributeChanges()) {}

ItemIndex::ItemSet& ItemIndex::Section(std::string_view section) {
  auto found = sections_.find(section);
  if (found != sections_.end()) return found->second;
  ItemSet& set = sections_[std::string(section)];
  // CalvoraCatalog/<S>/<S>Item: the items of every section element of that name, in document order.
  const std::string item_name = std::string(section) + "Item";
  for (pugi::xml_node root = doc_.first_child(); root; root = root.next_sibling()) {
    if (!HasName(root, kRoot)) continue;
    for (pugi::xml_node s = root.first_child(); s; s = s.next_sibling()) {
      if (!HasName(s, section)) continue;
      for (pugi::xml_node item = s.first_child(); item; item = item.next_sibling()) {
        if (HasName(item, item_name)) set.items.push_back(item);
      }
    }
  }
  set.items.shrink_to_fit();
  return set;
}

ItemIndex::ItemSet& ItemIndex::Anywhere(std::string_view element) {
  if (!walked_) {
    // //<E>: every element of that name, the document element included, in document order. One walk files
    // every element under its name, so that the lookups of several names anywhere walk the document once. The
    // walk keeps no stack, so that a deeply nested document cannot exhaust it.
    walked_ = true;
    const pugi::xml_node top = doc_.root();
    for (pugi::xml_node n = top.first_child(); n;) {
      if (n.type() == pugi::node_element) by_name_[std::string_view(n.name())].items.push_back(n);
      if (pugi::xml_node child = n.first_child()) {
        n = child;
        continue;
      }
      while (n && !n.next_sibling()) {
        n = n.parent();
        if (n == top) n = pugi::xml_node();
      }
      if (n) n = n.next_sibling();
    }
  }
  auto found = by_name_.find(element);
  return found == by_name_.end() ? no_elements_ : found->second;
}

const std::vector<pugi::xml_node>& ItemIndex::SectionItems(std::string_view section) { return Section(section).items; }

pugi::xml_node ItemIndex::ItemByNumber(std::string_view section, double key) {
  ItemSet& set = Section(section);
  const auto& items = set.items;
  if (!set.by_number) {
    set.by_number = std::make_unique<FirstMatchTable>();
    set.by_number->Reserve(items.size());
    for (std::uint32_t i = 0; i < items.size(); ++i) {
      const std::optional<double> value = KeyNumber(items[i]);
      if (!value) continue;  // NaN equals nothing
      set.by_number->Add(i, HashNumber(*value), [&](std::uint32_t j) { return KeyNumber(items[j]) == *value; });
    }
  }
  const std::uint32_t i =
      set.by_number->Find(HashNumber(key), [&](std::uint32_t j) { return KeyNumber(items[j]) == key; });
  return i == FirstMatchTable::kNone ? pugi::xml_node() : items[i];
}

pugi::xml_node ItemIndex::FindText(ItemSet& set, std::string_view key) {
  const auto& items = set.items;
  if (!set.by_text) {
    set.by_text = std::make_unique<FirstMatchTable>();
    set.by_text->Reserve(items.size());
    for (std::uint32_t i = 0; i < items.size(); ++i) {
      const char* text = AttributeValue(items[i], kKey);
      if (!text) continue;
      const std::string_view value(text);
      set.by_text->Add(i, HashText(value), [&](std::uint32_t j) { return HasKeyText(items[j], value); });
    }
  }
  const std::uint32_t i = set.by_text->Find(HashText(key), [&](std::uint32_t j) { return HasKeyText(items[j], key); });
  return i == FirstMatchTable::kNone ? pugi::xml_node() : items[i];
}

pugi::xml_node ItemIndex::ItemByText(std::string_view section, std::string_view key) {
  return FindText(Section(section), key);
}

pugi::xml_node ItemIndex::ElementAnywhere(std::string_view element, std::string_view key) {
  return FindText(Anywhere(element), key);
}

pugi::xml_node ItemIndex::PageDataItem(std::string_view element_type, std::string_view element_key) {
  ItemSet& set = Section("PageData");
  const auto& items = set.items;
  auto matches = [&](std::uint32_t j, std::string_view type, std::string_view key) {
    const char* t = AttributeValue(items[j], "ElType");
    const char* r = AttributeValue(items[j], "ElRef");
    return t && r && type == t && key == r;
  };
  if (!set.by_page_data) {
    set.by_page_data = std::make_unique<FirstMatchTable>();
    set.by_page_data->Reserve(items.size());
    for (std::uint32_t i = 0; i < items.size(); ++i) {
      const char* t = AttributeValue(items[i], "ElType");
      const char* r = AttributeValue(items[i], "ElRef");
      if (!t || !r) continue;
      set.by_page_data->Add(i, HashPair(t, r), [&](std::uint32_t j) { return matches(j, t, r); });
    }
  }
  const std::uint32_t i = set.by_page_data->Find(
      HashPair(element_type, element_key), [&](std::uint32_t j) { return matches(j, element_type, element_key); });
  return i == FirstMatchTable::kNone ? pugi::xml_node() : items[i];
}

std::size_t ItemIndex::memory_bytes() const {
  std::size_t bytes = 0;
  auto add = [&](const ItemSet& set) {
    bytes += set.items.capacity() * sizeof(pugi::xml_node);
    for (const auto* table : {set.by_number.get(), set.by_text.get(), set.by_page_data.get()}) {
      if (table) bytes += table->memory_bytes();
    }
  };
  for (const auto& [name, set] : sections_) add(set);
  for (const auto& [name, set] : by_name_) add(set);
  return bytes;
}

}  // namespace cvimp::catalog
