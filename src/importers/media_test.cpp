// The media importers (the media records with their files, and the assignments of media to elements), run the
// way the host runs them: a catalogue file chosen on the settings page, the media check box, an update mode,
// ExecuteImport, and a real shop database, empty or already holding records of the same natural keys. The
// file system and the file copy are the fake host's: they record every folder made and every copy asked for.
//
// The paths are built as the plug-in builds them: the catalogue's folder (the test's folder, up to its last
// "/") followed by "Media\images\" and the file name, and the project folder followed by "\Media\images\"
// and the file name.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/file_open.h"
#include "plugin/testing/import_fixture.h"
#include "plugin/testing/run_status_texts.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;

using Strings = std::vector<std::string>;
using Copy = FakeHostState::Copy;
using Copies = std::vector<Copy>;

const std::string kProject = "/shop/projekt";

// The target folders in the order in which they are made.
const Strings kMediaFolders = {kProject + "\\Media\\images", kProject + "\\Media\\audio", kProject + "\\Media\\misc",
                               kProject + "\\Media\\docs"};

class MediaImport : public ImportFixture {
 protected:
  void SetUp() override {
    ImportFixture::SetUp();
    host.api->project_path = kProject;
    CheckMedia();
  }

  void CheckMedia() { Form().chkImportMedia().Value = settings::CheckBox::kChecked; }
  void UncheckMedia() { Form().chkImportMedia().Value = settings::CheckBox::kUnchecked; }

  std::string MediumKey(const std::string& src) { return NewKey("//MediaItem[@Src='" + src + "']"); }
  std::string AssignmentKey(int pkid) { return NewKey("//Element2MediaItem[@PKID='" + std::to_string(pkid) + "']"); }

  // The folder of the catalogue file, as the path field gives it (with the system's separator at the end).
  std::string CatalogueFolder() const { return Utf8FromPath(dir / ""); }
  // The copy of `src` from the catalogue's media folder `folder` into the project's folder of that name.
  Copy CopyOf(const std::string& folder, const std::string& src) const {
    return {CatalogueFolder() + "Media\\" + folder + "\\" + src, kProject + "\\Media\\" + folder + "\\" + src, true};
  }

  Rows MediaRows() {
    return Select(
        "SELECT PKID, Src, MediaTypeFKID, RefCounter, PublishAlways, IsReferenced, LastModifiedDate, Title, FileSize "
        "FROM Media ORDER BY PKID");
  }
  Rows AssignmentRows() {
    return Select("SELECT PKID, Name, ElRef, MediaFKID, SortOrder FROM Element2Media ORDER BY PKID");
  }

  // The statements that begin with `prefix`, in order.
  Strings QueriesStartingWith(const std::string& prefix) const {
    Strings out;
    for (const auto& q : connection->queries)
      if (q.rfind(prefix, 0) == 0) out.push_back(q);
    return out;
  }

  // The progress calls after the status line `status` up to the next status line, as "maximum/position text".
  Strings ProgressAfter(const std::string& status) const {
    const auto& p = host.state->progress;
    auto it =
        std::find_if(p.begin(), p.end(), [&](const ProgressCall& c) { return c.maximum == 0 && c.text == status; });
    Strings out;
    if (it == p.end()) return out;
    for (++it; it != p.end() && it->maximum != 0; ++it)
      out.push_back(std::to_string(it->maximum) + "/" + std::to_string(it->position) + " " + it->text);
    return out;
  }
  // The media import shows no status line of its own: its calls come right after "Starte Import...".
  Strings MediaProgress() const { return ProgressAfter("Starte Import..."); }
  Strings AssignmentProgress() const { return ProgressAfter("Medien werden zugeordnet"); }
};

std::string MediaLookup(const std::string& quoted_src) { return "SELECT * FROM Media WHERE Src='" + quoted_src + "'"; }
std::string AssignmentLookup(const std::string& quoted_name) {
  return "SELECT * FROM Element2Media WHERE Name='" + quoted_name + "'";
}

// ===== The media folders ===================================================================================

TEST_F(MediaImport, TheFourTargetFoldersAreMadeImagesAudioMiscDocs) {
  ImportSections(R"(<Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image"/></Media>)");
  EXPECT_EQ(host.state->created_folders, kMediaFolders);
}

TEST_F(MediaImport, OnlyTheMissingTargetFoldersAreMade) {
  host.state->existing_folders = {kProject + "\\Media\\audio", kProject + "\\Media\\docs"};
  ImportSections(R"(<Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image"/></Media>)");
  EXPECT_THAT(host.state->created_folders, ElementsAre(kProject + "\\Media\\images", kProject + "\\Media\\misc"));
}

