#include "reports/multi_tornado.h"

#include <set>

#include "reports/reports_bench.h"
#include "support/forwarding_host.h"

namespace ordvane::reports {
namespace {

using test::kNothing;
using test::kNumError;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr host::Color kBlue = 0xFF0000;
constexpr host::Color kRed = 0x0000FF;

struct TestGroup {
  std::vector<std::int32_t> members;
  std::vector<double> results;
};

struct MultiBench : test::GraphBench {
  MultiBench() { set_inputs({{"Price", "B3", 10, {}}, {"Volume", "B4", 10, {}}, {"Rate", "B5", 10, {}}}); }

  void set_groups(const std::vector<TestGroup>& given) {
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

  void generate() {
    Context given = context(mode);
    given.range_mode = range_mode;
    given.run_number = run_number;
    given.total_runs = runs;
    GenerateMultiTornadoReport(given, 1, run, effects,
                               {.base_value = runs > 1 ? host::kNoBaseValue : output().BaseValue(),
                                .base_label = "Base value",
                                .bar_color = kBlue,
                                .baseline_color = kRed});
  }

  model::MultiWayRun run;
  model::GroupEffects effects;
  model::OrdvaneRangeMode range_mode = model::OrdvaneRangeCellMode;
  model::OrdvaneOutputMode mode = model::OrdvaneOutputAsValue;
  std::int32_t run_number = 1, runs = 1;
};

struct Situation {
  const char* what;
  double base;
  std::vector<TestGroup> groups;
  std::function<void(MultiBench&)> change;  // after the groups
  std::vector<std::string> shown, not_shown;
};

std::string make_report(MultiBench& bench, const Situation& c) {
  bench.output().set_BaseValue(c.base);
  bench.set_groups(c.groups);
  if (c.change) c.change(bench);
  bench.generate();
  return bench.text();
}

const std::vector<TestGroup> kThree = {{{2, 3}, {90, 115}}, {{1, 2}, {140, 60, 100}}, {{1, 2, 3}, {98, 110}}};

void in_percent(MultiBench& b) {
  b.mode = model::OrdvaneOutputAsPercentChange;
}

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
    {"values",
     100,
     kThree,
     nullptr,
     {"== Multi-way C14\n", "Groups of inputs by swing: 3", kFirstRow,
      "A+2 2  B+2 \"Volume (B4) × Rate (B5)\"", "A+3 3  B+3 \"Price (B3) × Volume (B4) × Rate (B5)\"  C+3 98",
      "from 60 to 140", "crossed at 100",
      "title \"What moves Cost most when inputs vary together\nLowest to highest result (Base "
      "value 100.00)\"",
      "\"Vertical\" scatter secondary (0, 1) over (100, 100)", "labelled \"Base value 100.00\"",
      "second category axis from 60 to 140"},
     {" - ", "note at", "Notes:", "Worksheet"}},
    {"percent",
     100,
     kThree,
     in_percent,
     {kFirstRow, "from -0.4 to 0.4", "crossed at 0", "over (0, 0)",
      "\"Cost, % change from base value\" {0%}"},
     {"note at"}},
    {"percent of nothing",
     0,
     kThree,
     in_percent,
     {"title \"There is no multi-way tornado graph for this output.",
      "The base value of the output is 0, so there", "C+1 60 {#,##0.00}  D+1 \" - \"", "note at D+1",
      "\"Notes: The base value of the output is 0"},
     {"Vertical", "There is no tornado"}},
    {"percent of what is no number",
     kNothing,
     kThree,
     in_percent,
     {"There is no multi-way tornado graph", "A base value is 0 or not a number",
      "\"Notes: The base value of the output is not"},
     {"Vertical"}},
    {"values about a base of zero know no threshold",
     0,
     kThree,
     [](MultiBench& b) { b.settings.threshold = 1e9; },
     {"by swing: 3", "from 0 to 150", "crossed at 0"},
     {"There is no"}},
    {"nor do values about a base that is no number",
     kNothing,
     kThree,
     [](MultiBench& b) { b.settings.threshold = 1e9; },
     {"by swing: 3", "crossed at 60"},
     {"Vertical", "Base value "}},
    {"a threshold above the widest bar",
     100,
     kThree,
     [](MultiBench& b) { b.settings.threshold = 0.81; },
     {"== Multi-way C14\n", "No group of inputs moved this output enough"},
     {"chart ", "Rank"}},
    {"a bar as wide as the threshold passes",
     100,
     kThree,
     [](MultiBench& b) { b.settings.threshold = 0.25; },
     {"by swing: 2", "Volume (B4) × Rate (B5)"},
     {"A+3"}},
    {"the first narrow bar ends the list", 100, kThree, with_widths, {"by swing: 1", "A+1 1"}, {"A+2"}},
    {"the smaller of both limits holds: the most groups",
     100,
     kThree,
     [](MultiBench& b) {
       b.settings.max_inputs = 1;
       b.settings.threshold = 0.25;
     },
     {"by swing: 1"},
     {"A+2"}},
    {"the smaller of both limits holds: the threshold",
     100,
     kThree,
     [](MultiBench& b) {
       b.settings.max_inputs = 3;
       b.settings.threshold = 0.25;
     },
     {"by swing: 2"},
     {"A+3"}},
    {"room for no group",
     100,
     kThree,
     [](MultiBench& b) { b.settings.max_inputs = 0; },
     {"No group of inputs moved"},
     {"chart "}},
    {"no group at all", 100, {}, nullptr, {"No group of inputs moved"}, {"chart ", "Rank"}},
    {"a group without results leaves its bar out",
     100,
     {{{1, 2}, {90, 110}}, {{1, 3}, {kNumError, kNothing}}},
     nullptr,
     {"\"Price (B3) × Rate (B5)\"  C+2 \" - \"  D+2 \" - \"  E+2 \" - \"  F+2 \" - \"", "from 90 to 110",
      "note at C+2", "\"Notes: Some values are not numbers"},
     {"note at D+2"}},
    {"no group has results",
     100,
     {{{1, 2}, {kNumError}}},
     nullptr,
     {"There is no multi-way tornado graph", "Some values are not numbers"},
     {"Vertical"}},
    {"results that are no numbers are counted, in the group's row and below the chart",
     100,
     {{{1, 2}, {90, 110, 100}}, {{1, 3}, {kNumError, 105, kNothing}}},
     [](MultiBench& b) {
       b.effects(2).failed = 2;
       b.effects(2).leaves_out_base = false;
     },
     {"\"Results that are no numbers: Price (B3) × Rate (B5): 2 of 3\"",
      "note at B+2 \"Please note:\nResults that are no numbers: 2 of 3\""},
     {"No effect", "note at B+1"}},
    {"groups that never stood at their base values",
     100,
     {{{1, 2}, {90, 95}}, {{1, 3}, {105, 105}}},
     [](MultiBench& b) {
       b.effects(1).leaves_out_base = true;
       b.effects(2).leaves_out_base = false;
     },
     {"\"Groups without a combination at the base values: Price (B3) × Volume (B4). The effects of these",
      "note at B+1 \"Please note:\nNo combination of this group stood at the base values",
      // The other one moves the output, though all to one place: its bar is seen.
      "series \"Bar +\" #0000FF K+1:K+2 (5, 0.1"},
     {"note at B+2"}},
    {"what moves nothing is left out of the chart, not of the table",
     100,
     {{{1, 2}, {100, 100}}, {{2, 3}, {90, 115}}},
     [](MultiBench& b) { b.settings.all_inputs = false; },
     {"\"No effect on this output: Price (B3) × Volume (B4)\"", "by swing: 2", "A+2 2  B+2 \"Price (B3)",
      "K+1 (25)"},
     {}},
    {"nothing moves",
     100,
     {{{1, 2}, {100, 100}}, {{2, 3}, {100, 100 + 1e-13}}},
     [](MultiBench& b) { b.settings.all_inputs = false; },
     {"There is no multi-way tornado graph for this output.\nNone of the groups of inputs moves this output.",
      "by swing: 2"},
     {"No effect on"}},
    {"several sheets add a column with each sheet once",
     100,
     {{{1, 2, 3}, {90, 110}}},
     [](MultiBench& b) {
       on_other_sheets(b);
       b.range_mode = model::OrdvaneRangeSheetMode;
     },
     {"\"Worksheet\"", "A+1 \"Model, Sales\"  B+1 1  C+1 \"Price (B3) ×", "D+1 90", "G+1 0.1"},
     {"bank.xlsx"}},
    {"several books add two",
     100,
     {{{1, 2, 3}, {90, 110}}},
     [](MultiBench& b) {
       on_other_sheets(b);
       b.range_mode = model::OrdvaneRangeBookMode;
     },
     {"A+1 \"plant.xlsx, bank.xlsx\"  B+1 \"Model, Sales\"  C+1 1  D+1", "E+1 90", "H+1 0.1"},
     {}},
    {"long names are cut beside the bars only",
     100,
     {{{1, 2}, {90, 110}}},
     [](MultiBench& b) { b.inputs(1).ioName = b.inputs(2).ioName = std::string(40, 'n'); },
     {"\"" + std::string(40, 'n') + " (B3) × " + std::string(40, 'n') + " (B4)\"", "n… (B3) × nn",
      "n… (B4)\""},
     {}},
    {"dates",
     46023,
     {{{1, 2}, {46000, 46054}}},
     [](MultiBench& b) {
       b.output().IsDate = true;
       b.output().DateFormat = "mm/dd/yyyy";
       b.output().numberFormat = b.output().NumberFormatLocal = "General";
     },
     {"Base value 01/01/2026", "C+1 46000 {mm/dd/yyyy}", "\"Cost\" {mm/dd/yyyy}"},
     {}},
    {"several runs say which and have no base line",
     100,
     kThree,
     [](MultiBench& b) { b.run_number = 2, b.runs = 3; },
     {"B5 \"2 of 3\"", "crossed at 100", "(Base value 100.00)"},
     {"Vertical"}},
    {"a watermark",
     100,
     kThree,
     [](MultiBench& b) { b.session.watermark.text = b.session.watermark.primary = "Draft"; },
     {"text \"Draft\""},
     {}},
};

TEST(MultiTornadoReport, InEverySituation) {
  test::check_situations<MultiBench>(kSituations, make_report);
}

TEST(MultiTornadoReport, BarsAndBaseLineTakeTheirColors) {
  MultiBench bench;
  make_report(bench, kSituations[0]);
  const auto book = bench.book();
  const auto& series = book->sheets.front()->charts.front()->series;
  ASSERT_EQ(series.size(), 5U);
  EXPECT_EQ(series[2]->fill.value().color, kBlue);
  EXPECT_EQ(series[3]->fill.value().color, kBlue);
  EXPECT_EQ(series[4]->line.value().color, kRed);
}

TEST(MultiTornadoReport, RowsGrowWithTheirNames) {
  MultiBench bench;
  bench.inputs(1).ioName = "Growth of wholesale prices after the end of all subsidies, before tax";
  make_report(bench, {"", 100, {{{1, 2}, {60, 140}}, {{2, 3}, {90, 110}}}, nullptr, {}, {}});
  const auto book = bench.book();
  const office::SheetModel& sheet = *book->sheets.front();
  const std::int32_t first = sheet.charts.front()->series.front()->values.area.row;
  ASSERT_TRUE(sheet.row_heights.contains(first));
  EXPECT_GE(sheet.row_heights.at(first), 2 * 13);
  EXPECT_FALSE(sheet.row_heights.contains(first + 1));
}

TEST(MultiTornadoReport, StopsAfterTheRowAtWhichTheUserAsks) {
  MultiBench bench;
  const auto impatient = std::make_shared<test::Impatient>(2);
  bench.session.environment = impatient;
  test::expect_cancelled([&] { make_report(bench, kSituations[0]); });
  EXPECT_EQ(impatient->patience, 0);
}

// Every call to the spreadsheet fails in its turn: the error reaches the caller, or what failed was looks and
// the table and its bars are all there.
TEST(MultiTornadoReport, LosesNothingUnnoticed) {
  std::set<std::string> passed_over;
  for (int nth = 1;; ++nth) {
    MultiBench bench;
    test::FailNth fault{nth};
    bench.session.g_XLApp = test::forwarding_application(bench.app, std::ref(fault));
    bench.output().set_BaseValue(100);
    bench.set_groups(kThree);
    try {
      bench.generate();
    } catch (const host::Error& error) {
      EXPECT_EQ(error.code(), host::errc::kHostRefused) << fault.where;
      continue;
    }
    SCOPED_TRACE(fault.where);
    const std::string text = test::snapshot(*bench.app->model(*bench.app->active_workbook()));
    EXPECT_THAT(text, HasSubstr("\"Volume (B4) × Rate (B5)\""));
    EXPECT_THAT(text, Not(HasSubstr("There is no")));
    EXPECT_EQ(bench.app->model(*bench.app->active_workbook())->sheets.front()->charts.size(), 1U);
    if (!fault.failed) {
      EXPECT_GT(nth, 100);
      break;
    }
    passed_over.insert(fault.where);
  }
  for (const char* looks :
       {"ChartObject.set_width", "Series.set_interior", "Chart.new_series", "Axis.set_maximum_scale"})
    EXPECT_TRUE(passed_over.contains(looks)) << looks;
}

}  // namespace
}  // namespace ordvane::reports
