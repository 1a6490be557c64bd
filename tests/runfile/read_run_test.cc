#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

#include "run_files.h"
#include "runfile/known_fields.h"
#include "runfile/values.h"
#include "text/edit.h"
#include "text/utf8.h"

namespace ordvane::runfile {
namespace {

using testing::AllOf;
using testing::HasSubstr;

using host::CellError;

// One change to a good run file, and what the reader says to it behind "a.run.".
struct BadCase {
  const char *from, *to, *complaint;
};

template <class Cases, class Change>
void expect_complaints(const Cases& cases, const Change& complaint_of_change) {
  for (const BadCase& bad : cases)
    EXPECT_EQ(complaint_of_change(bad), std::string("a.run.") + bad.complaint) << bad.to;
}

const std::string kLongFormat = "\"base\": 10, \"numberFormat\": \"" + std::string(256, '0') + "\"";

const BadCase kBadJson[] = {
    {"\"base\": 10", "\"base\": 1e999", "json:2: column 93: number overflow parsing '1e999'"},
    {"\"base\": 10", "\"base\": 10, \"base\": 11", "json:inputs[0].base: this field stands twice"},
    {"Price", "Pr\xE4ne", "json:2: is not UTF-8 text (byte \\xE4); UTF-8 is expected"},
    {"ordvane-run", "something", "json:format: is \"something\"; \"ordvane-run\" is expected"},
    {"\"version\": 1", "\"version\": 2, \"new\": 3", "json:version: is 2; 1 is expected"},
    {"\"version\": 1, ", "", "json: the field \"version\" is missing; is this a run file?"},
    {"\"cell\": \"B2\",", "\"cell\": \"B2\", \"labels\": [ { \"zzzzzzzz\\u0007\": 1 } ],",
     "json:outputs[1].labels[0].zzzzzzzz\\u0007: unknown field; known ones are cell, text"},
    {", \"steps\": 1 ", "", "json:inputs[1]: the field \"steps\" is missing"},
    {"\"Price\"", "[1]", "json:inputs[0].name: is a list; a text is expected"},
    {"\"base\": 10", "\"base\": -1e300",
     "json:inputs[0].base: is -1e+300; a number between -1e300 and 1e300 is expected"},
    {"\"base\": 10", kLongFormat.c_str(),
     "json:inputs[0].numberFormat: is \"0000000000000000000000000000000000000000...\", 256 characters long; "
     "at "
     "most 255 are possible"},
    {"\"base\": 10", "\"base\": 10, \"date\": 1", "json:inputs[0].date: is 1; true or false is expected"},
    {"\"steps\": 1 ", "\"steps\": 32768 ",
     "json:inputs[1].steps: is 32768; a whole number from 1 to 32767 is expected"},
    {"\"simulations\": 1", "\"simulations\": 0",
     "json:simulations: is 0; a whole number from 1 to 2147483647 is expected"},
    {"\"C5\"", "\"XFE1\"", "json:inputs[0].cell: is \"XFE1\"; a cell from A1 to XFD1048576 is expected"},
    {"\"C6\"", "\"$c$5\"", "json:inputs[1].cell: is C5 on \"S 1\" of \"m.xlsx\", like that of inputs[0]"},
    {"\"base\": 10", "\"base\": 10, \"range\": \"D4:E6\"",
     "json:inputs[0].range: is D4:E6, which does not hold the item's cell C5"},
    {"\"base\": 10", "\"base\": 10, \"labels\": [{\"cell\": \"$C5\", \"text\": \"\"}]",
     "json:inputs[0].labels[0].cell: is C5, the item's own cell"},
    {"\"S 2\"", "\"📋📋📋📋📋📋📋📋📋📋📋📋📋📋📋📋\"",
     "json:outputs[1].sheet: is \"📋📋📋📋📋📋📋📋📋📋📋📋📋📋📋📋\", 32 characters long; at most 31 are possible"},
    {"\"S 2\"", "\"S[2\"", "json:outputs[1].sheet: is \"S[2\"; a name without [ is expected"},
    {"\"S 2\"", "\"'S'\"", "json:outputs[1].sheet: is \"'S'\"; a name without ' at its ends is expected"},
    {"Price", "Pr\\u0000ice",
     "json:inputs[0].name: is \"Pr\\u0000ice\", which holds a character that no workbook can hold"},
    {"\"=C5-3\"", "\"=C5-3\", \"function\": \"C7\"",
     "json:outputs[0].function: is \"C7\", which is no part of the formula \"=C5-3\""},
    {"\"base\": 10", "\"base\": 10, \"formula\": \"10\", \"automatic\": true",
     "json:inputs[0].automatic: is true, but the input's function is not DralAuto"},
    {"\"base\": 10", "\"base\": 10, \"low\": 3, \"high\": 2",
     "json:inputs[0].low: is 3, above the field \"high\", which is 2"},
    {"\"base\": 7", "\"base\": 7, \"rangeIndex\": 2",
     "json:outputs[0]: the fields \"rangeName\" and \"rangeIndex\" are expected together"},
    {"\"a.run.csv\"", "\"x/../../a.run.csv\"",
     "json:recalculations: is \"x/../../a.run.csv\"; the name of a table beside the run file, such as "
     "model.run.csv, is expected"},
    {"\"a.run.csv\"", "[[1,1,1,8,5,5],[1,1,2,12,9,5]]",
     "json:recalculations: has 2 rows; 3 rows are expected (1 simulation of 3 recalculations)"},
    {"\"a.run.csv\"", "[[1,1,1,8,5,5],[1,2,1,0.25,7,null],[1,1,2,12,9,5]]",
     "json:recalculations[1][1]: the input is 2; 1 is expected (rows go by simulation, input and step)"},
    {"\"a.run.csv\"", "[[1,1,1,\"8\",5,5],[1,1,2,12,9,5],[1,2,1,0.25,7,null]]",
     "json:recalculations[0][3]: is \"8\"; a number or null is expected"},
    {"\"simulations\": 1", "\"simulations\": 2000000000",
     "csv: the file is too short: 6000000000 rows are expected (2000000000 simulations of 3 recalculations)"},
};

TEST(ReadRun, PlacesMistakesOfTheRunFile) {
  const RunFolder folder;
  ASSERT_EQ(folder.complaint(kJson, kCsv), "");
  expect_complaints(
      kBadJson, [&](const BadCase& bad) { return folder.complaint(with(kJson, bad.from, bad.to), kCsv); });
  const std::string upper = with(kJson, "\"S 1\", \"cell\": \"C5\"", "\"\u00C4rzte\", \"cell\": \"C5\"");
  EXPECT_EQ(
      folder.complaint(with(upper, "\"S 1\", \"cell\": \"C6\"", "\"\u00E4rzte\", \"cell\": \"C5\""), kCsv),
      "a.run.json:inputs[1].cell: is C5 on \"\u00E4rzte\" of \"m.xlsx\", like that of inputs[0]");
  EXPECT_EQ(folder.complaint("\xEF\xBB\xBF \n", kCsv), "a.run.json: is empty; a run file is expected");
  EXPECT_EQ(folder.complaint(with(kJson, "\"a.run.csv\"", "\"b.run.csv\""), kCsv),
            "b.run.csv: cannot be read: there is no such file or folder");
  EXPECT_EQ(folder.complaint("[]", kCsv), "a.run.json: is a list; an object { ... } is expected");
}

const BadCase kBadCsv[] = {
    {"step,", "steps,", "csv:1: column step: is named \"steps\"; step is expected"},
    {",output2", "", "csv:1: 5 fields; 6 are expected (simulation, input, step, value and 2 outputs)"},
    {"simulation", "\xFF\xFEs", "csv:1: is UTF-16 text; UTF-8 is expected"},
    {"1,1,2", "\n1,1,2",
     "csv:3: an empty line; 6 fields are expected (simulation, input, step, value and 2 outputs)"},
    {"0.25", "nan", "csv:4: column value: is \"nan\"; a number or an empty field is expected"},
    {"#NUM!", "1e999", "csv:2: column output2: is \"1e999\"; a number between -1e300 and 1e300 is expected"},
    {"#NUM!", "-2.036e305",
     "csv:2: column output2: is \"-2.036e305\"; a number between -1e300 and 1e300 is expected"},
    {"#NUM!",
     "\xDC"
     "ber",
     "csv:2: column output2: is \"\\xDCber\", which is not UTF-8 text"},
    {"\"Over, 25\"", "\"Over\"25", "csv:3: column output2: has text behind the closing quote of \"Over\""},
    {"\"Over, 25\"", "\"Over, 25", "csv:3: column output2: starts a quoted text that is never closed"},
    {"1,1,1,8,5,#NUM!", "1,1,1,8,\"5,#NUM!",
     "csv:2: column output1: has text behind the closing quote of \"5,#NUM!\\n1,1,2,12,9,\""},
    {"1,1,1,8,5,#NUM!\n1,1,2,12,9,\"Over, 25\"", "1,1,1,8,5\",#NUM!\n1,1,2,12,9,6\"",
     "csv:2: 5 fields; 6 are expected (simulation, input, step, value and 2 outputs); a quoted text goes on "
     "to line 3"},
    {"1,2,1,0.25,7,\n", "1,2,1,0.25,7,\n\n1,2,2,0.3,7,\n",
     "csv:6: a row too many; 3 rows are expected (1 simulation of 3 recalculations)"},
};

TEST(ReadRun, PlacesMistakesOfTheCsvFile) {
  const RunFolder folder;
  expect_complaints(
      kBadCsv, [&](const BadCase& bad) { return folder.complaint(kJson, with(kCsv, bad.from, bad.to)); });
  EXPECT_EQ(folder.complaint(kJson, ""), "a.run.csv: is empty; a line of column names is expected");
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(ReadRun, UnderstandsResultsAsProgramsWriteThem) {
  std::string long_text = "\"";
  while (long_text.size() < 3'000'000) long_text += "several blocks of the file,\n";
  const struct {
    std::string field;
    double value;
  } kCases[] = {
      {"5", 5},
      {"-2.5E-3", -0.0025},
      {"1e-999", 0},
      {"\"12.5\"", 12.5},
      {" 3 ", 3},
      {"+4", 4},
      {".5", 0.5},
      {"", kNaN},
      {"\"\"", kNaN},
      {"#DIV/0!", encode_error(CellError::kDiv0)},
      {"\"#N/A\"", encode_error(CellError::kNA)},
      {" ", encode_text()},
      {"inf", encode_text()},
      {"-nan", encode_text()},
      {"+-5", encode_text()},
      {"0x10", encode_text()},
      {"TRUE", encode_text()},
      {"\"say \"\"no\"\",\r\nplease\"", encode_text()},
      {long_text + "\"", encode_text()},
  };
  const RunFolder folder;
  for (const auto& c : kCases) {
    const auto run = folder.read(kJson, with(kCsv, "#NUM!", c.field));
    const double got = run.output_values[run.output_value_index(0, 1, 0)];
    EXPECT_TRUE(got == c.value || (std::isnan(got) && std::isnan(c.value)))
        << c.field.substr(0, 40) << " became " << got;
    EXPECT_EQ(run.output_values[run.output_value_index(0, 0, 2)], 7) << "behind " << c.field.substr(0, 40);
  }
}

void expect_same_values(const StoredValues& one, const StoredValues& other, const std::string& what) {
  ASSERT_EQ(one.size(), other.size()) << what;
  for (std::size_t i = 0; i < one.size(); ++i)
    EXPECT_TRUE(one[i] == other[i] || (std::isnan(one[i]) && std::isnan(other[i]))) << what << " at " << i;
}

TEST(ReadRun, DoesNotMindHowTheSameRunIsWritten) {
  const auto crlf = [](std::string text) {
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) text.insert(at, "\r");
    return text;
  };
  const std::string rows = "[[1,1,1,8,5,\"#NUM!\"],[1,1,2.0,12,9,\"Over, 25\"],[1,2,1,0.25,7,null]]";
  const struct {
    const char* what;
    std::string json, csv;
  } kCases[] = {
      {"byte order marks", "\xEF\xBB\xBF" + kJson, "\xEF\xBB\xBF" + kCsv},
      {"CRLF", crlf(kJson), crlf(kCsv)},
      {"no last line break", kJson, kCsv.substr(0, kCsv.size() - 1)},
      {"blank lines at the end", kJson, kCsv + "\r\n\n"},
      {"everything quoted", kJson,
       with(with(kCsv, "simulation,input", "\"simulation\",\"input\""), "1,1,1,", "\"1\",\"1\",\"1\",")},
      {"inline rows", with(kJson, "\"a.run.csv\"", rows), ""},
      {"a schema for editors", with(kJson, "\"format\"", "\"$schema\": \"x\", \"format\""), kCsv},
      {"a cell in another spelling", with(kJson, "\"C5\"", "\"$c$5\""), kCsv},
  };
  const RunFolder folder;
  const auto plain = folder.read(kJson, kCsv);
  EXPECT_EQ(plain.recalculations, 3);
  for (const auto& c : kCases) {
    const auto run = folder.read(c.json, c.csv);
    expect_same_values(run.input_values, plain.input_values, c.what);
    expect_same_values(run.output_values, plain.output_values, c.what);
    EXPECT_EQ(run.inputs[0].cell, "C5") << c.what;
  }
}

TEST(ReadRun, FillsInWhatIsLeftOut) {
  const RunFolder folder;
  const auto run = folder.read(with(kJson, "\"steps\": 1 ", "\"steps\": 1, \"automatic\": true"), kCsv);
  const Input& price = run.inputs[0];
  EXPECT_EQ(price.formula, "10");
  EXPECT_EQ(price.range, "C5");
  EXPECT_EQ(price.number_format, "General");
  EXPECT_TRUE(price.saved_samples && price.locked && !price.date && !price.automatic);
  EXPECT_EQ(run.inputs[1].formula, "=DralAuto(0.5)");
  EXPECT_EQ(run.outputs[1].base, std::nullopt);
  EXPECT_EQ(run.outputs[1].name, "");
}

// The texts between ``` lines of a page.
std::vector<std::string> code_blocks(const std::filesystem::path& page) {
  std::ifstream file(page);
  std::vector<std::string> blocks;
  bool inside = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("```")) {
      inside = !inside;
      if (inside) blocks.emplace_back();
    } else if (inside) {
      blocks.back() += line + "\n";
    }
  }
  return blocks;
}

