// A base for automation objects implemented here: IUnknown with a thread-safe count, and IDispatch by
// member name from a table (no type library). A derived class lists its members and implements one
// Invoke(DISPID, flags, params, result); DispatchArguments reads the arguments as a server does.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "com/automation/dispatch_call.h"
#include "com/automation/variant.h"
#include "com/automation/windows_headers.h"

namespace cvimp::com {

// One member: its name (matched without regard to case) and its DISPID.
struct DispatchMember {
  const wchar_t* name;
  DISPID id;
};

// A failure that the object reports as the HRESULT of the call itself rather than as an exception: the
// wrong number of arguments (DISP_E_BADPARAMCOUNT), a required one left out (DISP_E_PARAMNOTOPTIONAL), one
// that does not convert (DISP_E_TYPEMISMATCH, with its position), a kind of call the member does not have
// (DISP_E_MEMBERNOTFOUND).
class DispatchFailure : public std::exception {
 public:
  explicit DispatchFailure(HRESULT hr, UINT arg_error = 0) : hr_(hr), arg_error_(arg_error) {}
  HRESULT hresult() const { return hr_; }
  UINT arg_error() const { return arg_error_; }
  const char* what() const noexcept override { return "automation call refused"; }

 private:
  HRESULT hr_;
  UINT arg_error_;
};

// The arguments of one call in the order the caller wrote them (DISPPARAMS holds them last first), with
// by-reference arguments read through. The accessors raise DispatchFailure as described above.
class DispatchArguments {
 public:
  explicit DispatchArguments(const DISPPARAMS& params) : params_(params) {}

  // The positional arguments (a property put's value is not one of them).
  std::size_t count() const;
  // Raises DISP_E_BADPARAMCOUNT unless min <= count() <= max.
  void ExpectCount(std::size_t min, std::size_t max) const;
  // Argument i was given and not left out (VT_ERROR DISP_E_PARAMNOTFOUND).
  bool Has(std::size_t i) const;
  // Argument i, dereferenced; a missing one raises DISP_E_PARAMNOTOPTIONAL.
  Variant At(std::size_t i) const;
  // Argument i coerced with VariantChangeType; DISP_E_TYPEMISMATCH / DISP_E_OVERFLOW when it does not convert.
  std::string Text(std::size_t i) const;
  std::int32_t Int32(std::size_t i) const;
  bool Bool(std::size_t i) const;
  // An object argument: Nothing gives an empty reference; a non-object raises DISP_E_TYPEMISMATCH.
  DispatchRef Object(std::size_t i) const;

  // The value of a property put or putref (the DISPID_PROPERTYPUT argument), dereferenced.
  Variant PutValue() const;

  const DISPPARAMS& raw() const { return params_; }

 private:
  const VARIANT& Raw(std::size_t i) const;  // no check
  UINT ArgError(std::size_t i) const;       // the DISPPARAMS position of argument i
  const DISPPARAMS& params_;
};

// True when the call kind is a property read or a method call (what `obj.Name` and `obj.Name(...)` send).
inline bool IsGet(WORD flags) { return (flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) != 0; }
// True when the call kind is a property put or putref.
inline bool IsPut(WORD flags) { return (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0; }

class DispatchObject : public IDispatch {
 public:
  DispatchObject(const DispatchObject&) = delete;
  DispatchObject& operator=(const DispatchObject&) = delete;

  // IUnknown: IUnknown, IDispatch, and what QueryOther adds.
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;  // deletes the object at 0

  // IDispatch without type information.
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** out) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID lcid, DISPID* ids) override;
  // Calls Invoke below. A DispatchFailure becomes its HRESULT; a cvimp::Error becomes DISP_E_EXCEPTION with
  // EXCEPINFO (scode 0x800A0000 | code for codes up to 65535, else the code as an HRESULT; the message as
  // the description; the source name); any other exception DISP_E_EXCEPTION with E_FAIL.
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result,
                                   EXCEPINFO* exception, UINT* arg_error) override;

 protected:
  // `source` names the object in EXCEPINFO ("CVImpVelXMLCat.Manager"); `members` is its member table.
  // The object starts with one reference, which the creator owns.
  DispatchObject(std::wstring source, std::vector<DispatchMember> members);
  virtual ~DispatchObject();

  // Runs one member. `result` may be null (the caller wants none). Return S_OK, or DISP_E_MEMBERNOTFOUND
  // for a call kind the member does not have; raise cvimp::Error or DispatchFailure to fail.
  virtual HRESULT Invoke(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) = 0;

  // Further interfaces of the object: the pointer to hand out for `iid` (AddRef is done by the caller),
  // or null.
  virtual void* QueryOther(REFIID iid) {
    (void)iid;
    return nullptr;
  }

 private:
  std::atomic<ULONG> refs_{1};
  std::wstring source_;
  std::vector<DispatchMember> members_;
};

// Result helpers: each writes into `result` when it is not null (clearing what it held).
void SetResult(VARIANT* result, Variant value);
void SetText(VARIANT* result, std::string_view utf8);
void SetBool(VARIANT* result, bool value);
void SetInt32(VARIANT* result, std::int32_t value);
// Hands the caller a reference to the object (AddRef'd); null gives Nothing.
void SetObject(VARIANT* result, IDispatch* object);

// The EXCEPINFO scode of a core error: 0x800A0000 | code for codes 1..65535, else the code as an HRESULT.
HRESULT ErrorScode(const Error& error);

}  // namespace cvimp::com
