// DispatchRef calling automation objects by name, and DispatchObject answering such calls.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "com/automation/dispatch_call.h"
#include "com/automation/dispatch_object.h"
#include "com/automation/module.h"
#include "com/testing/lambda_object.h"
#include "common/testing/raised_code.h"

namespace cvimp::com {
namespace {

using cvimp::testing::RaisedCode;
using testing::Answer;
using testing::LambdaObject;

TEST(DispatchRef, CallsAMemberByNameWithoutRegardToCase) {
  std::vector<std::string> seen;
  WORD flags_seen = 0;
  const DispatchRef object = LambdaObject::New({
      {L"SqlQuote",
       [&](WORD flags, const DispatchArguments& args, VARIANT* result) {
         flags_seen = flags;
         args.ExpectCount(1, 1);
         seen.push_back(args.Text(0));
         SetText(result, args.Text(0) + "!");
       }},
  });
  EXPECT_EQ(object.Call("sqlquote", "O'Neil").AsText(), "O'Neil!");
  EXPECT_EQ(flags_seen, DISPATCH_METHOD | DISPATCH_PROPERTYGET);
  EXPECT_EQ(object.Get("SQLQUOTE", "x").AsText(), "x!");
  EXPECT_EQ(flags_seen, DISPATCH_PROPERTYGET);
  EXPECT_EQ(seen, (std::vector<std::string>{"O'Neil", "x"}));
}

TEST(DispatchRef, PassesArgumentsInTheOrderWritten) {
  std::vector<VARTYPE> types;
  std::vector<std::string> texts;
  const DispatchRef object = LambdaObject::New({
      {L"ShowProgress",
       [&](WORD, const DispatchArguments& args, VARIANT*) {
         for (std::size_t i = 0; i < args.count(); ++i) {
           types.push_back(args.At(i).vt());
           texts.push_back(args.Text(i));
         }
       }},
  });
  object.Call("ShowProgress", 10, 3, std::string("Importiere"), 0);
  EXPECT_EQ(types, (std::vector<VARTYPE>{VT_I4, VT_I4, VT_BSTR, VT_I4}));
  EXPECT_EQ(texts, (std::vector<std::string>{"10", "3", "Importiere", "0"}));
}

TEST(DispatchRef, PutAndPutRef) {
  Variant stored;
  WORD flags_seen = 0;
  const DispatchRef object = LambdaObject::New({
      {L"Value",
       [&](WORD flags, const DispatchArguments& args, VARIANT* result) {
         flags_seen = flags;
         if (IsPut(flags))
           stored = args.PutValue();
         else
           SetResult(result, stored);
       }},
  });
  object.Put("Value", Variant::Int32(5));
  EXPECT_EQ(flags_seen, DISPATCH_PROPERTYPUT);
  EXPECT_EQ(object.Get("Value").AsInt32(), 5);
  const DispatchRef other = LambdaObject::New({});
  object.PutRef("Value", other);
  EXPECT_EQ(flags_seen, DISPATCH_PROPERTYPUTREF);
  EXPECT_EQ(DispatchRef::FromVariant(object.Get("Value").get()).get(), other.get());
}

TEST(DispatchRef, ObjectResultsAndNothing) {
  const DispatchRef inner = LambdaObject::New({{L"Name", Answer(Variant::Text("inner"))}});
  const DispatchRef outer = LambdaObject::New({
      {L"Inner", Answer(Variant::Object(inner.get()))},
      {L"Nothing", Answer(Variant::Object(nullptr))},
      {L"Empty", Answer(Variant())},
      {L"Text", Answer(Variant::Text("x"))},
  });
  EXPECT_EQ(DispatchRef::FromVariant(outer.Call("Inner").get()).Call("Name").AsText(), "inner");
  EXPECT_FALSE(DispatchRef::FromVariant(outer.Call("Nothing").get()));
  EXPECT_FALSE(DispatchRef::FromVariant(outer.Call("Empty").get()));
  EXPECT_EQ(RaisedCode([&] { DispatchRef::FromVariant(outer.Call("Text").get()); }), ErrorCode::kTypeMismatch);
}

TEST(DispatchRef, AnErrorRaisedByTheObjectKeepsItsNumberAndDescription) {
  const DispatchRef object = LambdaObject::New({
      {L"MoveNext", [](WORD, const DispatchArguments&,
                       VARIANT*) { throw Error(ErrorCode::kNoCurrentRecord, "No current record."); }},
      {L"Update",
       [](WORD, const DispatchArguments&, VARIANT*) { throw Error(ErrorCode::kDatabase, "The database said no."); }},
  });
  try {
    object.Call("MoveNext");
    FAIL();
  } catch (const AutomationError& e) {
    EXPECT_EQ(e.code(), ErrorCode::kNoCurrentRecord);
    EXPECT_EQ(e.hresult(), static_cast<HRESULT>(0x800A0BCD));
    EXPECT_EQ(e.member(), "MoveNext");
    EXPECT_EQ(e.description(), "No current record.");
    EXPECT_STREQ(e.what(), "MoveNext: No current record.");
  }
  EXPECT_EQ(RaisedCode([&] { object.Call("Update"); }), ErrorCode::kDatabase);
}

TEST(DispatchRef, UnknownMembersArgumentsAndEmptyReferences) {
  const DispatchRef object = LambdaObject::New({
      {L"Two", [](WORD, const DispatchArguments& args, VARIANT*) { args.ExpectCount(2, 2); }},
      {L"Number", [](WORD, const DispatchArguments& args, VARIANT*) { args.Int32(0); }},
  });
  EXPECT_EQ(RaisedCode([&] { object.Call("NoSuchMember"); }), static_cast<ErrorCode>(438));
  EXPECT_EQ(RaisedCode([&] { object.Call("Two", 1); }), static_cast<ErrorCode>(450));
  EXPECT_EQ(RaisedCode([&] { object.Call("Number", "abc"); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(RaisedCode([&] { object.Call("Number", Variant::Missing()); }), static_cast<ErrorCode>(449));
  EXPECT_EQ(RaisedCode([] { DispatchRef().Call("Anything"); }), ErrorCode::kObjectRequired);
}

TEST(DispatchArguments, ByReferenceArgumentsAreReadThrough) {
  std::string seen;
  const DispatchRef object = LambdaObject::New({
      {L"Take", [&](WORD, const DispatchArguments& args, VARIANT*) { seen = args.Text(0) + "/" + args.Text(1); }},
  });
  Variant text = Variant::Text("by-ref");
  VARIANT variant_ref;
  ::VariantInit(&variant_ref);
  variant_ref.vt = VT_BYREF | VT_VARIANT;
  variant_ref.pvarVal = text.ptr();
  LONG n = 17;
  VARIANT long_ref;
  ::VariantInit(&long_ref);
  long_ref.vt = VT_BYREF | VT_I4;
  long_ref.plVal = &n;
  object.Call("Take", variant_ref, long_ref);
  EXPECT_EQ(seen, "by-ref/17");
}

TEST(DispatchObject, CountsItselfInTheModule) {
  const long before = module::ObjectCount();
  {
    const DispatchRef object = LambdaObject::New({});
    EXPECT_EQ(module::ObjectCount(), before + 1);
    const DispatchRef copy = object;
    EXPECT_EQ(module::ObjectCount(), before + 1);
  }
  EXPECT_EQ(module::ObjectCount(), before);
}

TEST(DispatchObject, AnswersGetIDsOfNamesAndRefusesUnknownNames) {
  const DispatchRef object = LambdaObject::New({{L"Alpha", Answer(Variant())}, {L"Beta", Answer(Variant())}});
  wchar_t beta[] = L"bEtA";
  wchar_t other[] = L"Gamma";
  LPOLESTR names[] = {beta};
  DISPID id = 0;
  EXPECT_EQ(object.get()->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), S_OK);
  EXPECT_EQ(id, 2);
  names[0] = other;
  EXPECT_EQ(object.get()->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(id, DISPID_UNKNOWN);
  IUnknown* unknown = nullptr;
  EXPECT_EQ(object.get()->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown)), S_OK);
  unknown->Release();
  void* ex = nullptr;
  EXPECT_EQ(object.get()->QueryInterface(__uuidof(IDispatchEx), &ex), E_NOINTERFACE);
}

TEST(CreateByProgId, AnUnregisteredClass) {
  EXPECT_FALSE(TryCreateByProgId("CVImpTest.NoSuchClass"));
  EXPECT_EQ(RaisedCode([] { CreateByProgId("CVImpTest.NoSuchClass"); }), static_cast<ErrorCode>(429));
}

}  // namespace
}  // namespace cvimp::com