TEST(ReadRun, ReadsAndRefusesWhatItsPageShows) {
  const auto blocks = code_blocks(std::filesystem::path(ORDVANE_SOURCE_DIR) / "docs/run-file.md");
  ASSERT_EQ(blocks.size(), 7U);
  const RunFolder folder;
  const std::string json = with(blocks[0], "loan.run.csv", "a.run.csv");
  const auto beside = folder.read(json, blocks[1]);
  const auto in_file = folder.read(with(json, "\"recalculations\": \"a.run.csv\"\n", blocks[2]), "");
  EXPECT_EQ(beside.recalculations, 5);
  expect_same_values(beside.input_values, in_file.input_values, "input values");
  expect_same_values(beside.output_values, in_file.output_values, "output values");

  folder.write("loan.groups.csv", blocks[4]);
  const auto with_groups =
      folder.read(with(json, "\"recalculations\":", blocks[3] + ", \"recalculations\":"), blocks[1]);
  EXPECT_EQ(with_groups.group_recalculations, 6);

  const std::string complaints[] = {
      folder.complaint(with(json, "\"steps\": 3 },", "\"steps\": 3,\n  },"), blocks[1]),
      folder.complaint(with(json, "\"steps\": 2", "\"stepps\": 2"), blocks[1]),
      folder.complaint(with(json, "\"steps\": 2", "\"steps\": 0"), blocks[1]),
      folder.complaint(json, with(blocks[1], "1,1,3,4", "1,1,4,4")),
      folder.complaint(json, with(blocks[1], "0.03,,", "0.03,")),
      folder.complaint(json, blocks[1].substr(0, blocks[1].find("1,2,2"))),
  };
  std::string shown;
  for (const std::string& complaint : complaints) shown += "loan" + complaint.substr(1) + "\n";
  EXPECT_EQ(shown, blocks[6]);
}

