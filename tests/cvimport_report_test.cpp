// cvimport's report, exit codes, --report, --atomic and check, run as a process against real files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "testing/json_value.h"

namespace fs = std::filesystem;
using cvimp::testing::Json;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

struct Result {
  int exit_code = -1;
  std::string out;
  std::string err;
};

std::string Slurp(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string Quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

const std::string kExample = std::string(EXAMPLES_DIR) + "/reference-catalog.xml";
const std::string kData = TEST_DATA_DIR;
const std::string kSchema = std::string(DOCS_DIR) + "/report.schema.json";

// Two currencies with every field, and nothing else: a catalogue that imports cleanly into an empty shop.
const std::string kCurrencies = R"(<?xml version="1.0" encoding="UTF-8"?>
<CalvoraCatalog>
  <Currencies>
    <CurrenciesItem PKID="1" ISOCode="EUR" Name="Euro" Symbol="E" ExchangeRate="1"/>
    <CurrenciesItem PKID="2" ISOCode="CHF" Name="Franken" Symbol="Fr." ExchangeRate="0.95"/>
  </Currencies>
</CalvoraCatalog>
)";

class CvimportReportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("cvimport-report-" + std::to_string(::getpid()) + "-" +
                                        ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  // Runs cvimport in the test's folder, with the default settings folder below it too.
  Result Run(const std::vector<std::string>& args) {
    std::string cmd = "cd " + Quote(dir_.string()) + " && XDG_CONFIG_HOME=" + Quote((dir_ / "xdg").string()) + " " +
                      Quote(CVIMPORT_PATH);
    for (const auto& a : args) cmd += " " + Quote(a);
    cmd += " >" + Quote((dir_ / "out.txt").string()) + " 2>" + Quote((dir_ / "err.txt").string()) + " </dev/null";
    const int status = std::system(cmd.c_str());
    Result r;
    r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = Slurp(dir_ / "out.txt");
    r.err = Slurp(dir_ / "err.txt");
    return r;
  }
  Result Import(const std::string& catalog, std::vector<std::string> more = {}) {
    std::vector<std::string> args = {"import", catalog, "--db", db().string(), "--config-dir", config().string()};
    args.insert(args.end(), more.begin(), more.end());
    return Run(args);
  }
  Result Check(const std::string& catalog, std::vector<std::string> more = {}) {
    std::vector<std::string> args = {"check", catalog};
    args.insert(args.end(), more.begin(), more.end());
    return Run(args);
  }
  std::string Write(const std::string& name, const std::string& text) {
    std::ofstream(dir_ / name, std::ios::binary) << text;
    return (dir_ / name).string();
  }
  fs::path db() const { return dir_ / "shop.db"; }
  fs::path config() const { return dir_ / "config"; }
  fs::path report_path() const { return dir_ / "report.json"; }

  void Init() { ASSERT_EQ(Run({"init", db().string()}).exit_code, 0); }
  void Exec(const std::string& sql) const {
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open_v2(db().c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(handle);
  }
  std::vector<std::string> Column(const std::string& sql) const {
    sqlite3* handle = nullptr;
    EXPECT_EQ(sqlite3_open_v2(db().c_str(), &handle, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
    std::vector<std::string> out;
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle, sql.c_str(), -1, &stmt, nullptr), SQLITE_OK);
    while (stmt && sqlite3_step(stmt) == SQLITE_ROW) {
      const unsigned char* t = sqlite3_column_text(stmt, 0);
      out.push_back(t ? reinterpret_cast<const char*>(t) : "NULL");
    }
    sqlite3_finalize(stmt);
    sqlite3_close(handle);
    return out;
  }

  // The report file, read and checked against the documented schema.
  Json Report() const {
    const Json report = cvimp::testing::ParseJson(Slurp(report_path()));
    const Json schema = cvimp::testing::ParseJson(Slurp(kSchema));
    const std::vector<std::string> violations = cvimp::testing::SchemaViolations(report, schema);
    EXPECT_TRUE(violations.empty()) << ::testing::PrintToString(violations);
    return report;
  }
  // The report's entry of a section.
  static const Json& Section(const Json& report, const std::string& name) {
    for (const Json& s : report["sections"].items)
      if (s["section"].text == name) return s;
    throw std::out_of_range("no section " + name);
  }
  // Created, updated, left alone, passed over, refused, and whether it ended early, as one text.
  static std::string Counts(const Json& report, const std::string& name) {
    const Json& s = Section(report, name);
    return std::to_string(s["items"].integer()) + " items: " + std::to_string(s["created"].integer()) + " created, " +
           std::to_string(s["updated"].integer()) + " updated, " + std::to_string(s["left_alone"].integer()) +
           " left alone, " + std::to_string(s["passed_over"].integer()) + " passed over, " +
           std::to_string(s["refused"].integer()) + " refused" + (s["ended_early"].boolean ? ", ended early" : "");
  }
  static std::string Problem(const Json& p) {
    return p["kind"].text + " " + p["section"].text + " #" + std::to_string(p["item_position"].integer()) + " [" +
           p["key"].text + "] line " + std::to_string(p["line"].integer()) + " {" + p["statement"].text + "}";
  }

  // A text that stands for every file below the folder (but the test's own output files): its relative paths
  // and their contents.
  static std::string Snapshot(const fs::path& folder) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      const std::string name = fs::relative(entry.path(), folder).string();
      if (name == "out.txt" || name == "err.txt" || name == "report.json") continue;
      files[name] = entry.is_regular_file() ? Slurp(entry.path()) : "<dir>";
    }
    std::string out;
    for (const auto& [name, content] : files)
      out += name + " " + std::to_string(std::hash<std::string>{}(content)) + "\n";
    return out;
  }

  fs::path dir_;
};

