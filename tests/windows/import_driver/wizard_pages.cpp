#include "wizard_pages.h"

#include <algorithm>
#include <cstdlib>

#include "com/automation/text_conversion.h"
#include "common/error.h"

namespace cvimp::testhost {

namespace {

HWND HandleOfPage(const std::string& descriptor, const std::string& key) {
  const std::string key_attribute = "key=\"" + key + "\"";
  std::size_t at = descriptor.find(key_attribute);
  if (at == std::string::npos) throw Error(ErrorCode::kNotFound, "the page descriptor has no page " + key);
  std::size_t tag = descriptor.rfind("<Page ", at);
  std::size_t hwnd = descriptor.find("hwnd=\"", tag);
  if (tag == std::string::npos || hwnd == std::string::npos || hwnd > at)
    throw Error(ErrorCode::kNotFound, "the page " + key + " has no hwnd");
  unsigned long long value = std::strtoull(descriptor.c_str() + hwnd + 6, nullptr, 10);
  HWND window = reinterpret_cast<HWND>(static_cast<std::uintptr_t>(value));
  if (!IsWindow(window)) throw Error(ErrorCode::kNotFound, "the page " + key + " names no window");
  return window;
}

void PumpMessages() {
  MSG msg;
  while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&msg);
    DispatchMessageW(&msg);
  }
}

BOOL CALLBACK CollectButton(HWND window, LPARAM out) {
  wchar_t class_name[64] = {};
  GetClassNameW(window, class_name, 64);
  if (lstrcmpiW(class_name, L"Button") != 0) return TRUE;
  const LONG type = GetWindowLongW(window, GWL_STYLE) & BS_TYPEMASK;
  PageButton button;
  button.window = window;
  button.radio = type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON;
  button.check_box = type == BS_CHECKBOX || type == BS_AUTOCHECKBOX || type == BS_3STATE || type == BS_AUTO3STATE;
  if (!button.radio && !button.check_box) return TRUE;
  wchar_t caption[256] = {};
  GetWindowTextW(window, caption, 256);
  button.caption = com::Narrow(caption);
  reinterpret_cast<std::vector<PageButton>*>(out)->push_back(button);
  return TRUE;
}

}  // namespace

PageHandles ReadPageHandles(const std::string& descriptor) {
  return PageHandles{HandleOfPage(descriptor, "PIC_MAIN"), HandleOfPage(descriptor, "PIC_ADVANCED")};
}

HWND ShowInWizardFrame(const PageHandles& pages) {
  HWND frame = CreateWindowExW(0, L"STATIC", L"Import", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0, 640, 480, nullptr,
                               nullptr, GetModuleHandleW(nullptr), nullptr);
  if (!frame) throw Error(ErrorCode::kInvalidArgument, "the wizard frame cannot be created");
  for (HWND page : {pages.main, pages.advanced}) {
    SetWindowLongW(page, GWL_STYLE, (GetWindowLongW(page, GWL_STYLE) & ~WS_POPUP) | WS_CHILD);
    SetParent(page, frame);
    ShowWindow(page, SW_SHOW);
  }
  PumpMessages();
  return frame;
}

void CloseWizardFrame(HWND frame) {
  // The containers belong to the plug-in's form: give them back to the desktop before the frame goes.
  HWND child = GetWindow(frame, GW_CHILD);
  while (child) {
    HWND next = GetWindow(child, GW_HWNDNEXT);
    ShowWindow(child, SW_HIDE);
    SetParent(child, nullptr);
    child = next;
  }
  DestroyWindow(frame);
  PumpMessages();
}

std::vector<PageButton> ButtonsOf(HWND container) {
  std::vector<PageButton> buttons;
  EnumChildWindows(container, CollectButton, reinterpret_cast<LPARAM>(&buttons));
  auto top = [](const PageButton& b) {
    RECT r{};
    GetWindowRect(b.window, &r);
    return r.top;
  };
  std::stable_sort(buttons.begin(), buttons.end(),
                   [&](const PageButton& a, const PageButton& b) { return top(a) < top(b); });
  return buttons;
}

void Click(HWND button) {
  SendMessageW(button, BM_CLICK, 0, 0);
  PumpMessages();
}

bool IsChecked(HWND button) { return SendMessageW(button, BM_GETCHECK, 0, 0) == BST_CHECKED; }

}  // namespace cvimp::testhost
