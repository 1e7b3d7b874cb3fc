// The settings form's windows on Windows: a hidden top-level form window holding the two page containers
// picMain and picAdvanced, which the host re-parents into its wizard by their handles, with the form's
// controls as real controls in them. The form model (settings::frmVelXMLSettings) stays the one store of
// state: the windows show what it holds, and what the user types or clicks goes straight into it.
// Everything runs on the thread that created the view (the host's user-interface thread).
#pragma once

#include <memory>

#include "settings/settings_view.h"

namespace cvimp::com {

// The identifiers of the controls in their containers (GetDlgItem on picMain or picAdvanced); lblImport(i)
// and optUpdateMode(i) have the base identifier plus i.
namespace settings_control_id {
inline constexpr int kLblImport = 100;         // (0) and (2) on picMain, (1) on picAdvanced
inline constexpr int kTxtBrowseFile = 110;     // picMain
inline constexpr int kCmdBrowseFile = 111;     // picMain
inline constexpr int kOptUpdateMode = 120;     // picAdvanced
inline constexpr int kChkImportMedia = 130;    // picAdvanced
}  // namespace settings_control_id

// Creates the hidden form window with both containers and all their controls. Raises cvimp::Error when
// a window cannot be created.
std::unique_ptr<settings::SettingsView> NewWin32SettingsView();

}  // namespace cvimp::com
