// cvimport: imports a shop catalogue into a shop database by driving the import plug-in as the host's
// wizard does, and reports what the import did.
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/backup.h"
#include "cli/database_file.h"
#include "cli/dry_run.h"
#include "cli/interruption.h"
#include "cli/options.h"
#include "cli/report_json.h"
#include "cli/run_report.h"
#include "cli/static_checks.h"
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

// The end of a run: the report on the terminal (unless --quiet) and in the JSON file (when asked for), and
// the exit code.
class Finisher {
 public:
  Finisher(const ImportCommand& command, const std::string& verb, bool terminal)
      : command_(command), terminal_(terminal) {
    facts_.command = verb;
    facts_.catalogue = command.catalog;
    facts_.mode = command.mode;
    facts_.media = command.media;
    facts_.regions = command.regions;
    facts_.atomic = command.atomic;
    facts_.start = std::chrono::system_clock::now();
  }
  RunFacts& facts() { return facts_; }
  RunReport& report() { return report_; }
  void set_extra(std::string lines) { extra_ = std::move(lines); }

  // Ends the run with `code`; `shown` says whether the table belongs on the terminal (a run that imported).
  int Finish(int code, const std::string& outcome, const std::string& failure, bool shown) {
    facts_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began_).count();
    facts_.outcome = outcome;
    facts_.failure = failure;
    if (command_.report) {
      facts_.exit_code = code;
      std::ofstream out(*command_.report, std::ios::binary | std::ios::trunc);
      out << ReportJson(report_, facts_, extra_json_);
      out.close();
      if (!out) {
        Complain("cannot write the report to " + *command_.report);
        if (code == kExitOk || code == kExitIncomplete) code = kExitFailure;
      }
    }
    if (shown && !command_.quiet) {
      const std::string text = RenderReport(report_, facts_.seconds) + extra_;
      (terminal_ ? std::cout : std::cerr) << text << std::flush;
    }
    return code;
  }
  void set_extra_json(ExtraJson extra) { extra_json_ = std::move(extra); }

 private:
  const ImportCommand& command_;
  bool terminal_;
  RunFacts facts_;
  RunReport report_;
  std::string extra_;
  ExtraJson extra_json_;
  std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
};

