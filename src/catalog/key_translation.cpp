#include "catalog/key_translation.h"

#include <set>

#include "catalog/item_paths.h"
#include "catalog/value_helpers.h"
#include "common/error.h"
#include "common/numeric.h"

namespace cvimp::catalog {
namespace {

Node FindFolder(const Document& doc, std::int32_t key) {
  // The folder lookups compare the key as text.
  Node folder = doc.ItemByText("Folders", std::to_string(key));
  if (!folder) {
    throw Error(ErrorCode::kObjectRequired,
                "Object variable not set: no item matches " + ItemByTextPath("Folders", std::to_string(key)));
  }
  return folder;
}

}  // namespace

std::int32_t TranslateKey(const Document& doc, std::int32_t old_key, const std::string& section) {
  if (old_key == 0) return 0;
  // The number is compared numerically, so "017" and " 17 " match the key 17 as well.
  Node item = doc.ItemByNumber(section, old_key);
  if (!item) {
    throw Error(ErrorCode::kObjectRequired,
                "Object variable not set: no item matches " + ItemByNumberPath(section, old_key));
  }
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
  // Each key finds one folder (the first with that key), so a walk that meets a key a second time has come
  // back to a folder it passed and would go round for ever.
  std::set<std::int32_t> visited;
  std::string path;
  const std::int32_t start = key;
  while (key != 0) {
    path = FolderName(doc, key) + "/" + path;
    if (!visited.insert(key).second) {
      throw Error(ErrorCode::kInvalidArgument,
                  "The parent chain of folder " + std::to_string(start) + " loops back on itself");
    }
    key = TextToLong(FolderParentKey(doc, key), "parent folder key of folder " + std::to_string(key));
  }
  path.pop_back();  // the trailing "/"
  return "/" + path;
}

}  // namespace cvimp::catalog
