// The payment and shipping importers (payment and shipping methods, zones, calculators, rate tables and the
// three exclusion tables), run the way the host runs them: a catalogue file chosen on the settings page, an
// update mode, ExecuteImport, and a real shop database, empty or already holding records of the same natural
// keys.
//
// None of the eight has an error handler of its own: the first failing statement ends the importer and the run
// goes on with the next one. Zones, calculators and rate tables translate their references strictly (the
// referenced item selected by its PKID as text, its NewPKID required); the exclusion tables leniently (the item
// selected by its PKID as a number, a missing NewPKID giving 0, a missing item still ending the importer).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "plugin/testing/import_fixture.h"
#include "plugin/testing/run_status_texts.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

using Strings = std::vector<std::string>;

class PaymentShipping : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    log = connection;  // it records the records written too
  }

  // Every progress call as "maximum/position text" from the group's status "Importiere Zahl- und Versandarten"
  // up to and including the next status line.
  Strings GroupProgress() const {
    const auto& p = host.state->progress;
    auto first = std::find_if(p.begin(), p.end(),
                              [](const ProgressCall& c) { return c.text == "Importiere Zahl- und Versandarten"; });
    auto last = first == p.end()
                    ? p.end()
                    : std::find_if(first + 1, p.end(), [](const ProgressCall& c) { return c.maximum == 0; });
    if (last != p.end()) ++last;
    Strings out;
    for (auto it = first; it != last; ++it)
      out.push_back(std::to_string(it->maximum) + "/" + std::to_string(it->position) + " " + it->text);
    return out;
  }

  // The statements that begin with `prefix`, in order.
  Strings QueriesStartingWith(const std::string& prefix) const {
    Strings out;
    for (const auto& q : connection->queries)
      if (q.rfind(prefix, 0) == 0) out.push_back(q);
    return out;
  }

  // The records written to the tables named, in order.
  Strings WritesTo(const Strings& tables) const {
    Strings out;
    for (const auto& w : log->writes)
      for (const auto& t : tables)
        if (w.rfind("add " + t + " ", 0) == 0 || w.rfind("update " + t + " ", 0) == 0) out.push_back(w);
    return out;
  }

  Rows PayMethods() {
    return Select(
        "SELECT PKID, ID, Name, ChargeType, TransType, TaxClass, Config, Description, SortOrder FROM PayMethods "
        "ORDER BY PKID");
  }
  Rows ShipMethods() {
    return Select(
        "SELECT PKID, ID, Name, ShipType, Config, CalcProductSurcharges, Description, SortOrder FROM ShipMethods "
        "ORDER BY PKID");
  }
  Rows Zones() {
    return Select("SELECT PKID, Name, ShipMethodFKID, Countries, tmpID, IsDefault FROM ShipMethodZones ORDER BY PKID");
  }
  Rows Calculators() {
    return Select(
        "SELECT PKID, RefType, RefFKID, Countries, tmpID, IsDefault FROM ShipMethodCalculators ORDER BY PKID");
  }
  Rows Rates() {
    return Select(
        "SELECT PKID, ShipCalculatorFKID, ChargeType, UpToAmount, tmpID, IsFixed, Charge FROM ShipMethodTables "
        "ORDER BY PKID");
  }
  Rows PayShipExclusions() {
    return Select("SELECT PKID, PayMethodFKID, ShipMethodFKID FROM Pay2ShipMethodsExcl ORDER BY PKID");
  }
  Rows PayRegionExclusions() {
    return Select("SELECT PKID, PayMethodFKID, RegionFKID FROM PayMethods2RegionsExcl ORDER BY PKID");
  }
  Rows RegionZones() { return Select("SELECT PKID, ShipZoneFKID, RegionFKID FROM Regions2ShipZones ORDER BY PKID"); }

  std::shared_ptr<RecordingConnection> log;
};

std::string PayLookup(const std::string& id) { return "SELECT * FROM PayMethods WHERE ID='" + id + "'"; }
std::string ShipLookup(const std::string& id) { return "SELECT * FROM ShipMethods WHERE ID='" + id + "'"; }
std::string ZoneLookup(const std::string& name, int method) {
  return "SELECT * FROM ShipMethodZones WHERE Name='" + name + "' AND ShipMethodFKID=" + std::to_string(method);
}
std::string CalculatorLookup(int type, int reference) {
  return "SELECT * FROM ShipMethodCalculators WHERE RefType=" + std::to_string(type) +
         " AND RefFKID=" + std::to_string(reference);
}
// The amount as this host writes it: its number format is fixed, with "." as the decimal separator.
std::string RateLookup(int calculator, int charge_type, const std::string& amount) {
  return "SELECT * FROM ShipMethodTables WHERE ShipCalculatorFKID=" + std::to_string(calculator) +
         " AND ChargeType=" + std::to_string(charge_type) + " AND UpToAmount=CDBL('" + amount + "')";
}
std::string PayShipLookup(int pay, int ship) {
  return "SELECT * FROM Pay2ShipMethodsExcl WHERE PayMethodFKID=" + std::to_string(pay) +
         " AND ShipMethodFKID=" + std::to_string(ship);
}
std::string PayRegionLookup(int pay, const std::string& region) {
  return "SELECT * FROM PayMethods2RegionsExcl WHERE PayMethodFKID=" + std::to_string(pay) + " AND RegionFKID='" +
         region + "'";
}
std::string RegionZoneLookup(int zone, const std::string& region) {
  return "SELECT * FROM Regions2ShipZones WHERE ShipZoneFKID=" + std::to_string(zone) + " AND RegionFKID='" + region +
         "'";
}

// Every zone and calculator written carries "temp" in Countries and tmpID and is not the default.
std::vector<std::string> Zone(const std::string& key, const std::string& name, const std::string& method) {
  return {key, name, method, "temp", "temp", "False"};
}
std::vector<std::string> Calculator(const std::string& key, const std::string& type, const std::string& reference) {
  return {key, type, reference, "temp", "temp", "False"};
}
// Every rate-table row written carries "temp" in tmpID and is not fixed.
std::vector<std::string> Rate(const std::string& key, const std::string& calculator, const std::string& charge_type,
                              const std::string& amount, const std::string& charge) {
  return {key, calculator, charge_type, amount, "temp", "False", charge};
}

const std::string kGroupStatus = "0/0 Importiere Zahl- und Versandarten";
const std::string kNextStatus = "0/0 Importiere Varianten";

// ===== Payment and shipping methods ========================================================================

// Both carry a Config of their own (P1 and S1 as an attribute, P2 and S2 as a child element), which is never
// imported. S1 asks for product surcharges, S2 does not; neither value is imported either.
const char* kMethods =
    R"(<PayMethods>)"
    R"(<PayMethodsItem PKID="11" ID="P1" Name="Vorkasse" ChargeType="1" TransType="2" TaxClass="3" Config="aus dem Katalog" Description="vorab" SortOrder="1"/>)"
    R"(<PayMethodsItem PKID="12" ID="P2" Name="Rechnung" ChargeType="2" TransType="1" TaxClass="1" Description="später" SortOrder="2"><Config>aus dem Katalog</Config></PayMethodsItem>)"
    R"(</PayMethods>)"
    R"(<ShipMethods>)"
    R"(<ShipMethodsItem PKID="21" ID="S1" Name="Paket" ShipType="parcel" Config="aus dem Katalog" CalcProductSurcharges="True" Description="Post" SortOrder="1"/>)"
    R"(<ShipMethodsItem PKID="22" ID="S2" Name="Spedition" ShipType="freight" CalcProductSurcharges="False" Description="LKW" SortOrder="2"><Config>aus dem Katalog</Config></ShipMethodsItem>)"
    R"(</ShipMethods>)";

// P2 and S2 exist with every field set and a configuration of their own; new records get 141 and 151.
const char* kPrefilledMethods =
    "INSERT INTO PayMethods (PKID, ID, Name, ChargeType, TransType, TaxClass, Config, Description, SortOrder) "
    "VALUES (140, 'P2', 'alt', 9, 9, 9, 'eigene Konfiguration', 'alt', 9);"
    "INSERT INTO ShipMethods (PKID, ID, Name, ShipType, Config, CalcProductSurcharges, Description, SortOrder) "
    "VALUES (150, 'S2', 'alt', 'alt', 'eigene Konfiguration', -1, 'alt', 9)";

std::vector<std::string> P1(const std::string& key) {
  return {key, "P1", "Vorkasse", "1", "2", "3", "NULL", "vorab", "1"};
}
std::vector<std::string> P2New(const std::string& key) {
  return {key, "P2", "Rechnung", "2", "1", "1", "NULL", "später", "2"};
}
const std::vector<std::string> kP2Updated = {"140",    "P2", "Rechnung", "2", "1", "1", "eigene Konfiguration",
                                             "später", "2"};
const std::vector<std::string> kP2Untouched = {"140", "P2", "alt", "9", "9", "9", "eigene Konfiguration", "alt", "9"};
std::vector<std::string> S1(const std::string& key) {
  return {key, "S1", "Paket", "parcel", "NULL", "False", "Post", "1"};
}
std::vector<std::string> S2New(const std::string& key) {
  return {key, "S2", "Spedition", "freight", "NULL", "False", "LKW", "2"};
}
const std::vector<std::string> kS2Updated = {"150",  "S2",  "Spedition", "freight", "eigene Konfiguration",
                                             "True", "LKW", "2"};
