#include <gtest/gtest.h>

#include "recordset/recordset.h"
#include "recordset/test_support.h"

namespace cvimp::recordset {
namespace {

using testing::ErrorOf;
using testing::NewShopDatabase;

const char kOpenMessage[] = "Operation is not allowed when the object is open.";
const char kClosedMessage[] = "Operation is not allowed when the object is closed.";
const char kNotFoundMessage[] =
    "Item cannot be found in the collection corresponding to the requested name or ordinal.";

// Passes everything on to a real database and notes which columns each save wrote.
class RecordingConnection : public Connection {
 public:
  explicit RecordingConnection(std::shared_ptr<SqliteConnection> db) : db(std::move(db)) {}
  QueryResult Query(std::string_view sql) override { return db->Query(sql); }
  std::vector<Value> Insert(const std::string& table, const std::vector<Column>& columns,
                            const std::vector<std::pair<std::size_t, Value>>& values) override {
    saves.push_back("INSERT " + table + Names(columns, values));
    return db->Insert(table, columns, values);
  }
  void UpdateRow(const std::string& table, const std::vector<Column>& columns, std::int64_t pkid,
                 const std::vector<std::pair<std::size_t, Value>>& values) override {
    saves.push_back("UPDATE " + table + " " + std::to_string(pkid) + Names(columns, values));
    db->UpdateRow(table, columns, pkid, values);
  }
  static std::string Names(const std::vector<Column>& columns,
                           const std::vector<std::pair<std::size_t, Value>>& values) {
    std::string out;
    for (const auto& [index, value] : values) out += " " + columns[index].name + "=" + value.Describe();
    return out;
  }

  std::shared_ptr<SqliteConnection> db;
  std::vector<std::string> saves;
};

class RecordsetTest : public ::testing::Test {
 protected:
  RecordsetTest() : db(NewShopDatabase()), rs(NewRecordset()) {
    db->set_error_observer([this](const std::string& what) { reported.push_back(what); });
  }
  std::size_t Count(const std::string& sql) { return db->Query(sql).rows.size(); }
  Value Single(const std::string& sql) { return db->Query(sql).rows.at(0).at(0); }

