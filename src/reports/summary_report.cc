// The totals of the run with what failed in it, and the outputs without a graph.
#include "reports/summary_report.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>
#include <vector>

#include "host/error.h"
#include "reports/step_remarks.h"
#include "reports/table_parts.h"
#include "reports/utils.h"

namespace ordvane::reports {
namespace {

using host::HAlign;
using model::OrdvaneSummary;

std::int32_t outputs_without_graph(const OrdvaneSummary& sum) {
  const std::int64_t count = std::int64_t{sum.OutputsSelected} - sum.OutputsImpacted;
  if (count < std::numeric_limits<std::int32_t>::min() || count > std::numeric_limits<std::int32_t>::max())
    throw host::Error(host::errc::kOverflow, "More outputs without a graph than can be counted");
  return static_cast<std::int32_t>(count);
}

struct SummaryRow {
  session::TextId<0> label;
  host::CellValue value;
};

std::vector<SummaryRow> summary_rows(const OrdvaneSummary& sum) {
  return {{text_id::kSummaryRuns, sum.Runs},
          {text_id::kSummaryRecalculations, sum.RecalculationsTotal},
          {text_id::kSummaryOutputs, sum.OutputsTotal},
          {text_id::kSummaryOutputsSelected, sum.OutputsSelected},
          {1025, outputs_without_graph(sum)},
          {text_id::kSummaryInputs, sum.InputsTotal},
          {text_id::kSummaryInputsOfUser, sum.InputsStandard},
          {text_id::kSummaryInputsAutomatic, sum.InputsAutoVary},
          {text_id::kSummaryRecalculationsMultiWay, sum.RecalculationsMultiWay},
          {text_id::kSummaryMostInputs, sum.MaximumNumberOfInputs()},
          {text_id::kSummarySmallestSwing, sum.ThreshholdOfInputs}};
}

// How many of the results of selected outputs are no numbers.
struct FailedResults {
  FailedResults(const model::Records& inputs, const model::OneBased<std::int32_t>& selected)
      : outputs(std::count_if(selected.begin(), selected.end(), [](std::int32_t at) { return at > 0; })),
        of_inputs(inputs.size()),
        of_outputs(selected.size()) {
    for (std::int32_t i = 1; i <= inputs.size(); ++i) {
      steps += inputs(i).numSteps;
      for (std::int32_t k = 1; k <= selected.size(); ++k)
        if (selected(k) > 0) count(inputs(i), i, selected(k), k);
    }
  }

  std::int64_t all() const { return std::accumulate(of_outputs.begin(), of_outputs.end(), std::int64_t{0}); }

  std::int64_t results() const { return steps * outputs; }

  std::int64_t steps = 0;  // of all inputs
  std::int64_t outputs;    // without those that are not in the model, whose position is 0
  model::OneBased<std::int64_t> of_inputs;
  model::OneBased<std::int64_t> of_outputs;  // in the order of the selection

