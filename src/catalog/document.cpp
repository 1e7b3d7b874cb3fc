#include "catalog/document.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "common/error.h"

namespace cvimp::catalog {
namespace {

// What the parser keeps: text (whitespace-only text is dropped, as a DOM without preserved white space
// does), CDATA sections, comments and processing instructions, with entities, end-of-line handling and
// attribute white space converted as XML prescribes. Parsing as a fragment keeps text and further elements
// at the top level, so that FindTopLevelFault can refuse them instead of having them dropped silently.
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_comments | pugi::parse_pi | pugi::parse_fragment;

// The characters that the text of an element loses at both ends.
constexpr const char* kTrimmed = " \t\r\n";

[[noreturn]] void ThrowObjectRequired(const std::string& what) { throw Error(ErrorCode::kObjectRequired, what); }

std::string Trim(const std::string& text) {
  std::size_t first = text.find_first_not_of(kTrimmed);
  if (first == std::string::npos) return {};
  std::size_t last = text.find_last_not_of(kTrimmed);
  return text.substr(first, last - first + 1);
}

bool HoldsText(pugi::xml_node node) { return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata; }

// The node after `node` in document order within `root`'s subtree, or an empty node at its end. Walks
// without recursion, so that deeply nested documents cannot exhaust the stack.
pugi::xml_node NextInSubtree(pugi::xml_node node, pugi::xml_node root) {
  if (pugi::xml_node child = node.first_child()) return child;
  while (node != root) {
    if (pugi::xml_node sibling = node.next_sibling()) return sibling;
    node = node.parent();
  }
  return pugi::xml_node();
}

void AppendDescendantText(pugi::xml_node root, std::string& out) {
  for (pugi::xml_node n = NextInSubtree(root, root); n; n = NextInSubtree(n, root)) {
    if (HoldsText(n)) out += n.value();
  }
}

bool IsNameStart(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || c == ':' || c >= 0x80;
}

bool IsNameChar(unsigned char c) { return IsNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.'; }

bool IsXmlName(std::string_view name) {
  if (name.empty() || !IsNameStart(static_cast<unsigned char>(name[0]))) return false;
  return std::all_of(name.begin() + 1, name.end(), [](char c) { return IsNameChar(static_cast<unsigned char>(c)); });
}

pugi::xpath_node_set Evaluate(const pugi::xpath_node& context, std::string_view xpath) {
  const std::string expression(xpath);
  try {
    pugi::xpath_query query(expression.c_str());
    if (!query) {
      throw Error(ErrorCode::kInvalidArgument,
                  "Invalid XPath expression \"" + expression + "\": " + query.result().description());
    }
    pugi::xpath_node_set nodes = query.evaluate_node_set(context);
    nodes.sort();
    return nodes;
  } catch (const pugi::xpath_exception& e) {
    throw Error(ErrorCode::kInvalidArgument, "Invalid XPath expression \"" + expression + "\": " + e.what());
  }
}

NodeList ToNodeList(const pugi::xpath_node_set& nodes) {
  std::vector<Node> list;
  list.reserve(nodes.size());
  for (const pugi::xpath_node& n : nodes) list.emplace_back(n);
  return NodeList(std::move(list));
}

// ---- Where a load failed -------------------------------------------------------------------------------

void AppendUtf8(std::uint32_t cp, std::string& out) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// The parser reports positions in the UTF-8 text that it converted the input to; this makes the same
// conversion so that a position can be turned into a line and a column.
std::string AsUtf8(std::string_view raw, pugi::xml_encoding encoding) {
  auto byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(raw[i])); };
  std::string out;
  switch (encoding) {
    case pugi::encoding_latin1:
      for (std::size_t i = 0; i < raw.size(); ++i) AppendUtf8(byte(i), out);
      return out;
    case pugi::encoding_utf16_le:
    case pugi::encoding_utf16_be: {
      const bool le = encoding == pugi::encoding_utf16_le;
      auto unit = [&](std::size_t i) { return le ? byte(i) | byte(i + 1) << 8 : byte(i) << 8 | byte(i + 1); };
      for (std::size_t i = 0; i + 1 < raw.size(); i += 2) {
        std::uint32_t cp = unit(i);
        if (cp >= 0xD800 && cp < 0xDC00 && i + 3 < raw.size()) {
          std::uint32_t low = unit(i + 2);
          if (low >= 0xDC00 && low < 0xE000) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
            i += 2;
          }
        }
        AppendUtf8(cp, out);
      }
      return out;
    }
    case pugi::encoding_utf32_le:
    case pugi::encoding_utf32_be: {
      const bool le = encoding == pugi::encoding_utf32_le;
      for (std::size_t i = 0; i + 3 < raw.size(); i += 4) {
        std::uint32_t cp = le ? byte(i) | byte(i + 1) << 8 | byte(i + 2) << 16 | byte(i + 3) << 24
                              : byte(i) << 24 | byte(i + 1) << 16 | byte(i + 2) << 8 | byte(i + 3);
        AppendUtf8(std::min<std::uint32_t>(cp, 0x10FFFF), out);
      }
      return out;
    }
    default:
      return std::string(raw);
  }
}

