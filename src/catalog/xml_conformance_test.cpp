#include "catalog/xml_conformance.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "catalog/document.h"
#include "catalog/testing/catalog_files.h"

namespace cvimp::catalog {
namespace {

using testing::EntityBombInAttribute;
using testing::EntityBombInText;
using testing::Failure;
using testing::Folder;
using testing::kAmplificationReason;
using testing::LoadFailure;

// UTF-8 text as UTF-16 (with a byte order mark, as the files that carry UTF-16 have one).
std::string Utf16(const std::string& utf8, bool little_endian) {
  std::vector<char32_t> code_points;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto b = static_cast<unsigned char>(utf8[i]);
    const int length = b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
    char32_t cp = length == 1 ? b : b & (0x7F >> length);
    for (int k = 1; k < length; ++k) cp = cp << 6 | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
    code_points.push_back(cp);
    i += length;
  }
  std::string out;
  auto put = [&](char32_t unit) {
    const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
    out += little_endian ? std::string{low, high} : std::string{high, low};
  };
  put(0xFEFF);
  for (char32_t cp : code_points) {
    if (cp >= 0x10000) {
      put(0xD800 + ((cp - 0x10000) >> 10));
      put(0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      put(cp);
    }
  }
  return out;
}

// The document as its API shows it: every node in document order, with its name, value and attributes.
void Dump(const Node& node, int depth, std::string& out) {
  out += std::string(2 * depth, ' ') + node.Name();
  if (const Value value = node.NodeValue(); !value.is_null()) out += " [" + TextForm(value) + "]";
  if (node.is_element()) {
    for (const Node& a : node.SelectNodes("@*")) out += " " + a.Name() + "=[" + a.Text() + "]";
  }
  out += "\n";
  for (const Node& child : node.ChildNodes()) Dump(child, depth + 1, out);
}

std::string Dump(const Document& doc) {
  std::string out;
  Dump(doc.SelectSingleNode("/"), 0, out);
  return out;
}

// ---- Refused: what XML forbids ---------------------------------------------------------------------------

TEST(CatalogConformance, CharacterReferenceToNulIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog>\n  <Currencies Name=\"a&#0;b\"/>\n</CalvoraCatalog>"),
            (Failure{"reference to invalid character number", 2, 22}));
}

TEST(CatalogConformance, CharacterReferenceToSurrogateIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog>\n<Currencies>&#xD800;</Currencies></CalvoraCatalog>"),
            (Failure{"reference to invalid character number", 2, 13}));
}

TEST(CatalogConformance, CharacterReferenceBeyondUnicodeIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog><Currencies>x&#x110000;</Currencies></CalvoraCatalog>"),
            (Failure{"reference to invalid character number", 1, 30}));
}

TEST(CatalogConformance, RawControlCharacterIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog>\n <Currencies Name=\"a\x01\"/></CalvoraCatalog>"),
            (Failure{"not well-formed (invalid token)", 2, 21}));
}

TEST(CatalogConformance, BytesInvalidInUtf8AreRefused) {
  Folder folder;
  EXPECT_EQ(
      LoadFailure(folder, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<CalvoraCatalog>\xC3\x28</CalvoraCatalog>"),
      (Failure{"not well-formed (invalid token)", 2, 17}));
}

TEST(CatalogConformance, Latin1BytesInAFileWithoutDeclarationAreRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog Name=\"Gr\xFC\xDF\x65\"/>"),
            (Failure{"not well-formed (invalid token)", 1, 25}));
}

TEST(CatalogConformance, UndefinedEntityIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog>\n  <Currencies>&euro;</Currencies>\n</CalvoraCatalog>"),
            (Failure{"undefined entity", 2, 15}));
  // In an attribute value the parser places the fault at the start of the tag.
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog>\n <Currencies Name=\"&euro;\"/></CalvoraCatalog>"),
            (Failure{"undefined entity", 2, 2}));
}

TEST(CatalogConformance, LessThanInAttributeValueIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog>\n<Currencies Name=\"a<b\"/></CalvoraCatalog>"),
            (Failure{"not well-formed (invalid token)", 2, 20}));
}

TEST(CatalogConformance, DuplicateAttributeIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog>\n<Currencies PKID=\"1\" Name=\"a\" PKID=\"2\"/></CalvoraCatalog>"),
            (Failure{"duplicate attribute", 2, 31}));
}

