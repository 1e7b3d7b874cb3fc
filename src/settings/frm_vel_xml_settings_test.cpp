#include "settings/frm_vel_xml_settings.h"

#include <gtest/gtest.h>

#include <thread>

#include "common/error.h"
#include "plugin/testing/fake_host.h"

namespace cvimp::settings {
namespace {

using plugin::testing::FakeHost;
using plugin::testing::MessageCall;

const MessageCall kChooseFile{"Bitte wählen Sie eine Datei!", 48, ""};
const MessageCall kNotFound{"Datei nicht gefunden!", 48, ""};

// Records every path that the form asks FileExists about; no file exists.
struct AskedPaths {
  std::vector<std::string> paths;
};

class RecordingFileSystem : public plugin::FileSystem {
 public:
  explicit RecordingFileSystem(std::shared_ptr<AskedPaths> asked) : asked_(std::move(asked)) {}
  bool FileExists(const std::string& path) override {
    asked_->paths.push_back(path);
    return false;
  }
  bool FolderExists(const std::string&) override { return false; }
  void CreateFolder(const std::string&) override {}

 private:
  std::shared_ptr<AskedPaths> asked_;
};

class RecordingTools : public plugin::HostTools {
 public:
  explicit RecordingTools(std::shared_ptr<AskedPaths> asked) : asked_(std::move(asked)) {}
  std::shared_ptr<plugin::StringTools> GetStringTools() override { return nullptr; }
  std::shared_ptr<plugin::FileSystem> GetFileSystem() override { return std::make_shared<RecordingFileSystem>(asked_); }

 private:
  std::shared_ptr<AskedPaths> asked_;
};

class RecordingPlatform : public plugin::testing::FakePlatform {
 public:
  RecordingPlatform(std::shared_ptr<plugin::testing::FakeHostState> state, std::shared_ptr<AskedPaths> asked)
      : FakePlatform(std::move(state)), asked_(std::move(asked)) {}
  std::shared_ptr<plugin::HostTools> NewHostTools() override { return std::make_shared<RecordingTools>(asked_); }

 private:
  std::shared_ptr<AskedPaths> asked_;
};

// A platform whose window system gives the form no window.
class WindowlessPlatform : public plugin::testing::FakePlatform {
 public:
  using FakePlatform::FakePlatform;
  std::unique_ptr<SettingsView> NewSettingsView() override { return nullptr; }
};

// A platform whose host library lacks the TextCatalog class.
class NoTextCatalogPlatform : public plugin::testing::FakePlatform {
 public:
  using FakePlatform::FakePlatform;
  std::shared_ptr<plugin::TextCatalog> NewTextCatalog() override { return nullptr; }
};

class FrmVelXMLSettingsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    frmVelXMLSettings::Unload();
    host.state->texts = {{"impvelxml.page.1.infotext", "Info eins"}, {"impvelxml.page.2.infotext", "Info zwei"}};
  }
  void TearDown() override { frmVelXMLSettings::Unload(); }

  frmVelXMLSettings& Form() { return frmVelXMLSettings::DefaultInstance(host.platform); }
  // The form with the host attached and a path in the field.
  frmVelXMLSettings& FormWithPath(const std::string& path) {
    frmVelXMLSettings& form = Form();
    form.AttachHost(host.api);
    form.SetCVCatPath(path);
    return form;
  }

  FakeHost host;
};

TEST_F(FrmVelXMLSettingsTest, FreshFormHoldsTheDesignedControlState) {
  frmVelXMLSettings& form = Form();
  EXPECT_EQ(form.txtBrowseFile().Text, "");
  EXPECT_EQ(form.cmdBrowseFile().Caption, "Durchsuchen...");
  EXPECT_EQ(form.chkImportMedia().Caption, "&Medien importieren");
  EXPECT_EQ(form.chkImportMedia().Value, CheckBox::kUnchecked);
  EXPECT_TRUE(form.optUpdateMode().Value(0));
  EXPECT_FALSE(form.optUpdateMode().Value(1));
  EXPECT_FALSE(form.optUpdateMode().Value(2));
  EXPECT_EQ(form.optUpdateMode().Caption(0), "Neue Daten zufügen, bestehende aktualisieren");
  EXPECT_EQ(form.optUpdateMode().Caption(1), "Nur neue Daten zufügen");
  EXPECT_EQ(form.optUpdateMode().Caption(2), "Nur bestehende Daten aktualisieren");
  EXPECT_EQ(form.lblImport()(2).Caption, "Importquelle:");
  EXPECT_EQ(form.UpdateMode(), 0);
}