// Valid UTF-8 in one line, whatever was in the file.
void expect_printable(const std::string& complaint) {
  EXPECT_EQ(text::one_line(complaint), complaint);
  EXPECT_EQ(text::first_invalid_byte(complaint), std::string::npos);
}

// Three inputs, a group of two and one of three, their rows inline.
const std::string kGroupJson = R"({ "format": "ordvane-run", "version": 1, "simulations": 1,
 "inputs": [ { "book": "m.xlsx", "sheet": "S", "cell": "A1", "base": 1, "steps": 1 },
             { "book": "m.xlsx", "sheet": "S", "cell": "A2", "base": 2, "steps": 1 },
             { "book": "m.xlsx", "sheet": "S", "cell": "A3", "base": 3, "steps": 1 },
             { "book": "m.xlsx", "sheet": "S", "cell": "A4", "base": 4, "steps": 1, "savedSamples": false } ],
 "outputs": [ { "book": "m.xlsx", "sheet": "S", "cell": "B1", "base": 6 } ],
 "recalculations": [[1,1,1,5,10],[1,2,1,6,10],[1,3,1,7,10],[1,4,1,7,10]],
 "groups": [ { "members": [3, 1], "steps": [2, 3] }, { "members": [1, 2, 3], "steps": 1 } ],
 "groupRecalculations": "a.run.csv" }
)";
const std::string kGroupCsv =
    "simulation,group,combination,value1,value2,value3,output1\n"
    "1,1,1,30,10,,11\n1,1,2,30,11,,12\n1,1,3,30,12,,13\n"
    "1,1,4,31,10,,14\n1,1,5,31,11,,#N/A\n1,1,6,31,12,,16\n"
    "1,2,1,5,6,7,18\n";

