// Importers of payment and shipping: payment and shipping methods, zones, calculators, rate tables and the
// exclusions between payment methods, shipping methods, zones and regions. None has an error handler of its
// own and none shows a start text. Zones, calculators and rate tables translate their references strictly (key
// compared as text; a missing item or NewPKID ends the importer), the exclusions leniently (key compared as a
// number; no NewPKID gives 0). A region key is used as the catalogue has it.
//
// Intended: the "temp"/0 placeholders of an insert are replaced by the copy that follows; Countries and tmpID
// get "temp", IsDefault 0 and IsFixed "0" on every record written; a method's Config is never imported.
#include <cstdint>
#include <string>

#include "catalog/value_helpers.h"
#include "common/numeric.h"
#include "importers/record_import.h"

namespace cvimp::plugin {

using catalog::NzDouble;
using catalog::NzLong;
using catalog::NzText;
using importers::Item;
using importers::KeyPart;
using importers::LenientNewKey;
using importers::NewPkid;
using importers::RunTableImport;
using importers::StrictNewKey;
using importers::ToInt16;

// The item's PKID is read but not used (intended): no NewPKID preset.
void Manager::ImportPayMethods() {
  RunTableImport(*this, {.section = "PayMethods",
                         .key = {KeyPart::Text("ID")},
                         .skipped = {"PKID", "Config"},
                         .new_pkid = NewPkid::kFromRecord,
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .create = [](Item& item) {
                           item.recordset().AddNew();
                           item.recordset().SetValue("id", item.key_value());
                           item.recordset().SetValue("Name", "temp");
                           for (const char* field : {"ChargeType", "TransType", "TaxClass"})
                             item.recordset().SetValue(field, std::int32_t{0});
                         }});
}

void Manager::ImportShipMethods() {
  RunTableImport(*this, {.section = "ShipMethods",
                         .key = {KeyPart::Text("ID")},
                         .skipped = {"PKID", "Config", "CalcProductSurcharges"},
                         .new_pkid = NewPkid::kFromRecord,
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .create = [](Item& item) {
                           item.recordset().AddNew();
                           item.recordset().SetValue("id", item.key_value());
                           item.recordset().SetValue("Name", "temp");
                           item.recordset().SetValue("ShipType", "temp");
                         }});
}

void Manager::ImportShipMethodZones() {
  RunTableImport(*this, {.section = "ShipMethodZones",
                         .skipped = {"PKID"},
                         .new_pkid = NewPkid::kFromRecord,
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .prepare =
                             [](Item& item) {
                               item.set("name") = NzText(item.node.GetAttribute("Name"), "");
                               item.set("method") =
                                   StrictNewKey(item.manager, "ShipMethods",
                                                importers::WholeNumberAttribute(item.node, "ShipMethodFKID"));
                             },
                         .statement =
                             [](Item& item) {
                               return "SELECT * FROM ShipMethodZones WHERE Name='" +
                                      importers::SqlQuote(item.manager, item.value("name").text()) +
                                      "' AND ShipMethodFKID=" + importers::DecimalText(item.value("method"));
                             },
                         .create = importers::AddWith({{"Name", "name"}, {"ShipMethodFKID", "method"}}),
                         .field_rules = {{"ShipMethodFKID", importers::Computed("method")},
                                         {"Countries", importers::Fixed("temp")},
                                         {"tmpID", importers::Fixed("temp")},
                                         {"IsDefault", importers::Fixed(std::int32_t{0})}}});
}

// RefType 0: the reference is a shipping method; any other type: a zone.
void Manager::ImportShipMethodCalculators() {
  RunTableImport(*this, {.section = "ShipMethodCalculators",
                         .skipped = {"PKID"},
                         .new_pkid = NewPkid::kFromRecord,
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .prepare =
                             [](Item& item) {
                               const std::int16_t type = ToInt16(importers::WholeNumberAttribute(item.node, "RefType"));
                               const std::int32_t reference = importers::WholeNumberAttribute(item.node, "RefFKID");
                               item.set("type") = type;
                               item.set("reference") =
                                   StrictNewKey(item.manager, type != 0 ? "ShipMethodZones" : "ShipMethods", reference);
                             },
                         .statement =
                             [](Item& item) {
                               return "SELECT * FROM ShipMethodCalculators WHERE RefType=" +
                                      importers::DecimalText(item.value("type")) +
                                      " AND RefFKID=" + importers::DecimalText(item.value("reference"));
                             },
                         .create = importers::AddWith({{"RefType", "type"}, {"RefFKID", "reference"}}),
                         .field_rules = {{"RefFKID", importers::Computed("reference")},
                                         {"Countries", importers::Fixed("temp")},
                                         {"tmpID", importers::Fixed("temp")},
                                         {"IsDefault", importers::Fixed(std::int32_t{0})}}});
}

// Intended: the amount is compared through the database's CDBL of its text (in this host's number format, with
// a "." as decimal separator).
void Manager::ImportShipMethodTables() {
  RunTableImport(*this,
                 {.section = "ShipMethodTables",
                  .skipped = {"PKID"},
                  .new_pkid = NewPkid::kFromRecord,
                  .on_error = ErrorRegime::EndAtFirstError(),
                  .prepare =
                      [](Item& item) {
                        item.set("amount") = NzDouble(item.node.GetAttribute("UpToAmount"), 0.0);
                        item.set("charge") = ToInt16(NzLong(item.node.GetAttribute("ChargeType"), 0));
                        item.set("calculator") = StrictNewKey(item.manager, "ShipMethodCalculators",
                                                              NzLong(item.node.GetAttribute("ShipCalculatorFKID"), 0));
                      },
                  .statement =
                      [](Item& item) {
                        return "SELECT * FROM ShipMethodTables WHERE ShipCalculatorFKID=" +
                               importers::DecimalText(item.value("calculator")) +
                               " AND ChargeType=" + importers::DecimalText(item.value("charge")) +
                               " AND UpToAmount=CDBL('" + NumberToText(item.value("amount").number()) + "')";
                      },
                  .create = importers::AddWith(
                      {{"ShipCalculatorFKID", "calculator"}, {"ChargeType", "charge"}, {"UpToAmount", "amount"}}),
                  .field_rules = {{"ShipCalculatorFKID", importers::Computed("calculator")},
                                  {"tmpID", importers::Fixed("temp")},
                                  {"IsFixed", importers::Fixed("0")}}});
}

void Manager::ImportPay2ShipMethodsExcl() {
  RunTableImport(*this, {.section = "Pay2ShipMethodsExcl",
                         .skipped = {"PKID"},
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .prepare =
                             [](Item& item) {
                               const catalog::Document& doc = Use(item.manager.catalog_document());
                               // Both items are selected first, then both keys read.
                               const catalog::Node pay =
                                   doc.ItemByNumber("PayMethods", NzLong(item.node.GetAttribute("PayMethodFKID"), 0));
                               const catalog::Node ship =
                                   doc.ItemByNumber("ShipMethods", NzLong(item.node.GetAttribute("ShipMethodFKID"), 0));
                               item.set("pay") = NzLong(pay.GetAttribute("NewPKID"), 0);
                               item.set("ship") = NzLong(ship.GetAttribute("NewPKID"), 0);
                             },
                         .statement =
                             [](Item& item) {
                               return "SELECT * FROM Pay2ShipMethodsExcl WHERE PayMethodFKID=" +
                                      importers::DecimalText(item.value("pay")) +
                                      " AND ShipMethodFKID=" + importers::DecimalText(item.value("ship"));
                             },
                         .create = importers::AddWith({{"PayMethodFKID", "pay"}, {"ShipMethodFKID", "ship"}}),
                         .field_rules = {{"PayMethodFKID", importers::Computed("pay")},
                                         {"ShipMethodFKID", importers::Computed("ship")}}});
}

namespace {

// The exclusion of a region: a key translated leniently through `key_section`, and the region code as the item
// has it. Intended: the region text is not passed through SqlQuote (a quote in it makes the statement invalid).
importers::TableImport RegionExclusion(std::string_view section, std::string_view key_field,
                                       std::string_view key_section) {
  return {
      .section = section,
      .skipped = {"PKID"},
      .on_error = ErrorRegime::EndAtFirstError(),
      .prepare =
          [key_field, key_section](Item& item) {
            item.set("key") = LenientNewKey(item.manager, key_section, NzLong(item.node.GetAttribute(key_field), 0));
            item.set("region") = NzText(item.node.GetAttribute("RegionFKID"), "");
          },
      .statement =
          [section, key_field](Item& item) {
            return "SELECT * FROM " + std::string(section) + " WHERE " + std::string(key_field) + "=" +
                   importers::DecimalText(item.value("key")) + " AND RegionFKID='" + item.value("region").text() + "'";
          },
      .create = importers::AddWith({{key_field, "key"}, {"RegionFKID", "region"}}),
      .field_rules = {{std::string(key_field), importers::Computed("key")},
                      {"RegionFKID", importers::Computed("region")}}};
}

}  // namespace

void Manager::ImportPayMethods2RegionsExcl() {
  RunTableImport(*this, RegionExclusion("PayMethods2RegionsExcl", "PayMethodFKID", "PayMethods"));
}

void Manager::ImportRegions2ShipZones() {
  RunTableImport(*this, RegionExclusion("Regions2ShipZones", "ShipZoneFKID", "ShipMethodZones"));
}

}  // namespace cvimp::plugin
