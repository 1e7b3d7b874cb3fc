#include "com/win32_settings_view.h"

#include "com/automation/windows_headers.h"

#include <commdlg.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "com/automation/text_conversion.h"
#include "common/error.h"
#include "settings/frm_vel_xml_settings.h"

namespace cvimp::com {
namespace {

// One window class for the hidden form and the two containers, registered with this module's handle.
constexpr wchar_t kPageClass[] = L"CVImpVelXMLCat.SettingsPage";

constexpr int kIdLblImport = settings_control_id::kLblImport;
constexpr int kIdTxtBrowseFile = settings_control_id::kTxtBrowseFile;
constexpr int kIdCmdBrowseFile = settings_control_id::kCmdBrowseFile;
constexpr int kIdOptUpdateMode = settings_control_id::kOptUpdateMode;
constexpr int kIdChkImportMedia = settings_control_id::kChkImportMedia;

// The layout of a wizard page, in pixels: both containers are 460 x 250.
constexpr int kPageWidth = 460;
constexpr int kPageHeight = 250;
constexpr int kMargin = 12;
constexpr int kInnerWidth = kPageWidth - 2 * kMargin;
constexpr int kFontPoints = 8;

std::wstring WindowText(HWND window) {
  const int length = GetWindowTextLengthW(window);
  if (length <= 0) return {};
  std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
  const int copied = GetWindowTextW(window, text.data(), length + 1);
  text.resize(static_cast<std::size_t>(std::max(copied, 0)));
  return text;
}

LRESULT CALLBACK PageWindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

// The module this code lives in (the plug-in DLL, or the program it is linked into).
HINSTANCE ThisModule() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCWSTR>(&PageWindowProc), &module);
  return module;
}

// Registers the page class once per process. A class left behind by an earlier load of this module (whose
// window procedure is gone) is replaced.
void RegisterPageClass(HINSTANCE module) {
  static std::mutex mutex;
  static bool registered = false;
  const std::lock_guard<std::mutex> lock(mutex);
  if (registered) return;
  WNDCLASSEXW existing{};
  existing.cbSize = sizeof existing;
  if (GetClassInfoExW(module, kPageClass, &existing)) {
    if (existing.lpfnWndProc == &PageWindowProc) {
      registered = true;
      return;
    }
    UnregisterClassW(kPageClass, module);
  }
  WNDCLASSEXW page_class{};
  page_class.cbSize = sizeof page_class;
  page_class.lpfnWndProc = &PageWindowProc;
  page_class.hInstance = module;
  page_class.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  page_class.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_BTNFACE + 1));
  page_class.lpszClassName = kPageClass;
  if (!RegisterClassExW(&page_class))
    throw Error(ErrorCode::kObjectRequired,
                "The settings page window class could not be registered (error " + std::to_string(GetLastError()) + ")");
  registered = true;
}

HFONT CreateTahoma() {
  HDC screen = GetDC(nullptr);
  const int dpi = screen ? GetDeviceCaps(screen, LOGPIXELSY) : 96;
  if (screen) ReleaseDC(nullptr, screen);
  return CreateFontW(-MulDiv(kFontPoints, dpi, 72), 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                     OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH | FF_SWISS, L"Tahoma");
}

class Win32SettingsView final : public settings::SettingsView {
 public:
  Win32SettingsView() {
    try {
      CreateWindows();
    } catch (...) {
      DestroyWindows();
      throw;
    }
  }

  ~Win32SettingsView() override { DestroyWindows(); }

  Win32SettingsView(const Win32SettingsView&) = delete;
  Win32SettingsView& operator=(const Win32SettingsView&) = delete;

  void Bind(settings::frmVelXMLSettings& form) override {
    form_model_ = &form;
    ControlsChanged();
  }

  void ControlsChanged() override {
    if (!form_model_) return;
    // Setting the path text notifies a change like typing does; that notification is ours, not the user's.
    const UpdateGuard guard(updating_);
    settings::frmVelXMLSettings& form = *form_model_;
    ShowText(txt_browse_file_, form.txtBrowseFile().Text);
    ShowText(cmd_browse_file_, form.cmdBrowseFile().Caption);
    for (int i = 0; i < settings::LabelArray::kCount; ++i) ShowText(lbl_import_[Slot(i)], form.lblImport()(i).Caption);
    settings::OptionButtonArray& options = form.optUpdateMode();
    for (int i = options.LBound(); i <= options.UBound(); ++i) {
      ShowText(opt_update_mode_[Slot(i)], options.Caption(i));
      ShowCheck(opt_update_mode_[Slot(i)], options.Value(i));
    }
    ShowText(chk_import_media_, form.chkImportMedia().Caption);
    ShowCheck(chk_import_media_, form.chkImportMedia().Value == settings::CheckBox::kChecked);
  }

  std::int64_t PicMainHandle() override { return HandleValue(pic_main_); }
  std::int64_t PicAdvancedHandle() override { return HandleValue(pic_advanced_); }