  std::shared_ptr<SqliteConnection> db;
  std::unique_ptr<Recordset> rs;
  std::vector<std::string> reported;
};

// ---- open and close ----

TEST_F(RecordsetTest, ANewRecordSetIsClosedAndRefusesEverythingButOpen) {
  EXPECT_FALSE(rs->IsOpen());
  EXPECT_EQ(ErrorOf([&] { rs->Close(); }, ErrorCode::kClosed), kClosedMessage);
  EXPECT_EQ(ErrorOf([&] { rs->Eof(); }, ErrorCode::kClosed), kClosedMessage);
  ErrorOf([&] { rs->MoveNext(); }, ErrorCode::kClosed);
  ErrorOf([&] { rs->MoveLast(); }, ErrorCode::kClosed);
  ErrorOf([&] { rs->AddNew(); }, ErrorCode::kClosed);
  ErrorOf([&] { rs->AddNew("Name", Value("x")); }, ErrorCode::kClosed);
  ErrorOf([&] { rs->Update(); }, ErrorCode::kClosed);
  ErrorOf([&] { rs->FieldCount(); }, ErrorCode::kClosed);
  ErrorOf([&] { rs->FieldAt(0); }, ErrorCode::kClosed);
  ErrorOf([&] { rs->GetValue("Name"); }, ErrorCode::kClosed);
  ErrorOf([&] { rs->SetValue("Name", Value("x")); }, ErrorCode::kClosed);
}

TEST_F(RecordsetTest, OpeningAnOpenRecordSetFailsAndKeepsItOpenOnItsStatement) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('first')");
  rs->Open("SELECT * FROM Keywords", db);
  EXPECT_EQ(ErrorOf([&] { rs->Open("SELECT * FROM Folders", db); }, ErrorCode::kOpen), kOpenMessage);
  EXPECT_TRUE(rs->IsOpen());
  EXPECT_EQ(rs->GetValue("Keyword"), Value("first"));
  ASSERT_EQ(reported.size(), 1u);
  EXPECT_EQ(reported[0], std::string("Open SELECT * FROM Folders: ") + kOpenMessage);
}

TEST_F(RecordsetTest, AStatementTheDatabaseRefusesLeavesTheRecordSetClosed) {
  std::string message = ErrorOf([&] { rs->Open("SELECT * FROM Nowhere", db); }, ErrorCode::kDatabase);
  EXPECT_EQ(message, "no such table: Nowhere in: SELECT * FROM Nowhere");
  EXPECT_FALSE(rs->IsOpen());
  ErrorOf([&] { rs->Open("SELECT * FROM Keywords WHERE PKID IN ()", db); }, ErrorCode::kDatabase);
  EXPECT_FALSE(rs->IsOpen());
  rs->Open("SELECT * FROM Keywords", db);
  EXPECT_TRUE(rs->IsOpen());
  ASSERT_EQ(reported.size(), 2u);
  EXPECT_EQ(reported[0], "Open SELECT * FROM Nowhere: no such table: Nowhere in: SELECT * FROM Nowhere");
}

TEST_F(RecordsetTest, OpeningWithoutAConnectionFails) {
  ErrorOf([&] { rs->Open("SELECT * FROM Keywords", nullptr); }, ErrorCode::kObjectRequired);
  EXPECT_FALSE(rs->IsOpen());
}

TEST_F(RecordsetTest, OpeningOnAConnectionOfAnotherKindFailsAndLeavesItClosed) {
  struct OtherConnection : ActiveConnection {};
  ErrorOf([&] { rs->Open("SELECT * FROM Keywords", std::make_shared<OtherConnection>()); },
          ErrorCode::kInvalidArgument);
  EXPECT_FALSE(rs->IsOpen());
}

TEST_F(RecordsetTest, OneRecordSetLivesThroughOpenAndCloseAnyNumberOfTimes) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a'), ('b')");
  for (const char* key : {"a", "b", "a"}) {
    rs->Open(std::string("SELECT * FROM Keywords WHERE Keyword='") + key + "'", db);
    EXPECT_EQ(rs->GetValue("Keyword"), Value(key));
    rs->Close();
    EXPECT_FALSE(rs->IsOpen());
  }
  EXPECT_EQ(ErrorOf([&] { rs->Close(); }, ErrorCode::kClosed), kClosedMessage);
  // Reported to the connection that the record set last used.
  ASSERT_EQ(reported.size(), 1u);
  EXPECT_EQ(reported[0], std::string("Close: ") + kClosedMessage);
}

TEST_F(RecordsetTest, CloseDropsPendingChangesAndAnUnsavedAddedRecord) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a')");
  rs->Open("SELECT * FROM Keywords", db);
  rs->SetValue("Keyword", Value("changed"));
  rs->Close();
  rs->Open("SELECT * FROM Keywords", db);
  rs->AddNew("Keyword", Value("added"));
  rs->Close();
  EXPECT_EQ(db->Query("SELECT Keyword FROM Keywords").rows, (std::vector<std::vector<Value>>{{Value("a")}}));
}

// ---- rows and position ----

TEST_F(RecordsetTest, RowsAreReadAtOpenAndTheFirstIsCurrent) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a'), ('b')");
  rs->Open("SELECT * FROM Keywords ORDER BY Keyword", db);
  EXPECT_FALSE(rs->Eof());
  EXPECT_EQ(rs->GetValue("Keyword"), Value("a"));
  // A row written after the open is not among the record set's rows.
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('c')");
  db->Execute("UPDATE Keywords SET Keyword='B' WHERE Keyword='b'");
  rs->MoveNext();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("b"));
  rs->MoveNext();
  EXPECT_TRUE(rs->Eof());
}

TEST_F(RecordsetTest, NoRowsMeansEndOfFileAtOnce) {
  rs->Open("SELECT * FROM Keywords WHERE Keyword='none'", db);
  EXPECT_TRUE(rs->Eof());
  EXPECT_EQ(rs->FieldCount(), 2u);
}

TEST_F(RecordsetTest, MoveNextAndMoveLastStayWithinTheRows) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a'), ('b'), ('c')");
  rs->Open("SELECT * FROM Keywords ORDER BY Keyword", db);
  rs->MoveLast();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("c"));
  rs->MoveLast();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("c"));
  rs->MoveNext();
  EXPECT_TRUE(rs->Eof());
  ErrorOf([&] { rs->MoveNext(); }, ErrorCode::kNoCurrentRecord);
  rs->MoveLast();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("c"));
}

