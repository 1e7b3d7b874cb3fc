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
};

using Command = std::variant<HelpCommand, InitCommand, ImportCommand>;

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
};

}  // namespace cvimp::cli
