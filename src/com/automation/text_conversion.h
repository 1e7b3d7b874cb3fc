// Texts between the plug-in core (UTF-8) and automation (UTF-16 BSTRs).
#pragma once

#include <string>
#include <string_view>

#include "com/automation/windows_headers.h"

namespace cvimp::com {

// UTF-8 -> UTF-16. Ill-formed UTF-8 sequences become U+FFFD.
std::wstring Widen(std::string_view utf8);
// UTF-16 -> UTF-8. An unpaired surrogate becomes U+FFFD.
std::string Narrow(std::wstring_view utf16);

// The characters of a BSTR that someone else owns (a null BSTR is the empty text).
inline std::wstring_view BstrView(BSTR b) { return b ? std::wstring_view(b, ::SysStringLen(b)) : std::wstring_view(); }

// An owned BSTR: freed when the object ends. A null BSTR is the empty text, as automation treats it.
class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(std::string_view utf8);
  explicit Bstr(std::wstring_view utf16);
  ~Bstr() { ::SysFreeString(b_); }
  Bstr(const Bstr& other);
  Bstr& operator=(const Bstr& other);
  Bstr(Bstr&& other) noexcept : b_(other.b_) { other.b_ = nullptr; }
  Bstr& operator=(Bstr&& other) noexcept;

  // Takes ownership of a BSTR that someone handed over.
  static Bstr Attach(BSTR b);
  // Gives up ownership, for a result handed to a caller.
  BSTR Detach();

  BSTR get() const { return b_; }
  // The characters, without a terminating null (embedded nulls are kept).
  std::wstring_view view() const { return BstrView(b_); }
  std::string Utf8() const { return Narrow(view()); }
  bool empty() const { return ::SysStringLen(b_) == 0; }

 private:
  BSTR b_ = nullptr;
};

}  // namespace cvimp::com