TEST_F(RecordsetTest, MoveLastWithoutRowsIsAnError) {
  rs->Open("SELECT * FROM Keywords", db);
  ErrorOf([&] { rs->MoveLast(); }, ErrorCode::kNoCurrentRecord);
  EXPECT_TRUE(rs->Eof());
}

TEST_F(RecordsetTest, NoCurrentRecordMeansNoFieldValues) {
  rs->Open("SELECT * FROM Keywords", db);
  ErrorOf([&] { rs->GetValue("Keyword"); }, ErrorCode::kNoCurrentRecord);
  ErrorOf([&] { rs->SetValue("Keyword", Value("x")); }, ErrorCode::kNoCurrentRecord);
  ErrorOf([&] { rs->Update(); }, ErrorCode::kNoCurrentRecord);
}

TEST_F(RecordsetTest, MoveNextAndMoveLastIncludeTheRecordsAddedSinceOpen) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('read')");
  rs->Open("SELECT * FROM Keywords", db);
  rs->AddNew("Keyword", Value("added 1"));
  rs->Update();
  rs->AddNew("Keyword", Value("added 2"));
  rs->Update();
  rs->MoveLast();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("added 2"));
  rs->MoveNext();
  EXPECT_TRUE(rs->Eof());
}

// ---- fields ----

TEST_F(RecordsetTest, FieldsAreTheResultColumnsInOrder) {
  rs->Open("SELECT * FROM Currencies", db);
  ASSERT_EQ(rs->FieldCount(), 5u);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < rs->FieldCount(); ++i) names.push_back(rs->FieldAt(i).name);
  EXPECT_EQ(names, (std::vector<std::string>{"PKID", "ISOCode", "Name", "Symbol", "ExchangeRate"}));
  EXPECT_EQ(AdoCode(rs->FieldAt(0).type), 3);
  EXPECT_EQ(AdoCode(rs->FieldAt(1).type), 202);
  EXPECT_EQ(rs->FieldAt(1).size, 10);
  EXPECT_EQ(AdoCode(rs->FieldAt(4).type), 5);
  EXPECT_EQ(ErrorOf([&] { rs->FieldAt(5); }, ErrorCode::kNotFound), kNotFoundMessage);
  rs->Close();
  rs->Open("SELECT Name, PKID FROM Currencies", db);
  EXPECT_EQ(rs->FieldAt(0).name, "Name");
  EXPECT_EQ(rs->FieldAt(1).name, "PKID");
}

TEST_F(RecordsetTest, FieldsAreFoundByNameWithoutRegardToCase) {
  db->Execute("INSERT INTO Currencies (ISOCode) VALUES ('EUR')");
  rs->Open("SELECT * FROM Currencies", db);
  EXPECT_EQ(rs->GetValue("isocode"), Value("EUR"));
  EXPECT_EQ(rs->GetValue("ISOCODE"), Value("EUR"));
  rs->SetValue("iSoCoDe", Value("USD"));
  EXPECT_EQ(rs->GetValue("ISOCode"), Value("USD"));
}

TEST_F(RecordsetTest, AFieldNameThatTwoFieldsHaveNamesTheFirstOfThem) {
  db->Execute("INSERT INTO Currencies (ISOCode, Name) VALUES ('EUR', 'Euro')");
  for (int round = 0; round < 2; ++round) {
    rs->Open("SELECT Name, ISOCode, ISOCode AS name FROM Currencies", db);
    // In field order, as a copy walks them, and again.
    EXPECT_EQ(rs->GetValue("Name"), Value("Euro"));
    EXPECT_EQ(rs->GetValue("ISOCode"), Value("EUR"));
    EXPECT_EQ(rs->GetValue("NAME"), Value("Euro"));
    EXPECT_EQ(rs->GetValue("ISOCode"), Value("EUR"));
    EXPECT_EQ(rs->GetValue("name"), Value("Euro"));
    rs->Close();
  }
}

TEST_F(RecordsetTest, AnUnknownFieldNameIsNotFound) {
  db->Execute("INSERT INTO Currencies (ISOCode) VALUES ('EUR')");
  rs->Open("SELECT * FROM Currencies", db);
  EXPECT_EQ(ErrorOf([&] { rs->GetValue("Nope"); }, ErrorCode::kNotFound), kNotFoundMessage);
  EXPECT_EQ(ErrorOf([&] { rs->SetValue("Nope", Value("x")); }, ErrorCode::kNotFound), kNotFoundMessage);
  ErrorOf([&] { rs->GetValue("ISOCode "); }, ErrorCode::kNotFound);
  ASSERT_EQ(reported.size(), 3u);
  EXPECT_EQ(reported[0],
            std::string("Reading of field 'Nope' (statement: SELECT * FROM Currencies): ") + kNotFoundMessage);
}

