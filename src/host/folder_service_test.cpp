#include "host/folder_service.h"

#include <gtest/gtest.h>

#include <map>

#include "common/error.h"
#include "common/testing/raised_code.h"
#include "host/test_temp_folder.h"
#include "recordset/shop_schema.h"

namespace cvimp::host {
namespace {

using recordset::Column;
using recordset::DataType;
using recordset::QueryResult;

// A Folders table in memory, answering "SELECT * FROM Folders WHERE PKID=<n>" and recording each query.
class FoldersConnection : public recordset::Connection {
 public:
  QueryResult Query(std::string_view sql) override {
    queries.emplace_back(sql);
    const std::string prefix = "SELECT * FROM Folders WHERE PKID=";
    if (sql.substr(0, prefix.size()) != prefix) throw Error(ErrorCode::kDatabase, "unexpected statement");
    const std::int64_t key = std::stoll(std::string(sql.substr(prefix.size())));
    QueryResult result;
    result.table = "Folders";
    result.columns = columns;
    if (auto it = rows.find(key); it != rows.end()) result.rows.push_back(it->second);
    return result;
  }
  std::vector<Value> Insert(const std::string&, const std::vector<Column>&,
                            const std::vector<std::pair<std::size_t, Value>>&) override {
    throw Error(ErrorCode::kDatabase, "read only");
  }
  void UpdateRow(const std::string&, const std::vector<Column>&, std::int64_t,
                 const std::vector<std::pair<std::size_t, Value>>&) override {
    throw Error(ErrorCode::kDatabase, "read only");
  }

  void Add(std::int32_t pkid, Value name, Value parent) { rows[pkid] = {Value(pkid), name, parent}; }

  std::vector<Column> columns{
      {"PKID", DataType::kInteger, 0}, {"Name", DataType::kVarWChar, 255}, {"ParentFolderFKID", DataType::kInteger, 0}};
  std::map<std::int64_t, std::vector<Value>> rows;
  std::vector<std::string> queries;
};

using cvimp::testing::RaisedCode;

class CliFolderServiceTest : public ::testing::Test {
 protected:
  std::shared_ptr<FoldersConnection> db = std::make_shared<FoldersConnection>();
  CliFolderService folders{db};
};

TEST_F(CliFolderServiceTest, RootFolderNamedShopGivesSlashShop) {
  db->Add(1, "Shop", std::int32_t{0});
  EXPECT_EQ(folders.HostFolderPath("1"), "/Shop");
  EXPECT_EQ(db->queries, std::vector<std::string>{"SELECT * FROM Folders WHERE PKID=1"});
}

TEST_F(CliFolderServiceTest, NamesFromTheTopJoinedBySlashes) {
  db->Add(3, "A", std::int32_t{0});
  db->Add(7, "B", std::int32_t{3});
  db->Add(12, "C", std::int32_t{7});
  EXPECT_EQ(folders.HostFolderPath("12"), "/A/B/C");
  EXPECT_EQ(db->queries,
            (std::vector<std::string>{"SELECT * FROM Folders WHERE PKID=12", "SELECT * FROM Folders WHERE PKID=7",
                                      "SELECT * FROM Folders WHERE PKID=3"}));
}

TEST_F(CliFolderServiceTest, NullNameCountsAsEmpty) {
  db->Add(1, "A", std::int32_t{0});
  db->Add(2, Null{}, std::int32_t{1});
  db->Add(3, "C", std::int32_t{2});
  EXPECT_EQ(folders.HostFolderPath("3"), "/A//C");
  EXPECT_EQ(folders.HostFolderPath("2"), "/A/");
}

TEST_F(CliFolderServiceTest, NullParentCountsAsTheTop) {
  db->Add(5, "Oben", Null{});
  db->Add(6, "Unten", std::int32_t{5});
  EXPECT_EQ(folders.HostFolderPath("6"), "/Oben/Unten");
}

TEST_F(CliFolderServiceTest, ParentKeysOfAnyWidthOrAsNumericText) {
  db->Add(1, "A", std::int16_t{0});
  db->Add(2, "B", std::int64_t{1});
  db->Add(3, "C", "2");
  EXPECT_EQ(folders.HostFolderPath("3"), "/A/B/C");
}

TEST_F(CliFolderServiceTest, FieldNamesAreFoundWithoutRegardToCase) {
  db->columns = {
      {"pkid", DataType::kInteger, 0}, {"NAME", DataType::kVarWChar, 255}, {"parentfolderfkid", DataType::kInteger, 0}};
  db->Add(1, "Shop", std::int32_t{0});
  EXPECT_EQ(folders.HostFolderPath("1"), "/Shop");
}

TEST_F(CliFolderServiceTest, MissingFolderIsAnError) {
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("4"); }), ErrorCode::kNotFound);
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("0"); }), ErrorCode::kNotFound);
}

TEST_F(CliFolderServiceTest, MissingParentFolderIsAnError) {
  db->Add(2, "B", std::int32_t{1});
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("2"); }), ErrorCode::kNotFound);
}

TEST_F(CliFolderServiceTest, ParentChainThatLoopsIsAnError) {
  db->Add(1, "A", std::int32_t{3});
  db->Add(2, "B", std::int32_t{1});
  db->Add(3, "C", std::int32_t{2});
  db->Add(4, "Selbst", std::int32_t{4});
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("3"); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(db->queries.size(), 3u);
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("4"); }), ErrorCode::kInvalidArgument);
}

TEST_F(CliFolderServiceTest, KeyThatIsNotANumberIsRefusedWithoutAQuery) {
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("1 OR 1=1"); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath(""); }), ErrorCode::kInvalidArgument);
  EXPECT_TRUE(db->queries.empty());
}

TEST_F(CliFolderServiceTest, ParentKeyThatIsNotANumberIsAnError) {
  db->Add(1, "A", "oben");
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("1"); }), ErrorCode::kTypeMismatch);
}

TEST(CliFolderService, WithoutAConnectionItIsAnError) {
  CliFolderService folders(nullptr);
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("1"); }), ErrorCode::kObjectRequired);
}

TEST(CliFolderServiceOnAShopDatabase, PathsOfFolderRecords) {
  testing::TempFolder temp;
  const std::string file = (temp.path() / "shop.db").string();
  recordset::CreateShopDatabase(file);
  std::shared_ptr<recordset::SqliteConnection> db = recordset::OpenShopDatabase(file);
  db->Execute(
      "INSERT INTO Folders (PKID, Name, ParentFolderFKID) VALUES "
      "(1, 'Shop', 0), (2, 'Neu', 1), (3, NULL, 2), (4, 'Lose', NULL), (5, 'Waise', 99), (6, 'Kreis', 6)");
  CliFolderService folders(db);
  EXPECT_EQ(folders.HostFolderPath("1"), "/Shop");
  EXPECT_EQ(folders.HostFolderPath("2"), "/Shop/Neu");
  EXPECT_EQ(folders.HostFolderPath("3"), "/Shop/Neu/");
  EXPECT_EQ(folders.HostFolderPath("4"), "/Lose");
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("5"); }), ErrorCode::kNotFound);
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("6"); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { folders.HostFolderPath("7"); }), ErrorCode::kNotFound);
}

}  // namespace
}  // namespace cvimp::host