TEST_F(MediaImport, AnEmptyMediaSectionShowsNothingAndWritesNothingButTheFoldersAreMade) {
  ImportSections(R"(<Media></Media><Currencies/>)");
  EXPECT_EQ(host.state->created_folders, kMediaFolders);
  EXPECT_EQ(MediaProgress(), Strings{});
  EXPECT_EQ(host.state->StatusTexts(), WithMedia(kStatusTextsOfAnEmptyRun));
  EXPECT_EQ(connection->queries, Strings{});
  EXPECT_EQ(host.state->copies, Copies{});
  EXPECT_EQ(MediaRows(), Rows{});
}

// The media import creates its own host tools for the file system; without them no folder is made, and the
// records and the copies go on all the same.
TEST_F(MediaImport, WithoutTheFileSystemNoFolderIsMadeAndTheMediaAreStillImported) {
  host.platform->has_tools = false;
  ImportSections(R"(<Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image" Title="A"/></Media>)");
  EXPECT_EQ(host.state->created_folders, Strings{});
  EXPECT_EQ(Select("SELECT PKID, Src, Title FROM Media"), (Rows{{"1", "a.jpg", "A"}}));
  EXPECT_EQ(host.state->copies, (Copies{CopyOf("images", "a.jpg"), CopyOf("images", "a.jpg")}));
}

// ===== Records, new keys and copies by update mode =========================================================

// a.jpg is new in both databases; b.mp3 exists in the pre-filled one, beside a medium the catalogue does not
// name. The items set every field, also the four that are never written (PKID, PublishAlways, IsReferenced
// and LastModifiedDate), each to a value other than the record's.
const char* kTwoMedia =
    R"(<Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image" RefCounter="3" PublishAlways="True" )"
    R"(IsReferenced="True" LastModifiedDate="2024-05-06 07:08:09" Title="Bild A" FileSize="1234"/>)"
    R"(<MediaItem PKID="12" Src="b.mp3" MediaTypeFKID="audio" RefCounter="0" PublishAlways="False" )"
    R"(IsReferenced="False" LastModifiedDate="2024-05-06 07:08:09" Title="Klang B" FileSize="99"/></Media>)";

const char* kPrefilledMedia =
    "INSERT INTO Media (PKID, Src, MediaTypeFKID, RefCounter, PublishAlways, IsReferenced, LastModifiedDate, Title, "
    "FileSize) VALUES (5, 'b.mp3', 'misc', 7, -1, -1, '2020-01-02 03:04:05', 'alt', 1), "
    "(6, 'x.pdf', 'doc', 1, 0, 0, NULL, 'fremd', 2)";

std::vector<std::string> ANew(const std::string& key) {
  return {key, "a.jpg", "image", "3", "False", "False", "NULL", "Bild A", "1234"};
}
std::vector<std::string> BNew(const std::string& key) {
  return {key, "b.mp3", "audio", "0", "False", "False", "NULL", "Klang B", "99"};
}
// Updated: the catalogue's type, counter, title and size; its key, publish and reference switches and date stay.
const std::vector<std::string> kBUpdated = {"5",       "b.mp3", "audio", "0", "True", "True", "2020-01-02 03:04:05",
                                            "Klang B", "99"};
const std::vector<std::string> kBUntouched = {"5",   "b.mp3", "misc", "7", "True", "True", "2020-01-02 03:04:05",
                                              "alt", "1"};
const std::vector<std::string> kX = {"6", "x.pdf", "doc", "1", "False", "False", "NULL", "fremd", "2"};

struct MediaCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows media;
  Strings new_keys;  // of a.jpg and b.mp3
  // Copies as "a" (images/a.jpg) and "b" (audio/b.mp3), in order.
  std::string copies;
};

class MediaByMode : public MediaImport, public ::testing::WithParamInterface<MediaCase> {};

TEST_P(MediaByMode, WriteTheRecordsNewKeysAndCopiesThatTheModeAllows) {
  const MediaCase& c = GetParam();
  if (c.prefilled) Exec(kPrefilledMedia);
  ImportSections(kTwoMedia, c.mode);
  EXPECT_EQ(MediaRows(), c.media);
  EXPECT_EQ((Strings{MediumKey("a.jpg"), MediumKey("b.mp3")}), c.new_keys);
  Copies copies;
  for (char f : c.copies) copies.push_back(f == 'a' ? CopyOf("images", "a.jpg") : CopyOf("audio", "b.mp3"));
  EXPECT_EQ(host.state->copies, copies);
  EXPECT_THAT(connection->queries, ElementsAre(MediaLookup("a.jpg"), MediaLookup("b.mp3")));
  EXPECT_EQ(host.state->created_folders, kMediaFolders);
}

