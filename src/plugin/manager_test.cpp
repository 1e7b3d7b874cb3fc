#include "plugin/manager.h"

#include <gtest/gtest.h>

#include "plugin/testing/fake_host.h"
#include "settings/frm_vel_xml_settings.h"

namespace cvimp::plugin {
namespace {

using settings::frmVelXMLSettings;
using testing::FakeHost;
using testing::MessageCall;

const char* const kDescriptor =
    "<Pages><Page hwnd=\"1234\" key=\"PIC_MAIN\"><TitleText>T1</TitleText><SubTitleText>S1</SubTitleText></Page>"
    "<Page hwnd=\"5678\" key=\"PIC_ADVANCED\"><TitleText>T2</TitleText><SubTitleText>S2</SubTitleText></Page>"
    "</Pages>";

class ManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    frmVelXMLSettings::Unload();
    host.state->texts = {{"impvelxml.page.1.title", "T1"},
                         {"impvelxml.page.1.subtitle", "S1"},
                         {"impvelxml.page.2.title", "T2"},
                         {"impvelxml.page.2.subtitle", "S2"}};
  }
  void TearDown() override { frmVelXMLSettings::Unload(); }

  std::unique_ptr<Manager> NewManager() {
    auto manager = std::make_unique<Manager>(host.platform);
    manager->Api(host.api);
    return manager;
  }
  std::unique_ptr<Manager> InitialisedManager() {
    auto manager = NewManager();
    manager->Init("source", "<config/>", "<user/>");
    return manager;
  }

  FakeHost host;
};

TEST_F(ManagerTest, NewManagerHoldsNothing) {
  Manager manager(host.platform);
  EXPECT_FALSE(manager.initialised());
  EXPECT_FALSE(manager.import_started());
  EXPECT_FALSE(manager.cancel_requested());
  EXPECT_EQ(manager.host_api(), nullptr);
  EXPECT_EQ(manager.catalog_document(), nullptr);
  EXPECT_EQ(manager.working_recordset(), nullptr);
  EXPECT_EQ(manager.update_mode(), 0);
  EXPECT_EQ(manager.data_source_id(), "");
  EXPECT_EQ(manager.last_sql(), "");
  EXPECT_FALSE(frmVelXMLSettings::HasDefaultInstance());
}

TEST_F(ManagerTest, ApiStoresTheHostApiObject) {
  auto manager = NewManager();
  EXPECT_EQ(manager->host_api(), host.api);
}

TEST_F(ManagerTest, PageDescriptorHasTheExactShape) {
  auto manager = InitialisedManager();
  EXPECT_EQ(manager->PagesConfig(), kDescriptor);
}

TEST_F(ManagerTest, PageDescriptorTakesTheHandlesOfTheTwoContainers) {
  host.state->pic_main = 7;
  host.state->pic_advanced = 4294967296;
  auto manager = InitialisedManager();
  EXPECT_EQ(manager->PagesConfig(),
            "<Pages><Page hwnd=\"7\" key=\"PIC_MAIN\"><TitleText>T1</TitleText><SubTitleText>S1</SubTitleText>"
            "</Page><Page hwnd=\"4294967296\" key=\"PIC_ADVANCED\"><TitleText>T2</TitleText><SubTitleText>S2"
            "</SubTitleText></Page></Pages>");
}

TEST_F(ManagerTest, PageDescriptorInsertsTheTextsWithoutEscaping) {
  host.state->texts["impvelxml.page.1.title"] = "Datei & <b>Quelle</b>";
  host.state->texts["impvelxml.page.2.subtitle"] = "\"Optionen\"";
  auto manager = InitialisedManager();
  EXPECT_EQ(manager->PagesConfig(),
            "<Pages><Page hwnd=\"1234\" key=\"PIC_MAIN\"><TitleText>Datei & <b>Quelle</b></TitleText>"
            "<SubTitleText>S1</SubTitleText></Page><Page hwnd=\"5678\" key=\"PIC_ADVANCED\"><TitleText>T2"
            "</TitleText><SubTitleText>\"Optionen\"</SubTitleText></Page></Pages>");
}

TEST_F(ManagerTest, PageDescriptorLoadsItsTextCatalogFromTheTextSourceAndClosesIt) {
  host.state->text_source = "en";
  auto manager = InitialisedManager();
  // The descriptor's own catalogue, then the form's catalogue at form load; only the first is closed.
  EXPECT_EQ(host.state->loaded_sources, (std::vector<std::string>{"en", "en"}));
  EXPECT_EQ(host.state->text_catalogs_closed, 1);
}

TEST_F(ManagerTest, PagesConfigReadTwiceGivesTheSameTextAndBuildsOnce) {
  auto manager = InitialisedManager();
  const std::string first = manager->PagesConfig();
  host.state->texts["impvelxml.page.1.title"] = "changed";
  host.state->pic_main = 1;
  EXPECT_EQ(manager->PagesConfig(), first);
  EXPECT_EQ(first, kDescriptor);
  EXPECT_EQ(host.state->text_catalogs_closed, 1);
}