// 1-based line and column of a byte offset in UTF-8 text; a column counts characters, and CR LF, CR and
// LF each end a line. A byte order mark does not count.
void LocateOffset(const std::string& text, std::size_t offset, LoadError& error) {
  offset = std::min(offset, text.size());
  std::size_t i = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? std::min<std::size_t>(3, offset) : 0;
  std::size_t line = 1, column = 1;
  for (; i < offset; ++i) {
    const char c = text[i];
    if (c == '\n' || (c == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n'))) {
      ++line;
      column = 1;
    } else if (c != '\r' && (static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++column;
    }
  }
  error.line = line;
  error.column = column;
}

std::string ParserReason(pugi::xml_parse_status status) {
  pugi::xml_parse_result result;
  result.status = status;
  return result.description();
}

// Why a parsed text is no document: the reason and the offset in the converted text where the fault lies
// (-1 when unknown; kAtEnd for the end of the text).
constexpr std::ptrdiff_t kAtEnd = PTRDIFF_MAX;

struct Fault {
  std::string reason;
  std::ptrdiff_t offset = -1;
};

std::ptrdiff_t StartOf(pugi::xml_node node) {
  std::ptrdiff_t offset = node.offset_debug();
  if (offset < 0) return offset;
  if (node.type() == pugi::node_element) return std::max<std::ptrdiff_t>(0, offset - 1);  // the '<'
  if (node.type() == pugi::node_cdata) return std::max<std::ptrdiff_t>(0, offset - 9);    // "<![CDATA["
  return offset;
}

bool HasDuplicateAttribute(pugi::xml_node element) {
  std::vector<std::string_view> names;
  for (pugi::xml_attribute a : element.attributes()) names.emplace_back(a.name());
  std::sort(names.begin(), names.end());
  return std::adjacent_find(names.begin(), names.end()) != names.end();
}

std::optional<Fault> FindDuplicateAttribute(pugi::xml_node root) {
  for (pugi::xml_node n = NextInSubtree(root, root); n; n = NextInSubtree(n, root)) {
    if (n.first_attribute() && n.first_attribute().next_attribute() && HasDuplicateAttribute(n)) {
      return Fault{"Duplicate attribute", StartOf(n)};
    }
  }
  return std::nullopt;
}

// What the parser accepts as a fragment but a document must not have: no element, a second element, or
// text at the top level; and, anywhere, an element with two attributes of one name.
std::optional<Fault> FindTopLevelFault(const pugi::xml_document& doc) {
  bool has_element = false;
  for (pugi::xml_node child : doc.children()) {
    if (child.type() == pugi::node_element) {
      if (has_element) return Fault{"More than one document element", StartOf(child)};
      has_element = true;
    } else if (HoldsText(child)) {
      return Fault{"Text outside the document element", StartOf(child)};
    }
  }
  if (!has_element) {
    return Fault{ParserReason(pugi::status_no_document_element), kAtEnd};
  }
  return FindDuplicateAttribute(doc);
}

// Reads a whole file; the status says why it could not be read, in the parser's terms.
pugi::xml_parse_status ReadFile(const std::string& path, std::string& content) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) return errno == ENOENT || errno == ENOTDIR ? pugi::status_file_not_found : pugi::status_io_error;
  char buffer[65536];
  std::size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0) content.append(buffer, n);
  const bool failed = std::ferror(file) != 0;
  std::fclose(file);
  return failed ? pugi::status_io_error : pugi::status_ok;
}

}  // namespace

// ---- Node ------------------------------------------------------------------------------------------------

void Node::Require() const {
  if (empty()) ThrowObjectRequired("Object variable not set: the node is missing");
}

bool Node::is_element() const { return !node_.attribute() && node_.node().type() == pugi::node_element; }

std::string Node::Name() const {
  Require();
  if (pugi::xml_attribute a = node_.attribute()) return a.name();
  const pugi::xml_node n = node_.node();
  switch (n.type()) {
    case pugi::node_element:
    case pugi::node_pi:
      return n.name();
    case pugi::node_pcdata:
      return "#text";
    case pugi::node_cdata:
      return "#cdata-section";
    case pugi::node_comment:
      return "#comment";
    case pugi::node_document:
      return "#document";
    default:
      return n.name();
  }
}

