// Importers of the small tables that other records point at: currencies, delivery times, measure and
// quantity units, regions, manufacturers, keywords and keyword references. None has an error handler of its
// own: the first error ends the importer and the run goes on with the next one.
#include <cstdint>
#include <string>

#include "catalog/value_helpers.h"
#include "common/error.h"
#include "common/numeric.h"
#include "importers/record_import.h"

namespace cvimp::plugin {

using importers::Item;
using importers::KeyPart;
using importers::RunTableImport;
using importers::TableImport;

// Skips its key field and copies everything else, PKID included.
void Manager::ImportCurrencies() {
  RunTableImport(*this, {.section = "Currencies",
                         .start_text = "Importiere Währungen",
                         .key = {KeyPart::Text("ISOCode")},
                         .skipped = {"ISOCode"},
                         .on_error = ErrorRegime::EndAtFirstError()});
}

// Writes no NewPKID: a delivery time referenced through TranslateKey translates to 0.
void Manager::ImportDeliveryTimes() {
  RunTableImport(*this, {.section = "DeliveryTimes",
                         .start_text = "Importiere Lieferzeiten",
                         .key = {KeyPart::Text("Name")},
                         .skipped = {"PKID"},
                         .on_error = ErrorRegime::EndAtFirstError()});
}

void Manager::ImportMeasureUnits() {
  RunTableImport(*this, {.section = "MeasureUnits",
                         .start_text = "Importiere Maßeinheiten",
                         .key = {KeyPart::Text("Name")},
                         .skipped = {"PKID"},
                         .on_error = ErrorRegime::EndAtFirstError()});
}

void Manager::ImportQuantityUnits() {
  RunTableImport(*this, {.section = "QuantityUnits",
                         .start_text = "Importiere Mengeneinheiten",
                         .key = {KeyPart::Text("QtyUnit")},
                         .skipped = {"PKID"},
                         .on_error = ErrorRegime::EndAtFirstError()});
}

// Regions keep the catalogue's own key: looked up by PKID compared as quoted text, created with that PKID
// and the placeholder name "temp", then filled from the item, PKID included. No NewPKID.
void Manager::ImportRegions() {
  RunTableImport(*this, {.section = "Regions",
                         .start_text = "Importiere Regionen",
                         .key = {KeyPart::Text("PKID")},
                         .skipped = {},
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .create = [](Item& item) {
                           auto& rs = item.recordset();
                           rs.AddNew();
                           rs.SetValue("PKID", item.key_value());
                           rs.SetValue("Name", "temp");
                         }});
}

// The key comes from the item's ProductID and is compared with the table's ID; the copy then writes the
// item's own ID over it. The logo reference is neither copied nor translated.
void Manager::ImportManufacturers() {
  RunTableImport(*this, {.section = "Manufacturers",
                         .start_text = "Importiere Hersteller",
                         .key = {KeyPart::Text("ProductID", "ID")},
                         .skipped = {"PKID", "LogoMRef"},
                         .new_pkid = importers::NewPkid::kPresetToPkid,
                         .on_error = ErrorRegime::EndAtFirstError()});
}

void Manager::ImportKeywords() {
  RunTableImport(*this, {.section = "Keywords",
                         .key = {KeyPart::Text("Keyword")},
                         .skipped = {"PKID"},
                         .new_pkid = importers::NewPkid::kPresetToPkid,
                         .on_error = ErrorRegime::EndAtFirstError()});
}

// Looked up by the catalogue's RefType and ElRef; created with the placeholder keyword "temp". ElRef is
// stored as the NewPKID of the product item it names, whatever the RefType.
void Manager::ImportKeywordRefs() {
  RunTableImport(*this, {.section = "KeywordRefs",
                         .key = {KeyPart::Number("RefType", 16), KeyPart::Number("ElRef")},
                         .skipped = {},
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .create =
                             [](Item& item) {
                               auto& rs = item.recordset();
                               rs.AddNew();
                               rs.SetValue("RefType", item.key_value(0));
                               rs.SetValue("ElRef", item.key_value(1));
                               rs.SetValue("Keyword", "temp");
                             },
                         .field_rules = {{"ElRef", [](Item& item, std::string_view field) {
                                            const std::int32_t product_key =
                                                importers::WholeNumberAttribute(item.node, "ElRef");
                                            const catalog::Node product = item.manager.catalog_document()->ItemAnywhere(
                                                "Products", std::to_string(product_key));
                                            item.recordset().SetValue(field, importers::NewPkidText(product));
                                          }}}});
}

}  // namespace cvimp::plugin