TEST(CatalogConformance, SecondRootIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog><Currencies/></CalvoraCatalog>\n<CalvoraCatalog/>"),
            (Failure{"junk after document element", 2, 1}));
}

TEST(CatalogConformance, TextAfterRootIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog><Currencies/></CalvoraCatalog>\n  trailing text"),
            (Failure{"junk after document element", 2, 3}));
}

TEST(CatalogConformance, UnknownEncodingIsRefusedWithTheParsersReason) {
  Folder folder;
  EXPECT_EQ(
      LoadFailure(folder, "<?xml version=\"1.0\" encoding=\"windows-1252\"?><CalvoraCatalog><a/></CalvoraCatalog>"),
      (Failure{"unknown encoding", 1, 31}));
  // pugixml would take this name for ISO-8859-1; XML knows no such encoding name.
  EXPECT_EQ(LoadFailure(folder, "<?xml version=\"1.0\" encoding=\"latin1\"?><CalvoraCatalog><a/></CalvoraCatalog>"),
            (Failure{"unknown encoding", 1, 31}));
}

TEST(CatalogConformance, Utf8ByteOrderMarkWithLatin1DeclarationIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder,
                        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><CalvoraCatalog "
                        "Name=\"\xC3\xA4\"/>"),
            (Failure{"the encoding declaration (ISO-8859-1) contradicts the byte order mark (UTF-8)", 1, 1}));
}

TEST(CatalogConformance, Utf16DeclarationInAUtf8FileIsRefused) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, "<?xml version=\"1.0\" encoding=\"UTF-16\"?><CalvoraCatalog><a/></CalvoraCatalog>"),
            (Failure{"encoding specified in XML declaration is incorrect", 1, 31}));
}

TEST(CatalogConformance, ColumnCountsCharactersOfAUtf8Line) {
  Folder folder;
  // Twelve characters (four of them two bytes long) before the reference.
  EXPECT_EQ(
      LoadFailure(folder, "<CalvoraCatalog>\n<a b=\"\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F\">&#1;</a></CalvoraCatalog>"),
      (Failure{"reference to invalid character number", 2, 13}));
  // A character beyond the basic plane is one column too.
  EXPECT_EQ(LoadFailure(folder, "<CalvoraCatalog>\xF0\x9F\x98\x80&#1;</CalvoraCatalog>"),
            (Failure{"reference to invalid character number", 1, 18}));
}

TEST(CatalogConformance, PositionInAUtf16FileCountsCharactersAndNotTheByteOrderMark) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder, Utf16("<CalvoraCatalog>\xC3\xA4&#0;</CalvoraCatalog>", true)),
            (Failure{"reference to invalid character number", 1, 18}));
  EXPECT_EQ(LoadFailure(folder, Utf16("<CalvoraCatalog>\n\xC3\xA4&#0;</CalvoraCatalog>", false)),
            (Failure{"reference to invalid character number", 2, 2}));
}

// ---- Refused: what is never read ---------------------------------------------------------------------------

TEST(CatalogConformance, ExternalEntityIsNeverRead) {
  Folder folder;
  folder.Write("currencies.xml", "<Currencies><CurrenciesItem PKID=\"1\"/></Currencies>");
  EXPECT_EQ(LoadFailure(folder,
                        "<!DOCTYPE CalvoraCatalog [\n"
                        "  <!ENTITY currencies SYSTEM \"currencies.xml\">\n"
                        "]>\n"
                        "<CalvoraCatalog>\n"
                        "  &currencies;\n"
                        "</CalvoraCatalog>"),
            (Failure{"error in processing external entity reference", 5, 3}));
}

TEST(CatalogConformance, EntityDeclaredOnlyInTheExternalDtdIsRefused) {
  Folder folder;
  // The DTD lies beside the catalogue and declares the entity; it is not read.
  folder.Write("catalog.dtd", "<!ENTITY euro \"EUR\">");
  EXPECT_EQ(LoadFailure(folder,
                        "<!DOCTYPE CalvoraCatalog SYSTEM \"catalog.dtd\">\n"
                        "<CalvoraCatalog>\n"
                        "  <Currencies>&euro;</Currencies>\n"
                        "</CalvoraCatalog>"),
            (Failure{"reference to entity 'euro', which is not declared in the document (declarations in an "
                     "external DTD are not read)",
                     3, 15}));
}

