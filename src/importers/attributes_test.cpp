// The seven attribute importers (classes, groups, attributes, attributes of a class, choice values, attributes of
// a product, choice values of a product), run the way the host runs them: a catalogue file chosen on the
// settings page, an update mode, ExecuteImport, and a real shop database, empty or already holding records of the
// same natural keys. The products that the links point at come from the product importer earlier in the run.
//
// None of the seven handles an error: the first failure ends the importer and the run goes on with the next one.
// Their foreign keys are translated by selecting "CalvoraCatalog/<Section>/<Section>Item[@PKID=n]" (n unquoted, so
// compared as a number) and reading its NewPKID (0 where it has none); an item missing from its section ends the
// importer. The field copy skips only PKID, so the link records end up holding the catalogue's own keys.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "plugin/testing/import_fixture.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using Strings = std::vector<std::string>;

bool OnAttributeTable(const std::string& text, std::string_view prefix) {
  return text.rfind(std::string(prefix) + "Attribute", 0) == 0;
}

class AttributeImport : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    log = connection;  // it records the records written too
  }

  // The NewPKID of the item of `section` whose PKID attribute is exactly `pkid`.
  std::string NewKeyOf(const std::string& section, const std::string& pkid) {
    return NewKey("CalvoraCatalog/" + section + "/" + section + "Item[@PKID='" + pkid + "']");
  }

  // The statements on the seven attribute tables, in order.
  Strings AttributeQueries() const {
    Strings out;
    for (const auto& q : connection->queries)
      if (OnAttributeTable(q, "SELECT * FROM ")) out.push_back(q);
    return out;
  }
  // The statements on one table.
  Strings QueriesOn(const std::string& table) const {
    Strings out;
    const std::string prefix = "SELECT * FROM " + table + " WHERE ";
    for (const auto& q : connection->queries)
      if (q.rfind(prefix, 0) == 0) out.push_back(q);
    return out;
  }
  // Every statement of the run from the first one on an attribute table to the last one of the run.
  Strings QueriesFromTheFirstAttributeStatement() const {
    const auto& q = connection->queries;
    auto first =
        std::find_if(q.begin(), q.end(), [](const std::string& s) { return OnAttributeTable(s, "SELECT * FROM "); });
    return Strings(first, q.end());
  }
  // The records added to the attribute tables, in order.
  Strings AttributeInserts() const {
    Strings out;
    for (const auto& i : log->inserts)
      if (OnAttributeTable(i, "")) out.push_back(i);
    return out;
  }

  // Every progress call as "maximum/position text" from the status "Importiere Attribute" up to and including
  // the next text shown with the maximum 0 (the start text of the bundles, which follow the attributes).
  Strings AttributeProgress() const {
    const auto& p = host.state->progress;
    auto first =
        std::find_if(p.begin(), p.end(), [](const ProgressCall& c) { return c.text == "Importiere Attribute"; });
    auto last = first == p.end()
                    ? p.end()
                    : std::find_if(first + 1, p.end(), [](const ProgressCall& c) { return c.maximum == 0; });
    if (last != p.end()) ++last;
    Strings out;
    for (auto it = first; it != last; ++it)
      out.push_back(std::to_string(it->maximum) + "/" + std::to_string(it->position) + " " + it->text);
    return out;
  }

  // Every field of each table.
  Rows Classes() { return Select("SELECT PKID, Name, Description FROM AttributeClasses ORDER BY PKID"); }
  Rows Groups() { return Select("SELECT PKID, Name, SortOrder FROM AttributeGroups ORDER BY PKID"); }
  Rows Attributes() {
    return Select("SELECT PKID, Name, GroupFKID, DefaultSurcharge, Unit, SortOrder FROM Attributes ORDER BY PKID");
  }
  Rows ClassLinks() {
    return Select("SELECT PKID, AttributeFKID, ClassFKID, SortOrder FROM Attributes2Class ORDER BY PKID");
  }
  Rows Choices() {
    return Select("SELECT PKID, AttributeFKID, Value, SortOrder FROM AttributeMultiValues ORDER BY PKID");
  }
  Rows ProductLinks() {
    return Select("SELECT PKID, AttributeFKID, ClassFKID, ProductFKID, Value FROM Attributes2Product ORDER BY PKID");
  }
  Rows ChoiceLinks() {
    return Select(
        "SELECT PKID, AttributeMultiValuesFKID, Attributes2ProductFKID FROM AttributeMultiValues2Product ORDER BY "
        "PKID");
  }

  std::shared_ptr<RecordingConnection> log;
};

std::string ClassLookup(const std::string& name) { return "SELECT * FROM AttributeClasses WHERE Name='" + name + "'"; }
std::string GroupLookup(const std::string& name) { return "SELECT * FROM AttributeGroups WHERE Name='" + name + "'"; }
std::string AttributeLookup(const std::string& name) { return "SELECT * FROM Attributes WHERE Name='" + name + "'"; }
std::string ClassLinkLookup(int attribute, int cls) {
  return "SELECT * FROM Attributes2Class WHERE AttributeFKID=" + std::to_string(attribute) +
         " AND ClassFKID=" + std::to_string(cls);
}
// No blank between the attribute key and AND.
std::string ChoiceLookup(int attribute, const std::string& value) {
  return "SELECT * FROM AttributeMultiValues WHERE AttributeFKID=" + std::to_string(attribute) + "AND Value='" + value +
         "'";
}
std::string ProductLinkLookup(int attribute, int cls, int product) {
  return "SELECT * FROM Attributes2Product WHERE AttributeFKID=" + std::to_string(attribute) +
         " AND ClassFKID=" + std::to_string(cls) + " AND ProductFKID=" + std::to_string(product);
}
std::string ChoiceLinkLookup(int choice, int product_attribute) {
  return "SELECT * FROM AttributeMultiValues2Product WHERE AttributeMultiValuesFKID=" + std::to_string(choice) +
         " AND Attributes2ProductFKID=" + std::to_string(product_attribute);
}

// The attribute status, then per importer one call per item, then the start text of the bundles that follow.
Strings ProgressOf(const std::vector<std::pair<int, int>>& counts_and_last_positions) {
  Strings out{"0/0 Importiere Attribute"};
  for (const auto& [count, last] : counts_and_last_positions)
    for (int i = 1; i <= last; ++i) out.push_back(std::to_string(count) + "/" + std::to_string(i) + " ");
  out.push_back("0/0 Importiere Bundles");
  return out;
}

// ===== The seven importers in one run, by update mode =======================================================

