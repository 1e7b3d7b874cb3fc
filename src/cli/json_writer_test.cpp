#include "cli/json_writer.h"

#include <gtest/gtest.h>

namespace cvimp::cli {
namespace {

TEST(JsonWriter, WritesNestedObjectsAndArraysIndented) {
  JsonWriter json;
  json.BeginObject();
  json.Key("a").Number(1);
  json.Key("b").BeginArray().String("x").Bool(true).Null().EndArray();
  json.Key("c").BeginObject().EndObject();
  json.Key("d").BeginArray().EndArray();
  json.Key("e").Double(0.5);
  json.EndObject();
  EXPECT_EQ(json.text(),
            "{\n"
            "  \"a\": 1,\n"
            "  \"b\": [\n"
            "    \"x\",\n"
            "    true,\n"
            "    null\n"
            "  ],\n"
            "  \"c\": {},\n"
            "  \"d\": [],\n"
            "  \"e\": 0.500\n"
            "}\n");
}

TEST(JsonQuote, EscapesWhatJsonRequiresAndKeepsUtf8) {
  EXPECT_EQ(JsonQuote("a\"b\\c\nd\re\tf\x01g"), "\"a\\\"b\\\\c\\nd\\re\\tf\\u0001g\"");
  EXPECT_EQ(JsonQuote("Gr\xC3\xBC\xC3\x9F"
                      "e"),
            "\"Gr\xC3\xBC\xC3\x9F"
            "e\"");
}

}  // namespace
}  // namespace cvimp::cli
