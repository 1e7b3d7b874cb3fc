// The settings pages through the plug-in DLL, as a host gets them: the library registered, the Manager
// created by its ProgID, a host written here as automation objects, Init and PagesConfig, the two page
// windows read back by the handles the descriptor names, and Dispose taking the windows away.
//
// The DLL is named by the environment variable CVIMP_PLUGIN_DLL (a Windows path, or a Unix path that Wine
// reaches through drive Z:); without it this test is skipped.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "com/automation/dispatch_call.h"
#include "com/automation/dispatch_object.h"
#include "com/automation/text_conversion.h"
#include "com/prog_ids.h"
#include "com/win32_settings_view.h"
#include "ui_test_support.h"

namespace cvimp::uitest {
namespace {

namespace id = com::settings_control_id;
using com::DispatchArguments;
using com::DispatchObject;
using com::DispatchRef;

const char kInfoMain[] = "Wählen Sie die Katalogdatei, die übernommen werden soll:";
const char kInfoAdvanced[] = "Legen Sie fest, wie bestehende Daten behandelt werden – äöü ß";

// What the host objects were asked, for the test to look at.
struct HostRecord {
  std::map<std::string, std::string> saved;  // section -> settings text
  std::vector<std::string> messages;
  std::map<std::string, std::string> texts;
};

// The node LoadSettings hands out: its xml is the stored settings element.
class SettingsNode : public DispatchObject {
 public:
  explicit SettingsNode(std::string xml) : DispatchObject(L"UiTest.SettingsNode", {{L"xml", 1}}), xml_(std::move(xml)) {}

 protected:
  HRESULT Invoke(DISPID, WORD flags, const DISPPARAMS&, VARIANT* result) override {
    if (!com::IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
    com::SetText(result, xml_);
    return S_OK;
  }

 private:
  std::string xml_;
};

class HostServicesObject : public DispatchObject {
 public:
  explicit HostServicesObject(std::shared_ptr<HostRecord> record)
      : DispatchObject(L"UiTest.HostServices", {{L"ShowProgress", 1},
                                                {L"ShowMessage", 2},
                                                {L"SaveSettings", 3},
                                                {L"LoadSettings", 4},
                                                {L"FormatProperty", 5},
                                                {L"TextSource", 6}}),
        record_(std::move(record)) {}

 protected:
  HRESULT Invoke(DISPID member, WORD flags, const DISPPARAMS& params, VARIANT* result) override {
    if (!com::IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
    const DispatchArguments args(params);
    switch (member) {
      case 1:
        return S_OK;
      case 2:
        record_->messages.push_back(args.Text(0));
        com::SetInt32(result, 1);
        return S_OK;
      case 3:
        record_->saved[args.Text(0)] = args.Text(1);
        return S_OK;
      case 4: {
        const auto stored = record_->saved.find(args.Text(0));
        if (stored == record_->saved.end()) {
          com::SetObject(result, nullptr);
          return S_OK;
        }
        auto* node = new SettingsNode("<" + stored->first + ">" + stored->second + "</" + stored->first + ">");
        com::SetObject(result, node);
        node->Release();
        return S_OK;
      }
      case 5:
        com::SetText(result, "<property name=\"" + args.Text(0) + "\" value=\"" + args.Text(1) + "\"/>");
        return S_OK;
      case 6:
        com::SetText(result, "de");
        return S_OK;
    }
    return DISP_E_MEMBERNOTFOUND;
  }

 private:
  std::shared_ptr<HostRecord> record_;
};

class HostApiObject : public DispatchObject {
 public:
  explicit HostApiObject(std::shared_ptr<HostRecord> record)
      : DispatchObject(L"UiTest.HostApi", {{L"Services", 1},
                                           {L"ProjectPath", 2},
                                           {L"Tools", 3},
                                           {L"Connection", 4},
                                           {L"FolderService", 5}}),
        record_(std::move(record)) {}

