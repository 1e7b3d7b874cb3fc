// The automation plumbing of the test host library and the import driver: objects are com::DispatchObject
// (src/com/automation); these helpers read positional arguments straight from DISPPARAMS and hand out
// values and new objects.
#pragma once

#include <string>

#include "com/automation/dispatch_object.h"
#include "com/automation/module.h"
#include "com/automation/text_conversion.h"
#include "com/automation/variant.h"
#include "com/automation/windows_headers.h"
#include "common/error.h"
#include "common/value.h"

namespace cvimp::testhost {

using com::DispatchMember;
using com::DispatchObject;
using com::IsGet;
using com::IsPut;
using com::Narrow;
using com::SetBool;
using com::SetInt32;
using com::SetText;
using com::ToValue;
using com::Widen;

// Writes the value into `out` (com::FromValue); `out` may be null.
void FromValue(const Value& value, VARIANT* out);
// Hands a new object to the caller, taking over the one reference it was made with; `out` may be null.
void HandOver(VARIANT* out, IDispatch* fresh);

// The number of positional arguments (a property put's value not counted).
UINT PositionalCount(const DISPPARAMS& params);
// The positional argument `index` (0 = the first written in the call), by-reference variants followed;
// a missing or omitted (DISP_E_PARAMNOTFOUND) argument is null.
const VARIANT* Arg(const DISPPARAMS& params, UINT index);
// The value of a property put (the DISPID_PROPERTYPUT argument); raises when there is none.
const VARIANT& PutValue(const DISPPARAMS& params);
// The argument's value as a text (TextForm); raises cvimp::Error when it is missing.
std::string TextArg(const DISPPARAMS& params, UINT index);
// The argument as a 32-bit integer, `fallback` when it is missing; raises when it does not convert.
long LongArg(const DISPPARAMS& params, UINT index, long fallback);

}  // namespace cvimp::testhost
