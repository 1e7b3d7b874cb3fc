// The checks' table of sections, keys and references against the import run and the shop schema.
#include "check/catalog_rules.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "check/known_attributes.h"
#include "plugin/import_run.h"

namespace cvimp::check {
namespace {

TEST(CatalogRules, NameEverySectionOfTheImportRunAndThePageData) {
  std::set<std::string> run{"PageData"};
  for (const plugin::ImportStep& step : plugin::ImportSteps())
    if (!step.section.empty()) run.insert(std::string(step.section));
  std::set<std::string> rules;
  for (const SectionRule& rule : SectionRules()) EXPECT_TRUE(rules.insert(std::string(rule.section)).second);
  EXPECT_EQ(rules, run);
  EXPECT_EQ(rules.size(), 40u);
}

TEST(CatalogRules, EverySectionIsATableOfTheSchema) {
  for (const SectionRule& rule : SectionRules()) EXPECT_FALSE(SchemaColumns(rule.section).empty()) << rule.section;
}

TEST(CatalogRules, KeyPartsAreAttributesTheSectionMayCarry) {
  for (const SectionRule& rule : SectionRules()) {
    EXPECT_FALSE(rule.key.empty()) << rule.section;
    for (const KeyField& part : rule.key) EXPECT_TRUE(IsKnownAttribute(rule.section, part.attribute)) << rule.section;
    if (!rule.parent.empty()) {
      EXPECT_TRUE(IsKnownAttribute(rule.section, rule.parent)) << rule.section;
    }
  }
}

TEST(CatalogRules, ReferencesNameKnownSectionsAndAttributes) {
  std::set<std::pair<std::string, std::string>> seen;
  for (const Reference& r : References()) {
    EXPECT_NE(RuleOf(r.section), nullptr) << r.section;
    EXPECT_TRUE(IsKnownAttribute(r.section, r.attribute)) << r.section << " " << r.attribute;
    EXPECT_TRUE(seen.emplace(r.section, r.attribute).second) << "named twice: " << r.section << " " << r.attribute;
    if (r.how == Target::kSection || r.how == Target::kVarString) {
      EXPECT_NE(RuleOf(r.target), nullptr) << r.target;
      EXPECT_TRUE(r.type.empty());
    } else {
      EXPECT_TRUE(IsKnownAttribute(r.section, r.type)) << r.section << " " << r.type;
    }
  }
  EXPECT_EQ(References().size(), 43u);
}

TEST(KnownAttributes, AreTheColumnsNewPkidAndWhatImportersReadBesides) {
  EXPECT_TRUE(IsKnownAttribute("Currencies", "ISOCode"));
  EXPECT_TRUE(IsKnownAttribute("Currencies", "NewPKID"));
  EXPECT_FALSE(IsKnownAttribute("Currencies", "isocode"));
  EXPECT_FALSE(IsKnownAttribute("Currencies", "ProductID"));
  EXPECT_TRUE(IsKnownAttribute("Manufacturers", "ProductID"));
  EXPECT_TRUE(SchemaColumns("NoSuchSection").empty());
  EXPECT_TRUE(IsKnownAttribute("NoSuchSection", "NewPKID"));
  EXPECT_FALSE(IsKnownAttribute("NoSuchSection", "PKID"));
  EXPECT_EQ(ColumnSpelledOtherwise("Currencies", "isocode"), "ISOCode");
  EXPECT_EQ(ColumnSpelledOtherwise("Currencies", "ISOCode"), "");
  EXPECT_EQ(ColumnSpelledOtherwise("Currencies", "Colour"), "");
}

}  // namespace
}  // namespace cvimp::check
