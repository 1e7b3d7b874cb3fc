#include "com/automation/dispatch_call.h"

#include <cstdio>
#include <new>
#include <vector>

#include "com/automation/text_conversion.h"

namespace cvimp::com {

namespace {

constexpr int kCannotCreateObject = 429;
constexpr int kNoSuchMember = 438;

// The IDispatchEx of an object, when it has one (released when this ends).
class DispatchEx {
 public:
  explicit DispatchEx(IDispatch* object) {
    void* ex = nullptr;
    if (SUCCEEDED(object->QueryInterface(__uuidof(IDispatchEx), &ex))) p_ = static_cast<IDispatchEx*>(ex);
  }
  ~DispatchEx() {
    if (p_) p_->Release();
  }
  DispatchEx(const DispatchEx&) = delete;
  DispatchEx& operator=(const DispatchEx&) = delete;
  IDispatchEx* get() const { return p_; }

 private:
  IDispatchEx* p_ = nullptr;
};

// The system's text for an HRESULT, or its number.
std::string SystemText(HRESULT hr) {
  wchar_t* buffer = nullptr;
  const DWORD n =
      ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, static_cast<DWORD>(hr), 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  std::wstring text = n && buffer ? std::wstring(buffer, n) : std::wstring();
  if (buffer) ::LocalFree(buffer);
  while (!text.empty() && (text.back() == L'\r' || text.back() == L'\n' || text.back() == L' ')) text.pop_back();
  if (!text.empty()) return Narrow(text);
  char number[32];
  std::snprintf(number, sizeof number, "0x%08lX", static_cast<unsigned long>(hr));
  return std::string("Automation error ") + number;
}

[[noreturn]] void Raise(std::string_view member, HRESULT hr, std::string description = {}) {
  if (hr == E_OUTOFMEMORY) throw std::bad_alloc();
  if (description.empty()) description = SystemText(hr);
  throw AutomationError(ErrorCodeOf(hr), std::string(member), std::move(description), hr);
}

// The failure an EXCEPINFO describes (filled in first when the object deferred it); its strings are freed.
[[noreturn]] void RaiseException(std::string_view member, EXCEPINFO& info) {
  if (info.pfnDeferredFillIn) info.pfnDeferredFillIn(&info);
  const std::string description = Narrow(BstrView(info.bstrDescription));
  ::SysFreeString(info.bstrDescription);
  ::SysFreeString(info.bstrSource);
  ::SysFreeString(info.bstrHelpFile);
  if (info.wCode != 0) {
    const int code = info.wCode;
    throw AutomationError(static_cast<ErrorCode>(code), std::string(member),
                          description.empty() ? "Application-defined or object-defined error" : description,
                          MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, code));
  }
  Raise(member, FAILED(info.scode) ? info.scode : DISP_E_EXCEPTION, description);
}

[[noreturn]] void RaiseObjectRequired(std::string_view member) {
  throw AutomationError(ErrorCode::kObjectRequired, std::string(member), "Object variable not set",
                        MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, 91));
}

}  // namespace

AutomationError::AutomationError(ErrorCode code, std::string member, std::string description, HRESULT hr)
    : Error(code, member.empty() ? description : member + ": " + description),
      member_(std::move(member)),
      description_(std::move(description)),
      hr_(hr) {}

ErrorCode ErrorCodeOf(HRESULT hr) {
  if ((static_cast<unsigned long>(hr) & 0xFFFF0000UL) == 0x800A0000UL) return static_cast<ErrorCode>(hr & 0xFFFF);
  switch (hr) {
    case DISP_E_TYPEMISMATCH:
      return ErrorCode::kTypeMismatch;
    case DISP_E_OVERFLOW:
      return ErrorCode::kOverflow;
    case DISP_E_UNKNOWNNAME:
    case DISP_E_MEMBERNOTFOUND:
      return static_cast<ErrorCode>(kNoSuchMember);
    case DISP_E_PARAMNOTFOUND:
      return static_cast<ErrorCode>(448);
    case DISP_E_PARAMNOTOPTIONAL:
      return static_cast<ErrorCode>(449);
    case DISP_E_BADPARAMCOUNT:
      return static_cast<ErrorCode>(450);
    case DISP_E_BADVARTYPE:
      return static_cast<ErrorCode>(458);
    case DISP_E_DIVBYZERO:
      return static_cast<ErrorCode>(11);
    case E_INVALIDARG:
      return ErrorCode::kInvalidArgument;
    case E_NOINTERFACE:
      return static_cast<ErrorCode>(430);
    case E_OUTOFMEMORY:
      return static_cast<ErrorCode>(7);
    default:
      return static_cast<ErrorCode>(hr);
  }
}

Variant ToArgument(const DispatchRef& object) { return Variant::Object(object.get()); }

