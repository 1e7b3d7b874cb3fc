// The file copy of the command-line host where a POSIX file system has what the test needs: symbolic links
// (which need a privilege on Windows) and "\" as a character of a file name.
#include <gtest/gtest.h>

#include <filesystem>

#include "host/cli_platform_test_fixture.h"

namespace cvimp::host {
namespace {

namespace fs = std::filesystem;
using testing::CliPlatformCopyFile;

TEST_F(CliPlatformCopyFile, NeverWritesThroughALinkThatStandsAtTheTarget) {
  Write("a.jpg", "neu");
  Write("anderswo.jpg", "fremd");
  fs::create_symlink(At("anderswo.jpg"), At("link.jpg"));
  fs::create_symlink(At("nirgends.jpg"), At("dangling.jpg"));
  EXPECT_FALSE(Copy(At("a.jpg"), At("link.jpg")));
  EXPECT_EQ(Read("anderswo.jpg"), "fremd");
  EXPECT_FALSE(Copy(At("a.jpg"), At("dangling.jpg")));
  EXPECT_FALSE(fs::exists(At("nirgends.jpg")));
}

TEST_F(CliPlatformCopyFile, FollowsALinkToARegularFileAtTheSource) {
  Write("a.jpg", "Bild");
  fs::create_symlink(At("a.jpg"), At("link.jpg"));
  EXPECT_TRUE(Copy(At("link.jpg"), At("b.jpg")));
  EXPECT_EQ(Read("b.jpg"), "Bild");
  EXPECT_FALSE(fs::is_symlink(At("b.jpg")));
}

TEST_F(CliPlatformCopyFile, MakesNoFileWhoseNameHoldsTheBackslashes) {
  fs::create_directories(At("export/Media/images"));
  fs::create_directories(At("projekt/Media/images"));
  Write("export/Media/images/a.jpg", "Bild A");
  EXPECT_TRUE(Copy(At("export") + "/Media\\images\\a.jpg", At("projekt") + "\\Media\\images\\a.jpg"));
  EXPECT_FALSE(fs::exists(At("projekt\\Media\\images\\a.jpg")));
}

}  // namespace
}  // namespace cvimp::host
