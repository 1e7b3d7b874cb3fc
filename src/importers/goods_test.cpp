// The goods importers (categories, products and the assignments of products to categories), run the way the
// host runs them: a catalogue file chosen on the settings page, an update mode, ExecuteImport, and a real shop
// database, empty or already holding records of the same natural keys.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <tuple>
#include <vector>

#include "plugin/testing/import_fixture.h"

namespace cvimp::plugin::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

using Strings = std::vector<std::string>;

class Goods : public ImportFixture {
 protected:
  void CheckMedia() { Form().chkImportMedia().Value = settings::CheckBox::kChecked; }

  // The statements that begin with `prefix`, in order.
  Strings QueriesStartingWith(const std::string& prefix) const {
    Strings out;
    for (const auto& q : connection->queries)
      if (q.rfind(prefix, 0) == 0) out.push_back(q);
    return out;
  }

  // Every progress call as "maximum/position text", from the first call with `from` as its text up to and
  // including the call with the text `to` and the per-item calls that follow it (up to the next status line).
  Strings ProgressBetween(const std::string& from, const std::string& to) const {
    const auto& p = host.state->progress;
    auto first = std::find_if(p.begin(), p.end(), [&](const ProgressCall& c) { return c.text == from; });
    auto last = std::find_if(first, p.end(), [&](const ProgressCall& c) { return c.text == to; });
    if (last != p.end()) last = std::find_if(last + 1, p.end(), [](const ProgressCall& c) { return c.maximum == 0; });
    Strings out;
    for (auto it = first; it != last; ++it)
      out.push_back(std::to_string(it->maximum) + "/" + std::to_string(it->position) + " " + it->text);
    return out;
  }

  Rows Categories() {
    return Select(
        "SELECT PKID, ID, Name, ParentCategoryFKID, DefaultThumbMRef, LongDesc, ShortDesc, SortOrder, IsHidden "
        "FROM Categories ORDER BY PKID");
  }
  Rows Products() {
    return Select(
        "SELECT PKID, ProductID, Name, PictureMRef, LongDesc, ShortDesc, Price, Weight, ManufacturerFKID, "
        "DeliveryTimeFKID FROM Products ORDER BY PKID");
  }
  Rows Assignments() {
    return Select("SELECT PKID, CategoryFKID, ProductFKID, SortOrder FROM Products2Categories ORDER BY PKID");
  }
  Rows PageDataKeys() { return Select("SELECT ElType, ElRef FROM PageData ORDER BY ElType, ElRef"); }
};

std::string CategoryLookup(const std::string& id) { return "SELECT * FROM Categories WHERE ID='" + id + "'"; }
std::string CategoryByKey(int key) { return "SELECT * FROM Categories WHERE PKID=" + std::to_string(key); }
std::string ProductLookup(const std::string& id) { return "SELECT * FROM Products WHERE ProductID='" + id + "'"; }
std::string PageDataLookup(int type, int key) {
  return "SELECT * FROM PageData WHERE ElType=" + std::to_string(type) + " AND ElRef=" + std::to_string(key);
}
std::string AssignmentLookup(int category, int product) {
  return "SELECT * FROM Products2Categories WHERE CategoryFKID=" + std::to_string(category) +
         " AND ProductFKID=" + std::to_string(product);
}

// ===== Categories ==========================================================================================

// Two categories whose parent (K3) comes after them in the file. K1 has a long description as text, K2 one
// spread over a child element with blanks around it, K3 none; K3 lacks IsHidden (the empty text, which the
// yes/no field refuses) and ShortDesc.
const char* kCategories =
    R"(<Categories>)"
    R"(<CategoriesItem PKID="10" ID="K1" Name="Tee" ParentCategoryFKID="30" DefaultThumbMRef="55" ShortDesc="kurz" SortOrder="4" IsHidden="True">Grüner Tee</CategoriesItem>)"
    R"(<CategoriesItem PKID="20" ID="K2" Name="Kaffee" ParentCategoryFKID="30" DefaultThumbMRef="56" SortOrder="2" IsHidden="False">  Heiße <b>und</b> kalte  </CategoriesItem>)"
    R"(<CategoriesItem PKID="30" ID="K3" Name="Getränke"/>)"
    R"(</Categories>)";

// K2 exists with every field set, beside a category that the catalogue does not name; new records get 7, 8.
const char* kPrefilledCategories =
    "INSERT INTO Categories (PKID, ID, Name, ParentCategoryFKID, DefaultThumbMRef, LongDesc, ShortDesc, "
    "SortOrder, IsHidden) VALUES (5, 'K2', 'alt', 9, 77, 'alt lang', 'alt kurz', 3, -1), "
    "(6, 'X', 'fremd', 0, 0, 'fremd', 'fremd', 0, 0)";

std::vector<std::string> K1(const std::string& key, const std::string& parent) {
  return {key, "K1", "Tee", parent, "0", "Grüner Tee", "kurz", "4", "True"};
}
std::vector<std::string> K2New(const std::string& key, const std::string& parent) {
  return {key, "K2", "Kaffee", parent, "0", "Heiße und kalte", "", "2", "False"};
}
// Updated: DefaultThumbMRef keeps 77; ShortDesc, absent from the item, becomes the empty text.
std::vector<std::string> K2Updated(const std::string& parent) {
  return {"5", "K2", "Kaffee", parent, "77", "Heiße und kalte", "", "2", "False"};
}
std::vector<std::string> K3(const std::string& key) { return {key, "K3", "Getränke", "0", "0", "", "", "0", "False"}; }
const std::vector<std::string> kK2Untouched = {"5", "K2", "alt", "9", "77", "alt lang", "alt kurz", "3", "True"};
const std::vector<std::string> kX = {"6", "X", "fremd", "0", "0", "fremd", "fremd", "0", "False"};

struct CategoryCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows categories;
  Strings queries;
  Strings new_keys;  // of K1, K2, K3
  Rows page_data;    // ElType, ElRef
};

