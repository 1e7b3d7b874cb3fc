// The record import pattern on its own: a table import declared here, run over a catalogue that the run
// loaded, against a real shop database.
#include "importers/record_import.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/error.h"
#include "common/testing/raised_code.h"
#include "plugin/testing/import_fixture.h"

namespace cvimp::plugin::testing {
namespace {

using importers::KeyPart;
using importers::RunTableImport;
using importers::TableImport;
using ::testing::ElementsAre;

class RecordImport : public ImportFixture {
 protected:
  // Loads the catalogue through a run (whose importers do not read these sections) in the given mode.
  void Load(const std::string& sections, int mode = 0) { ImportSections(sections, mode); }

  static TableImport Media(ErrorRegime on_error = ErrorRegime::EndAtFirstError()) {
    return {.section = "Media",
            .start_text = "Medien",
            .key = {KeyPart::Text("Src")},
            .skipped = {"PKID"},
            .on_error = on_error};
  }
};

TEST_F(RecordImport, CopyFieldConvertsByTheFieldsType) {
  Load(
      R"(<Media><MediaItem Src="a.png" MediaTypeFKID="image" RefCounter="2.5" PublishAlways="True" IsReferenced="0" LastModifiedDate="2024-02-29 12:00" Title="Bild" FileSize="3.5"/></Media>)");
  RunTableImport(*manager, Media());
  EXPECT_EQ(
      Select("SELECT Src, MediaTypeFKID, RefCounter, PublishAlways, LastModifiedDate, Title, FileSize FROM Media"),
      (Rows{{"a.png", "image", "2", "True", "2024-02-29 12:00:00", "Bild", "4"}}));
}

TEST_F(RecordImport, AnEmptyAttributeGivesTheSameDefaultsAsAMissingOne) {
  Load(
      R"(<Media><MediaItem Src="a" RefCounter="" Title="" PublishAlways="0" IsReferenced="0" LastModifiedDate="2024-01-01"/></Media>)");
  RunTableImport(*manager, Media());
  EXPECT_EQ(Select("SELECT RefCounter, Title, FileSize FROM Media"), (Rows{{"0", "", "0"}}));
}

TEST_F(RecordImport, LongTextFieldsTakeTheNodeValueOfTheirChildElementWhichIsEmpty) {
  Load(
      R"(<PageData><PageDataItem ElType="1" ElRef="4"><Comments>Kommentar</Comments><Markup>m</Markup><HeadMarkup>h</HeadMarkup></PageDataItem></PageData>)");
  RunTableImport(*manager, {.section = "PageData",
                            .key = {KeyPart::Number("ElType", 16), KeyPart::Number("ElRef")},
                            .skipped = {"PKID", "ScheduleFrom", "ScheduleTo", "FirstStagedDate", "LastStagedDate",
                                        "IncludeBackRefs"},
                            .on_error = ErrorRegime::EndAtFirstError(),
                            .create = [](importers::Item& item) {
                              item.recordset().AddNew();
                              item.recordset().SetValue("ElType", item.key_value(0));
                              item.recordset().SetValue("ElRef", item.key_value(1));
                            }});
  EXPECT_EQ(Select("SELECT ElType, ElRef, Comments, Markup, HeadMarkup FROM PageData"), (Rows{{"1", "4", "", "", ""}}));
  EXPECT_EQ(connection->queries.back(), "SELECT * FROM PageData WHERE ElType=1 AND ElRef=4");
}

TEST_F(RecordImport, AMissingLongTextChildEndsTheImporter) {
  Load(R"(<PageData><PageDataItem ElType="1" ElRef="4"/></PageData>)");
  TableImport import{.section = "PageData",
                     .key = {KeyPart::Number("ElType", 16), KeyPart::Number("ElRef")},
                     .skipped = {"PKID"},
                     .on_error = ErrorRegime::EndAtFirstError(),
                     .create = [](importers::Item& item) {
                       item.recordset().AddNew();
                       item.recordset().SetValue("ElType", item.key_value(0));
                       item.recordset().SetValue("ElRef", item.key_value(1));
                     }};
  EXPECT_THROW(RunTableImport(*manager, import), Error);
}

TEST_F(RecordImport, AMissingDateEndsTheImporterAtThatItemWithTheRecordsetLeftOpen) {
  Load(
      R"(<Media><MediaItem Src="a" LastModifiedDate="2024-01-01" PublishAlways="0" IsReferenced="0"/><MediaItem Src="b" PublishAlways="0" IsReferenced="0"/><MediaItem Src="c" LastModifiedDate="2024-01-01" PublishAlways="0" IsReferenced="0"/></Media>)");
  EXPECT_THROW(RunTableImport(*manager, Media()), Error);
  // "b" was created with its key, then the copy failed on the empty date: it stays with its key only.
  EXPECT_EQ(Select("SELECT Src, LastModifiedDate FROM Media ORDER BY PKID"),
            (Rows{{"a", "2024-01-01 00:00:00"}, {"b", "NULL"}}));
  ASSERT_NE(manager->working_recordset(), nullptr);
  EXPECT_TRUE(manager->working_recordset()->IsOpen());
}

TEST_F(RecordImport, AnImporterEndedByAnErrorMakesTheNextOneEndAtItsFirstItem) {
  Load(
      R"(<Media><MediaItem Src="b" PublishAlways="0" IsReferenced="0"/></Media><Keywords><KeywordsItem PKID="1" Keyword="x"/></Keywords>)");
  Exec("DELETE FROM Keywords");  // the run imported it; this test runs the importer again on its own
  EXPECT_THROW(RunTableImport(*manager, Media()), Error);
  host.state->progress.clear();
  EXPECT_EQ(cvimp::testing::RaisedCode([&] { manager->ImportKeywords(); }), ErrorCode::kOpen);
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Keywords"), (Rows{{"0"}}));
  EXPECT_THAT(host.state->progress, ElementsAre(ProgressCall{1, 1, ""}));
  EXPECT_EQ(manager->last_sql(), "SELECT * FROM Keywords WHERE Keyword='x'");
  // NewPKID was preset before the open failed.
  EXPECT_EQ(NewPkid("CalvoraCatalog/Keywords/KeywordsItem"), Value("1"));
}

TEST_F(RecordImport, ARoutineThatSkipsFailingStatementsGoesOnAfterAFailingField) {
  Load(
      R"(<Media><MediaItem Src="a" LastModifiedDate="2024-01-01" PublishAlways="0" IsReferenced="0"/><MediaItem Src="b" PublishAlways="0" IsReferenced="0"/><MediaItem Src="c" LastModifiedDate="2024-01-01" PublishAlways="0" IsReferenced="0"/></Media>)");
  RunTableImport(*manager, Media(ErrorRegime::SkipFailingStatements()));
  EXPECT_EQ(Select("SELECT Src, LastModifiedDate FROM Media ORDER BY PKID"),
            (Rows{{"a", "2024-01-01 00:00:00"}, {"b", "NULL"}, {"c", "2024-01-01 00:00:00"}}));
  EXPECT_FALSE(manager->working_recordset()->IsOpen());
}

TEST_F(RecordImport, TheLookupStatementQuotesTextAndWritesNumbersBare) {
  Load("<Other/>");
  TableImport import{
      .section = "Discounts",
      .key = {KeyPart::Text("Name"), KeyPart::Number("DiscountType", 16), KeyPart::Number("ProductFKID")},
      .on_error = ErrorRegime::EndAtFirstError()};
  EXPECT_EQ(importers::LookupStatement(*manager, import, {Value("O'Neil"), Value(std::int16_t{2}), Value(17)}),
            "SELECT * FROM Discounts WHERE Name='O''Neil' AND DiscountType=2 AND ProductFKID=17");
}

TEST_F(RecordImport, ANumberKeyBeyondSixteenBitsIsAnOverflow) {
  Load(R"(<KeywordRefs><KeywordRefsItem RefType="40000" ElRef="1"/></KeywordRefs>)");
  EXPECT_EQ(cvimp::testing::RaisedCode([&] { manager->ImportKeywordRefs(); }), ErrorCode::kOverflow);
}

TEST_F(RecordImport, WithoutHostServicesAnImporterEndsAtItsStartText) {
  Load(R"(<Currencies><CurrenciesItem PKID="1" ISOCode="EUR"/></Currencies>)");
  Exec("DELETE FROM Currencies");
  host.api->has_services = false;
  EXPECT_THROW(manager->ImportCurrencies(), Error);
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Currencies"), (Rows{{"0"}}));
}

}  // namespace
}  // namespace cvimp::plugin::testing
