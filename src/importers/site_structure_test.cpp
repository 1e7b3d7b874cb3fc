// The site-structure importers (the output folders, the pages and the page data of pages, categories and
// products), run the way the host runs them: a catalogue file chosen on the settings page, an update mode,
// ExecuteImport, and a real shop database, empty or already holding records of the same natural keys. The
// folder paths of the shop database come from the command-line host's folder service over the test database.
//
// Media items get their NewPKID from the media import only. To give a media item a target key here, the
// catalogue itself carries the attribute NewPKID="..." on the item: the importers read it like one written
// earlier in the run. Where the media check box is checked (and the media import would run), such items stand
// outside the Media section, where only the lookups anywhere in the document ("//MediaItem") reach them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "host/folder_service.h"
#include "plugin/testing/import_fixture.h"
#include "plugin/testing/run_status_texts.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

using Strings = std::vector<std::string>;

class SiteStructure : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    // Straight on the database, so that its statements do not mix with the importers' in connection->queries.
    host.api->folder_service = std::make_shared<host::CliFolderService>(db);
  }

  void CheckMedia() { Form().chkImportMedia().Value = settings::CheckBox::kChecked; }

  // Every progress call as "maximum/position text", from the status line `status` up to the next status line.
  Strings ProgressOf(const std::string& status) const {
    const auto& p = host.state->progress;
    auto first = std::find(p.begin(), p.end(), ProgressCall{0, 0, status});
    Strings out;
    for (auto it = first; it != p.end() && (it == first || it->maximum != 0); ++it)
      out.push_back(std::to_string(it->maximum) + "/" + std::to_string(it->position) + " " + it->text);
    return out;
  }

  Rows Folders() { return Select("SELECT PKID, Name, ParentFolderFKID FROM Folders ORDER BY PKID"); }
  Rows Pages() {
    return Select(
        "SELECT PKID, ID, PageName, PageTitle, PageIntro, Depth, ParentFKID, SortOrder FROM Pages ORDER BY PKID");
  }
  Rows PageDataRows() {
    return Select(
        "SELECT PKID, ElType, ElRef, IntroSoundMRef, OutputFolderRef, ThumbMRef, Title FROM PageData ORDER BY PKID");
  }
  Rows PageDataAllFields() {
    return Select(
        "SELECT PKID, ElType, ElRef, IntroSoundMRef, OutputFolderRef, ThumbMRef, Comments, Markup, HeadMarkup, "
        "MetaTags, MetaKeywords, ScheduleFrom, ScheduleTo, FirstStagedDate, LastStagedDate, IncludeBackRefs, Title, "
        "FileName FROM PageData ORDER BY PKID");
  }
  // ElType, ElRef, Title of every page-data row, ordered by element.
  Rows PageDataByElement() { return Select("SELECT ElType, ElRef, Title FROM PageData ORDER BY ElType, ElRef"); }
};

std::string FolderLookup(const std::string& name) { return "SELECT * FROM Folders WHERE Name='" + name + "'"; }
std::string FolderByKey(int key) { return "SELECT * FROM Folders WHERE PKID=" + std::to_string(key); }
std::string PageLookup(const std::string& id) { return "SELECT * FROM Pages WHERE ID='" + id + "'"; }
std::string PageDataLookup(int type, int key) {
  return "SELECT * FROM PageData WHERE ElType=" + std::to_string(type) + " AND ElRef=" + std::to_string(key);
}

const Strings kFolderProgressOfTwo = {"0/0 Importiere Ordner", "2/1 ", "2/2 "};

// ===== Folders =============================================================================================

// A folder Tee below the top folder Shop.
const char* kShopAndTee = R"(<Folders><FoldersItem PKID="10" Name="Shop" ParentFolderFKID="0"/>)"
                          R"(<FoldersItem PKID="11" Name="Tee" ParentFolderFKID="10"/></Folders>)";

// The same tree under other keys, and a folder Fremd whose key is the catalogue key of Tee.
const char* kPrefilledShopAndTee =
    "INSERT INTO Folders (PKID, Name, ParentFolderFKID) VALUES (5, 'Shop', 0), (6, 'Tee', 5), (11, 'Fremd', 0)";

struct FolderCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows folders;
  Strings queries;
  Strings new_keys;  // of Shop and Tee
  Strings progress;
};

class FoldersByMode : public SiteStructure, public ::testing::WithParamInterface<FolderCase> {};

TEST_P(FoldersByMode, WriteTheFoldersNewKeysAndParentsThatTheModeAllows) {
  const FolderCase& c = GetParam();
  if (c.prefilled) Exec(kPrefilledShopAndTee);
  ImportSections(kShopAndTee, c.mode);
  EXPECT_EQ(Folders(), c.folders);
  EXPECT_THAT(connection->queries, ElementsAreArray(c.queries));
  EXPECT_EQ((Strings{NewKey("//FoldersItem[@Name='Shop']"), NewKey("//FoldersItem[@Name='Tee']")}), c.new_keys);
  EXPECT_EQ(ProgressOf("Importiere Ordner"), c.progress);
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
  EXPECT_TRUE(host.state->messages.empty());
}