TEST_F(FrmVelXMLSettingsTest, WithoutATextCatalogTheInfoLabelsKeepTheirDesignCaptions) {
  auto platform = std::make_shared<NoTextCatalogPlatform>(host.state);
  frmVelXMLSettings& form = frmVelXMLSettings::DefaultInstance(platform);
  form.AttachHost(host.api);
  EXPECT_EQ(form.lblImport()(0).Caption, "Wählen Sie die Quelldatei, die importiert werden soll:");
  EXPECT_EQ(form.lblImport()(1).Caption, "Bestimmen Sie hier die Importart:");
  // The statements after the failing ones still ran.
  EXPECT_TRUE(form.PageChangeCancelled());
}

TEST_F(FrmVelXMLSettingsTest, FormLoadBeforeAttachHostLoadsNoTextsButGoesOn) {
  frmVelXMLSettings& form = Form();
  form.txtBrowseFile();
  EXPECT_TRUE(host.state->loaded_sources.empty());
  EXPECT_TRUE(form.PageChangeCancelled());
  EXPECT_EQ(host.state->services_fetched, 0);
}

TEST_F(FrmVelXMLSettingsTest, FormLoadReplacesTheInfoLabelsByTheHostTexts) {
  frmVelXMLSettings& form = Form();
  form.AttachHost(host.api);
  EXPECT_EQ(form.lblImport()(0).Caption, "Info eins");
  EXPECT_EQ(form.lblImport()(1).Caption, "Info zwei");
  EXPECT_EQ(form.lblImport()(2).Caption, "Importquelle:");
  EXPECT_EQ(host.state->loaded_sources, std::vector<std::string>{"de"});
}

TEST_F(FrmVelXMLSettingsTest, FormLoadsAtTheFirstTouchOfAControlNotAtAttachHost) {
  frmVelXMLSettings& form = Form();
  form.AttachHost(host.api);  // nothing stored: no control touched
  EXPECT_FALSE(form.loaded());
  EXPECT_FALSE(form.PageChangeCancelled());
  EXPECT_TRUE(host.state->loaded_sources.empty());

  EXPECT_EQ(form.picMain().hWnd(), 1234);
  EXPECT_TRUE(form.loaded());
  EXPECT_TRUE(form.PageChangeCancelled());
  EXPECT_EQ(host.state->loaded_sources, std::vector<std::string>{"de"});
  EXPECT_EQ(form.picAdvanced().hWnd(), 5678);
  EXPECT_EQ(host.state->loaded_sources.size(), 1u);
}

TEST_F(FrmVelXMLSettingsTest, TextSourceOfTheHostIsHandedToTheTextCatalog) {
  host.state->text_source = "en";
  frmVelXMLSettings& form = Form();
  form.AttachHost(host.api);
  form.txtBrowseFile();
  EXPECT_EQ(host.state->loaded_sources, std::vector<std::string>{"en"});
}

TEST_F(FrmVelXMLSettingsTest, SavedPathSurvivesANewSession) {
  host.state->saved_settings["SETTINGS"] = "<property name=\"vel-xml-path\" value=\"/data/katalog.xml\"/>";
  frmVelXMLSettings& form = Form();
  form.AttachHost(host.api);
  EXPECT_TRUE(form.loaded());
  EXPECT_EQ(form.CVCatPath(), "/data/katalog.xml");
}

TEST_F(FrmVelXMLSettingsTest, TheViewIsBoundOnceAndShowsEveryChangeTheFormMakesItself) {
  host.state->saved_settings["SETTINGS"] = "<property name=\"vel-xml-path\" value=\"/data/katalog.xml \"/>";
  host.state->dialog_answer = "/neu.xml";
  frmVelXMLSettings& form = Form();
  form.AttachHost(host.api);  // loads the form (empty field), then fills the field from the settings
  form.SaveUserSettings();     // trims the field
  form.cmdBrowseFile().Click();
  EXPECT_EQ(host.state->views_bound, 1);
  EXPECT_EQ(host.state->paths_shown,
            (std::vector<std::string>{"", "/data/katalog.xml ", "/data/katalog.xml", "/neu.xml"}));
}

