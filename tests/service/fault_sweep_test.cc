// The Nth call to the host, the engine or the environment fails, once or from then on, for every N of a small
// run.
//
// Before the report workbook is open the error goes to the caller; after that the call returns and the error
// is kept. In every case the spreadsheet's settings are what they were, and the next run works.
#include <gtest/gtest.h>

#include "service/small_run.h"
#include "support/forwarding_host.h"

namespace ordvane::service {
namespace {

using test::FailNth;

enum class Failing { kHost, kEngine, kEnvironment };

struct Outcome {
  bool threw = false;       // out of GenerateReports or Initialize
  bool kept_error = false;  // report_error()
};

// Output 1 has no graph: the list of outputs missing is made too.
void ask_for_every_sheet(OrdvaneReports& reports) {
  ask_for_everything(reports);
  reports.OnlyInputsOverThreshold = true;
  reports.InputsChangeThreshold = 10;
}

class Sweep {
 public:
  Sweep(Failing failing, bool lasting, int nth) : failing_(failing) {
    fault_.nth = nth;
    fault_.lasting = lasting;
  }

  // Returns false when the run made fewer than N calls.
  bool run() {
    RunShape shape;
    shape.groups = true;
    Bench bench(shape);
    const Found found(*bench.application);
    run_with_fault(bench);
    if (!fault_.failed) return false;
    check(found);
    run_again(bench);
    return true;
  }

 private:
  void run_with_fault(Bench& bench) {
    const auto hook = [this](const char* member) { fault_(member); };
    std::shared_ptr<host::Application> application = bench.application;
    if (failing_ == Failing::kHost) application = test::announcing(application, hook);
    if (failing_ == Failing::kEngine)
      bench.services->session.engine = test::announcing(bench.services->session.engine, hook);
    if (failing_ == Failing::kEnvironment)
      bench.services->session.environment = test::announcing<host::Environment>(bench.environment, hook);

    OrdvaneReports reports(bench.services);
    ask_for_every_sheet(reports);
    try {
      reports.Initialize(application, 1);
      reports.GenerateReports(bench.all_outputs());
    } catch (const host::Error&) {
      outcome_.threw = true;
    }
    outcome_.kept_error = reports.report_error().has_value();
    reports.Terminate();
  }

  void check(const Found& found) const {
    const std::string where =
        std::to_string(fault_.nth) + " " + fault_.where + (fault_.lasting ? " lasting" : "");
    EXPECT_FALSE(outcome_.threw && outcome_.kept_error) << where;
    // What carries data or makes a sheet is never passed over in silence.
    if (!outcome_.threw && !outcome_.kept_error) {
      for (const char* member :
           {"Range.put", "Range.set_value", "Worksheet.set_name", "Workbook.add_worksheet",
            "Application.add_workbook", "Worksheet.add_chart", "Engine.DRL4_Get", "Engine.DRL7_"})
        EXPECT_EQ(fault_.where.find(member), std::string::npos) << where;
    }
    // A host that refuses for good cannot be told to restore anything.
    if (failing_ != Failing::kHost || !fault_.lasting) found.expect_restored(where);
  }

  static void run_again(Bench& bench) {
    const Bench fresh;
    bench.services->session.engine = fresh.services->session.engine;
    bench.services->session.environment = bench.environment;
    OrdvaneReports reports(bench.services);
    ask_for_every_sheet(reports);
    ASSERT_NO_THROW(reports.Initialize(bench.application, 1));
    ASSERT_NO_THROW(reports.GenerateReports(bench.all_outputs()));
    EXPECT_FALSE(reports.report_error()) << reports.report_error()->description();
    const auto names = bench.sheet_names(reports);
    ASSERT_FALSE(names.empty());
    EXPECT_EQ(names.back(), "Summary");
    EXPECT_EQ(names.size(), 10U);
  }

  Failing failing_;
  FailNth fault_;
  Outcome outcome_;
};

// Under the sanitizers, which make it slow, every fifth call has its turn.
#ifdef ORDVANE_SANITIZED
constexpr int kStep = 5;
#else
constexpr int kStep = 1;
#endif

class FaultSweep : public testing::TestWithParam<std::tuple<Failing, bool>> {};

TEST_P(FaultSweep, EveryCallHasItsTurn) {
  const auto [failing, lasting] = GetParam();
  int nth = 1;
  while (Sweep(failing, lasting, nth).run() && !HasFatalFailure()) nth += kStep;
  EXPECT_GT(nth, 40);
}

INSTANTIATE_TEST_SUITE_P(All, FaultSweep,
                         testing::Combine(testing::Values(Failing::kHost, Failing::kEngine,
                                                          Failing::kEnvironment),
                                          testing::Bool()));

}  // namespace
}  // namespace ordvane::service
