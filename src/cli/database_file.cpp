#include "cli/database_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace cvimp::cli {
namespace {

std::string Reason(int error) { return std::strerror(error); }

fs::path FolderOf(const fs::path& path) {
  const fs::path folder = path.parent_path();
  return folder.empty() ? fs::path(".") : folder;
}

}  // namespace

std::string DatabasePathProblem(const fs::path& path, bool& exists) {
  exists = false;
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0) {
    exists = true;
    if (S_ISDIR(info.st_mode)) return Reason(EISDIR);
    if (::access(path.c_str(), R_OK | W_OK) != 0) return Reason(errno);
    return {};
  }
  if (errno != ENOENT) return Reason(errno);
  const fs::path folder = FolderOf(path);
  if (::stat(folder.c_str(), &info) != 0) return "cannot be created: its folder " + folder.string() + ": " + Reason(errno);
  if (!S_ISDIR(info.st_mode)) return "cannot be created: " + folder.string() + " is no folder";
  if (::access(folder.c_str(), W_OK | X_OK) != 0) return "cannot be created in " + folder.string() + ": " + Reason(errno);
  const long name_max = ::pathconf(folder.c_str(), _PC_NAME_MAX);
  if (name_max > 0 && path.filename().string().size() > static_cast<std::size_t>(name_max)) return Reason(ENAMETOOLONG);
  return {};
}

fs::path TemporaryNameBeside(const fs::path& path) {
  const fs::path folder = FolderOf(path);
  const long name_max = ::pathconf(folder.c_str(), _PC_NAME_MAX);
  std::string stem = "." + path.filename().string() + ".cvimport-";
  // Room for the six characters and the journal's "-journal".
  if (name_max > 0 && stem.size() + 6 + 8 > static_cast<std::size_t>(name_max)) stem = ".cvimport-";
  static const char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  std::random_device random;
  for (int attempt = 0; attempt < 100; ++attempt) {
    std::string name = stem;
    for (int i = 0; i < 6; ++i) name += kLetters[random() % (sizeof kLetters - 1)];
    const fs::path candidate = folder / name;
    std::error_code error;
    if (!fs::exists(fs::symlink_status(candidate, error))) return candidate;
  }
  throw std::runtime_error("no unused temporary name in " + folder.string());
}

void PutInPlace(const fs::path& made, const fs::path& target, bool replace) {
  if (!replace) {
    // A hard link refuses an existing target; the temporary name is removed after.
    if (::link(made.c_str(), target.c_str()) == 0) {
      ::unlink(made.c_str());
      return;
    }
    if (errno == EEXIST) throw std::runtime_error(target.string() + " appeared during the import: " + Reason(EEXIST));
    // A file system without hard links: the test above is as close as it gets.
    if (::access(target.c_str(), F_OK) == 0) throw std::runtime_error(target.string() + ": " + Reason(EEXIST));
  }
  if (::rename(made.c_str(), target.c_str()) != 0)
    throw std::runtime_error("cannot rename " + made.string() + " to " + target.string() + ": " + Reason(errno));
}

void RemoveDatabaseFile(const fs::path& path) {
  ::unlink(path.c_str());
  ::unlink((path.string() + "-journal").c_str());
}

}  // namespace cvimp::cli
