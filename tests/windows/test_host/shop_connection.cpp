#include "shop_connection.h"

#include "host/folder_service.h"
#include "recordset/shop_schema.h"

namespace cvimp::testhost {

namespace {

enum : DISPID { kOpen = 1, kClose, kState, kBeginTrans, kCommitTrans, kRollbackTrans, kHostFolderPath };

bool PathExists(const std::string& path) {
  return GetFileAttributesW(Widen(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace

ShopConnection::ShopConnection()
    : DispatchObject(L"CVImpTest.ShopConnection",
                     {{L"Open", kOpen},
                      {L"Close", kClose},
                      {L"State", kState},
                      {L"BeginTrans", kBeginTrans},
                      {L"CommitTrans", kCommitTrans},
                      {L"RollbackTrans", kRollbackTrans},
                      {L"HostFolderPath", kHostFolderPath}}) {}

ShopConnection* ShopConnection::From(IUnknown* object) {
  if (!object) return nullptr;
  void* ours = nullptr;
  if (FAILED(object->QueryInterface(kShopConnectionIid, &ours)) || !ours) return nullptr;
  auto* connection = static_cast<ShopConnection*>(static_cast<DispatchObject*>(static_cast<IDispatch*>(ours)));
  connection->Release();  // the caller holds the object already
  return connection;
}

void* ShopConnection::QueryOther(REFIID iid) {
  return IsEqualIID(iid, kShopConnectionIid) ? static_cast<IDispatch*>(this) : nullptr;
}

void ShopConnection::Open(const std::string& path) {
  if (database_) throw Error(ErrorCode::kOpen, "Operation is not allowed when the object is open.");
  if (!PathExists(path)) recordset::CreateShopDatabase(path);
  database_ = recordset::OpenShopDatabase(path);
}

recordset::SqliteConnection& ShopConnection::Database() {
  if (!database_) throw Error(ErrorCode::kClosed, "Operation is not allowed when the object is closed.");
  return *database_;
}

HRESULT ShopConnection::Invoke(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) {
  switch (id) {
    case kOpen:
      Open(TextArg(params, 0));
      return S_OK;
    case kClose:
      Database();
      if (database_->InTransaction()) database_->Rollback();
      database_.reset();
      return S_OK;
    case kState:
      if (!IsGet(flags)) return DISP_E_MEMBERNOTFOUND;
      SetInt32(result, database_ ? 1 : 0);
      return S_OK;
    case kBeginTrans:
      Database().Begin();
      return S_OK;
    case kCommitTrans:
      Database().Commit();
      return S_OK;
    case kRollbackTrans:
      Database().Rollback();
      return S_OK;
    case kHostFolderPath: {
      Database();
      host::CliFolderService folders(database_);
      SetText(result, folders.HostFolderPath(TextArg(params, 0)));
      return S_OK;
    }
    default:
      return DISP_E_MEMBERNOTFOUND;
  }
}

IDispatch* NewShopConnection() { return new ShopConnection(); }

}  // namespace cvimp::testhost