INSTANTIATE_TEST_SUITE_P(
    Media, MediaByMode,
    ::testing::Values(
        // A new medium is copied twice: once when it is added and once more with its fields.
        MediaCase{"EmptyDatabaseMode0", 0, false, {ANew("1"), BNew("2")}, {"1", "2"}, "aabb"},
        MediaCase{"EmptyDatabaseMode1", 1, false, {ANew("1"), BNew("2")}, {"1", "2"}, "aabb"},
        // No record, no file and no new key for a medium that is not in the shop.
        MediaCase{"EmptyDatabaseMode2", 2, false, {}, {"absent", "absent"}, ""},
        // An existing medium is copied once, with its fields.
        MediaCase{"PrefilledDatabaseMode0", 0, true, {kBUpdated, kX, ANew("7")}, {"7", "5"}, "aab"},
        // An existing medium is left alone: no copy, and its item gets no new key.
        MediaCase{"PrefilledDatabaseMode1", 1, true, {kBUntouched, kX, ANew("7")}, {"7", "absent"}, "aa"},
        MediaCase{"PrefilledDatabaseMode2", 2, true, {kBUpdated, kX}, {"absent", "5"}, "b"}),
    [](const ::testing::TestParamInfo<MediaCase>& info) { return info.param.name; });

TEST_F(MediaImport, ANewRecordStartsWithItsNameTypeOneAndCounterOneAndThenTakesTheCataloguesValues) {
  Exec(
      "CREATE TABLE MediaInserts (Src VARCHAR(255), MediaTypeFKID VARCHAR(20), RefCounter VARCHAR(20), "
      "Title VARCHAR(255), FileSize VARCHAR(20));"
      "CREATE TRIGGER media_inserted AFTER INSERT ON Media BEGIN INSERT INTO MediaInserts VALUES "
      "(NEW.Src, NEW.MediaTypeFKID, NEW.RefCounter, NEW.Title, NEW.FileSize); END;");
  ImportSections(kTwoMedia);
  EXPECT_EQ(Select("SELECT Src, MediaTypeFKID, RefCounter, Title, FileSize FROM MediaInserts"),
            (Rows{{"a.jpg", "1", "1", "NULL", "0"}, {"b.mp3", "1", "1", "NULL", "0"}}));
  EXPECT_EQ(MediaRows(), (Rows{ANew("1"), BNew("2")}));
}

TEST_F(MediaImport, PkidPublishAlwaysIsReferencedAndLastModifiedDateAreNeverWritten) {
  Exec(kPrefilledMedia);
  Exec(
      "CREATE TABLE KeptFieldWrites (PKID INTEGER);"
      "CREATE TRIGGER media_kept_fields_written AFTER UPDATE OF PKID, PublishAlways, IsReferenced, LastModifiedDate "
      "ON Media BEGIN INSERT INTO KeptFieldWrites VALUES (OLD.PKID); END;");
  ImportSections(kTwoMedia);
  EXPECT_EQ(Select("SELECT PKID FROM KeptFieldWrites"), Rows{});
  EXPECT_EQ(MediaRows(), (Rows{kBUpdated, kX, ANew("7")}));
}

// The media import skips what fails: a type longer than its field leaves the 1 of the insert, a title longer
// than its field leaves it empty; the other fields and the next medium are written.
TEST_F(MediaImport, AValueThatAFieldRefusesIsSkippedAndTheRestIsWritten) {
  ImportSections(R"(<Media><MediaItem PKID="11" Src="lang.jpg" MediaTypeFKID="abcdefghijklmnopqrstu" RefCounter="4" )"
                 R"(Title=")" +
                 std::string(256, 'x') +
                 R"(" FileSize="5"/><MediaItem PKID="12" Src="ok.jpg" MediaTypeFKID="image" Title="gut"/></Media>)");
  EXPECT_EQ(MediaRows(), (Rows{{"1", "lang.jpg", "1", "4", "False", "False", "NULL", "NULL", "5"},
                               {"2", "ok.jpg", "image", "0", "False", "False", "NULL", "gut", "0"}}));
  EXPECT_EQ(MediumKey("lang.jpg"), "1");
  EXPECT_EQ(MediumKey("ok.jpg"), "2");
}

TEST_F(MediaImport, AFileNameWithAQuoteIsFoundThroughSqlQuote) {
  Exec("INSERT INTO Media (PKID, Src, Title) VALUES (5, 'O''Neil.jpg', 'alt')");
  ImportSections(R"(<Media><MediaItem PKID="11" Src="O'Neil.jpg" MediaTypeFKID="image" Title="neu"/></Media>)");
  EXPECT_THAT(connection->queries, ElementsAre(MediaLookup("O''Neil.jpg")));
  EXPECT_EQ(Select("SELECT PKID, Src, Title FROM Media"), (Rows{{"5", "O'Neil.jpg", "neu"}}));
  EXPECT_EQ(host.state->copies, (Copies{CopyOf("images", "O'Neil.jpg")}));
}

// ===== Progress ============================================================================================

TEST_F(MediaImport, EachMediumShowsItsPositionThenItsTextWithoutABlankAfterMedien) {
  ImportSections(R"(<Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image"/><MediaItem PKID="12" Src="b.mp3" )"
                 R"(MediaTypeFKID="audio"/><MediaItem PKID="13" Src="c.pdf" MediaTypeFKID="doc"/></Media>)");
  EXPECT_THAT(MediaProgress(),
              ElementsAre("3/0 ", "3/1 Importiere Medien1 von: 3 |a.jpg", "3/1 ",
                          "3/2 Importiere Medien2 von: 3 |b.mp3", "3/2 ", "3/3 Importiere Medien3 von: 3 |c.pdf"));
  // The media import has no status line of its own; it runs before the folders.
  EXPECT_EQ(host.state->StatusTexts(), WithMedia(kStatusTextsOfAnEmptyRun));
  EXPECT_EQ(host.state->StatusTexts().at(2), "Importiere Ordner");
}

