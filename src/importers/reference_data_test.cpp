// The reference data importers, run the way the host runs them: a catalogue file chosen on the settings
// page, an update mode, ExecuteImport, and a real shop database.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "plugin/testing/import_fixture.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;

class ReferenceData : public ImportFixture {};

// --- Currencies -----------------------------------------------------------------------------------------

TEST_F(ReferenceData, CurrenciesCreateANewRecordWithItsKeyAndFillItFromTheItem) {
  ImportSections(
      R"(<Currencies><CurrenciesItem PKID="7" ISOCode="EUR" Name="Euro" Symbol="€" ExchangeRate="1.5"/></Currencies>)");
  EXPECT_EQ(Select("SELECT PKID, ISOCode, Name, Symbol, ExchangeRate FROM Currencies"),
            (Rows{{"7", "EUR", "Euro", "€", "1.5"}}));
  EXPECT_THAT(connection->queries, ElementsAre("SELECT * FROM Currencies WHERE ISOCode='EUR'"));
}

TEST_F(ReferenceData, CurrenciesInMode0OverwriteEveryOtherFieldOfAnExistingRecordPkidIncluded) {
  Exec("INSERT INTO Currencies (PKID, ISOCode, Name, Symbol, ExchangeRate) VALUES (3, 'EUR', 'alt', 'E', 2)");
  ImportSections(R"(<Currencies><CurrenciesItem PKID="9" ISOCode="EUR" Name="Euro" Symbol="€"/></Currencies>)");
  // ExchangeRate is absent from the item: the copy writes its default 0.
  EXPECT_EQ(Select("SELECT PKID, ISOCode, Name, Symbol, ExchangeRate FROM Currencies"),
            (Rows{{"9", "EUR", "Euro", "€", "0"}}));
}

TEST_F(ReferenceData, CurrenciesInMode1LeaveAnExistingRecordAlone) {
  Exec("INSERT INTO Currencies (PKID, ISOCode, Name) VALUES (3, 'EUR', 'alt')");
  ImportSections(R"(<Currencies><CurrenciesItem PKID="9" ISOCode="EUR" Name="Euro"/></Currencies>)", 1);
  EXPECT_EQ(Select("SELECT PKID, ISOCode, Name FROM Currencies"), (Rows{{"3", "EUR", "alt"}}));
}

TEST_F(ReferenceData, CurrenciesInMode2CreateNothingAndSayNothing) {
  ImportSections(R"(<Currencies><CurrenciesItem PKID="9" ISOCode="EUR" Name="Euro"/></Currencies>)", 2);
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Currencies"), (Rows{{"0"}}));
  EXPECT_TRUE(host.state->messages.empty());
}