TEST_F(FrmVelXMLSettingsTest, StoredSectionWithoutThePathEntryKeepsTheField) {
  host.state->saved_settings["SETTINGS"] = "<property name=\"other\" value=\"x\"/>";
  frmVelXMLSettings& form = FormWithPath("/kept.xml");
  form.LoadUserSettings();
  EXPECT_EQ(form.CVCatPath(), "/kept.xml");
}

TEST_F(FrmVelXMLSettingsTest, NothingStoredKeepsTheField) {
  frmVelXMLSettings& form = FormWithPath("/kept.xml");
  form.LoadUserSettings();
  EXPECT_EQ(form.CVCatPath(), "/kept.xml");
}

TEST_F(FrmVelXMLSettingsTest, LoadWithoutHostServicesKeepsTheField) {
  host.state->saved_settings["SETTINGS"] = "<property name=\"vel-xml-path\" value=\"/stored.xml\"/>";
  host.api->has_services = false;
  frmVelXMLSettings& form = FormWithPath("/kept.xml");
  form.LoadUserSettings();
  EXPECT_EQ(form.CVCatPath(), "/kept.xml");
}

TEST_F(FrmVelXMLSettingsTest, PageChangeCancelledIsTrueFromLoadUntilTheFirstSave) {
  frmVelXMLSettings& form = Form();
  form.AttachHost(host.api);
  form.txtBrowseFile();
  EXPECT_TRUE(form.PageChangeCancelled());
  form.SaveUserSettings();
  EXPECT_FALSE(form.PageChangeCancelled());
  form.SetPageChangeCancelled(true);
  form.SaveUserSettings();
  EXPECT_FALSE(form.PageChangeCancelled());
}

TEST_F(FrmVelXMLSettingsTest, SaveOnAnUnloadedFormLoadsItAndStillEndsWithTheFlagCleared) {
  frmVelXMLSettings& form = Form();
  form.AttachHost(host.api);
  ASSERT_FALSE(form.loaded());
  form.SaveUserSettings();
  EXPECT_TRUE(form.loaded());
  EXPECT_FALSE(form.PageChangeCancelled());
}

TEST_F(FrmVelXMLSettingsTest, SaveTrimsThePathWritesItBackAndStoresOneProperty) {
  frmVelXMLSettings& form = FormWithPath("  /data/katalog.xml  ");
  form.SaveUserSettings();
  EXPECT_EQ(form.CVCatPath(), "/data/katalog.xml");
  EXPECT_EQ(host.state->saved_settings.size(), 1u);
  EXPECT_EQ(host.state->saved_settings["SETTINGS"], "<property name=\"vel-xml-path\" value=\"/data/katalog.xml\"/>");
}

TEST_F(FrmVelXMLSettingsTest, TrimRemovesBlanksOnlyNotTabs) {
  EXPECT_EQ(TrimBlanks("  a b  "), "a b");
  EXPECT_EQ(TrimBlanks("\ta\t"), "\ta\t");
  EXPECT_EQ(TrimBlanks("    "), "");
  EXPECT_EQ(TrimBlanks(""), "");
}

TEST_F(FrmVelXMLSettingsTest, SaveWithoutHostServicesStillTrimsAndClearsTheFlag) {
  host.api->has_services = false;
  frmVelXMLSettings& form = FormWithPath(" /x.xml ");
  ASSERT_TRUE(form.PageChangeCancelled());
  form.SaveUserSettings();
  EXPECT_EQ(form.CVCatPath(), "/x.xml");
  EXPECT_FALSE(form.PageChangeCancelled());
  EXPECT_TRUE(host.state->saved_settings.empty());
}

TEST_F(FrmVelXMLSettingsTest, EmptyPathShowsOnlyTheChooseFileMessage) {
  host.state->existing_files = {""};  // even if the host said the empty path existed
  frmVelXMLSettings& form = FormWithPath("");
  EXPECT_FALSE(form.FilePathSet());
  EXPECT_EQ(host.state->messages, std::vector<MessageCall>{kChooseFile});
}

TEST_F(FrmVelXMLSettingsTest, EmptyPathOfAMissingFileStillShowsOnlyOneMessage) {
  frmVelXMLSettings& form = FormWithPath("");
  EXPECT_FALSE(form.FilePathSet());
  EXPECT_EQ(host.state->messages, std::vector<MessageCall>{kChooseFile});
}

