// cvimport cut short: SIGINT and SIGTERM during an import roll it back and say so, SIGKILL leaves no new
// database under the user's name, and a closed stdout does not end the import without a word.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/cvimport_process.h"

namespace {

using ::testing::HasSubstr;
namespace fs = std::filesystem;
using cvimp::testing::Slurp;
using cvimp::testing::Stdout;

const std::string kExample = std::string(EXAMPLES_DIR) + "/reference-catalog.xml";
constexpr int kEndsEarly = 6;  // the example ends three importers early on purpose

struct Interruption {
  int signal;
  int exit_code;
  std::string name;
};

class InterruptionTest : public cvimp::testing::CvimportProcessTest,
                         public ::testing::WithParamInterface<Interruption> {
 protected:
  // Starts the import of a large catalogue, waits until it writes into its transaction (SQLite makes the
  // rollback journal `journal_suffix` with the first write) and sends the signal.
  cvimp::testing::ProcessResult ImportAndSignal(int signal, const std::string& journal_suffix) {
    const fs::path catalog = WriteBigCatalogue();
    const pid_t child = Start({"import", catalog.string(), "--db", "shop.db", "--config-dir", config()});
    const bool writing = WaitUntil(child, [&] { return !FilesEndingWith(journal_suffix).empty(); });
    EXPECT_TRUE(writing) << "the run ended before it wrote anything";
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ::kill(child, signal);
    return Wait(child);
  }
};

TEST_P(InterruptionTest, AnExistingDatabaseIsLeftByteForByteAsItWas) {
  ASSERT_EQ(Run({"init", "shop.db"}).exit_code, 0);
  const std::string before = Slurp(db());
  const auto r = ImportAndSignal(GetParam().signal, "shop.db-journal");
  EXPECT_EQ(r.exit_code, GetParam().exit_code);
  EXPECT_EQ(r.err, "cvimport: interrupted by " + GetParam().name +
                       ": nothing was imported; the database shop.db is as it was\n");
  EXPECT_TRUE(Slurp(db()) == before) << "the database changed";
  EXPECT_EQ(FileNames(), (std::vector<std::string>{"big.xml", "config", "err.txt", "out.txt", "shop.db"}));
}

TEST_P(InterruptionTest, ADatabaseTheRunWasCreatingIsRemoved) {
  const auto r = ImportAndSignal(GetParam().signal, "-journal");
  EXPECT_EQ(r.exit_code, GetParam().exit_code);
  EXPECT_EQ(r.err, "cvimport: creating the new shop database shop.db\ncvimport: interrupted by " + GetParam().name +
                       ": nothing was imported; the new shop database shop.db was not created\n");
  EXPECT_EQ(FileNames(), (std::vector<std::string>{"big.xml", "config", "err.txt", "out.txt"}));
}

INSTANTIATE_TEST_SUITE_P(Signals, InterruptionTest,
                         ::testing::Values(Interruption{SIGINT, 130, "SIGINT"}, Interruption{SIGTERM, 143, "SIGTERM"}),
                         [](const auto& info) { return info.param.name; });

using CutShortTest = cvimp::testing::CvimportProcessTest;

TEST_F(CutShortTest, ARunKilledWhileCreatingTheDatabaseLeavesNoFileUnderItsName) {
  const fs::path catalog = WriteBigCatalogue();
  const pid_t child = Start({"import", catalog.string(), "--db", "shop.db", "--config-dir", config()});
  const bool writing = WaitUntil(child, [&] { return !FilesEndingWith("-journal").empty(); });
  ASSERT_TRUE(writing) << "the run ended before it wrote anything";
  // The new database is written under a hidden name beside its own.
  EXPECT_THAT(FilesEndingWith("-journal").at(0), ::testing::StartsWith(".shop.db.cvimport-"));
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  ::kill(child, SIGKILL);
  const auto r = Wait(child);
  EXPECT_EQ(r.signal, SIGKILL);
  EXPECT_FALSE(fs::exists(db()));
  EXPECT_TRUE(FilesEndingWith("shop.db").empty());
}

TEST_F(CutShortTest, ANewDatabaseTakesItsNameWhenTheImportIsSaved) {
  const auto r = Run({"import", kExample, "--db", "shop.db", "--config-dir", config(), "--quiet"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(FileNames(), (std::vector<std::string>{"config", "err.txt", "out.txt", "shop.db"}));
  EXPECT_GT(Dump(db()).size(), 100u);
}

TEST_F(CutShortTest, AClosedStdoutDoesNotEndTheImportWithoutAWord) {
  const auto r = Run({"import", kExample, "--db", "shop.db", "--config-dir", config(), "--quiet"}, Stdout::kClosedPipe);
  EXPECT_EQ(r.signal, 0);
  EXPECT_EQ(r.exit_code, kEndsEarly);
  EXPECT_EQ(r.err, "cvimport: the output was cut: stdout was closed before the run ended; the run itself went on to "
                   "its end (exit code 6)\n");
  ASSERT_TRUE(fs::exists(db()));
  const auto imported = Dump(db());
  ASSERT_EQ(Run({"import", kExample, "--db", "again.db", "--config-dir", config(), "--quiet"}).exit_code, kEndsEarly);
  EXPECT_EQ(Dump(dir_ / "again.db"), imported);
}

}  // namespace
