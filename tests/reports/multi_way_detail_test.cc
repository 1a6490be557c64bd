// The table of inputs varied together, on three inputs whose groups algebra gives.
#include "reports/multi_way_detail.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "layout/look.h"
#include "reports/reports_bench.h"

namespace ordvane::reports {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using Values = std::vector<double>;
using Output = std::function<double(const Values&)>;

constexpr double kBase = 10;
constexpr double kSteps[] = {12, 8};  // down, so that a table in reading order differs from the run

// Inputs a, b, c from 8 to 12; groups {a, b} and {c, a, b}.
struct Model {
  explicit Model(const std::vector<Output>& functions) {
    for (const char* name : {"a", "b", "c"}) {
      const std::string number = std::to_string(inputs.size());
      auto input = test::item(name, "A" + std::to_string(inputs.size() + 1), kBase, "S" + number, "M.xlsx");
      input.numberFormat = inputs.empty() ? "0.0" : "0";
      inputs.push_back(input);
    }
    for (const Output& function : functions) {
      const std::string number = std::to_string(outputs.size() + 1);
      auto output = test::item("Out " + number, "B" + number, function(Values(3, kBase)), "", "");
      output.numberFormat = "0.00";
      outputs.push_back(output);
      selected.push_back(outputs.size());
    }
    for (std::int32_t i = 1; i <= 3; ++i) {
      test::set_steps(inputs(i), std::size(kSteps), outputs.size());
      for (std::int32_t s = 1; s <= inputs(i).numSteps; ++s) {
        Values at(3, kBase);
        at[static_cast<std::size_t>(i - 1)] = kSteps[s - 1];
        inputs(i).InputValuesUsedPut(s, kSteps[s - 1]);
        for (std::int32_t o = 1; o <= outputs.size(); ++o)
          inputs(i).OutputValuesCalculatedPut(o, s, functions[static_cast<std::size_t>(o - 1)](at));
      }
    }
    run.results.resize(outputs.size());
    for (const auto& members : {model::OneBased<std::int32_t>{1, 2}, model::OneBased<std::int32_t>{3, 1, 2}})
      add_group(members, functions);
    for (std::int32_t o = 1; o <= outputs.size(); ++o)
      effects.push_back(model::RankGroups(run, inputs, outputs, o, o));
  }

  void add_group(const model::OneBased<std::int32_t>& members, const std::vector<Output>& functions) {
    model::MultiGroup group;
    group.members = members;
    group.inputs.resize(members.size());
    group.first = run.recalculations + 1;
    group.combinations = 1 << members.size();
    for (std::int32_t c = 0; c < group.combinations; ++c) {
      Values at(3, kBase);
      for (std::int32_t m = 1; m <= members.size(); ++m) {
        const int step = c >> (members.size() - m) & 1;
        at[static_cast<std::size_t>(members(m) - 1)] = kSteps[step];
        group.inputs(m).value.push_back(kSteps[step]);
        group.inputs(m).rank.push_back(2 - step);
      }
      for (std::int32_t o = 1; o <= outputs.size(); ++o)
        run.results(o).push_back(functions[static_cast<std::size_t>(o - 1)](at));
    }
    run.recalculations += group.combinations;
    run.groups.push_back(group);
  }

  model::Records inputs, outputs;
  model::OneBased<std::int32_t> selected;
  model::MultiWayRun run;
  model::OneBased<model::GroupEffects> effects;
};

class MultiWayDetail : public testing::Test {
 protected:
  // The report's sheet as text.
  std::string report(const Model& m, model::OrdvaneRangeMode mode = model::OrdvaneRangeCellMode,
                     std::int32_t runs = 1) {
    layout::ReportWorkbook reports = bench_.reports();
    MakeMultiWayDetailReport({.session = bench_.session,
                              .workbook = reports,
                              .selected = m.selected,
                              .inputs = m.inputs,
                              .outputs = m.outputs,
                              .range_mode = mode,
                              .total_runs = runs},
                             m.run, m.effects);
    return test::sheet_text(bench_.model(reports), bench_.first_sheet(reports));
  }
  std::vector<std::string> cells(const std::function<bool(const office::CellStyle&)>& look) {
    return test::cells_that_look(*bench_.kept, look);
  }

