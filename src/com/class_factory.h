// The class factory of the Manager class, as DllGetClassObject hands it out.
#pragma once

#include "com/automation/windows_headers.h"

namespace cvimp::com {

// The CLSID of "CVImpVelXMLCat.Manager".
extern const CLSID kManagerClsid;

// A new factory for Manager objects, asked for `iid` (IClassFactory or IUnknown). Each factory counts as a
// live object of the module while it exists.
HRESULT GetManagerClassObject(REFIID iid, void** out);

}  // namespace cvimp::com
