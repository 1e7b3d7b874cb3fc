// One small catalogue per kind of finding, each with the exact findings.
#include "check/catalog_check.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace cvimp::check {
namespace {

using K = FindingKind;

class CatalogCheck : public ::testing::Test {
 protected:
  // Writes the text as a catalogue file and checks it.
  std::vector<Finding> Check(const std::string& text) {
    const std::filesystem::path path =
        std::filesystem::path(::testing::TempDir()) /
        (std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + ".xml");
    {
      std::ofstream out(path, std::ios::binary);
      out << text;
    }
    std::vector<Finding> findings = CheckCatalogFile(path.string());
    std::filesystem::remove(path);
    return findings;
  }
};

TEST_F(CatalogCheck, AWellFormedCatalogueWithoutProblemsHasNoFindings) {
  EXPECT_EQ(Check("<CalvoraCatalog>\n"
                  "  <Currencies>\n"
                  "    <CurrenciesItem PKID=\"1\" ISOCode=\"EUR\" Name=\"Euro\" NewPKID=\"7\"/>\n"
                  "  </Currencies>\n"
                  "</CalvoraCatalog>\n"),
            std::vector<Finding>{});
}

TEST_F(CatalogCheck, NotWellFormedWithLineAndColumn) {
  EXPECT_EQ(Check("<CalvoraCatalog>\n"
                  "  <Currencies>\n"
                  "    <CurrenciesItem PKID=\"1\" ISOCode=\"EUR\">\n"
                  "  </Currencies>\n"
                  "</CalvoraCatalog>\n"),
            (std::vector<Finding>{
                {K::kNotWellFormed, "", 0, "", 4, 5, "", "", "The catalogue cannot be read as XML: mismatched tag."}}));
}

TEST_F(CatalogCheck, AFileThatCannotBeReadIsNotWellFormed) {
  const std::vector<Finding> findings = CheckCatalogFile("/nonexistent/catalogue.xml");
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].kind, K::kNotWellFormed);
  EXPECT_EQ(findings[0].line, 0u);
}

TEST_F(CatalogCheck, ARootOfAnotherNameIsTheOnlyFinding) {
  EXPECT_EQ(
      Check("<?xml version=\"1.0\"?>\n"
            "<Catalog>\n"
            "  <Colours><ColoursItem PKID=\"1\"/></Colours>\n"
            "</Catalog>\n"),
      (std::vector<Finding>{{K::kWrongRoot, "", 0, "", 2, 1, "", "",
                             "The root element is Catalog, not CalvoraCatalog, so the import finds no section."}}));
}

TEST_F(CatalogCheck, UnknownSectionsAndAttributes) {
  EXPECT_EQ(Check("<CalvoraCatalog>\n"
                  "  <Colours>\n"
                  "    <ColoursItem PKID=\"1\"/>\n"
                  "  </Colours>\n"
                  "  <Currencies>\n"
                  "    <CurrenciesItem PKID=\"1\" ISOCode=\"EUR\" Colour=\"blau\"/>\n"
                  "    <CurrenciesItem PKID=\"2\" isocode=\"CHF\" ISOCode=\"USD\"/>\n"
                  "  </Currencies>\n"
                  "  <Manufacturers><ManufacturersItem PKID=\"4\" ProductID=\"M1\" ID=\"M1\"/></Manufacturers>\n"
                  "</CalvoraCatalog>\n"),
            (std::vector<Finding>{
                {K::kUnknownSection, "Colours", 0, "", 2, 3, "", "",
                 "The section Colours is not one the import reads, so its items are left out."},
                {K::kUnknownAttribute, "Currencies", 1, "EUR", 6, 5, "Colour", "blau",
                 "Item 1 of Currencies has the attribute Colour, which is no column of the table Currencies and is "
                 "not read by the import."},
                {K::kUnknownAttribute, "Currencies", 2, "USD", 7, 5, "isocode", "CHF",
                 "Item 2 of Currencies has the attribute isocode, which the import does not read, since the column "
                 "is spelled ISOCode."},
            }));
}

