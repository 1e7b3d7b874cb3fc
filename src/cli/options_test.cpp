#include "cli/options.h"

#include <gtest/gtest.h>

namespace cvimp::cli {
namespace {

ImportCommand ParseImport(const std::vector<std::string>& args) {
  ParseResult r = ParseCommandLine(args);
  EXPECT_TRUE(r.command.has_value()) << r.error;
  return std::get<ImportCommand>(*r.command);
}

TEST(ParseCommandLine, ImportTakesEveryOption) {
  ImportCommand c = ParseImport({"import", "cat.xml", "--db", "x.db", "--mode", "2", "--media", "--project", "/p",
                                 "--regions", "--config-dir", "/c", "--plain", "--verbose"});
  EXPECT_EQ(c.catalog, "cat.xml");
  EXPECT_EQ(c.database, "x.db");
  EXPECT_EQ(c.mode, 2);
  EXPECT_TRUE(c.media);
  EXPECT_EQ(c.project, "/p");
  EXPECT_TRUE(c.regions);
  EXPECT_EQ(c.config_dir, "/c");
  EXPECT_TRUE(c.plain);
  EXPECT_TRUE(c.verbose);
}

TEST(ParseCommandLine, ImportDefaultsToShopDbInModeZeroWithoutMedia) {
  ImportCommand c = ParseImport({"import", "cat.xml"});
  EXPECT_EQ(c.database, "shop.db");
  EXPECT_EQ(c.mode, 0);
  EXPECT_FALSE(c.media);
  EXPECT_FALSE(c.project.has_value());
  EXPECT_FALSE(c.regions);
}

TEST(ParseCommandLine, RefusesWhatItDoesNotKnowWithAReason) {
  EXPECT_EQ(ParseCommandLine({"import", "a.xml", "--mode", "3"}).error,
            "--mode takes add-update (0), add (1) or update (2)");
  EXPECT_EQ(ParseCommandLine({"import", "a.xml", "--mode"}).error, "--mode takes add-update (0), add (1) or update (2)");
  EXPECT_EQ(ParseCommandLine({"import"}).error, "import needs the catalogue file");
  EXPECT_EQ(ParseCommandLine({"import", "a.xml", "b.xml"}).error,
            "more than one catalogue given ('a.xml' and 'b.xml')");
  EXPECT_EQ(ParseCommandLine({"import", "a.xml", "--fast"}).error, "unknown option '--fast'");
  EXPECT_EQ(ParseCommandLine({"export"}).error, "unknown command 'export'");
  EXPECT_EQ(ParseCommandLine({}).error, "no command given");
  EXPECT_EQ(ParseCommandLine({"init"}).error, "init takes exactly one argument, the database file");
}

TEST(ParseCommandLine, InitAndHelp) {
  EXPECT_EQ(std::get<InitCommand>(*ParseCommandLine({"init", "new.db"}).command).database, "new.db");
  EXPECT_TRUE(std::holds_alternative<HelpCommand>(*ParseCommandLine({"--help"}).command));
  EXPECT_TRUE(std::holds_alternative<HelpCommand>(*ParseCommandLine({"import", "--help"}).command));
}

}  // namespace
}  // namespace cvimp::cli

namespace cvimp::cli {
namespace {

TEST(ParseCommandLine, ImportTakesTheReportOptions) {
  ImportCommand c = ParseImport({"import", "cat.xml", "--quiet", "--report", "r.json", "--atomic"});
  EXPECT_TRUE(c.quiet);
  EXPECT_EQ(c.report, "r.json");
  EXPECT_TRUE(c.atomic);
  ImportCommand plain = ParseImport({"import", "cat.xml"});
  EXPECT_FALSE(plain.quiet);
  EXPECT_FALSE(plain.report.has_value());
  EXPECT_FALSE(plain.atomic);
  EXPECT_EQ(ParseCommandLine({"import", "a.xml", "--report"}).error, "--report needs a file");
}

TEST(ParseCommandLine, CheckTakesTheOptionsOfADryRun) {
  ParseResult r = ParseCommandLine(
      {"check", "cat.xml", "--db", "x.db", "--mode", "1", "--media", "--regions", "--report", "r.json", "--quiet"});
  ASSERT_TRUE(r.command.has_value()) << r.error;
  const CheckCommand& c = std::get<CheckCommand>(*r.command);
  EXPECT_TRUE(c.database_given);
  EXPECT_EQ(c.import.catalog, "cat.xml");
  EXPECT_EQ(c.import.database, "x.db");
  EXPECT_EQ(c.import.mode, 1);
  EXPECT_TRUE(c.import.media);
  EXPECT_TRUE(c.import.regions);
  EXPECT_EQ(c.import.report, "r.json");
  EXPECT_FALSE(std::get<CheckCommand>(*ParseCommandLine({"check", "cat.xml"}).command).database_given);
  // What would write, or cannot apply to a run that saves nothing, is refused.
  EXPECT_EQ(ParseCommandLine({"check", "cat.xml", "--atomic"}).error, "unknown option '--atomic'");
  EXPECT_EQ(ParseCommandLine({"check", "cat.xml", "--project", "/p"}).error, "unknown option '--project'");
  EXPECT_EQ(ParseCommandLine({"check", "cat.xml", "--config-dir", "/c"}).error, "unknown option '--config-dir'");
  EXPECT_EQ(ParseCommandLine({"check"}).error, "check needs the catalogue file");
}

}  // namespace
}  // namespace cvimp::cli

