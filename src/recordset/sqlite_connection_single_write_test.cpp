// New records written once: whatever the steps, the rows stored and the values the record set shows are
// those of inserting, reading back and updating each new record.
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "recordset/recordset.h"
#include "recordset/test_support.h"

namespace cvimp::recordset {
namespace {

using testing::NewShopDatabase;

// Every row of the tables named, and the sequence table, as text.
std::string Dump(SqliteConnection& db, const std::vector<std::string>& tables) {
  std::string out;
  std::vector<std::string> all = tables;
  all.push_back("sqlite_sequence");
  for (const std::string& table : all) {
    out += "[" + table + "]\n";
    for (const auto& row : db.Query("SELECT * FROM " + table + " ORDER BY 1, 2").rows) {
      for (const Value& v : row) out += (v.is_null() ? std::string("Null") : v.Describe()) + "|";
      out += "\n";
    }
  }
  return out;
}

// Every field of the current record, as text with its kind.
std::string Snapshot(const Recordset& rs) {
  std::string out;
  for (std::size_t i = 0; i < rs.FieldCount(); ++i) {
    const Value v = rs.GetValue(rs.FieldAt(i).name);
    std::ostringstream kind;
    PrintTo(v, &kind);
    out += rs.FieldAt(i).name + "=" + kind.str() + ";";
  }
  return out;
}

struct Outcome {
  std::string dump;
  std::vector<std::string> seen;  // what the steps noted
  std::uint64_t written_once = 0;
};

using Steps = std::function<void(SqliteConnection& db, Recordset& rs, std::vector<std::string>& seen)>;

Outcome RunSteps(bool single_write, const std::vector<std::string>& tables, const Steps& steps) {
  auto db = NewShopDatabase();
  db->set_single_write_inserts(single_write);
  auto rs = NewRecordset();
  Outcome outcome;
  steps(*db, *rs, outcome.seen);
  outcome.written_once = db->single_write_inserts();
  outcome.dump = Dump(*db, tables);
  return outcome;
}

// The steps with and without single writes: the same rows and the same record values; returns how many rows
// were written once.
std::uint64_t ExpectSameOutcome(const std::vector<std::string>& tables, const Steps& steps) {
  const Outcome plain = RunSteps(false, tables, steps);
  const Outcome once = RunSteps(true, tables, steps);
  EXPECT_EQ(plain.written_once, 0u);
  EXPECT_EQ(once.dump, plain.dump);
  EXPECT_EQ(once.seen, plain.seen);
  return once.written_once;
}

// The import pattern for one currency: look it up, add it with its code, save, fill every field, save.
void ImportCurrency(SqliteConnection& db, Recordset& rs, std::vector<std::string>& seen, const std::string& code,
                    double rate) {
  auto connection = std::shared_ptr<SqliteConnection>(&db, [](SqliteConnection*) {});
  rs.Open("SELECT * FROM Currencies WHERE ISOCode='" + code + "'", connection);
  if (rs.Eof()) {
    rs.AddNew("ISOCode", Value(code));
    rs.Update();
    rs.MoveLast();
    seen.push_back("added " + Snapshot(rs));
  }
  rs.SetValue("ISOCode", Value(code));
  rs.SetValue("Name", Value("Currency " + code));
  rs.SetValue("Symbol", Value(code.substr(0, 1)));
  rs.SetValue("ExchangeRate", Value(rate));
  rs.Update();
  seen.push_back("saved " + Snapshot(rs));
  rs.Close();
}

TEST(SingleWriteInserts, NewRecordsAfterTheFirstOfATableInATransactionAreWrittenOnce) {
  const std::uint64_t once = ExpectSameOutcome({"Currencies"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
    db.Begin();
    ImportCurrency(db, rs, seen, "EUR", 1.0);
    ImportCurrency(db, rs, seen, "USD", 1.1);
    ImportCurrency(db, rs, seen, "CHF", 0.9);
    ImportCurrency(db, rs, seen, "USD", 1.2);  // found: updated
    db.Commit();
  });
  EXPECT_EQ(once, 2u);
}

TEST(SingleWriteInserts, AnAddedRecordShowsItsPkidAndDefaultsAsIfReadBack) {
  const Outcome outcome = RunSteps(true, {"Currencies"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
    db.Begin();
    ImportCurrency(db, rs, seen, "EUR", 1.0);
    ImportCurrency(db, rs, seen, "USD", 1.1);
    db.Commit();
  });
  ASSERT_EQ(outcome.seen.size(), 4u);
  EXPECT_EQ(outcome.seen[2],
            "added PKID=int32 2;ISOCode=text \"USD\";Name=Null Null;Symbol=Null Null;ExchangeRate=double 1;");
  EXPECT_EQ(outcome.written_once, 1u);
}

TEST(SingleWriteInserts, AnyOtherStatementWritesTheNewRowFirst) {
  const std::uint64_t once = ExpectSameOutcome({"Currencies"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
    db.Begin();
    ImportCurrency(db, rs, seen, "EUR", 1.0);
    auto connection = std::shared_ptr<SqliteConnection>(&db, [](SqliteConnection*) {});
    rs.Open("SELECT * FROM Currencies WHERE ISOCode='USD'", connection);
    rs.AddNew("ISOCode", Value("USD"));
    rs.Update();
    seen.push_back("rows " + std::to_string(db.Query("SELECT * FROM Currencies").rows.size()));
    rs.SetValue("Name", Value("Dollar"));
    rs.Update();
    rs.Close();
    db.Commit();
  });
  EXPECT_EQ(once, 0u);
}

TEST(SingleWriteInserts, ANewRowOfAnotherTableWritesThePendingOneFirst) {
  const std::uint64_t once =
      ExpectSameOutcome({"Currencies", "DeliveryTimes"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
        db.Begin();
        ImportCurrency(db, rs, seen, "EUR", 1.0);
        auto connection = std::shared_ptr<SqliteConnection>(&db, [](SqliteConnection*) {});
        rs.Open("SELECT * FROM Currencies WHERE ISOCode='USD'", connection);
        rs.AddNew("ISOCode", Value("USD"));
        rs.Update();  // pending
        auto other = NewRecordset();
        other->Open("SELECT * FROM DeliveryTimes WHERE PKID=0", connection);
        other->AddNew("Name", Value("soon"));
        other->Update();
        other->Close();
        rs.SetValue("Name", Value("Dollar"));
        rs.Update();
        rs.Close();
        db.Commit();
        seen.push_back("done");
      });
  EXPECT_EQ(once, 0u);
}

TEST(SingleWriteInserts, ARecordLeftUnfinishedByAnErrorIsStoredAsInserted) {
  // The routine ends at a refused value between the two saves and leaves its record set open; the next
  // routine's record set and the commit follow.
  const std::uint64_t once =
      ExpectSameOutcome({"Currencies", "DeliveryTimes"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
        db.Begin();
        ImportCurrency(db, rs, seen, "EUR", 1.0);
        auto connection = std::shared_ptr<SqliteConnection>(&db, [](SqliteConnection*) {});
        rs.Open("SELECT * FROM Currencies WHERE ISOCode='USD'", connection);
        rs.AddNew("ISOCode", Value("USD"));
        rs.Update();
        rs.MoveLast();
        try {
          rs.SetValue("Name", Value(std::string(300, 'x')));
        } catch (const Error& e) {
          seen.push_back(e.what());
        }
        auto next = NewRecordset();
        next->Open("SELECT * FROM DeliveryTimes WHERE Name='soon'", connection);
        seen.push_back(next->Eof() ? "eof" : "row");
        next->Close();
        db.Commit();
      });
  EXPECT_EQ(once, 0u);
}

TEST(SingleWriteInserts, FieldsOfOneNameAreReadBack) {
  const std::uint64_t once = ExpectSameOutcome({"Currencies"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
    db.Begin();
    auto connection = std::shared_ptr<SqliteConnection>(&db, [](SqliteConnection*) {});
    for (const char* code : {"EUR", "USD", "CHF"}) {
      rs.Open("SELECT PKID, ISOCode, ISOCode FROM Currencies WHERE PKID=0", connection);
      rs.AddNew("ISOCode", Value(code));
      rs.Update();
      seen.push_back(Snapshot(rs));
      rs.Close();
    }
    db.Commit();
  });
  EXPECT_EQ(once, 0u);
}

TEST(SingleWriteInserts, RollbackDropsAPendingRowAndCommitWritesIt) {
  auto db = NewShopDatabase();
  auto rs = NewRecordset();
  std::vector<std::string> seen;
  db->Begin();
  ImportCurrency(*db, *rs, seen, "EUR", 1.0);
  rs->Open("SELECT * FROM Currencies WHERE ISOCode='USD'", db);
  rs->AddNew("ISOCode", Value("USD"));
  rs->Update();
  rs->Close();
  db->Rollback();
  EXPECT_TRUE(db->Query("SELECT * FROM Currencies").rows.empty());

  db->Begin();
  ImportCurrency(*db, *rs, seen, "EUR", 1.0);
  rs->Open("SELECT * FROM Currencies WHERE ISOCode='USD'", db);
  rs->AddNew("ISOCode", Value("USD"));
  rs->Update();
  rs->Close();
  db->Commit();
  EXPECT_EQ(db->Query("SELECT ISOCode FROM Currencies ORDER BY PKID").rows,
            (std::vector<std::vector<Value>>{{Value("EUR")}, {Value("USD")}}));
}

TEST(SingleWriteInserts, OutsideATransactionEveryRowIsWrittenAtOnce) {
  const std::uint64_t once = ExpectSameOutcome({"Currencies"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
    ImportCurrency(db, rs, seen, "EUR", 1.0);
    ImportCurrency(db, rs, seen, "USD", 1.1);
  });
  EXPECT_EQ(once, 0u);
}

TEST(SingleWriteInserts, ARecordWhosePkidIsChangedIsInsertedThenUpdated) {
  const std::uint64_t once = ExpectSameOutcome({"Currencies"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
    db.Begin();
    ImportCurrency(db, rs, seen, "EUR", 1.0);
    auto connection = std::shared_ptr<SqliteConnection>(&db, [](SqliteConnection*) {});
    rs.Open("SELECT * FROM Currencies WHERE ISOCode='USD'", connection);
    rs.AddNew("ISOCode", Value("USD"));
    rs.Update();
    rs.SetValue("PKID", Value(std::int32_t{40}));
    rs.SetValue("Name", Value("Dollar"));
    rs.Update();
    rs.Close();
    ImportCurrency(db, rs, seen, "CHF", 0.9);  // gets 41: the next rowid is learnt again
    db.Commit();
  });
  EXPECT_EQ(once, 0u);
}

TEST(SingleWriteInserts, ATableWithATriggerIsAlwaysReadBack) {
  const std::uint64_t once = ExpectSameOutcome({"Currencies"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
    db.Execute("CREATE TRIGGER NameNew AFTER INSERT ON Currencies BEGIN "
               "UPDATE Currencies SET Name = 'new ' || NEW.ISOCode WHERE PKID = NEW.PKID; END");
    db.Begin();
    ImportCurrency(db, rs, seen, "EUR", 1.0);
    ImportCurrency(db, rs, seen, "USD", 1.1);
    db.Commit();
  });
  EXPECT_EQ(once, 0u);
}

TEST(SingleWriteInserts, AKeyValueThatSQLiteMightConvertIsReadBack) {
  // A DATETIME (numeric affinity) key given as text: stored as a number or as text depending on the text.
  const std::uint64_t once = ExpectSameOutcome({"Discounts"}, [](SqliteConnection& db, Recordset& rs, auto& seen) {
    db.Begin();
    auto connection = std::shared_ptr<SqliteConnection>(&db, [](SqliteConnection*) {});
    for (const char* from : {"2024-01-01", "2024-02-01"}) {
      rs.Open("SELECT * FROM Discounts WHERE PKID=0", connection);
      rs.AddNew("ScheduleFrom", Value(from));
      rs.Update();
      seen.push_back(Snapshot(rs));
      rs.Close();
    }
    db.Commit();
  });
  EXPECT_EQ(once, 0u);
}

}  // namespace
}  // namespace cvimp::recordset
