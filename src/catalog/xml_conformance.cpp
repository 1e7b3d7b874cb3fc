#include "catalog/xml_conformance.h"

#include <expat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <new>
#include <unordered_set>
#include <utility>
#include <vector>

#include "catalog/encoded_text.h"
#include "common/ascii_case.h"
#include "common/file_open.h"

namespace cvimp::catalog {

bool XmlMemorySource::Read(char* into, std::size_t capacity, std::size_t& got) {
  got = std::min(capacity, bytes_.size() - offset_);
  if (got > 0) std::memcpy(into, bytes_.data() + offset_, got);
  offset_ += got;
  return true;
}

XmlFileSource::XmlFileSource(const std::string& path) : file_(OpenFile(path, "rb")) {}

XmlFileSource::~XmlFileSource() {
  if (file_) std::fclose(file_);
}

bool XmlFileSource::Read(char* into, std::size_t capacity, std::size_t& got) {
  got = 0;
  if (!file_) return false;
  got = std::fread(into, 1, capacity, file_);
  return got > 0 || !std::ferror(file_);
}

namespace {

// Expat is fed in chunks of this size, read straight into its own buffer.
constexpr int kChunkSize = 64 * 1024;

bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::size_t UnitSize(pugi::xml_encoding encoding) {
  return encoding == pugi::encoding_utf16_le || encoding == pugi::encoding_utf16_be ? 2 : 1;
}

// The ASCII character that the code unit at the start of raw bytes of the document stands for, or -1 for
// any other (or none).
int AsciiAt(std::string_view raw, pugi::xml_encoding encoding) {
  auto byte = [&](std::size_t i) { return static_cast<unsigned char>(raw[i]); };
  if (raw.size() < UnitSize(encoding)) return -1;
  switch (encoding) {
    case pugi::encoding_utf16_le:
      return byte(1) == 0 && byte(0) < 0x80 ? byte(0) : -1;
    case pugi::encoding_utf16_be:
      return byte(0) == 0 && byte(1) < 0x80 ? byte(1) : -1;
    default:
      return byte(0) < 0x80 ? byte(0) : -1;
  }
}

bool StartsWithAmpersand(std::string_view raw, pugi::xml_encoding encoding) { return AsciiAt(raw, encoding) == '&'; }

bool IsPredefinedEntity(std::string_view name) {
  return name == "lt" || name == "gt" || name == "amp" || name == "apos" || name == "quot";
}

// The first reference in `text` (UTF-8) to a general entity that is neither predefined nor declared: its
// name and the offset of its '&'. Character references are skipped.
struct Reference {
  std::string name;
  std::size_t offset = 0;
};

std::optional<Reference> FindUndeclaredReference(std::string_view text,
                                                 const std::unordered_set<std::string>& declared) {
  for (std::size_t amp = text.find('&'); amp != std::string_view::npos; amp = text.find('&', amp + 1)) {
    if (amp + 1 < text.size() && text[amp + 1] == '#') continue;
    const std::size_t end = text.find(';', amp + 1);
    if (end == std::string_view::npos) break;
    const std::string name(text.substr(amp + 1, end - amp - 1));
    if (!IsPredefinedEntity(name) && !declared.contains(name)) return Reference{name, amp};
  }
  return std::nullopt;
}

std::string UndeclaredEntityReason(const std::string& name) {
  return "reference to entity '" + name +
         "', which is not declared in the document (declarations in an external DTD are not read)";
}

// Moves a 0-based line and column over UTF-8 text as the parser counts: a character is a column; CR LF, CR
// and LF each end a line.
void Advance(std::string_view text, XML_Size& line, XML_Size& column) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r' || c == '\n') {
      if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
      ++line;
      column = 0;
    } else if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) {
      ++column;
    }
  }
}

