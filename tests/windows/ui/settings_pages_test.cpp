// The settings form's windows, driven through the real form model with a fake host: what the pages show,
// how they sit in the hidden form and in a wizard that takes them over, and what the user's typing and
// clicking writes into the form.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "com/win32_settings_view.h"
#include "com/automation/text_conversion.h"
#include "plugin/manager.h"
#include "plugin/testing/fake_host.h"
#include "settings/frm_vel_xml_settings.h"
#include "ui_test_support.h"

namespace cvimp::uitest {
namespace {

namespace id = com::settings_control_id;
using settings::frmVelXMLSettings;

const char kInfoMain[] = "Wählen Sie die Katalogdatei, die übernommen werden soll (Größe beliebig):";
const char kInfoAdvanced[] = "Legen Sie fest, wie bestehende Daten behandelt werden – ÄÖÜ äöü ß";

// The fake host's platform, with real windows for the form.
class WindowsPlatform : public plugin::testing::FakePlatform {
 public:
  using FakePlatform::FakePlatform;
  std::unique_ptr<settings::SettingsView> NewSettingsView() override { return com::NewWin32SettingsView(); }
};

class SettingsPagesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    frmVelXMLSettings::Unload();
    host.state->texts = {{"impvelxml.page.1.infotext", kInfoMain},
                         {"impvelxml.page.2.infotext", kInfoAdvanced},
                         {"impvelxml.page.1.title", "Katalog wählen"},
                         {"impvelxml.page.1.subtitle", "Schritt 1 – Quelldatei"},
                         {"impvelxml.page.2.title", "Optionen"},
                         {"impvelxml.page.2.subtitle", "Schritt 2 – Übernahme"}};
  }
  void TearDown() override { frmVelXMLSettings::Unload(); }

  // The form as the plug-in prepares it for the page descriptor: host attached, then the first container
  // asked for its handle.
  frmVelXMLSettings& Form() {
    frmVelXMLSettings& form = frmVelXMLSettings::DefaultInstance(platform);
    if (!form.loaded()) {
      form.AttachHost(host.api);
      pic_main = AsWindow(form.picMain().hWnd());
      pic_advanced = AsWindow(form.picAdvanced().hWnd());
    }
    return form;
  }
  HWND Main(int control) { return Control(pic_main, control); }
  HWND Advanced(int control) { return Control(pic_advanced, control); }

  plugin::testing::FakeHost host;
  std::shared_ptr<WindowsPlatform> platform = std::make_shared<WindowsPlatform>(host.state);
  HWND pic_main = nullptr;
  HWND pic_advanced = nullptr;
};

TEST_F(SettingsPagesTest, TheFirstPageShowsItsControlsWithTheirTexts) {
  frmVelXMLSettings& form = Form();
  ASSERT_TRUE(IsWindow(pic_main));
  EXPECT_EQ(Text(Main(id::kLblImport + 2)), "Importquelle:");
  EXPECT_EQ(Text(Main(id::kLblImport + 0)), kInfoMain);
  EXPECT_EQ(Text(Main(id::kTxtBrowseFile)), "");
  EXPECT_EQ(Text(Main(id::kCmdBrowseFile)), "Durchsuchen...");
  EXPECT_TRUE(HasClass(Main(id::kLblImport + 2), L"Static"));
  EXPECT_TRUE(HasClass(Main(id::kLblImport + 0), L"Static"));
  EXPECT_TRUE(HasClass(Main(id::kTxtBrowseFile), L"Edit"));
  EXPECT_TRUE(HasClass(Main(id::kCmdBrowseFile), L"Button"));
  EXPECT_EQ(form.lblImport()(0).Caption, kInfoMain);
  // Nothing else lives on the first page.
  int children = 0;
  for (HWND child = GetWindow(pic_main, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) ++children;
  EXPECT_EQ(children, 4);
}

TEST_F(SettingsPagesTest, TheSecondPageShowsTheOptionsAsDesigned) {
  Form();
  ASSERT_TRUE(IsWindow(pic_advanced));
  EXPECT_EQ(Text(Advanced(id::kLblImport + 1)), kInfoAdvanced);
  EXPECT_EQ(Text(Advanced(id::kOptUpdateMode + 0)), "Neue Daten zufügen, bestehende aktualisieren");
  EXPECT_EQ(Text(Advanced(id::kOptUpdateMode + 1)), "Nur neue Daten zufügen");
  EXPECT_EQ(Text(Advanced(id::kOptUpdateMode + 2)), "Nur bestehende Daten aktualisieren");
  EXPECT_EQ(Text(Advanced(id::kChkImportMedia)), "&Medien importieren");
  EXPECT_TRUE(IsChecked(Advanced(id::kOptUpdateMode + 0)));
  EXPECT_FALSE(IsChecked(Advanced(id::kOptUpdateMode + 1)));
  EXPECT_FALSE(IsChecked(Advanced(id::kOptUpdateMode + 2)));
  EXPECT_FALSE(IsChecked(Advanced(id::kChkImportMedia)));
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Style(Advanced(id::kOptUpdateMode + i)) & BS_TYPEMASK, BS_AUTORADIOBUTTON) << i;
    EXPECT_EQ((Style(Advanced(id::kOptUpdateMode + i)) & WS_GROUP) != 0, i == 0) << i;
  }
  EXPECT_EQ(Style(Advanced(id::kChkImportMedia)) & BS_TYPEMASK, BS_AUTOCHECKBOX);
  int children = 0;
  for (HWND child = GetWindow(pic_advanced, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) ++children;
  EXPECT_EQ(children, 5);
}