// Product P-1 with the attributes Farbe (group Optik, classes Textil) and Größe (group Maße, class Schuhe). The
// catalogue's keys differ from every key that the shop gives, so the rows show which of the two a field holds.
const char* kChain =
    R"(<Products><ProductsItem PKID="15" ProductID="P-1" Name="Hemd"/></Products>)"
    R"(<AttributeClasses>)"
    R"(<AttributeClassesItem PKID="3" Name="Textil" Description="Stoffe"/>)"
    R"(<AttributeClassesItem PKID="4" Name="Schuhe" Description="Leder"/>)"
    R"(</AttributeClasses>)"
    R"(<AttributeGroups>)"
    R"(<AttributeGroupsItem PKID="7" Name="Optik" SortOrder="2"/>)"
    R"(<AttributeGroupsItem PKID="8" Name="Maße" SortOrder="1"/>)"
    R"(</AttributeGroups>)"
    R"(<Attributes>)"
    R"(<AttributesItem PKID="22" Name="Farbe" GroupFKID="7" DefaultSurcharge="2.5" SortOrder="1"/>)"
    R"(<AttributesItem PKID="23" Name="Größe" GroupFKID="8" DefaultSurcharge="1" Unit="cm" SortOrder="2"/>)"
    R"(</Attributes>)"
    R"(<Attributes2Class>)"
    R"(<Attributes2ClassItem PKID="20" AttributeFKID="22" ClassFKID="3" SortOrder="1"/>)"
    R"(<Attributes2ClassItem PKID="21" AttributeFKID="23" ClassFKID="4" SortOrder="2"/>)"
    R"(</Attributes2Class>)"
    R"(<AttributeMultiValues>)"
    R"(<AttributeMultiValuesItem PKID="30" AttributeFKID="22" Value="Rot" SortOrder="1"/>)"
    R"(<AttributeMultiValuesItem PKID="31" AttributeFKID="22" Value="Blau" SortOrder="2"/>)"
    R"(</AttributeMultiValues>)"
    R"(<Attributes2Product>)"
    R"(<Attributes2ProductItem PKID="40" AttributeFKID="22" ClassFKID="3" ProductFKID="15" Value="Rot"/>)"
    R"(<Attributes2ProductItem PKID="41" AttributeFKID="23" ClassFKID="3" ProductFKID="15" Value="42"/>)"
    R"(</Attributes2Product>)"
    R"(<AttributeMultiValues2Product>)"
    R"(<AttributeMultiValues2ProductItem PKID="50" AttributeMultiValuesFKID="30" Attributes2ProductFKID="40"/>)"
    R"(<AttributeMultiValues2ProductItem PKID="51" AttributeMultiValuesFKID="31" Attributes2ProductFKID="40"/>)"
    R"(</AttributeMultiValues2Product>)";

// P-1 is product 7, Textil class 5, Optik group 4, Farbe attribute 12 (with a default surcharge). Farbe belongs
// to Textil (60), has the choice Rot (70), and P-1 has Farbe of Textil (80) with the choice Rot (90): every link
// that the first item of each link section makes once its keys are translated in mode 0.
const char* kPrefill =
    "INSERT INTO Products (PKID, ProductID, Name) VALUES (7, 'P-1', 'alt');"
    "INSERT INTO AttributeClasses (PKID, Name, Description) VALUES (5, 'Textil', 'alt');"
    "INSERT INTO AttributeGroups (PKID, Name, SortOrder) VALUES (4, 'Optik', 9);"
    "INSERT INTO Attributes (PKID, Name, GroupFKID, DefaultSurcharge, Unit, SortOrder) "
    "VALUES (12, 'Farbe', 4, 2.5, 'alt', 9);"
    "INSERT INTO Attributes2Class (PKID, AttributeFKID, ClassFKID, SortOrder) VALUES (60, 12, 5, 9);"
    "INSERT INTO AttributeMultiValues (PKID, AttributeFKID, Value, SortOrder) VALUES (70, 12, 'Rot', 9);"
    "INSERT INTO Attributes2Product (PKID, AttributeFKID, ClassFKID, ProductFKID, Value) "
    "VALUES (80, 12, 5, 7, 'alt');"
    "INSERT INTO AttributeMultiValues2Product (PKID, AttributeMultiValuesFKID, Attributes2ProductFKID) "
    "VALUES (90, 70, 80)";

struct ChainCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows classes;
  Rows groups;
  Rows attributes;
  Rows class_links;
  Rows choices;
  Rows product_links;
  Rows choice_links;
  Strings queries;
  Strings inserts;
  // classes 3, 4; groups 7, 8; attributes 22, 23; class links 20, 21; choices 30, 31; product links 40, 41;
  // choice links 50, 51
  Strings new_keys;
};

class AttributesByMode : public AttributeImport, public ::testing::WithParamInterface<ChainCase> {};

TEST_P(AttributesByMode, WriteTheRowsStatementsAndNewKeysThatTheModeAllows) {
  const ChainCase& c = GetParam();
  if (c.prefilled) Exec(kPrefill);
  ImportSections(kChain, c.mode);
  EXPECT_EQ(Classes(), c.classes);
  EXPECT_EQ(Groups(), c.groups);
  EXPECT_EQ(Attributes(), c.attributes);
  EXPECT_EQ(ClassLinks(), c.class_links);
  EXPECT_EQ(Choices(), c.choices);
  EXPECT_EQ(ProductLinks(), c.product_links);
  EXPECT_EQ(ChoiceLinks(), c.choice_links);
  // Nothing but the lookups, one per item, up to the end of the run.
  EXPECT_THAT(QueriesFromTheFirstAttributeStatement(), ElementsAreArray(c.queries));
  EXPECT_THAT(AttributeInserts(), ElementsAreArray(c.inserts));
  EXPECT_EQ(
      (Strings{NewKeyOf("AttributeClasses", "3"), NewKeyOf("AttributeClasses", "4"), NewKeyOf("AttributeGroups", "7"),
               NewKeyOf("AttributeGroups", "8"), NewKeyOf("Attributes", "22"), NewKeyOf("Attributes", "23"),
               NewKeyOf("Attributes2Class", "20"), NewKeyOf("Attributes2Class", "21"),
               NewKeyOf("AttributeMultiValues", "30"), NewKeyOf("AttributeMultiValues", "31"),
               NewKeyOf("Attributes2Product", "40"), NewKeyOf("Attributes2Product", "41"),
               NewKeyOf("AttributeMultiValues2Product", "50"), NewKeyOf("AttributeMultiValues2Product", "51")}),
      c.new_keys);
  // Progress for every item whatever became of it, and no status text of their own.
  EXPECT_THAT(AttributeProgress(),
              ElementsAreArray(ProgressOf({{2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}, {2, 2}})));
}

// Everything is created, in file order. The links are created with the translated keys and then hold the
// catalogue's, so each lookup after the first of a section misses the records made before it.
ChainCase EmptyShopCreating(int mode) {
  return {"EmptyShopMode" + std::to_string(mode),
          mode,
          false,
          {{"1", "Textil", "Stoffe"}, {"2", "Schuhe", "Leder"}},
          {{"1", "Optik", "2"}, {"2", "Maße", "1"}},
          {{"1", "Farbe", "1", "0", "", "1"}, {"2", "Größe", "2", "0", "cm", "2"}},
          {{"1", "22", "3", "1"}, {"2", "23", "4", "2"}},
          {{"1", "22", "Rot", "1"}, {"2", "22", "Blau", "2"}},
          {{"1", "22", "3", "15", "Rot"}, {"2", "23", "3", "15", "42"}},
          {{"1", "30", "40"}, {"2", "31", "40"}},
          {ClassLookup("Textil"), ClassLookup("Schuhe"), GroupLookup("Optik"), GroupLookup("Maße"),
           AttributeLookup("Farbe"), AttributeLookup("Größe"), ClassLinkLookup(1, 1), ClassLinkLookup(2, 2),
           ChoiceLookup(1, "Rot"), ChoiceLookup(1, "Blau"), ProductLinkLookup(1, 1, 1), ProductLinkLookup(2, 1, 1),
           ChoiceLinkLookup(1, 1), ChoiceLinkLookup(2, 1)},
          {"AttributeClasses Name=Textil", "AttributeClasses Name=Schuhe", "AttributeGroups Name=Optik",
           "AttributeGroups Name=Maße", "Attributes Name=Farbe", "Attributes Name=Größe",
           "Attributes2Class AttributeFKID=1 ClassFKID=1", "Attributes2Class AttributeFKID=2 ClassFKID=2",
           "AttributeMultiValues AttributeFKID=1 Value=Rot", "AttributeMultiValues AttributeFKID=1 Value=Blau",
           "Attributes2Product AttributeFKID=1 ClassFKID=1 ProductFKID=1",
           "Attributes2Product AttributeFKID=2 ClassFKID=1 ProductFKID=1",
           "AttributeMultiValues2Product AttributeMultiValuesFKID=1 Attributes2ProductFKID=1",
           "AttributeMultiValues2Product AttributeMultiValuesFKID=2 Attributes2ProductFKID=1"},
          {"1", "2", "1", "2", "1", "2", "absent", "absent", "1", "2", "1", "2", "absent", "absent"}};
}

