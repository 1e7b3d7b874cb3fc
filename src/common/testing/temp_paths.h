// For tests: names and paths in the system's temporary folder that no other test process uses, as UTF-8
// text (the form the core takes paths in).
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>

#include "common/file_open.h"

namespace cvimp::testing {

// Sixteen random hexadecimal digits.
inline std::string RandomTag() {
  std::random_device source;
  const std::uint64_t bits = (std::uint64_t{source()} << 32) ^ source();
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (int shift = 60; shift >= 0; shift -= 4) out += kDigits[(bits >> shift) & 0xF];
  return out;
}

// A random tag drawn once per test process: what sets this process's files apart from those of the other
// test processes running at the same time.
inline const std::string& ProcessTag() {
  static const std::string tag = RandomTag();
  return tag;
}

// The system's temporary folder as UTF-8, ending in a separator.
inline std::string TempFolderUtf8() {
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / "";
  return Utf8FromPath(folder);
}

// A path in the temporary folder that is this test process's own ("<temp>cvimp_<tag>_<name>").
inline std::string ProcessTempPath(const std::string& name) {
  return TempFolderUtf8() + "cvimp_" + ProcessTag() + "_" + name;
}

// A new, empty folder under the temporary folder ("<temp>cvimp-<stem>-<random tag>"), created here.
inline std::filesystem::path NewTempFolder(const std::string& stem) {
  for (int attempt = 0;; ++attempt) {
    const std::filesystem::path folder = PathFromUtf8(TempFolderUtf8() + "cvimp-" + stem + "-" + RandomTag());
    std::error_code error;
    if (std::filesystem::create_directory(folder, error)) return folder;  // false when it is there already
    if (error || attempt == 100) throw std::filesystem::filesystem_error("cannot create a folder", folder, error);
  }
}

}  // namespace cvimp::testing
