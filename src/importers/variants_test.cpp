// The variant importers (types, values, simple and complex variants) and the rebuild of a complex variant's
// VarString, run the way the host runs them: a catalogue file chosen on the settings page, an update mode,
// ExecuteImport, and a real shop database, empty or already holding records of the same natural keys.
//
// The four importers skip failing statements one by one: a key that cannot be read keeps what its variable
// held before (from the previous item, or 0 and the empty text for the first), and the section is always
// walked to its end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/testing/raised_code.h"
#include "plugin/testing/import_fixture.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

using Strings = std::vector<std::string>;

class Variants : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    log = connection;  // it records the records written too
  }

  // The statements on the four variant tables, fEditVarstring's included, in order.
  Strings VariantQueries() const {
    Strings out;
    for (const auto& q : connection->queries)
      if (q.rfind("SELECT * FROM Variant", 0) == 0 || q.rfind("SELECT PKID FROM VariantValues", 0) == 0)
        out.push_back(q);
    return out;
  }
  // The records added to the variant tables, in order.
  Strings VariantInserts() const {
    Strings out;
    for (const auto& i : log->inserts)
      if (i.rfind("Variant", 0) == 0) out.push_back(i);
    return out;
  }

  // Every progress call as "maximum/position text" from the status "Importiere Varianten" up to and including
  // the next status line.
  Strings VariantProgress() const {
    const auto& p = host.state->progress;
    auto first =
        std::find_if(p.begin(), p.end(), [](const ProgressCall& c) { return c.text == "Importiere Varianten"; });
    auto last = first == p.end()
                    ? p.end()
                    : std::find_if(first + 1, p.end(), [](const ProgressCall& c) { return c.maximum == 0; });
    if (last != p.end()) ++last;
    Strings out;
    for (auto it = first; it != last; ++it)
      out.push_back(std::to_string(it->maximum) + "/" + std::to_string(it->position) + " " + it->text);
    return out;
  }

  Rows Types() { return Select("SELECT PKID, Name, SortOrder FROM VariantTypes ORDER BY PKID"); }
  Rows Values() { return Select("SELECT PKID, Value, VariantFKID, SortOrder FROM VariantValues ORDER BY PKID"); }
  Rows Simple() {
    return Select(
        "SELECT PKID, ProductFKID, VariantTypeFKID, VariantValueFKID, Surcharge FROM VariantsSimple ORDER BY PKID");
  }
  Rows Complex() {
    return Select(
        "SELECT PKID, VarString, ProductID, ProductFKID, DeliveryTimeFKID, ThumbMRef, PictureMRef, Price, Weight, "
        "Stock FROM VariantsComplex ORDER BY PKID");
  }
  Rows ComplexKeys() {
    return Select(
        "SELECT PKID, VarString, ProductFKID, DeliveryTimeFKID, ThumbMRef, PictureMRef FROM VariantsComplex "
        "ORDER BY PKID");
  }

  std::shared_ptr<RecordingConnection> log;
};

// The last n entries.
Strings Last(std::size_t n, const Strings& all) {
  return Strings(all.end() - static_cast<std::ptrdiff_t>(std::min(n, all.size())), all.end());
}

std::string TypeLookup(const std::string& name) { return "SELECT * FROM VariantTypes WHERE Name='" + name + "'"; }
std::string ValueLookup(const std::string& value, int type) {
  return "SELECT * FROM VariantValues WHERE Value='" + value + "' AND VariantFKID=" + std::to_string(type);
}
std::string SimpleLookup(int product, int type, int value) {
  return "SELECT * FROM VariantsSimple WHERE ProductFKID=" + std::to_string(product) +
         " AND VariantTypeFKID=" + std::to_string(type) + " AND VariantValueFKID=" + std::to_string(value);
}
// fEditVarstring's own statement over the translated value keys.
std::string ValueKeys(const std::string& list) {
  return "SELECT PKID FROM VariantValues WHERE PKID IN(" + list + ") ORDER BY VariantFKID";
}
std::string ComplexLookup(const std::string& var_string) {
  return "SELECT * FROM VariantsComplex WHERE VarString='" + var_string + "'";
}

// ===== The four importers in one run, by update mode ========================================================

// One product (T-1) in colour rot and the sizes S and M. The exporting shop had the type Größe as 5 and Farbe
// as 6, so its VarStrings list the size first ([1]<size>[2]<colour>); here Farbe comes first in the file and
// so gets the smaller key in an empty shop, and the rebuilt VarStrings list the colour first.
const char* kChain =
    R"(<Products><ProductsItem PKID="15" ProductID="T-1"/></Products>)"
    // The delivery-time import writes no NewPKID; the one written here stands for it.
    R"(<DeliveryTimes><DeliveryTimesItem PKID="2" Name="3-5 Tage" NewPKID="40"/></DeliveryTimes>)"
    // Media are not imported in these runs (the check box is off), so these NewPKIDs stay as written.
    R"(<Media><MediaItem PKID="3" NewPKID="30"/><MediaItem PKID="4" NewPKID="31"/></Media>)"
    R"(<VariantTypes>)"
    R"(<VariantTypesItem PKID="6" Name="Farbe" SortOrder="1"/>)"
    R"(<VariantTypesItem PKID="5" Name="Größe" SortOrder="2"/>)"
    R"(</VariantTypes>)"
    R"(<VariantValues>)"
    R"(<VariantValuesItem PKID="34" Value="rot" VariantFKID="6" SortOrder="1"/>)"
    R"(<VariantValuesItem PKID="12" Value="S" VariantFKID="5" SortOrder="1"/>)"
    R"(<VariantValuesItem PKID="13" Value="M" VariantFKID="5" SortOrder="2"/>)"
    R"(</VariantValues>)"
    R"(<VariantsSimple>)"
    R"(<VariantsSimpleItem PKID="70" ProductFKID="15" VariantTypeFKID="6" VariantValueFKID="34" Surcharge="1"/>)"
    R"(<VariantsSimpleItem PKID="71" ProductFKID="15" VariantTypeFKID="5" VariantValueFKID="12" Surcharge="0.5"/>)"
    R"(</VariantsSimple>)"
    R"(<VariantsComplex>)"
    R"(<VariantsComplexItem PKID="80" VarString="[1]12[2]34" ProductID="T-1-S-rot" ProductFKID="15" )"
    R"(DeliveryTimeFKID="2" ThumbMRef="3" PictureMRef="4" Price="9.5" Weight="0.2" Stock="7"/>)"
    R"(<VariantsComplexItem PKID="81" VarString="[1]13[2]34" ProductID="T-1-M-rot" ProductFKID="15" )"
    R"(DeliveryTimeFKID="0" ThumbMRef="0" PictureMRef="0" Price="10" Weight="0.25" Stock="0"/>)"
    R"(</VariantsComplex>)";

