// The ADO record set: every operation goes to the ADO object by name, with the arguments ADO expects, and
// ADO's errors come back as the core's.
#include "com/ado_recordset.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "com/automation_host.h"
#include "com/testing/lambda_object.h"
#include "common/testing/raised_code.h"

namespace cvimp::com {
namespace {

using cvimp::testing::RaisedCode;
using testing::Answer;
using testing::LambdaObject;

// A small stand-in for an ADO record set over one table with the columns PKID (adInteger), Name
// (adVarWChar 50) and Notes (adLongVarWChar), recording what it was asked.
struct FakeAdo {
  std::vector<std::string> calls;
  std::vector<VARTYPE> open_types;
  std::vector<std::string> open_args;
  IDispatch* open_connection = nullptr;
  bool open = false;
  bool eof = true;
  std::map<std::string, Variant> values;

  DispatchRef Field(const std::string& name, std::int32_t type, std::int32_t size) {
    return LambdaObject::New({
        {L"Name", Answer(Variant::Text(name))},
        {L"Type", Answer(Variant::Int32(type))},
        {L"DefinedSize", Answer(Variant::Int32(size))},
        {L"Value",
         [this, name](WORD flags, const DispatchArguments& args, VARIANT* result) {
           if (IsPut(flags)) {
             calls.push_back("Value=" + name);
             values[name] = args.PutValue();
           } else {
             SetResult(result, values[name]);
           }
         }},
    });
  }

  DispatchRef Fields() {
    return LambdaObject::New({
        {L"Count", Answer(Variant::Int32(3))},
        {L"Item",
         [this](WORD, const DispatchArguments& args, VARIANT* result) {
           const Variant key = args.At(0);
           std::string name;
           if (key.vt() == VT_BSTR) {
             name = key.AsText();
           } else {
             const int i = key.AsInt32();
             name = i == 0 ? "PKID" : i == 1 ? "Name" : i == 2 ? "Notes" : "";
           }
           if (name == "PKID" || name == "pkid") return SetObject(result, Field("PKID", 3, 4).get());
           if (name == "Name") return SetObject(result, Field("Name", 202, 50).get());
           if (name == "Notes") return SetObject(result, Field("Notes", 203, 536870910).get());
           throw Error(ErrorCode::kNotFound,
                       "Item cannot be found in the collection corresponding to the requested name or ordinal.");
         }},
    });
  }