TEST(CatalogConformance, EntityDeclaredOnlyInTheExternalDtdIsRefusedInAnAttributeValue) {
  Folder folder;
  folder.Write("catalog.dtd", "<!ENTITY euro \"EUR\">");
  // The parser would drop the reference from the value without a word.
  EXPECT_EQ(LoadFailure(folder,
                        "<!DOCTYPE CalvoraCatalog SYSTEM \"catalog.dtd\">\n"
                        "<CalvoraCatalog>\n"
                        "  <Currencies ISOCode=\"x\"\n"
                        "     Name=\"1 &euro;\"/>\n"
                        "</CalvoraCatalog>"),
            (Failure{"reference to entity 'euro', which is not declared in the document (declarations in an "
                     "external DTD are not read)",
                     4, 14}));
}

TEST(CatalogConformance, EntityDeclaredOnlyInTheExternalDtdIsRefusedInAnEntityValue) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder,
                        "<!DOCTYPE CalvoraCatalog SYSTEM \"catalog.dtd\" [\n"
                        "  <!ENTITY item \"<CurrenciesItem Name='&#38;euro;'/>\">\n"
                        "]>\n"
                        "<CalvoraCatalog>&item;</CalvoraCatalog>"),
            (Failure{"the entity 'item' contains a reference to entity 'euro', which is not declared in the "
                     "document (declarations in an external DTD are not read)",
                     4, 1}));
}

TEST(CatalogConformance, EntityDeclaredOnlyInTheExternalDtdIsRefusedInADefaultValue) {
  Folder folder;
  EXPECT_EQ(LoadFailure(folder,
                        "<!DOCTYPE CalvoraCatalog SYSTEM \"catalog.dtd\" [\n"
                        "  <!ATTLIST CurrenciesItem Name CDATA \"&euro;\">\n"
                        "]>\n"
                        "<CalvoraCatalog><CurrenciesItem/></CalvoraCatalog>"),
            (Failure{"reference to entity 'euro', which is not declared in the document (declarations in an "
                     "external DTD are not read)",
                     2, 40}));
}

TEST(CatalogConformance, EntityDeclaredAfterAnUnreadParameterEntityIsRefused) {
  Folder folder;
  folder.Write("more.dtd", "<!ENTITY euro \"EUR\">");
  // Declarations after a parameter entity that is not read are not processed, as XML prescribes.
  EXPECT_EQ(LoadFailure(folder,
                        "<!DOCTYPE CalvoraCatalog [\n"
                        "  <!ENTITY % more SYSTEM \"more.dtd\">\n"
                        "  %more;\n"
                        "  <!ENTITY name \"Euro\">\n"
                        "]>\n"
                        "<CalvoraCatalog><a>&name;</a></CalvoraCatalog>"),
            (Failure{"reference to entity 'name', which is not declared in the document (declarations in an "
                     "external DTD are not read)",
                     6, 20}));
}

TEST(CatalogConformance, ExternalDtdIsNotReadButDoesNotStopALoad) {
  Folder folder;
  folder.Write("catalog.dtd", "<!ATTLIST Currencies Default CDATA \"from the DTD\">");
  Document doc;
  ASSERT_TRUE(doc.Load(folder.Write("catalog.xml",
                                    "<!DOCTYPE CalvoraCatalog SYSTEM \"catalog.dtd\">\n"
                                    "<CalvoraCatalog><Currencies Name=\"&amp;\"/></CalvoraCatalog>")))
      << doc.load_error().reason;
  EXPECT_EQ(doc.SelectSingleNode("CalvoraCatalog/Currencies").AttributeText("Name"), "&");
  EXPECT_TRUE(doc.SelectSingleNode("CalvoraCatalog/Currencies/@Default").empty());
}

TEST(CatalogConformance, EntityBombFailsFast) {
  Folder folder;
  auto timed = [&](const std::string& bytes, std::chrono::steady_clock::duration& elapsed) {
    const auto start = std::chrono::steady_clock::now();
    Failure failure = LoadFailure(folder, bytes);
    elapsed = std::chrono::steady_clock::now() - start;
    return failure;
  };
  std::chrono::steady_clock::duration text_time{}, attribute_time{};
  EXPECT_EQ(timed(EntityBombInText(), text_time), (Failure{kAmplificationReason, 14, 17}));
  EXPECT_EQ(timed(EntityBombInAttribute(), attribute_time), (Failure{kAmplificationReason, 14, 1}));  // start tag
  EXPECT_LT(text_time, std::chrono::milliseconds(500));
  EXPECT_LT(attribute_time, std::chrono::milliseconds(500));
}

