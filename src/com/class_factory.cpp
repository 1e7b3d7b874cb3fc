#include "com/class_factory.h"

#include <atomic>
#include <new>

#include "com/automation/module.h"
#include "com/manager_object.h"

namespace cvimp::com {

// {56C1A27F-DC5A-40FC-ABE4-6C6593001922}
const CLSID kManagerClsid = {0x56C1A27F, 0xDC5A, 0x40FC, {0xAB, 0xE4, 0x6C, 0x65, 0x93, 0x00, 0x19, 0x22}};

namespace {

class ManagerFactory : public IClassFactory {
 public:
  ManagerFactory() { module::AddObject(); }
  virtual ~ManagerFactory() { module::ReleaseObject(); }
  ManagerFactory(const ManagerFactory&) = delete;
  ManagerFactory& operator=(const ManagerFactory&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!IsEqualIID(iid, IID_IUnknown) && !IsEqualIID(iid, IID_IClassFactory)) return E_NOINTERFACE;
    *out = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG n = --refs_;
    if (n == 0) delete this;
    return n;
  }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    ManagerObject* object = nullptr;
    try {
      object = ManagerObject::Create();
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    } catch (...) {
      return E_FAIL;
    }
    const HRESULT hr = object->QueryInterface(iid, out);
    object->Release();  // the caller's reference is the one QueryInterface added
    return hr;
  }

  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    if (lock)
      module::Lock();
    else
      module::Unlock();
    return S_OK;
  }

 private:
  std::atomic<ULONG> refs_{1};
};

}  // namespace

HRESULT GetManagerClassObject(REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  ManagerFactory* factory = new (std::nothrow) ManagerFactory();
  if (!factory) return E_OUTOFMEMORY;
  const HRESULT hr = factory->QueryInterface(iid, out);
  factory->Release();
  return hr;
}

}  // namespace cvimp::com
