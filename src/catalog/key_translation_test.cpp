#include "catalog/key_translation.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "common/error.h"
#include "common/testing/raised_code.h"

namespace cvimp::catalog {
namespace {

using cvimp::testing::RaisedCode;

class KeyTranslation : public ::testing::Test {
 protected:
  void Load(const std::string& xml) { ASSERT_TRUE(doc.LoadXml(xml)) << doc.load_error().reason; }
  Document doc;
};

// ---- TranslateKey ------------------------------------------------------------------------------------------

TEST_F(KeyTranslation, TranslatesToNewPkidOfTheItem) {
  Load(R"(<CalvoraCatalog><Products>
            <ProductsItem PKID="16" NewPKID="160"/>
            <ProductsItem PKID="17" NewPKID="1017"/>
          </Products></CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, 17, "Products"), 1017);
  EXPECT_EQ(TranslateKey(doc, 16, "Products"), 160);
}

TEST_F(KeyTranslation, KeyZeroGivesZeroEvenWhenAnItemHasPkidZero) {
  Load(R"(<CalvoraCatalog><Products><ProductsItem PKID="0" NewPKID="55"/></Products></CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, 0, "Products"), 0);
}

TEST_F(KeyTranslation, KeyZeroDoesNotConsultTheDocument) {
  // Neither an empty document nor a section name that makes no valid path is looked at.
  EXPECT_EQ(TranslateKey(doc, 0, "Products"), 0);
  EXPECT_EQ(TranslateKey(doc, 0, "Bad[Name"), 0);
}

TEST_F(KeyTranslation, ItemWithoutNewPkidGivesZero) {
  Load(R"(<CalvoraCatalog><Products><ProductsItem PKID="17"/></Products></CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, 17, "Products"), 0);
}

TEST_F(KeyTranslation, EmptyNewPkidReadsLikeAnAbsentOne) {
  Load(R"(<CalvoraCatalog><Products><ProductsItem PKID="17" NewPKID=""/></Products></CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, 17, "Products"), 0);
}

TEST_F(KeyTranslation, NonNumericOrOversizedNewPkidGivesZero) {
  Load(R"(<CalvoraCatalog><Products>
            <ProductsItem PKID="1" NewPKID="abc"/>
            <ProductsItem PKID="2" NewPKID="2147483648"/>
            <ProductsItem PKID="3" NewPKID="2.5"/>
          </Products></CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, 1, "Products"), 0);
  EXPECT_EQ(TranslateKey(doc, 2, "Products"), 0);
  EXPECT_EQ(TranslateKey(doc, 3, "Products"), 2);
}

TEST_F(KeyTranslation, NewPkidWrittenThroughTheDocumentIsFound) {
  Load(R"(<CalvoraCatalog><Categories><CategoriesItem PKID="4"/></Categories></CalvoraCatalog>)");
  Node item = doc.SelectSingleNode("CalvoraCatalog/Categories/CategoriesItem[@PKID=4]");
  item.SetAttribute("NewPKID", Value(std::int32_t{321}));
  EXPECT_EQ(TranslateKey(doc, 4, "Categories"), 321);
}

TEST_F(KeyTranslation, MissingItemRaisesObjectRequired) {
  Load(R"(<CalvoraCatalog><Products><ProductsItem PKID="17" NewPKID="5"/></Products></CalvoraCatalog>)");
  EXPECT_EQ(RaisedCode([&] { TranslateKey(doc, 18, "Products"); }), ErrorCode::kObjectRequired);
}

TEST_F(KeyTranslation, MissingSectionRaisesObjectRequired) {
  Load(R"(<CalvoraCatalog><Products><ProductsItem PKID="17" NewPKID="5"/></Products></CalvoraCatalog>)");
  EXPECT_EQ(RaisedCode([&] { TranslateKey(doc, 17, "Categories"); }), ErrorCode::kObjectRequired);
}

TEST_F(KeyTranslation, LooksOnlyInTheNamedSection) {
  Load(R"(<CalvoraCatalog>
            <Products><ProductsItem PKID="17" NewPKID="5"/></Products>
            <Categories><CategoriesItem PKID="17" NewPKID="6"/></Categories>
          </CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, 17, "Products"), 5);
  EXPECT_EQ(TranslateKey(doc, 17, "Categories"), 6);
}

TEST_F(KeyTranslation, RootOfAnotherNameRaisesObjectRequired) {
  Load(R"(<OtherCatalog><Products><ProductsItem PKID="17" NewPKID="5"/></Products></OtherCatalog>)");
  EXPECT_EQ(RaisedCode([&] { TranslateKey(doc, 17, "Products"); }), ErrorCode::kObjectRequired);
}

TEST_F(KeyTranslation, DuplicatePkidTranslatesByTheFirstItem) {
  Load(R"(<CalvoraCatalog><Media>
            <MediaItem PKID="3" NewPKID="30"/>
            <MediaItem PKID="3" NewPKID="31"/>
          </Media></CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, 3, "Media"), 30);
}

TEST_F(KeyTranslation, FirstItemWithoutNewPkidGivesZeroEvenIfALaterDuplicateHasOne) {
  Load(R"(<CalvoraCatalog><Media>
            <MediaItem PKID="3"/>
            <MediaItem PKID="3" NewPKID="31"/>
          </Media></CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, 3, "Media"), 0);
}

