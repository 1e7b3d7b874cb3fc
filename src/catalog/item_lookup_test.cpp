// The lookups of the importers' path forms (Document::SectionItems, ItemByNumber, ItemByText, ItemAnywhere,
// PageDataItem and Node::ChildElement) against the node that the XPath text of each form selects. Items carry
// an attribute n that names them for the assertions.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "catalog/document.h"
#include "catalog/item_paths.h"
#include "common/error.h"
#include "common/file_open.h"
#include "common/testing/raised_code.h"

namespace cvimp::catalog {
namespace {

using cvimp::testing::RaisedCode;

// The n attribute of a node: "-" for no node, "?" for a node without one.
std::string Id(const Node& node) {
  if (node.empty()) return "-";
  Value n = node.GetAttribute("n");
  return n.is_null() ? "?" : n.text();
}

std::vector<std::string> Ids(const NodeList& nodes) {
  std::vector<std::string> ids;
  for (const Node& node : nodes) ids.push_back(Id(node));
  return ids;
}

// What a lookup gives: a node (possibly empty), or the code of the error that it raised.
struct Outcome {
  std::optional<ErrorCode> raised;
  pugi::xpath_node node;
  bool operator==(const Outcome& other) const { return raised == other.raised && node == other.node; }
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  if (outcome.raised) {
    *out << "raised " << static_cast<int>(*outcome.raised);
  } else if (!outcome.node) {
    *out << "no node";
  } else {
    *out << "node " << Id(Node(outcome.node)) << " <" << Node(outcome.node).Name() << ">";
  }
}

Outcome Of(const std::function<Node()>& lookup) {
  try {
    return Outcome{std::nullopt, lookup().raw()};
  } catch (const Error& e) {
    return Outcome{e.code(), {}};
  }
}

// An item of a section: <SItem n="id" PKID="pkid"/>; pkid is XML attribute text (escapes allowed).
std::string Item(std::string_view section, std::string_view id, std::optional<std::string_view> pkid) {
  std::string xml = "<" + std::string(section) + "Item n=\"" + std::string(id) + "\"";
  if (pkid) xml += " PKID=\"" + std::string(*pkid) + "\"";
  return xml + "/>";
}

std::string Catalog(std::string_view content) {
  return "<CalvoraCatalog>" + std::string(content) + "</CalvoraCatalog>";
}

class ItemLookup : public ::testing::Test {
 protected:
  void Load(std::string_view xml) { ASSERT_TRUE(doc.LoadXml(xml)) << doc.load_error().reason << "\n" << xml; }

  // Every form against its XPath text, for one section and key.
  void ExpectFormsAgreeWithXPath(std::string_view section, std::int32_t key) {
    SCOPED_TRACE(std::string(section) + " " + std::to_string(key));
    const std::string text = std::to_string(key);
    EXPECT_EQ(Of([&] { return doc.ItemByNumber(section, key); }),
              Of([&] { return doc.SelectSingleNode(ItemByNumberPath(section, key)); }));
    EXPECT_EQ(Of([&] { return doc.ItemByText(section, text); }),
              Of([&] { return doc.SelectSingleNode(ItemByTextPath(section, text)); }));
    EXPECT_EQ(Of([&] { return doc.ItemAnywhere(section, text); }),
              Of([&] { return doc.SelectSingleNode(ItemAnywherePath(section, text)); }));
  }

