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