TEST(ReadRun, ReadsGroupsOfInputs) {
  const RunFolder folder;
  const auto run = folder.read(kGroupJson, kGroupCsv);
  ASSERT_EQ(run.groups.size(), 2U);
  EXPECT_EQ(run.groups[0].members, (std::vector<std::size_t>{2, 0}));
  EXPECT_EQ(run.groups[0].combinations, 6);
  EXPECT_EQ(run.groups[1].steps, (std::vector<std::int32_t>{1, 1, 1}));
  EXPECT_EQ(run.groups[1].first, 6);
  EXPECT_EQ(run.group_recalculations, 7);
  EXPECT_THAT(run.group_input_values.in_memory(),
              testing::ElementsAre(30, 10, 30, 11, 30, 12, 31, 10, 31, 11, 31, 12, 5, 6, 7));
  EXPECT_EQ(run.group_output_values[6], 18);
  EXPECT_EQ(run.group_output_values[4], encode_error(CellError::kNA));

  // All groups of a size, and the rows in the run file.
  std::string rows;
  for (const char* group : {"1", "2", "3"})
    rows += (rows.empty() ? "[1," : ",[1,") + (group + std::string(",1,5,6,9]"));
  const auto all = folder.read(
      with(with(kGroupJson,
                R"([ { "members": [3, 1], "steps": [2, 3] }, { "members": [1, 2, 3], "steps": 1 } ])",
                R"({ "size": 2, "steps": 1 })"),
           "\"a.run.csv\"", "[" + rows + "]"),
      "");
  std::vector<std::vector<std::size_t>> members;
  for (const Group& group : all.groups) members.push_back(group.members);
  EXPECT_EQ(members, (std::vector<std::vector<std::size_t>>{{0, 1}, {0, 2}, {1, 2}}));
}

