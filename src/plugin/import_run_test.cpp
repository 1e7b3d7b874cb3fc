#include "plugin/import_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/file_open.h"
#include "plugin/testing/import_fixture.h"
#include "plugin/testing/run_status_texts.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

const std::vector<std::string>& kStatusOfAnEmptyRun = kStatusTextsOfAnEmptyRun;

std::vector<std::string> WithLoadFailure() {
  auto texts = kStatusOfAnEmptyRun;
  texts.insert(texts.begin() + 1, "Fehler beim Laden der Importdatei.");
  return texts;
}

class ImportRun : public ImportFixture {};

TEST(ImportSteps, AreTheThirtyNineSectionsInTheirFixedOrderWithTheGroupTexts) {
  std::vector<std::string> order;
  int importers = 0;
  for (const ImportStep& step : ImportSteps()) {
    order.emplace_back(step.status_text.empty() ? step.section : step.status_text);
    importers += step.status_text.empty() ? 1 : 0;
  }
  EXPECT_EQ(importers, 39);
  EXPECT_THAT(order, ElementsAreArray(std::vector<std::string>{"Media",
                                                               "Folders",
                                                               "Categories",
                                                               "Products",
                                                               "Products2Categories",
                                                               "Pages",
                                                               "Currencies",
                                                               "DeliveryTimes",
                                                               "ExchangeDataProfiles",
                                                               "MeasureUnits",
                                                               "Discounts",
                                                               "PublishProfiles",
                                                               "QuantityUnits",
                                                               "Element2Media",
                                                               "Regions",
                                                               "Importiere Zahl- und Versandarten",
                                                               "PayMethods",
                                                               "ShipMethods",
                                                               "ShipMethodZones",
                                                               "ShipMethodCalculators",
                                                               "ShipMethodTables",
                                                               "Pay2ShipMethodsExcl",
                                                               "PayMethods2RegionsExcl",
                                                               "Regions2ShipZones",
                                                               "Importiere Varianten",
                                                               "VariantTypes",
                                                               "VariantValues",
                                                               "VariantsSimple",
                                                               "VariantsComplex",
                                                               "Importiere Attribute",
                                                               "AttributeClasses",
                                                               "AttributeGroups",
                                                               "Attributes",
                                                               "Attributes2Class",
                                                               "AttributeMultiValues",
                                                               "Attributes2Product",
                                                               "AttributeMultiValues2Product",
                                                               "Bundles",
                                                               "CrossRefs",
                                                               "Importiere Stichworte",
                                                               "Keywords",
                                                               "KeywordRefs",
                                                               "Manufacturers"}));
  for (const ImportStep& step : ImportSteps()) {
    const auto expected = step.section == "Media" || step.section == "Element2Media"
                              ? ImportStep::Condition::kImportMedia
                          : step.section == "Regions" ? ImportStep::Condition::kRegionsSwitch
                                                      : ImportStep::Condition::kAlways;
    EXPECT_EQ(step.condition, expected) << step.section;
  }
}

TEST(RegionsSwitch, IsTrueInAnyLetterCaseAndNothingElse) {
  EXPECT_TRUE(RegionsSwitchOn("True"));
  EXPECT_TRUE(RegionsSwitchOn("tRuE"));
  EXPECT_TRUE(RegionsSwitchOn("TRUE"));
  EXPECT_FALSE(RegionsSwitchOn("True "));
  EXPECT_FALSE(RegionsSwitchOn(" True"));
  EXPECT_FALSE(RegionsSwitchOn("1"));
  EXPECT_FALSE(RegionsSwitchOn("Yes"));
  EXPECT_FALSE(RegionsSwitchOn(""));
  EXPECT_FALSE(RegionsSwitchOn("False"));
}

TEST_F(ImportRun, AFileThatIsNotWellFormedShowsTheFailureTextAndRunsEveryStepWritingNothing) {
  Import(WriteCatalog("<CalvoraCatalog><Currencies><CurrenciesItem ISOCode='EUR'></Currencies>"));
  EXPECT_EQ(host.state->StatusTexts(), WithLoadFailure());
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Currencies"), (Rows{{"0"}}));
  EXPECT_TRUE(connection->queries.empty());
}

TEST_F(ImportRun, AMissingFileCountsAsAFailedLoad) {
  Import(Utf8FromPath(dir / "missing.xml"));
  EXPECT_EQ(host.state->StatusTexts(), WithLoadFailure());
}

TEST_F(ImportRun, AnEmptyRootElementCountsAsAFailedLoad) {
  Import(WriteCatalog("<CalvoraCatalog>\n  \n</CalvoraCatalog>"));
  EXPECT_EQ(host.state->StatusTexts(), WithLoadFailure());
}

TEST_F(ImportRun, ARootWithOnlyAnUnknownSectionCountsAsLoaded) {
  Import(WriteCatalog("<CalvoraCatalog><Unknown/></CalvoraCatalog>"));
  EXPECT_EQ(host.state->StatusTexts(), kStatusOfAnEmptyRun);
}