NodeList Node::ChildNodes() const {
  Require();
  std::vector<Node> children;
  if (!node_.attribute()) {
    for (pugi::xml_node child : node_.node().children()) {
      switch (child.type()) {
        case pugi::node_element:
        case pugi::node_pcdata:
        case pugi::node_cdata:
        case pugi::node_comment:
        case pugi::node_pi:
          children.emplace_back(pugi::xpath_node(child));
          break;
        default:
          break;
      }
    }
  }
  return NodeList(std::move(children));
}

NodeList Node::SelectNodes(std::string_view xpath) const {
  Require();
  return ToNodeList(Evaluate(node_, xpath));
}

Node Node::SelectSingleNode(std::string_view xpath) const {
  Require();
  pugi::xpath_node_set nodes = Evaluate(node_, xpath);
  return nodes.empty() ? Node() : Node(nodes.first());
}

Value Node::GetAttribute(std::string_view name) const {
  Require();
  if (!is_element()) return Value();
  pugi::xml_attribute a = node_.node().attribute(std::string(name).c_str());
  if (!a) return Value();
  return Value(std::string(a.value()));
}

std::string Node::AttributeText(std::string_view name) const {
  Require();
  if (is_element()) {
    if (pugi::xml_attribute a = node_.node().attribute(std::string(name).c_str())) return a.value();
  }
  ThrowObjectRequired("Object variable not set: the attribute " + std::string(name) + " is missing");
}

void Node::SetAttribute(std::string_view name, const Value& value) {
  Require();
  if (!is_element()) {
    throw Error(ErrorCode::kInvalidArgument, "Only an element has attributes (setting " + std::string(name) + ")");
  }
  if (!IsXmlName(name)) {
    throw Error(ErrorCode::kInvalidArgument, "\"" + std::string(name) + "\" is not an attribute name");
  }
  const std::string key(name);
  pugi::xml_node element = node_.node();
  pugi::xml_attribute a = element.attribute(key.c_str());
  if (!a) a = element.append_attribute(key.c_str());
  a.set_value(TextForm(value).c_str());
}

Value Node::NodeValue() const {
  Require();
  if (pugi::xml_attribute a = node_.attribute()) return Value(std::string(a.value()));
  const pugi::xml_node n = node_.node();
  switch (n.type()) {
    case pugi::node_pcdata:
    case pugi::node_cdata:
    case pugi::node_comment:
    case pugi::node_pi:
      return Value(std::string(n.value()));
    default:
      return Value();
  }
}

std::string Node::Text() const {
  Require();
  if (pugi::xml_attribute a = node_.attribute()) return a.value();
  const pugi::xml_node n = node_.node();
  switch (n.type()) {
    case pugi::node_element:
    case pugi::node_document: {
      std::string text;
      AppendDescendantText(n, text);
      return Trim(text);
    }
    default:
      return Trim(n.value());
  }
}

// ---- Document --------------------------------------------------------------------------------------------

Document::Document() = default;
Document::~Document() = default;

bool Document::Load(const std::string& path) {
  std::string content;
  if (auto status = ReadFile(path, content); status != pugi::status_ok) {
    doc_.reset();
    error_ = LoadError{ParserReason(status), 0, 0};
    return false;
  }
  return Finish(doc_.load_buffer(content.data(), content.size(), kParseOptions, pugi::encoding_auto), content);
}

bool Document::LoadXml(std::string_view text) {
  return Finish(doc_.load_buffer(text.data(), text.size(), kParseOptions, pugi::encoding_utf8), text);
}

bool Document::Finish(const pugi::xml_parse_result& result, std::string_view text) {
  std::optional<Fault> fault = result ? FindTopLevelFault(doc_) : Fault{result.description(), result.offset};
  if (!fault) {
    error_ = LoadError{};
    return true;
  }
  doc_.reset();
  error_ = LoadError{fault->reason, 0, 0};
  if (fault->offset >= 0) {
    // Offsets count in the text as the parser converted it to UTF-8.
    LocateOffset(AsUtf8(text, result.encoding), static_cast<std::size_t>(fault->offset), error_);
  }
  return false;
}

Node Document::DocumentElement() const {
  pugi::xml_node root = doc_.document_element();
  return root ? Node(pugi::xpath_node(root)) : Node();
}

NodeList Document::SelectNodes(std::string_view xpath) const {
  return ToNodeList(Evaluate(pugi::xpath_node(doc_), xpath));
}

Node Document::SelectSingleNode(std::string_view xpath) const {
  pugi::xpath_node_set nodes = Evaluate(pugi::xpath_node(doc_), xpath);
  return nodes.empty() ? Node() : Node(nodes.first());
}

}  // namespace cvimp::catalog
