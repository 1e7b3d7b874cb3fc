// The record import pattern: the one loop that every table importer runs over the items of its catalogue
// section. For each item it shows progress, reads the natural key, opens the working recordset on the lookup
// statement, creates the record when it is missing and the update mode allows it, copies the item's values
// field by field (CopyField, or a field's own rule), saves, notes NewPKID where the importer translates
// keys, and closes the recordset.
//
// An importer is a TableImport: a declaration of its section, start text, natural key, skipped fields,
// error regime and departures. Reading one tells what the importer does without re-reading the loop.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/document.h"
#include "catalog/value_helpers.h"
#include "common/ascii_case.h"
#include "common/error_regime.h"
#include "plugin/import_tracker.h"
#include "plugin/manager.h"
#include "recordset/recordset.h"

namespace cvimp::importers {

// One part of a natural key: the item's attribute it is read from and the table field it is compared with.
// A text part is read with NzText (default empty), passed through SqlQuote and compared in single quotes;
// a number part is read with NzLong (default 0), narrowed to `bits`, and written in decimal without quotes.
struct KeyPart {
  enum class Kind { kText, kNumber };
  Kind kind;
  std::string_view attribute;
  std::string_view field;
  int bits = 32;

  static KeyPart Text(std::string_view attribute, std::string_view field) { return {Kind::kText, attribute, field}; }
  static KeyPart Text(std::string_view name) { return Text(name, name); }
  static KeyPart Number(std::string_view name, int bits = 32) { return {Kind::kNumber, name, name, bits}; }
};

// The item in hand, as the pattern and an importer's departures see it. Its values live across items.
struct Item {
  plugin::Manager& manager;
  catalog::Node node;
  std::vector<Value> key;     // the natural key's values, one per KeyPart
  std::int32_t own_pkid = 0;  // the item's PKID, for importers that preset NewPKID
  bool created_here = false;
  std::map<std::string, Value, std::less<>> values{};  // named values an importer computes before its lookup

