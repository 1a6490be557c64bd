// The service from creation to release: settings, the log, both branches of the pipeline, and how it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "service/small_run.h"

namespace ordvane::service {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

void expect_error(std::int32_t code, const std::function<void()>& call) {
  try {
    call();
    FAIL() << "expected error " << code;
  } catch (const host::Error& error) {
    EXPECT_EQ(error.code(), code) << error.description();
  }
}

// What the pipeline asked the reports to do, in place of the reports.
struct Recorder {
  std::vector<std::string> calls;
  std::vector<std::vector<double>> swings;
  std::vector<std::int32_t> limits;

  Reports reports() {
    const auto graph = [this](const std::string& name) {
      return
          [this, name](const ReportArguments& a, std::int32_t output, const model::RankingRecord& ranking) {
            calls.push_back(name + " " + std::to_string(output) + " run " + std::to_string(a.runNumber) +
                            "/" + std::to_string(a.totalRuns));
            swings.emplace_back(ranking.SortedArray.begin(), ranking.SortedArray.end());
            limits.push_back(ranking.input_limit);
          };
    };
    Reports r;
    r.spider = graph("spider");
    r.sensitivity = graph("sensitivity");
    r.tornado = [tornado = graph("tornado"), this](const ReportArguments& a, std::int32_t output,
                                                   const model::RankingRecord& ranking,
                                                   const TornadoStyle& style) {
      tornado(a, output, ranking);
      styles.push_back(style);
      range_mode = a.rangeMode;
    };
    r.output_detail = [this](const ReportArguments&, std::int32_t output) {
      calls.push_back("detail " + std::to_string(output));
    };
    r.detail_by_input = [this](const ReportArguments&) {
      calls.emplace_back("by input");
      return by_input_result;
    };
    r.multi_tornado = [this](const ReportArguments&, std::int32_t output, const model::MultiWayRun&,
                             const model::GroupEffects&, const graphs::MultiTornadoLimits&,
                             const TornadoStyle&) {
      calls.push_back("multi-way tornado " + std::to_string(output));
    };
    r.multi_way_detail = [this](const ReportArguments&, const model::MultiWayRun&,
                                const model::OneBased<model::GroupEffects>&) {
      calls.emplace_back("multi-way");
    };
    return r;
  }