TEST_F(ImportRun, ARootOfAnotherNameLoadsButEverySectionIsEmpty) {
  Import(WriteCatalog(R"(<OtherCatalog><Currencies><CurrenciesItem ISOCode="EUR"/></Currencies></OtherCatalog>)"));
  EXPECT_EQ(host.state->StatusTexts(), kStatusOfAnEmptyRun);
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Currencies"), (Rows{{"0"}}));
}

TEST_F(ImportRun, TheRegionsSwitchInAnyLetterCaseImportsRegions) {
  host.state->texts["impvelxml.config.regions"] = "tRuE";
  ImportSections(R"(<Regions><RegionsItem PKID="5" Name="R"/></Regions>)");
  const auto expected = WithRegions(kStatusOfAnEmptyRun);
  EXPECT_EQ(host.state->StatusTexts(), expected);
  EXPECT_EQ(Select("SELECT PKID, Name FROM Regions"), (Rows{{"5", "R"}}));
}

TEST_F(ImportRun, TheSwitchWithATrailingBlankLeavesRegionsOut) {
  host.state->texts["impvelxml.config.regions"] = "True ";
  ImportSections(R"(<Regions><RegionsItem PKID="5" Name="R"/></Regions>)");
  EXPECT_EQ(host.state->StatusTexts(), kStatusOfAnEmptyRun);
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Regions"), (Rows{{"0"}}));
}

TEST_F(ImportRun, TwoRunsLoadTheFileAnewSoNewPkidOfTheFirstDoesNotLeak) {
  const std::string path = Catalog(R"(<Keywords><KeywordsItem PKID="31" Keyword="Tee"/></Keywords>)");
  Exec("INSERT INTO Keywords (PKID, Keyword) VALUES (100, 'alt')");
  Import(path, 0);
  EXPECT_EQ(NewPkid("CalvoraCatalog/Keywords/KeywordsItem"), Value("101"));
  Import(path, 1);  // the keyword exists now: mode 1 leaves NewPKID at the item's own PKID
  EXPECT_EQ(NewPkid("CalvoraCatalog/Keywords/KeywordsItem"), Value("31"));
}

TEST_F(ImportRun, SavesTheTrimmedPathYieldsOnceAndLoadsTheTextCatalogWithoutClosingIt) {
  const std::string path = Catalog("<Unknown/>");
  const int closed_before = host.state->text_catalogs_closed;
  const auto sources_before = host.state->loaded_sources.size();
  // Loaded as it stands: no file name begins with blanks (Windows would drop trailing ones, not leading ones).
  Import("  " + path);
  EXPECT_EQ(host.state->StatusTexts(), WithLoadFailure());
  EXPECT_EQ(host.state->saved_settings["SETTINGS"], "<property name=\"vel-xml-path\" value=\"" + path + "\"/>");
  EXPECT_EQ(Form().CVCatPath(), path);
  EXPECT_EQ(host.state->yields, 1);
  EXPECT_EQ(host.state->text_catalogs_closed, closed_before);
  EXPECT_THAT(
      std::vector<std::string>(host.state->loaded_sources.begin() + sources_before, host.state->loaded_sources.end()),
      ElementsAre("de"));
  EXPECT_TRUE(manager->import_started());
}

TEST_F(ImportRun, ReadsTheUpdateModeFromTheFormAndReplacesTheWorkingRecordset) {
  ImportSections("<Unknown/>", 2);
  EXPECT_EQ(manager->update_mode(), 2);
  const recordset::Recordset* first = manager->working_recordset();
  ASSERT_NE(first, nullptr);
  EXPECT_FALSE(first->IsOpen());
  Form().optUpdateMode().SetValue(2, false);  // no option selected: mode 0
  manager->ExecuteImport();
  EXPECT_EQ(manager->update_mode(), 0);
}

TEST_F(ImportRun, ACancelRequestChangesNothing) {
  manager->CancelImport(true);
  ImportSections(R"(<Currencies><CurrenciesItem PKID="1" ISOCode="EUR"/></Currencies>)");
  EXPECT_EQ(host.state->StatusTexts(), kStatusOfAnEmptyRun);
  EXPECT_EQ(Select("SELECT ISOCode FROM Currencies"), (Rows{{"EUR"}}));
  EXPECT_TRUE(manager->cancel_requested());
}

TEST_F(ImportRun, WithoutHostServicesTheStatusTextsDisappearAndTheRunStillEnds) {
  const std::string path = Catalog(R"(<Currencies><CurrenciesItem PKID="1" ISOCode="EUR"/></Currencies>)");
  host.api->has_services = false;
  host.state->progress.clear();
  Form().SetCVCatPath(path);
  manager->ExecuteImport();
  EXPECT_TRUE(host.state->progress.empty());
  EXPECT_EQ(host.state->yields, 1);
  // The importers fetch HostServices for their start text and progress: each ends there.
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Currencies"), (Rows{{"0"}}));
}

}  // namespace
}  // namespace cvimp::plugin::testing
