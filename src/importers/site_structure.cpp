// Importers of the site structure: the output folders (a tree), the pages, and the page data that belongs to
// a page, a category or a product. Each is a routine of its own, step for step as the import does it; the
// first line of each names its error regime.
#include <cstdint>
#include <string>

#include "catalog/value_helpers.h"
#include "common/error.h"
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

// Folders are looked up by name, and a folder found is only taken when its path in the shop equals the item's
// path in the catalogue; otherwise a further folder of that name is added, in every update mode. Each item's
// NewPKID is first its own PKID, so a folder that is not written translates to its catalogue key. The parents
// are written in a second pass, once every folder has its NewPKID.
void Manager::ImportFolders() {
  const auto on_error = ErrorRegime::EndAtFirstError();

  const catalog::NodeList items = importers::StartSection(*this, on_error, "Folders", "Importiere Ordner");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"Name"});

  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    on_error([&] { ShowItemProgress(*this, count, i, ""); });
    bool is_new = false, saved = false;
    const std::int32_t old_key = NzLong(item.GetAttribute("PKID"), 0);
    const std::string name = NzText(item.GetAttribute("Name"), "");
    on_error([&] { item.SetAttribute("NewPKID", old_key); });
    on_error([&] { OpenLookup(*this, "SELECT * FROM Folders WHERE Name='" + SqlQuote(*this, name) + "'"); });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew("Name", name); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "Folders", found, true, false);
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    // The first record found (or the one just added, whose parent is not set yet) is compared by its path;
    // without a current record reading its key is an error.
    bool elsewhere = false;
    on_error([&] {
      const std::string record_key = TextForm(WorkingRecordset(*this).GetValue("PKID"));
      elsewhere = Use(Use(host_api()).GetFolderService()).HostFolderPath(record_key) != FolderPath(old_key);
    });
    if (elsewhere) {
      on_error([&] { WorkingRecordset(*this).AddNew("Name", name); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "Folders", found, true, false);
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsField(field, "PKID")) return;
        if (IsField(field, "ParentFolderFKID"))
          on_error([&] { WorkingRecordset(*this).SetValue(field.name, std::int32_t{0}); });
        else
          on_error([&] { CopyField(*this, field, item); });
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
    }
    if (!is_new) importers::TrackOutcome(*this, "Folders", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});

  // The parents: the NewPKID of the parent item, for the target folder that has the item's NewPKID.
  importers::SetTreeParents(*this, on_error, items, "Folders", "ParentFolderFKID");
}

// Pages are looked up by ID and created with the placeholders "temp", which the copy replaces. PageIntro and
// Depth are never written, and ParentFKID keeps the catalogue's key: the page parent is not translated. Every
// page written gets its page data.
void Manager::ImportPages() {
  const auto on_error = ErrorRegime::EndAtFirstError();

  const catalog::NodeList items = importers::StartSection(*this, on_error, "Pages", "Importiere Seiten");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"ID"});

  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    on_error([&] { ShowItemProgress(*this, count, i, ""); });
    bool is_new = false, saved = false;
    const std::int32_t old_key = NzLong(item.GetAttribute("PKID"), 0);
    const std::string key = NzText(item.GetAttribute("ID"), "");
    on_error([&] { item.SetAttribute("NewPKID", old_key); });
    on_error([&] { OpenLookup(*this, "SELECT * FROM Pages WHERE ID='" + SqlQuote(*this, key) + "'"); });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew(); });
      on_error([&] { WorkingRecordset(*this).SetValue("ID", key); });
      on_error([&] { WorkingRecordset(*this).SetValue("PageName", "temp"); });
      on_error([&] { WorkingRecordset(*this).SetValue("PageTitle", "temp"); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "Pages", found, true, false);
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsOneOf(field, {"PKID", "PageIntro", "Depth"})) return;
        on_error([&] { CopyField(*this, field, item); });
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
      on_error([&] { ImportPageData(0, old_key, RecordKey(*this)); });
    }
    if (!is_new) importers::TrackOutcome(*this, "Pages", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});
  // No second pass: the page parents are deliberately left as the catalogue has them.
}