// One pass of expat over a document, with what both passes share: the encoding, the refusal of external
// entities, faults with their positions, and handlers that never let an exception into the parser.
class ExpatPass {
 public:
  explicit ExpatPass(XmlInput input)
      // A text is UTF-8 whatever it declares; a file is decoded as its byte order mark and declaration say.
      : input_(input), parser_(XML_ParserCreate(input == XmlInput::kUtf8Text ? "UTF-8" : nullptr)) {
    if (!parser_) throw std::bad_alloc();
    XML_SetUserData(parser_, this);
    // Parameter entities, and with them the external DTD subset, are never read.
    XML_SetParamEntityParsing(parser_, XML_PARAM_ENTITY_PARSING_NEVER);
    // Nor is an external general entity: a reference to one fails the parse ("error in processing external
    // entity reference"). Without a handler expat would skip the reference silently.
    XML_SetExternalEntityRefHandler(parser_, [](XML_Parser, const XML_Char*, const XML_Char*, const XML_Char*,
                                                const XML_Char*) { return static_cast<int>(XML_STATUS_ERROR); });
    XML_SetXmlDeclHandler(parser_, [](void* self, const XML_Char*, const XML_Char* encoding, int standalone) {
      Guarded(self, [&](ExpatPass& pass) { pass.OnXmlDeclaration(encoding, standalone); });
    });
  }
  virtual ~ExpatPass() { XML_ParserFree(parser_); }
  ExpatPass(const ExpatPass&) = delete;
  ExpatPass& operator=(const ExpatPass&) = delete;

  // Parses all of `source`. False when reading failed; otherwise `fault` says whether the document was refused.
  bool Run(XmlByteSource& source, std::optional<XmlFault>& fault) {
    for (bool first = true;; first = false) {
      void* chunk = XML_GetBuffer(parser_, kChunkSize);
      if (!chunk) {
        fault = FaultHere(XML_ErrorString(XML_GetErrorCode(parser_)));
        return true;
      }
      std::size_t got = 0;
      if (!source.Read(static_cast<char*>(chunk), kChunkSize, got)) return false;
      if (first) NoteStart(std::string_view(static_cast<const char*>(chunk), got));
      const bool last = got == 0;
      if (XML_ParseBuffer(parser_, static_cast<int>(got), last) != XML_STATUS_OK) {
        fault = stop_fault_ ? *stop_fault_ : FaultHere(XML_ErrorString(XML_GetErrorCode(parser_)));
        return true;
      }
      if (last) return true;
    }
  }

  // The encoding the parser decodes the document in. It follows the byte order mark or, without one, the
  // first bytes (a zero byte makes UTF-16), unless the XML declaration names ISO-8859-1; an encoding
  // declaration that contradicts a UTF-16 start is refused by the parser.
  pugi::xml_encoding Encoding() const {
    if (input_ == XmlInput::kUtf8Text) return pugi::encoding_utf8;
    return declared_latin1_ ? pugi::encoding_latin1 : detected_;
  }

 protected:
  // Runs a handler's work; an exception (only out of memory is possible) stops the parse instead of
  // unwinding through the parser.
  template <typename Pass = ExpatPass, typename Work>
  static void Guarded(void* self, Work&& work) {
    Pass& pass = *static_cast<Pass*>(static_cast<ExpatPass*>(self));
    try {
      work(pass);
    } catch (const std::exception& e) {
      pass.Stop(pass.FaultHere(e.what()));
    }
  }

  // Ends the parse with a fault of our own (the first one stands).
  void Stop(XmlFault fault) {
    if (stop_fault_) return;
    stop_fault_ = std::move(fault);
    XML_StopParser(parser_, XML_FALSE);
  }

  // A fault at a position as the parser counts it (1-based line, 0-based column in characters). The parser
  // counts a byte order mark as a column of the first line; it is not one.
  XmlFault FaultAt(std::string reason, XML_Size line, XML_Size column) const {
    XmlFault fault{std::move(reason), static_cast<std::size_t>(line), static_cast<std::size_t>(column) + 1};
    if (bom_ && fault.line == 1 && fault.column > 1) --fault.column;
    return fault;
  }
  XmlFault FaultHere(std::string reason) const {
    return FaultAt(std::move(reason), XML_GetCurrentLineNumber(parser_), XML_GetCurrentColumnNumber(parser_));
  }

  // The raw bytes of the current event (in the document's encoding), when the parser still holds them: the
  // start tag in a start element handler. For an event from an entity's replacement text the parser gives
  // the bytes of the reference, or none.
  std::string_view EventBytes() const {
    int offset = 0, size = 0;
    const char* context = XML_GetInputContext(parser_, &offset, &size);
    const int count = XML_GetCurrentByteCount(parser_);
    if (!context || count <= 0 || offset < 0 || offset + count > size) return {};
    return std::string_view(context + offset, static_cast<std::size_t>(count));
  }

