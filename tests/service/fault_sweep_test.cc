// The Nth call to the host, the engine or the environment fails, once or from then on, for every N of a small
// run.
//
// Before the report workbook is open the error goes to the caller; after that the call returns and the error
// is kept. In every case the spreadsheet's settings are what they were, and the next run works.
#include <gtest/gtest.h>

#include <cstdlib>

#include "service/small_run.h"
#include "support/forwarding_host.h"
#include "support/this_build.h"

namespace ordvane::service {
namespace {

using test::FailNth;

enum class Failing { kHost, kEngine, kEnvironment };

// Output 1 has no graph: the list of outputs missing is made too.
void ask_for_every_sheet(OrdvaneReports& reports) {
  ask_for_everything(reports);
  reports.OnlyInputsOverThreshold = true;
  reports.InputsChangeThreshold = 10;
}

// Returns false when the run made fewer than N calls.
bool run_with_fault(Failing failing, FailNth& fault) {
  RunShape shape;
  shape.groups = true;
  Bench bench(shape);
  const Found found(*bench.application);
  std::shared_ptr<host::Application> application = bench.application;
  if (failing == Failing::kHost) application = test::announcing(application, std::ref(fault));
  session::Session& session = bench.services->session;
  if (failing == Failing::kEngine) session.engine = test::announcing(session.engine, std::ref(fault));
  if (failing == Failing::kEnvironment)
    session.environment = test::announcing<host::Environment>(bench.environment, std::ref(fault));
  bool threw = false, kept_error = false;
  {
    OrdvaneReports reports(bench.services);
    ask_for_every_sheet(reports);
    try {
      reports.Initialize(application, 1);
      reports.GenerateReports(bench.all_outputs());
    } catch (const host::Error&) {
      threw = true;
    }
    kept_error = reports.report_error().has_value();
    reports.Terminate();
  }
  if (!fault.failed) return false;

  SCOPED_TRACE(std::to_string(fault.nth) + " " + fault.where + (fault.lasting ? " lasting" : ""));
  EXPECT_FALSE(threw && kept_error);
  // What carries data or makes a sheet is never passed over in silence.
  for (const char* member :
       {"Range.put_blocks", "Range.set_value", "Worksheet.set_name", "Workbook.add_worksheet",
        "Application.add_workbook", "Worksheet.add_chart", "Engine.DRL4_Get", "Engine.DRL7_"})
    EXPECT_TRUE(threw || kept_error || fault.where.find(member) == std::string::npos);
  // A host that refuses for good cannot be told to restore anything.
  if (failing != Failing::kHost || !fault.lasting) found.expect_restored(fault.where);

  const Bench fresh;
  session.engine = fresh.services->session.engine;
  session.environment = bench.environment;
  OrdvaneReports again(bench.services);
  ask_for_every_sheet(again);
  EXPECT_NO_THROW(again.Initialize(bench.application, 1));
  EXPECT_NO_THROW(again.GenerateReports(bench.all_outputs()));
  EXPECT_FALSE(again.report_error());
  const auto names = bench.sheet_names(again);
  EXPECT_EQ(names.size(), 11U);
  EXPECT_EQ(names.empty() ? "" : names.back(), "Summary");
  return true;
}

// Every call has its turn where ORDVANE_EVERY_FAULT is set; else one in a few of the hundreds, which are much
// alike. Under the sanitizers, which make it slow, some.
int step(Failing failing, bool lasting) {
  if (std::getenv("ORDVANE_EVERY_FAULT") != nullptr) return 1;
  if (test::kSanitized) return 41;
  return lasting || failing == Failing::kEnvironment ? 11 : failing == Failing::kHost ? 7 : 3;
}

class FaultSweep : public testing::TestWithParam<std::tuple<Failing, bool>> {};

TEST_P(FaultSweep, CallsHaveTheirTurn) {
  const auto [failing, lasting] = GetParam();
  FailNth fault{.nth = 1, .lasting = lasting};
  while (run_with_fault(failing, fault) && !HasFailure())
    fault = {.nth = fault.nth + step(failing, lasting), .lasting = lasting};
  EXPECT_GT(fault.nth, 40);
}

INSTANTIATE_TEST_SUITE_P(All, FaultSweep,
                         testing::Combine(testing::Values(Failing::kHost, Failing::kEngine,
                                                          Failing::kEnvironment),
                                          testing::Bool()));

}  // namespace
}  // namespace ordvane::service