// The page data of one element, looked up in the catalogue by element type and the element's catalogue key,
// and in the database by element type and the element's new key. It works on a working recordset of its own,
// which it leaves open: the caller's recordset is released, and the caller's close then closes this one.
void Manager::ImportPageData(std::int16_t element_type, std::int32_t old_key, std::int32_t new_key) {
  const auto on_error = SkipFailingStatements();

  catalog::Node item;  // empty when the catalogue holds no page data for the element: every read of it fails
  on_error([&] { item = Use(catalog_document()).PageDataItem(element_type, old_key); });
  on_error([&] { RenewWorkingRecordset(); });
  bool is_new = false;
  on_error([&] {
    OpenLookup(*this, "SELECT * FROM PageData WHERE ElType=" + std::to_string(element_type) +
                          " AND ElRef=" + std::to_string(new_key));
  });
  // The record is named by the element's type and catalogue key, as the catalogue's page data item is.
  const std::string record =
      tracker() ? "ElType=" + std::to_string(element_type) + ", ElRef=" + std::to_string(old_key) : std::string();
  const bool found = importers::TrackFound(*this);
  if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
    on_error([&] { WorkingRecordset(*this).AddNew(); });
    on_error([&] { WorkingRecordset(*this).SetValue("ElRef", new_key); });
    on_error([&] { WorkingRecordset(*this).SetValue("ElType", element_type); });
    if (on_error([&] { WorkingRecordset(*this).Update(); }))
      importers::TrackOutcome(*this, "PageData", found, true, false, record);
    on_error([&] { WorkingRecordset(*this).MoveLast(); });
    is_new = true;
  }
  if (!RecordFound(working_recordset()) || !ModeUpdates(update_mode(), is_new)) {
    if (!is_new) importers::TrackOutcome(*this, "PageData", found, false, false, record);
    return;
  }

  // Without a page data item in the catalogue every read of it fails: the fields keep their values, as
  // intended, and an observer is not told of those skipped statements.
  const ErrorRegime on_field_error = item.empty() ? ErrorRegime::SkipFailingStatements() : on_error;
  ForEachField(*this, on_field_error, [&](const recordset::Column& field) {
    auto set = [&](const Value& value) { WorkingRecordset(*this).SetValue(field.name, value); };
    if (IsField(field, "ElRef")) return;  // set on insert only
    // The long texts, the meta data, the schedule and the back-reference switch are never taken from the
    // catalogue: a new record keeps the defaults, an existing one its own values.
    if (IsOneOf(field, {"Comments", "Markup", "HeadMarkup", "MetaTags", "ScheduleFrom", "ScheduleTo", "FirstStagedDate",
                        "LastStagedDate", "MetaKeywords", "IncludeBackRefs"}))
      return;
    if (IsField(field, "IntroSoundMRef")) {
      on_field_error([&] { set(TranslateKey(NzLong(item.GetAttribute("IntroSoundMRef"), 0), "Media")); });
    } else if (IsField(field, "OutputFolderRef")) {
      on_field_error([&] { set(std::int32_t{0}); });
      std::int32_t folder = 0;
      on_field_error([&] { folder = NzLong(item.GetAttribute("OutputFolderRef"), 0); });
      if (folder != 0) {
        on_field_error([&] {
          const catalog::Node folder_item = Use(catalog_document()).ItemAnywhere("Folders", std::to_string(folder));
          set(NzLong(Value(importers::NewPkidText(folder_item)), 0));
        });
      }
    } else if (IsField(field, "ThumbMRef")) {
      on_field_error([&] {
        if (auto media_key = importers::MediaKeyText(*this, item, "ThumbMRef")) set(*media_key);
      });
    } else {
      on_field_error([&] { CopyField(*this, field, item); });  // PKID included; a key the database refuses is skipped
    }
  });
  const bool saved = on_error([&] { WorkingRecordset(*this).Update(); });
  if (!is_new) importers::TrackOutcome(*this, "PageData", found, false, saved, record);
}

}  // namespace cvimp::plugin
