// The command-line host's tools: SQL quoting and the file system.
#pragma once

#include <memory>
#include <string>

#include "plugin/host_contract.h"

namespace cvimp::host {

class CliStringTools : public plugin::StringTools {
 public:
  // Doubles every single quote, so that the text can stand between single quotes in an SQL literal.
  std::string SqlQuote(const std::string& text) override;
};

// The file system through std::filesystem. Paths come in the plug-in's form, in which "\" separates
// folders; every "\" is read as "/".
class CliFileSystem : public plugin::FileSystem {
 public:
  // True for a regular file (or a link to one); False for folders, other files and anything missing.
  bool FileExists(const std::string& path) override;
  bool FolderExists(const std::string& path) override;
  // Creates the folder with every missing folder above it; an existing folder is left alone. Raises
  // cvimp::Error (kInvalidArgument) when the folder cannot be created.
  void CreateFolder(const std::string& path) override;
};

class CliHostTools : public plugin::HostTools {
 public:
  std::shared_ptr<plugin::StringTools> GetStringTools() override;
  std::shared_ptr<plugin::FileSystem> GetFileSystem() override;
};

// The path with every "\" turned into "/".
std::string PosixPath(const std::string& path);

}  // namespace cvimp::host