TEST_F(ManagerTest, PagesConfigBeforeInitBuildsTheDescriptorOnTheSpot) {
  auto manager = NewManager();
  EXPECT_EQ(host.state->text_catalogs_closed, 0);
  EXPECT_EQ(manager->PagesConfig(), kDescriptor);
  EXPECT_EQ(host.state->text_catalogs_closed, 1);
  EXPECT_FALSE(manager->initialised());
  // Init keeps the descriptor built before it.
  manager->Init("", "", "");
  EXPECT_EQ(host.state->text_catalogs_closed, 1);
  EXPECT_EQ(manager->PagesConfig(), kDescriptor);
}

TEST_F(ManagerTest, PageDescriptorWithoutHostServicesStillNamesBothPages) {
  host.api->has_services = false;
  auto manager = InitialisedManager();
  EXPECT_TRUE(host.state->loaded_sources.empty());
  // The fake catalogue answers its texts even unloaded; the handles and keys come from the form.
  EXPECT_EQ(manager->PagesConfig(), kDescriptor);
}

TEST_F(ManagerTest, InitKeepsTheSourceIdAndLeavesTheManagerInitialised) {
  auto manager = NewManager();
  manager->Init("ds-42", "<config a=\"1\"/>", "<user/>");
  EXPECT_EQ(manager->data_source_id(), "ds-42");
  EXPECT_TRUE(manager->initialised());
  EXPECT_FALSE(manager->import_started());
}

TEST_F(ManagerTest, InitWithConfigurationTextsThatDoNotParseStillInitialises) {
  auto manager = NewManager();
  manager->Init("ds", "<not well formed", "also <not");
  EXPECT_TRUE(manager->initialised());
  EXPECT_EQ(manager->PagesConfig(), kDescriptor);
}

TEST_F(ManagerTest, InitFillsTheFormWithTheSavedCataloguePath) {
  host.state->saved_settings["SETTINGS"] = "<property name=\"vel-xml-path\" value=\"/data/k.xml\"/>";
  auto manager = InitialisedManager();
  EXPECT_EQ(manager->Form().CVCatPath(), "/data/k.xml");
}

TEST_F(ManagerTest, UserConfigIsAlwaysEmpty) {
  auto manager = NewManager();
  EXPECT_EQ(manager->UserConfig(), "");
  manager->Init("ds", "<config/>", "<user><setting name=\"x\" value=\"y\"/></user>");
  EXPECT_EQ(manager->UserConfig(), "");
}

TEST_F(ManagerTest, PicMainAnswersTrueWithoutLookingAtTheForm) {
  auto manager = NewManager();
  EXPECT_TRUE(manager->SelectedPageChanged("PIC_MAIN"));
  EXPECT_FALSE(frmVelXMLSettings::HasDefaultInstance());
  EXPECT_TRUE(host.state->messages.empty());
}

TEST_F(ManagerTest, PicAdvancedInLowerCaseCountsAsAnyOtherKey) {
  auto manager = InitialisedManager();  // empty path: the real check would answer False
  EXPECT_TRUE(manager->SelectedPageChanged("pic_advanced"));
  EXPECT_TRUE(manager->SelectedPageChanged("PIC_ADVANCED "));
  EXPECT_TRUE(manager->SelectedPageChanged("-2"));
  EXPECT_TRUE(manager->SelectedPageChanged(""));
  EXPECT_TRUE(host.state->messages.empty());
  EXPECT_TRUE(host.state->saved_settings.empty());
}

TEST_F(ManagerTest, PicAdvancedWithAnEmptyPathAsksToChooseAFile) {
  auto manager = InitialisedManager();
  EXPECT_FALSE(manager->SelectedPageChanged("PIC_ADVANCED"));
  EXPECT_EQ(host.state->messages, (std::vector<MessageCall>{{"Bitte wählen Sie eine Datei!", 48, ""}}));
}

TEST_F(ManagerTest, PicAdvancedWithAMissingFileSaysItWasNotFound) {
  auto manager = InitialisedManager();
  manager->Form().SetCVCatPath("/fehlt.xml");
  EXPECT_FALSE(manager->SelectedPageChanged("PIC_ADVANCED"));
  EXPECT_EQ(host.state->messages, (std::vector<MessageCall>{{"Datei nicht gefunden!", 48, ""}}));
}

TEST_F(ManagerTest, PicAdvancedWithAnExistingFileLetsTheChangeGoAhead) {
  host.state->existing_files = {"/da.xml"};
  auto manager = InitialisedManager();
  manager->Form().SetCVCatPath("/da.xml");
  EXPECT_TRUE(manager->SelectedPageChanged("PIC_ADVANCED"));
  EXPECT_TRUE(host.state->messages.empty());
}