TEST_F(RecordsetTest, ReadingANullColumnGivesNull) {
  db->Execute("INSERT INTO Currencies (ISOCode) VALUES ('EUR')");
  rs->Open("SELECT * FROM Currencies", db);
  EXPECT_EQ(rs->GetValue("Name"), Value());
  EXPECT_EQ(rs->GetValue("ExchangeRate"), Value(1.0));
}

// ---- assignment ----

TEST_F(RecordsetTest, AssignmentConvertsToTheFieldsType) {
  db->Execute("INSERT INTO Products (ProductID) VALUES ('P1')");
  rs->Open("SELECT * FROM Products", db);
  rs->SetValue("Price", Value("1.23456"));
  rs->SetValue("ManufacturerFKID", Value("2.5"));
  rs->SetValue("Name", Value(std::int32_t{42}));
  rs->SetValue("Weight", Value(true));
  EXPECT_EQ(rs->GetValue("Price"), Value(1.2346));
  EXPECT_EQ(rs->GetValue("ManufacturerFKID"), Value(std::int32_t{2}));
  EXPECT_EQ(rs->GetValue("Name"), Value("42"));
  EXPECT_EQ(rs->GetValue("Weight"), Value(-1.0));
  rs->Update();
  rs->Close();
  rs->Open("SELECT * FROM Products", db);
  EXPECT_EQ(rs->GetValue("Price"), Value(1.2346));
  EXPECT_EQ(rs->GetValue("ManufacturerFKID"), Value(std::int32_t{2}));
  EXPECT_EQ(rs->GetValue("Name"), Value("42"));
  EXPECT_EQ(rs->GetValue("Weight"), Value(-1.0));
}

TEST_F(RecordsetTest, DatesAndYesNoFieldsAreStoredInTheirDatabaseForms) {
  db->Execute("INSERT INTO Media (Src) VALUES ('a.png')");
  rs->Open("SELECT * FROM Media", db);
  rs->SetValue("LastModifiedDate", Value("07.03.2024 08:09"));
  rs->SetValue("PublishAlways", Value("True"));
  rs->SetValue("IsReferenced", Value("0"));
  rs->SetValue("FileSize", Value("5000000000"));
  rs->Update();
  EXPECT_EQ(Single("SELECT LastModifiedDate FROM Media"), Value("2024-03-07 08:09:00"));
  EXPECT_EQ(TextForm(Single("SELECT PublishAlways + 0 FROM Media")), "-1");
  EXPECT_EQ(TextForm(Single("SELECT IsReferenced + 0 FROM Media")), "0");
  EXPECT_EQ(Single("SELECT FileSize FROM Media"), Value(std::int64_t{5000000000}));
  rs->Close();
  rs->Open("SELECT * FROM Media", db);
  EXPECT_EQ(rs->GetValue("PublishAlways"), Value(true));
  EXPECT_EQ(rs->GetValue("IsReferenced"), Value(false));
}

TEST_F(RecordsetTest, AFailedAssignmentKeepsTheFieldsPreviousValue) {
  db->Execute("INSERT INTO Products (ProductID, ManufacturerFKID) VALUES ('P1', 5)");
  rs->Open("SELECT * FROM Products", db);
  rs->SetValue("ManufacturerFKID", Value(std::int32_t{6}));
  std::string message = ErrorOf([&] { rs->SetValue("ManufacturerFKID", Value("abc")); }, ErrorCode::kTypeMismatch);
  EXPECT_EQ(rs->GetValue("ManufacturerFKID"), Value(std::int32_t{6}));
  ErrorOf([&] { rs->SetValue("ShortDesc", Value(std::string(256, 'x'))); }, ErrorCode::kOverflow);
  EXPECT_EQ(rs->GetValue("ShortDesc"), Value());
  ASSERT_EQ(reported.size(), 2u);
  EXPECT_EQ(reported[0], "Writing \"abc\" to field 'ManufacturerFKID' (statement: SELECT * FROM Products): " + message);
}

