// The reports over IDispatch: the calls do not grow with the cells, and a call that fails leaves neither
// settings behind nor objects.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "windows/dispatch_bench.h"

namespace ordvane::test {
namespace {

using service::OrdvaneReports;
using service::RunShape;

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