class CategoriesByMode : public Goods, public ::testing::WithParamInterface<CategoryCase> {};

TEST_P(CategoriesByMode, WriteTheRecordsFieldsNewKeysParentsAndPageDataThatTheModeAllows) {
  const CategoryCase& c = GetParam();
  if (c.prefilled) Exec(kPrefilledCategories);
  ImportSections(kCategories, c.mode);
  EXPECT_EQ(Categories(), c.categories);
  EXPECT_THAT(connection->queries, ElementsAreArray(c.queries));
  EXPECT_EQ((Strings{NewKey("//CategoriesItem[@ID='K1']"), NewKey("//CategoriesItem[@ID='K2']"),
                     NewKey("//CategoriesItem[@ID='K3']")}),
            c.new_keys);
  EXPECT_EQ(PageDataKeys(), c.page_data);
}

INSTANTIATE_TEST_SUITE_P(
    Goods, CategoriesByMode,
    ::testing::Values(
        CategoryCase{"EmptyDatabaseMode0",
                     0,
                     false,
                     {K1("1", "3"), K2New("2", "3"), K3("3")},
                     {CategoryLookup("K1"), PageDataLookup(1, 1), CategoryLookup("K2"), PageDataLookup(1, 2),
                      CategoryLookup("K3"), PageDataLookup(1, 3), CategoryByKey(1), CategoryByKey(2)},
                     {"1", "2", "3"},
                     {{"1", "1"}, {"1", "2"}, {"1", "3"}}},
        CategoryCase{"EmptyDatabaseMode1",
                     1,
                     false,
                     {K1("1", "3"), K2New("2", "3"), K3("3")},
                     {CategoryLookup("K1"), PageDataLookup(1, 1), CategoryLookup("K2"), PageDataLookup(1, 2),
                      CategoryLookup("K3"), PageDataLookup(1, 3), CategoryByKey(1), CategoryByKey(2)},
                     {"1", "2", "3"},
                     {{"1", "1"}, {"1", "2"}, {"1", "3"}}},
        // Nothing is created; the second pass still looks up the children, by the key 0.
        CategoryCase{
            "EmptyDatabaseMode2",
            2,
            false,
            {},
            {CategoryLookup("K1"), CategoryLookup("K2"), CategoryLookup("K3"), CategoryByKey(0), CategoryByKey(0)},
            {"absent", "absent", "absent"},
            {}},
        CategoryCase{"PrefilledDatabaseMode0",
                     0,
                     true,
                     {K2Updated("8"), kX, K1("7", "8"), K3("8")},
                     {CategoryLookup("K1"), PageDataLookup(1, 7), CategoryLookup("K2"), PageDataLookup(1, 5),
                      CategoryLookup("K3"), PageDataLookup(1, 8), CategoryByKey(7), CategoryByKey(5)},
                     {"7", "5", "8"},
                     {{"1", "5"}, {"1", "7"}, {"1", "8"}}},
        // The existing K2 is not touched and gets no NewPKID, so its second-pass lookup asks for the key 0.
        CategoryCase{"PrefilledDatabaseMode1",
                     1,
                     true,
                     {kK2Untouched, kX, K1("7", "8"), K3("8")},
                     {CategoryLookup("K1"), PageDataLookup(1, 7), CategoryLookup("K2"), CategoryLookup("K3"),
                      PageDataLookup(1, 8), CategoryByKey(7), CategoryByKey(0)},
                     {"7", "absent", "8"},
                     {{"1", "7"}, {"1", "8"}}},
        // K3 is not created and has no NewPKID: K2's parent is written as 0 in both passes. Mode 2 adds no
        // page data either.
        CategoryCase{"PrefilledDatabaseMode2",
                     2,
                     true,
                     {K2Updated("0"), kX},
                     {CategoryLookup("K1"), CategoryLookup("K2"), PageDataLookup(1, 5), CategoryLookup("K3"),
                      CategoryByKey(0), CategoryByKey(5)},
                     {"absent", "5", "absent"},
                     {}}),
    [](const ::testing::TestParamInfo<CategoryCase>& info) { return info.param.name; });

TEST_F(Goods, CategoriesNeverWritePkidOrDefaultThumbMRef) {
  Exec("INSERT INTO Categories (PKID, ID, Name, DefaultThumbMRef) VALUES (40, 'alt', 'a', 77)");
  ImportSections(
      R"(<Categories><CategoriesItem PKID="99" ID="alt" Name="b" DefaultThumbMRef="5"/><CategoriesItem PKID="3" ID="neu" Name="c" DefaultThumbMRef="6"/></Categories>)");
  EXPECT_EQ(Select("SELECT PKID, ID, Name, DefaultThumbMRef FROM Categories ORDER BY PKID"),
            (Rows{{"40", "alt", "b", "77"}, {"41", "neu", "c", "0"}}));
}