const std::vector<std::string> kS2Untouched = {"150", "S2", "alt", "alt", "eigene Konfiguration", "True", "alt", "9"};

struct MethodsCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows pay_methods;
  Rows ship_methods;
  Strings new_keys;  // of P1, P2, S1, S2
};

class MethodsByMode : public PaymentShipping, public ::testing::WithParamInterface<MethodsCase> {};

TEST_P(MethodsByMode, WriteTheRecordsAndNewKeysThatTheModeAllows) {
  const MethodsCase& c = GetParam();
  if (c.prefilled) Exec(kPrefilledMethods);
  ImportSections(kMethods, c.mode);
  EXPECT_EQ(PayMethods(), c.pay_methods);
  EXPECT_EQ(ShipMethods(), c.ship_methods);
  EXPECT_THAT(connection->queries, ElementsAre(PayLookup("P1"), PayLookup("P2"), ShipLookup("S1"), ShipLookup("S2")));
  EXPECT_EQ((Strings{NewKey("//PayMethodsItem[@ID='P1']"), NewKey("//PayMethodsItem[@ID='P2']"),
                     NewKey("//ShipMethodsItem[@ID='S1']"), NewKey("//ShipMethodsItem[@ID='S2']")}),
            c.new_keys);
  // Progress for every item, whatever became of it; no status text of their own.
  EXPECT_THAT(GroupProgress(), ElementsAre(kGroupStatus, "2/1 ", "2/2 ", "2/1 ", "2/2 ", kNextStatus));
}

INSTANTIATE_TEST_SUITE_P(
    PaymentShipping, MethodsByMode,
    ::testing::Values(
        MethodsCase{"EmptyShopMode0", 0, false, {P1("1"), P2New("2")}, {S1("1"), S2New("2")}, {"1", "2", "1", "2"}},
        MethodsCase{"EmptyShopMode1", 1, false, {P1("1"), P2New("2")}, {S1("1"), S2New("2")}, {"1", "2", "1", "2"}},
        // NewPKID is written only from a record: nothing is created, so no item has one.
        MethodsCase{"EmptyShopMode2", 2, false, {}, {}, {"absent", "absent", "absent", "absent"}},
        // The existing P2 and S2 keep their Config, and S2 its CalcProductSurcharges.
        MethodsCase{"PrefilledShopMode0",
                    0,
                    true,
                    {kP2Updated, P1("141")},
                    {kS2Updated, S1("151")},
                    {"141", "140", "151", "150"}},
        // The existing P2 and S2 are left alone and get no NewPKID (it is not preset from their PKID).
        MethodsCase{"PrefilledShopMode1",
                    1,
                    true,
                    {kP2Untouched, P1("141")},
                    {kS2Untouched, S1("151")},
                    {"141", "absent", "151", "absent"}},
        MethodsCase{"PrefilledShopMode2", 2, true, {kP2Updated}, {kS2Updated}, {"absent", "140", "absent", "150"}}),
    [](const ::testing::TestParamInfo<MethodsCase>& info) { return info.param.name; });

// A new method is added with its ID and placeholders for the name and types, and the copy in the same pass
// replaces them; Config (and CalcProductSurcharges of a ship method) is in neither write.
TEST_F(PaymentShipping, ANewMethodIsAddedWithPlaceholdersThenFilledWithoutItsConfig) {
  ImportSections(kMethods);
  EXPECT_THAT(
      log->writes,
      ElementsAre("add PayMethods ID=P1 Name=temp ChargeType=0 TransType=0 TaxClass=0",
                  "update PayMethods 1 ID=P1 Name=Vorkasse ChargeType=1 TransType=2 TaxClass=3 Description=vorab "
                  "SortOrder=1",
                  "add PayMethods ID=P2 Name=temp ChargeType=0 TransType=0 TaxClass=0",
                  "update PayMethods 2 ID=P2 Name=Rechnung ChargeType=2 TransType=1 TaxClass=1 Description=später "
                  "SortOrder=2",
                  "add ShipMethods ID=S1 Name=temp ShipType=temp",
                  "update ShipMethods 1 ID=S1 Name=Paket ShipType=parcel Description=Post SortOrder=1",
                  "add ShipMethods ID=S2 Name=temp ShipType=temp",
                  "update ShipMethods 2 ID=S2 Name=Spedition ShipType=freight Description=LKW SortOrder=2"));
}

TEST_F(PaymentShipping, AnExistingPayMethodUpdatedInMode2KeepsItsOwnConfig) {
  Exec("INSERT INTO PayMethods (PKID, ID, Name, Config) VALUES (7, 'P1', 'alt', 'eigene Konfiguration')");
  ImportSections(
      R"(<PayMethods><PayMethodsItem PKID="11" ID="P1" Name="neu" Config="fremd"><Config>fremd</Config></PayMethodsItem></PayMethods>)",
      2);
  EXPECT_EQ(Select("SELECT PKID, ID, Name, Config FROM PayMethods"),
            (Rows{{"7", "P1", "neu", "eigene Konfiguration"}}));
  EXPECT_THAT(log->writes,
              ElementsAre("update PayMethods 7 ID=P1 Name=neu ChargeType=0 TransType=0 TaxClass=0 Description= "
                          "SortOrder=0"));
}

TEST_F(PaymentShipping, AMethodKeyWithASingleQuoteIsFoundThroughSqlQuote) {
  Exec("INSERT INTO PayMethods (PKID, ID, Name) VALUES (7, 'P''1', 'alt')");
  Exec("INSERT INTO ShipMethods (PKID, ID, Name) VALUES (8, 'S''1', 'alt')");
  ImportSections(R"(<PayMethods><PayMethodsItem PKID="11" ID="P'1" Name="neu"/></PayMethods>)"
                 R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S'1" Name="neu"/></ShipMethods>)");
  EXPECT_EQ(Select("SELECT PKID, ID, Name FROM PayMethods"), (Rows{{"7", "P'1", "neu"}}));
  EXPECT_EQ(Select("SELECT PKID, ID, Name FROM ShipMethods"), (Rows{{"8", "S'1", "neu"}}));
  EXPECT_THAT(connection->queries, ElementsAre(PayLookup("P''1"), ShipLookup("S''1")));
}

// A name the database refuses ends the pay method import in the middle of the copy: the record keeps what the
// insert wrote, placeholders included, and the working recordset stays open with the unsaved change, so the
// ship method import that follows ends at its first item without a statement.
TEST_F(PaymentShipping, APayMethodWhoseCopyFailsKeepsItsPlaceholdersAndEndsTheImporter) {
  ImportSections("<PayMethods><PayMethodsItem PKID=\"11\" ID=\"P1\" Name=\"" + std::string(256, 'x') +
                 R"(" ChargeType="1" TransType="2" TaxClass="3" Description="vorab"/>)"
                 R"(<PayMethodsItem PKID="12" ID="P2" Name="Rechnung"/></PayMethods>)"
                 R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1" Name="Paket"/></ShipMethods>)");
  EXPECT_EQ(PayMethods(), (Rows{{"1", "P1", "temp", "0", "0", "0", "NULL", "NULL", "0"}}));
  EXPECT_EQ(ShipMethods(), Rows{});
  EXPECT_EQ(NewKey("//PayMethodsItem[@ID='P1']"), "1");
  EXPECT_EQ(NewKey("//PayMethodsItem[@ID='P2']"), "absent");
  EXPECT_THAT(connection->queries, ElementsAre(PayLookup("P1")));
  EXPECT_THAT(log->writes, ElementsAre("add PayMethods ID=P1 Name=temp ChargeType=0 TransType=0 TaxClass=0"));
  EXPECT_THAT(GroupProgress(), ElementsAre(kGroupStatus, "2/1 ", "1/1 ", kNextStatus));
}

TEST_F(PaymentShipping, AShipMethodWhoseCopyFailsKeepsTempAsNameAndShipType) {
  ImportSections("<ShipMethods><ShipMethodsItem PKID=\"21\" ID=\"S1\" Name=\"" + std::string(256, 'x') +
                 R"(" ShipType="parcel" CalcProductSurcharges="True"/></ShipMethods>)");
  EXPECT_EQ(ShipMethods(), (Rows{{"1", "S1", "temp", "temp", "NULL", "False", "NULL", "0"}}));
  EXPECT_EQ(NewKey("//ShipMethodsItem[@ID='S1']"), "1");
}

// ===== Zones, calculators and rate tables ==================================================================

