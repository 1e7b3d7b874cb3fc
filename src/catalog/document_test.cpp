#include "catalog/document.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/error.h"
#include "common/file_open.h"
#include "common/testing/raised_code.h"

namespace cvimp::catalog {
namespace {

using cvimp::testing::RaisedCode;

std::vector<std::string> Names(const NodeList& nodes) {
  std::vector<std::string> names;
  for (const Node& n : nodes) names.push_back(n.Name());
  return names;
}

std::vector<std::string> AttributeTexts(const NodeList& nodes, const std::string& attribute) {
  std::vector<std::string> texts;
  for (const Node& n : nodes) texts.push_back(n.AttributeText(attribute));
  return texts;
}

class TempFile {
 public:
  TempFile(const std::string& name, const std::string& bytes)
      : path_(std::filesystem::temp_directory_path() / PathFromUtf8("document_test_" + name)) {
    std::ofstream out(path_, std::ios::binary);
    out << bytes;
  }
  ~TempFile() { std::filesystem::remove(path_); }
  std::string path() const { return Utf8FromPath(path_); }

 private:
  std::filesystem::path path_;
};

const char* const kCatalog = R"(<?xml version="1.0" encoding="UTF-8"?>
<CalvoraCatalog>
  <Products>
    <ProductsItem PKID="15" Name="first">Long text</ProductsItem>
    <ProductsItem PKID="017" Name="padded"/>
    <ProductsItem PKID="15" Name="duplicate"/>
    <ProductsItem PKID=" 18 " Name="blanks"/>
  </Products>
  <PageData>
    <PageDataItem PKID="1" ElType="1" ElRef="15" Name="category page"/>
    <PageDataItem PKID="2" ElType="2" ElRef="15" Name="product page"/>
  </PageData>
  <Deep><Deeper><ProductsItem PKID="99" Name="nested"/></Deeper></Deep>
</CalvoraCatalog>
)";

class CatalogDocument : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(doc.LoadXml(kCatalog)) << doc.load_error().reason; }
  Document doc;
};

// ---- Loading ----------------------------------------------------------------------------------------------

TEST(DocumentLoad, NewDocumentIsEmpty) {
  Document doc;
  EXPECT_TRUE(doc.DocumentElement().empty());
  EXPECT_TRUE(doc.SelectNodes("//*").empty());
  EXPECT_EQ(doc.load_error().reason, "");
}

TEST(DocumentLoad, LoadXmlParsesTextAndClearsLoadError) {
  Document doc;
  ASSERT_FALSE(doc.LoadXml("<a>"));
  ASSERT_TRUE(doc.LoadXml("<Root><Child/></Root>"));
  EXPECT_EQ(doc.DocumentElement().Name(), "Root");
  EXPECT_EQ(doc.load_error().reason, "");
  EXPECT_EQ(doc.load_error().line, 0u);
  EXPECT_EQ(doc.load_error().column, 0u);
}

TEST(DocumentLoad, LoadReadsFile) {
  TempFile file("plain.xml", "<CalvoraCatalog><Currencies><CurrenciesItem PKID=\"1\"/></Currencies></CalvoraCatalog>");
  Document doc;
  ASSERT_TRUE(doc.Load(file.path()));
  EXPECT_EQ(doc.SelectNodes("CalvoraCatalog/Currencies/CurrenciesItem").size(), 1u);
}

TEST(DocumentLoad, LoadReadsAFileNamedOutsideAscii) {
  // "Katalog-ä€.xml": the path is UTF-8, whatever the system's own narrow encoding is.
  TempFile file("Katalog-\xC3\xA4\xE2\x82\xAC.xml",
                "<CalvoraCatalog><Currencies><CurrenciesItem PKID=\"7\"/></Currencies></CalvoraCatalog>");
  Document doc;
  ASSERT_TRUE(doc.Load(file.path())) << doc.load_error().reason;
  EXPECT_EQ(doc.SelectSingleNode("CalvoraCatalog/Currencies/CurrenciesItem").AttributeText("PKID"), "7");
  EXPECT_FALSE(doc.Load(file.path() + ".fehlt"));
  EXPECT_EQ(doc.load_error().reason, "File was not found");
}

