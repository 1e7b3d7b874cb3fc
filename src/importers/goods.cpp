// Importers of the goods: the category tree, the products, and the assignments of products to categories.
// Each is a routine of its own, step for step as the import does it; the first line of each names its error
// regime. Categories and products hand every record they write to the page-data import.
#include <cstdint>
#include <string>

#include "catalog/value_helpers.h"
#include "common/error_regime.h"
#include "importers/record_import.h"

namespace cvimp::plugin {

using catalog::NzLong;
using catalog::NzText;
using catalog::RecordFound;
using importers::CopyField;
using importers::ForEachField;
using importers::IsField;
using importers::IsOneOf;
using importers::ModeCreates;
using importers::ModeUpdates;
using importers::OpenLookup;
using importers::RecordKey;
using importers::ShowItemProgress;
using importers::SqlQuote;
using importers::WorkingRecordset;

// Categories are looked up by ID. The first pass writes every category with parent 0 (the parent may come
// later in the file), its long description from the item's own text; the second pass sets the parents once
// every category has its NewPKID. The default thumbnail is never written.
void Manager::ImportCategories() {
  const auto on_error = SkipFailingStatements();

  const catalog::NodeList items = importers::StartSection(*this, on_error, "Categories", "Importiere Warengruppen");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"ID"});

  std::string name, key;
  std::int32_t old_key = 0;
  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    on_error([&] { name = NzText(item.GetAttribute("Name"), ""); });
    on_error([&] {
      ShowItemProgress(*this, count, i,
                       "Importiere Warengruppe " + std::to_string(i) + " von: " + std::to_string(count) + " |" + name);
    });
    bool is_new = false, saved = false;
    on_error([&] { old_key = NzLong(item.GetAttribute("PKID"), 0); });
    on_error([&] { key = NzText(item.GetAttribute("ID"), ""); });
    on_error([&] { OpenLookup(*this, "SELECT * FROM Categories WHERE ID='" + SqlQuote(*this, key) + "'"); });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew("ID", key); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "Categories", found, true, false);
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsOneOf(field, {"PKID", "DefaultThumbMRef"})) return;
        if (IsField(field, "ParentCategoryFKID"))
          on_error([&] { WorkingRecordset(*this).SetValue(field.name, std::int32_t{0}); });
        else if (IsField(field, "LongDesc"))
          on_error([&] { WorkingRecordset(*this).SetValue(field.name, item.Text()); });
        else
          on_error([&] { CopyField(*this, field, item); });
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
      on_error([&] { ImportPageData(1, old_key, RecordKey(*this)); });
    }
    if (!is_new) importers::TrackOutcome(*this, "Categories", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});

  // The parents. A category that the first pass left alone has no NewPKID and asks for the key 0.
  importers::SetTreeParents(*this, on_error, items, "Categories", "ParentCategoryFKID");
}

// Products are looked up by ProductID. The long description is the item's own text; the picture is the only
// field translated (through the media items, and only while media are imported); every other field, foreign
// keys included, is copied as the catalogue has it.
void Manager::ImportProducts() {
  const auto on_error = SkipFailingStatements();

  const catalog::NodeList items = importers::StartSection(*this, on_error, "Products", "Importiere Produkte");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"ProductID"});

  std::string name, key;
  std::int32_t old_key = 0;
  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    on_error([&] { name = NzText(item.GetAttribute("Name"), ""); });
    on_error([&] {
      ShowItemProgress(*this, count, i,
                       "Importiere Produkt " + std::to_string(i) + " von:" + std::to_string(count) + " |" + name);
    });
    bool is_new = false, saved = false;
    on_error([&] { old_key = NzLong(item.GetAttribute("PKID"), 0); });
    on_error([&] { key = NzText(item.GetAttribute("ProductID"), ""); });
    on_error([&] { OpenLookup(*this, "SELECT * FROM Products WHERE ProductID='" + SqlQuote(*this, key) + "'"); });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew("ProductID", key); });
      // Before the save: the added record's key still reads Null, so the attribute is empty until the fill.
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "Products", found, true, false);
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsField(field, "PKID")) return;
        if (IsField(field, "LongDesc")) {
          on_error([&] { WorkingRecordset(*this).SetValue(field.name, item.Text()); });
        } else if (IsField(field, "PictureMRef")) {
          on_error([&] {
            if (auto media_key = importers::MediaKeyText(*this, item, "PictureMRef"))
              WorkingRecordset(*this).SetValue(field.name, *media_key);
          });
        } else {
          on_error([&] { CopyField(*this, field, item); });
        }
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
      on_error([&] { ImportPageData(2, old_key, RecordKey(*this)); });
    }
    if (!is_new) importers::TrackOutcome(*this, "Products", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});
}

// Assignments are looked up by the new keys of their category and product, both found in the catalogue by
// their key compared as a number; an item without NewPKID gives 0, a missing item ends the import here.
void Manager::ImportProducts2Categories() {
  const auto on_error = ErrorRegime::EndAtFirstError();

  const catalog::NodeList items =
      importers::StartSection(*this, on_error, "Products2Categories", "Produkte werden zugeordnet");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"CategoryFKID", "ProductFKID"});

  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    on_error([&] { ShowItemProgress(*this, count, i, ""); });
    bool is_new = false, saved = false;
    const std::int32_t category = NzLong(item.GetAttribute("CategoryFKID"), 0);
    const std::int32_t product = NzLong(item.GetAttribute("ProductFKID"), 0);
    catalog::Node category_item, product_item;
    on_error([&] { category_item = Use(catalog_document()).ItemByNumber("Categories", category); });
    on_error([&] { product_item = Use(catalog_document()).ItemByNumber("Products", product); });
    std::int32_t new_category = 0, new_product = 0;
    on_error([&] { new_category = NzLong(category_item.GetAttribute("NewPKID"), 0); });
    on_error([&] { new_product = NzLong(product_item.GetAttribute("NewPKID"), 0); });
    on_error([&] {
      OpenLookup(*this, "SELECT * FROM Products2Categories WHERE CategoryFKID=" + std::to_string(new_category) +
                            " AND ProductFKID=" + std::to_string(new_product));
    });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew(); });
      on_error([&] { WorkingRecordset(*this).SetValue("CategoryFKID", new_category); });
      on_error([&] { WorkingRecordset(*this).SetValue("ProductFKID", new_product); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "Products2Categories", found, true, false);
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsOneOf(field, {"PKID", "CategoryFKID", "ProductFKID"})) return;
        on_error([&] { CopyField(*this, field, item); });
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
    }
    if (!is_new) importers::TrackOutcome(*this, "Products2Categories", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});
}

}  // namespace cvimp::plugin
