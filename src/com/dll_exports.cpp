// The DLL's entry points: the module handle, the class object of Manager, unloading and self-registration.
#include <string>

#include "com/automation/module.h"
#include "com/automation/windows_headers.h"
#include "com/class_factory.h"
#include "com/registration.h"
#include "settings/frm_vel_xml_settings.h"

using namespace cvimp::com;

extern "C" {

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    module::SetHandle(instance);
    ::DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!IsEqualCLSID(clsid, kManagerClsid)) return CLASS_E_CLASSNOTAVAILABLE;
  return GetManagerClassObject(iid, out);
}

// The DLL stays while any of its objects lives, the server is locked, or the shared settings form of the
// calling thread is still loaded (its windows run this DLL's code).
STDAPI DllCanUnloadNow() {
  return module::CanUnload() && !cvimp::settings::frmVelXMLSettings::HasDefaultInstance() ? S_OK : S_FALSE;
}

STDAPI DllRegisterServer() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD n = ::GetModuleFileNameW(module::Handle(), path.data(), static_cast<DWORD>(path.size()));
    if (n == 0) return SELFREG_E_CLASS;
    if (n < path.size()) {
      path.resize(n);
      break;
    }
    path.resize(path.size() * 2);
  }
  return RegisterManagerClass(path);
}

STDAPI DllUnregisterServer() { return UnregisterManagerClass(); }

}  // extern "C"