 private:
  void count(const model::DralInputOutput& input, std::int32_t i, std::int32_t output, std::int32_t k) {
    for (std::int32_t step = 1; step <= input.numSteps; ++step) {
      if (input.rules().is_usable(input.OutputValuesCalculated(output, step))) continue;
      ++of_inputs(i);
      ++of_outputs(k);
    }
  }
};

// Nothing for records whose values were never fetched.
std::optional<FailedResults> failed_results(const model::Records& inputs,
                                            const model::OneBased<std::int32_t>& selected) {
  std::optional<FailedResults> failed;
  host::ignoring_errors([&] { failed.emplace(inputs, selected); });
  return failed && failed->all() > 0 ? failed : std::nullopt;
}

// Which inputs and outputs have them.
void add_lines(const session::Session& session, layout::ReportSheet& sheet, const FailedResults& failed,
               const model::Records& inputs, const model::OneBased<std::int32_t>& selected,
               const model::Records& outputs) {
  const auto item = [&](const model::DralInputOutput& of, std::int64_t count, std::int64_t results) {
    return session.text(text_id::kInputsFailedResultsItem, ItemLabel(of), count, results);
  };
  std::vector<std::string> of_inputs, of_outputs;
  for (std::int32_t i = 1; i <= inputs.size(); ++i)
    if (failed.of_inputs(i) > 0)
      of_inputs.push_back(item(inputs(i), failed.of_inputs(i), inputs(i).numSteps * failed.outputs));
  for (std::int32_t k = 1; k <= selected.size(); ++k)
    if (failed.of_outputs(k) > 0)
      of_outputs.push_back(item(outputs(selected(k)), failed.of_outputs(k), failed.steps));
  sheet.AddLine(session.text(text_id::kSummaryFailedInputs, session.list_of(of_inputs)));
  sheet.AddLine(session.text(text_id::kSummaryFailedOutputs, session.list_of(of_outputs)));
}

// One column of a table, `offset` columns from the body's first, from the caption down.
void fit_column(layout::ReportTable& table, std::int32_t offset) {
  const auto body = table.BodyRange();
  body->offset(-1, offset)->resize(body->row_count() + 1, 1)->auto_fit_columns();
}

}  // namespace

std::int32_t MakeSummaryReport(session::Session& session, layout::ReportWorkbook& rWB,
                               const model::OneBased<std::int32_t>& isSelectedOutput,
                               const model::Records& trResults, const model::Records& trOutputs,
                               const OrdvaneSummary& trSum, std::int32_t runNumber, std::int32_t totalRuns) {
  session.application().set_calculation(host::Calculation::kManual);
  const auto sheet = rWB.AddSheet(session.text(text_id::kSummarySheetName));
  sheet->AddTitleBlock(
      session.text(text_id::kSummaryTitle),
      {{session.text(text_id::kLabelWorkbook), trResults(1).bookName},
       {session.text(text_id::kLabelRun),
        session.text(text_id::kSummaryRun, std::int64_t{runNumber}, std::int64_t{totalRuns})}});
  sheet->SetSheetOption(1);

  const auto failed = failed_results(trResults, isSelectedOutput);
  auto rows = summary_rows(trSum);
  if (failed)
    rows.push_back({text_id::kSummaryFailedResults,
                    session.text(text_id::kSummaryFailedResultsCount, failed->all(), failed->results())});
  const auto count = static_cast<std::int32_t>(rows.size());
  const auto table = sheet->AddTable(count, 1, 1, 1, "", "");
  table->SetColumnHeader(1, session.text(text_id::kSummaryValues), HAlign::kCenter, HAlign::kCenter, 0,
                         layout::kFitColumn, "", false);
  table->CornerRange()->set_value(session.text(text_id::kSummaryLabels));
  host::CellBlock values(count, 1);
  std::int32_t row = 0;
  for (const SummaryRow& line : rows) {
    table->SetRowHeader(1, ++row, session.text(line.label));
    values.set(row, 1, line.value);
  }
  table->PutBody(1, values);
  fit_column(*table, -1);
  fit_column(*table, 0);
  if (failed) add_lines(session, *sheet, *failed, trResults, isSelectedOutput, trOutputs);
  sheet->FinishSheet();
  return 0;
}

// All outputs are listed by name and cell alone; their books and sheets are not told apart. One that has
// results that are no numbers may have been moved all the same.
std::int32_t makeOutputsMissingReport(session::Session& session, layout::ReportWorkbook& rWB,
                                      const model::OneBased<std::int32_t>& isSelectedOutput,
                                      const model::Records& trResults, const model::Records& trOutputs,
                                      std::int32_t t_NumUnreportedOutputs,
                                      const model::OneBased<std::int32_t>& t_UnreportedOutputs,
                                      std::int32_t runNumber, std::int32_t totalRuns) {
  const auto sheet = rWB.AddSheet(session.text(text_id::kNotShownSheetName));
  const std::string run =
      std::to_string(runNumber) + session.text(text_id::kNotShownOfRuns) + std::to_string(totalRuns);
  sheet->AddTitleBlockEx(session.text(text_id::kNotShownTitle),
                         {{session.text(text_id::kLabelWorkbook), trResults(1).bookName},
                          {session.text(text_id::kLabelRun), run}});
  sheet->SetSheetOption(1);

  const auto table =
      sheet->AddTable(t_NumUnreportedOutputs, 2, 1, 0, session.text(text_id::kNotShownCaption), "");
  table->SetColumnHeader(1, session.text(text_id::kNotShownOutput), HAlign::kLeft, HAlign::kLeft, 0,
                         layout::kNameColumnWidth, "", true);
  table->SetColumnHeader(2, session.text(text_id::kHeadingCell), HAlign::kCenter, HAlign::kCenter, 0,
                         layout::kFitColumn, "", false);
  if (t_NumUnreportedOutputs > 0) {
    host::CellBlock outputs(t_NumUnreportedOutputs, 2);
    for (std::int32_t i = 1; i <= t_NumUnreportedOutputs; ++i) {
      const model::DralInputOutput& output = trOutputs(isSelectedOutput(t_UnreportedOutputs(i)));
      outputs.set_text(i, 1, ItemLabel(output));
      outputs.set_text(i, 2, output.cellAddress);
    }
    table->PutBody(1, outputs);
    const auto failed = failed_results(trResults, isSelectedOutput);
    for (std::int32_t i = 1; failed && i <= t_NumUnreportedOutputs; ++i) {
      const std::int64_t count = failed->of_outputs(t_UnreportedOutputs(i));
      if (count > 0)
        table->AddTableNote(i, 1, session.text(text_id::kNoteTitle),
                            session.text(text_id::kNoteFailedResults, count, failed->steps));
    }
  }
  sheet->FinishSheet();
  return 0;
}

}  // namespace ordvane::reports
