// The discount, profile, bundle and cross-reference importers, run the way the host runs them: a catalogue file
// chosen on the settings page, an update mode, ExecuteImport, and a real shop database, empty or already
// holding records of the same natural keys. The products, pages, categories and complex variants that these
// sections point at are imported by their own importers in the same run, so every reference is translated
// through the NewPKID that the run itself wrote.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include "plugin/testing/import_fixture.h"
#include "plugin/testing/run_status_texts.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using Strings = std::vector<std::string>;

// The cases of the parameterized tests print as their names.
template <class Case>
requires requires(const Case& c) { c.name; }
void PrintTo(const Case& c, std::ostream* os) { *os << c.name; }

class DiscountsProfilesLinks : public ImportFixture {
 protected:
  // The NewPKID of the item that the XPath selects, as text; "absent" when the item has none.
  std::string NewKey(const std::string& xpath) {
    const Value key = NewPkid(xpath);
    return key.is_null() ? "absent" : TextForm(key);
  }
  Strings NewKeys(const std::string& item, const Strings& pkids) {
    Strings out;
    for (const auto& pkid : pkids) out.push_back(NewKey("//" + item + "[@PKID='" + pkid + "']"));
    return out;
  }

  // The statements that begin with `prefix`, in order.
  Strings QueriesStartingWith(const std::string& prefix) const {
    Strings out;
    for (const auto& q : connection->queries)
      if (q.rfind(prefix, 0) == 0) out.push_back(q);
    return out;
  }

  // The progress calls as "maximum/position text" from the `occurrence`-th status line `text` up to the next
  // status line.
  Strings ProgressOf(const std::string& text, int occurrence = 1) const {
    const auto& p = host.state->progress;
    auto first = p.begin();
    for (int seen = 0; first != p.end(); ++first)
      if (first->maximum == 0 && first->text == text && ++seen == occurrence) break;
    Strings out;
    if (first == p.end()) return out;
    out.push_back("0/0 " + text);
    for (auto it = first + 1; it != p.end() && it->maximum != 0; ++it)
      out.push_back(std::to_string(it->maximum) + "/" + std::to_string(it->position) + " " + it->text);
    return out;
  }

  Rows Discounts() {
    return Select(
        "SELECT PKID, Name, DiscountType, DiscountValue, ProductFKID, FromAmount, ScheduleFrom, ScheduleTo "
        "FROM Discounts ORDER BY PKID");
  }
  Rows ExchangeProfiles() {
    return Select("SELECT PKID, Name, UserConfig, LastProcessedDate, FilePath FROM ExchangeDataProfiles ORDER BY PKID");
  }
  Rows PublishProfiles() {
    return Select("SELECT PKID, ProfileName, UserConfig, OutputPath FROM PublishProfiles ORDER BY PKID");
  }
  Rows Bundles() {
    return Select(
        "SELECT PKID, ProductFKID, RelProductFKID, ProductCategoryFKID, ProductVariantFKID, Quantity FROM Bundles "
        "ORDER BY PKID");
  }
  Rows CrossRefs() {
    return Select(
        "SELECT PKID, ElSrcType, ElSrcRef, ElTargetType, ElTargetRef, ElTargetCategoryRef, ElTargetVariantRef, "
        "SortOrder FROM CrossRefs ORDER BY PKID");
  }
  Rows Keywords() { return Select("SELECT Keyword FROM Keywords ORDER BY PKID"); }

  // Both products under other keys; the first discount with its schedule, the second stored as from 100
  // (which is what the item's 99.5 is looked up as), and a discount that the catalogue does not name.
  void PrefillDiscounts() {
    Exec("INSERT INTO Products (PKID, ProductID, Name) VALUES (7, 'SENCHA', 'alt'), (8, 'MATCHA', 'alt')");
    Exec(
        "INSERT INTO Discounts (PKID, Name, DiscountType, DiscountValue, ProductFKID, FromAmount, ScheduleFrom, "
        "ScheduleTo) VALUES (20, 'Mengenrabatt', 0, 99, 7, 50, '2024-01-01 00:00:00', '2024-06-30 00:00:00'), "
        "(21, 'Treuebonus', 1, 1, 8, 100, '2024-02-01 00:00:00', NULL), (22, 'Fremd', 0, 5, 9, 0, NULL, NULL)");
  }
};

// A keyword after the cross references: written only when the importers before it left the working recordset
// closed.
const char* const kKeywordAfterwards = R"(<Keywords><KeywordsItem PKID="1" Keyword="danach"/></Keywords>)";
const Rows kKeywordWritten = {{"danach"}};

// ===== Discounts ===========================================================================================

std::string DiscountLookup(const std::string& name, int type, int product, const std::string& from_amount) {
  return "SELECT * FROM Discounts WHERE Name='" + name + "' AND DiscountType=" + std::to_string(type) +
         " AND ProductFKID=" + std::to_string(product) + " AND FromAmount=" + from_amount;
}

// Sencha and Matcha; in an empty shop they become the products 1 and 2.
const char* const kDiscountProducts = R"(<Products><ProductsItem PKID="41" ProductID="SENCHA" Name="Sencha"/>)"
                                      R"(<ProductsItem PKID="42" ProductID="MATCHA" Name="Matcha"/></Products>)";

// A discount on Sencha from 50 with a schedule, and two on Matcha from 99.5 and from 98.5 (looked up as from
// 100 and from 98).
const char* const kDiscounts =
    R"(<Discounts>)"
    R"(<DiscountsItem PKID="131" Name="Mengenrabatt" DiscountType="0" DiscountValue="10" ProductFKID="41" )"
    R"(FromAmount="50" ScheduleFrom="2030-01-01" ScheduleTo="2030-12-31"/>)"
    R"(<DiscountsItem PKID="132" Name="Treuebonus" DiscountType="1" DiscountValue="2.5" ProductFKID="42" )"
    R"(FromAmount="99.5"/>)"
    R"(<DiscountsItem PKID="133" Name="Treuebonus" DiscountType="1" DiscountValue="3.5" ProductFKID="42" )"
    R"(FromAmount="98.5"/>)"
    R"(</Discounts>)";

const std::vector<std::string> kForeignDiscount = {"22", "Fremd", "0", "5", "9", "0", "NULL", "NULL"};

struct DiscountCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows discounts;
  Strings queries;
  Strings new_keys;  // of the items 131, 132, 133
};

class DiscountsByMode : public DiscountsProfilesLinks, public ::testing::WithParamInterface<DiscountCase> {};

TEST_P(DiscountsByMode, WriteTheRowsStatementsAndNewKeysThatTheModeAllows) {
  const DiscountCase& c = GetParam();
  if (c.prefilled) PrefillDiscounts();
  ImportSections(std::string(kDiscountProducts) + kDiscounts, c.mode);
  EXPECT_EQ(Discounts(), c.discounts);
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Discounts"), ElementsAreArray(c.queries));
  EXPECT_EQ(NewKeys("DiscountsItem", {"131", "132", "133"}), c.new_keys);
}

// The amounts are looked up rounded to whole numbers (half to the even neighbour) and stored exactly; the
// schedule is never written, so a new discount has none.
const Rows kNewDiscounts = {{"1", "Mengenrabatt", "0", "10", "1", "50", "NULL", "NULL"},
                            {"2", "Treuebonus", "1", "2.5", "2", "99.5", "NULL", "NULL"},
                            {"3", "Treuebonus", "1", "3.5", "2", "98.5", "NULL", "NULL"}};
const Strings kNewDiscountLookups = {DiscountLookup("Mengenrabatt", 0, 1, "50"),
                                     DiscountLookup("Treuebonus", 1, 2, "100"),
                                     DiscountLookup("Treuebonus", 1, 2, "98")};