// ---- Accepted ----------------------------------------------------------------------------------------------

TEST(CatalogConformance, InternalEntitiesAreExpandedInTextAndAttributesAndNested) {
  Folder folder;
  Document doc;
  ASSERT_TRUE(doc.Load(folder.Write("catalog.xml",
                                    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                    "<!DOCTYPE CalvoraCatalog [\n"
                                    "  <!ENTITY shop \"Calvora\">\n"
                                    "  <!ENTITY name \"&shop; Euro &#x20AC;\">\n"
                                    "  <!ENTITY item \"<CurrenciesItem PKID='2' Name='&name;'/>\">\n"
                                    "]>\n"
                                    "<CalvoraCatalog>\n"
                                    "  <Currencies>\n"
                                    "    <CurrenciesItem PKID=\"1\" Name=\"&name; &amp; mehr\">"
                                    "Text: &name;</CurrenciesItem>\n"
                                    "    &item;\n"
                                    "  </Currencies>\n"
                                    "</CalvoraCatalog>\n")))
      << doc.load_error().reason;
  NodeList items = doc.SelectNodes("CalvoraCatalog/Currencies/CurrenciesItem");
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].AttributeText("Name"), "Calvora Euro \xE2\x82\xAC & mehr");
  EXPECT_EQ(items[0].Text(), "Text: Calvora Euro \xE2\x82\xAC");
  EXPECT_EQ(items[0].ChildNodes().size(), 1u);  // one text node, not one per piece
  EXPECT_EQ(items[1].AttributeText("PKID"), "2");
  EXPECT_EQ(items[1].AttributeText("Name"), "Calvora Euro \xE2\x82\xAC");
  EXPECT_EQ(doc.SelectSingleNode("CalvoraCatalog/Currencies/CurrenciesItem[@PKID=2]").AttributeText("Name"),
            "Calvora Euro \xE2\x82\xAC");
}

TEST(CatalogConformance, DefaultAttributeFromAttributeListDeclarationIsAddedAfterTheGivenOnes) {
  Document doc;
  ASSERT_TRUE(
      doc.LoadXml("<!DOCTYPE CalvoraCatalog [\n"
                  "  <!ATTLIST CurrenciesItem Symbol CDATA \"EUR\" PKID CDATA #IMPLIED>\n"
                  "]>\n"
                  "<CalvoraCatalog><Currencies>\n"
                  "  <CurrenciesItem PKID=\"1\" Name=\"Euro\"/>\n"
                  "  <CurrenciesItem Symbol=\"$\" PKID=\"2\"/>\n"
                  "</Currencies></CalvoraCatalog>"))
      << doc.load_error().reason;
  std::vector<std::string> attributes;
  for (const Node& a : doc.SelectNodes("//CurrenciesItem/@*")) attributes.push_back(a.Name() + "=" + a.Text());
  EXPECT_EQ(attributes, (std::vector<std::string>{"PKID=1", "Name=Euro", "Symbol=EUR", "Symbol=$", "PKID=2"}));
}

TEST(CatalogConformance, Utf16LittleEndianWithByteOrderMarkLoads) {
  Folder folder;
  Document doc;
  ASSERT_TRUE(doc.Load(folder.Write(
      "catalog.xml", Utf16("<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<CalvoraCatalog Name=\"Gr\xC3\xB6\xC3\x9F"
                           "e \xF0\x9F\x98\x80\">\xE2\x82\xAC</CalvoraCatalog>",
                           true))))
      << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"),
            "Gr\xC3\xB6\xC3\x9F"
            "e \xF0\x9F\x98\x80");
  EXPECT_EQ(doc.DocumentElement().Text(), "\xE2\x82\xAC");
}

TEST(CatalogConformance, Utf16BigEndianWithByteOrderMarkLoads) {
  Folder folder;
  Document doc;
  ASSERT_TRUE(doc.Load(folder.Write("catalog.xml", Utf16("<CalvoraCatalog Name=\"Gr\xC3\xB6\xC3\x9F"
                                                         "e\">\xE2\x82\xAC</CalvoraCatalog>",
                                                         false))))
      << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"),
            "Gr\xC3\xB6\xC3\x9F"
            "e");
  EXPECT_EQ(doc.DocumentElement().Text(), "\xE2\x82\xAC");
}

