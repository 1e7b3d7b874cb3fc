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
using importers::FieldRule;
using importers::Item;
using importers::KeyPart;
using importers::LenientNewKey;
using importers::NewPkid;
using importers::RunTableImport;
using importers::StrictNewKey;
using importers::ToInt16;

namespace {

std::string Decimal(const Value& number) { return std::to_string(number.integer()); }

// A field rule that writes a fixed value.
FieldRule Fixed(Value value) {
  return [value](Item& item, std::string_view field) { item.recordset().SetValue(field, value); };
}
// A field rule that writes a value the importer computed before its lookup.
FieldRule Computed(const char* name) {
  return [name](Item& item, std::string_view field) { item.recordset().SetValue(field, item.value(name)); };
}

// The attribute as text (default empty) converted strictly to a whole number: empty or not numeric is an error.
std::int32_t StrictNumber(const Item& item, const char* attribute) {
  return TextToLong(NzText(item.node.GetAttribute(attribute), ""), attribute);
}

}  // namespace

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
                                   StrictNewKey(item.manager, "ShipMethods", StrictNumber(item, "ShipMethodFKID"));
                             },
                         .statement =
                             [](Item& item) {
                               return "SELECT * FROM ShipMethodZones WHERE Name='" +
                                      importers::SqlQuote(item.manager, item.value("name").text()) +
                                      "' AND ShipMethodFKID=" + Decimal(item.value("method"));
                             },
                         .create = importers::AddWith({{"Name", "name"}, {"ShipMethodFKID", "method"}}),
                         .field_rules = {{"ShipMethodFKID", Computed("method")},
                                         {"Countries", Fixed("temp")},
                                         {"tmpID", Fixed("temp")},
                                         {"IsDefault", Fixed(std::int32_t{0})}}});
}

// RefType 0: the reference is a shipping method; any other type: a zone.
void Manager::ImportShipMethodCalculators() {
  RunTableImport(*this, {.section = "ShipMethodCalculators",
                         .skipped = {"PKID"},
                         .new_pkid = NewPkid::kFromRecord,
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .prepare =
                             [](Item& item) {
                               const std::int16_t type = ToInt16(StrictNumber(item, "RefType"));
                               const std::int32_t reference = StrictNumber(item, "RefFKID");
                               item.set("type") = type;
                               item.set("reference") =
                                   StrictNewKey(item.manager, type != 0 ? "ShipMethodZones" : "ShipMethods", reference);
                             },
                         .statement =
                             [](Item& item) {
                               return "SELECT * FROM ShipMethodCalculators WHERE RefType=" +
                                      Decimal(item.value("type")) + " AND RefFKID=" + Decimal(item.value("reference"));
                             },
                         .create = importers::AddWith({{"RefType", "type"}, {"RefFKID", "reference"}}),
                         .field_rules = {{"RefFKID", Computed("reference")},
                                         {"Countries", Fixed("temp")},
                                         {"tmpID", Fixed("temp")},
                                         {"IsDefault", Fixed(std::int32_t{0})}}});
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
                               Decimal(item.value("calculator")) + " AND ChargeType=" + Decimal(item.value("charge")) +
                               " AND UpToAmount=CDBL('" + NumberToText(item.value("amount").number()) + "')";
                      },
                  .create = importers::AddWith(
                      {{"ShipCalculatorFKID", "calculator"}, {"ChargeType", "charge"}, {"UpToAmount", "amount"}}),
                  .field_rules = {{"ShipCalculatorFKID", Computed("calculator")},
                                  {"tmpID", Fixed("temp")},
                                  {"IsFixed", Fixed("0")}}});
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
                                      Decimal(item.value("pay")) + " AND ShipMethodFKID=" + Decimal(item.value("ship"));
                             },
                         .create = importers::AddWith({{"PayMethodFKID", "pay"}, {"ShipMethodFKID", "ship"}}),
                         .field_rules = {{"PayMethodFKID", Computed("pay")}, {"ShipMethodFKID", Computed("ship")}}});
}

// Intended: the region text is not passed through SqlQuote (a quote in it makes the statement invalid).
void Manager::ImportPayMethods2RegionsExcl() {
  RunTableImport(
      *this, {.section = "PayMethods2RegionsExcl",
              .skipped = {"PKID"},
              .on_error = ErrorRegime::EndAtFirstError(),
              .prepare =
                  [](Item& item) {
                    item.set("pay") =
                        LenientNewKey(item.manager, "PayMethods", NzLong(item.node.GetAttribute("PayMethodFKID"), 0));
                    item.set("region") = NzText(item.node.GetAttribute("RegionFKID"), "");
                  },
              .statement =
                  [](Item& item) {
                    return "SELECT * FROM PayMethods2RegionsExcl WHERE PayMethodFKID=" + Decimal(item.value("pay")) +
                           " AND RegionFKID='" + item.value("region").text() + "'";
                  },
              .create = importers::AddWith({{"PayMethodFKID", "pay"}, {"RegionFKID", "region"}}),
              .field_rules = {{"PayMethodFKID", Computed("pay")}, {"RegionFKID", Computed("region")}}});
}

// Intended: the region text is not passed through SqlQuote.
void Manager::ImportRegions2ShipZones() {
  RunTableImport(*this,
                 {.section = "Regions2ShipZones",
                  .skipped = {"PKID"},
                  .on_error = ErrorRegime::EndAtFirstError(),
                  .prepare =
                      [](Item& item) {
                        item.set("zone") = LenientNewKey(item.manager, "ShipMethodZones",
                                                         NzLong(item.node.GetAttribute("ShipZoneFKID"), 0));
                        item.set("region") = NzText(item.node.GetAttribute("RegionFKID"), "");
                      },
                  .statement =
                      [](Item& item) {
                        return "SELECT * FROM Regions2ShipZones WHERE ShipZoneFKID=" + Decimal(item.value("zone")) +
                               " AND RegionFKID='" + item.value("region").text() + "'";
                      },
                  .create = importers::AddWith({{"ShipZoneFKID", "zone"}, {"RegionFKID", "region"}}),
                  .field_rules = {{"ShipZoneFKID", Computed("zone")}, {"RegionFKID", Computed("region")}}});
}

}  // namespace cvimp::plugin