TEST_F(KeyTranslation, PkidIsComparedAsANumber) {
  Load(R"(<CalvoraCatalog><Pages>
            <PagesItem PKID="007" NewPKID="70"/>
            <PagesItem PKID=" 8 " NewPKID="80"/>
            <PagesItem PKID="9.0" NewPKID="90"/>
          </Pages></CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, 7, "Pages"), 70);
  EXPECT_EQ(TranslateKey(doc, 8, "Pages"), 80);
  EXPECT_EQ(TranslateKey(doc, 9, "Pages"), 90);
}

TEST_F(KeyTranslation, NegativeAndExtremeKeys) {
  Load(R"(<CalvoraCatalog><VariantTypes>
            <VariantTypesItem PKID="-5" NewPKID="50"/>
            <VariantTypesItem PKID="-2147483648" NewPKID="1"/>
            <VariantTypesItem PKID="2147483647" NewPKID="2"/>
          </VariantTypes></CalvoraCatalog>)");
  EXPECT_EQ(TranslateKey(doc, -5, "VariantTypes"), 50);
  EXPECT_EQ(TranslateKey(doc, std::numeric_limits<std::int32_t>::min(), "VariantTypes"), 1);
  EXPECT_EQ(TranslateKey(doc, std::numeric_limits<std::int32_t>::max(), "VariantTypes"), 2);
}

TEST_F(KeyTranslation, SectionNameThatMakesNoPathRaisesInvalidArgument) {
  Load(R"(<CalvoraCatalog/>)");
  EXPECT_EQ(RaisedCode([&] { TranslateKey(doc, 1, "Bad[Name"); }), ErrorCode::kInvalidArgument);
}

// ---- FolderName and FolderParentKey ----------------------------------------------------------------------

const char* const kFolders = R"(<CalvoraCatalog><Folders>
    <FoldersItem PKID="1" Name="Shop" ParentFolderFKID="0"/>
    <FoldersItem PKID="2" Name="Shoes" ParentFolderFKID="1"/>
    <FoldersItem PKID="3" Name="Boots" ParentFolderFKID="2"/>
    <FoldersItem PKID="4" ParentFolderFKID="1"/>
    <FoldersItem PKID="5" Name="Orphan"/>
    <FoldersItem PKID="6" Name="" ParentFolderFKID="0"/>
    <FoldersItem PKID="007" Name="Padded" ParentFolderFKID="0"/>
    <FoldersItem PKID="2" Name="Duplicate" ParentFolderFKID="0"/>
  </Folders></CalvoraCatalog>)";

TEST_F(KeyTranslation, FolderNameAndParentKeyAreTheAttributeTexts) {
  Load(kFolders);
  EXPECT_EQ(FolderName(doc, 3), "Boots");
  EXPECT_EQ(FolderParentKey(doc, 3), "2");
  EXPECT_EQ(FolderName(doc, 6), "");
}

TEST_F(KeyTranslation, FolderLookupComparesTheKeyAsText) {
  Load(kFolders);
  EXPECT_EQ(RaisedCode([&] { FolderName(doc, 7); }), ErrorCode::kObjectRequired);
}

TEST_F(KeyTranslation, FolderLookupFindsTheFirstOfDuplicates) {
  Load(kFolders);
  EXPECT_EQ(FolderName(doc, 2), "Shoes");
  EXPECT_EQ(FolderParentKey(doc, 2), "1");
}

TEST_F(KeyTranslation, MissingFolderRaisesObjectRequired) {
  Load(kFolders);
  EXPECT_EQ(RaisedCode([&] { FolderName(doc, 99); }), ErrorCode::kObjectRequired);
  EXPECT_EQ(RaisedCode([&] { FolderParentKey(doc, 99); }), ErrorCode::kObjectRequired);
  EXPECT_EQ(RaisedCode([&] { FolderName(doc, 0); }), ErrorCode::kObjectRequired);
}

TEST_F(KeyTranslation, MissingFolderAttributeRaisesObjectRequired) {
  Load(kFolders);
  EXPECT_EQ(RaisedCode([&] { FolderName(doc, 4); }), ErrorCode::kObjectRequired);
  EXPECT_EQ(RaisedCode([&] { FolderParentKey(doc, 5); }), ErrorCode::kObjectRequired);
}

// ---- FolderPath --------------------------------------------------------------------------------------------