// An import, or with `dry_run` the check: the same run against a database that is rolled back, with the
// settings, the project and (without a database given) the shop database in a scratch folder.
int Run(const ImportCommand& command, bool dry_run, bool database_given) {
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
  // Without a check the wrapped display is the plain one; the way out is filled in below.
  std::function<void(int)> stop = [](int) {};
  if (!dry_run) display = std::make_shared<InterruptingDisplay>(display, [&](int signal) { stop(signal); });
  auto note = [&](const std::string& line) {
    if (terminal_display)
      terminal_display->Note(line);
    else
      std::cerr << line << "\n";
  };
  Finisher finisher(command, dry_run ? "check" : "import", terminal);
  const auto fail = [&](int code, const std::string& why) {
    Complain(why);
    return finisher.Finish(code, "nothing imported", why, false);
  };

  std::optional<ScratchFolder> scratch;
  if (dry_run) scratch.emplace();

  fs::path config_dir;
  try {
    config_dir = scratch              ? scratch->path() / "config"
                 : command.config_dir ? fs::path(*command.config_dir)
                                      : host::SettingsStore::DefaultFolder();
  } catch (const std::exception& e) {
    return fail(kExitFailure, std::string(e.what()) + " (give --config-dir)");
  }

  bool given_exists = false;
  const std::string path_problem = DatabasePathProblem(command.database, given_exists);
  const bool scratch_database = dry_run && (!database_given || !given_exists);
  if (!scratch_database && !path_problem.empty()) return fail(kExitDatabase, command.database + ": " + path_problem);
  const fs::path database = scratch_database ? scratch->path() / "check.db" : fs::absolute(command.database);
  const bool database_exists = scratch_database ? false : given_exists;
  if (!dry_run && !database_exists && command.no_create)
    return fail(kExitDatabase, "the shop database " + command.database + " does not exist (--no-create)");
  const std::string project = scratch           ? (scratch->path() / "project").string()
                              : command.project ? *command.project
                                                : database.parent_path().string();
  finisher.facts().database = scratch_database ? std::string() : database.string();
  finisher.facts().project = dry_run ? std::string() : project;
  if (scratch) fs::create_directories(project);

  host::TextOverrides overrides;
  if (command.regions) overrides[host::kRegionsSwitch] = "True";
  std::shared_ptr<DryRunPlatform> dry_platform;
  std::shared_ptr<host::CliPlatform> platform;
  if (dry_run) {
    dry_platform = std::make_shared<DryRunPlatform>(overrides, project);
    platform = dry_platform;
  } else {
    platform = std::make_shared<host::CliPlatform>(overrides);
  }
  auto store = std::make_shared<host::SettingsStore>(config_dir);
  host::CliHostParts parts{std::make_shared<host::CliHostServices>(display, store),
                           std::make_shared<host::CliHostTools>(), nullptr, nullptr, project};
  auto api = std::make_shared<host::CliHostApi>(parts);

  // The wizard: the file page, the check on the way to the options page, the options, the end of the pages.
  auto manager = std::make_unique<plugin::Manager>(platform);
  manager->set_observer(&finisher.report());
  manager->Api(api);
  manager->Init(database.string(), "", "");
  manager->PagesConfig();
  settings::frmVelXMLSettings& form = manager->Form();
  form.SetCVCatPath(command.catalog);
  if (!manager->SelectedPageChanged("PIC_ADVANCED")) {
    manager->Dispose();
    Complain("the catalogue file " + command.catalog + " does not exist; nothing was imported");
    return finisher.Finish(kExitCatalogMissing, "nothing imported", "the catalogue file does not exist", false);
  }
  form.optUpdateMode().SetValue(command.mode, true);
  form.chkImportMedia().Value = command.media ? settings::CheckBox::kChecked : settings::CheckBox::kUnchecked;

  // The copy asked for with --backup, before anything is written.
  if (command.backup && !dry_run) {
    if (!database_exists) {
      if (!command.quiet) note("cvimport: no backup: the database " + command.database + " does not exist yet");
    } else {
      const fs::path to = command.backup->empty()
                              ? DefaultBackupPath(database, std::chrono::system_clock::now())
                              : fs::absolute(*command.backup);
      try {
        BackupDatabase(database, to);
      } catch (const std::exception& e) {
        manager->Dispose();
        return fail(kExitDatabase, std::string("no backup, nothing imported: ") + e.what());
      }
      if (!command.quiet) note("cvimport: backed up " + command.database + " to " + to.string());
    }
  }

  // The shop database, created from the schema when missing, all of the run in one transaction. A new one
  // is made under a temporary name beside its own and takes its name only once the import is committed.
  const bool creating = !database_exists && !scratch_database;
  const fs::path working = creating ? TemporaryNameBeside(database) : database;
  std::shared_ptr<recordset::SqliteConnection> db;
  bool finishing = false;  // committed or rolled back: a signal now no longer stops the run
  const auto drop_new_database = [&] {
    if (creating) RemoveDatabaseFile(working);
  };
  // The way out at a signal: roll back, remove what this run made, say so, end.
  stop = [&](int signal) {
    if (finishing) return;
    finishing = true;
    if (terminal_display) terminal_display->Finish();
    bool rolled_back = true;
    if (db && db->InTransaction()) {
      try {
        db->Rollback();
      } catch (const std::exception& e) {
        rolled_back = false;
        Complain(std::string("cannot roll back: ") + e.what());
      }
    }
    drop_new_database();
    const std::string why = "interrupted by " + SignalName(signal);
    Complain(why + ": nothing was imported; " +
             (creating      ? "the new shop database " + command.database + " was not created"
              : rolled_back ? "the database " + command.database + " is as it was"
                            : "the database " + command.database +
                                  " is put back as it was from its rollback journal when it is next opened"));
    const int code = 128 + signal;
    finisher.Finish(code, "rolled back", why, false);
    std::cout.flush();
    std::fflush(nullptr);
    std::_Exit(code);
  };
  if (creating && !command.quiet) note("cvimport: creating the new shop database " + command.database);
  try {
    if (!database_exists) recordset::CreateShopDatabase(working.string());
    db = recordset::OpenShopDatabase(working.string());
    db->Begin();
  } catch (const std::exception& e) {
    db.reset();
    drop_new_database();
    manager->Dispose();
    return fail(kExitDatabase, e.what());
  }
  if (command.verbose) db->set_error_observer([&](const std::string& what) { note("cvimport: " + what); });
  api->parts().connection = db;
  api->parts().folder_service = std::make_shared<host::CliFolderService>(db);

  manager->SelectedPageChanged("-1");
  manager->ExecuteImport();
  if (const int signal = PendingSignal(); signal && !dry_run) stop(signal);
  if (terminal_display) terminal_display->Finish();

  const std::string problem = LoadProblem(*manager);
  if (problem.empty()) finisher.report().CompleteFrom(*manager->catalog_document(), command.media, command.regions);
  const bool clean = finisher.report().clean();

  std::string outcome = "committed";
  std::string failure;
  int code = clean ? kExitOk : kExitIncomplete;
  // A new database is kept only when the import is saved.
  const bool keep_new_database = problem.empty() && (clean || !command.atomic);
  try {
    finishing = true;
    if (dry_run || (creating && !keep_new_database)) {
      db->Rollback();
      outcome = "rolled back";
    } else if (!clean && command.atomic) {
      db->Rollback();
      outcome = "rolled back";
    } else {
      db->Commit();
    }
  } catch (const std::exception& e) {
    manager->Dispose();
    db.reset();
    api->parts().connection.reset();
    api->parts().folder_service.reset();
    manager.reset();
    drop_new_database();
    return fail(kExitDatabase, std::string("the import could not be saved: ") + e.what());
  }
  db.reset();
  api->parts().connection.reset();
  api->parts().folder_service.reset();

  manager->Dispose();
  manager.reset();
  if (creating) {
    if (!keep_new_database) {
      drop_new_database();
      Complain("nothing was saved: the new shop database " + command.database + " was not created");
    } else {
      try {
        PutInPlace(working, database, false);
      } catch (const std::exception& e) {
        drop_new_database();
        return fail(kExitDatabase, std::string("the import was not saved: ") + e.what());
      }
    }
  }
  if (!problem.empty()) {
    Complain("cannot load the catalogue " + command.catalog + ": " + problem);
    return finisher.Finish(kExitCatalogUnreadable, dry_run ? "rolled back" : outcome,
                           "cannot load the catalogue: " + problem, false);
  }

  std::string extra;
  ExtraJson extra_json;
  extra_json.dry_run = dry_run;
  if (dry_run) {
    if (command.media) {
      extra += "Media files the import would copy into the project folder: " +
               std::to_string(dry_platform->copies().size()) + "\n";
      for (const std::string& file : dry_platform->copies()) extra += "  " + file + "\n";
    }
    extra_json.media_copies = dry_platform->copies();
    const StaticCheckOutcome checks = RunStaticChecks(command.catalog);
    extra += checks.text;
    extra_json.findings = checks.json;
    if (checks.findings > 0 && code == kExitOk) code = kExitIncomplete;
    extra += "Nothing was saved (check).\n";
  } else if (!clean && command.atomic) {
    extra += "Nothing was saved (--atomic): an importer ended early or statements were refused.\n";
  }
  finisher.set_extra(extra);
  finisher.set_extra_json(std::move(extra_json));
  return finisher.Finish(code, outcome, failure, true);
}

