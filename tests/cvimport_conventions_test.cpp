// The conventions of cvimport's command line: --version, --help of every command, --opt=value, the named
// modes, the note of a new database and --no-create, and the messages that name the file they are about.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/cvimport_process.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using ConventionsTest = cvimp::testing::CvimportProcessTest;
namespace fs = std::filesystem;

const std::string kExample = std::string(EXAMPLES_DIR) + "/reference-catalog.xml";
constexpr int kEndsEarly = 6;  // the example ends three importers early on purpose

TEST_F(ConventionsTest, VersionPrintsTheProjectsVersion) {
  const auto r = Run({"--version"});
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.out, std::string("cvimport ") + CVIMPORT_EXPECTED_VERSION + "\n");
  EXPECT_EQ(r.err, "");
}

TEST_F(ConventionsTest, EveryCommandsHelpPrintsItsUsageAndCreatesNothing) {
  for (const std::string verb : {"init", "import", "check", "restore"}) {
    const auto r = Run({verb, "--help"});
    EXPECT_EQ(r.exit_code, 0) << verb;
    EXPECT_THAT(r.out, StartsWith("Usage:\n  cvimport " + verb + " ")) << verb;
    EXPECT_THAT(r.out, HasSubstr("Example:\n  cvimport " + verb + " ")) << verb;
    EXPECT_EQ(r.err, "") << verb;
  }
  EXPECT_EQ(FileNames(), (std::vector<std::string>{"err.txt", "out.txt"}));
}

TEST_F(ConventionsTest, TheHelpShowsEveryCommandWithAnExample) {
  const auto r = Run({"--help"});
  EXPECT_EQ(r.exit_code, 0);
  for (const char* example : {"cvimport init shop.db\n", "cvimport import catalogue.xml --db shop.db --backup\n",
                              "cvimport check catalogue.xml --db shop.db\n",
                              "cvimport restore shop.db.2026-11-23T19-30-00Z.bak --db shop.db\n"})
    EXPECT_THAT(r.out, HasSubstr(example));
  EXPECT_THAT(r.out, HasSubstr("  130  interrupted (SIGINT, Ctrl-C)"));
}

TEST_F(ConventionsTest, InitTakesNoOptionForADatabaseName) {
  const auto r = Run({"init", "-x"});
  EXPECT_EQ(r.exit_code, 2);
  EXPECT_EQ(r.err, "cvimport: unknown option '-x' (a file whose name starts with '-' is given as ./-x)\n"
                   "Try 'cvimport --help'.\n");
  EXPECT_FALSE(fs::exists(dir_ / "-x"));
  EXPECT_EQ(Run({"import", kExample, "--db", "--quiet"}).exit_code, 2);
  EXPECT_FALSE(fs::exists(dir_ / "--quiet"));
}

TEST_F(ConventionsTest, OptionsTakeTheirValueAfterAnEqualsSignAndModesByName) {
  const auto by_number = Run({"import", kExample, "--db", "numbers.db", "--mode", "1", "--config-dir", config(), "--quiet"});
  ASSERT_EQ(by_number.exit_code, kEndsEarly) << by_number.err;
  const auto by_name = Run({"import", kExample, "--db=names.db", "--mode=add", "--config-dir=" + config(), "--quiet"});
  ASSERT_EQ(by_name.exit_code, kEndsEarly) << by_name.err;
  const auto numbers = Dump(dir_ / "numbers.db");
  EXPECT_GT(numbers.size(), 100u);
  EXPECT_EQ(Dump(dir_ / "names.db"), numbers);
}

TEST_F(ConventionsTest, ANewDatabaseIsAnnouncedAndAnExistingOneIsNot) {
  const auto first = Run({"import", kExample, "--db", "shop.db", "--config-dir", config()});
  ASSERT_EQ(first.exit_code, kEndsEarly);
  EXPECT_THAT(first.err, StartsWith("cvimport: creating the new shop database shop.db\n"));
  const auto second = Run({"import", kExample, "--db", "shop.db", "--config-dir", config()});
  ASSERT_EQ(second.exit_code, kEndsEarly);
  EXPECT_THAT(second.err, ::testing::Not(HasSubstr("creating")));
}

TEST_F(ConventionsTest, NoCreateRefusesAMissingDatabase) {
  const auto r = Run({"import", kExample, "--db", "typo.db", "--no-create", "--config-dir", config()});
  EXPECT_EQ(r.exit_code, 4);
  EXPECT_EQ(r.err, "cvimport: the shop database typo.db does not exist (--no-create)\n");
  EXPECT_FALSE(fs::exists(dir_ / "typo.db"));
  ASSERT_EQ(Run({"init", "shop.db"}).exit_code, 0);
  EXPECT_EQ(Run({"import", kExample, "--db", "shop.db", "--no-create", "--config-dir", config()}).exit_code, kEndsEarly);
}

TEST_F(ConventionsTest, AMissingCatalogueIsNamed) {
  const auto r = Run({"import", "nope.xml", "--db", "shop.db", "--config-dir", config()});
  EXPECT_EQ(r.exit_code, 3);
  EXPECT_EQ(r.err, "Datei nicht gefunden!\ncvimport: the catalogue file nope.xml does not exist; nothing was imported\n");
  EXPECT_FALSE(fs::exists(db()));
}

TEST_F(ConventionsTest, ADatabaseNameTooLongIsRefusedWithTheReason) {
  const std::string name = std::string(300, 'a') + ".db";
  const auto r = Run({"import", kExample, "--db", name, "--config-dir", config()});
  EXPECT_EQ(r.exit_code, 4);
  EXPECT_EQ(r.err, "cvimport: " + name + ": File name too long\n");
}

TEST_F(ConventionsTest, AFolderGivenAsTheDatabaseIsRefusedWithTheReason) {
  fs::create_directory(dir_ / "folder.db");
  const auto r = Run({"import", kExample, "--db", "folder.db", "--config-dir", config()});
  EXPECT_EQ(r.exit_code, 4);
  EXPECT_EQ(r.err, "cvimport: folder.db: Is a directory\n");
}

TEST_F(ConventionsTest, ADatabaseBelowAFileIsRefusedWithTheReason) {
  std::ofstream(dir_ / "plain") << "text";
  const auto r = Run({"import", kExample, "--db", "plain/shop.db", "--config-dir", config()});
  EXPECT_EQ(r.exit_code, 4);
  EXPECT_EQ(r.err, "cvimport: plain/shop.db: Not a directory\n");
}

TEST_F(ConventionsTest, ADatabaseInAFolderWithoutWritePermissionIsRefusedWithTheReason) {
  if (::geteuid() == 0) GTEST_SKIP() << "permissions do not hold for root";
  fs::create_directory(dir_ / "locked");
  fs::permissions(dir_ / "locked", fs::perms::owner_read | fs::perms::owner_exec);
  const auto r = Run({"import", kExample, "--db", "locked/shop.db", "--config-dir", config()});
  fs::permissions(dir_ / "locked", fs::perms::owner_all);
  EXPECT_EQ(r.exit_code, 4);
  EXPECT_EQ(r.err, "cvimport: locked/shop.db: cannot be created in locked: Permission denied\n");
  EXPECT_FALSE(fs::exists(dir_ / "locked" / "shop.db"));
}

}  // namespace