INSTANTIATE_TEST_SUITE_P(
    SiteStructure, FoldersByMode,
    ::testing::Values(
        // Tee is added at the top first (its path /Tee is not /Shop/Tee), so a second Tee is added and
        // written; the first stays behind with only its name. The second pass hangs the second under Shop.
        FolderCase{"EmptyDatabaseMode0",
                   0,
                   false,
                   {{"1", "Shop", "0"}, {"2", "Tee", "0"}, {"3", "Tee", "1"}},
                   {FolderLookup("Shop"), FolderLookup("Tee"), FolderByKey(3)},
                   {"1", "3"},
                   kFolderProgressOfTwo},
        FolderCase{"EmptyDatabaseMode1",
                   1,
                   false,
                   {{"1", "Shop", "0"}, {"2", "Tee", "0"}, {"3", "Tee", "1"}},
                   {FolderLookup("Shop"), FolderLookup("Tee"), FolderByKey(3)},
                   {"1", "3"},
                   kFolderProgressOfTwo},
        // Shop is not there: its path is asked for the key of an empty result, which ends the importer at its
        // first item. Shop keeps its own key as NewPKID; Tee is never reached.
        FolderCase{"EmptyDatabaseMode2",
                   2,
                   false,
                   {},
                   {FolderLookup("Shop")},
                   {"10", "absent"},
                   {"0/0 Importiere Ordner", "2/1 "}},
        // Both found at their paths and written: Tee's parent is written 0, then set again in the second pass.
        FolderCase{"PrefilledDatabaseMode0",
                   0,
                   true,
                   {{"5", "Shop", "0"}, {"6", "Tee", "5"}, {"11", "Fremd", "0"}},
                   {FolderLookup("Shop"), FolderLookup("Tee"), FolderByKey(6)},
                   {"5", "6"},
                   kFolderProgressOfTwo},
        // Neither is written, so both keep their catalogue keys as NewPKID, and the second pass gives the
        // folder that has Tee's catalogue key (Fremd) Shop's catalogue key as its parent.
        FolderCase{"PrefilledDatabaseMode1",
                   1,
                   true,
                   {{"5", "Shop", "0"}, {"6", "Tee", "5"}, {"11", "Fremd", "10"}},
                   {FolderLookup("Shop"), FolderLookup("Tee"), FolderByKey(11)},
                   {"10", "11"},
                   kFolderProgressOfTwo},
        FolderCase{"PrefilledDatabaseMode2",
                   2,
                   true,
                   {{"5", "Shop", "0"}, {"6", "Tee", "5"}, {"11", "Fremd", "0"}},
                   {FolderLookup("Shop"), FolderLookup("Tee"), FolderByKey(6)},
                   {"5", "6"},
                   kFolderProgressOfTwo}),
    [](const ::testing::TestParamInfo<FolderCase>& info) { return info.param.name; });

TEST_F(SiteStructure, EachSubfolderOfAFreshImportLeavesABareFirstRecordWithOnlyItsName) {
  ImportSections(
      R"(<Folders><FoldersItem PKID="1" Name="A" ParentFolderFKID="0"/><FoldersItem PKID="2" Name="B" ParentFolderFKID="1"/>)"
      R"(<FoldersItem PKID="3" Name="C" ParentFolderFKID="2"/></Folders>)");
  EXPECT_EQ(Folders(), (Rows{{"1", "A", "0"}, {"2", "B", "0"}, {"3", "B", "1"}, {"4", "C", "0"}, {"5", "C", "3"}}));
  EXPECT_THAT(connection->queries,
              ElementsAre(FolderLookup("A"), FolderLookup("B"), FolderLookup("C"), FolderByKey(3), FolderByKey(5)));
  EXPECT_EQ(NewKey("//FoldersItem[@Name='A']"), "1");
  EXPECT_EQ(NewKey("//FoldersItem[@Name='B']"), "3");
  EXPECT_EQ(NewKey("//FoldersItem[@Name='C']"), "5");
  EXPECT_EQ(ProgressOf("Importiere Ordner"), (Strings{"0/0 Importiere Ordner", "3/1 ", "3/2 ", "3/3 "}));
}