  // The raw bytes of the quoted literal that the current event starts with (in an attribute list
  // declaration handler: the default value), quotes included; empty when the parser does not hold them.
  std::string_view EventLiteral() const {
    int offset = 0, size = 0;
    const char* context = XML_GetInputContext(parser_, &offset, &size);
    if (!context || offset < 0 || offset >= size) return {};
    const std::string_view rest(context + offset, static_cast<std::size_t>(size - offset));
    const int quote = AsciiAt(rest, Encoding());
    if (quote != '"' && quote != '\'') return {};
    const std::size_t unit = UnitSize(Encoding());
    for (std::size_t i = unit; i + unit <= rest.size(); i += unit) {
      if (AsciiAt(rest.substr(i), Encoding()) == quote) return rest.substr(0, i + unit);
    }
    return {};
  }

  // Whether the current event stems from a reference (a character reference or an entity's replacement
  // text) rather than from characters written as such: the parser points such events at the reference.
  bool EventIsFromReference() const {
    int offset = 0, size = 0;
    const char* context = XML_GetInputContext(parser_, &offset, &size);
    if (!context || offset < 0 || offset >= size) return false;
    return StartsWithAmpersand(std::string_view(context + offset, static_cast<std::size_t>(size - offset)), Encoding());
  }

  bool standalone() const { return standalone_; }

  XmlInput input_;
  XML_Parser parser_;

 private:
  void NoteStart(std::string_view bytes) {
    auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const bool utf8_bom = bytes.size() >= 3 && at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF;
    if (input_ == XmlInput::kUtf8Text || bytes.size() < 2) {
      bom_ = utf8_bom;
      return;
    }
    if (at(0) == 0xFE && at(1) == 0xFF) {
      bom_ = true;
      detected_ = pugi::encoding_utf16_be;
    } else if (at(0) == 0xFF && at(1) == 0xFE) {
      bom_ = true;
      detected_ = pugi::encoding_utf16_le;
    } else if (utf8_bom) {
      bom_ = true;
    } else if (at(0) == 0) {
      detected_ = pugi::encoding_utf16_be;
    } else if (at(1) == 0) {
      detected_ = pugi::encoding_utf16_le;
    }
  }

  void OnXmlDeclaration(const XML_Char* encoding, int standalone) {
    standalone_ = standalone == 1;
    if (!encoding || input_ == XmlInput::kUtf8Text) return;
    if (EqualsIgnoringCase(encoding, "ISO-8859-1")) {
      // A UTF-8 byte order mark says the file is UTF-8; the parser would follow the declaration and decode
      // every umlaut wrongly. The file contradicts itself, so it is refused rather than guessed at.
      if (bom_ && detected_ == pugi::encoding_utf8) {
        Stop(FaultHere("the encoding declaration (" + std::string(encoding) +
                       ") contradicts the byte order mark (UTF-8)"));
        return;
      }
      declared_latin1_ = true;
    }
  }

  bool bom_ = false;
  bool standalone_ = false;
  bool declared_latin1_ = false;
  pugi::xml_encoding detected_ = pugi::encoding_utf8;
  std::optional<XmlFault> stop_fault_;
};

// ---- The check -------------------------------------------------------------------------------------------

class Checker : public ExpatPass {
 public:
  Checker(XmlInput input, const std::function<void(const XmlProlog&)>& on_prolog)
      : ExpatPass(input), on_prolog_(on_prolog) {
    XML_SetStartDoctypeDeclHandler(
        parser_, [](void* self, const XML_Char*, const XML_Char* system_id, const XML_Char*, int has_internal_subset) {
          Guarded<Checker>(self, [&](Checker& c) {
            c.has_internal_subset_ = has_internal_subset != 0;
            c.external_subset_ = system_id != nullptr;
            c.ReportProlog();
          });
        });
    XML_SetNotStandaloneHandler(parser_, [](void* self) {
      static_cast<Checker*>(static_cast<ExpatPass*>(self))->unread_declarations_ = true;
      return static_cast<int>(XML_STATUS_OK);
    });
    XML_SetEntityDeclHandler(
        parser_, [](void* self, const XML_Char* name, int is_parameter_entity, const XML_Char* value, int length,
                    const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char*) {
          Guarded<Checker>(self, [&](Checker& c) {
            if (is_parameter_entity) return;
            c.declared_.insert(name);
            if (value) c.entity_values_.emplace_back(name, std::string(value, static_cast<std::size_t>(length)));
          });
        });
    XML_SetAttlistDeclHandler(
        parser_, [](void* self, const XML_Char*, const XML_Char*, const XML_Char*, const XML_Char* default_value, int) {
          Guarded<Checker>(self, [&](Checker& c) {
            if (default_value) c.CheckDefaultValue();
          });
        });
    XML_SetSkippedEntityHandler(parser_, [](void* self, const XML_Char* name, int is_parameter_entity) {
      // An unread parameter entity only leaves the DTD incomplete; what that hides is caught where it is used.
      Guarded<Checker>(self, [&](Checker& c) {
        if (!is_parameter_entity) c.Stop(c.FaultHere(UndeclaredEntityReason(name)));
      });
    });
    XML_SetStartElementHandler(parser_, [](void* self, const XML_Char*, const XML_Char**) {
      Guarded<Checker>(self, [&](Checker& c) { c.OnStartElement(); });
    });
  }