TEST_F(MediaImport, AMediumWithoutANameLooksUpAndCreatesTheEmptyName) {
  ImportSections(R"(<Media><MediaItem PKID="11" MediaTypeFKID="image" Title="ohne"/><MediaItem PKID="12" )"
                 R"(MediaTypeFKID="image" Title="auch ohne"/></Media>)",
                 0);
  EXPECT_THAT(MediaProgress(),
              ElementsAre("2/0 ", "2/1 Importiere Medien1 von: 2 |", "2/1 ", "2/2 Importiere Medien2 von: 2 |"));
  EXPECT_THAT(connection->queries, ElementsAre(MediaLookup(""), MediaLookup("")));
  EXPECT_EQ(Select("SELECT PKID, Src, Title FROM Media"), (Rows{{"1", "", "auch ohne"}}));
}

// ===== The type chooses the folders ========================================================================

TEST_F(MediaImport, TheTypeChoosesTheFolderPairAndAnUnknownTypeKeepsThePreviousOne) {
  ImportSections(R"(<Media>)"
                 R"(<MediaItem PKID="1" Src="http://tee.example/film" MediaTypeFKID="url"/>)"
                 R"(<MediaItem PKID="2" Src="a.jpg" MediaTypeFKID="image"/>)"
                 R"(<MediaItem PKID="3" Src="http://tee.example/bild" MediaTypeFKID="url"/>)"
                 R"(<MediaItem PKID="4" Src="b.mp3" MediaTypeFKID="audio"/>)"
                 R"(<MediaItem PKID="5" Src="c.jpg" MediaTypeFKID="Image"/>)"
                 R"(<MediaItem PKID="6" Src="d.pdf" MediaTypeFKID="doc"/>)"
                 R"(<MediaItem PKID="7" Src="e.bin" MediaTypeFKID="misc"/>)"
                 R"(<MediaItem PKID="8" Src="f.txt"/>)"
                 R"(<MediaItem PKID="9" Src="g.txt" MediaTypeFKID=""/>)"
                 R"(<MediaItem PKID="10" Src="h.pdf" MediaTypeFKID="docs"/>)"
                 R"(</Media>)");
  const Copy before_any_type = {"http://tee.example/film", "http://tee.example/film", true};
  const Copies expected_once = {
      before_any_type,                              // no folders before the first known type
      CopyOf("images", "a.jpg"),                    // image
      CopyOf("images", "http://tee.example/bild"),  // url: the image folders stay
      CopyOf("audio", "b.mp3"),                     // audio
      CopyOf("audio", "c.jpg"),                     // "Image" is not "image": the audio folders stay
      CopyOf("docs", "d.pdf"),                      // doc
      CopyOf("misc", "e.bin"),                      // misc
      CopyOf("misc", "f.txt"),                      // no type
      CopyOf("misc", "g.txt"),                      // the empty type
      CopyOf("misc", "h.pdf"),                      // "docs" is no type
  };
  Copies expected;
  for (const Copy& c : expected_once) expected.insert(expected.end(), {c, c});  // every medium is new
  EXPECT_EQ(host.state->copies, expected);
  // The type is stored as the catalogue has it.
  EXPECT_EQ(Select("SELECT MediaTypeFKID FROM Media ORDER BY PKID"),
            (Rows{{"url"}, {"image"}, {"url"}, {"audio"}, {"Image"}, {"doc"}, {"misc"}, {""}, {""}, {"docs"}}));
}

TEST_F(MediaImport, AUrlMediumAfterAnAudioOneIsCopiedWithTheAudioFolders) {
  Exec("INSERT INTO Media (PKID, Src) VALUES (5, 'stream.m3u')");
  ImportSections(R"(<Media><MediaItem PKID="11" Src="gong.mp3" MediaTypeFKID="audio"/>)"
                 R"(<MediaItem PKID="12" Src="stream.m3u" MediaTypeFKID="url"/></Media>)");
  EXPECT_EQ(host.state->copies,
            (Copies{CopyOf("audio", "gong.mp3"), CopyOf("audio", "gong.mp3"), CopyOf("audio", "stream.m3u")}));
  EXPECT_EQ(Select("SELECT PKID, Src, MediaTypeFKID FROM Media ORDER BY PKID"),
            (Rows{{"5", "stream.m3u", "url"}, {"6", "gong.mp3", "audio"}}));
}

