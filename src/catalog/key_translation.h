// Translation of catalogue keys through the loaded document: the key that a referenced item received in
// the shop database (its NewPKID attribute), and the names and path of catalogue folders.
#pragma once

#include <cstdint>
#include <string>

#include "catalog/document.h"

namespace cvimp::catalog {

// The NewPKID of the first item of `section` whose PKID equals `old_key` numerically, read leniently: an
// item without NewPKID (or with an empty one) gives 0. The key 0 gives 0 without a lookup. No such item
// raises kObjectRequired.
std::int32_t TranslateKey(const Document& doc, std::int32_t old_key, const std::string& section);

// The Name and the ParentFolderFKID attribute, as text, of the first folder item whose PKID is `key`.
// A missing item or attribute raises kObjectRequired.
std::string FolderName(const Document& doc, std::int32_t key);
std::string FolderParentKey(const Document& doc, std::int32_t key);

// "/" and the names of the folder's ancestors and of the folder itself, joined by "/": "/A/B" for folder B
// under the root folder A. Raises kInvalidArgument for the key 0 and for a parent chain that loops,
// kObjectRequired for a missing folder or attribute, kTypeMismatch or kOverflow for a parent key that is
// not a 32-bit number.
std::string FolderPath(const Document& doc, std::int32_t key);

}  // namespace cvimp::catalog