// T-1 is product 7 and Farbe type 5. rot of Farbe is value 20; 21 is an S of a type that the catalogue does
// not name. T-1 rot has a simple variant (50), and two complex variants exist: rot with the S that this import
// adds in mode 0 (60), and rot alone (61). New records get the next keys.
const char* kPrefill =
    "INSERT INTO Products (PKID, ProductID, Name) VALUES (7, 'T-1', 'alt');"
    "INSERT INTO VariantTypes (PKID, Name, SortOrder) VALUES (5, 'Farbe', 9);"
    "INSERT INTO VariantValues (PKID, Value, VariantFKID, SortOrder) VALUES (20, 'rot', 5, 9), (21, 'S', 9, 3);"
    "INSERT INTO VariantsSimple (PKID, ProductFKID, VariantTypeFKID, VariantValueFKID, Surcharge) "
    "VALUES (50, 7, 5, 20, 2.5);"
    "INSERT INTO VariantsComplex (PKID, VarString, ProductID, ProductFKID, DeliveryTimeFKID, ThumbMRef, "
    "PictureMRef, Price, Weight, Stock) VALUES (60, '[1]20[2]22', 'alt', 7, 1, 1, 1, 1.5, 0.5, 3), "
    "(61, '[1]20', 'alt', 7, 1, 1, 1, 1.5, 0.5, 3)";

const std::vector<std::string> kComplex60 = {"60", "[1]20[2]22", "alt", "7", "1", "1", "1", "1.5", "0.5", "3"};
const std::vector<std::string> kComplex61 = {"61", "[1]20", "alt", "7", "1", "1", "1", "1.5", "0.5", "3"};

struct ChainCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows types;
  Rows values;
  Rows simple;
  Rows complex;
  Strings queries;
  Strings inserts;
  Strings new_keys;  // types 6, 5; values 34, 12, 13; simple variants 70, 71; complex variants 80, 81
};

class VariantsByMode : public Variants, public ::testing::WithParamInterface<ChainCase> {};

TEST_P(VariantsByMode, WriteTheRowsStatementsAndNewKeysThatTheModeAllows) {
  const ChainCase& c = GetParam();
  if (c.prefilled) Exec(kPrefill);
  ImportSections(kChain, c.mode);
  EXPECT_EQ(Types(), c.types);
  EXPECT_EQ(Values(), c.values);
  EXPECT_EQ(Simple(), c.simple);
  EXPECT_EQ(Complex(), c.complex);
  EXPECT_THAT(VariantQueries(), ElementsAreArray(c.queries));
  EXPECT_THAT(VariantInserts(), ElementsAreArray(c.inserts));
  EXPECT_EQ((Strings{NewKey("//VariantTypesItem[@PKID='6']"), NewKey("//VariantTypesItem[@PKID='5']"),
                     NewKey("//VariantValuesItem[@PKID='34']"), NewKey("//VariantValuesItem[@PKID='12']"),
                     NewKey("//VariantValuesItem[@PKID='13']"), NewKey("//VariantsSimpleItem[@PKID='70']"),
                     NewKey("//VariantsSimpleItem[@PKID='71']"), NewKey("//VariantsComplexItem[@PKID='80']"),
                     NewKey("//VariantsComplexItem[@PKID='81']")}),
            c.new_keys);
  // Progress for every item, whatever became of it; no status text between the group's and the next one.
  EXPECT_THAT(VariantProgress(), ElementsAre("0/0 Importiere Varianten", "2/1 ", "2/2 ", "3/1 ", "3/2 ", "3/3 ", "2/1 ",
                                             "2/2 ", "2/1 ", "2/2 ", "0/0 Importiere Attribute"));
}

// In an empty shop modes 0 and 1 create everything. Farbe is type 1 and Größe 2; rot is value 1, S 2, M 3. The
// VarString [1]12[2]34 (S, rot) becomes [1]1[2]2: rot of type 1 before S of type 2.
ChainCase EmptyShopCreating(int mode) {
  return {"EmptyShopMode" + std::to_string(mode),
          mode,
          false,
          {{"1", "Farbe", "1"}, {"2", "Größe", "2"}},
          {{"1", "rot", "1", "1"}, {"2", "S", "2", "1"}, {"3", "M", "2", "2"}},
          {{"1", "1", "1", "1", "1"}, {"2", "1", "2", "2", "0.5"}},
          {{"1", "[1]1[2]2", "T-1-S-rot", "1", "40", "30", "31", "9.5", "0.2", "7"},
           {"2", "[1]1[2]3", "T-1-M-rot", "1", "0", "0", "0", "10", "0.25", "0"}},
          {TypeLookup("Farbe"), TypeLookup("Größe"), ValueLookup("rot", 1), ValueLookup("S", 2), ValueLookup("M", 2),
           SimpleLookup(1, 1, 1), SimpleLookup(1, 2, 2), ValueKeys("2,1"), ComplexLookup("[1]1[2]2"), ValueKeys("3,1"),
           ComplexLookup("[1]1[2]3")},
          {"VariantTypes Name=Farbe", "VariantTypes Name=Größe", "VariantValues Value=rot", "VariantValues Value=S",
           "VariantValues Value=M", "VariantsSimple ProductFKID=1", "VariantsSimple ProductFKID=1",
           "VariantsComplex ProductID=[1]1[2]2", "VariantsComplex ProductID=[1]1[2]3"},
          {"1", "2", "1", "2", "3", "absent", "absent", "1", "2"}};
}

