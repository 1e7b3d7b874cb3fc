#include "com/automation/variant.h"

#include <gtest/gtest.h>

#include "common/testing/raised_code.h"

namespace cvimp::com {
namespace {

using cvimp::testing::RaisedCode;

TEST(ToValue, EmptyAndNullAreNull) {
  EXPECT_EQ(ToValue(Variant().get()), Value());
  EXPECT_EQ(ToValue(Variant::Null().get()), Value());
}

TEST(ToValue, Scalars) {
  EXPECT_EQ(ToValue(Variant::Text("Gr\xC3\xBC\xC3\x9F"
                                  "e")
                        .get()),
            Value("Gr\xC3\xBC\xC3\x9F"
                  "e"));
  EXPECT_EQ(ToValue(Variant::Int16(-7).get()), Value(std::int16_t{-7}));
  EXPECT_EQ(ToValue(Variant::Int32(123456).get()), Value(std::int32_t{123456}));
  EXPECT_EQ(ToValue(Variant::Double(2.5).get()), Value(2.5));
  EXPECT_EQ(ToValue(Variant::Bool(true).get()), Value(true));
  EXPECT_EQ(ToValue(Variant::Bool(false).get()), Value(false));
}

TEST(ToValue, OtherNumberTypes) {
  VARIANT v;
  ::VariantInit(&v);
  v.vt = VT_I8;
  v.llVal = 9000000000LL;
  EXPECT_EQ(ToValue(v), Value(std::int64_t{9000000000LL}));
  v.vt = VT_R4;
  v.fltVal = 1.5f;
  EXPECT_EQ(ToValue(v), Value(1.5));
  v.vt = VT_CY;
  v.cyVal.int64 = 12345;  // 1.2345
  EXPECT_EQ(ToValue(v), Value(1.2345));
  v.vt = VT_UI1;
  v.bVal = 200;
  EXPECT_EQ(ToValue(v), Value(std::int16_t{200}));
}

TEST(ToValue, DateBecomesItsText) {
  VARIANT v;
  ::VariantInit(&v);
  v.vt = VT_DATE;
  v.date = 45000.5;  // 15 March 2023, noon
  Variant text;
  ASSERT_EQ(::VariantChangeType(text.ptr(), &v, VARIANT_ALPHABOOL, VT_BSTR), S_OK);
  const Value value = ToValue(v);
  ASSERT_TRUE(value.is_text());
  EXPECT_EQ(value.text(), Variant(text.get()).AsText());
  EXPECT_NE(value.text().find("2023"), std::string::npos);
}

TEST(ToValue, ByReferenceIsDereferenced) {
  Variant inner = Variant::Text("abc");
  VARIANT by_ref;
  ::VariantInit(&by_ref);
  by_ref.vt = VT_BYREF | VT_VARIANT;
  by_ref.pvarVal = inner.ptr();
  EXPECT_EQ(ToValue(by_ref), Value("abc"));
  LONG n = 42;
  VARIANT long_ref;
  ::VariantInit(&long_ref);
  long_ref.vt = VT_BYREF | VT_I4;
  long_ref.plVal = &n;
  EXPECT_EQ(ToValue(long_ref), Value(std::int32_t{42}));
}

TEST(ToValue, ObjectsAreATypeMismatch) {
  EXPECT_EQ(RaisedCode([] { ToValue(Variant::Object(nullptr).get()); }), ErrorCode::kTypeMismatch);
}

TEST(FromValue, EveryKind) {
  EXPECT_EQ(FromValue(Value()).vt(), VT_NULL);
  const Variant text = FromValue(Value("\xE2\x82\xAC"));
  ASSERT_EQ(text.vt(), VT_BSTR);
  EXPECT_EQ(std::wstring(text.get().bstrVal), L"\u20AC");
  EXPECT_EQ(FromValue(Value(std::int16_t{3})).vt(), VT_I2);
  EXPECT_EQ(FromValue(Value(std::int32_t{3})).get().lVal, 3);
  EXPECT_EQ(FromValue(Value(std::int64_t{5})).vt(), VT_I8);
  EXPECT_EQ(FromValue(Value(0.25)).get().dblVal, 0.25);
  const Variant yes = FromValue(Value(true));
  ASSERT_EQ(yes.vt(), VT_BOOL);
  EXPECT_EQ(yes.get().boolVal, -1);
  EXPECT_EQ(FromValue(Value(false)).get().boolVal, 0);
}

TEST(FromValue, RoundTrips) {
  for (const Value& v : {Value(), Value("x"), Value(std::int16_t{-2}), Value(std::int32_t{7}),
                         Value(std::int64_t{1} << 40), Value(3.75), Value(true)})
    EXPECT_EQ(ToValue(FromValue(v).get()), v) << v.Describe();
}

TEST(Variant, CoercionsAsAServerDoesThem) {
  EXPECT_EQ(Variant::Int32(12).AsText(), "12");
  EXPECT_EQ(Variant::Bool(true).AsText(), "True");
  EXPECT_EQ(Variant().AsText(), "");
  EXPECT_EQ(Variant::Text("42").AsInt32(), 42);
  EXPECT_TRUE(Variant::Int32(-1).AsBool());
  EXPECT_FALSE(Variant().AsBool());
  EXPECT_EQ(RaisedCode([] { Variant::Text("abc").AsInt32(); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(RaisedCode([] { Variant::Double(1e12).AsInt32(); }), ErrorCode::kOverflow);
  EXPECT_EQ(RaisedCode([] { Variant::Null().AsText(); }), ErrorCode::kTypeMismatch);
}

TEST(Variant, NothingTests) {
  EXPECT_TRUE(Variant().is_nothing());
  EXPECT_TRUE(Variant::Object(nullptr).is_nothing());
  EXPECT_FALSE(Variant::Null().is_nothing());
  EXPECT_FALSE(Variant::Text("").is_nothing());
}

TEST(Variant, CopiesAreDeep) {
  Variant a = Variant::Text("abc");
  const Variant b = a;
  EXPECT_NE(a.get().bstrVal, b.get().bstrVal);
  const Variant c = std::move(a);
  EXPECT_EQ(a.vt(), VT_EMPTY);
  EXPECT_EQ(c.AsText(), "abc");
  EXPECT_EQ(b.AsText(), "abc");
}

}  // namespace
}  // namespace cvimp::com