  XmlProlog prolog() const { return XmlProlog{has_internal_subset_, Encoding()}; }

 private:
  // Whether declarations that the parser does not read may exist: an external DTD subset or a parameter
  // entity reference, in a document that does not declare itself standalone. The parser then takes a
  // reference to an undeclared entity for one declared there: in text it reports it as skipped, in an
  // attribute value it drops it without a word.
  bool DeclarationsUnread() const { return !standalone() && (external_subset_ || unread_declarations_); }

  void ReportProlog() {
    if (prolog_reported_) return;
    prolog_reported_ = true;
    if (on_prolog_) on_prolog_(prolog());
  }

  // A default value in an attribute list declaration, while the DTD is incomplete: its references must be to
  // entities declared before it.
  void CheckDefaultValue() {
    if (!DeclarationsUnread()) return;
    const std::string literal = ToUtf8(EventLiteral(), Encoding());
    if (std::optional<Reference> ref = FindUndeclaredReference(literal, declared_)) StopAt(*ref, literal);
  }

  void OnStartElement() {
    ReportProlog();
    if (!DeclarationsUnread()) {
      // Nothing to look for: the parser itself refuses every undeclared entity.
      XML_SetStartElementHandler(parser_, nullptr);
      return;
    }
    if (!entity_values_checked_) {
      // An element in an entity's replacement text is not available as written; so every entity value is
      // searched once, before the first element, for references that the parser would drop.
      entity_values_checked_ = true;
      for (const auto& [entity, value] : entity_values_) {
        if (std::optional<Reference> ref = FindUndeclaredReference(value, declared_)) {
          Stop(FaultHere("the entity '" + entity + "' contains a " + UndeclaredEntityReason(ref->name)));
          return;
        }
      }
    }
    const std::string_view raw = EventBytes();
    if (raw.empty() || StartsWithAmpersand(raw, Encoding())) return;  // from an entity: searched above
    const std::string tag = ToUtf8(raw, Encoding());
    if (std::optional<Reference> ref = FindUndeclaredReference(tag, declared_)) StopAt(*ref, tag);
  }

  // Stops at a reference found in `text`, the raw text of the current event.
  void StopAt(const Reference& ref, std::string_view text) {
    XML_Size line = XML_GetCurrentLineNumber(parser_);
    XML_Size column = XML_GetCurrentColumnNumber(parser_);
    Advance(text.substr(0, ref.offset), line, column);
    Stop(FaultAt(UndeclaredEntityReason(ref.name), line, column));
  }

  const std::function<void(const XmlProlog&)>& on_prolog_;
  bool prolog_reported_ = false;
  bool has_internal_subset_ = false;
  bool external_subset_ = false;
  bool unread_declarations_ = false;
  bool entity_values_checked_ = false;
  std::unordered_set<std::string> declared_;
  std::vector<std::pair<std::string, std::string>> entity_values_;
};

// ---- The DOM from the events -------------------------------------------------------------------------------

