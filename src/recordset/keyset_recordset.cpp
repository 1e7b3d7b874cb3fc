// The record set of this layer: every row of its statement is read at open (a keyset), records are
// changed in a buffer of their own and written back by their PKID, and new records are inserted and read
// back on Update. Every error it raises is also handed to the connection's ReportError.
#include <optional>
#include <utility>

#include "common/ascii_case.h"
#include "common/error.h"
#include "recordset/field_conversion.h"
#include "recordset/recordset.h"

namespace cvimp::recordset {
namespace {

constexpr char kOpenMessage[] = "Operation is not allowed when the object is open.";
constexpr char kClosedMessage[] = "Operation is not allowed when the object is closed.";
constexpr char kNotFoundMessage[] =
    "Item cannot be found in the collection corresponding to the requested name or ordinal.";
constexpr char kNoCurrentRecordMessage[] =
    "Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a current "
    "record.";
constexpr char kReadOnlyMessage[] =
    "Current Recordset does not support updating. This may be a limitation of the provider, or of the selected "
    "locktype.";

// One record: its field values (with any pending changes), which fields were assigned since it was read or
// saved, and the PKID by which it is written back (as read or as last saved).
struct Record {
  std::vector<Value> values;
  std::vector<bool> changed;
  std::optional<std::int64_t> key;

  bool has_changes() const {
    for (bool c : changed)
      if (c) return true;
    return false;
  }
  std::vector<std::pair<std::size_t, Value>> ChangedValues() const {
    std::vector<std::pair<std::size_t, Value>> out;
    for (std::size_t i = 0; i < values.size(); ++i)
      if (changed[i]) out.emplace_back(i, values[i]);
    return out;
  }
};

class KeysetRecordset final : public Recordset {
 public:
  void Open(std::string_view sql, std::shared_ptr<ActiveConnection> active, CursorType cursor, LockType lock,
            int options) override;
  bool IsOpen() const override { return open_; }
  void Close() override;
  bool Eof() const override;
  void MoveNext() override;
  void MoveLast() override;
  void AddNew() override;
  void AddNew(std::string_view field, const Value& value) override;
  void Update() override;
  std::size_t FieldCount() const override;
  const Column& FieldAt(std::size_t index) const override;
  Value GetValue(std::string_view field) const override;
  void SetValue(std::string_view field, const Value& value) override;

 private:
  // Hands the error to the connection's observer (with what was being done) and raises it.
  [[noreturn]] void Raise(const Error& error, const std::string& context) const;
  [[noreturn]] void Raise(ErrorCode code, const char* message, const std::string& context) const {
    Raise(Error(code, message), context);
  }
  void RequireOpen(const char* operation) const;
  void RequireWritable(const char* operation) const;
  std::size_t FieldIndex(std::string_view field, const char* operation) const;
  // The current record, or nullptr at end of file.
  const Record* Current() const;
  Record* Current() { return const_cast<Record*>(std::as_const(*this).Current()); }
  std::optional<std::int64_t> KeyOf(const Record& record) const;
  std::string Statement() const { return "(statement: " + sql_ + ")"; }