TEST(DocumentLoad, LoadReplacesPreviousContent) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<First><A/></First>"));
  ASSERT_TRUE(doc.LoadXml("<Second/>"));
  EXPECT_EQ(doc.DocumentElement().Name(), "Second");
  EXPECT_TRUE(doc.SelectNodes("//A").empty());
}

TEST(DocumentLoad, MissingFileFailsWithReasonAndNoPosition) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<Old/>"));
  EXPECT_FALSE(doc.Load(::testing::TempDir() + "/document_test_does_not_exist.xml"));
  EXPECT_EQ(doc.load_error().reason, "File was not found");
  EXPECT_EQ(doc.load_error().line, 0u);
  EXPECT_EQ(doc.load_error().column, 0u);
  EXPECT_TRUE(doc.DocumentElement().empty());
}

TEST(DocumentLoad, DirectoryFailsAsUnreadable) {
  Document doc;
  EXPECT_FALSE(doc.Load(::testing::TempDir()));
  EXPECT_EQ(doc.load_error().reason, "Error reading from file/stream");
  EXPECT_TRUE(doc.DocumentElement().empty());
}

TEST(DocumentLoad, MismatchedTagReportsReasonLineAndColumn) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<Old/>"));
  EXPECT_FALSE(doc.LoadXml("<a>\n  <b>\n</a>"));
  EXPECT_EQ(doc.load_error().reason, "mismatched tag");
  EXPECT_EQ(doc.load_error().line, 3u);
  EXPECT_EQ(doc.load_error().column, 3u);
  // A failed load leaves nothing of the old or the partial content.
  EXPECT_TRUE(doc.DocumentElement().empty());
  EXPECT_TRUE(doc.SelectNodes("//*").empty());
}

TEST(DocumentLoad, FailedFileLoadReportsPosition) {
  TempFile file("broken.xml", "<CalvoraCatalog>\r\n<Products>\r\n</CalvoraCatalog>");
  Document doc;
  EXPECT_FALSE(doc.Load(file.path()));
  EXPECT_EQ(doc.load_error().reason, "mismatched tag");
  EXPECT_EQ(doc.load_error().line, 3u);
  EXPECT_EQ(doc.load_error().column, 3u);
}

TEST(DocumentLoad, ColumnCountsCharactersNotBytes) {
  Document doc;
  EXPECT_FALSE(doc.LoadXml("<a>\xC3\xA4\xC3\xA4<</a>"));
  EXPECT_EQ(doc.load_error().reason, "not well-formed (invalid token)");
  EXPECT_EQ(doc.load_error().line, 1u);
  EXPECT_EQ(doc.load_error().column, 7u);
}

TEST(DocumentLoad, EmptyTextHasNoDocumentElement) {
  Document doc;
  EXPECT_FALSE(doc.LoadXml(""));
  EXPECT_EQ(doc.load_error().reason, "no element found");
  EXPECT_EQ(doc.load_error().line, 1u);
  EXPECT_EQ(doc.load_error().column, 1u);
}

TEST(DocumentLoad, BlanksOnlyHaveNoDocumentElement) {
  Document doc;
  EXPECT_FALSE(doc.LoadXml("  \n  <!-- only a comment -->"));
  EXPECT_EQ(doc.load_error().reason, "no element found");
  EXPECT_EQ(doc.load_error().line, 2u);
  EXPECT_EQ(doc.load_error().column, 26u);
}

TEST(DocumentLoad, SecondDocumentElementIsRefused) {
  Document doc;
  EXPECT_FALSE(doc.LoadXml("<a/>\n <b/>"));
  EXPECT_EQ(doc.load_error().reason, "junk after document element");
  EXPECT_EQ(doc.load_error().line, 2u);
  EXPECT_EQ(doc.load_error().column, 2u);
  EXPECT_TRUE(doc.DocumentElement().empty());
}