  std::string ShowOpenDialog(const settings::FileDialogRequest& request) override {
    // "description|pattern" becomes "description\0pattern\0\0" (the last NUL is the string's own).
    std::wstring filter = Widen(request.filter);
    std::replace(filter.begin(), filter.end(), L'|', L'\0');
    filter.push_back(L'\0');
    const std::wstring initial = Widen(request.initial_file);
    std::vector<wchar_t> file(std::max<std::size_t>(initial.size() + 1, 32768), L'\0');
    std::copy(initial.begin(), initial.end(), file.begin());

    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof dialog;
    dialog.hwndOwner = reinterpret_cast<HWND>(static_cast<INT_PTR>(request.owner));
    dialog.lpstrFilter = filter.c_str();
    dialog.nFilterIndex = 1;
    dialog.lpstrFile = file.data();
    dialog.nMaxFile = static_cast<DWORD>(file.size());
    dialog.Flags = static_cast<DWORD>(request.flags);
    if (!GetOpenFileNameW(&dialog)) return request.initial_file;
    return Narrow(file.data());
  }

  // Messages of the hidden form and the two containers.
  LRESULT HandleMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    if (message == WM_COMMAND && lparam != 0) {
      OnCommand(LOWORD(wparam), HIWORD(wparam));
      return 0;
    }
    if (message == WM_NCDESTROY) Forget(window);
    return DefWindowProcW(window, message, wparam, lparam);
  }

 private:
  class UpdateGuard {
   public:
    explicit UpdateGuard(int& depth) : depth_(depth) { ++depth_; }
    ~UpdateGuard() { --depth_; }
    UpdateGuard(const UpdateGuard&) = delete;
    UpdateGuard& operator=(const UpdateGuard&) = delete;

   private:
    int& depth_;
  };

  static std::size_t Slot(int index) { return static_cast<std::size_t>(index); }
  static std::int64_t HandleValue(HWND window) {
    return static_cast<std::int64_t>(reinterpret_cast<INT_PTR>(window));
  }

  HWND Create(HWND parent, const wchar_t* window_class, const std::wstring& text, DWORD style, DWORD ex_style,
              int id, int x, int y, int width, int height) {
    HWND window = CreateWindowExW(ex_style, window_class, text.c_str(), style, x, y, width, height, parent,
                                  reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), module_, this);
    if (!window)
      throw Error(ErrorCode::kObjectRequired,
                  "A window of the settings form could not be created (error " + std::to_string(GetLastError()) + ")");
    if (font_) SendMessageW(window, WM_SETFONT, reinterpret_cast<WPARAM>(font_), FALSE);
    return window;
  }

  HWND CreateContainer(const wchar_t* name, int y) {
    return Create(form_, kPageClass, name, WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS,
                  WS_EX_CONTROLPARENT, 0, 0, y, kPageWidth, kPageHeight);
  }

  void CreateWindows() {
    module_ = ThisModule();
    RegisterPageClass(module_);
    font_ = CreateTahoma();

    // The form itself is never shown: the host shows the containers inside its wizard.
    form_ = Create(nullptr, kPageClass, L"frmVelXMLSettings", WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_CLIPCHILDREN,
                   WS_EX_TOOLWINDOW, 0, CW_USEDEFAULT, CW_USEDEFAULT, kPageWidth + 16, 2 * kPageHeight + 40);
    pic_main_ = CreateContainer(L"picMain", 0);
    pic_advanced_ = CreateContainer(L"picAdvanced", kPageHeight);

    constexpr DWORD kChild = WS_CHILD | WS_VISIBLE;
    // The first page: the info text, the source label, the path field and the browse button.
    lbl_import_[0] = Create(pic_main_, L"STATIC", L"", kChild | SS_LEFT, 0, kIdLblImport + 0, kMargin, kMargin,
                            kInnerWidth, 42);
    lbl_import_[2] = Create(pic_main_, L"STATIC", L"", kChild | SS_LEFT, 0, kIdLblImport + 2, kMargin, 66,
                            kInnerWidth, 16);
    txt_browse_file_ = Create(pic_main_, L"EDIT", L"", kChild | WS_TABSTOP | WS_GROUP | ES_AUTOHSCROLL | ES_LEFT,
                              WS_EX_CLIENTEDGE, kIdTxtBrowseFile, kMargin, 86, kInnerWidth - 100, 22);
    cmd_browse_file_ = Create(pic_main_, L"BUTTON", L"", kChild | WS_TABSTOP | WS_GROUP | BS_PUSHBUTTON, 0,
                              kIdCmdBrowseFile, kPageWidth - kMargin - 92, 85, 92, 24);

    // The second page: the info text, the three update modes as one group, the media check box.
    lbl_import_[1] = Create(pic_advanced_, L"STATIC", L"", kChild | SS_LEFT, 0, kIdLblImport + 1, kMargin, kMargin,
                            kInnerWidth, 42);
    for (int i = 0; i < settings::OptionButtonArray::kCount; ++i) {
      const DWORD group = i == 0 ? WS_GROUP | WS_TABSTOP : 0;
      opt_update_mode_[Slot(i)] = Create(pic_advanced_, L"BUTTON", L"", kChild | group | BS_AUTORADIOBUTTON, 0,
                                         kIdOptUpdateMode + i, kMargin + 12, 62 + 24 * i, kInnerWidth - 12, 20);
    }
    chk_import_media_ = Create(pic_advanced_, L"BUTTON", L"", kChild | WS_GROUP | WS_TABSTOP | BS_AUTOCHECKBOX, 0,
                               kIdChkImportMedia, kMargin, 146, kInnerWidth, 20);
  }

  void DestroyWindows() {
    form_model_ = nullptr;
    // The containers may live in the host's wizard by now, so they go first and by themselves.
    const std::array<HWND, 3> windows = {pic_main_, pic_advanced_, form_};
    for (HWND window : windows)
      if (window && IsWindow(window)) SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    for (HWND window : windows)
      if (window && IsWindow(window)) DestroyWindow(window);
    pic_main_ = pic_advanced_ = form_ = nullptr;
    ForgetControls(true, true);
    if (font_) DeleteObject(font_);
    font_ = nullptr;
  }

  // A window of ours is gone (destroyed by us or by its new parent): its handles are no longer used.
  void Forget(HWND window) {
    SetWindowLongPtrW(window, GWLP_USERDATA, 0);
    if (window == pic_main_) pic_main_ = nullptr;
    if (window == pic_advanced_) pic_advanced_ = nullptr;
    if (window == form_) form_ = nullptr;
    ForgetControls(pic_main_ == nullptr, pic_advanced_ == nullptr);
  }

  void ForgetControls(bool main_page, bool advanced_page) {
    if (main_page) txt_browse_file_ = cmd_browse_file_ = lbl_import_[0] = lbl_import_[2] = nullptr;
    if (advanced_page) {
      lbl_import_[1] = chk_import_media_ = nullptr;
      opt_update_mode_.fill(nullptr);
    }
  }

  void ShowText(HWND window, const std::string& utf8) {
    if (!window) return;
    const std::wstring text = Widen(utf8);
    if (WindowText(window) != text) SetWindowTextW(window, text.c_str());
  }

  static void ShowCheck(HWND button, bool checked) {
    if (button) SendMessageW(button, BM_SETCHECK, checked ? BST_CHECKED : BST_UNCHECKED, 0);
  }

  static bool Checked(HWND button) { return SendMessageW(button, BM_GETCHECK, 0, 0) == BST_CHECKED; }

  // What the user did in a control goes straight into the form. Nothing may escape into the window system.
  void OnCommand(int id, int code) {
    if (updating_ || !form_model_) return;
    try {
      settings::frmVelXMLSettings& form = *form_model_;
      if (id == kIdTxtBrowseFile && code == EN_CHANGE) {
        form.txtBrowseFile().Text = Narrow(WindowText(txt_browse_file_));
      } else if (id >= kIdOptUpdateMode && id < kIdOptUpdateMode + settings::OptionButtonArray::kCount &&
                 code == BN_CLICKED) {
        const int index = id - kIdOptUpdateMode;
        if (Checked(opt_update_mode_[Slot(index)])) form.optUpdateMode().SetValue(index, true);
      } else if (id == kIdChkImportMedia && code == BN_CLICKED) {
        form.chkImportMedia().Value =
            Checked(chk_import_media_) ? settings::CheckBox::kChecked : settings::CheckBox::kUnchecked;
      } else if (id == kIdCmdBrowseFile && code == BN_CLICKED) {
        form.cmdBrowseFile().Click();
      }
    } catch (...) {
    }
  }

  HINSTANCE module_ = nullptr;
  HFONT font_ = nullptr;
  HWND form_ = nullptr;
  HWND pic_main_ = nullptr;
  HWND pic_advanced_ = nullptr;
  HWND txt_browse_file_ = nullptr;
  HWND cmd_browse_file_ = nullptr;
  HWND chk_import_media_ = nullptr;
  std::array<HWND, settings::LabelArray::kCount> lbl_import_{};
  std::array<HWND, settings::OptionButtonArray::kCount> opt_update_mode_{};
  settings::frmVelXMLSettings* form_model_ = nullptr;
  int updating_ = 0;
};

LRESULT CALLBACK PageWindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_NCCREATE) {
    const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lparam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  }
  auto* view = reinterpret_cast<Win32SettingsView*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (view) return view->HandleMessage(window, message, wparam, lparam);
  return DefWindowProcW(window, message, wparam, lparam);
}

}  // namespace

std::unique_ptr<settings::SettingsView> NewWin32SettingsView() { return std::make_unique<Win32SettingsView>(); }

}  // namespace cvimp::com