INSTANTIATE_TEST_SUITE_P(
    AttributeImport, AttributesByMode,
    ::testing::Values(
        EmptyShopCreating(0), EmptyShopCreating(1),
        // Nothing is created. Classes and attributes keep their catalogue keys as NewPKID; groups, choices and
        // product links get none, so their references translate to 0, as does the product (not created either).
        ChainCase{"EmptyShopMode2",
                  2,
                  false,
                  {},
                  {},
                  {},
                  {},
                  {},
                  {},
                  {},
                  {ClassLookup("Textil"), ClassLookup("Schuhe"), GroupLookup("Optik"), GroupLookup("Maße"),
                   AttributeLookup("Farbe"), AttributeLookup("Größe"), ClassLinkLookup(22, 3), ClassLinkLookup(23, 4),
                   ChoiceLookup(22, "Rot"), ChoiceLookup(22, "Blau"), ProductLinkLookup(22, 3, 0),
                   ProductLinkLookup(23, 3, 0), ChoiceLinkLookup(0, 0), ChoiceLinkLookup(0, 0)},
                  {},
                  {"3", "4", "absent", "absent", "22", "23", "absent", "absent", "absent", "absent", "absent", "absent",
                   "absent", "absent"}},
        // Textil, Optik, Farbe and the first item of each link section find their records and update them (the
        // links with the catalogue's keys, Farbe with its surcharge set to 0); the second items are added.
        ChainCase{"PrefilledShopMode0",
                  0,
                  true,
                  {{"5", "Textil", "Stoffe"}, {"6", "Schuhe", "Leder"}},
                  {{"4", "Optik", "2"}, {"5", "Maße", "1"}},
                  {{"12", "Farbe", "4", "0", "", "1"}, {"13", "Größe", "5", "0", "cm", "2"}},
                  {{"60", "22", "3", "1"}, {"61", "23", "4", "2"}},
                  {{"70", "22", "Rot", "1"}, {"71", "22", "Blau", "2"}},
                  {{"80", "22", "3", "15", "Rot"}, {"81", "23", "3", "15", "42"}},
                  {{"90", "30", "40"}, {"91", "31", "40"}},
                  {ClassLookup("Textil"), ClassLookup("Schuhe"), GroupLookup("Optik"), GroupLookup("Maße"),
                   AttributeLookup("Farbe"), AttributeLookup("Größe"), ClassLinkLookup(12, 5), ClassLinkLookup(13, 6),
                   ChoiceLookup(12, "Rot"), ChoiceLookup(12, "Blau"), ProductLinkLookup(12, 5, 7),
                   ProductLinkLookup(13, 5, 7), ChoiceLinkLookup(70, 80), ChoiceLinkLookup(71, 80)},
                  {"AttributeClasses Name=Schuhe", "AttributeGroups Name=Maße", "Attributes Name=Größe",
                   "Attributes2Class AttributeFKID=13 ClassFKID=6", "AttributeMultiValues AttributeFKID=12 Value=Blau",
                   "Attributes2Product AttributeFKID=13 ClassFKID=5 ProductFKID=7",
                   "AttributeMultiValues2Product AttributeMultiValuesFKID=71 Attributes2ProductFKID=80"},
                  {"5", "6", "4", "5", "12", "13", "absent", "absent", "70", "71", "80", "81", "absent", "absent"}},
        // The existing records are left alone. Textil and Farbe keep their catalogue keys 3 and 22 as NewPKID,
        // Optik gets none (its attributes would get group 0), and P-1, left alone by the product import, has
        // none: the links are looked up with these keys, miss the existing ones and are all added.
        ChainCase{
            "PrefilledShopMode1",
            1,
            true,
            {{"5", "Textil", "alt"}, {"6", "Schuhe", "Leder"}},
            {{"4", "Optik", "9"}, {"5", "Maße", "1"}},
            {{"12", "Farbe", "4", "2.5", "alt", "9"}, {"13", "Größe", "5", "0", "cm", "2"}},
            {{"60", "12", "5", "9"}, {"61", "22", "3", "1"}, {"62", "23", "4", "2"}},
            {{"70", "12", "Rot", "9"}, {"71", "22", "Rot", "1"}, {"72", "22", "Blau", "2"}},
            {{"80", "12", "5", "7", "alt"}, {"81", "22", "3", "15", "Rot"}, {"82", "23", "3", "15", "42"}},
            {{"90", "70", "80"}, {"91", "30", "40"}, {"92", "31", "40"}},
            {ClassLookup("Textil"), ClassLookup("Schuhe"), GroupLookup("Optik"), GroupLookup("Maße"),
             AttributeLookup("Farbe"), AttributeLookup("Größe"), ClassLinkLookup(22, 3), ClassLinkLookup(13, 6),
             ChoiceLookup(22, "Rot"), ChoiceLookup(22, "Blau"), ProductLinkLookup(22, 3, 0),
             ProductLinkLookup(13, 3, 0), ChoiceLinkLookup(71, 81), ChoiceLinkLookup(72, 81)},
            {"AttributeClasses Name=Schuhe", "AttributeGroups Name=Maße", "Attributes Name=Größe",
             "Attributes2Class AttributeFKID=22 ClassFKID=3", "Attributes2Class AttributeFKID=13 ClassFKID=6",
             "AttributeMultiValues AttributeFKID=22 Value=Rot", "AttributeMultiValues AttributeFKID=22 Value=Blau",
             "Attributes2Product AttributeFKID=22 ClassFKID=3 ProductFKID=0",
             "Attributes2Product AttributeFKID=13 ClassFKID=3 ProductFKID=0",
             "AttributeMultiValues2Product AttributeMultiValuesFKID=71 Attributes2ProductFKID=81",
             "AttributeMultiValues2Product AttributeMultiValuesFKID=72 Attributes2ProductFKID=81"},
            {"3", "6", "absent", "5", "22", "13", "absent", "absent", "71", "72", "81", "82", "absent", "absent"}},
        // The existing records are updated as in mode 0 and nothing is added. Schuhe and Größe keep their
        // catalogue keys; Maße, Blau and the second product link get no NewPKID.
        ChainCase{"PrefilledShopMode2",
                  2,
                  true,
                  {{"5", "Textil", "Stoffe"}},
                  {{"4", "Optik", "2"}},
                  {{"12", "Farbe", "4", "0", "", "1"}},
                  {{"60", "22", "3", "1"}},
                  {{"70", "22", "Rot", "1"}},
                  {{"80", "22", "3", "15", "Rot"}},
                  {{"90", "30", "40"}},
                  {ClassLookup("Textil"), ClassLookup("Schuhe"), GroupLookup("Optik"), GroupLookup("Maße"),
                   AttributeLookup("Farbe"), AttributeLookup("Größe"), ClassLinkLookup(12, 5), ClassLinkLookup(23, 4),
                   ChoiceLookup(12, "Rot"), ChoiceLookup(12, "Blau"), ProductLinkLookup(12, 5, 7),
                   ProductLinkLookup(23, 5, 7), ChoiceLinkLookup(70, 80), ChoiceLinkLookup(0, 80)},
                  {},
                  {"5", "4", "4", "absent", "12", "23", "absent", "absent", "70", "absent", "80", "absent", "absent",
                   "absent"}}),
    [](const ::testing::TestParamInfo<ChainCase>& info) { return info.param.name; });