TEST_F(RecordsetTest, UpdateWritesEveryAssignedFieldEvenWithTheSameValueAndNoOther) {
  db->Execute("INSERT INTO DeliveryTimes (Name, DeliveryDays) VALUES ('a', 3)");
  auto recording = std::make_shared<RecordingConnection>(db);
  rs->Open("SELECT * FROM DeliveryTimes", recording);
  rs->SetValue("DeliveryDays", Value(std::int32_t{3}));
  rs->SetValue("Name", Value("a"));
  rs->Update();
  EXPECT_EQ(recording->saves, (std::vector<std::string>{"UPDATE DeliveryTimes 1 Name=\"a\" DeliveryDays=3"}));
  // Saved: nothing is pending any more.
  rs->Update();
  EXPECT_EQ(recording->saves.size(), 1u);
}

TEST_F(RecordsetTest, AFieldThatFailedItsOnlyAssignmentIsNotWritten) {
  db->Execute("INSERT INTO DeliveryTimes (Name, DeliveryDays) VALUES ('a', 3)");
  auto recording = std::make_shared<RecordingConnection>(db);
  rs->Open("SELECT * FROM DeliveryTimes", recording);
  ErrorOf([&] { rs->SetValue("DeliveryDays", Value("x")); }, ErrorCode::kTypeMismatch);
  rs->Update();
  EXPECT_TRUE(recording->saves.empty());
}

TEST_F(RecordsetTest, AChangedRecordIsWrittenOnlyInItsChangedFields) {
  db->Execute("INSERT INTO DeliveryTimes (Name, DeliveryDays) VALUES ('a', 3)");
  rs->Open("SELECT * FROM DeliveryTimes", db);
  // Someone else changes another field of the row after the open; the save must not undo it.
  db->Execute("UPDATE DeliveryTimes SET DeliveryDays = 8");
  rs->SetValue("Name", Value("b"));
  rs->Update();
  EXPECT_EQ(db->Query("SELECT Name, DeliveryDays FROM DeliveryTimes").rows,
            (std::vector<std::vector<Value>>{{Value("b"), Value(std::int32_t{8})}}));
  EXPECT_EQ(rs->GetValue("Name"), Value("b"));
  EXPECT_FALSE(rs->Eof());
}

TEST_F(RecordsetTest, AnUnchangedRecordIsLeftAlone) {
  db->Execute("INSERT INTO DeliveryTimes (Name) VALUES ('a')");
  rs->Open("SELECT * FROM DeliveryTimes", db);
  db->Execute("DELETE FROM DeliveryTimes");
  rs->Update();  // nothing to write, so the missing row does not matter
  rs->SetValue("Name", Value("b"));
  std::string message = ErrorOf([&] { rs->Update(); }, ErrorCode::kDatabase);
  EXPECT_EQ(message.rfind("No row of DeliveryTimes has the PKID 1 in: ", 0), 0u) << message;
}

TEST_F(RecordsetTest, AChangedRecordIsWrittenByItsPkidAsRead) {
  db->Execute("INSERT INTO Folders (Name) VALUES ('a'), ('b')");
  rs->Open("SELECT * FROM Folders WHERE Name='b'", db);
  rs->SetValue("PKID", Value("10"));
  rs->SetValue("Name", Value("bb"));
  rs->Update();
  EXPECT_EQ(
      db->Query("SELECT PKID, Name FROM Folders ORDER BY PKID").rows,
      (std::vector<std::vector<Value>>{{Value(std::int32_t{1}), Value("a")}, {Value(std::int32_t{10}), Value("bb")}}));
  // From now on the record is written by its new PKID.
  rs->SetValue("Name", Value("bbb"));
  rs->Update();
  EXPECT_EQ(Single("SELECT Name FROM Folders WHERE PKID=10"), Value("bbb"));
  EXPECT_EQ(Single("SELECT Name FROM Folders WHERE PKID=1"), Value("a"));
}

