// The registry entries of the Manager class, as DllRegisterServer writes them and DllUnregisterServer
// removes them again:
//   HKCR\CVImpVelXMLCat.Manager                 (default) = "CVImpVelXMLCat.Manager"
//   HKCR\CVImpVelXMLCat.Manager\CLSID           (default) = {56C1A27F-...}
//   HKCR\CLSID\{56C1A27F-...}                   (default) = "CVImpVelXMLCat.Manager"
//   HKCR\CLSID\{56C1A27F-...}\InprocServer32    (default) = the DLL's path, ThreadingModel = "Apartment"
//   HKCR\CLSID\{56C1A27F-...}\ProgID            (default) = "CVImpVelXMLCat.Manager"
#pragma once

#include <olectl.h>

#include <string>

#include "com/automation/windows_headers.h"

namespace cvimp::com {

// Writes the entries for the DLL at `module_path`. On failure whatever was written is removed again.
HRESULT RegisterManagerClass(const std::wstring& module_path);
// Removes the entries: every key listed above, leaves first; a key that holds anything not written by
// RegisterManagerClass (another subkey) is left in place. Keys already gone are no failure.
HRESULT UnregisterManagerClass();

}  // namespace cvimp::com