TEST_F(AttributeImport, WithoutItemsNothingIsShownBetweenTheGroupStatusAndTheBundlesStartText) {
  ImportSections(
      "<AttributeClasses/><AttributeGroups/><Attributes/><Attributes2Class/><AttributeMultiValues/>"
      "<Attributes2Product/><AttributeMultiValues2Product/>");
  EXPECT_THAT(AttributeProgress(), ElementsAre("0/0 Importiere Attribute", "0/0 Importiere Bundles"));
  EXPECT_THAT(AttributeQueries(), IsEmpty());
}

// ===== Classes and groups ==================================================================================

// Textil exists; the item keeps its own PKID as NewPKID, and the links name the class by that catalogue key.
TEST_F(AttributeImport, AnExistingClassIsLeftAloneInMode1AndLinksUseItsCatalogueKey) {
  Exec("INSERT INTO AttributeClasses (PKID, Name, Description) VALUES (5, 'Textil', 'alt')");
  ImportSections(R"(<Products><ProductsItem PKID="15" ProductID="P-1"/></Products>)"
                 R"(<AttributeClasses><AttributeClassesItem PKID="3" Name="Textil" Description="Stoffe"/>)"
                 R"(</AttributeClasses>)"
                 R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="22" Name="Farbe" GroupFKID="7"/></Attributes>)"
                 R"(<Attributes2Class><Attributes2ClassItem PKID="20" AttributeFKID="22" ClassFKID="3"/>)"
                 R"(</Attributes2Class>)"
                 R"(<Attributes2Product><Attributes2ProductItem PKID="40" AttributeFKID="22" ClassFKID="3" )"
                 R"(ProductFKID="15"/></Attributes2Product>)",
                 1);
  EXPECT_EQ(Classes(), (Rows{{"5", "Textil", "alt"}}));
  EXPECT_EQ(NewKeyOf("AttributeClasses", "3"), "3");
  EXPECT_THAT(QueriesOn("Attributes2Class"), ElementsAre(ClassLinkLookup(1, 3)));
  EXPECT_THAT(QueriesOn("Attributes2Product"), ElementsAre(ProductLinkLookup(1, 3, 1)));
  EXPECT_THAT(AttributeInserts(), ElementsAre("AttributeGroups Name=Optik", "Attributes Name=Farbe",
                                              "Attributes2Class AttributeFKID=1 ClassFKID=3",
                                              "Attributes2Product AttributeFKID=1 ClassFKID=3 ProductFKID=1"));
  EXPECT_EQ(ClassLinks(), (Rows{{"1", "22", "3", "0"}}));
}

TEST_F(AttributeImport, AnExistingGroupGetsNoNewKeyInMode1AndItsAttributesAreWrittenWithGroup0) {
  Exec("INSERT INTO AttributeGroups (PKID, Name, SortOrder) VALUES (4, 'Optik', 9)");
  ImportSections(R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik" SortOrder="2"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="22" Name="Farbe" GroupFKID="7" SortOrder="1"/>)"
                 R"(<AttributesItem PKID="23" Name="Größe" GroupFKID="7" SortOrder="2"/></Attributes>)",
                 1);
  EXPECT_EQ(Groups(), (Rows{{"4", "Optik", "9"}}));
  EXPECT_EQ(NewKeyOf("AttributeGroups", "7"), "absent");
  EXPECT_EQ(Attributes(), (Rows{{"1", "Farbe", "0", "0", "", "1"}, {"2", "Größe", "0", "0", "", "2"}}));
}

// A group's NewPKID comes from its record only; its PKID attribute is not used, not even when it is missing.
TEST_F(AttributeImport, AGroupWithoutPkidIsImportedAndNotedLikeAnyOther) {
  ImportSections(R"(<AttributeGroups><AttributeGroupsItem Name="Optik" SortOrder="3"/>)"
                 R"(<AttributeGroupsItem PKID="abc" Name="Maße"/></AttributeGroups>)");
  EXPECT_EQ(Groups(), (Rows{{"1", "Optik", "3"}, {"2", "Maße", "0"}}));
  EXPECT_EQ(NewKey("CalvoraCatalog/AttributeGroups/AttributeGroupsItem[1]"), "1");
  EXPECT_EQ(NewKey("CalvoraCatalog/AttributeGroups/AttributeGroupsItem[2]"), "2");
}

// The preset is NzLong of PKID: a class or attribute item without a readable PKID keeps 0 where nothing is
// written.
TEST_F(AttributeImport, AClassOrAttributeWithoutANumericPkidKeepsTheKey0InMode2) {
  ImportSections(R"(<AttributeClasses><AttributeClassesItem Name="Textil"/>)"
                 R"(<AttributeClassesItem PKID="x" Name="Schuhe"/></AttributeClasses>)"
                 R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="" Name="Farbe" GroupFKID="7"/></Attributes>)",
                 2);
  EXPECT_EQ(NewKey("CalvoraCatalog/AttributeClasses/AttributeClassesItem[1]"), "0");
  EXPECT_EQ(NewKey("CalvoraCatalog/AttributeClasses/AttributeClassesItem[2]"), "0");
  EXPECT_EQ(NewKey("CalvoraCatalog/Attributes/AttributesItem[1]"), "0");
  EXPECT_THAT(AttributeQueries(), ElementsAre(ClassLookup("Textil"), ClassLookup("Schuhe"), GroupLookup("Optik"),
                                              AttributeLookup("Farbe")));
}

// Names pass through SqlQuote for the lookup and are stored as they stand.
TEST_F(AttributeImport, NamesAndValuesWithAQuoteAreFound) {
  Exec("INSERT INTO AttributeClasses (PKID, Name) VALUES (5, 'Kinder''s')");
  Exec("INSERT INTO AttributeGroups (PKID, Name) VALUES (4, 'Men''s')");
  Exec("INSERT INTO Attributes (PKID, Name) VALUES (12, 'Ø''Maß')");
  Exec("INSERT INTO AttributeMultiValues (PKID, AttributeFKID, Value) VALUES (70, 12, 'Bordeaux''rot')");
  ImportSections(R"(<AttributeClasses><AttributeClassesItem PKID="3" Name="Kinder's" Description="d"/>)"
                 R"(</AttributeClasses>)"
                 R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Men's" SortOrder="1"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="22" Name="Ø'Maß" GroupFKID="7"/></Attributes>)"
                 R"(<AttributeMultiValues><AttributeMultiValuesItem PKID="30" AttributeFKID="22" )"
                 R"(Value="Bordeaux'rot" SortOrder="5"/></AttributeMultiValues>)");
  EXPECT_THAT(AttributeQueries(), ElementsAre(ClassLookup("Kinder''s"), GroupLookup("Men''s"),
                                              AttributeLookup("Ø''Maß"), ChoiceLookup(12, "Bordeaux''rot")));
  EXPECT_THAT(AttributeInserts(), IsEmpty());
  EXPECT_EQ(Classes(), (Rows{{"5", "Kinder's", "d"}}));
  EXPECT_EQ(Groups(), (Rows{{"4", "Men's", "1"}}));
  EXPECT_EQ(Attributes(), (Rows{{"12", "Ø'Maß", "4", "0", "", "0"}}));
  EXPECT_EQ(Choices(), (Rows{{"70", "22", "Bordeaux'rot", "5"}}));
}

// ===== Attributes ==========================================================================================

// Farbe exists with a surcharge of 2.5; Größe is new and its item's surcharge is no number at all.
const char* kSurcharges =
    R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/></AttributeGroups>)"
    R"(<Attributes>)"
    R"(<AttributesItem PKID="22" Name="Farbe" GroupFKID="7" DefaultSurcharge="7.5" Unit="m" SortOrder="3"/>)"
    R"(<AttributesItem PKID="23" Name="Größe" GroupFKID="7" DefaultSurcharge="abc" Unit="cm" SortOrder="4"/>)"
    R"(</Attributes>)";

