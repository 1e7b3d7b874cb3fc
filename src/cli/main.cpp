// cvimport: imports a shop catalogue into a shop database by driving the import plug-in as the host's
// wizard does.
#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "cli/options.h"
#include "cli/terminal_display.h"
#include "common/error.h"
#include "host/cli_host_api.h"
#include "host/cli_platform.h"
#include "host/folder_service.h"
#include "host/host_services.h"
#include "host/host_tools.h"
#include "host/settings_store.h"
#include "plugin/manager.h"
#include "recordset/shop_schema.h"
#include "settings/frm_vel_xml_settings.h"

namespace fs = std::filesystem;

namespace cvimp::cli {
namespace {

void Complain(const std::string& what) { std::cerr << "cvimport: " << what << "\n"; }

int Init(const InitCommand& command) {
  try {
    recordset::CreateShopDatabase(command.database);
  } catch (const std::exception& e) {
    Complain(e.what());
    return kExitDatabase;
  }
  std::cout << "created shop database " << command.database << "\n";
  return kExitOk;
}

// Why the plug-in could not use the catalogue, when it could not: the parser's position and reason, or
// the root element without content.
std::string LoadProblem(const plugin::Manager& manager) {
  const catalog::Document* doc = manager.catalog_document().get();
  if (!doc) return "no document";
  if (doc->DocumentElement().empty()) {
    const catalog::LoadError& e = doc->load_error();
    std::string where = e.line ? "line " + std::to_string(e.line) + ", column " + std::to_string(e.column) + ": " : "";
    return where + (e.reason.empty() ? "no document element" : e.reason);
  }
  if (doc->DocumentElement().ChildNodes().empty()) return "the root element has no content";
  return {};
}

int Import(const ImportCommand& command) {
  // Where status texts and messages go.
  const bool terminal = !command.plain && ::isatty(STDOUT_FILENO);
  std::shared_ptr<TerminalDisplay> terminal_display;
  std::shared_ptr<host::Display> display;
  if (terminal) {
    terminal_display = std::make_shared<TerminalDisplay>(stdout, stderr);
    display = terminal_display;
  } else {
    display = std::make_shared<host::PlainDisplay>(std::cout, std::cerr);
  }
  auto note = [&](const std::string& line) {
    if (terminal_display)
      terminal_display->Note(line);
    else
      std::cerr << line << "\n";
  };

  fs::path config_dir;
  try {
    config_dir = command.config_dir ? fs::path(*command.config_dir) : host::SettingsStore::DefaultFolder();
  } catch (const std::exception& e) {
    Complain(std::string(e.what()) + " (give --config-dir)");
    return kExitFailure;
  }

  const fs::path database = fs::absolute(command.database);
  const bool database_exists = fs::exists(database);
  const std::string project = command.project ? *command.project : database.parent_path().string();

  host::TextOverrides overrides;
  if (command.regions) overrides[host::kRegionsSwitch] = "True";
  auto platform = std::make_shared<host::CliPlatform>(overrides);
  auto store = std::make_shared<host::SettingsStore>(config_dir);
  host::CliHostParts parts{std::make_shared<host::CliHostServices>(display, store),
                           std::make_shared<host::CliHostTools>(), nullptr, nullptr, project};
  auto api = std::make_shared<host::CliHostApi>(parts);

  // The wizard: the file page, the check on the way to the options page, the options, the end of the pages.
  auto manager = std::make_unique<plugin::Manager>(platform);
  manager->Api(api);
  manager->Init(database.string(), "", "");
  manager->PagesConfig();
  settings::frmVelXMLSettings& form = manager->Form();
  form.SetCVCatPath(command.catalog);
  if (!manager->SelectedPageChanged("PIC_ADVANCED")) {
    manager->Dispose();
    return kExitCatalogMissing;
  }
  form.optUpdateMode().SetValue(command.mode, true);
  form.chkImportMedia().Value = command.media ? settings::CheckBox::kChecked : settings::CheckBox::kUnchecked;

  // The shop database, created from the schema when missing, all of the run in one transaction.
  std::shared_ptr<recordset::SqliteConnection> db;
  try {
    if (!database_exists) recordset::CreateShopDatabase(database.string());
    db = recordset::OpenShopDatabase(database.string());
    db->Begin();
  } catch (const std::exception& e) {
    Complain(e.what());
    manager->Dispose();
    return kExitDatabase;
  }
  if (command.verbose) db->set_error_observer([&](const std::string& what) { note("cvimport: " + what); });
  api->parts().connection = db;
  api->parts().folder_service = std::make_shared<host::CliFolderService>(db);

  manager->SelectedPageChanged("-1");
  manager->ExecuteImport();
  try {
    db->Commit();
  } catch (const std::exception& e) {
    Complain(std::string("the import could not be saved: ") + e.what());
    return kExitDatabase;
  }
  if (terminal_display) terminal_display->Finish();

  const std::string problem = LoadProblem(*manager);
  manager->Dispose();
  manager.reset();
  if (!problem.empty()) {
    Complain("cannot load the catalogue " + command.catalog + ": " + problem);
    return kExitCatalogUnreadable;
  }
  return kExitOk;
}

int Main(const std::vector<std::string>& args) {
  ParseResult parsed = ParseCommandLine(args);
  if (!parsed.command) {
    Complain(parsed.error);
    std::cerr << "Try 'cvimport --help'.\n";
    return kExitUsage;
  }
  if (std::holds_alternative<HelpCommand>(*parsed.command)) {
    std::cout << kUsage;
    return kExitOk;
  }
  if (const auto* init = std::get_if<InitCommand>(&*parsed.command)) return Init(*init);
  return Import(std::get<ImportCommand>(*parsed.command));
}

}  // namespace
}  // namespace cvimp::cli

int main(int argc, char** argv) {
  try {
    return cvimp::cli::Main(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const std::exception& e) {
    std::cerr << "cvimport: " << e.what() << "\n";
    return cvimp::cli::kExitFailure;
  }
}
