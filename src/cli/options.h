// The command line of cvimport.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace cvimp::cli {

// --help, of the whole program (empty topic) or of one command ("init", "import", "check", "restore").
struct HelpCommand {
  std::string topic;
};

struct VersionCommand {};

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
  bool no_create = false;             // refuse a database that does not exist instead of creating it
  // --backup[=FILE]: a copy of the database before the import; an empty string names the default file
  // beside the database, with the time of the copy in its name.
  std::optional<std::string> backup;
};

// The dry run: the whole import against the database in a transaction that is rolled back. It uses the
// options of import that make sense for it (no project folder, nothing is written).
struct CheckCommand {
  ImportCommand import;
  bool database_given = false;  // without --db the run goes to a new, empty shop database in memory
};

// Puts a copy made by --backup back in place of the database.
struct RestoreCommand {
  std::string backup;
  std::string database;
};

using Command = std::variant<HelpCommand, VersionCommand, InitCommand, ImportCommand, CheckCommand, RestoreCommand>;

// The parsed command, or the reason the command line is refused.
struct ParseResult {
  std::optional<Command> command;
  std::string error;
};

ParseResult ParseCommandLine(const std::vector<std::string>& args);

extern const char* const kUsage;
extern const char* const kVersion;  // the project's version, as the build names it

// The usage of one command (as HelpCommand::topic names it), or kUsage for an empty or unknown topic.
const char* UsageOf(const std::string& topic);

// Reads --mode's value: 0, 1, 2 or the names add-update, add, update. Empty when it is none of them.
std::optional<int> ParseMode(const std::string& value);

// Exit codes, as --help lists them.
enum ExitCode : int {
  kExitOk = 0,
  kExitFailure = 1,
  kExitUsage = 2,
  kExitCatalogMissing = 3,
  kExitDatabase = 4,
  kExitCatalogUnreadable = 5,
  kExitIncomplete = 6,  // imported, but an importer ended early or statements were refused
  kExitInterrupted = 130,  // SIGINT: rolled back, 128 + the signal's number as shells report it
  kExitTerminated = 143,   // SIGTERM: rolled back
};

}  // namespace cvimp::cli
