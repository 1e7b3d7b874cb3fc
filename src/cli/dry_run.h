// What `cvimport check` puts in place of the real surroundings of an import, so that the run writes nothing
// that outlives it: a scratch folder for the settings, the project and (without --db) a new shop database,
// removed at the end; and a platform that notes the media files the run would copy instead of copying them.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "host/cli_platform.h"

namespace cvimp::cli {

class ScratchFolder {
 public:
  ScratchFolder();  // a new, empty folder below the system's temporary folder
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

class DryRunPlatform : public host::CliPlatform {
 public:
  DryRunPlatform(host::TextOverrides overrides, std::filesystem::path project)
      : CliPlatform(std::move(overrides)), project_(std::move(project)) {}
  // Notes the copy (a source that is a regular file, a target not noted before) and reports it done.
  bool CopyFile(const std::string& existing, const std::string& target, bool fail_if_exists) override;
  // The targets noted, relative to the project folder, in the order of the run.
  const std::vector<std::string>& copies() const { return copies_; }

 private:
  std::filesystem::path project_;
  std::set<std::string> noted_;
  std::vector<std::string> copies_;
};

}  // namespace cvimp::cli
