#include "host/text_catalog.h"

#include <gtest/gtest.h>

#include "common/error.h"

namespace cvimp::host {
namespace {

const char* const kPageTextKeys[] = {"impvelxml.page.1.title",    "impvelxml.page.1.subtitle",
                                     "impvelxml.page.2.title",    "impvelxml.page.2.subtitle",
                                     "impvelxml.page.1.infotext", "impvelxml.page.2.infotext"};

TEST(CliTextCatalog, TheShippedLanguagesAreGermanAndEnglish) {
  EXPECT_EQ(AvailableLanguages(), (std::vector<std::string>{"de", "en"}));
  EXPECT_STREQ(kDefaultLanguage, "de");
}

TEST(CliTextCatalog, EveryLanguageHasTheSixPageTextsAndTheRegionsSwitchOff) {
  for (const std::string& language : AvailableLanguages()) {
    CliTextCatalog texts;
    texts.Load(language, 0);
    for (const char* key : kPageTextKeys) {
      const std::string text = texts.GetText(key);
      EXPECT_FALSE(text.empty()) << language << " " << key;
      // The page texts go into the page descriptor unescaped: no markup characters.
      EXPECT_EQ(text.find_first_of("<>&\""), std::string::npos) << language << " " << key;
    }
    EXPECT_EQ(texts.GetText(kRegionsSwitch), "False") << language;
  }
}

TEST(CliTextCatalog, GermanTextsComeAsWritten) {
  CliTextCatalog texts;
  texts.Load("de", 0);
  EXPECT_EQ(texts.GetText("impvelxml.page.1.title"), "Katalogdatei auswählen");
  EXPECT_EQ(texts.GetText("impvelxml.page.2.title"), "Importoptionen");
  EXPECT_EQ(texts.GetText("impvelxml.page.2.infotext"),
            "Bestimmen Sie hier, wie die Daten des Katalogs übernommen werden:");
}

TEST(CliTextCatalog, EnglishTextsComeAsWritten) {
  CliTextCatalog texts;
  texts.Load("en", 0);
  EXPECT_EQ(texts.GetText("impvelxml.page.1.title"), "Choose the catalogue file");
  EXPECT_EQ(texts.GetText("impvelxml.page.2.title"), "Import options");
}

TEST(CliTextCatalog, UnknownLanguageRaisesAndLeavesNoTexts) {
  CliTextCatalog texts;
  texts.Load("de", 0);
  try {
    texts.Load("fr", 0);
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.code(), ErrorCode::kInvalidArgument);
  }
  EXPECT_EQ(texts.GetText("impvelxml.page.1.title"), "");
  EXPECT_THROW(texts.Load("", 0), Error);
  EXPECT_THROW(texts.Load("DE", 0), Error);
}

TEST(CliTextCatalog, UnknownKeyAndUnloadedCatalogueGiveTheEmptyText) {
  CliTextCatalog texts;
  EXPECT_EQ(texts.GetText("impvelxml.page.1.title"), "");
  texts.Load("de", 0);
  EXPECT_EQ(texts.GetText("no.such.key"), "");
}

TEST(CliTextCatalog, CloseDropsTheTexts) {
  CliTextCatalog texts;
  texts.Load("de", 0);
  texts.Close();
  EXPECT_EQ(texts.GetText("impvelxml.page.1.title"), "");
}

TEST(CliTextCatalog, LoadingAnotherLanguageReplacesTheTexts) {
  CliTextCatalog texts;
  texts.Load("de", 0);
  texts.Load("en", 0);
  EXPECT_EQ(texts.GetText("impvelxml.page.2.title"), "Import options");
}

TEST(CliTextCatalog, OverrideSwitchesTheRegionsImportOnInEveryLanguage) {
  CliTextCatalog texts(TextOverrides{{kRegionsSwitch, "True"}});
  EXPECT_EQ(texts.GetText(kRegionsSwitch), "True");
  texts.Load("de", 0);
  EXPECT_EQ(texts.GetText(kRegionsSwitch), "True");
  texts.Load("en", 0);
  EXPECT_EQ(texts.GetText(kRegionsSwitch), "True");
  EXPECT_EQ(texts.GetText("impvelxml.page.2.title"), "Import options");
}

}  // namespace
}  // namespace cvimp::host
