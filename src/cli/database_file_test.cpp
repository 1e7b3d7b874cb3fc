#include "cli/database_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <regex>

#include "cli/backup.h"

namespace fs = std::filesystem;

namespace cvimp::cli {
namespace {

class DatabaseFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("cvimport-dbfile-" + std::to_string(::getpid()) + "-" +
                                        ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }
  static std::string Read(const fs::path& p) {
    std::ifstream in(p);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }
  fs::path dir_;
};

TEST_F(DatabaseFileTest, TheDefaultBackupCarriesTheUtcTimeInItsName) {
  const auto when = std::chrono::system_clock::from_time_t(1795462200);  // 2026-11-23 19:30:00 UTC
  EXPECT_EQ(DefaultBackupPath("/data/shop.db", when), fs::path("/data/shop.db.2026-11-23T19-30-00Z.bak"));
}

TEST_F(DatabaseFileTest, ATemporaryNameIsHiddenBesideTheDatabaseAndUnused) {
  const fs::path name = TemporaryNameBeside(dir_ / "shop.db");
  EXPECT_EQ(name.parent_path(), dir_);
  EXPECT_TRUE(std::regex_match(name.filename().string(), std::regex(R"(\.shop\.db\.cvimport-[A-Za-z0-9]{6})")))
      << name;
  EXPECT_FALSE(fs::exists(name));
  const fs::path long_name = TemporaryNameBeside(dir_ / (std::string(250, 'a') + ".db"));
  EXPECT_TRUE(std::regex_match(long_name.filename().string(), std::regex(R"(\.cvimport-[A-Za-z0-9]{6})")))
      << long_name;
}

TEST_F(DatabaseFileTest, PuttingInPlaceNeverReplacesUnlessAsked) {
  std::ofstream(dir_ / "made") << "new";
  std::ofstream(dir_ / "target") << "old";
  EXPECT_THROW(PutInPlace(dir_ / "made", dir_ / "target", false), std::runtime_error);
  EXPECT_EQ(Read(dir_ / "target"), "old");
  EXPECT_TRUE(fs::exists(dir_ / "made"));
  PutInPlace(dir_ / "made", dir_ / "target", true);
  EXPECT_EQ(Read(dir_ / "target"), "new");
  EXPECT_FALSE(fs::exists(dir_ / "made"));
  std::ofstream(dir_ / "other") << "other";
  PutInPlace(dir_ / "other", dir_ / "fresh", false);
  EXPECT_EQ(Read(dir_ / "fresh"), "other");
  EXPECT_FALSE(fs::exists(dir_ / "other"));
}

TEST_F(DatabaseFileTest, PathProblemsAreNamedWithTheSystemsReason) {
  bool exists = true;
  EXPECT_EQ(DatabasePathProblem(dir_ / "new.db", exists), "");
  EXPECT_FALSE(exists);
  EXPECT_EQ(DatabasePathProblem(dir_, exists), "Is a directory");
  EXPECT_TRUE(exists);
  EXPECT_EQ(DatabasePathProblem(dir_ / "missing" / "new.db", exists),
            "cannot be created: its folder " + (dir_ / "missing").string() + ": No such file or directory");
  EXPECT_EQ(DatabasePathProblem(dir_ / (std::string(300, 'a') + ".db"), exists), "File name too long");
  EXPECT_FALSE(exists);
}

}  // namespace
}  // namespace cvimp::cli
