#include "cli/options.h"

namespace cvimp::cli {

const char* const kUsage = R"(Usage:
  cvimport init DB
  cvimport import CATALOG [--db DB] [--mode 0|1|2] [--media] [--project DIR] [--regions]
                          [--config-dir DIR] [--plain] [--verbose] [--quiet] [--report FILE] [--atomic]
  cvimport check CATALOG [--db DB] [--mode 0|1|2] [--media] [--regions] [--plain] [--verbose] [--quiet]
                         [--report FILE]
  cvimport --help

Imports a shop catalogue (an XML file with the root element CalvoraCatalog) into a shop database.

Commands:
  init DB              create a new, empty shop database; an existing file is never overwritten
  import CATALOG       import the catalogue, in one transaction committed when the import returns
  check CATALOG        run the whole import in a transaction that is rolled back, and report what it would
                       do; nothing is written (without --db: into a new, empty shop database)

Options of import:
  --db DB              the shop database (default: shop.db in the current folder, created when missing)
  --mode N             0 add new records and update existing ones (default), 1 only add new records,
                       2 only update existing records
  --media              also import the media records and copy the media files
  --project DIR        the shop project's folder, below which media files go (default: the database's folder)
  --regions            also import the Regions section
  --config-dir DIR     where the settings are kept (default: $XDG_CONFIG_HOME/cvimport or ~/.config/cvimport)
  --plain              print every status text on a line of its own (also when stdout is not a terminal)
  --verbose            also print to stderr every error that the database layer raised during the run
  --quiet              no report after the run
  --report FILE        also write the report as JSON to FILE (also when the import fails)
  --atomic             save nothing unless every importer ran to its end and no statement was refused

After the run a report says, section by section, what the import did (on stderr when stdout is not a
terminal or with --plain). Status texts go to stdout; messages and errors to stderr.

Exit codes:
  0  the import ran to its end: every importer finished and no statement was refused
  1  an unexpected failure
  2  bad command line
  3  the catalogue file does not exist; nothing was imported
  4  the database cannot be created or opened, or is not a shop database
  5  the catalogue could not be loaded (not well-formed, or a root element without content); nothing was imported
  6  an importer ended early or statements were refused (the report says where and why); the import was
     saved all the same, unless --atomic (then nothing was saved) or check (which never saves)
)";

namespace {

ParseResult Refuse(std::string why) { return {std::nullopt, std::move(why)}; }

}  // namespace

ParseResult ParseCommandLine(const std::vector<std::string>& args) {
  if (args.empty()) return Refuse("no command given");
  const std::string& verb = args[0];
  if (verb == "--help" || verb == "-h" || verb == "help") return {HelpCommand{}, {}};

  if (verb == "init") {
    if (args.size() != 2) return Refuse("init takes exactly one argument, the database file");
    return {InitCommand{args[1]}, {}};
  }

  if (verb != "import" && verb != "check") return Refuse("unknown command '" + verb + "'");
  const bool check = verb == "check";
  bool database_given = false;
  ImportCommand import;
  bool have_catalog = false;
  for (std::size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&](std::string& out) -> bool {
      if (i + 1 >= args.size()) return false;
      out = args[++i];
      return true;
    };
    std::string v;
    if (a == "--help" || a == "-h") return {HelpCommand{}, {}};
    if (a == "--db") {
      if (!value(import.database)) return Refuse("--db needs a file");
      database_given = true;
    } else if (a == "--mode") {
      if (!value(v) || (v != "0" && v != "1" && v != "2")) return Refuse("--mode takes 0, 1 or 2");
      import.mode = v[0] - '0';
    } else if (a == "--media") {
      import.media = true;
    } else if (a == "--quiet") {
      import.quiet = true;
    } else if (a == "--report") {
      if (!value(v)) return Refuse("--report needs a file");
      import.report = v;
    } else if (a == "--atomic" && !check) {
      import.atomic = true;
    } else if (a == "--project" && !check) {
      if (!value(v)) return Refuse("--project needs a folder");
      import.project = v;
    } else if (a == "--regions") {
      import.regions = true;
    } else if (a == "--config-dir" && !check) {
      if (!value(v)) return Refuse("--config-dir needs a folder");
      import.config_dir = v;
    } else if (a == "--plain") {
      import.plain = true;
    } else if (a == "--verbose") {
      import.verbose = true;
    } else if (a.size() > 1 && a[0] == '-') {
      return Refuse("unknown option '" + a + "'");
    } else if (!have_catalog) {
      import.catalog = a;
      have_catalog = true;
    } else {
      return Refuse("more than one catalogue given ('" + import.catalog + "' and '" + a + "')");
    }
  }
  if (!have_catalog) return Refuse(verb + " needs the catalogue file");
  if (check) return {CheckCommand{import, database_given}, {}};
  return {import, {}};
}

}  // namespace cvimp::cli
