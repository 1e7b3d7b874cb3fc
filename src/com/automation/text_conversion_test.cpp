#include "com/automation/text_conversion.h"

#include <gtest/gtest.h>

namespace cvimp::com {
namespace {

TEST(TextConversion, AsciiBothWays) {
  EXPECT_EQ(Widen("Media\\images\\a.jpg"), L"Media\\images\\a.jpg");
  EXPECT_EQ(Narrow(L"Media\\images\\a.jpg"), "Media\\images\\a.jpg");
  EXPECT_EQ(Widen(""), L"");
  EXPECT_EQ(Narrow(L""), "");
}

TEST(TextConversion, NonAsciiBothWays) {
  const std::string utf8 =
      "Gr\xC3\xB6\xC3\x9F"
      "e \xE2\x82\xAC \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80";  // Größe € 日本 😀
  const std::wstring utf16 = L"Gr\u00F6\u00DFe \u20AC \u65E5\u672C \xD83D\xDE00";
  EXPECT_EQ(Widen(utf8), utf16);
  EXPECT_EQ(Narrow(utf16), utf8);
}

TEST(TextConversion, EmbeddedNullsAreKept) {
  const std::string utf8("a\0b", 3);
  EXPECT_EQ(Widen(utf8), std::wstring(L"a\0b", 3));
  EXPECT_EQ(Narrow(std::wstring(L"a\0b", 3)), utf8);
}

TEST(TextConversion, IllFormedUtf8BecomesReplacementCharacters) {
  EXPECT_EQ(Widen("a\xFF"
                  "b"),
            L"a\uFFFDb");
  EXPECT_EQ(Widen("a\xC3"), L"a\uFFFD");  // truncated at the end
  EXPECT_EQ(Widen("\xE2\x82"
                  "A"),
            L"\uFFFDA");                                    // truncated before an ASCII byte: one replacement
  EXPECT_EQ(Widen("\xC0\xAF"), L"\uFFFD\uFFFD");            // overlong form
  EXPECT_EQ(Widen("\xED\xA0\x80"), L"\uFFFD\uFFFD\uFFFD");  // an encoded surrogate
}

TEST(TextConversion, UnpairedSurrogatesBecomeReplacementCharacters) {
  EXPECT_EQ(Narrow(std::wstring(L"a\xD800"
                                L"b")),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(Narrow(std::wstring(L"\xDC00")), "\xEF\xBF\xBD");
}

TEST(Bstr, HoldsTheTextAndItsLength) {
  const Bstr b("K\xC3\xA4se");
  EXPECT_EQ(::SysStringLen(b.get()), 4u);
  EXPECT_EQ(b.view(), L"K\u00E4se");
  EXPECT_EQ(b.Utf8(), "K\xC3\xA4se");
}

TEST(Bstr, CopyMoveAndDetach) {
  Bstr a("abc");
  Bstr copy = a;
  EXPECT_NE(copy.get(), a.get());
  EXPECT_EQ(copy.view(), L"abc");
  Bstr moved = std::move(a);
  EXPECT_EQ(a.get(), nullptr);
  EXPECT_TRUE(a.empty());
  EXPECT_EQ(moved.view(), L"abc");
  BSTR raw = moved.Detach();
  EXPECT_EQ(moved.get(), nullptr);
  const Bstr back = Bstr::Attach(raw);
  EXPECT_EQ(back.Utf8(), "abc");
}

}  // namespace
}  // namespace cvimp::com