TEST_F(ReferenceData, AKeyWithASingleQuoteIsFoundThroughSqlQuote) {
  Exec("INSERT INTO QuantityUnits (QtyUnit, Description) VALUES ('Zoll''', 'alt')");
  ImportSections(R"(<QuantityUnits><QuantityUnitsItem PKID="1" QtyUnit="Zoll'" Description="neu"/></QuantityUnits>)");
  EXPECT_EQ(Select("SELECT QtyUnit, Description FROM QuantityUnits"), (Rows{{"Zoll'", "neu"}}));
  EXPECT_THAT(connection->queries, ElementsAre("SELECT * FROM QuantityUnits WHERE QtyUnit='Zoll'''"));
}

TEST_F(ReferenceData, EachItemShowsProgressWithAnEmptyTextAfterTheStartText) {
  ImportSections(
      R"(<Currencies><CurrenciesItem PKID="1" ISOCode="A"/><CurrenciesItem PKID="2" ISOCode="B"/></Currencies>)");
  const auto& p = host.state->progress;
  auto start = std::find(p.begin(), p.end(), ProgressCall{0, 0, "Importiere Währungen"});
  ASSERT_NE(start, p.end());
  EXPECT_EQ(*(start + 1), (ProgressCall{2, 1, ""}));
  EXPECT_EQ(*(start + 2), (ProgressCall{2, 2, ""}));
  EXPECT_EQ(*(start + 3), (ProgressCall{0, 0, "Importiere Lieferzeiten"}));
}

// --- DeliveryTimes, MeasureUnits, QuantityUnits ---------------------------------------------------------

TEST_F(ReferenceData, DeliveryTimesCopyTheirKeyAgainButNotPkidAndWriteNoNewPkid) {
  ImportSections(R"(<DeliveryTimes><DeliveryTimesItem PKID="40" Name="sofort" DeliveryDays="1"/></DeliveryTimes>)");
  EXPECT_EQ(Select("SELECT PKID, Name, DeliveryDays FROM DeliveryTimes"), (Rows{{"1", "sofort", "1"}}));
  EXPECT_TRUE(NewPkid("CalvoraCatalog/DeliveryTimes/DeliveryTimesItem").is_null());
  // Found, but without NewPKID: a reference to it translates to 0.
  EXPECT_EQ(manager->TranslateKey(40, "DeliveryTimes"), 0);
}

const char* kTwoMeasureUnits =
    R"(<MeasureUnits><MeasureUnitsItem PKID="1" Name="kg" Symbol="erst"/><MeasureUnitsItem PKID="2" Name="kg" Symbol="zweit"/></MeasureUnits>)";

TEST_F(ReferenceData, TwoItemsWithANewKeyInMode0TheSecondOverwritesTheFirst) {
  ImportSections(kTwoMeasureUnits, 0);
  EXPECT_EQ(Select("SELECT Name, Symbol FROM MeasureUnits"), (Rows{{"kg", "zweit"}}));
}

TEST_F(ReferenceData, TwoItemsWithANewKeyInMode1TheSecondLeavesTheFirstAlone) {
  ImportSections(kTwoMeasureUnits, 1);
  EXPECT_EQ(Select("SELECT Name, Symbol FROM MeasureUnits"), (Rows{{"kg", "erst"}}));
}

TEST_F(ReferenceData, TwoItemsWithANewKeyInMode2CreateNothing) {
  ImportSections(kTwoMeasureUnits, 2);
  EXPECT_EQ(Select("SELECT COUNT(*) FROM MeasureUnits"), (Rows{{"0"}}));
}

TEST_F(ReferenceData, TwoItemsWithAnExistingKeyInModes0And2UpdateTwiceTheSecondWinning) {
  for (int mode : {0, 2}) {
    Exec("DELETE FROM MeasureUnits");
    Exec("INSERT INTO MeasureUnits (Name, Symbol) VALUES ('kg', 'alt')");
    ImportSections(kTwoMeasureUnits, mode);
    EXPECT_EQ(Select("SELECT Name, Symbol FROM MeasureUnits"), (Rows{{"kg", "zweit"}})) << "mode " << mode;
  }
}

TEST_F(ReferenceData, AnItemWithoutItsKeyLooksUpTheEmptyKeyAndALaterOneFindsThatRecord) {
  ImportSections(
      R"(<MeasureUnits><MeasureUnitsItem PKID="1" Symbol="a"/><MeasureUnitsItem PKID="2" Symbol="b"/></MeasureUnits>)",
      1);
  EXPECT_EQ(Select("SELECT Name, Symbol FROM MeasureUnits"), (Rows{{"", "a"}}));
  EXPECT_THAT(connection->queries,
              ElementsAre("SELECT * FROM MeasureUnits WHERE Name=''", "SELECT * FROM MeasureUnits WHERE Name=''"));
}

TEST_F(ReferenceData, TextInAnIntegerFieldStoresZeroAndInATextFieldStaysText) {
  ImportSections(R"(<DeliveryTimes><DeliveryTimesItem Name="abc" DeliveryDays="abc"/></DeliveryTimes>)");
  EXPECT_EQ(Select("SELECT Name, DeliveryDays FROM DeliveryTimes"), (Rows{{"abc", "0"}}));
}

// --- Regions --------------------------------------------------------------------------------------------

class Regions : public ReferenceData {
 protected:
  void SetUp() override {
    ReferenceData::SetUp();
    host.state->texts["impvelxml.config.regions"] = "True";
  }
};

TEST_F(Regions, ANewRegionKeepsItsCatalogueKeyAndTheItemsNameReplacesThePlaceholder) {
  ImportSections(
      R"(<Regions><RegionsItem PKID="276" Name="Deutschland" ISOCode="DE"/><RegionsItem PKID="40"/></Regions>)");
  EXPECT_EQ(Select("SELECT PKID, Name, ISOCode FROM Regions ORDER BY PKID"),
            (Rows{{"40", "", ""}, {"276", "Deutschland", "DE"}}));
  EXPECT_THAT(connection->queries,
              ElementsAre("SELECT * FROM Regions WHERE PKID='276'", "SELECT * FROM Regions WHERE PKID='40'"));
  EXPECT_TRUE(NewPkid("CalvoraCatalog/Regions/RegionsItem").is_null());
}

TEST_F(Regions, InMode1AnExistingRegionIsLeftAloneWithoutPlaceholder) {
  Exec("INSERT INTO Regions (PKID, Name, ISOCode) VALUES (276, 'alt', 'XX')");
  ImportSections(R"(<Regions><RegionsItem PKID="276" Name="Deutschland" ISOCode="DE"/></Regions>)", 1);
  EXPECT_EQ(Select("SELECT PKID, Name, ISOCode FROM Regions"), (Rows{{"276", "alt", "XX"}}));
}

TEST_F(Regions, AreNotImportedWhenTheSwitchIsOff) {
  host.state->texts["impvelxml.config.regions"] = "True ";
  ImportSections(R"(<Regions><RegionsItem PKID="276" Name="Deutschland"/></Regions>)");
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Regions"), (Rows{{"0"}}));
}

// --- Manufacturers --------------------------------------------------------------------------------------

const char* kManufacturersWithoutProductId =
    R"(<Manufacturers><ManufacturersItem PKID="5" ID="A" Name="Erster" LogoMRef="77"/><ManufacturersItem PKID="6" ID="B" Name="Zweiter"/></Manufacturers>)";

TEST_F(ReferenceData, ManufacturersWithoutProductIdCreateAtTheEmptyIdAndTheItemsIdReplacesIt) {
  ImportSections(kManufacturersWithoutProductId, 0);
  EXPECT_EQ(Select("SELECT PKID, ID, Name, LogoMRef FROM Manufacturers ORDER BY PKID"),
            (Rows{{"1", "A", "Erster", "0"}, {"2", "B", "Zweiter", "0"}}));
  EXPECT_EQ(manager->last_sql(), "SELECT * FROM Manufacturers WHERE ID=''");
  EXPECT_EQ(NewPkid("CalvoraCatalog/Manufacturers/ManufacturersItem[@PKID=5]"), Value("1"));
  EXPECT_EQ(NewPkid("CalvoraCatalog/Manufacturers/ManufacturersItem[@PKID=6]"), Value("2"));
}

TEST_F(ReferenceData, ManufacturersWithoutProductIdInMode1AlsoCreateOneRecordEach) {
  ImportSections(kManufacturersWithoutProductId, 1);
  EXPECT_EQ(Select("SELECT ID FROM Manufacturers ORDER BY PKID"), (Rows{{"A"}, {"B"}}));
}

TEST_F(ReferenceData, ManufacturersInMode2UpdateOnlyWhereTheIdEqualsTheProductId) {
  Exec("INSERT INTO Manufacturers (PKID, ID, Name, LogoMRef) VALUES (30, 'ACME', 'alt', 12)");
  Exec("INSERT INTO Manufacturers (PKID, ID, Name) VALUES (31, '', 'leer')");
  ImportSections(
      R"(<Manufacturers><ManufacturersItem PKID="5" ProductID="ACME" ID="ACME" Name="Acme" LogoMRef="99"/><ManufacturersItem PKID="6" ProductID="NEU" ID="NEU" Name="Neu"/><ManufacturersItem PKID="7" ID="X" Name="ohne"/></Manufacturers>)",
      2);
  EXPECT_EQ(Select("SELECT PKID, ID, Name, LogoMRef FROM Manufacturers ORDER BY PKID"),
            (Rows{{"30", "ACME", "Acme", "12"}, {"31", "X", "ohne", "0"}}));
  EXPECT_EQ(NewPkid("CalvoraCatalog/Manufacturers/ManufacturersItem[@PKID=5]"), Value("30"));
  // Not written: NewPKID keeps the item's own PKID.
  EXPECT_EQ(NewPkid("CalvoraCatalog/Manufacturers/ManufacturersItem[@PKID=6]"), Value("6"));
}

// --- Keywords -------------------------------------------------------------------------------------------

TEST_F(ReferenceData, KeywordsNoteTheKeyTheRecordGot) {
  Exec("INSERT INTO Keywords (PKID, Keyword) VALUES (100, 'alt')");
  ImportSections(R"(<Keywords><KeywordsItem PKID="31" Keyword="Tee"/></Keywords>)");
  EXPECT_EQ(Select("SELECT PKID, Keyword FROM Keywords ORDER BY PKID"), (Rows{{"100", "alt"}, {"101", "Tee"}}));
  EXPECT_EQ(NewPkid("CalvoraCatalog/Keywords/KeywordsItem"), Value("101"));
  EXPECT_EQ(manager->TranslateKey(31, "Keywords"), 101);
}

TEST_F(ReferenceData, KeywordsInMode1WithAnExistingKeywordKeepTheItemsPkidAsNewPkid) {
  Exec("INSERT INTO Keywords (PKID, Keyword) VALUES (100, 'Tee')");
  ImportSections(R"(<Keywords><KeywordsItem PKID="31" Keyword="Tee"/></Keywords>)", 1);
  EXPECT_EQ(NewPkid("CalvoraCatalog/Keywords/KeywordsItem"), Value("31"));
}

// --- KeywordRefs ----------------------------------------------------------------------------------------

// Product 15 is imported onto the shop's product 501 (found by its ProductID), so its item gets NewPKID 501.
// Product 16 stands outside the products section: the product import never reaches it, so it has no NewPKID,
// while a lookup anywhere in the document still finds it.
const char* kProducts =
    R"(<Products><ProductsItem PKID="15" ProductID="P15"/></Products><Elsewhere><ProductsItem PKID="16"/></Elsewhere>)";

class KeywordRefs : public ReferenceData {
 protected:
  void SetUp() override {
    ReferenceData::SetUp();
    Exec("INSERT INTO Products (PKID, ProductID) VALUES (501, 'P15')");
  }
  std::vector<std::string> KeywordRefsQueries() const {
    std::vector<std::string> queries;
    for (const auto& q : connection->queries)
      if (q.find("FROM KeywordRefs") != std::string::npos) queries.push_back(q);
    return queries;
  }
};

TEST_F(KeywordRefs, StoreTheNewKeyOfTheProductWhateverTheRefType) {
  ImportSections(std::string(kProducts) +
                 R"(<KeywordRefs><KeywordRefsItem PKID="1" RefType="2" ElRef="15" Keyword="Tee"/></KeywordRefs>)");
  EXPECT_EQ(Select("SELECT RefType, ElRef, Keyword FROM KeywordRefs"), (Rows{{"2", "501", "Tee"}}));
  EXPECT_THAT(KeywordRefsQueries(), ElementsAre("SELECT * FROM KeywordRefs WHERE RefType=2 AND ElRef=15"));
}

TEST_F(KeywordRefs, LookUpTheCatalogueElRefNotTheTranslatedOne) {
  Exec("INSERT INTO KeywordRefs (RefType, ElRef, Keyword) VALUES (2, 501, 'alt')");
  ImportSections(std::string(kProducts) +
                 R"(<KeywordRefs><KeywordRefsItem PKID="5" RefType="2" ElRef="15" Keyword="neu"/></KeywordRefs>)");
  EXPECT_EQ(Select("SELECT RefType, ElRef, Keyword FROM KeywordRefs ORDER BY PKID"),
            (Rows{{"2", "501", "alt"}, {"2", "501", "neu"}}));
}

TEST_F(KeywordRefs, EndAtAnItemWhoseProductHasNoNewPkid) {
  ImportSections(
      std::string(kProducts) +
      R"(<KeywordRefs><KeywordRefsItem RefType="2" ElRef="15" Keyword="a"/><KeywordRefsItem RefType="2" ElRef="16" Keyword="b"/><KeywordRefsItem RefType="2" ElRef="15" Keyword="c"/></KeywordRefs>)");
  // The second item's new record was saved with its placeholder before the ElRef rule failed.
  EXPECT_EQ(Select("SELECT RefType, ElRef, Keyword FROM KeywordRefs ORDER BY PKID"),
            (Rows{{"2", "501", "a"}, {"2", "16", "temp"}}));
}

TEST_F(ReferenceData, KeywordRefsEndAtAnItemWithoutElRefOrWithAnUnknownProduct) {
  for (const char* item :
       {R"(<KeywordRefsItem RefType="1" Keyword="x"/>)", R"(<KeywordRefsItem RefType="1" ElRef="99" Keyword="x"/>)"}) {
    Exec("DELETE FROM KeywordRefs");
    ImportSections(std::string(kProducts) + "<KeywordRefs>" + item +
                   R"(<KeywordRefsItem RefType="2" ElRef="15" Keyword="later"/></KeywordRefs>)");
    EXPECT_EQ(Select("SELECT Keyword FROM KeywordRefs"), (Rows{{"temp"}})) << item;
  }
}

}  // namespace
}  // namespace cvimp::plugin::testing