TEST_F(KeyTranslation, RootFolderPathIsSlashAndName) {
  Load(kFolders);
  EXPECT_EQ(FolderPath(doc, 1), "/Shop");
}

TEST_F(KeyTranslation, NestedFolderPathListsAncestorsFromTheRoot) {
  Load(kFolders);
  EXPECT_EQ(FolderPath(doc, 2), "/Shop/Shoes");
  EXPECT_EQ(FolderPath(doc, 3), "/Shop/Shoes/Boots");
}

TEST_F(KeyTranslation, FolderWithEmptyNameGivesSlash) {
  Load(kFolders);
  EXPECT_EQ(FolderPath(doc, 6), "/");
}

TEST_F(KeyTranslation, FolderPathOfKeyZeroRaisesInvalidArgument) {
  Load(kFolders);
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 0); }), ErrorCode::kInvalidArgument);
}

TEST_F(KeyTranslation, FolderPathOfMissingFolderOrAttributeRaisesObjectRequired) {
  Load(kFolders);
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 99); }), ErrorCode::kObjectRequired);
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 4); }), ErrorCode::kObjectRequired);
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 5); }), ErrorCode::kObjectRequired);
}

TEST_F(KeyTranslation, FolderPathWithMissingParentRaisesObjectRequired) {
  Load(R"(<CalvoraCatalog><Folders><FoldersItem PKID="2" Name="B" ParentFolderFKID="1"/></Folders></CalvoraCatalog>)");
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 2); }), ErrorCode::kObjectRequired);
}

TEST_F(KeyTranslation, FolderPathWithEmptyOrNonNumericParentRaisesTypeMismatch) {
  Load(R"(<CalvoraCatalog><Folders>
            <FoldersItem PKID="1" Name="A" ParentFolderFKID=""/>
            <FoldersItem PKID="2" Name="B" ParentFolderFKID="x"/>
          </Folders></CalvoraCatalog>)");
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 1); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 2); }), ErrorCode::kTypeMismatch);
}

TEST_F(KeyTranslation, FolderPathWithOversizedParentRaisesOverflow) {
  Load(R"(<CalvoraCatalog><Folders>
            <FoldersItem PKID="1" Name="A" ParentFolderFKID="2147483648"/>
          </Folders></CalvoraCatalog>)");
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 1); }), ErrorCode::kOverflow);
}

TEST_F(KeyTranslation, FolderPathParentKeyIsRoundedLikeAnyNumber) {
  Load(R"(<CalvoraCatalog><Folders>
            <FoldersItem PKID="1" Name="A" ParentFolderFKID=" 0 "/>
            <FoldersItem PKID="2" Name="B" ParentFolderFKID="1.4"/>
          </Folders></CalvoraCatalog>)");
  EXPECT_EQ(FolderPath(doc, 2), "/A/B");
}

TEST_F(KeyTranslation, FolderPathOnALoopingChainRaisesInsteadOfRunningForever) {
  Load(R"(<CalvoraCatalog><Folders>
            <FoldersItem PKID="1" Name="A" ParentFolderFKID="2"/>
            <FoldersItem PKID="2" Name="B" ParentFolderFKID="1"/>
            <FoldersItem PKID="3" Name="C" ParentFolderFKID="2"/>
          </Folders></CalvoraCatalog>)");
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 3); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 1); }), ErrorCode::kInvalidArgument);
}

TEST_F(KeyTranslation, FolderPathOnAFolderThatIsItsOwnParentRaises) {
  Load(R"(<CalvoraCatalog><Folders><FoldersItem PKID="1" Name="A" ParentFolderFKID="1"/></Folders></CalvoraCatalog>)");
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 1); }), ErrorCode::kInvalidArgument);
}

TEST_F(KeyTranslation, FolderPathMayUseEveryFolderOnce) {
  // The longest chain without a loop passes through every folder item.
  Load(R"(<CalvoraCatalog><Folders>
            <FoldersItem PKID="4" Name="D" ParentFolderFKID="3"/>
            <FoldersItem PKID="3" Name="C" ParentFolderFKID="2"/>
            <FoldersItem PKID="2" Name="B" ParentFolderFKID="1"/>
            <FoldersItem PKID="1" Name="A" ParentFolderFKID="0"/>
          </Folders></CalvoraCatalog>)");
  EXPECT_EQ(FolderPath(doc, 4), "/A/B/C/D");
}

TEST_F(KeyTranslation, FolderPathReadsFoldersOnlyFromTheFoldersSection) {
  Load(R"(<CalvoraCatalog>
            <Folders><FoldersItem PKID="2" Name="B" ParentFolderFKID="1"/></Folders>
            <Other><FoldersItem PKID="1" Name="A" ParentFolderFKID="0"/></Other>
          </CalvoraCatalog>)");
  EXPECT_EQ(RaisedCode([&] { FolderPath(doc, 2); }), ErrorCode::kObjectRequired);
}

}  // namespace
}  // namespace cvimp::catalog