TEST_F(CatalogCheck, ItemsWithoutTheirNaturalKey) {
  EXPECT_EQ(Check("<CalvoraCatalog>\n"
                  "  <Currencies>\n"
                  "    <CurrenciesItem PKID=\"1\" Name=\"Euro\"/>\n"
                  "    <CurrenciesItem PKID=\"2\" ISOCode=\"\"/>\n"
                  "  </Currencies>\n"
                  "  <KeywordRefs>\n"
                  "    <KeywordRefsItem PKID=\"1\" ElRef=\"5\"/>\n"
                  "    <KeywordRefsItem PKID=\"2\"/>\n"
                  "  </KeywordRefs>\n"
                  "  <Products><ProductsItem PKID=\"5\" ProductID=\"P5\"/></Products>\n"
                  "</CalvoraCatalog>\n"),
            (std::vector<Finding>{
                {K::kMissingKey, "Currencies", 1, "", 3, 5, "ISOCode", "",
                 "Item 1 of Currencies has no ISOCode, the natural key by which the import finds its record."},
                {K::kMissingKey, "Currencies", 2, "", 4, 5, "ISOCode", "",
                 "Item 2 of Currencies has no ISOCode, the natural key by which the import finds its record."},
                {K::kMissingKey, "KeywordRefs", 1, "RefType=, ElRef=5", 7, 5, "RefType", "",
                 "Item 1 of KeywordRefs has no RefType, part of the natural key by which the import finds its "
                 "record."},
                {K::kMissingKey, "KeywordRefs", 2, "RefType=, ElRef=", 8, 5, "RefType, ElRef", "",
                 "Item 2 of KeywordRefs has no RefType and ElRef, the natural key by which the import finds its "
                 "record."},
            }));
}

TEST_F(CatalogCheck, NaturalKeysThatRepeatWithinASection) {
  // Numbers compare by value; a folder's name repeats only under the same parent.
  EXPECT_EQ(Check("<CalvoraCatalog>\n"
                  "  <Folders>\n"
                  "    <FoldersItem PKID=\"1\" Name=\"Shop\" ParentFolderFKID=\"0\"/>\n"
                  "    <FoldersItem PKID=\"2\" Name=\"Shop\" ParentFolderFKID=\"1\"/>\n"
                  "    <FoldersItem PKID=\"3\" Name=\"Shop\" ParentFolderFKID=\"01\"/>\n"
                  "  </Folders>\n"
                  "  <Currencies>\n"
                  "    <CurrenciesItem PKID=\"1\" ISOCode=\"EUR\"/>\n"
                  "    <CurrenciesItem PKID=\"2\" ISOCode=\"eur\"/>\n"
                  "    <CurrenciesItem PKID=\"3\" ISOCode=\"EUR\"/>\n"
                  "  </Currencies>\n"
                  "</CalvoraCatalog>\n"),
            (std::vector<Finding>{
                {K::kRepeatedKey, "Folders", 3, "Name=Shop, ParentFolderFKID=01", 5, 5, "", "",
                 "Item 3 of Folders repeats the natural key Name=Shop, ParentFolderFKID=01 of item 2 (line 4), so "
                 "the import writes both into one record."},
                {K::kRepeatedKey, "Currencies", 3, "EUR", 10, 5, "", "",
                 "Item 3 of Currencies repeats the natural key EUR of item 1 (line 8), so the import writes both "
                 "into one record."},
            }));
}

