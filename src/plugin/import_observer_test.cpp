// The events an import observer hears, on small catalogues against the in-memory shop database.
#include "plugin/import_observer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plugin/import_run.h"
#include "plugin/testing/import_fixture.h"
#include "plugin/testing/recording_observer.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;

class ImportObserverTest : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    manager->set_observer(&observer);
  }
  // A catalogue with one item or section per line, so that items have lines of their own.
  std::string Lines(const std::vector<std::string>& lines) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CalvoraCatalog>\n";
    for (const std::string& line : lines) text += line + "\n";
    return WriteCatalog(text + "</CalvoraCatalog>\n");
  }
  RecordingObserver observer;
};

TEST_F(ImportObserverTest, EveryImporterOfTheRunStartsAndFinishesInTheRunsOrder) {
  Import(Lines({"<Currencies><CurrenciesItem PKID=\"1\" ISOCode=\"EUR\" Name=\"Euro\"/></Currencies>"}));
  std::vector<std::string> expected;
  for (const ImportStep& step : ImportSteps()) {
    if (step.section.empty() || step.section == "Media" || step.section == "Element2Media" || step.section == "Regions")
      continue;  // status lines; media and regions are switched off
    const std::string section(step.section);
    expected.push_back("started " + section + (section == "Currencies" ? " 1" : " 0"));
    if (section == "Currencies") expected.push_back("created Currencies ISOCode=EUR");
    expected.push_back("finished " + section);
  }
  EXPECT_EQ(observer.events, expected);
}

TEST_F(ImportObserverTest, ModeOneLeavesAnExistingRecordAloneAndCreatesAMissingOne) {
  Exec("INSERT INTO Currencies (ISOCode, Name) VALUES ('EUR', 'alt')");
  Import(Lines({"<Currencies>", "<CurrenciesItem ISOCode=\"EUR\" Name=\"Euro\"/>",
                "<CurrenciesItem ISOCode=\"CHF\" Name=\"Franken\"/>", "</Currencies>"}),
         1);
  EXPECT_THAT(observer.About("Currencies"), ElementsAre("started Currencies 2", "left alone Currencies ISOCode=EUR",
                                                        "created Currencies ISOCode=CHF", "finished Currencies"));
}

TEST_F(ImportObserverTest, ModeTwoUpdatesAnExistingRecordAndPassesOverAMissingOne) {
  Exec("INSERT INTO Currencies (ISOCode, Name) VALUES ('EUR', 'alt')");
  Import(Lines({"<Currencies>", "<CurrenciesItem ISOCode=\"EUR\" Name=\"Euro\"/>",
                "<CurrenciesItem ISOCode=\"CHF\" Name=\"Franken\"/>", "</Currencies>"}),
         2);
  EXPECT_THAT(observer.About("Currencies"), ElementsAre("started Currencies 2", "updated Currencies ISOCode=EUR",
                                                        "passed over Currencies ISOCode=CHF", "finished Currencies"));
  EXPECT_EQ(Select("SELECT ISOCode, Name FROM Currencies"), (Rows{{"EUR", "Euro"}}));
}

TEST_F(ImportObserverTest, AnImporterEndedByAnErrorIsReportedWithItsItemKeyLineAndStatement) {
  const std::string too_long(256, 'x');
  Import(Lines({"<Currencies>", "<CurrenciesItem ISOCode=\"EUR\" Name=\"Euro\"/>",
                "<CurrenciesItem ISOCode=\"CHF\" Name=\"" + too_long + "\"/>", "</Currencies>",
                "<DeliveryTimes><DeliveryTimesItem Name=\"2 Tage\"/></DeliveryTimes>"}));
  EXPECT_THAT(observer.About("Currencies"),
              ElementsAre("started Currencies 2", "created Currencies ISOCode=EUR", "created Currencies ISOCode=CHF",
                          "ended Currencies 2 [ISOCode=CHF] line 5 {field Name} 6: Overflow: field Name "
                          "(VARCHAR(255)) cannot take \"" +
                              too_long + "\": longer than 255 characters (256)"));
  // The record set left open ends the next importer at its first item.
  EXPECT_THAT(observer.About("DeliveryTimes"),
              ElementsAre("started DeliveryTimes 1",
                          "ended DeliveryTimes 1 [Name=2 Tage] line 7 {SELECT * FROM DeliveryTimes WHERE Name='2 "
                          "Tage'} 3705: Operation is not allowed when the object is open."));
}