 protected:
  HRESULT Invoke(DISPID member, WORD flags, const DISPPARAMS&, VARIANT* result) override {
    if (!com::IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
    if (member == 1) {
      auto* services = new HostServicesObject(record_);
      com::SetObject(result, services);
      services->Release();
    } else if (member == 2) {
      com::SetText(result, "C:\\Shop");
    } else {
      com::SetObject(result, nullptr);  // this host has no tools, no database and no folders
    }
    return S_OK;
  }

 private:
  std::shared_ptr<HostRecord> record_;
};

// The host library's text catalogue, answering from the record's texts.
class TextCatalogObject : public DispatchObject {
 public:
  explicit TextCatalogObject(std::shared_ptr<HostRecord> record)
      : DispatchObject(L"UiTest.TextCatalog", {{L"Load", 1}, {L"GetText", 2}, {L"Close", 3}}),
        record_(std::move(record)) {}

 protected:
  HRESULT Invoke(DISPID member, WORD flags, const DISPPARAMS& params, VARIANT* result) override {
    if (!com::IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
    if (member == 2) {
      const auto text = record_->texts.find(DispatchArguments(params).Text(0));
      com::SetText(result, text == record_->texts.end() ? std::string() : text->second);
    }
    return S_OK;
  }

 private:
  std::shared_ptr<HostRecord> record_;
};

class TextCatalogFactory : public IClassFactory {
 public:
  explicit TextCatalogFactory(std::shared_ptr<HostRecord> record) : record_(std::move(record)) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (iid == IID_IUnknown || iid == IID_IClassFactory) {
      *out = static_cast<IClassFactory*>(this);
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  // Lives on the test's stack; COM's references do not own it.
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    auto* catalog = new TextCatalogObject(record_);
    const HRESULT hr = catalog->QueryInterface(iid, out);
    catalog->Release();
    return hr;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  std::shared_ptr<HostRecord> record_;
};

// The plug-in DLL's Windows path, or empty when none was named.
std::wstring PluginDllPath() {
  const char* named = std::getenv("CVIMP_PLUGIN_DLL");
  if (!named || !*named) return {};
  std::string path = named;
  if (path.front() == '/') path = "Z:" + path;
  for (char& c : path)
    if (c == '/') c = '\\';
  return com::Widen(path);
}

// The ProgID of the host library's text catalogue, pointing at a class that this program serves, for as
// long as the object lives; a mapping that it had to add to the registry is taken out again.
class ServedTextCatalog {
 public:
  explicit ServedTextCatalog(std::shared_ptr<HostRecord> record) : factory_(std::move(record)) {
    const std::wstring progid = com::Widen(com::kTextCatalogProgId);
    if (FAILED(CLSIDFromProgID(progid.c_str(), &clsid_))) {
      // The class the test host library registers under this ProgID.
      CLSIDFromString(L"{06867EF9-20DF-4E4F-83F5-8BCCF17FF044}", &clsid_);
      const std::wstring key = progid + L"\\CLSID";
      const wchar_t clsid_text[] = L"{06867EF9-20DF-4E4F-83F5-8BCCF17FF044}";
      if (RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), nullptr, REG_SZ, clsid_text, sizeof clsid_text) ==
          ERROR_SUCCESS)
        added_key_ = progid;
    }
    CoRegisterClassObject(clsid_, &factory_, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE,
                          &cookie_);
  }
  ~ServedTextCatalog() {
    if (cookie_) CoRevokeClassObject(cookie_);
    if (!added_key_.empty()) RegDeleteTreeW(HKEY_CLASSES_ROOT, added_key_.c_str());
  }
  ServedTextCatalog(const ServedTextCatalog&) = delete;
  ServedTextCatalog& operator=(const ServedTextCatalog&) = delete;