class AttributeSurcharges : public AttributeImport, public ::testing::WithParamInterface<std::pair<int, Rows>> {};

TEST_P(AttributeSurcharges, AWrittenAttributeHasNoDefaultSurchargeWhateverTheItemHolds) {
  Exec(
      "INSERT INTO Attributes (PKID, Name, GroupFKID, DefaultSurcharge, Unit, SortOrder) "
      "VALUES (12, 'Farbe', 0, 2.5, 'alt', 9)");
  ImportSections(kSurcharges, GetParam().first);
  EXPECT_EQ(Attributes(), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(
    AttributeImport, AttributeSurcharges,
    ::testing::Values(
        std::pair<int, Rows>{0, {{"12", "Farbe", "1", "0", "m", "3"}, {"13", "Größe", "1", "0", "cm", "4"}}},
        // Farbe is left alone with its surcharge.
        std::pair<int, Rows>{1, {{"12", "Farbe", "0", "2.5", "alt", "9"}, {"13", "Größe", "1", "0", "cm", "4"}}},
        // Optik is not created: its item has no NewPKID, and Farbe gets group 0.
        std::pair<int, Rows>{2, {{"12", "Farbe", "0", "0", "m", "3"}}}),
    [](const ::testing::TestParamInfo<std::pair<int, Rows>>& info) {
      return "Mode" + std::to_string(info.param.first);
    });

// The group is not part of the lookup. In mode 0 the second item overwrites the record that the first made; in
// mode 1 it leaves it alone and keeps its own PKID as NewPKID; in mode 2 an existing record is updated twice.
const char* kFarbeTwice =
    R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/><AttributeGroupsItem PKID="8" Name="Stoff"/>)"
    R"(</AttributeGroups><Attributes>)"
    R"(<AttributesItem PKID="22" Name="Farbe" GroupFKID="7" Unit="a" SortOrder="1"/>)"
    R"(<AttributesItem PKID="23" Name="Farbe" GroupFKID="8" Unit="b" SortOrder="2"/>)"
    R"(</Attributes>)";

struct SameNameCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows attributes;
  Strings new_keys;  // of 22, 23
};

class SameNameAttributes : public AttributeImport, public ::testing::WithParamInterface<SameNameCase> {};

TEST_P(SameNameAttributes, TwoAttributesOfOneNameInDifferentGroupsAreOneRecord) {
  const SameNameCase& c = GetParam();
  if (c.prefilled)
    Exec("INSERT INTO Attributes (PKID, Name, GroupFKID, Unit, SortOrder) VALUES (12, 'Farbe', 9, 'x', 9)");
  ImportSections(kFarbeTwice, c.mode);
  EXPECT_EQ(Attributes(), c.attributes);
  EXPECT_THAT(QueriesOn("Attributes"), ElementsAre(AttributeLookup("Farbe"), AttributeLookup("Farbe")));
  EXPECT_EQ((Strings{NewKeyOf("Attributes", "22"), NewKeyOf("Attributes", "23")}), c.new_keys);
}

INSTANTIATE_TEST_SUITE_P(
    AttributeImport, SameNameAttributes,
    ::testing::Values(SameNameCase{"EmptyShopMode0", 0, false, {{"1", "Farbe", "2", "0", "b", "2"}}, {"1", "1"}},
                      SameNameCase{"EmptyShopMode1", 1, false, {{"1", "Farbe", "1", "0", "a", "1"}}, {"1", "23"}},
                      SameNameCase{"EmptyShopMode2", 2, false, {}, {"22", "23"}},
                      SameNameCase{"PrefilledShopMode0", 0, true, {{"12", "Farbe", "2", "0", "b", "2"}}, {"12", "12"}},
                      SameNameCase{"PrefilledShopMode1", 1, true, {{"12", "Farbe", "9", "0", "x", "9"}}, {"22", "23"}},
                      // Neither group is created in mode 2: both items write group 0.
                      SameNameCase{"PrefilledShopMode2", 2, true, {{"12", "Farbe", "0", "0", "b", "2"}}, {"12", "12"}}),
    [](const ::testing::TestParamInfo<SameNameCase>& info) { return info.param.name; });

// An attribute whose group cannot be read or found ends the importer at that item. The item has already taken
// its own PKID as NewPKID; the items after it have none, so links to them translate to 0.
TEST_F(AttributeImport, AnAttributeWithANonNumericGroupEndsTheImporterAfterItsPresetKey) {
  ImportSections(R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="22" Name="Farbe" GroupFKID="7"/>)"
                 R"(<AttributesItem PKID="29" Name="Gewicht" GroupFKID="abc"/>)"
                 R"(<AttributesItem PKID="23" Name="Größe" GroupFKID="7"/></Attributes>)"
                 R"(<AttributeClasses><AttributeClassesItem PKID="3" Name="Textil"/></AttributeClasses>)"
                 R"(<Attributes2Class><Attributes2ClassItem PKID="20" AttributeFKID="22" ClassFKID="3"/>)"
                 R"(<Attributes2ClassItem PKID="21" AttributeFKID="29" ClassFKID="3"/>)"
                 R"(<Attributes2ClassItem PKID="22" AttributeFKID="23" ClassFKID="3"/></Attributes2Class>)");
  EXPECT_EQ(Attributes(), (Rows{{"1", "Farbe", "1", "0", "", "0"}}));
  EXPECT_EQ((Strings{NewKeyOf("Attributes", "22"), NewKeyOf("Attributes", "29"), NewKeyOf("Attributes", "23")}),
            (Strings{"1", "29", "absent"}));
  EXPECT_THAT(QueriesOn("Attributes"), ElementsAre(AttributeLookup("Farbe")));
  EXPECT_THAT(QueriesOn("Attributes2Class"),
              ElementsAre(ClassLinkLookup(1, 1), ClassLinkLookup(29, 1), ClassLinkLookup(0, 1)));
  EXPECT_EQ(ClassLinks(), (Rows{{"1", "22", "3", "0"}, {"2", "29", "3", "0"}, {"3", "23", "3", "0"}}));
}

// ===== Link records ========================================================================================

// The record is added with the translated keys and no other field; the copy that follows writes the item's
// own attributes into every field but PKID, the catalogue's keys among them.
TEST_F(AttributeImport, AProductAttributeCreatedInMode0HoldsTheCataloguesKeys) {
  ImportSections(R"(<Products><ProductsItem PKID="15" ProductID="P-1"/></Products>)"
                 R"(<AttributeClasses><AttributeClassesItem PKID="3" Name="Textil"/></AttributeClasses>)"
                 R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="22" Name="Farbe" GroupFKID="7"/></Attributes>)"
                 R"(<Attributes2Product><Attributes2ProductItem PKID="40" AttributeFKID="22" ClassFKID="3" )"
                 R"(ProductFKID="15" Value="Rot"/></Attributes2Product>)",
                 0);
  EXPECT_THAT(QueriesOn("Attributes2Product"), ElementsAre(ProductLinkLookup(1, 1, 1)));
  EXPECT_THAT(AttributeInserts(),
              ElementsAre("AttributeClasses Name=Textil", "AttributeGroups Name=Optik", "Attributes Name=Farbe",
                          "Attributes2Product AttributeFKID=1 ClassFKID=1 ProductFKID=1"));
  EXPECT_EQ(ProductLinks(), (Rows{{"1", "22", "3", "15", "Rot"}}));
  EXPECT_EQ(NewKeyOf("Attributes2Product", "40"), "1");
}