// Zone EU, calculator 42 and rate 52 hang below ship method S2; the rest below S1. Calculator 41 refers to
// ship method 21 (RefType 0), calculator 42 to zone 32 (RefType 1).
const char* kChain =
    R"(<ShipMethods>)"
    R"(<ShipMethodsItem PKID="21" ID="S1" Name="Paket"/>)"
    R"(<ShipMethodsItem PKID="22" ID="S2" Name="Spedition"/>)"
    R"(</ShipMethods>)"
    R"(<ShipMethodZones>)"
    R"(<ShipMethodZonesItem PKID="31" Name="Inland" ShipMethodFKID="21" Countries="DE" tmpID="z1" IsDefault="True"/>)"
    R"(<ShipMethodZonesItem PKID="32" Name="EU" ShipMethodFKID="22" Countries="AT,FR" tmpID="z2" IsDefault="True"/>)"
    R"(</ShipMethodZones>)"
    R"(<ShipMethodCalculators>)"
    R"(<ShipMethodCalculatorsItem PKID="41" RefType="0" RefFKID="21" Countries="DE" tmpID="c1" IsDefault="True"/>)"
    R"(<ShipMethodCalculatorsItem PKID="42" RefType="1" RefFKID="32" Countries="AT" tmpID="c2" IsDefault="True"/>)"
    R"(</ShipMethodCalculators>)"
    R"(<ShipMethodTables>)"
    R"(<ShipMethodTablesItem PKID="51" ShipCalculatorFKID="41" ChargeType="0" UpToAmount="12.5" tmpID="t1" IsFixed="True" Charge="4.9"/>)"
    R"(<ShipMethodTablesItem PKID="52" ShipCalculatorFKID="42" ChargeType="1" UpToAmount="100" tmpID="t2" IsFixed="True" Charge="9.9"/>)"
    R"(</ShipMethodTables>)";

// S2 with its zone EU, that zone's calculator and its rate up to 100 exist; new records get 151, 161, 171, 181.
const char* kPrefilledChain =
    "INSERT INTO ShipMethods (PKID, ID, Name) VALUES (150, 'S2', 'alt');"
    "INSERT INTO ShipMethodZones (PKID, Name, ShipMethodFKID, Countries, tmpID, IsDefault) "
    "VALUES (160, 'EU', 150, 'alt', 'alt', -1);"
    "INSERT INTO ShipMethodCalculators (PKID, RefType, RefFKID, Countries, tmpID, IsDefault) "
    "VALUES (170, 1, 160, 'alt', 'alt', -1);"
    "INSERT INTO ShipMethodTables (PKID, ShipCalculatorFKID, ChargeType, UpToAmount, tmpID, IsFixed, Charge) "
    "VALUES (180, 170, 1, 100, 'alt', -1, 1.5)";

const std::vector<std::string> kEuUntouched = {"160", "EU", "150", "alt", "alt", "True"};
const std::vector<std::string> kCalculatorUntouched = {"170", "1", "160", "alt", "alt", "True"};
const std::vector<std::string> kRateUntouched = {"180", "170", "1", "100", "alt", "True", "1.5"};

const Strings kChainFullProgress = {kGroupStatus, "2/1 ", "2/2 ", "2/1 ", "2/2 ",
                                    "2/1 ",       "2/2 ", "2/1 ", "2/2 ", kNextStatus};
// Zones, calculators and rates each end at their first item.
const Strings kChainEndsAtFirstProgress = {kGroupStatus, "2/1 ", "2/2 ", "2/1 ", "2/1 ", "2/1 ", kNextStatus};

struct ChainCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows zones;
  Rows calculators;
  Rows rates;
  Strings queries;
  Strings new_keys;  // of zones 31, 32, calculators 41, 42, rates 51, 52
  Strings progress;
};

class ChainByMode : public PaymentShipping, public ::testing::WithParamInterface<ChainCase> {};

TEST_P(ChainByMode, WriteTheRecordsAndNewKeysThatTheModeAllows) {
  const ChainCase& c = GetParam();
  if (c.prefilled) Exec(kPrefilledChain);
  ImportSections(kChain, c.mode);
  EXPECT_EQ(Zones(), c.zones);
  EXPECT_EQ(Calculators(), c.calculators);
  EXPECT_EQ(Rates(), c.rates);
  EXPECT_THAT(connection->queries, ElementsAreArray(c.queries));
  EXPECT_EQ(
      (Strings{NewKey("//ShipMethodZonesItem[@PKID='31']"), NewKey("//ShipMethodZonesItem[@PKID='32']"),
               NewKey("//ShipMethodCalculatorsItem[@PKID='41']"), NewKey("//ShipMethodCalculatorsItem[@PKID='42']"),
               NewKey("//ShipMethodTablesItem[@PKID='51']"), NewKey("//ShipMethodTablesItem[@PKID='52']")}),
      c.new_keys);
  EXPECT_THAT(GroupProgress(), ElementsAreArray(c.progress));
}

INSTANTIATE_TEST_SUITE_P(
    PaymentShipping, ChainByMode,
    ::testing::Values(
        ChainCase{"EmptyShopMode0",
                  0,
                  false,
                  {Zone("1", "Inland", "1"), Zone("2", "EU", "2")},
                  {Calculator("1", "0", "1"), Calculator("2", "1", "2")},
                  {Rate("1", "1", "0", "12.5", "4.9"), Rate("2", "2", "1", "100", "9.9")},
                  {ShipLookup("S1"), ShipLookup("S2"), ZoneLookup("Inland", 1), ZoneLookup("EU", 2),
                   CalculatorLookup(0, 1), CalculatorLookup(1, 2), RateLookup(1, 0, "12.5"), RateLookup(2, 1, "100")},
                  {"1", "2", "1", "2", "1", "2"},
                  kChainFullProgress},
        ChainCase{"EmptyShopMode1",
                  1,
                  false,
                  {Zone("1", "Inland", "1"), Zone("2", "EU", "2")},
                  {Calculator("1", "0", "1"), Calculator("2", "1", "2")},
                  {Rate("1", "1", "0", "12.5", "4.9"), Rate("2", "2", "1", "100", "9.9")},
                  {ShipLookup("S1"), ShipLookup("S2"), ZoneLookup("Inland", 1), ZoneLookup("EU", 2),
                   CalculatorLookup(0, 1), CalculatorLookup(1, 2), RateLookup(1, 0, "12.5"), RateLookup(2, 1, "100")},
                  {"1", "2", "1", "2", "1", "2"},
                  kChainFullProgress},
        // No ship method is created, so none has a NewPKID: the first zone, the first calculator (which refers
        // to a ship method) and the first rate (whose calculator has none) each end their importer.
        ChainCase{"EmptyShopMode2",
                  2,
                  false,
                  {},
                  {},
                  {},
                  {ShipLookup("S1"), ShipLookup("S2")},
                  {"absent", "absent", "absent", "absent", "absent", "absent"},
                  kChainEndsAtFirstProgress},
        ChainCase{
            "PrefilledShopMode0",
            0,
            true,
            {Zone("160", "EU", "150"), Zone("161", "Inland", "151")},
            {Calculator("170", "1", "160"), Calculator("171", "0", "151")},
            {Rate("180", "170", "1", "100", "9.9"), Rate("181", "171", "0", "12.5", "4.9")},
            {ShipLookup("S1"), ShipLookup("S2"), ZoneLookup("Inland", 151), ZoneLookup("EU", 150),
             CalculatorLookup(0, 151), CalculatorLookup(1, 160), RateLookup(171, 0, "12.5"), RateLookup(170, 1, "100")},
            {"161", "160", "171", "170", "181", "180"},
            kChainFullProgress},
        // The existing S2 gets no NewPKID: its zone EU ends the zone import, calculator 42 (of zone EU) ends the
        // calculator import and rate 52 (of calculator 42) the rate import. What depends on S1 is created.
        ChainCase{"PrefilledShopMode1",
                  1,
                  true,
                  {kEuUntouched, Zone("161", "Inland", "151")},
                  {kCalculatorUntouched, Calculator("171", "0", "151")},
                  {kRateUntouched, Rate("181", "171", "0", "12.5", "4.9")},
                  {ShipLookup("S1"), ShipLookup("S2"), ZoneLookup("Inland", 151), CalculatorLookup(0, 151),
                   RateLookup(171, 0, "12.5")},
                  {"161", "absent", "171", "absent", "181", "absent"},
                  kChainFullProgress},
        // S1 is not created and has no NewPKID; the zone, calculator and rate that depend on it come first and
        // end their importers before the existing ones are reached.
        ChainCase{"PrefilledShopMode2",
                  2,
                  true,
                  {kEuUntouched},
                  {kCalculatorUntouched},
                  {kRateUntouched},
                  {ShipLookup("S1"), ShipLookup("S2")},
                  {"absent", "absent", "absent", "absent", "absent", "absent"},
                  kChainEndsAtFirstProgress}),
    [](const ::testing::TestParamInfo<ChainCase>& info) { return info.param.name; });

TEST_F(PaymentShipping, InMode2AnExistingZoneCalculatorAndRateAreUpdatedThroughTheirShipMethod) {
  Exec(kPrefilledChain);
  ImportSections(
      R"(<ShipMethods><ShipMethodsItem PKID="22" ID="S2" Name="Spedition"/></ShipMethods>)"
      R"(<ShipMethodZones><ShipMethodZonesItem PKID="32" Name="EU" ShipMethodFKID="22" Countries="AT" tmpID="z" IsDefault="True"/></ShipMethodZones>)"
      R"(<ShipMethodCalculators><ShipMethodCalculatorsItem PKID="42" RefType="1" RefFKID="32" Countries="AT" tmpID="c" IsDefault="True"/></ShipMethodCalculators>)"
      R"(<ShipMethodTables><ShipMethodTablesItem PKID="52" ShipCalculatorFKID="42" ChargeType="1" UpToAmount="100" tmpID="t" IsFixed="True" Charge="9.9"/></ShipMethodTables>)",
      2);
  EXPECT_EQ(Zones(), (Rows{Zone("160", "EU", "150")}));
  EXPECT_EQ(Calculators(), (Rows{Calculator("170", "1", "160")}));
  EXPECT_EQ(Rates(), (Rows{Rate("180", "170", "1", "100", "9.9")}));
  EXPECT_EQ((Strings{NewKey("//ShipMethodZonesItem[@PKID='32']"), NewKey("//ShipMethodCalculatorsItem[@PKID='42']"),
                     NewKey("//ShipMethodTablesItem[@PKID='52']")}),
            (Strings{"160", "170", "180"}));
  EXPECT_THAT(log->writes,
              ElementsAre("update ShipMethods 150 ID=S2 Name=Spedition ShipType= Description= SortOrder=0",
                          "update ShipMethodZones 160 Name=EU ShipMethodFKID=150 Countries=temp tmpID=temp "
                          "IsDefault=False",
                          "update ShipMethodCalculators 170 RefType=1 RefFKID=160 Countries=temp tmpID=temp "
                          "IsDefault=False",
                          "update ShipMethodTables 180 ShipCalculatorFKID=170 ChargeType=1 UpToAmount=100 tmpID=temp "
                          "IsFixed=False Charge=9.9"));
}