TEST(ReadRun, ReadsBreakEvensAndPlacesTheirMistakes) {
  const RunFolder folder;
  const std::string json = with(
      with(kGroupJson, R"("cell": "A1", "base": 1, "steps": 1)", R"("cell": "A1", "base": 1, "steps": 4)"),
      "[1,1,1,5,10]", R"([1,1,1,7,30],[1,1,2,5,10],[1,1,3,9,null],[1,1,4,6,20])");
  const auto with_field = [&](const std::string& field) {
    return with(json, R"("base": 6)", R"("base": 6, )" + field);
  };
  const std::string good = R"("target": 15, "breakEven": [ { "input": 1, "value": 5.5, "result": null } ])";
  const auto run = folder.read(with_field(good), kGroupCsv);
  ASSERT_TRUE(run.outputs[0].break_even);
  EXPECT_EQ(run.outputs[0].break_even->at(0).value, 5.5);
  EXPECT_FALSE(run.outputs[0].break_even->at(0).result);
  const BadCase cases[] = {
      {R"("target": 15, )", "", "outputs[0].breakEven: is there without the field \"target\""},
      {R"("input": 1)", R"("input": 2)",
       "outputs[0].breakEven[0]: is 5.5 of input 2; a value from 5 to 6 of input 1 is expected"},
      {"5.5", "6.5",
       "outputs[0].breakEven[0]: is 6.5 of input 1; a value from 5 to 6 of input 1 is expected"},
      {R"({ "input": 1, "value": 5.5, "result": null })", "",
       "outputs[0].breakEven: has 0 elements; 1 are expected, one for each two neighbouring steps on both "
       "sides of the target"},
      {R"(, "result": null)", "", "outputs[0].breakEven[0]: the field \"result\" is missing"},
  };
  for (const BadCase& c : cases)
    EXPECT_THAT(folder.complaint(with_field(with(good, c.from, c.to)), kGroupCsv), HasSubstr(c.complaint));
}

