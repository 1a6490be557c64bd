#include "reports/multi_tornado.h"

#include "reports/reports_bench.h"

namespace ordvane::reports {
namespace {

using test::kNothing;
using test::kNumError;

struct TestGroup {
  std::vector<std::int32_t> members;
  std::vector<double> results;
};

struct MultiBench : test::GraphBench {
  MultiBench() {
    GraphBench::set_inputs({{"Price", "B3", 10, {}}, {"Volume", "B4", 10, {}}, {"Rate", "B5", 10, {}}});
  }

  void set_inputs(const std::vector<TestGroup>& given) {
    run.results.resize(1);
    for (const TestGroup& group : given) {
      const auto combinations = static_cast<std::int32_t>(group.results.size());
      model::MultiGroup added;
      added.first = run.recalculations + 1;
      added.combinations = combinations;
      for (const std::int32_t member : group.members) {
        added.members.push_back(member);
        added.inputs.push_back({.value = std::vector<double>(group.results.size())});
      }
      run.groups.push_back(added);
      run.results(1).insert(run.results(1).end(), group.results.begin(), group.results.end());
      run.recalculations += combinations;
    }
    effects = model::RankGroups(run, inputs, outputs, 1, 1);
  }

  void generate() { GenerateMultiTornadoReport(context(), 1, run, effects, style()); }

  model::MultiWayRun run;
  model::GroupEffects effects;
};

using Situation = test::Situation<MultiBench, TestGroup>;

std::string make_report(MultiBench& bench, const Situation& c) {
  set_up(bench, c);
  bench.generate();
  return bench.text();
}

const std::vector<TestGroup> kThree = {{{2, 3}, {90, 115}}, {{1, 2}, {140, 60, 100}}, {{1, 2, 3}, {98, 110}}};

// Ranks that do not follow the widths 5, 0.1 and 4.
void with_widths(MultiBench& b) {
  const double widths[] = {5, 0.1, 4};
  for (std::int32_t g = 1; g <= 3; ++g) {
    b.effects(g).rank = g;
    b.effects(g).bar_width = widths[g - 1];
  }
  b.settings.threshold = 1;
}

void on_other_sheets(MultiBench& b) {
  b.inputs(2).sheetName = "Sales";
  b.inputs(3).bookName = "bank.xlsx";
}

const char* const kFirstRow =
    "A+1 1  B+1 \"Price (B3) × Volume (B4)\"  C+1 60 {#,##0.00}  D+1 -0.4 {0.00%}  E+1 140 {#,##0.00}"
    "  F+1 0.4 {0.00%}\n";

const Situation kSituations[] = {
    {{"values", kThree},
     {"depends most on Price × Volume (60.00 to 140.00), then on Volume × Rate (90.00 to 115.00), Price × "
      "Volume × Rate "
      "(98.00 to 110.00).",
      "== Multi-way C14\n", "Groups of inputs by swing: 3", kFirstRow,
      "A+2 2  B+2 \"Volume (B4) × Rate (B5)\"", "A+3 3  B+3 \"Price (B3) × Volume (B4) × Rate (B5)\"  C+3 98",
      "from 60 to 140", "crossed at 100",
      "title \"What moves Cost most when inputs vary together\nLowest to highest result (Base "
      "value 100.00)\"",
      "\"Vertical\" scatter secondary (0, 1) over (100, 100)", "labelled \"Base value 100.00\"",
      "second category axis from 60 to 140"},
     {" - ", "note at", "Notes:", "Worksheet"}},
    {{"nor do values about a base that is no number", kThree, kNothing,
      [](MultiBench& b) { b.settings.threshold = 1e9; }},
     {"by swing: 3", "crossed at 60"},
     {"Vertical", "Base value "}},
    {{"a threshold above the widest bar", kThree, 100, [](MultiBench& b) { b.settings.threshold = 0.81; }},
     {"== Multi-way C14\n", "No group of inputs moved this output enough"},
     {"chart ", "Rank"}},
    {{"a bar as wide as the threshold passes", kThree, 100,
      [](MultiBench& b) { b.settings.threshold = 0.25; }},
     {"by swing: 2", "Volume (B4) × Rate (B5)"},
     {"A+3"}},
    {{"the first narrow bar ends the list", kThree, 100, with_widths}, {"by swing: 1", "A+1 1"}, {"A+2"}},
    {{"the smaller of both limits holds: the most groups", kThree, 100,
      [](MultiBench& b) {
        b.settings.max_inputs = 1;
        b.settings.threshold = 0.25;
      }},
     {"by swing: 1"},
     {"A+2"}},
    {{"a group without results leaves its bar out", {{{1, 2}, {90, 110}}, {{1, 3}, {kNumError, kNothing}}}},
     {"\"Price (B3) × Rate (B5)\"  C+2 \" - \"  D+2 \" - \"  E+2 \" - \"  F+2 \" - \"", "from 90 to 110",
      "note at C+2", "\"Notes: Some values are not numbers"},
     {"note at D+2"}},
    {{"groups that never stood at their base values",
      {{{1, 2}, {90, 95}}, {{1, 3}, {105, 105}}},
      100,
      [](MultiBench& b) {
        b.effects(1).leaves_out_base = true;
        b.effects(2).leaves_out_base = false;
      }},
     {"\"Groups without a combination at the base values: Price (B3) × Volume (B4). The effects of these",
      "note at B+1 \"Please note:\nNo combination of this group stood at the base values",
      // The other one moves the output, though all to one place: its bar is seen.
      "series \"Bar +\" #0000FF K+1:K+2 (5, 0.1"},
     {"note at B+2"}},
    {{"several sheets add a column with each sheet once",
      {{{1, 2, 3}, {90, 110}}},
      100,
      [](MultiBench& b) {
        on_other_sheets(b);
        b.range_mode = model::OrdvaneRangeSheetMode;
      }},
     {"\"Worksheet\"", "A+1 \"Model, Sales\"  B+1 1  C+1 \"Price (B3) ×", "D+1 90", "G+1 0.1"},
     {"bank.xlsx"}},
    {{"several books add two",
      {{{1, 2, 3}, {90, 110}}},
      100,
      [](MultiBench& b) {
        on_other_sheets(b);
        b.range_mode = model::OrdvaneRangeBookMode;
      }},
     {"A+1 \"plant.xlsx, bank.xlsx\"  B+1 \"Model, Sales\"  C+1 1  D+1", "E+1 90", "H+1 0.1"}},
};

TEST(MultiTornadoReport, InEverySituation) {
  test::check_situations<MultiBench>(kSituations, make_report);
}

TEST(MultiTornadoReport, RowsGrowWithTheirNames) {
  MultiBench bench;
  bench.inputs(1).ioName = "Growth of wholesale prices after the end of all subsidies, before tax";
  make_report(bench, {{"", {{{1, 2}, {60, 140}}, {{2, 3}, {90, 110}}}}, {}});
  const auto book = bench.book();
  const office::SheetModel& sheet = *book->sheets.front();
  const std::int32_t first = sheet.charts.front()->series.front()->values.area.row;
  EXPECT_EQ(sheet.charts.front()->width, 458.25) << "as wide as names make the table";
  ASSERT_TRUE(sheet.row_heights.contains(first));
  EXPECT_GE(sheet.row_heights.at(first), 2 * 13);
  EXPECT_FALSE(sheet.row_heights.contains(first + 1));
}

}  // namespace
}  // namespace ordvane::reports