// ===== The copy ============================================================================================

TEST_F(MediaImport, AnExistingTargetFileIsLeftAloneAndTheRecordIsStillUpdatedInMode0) {
  Exec("INSERT INTO Media (PKID, Src, MediaTypeFKID, Title) VALUES (5, 'a.jpg', 'misc', 'alt')");
  host.state->existing_files.push_back(CopyOf("images", "a.jpg").existing);
  host.state->existing_files.push_back(CopyOf("images", "a.jpg").target);
  ImportSections(R"(<Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image" Title="neu"/></Media>)", 0);
  // The copy is asked to fail on an existing target, and so leaves it alone.
  EXPECT_EQ(host.state->copies, (Copies{CopyOf("images", "a.jpg")}));
  EXPECT_EQ(Select("SELECT PKID, Src, MediaTypeFKID, Title FROM Media"), (Rows{{"5", "a.jpg", "image", "neu"}}));
  EXPECT_EQ(MediumKey("a.jpg"), "5");
}

TEST_F(MediaImport, AMissingSourceFileIsPassedOverAndTheRecordIsWritten) {
  ImportSections(R"(<Media><MediaItem PKID="11" Src="fehlt.jpg" MediaTypeFKID="image" Title="fehlt"/></Media>)");
  EXPECT_EQ(host.state->copies, (Copies{CopyOf("images", "fehlt.jpg"), CopyOf("images", "fehlt.jpg")}));
  EXPECT_EQ(Select("SELECT PKID, Src, Title FROM Media"), (Rows{{"1", "fehlt.jpg", "fehlt"}}));
  EXPECT_EQ(MediumKey("fehlt.jpg"), "1");
}

TEST_F(MediaImport, ImportingTheSameCatalogueTwiceAddsNoSecondRecordAndCopiesOnlyOnceMore) {
  const std::string catalog = Catalog(kTwoMedia);
  Import(catalog, 0);
  Exec("UPDATE Media SET Title='geändert'");
  host.state->copies.clear();
  Import(catalog, 0);
  EXPECT_EQ(MediaRows(), (Rows{ANew("1"), BNew("2")}));
  EXPECT_EQ((Strings{MediumKey("a.jpg"), MediumKey("b.mp3")}), (Strings{"1", "2"}));
  // Each is an existing medium now: one copy each, and an existing target is never overwritten.
  EXPECT_EQ(host.state->copies, (Copies{CopyOf("images", "a.jpg"), CopyOf("audio", "b.mp3")}));
}

// The catalogue's folder is the path up to its last "/" or "\", whichever comes later.
TEST_F(MediaImport, TheCatalogueFolderEndsAtTheLastBackslashWhenItComesAfterTheLastSlash) {
  const std::string path =
      WriteCatalog(R"(<CalvoraCatalog><Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image"/></Media>)"
                   R"(</CalvoraCatalog>)",
                   "export\\katalog.xml");
  Import(path);
  ASSERT_FALSE(host.state->copies.empty());
  EXPECT_EQ(host.state->copies.front().existing, CatalogueFolder() + "export\\Media\\images\\a.jpg");
}

// The run loads the catalogue from the path as it stands and then saves the path without its blanks; the
// media import takes the catalogue's folder from the path without the blanks.
TEST_F(MediaImport, TheCatalogueFolderIsTakenFromThePathWithoutItsBlanks) {
  std::filesystem::create_directories(dir / " export");
  std::ofstream(dir / " export" / "katalog.xml")
      << R"(<CalvoraCatalog><Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image"/></Media></CalvoraCatalog>)";
  const auto previous = std::filesystem::current_path();
  std::filesystem::current_path(dir);
  Import(" export/katalog.xml");
  std::filesystem::current_path(previous);
  EXPECT_EQ(Select("SELECT Src FROM Media"), (Rows{{"a.jpg"}}));
  ASSERT_FALSE(host.state->copies.empty());
  EXPECT_EQ(host.state->copies.front().existing, "export/Media\\images\\a.jpg");
}

// ===== Assignments of media to elements ====================================================================

// Product 21 becomes 31 where it is created (after the product ALT that the shop holds), media 11 and 12 get
// new keys of their own; the assignments name the product and the media by their catalogue keys.
const char* kAssignments =
    R"(<Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image"/><MediaItem PKID="12" Src="b.mp3" )"
    R"(MediaTypeFKID="audio"/></Media>)"
    R"(<Products><ProductsItem PKID="21" ProductID="P1" Name="Tee"/></Products>)"
    R"(<Element2Media><Element2MediaItem PKID="71" Name="Bild" ElRef="21" MediaFKID="11" SortOrder="1"/>)"
    R"(<Element2MediaItem PKID="72" Name="Ton" ElRef="21" MediaFKID="12" SortOrder="2"/></Element2Media>)";