TEST(DocumentLoad, TextOutsideDocumentElementIsRefused) {
  Document doc;
  EXPECT_FALSE(doc.LoadXml("<a/>junk"));
  EXPECT_EQ(doc.load_error().reason, "junk after document element");
  EXPECT_EQ(doc.load_error().line, 1u);
  EXPECT_EQ(doc.load_error().column, 5u);

  EXPECT_FALSE(doc.LoadXml("<![CDATA[x]]><a/>"));
  EXPECT_EQ(doc.load_error().reason, "syntax error");
  EXPECT_EQ(doc.load_error().column, 1u);
}

TEST(DocumentLoad, DuplicateAttributeIsRefused) {
  Document doc;
  EXPECT_FALSE(doc.LoadXml("<r>\n <i x=\"1\" y=\"2\" x=\"3\"/></r>"));
  EXPECT_EQ(doc.load_error().reason, "duplicate attribute");
  EXPECT_EQ(doc.load_error().line, 2u);
  EXPECT_EQ(doc.load_error().column, 17u);  // the repeated name
}

TEST(DocumentLoad, DeclarationDoctypeCommentsAndProcessingInstructionsAroundRootAreAccepted) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<?xml version=\"1.0\"?>\n<!DOCTYPE r>\n<!-- before -->\n<?app x?>\n<r/>\n<!-- after -->\n"))
      << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().Name(), "r");
}

TEST(DocumentLoad, Latin1FileIsReadAsUtf8) {
  TempFile file("latin1.xml", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r Name=\"Gr\xFC\xDF\x65\"/>");
  Document doc;
  ASSERT_TRUE(doc.Load(file.path())) << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"),
            "Gr\xC3\xBC\xC3\x9F"
            "e");
}

TEST(DocumentLoad, Latin1FileErrorColumnCountsCharacters) {
  TempFile file("latin1_broken.xml", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<r>\xE4\xE4<</r>");
  Document doc;
  EXPECT_FALSE(doc.Load(file.path()));
  EXPECT_EQ(doc.load_error().reason, "not well-formed (invalid token)");
  EXPECT_EQ(doc.load_error().line, 2u);
  EXPECT_EQ(doc.load_error().column, 7u);
}

TEST(DocumentLoad, Utf16FileWithByteOrderMarkLoads) {
  const std::string text = "<r Name=\"x\xE4\"/>";
  std::string bytes = "\xFF\xFE";
  for (char c : text) bytes += std::string{c, '\0'};
  TempFile file("utf16.xml", bytes);
  Document doc;
  ASSERT_TRUE(doc.Load(file.path())) << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"), "x\xC3\xA4");
}

TEST(DocumentLoad, Utf16FileErrorPositionIgnoresByteOrderMark) {
  const std::string text = "<a>\n</b>";
  std::string bytes = "\xFF\xFE";
  for (char c : text) bytes += std::string{c, '\0'};
  TempFile file("utf16_broken.xml", bytes);
  Document doc;
  EXPECT_FALSE(doc.Load(file.path()));
  EXPECT_EQ(doc.load_error().reason, "mismatched tag");
  EXPECT_EQ(doc.load_error().line, 2u);
  EXPECT_EQ(doc.load_error().column, 3u);
}

TEST(DocumentLoad, Utf8ByteOrderMarkIsNotAColumn) {
  Document doc;
  EXPECT_FALSE(doc.LoadXml("\xEF\xBB\xBF<a></b>"));
  EXPECT_EQ(doc.load_error().line, 1u);
  EXPECT_EQ(doc.load_error().column, 6u);
}

// ---- Document element and child nodes -----------------------------------------------------------------------

TEST(DocumentChildNodes, EmptyRootHasNoChildNodes) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<CalvoraCatalog/>"));
  EXPECT_EQ(doc.DocumentElement().ChildNodes().size(), 0u);
}

TEST(DocumentChildNodes, RootWithOnlyBlanksAndLineBreaksHasNoChildNodes) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<CalvoraCatalog>\n  \t\r\n   </CalvoraCatalog>"));
  EXPECT_EQ(doc.DocumentElement().ChildNodes().size(), 0u);
}

TEST(DocumentChildNodes, RootWithUnknownSectionHasChildNodes) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<CalvoraCatalog>\n  <Unknown/>\n</CalvoraCatalog>"));
  EXPECT_EQ(Names(doc.DocumentElement().ChildNodes()), std::vector<std::string>{"Unknown"});
}