TEST_F(Goods, ACategoryKeyWithASingleQuoteIsFoundThroughSqlQuote) {
  Exec("INSERT INTO Categories (PKID, ID, Name) VALUES (4, 'K''1', 'alt')");
  ImportSections(R"(<Categories><CategoriesItem PKID="1" ID="K'1" Name="neu"/></Categories>)");
  EXPECT_EQ(Select("SELECT PKID, ID, Name FROM Categories"), (Rows{{"4", "K'1", "neu"}}));
  EXPECT_THAT(connection->queries, ElementsAre(CategoryLookup("K''1"), PageDataLookup(1, 4)));
}

TEST_F(Goods, ACategoryLongDescIsTheTrimmedTextOfTheItemElementChildrenAndCdataIncluded) {
  ImportSections(
      "<Categories><CategoriesItem PKID=\"1\" ID=\"K1\">\n  Erste Zeile <i>kursiv</i><![CDATA[ <p>roh</p>]]>\t\n"
      "</CategoriesItem></Categories>");
  EXPECT_EQ(Select("SELECT LongDesc FROM Categories"), (Rows{{"Erste Zeile kursiv <p>roh</p>"}}));
}

TEST_F(Goods, ACategoryWithoutTextEmptiesTheLongDescOfTheExistingRecord) {
  Exec("INSERT INTO Categories (ID, LongDesc) VALUES ('K1', 'alt')");
  ImportSections(R"(<Categories><CategoriesItem PKID="1" ID="K1"></CategoriesItem></Categories>)");
  EXPECT_EQ(Select("SELECT LongDesc FROM Categories"), (Rows{{""}}));
}

// The failing statement is skipped: the field keeps what it held and the item is saved and gets its page data;
// later items are imported.
TEST_F(Goods, ACategoryFieldTheDatabaseRefusesIsSkippedAndTheSectionGoesOn) {
  const std::string long_name(256, 'x');
  const std::string section = "<Categories><CategoriesItem PKID=\"1\" ID=\"K1\" Name=\"" + long_name +
                              R"(" ShortDesc="kurz" SortOrder="5" IsHidden="vielleicht"/>)" +
                              R"(<CategoriesItem PKID="2" ID="K2" Name="Zwei" IsHidden="True"/></Categories>)";
  ImportSections(section);
  EXPECT_EQ(Select("SELECT PKID, ID, Name, ShortDesc, SortOrder, IsHidden FROM Categories ORDER BY PKID"),
            (Rows{{"1", "K1", "NULL", "kurz", "5", "False"}, {"2", "K2", "Zwei", "", "0", "True"}}));
  EXPECT_EQ(NewKey("//CategoriesItem[@ID='K1']"), "1");
  EXPECT_EQ(NewKey("//CategoriesItem[@ID='K2']"), "2");
  EXPECT_EQ(PageDataKeys(), (Rows{{"1", "1"}, {"1", "2"}}));
}

TEST_F(Goods, AnExistingCategoryKeepsTheValuesOfTheFieldsTheDatabaseRefuses) {
  Exec("INSERT INTO Categories (PKID, ID, Name, ShortDesc, SortOrder, IsHidden) VALUES (5, 'K1', 'alt', 'alt', 1, -1)");
  const std::string section = "<Categories><CategoriesItem PKID=\"1\" ID=\"K1\" Name=\"" + std::string(256, 'x') +
                              R"(" ShortDesc="kurz" SortOrder="5" IsHidden="vielleicht"/></Categories>)";
  for (int mode : {0, 2}) {
    ImportSections(section, mode);
    EXPECT_EQ(Select("SELECT PKID, ID, Name, ShortDesc, SortOrder, IsHidden FROM Categories"),
              (Rows{{"5", "K1", "alt", "kurz", "5", "True"}}))
        << "mode " << mode;
  }
}

// The add-new with the refused key leaves a new, empty record, which the next statement saves: the category is
// created without its key and filled from the item.
TEST_F(Goods, ACategoryKeyTheDatabaseRefusesStillAddsARecordWithoutTheKey) {
  const std::string long_id(256, 'k');
  ImportSections("<Categories><CategoriesItem PKID=\"1\" ID=\"" + long_id +
                 R"(" Name="Lang"/><CategoriesItem PKID="2" ID="K2" Name="Zwei"/></Categories>)");
  EXPECT_EQ(Select("SELECT PKID, ID, Name FROM Categories ORDER BY PKID"),
            (Rows{{"1", "NULL", "Lang"}, {"2", "K2", "Zwei"}}));
  EXPECT_EQ(NewKey("//CategoriesItem[@PKID='1']"), "1");
  EXPECT_THAT(connection->queries,
              ElementsAre(CategoryLookup(long_id), PageDataLookup(1, 1), CategoryLookup("K2"), PageDataLookup(1, 2)));
}

TEST_F(Goods, ACategoryWhoseParentIsNotInTheCatalogueKeepsParentZero) {
  Exec("INSERT INTO Categories (PKID, ID, ParentCategoryFKID) VALUES (5, 'K1', 9)");
  ImportSections(
      R"(<Categories><CategoriesItem PKID="1" ID="K1" ParentCategoryFKID="99"/><CategoriesItem PKID="2" ID="K2" ParentCategoryFKID="99"/></Categories>)");
  EXPECT_EQ(Select("SELECT PKID, ID, ParentCategoryFKID FROM Categories ORDER BY PKID"),
            (Rows{{"5", "K1", "0"}, {"6", "K2", "0"}}));
  // The record is still looked up in the second pass; only the parent's key cannot be read.
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Categories WHERE PKID"),
              ElementsAre(CategoryByKey(5), CategoryByKey(6)));
}

TEST_F(Goods, ACategoryWithParentZeroMissingOrNegativeKeepsZeroWithoutASecondPassLookup) {
  Exec("INSERT INTO Categories (PKID, ID, ParentCategoryFKID) VALUES (5, 'K1', 9), (6, 'K2', 9), (7, 'K3', 9)");
  ImportSections(
      R"(<Categories><CategoriesItem PKID="1" ID="K1" ParentCategoryFKID="0"/><CategoriesItem PKID="2" ID="K2"/><CategoriesItem PKID="3" ID="K3" ParentCategoryFKID="-1"/></Categories>)");
  EXPECT_EQ(Select("SELECT PKID, ParentCategoryFKID FROM Categories ORDER BY PKID"),
            (Rows{{"5", "0"}, {"6", "0"}, {"7", "0"}}));
  EXPECT_EQ(QueriesStartingWith("SELECT * FROM Categories WHERE PKID"), Strings{});
}

// The parent item is looked up with its key quoted, so its PKID must be written as the child names it.
TEST_F(Goods, ACategoryParentIsFoundByItsPkidAsText) {
  ImportSections(
      R"(<Categories><CategoriesItem PKID="1" ID="K1" ParentCategoryFKID="30"/><CategoriesItem PKID="030" ID="K3"/></Categories>)");
  EXPECT_EQ(Select("SELECT PKID, ID, ParentCategoryFKID FROM Categories ORDER BY PKID"),
            (Rows{{"1", "K1", "0"}, {"2", "K3", "0"}}));
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Categories WHERE PKID"), ElementsAre(CategoryByKey(1)));
}

