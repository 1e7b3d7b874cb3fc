// The record-set layer as the plug-in core sees it: record sets with ADO semantics over a database
// connection. The semantics (open/close rules, the current record, conversions on assignment, added and
// changed records) are this layer's own and the same for every backend; a backend is a Connection.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/value.h"
#include "recordset/data_type.h"

namespace cvimp::recordset {

enum class CursorType : int { kForwardOnly = 0, kKeyset = 1, kDynamic = 2, kStatic = 3 };
enum class LockType : int { kReadOnly = 1, kPessimistic = 2, kOptimistic = 3, kBatchOptimistic = 4 };

// A column of a result: its name, its type and, for VARCHAR(n), n (0 when unbounded).
struct Column {
  std::string name;
  DataType type = DataType::kVarWChar;
  int size = 0;
};

// What a backend returns for a statement: the table it reads (for writing records back), the columns in
// order and the rows read at once (a keyset). Values are the stored values in their field types.
struct QueryResult {
  std::string table;
  std::vector<Column> columns;
  std::vector<std::vector<Value>> rows;
  bool distinct_names = false;  // true when no two columns have the same name (without regard to case)
};

// What a record set is opened on: the host's database connection. Each kind of record set accepts the
// connections of its own kind (this layer's record sets a Connection below; another record-set layer the
// connection objects it understands) and refuses any other when it is opened.
class ActiveConnection {
 public:
  virtual ~ActiveConnection() = default;
};

// A database connection of this layer: what a backend does. Every method raises cvimp::Error (kDatabase)
// when the database refuses.
class Connection : public ActiveConnection {
 public:

  // Runs a select, after translating it from the host's dialect.
  virtual QueryResult Query(std::string_view sql) = 0;
  // Inserts a row with the given (already converted) values and returns the whole row as stored, defaults
  // and generated PKID included, in the columns' order.
  virtual std::vector<Value> Insert(const std::string& table, const std::vector<Column>& columns,
                                    const std::vector<std::pair<std::size_t, Value>>& values) = 0;
  // Writes the given columns of the row whose PKID is `pkid`.
  virtual void UpdateRow(const std::string& table, const std::vector<Column>& columns, std::int64_t pkid,
                         const std::vector<std::pair<std::size_t, Value>>& values) = 0;

  // Every error that this connection's record sets raise is also handed here (statement or field, and
  // the reason), so that a host can show why a routine ended. Empty by default.
  using ErrorObserver = std::function<void(const std::string& what)>;
  void set_error_observer(ErrorObserver observer) { observer_ = std::move(observer); }
  void ReportError(const std::string& what) const {
    if (observer_) observer_(what);
  }

 private:
  ErrorObserver observer_;
};

// One record set: lives through Open and Close any number of times.
class Recordset {
 public:
  virtual ~Recordset() = default;

  // Raises kOpen when already open, kObjectRequired without a connection, kInvalidArgument for a connection
  // of another kind; a statement the database refuses raises and leaves it closed.
  virtual void Open(std::string_view sql, std::shared_ptr<ActiveConnection> connection,
                    CursorType cursor = CursorType::kKeyset, LockType lock = LockType::kOptimistic,
                    int options = -1) = 0;
  virtual bool IsOpen() const = 0;
  virtual void Close() = 0;  // raises kClosed when closed

  virtual bool Eof() const = 0;  // raises kClosed when closed
  virtual void MoveNext() = 0;
  virtual void MoveLast() = 0;

  virtual void AddNew() = 0;
  virtual void AddNew(std::string_view field, const Value& value) = 0;
  virtual void Update() = 0;

  // The fields of the open record set, in order.
  virtual std::size_t FieldCount() const = 0;
  virtual const Column& FieldAt(std::size_t index) const = 0;
  // By name, without regard to case; an unknown name raises kNotFound.
  virtual Value GetValue(std::string_view field) const = 0;
  virtual void SetValue(std::string_view field, const Value& value) = 0;
};

// A new, closed record set of this layer.
std::unique_ptr<Recordset> NewRecordset();

}  // namespace cvimp::recordset
