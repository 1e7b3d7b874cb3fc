// The part of the settings form that only a real window system has: the native handles of the two page
// containers, which the host re-parents into its wizard, and the file-open dialog.
#pragma once

#include <cstdint>
#include <string>

namespace cvimp::settings {

struct FileDialogRequest {
  std::string filter;        // "description|pattern"
  std::string initial_file;  // the file name the dialog starts with
  std::int32_t flags = 0;    // 4096: the chosen file must exist
  std::int64_t owner = 0;    // owner window handle
};

class SettingsView {
 public:
  virtual ~SettingsView() = default;
  virtual std::int64_t PicMainHandle() = 0;
  virtual std::int64_t PicAdvancedHandle() = 0;
  // Shows the open dialog modally and returns the dialog's file name afterwards: the chosen file, or the
  // initial file name when the user cancelled.
  virtual std::string ShowOpenDialog(const FileDialogRequest& request) = 0;
};

}  // namespace cvimp::settings