// Textil, Farbe, P-1 and Rot are new and get keys 1; the links that they make once translated exist already.
TEST_F(AttributeImport, ExistingLinksFoundByTheTranslatedKeysAreLeftAloneInMode1) {
  Exec("INSERT INTO Attributes2Class (PKID, AttributeFKID, ClassFKID, SortOrder) VALUES (60, 1, 1, 9)");
  Exec(
      "INSERT INTO Attributes2Product (PKID, AttributeFKID, ClassFKID, ProductFKID, Value) "
      "VALUES (80, 1, 1, 1, 'alt')");
  Exec(
      "INSERT INTO AttributeMultiValues2Product (PKID, AttributeMultiValuesFKID, Attributes2ProductFKID) "
      "VALUES (90, 1, 80)");
  ImportSections(R"(<Products><ProductsItem PKID="15" ProductID="P-1"/></Products>)"
                 R"(<AttributeClasses><AttributeClassesItem PKID="3" Name="Textil"/></AttributeClasses>)"
                 R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="22" Name="Farbe" GroupFKID="7"/></Attributes>)"
                 R"(<Attributes2Class><Attributes2ClassItem PKID="20" AttributeFKID="22" ClassFKID="3" )"
                 R"(SortOrder="1"/></Attributes2Class>)"
                 R"(<AttributeMultiValues><AttributeMultiValuesItem PKID="30" AttributeFKID="22" Value="Rot"/>)"
                 R"(</AttributeMultiValues>)"
                 R"(<Attributes2Product><Attributes2ProductItem PKID="40" AttributeFKID="22" ClassFKID="3" )"
                 R"(ProductFKID="15" Value="Rot"/></Attributes2Product>)"
                 R"(<AttributeMultiValues2Product><AttributeMultiValues2ProductItem PKID="50" )"
                 R"(AttributeMultiValuesFKID="30" Attributes2ProductFKID="40"/></AttributeMultiValues2Product>)",
                 1);
  EXPECT_EQ(ClassLinks(), (Rows{{"60", "1", "1", "9"}}));
  EXPECT_EQ(ProductLinks(), (Rows{{"80", "1", "1", "1", "alt"}}));
  EXPECT_EQ(NewKeyOf("Attributes2Product", "40"), "absent");
  // The product link has no NewPKID: the choice link translates it to 0, misses record 90 and is added.
  EXPECT_THAT(QueriesOn("AttributeMultiValues2Product"), ElementsAre(ChoiceLinkLookup(1, 0)));
  EXPECT_EQ(ChoiceLinks(), (Rows{{"90", "1", "80"}, {"91", "30", "40"}}));
}

// Farbe is 5 in the catalogue and 12 in the shop.
TEST_F(AttributeImport, TheChoiceLookupHasNoBlankBetweenTheAttributeKeyAndAnd) {
  Exec("INSERT INTO Attributes (PKID, Name) VALUES (12, 'Farbe')");
  Exec("INSERT INTO AttributeMultiValues (PKID, AttributeFKID, Value, SortOrder) VALUES (70, 12, 'Blau', 3)");
  ImportSections(R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="5" Name="Farbe" GroupFKID="7"/></Attributes>)"
                 R"(<AttributeMultiValues>)"
                 R"(<AttributeMultiValuesItem PKID="30" AttributeFKID="5" Value="Rot" SortOrder="1"/>)"
                 R"(<AttributeMultiValuesItem PKID="31" AttributeFKID="5" Value="Blau" SortOrder="4"/>)"
                 R"(</AttributeMultiValues>)");
  EXPECT_THAT(QueriesOn("AttributeMultiValues"),
              ElementsAre("SELECT * FROM AttributeMultiValues WHERE AttributeFKID=12AND Value='Rot'",
                          "SELECT * FROM AttributeMultiValues WHERE AttributeFKID=12AND Value='Blau'"));
  // The database reads the statement as it stands: Rot is added, Blau found and updated.
  EXPECT_THAT(AttributeInserts(),
              ElementsAre("AttributeGroups Name=Optik", "AttributeMultiValues AttributeFKID=12 Value=Rot"));
  EXPECT_EQ(Choices(), (Rows{{"70", "5", "Blau", "4"}, {"71", "5", "Rot", "1"}}));
  EXPECT_EQ((Strings{NewKeyOf("AttributeMultiValues", "30"), NewKeyOf("AttributeMultiValues", "31")}),
            (Strings{"71", "70"}));
}

// Each link section's lookups use the keys the shop gave, while its records hold the catalogue's: a second
// import of the same catalogue finds the classes, groups and attributes but adds every link record again.
TEST_F(AttributeImport, ASecondImportOfTheSameCatalogueAddsTheLinkRecordsAgain) {
  const std::string path = Catalog(kChain);
  Import(path, 0);
  Import(path, 0);
  EXPECT_EQ(Classes(), (Rows{{"1", "Textil", "Stoffe"}, {"2", "Schuhe", "Leder"}}));
  EXPECT_EQ(Groups(), (Rows{{"1", "Optik", "2"}, {"2", "Maße", "1"}}));
  EXPECT_EQ(Attributes(), (Rows{{"1", "Farbe", "1", "0", "", "1"}, {"2", "Größe", "2", "0", "cm", "2"}}));
  EXPECT_EQ(ClassLinks(),
            (Rows{{"1", "22", "3", "1"}, {"2", "23", "4", "2"}, {"3", "22", "3", "1"}, {"4", "23", "4", "2"}}));
  EXPECT_EQ(
      Choices(),
      (Rows{{"1", "22", "Rot", "1"}, {"2", "22", "Blau", "2"}, {"3", "22", "Rot", "1"}, {"4", "22", "Blau", "2"}}));
  EXPECT_EQ(ProductLinks(), (Rows{{"1", "22", "3", "15", "Rot"},
                                  {"2", "23", "3", "15", "42"},
                                  {"3", "22", "3", "15", "Rot"},
                                  {"4", "23", "3", "15", "42"}}));
  EXPECT_EQ(ChoiceLinks(), (Rows{{"1", "30", "40"}, {"2", "31", "40"}, {"3", "30", "40"}, {"4", "31", "40"}}));
  // The second run's new choice values and product links are the ones that its choice links point at.
  EXPECT_THAT(QueriesOn("AttributeMultiValues2Product"), ElementsAre(ChoiceLinkLookup(3, 3), ChoiceLinkLookup(4, 3)));
}

