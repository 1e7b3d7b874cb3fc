#include "com/automation/variant.h"

#include <new>
#include <string>

#include "com/automation/text_conversion.h"
#include "common/error.h"

namespace cvimp::com {

namespace {

void Check(HRESULT hr) {
  if (hr == E_OUTOFMEMORY) throw std::bad_alloc();
  if (FAILED(hr)) throw Error(ErrorCode::kTypeMismatch, "Type mismatch");
}

// The variant coerced to `type`, by reference or not.
Variant Coerced(const VARIANT& v, VARTYPE type, std::string_view target) {
  Variant out;
  const HRESULT hr = ::VariantChangeType(out.ptr(), const_cast<VARIANT*>(&v), VARIANT_ALPHABOOL, type);
  if (FAILED(hr)) ThrowCoercionError(hr, target);
  return out;
}

}  // namespace

void ThrowCoercionError(HRESULT hr, std::string_view target) {
  if (hr == E_OUTOFMEMORY) throw std::bad_alloc();
  if (hr == DISP_E_OVERFLOW) throw Error(ErrorCode::kOverflow, "Overflow converting to " + std::string(target));
  throw Error(ErrorCode::kTypeMismatch, "Type mismatch converting to " + std::string(target));
}

Variant::Variant(const VARIANT& other) {
  ::VariantInit(&v_);
  Check(::VariantCopy(&v_, const_cast<VARIANT*>(&other)));
}

Variant::Variant(const Variant& other) : Variant(other.v_) {}

Variant& Variant::operator=(const Variant& other) {
  if (this != &other) *this = Variant(other);
  return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept {
  if (this != &other) {
    ::VariantClear(&v_);
    v_ = other.v_;
    ::VariantInit(&other.v_);
  }
  return *this;
}

Variant Variant::Text(std::string_view utf8) {
  Variant r;
  r.v_.bstrVal = Bstr(utf8).Detach();
  r.v_.vt = VT_BSTR;
  return r;
}

Variant Variant::Int16(std::int16_t n) {
  Variant r;
  r.v_.vt = VT_I2;
  r.v_.iVal = n;
  return r;
}

Variant Variant::Int32(std::int32_t n) {
  Variant r;
  r.v_.vt = VT_I4;
  r.v_.lVal = n;
  return r;
}

Variant Variant::Double(double d) {
  Variant r;
  r.v_.vt = VT_R8;
  r.v_.dblVal = d;
  return r;
}

Variant Variant::Bool(bool b) {
  Variant r;
  r.v_.vt = VT_BOOL;
  r.v_.boolVal = b ? VARIANT_TRUE : VARIANT_FALSE;
  return r;
}

Variant Variant::Null() {
  Variant r;
  r.v_.vt = VT_NULL;
  return r;
}

Variant Variant::Object(IDispatch* object) {
  Variant r;
  r.v_.vt = VT_DISPATCH;
  r.v_.pdispVal = object;
  if (object) object->AddRef();
  return r;
}

Variant Variant::Missing() {
  Variant r;
  r.v_.vt = VT_ERROR;
  r.v_.scode = DISP_E_PARAMNOTFOUND;
  return r;
}

Variant Variant::Attach(VARIANT v) {
  Variant r;
  r.v_ = v;
  return r;
}

VARIANT Variant::Detach() {
  VARIANT v = v_;
  ::VariantInit(&v_);
  return v;
}

VARIANT* Variant::Out() {
  ::VariantClear(&v_);
  return &v_;
}

bool Variant::is_nothing() const {
  const VARIANT* v = &v_;
  if (v->vt == (VT_BYREF | VT_VARIANT) && v->pvarVal) v = v->pvarVal;
  switch (v->vt) {
    case VT_EMPTY:
      return true;
    case VT_DISPATCH:
      return v->pdispVal == nullptr;
    case VT_UNKNOWN:
      return v->punkVal == nullptr;
    case VT_BYREF | VT_DISPATCH:
      return !v->ppdispVal || !*v->ppdispVal;
    case VT_BYREF | VT_UNKNOWN:
      return !v->ppunkVal || !*v->ppunkVal;
    default:
      return false;
  }
}

std::string Variant::AsText() const {
  const Variant text = Coerced(v_, VT_BSTR, "text");
  return Narrow(BstrView(text.get().bstrVal));
}

std::int32_t Variant::AsInt32() const { return Coerced(v_, VT_I4, "a 32-bit integer").get().lVal; }

bool Variant::AsBool() const { return Coerced(v_, VT_BOOL, "a Boolean").get().boolVal != VARIANT_FALSE; }

Variant Dereferenced(const VARIANT& v) {
  if (!(v.vt & VT_BYREF)) return Variant(v);
  if (v.vt == (VT_BYREF | VT_VARIANT)) {
    if (!v.pvarVal) throw Error(ErrorCode::kInvalidArgument, "Invalid procedure call or argument");
    return Dereferenced(*v.pvarVal);
  }
  Variant out;
  // VariantCopyInd copies the value a by-reference variant points at.
  Check(::VariantCopyInd(out.ptr(), const_cast<VARIANT*>(&v)));
  return out;
}

Value ToValue(const VARIANT& in) {
  const Variant held = Dereferenced(in);
  const VARIANT& v = held.get();
  switch (v.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return Value();
    case VT_BSTR:
      return Value(Narrow(BstrView(v.bstrVal)));
    case VT_I2:
      return Value(static_cast<std::int16_t>(v.iVal));
    case VT_I4:
      return Value(static_cast<std::int32_t>(v.lVal));
    case VT_INT:
      return Value(static_cast<std::int32_t>(v.intVal));
    case VT_I8:
      return Value(static_cast<std::int64_t>(v.llVal));
    case VT_I1:
      return Value(static_cast<std::int16_t>(v.cVal));
    case VT_UI1:
      return Value(static_cast<std::int16_t>(v.bVal));
    case VT_UI2:
      return Value(static_cast<std::int32_t>(v.uiVal));
    case VT_UI4:
      return Value(static_cast<std::int64_t>(v.ulVal));
    case VT_UINT:
      return Value(static_cast<std::int64_t>(v.uintVal));
    case VT_UI8:
      if (v.ullVal > static_cast<ULONGLONG>(INT64_MAX)) ThrowCoercionError(DISP_E_OVERFLOW, "a 64-bit integer");
      return Value(static_cast<std::int64_t>(v.ullVal));
    case VT_R8:
      return Value(v.dblVal);
    case VT_R4:
      return Value(static_cast<double>(v.fltVal));
    case VT_CY:
    case VT_DECIMAL:
      return Value(Coerced(v, VT_R8, "a number").get().dblVal);
    case VT_BOOL:
      return Value(v.boolVal != VARIANT_FALSE);
    case VT_DATE:
      return Value(held.AsText());
    default:
      throw Error(ErrorCode::kTypeMismatch, "Type mismatch: a value of variant type " + std::to_string(v.vt));
  }
}

Variant FromValue(const Value& value) {
  struct Visitor {
    Variant operator()(const cvimp::Null&) const { return Variant::Null(); }
    Variant operator()(const std::string& s) const { return Variant::Text(s); }
    Variant operator()(std::int16_t n) const { return Variant::Int16(n); }
    Variant operator()(std::int32_t n) const { return Variant::Int32(n); }
    Variant operator()(std::int64_t n) const {
      Variant r;
      r.ptr()->vt = VT_I8;
      r.ptr()->llVal = n;
      return r;
    }
    Variant operator()(double d) const { return Variant::Double(d); }
    Variant operator()(bool b) const { return Variant::Bool(b); }
  };
  return std::visit(Visitor{}, value.storage());
}

}  // namespace cvimp::com
