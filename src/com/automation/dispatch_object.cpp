#include "com/automation/dispatch_object.h"

#include <cwctype>
#include <new>
#include <utility>

#include "com/automation/module.h"
#include "com/automation/text_conversion.h"
#include "common/error.h"

namespace cvimp::com {

namespace {

bool SameName(const wchar_t* a, const wchar_t* b) {
  for (; *a && *b; ++a, ++b) {
    if (std::towlower(static_cast<wint_t>(*a)) != std::towlower(static_cast<wint_t>(*b))) return false;
  }
  return *a == *b;
}

void Fill(EXCEPINFO* exception, const std::wstring& source, const std::string& description, HRESULT scode) {
  if (!exception) return;
  *exception = EXCEPINFO{};
  exception->bstrSource = ::SysAllocString(source.c_str());
  const std::wstring wide = Widen(description);
  exception->bstrDescription = ::SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  exception->scode = scode;
}

HRESULT CoercionFailure(const Error& e) {
  return e.code() == ErrorCode::kOverflow ? DISP_E_OVERFLOW : DISP_E_TYPEMISMATCH;
}

}  // namespace

HRESULT ErrorScode(const Error& error) {
  const int code = static_cast<int>(error.code());
  if (code > 0 && code <= 0xFFFF) return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, code);
  return static_cast<HRESULT>(code);
}

// ---- DispatchArguments ----

std::size_t DispatchArguments::count() const { return params_.cArgs - params_.cNamedArgs; }

void DispatchArguments::ExpectCount(std::size_t min, std::size_t max) const {
  if (params_.cNamedArgs > 0 &&
      !(params_.cNamedArgs == 1 && params_.rgdispidNamedArgs && params_.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT))
    throw DispatchFailure(DISP_E_NONAMEDARGS);
  if (count() < min || count() > max) throw DispatchFailure(DISP_E_BADPARAMCOUNT);
}

UINT DispatchArguments::ArgError(std::size_t i) const { return static_cast<UINT>(params_.cArgs - 1 - i); }

const VARIANT& DispatchArguments::Raw(std::size_t i) const { return params_.rgvarg[ArgError(i)]; }

bool DispatchArguments::Has(std::size_t i) const {
  if (i >= count()) return false;
  const VARIANT* v = &Raw(i);
  if (v->vt == (VT_BYREF | VT_VARIANT) && v->pvarVal) v = v->pvarVal;
  return !(v->vt == VT_ERROR && v->scode == DISP_E_PARAMNOTFOUND);
}

Variant DispatchArguments::At(std::size_t i) const {
  if (!Has(i)) throw DispatchFailure(DISP_E_PARAMNOTOPTIONAL, i < count() ? ArgError(i) : 0);
  try {
    return Dereferenced(Raw(i));
  } catch (const Error&) {
    throw DispatchFailure(DISP_E_TYPEMISMATCH, ArgError(i));
  }
}

std::string DispatchArguments::Text(std::size_t i) const {
  const Variant v = At(i);
  try {
    return v.AsText();
  } catch (const Error& e) {
    throw DispatchFailure(CoercionFailure(e), ArgError(i));
  }
}

std::int32_t DispatchArguments::Int32(std::size_t i) const {
  const Variant v = At(i);
  try {
    return v.AsInt32();
  } catch (const Error& e) {
    throw DispatchFailure(CoercionFailure(e), ArgError(i));
  }
}

bool DispatchArguments::Bool(std::size_t i) const {
  const Variant v = At(i);
  try {
    return v.AsBool();
  } catch (const Error& e) {
    throw DispatchFailure(CoercionFailure(e), ArgError(i));
  }
}

DispatchRef DispatchArguments::Object(std::size_t i) const {
  const Variant v = At(i);
  try {
    return DispatchRef::FromVariant(v.get());
  } catch (const Error&) {
    throw DispatchFailure(DISP_E_TYPEMISMATCH, ArgError(i));
  }
}

Variant DispatchArguments::PutValue() const {
  for (UINT k = 0; k < params_.cNamedArgs; ++k) {
    if (params_.rgdispidNamedArgs && params_.rgdispidNamedArgs[k] == DISPID_PROPERTYPUT) {
      try {
        return Dereferenced(params_.rgvarg[k]);
      } catch (const Error&) {
        throw DispatchFailure(DISP_E_TYPEMISMATCH, k);
      }
    }
  }
  throw DispatchFailure(DISP_E_PARAMNOTOPTIONAL);
}