  std::vector<TornadoStyle> styles;
  model::OrdvaneRangeMode range_mode = model::OrdvaneRangeCellMode;
  std::int32_t by_input_result = 0;
};

TEST(Settings, StartAsTheirHostsExpect) {
  Bench bench;
  OrdvaneReports reports(bench.services);
  EXPECT_EQ(reports.BarColor(), 10040115);
  EXPECT_EQ(reports.BaselineColor(), 10040115);
  EXPECT_TRUE(reports.IncludeBaseline());
  EXPECT_FALSE(reports.TornadoGraphs() || reports.ReportsInNewWorkbook() || reports.SingleWorkbookAllResults);
  EXPECT_EQ(reports.MaxInputsPerGraph, 0);
  EXPECT_EQ(reports.name(), "OrdvaneReports");
}

TEST(Settings, TheWatermarkIsSplitAtItsFirstLineBreak) {
  Bench bench;
  OrdvaneReports reports(bench.services);
  const struct {
    const char *put, *text, *primary, *secondary;
  } kCases[] = {
      {"A\r\nB\r\nC", "A\r\nB\r\nC", "A", "B\nC"},
      {"  Draft  ", "Draft", "Draft", ""},
      {"   ", "", "", ""},
      {"A\rB", "A\rB", "A\rB", ""},
      {"\tA \n B ", "\tA \n B", "\tA ", " B"},
  };
  for (const auto& c : kCases) {
    reports.set_WatermarkText(c.put);
    EXPECT_EQ(reports.WatermarkText(), c.text);
    EXPECT_EQ(reports.WatermarkTextPrimary(), c.primary);
    EXPECT_EQ(reports.WatermarkTextSecondary(), c.secondary);
  }
}

TEST(Session, LifeIsLoggedAndTheEngineReleasedTwice) {
  Bench bench;
  const auto& lines = bench.environment->lines;
  {
    OrdvaneReports reports(bench.services);
    EXPECT_THAT(bench.environment->removed, ElementsAre("logs/OrdvaneReports8.Log"));
    reports.set_WatermarkText("Draft");
    reports.Initialize(bench.application, 7);
    EXPECT_EQ(reports.WatermarkText(), "");
    reports.Terminate();
    EXPECT_EQ(bench.services->session.g_XLApp, nullptr);
  }
  const std::string name = bench.application->name();
  EXPECT_THAT(lines,
              ElementsAre("OrdvaneReports.Class_Initialize", "OrdvaneReports.Initialize Application: " + name,
                          "OrdvaneReports.Initialize hVars: 7", "OrdvaneReports.Initialize LoadDralLib",
                          "OrdvaneReports.Initialize NoxLanguageID: 1033",
                          "OrdvaneReports.Initialize NoxLanguageString: en",
                          "OrdvaneReports.Initialize ActiveLanguage: 1033",
                          "OrdvaneReports.Initialize Exit: ", "OrdvaneReports.Terminate",
                          "OrdvaneReports.Terminate g_XLApp: " + name + " " + bench.application->version(),
                          "OrdvaneReports.Terminate g_XLApp is Nothing", std::string(56, '-'), "now",
                          "Ordvane Reports Terminated"));
}

TEST(Session, SharedTextsOutsideTheirTablesAreEmptyWithoutAsking) {
  session::Session session;  // has no string table to ask
  EXPECT_EQ(session.CommonString(17), "");
  EXPECT_EQ(session.CommonString(-1), "");
  EXPECT_EQ(session.CommonMessage(4), "");
  expect_error(host::errc::kObjectNotSet, [&] { session.CommonString(0); });
}

TEST(Pipeline, SingleSimulationRanksAndReportsInOrder) {
  Bench bench;
  Recorder recorder;
  OrdvaneReports reports(bench.services, recorder.reports());
  reports.Initialize(bench.application, 1);
  reports.set_TornadoGraphs(true);
  reports.set_SpiderGraphs(true);
  reports.set_SensitivityGraphs(true);
  reports.set_OutputDetailReport(true);
  reports.set_SummaryReport(true);  // also asks for the detail by input
  reports.set_MultiWayReport(true);
  reports.MaxInputsPerGraph = 2;
  EXPECT_EQ(reports.GenerateReports(bench.all_outputs()), 0);
  EXPECT_FALSE(reports.report_error());
  EXPECT_THAT(recorder.calls, ElementsAre("tornado 1 run 1/1", "spider 1 run 1/1", "sensitivity 1 run 1/1",
                                          "tornado 2 run 1/1", "spider 2 run 1/1", "sensitivity 2 run 1/1",
                                          "detail 1", "detail 2", "by input", "multi-way"));
  // Output 1 by change, output 2 (base 0) by value; equal swings in the order of the model.
  EXPECT_THAT(recorder.swings[0],
              ElementsAre(testing::DoubleEq(0.1), testing::DoubleEq(0.06), testing::DoubleEq(0.02)));
  EXPECT_THAT(recorder.swings[3], ElementsAre(4, 4, 0));
  EXPECT_THAT(recorder.limits, testing::Each(2));
  EXPECT_EQ(recorder.styles[0].base_value, 100);
  EXPECT_EQ(recorder.styles[0].base_label, "Base value");
  EXPECT_THAT(bench.sheet_names(reports), ElementsAre("Summary"));
  EXPECT_THAT(bench.environment->lines, Contains("OrdvaneReports.GenerateReports Exit"));
  EXPECT_THAT(bench.environment->lines,
              Contains("OrdvaneReports.GenerateReports InputCount: 2   OutputRank: 1   OutputMaxValue: 105   "
                       "OutputMinValue: 95"));
  EXPECT_THAT(bench.environment->lines,
              Contains("OrdvaneScan.GetData Array(1)=-5   RArray(1)=4   RArray2(1)=3"));
}

TEST(Pipeline, ThresholdCutsByRankAndLeavesOutputsUnreported) {
  const struct {
    const char* what;
    double threshold;
    std::int32_t most_inputs;
    std::vector<std::int32_t> limits;  // of the tornados made
    std::vector<std::string> sheets;
  } cases[] = {
      {"nothing below it", 0.01, 32, {3, 3}, {"Summary"}},
      {"the narrowest input is cut", 0.05, 32, {2, 3}, {"Summary"}},
      {"a swing on the threshold stays", 0.06, 32, {2, 3}, {"Summary"}},
      {"all below it: a base of 0 is never cut", 0.5, 32, {3}, {"Outputs not shown", "Summary"}},
      {"no limit set shows one input", 0, 0, {1, 1}, {"Summary"}},
      {"a limit above 32 is 32", 0, 50, {3, 3}, {"Summary"}},
  };
  for (const auto& c : cases) {
    RunShape shape;
    shape.effects[0] = {1, 4,
                        -3};  // swings 0.02, 0.08, 0.06, exactly representable as differences of results
    Bench bench(shape);
    Recorder recorder;
    OrdvaneReports reports(bench.services, recorder.reports());
    reports.Initialize(bench.application, 1);
    reports.set_TornadoGraphs(true);
    reports.OnlyInputsOverThreshold = true;
    reports.InputsChangeThreshold = c.threshold;
    reports.MaxInputsPerGraph = c.most_inputs;
    reports.GenerateReports(bench.all_outputs());
    EXPECT_EQ(recorder.limits, c.limits) << c.what;
    EXPECT_EQ(bench.sheet_names(reports), c.sheets) << c.what;
  }
}

TEST(Pipeline, SeveralSimulationsKeepTheirDifferences) {
  RunShape shape;
  shape.simulations = 2;
  Bench bench(shape);
  Recorder recorder;
  OrdvaneReports reports(bench.services, recorder.reports());
  reports.Initialize(bench.application, 1);
  reports.set_TornadoGraphs(true);
  reports.set_DetailByInput(true);
  reports.OnlyInputsOverThreshold = true;
  reports.InputsChangeThreshold = 1000;
  reports.MaxInputsPerGraph = 32;
  EXPECT_EQ(reports.GenerateReports(bench.all_outputs()), 0);
  EXPECT_THAT(recorder.calls, ElementsAre("tornado 1 run 1/2", "tornado 2 run 1/2", "by input",
                                          "tornado 1 run 2/2", "tornado 2 run 2/2", "by input"));
  for (const auto& swings : recorder.swings) EXPECT_THAT(swings, ElementsAre(0, 0, 0));
  for (const auto& style : recorder.styles) {
    EXPECT_EQ(style.base_value, host::kNoBaseValue);
    EXPECT_EQ(style.base_label, "Base Value");
    EXPECT_EQ(style.bar_color, 16711680);
  }
  EXPECT_THAT(bench.sheet_names(reports), ElementsAre("Summary", "Summary (2)"));
}

TEST(Pipeline, CallsShareAWorkbookWhenAllResultsGoIntoOne) {
  struct Case {
    const char* what;
    bool single, overwrite, initialized_again;
    std::vector<std::string> first, second;  // sheets of each call's workbook, after both calls
  };
  const Case kCases[] = {
      {"each its own", false, false, false, {"Summary"}, {"Summary"}},
      {"one for all", true, false, false, {"Summary", "Summary (2)"}, {"Summary", "Summary (2)"}},
      {"the later result stays", true, true, false, {"Summary"}, {"Summary"}},
      {"a new one after Terminate", true, false, true, {"Summary"}, {"Summary"}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    Bench bench;
    OrdvaneReports reports(bench.services);
    reports.SingleWorkbookAllResults = c.single;
    reports.set_OverwriteExisting(c.overwrite);
    const auto call = [&] {
      reports.GenerateReports(bench.all_outputs());
      return reports.report_workbook();
    };
    reports.Initialize(bench.application, 1);
    const auto first = call();
    if (c.initialized_again) {
      reports.Terminate();
      reports.Initialize(bench.application, 1);
    }
    const auto second = call();
    EXPECT_EQ(first->name() == second->name(), c.single && !c.initialized_again);
    const auto names = [](host::Workbook& book) {
      std::vector<std::string> list;
      for (const auto& sheet : book.worksheets()) list.push_back(sheet->name());
      return list;
    };
    EXPECT_EQ(names(*first), c.first);
    EXPECT_EQ(names(*second), c.second);
    // Closed by its user, it is not missed.
    bench.application->close_workbook(*second);
    EXPECT_THAT(names(*call()), ElementsAre("Summary"));
  }
}

// Every combination of the switches, in both branches, makes just the reports that were asked for, in one
// order.
TEST(Pipeline, SwitchesWorkOneByOneAndTogether) {
  for (const std::int32_t simulations : {1, 2}) {
    for (unsigned mask = 0; mask < 128; ++mask) {
      const auto wanted = [mask](unsigned bit) { return (mask >> bit & 1U) != 0; };
      RunShape shape;
      shape.simulations = simulations;
      shape.groups = true;
      Bench bench(shape);
      Recorder recorder;
      OrdvaneReports reports(bench.services, recorder.reports());
      reports.Initialize(bench.application, 1);
      reports.MaxInputsPerGraph = 3;
      reports.set_TornadoGraphs(wanted(0));
      reports.set_SpiderGraphs(wanted(1));
      reports.set_SensitivityGraphs(wanted(2));
      reports.set_OutputDetailReport(wanted(3));
      reports.set_SummaryReport(wanted(4));
      reports.set_DetailByInput(wanted(5));
      reports.set_MultiWayReport(wanted(6));
      EXPECT_EQ(reports.GenerateReports(bench.all_outputs()), 0);

      std::vector<std::string> expected;
      for (std::int32_t run = 1; run <= simulations; ++run) {
        const std::string of_run = " run " + std::to_string(run) + "/" + std::to_string(simulations);
        for (const char* output : {"1", "2"}) {
          const char* const graphs[] = {"tornado ", "spider ", "sensitivity "};
          for (unsigned graph = 0; graph < 3; ++graph)
            if (wanted(graph)) expected.push_back(graphs[graph] + (output + of_run));
        }
        if (wanted(3)) expected.insert(expected.end(), {"detail 1", "detail 2"});
        if (wanted(4) || wanted(5)) expected.emplace_back("by input");
        if (wanted(6))
          expected.insert(expected.end(), {"multi-way tornado 1", "multi-way tornado 2", "multi-way"});
      }
      EXPECT_EQ(recorder.calls, expected) << "switches " << mask << ", simulations " << simulations;
      EXPECT_EQ(bench.sheet_names(reports).size(), static_cast<std::size_t>(simulations)) << "summaries";
    }
  }
}

TEST(Pipeline, RangeModeFollowsTheInputsPlaces) {
  const struct {
    std::vector<std::string> sheets, books;
    model::OrdvaneRangeMode expected;
  } cases[] = {
      {{"A", "A", "A"}, {"M.xlsx", "M.xlsx", "M.xlsx"}, model::OrdvaneRangeCellMode},
      {{"A", "A", "B"}, {"M.xlsx", "M.xlsx", "M.xlsx"}, model::OrdvaneRangeSheetMode},
      {{"A", "B", "A"}, {"M.xlsx", "M.xlsx", "N.xlsx"}, model::OrdvaneRangeBookMode},
  };
  for (const auto& c : cases) {
    RunShape shape;
    shape.input_sheets = c.sheets;
    shape.input_books = c.books;
    Bench bench(shape);
    Recorder recorder;
    OrdvaneReports reports(bench.services, recorder.reports());
    reports.Initialize(bench.application, 1);
    reports.set_TornadoGraphs(true);
    reports.MaxInputsPerGraph = 5;
    reports.GenerateReports(bench.all_outputs());
    EXPECT_EQ(recorder.range_mode, c.expected);
  }
}

TEST(Pipeline, RefusesWhatCannotBeReported) {
  Bench bench;
  OrdvaneReports reports(bench.services);
  reports.Initialize(bench.application, 1);
  expect_error(host::errc::kNothingToReport, [&] { reports.GenerateReports({}); });
  EXPECT_EQ(bench.application->calculation(), host::Calculation::kManual)
      << "stays as it is after such an error";

  // A selection that matches no output ends the reports, not the call.
  EXPECT_EQ(reports.GenerateReports({99}), 0);
  ASSERT_TRUE(reports.report_error());
  EXPECT_EQ(reports.report_error()->code(), host::errc::kSubscriptOutOfRange);
  EXPECT_EQ(bench.sheet_names(reports), std::vector<std::string>{});
}

TEST(Pipeline, DetailByInputCanStopIt) {
  Bench bench;
  Recorder recorder;
  recorder.by_input_result = 1;
  OrdvaneReports reports(bench.services, recorder.reports());
  reports.Initialize(bench.application, 1);
  reports.set_DetailByInput(true);
  reports.set_MultiWayReport(true);
  EXPECT_EQ(reports.GenerateReports(bench.all_outputs()), kStoppedByDetailByInput);
  EXPECT_THAT(recorder.calls, ElementsAre("by input"));
  EXPECT_THAT(bench.environment->lines, Not(Contains("OrdvaneReports.GenerateReports Exit")));
}

TEST(Pipeline, AGraphThatFailsDoesNotTakeTheOthersWithIt) {
  Bench bench;
  Recorder recorder;
  Reports routines = recorder.reports();
  routines.tornado = [](const auto&...) { throw host::Error(host::errc::kHostRefused, "no room"); };
  OrdvaneReports reports(bench.services, routines);
  reports.Initialize(bench.application, 1);
  reports.set_TornadoGraphs(true);
  reports.set_SpiderGraphs(true);
  reports.MaxInputsPerGraph = 5;
  EXPECT_EQ(reports.GenerateReports(bench.all_outputs()), 0);
  EXPECT_THAT(recorder.calls, ElementsAre("spider 1 run 1/1", "spider 2 run 1/1"));
  ASSERT_TRUE(reports.report_error());
  EXPECT_EQ(reports.report_error()->description(), "no room");
  EXPECT_THAT(bench.environment->lines, Contains(HasSubstr("TornadoGraphs Error: no room")));
}

TEST(Pipeline, EscapeAtAnyCheckEndsTheReportsAndRestoresTheSpreadsheet) {
  int checks = 0;
  for (int at = 1;; ++at) {
    RunShape shape;
    shape.groups = true;
    Bench bench(shape);
    bench.application->set_calculation(host::Calculation::kSemiautomatic);
    OrdvaneReports reports(bench.services);
    reports.Initialize(bench.application, 1);
    reports.set_TornadoGraphs(true);
    reports.set_SpiderGraphs(true);
    reports.set_SensitivityGraphs(true);
    reports.set_OutputDetailReport(true);
    reports.set_DetailByInput(true);
    reports.set_MultiWayReport(true);
    reports.MaxInputsPerGraph = 5;
    bench.environment->escape_at = at;
    EXPECT_EQ(reports.GenerateReports(bench.all_outputs()), 0);
    EXPECT_EQ(bench.application->calculation(), host::Calculation::kSemiautomatic) << at;
    EXPECT_TRUE(bench.application->screen_updating()) << at;
    EXPECT_TRUE(bench.application->display_alerts()) << at;
    if (bench.environment->escape_checks < at) {
      EXPECT_FALSE(reports.report_error());
      break;
    }
    ASSERT_TRUE(reports.report_error()) << at;
    EXPECT_EQ(reports.report_error()->code(), host::errc::kUserCancelled) << at;
    EXPECT_THAT(bench.environment->lines, Contains(HasSubstr(".GenerateReports Exit Error: ")));
    EXPECT_THAT(bench.environment->lines, Not(Contains("OrdvaneReports.GenerateReports Exit")));
    ++checks;
  }
  EXPECT_GT(checks, 15);
}

}  // namespace
}  // namespace ordvane::service
