// Manager's key translation and folder paths: the catalogue functions over the Manager's loaded document.
#include "catalog/key_translation.h"
#include "plugin/manager.h"

namespace cvimp::plugin {

std::int32_t Manager::TranslateKey(std::int32_t old_key, const std::string& section) const {
  if (old_key == 0) return 0;  // the document is not consulted for "no reference"
  return catalog::TranslateKey(Use(catalog_), old_key, section);
}

std::string Manager::FolderPath(std::int32_t folder_key) const {
  return catalog::FolderPath(Use(catalog_), folder_key);
}

std::string Manager::FolderName(std::int32_t folder_key) const {
  return catalog::FolderName(Use(catalog_), folder_key);
}

std::string Manager::FolderParentKey(std::int32_t folder_key) const {
  return catalog::FolderParentKey(Use(catalog_), folder_key);
}

}  // namespace cvimp::plugin
