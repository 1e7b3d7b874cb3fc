// Where an element of a loaded catalogue stands in its file: line and column of its start tag. The document
// keeps each element's offset in the text it parsed (the file's text as UTF-8); the text itself is read again
// only when the first place is asked for, and its line starts are noted once, so that placing an element
// costs a search among the line starts. A document built from the parser's events (one with an internal DTD
// subset) keeps no offsets: its elements are placed by one further pass of that parser over the text, whose
// start tags come in the document's element order (an element that an entity brings in is placed at its
// reference).
#pragma once

#include <cstddef>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace cvimp::check {

struct SourcePlace {
  std::size_t line = 0;    // 1-based; 0 when not known
  std::size_t column = 0;  // 1-based, in characters
};

class SourceLines {
 public:
  // The text of a catalogue file, read (and decoded as its load decodes it) when first needed.
  static SourceLines OfFile(std::string path);
  // A text that was loaded as UTF-8 (Document::LoadXml).
  static SourceLines OfText(std::string utf8_text);

  // The place of the '<' of the element's start tag. Unknown (0, 0) when the document was not parsed from
  // this text (or was built from a document with a DTD, whose elements carry no offsets), or when the file
  // cannot be read again or no longer holds the element there.
  SourcePlace Locate(pugi::xml_node element);

 private:
  SourceLines() = default;
  bool Ready();
  SourcePlace LocateByOrder(pugi::xml_node element);

  std::optional<std::string> path_;
  std::string text_;
  bool loaded_ = false;
  bool readable_ = false;
  std::vector<std::size_t> line_starts_;
  // For documents without offsets, built on first need: each element's place in document order.
  bool ordered_ = false;
  std::unordered_map<const void*, std::size_t> ordinal_;
  std::vector<SourcePlace> places_;
};

// The file's bytes decoded as the catalogue load decodes them: by the byte order mark or the first bytes
// (UTF-16 in either byte order, else UTF-8), ISO-8859-1 where the XML declaration names it. nullopt when the
// file cannot be read.
std::optional<std::string> ReadAsUtf8(const std::string& path);

}  // namespace cvimp::check
