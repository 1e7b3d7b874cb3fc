#include "host/text_catalog.h"

#include <cstring>
#include <pugixml.hpp>

#include "common/error.h"
#include "host/embedded_texts.h"

namespace cvimp::host {

std::vector<std::string> AvailableLanguages() {
  std::vector<std::string> languages;
  for (const EmbeddedText& text : EmbeddedTexts()) languages.emplace_back(text.language);
  return languages;
}

CliTextCatalog::CliTextCatalog(TextOverrides overrides) : overrides_(std::move(overrides)) {}

void CliTextCatalog::Load(const std::string& source, std::int32_t) {
  texts_.clear();
  const EmbeddedText* found = nullptr;
  for (const EmbeddedText& text : EmbeddedTexts())
    if (text.language == source) found = &text;
  if (!found) throw Error(ErrorCode::kInvalidArgument, "No texts for the language '" + source + "'");

  pugi::xml_document doc;
  pugi::xml_parse_result result =
      doc.load_buffer(found->xml.data(), found->xml.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!result || std::strcmp(doc.document_element().name(), "texts") != 0)
    throw Error(ErrorCode::kInvalidArgument, "The texts of the language '" + source + "' cannot be read");
  std::map<std::string, std::string> texts;
  for (pugi::xml_node node : doc.document_element().children("text"))
    texts[node.attribute("key").value()] = node.text().get();
  texts_ = std::move(texts);
}

std::string CliTextCatalog::GetText(const std::string& key) {
  if (auto it = overrides_.find(key); it != overrides_.end()) return it->second;
  if (auto it = texts_.find(key); it != texts_.end()) return it->second;
  return std::string();
}

void CliTextCatalog::Close() { texts_.clear(); }

}  // namespace cvimp::host
