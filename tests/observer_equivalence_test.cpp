// With an import observer the plug-in does exactly what it does without one: on every behaviour test
// catalogue and the example catalogue, in every update mode, into an empty shop and into one that a first
// import filled, the statements run, the records written, the database's content, the status texts, the
// messages, the settings saved and the file copies asked for are the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "plugin/manager.h"
#include "plugin/testing/fake_host.h"
#include "plugin/testing/import_fixture.h"
#include "plugin/testing/recording_observer.h"
#include "recordset/shop_schema.h"
#include "recordset/sqlite_connection.h"
#include "settings/frm_vel_xml_settings.h"

namespace fs = std::filesystem;

namespace cvimp::plugin::testing {
namespace {

// Everything a run leaves behind that can be compared.
struct Trace {
  std::vector<std::string> queries, writes, progress, messages, copies, created_folders, settings, tables;
  bool operator==(const Trace&) const = default;
};

struct Options {
  std::string catalog;
  int mode = 0;
  bool media = false;
  bool regions = false;
  bool filled = false;
};

class Shop {
 public:
  Shop() {
    db_ = recordset::SqliteConnection::OpenInMemory();
    db_->Execute(recordset::ShopSchemaSql());
    connection_ = std::make_shared<RecordingConnection>(db_);
    host_.api->connection = connection_;
  }

  void Run(const Options& options, ImportObserver* observer) {
    settings::frmVelXMLSettings::Unload();
    host_.state->existing_files = {options.catalog};
    if (options.regions) host_.state->texts["impvelxml.config.regions"] = "True";
    auto manager = std::make_unique<Manager>(host_.platform);
    manager->set_observer(observer);
    manager->Api(host_.api);
    manager->Init("", "", "");
    manager->Form().SetCVCatPath(options.catalog);
    manager->Form().optUpdateMode().SetValue(options.mode, true);
    manager->Form().chkImportMedia().Value =
        options.media ? settings::CheckBox::kChecked : settings::CheckBox::kUnchecked;
    connection_->queries.clear();
    connection_->writes.clear();
    host_.state->progress.clear();
    host_.state->messages.clear();
    host_.state->copies.clear();
    host_.state->created_folders.clear();
    manager->ExecuteImport();
    manager->Dispose();
    manager.reset();
    settings::frmVelXMLSettings::Unload();
  }

  Trace Traced() const {
    Trace t;
    t.queries = connection_->queries;
    t.writes = connection_->writes;
    for (const auto& p : host_.state->progress)
      t.progress.push_back(std::to_string(p.maximum) + "/" + std::to_string(p.position) + " " + p.text);
    for (const auto& m : host_.state->messages) t.messages.push_back(m.text);
    for (const auto& c : host_.state->copies) t.copies.push_back(c.existing + " -> " + c.target);
    t.created_folders = host_.state->created_folders;
    for (const auto& [section, text] : host_.state->saved_settings) t.settings.push_back(section + ": " + text);
    for (const auto& table : db_->Query("SELECT name FROM sqlite_master WHERE type='table' ORDER BY name").rows) {
      const std::string name = TextForm(table[0]);
      t.tables.push_back("table " + name);
      for (const auto& row : db_->Query("SELECT * FROM " + name).rows) {
        std::string line;
        for (const Value& v : row) line += (v.is_null() ? std::string("NULL") : TextForm(v)) + "|";
        t.tables.push_back(line);
      }
    }
    return t;
  }

 private:
  FakeHost host_;
  std::shared_ptr<recordset::SqliteConnection> db_;
  std::shared_ptr<RecordingConnection> connection_;
};

Trace RunOnce(const Options& options, ImportObserver* observer) {
  Shop shop;
  if (options.filled) {
    Options first = options;
    first.mode = 0;
    shop.Run(first, nullptr);
  }
  shop.Run(options, observer);
  return shop.Traced();
}

std::vector<std::string> Catalogues() {
  std::vector<std::string> paths = {std::string(EXAMPLES_DIR) + "/reference-catalog.xml"};
  std::vector<std::string> data;
  for (const auto& entry : fs::directory_iterator(TEST_DATA_DIR))
    if (entry.path().extension() == ".xml") data.push_back(entry.path().string());
  std::sort(data.begin(), data.end());
  paths.insert(paths.end(), data.begin(), data.end());
  return paths;
}

TEST(ImportObserverEquivalence, EveryCatalogueEveryModeEmptyAndFilledRunsAlikeWithAndWithoutAnObserver) {
  const std::vector<std::string> catalogues = Catalogues();
  ASSERT_GE(catalogues.size(), 9u);
  for (const std::string& catalog : catalogues) {
    for (int mode = 0; mode <= 2; ++mode) {
      for (const bool filled : {false, true}) {
        for (const bool switches : {false, true}) {
          const Options options{catalog, mode, switches, switches, filled};
          SCOPED_TRACE(catalog + " mode " + std::to_string(mode) + (filled ? " filled" : " empty") +
                       (switches ? " media+regions" : ""));
          RecordingObserver observer;
          const Trace without = RunOnce(options, nullptr);
          const Trace with = RunOnce(options, &observer);
          EXPECT_EQ(with, without);
          EXPECT_FALSE(observer.events.empty());
          if (catalog == catalogues.front()) {
            EXPECT_FALSE(without.queries.empty());
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace cvimp::plugin::testing