TEST_F(SettingsPagesTest, EveryControlUsesTahoma) {
  Form();
  const int main_controls[] = {id::kLblImport + 0, id::kLblImport + 2, id::kTxtBrowseFile, id::kCmdBrowseFile};
  for (int control : main_controls) EXPECT_EQ(FontFace(Main(control)), L"Tahoma") << control;
  const int advanced_controls[] = {id::kLblImport + 1, id::kOptUpdateMode, id::kOptUpdateMode + 1,
                                   id::kOptUpdateMode + 2, id::kChkImportMedia};
  for (int control : advanced_controls) EXPECT_EQ(FontFace(Advanced(control)), L"Tahoma") << control;
}

TEST_F(SettingsPagesTest, TheContainersAreChildrenOfTheHiddenForm) {
  Form();
  HWND hidden_form = GetParent(pic_main);
  ASSERT_NE(hidden_form, nullptr);
  EXPECT_EQ(GetParent(pic_advanced), hidden_form);
  EXPECT_EQ(GetAncestor(hidden_form, GA_PARENT), GetDesktopWindow());
  EXPECT_FALSE(Style(hidden_form) & WS_VISIBLE);
  EXPECT_TRUE(Style(pic_main) & WS_CHILD);
  EXPECT_TRUE(Style(pic_advanced) & WS_CHILD);
  EXPECT_EQ(ClassName(pic_main), ClassName(pic_advanced));
  EXPECT_EQ(Text(pic_main), "picMain");
  EXPECT_EQ(Text(pic_advanced), "picAdvanced");
  RECT page{};
  GetClientRect(pic_main, &page);
  EXPECT_EQ(page.right - page.left, 460);
  EXPECT_EQ(page.bottom - page.top, 250);
  // The handles are the form's own answer, every time.
  frmVelXMLSettings& form = Form();
  EXPECT_EQ(form.picMain().hWnd(), HandleOf(pic_main));
  EXPECT_EQ(form.picAdvanced().hWnd(), HandleOf(pic_advanced));
}

TEST_F(SettingsPagesTest, ThePageDescriptorNamesTheContainers) {
  plugin::Manager manager(platform);
  manager.Api(host.api);
  manager.Init("quelle", "<config/>", "");
  const std::string descriptor = manager.PagesConfig();
  frmVelXMLSettings& form = frmVelXMLSettings::DefaultInstance(platform);
  const HWND main = AsWindow(form.picMain().hWnd());
  const HWND advanced = AsWindow(form.picAdvanced().hWnd());
  EXPECT_EQ(descriptor, "<Pages><Page hwnd=\"" + std::to_string(HandleOf(main)) +
                            "\" key=\"PIC_MAIN\"><TitleText>Katalog wählen</TitleText><SubTitleText>Schritt 1 – "
                            "Quelldatei</SubTitleText></Page><Page hwnd=\"" +
                            std::to_string(HandleOf(advanced)) +
                            "\" key=\"PIC_ADVANCED\"><TitleText>Optionen</TitleText><SubTitleText>Schritt 2 – "
                            "Übernahme</SubTitleText></Page></Pages>");
  EXPECT_EQ(Text(Control(main, id::kLblImport)), kInfoMain);
  EXPECT_EQ(Text(Control(advanced, id::kLblImport + 1)), kInfoAdvanced);
  manager.Dispose();
  EXPECT_FALSE(IsWindow(main));
  EXPECT_FALSE(IsWindow(advanced));
}

