// ExecuteImport: loads the catalogue chosen on the settings page, reads the user's choices from the form
// and calls the table importers in their fixed order. The run skips whatever fails, statement by statement:
// an importer ended by its first error returns here and the run goes on with the next step.
#include "plugin/import_run.h"

#include <array>

#include "common/ascii_case.h"
#include "common/error_regime.h"
#include "importers/record_import.h"
#include "plugin/import_tracker.h"
#include "plugin/lookup_plan.h"
#include "settings/frm_vel_xml_settings.h"

namespace cvimp::plugin {
namespace {

using C = ImportStep::Condition;

ImportStep Status(std::string_view text) { return {text, {}, nullptr, C::kAlways}; }
ImportStep Step(std::string_view section, void (Manager::*routine)() = nullptr, C condition = C::kAlways) {
  return {{}, section, routine, condition};
}

const std::array<ImportStep, 43> kSteps = {
    Step("Media", &Manager::ImportMedia, C::kImportMedia),
    Step("Folders", &Manager::ImportFolders),
    Step("Categories", &Manager::ImportCategories),
    Step("Products", &Manager::ImportProducts),
    Step("Products2Categories", &Manager::ImportProducts2Categories),
    Step("Pages", &Manager::ImportPages),
    Step("Currencies", &Manager::ImportCurrencies),
    Step("DeliveryTimes", &Manager::ImportDeliveryTimes),
    Step("ExchangeDataProfiles", &Manager::ImportExchangeDataProfiles),
    Step("MeasureUnits", &Manager::ImportMeasureUnits),
    Step("Discounts", &Manager::ImportDiscounts),
    Step("PublishProfiles", &Manager::ImportPublishProfiles),
    Step("QuantityUnits", &Manager::ImportQuantityUnits),
    Step("Element2Media", &Manager::ImportElement2Media, C::kImportMedia),
    Step("Regions", &Manager::ImportRegions, C::kRegionsSwitch),
    Status("Importiere Zahl- und Versandarten"),
    Step("PayMethods", &Manager::ImportPayMethods),
    Step("ShipMethods", &Manager::ImportShipMethods),
    Step("ShipMethodZones", &Manager::ImportShipMethodZones),
    Step("ShipMethodCalculators", &Manager::ImportShipMethodCalculators),
    Step("ShipMethodTables", &Manager::ImportShipMethodTables),
    Step("Pay2ShipMethodsExcl", &Manager::ImportPay2ShipMethodsExcl),
    Step("PayMethods2RegionsExcl", &Manager::ImportPayMethods2RegionsExcl),
    Step("Regions2ShipZones", &Manager::ImportRegions2ShipZones),
    Status("Importiere Varianten"),
    Step("VariantTypes", &Manager::ImportVariantTypes),
    Step("VariantValues", &Manager::ImportVariantValues),
    Step("VariantsSimple", &Manager::ImportVariantsSimple),
    Step("VariantsComplex", &Manager::ImportVariantsComplex),
    Status("Importiere Attribute"),
    Step("AttributeClasses", &Manager::ImportAttributeClasses),
    Step("AttributeGroups", &Manager::ImportAttributeGroups),
    Step("Attributes", &Manager::ImportAttributes),
    Step("Attributes2Class", &Manager::ImportAttributes2Class),
    Step("AttributeMultiValues", &Manager::ImportAttributeMultiValues),
    Step("Attributes2Product", &Manager::ImportAttributes2Product),
    Step("AttributeMultiValues2Product", &Manager::ImportAttributeMultiValues2Product),
    Step("Bundles", &Manager::ImportBundles),
    Step("CrossRefs", &Manager::ImportCrossRefs),
    Status("Importiere Stichworte"),
    Step("Keywords", &Manager::ImportKeywords),
    Step("KeywordRefs", &Manager::ImportKeywordRefs),
    Step("Manufacturers", &Manager::ImportManufacturers),
};

bool LoadFailed(const catalog::Document* document) {
  return document == nullptr || document->DocumentElement().empty() ||
         document->DocumentElement().ChildNodes().size() < 1;
}

}  // namespace

std::span<const ImportStep> ImportSteps() { return kSteps; }

bool RegionsSwitchOn(std::string_view text) { return EqualsIgnoringCase(text, "True"); }

void Manager::ExecuteImport() { RunImport(); }

void Manager::RunImport() {
  const auto on_error = ErrorRegime::SkipFailingStatements();

  on_error([&] { importers::ShowStatus(*this, kTextInitialising); });
  on_error([&] {
    catalog_ = std::make_shared<catalog::Document>();
    catalog_->PlanLookups(ImporterLookups());
  });
  on_error([&] { catalog_->Load(Form().CVCatPath()); });
  on_error([&] {
    if (LoadFailed(catalog_.get())) importers::ShowStatus(*this, kTextLoadFailed);
  });
  on_error([&] { importers::ShowStatus(*this, kTextStarting); });

  import_started_ = true;
  on_error([&] { Form().SaveUserSettings(); });
  import_started_ = true;
  on_error([&] { platform_->YieldToMessageLoop(); });

  on_error([&] { RenewWorkingRecordset(); });
  on_error([&] { update_mode_ = Form().UpdateMode(); });

  std::shared_ptr<TextCatalog> texts;
  on_error([&] { texts = platform_->NewTextCatalog(); });
  on_error([&] { Use(texts).Load(Use(Use(host_api_).Services()).TextSource(), 0); });

  for (const ImportStep& step : kSteps) {
    if (!step.status_text.empty()) {
      on_error([&] { importers::ShowStatus(*this, step.status_text); });
      continue;
    }
    bool wanted = step.condition == C::kAlways;
    if (step.condition == C::kImportMedia)
      on_error([&] { wanted = Form().chkImportMedia().Value != settings::CheckBox::kUnchecked; });
    if (step.condition == C::kRegionsSwitch)
      on_error([&] { wanted = RegionsSwitchOn(Use(texts).GetText("impvelxml.config.regions")); });
    if (!wanted || !step.routine) continue;
    if (!tracker_) {
      on_error([&] { (this->*step.routine)(); });
      continue;
    }
    // Observed: the same call under the same regime, whose sink tells the tracker of an error that ended
    // the importer.
    std::size_t count = 0;
    try {
      if (catalog_) count = catalog_->SectionItems(step.section).size();
    } catch (const std::exception&) {
    }
    tracker_->SectionStarted(step.section, count);
    const auto observed = ErrorRegime::SkipFailingStatements(&tracker_->end_sink());
    if (observed([&] { (this->*step.routine)(); })) tracker_->SectionFinished();
  }

  on_error([&] { importers::ShowStatus(*this, kTextFinished); });
  texts.reset();  // dropped without Close
}

}  // namespace cvimp::plugin