const Strings kPrefilledDiscountLookups = {DiscountLookup("Mengenrabatt", 0, 7, "50"),
                                           DiscountLookup("Treuebonus", 1, 8, "100"),
                                           DiscountLookup("Treuebonus", 1, 8, "98")};
// Updated: every field from the item but the schedule, which keeps the shop's; the second takes its exact
// FromAmount 99.5 although it was found as from 100.
const std::vector<std::string> kFirstDiscountUpdated = {
    "20", "Mengenrabatt", "0", "10", "7", "50", "2024-01-01 00:00:00", "2024-06-30 00:00:00"};
const std::vector<std::string> kSecondDiscountUpdated = {"21",   "Treuebonus",          "1",   "2.5", "8",
                                                         "99.5", "2024-02-01 00:00:00", "NULL"};
const Rows kPrefilledDiscountsUntouched = {
    {"20", "Mengenrabatt", "0", "99", "7", "50", "2024-01-01 00:00:00", "2024-06-30 00:00:00"},
    {"21", "Treuebonus", "1", "1", "8", "100", "2024-02-01 00:00:00", "NULL"},
    kForeignDiscount};

INSTANTIATE_TEST_SUITE_P(
    Discounts, DiscountsByMode,
    ::testing::Values(
        DiscountCase{"EmptyShopMode0", 0, false, kNewDiscounts, kNewDiscountLookups, {"1", "2", "3"}},
        DiscountCase{"EmptyShopMode1", 1, false, kNewDiscounts, kNewDiscountLookups, {"1", "2", "3"}},
        // The products are not created, so Sencha has no NewPKID: the first discount ends the import.
        DiscountCase{"EmptyShopMode2", 2, false, {}, {}, {"absent", "absent", "absent"}},
        // The third item is looked up as from 98 and added.
        DiscountCase{"PrefilledShopMode0",
                     0,
                     true,
                     {kFirstDiscountUpdated,
                      kSecondDiscountUpdated,
                      kForeignDiscount,
                      {"23", "Treuebonus", "1", "3.5", "8", "98.5", "NULL", "NULL"}},
                     kPrefilledDiscountLookups,
                     {"20", "21", "23"}},
        // The existing products are left alone and get no NewPKID: the first discount ends the import.
        DiscountCase{"PrefilledShopMode1", 1, true, kPrefilledDiscountsUntouched, {}, {"absent", "absent", "absent"}},
        DiscountCase{"PrefilledShopMode2",
                     2,
                     true,
                     {kFirstDiscountUpdated, kSecondDiscountUpdated, kForeignDiscount},
                     kPrefilledDiscountLookups,
                     {"20", "21", "absent"}}),
    [](const ::testing::TestParamInfo<DiscountCase>& info) { return info.param.name; });

TEST_F(DiscountsProfilesLinks, DiscountsShowTheirStartTextAndProgressForEachItem) {
  ImportSections(std::string(kDiscountProducts) + kDiscounts);
  EXPECT_EQ(ProgressOf("Importiere Rabatte"), (Strings{"0/0 Importiere Rabatte", "3/1 ", "3/2 ", "3/3 "}));
}

