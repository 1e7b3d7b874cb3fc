// Text of a document in the encoding it was read in, turned into UTF-8: to place a fault by line and column,
// and to read raw bytes of a document as characters.
#pragma once

#include <cstdint>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace cvimp::catalog {

// Appends the UTF-8 form of a code point.
void AppendUtf8(std::uint32_t cp, std::string& out);

// The bytes, decoded in `encoding` (ISO-8859-1, UTF-16 or UTF-32 in either byte order; anything else is
// taken as UTF-8 already), as UTF-8. A UTF-16 surrogate without its partner is kept as its own code.
std::string ToUtf8(std::string_view raw, pugi::xml_encoding encoding);

}  // namespace cvimp::catalog