  Document doc;
};

// ---- The number form compares the key as XPath compares a text with a number -------------------------------

struct NumberCase {
  std::string pkid;  // as written in the attribute
  std::int32_t key;
  bool found;
};

class ItemByNumberText : public ItemLookup {
 protected:
  void Check(const std::vector<NumberCase>& cases) {
    for (const NumberCase& c : cases) {
      SCOPED_TRACE("PKID=\"" + c.pkid + "\" key " + std::to_string(c.key));
      ASSERT_NO_FATAL_FAILURE(Load(
          Catalog("<Products>" + Item("Products", "other", "99") + Item("Products", "x", c.pkid) + "</Products>")));
      EXPECT_EQ(Id(doc.ItemByNumber("Products", c.key)), c.found ? "x" : "-");
      EXPECT_EQ(Of([&] { return doc.ItemByNumber("Products", c.key); }),
                Of([&] { return doc.SelectSingleNode(ItemByNumberPath("Products", c.key)); }));
    }
  }
};

TEST_F(ItemByNumberText, MatchesTextsWhoseNumberEqualsTheKey) {
  Check({{"12", 12, true},
         {" 12 ", 12, true},
         {"&#9;12&#10;", 12, true},
         {"&#13;&#10;12&#32;&#9;", 12, true},
         {"012", 12, true},
         {std::string(300, '0') + "12", 12, true},
         {"12.0", 12, true},
         {"12.", 12, true},
         {"12.000", 12, true},
         {" 12.0 ", 12, true}});
}

TEST_F(ItemByNumberText, RejectsTextsThatAreNoXPathNumber) {
  Check({{"+12", 12, false},
         {"1e1", 10, false},
         {"1e1", 1, false},
         {"1.2e1", 12, false},
         {"", 0, false},
         {" ", 0, false},
         {"12a", 12, false},
         {"0x0C", 12, false},
         {"0x0C", 0, false},
         {"12 3", 12, false},
         {"12 3", 123, false},
         {"1,2", 12, false},
         {"- 12", -12, false},
         {"--12", 12, false},
         {".", 0, false},
         {"-", 0, false},
         {"-.", 0, false},
         {"&#160;12", 12, false},          // a no-break space is no XML white space
         {"\xD9\xA1\xD9\xA2", 12, false},  // Arabic-Indic digits
         {"abc", 0, false}});
}

TEST_F(ItemByNumberText, ComparesTheDoubleThatTheTextRoundsTo) {
  Check({{"12.000000000000000001", 12, true},
         {"11.9999999999999999", 12, true},
         {"11.9999999999999999", 11, false},
         {"12.0000000000000008", 12, true},  // within half a unit in the last place of 12
         {"12.0000000000000009", 12, false},
         {"12.5", 12, false},
         {"12.5", 13, false},
         {"11.5", 12, false},
         {"4294967308", 12, false},  // 2^32 + 12
         {"4294967296", 0, false},   // 2^32
         {"2147483648", INT_MIN, false},
         {"-2147483649", INT_MAX, false},
         {"18446744073709551628", 12, false},            // 2^64 + 12
         {"1" + std::string(400, '0'), 0, false},        // beyond the range of a double
         {"0." + std::string(400, '0') + "1", 0, true},  // below it: rounds to 0
         {"-0." + std::string(400, '0') + "1", 0, true},
         {"0." + std::string(320, '0') + "1", 0, false},  // a subnormal double
         {"0." + std::string(323, '0') + "2", 0, true},   // below half the least subnormal
         {"0." + std::string(323, '0') + "3", 0, false},  // rounds to the least subnormal
         {"12." + std::string(300, '0') + "1", 12, true}});
}

TEST_F(ItemByNumberText, MatchesNegativeZeroAndFractionalZeroToKeyZero) {
  Check({{"0", 0, true},
         {"-0", 0, true},
         {"0.0", 0, true},
         {".0", 0, true},
         {"-.0", 0, true},
         {"-0.000", 0, true},
         {"000", 0, true},
         {" -0 ", 0, true}});
}

TEST_F(ItemByNumberText, MatchesNegativeAndExtremeKeys) {
  Check({{"-12", -12, true},
         {"-12", 12, false},
         {" -12.0 ", -12, true},
         {"-012", -12, true},
         {"-5", -5, true},
         {"2147483647", INT_MAX, true},
         {"-2147483648", INT_MIN, true},
         {"2147483647.0", INT_MAX, true}});
}

TEST_F(ItemLookup, ItemWithoutPkidMatchesNoKey) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", std::nullopt) + Item("Products", "b", "") +
                                       "<ProductsItem n=\"c\" pkid=\"0\" Pkid=\"0\"/></Products>")));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 0)), "-");
  EXPECT_EQ(Id(doc.ItemByText("Products", "0")), "-");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "0")), "-");
  EXPECT_EQ(Ids(doc.SectionItems("Products")), (std::vector<std::string>{"a", "b", "c"}));
  ExpectFormsAgreeWithXPath("Products", 0);
}

// ---- The quoted forms compare the key text exactly ----------------------------------------------------------

TEST_F(ItemLookup, ItemByTextComparesTheKeyTextExactly) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<Categories>" + Item("Categories", "space", " 12") + Item("Categories", "zero", "012") +
                   Item("Categories", "point", "12.0") + Item("Categories", "tab", "&#9;12") +
                   Item("Categories", "exact", "12") + "</Categories>")));
  EXPECT_EQ(Id(doc.ItemByText("Categories", "12")), "exact");
  EXPECT_EQ(Id(doc.ItemByText("Categories", " 12")), "space");
  EXPECT_EQ(Id(doc.ItemByText("Categories", "012")), "zero");
  EXPECT_EQ(Id(doc.ItemByText("Categories", "12.0")), "point");
  EXPECT_EQ(Id(doc.ItemByText("Categories", "\t12")), "tab");
  EXPECT_EQ(Id(doc.ItemByText("Categories", "12 ")), "-");
  EXPECT_EQ(Id(doc.ItemByText("Categories", "+12")), "-");
  EXPECT_EQ(Id(doc.ItemByNumber("Categories", 12)), "space");
}

TEST_F(ItemLookup, ItemAnywhereComparesTheKeyTextExactly) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Media>" + Item("Media", "space", " 12") + Item("Media", "zero", "012") +
                                       Item("Media", "point", "12.0") + Item("Media", "exact", "12") + "</Media>")));
  EXPECT_EQ(Id(doc.ItemAnywhere("Media", "12")), "exact");
  EXPECT_EQ(Id(doc.ItemAnywhere("Media", " 12")), "space");
  EXPECT_EQ(Id(doc.ItemAnywhere("Media", "012")), "zero");
  EXPECT_EQ(Id(doc.ItemAnywhere("Media", "12.0")), "point");
  EXPECT_EQ(Id(doc.ItemAnywhere("Media", "12.00")), "-");
}

TEST_F(ItemLookup, TextFormsTellAnEmptyPkidFromAMissingOne) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<Folders>" + Item("Folders", "none", std::nullopt) + Item("Folders", "empty", "") + "</Folders>")));
  EXPECT_EQ(Id(doc.ItemByText("Folders", "")), "empty");
  EXPECT_EQ(Id(doc.ItemAnywhere("Folders", "")), "empty");
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Folders>" + Item("Folders", "none", std::nullopt) + "</Folders>")));
  EXPECT_EQ(Id(doc.ItemByText("Folders", "")), "-");
  EXPECT_EQ(Id(doc.ItemAnywhere("Folders", "")), "-");
}

