// The host contract over automation: each operation calls the host's member of the same name with the
// arguments as the host expects them, and hands back what the host answered.
#include "com/automation_host.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "catalog/document.h"
#include "com/testing/lambda_object.h"
#include "common/testing/raised_code.h"

namespace cvimp::com {
namespace {

using cvimp::testing::RaisedCode;
using testing::Answer;
using testing::LambdaObject;

// What one call of a host member was given: its name and its arguments as texts with their types.
struct Call {
  std::string member;
  std::vector<VARTYPE> types;
  std::vector<std::string> args;
  bool operator==(const Call&) const = default;
};

// A handler that records the call into `calls` and answers `answer`.
LambdaObject::Handler Record(std::vector<Call>& calls, const char* member, Variant answer = Variant()) {
  return [&calls, member, answer](WORD, const DispatchArguments& args, VARIANT* result) {
    Call call{member, {}, {}};
    for (std::size_t i = 0; i < args.count(); ++i) {
      call.types.push_back(args.At(i).vt());
      call.args.push_back(args.Text(i));
    }
    calls.push_back(call);
    SetResult(result, answer);
  };
}

TEST(AutomationHostServices, CallsTheHostsMembersWithTheirArguments) {
  std::vector<Call> calls;
  AutomationHostServices services(LambdaObject::New({
      {L"ShowProgress", Record(calls, "ShowProgress")},
      {L"ShowMessage", Record(calls, "ShowMessage", Variant::Int32(1))},
      {L"SaveSettings", Record(calls, "SaveSettings")},
      {L"FormatProperty", Record(calls, "FormatProperty", Variant::Text("<property/>"))},
      {L"TextSource", Record(calls, "TextSource", Variant::Text("de"))},
  }));
  services.ShowProgress(12, 3, "Importiere Medien3 von: 12 |a.jpg", 0);
  EXPECT_EQ(services.ShowMessage("Datei nicht gefunden!", 48, ""), 1);
  services.SaveSettings("SETTINGS", "<property/>");
  EXPECT_EQ(services.FormatProperty("vel-xml-path", "C:\\K\xC3\xA4se.xml"), "<property/>");
  EXPECT_EQ(services.TextSource(), "de");
  const std::vector<Call> expected = {
      {"ShowProgress", {VT_I4, VT_I4, VT_BSTR, VT_I4}, {"12", "3", "Importiere Medien3 von: 12 |a.jpg", "0"}},
      {"ShowMessage", {VT_BSTR, VT_I4, VT_BSTR}, {"Datei nicht gefunden!", "48", ""}},
      {"SaveSettings", {VT_BSTR, VT_BSTR}, {"SETTINGS", "<property/>"}},
      {"FormatProperty", {VT_BSTR, VT_BSTR}, {"vel-xml-path", "C:\\K\xC3\xA4se.xml"}},
      {"TextSource", {}, {}},
  };
  EXPECT_EQ(calls, expected);
}

TEST(AutomationHostServices, LoadSettingsReadsTheNodesXml) {
  const DispatchRef node = LambdaObject::New({
      {L"xml", Answer(Variant::Text("<SETTINGS><property name=\"vel-xml-path\" value=\"C:\\x.xml\"/></SETTINGS>"))},
  });
  std::vector<Call> calls;
  AutomationHostServices services(
      LambdaObject::New({{L"LoadSettings", Record(calls, "LoadSettings", Variant::Object(node.get()))}}));
  const auto document = services.LoadSettings("SETTINGS");
  ASSERT_TRUE(document);
  EXPECT_EQ(document->DocumentElement().Name(), "SETTINGS");
  EXPECT_EQ(document->DocumentElement().SelectSingleNode("property[@name='vel-xml-path']/@value").Text(), "C:\\x.xml");
  EXPECT_EQ(calls, (std::vector<Call>{{"LoadSettings", {VT_BSTR}, {"SETTINGS"}}}));
}

TEST(AutomationHostServices, LoadSettingsGivesNothingForNothingOrAnEmptyNode) {
  AutomationHostServices nothing(LambdaObject::New({{L"LoadSettings", Answer(Variant::Object(nullptr))}}));
  EXPECT_EQ(nothing.LoadSettings("SETTINGS"), nullptr);
  AutomationHostServices empty(LambdaObject::New({{L"LoadSettings", Answer(Variant())}}));
  EXPECT_EQ(empty.LoadSettings("SETTINGS"), nullptr);
  const DispatchRef node = LambdaObject::New({{L"xml", Answer(Variant::Text(""))}});
  AutomationHostServices empty_text(LambdaObject::New({{L"LoadSettings", Answer(Variant::Object(node.get()))}}));
  EXPECT_EQ(empty_text.LoadSettings("SETTINGS"), nullptr);
}

TEST(AutomationHostApi, FetchesEachObjectPerCallAndNothingGivesNullptr) {
  int services_fetched = 0;
  const DispatchRef services = LambdaObject::New({{L"TextSource", Answer(Variant::Text("en"))}});
  const DispatchRef sql = LambdaObject::New({{L"SqlQuote", [](WORD, const DispatchArguments& args, VARIANT* r) {
                                                std::string t = args.Text(0), out;
                                                for (char c : t)
                                                  out += c == '\'' ? std::string("''") : std::string(1, c);
                                                SetText(r, out);
                                              }}});
  std::vector<Call> calls;
  const DispatchRef files = LambdaObject::New({
      {L"FileExists", Record(calls, "FileExists", Variant::Bool(true))},
      {L"FolderExists", Record(calls, "FolderExists", Variant::Int32(0))},
      {L"CreateFolder", Record(calls, "CreateFolder")},
  });
  const DispatchRef tools = LambdaObject::New({
      {L"StringTools", Answer(Variant::Object(sql.get()))},
      {L"FileSystem", Answer(Variant::Object(files.get()))},
  });
  const DispatchRef folders =
      LambdaObject::New({{L"HostFolderPath", Record(calls, "HostFolderPath", Variant::Text("/A/B"))}});
  const DispatchRef connection = LambdaObject::New({});
  AutomationHostApi api(LambdaObject::New({
      {L"Services",
       [&](WORD, const DispatchArguments&, VARIANT* r) {
         ++services_fetched;
         SetObject(r, services.get());
       }},
      {L"ProjectPath", Answer(Variant::Text("D:\\Sh\xC3\xB6p"))},
      {L"Tools", Answer(Variant::Object(tools.get()))},
      {L"Connection", Answer(Variant::Object(connection.get()))},
      {L"FolderService", Answer(Variant::Object(folders.get()))},
  }));
  EXPECT_EQ(api.Services()->TextSource(), "en");
  EXPECT_EQ(api.Services()->TextSource(), "en");
  EXPECT_EQ(services_fetched, 2);
  EXPECT_EQ(api.ProjectPath(), "D:\\Sh\xC3\xB6p");
  EXPECT_EQ(api.Tools()->GetStringTools()->SqlQuote("O'Neil"), "O''Neil");
  const auto fs = api.Tools()->GetFileSystem();
  EXPECT_TRUE(fs->FileExists("C:\\a.xml"));
  EXPECT_FALSE(fs->FolderExists("D:\\Shop\\Media\\images"));
  fs->CreateFolder("D:\\Shop\\Media\\images");
  EXPECT_EQ(api.GetFolderService()->HostFolderPath("17"), "/A/B");
  EXPECT_EQ(calls, (std::vector<Call>{{"FileExists", {VT_BSTR}, {"C:\\a.xml"}},
                                      {"FolderExists", {VT_BSTR}, {"D:\\Shop\\Media\\images"}},
                                      {"CreateFolder", {VT_BSTR}, {"D:\\Shop\\Media\\images"}},
                                      {"HostFolderPath", {VT_BSTR}, {"17"}}}));
  const auto held = std::dynamic_pointer_cast<AutomationConnection>(api.Connection());
  ASSERT_TRUE(held);
  EXPECT_EQ(held->connection().vt(), VT_DISPATCH);
  EXPECT_EQ(held->connection().get().pdispVal, connection.get());

  AutomationHostApi bare(LambdaObject::New({
      {L"Services", Answer(Variant::Object(nullptr))},
      {L"Tools", Answer(Variant())},
      {L"Connection", Answer(Variant())},
      {L"FolderService", Answer(Variant::Object(nullptr))},
  }));
  EXPECT_EQ(bare.Services(), nullptr);
  EXPECT_EQ(bare.Tools(), nullptr);
  EXPECT_EQ(bare.Connection(), nullptr);
  EXPECT_EQ(bare.GetFolderService(), nullptr);
  EXPECT_EQ(RaisedCode([&] { bare.ProjectPath(); }), static_cast<ErrorCode>(438));
}

TEST(AutomationTextCatalog, LoadGetTextClose) {
  std::vector<Call> calls;
  AutomationTextCatalog texts(LambdaObject::New({
      {L"Load", Record(calls, "Load")},
      {L"GetText", Record(calls, "GetText", Variant::Text("Datei w\xC3\xA4hlen"))},
      {L"Close", Record(calls, "Close")},
  }));
  texts.Load("de", 0);
  EXPECT_EQ(texts.GetText("impvelxml.page.1.title"), "Datei w\xC3\xA4hlen");
  texts.Close();
  EXPECT_EQ(calls, (std::vector<Call>{{"Load", {VT_BSTR, VT_I4}, {"de", "0"}},
                                      {"GetText", {VT_BSTR}, {"impvelxml.page.1.title"}},
                                      {"Close", {}, {}}}));
}

TEST(AutomationHost, AFailingHostCallRaises) {
  AutomationHostServices services(LambdaObject::New({
      {L"ShowProgress",
       [](WORD, const DispatchArguments&, VARIANT*) { throw Error(ErrorCode::kInvalidArgument, "no"); }},
  }));
  EXPECT_EQ(RaisedCode([&] { services.ShowProgress(0, 0, "x", 0); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { services.TextSource(); }), static_cast<ErrorCode>(438));
}

}  // namespace
}  // namespace cvimp::com
