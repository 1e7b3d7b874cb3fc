// The record-set layer on ADO: one "ADODB.Recordset" object per record set, called by member name. ADO's
// own behaviour (cursors, conversions on assignment, what a closed record set refuses) passes through as
// it is; errors raised by ADO become cvimp::Error with ADO's description.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "com/automation/dispatch_call.h"
#include "recordset/recordset.h"

namespace cvimp::com {

class AdoRecordset : public recordset::Recordset {
 public:
  // Over an ADO record set object (created by ProgID by the platform).
  explicit AdoRecordset(DispatchRef recordset) : rs_(std::move(recordset)) {}

  // Accepts only an AutomationConnection (the host's connection as it handed it out); nullptr raises
  // kObjectRequired, another kind of connection kInvalidArgument. The columns are read once here.
  void Open(std::string_view sql, std::shared_ptr<recordset::ActiveConnection> connection,
            recordset::CursorType cursor = recordset::CursorType::kKeyset,
            recordset::LockType lock = recordset::LockType::kOptimistic, int options = -1) override;
  bool IsOpen() const override;  // ADO's State has adStateOpen (1) set
  void Close() override;

  bool Eof() const override;
  void MoveNext() override;
  void MoveLast() override;

  void AddNew() override;
  void AddNew(std::string_view field, const Value& value) override;
  void Update() override;

  std::size_t FieldCount() const override { return columns_.size(); }
  const recordset::Column& FieldAt(std::size_t index) const override;
  Value GetValue(std::string_view field) const override;
  void SetValue(std::string_view field, const Value& value) override;

  const DispatchRef& object() const { return rs_; }

 private:
  void ReadColumns();
  DispatchRef rs_;
  std::vector<recordset::Column> columns_;
};

// The core error of an ADO failure: ADO's error number when it is one the core knows (3021, 3251, 3265,
// 3704, 3705 and the runtime's 5, 6, 13, 91), else kDatabase; the message is ADO's description.
Error AdoError(const AutomationError& e);

}  // namespace cvimp::com
