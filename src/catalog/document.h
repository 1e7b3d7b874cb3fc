// The catalogue document: an XML file loaded whole into a DOM, reached through XPath 1.0 selections.
// Every read of the catalogue goes through this API, so that lookups can later be served from an index.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/value.h"

namespace cvimp::catalog {

class NodeList;

// A node of a document: an element, an attribute (as XPath selects "@value"), a text or CDATA node. An
// empty Node stands for "nothing"; every operation on it but the tests raises kObjectRequired.
class Node {
 public:
  Node() = default;
  explicit Node(pugi::xpath_node node) : node_(node) {}

  bool empty() const { return !node_; }
  explicit operator bool() const { return !empty(); }
  bool is_element() const;

  std::string Name() const;
  NodeList ChildNodes() const;
  // The first child element named `name`, or empty: what the relative path `name` selects. A name that is
  // not an XML name is evaluated as that path (and raises as it would).
  Node ChildElement(std::string_view name) const;

  // XPath 1.0 relative to this node. An invalid expression raises kInvalidArgument.
  NodeList SelectNodes(std::string_view xpath) const;
  Node SelectSingleNode(std::string_view xpath) const;  // the first match in document order, or empty

  // The attribute as an untyped value: Null when the element has no such attribute.
  Value GetAttribute(std::string_view name) const;
  // The text of the attribute; a missing attribute raises kObjectRequired.
  std::string AttributeText(std::string_view name) const;
  // Sets (or adds) the attribute; Null writes the empty text, numbers are written in decimal.
  void SetAttribute(std::string_view name, const Value& value);

  // The DOM node value: Null for an element, the value of an attribute, the text of a text or CDATA node.
  Value NodeValue() const;
  // The text of an element: all descendant text and CDATA, concatenated, with leading and trailing
  // spaces, tabs, carriage returns and line feeds removed. For an attribute, its value.
  std::string Text() const;

  const pugi::xpath_node& raw() const { return node_; }

 private:
  void Require() const;
  pugi::xpath_node node_;
};

class NodeList {
 public:
  NodeList() = default;
  explicit NodeList(std::vector<Node> nodes) : nodes_(std::move(nodes)) {}
  std::size_t size() const { return nodes_.size(); }
  bool empty() const { return nodes_.empty(); }
  const Node& operator[](std::size_t i) const { return nodes_[i]; }
  auto begin() const { return nodes_.begin(); }
  auto end() const { return nodes_.end(); }

 private:
  std::vector<Node> nodes_;
};

// Why a load failed: the parser's reason and where (1-based line and column, 0 when not known).
struct LoadError {
  std::string reason;
  std::size_t line = 0;
  std::size_t column = 0;
};

class ItemIndex;

// The catalogue document. Besides the general XPath evaluation it answers the fixed path forms that the
// importers use, each through a method that names what it looks up. These give the node that the XPath
// evaluation of the form would give, but from an index that is built once per section (or per element
// name) on first use, so that a lookup per item costs the same on every catalogue size:
//
//   path form                                                              method
//   CalvoraCatalog/<S>/<S>Item                                             SectionItems(S)
//   CalvoraCatalog/<S>/<S>Item[@PKID=<n>]        key compared as a number  ItemByNumber(S, n)
//   CalvoraCatalog/<S>/<S>Item[@PKID='<k>']      key compared as text      ItemByText(S, k)
//   //<S>Item[@PKID='<k>']                       anywhere in the document  ItemAnywhere(S, k)
//   CalvoraCatalog/PageData/PageDataItem[@ElType='<t>' and @ElRef='<r>']   PageDataItem(t, r)
//   <F> relative to an item                      a long-text field         Node::ChildElement(F)
//
// The key of the number form is compared as XPath compares a text with a number: " 12 ", "012", "12.0" and
// "12." all equal 12, "+12", "1e1" and "" equal nothing, "-0" equals 0. The text forms compare exactly. When
// keys repeat, the first item in document order wins. Where the form puts `k` between quotes as it stands,
// a `k` that holds a quote is evaluated as the XPath text it makes (which may raise kInvalidArgument). Only
// nodes are indexed, never NewPKID values, which the run sets while it reads them; a changed PKID, ElType or
// ElRef attribute drops the index.
// The lookups that a run of the importers is going to make. A load that knows them builds their index tables
// while the conforming check of the file still runs on its own thread, instead of at the first lookup; the
// answers are the same either way.
struct LookupPlan {
  std::vector<std::string> by_number;  // sections of ItemByNumber
  std::vector<std::string> by_text;    // sections of ItemByText
  std::vector<std::string> anywhere;   // sections of ItemAnywhere
  bool page_data = false;              // PageDataItem
};

class Document {
 public:
  Document();
  ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  // Loads a file (its path in UTF-8) synchronously, replacing the content. False when the file cannot be
  // read or is not XML as a conforming parser judges it (xml_conformance.h: an external DTD or entity is
  // never read, and what would need one is refused); the document is then empty and load_error() says why.
  // The encoding follows the byte order mark and the XML declaration (UTF-8, UTF-16, ISO-8859-1, US-ASCII).
  bool Load(const std::string& path);
  // Parses a text, which is UTF-8 whatever its declaration says, replacing the content; same result rules
  // as Load.
  bool LoadXml(std::string_view text);
  const LoadError& load_error() const { return error_; }
  // The lookups the next loads prepare (see LookupPlan).
  void PlanLookups(LookupPlan plan) { plan_ = std::move(plan); }

  Node DocumentElement() const;  // empty when the document has none
  // XPath 1.0 from the document node.
  NodeList SelectNodes(std::string_view xpath) const;
  Node SelectSingleNode(std::string_view xpath) const;

  // The path forms of the importers (see above). `section` is a section name such as "Products".
  NodeList SectionItems(std::string_view section) const;
  Node ItemByNumber(std::string_view section, std::int32_t key) const;
  Node ItemByText(std::string_view section, std::string_view key) const;
  Node ItemAnywhere(std::string_view section, std::string_view key) const;
  Node PageDataItem(std::int32_t element_type, std::int32_t element_key) const;

  // The 1-based line of the loaded text on which the element starts, 0 when that is not known (a document
  // built from the events of a conforming parser because it has an internal DTD subset, an element added
  // after the load, a file changed since). The lines are counted on the first call, by reading the file
  // again, so that a load costs nothing for them.
  std::size_t LineOf(const Node& node) const;

 private:
  ItemIndex& Index() const;
  // A new index with the tables of the lookup plan built.
  std::unique_ptr<ItemIndex> PreparedIndex() const;
  // Ends a load: keeps the new content, or on `error` empties the document and keeps why.
  bool Finish(std::optional<LoadError> error);
  void ForgetSource();
  pugi::xml_document doc_;
  LoadError error_;
  mutable std::unique_ptr<ItemIndex> index_;  // built on first use; dropped when the content is replaced
  LookupPlan plan_;
  // Where the parsed text came from, for LineOf: a file and its encoding, or the text of LoadXml.
  std::string source_path_;
  pugi::xml_encoding source_encoding_ = pugi::encoding_utf8;
  std::optional<std::string> source_text_;
  mutable std::optional<std::vector<std::size_t>> line_starts_;  // offsets (in UTF-8) where lines begin
};

}  // namespace cvimp::catalog
