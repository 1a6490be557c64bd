// The service from creation to release: settings, the log, both branches of the pipeline, and how it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "service/small_run.h"
#include "support/forwarding_host.h"

namespace ordvane::service {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// What the error says.
std::string expect_error(std::int32_t code, const std::function<void()>& call) {
  try {
    call();
  } catch (const host::Error& error) {
    EXPECT_EQ(error.code(), code) << error.description();
    return error.description();
  }
  ADD_FAILURE() << "expected error " << code;
  return "";
}

// What the pipeline asked the reports to do, in place of the reports.
struct Recorder {
  std::vector<std::string> calls;
  std::vector<std::vector<double>> swings;
  std::vector<std::int32_t> limits;

  Reports reports() {
    const auto graph = [this](const std::string& name) {
      return
          [this, name](const Reports::Context& a, std::int32_t output, const model::RankingRecord& ranking) {
            calls.push_back(name + " " + std::to_string(output) + " run " + std::to_string(a.run_number) +
                            "/" + std::to_string(a.total_runs));
            swings.emplace_back(ranking.SortedArray.begin(), ranking.SortedArray.end());
            limits.push_back(ranking.input_limit);
          };
    };
    Reports r;
    r.matrix = [this](const Reports::Context&) { calls.emplace_back("matrix"); };
    r.grids = [this](const Reports::Context&, std::int32_t selected, const model::MultiWayRun&,
                     const model::GroupEffects&) { calls.push_back("grids " + std::to_string(selected)); };
    r.spider = graph("spider");
    r.sensitivity = graph("sensitivity");
    r.tornado = [tornado = graph("tornado"), this](const Reports::Context& a, std::int32_t output,
                                                   const model::RankingRecord& ranking,
                                                   const Reports::TornadoStyle& style) {
      tornado(a, output, ranking);
      styles.push_back(style);
    };
    r.output_detail = [this](const Reports::Context&, std::int32_t output) {
      calls.push_back("detail " + std::to_string(output));
    };
    r.detail_by_input = [this](const Reports::Context&) {
      calls.emplace_back("by input");
      return by_input_result;
    };
    r.multi_tornado = [this](const Reports::Context&, std::int32_t output, const model::MultiWayRun&,
                             const model::GroupEffects&, const Reports::TornadoStyle& style) {
      calls.push_back("multi-way tornado " + std::to_string(output));
      styles.push_back(style);
    };
    r.multi_way_detail = [this](const Reports::Context&, const model::MultiWayRun&,
                                const model::OneBased<model::GroupEffects>&) {
      calls.emplace_back("multi-way");
    };
    return r;
  }

  std::vector<Reports::TornadoStyle> styles;
  std::int32_t by_input_result = 0;
};

// A run, and its reports recorded in place of being made.
struct Recorded : Bench {
  explicit Recorded(const RunShape& shape = {}) : Bench(shape) { reports.Initialize(application, 1); }

