// The platform the plug-in runs on inside the command-line host: the host library's classes and a
// settings view without a window system.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/text_catalog.h"
#include "plugin/platform.h"
#include "settings/settings_view.h"

namespace cvimp::host {

// Settings pages nobody sees: fixed container handles, and a file dialog that answers at once as if the
// user had cancelled (its initial file name).
class HeadlessSettingsView : public settings::SettingsView {
 public:
  static constexpr std::int64_t kPicMainHandle = 1;
  static constexpr std::int64_t kPicAdvancedHandle = 2;

  std::int64_t PicMainHandle() override { return kPicMainHandle; }
  std::int64_t PicAdvancedHandle() override { return kPicAdvancedHandle; }
  std::string ShowOpenDialog(const settings::FileDialogRequest& request) override { return request.initial_file; }
};

class CliPlatform : public plugin::Platform {
 public:
  // Every TextCatalog it creates carries the overrides (for instance kRegionsSwitch -> "True").
  explicit CliPlatform(TextOverrides overrides = {}) : overrides_(std::move(overrides)) {}

  std::shared_ptr<plugin::TextCatalog> NewTextCatalog() override;
  std::shared_ptr<plugin::HostTools> NewHostTools() override;
  std::unique_ptr<recordset::Recordset> NewRecordset() override { return recordset::NewRecordset(); }
  std::unique_ptr<settings::SettingsView> NewSettingsView() override;
  // There is no message loop to yield to.
  void YieldToMessageLoop() override {}
  // Paths as the plug-in builds them, with "\\" read as "/". The source must be a regular file; with
  // `fail_if_exists` the target is created exclusively, so an existing file (or one that appears meanwhile)
  // is never overwritten. A partial target left by a failed write is removed.
  bool CopyFile(const std::string& existing, const std::string& target, bool fail_if_exists) override;

 private:
  TextOverrides overrides_;
};

}  // namespace cvimp::host
