#include "runfile/describe.h"

#include <gtest/gtest.h>

#include "run_files.h"
#include "unicode/columns.h"

namespace ordvane::runfile {
namespace {

TEST(Describe, SaysWhatIsInARunInAlignedColumns) {
  const RunFolder folder;
  const std::string json = with(with(with(with(kJson, "\"Price\"", "\"📋 Prei\\ns\""),
                                          "\"m.xlsx\", \"sheet\": \"S 2\"", "\"n.xlsx\", \"sheet\": \"S 2\""),
                                     "\"steps\": 1 ", "\"steps\": 1, \"savedSamples\": false"),
                                "\"base\": 7,", "\"base\": 2958465, \"date\": true,");
  const std::string csv =
      "simulation,input,step,value,output1,output2\n"
      "1,1,1,8,2958465,#NUM!\n"
      "1,1,2,12.5,2958465,\"Over, 25\"\n"
      "1,2,1,0.25,2958465,\n";
  const std::string expected = R"(Run file
  File            FOLDER/a.run.json
  Workbooks       m.xlsx, n.xlsx
  Simulations     1
  Inputs          2
  Outputs         2
  Recalculations  3
  Results         6, 3 of them not numbers

Inputs
  #  Name        Cell            Base  Values used  Steps
  1  📋 Prei\ns  [m.xlsx]S 1!C5    10    8 to 12.5      2
  2  Rate        [m.xlsx]S 1!C6   0.5         0.25      1  no saved samples: left out of the reports

Outputs
  #  Name    Cell                  Base     Results  Not numbers
  1  Profit  [m.xlsx]S 1!C9  9999-12-31  9999-12-31            0  never moves
  2          [n.xlsx]S 2!B2           -           -            3  no result is a number
)";
  EXPECT_EQ(describe(folder.read(json, csv)), with(expected, "FOLDER", folder.path().string()));
}

TEST(Describe, AlignsEveryScript) {
  for (const char* name :
       {"\u092A\u0948\u0926\u093E\u0935\u093E\u0930", "\u0E1B\u0E23\u0E34\u0E21\u0E32\u0E13",
        "\u05DE\u05B0\u05D7\u05B4\u05D9\u05E8", "\u58F2\u4E0A\u9AD8", "\U0001F4C8 up"}) {
    runfile::Run run;
    run.inputs.resize(2);
    run.inputs[0].name = name;
    run.inputs[1].name = "a longer name than any of them";
    const std::string text = describe(run);
    const auto columns_before_the_cell = [&text](std::size_t input) {
      const std::size_t end = text.find("  !", text.find("\n  " + std::to_string(input) + "  "));
      return unicode::display_width(
          std::string_view(text).substr(text.rfind('\n', end) + 1, end - text.rfind('\n', end) - 1));
    };
    EXPECT_EQ(columns_before_the_cell(1), columns_before_the_cell(2)) << text;
    EXPECT_EQ(columns_before_the_cell(2), 35);
  }
}

TEST(Describe, CountsGroupsAmongThosePossible) {
  runfile::Run run;
  run.inputs.resize(40);
  run.groups = {{{0, 1}, {2, 2}, 4, 0, 0}, {{0, 2}, {2, 2}, 4, 4, 8}};
  run.groups.push_back({std::vector<std::size_t>(16), std::vector<std::int32_t>(16, 1), 1, 8, 16});
  run.group_recalculations = 9;
  const std::string text = describe(run);
  EXPECT_NE(text.find("Groups of inputs  3: 2 of 2 inputs (780 possible), 1 of 16 inputs (more than can be "
                      "counted are possible)\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("Multi-way         9 combinations of steps\n"), std::string::npos) << text;
}

}  // namespace
}  // namespace ordvane::runfile