TEST(DocumentChildNodes, TextCdataCommentsAndProcessingInstructionsAreChildNodes) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r>text<![CDATA[cd]]>\n  <!-- note -->\n  <?app data?>\n  <e/><![CDATA[ ]]></r>"));
  EXPECT_EQ(Names(doc.DocumentElement().ChildNodes()),
            (std::vector<std::string>{"#text", "#cdata-section", "#comment", "app", "e", "#cdata-section"}));
}

TEST(DocumentChildNodes, AttributesAndTextHaveNoChildNodes) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r a=\"1\">text</r>"));
  EXPECT_TRUE(doc.SelectSingleNode("r/@a").ChildNodes().empty());
  EXPECT_TRUE(doc.SelectSingleNode("r/text()").ChildNodes().empty());
}

TEST(DocumentChildNodes, RootOfAnotherNameLoadsButSectionsAreEmpty) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<OtherCatalog><Products><ProductsItem PKID=\"1\"/></Products></OtherCatalog>"));
  EXPECT_EQ(doc.DocumentElement().Name(), "OtherCatalog");
  EXPECT_EQ(doc.DocumentElement().ChildNodes().size(), 1u);
  EXPECT_TRUE(doc.SelectNodes("CalvoraCatalog/Products/ProductsItem").empty());
  EXPECT_TRUE(doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@PKID=1]").empty());
  EXPECT_TRUE(doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@PKID='1']").empty());
}

TEST(DocumentChildNodes, NodeNamesFollowTheDom) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r a=\"1\">t<![CDATA[c]]><!--m--><?app d?></r>"));
  EXPECT_EQ(doc.SelectSingleNode("/").Name(), "#document");
  EXPECT_EQ(doc.SelectSingleNode("r").Name(), "r");
  EXPECT_EQ(doc.SelectSingleNode("r/@a").Name(), "a");
  EXPECT_EQ(Names(doc.SelectNodes("r/node()")),
            (std::vector<std::string>{"#text", "#cdata-section", "#comment", "app"}));
}

// ---- Selections ----------------------------------------------------------------------------------------------

TEST_F(CatalogDocument, SectionItemsComeInDocumentOrder) {
  NodeList items = doc.SelectNodes("CalvoraCatalog/Products/ProductsItem");
  EXPECT_EQ(AttributeTexts(items, "Name"), (std::vector<std::string>{"first", "padded", "duplicate", "blanks"}));
}

TEST_F(CatalogDocument, MissingSectionSelectsNothing) {
  EXPECT_TRUE(doc.SelectNodes("CalvoraCatalog/Currencies/CurrenciesItem").empty());
}

TEST_F(CatalogDocument, UnquotedPredicateComparesNumbers) {
  EXPECT_EQ(AttributeTexts(doc.SelectNodes("CalvoraCatalog/Products/ProductsItem[@PKID=17]"), "Name"),
            std::vector<std::string>{"padded"});
  EXPECT_EQ(AttributeTexts(doc.SelectNodes("CalvoraCatalog/Products/ProductsItem[@PKID=18]"), "Name"),
            std::vector<std::string>{"blanks"});
}

TEST_F(CatalogDocument, QuotedPredicateComparesText) {
  EXPECT_TRUE(doc.SelectNodes("CalvoraCatalog/Products/ProductsItem[@PKID='17']").empty());
  EXPECT_TRUE(doc.SelectNodes("CalvoraCatalog/Products/ProductsItem[@PKID='18']").empty());
  EXPECT_EQ(AttributeTexts(doc.SelectNodes("CalvoraCatalog/Products/ProductsItem[@PKID='017']"), "Name"),
            std::vector<std::string>{"padded"});
}

TEST_F(CatalogDocument, DuplicatePkidFindsFirstInDocumentOrder) {
  EXPECT_EQ(doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@PKID=15]").AttributeText("Name"), "first");
  EXPECT_EQ(doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@PKID='15']").AttributeText("Name"), "first");
  EXPECT_EQ(doc.SelectNodes("CalvoraCatalog/Products/ProductsItem[@PKID=15]").size(), 2u);
}

