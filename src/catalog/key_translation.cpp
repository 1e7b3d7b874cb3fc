#include "catalog/key_translation.h"

#include <optional>

#include "catalog/value_helpers.h"
#include "common/error.h"
#include "common/numeric.h"

namespace cvimp::catalog {
namespace {

Node FindFolder(const Document& doc, std::int32_t key) {
  // The folder lookups compare the key as text.
  const std::string path = "CalvoraCatalog/Folders/FoldersItem[@PKID='" + std::to_string(key) + "']";
  Node folder = doc.SelectSingleNode(path);
  if (!folder) throw Error(ErrorCode::kObjectRequired, "Object variable not set: no item matches " + path);
  return folder;
}

}  // namespace

std::int32_t TranslateKey(const Document& doc, std::int32_t old_key, const std::string& section) {
  if (old_key == 0) return 0;
  // The number is compared numerically, so "017" and " 17 " match the key 17 as well.
  const std::string path = "CalvoraCatalog/" + section + "/" + section + "Item[@PKID=" + std::to_string(old_key) + "]";
  Node item = doc.SelectSingleNode(path);
  if (!item) throw Error(ErrorCode::kObjectRequired, "Object variable not set: no item matches " + path);
  return NzLong(item.GetAttribute("NewPKID"), 0);
}

std::string FolderName(const Document& doc, std::int32_t key) { return FindFolder(doc, key).AttributeText("Name"); }

std::string FolderParentKey(const Document& doc, std::int32_t key) {
  return FindFolder(doc, key).AttributeText("ParentFolderFKID");
}

std::string FolderPath(const Document& doc, std::int32_t key) {
  if (key == 0) {
    throw Error(ErrorCode::kInvalidArgument, "Invalid procedure call or argument: the folder key 0 has no path");
  }
  // A walk that visits more folders than there are has come back to one of them.
  const std::size_t folder_count = doc.SelectNodes("CalvoraCatalog/Folders/FoldersItem").size();
  std::string path;
  std::size_t steps = 0;
  const std::int32_t start = key;
  while (key != 0) {
    path = FolderName(doc, key) + "/" + path;
    if (++steps > folder_count) {
      throw Error(ErrorCode::kInvalidArgument,
                  "The parent chain of folder " + std::to_string(start) + " loops back on itself");
    }
    key = TextToLong(FolderParentKey(doc, key), "parent folder key of folder " + std::to_string(key));
  }
  path.pop_back();  // the trailing "/"
  return "/" + path;
}

}  // namespace cvimp::catalog
