#include "settings/frm_vel_xml_settings.h"

#include <utility>

#include "common/error.h"
#include "common/error_regime.h"

namespace cvimp::settings {

using plugin::Use;

namespace {

// The calling thread's shared form: the apartment's default instance.
thread_local std::unique_ptr<frmVelXMLSettings> t_default_instance;

constexpr std::int32_t kExclamationOkOnly = 48;
constexpr std::int32_t kFileMustExist = 4096;

}  // namespace

std::string TrimBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  const std::size_t last = text.find_last_not_of(' ');
  return std::string(text.substr(first, last - first + 1));
}

void OptionButtonArray::Check(int index) {
  if (index < 0 || index >= kCount)
    throw Error(ErrorCode::kInvalidArgument, "optUpdateMode has no element " + std::to_string(index));
}

bool OptionButtonArray::Value(int index) const {
  Check(index);
  return values_[static_cast<std::size_t>(index)];
}

void OptionButtonArray::SetValue(int index, bool selected) {
  Check(index);
  // Option buttons in one container exclude each other: selecting one clears the rest.
  if (selected) values_.fill(false);
  values_[static_cast<std::size_t>(index)] = selected;
}

const std::string& OptionButtonArray::Caption(int index) const {
  Check(index);
  return captions_[static_cast<std::size_t>(index)];
}

Label& LabelArray::operator()(int index) {
  if (index < 0 || index >= kCount)
    throw Error(ErrorCode::kInvalidArgument, "lblImport has no element " + std::to_string(index));
  return labels_[static_cast<std::size_t>(index)];
}

frmVelXMLSettings& frmVelXMLSettings::DefaultInstance(const std::shared_ptr<plugin::Platform>& platform) {
  if (!t_default_instance) t_default_instance = std::make_unique<frmVelXMLSettings>(platform);
  return *t_default_instance;
}

bool frmVelXMLSettings::HasDefaultInstance() { return t_default_instance != nullptr; }

void frmVelXMLSettings::Unload() {
  // Take the instance out first, so that anything its destruction triggers sees no instance.
  std::unique_ptr<frmVelXMLSettings> doomed = std::move(t_default_instance);
  doomed.reset();
}

frmVelXMLSettings::frmVelXMLSettings(std::shared_ptr<plugin::Platform> platform)
    : platform_(std::move(platform)),
      pic_main_([this] { return View().PicMainHandle(); }),
      pic_advanced_([this] { return View().PicAdvancedHandle(); }) {
  // The controls as designed.
  cmd_browse_file_.Caption = "Durchsuchen...";
  cmd_browse_file_.set_on_click([this] { BrowseFile(); });
  chk_import_media_.Caption = "&Medien importieren";
  chk_import_media_.Value = CheckBox::kUnchecked;
  opt_update_mode_.captions_ = {"Neue Daten zufügen, bestehende aktualisieren", "Nur neue Daten zufügen",
                                "Nur bestehende Daten aktualisieren"};
  opt_update_mode_.values_ = {true, false, false};
  lbl_import_(0).Caption = "Wählen Sie die Quelldatei, die importiert werden soll:";
  lbl_import_(1).Caption = "Bestimmen Sie hier die Importart:";
  lbl_import_(2).Caption = "Importquelle:";
}

frmVelXMLSettings::~frmVelXMLSettings() = default;

void frmVelXMLSettings::EnsureLoaded() {
  if (loaded_) return;
  // Marked first: the load step touches controls itself.
  loaded_ = true;
  const auto on_error = ErrorRegime::SkipFailingStatements();
  on_error([&] { view_ = Use(platform_).NewSettingsView(); });
  if (view_) on_error([&] { view_->Bind(*this); });
  FormLoad();
}

void frmVelXMLSettings::ShowControls() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  if (view_) on_error([&] { view_->ControlsChanged(); });
}

// The form's load step: the info texts from the host's text resources, the tools for the file check, and
// the page-change flag that stays True until the first save.
void frmVelXMLSettings::FormLoad() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  on_error([&] { text_catalog_ = Use(platform_).NewTextCatalog(); });
  on_error([&] { Use(text_catalog_).Load(Use(Use(host_api_).Services()).TextSource(), 0); });
  on_error([&] { lbl_import_(0).Caption = Use(text_catalog_).GetText("impvelxml.page.1.infotext"); });
  on_error([&] { lbl_import_(1).Caption = Use(text_catalog_).GetText("impvelxml.page.2.infotext"); });
  on_error([&] { host_tools_ = Use(platform_).NewHostTools(); });
  on_error([&] { page_change_cancelled_ = true; });
  ShowControls();
}