TEST_F(PaymentShipping, AZoneNameWithASingleQuoteIsFoundThroughSqlQuote) {
  Exec("INSERT INTO ShipMethods (PKID, ID) VALUES (5, 'S1')");
  Exec("INSERT INTO ShipMethodZones (PKID, Name, ShipMethodFKID, Countries) VALUES (6, 'Nord''see', 5, 'alt')");
  ImportSections(
      R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1"/></ShipMethods>)"
      R"(<ShipMethodZones><ShipMethodZonesItem PKID="31" Name="Nord'see" ShipMethodFKID="21"/></ShipMethodZones>)");
  EXPECT_EQ(Zones(), (Rows{Zone("6", "Nord'see", "5")}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM ShipMethodZones"), ElementsAre(ZoneLookup("Nord''see", 5)));
}

TEST_F(PaymentShipping, TheSameZoneNameUnderTwoShipMethodsMakesTwoZones) {
  ImportSections(
      R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1"/><ShipMethodsItem PKID="22" ID="S2"/></ShipMethods>)"
      R"(<ShipMethodZones><ShipMethodZonesItem PKID="31" Name="Inland" ShipMethodFKID="21"/>)"
      R"(<ShipMethodZonesItem PKID="32" Name="Inland" ShipMethodFKID="22"/></ShipMethodZones>)");
  EXPECT_EQ(Zones(), (Rows{Zone("1", "Inland", "1"), Zone("2", "Inland", "2")}));
}

// Ship method item 7 and zone item 7 have different new keys (2 and 1): RefType 0 refers to the ship method,
// any other RefType to the zone.
TEST_F(PaymentShipping, ACalculatorRefersToTheShipMethodWithRefType0AndToTheZoneOtherwise) {
  ImportSections(R"(<ShipMethods><ShipMethodsItem PKID="3" ID="S3"/><ShipMethodsItem PKID="7" ID="S7"/></ShipMethods>)"
                 R"(<ShipMethodZones><ShipMethodZonesItem PKID="7" Name="Z7" ShipMethodFKID="3"/></ShipMethodZones>)"
                 R"(<ShipMethodCalculators>)"
                 R"(<ShipMethodCalculatorsItem PKID="1" RefType="0" RefFKID="7"/>)"
                 R"(<ShipMethodCalculatorsItem PKID="2" RefType="1" RefFKID="7"/>)"
                 R"(<ShipMethodCalculatorsItem PKID="3" RefType="2" RefFKID="7"/>)"
                 R"(</ShipMethodCalculators>)");
  EXPECT_EQ(NewKey("//ShipMethodsItem[@PKID='7']"), "2");
  EXPECT_EQ(NewKey("//ShipMethodZonesItem[@PKID='7']"), "1");
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM ShipMethodCalculators"),
              ElementsAre(CalculatorLookup(0, 2), CalculatorLookup(1, 1), CalculatorLookup(2, 1)));
  EXPECT_EQ(Calculators(), (Rows{Calculator("1", "0", "2"), Calculator("2", "1", "1"), Calculator("3", "2", "1")}));
  EXPECT_EQ((Strings{NewKey("//ShipMethodCalculatorsItem[@PKID='1']"), NewKey("//ShipMethodCalculatorsItem[@PKID='2']"),
                     NewKey("//ShipMethodCalculatorsItem[@PKID='3']")}),
            (Strings{"1", "2", "3"}));
}

const char* kOneCalculator =
    R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1"/></ShipMethods>)"
    R"(<ShipMethodCalculators><ShipMethodCalculatorsItem PKID="41" RefType="0" RefFKID="21"/></ShipMethodCalculators>)";

// The amount is written into the statement as text and read back by the database's CDBL. This host's number
// format is fixed and writes "." as the decimal separator: CDBL('12.5'). A host with a German number format
// would write CDBL('12,5'), which the database reads as the same number.
TEST_F(PaymentShipping, ARateIsLookedUpByCalculatorChargeTypeAndItsAmountAsTextInCdbl) {
  ImportSections(
      std::string(kOneCalculator) +
      R"(<ShipMethodTables>)"
      R"(<ShipMethodTablesItem PKID="51" ShipCalculatorFKID="41" ChargeType="0" UpToAmount="12.5" Charge="1"/>)"
      R"(<ShipMethodTablesItem PKID="52" ShipCalculatorFKID="41" ChargeType="1" UpToAmount="12.50" Charge="2"/>)"
      R"(<ShipMethodTablesItem PKID="53" ShipCalculatorFKID="41" ChargeType="0" UpToAmount="1e3" Charge="3"/>)"
      R"(<ShipMethodTablesItem PKID="54" ShipCalculatorFKID="41" ChargeType="0" Charge="4"/>)"
      R"(<ShipMethodTablesItem PKID="55" ShipCalculatorFKID="41" ChargeType="0" UpToAmount="0.1" Charge="5"/>)"
      R"(</ShipMethodTables>)");
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM ShipMethodTables"),
              ElementsAre(RateLookup(1, 0, "12.5"), RateLookup(1, 1, "12.5"), RateLookup(1, 0, "1000"),
                          RateLookup(1, 0, "0"), RateLookup(1, 0, "0.1")));
  EXPECT_EQ(Rates(),
            (Rows{Rate("1", "1", "0", "12.5", "1"), Rate("2", "1", "1", "12.5", "2"), Rate("3", "1", "0", "1000", "3"),
                  Rate("4", "1", "0", "0", "4"), Rate("5", "1", "0", "0.1", "5")}));
}

TEST_F(PaymentShipping, AnExistingRateIsFoundByItsAmountThroughCdbl) {
  Exec("INSERT INTO ShipMethods (PKID, ID) VALUES (5, 'S1')");
  Exec("INSERT INTO ShipMethodCalculators (PKID, RefType, RefFKID) VALUES (6, 0, 5)");
  Exec(
      "INSERT INTO ShipMethodTables (PKID, ShipCalculatorFKID, ChargeType, UpToAmount, Charge) "
      "VALUES (7, 6, 0, 12.5, 1)");
  ImportSections(
      std::string(kOneCalculator) +
      R"(<ShipMethodTables><ShipMethodTablesItem PKID="51" ShipCalculatorFKID="41" ChargeType="0" UpToAmount="12.5" Charge="3.5"/></ShipMethodTables>)");
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM ShipMethodTables"), ElementsAre(RateLookup(6, 0, "12.5")));
  EXPECT_EQ(Rates(), (Rows{Rate("7", "6", "0", "12.5", "3.5")}));
  EXPECT_EQ(NewKey("//ShipMethodTablesItem[@PKID='51']"), "7");
}

const std::string kTwoEqualRates =
    std::string(kOneCalculator) +
    R"(<ShipMethodTables>)"
    R"(<ShipMethodTablesItem PKID="51" ShipCalculatorFKID="41" ChargeType="0" UpToAmount="12.5" Charge="1"/>)"
    R"(<ShipMethodTablesItem PKID="52" ShipCalculatorFKID="41" ChargeType="0" UpToAmount="12.50" Charge="2"/>)"
    R"(</ShipMethodTables>)";

TEST_F(PaymentShipping, InMode0TheSecondOfTwoEqualRatesOverwritesTheRowTheFirstCreated) {
  ImportSections(kTwoEqualRates, 0);
  EXPECT_EQ(Rates(), (Rows{Rate("1", "1", "0", "12.5", "2")}));
  EXPECT_EQ(NewKey("//ShipMethodTablesItem[@PKID='51']"), "1");
  EXPECT_EQ(NewKey("//ShipMethodTablesItem[@PKID='52']"), "1");
}

TEST_F(PaymentShipping, InMode1TheSecondOfTwoEqualRatesLeavesTheRowAloneAndGetsNoNewKey) {
  ImportSections(kTwoEqualRates, 1);
  EXPECT_EQ(Rates(), (Rows{Rate("1", "1", "0", "12.5", "1")}));
  EXPECT_EQ(NewKey("//ShipMethodTablesItem[@PKID='51']"), "1");
  EXPECT_EQ(NewKey("//ShipMethodTablesItem[@PKID='52']"), "absent");
}

// The lookup and the insert use 0 for the missing ChargeType, but the copy hands the small-integer field the
// empty text, which it refuses: the row stays as the insert saved it, the importer ends, and the still-open
// working recordset ends the payment exclusions after it at their first item.
TEST_F(PaymentShipping, ARateWithoutChargeTypeIsAddedWith0AndEndsTheImporterAtTheCopy) {
  ImportSections(
      std::string(kOneCalculator) +
      R"(<ShipMethodTables>)"
      R"(<ShipMethodTablesItem PKID="51" ShipCalculatorFKID="41" UpToAmount="12.5" tmpID="x" Charge="1"/>)"
      R"(<ShipMethodTablesItem PKID="52" ShipCalculatorFKID="41" ChargeType="1" UpToAmount="20"/>)"
      R"(</ShipMethodTables>)"
      R"(<PayMethods><PayMethodsItem PKID="11" ID="P1"/></PayMethods>)"
      R"(<Pay2ShipMethodsExcl><Pay2ShipMethodsExclItem PKID="81" PayMethodFKID="11" ShipMethodFKID="21"/></Pay2ShipMethodsExcl>)");
  EXPECT_EQ(Rates(), (Rows{{"1", "1", "0", "12.5", "NULL", "False", "0"}}));
  EXPECT_EQ(NewKey("//ShipMethodTablesItem[@PKID='51']"), "1");
  EXPECT_EQ(PayShipExclusions(), Rows{});
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM ShipMethodTables"), ElementsAre(RateLookup(1, 0, "12.5")));
  EXPECT_EQ(QueriesStartingWith("SELECT * FROM Pay2ShipMethodsExcl"), Strings{});
}

// ----- References that cannot be translated ----------------------------------------------------------------

// One ship method, zone, calculator and rate that import; the case puts an item that cannot be translated and a
// good item after it into one section. The bad item ends that importer: neither it nor the item after it is
// looked up or written, and the importers after it go on.
struct UntranslatableCase {
  std::string name;
  std::string section;
  std::string item;
};

std::string ChainWith(const UntranslatableCase& c) {
  auto section = [&](const std::string& name, const std::string& good, const std::string& after) {
    return "<" + name + ">" + good + (c.section == name ? c.item + after : "") + "</" + name + ">";
  };
  return R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1"/></ShipMethods>)" +
         section("ShipMethodZones", R"(<ShipMethodZonesItem PKID="31" Name="Inland" ShipMethodFKID="21"/>)",
                 R"(<ShipMethodZonesItem PKID="39" Name="Später" ShipMethodFKID="21"/>)") +
         section("ShipMethodCalculators", R"(<ShipMethodCalculatorsItem PKID="41" RefType="0" RefFKID="21"/>)",
                 R"(<ShipMethodCalculatorsItem PKID="49" RefType="1" RefFKID="31"/>)") +
         section("ShipMethodTables",
                 R"(<ShipMethodTablesItem PKID="51" ShipCalculatorFKID="41" ChargeType="0" UpToAmount="10"/>)",
                 R"(<ShipMethodTablesItem PKID="59" ShipCalculatorFKID="41" ChargeType="1" UpToAmount="20"/>)");
}

class UntranslatableReference : public PaymentShipping, public ::testing::WithParamInterface<UntranslatableCase> {};

TEST_P(UntranslatableReference, EndsItsImporterAtThatItem) {
  const UntranslatableCase& c = GetParam();
  ImportSections(ChainWith(c));
  EXPECT_EQ(Zones(), (Rows{Zone("1", "Inland", "1")}));
  EXPECT_EQ(Calculators(), (Rows{Calculator("1", "0", "1")}));
  EXPECT_EQ(Rates(), (Rows{Rate("1", "1", "0", "10", "0")}));
  EXPECT_THAT(connection->queries,
              ElementsAre(ShipLookup("S1"), ZoneLookup("Inland", 1), CalculatorLookup(0, 1), RateLookup(1, 0, "10")));
  // The bad item's PKID ends in 8, the one after it in 9 (38 and 39 for zones, and so on).
  const std::string tens = c.section == "ShipMethodZones" ? "3" : c.section == "ShipMethodCalculators" ? "4" : "5";
  EXPECT_EQ(NewKey("//" + c.section + "Item[@PKID='" + tens + "8']"), "absent");
  EXPECT_EQ(NewKey("//" + c.section + "Item[@PKID='" + tens + "9']"), "absent");
  Strings progress = {kGroupStatus, "1/1 "};
  for (const std::string section : {"ShipMethodZones", "ShipMethodCalculators", "ShipMethodTables"}) {
    if (section == c.section) {
      progress.insert(progress.end(), {"3/1 ", "3/2 "});
    } else {
      progress.push_back("1/1 ");
    }
  }
  progress.push_back(kNextStatus);
  EXPECT_THAT(GroupProgress(), ElementsAreArray(progress));
}

INSTANTIATE_TEST_SUITE_P(
    PaymentShipping, UntranslatableReference,
    ::testing::Values(
        UntranslatableCase{"ZoneWithoutShipMethodKey", "ShipMethodZones",
                           R"(<ShipMethodZonesItem PKID="38" Name="Ohne"/>)"},
        UntranslatableCase{"ZoneWithAnEmptyShipMethodKey", "ShipMethodZones",
                           R"(<ShipMethodZonesItem PKID="38" Name="Leer" ShipMethodFKID=""/>)"},
        UntranslatableCase{"ZoneWithANonNumericShipMethodKey", "ShipMethodZones",
                           R"(<ShipMethodZonesItem PKID="38" Name="Text" ShipMethodFKID="S1"/>)"},
        UntranslatableCase{"ZoneOfAShipMethodMissingFromTheCatalogue", "ShipMethodZones",
                           R"(<ShipMethodZonesItem PKID="38" Name="Fremd" ShipMethodFKID="99"/>)"},
        UntranslatableCase{"CalculatorWithoutRefType", "ShipMethodCalculators",
                           R"(<ShipMethodCalculatorsItem PKID="48" RefFKID="21"/>)"},
        UntranslatableCase{"CalculatorWithAnEmptyRefType", "ShipMethodCalculators",
                           R"(<ShipMethodCalculatorsItem PKID="48" RefType="" RefFKID="21"/>)"},
        UntranslatableCase{"CalculatorWithARefTypeBeyond16Bits", "ShipMethodCalculators",
                           R"(<ShipMethodCalculatorsItem PKID="48" RefType="40000" RefFKID="31"/>)"},
        UntranslatableCase{"CalculatorWithoutRefFKID", "ShipMethodCalculators",
                           R"(<ShipMethodCalculatorsItem PKID="48" RefType="0"/>)"},
        UntranslatableCase{"CalculatorWithAnEmptyRefFKID", "ShipMethodCalculators",
                           R"(<ShipMethodCalculatorsItem PKID="48" RefType="1" RefFKID=""/>)"},
        // 31 is a zone, not a ship method.
        UntranslatableCase{"CalculatorOfAShipMethodMissingFromTheCatalogue", "ShipMethodCalculators",
                           R"(<ShipMethodCalculatorsItem PKID="48" RefType="0" RefFKID="31"/>)"},
        // 21 is a ship method, not a zone.
        UntranslatableCase{"CalculatorOfAZoneMissingFromTheCatalogue", "ShipMethodCalculators",
                           R"(<ShipMethodCalculatorsItem PKID="48" RefType="1" RefFKID="21"/>)"},
        UntranslatableCase{
            "RateOfACalculatorMissingFromTheCatalogue", "ShipMethodTables",
            R"(<ShipMethodTablesItem PKID="58" ShipCalculatorFKID="99" ChargeType="0" UpToAmount="5"/>)"},
        // The missing key reads as 0, and there is no calculator item 0.
        UntranslatableCase{"RateWithoutCalculatorKey", "ShipMethodTables",
                           R"(<ShipMethodTablesItem PKID="58" ChargeType="0" UpToAmount="5"/>)"},
        UntranslatableCase{
            "RateOfAZoneKey", "ShipMethodTables",
            R"(<ShipMethodTablesItem PKID="58" ShipCalculatorFKID="31" ChargeType="0" UpToAmount="5"/>)"}),
    [](const ::testing::TestParamInfo<UntranslatableCase>& info) { return info.param.name; });

// The strict form selects the referenced item by its PKID as text ('21' does not find "021"); the lenient form
// by its PKID as a number (11 finds "011"). The key is read as a whole number first ("22.0" is 22).
TEST_F(PaymentShipping, TheStrictFormComparesTheKeyAsTextTheLenientFormAsANumber) {
  ImportSections(
      R"(<PayMethods><PayMethodsItem PKID="011" ID="P1"/></PayMethods>)"
      R"(<ShipMethods><ShipMethodsItem PKID="021" ID="S1"/><ShipMethodsItem PKID="22" ID="S2"/></ShipMethods>)"
      R"(<ShipMethodZones><ShipMethodZonesItem PKID="32" Name="EU" ShipMethodFKID="22.0"/>)"
      R"(<ShipMethodZonesItem PKID="31" Name="Inland" ShipMethodFKID="21"/></ShipMethodZones>)"
      R"(<Pay2ShipMethodsExcl><Pay2ShipMethodsExclItem PKID="81" PayMethodFKID="11" ShipMethodFKID="21"/></Pay2ShipMethodsExcl>)");
  EXPECT_EQ(Zones(), (Rows{Zone("1", "EU", "2")}));
  EXPECT_EQ(NewKey("//ShipMethodZonesItem[@PKID='31']"), "absent");
  EXPECT_EQ(PayShipExclusions(), (Rows{{"1", "1", "1"}}));
  EXPECT_THAT(connection->queries, ElementsAre(PayLookup("P1"), ShipLookup("S1"), ShipLookup("S2"), ZoneLookup("EU", 2),
                                               PayShipLookup(1, 1)));
}

// The strict form looks only in the section itself.
TEST_F(PaymentShipping, AShipMethodItemOutsideItsSectionIsNotFoundByAZone) {
  ImportSections(
      R"(<Elsewhere><ShipMethodsItem PKID="21" NewPKID="5"/></Elsewhere>)"
      R"(<ShipMethodZones><ShipMethodZonesItem PKID="31" Name="Inland" ShipMethodFKID="21"/></ShipMethodZones>)");
  EXPECT_EQ(Zones(), Rows{});
  EXPECT_EQ(connection->queries, Strings{});
}

// ===== Exclusions ==========================================================================================

// P2, S2 and the zone EU are the existing records of the pre-filled shop, each with an exclusion to region AT.
const char* kExclusions =
    R"(<PayMethods><PayMethodsItem PKID="11" ID="P1"/><PayMethodsItem PKID="12" ID="P2"/></PayMethods>)"
    R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1"/><ShipMethodsItem PKID="22" ID="S2"/></ShipMethods>)"
    R"(<ShipMethodZones><ShipMethodZonesItem PKID="31" Name="Inland" ShipMethodFKID="21"/>)"
    R"(<ShipMethodZonesItem PKID="32" Name="EU" ShipMethodFKID="22"/></ShipMethodZones>)"
    R"(<Pay2ShipMethodsExcl><Pay2ShipMethodsExclItem PKID="81" PayMethodFKID="11" ShipMethodFKID="22"/>)"
    R"(<Pay2ShipMethodsExclItem PKID="82" PayMethodFKID="12" ShipMethodFKID="22"/></Pay2ShipMethodsExcl>)"
    R"(<PayMethods2RegionsExcl><PayMethods2RegionsExclItem PKID="83" PayMethodFKID="11" RegionFKID="CH"/>)"
    R"(<PayMethods2RegionsExclItem PKID="84" PayMethodFKID="12" RegionFKID="AT"/></PayMethods2RegionsExcl>)"
    R"(<Regions2ShipZones><Regions2ShipZonesItem PKID="85" ShipZoneFKID="31" RegionFKID="DE"/>)"
    R"(<Regions2ShipZonesItem PKID="86" ShipZoneFKID="32" RegionFKID="AT"/></Regions2ShipZones>)";

const char* kPrefilledExclusions =
    "INSERT INTO PayMethods (PKID, ID) VALUES (140, 'P2');"
    "INSERT INTO ShipMethods (PKID, ID) VALUES (150, 'S2');"
    "INSERT INTO ShipMethodZones (PKID, Name, ShipMethodFKID) VALUES (160, 'EU', 150);"
    "INSERT INTO Pay2ShipMethodsExcl (PKID, PayMethodFKID, ShipMethodFKID) VALUES (190, 140, 150);"
    "INSERT INTO PayMethods2RegionsExcl (PKID, PayMethodFKID, RegionFKID) VALUES (190, 140, 'AT');"
    "INSERT INTO Regions2ShipZones (PKID, ShipZoneFKID, RegionFKID) VALUES (190, 160, 'AT')";

const Strings kExclusionTables = {"Pay2ShipMethodsExcl", "PayMethods2RegionsExcl", "Regions2ShipZones"};

struct ExclusionCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows pay_ship;
  Rows pay_regions;
  Rows region_zones;
  Strings queries;
  Strings writes;  // to the three exclusion tables
};

