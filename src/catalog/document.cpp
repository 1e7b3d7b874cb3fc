#include "catalog/document.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "catalog/encoded_text.h"
#include "catalog/item_index.h"
#include "catalog/xml_conformance.h"
#include "common/error.h"
#include "common/file_open.h"

namespace cvimp::catalog {
namespace {

// What pugixml keeps: text (whitespace-only text is dropped, as a DOM without preserved white space does),
// CDATA sections, comments and processing instructions, with entities, end-of-line handling and attribute
// white space converted as XML prescribes. Whether a document is well-formed is not pugixml's to say: every
// load is judged by a conforming parser first (xml_conformance.h).
constexpr unsigned kParseOptions = pugi::parse_default | pugi::parse_comments | pugi::parse_pi;

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

// ---- Reading a catalogue ---------------------------------------------------------------------------------

// A file opened for reading, closed at the end of its scope; the status says why it could not be opened,
// in pugixml's terms.
class ReadHandle {
 public:
  explicit ReadHandle(const std::string& path) : file_(cvimp::OpenFile(path, "rb")) {
    if (!file_) status_ = errno == ENOENT || errno == ENOTDIR ? pugi::status_file_not_found : pugi::status_io_error;
  }
  ~ReadHandle() {
    if (file_) std::fclose(file_);
  }
  ReadHandle(const ReadHandle&) = delete;
  ReadHandle& operator=(const ReadHandle&) = delete;

  std::FILE* get() const { return file_; }
  pugi::xml_parse_status status() const { return status_; }

 private:
  std::FILE* file_;
  pugi::xml_parse_status status_ = pugi::status_ok;
};

// What identifies the content of a regular file for a load: its size and time of last change. The check
// and the DOM read the file each through a handle of their own, so a file that changed while it was loaded
// may have been judged and parsed from different bytes; comparing its stamp before and after tells.
struct FileStamp {
  std::uintmax_t size = 0;
  std::filesystem::file_time_type changed;
  bool operator==(const FileStamp&) const = default;
};

std::optional<FileStamp> StampOf(const std::filesystem::path& path) {
  std::error_code error;
  FileStamp stamp;
  stamp.size = std::filesystem::file_size(path, error);
  if (error) return std::nullopt;
  stamp.changed = std::filesystem::last_write_time(path, error);
  if (error) return std::nullopt;
  return stamp;
}

// A buffer that pugixml can take over: allocated with its allocation function, and freed with its
// deallocation function unless handed on.
class ParseBuffer {
 public:
  ParseBuffer() = default;
  ~ParseBuffer() { Free(); }
  ParseBuffer(const ParseBuffer&) = delete;
  ParseBuffer& operator=(const ParseBuffer&) = delete;

  std::string_view bytes() const { return {data_, size_}; }
  std::size_t size() const { return size_; }
  std::size_t room() const { return capacity_ - size_; }
  char* end() const { return data_ + size_; }
  void Grew(std::size_t n) { size_ += n; }

  // Room for `capacity` bytes in all, keeping the content. False when out of memory.
  bool Reserve(std::size_t capacity) {
    if (capacity <= capacity_) return true;
    char* grown = static_cast<char*>(pugi::get_memory_allocation_function()(capacity));
    if (!grown) return false;
    if (size_ > 0) std::memcpy(grown, data_, size_);
    const std::size_t size = size_;
    Free();
    data_ = grown;
    size_ = size;
    capacity_ = capacity;
    return true;
  }

  // Hands the bytes on to pugixml, which frees them.
  void* Release() {
    void* data = data_;
    data_ = nullptr;
    size_ = capacity_ = 0;
    return data;
  }

