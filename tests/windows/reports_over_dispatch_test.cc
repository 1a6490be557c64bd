// The reports over IDispatch: the workbook is the one they make without it, the calls do not grow with the
// cells, and a call that fails leaves neither settings behind nor objects.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "windows/dispatch_bench.h"
#include "windows/texts.h"

namespace ordvane::test {
namespace {

using service::OrdvaneReports;
using service::RunShape;

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
  const auto calls = [](Choose choose, std::int32_t steps) {
    RunShape shape;
    shape.steps = steps;
    DispatchBench bench(shape);
    std::string error;
    bench.make(true, choose, &error);
    EXPECT_EQ(error, "");
    return bench.stand_in->all_calls();
  };
  for (const auto& [name, choose] : kReports) {
    SCOPED_TRACE(name);
    const long few = calls(choose, 100), many = calls(choose, 1000);
    std::printf("%-16s %8ld IDispatch calls of 300 rows, %8ld of 3,000\n", name, few, many);
    EXPECT_LE(many, few);
  }
}

// The Nth call of a small run fails. What the reports make of that is told of the interface behind.
TEST(ReportsOverDispatch, LeaveNothingBehindWhicheverCallFails) {
  RunShape shape;
  shape.output_bases = {100};
  for (long nth = 1;; ++nth) {
    DispatchBench bench(shape);
    const service::Found found(*bench.application);
    bench.stand_in->fail_at = nth;
    bench.make(true, [](OrdvaneReports& reports) { reports.set_TornadoGraphs(true); });
    const std::string where = std::to_string(nth) + " " + bench.stand_in->failed;
    if (bench.stand_in->failed.empty()) {
      EXPECT_GT(nth, 500);
      break;
    }
    EXPECT_EQ(bench.stand_in->live_objects, 0) << where;
    found.expect_restored(where);
    EXPECT_TRUE(bench.stand_in->print_communication) << where;
  }
}

}  // namespace
}  // namespace ordvane::test
