#include "com/registration.h"

#include <string_view>

#include "com/automation/text_conversion.h"
#include "com/prog_ids.h"

namespace cvimp::com {

namespace {

constexpr wchar_t kThreadingModel[] = L"Apartment";

std::wstring ProgIdKey() { return Widen(kManagerProgId); }
std::wstring ClsidKey() { return std::wstring(L"CLSID\\") + kManagerClsidText; }

// Creates (or opens) HKCR\<path> and sets a string value (`name` null: the default value).
LSTATUS SetString(const std::wstring& path, const wchar_t* name, std::wstring_view value) {
  HKEY key = nullptr;
  LSTATUS status = ::RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                     KEY_SET_VALUE, nullptr, &key, nullptr);
  if (status != ERROR_SUCCESS) return status;
  status = ::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.data()),
                            static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  ::RegCloseKey(key);
  return status;
}

// Deletes HKCR\<path> when it has no subkeys; a missing key counts as deleted.
LSTATUS DeleteKey(const std::wstring& path) {
  const LSTATUS status = ::RegDeleteKeyW(HKEY_CLASSES_ROOT, path.c_str());
  return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

HRESULT Result(LSTATUS status) { return status == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(status); }

}  // namespace

HRESULT RegisterManagerClass(const std::wstring& module_path) {
  const std::wstring progid = ProgIdKey();
  const std::wstring clsid = ClsidKey();
  LSTATUS status = SetString(progid, nullptr, progid);
  if (status == ERROR_SUCCESS) status = SetString(progid + L"\\CLSID", nullptr, kManagerClsidText);
  if (status == ERROR_SUCCESS) status = SetString(clsid, nullptr, progid);
  if (status == ERROR_SUCCESS) status = SetString(clsid + L"\\InprocServer32", nullptr, module_path);
  if (status == ERROR_SUCCESS) status = SetString(clsid + L"\\InprocServer32", L"ThreadingModel", kThreadingModel);
  if (status == ERROR_SUCCESS) status = SetString(clsid + L"\\ProgID", nullptr, progid);
  if (status != ERROR_SUCCESS) {
    UnregisterManagerClass();
    return SELFREG_E_CLASS;
  }
  return S_OK;
}

HRESULT UnregisterManagerClass() {
  const std::wstring progid = ProgIdKey();
  const std::wstring clsid = ClsidKey();
  // Every step runs; the first failure is the answer.
  LSTATUS first = ERROR_SUCCESS;
  for (const std::wstring& path :
       {progid + L"\\CLSID", progid, clsid + L"\\InprocServer32", clsid + L"\\ProgID", clsid}) {
    const LSTATUS status = DeleteKey(path);
    if (first == ERROR_SUCCESS) first = status;
  }
  return Result(first);
}

}  // namespace cvimp::com