// ---- Repeated keys: the first in document order -------------------------------------------------------------

TEST_F(ItemLookup, ItemByNumberFindsTheFirstEqualNumberInDocumentOrder) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", "11") + Item("Products", "b", "12.0") +
                                       Item("Products", "c", "12") + Item("Products", "d", "12") + "</Products>")));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 12)), "b");
  ExpectFormsAgreeWithXPath("Products", 12);
}

TEST_F(ItemLookup, TextFormsFindTheFirstExactTextInDocumentOrder) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<Categories>" + Item("Categories", "a", "12.0") + Item("Categories", "b", "12") +
                   Item("Categories", "c", "12") + "</Categories>")));
  EXPECT_EQ(Id(doc.ItemByText("Categories", "12")), "b");
  EXPECT_EQ(Id(doc.ItemAnywhere("Categories", "12")), "b");
  EXPECT_EQ(Id(doc.ItemByNumber("Categories", 12)), "a");
}

// ---- Sections ---------------------------------------------------------------------------------------------

TEST_F(ItemLookup, RepeatedSectionContributesItsItemsInDocumentOrder) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<Products>" + Item("Products", "a", "1") + Item("Products", "b", "2") + "</Products>" +
                   "<Categories>" + Item("Categories", "k", "3") + "</Categories>" + "<Products>" +
                   Item("Products", "c", "3") + Item("Products", "d", "2") + "</Products>")));
  EXPECT_EQ(Ids(doc.SectionItems("Products")), (std::vector<std::string>{"a", "b", "c", "d"}));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 3)), "c");
  EXPECT_EQ(Id(doc.ItemByText("Products", "3")), "c");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 2)), "b");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "3")), "c");
  for (std::int32_t key : {1, 2, 3, 4}) ExpectFormsAgreeWithXPath("Products", key);
}

TEST_F(ItemLookup, SectionItemsEqualsTheNodeListOfItsPath) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<Products>" + Item("Products", "a", "1") + "text" + "<!-- ProductsItem --><Other/>" +
                   Item("Products", "b", std::nullopt) + "</Products><Products/><Products>" +
                   Item("Products", "c", "1") + "</Products>")));
  const NodeList expected = doc.SelectNodes(SectionItemsPath("Products"));
  const NodeList actual = doc.SectionItems("Products");
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) EXPECT_TRUE(actual[i].raw() == expected[i].raw()) << i;
  EXPECT_EQ(Ids(actual), (std::vector<std::string>{"a", "b", "c"}));
}

TEST_F(ItemLookup, MissingSectionHasNoItems) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", "1") + "</Products>")));
  EXPECT_TRUE(doc.SectionItems("Categories").empty());
  EXPECT_EQ(Id(doc.ItemByNumber("Categories", 1)), "-");
  EXPECT_EQ(Id(doc.ItemByText("Categories", "1")), "-");
  EXPECT_EQ(Id(doc.ItemAnywhere("Categories", "1")), "-");
  EXPECT_EQ(Id(doc.PageDataItem(1, 1)), "-");
}

// ---- Names are matched exactly ----------------------------------------------------------------------------

TEST_F(ItemLookup, SectionFormsFindNothingUnderAnotherRootName) {
  for (const char* root : {"CalvoraCatalogX", "calvoraCatalog", "CALVORACATALOG", "Calvora"}) {
    SCOPED_TRACE(root);
    const std::string r(root);
    ASSERT_NO_FATAL_FAILURE(Load("<" + r + "><Products>" + Item("Products", "a", "1") +
                                 "</Products><PageData><PageDataItem n=\"p\" ElType=\"1\" ElRef=\"1\"/></PageData></" +
                                 r + ">"));
    EXPECT_TRUE(doc.SectionItems("Products").empty());
    EXPECT_EQ(Id(doc.ItemByNumber("Products", 1)), "-");
    EXPECT_EQ(Id(doc.ItemByText("Products", "1")), "-");
    EXPECT_EQ(Id(doc.PageDataItem(1, 1)), "-");
    EXPECT_TRUE(doc.SectionItems("PageData").empty());
    EXPECT_EQ(Id(doc.ItemAnywhere("Products", "1")), "a");
  }
}

TEST_F(ItemLookup, SectionFormsIgnoreElementsNamedAlmostLikeItems) {
  ASSERT_NO_FATAL_FAILURE(
      Load("<CalvoraCatalog xmlns:x=\"urn:x\"><Products>"
           "<ProductsItems n=\"plural\" PKID=\"1\"/><productsItem n=\"lower\" PKID=\"1\"/>"
           "<PRODUCTSITEM n=\"upper\" PKID=\"1\"/><x:ProductsItem n=\"prefixed\" PKID=\"1\"/>"
           "<Product n=\"short\" PKID=\"1\"/><Products n=\"section\" PKID=\"1\"/>" +
           Item("Products", "item", "1") + "</Products><products>" + Item("Products", "lowersection", "2") +
           "</products></CalvoraCatalog>"));
  EXPECT_EQ(Ids(doc.SectionItems("Products")), (std::vector<std::string>{"item"}));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 1)), "item");
  EXPECT_EQ(Id(doc.ItemByText("Products", "1")), "item");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "1")), "item");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 2)), "-");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "2")), "lowersection");
  EXPECT_TRUE(doc.SectionItems("products").empty());
  EXPECT_EQ(Id(doc.ItemAnywhere("products", "1")), "lower");
}

