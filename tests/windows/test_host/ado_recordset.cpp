#include "ado_recordset.h"

#include <memory>

#include "common/ascii_case.h"
#include "recordset/recordset.h"
#include "shop_connection.h"

namespace cvimp::testhost {

namespace {

using recordset::Recordset;

// The ADO errors of an unusable active connection (none of ours, or one that is closed).
constexpr auto kWrongArguments = static_cast<ErrorCode>(3001);
constexpr auto kConnectionUnusable = static_cast<ErrorCode>(3709);

[[noreturn]] void ConnectionUnusable() {
  throw Error(kConnectionUnusable,
              "The connection cannot be used to perform this operation. It is either closed or invalid in this "
              "context.");
}

[[noreturn]] void NotFound() {
  throw Error(ErrorCode::kNotFound,
              "Item cannot be found in the collection corresponding to the requested name or ordinal.");
}

// The ADO size of a field: the declared length of a text field, else the size of its type.
long DefinedSize(const recordset::Column& column) {
  if (column.size > 0) return column.size;
  switch (column.type) {
    case recordset::DataType::kSmallInt: return 2;
    case recordset::DataType::kInteger: return 4;
    case recordset::DataType::kBoolean: return 2;
    case recordset::DataType::kDouble:
    case recordset::DataType::kCurrency:
    case recordset::DataType::kDate:
    case recordset::DataType::kBigInt: return 8;
    default: return 536870910;
  }
}

// One field of the record set, by its position; it reads and writes the current record.
class Field : public DispatchObject {
 public:
  enum : DISPID { kValue = DISPID_VALUE, kName = 1, kType, kDefinedSize };
  Field(std::shared_ptr<Recordset> rs, std::size_t index)
      : DispatchObject(L"ADODB.Field",
                       {{L"Value", kValue}, {L"Name", kName}, {L"Type", kType}, {L"DefinedSize", kDefinedSize}}),
        rs_(std::move(rs)),
        index_(index) {}

 protected:
  HRESULT Invoke(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) override {
    if (index_ >= rs_->FieldCount()) NotFound();
    const recordset::Column& column = rs_->FieldAt(index_);
    switch (id) {
      case kValue:
        if (IsPut(flags)) {
          rs_->SetValue(column.name, ToValue(PutValue(params)));
          return S_OK;
        }
        if (result) FromValue(rs_->GetValue(column.name), result);
        return S_OK;
      case kName:
        SetText(result, column.name);
        return S_OK;
      case kType:
        SetInt32(result, recordset::AdoCode(column.type));
        return S_OK;
      case kDefinedSize:
        SetInt32(result, DefinedSize(column));
        return S_OK;
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }

 private:
  std::shared_ptr<Recordset> rs_;
  std::size_t index_;
};

// The position of a field given by its number or (without regard to case) its name.
std::size_t FieldIndex(const Recordset& rs, const VARIANT* which) {
  if (!which) NotFound();
  Value key = ToValue(*which);
  if (key.is_number()) {
    double n = key.number();
    if (n < 0 || n >= static_cast<double>(rs.FieldCount())) NotFound();
    return static_cast<std::size_t>(n);
  }
  for (std::size_t i = 0; i < rs.FieldCount(); ++i)
    if (EqualsIgnoringCase(rs.FieldAt(i).name, key.text())) return i;
  NotFound();
}

// Item(index or name) of the field collection: the Field object, or with a put (fields("Name") = v, the
// field's default member) the field's value set.
HRESULT FieldItem(const std::shared_ptr<Recordset>& rs, WORD flags, const DISPPARAMS& params, VARIANT* result) {
  const std::size_t index = FieldIndex(*rs, Arg(params, 0));
  if (IsPut(flags)) {
    rs->SetValue(rs->FieldAt(index).name, ToValue(PutValue(params)));
    return S_OK;
  }
  HandOver(result, new Field(rs, index));
  return S_OK;
}

class Fields : public DispatchObject {
 public:
  enum : DISPID { kItem = DISPID_VALUE, kCount = 1 };
  explicit Fields(std::shared_ptr<Recordset> rs)
      : DispatchObject(L"ADODB.Fields", {{L"Item", kItem}, {L"Count", kCount}}), rs_(std::move(rs)) {}