TEST_F(SiteStructure, ImportingTheSameTreeAgainAddsASubfolderOnceMoreBecauseItsBareRecordIsFoundFirst) {
  const std::string path = Catalog(kShopAndTee);
  Import(path, 0);
  Import(path, 0);
  // The name query finds the bare Tee (2) first; its path /Tee is not /Shop/Tee.
  EXPECT_EQ(Folders(), (Rows{{"1", "Shop", "0"}, {"2", "Tee", "0"}, {"3", "Tee", "1"}, {"4", "Tee", "1"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Shop"), FolderLookup("Tee"), FolderByKey(4)));
}

// Neu at the top, and Neu again below Archiv.
const char* kNeuAtTwoPlaces =
    R"(<Folders><FoldersItem PKID="1" Name="Neu" ParentFolderFKID="0"/><FoldersItem PKID="2" Name="Archiv" ParentFolderFKID="0"/>)"
    R"(<FoldersItem PKID="3" Name="Neu" ParentFolderFKID="2"/></Folders>)";

TEST_F(SiteStructure, TwoFoldersOfTheSameNameAtTwoPlacesBothExistEachWithItsOwnParent) {
  for (int mode : {0, 1}) {
    Exec("DELETE FROM Folders");
    Exec("DELETE FROM sqlite_sequence WHERE name='Folders'");
    ImportSections(kNeuAtTwoPlaces, mode);
    EXPECT_EQ(Folders(), (Rows{{"1", "Neu", "0"}, {"2", "Archiv", "0"}, {"3", "Neu", "2"}})) << "mode " << mode;
    EXPECT_THAT(connection->queries,
                ElementsAre(FolderLookup("Neu"), FolderLookup("Archiv"), FolderLookup("Neu"), FolderByKey(3)))
        << "mode " << mode;
    EXPECT_EQ((Strings{NewKey("//FoldersItem[@PKID='1']"), NewKey("//FoldersItem[@PKID='2']"),
                       NewKey("//FoldersItem[@PKID='3']")}),
              (Strings{"1", "2", "3"}))
        << "mode " << mode;
  }
}

class FoldersInEveryMode : public SiteStructure, public ::testing::WithParamInterface<int> {};

TEST_P(FoldersInEveryMode, OnlyTheFirstFolderOfTheNameIsComparedSoTheRightTreeInTheShopGetsAFurtherFolder) {
  // The shop holds the catalogue's tree already, but the name query returns the top Neu (5) first for the
  // Neu below Archiv.
  Exec("INSERT INTO Folders (PKID, Name, ParentFolderFKID) VALUES (5, 'Neu', 0), (6, 'Archiv', 0), (7, 'Neu', 6)");
  ImportSections(kNeuAtTwoPlaces, GetParam());
  // In mode 1 Archiv is not written and keeps its catalogue key 2 as NewPKID, which the new Neu gets as parent.
  const std::string parent = GetParam() == 1 ? "2" : "6";
  EXPECT_EQ(Folders(), (Rows{{"5", "Neu", "0"}, {"6", "Archiv", "0"}, {"7", "Neu", "6"}, {"8", "Neu", parent}}));
  EXPECT_THAT(connection->queries,
              ElementsAre(FolderLookup("Neu"), FolderLookup("Archiv"), FolderLookup("Neu"), FolderByKey(8)));
  const Strings written = {"5", "6", "8"};
  const Strings kept = {"1", "2", "8"};
  EXPECT_EQ((Strings{NewKey("//FoldersItem[@PKID='1']"), NewKey("//FoldersItem[@PKID='2']"),
                     NewKey("//FoldersItem[@PKID='3']")}),
            GetParam() == 1 ? kept : written);
}

TEST_P(FoldersInEveryMode, AFurtherFolderIsAddedWhenTheFirstOfTheNameSitsElsewhereThoughAnotherSitsRight) {
  Exec("INSERT INTO Folders (PKID, Name, ParentFolderFKID) VALUES (5, 'Archiv', 0), (6, 'Neu', 5), (7, 'Neu', 0)");
  ImportSections(R"(<Folders><FoldersItem PKID="1" Name="Neu" ParentFolderFKID="0"/></Folders>)", GetParam());
  EXPECT_EQ(Folders(), (Rows{{"5", "Archiv", "0"}, {"6", "Neu", "5"}, {"7", "Neu", "0"}, {"8", "Neu", "0"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Neu")));
  EXPECT_EQ(NewKey("//FoldersItem"), "8");
}

TEST_P(FoldersInEveryMode, AFolderOfTheSameNameOnlyElsewhereMakesANewFolderEvenInMode2) {
  Exec("INSERT INTO Folders (PKID, Name, ParentFolderFKID) VALUES (5, 'Archiv', 0), (6, 'Neu', 5)");
  ImportSections(R"(<Folders><FoldersItem PKID="1" Name="Neu" ParentFolderFKID="0"/></Folders>)", GetParam());
  EXPECT_EQ(Folders(), (Rows{{"5", "Archiv", "0"}, {"6", "Neu", "5"}, {"7", "Neu", "0"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Neu")));
  EXPECT_EQ(NewKey("//FoldersItem"), "7");
}

INSTANTIATE_TEST_SUITE_P(SiteStructure, FoldersInEveryMode, ::testing::Values(0, 1, 2),
                         [](const ::testing::TestParamInfo<int>& info) { return "Mode" + std::to_string(info.param); });

TEST_F(SiteStructure, AFolderWrittenBeforeItsParentGetsTheParentsNewKeyInTheSecondPass) {
  ImportSections(R"(<Folders><FoldersItem PKID="11" Name="Tee" ParentFolderFKID="10"/>)"
                 R"(<FoldersItem PKID="10" Name="Shop" ParentFolderFKID="0"/></Folders>)");
  EXPECT_EQ(Folders(), (Rows{{"1", "Tee", "0"}, {"2", "Tee", "3"}, {"3", "Shop", "0"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Tee"), FolderLookup("Shop"), FolderByKey(2)));
  EXPECT_EQ(NewKey("//FoldersItem[@Name='Tee']"), "2");
  EXPECT_EQ(NewKey("//FoldersItem[@Name='Shop']"), "3");
}

TEST_F(SiteStructure, AFolderNotWrittenKeepsItsCatalogueKeySoTheSecondPassUpdatesTheShopFolderWithThatKey) {
  // Mode 1: Shop and Tee exist at their paths and are left alone. The shop's folder 11 is not Tee, but has
  // Tee's catalogue key: it gets Shop's catalogue key 10 as its parent.
  Exec(kPrefilledShopAndTee);
  ImportSections(kShopAndTee, 1);
  EXPECT_EQ(Select("SELECT PKID, Name, ParentFolderFKID FROM Folders WHERE PKID=11"), (Rows{{"11", "Fremd", "10"}}));
  EXPECT_EQ(NewKey("//FoldersItem[@Name='Tee']"), "11");
}

TEST_F(SiteStructure, AFolderNameWithASingleQuoteIsFoundThroughSqlQuote) {
  Exec("INSERT INTO Folders (PKID, Name, ParentFolderFKID) VALUES (4, 'Kind''s', 0)");
  ImportSections(R"(<Folders><FoldersItem PKID="1" Name="Kind's" ParentFolderFKID="0"/></Folders>)", 2);
  EXPECT_EQ(Folders(), (Rows{{"4", "Kind's", "0"}}));
  EXPECT_THAT(connection->queries, ElementsAre("SELECT * FROM Folders WHERE Name='Kind''s'"));
  EXPECT_EQ(NewKey("//FoldersItem"), "4");
}

TEST_F(SiteStructure, AParentMissingFromTheCatalogueEndsTheFoldersAndTheParentsWrittenAsZeroStayZero) {
  // Shop and Tee are found and written (Tee's parent as 0); Waise is added, and its path cannot be built:
  // the importer ends before its second pass, so Tee's parent is not set again.
  Exec("INSERT INTO Folders (PKID, Name, ParentFolderFKID) VALUES (5, 'Shop', 0), (6, 'Tee', 5)");
  ImportSections(
      R"(<Folders><FoldersItem PKID="10" Name="Shop" ParentFolderFKID="0"/><FoldersItem PKID="11" Name="Tee" ParentFolderFKID="10"/>)"
      R"(<FoldersItem PKID="12" Name="Waise" ParentFolderFKID="99"/><FoldersItem PKID="13" Name="Danach" ParentFolderFKID="0"/></Folders>)");
  EXPECT_EQ(Folders(), (Rows{{"5", "Shop", "0"}, {"6", "Tee", "0"}, {"7", "Waise", "0"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Shop"), FolderLookup("Tee"), FolderLookup("Waise")));
  EXPECT_EQ((Strings{NewKey("//FoldersItem[@PKID='10']"), NewKey("//FoldersItem[@PKID='11']"),
                     NewKey("//FoldersItem[@PKID='12']"), NewKey("//FoldersItem[@PKID='13']")}),
            (Strings{"5", "6", "12", "absent"}));
  EXPECT_EQ(ProgressOf("Importiere Ordner"), (Strings{"0/0 Importiere Ordner", "4/1 ", "4/2 ", "4/3 "}));
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
}

TEST_F(SiteStructure, AParentItemMissingInTheSecondPassEndsTheRoutineThere) {
  // Two items share the key 5; the path of each is built from the first (A). The second (B) names a parent 99
  // that the catalogue does not hold, which only the second pass reads: it ends there, before C's parent.
  ImportSections(
      R"(<Folders><FoldersItem PKID="5" Name="A" ParentFolderFKID="0"/><FoldersItem PKID="5" Name="B" ParentFolderFKID="99"/>)"
      R"(<FoldersItem PKID="6" Name="C" ParentFolderFKID="5"/></Folders>)");
  EXPECT_EQ(Folders(), (Rows{{"1", "A", "0"}, {"2", "B", "0"}, {"3", "B", "0"}, {"4", "C", "0"}, {"5", "C", "0"}}));
  EXPECT_THAT(connection->queries,
              ElementsAre(FolderLookup("A"), FolderLookup("B"), FolderLookup("C"), FolderByKey(3)));
  EXPECT_EQ((Strings{NewKey("//FoldersItem[@Name='A']"), NewKey("//FoldersItem[@Name='B']"),
                     NewKey("//FoldersItem[@Name='C']")}),
            (Strings{"1", "3", "5"}));
}

TEST_F(SiteStructure, AParentChainThatLoopsEndsTheFoldersWithAnErrorInsteadOfRunningOn) {
  ImportSections(
      R"(<Folders><FoldersItem PKID="1" Name="A" ParentFolderFKID="2"/><FoldersItem PKID="2" Name="B" ParentFolderFKID="1"/>)"
      R"(<FoldersItem PKID="3" Name="C" ParentFolderFKID="0"/></Folders>)");
  EXPECT_EQ(Folders(), (Rows{{"1", "A", "0"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("A")));
  EXPECT_EQ((Strings{NewKey("//FoldersItem[@Name='A']"), NewKey("//FoldersItem[@Name='B']"),
                     NewKey("//FoldersItem[@Name='C']")}),
            (Strings{"1", "absent", "absent"}));
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
}

TEST_F(SiteStructure, AFolderItemWithoutPkidEndsTheFoldersAfterItsFirstRecordAndTheNextImporterWritesIntoThatRecord) {
  // Los has no PKID: its record is added by name, then its catalogue path (of the key 0) cannot be built. The
  // working recordset stays open on Los. The category import cannot open it for K1; K1's values go into the
  // folder record still current (its Name; its ParentFolderFKID from K1's missing attribute, 0), and K1's page
  // data is written under that record's key. K2 is imported normally.
  ImportSections(
      R"(<Folders><FoldersItem Name="Los" ParentFolderFKID="0"/><FoldersItem PKID="10" Name="Shop" ParentFolderFKID="0"/></Folders>)"
      R"(<Categories><CategoriesItem PKID="30" ID="K1" Name="Kat1"/><CategoriesItem PKID="31" ID="K2" Name="Kat2"/></Categories>)");
  EXPECT_EQ(Folders(), (Rows{{"1", "Kat1", "0"}}));
  EXPECT_EQ(Select("SELECT PKID, ID, Name FROM Categories ORDER BY PKID"), (Rows{{"1", "K2", "Kat2"}}));
  EXPECT_EQ(Select("SELECT ElType, ElRef FROM PageData"), (Rows{{"1", "1"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Los"), PageDataLookup(1, 1),
                                               "SELECT * FROM Categories WHERE ID='K2'", PageDataLookup(1, 1)));
  EXPECT_EQ((Strings{NewKey("//FoldersItem[@Name='Los']"), NewKey("//FoldersItem[@Name='Shop']"),
                     NewKey("//CategoriesItem[@ID='K1']"), NewKey("//CategoriesItem[@ID='K2']")}),
            (Strings{"0", "absent", "1", "1"}));
}

TEST_F(SiteStructure, AMissingFolderInMode2EndsTheFoldersAndTheOpenRecordsetCostsTheFirstCategory) {
  // Neu is not in the shop: the folder import ends at it with the working recordset open on the empty result.
  // The category import cannot open it for K1 (which is not updated) and closes it; K2 is updated.
  Exec("INSERT INTO Folders (PKID, Name, ParentFolderFKID) VALUES (5, 'Shop', 0)");
  Exec("INSERT INTO Categories (PKID, ID, Name) VALUES (50, 'K1', 'alt1'), (51, 'K2', 'alt2')");
  ImportSections(
      R"(<Folders><FoldersItem PKID="10" Name="Neu" ParentFolderFKID="0"/><FoldersItem PKID="11" Name="Shop" ParentFolderFKID="0"/></Folders>)"
      R"(<Categories><CategoriesItem PKID="30" ID="K1" Name="neu1"/><CategoriesItem PKID="31" ID="K2" Name="neu2"/></Categories>)",
      2);
  EXPECT_EQ(Folders(), (Rows{{"5", "Shop", "0"}}));
  EXPECT_EQ(Select("SELECT PKID, ID, Name FROM Categories ORDER BY PKID"),
            (Rows{{"50", "K1", "alt1"}, {"51", "K2", "neu2"}}));
  EXPECT_THAT(connection->queries,
              ElementsAre(FolderLookup("Neu"), "SELECT * FROM Categories WHERE ID='K2'", PageDataLookup(1, 51)));
  EXPECT_EQ((Strings{NewKey("//FoldersItem[@Name='Neu']"), NewKey("//FoldersItem[@Name='Shop']")}),
            (Strings{"10", "absent"}));
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
  EXPECT_TRUE(host.state->messages.empty());
}

TEST_F(SiteStructure, AMissingFolderInMode2LeavesTheRecordsetOpenSoTheNextSimpleImportersEndAtTheirFirstItem) {
  // No categories, products, assignments or pages: the currencies are the next to open the working recordset.
  Exec("INSERT INTO Currencies (PKID, ISOCode, Name) VALUES (3, 'EUR', 'alt')");
  Exec("INSERT INTO DeliveryTimes (PKID, Name, DeliveryDays) VALUES (4, 'sofort', 5)");
  ImportSections(R"(<Folders><FoldersItem PKID="10" Name="Neu" ParentFolderFKID="0"/></Folders>)"
                 R"(<Currencies><CurrenciesItem PKID="7" ISOCode="EUR" Name="Euro"/></Currencies>)"
                 R"(<DeliveryTimes><DeliveryTimesItem PKID="8" Name="sofort" DeliveryDays="1"/></DeliveryTimes>)",
                 2);
  EXPECT_EQ(Select("SELECT PKID, ISOCode, Name FROM Currencies"), (Rows{{"3", "EUR", "alt"}}));
  EXPECT_EQ(Select("SELECT PKID, Name, DeliveryDays FROM DeliveryTimes"), (Rows{{"4", "sofort", "5"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Neu")));
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
}

// ===== Pages ===============================================================================================

// start carries PageIntro and Depth (never written); about has no PageName and a parent page.
const char* kPages =
    R"(<Pages><PagesItem PKID="20" ID="start" PageName="Start" PageTitle="Willkommen" PageIntro="Intro" Depth="3" ParentFKID="0" SortOrder="1"/>)"
    R"(<PagesItem PKID="21" ID="about" PageTitle="Wir" ParentFKID="20" SortOrder="2"/></Pages>)";

struct PageCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows pages;
  Rows page_data;
  Strings queries;
  Strings new_keys;  // of start and about
};

class PagesByMode : public SiteStructure, public ::testing::WithParamInterface<PageCase> {
 protected:
  // Both pages under other keys; start has a page-data row, about none.
  void Prefill() {
    Exec(
        "INSERT INTO Pages (PKID, ID, PageName, PageTitle, PageIntro, Depth, ParentFKID, SortOrder) VALUES "
        "(7, 'start', 'alt', 'alt', 'alt intro', 5, 3, 9), (8, 'about', 'alt', 'alt', 'alt intro', 4, 7, 8)");
    Exec(
        "INSERT INTO PageData (PKID, ElType, ElRef, IntroSoundMRef, OutputFolderRef, ThumbMRef, Title) VALUES "
        "(70, 0, 7, 1, 4, 3, 'alt')");
  }
};

TEST_P(PagesByMode, WriteThePagesNewKeysAndPageDataThatTheModeAllows) {
  const PageCase& c = GetParam();
  if (c.prefilled) Prefill();
  ImportSections(kPages, c.mode);
  EXPECT_EQ(Pages(), c.pages);
  EXPECT_EQ(PageDataRows(), c.page_data);
  EXPECT_THAT(connection->queries, ElementsAreArray(c.queries));
  EXPECT_EQ((Strings{NewKey("//PagesItem[@ID='start']"), NewKey("//PagesItem[@ID='about']")}), c.new_keys);
  // The page data show no progress of their own.
  EXPECT_EQ(ProgressOf("Importiere Seiten"), (Strings{"0/0 Importiere Seiten", "2/1 ", "2/2 "}));
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
}

const Rows kNewPages = {{"1", "start", "Start", "Willkommen", "NULL", "0", "0", "1"},
                        {"2", "about", "", "Wir", "NULL", "0", "20", "2"}};
const Rows kUpdatedPages = {{"7", "start", "Start", "Willkommen", "alt intro", "5", "0", "1"},
                            {"8", "about", "", "Wir", "alt intro", "4", "20", "2"}};
const Rows kUntouchedPages = {{"7", "start", "alt", "alt", "alt intro", "5", "3", "9"},
                              {"8", "about", "alt", "alt", "alt intro", "4", "7", "8"}};

INSTANTIATE_TEST_SUITE_P(
    SiteStructure, PagesByMode,
    ::testing::Values(
        // New pages: the "temp" texts are replaced by the item's (about's PageName by the empty text);
        // PageIntro and Depth keep their defaults; about's parent keeps the catalogue key 20. The catalogue
        // holds no page data, so each page gets a bare row with only ElType 0 and ElRef.
        PageCase{"EmptyDatabaseMode0",
                 0,
                 false,
                 kNewPages,
                 {{"1", "0", "1", "0", "0", "0", "NULL"}, {"2", "0", "2", "0", "0", "0", "NULL"}},
                 {PageLookup("start"), PageDataLookup(0, 1), PageLookup("about"), PageDataLookup(0, 2)},
                 {"1", "2"}},
        PageCase{"EmptyDatabaseMode1",
                 1,
                 false,
                 kNewPages,
                 {{"1", "0", "1", "0", "0", "0", "NULL"}, {"2", "0", "2", "0", "0", "0", "NULL"}},
                 {PageLookup("start"), PageDataLookup(0, 1), PageLookup("about"), PageDataLookup(0, 2)},
                 {"1", "2"}},
        PageCase{"EmptyDatabaseMode2", 2, false, {}, {}, {PageLookup("start"), PageLookup("about")}, {"20", "21"}},
        // Existing pages keep PageIntro and Depth. start's page-data row has no item to copy from: only
        // OutputFolderRef, which is first set to 0, changes.
        PageCase{"PrefilledDatabaseMode0",
                 0,
                 true,
                 kUpdatedPages,
                 {{"70", "0", "7", "1", "0", "3", "alt"}, {"71", "0", "8", "0", "0", "0", "NULL"}},
                 {PageLookup("start"), PageDataLookup(0, 7), PageLookup("about"), PageDataLookup(0, 8)},
                 {"7", "8"}},
        PageCase{"PrefilledDatabaseMode1",
                 1,
                 true,
                 kUntouchedPages,
                 {{"70", "0", "7", "1", "4", "3", "alt"}},
                 {PageLookup("start"), PageLookup("about")},
                 {"20", "21"}},
        PageCase{"PrefilledDatabaseMode2",
                 2,
                 true,
                 kUpdatedPages,
                 {{"70", "0", "7", "1", "0", "3", "alt"}},
                 {PageLookup("start"), PageDataLookup(0, 7), PageLookup("about"), PageDataLookup(0, 8)},
                 {"7", "8"}}),
    [](const ::testing::TestParamInfo<PageCase>& info) { return info.param.name; });

TEST_F(SiteStructure, APageIdWithASingleQuoteIsFoundThroughSqlQuote) {
  Exec("INSERT INTO Pages (PKID, ID, PageName) VALUES (4, 'o''neil', 'alt')");
  ImportSections(R"(<Pages><PagesItem PKID="1" ID="o'neil" PageName="neu"/></Pages>)", 2);
  EXPECT_EQ(Select("SELECT PKID, ID, PageName FROM Pages"), (Rows{{"4", "o'neil", "neu"}}));
  EXPECT_THAT(connection->queries, ElementsAre("SELECT * FROM Pages WHERE ID='o''neil'", PageDataLookup(0, 4)));
}

TEST_F(SiteStructure, APageWhoseParentGotANewKeyKeepsTheCatalogueKeyOfItsParent) {
  Exec("INSERT INTO Pages (PKID, ID) VALUES (40, 'x')");
  ImportSections(
      R"(<Pages><PagesItem PKID="3" ID="eltern" PageName="E"/><PagesItem PKID="4" ID="kind" PageName="K" ParentFKID="3"/></Pages>)");
  EXPECT_EQ(Select("SELECT PKID, ID, ParentFKID FROM Pages ORDER BY PKID"),
            (Rows{{"40", "x", "0"}, {"41", "eltern", "0"}, {"42", "kind", "3"}}));
  EXPECT_EQ(NewKey("//PagesItem[@ID='eltern']"), "41");
}

TEST_F(SiteStructure, APageTheDatabaseRefusesEndsThePagesWithItsPlaceholdersAndTheImportersAfterItEndAtTheirFirstItem) {
  // A PageName of 256 characters is more than the field holds: the copy fails after the new record was saved
  // with its placeholders, and the working recordset stays open with the unsaved copy.
  Exec("INSERT INTO Currencies (PKID, ISOCode, Name) VALUES (3, 'EUR', 'alt')");
  ImportSections(R"(<Pages><PagesItem PKID="20" ID="lang" PageName=")" + std::string(256, 'x') +
                 R"(" PageTitle="T"/><PagesItem PKID="21" ID="danach" PageName="D"/></Pages>)"
                 R"(<Currencies><CurrenciesItem PKID="7" ISOCode="EUR" Name="Euro"/></Currencies>)");
  EXPECT_EQ(Pages(), (Rows{{"1", "lang", "temp", "temp", "NULL", "0", "0", "0"}}));
  EXPECT_EQ(PageDataRows(), Rows{});
  EXPECT_EQ(Select("SELECT PKID, ISOCode, Name FROM Currencies"), (Rows{{"3", "EUR", "alt"}}));
  EXPECT_THAT(connection->queries, ElementsAre(PageLookup("lang")));
  EXPECT_EQ((Strings{NewKey("//PagesItem[@ID='lang']"), NewKey("//PagesItem[@ID='danach']")}),
            (Strings{"1", "absent"}));
  EXPECT_EQ(ProgressOf("Importiere Seiten"), (Strings{"0/0 Importiere Seiten", "2/1 "}));
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
}

// ===== Page data ===========================================================================================

// The folder Shop (which becomes folder 1 of an empty shop), the media item 40 with a target key, and the page
// start with a page-data item that sets every field.
const char* kPageWithFullPageData =
    R"(<Folders><FoldersItem PKID="10" Name="Shop" ParentFolderFKID="0"/></Folders>)"
    R"(<Media><MediaItem PKID="40" NewPKID="400"/></Media>)"
    R"(<Pages><PagesItem PKID="20" ID="start" PageName="Start"/></Pages>)"
    R"(<PageData><PageDataItem PKID="300" ElType="0" ElRef="20" IntroSoundMRef="40" OutputFolderRef="10" ThumbMRef="40")"
    R"( MetaTags="neu mt" MetaKeywords="neu mk" ScheduleFrom="2030-01-01" ScheduleTo="2030-12-31")"
    R"( FirstStagedDate="2030-02-02" LastStagedDate="2030-03-03" IncludeBackRefs="True" Title="Startseite")"
    R"( FileName="index.html"><Comments>neu c</Comments><Markup>neu m</Markup><HeadMarkup>neu h</HeadMarkup>)"
    R"(</PageDataItem></PageData>)";

TEST_F(SiteStructure, ANewPageDataRowGetsTheElementsNewKeyTheCopiedFieldsAndDefaultsForTheRest) {
  ImportSections(kPageWithFullPageData);
  // PKID from the item; ElRef the page's new key (not the item's 20); the sound through the media item's
  // NewPKID; the output folder through the folder item's NewPKID; no thumbnail without the media option.
  EXPECT_EQ(PageDataAllFields(), (Rows{{"300", "0", "1", "400", "1", "0", "NULL", "NULL", "NULL", "NULL", "NULL",
                                        "NULL", "NULL", "NULL", "NULL", "False", "Startseite", "index.html"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Shop"), PageLookup("start"), PageDataLookup(0, 1)));
  EXPECT_EQ(ProgressOf("Importiere Seiten"), (Strings{"0/0 Importiere Seiten", "1/1 "}));
}

class PageDataByMode : public SiteStructure, public ::testing::WithParamInterface<int> {};

TEST_P(PageDataByMode, AnExistingRowKeepsWhatIsNeverWrittenAndTakesTheRestWhenItsPageIsWritten) {
  Exec("INSERT INTO Folders (PKID, Name, ParentFolderFKID) VALUES (1, 'Shop', 0)");
  Exec("INSERT INTO Pages (PKID, ID, PageName) VALUES (7, 'start', 'alt')");
  Exec(
      "INSERT INTO PageData (PKID, ElType, ElRef, IntroSoundMRef, OutputFolderRef, ThumbMRef, Comments, Markup, "
      "HeadMarkup, MetaTags, MetaKeywords, ScheduleFrom, ScheduleTo, FirstStagedDate, LastStagedDate, "
      "IncludeBackRefs, Title, FileName) VALUES (70, 0, 7, 1, 2, 3, 'alt c', 'alt m', 'alt h', 'alt mt', 'alt mk', "
      "'2019-01-01 00:00:00', '2019-12-31 00:00:00', '2019-02-02 00:00:00', '2019-03-03 00:00:00', -1, 'alt', "
      "'alt.html')");
  ImportSections(kPageWithFullPageData, GetParam());
  if (GetParam() == 1) {
    // The page exists and is left alone: its page data are not imported.
    EXPECT_EQ(PageDataAllFields(), (Rows{{"70", "0", "7", "1", "2", "3", "alt c", "alt m", "alt h", "alt mt", "alt mk",
                                          "2019-01-01 00:00:00", "2019-12-31 00:00:00", "2019-02-02 00:00:00",
                                          "2019-03-03 00:00:00", "True", "alt", "alt.html"}}));
    EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Shop"), PageLookup("start")));
    return;
  }
  EXPECT_EQ(PageDataAllFields(), (Rows{{"300", "0", "7", "400", "1", "3", "alt c", "alt m", "alt h", "alt mt", "alt mk",
                                        "2019-01-01 00:00:00", "2019-12-31 00:00:00", "2019-02-02 00:00:00",
                                        "2019-03-03 00:00:00", "True", "Startseite", "index.html"}}));
  EXPECT_THAT(connection->queries, ElementsAre(FolderLookup("Shop"), PageLookup("start"), PageDataLookup(0, 7)));
}

INSTANTIATE_TEST_SUITE_P(SiteStructure, PageDataByMode, ::testing::Values(0, 1, 2),
                         [](const ::testing::TestParamInfo<int>& info) { return "Mode" + std::to_string(info.param); });

TEST_F(SiteStructure, PageDataOfANewPageInMode1AreLeftAloneWhereARowForTheNewKeyExists) {
  // A row left over for the key that the new page gets.
  Exec("INSERT INTO PageData (PKID, ElType, ElRef, Title) VALUES (70, 0, 1, 'alt')");
  ImportSections(R"(<Pages><PagesItem PKID="20" ID="start" PageName="Start"/></Pages>)"
                 R"(<PageData><PageDataItem PKID="300" ElType="0" ElRef="20" Title="neu"/></PageData>)",
                 1);
  EXPECT_EQ(PageDataRows(), (Rows{{"70", "0", "1", "0", "0", "0", "alt"}}));
  EXPECT_THAT(connection->queries, ElementsAre(PageLookup("start"), PageDataLookup(0, 1)));
}

TEST_F(SiteStructure, AnElementTakesTheFirstPageDataItemOfItsOwnTypeAndCatalogueKey) {
  ImportSections(R"(<Pages><PagesItem PKID="20" ID="start" PageName="Start"/></Pages>)"
                 R"(<PageData><PageDataItem PKID="301" ElType="1" ElRef="20" Title="Kategorie"/>)"
                 R"(<PageDataItem PKID="302" ElType="0" ElRef="21" Title="Andere Seite"/>)"
                 R"(<PageDataItem PKID="303" ElType="0" ElRef="20" Title="Seite"/>)"
                 R"(<PageDataItem PKID="304" ElType="0" ElRef="20" Title="Zweite"/></PageData>)");
  EXPECT_EQ(PageDataRows(), (Rows{{"303", "0", "1", "0", "0", "0", "Seite"}}));
}

TEST_F(SiteStructure, CategoriesAndProductsGetTheirPageDataWithTheirElementTypeAndNewKey) {
  Exec("INSERT INTO Categories (PKID, ID) VALUES (9, 'alt')");
  ImportSections(
      R"(<Categories><CategoriesItem PKID="30" ID="K1" Name="Kat"/><CategoriesItem PKID="31" ID="K2" Name="ohne"/></Categories>)"
      R"(<Products><ProductsItem PKID="30" ProductID="P1" Name="Prod"/></Products>)"
      R"(<PageData><PageDataItem PKID="500" ElType="1" ElRef="30" Title="Kat"/>)"
      R"(<PageDataItem PKID="600" ElType="2" ElRef="30" Title="Prod"/></PageData>)");
  // K2 has no page-data item: its row holds only ElType 1 and ElRef.
  EXPECT_EQ(PageDataByElement(), (Rows{{"1", "10", "Kat"}, {"1", "11", "NULL"}, {"2", "1", "Prod"}}));
  EXPECT_EQ(Select("SELECT PKID FROM PageData WHERE Title IS NOT NULL ORDER BY PKID"), (Rows{{"500"}, {"600"}}));
}

TEST_F(SiteStructure, WithoutTheMediaOptionTheSoundIsStillTranslatedButNoThumbnailIsWritten) {
  // Pages a..d exist with page data whose sound is 5 and thumbnail 3. Media 40 has a target key, 41 none, and
  // there is no media item 43; d names no sound.
  Exec("INSERT INTO Pages (PKID, ID) VALUES (7, 'a'), (8, 'b'), (9, 'c'), (10, 'd')");
  Exec(
      "INSERT INTO PageData (PKID, ElType, ElRef, IntroSoundMRef, ThumbMRef) VALUES (70, 0, 7, 5, 3), "
      "(71, 0, 8, 5, 3), (72, 0, 9, 5, 3), (73, 0, 10, 5, 3)");
  ImportSections(
      R"(<Media><MediaItem PKID="40" NewPKID="400"/><MediaItem PKID="41"/></Media>)"
      R"(<Pages><PagesItem PKID="1" ID="a"/><PagesItem PKID="2" ID="b"/><PagesItem PKID="3" ID="c"/><PagesItem PKID="4" ID="d"/></Pages>)"
      R"(<PageData><PageDataItem PKID="70" ElType="0" ElRef="1" IntroSoundMRef="40" ThumbMRef="40"/>)"
      R"(<PageDataItem PKID="71" ElType="0" ElRef="2" IntroSoundMRef="41" ThumbMRef="40"/>)"
      R"(<PageDataItem PKID="72" ElType="0" ElRef="3" IntroSoundMRef="43" ThumbMRef="40"/>)"
      R"(<PageDataItem PKID="73" ElType="0" ElRef="4" ThumbMRef="40"/></PageData>)");
  EXPECT_EQ(Select("SELECT PKID, IntroSoundMRef, ThumbMRef FROM PageData ORDER BY PKID"),
            (Rows{{"70", "400", "3"}, {"71", "0", "3"}, {"72", "5", "3"}, {"73", "0", "3"}}));
}

// Pages a..f exist with page data whose thumbnail is 3. The media items stand outside the Media section (see
// the top of this file): 41 has a target key, 44 none, and there is no media item 45.
const char* kThumbnails =
    R"(<Elsewhere><MediaItem PKID="41" NewPKID="410"/><MediaItem PKID="44"/></Elsewhere>)"
    R"(<Pages><PagesItem PKID="1" ID="a"/><PagesItem PKID="2" ID="b"/><PagesItem PKID="3" ID="c"/>)"
    R"(<PagesItem PKID="4" ID="d"/><PagesItem PKID="5" ID="e"/></Pages>)"
    R"(<PageData><PageDataItem PKID="70" ElType="0" ElRef="1" ThumbMRef="41"/>)"
    R"(<PageDataItem PKID="71" ElType="0" ElRef="2" ThumbMRef="0"/>)"
    R"(<PageDataItem PKID="72" ElType="0" ElRef="3"/>)"
    R"(<PageDataItem PKID="73" ElType="0" ElRef="4" ThumbMRef="44"/>)"
    R"(<PageDataItem PKID="74" ElType="0" ElRef="5" ThumbMRef="45"/></PageData>)";

class Thumbnails : public SiteStructure {
 protected:
  void SetUp() override {
    SiteStructure::SetUp();
    Exec("INSERT INTO Pages (PKID, ID) VALUES (7, 'a'), (8, 'b'), (9, 'c'), (10, 'd'), (11, 'e')");
    Exec(
        "INSERT INTO PageData (PKID, ElType, ElRef, ThumbMRef) VALUES (70, 0, 7, 3), (71, 0, 8, 3), (72, 0, 9, 3), "
        "(73, 0, 10, 3), (74, 0, 11, 3)");
  }
};

TEST_F(Thumbnails, WithTheMediaOptionOnlyAThumbnailWhoseMediaItemHasATargetKeyIsWritten) {
  CheckMedia();
  ImportSections(kThumbnails);
  EXPECT_EQ(Select("SELECT PKID, ThumbMRef FROM PageData ORDER BY PKID"),
            (Rows{{"70", "410"}, {"71", "3"}, {"72", "3"}, {"73", "3"}, {"74", "3"}}));
}

TEST_F(Thumbnails, WithoutTheMediaOptionNoThumbnailIsWritten) {
  ImportSections(kThumbnails);
  EXPECT_EQ(Select("SELECT PKID, ThumbMRef FROM PageData ORDER BY PKID"),
            (Rows{{"70", "3"}, {"71", "3"}, {"72", "3"}, {"73", "3"}, {"74", "3"}}));
}

TEST_F(SiteStructure, TheOutputFolderIsTheFolderItemsNewKeyOrZero) {
  // Pages a..f exist with page data whose output folder is 2. Folder 10 is imported (as folder 1); the items
  // 77 and 78 stand outside the Folders section, 77 with a target key and 78 without; there is no folder 99.
  Exec("INSERT INTO Pages (PKID, ID) VALUES (7, 'a'), (8, 'b'), (9, 'c'), (10, 'd'), (11, 'e'), (12, 'f')");
  Exec(
      "INSERT INTO PageData (PKID, ElType, ElRef, OutputFolderRef) VALUES (70, 0, 7, 2), (71, 0, 8, 2), "
      "(72, 0, 9, 2), (73, 0, 10, 2), (74, 0, 11, 2), (75, 0, 12, 2)");
  ImportSections(R"(<Folders><FoldersItem PKID="10" Name="Shop" ParentFolderFKID="0"/></Folders>)"
                 R"(<Elsewhere><FoldersItem PKID="77" NewPKID="777"/><FoldersItem PKID="78"/></Elsewhere>)"
                 R"(<Pages><PagesItem PKID="1" ID="a"/><PagesItem PKID="2" ID="b"/><PagesItem PKID="3" ID="c"/>)"
                 R"(<PagesItem PKID="4" ID="d"/><PagesItem PKID="5" ID="e"/><PagesItem PKID="6" ID="f"/></Pages>)"
                 R"(<PageData><PageDataItem PKID="70" ElType="0" ElRef="1" OutputFolderRef="10"/>)"
                 R"(<PageDataItem PKID="71" ElType="0" ElRef="2" OutputFolderRef="0"/>)"
                 R"(<PageDataItem PKID="72" ElType="0" ElRef="3" OutputFolderRef="99"/>)"
                 R"(<PageDataItem PKID="73" ElType="0" ElRef="4"/>)"
                 R"(<PageDataItem PKID="74" ElType="0" ElRef="5" OutputFolderRef="77"/>)"
                 R"(<PageDataItem PKID="75" ElType="0" ElRef="6" OutputFolderRef="78"/></PageData>)");
  EXPECT_EQ(Select("SELECT PKID, OutputFolderRef FROM PageData ORDER BY PKID"),
            (Rows{{"70", "1"}, {"71", "0"}, {"72", "0"}, {"73", "0"}, {"74", "777"}, {"75", "0"}}));
}

TEST_F(SiteStructure, APageDataKeyThatAnotherRowHasLeavesTheNewRowBareAndTheImportGoesOn) {
  // Row 300 belongs to another element. start's page data bring the key 300: the save of the copied fields is
  // refused, and start's row keeps only ElType and ElRef. about's page data are written.
  Exec("INSERT INTO PageData (PKID, ElType, ElRef, Title) VALUES (300, 2, 99, 'fremd')");
  ImportSections(
      R"(<Pages><PagesItem PKID="20" ID="start" PageName="Start"/><PagesItem PKID="21" ID="about" PageName="Wir"/></Pages>)"
      R"(<PageData><PageDataItem PKID="300" ElType="0" ElRef="20" Title="Startseite"/>)"
      R"(<PageDataItem PKID="310" ElType="0" ElRef="21" Title="Über"/></PageData>)");
  EXPECT_EQ(Select("SELECT PKID, ElType, ElRef, Title FROM PageData ORDER BY PKID"),
            (Rows{{"300", "2", "99", "fremd"}, {"301", "0", "1", "NULL"}, {"310", "0", "2", "Über"}}));
  EXPECT_EQ(Select("SELECT PKID, ID, PageName FROM Pages ORDER BY PKID"),
            (Rows{{"1", "start", "Start"}, {"2", "about", "Wir"}}));
  EXPECT_THAT(connection->queries,
              ElementsAre(PageLookup("start"), PageDataLookup(0, 1), PageLookup("about"), PageDataLookup(0, 2)));
}

TEST_F(SiteStructure, AValueThePageDataRowRefusesIsSkippedAndTheOtherFieldsAreStillWritten) {
  ImportSections(R"(<Pages><PagesItem PKID="20" ID="start" PageName="Start"/><PagesItem PKID="21" ID="about"/></Pages>)"
                 R"(<PageData><PageDataItem PKID="300" ElType="0" ElRef="20" Title=")" +
                 std::string(256, 'x') + R"(" FileName="f.html"/></PageData>)");
  EXPECT_EQ(Select("SELECT PKID, ElType, ElRef, Title, FileName FROM PageData ORDER BY PKID"),
            (Rows{{"300", "0", "1", "NULL", "f.html"}, {"301", "0", "2", "NULL", "NULL"}}));
}

// ===== The run =============================================================================================

TEST_F(SiteStructure, FoldersAndPagesShowTheirStartTextsAtTheirPlaceInTheRun) {
  ImportSections(std::string(kShopAndTee) + kPages);
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
  const Strings texts = host.state->StatusTexts();
  ASSERT_GE(texts.size(), 7u);
  EXPECT_EQ(texts[1], "Starte Import...");
  EXPECT_EQ(texts[2], "Importiere Ordner");
  EXPECT_EQ(texts[5], "Produkte werden zugeordnet");
  EXPECT_EQ(texts[6], "Importiere Seiten");
  EXPECT_TRUE(host.state->messages.empty());
}

}  // namespace
}  // namespace cvimp::plugin::testing