TEST_F(ItemLookup, SectionFormsSkipProcessingInstructionsNamedLikeRootSectionOrItem) {
  ASSERT_NO_FATAL_FAILURE(
      Load("<?CalvoraCatalog PKID=\"1\"?><CalvoraCatalog><?Products PKID=\"1\"?><Products>"
           "<?ProductsItem PKID=\"1\"?>" +
           Item("Products", "a", "1") +
           "</Products><PageData><?PageDataItem ElType=\"1\" ElRef=\"1\"?>"
           "<PageDataItem n=\"p\" ElType=\"1\" ElRef=\"1\"/></PageData></CalvoraCatalog>"));
  EXPECT_EQ(Ids(doc.SectionItems("Products")), (std::vector<std::string>{"a"}));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 1)), "a");
  EXPECT_EQ(Id(doc.ItemByText("Products", "1")), "a");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "1")), "a");
  EXPECT_EQ(Id(doc.PageDataItem(1, 1)), "p");
  EXPECT_EQ(Ids(doc.SectionItems("PageData")), (std::vector<std::string>{"p"}));
}

TEST_F(ItemLookup, ItemsOutsideTheirSectionAreFoundOnlyByItemAnywhere) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog(
      Item("Products", "underroot", "7") + "<Categories>" + Item("Products", "othersection", "8") +
      "</Categories><Products>" + Item("Products", "proper", "1") + "<ProductsItem n=\"outer\" PKID=\"2\"><Comments>" +
      Item("Products", "infield", "9") + "</Comments>" + Item("Products", "nested", "10") + "</ProductsItem>" +
      "<Products>" + Item("Products", "subsection", "11") + "</Products></Products><Wrapper><Products>" +
      Item("Products", "wrapped", "12") + "</Products></Wrapper><CalvoraCatalog><Products>" +
      Item("Products", "innercatalog", "13") + "</Products></CalvoraCatalog><Products>" +
      Item("Products", "late", "7") + "</Products>")));
  EXPECT_EQ(Ids(doc.SectionItems("Products")), (std::vector<std::string>{"proper", "outer", "late"}));
  const std::vector<std::pair<std::string, std::string>> outside = {{"8", "othersection"}, {"9", "infield"},
                                                                    {"10", "nested"},      {"11", "subsection"},
                                                                    {"12", "wrapped"},     {"13", "innercatalog"}};
  for (const auto& [key, id] : outside) {
    SCOPED_TRACE(key);
    EXPECT_EQ(Id(doc.ItemByNumber("Products", std::stoi(key))), "-");
    EXPECT_EQ(Id(doc.ItemByText("Products", key)), "-");
    EXPECT_EQ(Id(doc.ItemAnywhere("Products", key)), id);
  }
  // The item under the root comes before the section: ItemAnywhere finds it, the section forms the later one.
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "7")), "underroot");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 7)), "late");
  EXPECT_EQ(Id(doc.ItemByText("Products", "7")), "late");
  for (std::int32_t key = 0; key <= 14; ++key) ExpectFormsAgreeWithXPath("Products", key);
}

TEST_F(ItemLookup, ItemAnywhereFindsTheRootElementNamedLikeAnItem) {
  ASSERT_NO_FATAL_FAILURE(Load("<ProductsItem n=\"root\" PKID=\"5\"><Products>" + Item("Products", "a", "5") +
                               "</Products></ProductsItem>"));
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "5")), "root");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 5)), "-");
  EXPECT_EQ(Id(doc.ItemByText("Products", "5")), "-");
  EXPECT_TRUE(doc.SectionItems("Products").empty());
}

TEST_F(ItemLookup, ItemAnywhereFindsANestedItemBeforeTheNextSibling) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<Media><MediaItem n=\"outer\" PKID=\"1\"><X>" + Item("Media", "deep", "2") + "</X></MediaItem>" +
                   Item("Media", "sibling", "2") + "</Media>" + Item("Media", "after", "1"))));
  EXPECT_EQ(Id(doc.ItemAnywhere("Media", "2")), "deep");
  EXPECT_EQ(Id(doc.ItemAnywhere("Media", "1")), "outer");
  EXPECT_EQ(Id(doc.ItemByText("Media", "2")), "sibling");
}

// ---- Keys that change the XPath text ------------------------------------------------------------------------

TEST_F(ItemLookup, KeyWithQuoteRaisesAsItsXPathDoes) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<VariantTypes>" + Item("VariantTypes", "a", "1") + "</VariantTypes>")));
  const ErrorCode expected = RaisedCode([&] { doc.SelectSingleNode(ItemAnywherePath("VariantTypes", "1'2")); });
  EXPECT_EQ(expected, ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { doc.ItemAnywhere("VariantTypes", "1'2"); }), expected);
  EXPECT_EQ(RaisedCode([&] { doc.ItemAnywhere("VariantTypes", "'"); }), expected);
  EXPECT_EQ(RaisedCode([&] { doc.ItemByText("VariantTypes", "1'2"); }), expected);
  EXPECT_EQ(RaisedCode([&] { doc.ItemByText("VariantTypes", "1'"); }), expected);
}

