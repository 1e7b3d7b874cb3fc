// The command line of cvimport.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace cvimp::cli {

struct HelpCommand {};

struct InitCommand {
  std::string database;
};

struct ImportCommand {
  std::string catalog;
  std::string database = "shop.db";
  int mode = 0;
  bool media = false;
  std::optional<std::string> project;  // default: the database's folder
  bool regions = false;
  std::optional<std::string> config_dir;
  bool plain = false;
  bool verbose = false;
  bool quiet = false;                 // no report on the terminal
  std::optional<std::string> report;  // where the report goes as JSON
  bool atomic = false;                // commit only a run that ended clean
};

// The dry run: the whole import against the database in a transaction that is rolled back. It uses the
// options of import that make sense for it (no project folder, nothing is written).
struct CheckCommand {
  ImportCommand import;
  bool database_given = false;  // without --db the run goes to a new, empty shop database in memory
};

using Command = std::variant<HelpCommand, InitCommand, ImportCommand, CheckCommand>;

// The parsed command, or the reason the command line is refused.
struct ParseResult {
  std::optional<Command> command;
  std::string error;
};

ParseResult ParseCommandLine(const std::vector<std::string>& args);

extern const char* const kUsage;

// Exit codes, as --help lists them.
enum ExitCode : int {
  kExitOk = 0,
  kExitFailure = 1,
  kExitUsage = 2,
  kExitCatalogMissing = 3,
  kExitDatabase = 4,
  kExitCatalogUnreadable = 5,
  kExitIncomplete = 6,  // imported, but an importer ended early or statements were refused
};

}  // namespace cvimp::cli
