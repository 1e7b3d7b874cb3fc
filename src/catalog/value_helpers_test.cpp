#include "catalog/value_helpers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "catalog/document.h"
#include "common/error.h"

namespace cvimp::catalog {
namespace {

// ---- NzText ------------------------------------------------------------------------------------------------

TEST(NzText, NullGivesDefault) { EXPECT_EQ(NzText(Value(), "dflt"), "dflt"); }

TEST(NzText, EmptyTextGivesDefault) { EXPECT_EQ(NzText(Value(""), "dflt"), "dflt"); }

TEST(NzText, TextIsReturnedUnchanged) {
  EXPECT_EQ(NzText(Value("0"), "dflt"), "0");
  EXPECT_EQ(NzText(Value(" "), "dflt"), " ");
  EXPECT_EQ(NzText(Value(" Gr\xC3\xBC\xC3\x9F"
                         "e "),
                   ""),
            " Gr\xC3\xBC\xC3\x9F"
            "e ");
}

TEST(NzText, NumbersAndBooleansGiveTheirTextForm) {
  EXPECT_EQ(NzText(Value(std::int32_t{0}), "dflt"), "0");
  EXPECT_EQ(NzText(Value(std::int16_t{-12}), "dflt"), "-12");
  EXPECT_EQ(NzText(Value(std::int64_t{1234567890123}), "dflt"), "1234567890123");
  EXPECT_EQ(NzText(Value(12.5), "dflt"), "12.5");
  EXPECT_EQ(NzText(Value(true), "dflt"), "True");
  EXPECT_EQ(NzText(Value(false), "dflt"), "False");
}

TEST(NzText, DefaultMayBeEmpty) { EXPECT_EQ(NzText(Value(), ""), ""); }

TEST(NzText, MissingAndEmptyAttributesGiveDefaultAndZeroTextIsKept) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r Empty=\"\" Zero=\"0\"/>"));
  Node r = doc.DocumentElement();
  EXPECT_EQ(NzText(r.GetAttribute("Missing"), "dflt"), "dflt");
  EXPECT_EQ(NzText(r.GetAttribute("Empty"), "dflt"), "dflt");
  EXPECT_EQ(NzText(r.GetAttribute("Zero"), "dflt"), "0");
}

// ---- NzLong ------------------------------------------------------------------------------------------------

TEST(NzLong, NullAndEmptyTextGiveDefault) {
  EXPECT_EQ(NzLong(Value(), 42), 42);
  EXPECT_EQ(NzLong(Value(""), 42), 42);
  EXPECT_EQ(NzLong(Value("   "), 42), 42);
}

TEST(NzLong, NonNumericTextGivesDefault) {
  EXPECT_EQ(NzLong(Value("abc"), 42), 42);
  EXPECT_EQ(NzLong(Value("12abc"), 42), 42);
  EXPECT_EQ(NzLong(Value("1,5"), 42), 42);
  EXPECT_EQ(NzLong(Value("0x10"), 42), 42);
  EXPECT_EQ(NzLong(Value("1 000"), 42), 42);
  EXPECT_EQ(NzLong(Value("\t12"), 42), 42);
  EXPECT_EQ(NzLong(Value("True"), 42), 42);
}

TEST(NzLong, DecimalTextIsConverted) {
  EXPECT_EQ(NzLong(Value("12"), 42), 12);
  EXPECT_EQ(NzLong(Value("0"), 42), 0);
  EXPECT_EQ(NzLong(Value("-17"), 42), -17);
  EXPECT_EQ(NzLong(Value("+17"), 42), 17);
  EXPECT_EQ(NzLong(Value("007"), 42), 7);
  EXPECT_EQ(NzLong(Value(" 12 "), 42), 12);
  EXPECT_EQ(NzLong(Value("1e3"), 42), 1000);
  EXPECT_EQ(NzLong(Value("1.5E+2"), 42), 150);
}