  test::TablesBench bench_;
};

double sum(const Values& v) {
  return v[0] + v[1] + 3 * v[2];
}
double together(const Values& v) {  // neither does anything alone
  return (v[0] - kBase) * (v[1] - kBase);
}

constexpr const char* kSheet = R"-(== <210>
A1 "<211>"
A2 "<204>"  B2 "M.xlsx"
A4 "<212>"
A5 "<213>"
C6 "<218>"
I6 "<110>"
C7 "<219: 1>"  E7 "<219: 2>"  G7 "<219: 3>"  I7 "Out 1"  N7 "Out 2"
A8 "<216>"  B8 "<217>"  C8 "<106>"  D8 "<118>"  E8 "<106>"  F8 "<118>"  G8 "<106>"  H8 "<118>"  I8 "<118>"  J8 "<104>"  K8 "<220>"  L8 "<309>"  M8 "<221>"  N8 "<118>"  O8 "<104>"  P8 "<220>"  Q8 "<309>"  R8 "<221>"
A9 "<222: Out 1>"  B9 1  C9 "c (A3)"  D9 12 {0}  E9 "a (A1)"  F9 12 {0.0}  G9 "b (A2)"  H9 12 {0}  I9 60 {0.00}  J9 0.2 {0.00%}  K9 "<202>"  L9 1  M9 0 {0.00}  N9 4 {0.00}  O9 " - "  P9 "<202>"  Q9 2  R9 8 {0.00}
A10 "<223: Out 1>"  B10 1  C10 "c (A3)"  D10 8 {0}  E10 "a (A1)"  F10 8 {0.0}  G10 "b (A2)"  H10 8 {0}  I10 40 {0.00}  J10 -0.2 {0.00%}  K10 "<201>"  L10 1  M10 0 {0.00}  N10 4 {0.00}  O10 " - "  Q10 2  R10 8 {0.00}
A11 "<222: Out 2>"  B11 1  C11 "c (A3)"  D11 12 {0}  E11 "a (A1)"  F11 12 {0.0}  G11 "b (A2)"  H11 12 {0}  I11 60 {0.00}  J11 0.2 {0.00%}  K11 "<202>"  L11 1  M11 0 {0.00}  N11 4 {0.00}  O11 " - "  P11 "<202>"  Q11 2  R11 8 {0.00}
A12 "<223: Out 2>"  B12 1  C12 "c (A3)"  D12 12 {0}  E12 "a (A1)"  F12 12 {0.0}  G12 "b (A2)"  H12 8 {0}  I12 56 {0.00}  J12 0.12 {0.00%}  L12 1  M12 0 {0.00}  N12 -4 {0.00}  O12 " - "  P12 "<201>"  Q12 2  R12 8 {0.00}
A14 "<214>"
A15 "<215: Out 1>"
A16 1  B16 1  C16 "c (A3)"  D16 8 {0}  E16 "a (A1)"  F16 8 {0.0}  G16 "b (A2)"  H16 8 {0}  I16 40 {0.00}  J16 -0.2 {0.00%}  K16 "<201>"  L16 1  M16 0 {0.00}  N16 4 {0.00}  O16 " - "  Q16 2  R16 8 {0.00}
A17 2  B17 1  C17 "c (A3)"  D17 8 {0}  E17 "a (A1)"  F17 8 {0.0}  G17 "b (A2)"  H17 12 {0}  I17 44 {0.00}  J17 -0.12 {0.00%}  N17 -4 {0.00}  O17 " - "
A18 3  B18 1  C18 "c (A3)"  D18 8 {0}  E18 "a (A1)"  F18 12 {0.0}  G18 "b (A2)"  H18 8 {0}  I18 44 {0.00}  J18 -0.12 {0.00%}  N18 -4 {0.00}  O18 " - "
A19 4  B19 1  C19 "c (A3)"  D19 8 {0}  E19 "a (A1)"  F19 12 {0.0}  G19 "b (A2)"  H19 12 {0}  I19 48 {0.00}  J19 -0.04 {0.00%}  N19 4 {0.00}  O19 " - "
A20 5  B20 1  C20 "c (A3)"  D20 12 {0}  E20 "a (A1)"  F20 8 {0.0}  G20 "b (A2)"  H20 8 {0}  I20 52 {0.00}  J20 0.04 {0.00%}  N20 4 {0.00}  O20 " - "
A21 6  B21 1  C21 "c (A3)"  D21 12 {0}  E21 "a (A1)"  F21 8 {0.0}  G21 "b (A2)"  H21 12 {0}  I21 56 {0.00}  J21 0.12 {0.00%}  N21 -4 {0.00}  O21 " - "
A22 7  B22 1  C22 "c (A3)"  D22 12 {0}  E22 "a (A1)"  F22 12 {0.0}  G22 "b (A2)"  H22 8 {0}  I22 56 {0.00}  J22 0.12 {0.00%}  N22 -4 {0.00}  O22 " - "  P22 "<201>"
A23 8  B23 1  C23 "c (A3)"  D23 12 {0}  E23 "a (A1)"  F23 12 {0.0}  G23 "b (A2)"  H23 12 {0}  I23 60 {0.00}  J23 0.2 {0.00%}  K23 "<202>"  N23 4 {0.00}  O23 " - "  P23 "<202>"
A24 1  B24 2  C24 "a (A1)"  D24 8 {0.0}  E24 "b (A2)"  F24 8 {0}  I24 46 {0.00}  J24 -0.08 {0.00%}  K24 "<201>"  L24 2  M24 0 {0.00}  N24 4 {0.00}  O24 " - "  Q24 1  R24 8 {0.00}
A25 2  B25 2  C25 "a (A1)"  D25 8 {0.0}  E25 "b (A2)"  F25 12 {0}  I25 50 {0.00}  J25 0 {0.00%}  N25 -4 {0.00}  O25 " - "
A26 3  B26 2  C26 "a (A1)"  D26 12 {0.0}  E26 "b (A2)"  F26 8 {0}  I26 50 {0.00}  J26 0 {0.00%}  N26 -4 {0.00}  O26 " - "  P26 "<201>"
A27 4  B27 2  C27 "a (A1)"  D27 12 {0.0}  E27 "b (A2)"  F27 12 {0}  I27 54 {0.00}  J27 0.08 {0.00%}  K27 "<202>"  N27 4 {0.00}  O27 " - "  P27 "<202>"
merged C6:H6
merged I6:R6
merged C7:D7
merged E7:F7
merged G7:H7
merged I7:M7
merged N7:R7
filter A15:R27
note at B8 "<116>:
<228: Out 1>"
note at K8 "<116>:
<229>"
note at L8 "<116>:
<230>"
note at M8 "<116>:
<231>"
note at O9 "<116>:
<608>"
note at O16 "<116>:
<608>"
)-";