TEST_F(CatalogCheck, ReferencesThatNameNoItem) {
  EXPECT_EQ(
      Check("<CalvoraCatalog>\n"
            "  <Categories><CategoriesItem PKID=\"3\" ID=\"tee\" ParentCategoryFKID=\"0\"/></Categories>\n"
            "  <Products><ProductsItem PKID=\"5\" ProductID=\"P5\" PictureMRef=\"0\"/></Products>\n"
            "  <Products2Categories>\n"
            "    <Products2CategoriesItem PKID=\"1\" CategoryFKID=\"3\" ProductFKID=\"5\"/>\n"
            "    <Products2CategoriesItem PKID=\"2\" CategoryFKID=\"9\" ProductFKID=\"5.0\"/>\n"
            "  </Products2Categories>\n"
            "  <Bundles>\n"
            "    <BundlesItem PKID=\"1\" ProductFKID=\"5\" RelProductFKID=\"0\" ProductCategoryFKID=\"abc\"/>\n"
            "  </Bundles>\n"
            "  <Discounts>\n"
            "    <DiscountsItem PKID=\"1\" Name=\"Sommer\" DiscountType=\"1\" ProductFKID=\"0\" FromAmount=\"0\"/>\n"
            "  </Discounts>\n"
            "  <Attributes><AttributesItem PKID=\"1\" Name=\"Farbe\"/></Attributes>\n"
            "  <PageData>\n"
            "    <PageDataItem PKID=\"1\" ElType=\"1\" ElRef=\"3\" OutputFolderRef=\"4\"/>\n"
            "    <PageDataItem PKID=\"2\" ElType=\"2\" ElRef=\"6\"/>\n"
            "    <PageDataItem PKID=\"3\" ElType=\"7\" ElRef=\"6\"/>\n"
            "  </PageData>\n"
            "  <VariantsComplex>\n"
            "    <VariantsComplexItem PKID=\"1\" VarString=\"[1]11[2]0[3]12\" ProductFKID=\"5\""
            " DeliveryTimeFKID=\"0\" ThumbMRef=\"0\" PictureMRef=\"0\"/>\n"
            "  </VariantsComplex>\n"
            "  <VariantValues><VariantValuesItem PKID=\"12\" Value=\"rot\" VariantFKID=\"1\"/></VariantValues>\n"
            "  <VariantTypes><VariantTypesItem PKID=\"1\" Name=\"Farbe\"/></VariantTypes>\n"
            "</CalvoraCatalog>\n"),
      (std::vector<Finding>{
          {K::kUnresolvedReference, "Products2Categories", 2, "CategoryFKID=9, ProductFKID=5.0", 6, 5, "CategoryFKID",
           "9",
           "Item 2 of Products2Categories refers through CategoryFKID to the key 9, which no item of Categories "
           "has."},
          {K::kUnresolvedReference, "Bundles", 1, "ProductFKID=5, RelProductFKID=0", 9, 5, "ProductCategoryFKID", "abc",
           "Item 1 of Bundles refers through ProductCategoryFKID to abc, which is not a key of Categories."},
          {K::kUnresolvedReference, "Discounts", 1, "Name=Sommer, DiscountType=1, ProductFKID=0, FromAmount=0", 12, 5,
           "ProductFKID", "0",
           "Item 1 of Discounts refers through ProductFKID to the key 0, which no item of Products has."},
          {K::kUnresolvedReference, "Attributes", 1, "Farbe", 14, 15, "GroupFKID", "",
           "Item 1 of Attributes has no GroupFKID, which the import needs to find its item in AttributeGroups."},
          {K::kUnresolvedReference, "PageData", 1, "ElType=1, ElRef=3", 16, 5, "OutputFolderRef", "4",
           "Item 1 of PageData refers through OutputFolderRef to the key 4, which no item of Folders has."},
          {K::kUnresolvedReference, "PageData", 2, "ElType=2, ElRef=6", 17, 5, "ElRef", "6",
           "Item 2 of PageData refers through ElRef (ElType 2) to the key 6, which no item of Products has."},
          {K::kUnresolvedReference, "VariantsComplex", 1, "[1]11[2]0[3]12", 21, 5, "VarString", "11",
           "Item 1 of VariantsComplex names in its VarString the key 11, which no item of VariantValues has."},
      }));
}