const char* kPrefilledAssignments =
    "INSERT INTO Element2Media (PKID, Name, ElRef, MediaFKID, SortOrder) VALUES (5, 'Ton', 9, 8, 7), "
    "(6, 'fremd', 1, 1, 1)";

const std::vector<std::string> kFremd = {"6", "fremd", "1", "1", "1"};

struct AssignmentCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows assignments;
  Strings new_keys;  // of the items 71 and 72
};

class MediaAssignmentsByMode : public MediaImport, public ::testing::WithParamInterface<AssignmentCase> {};

// The record's PKID is copied from the item like any other field; ElRef is the product's new key; MediaFKID
// stays the catalogue's. NewPKID is the record's MediaFKID as it stands before the copy: 0 (the default)
// for a record just added.
TEST_P(MediaAssignmentsByMode, WriteTheRecordsAndNewKeysThatTheModeAllows) {
  const AssignmentCase& c = GetParam();
  Exec("INSERT INTO Products (PKID, ProductID, Name) VALUES (30, 'ALT', 'alt')");
  if (c.prefilled) Exec(kPrefilledAssignments);
  ImportSections(kAssignments, c.mode);
  EXPECT_EQ(AssignmentRows(), c.assignments);
  EXPECT_EQ((Strings{AssignmentKey(71), AssignmentKey(72)}), c.new_keys);
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Element2Media"),
              ElementsAre(AssignmentLookup("Bild"), AssignmentLookup("Ton")));
  EXPECT_THAT(AssignmentProgress(),
              ElementsAre("2/1 Medien werden zugeordnet 1 von:2 |Bild", "2/2 Medien werden zugeordnet 2 von:2 |Ton"));
}

INSTANTIATE_TEST_SUITE_P(
    Media, MediaAssignmentsByMode,
    ::testing::Values(AssignmentCase{"EmptyDatabaseMode0",
                                     0,
                                     false,
                                     {{"71", "Bild", "31", "11", "1"}, {"72", "Ton", "31", "12", "2"}},
                                     {"0", "0"}},
                      AssignmentCase{"EmptyDatabaseMode1",
                                     1,
                                     false,
                                     {{"71", "Bild", "31", "11", "1"}, {"72", "Ton", "31", "12", "2"}},
                                     {"0", "0"}},
                      AssignmentCase{"EmptyDatabaseMode2", 2, false, {}, {"absent", "absent"}},
                      // The existing Ton takes the item's PKID 72; its NewPKID is its MediaFKID 8 from before the copy.
                      AssignmentCase{"PrefilledDatabaseMode0",
                                     0,
                                     true,
                                     {kFremd, {"71", "Bild", "31", "11", "1"}, {"72", "Ton", "31", "12", "2"}},
                                     {"0", "8"}},
                      AssignmentCase{"PrefilledDatabaseMode1",
                                     1,
                                     true,
                                     {{"5", "Ton", "9", "8", "7"}, kFremd, {"71", "Bild", "31", "11", "1"}},
                                     {"0", "absent"}},
                      // Mode 2 creates no product: the product item has no new key and ElRef becomes 0.
                      AssignmentCase{
                          "PrefilledDatabaseMode2", 2, true, {kFremd, {"72", "Ton", "0", "12", "2"}}, {"absent", "8"}}),
    [](const ::testing::TestParamInfo<AssignmentCase>& info) { return info.param.name; });

// Two assignments named X: the second (ElRef 0, MediaFKID 12, SortOrder 2) finds the record of the first.
const char* kTwoOfTheSameName =
    R"(<Products><ProductsItem PKID="21" ProductID="P1" Name="Tee"/></Products>)"
    R"(<Element2Media><Element2MediaItem PKID="71" Name="X" ElRef="21" MediaFKID="11" SortOrder="1"/>)"
    R"(<Element2MediaItem PKID="72" Name="X" ElRef="0" MediaFKID="12" SortOrder="2"/></Element2Media>)";

struct SameNameCase {
  std::string name;
  int mode;
  bool prefilled;  // X exists as (5, 'X', 9, 8, 7)
  Rows assignments;
  Strings new_keys;
};

class TwoMediaAssignmentsOfTheSameName : public MediaImport, public ::testing::WithParamInterface<SameNameCase> {};

TEST_P(TwoMediaAssignmentsOfTheSameName, ShareOneRecordThatTheSecondOverwritesInModes0And2) {
  const SameNameCase& c = GetParam();
  if (c.prefilled) Exec("INSERT INTO Element2Media (PKID, Name, ElRef, MediaFKID, SortOrder) VALUES (5, 'X', 9, 8, 7)");
  ImportSections(kTwoOfTheSameName, c.mode);
  EXPECT_EQ(AssignmentRows(), c.assignments);
  EXPECT_EQ((Strings{AssignmentKey(71), AssignmentKey(72)}), c.new_keys);
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Element2Media"),
              ElementsAre(AssignmentLookup("X"), AssignmentLookup("X")));
}

