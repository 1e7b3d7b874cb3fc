// ADODB.Recordset for the test prefix: the record set of the project's record-set layer (keyset record set
// with ADO semantics) behind the members that the plug-in calls by name:
//
//   Open(Source, ActiveConnection, CursorType, LockType, Options), Close, State, EOF, MoveNext, MoveLast,
//   AddNew([FieldName, Value]), Update, Fields (Count, Item(index | name) -> Field: Name, Type, DefinedSize,
//   Value), and the default member: rs("Name") reads or writes Fields.Item("Name").Value.
//
// The active connection must be a CVImpTest.ShopConnection of this library (shop_connection.h); anything
// else is refused as the ADO record set refuses an unusable connection.
#pragma once

#include "automation_base.h"

namespace cvimp::testhost {

IDispatch* NewAdoRecordset();

}  // namespace cvimp::testhost