  recordset::Recordset& recordset() const;  // the Manager's working recordset, looked up at each use
  const Value& key_value(std::size_t part = 0) const { return key.at(part); }
  // A named value (Null when it was never computed).
  const Value& value(std::string_view name) const;
  Value& set(std::string_view name);
};

// Where an importer notes the record's key on the item, for later sections to translate through:
// kNone:          never;
// kFromRecord:    the record's PKID, written when the field copy starts, so an item whose record is not
//                 written (mode 1 and it exists, mode 2 and it does not) has no NewPKID;
// kPresetToPkid:  first the item's own PKID, before the lookup, then the record's PKID as above, so an item
//                 whose record is not written translates to its catalogue key.
enum class NewPkid { kNone, kFromRecord, kPresetToPkid };

// How a field is written instead of by CopyField.
using FieldRule = std::function<void(Item&, std::string_view field)>;
// How a missing record is created (before the pattern saves it and moves to it).
using CreateRule = std::function<void(Item&)>;

// How the values an importer needs are computed from the item before the lookup (read, then translated).
using PrepareRule = std::function<void(Item&)>;
// The lookup statement, where it is not the one the key parts make.
using StatementRule = std::function<std::string(Item&)>;

// A create rule: an add without fields, then each field set to the named value the importer computed.
CreateRule AddWith(std::vector<std::pair<std::string_view, std::string_view>> fields_and_values);

// Field rules shared by the declarations: a fixed value; a value the importer computed before its lookup.
FieldRule Fixed(Value value);
FieldRule Computed(std::string_view name);

// A computed whole number in decimal, as the lookup statements write numbers.
inline std::string DecimalText(const Value& number) { return std::to_string(number.integer()); }

// An importer. Every declaration names its error regime (there is no default).
struct TableImport {
  std::string_view section{};               // catalogue section and table, e.g. "Currencies"
  std::string_view start_text{};            // empty: the importer shows none of its own
  std::vector<KeyPart> key{};               // the natural key, parts joined with " AND "
  std::vector<std::string_view> skipped{};  // fields the copy leaves out
  NewPkid new_pkid = NewPkid::kNone;
  ErrorRegime on_error;
  PrepareRule prepare{};      // runs after the key parts are read, before the statement is built
  StatementRule statement{};  // empty: "SELECT * FROM <Table> WHERE " and the key parts
  CreateRule create{};        // empty: add-new with the single key field set to the key
  std::map<std::string, FieldRule, std::less<>> field_rules{};  // fields with a rule of their own
};

// Runs the pattern over the section's items.
void RunTableImport(plugin::Manager& manager, const TableImport& import);

// The lookup statement of an item: "SELECT * FROM <Table> WHERE <Field>='<quoted>'" (parts joined by " AND ").
std::string LookupStatement(plugin::Manager& manager, const TableImport& import, const std::vector<Value>& key);

// Copies one value of the item into the field of the working recordset's current record, by the field's type:
// long text from the node value of the child the field name selects, whole numbers through NzLong, doubles
// through NzDouble, everything else as text through NzText.
void CopyField(plugin::Manager& manager, const recordset::Column& field, const catalog::Node& item);

// Host calls shared by the importers, each on a freshly fetched HostServices.
void ShowStatus(plugin::Manager& manager, std::string_view text);
void ShowItemProgress(plugin::Manager& manager, std::size_t count, std::size_t position, std::string_view text);
std::string SqlQuote(plugin::Manager& manager, const std::string& text);

// The text of an item's NewPKID attribute, for lookups that read it directly; a missing item, or a NewPKID
// that is absent or empty, is an error.
std::string NewPkidText(const catalog::Node& item);

// ---- Direct lookups of a referenced item's NewPKID (not through TranslateKey) ------------------------------

// "CalvoraCatalog/<S>/<S>Item[@PKID=<n>]" (key compared as a number); NzLong of its NewPKID, default 0. A
// missing item is an error.
std::int32_t LenientNewKey(const plugin::Manager& manager, std::string_view section, std::int32_t old_key);
// "CalvoraCatalog/<S>/<S>Item[@PKID='<n>']" (key compared as text); its NewPKID as a whole number without a
// default: a missing item and a missing or empty NewPKID are errors.
std::int32_t StrictNewKey(const plugin::Manager& manager, std::string_view section, std::int32_t old_key);
// "CalvoraCatalog/<S>/<S>Item[@PKID=<n>]" (key compared as a number); its NewPKID as a whole number without a
// default.
std::int32_t StrictNumberNewKey(const plugin::Manager& manager, std::string_view section, std::int32_t old_key);

// "//<S>Item[@PKID='<k>']" (anywhere in the document, `key` as it stands); its NewPKID as a whole number
// without a default.
std::int32_t AnywhereNewKey(const plugin::Manager& manager, std::string_view section, const std::string& key);

// A whole number narrowed to 16 bits; one that does not fit is an overflow.
std::int16_t ToInt16(std::int32_t n);

// The working recordset, or the error that there is none.
recordset::Recordset& WorkingRecordset(const plugin::Manager& manager);

// ---- Steps shared by the importers written as routines of their own ---------------------------------------

// The start of an importer: its status text (none when empty) and the items of its section in document
// order, each a statement of the importer's regime.
catalog::NodeList StartSection(plugin::Manager& manager, const ErrorRegime& on_error, std::string_view section,
                               std::string_view start_text);

// The second pass over the items of a tree (folders, categories), once every item has its NewPKID. For each
// item whose parent key (the attribute `parent_field`) is above 0: the parent item is selected by that key as
// text, the target record with the item's NewPKID is opened, and, when found, its parent field gets the
// parent item's NewPKID (0 when it has none) and is saved. No progress is shown.
void SetTreeParents(plugin::Manager& manager, const ErrorRegime& on_error, const catalog::NodeList& items,
                    std::string_view section, std::string_view parent_field);

// Keeps the statement as the Manager's last statement text and opens the working recordset on it (keyset
// cursor, optimistic locking, the host's connection).
void OpenLookup(plugin::Manager& manager, const std::string& sql);

// Whether the field is the one named, or one of those named (field names compare without regard to case).
inline bool IsField(const recordset::Column& field, std::string_view name) {
  return EqualsIgnoringCase(field.name, name);
}
inline bool IsOneOf(const recordset::Column& field, std::initializer_list<std::string_view> names) {
  for (std::string_view name : names)
    if (IsField(field, name)) return true;
  return false;
}

// The item's attribute as text (default empty) converted to a whole number: empty or not numeric is an error.
std::int32_t WholeNumberAttribute(const catalog::Node& item, std::string_view attribute);

// Whether the update mode lets a missing record be created (0 and 1), and an existing one be filled (0 and 2,
// or any mode when the item created it).
inline bool ModeCreates(std::int16_t mode) { return mode == 0 || mode == 1; }
inline bool ModeUpdates(std::int16_t mode, bool created_here) { return mode == 0 || mode == 2 || created_here; }

// Walks the fields of the working recordset's current record in their order; reading the field list and each
// field is a statement of the caller's regime.
// With an observer, the tracker hears of the field in hand, and of none once the walk is done.
template <class Visit>
void ForEachField(plugin::Manager& manager, const ErrorRegime& on_error, Visit&& visit) {
  plugin::ImportTracker* const tracker = manager.tracker();
  std::size_t count = 0;
  on_error([&] { count = WorkingRecordset(manager).FieldCount(); });
  for (std::size_t f = 0; f < count; ++f) {
    recordset::Column field;
    if (!on_error([&] { field = WorkingRecordset(manager).FieldAt(f); })) continue;
    if (tracker) tracker->Field(field.name);
    visit(field);
  }
  if (tracker) tracker->Field({});
}

// ---- What the importers written as routines of their own tell the host's observer ------------------------
// Each does nothing without an observer.

// The natural key of the section's items, read as these attributes.
inline void TrackKey(plugin::Manager& manager, std::initializer_list<std::string_view> attributes) {
  if (plugin::ImportTracker* tracker = manager.tracker()) tracker->SetKey(attributes);
}
// The item in hand (1-based position; 0 and no node once the loop is done).
inline void TrackItem(plugin::Manager& manager, std::size_t position, const catalog::Node& node) {
  if (plugin::ImportTracker* tracker = manager.tracker()) tracker->Item(position, node);
}
// Whether the working recordset holds a record, asked only when an observer listens.
inline bool TrackFound(plugin::Manager& manager) {
  return manager.tracker() && catalog::RecordFound(manager.working_recordset());
}
// What became of the item's record (ImportTracker::Outcome); `key` names a record that is not the item's own.
inline void TrackOutcome(plugin::Manager& manager, std::string_view table, bool found, bool created, bool saved,
                         const std::string& key = {}) {
  if (plugin::ImportTracker* tracker = manager.tracker())
    tracker->Outcome(table, found, created, saved, manager.update_mode(), key);
}

// The PKID of the working recordset's current record as a 32-bit whole number; no current record, or a key
// that is not such a number, is an error.
std::int32_t RecordKey(const plugin::Manager& manager);

// Whether the media check box of the settings page is checked (asked afresh at every use).
bool MediaImportChecked(const plugin::Manager& manager);

// A media key field (a product's picture, a page's thumbnail): the text of the NewPKID of the media item
// "//MediaItem[@PKID='n']", n being the item's attribute read as a whole number; nothing (the field is not
// written) when the attribute is absent or "0" or media are not imported. A media item that is missing or has
// no NewPKID is an error.
std::optional<std::string> MediaKeyText(const plugin::Manager& manager, const catalog::Node& item,
                                        std::string_view attribute);

}  // namespace cvimp::importers
