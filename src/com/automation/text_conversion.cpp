#include "com/automation/text_conversion.h"

#include <climits>
#include <new>

namespace cvimp::com {

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

void AppendUtf16(std::wstring& out, char32_t c) {
  if (c < 0x10000) {
    out.push_back(static_cast<wchar_t>(c));
  } else {
    c -= 0x10000;
    out.push_back(static_cast<wchar_t>(0xD800 + (c >> 10)));
    out.push_back(static_cast<wchar_t>(0xDC00 + (c & 0x3FF)));
  }
}

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

}  // namespace

std::wstring Widen(std::string_view utf8) {
  std::wstring out;
  out.reserve(utf8.size());
  std::size_t i = 0;
  const std::size_t n = utf8.size();
  auto byte = [&](std::size_t k) { return static_cast<unsigned char>(utf8[k]); };
  while (i < n) {
    const unsigned char b = byte(i);
    if (b < 0x80) {
      out.push_back(static_cast<wchar_t>(b));
      ++i;
      continue;
    }
    // The length of the sequence and the range its second byte must lie in (no overlong forms, no
    // surrogates, nothing above U+10FFFF).
    std::size_t len = 0;
    unsigned char lo = 0x80, hi = 0xBF;
    char32_t c = 0;
    if (b >= 0xC2 && b <= 0xDF) {
      len = 2, c = b & 0x1F;
    } else if (b >= 0xE0 && b <= 0xEF) {
      len = 3, c = b & 0x0F;
      if (b == 0xE0) lo = 0xA0;
      if (b == 0xED) hi = 0x9F;
    } else if (b >= 0xF0 && b <= 0xF4) {
      len = 4, c = b & 0x07;
      if (b == 0xF0) lo = 0x90;
      if (b == 0xF4) hi = 0x8F;
    } else {
      out.push_back(kReplacement);
      ++i;
      continue;
    }
    std::size_t k = 1;
    for (; k < len && i + k < n; ++k) {
      const unsigned char t = byte(i + k);
      if (t < (k == 1 ? lo : 0x80) || t > (k == 1 ? hi : 0xBF)) break;
      c = (c << 6) | (t & 0x3F);
    }
    if (k < len) {
      // A truncated or broken sequence: one replacement for the bytes that formed a valid prefix.
      out.push_back(kReplacement);
      i += k;
      continue;
    }
    AppendUtf16(out, c);
    i += len;
  }
  return out;
}

std::string Narrow(std::wstring_view utf16) {
  std::string out;
  out.reserve(utf16.size());
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    const char32_t u = static_cast<char16_t>(utf16[i]);
    if (u >= 0xD800 && u <= 0xDBFF && i + 1 < utf16.size()) {
      const char32_t v = static_cast<char16_t>(utf16[i + 1]);
      if (v >= 0xDC00 && v <= 0xDFFF) {
        AppendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (v - 0xDC00));
        ++i;
        continue;
      }
    }
    AppendUtf8(out, (u >= 0xD800 && u <= 0xDFFF) ? kReplacement : u);
  }
  return out;
}

namespace {

BSTR Allocate(std::wstring_view text) {
  if (text.size() > UINT_MAX / sizeof(wchar_t)) throw std::bad_alloc();
  BSTR b = ::SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (!b) throw std::bad_alloc();
  return b;
}

}  // namespace

Bstr::Bstr(std::string_view utf8) : b_(Allocate(Widen(utf8))) {}

Bstr::Bstr(std::wstring_view utf16) : b_(Allocate(utf16)) {}

Bstr::Bstr(const Bstr& other) : b_(other.b_ ? Allocate(other.view()) : nullptr) {}

Bstr& Bstr::operator=(const Bstr& other) {
  if (this != &other) *this = Bstr(other);
  return *this;
}

Bstr& Bstr::operator=(Bstr&& other) noexcept {
  if (this != &other) {
    ::SysFreeString(b_);
    b_ = other.b_;
    other.b_ = nullptr;
  }
  return *this;
}

Bstr Bstr::Attach(BSTR b) {
  Bstr result;
  result.b_ = b;
  return result;
}

BSTR Bstr::Detach() {
  BSTR b = b_;
  b_ = nullptr;
  return b;
}

}  // namespace cvimp::com
