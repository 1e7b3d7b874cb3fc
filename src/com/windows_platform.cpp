#include "com/windows_platform.h"

#include "com/ado_recordset.h"
#include "com/automation/dispatch_call.h"
#include "com/automation/text_conversion.h"
#include "com/automation/windows_headers.h"
#include "com/automation_host.h"
#include "com/prog_ids.h"
#include "com/win32_settings_view.h"

namespace cvimp::com {

std::shared_ptr<plugin::TextCatalog> WindowsPlatform::NewTextCatalog() {
  DispatchRef object = TryCreateByProgId(kTextCatalogProgId);
  if (!object) return nullptr;
  return std::make_shared<AutomationTextCatalog>(std::move(object));
}

std::shared_ptr<plugin::HostTools> WindowsPlatform::NewHostTools() {
  DispatchRef object = TryCreateByProgId(kHostToolsProgId);
  if (!object) return nullptr;
  return std::make_shared<AutomationHostTools>(std::move(object));
}

std::unique_ptr<recordset::Recordset> WindowsPlatform::NewRecordset() {
  return std::make_unique<AdoRecordset>(CreateByProgId(kAdoRecordsetProgId));
}

std::unique_ptr<settings::SettingsView> WindowsPlatform::NewSettingsView() { return NewWin32SettingsView(); }

void WindowsPlatform::YieldToMessageLoop() {
  MSG message;
  while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      // The quit belongs to the host's own loop: leave it for that loop to see.
      ::PostQuitMessage(static_cast<int>(message.wParam));
      break;
    }
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
  }
}

bool WindowsPlatform::CopyFile(const std::string& existing, const std::string& target, bool fail_if_exists) {
  using CopyFileFunction = BOOL(WINAPI*)(LPCWSTR, LPCWSTR, BOOL);
  const HMODULE kernel32 = ::GetModuleHandleW(L"kernel32.dll");
  if (!kernel32) return false;
  const auto copy =
      reinterpret_cast<CopyFileFunction>(reinterpret_cast<void*>(::GetProcAddress(kernel32, "CopyFileW")));
  if (!copy) return false;
  try {
    const std::wstring from = Widen(existing), to = Widen(target);
    return copy(from.c_str(), to.c_str(), fail_if_exists ? TRUE : FALSE) != FALSE;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace cvimp::com