// The discount is looked up as from 100 (99.5 rounded to the even neighbour) while the record holds 99.5:
// every further import adds it once more.
TEST_F(DiscountsProfilesLinks, ADiscountFromAFractionalAmountIsNeverFoundAgain) {
  const std::string sections = std::string(kDiscountProducts) +
                               R"(<Discounts><DiscountsItem PKID="132" Name="Treuebonus" DiscountType="1" )"
                               R"(DiscountValue="2.5" ProductFKID="42" FromAmount="99.5"/></Discounts>)";
  ImportSections(sections, 0);
  ImportSections(sections, 0);
  ImportSections(sections, 2);
  EXPECT_EQ(Discounts(), (Rows{{"1", "Treuebonus", "1", "2.5", "2", "99.5", "NULL", "NULL"},
                               {"2", "Treuebonus", "1", "2.5", "2", "99.5", "NULL", "NULL"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Discounts"), ElementsAre(DiscountLookup("Treuebonus", 1, 2, "100")));
}

// The copy fails at DiscountType ("abc" read as text, which the field refuses) right after the new record was
// saved: the record shows what the insert wrote, the value rounded (2.5 to 2) and the new product key, and
// FromAmount keeps its default. The working recordset stays open with the unsaved copy, so the publish
// profiles after it end at their first item.
TEST_F(DiscountsProfilesLinks, ANewDiscountIsSavedWithItsValueRoundedBeforeTheCopyWritesItExactly) {
  ImportSections(std::string(kDiscountProducts) +
                 R"(<Discounts><DiscountsItem PKID="131" Name="Rabatt" DiscountType="abc" DiscountValue="2.5" )"
                 R"(ProductFKID="41" FromAmount="0.5"/>)"
                 R"(<DiscountsItem PKID="132" Name="Danach" DiscountType="0" DiscountValue="1" ProductFKID="41"/>)"
                 R"(</Discounts><PublishProfiles><PublishProfilesItem PKID="1" ProfileName="Web">)"
                 R"(<UserConfig>x</UserConfig></PublishProfilesItem></PublishProfiles>)");
  EXPECT_EQ(Discounts(), (Rows{{"1", "Rabatt", "0", "2", "1", "0", "NULL", "NULL"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Discounts"), ElementsAre(DiscountLookup("Rabatt", 0, 1, "0")));
  EXPECT_EQ(NewKeys("DiscountsItem", {"131", "132"}), (Strings{"1", "absent"}));
  EXPECT_EQ(PublishProfiles(), Rows{});
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM PublishProfiles"), IsEmpty());
}

// The second discount's product cannot be translated strictly (no item of that PKID, or an item without
// NewPKID), or its type does not fit 16 bits: the discount import ends there, before any statement for it.
// The first discount stays, the third is not imported, and the run goes on with the publish profiles.
struct BadDiscountCase {
  std::string name;
  std::string attributes;  // of the second discount, besides PKID and Name
};

class ADiscountThatCannotBeLookedUp : public DiscountsProfilesLinks,
                                      public ::testing::WithParamInterface<BadDiscountCase> {};

TEST_P(ADiscountThatCannotBeLookedUp, EndsTheDiscountImportThereAndKeepsTheEarlierOnes) {
  ImportSections(std::string(kDiscountProducts) +
                 R"(<Discounts><DiscountsItem PKID="131" Name="Erster" DiscountType="0" DiscountValue="5" )"
                 R"(ProductFKID="41" FromAmount="10"/>)"
                 R"(<DiscountsItem PKID="132" Name="Zweiter" )" +
                 GetParam().attributes +
                 R"(/><DiscountsItem PKID="133" Name="Dritter" DiscountType="0" DiscountValue="7" )"
                 R"(ProductFKID="42" FromAmount="20"/></Discounts>)"
                 R"(<PublishProfiles><PublishProfilesItem PKID="1" ProfileName="Web" OutputPath="/www">)"
                 R"(<UserConfig>ziel</UserConfig></PublishProfilesItem></PublishProfiles>)");
  EXPECT_EQ(Discounts(), (Rows{{"1", "Erster", "0", "5", "1", "10", "NULL", "NULL"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Discounts"), ElementsAre(DiscountLookup("Erster", 0, 1, "10")));
  EXPECT_EQ(NewKeys("DiscountsItem", {"131", "132", "133"}), (Strings{"1", "absent", "absent"}));
  EXPECT_EQ(ProgressOf("Importiere Rabatte"), (Strings{"0/0 Importiere Rabatte", "3/1 ", "3/2 "}));
  EXPECT_EQ(PublishProfiles(), (Rows{{"1", "Web", "ziel", "/www"}}));
}

INSTANTIATE_TEST_SUITE_P(
    Discounts, ADiscountThatCannotBeLookedUp,
    ::testing::Values(BadDiscountCase{"ProductKey0", R"(DiscountType="0" DiscountValue="1" ProductFKID="0")"},
                      BadDiscountCase{"NoProductKey", R"(DiscountType="0" DiscountValue="1")"},
                      BadDiscountCase{"ProductKeyNotANumber", R"(DiscountType="0" ProductFKID="abc")"},
                      BadDiscountCase{"ProductMissingFromTheCatalogue", R"(DiscountType="0" ProductFKID="44")"},
                      BadDiscountCase{"TypeBeyond16Bits", R"(DiscountType="70000" ProductFKID="41")"}),
    [](const ::testing::TestParamInfo<BadDiscountCase>& info) { return info.param.name; });

// In mode 2 the kettle is not in the shop and so is not imported: its item has no NewPKID, and the discount on
// it ends the import. The discount after it is not updated.
TEST_F(DiscountsProfilesLinks, ADiscountOnAProductThatWasNotImportedEndsTheDiscountImport) {
  Exec("INSERT INTO Products (PKID, ProductID, Name) VALUES (7, 'SENCHA', 'alt')");
  Exec(
      "INSERT INTO Discounts (PKID, Name, DiscountType, DiscountValue, ProductFKID, FromAmount) VALUES "
      "(20, 'Erster', 0, 1, 7, 10), (21, 'Dritter', 0, 1, 7, 30)");
  ImportSections(R"(<Products><ProductsItem PKID="41" ProductID="SENCHA"/><ProductsItem PKID="43" ProductID="KANNE"/>)"
                 R"(</Products><Discounts>)"
                 R"(<DiscountsItem PKID="131" Name="Erster" DiscountType="0" DiscountValue="5" ProductFKID="41" )"
                 R"(FromAmount="10"/>)"
                 R"(<DiscountsItem PKID="132" Name="Zweiter" DiscountType="0" DiscountValue="6" ProductFKID="43" )"
                 R"(FromAmount="20"/>)"
                 R"(<DiscountsItem PKID="133" Name="Dritter" DiscountType="0" DiscountValue="7" ProductFKID="41" )"
                 R"(FromAmount="30"/></Discounts>)",
                 2);
  EXPECT_EQ(Discounts(), (Rows{{"20", "Erster", "0", "5", "7", "10", "NULL", "NULL"},
                               {"21", "Dritter", "0", "1", "7", "30", "NULL", "NULL"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Discounts"), ElementsAre(DiscountLookup("Erster", 0, 7, "10")));
  EXPECT_EQ(NewKeys("DiscountsItem", {"131", "132", "133"}), (Strings{"20", "absent", "absent"}));
}

TEST_F(DiscountsProfilesLinks, ReImportingADiscountLeavesItsScheduleAsTheShopHasIt) {
  const std::string sections = std::string(kDiscountProducts) + kDiscounts;
  for (int mode : {0, 2}) {
    Exec("DELETE FROM Discounts");
    Exec("DELETE FROM Products");
    ImportSections(sections, 0);
    Exec(
        "UPDATE Discounts SET DiscountValue=1, ScheduleFrom='2024-05-01 08:00:00', ScheduleTo='2024-05-31 20:00:00' "
        "WHERE Name='Mengenrabatt'");
    ImportSections(sections, mode);
    EXPECT_EQ(Select("SELECT Name, DiscountValue, ScheduleFrom, ScheduleTo FROM Discounts WHERE Name='Mengenrabatt'"),
              (Rows{{"Mengenrabatt", "10", "2024-05-01 08:00:00", "2024-05-31 20:00:00"}}))
        << "mode " << mode;
  }
}

// The product is new in this run and becomes product 1; the discount on it exists already and is left alone.
TEST_F(DiscountsProfilesLinks, InMode1AnExistingDiscountIsLeftAloneAndGetsNoNewPkid) {
  Exec(
      "INSERT INTO Discounts (PKID, Name, DiscountType, DiscountValue, ProductFKID, FromAmount, ScheduleFrom) "
      "VALUES (20, 'Mengenrabatt', 0, 99, 1, 50, '2024-01-01 00:00:00')");
  ImportSections(R"(<Products><ProductsItem PKID="41" ProductID="SENCHA"/></Products>)"
                 R"(<Discounts><DiscountsItem PKID="131" Name="Mengenrabatt" DiscountType="0" DiscountValue="10" )"
                 R"(ProductFKID="41" FromAmount="50"/></Discounts>)",
                 1);
  EXPECT_EQ(Discounts(), (Rows{{"20", "Mengenrabatt", "0", "99", "1", "50", "2024-01-01 00:00:00", "NULL"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Discounts"), ElementsAre(DiscountLookup("Mengenrabatt", 0, 1, "50")));
  EXPECT_EQ(NewKey("//DiscountsItem"), "absent");
}

TEST_F(DiscountsProfilesLinks, ADiscountNameWithASingleQuoteIsFoundThroughSqlQuote) {
  Exec("INSERT INTO Products (PKID, ProductID) VALUES (7, 'SENCHA')");
  Exec(
      "INSERT INTO Discounts (PKID, Name, DiscountType, DiscountValue, ProductFKID, FromAmount) "
      "VALUES (20, 'Kunde''s Rabatt', 0, 1, 7, 0)");
  ImportSections(R"(<Products><ProductsItem PKID="41" ProductID="SENCHA"/></Products>)"
                 R"(<Discounts><DiscountsItem PKID="131" Name="Kunde's Rabatt" DiscountType="0" DiscountValue="3" )"
                 R"(ProductFKID="41" FromAmount="0"/></Discounts>)");
  EXPECT_EQ(Discounts(), (Rows{{"20", "Kunde's Rabatt", "0", "3", "7", "0", "NULL", "NULL"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Discounts"),
              ElementsAre(DiscountLookup("Kunde''s Rabatt", 0, 7, "0")));
  EXPECT_EQ(NewKey("//DiscountsItem"), "20");
}

// ===== Exchange data profiles ==============================================================================

std::string ExchangeProfileLookup(const std::string& name) {
  return "SELECT * FROM ExchangeDataProfiles WHERE Name='" + name + "'";
}

// Both with a UserConfig child, which is never imported; LastProcessedDate 12.5 is read as the whole number 12.
const char* const kExchangeProfiles =
    R"(<ExchangeDataProfiles>)"
    R"(<ExchangeDataProfilesItem PKID="5" Name="Warenwirtschaft" LastProcessedDate="1709114400" )"
    R"(FilePath="export/artikel.csv"><UserConfig>neu</UserConfig></ExchangeDataProfilesItem>)"
    R"(<ExchangeDataProfilesItem PKID="6" Name="Lager" LastProcessedDate="12.5" FilePath="lager.csv">)"
    R"(<UserConfig>auch neu</UserConfig></ExchangeDataProfilesItem>)"
    R"(</ExchangeDataProfiles>)";

struct ProfileCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows profiles;
};

class ExchangeProfilesByMode : public DiscountsProfilesLinks, public ::testing::WithParamInterface<ProfileCase> {};

TEST_P(ExchangeProfilesByMode, WriteEverythingButTheUserConfigAsTheModeAllows) {
  const ProfileCase& c = GetParam();
  if (c.prefilled)
    Exec(
        "INSERT INTO ExchangeDataProfiles (PKID, Name, UserConfig, LastProcessedDate, FilePath) VALUES "
        "(3, 'Warenwirtschaft', 'eigene Einstellungen', 5, 'alt.csv'), (4, 'Fremd', 'fremd', 1, 'fremd.csv')");
  ImportSections(kExchangeProfiles, c.mode);
  EXPECT_EQ(ExchangeProfiles(), c.profiles);
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM ExchangeDataProfiles"),
              ElementsAre(ExchangeProfileLookup("Warenwirtschaft"), ExchangeProfileLookup("Lager")));
  EXPECT_EQ(NewKeys("ExchangeDataProfilesItem", {"5", "6"}), (Strings{"absent", "absent"}));
}

const std::vector<std::string> kForeignExchangeProfile = {"4", "Fremd", "fremd", "1", "fremd.csv"};
const std::vector<std::string> kExchangeProfileUpdated = {"3", "Warenwirtschaft", "eigene Einstellungen", "1709114400",
                                                          "export/artikel.csv"};

INSTANTIATE_TEST_SUITE_P(
    Profiles, ExchangeProfilesByMode,
    ::testing::Values(
        ProfileCase{"EmptyShopMode0",
                    0,
                    false,
                    {{"1", "Warenwirtschaft", "NULL", "1709114400", "export/artikel.csv"},
                     {"2", "Lager", "NULL", "12", "lager.csv"}}},
        ProfileCase{"EmptyShopMode1",
                    1,
                    false,
                    {{"1", "Warenwirtschaft", "NULL", "1709114400", "export/artikel.csv"},
                     {"2", "Lager", "NULL", "12", "lager.csv"}}},
        ProfileCase{"EmptyShopMode2", 2, false, {}},
        ProfileCase{"PrefilledShopMode0",
                    0,
                    true,
                    {kExchangeProfileUpdated, kForeignExchangeProfile, {"5", "Lager", "NULL", "12", "lager.csv"}}},
        ProfileCase{"PrefilledShopMode1",
                    1,
                    true,
                    {{"3", "Warenwirtschaft", "eigene Einstellungen", "5", "alt.csv"},
                     kForeignExchangeProfile,
                     {"5", "Lager", "NULL", "12", "lager.csv"}}},
        ProfileCase{"PrefilledShopMode2", 2, true, {kExchangeProfileUpdated, kForeignExchangeProfile}}),
    [](const ::testing::TestParamInfo<ProfileCase>& info) { return info.param.name; });

TEST_F(DiscountsProfilesLinks, AnExchangeProfileWithoutAWholeNumberAsLastProcessedDateGets0) {
  ImportSections(R"(<ExchangeDataProfiles><ExchangeDataProfilesItem PKID="1" Name="A" LastProcessedDate="abc"/>)"
                 R"(<ExchangeDataProfilesItem PKID="2" Name="B"/></ExchangeDataProfiles>)");
  EXPECT_EQ(ExchangeProfiles(), (Rows{{"1", "A", "NULL", "0", ""}, {"2", "B", "NULL", "0", ""}}));
}

// ===== Publish profiles ====================================================================================

std::string PublishProfileLookup(const std::string& name) {
  return "SELECT * FROM PublishProfiles WHERE ProfileName='" + name + "'";
}

// The settings are the whole text of the UserConfig child: the escaped markup as text, the text of the element
// inside it, the CDATA section; blanks at both ends go. An attribute UserConfig is not read.
const char* const kPublishProfiles =
    R"(<PublishProfiles>)"
    R"(<PublishProfilesItem PKID="1" ProfileName="Webserver" OutputPath="/var/www" UserConfig="Attribut">)"
    R"(<UserConfig>  &lt;ziel&gt;ftp://tee.example&lt;/ziel&gt; <modus>passiv</modus></UserConfig>)"
    R"(</PublishProfilesItem>)"
    R"(<PublishProfilesItem PKID="2" ProfileName="Vorschau" OutputPath="vorschau">)"
    R"(<UserConfig><![CDATA[<vorschau/>]]></UserConfig></PublishProfilesItem>)"
    R"(</PublishProfiles>)";
const char* const kWebserverConfig = "<ziel>ftp://tee.example</ziel> passiv";

class PublishProfilesByMode : public DiscountsProfilesLinks, public ::testing::WithParamInterface<ProfileCase> {};

TEST_P(PublishProfilesByMode, WriteEveryFieldAndTheUserConfigChildAsTheModeAllows) {
  const ProfileCase& c = GetParam();
  if (c.prefilled)
    Exec(
        "INSERT INTO PublishProfiles (PKID, ProfileName, UserConfig, OutputPath) VALUES "
        "(7, 'Webserver', 'alt', '/alt'), (8, 'Fremd', 'fremd', '/fremd')");
  ImportSections(kPublishProfiles, c.mode);
  EXPECT_EQ(PublishProfiles(), c.profiles);
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM PublishProfiles"),
              ElementsAre(PublishProfileLookup("Webserver"), PublishProfileLookup("Vorschau")));
  EXPECT_EQ(NewKeys("PublishProfilesItem", {"1", "2"}), (Strings{"absent", "absent"}));
}

const std::vector<std::string> kForeignPublishProfile = {"8", "Fremd", "fremd", "/fremd"};

INSTANTIATE_TEST_SUITE_P(
    Profiles, PublishProfilesByMode,
    ::testing::Values(
        ProfileCase{"EmptyShopMode0",
                    0,
                    false,
                    {{"1", "Webserver", kWebserverConfig, "/var/www"}, {"2", "Vorschau", "<vorschau/>", "vorschau"}}},
        ProfileCase{"EmptyShopMode1",
                    1,
                    false,
                    {{"1", "Webserver", kWebserverConfig, "/var/www"}, {"2", "Vorschau", "<vorschau/>", "vorschau"}}},
        ProfileCase{"EmptyShopMode2", 2, false, {}},
        ProfileCase{"PrefilledShopMode0",
                    0,
                    true,
                    {{"7", "Webserver", kWebserverConfig, "/var/www"},
                     kForeignPublishProfile,
                     {"9", "Vorschau", "<vorschau/>", "vorschau"}}},
        ProfileCase{
            "PrefilledShopMode1",
            1,
            true,
            {{"7", "Webserver", "alt", "/alt"}, kForeignPublishProfile, {"9", "Vorschau", "<vorschau/>", "vorschau"}}},
        ProfileCase{
            "PrefilledShopMode2", 2, true, {{"7", "Webserver", kWebserverConfig, "/var/www"}, kForeignPublishProfile}}),
    [](const ::testing::TestParamInfo<ProfileCase>& info) { return info.param.name; });

TEST_F(DiscountsProfilesLinks, AnEmptyUserConfigChildEmptiesThePublishProfilesSettings) {
  Exec("INSERT INTO PublishProfiles (PKID, ProfileName, UserConfig, OutputPath) VALUES (7, 'Web', 'alt', '/alt')");
  ImportSections(R"(<PublishProfiles><PublishProfilesItem PKID="1" ProfileName="Web" OutputPath="/neu">)"
                 R"(<UserConfig/></PublishProfilesItem></PublishProfiles>)");
  EXPECT_EQ(PublishProfiles(), (Rows{{"7", "Web", "", "/neu"}}));
}

// Without the child (the attribute of that name does not count) the copy fails at UserConfig: the new record
// keeps only its name, the next profile is not imported, and the working recordset stays open, so the quantity
// units after it end at their first item.
TEST_F(DiscountsProfilesLinks, APublishProfileWithoutAUserConfigChildEndsTheImportAndLeavesTheRecordsetOpen) {
  ImportSections(R"(<PublishProfiles><PublishProfilesItem PKID="1" ProfileName="Ohne" OutputPath="/ohne" )"
                 R"(UserConfig="nur als Attribut"/>)"
                 R"(<PublishProfilesItem PKID="2" ProfileName="Danach" OutputPath="/danach">)"
                 R"(<UserConfig>x</UserConfig></PublishProfilesItem></PublishProfiles>)"
                 R"(<QuantityUnits><QuantityUnitsItem PKID="1" QtyUnit="Stück"/></QuantityUnits>)");
  EXPECT_EQ(PublishProfiles(), (Rows{{"1", "Ohne", "NULL", "NULL"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM PublishProfiles"), ElementsAre(PublishProfileLookup("Ohne")));
  EXPECT_EQ(Select("SELECT COUNT(*) FROM QuantityUnits"), (Rows{{"0"}}));
}

TEST_F(DiscountsProfilesLinks, AnExistingPublishProfileWithoutAUserConfigChildKeepsEveryField) {
  for (int mode : {0, 2}) {
    Exec("DELETE FROM PublishProfiles");
    Exec("INSERT INTO PublishProfiles (PKID, ProfileName, UserConfig, OutputPath) VALUES (7, 'Ohne', 'alt', '/alt')");
    ImportSections(R"(<PublishProfiles><PublishProfilesItem PKID="1" ProfileName="Ohne" OutputPath="/neu"/>)"
                   R"(</PublishProfiles>)",
                   mode);
    EXPECT_EQ(PublishProfiles(), (Rows{{"7", "Ohne", "alt", "/alt"}})) << "mode " << mode;
  }
}

TEST_F(DiscountsProfilesLinks, BothProfileImportersShowTheSameStartTextEachBeforeItsOwnItems) {
  ImportSections(std::string(kExchangeProfiles) + kPublishProfiles);
  EXPECT_EQ(ProgressOf("Importiere Profile", 1), (Strings{"0/0 Importiere Profile", "2/1 ", "2/2 "}));
  EXPECT_EQ(ProgressOf("Importiere Profile", 2), (Strings{"0/0 Importiere Profile", "2/1 ", "2/2 "}));
  const Strings texts = host.state->StatusTexts();
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "Importiere Profile"), 2);
}

// ===== The shop elements that bundles and cross references point at =======================================
//
// The shop holds one foreign record in each of these tables, so that the new keys differ from table to table:
//
//   section          catalogue PKID -> new key
//   Pages            3 -> 11, 4 -> 12
//   Categories       11 -> 21, 12 -> 22, 21 -> 23, 31 -> 24 (and any further category: 25, ...)
//   Products         5 -> 31, 6 -> 32, 7 -> 33
//   VariantsComplex  11 -> 41, 12 -> 42, 21 -> 43, 31 -> 44 (their values 60 to 63 become 1 to 4)
//
// The categories and complex variants have the PKIDs that the pages, categories and products get as new keys,
// as the cross references look their category and variant references up with those.
std::string Elements(const std::string& further_categories = "") {
  return R"(<Pages><PagesItem PKID="3" ID="start" PageName="Start"/><PagesItem PKID="4" ID="tee" PageName="Tee"/>)"
         R"(</Pages><Categories>)"
         R"(<CategoriesItem PKID="11" ID="GRUEN" Name="Grüner Tee"/>)"
         R"(<CategoriesItem PKID="12" ID="SCHWARZ" Name="Schwarzer Tee"/>)"
         R"(<CategoriesItem PKID="21" ID="WEISS" Name="Weißer Tee"/>)"
         R"(<CategoriesItem PKID="31" ID="ZUBEHOER" Name="Zubehör"/>)" +
         further_categories +
         R"(</Categories><Products>)"
         R"(<ProductsItem PKID="5" ProductID="SENCHA"/><ProductsItem PKID="6" ProductID="MATCHA"/>)"
         R"(<ProductsItem PKID="7" ProductID="KANNE"/></Products>)"
         R"(<VariantTypes><VariantTypesItem PKID="50" Name="Packung"/></VariantTypes>)"
         R"(<VariantValues><VariantValuesItem PKID="60" Value="100 g" VariantFKID="50"/>)"
         R"(<VariantValuesItem PKID="61" Value="250 g" VariantFKID="50"/>)"
         R"(<VariantValuesItem PKID="62" Value="500 g" VariantFKID="50"/>)"
         R"(<VariantValuesItem PKID="63" Value="1 kg" VariantFKID="50"/></VariantValues>)"
         R"(<VariantsComplex><VariantsComplexItem PKID="11" VarString="[1]60" ProductID="S-100" ProductFKID="5"/>)"
         R"(<VariantsComplexItem PKID="12" VarString="[1]61" ProductID="S-250" ProductFKID="5"/>)"
         R"(<VariantsComplexItem PKID="21" VarString="[1]62" ProductID="S-500" ProductFKID="5"/>)"
         R"(<VariantsComplexItem PKID="31" VarString="[1]63" ProductID="S-1000" ProductFKID="5"/>)"
         R"(</VariantsComplex>)";
}

class ShopElements : public DiscountsProfilesLinks {
 protected:
  void SetUp() override {
    DiscountsProfilesLinks::SetUp();
    Exec("INSERT INTO Pages (PKID, ID, PageName) VALUES (10, 'fremd', 'fremd')");
    Exec("INSERT INTO Categories (PKID, ID, Name) VALUES (20, 'fremd', 'fremd')");
    Exec("INSERT INTO Products (PKID, ProductID, Name) VALUES (30, 'fremd', 'fremd')");
    Exec("INSERT INTO VariantsComplex (PKID, VarString, ProductID) VALUES (40, 'fremd', 'fremd')");
  }
  // The elements imported once in mode 0, so that a later import finds them all.
  void ImportTheElementsOnce() { ImportSections(Elements(), 0); }
};

TEST_F(ShopElements, GetTheNewKeysThatTheBundleAndCrossReferenceTestsRelyOn) {
  ImportSections(Elements());
  EXPECT_EQ(NewKeys("PagesItem", {"3", "4"}), (Strings{"11", "12"}));
  EXPECT_EQ(NewKeys("CategoriesItem", {"11", "12", "21", "31"}), (Strings{"21", "22", "23", "24"}));
  EXPECT_EQ(NewKeys("ProductsItem", {"5", "6", "7"}), (Strings{"31", "32", "33"}));
  EXPECT_EQ(NewKeys("VariantsComplexItem", {"11", "12", "21", "31"}), (Strings{"41", "42", "43", "44"}));
}

// ===== Bundles =============================================================================================

std::string BundleLookup(int product, int related) {
  return "SELECT * FROM Bundles WHERE ProductFKID=" + std::to_string(product) +
         " AND RelProductFKID=" + std::to_string(related);
}

// The kettle with Sencha, in the category SCHWARZ and the complex variant 21; Matcha with Sencha, twice.
const char* const kBundles =
    R"(<Bundles>)"
    R"(<BundlesItem PKID="121" ProductFKID="7" RelProductFKID="5" ProductCategoryFKID="12" ProductVariantFKID="21" )"
    R"(Quantity="1"/>)"
    R"(<BundlesItem PKID="122" ProductFKID="6" RelProductFKID="5" ProductCategoryFKID="0" ProductVariantFKID="0" )"
    R"(Quantity="2"/>)"
    R"(</Bundles>)";
// Each with the translated keys and the catalogue's own PKID.
const std::vector<std::string> kKettleWithSencha = {"121", "33", "31", "22", "43", "1"};
const std::vector<std::string> kMatchaWithSencha = {"122", "32", "31", "0", "0", "2"};

struct BundleCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows bundles;
  Strings queries;
};

class BundlesByMode : public ShopElements, public ::testing::WithParamInterface<BundleCase> {};

// Prefilled: the bundle of the kettle and Sencha under the keys that the run gives them, and a foreign bundle.
TEST_P(BundlesByMode, WriteTheTranslatedKeysAndThePkidAsTheModeAllows) {
  const BundleCase& c = GetParam();
  if (c.prefilled)
    Exec(
        "INSERT INTO Bundles (PKID, ProductFKID, RelProductFKID, ProductCategoryFKID, ProductVariantFKID, Quantity) "
        "VALUES (10, 33, 31, 9, 9, 5), (11, 1, 2, 0, 0, 1)");
  ImportSections(Elements() + kBundles, c.mode);
  EXPECT_EQ(Bundles(), c.bundles);
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Bundles"), ElementsAreArray(c.queries));
  EXPECT_EQ(NewKeys("BundlesItem", {"121", "122"}), (Strings{"absent", "absent"}));
}

const std::vector<std::string> kForeignBundle = {"11", "1", "2", "0", "0", "1"};

INSTANTIATE_TEST_SUITE_P(
    Bundles, BundlesByMode,
    ::testing::Values(
        BundleCase{"EmptyShopMode0",
                   0,
                   false,
                   {kKettleWithSencha, kMatchaWithSencha},
                   {BundleLookup(33, 31), BundleLookup(32, 31)}},
        BundleCase{"EmptyShopMode1",
                   1,
                   false,
                   {kKettleWithSencha, kMatchaWithSencha},
                   {BundleLookup(33, 31), BundleLookup(32, 31)}},
        // Nothing is created, so nothing has a NewPKID: both bundles are looked up with the products 0 and 0.
        BundleCase{"EmptyShopMode2", 2, false, {}, {BundleLookup(0, 0), BundleLookup(0, 0)}},
        // The existing bundle takes the catalogue's PKID 121; the new one gets the key 122 and keeps it.
        BundleCase{"PrefilledShopMode0",
                   0,
                   true,
                   {kForeignBundle, kKettleWithSencha, kMatchaWithSencha},
                   {BundleLookup(33, 31), BundleLookup(32, 31)}},
        // The new one is added under the key 12 and then takes its PKID 122.
        BundleCase{"PrefilledShopMode1",
                   1,
                   true,
                   {{"10", "33", "31", "9", "9", "5"}, kForeignBundle, kMatchaWithSencha},
                   {BundleLookup(33, 31), BundleLookup(32, 31)}},
        BundleCase{"PrefilledShopMode2",
                   2,
                   true,
                   {{"10", "33", "31", "9", "9", "5"}, kForeignBundle},
                   {BundleLookup(0, 0), BundleLookup(0, 0)}}),
    [](const ::testing::TestParamInfo<BundleCase>& info) { return info.param.name; });

TEST_F(ShopElements, InMode2AnExistingBundleIsUpdatedAndAMissingOneIsNotCreated) {
  ImportTheElementsOnce();
  Exec(
      "INSERT INTO Bundles (PKID, ProductFKID, RelProductFKID, ProductCategoryFKID, ProductVariantFKID, Quantity) "
      "VALUES (10, 33, 31, 9, 9, 5)");
  ImportSections(Elements() + kBundles, 2);
  EXPECT_EQ(Bundles(), (Rows{kKettleWithSencha}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Bundles"), ElementsAre(BundleLookup(33, 31), BundleLookup(32, 31)));
}

// In mode 1 the category SCHWARZ exists and is left alone, so its item has no NewPKID: the bundle is written
// with the category 0 and its other keys translated.
TEST_F(ShopElements, ABundleKeyWhoseItemHasNoNewPkidIsWrittenAs0) {
  Exec("INSERT INTO Categories (PKID, ID, Name) VALUES (9, 'SCHWARZ', 'alt')");
  ImportSections(Elements() + kBundles, 1);
  EXPECT_EQ(NewKey("//CategoriesItem[@PKID='12']"), "absent");
  EXPECT_EQ(Bundles(), (Rows{{"121", "33", "31", "0", "43", "1"}, kMatchaWithSencha}));
}

// A bundle one of whose four keys names an item missing from the catalogue ends the bundle import before its
// statement; the first bundle stays, the third is not imported, and the run goes on.
struct BadBundleCase {
  std::string name;
  std::string keys;  // ProductFKID, RelProductFKID, ProductCategoryFKID, ProductVariantFKID
};

class ABundleNamingAMissingItem : public ShopElements, public ::testing::WithParamInterface<BadBundleCase> {};

TEST_P(ABundleNamingAMissingItem, EndsTheBundleImportThere) {
  ImportSections(Elements() +
                 R"(<Bundles>)"
                 R"(<BundlesItem PKID="121" ProductFKID="7" RelProductFKID="5" ProductCategoryFKID="12" )"
                 R"(ProductVariantFKID="21" Quantity="1"/><BundlesItem PKID="123" )" +
                 GetParam().keys + R"( Quantity="3"/>)" +
                 R"(<BundlesItem PKID="122" ProductFKID="6" RelProductFKID="5" Quantity="2"/></Bundles>)" +
                 kKeywordAfterwards);
  EXPECT_EQ(Bundles(), (Rows{kKettleWithSencha}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Bundles"), ElementsAre(BundleLookup(33, 31)));
  EXPECT_EQ(ProgressOf("Importiere Bundles"), (Strings{"0/0 Importiere Bundles", "3/1 ", "3/2 "}));
  EXPECT_EQ(Keywords(), kKeywordWritten);
}

INSTANTIATE_TEST_SUITE_P(
    Bundles, ABundleNamingAMissingItem,
    ::testing::Values(
        BadBundleCase{"Product",
                      R"(ProductFKID="99" RelProductFKID="5" ProductCategoryFKID="12" ProductVariantFKID="21")"},
        BadBundleCase{"RelatedProduct",
                      R"(ProductFKID="6" RelProductFKID="99" ProductCategoryFKID="12" ProductVariantFKID="21")"},
        BadBundleCase{"Category",
                      R"(ProductFKID="6" RelProductFKID="5" ProductCategoryFKID="99" ProductVariantFKID="21")"},
        BadBundleCase{"Variant",
                      R"(ProductFKID="6" RelProductFKID="5" ProductCategoryFKID="12" ProductVariantFKID="99")"}),
    [](const ::testing::TestParamInfo<BadBundleCase>& info) { return info.param.name; });

// The second bundle is new: it is added under the next key (124) and then given its PKID 122, which the foreign
// bundle has. The database refuses that save: the bundle import ends with the record saved by the insert and
// the working recordset open, so the cross references and keywords after it end at their first item.
TEST_F(ShopElements, ABundleWhosePkidAnotherBundleHasEndsTheImportAndLeavesTheRecordsetOpen) {
  Exec(
      "INSERT INTO Bundles (PKID, ProductFKID, RelProductFKID, ProductCategoryFKID, ProductVariantFKID, Quantity) "
      "VALUES (122, 1, 2, 0, 0, 1)");
  ImportSections(Elements() + kBundles +
                 R"(<CrossRefs><CrossRefsItem PKID="291" ElSrcType="7" ElSrcRef="0" ElTargetType="7" ElTargetRef="0" )"
                 R"(ElTargetCategoryRef="0" ElTargetVariantRef="0"/></CrossRefs>)" +
                 kKeywordAfterwards);
  EXPECT_EQ(Bundles(), (Rows{kKettleWithSencha, {"122", "1", "2", "0", "0", "1"}, {"124", "32", "31", "0", "0", "1"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Bundles"), ElementsAre(BundleLookup(33, 31), BundleLookup(32, 31)));
  EXPECT_EQ(CrossRefs(), Rows{});
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM CrossRefs"), IsEmpty());
  EXPECT_EQ(Keywords(), Rows{});
}

// PKID is copied like any other field: without the attribute the bundle is stored under the key 0.
TEST_F(ShopElements, ABundleWithoutPkidIsStoredUnderTheKey0) {
  ImportSections(Elements() + R"(<Bundles><BundlesItem ProductFKID="6" RelProductFKID="5" Quantity="2"/></Bundles>)");
  EXPECT_EQ(Bundles(), (Rows{{"0", "32", "31", "0", "0", "2"}}));
}

TEST_F(ShopElements, BundlesShowTheirStartTextAndProgressForEachItem) {
  ImportSections(Elements() + kBundles);
  EXPECT_EQ(ProgressOf("Importiere Bundles"), (Strings{"0/0 Importiere Bundles", "2/1 ", "2/2 "}));
}

// ===== Cross references ====================================================================================

std::string CrossRefLookup(int src_type, int src, int target_type, int target, int category, int variant) {
  return "SELECT * FROM CrossRefs WHERE ElSrcType=" + std::to_string(src_type) +
         " AND ElSrcRef=" + std::to_string(src) + " AND ElTargetType=" + std::to_string(target_type) +
         " AND ElTargetRef=" + std::to_string(target) + " AND ElTargetCategoryRef=" + std::to_string(category) +
         " AND ElTargetVariantRef=" + std::to_string(variant);
}

// Each names its own target category 5 and variant 6, which are read and dropped.
//   291: the page start (-> 11) to the product MATCHA (-> 32); category and variant of the key 11: 21 and 41.
//   292: the category GRUEN (-> 21) to the page tee (-> 12); of the key 21: 23 and 43.
//   293: the product SENCHA (-> 31) to the category SCHWARZ (-> 22); of the key 31: 24 and 44.
//   294: an element of type 7, key 12 as read, to one of type 9, key 99 as read; of the key 12: 22 and 42.
const char* const kCrossRefs =
    R"(<CrossRefs>)"
    R"(<CrossRefsItem PKID="291" ElSrcType="0" ElSrcRef="3" ElTargetType="2" ElTargetRef="6" )"
    R"(ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="1"/>)"
    R"(<CrossRefsItem PKID="292" ElSrcType="1" ElSrcRef="11" ElTargetType="0" ElTargetRef="4" )"
    R"(ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="2"/>)"
    R"(<CrossRefsItem PKID="293" ElSrcType="2" ElSrcRef="5" ElTargetType="1" ElTargetRef="12" )"
    R"(ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="3"/>)"
    R"(<CrossRefsItem PKID="294" ElSrcType="7" ElSrcRef="12" ElTargetType="9" ElTargetRef="99" )"
    R"(ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="4"/>)"
    R"(</CrossRefs>)";
const std::vector<std::string> kPageToProduct = {"291", "0", "11", "2", "32", "21", "41", "1"};
const std::vector<std::string> kCategoryToPage = {"292", "1", "21", "0", "12", "23", "43", "2"};
const std::vector<std::string> kProductToCategory = {"293", "2", "31", "1", "22", "24", "44", "3"};
const std::vector<std::string> kOtherTypes = {"294", "7", "12", "9", "99", "22", "42", "4"};
const Strings kCrossRefLookups = {CrossRefLookup(0, 11, 2, 32, 21, 41), CrossRefLookup(1, 21, 0, 12, 23, 43),
                                  CrossRefLookup(2, 31, 1, 22, 24, 44), CrossRefLookup(7, 12, 9, 99, 22, 42)};

struct CrossRefCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows cross_refs;
  Strings queries;
};

class CrossRefsByMode : public ShopElements, public ::testing::WithParamInterface<CrossRefCase> {};

// Prefilled: the link of the page start to MATCHA under the keys that the run gives them, and a foreign link.
TEST_P(CrossRefsByMode, WriteTheTranslatedLinksAndThePkidAsTheModeAllows) {
  const CrossRefCase& c = GetParam();
  if (c.prefilled)
    Exec(
        "INSERT INTO CrossRefs (PKID, ElSrcType, ElSrcRef, ElTargetType, ElTargetRef, ElTargetCategoryRef, "
        "ElTargetVariantRef, SortOrder) VALUES (50, 0, 11, 2, 32, 21, 41, 9), (51, 1, 1, 1, 1, 0, 0, 0)");
  ImportSections(Elements() + kCrossRefs, c.mode);
  EXPECT_EQ(CrossRefs(), c.cross_refs);
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM CrossRefs"), ElementsAreArray(c.queries));
  EXPECT_EQ(NewKeys("CrossRefsItem", {"291", "292", "293", "294"}), (Strings{"absent", "absent", "absent", "absent"}));
}

const std::vector<std::string> kForeignCrossRef = {"51", "1", "1", "1", "1", "0", "0", "0"};
const std::vector<std::string> kPageToProductUntouched = {"50", "0", "11", "2", "32", "21", "41", "9"};

INSTANTIATE_TEST_SUITE_P(
    CrossRefs, CrossRefsByMode,
    ::testing::Values(CrossRefCase{"EmptyShopMode0",
                                   0,
                                   false,
                                   {kPageToProduct, kCategoryToPage, kProductToCategory, kOtherTypes},
                                   kCrossRefLookups},
                      CrossRefCase{"EmptyShopMode1",
                                   1,
                                   false,
                                   {kPageToProduct, kCategoryToPage, kProductToCategory, kOtherTypes},
                                   kCrossRefLookups},
                      // The page start is not created and keeps its catalogue key 3 as its NewPKID; no category item
                      // has the PKID 3, so the first cross reference ends the import before its statement.
                      CrossRefCase{"EmptyShopMode2", 2, false, {}, {}},
                      CrossRefCase{"PrefilledShopMode0",
                                   0,
                                   true,
                                   {kForeignCrossRef, kPageToProduct, kCategoryToPage, kProductToCategory, kOtherTypes},
                                   kCrossRefLookups},
                      CrossRefCase{
                          "PrefilledShopMode1",
                          1,
                          true,
                          {kPageToProductUntouched, kForeignCrossRef, kCategoryToPage, kProductToCategory, kOtherTypes},
                          kCrossRefLookups},
                      CrossRefCase{"PrefilledShopMode2", 2, true, {kPageToProductUntouched, kForeignCrossRef}, {}}),
    [](const ::testing::TestParamInfo<CrossRefCase>& info) { return info.param.name; });

TEST_F(ShopElements, InMode2AnExistingCrossReferenceIsUpdatedAndNoneIsCreated) {
  ImportTheElementsOnce();
  Exec(
      "INSERT INTO CrossRefs (PKID, ElSrcType, ElSrcRef, ElTargetType, ElTargetRef, ElTargetCategoryRef, "
      "ElTargetVariantRef, SortOrder) VALUES (50, 0, 11, 2, 32, 21, 41, 9)");
  ImportSections(Elements() + kCrossRefs, 2);
  EXPECT_EQ(CrossRefs(), (Rows{kPageToProduct}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM CrossRefs"), ElementsAreArray(kCrossRefLookups));
}

// In mode 1 SENCHA and SCHWARZ exist and are left alone, so neither item has a NewPKID: the source and target
// translate to 0, and so do the category and variant references derived from the source.
TEST_F(ShopElements, ASourceWithoutNewPkidIsLinkedAs0AndSoAreItsCategoryAndVariant) {
  ImportTheElementsOnce();
  ImportSections(Elements() +
                     R"(<CrossRefs><CrossRefsItem PKID="293" ElSrcType="2" ElSrcRef="5" ElTargetType="1" )"
                     R"(ElTargetRef="12" ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="3"/></CrossRefs>)",
                 1);
  EXPECT_EQ(CrossRefs(), (Rows{{"293", "2", "0", "1", "0", "0", "0", "3"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM CrossRefs"), ElementsAre(CrossRefLookup(2, 0, 1, 0, 0, 0)));
}

// One of the six link attributes of the second cross reference is missing, empty, no number or out of range:
// its conversion fails (also for the two whose values are dropped), the import ends before that item's
// statement, and the run goes on.
struct BadLinkCase {
  std::string name;
  std::string attribute;
  std::string value;  // "missing": the attribute is left out
};

class ACrossReferenceWithABadLinkAttribute : public ShopElements, public ::testing::WithParamInterface<BadLinkCase> {};

TEST_P(ACrossReferenceWithABadLinkAttribute, EndsTheCrossReferenceImportThere) {
  const BadLinkCase& c = GetParam();
  std::string second;
  for (const auto& [attribute, value] : std::vector<std::pair<std::string, std::string>>{{"ElSrcType", "1"},
                                                                                         {"ElSrcRef", "11"},
                                                                                         {"ElTargetType", "0"},
                                                                                         {"ElTargetRef", "4"},
                                                                                         {"ElTargetCategoryRef", "5"},
                                                                                         {"ElTargetVariantRef", "6"}}) {
    if (attribute != c.attribute)
      second += " " + attribute + "=\"" + value + "\"";
    else if (c.value != "missing")
      second += " " + attribute + "=\"" + c.value + "\"";
  }
  ImportSections(Elements() +
                 R"(<CrossRefs><CrossRefsItem PKID="291" ElSrcType="0" ElSrcRef="3" ElTargetType="2" )"
                 R"(ElTargetRef="6" ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="1"/>)" +
                 R"(<CrossRefsItem PKID="292")" + second + R"( SortOrder="2"/>)" +
                 R"(<CrossRefsItem PKID="293" ElSrcType="2" ElSrcRef="5" ElTargetType="1" ElTargetRef="12" )"
                 R"(ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="3"/></CrossRefs>)" +
                 kKeywordAfterwards);
  EXPECT_EQ(CrossRefs(), (Rows{kPageToProduct}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM CrossRefs"), ElementsAre(kCrossRefLookups[0]));
  EXPECT_EQ(ProgressOf("Importiere Produktverlinkungen"),
            (Strings{"0/0 Importiere Produktverlinkungen", "3/1 ", "3/2 "}));
  EXPECT_EQ(Keywords(), kKeywordWritten);
}

INSTANTIATE_TEST_SUITE_P(CrossRefs, ACrossReferenceWithABadLinkAttribute,
                         ::testing::Values(BadLinkCase{"SourceTypeMissing", "ElSrcType", "missing"},
                                           BadLinkCase{"SourceTypeEmpty", "ElSrcType", ""},
                                           BadLinkCase{"SourceTypeBeyond16Bits", "ElSrcType", "70000"},
                                           BadLinkCase{"SourceRefMissing", "ElSrcRef", "missing"},
                                           BadLinkCase{"SourceRefNoNumber", "ElSrcRef", "abc"},
                                           BadLinkCase{"SourceRefBeyond32Bits", "ElSrcRef", "3000000000"},
                                           BadLinkCase{"TargetTypeEmpty", "ElTargetType", ""},
                                           BadLinkCase{"TargetRefMissing", "ElTargetRef", "missing"},
                                           BadLinkCase{"TargetCategoryRefMissing", "ElTargetCategoryRef", "missing"},
                                           BadLinkCase{"TargetCategoryRefNoNumber", "ElTargetCategoryRef", "abc"},
                                           BadLinkCase{"TargetVariantRefEmpty", "ElTargetVariantRef", ""},
                                           BadLinkCase{"TargetVariantRefMissing", "ElTargetVariantRef", "missing"}),
                         [](const ::testing::TestParamInfo<BadLinkCase>& info) { return info.param.name; });

// A reference that cannot be translated: the source or target names an item missing from its section, or the
// translated source is the PKID of no category item (MATCHA becomes 32), or of a category item but of no
// complex variant item (the further category 32).
struct UntranslatableCase {
  std::string name;
  std::string further_categories;
  std::string link;  // the link attributes of the second cross reference
};

class AnUntranslatableCrossReference : public ShopElements, public ::testing::WithParamInterface<UntranslatableCase> {};

TEST_P(AnUntranslatableCrossReference, EndsTheCrossReferenceImportThere) {
  ImportSections(Elements(GetParam().further_categories) +
                 R"(<CrossRefs><CrossRefsItem PKID="291" ElSrcType="0" ElSrcRef="3" ElTargetType="2" ElTargetRef="6" )"
                 R"(ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="1"/>)"
                 R"(<CrossRefsItem PKID="292" )" +
                 GetParam().link +
                 R"( ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="2"/>)"
                 R"(<CrossRefsItem PKID="293" ElSrcType="2" ElSrcRef="5" ElTargetType="1" ElTargetRef="12" )"
                 R"(ElTargetCategoryRef="5" ElTargetVariantRef="6" SortOrder="3"/></CrossRefs>)" +
                 kKeywordAfterwards);
  EXPECT_EQ(CrossRefs(), (Rows{kPageToProduct}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM CrossRefs"), ElementsAre(kCrossRefLookups[0]));
  EXPECT_EQ(Keywords(), kKeywordWritten);
}

INSTANTIATE_TEST_SUITE_P(
    CrossRefs, AnUntranslatableCrossReference,
    ::testing::Values(
        UntranslatableCase{"SourcePageMissing", "", R"(ElSrcType="0" ElSrcRef="99" ElTargetType="2" ElTargetRef="6")"},
        UntranslatableCase{"TargetProductMissing", "",
                           R"(ElSrcType="0" ElSrcRef="3" ElTargetType="2" ElTargetRef="99")"},
        UntranslatableCase{"TargetCategoryMissing", "",
                           R"(ElSrcType="0" ElSrcRef="3" ElTargetType="1" ElTargetRef="99")"},
        UntranslatableCase{"SourceKeyOfNoCategory", "",
                           R"(ElSrcType="2" ElSrcRef="6" ElTargetType="2" ElTargetRef="7")"},
        UntranslatableCase{"SourceKeyOfACategoryButNoVariant", R"(<CategoriesItem PKID="32" ID="EXTRA"/>)",
                           R"(ElSrcType="2" ElSrcRef="6" ElTargetType="2" ElTargetRef="7")"}),
    [](const ::testing::TestParamInfo<UntranslatableCase>& info) { return info.param.name; });

TEST_F(ShopElements, CrossReferencesShowTheirStartTextAndProgressForEachItem) {
  ImportSections(Elements() + kCrossRefs);
  EXPECT_EQ(ProgressOf("Importiere Produktverlinkungen"),
            (Strings{"0/0 Importiere Produktverlinkungen", "4/1 ", "4/2 ", "4/3 ", "4/4 "}));
}

// ===== The run =============================================================================================

TEST_F(DiscountsProfilesLinks, TheStartTextsComeAtTheirPlacesInTheRun) {
  ImportSections("<Keywords/>");
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
  EXPECT_THAT(connection->queries, IsEmpty());
}

}  // namespace
}  // namespace cvimp::plugin::testing
