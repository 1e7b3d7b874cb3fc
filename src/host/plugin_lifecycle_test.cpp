// The plug-in's session lifecycle driven the way a wizard drives it, inside the command-line host with its
// real services and a real settings file.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "catalog/document.h"
#include "host/cli_host_api.h"
#include "host/cli_platform.h"
#include "host/host_services.h"
#include "host/host_tools.h"
#include "host/test_temp_folder.h"
#include "plugin/manager.h"
#include "settings/frm_vel_xml_settings.h"

namespace cvimp::host {
namespace {

using settings::frmVelXMLSettings;
using testing::TempFolder;

const char* const kGermanDescriptor =
    "<Pages><Page hwnd=\"1\" key=\"PIC_MAIN\"><TitleText>Katalogdatei auswählen</TitleText><SubTitleText>"
    "Wählen Sie den XML-Katalog, dessen Daten in den Shop übernommen werden sollen.</SubTitleText></Page>"
    "<Page hwnd=\"2\" key=\"PIC_ADVANCED\"><TitleText>Importoptionen</TitleText><SubTitleText>Legen Sie fest, "
    "wie vorhandene Daten behandelt werden und ob Medien mit importiert werden.</SubTitleText></Page></Pages>";

// One run of the command: its own host objects over the settings folder, as a new process would make them.
struct CommandLineHost {
  explicit CommandLineHost(const std::filesystem::path& settings_folder, std::string language = "de") {
    CliHostParts parts;
    parts.services =
        std::make_shared<CliHostServices>(std::make_shared<PlainDisplay>(status, messages),
                                          std::make_shared<SettingsStore>(settings_folder), std::move(language));
    parts.tools = std::make_shared<CliHostTools>();
    api = std::make_shared<CliHostApi>(std::move(parts));
  }

  std::ostringstream status;
  std::ostringstream messages;
  std::shared_ptr<CliHostApi> api;
  std::shared_ptr<CliPlatform> platform = std::make_shared<CliPlatform>();
};

class PluginLifecycleTest : public ::testing::Test {
 protected:
  void SetUp() override {
    frmVelXMLSettings::Unload();
    std::ofstream(catalogue) << "<CalvoraCatalog><Currencies/></CalvoraCatalog>";
  }
  void TearDown() override { frmVelXMLSettings::Unload(); }

  TempFolder temp;
  std::filesystem::path settings_folder = temp.path() / "config" / "cvimport";
  std::string catalogue = (temp.path() / "katalog.xml").string();
};

TEST_F(PluginLifecycleTest, WizardSessionSavesThePathThatTheNextSessionFindsInTheForm) {
  {
    CommandLineHost host(settings_folder);
    std::weak_ptr<plugin::HostApi> watched = host.api;
    auto manager = std::make_unique<plugin::Manager>(host.platform);
    manager->Api(host.api);
    manager->Init("", "<config/>", "");
    EXPECT_TRUE(manager->initialised());

    const std::string pages = manager->PagesConfig();
    EXPECT_EQ(pages, kGermanDescriptor);
    catalog::Document descriptor;
    EXPECT_TRUE(descriptor.LoadXml(pages));
    EXPECT_EQ(descriptor.SelectNodes("/Pages/Page").size(), 2u);

    EXPECT_EQ(manager->Form().lblImport()(0).Caption, "Wählen Sie die Katalogdatei (XML), die importiert werden soll:");
    EXPECT_EQ(manager->Form().CVCatPath(), "");

    EXPECT_TRUE(manager->SelectedPageChanged("PIC_MAIN"));
    EXPECT_FALSE(manager->SelectedPageChanged("PIC_ADVANCED"));
    EXPECT_EQ(host.messages.str(), "Bitte wählen Sie eine Datei!\n");

    manager->Form().SetCVCatPath(catalogue + ".fehlt");
    EXPECT_FALSE(manager->SelectedPageChanged("PIC_ADVANCED"));
    EXPECT_EQ(host.messages.str(), "Bitte wählen Sie eine Datei!\nDatei nicht gefunden!\n");

    manager->Form().SetCVCatPath(catalogue);
    EXPECT_TRUE(manager->SelectedPageChanged("PIC_ADVANCED"));
    // The headless dialog answers as if cancelled: the field keeps the path.
    manager->Form().cmdBrowseFile().Click();
    EXPECT_EQ(manager->Form().CVCatPath(), catalogue);

    manager->Form().SetCVCatPath("  " + catalogue + "  ");
    EXPECT_TRUE(manager->SelectedPageChanged("-1"));
    EXPECT_EQ(manager->Form().CVCatPath(), catalogue);
    EXPECT_TRUE(std::filesystem::is_regular_file(settings_folder / "settings.xml"));

    manager->Dispose();
    EXPECT_FALSE(manager->initialised());
    EXPECT_FALSE(frmVelXMLSettings::HasDefaultInstance());
    manager.reset();
    host.api.reset();
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(host.status.str(), "");
  }
  ASSERT_FALSE(frmVelXMLSettings::HasDefaultInstance());

  CommandLineHost next(settings_folder);
  plugin::Manager manager(next.platform);
  manager.Api(next.api);
  manager.Init("", "", "");
  EXPECT_EQ(manager.Form().CVCatPath(), catalogue);
  EXPECT_TRUE(manager.SelectedPageChanged("PIC_ADVANCED"));
  EXPECT_EQ(next.messages.str(), "");
  manager.Dispose();
}

TEST_F(PluginLifecycleTest, EnglishHostGetsTheEnglishPages) {
  CommandLineHost host(settings_folder, "en");
  plugin::Manager manager(host.platform);
  manager.Api(host.api);
  manager.Init("", "", "");
  EXPECT_EQ(manager.PagesConfig(),
            "<Pages><Page hwnd=\"1\" key=\"PIC_MAIN\"><TitleText>Choose the catalogue file</TitleText>"
            "<SubTitleText>Select the XML catalogue whose data is to be imported into the shop.</SubTitleText>"
            "</Page><Page hwnd=\"2\" key=\"PIC_ADVANCED\"><TitleText>Import options</TitleText><SubTitleText>"
            "Decide how existing data is treated and whether media files are imported too.</SubTitleText>"
            "</Page></Pages>");
  manager.Dispose();
}

TEST_F(PluginLifecycleTest, HostWithoutServicesStillGoesThroughTheSession) {
  auto api =
      std::make_shared<CliHostApi>(CliHostParts{nullptr, std::make_shared<CliHostTools>(), nullptr, nullptr, ""});
  auto platform = std::make_shared<CliPlatform>();
  {
    plugin::Manager manager(platform);
    manager.Api(api);
    manager.Init("", "", "");
    // No text source: the catalogues stay unloaded and the titles empty.
    EXPECT_EQ(manager.PagesConfig(),
              "<Pages><Page hwnd=\"1\" key=\"PIC_MAIN\"><TitleText></TitleText><SubTitleText></SubTitleText>"
              "</Page><Page hwnd=\"2\" key=\"PIC_ADVANCED\"><TitleText></TitleText><SubTitleText></SubTitleText>"
              "</Page></Pages>");
    EXPECT_FALSE(manager.SelectedPageChanged("PIC_ADVANCED"));
    manager.Form().SetCVCatPath(catalogue);
    EXPECT_TRUE(manager.SelectedPageChanged("PIC_ADVANCED"));
    EXPECT_TRUE(manager.SelectedPageChanged("-1"));
  }
  EXPECT_FALSE(frmVelXMLSettings::HasDefaultInstance());
  EXPECT_FALSE(std::filesystem::exists(settings_folder));
}

}  // namespace
}  // namespace cvimp::host