TEST(ReadRun, PlacesMistakesOfGroups) {
  const RunFolder folder;
  const std::string second = R"({ "members": [1, 2, 3], "steps": 1 })";
  const std::string both = R"([ { "members": [3, 1], "steps": [2, 3] }, )" + second + " ]";
  const BadCase kJsonCases[] = {
      {"[3, 1]", "[3, 5]", "json:groups[0].members[1]: is 5; a position of an input, 1 to 4, is expected"},
      {"[3, 1]", "[3, 3]", "json:groups[0].members[1]: is 3, which is a member already"},
      {"[3, 1]", "[3, 4]", "json:groups[0].members[1]: is 4, an input without saved samples"},
      {"[3, 1]", "[3]", "json:groups[0].members: has 1 element; 2 to 32 are expected"},
      {"[2, 3] }", "[2, 3, 4] }",
       "json:groups[0].steps: has 3 elements for 2 members; one each, or one number for all, is expected"},
      {"\"steps\": 1 } ]", "\"steps\": 2000 } ]",
       "json:groups[1]: has more combinations of steps than can be counted: at most 2147483647 are possible"},
      {",\n \"groupRecalculations\": \"a.run.csv\"", "",
       "json: the field \"groupRecalculations\" is missing; the groups need it"},
      {both.c_str(), "[]", "json:groups: is empty; a list of groups is expected"},
      {both.c_str(), "{ \"size\": 4, \"steps\": 1 }",
       "json:groups.size: is 4; the run has 3 inputs with saved samples"},
      {"[1, 2, 3]", "[3, 1]",
       "json:groups[1].members: are those of the group before; one group with all steps is expected"},
      {second.c_str(), R"({ "member": [1, 2, 3], "steps": 1 })",
       "json:groups[1].member: unknown field; is \"members\" meant?"},
  };
  expect_complaints(kJsonCases, [&](const BadCase& bad) {
    return folder.complaint(with(kGroupJson, bad.from, bad.to), kGroupCsv);
  });
  const BadCase kCsvCases[] = {
      {"1,1,4,", "1,1,5,",
       "csv:5: column combination: is \"5\"; 4 is expected (rows go by simulation, group and combination)"},
      {"31,11,", "31,11.5,",
       "csv:6: column value2: is 11.5; 11, as in the rows before at this step, is expected"},
      {"30,12,,", "30,12,1,",
       "csv:4: column value3: is \"1\"; an empty field is expected (the group has fewer members)"},
      {"1,2,1,5,6,7,18\n", "",
       "csv:7: the file ends after 6 rows; 7 rows are expected (1 simulation of 7 recalculations)"},
      {"6,7,18", "6,7",
       "csv:8: 6 fields; 7 are expected (simulation, group, combination, value1, value2, value3 and 1 "
       "output)"},
  };
  expect_complaints(kCsvCases, [&](const BadCase& bad) {
    return folder.complaint(kGroupJson, with(kGroupCsv, bad.from, bad.to));
  });

  // Groups beyond 32 bits: 16 of 40 inputs.
  std::string inputs;
  std::string rows;
  for (int i = 1; i <= 40; ++i) {
    const std::string n = std::to_string(i);
    inputs += (i > 1 ? "," : "") + (R"({ "book": "m.xlsx", "sheet": "S", "cell": "A)" + n) +
              R"(", "base": 1, "steps": 1 })";
    rows += (i > 1 ? ",[1," : "[1,") + n + ",1,1,1]";
  }
  const std::string many = R"({ "format": "ordvane-run", "version": 1, "simulations": 1, "inputs": [)" +
                           inputs +
                           R"(], "outputs": [ { "book": "m.xlsx", "sheet": "S", "cell": "B1", "base": 6 } ],
 "recalculations": [)" + rows +
                           R"(], "groups": { "size": 16, "steps": 1 }, "groupRecalculations": "a.run.csv" })";
  EXPECT_EQ(
      folder.complaint(many, ""),
      "a.run.json:groups.size: gives more groups of 16 of 40 inputs than can be counted; a list of groups "
      "is expected instead");
  EXPECT_EQ(folder.complaint(with(many, "\"size\": 16, \"steps\": 1", "\"size\": 5, \"steps\": 32767"), ""),
            "a.run.json:groups: has more combinations of steps than can be counted: at most 2147483647 are "
            "possible");
  EXPECT_EQ(
      folder.complaint(with(many, "\"size\": 16, \"steps\": 1", "\"size\": 2, \"steps\": 2000"), ""),
      "a.run.json:groups: have more combinations of steps together than can be counted: at most 2147483647 "
      "recalculations are possible, 40 of them of single inputs");
}