TEST_F(ItemLookup, QuoteInjectionKeyGivesWhatItsXPathGives) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog(Item("VariantTypes", "stray", "4") + "<VariantTypes>" + Item("VariantTypes", "a", "5") +
                   Item("VariantTypes", "b", "1") + "</VariantTypes>")));
  const std::string key = "1' or '1'='1";
  EXPECT_EQ(Id(doc.ItemAnywhere("VariantTypes", key)), "stray");
  EXPECT_EQ(Id(doc.ItemByText("VariantTypes", key)), "a");
  EXPECT_EQ(Of([&] { return doc.ItemAnywhere("VariantTypes", key); }),
            Of([&] { return doc.SelectSingleNode(ItemAnywherePath("VariantTypes", key)); }));
  EXPECT_EQ(Of([&] { return doc.ItemByText("VariantTypes", key); }),
            Of([&] { return doc.SelectSingleNode(ItemByTextPath("VariantTypes", key)); }));
  // A key that makes the predicate false for every item.
  EXPECT_EQ(Id(doc.ItemAnywhere("VariantTypes", "5' and '1'='2")), "-");
  // A key that compares the key as a number after all.
  EXPECT_EQ(Id(doc.ItemByText("VariantTypes", "x' or @PKID=1.0 or 'x'='y")), "b");
}

TEST_F(ItemLookup, UnionInjectionKeyGivesWhatItsXPathGives) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Folders>" + Item("Folders", "f", "3") + "</Folders><Products>" +
                                       Item("Products", "p", "3") + "</Products>")));
  const std::string key = "0'] | //FoldersItem[@PKID='3";
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", key)), "f");
  EXPECT_EQ(Id(doc.ItemByText("Products", key)), "f");
  EXPECT_EQ(Of([&] { return doc.ItemAnywhere("Products", key); }),
            Of([&] { return doc.SelectSingleNode(ItemAnywherePath("Products", key)); }));
  EXPECT_EQ(Of([&] { return doc.ItemByText("Products", key); }),
            Of([&] { return doc.SelectSingleNode(ItemByTextPath("Products", key)); }));
}

TEST_F(ItemLookup, KeyWithNulCharacterGivesWhatItsXPathGives) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "p", "3") + "</Products>")));
  const std::string key("3\0x", 3);
  EXPECT_EQ(Of([&] { return doc.ItemAnywhere("Products", key); }),
            Of([&] { return doc.SelectSingleNode(ItemAnywherePath("Products", key)); }));
  EXPECT_EQ(Of([&] { return doc.ItemByText("Products", key); }),
            Of([&] { return doc.SelectSingleNode(ItemByTextPath("Products", key)); }));
}

// ---- NewPKID and changed keys ----------------------------------------------------------------------------

TEST_F(ItemLookup, MissingItemIsEmptyButItemWithoutNewPkidIsNot) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", "1") + "</Products>")));
  const Node missing = doc.ItemByNumber("Products", 2);
  EXPECT_TRUE(missing.empty());
  EXPECT_EQ(RaisedCode([&] { missing.GetAttribute("NewPKID"); }), ErrorCode::kObjectRequired);
  const Node found = doc.ItemByNumber("Products", 1);
  ASSERT_FALSE(found.empty());
  EXPECT_TRUE(found.GetAttribute("NewPKID").is_null());
}

TEST_F(ItemLookup, NewPkidSetAfterLookupIsReadThroughTheNextLookup) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", "1") + Item("Products", "b", "2") +
                                       "</Products><PageData><PageDataItem n=\"p\" ElType=\"1\" ElRef=\"2\"/>"
                                       "</PageData>")));
  EXPECT_TRUE(doc.ItemByNumber("Products", 1).GetAttribute("NewPKID").is_null());
  doc.ItemByNumber("Products", 1).SetAttribute("NewPKID", std::int32_t{101});
  EXPECT_EQ(doc.ItemByNumber("Products", 1).GetAttribute("NewPKID"), Value("101"));
  EXPECT_EQ(doc.ItemByText("Products", "1").GetAttribute("NewPKID"), Value("101"));
  EXPECT_EQ(doc.ItemAnywhere("Products", "1").GetAttribute("NewPKID"), Value("101"));
  doc.ItemByText("Products", "1").SetAttribute("NewPKID", std::int32_t{102});
  EXPECT_EQ(doc.ItemByNumber("Products", 1).GetAttribute("NewPKID"), Value("102"));
  EXPECT_TRUE(doc.ItemByNumber("Products", 2).GetAttribute("NewPKID").is_null());
  doc.PageDataItem(1, 2).SetAttribute("NewPKID", std::int32_t{7});
  EXPECT_EQ(doc.PageDataItem(1, 2).GetAttribute("NewPKID"), Value("7"));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 101)), "-");
}

TEST_F(ItemLookup, ChangedPkidIsLookedUpByItsNewValue) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<Products>" + Item("Products", "a", "12") + Item("Products", "b", "13") + "</Products>")));
  ASSERT_EQ(Id(doc.ItemByNumber("Products", 12)), "a");
  ASSERT_EQ(Id(doc.ItemByText("Products", "12")), "a");
  ASSERT_EQ(Id(doc.ItemAnywhere("Products", "12")), "a");
  doc.ItemByNumber("Products", 12).SetAttribute("PKID", std::int32_t{40});
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 12)), "-");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 40)), "a");
  EXPECT_EQ(Id(doc.ItemByText("Products", "12")), "-");
  EXPECT_EQ(Id(doc.ItemByText("Products", "40")), "a");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "12")), "-");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "40")), "a");
  doc.ItemAnywhere("Products", "40").SetAttribute("PKID", " 13.0 ");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 13)), "a");
  EXPECT_EQ(Id(doc.ItemByText("Products", "13")), "b");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", " 13.0 ")), "a");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 40)), "-");
}