SettingsView& frmVelXMLSettings::View() {
  if (!view_) throw Error(ErrorCode::kObjectRequired, "The settings form has no window");
  return *view_;
}

void frmVelXMLSettings::AttachHost(std::shared_ptr<plugin::HostApi> host) {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  on_error([&] { host_api_ = std::move(host); });
  on_error([&] { LoadUserSettings(); });
  ShowControls();
}

std::string frmVelXMLSettings::CVCatPath() { return txtBrowseFile().Text; }

void frmVelXMLSettings::SetCVCatPath(const std::string& path) {
  txtBrowseFile().Text = path;
  ShowControls();
}

bool frmVelXMLSettings::FilePathSet() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  bool answer = false;
  on_error([&] { answer = true; });
  bool path_empty = false;
  on_error([&] { path_empty = CVCatPath().empty(); });
  if (path_empty) {
    on_error(
        [&] { Use(Use(host_api_).Services()).ShowMessage("Bitte wählen Sie eine Datei!", kExclamationOkOnly, ""); });
    on_error([&] { answer = false; });
  }
  // Asked even for an empty path.
  bool exists = false;
  on_error([&] { exists = Use(Use(host_tools_).GetFileSystem()).FileExists(CVCatPath()); });
  if (!exists && answer) {
    on_error([&] { Use(Use(host_api_).Services()).ShowMessage("Datei nicht gefunden!", kExclamationOkOnly, ""); });
    on_error([&] { answer = false; });
  }
  return answer;
}

void frmVelXMLSettings::SaveUserSettings() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  std::shared_ptr<plugin::HostServices> services;
  on_error([&] { services = Use(host_api_).Services(); });
  on_error([&] { SetCVCatPath(TrimBlanks(CVCatPath())); });
  on_error([&] { page_change_cancelled_ = false; });
  std::string settings;
  on_error([&] { settings = settings + Use(services).FormatProperty(kPathProperty, CVCatPath()); });
  on_error([&] { Use(services).SaveSettings(kSettingsSection, settings); });
}

void frmVelXMLSettings::LoadUserSettings() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  std::shared_ptr<const catalog::Document> stored;
  on_error([&] { stored = Use(Use(host_api_).Services()).LoadSettings(kSettingsSection); });
  if (stored) {
    // A missing entry raises here and leaves the path field as it is.
    on_error([&] { txtBrowseFile().Text = stored->DocumentElement().SelectSingleNode(kPathXPath).Text(); });
  }
}

std::int16_t frmVelXMLSettings::UpdateMode() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  std::int16_t mode = 0;
  on_error([&] {
    OptionButtonArray& options = optUpdateMode();
    for (int i = options.LBound(); i <= options.UBound(); ++i) {
      if (options.Value(i)) {
        mode = static_cast<std::int16_t>(i);
        break;
      }
    }
  });
  return mode;
}

// The browse button: a file-open dialog for catalogue files, starting at the trimmed path. The dialog
// answers its initial file name when the user cancels, so the field then holds the trimmed former path.
void frmVelXMLSettings::BrowseFile() {
  const auto on_error = ErrorRegime::SkipFailingStatements();
  FileDialogRequest dialog;
  on_error([&] { dialog.filter = "Calvora.vel 5 XML Kataloge (*.xml)|*.xml"; });
  on_error([&] { dialog.initial_file = TrimBlanks(txtBrowseFile().Text); });
  on_error([&] { dialog.flags = kFileMustExist; });
  on_error([&] { dialog.owner = picMain().hWnd(); });
  std::string file_name = dialog.initial_file;
  on_error([&] { file_name = View().ShowOpenDialog(dialog); });
  on_error([&] { txtBrowseFile().Text = file_name; });
  ShowControls();
}

PictureBox& frmVelXMLSettings::picMain() {
  EnsureLoaded();
  return pic_main_;
}

PictureBox& frmVelXMLSettings::picAdvanced() {
  EnsureLoaded();
  return pic_advanced_;
}

TextBox& frmVelXMLSettings::txtBrowseFile() {
  EnsureLoaded();
  return txt_browse_file_;
}

CommandButton& frmVelXMLSettings::cmdBrowseFile() {
  EnsureLoaded();
  return cmd_browse_file_;
}

CheckBox& frmVelXMLSettings::chkImportMedia() {
  EnsureLoaded();
  return chk_import_media_;
}

OptionButtonArray& frmVelXMLSettings::optUpdateMode() {
  EnsureLoaded();
  return opt_update_mode_;
}

LabelArray& frmVelXMLSettings::lblImport() {
  EnsureLoaded();
  return lbl_import_;
}

}  // namespace cvimp::settings
