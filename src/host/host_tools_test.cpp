#include "host/host_tools.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "common/error.h"
#include "host/host_tools_test_fixture.h"

namespace cvimp::host {
namespace {

namespace fs = std::filesystem;
using testing::CliFileSystemTest;

TEST(CliStringTools, SqlQuoteDoublesEverySingleQuote) {
  CliStringTools tools;
  EXPECT_EQ(tools.SqlQuote("O'Brien's"), "O''Brien''s");
  EXPECT_EQ(tools.SqlQuote("''"), "''''");
  EXPECT_EQ(tools.SqlQuote("\"kein\" Apostroph"), "\"kein\" Apostroph");
  EXPECT_EQ(tools.SqlQuote(""), "");
}

TEST_F(CliFileSystemTest, FileExistsOnlyForARegularFile) {
  EXPECT_TRUE(files.FileExists(At("folder/file.xml")));
  EXPECT_FALSE(files.FileExists(At("folder")));
  EXPECT_FALSE(files.FileExists(At("folder/missing.xml")));
  EXPECT_FALSE(files.FileExists(""));
}

TEST_F(CliFileSystemTest, FolderExistsOnlyForAFolder) {
  EXPECT_TRUE(files.FolderExists(At("folder")));
  EXPECT_FALSE(files.FolderExists(At("folder/file.xml")));
  EXPECT_FALSE(files.FolderExists(At("nothing")));
  EXPECT_FALSE(files.FolderExists(""));
}

TEST_F(CliFileSystemTest, BackslashesSeparateFolders) {
  EXPECT_TRUE(files.FileExists(Utf8FromPath(temp.path()) + "\\folder\\file.xml"));
  EXPECT_TRUE(files.FolderExists(Utf8FromPath(temp.path()) + "\\folder"));
  files.CreateFolder(Utf8FromPath(temp.path()) + "\\Media\\images");
  EXPECT_TRUE(fs::is_directory(temp.path() / "Media" / "images"));
  EXPECT_EQ(PosixPath("a\\b\\c"), "a/b/c");
}

TEST_F(CliFileSystemTest, CreateFolderCreatesEveryMissingFolderAbove) {
  files.CreateFolder(At("a/b/c"));
  EXPECT_TRUE(fs::is_directory(temp.path() / "a" / "b" / "c"));
}

TEST_F(CliFileSystemTest, CreatingAnExistingFolderChangesNothing) {
  files.CreateFolder(At("folder"));
  EXPECT_TRUE(fs::is_regular_file(temp.path() / "folder" / "file.xml"));
}

TEST_F(CliFileSystemTest, CreateFolderWhereAFileStandsRaises) {
  try {
    files.CreateFolder(At("folder/file.xml"));
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.code(), ErrorCode::kInvalidArgument);
  }
  EXPECT_THROW(files.CreateFolder(At("folder/file.xml/below")), Error);
  EXPECT_THROW(files.CreateFolder(""), Error);
}

TEST(CliHostTools, HandsOutStringToolsAndAFileSystem) {
  CliHostTools tools;
  std::shared_ptr<plugin::StringTools> strings = tools.GetStringTools();
  ASSERT_NE(strings, nullptr);
  EXPECT_EQ(strings->SqlQuote("a'b"), "a''b");
  std::shared_ptr<plugin::FileSystem> files = tools.GetFileSystem();
  ASSERT_NE(files, nullptr);
  EXPECT_TRUE(files->FolderExists("/"));
}

}  // namespace
}  // namespace cvimp::host
