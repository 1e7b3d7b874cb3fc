// What `cvimport --help` and each command's --help print.
#include <string>

#include "cli/options.h"

namespace cvimp::cli {

const char* const kVersion = CVIMPORT_VERSION;

namespace {

#define CVIMPORT_INIT_USAGE "  cvimport init DB\n"
#define CVIMPORT_IMPORT_USAGE                                                                              \
  "  cvimport import CATALOG [--db DB] [--mode MODE] [--media] [--project DIR] [--regions]\n"             \
  "                          [--config-dir DIR] [--plain] [--verbose] [--quiet] [--report FILE] [--atomic]\n" \
  "                          [--no-create] [--backup[=FILE]]\n"
#define CVIMPORT_CHECK_USAGE                                                                        \
  "  cvimport check CATALOG [--db DB] [--mode MODE] [--media] [--regions] [--plain] [--verbose] [--quiet]\n" \
  "                         [--report FILE]\n"
#define CVIMPORT_RESTORE_USAGE "  cvimport restore FILE --db DB\n"

#define CVIMPORT_IMPORT_OPTIONS                                                                                   \
  "  --db DB              the shop database (default: shop.db in the current folder, created when missing)\n"     \
  "  --mode MODE          add-update or 0: add new records and update existing ones (default),\n"                  \
  "                       add or 1: only add new records, update or 2: only update existing records\n"            \
  "  --media              also import the media records and copy the media files\n"                               \
  "  --project DIR        the shop project's folder, below which media files go (default: the database's folder)\n" \
  "  --regions            also import the Regions section\n"                                                      \
  "  --config-dir DIR     where the settings are kept (default: $XDG_CONFIG_HOME/cvimport or ~/.config/cvimport)\n" \
  "  --plain              print every status text on a line of its own (also when stdout is not a terminal)\n"    \
  "  --verbose            also print to stderr every error that the database layer raised during the run\n"      \
  "  --quiet              no report after the run, and no note of a new database or a backup\n"                                                              \
  "  --report FILE        also write the report as JSON to FILE (also when the import fails)\n"                  \
  "  --atomic             save nothing unless every importer ran to its end and no statement was refused\n"      \
  "  --no-create          refuse a database that does not exist (exit 4) instead of creating it\n"              \
  "  --backup[=FILE]      before the import, copy the existing database to FILE (only the = form takes a\n"      \
  "                       file; default: DB.YYYY-MM-DDTHH-MM-SSZ.bak beside the database, in UTC)\n"            \
  "An option takes its value after a space or after '=' (--db shop.db, --db=shop.db). After -- every word\n"  \
  "is a file name.\n"

#define CVIMPORT_EXIT_CODES                                                                                     \
  "Exit codes:\n"                                                                                                \
  "  0    the import ran to its end: every importer finished and no statement was refused\n"                     \
  "  1    an unexpected failure\n"                                                                               \
  "  2    bad command line\n"                                                                                    \
  "  3    the catalogue file does not exist; nothing was imported\n"                                             \
  "  4    the database cannot be created or opened, or is not a shop database (also: the backup to restore)\n"  \
  "  5    the catalogue could not be loaded (not well-formed, or a root element without content); nothing was\n" \
  "       imported\n"                                                                                            \
  "  6    an importer ended early or statements were refused (the report says where and why); the import was\n"  \
  "       saved all the same, unless --atomic (then nothing was saved) or check (which never saves)\n"           \
  "  130  interrupted (SIGINT, Ctrl-C): rolled back, nothing was imported, a database the run created removed\n" \
  "  143  terminated (SIGTERM): the same\n"

const char* const kInitUsage =
    "Usage:\n" CVIMPORT_INIT_USAGE
    "\nCreates a new, empty shop database DB from the shop schema; an existing file is never overwritten.\n"
    "\nExample:\n  cvimport init shop.db\n";

const char* const kImportUsage =
    "Usage:\n" CVIMPORT_IMPORT_USAGE
    "\nImports the catalogue into the shop database in one transaction, committed when the import returns.\n"
    "Ctrl-C or SIGTERM rolls the import back (exit 130 / 143).\n"
    "\nOptions:\n" CVIMPORT_IMPORT_OPTIONS "\n" CVIMPORT_EXIT_CODES
    "\nExample:\n  cvimport import catalogue.xml --db shop.db --media --backup\n";

const char* const kCheckUsage =
    "Usage:\n" CVIMPORT_CHECK_USAGE
    "\nRuns the whole import in a transaction that is rolled back and reports what it would do; nothing is\n"
    "written (without --db: into a new, empty shop database). The options mean what they mean for import.\n"
    "\nExample:\n  cvimport check catalogue.xml --db shop.db\n";

const char* const kRestoreUsage =
    "Usage:\n" CVIMPORT_RESTORE_USAGE
    "\nPuts FILE (a copy made by import --backup) in place of the shop database DB, in one step: FILE is\n"
    "copied beside DB and the copy renamed over DB. A FILE that is not a shop database is refused (exit 4).\n"
    "\nExample:\n  cvimport restore shop.db.2026-11-23T19-30-00Z.bak --db shop.db\n";

}  // namespace

const char* const kUsage =
    "Usage:\n" CVIMPORT_INIT_USAGE CVIMPORT_IMPORT_USAGE CVIMPORT_CHECK_USAGE CVIMPORT_RESTORE_USAGE
    "  cvimport COMMAND --help\n"
    "  cvimport --help | --version\n"
    "\n"
    "Imports a shop catalogue (an XML file with the root element CalvoraCatalog) into a shop database.\n"
    "\n"
    "Commands:\n"
    "  init DB              create a new, empty shop database; an existing file is never overwritten\n"
    "                         cvimport init shop.db\n"
    "  import CATALOG       import the catalogue, in one transaction committed when the import returns\n"
    "                         cvimport import catalogue.xml --db shop.db --backup\n"
    "  check CATALOG        run the whole import in a transaction that is rolled back, and report what it would\n"
    "                       do; nothing is written (without --db: into a new, empty shop database)\n"
    "                         cvimport check catalogue.xml --db shop.db\n"
    "  restore FILE         put a copy made by import --backup back in place of the database\n"
    "                         cvimport restore shop.db.2026-11-23T19-30-00Z.bak --db shop.db\n"
    "\n"
    "Options of import:\n" CVIMPORT_IMPORT_OPTIONS
    "\n"
    "After the run a report says, section by section, what the import did (on stderr when stdout is not a\n"
    "terminal or with --plain). Status texts go to stdout; messages and errors to stderr.\n"
    "\n" CVIMPORT_EXIT_CODES;

const char* UsageOf(const std::string& topic) {
  if (topic == "init") return kInitUsage;
  if (topic == "import") return kImportUsage;
  if (topic == "check") return kCheckUsage;
  if (topic == "restore") return kRestoreUsage;
  return kUsage;
}

}  // namespace cvimp::cli
