// cvimport as a user runs it: a process against real database files and catalogue files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>
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
// The exit code of an import that was saved although an importer ended early or statements were refused. The
// example catalogue ends three importers early on purpose (a product assignment, a discount and a cross
// reference name items it does not have), so its imports end with this code.
constexpr int kEndsEarly = 6;
const std::string kData = TEST_DATA_DIR;

const std::vector<std::string>& kStatusWithoutRegions = cvimp::plugin::testing::kStatusTextsOfAnEmptyRun;

TEST_F(CvimportTest, FreshImportCreatesTheDatabaseAndPrintsEveryStatusTextInOrder) {
  Result r = Import(kExample, {"--regions", "--quiet"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
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
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);
  EXPECT_EQ(Count("Regions"), 0);
}

TEST_F(CvimportTest, SecondImportInMode0UpdatesExistingRecordsAndAddsOnlyWhatIsMissing) {
  ASSERT_EQ(Import(kExample).exit_code, kEndsEarly);
  Exec("UPDATE Currencies SET Name='geändert' WHERE ISOCode='EUR'");
  Result r = Import(kExample, {"--mode", "0"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(Query("SELECT Name FROM Currencies WHERE ISOCode='EUR'"), (Rows{{"Euro"}}));
  EXPECT_EQ(Count("Currencies"), 3);
  EXPECT_EQ(Count("DeliveryTimes"), 2);
  EXPECT_EQ(Count("Keywords"), 2);
  // The measure unit without Name finds the empty key again.
  EXPECT_EQ(Count("MeasureUnits"), 3);
  // The manufacturers are not imported again: the first keyword reference is looked up with the catalogue's
  // ElRef, which its record no longer holds, is added once more and cannot take its PKID, which the first
  // import gave away. That ends the keyword references with the record set open, and the manufacturers end at
  // their first item. (Without it the manufacturer without ProductID would be added once more.)
  EXPECT_EQ(Query("SELECT ID FROM Manufacturers ORDER BY PKID"), (Rows{{"ACME"}, {"TEEHAUS"}, {"NOKEY"}}));
}

TEST_F(CvimportTest, SecondImportInMode1LeavesExistingRecordsAlone) {
  ASSERT_EQ(Import(kExample).exit_code, kEndsEarly);
  Exec("UPDATE Currencies SET Name='geändert' WHERE ISOCode='EUR'");
  Exec("DELETE FROM Keywords WHERE Keyword='Tee'");
  Result r = Import(kExample, {"--mode", "1"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(Query("SELECT Name FROM Currencies WHERE ISOCode='EUR'"), (Rows{{"geändert"}}));
  // The missing keyword is not added again: no product is written in mode 1, so the first bundle is looked up
  // with the products 0 and 0, added, and cannot take its PKID, which the first import gave away. That ends the
  // bundles with the record set open, and every importer after them ends at its first item.
  EXPECT_EQ(Query("SELECT Keyword FROM Keywords ORDER BY PKID"), (Rows{{"Werkzeug"}}));
  EXPECT_EQ(Count("Currencies"), 3);
}

TEST_F(CvimportTest, SecondImportInMode2UpdatesButCreatesNothing) {
  ASSERT_EQ(Import(kExample).exit_code, kEndsEarly);
  Exec("UPDATE Currencies SET Name='geändert' WHERE ISOCode='EUR'");
  Exec("DELETE FROM Keywords WHERE Keyword='Tee'");
  Result r = Import(kExample, {"--mode", "2"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(Query("SELECT Name FROM Currencies WHERE ISOCode='EUR'"), (Rows{{"Euro"}}));
  EXPECT_EQ(Query("SELECT Keyword FROM Keywords ORDER BY PKID"), (Rows{{"Werkzeug"}}));
  EXPECT_EQ(Count("Manufacturers"), 3);
}

// ---- The site structure and the goods of the example -------------------------------------------------------

// The rows of the tables that the folder, page, page-data, category, product and assignment importers write,
// each in a fixed order and with every field.
const char* const kFolderRows = "SELECT PKID, Name, ParentFolderFKID FROM Folders ORDER BY PKID";
const char* const kPageRows =
    "SELECT PKID, ID, PageName, PageTitle, PageIntro, Depth, ParentFKID, SortOrder FROM Pages ORDER BY PKID";
const char* const kPageDataRows =
    "SELECT PKID, ElType, ElRef, IntroSoundMRef, OutputFolderRef, ThumbMRef, Comments, Markup, HeadMarkup, MetaTags, "
    "MetaKeywords, ScheduleFrom, ScheduleTo, FirstStagedDate, LastStagedDate, IncludeBackRefs, Title, FileName "
    "FROM PageData ORDER BY ElType, ElRef";
const char* const kCategoryRows =
    "SELECT PKID, ID, Name, ParentCategoryFKID, DefaultThumbMRef, LongDesc, ShortDesc, SortOrder, IsHidden "
    "FROM Categories ORDER BY PKID";
const char* const kProductRows =
    "SELECT PKID, ProductID, Name, PictureMRef, LongDesc, ShortDesc, Price, Weight, ManufacturerFKID, "
    "DeliveryTimeFKID FROM Products ORDER BY PKID";
const char* const kAssignmentRows =
    "SELECT PKID, CategoryFKID, ProductFKID, SortOrder FROM Products2Categories ORDER BY PKID";

// A page-data row: its key, element, output folder and the two texts copied from the item. The sound and
// thumbnail references are 0 (without media imported); the long texts, meta data, schedule and
// back-reference switch are never taken from the catalogue and keep the defaults of a new record.
std::vector<std::string> PageDataRow(const std::string& pkid, const std::string& el_type, const std::string& el_ref,
                                     const std::string& output_folder, const std::string& title,
                                     const std::string& file_name) {
  return {pkid,   el_type, el_ref, "0",    output_folder, "0",    "NULL", "NULL", "NULL",
          "NULL", "NULL",  "NULL", "NULL", "NULL",        "NULL", "0",    title,  file_name};
}

// Rows of the example's first import, shared with the second imports that leave them as they are.
//
// Folders: the tree Shop/Tee/Grüntee comes child first. A new folder is first added by its name alone and
// then compared by path; Grüntee and Tee are not at the top in the catalogue, so the fresh record (parent not
// yet set, path /Grüntee) differs and a second one is added, and the first stays behind with only its name.
// Shop and the top Angebote match their fresh record. The Angebote below Tee finds the top one by name, at
// another place, and gets a folder of its own. The parents are set in the second pass.
const Rows kFoldersOfTheFirstImport = {
    {"1", "Grüntee", "0"}, {"2", "Grüntee", "4"},  {"3", "Tee", "0"},      {"4", "Tee", "5"},
    {"5", "Shop", "0"},    {"6", "Angebote", "0"}, {"7", "Angebote", "4"},
};
// Pages: the placeholders "temp" are replaced by the catalogue's texts, also by the empty title of the page
// that has none; PageIntro and Depth are never written; ParentFKID keeps the catalogue's key 101.
const Rows kPagesOfTheFirstImport = {
    {"1", "start", "Startseite", "Willkommen im Teeladen", "NULL", "0", "0", "1"},
    {"2", "teewelt", "Teewelt", "Alles über Tee", "NULL", "0", "101", "2"},
    {"3", "impressum", "Impressum", "", "NULL", "0", "101", "3"},
};
// Categories: Grüner Tee comes before its parent Tee and gets it in the second pass; the default thumbnail is
// never written; the long description is the item's text (empty where it has none).
const Rows kCategoriesOfTheFirstImport = {
    {"1", "GRUENTEE", "Grüner Tee", "2", "0", "Grüne Tees aus Japan und China.", "Frisch und grasig", "1", "0"},
    {"2", "TEE", "Tee", "0", "0", "", "Alle Sorten", "1", "0"},
    {"3", "ZUBEHOER", "Zubehör", "0", "0", "", "Kannen und Siebe", "2", "-1"},
};
// Products: the long description is the item's text with its escaped markup read as text; the manufacturer
// and delivery time keys are copied as the catalogue has them (Teehaus Nord is 8 there and 2 here).
const Rows kProductsOfTheFirstImport = {
    {"1", "SENCHA", "Sencha Bio", "0", "Grüner Tee aus Japan: <b>mild</b> & frisch.", "Japanischer Grüntee, 100 g",
     "6.9", "0.1", "8", "1"},
    {"2", "MATCHA", "Matcha", "0", "Fein gemahlen, für Schale und Besen.", "Pulvertee, 30 g", "14.5", "0.03", "8", "2"},
    {"3", "KANNE", "Teekanne Gusseisen", "0", "Gusseiserne Kanne mit Sieb; hält lange warm.", "1,2 Liter", "39.95",
     "1.5", "7", "2"},
};
// Assignments with the new keys of category and product. The last item names product 44, which the catalogue
// does not hold: the import ends there without a row.
const Rows kAssignmentsOfTheFirstImport = {{"1", "1", "1", "1"}, {"2", "1", "2", "2"}, {"3", "3", "3", "1"}};

// Page data: every page, category and product written gets a row, keyed by its new key; those without a
// page-data item in the catalogue get a bare one. A row from an item takes the item's PKID (PKID is copied
// like an ordinary field), and a row added later gets the next key above the highest so far (after 5 comes 6).
// The output folder is the new key of the named folder: Shop 5, the Angebote below Tee 7, Grüntee 2.
Rows PageDataOfAnImport(const std::string& angebote_below_tee, const std::string& gruentee,
                        const std::string& start_title) {
  return {
      PageDataRow("1", "0", "1", "5", start_title, "index.html"),
      PageDataRow("2", "0", "2", angebote_below_tee, "Teewelt", "teewelt.html"),
      PageDataRow("14", "0", "3", "0", "NULL", "NULL"),
      PageDataRow("5", "1", "1", gruentee, "Grüner Tee", "gruener-tee.html"),
      PageDataRow("6", "1", "2", "0", "NULL", "NULL"),
      PageDataRow("7", "1", "3", "0", "NULL", "NULL"),
      PageDataRow("9", "2", "1", gruentee, "Sencha Bio", "sencha.html"),
      PageDataRow("10", "2", "2", "0", "NULL", "NULL"),
      PageDataRow("11", "2", "3", "0", "NULL", "NULL"),
  };
}

TEST_F(CvimportTest, FreshImportWritesTheFoldersPagesPageDataAndGoodsOfTheExample) {
  Result r = Import(kExample, {"--verbose"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);

  EXPECT_EQ(Query(kFolderRows), kFoldersOfTheFirstImport);
  EXPECT_EQ(Query(kPageRows), kPagesOfTheFirstImport);
  EXPECT_EQ(Query(kPageDataRows), PageDataOfAnImport("7", "2", "Startseite"));
  EXPECT_EQ(Query(kCategoryRows), kCategoriesOfTheFirstImport);
  EXPECT_EQ(Query(kProductRows), kProductsOfTheFirstImport);
  EXPECT_EQ(Query(kAssignmentRows), kAssignmentsOfTheFirstImport);
}

// What a second import of the example writes in each update mode, over records that were changed in between.
struct SecondImportCase {
  int mode;
  Rows folders;
  Rows pages;
  Rows page_data;
  Rows categories;
  Rows products;
  Rows assignments;
};

class SecondImportOfTheExampleTest : public CvimportTest, public ::testing::WithParamInterface<SecondImportCase> {};

TEST_P(SecondImportOfTheExampleTest, WritesTheSiteStructureAndTheGoodsAsTheModeSays) {
  const SecondImportCase& c = GetParam();
  ASSERT_EQ(Import(kExample).exit_code, kEndsEarly);
  Exec("UPDATE Pages SET PageTitle='geändert' WHERE ID='start'");
  Exec("UPDATE PageData SET Title='geändert' WHERE ElType=0 AND ElRef=1");
  Exec("UPDATE Categories SET Name='geändert' WHERE ID='TEE'");
  Exec("UPDATE Products SET Name='geändert' WHERE ProductID='SENCHA'");
  Exec("UPDATE Products2Categories SET SortOrder=9 WHERE PKID=1");

  Result r = Import(kExample, {"--mode", std::to_string(c.mode), "--verbose"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);

  EXPECT_EQ(Query(kFolderRows), c.folders);
  EXPECT_EQ(Query(kPageRows), c.pages);
  EXPECT_EQ(Query(kPageDataRows), c.page_data);
  EXPECT_EQ(Query(kCategoryRows), c.categories);
  EXPECT_EQ(Query(kProductRows), c.products);
  EXPECT_EQ(Query(kAssignmentRows), c.assignments);
}

// The first import's rows with one field of one row replaced.
Rows With(Rows rows, std::size_t row, std::size_t field, const std::string& value) {
  rows.at(row).at(field) = value;
  return rows;
}

// Folders of a second import. The name query returns the folders of a name in key order, and only the first is
// compared by path: for Grüntee and Tee that is the bare record that the first import left behind, at the
// top, so each gets one more folder (8 and 9), in every mode. Shop and the top Angebote find themselves. The
// Angebote below Tee finds the top one first and again gets a folder of its own (10). The new folders get their
// parents in the second pass from the NewPKID of the parent item.
Rows FoldersOfASecondImport(const std::string& parent_of_the_new_tee) {
  Rows rows = kFoldersOfTheFirstImport;
  rows.push_back({"8", "Grüntee", "9"});
  rows.push_back({"9", "Tee", parent_of_the_new_tee});
  rows.push_back({"10", "Angebote", "9"});
  return rows;
}

// Modes 0 and 2 update every record that the catalogue names: the changed texts are the catalogue's again,
// and the page data name the folders that this import wrote (the Angebote below Tee 10, Grüntee 8).
SecondImportCase UpdatingSecondImport(int mode) {
  return {mode,
          FoldersOfASecondImport("5"),
          kPagesOfTheFirstImport,
          PageDataOfAnImport("10", "8", "Startseite"),
          kCategoriesOfTheFirstImport,
          kProductsOfTheFirstImport,
          kAssignmentsOfTheFirstImport};
}

INSTANTIATE_TEST_SUITE_P(
    Modes, SecondImportOfTheExampleTest,
    ::testing::Values(
        UpdatingSecondImport(0),
        // Mode 1 leaves every existing record alone and writes no page data for it. Shop is not written, so
        // its item keeps its catalogue key 11 as NewPKID, and the new Tee gets 11 as its parent in the second
        // pass. The categories and products that were not written have no NewPKID, so every assignment
        // translates to the keys 0 and 0: the first adds that row, the next two find it and leave it alone.
        SecondImportCase{
            1,
            FoldersOfASecondImport("11"),
            With(kPagesOfTheFirstImport, 0, 3, "geändert"),
            PageDataOfAnImport("7", "2", "geändert"),
            With(kCategoriesOfTheFirstImport, 1, 2, "geändert"),
            With(kProductsOfTheFirstImport, 0, 2, "geändert"),
            Rows{{"1", "1", "1", "9"}, {"2", "1", "2", "2"}, {"3", "3", "3", "1"}, {"4", "0", "0", "1"}},
        },
        UpdatingSecondImport(2)),
    [](const ::testing::TestParamInfo<SecondImportCase>& info) { return "Mode" + std::to_string(info.param.mode); });

// ---- Media --------------------------------------------------------------------------------------------------

// Every folder and file below `root` by its path relative to it, a folder with a "/" at its end, sorted; empty
// when `root` does not exist.
std::vector<std::string> Tree(const fs::path& root) {
  std::vector<std::string> out;
  if (!fs::exists(root)) return out;
  for (const auto& entry : fs::recursive_directory_iterator(root))
    out.push_back(fs::relative(entry.path(), root).string() + (entry.is_directory() ? "/" : ""));
  std::sort(out.begin(), out.end());
  return out;
}

// The status texts of a run with media: the assignment import adds its own.
std::vector<std::string> StatusWithMedia() { return cvimp::plugin::testing::WithMedia(kStatusWithoutRegions); }

const char* const kMediaRows =
    "SELECT PKID, Src, MediaTypeFKID, RefCounter, PublishAlways, IsReferenced, LastModifiedDate, Title, FileSize "
    "FROM Media ORDER BY PKID";
const char* const kAssignmentOfMediaRows =
    "SELECT PKID, Name, ElRef, MediaFKID, SortOrder FROM Element2Media ORDER BY PKID";

// An export (a catalogue with its media files beside it) in the test's folder, imported into the project
// folder "projekt" beside it.
class MediaTest : public CvimportTest {
 protected:
  fs::path Export() const { return dir_ / "export"; }
  fs::path Project() const { return dir_ / "projekt"; }
  // Writes a file, and the folders above it, below the test's folder.
  void WriteFile(const std::string& relative, const std::string& content) const {
    fs::create_directories((dir_ / relative).parent_path());
    std::ofstream(dir_ / relative, std::ios::binary) << content;
  }
  // The export's catalogue, whose Media section holds the given items; gives its path.
  std::string WriteCatalogue(const std::string& media_items) const {
    WriteFile("export/katalog.xml", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CalvoraCatalog>\n  <Media>" +
                                        media_items + "</Media>\n</CalvoraCatalog>\n");
    return (Export() / "katalog.xml").string();
  }
  Result ImportWithMedia(const std::string& catalog, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"--media", "--project", Project().string()});
    return Import(catalog, more);
  }
};

const std::vector<std::string> kEmptyMediaFolders = {"Media/", "Media/audio/", "Media/docs/", "Media/images/",
                                                     "Media/misc/"};

// The folders and files of the project after a run, against the folders alone and the files.
std::vector<std::string> FoldersWith(std::vector<std::string> files) {
  files.insert(files.end(), kEmptyMediaFolders.begin(), kEmptyMediaFolders.end());
  std::sort(files.begin(), files.end());
  return files;
}

TEST_F(MediaTest, TheExampleWithMediaCopiesItsFilesAndWritesItsMediaAssignmentsAndReferences) {
  Result r = ImportWithMedia(kExample, {"--quiet"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(r.OutLines(), StatusWithMedia());
  EXPECT_EQ(r.err, "");

  // The project folder is made with its four media folders; every medium with a file is copied, the link
  // (of type url, after the sound) has none.
  EXPECT_EQ(Tree(Project()), FoldersWith({"Media/audio/teezeremonie.mp3", "Media/docs/pflegehinweise.pdf",
                                          "Media/images/matcha.jpg", "Media/images/sencha.jpg"}));
  for (const char* file : {"Media/audio/teezeremonie.mp3", "Media/docs/pflegehinweise.pdf", "Media/images/matcha.jpg",
                           "Media/images/sencha.jpg"})
    EXPECT_EQ(Slurp(Project() / file), Slurp(fs::path(EXAMPLES_DIR) / file)) << file;

  // A new medium starts with type 1 and counter 1 and then takes the catalogue's values; its key, publish
  // and reference switches and date are never taken from the catalogue.
  EXPECT_EQ(
      Query(kMediaRows),
      (Rows{{"1", "sencha.jpg", "image", "2", "0", "0", "NULL", "Sencha in der Schale", "38"},
            {"2", "matcha.jpg", "image", "2", "0", "0", "NULL", "Matcha mit Besen", "34"},
            {"3", "teezeremonie.mp3", "audio", "1", "0", "0", "NULL", "Klang der Teezeremonie", "39"},
            {"4", "https://tee.example/teezeremonie", "url", "0", "0", "0", "NULL", "Die Teezeremonie im Netz", "0"},
            {"5", "pflegehinweise.pdf", "doc", "1", "0", "0", "NULL", "Pflege der Gusseisenkanne", "39"}}));
  // The assignments keep their catalogue keys and media keys; ElRef is the product's new key.
  EXPECT_EQ(Query(kAssignmentOfMediaRows), (Rows{{"81", "SENCHA-Bild", "1", "71", "1"},
                                                 {"82", "MATCHA-Bild", "2", "72", "1"},
                                                 {"83", "KANNE-Pflege", "3", "75", "2"}}));
  // The pictures of the products and the sound and thumbnails of the page data name the media's new keys.
  EXPECT_EQ(Query(kProductRows), With(With(kProductsOfTheFirstImport, 0, 3, "1"), 1, 3, "2"));
  EXPECT_EQ(Query(kPageDataRows),
            With(With(With(PageDataOfAnImport("7", "2", "Startseite"), 0, 3, "3"), 3, 5, "2"), 6, 5, "1"));
  // The rest of the example is imported as without media.
  EXPECT_EQ(Query(kCategoryRows), kCategoriesOfTheFirstImport);
  EXPECT_EQ(Query(kAssignmentRows), kAssignmentsOfTheFirstImport);
  EXPECT_EQ(Query("SELECT Keyword FROM Keywords ORDER BY PKID"), (Rows{{"Werkzeug"}, {"Tee"}}));
}

TEST_F(MediaTest, WithoutTheMediaOptionNoMediaRecordFolderOrFileIsWritten) {
  Result r = Import(kExample, {"--project", Project().string()});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);
  EXPECT_EQ(Count("Media"), 0);
  EXPECT_EQ(Count("Element2Media"), 0);
  EXPECT_FALSE(fs::exists(Project()));
  EXPECT_FALSE(fs::exists(dir_ / "Media"));
  EXPECT_EQ(Query("SELECT PictureMRef FROM Products ORDER BY PKID"), (Rows{{"0"}, {"0"}, {"0"}}));
}

TEST_F(MediaTest, WithoutAProjectFolderTheMediaGoBelowTheDatabasesFolder) {
  WriteFile("export/Media/images/a.jpg", "Bild A");
  const std::string catalog = WriteCatalogue(R"(<MediaItem PKID="1" Src="a.jpg" MediaTypeFKID="image"/>)");
  Result r = Import(catalog, {"--media"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Slurp(dir_ / "Media/images/a.jpg"), "Bild A");
  EXPECT_TRUE(fs::is_directory(dir_ / "Media/misc"));
}

// a.jpg and b.mp3, with files beside the catalogue.
const char* const kTwoMediaItems =
    R"(<MediaItem PKID="1" Src="a.jpg" MediaTypeFKID="image" RefCounter="1" Title="A" FileSize="6"/>)"
    R"(<MediaItem PKID="2" Src="b.mp3" MediaTypeFKID="audio" RefCounter="1" Title="B" FileSize="7"/>)";
const Rows kTwoMediaRows = {{"1", "a.jpg", "image", "1", "0", "0", "NULL", "A", "6"},
                            {"2", "b.mp3", "audio", "1", "0", "0", "NULL", "B", "7"}};

TEST_F(MediaTest, ImportingTheSameCatalogueTwiceOverwritesNoFileAndAddsNoSecondRecord) {
  WriteFile("export/Media/images/a.jpg", "Bild A");
  WriteFile("export/Media/audio/b.mp3", "Klang B");
  const std::string catalog = WriteCatalogue(kTwoMediaItems);
  Result first = ImportWithMedia(catalog);
  ASSERT_EQ(first.exit_code, 0) << first.err;
  EXPECT_EQ(first.OutLines(), StatusWithMedia());
  EXPECT_EQ(Tree(Project()), FoldersWith({"Media/audio/b.mp3", "Media/images/a.jpg"}));
  EXPECT_EQ(Query(kMediaRows), kTwoMediaRows);

  // The exported files change, and so does a record; the second import (mode 0) updates the record and
  // leaves the copies as they were.
  WriteFile("export/Media/images/a.jpg", "Bild A, neu");
  WriteFile("export/Media/audio/b.mp3", "Klang B, neu");
  Exec("UPDATE Media SET Title='geändert'");
  Result second = ImportWithMedia(catalog, {"--mode", "0"});
  ASSERT_EQ(second.exit_code, 0) << second.err;
  EXPECT_EQ(second.OutLines(), StatusWithMedia());
  EXPECT_EQ(Tree(Project()), FoldersWith({"Media/audio/b.mp3", "Media/images/a.jpg"}));
  EXPECT_EQ(Slurp(Project() / "Media/images/a.jpg"), "Bild A");
  EXPECT_EQ(Slurp(Project() / "Media/audio/b.mp3"), "Klang B");
  EXPECT_EQ(Query(kMediaRows), kTwoMediaRows);
}

TEST_F(MediaTest, ATargetFileThatExistsBeforehandStaysAsItWasAndItsRecordIsUpdated) {
  ASSERT_EQ(Run({"init", db().string()}).exit_code, 0);
  Exec(
      "INSERT INTO Media (PKID, Src, MediaTypeFKID, RefCounter, PublishAlways, Title, FileSize) "
      "VALUES (5, 'a.jpg', 'misc', 9, -1, 'alt', 1)");
  WriteFile("projekt/Media/images/a.jpg", "schon da");
  WriteFile("export/Media/images/a.jpg", "Bild A");
  WriteFile("export/Media/audio/b.mp3", "Klang B");
  Result r = ImportWithMedia(WriteCatalogue(kTwoMediaItems), {"--mode", "0"});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Slurp(Project() / "Media/images/a.jpg"), "schon da");
  EXPECT_EQ(Slurp(Project() / "Media/audio/b.mp3"), "Klang B");
  EXPECT_EQ(Tree(Project()), FoldersWith({"Media/audio/b.mp3", "Media/images/a.jpg"}));
  EXPECT_EQ(Query(kMediaRows), (Rows{{"5", "a.jpg", "image", "1", "-1", "0", "NULL", "A", "6"},
                                     {"6", "b.mp3", "audio", "1", "0", "0", "NULL", "B", "7"}}));
}

// The type url chooses no folders: the medium after the sound is copied from and to the audio folders,
// although a file of its name also lies in the image and misc folders. A link has no file to copy.
TEST_F(MediaTest, AUrlMediumAfterAnAudioOneIsCopiedWithTheAudioFolders) {
  WriteFile("export/Media/images/i.jpg", "Bild");
  WriteFile("export/Media/audio/gong.mp3", "Gong");
  WriteFile("export/Media/audio/stream.m3u", "aus audio");
  WriteFile("export/Media/images/stream.m3u", "aus images");
  WriteFile("export/Media/misc/stream.m3u", "aus misc");
  Result r =
      ImportWithMedia(WriteCatalogue(R"(<MediaItem PKID="1" Src="i.jpg" MediaTypeFKID="image"/>)"
                                     R"(<MediaItem PKID="2" Src="gong.mp3" MediaTypeFKID="audio"/>)"
                                     R"(<MediaItem PKID="3" Src="stream.m3u" MediaTypeFKID="url"/>)"
                                     R"(<MediaItem PKID="4" Src="https://radio.example/tee" MediaTypeFKID="url"/>)"));
  ASSERT_EQ(r.exit_code, 0) << r.err;
  EXPECT_EQ(Tree(Project()), FoldersWith({"Media/audio/gong.mp3", "Media/audio/stream.m3u", "Media/images/i.jpg"}));
  EXPECT_EQ(Slurp(Project() / "Media/audio/stream.m3u"), "aus audio");
  EXPECT_EQ(Query("SELECT PKID, Src, MediaTypeFKID FROM Media ORDER BY PKID"),
            (Rows{{"1", "i.jpg", "image"},
                  {"2", "gong.mp3", "audio"},
                  {"3", "stream.m3u", "url"},
                  {"4", "https://radio.example/tee", "url"}}));
}

// ---- The variants of the example ----------------------------------------------------------------------------

const char* const kVariantTypeRows = "SELECT PKID, Name, SortOrder FROM VariantTypes ORDER BY PKID";
const char* const kVariantValueRows = "SELECT PKID, Value, VariantFKID, SortOrder FROM VariantValues ORDER BY PKID";
const char* const kSimpleVariantRows =
    "SELECT PKID, ProductFKID, VariantTypeFKID, VariantValueFKID, Surcharge FROM VariantsSimple ORDER BY PKID";
const char* const kComplexVariantRows =
    "SELECT PKID, VarString, ProductID, ProductFKID, DeliveryTimeFKID, ThumbMRef, PictureMRef, Price, Weight, Stock "
    "FROM VariantsComplex ORDER BY PKID";

// The types get their keys in the order of the file: Ernte 1, Packung 2, Farbe 3; the values 1 to 6 in theirs,
// each with its type's new key.
const Rows kVariantTypesOfTheExample = {{"1", "Ernte", "2"}, {"2", "Packung", "1"}, {"3", "Farbe", "3"}};
const Rows kVariantValuesOfTheExample = {
    {"1", "100 g", "2", "1"},           {"2", "250 g", "2", "2"},   {"3", "Frühlingspflückung", "1", "1"},
    {"4", "Sommerpflückung", "1", "2"}, {"5", "schwarz", "3", "1"}, {"6", "rot", "3", "2"}};
// The kettle (product 3) in schwarz and rot, both of type Farbe (3). Product 44 is not in the catalogue: its
// variant keeps the catalogue's key.
const Rows kSimpleVariantsOfTheExample = {
    {"1", "3", "3", "5", "0"}, {"2", "3", "3", "6", "5"}, {"3", "44", "3", "6", "5"}};
// Sencha (product 1). The VarStrings name the harvest (type 1) before the package (type 2): [1]91[2]93 of the
// catalogue, 100 g and Frühlingspflückung, becomes [1]3[2]1. The delivery-time import notes no new keys, so
// the delivery times translate to 0; without media imported the pictures translate to 0 as well.
const Rows kComplexVariantsOfTheExample = {{"1", "[1]3[2]1", "SENCHA-100-F", "1", "0", "0", "0", "6.9", "0.1", "20"},
                                           {"2", "[1]3[2]2", "SENCHA-250-F", "1", "0", "0", "0", "15.9", "0.25", "8"},
                                           {"3", "[1]4[2]1", "SENCHA-100-S", "1", "0", "0", "0", "5.9", "0.1", "0"}};

TEST_F(CvimportTest, FreshImportWritesTheVariantsOfTheExample) {
  Result r = Import(kExample, {"--verbose"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(Query(kVariantTypeRows), kVariantTypesOfTheExample);
  EXPECT_EQ(Query(kVariantValueRows), kVariantValuesOfTheExample);
  EXPECT_EQ(Query(kSimpleVariantRows), kSimpleVariantsOfTheExample);
  EXPECT_EQ(Query(kComplexVariantRows), kComplexVariantsOfTheExample);
}

TEST_F(CvimportTest, ASecondImportInMode0FindsEveryVariantOfTheExampleAgain) {
  ASSERT_EQ(Import(kExample).exit_code, kEndsEarly);
  Exec("UPDATE VariantsComplex SET Stock=99");
  Exec("UPDATE VariantsSimple SET Surcharge=9");
  Result r = Import(kExample, {"--mode", "0", "--verbose"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(Query(kVariantTypeRows), kVariantTypesOfTheExample);
  EXPECT_EQ(Query(kVariantValueRows), kVariantValuesOfTheExample);
  EXPECT_EQ(Query(kSimpleVariantRows), kSimpleVariantsOfTheExample);
  EXPECT_EQ(Query(kComplexVariantRows), kComplexVariantsOfTheExample);
}

// With media imported the pictures of the complex variants name the new key of the medium sencha.jpg.
TEST_F(CvimportTest, WithMediaTheComplexVariantsOfTheExampleNameTheirPicturesNewKey) {
  Result r = Import(kExample, {"--media", "--project", (dir_ / "projekt").string()});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  const Rows picture = Query("SELECT PKID FROM Media WHERE Title='Sencha in der Schale'");
  ASSERT_EQ(picture.size(), 1u);
  const std::string key = picture[0][0];
  EXPECT_EQ(Query("SELECT ProductID, ThumbMRef, PictureMRef FROM VariantsComplex ORDER BY PKID"),
            (Rows{{"SENCHA-100-F", key, key}, {"SENCHA-250-F", key, key}, {"SENCHA-100-S", "0", "0"}}));
}

// ---- The complete example: every section, with media and regions ------------------------------------------

// The sections that an import reads; the example holds items of each.
const std::vector<std::string> kEverySection = {"Currencies",
                                                "DeliveryTimes",
                                                "MeasureUnits",
                                                "QuantityUnits",
                                                "Regions",
                                                "Manufacturers",
                                                "Keywords",
                                                "KeywordRefs",
                                                "Folders",
                                                "Pages",
                                                "PageData",
                                                "Categories",
                                                "Products",
                                                "Products2Categories",
                                                "Media",
                                                "Element2Media",
                                                "Discounts",
                                                "ExchangeDataProfiles",
                                                "PublishProfiles",
                                                "Bundles",
                                                "PayMethods",
                                                "ShipMethods",
                                                "ShipMethodZones",
                                                "ShipMethodCalculators",
                                                "ShipMethodTables",
                                                "Pay2ShipMethodsExcl",
                                                "PayMethods2RegionsExcl",
                                                "Regions2ShipZones",
                                                "VariantTypes",
                                                "VariantValues",
                                                "VariantsSimple",
                                                "VariantsComplex",
                                                "AttributeGroups",
                                                "AttributeClasses",
                                                "Attributes",
                                                "Attributes2Class",
                                                "AttributeMultiValues",
                                                "Attributes2Product",
                                                "AttributeMultiValues2Product",
                                                "CrossRefs"};

TEST_F(CvimportTest, TheExampleHoldsItemsOfEverySectionThatAnImportReads) {
  const std::string example = Slurp(kExample);
  for (const std::string& section : kEverySection) {
    EXPECT_THAT(example, HasSubstr("<" + section + ">")) << section;
    EXPECT_THAT(example, HasSubstr("<" + section + "Item ")) << section;
  }
}

// Every table of the shop database with all its rows, each in the order of its keys (the page data by element).
using Tables = std::map<std::string, Rows>;

// The rows with their keys replaced by first_key, first_key + 1, ...
Rows Renumbered(Rows rows, int first_key) {
  for (auto& row : rows) row.at(0) = std::to_string(first_key++);
  return rows;
}
Rows Plus(Rows rows, const Rows& more) {
  rows.insert(rows.end(), more.begin(), more.end());
  return rows;
}

// The page data of an import with media: the intro sound of the start page is the sound (3), the thumbnails of
// Grüner Tee and Sencha are the Matcha (2) and Sencha (1) pictures.
Rows PageDataWithMedia(const std::string& angebote_below_tee, const std::string& gruentee) {
  return With(With(With(PageDataOfAnImport(angebote_below_tee, gruentee, "Startseite"), 0, 3, "3"), 3, 5, "2"), 6, 5,
              "1");
}

// The link records of the attributes keep the catalogue's keys (they are looked up with the new ones).
const Rows kAttributesToClassesOfTheExample = {
    {"1", "161", "141", "1"}, {"2", "162", "141", "2"}, {"3", "163", "142", "1"}, {"4", "164", "142", "2"}};
const Rows kChoiceValuesOfTheExample = {{"1", "161", "Japan", "1"},
                                        {"2", "161", "China", "2"},
                                        {"3", "163", "Gusseisen", "1"},
                                        {"4", "163", "Porzellan", "2"}};
const Rows kAttributesOfProductsOfTheExample = {{"1", "161", "141", "41", "Japan, Shizuoka"},
                                                {"2", "162", "141", "41", "2024"},
                                                {"3", "161", "141", "42", "Japan, Uji"},
                                                {"4", "163", "142", "43", "Gusseisen"},
                                                {"5", "164", "142", "43", "1,2"}};
const Rows kChoiceValuesOfProductsOfTheExample = {{"1", "181", "191"}, {"2", "181", "193"}, {"3", "183", "194"}};

// What a first import of the example with media and regions writes into a new shop database.
Tables TheCompleteExampleImported() {
  return {
      // Reference data, as the tests above read them.
      {"Currencies",
       {{"1", "EUR", "Euro", "€", "1.0"},
        {"2", "USD", "US-Dollar", "$", "1.0825"},
        {"3", "CHF", "Schweizer Franken", "Fr.", "0.9512"}}},
      {"DeliveryTimes", {{"1", "1-2 Tage", "1"}, {"2", "3-5 Tage", "5"}}},
      {"MeasureUnits", {{"1", "Kilogramm", "kg", "1000.0"}, {"2", "Gramm", "g", "1.0"}, {"3", "", "?", "0.0"}}},
      {"QuantityUnits", {{"1", "Stück", "einzeln"}, {"2", "Zoll'", "Länge in Zoll"}}},
      {"Regions", {{"40", "Österreich", "AT"}, {"276", "Deutschland", "DE"}}},
      {"Manufacturers",
       {{"1", "ACME", "0", "Acme Werkzeuge", "https://acme.example"},
        {"2", "TEEHAUS", "0", "Teehaus Nord", ""},
        {"3", "NOKEY", "0", "Ohne Schlüssel", ""}}},
      {"Keywords", {{"1", "Werkzeug"}, {"2", "Tee"}}},
      // Keyword references keep their PKID and name the product by its new key.
      {"KeywordRefs", {{"301", "2", "1", "Tee"}, {"302", "2", "2", "Tee"}, {"303", "2", "3", "Werkzeug"}}},
      // Site structure, goods and media, as the tests above read them.
      {"Folders", kFoldersOfTheFirstImport},
      {"Pages", kPagesOfTheFirstImport},
      {"PageData", PageDataWithMedia("7", "2")},
      {"Categories", kCategoriesOfTheFirstImport},
      {"Products", With(With(kProductsOfTheFirstImport, 0, 3, "1"), 1, 3, "2")},
      {"Products2Categories", kAssignmentsOfTheFirstImport},
      {"Media",
       {{"1", "sencha.jpg", "image", "2", "0", "0", "NULL", "Sencha in der Schale", "38"},
        {"2", "matcha.jpg", "image", "2", "0", "0", "NULL", "Matcha mit Besen", "34"},
        {"3", "teezeremonie.mp3", "audio", "1", "0", "0", "NULL", "Klang der Teezeremonie", "39"},
        {"4", "https://tee.example/teezeremonie", "url", "0", "0", "0", "NULL", "Die Teezeremonie im Netz", "0"},
        {"5", "pflegehinweise.pdf", "doc", "1", "0", "0", "NULL", "Pflege der Gusseisenkanne", "39"}}},
      {"Element2Media",
       {{"81", "SENCHA-Bild", "1", "71", "1"},
        {"82", "MATCHA-Bild", "2", "72", "1"},
        {"83", "KANNE-Pflege", "3", "75", "2"}}},
      {"VariantTypes", kVariantTypesOfTheExample},
      {"VariantValues", kVariantValuesOfTheExample},
      {"VariantsSimple", kSimpleVariantsOfTheExample},
      {"VariantsComplex",
       With(With(With(With(kComplexVariantsOfTheExample, 0, 5, "1"), 0, 6, "1"), 1, 5, "1"), 1, 6, "1")},
      // Profiles: the exchange profiles never take a UserConfig; the publish profiles take the text of theirs.
      {"ExchangeDataProfiles",
       {{"1", "Warenwirtschaft", "NULL", "1709114400", "export/artikel.csv"},
        {"2", "Lagerbestand", "NULL", "0", "export/bestand.csv"}}},
      {"PublishProfiles",
       {{"1", "Webserver", "<veroeffentlichen><ziel>ftp://tee.example</ziel></veroeffentlichen>", "/var/www/teeladen"},
        {"2", "Vorschau", "<veroeffentlichen><ziel>lokal</ziel></veroeffentlichen>", "vorschau"}}},
      // Discounts on the products' new keys, without schedule; the one on product 44 ended the import.
      {"Discounts",
       {{"1", "Mengenrabatt Sencha", "0", "10.0", "1", "50.0", "NULL", "NULL"},
        {"2", "Matcha ab 99,50 €", "1", "2.5", "2", "99.5", "NULL", "NULL"}}},
      // Payment and shipping: Config and CalcProductSurcharges are never imported; zones, calculators and rate
      // tables hold "temp" and are neither default nor fixed; every key is the new one, the regions' as read.
      {"PayMethods",
       {{"1", "VORKASSE", "Vorkasse", "0", "1", "1", "NULL", "Überweisung vor dem Versand", "1"},
        {"2", "RECHNUNG", "Rechnung", "0", "2", "1", "NULL", "Zahlung nach Erhalt der Ware", "2"},
        {"3", "NACHNAHME", "Nachnahme", "1", "3", "1", "NULL", "Zahlung bei der Zustellung", "3"}}},
      {"ShipMethods",
       {{"1", "PAKET", "Paketversand", "weight", "NULL", "0", "Versand als Paket", "1"},
        {"2", "ABHOLUNG", "Abholung im Laden", "fixed", "NULL", "0", "Teestraße 1, Hamburg", "2"}}},
      {"ShipMethodZones",
       {{"1", "Inland", "1", "temp", "temp", "0"},
        {"2", "Europa", "1", "temp", "temp", "0"},
        {"3", "Laden", "2", "temp", "temp", "0"}}},
      {"ShipMethodCalculators",
       {{"1", "1", "1", "temp", "temp", "0"},
        {"2", "1", "2", "temp", "temp", "0"},
        {"3", "0", "2", "temp", "temp", "0"}}},
      {"ShipMethodTables",
       {{"1", "1", "0", "2.0", "temp", "0", "4.9"},
        {"2", "1", "0", "31.5", "temp", "0", "6.9"},
        {"3", "2", "0", "31.5", "temp", "0", "14.9"},
        {"4", "3", "0", "0.0", "temp", "0", "0.0"}}},
      {"Pay2ShipMethodsExcl", {{"1", "3", "2"}}},
      {"PayMethods2RegionsExcl", {{"1", "2", "40"}}},
      {"Regions2ShipZones", {{"1", "1", "276"}, {"2", "2", "40"}, {"3", "3", "276"}}},
      // Attributes: the groups are translated, the default surcharge is 0; the links keep the catalogue's keys.
      {"AttributeClasses",
       {{"1", "Tee", "Merkmale der Teesorten"}, {"2", "Zubehör", "Merkmale von Kannen und Sieben"}}},
      {"AttributeGroups", {{"1", "Herkunft", "1"}, {"2", "Beschaffenheit", "2"}}},
      {"Attributes",
       {{"1", "Anbaugebiet", "1", "0", "", "1"},
        {"2", "Erntejahr", "1", "0", "", "2"},
        {"3", "Material", "2", "0", "", "1"},
        {"4", "Füllmenge", "2", "0", "l", "2"}}},
      {"Attributes2Class", kAttributesToClassesOfTheExample},
      {"AttributeMultiValues", kChoiceValuesOfTheExample},
      {"Attributes2Product", kAttributesOfProductsOfTheExample},
      {"AttributeMultiValues2Product", kChoiceValuesOfProductsOfTheExample},
      // Bundles keep their PKID; the kettle (3) with Sencha (1), in Grüner Tee (1) and its first combination (1).
      {"Bundles", {{"121", "3", "1", "1", "1", "1"}, {"122", "2", "1", "0", "0", "2"}}},
      // The first cross reference's source, Sencha, becomes 1, and no category item has the PKID 1.
      {"CrossRefs", {}},
  };
}

class CompleteExampleTest : public CvimportTest {
 protected:
  Result ImportTheExample(std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"--media", "--regions", "--project", (dir_ / "projekt").string()});
    return Import(kExample, more);
  }
  Tables EveryTable() const {
    Tables tables;
    for (const auto& name : Query("SELECT name FROM sqlite_master WHERE type='table' AND name NOT LIKE 'sqlite_%'"))
      tables[name[0]] =
          Query(name[0] == "PageData" ? std::string(kPageDataRows) : "SELECT * FROM " + name[0] + " ORDER BY PKID");
    return tables;
  }
  // Every table of the shop, and no other, holds exactly the expected rows.
  void ExpectTables(const Tables& expected) const {
    const Tables actual = EveryTable();
    std::vector<std::string> actual_names, expected_names;
    for (const auto& [name, rows] : actual) actual_names.push_back(name);
    for (const auto& [name, rows] : expected) expected_names.push_back(name);
    EXPECT_EQ(actual_names, expected_names);
    for (const auto& [name, rows] : expected) {
      auto it = actual.find(name);
      if (it != actual.end()) {
        EXPECT_EQ(it->second, rows) << name;
      }
    }
  }
};

const std::vector<std::string> kStatusOfTheCompleteExample =
    cvimp::plugin::testing::WithRegions(cvimp::plugin::testing::WithMedia(kStatusWithoutRegions));

TEST_F(CompleteExampleTest, AFreshImportWithMediaAndRegionsWritesEveryTable) {
  Result r = ImportTheExample({"--quiet"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusOfTheCompleteExample);
  EXPECT_EQ(r.err, "");
  ExpectTables(TheCompleteExampleImported());
}

// A field of one record, changed between the two imports: the table, the record's PKID, the field's name and
// place in the row, the new value as SQL and as it reads back, and whether an import in mode 0 and in mode 2
// writes the catalogue's value back (mode 1 never does).
struct Change {
  std::string table;
  std::string pkid;
  std::string field;
  std::size_t place;
  std::string sql;
  std::string text;
  bool mode0_restores;
  bool mode2_restores;
};

const std::vector<Change> kChanges = {
    {"Currencies", "1", "Name", 2, "'geändert'", "geändert", true, true},
    // In mode 0 the manufacturers end at their first item (the keyword references left the record set open).
    {"Manufacturers", "1", "Name", 3, "'geändert'", "geändert", false, true},
    // A discount's schedule is never imported.
    {"Discounts", "1", "DiscountValue", 3, "99", "99.0", true, true},
    {"Discounts", "1", "ScheduleFrom", 6, "'2025-01-01 00:00:00'", "2025-01-01 00:00:00", false, false},
    // An exchange profile's UserConfig is never imported; a publish profile's is.
    {"ExchangeDataProfiles", "1", "UserConfig", 2, "'eigene Einstellung'", "eigene Einstellung", false, false},
    {"ExchangeDataProfiles", "1", "FilePath", 4, "'geändert'", "geändert", true, true},
    {"PublishProfiles", "1", "UserConfig", 2, "'geändert'", "geändert", true, true},
    // A payment method's Config is never imported.
    {"PayMethods", "1", "Name", 2, "'geändert'", "geändert", true, true},
    {"PayMethods", "1", "Config", 6, "'eigene'", "eigene", false, false},
    {"ShipMethodZones", "1", "Countries", 3, "'DE'", "DE", true, true},
    {"ShipMethodZones", "1", "IsDefault", 5, "-1", "-1", true, true},
    {"ShipMethodTables", "1", "Charge", 6, "5.5", "5.5", true, true},
    {"AttributeClasses", "1", "Description", 2, "'geändert'", "geändert", true, true},
    {"Attributes", "4", "DefaultSurcharge", 3, "3", "3", true, true},
    {"Attributes", "4", "Unit", 4, "'geändert'", "geändert", true, true},
    // The link is looked up with the new keys, which it does not hold: it is never found again.
    {"Attributes2Product", "1", "Value", 4, "'geändert'", "geändert", false, false},
    {"Bundles", "121", "Quantity", 5, "5", "5", true, true},
};

// The tables with the changes applied that the mode does not restore.
Tables ChangedAsTheModeLeavesThem(Tables tables, int mode) {
  for (const Change& c : kChanges) {
    if ((mode == 0 && c.mode0_restores) || (mode == 2 && c.mode2_restores)) continue;
    for (auto& row : tables.at(c.table))
      if (row.at(0) == c.pkid) row.at(c.place) = c.text;
  }
  return tables;
}

struct SecondImportOfTheCompleteExampleCase {
  int mode;
  Tables tables;
  std::vector<std::string> errors;  // parts of what --verbose reports
};

void PrintTo(const SecondImportOfTheCompleteExampleCase& c, std::ostream* os) { *os << "mode " << c.mode; }

// Both updating modes write the folders and page data as the second import above does (the page data name the
// new folders 10 and 8).
Tables UpdatedBySecondImport(int mode) {
  Tables t = ChangedAsTheModeLeavesThem(TheCompleteExampleImported(), mode);
  t["Folders"] = FoldersOfASecondImport("5");
  t["PageData"] = PageDataWithMedia("10", "8");
  return t;
}

SecondImportOfTheCompleteExampleCase Mode0() {
  Tables t = UpdatedBySecondImport(0);
  // The discount from 99.5 is looked up as from 100 and added once more; the one on product 44 ends the import.
  t["Discounts"].push_back({"3", "Matcha ab 99,50 €", "1", "2.5", "2", "99.5", "NULL", "NULL"});
  // The links of the attributes are looked up with the new keys and not found: each is added again, with the
  // catalogue's keys.
  t["Attributes2Class"] = Plus(t["Attributes2Class"], Renumbered(kAttributesToClassesOfTheExample, 5));
  t["AttributeMultiValues"] = Plus(t["AttributeMultiValues"], Renumbered(kChoiceValuesOfTheExample, 5));
  t["Attributes2Product"] = Plus(t["Attributes2Product"], Renumbered(kAttributesOfProductsOfTheExample, 6));
  t["AttributeMultiValues2Product"] =
      Plus(t["AttributeMultiValues2Product"], Renumbered(kChoiceValuesOfProductsOfTheExample, 4));
  // The first keyword reference is looked up with the catalogue's ElRef 41 and not found; it is added (304)
  // and cannot be given its PKID 301, which another record has: the import ends with the record set open.
  t["KeywordRefs"].push_back({"304", "2", "41", "temp"});
  return {0,
          t,
          {"(statement: SELECT * FROM KeywordRefs WHERE RefType=2 AND ElRef=41)",
           "Open SELECT * FROM Manufacturers WHERE ID='ACME': Operation is not allowed when the object is open."}};
}

SecondImportOfTheCompleteExampleCase Mode1() {
  Tables t = ChangedAsTheModeLeavesThem(TheCompleteExampleImported(), 1);
  // Folders, assignments and variants as the tests above describe them: Shop keeps its catalogue key 11 as
  // NewPKID, the assignments translate to 0 and 0, the values of the existing types translate to 0, and so on.
  t["Folders"] = FoldersOfASecondImport("11");
  t["Products2Categories"].push_back({"4", "0", "0", "1"});
  Rows values = Renumbered(kVariantValuesOfTheExample, 7);
  for (auto& row : values) row.at(2) = "0";
  t["VariantValues"] = Plus(t["VariantValues"], values);
  t["VariantsSimple"] = Plus(t["VariantsSimple"],
                             {{"4", "43", "0", "11", "0"}, {"5", "43", "0", "12", "5"}, {"6", "44", "0", "12", "5"}});
  t["VariantsComplex"] =
      Plus(t["VariantsComplex"], {{"4", "[1]7[2]9", "SENCHA-100-F", "0", "0", "0", "0", "6.9", "0.1", "20"},
                                  {"5", "[1]8[2]9", "SENCHA-250-F", "0", "0", "0", "0", "15.9", "0.25", "8"},
                                  {"6", "[1]7[2]10", "SENCHA-100-S", "0", "0", "0", "0", "5.9", "0.1", "0"}});
  // The methods and zones are not written and have no NewPKID: zones, calculators and rate tables end at their
  // first item, the exclusions translate their keys to 0 and add those rows (one region pair twice).
  t["Pay2ShipMethodsExcl"].push_back({"2", "0", "0"});
  t["PayMethods2RegionsExcl"].push_back({"2", "0", "40"});
  t["Regions2ShipZones"] = Plus(t["Regions2ShipZones"], {{"4", "0", "276"}, {"5", "0", "40"}});
  // Attributes and classes keep their catalogue keys as NewPKID, which their links hold: those are found. The
  // choice values and products have none, so the product attributes and their choice values are added again.
  t["Attributes2Product"] = Plus(t["Attributes2Product"], Renumbered(kAttributesOfProductsOfTheExample, 6));
  t["AttributeMultiValues2Product"] =
      Plus(t["AttributeMultiValues2Product"], Renumbered(kChoiceValuesOfProductsOfTheExample, 4));
  // The discounts' products have no NewPKID: the first discount ends that import. The bundles translate to 0
  // and 0: the first is added (123) and cannot take its PKID 121; the import ends with the record set open, and
  // the cross references, keywords, keyword references and manufacturers end at their first item.
  t["Bundles"].push_back({"123", "0", "0", "0", "0", "1"});
  return {1,
          t,
          {"(statement: SELECT * FROM Bundles WHERE ProductFKID=0 AND RelProductFKID=0)",
           "Open SELECT * FROM CrossRefs WHERE ElSrcType=2 AND ElSrcRef=0 AND ElTargetType=2 AND ElTargetRef=0 AND "
           "ElTargetCategoryRef=0 AND ElTargetVariantRef=0: Operation is not allowed when the object is open.",
           "Open SELECT * FROM Keywords WHERE Keyword='Werkzeug': Operation is not allowed when the object is open.",
           "Open SELECT * FROM Manufacturers WHERE ID='ACME': Operation is not allowed when the object is open."}};
}

// Mode 2 updates what it finds and creates nothing: the discount from 99.5 and the links of the attributes are
// not found, and the keyword references are not found either, so nothing ends early.
SecondImportOfTheCompleteExampleCase Mode2() { return {2, UpdatedBySecondImport(2), {}}; }

class SecondImportOfTheCompleteExampleTest
    : public CompleteExampleTest,
      public ::testing::WithParamInterface<SecondImportOfTheCompleteExampleCase> {};

TEST_P(SecondImportOfTheCompleteExampleTest, WritesEveryTableAsTheModeSays) {
  const SecondImportOfTheCompleteExampleCase& c = GetParam();
  ASSERT_EQ(ImportTheExample().exit_code, kEndsEarly);
  for (const Change& change : kChanges)
    Exec("UPDATE " + change.table + " SET " + change.field + "=" + change.sql + " WHERE PKID=" + change.pkid);

  Result r = ImportTheExample({"--mode", std::to_string(c.mode), "--verbose", "--quiet"});
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusOfTheCompleteExample);
  for (const std::string& error : c.errors) EXPECT_THAT(r.err, HasSubstr(error));
  if (c.errors.empty()) {
    EXPECT_EQ(r.err, "");
  }
  ExpectTables(c.tables);
}

INSTANTIATE_TEST_SUITE_P(Modes, SecondImportOfTheCompleteExampleTest, ::testing::Values(Mode0(), Mode1(), Mode2()),
                         [](const ::testing::TestParamInfo<SecondImportOfTheCompleteExampleCase>& info) {
                           return "Mode" + std::to_string(info.param.mode);
                         });

// ---- A folder import that ends early ------------------------------------------------------------------------

// The folder import ends with the record set open; each importer after it that opens the record set ends at
// its first item ("Operation is not allowed when the object is open"), and the run still ends as usual.
void ExpectTheCascade(const Result& r) {
  EXPECT_EQ(r.exit_code, kEndsEarly) << r.err;
  EXPECT_EQ(r.OutLines(), kStatusWithoutRegions);
  EXPECT_THAT(r.err, HasSubstr("Open SELECT * FROM Pages WHERE ID='start': Operation is not allowed when the object "
                               "is open."));
  EXPECT_THAT(r.err, HasSubstr("Open SELECT * FROM Currencies WHERE ISOCode='EUR': Operation is not allowed when "
                               "the object is open."));
  EXPECT_THAT(r.err, HasSubstr("Open SELECT * FROM Keywords WHERE Keyword='Tee': Operation is not allowed when "
                               "the object is open."));
}

TEST_F(CvimportTest, AFolderWithoutPkidEndsTheFolderImportAndEveryLaterImporterAtItsFirstItem) {
  Result r = Import(kData + "/folders-end-early.xml", {"--verbose"});
  ExpectTheCascade(r);
  // The first folder is written; the second is added by its name and then ends the import, as its path cannot
  // be built; the third is never reached, nor is the second pass.
  EXPECT_EQ(Query(kFolderRows), (Rows{{"1", "Shop", "0"}, {"2", "Lager", "0"}}));
  EXPECT_EQ(Count("Pages"), 0);
  EXPECT_EQ(Count("PageData"), 0);
  EXPECT_EQ(Count("Currencies"), 0);
  EXPECT_EQ(Count("Keywords"), 0);
}

TEST_F(CvimportTest, InMode2AFolderMissingFromTheShopEndsTheFolderImportAndEveryLaterImporterAtItsFirstItem) {
  ASSERT_EQ(Run({"init", db().string()}).exit_code, 0);
  Exec("INSERT INTO Pages (ID, PageName, PageTitle) VALUES ('start', 'alt', 'alt')");
  Exec("INSERT INTO Currencies (ISOCode, Name) VALUES ('EUR', 'alt')");
  Result r = Import(kData + "/folders-end-early.xml", {"--mode", "2", "--verbose"});
  ExpectTheCascade(r);
  // The first folder is not in the shop: its path is asked for the key of the empty result.
  EXPECT_THAT(r.err, HasSubstr("Reading field 'PKID' (statement: SELECT * FROM Folders WHERE Name='Shop')"));
  EXPECT_EQ(Count("Folders"), 0);
  // Without the cascade mode 2 would have updated these two records.
  EXPECT_EQ(Query("SELECT ID, PageName, PageTitle FROM Pages"), (Rows{{"start", "alt", "alt"}}));
  EXPECT_EQ(Query("SELECT ISOCode, Name FROM Currencies"), (Rows{{"EUR", "alt"}}));
  EXPECT_EQ(Count("PageData"), 0);
  EXPECT_EQ(Count("Keywords"), 0);
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
  EXPECT_FALSE(fs::exists(db()));
}

TEST_F(CvimportTest, CatalogueThatIsNotWellFormedLeavesAnExistingDatabaseEmpty) {
  ASSERT_EQ(Run({"init", db().string()}).exit_code, 0);
  Result r = Import(kData + "/not-well-formed.xml");
  EXPECT_EQ(r.exit_code, 5);
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
  // the status texts of a run whose load failed, and nothing in the database, which the run was to create
  // and so did not.
  void ExpectRefused(const std::string& catalog, const std::string& position_and_reason) {
    Result r = Import(catalog);
    EXPECT_EQ(r.exit_code, 5);
    std::vector<std::string> expected = kStatusWithoutRegions;
    expected.insert(expected.begin() + 1, "Fehler beim Laden der Importdatei.");
    EXPECT_EQ(r.OutLines(), expected);
    EXPECT_EQ(r.err, "cvimport: creating the new shop database " + db().string() +
                         "\ncvimport: nothing was saved: the new shop database " + db().string() +
                         " was not created\ncvimport: cannot load the catalogue " + catalog + ": " +
                         position_and_reason + "\n");
    EXPECT_FALSE(fs::exists(db()));
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
  ASSERT_EQ(r.exit_code, kEndsEarly) << r.err;
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
  ASSERT_EQ(Import(kExample).exit_code, kEndsEarly);
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
  // Kill it once the run is writing keywords into its open transaction: SQLite creates the rollback journal
  // with the first write.
  const fs::path journal = db().string() + "-journal";
  int status = 0;
  bool finished_already = false;
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!fs::exists(journal) && !finished_already && std::chrono::steady_clock::now() < give_up) {
    finished_already = waitpid(child, &status, WNOHANG) == child;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  if (!finished_already) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
  }
  ASSERT_FALSE(finished_already) << "the run ended before it wrote anything";
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(Count("Keywords"), 0);
  EXPECT_EQ(Query("PRAGMA integrity_check"), (Rows{{"ok"}}));
}

}  // namespace