// ---- DispatchObject ----

DispatchObject::DispatchObject(std::wstring source, std::vector<DispatchMember> members)
    : source_(std::move(source)), members_(std::move(members)) {
  module::AddObject();
}

DispatchObject::~DispatchObject() { module::ReleaseObject(); }

HRESULT STDMETHODCALLTYPE DispatchObject::QueryInterface(REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch)) {
    *out = static_cast<IDispatch*>(this);
  } else {
    *out = QueryOther(iid);
  }
  if (!*out) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

ULONG STDMETHODCALLTYPE DispatchObject::AddRef() { return ++refs_; }

ULONG STDMETHODCALLTYPE DispatchObject::Release() {
  const ULONG n = --refs_;
  if (n == 0) delete this;
  return n;
}

HRESULT STDMETHODCALLTYPE DispatchObject::GetTypeInfoCount(UINT* count) {
  if (!count) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT STDMETHODCALLTYPE DispatchObject::GetTypeInfo(UINT, LCID, ITypeInfo** out) {
  if (out) *out = nullptr;
  return DISP_E_BADINDEX;
}

HRESULT STDMETHODCALLTYPE DispatchObject::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (!IsEqualIID(iid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
  if (!names || !ids) return E_POINTER;
  if (count == 0) return S_OK;
  // Only the member name is known; named arguments (names[1..]) are not.
  HRESULT hr = S_OK;
  ids[0] = DISPID_UNKNOWN;
  for (const DispatchMember& m : members_) {
    if (names[0] && SameName(names[0], m.name)) {
      ids[0] = m.id;
      break;
    }
  }
  if (ids[0] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
  for (UINT k = 1; k < count; ++k) {
    ids[k] = DISPID_UNKNOWN;
    hr = DISP_E_UNKNOWNNAME;
  }
  return hr;
}

HRESULT STDMETHODCALLTYPE DispatchObject::Invoke(DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* params,
                                                 VARIANT* result, EXCEPINFO* exception, UINT* arg_error) {
  if (!IsEqualIID(iid, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
  bool known = false;
  for (const DispatchMember& m : members_) known = known || m.id == id;
  if (!known) return DISP_E_MEMBERNOTFOUND;
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  // Keep the object alive through the call, even if the member releases the caller's last reference.
  AddRef();
  HRESULT hr = S_OK;
  try {
    hr = Invoke(id, flags, params ? *params : none, result);
  } catch (const DispatchFailure& f) {
    hr = f.hresult();
    if (arg_error && (hr == DISP_E_TYPEMISMATCH || hr == DISP_E_OVERFLOW || hr == DISP_E_PARAMNOTFOUND ||
                      hr == DISP_E_PARAMNOTOPTIONAL))
      *arg_error = f.arg_error();
  } catch (const Error& e) {
    Fill(exception, source_, e.what(), ErrorScode(e));
    hr = DISP_E_EXCEPTION;
  } catch (const std::bad_alloc&) {
    hr = E_OUTOFMEMORY;
  } catch (const std::exception& e) {
    Fill(exception, source_, e.what(), E_FAIL);
    hr = DISP_E_EXCEPTION;
  } catch (...) {
    Fill(exception, source_, "Unexpected failure", E_UNEXPECTED);
    hr = DISP_E_EXCEPTION;
  }
  Release();
  return hr;
}

// ---- results ----

void SetResult(VARIANT* result, Variant value) {
  if (!result) return;
  ::VariantClear(result);
  *result = value.Detach();
}

void SetText(VARIANT* result, std::string_view utf8) {
  if (result) SetResult(result, Variant::Text(utf8));
}

void SetBool(VARIANT* result, bool value) { SetResult(result, Variant::Bool(value)); }

void SetInt32(VARIANT* result, std::int32_t value) { SetResult(result, Variant::Int32(value)); }

void SetObject(VARIANT* result, IDispatch* object) { SetResult(result, Variant::Object(object)); }

}  // namespace cvimp::com
