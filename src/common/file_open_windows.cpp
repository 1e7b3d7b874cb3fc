// File names on Windows are UTF-16: the UTF-8 text is converted and the wide functions are called. The C
// runtime ignores fopen's exclusive "x" mode, so a new file is created with _O_EXCL on a descriptor.
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "common/file_open.h"

namespace cvimp {
namespace {

// UTF-8 as UTF-16; a byte sequence that is not UTF-8 becomes U+FFFD.
std::wstring Utf16(std::string_view utf8) {
  if (utf8.empty()) return {};
  const int size = static_cast<int>(utf8.size());
  const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
  std::wstring out(static_cast<std::size_t>(length), L'\0');
  if (length > 0) MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, out.data(), length);
  return out;
}

std::string Utf8(std::wstring_view utf16) {
  if (utf16.empty()) return {};
  const int size = static_cast<int>(utf16.size());
  const int length = WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<std::size_t>(length), '\0');
  if (length > 0) WideCharToMultiByte(CP_UTF8, 0, utf16.data(), size, out.data(), length, nullptr, nullptr);
  return out;
}

}  // namespace

std::filesystem::path PathFromUtf8(std::string_view utf8_path) { return std::filesystem::path(Utf16(utf8_path)); }

std::string Utf8FromPath(const std::filesystem::path& path) { return Utf8(path.native()); }

std::FILE* OpenFile(const std::string& utf8_path, const char* mode) {
  return _wfopen(Utf16(utf8_path).c_str(), Utf16(mode).c_str());
}

std::FILE* CreateNewFile(const std::string& utf8_path) {
  const int fd = _wopen(Utf16(utf8_path).c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
  if (fd == -1) return nullptr;
  std::FILE* file = _fdopen(fd, "wb");
  if (!file) {
    const int error = errno;
    _close(fd);
    _wremove(Utf16(utf8_path).c_str());
    errno = error;
  }
  return file;
}

bool RemoveFile(const std::string& utf8_path) { return _wremove(Utf16(utf8_path).c_str()) == 0; }

}  // namespace cvimp