INSTANTIATE_TEST_SUITE_P(
    Variants, VariantsByMode,
    ::testing::Values(
        EmptyShopCreating(0), EmptyShopCreating(1),
        // Nothing is created and no item gets a NewPKID. The values' type items have none, so their type key
        // stays 0; the simple variants keep their product's catalogue key 15; every value key translates to 0,
        // none of the keys 0 is in the shop, and the complex variants are looked up with the empty VarString.
        ChainCase{"EmptyShopMode2",
                  2,
                  false,
                  {},
                  {},
                  {},
                  {},
                  {TypeLookup("Farbe"), TypeLookup("Größe"), ValueLookup("rot", 0), ValueLookup("S", 0),
                   ValueLookup("M", 0), SimpleLookup(15, 0, 0), SimpleLookup(15, 0, 0), ValueKeys("0,0"),
                   ComplexLookup(""), ValueKeys("0,0"), ComplexLookup("")},
                  {},
                  {"absent", "absent", "absent", "absent", "absent", "absent", "absent", "absent", "absent"}},
        // Farbe (5) and rot of Farbe (20) are found and updated, Größe becomes 6 and its S and M 22 and 23 (the
        // S of type 9 is another value). The simple variant of rot is found; the complex variant of S and rot
        // rebuilds to [1]20[2]22 and finds record 60; the one of M and rot is added.
        ChainCase{"PrefilledShopMode0",
                  0,
                  true,
                  {{"5", "Farbe", "1"}, {"6", "Größe", "2"}},
                  {{"20", "rot", "5", "1"}, {"21", "S", "9", "3"}, {"22", "S", "6", "1"}, {"23", "M", "6", "2"}},
                  {{"50", "7", "5", "20", "1"}, {"51", "7", "6", "22", "0.5"}},
                  {{"60", "[1]20[2]22", "T-1-S-rot", "7", "40", "30", "31", "9.5", "0.2", "7"},
                   kComplex61,
                   {"62", "[1]20[2]23", "T-1-M-rot", "7", "0", "0", "0", "10", "0.25", "0"}},
                  {TypeLookup("Farbe"), TypeLookup("Größe"), ValueLookup("rot", 5), ValueLookup("S", 6),
                   ValueLookup("M", 6), SimpleLookup(7, 5, 20), SimpleLookup(7, 6, 22), ValueKeys("22,20"),
                   ComplexLookup("[1]20[2]22"), ValueKeys("23,20"), ComplexLookup("[1]20[2]23")},
                  {"VariantTypes Name=Größe", "VariantValues Value=S", "VariantValues Value=M",
                   "VariantsSimple ProductFKID=7", "VariantsComplex ProductID=[1]20[2]23"},
                  {"5", "6", "20", "22", "23", "absent", "absent", "60", "62"}},
        // T-1, Farbe and every existing variant are left alone and get no NewPKID. rot's type item has none, so
        // rot, the first value, is looked up with type 0 and added as a value of type 0 (22). The simple
        // variants keep T-1's catalogue key 15 and translate Farbe to 0. The complex variants rebuild from the
        // new values: rot (type 0) before S or M (type 6). Their product cannot be translated: the field keeps
        // the 0 of the new record.
        ChainCase{"PrefilledShopMode1",
                  1,
                  true,
                  {{"5", "Farbe", "9"}, {"6", "Größe", "2"}},
                  {{"20", "rot", "5", "9"},
                   {"21", "S", "9", "3"},
                   {"22", "rot", "0", "1"},
                   {"23", "S", "6", "1"},
                   {"24", "M", "6", "2"}},
                  {{"50", "7", "5", "20", "2.5"}, {"51", "15", "0", "22", "1"}, {"52", "15", "6", "23", "0.5"}},
                  {kComplex60,
                   kComplex61,
                   {"62", "[1]22[2]23", "T-1-S-rot", "0", "40", "30", "31", "9.5", "0.2", "7"},
                   {"63", "[1]22[2]24", "T-1-M-rot", "0", "0", "0", "0", "10", "0.25", "0"}},
                  {TypeLookup("Farbe"), TypeLookup("Größe"), ValueLookup("rot", 0), ValueLookup("S", 6),
                   ValueLookup("M", 6), SimpleLookup(15, 0, 22), SimpleLookup(15, 6, 23), ValueKeys("23,22"),
                   ComplexLookup("[1]22[2]23"), ValueKeys("24,22"), ComplexLookup("[1]22[2]24")},
                  {"VariantTypes Name=Größe", "VariantValues Value=rot", "VariantValues Value=S",
                   "VariantValues Value=M", "VariantsSimple ProductFKID=15", "VariantsSimple ProductFKID=15",
                   "VariantsComplex ProductID=[1]22[2]23", "VariantsComplex ProductID=[1]22[2]24"},
                  {"absent", "6", "22", "23", "24", "absent", "absent", "62", "63"}},
        // Only existing records are updated. Größe is not created, so S and M keep rot's type key 5 and are not
        // found (21 is an S of type 9). S and M translate to 0 and drop out of the VarStrings: both complex
        // variants rebuild to [1]20 and update record 61, the second winning.
        ChainCase{"PrefilledShopMode2",
                  2,
                  true,
                  {{"5", "Farbe", "1"}},
                  {{"20", "rot", "5", "1"}, {"21", "S", "9", "3"}},
                  {{"50", "7", "5", "20", "1"}},
                  {kComplex60, {"61", "[1]20", "T-1-M-rot", "7", "0", "0", "0", "10", "0.25", "0"}},
                  {TypeLookup("Farbe"), TypeLookup("Größe"), ValueLookup("rot", 5), ValueLookup("S", 5),
                   ValueLookup("M", 5), SimpleLookup(7, 5, 20), SimpleLookup(7, 0, 0), ValueKeys("0,20"),
                   ComplexLookup("[1]20"), ValueKeys("0,20"), ComplexLookup("[1]20")},
                  {},
                  {"5", "absent", "20", "absent", "absent", "absent", "absent", "61", "61"}}),
    [](const ::testing::TestParamInfo<ChainCase>& info) { return info.param.name; });

TEST_F(Variants, EmptySectionsShowOnlyTheGroupsStatusTextAndReadNothing) {
  ImportSections("<VariantTypes/><VariantValues/><VariantsSimple/><VariantsComplex/>");
  EXPECT_THAT(VariantProgress(), ElementsAre("0/0 Importiere Varianten", "0/0 Importiere Attribute"));
  EXPECT_EQ(VariantQueries(), Strings{});
  // The group comes after the payment and shipping group.
  const Strings status = host.state->StatusTexts();
  auto at = [&](const std::string& text) { return std::find(status.begin(), status.end(), text) - status.begin(); };
  EXPECT_LT(at("Importiere Zahl- und Versandarten"), at("Importiere Varianten"));
}

