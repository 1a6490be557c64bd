// What-if definitions: what is read, and what is refused with which words.
#include "sweep/what_if.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "runfile/run.h"

namespace ordvane::sweep {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A definition of one input, with these fields.
std::string with_input(const std::string& fields) {
  return R"({"inputs": [{"sheet": "A", "cell": "B1", "name": "Price", )" + fields +
         R"(}], "outputs": [{"cell": "A!C1"}]})";
}

std::string with_groups(const std::string& groups) {
  return R"({"inputs": [{"cell": "A!B1", "name": "Price", "low": 1, "high": 2},
                        {"cell": "A!B2", "name": "Volume", "values": [1, 2, 4]},
                        {"cell": "A!B3", "name": "Price", "percent": [-5, 5]}],
             "outputs": [{"cell": "A!C1"}], "groups": )" +
         groups + "}";
}

WhatIf parsed(const std::string& text) {
  return what_if_of(runfile::parse_json(text, "w.json"), "w.json");
}

std::string complaint(const std::string& text) {
  try {
    parsed(text);
    return "";
  } catch (const runfile::BadRun& bad) {
    return bad.what();
  }
}

TEST(WhatIfFile, ReadsEveryWayToSayAnInput) {
  const WhatIf what_if = parsed(R"({
    "$schema": "what-if.schema.json", "format": "ordvane-what-if", "version": 1, "steps": 7,
    "inputs": [
      {"sheet": "My sheet", "cell": "$b$5", "name": "Price", "low": 1, "high": 2, "steps": 3},
      {"cell": "'Bob''s'!C3", "label": "beside it", "percent": [-10, 20], "base": 4},
      {"name": "Tax", "values": [0.1, 0.2]},
      {"cell": "D4", "low": "2026-04-01", "high": "2026-12-31"}],
    "outputs": [{"name": "NPV", "label": "Net present value"}, {"sheet": "S", "cell": "A1", "base": "Over 25"}],
    "groups": [{"inputs": ["Price", 2], "steps": [3, 2]}, {"inputs": ["Tax", 1]}]})");
  ASSERT_EQ(what_if.inputs.size(), 4U);
  EXPECT_EQ(what_if.steps, 7);
  EXPECT_EQ(what_if.inputs[0].sheet + "!" + what_if.inputs[0].cell, "My sheet!B5");
  EXPECT_EQ(what_if.inputs[0].steps, 3);
  EXPECT_EQ(what_if.inputs[1].sheet + "!" + what_if.inputs[1].cell, "Bob's!C3");
  EXPECT_EQ(what_if.inputs[1].name, "beside it");
  EXPECT_EQ(what_if.inputs[1].percent, std::pair(-10.0, 20.0));
  EXPECT_EQ(what_if.inputs[1].base, 4.0);
  EXPECT_EQ(what_if.inputs[2].defined_name, "Tax");
  EXPECT_THAT(what_if.inputs[2].values, ElementsAre(0.1, 0.2));
  EXPECT_EQ(what_if.inputs[3].sheet, "");
  EXPECT_EQ(what_if.inputs[3].low->value, 46113);
  EXPECT_TRUE(what_if.inputs[3].high->is_date);
  EXPECT_EQ(what_if.outputs[0].defined_name, "NPV");
  EXPECT_EQ(what_if.outputs[0].name, "Net present value");
  EXPECT_EQ(what_if.outputs[1].base, std::nullopt) << "texts are no base to compare with";
  EXPECT_THAT(what_if.groups[0].members, ElementsAre(0U, 1U));
  EXPECT_THAT(what_if.groups[0].steps, ElementsAre(3, 2));
  EXPECT_THAT(what_if.groups[1].members, ElementsAre(2U, 0U));
  EXPECT_TRUE(what_if.groups[1].steps.empty());
}

struct Case {
  const char* what;
  std::string text;
  const char* complaint;
};

