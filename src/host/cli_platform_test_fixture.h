// For the tests of the command-line host's file copy: a folder of the test's own and the platform that
// copies, with paths in the folder given as UTF-8.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "common/file_open.h"
#include "host/cli_platform.h"
#include "host/test_temp_folder.h"

namespace cvimp::host::testing {

class CliPlatformCopyFile : public ::testing::Test {
 protected:
  std::string At(const std::string& relative) const { return Utf8FromPath(temp.path() / PathFromUtf8(relative)); }
  void Write(const std::string& relative, const std::string& content) const {
    std::ofstream(temp.path() / PathFromUtf8(relative), std::ios::binary) << content;
  }
  std::string Read(const std::string& relative) const {
    std::ifstream in(temp.path() / PathFromUtf8(relative), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  }
  // Copies without letting an exception through: the copy must report every failure as false.
  bool Copy(const std::string& existing, const std::string& target, bool fail_if_exists = true) {
    bool copied = false;
    EXPECT_NO_THROW(copied = platform.CopyFile(existing, target, fail_if_exists));
    return copied;
  }

  TempFolder temp;
  CliPlatform platform;
};

}  // namespace cvimp::host::testing