// ---- The report on the terminal -------------------------------------------------------------------------

TEST_F(CvimportReportTest, ACleanImportExitsZeroAndReportsOnStderrWhenStdoutIsNotATerminal) {
  Result r = Import(Write("c.xml", kCurrencies));
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_THAT(r.out, Not(HasSubstr("Section")));
  EXPECT_THAT(r.err, HasSubstr("Section                           Items  Created  Updated Left alone Passed over  "
                               "Refused\n"
                               "Currencies                            2        2        0          0           0"
                               "        0\n"
                               "Total                                 2        2        0          0           0"
                               "        0\n"
                               "2 items in "));
  EXPECT_THAT(r.err, HasSubstr(" items per second).\n"));
}

TEST_F(CvimportReportTest, QuietPrintsNoReport) {
  Result r = Import(Write("c.xml", kCurrencies), {"--quiet"});
  EXPECT_EQ(r.exit_code, 0);
  EXPECT_EQ(r.err, "");
}

// The issue's case: the first currency clashes with a record of the shop (its PKID is taken), the currency
// importer ends at it with its record set open, and every importer after it ends at its first item.
TEST_F(CvimportReportTest, AClashingFirstCurrencyEndsEveryLaterImporterAndExitsSix) {
  Init();
  Exec("INSERT INTO Currencies (PKID, ISOCode, Name) VALUES (1, 'USD', 'Dollar')");
  Result r = Import(Write("c.xml", R"(<?xml version="1.0" encoding="UTF-8"?>
<CalvoraCatalog>
  <Currencies>
    <CurrenciesItem PKID="1" ISOCode="EUR" Name="Euro" Symbol="E" ExchangeRate="1"/>
    <CurrenciesItem PKID="2" ISOCode="CHF" Name="Franken" Symbol="Fr." ExchangeRate="0.95"/>
  </Currencies>
  <DeliveryTimes>
    <DeliveryTimesItem PKID="1" Name="2 Tage" DeliveryDays="2"/>
  </DeliveryTimes>
  <Keywords>
    <KeywordsItem PKID="1" Keyword="Tee"/>
    <KeywordsItem PKID="2" Keyword="Kanne"/>
  </Keywords>
</CalvoraCatalog>
)"),
                    {"--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 6) << r.err;
  const Json report = Report();
  EXPECT_EQ(report["outcome"].text, "committed");
  EXPECT_EQ(report["exit_code"].integer(), 6);
  EXPECT_EQ(Counts(report, "Currencies"),
            "2 items: 1 created, 0 updated, 0 left alone, 0 passed over, 0 refused, "
            "ended early");
  EXPECT_EQ(Counts(report, "DeliveryTimes"),
            "1 items: 0 created, 0 updated, 0 left alone, 0 passed over, 0 refused, "
            "ended early");
  EXPECT_EQ(Counts(report, "Keywords"),
            "2 items: 0 created, 0 updated, 0 left alone, 0 passed over, 0 refused, "
            "ended early");
  ASSERT_EQ(report["problems"].items.size(), 3u);
  const Json& first = report["problems"][0];
  EXPECT_EQ(Problem(first), "ended Currencies #1 [ISOCode=EUR] line 4 {saving the record}");
  EXPECT_THAT(first["reason"].text, HasSubstr("ended because the database refused the statement or the save"));
  EXPECT_EQ(Problem(report["problems"][1]),
            "ended DeliveryTimes #1 [Name=2 Tage] line 8 {SELECT * FROM DeliveryTimes WHERE Name='2 Tage'}");
  EXPECT_EQ(report["problems"][1]["reason"].text,
            "ended because the previous importer left its record set open (Operation is not allowed when the object "
            "is open.)");
  EXPECT_EQ(Problem(report["problems"][2]),
            "ended Keywords #1 [Keyword=Tee] line 11 {SELECT * FROM Keywords WHERE Keyword='Tee'}");
  EXPECT_THAT(
      r.err,
      HasSubstr("DeliveryTimes at item 1 (Name=2 Tage, line 8), SELECT * FROM DeliveryTimes WHERE Name='2 Tage': ended "
                "because the previous importer "
                "left its record set open"));
}

TEST_F(CvimportReportTest, ModeOneOnAFilledShopLeavesExistingRecordsAloneAndAddsTheRest) {
  Init();
  Exec("INSERT INTO Currencies (PKID, ISOCode, Name) VALUES (1, 'EUR', 'alt')");
  Result r = Import(Write("c.xml", kCurrencies), {"--mode", "1", "--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Counts(Report(), "Currencies"), "2 items: 1 created, 0 updated, 1 left alone, 0 passed over, 0 refused");
  EXPECT_EQ(Column("SELECT ISOCode || '=' || Name FROM Currencies ORDER BY PKID"),
            (std::vector<std::string>{"EUR=alt", "CHF=Franken"}));
}

TEST_F(CvimportReportTest, ModeTwoOnAFilledShopUpdatesExistingRecordsAndPassesOverTheRest) {
  Init();
  Exec("INSERT INTO Currencies (PKID, ISOCode, Name) VALUES (1, 'EUR', 'alt')");
  Result r = Import(Write("c.xml", kCurrencies), {"--mode", "2", "--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Counts(Report(), "Currencies"), "2 items: 0 created, 1 updated, 0 left alone, 1 passed over, 0 refused");
  EXPECT_EQ(Column("SELECT ISOCode || '=' || Name FROM Currencies ORDER BY PKID"),
            (std::vector<std::string>{"EUR=Euro"}));
}

TEST_F(CvimportReportTest, ARefusedValueInATolerantImporterIsCountedAndNamed) {
  const std::string too_long(256, 'x');
  Result r = Import(Write("p.xml",
                          "<CalvoraCatalog>\n<Products>\n<ProductsItem PKID=\"1\" ProductID=\"A\" "
                          "Price=\"1\" Name=\"" +
                              too_long +
                              "\"/>\n<ProductsItem PKID=\"2\" ProductID=\"B\" Price=\"2\" Name=\"Kanne\"/>\n"
                              "</Products>\n</CalvoraCatalog>\n"),
                    {"--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 6) << r.err;
  const Json report = Report();
  EXPECT_EQ(Counts(report, "Products"), "2 items: 2 created, 0 updated, 0 left alone, 0 passed over, 1 refused");
  ASSERT_EQ(report["problems"].items.size(), 1u);
  EXPECT_EQ(Problem(report["problems"][0]), "refused Products #1 [ProductID=A] line 3 {field Name}");
  EXPECT_THAT(report["problems"][0]["reason"].text,
              HasSubstr("skipped because a value was too long or too large for its field"));
  EXPECT_THAT(r.err, HasSubstr("Products at item 1 (ProductID=A, line 3), field Name: skipped because"));
  EXPECT_EQ(Column("SELECT ProductID || '=' || IFNULL(Name, 'NULL') FROM Products ORDER BY PKID"),
            (std::vector<std::string>{"A=NULL", "B=Kanne"}));
}

TEST_F(CvimportReportTest, SectionsTheRunDoesNotImportAreNamedWithTheReason) {
  Result r = Import(Write("c.xml", R"(<CalvoraCatalog>
  <Currencies><CurrenciesItem PKID="1" ISOCode="EUR" Name="Euro" Symbol="E" ExchangeRate="1"/></Currencies>
  <Regions><RegionsItem PKID="1" Name="Europa"/></Regions>
  <Media><MediaItem PKID="1" Src="a.jpg" MediaTypeFKID="1"/><MediaItem PKID="2" Src="b.jpg" MediaTypeFKID="1"/></Media>
  <Gadgets><GadgetsItem PKID="1"/></Gadgets>
</CalvoraCatalog>)"),
                    {"--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_THAT(r.err, HasSubstr("Not imported: Regions (1 item): regions are imported only with --regions.\n"
                               "Not imported: Media (2 items): media are imported only with --media.\n"
                               "Not imported: Gadgets (1 item): no importer reads a section of this name.\n"));
  const Json report = Report();
  ASSERT_EQ(report["not_imported"].items.size(), 3u);
  EXPECT_EQ(report["not_imported"][2]["section"].text, "Gadgets");
  EXPECT_EQ(report["not_imported"][2]["items"].integer(), 1);
}

TEST_F(CvimportReportTest, ARootElementOfAnotherNameIsNamedAndExitsSix) {
  Result r = Import(Write("c.xml", "<Catalog><Currencies><CurrenciesItem ISOCode=\"EUR\"/></Currencies></Catalog>"),
                    {"--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 6) << r.err;
  EXPECT_THAT(r.err, HasSubstr("The root element is Catalog, not CalvoraCatalog: nothing of the catalogue was "
                               "imported.\n"));
  EXPECT_EQ(Report()["other_root_element"].text, "Catalog");
}

// ---- Exit codes -------------------------------------------------------------------------------------------

TEST_F(CvimportReportTest, EveryExitCode) {
  EXPECT_EQ(Import(Write("c.xml", kCurrencies)).exit_code, 0);
  EXPECT_EQ(Import(Write("c.xml", kCurrencies), {"--report", (dir_ / "no" / "such" / "r.json").string()}).exit_code, 1);
  EXPECT_EQ(Run({"import"}).exit_code, 2);
  EXPECT_EQ(Import((dir_ / "missing.xml").string()).exit_code, 3);
  { std::ofstream(dir_ / "text.db") << "just text"; }
  EXPECT_EQ(Run({"import", Write("c.xml", kCurrencies), "--db", (dir_ / "text.db").string(), "--config-dir",
                 config().string()})
                .exit_code,
            4);
  EXPECT_EQ(Import(kData + "/not-well-formed.xml").exit_code, 5);
  EXPECT_EQ(Import(kData + "/cascade.xml").exit_code, 6);
}

TEST_F(CvimportReportTest, TheReportIsWrittenAlsoWhenTheImportFails) {
  Result r = Import((dir_ / "missing.xml").string(), {"--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 3);
  const Json report = Report();
  EXPECT_EQ(report["outcome"].text, "nothing imported");
  EXPECT_EQ(report["exit_code"].integer(), 3);
  EXPECT_EQ(report["failure"].text, "the catalogue file does not exist");

  Result unreadable = Import(kData + "/not-well-formed.xml", {"--report", report_path().string()});
  EXPECT_EQ(unreadable.exit_code, 5);
  EXPECT_THAT(Report()["failure"].text, HasSubstr("cannot load the catalogue: line 5"));
}

TEST_F(CvimportReportTest, TheReportNamesTheRunAndItsOptions) {
  Result r = Import(Write("c.xml", kCurrencies), {"--mode", "1", "--regions", "--report", report_path().string()});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const Json report = Report();
  EXPECT_EQ(report["format_version"].integer(), 1);
  EXPECT_EQ(report["command"].text, "import");
  EXPECT_EQ(report["catalogue"].text, (dir_ / "c.xml").string());
  EXPECT_EQ(report["database"].text, db().string());
  EXPECT_EQ(report["mode"].integer(), 1);
  EXPECT_TRUE(report["options"]["regions"].boolean);
  EXPECT_FALSE(report["options"]["media"].boolean);
  EXPECT_EQ(report["options"]["project"].text, dir_.string());
  EXPECT_EQ(report["start"].text.size(), 20u);
  EXPECT_EQ(report["start"].text.back(), 'Z');
  EXPECT_EQ(report["items"].integer(), 2);
  EXPECT_TRUE(report["problems"].items.empty());
}

// ---- --atomic ---------------------------------------------------------------------------------------------

TEST_F(CvimportReportTest, AtomicRollsBackAnImportThatEndedEarlyAndLeavesTheDatabaseAsItWas) {
  Init();
  Exec("INSERT INTO Currencies (PKID, ISOCode, Name) VALUES (1, 'USD', 'Dollar')");
  const std::string before = Slurp(db());
  Result r = Import(kData + "/cascade.xml", {"--atomic", "--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 6) << r.err;
  EXPECT_EQ(Slurp(db()), before);
  EXPECT_THAT(r.err, HasSubstr("Nothing was saved (--atomic): an importer ended early or statements were refused.\n"));
  EXPECT_EQ(Report()["outcome"].text, "rolled back");
  // Without --atomic the same import saves what it wrote.
  EXPECT_EQ(Import(kData + "/cascade.xml").exit_code, 6);
  EXPECT_EQ(Column("SELECT ISOCode FROM Currencies ORDER BY PKID"), (std::vector<std::string>{"USD", "EUR"}));
}

TEST_F(CvimportReportTest, AtomicCommitsACleanImport) {
  Result r = Import(Write("c.xml", kCurrencies), {"--atomic"});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Column("SELECT ISOCode FROM Currencies ORDER BY PKID"), (std::vector<std::string>{"EUR", "CHF"}));
}

// ---- check ------------------------------------------------------------------------------------------------

TEST_F(CvimportReportTest, CheckWritesNothingAndReportsWhatTheImportWouldDo) {
  Init();
  Exec("INSERT INTO Currencies (PKID, ISOCode, Name) VALUES (1, 'EUR', 'alt')");
  fs::create_directories(dir_ / "xdg" / "cvimport");
  std::ofstream(dir_ / "xdg" / "cvimport" / "settings.xml") << "<settings/>";
  const std::string before = Snapshot(dir_);
  const std::string catalog = kExample;
  Result r = Check(catalog, {"--db", db().string(), "--media", "--regions", "--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 6) << r.err;
  EXPECT_EQ(Snapshot(dir_), before);
  EXPECT_THAT(r.err, HasSubstr("Currencies                            3        2        1"));
  EXPECT_THAT(r.err, HasSubstr("Media files the import would copy into the project folder: 4\n"
                               "  Media/images/sencha.jpg\n"
                               "  Media/images/matcha.jpg\n"
                               "  Media/audio/teezeremonie.mp3\n"
                               "  Media/docs/pflegehinweise.pdf\n"));
  const Json report = Report();
  EXPECT_EQ(report["media_copies"].items.size(), 4u);
  EXPECT_EQ(report["outcome"].text, "rolled back");
  EXPECT_EQ(report["findings"].items.size(), 6u);
  EXPECT_THAT(r.err, HasSubstr("Nothing was saved (check).\n"));
}

TEST_F(CvimportReportTest, CheckWithoutADatabaseRunsAgainstANewEmptyShop) {
  const std::string catalog = Write("c.xml", kCurrencies);
  const std::string before = Snapshot(dir_);
  Result r = Check(catalog, {"--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 0) << r.err;
  const Json report = Report();
  EXPECT_EQ(Snapshot(dir_), before);
  EXPECT_TRUE(report["dry_run"].boolean);
  EXPECT_EQ(report["outcome"].text, "rolled back");
  EXPECT_EQ(report["database"].text, "");
  EXPECT_EQ(Counts(report, "Currencies"), "2 items: 2 created, 0 updated, 0 left alone, 0 passed over, 0 refused");
  EXPECT_TRUE(report["findings"].items.empty());
  EXPECT_THAT(r.err, HasSubstr("Static checks of the catalogue: nothing found\n"));
}

TEST_F(CvimportReportTest, CheckExitsSixOnAStaticFinding) {
  Result r = Check(Write("c.xml", R"(<CalvoraCatalog>
<Currencies><CurrenciesItem PKID="1" ISOCode="EUR" Name="Euro" Symbol="E" ExchangeRate="1"/></Currencies>
<Gadgets><GadgetsItem PKID="1"/></Gadgets>
</CalvoraCatalog>)"),
                   {"--report", report_path().string()});
  EXPECT_EQ(r.exit_code, 6) << r.err;
  const Json report = Report();
  ASSERT_EQ(report["findings"].items.size(), 1u);
  EXPECT_EQ(report["findings"][0]["kind"].text, "unknown-section");
  EXPECT_EQ(report["findings"][0]["section"].text, "Gadgets");
  EXPECT_EQ(report["findings"][0]["line"].integer(), 3);
}

}  // namespace
