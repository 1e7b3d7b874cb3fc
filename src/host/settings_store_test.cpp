#include "host/settings_store.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "common/error.h"
#include "common/testing/raised_code.h"
#include "host/test_temp_folder.h"

namespace cvimp::host {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;

const char* const kPathXPath = "property[@name='vel-xml-path']/@value";

std::string ReadAll(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

using cvimp::testing::RaisedCode;

class SettingsStoreTest : public ::testing::Test {
 protected:
  TempFolder temp;
  SettingsStore store{temp.path() / "config" / "cvimport"};
};

TEST_F(SettingsStoreTest, SavedSectionIsLoadedAsTheDocumentElementOfANewDocument) {
  store.Save("SETTINGS", SettingsStore::FormatProperty("vel-xml-path", "/data/mein katalog.xml"));
  std::shared_ptr<const catalog::Document> loaded = store.Load("SETTINGS");
  ASSERT_NE(loaded, nullptr);
  catalog::Node section = loaded->DocumentElement();
  EXPECT_EQ(section.Name(), "section");
  EXPECT_EQ(section.AttributeText("name"), "SETTINGS");
  EXPECT_EQ(section.SelectSingleNode(kPathXPath).Text(), "/data/mein katalog.xml");
}

TEST_F(SettingsStoreTest, FirstSaveCreatesTheFolderAndTheFile) {
  ASSERT_FALSE(fs::exists(temp.path() / "config"));
  store.Save("SETTINGS", "");
  EXPECT_TRUE(fs::is_regular_file(temp.path() / "config" / "cvimport" / "settings.xml"));
  EXPECT_EQ(store.file(), temp.path() / "config" / "cvimport" / "settings.xml");
}

TEST_F(SettingsStoreTest, FileHoldsOneElementPerSection) {
  store.Save("SETTINGS", "<property name=\"a\" value=\"1\"/>");
  EXPECT_EQ(ReadAll(store.file()),
            "<?xml version=\"1.0\"?><settings><section name=\"SETTINGS\"><property name=\"a\" value=\"1\"/>"
            "</section></settings>\n");
}

TEST_F(SettingsStoreTest, NothingStoredLoadsAsNothing) {
  EXPECT_EQ(store.Load("SETTINGS"), nullptr);
  store.Save("OTHER", "<property name=\"a\" value=\"1\"/>");
  EXPECT_EQ(store.Load("SETTINGS"), nullptr);
  EXPECT_NE(store.Load("OTHER"), nullptr);
}

TEST_F(SettingsStoreTest, EmptySettingsLoadAsAnEmptySection) {
  store.Save("SETTINGS", "");
  std::shared_ptr<const catalog::Document> loaded = store.Load("SETTINGS");
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(loaded->DocumentElement().ChildNodes().size(), 0u);
  EXPECT_TRUE(loaded->DocumentElement().SelectSingleNode(kPathXPath).empty());
}

TEST_F(SettingsStoreTest, SaveReplacesTheWholeContentOfTheSection) {
  store.Save("SETTINGS", "<property name=\"a\" value=\"1\"/><property name=\"b\" value=\"2\"/>");
  store.Save("SETTINGS", "<property name=\"c\" value=\"3\"/>");
  std::shared_ptr<const catalog::Document> loaded = store.Load("SETTINGS");
  ASSERT_NE(loaded, nullptr);
  catalog::NodeList properties = loaded->DocumentElement().SelectNodes("property");
  ASSERT_EQ(properties.size(), 1u);
  EXPECT_EQ(properties[0].AttributeText("name"), "c");
}

TEST_F(SettingsStoreTest, OtherSectionsStayAsTheyWere) {
  store.Save("A", "<property name=\"x\" value=\"a\"/>");
  store.Save("B", "<property name=\"x\" value=\"b\"/>");
  store.Save("A", "<property name=\"x\" value=\"a2\"/>");
  EXPECT_EQ(store.Load("A")->DocumentElement().SelectSingleNode("property/@value").Text(), "a2");
  EXPECT_EQ(store.Load("B")->DocumentElement().SelectSingleNode("property/@value").Text(), "b");
}

TEST_F(SettingsStoreTest, AnotherStoreOnTheSameFolderReadsWhatWasSaved) {
  store.Save("SETTINGS", SettingsStore::FormatProperty("vel-xml-path", "/k.xml"));
  SettingsStore later(temp.path() / "config" / "cvimport");
  EXPECT_EQ(later.Load("SETTINGS")->DocumentElement().SelectSingleNode(kPathXPath).Text(), "/k.xml");
}

TEST_F(SettingsStoreTest, FragmentThatIsNotWellFormedIsRefusedAndTheFileIsUntouched) {
  store.Save("SETTINGS", "<property name=\"a\" value=\"1\"/>");
  const std::string before = ReadAll(store.file());
  EXPECT_EQ(RaisedCode([&] { store.Save("SETTINGS", "<property name=\"a\""); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { store.Save("SETTINGS", "</section><section name=\"X\">"); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { store.Save("SETTINGS", "<a></b>"); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(ReadAll(store.file()), before);
}

TEST_F(SettingsStoreTest, RefusedFirstSaveCreatesNoFile) {
  EXPECT_THROW(store.Save("SETTINGS", "<open>"), Error);
  EXPECT_FALSE(fs::exists(store.file()));
}

TEST_F(SettingsStoreTest, SettingsFileThatIsNotWellFormedIsNeitherReadNorOverwritten) {
  fs::create_directories(store.file().parent_path());
  std::ofstream(store.file()) << "<settings><section name=\"SETTINGS\">";
  EXPECT_EQ(RaisedCode([&] { store.Load("SETTINGS"); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { store.Save("SETTINGS", ""); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(ReadAll(store.file()), "<settings><section name=\"SETTINGS\">");
}

TEST_F(SettingsStoreTest, SaveLeavesNoTemporaryFileBehind) {
  store.Save("SETTINGS", "<property name=\"a\" value=\"1\"/>");
  store.Save("SETTINGS", "<property name=\"a\" value=\"2\"/>");
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(store.file().parent_path()))
    names.push_back(entry.path().filename().string());
  EXPECT_EQ(names, std::vector<std::string>{"settings.xml"});
}

TEST_F(SettingsStoreTest, SaveWhereNoFolderCanBeMadeRaises) {
  std::ofstream(temp.path() / "plain-file") << "x";
  SettingsStore blocked(temp.path() / "plain-file" / "cvimport");
  EXPECT_EQ(RaisedCode([&] { blocked.Save("SETTINGS", ""); }), ErrorCode::kDatabase);
}

TEST_F(SettingsStoreTest, FormatPropertyEscapesAllFiveMarkupCharactersInBothValues) {
  EXPECT_EQ(SettingsStore::FormatProperty("a&b<c>", "\"x\" & 'y' <z>"),
            "<property name=\"a&amp;b&lt;c&gt;\" value=\"&quot;x&quot; &amp; &apos;y&apos; &lt;z&gt;\"/>");
  EXPECT_EQ(SettingsStore::FormatProperty("vel-xml-path", "/data/k.xml"),
            "<property name=\"vel-xml-path\" value=\"/data/k.xml\"/>");
}

TEST_F(SettingsStoreTest, EscapedValuesComeBackAsTheyWere) {
  const std::string value = "C:\\Kataloge\\\"neu\" & 'alt' <1>\tzwei\nZeilen äöü";
  store.Save("SETTINGS", SettingsStore::FormatProperty("vel-xml-path", value));
  EXPECT_EQ(
      SettingsStore(store.file().parent_path()).Load("SETTINGS")->DocumentElement().SelectSingleNode(kPathXPath).Text(),
      value);
}

TEST(SettingsStoreFolder, XdgConfigHomeWhenAbsolute) {
  EXPECT_EQ(SettingsStore::FolderFor("/xdg", "/home/u"), fs::path("/xdg/cvimport"));
}

TEST(SettingsStoreFolder, HomeConfigWhenXdgConfigHomeIsUnsetEmptyOrRelative) {
  EXPECT_EQ(SettingsStore::FolderFor(std::nullopt, "/home/u"), fs::path("/home/u/.config/cvimport"));
  EXPECT_EQ(SettingsStore::FolderFor("", "/home/u"), fs::path("/home/u/.config/cvimport"));
  EXPECT_EQ(SettingsStore::FolderFor("rel/dir", "/home/u"), fs::path("/home/u/.config/cvimport"));
}

TEST(SettingsStoreFolder, NeitherVariableRaises) {
  EXPECT_THROW(SettingsStore::FolderFor(std::nullopt, std::nullopt), Error);
  EXPECT_THROW(SettingsStore::FolderFor("relative", ""), Error);
}

TEST(SettingsStoreFolder, DefaultFolderEndsInCvimport) {
  EXPECT_EQ(SettingsStore::DefaultFolder().filename(), "cvimport");
}

}  // namespace
}  // namespace cvimp::host
