// For the host's tests: a fresh folder under the system's temporary folder, removed with its content at
// the end of the test.
#pragma once

#include <filesystem>
#include <system_error>

#include "common/testing/temp_paths.h"

namespace cvimp::host::testing {

class TempFolder {
 public:
  TempFolder() : path_(cvimp::testing::NewTempFolder("host")) {}
  ~TempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace cvimp::host::testing
