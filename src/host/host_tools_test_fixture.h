// For the tests of the command-line host's file system: a folder of the test's own holding folder/file.xml,
// with paths in it given as UTF-8.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/file_open.h"
#include "host/host_tools.h"
#include "host/test_temp_folder.h"

namespace cvimp::host::testing {

class CliFileSystemTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(temp.path() / "folder");
    std::ofstream(temp.path() / "folder" / "file.xml", std::ios::binary) << "<x/>";
  }
  std::string At(const std::string& relative) const { return Utf8FromPath(temp.path() / PathFromUtf8(relative)); }

  TempFolder temp;
  CliFileSystem files;
};

}  // namespace cvimp::host::testing