TEST(NzLong, FractionsRoundHalvesToEven) {
  EXPECT_EQ(NzLong(Value("2.5"), 42), 2);
  EXPECT_EQ(NzLong(Value("3.5"), 42), 4);
  EXPECT_EQ(NzLong(Value("-2.5"), 42), -2);
  EXPECT_EQ(NzLong(Value("-3.5"), 42), -4);
  EXPECT_EQ(NzLong(Value("0.5"), 42), 0);
  EXPECT_EQ(NzLong(Value("2.4999"), 42), 2);
  EXPECT_EQ(NzLong(Value("2.5000000000000001"), 42), 3);
  EXPECT_EQ(NzLong(Value("-0.4"), 42), 0);
}

TEST(NzLong, ThirtyTwoBitRangeIsChecked) {
  EXPECT_EQ(NzLong(Value("2147483647"), 42), 2147483647);
  EXPECT_EQ(NzLong(Value("-2147483648"), 42), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(NzLong(Value("2147483648"), 42), 42);
  EXPECT_EQ(NzLong(Value("-2147483649"), 42), 42);
  EXPECT_EQ(NzLong(Value("2147483647.5"), 42), 42);  // rounds to 2147483648
  EXPECT_EQ(NzLong(Value("2147483646.5"), 42), 2147483646);
  EXPECT_EQ(NzLong(Value("99999999999999999999"), 42), 42);
  EXPECT_EQ(NzLong(Value("1e400"), 42), 42);
}

TEST(NzLong, NumbersAreAccepted) {
  EXPECT_EQ(NzLong(Value(std::int16_t{-5}), 42), -5);
  EXPECT_EQ(NzLong(Value(std::int32_t{123}), 42), 123);
  EXPECT_EQ(NzLong(Value(std::int64_t{2147483647}), 42), 2147483647);
  EXPECT_EQ(NzLong(Value(std::int64_t{2147483648}), 42), 42);
  EXPECT_EQ(NzLong(Value(std::int64_t{-2147483649}), 42), 42);
  EXPECT_EQ(NzLong(Value(2.5), 42), 2);
  EXPECT_EQ(NzLong(Value(3.5), 42), 4);
  EXPECT_EQ(NzLong(Value(-1.5), 42), -2);
  EXPECT_EQ(NzLong(Value(3e9), 42), 42);
  EXPECT_EQ(NzLong(Value(std::numeric_limits<double>::quiet_NaN()), 42), 42);
  EXPECT_EQ(NzLong(Value(std::numeric_limits<double>::infinity()), 42), 42);
}

TEST(NzLong, BooleansAreMinusOneAndZero) {
  EXPECT_EQ(NzLong(Value(true), 42), -1);
  EXPECT_EQ(NzLong(Value(false), 42), 0);
}

TEST(NzLong, AttributeValues) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r NewPKID=\"\" PKID=\"17\"/>"));
  Node r = doc.DocumentElement();
  EXPECT_EQ(NzLong(r.GetAttribute("PKID"), 0), 17);
  EXPECT_EQ(NzLong(r.GetAttribute("NewPKID"), -3), -3);
  EXPECT_EQ(NzLong(r.GetAttribute("Missing"), -3), -3);
}

// ---- NzDouble ----------------------------------------------------------------------------------------------

TEST(NzDouble, NullEmptyAndNonNumericTextGiveDefault) {
  EXPECT_EQ(NzDouble(Value(), 1.25), 1.25);
  EXPECT_EQ(NzDouble(Value(""), 1.25), 1.25);
  EXPECT_EQ(NzDouble(Value("abc"), 1.25), 1.25);
  EXPECT_EQ(NzDouble(Value("1,5"), 1.25), 1.25);
  EXPECT_EQ(NzDouble(Value("0x10"), 1.25), 1.25);
  EXPECT_EQ(NzDouble(Value("NaN"), 1.25), 1.25);
  EXPECT_EQ(NzDouble(Value("Infinity"), 1.25), 1.25);
}

