// The reports over IDispatch: the workbook is the one they make without it, the calls do not grow with the
// cells, and a call that fails leaves neither settings behind nor objects.
#include <gtest/gtest.h>

#include <cstdio>

#include "automation/excel_dispatch.h"
#include "service/small_run.h"
#include "support/snapshot.h"
#include "windows/excel_stand_in.h"
#include "windows/looks.h"
#include "windows/texts.h"

namespace ordvane::test {
namespace {

using service::OrdvaneReports;
using service::RunShape;
using Choose = void (*)(OrdvaneReports&);

struct DispatchBench : service::Bench {
  explicit DispatchBench(const RunShape& shape = {})
      : Bench(shape), stand_in(std::make_shared<StandIn>(application)) {}

  // Returns the workbook's name; empty where none was made.
  std::string make(bool through_dispatch, Choose choose, std::string* error = nullptr) {
    OrdvaneReports reports(services);
    choose(reports);
    std::string name;
    try {
      reports.Initialize(through_dispatch ? automation::wrap_excel(make_excel_stand_in(stand_in).get())
                                          : std::shared_ptr<host::Application>(application),
                         1);
      reports.set_WatermarkText("Draft\nnot for release");
      reports.GenerateReports(all_outputs());
      if (const auto made = reports.report_workbook()) host::ignoring_errors([&] { name = made->name(); });
    } catch (const host::Error& failed) {
      if (error) *error = failed.description();
    }
    if (reports.report_error() && error) *error = reports.report_error()->description();
    reports.Terminate();
    return name;
  }

  std::shared_ptr<StandIn> stand_in;
};

RunShape odd_shape() {
  RunShape shape;
  shape.groups = true;
  shape.input_sheets = {"Inputs", "It's", "123"};
  shape.output_bases = {100, 0, -1e-9};
  shape.effects = {{1, 5, -3}, {2, 2, 0}, {1e-10, 0, 1e-9}};
  return shape;
}

TEST(ReportsOverDispatch, AreTheSame) {
  DispatchBench direct(odd_shape()), late(odd_shape());
  std::string error;
  const std::string name = direct.make(false, service::ask_for_everything, &error);
  ASSERT_EQ(late.make(true, service::ask_for_everything, &error), name) << error;
  EXPECT_EQ(error, "");
  const auto direct_book = direct.application->model(*direct.application->workbook(name));
  const auto late_book = late.application->model(*late.application->workbook(name));
  EXPECT_GT(direct_book->sheets.size(), 8U);
  EXPECT_EQ(first_difference(snapshot(*late_book), snapshot(*direct_book)), "");
  EXPECT_EQ(first_difference(Looks::of(*late_book), Looks::of(*direct_book)), "");
  EXPECT_EQ(late.stand_in->live_objects, 0);
}

TEST(ReportsOverDispatch, CallsDoNotGrowWithTheCells) {
  const std::pair<const char*, Choose> reports[] = {
      {"summary", [](OrdvaneReports&) {}},
      {"tornado", [](OrdvaneReports& r) { r.set_TornadoGraphs(true); }},
      {"spider", [](OrdvaneReports& r) { r.set_SpiderGraphs(true); }},
      {"sensitivity", [](OrdvaneReports& r) { r.set_SensitivityGraphs(true); }},
      {"output detail", [](OrdvaneReports& r) { r.set_OutputDetailReport(true); }},
      {"detail by input", [](OrdvaneReports& r) { r.set_DetailByInput(true); }},
  };
  const auto calls = [](Choose choose, std::int32_t steps) {
    RunShape shape;
    shape.steps = steps;
    DispatchBench bench(shape);
    std::string error;
    bench.make(true, choose, &error);
    EXPECT_EQ(error, "");
    return bench.stand_in->all_calls();
  };
  for (const auto& [name, choose] : reports) {
    SCOPED_TRACE(name);
    const long few = calls(choose, 100), many = calls(choose, 1000);
    std::printf("%-16s %8ld IDispatch calls of 300 rows, %8ld of 3,000\n", name, few, many);
    EXPECT_LE(many, few);
  }
}

// The Nth call of a small run fails, once or from then on.
TEST(ReportsOverDispatch, SurviveEveryFailingCall) {
  const auto choose = [](OrdvaneReports& reports) {
    reports.set_TornadoGraphs(true);
    reports.set_OutputDetailReport(true);
  };
  RunShape shape;
  shape.output_bases = {100};
  for (const bool lasting : {false, true}) {
    for (long nth = 1;; nth += lasting ? 17 : 1) {
      DispatchBench bench(shape);
      const service::Found found(*bench.application);
      bench.stand_in->fail_at = nth;
      bench.stand_in->fail_lastingly = lasting;
      bench.make(true, choose);
      const std::string& failed = bench.stand_in->failed;
      if (failed.empty()) {
        EXPECT_GT(nth, 1000);
        break;
      }
      const std::string where = std::to_string(nth) + " " + failed + (lasting ? " lasting" : "");
      EXPECT_EQ(bench.stand_in->live_objects, 0) << where;
      if (!lasting) {
        found.expect_restored(where);
        EXPECT_TRUE(bench.stand_in->print_communication) << where;
      }
      if (nth % 10 != 1) continue;
      bench.stand_in->fail_at = 0;
      std::string error;
      EXPECT_NE(bench.make(true, choose, &error), "") << where << ": the next run works";
      EXPECT_EQ(error, "") << where;
    }
  }
}

}  // namespace
}  // namespace ordvane::test