// The referenced items carry their PKIDs with blanks or leading zeros, and the links name them the same way: the
// link's key is read as a number and the item is selected by a numeric comparison.
TEST_F(AttributeImport, ReferencedKeysAreComparedAsNumbers) {
  ImportSections(
      R"(<Products><ProductsItem PKID=" 15 " ProductID="P-1"/></Products>)"
      R"(<AttributeClasses><AttributeClassesItem PKID="03" Name="Textil"/></AttributeClasses>)"
      R"(<AttributeGroups><AttributeGroupsItem PKID=" 7 " Name="Optik"/></AttributeGroups>)"
      R"(<Attributes><AttributesItem PKID="012" Name="Farbe" GroupFKID=" 7 "/>)"
      R"(<AttributesItem PKID=" 13 " Name="Größe" GroupFKID="07"/></Attributes>)"
      R"(<Attributes2Class><Attributes2ClassItem PKID="20" AttributeFKID=" 12 " ClassFKID="3"/></Attributes2Class>)"
      R"(<AttributeMultiValues><AttributeMultiValuesItem PKID="030" AttributeFKID="13" Value="XL"/>)"
      R"(</AttributeMultiValues>)"
      R"(<Attributes2Product><Attributes2ProductItem PKID=" 40 " AttributeFKID="012" ClassFKID="03" )"
      R"(ProductFKID="15"/></Attributes2Product>)"
      R"(<AttributeMultiValues2Product><AttributeMultiValues2ProductItem PKID="50" AttributeMultiValuesFKID="30" )"
      R"(Attributes2ProductFKID="040"/></AttributeMultiValues2Product>)");
  EXPECT_EQ(Attributes(), (Rows{{"1", "Farbe", "1", "0", "", "0"}, {"2", "Größe", "1", "0", "", "0"}}));
  EXPECT_THAT(QueriesOn("Attributes2Class"), ElementsAre(ClassLinkLookup(1, 1)));
  EXPECT_THAT(QueriesOn("AttributeMultiValues"), ElementsAre(ChoiceLookup(2, "XL")));
  EXPECT_THAT(QueriesOn("Attributes2Product"), ElementsAre(ProductLinkLookup(1, 1, 1)));
  EXPECT_THAT(QueriesOn("AttributeMultiValues2Product"), ElementsAre(ChoiceLinkLookup(1, 1)));
  // The copy writes the links' own keys read as numbers.
  EXPECT_EQ(ClassLinks(), (Rows{{"1", "12", "3", "0"}}));
  EXPECT_EQ(Choices(), (Rows{{"1", "13", "XL", "0"}}));
  EXPECT_EQ(ProductLinks(), (Rows{{"1", "12", "3", "15", ""}}));
  EXPECT_EQ(ChoiceLinks(), (Rows{{"1", "30", "40"}}));
}

// ===== An item whose reference cannot be translated ========================================================

// Two items per section, all referring to each other; the case puts one more item between the two items of one
// section. In an empty shop in mode 0 every item makes one record.
const std::vector<std::pair<std::string, Strings>> kLinked = {
    {"Products", {R"(<ProductsItem PKID="15" ProductID="P-1"/>)", R"(<ProductsItem PKID="16" ProductID="P-2"/>)"}},
    {"AttributeClasses",
     {R"(<AttributeClassesItem PKID="3" Name="Textil"/>)", R"(<AttributeClassesItem PKID="4" Name="Schuhe"/>)"}},
    {"AttributeGroups",
     {R"(<AttributeGroupsItem PKID="7" Name="Optik"/>)", R"(<AttributeGroupsItem PKID="8" Name="Maße"/>)"}},
    {"Attributes",
     {R"(<AttributesItem PKID="22" Name="Farbe" GroupFKID="7"/>)",
      R"(<AttributesItem PKID="23" Name="Größe" GroupFKID="7"/>)"}},
    {"Attributes2Class",
     {R"(<Attributes2ClassItem PKID="20" AttributeFKID="22" ClassFKID="3"/>)",
      R"(<Attributes2ClassItem PKID="21" AttributeFKID="23" ClassFKID="4"/>)"}},
    {"AttributeMultiValues",
     {R"(<AttributeMultiValuesItem PKID="30" AttributeFKID="22" Value="Rot"/>)",
      R"(<AttributeMultiValuesItem PKID="31" AttributeFKID="23" Value="XL"/>)"}},
    {"Attributes2Product",
     {R"(<Attributes2ProductItem PKID="40" AttributeFKID="22" ClassFKID="3" ProductFKID="15" Value="Rot"/>)",
      R"(<Attributes2ProductItem PKID="41" AttributeFKID="23" ClassFKID="4" ProductFKID="16" Value="XL"/>)"}},
    {"AttributeMultiValues2Product",
     {R"(<AttributeMultiValues2ProductItem PKID="50" AttributeMultiValuesFKID="30" Attributes2ProductFKID="40"/>)",
      R"(<AttributeMultiValues2ProductItem PKID="51" AttributeMultiValuesFKID="31" Attributes2ProductFKID="41"/>)"}},
    {"Keywords", {R"(<KeywordsItem PKID="1" Keyword="Sommer"/>)"}},
};

// The rows of every table after the run, and the first item's lookup, by section.
const std::map<std::string, Rows> kLinkedRows = {
    {"AttributeClasses", {{"1", "Textil", ""}, {"2", "Schuhe", ""}}},
    {"AttributeGroups", {{"1", "Optik", "0"}, {"2", "Maße", "0"}}},
    {"Attributes", {{"1", "Farbe", "1", "0", "", "0"}, {"2", "Größe", "1", "0", "", "0"}}},
    {"Attributes2Class", {{"1", "22", "3", "0"}, {"2", "23", "4", "0"}}},
    {"AttributeMultiValues", {{"1", "22", "Rot", "0"}, {"2", "23", "XL", "0"}}},
    {"Attributes2Product", {{"1", "22", "3", "15", "Rot"}, {"2", "23", "4", "16", "XL"}}},
    {"AttributeMultiValues2Product", {{"1", "30", "40"}, {"2", "31", "41"}}},
};
const std::map<std::string, std::string> kFirstLookups = {
    {"Attributes", AttributeLookup("Farbe")},
    {"Attributes2Class", ClassLinkLookup(1, 1)},
    {"AttributeMultiValues", ChoiceLookup(1, "Rot")},
    {"Attributes2Product", ProductLinkLookup(1, 1, 1)},
    {"AttributeMultiValues2Product", ChoiceLinkLookup(1, 1)},
};
const Strings kAttributeSections = {"AttributeClasses",
                                    "AttributeGroups",
                                    "Attributes",
                                    "Attributes2Class",
                                    "AttributeMultiValues",
                                    "Attributes2Product",
                                    "AttributeMultiValues2Product"};

struct EndCase {
  std::string name;
  std::string section;  // where the item stands, between the section's two items
  std::string item;
  std::string more;  // further sections of the catalogue, or none
};

class AnUntranslatableReference : public AttributeImport, public ::testing::WithParamInterface<EndCase> {
 protected:
  std::string LinkedCatalogue(const EndCase& c) {
    std::string body;
    for (const auto& [section, items] : kLinked) {
      body += "<" + section + ">";
      for (std::size_t i = 0; i < items.size(); ++i) {
        if (section == c.section && i == 1) body += c.item;
        body += items[i];
      }
      body += "</" + section + ">";
    }
    return body + c.more;
  }
  Rows RowsOf(const std::string& section) {
    if (section == "AttributeClasses") return Classes();
    if (section == "AttributeGroups") return Groups();
    if (section == "Attributes") return Attributes();
    if (section == "Attributes2Class") return ClassLinks();
    if (section == "AttributeMultiValues") return Choices();
    if (section == "Attributes2Product") return ProductLinks();
    return ChoiceLinks();
  }
};

TEST_P(AnUntranslatableReference, EndsItsImporterAndTheRunGoesOnWithTheNext) {
  const EndCase& c = GetParam();
  ImportSections(LinkedCatalogue(c), 0);
  // The section keeps the record of its first item only; every other section is imported in full.
  for (const std::string& section : kAttributeSections) {
    Rows expected = kLinkedRows.at(section);
    if (section == c.section) expected.resize(1);
    EXPECT_EQ(RowsOf(section), expected) << section;
  }
  EXPECT_EQ(Select("SELECT PKID, Keyword FROM Keywords"), (Rows{{"1", "Sommer"}}));
  // The failing item shows its progress and makes no statement.
  EXPECT_THAT(QueriesOn(c.section), ElementsAre(kFirstLookups.at(c.section)));
  std::vector<std::pair<int, int>> progress;
  for (const std::string& section : kAttributeSections) progress.emplace_back(section == c.section ? 3 : 2, 2);
  EXPECT_THAT(AttributeProgress(), ElementsAreArray(ProgressOf(progress)));
}

