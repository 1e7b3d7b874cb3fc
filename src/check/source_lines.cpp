#include "check/source_lines.h"

#include <expat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "catalog/encoded_text.h"
#include "common/ascii_case.h"
#include "common/file_open.h"

namespace cvimp::check {
namespace {

std::optional<std::string> ReadBytes(const std::string& path) {
  std::FILE* file = OpenFile(path, "rb");
  if (!file) return std::nullopt;
  std::string bytes;
  char chunk[1 << 16];
  for (;;) {
    const std::size_t n = std::fread(chunk, 1, sizeof chunk, file);
    if (n == 0) break;
    bytes.append(chunk, n);
  }
  const bool failed = std::ferror(file) != 0;
  std::fclose(file);
  if (failed) return std::nullopt;
  return bytes;
}

// Whether the XML declaration at the start of 8-bit text names ISO-8859-1 as its encoding.
bool DeclaresLatin1(std::string_view bytes) {
  if (bytes.substr(0, 5) != "<?xml") return false;
  const std::string_view declaration = bytes.substr(0, bytes.find("?>"));
  std::size_t at = declaration.find("encoding");
  if (at == std::string_view::npos) return false;
  at = declaration.find_first_of("\"'", at);
  if (at == std::string_view::npos) return false;
  const std::size_t end = declaration.find(declaration[at], at + 1);
  if (end == std::string_view::npos) return false;
  return EqualsIgnoringCase(declaration.substr(at + 1, end - at - 1), "ISO-8859-1");
}

pugi::xml_encoding EncodingOf(std::string_view bytes) {
  auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  if (bytes.size() < 2) return pugi::encoding_utf8;
  if (at(0) == 0xFE && at(1) == 0xFF) return pugi::encoding_utf16_be;
  if (at(0) == 0xFF && at(1) == 0xFE) return pugi::encoding_utf16_le;
  if (bytes.size() >= 3 && at(0) == 0xEF && at(1) == 0xBB && at(2) == 0xBF) return pugi::encoding_utf8;
  if (at(0) == 0) return pugi::encoding_utf16_be;
  if (at(1) == 0) return pugi::encoding_utf16_le;
  return DeclaresLatin1(bytes) ? pugi::encoding_latin1 : pugi::encoding_utf8;
}

// The place of every start tag of a UTF-8 text, in document order, as the conforming parser reports them;
// empty when it does not accept the text.
std::vector<SourcePlace> StartTagPlaces(const std::string& text) {
  std::vector<SourcePlace> places;
  XML_Parser parser = XML_ParserCreate("UTF-8");
  if (!parser) return places;
  struct Pass {
    XML_Parser parser;
    std::vector<SourcePlace>* places;
  } pass{parser, &places};
  XML_SetUserData(parser, &pass);
  XML_SetStartElementHandler(parser, [](void* data, const XML_Char*, const XML_Char**) {
    auto* p = static_cast<Pass*>(data);
    p->places->push_back({static_cast<std::size_t>(XML_GetCurrentLineNumber(p->parser)),
                          static_cast<std::size_t>(XML_GetCurrentColumnNumber(p->parser)) + 1});
  });
  bool accepted = true;
  constexpr std::size_t kChunk = 1 << 20;
  for (std::size_t at = 0; accepted && at < text.size(); at += kChunk) {
    const std::size_t n = std::min(kChunk, text.size() - at);
    accepted = XML_Parse(parser, text.data() + at, static_cast<int>(n), XML_FALSE) == XML_STATUS_OK;
  }
  accepted = accepted && XML_Parse(parser, "", 0, XML_TRUE) == XML_STATUS_OK;
  XML_ParserFree(parser);
  if (!accepted) places.clear();
  return places;
}

}  // namespace

std::optional<std::string> ReadAsUtf8(const std::string& path) {
  std::optional<std::string> bytes = ReadBytes(path);
  if (!bytes) return std::nullopt;
  const pugi::xml_encoding encoding = EncodingOf(*bytes);
  if (encoding == pugi::encoding_utf8) return bytes;
  return catalog::ToUtf8(*bytes, encoding);
}

SourceLines SourceLines::OfFile(std::string path) {
  SourceLines lines;
  lines.path_ = std::move(path);
  return lines;
}

SourceLines SourceLines::OfText(std::string utf8_text) {
  SourceLines lines;
  lines.text_ = std::move(utf8_text);
  return lines;
}

bool SourceLines::Ready() {
  if (loaded_) return readable_;
  loaded_ = true;
  if (path_) {
    std::optional<std::string> text = ReadAsUtf8(*path_);
    if (!text) return false;
    text_ = std::move(*text);
  }
  // A line ends at LF, at CR LF and at a CR on its own.
  line_starts_.push_back(0);
  const char* data = text_.data();
  const std::size_t size = text_.size();
  for (std::size_t i = 0; i < size; ++i) {
    const char c = data[i];
    if (c == '\n' || (c == '\r' && (i + 1 == size || data[i + 1] != '\n'))) line_starts_.push_back(i + 1);
  }
  readable_ = true;
  return true;
}

SourcePlace SourceLines::LocateByOrder(pugi::xml_node element) {
  if (!ordered_) {
    ordered_ = true;
    std::size_t count = 0;
    for (pugi::xml_node n = element.root().first_child(); n;) {
      if (n.type() == pugi::node_element) ordinal_.emplace(n.internal_object(), count++);
      if (n.first_child()) {
        n = n.first_child();
        continue;
      }
      while (n && !n.next_sibling()) n = n.parent();
      if (n) n = n.next_sibling();
    }
    places_ = StartTagPlaces(text_);
    if (places_.size() != count) places_.clear();  // not the text this document was built from
  }
  auto found = ordinal_.find(element.internal_object());
  if (found == ordinal_.end() || found->second >= places_.size()) return {};
  return places_[found->second];
}

SourcePlace SourceLines::Locate(pugi::xml_node element) {
  if (!element || !Ready()) return {};
  const std::ptrdiff_t name_offset = element.offset_debug();
  if (name_offset < 0) return LocateByOrder(element);
  if (name_offset < 1) return {};
  const auto name_at = static_cast<std::size_t>(name_offset);
  const std::string_view name = element.name();
  // The text must hold this element there: '<' and its name.
  if (name_at + name.size() > text_.size() || text_[name_at - 1] != '<' ||
      std::string_view(text_).substr(name_at, name.size()) != name)
    return {};
  const std::size_t tag = name_at - 1;
  const auto next_line = std::upper_bound(line_starts_.begin(), line_starts_.end(), tag);
  const std::size_t line = static_cast<std::size_t>(next_line - line_starts_.begin());
  std::size_t from = *(next_line - 1);
  if (from == 0 && text_.compare(0, 3, "\xEF\xBB\xBF") == 0) from = 3;  // a byte order mark is no character
  std::size_t column = 1;
  for (std::size_t i = from; i < tag; ++i)
    if ((static_cast<unsigned char>(text_[i]) & 0xC0) != 0x80) ++column;
  return {line, column};
}

}  // namespace cvimp::check
