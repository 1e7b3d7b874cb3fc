// The example catalogue and the behaviour test catalogues: no false findings, and exactly the real ones.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "check/catalog_check.h"

namespace cvimp::check {
namespace {

using K = FindingKind;

std::vector<Finding> CheckData(const std::string& name) {
  return CheckCatalogFile(std::string(TEST_DATA_DIR) + "/" + name);
}

// The example holds on purpose a product reference to 44, which it does not hold, a delivery time twice and
// two items without their key (see the comment at its head): exactly these are found.
TEST(CatalogCheckData, TheExampleCatalogueHasExactlyItsDeliberateProblems) {
  EXPECT_EQ(
      CheckCatalogFile(std::string(EXAMPLES_DIR) + "/reference-catalog.xml"),
      (std::vector<Finding>{
          {K::kUnresolvedReference, "Products2Categories", 4, "CategoryFKID=22, ProductFKID=44", 116, 5, "ProductFKID",
           "44",
           "Item 4 of Products2Categories refers through ProductFKID to the key 44, which no item of Products has."},
          {K::kRepeatedKey, "DeliveryTimes", 3, "1-2 Tage", 148, 5, "", "",
           "Item 3 of DeliveryTimes repeats the natural key 1-2 Tage of item 1 (line 146), so the import writes both "
           "into one record."},
          {K::kMissingKey, "MeasureUnits", 3, "", 153, 5, "Name", "",
           "Item 3 of MeasureUnits has no Name, the natural key by which the import finds its record."},
          {K::kUnresolvedReference, "Discounts", 3, "Name=Kannenrabatt, DiscountType=0, ProductFKID=44, FromAmount=0",
           173, 5, "ProductFKID", "44",
           "Item 3 of Discounts refers through ProductFKID to the key 44, which no item of Products has."},
          {K::kUnresolvedReference, "VariantsSimple", 3, "ProductFKID=44, VariantTypeFKID=53, VariantValueFKID=96", 256,
           5, "ProductFKID", "44",
           "Item 3 of VariantsSimple refers through ProductFKID to the key 44, which no item of Products has."},
          {K::kMissingKey, "Manufacturers", 3, "", 321, 5, "ProductID", "",
           "Item 3 of Manufacturers has no ProductID, the natural key by which the import finds its record."},
      }));
}

TEST(CatalogCheckData, CatalogueWhoseImportCascadesHasNoStaticFinding) {
  // Its fault is a value too long for its field, which only the database tells.
  EXPECT_EQ(CheckData("cascade.xml"), std::vector<Finding>{});
}

TEST(CatalogCheckData, AnEmptyRootHasNoFindings) { EXPECT_EQ(CheckData("empty-root.xml"), std::vector<Finding>{}); }

TEST(CatalogCheckData, EntitiesAndDefaultAttributesOfTheInternalSubsetAreChecked) {
  EXPECT_EQ(CheckData("internal-entities.xml"), std::vector<Finding>{});
}

TEST(CatalogCheckData, AFolderWithoutPkidEndsTheFolderImport) {
  EXPECT_EQ(CheckData("folders-end-early.xml"),
            (std::vector<Finding>{{K::kMissingValue, "Folders", 2, "Name=Lager, ParentFolderFKID=1", 9, 5, "PKID", "",
                                   "Item 2 of Folders has no PKID, which ends the import of Folders at this item."}}));
}

TEST(CatalogCheckData, CataloguesThatDoNotLoadAreNotWellFormed) {
  EXPECT_EQ(CheckData("not-well-formed.xml"),
            (std::vector<Finding>{
                {K::kNotWellFormed, "", 0, "", 5, 5, "", "", "The catalogue cannot be read as XML: mismatched tag."}}));
  for (const char* name : {"char-ref-nul.xml", "entity-bomb.xml", "undefined-entity.xml"}) {
    const std::vector<Finding> findings = CheckData(name);
    ASSERT_EQ(findings.size(), 1u) << name;
    EXPECT_EQ(findings[0].kind, K::kNotWellFormed) << name;
    EXPECT_NE(findings[0].line, 0u) << name;
  }
}

// Every catalogue in the folder, those added later included: an attribute the import reads is never taken for
// an unknown one.
TEST(CatalogCheckData, NoBehaviourCatalogueHasAnUnknownAttribute) {
  std::set<std::string> checked;
  for (const auto& entry : std::filesystem::directory_iterator(TEST_DATA_DIR)) {
    if (entry.path().extension() != ".xml") continue;
    checked.insert(entry.path().filename().string());
    for (const Finding& f : CheckCatalogFile(entry.path().string()))
      EXPECT_NE(f.kind, K::kUnknownAttribute) << entry.path().filename().string() << ": " << f;
  }
  EXPECT_TRUE(checked.count("cascade.xml"));
  for (const Finding& f : CheckCatalogFile(std::string(EXAMPLES_DIR) + "/reference-catalog.xml"))
    EXPECT_NE(f.kind, K::kUnknownAttribute) << f;
}

}  // namespace
}  // namespace cvimp::check
