// Importers of the media: the media records, whose files are copied from the catalogue's folder into the
// shop project's media folders, and the assignments of media to elements. Each is a routine of its own, step
// for step as the import does it; the first line of each names its error regime.
#include <cstdint>
#include <string>

#include "catalog/value_helpers.h"
#include "common/error_regime.h"
#include "common/numeric.h"
#include "importers/record_import.h"
#include "settings/frm_vel_xml_settings.h"

namespace cvimp::plugin {

using catalog::NzText;
using catalog::RecordFound;
using importers::CopyField;
using importers::ForEachField;
using importers::IsField;
using importers::IsOneOf;
using importers::ModeCreates;
using importers::ModeUpdates;
using importers::OpenLookup;
using importers::ShowItemProgress;
using importers::SqlQuote;
using importers::WorkingRecordset;

namespace {

// The folder of the catalogue file: the path up to and including its last "\" (or "/", on systems whose
// paths use it); empty when it has none.
std::string CatalogFolder(const std::string& path) {
  const std::size_t last = path.find_last_of("\\/");
  return last == std::string::npos ? std::string() : path.substr(0, last + 1);
}

// The pair of folders a media type chooses: below the catalogue's folder and below the project folder.
struct MediaFolders {
  const char* type;
  const char* source;
  const char* target;
};
constexpr MediaFolders kMediaFolders[] = {
    {"image", "Media\\images\\", "\\Media\\images\\"},
    {"audio", "Media\\audio\\", "\\Media\\audio\\"},
    {"doc", "Media\\docs\\", "\\Media\\docs\\"},
    {"misc", "Media\\misc\\", "\\Media\\misc\\"},
};

}  // namespace

// Media are looked up by Src. The media type chooses the folders of the file copy; "url" and unknown types keep
// the pair of the item before. A new medium is copied twice (the second copy finds the file and fails); no
// copy ever overwrites a file, and its result is not looked at.
void Manager::ImportMedia() {
  const auto on_error = SkipFailingStatements();

  // The four target folders, made where missing, through a tools object of the media import's own.
  std::shared_ptr<HostTools> tools;
  on_error([&] { tools = platform().NewHostTools(); });
  for (const char* folder : {"\\Media\\images", "\\Media\\audio", "\\Media\\misc", "\\Media\\docs"}) {
    on_error([&] {
      const std::string path = Use(host_api()).ProjectPath() + folder;
      std::shared_ptr<FileSystem> files = Use(tools).GetFileSystem();
      if (!Use(files).FolderExists(path)) Use(files).CreateFolder(path);
    });
  }

  const catalog::NodeList items = importers::StartSection(*this, on_error, "Media", "");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"Src"});
  std::string source, target;  // the folder pair in force, carried from item to item
  std::string type, src;
  std::size_t i = 0;
  for (catalog::Node item : items) {
    importers::TrackItem(*this, i + 1, item);
    on_error([&] { type = NzText(item.GetAttribute("MediaTypeFKID"), ""); });
    for (const MediaFolders& folders : kMediaFolders) {
      if (type != folders.type) continue;
      on_error([&] { source = CatalogFolder(Form().txtBrowseFile().Text) + folders.source; });
      on_error([&] { target = Use(host_api()).ProjectPath() + folders.target; });
    }
    on_error([&] { ShowItemProgress(*this, count, i, ""); });
    ++i;
    bool is_new = false, saved = false;
    on_error([&] { src = NzText(item.GetAttribute("Src"), ""); });
    on_error([&] {
      ShowItemProgress(*this, count, i,
                       "Importiere Medien" + std::to_string(i) + " von: " + std::to_string(count) + " |" + src);
    });
    auto copy_file = [&] { on_error([&] { platform().CopyFile(source + src, target + src, true); }); };
    on_error([&] { OpenLookup(*this, "SELECT * FROM Media WHERE Src='" + SqlQuote(*this, src) + "'"); });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew(); });
      on_error([&] { WorkingRecordset(*this).SetValue("Src", src); });
      on_error([&] { WorkingRecordset(*this).SetValue("MediaTypeFKID", std::int32_t{1}); });
      on_error([&] { WorkingRecordset(*this).SetValue("RefCounter", std::int32_t{1}); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "Media", found, true, false);
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
      copy_file();
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      copy_file();
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("PKID")); });
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsOneOf(field, {"PKID", "PublishAlways", "IsReferenced", "LastModifiedDate"})) return;
        on_error([&] { CopyField(*this, field, item); });
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
    }
    if (!is_new) importers::TrackOutcome(*this, "Media", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});
}

// Assignments are looked up by Name. Their NewPKID is the record's MediaFKID; ElRef is translated through the
// products whatever element the row belongs to, and MediaFKID is copied as the catalogue has it.
void Manager::ImportElement2Media() {
  const auto on_error = ErrorRegime::EndAtFirstError();

  const catalog::NodeList items = importers::StartSection(*this, on_error, "Element2Media", "Medien werden zugeordnet");
  const std::size_t count = items.size();
  importers::TrackKey(*this, {"Name"});
  for (std::size_t i = 1; i <= count; ++i) {
    catalog::Node item = items[i - 1];
    importers::TrackItem(*this, i, item);
    const std::string name = NzText(item.GetAttribute("Name"), "");
    std::int32_t element_key = 0;
    on_error([&] { element_key = TextToLong(item.AttributeText("ElRef"), "ElRef"); });
    on_error([&] {
      ShowItemProgress(*this, count, i,
                       "Medien werden zugeordnet " + std::to_string(i) + " von:" + std::to_string(count) + " |" + name);
    });
    bool is_new = false, saved = false;
    on_error([&] { OpenLookup(*this, "SELECT * FROM Element2Media WHERE Name='" + SqlQuote(*this, name) + "'"); });
    const bool found = importers::TrackFound(*this);
    if (!RecordFound(working_recordset()) && ModeCreates(update_mode())) {
      on_error([&] { WorkingRecordset(*this).AddNew("Name", name); });
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("MediaFKID")); });
      if (on_error([&] { WorkingRecordset(*this).Update(); }))
        importers::TrackOutcome(*this, "Element2Media", found, true, false);
      on_error([&] { WorkingRecordset(*this).MoveLast(); });
      is_new = true;
    }
    if (RecordFound(working_recordset()) && ModeUpdates(update_mode(), is_new)) {
      on_error([&] { item.SetAttribute("NewPKID", WorkingRecordset(*this).GetValue("MediaFKID")); });
      ForEachField(*this, on_error, [&](const recordset::Column& field) {
        if (IsField(field, "Name")) return;
        if (IsField(field, "ElRef"))
          on_error([&] { WorkingRecordset(*this).SetValue(field.name, TranslateKey(element_key, "Products")); });
        else
          on_error([&] { CopyField(*this, field, item); });  // MediaFKID included, untranslated
      });
      saved = on_error([&] { WorkingRecordset(*this).Update(); });
    }
    if (!is_new) importers::TrackOutcome(*this, "Element2Media", found, false, saved);
    on_error([&] { WorkingRecordset(*this).Close(); });
  }
  importers::TrackItem(*this, 0, {});
}

}  // namespace cvimp::plugin