int Restore(const RestoreCommand& command) {
  try {
    RestoreDatabase(command.backup, fs::absolute(command.database));
  } catch (const std::exception& e) {
    Complain(e.what());
    return kExitDatabase;
  }
  std::cerr << "cvimport: restored " << command.database << " from " << command.backup << "\n";
  return kExitOk;
}

int Main(const std::vector<std::string>& args) {
  ParseResult parsed = ParseCommandLine(args);
  if (!parsed.command) {
    Complain(parsed.error);
    std::cerr << "Try 'cvimport --help'.\n";
    return kExitUsage;
  }
  if (const auto* help = std::get_if<HelpCommand>(&*parsed.command)) {
    std::cout << UsageOf(help->topic);
    return kExitOk;
  }
  if (std::holds_alternative<VersionCommand>(*parsed.command)) {
    std::cout << "cvimport " << kVersion << "\n";
    return kExitOk;
  }
  if (const auto* restore = std::get_if<RestoreCommand>(&*parsed.command)) return Restore(*restore);
  if (const auto* init = std::get_if<InitCommand>(&*parsed.command)) return Init(*init);
  if (const auto* check = std::get_if<CheckCommand>(&*parsed.command))
    return Run(check->import, true, check->database_given);
  InstallInterruptionHandlers();
  return Run(std::get<ImportCommand>(*parsed.command), false, true);
}

// A closed stdout (a pipe whose reader went away) does not end the run: SIGPIPE is ignored, the writes
// fail, and the end of the run says so. The exit code stays the run's own.
int SayWhenTheOutputWasCut(int code) {
  std::cout.flush();
  if (std::fflush(stdout) == 0 && !std::ferror(stdout) && std::cout.good()) return code;
  std::cerr << "cvimport: the output was cut: stdout was closed before the run ended; the run itself went on "
               "to its end (exit code "
            << code << ")\n";
  return code;
}

}  // namespace
}  // namespace cvimp::cli

int main(int argc, char** argv) {
  cvimp::cli::IgnoreClosedOutput();
  try {
    return cvimp::cli::SayWhenTheOutputWasCut(cvimp::cli::Main(std::vector<std::string>(argv + 1, argv + argc)));
  } catch (const std::exception& e) {
    std::cerr << "cvimport: " << e.what() << "\n";
    return cvimp::cli::kExitFailure;
  }
}
