// The creatable automation class "CVImpVelXMLCat.Manager": the plug-in object as the host sees it,
// answering IDispatch by member name and forwarding every member to plugin::Manager, which runs on a
// WindowsPlatform. Arguments come by value or by reference and are coerced as an automation server
// coerces them; the members themselves never fail (plugin::Manager reports no failures). Releasing the
// last reference destroys plugin::Manager, which disposes itself when still initialised.
#pragma once

#include <memory>

#include "com/automation/dispatch_object.h"
#include "plugin/manager.h"
#include "plugin/platform.h"

namespace cvimp::com {

class ManagerObject : public DispatchObject {
 public:
  enum Member : DISPID {
    kApi = 1,
    kCancelImport,
    kDispose,
    kExecuteImport,
    kInit,
    kPagesConfig,
    kSelectedPageChanged,
    kUserConfig,
    kFEditVarstring,
  };

  // A new object with one reference, owned by the caller; the platform is a WindowsPlatform unless a test
  // gives another.
  static ManagerObject* Create(std::shared_ptr<plugin::Platform> platform = nullptr);

  plugin::Manager& manager() { return *manager_; }

 protected:
  using DispatchObject::Invoke;
  HRESULT Invoke(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) override;

 private:
  explicit ManagerObject(std::shared_ptr<plugin::Platform> platform);
  ~ManagerObject() override = default;

  std::unique_ptr<plugin::Manager> manager_;
};

}  // namespace cvimp::com
