#include "reports/grids.h"

#include "reports/matrix.h"
#include "reports/reports_bench.h"

namespace ordvane::reports {
namespace {

using test::cells_that_look;
using test::GraphBench;
using test::kNothing;
using testing::ElementsAre;

// Price 8, 10, 12 down, volume 1, 2 across, and rate where there are three.
model::MultiWayRun run_of(std::int32_t members, const std::vector<double>& results) {
  model::MultiGroup group;
  group.first = 1;
  group.combinations = static_cast<std::int32_t>(results.size());
  for (std::int32_t m = 1; m <= members; ++m) {
    const std::int32_t values = m == 1 ? 3 : 2;
    std::int32_t apart = 1;
    for (std::int32_t behind = m + 1; behind <= members; ++behind) apart *= 2;
    model::multiData data;
    for (std::int32_t c = 0; c < group.combinations; ++c) {
      data.rank.push_back(c / apart % values + 1);
      data.value.push_back(m == 1 ? 6 + 2 * data.rank.back() : data.rank.back());
    }
    group.members.push_back(m);
    group.inputs.push_back(data);
  }
  return {.groups = {group}, .recalculations = group.combinations, .results = {results}};
}

std::shared_ptr<const office::BookModel> grids(GraphBench& bench, std::int32_t members,
                                               const std::vector<double>& results) {
  bench.set_inputs({{"Price", "B3", 10, {}}, {"Volume", "B4", 2, {}}, {"Rate", "B5", 1, {}}});
  const model::MultiWayRun run = run_of(members, results);
  MakeGridsReport(bench.context(), 1, run, model::RankGroups(run, bench.inputs, bench.outputs, 1, 1));
  return bench.book();
}

TEST(GridsReport, MarksTheBaseCaseAndPartsWhatIsBelowTheTarget) {
  GraphBench bench;
  bench.output().set_BaseValue(40);
  const auto book = grids(bench, 2, {-20, -10, kNothing, 40, 0, 90});
  test::expect_parts(test::snapshot(*book),
                     {"filter A8:E9\n", "colours of B16:C18 -20 #F2CB7F 40 #FFFFFF 90 #82A8E6\n",
                      "A17 10 {0.0}  B17 \" - \"  C17 40 {#,##0.00}", "B15 1 {0.0}  C15 2",
                      "base value (40.00)", "results below 0.00 from", "note at C9"});
  const auto edge = [](office::EdgeLine office::CellStyle::*line) {
    return [line](const office::CellStyle& style) { return (style.*line).weight == 4; };
  };
  EXPECT_THAT(cells_that_look(*book, edge(&office::CellStyle::bottom)), ElementsAre("C16"));
  EXPECT_THAT(cells_that_look(*book, edge(&office::CellStyle::right)), ElementsAre());
  EXPECT_THAT(cells_that_look(*book, [](const auto& style) { return style.top.weight == -4138; }),
              ElementsAre("C17"));
}

TEST(GridsReport, GivesEveryValueOfAThirdInputAGrid) {
  GraphBench bench;
  const auto book = grids(bench, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  test::expect_parts(test::snapshot(*book),
                     {"\"Price (B3) × Volume (B4), with Rate (B5) at 1.0\"", "B16 1 {#,##0.00}  C16 3",
                      "with Rate (B5) at 2.0\"", "C9 ", "colours of B16:C18 1 #FFFFFF"},
                     {"at 3.0", "not among"});
}

TEST(MatrixReport, ComparesSwingsWithTheWidest) {
  GraphBench bench;
  bench.output().set_BaseValue(100);
  bench.set_inputs({{"Rate", "B2", 5, {{4, 98}, {5, 100}, {6, 108}}},
                    {"Price", "B3", 10, {{8, 80}, {12, 120}}},
                    {"Dead", "B4", 10, {{8, kNothing}}},
                    {"Idle", "B5", 10, {{8, 100}, {9, 100}}}});
  MakeMatrixReport(bench.context());
  test::expect_parts(bench.text(), {"A+1 \"Price (B3)\"  B+1 \"B3\"  C+1 1 {0%}  D+1 1\n",
                                    "A+2 \"Rate (B2)\"  B+2 \"B2\"  C+2 0.25 {0%}  D+2 2\n", "C+3 \" - \"",
                                    "C+4 0 {0%}", "colours of C+1:C+4 0 #FFFFFF 1 #", "filter A7:D+4",
                                    "note at C+3 \"Please note:\nResults that are no numbers: 1 of 1"});
}

}  // namespace
}  // namespace ordvane::reports