TEST_F(CatalogDocument, DescendantFormFindsItemsAnywhere) {
  EXPECT_EQ(doc.SelectSingleNode("//ProductsItem[@PKID='15']").AttributeText("Name"), "first");
  EXPECT_EQ(doc.SelectSingleNode("//ProductsItem[@PKID='99']").AttributeText("Name"), "nested");
  EXPECT_EQ(doc.SelectNodes("//ProductsItem").size(), 5u);
}

TEST_F(CatalogDocument, PageDataFormMatchesBothConditions) {
  EXPECT_EQ(
      doc.SelectSingleNode("CalvoraCatalog/PageData/PageDataItem[@ElType='2' and @ElRef='15']").AttributeText("Name"),
      "product page");
  EXPECT_TRUE(doc.SelectSingleNode("CalvoraCatalog/PageData/PageDataItem[@ElType='0' and @ElRef='15']").empty());
}

TEST_F(CatalogDocument, SelectSingleNodeGivesEmptyNodeWhenNothingMatches) {
  Node none = doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@PKID=12345]");
  EXPECT_TRUE(none.empty());
  EXPECT_FALSE(static_cast<bool>(none));
}

TEST_F(CatalogDocument, SelectionsRelativeToANode) {
  Node products = doc.SelectSingleNode("CalvoraCatalog/Products");
  EXPECT_EQ(products.SelectNodes("ProductsItem").size(), 4u);
  EXPECT_EQ(products.SelectSingleNode("ProductsItem[@PKID=17]").AttributeText("Name"), "padded");
  EXPECT_TRUE(products.SelectNodes("CalvoraCatalog/Products/ProductsItem").empty());
  EXPECT_EQ(products.SelectSingleNode("..").Name(), "CalvoraCatalog");
  EXPECT_EQ(products.SelectSingleNode("/").Name(), "#document");
}

TEST_F(CatalogDocument, SelectionsRelativeToAnAttribute) {
  Node pkid = doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem/@PKID");
  ASSERT_FALSE(pkid.empty());
  EXPECT_FALSE(pkid.is_element());
  EXPECT_EQ(pkid.SelectSingleNode("..").AttributeText("Name"), "first");
}

TEST_F(CatalogDocument, UnionComesInDocumentOrder) {
  EXPECT_EQ(Names(doc.SelectNodes("CalvoraCatalog/Deep | CalvoraCatalog/PageData | CalvoraCatalog/Products")),
            (std::vector<std::string>{"Products", "PageData", "Deep"}));
}

TEST_F(CatalogDocument, InvalidXPathRaisesInvalidArgument) {
  EXPECT_EQ(RaisedCode([&] { doc.SelectNodes("CalvoraCatalog/Products/ProductsItem[@PKID="); }),
            ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { doc.SelectSingleNode("]"); }), ErrorCode::kInvalidArgument);
  Node root = doc.DocumentElement();
  EXPECT_EQ(RaisedCode([&] { root.SelectNodes(""); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { root.SelectSingleNode("Products["); }), ErrorCode::kInvalidArgument);
}

TEST_F(CatalogDocument, ExpressionThatIsNoNodeSetRaisesInvalidArgument) {
  EXPECT_EQ(RaisedCode([&] { doc.SelectNodes("count(//ProductsItem)"); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { doc.DocumentElement().SelectSingleNode("'text'"); }), ErrorCode::kInvalidArgument);
}

// ---- Attributes ------------------------------------------------------------------------------------------------

TEST(DocumentAttributes, GetAttributeGivesTextOrNull) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r PKID=\"5\" Empty=\"\"/>"));
  Node r = doc.DocumentElement();
  EXPECT_EQ(r.GetAttribute("PKID"), Value("5"));
  EXPECT_EQ(r.GetAttribute("Empty"), Value(""));
  EXPECT_TRUE(r.GetAttribute("Missing").is_null());
  EXPECT_TRUE(r.GetAttribute("pkid").is_null());  // names are case-sensitive
  EXPECT_TRUE(r.GetAttribute("PKI").is_null());
  EXPECT_TRUE(r.GetAttribute("PKIDX").is_null());
  EXPECT_TRUE(r.GetAttribute("").is_null());
  // A name ends at a NUL, as a C string does.
  EXPECT_EQ(r.GetAttribute(std::string_view("PKID\0x", 6)), Value("5"));
  EXPECT_EQ(r.AttributeText(std::string_view("Empty\0", 6)), "");
}

