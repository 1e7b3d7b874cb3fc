// import --backup[=FILE] and restore: the copy before an import and the way back to it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "testing/cvimport_process.h"

namespace {

using ::testing::HasSubstr;
namespace fs = std::filesystem;
using cvimp::testing::Slurp;
using ProcessTest = cvimp::testing::CvimportProcessTest;

const std::string kExample = std::string(EXAMPLES_DIR) + "/reference-catalog.xml";
constexpr int kEndsEarly = 6;  // the example ends three importers early on purpose

class BackupTest : public ProcessTest {
 protected:
  // The example imported into shop.db: the database as it is before the import that the tests undo.
  void SetUp() override {
    ProcessTest::SetUp();
    ASSERT_EQ(Run({"import", kExample, "--db", "shop.db", "--config-dir", config(), "--quiet"}).exit_code, kEndsEarly);
    before_ = Dump(db());
    ASSERT_GT(before_.size(), 100u);
  }
  // A second import that changes the database: keywords the example does not have.
  cvimp::testing::ProcessResult ChangeWith(const std::vector<std::string>& more) {
    std::vector<std::string> args = {"import", WriteBigCatalogue(50).string(), "--db", "shop.db", "--config-dir", config()};
    args.insert(args.end(), more.begin(), more.end());
    return Run(args);
  }
  std::vector<std::string> before_;
};

TEST_F(BackupTest, ARestoredBackupEqualsTheDatabaseBeforeTheImport) {
  const auto r = ChangeWith({"--backup=before.bak", "--quiet"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.err, "");
  ASSERT_NE(Dump(db()), before_);
  EXPECT_EQ(Dump(dir_ / "before.bak"), before_);

  const auto restored = Run({"restore", "before.bak", "--db", "shop.db"});
  EXPECT_EQ(restored.exit_code, 0);
  EXPECT_EQ(restored.err, "cvimport: restored shop.db from before.bak\n");
  EXPECT_EQ(Dump(db()), before_);
  EXPECT_TRUE(FilesEndingWith("-journal").empty());
  EXPECT_EQ(FileNames(), (std::vector<std::string>{"before.bak", "big.xml", "config", "err.txt", "out.txt", "shop.db"}));
}

TEST_F(BackupTest, WithoutAFileTheBackupIsNamedWithTheTimeBesideTheDatabaseAndTheRunSaysWhere) {
  const auto r = ChangeWith({"--backup"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const std::vector<std::string> backups = FilesEndingWith(".bak");
  ASSERT_EQ(backups.size(), 1u);
  EXPECT_TRUE(std::regex_match(backups[0], std::regex(R"(shop\.db\.\d{4}-\d\d-\d\dT\d\d-\d\d-\d\dZ\.bak)")))
      << backups[0];
  EXPECT_THAT(r.err, HasSubstr("cvimport: backed up shop.db to " + (dir_ / backups[0]).string() + "\n"));
  EXPECT_EQ(Dump(dir_ / backups[0]), before_);
}

TEST_F(BackupTest, AnExistingBackupFileIsNeverOverwrittenAndNothingIsImported) {
  std::ofstream(dir_ / "taken.bak") << "mine";
  const std::string database = Slurp(db());
  const auto r = ChangeWith({"--backup=taken.bak"});
  EXPECT_EQ(r.exit_code, 4);
  EXPECT_EQ(r.err, "cvimport: no backup, nothing imported: the backup " + (dir_ / "taken.bak").string() +
                       " exists already\n");
  EXPECT_EQ(Slurp(dir_ / "taken.bak"), "mine");
  EXPECT_TRUE(Slurp(db()) == database);
}

TEST_F(BackupTest, RestoreRefusesAFileThatIsNotAShopDatabase) {
  std::ofstream(dir_ / "notes.txt") << "just text";
  const std::string database = Slurp(db());
  const auto text = Run({"restore", "notes.txt", "--db", "shop.db"});
  EXPECT_EQ(text.exit_code, 4);
  EXPECT_EQ(text.err, "cvimport: notes.txt is not a shop database: Cannot open the database notes.txt: file is not a "
                      "database\n");
  {
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open((dir_ / "other.db").c_str(), &other), SQLITE_OK);
    sqlite3_exec(other, "CREATE TABLE Things (Name TEXT)", nullptr, nullptr, nullptr);
    sqlite3_close(other);
  }
  const auto other = Run({"restore", "other.db", "--db", "shop.db"});
  EXPECT_EQ(other.exit_code, 4);
  EXPECT_THAT(other.err, ::testing::StartsWith("cvimport: other.db is not a shop database: table "));
  EXPECT_TRUE(Slurp(db()) == database);
  EXPECT_TRUE(FilesEndingWith("-journal").empty());
}

TEST_F(BackupTest, RestoreRefusesADatabaseWithARollbackJournalBesideIt) {
  ASSERT_EQ(Run({"init", "copy.db"}).exit_code, 0);
  std::ofstream(dir_ / "shop.db-journal") << "hot";
  const auto r = Run({"restore", "copy.db", "--db", "shop.db"});
  EXPECT_EQ(r.exit_code, 4);
  EXPECT_EQ(r.err, "cvimport: " + (dir_ / "shop.db-journal").string() +
                       " exists: the database is in use or a run on it was cut short; nothing was restored\n");
}

}  // namespace