TEST_F(SettingsPagesTest, TypingInThePathFieldWritesThePath) {
  frmVelXMLSettings& form = Form();
  Type(Main(id::kTxtBrowseFile), "C:\\Kataloge\\Müller & Söhne\\Übersicht.xml");
  EXPECT_EQ(form.CVCatPath(), "C:\\Kataloge\\Müller & Söhne\\Übersicht.xml");
  Type(Main(id::kTxtBrowseFile), "");
  EXPECT_EQ(form.CVCatPath(), "");
}

TEST_F(SettingsPagesTest, ClickingAnOptionSelectsTheUpdateMode) {
  frmVelXMLSettings& form = Form();
  Click(Advanced(id::kOptUpdateMode + 2));
  EXPECT_EQ(form.UpdateMode(), 2);
  EXPECT_FALSE(form.optUpdateMode().Value(0));
  EXPECT_TRUE(IsChecked(Advanced(id::kOptUpdateMode + 2)));
  EXPECT_FALSE(IsChecked(Advanced(id::kOptUpdateMode + 0)));
  Click(Advanced(id::kOptUpdateMode + 1));
  EXPECT_EQ(form.UpdateMode(), 1);
  EXPECT_FALSE(IsChecked(Advanced(id::kOptUpdateMode + 2)));
  Click(Advanced(id::kOptUpdateMode + 0));
  EXPECT_EQ(form.UpdateMode(), 0);
}

TEST_F(SettingsPagesTest, ClickingTheCheckBoxTogglesTheMediaImport) {
  frmVelXMLSettings& form = Form();
  Click(Advanced(id::kChkImportMedia));
  EXPECT_EQ(form.chkImportMedia().Value, settings::CheckBox::kChecked);
  EXPECT_TRUE(IsChecked(Advanced(id::kChkImportMedia)));
  Click(Advanced(id::kChkImportMedia));
  EXPECT_EQ(form.chkImportMedia().Value, settings::CheckBox::kUnchecked);
}

TEST_F(SettingsPagesTest, WhatTheFormChangesItselfShowsInThePathField) {
  frmVelXMLSettings& form = Form();
  form.SetCVCatPath("  D:\\Ablage\\Größen.xml  ");
  EXPECT_EQ(Text(Main(id::kTxtBrowseFile)), "  D:\\Ablage\\Größen.xml  ");
  form.SaveUserSettings();
  EXPECT_EQ(Text(Main(id::kTxtBrowseFile)), "D:\\Ablage\\Größen.xml");
  EXPECT_EQ(form.CVCatPath(), "D:\\Ablage\\Größen.xml");
  EXPECT_EQ(host.state->saved_settings["SETTINGS"],
            "<property name=\"vel-xml-path\" value=\"D:\\Ablage\\Größen.xml\"/>");
}

TEST_F(SettingsPagesTest, TheSavedPathIsInThePathFieldAfterAttachHost) {
  host.state->saved_settings["SETTINGS"] = "<property name=\"vel-xml-path\" value=\"E:\\Export\\Bücher.xml\"/>";
  frmVelXMLSettings& form = frmVelXMLSettings::DefaultInstance(platform);
  form.AttachHost(host.api);
  const HWND main = AsWindow(form.picMain().hWnd());
  EXPECT_EQ(Text(Control(main, id::kTxtBrowseFile)), "E:\\Export\\Bücher.xml");
  EXPECT_EQ(form.CVCatPath(), "E:\\Export\\Bücher.xml");
}