TEST(WhatIfFile, RefusesWhatItDoesNotUnderstandByField) {
  const Case cases[] = {
      {"syntax", "{\n oops }", "w.json:2: "},
      {"misspelt", with_input(R"("low": 1, "hig": 2)"), R"(inputs[0].hig: unknown field; is "high" meant?)"},
      {"twice", with_input(R"("low": 1, "low": 2)"), "inputs[0].low: this field stands twice"},
      {"no outputs", R"({"inputs": [{"cell": "B1", "values": [1]}]})", R"(the field "outputs" is missing)"},
      {"format", R"({"format": "ordvane-what", "inputs": [], "outputs": []})",
       R"("ordvane-what-if" is expected)"},
      {"a run", R"({"format": "ordvane-run", "inputs": [], "outputs": []})",
       "is a recorded run, not a what-if definition; `ordvane report`"},
      {"no place", R"({"inputs": [{"low": 1, "high": 2}], "outputs": []})",
       R"(inputs[0]: the field "cell" is missing)"},
      {"sheet alone", R"({"inputs": [{"name": "x", "sheet": "A", "values": [1]}], "outputs": []})",
       R"(inputs[0].sheet: is there without the field "cell")"},
      {"sheet twice", R"({"inputs": [{"cell": "A!B1", "sheet": "A", "values": [1]}], "outputs": []})",
       R"(inputs[0].cell: is "A!B1", and the field "sheet" is there too)"},
      {"no cell", R"({"inputs": [{"cell": "A!B0", "values": [1]}], "outputs": []})",
       "a cell such as C5 or Prices!C5 is expected"},
      {"empty cell", R"({"inputs": [{"cell": "", "name": "x", "values": [1]}], "outputs": []})",
       "inputs[0].cell: "},
      {"low alone", with_input(R"("low": 1)"), R"("low" and "high" are expected together)"},
      {"no values", with_input(R"("steps": 3)"), R"(inputs[0]: has no values; )"},
      {"two ways", with_input(R"("values": [1], "percent": [-1, 1])"), "has its values in more than one way"},
      {"steps of values", with_input(R"("values": [1, 2], "steps": 2)"), "inputs[0].steps: is there with"},
      {"reversed", with_input(R"("low": 3, "high": 2)"),
       R"(inputs[0].low: is 3, above the field "high", which is 2)"},
      {"percent reversed", with_input(R"("percent": [5, -5])"),
       "inputs[0].percent[0]: is 5, above the second"},
      {"three percents", with_input(R"("percent": [-5, 0, 5])"), "a list of two percentages"},
      {"no date", with_input(R"("low": "2026-02-30", "high": 5)"), R"(is "2026-02-30"; a number or a date)"},
      {"no steps", with_input(R"("low": 1, "high": 2, "steps": 0)"), "a whole number from 1 to 32767"},
      {"no number", with_input(R"("values": [1, "2"])"),
       R"(inputs[0].values[1]: is "2"; a number is expected)"},
      {"base", with_input(R"("values": [1], "base": [1])"),
       "inputs[0].base: is a list; a number is expected"},
      {"unknown member", with_groups(R"([{"inputs": ["Cost", 1]}])"),
       R"(groups[0].inputs[0]: is "Cost"; no input has)"},
      {"two of a name", with_groups(R"([{"inputs": ["Price", 2]}])"), "several inputs have this name"},
      {"position", with_groups(R"([{"inputs": [1, 4]}])"), "a whole number from 1 to 3"},
      {"one member", with_groups(R"([{"inputs": [1]}])"), "has 1 elements; 2 to 32 are expected"},
      {"member twice", with_groups(R"([{"inputs": ["Volume", 2]}])"), "which is a member already"},
      {"steps", with_groups(R"([{"inputs": [1, 2], "steps": [3]}])"),
       "groups[0].steps: has 1 elements for 2 inputs"},
      {"repeated", with_groups(R"([{"inputs": [1, 2]}, {"inputs": [1, 2], "steps": 2}])"),
       "groups[1].inputs: are those of the group before"},
      {"too large", with_groups(R"({"size": 4, "steps": 2})"), "groups.size: is 4; there are 3 inputs"},
  };
  for (const Case& c : cases) EXPECT_THAT(complaint(c.text), HasSubstr(c.complaint)) << c.what;
}

TEST(WhatIfOptions, ReadRangesAndLists) {
  EXPECT_EQ(input_option("Prices!C3=10..20").low->value, 10);
  EXPECT_EQ(input_option("'a=b'!C3=-2.5..1e3").high->value, 1000);
  EXPECT_EQ(input_option("C3=2026-01-01..2026-02-01").low->value, 46023);
  EXPECT_EQ(input_option("Tax=\u00B110%").percent, std::pair(-10.0, 10.0));
  EXPECT_EQ(input_option("Tax=+-2.5%").defined_name, "Tax");
  EXPECT_EQ(input_option("Tax=-5%..+20%").percent, std::pair(-5.0, 20.0));
  EXPECT_THAT(input_option("C3=1,2,-5").values, ElementsAre(1, 2, -5));
  EXPECT_EQ(output_option("'My sheet'!b5").cell, "B5");
  for (const char* bad : {"C3", "C3=", "=1..2", "C3=2..1", "C3=1..", "C3=1..2%", "Tax=+-x%", "C3=1,,2",
                          "C3=5%", "A!B=1..2", "C3=inf..2"})
    EXPECT_THROW(input_option(bad), runfile::BadRun) << bad;
  EXPECT_THROW(output_option("A!B"), runfile::BadRun);
}

// Definitions that were made by other programs are read as they are.
TEST(WhatIfFile, ReadsThoseOfRealModels) {
  int read = 0;
  for (const char* folder : {"/../shared/models", "/examples/solar-plant"})
    if (std::filesystem::exists(std::string(ORDVANE_SOURCE_DIR) + folder))
      for (const auto& file : std::filesystem::directory_iterator(std::string(ORDVANE_SOURCE_DIR) + folder))
        if (file.path().string().ends_with(".whatif.json")) {
          EXPECT_GE(read_what_if(file.path()).inputs.size(), 5U) << file.path();
          ++read;
        }
  EXPECT_GE(read, 1);
}

}  // namespace
}  // namespace ordvane::sweep