TEST_F(Goods, AParentChainInReverseOrderIsTranslatedThroughTheNewKeys) {
  Exec("INSERT INTO Categories (PKID, ID) VALUES (50, 'fremd')");
  ImportSections(
      R"(<Categories><CategoriesItem PKID="1" ID="Enkel" ParentCategoryFKID="2"/><CategoriesItem PKID="2" ID="Kind" ParentCategoryFKID="3"/><CategoriesItem PKID="3" ID="Wurzel"/></Categories>)");
  EXPECT_EQ(Select("SELECT PKID, ID, ParentCategoryFKID FROM Categories ORDER BY PKID"),
            (Rows{{"50", "fremd", "0"}, {"51", "Enkel", "52"}, {"52", "Kind", "53"}, {"53", "Wurzel", "0"}}));
}

// In mode 1 an existing parent gets no NewPKID, so a new child's parent is translated to 0.
TEST_F(Goods, InMode1ANewCategoryUnderAnExistingParentGetsParentZero) {
  Exec("INSERT INTO Categories (PKID, ID, Name) VALUES (5, 'Wurzel', 'alt')");
  ImportSections(
      R"(<Categories><CategoriesItem PKID="3" ID="Wurzel" Name="neu"/><CategoriesItem PKID="1" ID="Kind" ParentCategoryFKID="3"/></Categories>)",
      1);
  EXPECT_EQ(Select("SELECT PKID, ID, Name, ParentCategoryFKID FROM Categories ORDER BY PKID"),
            (Rows{{"5", "Wurzel", "alt", "0"}, {"6", "Kind", "", "0"}}));
  EXPECT_EQ(NewKey("//CategoriesItem[@ID='Wurzel']"), "absent");
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Categories WHERE PKID"), ElementsAre(CategoryByKey(6)));
}

// ===== Products ============================================================================================

// T-1 names a picture and has a long description; T-2's picture is "0", its long description empty, and it
// lacks ShortDesc and DeliveryTimeFKID.
const char* kProducts =
    R"(<Products>)"
    R"(<ProductsItem PKID="15" ProductID="T-1" Name="Tee" PictureMRef="12" ShortDesc="lose" Price="4.5" Weight="0.25" ManufacturerFKID="3" DeliveryTimeFKID="2">Grüner Tee aus Japan</ProductsItem>)"
    R"(<ProductsItem PKID="16" ProductID="T-2" Name="Kanne" PictureMRef="0" Price="19.99" Weight="1.5" ManufacturerFKID="4"></ProductsItem>)"
    R"(</Products>)";

// T-2 exists with every field set; a new record gets 6.
const char* kPrefilledProducts =
    "INSERT INTO Products (PKID, ProductID, Name, PictureMRef, LongDesc, ShortDesc, Price, Weight, "
    "ManufacturerFKID, DeliveryTimeFKID) VALUES (5, 'T-2', 'alt', 33, 'alt lang', 'alt kurz', 9.5, 2, 1, 1)";

// Media are not imported here: PictureMRef is never written.
std::vector<std::string> T1(const std::string& key) {
  return {key, "T-1", "Tee", "0", "Grüner Tee aus Japan", "lose", "4.5", "0.25", "3", "2"};
}
std::vector<std::string> T2New(const std::string& key) {
  return {key, "T-2", "Kanne", "0", "", "", "19.99", "1.5", "4", "0"};
}
const std::vector<std::string> kT2Updated = {"5", "T-2", "Kanne", "33", "", "", "19.99", "1.5", "4", "0"};
const std::vector<std::string> kT2Untouched = {"5", "T-2", "alt", "33", "alt lang", "alt kurz", "9.5", "2", "1", "1"};

struct ProductCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows products;
  Strings queries;
  Strings new_keys;  // of T-1, T-2
  Rows page_data;
};

class ProductsByMode : public Goods, public ::testing::WithParamInterface<ProductCase> {};

TEST_P(ProductsByMode, WriteTheRecordsFieldsNewKeysAndPageDataThatTheModeAllows) {
  const ProductCase& c = GetParam();
  if (c.prefilled) Exec(kPrefilledProducts);
  ImportSections(kProducts, c.mode);
  EXPECT_EQ(Products(), c.products);
  EXPECT_THAT(connection->queries, ElementsAreArray(c.queries));
  EXPECT_EQ((Strings{NewKey("//ProductsItem[@PKID='15']"), NewKey("//ProductsItem[@PKID='16']")}), c.new_keys);
  EXPECT_EQ(PageDataKeys(), c.page_data);
}

INSTANTIATE_TEST_SUITE_P(
    Goods, ProductsByMode,
    ::testing::Values(
        ProductCase{"EmptyDatabaseMode0",
                    0,
                    false,
                    {T1("1"), T2New("2")},
                    {ProductLookup("T-1"), PageDataLookup(2, 1), ProductLookup("T-2"), PageDataLookup(2, 2)},
                    {"1", "2"},
                    {{"2", "1"}, {"2", "2"}}},
        ProductCase{"EmptyDatabaseMode1",
                    1,
                    false,
                    {T1("1"), T2New("2")},
                    {ProductLookup("T-1"), PageDataLookup(2, 1), ProductLookup("T-2"), PageDataLookup(2, 2)},
                    {"1", "2"},
                    {{"2", "1"}, {"2", "2"}}},
        ProductCase{
            "EmptyDatabaseMode2", 2, false, {}, {ProductLookup("T-1"), ProductLookup("T-2")}, {"absent", "absent"}, {}},
        // The existing T-2 keeps its picture; its long description becomes empty.
        ProductCase{"PrefilledDatabaseMode0",
                    0,
                    true,
                    {kT2Updated, T1("6")},
                    {ProductLookup("T-1"), PageDataLookup(2, 6), ProductLookup("T-2"), PageDataLookup(2, 5)},
                    {"6", "5"},
                    {{"2", "5"}, {"2", "6"}}},
        ProductCase{"PrefilledDatabaseMode1",
                    1,
                    true,
                    {kT2Untouched, T1("6")},
                    {ProductLookup("T-1"), PageDataLookup(2, 6), ProductLookup("T-2")},
                    {"6", "absent"},
                    {{"2", "6"}}},
        ProductCase{"PrefilledDatabaseMode2",
                    2,
                    true,
                    {kT2Updated},
                    {ProductLookup("T-1"), ProductLookup("T-2"), PageDataLookup(2, 5)},
                    {"absent", "5"},
                    {}}),
    [](const ::testing::TestParamInfo<ProductCase>& info) { return info.param.name; });

