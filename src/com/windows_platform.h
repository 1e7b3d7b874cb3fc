// The platform the plug-in runs on inside a Windows host: the host library's classes and ADO record sets
// created by ProgID, the settings pages as real windows, the host's message loop and the system's file copy.
#pragma once

#include <memory>
#include <string>

#include "plugin/platform.h"

namespace cvimp::com {

class WindowsPlatform : public plugin::Platform {
 public:
  // nullptr when the host library's class is not registered.
  std::shared_ptr<plugin::TextCatalog> NewTextCatalog() override;
  std::shared_ptr<plugin::HostTools> NewHostTools() override;
  // A new "ADODB.Recordset"; raises cvimp::Error when ADO is missing.
  std::unique_ptr<recordset::Recordset> NewRecordset() override;
  std::unique_ptr<settings::SettingsView> NewSettingsView() override;
  // Dispatches the messages pending for this thread, once each; a quit message is posted again and ends it.
  void YieldToMessageLoop() override;
  // kernel32's CopyFileW, bound by name when called, with the UTF-8 paths as UTF-16 (so names outside any
  // code page work; "\\" paths as they stand). False when the copy fails or the function cannot be bound.
  bool CopyFile(const std::string& existing, const std::string& target, bool fail_if_exists) override;
};

}  // namespace cvimp::com