TEST_F(MultiWayDetail, ShowsTheEndsOfEveryOutputThenEveryCombination) {
  EXPECT_EQ(report(Model({sum, together})), kSheet);
  const auto marked = [](const office::CellStyle& style) { return style.fill == layout::look::kMarked; };
  const auto bold = [&](const office::CellStyle& style) { return style.bold && marked(style); };
  EXPECT_THAT(cells(bold), ElementsAre("I9", "I10", "N11", "N12", "I16", "N22", "I23", "N23"));
  for (const std::string& cell : cells(marked))
    EXPECT_THAT(cell, testing::MatchesRegex("[A-R](16|22|23)|[IN](9|10|11|12)"));
}

TEST_F(MultiWayDetail, SaysWhereInputsAreAsFarAsTheyDiffer) {
  const struct {
    model::OrdvaneRangeMode mode;
    const char* first_row;
  } cases[] = {
      {model::OrdvaneRangeSheetMode,
       R"-(C10 "c (A3)"  D10 "S2"  E10 12 {0}  F10 "a (A1)"  G10 "S0"  H10 12 {0.0})-"},
      {model::OrdvaneRangeBookMode,
       R"-(C10 "c (A3)"  D10 "M.xlsx"  E10 "S2"  F10 12 {0}  G10 "a (A1)"  H10 "M.xlsx")-"},
  };
  for (const auto& c : cases) {
    EXPECT_THAT(report(Model({sum}), c.mode, 3),
                testing::AllOf(HasSubstr(c.first_row), HasSubstr("B3 \"<233: 1, 3>\"")));
  }
}

TEST_F(MultiWayDetail, IsCutToTheSheet) {
  const struct {
    const char* what;
    std::int32_t rows, columns;
    std::vector<std::string> there, gone;
    std::int64_t cells = 0;
  } cases[] = {
      {"the narrowest", 23, 0, {"A23 8", "note at A14 \"<116>:\n<225: 8, 12, 1>"}, {"A24 ", "<226"}},
      {"a group may be cut", 25, 0, {"A25 2", "<274: 10, 12, 2>"}, {"A26 "}},
      {"the first one too", 15, 0, {"<274: 0, 12, 1>"}, {"A16 "}},
      {"everything fits", 27, 18, {"A27 4", "R9 "}, {"<225", "<226", "<227", "<274"}},
      {"outputs first",
       99,
       17,
       {"M9 ", "I7 \"Out 1\"", "note at I8 \"<116>:\n<226: 1, 2, Out 2 (B2)>"},
       {"N9 ", "<227"}},
      {"inputs",
       99,
       12,
       {"F9 ", "note at E8 \"<116>:\n<227: 2, 3>", "G7 \"Out 1\""},
       {"L9 ", "\"b (A2)\"  F9"}},
      {"so many cells", 99, 18, {"A25 2", "<274: 10, 12, 2>"}, {"A26 "}, 10 * 18 + 17},
  };
  for (const auto& c : cases) {
    bench_.session.sheet_rows = c.rows;
    bench_.session.sheet_cells = c.cells;
    bench_.session.sheet_columns = c.columns;
    SCOPED_TRACE(c.what);
    test::expect_parts(report(Model({sum, together})), c.there, c.gone);
  }
}