TEST_F(SettingsPagesTest, PagesTakenOverByTheWizardKeepWorking) {
  frmVelXMLSettings& form = Form();
  WizardWindow wizard;
  ASSERT_NE(wizard.get(), nullptr);
  SetParent(pic_main, wizard.get());
  SetParent(pic_advanced, wizard.get());
  ShowWindow(pic_advanced, SW_HIDE);
  EXPECT_EQ(GetParent(pic_main), wizard.get());
  EXPECT_TRUE(IsWindowVisible(pic_main));
  Type(Main(id::kTxtBrowseFile), "F:\\Übernahme\\katalog.xml");
  EXPECT_EQ(form.CVCatPath(), "F:\\Übernahme\\katalog.xml");

  ShowWindow(pic_main, SW_HIDE);
  ShowWindow(pic_advanced, SW_SHOW);
  EXPECT_EQ(GetParent(pic_advanced), wizard.get());
  Click(Advanced(id::kOptUpdateMode + 1));
  Click(Advanced(id::kChkImportMedia));
  EXPECT_EQ(form.UpdateMode(), 1);
  EXPECT_EQ(form.chkImportMedia().Value, settings::CheckBox::kChecked);

  // The form changing its path shows there too.
  form.SaveUserSettings();
  EXPECT_EQ(Text(Main(id::kTxtBrowseFile)), "F:\\Übernahme\\katalog.xml");

  // Unloading the form takes its pages out of the wizard.
  const HWND edit = Main(id::kTxtBrowseFile);
  frmVelXMLSettings::Unload();
  EXPECT_FALSE(IsWindow(pic_main));
  EXPECT_FALSE(IsWindow(pic_advanced));
  EXPECT_FALSE(IsWindow(edit));
  EXPECT_EQ(GetWindow(wizard.get(), GW_CHILD), nullptr);
}

TEST_F(SettingsPagesTest, UnloadDestroysEveryWindow) {
  Form();
  const HWND hidden_form = GetParent(pic_main);
  const HWND edit = Main(id::kTxtBrowseFile);
  const HWND check_box = Advanced(id::kChkImportMedia);
  frmVelXMLSettings::Unload();
  EXPECT_FALSE(IsWindow(hidden_form));
  EXPECT_FALSE(IsWindow(pic_main));
  EXPECT_FALSE(IsWindow(pic_advanced));
  EXPECT_FALSE(IsWindow(edit));
  EXPECT_FALSE(IsWindow(check_box));
  // A fresh form gets fresh windows.
  pic_main = nullptr;
  Form();
  EXPECT_TRUE(IsWindow(pic_main));
  EXPECT_TRUE(IsWindow(GetParent(pic_main)));
}

TEST_F(SettingsPagesTest, CancellingTheBrowseDialogKeepsTheTrimmedPath) {
  frmVelXMLSettings& form = Form();
  Type(Main(id::kTxtBrowseFile), "  C:\\Nicht\\vorhanden.xml ");
  DialogAnswerer cancel(L"");
  Click(Main(id::kCmdBrowseFile));
  cancel.Finish();
  EXPECT_TRUE(cancel.answered());
  EXPECT_EQ(cancel.owner(), GetParent(pic_main));
  EXPECT_EQ(Text(Main(id::kTxtBrowseFile)), "C:\\Nicht\\vorhanden.xml");
  EXPECT_EQ(form.CVCatPath(), "C:\\Nicht\\vorhanden.xml");
}

TEST_F(SettingsPagesTest, TheChosenFileLandsInThePathField) {
  wchar_t folder[MAX_PATH] = {};
  ASSERT_GT(GetTempPathW(MAX_PATH, folder), 0u);
  const std::wstring file = std::wstring(folder) + L"Katalog-Übersicht.xml";
  HANDLE created = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(created, INVALID_HANDLE_VALUE);
  CloseHandle(created);

  frmVelXMLSettings& form = Form();
  WizardWindow wizard;
  SetParent(pic_main, wizard.get());
  DialogAnswerer choose(file);
  Click(Main(id::kCmdBrowseFile));
  choose.Finish();
  EXPECT_TRUE(choose.answered());
  // The dialog belongs to the window that now holds the page.
  EXPECT_EQ(choose.owner(), wizard.get());
  EXPECT_EQ(Text(Main(id::kTxtBrowseFile)), com::Narrow(file));
  EXPECT_EQ(form.CVCatPath(), com::Narrow(file));
  DeleteFileW(file.c_str());
}

}  // namespace
}  // namespace cvimp::uitest