 private:
  void Free() {
    if (data_) pugi::get_memory_deallocation_function()(data_);
    data_ = nullptr;
    size_ = capacity_ = 0;
  }

  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

// Reads an open file to its end into `buffer`, expecting `expected` bytes (its size, when known); the
// status says why it could not be read, in pugixml's terms.
pugi::xml_parse_status ReadAll(std::FILE* file, std::size_t expected, ParseBuffer& buffer) {
  if (!buffer.Reserve(expected)) return pugi::status_out_of_memory;
  char spare[4096];
  for (;;) {
    // Once the buffer is full, a small read finds out whether the file goes on (it may have grown).
    const bool full = buffer.room() == 0;
    const std::size_t n =
        full ? std::fread(spare, 1, sizeof spare, file) : std::fread(buffer.end(), 1, buffer.room(), file);
    if (n == 0) return std::ferror(file) ? pugi::status_io_error : pugi::status_ok;
    if (full) {
      if (!buffer.Reserve(std::max<std::size_t>(2 * buffer.size(), 64 * 1024))) return pugi::status_out_of_memory;
      std::memcpy(buffer.end(), spare, n);
    }
    buffer.Grew(n);
  }
}

// The whole of a file, read again from its start (to place a fault that only pugixml found).
std::optional<std::string> ReadAgain(const std::string& path) {
  XmlFileSource source(path);
  std::string text;
  char chunk[65536];
  for (std::size_t got = 0;; text.append(chunk, got)) {
    if (!source.Read(chunk, sizeof chunk, got)) return std::nullopt;
    if (got == 0) return text;
  }
}

// Parses the buffer in place in the encoding that the check decoded it in, so that pugixml reads the same
// characters: every encoding the check accepts (UTF-8, UTF-16 LE and BE, ISO-8859-1 and US-ASCII, a subset
// of UTF-8) is one pugixml decodes identically. pugixml's own detection comes to the same result for these
// documents, but is not relied upon. pugixml takes the buffer over.
pugi::xml_parse_result ParseInPlace(pugi::xml_document& doc, ParseBuffer& buffer, pugi::xml_encoding encoding) {
  const std::size_t size = buffer.size();
  return doc.load_buffer_inplace_own(buffer.Release(), size, kParseOptions, encoding);
}

// Where the thread that reads a file for pugixml waits until the check, on its own thread, has seen the
// document's prolog: then it knows whether to parse, and in which encoding.
class PrologRendezvous {
 public:
  void Tell(const XmlProlog& prolog) {
    {
      std::lock_guard lock(mutex_);
      prolog_ = prolog;
    }
    ready_.notify_all();
  }
  void End() {
    {
      std::lock_guard lock(mutex_);
      ended_ = true;
    }
    ready_.notify_all();
  }
  // The prolog, or nothing when the check ended without reaching it (the document is refused).
  std::optional<XmlProlog> Await() {
    std::unique_lock lock(mutex_);
    ready_.wait(lock, [&] { return prolog_.has_value() || ended_; });
    return prolog_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable ready_;
  std::optional<XmlProlog> prolog_;
  bool ended_ = false;
};

// What the DOM side of a load made: pugixml's parse or, for a document with an internal DTD subset, the
// build from the conforming parser's events (pugixml skips the subset, and with it the entities and default
// attributes declared there).
struct DomOutcome {
  std::optional<pugi::xml_parse_result> parsed;
  std::optional<XmlVerdict> built;
};

// Settles a load once the check is done. Its verdict comes first: a document it refuses is no document,
// whatever the DOM side made of it. Should pugixml fail where the check did not, pugixml's reason stands,
// placed in the text that `reread` gives (when it can give it).
std::optional<LoadError> Settle(const XmlVerdict& verdict, const DomOutcome& dom,
                                const std::function<std::optional<std::string>()>& reread) {
  auto refusal = [](const XmlVerdict& v) -> std::optional<LoadError> {
    if (v.read_failed) return LoadError{ParserReason(pugi::status_io_error), 0, 0};
    if (v.fault) return LoadError{v.fault->reason, v.fault->line, v.fault->column};
    return std::nullopt;
  };
  if (std::optional<LoadError> error = refusal(verdict)) return error;
  if (verdict.prolog.has_internal_subset) {
    if (!dom.built) return LoadError{ParserReason(pugi::status_internal_error), 0, 0};
    return refusal(*dom.built);
  }
  if (!dom.parsed) return LoadError{ParserReason(pugi::status_internal_error), 0, 0};
  if (*dom.parsed) return std::nullopt;
  LoadError error{dom.parsed->description(), 0, 0};
  if (std::optional<std::string> text = reread()) {
    // Offsets count in the text as pugixml converted it to UTF-8.
    LocateOffset(ToUtf8(*text, dom.parsed->encoding), static_cast<std::size_t>(dom.parsed->offset), error);
  }
  return error;
}

// The offsets at which the lines of a UTF-8 text begin (CR LF, CR and LF each end a line), and last the
// text's length.
std::vector<std::size_t> LineStarts(const std::string& text) {
  std::vector<std::size_t> starts{0};
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\n' || (c == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n'))) starts.push_back(i + 1);
  }
  starts.push_back(text.size());
  return starts;
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
  NoteAttributeChange(key);
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
  index_.reset();
  doc_.reset();
  ForgetSource();
  const ReadHandle file(path);
  if (file.status() != pugi::status_ok) return Finish(LoadError{ParserReason(file.status()), 0, 0});
  const std::filesystem::path file_path = PathFromUtf8(path);
  std::error_code error;
  const bool regular = std::filesystem::is_regular_file(file_path, error);
  const std::optional<FileStamp> before = regular ? StampOf(file_path) : std::nullopt;
  if (regular && !before) return Finish(LoadError{ParserReason(pugi::status_io_error), 0, 0});

