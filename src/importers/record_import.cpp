#include "importers/record_import.h"

#include <algorithm>
#include <limits>

#include "catalog/value_helpers.h"
#include "common/ascii_case.h"
#include "common/error.h"
#include "common/numeric.h"
#include "plugin/import_tracker.h"
#include "settings/frm_vel_xml_settings.h"

namespace cvimp::importers {
namespace {

bool Skipped(const TableImport& import, std::string_view field) {
  return std::any_of(import.skipped.begin(), import.skipped.end(),
                     [&](std::string_view s) { return EqualsIgnoringCase(s, field); });
}

const FieldRule* RuleFor(const TableImport& import, std::string_view field) {
  for (const auto& [name, rule] : import.field_rules)
    if (EqualsIgnoringCase(name, field)) return &rule;
  return nullptr;
}

// A key part as read from the item: text through NzText, numbers through NzLong and narrowed to the part's
// width (a value that does not fit is an overflow, as any narrowing is).
Value ReadKeyPart(const catalog::Node& item, const KeyPart& part) {
  const Value raw = item.GetAttribute(part.attribute);
  if (part.kind == KeyPart::Kind::kText) return catalog::NzText(raw, "");
  const std::int32_t n = catalog::NzLong(raw, 0);
  return part.bits == 16 ? Value(ToInt16(n)) : Value(n);
}

}  // namespace

recordset::Recordset& Item::recordset() const { return WorkingRecordset(manager); }

const Value& Item::value(std::string_view name) const {
  static const Value kNull;
  auto found = values.find(name);
  return found == values.end() ? kNull : found->second;
}

Value& Item::set(std::string_view name) {
  auto found = values.find(name);
  if (found == values.end()) found = values.emplace(std::string(name), Value()).first;
  return found->second;
}

recordset::Recordset& WorkingRecordset(const plugin::Manager& manager) {
  recordset::Recordset* rs = manager.working_recordset();
  if (!rs) throw Error(ErrorCode::kObjectRequired, "Object variable not set: no working recordset");
  return *rs;
}

void ShowStatus(plugin::Manager& manager, std::string_view text) {
  plugin::Use(plugin::Use(manager.host_api()).Services()).ShowProgress(0, 0, std::string(text), 0);
}

void ShowItemProgress(plugin::Manager& manager, std::size_t count, std::size_t position, std::string_view text) {
  plugin::Use(plugin::Use(manager.host_api()).Services())
      .ShowProgress(static_cast<std::int32_t>(count), static_cast<std::int32_t>(position), std::string(text), 0);
}

std::string SqlQuote(plugin::Manager& manager, const std::string& text) {
  return plugin::Use(plugin::Use(plugin::Use(manager.host_api()).Tools()).GetStringTools()).SqlQuote(text);
}

std::string NewPkidText(const catalog::Node& item) {
  std::string text = item.AttributeText("NewPKID");
  if (text.empty()) throw Error(ErrorCode::kObjectRequired, "The item has no NewPKID");
  return text;
}

void OpenLookup(plugin::Manager& manager, const std::string& sql) {
  manager.set_last_sql(sql);
  WorkingRecordset(manager).Open(sql, plugin::Use(manager.host_api()).Connection(), recordset::CursorType::kKeyset,
                                 recordset::LockType::kOptimistic, -1);
}

catalog::NodeList StartSection(plugin::Manager& manager, const ErrorRegime& on_error, std::string_view section,
                               std::string_view start_text) {
  if (!start_text.empty()) on_error([&] { ShowStatus(manager, start_text); });
  catalog::NodeList items;
  on_error([&] { items = plugin::Use(manager.catalog_document()).SectionItems(section); });
  return items;
}

void SetTreeParents(plugin::Manager& manager, const ErrorRegime& on_error, const catalog::NodeList& items,
                    std::string_view section, std::string_view parent_field) {
  std::int32_t new_key = 0, parent = 0;
  std::size_t position = 0;
  for (const catalog::Node& item : items) {
    TrackItem(manager, ++position, item);
    on_error([&] { new_key = catalog::NzLong(item.GetAttribute("NewPKID"), 0); });
    on_error([&] { parent = catalog::NzLong(item.GetAttribute(parent_field), 0); });
    if (parent <= 0) continue;
    catalog::Node parent_item;
    on_error(
        [&] { parent_item = plugin::Use(manager.catalog_document()).ItemByText(section, std::to_string(parent)); });
    on_error([&] {
      OpenLookup(manager, "SELECT * FROM " + std::string(section) + " WHERE PKID=" + std::to_string(new_key));
    });
    if (catalog::RecordFound(manager.working_recordset())) {
      on_error([&] {
        WorkingRecordset(manager).SetValue(parent_field, catalog::NzLong(parent_item.GetAttribute("NewPKID"), 0));
      });
      on_error([&] { WorkingRecordset(manager).Update(); });
    }
    on_error([&] { WorkingRecordset(manager).Close(); });
  }
  TrackItem(manager, 0, {});
}

std::int32_t RecordKey(const plugin::Manager& manager) {
  return TextToLong(TextForm(WorkingRecordset(manager).GetValue("PKID")), "the record's PKID");
}

bool MediaImportChecked(const plugin::Manager& manager) {
  return manager.Form().chkImportMedia().Value != settings::CheckBox::kUnchecked;
}

std::optional<std::string> MediaKeyText(const plugin::Manager& manager, const catalog::Node& item,
                                        std::string_view attribute) {
  const Value value = item.GetAttribute(attribute);
  if (value.is_null() || value.text() == "0" || !MediaImportChecked(manager)) return std::nullopt;
  const std::int32_t key = TextToLong(value.text(), attribute);
  return NewPkidText(plugin::Use(manager.catalog_document()).ItemAnywhere("Media", std::to_string(key)));
}

CreateRule AddWith(std::vector<std::pair<std::string_view, std::string_view>> fields_and_values) {
  return [fields_and_values](Item& item) {
    item.recordset().AddNew();
    for (const auto& [field, name] : fields_and_values) item.recordset().SetValue(field, item.value(name));
  };
}

std::int32_t LenientNewKey(const plugin::Manager& manager, std::string_view section, std::int32_t old_key) {
  const catalog::Node item = plugin::Use(manager.catalog_document()).ItemByNumber(section, old_key);
  return catalog::NzLong(item.GetAttribute("NewPKID"), 0);
}

namespace {
// The item's NewPKID as a whole number without a default: no item, and a missing or empty NewPKID, are errors.
std::int32_t StrictKey(const catalog::Node& item) { return TextToLong(NewPkidText(item), "NewPKID"); }
}  // namespace

std::int32_t StrictNewKey(const plugin::Manager& manager, std::string_view section, std::int32_t old_key) {
  return StrictKey(plugin::Use(manager.catalog_document()).ItemByText(section, std::to_string(old_key)));
}

std::int32_t StrictNumberNewKey(const plugin::Manager& manager, std::string_view section, std::int32_t old_key) {
  return StrictKey(plugin::Use(manager.catalog_document()).ItemByNumber(section, old_key));
}

std::int32_t AnywhereNewKey(const plugin::Manager& manager, std::string_view section, const std::string& key) {
  return StrictKey(plugin::Use(manager.catalog_document()).ItemAnywhere(section, key));
}

std::int32_t WholeNumberAttribute(const catalog::Node& item, std::string_view attribute) {
  return TextToLong(catalog::NzText(item.GetAttribute(attribute), ""), attribute);
}

FieldRule Fixed(Value value) {
  return [value](Item& item, std::string_view field) { item.recordset().SetValue(field, value); };
}

FieldRule Computed(std::string_view name) {
  return [name](Item& item, std::string_view field) { item.recordset().SetValue(field, item.value(name)); };
}

std::int16_t ToInt16(std::int32_t n) {
  if (n < std::numeric_limits<std::int16_t>::min() || n > std::numeric_limits<std::int16_t>::max())
    throw Error(ErrorCode::kOverflow, "Overflow: " + std::to_string(n) + " does not fit a 16-bit integer");
  return static_cast<std::int16_t>(n);
}

std::string LookupStatement(plugin::Manager& manager, const TableImport& import, const std::vector<Value>& key) {
  std::string sql = "SELECT * FROM " + std::string(import.section) + " WHERE ";
  for (std::size_t i = 0; i < import.key.size(); ++i) {
    const KeyPart& part = import.key[i];
    if (i > 0) sql += " AND ";
    sql += part.field;
    if (part.kind == KeyPart::Kind::kText)
      sql += "='" + SqlQuote(manager, key[i].text()) + "'";
    else
      sql += "=" + NumberToText(key[i].integer());
  }
  return sql;
}

void CopyField(plugin::Manager& manager, const recordset::Column& field, const catalog::Node& item) {
  using recordset::DataType;
  Value value;
  switch (field.type) {
    case DataType::kLongVarChar:
    case DataType::kLongVarWChar:
      value = catalog::NzText(item.ChildElement(field.name).NodeValue(), "");
      break;
    case DataType::kInteger:
    case DataType::kBigInt:
      value = catalog::NzLong(item.GetAttribute(field.name), 0);
      break;
    case DataType::kDouble:
      value = catalog::NzDouble(item.GetAttribute(field.name), 0.0);
      break;
    default:
      value = catalog::NzText(item.GetAttribute(field.name), "");
      break;
  }
  WorkingRecordset(manager).SetValue(field.name, value);
}

void RunTableImport(plugin::Manager& manager, const TableImport& import) {
  const ErrorRegime& on_error = import.on_error;
  plugin::ImportTracker* const tracker = manager.tracker();
  if (tracker) {
    std::vector<std::string> key;
    for (const KeyPart& part : import.key) key.emplace_back(part.attribute);
    tracker->SetKey(std::move(key));
  }

  const catalog::NodeList items = StartSection(manager, on_error, import.section, import.start_text);
  const std::size_t count = items.size();

  // The item's values live across items: where a statement fails in an importer that skips failing
  // statements, its value stays what the previous item left.
  Item item{manager, {}, std::vector<Value>(import.key.size()), 0, false};
  std::string sql;
  for (std::size_t i = 1; i <= count; ++i) {
    item.node = items[i - 1];
    if (tracker) tracker->Item(i, item.node);
    on_error([&] { ShowItemProgress(manager, count, i, ""); });
    item.created_here = false;
    if (import.new_pkid == NewPkid::kPresetToPkid) {
      on_error([&] { item.own_pkid = catalog::NzLong(item.node.GetAttribute("PKID"), 0); });
      on_error([&] { item.node.SetAttribute("NewPKID", item.own_pkid); });
    }
    for (std::size_t p = 0; p < import.key.size(); ++p)
      on_error([&] { item.key[p] = ReadKeyPart(item.node, import.key[p]); });
    if (import.prepare) on_error([&] { import.prepare(item); });

    on_error([&] { sql = import.statement ? import.statement(item) : LookupStatement(manager, import, item.key); });
    on_error([&] { OpenLookup(manager, sql); });

    const bool found = tracker && catalog::RecordFound(manager.working_recordset());
    bool created = false, saved = false;
    if (!catalog::RecordFound(manager.working_recordset()) && ModeCreates(manager.update_mode())) {
      if (tracker) tracker->Doing("adding the record");
      on_error([&] {
        if (import.create)
          import.create(item);
        else
          WorkingRecordset(manager).AddNew(import.key.at(0).field, item.key.at(0));
      });
      created = on_error([&] { WorkingRecordset(manager).Update(); });
      if (tracker && created) tracker->Outcome(import.section, found, true, false, manager.update_mode());
      on_error([&] { WorkingRecordset(manager).MoveLast(); });
      item.created_here = true;
    }

    if (catalog::RecordFound(manager.working_recordset()) && ModeUpdates(manager.update_mode(), item.created_here)) {
      if (import.new_pkid != NewPkid::kNone)
        on_error([&] { item.node.SetAttribute("NewPKID", WorkingRecordset(manager).GetValue("PKID")); });
      std::size_t field_count = 0;
      on_error([&] { field_count = WorkingRecordset(manager).FieldCount(); });
      for (std::size_t f = 0; f < field_count; ++f) {
        recordset::Column field;
        if (!on_error([&] { field = WorkingRecordset(manager).FieldAt(f); })) continue;
        if (Skipped(import, field.name)) continue;
        if (tracker) tracker->Field(field.name);
        if (const FieldRule* rule = RuleFor(import, field.name))
          on_error([&] { (*rule)(item, field.name); });
        else
          on_error([&] { CopyField(manager, field, item.node); });
      }
      if (tracker) tracker->Doing("saving the record");
      saved = on_error([&] { WorkingRecordset(manager).Update(); });
    }
    if (tracker) {
      tracker->Doing({});
      if (!item.created_here) tracker->Outcome(import.section, found, false, saved, manager.update_mode());
    }
    on_error([&] { WorkingRecordset(manager).Close(); });
  }
  if (tracker) tracker->Item(0, {});
}

}  // namespace cvimp::importers