TEST(DocumentAttributes, GetAttributeOfANonElementIsNull) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r a=\"1\">t</r>"));
  EXPECT_TRUE(doc.SelectSingleNode("r/@a").GetAttribute("a").is_null());
  EXPECT_TRUE(doc.SelectSingleNode("r/text()").GetAttribute("a").is_null());
}

TEST(DocumentAttributes, AttributeTextOfPresentAndEmptyAttributes) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r Name=\" A &amp; B \" Empty=\"\"/>"));
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"), " A & B ");
  EXPECT_EQ(doc.DocumentElement().AttributeText("Empty"), "");
}

TEST(DocumentAttributes, AttributeTextOfMissingAttributeRaisesObjectRequired) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r a=\"1\"/>"));
  EXPECT_EQ(RaisedCode([&] { doc.DocumentElement().AttributeText("b"); }), ErrorCode::kObjectRequired);
  EXPECT_EQ(RaisedCode([&] { doc.SelectSingleNode("r/@a").AttributeText("a"); }), ErrorCode::kObjectRequired);
}

TEST(DocumentAttributes, SetAttributeAddsANewAttributeThatSelectionsSee) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<CalvoraCatalog><Products><ProductsItem PKID=\"15\"/></Products></CalvoraCatalog>"));
  Node item = doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@PKID=15]");
  item.SetAttribute("NewPKID", Value(std::int32_t{4711}));
  EXPECT_EQ(doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@PKID=15]").AttributeText("NewPKID"), "4711");
  EXPECT_FALSE(doc.SelectSingleNode("//ProductsItem[@NewPKID=4711]").empty());
}

TEST(DocumentAttributes, SetAttributeReplacesAnExistingValue) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r a=\"old\" b=\"2\"/>"));
  Node r = doc.DocumentElement();
  r.SetAttribute("a", Value("new"));
  EXPECT_EQ(r.AttributeText("a"), "new");
  EXPECT_EQ(doc.SelectNodes("r/@*").size(), 2u);
}

TEST(DocumentAttributes, SetAttributeWritesValuesAsText) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r/>"));
  Node r = doc.DocumentElement();
  r.SetAttribute("null", Value());
  r.SetAttribute("text", Value("abc"));
  r.SetAttribute("small", Value(std::int16_t{-7}));
  r.SetAttribute("long", Value(std::int32_t{123}));
  r.SetAttribute("big", Value(std::int64_t{9007199254740993}));
  r.SetAttribute("double", Value(12.5));
  r.SetAttribute("tiny", Value(0.000015));
  r.SetAttribute("yes", Value(true));
  EXPECT_EQ(r.GetAttribute("null"), Value(""));
  EXPECT_EQ(r.AttributeText("text"), "abc");
  EXPECT_EQ(r.AttributeText("small"), "-7");
  EXPECT_EQ(r.AttributeText("long"), "123");
  EXPECT_EQ(r.AttributeText("big"), "9007199254740993");
  EXPECT_EQ(r.AttributeText("double"), "12.5");
  EXPECT_EQ(r.AttributeText("tiny"), "1.5E-05");
  EXPECT_EQ(r.AttributeText("yes"), "True");
}