TEST(NzDouble, NumericTextIsConverted) {
  EXPECT_EQ(NzDouble(Value("12"), 0), 12.0);
  EXPECT_EQ(NzDouble(Value("12.75"), 0), 12.75);
  EXPECT_EQ(NzDouble(Value("0.1"), 0), 0.1);
  EXPECT_EQ(NzDouble(Value(" -2.5 "), 0), -2.5);
  EXPECT_EQ(NzDouble(Value(".5"), 0), 0.5);
  EXPECT_EQ(NzDouble(Value("5."), 0), 5.0);
  EXPECT_EQ(NzDouble(Value("1.5e-3"), 0), 0.0015);
  EXPECT_EQ(NzDouble(Value("1E+300"), 0), 1e300);
}

TEST(NzDouble, TextBeyondDoubleRangeGivesDefault) {
  EXPECT_EQ(NzDouble(Value("1e309"), 7.0), 7.0);
  EXPECT_EQ(NzDouble(Value("-1e309"), 7.0), 7.0);
}

TEST(NzDouble, NumbersAndBooleansAreAccepted) {
  EXPECT_EQ(NzDouble(Value(std::int32_t{3}), 0), 3.0);
  EXPECT_EQ(NzDouble(Value(std::int64_t{-9}), 0), -9.0);
  EXPECT_EQ(NzDouble(Value(0.25), 0), 0.25);
  EXPECT_EQ(NzDouble(Value(true), 0), -1.0);
  EXPECT_EQ(NzDouble(Value(false), 9), 0.0);
}

// ---- RecordFound -------------------------------------------------------------------------------------------

// A record set that only answers the two questions RecordFound asks; asking a closed one raises as the
// real record sets do.
class FakeRecordset : public recordset::Recordset {
 public:
  FakeRecordset(bool open, bool eof) : open_(open), eof_(eof) {}

  bool IsOpen() const override { return open_; }
  bool Eof() const override {
    if (!open_) throw Error(ErrorCode::kClosed, "Operation is not allowed when the object is closed.");
    return eof_;
  }

  void Open(std::string_view, std::shared_ptr<recordset::ActiveConnection>, recordset::CursorType, recordset::LockType,
            int) override {}
  void Close() override {}
  void MoveNext() override {}
  void MoveLast() override {}
  void AddNew() override {}
  void AddNew(std::string_view, const Value&) override {}
  void Update() override {}
  std::size_t FieldCount() const override { return 0; }
  const recordset::Column& FieldAt(std::size_t) const override { return column_; }
  Value GetValue(std::string_view) const override { return Value(); }
  void SetValue(std::string_view, const Value&) override {}

 private:
  bool open_;
  bool eof_;
  recordset::Column column_;
};

// A broken record set whose Eof raises even though it claims to be open.
class FailingRecordset : public FakeRecordset {
 public:
  FailingRecordset() : FakeRecordset(true, false) {}
  bool Eof() const override { throw Error(ErrorCode::kDatabase, "lost connection"); }
};

TEST(RecordFound, OpenRecordsetOnARecordIsFound) {
  FakeRecordset rs(true, false);
  EXPECT_TRUE(RecordFound(&rs));
}

TEST(RecordFound, OpenRecordsetAtEndIsNotFound) {
  FakeRecordset rs(true, true);
  EXPECT_FALSE(RecordFound(&rs));
}

TEST(RecordFound, ClosedRecordsetIsNotFoundAndDoesNotRaise) {
  FakeRecordset rs(false, false);
  EXPECT_FALSE(RecordFound(&rs));
}

TEST(RecordFound, NullPointerIsNotFound) { EXPECT_FALSE(RecordFound(nullptr)); }

TEST(RecordFound, ErrorWhileAskingIsNotFound) {
  FailingRecordset rs;
  EXPECT_FALSE(RecordFound(&rs));
}

}  // namespace
}  // namespace cvimp::catalog
