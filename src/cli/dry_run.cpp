#include "cli/dry_run.h"

#include <unistd.h>

#include <algorithm>
#include <random>
#include <system_error>

namespace fs = std::filesystem;

namespace cvimp::cli {
namespace {

// A path as the plug-in builds it, "\\" read as "/".
std::string Slashed(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

}  // namespace

ScratchFolder::ScratchFolder() {
  std::random_device random;
  for (int attempt = 0;; ++attempt) {
    path_ = fs::temp_directory_path() /
            ("cvimport-check-" + std::to_string(::getpid()) + "-" + std::to_string(random() % 1000000));
    std::error_code error;
    if (fs::create_directory(path_, error)) return;
    if (attempt == 100) throw fs::filesystem_error("cannot make a scratch folder", path_, error);
  }
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

bool DryRunPlatform::CopyFile(const std::string& existing, const std::string& target, bool) {
  std::error_code error;
  if (!fs::is_regular_file(Slashed(existing), error)) return false;
  const fs::path to = Slashed(target);
  if (!noted_.insert(to.string()).second) return false;  // the second copy of the same file finds it there
  copies_.push_back(to.lexically_relative(project_).generic_string());
  return true;
}

}  // namespace cvimp::cli