TEST(CatalogConformance, Latin1FileWithUmlautsIsReadAsUtf8) {
  Folder folder;
  Document doc;
  ASSERT_TRUE(doc.Load(folder.Write("catalog.xml",
                                    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
                                    "<CalvoraCatalog Name=\"\xC4\xD6\xDC\xE4\xF6\xFC\xDF\">"
                                    "Gr\xFC\xDF\x65 &#x20AC;</CalvoraCatalog>")))
      << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"), "\xC3\x84\xC3\x96\xC3\x9C\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F");
  EXPECT_EQ(doc.DocumentElement().Text(),
            "Gr\xC3\xBC\xC3\x9F"
            "e \xE2\x82\xAC");
}

TEST(CatalogConformance, Latin1FileWithAnInternalSubsetIsReadAsUtf8) {
  Folder folder;
  Document doc;
  ASSERT_TRUE(doc.Load(folder.Write("catalog.xml",
                                    "<?xml version=\"1.0\" encoding=\"iso-8859-1\"?>\n"
                                    "<!DOCTYPE CalvoraCatalog [<!ENTITY size \"Gr\xF6\xDF\x65\">]>\n"
                                    "<CalvoraCatalog Name=\"&size; \xE4\"/>")))
      << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"),
            "Gr\xC3\xB6\xC3\x9F"
            "e \xC3\xA4");
}

TEST(CatalogConformance, Utf8WithByteOrderMarkLoads) {
  Folder folder;
  Document doc;
  ASSERT_TRUE(doc.Load(folder.Write("catalog.xml",
                                    "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                    "<CalvoraCatalog Name=\"\xC3\xA4\"/>")))
      << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"), "\xC3\xA4");
  EXPECT_EQ(doc.SelectNodes("/node()").size(), 1u);  // the mark is no text
}

TEST(CatalogConformance, UsAsciiDeclarationLoads) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<?xml version=\"1.0\" encoding=\"US-ASCII\"?><CalvoraCatalog Name=\"&#xE4;\"/>"));
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"), "\xC3\xA4");
}

TEST(CatalogConformance, TextIsUtf8WhateverItsDeclarationSays) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><CalvoraCatalog Name=\"\xC3\xA4\"/>"))
      << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"), "\xC3\xA4");
  EXPECT_FALSE(doc.LoadXml("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><CalvoraCatalog Name=\"\xE4\"/>"));
  EXPECT_EQ(doc.load_error().reason, "not well-formed (invalid token)");
}

// ---- The DOM from the parser's events ------------------------------------------------------------------------

// Every kind of node, white space written as such and as references, line ends in text and attributes.
const std::string kProlog = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- before -->\n<?app before?>\n";
const std::string kBody =
    "<CalvoraCatalog>\n"
    "  <Currencies>\n"
    "    <CurrenciesItem PKID=\"1\" Name=\"Euro &amp; mehr\" Tabs=\"a\tb\r\nc\rd\" Refs=\"x&#9;y&#10;z&#13;\" "
    "Empty=\"\"/>\n"
    "    <CurrenciesItem PKID='2'>  Text with\r\n line ends &lt;b&gt; und \xC3\x9Cml\xC3\xA4ute\r  </CurrenciesItem>\n"
    "  </Currencies>\n"
    "  <Products>\n"
    "    <ProductsItem PKID=\"3\">before<![CDATA[ <cdata>\r\n ]]>after<![CDATA[]]><!-- note --><?app data ?>"
    "&#32;<Child/>&#32;  <Child> <![CDATA[ ]]> </Child>\t\r\n</ProductsItem>\n"
    "    <ProductsItem PKID=\"4\">&#32;&#9;</ProductsItem>\n"
    "    <ProductsItem PKID=\"5\"> \n <!-- only white space around me --> \n </ProductsItem>\n"
    "  </Products>\n"
    "</CalvoraCatalog>\n"
    "<!-- after -->\n"
    "<?app after?>\n";