TEST_F(CatalogCheck, ParentChainsThatLoop) {
  EXPECT_EQ(Check("<CalvoraCatalog>\n"
                  "  <Folders>\n"
                  "    <FoldersItem PKID=\"1\" Name=\"A\" ParentFolderFKID=\"0\"/>\n"
                  "    <FoldersItem PKID=\"2\" Name=\"B\" ParentFolderFKID=\"3\"/>\n"
                  "    <FoldersItem PKID=\"3\" Name=\"C\" ParentFolderFKID=\"4\"/>\n"
                  "    <FoldersItem PKID=\"4\" Name=\"D\" ParentFolderFKID=\"2\"/>\n"
                  "    <FoldersItem PKID=\"5\" Name=\"E\" ParentFolderFKID=\"4\"/>\n"
                  "    <FoldersItem PKID=\"6\" Name=\"F\" ParentFolderFKID=\"8\"/>\n"
                  "  </Folders>\n"
                  "  <Categories>\n"
                  "    <CategoriesItem PKID=\"7\" ID=\"self\" ParentCategoryFKID=\"7\"/>\n"
                  "    <CategoriesItem PKID=\"8\" ID=\"top\"/>\n"
                  "  </Categories>\n"
                  "</CalvoraCatalog>\n"),
            (std::vector<Finding>{
                {K::kParentLoop, "Folders", 2, "Name=B, ParentFolderFKID=3", 4, 5, "ParentFolderFKID", "3",
                 "Item 2 of Folders is its own ancestor through ParentFolderFKID, by the PKIDs 2 -> 3 -> 4 -> 2, so "
                 "the import of Folders ends at the first folder whose path leads into it."},
                {K::kUnresolvedReference, "Folders", 6, "Name=F, ParentFolderFKID=8", 8, 5, "ParentFolderFKID", "8",
                 "Item 6 of Folders refers through ParentFolderFKID to the key 8, which no item of Folders has."},
                {K::kParentLoop, "Categories", 1, "self", 11, 5, "ParentCategoryFKID", "7",
                 "Item 1 of Categories is its own ancestor through ParentCategoryFKID, by the PKIDs 7 -> 7."},
            }));
}

TEST_F(CatalogCheck, LinesCountInTheFilesOwnEncoding) {
  // ISO-8859-1: an umlaut is one character in the file and two bytes once decoded.
  EXPECT_EQ(Check("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n"
                  "<CalvoraCatalog>\r\n"
                  "  <Currencies><CurrenciesItem ISOCode=\"\xE4\"/>\r"
                  "<CurrenciesItem ISOCode=\"\xE4\"/></Currencies>\n"
                  "</CalvoraCatalog>\n"),
            (std::vector<Finding>{{K::kRepeatedKey, "Currencies", 2, "\xC3\xA4", 4, 1, "", "",
                                   "Item 2 of Currencies repeats the natural key \xC3\xA4 of item 1 (line 3), so the "
                                   "import writes both into one record."}}));
}

TEST_F(CatalogCheck, ADocumentCheckedWithoutItsTextHasNoLines) {
  catalog::Document document;
  ASSERT_TRUE(document.LoadXml("<CalvoraCatalog><Colours/></CalvoraCatalog>"));
  EXPECT_EQ(CheckDocument(document),
            (std::vector<Finding>{{K::kUnknownSection, "Colours", 0, "", 0, 0, "", "",
                                   "The section Colours is not one the import reads, so its items are left out."}}));
  SourceLines lines = SourceLines::OfText("<CalvoraCatalog><Colours/></CalvoraCatalog>");
  EXPECT_EQ(CheckDocument(document, &lines).at(0).column, 17u);
}

}  // namespace
}  // namespace cvimp::check

