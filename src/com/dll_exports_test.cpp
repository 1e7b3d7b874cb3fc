// The DLL's entry points, loaded as a client loads the DLL: the class object of Manager and the unload
// answer. (Registration writes to the registry and is exercised with regsvr32 instead.)
#include <gtest/gtest.h>

#include <string>

#include "com/automation/dispatch_call.h"
#include "com/automation/text_conversion.h"
#include "com/automation/windows_headers.h"
#include "com/class_factory.h"

namespace cvimp::com {
namespace {

// The built DLL's path as Windows sees it (a path of the build machine under Wine's Z: drive).
std::wstring DllPath() {
  std::string path = CVIMP_COM_DLL;
  if (!path.empty() && path[0] == '/') path = "Z:" + path;
  for (char& c : path)
    if (c == '/') c = '\\';
  return Widen(path);
}

class DllExports : public ::testing::Test {
 protected:
  void SetUp() override {
    dll_ = ::LoadLibraryW(DllPath().c_str());
    ASSERT_NE(dll_, nullptr);
    get_class_object_ =
        reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(::GetProcAddress(dll_, "DllGetClassObject")));
    can_unload_now_ =
        reinterpret_cast<CanUnloadNow>(reinterpret_cast<void*>(::GetProcAddress(dll_, "DllCanUnloadNow")));
    ASSERT_NE(get_class_object_, nullptr);
    ASSERT_NE(can_unload_now_, nullptr);
    EXPECT_NE(::GetProcAddress(dll_, "DllRegisterServer"), nullptr);
    EXPECT_NE(::GetProcAddress(dll_, "DllUnregisterServer"), nullptr);
  }
  void TearDown() override {
    if (dll_) ::FreeLibrary(dll_);
  }

  using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
  using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();
  HMODULE dll_ = nullptr;
  GetClassObject get_class_object_ = nullptr;
  CanUnloadNow can_unload_now_ = nullptr;
};

TEST_F(DllExports, TheClassObjectMakesManagersAndTheDllStaysWhileOneLives) {
  EXPECT_EQ(can_unload_now_(), S_OK);
  IClassFactory* factory = nullptr;
  ASSERT_EQ(get_class_object_(kManagerClsid, IID_IClassFactory, reinterpret_cast<void**>(&factory)), S_OK);
  EXPECT_EQ(can_unload_now_(), S_FALSE);
  IDispatch* object = nullptr;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, reinterpret_cast<void**>(&object)), S_OK);
  void* aggregated = nullptr;
  EXPECT_EQ(factory->CreateInstance(reinterpret_cast<IUnknown*>(object), IID_IUnknown, &aggregated),
            CLASS_E_NOAGGREGATION);
  factory->Release();
  EXPECT_EQ(can_unload_now_(), S_FALSE);
  {
    const DispatchRef manager = DispatchRef::Attach(object);
    EXPECT_EQ(manager.Get("UserConfig").AsText(), "");
    EXPECT_EQ(manager.Call("SelectedPageChanged", "PIC_MAIN").get().boolVal, VARIANT_TRUE);
  }
  EXPECT_EQ(can_unload_now_(), S_OK);
}

TEST_F(DllExports, LockServerKeepsTheDll) {
  IClassFactory* factory = nullptr;
  ASSERT_EQ(get_class_object_(kManagerClsid, IID_IClassFactory, reinterpret_cast<void**>(&factory)), S_OK);
  factory->LockServer(TRUE);
  factory->Release();
  EXPECT_EQ(can_unload_now_(), S_FALSE);
  ASSERT_EQ(get_class_object_(kManagerClsid, IID_IClassFactory, reinterpret_cast<void**>(&factory)), S_OK);
  factory->LockServer(FALSE);
  factory->Release();
  EXPECT_EQ(can_unload_now_(), S_OK);
}

TEST_F(DllExports, OtherClassesAreNotAvailable) {
  void* out = reinterpret_cast<void*>(1);
  EXPECT_EQ(get_class_object_(IID_IDispatch, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(out, nullptr);
}

}  // namespace
}  // namespace cvimp::com
