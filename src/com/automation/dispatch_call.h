// Calling automation objects by member name (late binding), as a script client does.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "com/automation/variant.h"
#include "com/automation/windows_headers.h"
#include "common/error.h"
#include "common/value.h"

namespace cvimp::com {

// A failed automation call as the core sees it (a cvimp::Error), with its parts kept apart for callers that
// word the error their own way: the member called, the description the object gave (or the system's text
// for the failure) and the HRESULT.
class AutomationError : public Error {
 public:
  AutomationError(ErrorCode code, std::string member, std::string description, HRESULT hr);
  const std::string& member() const { return member_; }
  const std::string& description() const { return description_; }
  HRESULT hresult() const { return hr_; }

 private:
  std::string member_;
  std::string description_;
  HRESULT hr_;
};

// The error number an automation client sees for a failed HRESULT: n for an error raised with a number
// (0x800A0000 | n, or an EXCEPINFO wCode), the runtime's numbers for the standard dispatch failures
// (13 type mismatch, 438 no such member, 449/450 arguments, ...), else the HRESULT itself.
ErrorCode ErrorCodeOf(HRESULT hr);

class DispatchRef;

// The argument forms that Get/Call take; each becomes the VARIANT an automation client would pass.
inline Variant ToArgument(Variant v) { return v; }
inline Variant ToArgument(const VARIANT& v) { return Variant(v); }
inline Variant ToArgument(const char* utf8) { return Variant::Text(utf8); }
inline Variant ToArgument(std::string_view utf8) { return Variant::Text(utf8); }
inline Variant ToArgument(const std::string& utf8) { return Variant::Text(utf8); }
inline Variant ToArgument(std::int16_t n) { return Variant::Int16(n); }
inline Variant ToArgument(std::int32_t n) { return Variant::Int32(n); }
inline Variant ToArgument(double d) { return Variant::Double(d); }
inline Variant ToArgument(bool b) { return Variant::Bool(b); }
inline Variant ToArgument(const Value& v) { return FromValue(v); }
Variant ToArgument(const DispatchRef& object);

// An owned IDispatch reference (AddRef/Release), called by member name. Names are resolved on every call:
// through IDispatchEx::GetDispID without regard to case when the object has it (script objects), else
// through GetIDsOfNames. Every failure raises an AutomationError naming the member and giving the object's
// description; calling through an empty reference raises kObjectRequired.
class DispatchRef {
 public:
  DispatchRef() = default;
  explicit DispatchRef(IDispatch* object) : p_(object) {
    if (p_) p_->AddRef();
  }
  ~DispatchRef() { Reset(); }
  DispatchRef(const DispatchRef& other) : DispatchRef(other.p_) {}
  DispatchRef& operator=(const DispatchRef& other);
  DispatchRef(DispatchRef&& other) noexcept : p_(std::exchange(other.p_, nullptr)) {}
  DispatchRef& operator=(DispatchRef&& other) noexcept;

  // Takes over a reference that someone handed over (no AddRef).
  static DispatchRef Attach(IDispatch* object);
  // The object a VARIANT holds (by reference or not): Nothing gives an empty reference, an IUnknown is
  // asked for IDispatch; any other value raises kTypeMismatch (kObjectRequired for an object without
  // IDispatch).
  static DispatchRef FromVariant(const VARIANT& v);

  IDispatch* get() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }
  void Reset();

  // A property read (DISPATCH_PROPERTYGET).
  template <class... Args>
  Variant Get(std::string_view name, Args&&... args) const {
    std::array<Variant, sizeof...(Args)> a{ToArgument(std::forward<Args>(args))...};
    return Invoke(name, DISPATCH_PROPERTYGET, a.data(), a.size());
  }
  // A method call or property read (DISPATCH_METHOD | DISPATCH_PROPERTYGET), as a client writes obj.Name(...).
  template <class... Args>
  Variant Call(std::string_view name, Args&&... args) const {
    std::array<Variant, sizeof...(Args)> a{ToArgument(std::forward<Args>(args))...};
    return Invoke(name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, a.data(), a.size());
  }
  // obj.Name = value (DISPATCH_PROPERTYPUT).
  void Put(std::string_view name, const Variant& value) const;
  // Set obj.Name = object (DISPATCH_PROPERTYPUTREF).
  void PutRef(std::string_view name, const DispatchRef& object) const;

  // The member's DISPID.
  DISPID Resolve(std::string_view name) const;
  // One call: `args` in the order they are written; for a property put or putref the last one is the value.
  Variant Invoke(std::string_view name, WORD flags, Variant* args, std::size_t count) const;

 private:
  IDispatch* p_ = nullptr;
};

// A new object of the class registered under the ProgID. Raises an AutomationError (429, "ActiveX component
// can't create object") when the class is not registered or the object cannot be made.
DispatchRef CreateByProgId(std::string_view progid);
// The same, but an empty reference when no class is registered under the ProgID (other failures raise).
DispatchRef TryCreateByProgId(std::string_view progid);

}  // namespace cvimp::com
