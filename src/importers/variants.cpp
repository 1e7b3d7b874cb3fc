// Importers of the variants: the variant types, their values, the simple variants (one value of one type for
// a product) and the complex variants (a product variant named by the combination of its values, its
// VarString), and fEditVarstring, which rewrites a VarString with the target's keys. The four importers skip
// failing statements: a value whose statement failed keeps what it held before, from the previous item where
// there was one. None shows a status text of its own.
#include <cstdint>
#include <string>

#include "catalog/value_helpers.h"
#include "common/error_regime.h"
#include "common/numeric.h"
#include "importers/record_import.h"

namespace cvimp::plugin {

using catalog::NzLong;
using catalog::NzText;
using catalog::RecordFound;
using importers::CopyField;
using importers::ForEachField;
using importers::IsField;
using importers::ModeCreates;
using importers::ModeUpdates;
using importers::NewPkidText;
using importers::OpenLookup;
using importers::ShowItemProgress;
using importers::SqlQuote;
using importers::WorkingRecordset;

void Manager::ImportVariantTypes() {
  const auto on_error = SkipFailingStatements();

  const catalog::NodeList items = importers::StartSection(*this, on_error, "VariantTypes", "");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"Name"});
  std::string name;
  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    on_error([&] { ShowItemProgress(*this, count, i, ""); });
    bool is_new = false, saved = false;
    on_error([&] { name = NzText(item.GetAttribute("Name"), ""); });
    on_error([&] { OpenLookup(*this, "SELECT * FROM VariantTypes WHERE Name='" + SqlQuote(*this, name) + "'"); });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew("Name", name); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "VariantTypes", found, true, false);
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (!IsField(field, "PKID")) on_error([&] { CopyField(*this, field, item); });
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
    }
    if (!is_new) importers::TrackOutcome(*this, "VariantTypes", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});
}

// Values are looked up by their text and their translated type, the type found directly in the document by
// the item's VariantFKID as it stands (compared as text).
void Manager::ImportVariantValues() {
  const auto on_error = SkipFailingStatements();

  const catalog::NodeList items = importers::StartSection(*this, on_error, "VariantValues", "");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"Value", "VariantFKID"});
  std::string value, sql;
  std::int32_t type_key = 0;
  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    on_error([&] { ShowItemProgress(*this, count, i, ""); });
    bool is_new = false, saved = false;
    on_error([&] { value = NzText(item.GetAttribute("Value"), ""); });
    on_error([&] {
      type_key = importers::AnywhereNewKey(*this, "VariantTypes", NzText(item.GetAttribute("VariantFKID"), ""));
    });
    on_error([&] { sql = "SELECT * FROM VariantValues WHERE Value='" + SqlQuote(*this, value) + "'"; });
    on_error([&] { sql += " AND VariantFKID=" + std::to_string(type_key); });
    on_error([&] { OpenLookup(*this, sql); });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew("Value", value); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "VariantValues", found, true, false);
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsField(field, "PKID")) return;
        if (IsField(field, "VariantFKID"))
          on_error([&] { WorkingRecordset(*this).SetValue(field.name, type_key); });
        else
          on_error([&] { CopyField(*this, field, item); });
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
    }
    if (!is_new) importers::TrackOutcome(*this, "VariantValues", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});
}

// Simple variants are looked up by their three translated keys. The product key is one variable: read from the
// item, then replaced by the product's NewPKID found directly in the document, so that it keeps the catalogue's
// key when that lookup fails. No NewPKID: nothing refers to simple variants.
void Manager::ImportVariantsSimple() {
  const auto on_error = SkipFailingStatements();

  const catalog::NodeList items = importers::StartSection(*this, on_error, "VariantsSimple", "");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"ProductFKID", "VariantTypeFKID", "VariantValueFKID"});
  std::int32_t product_key = 0, type_key = 0, value_key = 0;
  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    on_error([&] { ShowItemProgress(*this, count, i, ""); });
    bool is_new = false, saved = false;
    on_error([&] { product_key = NzLong(item.GetAttribute("ProductFKID"), 0); });
    on_error([&] { product_key = importers::AnywhereNewKey(*this, "Products", std::to_string(product_key)); });
    on_error([&] { type_key = TranslateKey(NzLong(item.GetAttribute("VariantTypeFKID"), 0), "VariantTypes"); });
    on_error([&] { value_key = TranslateKey(NzLong(item.GetAttribute("VariantValueFKID"), 0), "VariantValues"); });
    on_error([&] {
      OpenLookup(*this, "SELECT * FROM VariantsSimple WHERE ProductFKID=" + std::to_string(product_key) +
                            " AND VariantTypeFKID=" + std::to_string(type_key) +
                            " AND VariantValueFKID=" + std::to_string(value_key));
    });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew("ProductFKID", product_key); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "VariantsSimple", found, true, false);
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsField(field, "PKID")) return;
        if (IsField(field, "ProductFKID"))
          on_error([&] { WorkingRecordset(*this).SetValue(field.name, product_key); });
        else if (IsField(field, "VariantTypeFKID"))
          on_error([&] { WorkingRecordset(*this).SetValue(field.name, type_key); });
        else if (IsField(field, "VariantValueFKID"))
          on_error([&] { WorkingRecordset(*this).SetValue(field.name, value_key); });
        else
          on_error([&] { CopyField(*this, field, item); });
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
    }
    if (!is_new) importers::TrackOutcome(*this, "VariantsSimple", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});
}

