#include "com/windows_platform.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "com/automation/text_conversion.h"
#include "com/automation/windows_headers.h"

namespace cvimp::com {
namespace {

// A fresh folder under the temporary folder, removed with its files at the end.
class TempFolder {
 public:
  TempFolder() {
    wchar_t base[MAX_PATH + 1];
    ::GetTempPathW(MAX_PATH + 1, base);
    path_ = Narrow(base) + "cvimp-com-test-" + std::to_string(::GetCurrentProcessId()) + "-" +
            std::to_string(::GetTickCount64());
    ::CreateDirectoryW(Widen(path_).c_str(), nullptr);
  }
  ~TempFolder() {
    WIN32_FIND_DATAW found;
    const std::wstring folder = Widen(path_);
    HANDLE find = ::FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (find != INVALID_HANDLE_VALUE) {
      do {
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
          ::DeleteFileW((folder + L"\\" + found.cFileName).c_str());
      } while (::FindNextFileW(find, &found));
      ::FindClose(find);
    }
    ::RemoveDirectoryW(folder.c_str());
  }
  std::string File(const std::string& name) const { return path_ + "\\" + name; }

 private:
  std::string path_;
};

void Write(const std::string& path, const std::string& content) {
  std::ofstream(Widen(path).c_str(), std::ios::binary) << content;
}

std::string Read(const std::string& path) {
  std::ifstream in(Widen(path).c_str(), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST(WindowsPlatform, CopyFileCopiesAndNeverOverwritesWhenAsked) {
  TempFolder folder;
  WindowsPlatform platform;
  Write(folder.File("a.jpg"), "new");
  EXPECT_TRUE(platform.CopyFile(folder.File("a.jpg"), folder.File("b.jpg"), true));
  EXPECT_EQ(Read(folder.File("b.jpg")), "new");
  Write(folder.File("c.jpg"), "old");
  EXPECT_FALSE(platform.CopyFile(folder.File("a.jpg"), folder.File("c.jpg"), true));
  EXPECT_EQ(Read(folder.File("c.jpg")), "old");
  EXPECT_TRUE(platform.CopyFile(folder.File("a.jpg"), folder.File("c.jpg"), false));
  EXPECT_EQ(Read(folder.File("c.jpg")), "new");
}

TEST(WindowsPlatform, CopyFileWithNamesOutsideAnyCodePage) {
  TempFolder folder;
  WindowsPlatform platform;
  const std::string source = folder.File("K\xC3\xA4se \xE6\x97\xA5\xE6\x9C\xAC.jpg");  // Käse 日本.jpg
  const std::string target = folder.File("\xCE\xA9\xF0\x9F\x98\x80.jpg");              // Ω😀.jpg
  Write(source, "bytes");
  EXPECT_TRUE(platform.CopyFile(source, target, true));
  EXPECT_EQ(Read(target), "bytes");
  EXPECT_NE(::GetFileAttributesW(Widen(target).c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST(WindowsPlatform, CopyFileOfAMissingSourceFails) {
  TempFolder folder;
  WindowsPlatform platform;
  EXPECT_FALSE(platform.CopyFile(folder.File("missing.jpg"), folder.File("x.jpg"), true));
  EXPECT_EQ(::GetFileAttributesW(Widen(folder.File("x.jpg")).c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_FALSE(platform.CopyFile("", folder.File("x.jpg"), true));
}

TEST(WindowsPlatform, UnregisteredHostClassesGiveNullptr) {
  // The test prefix registers neither class of the host library.
  WindowsPlatform platform;
  CLSID clsid;
  if (FAILED(::CLSIDFromProgID(L"CalvoraVel.TextCatalog", &clsid))) {
    EXPECT_EQ(platform.NewTextCatalog(), nullptr);
  }
  if (FAILED(::CLSIDFromProgID(L"CalvoraVel.Tools", &clsid))) {
    EXPECT_EQ(platform.NewHostTools(), nullptr);
  }
}

TEST(WindowsPlatform, YieldDispatchesPendingMessagesAndKeepsAQuit) {
  WindowsPlatform platform;
  ::PostThreadMessageW(::GetCurrentThreadId(), WM_APP + 1, 0, 0);
  ::PostQuitMessage(3);
  platform.YieldToMessageLoop();
  MSG message;
  ASSERT_TRUE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT));
  EXPECT_EQ(message.wParam, 3u);
  EXPECT_FALSE(::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
}

}  // namespace
}  // namespace cvimp::com