TEST_F(ItemLookup, ChangedPkidCanMakeALaterDuplicateTheFirst) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<Products>" + Item("Products", "a", "5") + Item("Products", "b", "5") + "</Products>")));
  ASSERT_EQ(Id(doc.ItemByNumber("Products", 5)), "a");
  doc.ItemByNumber("Products", 5).SetAttribute("PKID", "x");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 5)), "b");
  EXPECT_EQ(Id(doc.ItemByText("Products", "5")), "b");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "5")), "b");
  doc.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@n='a']").SetAttribute("PKID", "5.0");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 5)), "a");
  EXPECT_EQ(Id(doc.ItemByText("Products", "5")), "b");
}

TEST_F(ItemLookup, PkidAddedAfterLookupMakesTheItemFindable) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog(Item("Products", "stray", std::nullopt) + "<Products>" + Item("Products", "a", std::nullopt) +
                   Item("Products", "b", "9") + "</Products>")));
  ASSERT_EQ(Id(doc.ItemByNumber("Products", 9)), "b");
  ASSERT_EQ(Id(doc.ItemAnywhere("Products", "9")), "b");
  Node first = doc.SectionItems("Products")[0];
  first.SetAttribute("PKID", std::int32_t{9});
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 9)), "a");
  EXPECT_EQ(Id(doc.ItemByText("Products", "9")), "a");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "9")), "a");
  doc.SelectSingleNode("CalvoraCatalog/ProductsItem").SetAttribute("PKID", "9");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "9")), "stray");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 9)), "a");
}

TEST_F(ItemLookup, PkidWithWhiteSpaceSetAfterLookupIsComparedAsANumber) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", "1") + "</Products>")));
  ASSERT_EQ(Id(doc.ItemByNumber("Products", 1)), "a");
  doc.ItemByNumber("Products", 1).SetAttribute("PKID", "\t\r\n3\n");
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 3)), "a");
  EXPECT_EQ(Id(doc.ItemByText("Products", "\t\r\n3\n")), "a");
  doc.ItemByNumber("Products", 3).SetAttribute("PKID", "\v3");  // no XML white space: no number
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 3)), "-");
  ExpectFormsAgreeWithXPath("Products", 3);
}

TEST_F(ItemLookup, ChangedElTypeOrElRefIsLookedUpByItsNewValue) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<PageData><PageDataItem n=\"p\" ElType=\"1\" ElRef=\"2\"/>"
                   "<PageDataItem n=\"q\" ElType=\"1\" ElRef=\"3\"/></PageData>")));
  ASSERT_EQ(Id(doc.PageDataItem(1, 2)), "p");
  doc.PageDataItem(1, 2).SetAttribute("ElRef", std::int32_t{3});
  EXPECT_EQ(Id(doc.PageDataItem(1, 2)), "-");
  EXPECT_EQ(Id(doc.PageDataItem(1, 3)), "p");
  doc.PageDataItem(1, 3).SetAttribute("ElType", std::int32_t{4});
  EXPECT_EQ(Id(doc.PageDataItem(1, 3)), "q");
  EXPECT_EQ(Id(doc.PageDataItem(4, 3)), "p");
  doc.PageDataItem(4, 3).SetAttribute("ElType", "04");
  EXPECT_EQ(Id(doc.PageDataItem(4, 3)), "-");
}

// ---- Key 0 and negative keys -------------------------------------------------------------------------------

TEST_F(ItemLookup, EveryFormLooksUpKeyZero) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", "1") + Item("Products", "z", "0") +
                                       "</Products><PageData><PageDataItem n=\"p\" ElType=\"0\" ElRef=\"0\"/>"
                                       "</PageData>")));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 0)), "z");
  EXPECT_EQ(Id(doc.ItemByText("Products", "0")), "z");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "0")), "z");
  EXPECT_EQ(Id(doc.PageDataItem(0, 0)), "p");
}

TEST_F(ItemLookup, NegativeKeysAreLookedUpByEveryForm) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", "5") + Item("Products", "m", "-5") +
                                       "</Products><PageData><PageDataItem n=\"p\" ElType=\"-1\" ElRef=\"-5\"/>"
                                       "</PageData>")));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", -5)), "m");
  EXPECT_EQ(Id(doc.ItemByText("Products", "-5")), "m");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "-5")), "m");
  EXPECT_EQ(Id(doc.PageDataItem(-1, -5)), "p");
  EXPECT_EQ(Id(doc.PageDataItem(1, 5)), "-");
  EXPECT_EQ(Id(doc.PageDataItem(-1, 5)), "-");
}

// ---- PageDataItem --------------------------------------------------------------------------------------------