// The caps of the smallest sheet hold for one that is not known, and for no other.
TEST_F(MultiWayDetail, HasAllTheColumnsOfALargeSheet) {
  const Model model(std::vector<Output>(81, sum));
  test::expect_parts(report(model), {"<226: 80, 81, Out 81 (B81)>"});
  bench_.session.sheet_columns = 8 + 81 * 5;
  test::expect_parts(report(model), {"\"Out 81\""}, {"<226"});
}

TEST_F(MultiWayDetail, ShowsWhatIsNoNumberAsSuch) {
  const auto gap = [](const Values& v) { return v[0] > kBase ? host::kMissingNumber : v[1]; };
  const auto nothing = [](const Values& v) { return v[0] == kBase ? 1 : host::kMissingNumber; };
  const std::string shown = report(Model({gap, nothing}));
  const std::vector<std::string> parts = {
      "A11 \"<222: Out 2>\"  N11 \" - \"\n",  // no combination to name
      "note at N11 \"<116>:\n<261: 12, 12>",
      "I9 12 {0.00}  J9 0.2 {0.00%}",  // the usable results have ends
      "note at N9 \"<116>:\n<600>",    // of the other output
      "N27 \" - \"  O27 \" - \"\n",
      "note at I18 \"<116>:\n<261: 6, 12>",  // the first one
      "note at N16 \"<116>:\n<261: 12, 12>",
      // Of each group.
      "note at L16 \"<116>:\n<261: 2, 4>",
      "note at L20 \"<116>:\n<261: 4, 8>",
      "note at Q20 \"<116>:\n<261: 8, 8>",
  };
  test::expect_parts(shown, parts, {"<608>"});  // no base is zero
}

TEST_F(MultiWayDetail, SaysWhyAGroupHasNoInteractionAndWhatItLeavesOut) {
  const auto invalid_alone = [](const Values& v) {
    return v[0] != kBase && v[1] == kBase && v[2] == kBase ? host::kMissingNumber : v[0] + v[1];
  };
  const auto base_apart = [](const Values& v) { return v == Values(3, kBase) ? 100 : v[0] + v[1]; };
  Model model({sum, invalid_alone, base_apart});
  model.inputs(3).InputValuesUsedPut(1, 13);
  for (std::int32_t o = 1; o <= 3; ++o)
    model.effects(o) = model::RankGroups(model.run, model.inputs, model.outputs, o, o);
  const std::string shown = report(model);
  const std::vector<std::string> parts = {
      "L18 1  M18 \" - \"",          // c went further alone than in the group
      "note at M9 \"<116>:\n<271>",  // in the upper table at the output of the row
      "note at M18 \"<116>:\n<271>",
      "M26 0 {0.00}",                 // the other group has it
      "note at R18 \"<116>:\n<272>",  // a has no result alone
      "note at R26 \"<116>:\n<272>",
      "note at V18 \"<116>:\n<273>",  // 100 is in no group
      "note at V26 \"<116>:\n<273>",
  };
  test::expect_parts(shown, parts, {"note at R9 ", "note at M26 ", "note at L18 "});
}

// An output without a base value has no changes, and the notes do not speak of zero.
TEST_F(MultiWayDetail, TellsABaseThatIsNoNumberFromOneOfZero) {
  Model model({sum, together});
  model.outputs(1).set_BaseValue(host::kMissingNumber);
  test::expect_parts(report(model), {"note at J9 \"<116>:\n<131>", "note at O9 \"<116>:\n<608>"});
}

TEST_F(MultiWayDetail, MarksNoEndsOfEqualResults) {
  test::expect_parts(report(Model({[](const Values&) { return 7; }})), {"I14 7 {0.00}  J14 0 {0.00%}  L14 1"},
                     {"\"<201>\""});
}

TEST_F(MultiWayDetail, WithoutGroupsSaysSo) {
  Model model({sum});
  model.run = {};
  model.effects(1) = {};
  EXPECT_EQ(report(model), "== <210>\nA1 \"<211>\"\nA2 \"<204>\"  B2 \"M.xlsx\"\nA4 \"<232>\"\n");
}

TEST_F(MultiWayDetail, CallsAnOutputWithoutANameByItsAddress) {
  Model model({sum});
  model.outputs(1).ioName = " ";
  test::expect_parts(report(model), {"\"<222: B1>\"", "\"<215: B1>\"", "<228: B1>"});
}

}  // namespace
}  // namespace ordvane::reports
