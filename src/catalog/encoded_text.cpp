#include "catalog/encoded_text.h"

#include <algorithm>

namespace cvimp::catalog {

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

std::string ToUtf8(std::string_view raw, pugi::xml_encoding encoding) {
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
    default:
      return std::string(raw);
  }
}

}  // namespace cvimp::catalog
