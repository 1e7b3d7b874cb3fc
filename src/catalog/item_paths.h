// The XPath texts of the importers' path forms, written exactly as the importers spell them: for the XPath
// evaluation where an index cannot answer, for error messages, and for tests that compare the two.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace cvimp::catalog {

// "CalvoraCatalog/<S>/<S>Item"
inline std::string SectionItemsPath(std::string_view section) {
  std::string path = "CalvoraCatalog/";
  path.append(section).append("/").append(section).append("Item");
  return path;
}

// "CalvoraCatalog/<S>/<S>Item[@PKID=<n>]": the key compared as a number.
inline std::string ItemByNumberPath(std::string_view section, std::int32_t key) {
  return SectionItemsPath(section) + "[@PKID=" + std::to_string(key) + "]";
}

// "CalvoraCatalog/<S>/<S>Item[@PKID='<k>']": the key compared as text.
inline std::string ItemByTextPath(std::string_view section, std::string_view key) {
  return SectionItemsPath(section) + "[@PKID='" + std::string(key) + "']";
}

// "//<S>Item[@PKID='<k>']": an element of that name anywhere in the document.
inline std::string ItemAnywherePath(std::string_view section, std::string_view key) {
  std::string path = "//";
  path.append(section).append("Item[@PKID='").append(key).append("']");
  return path;
}

// "CalvoraCatalog/PageData/PageDataItem[@ElType='<t>' and @ElRef='<r>']"
inline std::string PageDataItemPath(std::int32_t element_type, std::int32_t element_key) {
  return "CalvoraCatalog/PageData/PageDataItem[@ElType='" + std::to_string(element_type) + "' and @ElRef='" +
         std::to_string(element_key) + "']";
}

}  // namespace cvimp::catalog
