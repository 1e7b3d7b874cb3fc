#include "check/catalog_rules.h"

#include <array>

namespace cvimp::check {
namespace {

constexpr KeyField Text(std::string_view attribute) { return {attribute, false, true}; }
constexpr KeyField Number(std::string_view attribute) { return {attribute, true, true}; }

constexpr std::array kName{Text("Name")};
constexpr std::array kId{Text("ID")};
constexpr std::array kCurrencies{Text("ISOCode")};
constexpr std::array kQuantityUnits{Text("QtyUnit")};
constexpr std::array kRegions{Text("PKID")};
constexpr std::array kManufacturers{Text("ProductID")};
constexpr std::array kKeywords{Text("Keyword")};
constexpr std::array kKeywordRefs{Number("RefType"), Number("ElRef")};
// Folders are looked up by name, and one found elsewhere in the tree is another folder: a name repeats only
// under the same parent.
constexpr std::array kFolders{Text("Name"), KeyField{"ParentFolderFKID", true, false}};
constexpr std::array kPageData{Number("ElType"), Number("ElRef")};
constexpr std::array kProducts{Text("ProductID")};
constexpr std::array kProducts2Categories{Number("CategoryFKID"), Number("ProductFKID")};
constexpr std::array kMedia{Text("Src")};
constexpr std::array kVariantValues{Text("Value"), Number("VariantFKID")};
constexpr std::array kVariantsSimple{Number("ProductFKID"), Number("VariantTypeFKID"), Number("VariantValueFKID")};
constexpr std::array kVariantsComplex{Text("VarString")};
constexpr std::array kAttributes2Class{Number("AttributeFKID"), Number("ClassFKID")};
constexpr std::array kAttributeMultiValues{Number("AttributeFKID"), Text("Value")};
constexpr std::array kAttributes2Product{Number("AttributeFKID"), Number("ClassFKID"), Number("ProductFKID")};
constexpr std::array kAttributeMultiValues2Product{Number("AttributeMultiValuesFKID"),
                                                   Number("Attributes2ProductFKID")};
constexpr std::array kShipMethodZones{Text("Name"), Number("ShipMethodFKID")};
constexpr std::array kShipMethodCalculators{Number("RefType"), Number("RefFKID")};
constexpr std::array kShipMethodTables{Number("ShipCalculatorFKID"), Number("ChargeType"), Text("UpToAmount")};
constexpr std::array kPay2ShipMethodsExcl{Number("PayMethodFKID"), Number("ShipMethodFKID")};
constexpr std::array kPayMethods2RegionsExcl{Number("PayMethodFKID"), Text("RegionFKID")};
constexpr std::array kRegions2ShipZones{Number("ShipZoneFKID"), Text("RegionFKID")};
constexpr std::array kDiscounts{Text("Name"), Number("DiscountType"), Number("ProductFKID"), Number("FromAmount")};
constexpr std::array kPublishProfiles{Text("ProfileName")};
constexpr std::array kBundles{Number("ProductFKID"), Number("RelProductFKID")};
constexpr std::array kCrossRefs{Number("ElSrcType"), Number("ElSrcRef"), Number("ElTargetType"), Number("ElTargetRef")};

// The manufacturers' key is read from ProductID and compared with the table's ID.
constexpr std::array<std::string_view, 1> kManufacturersExtra{"ProductID"};

// A folder's path is built from its PKID up through its parents; the key 0 has no path.
constexpr std::array kFoldersNeeded{NeededNumber{"PKID", true}};
// Read and converted, though the target category and variant are then derived from the source.
constexpr std::array kCrossRefsNeeded{NeededNumber{"ElSrcType"}, NeededNumber{"ElTargetType"},
                                      NeededNumber{"ElTargetCategoryRef"}, NeededNumber{"ElTargetVariantRef"}};

constexpr std::array kSections{
    SectionRule{"Media", kMedia},
    SectionRule{"Folders", kFolders, "ParentFolderFKID", {}, kFoldersNeeded},
    SectionRule{"Categories", kId, "ParentCategoryFKID"},
    SectionRule{"Products", kProducts},
    SectionRule{"Products2Categories", kProducts2Categories},
    SectionRule{"Pages", kId},
    SectionRule{"PageData", kPageData},  // read by the page, category and product importers
    SectionRule{"Currencies", kCurrencies},
    SectionRule{"DeliveryTimes", kName},
    SectionRule{"ExchangeDataProfiles", kName},
    SectionRule{"MeasureUnits", kName},
    SectionRule{"Discounts", kDiscounts},
    SectionRule{"PublishProfiles", kPublishProfiles},
    SectionRule{"QuantityUnits", kQuantityUnits},
    SectionRule{"Element2Media", kName},
    SectionRule{"Regions", kRegions},
    SectionRule{"PayMethods", kId},
    SectionRule{"ShipMethods", kId},
    SectionRule{"ShipMethodZones", kShipMethodZones},
    SectionRule{"ShipMethodCalculators", kShipMethodCalculators},
    SectionRule{"ShipMethodTables", kShipMethodTables},
    SectionRule{"Pay2ShipMethodsExcl", kPay2ShipMethodsExcl},
    SectionRule{"PayMethods2RegionsExcl", kPayMethods2RegionsExcl},
    SectionRule{"Regions2ShipZones", kRegions2ShipZones},
    SectionRule{"VariantTypes", kName},
    SectionRule{"VariantValues", kVariantValues},
    SectionRule{"VariantsSimple", kVariantsSimple},
    SectionRule{"VariantsComplex", kVariantsComplex},
    SectionRule{"AttributeClasses", kName},
    SectionRule{"AttributeGroups", kName},
    SectionRule{"Attributes", kName},
    SectionRule{"Attributes2Class", kAttributes2Class},
    SectionRule{"AttributeMultiValues", kAttributeMultiValues},
    SectionRule{"Attributes2Product", kAttributes2Product},
    SectionRule{"AttributeMultiValues2Product", kAttributeMultiValues2Product},
    SectionRule{"Bundles", kBundles},
    SectionRule{"CrossRefs", kCrossRefs, {}, {}, kCrossRefsNeeded},
    SectionRule{"Keywords", kKeywords},
    SectionRule{"KeywordRefs", kKeywordRefs},
    SectionRule{"Manufacturers", kManufacturers, {}, kManufacturersExtra},
};

constexpr Reference To(std::string_view section, std::string_view attribute, std::string_view target) {
  return {section, attribute, Target::kSection, target};
}
// A reference whose 0 is looked up like any other key (direct lookups of the item by its PKID).
constexpr Reference Looked(std::string_view section, std::string_view attribute, std::string_view target) {
  return {section, attribute, Target::kSection, target, {}, false, false};
}
// A reference read as a whole number without a default: absent, empty or not numeric ends the importer.
constexpr Reference Strict(Reference reference) {
  reference.required = true;
  return reference;
}

constexpr std::array kReferences{
    Strict(To("Folders", "ParentFolderFKID", "Folders")),  // the folder path walks it; a missing one ends the import
    To("Categories", "ParentCategoryFKID", "Categories"),
    To("Products", "PictureMRef", "Media"),
    Looked("Products2Categories", "CategoryFKID", "Categories"),
    Looked("Products2Categories", "ProductFKID", "Products"),
    Reference{"PageData", "ElRef", Target::kElementType, {}, "ElType", false, false},
    To("PageData", "IntroSoundMRef", "Media"),
    To("PageData", "OutputFolderRef", "Folders"),
    To("PageData", "ThumbMRef", "Media"),
    Looked("Discounts", "ProductFKID", "Products"),
    Strict(To("Element2Media", "ElRef", "Products")),
    Strict(Looked("ShipMethodZones", "ShipMethodFKID", "ShipMethods")),
    Reference{"ShipMethodCalculators", "RefFKID", Target::kCalculatorType, {}, "RefType", false, true},
    Looked("ShipMethodTables", "ShipCalculatorFKID", "ShipMethodCalculators"),
    Looked("Pay2ShipMethodsExcl", "PayMethodFKID", "PayMethods"),
    Looked("Pay2ShipMethodsExcl", "ShipMethodFKID", "ShipMethods"),
    Looked("PayMethods2RegionsExcl", "PayMethodFKID", "PayMethods"),
    Looked("Regions2ShipZones", "ShipZoneFKID", "ShipMethodZones"),
    Strict(Looked("VariantValues", "VariantFKID", "VariantTypes")),
    Looked("VariantsSimple", "ProductFKID", "Products"),
    To("VariantsSimple", "VariantTypeFKID", "VariantTypes"),
    To("VariantsSimple", "VariantValueFKID", "VariantValues"),
    Strict(Looked("VariantsComplex", "ProductFKID", "Products")),
    Strict(To("VariantsComplex", "DeliveryTimeFKID", "DeliveryTimes")),
    Strict(To("VariantsComplex", "ThumbMRef", "Media")),
    Strict(To("VariantsComplex", "PictureMRef", "Media")),
    Reference{"VariantsComplex", "VarString", Target::kVarString, "VariantValues"},
    Strict(Looked("Attributes", "GroupFKID", "AttributeGroups")),
    Looked("Attributes2Class", "AttributeFKID", "Attributes"),
    Looked("Attributes2Class", "ClassFKID", "AttributeClasses"),
    Looked("AttributeMultiValues", "AttributeFKID", "Attributes"),
    Looked("Attributes2Product", "AttributeFKID", "Attributes"),
    Looked("Attributes2Product", "ClassFKID", "AttributeClasses"),
    Looked("Attributes2Product", "ProductFKID", "Products"),
    Looked("AttributeMultiValues2Product", "AttributeMultiValuesFKID", "AttributeMultiValues"),
    Looked("AttributeMultiValues2Product", "Attributes2ProductFKID", "Attributes2Product"),
    To("Bundles", "ProductFKID", "Products"),
    To("Bundles", "RelProductFKID", "Products"),
    To("Bundles", "ProductCategoryFKID", "Categories"),
    To("Bundles", "ProductVariantFKID", "VariantsComplex"),
    Reference{"CrossRefs", "ElSrcRef", Target::kElementType, {}, "ElSrcType", true, true},
    Reference{"CrossRefs", "ElTargetRef", Target::kElementType, {}, "ElTargetType", true, true},
    Strict(Looked("KeywordRefs", "ElRef", "Products")),
};

}  // namespace

std::span<const SectionRule> SectionRules() { return kSections; }

const SectionRule* RuleOf(std::string_view section) {
  for (const SectionRule& rule : kSections)
    if (rule.section == section) return &rule;
  return nullptr;
}

std::span<const Reference> References() { return kReferences; }

}  // namespace cvimp::check
