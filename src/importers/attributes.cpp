// Importers of the product attributes: classes, groups, attributes, their assignment to classes, the choice
// values of an attribute, the attributes of a product and the choice values selected for a product. None has an
// error handler of its own and none shows a start text. Foreign keys are looked up directly in the catalogue by
// the key compared as a number; an item without NewPKID gives 0, a missing item ends the importer.
//
// Intended, in all seven: the field copy skips only PKID, so a link record ends up holding the catalogue's own
// foreign keys, not the translated ones its lookup and insert used.
#include <cstdint>
#include <string>

#include "catalog/value_helpers.h"
#include "common/numeric.h"
#include "importers/record_import.h"

namespace cvimp::plugin {

using catalog::NzLong;
using catalog::NzText;
using importers::Item;
using importers::KeyPart;
using importers::LenientNewKey;
using importers::NewPkid;
using importers::RunTableImport;

namespace {

// The translated key of a reference attribute: NzLong of the attribute, through the section's items.
std::int32_t Reference(const Item& item, const char* attribute, std::string_view section) {
  return LenientNewKey(item.manager, section, NzLong(item.node.GetAttribute(attribute), 0));
}

}  // namespace

void Manager::ImportAttributeClasses() {
  RunTableImport(*this, {.section = "AttributeClasses",
                         .key = {KeyPart::Text("Name")},
                         .skipped = {"PKID"},
                         .new_pkid = NewPkid::kPresetToPkid,
                         .on_error = ErrorRegime::EndAtFirstError()});
}

void Manager::ImportAttributeGroups() {
  RunTableImport(*this, {.section = "AttributeGroups",
                         .key = {KeyPart::Text("Name")},
                         .skipped = {"PKID"},
                         .new_pkid = NewPkid::kFromRecord,
                         .on_error = ErrorRegime::EndAtFirstError()});
}

// Looked up by name only: two attributes of one name in different groups are one record. The group key is the
// attribute's text converted strictly (empty or not numeric ends the importer). Intended: DefaultSurcharge is
// always 0.
void Manager::ImportAttributes() {
  RunTableImport(
      *this,
      {.section = "Attributes",
       .key = {KeyPart::Text("Name")},
       .skipped = {"PKID"},
       .new_pkid = NewPkid::kPresetToPkid,
       .on_error = ErrorRegime::EndAtFirstError(),
       .prepare =
           [](Item& item) {
             item.set("group") = LenientNewKey(item.manager, "AttributeGroups",
                                               importers::WholeNumberAttribute(item.node, "GroupFKID"));
           },
       .field_rules = {
           {"DefaultSurcharge", [](Item& item, std::string_view f) { item.recordset().SetValue(f, std::int32_t{0}); }},
           {"GroupFKID", [](Item& item, std::string_view f) { item.recordset().SetValue(f, item.value("group")); }}}});
}

void Manager::ImportAttributes2Class() {
  RunTableImport(*this, {.section = "Attributes2Class",
                         .skipped = {"PKID"},
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .prepare =
                             [](Item& item) {
                               item.set("attribute") = Reference(item, "AttributeFKID", "Attributes");
                               item.set("class") = Reference(item, "ClassFKID", "AttributeClasses");
                             },
                         .statement =
                             [](Item& item) {
                               return "SELECT * FROM Attributes2Class WHERE AttributeFKID=" +
                                      importers::DecimalText(item.value("attribute")) +
                                      " AND ClassFKID=" + importers::DecimalText(item.value("class"));
                             },
                         .create = importers::AddWith({{"AttributeFKID", "attribute"}, {"ClassFKID", "class"}})});
}

// Intended: no blank between the key and "AND" in the statement; the key is kept as decimal text.
void Manager::ImportAttributeMultiValues() {
  RunTableImport(
      *this, {.section = "AttributeMultiValues",
              .skipped = {"PKID"},
              .new_pkid = NewPkid::kFromRecord,
              .on_error = ErrorRegime::EndAtFirstError(),
              .prepare =
                  [](Item& item) {
                    item.set("value") = NzText(item.node.GetAttribute("Value"), "");
                    item.set("attribute") = std::to_string(Reference(item, "AttributeFKID", "Attributes"));
                  },
              .statement =
                  [](Item& item) {
                    return "SELECT * FROM AttributeMultiValues WHERE AttributeFKID=" + item.value("attribute").text() +
                           "AND Value='" + importers::SqlQuote(item.manager, item.value("value").text()) + "'";
                  },
              .create = importers::AddWith({{"AttributeFKID", "attribute"}, {"Value", "value"}})});
}

void Manager::ImportAttributes2Product() {
  RunTableImport(*this, {.section = "Attributes2Product",
                         .skipped = {"PKID"},
                         .new_pkid = NewPkid::kFromRecord,
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .prepare =
                             [](Item& item) {
                               item.set("attribute") = Reference(item, "AttributeFKID", "Attributes");
                               item.set("class") = Reference(item, "ClassFKID", "AttributeClasses");
                               item.set("product") = Reference(item, "ProductFKID", "Products");
                             },
                         .statement =
                             [](Item& item) {
                               return "SELECT * FROM Attributes2Product WHERE AttributeFKID=" +
                                      importers::DecimalText(item.value("attribute")) +
                                      " AND ClassFKID=" + importers::DecimalText(item.value("class")) +
                                      " AND ProductFKID=" + importers::DecimalText(item.value("product"));
                             },
                         .create = importers::AddWith(
                             {{"AttributeFKID", "attribute"}, {"ClassFKID", "class"}, {"ProductFkid", "product"}})});
}

void Manager::ImportAttributeMultiValues2Product() {
  RunTableImport(
      *this,
      {.section = "AttributeMultiValues2Product",
       .skipped = {"PKID"},
       .on_error = ErrorRegime::EndAtFirstError(),
       .prepare =
           [](Item& item) {
             item.set("value") = Reference(item, "AttributeMultiValuesFKID", "AttributeMultiValues");
             item.set("link") = Reference(item, "Attributes2ProductFKID", "Attributes2Product");
           },
       .statement =
           [](Item& item) {
             return "SELECT * FROM AttributeMultiValues2Product WHERE AttributeMultiValuesFKID=" +
                    importers::DecimalText(item.value("value")) +
                    " AND Attributes2ProductFKID=" + importers::DecimalText(item.value("link"));
           },
       .create = importers::AddWith({{"AttributeMultiValuesFKID", "value"}, {"Attributes2ProductFKID", "link"}})});
}

}  // namespace cvimp::plugin