TEST(DocumentAttributes, SetAttributeWithAnInvalidNameRaisesInvalidArgument) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r/>"));
  Node r = doc.DocumentElement();
  EXPECT_EQ(RaisedCode([&] { r.SetAttribute("", Value("x")); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { r.SetAttribute("1st", Value("x")); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { r.SetAttribute("a b", Value("x")); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(doc.SelectNodes("r/@*").size(), 0u);
}

TEST(DocumentAttributes, SetAttributeOnANonElementRaisesInvalidArgument) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r a=\"1\">t</r>"));
  Node a = doc.SelectSingleNode("r/@a");
  EXPECT_EQ(RaisedCode([&] { a.SetAttribute("b", Value("x")); }), ErrorCode::kInvalidArgument);
  Node t = doc.SelectSingleNode("r/text()");
  EXPECT_EQ(RaisedCode([&] { t.SetAttribute("b", Value("x")); }), ErrorCode::kInvalidArgument);
}

// ---- Node values and text --------------------------------------------------------------------------------------

TEST(DocumentNodeValue, FollowsTheDom) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r a=\" v \"> t <![CDATA[ c ]]><!-- m --><?app d?></r>"));
  EXPECT_TRUE(doc.SelectSingleNode("r").NodeValue().is_null());
  EXPECT_TRUE(doc.SelectSingleNode("/").NodeValue().is_null());
  EXPECT_EQ(doc.SelectSingleNode("r/@a").NodeValue(), Value(" v "));
  EXPECT_EQ(doc.SelectSingleNode("r/text()").NodeValue(), Value(" t "));
  NodeList children = doc.DocumentElement().ChildNodes();
  ASSERT_EQ(children.size(), 4u);
  EXPECT_EQ(children[1].NodeValue(), Value(" c "));
  EXPECT_EQ(children[2].NodeValue(), Value(" m "));
  EXPECT_EQ(children[3].NodeValue(), Value("d"));
}

TEST(DocumentText, ConcatenatesDescendantTextAndCdataAndTrimsTheEnds) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<a>\n\t x<b>y</b><![CDATA[ z ]]><!-- not text --><?app nor this?> w \r\n</a>"));
  EXPECT_EQ(doc.DocumentElement().Text(), "xy z  w");
}

TEST(DocumentText, TrimsOnlySpacesTabsAndLineBreaks) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<a>\xC2\xA0x\xC2\xA0</a>"));
  EXPECT_EQ(doc.DocumentElement().Text(), "\xC2\xA0x\xC2\xA0");
}

TEST(DocumentText, EntitiesAreResolved) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<a>&lt;p&gt; &amp; &#228;</a>"));
  EXPECT_EQ(doc.DocumentElement().Text(), "<p> & \xC3\xA4");
}

TEST(DocumentText, ElementWithoutTextHasEmptyText) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<a><b/><![CDATA[  ]]></a>"));
  EXPECT_EQ(doc.DocumentElement().Text(), "");
  EXPECT_EQ(doc.DocumentElement().ChildNodes().size(), 2u);
}

TEST(DocumentText, TextOfAttributeIsItsValueAndOfDocumentIsAllText) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<r a=\" v \"><x> one </x><y>two </y></r>"));
  EXPECT_EQ(doc.SelectSingleNode("r/@a").Text(), " v ");
  EXPECT_EQ(doc.SelectSingleNode("/").Text(), "one two");
  EXPECT_EQ(doc.SelectSingleNode("r/x/text()").Text(), "one");
}

TEST(DocumentText, DeeplyNestedElementsAreWalkedWithoutRecursion) {
  constexpr int kDepth = 200000;
  std::string xml;
  for (int i = 0; i < kDepth; ++i) xml += "<a x=\"1\">";
  xml += " deep ";
  for (int i = 0; i < kDepth; ++i) xml += "</a>";
  Document doc;
  ASSERT_TRUE(doc.LoadXml(xml)) << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().Text(), "deep");
}

TEST_F(CatalogDocument, ProductTextIsItsLongDescription) {
  EXPECT_EQ(doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@PKID=15]").Text(), "Long text");
}

// ---- The empty node --------------------------------------------------------------------------------------------