namespace cvimp::check {
namespace {

TEST_F(CatalogCheck, ElementsOfASectionThatAreNotItsItems) {
  EXPECT_EQ(Check("<CalvoraCatalog>\n"
                  "  <Currencies>\n"
                  "    <CurrencyItem PKID=\"1\" ISOCode=\"EUR\"/>\n"
                  "    text and <!-- a comment -->\n"
                  "    <CurrenciesItem PKID=\"2\" ISOCode=\"CHF\"/>\n"
                  "  </Currencies>\n"
                  "</CalvoraCatalog>\n"),
            (std::vector<Finding>{{FindingKind::kStrayElement, "Currencies", 0, "", 3, 5, "", "CurrencyItem",
                                   "The element CurrencyItem in the section Currencies is not one of its "
                                   "CurrenciesItem items, so the import leaves it out."}}));
}

TEST_F(CatalogCheck, ADocumentWithAnInternalSubsetIsPlacedByItsStartTags) {
  // Built from the parser's events, its elements carry no offsets; an item that an entity brings in is placed
  // at the reference.
  EXPECT_EQ(Check("<?xml version=\"1.0\"?>\n"
                  "<!DOCTYPE CalvoraCatalog [\n"
                  "  <!ENTITY franc \"<CurrenciesItem PKID='3' Name='Franken' Colour='rot'/>\">\n"
                  "  <!ATTLIST CurrenciesItem ExchangeRate CDATA \"1\">\n"
                  "]>\n"
                  "<CalvoraCatalog>\n"
                  "  <Currencies>\n"
                  "    <CurrenciesItem PKID=\"1\" ISOCode=\"EUR\"/>\n"
                  "    <CurrenciesItem PKID=\"2\" ISOCode=\"EUR\"/>\n"
                  "       &franc;\n"
                  "  </Currencies>\n"
                  "</CalvoraCatalog>\n"),
            (std::vector<Finding>{
                {FindingKind::kRepeatedKey, "Currencies", 2, "EUR", 9, 5, "", "",
                 "Item 2 of Currencies repeats the natural key EUR of item 1 (line 8), so the import writes both into "
                 "one record."},
                {FindingKind::kUnknownAttribute, "Currencies", 3, "", 10, 8, "Colour", "rot",
                 "Item 3 of Currencies has the attribute Colour, which is no column of the table Currencies and is "
                 "not read by the import."},
                {FindingKind::kMissingKey, "Currencies", 3, "", 10, 8, "ISOCode", "",
                 "Item 3 of Currencies has no ISOCode, the natural key by which the import finds its record."},
            }));
}

TEST_F(CatalogCheck, AUtf16FileIsPlacedByItsCharacters) {
  const std::string utf8 =
      "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<CalvoraCatalog>\n  <Gr\xC3\xBC\x6E/>\n</CalvoraCatalog>\n";
  std::string utf16 = "\xFF\xFE";  // little-endian, with its byte order mark
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    if (utf8[i] == '\xC3') {
      utf16 += '\xFC';  // ü
      utf16 += '\0';
      ++i;
      continue;
    }
    utf16 += utf8[i];
    utf16 += '\0';
  }
  EXPECT_EQ(Check(utf16), (std::vector<Finding>{{FindingKind::kUnknownSection, "Gr\xC3\xBCn", 0, "", 3, 3, "", "",
                                                 "The section Gr\xC3\xBCn is not one the import reads, so its items "
                                                 "are left out."}}));
}

}  // namespace
}  // namespace cvimp::check

namespace cvimp::check {
namespace {

TEST_F(CatalogCheck, ValuesAnImporterCannotDoWithout) {
  EXPECT_EQ(Check("<CalvoraCatalog>\n"
                  "  <Folders>\n"
                  "    <FoldersItem PKID=\"1\" Name=\"A\" ParentFolderFKID=\"0\"/>\n"
                  "    <FoldersItem PKID=\"0\" Name=\"B\" ParentFolderFKID=\"1\"/>\n"
                  "  </Folders>\n"
                  "  <CrossRefs>\n"
                  "    <CrossRefsItem PKID=\"1\" ElSrcType=\"9\" ElSrcRef=\"4\" ElTargetType=\"9\" ElTargetRef=\"5\""
                  " ElTargetCategoryRef=\"x\" ElTargetVariantRef=\"0\"/>\n"
                  "  </CrossRefs>\n"
                  "</CalvoraCatalog>\n"),
            (std::vector<Finding>{
                {FindingKind::kMissingValue, "Folders", 2, "Name=B, ParentFolderFKID=1", 4, 5, "PKID", "0",
                 "Item 2 of Folders has the PKID 0, which ends the import of Folders at this item."},
                {FindingKind::kMissingValue, "CrossRefs", 1, "ElSrcType=9, ElSrcRef=4, ElTargetType=9, ElTargetRef=5",
                 7, 5, "ElTargetCategoryRef", "x",
                 "Item 1 of CrossRefs has the ElTargetCategoryRef x, not a whole number, which ends the import of "
                 "CrossRefs at this item."},
            }));
}

}  // namespace
}  // namespace cvimp::check