INSTANTIATE_TEST_SUITE_P(
    AttributeImport, AnUntranslatableReference,
    ::testing::Values(
        EndCase{"AttributeWithAGroupMissingFromTheCatalogue", "Attributes",
                R"(<AttributesItem PKID="29" Name="Gewicht" GroupFKID="99"/>)", ""},
        EndCase{"AttributeWithoutGroupFKID", "Attributes", R"(<AttributesItem PKID="29" Name="Gewicht"/>)", ""},
        EndCase{"AttributeWithAnEmptyGroupFKID", "Attributes",
                R"(<AttributesItem PKID="29" Name="Gewicht" GroupFKID=""/>)", ""},
        EndCase{"AttributeWithANonNumericGroupFKID", "Attributes",
                R"(<AttributesItem PKID="29" Name="Gewicht" GroupFKID="abc"/>)", ""},
        // The key 0 is looked up like any other, and no group has the PKID 0.
        EndCase{"AttributeWithGroup0", "Attributes", R"(<AttributesItem PKID="29" Name="Gewicht" GroupFKID="0"/>)", ""},
        // The group is selected in its own section only.
        EndCase{"AttributeWithAGroupOutsideItsSection", "Attributes",
                R"(<AttributesItem PKID="29" Name="Gewicht" GroupFKID="9"/>)",
                R"(<Spare><AttributeGroupsItem PKID="9" Name="Fremd" NewPKID="5"/></Spare>)"},
        EndCase{"ClassLinkToAnAttributeMissingFromTheCatalogue", "Attributes2Class",
                R"(<Attributes2ClassItem PKID="29" AttributeFKID="99" ClassFKID="3"/>)", ""},
        EndCase{"ClassLinkToAClassMissingFromTheCatalogue", "Attributes2Class",
                R"(<Attributes2ClassItem PKID="29" AttributeFKID="22" ClassFKID="99"/>)", ""},
        EndCase{"ClassLinkWithoutAttributeFKID", "Attributes2Class",
                R"(<Attributes2ClassItem PKID="29" ClassFKID="3"/>)", ""},
        EndCase{"ClassLinkToAnAttributeOutsideItsSection", "Attributes2Class",
                R"(<Attributes2ClassItem PKID="29" AttributeFKID="98" ClassFKID="3"/>)",
                R"(<Spare><AttributesItem PKID="98" Name="Fremd" NewPKID="5"/></Spare>)"},
        EndCase{"ChoiceOfAnAttributeMissingFromTheCatalogue", "AttributeMultiValues",
                R"(<AttributeMultiValuesItem PKID="39" AttributeFKID="99" Value="Grün"/>)", ""},
        EndCase{"ProductLinkToAnAttributeMissingFromTheCatalogue", "Attributes2Product",
                R"(<Attributes2ProductItem PKID="49" AttributeFKID="99" ClassFKID="3" ProductFKID="15"/>)", ""},
        EndCase{"ProductLinkToAClassMissingFromTheCatalogue", "Attributes2Product",
                R"(<Attributes2ProductItem PKID="49" AttributeFKID="22" ClassFKID="99" ProductFKID="15"/>)", ""},
        EndCase{"ProductLinkToAProductMissingFromTheCatalogue", "Attributes2Product",
                R"(<Attributes2ProductItem PKID="49" AttributeFKID="22" ClassFKID="3" ProductFKID="99"/>)", ""},
        EndCase{"ChoiceLinkToAChoiceMissingFromTheCatalogue", "AttributeMultiValues2Product",
                R"(<AttributeMultiValues2ProductItem PKID="59" AttributeMultiValuesFKID="99" )"
                R"(Attributes2ProductFKID="40"/>)",
                ""},
        EndCase{"ChoiceLinkToAProductLinkMissingFromTheCatalogue", "AttributeMultiValues2Product",
                R"(<AttributeMultiValues2ProductItem PKID="59" AttributeMultiValuesFKID="30" )"
                R"(Attributes2ProductFKID="99"/>)",
                ""}),
    [](const ::testing::TestParamInfo<EndCase>& info) { return info.param.name; });

// The same importer, the edge case spelled out: the class links after the one that names a missing attribute are
// not imported, and the choice values that follow in the run are.
TEST_F(AttributeImport, AClassLinkToAMissingAttributeEndsTheClassLinksAndTheChoiceValuesFollow) {
  ImportSections(R"(<AttributeClasses><AttributeClassesItem PKID="3" Name="Textil"/></AttributeClasses>)"
                 R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="22" Name="Farbe" GroupFKID="7"/></Attributes>)"
                 R"(<Attributes2Class><Attributes2ClassItem PKID="20" AttributeFKID="99" ClassFKID="3"/>)"
                 R"(<Attributes2ClassItem PKID="21" AttributeFKID="22" ClassFKID="3"/></Attributes2Class>)"
                 R"(<AttributeMultiValues><AttributeMultiValuesItem PKID="30" AttributeFKID="22" Value="Rot"/>)"
                 R"(</AttributeMultiValues>)");
  EXPECT_THAT(ClassLinks(), IsEmpty());
  EXPECT_THAT(QueriesOn("Attributes2Class"), IsEmpty());
  EXPECT_EQ(Choices(), (Rows{{"1", "22", "Rot", "0"}}));
  EXPECT_THAT(AttributeProgress(), ElementsAre("0/0 Importiere Attribute", "1/1 ", "1/1 ", "1/1 ", "2/1 ", "1/1 ",
                                               "0/0 Importiere Bundles"));
}

// A field that the database refuses ends the importer with the working recordset still open; every importer after
// it then fails to open it at its first item.
TEST_F(AttributeImport, ARefusedFieldLeavesTheRecordsetOpenAndEveryLaterImporterEndsAtItsFirstItem) {
  ImportSections(R"(<AttributeGroups><AttributeGroupsItem PKID="7" Name="Optik"/></AttributeGroups>)"
                 R"(<Attributes><AttributesItem PKID="22" Name="Farbe" GroupFKID="7" SortOrder="4" Unit=")" +
                 std::string(51, 'm') +
                 R"("/><AttributesItem PKID="23" Name="Größe" GroupFKID="7"/></Attributes>)"
                 R"(<Attributes2Class><Attributes2ClassItem PKID="20" AttributeFKID="22" ClassFKID="3"/>)"
                 R"(<Attributes2ClassItem PKID="21" AttributeFKID="22" ClassFKID="3"/></Attributes2Class>)"
                 R"(<AttributeClasses><AttributeClassesItem PKID="3" Name="Textil"/></AttributeClasses>)"
                 R"(<AttributeMultiValues><AttributeMultiValuesItem PKID="30" AttributeFKID="22" Value="Rot"/>)"
                 R"(</AttributeMultiValues>)"
                 R"(<Keywords><KeywordsItem PKID="1" Keyword="Sommer"/></Keywords>)");
  // Farbe was saved when it was added; the copy's values were never saved.
  EXPECT_EQ(Attributes(), (Rows{{"1", "Farbe", "0", "0", "NULL", "0"}}));
  EXPECT_EQ(NewKeyOf("Attributes", "22"), "1");
  EXPECT_EQ(NewKeyOf("Attributes", "23"), "absent");
  EXPECT_THAT(ClassLinks(), IsEmpty());
  EXPECT_THAT(Choices(), IsEmpty());
  EXPECT_THAT(Select("SELECT Keyword FROM Keywords"), IsEmpty());
  EXPECT_THAT(QueriesOn("Attributes"), ElementsAre(AttributeLookup("Farbe")));
  EXPECT_THAT(QueriesOn("Attributes2Class"), IsEmpty());
  EXPECT_THAT(AttributeProgress(), ElementsAre("0/0 Importiere Attribute", "1/1 ", "1/1 ", "2/1 ", "2/1 ", "1/1 ",
                                               "0/0 Importiere Bundles"));
}

}  // namespace
}  // namespace cvimp::plugin::testing
