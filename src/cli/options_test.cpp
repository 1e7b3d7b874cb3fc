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
  EXPECT_EQ(ParseCommandLine({"import", "a.xml", "--mode", "3"}).error, "--mode takes 0, 1 or 2");
  EXPECT_EQ(ParseCommandLine({"import", "a.xml", "--mode"}).error, "--mode takes 0, 1 or 2");
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
