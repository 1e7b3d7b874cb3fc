// The command-line host's HostApi, put together from its parts. Any part can be missing (nullptr), so that
// a host lacking a service is representable: the plug-in then gets nothing when it asks for it.
#pragma once

#include <memory>
#include <string>

#include "plugin/host_contract.h"
#include "recordset/recordset.h"

namespace cvimp::host {

struct CliHostParts {
  std::shared_ptr<plugin::HostServices> services;
  std::shared_ptr<plugin::HostTools> tools;
  std::shared_ptr<recordset::Connection> connection;
  std::shared_ptr<plugin::FolderService> folder_service;
  std::string project_path;  // the shop project's folder
};

class CliHostApi : public plugin::HostApi {
 public:
  explicit CliHostApi(CliHostParts parts) : parts_(std::move(parts)) {}

  std::shared_ptr<plugin::HostServices> Services() override { return parts_.services; }
  std::string ProjectPath() override { return parts_.project_path; }
  std::shared_ptr<plugin::HostTools> Tools() override { return parts_.tools; }
  std::shared_ptr<recordset::ActiveConnection> Connection() override { return parts_.connection; }
  std::shared_ptr<plugin::FolderService> GetFolderService() override { return parts_.folder_service; }

  // The parts, to be changed while the plug-in holds the object: the command opens the shop database only
  // after the wizard pages, and hands its connection and folder service over then.
  CliHostParts& parts() { return parts_; }

 private:
  CliHostParts parts_;
};

}  // namespace cvimp::host
