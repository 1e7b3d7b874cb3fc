// The part of the settings form that only a real window system has: the native handles of the two page
// containers, which the host re-parents into its wizard, and the file-open dialog.
#pragma once

#include <cstdint>
#include <string>

namespace cvimp::settings {

class frmVelXMLSettings;

struct FileDialogRequest {
  std::string filter;        // "description|pattern"
  std::string initial_file;  // the file name the dialog starts with
  std::int32_t flags = 0;    // 4096: the chosen file must exist
  std::int64_t owner = 0;    // owner window handle
};

// A view shows the form's controls; the form stays the one store of their state. A view with real
// windows shows what the form holds and writes what the user changes in a window (the path typed, an
// option or the check box clicked, the browse button pressed) straight into the form's controls.
class SettingsView {
 public:
  virtual ~SettingsView() = default;
  // The form this view shows; called once, right after the view was created and before the form loads.
  virtual void Bind(frmVelXMLSettings& form) { (void)form; }
  // The form changed its controls itself (its load step, the saved path read or trimmed, the browse
  // result): the view shows them as they now are.
  virtual void ControlsChanged() {}
  virtual std::int64_t PicMainHandle() = 0;
  virtual std::int64_t PicAdvancedHandle() = 0;
  // Shows the open dialog modally and returns the dialog's file name afterwards: the chosen file, or the
  // initial file name when the user cancelled.
  virtual std::string ShowOpenDialog(const FileDialogRequest& request) = 0;
};

}  // namespace cvimp::settings
