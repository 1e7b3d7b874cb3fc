#include "common/file_open.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "common/testing/temp_paths.h"

namespace cvimp {
namespace {

namespace fs = std::filesystem;

// "Katalog-ä€.xml": letters outside ASCII, one of them outside Latin-1.
const std::string kName = "Katalog-\xC3\xA4\xE2\x82\xAC.xml";

// A folder of the test's own, removed with its content afterwards.
class FileOpen : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = PathFromUtf8(testing::ProcessTempPath(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    fs::remove_all(folder_);
    fs::create_directories(folder_);
  }
  void TearDown() override { fs::remove_all(folder_); }

  std::string In(const std::string& name) const { return Utf8FromPath(folder_ / PathFromUtf8(name)); }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(Utf8FromPath(entry.path().filename()));
    return names;
  }
  static void Write(const std::string& path, const std::string& bytes) {
    std::FILE* file = OpenFile(path, "wb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size());
    EXPECT_EQ(std::fclose(file), 0);
  }
  static std::string Read(const std::string& path) {
    std::FILE* file = OpenFile(path, "rb");
    if (!file) return "(cannot be opened)";
    std::string bytes;
    char buffer[256];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, file)) > 0;) bytes.append(buffer, n);
    std::fclose(file);
    return bytes;
  }

  fs::path folder_;
};

TEST_F(FileOpen, ANameOutsideAsciiIsTheNameOnDisk) {
  const std::string path = In(kName);
  Write(path, "Inhalt\n");
  EXPECT_EQ(Names(), std::vector<std::string>{kName});
  EXPECT_TRUE(fs::is_regular_file(PathFromUtf8(path)));
  EXPECT_EQ(fs::file_size(PathFromUtf8(path)), 7u);
  EXPECT_EQ(Read(path), "Inhalt\n");
  EXPECT_TRUE(RemoveFile(path));
  EXPECT_TRUE(Names().empty());
}

TEST_F(FileOpen, PathAndTextConvertBothWays) {
  EXPECT_EQ(Utf8FromPath(PathFromUtf8(kName)), kName);
  EXPECT_EQ(Utf8FromPath((PathFromUtf8("Ordner") / PathFromUtf8(kName)).filename()), kName);
  EXPECT_EQ(Utf8FromPath(PathFromUtf8(kName).extension()), ".xml");
  EXPECT_EQ(Utf8FromPath(PathFromUtf8("")), "");
}

TEST_F(FileOpen, AMissingFileIsNotOpenedAndNotRemoved) {
  errno = 0;
  EXPECT_EQ(OpenFile(In(kName), "rb"), nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(RemoveFile(In(kName)));
  EXPECT_TRUE(Names().empty());
}

TEST_F(FileOpen, ANewFileIsCreatedInBinary) {
  const std::string path = In(kName);
  std::FILE* file = CreateNewFile(path);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(std::fwrite("a\nb\r\n", 1, 5, file), 5u);
  EXPECT_EQ(std::fclose(file), 0);
  EXPECT_EQ(Read(path), "a\nb\r\n");
  EXPECT_EQ(Names(), std::vector<std::string>{kName});
}

TEST_F(FileOpen, CreatingNeverOverwritesAnExistingFile) {
  const std::string path = In(kName);
  Write(path, "wertvoll");
  errno = 0;
  EXPECT_EQ(CreateNewFile(path), nullptr);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(Read(path), "wertvoll");
}

TEST_F(FileOpen, CreatingInAFolderThatDoesNotExistFails) {
  EXPECT_EQ(CreateNewFile(In("fehlt") + "/" + kName), nullptr);
  EXPECT_TRUE(Names().empty());
}

}  // namespace
}  // namespace cvimp
