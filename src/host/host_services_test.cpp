#include "host/host_services.h"

#include <gtest/gtest.h>

#include <sstream>

#include "common/error.h"
#include "host/test_temp_folder.h"

namespace cvimp::host {
namespace {

using testing::TempFolder;

struct Shown {
  std::vector<std::tuple<std::int32_t, std::int32_t, std::string>> progress;
  std::vector<std::tuple<std::string, std::int32_t, std::string>> messages;
};

class RecordingDisplay : public Display {
 public:
  explicit RecordingDisplay(Shown& shown) : shown_(shown) {}
  void Progress(std::int32_t maximum, std::int32_t position, const std::string& text) override {
    shown_.progress.emplace_back(maximum, position, text);
  }
  void Message(const std::string& text, std::int32_t style, const std::string& title) override {
    shown_.messages.emplace_back(text, style, title);
  }

 private:
  Shown& shown_;
};

class CliHostServicesTest : public ::testing::Test {
 protected:
  TempFolder temp;
  Shown shown;
  std::shared_ptr<SettingsStore> store = std::make_shared<SettingsStore>(temp.path());
  CliHostServices services{std::make_shared<RecordingDisplay>(shown), store};
};

TEST_F(CliHostServicesTest, ProgressGoesToTheDisplay) {
  services.ShowProgress(0, 0, "Starte Import...", 0);
  services.ShowProgress(12, 3, "", 0);
  EXPECT_EQ(shown.progress, (std::vector<std::tuple<std::int32_t, std::int32_t, std::string>>{
                                {0, 0, "Starte Import..."}, {12, 3, ""}}));
}

TEST_F(CliHostServicesTest, MessageGoesToTheDisplayAndIsAnsweredWithOk) {
  EXPECT_EQ(services.ShowMessage("Datei nicht gefunden!", 48, ""), 1);
  EXPECT_EQ(shown.messages,
            (std::vector<std::tuple<std::string, std::int32_t, std::string>>{{"Datei nicht gefunden!", 48, ""}}));
}

TEST_F(CliHostServicesTest, SettingsGoThroughTheStore) {
  services.SaveSettings("SETTINGS", services.FormatProperty("vel-xml-path", "/a&b.xml"));
  EXPECT_TRUE(std::filesystem::is_regular_file(temp.path() / "settings.xml"));
  std::shared_ptr<const catalog::Document> loaded = services.LoadSettings("SETTINGS");
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(loaded->DocumentElement().SelectSingleNode("property[@name='vel-xml-path']/@value").Text(), "/a&b.xml");
  EXPECT_EQ(services.LoadSettings("OTHER"), nullptr);
}

TEST_F(CliHostServicesTest, FormatPropertyEscapes) {
  EXPECT_EQ(services.FormatProperty("n", "<'&\">"), "<property name=\"n\" value=\"&lt;&apos;&amp;&quot;&gt;\"/>");
}

TEST_F(CliHostServicesTest, TextSourceIsTheLanguageGermanUnlessGiven) {
  EXPECT_EQ(services.TextSource(), "de");
  CliHostServices english(nullptr, nullptr, "en");
  EXPECT_EQ(english.TextSource(), "en");
}

TEST(CliHostServicesWithoutParts, DisplayAndStoreThatAreMissingRaise) {
  CliHostServices services(nullptr, nullptr);
  EXPECT_THROW(services.ShowProgress(0, 0, "x", 0), Error);
  EXPECT_THROW(services.ShowMessage("x", 48, ""), Error);
  EXPECT_THROW(services.SaveSettings("SETTINGS", ""), Error);
  EXPECT_THROW(services.LoadSettings("SETTINGS"), Error);
  EXPECT_EQ(services.FormatProperty("a", "b"), "<property name=\"a\" value=\"b\"/>");
}

TEST(PlainDisplay, StatusLinesOnlyOnePerLine) {
  std::ostringstream status, messages;
  PlainDisplay display(status, messages);
  display.Progress(0, 0, "Initialisiere Import...");
  display.Progress(10, 1, "Produkt 1");
  display.Progress(0, 0, "Starte Import...");
  EXPECT_EQ(status.str(), "Initialisiere Import...\nStarte Import...\n");
  EXPECT_EQ(messages.str(), "");
}

TEST(PlainDisplay, MessagesOnTheirOwnStreamWithTheirTitle) {
  std::ostringstream status, messages;
  PlainDisplay display(status, messages);
  display.Message("Datei nicht gefunden!", 48, "");
  display.Message("Text", 0, "Titel");
  EXPECT_EQ(messages.str(), "Datei nicht gefunden!\nTitel: Text\n");
  EXPECT_EQ(status.str(), "");
}

}  // namespace
}  // namespace cvimp::host