// The media items below carry a NewPKID in the catalogue itself: the product importer reads it exactly like
// one that the media importer wrote earlier in the run. Media 12 has the new key 900, media 13 has none, and
// there is no media 14.
// The media items stand outside the Media section, so that the media import (which runs when the check box
// is checked) leaves them alone: 12 carries a target key as if it had been imported, 13 has none.
const char* kMedia = R"(<MediaElsewhere><MediaItem PKID="12" NewPKID="900"/><MediaItem PKID="13"/></MediaElsewhere>)";

struct PictureCase {
  std::string name;
  std::string picture_attribute;  // the whole attribute, or empty for none
  bool media_checked;
  bool translated;  // PictureMRef is written with 900; otherwise it is not written at all
};

class ProductPicture : public Goods, public ::testing::WithParamInterface<std::tuple<PictureCase, bool>> {};

TEST_P(ProductPicture, IsTheMediaItemsNewKeyOnlyWhenNamedAndMediaAreImported) {
  const auto& [c, prefilled] = GetParam();
  if (prefilled) Exec("INSERT INTO Products (PKID, ProductID, Name, PictureMRef) VALUES (5, 'T-1', 'alt', 33)");
  if (c.media_checked) CheckMedia();
  ImportSections(std::string(kMedia) + R"(<Products><ProductsItem PKID="15" ProductID="T-1" Name="Tee" )" +
                 c.picture_attribute + R"(/><ProductsItem PKID="16" ProductID="T-2" Name="danach"/></Products>)");
  const std::string kept = prefilled ? "33" : "0";
  const std::string key = prefilled ? "5" : "1";
  EXPECT_EQ(Select("SELECT PKID, ProductID, Name, PictureMRef FROM Products WHERE ProductID='T-1'"),
            (Rows{{key, "T-1", "Tee", c.translated ? "900" : kept}}));
  // The product after it is imported as well.
  EXPECT_EQ(Select("SELECT Name FROM Products WHERE ProductID='T-2'"), (Rows{{"danach"}}));
}

INSTANTIATE_TEST_SUITE_P(
    Goods, ProductPicture,
    ::testing::Combine(::testing::Values(PictureCase{"Named", R"(PictureMRef="12")", true, true},
                                         PictureCase{"NamedWithALeadingZero", R"(PictureMRef="012")", true, true},
                                         PictureCase{"Zero", R"(PictureMRef="0")", true, false},
                                         PictureCase{"Absent", "", true, false},
                                         PictureCase{"NamedButMediaNotImported", R"(PictureMRef="12")", false, false},
                                         PictureCase{"MediaItemWithoutNewPkid", R"(PictureMRef="13")", true, false},
                                         PictureCase{"MediaItemMissing", R"(PictureMRef="14")", true, false}),
                       ::testing::Bool()),
    [](const ::testing::TestParamInfo<std::tuple<PictureCase, bool>>& info) {
      return std::get<0>(info.param).name + (std::get<1>(info.param) ? "Prefilled" : "Empty");
    });

TEST_F(Goods, ProductForeignKeysOtherThanThePictureAreCopiedUntranslated) {
  Exec("INSERT INTO Manufacturers (PKID, ID, Name) VALUES (40, 'alt', 'alt')");
  ImportSections(
      R"(<Products><ProductsItem PKID="15" ProductID="T-1" ManufacturerFKID="3" DeliveryTimeFKID="2"/></Products>)"
      R"(<DeliveryTimes><DeliveryTimesItem PKID="2" Name="sofort"/></DeliveryTimes>)"
      R"(<Manufacturers><ManufacturersItem PKID="3" ID="M" Name="Hersteller"/></Manufacturers>)");
  // The manufacturer and the delivery time got other keys in the shop.
  EXPECT_EQ(Select("SELECT PKID FROM Manufacturers WHERE ID='M'"), (Rows{{"41"}}));
  EXPECT_EQ(Select("SELECT PKID FROM DeliveryTimes"), (Rows{{"1"}}));
  EXPECT_EQ(Select("SELECT ManufacturerFKID, DeliveryTimeFKID FROM Products"), (Rows{{"3", "2"}}));
}

TEST_F(Goods, AProductLongDescIsTheTrimmedTextOfTheItemElementCdataIncluded) {
  ImportSections(
      "<Products><ProductsItem PKID=\"1\" ProductID=\"T-1\">\n  <![CDATA[<p>Tee</p>]]> aus <b>Japan</b>\n"
      "</ProductsItem></Products>");
  EXPECT_EQ(Select("SELECT LongDesc FROM Products"), (Rows{{"<p>Tee</p> aus Japan"}}));
}

