// frmVelXMLSettings: the hidden form that holds the plug-in's two wizard pages, as a model of its controls.
// The host re-parents the two containers picMain and picAdvanced into its wizard by their native handles;
// everything else (the path field, the browse button, the update-mode options, the media check box, the
// labels) is state that this model keeps, so that the plug-in behaves the same on every platform. The
// native part (the handles and the file-open dialog) comes from the platform's SettingsView.
//
// There is one shared instance per thread (the plug-in's apartment), created on first use and destroyed by
// Unload(). The form loads (creates its window, then runs its load step) the first time one of its controls
// is touched; its own members (AttachHost, PageChangeCancelled and the rest) do not load it by themselves.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "plugin/host_contract.h"
#include "plugin/platform.h"
#include "settings/settings_view.h"

namespace cvimp::settings {

// The text without leading and trailing blanks (spaces only; tabs and line breaks stay), as the path field
// and the page descriptor are trimmed.
std::string TrimBlanks(std::string_view text);

struct TextBox {
  std::string Text;
};

struct Label {
  std::string Caption;
};

struct CheckBox {
  static constexpr std::int16_t kUnchecked = 0;
  static constexpr std::int16_t kChecked = 1;
  std::string Caption;
  std::int16_t Value = kUnchecked;
};

class CommandButton {
 public:
  std::string Caption;
  // Presses the button: runs its click handler.
  void Click() const {
    if (on_click_) on_click_();
  }
  void set_on_click(std::function<void()> handler) { on_click_ = std::move(handler); }

 private:
  std::function<void()> on_click_;
};

// A container whose native window the host re-parents; its handle comes from the SettingsView.
class PictureBox {
 public:
  explicit PictureBox(std::function<std::int64_t()> handle) : handle_(std::move(handle)) {}
  std::int64_t hWnd() const { return handle_(); }

 private:
  std::function<std::int64_t()> handle_;
};

// The control array optUpdateMode: option buttons in one container, of which selecting one deselects the
// others. Clearing a button leaves the group without a selection.
class OptionButtonArray {
 public:
  static constexpr int kCount = 3;
  int LBound() const { return 0; }
  int UBound() const { return kCount - 1; }
  // An index outside 0..UBound raises kInvalidArgument.
  bool Value(int index) const;
  void SetValue(int index, bool selected);
  const std::string& Caption(int index) const;

 private:
  friend class frmVelXMLSettings;
  static void Check(int index);
  std::array<bool, kCount> values_{true, false, false};
  std::array<std::string, kCount> captions_;
};

// The control array lblImport.
class LabelArray {
 public:
  static constexpr int kCount = 3;
  // An index outside 0..2 raises kInvalidArgument.
  Label& operator()(int index);

 private:
  std::array<Label, kCount> labels_;
};

class frmVelXMLSettings {
 public:
  // The shared instance of the calling thread, created on first use with the platform given then (later
  // calls get the existing instance, whatever platform they name).
  static frmVelXMLSettings& DefaultInstance(const std::shared_ptr<plugin::Platform>& platform);
  // Whether the calling thread currently has a shared instance.
  static bool HasDefaultInstance();
  // Unloads and destroys the calling thread's shared instance; its next use creates a fresh one. Nothing
  // happens when there is none.
  static void Unload();

  explicit frmVelXMLSettings(std::shared_ptr<plugin::Platform> platform);
  ~frmVelXMLSettings();
  frmVelXMLSettings(const frmVelXMLSettings&) = delete;
  frmVelXMLSettings& operator=(const frmVelXMLSettings&) = delete;

  // Stores the host API object, then loads the saved settings.
  void AttachHost(std::shared_ptr<plugin::HostApi> host);

  // True from form load until the settings are first saved; False after every save.
  bool PageChangeCancelled() const { return page_change_cancelled_; }
  void SetPageChangeCancelled(bool value) { page_change_cancelled_ = value; }

  // The text of txtBrowseFile as it stands.
  std::string CVCatPath();
  void SetCVCatPath(const std::string& path);

  // Whether the path names an existing file; shows why not when it does not.
  bool FilePathSet();
  void SaveUserSettings();
  void LoadUserSettings();
  // The index of the first selected update-mode option, 0 when none is selected.
  std::int16_t UpdateMode();

  // The controls. Touching any of them loads the form first.
  PictureBox& picMain();
  PictureBox& picAdvanced();
  TextBox& txtBrowseFile();
  CommandButton& cmdBrowseFile();
  CheckBox& chkImportMedia();
  OptionButtonArray& optUpdateMode();
  LabelArray& lblImport();

  bool loaded() const { return loaded_; }

  // The settings section and entry that hold the catalogue path.
  static constexpr const char* kSettingsSection = "SETTINGS";
  static constexpr const char* kPathProperty = "vel-xml-path";
  static constexpr const char* kPathXPath = "property[@name='vel-xml-path']/@value";

 private:
  void EnsureLoaded();
  void FormLoad();
  void BrowseFile();
  // Lets the view show the controls after the form changed them itself.
  void ShowControls();
  SettingsView& View();

  std::shared_ptr<plugin::Platform> platform_;
  std::shared_ptr<plugin::HostApi> host_api_;
  std::shared_ptr<plugin::TextCatalog> text_catalog_;
  std::shared_ptr<plugin::HostTools> host_tools_;
  std::unique_ptr<SettingsView> view_;
  bool page_change_cancelled_ = false;
  bool loaded_ = false;

  PictureBox pic_main_;
  PictureBox pic_advanced_;
  TextBox txt_browse_file_;
  CommandButton cmd_browse_file_;
  CheckBox chk_import_media_;
  OptionButtonArray opt_update_mode_;
  LabelArray lbl_import_;
};

}  // namespace cvimp::settings