const std::string kUnusedSubset =
    "<!DOCTYPE CalvoraCatalog [\n"
    "  <!ENTITY unused \"never referenced\">\n"
    "  <!ATTLIST Elsewhere Attribute CDATA \"default\">\n"
    "  <!-- a comment in the DTD -->\n"
    "  <?app in the DTD?>\n"
    "]>\n";

TEST(CatalogConformance, DomBuiltFromEventsReadsAsTheParsedDom) {
  Document parsed;
  ASSERT_TRUE(parsed.LoadXml(kProlog + kBody)) << parsed.load_error().reason;
  const std::string expected = Dump(parsed);
  EXPECT_EQ(expected,
            "#document\n"
            "  #comment [ before ]\n"
            "  app [before]\n"
            "  CalvoraCatalog\n"
            "    Currencies\n"
            "      CurrenciesItem PKID=[1] Name=[Euro & mehr] Tabs=[a b c d] Refs=[x\ty\nz\r] Empty=[]\n"
            "      CurrenciesItem PKID=[2]\n"
            "        #text [  Text with\n line ends <b> und \xC3\x9Cml\xC3\xA4ute\n  ]\n"
            "    Products\n"
            "      ProductsItem PKID=[3]\n"
            "        #text [before]\n"
            "        #cdata-section [ <cdata>\n ]\n"
            "        #text [after]\n"
            "        #cdata-section []\n"
            "        #comment [ note ]\n"
            "        app [data ]\n"
            "        #text [ ]\n"
            "        Child\n"
            "        #text [   ]\n"
            "        Child\n"
            "          #cdata-section [ ]\n"
            "      ProductsItem PKID=[4]\n"
            "        #text [ \t]\n"
            "      ProductsItem PKID=[5]\n"
            "        #comment [ only white space around me ]\n"
            "  #comment [ after ]\n"
            "  app [after]\n");

  Document built;
  ASSERT_TRUE(built.LoadXml(kProlog + kUnusedSubset + kBody)) << built.load_error().reason;
  EXPECT_EQ(Dump(built), expected);

  Folder folder;
  Document parsed_file, built_file, built_utf16;
  ASSERT_TRUE(parsed_file.Load(folder.Write("parsed.xml", kProlog + kBody)));
  ASSERT_TRUE(built_file.Load(folder.Write("built.xml", kProlog + kUnusedSubset + kBody)));
  const std::string utf16_prolog = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n<!-- before -->\n<?app before?>\n";
  ASSERT_TRUE(built_utf16.Load(folder.Write("utf16.xml", Utf16(utf16_prolog + kUnusedSubset + kBody, true))))
      << built_utf16.load_error().reason;
  EXPECT_EQ(Dump(parsed_file), expected);
  EXPECT_EQ(Dump(built_file), expected);
  EXPECT_EQ(Dump(built_utf16), expected);
}

TEST(CatalogConformance, DomBuiltFromEventsKeepsDeepNestingWithoutRecursion) {
  constexpr int kDepth = 200000;
  std::string xml = "<!DOCTYPE a []>";
  for (int i = 0; i < kDepth; ++i) xml += "<a x=\"1\">";
  xml += " deep ";
  for (int i = 0; i < kDepth; ++i) xml += "</a>";
  Document doc;
  ASSERT_TRUE(doc.LoadXml(xml)) << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().Text(), "deep");
}

TEST(CatalogConformance, FailedLoadWithAnInternalSubsetLeavesNothing) {
  Document doc;
  ASSERT_TRUE(doc.LoadXml("<Old><A/></Old>"));
  EXPECT_FALSE(doc.LoadXml("<!DOCTYPE r [<!ENTITY e \"x\">]>\n<r>&e;<r>"));
  EXPECT_EQ(doc.load_error().reason, "no element found");
  EXPECT_EQ(doc.load_error().line, 2u);
  EXPECT_EQ(doc.load_error().column, 10u);
  EXPECT_TRUE(doc.DocumentElement().empty());
  EXPECT_TRUE(doc.SelectNodes("//*").empty());
}

// ---- The check on its own --------------------------------------------------------------------------------------