 private:
  TextCatalogFactory factory_;
  CLSID clsid_{};
  DWORD cookie_ = 0;
  std::wstring added_key_;
};

struct DescribedPages {
  HWND main = nullptr;
  HWND advanced = nullptr;
};

DescribedPages ReadHandles(const std::string& descriptor) {
  DescribedPages pages;
  const std::regex page("<Page hwnd=\"([0-9]+)\" key=\"(PIC_MAIN|PIC_ADVANCED)\">");
  for (auto it = std::sregex_iterator(descriptor.begin(), descriptor.end(), page); it != std::sregex_iterator(); ++it) {
    const HWND window = AsWindow(std::stoll((*it)[1].str()));
    ((*it)[2].str() == "PIC_MAIN" ? pages.main : pages.advanced) = window;
  }
  return pages;
}

class PluginDllPagesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dll_path = PluginDllPath();
    if (dll_path.empty()) GTEST_SKIP() << "CVIMP_PLUGIN_DLL names no plug-in DLL";
    ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    com_initialised = true;
    library = LoadLibraryW(dll_path.c_str());
    ASSERT_NE(library, nullptr) << "cannot load " << com::Narrow(dll_path) << " (error " << GetLastError() << ")";
    using Register = HRESULT(STDAPICALLTYPE*)();
    const auto register_server = reinterpret_cast<Register>(
        reinterpret_cast<void*>(GetProcAddress(library, "DllRegisterServer")));
    ASSERT_NE(register_server, nullptr);
    ASSERT_EQ(register_server(), S_OK);
    record->texts = {{"impvelxml.page.1.infotext", kInfoMain},
                     {"impvelxml.page.2.infotext", kInfoAdvanced},
                     {"impvelxml.page.1.title", "Katalog wählen"},
                     {"impvelxml.page.1.subtitle", "Schritt 1"},
                     {"impvelxml.page.2.title", "Optionen"},
                     {"impvelxml.page.2.subtitle", "Schritt 2 – Übernahme"}};
    record->saved["SETTINGS"] = "<property name=\"vel-xml-path\" value=\"C:\\Kataloge\\Frühjahr.xml\"/>";
    text_catalog = std::make_unique<ServedTextCatalog>(record);
    auto* host_object = new HostApiObject(record);
    host = DispatchRef::Attach(host_object);
  }
  void TearDown() override {
    host.Reset();
    text_catalog.reset();
    if (library) {
      // The prefix's registry as the test found it.
      using Unregister = HRESULT(STDAPICALLTYPE*)();
      const auto unregister_server = reinterpret_cast<Unregister>(
          reinterpret_cast<void*>(GetProcAddress(library, "DllUnregisterServer")));
      if (unregister_server) {
        EXPECT_EQ(unregister_server(), S_OK);
      }
      FreeLibrary(library);
    }
    if (com_initialised) CoUninitialize();
  }

