// What the plug-in gets from the platform it runs on, besides the HostApi: the host library's creatable
// classes (TextCatalog, HostTools), the window system's part of the settings pages, and the one yield to
// the host's message loop. A host provides one Platform for the Manager it creates.
#pragma once

#include <memory>
#include <string>

#include "plugin/host_contract.h"
#include "recordset/recordset.h"
#include "settings/settings_view.h"

namespace cvimp::plugin {

class Platform {
 public:
  virtual ~Platform() = default;
  // A new instance of the host library's TextCatalog class (may be nullptr when the library lacks it).
  virtual std::shared_ptr<TextCatalog> NewTextCatalog() = 0;
  // A new instance of the host library's tools class.
  virtual std::shared_ptr<HostTools> NewHostTools() = 0;
  // A new, closed record set of the platform's record-set layer, to be opened on HostApi::Connection().
  virtual std::unique_ptr<recordset::Recordset> NewRecordset() = 0;
  // The native part of the settings form: container handles and the file-open dialog.
  virtual std::unique_ptr<settings::SettingsView> NewSettingsView() = 0;
  // Lets the host process its pending window messages once.
  virtual void YieldToMessageLoop() = 0;
  // The operating system's file copy: copies `existing` to `target`; with `fail_if_exists` an existing target
  // is never overwritten. False when the copy was not made; it never raises.
  virtual bool CopyFile(const std::string& existing, const std::string& target, bool fail_if_exists) = 0;
};

}  // namespace cvimp::plugin
