// The file copy of the command-line host's platform, which the media import uses: a copy of a regular file
// that never overwrites an existing target, with the plug-in's "\" read as "/", and false (never an
// exception) for any copy that is not made.
#include "host/cli_platform.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host/cli_platform_test_fixture.h"

namespace cvimp::host {
namespace {

namespace fs = std::filesystem;
using testing::CliPlatformCopyFile;

TEST_F(CliPlatformCopyFile, CopiesARegularFileByteForByte) {
  std::string content = std::string("Bild\0mit\r\nNull", 14);
  for (int i = 0; i < 200000; ++i) content += static_cast<char>(i * 7);  // more than one buffer's worth
  Write("a.jpg", content);
  EXPECT_TRUE(Copy(At("a.jpg"), At("b.jpg")));
  EXPECT_EQ(Read("b.jpg"), content);
  EXPECT_EQ(Read("a.jpg"), content);
}

TEST_F(CliPlatformCopyFile, CopiesAnEmptyFile) {
  Write("leer.txt", "");
  EXPECT_TRUE(Copy(At("leer.txt"), At("kopie.txt")));
  EXPECT_TRUE(fs::is_regular_file(At("kopie.txt")));
  EXPECT_EQ(fs::file_size(At("kopie.txt")), 0u);
}

TEST_F(CliPlatformCopyFile, NeverOverwritesAnExistingTarget) {
  Write("a.jpg", "neu");
  Write("b.jpg", "schon da");
  EXPECT_FALSE(Copy(At("a.jpg"), At("b.jpg")));
  EXPECT_EQ(Read("b.jpg"), "schon da");
  // Copying a file onto itself leaves it as it is, too.
  EXPECT_FALSE(Copy(At("a.jpg"), At("a.jpg")));
  EXPECT_EQ(Read("a.jpg"), "neu");
}

TEST_F(CliPlatformCopyFile, WithoutFailIfExistsAnExistingTargetIsReplaced) {
  Write("a.jpg", "neu");
  Write("b.jpg", "alt und länger");
  EXPECT_TRUE(Copy(At("a.jpg"), At("b.jpg"), false));
  EXPECT_EQ(Read("b.jpg"), "neu");
}

TEST_F(CliPlatformCopyFile, RefusesAMissingSourceAndMakesNoTarget) {
  EXPECT_FALSE(Copy(At("fehlt.jpg"), At("b.jpg")));
  EXPECT_FALSE(fs::exists(At("b.jpg")));
}

TEST_F(CliPlatformCopyFile, RefusesAFolderAsSourceAndMakesNoTarget) {
  fs::create_directories(At("Media/images"));
  EXPECT_FALSE(Copy(At("Media/images"), At("b.jpg")));
  EXPECT_FALSE(fs::exists(At("b.jpg")));
  // A file name that ends in a separator names a folder as well: the source of a medium without a name.
  EXPECT_FALSE(Copy(At("Media\\images\\"), At("c.jpg")));
  EXPECT_FALSE(fs::exists(At("c.jpg")));
}

TEST_F(CliPlatformCopyFile, ReadsBackslashesAsFolderSeparators) {
  fs::create_directories(At("export/Media/images"));
  fs::create_directories(At("projekt/Media/images"));
  Write("export/Media/images/a.jpg", "Bild A");
  EXPECT_TRUE(Copy(At("export") + "/Media\\images\\a.jpg", At("projekt") + "\\Media\\images\\a.jpg"));
  EXPECT_EQ(Read("projekt/Media/images/a.jpg"), "Bild A");
}

TEST_F(CliPlatformCopyFile, CopiesFilesNamedOutsideAscii) {
  const std::string name = "Bild-\xC3\xA4\xE2\x82\xAC.jpg";  // "Bild-ä€.jpg"
  Write(name, "Bild");
  EXPECT_TRUE(Copy(At(name), At("Kopie-" + name)));
  EXPECT_EQ(Read("Kopie-" + name), "Bild");
  EXPECT_FALSE(Copy(At(name), At("Kopie-" + name)));
}

TEST_F(CliPlatformCopyFile, FailsWhenTheTargetFolderIsMissing) {
  Write("a.jpg", "Bild");
  EXPECT_FALSE(Copy(At("a.jpg"), At("fehlt/a.jpg")));
  EXPECT_FALSE(fs::exists(At("fehlt")));
}

TEST_F(CliPlatformCopyFile, RefusesEmptyPathsAndAUrlAsSource) {
  Write("a.jpg", "Bild");
  EXPECT_FALSE(Copy("", At("b.jpg")));
  EXPECT_FALSE(Copy(At("a.jpg"), ""));
  EXPECT_FALSE(Copy("https://tee.example/film", At("b.jpg")));
  EXPECT_FALSE(fs::exists(At("b.jpg")));
}

}  // namespace
}  // namespace cvimp::host
