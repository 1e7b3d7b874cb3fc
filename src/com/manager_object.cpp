#include "com/manager_object.h"

#include "com/automation_host.h"
#include "com/windows_platform.h"

namespace cvimp::com {

namespace {

const std::vector<DispatchMember> kMembers = {
    {L"Api", ManagerObject::kApi},
    {L"CancelImport", ManagerObject::kCancelImport},
    {L"Dispose", ManagerObject::kDispose},
    {L"ExecuteImport", ManagerObject::kExecuteImport},
    {L"Init", ManagerObject::kInit},
    {L"PagesConfig", ManagerObject::kPagesConfig},
    {L"SelectedPageChanged", ManagerObject::kSelectedPageChanged},
    {L"UserConfig", ManagerObject::kUserConfig},
    {L"fEditVarstring", ManagerObject::kFEditVarstring},
};

}  // namespace

ManagerObject* ManagerObject::Create(std::shared_ptr<plugin::Platform> platform) {
  if (!platform) platform = std::make_shared<WindowsPlatform>();
  return new ManagerObject(std::move(platform));
}

ManagerObject::ManagerObject(std::shared_ptr<plugin::Platform> platform)
    : DispatchObject(L"CVImpVelXMLCat.Manager", kMembers),
      manager_(std::make_unique<plugin::Manager>(std::move(platform))) {}

HRESULT ManagerObject::Invoke(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) {
  const DispatchArguments args(params);
  switch (id) {
    case kApi: {
      // Set by reference (Set obj.Api = host) or by value with an object.
      if (!IsPut(flags)) return DISP_E_MEMBERNOTFOUND;
      args.ExpectCount(0, 0);
      DispatchRef host;
      try {
        host = DispatchRef::FromVariant(args.PutValue().get());
      } catch (const Error&) {
        throw DispatchFailure(DISP_E_TYPEMISMATCH, 0);
      }
      manager_->Api(host ? std::make_shared<AutomationHostApi>(std::move(host)) : nullptr);
      return S_OK;
    }
    case kCancelImport: {
      if (!(flags & DISPATCH_PROPERTYPUT)) return DISP_E_MEMBERNOTFOUND;
      args.ExpectCount(0, 0);
      const Variant value = args.PutValue();
      bool cancel = false;
      try {
        cancel = value.AsBool();
      } catch (const Error& e) {
        throw DispatchFailure(e.code() == ErrorCode::kOverflow ? DISP_E_OVERFLOW : DISP_E_TYPEMISMATCH, 0);
      }
      manager_->CancelImport(cancel);
      return S_OK;
    }
    case kDispose:
      if (!IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
      args.ExpectCount(0, 0);
      manager_->Dispose();
      return S_OK;
    case kExecuteImport:
      if (!IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
      args.ExpectCount(0, 0);
      manager_->ExecuteImport();
      return S_OK;
    case kInit: {
      if (!IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
      args.ExpectCount(3, 3);
      const std::string data_source_id = args.Text(0);
      const std::string plugin_config = args.Text(1);
      const std::string user_config = args.Text(2);
      manager_->Init(data_source_id, plugin_config, user_config);
      return S_OK;
    }
    case kPagesConfig:
      if (!IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
      args.ExpectCount(0, 0);
      SetText(result, manager_->PagesConfig());
      return S_OK;
    case kSelectedPageChanged: {
      if (!IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
      args.ExpectCount(1, 1);
      const std::string key = args.Text(0);
      SetBool(result, manager_->SelectedPageChanged(key));
      return S_OK;
    }
    case kUserConfig:
      if (!IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
      args.ExpectCount(0, 0);
      SetText(result, manager_->UserConfig());
      return S_OK;
    case kFEditVarstring: {
      if (!IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
      args.ExpectCount(1, 1);
      const std::string text = args.Text(0);
      SetText(result, manager_->fEditVarstring(text));
      return S_OK;
    }
    default:
      return DISP_E_MEMBERNOTFOUND;
  }
}

}  // namespace cvimp::com