INSTANTIATE_TEST_SUITE_P(
    Media, TwoMediaAssignmentsOfTheSameName,
    ::testing::Values(SameNameCase{"EmptyDatabaseMode0", 0, false, {{"72", "X", "0", "12", "2"}}, {"0", "11"}},
                      SameNameCase{"EmptyDatabaseMode1", 1, false, {{"71", "X", "1", "11", "1"}}, {"0", "absent"}},
                      SameNameCase{"EmptyDatabaseMode2", 2, false, {}, {"absent", "absent"}},
                      SameNameCase{"PrefilledDatabaseMode0", 0, true, {{"72", "X", "0", "12", "2"}}, {"8", "11"}},
                      SameNameCase{
                          "PrefilledDatabaseMode1", 1, true, {{"5", "X", "9", "8", "7"}}, {"absent", "absent"}},
                      SameNameCase{"PrefilledDatabaseMode2", 2, true, {{"72", "X", "0", "12", "2"}}, {"8", "11"}}),
    [](const ::testing::TestParamInfo<SameNameCase>& info) { return info.param.name; });

// ElRef is translated through the products, whatever element the assignment belongs to: the category 21
// (which becomes 51) is never consulted.
TEST_F(MediaImport, ElRefIsAlwaysTranslatedThroughTheProducts) {
  Exec("INSERT INTO Categories (PKID, ID, Name) VALUES (50, 'ALT', 'alt')");
  ImportSections(R"(<Categories><CategoriesItem PKID="21" ID="K" Name="Kat"/></Categories>)"
                 R"(<Products><ProductsItem PKID="21" ProductID="P" Name="Prod"/></Products>)"
                 R"(<Element2Media><Element2MediaItem PKID="71" Name="zur Warengruppe" ElRef="21" MediaFKID="11"/>)"
                 R"(</Element2Media>)");
  EXPECT_EQ(Select("SELECT PKID FROM Categories WHERE ID='K'"), (Rows{{"51"}}));
  EXPECT_EQ(AssignmentRows(), (Rows{{"71", "zur Warengruppe", "1", "11", "0"}}));
}

// Assignments A, B and C, of which B has the ElRef given; a keyword follows in the run.
std::string AssignmentsWithB(const std::string& b_el_ref) {
  return R"(<Element2Media><Element2MediaItem PKID="71" Name="A" ElRef="0" MediaFKID="11"/>)"
         R"(<Element2MediaItem PKID="72" Name="B" MediaFKID="12" )" +
         b_el_ref +
         R"(/><Element2MediaItem PKID="73" Name="C" ElRef="0" MediaFKID="13"/></Element2Media>)"
         R"(<Keywords><KeywordsItem PKID="1" Keyword="Tee"/></Keywords>)";
}

class AMediaAssignmentWithoutAWholeNumberInElRef : public MediaImport,
                                                   public ::testing::WithParamInterface<std::string> {};

// ElRef is read strictly before anything else of the item is done: the assignment import ends there, with
// the record set closed, so the keyword import after it is not disturbed.
TEST_P(AMediaAssignmentWithoutAWholeNumberInElRef, EndsTheAssignmentImportAtThatItem) {
  ImportSections(AssignmentsWithB(GetParam()));
  EXPECT_EQ(AssignmentRows(), (Rows{{"71", "A", "0", "11", "0"}}));
  EXPECT_THAT(AssignmentProgress(), ElementsAre("3/1 Medien werden zugeordnet 1 von:3 |A"));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Element2Media"), ElementsAre(AssignmentLookup("A")));
  EXPECT_EQ((Strings{AssignmentKey(71), AssignmentKey(72), AssignmentKey(73)}), (Strings{"0", "absent", "absent"}));
  EXPECT_EQ(Select("SELECT Keyword FROM Keywords"), (Rows{{"Tee"}}));
  EXPECT_EQ(host.state->StatusTexts(), WithMedia(kStatusTextsOfAnEmptyRun));
}

std::string ElRefCaseName(const ::testing::TestParamInfo<std::string>& info) {
  const Strings names = {"Absent", "Empty", "NotANumber"};
  return names.at(info.index);
}

INSTANTIATE_TEST_SUITE_P(Media, AMediaAssignmentWithoutAWholeNumberInElRef,
                         ::testing::Values("", R"(ElRef="")", R"(ElRef="abc")"), ElRefCaseName);

