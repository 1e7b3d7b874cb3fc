// What the UI tests read back from real windows and how they act on them as a user would: window texts
// in UTF-8, class names, the font a control uses, check states, clicks, typing, a stand-in for the
// host's wizard window, and an answer to the modal file-open dialog.
#pragma once

#include "com/automation/windows_headers.h"

#include <cstdint>
#include <functional>
#include <string>
#include <thread>

namespace cvimp::uitest {

HWND AsWindow(std::int64_t handle);
std::int64_t HandleOf(HWND window);

// The window text, UTF-8.
std::string Text(HWND window);
std::wstring ClassName(HWND window);
bool HasClass(HWND window, const wchar_t* class_name);  // without regard to case
std::wstring FontFace(HWND window);                      // of the font the window was given with WM_SETFONT
LONG_PTR Style(HWND window);
bool IsChecked(HWND button);
HWND Control(HWND container, int id);

// As the user does it: BM_CLICK on a button, SetWindowTextW on an edit field (UTF-8 given).
void Click(HWND button);
void Type(HWND edit, const std::string& utf8);

// A visible top-level window of its own class, standing in for the host's wizard.
class WizardWindow {
 public:
  WizardWindow();
  ~WizardWindow();
  WizardWindow(const WizardWindow&) = delete;
  WizardWindow& operator=(const WizardWindow&) = delete;
  HWND get() const { return window_; }

 private:
  HWND window_ = nullptr;
};

// Answers the next file-open dialog that the calling thread shows, from a thread of its own: it waits for
// the dialog, notes its owner, and then cancels it or, when given a file, enters that file and presses OK.
// When no dialog appears within the time limit the test program ends with a failure (the calling thread
// would otherwise wait in the modal dialog for ever).
class DialogAnswerer {
 public:
  // An empty file cancels the dialog.
  explicit DialogAnswerer(std::wstring file_to_choose);
  ~DialogAnswerer();
  DialogAnswerer(const DialogAnswerer&) = delete;
  DialogAnswerer& operator=(const DialogAnswerer&) = delete;

  // Waits for the answering thread to end; call it after the modal call has returned.
  void Finish();
  bool answered() const { return answered_; }
  HWND owner() const { return owner_; }
  std::string title() const { return title_; }

 private:
  void Run(DWORD ui_thread);

  std::wstring file_;
  bool answered_ = false;
  HWND owner_ = nullptr;
  std::string title_;
  std::thread thread_;
};

}  // namespace cvimp::uitest
