// The in-process server: the four classes of the test host library, their class factory, and their
// registration under HKEY_CLASSES_ROOT (meant for a Wine test prefix only: it takes over "ADODB.Recordset").
#include "com/automation/windows_headers.h"

#include <olectl.h>

#include <string>

#include "ado_recordset.h"
#include "automation_base.h"
#include "host_library.h"
#include "shop_connection.h"

namespace cvimp::testhost {

namespace {

struct ClassEntry {
  CLSID clsid;
  const wchar_t* clsid_text;
  const wchar_t* prog_id;
  const wchar_t* description;
  IDispatch* (*create)();
};

const ClassEntry kClasses[] = {
    {{0x4db343b9, 0xbab7, 0x4948, {0xa7, 0x9e, 0x75, 0x6f, 0xf4, 0x8d, 0xc8, 0x4a}},
     L"{4DB343B9-BAB7-4948-A79E-756FF48DC84A}", L"ADODB.Recordset", L"Test host record set", NewAdoRecordset},
    {{0x06867ef9, 0x20df, 0x4e4f, {0x83, 0xf5, 0x8b, 0xcc, 0xf1, 0x7f, 0xf0, 0x44}},
     L"{06867EF9-20DF-4E4F-83F5-8BCCF17FF044}", L"CalvoraVel.TextCatalog", L"Test host text catalogue",
     NewTextCatalog},
    {{0xc48293e4, 0xae23, 0x4ed6, {0xb0, 0xce, 0x50, 0x5b, 0x38, 0x5d, 0x44, 0xf1}},
     L"{C48293E4-AE23-4ED6-B0CE-505B385D44F1}", L"CalvoraVel.Tools", L"Test host tools", NewHostTools},
    {{0x820922ad, 0x9411, 0x4dc1, {0xba, 0x2a, 0x77, 0x32, 0xdd, 0xc5, 0xab, 0x9b}},
     L"{820922AD-9411-4DC1-BA2A-7732DDC5AB9B}", L"CVImpTest.ShopConnection", L"Test host shop connection",
     NewShopConnection},
};

class ClassFactory : public IClassFactory {
 public:
  explicit ClassFactory(const ClassEntry& entry) : entry_(entry) { com::module::AddObject(); }
  virtual ~ClassFactory() { com::module::ReleaseObject(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IClassFactory)) return E_NOINTERFACE;
    *out = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&refs_)); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG left = InterlockedDecrement(&refs_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    IDispatch* object = nullptr;
    try {
      object = entry_.create();
    } catch (...) {
      return E_OUTOFMEMORY;
    }
    HRESULT hr = object->QueryInterface(iid, out);
    object->Release();
    return hr;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    if (lock)
      com::module::Lock();
    else
      com::module::Unlock();
    return S_OK;
  }

 private:
  LONG refs_ = 1;
  const ClassEntry& entry_;
};

bool SetValue(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  HKEY handle = nullptr;
  if (RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &handle, nullptr) !=
      ERROR_SUCCESS)
    return false;
  LONG rc = RegSetValueExW(handle, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                           static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(handle);
  return rc == ERROR_SUCCESS;
}

std::wstring ReadDefault(const std::wstring& key) {
  wchar_t buffer[256] = {};
  DWORD size = sizeof(buffer);
  if (RegGetValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, buffer, &size) != ERROR_SUCCESS)
    return std::wstring();
  return buffer;
}

std::wstring ModulePath() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(com::module::Handle(), path, MAX_PATH);
  return path;
}

}  // namespace

}  // namespace cvimp::testhost

using namespace cvimp;
using namespace cvimp::testhost;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    com::module::SetHandle(instance);
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  for (const ClassEntry& entry : kClasses) {
    if (!IsEqualCLSID(clsid, entry.clsid)) continue;
    auto* factory = new ClassFactory(entry);
    HRESULT hr = factory->QueryInterface(iid, out);
    factory->Release();
    return hr;
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllCanUnloadNow() { return com::module::CanUnload() ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() {
  const std::wstring path = ModulePath();
  for (const ClassEntry& entry : kClasses) {
    const std::wstring clsid_key = std::wstring(L"CLSID\\") + entry.clsid_text;
    bool ok = SetValue(clsid_key, nullptr, entry.description) &&
              SetValue(clsid_key + L"\\InprocServer32", nullptr, path) &&
              SetValue(clsid_key + L"\\InprocServer32", L"ThreadingModel", L"Apartment") &&
              SetValue(clsid_key + L"\\ProgID", nullptr, entry.prog_id) &&
              SetValue(entry.prog_id, nullptr, entry.description) &&
              SetValue(std::wstring(entry.prog_id) + L"\\CLSID", nullptr, entry.clsid_text);
    if (!ok) return SELFREG_E_CLASS;
  }
  return S_OK;
}

STDAPI DllUnregisterServer() {
  for (const ClassEntry& entry : kClasses) {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (std::wstring(L"CLSID\\") + entry.clsid_text).c_str());
    // The ProgID only while it still names this class (another server may have taken it over since).
    if (ReadDefault(std::wstring(entry.prog_id) + L"\\CLSID") == entry.clsid_text)
      RegDeleteTreeW(HKEY_CLASSES_ROOT, entry.prog_id);
  }
  return S_OK;
}
