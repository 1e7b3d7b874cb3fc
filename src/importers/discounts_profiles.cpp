// Importers of discounts and of the exchange-data and publish profiles. None has an error handler of its own.
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
using importers::NewPkid;
using importers::RunTableImport;

// Looked up by name, type, translated product and amount. Intended: both amounts are whole numbers (NzLong, half
// to even) in the lookup and the insert; the copy then writes their exact values. The product is looked up
// strictly: one that is missing or has no NewPKID (the key 0 included) ends the import at that item. A
// discount's schedule is never changed by the import.
void Manager::ImportDiscounts() {
  RunTableImport(
      *this, {.section = "Discounts",
              .start_text = "Importiere Rabatte",
              .skipped = {"PKID", "ScheduleFrom", "ScheduleTo"},
              .new_pkid = NewPkid::kFromRecord,
              .on_error = ErrorRegime::EndAtFirstError(),
              .prepare =
                  [](Item& item) {
                    const catalog::Node& n = item.node;
                    item.set("name") = NzText(n.GetAttribute("Name"), "");
                    item.set("type") = importers::ToInt16(NzLong(n.GetAttribute("DiscountType"), 0));
                    item.set("value") = static_cast<double>(NzLong(n.GetAttribute("DiscountValue"), 0));
                    item.set("from") = static_cast<double>(NzLong(n.GetAttribute("FromAmount"), 0));
                    item.set("product") = importers::StrictNumberNewKey(item.manager, "Products",
                                                                        NzLong(n.GetAttribute("ProductFKID"), 0));
                  },
              .statement =
                  [](Item& item) {
                    return "SELECT * FROM Discounts WHERE Name='" +
                           importers::SqlQuote(item.manager, item.value("name").text()) +
                           "' AND DiscountType=" + std::to_string(item.value("type").integer()) +
                           " AND ProductFKID=" + std::to_string(item.value("product").integer()) +
                           " AND FromAmount=" + NumberToText(item.value("from").number());
                  },
              // Intended: the column is spelled "ProductFkid" here; names are matched without regard to case.
              .create = importers::AddWith(
                  {{"Name", "name"}, {"DiscountType", "type"}, {"DiscountValue", "value"}, {"ProductFkid", "product"}}),
              .field_rules = {{"ProductFKID", [](Item& item, std::string_view field) {
                                 item.recordset().SetValue(field, item.value("product"));
                               }}}});
}

// Intended: the profile's UserConfig in the shop is never overwritten (unlike the publish profiles').
void Manager::ImportExchangeDataProfiles() {
  RunTableImport(*this, {.section = "ExchangeDataProfiles",
                         .start_text = "Importiere Profile",
                         .key = {KeyPart::Text("Name")},
                         .skipped = {"PKID", "UserConfig"},
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .field_rules = {{"LastProcessedDate", [](Item& item, std::string_view field) {
                                            item.recordset().SetValue(
                                                field, NzLong(item.node.GetAttribute("LastProcessedDate"), 0));
                                          }}}});
}

// UserConfig is the text of the item's child element UserConfig; a missing child ends the import. Intended: the
// same start text as the exchange-data profiles.
void Manager::ImportPublishProfiles() {
  RunTableImport(*this, {.section = "PublishProfiles",
                         .start_text = "Importiere Profile",
                         .key = {KeyPart::Text("ProfileName")},
                         .skipped = {"PKID"},
                         .on_error = ErrorRegime::EndAtFirstError(),
                         .field_rules = {{"UserConfig", [](Item& item, std::string_view field) {
                                            item.recordset().SetValue(field,
                                                                      item.node.ChildElement("UserConfig").Text());
                                          }}}});
}

}  // namespace cvimp::plugin