class Builder : public ExpatPass {
 public:
  Builder(XmlInput input, pugi::xml_document& doc) : ExpatPass(input), cursor_(doc) {
    XML_SetElementHandler(
        parser_,
        [](void* self, const XML_Char* name, const XML_Char** attributes) {
          Guarded<Builder>(self, [&](Builder& b) { b.OnStartElement(name, attributes); });
        },
        [](void* self, const XML_Char*) {
          Guarded<Builder>(self, [&](Builder& b) {
            b.Flush();
            b.cursor_ = b.cursor_.parent();
          });
        });
    XML_SetCharacterDataHandler(parser_, [](void* self, const XML_Char* data, int length) {
      Guarded<Builder>(self,
                       [&](Builder& b) { b.OnCharacters(std::string_view(data, static_cast<std::size_t>(length))); });
    });
    XML_SetCdataSectionHandler(
        parser_,
        [](void* self) {
          Guarded<Builder>(self, [&](Builder& b) {
            b.Flush();
            b.in_cdata_ = true;
          });
        },
        [](void* self) {
          Guarded<Builder>(self, [&](Builder& b) {
            b.in_cdata_ = false;
            Require(b.Append(pugi::node_cdata).set_value(b.text_.data(), b.text_.size()));
            b.text_.clear();
          });
        });
    XML_SetCommentHandler(parser_, [](void* self, const XML_Char* data) {
      Guarded<Builder>(self, [&](Builder& b) {
        if (b.in_dtd_) return;
        b.Flush();
        Require(b.Append(pugi::node_comment).set_value(data));
      });
    });
    XML_SetProcessingInstructionHandler(parser_, [](void* self, const XML_Char* target, const XML_Char* data) {
      Guarded<Builder>(self, [&](Builder& b) {
        if (b.in_dtd_) return;
        b.Flush();
        pugi::xml_node pi = b.Append(pugi::node_pi);
        Require(pi.set_name(target) && pi.set_value(data));
      });
    });
    XML_SetDoctypeDeclHandler(
        parser_,
        [](void* self, const XML_Char*, const XML_Char*, const XML_Char*, int has_internal_subset) {
          Builder& b = *static_cast<Builder*>(static_cast<ExpatPass*>(self));
          b.in_dtd_ = true;
          b.has_internal_subset_ = has_internal_subset != 0;
        },
        [](void* self) { static_cast<Builder*>(static_cast<ExpatPass*>(self))->in_dtd_ = false; });
    // The check refused these already; should the file have changed since, the build refuses them too.
    XML_SetSkippedEntityHandler(parser_, [](void* self, const XML_Char* name, int is_parameter_entity) {
      Guarded<Builder>(self, [&](Builder& b) {
        if (!is_parameter_entity) b.Stop(b.FaultHere(UndeclaredEntityReason(name)));
      });
    });
  }

  XmlProlog prolog() const { return XmlProlog{has_internal_subset_, Encoding()}; }

 private:
  // pugixml says false (or gives an empty node) only when it is out of memory.
  static void Require(bool done) {
    if (!done) throw std::bad_alloc();
  }
  pugi::xml_node Append(pugi::xml_node_type type) {
    pugi::xml_node node = cursor_.append_child(type);
    Require(static_cast<bool>(node));
    return node;
  }

  void OnStartElement(const XML_Char* name, const XML_Char** attributes) {
    Flush();
    pugi::xml_node element = Append(pugi::node_element);
    Require(element.set_name(name));
    // The given attributes in their order, then the defaults of the attribute list declaration.
    for (const XML_Char** a = attributes; *a; a += 2) {
      pugi::xml_attribute attribute = element.append_attribute(a[0]);
      Require(attribute && attribute.set_value(a[1]));
    }
    cursor_ = element;
  }

  void OnCharacters(std::string_view data) {
    // The parser hands text over in pieces (at line ends, references, chunk ends); they become one node.
    text_.append(data);
    if (!in_cdata_ && droppable_ && (EventIsFromReference() || !std::all_of(data.begin(), data.end(), IsXmlSpace))) {
      droppable_ = false;
    }
  }

  // Ends a run of text at markup: white space written as such between markup is no node, as in a DOM
  // that does not preserve white space.
  void Flush() {
    if (!text_.empty() && !droppable_) Require(Append(pugi::node_pcdata).set_value(text_.data(), text_.size()));
    text_.clear();
    droppable_ = true;
  }

  pugi::xml_node cursor_;
  std::string text_;
  bool droppable_ = true;
  bool in_cdata_ = false;
  bool in_dtd_ = false;
  bool has_internal_subset_ = false;
};

}  // namespace

XmlVerdict CheckXml(XmlByteSource& source, XmlInput input, const std::function<void(const XmlProlog&)>& on_prolog) {
  Checker checker(input, on_prolog);
  XmlVerdict verdict;
  verdict.read_failed = !checker.Run(source, verdict.fault);
  verdict.prolog = checker.prolog();
  return verdict;
}

XmlVerdict BuildDomFromXml(XmlByteSource& source, XmlInput input, pugi::xml_document& doc) {
  doc.reset();
  XmlVerdict verdict;
  {
    Builder builder(input, doc);
    verdict.read_failed = !builder.Run(source, verdict.fault);
    verdict.prolog = builder.prolog();
  }
  if (verdict.read_failed || verdict.fault) doc.reset();
  return verdict;
}

}  // namespace cvimp::catalog
