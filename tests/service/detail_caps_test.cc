// The detail reports at their sizes: beyond what a sheet holds they are cut, say so, and lose nothing else;
// large ones are filled on all cores.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "reports/detail_by_input.h"
#include "reports/output_detail.h"
#include "runfile/values.h"
#include "service/small_run.h"
#include "support/forwarding_host.h"
#include "support/snapshot.h"

namespace ordvane::service {
namespace {

using testing::HasSubstr;

class DetailCaps : public testing::Test {
 protected:
  // The reports of a run; the sheets by name afterwards.
  void report(const std::shared_ptr<runfile::Run>& run, bool concurrent = true) {
    bench_ = std::make_unique<Bench>();
    bench_->run = run;
    bench_->application = embedded::open_model(*run);
    auto& engine = bench_->services->session.engine;
    engine = runfile::make_recorded_engine(run);
    if (!concurrent) engine = test::not_concurrent(engine);
    ASSERT_EQ(engine->concurrent(), concurrent);
    OrdvaneReports reports(bench_->services);
    reports.Initialize(bench_->application, 1);
    bench_->services->session.log.close();  // millions of lines say nothing here
    reports.set_OutputDetailReport(true);
    reports.set_DetailByInput(true);
    reports.set_MultiWayReport(!run->groups.empty());
    reports.GenerateReports(bench_->all_outputs());
    ASSERT_FALSE(reports.report_error()) << reports.report_error()->description();
    book_ = bench_->application->model(*reports.report_workbook());
  }

  const office::SheetModel& sheet(const std::string& name) const {
    for (const auto& sheet : book_->sheets)
      if (sheet->name == name) return *sheet;
    throw host::Error(host::errc::kSubscriptOutOfRange, name);
  }

  // Cells that hold a number, row by row from the one-based column.
  std::vector<double> numbers_of_column(const office::SheetModel& sheet, std::int32_t column) const {
    std::vector<double> numbers;
    for (const office::RowBand& band : sheet.bands) {
      if (column < band.first_column || column >= band.first_column + band.columns) continue;
      for (std::int32_t row = band.first_row; row < band.first_row + band.rows; ++row) {
        const std::size_t at = band.index(row, column);
        if (band.cells[at].is_number()) numbers.push_back(band.cells[at].number());
      }
    }
    return numbers;
  }

  // Every note of the sheet as "cell: text".
  static std::string notes(const office::SheetModel& sheet) {
    std::string text;
    for (const auto& [cell, note] : sheet.comments)
      text += office::cell_name(cell.row, cell.column) + ": " + note + "\n";
    return text;
  }