// ===== Variant types =======================================================================================

const char* kOneNameTwice = R"(<VariantTypes><VariantTypesItem PKID="5" Name="Größe" SortOrder="1"/>)"
                            R"(<VariantTypesItem PKID="6" Name="Größe" SortOrder="2"/></VariantTypes>)";

TEST_F(Variants, TwoTypesOfTheSameNameInMode0ShareOneRecordTheSecondWinning) {
  ImportSections(kOneNameTwice, 0);
  EXPECT_EQ(Types(), (Rows{{"1", "Größe", "2"}}));
  EXPECT_EQ(NewKey("//VariantTypesItem[@PKID='5']"), "1");
  EXPECT_EQ(NewKey("//VariantTypesItem[@PKID='6']"), "1");
}

TEST_F(Variants, TwoTypesOfTheSameNameInMode1TheSecondLeavesTheRecordAlone) {
  ImportSections(kOneNameTwice, 1);
  EXPECT_EQ(Types(), (Rows{{"1", "Größe", "1"}}));
  EXPECT_EQ(NewKey("//VariantTypesItem[@PKID='5']"), "1");
  EXPECT_EQ(NewKey("//VariantTypesItem[@PKID='6']"), "absent");
}

TEST_F(Variants, KeysWithASingleQuoteAreFoundThroughSqlQuoteAndStoredAsTheyAre) {
  Exec("INSERT INTO VariantTypes (PKID, Name) VALUES (4, 'Ärmel''länge')");
  ImportSections(R"(<VariantTypes><VariantTypesItem PKID="5" Name="Ärmel'länge" SortOrder="3"/></VariantTypes>)"
                 R"(<VariantValues><VariantValuesItem PKID="12" Value="7'" VariantFKID="5"/></VariantValues>)");
  EXPECT_THAT(VariantQueries(), ElementsAre("SELECT * FROM VariantTypes WHERE Name='Ärmel''länge'",
                                            "SELECT * FROM VariantValues WHERE Value='7''' AND VariantFKID=4"));
  EXPECT_EQ(Types(), (Rows{{"4", "Ärmel'länge", "3"}}));
  EXPECT_EQ(Values(), (Rows{{"1", "7'", "4", "0"}}));
  EXPECT_THAT(VariantInserts(), ElementsAre("VariantValues Value=7'"));
}

// ===== Variant values ======================================================================================

TEST_F(Variants, AValueOfType5WhoseTypeItemHasNewKey9IsLookedUpAndStoredWithType9) {
  Exec("INSERT INTO VariantTypes (PKID, Name) VALUES (9, 'Größe')");
  ImportSections(
      R"(<VariantTypes><VariantTypesItem PKID="5" Name="Größe"/></VariantTypes>)"
      R"(<VariantValues><VariantValuesItem PKID="12" Value="x" VariantFKID="5" SortOrder="4"/></VariantValues>)");
  EXPECT_EQ(NewKey("//VariantTypesItem[@PKID='5']"), "9");
  EXPECT_THAT(VariantQueries(), ElementsAre(TypeLookup("Größe"),
                                            "SELECT * FROM VariantValues WHERE Value='x' AND "
                                            "VariantFKID=9"));
  EXPECT_EQ(Values(), (Rows{{"1", "x", "9", "4"}}));
  EXPECT_EQ(NewKey("//VariantValuesItem[@PKID='12']"), "1");
}

// The type item is selected anywhere in the document with VariantFKID as it stands, compared as text.
TEST_F(Variants, AValueFindsItsTypeItemAnywhereByTheKeyAsItStands) {
  ImportSections(R"(<VariantTypes><VariantTypesItem PKID="05" Name="Größe"/></VariantTypes>)"
                 // Not a section of the run: its type item is only ever found by the document-wide lookup.
                 R"(<Spare><VariantTypesItem PKID="8" NewPKID="44"/></Spare>)"
                 R"(<VariantValues>)"
                 R"(<VariantValuesItem PKID="11" Value="a" VariantFKID="05"/>)"
                 R"(<VariantValuesItem PKID="12" Value="b" VariantFKID="8"/>)"
                 R"(<VariantValuesItem PKID="13" Value="c" VariantFKID="5"/>)"
                 R"(</VariantValues>)");
  // "5" does not find the item "05": c keeps b's type key.
  EXPECT_THAT(VariantQueries(),
              ElementsAre(TypeLookup("Größe"), ValueLookup("a", 1), ValueLookup("b", 44), ValueLookup("c", 44)));
  EXPECT_EQ(Values(), (Rows{{"1", "a", "1", "0"}, {"2", "b", "44", "0"}, {"3", "c", "44", "0"}}));
}

TEST_F(Variants, AValueWhoseTypeCannotBeReadKeepsThePreviousValuesTypeKey) {
  ImportSections(R"(<VariantTypes><VariantTypesItem PKID="5" Name="Größe"/></VariantTypes>)"
                 R"(<VariantValues>)"
                 R"(<VariantValuesItem PKID="11" Value="a" VariantFKID="99"/>)"
                 R"(<VariantValuesItem PKID="12" Value="b" VariantFKID="5"/>)"
                 R"(<VariantValuesItem PKID="13" Value="c" VariantFKID="99"/>)"
                 R"(<VariantValuesItem PKID="14" Value="d"/>)"
                 R"(</VariantValues>)");
  // The first has nothing before it: 0.
  EXPECT_THAT(VariantQueries(), ElementsAre(TypeLookup("Größe"), ValueLookup("a", 0), ValueLookup("b", 1),
                                            ValueLookup("c", 1), ValueLookup("d", 1)));
  EXPECT_EQ(Values(), (Rows{{"1", "a", "0", "0"}, {"2", "b", "1", "0"}, {"3", "c", "1", "0"}, {"4", "d", "1", "0"}}));
  EXPECT_EQ(NewKey("//VariantValuesItem[@PKID='13']"), "3");
}

// ===== Simple variants =====================================================================================

const char* kSizes =
    R"(<VariantTypes><VariantTypesItem PKID="5" Name="Größe"/><VariantTypesItem PKID="6" Name="Farbe"/></VariantTypes>)"
    R"(<VariantValues><VariantValuesItem PKID="12" Value="S" VariantFKID="5"/>)"
    R"(<VariantValuesItem PKID="13" Value="M" VariantFKID="5"/><VariantValuesItem PKID="14" Value="L" VariantFKID="5"/>)"
    R"(<VariantValuesItem PKID="34" Value="rot" VariantFKID="6"/></VariantValues>)";
// In an empty shop: Größe 1, Farbe 2; S 1, M 2, L 3, rot 4.

// The product key is read from the item and translated in place: where the translation fails it is the
// item's own catalogue key, never the previous variant's product.
TEST_F(Variants, ASimpleVariantWhoseProductHasNoNewKeyKeepsItsOwnCatalogueKey) {
  ImportSections(std::string(R"(<Products><ProductsItem PKID="15" ProductID="T-1"/></Products>)") +
                 // Found by the product lookup, which searches the whole document, but without a NewPKID.
                 R"(<Spare><ProductsItem PKID="16" ProductID="T-2"/></Spare>)" + kSizes +
                 R"(<VariantsSimple>)"
                 R"(<VariantsSimpleItem PKID="70" ProductFKID="15" VariantTypeFKID="5" VariantValueFKID="12"/>)"
                 R"(<VariantsSimpleItem PKID="71" ProductFKID="16" VariantTypeFKID="5" VariantValueFKID="12"/>)"
                 R"(<VariantsSimpleItem PKID="72" ProductFKID="99" VariantTypeFKID="5" VariantValueFKID="12"/>)"
                 R"(</VariantsSimple>)");
  EXPECT_THAT(Last(3, VariantQueries()),
              ElementsAre(SimpleLookup(1, 1, 1), SimpleLookup(16, 1, 1), SimpleLookup(99, 1, 1)));
  EXPECT_EQ(Simple(), (Rows{{"1", "1", "1", "1", "0"}, {"2", "16", "1", "1", "0"}, {"3", "99", "1", "1", "0"}}));
  EXPECT_THAT(Last(3, VariantInserts()), ElementsAre("VariantsSimple ProductFKID=1", "VariantsSimple ProductFKID=16",
                                                     "VariantsSimple ProductFKID=99"));
}

// The product is selected anywhere in the document by the key read as a number and written in decimal; the
// type and value are translated through their own sections, comparing the keys as numbers.
TEST_F(Variants, ASimpleVariantFindsItsProductAnywhereAndItsTypeAndValueInTheirSections) {
  ImportSections(R"(<Products><ProductsItem PKID="015" ProductID="T-1"/></Products>)"
                 // Not sections of the run: the product is found here, the type is not.
                 R"(<Spare><ProductsItem PKID="16" NewPKID="77"/><VariantTypesItem PKID="8" NewPKID="44"/></Spare>)"
                 R"(<VariantTypes><VariantTypesItem PKID="05" Name="Größe"/></VariantTypes>)"
                 R"(<VariantValues><VariantValuesItem PKID="12" Value="S" VariantFKID="05"/></VariantValues>)"
                 R"(<VariantsSimple>)"
                 R"(<VariantsSimpleItem PKID="70" ProductFKID="016" VariantTypeFKID="5" VariantValueFKID="012"/>)"
                 R"(<VariantsSimpleItem PKID="71" ProductFKID="15" VariantTypeFKID="5" VariantValueFKID="12"/>)"
                 R"(<VariantsSimpleItem PKID="72" ProductFKID="16" VariantTypeFKID="8" VariantValueFKID="0"/>)"
                 R"(</VariantsSimple>)");
  // 71: "15" does not find the product "015" and stays 15. 72: type 8 is not in its section and keeps 71's.
  EXPECT_THAT(VariantQueries(), ElementsAre(TypeLookup("Größe"), ValueLookup("S", 1), SimpleLookup(77, 1, 1),
                                            SimpleLookup(15, 1, 1), SimpleLookup(77, 1, 0)));
  EXPECT_EQ(Simple(), (Rows{{"1", "77", "1", "1", "0"}, {"2", "15", "1", "1", "0"}, {"3", "77", "1", "0", "0"}}));
}

// Type and value keys are each computed in a statement of their own: a missing item leaves the previous
// variant's key (0 for the first).
TEST_F(Variants, ASimpleVariantWhoseTypeOrValueItemIsMissingKeepsThePreviousVariantsKey) {
  ImportSections(std::string(R"(<Products><ProductsItem PKID="15" ProductID="T-1"/></Products>)") + kSizes +
                 R"(<VariantsSimple>)"
                 R"(<VariantsSimpleItem PKID="70" ProductFKID="15" VariantTypeFKID="99" VariantValueFKID="12"/>)"
                 R"(<VariantsSimpleItem PKID="71" ProductFKID="15" VariantTypeFKID="6" VariantValueFKID="34"/>)"
                 R"(<VariantsSimpleItem PKID="72" ProductFKID="15" VariantTypeFKID="99" VariantValueFKID="13"/>)"
                 R"(<VariantsSimpleItem PKID="73" ProductFKID="15" VariantTypeFKID="5" VariantValueFKID="99"/>)"
                 R"(</VariantsSimple>)");
  EXPECT_THAT(Last(4, VariantQueries()),
              ElementsAre(SimpleLookup(1, 0, 1), SimpleLookup(1, 2, 4), SimpleLookup(1, 2, 2), SimpleLookup(1, 1, 2)));
  EXPECT_EQ(
      Simple(),
      (Rows{
          {"1", "1", "0", "1", "0"}, {"2", "1", "2", "4", "0"}, {"3", "1", "2", "2", "0"}, {"4", "1", "1", "2", "0"}}));
}

TEST_F(Variants, ASimpleVariantNeverGetsANewKeyInAnyMode) {
  Exec("INSERT INTO VariantsSimple (PKID, ProductFKID, VariantTypeFKID, VariantValueFKID) VALUES (50, 0, 0, 0)");
  // Mode 1 first, while the record still has its Surcharge 0.
  for (int mode : {1, 0, 2}) {
    ImportSections(
        R"(<VariantsSimple><VariantsSimpleItem PKID="70" ProductFKID="0" VariantTypeFKID="0" VariantValueFKID="0"/>)"
        R"(<VariantsSimpleItem PKID="71" ProductFKID="0" VariantTypeFKID="0" VariantValueFKID="0" Surcharge="2"/>)"
        R"(</VariantsSimple>)",
        mode);
    EXPECT_EQ(NewKey("//VariantsSimpleItem[@PKID='70']"), "absent") << "mode " << mode;
    EXPECT_EQ(NewKey("//VariantsSimpleItem[@PKID='71']"), "absent") << "mode " << mode;
    EXPECT_EQ(Simple(), (Rows{{"50", "0", "0", "0", mode == 1 ? "0" : "2"}})) << "mode " << mode;
  }
}

// The section goes on after a field that the database refuses; the field keeps what it held.
TEST_F(Variants, AVariantFieldTheDatabaseRefusesIsSkippedAndTheSectionGoesOn) {
  ImportSections(
      std::string(kSizes) +
      R"(<VariantsSimple>)"
      R"(<VariantsSimpleItem PKID="70" ProductFKID="0" VariantTypeFKID="5" VariantValueFKID="12" Surcharge="abc"/>)"
      R"(<VariantsSimpleItem PKID="71" ProductFKID="0" VariantTypeFKID="5" VariantValueFKID="13" Surcharge="2"/>)"
      R"(</VariantsSimple><VariantsComplex>)"
      R"(<VariantsComplexItem PKID="80" VarString="[1]12" ProductID="A" Price="teuer" Stock="5"/>)"
      R"(<VariantsComplexItem PKID="81" VarString="[1]13" ProductID="B" Price="3" Stock="6"/>)"
      R"(</VariantsComplex>)");
  EXPECT_EQ(Simple(), (Rows{{"1", "0", "1", "1", "0"}, {"2", "0", "1", "2", "2"}}));
  EXPECT_EQ(Select("SELECT PKID, VarString, ProductID, Price, Stock FROM VariantsComplex ORDER BY PKID"),
            (Rows{{"1", "[1]1", "A", "0", "5"}, {"2", "[1]2", "B", "3", "6"}}));
}

// ===== Complex variants ====================================================================================

// A record is added with the rebuilt VarString in ProductID; the copy that follows puts the item's ProductID
// there and the VarString into its own field. Where the database refuses the item's ProductID, the
// placeholder stays.
TEST_F(Variants, ANewComplexVariantHoldsItsVarStringInProductIdUntilTheItemsProductIdReplacesIt) {
  ImportSections(std::string(kSizes) + "<VariantsComplex>" +
                 R"(<VariantsComplexItem PKID="80" VarString="[1]12" ProductID="T-1-S"/>)" +
                 "<VariantsComplexItem PKID=\"81\" VarString=\"[1]13\" ProductID=\"" + std::string(256, 'x') +
                 "\"/></VariantsComplex>");
  EXPECT_THAT(Last(2, VariantInserts()),
              ElementsAre("VariantsComplex ProductID=[1]1", "VariantsComplex ProductID=[1]2"));
  EXPECT_EQ(Select("SELECT PKID, VarString, ProductID FROM VariantsComplex ORDER BY PKID"),
            (Rows{{"1", "[1]1", "T-1-S"}, {"2", "[1]2", "[1]2"}}));
  EXPECT_EQ(NewKey("//VariantsComplexItem[@PKID='80']"), "1");
  EXPECT_EQ(NewKey("//VariantsComplexItem[@PKID='81']"), "2");
}

// A VarString without any numeric piece gives an empty key list, whose statement the database refuses; the
// variant is then looked up with the VarString that the previous item rebuilt, the empty text for the first.
TEST_F(Variants, AComplexVariantWithoutANumericValueKeyIsLookedUpWithThePreviousVarString) {
  ImportSections(std::string(kSizes) + R"(<VariantsComplex>)"
                                       R"(<VariantsComplexItem PKID="80" VarString="[1]" ProductID="A"/>)"
                                       R"(<VariantsComplexItem PKID="81" VarString="[1]12" ProductID="B"/>)"
                                       R"(<VariantsComplexItem PKID="82" VarString="[a]b" ProductID="C"/>)"
                                       R"(<VariantsComplexItem PKID="83" ProductID="D"/>)"
                                       R"(</VariantsComplex>)");
  EXPECT_THAT(Last(8, VariantQueries()),
              ElementsAre(ValueKeys(""), ComplexLookup(""), ValueKeys("1"), ComplexLookup("[1]1"), ValueKeys(""),
                          ComplexLookup("[1]1"), ValueKeys(""), ComplexLookup("[1]1")));
  EXPECT_EQ(ValueKeys(""), "SELECT PKID FROM VariantValues WHERE PKID IN() ORDER BY VariantFKID");
  // The first is added with the empty VarString; the last two update the second's record.
  EXPECT_EQ(Select("SELECT PKID, VarString, ProductID FROM VariantsComplex ORDER BY PKID"),
            (Rows{{"1", "", "A"}, {"2", "[1]1", "D"}}));
  EXPECT_THAT(Last(2, VariantInserts()), ElementsAre("VariantsComplex ProductID=", "VariantsComplex ProductID=[1]1"));
  EXPECT_EQ((Strings{NewKey("//VariantsComplexItem[@PKID='80']"), NewKey("//VariantsComplexItem[@PKID='81']"),
                     NewKey("//VariantsComplexItem[@PKID='82']"), NewKey("//VariantsComplexItem[@PKID='83']")}),
            (Strings{"1", "2", "2", "2"}));
}

// A value item missing from the catalogue fails before the rebuild's statement is made.
TEST_F(Variants, AComplexVariantNamingAValueMissingFromTheCatalogueIsLookedUpWithThePreviousVarString) {
  ImportSections(std::string(kSizes) + R"(<VariantsComplex>)"
                                       R"(<VariantsComplexItem PKID="80" VarString="[1]12" ProductID="A"/>)"
                                       R"(<VariantsComplexItem PKID="81" VarString="[1]12[2]99" ProductID="B"/>)"
                                       R"(</VariantsComplex>)");
  EXPECT_THAT(Last(3, VariantQueries()), ElementsAre(ValueKeys("1"), ComplexLookup("[1]1"), ComplexLookup("[1]1")));
  EXPECT_EQ(Select("SELECT PKID, VarString, ProductID FROM VariantsComplex ORDER BY PKID"), (Rows{{"1", "[1]1", "B"}}));
  EXPECT_EQ(NewKey("//VariantsComplexItem[@PKID='81']"), "1");
}

// Position numbers do not matter: both items rebuild to the same VarString and so find the same record.
const char* kOneCombinationTwice =
    R"(<VariantsComplex><VariantsComplexItem PKID="80" VarString="[1]12[2]34" ProductID="A" Stock="1"/>)"
    R"(<VariantsComplexItem PKID="81" VarString="[2]34[1]12" ProductID="B" Stock="2"/></VariantsComplex>)";

TEST_F(Variants, TwoComplexVariantsOfTheSameValuesInMode0ShareOneRecordTheSecondWinning) {
  ImportSections(std::string(kSizes) + kOneCombinationTwice, 0);
  EXPECT_THAT(Last(4, VariantQueries()),
              ElementsAre(ValueKeys("1,4"), ComplexLookup("[1]1[2]4"), ValueKeys("4,1"), ComplexLookup("[1]1[2]4")));
  EXPECT_EQ(Select("SELECT PKID, VarString, ProductID, Stock FROM VariantsComplex"),
            (Rows{{"1", "[1]1[2]4", "B", "2"}}));
  EXPECT_EQ(NewKey("//VariantsComplexItem[@PKID='80']"), "1");
  EXPECT_EQ(NewKey("//VariantsComplexItem[@PKID='81']"), "1");
}

TEST_F(Variants, TwoComplexVariantsOfTheSameValuesInMode1TheSecondLeavesTheRecordAlone) {
  ImportSections(std::string(kSizes) + kOneCombinationTwice, 1);
  EXPECT_EQ(Select("SELECT PKID, VarString, ProductID, Stock FROM VariantsComplex"),
            (Rows{{"1", "[1]1[2]4", "A", "1"}}));
  EXPECT_EQ(NewKey("//VariantsComplexItem[@PKID='80']"), "1");
  EXPECT_EQ(NewKey("//VariantsComplexItem[@PKID='81']"), "absent");
}

// The product is selected anywhere in the document by the key read as a number, and its NewPKID written as it
// stands; the delivery time and the two media references are translated through their own sections.
TEST_F(Variants, AComplexVariantFindsItsProductAnywhereAndItsDeliveryTimeAndMediaInTheirSections) {
  ImportSections(std::string(R"(<Products><ProductsItem PKID="15" ProductID="T-1"/></Products>)") +
                 // Not a section of the run: only the document-wide product lookup finds its item.
                 R"(<Spare><ProductsItem PKID="16" NewPKID="77"/></Spare>)"
                 // The delivery-time import writes no NewPKID: "sofort" translates to 0 although its record
                 // exists; the NewPKID of the second stands for one.
                 R"(<DeliveryTimes><DeliveryTimesItem PKID="1" Name="sofort"/>)"
                 R"(<DeliveryTimesItem PKID="2" Name="später" NewPKID="40"/></DeliveryTimes>)"
                 // Media are not imported: the first keeps the NewPKID written here, the second has none.
                 R"(<Media><MediaItem PKID="3" NewPKID="30"/><MediaItem PKID="4"/></Media>)" +
                 kSizes +
                 R"(<VariantsComplex>)"
                 R"(<VariantsComplexItem PKID="80" VarString="[1]12" ProductFKID="016" DeliveryTimeFKID="2" )"
                 R"(ThumbMRef="03" PictureMRef="4"/>)"
                 R"(<VariantsComplexItem PKID="81" VarString="[1]13" ProductFKID="15" DeliveryTimeFKID="1" )"
                 R"(ThumbMRef="0" PictureMRef="3"/>)"
                 R"(</VariantsComplex>)");
  EXPECT_EQ(ComplexKeys(), (Rows{{"1", "[1]1", "77", "40", "30", "0"}, {"2", "[1]2", "1", "0", "0", "30"}}));
}

// A key field whose translation fails is not written: a new record keeps the 0 it was saved with, an existing
// one its value, whatever the variant before it had.
TEST_F(Variants, AComplexVariantKeyThatCannotBeTranslatedLeavesItsFieldAsItWas) {
  Exec(
      "INSERT INTO VariantsComplex (PKID, VarString, ProductID, ProductFKID, DeliveryTimeFKID, ThumbMRef, "
      "PictureMRef) VALUES (60, '[1]1', 'alt', 7, 8, 9, 10)");
  ImportSections(std::string(R"(<Products><ProductsItem PKID="15" ProductID="T-1"/></Products>)") +
                 R"(<DeliveryTimes><DeliveryTimesItem PKID="2" Name="später" NewPKID="40"/></DeliveryTimes>)"
                 // Media are not imported: 3 keeps the NewPKID written here, 4 has none. Media item 6 is not in
                 // the Media section, where the translation looks.
                 R"(<Media><MediaItem PKID="3" NewPKID="30"/><MediaItem PKID="4"/></Media>)"
                 R"(<Spare><MediaItem PKID="6" NewPKID="60"/></Spare>)" +
                 kSizes +
                 R"(<VariantsComplex>)"
                 R"(<VariantsComplexItem PKID="80" VarString="[1]13" ProductFKID="15" DeliveryTimeFKID="2" )"
                 R"(ThumbMRef="3" PictureMRef="3"/>)"
                 R"(<VariantsComplexItem PKID="81" VarString="[1]12" ProductFKID="99" DeliveryTimeFKID="5" )"
                 R"(ThumbMRef="6" PictureMRef="4"/>)"
                 R"(<VariantsComplexItem PKID="82" VarString="[1]14" ProductFKID="99" ThumbMRef="6" )"
                 R"(PictureMRef="4"/>)"
                 R"(</VariantsComplex>)");
  // 81 finds record 60: product, delivery time and thumbnail stay; the picture item exists without a NewPKID
  // and gives 0. 82 is added: its product, delivery time (absent) and thumbnail stay 0.
  EXPECT_EQ(ComplexKeys(), (Rows{{"60", "[1]1", "7", "8", "9", "0"},
                                 {"61", "[1]2", "1", "40", "30", "30"},
                                 {"62", "[1]3", "0", "0", "0", "0"}}));
}

// ===== fEditVarstring ======================================================================================

// In the target, value 12 of the catalogue became 101 (type 7) and value 34 became 88 (type 3); 56 became 120
// (type 5). Value 35 has no NewPKID.
class VarStrings : public Variants {
 protected:
  void SetUp() override {
    Variants::SetUp();
    ImportSections("<Unused/>");  // gives the Manager its document and working recordset
    ASSERT_TRUE(manager->catalog_document()->LoadXml(
        R"(<CalvoraCatalog><VariantValues>)"
        R"(<VariantValuesItem PKID="12" Value="S" VariantFKID="2" NewPKID="101"/>)"
        R"(<VariantValuesItem PKID="34" Value="rot" VariantFKID="1" NewPKID="88"/>)"
        R"(<VariantValuesItem PKID="56" Value="Baumwolle" VariantFKID="4" NewPKID="120"/>)"
        R"(<VariantValuesItem PKID="35" Value="blau" VariantFKID="1"/>)"
        R"(</VariantValues></CalvoraCatalog>)"));
    connection->queries.clear();
  }
  void AddTargetValues(bool with_88 = true) {
    Exec("INSERT INTO VariantValues (PKID, Value, VariantFKID) VALUES (101, 'S', 7), (120, 'Baumwolle', 5)");
    if (with_88) Exec("INSERT INTO VariantValues (PKID, Value, VariantFKID) VALUES (88, 'rot', 3)");
  }
};

TEST_F(VarStrings, OneGroup) {
  AddTargetValues();
  EXPECT_EQ(manager->fEditVarstring("[1]12"), "[1]101");
  EXPECT_THAT(connection->queries, ElementsAre(ValueKeys("101")));
}

TEST_F(VarStrings, TwoGroupsComeInTheOrderOfTheTargetsTypes) {
  AddTargetValues();
  EXPECT_EQ(manager->fEditVarstring("[1]12[2]34"), "[1]88[2]101");
  EXPECT_THAT(connection->queries, ElementsAre(ValueKeys("101,88")));
}

TEST_F(VarStrings, ThePositionNumbersOfTheTextDoNotMatter) {
  AddTargetValues();
  EXPECT_EQ(manager->fEditVarstring("[2]34[1]12"), "[1]88[2]101");
  EXPECT_THAT(connection->queries, ElementsAre(ValueKeys("88,101")));
}

TEST_F(VarStrings, ThreeGroups) {
  AddTargetValues();
  EXPECT_EQ(manager->fEditVarstring("[1]12[2]34[3]56"), "[1]88[2]120[3]101");
  EXPECT_THAT(connection->queries, ElementsAre(ValueKeys("101,88,120")));
}

TEST_F(VarStrings, AValueMissingFromTheTargetTableDropsOutAndThePositionsCloseUp) {
  AddTargetValues(false);
  EXPECT_EQ(manager->fEditVarstring("[1]12[2]34"), "[1]101");
  EXPECT_EQ(manager->fEditVarstring("[1]34[2]56[3]12"), "[1]120[2]101");
}

TEST_F(VarStrings, AValueItemWithoutNewKeyTranslatesTo0AndDropsOut) {
  AddTargetValues();
  EXPECT_EQ(manager->fEditVarstring("[1]12[2]35"), "[1]101");
  EXPECT_THAT(connection->queries, ElementsAre(ValueKeys("101,0")));
}

TEST_F(VarStrings, AValueGivenTwiceIsListedOnce) {
  AddTargetValues();
  EXPECT_EQ(manager->fEditVarstring("[1]12[2]12"), "[1]101");
  EXPECT_THAT(connection->queries, ElementsAre(ValueKeys("101,101")));
}

TEST_F(VarStrings, APieceThatIsNoNumberIsPassedOver) {
  AddTargetValues();
  EXPECT_EQ(manager->fEditVarstring("[1]ab[2]34"), "[1]88");
  EXPECT_THAT(connection->queries, ElementsAre(ValueKeys("88")));
}

TEST_F(VarStrings, AValueItemMissingFromTheCatalogueRaisesBeforeAnyStatement) {
  AddTargetValues();
  EXPECT_EQ(cvimp::testing::RaisedCode([&] { manager->fEditVarstring("[1]12[2]99"); }), ErrorCode::kObjectRequired);
  EXPECT_EQ(connection->queries, Strings{});
}

TEST_F(VarStrings, AnEmptyKeyListRaisesTheStatementTheDatabaseRefuses) {
  AddTargetValues();
  for (const char* text : {"", "[1]", "[1]x[2]y", "]"}) {
    connection->queries.clear();
    EXPECT_EQ(cvimp::testing::RaisedCode([&] { manager->fEditVarstring(text); }), ErrorCode::kDatabase) << text;
    EXPECT_THAT(connection->queries, ElementsAre("SELECT PKID FROM VariantValues WHERE PKID IN() ORDER BY VariantFKID"))
        << text;
  }
}

// The rebuild reads through a record set of its own, made for the call: the working record set stays as it was,
// open on its record with a pending change, or closed; and a call after one that raised works as before.
TEST_F(VarStrings, ItsOwnRecordsetLeavesTheWorkingRecordsetAsItWas) {
  AddTargetValues();
  recordset::Recordset& working = *manager->working_recordset();
  ASSERT_FALSE(working.IsOpen());
  working.Open("SELECT * FROM VariantValues WHERE PKID=88", connection);
  working.SetValue("Value", Value("dunkelrot"));
  EXPECT_EQ(manager->fEditVarstring("[1]12[2]34"), "[1]88[2]101");
  ASSERT_TRUE(working.IsOpen());
  EXPECT_EQ(TextForm(working.GetValue("PKID")), "88");
  working.Update();
  working.Close();
  EXPECT_EQ(Select("SELECT Value FROM VariantValues WHERE PKID=88"), (Rows{{"dunkelrot"}}));

  EXPECT_EQ(manager->fEditVarstring("[1]34"), "[1]88");
  EXPECT_FALSE(working.IsOpen());
  EXPECT_EQ(cvimp::testing::RaisedCode([&] { manager->fEditVarstring(""); }), ErrorCode::kDatabase);
  EXPECT_FALSE(working.IsOpen());
  EXPECT_EQ(manager->fEditVarstring("[1]56[2]12"), "[1]120[2]101");
}

}  // namespace
}  // namespace cvimp::plugin::testing
