// The totals of the run with what failed in it, and the outputs without a graph.
#include "reports/summary_report.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>
#include <vector>

#include "host/error.h"
#include "reports/item_texts.h"
#include "reports/report_columns.h"
#include "reports/step_remarks.h"

namespace ordvane::reports {
namespace {

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
          {text_id::kSummaryOutputsWithoutGraph, outputs_without_graph(sum)},
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
        if (selected(k) > 0) add(i, k, inputs(i).failed_results(selected(k)));
    }
  }

  std::int64_t all() const { return std::accumulate(of_outputs.begin(), of_outputs.end(), std::int64_t{0}); }

  std::int64_t results() const { return steps * outputs; }

  std::int64_t steps = 0;  // of all inputs
  std::int64_t outputs;    // without those that are not in the model, whose position is 0
  model::OneBased<std::int64_t> of_inputs;
  model::OneBased<std::int64_t> of_outputs;  // in the order of the selection

 private:
  void add(std::int32_t i, std::int32_t k, std::int32_t failed) {
    of_inputs(i) += failed;
    of_outputs(k) += failed;
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
void add_lines(const Context& context, layout::ReportSheet& sheet, const FailedResults& failed) {
  const session::Session& session = context.session;
  const auto item = [&](const model::DralInputOutput& of, std::int64_t count, std::int64_t results) {
    return session.text(text_id::kInputsFailedResultsItem, ItemLabel(of), count, results);
  };
  std::vector<std::string> of_inputs, of_outputs;
  for (std::int32_t i = 1; const model::DralInputOutput& input : context.inputs)
    if (const std::int64_t count = failed.of_inputs(i++); count > 0)
      of_inputs.push_back(item(input, count, input.numSteps * failed.outputs));
  for (std::int32_t k = 1; const std::int32_t position : context.selected)
    if (const std::int64_t count = failed.of_outputs(k++); count > 0)
      of_outputs.push_back(item(context.outputs(position), count, failed.steps));
  sheet.AddLine(session.text(text_id::kSummaryFailedInputs, session.list_of(of_inputs)));
  sheet.AddLine(session.text(text_id::kSummaryFailedOutputs, session.list_of(of_outputs)));
}

void add_title(const Context& context, layout::ReportSheet& sheet, session::TextId<0> title,
               const std::string& run) {
  const session::Session& session = context.session;
  sheet.AddTitleBlock(session.text(title),
                      {{session.text(text_id::kLabelWorkbook), context.inputs(1).bookName},
                       {session.text(text_id::kLabelRun), run}});
  sheet.SetSheetOption(1);
}

}  // namespace

std::int32_t MakeSummaryReport(const Context& context, const OrdvaneSummary& summary) {
  const session::Session& session = context.session;
  session.application().set_calculation(host::Calculation::kManual);
  const auto sheet = context.workbook.AddSheet(session.text(text_id::kSummarySheetName));
  add_title(
      context, *sheet, text_id::kSummaryTitle,
      session.text(text_id::kSummaryRun, std::int64_t{context.run_number}, std::int64_t{context.total_runs}));

  const auto failed = failed_results(context.inputs, context.selected);
  auto rows = summary_rows(summary);
  if (failed)
    rows.push_back({text_id::kSummaryFailedResults,
                    session.text(text_id::kSummaryFailedResultsCount, failed->all(), failed->results())});
  const auto count = static_cast<std::int32_t>(rows.size());
  const auto table = sheet->AddTable(count, 1, 1, 1, "", "");
  table->SetColumns({layout::figure_column(session.text(text_id::kSummaryValues), host::HAlign::kCenter)});
  table->CornerRange()->set_value(session.text(text_id::kSummaryLabels));
  host::CellBlock values(count, 1);
  std::int32_t row = 0;
  for (const SummaryRow& line : rows) {
    table->SetRowHeader(1, ++row, session.text(line.label));
    values.set(row, 1, line.value);
  }
  table->PutBody(1, values);
  table->FitColumns(0, 2, 1);
  if (failed) add_lines(context, *sheet, *failed);
  sheet->FinishSheet();
  return 0;
}

// All outputs are listed by name and cell alone; their books and sheets are not told apart. One that has
// results that are no numbers may have been moved all the same.
std::int32_t MakeOutputsMissingReport(const Context& context, std::int32_t count,
                                      const model::OneBased<std::int32_t>& unreported) {
  const session::Session& session = context.session;
  const auto sheet = context.workbook.AddSheet(session.text(text_id::kNotShownSheetName));
  add_title(context, *sheet, text_id::kNotShownTitle,
            std::to_string(context.run_number) + session.text(text_id::kNotShownOfRuns) +
                std::to_string(context.total_runs));

  const auto table =
      AddTable(*sheet, count, 1, {.caption = session.text(text_id::kNotShownCaption), .subcaption = ""},
               {layout::name_column(session.text(text_id::kNotShownOutput)), SharedColumns(context).cell()});
  if (count > 0) {
    host::CellBlock outputs(count, 2);
    for (std::int32_t i = 1; i <= count; ++i) {
      const model::DralInputOutput& output = context.outputs(context.selected(unreported(i)));
      outputs.set_text(i, 1, ItemLabel(output));
      outputs.set_text(i, 2, output.cellAddress);
    }
    table->PutBody(1, outputs);
    const auto failed = failed_results(context.inputs, context.selected);
    for (std::int32_t i = 1; failed && i <= count; ++i) {
      const std::int64_t of_output = failed->of_outputs(unreported(i));
      if (of_output > 0)
        table->AddTableNote(i, 1, session.text(text_id::kNoteTitle),
                            session.text(text_id::kNoteFailedResults, of_output, failed->steps));
    }
  }
  sheet->FinishSheet();
  return 0;
}

}  // namespace ordvane::reports