class ExclusionsByMode : public PaymentShipping, public ::testing::WithParamInterface<ExclusionCase> {};

TEST_P(ExclusionsByMode, WriteTheRecordsThatTheModeAllowsAndNoNewKeys) {
  const ExclusionCase& c = GetParam();
  if (c.prefilled) Exec(kPrefilledExclusions);
  ImportSections(kExclusions, c.mode);
  EXPECT_EQ(PayShipExclusions(), c.pay_ship);
  EXPECT_EQ(PayRegionExclusions(), c.pay_regions);
  EXPECT_EQ(RegionZones(), c.region_zones);
  EXPECT_THAT(connection->queries, ElementsAreArray(c.queries));
  EXPECT_THAT(WritesTo(kExclusionTables), ElementsAreArray(c.writes));
  EXPECT_EQ(
      (Strings{NewKey("//Pay2ShipMethodsExclItem[@PKID='81']"), NewKey("//Pay2ShipMethodsExclItem[@PKID='82']"),
               NewKey("//PayMethods2RegionsExclItem[@PKID='83']"), NewKey("//PayMethods2RegionsExclItem[@PKID='84']"),
               NewKey("//Regions2ShipZonesItem[@PKID='85']"), NewKey("//Regions2ShipZonesItem[@PKID='86']")}),
      Strings(6, "absent"));
}

