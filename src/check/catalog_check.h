// The static checks of a catalogue, for `cvimport check`: what can be told about a catalogue file without
// importing it. Well-formedness (line and column), the root element, sections no importer reads, item
// attributes that neither the shop schema's table nor an importer knows, items without their natural key,
// natural keys that repeat within a section, references that name no item of the section they point into,
// and folder and category parent chains that loop; besides, elements in a section that are not its items, and
// values without which an importer ends (a folder's PKID, the numbers of a cross reference). Findings come in
// document order.
//
// The checks read every item once and index keys in hash tables: they take time in proportion to the
// catalogue's size.
#pragma once

#include <string>
#include <vector>

#include "catalog/document.h"
#include "check/finding.h"
#include "check/source_lines.h"

namespace cvimp::check {

// Loads the file as the import loads it and checks it. A file that does not load gives one finding of kind
// kNotWellFormed (with the parser's line and column where it knows them).
std::vector<Finding> CheckCatalogFile(const std::string& path);

// Checks a loaded document; `lines` places items in the text the document was parsed from (see
// SourceLines); without it, or where it cannot tell, lines and columns are 0. The document is only read.
std::vector<Finding> CheckDocument(const catalog::Document& document, SourceLines* lines = nullptr);

}  // namespace cvimp::check