  XmlVerdict verdict;
  DomOutcome dom;
  std::unique_ptr<ItemIndex> prepared;
  pugi::xml_parse_status read = pugi::status_ok;
  if (regular) {
    // The check runs on a second thread and reads the file itself, in chunks, through a handle of its own.
    // Once it has seen the prolog, this thread either reads the file into one buffer that pugixml parses in
    // place (the file is held once), or builds the DOM from a second streaming pass of the conforming
    // parser. Either way the load takes about as long as the slower of the two threads.
    PrologRendezvous rendezvous;
    std::exception_ptr check_failure;
    {
      std::jthread checker([&] {
        try {
          XmlFileSource source(path);
          verdict = CheckXml(source, XmlInput::kDocument, [&](const XmlProlog& prolog) { rendezvous.Tell(prolog); });
        } catch (...) {
          check_failure = std::current_exception();
        }
        rendezvous.End();
      });
      // Without a prolog the check has refused the document already; nothing is read for the DOM then.
      if (const std::optional<XmlProlog> prolog = rendezvous.Await(); prolog && prolog->has_internal_subset) {
        XmlFileSource source(path);
        dom.built = BuildDomFromXml(source, XmlInput::kDocument, doc_);
      } else if (prolog) {
        ParseBuffer buffer;
        read = ReadAll(file.get(), static_cast<std::size_t>(before->size), buffer);
        if (read == pugi::status_ok) dom.parsed = ParseInPlace(doc_, buffer, prolog->encoding);
        // The check takes longer than the parse: meanwhile the planned lookups get their tables.
        if (dom.parsed && *dom.parsed) prepared = PreparedIndex();
      }
    }
    if (check_failure) {
      Finish(LoadError{ParserReason(pugi::status_internal_error), 0, 0});
      std::rethrow_exception(check_failure);
    }
    if (StampOf(file_path) != before) {
      return Finish(LoadError{"the file was changed while it was being loaded", 0, 0});
    }
  } else {
    // A pipe or a device cannot be read twice: its bytes are read first, then checked and parsed.
    ParseBuffer buffer;
    read = ReadAll(file.get(), 0, buffer);
    if (read == pugi::status_ok) {
      XmlMemorySource source(buffer.bytes());
      verdict = CheckXml(source, XmlInput::kDocument);
      if (!verdict.fault && verdict.prolog.has_internal_subset) {
        XmlMemorySource again(buffer.bytes());
        dom.built = BuildDomFromXml(again, XmlInput::kDocument, doc_);
      } else if (!verdict.fault) {
        dom.parsed = ParseInPlace(doc_, buffer, verdict.prolog.encoding);
      }
    }
  }
  if (read != pugi::status_ok) return Finish(LoadError{ParserReason(read), 0, 0});
  if (dom.parsed && *dom.parsed && regular) {
    source_path_ = path;
    source_encoding_ = dom.parsed->encoding;
  }
  if (!Finish(Settle(verdict, dom, [&] { return regular ? ReadAgain(path) : std::nullopt; }))) return false;
  index_ = std::move(prepared);
  return true;
}

std::unique_ptr<ItemIndex> Document::PreparedIndex() const {
  auto index = std::make_unique<ItemIndex>(doc_);
  for (const std::string& section : plan_.by_number)
    if (IsNameStep(section)) index->ItemByNumber(section, 0);
  for (const std::string& section : plan_.by_text)
    if (IsNameStep(section)) index->ItemByText(section, {});
  for (const std::string& section : plan_.anywhere)
    if (IsNameStep(section)) index->ElementAnywhere(section + "Item", {});
  if (plan_.page_data) index->PageDataItem({}, {});
  return index;
}

bool Document::LoadXml(std::string_view text) {
  index_.reset();
  doc_.reset();
  ForgetSource();
  XmlMemorySource source(text);
  const XmlVerdict verdict = CheckXml(source, XmlInput::kUtf8Text);
  DomOutcome dom;
  if (!verdict.fault && verdict.prolog.has_internal_subset) {
    XmlMemorySource again(text);
    dom.built = BuildDomFromXml(again, XmlInput::kUtf8Text, doc_);
  } else if (!verdict.fault) {
    dom.parsed = doc_.load_buffer(text.data(), text.size(), kParseOptions, pugi::encoding_utf8);
    if (*dom.parsed) source_text_ = std::string(text);
  }
  return Finish(Settle(verdict, dom, [&] { return std::optional<std::string>(text); }));
}

bool Document::Finish(std::optional<LoadError> error) {
  index_.reset();  // the content is new (or gone)
  if (!error) {
    error_ = LoadError{};
    return true;
  }
  doc_.reset();
  error_ = std::move(*error);
  return false;
}

void Document::ForgetSource() {
  source_path_.clear();
  source_encoding_ = pugi::encoding_utf8;
  source_text_.reset();
  line_starts_.reset();
}

std::size_t Document::LineOf(const Node& node) const {
  if (node.empty() || node.raw().attribute()) return 0;
  const std::ptrdiff_t offset = node.raw().node().offset_debug();
  if (offset < 0 || (!source_text_ && source_path_.empty())) return 0;
  if (!line_starts_) {
    std::optional<std::string> text = source_text_;
    if (!text) {
      text = ReadAgain(source_path_);
      if (text) *text = ToUtf8(*text, source_encoding_);
    }
    line_starts_ = LineStarts(text ? *text : std::string());
  }
  const std::vector<std::size_t>& starts = *line_starts_;
  if (starts.empty() || static_cast<std::size_t>(offset) >= starts.back()) return 0;  // beyond the text read
  return static_cast<std::size_t>(std::upper_bound(starts.begin(), starts.end() - 1, static_cast<std::size_t>(offset)) -
                                  starts.begin());
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