  std::unique_ptr<Bench> bench_;
  std::shared_ptr<const office::BookModel> book_;
};

TEST_F(DetailCaps, MoreStepsThanRows) {
  constexpr std::int32_t kSteps = 32767;  // two inputs: 9 steps more than fit
  auto run = make_run({.input_sheets = {"S", "S"},
                       .input_books = {"M.xlsx", "M.xlsx"},
                       .output_bases = {1000},
                       .effects = {{1, 1}},
                       .simulations = 1});
  run->recalculations = 2 * kSteps;
  run->input_values.in_memory().clear();
  run->output_values.in_memory().clear();
  for (runfile::Input& input : run->inputs) input.steps = kSteps;
  for (std::int32_t r = 0; r < 2 * kSteps; ++r) {
    run->input_values.in_memory().push_back(r);
    run->output_values.in_memory().push_back(2 * kSteps - r);  // the first step has the highest rank
  }
  report(run);

  const auto& detail = sheet("Detail C2");
  std::vector<double> ranks = numbers_of_column(detail, 1);
  ASSERT_EQ(ranks.size(), static_cast<std::size_t>(reports::kMostDetailRows));
  std::vector<double> every_rank(ranks.size());
  std::iota(every_rank.begin(), every_rank.end(), 1.0);
  EXPECT_TRUE(ranks == every_rank) << "from 1 on, none left out or twice";
  const std::vector<double> outputs = numbers_of_column(detail, 7);
  EXPECT_EQ(outputs.front(), 1) << "the lowest result";
  EXPECT_EQ(outputs.back(), reports::kMostDetailRows) << "the nine highest are left out";
  EXPECT_THAT(
      notes(detail),
      HasSubstr("E9: Please note:\nThe table is full. Steps ranked beyond its last row are not shown."));

  const auto& by_input = sheet("Detail by input");
  const std::vector<double> used = numbers_of_column(by_input, 4);
  ASSERT_EQ(used.size(), static_cast<std::size_t>(reports::kMostDetailRows));
  EXPECT_EQ(used.back(), reports::kMostDetailRows - 1) << "the last steps of the last input are left out";
  EXPECT_THAT(notes(by_input),
              HasSubstr("D8: Please note:\nThe table is full. Steps beyond its last row are not shown."));
  EXPECT_EQ(book_->sheets.back()->name, "Summary");
}

TEST_F(DetailCaps, MoreOutputsThanColumns) {
  RunShape shape{
      .input_sheets = {"S"}, .input_books = {"M.xlsx"}, .output_bases = {}, .effects = {}, .simulations = 1};
  for (int o = 0; o < reports::kMostDetailOutputs + 1; ++o) {
    shape.output_bases.push_back(100 + o);
    shape.effects.push_back({1});
  }
  report(make_run(shape));
  const auto& by_input = sheet("Detail by input");
  const std::int32_t last = 3 * reports::kMostDetailOutputs + 6;
  EXPECT_THAT(numbers_of_column(by_input, last - 2), testing::ElementsAre(178, 179, 180))
      << "the 80th output";
  EXPECT_THAT(numbers_of_column(by_input, last + 1), testing::IsEmpty());
  EXPECT_THAT(notes(by_input), HasSubstr("G8: Please note:\nOnly the first 80 outputs are shown."));
  EXPECT_EQ(book_->sheets.size(), 81U + 3U) << "every output has its detail, and the rest is there";
}

// Two inputs together, `steps` values of each.
void add_group(runfile::Run& run, std::size_t first, std::int32_t steps) {
  const std::int32_t combinations = steps * steps;
  run.groups.push_back(
      {{first, first + 1}, {steps, steps}, combinations, run.group_recalculations, run.group_values});
  run.group_recalculations += combinations;
  run.group_values += 2 * static_cast<std::size_t>(combinations);
  for (std::int32_t c = 0; c < combinations; ++c)
    for (const std::int32_t step : {c / steps, c % steps})
      run.group_input_values.in_memory().push_back(10 + step);
}

// 67,200 results, some of them no numbers; inputs of one to 55 steps; groups of more rows than are filled at
// a time.
TEST_F(DetailCaps, AreTheSameForAnEngineThatIsAskedFromOneThread) {
  constexpr int kInputs = 200, kOutputs = 12;
  RunShape shape{.input_sheets = std::vector<std::string>(kInputs, "S"),
                 .input_books = std::vector<std::string>(kInputs, "M.xlsx"),
                 .output_bases = {},
                 .effects = {},
                 .steps = 28};
  for (int o = 0; o < kOutputs; ++o) {
    shape.output_bases.push_back(o == 3 ? 0 : 100 + o);
    shape.effects.emplace_back();
    for (int i = 0; i < kInputs; ++i) shape.effects.back().push_back((i * 7 + o * 11) % 23 - 11);
  }
  const auto run = make_run(shape);
  for (std::size_t i = 0; i < kInputs; i += 2) {
    run->inputs[i].steps = static_cast<std::int32_t>(1 + i % 55);
    run->inputs[i + 1].steps = 56 - run->inputs[i].steps;
  }
  add_group(*run, 0, 28);
  add_group(*run, 5, 9);
  auto& together = run->group_output_values.in_memory();
  for (std::int64_t r = 0; r < kOutputs * run->group_recalculations; ++r)
    together.push_back(static_cast<double>(r * 31 % 1009));
  for (auto* results : {&run->output_values.in_memory(), &together})
    for (std::size_t r = 0; r < results->size(); r += 97)
      (*results)[r] = r % 2 == 0 ? std::numeric_limits<double>::quiet_NaN() : runfile::encode_text();
  std::string sheets[2];
  for (const bool concurrent : {false, true}) {
    report(run, concurrent);
    for (const char* name : {"Detail by input", "Detail C5", "Multi-way detail", "Summary"})
      sheets[concurrent] += test::sheet_text(*book_, sheet(name));
  }
  EXPECT_THAT(sheets[0], HasSubstr("== Detail by input"));
  EXPECT_TRUE(sheets[0] == sheets[1])
      << "they differ from character " << std::ranges::mismatch(sheets[0], sheets[1]).in1 - sheets[0].begin();
}

}  // namespace
}  // namespace ordvane::service