TEST_F(RecordsetTest, ARefusedSaveOfAChangedRecordKeepsItsChangesAndTheRecordSetOpen) {
  db->Execute("INSERT INTO Folders (Name) VALUES ('a'), ('b')");
  rs->Open("SELECT * FROM Folders WHERE Name='b'", db);
  rs->SetValue("Name", Value("changed"));
  rs->SetValue("PKID", Value(std::int32_t{1}));
  std::string message = ErrorOf([&] { rs->Update(); }, ErrorCode::kDatabase);
  EXPECT_EQ(message.rfind("UNIQUE constraint failed: Folders.PKID in: UPDATE \"Folders\" SET", 0), 0u) << message;
  EXPECT_TRUE(rs->IsOpen());
  EXPECT_EQ(rs->GetValue("Name"), Value("changed"));
  EXPECT_EQ(Single("SELECT Name FROM Folders WHERE PKID=2"), Value("b"));
  ASSERT_EQ(reported.size(), 1u);
  EXPECT_EQ(reported[0], "Update (PKID 2 of Folders) (statement: SELECT * FROM Folders WHERE Name='b'): " + message);
  rs->SetValue("PKID", Value(std::int32_t{3}));
  rs->Update();
  EXPECT_EQ(Single("SELECT Name FROM Folders WHERE PKID=3"), Value("changed"));
  EXPECT_EQ(Count("SELECT * FROM Folders"), 2u);
}

TEST_F(RecordsetTest, PendingChangesOfASavedRecordStayInItsBufferUntilUpdate) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a')");
  rs->Open("SELECT * FROM Keywords", db);
  rs->SetValue("Keyword", Value("pending"));
  rs->MoveNext();
  EXPECT_TRUE(rs->Eof());
  rs->MoveLast();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("pending"));
  EXPECT_EQ(Single("SELECT Keyword FROM Keywords"), Value("a"));
  rs->AddNew();
  rs->MoveLast();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("pending"));
  rs->Update();
  EXPECT_EQ(Single("SELECT Keyword FROM Keywords"), Value("pending"));
}

// ---- added records ----

TEST_F(RecordsetTest, AnAddedRecordIsCurrentAndReadsNullUntilItIsSaved) {
  rs->Open("SELECT * FROM Products WHERE ProductID='new'", db);
  ASSERT_TRUE(rs->Eof());
  rs->AddNew();
  EXPECT_FALSE(rs->Eof());
  for (std::size_t i = 0; i < rs->FieldCount(); ++i) EXPECT_EQ(rs->GetValue(rs->FieldAt(i).name), Value());
  rs->SetValue("ProductID", Value("new"));
  EXPECT_EQ(rs->GetValue("ProductID"), Value("new"));
  EXPECT_EQ(rs->GetValue("Price"), Value());
  EXPECT_EQ(Count("SELECT * FROM Products"), 0u);
}

TEST_F(RecordsetTest, UpdateInsertsAnAddedRecordAndReadsItBackWithPkidAndDefaults) {
  db->Execute("INSERT INTO Products (ProductID) VALUES ('old')");
  rs->Open("SELECT * FROM Products WHERE ProductID='new'", db);
  rs->AddNew("ProductID", Value("new"));
  rs->Update();
  EXPECT_FALSE(rs->Eof());
  EXPECT_EQ(rs->GetValue("PKID"), Value(std::int32_t{2}));
  EXPECT_EQ(rs->GetValue("ProductID"), Value("new"));
  EXPECT_EQ(rs->GetValue("Price"), Value(0.0));
  EXPECT_EQ(rs->GetValue("PictureMRef"), Value(std::int32_t{0}));
  EXPECT_EQ(rs->GetValue("Name"), Value());
  // It stays current, and it is the last record.
  rs->MoveLast();
  EXPECT_EQ(rs->GetValue("PKID"), Value(std::int32_t{2}));
  EXPECT_EQ(Single("SELECT ProductID FROM Products WHERE PKID=2"), Value("new"));
}

TEST_F(RecordsetTest, AnAddedRecordWithoutAssignmentsGetsEveryDefault) {
  rs->Open("SELECT * FROM Bundles", db);
  rs->AddNew();
  rs->Update();
  EXPECT_EQ(rs->GetValue("PKID"), Value(std::int32_t{1}));
  EXPECT_EQ(rs->GetValue("Quantity"), Value(std::int32_t{1}));
  EXPECT_EQ(rs->GetValue("ProductFKID"), Value(std::int32_t{0}));
}

TEST_F(RecordsetTest, ASavedAddedRecordIsThenWrittenByItsNewPkid) {
  rs->Open("SELECT * FROM Currencies WHERE ISOCode='EUR'", db);
  rs->AddNew("ISOCode", Value("EUR"));
  rs->Update();
  rs->SetValue("Name", Value("Euro"));
  rs->SetValue("ExchangeRate", Value("1.5"));
  rs->Update();
  EXPECT_EQ(
      db->Query("SELECT * FROM Currencies").rows,
      (std::vector<std::vector<Value>>{{Value(std::int32_t{1}), Value("EUR"), Value("Euro"), Value(), Value(1.5)}}));
}