TEST_F(FrmVelXMLSettingsTest, FileExistsIsAskedEvenForTheEmptyPath) {
  auto asked = std::make_shared<AskedPaths>();
  auto platform = std::make_shared<RecordingPlatform>(host.state, asked);
  frmVelXMLSettings& form = frmVelXMLSettings::DefaultInstance(platform);
  form.AttachHost(host.api);
  EXPECT_FALSE(form.FilePathSet());
  EXPECT_EQ(asked->paths, std::vector<std::string>{""});
  form.SetCVCatPath(" /a b.xml ");
  EXPECT_FALSE(form.FilePathSet());
  EXPECT_EQ(asked->paths, (std::vector<std::string>{"", " /a b.xml "}));
}

TEST_F(FrmVelXMLSettingsTest, BlankOnlyPathShowsFileNotFoundAndTheNextSaveStoresAnEmptyPath) {
  frmVelXMLSettings& form = FormWithPath("   ");
  EXPECT_FALSE(form.FilePathSet());
  EXPECT_EQ(host.state->messages, std::vector<MessageCall>{kNotFound});
  form.SaveUserSettings();
  EXPECT_EQ(form.CVCatPath(), "");
  EXPECT_EQ(host.state->saved_settings["SETTINGS"], "<property name=\"vel-xml-path\" value=\"\"/>");
}

TEST_F(FrmVelXMLSettingsTest, MissingFileShowsFileNotFound) {
  frmVelXMLSettings& form = FormWithPath("/nicht/da.xml");
  EXPECT_FALSE(form.FilePathSet());
  EXPECT_EQ(host.state->messages, std::vector<MessageCall>{kNotFound});
}

TEST_F(FrmVelXMLSettingsTest, ExistingFileAnswersTrueWithoutMessage) {
  host.state->existing_files = {"/data/katalog.xml"};
  frmVelXMLSettings& form = FormWithPath("/data/katalog.xml");
  EXPECT_TRUE(form.FilePathSet());
  EXPECT_TRUE(host.state->messages.empty());
}

TEST_F(FrmVelXMLSettingsTest, PathIsCheckedUntrimmed) {
  host.state->existing_files = {"/data/katalog.xml"};
  frmVelXMLSettings& form = FormWithPath("/data/katalog.xml ");
  EXPECT_FALSE(form.FilePathSet());
  EXPECT_EQ(host.state->messages, std::vector<MessageCall>{kNotFound});
}

TEST_F(FrmVelXMLSettingsTest, MissingHostServicesSuppressesBothMessagesButNotTheAnswer) {
  host.api->has_services = false;
  host.state->existing_files = {"/da.xml"};
  frmVelXMLSettings& form = FormWithPath("");
  EXPECT_FALSE(form.FilePathSet());
  form.SetCVCatPath("/fehlt.xml");
  EXPECT_FALSE(form.FilePathSet());
  form.SetCVCatPath("/da.xml");
  EXPECT_TRUE(form.FilePathSet());
  EXPECT_TRUE(host.state->messages.empty());
}

TEST_F(FrmVelXMLSettingsTest, MissingHostToolsReportsAnExistingFileAsNotFound) {
  host.platform->has_tools = false;
  host.state->existing_files = {"/da.xml"};
  frmVelXMLSettings& form = FormWithPath("/da.xml");
  EXPECT_FALSE(form.FilePathSet());
  EXPECT_EQ(host.state->messages, std::vector<MessageCall>{kNotFound});
}

TEST_F(FrmVelXMLSettingsTest, UpdateModeIsTheFirstSelectedOption) {
  frmVelXMLSettings& form = Form();
  form.optUpdateMode().SetValue(2, true);
  EXPECT_EQ(form.UpdateMode(), 2);
  EXPECT_FALSE(form.optUpdateMode().Value(0));
  form.optUpdateMode().SetValue(1, true);
  EXPECT_EQ(form.UpdateMode(), 1);
  EXPECT_FALSE(form.optUpdateMode().Value(2));
  form.optUpdateMode().SetValue(0, true);
  EXPECT_EQ(form.UpdateMode(), 0);
}

TEST_F(FrmVelXMLSettingsTest, UpdateModeWithNoOptionSelectedIsZero) {
  frmVelXMLSettings& form = Form();
  form.optUpdateMode().SetValue(2, true);
  form.optUpdateMode().SetValue(2, false);
  EXPECT_FALSE(form.optUpdateMode().Value(0));
  EXPECT_EQ(form.UpdateMode(), 0);
}