  DispatchRef Object() {
    auto closed_check = [this] {
      if (!open) throw Error(ErrorCode::kClosed, "Operation is not allowed when the object is closed.");
    };
    return LambdaObject::New({
        {L"Open",
         [this](WORD, const DispatchArguments& args, VARIANT*) {
           calls.push_back("Open");
           for (std::size_t i = 0; i < args.count(); ++i) {
             open_types.push_back(args.At(i).vt());
             if (args.At(i).vt() == VT_DISPATCH)
               open_connection = args.At(i).get().pdispVal;
             else
               open_args.push_back(args.Text(i));
           }
           if (open_args.empty() || open_args[0].find("FROM Nowhere") != std::string::npos)
             throw Error(ErrorCode::kDatabase,
                         "The database engine cannot find the input table 'Nowhere'.");
           open = true;
         }},
        {L"State", [this](WORD, const DispatchArguments&, VARIANT* r) { SetInt32(r, open ? 1 : 0); }},
        {L"Close",
         [this, closed_check](WORD, const DispatchArguments&, VARIANT*) {
           closed_check();
           calls.push_back("Close");
           open = false;
         }},
        {L"EOF",
         [this, closed_check](WORD, const DispatchArguments&, VARIANT* r) {
           closed_check();
           SetBool(r, eof);
         }},
        {L"MoveNext",
         [this](WORD, const DispatchArguments&, VARIANT*) {
           if (eof)
             throw Error(ErrorCode::kNoCurrentRecord,
                         "Either BOF or EOF is True, or the current record has been deleted.");
           calls.push_back("MoveNext");
         }},
        {L"MoveLast", [this](WORD, const DispatchArguments&, VARIANT*) { calls.push_back("MoveLast"); }},
        {L"AddNew",
         [this](WORD, const DispatchArguments& args, VARIANT*) {
           std::string call = "AddNew(";
           for (std::size_t i = 0; i < args.count(); ++i) call += (i ? "," : "") + args.Text(i);
           calls.push_back(call + ")");
           eof = false;
         }},
        {L"Update",
         [this](WORD, const DispatchArguments&, VARIANT*) {
           calls.push_back("Update");
           throw Error(static_cast<ErrorCode>(3001), "Arguments are of the wrong type.");
         }},
        {L"Fields", [this](WORD, const DispatchArguments&, VARIANT* r) { SetObject(r, Fields().get()); }},
    });
  }
};

std::shared_ptr<AutomationConnection> Connection(const DispatchRef& object) {
  return std::make_shared<AutomationConnection>(Variant::Object(object.get()));
}

TEST(AdoRecordset, OpenPassesTheStatementTheConnectionAndTheCursorAsAdoTakesThem) {
  FakeAdo ado;
  AdoRecordset rs(ado.Object());
  const DispatchRef connection = LambdaObject::New({});
  rs.Open("SELECT * FROM Media WHERE Src='a.jpg'", Connection(connection));
  EXPECT_EQ(ado.open_types, (std::vector<VARTYPE>{VT_BSTR, VT_DISPATCH, VT_I4, VT_I4, VT_I4}));
  EXPECT_EQ(ado.open_args, (std::vector<std::string>{"SELECT * FROM Media WHERE Src='a.jpg'", "1", "3", "-1"}));
  EXPECT_EQ(ado.open_connection, connection.get());
  EXPECT_TRUE(rs.IsOpen());
  ASSERT_EQ(rs.FieldCount(), 3u);
  EXPECT_EQ(rs.FieldAt(0).name, "PKID");
  EXPECT_EQ(rs.FieldAt(0).type, recordset::DataType::kInteger);
  EXPECT_EQ(rs.FieldAt(1).name, "Name");
  EXPECT_EQ(rs.FieldAt(1).type, recordset::DataType::kVarWChar);
  EXPECT_EQ(rs.FieldAt(1).size, 50);
  EXPECT_EQ(rs.FieldAt(2).type, recordset::DataType::kLongVarWChar);
  EXPECT_EQ(RaisedCode([&] { rs.FieldAt(3); }), ErrorCode::kNotFound);
  rs.Close();
  EXPECT_FALSE(rs.IsOpen());
  EXPECT_EQ(rs.FieldCount(), 0u);
}

TEST(AdoRecordset, RefusesConnectionsOfAnotherKind) {
  FakeAdo ado;
  AdoRecordset rs(ado.Object());
  EXPECT_EQ(RaisedCode([&] { rs.Open("SELECT * FROM Media", nullptr); }), ErrorCode::kObjectRequired);
  EXPECT_EQ(RaisedCode([&] { rs.Open("SELECT * FROM Media", std::make_shared<recordset::ActiveConnection>()); }),
            ErrorCode::kInvalidArgument);
  EXPECT_TRUE(ado.calls.empty());
}

TEST(AdoRecordset, RecordOperationsGoToAdoByName) {
  FakeAdo ado;
  AdoRecordset rs(ado.Object());
  rs.Open("SELECT * FROM Media WHERE Src='a.jpg'", Connection(LambdaObject::New({})));
  EXPECT_TRUE(rs.Eof());
  rs.AddNew("Src", Value("a.jpg"));
  rs.AddNew();
  EXPECT_FALSE(rs.Eof());
  rs.SetValue("Name", Value("K\xC3\xA4se"));
  rs.SetValue("PKID", Value(std::int32_t{7}));
  EXPECT_EQ(rs.GetValue("Name"), Value("K\xC3\xA4se"));
  EXPECT_EQ(rs.GetValue("pkid"), Value(std::int32_t{7}));
  EXPECT_EQ(rs.GetValue("Notes"), Value());
  rs.MoveLast();
  rs.MoveNext();
  EXPECT_EQ(ado.calls, (std::vector<std::string>{"Open", "AddNew(Src,a.jpg)", "AddNew()", "Value=Name", "Value=PKID",
                                                 "MoveLast", "MoveNext"}));
  EXPECT_EQ(ado.values["PKID"].vt(), VT_I4);
}

TEST(AdoRecordset, AdoErrorsBecomeTheCoresWithAdosDescription) {
  FakeAdo ado;
  AdoRecordset rs(ado.Object());
  EXPECT_EQ(RaisedCode([&] { rs.Eof(); }), ErrorCode::kClosed);
  EXPECT_EQ(RaisedCode([&] { rs.Close(); }), ErrorCode::kClosed);
  try {
    rs.Open("SELECT * FROM Nowhere", Connection(LambdaObject::New({})));
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.code(), ErrorCode::kDatabase);
    EXPECT_STREQ(e.what(), "The database engine cannot find the input table 'Nowhere'.");
  }
  ado.open_args.clear();
  rs.Open("SELECT * FROM Media", Connection(LambdaObject::New({})));
  EXPECT_EQ(RaisedCode([&] { rs.MoveNext(); }), ErrorCode::kNoCurrentRecord);
  try {
    rs.GetValue("Nope");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.code(), ErrorCode::kNotFound);
    EXPECT_STREQ(e.what(), "Item cannot be found in the collection corresponding to the requested name or ordinal.");
  }
  EXPECT_EQ(RaisedCode([&] { rs.SetValue("Nope", Value(1)); }), ErrorCode::kNotFound);
  // An ADO error number the core does not know is a database error.
  EXPECT_EQ(RaisedCode([&] { rs.Update(); }), ErrorCode::kDatabase);
}

}  // namespace
}  // namespace cvimp::com