TEST(ReadRun, SurvivesEveryChangeOfOneByte) {
  const RunFolder folder;
  const std::string inline_json =
      with(kJson, "\"a.run.csv\"", "[[1,1,1,8,5,\"x\"],[1,1,2,12,9,5],[1,2,1,1,7,null]]");
  const std::string no_csv;
  for (const auto& [json, csv] :
       {std::pair(&inline_json, &no_csv), {&kJson, &kCsv}, {&kGroupJson, &kGroupCsv}})
    for (const char byte : {'\0', '"', '9', '\n', '\x1B', '\xE2', '{', ',', '-'}) {
      // Of the plain run file, what its inline form has not had already is the CSV.
      for (std::size_t at = json == &kJson ? json->size() : 0; at < json->size(); ++at) {
        std::string changed = *json;
        changed[at] = byte;
        expect_printable(folder.complaint(changed, *csv));
      }
      for (std::size_t at = 0; at < csv->size(); ++at) {
        std::string changed = *csv;
        changed[at] = byte;
        expect_printable(folder.complaint(*json, changed));
      }
    }
}

TEST(ReadRun, RefusesWhatIsNoFile) {
  const RunFolder folder;
  folder.write("a.run.json", with(kJson, "\"a.run.csv\"", "\"sub\""));
  std::filesystem::create_directory(folder.path() / "sub");
  for (const char* name : {"missing.run.json", "sub", "a.run.json"})
    EXPECT_THROW(read_run(folder.path() / name), BadRun) << name;
}

TEST(ReadRun, SaysWhatAnotherFileIs) {
  const RunFolder folder;
  folder.write("b.run.json", kJson);
  const std::string zip("PK\x03\x04");
  const struct {
    const char* name;
    std::string content, kind, hint;
  } kCases[] = {
      {"a.xlsx", zip + "xl/workbook.xml", "an Excel workbook", "`ordvane sweep` records one from a workbook"},
      {"a.run.json", zip + "xl/workbook.xml", "an Excel workbook", "docs/run-file.md"},
      {"a.ods", zip + "mimetypeapplication/vnd.oasis.opendocument.spreadsheet", "an OpenDocument spreadsheet",
       ""},
      {"a.zip", zip + "run.json", "a zip archive", ""},
      {"a.xls", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", "a workbook of an old or encrypted format", ""},
      {"c.csv", kCsv, "a table of values", "ordvane sweep"},
      {"a.txt", kCsv, "a table of values", ""},
      {"b.run.csv", kCsv, "a table of values", "b.run.json\" meant?"},
      {"b.csv", kCsv, "a table of values", "b.run.json\" meant?"},
      {"b.run.groups.csv", kCsv, "a table of values", "b.run.json\" meant?"},
      {"b.run.bin", "ORDVANE\n", "a table of values", "b.run.json\" meant?"},
  };
  for (const auto& c : kCases) {
    folder.write(c.name, c.content);
    try {
      read_run(folder.path() / c.name);
      ADD_FAILURE() << c.name << " was read";
    } catch (const BadRun& bad) {
      EXPECT_THAT(bad.what(),
                  AllOf(HasSubstr(std::string(c.name) + ": is " + c.kind + "; a run file is expected: JSON"),
                        HasSubstr(c.hint)));
    }
  }
  for (const char* definition : {R"({"format": "ordvane-what-if"})", R"({"inputs": [], "outputs": []})"})
    EXPECT_THAT(folder.complaint(definition, kCsv), HasSubstr("is a what-if definition, not a recorded run"));
  folder.write("a.run.csv", kCsv);
  folder.write("json.csv", kJson);
  EXPECT_EQ(read_run(folder.path() / "json.csv").inputs.size(), 2U) << "the content decides";
}

TEST(ReadRun, FindsTheFirstBadCellInAMillionLines) {
  constexpr std::int32_t kInputs = 40, kSteps = 25000, kBadLine = 777778;
  std::string json = R"({"format":"ordvane-run","version":1,"simulations":1,"inputs":[)";
  std::string csv = "simulation,input,step,value,output1\n";
  for (std::int32_t input = 1; input <= kInputs; ++input) {
    json += (input > 1 ? "," : "") + std::string(R"({"book":"b","sheet":"s","cell":"A)") +
            std::to_string(input) + R"(","base":1,"steps":)" + std::to_string(kSteps) + "}";
    for (std::int32_t step = 1; step <= kSteps; ++step)
      csv += "1," + std::to_string(input) + "," + std::to_string(step) + ",1.5," +
             std::to_string(input * step) + "\n";
  }
  json += R"(],"outputs":[{"book":"b","sheet":"s","cell":"B1","base":1}],"recalculations":"a.run.csv"})";
  const RunFolder folder;
  const auto run = folder.read(json, csv);
  for (std::int32_t at = 0; at < kInputs * kSteps; ++at)
    ASSERT_EQ(run.output_values[static_cast<std::size_t>(at)], (at / kSteps + 1) * (at % kSteps + 1)) << at;

  std::size_t at = 0;
  for (std::int32_t line = 1; line < kBadLine; ++line) at = csv.find('\n', at) + 1;
  csv.replace(csv.find(",1.5,", at), 5, ",1.5.,");
  // What is wrong behind it, close by and far away, does not come first, whoever reads it.
  std::size_t behind = csv.find('\n', csv.find('\n', at) + 1) + 1;
  csv.replace(csv.find(",1.5,", behind), 5, ",,,,,");
  for (std::int32_t line = 0; line < 20000; ++line) behind = csv.find('\n', behind) + 1;
  csv.replace(csv.find(",1.5,", behind), 5, ",\"1.5,");
  csv.resize(csv.size() - 20);
  EXPECT_EQ(folder.complaint(json, csv),
            "a.run.csv:777778: column value: is \"1.5.\"; a number or an empty field is expected");
}