const Strings kMethodLookups = {PayLookup("P1"), PayLookup("P2"), ShipLookup("S1"), ShipLookup("S2")};

Strings Concat(Strings a, const Strings& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

INSTANTIATE_TEST_SUITE_P(
    PaymentShipping, ExclusionsByMode,
    ::testing::Values(
        ExclusionCase{"EmptyShopMode0",
                      0,
                      false,
                      {{"1", "1", "2"}, {"2", "2", "2"}},
                      {{"1", "1", "CH"}, {"2", "2", "AT"}},
                      {{"1", "1", "DE"}, {"2", "2", "AT"}},
                      Concat(kMethodLookups, {ZoneLookup("Inland", 1), ZoneLookup("EU", 2), PayShipLookup(1, 2),
                                              PayShipLookup(2, 2), PayRegionLookup(1, "CH"), PayRegionLookup(2, "AT"),
                                              RegionZoneLookup(1, "DE"), RegionZoneLookup(2, "AT")}),
                      {"add Pay2ShipMethodsExcl PayMethodFKID=1 ShipMethodFKID=2",
                       "update Pay2ShipMethodsExcl 1 PayMethodFKID=1 ShipMethodFKID=2",
                       "add Pay2ShipMethodsExcl PayMethodFKID=2 ShipMethodFKID=2",
                       "update Pay2ShipMethodsExcl 2 PayMethodFKID=2 ShipMethodFKID=2",
                       "add PayMethods2RegionsExcl PayMethodFKID=1 RegionFKID=CH",
                       "update PayMethods2RegionsExcl 1 PayMethodFKID=1 RegionFKID=CH",
                       "add PayMethods2RegionsExcl PayMethodFKID=2 RegionFKID=AT",
                       "update PayMethods2RegionsExcl 2 PayMethodFKID=2 RegionFKID=AT",
                       "add Regions2ShipZones ShipZoneFKID=1 RegionFKID=DE",
                       "update Regions2ShipZones 1 ShipZoneFKID=1 RegionFKID=DE",
                       "add Regions2ShipZones ShipZoneFKID=2 RegionFKID=AT",
                       "update Regions2ShipZones 2 ShipZoneFKID=2 RegionFKID=AT"}},
        ExclusionCase{"EmptyShopMode1",
                      1,
                      false,
                      {{"1", "1", "2"}, {"2", "2", "2"}},
                      {{"1", "1", "CH"}, {"2", "2", "AT"}},
                      {{"1", "1", "DE"}, {"2", "2", "AT"}},
                      Concat(kMethodLookups, {ZoneLookup("Inland", 1), ZoneLookup("EU", 2), PayShipLookup(1, 2),
                                              PayShipLookup(2, 2), PayRegionLookup(1, "CH"), PayRegionLookup(2, "AT"),
                                              RegionZoneLookup(1, "DE"), RegionZoneLookup(2, "AT")}),
                      {"add Pay2ShipMethodsExcl PayMethodFKID=1 ShipMethodFKID=2",
                       "update Pay2ShipMethodsExcl 1 PayMethodFKID=1 ShipMethodFKID=2",
                       "add Pay2ShipMethodsExcl PayMethodFKID=2 ShipMethodFKID=2",
                       "update Pay2ShipMethodsExcl 2 PayMethodFKID=2 ShipMethodFKID=2",
                       "add PayMethods2RegionsExcl PayMethodFKID=1 RegionFKID=CH",
                       "update PayMethods2RegionsExcl 1 PayMethodFKID=1 RegionFKID=CH",
                       "add PayMethods2RegionsExcl PayMethodFKID=2 RegionFKID=AT",
                       "update PayMethods2RegionsExcl 2 PayMethodFKID=2 RegionFKID=AT",
                       "add Regions2ShipZones ShipZoneFKID=1 RegionFKID=DE",
                       "update Regions2ShipZones 1 ShipZoneFKID=1 RegionFKID=DE",
                       "add Regions2ShipZones ShipZoneFKID=2 RegionFKID=AT",
                       "update Regions2ShipZones 2 ShipZoneFKID=2 RegionFKID=AT"}},
        // No method or zone is created and none has a NewPKID (the zones end at their first item): every key
        // translates to 0, and nothing is found or created.
        ExclusionCase{
            "EmptyShopMode2",
            2,
            false,
            {},
            {},
            {},
            Concat(kMethodLookups, {PayShipLookup(0, 0), PayShipLookup(0, 0), PayRegionLookup(0, "CH"),
                                    PayRegionLookup(0, "AT"), RegionZoneLookup(0, "DE"), RegionZoneLookup(0, "AT")}),
            {}},
        ExclusionCase{
            "PrefilledShopMode0",
            0,
            true,
            {{"190", "140", "150"}, {"191", "141", "150"}},
            {{"190", "140", "AT"}, {"191", "141", "CH"}},
            {{"190", "160", "AT"}, {"191", "161", "DE"}},
            Concat(kMethodLookups, {ZoneLookup("Inland", 151), ZoneLookup("EU", 150), PayShipLookup(141, 150),
                                    PayShipLookup(140, 150), PayRegionLookup(141, "CH"), PayRegionLookup(140, "AT"),
                                    RegionZoneLookup(161, "DE"), RegionZoneLookup(160, "AT")}),
            {"add Pay2ShipMethodsExcl PayMethodFKID=141 ShipMethodFKID=150",
             "update Pay2ShipMethodsExcl 191 PayMethodFKID=141 ShipMethodFKID=150",
             "update Pay2ShipMethodsExcl 190 PayMethodFKID=140 ShipMethodFKID=150",
             "add PayMethods2RegionsExcl PayMethodFKID=141 RegionFKID=CH",
             "update PayMethods2RegionsExcl 191 PayMethodFKID=141 RegionFKID=CH",
             "update PayMethods2RegionsExcl 190 PayMethodFKID=140 RegionFKID=AT",
             "add Regions2ShipZones ShipZoneFKID=161 RegionFKID=DE",
             "update Regions2ShipZones 191 ShipZoneFKID=161 RegionFKID=DE",
             "update Regions2ShipZones 190 ShipZoneFKID=160 RegionFKID=AT"}},
        // P2 and S2 exist and get no NewPKID, and the zone EU (of S2) ends the zone import: their references
        // translate to 0, and mode 1 creates exclusions with the key 0.
        ExclusionCase{"PrefilledShopMode1",
                      1,
                      true,
                      {{"190", "140", "150"}, {"191", "141", "0"}, {"192", "0", "0"}},
                      {{"190", "140", "AT"}, {"191", "141", "CH"}, {"192", "0", "AT"}},
                      {{"190", "160", "AT"}, {"191", "161", "DE"}, {"192", "0", "AT"}},
                      Concat(kMethodLookups, {ZoneLookup("Inland", 151), PayShipLookup(141, 0), PayShipLookup(0, 0),
                                              PayRegionLookup(141, "CH"), PayRegionLookup(0, "AT"),
                                              RegionZoneLookup(161, "DE"), RegionZoneLookup(0, "AT")}),
                      {"add Pay2ShipMethodsExcl PayMethodFKID=141 ShipMethodFKID=0",
                       "update Pay2ShipMethodsExcl 191 PayMethodFKID=141 ShipMethodFKID=0",
                       "add Pay2ShipMethodsExcl PayMethodFKID=0 ShipMethodFKID=0",
                       "update Pay2ShipMethodsExcl 192 PayMethodFKID=0 ShipMethodFKID=0",
                       "add PayMethods2RegionsExcl PayMethodFKID=141 RegionFKID=CH",
                       "update PayMethods2RegionsExcl 191 PayMethodFKID=141 RegionFKID=CH",
                       "add PayMethods2RegionsExcl PayMethodFKID=0 RegionFKID=AT",
                       "update PayMethods2RegionsExcl 192 PayMethodFKID=0 RegionFKID=AT",
                       "add Regions2ShipZones ShipZoneFKID=161 RegionFKID=DE",
                       "update Regions2ShipZones 191 ShipZoneFKID=161 RegionFKID=DE",
                       "add Regions2ShipZones ShipZoneFKID=0 RegionFKID=AT",
                       "update Regions2ShipZones 192 ShipZoneFKID=0 RegionFKID=AT"}},
        // P1 and S1 are not created; the zone Inland (of S1) ends the zone import before EU, so neither zone
        // has a NewPKID. Only the existing exclusions of P2 are found, and are written again.
        ExclusionCase{
            "PrefilledShopMode2",
            2,
            true,
            {{"190", "140", "150"}},
            {{"190", "140", "AT"}},
            {{"190", "160", "AT"}},
            Concat(kMethodLookups, {PayShipLookup(0, 150), PayShipLookup(140, 150), PayRegionLookup(0, "CH"),
                                    PayRegionLookup(140, "AT"), RegionZoneLookup(0, "DE"), RegionZoneLookup(0, "AT")}),
            {"update Pay2ShipMethodsExcl 190 PayMethodFKID=140 ShipMethodFKID=150",
             "update PayMethods2RegionsExcl 190 PayMethodFKID=140 RegionFKID=AT"}}),
    [](const ::testing::TestParamInfo<ExclusionCase>& info) { return info.param.name; });

TEST_F(PaymentShipping, APaymentExclusionOfAPayMethodWithoutNewPkidIsWrittenWithPayMethodKey0) {
  Exec("INSERT INTO PayMethods (PKID, ID) VALUES (5, 'P1')");
  ImportSections(
      R"(<PayMethods><PayMethodsItem PKID="11" ID="P1"/></PayMethods>)"
      R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1"/></ShipMethods>)"
      R"(<Pay2ShipMethodsExcl><Pay2ShipMethodsExclItem PKID="81" PayMethodFKID="11" ShipMethodFKID="21"/></Pay2ShipMethodsExcl>)"
      R"(<PayMethods2RegionsExcl><PayMethods2RegionsExclItem PKID="83" PayMethodFKID="11" RegionFKID="CH"/></PayMethods2RegionsExcl>)",
      1);
  EXPECT_EQ(NewKey("//PayMethodsItem[@PKID='11']"), "absent");
  EXPECT_EQ(PayShipExclusions(), (Rows{{"1", "0", "1"}}));
  EXPECT_EQ(PayRegionExclusions(), (Rows{{"1", "0", "CH"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Pay"),
              ElementsAre(PayLookup("P1"), PayShipLookup(0, 1), PayRegionLookup(0, "CH")));
}

// The region code goes into the statement as it stands: a single quote in it makes the statement invalid, and
// the importer ends at that item. The importer after it goes on.
TEST_F(PaymentShipping, ARegionCodeWithASingleQuoteMakesTheLookupInvalidAndEndsTheImporter) {
  ImportSections(
      R"(<PayMethods><PayMethodsItem PKID="11" ID="P1"/></PayMethods>)"
      R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1"/></ShipMethods>)"
      R"(<ShipMethodZones><ShipMethodZonesItem PKID="31" Name="Inland" ShipMethodFKID="21"/></ShipMethodZones>)"
      R"(<PayMethods2RegionsExcl><PayMethods2RegionsExclItem PKID="83" PayMethodFKID="11" RegionFKID="CH"/>)"
      R"(<PayMethods2RegionsExclItem PKID="84" PayMethodFKID="11" RegionFKID="A'B"/>)"
      R"(<PayMethods2RegionsExclItem PKID="85" PayMethodFKID="11" RegionFKID="DE"/></PayMethods2RegionsExcl>)"
      R"(<Regions2ShipZones><Regions2ShipZonesItem PKID="86" ShipZoneFKID="31" RegionFKID="CH"/>)"
      R"(<Regions2ShipZonesItem PKID="87" ShipZoneFKID="31" RegionFKID="O'Land"/>)"
      R"(<Regions2ShipZonesItem PKID="88" ShipZoneFKID="31" RegionFKID="DE"/></Regions2ShipZones>)");
  EXPECT_EQ(PayRegionExclusions(), (Rows{{"1", "1", "CH"}}));
  EXPECT_EQ(RegionZones(), (Rows{{"1", "1", "CH"}}));
  EXPECT_THAT(connection->queries,
              ElementsAre(PayLookup("P1"), ShipLookup("S1"), ZoneLookup("Inland", 1), PayRegionLookup(1, "CH"),
                          PayRegionLookup(1, "A'B"), RegionZoneLookup(1, "CH"), RegionZoneLookup(1, "O'Land")));
  EXPECT_THAT(GroupProgress(),
              ElementsAre(kGroupStatus, "1/1 ", "1/1 ", "1/1 ", "3/1 ", "3/2 ", "3/1 ", "3/2 ", kNextStatus));
}

// Exclusions that name an item missing from the catalogue: P1 (11), S1 (21), S2 (22) and the zone Inland (31)
// exist. The case puts the bad item and a good item after it into one section; the importer ends at the bad
// item, and the importers after it go on.
struct MissingItemCase {
  std::string name;
  std::string section;
  std::string item;
};

std::string ExclusionsWith(const MissingItemCase& c) {
  auto section = [&](const std::string& name, const std::string& good, const std::string& after) {
    return "<" + name + ">" + good + (c.section == name ? c.item + after : "") + "</" + name + ">";
  };
  return R"(<PayMethods><PayMethodsItem PKID="11" ID="P1"/></PayMethods>)"
         R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1"/><ShipMethodsItem PKID="22" ID="S2"/></ShipMethods>)"
         R"(<ShipMethodZones><ShipMethodZonesItem PKID="31" Name="Inland" ShipMethodFKID="21"/></ShipMethodZones>)" +
         section("Pay2ShipMethodsExcl",
                 R"(<Pay2ShipMethodsExclItem PKID="81" PayMethodFKID="11" ShipMethodFKID="21"/>)",
                 R"(<Pay2ShipMethodsExclItem PKID="89" PayMethodFKID="11" ShipMethodFKID="22"/>)") +
         section("PayMethods2RegionsExcl",
                 R"(<PayMethods2RegionsExclItem PKID="83" PayMethodFKID="11" RegionFKID="CH"/>)",
                 R"(<PayMethods2RegionsExclItem PKID="89" PayMethodFKID="11" RegionFKID="AT"/>)") +
         section("Regions2ShipZones", R"(<Regions2ShipZonesItem PKID="85" ShipZoneFKID="31" RegionFKID="DE"/>)",
                 R"(<Regions2ShipZonesItem PKID="89" ShipZoneFKID="31" RegionFKID="AT"/>)");
}

class ExclusionOfAMissingItem : public PaymentShipping, public ::testing::WithParamInterface<MissingItemCase> {};

TEST_P(ExclusionOfAMissingItem, EndsItsImporterAtThatItem) {
  ImportSections(ExclusionsWith(GetParam()));
  EXPECT_EQ(PayShipExclusions(), (Rows{{"1", "1", "1"}}));
  EXPECT_EQ(PayRegionExclusions(), (Rows{{"1", "1", "CH"}}));
  EXPECT_EQ(RegionZones(), (Rows{{"1", "1", "DE"}}));
  EXPECT_THAT(connection->queries,
              ElementsAre(PayLookup("P1"), ShipLookup("S1"), ShipLookup("S2"), ZoneLookup("Inland", 1),
                          PayShipLookup(1, 1), PayRegionLookup(1, "CH"), RegionZoneLookup(1, "DE")));
}

INSTANTIATE_TEST_SUITE_P(
    PaymentShipping, ExclusionOfAMissingItem,
    ::testing::Values(MissingItemCase{"PaymentExclusionOfAMissingPayMethod", "Pay2ShipMethodsExcl",
                                      R"(<Pay2ShipMethodsExclItem PKID="82" PayMethodFKID="99" ShipMethodFKID="21"/>)"},
                      MissingItemCase{"PaymentExclusionOfAMissingShipMethod", "Pay2ShipMethodsExcl",
                                      R"(<Pay2ShipMethodsExclItem PKID="82" PayMethodFKID="11" ShipMethodFKID="99"/>)"},
                      // The missing key reads as 0, and there is no pay method item 0.
                      MissingItemCase{"PaymentExclusionWithoutPayMethodKey", "Pay2ShipMethodsExcl",
                                      R"(<Pay2ShipMethodsExclItem PKID="82" ShipMethodFKID="21"/>)"},
                      MissingItemCase{"RegionExclusionOfAMissingPayMethod", "PayMethods2RegionsExcl",
                                      R"(<PayMethods2RegionsExclItem PKID="84" PayMethodFKID="99" RegionFKID="FR"/>)"},
                      MissingItemCase{"RegionExclusionWithoutPayMethodKey", "PayMethods2RegionsExcl",
                                      R"(<PayMethods2RegionsExclItem PKID="84" RegionFKID="FR"/>)"},
                      MissingItemCase{"ZoneRegionOfAMissingZone", "Regions2ShipZones",
                                      R"(<Regions2ShipZonesItem PKID="86" ShipZoneFKID="99" RegionFKID="FR"/>)"},
                      MissingItemCase{"ZoneRegionWithoutZoneKey", "Regions2ShipZones",
                                      R"(<Regions2ShipZonesItem PKID="86" RegionFKID="FR"/>)"}),
    [](const ::testing::TestParamInfo<MissingItemCase>& info) { return info.param.name; });

// ===== The group as a whole ================================================================================

const char* kOneOfEach =
    R"(<PayMethods><PayMethodsItem PKID="11" ID="P1" Name="Vorkasse" ChargeType="1" TransType="2" TaxClass="3" Config="aus dem Katalog" Description="vorab" SortOrder="1"/></PayMethods>)"
    R"(<ShipMethods><ShipMethodsItem PKID="21" ID="S1" Name="Paket" ShipType="parcel" Config="aus dem Katalog" CalcProductSurcharges="True" Description="Post" SortOrder="1"/></ShipMethods>)"
    R"(<ShipMethodZones><ShipMethodZonesItem PKID="31" Name="Inland" ShipMethodFKID="21" Countries="DE" tmpID="z1" IsDefault="True"/></ShipMethodZones>)"
    R"(<ShipMethodCalculators><ShipMethodCalculatorsItem PKID="41" RefType="1" RefFKID="31" Countries="DE" tmpID="c1" IsDefault="True"/></ShipMethodCalculators>)"
    R"(<ShipMethodTables><ShipMethodTablesItem PKID="51" ShipCalculatorFKID="41" ChargeType="2" UpToAmount="12.5" tmpID="t1" IsFixed="True" Charge="4.9"/></ShipMethodTables>)"
    R"(<Pay2ShipMethodsExcl><Pay2ShipMethodsExclItem PKID="81" PayMethodFKID="11" ShipMethodFKID="21"/></Pay2ShipMethodsExcl>)"
    R"(<PayMethods2RegionsExcl><PayMethods2RegionsExclItem PKID="83" PayMethodFKID="11" RegionFKID="CH"/></PayMethods2RegionsExcl>)"
    R"(<Regions2ShipZones><Regions2ShipZonesItem PKID="85" ShipZoneFKID="31" RegionFKID="DE"/></Regions2ShipZones>)";

// Each record is added with its key (and the placeholders of the methods), then filled in the same pass: zones
// and calculators with Countries and tmpID "temp" and IsDefault 0, rates with tmpID "temp" and IsFixed "0".
TEST_F(PaymentShipping, AFirstImportAddsEachRecordWithItsKeyAndFillsItInTheSamePass) {
  ImportSections(kOneOfEach);
  EXPECT_THAT(
      log->writes,
      ElementsAre("add PayMethods ID=P1 Name=temp ChargeType=0 TransType=0 TaxClass=0",
                  "update PayMethods 1 ID=P1 Name=Vorkasse ChargeType=1 TransType=2 TaxClass=3 Description=vorab "
                  "SortOrder=1",
                  "add ShipMethods ID=S1 Name=temp ShipType=temp",
                  "update ShipMethods 1 ID=S1 Name=Paket ShipType=parcel Description=Post SortOrder=1",
                  "add ShipMethodZones Name=Inland ShipMethodFKID=1",
                  "update ShipMethodZones 1 Name=Inland ShipMethodFKID=1 Countries=temp tmpID=temp IsDefault=False",
                  "add ShipMethodCalculators RefType=1 RefFKID=1",
                  "update ShipMethodCalculators 1 RefType=1 RefFKID=1 Countries=temp tmpID=temp IsDefault=False",
                  "add ShipMethodTables ShipCalculatorFKID=1 ChargeType=2 UpToAmount=12.5",
                  "update ShipMethodTables 1 ShipCalculatorFKID=1 ChargeType=2 UpToAmount=12.5 tmpID=temp "
                  "IsFixed=False Charge=4.9",
                  "add Pay2ShipMethodsExcl PayMethodFKID=1 ShipMethodFKID=1",
                  "update Pay2ShipMethodsExcl 1 PayMethodFKID=1 ShipMethodFKID=1",
                  "add PayMethods2RegionsExcl PayMethodFKID=1 RegionFKID=CH",
                  "update PayMethods2RegionsExcl 1 PayMethodFKID=1 RegionFKID=CH",
                  "add Regions2ShipZones ShipZoneFKID=1 RegionFKID=DE",
                  "update Regions2ShipZones 1 ShipZoneFKID=1 RegionFKID=DE"));
  EXPECT_THAT(connection->queries, ElementsAre(PayLookup("P1"), ShipLookup("S1"), ZoneLookup("Inland", 1),
                                               CalculatorLookup(1, 1), RateLookup(1, 2, "12.5"), PayShipLookup(1, 1),
                                               PayRegionLookup(1, "CH"), RegionZoneLookup(1, "DE")));
}

// The eight importers show no status text of their own, only the group's, and move the progress bar with an
// empty text for every item.
TEST_F(PaymentShipping, TheImportersShowOnlyPerItemProgressUnderTheGroupStatus) {
  ImportSections(kOneOfEach);
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
  EXPECT_THAT(GroupProgress(),
              ElementsAre(kGroupStatus, "1/1 ", "1/1 ", "1/1 ", "1/1 ", "1/1 ", "1/1 ", "1/1 ", "1/1 ", kNextStatus));
}

TEST_F(PaymentShipping, EmptySectionsWriteNothingAndShowNoProgress) {
  ImportSections(
      "<PayMethods/><ShipMethods/><ShipMethodZones/><ShipMethodCalculators/><ShipMethodTables/>"
      "<Pay2ShipMethodsExcl/><PayMethods2RegionsExcl/><Regions2ShipZones/>");
  EXPECT_EQ(connection->queries, Strings{});
  EXPECT_EQ(log->writes, Strings{});
  EXPECT_THAT(GroupProgress(), ElementsAre(kGroupStatus, kNextStatus));
}

}  // namespace
}  // namespace cvimp::plugin::testing
