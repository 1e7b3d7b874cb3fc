#include "recordset/sql_tokens.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace cvimp::recordset {
namespace {

// The statement cut into tokens, each as "<kind>:<text>".
std::vector<std::string> Tokens(std::string_view sql) {
  static const char* kNames[] = {"blank", "comment", "string", "name", "number", "word", "parameter", "other"};
  std::vector<std::string> out;
  for (std::size_t pos = 0; pos < sql.size();) {
    Token token = TokenAt(sql, pos);
    out.push_back(std::string(kNames[static_cast<int>(token.kind)]) + ":" + std::string(token.text));
    pos += token.text.size();
  }
  return out;
}

TEST(SqlTokens, CutsAStatementIntoItsPieces) {
  EXPECT_EQ(Tokens("SELECT * FROM T WHERE A='it''s' AND B=1.5e-3"),
            (std::vector<std::string>{"word:SELECT", "blank: ", "other:*", "blank: ", "word:FROM", "blank: ", "word:T",
                                      "blank: ", "word:WHERE", "blank: ", "word:A", "other:=", "string:'it''s'",
                                      "blank: ", "word:AND", "blank: ", "word:B", "other:=", "number:1.5e-3"}));
}

TEST(SqlTokens, QuotedNamesCommentsAndParameters) {
  EXPECT_EQ(Tokens("\"a\"\"b\"[c d]`e`--x\n/*y*/?1:n@m $v"),
            (std::vector<std::string>{"name:\"a\"\"b\"", "name:[c d]", "name:`e`", "comment:--x\n", "comment:/*y*/",
                                      "parameter:?1", "parameter::n", "parameter:@m", "blank: ", "parameter:$v"}));
}

TEST(SqlTokens, ANumberEndsWhereALetterFollowsUnlessItIsAnExponent) {
  EXPECT_EQ(Tokens("12AND"), (std::vector<std::string>{"number:12", "word:AND"}));
  EXPECT_EQ(Tokens("12e5x"), (std::vector<std::string>{"number:12e5", "word:x"}));
  EXPECT_EQ(Tokens("12e+x"), (std::vector<std::string>{"number:12", "word:e", "other:+", "word:x"}));
  EXPECT_EQ(Tokens(".5 x1"), (std::vector<std::string>{"number:.5", "blank: ", "word:x1"}));
}

TEST(SqlTokens, UnterminatedPiecesRunToTheEnd) {
  EXPECT_EQ(Tokens("'abc"), (std::vector<std::string>{"string:'abc"}));
  EXPECT_EQ(Tokens("/* x"), (std::vector<std::string>{"comment:/* x"}));
  EXPECT_EQ(Tokens("-- x"), (std::vector<std::string>{"comment:-- x"}));
}

TEST(SqlTokens, KeywordsMatchWithoutRegardToCase) {
  EXPECT_TRUE(IsKeyword("where", "WHERE"));
  EXPECT_TRUE(IsKeyword("In", "IN"));
  EXPECT_FALSE(IsKeyword("INTO", "IN"));
}

}  // namespace
}  // namespace cvimp::recordset
