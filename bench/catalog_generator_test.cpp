// The benchmark catalogue: reproducible, loadable, and with every reference naming an item that exists.
#include "catalog_generator.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <pugixml.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "catalog/document.h"

namespace fs = std::filesystem;

namespace cvimp::bench {
namespace {

constexpr std::int64_t kItems = 2000;

std::string Slurp(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class CatalogGeneratorTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new fs::path(fs::temp_directory_path() / ("cvimp-bench-test-" + std::to_string(::getpid())));
    fs::remove_all(*dir_);
    fs::create_directories(*dir_);
    generated_ = new GeneratedCatalog(GenerateCatalog(kItems, (*dir_ / "catalog.xml").string(), dir_->string()));
    doc_ = new pugi::xml_document();
    ASSERT_TRUE(doc_->load_file((*dir_ / "catalog.xml").c_str()));
    keys_ = new std::map<std::string, std::set<long long>>();
    for (std::string_view section : CatalogSections()) {
      auto& keys = (*keys_)[std::string(section)];
      for (pugi::xml_node item : Items(section)) keys.insert(item.attribute("PKID").as_llong());
    }
  }
  static void TearDownTestSuite() {
    delete keys_;
    delete doc_;
    delete generated_;
    fs::remove_all(*dir_);
    delete dir_;
  }

  static fs::path Path() { return *dir_ / "catalog.xml"; }

  static std::vector<pugi::xml_node> Items(std::string_view section) {
    std::vector<pugi::xml_node> items;
    const std::string name(section);
    const std::string item_name = name + "Item";
    for (pugi::xml_node item : doc_->child("CalvoraCatalog").child(name.c_str()).children(item_name.c_str()))
      items.push_back(item);
    return items;
  }

  // Whether the item's attribute names an item of the section (0 only where `zero_allowed`).
  static bool Names(pugi::xml_node item, const char* attribute, std::string_view section, bool zero_allowed = false) {
    const long long key = item.attribute(attribute).as_llong(-1);
    if (key == 0 && zero_allowed) return true;
    return keys_->at(std::string(section)).count(key) == 1;
  }

  static std::string Describe(pugi::xml_node item) {
    std::string text = item.name();
    for (pugi::xml_attribute a : item.attributes()) text += std::string(" ") + a.name() + "=" + a.value();
    return text;
  }