TEST(XmlCheck, ReportsTheProlog) {
  std::vector<XmlProlog> told;
  const std::string with_subset = "<!DOCTYPE r [<!ENTITY e \"x\">]><r>&e;</r>";
  XmlMemorySource source(with_subset);
  const XmlVerdict verdict =
      CheckXml(source, XmlInput::kDocument, [&](const XmlProlog& prolog) { told.push_back(prolog); });
  EXPECT_FALSE(verdict.read_failed);
  EXPECT_FALSE(verdict.fault.has_value());
  EXPECT_TRUE(verdict.prolog.has_internal_subset);
  ASSERT_EQ(told.size(), 1u);
  EXPECT_TRUE(told[0].has_internal_subset);
  EXPECT_EQ(told[0].encoding, pugi::encoding_utf8);

  told.clear();
  const std::string utf16 = Utf16("<r/>", false);
  XmlMemorySource utf16_source(utf16);
  EXPECT_FALSE(
      CheckXml(utf16_source, XmlInput::kDocument, [&](const XmlProlog& p) { told.push_back(p); }).fault.has_value());
  ASSERT_EQ(told.size(), 1u);
  EXPECT_FALSE(told[0].has_internal_subset);
  EXPECT_EQ(told[0].encoding, pugi::encoding_utf16_be);
}

TEST(XmlCheck, EncodingIsTheOnePugixmlDetectsForEveryAcceptedEncoding) {
  const std::vector<std::string> documents = {
      "<r a=\"\xC3\xA4\"/>",
      "\xEF\xBB\xBF<r a=\"\xC3\xA4\"/>",
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><r a=\"\xC3\xA4\"/>",
      "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><r/>",
      "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r a=\"\xE4\"/>",
      "<?xml version='1.0' encoding = 'iso-8859-1' ?><r a=\"\xE4\"/>",
      Utf16("<r a=\"\xC3\xA4\"/>", true),
      Utf16("<r a=\"\xC3\xA4\"/>", false),
      Utf16("<?xml version=\"1.0\" encoding=\"UTF-16\"?><r/>", true).substr(2),  // without the mark
      Utf16("<?xml version=\"1.0\" encoding=\"UTF-16\"?><r/>", false).substr(2),
  };
  for (const std::string& document : documents) {
    XmlMemorySource source(document);
    const XmlVerdict verdict = CheckXml(source, XmlInput::kDocument);
    ASSERT_FALSE(verdict.fault.has_value()) << document << ": " << verdict.fault->reason;
    pugi::xml_document dom;
    const pugi::xml_parse_result parsed = dom.load_buffer(document.data(), document.size());
    ASSERT_TRUE(parsed) << document;
    EXPECT_EQ(verdict.prolog.encoding, parsed.encoding) << document;
  }
}

TEST(XmlCheck, ReadsAFileNamedOutsideAscii) {
  Folder folder;
  // "Katalog-ä€.xml", with an internal subset, so that the DOM is built from a second pass over the file.
  const std::string path =
      folder.Write("Katalog-\xC3\xA4\xE2\x82\xAC.xml", "<!DOCTYPE r [<!ENTITY e \"Inhalt\">]><r Name=\"&e;\"/>");
  XmlFileSource source(path);
  EXPECT_TRUE(source.ok());
  const XmlVerdict verdict = CheckXml(source, XmlInput::kDocument);
  EXPECT_FALSE(verdict.read_failed);
  EXPECT_FALSE(verdict.fault.has_value());
  Document doc;
  ASSERT_TRUE(doc.Load(path)) << doc.load_error().reason;
  EXPECT_EQ(doc.DocumentElement().AttributeText("Name"), "Inhalt");
  EXPECT_FALSE(XmlFileSource(folder.At("fehlt.xml")).ok());
}

TEST(XmlCheck, RefusalBeforeTheRootReportsNoProlog) {
  int told = 0;
  XmlMemorySource source("<?xml version=\"1.0\" encoding=\"EBCDIC\"?><r/>");
  const XmlVerdict verdict = CheckXml(source, XmlInput::kDocument, [&](const XmlProlog&) { ++told; });
  ASSERT_TRUE(verdict.fault.has_value());
  EXPECT_EQ(verdict.fault->reason, "unknown encoding");
  EXPECT_EQ(told, 0);
}

TEST(XmlCheck, ReadingFailureGivesNoVerdict) {
  struct Broken : XmlByteSource {
    bool Read(char*, std::size_t, std::size_t& got) override {
      got = 0;
      return false;
    }
  } broken;
  const XmlVerdict verdict = CheckXml(broken, XmlInput::kDocument);
  EXPECT_TRUE(verdict.read_failed);
}

}  // namespace
}  // namespace cvimp::catalog