TEST(ReadRun, KeepsTextsOfManyRows) {
  constexpr std::int32_t kSteps = 30000;
  std::string csv = "simulation,input,step,value,output1,output2\n";
  for (std::int32_t simulation = 1; simulation <= 2; ++simulation)
    for (std::int32_t input = 1; input <= 2; ++input)
      for (std::int32_t step = 1; step <= (input == 1 ? 7 : kSteps); ++step) {
        const std::string row =
            std::to_string(simulation) + "," + std::to_string(input) + "," + std::to_string(step);
        csv += row + ",1,\"at\n" + row + "\"," + std::to_string(step) + "\n";
      }
  const RunFolder folder;
  folder.write("a.run.csv", csv);
  folder.write("a.run.json",
               R"({"format":"ordvane-run","version":1,"simulations":2,"inputs":[
               {"book":"b","sheet":"s","cell":"A1","base":1,"steps":7},
               {"book":"b","sheet":"s","cell":"A2","base":1,"steps":30000}],
               "outputs":[{"book":"b","sheet":"s","cell":"B1","base":1},{"book":"b","sheet":"s","cell":"B2","base":1}],
               "recalculations":"a.run.csv"})");
  ReadOptions reading;
  reading.keeps_texts = true;
  const auto run = read_run(folder.path() / "a.run.json", reading);
  ASSERT_EQ(run.texts.size(), 2U * (7 + kSteps));
  for (std::int32_t simulation = 0; simulation < 2; ++simulation)
    for (std::int64_t at : {0, 6, 7, 10000, 29999, kSteps + 6}) {
      const std::string wanted = "at\n" + std::to_string(simulation + 1) + (at < 7 ? ",1," : ",2,") +
                                 std::to_string(at < 7 ? at + 1 : at - 6);
      EXPECT_EQ(run.texts.at(run.output_value_index(simulation, 0, at)), wanted);
      EXPECT_EQ(run.output_values[run.output_value_index(simulation, 1, at)], at < 7 ? at + 1 : at - 6);
    }
}

TEST(RunFileSchema, HasTheFieldsThatTheReaderKnows) {
  std::ifstream file(std::filesystem::path(ORDVANE_SOURCE_DIR) / "docs/run-file.schema.json");
  const auto definitions = nlohmann::json::parse(file)["$defs"];
  const std::pair<Section, const char*> kSections[] = {{Section::kRun, "run"},
                                                       {Section::kInput, "input"},
                                                       {Section::kOutput, "output"},
                                                       {Section::kLabel, "label"},
                                                       {Section::kGroup, "group"},
                                                       {Section::kAllGroups, "allGroups"},
                                                       {Section::kCalculation, "calculation"},
                                                       {Section::kBreakEven, "breakEven"}};
  for (const auto& [section, name] : kSections) {
    const auto& definition = definitions.at(name);
    std::set<std::string> known, required, in_schema;
    for (const KnownField& field : known_fields(section)) {
      known.emplace(field.name);
      if (field.required) required.emplace(field.name);
    }
    for (const auto& [field, unused] : definition.at("properties").items()) in_schema.insert(field);
    EXPECT_EQ(in_schema, known) << name;
    EXPECT_EQ(definition.at("required").get<std::set<std::string>>(), required) << name;
    EXPECT_EQ(definition.at("additionalProperties"), false) << name;
  }
}

}  // namespace
}  // namespace ordvane::runfile
