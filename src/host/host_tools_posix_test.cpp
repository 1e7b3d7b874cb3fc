// The command-line host's file system where a POSIX file system has what the test needs: symbolic links
// (which need a privilege on Windows).
#include <gtest/gtest.h>

#include <filesystem>

#include "host/host_tools_test_fixture.h"

namespace cvimp::host {
namespace {

namespace fs = std::filesystem;
using testing::CliFileSystemTest;

TEST_F(CliFileSystemTest, FileExistsFollowsALinkToAFile) {
  fs::create_symlink(At("folder/file.xml"), At("link.xml"));
  fs::create_symlink(At("folder/missing.xml"), At("dangling.xml"));
  EXPECT_TRUE(files.FileExists(At("link.xml")));
  EXPECT_FALSE(files.FileExists(At("dangling.xml")));
}

}  // namespace
}  // namespace cvimp::host
