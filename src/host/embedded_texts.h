// The text resource files of resources/texts, compiled into the host library at build time (one entry per
// file, named after the file: de.xml is the language "de").
#pragma once

#include <string_view>
#include <vector>

namespace cvimp::host {

struct EmbeddedText {
  std::string_view language;
  std::string_view xml;
};

// In the order of the language names.
const std::vector<EmbeddedText>& EmbeddedTexts();

}  // namespace cvimp::host
