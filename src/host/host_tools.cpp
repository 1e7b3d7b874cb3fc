#include "host/host_tools.h"

#include <filesystem>
#include <system_error>

#include "common/error.h"
#include "common/file_open.h"

namespace cvimp::host {

namespace fs = std::filesystem;

std::string PosixPath(const std::string& path) {
  std::string out = path;
  for (char& c : out)
    if (c == '\\') c = '/';
  return out;
}

std::string CliStringTools::SqlQuote(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    out += c;
    if (c == '\'') out += '\'';
  }
  return out;
}

bool CliFileSystem::FileExists(const std::string& path) {
  if (path.empty()) return false;
  std::error_code ec;
  return fs::is_regular_file(PathFromUtf8(PosixPath(path)), ec);
}

bool CliFileSystem::FolderExists(const std::string& path) {
  if (path.empty()) return false;
  std::error_code ec;
  return fs::is_directory(PathFromUtf8(PosixPath(path)), ec);
}

void CliFileSystem::CreateFolder(const std::string& path) {
  if (path.empty()) throw Error(ErrorCode::kInvalidArgument, "Cannot create a folder without a name");
  const fs::path folder = PathFromUtf8(PosixPath(path));
  std::error_code ec;
  fs::create_directories(folder, ec);
  if (ec || !fs::is_directory(folder))
    throw Error(ErrorCode::kInvalidArgument,
                "Cannot create the folder " + Utf8FromPath(folder) + (ec ? ": " + ec.message() : std::string()));
}

std::shared_ptr<plugin::StringTools> CliHostTools::GetStringTools() { return std::make_shared<CliStringTools>(); }

std::shared_ptr<plugin::FileSystem> CliHostTools::GetFileSystem() { return std::make_shared<CliFileSystem>(); }

}  // namespace cvimp::host
