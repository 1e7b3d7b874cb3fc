// cvimport as a user runs it: a process against real database files and catalogue files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "plugin/testing/run_status_texts.h"

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Rows = std::vector<std::vector<std::string>>;

namespace {

struct Result {
  int exit_code = -1;
  std::string out;
  std::string err;
  std::vector<std::string> OutLines() const {
    std::vector<std::string> lines;
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }
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

class CvimportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("cvimport-e2e-" + std::to_string(::getpid()) + "-" +
                                        ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  // Runs cvimport in the test's folder with its own configuration folder; stdout is a file, not a terminal.
  Result Run(const std::vector<std::string>& args) {
    std::string cmd = "cd " + Quote(dir_.string()) + " && " + Quote(CVIMPORT_PATH);
    for (const auto& a : args) cmd += " " + Quote(a);
    cmd += " >" + Quote((dir_ / "out.txt").string()) + " 2>" + Quote((dir_ / "err.txt").string()) + " </dev/null";
    int status = std::system(cmd.c_str());
    Result r;
    r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    r.out = Slurp(dir_ / "out.txt");
    r.err = Slurp(dir_ / "err.txt");
    return r;
  }
  Result Import(const std::string& catalog, std::vector<std::string> more = {}) {
    std::vector<std::string> args = {"import",      catalog,        "--db",
                                     db().string(), "--config-dir", (dir_ / "config").string()};
    args.insert(args.end(), more.begin(), more.end());
    return Run(args);
  }

  fs::path db() const { return dir_ / "shop.db"; }

  Rows Query(const std::string& sql) const {
    sqlite3* handle = nullptr;
    EXPECT_EQ(sqlite3_open_v2(db().c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    Rows rows;
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle, sql.c_str(), -1, &stmt, nullptr), SQLITE_OK) << sqlite3_errmsg(handle);
    while (stmt && sqlite3_step(stmt) == SQLITE_ROW) {
      std::vector<std::string> row;
      for (int c = 0; c < sqlite3_column_count(stmt); ++c) {
        const unsigned char* t = sqlite3_column_text(stmt, c);
        row.push_back(t ? reinterpret_cast<const char*>(t) : "NULL");
      }
      rows.push_back(row);
    }
    sqlite3_finalize(stmt);
    sqlite3_close(handle);
    return rows;
  }
  void Exec(const std::string& sql) const {
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open_v2(db().c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(handle);
  }
  int Count(const std::string& table) const { return std::stoi(Query("SELECT COUNT(*) FROM " + table)[0][0]); }

  fs::path dir_;
};

const std::string kExample = std::string(EXAMPLES_DIR) + "/reference-catalog.xml";
const std::string kData = TEST_DATA_DIR;

const std::vector<std::string>& kStatusWithoutRegions = cvimp::plugin::testing::kStatusTextsOfAnEmptyRun;

TEST_F(CvimportTest, FreshImportCreatesTheDatabaseAndPrintsEveryStatusTextInOrder) {
  Result r = Import(kExample, {"--regions"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const std::vector<std::string> expected = cvimp::plugin::testing::WithRegions(kStatusWithoutRegions);
  EXPECT_EQ(r.OutLines(), expected);
  EXPECT_EQ(r.err, "");

  // Currencies copy PKID from the item: the records carry the catalogue's keys.
  EXPECT_EQ(Query("SELECT PKID, ISOCode, Name, Symbol, ExchangeRate FROM Currencies ORDER BY PKID"),
            (Rows{{"1", "EUR", "Euro", "€", "1.0"},
                  {"2", "USD", "US-Dollar", "$", "1.0825"},
                  {"3", "CHF", "Schweizer Franken", "Fr.", "0.9512"}}));
  // The duplicate delivery time: the second item overwrote the record the first created.
  EXPECT_EQ(Query("SELECT Name, DeliveryDays FROM DeliveryTimes ORDER BY PKID"),
            (Rows{{"1-2 Tage", "1"}, {"3-5 Tage", "5"}}));
  // The measure unit without its Name looked up and created the empty key.
  EXPECT_EQ(Query("SELECT Name, Symbol FROM MeasureUnits ORDER BY PKID"),
            (Rows{{"Kilogramm", "kg"}, {"Gramm", "g"}, {"", "?"}}));
  // The quote in a key passes through SqlQuote.
  EXPECT_EQ(Query("SELECT QtyUnit, Description FROM QuantityUnits ORDER BY PKID"),
            (Rows{{"Stück", "einzeln"}, {"Zoll'", "Länge in Zoll"}}));
  // Regions keep the catalogue's keys; the placeholder name is replaced.
  EXPECT_EQ(Query("SELECT PKID, Name, ISOCode FROM Regions ORDER BY PKID"),
            (Rows{{"40", "Österreich", "AT"}, {"276", "Deutschland", "DE"}}));
  // Manufacturers: keyed by ProductID against ID; the logo reference is not copied; the item without
  // ProductID created a record with the empty ID that its own ID then replaced.
  EXPECT_EQ(
      Query("SELECT ID, Name, LogoMRef FROM Manufacturers ORDER BY PKID"),
      (Rows{{"ACME", "Acme Werkzeuge", "0"}, {"TEEHAUS", "Teehaus Nord", "0"}, {"NOKEY", "Ohne Schlüssel", "0"}}));
  EXPECT_EQ(Query("SELECT Keyword FROM Keywords ORDER BY PKID"), (Rows{{"Werkzeug"}, {"Tee"}}));
}

TEST_F(CvimportTest, RegionsAreImportedOnlyWithTheRegionsSwitch) {
  Result r = Import(kExample);
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);
  EXPECT_EQ(Count("Regions"), 0);
}

TEST_F(CvimportTest, SecondImportInMode0UpdatesExistingRecordsAndAddsOnlyWhatIsMissing) {
  ASSERT_EQ(Import(kExample).exit_code, 0);
  Exec("UPDATE Currencies SET Name='geändert' WHERE ISOCode='EUR'");
  Result r = Import(kExample, {"--mode", "0"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Query("SELECT Name FROM Currencies WHERE ISOCode='EUR'"), (Rows{{"Euro"}}));
  EXPECT_EQ(Count("Currencies"), 3);
  EXPECT_EQ(Count("DeliveryTimes"), 2);
  EXPECT_EQ(Count("Keywords"), 2);
  // The measure unit without Name finds the empty key again; the manufacturer without ProductID does not
  // (its record's ID became NOKEY), so each import adds one more.
  EXPECT_EQ(Count("MeasureUnits"), 3);
  EXPECT_EQ(Query("SELECT ID FROM Manufacturers ORDER BY PKID"), (Rows{{"ACME"}, {"TEEHAUS"}, {"NOKEY"}, {"NOKEY"}}));
}

TEST_F(CvimportTest, SecondImportInMode1LeavesExistingRecordsAlone) {
  ASSERT_EQ(Import(kExample).exit_code, 0);
  Exec("UPDATE Currencies SET Name='geändert' WHERE ISOCode='EUR'");
  Exec("DELETE FROM Keywords WHERE Keyword='Tee'");
  Result r = Import(kExample, {"--mode", "1"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Query("SELECT Name FROM Currencies WHERE ISOCode='EUR'"), (Rows{{"geändert"}}));
  EXPECT_EQ(Query("SELECT Keyword FROM Keywords ORDER BY PKID"), (Rows{{"Werkzeug"}, {"Tee"}}));
  EXPECT_EQ(Count("Currencies"), 3);
}

TEST_F(CvimportTest, SecondImportInMode2UpdatesButCreatesNothing) {
  ASSERT_EQ(Import(kExample).exit_code, 0);
  Exec("UPDATE Currencies SET Name='geändert' WHERE ISOCode='EUR'");
  Exec("DELETE FROM Keywords WHERE Keyword='Tee'");
  Result r = Import(kExample, {"--mode", "2"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Query("SELECT Name FROM Currencies WHERE ISOCode='EUR'"), (Rows{{"Euro"}}));
  EXPECT_EQ(Query("SELECT Keyword FROM Keywords ORDER BY PKID"), (Rows{{"Werkzeug"}}));
  EXPECT_EQ(Count("Manufacturers"), 3);
}

TEST_F(CvimportTest, MissingCatalogueShowsThePageMessageAndRunsNothing) {
  Result r = Import((dir_ / "nope.xml").string());
  EXPECT_EQ(r.exit_code, 3);
  EXPECT_EQ(r.out, "");
  EXPECT_THAT(r.err, HasSubstr("Datei nicht gefunden!"));
  EXPECT_FALSE(fs::exists(db()));
}

TEST_F(CvimportTest, CatalogueThatIsNotWellFormedReportsTheParserPositionAndWritesNothing) {
  Result r = Import(kData + "/not-well-formed.xml");
  EXPECT_EQ(r.exit_code, 5);
  std::vector<std::string> expected = kStatusWithoutRegions;
  expected.insert(expected.begin() + 1, "Fehler beim Laden der Importdatei.");
  EXPECT_EQ(r.OutLines(), expected);
  EXPECT_THAT(r.err, HasSubstr("not-well-formed.xml"));
  EXPECT_THAT(r.err, HasSubstr("line 5"));
  EXPECT_EQ(Count("Currencies"), 0);
}

TEST_F(CvimportTest, CatalogueWithAnEmptyRootCountsAsNotLoaded) {
  Result r = Import(kData + "/empty-root.xml");
  EXPECT_EQ(r.exit_code, 5);
  EXPECT_EQ(r.OutLines().at(1), "Fehler beim Laden der Importdatei.");
  EXPECT_THAT(r.err, HasSubstr("empty-root.xml"));
}

// ---- What the catalogue must be: XML as a conforming parser judges it -------------------------------------

class CatalogueConformanceTest : public CvimportTest {
 protected:
  // Writes a catalogue into the test's folder and gives its path.
  std::string WriteCatalogue(const std::string& name, const std::string& bytes) const {
    std::ofstream(dir_ / name, std::ios::binary) << bytes;
    return (dir_ / name).string();
  }
  // The rows in all the tables of the shop database.
  int TotalRows() const {
    int total = 0;
    for (const auto& table : Query("SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite_%'"))
      total += Count(table[0]);
    return total;
  }
  // A catalogue that does not load: exit code 5, the message with the file, the position and the reason,
  // the status texts of a run whose load failed, and nothing in the database.
  void ExpectRefused(const std::string& catalog, const std::string& position_and_reason) {
    Result r = Import(catalog);
    EXPECT_EQ(r.exit_code, 5);
    std::vector<std::string> expected = kStatusWithoutRegions;
    expected.insert(expected.begin() + 1, "Fehler beim Laden der Importdatei.");
    EXPECT_EQ(r.OutLines(), expected);
    EXPECT_EQ(r.err, "cvimport: cannot load the catalogue " + catalog + ": " + position_and_reason + "\n");
    EXPECT_EQ(TotalRows(), 0);
  }
};

// UTF-8 text as UTF-16 LE with a byte order mark (for the characters of the basic plane).
std::string Utf16LittleEndian(const std::string& utf8) {
  std::string out = "\xFF\xFE";
  for (std::size_t i = 0; i < utf8.size();) {
    const auto b = static_cast<unsigned char>(utf8[i]);
    const int length = b < 0x80 ? 1 : b < 0xE0 ? 2 : 3;
    unsigned cp = length == 1 ? b : b & (0x7F >> length);
    for (int k = 1; k < length; ++k) cp = cp << 6 | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
    out += static_cast<char>(cp & 0xFF);
    out += static_cast<char>(cp >> 8);
    i += length;
  }
  return out;
}

TEST_F(CatalogueConformanceTest, CharacterReferenceToNulIsRefused) {
  ExpectRefused(kData + "/char-ref-nul.xml", "line 5, column 54: reference to invalid character number");
}

TEST_F(CatalogueConformanceTest, UndefinedEntityIsRefused) {
  ExpectRefused(kData + "/undefined-entity.xml", "line 6, column 44: undefined entity");
}

TEST_F(CatalogueConformanceTest, BytesInvalidInUtf8AreRefused) {
  const std::string catalog = WriteCatalogue(
      "invalid-utf8.xml",
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CalvoraCatalog>\n  <Currencies>\n"
      "    <CurrenciesItem PKID=\"1\" ISOCode=\"EUR\" Name=\"W\xE4hrung\"/>\n  </Currencies>\n</CalvoraCatalog>\n");
  ExpectRefused(catalog, "line 4, column 51: not well-formed (invalid token)");
}

// A currency whose name attribute is written as given, in an otherwise well-formed catalogue: line 4 holds it,
// and the value starts in column 50.
std::string CurrencyNamed(const std::string& name_attribute) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CalvoraCatalog>\n  <Currencies>\n"
         "    <CurrenciesItem PKID=\"1\" ISOCode=\"EUR\" Name=\"" +
         name_attribute + "\"/>\n  </Currencies>\n</CalvoraCatalog>\n";
}

TEST_F(CatalogueConformanceTest, CharacterReferenceToASurrogateIsRefused) {
  ExpectRefused(WriteCatalogue("surrogate.xml", CurrencyNamed("Euro &#xD800;")),
                "line 4, column 55: reference to invalid character number");
}

TEST_F(CatalogueConformanceTest, CharacterReferenceBeyondUnicodeIsRefused) {
  ExpectRefused(WriteCatalogue("beyond.xml", CurrencyNamed("Euro &#x110000;")),
                "line 4, column 55: reference to invalid character number");
}

TEST_F(CatalogueConformanceTest, RawControlCharacterIsRefused) {
  ExpectRefused(WriteCatalogue("control.xml", CurrencyNamed("Eu\x01ro")),
                "line 4, column 52: not well-formed (invalid token)");
}

TEST_F(CatalogueConformanceTest, LessThanInAnAttributeValueIsRefused) {
  ExpectRefused(WriteCatalogue("less-than.xml", CurrencyNamed("Euro <b>")),
                "line 4, column 55: not well-formed (invalid token)");
}

TEST_F(CatalogueConformanceTest, ExternalEntityIsNeverReadAndRefused) {
  std::ofstream(dir_ / "secret.txt") << "geheim";
  const std::string catalog = WriteCatalogue(
      "external.xml",
      "<?xml version=\"1.0\"?>\n<!DOCTYPE CalvoraCatalog [<!ENTITY secret SYSTEM \"secret.txt\">]>\n"
      "<CalvoraCatalog>\n  <Currencies>\n    <CurrenciesItem PKID=\"1\" ISOCode=\"EUR\">&secret;</CurrenciesItem>\n"
      "  </Currencies>\n</CalvoraCatalog>\n");
  ExpectRefused(catalog, "line 5, column 44: error in processing external entity reference");
}

TEST_F(CatalogueConformanceTest, EntityBombIsRefused) {
  ExpectRefused(kData + "/entity-bomb.xml",
                "line 17, column 5: limit on input amplification factor (from DTD and entities) breached");
}

TEST_F(CatalogueConformanceTest, InternalEntitiesAndDefaultAttributesAreImported) {
  Result r = Import(kData + "/internal-entities.xml");
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);
  EXPECT_EQ(Query("SELECT PKID, ISOCode, Name, Symbol, ExchangeRate FROM Currencies ORDER BY PKID"),
            (Rows{{"1", "EUR", "Euro (Währung in €)", "€", "1.0"},
                  {"2", "USD", "US-Dollar", "$", "1.0825"},
                  {"3", "CHF", "Schweizer Franken", "Fr.", "1.0"}}));
}

TEST_F(CatalogueConformanceTest, Utf16CatalogueIsImported) {
  const std::string catalog = WriteCatalogue(
      "utf16.xml", Utf16LittleEndian("<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<CalvoraCatalog>\n  <Currencies>\n"
                                     "    <CurrenciesItem PKID=\"1\" ISOCode=\"EUR\" Name=\"Euro in Österreich\" "
                                     "Symbol=\"€\"/>\n  </Currencies>\n</CalvoraCatalog>\n"));
  Result r = Import(catalog);
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);
  EXPECT_EQ(Query("SELECT PKID, ISOCode, Name, Symbol FROM Currencies"),
            (Rows{{"1", "EUR", "Euro in Österreich", "€"}}));
}

TEST_F(CatalogueConformanceTest, Latin1CatalogueIsImported) {
  const std::string catalog = WriteCatalogue(
      "latin1.xml",
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<CalvoraCatalog>\n  <QuantityUnits>\n"
      "    <QuantityUnitsItem PKID=\"1\" QtyUnit=\"St\xFC\x63k\" Description=\"Gr\xF6\xDF\x65 &#x20AC;\"/>\n"
      "  </QuantityUnits>\n</CalvoraCatalog>\n");
  Result r = Import(catalog);
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);
  EXPECT_EQ(Query("SELECT QtyUnit, Description FROM QuantityUnits"), (Rows{{"Stück", "Größe €"}}));
}

TEST_F(CvimportTest, AFailingImporterEndsAndEveryLaterImporterEndsAtItsFirstItem) {
  Result r = Import(kData + "/cascade.xml", {"--verbose"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);
  EXPECT_EQ(Query("SELECT ISOCode FROM Currencies ORDER BY PKID"), (Rows{{"EUR"}}));
  EXPECT_EQ(Count("DeliveryTimes"), 0);
  EXPECT_EQ(Count("Keywords"), 0);
  EXPECT_THAT(r.err, HasSubstr("TOOLONGCODE"));
  EXPECT_THAT(r.err, HasSubstr("Open SELECT * FROM DeliveryTimes WHERE Name='1-2 Tage': Operation is not allowed "
                               "when the object is open."));
}

TEST_F(CvimportTest, InitCreatesAnEmptyShopDatabaseAndRefusesToOverwrite) {
  Result first = Run({"init", db().string()});
  ASSERT_EQ(first.exit_code, 0) << first.err;
  EXPECT_EQ(Count("Currencies"), 0);
  EXPECT_EQ(Count("CrossRefs"), 0);
  Result second = Run({"init", db().string()});
  EXPECT_EQ(second.exit_code, 4);
  EXPECT_THAT(second.err, HasSubstr("exists"));
}

TEST_F(CvimportTest, AFileThatIsNotAShopDatabaseIsRefused) {
  { std::ofstream(db()) << "just text"; }
  Result r = Import(kExample);
  EXPECT_EQ(r.exit_code, 4);
  EXPECT_THAT(r.err, HasSubstr(db().string()));
  EXPECT_EQ(Slurp(db()), "just text");
}

TEST_F(CvimportTest, BadOptionsAreRefusedWithUsage) {
  EXPECT_EQ(Run({"import", kExample, "--mode", "3"}).exit_code, 2);
  EXPECT_EQ(Run({"import"}).exit_code, 2);
  EXPECT_EQ(Run({"frobnicate"}).exit_code, 2);
  Result help = Run({"--help"});
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_THAT(help.out, HasSubstr("cvimport import CATALOG"));
}

TEST_F(CvimportTest, TheCatalogueIsRememberedInTheSettingsFile) {
  ASSERT_EQ(Import(kExample).exit_code, 0);
  std::string settings;
  for (const auto& entry : fs::recursive_directory_iterator(dir_ / "config"))
    if (entry.is_regular_file()) settings += Slurp(entry.path());
  EXPECT_THAT(settings, HasSubstr("vel-xml-path"));
  EXPECT_THAT(settings, HasSubstr("reference-catalog.xml"));
}

TEST_F(CvimportTest, AProcessKilledDuringTheRunLeavesTheDatabaseAsItWas) {
  ASSERT_EQ(Run({"init", db().string()}).exit_code, 0);
  const fs::path catalog = dir_ / "big.xml";
  {
    std::ofstream out(catalog);
    out << "<CalvoraCatalog><Keywords>";
    for (int i = 1; i <= 300000; ++i) out << "<KeywordsItem PKID=\"" << i << "\" Keyword=\"k" << i << "\"/>";
    out << "</Keywords></CalvoraCatalog>";
  }
  const std::string config = (dir_ / "config").string();
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    if (!freopen("/dev/null", "w", stdout)) _exit(127);
    execl(CVIMPORT_PATH, CVIMPORT_PATH, "import", catalog.c_str(), "--db", db().c_str(), "--config-dir", config.c_str(),
          static_cast<char*>(nullptr));
    _exit(127);
  }
  // Kill it once the run has written some keywords into its open transaction.
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  int status = 0;
  const bool finished_already = waitpid(child, &status, WNOHANG) == child;
  if (!finished_already) {
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
  }
  if (finished_already) GTEST_SKIP() << "the run finished before it could be killed";
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(Count("Keywords"), 0);
  EXPECT_EQ(Query("PRAGMA integrity_check"), (Rows{{"ok"}}));
}

}  // namespace
