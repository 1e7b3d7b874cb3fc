#include "host/cli_host_api.h"

#include <gtest/gtest.h>

#include "host/cli_platform.h"
#include "host/folder_service.h"
#include "host/host_services.h"
#include "host/host_tools.h"

namespace cvimp::host {
namespace {

TEST(CliHostApi, HandsOutTheGivenParts) {
  CliHostParts parts;
  parts.services = std::make_shared<CliHostServices>(nullptr, nullptr, "en");
  parts.tools = std::make_shared<CliHostTools>();
  parts.folder_service = std::make_shared<CliFolderService>(nullptr);
  parts.project_path = "/shop/projekt";
  auto services = parts.services;
  auto tools = parts.tools;
  auto folder_service = parts.folder_service;
  CliHostApi api(std::move(parts));
  EXPECT_EQ(api.Services(), services);
  EXPECT_EQ(api.Services(), services);
  EXPECT_EQ(api.Tools(), tools);
  EXPECT_EQ(api.GetFolderService(), folder_service);
  EXPECT_EQ(api.Connection(), nullptr);
  EXPECT_EQ(api.ProjectPath(), "/shop/projekt");
}

TEST(CliHostApi, MissingPartsComeBackAsNothing) {
  CliHostApi api(CliHostParts{});
  EXPECT_EQ(api.Services(), nullptr);
  EXPECT_EQ(api.Tools(), nullptr);
  EXPECT_EQ(api.Connection(), nullptr);
  EXPECT_EQ(api.GetFolderService(), nullptr);
  EXPECT_EQ(api.ProjectPath(), "");
}

TEST(CliHostApi, PartsGivenLaterAreHandedOutFromThenOn) {
  CliHostApi api(CliHostParts{});
  auto folder_service = std::make_shared<CliFolderService>(nullptr);
  api.parts().folder_service = folder_service;
  api.parts().project_path = "/p";
  EXPECT_EQ(api.GetFolderService(), folder_service);
  EXPECT_EQ(api.ProjectPath(), "/p");
  EXPECT_EQ(api.Services(), nullptr);
}

TEST(CliPlatform, TextCataloguesReadTheShippedTexts) {
  CliPlatform platform;
  std::shared_ptr<plugin::TextCatalog> texts = platform.NewTextCatalog();
  ASSERT_NE(texts, nullptr);
  texts->Load("de", 0);
  EXPECT_EQ(texts->GetText("impvelxml.page.2.title"), "Importoptionen");
  EXPECT_EQ(texts->GetText(kRegionsSwitch), "False");
}

TEST(CliPlatform, RegionsOverrideReachesEveryNewTextCatalogue) {
  CliPlatform platform(TextOverrides{{kRegionsSwitch, "True"}});
  for (int i = 0; i < 2; ++i) {
    std::shared_ptr<plugin::TextCatalog> texts = platform.NewTextCatalog();
    texts->Load("de", 0);
    EXPECT_EQ(texts->GetText(kRegionsSwitch), "True");
  }
}

TEST(CliPlatform, HostToolsAreTheRealOnes) {
  CliPlatform platform;
  std::shared_ptr<plugin::HostTools> tools = platform.NewHostTools();
  ASSERT_NE(tools, nullptr);
  EXPECT_EQ(tools->GetStringTools()->SqlQuote("'"), "''");
  EXPECT_FALSE(tools->GetFileSystem()->FileExists("/"));
}

TEST(CliPlatform, HeadlessViewHasFixedHandlesAndADialogThatKeepsTheInitialFile) {
  CliPlatform platform;
  std::unique_ptr<settings::SettingsView> view = platform.NewSettingsView();
  ASSERT_NE(view, nullptr);
  EXPECT_EQ(view->PicMainHandle(), 1);
  EXPECT_EQ(view->PicAdvancedHandle(), 2);
  settings::FileDialogRequest request;
  request.initial_file = "/data/k.xml";
  request.flags = 4096;
  EXPECT_EQ(view->ShowOpenDialog(request), "/data/k.xml");
  platform.YieldToMessageLoop();
}

}  // namespace
}  // namespace cvimp::host
