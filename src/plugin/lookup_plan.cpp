#include "plugin/lookup_plan.h"

namespace cvimp::plugin {

// Taken from the importers' key translations and direct lookups; a lookup missing here is still answered
// exactly (its table is built at its first use), one listed here and not made costs only its table.
catalog::LookupPlan ImporterLookups() {
  catalog::LookupPlan plan;
  plan.by_number = {"AttributeClasses", "AttributeGroups", "AttributeMultiValues", "Attributes",
                    "Attributes2Product", "Categories", "DeliveryTimes", "Media", "Pages", "PayMethods",
                    "Products", "ShipMethodZones", "ShipMethods", "VariantTypes", "VariantValues",
                    "VariantsComplex"};
  plan.by_text = {"Categories", "Folders", "ShipMethodCalculators", "ShipMethodZones", "ShipMethods"};
  plan.anywhere = {"Folders", "Products", "VariantTypes"};
  plan.page_data = true;
  return plan;
}

}  // namespace cvimp::plugin