TEST_F(ItemLookup, PageDataItemComparesBothAttributesAsText) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<PageData>"
                   "<PageDataItem n=\"a\" ElType=\"01\" ElRef=\"5\"/>"
                   "<PageDataItem n=\"b\" ElType=\"1\" ElRef=\" 5\"/>"
                   "<PageDataItem n=\"c\" ElType=\"1.0\" ElRef=\"5\"/>"
                   "<PageDataItem n=\"d\" ElType=\"1\" ElRef=\"5.\"/>"
                   "<PageDataItem n=\"e\" ElType=\"1\" ElRef=\"5\"/>"
                   "<PageDataItem n=\"f\" ElType=\"0\" ElRef=\"00\"/>"
                   "</PageData>")));
  EXPECT_EQ(Id(doc.PageDataItem(1, 5)), "e");
  EXPECT_EQ(Id(doc.PageDataItem(0, 0)), "-");
  EXPECT_EQ(Id(doc.PageDataItem(5, 1)), "-");
}

TEST_F(ItemLookup, PageDataItemNeedsBothAttributes) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<PageData>"
                   "<PageDataItem n=\"a\" ElType=\"1\"/>"
                   "<PageDataItem n=\"b\" ElRef=\"1\"/>"
                   "<PageDataItem n=\"c\" ElType=\"1\" ElRef=\"\"/>"
                   "<PageDataItem n=\"d\"/>"
                   "</PageData>")));
  EXPECT_EQ(Id(doc.PageDataItem(1, 1)), "-");
  EXPECT_EQ(Id(doc.PageDataItem(1, 0)), "-");
  EXPECT_EQ(Id(doc.PageDataItem(0, 1)), "-");
  EXPECT_EQ(Id(doc.PageDataItem(0, 0)), "-");
}

TEST_F(ItemLookup, PageDataItemFindsTheFirstInDocumentOrderWithinItsSections) {
  ASSERT_NO_FATAL_FAILURE(
      Load(Catalog("<PageDataItem n=\"stray\" ElType=\"2\" ElRef=\"7\"/>"
                   "<PageData><PageDataItem n=\"a\" ElType=\"2\" ElRef=\"8\"/></PageData>"
                   "<Pages><PageDataItem n=\"other\" ElType=\"2\" ElRef=\"7\"/></Pages>"
                   "<PageData><PageDataItem n=\"b\" ElType=\"2\" ElRef=\"7\"/>"
                   "<PageDataItem n=\"c\" ElType=\"2\" ElRef=\"7\"/>"
                   "<PageDataItem n=\"d\" ElRef=\"8\" ElType=\"2\"/></PageData>")));
  EXPECT_EQ(Id(doc.PageDataItem(2, 7)), "b");
  EXPECT_EQ(Id(doc.PageDataItem(2, 8)), "a");
  EXPECT_EQ(Of([&] { return doc.PageDataItem(2, 7); }),
            Of([&] { return doc.SelectSingleNode(PageDataItemPath(2, 7)); }));
}

// ---- Node::ChildElement ----------------------------------------------------------------------------------

class ChildElementOfItem : public ItemLookup {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(
        Load(Catalog("<Pages><PagesItem n=\"item\" PKID=\"1\" Comments=\"attribute\">Comments"
                     "<?Comments pi?><!--Comments--><Other><Comments n=\"grandchild\"/></Other>"
                     "<comments n=\"lower\"/><Comments n=\"first\">x</Comments><Markup n=\"markup\"/>"
                     "<Comments n=\"second\"/><a:1 n=\"colon\"/></PagesItem></Pages>")));
    item = doc.ItemByNumber("Pages", 1);
    ASSERT_FALSE(item.empty());
  }

  void ExpectSameAsPath(const Node& context, std::string_view name) {
    SCOPED_TRACE(std::string("name \"") + std::string(name) + "\"");
    EXPECT_EQ(Of([&] { return context.ChildElement(name); }), Of([&] { return context.SelectSingleNode(name); }));
  }

  Node item;
};

TEST_F(ChildElementOfItem, IsTheFirstChildElementOfThatName) {
  EXPECT_EQ(Id(item.ChildElement("Comments")), "first");
  EXPECT_EQ(Id(item.ChildElement("comments")), "lower");
  EXPECT_EQ(Id(item.ChildElement("Markup")), "markup");
  EXPECT_EQ(Id(item.ChildElement("a:1")), "colon");
  EXPECT_EQ(Id(item.ChildElement("HeadMarkup")), "-");
  EXPECT_EQ(Id(item.ChildElement("PagesItem")), "-");
  for (const char* name : {"Comments", "comments", "Markup", "HeadMarkup", "Other", "a:1", "PKID", "n"}) {
    ExpectSameAsPath(item, name);
  }
}