TEST_F(ManagerTest, LeavingThePagesSavesTheTrimmedPathAndAnswersTrue) {
  auto manager = InitialisedManager();
  manager->Form().SetCVCatPath("  /data/k.xml ");
  ASSERT_TRUE(manager->Form().PageChangeCancelled());
  EXPECT_TRUE(manager->SelectedPageChanged("-1"));
  EXPECT_EQ(host.state->saved_settings["SETTINGS"], "<property name=\"vel-xml-path\" value=\"/data/k.xml\"/>");
  EXPECT_EQ(manager->Form().CVCatPath(), "/data/k.xml");
  EXPECT_FALSE(manager->Form().PageChangeCancelled());
}

TEST_F(ManagerTest, LeavingThePagesWithoutHostServicesStillAnswersTrue) {
  host.api->has_services = false;
  auto manager = InitialisedManager();
  manager->Form().SetCVCatPath("/data/k.xml");
  EXPECT_TRUE(manager->SelectedPageChanged("-1"));
  EXPECT_TRUE(host.state->saved_settings.empty());
}

TEST_F(ManagerTest, CancelImportIsOnlyRecorded) {
  auto manager = InitialisedManager();
  const std::string pages = manager->PagesConfig();
  manager->CancelImport(true);
  EXPECT_TRUE(manager->cancel_requested());
  EXPECT_TRUE(manager->initialised());
  EXPECT_FALSE(manager->import_started());
  EXPECT_EQ(manager->PagesConfig(), pages);
  EXPECT_TRUE(manager->SelectedPageChanged("PIC_MAIN"));
  manager->CancelImport(false);
  EXPECT_FALSE(manager->cancel_requested());
}

TEST_F(ManagerTest, DisposeUnloadsTheFormAndReleasesTheHostApi) {
  std::weak_ptr<HostApi> watched = host.api;
  auto manager = InitialisedManager();
  manager->Form().SetCVCatPath("/unsaved.xml");
  host.api.reset();
  manager->Dispose();
  EXPECT_FALSE(frmVelXMLSettings::HasDefaultInstance());
  EXPECT_EQ(manager->host_api(), nullptr);
  EXPECT_TRUE(watched.expired());
  EXPECT_FALSE(manager->initialised());
  EXPECT_EQ(manager->working_recordset(), nullptr);
  // The next use of the form creates a fresh one.
  EXPECT_EQ(manager->Form().CVCatPath(), "");
}

TEST_F(ManagerTest, DisposeKeepsTheCachedPageDescriptor) {
  auto manager = InitialisedManager();
  manager->Dispose();
  EXPECT_EQ(manager->PagesConfig(), kDescriptor);
  EXPECT_EQ(host.state->text_catalogs_closed, 1);
}

TEST_F(ManagerTest, ReleasingAfterInitWithoutDisposeUnloadsTheFormAndReleasesTheHostApi) {
  std::weak_ptr<HostApi> watched = host.api;
  auto manager = InitialisedManager();
  host.api.reset();
  ASSERT_TRUE(frmVelXMLSettings::HasDefaultInstance());
  ASSERT_FALSE(watched.expired());
  manager.reset();
  EXPECT_FALSE(frmVelXMLSettings::HasDefaultInstance());
  EXPECT_TRUE(watched.expired());
}

TEST_F(ManagerTest, ReleasingAManagerThatWasNeverInitialisedLeavesTheFormAlone) {
  auto manager = NewManager();
  manager->Form().SetCVCatPath("/x.xml");
  manager.reset();
  ASSERT_TRUE(frmVelXMLSettings::HasDefaultInstance());
  EXPECT_EQ(frmVelXMLSettings::DefaultInstance(host.platform).CVCatPath(), "/x.xml");
}

TEST_F(ManagerTest, ReleasingAfterDisposeDoesNotDisposeAgain) {
  auto manager = InitialisedManager();
  manager->Dispose();
  manager->Form().SetCVCatPath("/after-dispose.xml");
  manager.reset();
  ASSERT_TRUE(frmVelXMLSettings::HasDefaultInstance());
  EXPECT_EQ(frmVelXMLSettings::DefaultInstance(host.platform).CVCatPath(), "/after-dispose.xml");
}

TEST_F(ManagerTest, FormIsTheOneSharedInstance) {
  auto first = NewManager();
  auto second = NewManager();
  EXPECT_EQ(&first->Form(), &second->Form());
  EXPECT_EQ(&first->Form(), &frmVelXMLSettings::DefaultInstance(host.platform));
}

TEST_F(ManagerTest, SavedPathReachesTheNextSessionThroughTheHost) {
  auto manager = InitialisedManager();
  manager->PagesConfig();
  manager->Form().SetCVCatPath("/data/k.xml ");
  EXPECT_TRUE(manager->SelectedPageChanged("-1"));
  manager->Dispose();
  manager.reset();

  auto next = InitialisedManager();
  EXPECT_EQ(next->Form().CVCatPath(), "/data/k.xml");
}

}  // namespace
}  // namespace cvimp::plugin
