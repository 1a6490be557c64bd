// The embedded spreadsheet and the forwarding wrapper over it; and that the wrapper fails every call in its
// turn.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/implementations.h"
#include "office/office.h"
#include "support/forwarding_host.h"

namespace ordvane::host {

std::vector<Implementation> implementations() {
  const auto make_forwarding = [] {
    return test::forwarding_application(office::make_application(), [](const char*) {});
  };
  return {{"embedded", office::make_application}, {"forwarding", make_forwarding}};
}

namespace {

// The error number that a step ends with, 0 for none.
template <class Step>
std::int32_t fault(Step&& step) {
  try {
    step();
    return 0;
  } catch (const Error& error) {
    return error.code();
  }
}

int write_a_chart(Application& app) {
  const auto book = app.add_workbook();
  const auto range = book->worksheets().at(0)->range("A1:B2");
  range->set_value(1.0);
  const auto series = app.active_sheet()->add_chart(0, 0, 10, 10)->chart()->new_series();
  series->set_values(*range);
  return static_cast<int>(app.max(*range));
}

TEST(Forwarding, FailsEveryCallInItsTurn) {
  for (const bool lasting : {false, true}) {
    std::vector<std::string> failed;
    for (int nth = 1;; ++nth) {
      test::FailNth fail{nth, lasting};
      const auto app = test::forwarding_application(office::make_application(), std::ref(fail));
      const std::int32_t code = fault([&] { write_a_chart(*app); });
      if (!fail.failed) {
        EXPECT_EQ(code, 0);
        break;
      }
      EXPECT_EQ(code, errc::kHostRefused);
      EXPECT_EQ(fail.calls, nth);
      EXPECT_EQ(fault([&] { write_a_chart(*app); }) != 0, lasting);
      failed.push_back(fail.where);
    }
    const std::vector<std::string> calls = {
        "Application.add_workbook", "Workbook.worksheets", "Worksheet.range",   "Range.set_value",
        "Application.active_sheet", "Worksheet.add_chart", "ChartObject.chart", "Chart.new_series",
        "Series.set_values",        "Application.max"};
    EXPECT_EQ(failed, calls);
  }
}

}  // namespace
}  // namespace ordvane::host
