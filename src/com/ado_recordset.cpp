#include "com/ado_recordset.h"

#include <string>

#include "com/automation_host.h"
#include "common/error.h"

namespace cvimp::com {

namespace {

constexpr std::int32_t kStateOpen = 1;  // adStateOpen

// Runs one call on ADO, with its errors as the core's.
template <class Call>
auto Ado(Call&& call) -> decltype(call()) {
  try {
    return call();
  } catch (const AutomationError& e) {
    throw AdoError(e);
  }
}

}  // namespace

Error AdoError(const AutomationError& e) {
  ErrorCode code = ErrorCode::kDatabase;
  switch (e.code()) {
    case ErrorCode::kInvalidArgument:
    case ErrorCode::kOverflow:
    case ErrorCode::kTypeMismatch:
    case ErrorCode::kObjectRequired:
    case ErrorCode::kNotFound:
    case ErrorCode::kClosed:
    case ErrorCode::kOpen:
    case ErrorCode::kDatabase:
    case ErrorCode::kReadOnly:
    case ErrorCode::kNoCurrentRecord:
      code = e.code();
      break;
  }
  return Error(code, e.description());
}

void AdoRecordset::Open(std::string_view sql, std::shared_ptr<recordset::ActiveConnection> connection,
                        recordset::CursorType cursor, recordset::LockType lock, int options) {
  if (!connection) throw Error(ErrorCode::kObjectRequired, "Object variable not set: no active connection");
  const auto* automation = dynamic_cast<const AutomationConnection*>(connection.get());
  if (!automation)
    throw Error(ErrorCode::kInvalidArgument,
                "Invalid procedure call or argument: the connection is not an automation connection");
  Ado([&] {
    rs_.Call("Open", sql, automation->connection(), static_cast<std::int32_t>(cursor), static_cast<std::int32_t>(lock),
             static_cast<std::int32_t>(options));
  });
  columns_.clear();
  Ado([&] { ReadColumns(); });
}

void AdoRecordset::ReadColumns() {
  const DispatchRef fields = DispatchRef::FromVariant(rs_.Call("Fields").get());
  const std::int32_t count = fields.Call("Count").AsInt32();
  std::vector<recordset::Column> columns;
  columns.reserve(static_cast<std::size_t>(count > 0 ? count : 0));
  for (std::int32_t i = 0; i < count; ++i) {
    const DispatchRef field = DispatchRef::FromVariant(fields.Call("Item", i).get());
    recordset::Column column;
    column.name = field.Call("Name").AsText();
    // The core's data types carry ADO's type codes; any other code passes through as it is.
    column.type = static_cast<recordset::DataType>(field.Call("Type").AsInt32());
    column.size = field.Call("DefinedSize").AsInt32();
    columns.push_back(std::move(column));
  }
  columns_ = std::move(columns);
}

bool AdoRecordset::IsOpen() const {
  return Ado([&] { return (rs_.Call("State").AsInt32() & kStateOpen) != 0; });
}

void AdoRecordset::Close() {
  Ado([&] { rs_.Call("Close"); });
  columns_.clear();
}

bool AdoRecordset::Eof() const {
  return Ado([&] { return rs_.Call("EOF").AsBool(); });
}

void AdoRecordset::MoveNext() {
  Ado([&] { rs_.Call("MoveNext"); });
}

void AdoRecordset::MoveLast() {
  Ado([&] { rs_.Call("MoveLast"); });
}

void AdoRecordset::AddNew() {
  Ado([&] { rs_.Call("AddNew"); });
}

void AdoRecordset::AddNew(std::string_view field, const Value& value) {
  Ado([&] { rs_.Call("AddNew", field, value); });
}

void AdoRecordset::Update() {
  Ado([&] { rs_.Call("Update"); });
}

const recordset::Column& AdoRecordset::FieldAt(std::size_t index) const {
  if (index >= columns_.size())
    throw Error(ErrorCode::kNotFound,
                "Item cannot be found in the collection corresponding to the requested name or ordinal.");
  return columns_[index];
}

Value AdoRecordset::GetValue(std::string_view field) const {
  return Ado([&] {
    const DispatchRef fields = DispatchRef::FromVariant(rs_.Call("Fields").get());
    const DispatchRef item = DispatchRef::FromVariant(fields.Call("Item", field).get());
    return ToValue(item.Call("Value").get());
  });
}

void AdoRecordset::SetValue(std::string_view field, const Value& value) {
  Ado([&] {
    const DispatchRef fields = DispatchRef::FromVariant(rs_.Call("Fields").get());
    const DispatchRef item = DispatchRef::FromVariant(fields.Call("Item", field).get());
    item.Put("Value", FromValue(value));
  });
}

}  // namespace cvimp::com
