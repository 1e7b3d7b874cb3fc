// Importers of bundles and cross references (links between shop elements). Neither has an error handler of its
// own nor writes NewPKID, and, unlike the other importers, both copy PKID from the item. References go through
// TranslateKey: an item without NewPKID gives 0, a missing item ends the import.
#include <cstdint>
#include <string>

#include "catalog/value_helpers.h"
#include "common/numeric.h"
#include "importers/record_import.h"

namespace cvimp::plugin {

using catalog::NzLong;
using catalog::NzText;
using importers::Item;
using importers::RunTableImport;

namespace {

// The section an element type's references point into: 0 pages, 1 categories, 2 products; none for others.
const char* SectionOfType(std::int16_t type) {
  switch (type) {
    case 0:
      return "Pages";
    case 1:
      return "Categories";
    case 2:
      return "Products";
    default:
      return nullptr;
  }
}

}  // namespace

// The related product is held as text; the category and variant of the bundle are translated as well.
void Manager::ImportBundles() {
  RunTableImport(
      *this, {.section = "Bundles",
              .start_text = "Importiere Bundles",
              .on_error = ErrorRegime::EndAtFirstError(),
              .prepare =
                  [](Item& item) {
                    auto key = [&](const char* attribute, const char* section) {
                      return item.manager.TranslateKey(NzLong(item.node.GetAttribute(attribute), 0), section);
                    };
                    item.set("product") = key("ProductFKID", "Products");
                    item.set("related") = std::to_string(key("RelProductFKID", "Products"));
                    item.set("category") = key("ProductCategoryFKID", "Categories");
                    item.set("variant") = key("ProductVariantFKID", "VariantsComplex");
                  },
              .statement =
                  [](Item& item) {
                    return "SELECT * FROM Bundles WHERE ProductFKID=" + importers::DecimalText(item.value("product")) +
                           " AND RelProductFKID=" + item.value("related").text();
                  },
              .create = importers::AddWith({{"ProductFkid", "product"}, {"RelProductFKID", "related"}}),
              .field_rules = {{"ProductFKID", importers::Computed("product")},
                              {"RelProductFKID", importers::Computed("related")},
                              {"ProductCategoryFKID", importers::Computed("category")},
                              {"ProductVariantFKID", importers::Computed("variant")}}});
}

// Source and target references are translated by their element types. Intended: the target category and
// variant references are derived from the translated source reference, and the item's own
// ElTargetCategoryRef and ElTargetVariantRef are read, converted and dropped.
void Manager::ImportCrossRefs() {
  RunTableImport(*this, {.section = "CrossRefs",
                         .start_text = "Importiere Produktverlinkungen",
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .prepare =
                             [](Item& item) {
                               const std::int16_t source_type =
                                   importers::ToInt16(importers::WholeNumberAttribute(item.node, "ElSrcType"));
                               std::int32_t source = importers::WholeNumberAttribute(item.node, "ElSrcRef");
                               const std::int16_t target_type =
                                   importers::ToInt16(importers::WholeNumberAttribute(item.node, "ElTargetType"));
                               std::int32_t target = importers::WholeNumberAttribute(item.node, "ElTargetRef");
                               importers::WholeNumberAttribute(item.node, "ElTargetCategoryRef");
                               importers::WholeNumberAttribute(item.node, "ElTargetVariantRef");
                               if (const char* section = SectionOfType(source_type))
                                 source = item.manager.TranslateKey(source, section);
                               if (const char* section = SectionOfType(target_type))
                                 target = item.manager.TranslateKey(target, section);
                               item.set("source_type") = source_type;
                               item.set("source") = source;
                               item.set("target_type") = target_type;
                               item.set("target") = target;
                               item.set("category") = item.manager.TranslateKey(source, "Categories");
                               item.set("variant") = item.manager.TranslateKey(source, "VariantsComplex");
                             },
                         .statement =
                             [](Item& item) {
                               return "SELECT * FROM CrossRefs WHERE ElSrcType=" +
                                      importers::DecimalText(item.value("source_type")) +
                                      " AND ElSrcRef=" + importers::DecimalText(item.value("source")) +
                                      " AND ElTargetType=" + importers::DecimalText(item.value("target_type")) +
                                      " AND ElTargetRef=" + importers::DecimalText(item.value("target")) +
                                      " AND ElTargetCategoryRef=" + importers::DecimalText(item.value("category")) +
                                      " AND ElTargetVariantRef=" + importers::DecimalText(item.value("variant"));
                             },
                         .create = importers::AddWith({{"ElSrcType", "source_type"},
                                                       {"ElSrcRef", "source"},
                                                       {"ElTargetType", "target_type"},
                                                       {"ElTargetRef", "target"}}),
                         .field_rules = {{"ElSrcType", importers::Computed("source_type")},
                                         {"ElSrcRef", importers::Computed("source")},
                                         {"ElTargetType", importers::Computed("target_type")},
                                         {"ElTargetRef", importers::Computed("target")},
                                         {"ElTargetCategoryRef", importers::Computed("category")},
                                         {"ElTargetVariantRef", importers::Computed("variant")}}});
}

}  // namespace cvimp::plugin