TEST_F(ImportObserverTest, ATolerantImporterReportsEachSkippedStatementAndGoesOn) {
  const std::string too_long(256, 'x');
  Import(Lines({"<Products>", "<ProductsItem PKID=\"1\" ProductID=\"A\" Price=\"1\" Name=\"" + too_long + "\"/>",
                "<ProductsItem PKID=\"2\" ProductID=\"B\" Price=\"2\" Name=\"Kanne\"/>", "</Products>"}));
  const std::vector<std::string> about = observer.About("Products");
  ASSERT_EQ(about.size(), 5u);
  EXPECT_EQ(about[0], "started Products 2");
  EXPECT_EQ(about[1], "created Products ProductID=A");
  EXPECT_EQ(about[2],
            "skipped Products 1 [ProductID=A] line 4 {field Name} 6: Overflow: field Name (VARCHAR(255)) "
            "cannot take \"" +
                too_long + "\": longer than 255 characters (256)");
  EXPECT_EQ(about[3], "created Products ProductID=B");
  EXPECT_EQ(about[4], "finished Products");
  EXPECT_EQ(Select("SELECT ProductID, Name FROM Products"), (Rows{{"A", "NULL"}, {"B", "Kanne"}}));
}

TEST_F(ImportObserverTest, PageDataWrittenForAnElementIsReportedUnderItsOwnTable) {
  Import(Lines({"<Categories><CategoriesItem PKID=\"7\" ID=\"TEE\" Name=\"Tee\" IsHidden=\"0\"/></Categories>",
                "<PageData><PageDataItem PKID=\"1\" ElType=\"1\" ElRef=\"7\" Title=\"Tee\"/></PageData>"}));
  EXPECT_THAT(observer.About("Categories"),
              ElementsAre("started Categories 1", "created Categories ID=TEE", "finished Categories"));
  EXPECT_THAT(observer.About("PageData"), ElementsAre("created PageData ElType=1, ElRef=7"));
}

TEST_F(ImportObserverTest, AnElementWithoutPageDataInTheCatalogueGetsItsRecordWithoutSkippedStatements) {
  Import(Lines({"<Products><ProductsItem PKID=\"3\" ProductID=\"A\" Name=\"Tee\" Price=\"0\"/></Products>"}));
  EXPECT_THAT(observer.About("Products"),
              ElementsAre("started Products 1", "created Products ProductID=A", "finished Products"));
  EXPECT_THAT(observer.About("PageData"), ElementsAre("created PageData ElType=2, ElRef=3"));
}

TEST_F(ImportObserverTest, ATreeImporterReportsItsItemsLikeThePattern) {
  Exec("INSERT INTO Categories (ID, Name) VALUES ('TEE', 'alt')");
  Import(Lines({"<Categories>", "<CategoriesItem PKID=\"7\" ID=\"TEE\" Name=\"Tee\" IsHidden=\"0\"/>",
                "<CategoriesItem PKID=\"8\" ID=\"GRUEN\" Name=\"Gruen\" ParentCategoryFKID=\"7\"/>", "</Categories>"}),
         2);
  EXPECT_THAT(observer.About("Categories"), ElementsAre("started Categories 2", "updated Categories ID=TEE",
                                                        "passed over Categories ID=GRUEN", "finished Categories"));
}

TEST_F(ImportObserverTest, WithoutAnObserverTheManagerHasNoTracker) {
  manager->set_observer(nullptr);
  EXPECT_EQ(manager->tracker(), nullptr);
  Import(Lines({"<Currencies><CurrenciesItem ISOCode=\"EUR\"/></Currencies>"}));
  EXPECT_TRUE(observer.events.empty());
  EXPECT_EQ(Select("SELECT ISOCode FROM Currencies"), (Rows{{"EUR"}}));
}

}  // namespace
}  // namespace cvimp::plugin::testing
