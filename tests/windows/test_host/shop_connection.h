// CVImpTest.ShopConnection: the shop database connection that a test host hands out as HostApi.Connection.
// Open(path) opens the shop database at the path, creating it from the shop schema first when no file is
// there (as `cvimport init` does). The record sets of this library find the connection behind the IDispatch
// that they are opened on by asking it for kShopConnectionIid; other objects are refused.
//
// Members: Open(path), Close, State (0 closed, 1 open), BeginTrans, CommitTrans, RollbackTrans, and
// HostFolderPath(key) (the folder service of the command-line host on this database, so that a test host can
// hand this object out as HostApi.FolderService too).
#pragma once

#include <memory>

#include "automation_base.h"
#include "recordset/sqlite_connection.h"

namespace cvimp::testhost {

// {E478E31C-B8A7-4DE0-9C68-8230D09EF7F1}: private to this library; answered only by ShopConnection.
inline constexpr GUID kShopConnectionIid = {
    0xe478e31c, 0xb8a7, 0x4de0, {0x9c, 0x68, 0x82, 0x30, 0xd0, 0x9e, 0xf7, 0xf1}};

class ShopConnection : public DispatchObject {
 public:
  ShopConnection();

  // The open database, or nullptr while the connection is closed.
  std::shared_ptr<recordset::SqliteConnection> database() const { return database_; }

  // The ShopConnection behind an object handed in by a client, or nullptr when it is none of ours.
  static ShopConnection* From(IUnknown* object);

 protected:
  HRESULT Invoke(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) override;
  void* QueryOther(REFIID iid) override;

 private:
  void Open(const std::string& path);
  recordset::SqliteConnection& Database();

  std::shared_ptr<recordset::SqliteConnection> database_;
};

IDispatch* NewShopConnection();

}  // namespace cvimp::testhost
