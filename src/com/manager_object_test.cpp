// The Manager class called by name through IDispatch, as a host calls it, with a host written as
// automation objects.
#include "com/manager_object.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "com/automation/module.h"
#include "com/automation_host.h"
#include "com/testing/lambda_object.h"
#include "com/windows_platform.h"
#include "common/testing/raised_code.h"

namespace cvimp::com {
namespace {

using cvimp::testing::RaisedCode;
using testing::Answer;
using testing::LambdaObject;

struct HostLog {
  std::vector<std::string> messages;  // "text|style|title"
  std::vector<std::string> saved;     // "section|settings"
  std::vector<std::string> texts_loaded;
  int text_catalogs_closed = 0;
  std::string stored_path = "C:\\Export\\fehlt.xml";
};

// The Windows platform, but with the host library's two classes played by automation objects here.
class TestPlatform : public WindowsPlatform {
 public:
  explicit TestPlatform(std::shared_ptr<HostLog> log) : log_(std::move(log)) {}

  std::shared_ptr<plugin::TextCatalog> NewTextCatalog() override {
    auto log = log_;
    return std::make_shared<AutomationTextCatalog>(LambdaObject::New({
        {L"Load", [log](WORD, const DispatchArguments& a, VARIANT*) { log->texts_loaded.push_back(a.Text(0)); }},
        {L"GetText", [](WORD, const DispatchArguments& a, VARIANT* r) { SetText(r, "[" + a.Text(0) + "]"); }},
        {L"Close", [log](WORD, const DispatchArguments&, VARIANT*) { ++log->text_catalogs_closed; }},
    }));
  }
  std::shared_ptr<plugin::HostTools> NewHostTools() override {
    const DispatchRef files = LambdaObject::New({{L"FileExists", Answer(Variant::Bool(false))}});
    return std::make_shared<AutomationHostTools>(
        LambdaObject::New({{L"FileSystem", Answer(Variant::Object(files.get()))}}));
  }

 private:
  std::shared_ptr<HostLog> log_;
};

DispatchRef NewHost(const std::shared_ptr<HostLog>& log) {
  const DispatchRef services = LambdaObject::New({
      {L"ShowProgress", Answer(Variant())},
      {L"ShowMessage",
       [log](WORD, const DispatchArguments& a, VARIANT* r) {
         log->messages.push_back(a.Text(0) + "|" + a.Text(1) + "|" + a.Text(2));
         SetInt32(r, 1);
       }},
      {L"SaveSettings",
       [log](WORD, const DispatchArguments& a, VARIANT*) { log->saved.push_back(a.Text(0) + "|" + a.Text(1)); }},
      {L"LoadSettings",
       [log](WORD, const DispatchArguments&, VARIANT* r) {
         const DispatchRef node =
             LambdaObject::New({{L"xml", Answer(Variant::Text("<SETTINGS><property name=\"vel-xml-path\" value=\"" +
                                                              log->stored_path + "\"/></SETTINGS>"))}});
         SetObject(r, node.get());
       }},
      {L"FormatProperty",
       [](WORD, const DispatchArguments& a, VARIANT* r) {
         SetText(r, "<property name=\"" + a.Text(0) + "\" value=\"" + a.Text(1) + "\"/>");
       }},
      {L"TextSource", Answer(Variant::Text("de"))},
  });
  return LambdaObject::New({
      {L"Services", Answer(Variant::Object(services.get()))},
      {L"ProjectPath", Answer(Variant::Text("D:\\Shop"))},
      {L"Tools", Answer(Variant::Object(nullptr))},
      {L"Connection", Answer(Variant::Object(nullptr))},
      {L"FolderService", Answer(Variant::Object(nullptr))},
  });
}

ULONG References(IDispatch* object) {
  object->AddRef();
  return object->Release();
}

class ManagerObjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    objects_before_ = module::ObjectCount();
    log_ = std::make_shared<HostLog>();
    host_ = NewHost(log_);
    object_ = ManagerObject::Create(std::make_shared<TestPlatform>(log_));
    manager_ = DispatchRef::Attach(object_);
  }
  void TearDown() override {
    manager_.Reset();
    host_.Reset();
    EXPECT_EQ(module::ObjectCount(), objects_before_);
  }

  long objects_before_ = 0;
  std::shared_ptr<HostLog> log_;
  DispatchRef host_;
  ManagerObject* object_ = nullptr;
  DispatchRef manager_;
};