  bool open_ = false;
  std::shared_ptr<Connection> connection_;
  std::weak_ptr<Connection> last_connection_;  // for reporting errors of a closed record set
  std::string sql_;
  bool read_only_ = false;
  std::string table_;
  std::vector<Column> columns_;
  bool distinct_names_ = false;              // no name is that of two fields
  mutable std::size_t next_field_hint_ = 0;  // where FieldIndex looks first when the names are distinct
  std::optional<std::size_t> pkid_index_;
  std::vector<Record> records_;  // the rows read at open, then the records added and saved
  std::size_t position_ = 0;     // records_.size(): end of file
  std::optional<Record> added_;  // an added record not yet saved: the current record while it lasts
};

void KeysetRecordset::Raise(const Error& error, const std::string& context) const {
  std::shared_ptr<Connection> observer = connection_ ? connection_ : last_connection_.lock();
  if (observer) observer->ReportError(context + ": " + error.what());
  throw error;
}

void KeysetRecordset::RequireOpen(const char* operation) const {
  if (!open_) Raise(ErrorCode::kClosed, kClosedMessage, operation);
}

void KeysetRecordset::RequireWritable(const char* operation) const {
  if (read_only_) Raise(ErrorCode::kReadOnly, kReadOnlyMessage, std::string(operation) + " " + Statement());
}

std::size_t KeysetRecordset::FieldIndex(std::string_view field, const char* operation) const {
  // Fields are mostly named in their order (a copy walks them): the one after the last found comes first.
  const std::size_t hint = next_field_hint_;
  if (distinct_names_ && hint < columns_.size() && EqualsIgnoringCase(columns_[hint].name, field)) {
    next_field_hint_ = hint + 1;
    return hint;
  }
  for (std::size_t i = 0; i < columns_.size(); ++i)
    if (EqualsIgnoringCase(columns_[i].name, field)) {
      next_field_hint_ = i + 1;
      return i;
    }
  Raise(ErrorCode::kNotFound, kNotFoundMessage,
        std::string(operation) + " of field '" + std::string(field) + "' " + Statement());
}

const Record* KeysetRecordset::Current() const {
  if (added_) return &*added_;
  return position_ < records_.size() ? &records_[position_] : nullptr;
}

std::optional<std::int64_t> KeysetRecordset::KeyOf(const Record& record) const {
  if (!pkid_index_ || !record.values[*pkid_index_].is_integer()) return std::nullopt;
  return record.values[*pkid_index_].integer();
}

void KeysetRecordset::Open(std::string_view sql, std::shared_ptr<ActiveConnection> active, CursorType,
                           LockType lock, int) {
  auto context = [&] { return "Open " + std::string(sql); };
  if (open_) Raise(ErrorCode::kOpen, kOpenMessage, context());
  if (!active) Raise(ErrorCode::kObjectRequired, "Object variable not set", context());
  std::shared_ptr<Connection> connection = std::dynamic_pointer_cast<Connection>(std::move(active));
  if (!connection)
    Raise(ErrorCode::kInvalidArgument,
          "The connection cannot be used for this operation. It is either closed or invalid in this context.",
          context());
  last_connection_ = connection;
  QueryResult result;
  try {
    result = connection->Query(sql);
  } catch (const Error& e) {
    connection->ReportError(context() + ": " + e.what());
    throw;
  }
  connection_ = std::move(connection);
  sql_ = std::string(sql);
  read_only_ = lock == LockType::kReadOnly;
  table_ = std::move(result.table);
  columns_ = std::move(result.columns);
  distinct_names_ = result.distinct_names;
  next_field_hint_ = 0;
  pkid_index_.reset();
  for (std::size_t i = 0; i < columns_.size(); ++i)
    if (EqualsIgnoringCase(columns_[i].name, "PKID")) {
      pkid_index_ = i;
      break;
    }
  records_.clear();
  records_.reserve(result.rows.size());
  for (auto& row : result.rows) {
    Record record{std::move(row), std::vector<bool>(columns_.size(), false), std::nullopt};
    record.key = KeyOf(record);
    records_.push_back(std::move(record));
  }
  position_ = 0;
  added_.reset();
  open_ = true;
}

void KeysetRecordset::Close() {
  RequireOpen("Close");
  open_ = false;
  connection_.reset();
  sql_.clear();
  table_.clear();
  columns_.clear();
  records_.clear();
  added_.reset();
  position_ = 0;
}

bool KeysetRecordset::Eof() const {
  RequireOpen("EOF");
  return Current() == nullptr;
}

void KeysetRecordset::MoveNext() {
  RequireOpen("MoveNext");
  if (added_) {
    // The unsaved added record is dropped; it stood after the last record.
    added_.reset();
    position_ = records_.size();
    return;
  }
  if (position_ >= records_.size())
    Raise(ErrorCode::kNoCurrentRecord, kNoCurrentRecordMessage, "MoveNext " + Statement());
  ++position_;
}

void KeysetRecordset::MoveLast() {
  RequireOpen("MoveLast");
  added_.reset();
  if (records_.empty()) {
    position_ = 0;
    Raise(ErrorCode::kNoCurrentRecord, kNoCurrentRecordMessage, "MoveLast " + Statement());
  }
  position_ = records_.size() - 1;
}

void KeysetRecordset::AddNew() {
  RequireOpen("AddNew");
  RequireWritable("AddNew");
  added_ = Record{std::vector<Value>(columns_.size()), std::vector<bool>(columns_.size(), false), std::nullopt};
}

void KeysetRecordset::AddNew(std::string_view field, const Value& value) {
  AddNew();
  SetValue(field, value);
}

void KeysetRecordset::Update() {
  RequireOpen("Update");
  RequireWritable("Update");
  Record* record = Current();
  if (!record) Raise(ErrorCode::kNoCurrentRecord, kNoCurrentRecordMessage, "Update " + Statement());
  if (!added_ && !record->has_changes()) return;
  if (table_.empty())
    Raise(ErrorCode::kReadOnly, kReadOnlyMessage, "Update: the fields are not the columns of one table " + Statement());
  if (added_) {
    std::vector<Value> stored;
    try {
      stored = connection_->Insert(table_, columns_, record->ChangedValues());
    } catch (const Error& e) {
      Raise(e, "Update (insert into " + table_ + ") " + Statement());
    }
    Record saved{std::move(stored), std::vector<bool>(columns_.size(), false), std::nullopt};
    saved.key = KeyOf(saved);
    added_.reset();
    records_.push_back(std::move(saved));
    position_ = records_.size() - 1;
    return;
  }
  if (!record->key)
    Raise(Error(ErrorCode::kDatabase, "The record has no PKID to be written back by"), "Update " + Statement());
  try {
    connection_->UpdateRow(table_, columns_, *record->key, record->ChangedValues());
  } catch (const Error& e) {
    Raise(e, "Update (PKID " + std::to_string(*record->key) + " of " + table_ + ") " + Statement());
  }
  record->changed.assign(columns_.size(), false);
  record->key = KeyOf(*record);
}

std::size_t KeysetRecordset::FieldCount() const {
  RequireOpen("Fields");
  return columns_.size();
}

const Column& KeysetRecordset::FieldAt(std::size_t index) const {
  RequireOpen("Fields");
  if (index >= columns_.size())
    Raise(ErrorCode::kNotFound, kNotFoundMessage, "Field number " + std::to_string(index) + " " + Statement());
  return columns_[index];
}

Value KeysetRecordset::GetValue(std::string_view field) const {
  RequireOpen("Reading a field");
  std::size_t index = FieldIndex(field, "Reading");
  const Record* record = Current();
  if (!record)
    Raise(ErrorCode::kNoCurrentRecord, kNoCurrentRecordMessage,
          "Reading field '" + std::string(field) + "' " + Statement());
  return record->values[index];
}

void KeysetRecordset::SetValue(std::string_view field, const Value& value) {
  RequireOpen("Writing a field");
  const std::size_t index = FieldIndex(field, "Writing");
  // What is being done, for the report of an error; built only when one is raised.
  auto context = [&] {
    return "Writing " + value.Describe() + " to field '" + columns_[index].name + "' " + Statement();
  };
  if (read_only_) Raise(ErrorCode::kReadOnly, kReadOnlyMessage, context());
  Record* record = Current();
  if (!record) Raise(ErrorCode::kNoCurrentRecord, kNoCurrentRecordMessage, context());
  try {
    record->values[index] = ConvertForField(columns_[index], value);
  } catch (const Error& e) {
    Raise(e, context());
  }
  record->changed[index] = true;
}

}  // namespace

std::unique_ptr<Recordset> NewRecordset() { return std::make_unique<KeysetRecordset>(); }

}  // namespace cvimp::recordset