 protected:
  HRESULT Invoke(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) override {
    switch (id) {
      case kCount:
        SetInt32(result, rs_->IsOpen() ? static_cast<long>(rs_->FieldCount()) : 0);
        return S_OK;
      case kItem:
        return FieldItem(rs_, flags, params, result);
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }

 private:
  std::shared_ptr<Recordset> rs_;
};

class AdoRecordset : public DispatchObject {
 public:
  enum : DISPID {
    kFields = DISPID_VALUE,  // the default member, as in ADO: rs("Name") is rs.Fields("Name")
    kOpen = 1,
    kClose,
    kState,
    kEof,
    kMoveNext,
    kMoveLast,
    kAddNew,
    kUpdate,
  };
  AdoRecordset()
      : DispatchObject(L"ADODB.Recordset", {{L"Open", kOpen},
                                            {L"Close", kClose},
                                            {L"State", kState},
                                            {L"EOF", kEof},
                                            {L"MoveNext", kMoveNext},
                                            {L"MoveLast", kMoveLast},
                                            {L"AddNew", kAddNew},
                                            {L"Update", kUpdate},
                                            {L"Fields", kFields}}),
        rs_(recordset::NewRecordset()) {}

 protected:
  HRESULT Invoke(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) override {
    switch (id) {
      case kOpen:
        Open(params);
        return S_OK;
      case kClose:
        rs_->Close();
        return S_OK;
      case kState:
        SetInt32(result, rs_->IsOpen() ? 1 : 0);
        return S_OK;
      case kEof:
        SetBool(result, rs_->Eof());
        return S_OK;
      case kMoveNext:
        rs_->MoveNext();
        return S_OK;
      case kMoveLast:
        rs_->MoveLast();
        return S_OK;
      case kAddNew: {
        const VARIANT* field = Arg(params, 0);
        if (!field) {
          rs_->AddNew();
          return S_OK;
        }
        const VARIANT* value = Arg(params, 1);
        rs_->AddNew(TextForm(ToValue(*field)), value ? ToValue(*value) : Value());
        return S_OK;
      }
      case kUpdate:
        rs_->Update();
        return S_OK;
      case kFields: {
        if (PositionalCount(params) == 0) {
          if (IsPut(flags)) return DISP_E_MEMBERNOTFOUND;
          HandOver(result, new Fields(rs_));
          return S_OK;
        }
        // rs("Name") and rs.Fields("Name") come as one call with the index: the collection's Item.
        return FieldItem(rs_, flags, params, result);
      }
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }

 private:
  void Open(const DISPPARAMS& params) {
    if (rs_->IsOpen()) throw Error(ErrorCode::kOpen, "Operation is not allowed when the object is open.");
    const std::string sql = TextArg(params, 0);
    const VARIANT* connection = Arg(params, 1);
    IUnknown* object = nullptr;
    if (connection && V_VT(connection) == VT_DISPATCH) object = V_DISPATCH(connection);
    if (connection && V_VT(connection) == VT_UNKNOWN) object = V_UNKNOWN(connection);
    if (!object) ConnectionUnusable();
    ShopConnection* shop = ShopConnection::From(object);
    if (!shop)
      throw Error(kWrongArguments,
                  "Arguments are of the wrong type, are out of acceptable range, or are in conflict with one "
                  "another.");
    if (!shop->database()) ConnectionUnusable();
    // Left out or unspecified (-1), as in ADO: a forward-only cursor and a read-only lock.
    long cursor = LongArg(params, 2, -1);
    long lock = LongArg(params, 3, -1);
    if (cursor == -1) cursor = static_cast<long>(recordset::CursorType::kForwardOnly);
    if (lock == -1) lock = static_cast<long>(recordset::LockType::kReadOnly);
    rs_->Open(sql, shop->database(), static_cast<recordset::CursorType>(cursor),
              static_cast<recordset::LockType>(lock), static_cast<int>(LongArg(params, 4, -1)));
  }

  std::shared_ptr<Recordset> rs_;
};

}  // namespace

IDispatch* NewAdoRecordset() { return new AdoRecordset(); }

}  // namespace cvimp::testhost