TEST_F(RecordsetTest, AddNewWithAFieldStartsTheRecordThenAssigns) {
  rs->Open("SELECT * FROM Products WHERE ProductID='x'", db);
  std::string message = ErrorOf([&] { rs->AddNew("PictureMRef", Value("abc")); }, ErrorCode::kTypeMismatch);
  EXPECT_EQ(message, "Type mismatch: field PictureMRef (INTEGER) cannot take \"abc\": not a number");
  // The new, empty record is current and pending.
  EXPECT_FALSE(rs->Eof());
  EXPECT_EQ(rs->GetValue("PictureMRef"), Value());
  rs->Update();
  EXPECT_EQ(rs->GetValue("PictureMRef"), Value(std::int32_t{0}));
  EXPECT_EQ(Count("SELECT * FROM Products"), 1u);
}

TEST_F(RecordsetTest, AddNewWithAnUnknownFieldLeavesTheNewRecordCurrent) {
  rs->Open("SELECT * FROM Keywords", db);
  EXPECT_EQ(ErrorOf([&] { rs->AddNew("Nope", Value("x")); }, ErrorCode::kNotFound), kNotFoundMessage);
  EXPECT_FALSE(rs->Eof());
  EXPECT_EQ(rs->GetValue("Keyword"), Value());
}

TEST_F(RecordsetTest, AddNewDropsAnUnsavedAddedRecord) {
  auto recording = std::make_shared<RecordingConnection>(db);
  rs->Open("SELECT * FROM Keywords", recording);
  rs->AddNew("Keyword", Value("dropped"));
  rs->AddNew("Keyword", Value("kept"));
  EXPECT_EQ(rs->GetValue("Keyword"), Value("kept"));
  rs->Update();
  EXPECT_EQ(recording->saves, (std::vector<std::string>{"INSERT Keywords Keyword=\"kept\""}));
}

TEST_F(RecordsetTest, MoveNextDropsAnUnsavedAddedRecordAndEndsAtEndOfFile) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a'), ('b')");
  rs->Open("SELECT * FROM Keywords ORDER BY Keyword", db);
  rs->AddNew("Keyword", Value("dropped"));
  rs->MoveNext();
  EXPECT_TRUE(rs->Eof());
  EXPECT_EQ(Count("SELECT * FROM Keywords"), 2u);
  rs->MoveLast();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("b"));
}

TEST_F(RecordsetTest, MoveLastDropsAnUnsavedAddedRecord) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a')");
  rs->Open("SELECT * FROM Keywords", db);
  rs->AddNew("Keyword", Value("dropped"));
  rs->MoveLast();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("a"));
  rs->Update();
  EXPECT_EQ(Count("SELECT * FROM Keywords"), 1u);
  rs->Close();
  rs->Open("SELECT * FROM Keywords WHERE 1=0", db);
  rs->AddNew("Keyword", Value("dropped"));
  ErrorOf([&] { rs->MoveLast(); }, ErrorCode::kNoCurrentRecord);
  EXPECT_TRUE(rs->Eof());
  EXPECT_EQ(Count("SELECT * FROM Keywords"), 1u);
}

TEST_F(RecordsetTest, ARefusedInsertKeepsTheAddedRecordPendingAndCurrent) {
  db->Execute("INSERT INTO Regions (PKID, Name) VALUES (276, 'Deutschland')");
  rs->Open("SELECT * FROM Regions WHERE PKID=40", db);
  rs->AddNew("PKID", Value("276"));
  rs->SetValue("Name", Value("Österreich"));
  std::string message = ErrorOf([&] { rs->Update(); }, ErrorCode::kDatabase);
  EXPECT_EQ(message,
            "UNIQUE constraint failed: Regions.PKID in: INSERT INTO \"Regions\" (\"PKID\", \"Name\") VALUES (?, ?)");
  EXPECT_TRUE(rs->IsOpen());
  EXPECT_FALSE(rs->Eof());
  EXPECT_EQ(rs->GetValue("Name"), Value("Österreich"));
  ASSERT_EQ(reported.size(), 1u);
  EXPECT_EQ(reported[0], "Update (insert into Regions) (statement: SELECT * FROM Regions WHERE PKID=40): " + message);
  rs->SetValue("PKID", Value(std::int32_t{40}));
  rs->Update();
  EXPECT_EQ(Single("SELECT Name FROM Regions WHERE PKID=40"), Value("Österreich"));
}