TEST_F(Goods, AProductKeyWithASingleQuoteIsFoundThroughSqlQuote) {
  Exec("INSERT INTO Products (PKID, ProductID, Name) VALUES (8, 'T''1', 'alt')");
  ImportSections(R"(<Products><ProductsItem PKID="1" ProductID="T'1" Name="neu"/></Products>)");
  EXPECT_EQ(Select("SELECT PKID, ProductID, Name FROM Products"), (Rows{{"8", "T'1", "neu"}}));
  EXPECT_THAT(connection->queries, ElementsAre(ProductLookup("T''1"), PageDataLookup(2, 8)));
  EXPECT_EQ(NewKey("//ProductsItem"), "8");
}

// A 256-character name and a price that is not a number are refused by the database; a weight that is not a
// number is read as 0 and does not fail. Each refused field keeps what it held; the product is saved, gets
// its NewPKID and page data, and the next product is imported.
TEST_F(Goods, AProductFieldTheDatabaseRefusesIsSkippedAndTheSectionGoesOn) {
  const std::string section = "<Products><ProductsItem PKID=\"15\" ProductID=\"T-1\" Name=\"" + std::string(256, 'x') +
                              R"(" Price="abc" Weight="abc" ShortDesc="lose"/>)" +
                              R"(<ProductsItem PKID="16" ProductID="T-2" Name="Kanne" Price="2"/></Products>)";
  ImportSections(section);
  EXPECT_EQ(Select("SELECT PKID, ProductID, Name, Price, Weight, ShortDesc FROM Products ORDER BY PKID"),
            (Rows{{"1", "T-1", "NULL", "0", "0", "lose"}, {"2", "T-2", "Kanne", "2", "0", ""}}));
  EXPECT_EQ(NewKey("//ProductsItem[@PKID='15']"), "1");
  EXPECT_EQ(NewKey("//ProductsItem[@PKID='16']"), "2");
  EXPECT_EQ(PageDataKeys(), (Rows{{"2", "1"}, {"2", "2"}}));
}

TEST_F(Goods, AnExistingProductKeepsTheValuesOfTheFieldsTheDatabaseRefuses) {
  Exec("INSERT INTO Products (PKID, ProductID, Name, Price, Weight) VALUES (5, 'T-1', 'alt', 9.5, 2)");
  const std::string section = "<Products><ProductsItem PKID=\"15\" ProductID=\"T-1\" Name=\"" + std::string(256, 'x') +
                              R"(" Weight="abc" ShortDesc="lose"/></Products>)";
  for (int mode : {0, 2}) {
    ImportSections(section, mode);
    // Price is absent: the empty text is refused as well.
    EXPECT_EQ(Select("SELECT PKID, Name, Price, Weight, ShortDesc FROM Products"),
              (Rows{{"5", "alt", "9.5", "0", "lose"}}))
        << "mode " << mode;
  }
}

// ===== Page data of categories and products ================================================================

TEST_F(Goods, PageDataIsFoundByTheCatalogueKeyAndStoredUnderTheNewKeyWithTheElementsType) {
  Exec("INSERT INTO Categories (PKID, ID) VALUES (20, 'fremd')");
  Exec("INSERT INTO Products (PKID, ProductID) VALUES (30, 'fremd')");
  ImportSections(
      R"(<Categories><CategoriesItem PKID="10" ID="K1"/></Categories>)"
      R"(<Products><ProductsItem PKID="10" ProductID="T-1"/><ProductsItem PKID="15" ProductID="T-2"/></Products>)"
      R"(<PageData>)"
      R"(<PageDataItem PKID="70" ElType="1" ElRef="10" Title="Warengruppe"/>)"
      R"(<PageDataItem PKID="71" ElType="2" ElRef="10" Title="Produkt"/>)"
      R"(<PageDataItem PKID="72" ElType="1" ElRef="15" Title="andere Warengruppe"/>)"
      R"(</PageData>)");
  // Product 15 has no page data of its own: it gets a bare record.
  EXPECT_EQ(Select("SELECT ElType, ElRef, Title FROM PageData ORDER BY ElType, ElRef"),
            (Rows{{"1", "21", "Warengruppe"}, {"2", "31", "Produkt"}, {"2", "32", "NULL"}}));
}

// ===== Products2Categories =================================================================================

const char* kGoods =
    R"(<Categories><CategoriesItem PKID="10" ID="K1"/><CategoriesItem PKID="11" ID="K2"/></Categories>)"
    R"(<Products><ProductsItem PKID="15" ProductID="T-1"/><ProductsItem PKID="16" ProductID="T-2"/></Products>)";
const char* kAssignments = R"(<Products2Categories>)"
                           R"(<Products2CategoriesItem PKID="100" CategoryFKID="10" ProductFKID="15" SortOrder="1"/>)"
                           R"(<Products2CategoriesItem PKID="101" CategoryFKID="11" ProductFKID="15" SortOrder="2"/>)"
                           R"(<Products2CategoriesItem PKID="102" CategoryFKID="10" ProductFKID="16" SortOrder="3"/>)"
                           R"(</Products2Categories>)";

struct AssignmentCase {
  std::string name;
  int mode;
  bool prefilled;
  Rows assignments;  // PKID, CategoryFKID, ProductFKID, SortOrder
  Strings queries;
  Strings new_keys;  // of the items 100, 101, 102
};

class AssignmentsByMode : public Goods, public ::testing::WithParamInterface<AssignmentCase> {
 protected:
  // K1 is category 5, T-1 product 7, and they are assigned with SortOrder 9 as row 50. New keys follow on.
  void Prefill() {
    Exec("INSERT INTO Categories (PKID, ID) VALUES (5, 'K1')");
    Exec("INSERT INTO Products (PKID, ProductID) VALUES (7, 'T-1')");
    Exec("INSERT INTO Products2Categories (PKID, CategoryFKID, ProductFKID, SortOrder) VALUES (50, 5, 7, 9)");
  }
};

TEST_P(AssignmentsByMode, TranslateBothKeysAndWriteTheRowsThatTheModeAllows) {
  const AssignmentCase& c = GetParam();
  if (c.prefilled) Prefill();
  ImportSections(std::string(kGoods) + kAssignments, c.mode);
  EXPECT_EQ(Assignments(), c.assignments);
  EXPECT_THAT(QueriesStartingWith("SELECT * FROM Products2Categories"), ElementsAreArray(c.queries));
  EXPECT_EQ((Strings{NewKey("//Products2CategoriesItem[@PKID='100']"), NewKey("//Products2CategoriesItem[@PKID='101']"),
                     NewKey("//Products2CategoriesItem[@PKID='102']")}),
            c.new_keys);
}