  static fs::path* dir_;
  static GeneratedCatalog* generated_;
  static pugi::xml_document* doc_;
  static std::map<std::string, std::set<long long>>* keys_;
};

fs::path* CatalogGeneratorTest::dir_ = nullptr;
GeneratedCatalog* CatalogGeneratorTest::generated_ = nullptr;
pugi::xml_document* CatalogGeneratorTest::doc_ = nullptr;
std::map<std::string, std::set<long long>>* CatalogGeneratorTest::keys_ = nullptr;

TEST_F(CatalogGeneratorTest, TheSameSizeGivesTheSameBytes) {
  const fs::path again = *dir_ / "again.xml";
  GenerateCatalog(kItems, again.string());
  EXPECT_TRUE(Slurp(again) == Slurp(Path()));
  GenerateCatalog(kItems + 500, again.string());
  EXPECT_FALSE(Slurp(again) == Slurp(Path()));
}

TEST_F(CatalogGeneratorTest, HasAboutTheRequestedNumberOfItemsInEverySection) {
  EXPECT_GT(generated_->items, kItems * 9 / 10);
  EXPECT_LT(generated_->items, kItems * 11 / 10);
  EXPECT_EQ(generated_->bytes, fs::file_size(Path()));
  ASSERT_EQ(generated_->sections.size(), 40u);
  for (const SectionCount& s : generated_->sections) {
    EXPECT_GT(s.items, 0) << s.section;
    EXPECT_EQ(static_cast<std::int64_t>(Items(s.section).size()), s.items) << s.section;
  }
  const auto counted = CountCatalogItems(Path().string());
  ASSERT_EQ(counted.size(), generated_->sections.size());
  for (std::size_t i = 0; i < counted.size(); ++i) {
    EXPECT_EQ(counted[i].section, generated_->sections[i].section);
    EXPECT_EQ(counted[i].items, generated_->sections[i].items) << counted[i].section;
  }
}

TEST_F(CatalogGeneratorTest, LoadsAsACatalogue) {
  catalog::Document document;
  ASSERT_TRUE(document.Load(Path().string())) << document.load_error().reason;
  EXPECT_EQ(document.DocumentElement().Name(), "CalvoraCatalog");
  for (const SectionCount& s : generated_->sections) {
    const std::string section(s.section);
    EXPECT_EQ(
        static_cast<std::int64_t>(document.SelectNodes("CalvoraCatalog/" + section + "/" + section + "Item").size()),
        s.items)
        << section;
  }
  // The texts come through the parser unescaped: markup, quotes and umlauts.
  const catalog::Node product = document.SelectSingleNode("CalvoraCatalog/Products/ProductsItem[@PKID=1]");
  ASSERT_FALSE(product.empty());
  EXPECT_EQ(product.Text().rfind("<p><b>", 0), 0u) << product.Text();
  EXPECT_NE(product.AttributeText("Name").find('"'), std::string::npos);
  const catalog::Node page_data = document.SelectSingleNode("CalvoraCatalog/PageData/PageDataItem[@PKID=1]");
  EXPECT_EQ(page_data.ChildElement("Markup").Text().rfind("<div>", 0), 0u);
  EXPECT_NE(page_data.ChildElement("HeadMarkup").Text().find("<meta name=\"description\""), std::string::npos);
}

TEST_F(CatalogGeneratorTest, ProductAssignmentsNameCategoriesAndProducts) {
  for (pugi::xml_node item : Items("Products2Categories")) {
    EXPECT_TRUE(Names(item, "CategoryFKID", "Categories")) << Describe(item);
    EXPECT_TRUE(Names(item, "ProductFKID", "Products")) << Describe(item);
  }
  for (pugi::xml_node item : Items("Products")) {
    EXPECT_TRUE(Names(item, "ManufacturerFKID", "Manufacturers")) << Describe(item);
    EXPECT_TRUE(Names(item, "DeliveryTimeFKID", "DeliveryTimes")) << Describe(item);
    EXPECT_TRUE(Names(item, "PictureMRef", "Media", true)) << Describe(item);
  }
  for (pugi::xml_node item : Items("Categories")) {
    EXPECT_TRUE(Names(item, "ParentCategoryFKID", "Categories", true)) << Describe(item);
    EXPECT_LT(item.attribute("ParentCategoryFKID").as_llong(), item.attribute("PKID").as_llong());
  }
  for (pugi::xml_node item : Items("Folders")) {
    EXPECT_TRUE(Names(item, "ParentFolderFKID", "Folders", true)) << Describe(item);
    EXPECT_LT(item.attribute("ParentFolderFKID").as_llong(), item.attribute("PKID").as_llong());
  }
}

TEST_F(CatalogGeneratorTest, PageDataBelongsToAnElementOfItsType) {
  const char* const kSectionOfType[] = {"Pages", "Categories", "Products"};
  std::set<std::pair<int, long long>> elements;
  for (pugi::xml_node item : Items("PageData")) {
    const int type = item.attribute("ElType").as_int(-1);
    ASSERT_TRUE(type >= 0 && type <= 2) << Describe(item);
    EXPECT_TRUE(Names(item, "ElRef", kSectionOfType[type])) << Describe(item);
    EXPECT_TRUE(elements.emplace(type, item.attribute("ElRef").as_llong()).second) << Describe(item);
    EXPECT_TRUE(Names(item, "OutputFolderRef", "Folders")) << Describe(item);
    EXPECT_TRUE(Names(item, "ThumbMRef", "Media", true)) << Describe(item);
    EXPECT_TRUE(Names(item, "IntroSoundMRef", "Media", true)) << Describe(item);
  }
  // One page-data item for every page, category and product.
  EXPECT_EQ(elements.size(), keys_->at("Pages").size() + keys_->at("Categories").size() + keys_->at("Products").size());
}

TEST_F(CatalogGeneratorTest, MediaAssignmentsNameProductsAndMedia) {
  for (pugi::xml_node item : Items("Element2Media")) {
    EXPECT_TRUE(Names(item, "ElRef", "Products")) << Describe(item);
    EXPECT_TRUE(Names(item, "MediaFKID", "Media")) << Describe(item);
  }
  // Every medium that is a file lies where the media import looks for it.
  const std::map<std::string, std::string> folders = {
      {"image", "Media/images"}, {"audio", "Media/audio"}, {"doc", "Media/docs"}, {"misc", "Media/misc"}};
  for (pugi::xml_node item : Items("Media")) {
    const auto folder = folders.find(item.attribute("MediaTypeFKID").value());
    if (folder == folders.end()) continue;
    EXPECT_TRUE(fs::is_regular_file(*dir_ / folder->second / item.attribute("Src").value())) << Describe(item);
  }
}

TEST_F(CatalogGeneratorTest, VariantsNameTheirProductTypeAndValues) {
  std::map<long long, long long> type_of_value;
  for (pugi::xml_node value : Items("VariantValues")) {
    EXPECT_TRUE(Names(value, "VariantFKID", "VariantTypes")) << Describe(value);
    type_of_value[value.attribute("PKID").as_llong()] = value.attribute("VariantFKID").as_llong();
  }
  for (pugi::xml_node item : Items("VariantsSimple")) {
    EXPECT_TRUE(Names(item, "ProductFKID", "Products")) << Describe(item);
    EXPECT_TRUE(Names(item, "VariantTypeFKID", "VariantTypes")) << Describe(item);
    ASSERT_TRUE(Names(item, "VariantValueFKID", "VariantValues")) << Describe(item);
    EXPECT_EQ(type_of_value.at(item.attribute("VariantValueFKID").as_llong()),
              item.attribute("VariantTypeFKID").as_llong())
        << Describe(item);
  }
  std::set<std::string> var_strings;
  for (pugi::xml_node item : Items("VariantsComplex")) {
    EXPECT_TRUE(Names(item, "ProductFKID", "Products")) << Describe(item);
    EXPECT_TRUE(Names(item, "DeliveryTimeFKID", "DeliveryTimes")) << Describe(item);
    EXPECT_TRUE(Names(item, "ThumbMRef", "Media", true)) << Describe(item);
    EXPECT_TRUE(Names(item, "PictureMRef", "Media", true)) << Describe(item);
    // "[1]17[2]42…": positions from 1, values in ascending order of their types.
    const std::string var_string = item.attribute("VarString").value();
    EXPECT_TRUE(var_strings.insert(var_string).second) << var_string;
    long long position = 0, last_type = 0;
    std::size_t at = 0;
    while (at < var_string.size()) {
      ASSERT_EQ(var_string[at], '[') << var_string;
      const std::size_t close = var_string.find(']', at);
      ASSERT_NE(close, std::string::npos) << var_string;
      EXPECT_EQ(std::stoll(var_string.substr(at + 1, close - at - 1)), ++position) << var_string;
      const std::size_t next = std::min(var_string.find('[', close), var_string.size());
      const long long value = std::stoll(var_string.substr(close + 1, next - close - 1));
      ASSERT_EQ(type_of_value.count(value), 1u) << var_string;
      EXPECT_GT(type_of_value.at(value), last_type) << var_string;
      last_type = type_of_value.at(value);
      at = next;
    }
    EXPECT_GE(position, 2) << var_string;
  }
}

TEST_F(CatalogGeneratorTest, AttributeLinksNameTheirItems) {
  for (pugi::xml_node item : Items("Attributes")) EXPECT_TRUE(Names(item, "GroupFKID", "AttributeGroups"));
  for (pugi::xml_node item : Items("Attributes2Class")) {
    EXPECT_TRUE(Names(item, "AttributeFKID", "Attributes")) << Describe(item);
    EXPECT_TRUE(Names(item, "ClassFKID", "AttributeClasses")) << Describe(item);
  }
  for (pugi::xml_node item : Items("AttributeMultiValues"))
    EXPECT_TRUE(Names(item, "AttributeFKID", "Attributes")) << Describe(item);
  for (pugi::xml_node item : Items("Attributes2Product")) {
    EXPECT_TRUE(Names(item, "AttributeFKID", "Attributes")) << Describe(item);
    EXPECT_TRUE(Names(item, "ClassFKID", "AttributeClasses")) << Describe(item);
    EXPECT_TRUE(Names(item, "ProductFKID", "Products")) << Describe(item);
  }
  for (pugi::xml_node item : Items("AttributeMultiValues2Product")) {
    EXPECT_TRUE(Names(item, "AttributeMultiValuesFKID", "AttributeMultiValues")) << Describe(item);
    EXPECT_TRUE(Names(item, "Attributes2ProductFKID", "Attributes2Product")) << Describe(item);
  }
}

TEST_F(CatalogGeneratorTest, CrossReferencesNameElementsOfTheirTypes) {
  const char* const kSectionOfType[] = {"Pages", "Categories", "Products"};
  for (pugi::xml_node item : Items("CrossRefs")) {
    const int source = item.attribute("ElSrcType").as_int(-1);
    const int target = item.attribute("ElTargetType").as_int(-1);
    ASSERT_TRUE(source >= 0 && source <= 2 && target >= 0 && target <= 2) << Describe(item);
    EXPECT_TRUE(Names(item, "ElSrcRef", kSectionOfType[source])) << Describe(item);
    EXPECT_TRUE(Names(item, "ElTargetRef", kSectionOfType[target])) << Describe(item);
    // The source key is also a category's and a combined variant's key (see the generator).
    EXPECT_TRUE(Names(item, "ElSrcRef", "Categories")) << Describe(item);
    EXPECT_TRUE(Names(item, "ElSrcRef", "VariantsComplex")) << Describe(item);
    EXPECT_TRUE(Names(item, "ElTargetCategoryRef", "Categories", true)) << Describe(item);
    EXPECT_TRUE(Names(item, "ElTargetVariantRef", "VariantsComplex", true)) << Describe(item);
  }
  for (pugi::xml_node item : Items("Bundles")) {
    EXPECT_TRUE(Names(item, "ProductFKID", "Products")) << Describe(item);
    EXPECT_TRUE(Names(item, "RelProductFKID", "Products")) << Describe(item);
    EXPECT_TRUE(Names(item, "ProductCategoryFKID", "Categories", true)) << Describe(item);
    EXPECT_TRUE(Names(item, "ProductVariantFKID", "VariantsComplex", true)) << Describe(item);
  }
  for (pugi::xml_node item : Items("Discounts")) EXPECT_TRUE(Names(item, "ProductFKID", "Products"));
  for (pugi::xml_node item : Items("KeywordRefs")) EXPECT_TRUE(Names(item, "ElRef", "Products"));
}

TEST_F(CatalogGeneratorTest, ShippingReferencesNameTheirItems) {
  for (pugi::xml_node item : Items("ShipMethodZones")) EXPECT_TRUE(Names(item, "ShipMethodFKID", "ShipMethods"));
  for (pugi::xml_node item : Items("ShipMethodCalculators")) {
    const bool zone = item.attribute("RefType").as_int() != 0;
    EXPECT_TRUE(Names(item, "RefFKID", zone ? "ShipMethodZones" : "ShipMethods")) << Describe(item);
  }
  for (pugi::xml_node item : Items("ShipMethodTables"))
    EXPECT_TRUE(Names(item, "ShipCalculatorFKID", "ShipMethodCalculators"));
  for (pugi::xml_node item : Items("Pay2ShipMethodsExcl")) {
    EXPECT_TRUE(Names(item, "PayMethodFKID", "PayMethods"));
    EXPECT_TRUE(Names(item, "ShipMethodFKID", "ShipMethods"));
  }
  for (pugi::xml_node item : Items("PayMethods2RegionsExcl")) {
    EXPECT_TRUE(Names(item, "PayMethodFKID", "PayMethods"));
    EXPECT_TRUE(Names(item, "RegionFKID", "Regions"));
  }
  for (pugi::xml_node item : Items("Regions2ShipZones")) {
    EXPECT_TRUE(Names(item, "ShipZoneFKID", "ShipMethodZones"));
    EXPECT_TRUE(Names(item, "RegionFKID", "Regions"));
  }
}

// The keys that the import finds records by are unique, so that each item becomes a row of its own.
TEST_F(CatalogGeneratorTest, NaturalKeysAreUnique) {
  const std::vector<std::pair<std::string_view, std::vector<const char*>>> keys = {
      {"Currencies", {"ISOCode"}},
      {"Manufacturers", {"ProductID"}},
      {"Keywords", {"Keyword"}},
      {"KeywordRefs", {"RefType", "ElRef"}},
      {"Folders", {"Name"}},
      {"Pages", {"ID"}},
      {"Categories", {"ID"}},
      {"Categories", {"Name"}},
      {"Products", {"ProductID"}},
      {"Products2Categories", {"CategoryFKID", "ProductFKID"}},
      {"Media", {"Src"}},
      {"Element2Media", {"Name"}},
      {"VariantValues", {"Value", "VariantFKID"}},
      {"VariantsSimple", {"ProductFKID", "VariantTypeFKID", "VariantValueFKID"}},
      {"Attributes", {"Name"}},
      {"AttributeMultiValues", {"AttributeFKID", "Value"}},
      {"Attributes2Product", {"AttributeFKID", "ClassFKID", "ProductFKID"}},
      {"AttributeMultiValues2Product", {"AttributeMultiValuesFKID", "Attributes2ProductFKID"}},
      {"ShipMethodZones", {"Name", "ShipMethodFKID"}},
      {"ShipMethodCalculators", {"RefType", "RefFKID"}},
      {"ShipMethodTables", {"ShipCalculatorFKID", "ChargeType", "UpToAmount"}},
      {"Discounts", {"Name"}},
      {"Bundles", {"ProductFKID", "RelProductFKID"}},
      {"CrossRefs", {"ElSrcType", "ElSrcRef", "ElTargetType", "ElTargetRef"}},
  };
  for (const auto& [section, fields] : keys) {
    std::set<std::string> seen;
    for (pugi::xml_node item : Items(section)) {
      std::string key;
      for (const char* field : fields) key += std::string(item.attribute(field).value()) + "\x1f";
      EXPECT_TRUE(seen.insert(key).second) << section << ": " << Describe(item);
    }
  }
}

}  // namespace
}  // namespace cvimp::bench
