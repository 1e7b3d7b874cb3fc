#include "automation_base.h"

namespace cvimp::testhost {

namespace {

const VARIANT& Followed(const VARIANT& v) {
  if (V_VT(&v) == (VT_BYREF | VT_VARIANT) && V_VARIANTREF(&v)) return Followed(*V_VARIANTREF(&v));
  return v;
}

}  // namespace

void FromValue(const Value& value, VARIANT* out) {
  if (out) com::SetResult(out, com::FromValue(value));
}

void HandOver(VARIANT* out, IDispatch* fresh) {
  com::SetObject(out, fresh);
  fresh->Release();
}

UINT PositionalCount(const DISPPARAMS& params) { return params.cArgs - params.cNamedArgs; }

const VARIANT* Arg(const DISPPARAMS& params, UINT index) {
  UINT positional = PositionalCount(params);
  if (index >= positional) return nullptr;
  const VARIANT& v = Followed(params.rgvarg[params.cArgs - 1 - index]);
  if (V_VT(&v) == VT_ERROR && V_ERROR(&v) == DISP_E_PARAMNOTFOUND) return nullptr;
  return &v;
}

const VARIANT& PutValue(const DISPPARAMS& params) {
  for (UINT i = 0; i < params.cNamedArgs; ++i)
    if (params.rgdispidNamedArgs[i] == DISPID_PROPERTYPUT) return Followed(params.rgvarg[i]);
  throw Error(ErrorCode::kInvalidArgument, "Invalid procedure call or argument");
}

std::string TextArg(const DISPPARAMS& params, UINT index) {
  const VARIANT* v = Arg(params, index);
  if (!v) throw Error(ErrorCode::kInvalidArgument, "Argument not optional");
  return TextForm(ToValue(*v));
}

long LongArg(const DISPPARAMS& params, UINT index, long fallback) {
  const VARIANT* v = Arg(params, index);
  if (!v) return fallback;
  return com::Variant(*v).AsInt32();
}

}  // namespace cvimp::testhost