DispatchRef& DispatchRef::operator=(const DispatchRef& other) {
  if (this != &other) *this = DispatchRef(other);
  return *this;
}

DispatchRef& DispatchRef::operator=(DispatchRef&& other) noexcept {
  if (this != &other) {
    Reset();
    p_ = std::exchange(other.p_, nullptr);
  }
  return *this;
}

void DispatchRef::Reset() {
  if (IDispatch* p = std::exchange(p_, nullptr)) p->Release();
}

DispatchRef DispatchRef::Attach(IDispatch* object) {
  DispatchRef r;
  r.p_ = object;
  return r;
}

DispatchRef DispatchRef::FromVariant(const VARIANT& in) {
  const Variant held = Dereferenced(in);
  const VARIANT& v = held.get();
  if (held.is_nothing()) return DispatchRef();
  if (v.vt == VT_DISPATCH) return DispatchRef(v.pdispVal);
  if (v.vt == VT_UNKNOWN) {
    void* d = nullptr;
    if (FAILED(v.punkVal->QueryInterface(IID_IDispatch, &d)) || !d)
      throw Error(ErrorCode::kObjectRequired, "Object required: the object has no automation interface");
    return Attach(static_cast<IDispatch*>(d));
  }
  throw Error(ErrorCode::kTypeMismatch, "Type mismatch: an object was expected");
}

DISPID DispatchRef::Resolve(std::string_view name) const {
  if (!p_) RaiseObjectRequired(name);
  Bstr wide(name);
  DISPID id = DISPID_UNKNOWN;
  DispatchEx ex(p_);
  if (ex.get() && SUCCEEDED(ex.get()->GetDispID(wide.get(), fdexNameCaseInsensitive, &id))) return id;
  LPOLESTR names[] = {wide.get()};
  const HRESULT hr = p_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  if (FAILED(hr)) {
    throw AutomationError(static_cast<ErrorCode>(kNoSuchMember), std::string(name),
                          "Object doesn't support this property or method", hr);
  }
  return id;
}

Variant DispatchRef::Invoke(std::string_view name, WORD flags, Variant* args, std::size_t count) const {
  const DISPID id = Resolve(name);
  // DISPPARAMS holds the arguments last first; the VARIANTs are lent, not copied.
  std::vector<VARIANT> reversed(count);
  for (std::size_t i = 0; i < count; ++i) reversed[count - 1 - i] = *args[i].ptr();
  DISPID put_id = DISPID_PROPERTYPUT;
  DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(count), 0};
  const bool put = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  if (put) {
    params.rgdispidNamedArgs = &put_id;
    params.cNamedArgs = 1;
  }
  Variant result;
  EXCEPINFO info{};
  UINT arg_error = 0;
  DispatchEx ex(p_);
  const HRESULT hr = ex.get() ? ex.get()->InvokeEx(id, LOCALE_USER_DEFAULT, flags, &params,
                                                   put ? nullptr : result.Out(), &info, nullptr)
                              : p_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                                           put ? nullptr : result.Out(), &info, &arg_error);
  if (hr == DISP_E_EXCEPTION) RaiseException(name, info);
  if (FAILED(hr)) Raise(name, hr);
  return result;
}

void DispatchRef::Put(std::string_view name, const Variant& value) const {
  Variant v = value;
  Invoke(name, DISPATCH_PROPERTYPUT, &v, 1);
}

void DispatchRef::PutRef(std::string_view name, const DispatchRef& object) const {
  Variant v = Variant::Object(object.get());
  Invoke(name, DISPATCH_PROPERTYPUTREF, &v, 1);
}

namespace {

// The object, or an empty reference when the class is not registered and `missing_is_empty`.
DispatchRef Create(std::string_view progid, bool missing_is_empty) {
  const std::wstring wide = Widen(progid);
  CLSID clsid{};
  HRESULT hr = ::CLSIDFromProgID(wide.c_str(), &clsid);
  if (FAILED(hr) && missing_is_empty && (hr == CO_E_CLASSSTRING || hr == REGDB_E_CLASSNOTREG)) return DispatchRef();
  if (SUCCEEDED(hr)) {
    void* object = nullptr;
    hr = ::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, IID_IDispatch, &object);
    if (SUCCEEDED(hr) && object) return DispatchRef::Attach(static_cast<IDispatch*>(object));
    if (missing_is_empty && hr == REGDB_E_CLASSNOTREG) return DispatchRef();
  }
  throw AutomationError(static_cast<ErrorCode>(kCannotCreateObject), std::string(progid),
                        "ActiveX component can't create object (" + SystemText(hr) + ")", hr);
}

}  // namespace

DispatchRef CreateByProgId(std::string_view progid) { return Create(progid, false); }

DispatchRef TryCreateByProgId(std::string_view progid) { return Create(progid, true); }

}  // namespace cvimp::com
