// The importers' path forms on the catalogue document, answered from the item index. Where a name or key
// cannot be put into the index's terms exactly (a name that is no single name step, a quoted key that holds
// the quote), the form's XPath text is evaluated instead, so that the answer, or the error, is the same.
#include <string>
#include <utility>
#include <vector>

#include "catalog/document.h"
#include "catalog/item_index.h"
#include "catalog/item_paths.h"

namespace cvimp::catalog {
namespace {

Node Wrap(pugi::xml_node node) { return node ? Node(pugi::xpath_node(node)) : Node(); }

// A key that stands between single quotes as it is: one that holds a quote (or ends the text early) changes
// the meaning of the path.
bool QuotesExactly(std::string_view key) {
  return key.find_first_of(std::string_view("'\0", 2)) == std::string_view::npos;
}

}  // namespace

ItemIndex& Document::Index() const {
  if (!index_ || index_->built_at() != KeyedAttributeChanges()) index_ = std::make_unique<ItemIndex>(doc_);
  return *index_;
}

NodeList Document::SectionItems(std::string_view section) const {
  if (!IsNameStep(section)) return SelectNodes(SectionItemsPath(section));
  const std::vector<pugi::xml_node>& items = Index().SectionItems(section);
  std::vector<Node> nodes;
  nodes.reserve(items.size());
  for (pugi::xml_node item : items) nodes.emplace_back(pugi::xpath_node(item));
  return NodeList(std::move(nodes));
}

Node Document::ItemByNumber(std::string_view section, std::int32_t key) const {
  if (!IsNameStep(section)) return SelectSingleNode(ItemByNumberPath(section, key));
  return Wrap(Index().ItemByNumber(section, static_cast<double>(key)));
}

Node Document::ItemByText(std::string_view section, std::string_view key) const {
  if (!IsNameStep(section) || !QuotesExactly(key)) return SelectSingleNode(ItemByTextPath(section, key));
  return Wrap(Index().ItemByText(section, key));
}

Node Document::ItemAnywhere(std::string_view section, std::string_view key) const {
  if (!IsNameStep(section) || !QuotesExactly(key)) return SelectSingleNode(ItemAnywherePath(section, key));
  return Wrap(Index().ElementAnywhere(std::string(section) + "Item", key));
}

Node Document::PageDataItem(std::int32_t element_type, std::int32_t element_key) const {
  return Wrap(Index().PageDataItem(std::to_string(element_type), std::to_string(element_key)));
}

Node Node::ChildElement(std::string_view name) const {
  Require();
  if (!IsNameStep(name)) return SelectSingleNode(name);
  if (node_.attribute()) return Node();  // an attribute has no children
  for (pugi::xml_node child = node_.node().first_child(); child; child = child.next_sibling()) {
    if (child.type() == pugi::node_element && name == child.name()) return Node(pugi::xpath_node(child));
  }
  return Node();
}

}  // namespace cvimp::catalog