TEST_F(ManagerObjectTest, TheHostsSequenceByName) {
  manager_.PutRef("Api", host_);
  EXPECT_EQ(object_->manager().host_api().get() != nullptr, true);
  manager_.Call("Init", "DS1", "<config/>", "<user/>");
  EXPECT_TRUE(object_->manager().initialised());
  EXPECT_EQ(object_->manager().data_source_id(), "DS1");

  const Variant pages = manager_.Get("PagesConfig");
  ASSERT_EQ(pages.vt(), VT_BSTR);
  const std::string text = pages.AsText();
  EXPECT_EQ(text.rfind("<Pages><Page hwnd=\"", 0), 0u) << text;
  EXPECT_NE(text.find("\" key=\"PIC_MAIN\"><TitleText>[impvelxml.page.1.title]</TitleText>"
                      "<SubTitleText>[impvelxml.page.1.subtitle]</SubTitleText></Page>"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("\" key=\"PIC_ADVANCED\"><TitleText>[impvelxml.page.2.title]</TitleText>"), std::string::npos);
  EXPECT_EQ(text.find("hwnd=\"0\""), std::string::npos) << text;
  EXPECT_EQ(manager_.Get("pagesconfig").AsText(), text);
  // The page builder and the form's load step each load the host's texts.
  EXPECT_EQ(log_->texts_loaded, (std::vector<std::string>{"de", "de"}));

  const Variant main = manager_.Call("SelectedPageChanged", "PIC_MAIN");
  ASSERT_EQ(main.vt(), VT_BOOL);
  EXPECT_EQ(main.get().boolVal, VARIANT_TRUE);
  EXPECT_TRUE(log_->messages.empty());

  // The stored path names a file the host's file system does not have.
  const Variant advanced = manager_.Call("SelectedPageChanged", "PIC_ADVANCED");
  ASSERT_EQ(advanced.vt(), VT_BOOL);
  EXPECT_EQ(advanced.get().boolVal, VARIANT_FALSE);
  EXPECT_EQ(log_->messages, (std::vector<std::string>{"Datei nicht gefunden!|48|"}));
  EXPECT_EQ(manager_.Call("SelectedPageChanged", "pic_advanced").get().boolVal, VARIANT_TRUE);

  const Variant user = manager_.Get("UserConfig");
  ASSERT_EQ(user.vt(), VT_BSTR);
  EXPECT_EQ(user.AsText(), "");

  manager_.Put("CancelImport", Variant::Bool(true));
  EXPECT_TRUE(object_->manager().cancel_requested());
  // fEditVarstring ends at its first error, which reaches the caller: this host has no connection.
  EXPECT_EQ(RaisedCode([&] { manager_.Call("fEditVarstring", "[1]17"); }), ErrorCode::kObjectRequired);

  manager_.Call("SelectedPageChanged", "-1");
  EXPECT_EQ(log_->saved,
            (std::vector<std::string>{"SETTINGS|<property name=\"vel-xml-path\" value=\"C:\\Export\\fehlt.xml\"/>"}));

  manager_.Call("Dispose");
  EXPECT_FALSE(object_->manager().initialised());
  EXPECT_EQ(object_->manager().host_api(), nullptr);
  EXPECT_EQ(References(host_.get()), 1u);
}

TEST_F(ManagerObjectTest, ArgumentsByReferenceAndByCoercion) {
  manager_.Put("Api", Variant::Object(host_.get()));  // by value with an object
  EXPECT_NE(object_->manager().host_api(), nullptr);
  Variant id = Variant::Int32(42);
  VARIANT by_ref;
  ::VariantInit(&by_ref);
  by_ref.vt = VT_BYREF | VT_VARIANT;
  by_ref.pvarVal = id.ptr();
  Variant config = Variant::Text("<config/>");
  BSTR* bstr_ref = &config.ptr()->bstrVal;
  VARIANT text_ref;
  ::VariantInit(&text_ref);
  text_ref.vt = VT_BYREF | VT_BSTR;
  text_ref.pbstrVal = bstr_ref;
  manager_.Call("Init", by_ref, text_ref, Variant());
  EXPECT_EQ(object_->manager().data_source_id(), "42");
  manager_.Put("CancelImport", Variant::Text("True"));
  EXPECT_TRUE(object_->manager().cancel_requested());
  manager_.Put("CancelImport", Variant::Int32(0));
  EXPECT_FALSE(object_->manager().cancel_requested());
  manager_.Call("Dispose");
}

TEST_F(ManagerObjectTest, WhatAServerRefuses) {
  EXPECT_EQ(RaisedCode([&] { manager_.Call("Init", "only one"); }), static_cast<ErrorCode>(450));
  EXPECT_EQ(RaisedCode([&] { manager_.Get("CancelImport"); }), static_cast<ErrorCode>(438));
  EXPECT_EQ(RaisedCode([&] { manager_.Put("PagesConfig", Variant::Text("x")); }), static_cast<ErrorCode>(438));
  EXPECT_EQ(RaisedCode([&] { manager_.Put("Api", Variant::Text("not an object")); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(RaisedCode([&] { manager_.Put("CancelImport", Variant::Text("maybe")); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(RaisedCode([&] { manager_.Call("NoSuchMember"); }), static_cast<ErrorCode>(438));
}

TEST_F(ManagerObjectTest, NothingAsApiAndMembersWithoutAHost) {
  manager_.PutRef("Api", DispatchRef());
  EXPECT_EQ(object_->manager().host_api(), nullptr);
  manager_.Call("Init", "", "", "");
  EXPECT_EQ(manager_.Call("SelectedPageChanged", "PIC_MAIN").get().boolVal, VARIANT_TRUE);
  manager_.Call("ExecuteImport");
  manager_.Call("Dispose");
}

TEST_F(ManagerObjectTest, ReleasingWithoutDisposeReleasesTheHost) {
  manager_.PutRef("Api", host_);
  manager_.Call("Init", "DS1", "", "");
  manager_.Get("PagesConfig");
  EXPECT_GT(References(host_.get()), 1u);
  manager_.Reset();
  EXPECT_EQ(References(host_.get()), 1u);
}

}  // namespace
}  // namespace cvimp::com