namespace cvimp::check {
namespace {

TEST_F(CatalogCheck, ReferencesWhoseSectionATypeChooses) {
  EXPECT_EQ(
      Check("<CalvoraCatalog>\n"
            "  <ShipMethods><ShipMethodsItem PKID=\"1\" ID=\"post\"/></ShipMethods>\n"
            "  <ShipMethodZones><ShipMethodZonesItem PKID=\"2\" Name=\"DE\" ShipMethodFKID=\"1\"/></ShipMethodZones>\n"
            "  <ShipMethodCalculators>\n"
            "    <ShipMethodCalculatorsItem PKID=\"1\" RefType=\"0\" RefFKID=\"1\"/>\n"
            "    <ShipMethodCalculatorsItem PKID=\"2\" RefType=\"1\" RefFKID=\"1\"/>\n"
            "    <ShipMethodCalculatorsItem PKID=\"3\" RefType=\"1\" RefFKID=\"2\"/>\n"
            "  </ShipMethodCalculators>\n"
            "  <CrossRefs>\n"
            "    <CrossRefsItem PKID=\"1\" ElSrcType=\"0\" ElSrcRef=\"0\" ElTargetType=\"2\" ElTargetRef=\"1\""
            " ElTargetCategoryRef=\"0\" ElTargetVariantRef=\"0\"/>\n"
            "  </CrossRefs>\n"
            "</CalvoraCatalog>\n"),
      (std::vector<Finding>{
          {FindingKind::kUnresolvedReference, "ShipMethodCalculators", 2, "RefType=1, RefFKID=1", 6, 5, "RefFKID", "1",
           "Item 2 of ShipMethodCalculators refers through RefFKID (RefType 1) to the key 1, which no item of "
           "ShipMethodZones has."},
          {FindingKind::kUnresolvedReference, "CrossRefs", 1, "ElSrcType=0, ElSrcRef=0, ElTargetType=2, ElTargetRef=1",
           10, 5, "ElTargetRef", "1",
           "Item 1 of CrossRefs refers through ElTargetRef (ElTargetType 2) to the key 1, which no item of "
           "Products has."},
      }));
}

}  // namespace
}  // namespace cvimp::check

namespace cvimp::check {
namespace {

TEST_F(CatalogCheck, ALongLoopIsShownByItsFirstSteps) {
  std::string text = "<CalvoraCatalog><Categories>\n";
  for (int i = 1; i <= 20; ++i)
    text += "<CategoriesItem PKID=\"" + std::to_string(i) + "\" ID=\"c" + std::to_string(i) +
            "\" ParentCategoryFKID=\"" + std::to_string(i % 20 + 1) + "\"/>\n";
  text += "</Categories></CalvoraCatalog>\n";
  EXPECT_EQ(Check(text),
            (std::vector<Finding>{{FindingKind::kParentLoop, "Categories", 1, "c1", 2, 1, "ParentCategoryFKID", "2",
                                   "Item 1 of Categories is its own ancestor through ParentCategoryFKID, "
                                   "by the PKIDs 1 -> 2 -> 3 -> 4 -> 5 -> 6 -> 7 -> 8 -> ... (20 items) "
                                   "-> 1."}}));
}

}  // namespace
}  // namespace cvimp::check