TEST_F(ChildElementOfItem, NameThatIsNoXmlNameIsEvaluatedAsItsPath) {
  EXPECT_EQ(RaisedCode([&] { item.ChildElement("1a"); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(RaisedCode([&] { item.ChildElement("a b"); }), ErrorCode::kInvalidArgument);
  EXPECT_EQ(Id(item.ChildElement("*")), "?");  // <Other>
  EXPECT_EQ(Id(item.ChildElement("Comments[2]")), "second");
  EXPECT_EQ(Id(item.ChildElement(".")), "item");
  EXPECT_EQ(item.ChildElement("@Comments").Text(), "attribute");
  EXPECT_EQ(item.ChildElement("text()").Text(), "Comments");
  for (const char* name : {"1a",
                           "a b",
                           "",
                           "*",
                           "Comments[2]",
                           ".",
                           "..",
                           "@Comments",
                           "text()",
                           "node()",
                           "Other/Comments",
                           "//Comments",
                           "-a",
                           ":a",
                           "a:",
                           "a:b:c",
                           "Comments'",
                           "Comments]",
                           "Comments ",
                           " Comments",
                           "a:*",
                           "processing-instruction()",
                           "comment()"}) {
    ExpectSameAsPath(item, name);
  }
}

TEST_F(ChildElementOfItem, OfAnAttributeOrTextNodeIsWhatItsPathGives) {
  const Node attribute = item.SelectSingleNode("@Comments");
  const Node text = item.SelectSingleNode("text()");
  ASSERT_FALSE(attribute.empty());
  ASSERT_FALSE(text.empty());
  for (const char* name : {"Comments", "n", "*"}) {
    ExpectSameAsPath(attribute, name);
    ExpectSameAsPath(text, name);
  }
  EXPECT_TRUE(attribute.ChildElement("Comments").empty());
}

TEST_F(ChildElementOfItem, OfTheDocumentNodeIsTheRootElement) {
  const Node document = doc.SelectSingleNode("/");
  ASSERT_FALSE(document.empty());
  EXPECT_TRUE(document.ChildElement("CalvoraCatalog").raw() == doc.DocumentElement().raw());
  ExpectSameAsPath(document, "CalvoraCatalog");
  ExpectSameAsPath(document, "Pages");
}

TEST_F(ChildElementOfItem, OfAnEmptyNodeRaisesObjectRequired) {
  EXPECT_EQ(RaisedCode([&] { Node().ChildElement("Comments"); }), ErrorCode::kObjectRequired);
}

// ---- Replacing the content drops the index -----------------------------------------------------------------

TEST_F(ItemLookup, LoadXmlAgainFindsTheNewDocumentsItems) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "old", "1") +
                                       "</Products><PageData><PageDataItem n=\"oldpage\" ElType=\"1\" ElRef=\"1\"/>"
                                       "</PageData>")));
  ASSERT_EQ(Id(doc.ItemByNumber("Products", 1)), "old");
  ASSERT_EQ(Id(doc.ItemByText("Products", "1")), "old");
  ASSERT_EQ(Id(doc.ItemAnywhere("Products", "1")), "old");
  ASSERT_EQ(Id(doc.PageDataItem(1, 1)), "oldpage");
  ASSERT_EQ(Ids(doc.SectionItems("Products")), (std::vector<std::string>{"old"}));
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "zero", "2") + Item("Products", "new", "1") +
                                       "</Products><PageData><PageDataItem n=\"newpage\" ElType=\"1\" ElRef=\"1\"/>"
                                       "</PageData>")));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 1)), "new");
  EXPECT_EQ(Id(doc.ItemByText("Products", "1")), "new");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "1")), "new");
  EXPECT_EQ(Id(doc.PageDataItem(1, 1)), "newpage");
  EXPECT_EQ(Ids(doc.SectionItems("Products")), (std::vector<std::string>{"zero", "new"}));
}

TEST_F(ItemLookup, LoadAgainFindsTheNewDocumentsItems) {
  const std::filesystem::path path = std::filesystem::temp_directory_path() / "item_lookup_test_reload.xml";
  {
    std::ofstream out(path, std::ios::binary);
    out << Catalog("<Products>" + Item("Products", "fromfile", "1") + "</Products>");
  }
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "fromtext", "1") + "</Products>")));
  ASSERT_EQ(Id(doc.ItemByNumber("Products", 1)), "fromtext");
  ASSERT_EQ(Id(doc.ItemAnywhere("Products", "1")), "fromtext");
  ASSERT_TRUE(doc.Load(Utf8FromPath(path))) << doc.load_error().reason;
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 1)), "fromfile");
  EXPECT_EQ(Id(doc.ItemByText("Products", "1")), "fromfile");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "1")), "fromfile");
  std::filesystem::remove(path);
}

TEST_F(ItemLookup, FailedLoadLeavesNothingToFind) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", "1") + "</Products>")));
  ASSERT_EQ(Id(doc.ItemByNumber("Products", 1)), "a");
  ASSERT_FALSE(doc.LoadXml("<CalvoraCatalog><Products>"));
  EXPECT_TRUE(doc.SectionItems("Products").empty());
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 1)), "-");
  EXPECT_EQ(Id(doc.ItemByText("Products", "1")), "-");
  EXPECT_EQ(Id(doc.ItemAnywhere("Products", "1")), "-");
  EXPECT_EQ(Id(doc.PageDataItem(1, 1)), "-");
}

TEST_F(ItemLookup, EachDocumentKeepsItsOwnIndex) {
  ASSERT_NO_FATAL_FAILURE(Load(Catalog("<Products>" + Item("Products", "a", "1") + "</Products>")));
  Document other;
  ASSERT_TRUE(other.LoadXml(Catalog("<Products>" + Item("Products", "b", "1") + "</Products>")));
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 1)), "a");
  EXPECT_EQ(Id(other.ItemByNumber("Products", 1)), "b");
  other.ItemByNumber("Products", 1).SetAttribute("PKID", std::int32_t{2});
  EXPECT_EQ(Id(doc.ItemByNumber("Products", 1)), "a");
  EXPECT_EQ(Id(other.ItemByNumber("Products", 1)), "-");
  EXPECT_EQ(Id(other.ItemByNumber("Products", 2)), "b");
}

}  // namespace
}  // namespace cvimp::catalog
