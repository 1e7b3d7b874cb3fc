#include "ui_test_support.h"

#include <chrono>
#include <cstdio>
#include <cwctype>

#include "com/automation/text_conversion.h"

namespace cvimp::uitest {

using com::Narrow;
using com::Widen;

HWND AsWindow(std::int64_t handle) { return reinterpret_cast<HWND>(static_cast<INT_PTR>(handle)); }

std::int64_t HandleOf(HWND window) { return static_cast<std::int64_t>(reinterpret_cast<INT_PTR>(window)); }

namespace {

std::wstring WideText(HWND window) {
  const int length = GetWindowTextLengthW(window);
  if (length <= 0) return {};
  std::wstring text(static_cast<std::size_t>(length) + 1, L'\0');
  text.resize(static_cast<std::size_t>(GetWindowTextW(window, text.data(), length + 1)));
  return text;
}

}  // namespace

std::string Text(HWND window) { return Narrow(WideText(window)); }

std::wstring ClassName(HWND window) {
  wchar_t name[256] = {};
  GetClassNameW(window, name, 256);
  return name;
}

bool HasClass(HWND window, const wchar_t* class_name) { return _wcsicmp(ClassName(window).c_str(), class_name) == 0; }

std::wstring FontFace(HWND window) {
  const auto font = reinterpret_cast<HFONT>(SendMessageW(window, WM_GETFONT, 0, 0));
  if (!font) return L"(no font)";
  LOGFONTW description{};
  if (GetObjectW(font, sizeof description, &description) != sizeof description) return L"(no font object)";
  return description.lfFaceName;
}

LONG_PTR Style(HWND window) { return GetWindowLongPtrW(window, GWL_STYLE); }

bool IsChecked(HWND button) { return SendMessageW(button, BM_GETCHECK, 0, 0) == BST_CHECKED; }

HWND Control(HWND container, int id) { return GetDlgItem(container, id); }

void Click(HWND button) { SendMessageW(button, BM_CLICK, 0, 0); }

void Type(HWND edit, const std::string& utf8) { SetWindowTextW(edit, Widen(utf8).c_str()); }

namespace {

constexpr wchar_t kWizardClass[] = L"CVImpUiTest.Wizard";

void RegisterWizardClass() {
  static const bool registered = [] {
    WNDCLASSEXW wizard{};
    wizard.cbSize = sizeof wizard;
    wizard.lpfnWndProc = &DefWindowProcW;
    wizard.hInstance = GetModuleHandleW(nullptr);
    wizard.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_BTNFACE + 1));
    wizard.lpszClassName = kWizardClass;
    return RegisterClassExW(&wizard) != 0;
  }();
  (void)registered;
}

}  // namespace

WizardWindow::WizardWindow() {
  RegisterWizardClass();
  window_ = CreateWindowExW(WS_EX_CONTROLPARENT, kWizardClass, L"Import-Assistent", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                            40, 40, 520, 360, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
}

WizardWindow::~WizardWindow() {
  if (window_ && IsWindow(window_)) DestroyWindow(window_);
}

DialogAnswerer::DialogAnswerer(std::wstring file_to_choose) : file_(std::move(file_to_choose)) {
  thread_ = std::thread([this, ui_thread = GetCurrentThreadId()] { Run(ui_thread); });
}

DialogAnswerer::~DialogAnswerer() { Finish(); }

void DialogAnswerer::Finish() {
  if (thread_.joinable()) thread_.join();
}

namespace {

struct DialogSearch {
  HWND dialog = nullptr;
};

BOOL CALLBACK FindDialog(HWND window, LPARAM context) {
  if (HasClass(window, L"#32770") && IsWindowVisible(window)) {
    reinterpret_cast<DialogSearch*>(context)->dialog = window;
    return FALSE;
  }
  return TRUE;
}

// The file name field of the open dialog: a combo box with an edit field in the current dialogs, an edit
// field in older ones.
HWND FileNameField(HWND dialog) {
  constexpr int kComboFileName = 0x47c;  // cmb13
  constexpr int kEditFileName = 0x480;   // edt1
  if (HWND combo = GetDlgItem(dialog, kComboFileName)) return combo;
  return GetDlgItem(dialog, kEditFileName);
}

}  // namespace

void DialogAnswerer::Run(DWORD ui_thread) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::seconds(60);
  DialogSearch search;
  while (!search.dialog && Clock::now() < deadline) {
    EnumThreadWindows(ui_thread, &FindDialog, reinterpret_cast<LPARAM>(&search));
    if (!search.dialog) Sleep(50);
  }
  if (!search.dialog) {
    std::fputs("FAIL: no file-open dialog appeared within 60 seconds\n", stderr);
    std::fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 3);
  }
  // Let the dialog finish setting itself up before it is answered.
  Sleep(300);
  owner_ = GetWindow(search.dialog, GW_OWNER);
  title_ = Text(search.dialog);
  if (file_.empty()) {
    PostMessageW(search.dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
  } else {
    SendMessageW(FileNameField(search.dialog), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(file_.c_str()));
    PostMessageW(search.dialog, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED), 0);
  }
  answered_ = true;
}

}  // namespace cvimp::uitest
