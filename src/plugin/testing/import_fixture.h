// A Manager on the fake host with a real, empty shop database in memory, and the steps a user takes in
// the wizard: choose a catalogue, an update mode and the media option, then start the import.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "catalog/value_helpers.h"
#include "common/file_open.h"
#include "common/testing/temp_paths.h"
#include "plugin/manager.h"
#include "plugin/testing/fake_host.h"
#include "recordset/shop_schema.h"
#include "recordset/sqlite_connection.h"
#include "settings/frm_vel_xml_settings.h"

namespace cvimp::plugin::testing {

// Passes everything to the real database and keeps, in order, the text of every query and every record
// written with the fields it was given: `inserts` holds "Table Field=value ..." for each record added,
// `writes` holds "add Table Field=value ..." and "update Table <PKID> Field=value ..." for every write.
class RecordingConnection : public recordset::Connection {
 public:
  explicit RecordingConnection(std::shared_ptr<recordset::Connection> inner) : inner_(std::move(inner)) {}
  recordset::QueryResult Query(std::string_view sql) override {
    queries.emplace_back(sql);
    return inner_->Query(sql);
  }
  std::vector<Value> Insert(const std::string& table, const std::vector<recordset::Column>& columns,
                            const std::vector<std::pair<std::size_t, Value>>& values) override {
    inserts.push_back(table + Fields(columns, values));
    writes.push_back("add " + inserts.back());
    return inner_->Insert(table, columns, values);
  }
  void UpdateRow(const std::string& table, const std::vector<recordset::Column>& columns, std::int64_t pkid,
                 const std::vector<std::pair<std::size_t, Value>>& values) override {
    writes.push_back("update " + table + " " + std::to_string(pkid) + Fields(columns, values));
    inner_->UpdateRow(table, columns, pkid, values);
  }
  std::vector<std::string> queries;
  std::vector<std::string> inserts;
  std::vector<std::string> writes;

 private:
  static std::string Fields(const std::vector<recordset::Column>& columns,
                            const std::vector<std::pair<std::size_t, Value>>& values) {
    std::string out;
    for (const auto& [index, value] : values)
      out += " " + columns.at(index).name + "=" + (value.is_null() ? std::string("NULL") : TextForm(value));
    return out;
  }
  std::shared_ptr<recordset::Connection> inner_;
};

class ImportFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    db = recordset::SqliteConnection::OpenInMemory();
    db->Execute(recordset::ShopSchemaSql());
    connection = std::make_shared<RecordingConnection>(db);
    host.api->connection = connection;
    manager = std::make_unique<Manager>(host.platform);
    manager->Api(host.api);
    manager->Init("", "", "");
    const std::string test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    dir = PathFromUtf8(cvimp::testing::ProcessTempPath(test));
    std::filesystem::create_directories(dir);
  }
  void TearDown() override {
    manager.reset();
    settings::frmVelXMLSettings::Unload();
    std::filesystem::remove_all(dir);
  }

  // Writes the catalogue to a file and chooses it on the first page.
  std::string WriteCatalog(const std::string& body, const std::string& name = "catalog.xml") {
    const auto path = dir / PathFromUtf8(name);
    std::filesystem::create_directories(path.parent_path());  // on Windows, "export\katalog.xml" is in a subfolder
    std::ofstream(path, std::ios::binary) << body;
    host.state->existing_files.push_back(Utf8FromPath(path));
    return Utf8FromPath(path);
  }
  // A catalogue file with the given sections under the root CalvoraCatalog.
  std::string Catalog(const std::string& sections) {
    return WriteCatalog("<?xml version=\"1.0\" encoding=\"UTF-8\"?><CalvoraCatalog>" + sections + "</CalvoraCatalog>");
  }

  settings::frmVelXMLSettings& Form() { return manager->Form(); }
  void ChooseMode(int mode) { Form().optUpdateMode().SetValue(mode, true); }

  // Chooses the file and the mode, then starts the import as the wizard does.
  void Import(const std::string& path, int mode = 0) {
    Form().SetCVCatPath(path);
    ChooseMode(mode);
    host.state->progress.clear();
    connection->queries.clear();
    connection->inserts.clear();
    connection->writes.clear();
    manager->ExecuteImport();
  }
  void ImportSections(const std::string& sections, int mode = 0) { Import(Catalog(sections), mode); }

  // Rows of a query on the shop database, every value as its text form ("NULL" for Null).
  std::vector<std::vector<std::string>> Select(const std::string& sql) {
    std::vector<std::vector<std::string>> rows;
    for (const auto& row : db->Query(sql).rows) {
      std::vector<std::string> out;
      for (const auto& v : row) out.push_back(v.is_null() ? "NULL" : TextForm(v));
      rows.push_back(out);
    }
    return rows;
  }
  void Exec(const std::string& sql) { db->Execute(sql); }

  // The NewPKID attribute of the item the XPath selects (Null when absent).
  Value NewPkid(const std::string& xpath) {
    return manager->catalog_document()->SelectSingleNode(xpath).GetAttribute("NewPKID");
  }
  // The same as text; "absent" when the item has none.
  std::string NewKey(const std::string& xpath) {
    const Value key = NewPkid(xpath);
    return key.is_null() ? "absent" : TextForm(key);
  }

  FakeHost host;
  std::shared_ptr<recordset::SqliteConnection> db;
  std::shared_ptr<RecordingConnection> connection;
  std::unique_ptr<Manager> manager;
  std::filesystem::path dir;
};

using Rows = std::vector<std::vector<std::string>>;

}  // namespace cvimp::plugin::testing