  Recorder recorder;
  OrdvaneReports reports{services, recorder.reports()};
};

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

TEST(Session, HasNoTextsBeforeInitialize) {
  expect_error(host::errc::kObjectNotSet, [] { session::Session().text(text_id::kLabelRun); });
}

TEST(Pipeline, SingleSimulationRanksAndReportsInOrder) {
  Recorded bench;
  bench.reports.set_TornadoGraphs(true);
  bench.reports.set_SpiderGraphs(true);
  bench.reports.set_SensitivityGraphs(true);
  bench.reports.set_OutputDetailReport(true);
  bench.reports.set_SummaryReport(true);  // also asks for the detail by input
  bench.reports.set_MultiWayReport(true);
  bench.reports.MaxInputsPerGraph = 2;
  EXPECT_EQ(bench.reports.GenerateReports(bench.all_outputs()), 0);
  EXPECT_FALSE(bench.reports.report_error());
  EXPECT_THAT(bench.recorder.calls,
              ElementsAre("matrix", "tornado 1 run 1/1", "spider 1 run 1/1", "sensitivity 1 run 1/1",
                          "tornado 2 run 1/1", "spider 2 run 1/1", "sensitivity 2 run 1/1", "detail 1",
                          "detail 2", "by input", "multi-way"));
  // Output 1 by change, output 2 (base 0) by value; equal swings in the order of the model.
  EXPECT_THAT(bench.recorder.swings[0],
              ElementsAre(testing::DoubleEq(0.1), testing::DoubleEq(0.06), testing::DoubleEq(0.02)));
  EXPECT_THAT(bench.recorder.swings[3], ElementsAre(4, 4, 0));
  EXPECT_THAT(bench.recorder.limits, testing::Each(2));
  EXPECT_EQ(bench.recorder.styles[0].base_value, 100);
  EXPECT_EQ(bench.recorder.styles[0].base_label, "Base value");
  EXPECT_THAT(bench.sheet_names(bench.reports), ElementsAre("Summary"));
  EXPECT_THAT(bench.environment->lines, Contains("OrdvaneReports.GenerateReports Exit"));
  EXPECT_THAT(bench.environment->lines,
              Contains("OrdvaneReports.GenerateReports InputCount: 2   OutputRank: 1   OutputMaxValue: 105   "
                       "OutputMinValue: 95"));
  EXPECT_THAT(bench.environment->lines,
              Contains("OrdvaneScan.GetData Array(1)=-5   RArray(1)=4   RArray2(1)=3"));
}

// What a summary sheet says beside a label.
host::CellValue beside(host::Worksheet& sheet, const std::string& label) {
  const host::CellBlock cells = sheet.range("A1:C40")->values();
  for (std::int32_t row = 1; row <= 40; ++row)
    for (std::int32_t column = 1; column <= 2; ++column)
      if (cells.value(row, column) == host::CellValue(label)) return cells.value(row, column + 1);
  return {};
}

// Every simulation is reported as a single one is: all settings hold, and its summary counts what was made.
TEST(Pipeline, FollowsTheSettingsInEverySimulation) {
  const struct {
    const char* what;
    std::int32_t simulations;
    double threshold;
    std::int32_t most_inputs;
    std::vector<std::int32_t> limits;  // of the tornados made, run after run
    std::vector<std::string> sheets;
    std::vector<double> without_graph;  // of each run's summary
  } cases[] = {
      {"all inputs, without a base line", 2, 0, 32, {3, 3, 3, 3}, {"Summary", "Summary (2)"}, {0, 0}},
      {"nothing below the threshold", 1, 0.01, 32, {3, 3}, {"Summary"}, {0}},
      {"the narrowest input is cut", 1, 0.05, 32, {2, 3}, {"Summary"}, {0}},
      {"a swing on the threshold stays", 1, 0.06, 32, {2, 3}, {"Summary"}, {0}},
      {"a base of 0 is never cut", 1, 0.5, 32, {3}, {"Outputs not shown", "Summary"}, {1}},
      {"no limit set shows one input", 1, 0, 0, {1, 1}, {"Summary"}, {0}},
      {"a limit above 32 is 32", 1, 0, 50, {3, 3}, {"Summary"}, {0}},
      {"one input a graph", 2, 0, 1, {1, 1, 1, 1}, {"Summary", "Summary (2)"}, {0, 0}},
      {"the second run moves twice as much",
       2,
       0.11,
       32,
       {3, 2, 3},  // of output 1 in the first run none
       {"Outputs not shown", "Summary", "Summary (2)"},
       {1, 0}},
      {"none but the output whose base value is 0",
       2,
       9,
       32,
       {3, 3},
       {"Outputs not shown", "Summary", "Outputs not shown (2)", "Summary (2)"},
       {1, 1}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    RunShape shape;
    shape.simulations = c.simulations;
    shape.groups = true;
    // Swings of 0.02, 0.08 and 0.06, exactly representable as differences of results.
    shape.effects[0] = {1, 4, -3};
    Recorded bench(shape);
    bench.reports.set_TornadoGraphs(true);
    bench.reports.set_MultiWayReport(true);
    const bool with_base_line = &c != cases;
    bench.reports.set_IncludeBaseline(with_base_line);
    bench.reports.set_BarColor(0x102030);
    bench.reports.set_BaselineColor(0x405060);
    bench.reports.OnlyInputsOverThreshold = true;
    bench.reports.InputsChangeThreshold = c.threshold;
    bench.reports.MaxInputsPerGraph = c.most_inputs;
    EXPECT_EQ(bench.reports.GenerateReports(bench.all_outputs()), 0);
    EXPECT_EQ(bench.recorder.limits, c.limits);
    EXPECT_EQ(bench.sheet_names(bench.reports), c.sheets);
    for (std::size_t run = 0; run < c.without_graph.size(); ++run) {
      const auto summary = bench.reports.report_workbook()->worksheet(run == 0 ? "Summary" : "Summary (2)");
      EXPECT_EQ(beside(*summary, "Outputs without a graph"), host::CellValue(c.without_graph[run]));
    }
    // And the tornados of the groups.
    ASSERT_EQ(bench.recorder.styles.size(), c.limits.size() + 2 * c.without_graph.size());
    for (const auto& style : bench.recorder.styles) {
      if (with_base_line)
        EXPECT_THAT(style.base_value, testing::AnyOf(100, 0));
      else
        EXPECT_EQ(style.base_value, host::kNoBaseValue);
      EXPECT_EQ(style.base_label, "Base value");
      EXPECT_EQ(style.bar_color, 0x102030);
      EXPECT_EQ(style.baseline_color, 0x405060);
    }
  }
}

// Outputs that the model does not have do not take the others with them, nor pass in silence.
TEST(Pipeline, UnknownOutputsAreNamedAndTheOthersReported) {
  const struct {
    model::OneBased<std::int32_t> selected;
    std::vector<std::string> calls;
    const char* named;  // null: all are known
  } cases[] = {
      {{0, 1}, {"matrix", "tornado 2 run 1/1", "detail 1", "detail 2"}, nullptr},
      {{99, 1, 0}, {"matrix", "tornado 2 run 1/1", "detail 2", "detail 1"}, "99"},
      {{-1, 0, 2}, {"matrix", "detail 1"}, "-1, 2"},
  };
  for (const auto& c : cases) {
    Recorded bench;
    bench.reports.set_TornadoGraphs(true);
    bench.reports.set_OutputDetailReport(true);
    bench.reports.OnlyInputsOverThreshold = true;  // output 1 has no graph
    bench.reports.InputsChangeThreshold = 10;
    EXPECT_EQ(bench.reports.GenerateReports(c.selected), 0);
    EXPECT_EQ(bench.recorder.calls, c.calls);
    const auto missing =
        bench.reports.report_workbook()->worksheet("Outputs not shown")->range("A1:A20")->values();
    int listed = 0;
    for (std::int32_t row = 1; row <= 20; ++row)
      listed += missing.value(row, 1) == host::CellValue("Output 1 (C2)") ? 1 : 0;
    EXPECT_EQ(listed, 1);
    const auto summary = bench.reports.report_workbook()->worksheet("Summary");
    EXPECT_EQ(beside(*summary, "Outputs selected"), host::CellValue(static_cast<double>(c.calls.size() / 2)));
    EXPECT_EQ(beside(*summary, "Outputs without a graph"), host::CellValue(1.0));
    EXPECT_THAT(bench.environment->lines, Contains("OrdvaneReports.GenerateReports Exit"));
    ASSERT_EQ(bench.reports.report_error().has_value(), c.named != nullptr);
    if (!c.named) continue;
    const std::string text =
        bench.services->session.text(text_id::kMessageUnknownOutputs, std::string(c.named));
    EXPECT_EQ(bench.reports.report_error()->description(), text);
    EXPECT_EQ(bench.reports.report_error()->code(), host::errc::kSubscriptOutOfRange);
    EXPECT_THAT(bench.environment->lines, Contains(HasSubstr(text)));
    EXPECT_THAT(bench.environment->messages, ElementsAre("Ordvane: " + text));
  }
}

TEST(Pipeline, CallsShareAWorkbookWhenAllResultsGoIntoOne) {
  const struct {
    const char* what;
    bool single, overwrite, initialized_again;
    std::vector<std::string> first, second;  // sheets of each call's workbook, after both calls
  } kCases[] = {
      {"each its own", false, false, false, {"Summary"}, {"Summary"}},
      {"one for all", true, false, false, {"Summary", "Summary (2)"}, {"Summary", "Summary (2)"}},
      {"the later result stays", true, true, false, {"Summary"}, {"Summary"}},
      {"a new one after Terminate", true, false, true, {"Summary"}, {"Summary"}},
  };
  for (const auto& c : kCases) {
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
      Recorded bench(shape);
      bench.reports.MaxInputsPerGraph = 3;
      bench.reports.set_TornadoGraphs(wanted(0));
      bench.reports.set_SpiderGraphs(wanted(1));
      bench.reports.set_SensitivityGraphs(wanted(2));
      bench.reports.set_OutputDetailReport(wanted(3));
      bench.reports.set_SummaryReport(wanted(4));
      bench.reports.set_DetailByInput(wanted(5));
      bench.reports.set_MultiWayReport(wanted(6));
      EXPECT_EQ(bench.reports.GenerateReports(bench.all_outputs()), 0);

      std::vector<std::string> expected;
      for (std::int32_t run = 1; run <= simulations; ++run) {
        if (wanted(0)) expected.emplace_back("matrix");
        const std::string of_run = " run " + std::to_string(run) + "/" + std::to_string(simulations);
        for (const char* output : {"1", "2"}) {
          const char* const graphs[] = {"tornado ", "spider ", "sensitivity "};
          for (unsigned graph = 0; graph < 3; ++graph)
            if (wanted(graph)) expected.push_back(graphs[graph] + (output + of_run));
        }
        if (wanted(3)) expected.insert(expected.end(), {"detail 1", "detail 2"});
        if (wanted(4) || wanted(5)) expected.emplace_back("by input");
        if (wanted(6))
          expected.insert(expected.end(),
                          {"multi-way tornado 1", "multi-way tornado 2", "grids 1", "grids 2", "multi-way"});
      }
      EXPECT_EQ(bench.recorder.calls, expected) << "switches " << mask << ", simulations " << simulations;
      EXPECT_EQ(bench.sheet_names(bench.reports).size(), static_cast<std::size_t>(simulations))
          << "summaries";
    }
  }
}

TEST(Pipeline, RefusesWhatCannotBeReported) {
  for (const auto& selected : {model::OneBased<std::int32_t>{}, model::OneBased<std::int32_t>{99, 2}}) {
    Bench bench;
    const Found found(*bench.application);
    OrdvaneReports reports(bench.services);
    reports.Initialize(bench.application, 1);
    const std::string said =
        expect_error(host::errc::kNothingToReport, [&] { reports.GenerateReports(selected); });
    EXPECT_EQ(said.find("99, 2") != std::string::npos, selected.size() == 2) << said;
    found.expect_restored("nothing to report");
    EXPECT_EQ(bench.sheet_names(reports), std::vector<std::string>{});
    reports.GenerateReports(bench.all_outputs());
    EXPECT_FALSE(reports.report_error());
    found.expect_restored("the run after it");
  }
}

// A call that the engine refuses never leaves another item's values under an item's name.
TEST(Pipeline, WhatTheEngineRefusesIsNamed) {
  const struct {
    const char* call;
    int nth;
    const char* error;
    bool opened;  // the report workbook
  } cases[] = {
      {"DRL4_GetVaryCountList", 1, "DRL4_GetVaryCountList refused the steps of 3 inputs (status 3)", false},
      {"DRL7_GetOrderedInputInfoVB", 2, "DRL7_GetOrderedInputInfoVB refused input 2 (status 3)", false},
      {"DRL7_GetOrderedOutputInfoVB", 1, "DRL7_GetOrderedOutputInfoVB refused output 1 (status 3)", false},
      {"DRL7_GetCellWithInputOrOutputVB", 4, "DRL7_GetCellWithInputOrOutputVB refused output 1 (status 3)",
       false},
      {"DRL7_GetWorkbookWithInputOrOutputVB", 3,
       "DRL7_GetWorkbookWithInputOrOutputVB refused input 3 (status 3)", false},
      {"DRL7_GetSheetWithInputOrOutputVB", 1, "DRL7_GetSheetWithInputOrOutputVB refused input 1 (status 3)",
       false},
      {"DRL4_GetDoubleInputOrOutputData", 2,
       "DRL4_GetDoubleInputOrOutputData refused input \"Input 2 (B3)\" (status 3)", true},
      {"DRL4_GetDoubleInputOrOutputData", 5,
       "DRL4_GetDoubleInputOrOutputData refused output \"Output 2 (C3)\" (status 3)", true},
      // Of the multi-way recalculations: 4 values of members, then the results.
      {"DRL4_GetDoubleInputOrOutputData", 6,
       "DRL4_GetDoubleInputOrOutputData refused input \"Input 1 (B2)\" (status 3)", true},
      {"DRL4_GetDoubleInputOrOutputData", 11,
       "DRL4_GetDoubleInputOrOutputData refused output \"Output 2 (C3)\" (status 3)", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.error);
    RunShape shape;
    shape.groups = true;
    Bench bench(shape);
    int calls = 0;
    // The upper half of a status is not looked at.
    const auto hook = [&](const char* member) {
      if (std::string("Engine.") + c.call == member && ++calls == c.nth) throw test::Refused{0x70003};
    };
    bench.services->session.engine = test::announcing(bench.services->session.engine, hook);
    OrdvaneReports reports(bench.services);
    reports.Initialize(bench.application, 1);
    reports.set_MultiWayReport(true);
    std::string error;
    try {
      EXPECT_EQ(reports.GenerateReports(bench.all_outputs()), 0);
      if (reports.report_error()) error = reports.report_error()->description();
      EXPECT_TRUE(c.opened);
    } catch (const host::Error& thrown) {
      error = thrown.description();
      EXPECT_FALSE(c.opened);
      EXPECT_EQ(thrown.code(), host::errc::kInvalidProcedureCall);
    }
    EXPECT_EQ(error, c.error);
  }
  EXPECT_TRUE(engine::succeeded(0x70000));
}

// Only reading and restoring the calculation mode is done in any other.
TEST(Pipeline, NothingIsRecalculatedBetweenTheFirstReportAndTheLast) {
  for (const std::int32_t simulations : {1, 2}) {
    RunShape shape;
    shape.simulations = simulations;
    shape.groups = true;
    Bench bench(shape);
    std::vector<std::string> automatic;
    int calls = 0;
    OrdvaneReports reports(bench.services);
    ask_for_everything(reports);
    const auto hook = [&](const char* member) {
      ++calls;
      if (bench.application->calculation() != host::Calculation::kManual) automatic.emplace_back(member);
    };
    reports.Initialize(test::announcing<host::Application>(bench.application, hook), 1);
    automatic.clear();
    reports.GenerateReports(bench.all_outputs());
    EXPECT_FALSE(reports.report_error());
    EXPECT_EQ(bench.application->calculation(), host::Calculation::kAutomatic);
    EXPECT_GT(calls, 4000);
    EXPECT_THAT(
        automatic,
        ElementsAre("Application.active_workbook", "Workbook.multi_user_editing", "Application.calculation",
                    "Application.screen_updating", "Application.display_alerts", "Application.interactive",
                    "Application.cursor", "Application.status_bar", "Application.active_sheet",
                    "Application.set_calculation", "Application.set_screen_updating",
                    "Application.set_display_alerts", "Application.set_interactive", "Application.set_cursor",
                    "Application.set_status_bar", "Application.active_cell", "Range.activate"));
  }
}

// Of several simulations it ends none.
TEST(Pipeline, DetailByInputCanStopASingleSimulation) {
  for (const std::int32_t simulations : {1, 2}) {
    RunShape shape;
    shape.simulations = simulations;
    Recorded bench(shape);
    bench.recorder.by_input_result = 1;
    bench.reports.set_DetailByInput(true);
    bench.reports.set_MultiWayReport(true);
    const bool stopped = simulations == 1;
    EXPECT_EQ(bench.reports.GenerateReports(bench.all_outputs()), stopped ? kStoppedByDetailByInput : 0);
    EXPECT_EQ(bench.recorder.calls.size(), stopped ? 1U : 4U);
    const std::string exit = "OrdvaneReports.GenerateReports Exit";
    EXPECT_EQ(std::count(bench.environment->lines.begin(), bench.environment->lines.end(), exit), !stopped);
  }
}

// A graph that fails does not take the others with it. Everything that went wrong is told once, at the end,
// whatever came after it.
TEST(Pipeline, WhatFailedIsToldInOneMessage) {
  const host::Error kNoRoom(host::errc::kHostRefused, "no room");
  const host::Error kEscape(host::errc::kUserCancelled, "");
  const std::string graphs =
      "Drawing the spider graph (Output 1): no room\nDrawing the spider graph (Output 2): no room";
  const std::string detail = "Writing the output detail (Output 1): no room";
  const struct {
    const char* what;
    std::optional<host::Error> spider, detail;
    std::string told;
  } cases[] = {
      {"all is well", {}, {}, ""},
      {"a graph", kNoRoom, {}, graphs},
      {"the reports end", {}, kNoRoom, detail},
      {"a graph, then they end", kNoRoom, kNoRoom, graphs + "\n" + detail},
      {"Escape", {}, kEscape, ""},
      {"a graph, then Escape", kNoRoom, kEscape, graphs},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Bench bench;
    Recorder recorder;
    Reports routines = recorder.reports();
    routines.spider = [&](const auto&...) {
      if (c.spider) throw host::Error(*c.spider);
    };
    routines.output_detail = [&](const auto&...) {
      if (c.detail) throw host::Error(*c.detail);
    };
    OrdvaneReports reports(bench.services, routines);
    reports.Initialize(bench.application, 1);
    reports.set_SpiderGraphs(true);
    reports.set_SensitivityGraphs(true);
    reports.set_OutputDetailReport(true);
    reports.MaxInputsPerGraph = 5;
    EXPECT_EQ(reports.GenerateReports(bench.all_outputs()), 0);
    EXPECT_THAT(recorder.calls, ElementsAre("sensitivity 1 run 1/1", "sensitivity 2 run 1/1"));
    EXPECT_EQ(reports.failures(), c.told);
    EXPECT_EQ(reports.report_error().has_value(), c.spider || c.detail);
    if (c.spider && !c.detail) {
      EXPECT_EQ(reports.report_error()->description(), "no room");
    }
    std::vector<std::string> messages;
    if (!c.told.empty())
      messages.push_back("Ordvane: " + bench.services->session.text(text_id::kMessageReportsFailed) + "\n" +
                         c.told);
    EXPECT_EQ(bench.environment->messages, messages);
    if (c.spider) {
      EXPECT_THAT(bench.environment->lines, Contains(HasSubstr("SpiderGraphs Error: no room")));
    }
    if (c.detail && c.detail->code() != host::errc::kUserCancelled) {
      EXPECT_THAT(bench.environment->lines, Contains(HasSubstr("Error: " + detail.substr(0, 37))));
    }
  }
}

TEST(Pipeline, EscapeAtAnyCheckEndsTheReportsAndRestoresTheSpreadsheet) {
  int checks = 0;
  for (int at = 1;; ++at) {  // the first look is the one before the run
    RunShape shape;
    shape.groups = true;
    Bench bench(shape);
    const Found found(*bench.application);
    OrdvaneReports reports(bench.services);
    reports.Initialize(bench.application, 1);
    ask_for_everything(reports);
    bench.environment->escape_at = at;
    EXPECT_EQ(reports.GenerateReports(bench.all_outputs()), 0);
    found.expect_restored("check " + std::to_string(at));
    if (at == 1 || bench.environment->escape_checks < at) {
      EXPECT_FALSE(reports.report_error());
      if (at == 1) continue;
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