INSTANTIATE_TEST_SUITE_P(
    Goods, AssignmentsByMode,
    ::testing::Values(AssignmentCase{"EmptyDatabaseMode0",
                                     0,
                                     false,
                                     {{"1", "1", "1", "1"}, {"2", "2", "1", "2"}, {"3", "1", "2", "3"}},
                                     {AssignmentLookup(1, 1), AssignmentLookup(2, 1), AssignmentLookup(1, 2)},
                                     {"1", "2", "3"}},
                      AssignmentCase{"EmptyDatabaseMode1",
                                     1,
                                     false,
                                     {{"1", "1", "1", "1"}, {"2", "2", "1", "2"}, {"3", "1", "2", "3"}},
                                     {AssignmentLookup(1, 1), AssignmentLookup(2, 1), AssignmentLookup(1, 2)},
                                     {"1", "2", "3"}},
                      // No category and no product was created: every assignment is looked up with the keys 0.
                      AssignmentCase{"EmptyDatabaseMode2",
                                     2,
                                     false,
                                     {},
                                     {AssignmentLookup(0, 0), AssignmentLookup(0, 0), AssignmentLookup(0, 0)},
                                     {"absent", "absent", "absent"}},
                      // The existing row is updated in place: its keys stay, SortOrder comes from the item.
                      AssignmentCase{"PrefilledDatabaseMode0",
                                     0,
                                     true,
                                     {{"50", "5", "7", "1"}, {"51", "6", "7", "2"}, {"52", "5", "8", "3"}},
                                     {AssignmentLookup(5, 7), AssignmentLookup(6, 7), AssignmentLookup(5, 8)},
                                     {"50", "51", "52"}},
                      // K1 and T-1 exist and are left alone without NewPKID: their assignments get the key 0.
                      AssignmentCase{
                          "PrefilledDatabaseMode1",
                          1,
                          true,
                          {{"50", "5", "7", "9"}, {"51", "0", "0", "1"}, {"52", "6", "0", "2"}, {"53", "0", "8", "3"}},
                          {AssignmentLookup(0, 0), AssignmentLookup(6, 0), AssignmentLookup(0, 8)},
                          {"51", "52", "53"}},
                      AssignmentCase{"PrefilledDatabaseMode2",
                                     2,
                                     true,
                                     {{"50", "5", "7", "1"}},
                                     {AssignmentLookup(5, 7), AssignmentLookup(0, 7), AssignmentLookup(5, 0)},
                                     {"50", "absent", "absent"}}),
    [](const ::testing::TestParamInfo<AssignmentCase>& info) { return info.param.name; });

TEST_F(Goods, AssignmentsFindTheirCategoryAndProductByTheKeyAsANumber) {
  ImportSections(
      R"(<Categories><CategoriesItem PKID=" 12 " ID="K1"/></Categories>)"
      R"(<Products><ProductsItem PKID="015" ProductID="T-1"/></Products>)"
      R"(<Products2Categories><Products2CategoriesItem PKID="1" CategoryFKID="12" ProductFKID="15"/></Products2Categories>)");
  EXPECT_EQ(Assignments(), (Rows{{"1", "1", "1", "0"}}));
}

// The category is in the catalogue but its importer did not write it, so it has no NewPKID. (In a run this
// happens in mode 1 to an existing category; here the routine runs alone on a catalogue in which only the
// product has been written.)
class AssignmentOfACategoryNotWritten : public Goods, public ::testing::WithParamInterface<int> {};

TEST_P(AssignmentOfACategoryNotWritten, AddsARowWithCategoryZeroInModes0And1AndNoneInMode2) {
  const int mode = GetParam();
  ImportSections("<Unused/>", mode);
  ASSERT_TRUE(manager->catalog_document()->LoadXml(
      R"(<CalvoraCatalog><Categories><CategoriesItem PKID="10" ID="K1"/></Categories>)"
      R"(<Products><ProductsItem PKID="15" ProductID="T-1" NewPKID="7"/></Products>)"
      R"(<Products2Categories><Products2CategoriesItem PKID="100" CategoryFKID="10" ProductFKID="15" SortOrder="4"/></Products2Categories></CalvoraCatalog>)"));
  connection->queries.clear();
  manager->ImportProducts2Categories();
  EXPECT_THAT(connection->queries, ElementsAre(AssignmentLookup(0, 7)));
  EXPECT_EQ(Assignments(), mode == 2 ? Rows{} : (Rows{{"1", "0", "7", "4"}})) << "mode " << mode;
}

INSTANTIATE_TEST_SUITE_P(Goods, AssignmentOfACategoryNotWritten, ::testing::Values(0, 1, 2));

// The first error ends the routine: the missing item's NewPKID cannot be read. The assignments before it stay;
// those after it are not looked up.
TEST_F(Goods, AnAssignmentNamingACategoryOrProductMissingFromTheCatalogueEndsTheAssignments) {
  for (const char* missing : {R"(CategoryFKID="99" ProductFKID="15")", R"(CategoryFKID="10" ProductFKID="99")"}) {
    Exec("DELETE FROM Products2Categories");
    ImportSections(std::string(kGoods) + "<Products2Categories>" +
                   R"(<Products2CategoriesItem PKID="100" CategoryFKID="10" ProductFKID="15" SortOrder="1"/>)" +
                   "<Products2CategoriesItem PKID=\"101\" " + missing + R"( SortOrder="2"/>)" +
                   R"(<Products2CategoriesItem PKID="102" CategoryFKID="11" ProductFKID="16" SortOrder="3"/>)" +
                   "</Products2Categories>");
    EXPECT_EQ(Select("SELECT CategoryFKID, ProductFKID, SortOrder FROM Products2Categories"), (Rows{{"1", "1", "1"}}))
        << missing;
    EXPECT_THAT(QueriesStartingWith("SELECT * FROM Products2Categories"), ElementsAre(AssignmentLookup(1, 1)))
        << missing;
    EXPECT_EQ(NewKey("//Products2CategoriesItem[@PKID='102']"), "absent") << missing;
  }
}

