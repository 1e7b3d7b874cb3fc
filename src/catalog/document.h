// The catalogue document: an XML file loaded whole into a DOM, reached through XPath 1.0 selections.
// Every read of the catalogue goes through this API, so that lookups can later be served from an index.
#pragma once

#include <cstddef>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>
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

class Document {
 public:
  Document();
  ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  // Loads a file synchronously, replacing the content. False when the file cannot be read or is not
  // well-formed XML; the document is then empty and load_error() says why.
  bool Load(const std::string& path);
  // Parses a text, replacing the content; same result rules as Load.
  bool LoadXml(std::string_view text);
  const LoadError& load_error() const { return error_; }

  Node DocumentElement() const;  // empty when the document has none
  // XPath 1.0 from the document node.
  NodeList SelectNodes(std::string_view xpath) const;
  Node SelectSingleNode(std::string_view xpath) const;

 private:
  bool Finish(const pugi::xml_parse_result& result, std::string_view text);
  pugi::xml_document doc_;
  LoadError error_;
};

}  // namespace cvimp::catalog