TEST_F(FrmVelXMLSettingsTest, OptionIndexOutsideTheArrayRaises) {
  frmVelXMLSettings& form = Form();
  EXPECT_EQ(form.optUpdateMode().UBound(), 2);
  try {
    form.optUpdateMode().Value(3);
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.code(), ErrorCode::kInvalidArgument);
  }
  EXPECT_THROW(form.optUpdateMode().SetValue(-1, true), Error);
  EXPECT_THROW(form.lblImport()(3), Error);
}

TEST_F(FrmVelXMLSettingsTest, BrowseOpensTheCatalogueDialogAndTakesTheChosenFile) {
  host.state->dialog_answer = "/gewählt/katalog.xml";
  frmVelXMLSettings& form = FormWithPath("  /alt/katalog.xml ");
  form.cmdBrowseFile().Click();
  ASSERT_EQ(host.state->dialogs.size(), 1u);
  const FileDialogRequest& request = host.state->dialogs[0];
  EXPECT_EQ(request.filter, "Calvora.vel 5 XML Kataloge (*.xml)|*.xml");
  EXPECT_EQ(request.initial_file, "/alt/katalog.xml");
  EXPECT_EQ(request.flags, 4096);
  EXPECT_EQ(request.owner, 1234);
  EXPECT_EQ(form.CVCatPath(), "/gewählt/katalog.xml");
}

TEST_F(FrmVelXMLSettingsTest, CancellingTheDialogKeepsThePreviousPathTrimmed) {
  frmVelXMLSettings& form = FormWithPath("  /alt/katalog.xml ");
  form.cmdBrowseFile().Click();
  ASSERT_EQ(host.state->dialogs.size(), 1u);
  EXPECT_EQ(form.CVCatPath(), "/alt/katalog.xml");
}

TEST_F(FrmVelXMLSettingsTest, BrowseWithoutAWindowKeepsThePathTrimmed) {
  auto platform = std::make_shared<WindowlessPlatform>(host.state);
  frmVelXMLSettings& form = frmVelXMLSettings::DefaultInstance(platform);
  form.SetCVCatPath(" /alt.xml ");
  form.cmdBrowseFile().Click();
  EXPECT_TRUE(host.state->dialogs.empty());
  EXPECT_EQ(form.CVCatPath(), "/alt.xml");
  EXPECT_THROW(form.picMain().hWnd(), Error);
}

TEST_F(FrmVelXMLSettingsTest, UnloadDestroysTheInstanceAndTheNextUseCreatesAFreshOne) {
  frmVelXMLSettings& form = FormWithPath("/x.xml");
  form.chkImportMedia().Value = CheckBox::kChecked;
  EXPECT_TRUE(frmVelXMLSettings::HasDefaultInstance());
  frmVelXMLSettings::Unload();
  EXPECT_FALSE(frmVelXMLSettings::HasDefaultInstance());
  frmVelXMLSettings& fresh = Form();
  EXPECT_FALSE(fresh.loaded());
  EXPECT_EQ(fresh.CVCatPath(), "");
  EXPECT_EQ(fresh.chkImportMedia().Value, CheckBox::kUnchecked);
  frmVelXMLSettings::Unload();
  frmVelXMLSettings::Unload();  // nothing left: no effect
  EXPECT_FALSE(frmVelXMLSettings::HasDefaultInstance());
}

TEST_F(FrmVelXMLSettingsTest, UnloadReleasesTheHostApiObject) {
  std::weak_ptr<plugin::HostApi> watched = host.api;
  FormWithPath("/x.xml");
  host.api.reset();
  EXPECT_FALSE(watched.expired());
  frmVelXMLSettings::Unload();
  EXPECT_TRUE(watched.expired());
}

TEST_F(FrmVelXMLSettingsTest, EachThreadHasItsOwnInstance) {
  frmVelXMLSettings& mine = FormWithPath("/mine.xml");
  const frmVelXMLSettings* other = nullptr;
  std::string other_path = "unset";
  std::thread worker([&] {
    frmVelXMLSettings& theirs = frmVelXMLSettings::DefaultInstance(host.platform);
    other = &theirs;
    other_path = theirs.CVCatPath();
    frmVelXMLSettings::Unload();
  });
  worker.join();
  EXPECT_NE(other, &mine);
  EXPECT_EQ(other_path, "");
  EXPECT_EQ(mine.CVCatPath(), "/mine.xml");
}

}  // namespace
}  // namespace cvimp::settings