// The error comes before the item's lookup is opened, and the item before it closed the working recordset: the
// next importers find it closed and import their sections.
TEST_F(Goods, AfterTheAssignmentsEndAtAMissingCategoryTheRunImportsTheNextSections) {
  ImportSections(
      std::string(kGoods) +
      R"(<Products2Categories><Products2CategoriesItem PKID="100" CategoryFKID="10" ProductFKID="15"/><Products2CategoriesItem PKID="101" CategoryFKID="99" ProductFKID="15"/></Products2Categories>)"
      R"(<Currencies><CurrenciesItem PKID="1" ISOCode="EUR" Name="Euro"/></Currencies>)"
      R"(<DeliveryTimes><DeliveryTimesItem PKID="1" Name="sofort"/></DeliveryTimes>)");
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Products2Categories"), (Rows{{"1"}}));
  EXPECT_EQ(Select("SELECT ISOCode, Name FROM Currencies"), (Rows{{"EUR", "Euro"}}));
  EXPECT_EQ(Select("SELECT Name FROM DeliveryTimes"), (Rows{{"sofort"}}));
}

const char* kOnePairTwice = R"(<Products2Categories>)"
                            R"(<Products2CategoriesItem PKID="100" CategoryFKID="10" ProductFKID="15" SortOrder="1"/>)"
                            R"(<Products2CategoriesItem PKID="101" CategoryFKID="10" ProductFKID="15" SortOrder="2"/>)"
                            R"(</Products2Categories>)";

TEST_F(Goods, TwoAssignmentsOfTheSamePairInMode0ShareOneRowTheSecondWinning) {
  ImportSections(std::string(kGoods) + kOnePairTwice, 0);
  EXPECT_EQ(Assignments(), (Rows{{"1", "1", "1", "2"}}));
  EXPECT_EQ(NewKey("//Products2CategoriesItem[@PKID='100']"), "1");
  EXPECT_EQ(NewKey("//Products2CategoriesItem[@PKID='101']"), "1");
}

TEST_F(Goods, TwoAssignmentsOfTheSamePairInMode1TheSecondLeavesTheRowAlone) {
  ImportSections(std::string(kGoods) + kOnePairTwice, 1);
  EXPECT_EQ(Assignments(), (Rows{{"1", "1", "1", "1"}}));
  EXPECT_EQ(NewKey("//Products2CategoriesItem[@PKID='100']"), "1");
  EXPECT_EQ(NewKey("//Products2CategoriesItem[@PKID='101']"), "absent");
}

// ===== Status and progress texts ===========================================================================

TEST_F(Goods, StatusTextsComeInTheRunsOrderAlsoForEmptySections) {
  ImportSections("<Unused/>");
  const Strings status = host.state->StatusTexts();
  auto at = [&](const std::string& text) { return std::find(status.begin(), status.end(), text) - status.begin(); };
  const auto categories = at("Importiere Warengruppen");
  ASSERT_LT(categories + 2, static_cast<std::ptrdiff_t>(status.size()));
  EXPECT_EQ(status[categories + 1], "Importiere Produkte");
  EXPECT_EQ(status[categories + 2], "Produkte werden zugeordnet");
  EXPECT_LT(at("Starte Import..."), categories);
  EXPECT_LT(categories + 2, at("Importiere Währungen"));
  // Empty sections show their start texts only.
  EXPECT_THAT(ProgressBetween("Importiere Warengruppen", "Produkte werden zugeordnet"),
              ElementsAre("0/0 Importiere Warengruppen", "0/0 Importiere Produkte", "0/0 Produkte werden zugeordnet"));
}

// Categories and products name each item with its position and name ("von: " with a blank for categories,
// "von:" without for products); assignments show the position only. The categories' second pass and the page
// data show no progress.
TEST_F(Goods, EachItemShowsItsProgressText) {
  ImportSections(
      R"(<Categories><CategoriesItem PKID="1" ID="K1" Name="Tee"/><CategoriesItem PKID="2" ID="K2" ParentCategoryFKID="1"/></Categories>)"
      R"(<Products><ProductsItem PKID="1" ProductID="T-1" Name="Kanne"/><ProductsItem PKID="2" ProductID="T-2" Name="Tee &amp; Co"/></Products>)"
      R"(<Products2Categories><Products2CategoriesItem CategoryFKID="1" ProductFKID="1"/><Products2CategoriesItem CategoryFKID="2" ProductFKID="2"/></Products2Categories>)");
  EXPECT_THAT(ProgressBetween("Importiere Warengruppen", "Produkte werden zugeordnet"),
              ElementsAre("0/0 Importiere Warengruppen", "2/1 Importiere Warengruppe 1 von: 2 |Tee",
                          "2/2 Importiere Warengruppe 2 von: 2 |", "0/0 Importiere Produkte",
                          "2/1 Importiere Produkt 1 von:2 |Kanne", "2/2 Importiere Produkt 2 von:2 |Tee & Co",
                          "0/0 Produkte werden zugeordnet", "2/1 ", "2/2 "));
}

TEST_F(Goods, TheProgressTextOfProduct7Of80NamedTee) {
  std::string products = "<Products>";
  for (int i = 1; i <= 80; ++i)
    products += "<ProductsItem PKID=\"" + std::to_string(i) + "\" ProductID=\"P" + std::to_string(i) + "\" Name=\"" +
                (i == 7 ? "Tee" : "Ware") + "\"/>";
  ImportSections(products + "</Products>");
  const auto& p = host.state->progress;
  auto seventh =
      std::find_if(p.begin(), p.end(), [](const ProgressCall& c) { return c.maximum == 80 && c.position == 7; });
  ASSERT_NE(seventh, p.end());
  EXPECT_EQ(seventh->text, "Importiere Produkt 7 von:80 |Tee");
  EXPECT_EQ(Select("SELECT COUNT(*) FROM Products"), (Rows{{"80"}}));
}

}  // namespace
}  // namespace cvimp::plugin::testing