TEST(DocumentEmptyNode, TestsWorkAndEveryOperationRaisesObjectRequired) {
  Node none;
  EXPECT_TRUE(none.empty());
  EXPECT_FALSE(static_cast<bool>(none));
  EXPECT_FALSE(none.is_element());
  const ErrorCode required = ErrorCode::kObjectRequired;
  EXPECT_EQ(RaisedCode([&] { none.Name(); }), required);
  EXPECT_EQ(RaisedCode([&] { none.ChildNodes(); }), required);
  EXPECT_EQ(RaisedCode([&] { none.SelectNodes("*"); }), required);
  EXPECT_EQ(RaisedCode([&] { none.SelectSingleNode("*"); }), required);
  EXPECT_EQ(RaisedCode([&] { none.SelectSingleNode("[invalid"); }), required);
  EXPECT_EQ(RaisedCode([&] { none.GetAttribute("a"); }), required);
  EXPECT_EQ(RaisedCode([&] { none.AttributeText("a"); }), required);
  EXPECT_EQ(RaisedCode([&] { none.SetAttribute("a", Value("1")); }), required);
  EXPECT_EQ(RaisedCode([&] { none.NodeValue(); }), required);
  EXPECT_EQ(RaisedCode([&] { none.Text(); }), required);
}

TEST(DocumentEmptyNode, DocumentElementOfAFailedLoadIsEmpty) {
  Document doc;
  ASSERT_FALSE(doc.LoadXml("<CalvoraCatalog>"));
  EXPECT_EQ(RaisedCode([&] { doc.DocumentElement().ChildNodes(); }), ErrorCode::kObjectRequired);
}

// ---- Lines of elements ----------------------------------------------------------------------------------

std::vector<std::size_t> ProductLines(const Document& doc) {
  std::vector<std::size_t> lines;
  for (const Node& item : doc.SectionItems("Products")) lines.push_back(doc.LineOf(item));
  return lines;
}

TEST(DocumentLines, LoadXmlGivesTheLineOfEachElementsStartTag) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml(kCatalog));
  EXPECT_EQ(ProductLines(doc), (std::vector<std::size_t>{4, 5, 6, 7}));
  EXPECT_EQ(doc.LineOf(doc.DocumentElement()), 2u);
  EXPECT_EQ(doc.LineOf(Node()), 0u);
}

TEST(DocumentLines, AFileCountsCrLfAndLoneCrAsOneLineEnd) {
  TempFile file("lines_crlf.xml",
                "<CalvoraCatalog>\r\n<Products>\r<ProductsItem PKID=\"1\"/>\r\n\r\n<ProductsItem PKID=\"2\"\r\n"
                "/><ProductsItem PKID=\"3\"/></Products></CalvoraCatalog>");
  Document doc;
  ASSERT_TRUE(doc.Load(file.path())) << doc.load_error().reason;
  EXPECT_EQ(ProductLines(doc), (std::vector<std::size_t>{3, 5, 6}));
}

TEST(DocumentLines, AUtf16FileCountsLinesInItsCharacters) {
  const std::string text =
      "<CalvoraCatalog>\n<Products>\n<ProductsItem Name=\"\xE4\"/>\n<ProductsItem/>\n"
      "</Products></CalvoraCatalog>";
  std::string bytes = "\xFF\xFE";
  for (char c : text) bytes += std::string{c, '\0'};
  TempFile file("lines_utf16.xml", bytes);
  Document doc;
  ASSERT_TRUE(doc.Load(file.path())) << doc.load_error().reason;
  EXPECT_EQ(ProductLines(doc), (std::vector<std::size_t>{3, 4}));
}

TEST(DocumentLines, ADocumentBuiltFromItsInternalSubsetHasNoLines) {
  Document doc;
  ASSERT_TRUE(
      doc.LoadXml("<!DOCTYPE CalvoraCatalog [<!ENTITY e \"x\">]>\n<CalvoraCatalog>\n<Products>\n"
                  "<ProductsItem Name=\"&e;\"/>\n</Products></CalvoraCatalog>"));
  EXPECT_EQ(ProductLines(doc), (std::vector<std::size_t>{0}));
}

TEST(DocumentLines, AnotherLoadForgetsTheLinesOfThePreviousText) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml(kCatalog));
  EXPECT_EQ(ProductLines(doc).front(), 4u);
  ASSERT_TRUE(doc.LoadXml("<CalvoraCatalog><Products><ProductsItem/></Products></CalvoraCatalog>"));
  EXPECT_EQ(ProductLines(doc), (std::vector<std::size_t>{1}));
}

}  // namespace
}  // namespace cvimp::catalog
