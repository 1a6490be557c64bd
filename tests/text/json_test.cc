// JSON values and how they are written: what readers of run files, tables and pages rely on.
#include "text/json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace ordvane::text {
namespace {

TEST(Json, WritesEveryValueSoThatItReadsBackAsItself) {
  struct Case {
    Json value;
    std::string text;
  };
  for (const Case& c :
       {Case{nullptr, "null"}, Case{true, "true"}, Case{-7, "-7"}, Case{0.0, "0.0"}, Case{-0.0, "-0.0"},
        Case{2.0, "2.0"}, Case{-1.25, "-1.25"}, Case{0.001, "0.001"}, Case{1e-5, "1e-05"},
        Case{123456789012345.0, "123456789012345.0"}, Case{1e15, "1e+15"}, Case{1.5e300, "1.5e+300"},
        Case{std::numeric_limits<double>::infinity(), "null"}, Case{std::nan(""), "null"},
        Case{"a\"\\\n\x01\x7F\u00FC\xFF", "\"a\\\"\\\\\\n\\u0001\x7F\u00FC\uFFFD\""}})
    EXPECT_EQ(c.value.dump(), c.text);
}

TEST(Json, BracesMakeObjectsOfPairsAndListsOfAllElse) {
  Json json{{"b", 1}, {"a", {1, "x", Json::array()}}, {"none", Json::object()}, {"in", {{"c", 0.5}}}};
  json["list"].push_back({1, 2});
  json["list"].push_back({"x", 2});
  json["a"][std::size_t{0}] = nullptr;
  EXPECT_EQ(json.dump(), R"({"b":1,"a":[null,"x",[]],"none":{},"in":{"c":0.5},"list":[[1,2],["x",2]]})");
  EXPECT_EQ(Json({{"b", {1}}, {"c", 2}}).dump(2), "{\n  \"b\": [\n    1\n  ],\n  \"c\": 2\n}");
}

TEST(Json, CopiesAreOfTheirOwnAndNumbersCompareByValue) {
  const Json one{{"a", {1, 2}}};
  Json other = one;
  EXPECT_EQ(other, one);
  other["a"].push_back(3.0);
  EXPECT_NE(other, one);
  EXPECT_EQ(other.at("a")[std::size_t{2}], Json(3));
  EXPECT_THROW(one.at("b"), Json::Mismatch);
  EXPECT_THROW(one.string(), Json::Mismatch);
  EXPECT_THROW(Json(1).push_back(1), Json::Mismatch);
}

}  // namespace
}  // namespace ordvane::text