// Complex variants are looked up by their VarString rebuilt with the target's keys (not quoted: it holds digits
// and brackets only). A new one is added with that VarString in ProductID; the fill that always follows writes
// the item's ProductID there and sets VarString.
void Manager::ImportVariantsComplex() {
  const auto on_error = SkipFailingStatements();

  const catalog::NodeList items = importers::StartSection(*this, on_error, "VariantsComplex", "");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"VarString"});
  std::string var_string;
  std::int32_t product = 0;
  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    on_error([&] { ShowItemProgress(*this, count, i, ""); });
    bool is_new = false, saved = false;
    on_error([&] { var_string = fEditVarstring(NzText(item.GetAttribute("VarString"), "")); });
    on_error([&] { OpenLookup(*this, "SELECT * FROM VariantsComplex WHERE VarString='" + var_string + "'"); });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew("ProductID", var_string); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "VariantsComplex", found, true, false);
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      auto set = [&](const recordset::Column& field, const Value& v) {
        WorkingRecordset(*this).SetValue(field.name, v);
      };
      // A whole number as the attribute stands: a missing or non-numeric attribute is an error.
      auto whole_number = [&](const char* attribute) { return TextToLong(item.AttributeText(attribute), attribute); };
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsField(field, "PKID")) return;
        if (IsField(field, "DeliveryTimeFKID")) {
          on_error([&] {
            const std::int32_t key = importers::WholeNumberAttribute(item, "DeliveryTimeFKID");
            set(field, TranslateKey(key, "DeliveryTimes"));
          });
        } else if (IsField(field, "ProductFKID")) {
          on_error([&] { product = importers::WholeNumberAttribute(item, "ProductFKID"); });
          on_error([&] {
            set(field, NewPkidText(Use(catalog_document()).ItemAnywhere("Products", std::to_string(product))));
          });
        } else if (IsField(field, "ThumbMRef")) {
          on_error([&] { set(field, TranslateKey(whole_number("ThumbMRef"), "Media")); });
        } else if (IsField(field, "PictureMRef")) {
          on_error([&] { set(field, TranslateKey(whole_number("PictureMRef"), "Media")); });
        } else if (IsField(field, "VarString")) {
          on_error([&] { set(field, var_string); });
        } else {
          on_error([&] { CopyField(*this, field, item); });
        }
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
    }
    if (!is_new) importers::TrackOutcome(*this, "VariantsComplex", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});
}

// Each piece of the text between closing brackets that is a number (after the opening bracket of the next
// group is cut off) is a value key of the catalogue: translated through the variant values, then read back
// from the target ordered by the values' variant types, and written anew with positions 1, 2, 3, ...
// Value keys the target does not hold drop out. No error handling of its own: failures reach the caller.
std::string Manager::fEditVarstring(const std::string& VarStr) {
  const auto on_error = ErrorRegime::EndAtFirstError();

  std::string keys;
  std::size_t start = 0;
  for (bool last = false; !last;) {
    const std::size_t end = VarStr.find(']', start);
    last = end == std::string::npos;
    std::string piece = VarStr.substr(start, last ? std::string::npos : end - start);
    start = end + 1;
    if (const std::size_t bracket = piece.find('['); bracket != std::string::npos && bracket > 0) piece.resize(bracket);
    if (!IsNumericText(piece)) continue;
    on_error([&] {
      if (!keys.empty()) keys += ",";
      keys += std::to_string(TranslateKey(TextToLong(piece, "variant value key"), "VariantValues"));
    });
  }

  std::unique_ptr<recordset::Recordset> values;
  on_error([&] { values = platform().NewRecordset(); });
  on_error([&] {
    values->Open("SELECT PKID FROM VariantValues WHERE PKID IN(" + keys + ") ORDER BY VariantFKID",
                 Use(host_api()).Connection(), recordset::CursorType::kForwardOnly, recordset::LockType::kReadOnly, -1);
  });
  std::string result;
  for (int counter = 1; !values->Eof(); ++counter) {
    on_error([&] { result += "[" + std::to_string(counter) + "]" + TextForm(values->GetValue("PKID")); });
    on_error([&] { values->MoveNext(); });
  }
  on_error([&] { values->Close(); });
  return result;
}

}  // namespace cvimp::plugin