// ---- read-only record sets ----

TEST_F(RecordsetTest, AReadOnlyRecordSetRefusesAddNewUpdateAndWrites) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a')");
  rs->Open("SELECT * FROM Keywords", db, CursorType::kForwardOnly, LockType::kReadOnly);
  EXPECT_EQ(rs->GetValue("Keyword"), Value("a"));
  ErrorOf([&] { rs->SetValue("Keyword", Value("b")); }, ErrorCode::kReadOnly);
  ErrorOf([&] { rs->AddNew(); }, ErrorCode::kReadOnly);
  ErrorOf([&] { rs->AddNew("Keyword", Value("b")); }, ErrorCode::kReadOnly);
  ErrorOf([&] { rs->Update(); }, ErrorCode::kReadOnly);
  EXPECT_EQ(rs->GetValue("Keyword"), Value("a"));
  rs->MoveNext();
  EXPECT_TRUE(rs->Eof());
  EXPECT_EQ(reported.size(), 4u);
  EXPECT_EQ(Count("SELECT * FROM Keywords"), 1u);
}

TEST_F(RecordsetTest, FieldsThatAreNotColumnsOfOneTableCannotBeSaved) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a')");
  rs->Open("SELECT Keyword, 1 AS One FROM Keywords", db);
  rs->SetValue("Keyword", Value("b"));
  ErrorOf([&] { rs->Update(); }, ErrorCode::kReadOnly);
  EXPECT_EQ(Single("SELECT Keyword FROM Keywords"), Value("a"));
}

TEST_F(RecordsetTest, ARecordSetWithoutPkidCannotWriteAChangedRecordBack) {
  db->Execute("INSERT INTO Keywords (Keyword) VALUES ('a')");
  rs->Open("SELECT Keyword FROM Keywords", db);
  rs->SetValue("Keyword", Value("b"));
  ErrorOf([&] { rs->Update(); }, ErrorCode::kDatabase);
  rs->AddNew("Keyword", Value("c"));
  rs->Update();
  EXPECT_EQ(rs->GetValue("Keyword"), Value("c"));
  EXPECT_EQ(Count("SELECT * FROM Keywords"), 2u);
}

// ---- transactions belong to the connection's owner ----

TEST_F(RecordsetTest, NothingIsCommittedByTheRecordSet) {
  db->Begin();
  rs->Open("SELECT * FROM Keywords", db);
  rs->AddNew("Keyword", Value("a"));
  rs->Update();
  rs->Close();
  EXPECT_TRUE(db->InTransaction());
  db->Rollback();
  EXPECT_EQ(Count("SELECT * FROM Keywords"), 0u);
}

// ---- the record import pattern, end to end ----

TEST_F(RecordsetTest, TheImportPatternCreatesThenFillsARecordInOnePass) {
  const std::string lookup = "SELECT * FROM DeliveryTimes WHERE Name='two days'";
  rs->Open(lookup, db, CursorType::kKeyset, LockType::kOptimistic, -1);
  ASSERT_TRUE(rs->Eof());
  rs->AddNew("Name", Value("two days"));
  rs->Update();
  rs->MoveLast();
  ASSERT_FALSE(rs->Eof());
  Value pkid = rs->GetValue("PKID");
  for (std::size_t i = 0; i < rs->FieldCount(); ++i) {
    const std::string name = rs->FieldAt(i).name;
    if (name == "PKID") continue;
    rs->SetValue(name, name == "Name" ? Value("two days") : Value(std::int32_t{2}));
  }
  rs->Update();
  rs->Close();
  rs->Open(lookup, db, CursorType::kKeyset, LockType::kOptimistic, -1);
  ASSERT_FALSE(rs->Eof());
  EXPECT_EQ(rs->GetValue("PKID"), pkid);
  EXPECT_EQ(rs->GetValue("DeliveryDays"), Value(std::int32_t{2}));
  rs->Close();
  EXPECT_TRUE(reported.empty());
}

}  // namespace
}  // namespace cvimp::recordset