  std::wstring dll_path;
  bool com_initialised = false;
  HMODULE library = nullptr;
  std::shared_ptr<HostRecord> record = std::make_shared<HostRecord>();
  std::unique_ptr<ServedTextCatalog> text_catalog;
  DispatchRef host;
};

TEST_F(PluginDllPagesTest, TheDescribedPagesAreTheFormsWindows) {
  DispatchRef manager = com::CreateByProgId(com::kManagerProgId);
  manager.PutRef("Api", host);
  manager.Call("Init", "quelle", "<config/>", "");
  const std::string descriptor = manager.Get("PagesConfig").AsText();
  const DescribedPages pages = ReadHandles(descriptor);
  ASSERT_TRUE(IsWindow(pages.main)) << descriptor;
  ASSERT_TRUE(IsWindow(pages.advanced)) << descriptor;
  EXPECT_EQ(descriptor, "<Pages><Page hwnd=\"" + std::to_string(HandleOf(pages.main)) +
                            "\" key=\"PIC_MAIN\"><TitleText>Katalog wählen</TitleText><SubTitleText>Schritt "
                            "1</SubTitleText></Page><Page hwnd=\"" +
                            std::to_string(HandleOf(pages.advanced)) +
                            "\" key=\"PIC_ADVANCED\"><TitleText>Optionen</TitleText><SubTitleText>Schritt 2 – "
                            "Übernahme</SubTitleText></Page></Pages>");

  // Both containers sit in the same hidden top-level form.
  const HWND hidden_form = GetParent(pages.main);
  EXPECT_EQ(GetParent(pages.advanced), hidden_form);
  EXPECT_FALSE(Style(hidden_form) & WS_VISIBLE);

  const HWND edit = Control(pages.main, id::kTxtBrowseFile);
  EXPECT_EQ(Text(edit), "C:\\Kataloge\\Frühjahr.xml");
  EXPECT_EQ(Text(Control(pages.main, id::kLblImport + 2)), "Importquelle:");
  EXPECT_EQ(Text(Control(pages.main, id::kLblImport + 0)), kInfoMain);
  EXPECT_EQ(Text(Control(pages.main, id::kCmdBrowseFile)), "Durchsuchen...");
  EXPECT_EQ(Text(Control(pages.advanced, id::kLblImport + 1)), kInfoAdvanced);
  EXPECT_EQ(Text(Control(pages.advanced, id::kOptUpdateMode + 0)), "Neue Daten zufügen, bestehende aktualisieren");
  EXPECT_EQ(Text(Control(pages.advanced, id::kOptUpdateMode + 1)), "Nur neue Daten zufügen");
  EXPECT_EQ(Text(Control(pages.advanced, id::kOptUpdateMode + 2)), "Nur bestehende Daten aktualisieren");
  EXPECT_EQ(Text(Control(pages.advanced, id::kChkImportMedia)), "&Medien importieren");
  EXPECT_TRUE(IsChecked(Control(pages.advanced, id::kOptUpdateMode + 0)));
  EXPECT_FALSE(IsChecked(Control(pages.advanced, id::kChkImportMedia)));
  EXPECT_EQ(FontFace(edit), L"Tahoma");
  EXPECT_EQ(FontFace(Control(pages.advanced, id::kChkImportMedia)), L"Tahoma");

  // In the wizard: what the user types is what the plug-in checks and saves.
  WizardWindow wizard;
  SetParent(pages.main, wizard.get());
  SetParent(pages.advanced, wizard.get());
  Type(edit, "");
  EXPECT_FALSE(manager.Call("SelectedPageChanged", "PIC_ADVANCED").AsBool());
  // This host has no tools, so no file is found: only the first of the two messages is shown.
  ASSERT_EQ(record->messages, std::vector<std::string>{"Bitte wählen Sie eine Datei!"});
  Type(edit, "  D:\\Übernahme\\katalog.xml ");
  EXPECT_FALSE(manager.Call("SelectedPageChanged", "PIC_ADVANCED").AsBool());
  EXPECT_EQ(record->messages.back(), "Datei nicht gefunden!");
  Click(Control(pages.advanced, id::kOptUpdateMode + 2));
  EXPECT_TRUE(manager.Call("SelectedPageChanged", "-1").AsBool());
  EXPECT_EQ(record->saved["SETTINGS"], "<property name=\"vel-xml-path\" value=\"D:\\Übernahme\\katalog.xml\"/>");
  EXPECT_EQ(Text(edit), "D:\\Übernahme\\katalog.xml");
  EXPECT_TRUE(IsChecked(Control(pages.advanced, id::kOptUpdateMode + 2)));

  manager.Call("Dispose");
  EXPECT_FALSE(IsWindow(pages.main));
  EXPECT_FALSE(IsWindow(pages.advanced));
  EXPECT_FALSE(IsWindow(edit));
  EXPECT_FALSE(IsWindow(hidden_form));
  EXPECT_EQ(GetWindow(wizard.get(), GW_CHILD), nullptr);
}

}  // namespace
}  // namespace cvimp::uitest
