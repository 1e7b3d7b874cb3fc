// VARIANTs: an owning wrapper, and the conversions between a VARIANT and the core's cvimp::Value.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "com/automation/windows_headers.h"
#include "common/value.h"

namespace cvimp::com {

// An owned VARIANT: cleared (VariantClear) when the object ends. Copies are deep (VariantCopy).
class Variant {
 public:
  Variant() { ::VariantInit(&v_); }
  // A deep copy of someone else's VARIANT.
  explicit Variant(const VARIANT& other);
  ~Variant() { ::VariantClear(&v_); }
  Variant(const Variant& other);
  Variant& operator=(const Variant& other);
  Variant(Variant&& other) noexcept : v_(other.v_) { ::VariantInit(&other.v_); }
  Variant& operator=(Variant&& other) noexcept;

  static Variant Text(std::string_view utf8);
  static Variant Int16(std::int16_t n);
  static Variant Int32(std::int32_t n);
  static Variant Double(double d);
  static Variant Bool(bool b);  // VARIANT_TRUE (-1) or VARIANT_FALSE (0)
  static Variant Null();
  // An object reference (VT_DISPATCH; AddRef'd). A null pointer is Nothing.
  static Variant Object(IDispatch* object);
  // The "argument left out" marker (VT_ERROR, DISP_E_PARAMNOTFOUND).
  static Variant Missing();
  // Takes ownership of a VARIANT that someone handed over.
  static Variant Attach(VARIANT v);

  // Gives up ownership, for a result handed to a caller.
  VARIANT Detach();
  // Clears the value and gives its address, for an out parameter.
  VARIANT* Out();

  const VARIANT& get() const { return v_; }
  VARIANT* ptr() { return &v_; }
  VARTYPE vt() const { return v_.vt; }

  // VT_EMPTY, or an object reference that is null (also by reference).
  bool is_nothing() const;

  // The value coerced as an automation server coerces an argument (VariantChangeType). A value that does
  // not convert raises cvimp::Error (kTypeMismatch, or kOverflow for a number out of range).
  std::string AsText() const;
  std::int32_t AsInt32() const;
  bool AsBool() const;

 private:
  VARIANT v_;
};

// The core's value of a VARIANT: VT_EMPTY and VT_NULL -> Null, VT_BSTR -> text, VT_I2 -> int16, VT_I4 ->
// int32, VT_I8 -> int64, VT_R8/VT_R4/VT_CY/VT_DECIMAL -> double, VT_BOOL -> bool, VT_DATE -> its text (as
// VariantChangeType writes it), the small integer types -> the next wider signed type; by-reference variants
// are dereferenced. Objects, arrays and error values raise cvimp::Error (kTypeMismatch).
Value ToValue(const VARIANT& v);

// The VARIANT of a core value: Null -> VT_NULL, text -> VT_BSTR, int16 -> VT_I2, int32 -> VT_I4, int64 ->
// VT_I8, double -> VT_R8, bool -> VT_BOOL (VARIANT_TRUE = -1).
Variant FromValue(const Value& value);

// A VARIANT with one level of VT_BYREF removed, as a copy (VT_BYREF|VT_VARIANT gives the variant it points
// at). A variant that is not by reference is copied as it stands.
Variant Dereferenced(const VARIANT& v);

// The cvimp::Error that a failed coercion to `target` is: kOverflow for DISP_E_OVERFLOW, else kTypeMismatch.
[[noreturn]] void ThrowCoercionError(HRESULT hr, std::string_view target);

}  // namespace cvimp::com