// A product key that the catalogue does not hold cannot be translated: the assignment import ends in the
// middle of the record it has just added, and leaves the record set open, so the keyword import after it
// ends at its first item.
TEST_F(MediaImport, AnAssignmentNamingAProductMissingFromTheCatalogueEndsTheAssignmentImport) {
  ImportSections(R"(<Element2Media><Element2MediaItem PKID="71" Name="A" ElRef="99" MediaFKID="11" SortOrder="4"/>)"
                 R"(<Element2MediaItem PKID="72" Name="B" ElRef="0" MediaFKID="12"/></Element2Media>)"
                 R"(<Keywords><KeywordsItem PKID="1" Keyword="Tee"/></Keywords>)");
  EXPECT_EQ(AssignmentRows(), (Rows{{"1", "A", "0", "0", "0"}}));
  EXPECT_EQ((Strings{AssignmentKey(71), AssignmentKey(72)}), (Strings{"0", "absent"}));
  EXPECT_EQ(Select("SELECT Keyword FROM Keywords"), Rows{});
}

// ===== The media check box in the run ======================================================================

// Two media (11 an image, 12 a sound) in a shop that holds one medium already; a page and a product whose
// page data and picture name them, and an assignment.
const char* kMediaAndTheirUsers =
    R"(<Media><MediaItem PKID="11" Src="a.jpg" MediaTypeFKID="image"/><MediaItem PKID="12" Src="b.mp3" )"
    R"(MediaTypeFKID="audio"/></Media>)"
    R"(<Pages><PagesItem PKID="1" ID="start" PageName="Start"/></Pages>)"
    R"(<Products><ProductsItem PKID="21" ProductID="P1" Name="Tee" PictureMRef="11"/></Products>)"
    R"(<PageData><PageDataItem PKID="300" ElType="0" ElRef="1" IntroSoundMRef="12" ThumbMRef="11"/>)"
    R"(<PageDataItem PKID="301" ElType="2" ElRef="21" IntroSoundMRef="0" ThumbMRef="11"/></PageData>)"
    R"(<Element2Media><Element2MediaItem PKID="71" Name="Bild" ElRef="21" MediaFKID="11" SortOrder="1"/>)"
    R"(</Element2Media>)";

TEST_F(MediaImport, WithTheMediaOptionPicturesSoundsAndThumbnailsNameTheMediasNewKeys) {
  Exec("INSERT INTO Media (PKID, Src) VALUES (40, 'alt.jpg')");
  ImportSections(kMediaAndTheirUsers);
  EXPECT_EQ(Select("SELECT PKID, Src FROM Media ORDER BY PKID"),
            (Rows{{"40", "alt.jpg"}, {"41", "a.jpg"}, {"42", "b.mp3"}}));
  EXPECT_EQ(Select("SELECT ProductID, PictureMRef FROM Products"), (Rows{{"P1", "41"}}));
  EXPECT_EQ(Select("SELECT PKID, ElType, ElRef, IntroSoundMRef, ThumbMRef FROM PageData ORDER BY PKID"),
            (Rows{{"300", "0", "1", "42", "41"}, {"301", "2", "1", "0", "41"}}));
  EXPECT_EQ(AssignmentRows(), (Rows{{"71", "Bild", "1", "11", "1"}}));
  EXPECT_EQ(host.state->StatusTexts(), WithMedia(kStatusTextsOfAnEmptyRun));
}

TEST_F(MediaImport, WithoutTheMediaOptionNeitherImporterRunsAndMediaReferencesFindNoNewKey) {
  Exec("INSERT INTO Media (PKID, Src) VALUES (40, 'alt.jpg')");
  UncheckMedia();
  ImportSections(kMediaAndTheirUsers);
  EXPECT_EQ(Select("SELECT PKID, Src FROM Media ORDER BY PKID"), (Rows{{"40", "alt.jpg"}}));
  EXPECT_EQ(AssignmentRows(), Rows{});
  EXPECT_EQ((Strings{MediumKey("a.jpg"), MediumKey("b.mp3"), AssignmentKey(71)}),
            (Strings{"absent", "absent", "absent"}));
  // No picture and no thumbnail is written; the sound is translated to 0.
  EXPECT_EQ(Select("SELECT ProductID, PictureMRef FROM Products"), (Rows{{"P1", "0"}}));
  EXPECT_EQ(Select("SELECT PKID, ElType, ElRef, IntroSoundMRef, ThumbMRef FROM PageData ORDER BY PKID"),
            (Rows{{"300", "0", "1", "0", "0"}, {"301", "2", "1", "0", "0"}}));
  EXPECT_EQ(QueriesStartingWith("SELECT * FROM Media"), Strings{});
  EXPECT_EQ(QueriesStartingWith("SELECT * FROM Element2Media"), Strings{});
  EXPECT_EQ(host.state->created_folders, Strings{});
  EXPECT_EQ(host.state->copies, Copies{});
  EXPECT_EQ(MediaProgress(), Strings{});
  EXPECT_EQ(host.state->StatusTexts(), kStatusTextsOfAnEmptyRun);
}

}  // namespace
}  // namespace cvimp::plugin::testing
