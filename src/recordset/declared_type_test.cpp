#include "recordset/declared_type.h"

#include <gtest/gtest.h>

namespace cvimp::recordset {
namespace {

TEST(DeclaredType, EveryTypeOfTheShopVocabularyHasItsAdoCode) {
  EXPECT_EQ(ParseDeclaredType("INTEGER"), (FieldType{DataType::kInteger, 0}));
  EXPECT_EQ(ParseDeclaredType("BIGINT"), (FieldType{DataType::kBigInt, 0}));
  EXPECT_EQ(ParseDeclaredType("SMALLINT"), (FieldType{DataType::kSmallInt, 0}));
  EXPECT_EQ(ParseDeclaredType("DOUBLE"), (FieldType{DataType::kDouble, 0}));
  EXPECT_EQ(ParseDeclaredType("CURRENCY"), (FieldType{DataType::kCurrency, 0}));
  EXPECT_EQ(ParseDeclaredType("DATETIME"), (FieldType{DataType::kDate, 0}));
  EXPECT_EQ(ParseDeclaredType("YESNO"), (FieldType{DataType::kBoolean, 0}));
  EXPECT_EQ(ParseDeclaredType("VARCHAR(255)"), (FieldType{DataType::kVarWChar, 255}));
  EXPECT_EQ(ParseDeclaredType("LONGTEXT"), (FieldType{DataType::kLongVarWChar, 0}));
  EXPECT_EQ(AdoCode(DataType::kInteger), 3);
  EXPECT_EQ(AdoCode(DataType::kBigInt), 20);
  EXPECT_EQ(AdoCode(DataType::kSmallInt), 2);
  EXPECT_EQ(AdoCode(DataType::kDouble), 5);
  EXPECT_EQ(AdoCode(DataType::kCurrency), 6);
  EXPECT_EQ(AdoCode(DataType::kDate), 7);
  EXPECT_EQ(AdoCode(DataType::kBoolean), 11);
  EXPECT_EQ(AdoCode(DataType::kVarWChar), 202);
  EXPECT_EQ(AdoCode(DataType::kLongVarWChar), 203);
}

TEST(DeclaredType, CaseAndBlanksDoNotMatter) {
  EXPECT_EQ(ParseDeclaredType("varchar ( 10 )"), (FieldType{DataType::kVarWChar, 10}));
  EXPECT_EQ(ParseDeclaredType("YesNo"), (FieldType{DataType::kBoolean, 0}));
}

TEST(DeclaredType, DeclarationsOutsideTheVocabularyAreNotParsed) {
  for (const char* declared : {"", "TEXT", "INT", "VARCHAR", "VARCHAR()", "VARCHAR(0)", "VARCHAR(x)", "REAL"})
    EXPECT_FALSE(ParseDeclaredType(declared).has_value()) << declared;
}

TEST(DeclaredType, OtherDeclarationsFollowTheirAffinity) {
  EXPECT_EQ(FieldTypeOfDeclaration("INT"), (FieldType{DataType::kBigInt, 0}));
  EXPECT_EQ(FieldTypeOfDeclaration("REAL"), (FieldType{DataType::kDouble, 0}));
  EXPECT_EQ(FieldTypeOfDeclaration("TEXT"), (FieldType{DataType::kLongVarWChar, 0}));
  EXPECT_EQ(FieldTypeOfDeclaration(""), (FieldType{DataType::kLongVarWChar, 0}));
  EXPECT_EQ(FieldTypeOfDeclaration("CURRENCY"), (FieldType{DataType::kCurrency, 0}));
}

TEST(DeclaredType, TypeNamesAreTheDeclarations) {
  EXPECT_EQ(DeclaredTypeName(DataType::kVarWChar, 50), "VARCHAR(50)");
  EXPECT_EQ(DeclaredTypeName(DataType::kBoolean, 0), "YESNO");
  EXPECT_EQ(DeclaredTypeName(DataType::kDate, 0), "DATETIME");
  EXPECT_EQ(DeclaredTypeName(DataType::kLongVarWChar, 0), "LONGTEXT");
}

}  // namespace
}  // namespace cvimp::recordset
