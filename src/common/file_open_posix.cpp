// File names on POSIX systems are bytes: UTF-8 text is used as it is.
#include "common/file_open.h"

namespace cvimp {

std::filesystem::path PathFromUtf8(std::string_view utf8_path) { return std::filesystem::path(utf8_path); }

std::string Utf8FromPath(const std::filesystem::path& path) { return path.string(); }

std::FILE* OpenFile(const std::string& utf8_path, const char* mode) { return std::fopen(utf8_path.c_str(), mode); }

std::FILE* CreateNewFile(const std::string& utf8_path) {
  // "x": O_CREAT | O_EXCL, so the file is created only when nothing is there yet.
  return std::fopen(utf8_path.c_str(), "wbx");
}

bool RemoveFile(const std::string& utf8_path) { return std::remove(utf8_path.c_str()) == 0; }

}  // namespace cvimp
