// What a conforming XML 1.0 parser (expat) says about a catalogue, and the DOM built from its events for the
// documents whose content the DOM parser cannot be trusted with.
//
// The catalogue document keeps its DOM in pugixml, which parses fast but accepts much that XML forbids
// (forbidden characters and character references, undefined entities, bytes invalid in the encoding, ...)
// and ignores the internal DTD subset (entity declarations, default attributes). So every load is judged by
// expat, which never reads anything but the bytes it is given: no external DTD, no external entity.
#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace cvimp::catalog {

// Where the bytes of a document come from, read front to back in chunks.
class XmlByteSource {
 public:
  virtual ~XmlByteSource() = default;
  // Fills `into` with up to `capacity` bytes and sets `got`; `got` = 0 at the end. False when reading failed.
  virtual bool Read(char* into, std::size_t capacity, std::size_t& got) = 0;
};

// A text in memory.
class XmlMemorySource : public XmlByteSource {
 public:
  explicit XmlMemorySource(std::string_view bytes) : bytes_(bytes) {}
  bool Read(char* into, std::size_t capacity, std::size_t& got) override;

 private:
  std::string_view bytes_;
  std::size_t offset_ = 0;
};

// A file, read front to back through a handle of its own, so that another reader of the same file is not
// disturbed; the path is UTF-8. ok() is false when it could not be opened.
class XmlFileSource : public XmlByteSource {
 public:
  explicit XmlFileSource(const std::string& path);
  ~XmlFileSource() override;
  XmlFileSource(const XmlFileSource&) = delete;
  XmlFileSource& operator=(const XmlFileSource&) = delete;
  bool ok() const { return file_ != nullptr; }
  bool Read(char* into, std::size_t capacity, std::size_t& got) override;

 private:
  std::FILE* file_;
};

// How the bytes are to be decoded.
enum class XmlInput {
  kDocument,  // a file: the encoding follows from the byte order mark and the XML declaration
  kUtf8Text,  // a text that is UTF-8 whatever its declaration says (a byte order mark is allowed)
};

// Why a document was refused: the reason and where (1-based line and column; a column counts characters,
// and a byte order mark is not one).
struct XmlFault {
  std::string reason;
  std::size_t line = 0;
  std::size_t column = 0;
};

// What the prolog says about how the rest is to be read.
struct XmlProlog {
  bool has_internal_subset = false;
  // The encoding the document is decoded in, in pugixml's terms (US-ASCII counts as UTF-8).
  pugi::xml_encoding encoding = pugi::encoding_utf8;
};

struct XmlVerdict {
  bool read_failed = false;       // the bytes could not be read: no verdict
  std::optional<XmlFault> fault;  // not well-formed, or refused (see CheckXml)
  XmlProlog prolog;               // as far as the pass got
};

// Judges a document in one streaming pass, holding only one chunk of it. Refuses what expat refuses, and:
// - a reference to an external entity (it is never read);
// - a reference to an entity that is not declared where the document's DTD is incomplete (an external DTD
//   or an unread parameter entity), because its declaration would be in what is never read; expat reports
//   such a reference in text as a skipped entity and drops it from an attribute value, so start tags and
//   entity values are searched for such references as well;
// - a UTF-8 byte order mark with an encoding declaration of ISO-8859-1: expat would decode the rest as
//   ISO-8859-1, pugixml as UTF-8; the file contradicts itself, so it is refused rather than guessed at.
// Entity expansion is bounded by expat's amplification limits (its defaults).
//
// `on_prolog`, when given, is called at most once, on the calling thread, as soon as the prolog is known (at
// the DOCTYPE or at the first element), long before the pass ends on a large document; a document refused
// before that point never calls it.
XmlVerdict CheckXml(XmlByteSource& source, XmlInput input, const std::function<void(const XmlProlog&)>& on_prolog = {});

// Builds `doc` from the events of a pass of its own, for a document with an internal DTD subset, which
// pugixml skips (and with it the entities and default attributes declared there). It refuses what CheckXml
// refuses but for what CheckXml finds by looking at the raw text (undeclared references in start tags and
// DTD literals), so it may run beside the check but does not replace it. The result reads through the
// document API as the pugixml parse of the same document (without a DTD) reads: elements with their
// attributes in order (default attributes declared in the internal subset after the given ones), adjacent
// character data as one text node, a text node that is only spaces, tabs, carriage returns and line feeds
// written as such dropped (white space that comes from a reference stays), CDATA sections, comments and
// processing instructions (not those inside the DTD), internal entities expanded. One difference: the line
// ends inside a processing instruction are normalised to line feeds, as XML prescribes, where pugixml keeps
// them as written. The verdict is this pass's own; `doc` is empty unless it accepts.
XmlVerdict BuildDomFromXml(XmlByteSource& source, XmlInput input, pugi::xml_document& doc);

}  // namespace cvimp::catalog