namespace cvimp::cli {
namespace {

TEST(ParseCommandLine, EveryValueIsTakenAlsoAfterAnEqualsSign) {
  ImportCommand c = ParseImport({"import", "cat.xml", "--db=x.db", "--mode=update", "--project=/p", "--config-dir=/c",
                                 "--report=r.json"});
  EXPECT_EQ(c.database, "x.db");
  EXPECT_EQ(c.mode, 2);
  EXPECT_EQ(c.project, "/p");
  EXPECT_EQ(c.config_dir, "/c");
  EXPECT_EQ(c.report, "r.json");
  EXPECT_EQ(ParseImport({"import", "cat.xml", "--db=--odd.db"}).database, "--odd.db");
}

TEST(ParseCommandLine, ModesHaveNamesBesideTheirNumbers) {
  EXPECT_EQ(ParseImport({"import", "c.xml", "--mode", "add-update"}).mode, 0);
  EXPECT_EQ(ParseImport({"import", "c.xml", "--mode", "add"}).mode, 1);
  EXPECT_EQ(ParseImport({"import", "c.xml", "--mode", "update"}).mode, 2);
  EXPECT_EQ(ParseImport({"import", "c.xml", "--mode=1"}).mode, 1);
  EXPECT_EQ(ParseCommandLine({"import", "c.xml", "--mode=Add"}).error,
            "--mode takes add-update (0), add (1) or update (2)");
}

TEST(ParseCommandLine, AnOptionIsNeverTakenForAFileName) {
  EXPECT_EQ(ParseCommandLine({"import", "c.xml", "--db", "--media"}).error, "--db needs a file");
  EXPECT_EQ(ParseCommandLine({"init", "-x"}).error,
            "unknown option '-x' (a file whose name starts with '-' is given as ./-x)");
  EXPECT_EQ(std::get<InitCommand>(*ParseCommandLine({"init", "--", "-x"}).command).database, "-x");
  EXPECT_EQ(ParseImport({"import", "--", "-c.xml"}).catalog, "-c.xml");
  EXPECT_EQ(ParseCommandLine({"import", "c.xml", "--media=yes"}).error, "option '--media' takes no value");
}

TEST(ParseCommandLine, EveryCommandHasItsHelp) {
  for (const std::string verb : {"init", "import", "check", "restore"}) {
    ParseResult r = ParseCommandLine({verb, "--help"});
    ASSERT_TRUE(r.command.has_value()) << verb;
    EXPECT_EQ(std::get<HelpCommand>(*r.command).topic, verb);
    EXPECT_NE(std::string(UsageOf(verb)), std::string(kUsage));
    EXPECT_EQ(std::string(UsageOf(verb)).rfind("Usage:\n  cvimport " + verb + " ", 0), 0u) << verb;
  }
  EXPECT_EQ(std::get<HelpCommand>(*ParseCommandLine({"import", "c.xml", "-h"}).command).topic, "import");
  EXPECT_TRUE(std::holds_alternative<VersionCommand>(*ParseCommandLine({"--version"}).command));
}

TEST(ParseCommandLine, BackupTakesAFileOnlyAfterAnEqualsSign) {
  ImportCommand plain = ParseImport({"import", "--backup", "c.xml"});
  EXPECT_EQ(plain.catalog, "c.xml");
  EXPECT_EQ(plain.backup, "");
  ImportCommand named = ParseImport({"import", "c.xml", "--backup=copy.db"});
  EXPECT_EQ(named.backup, "copy.db");
  EXPECT_FALSE(ParseImport({"import", "c.xml"}).backup.has_value());
  EXPECT_EQ(ParseCommandLine({"import", "c.xml", "--backup="}).error, "--backup= needs a file");
  EXPECT_EQ(ParseCommandLine({"check", "c.xml", "--backup"}).error, "unknown option '--backup'");
  EXPECT_TRUE(ParseImport({"import", "c.xml", "--no-create"}).no_create);
}

TEST(ParseCommandLine, RestoreTakesTheBackupAndTheDatabase) {
  RestoreCommand r = std::get<RestoreCommand>(*ParseCommandLine({"restore", "b.bak", "--db=shop.db"}).command);
  EXPECT_EQ(r.backup, "b.bak");
  EXPECT_EQ(r.database, "shop.db");
  EXPECT_EQ(ParseCommandLine({"restore", "b.bak"}).error,
            "restore needs --db, the database to put the backup in place of");
  EXPECT_EQ(ParseCommandLine({"restore", "--db", "x.db"}).error, "restore needs the backup file");
}

}  // namespace
}  // namespace cvimp::cli
