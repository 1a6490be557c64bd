// The totals of the run, and the outputs without a graph.
#include "tables/summary_report.h"

#include <array>
#include <limits>
#include <vector>

#include "host/error.h"
#include "tables/utils.h"

namespace ordvane::tables {
namespace {

using host::HAlign;
using model::OrdvaneSummary;

namespace text {
// Shared labels, by their small index.
constexpr std::int32_t kCell = 3;
constexpr std::int32_t kRun = 13;
constexpr std::int32_t kWorkbook = 14;

constexpr std::int16_t kSummarySheet = 815;
constexpr std::int16_t kSummaryTitle = 818;
constexpr std::int16_t kSummaryRun = 822;
constexpr std::int16_t kSummaryLabels = 821;
constexpr std::int16_t kSummaryValues = 1042;

constexpr std::int16_t kMissingSheet = 823;
constexpr std::int16_t kMissingTitle = 817;
constexpr std::int16_t kMissingCaption = 810;
constexpr std::int16_t kMissingOutputs = 809;
constexpr std::int16_t kBetweenRuns = 808;
}  // namespace text

std::int32_t outputs_without_graph(const OrdvaneSummary& sum) {
  const std::int64_t count = std::int64_t{sum.OutputsSelected} - sum.OutputsImpacted;
  if (count < std::numeric_limits<std::int32_t>::min() || count > std::numeric_limits<std::int32_t>::max())
    throw host::Error(host::errc::kOverflow, "More outputs without a graph than can be counted");
  return static_cast<std::int32_t>(count);
}

struct SummaryRow {
  std::int16_t label;  // string id
  host::CellValue value;
};

std::array<SummaryRow, 11> summary_rows(const OrdvaneSummary& sum) {
  return {{{813, sum.Runs},
           {812, sum.RecalculationsTotal},
           {820, sum.OutputsTotal},
           {811, sum.OutputsSelected},
           {1025, outputs_without_graph(sum)},
           {819, sum.InputsTotal},
           {814, sum.InputsStandard},
           {802, sum.InputsAutoVary},
           {805, sum.RecalculationsMultiWay},
           {804, sum.MaximumNumberOfInputs()},
           {816, sum.ThreshholdOfInputs}}};
}

// One column of a table, `offset` columns from the body's first, from the caption down.
void fit_column(ReportTable& table, std::int32_t offset) {
  const auto body = table.BodyRange();
  body->offset(-1, offset)->resize(body->row_count() + 1, 1)->auto_fit_columns();
}

}  // namespace

std::int32_t MakeSummaryReport(session::Session& session, ReportWorkbook& rWB,
                               const model::OneBased<std::int32_t>& /*isSelectedOutput*/,
                               const model::Records& trResults, const model::Records& /*trOutputs*/,
                               const OrdvaneSummary& trSum, std::int32_t runNumber, std::int32_t totalRuns) {
  session.application().set_calculation(host::Calculation::kManual);
  const auto sheet = rWB.AddSheet(session.text(text::kSummarySheet));
  sheet->AddTitleBlock(session.text(text::kSummaryTitle),
                       {{session.CommonString(text::kWorkbook), trResults(1).bookName},
                        {session.CommonString(text::kRun),
                         session.text(text::kSummaryRun, std::int64_t{runNumber}, std::int64_t{totalRuns})}});
  sheet->SetSheetOption(1);

  const auto rows = summary_rows(trSum);
  const auto count = static_cast<std::int32_t>(rows.size());
  const auto table = sheet->AddTable(count, 1, 1, 1, "", "");
  table->SetColumnHeader(1, session.text(text::kSummaryValues), HAlign::kCenter, HAlign::kCenter, 0,
                         kFitColumn, "", false);
  table->CornerRange()->set_value(session.text(text::kSummaryLabels));
  host::CellBlock values(count, 1);
  std::int32_t row = 0;
  for (const SummaryRow& line : rows) {
    table->SetRowHeader(1, ++row, session.text(line.label));
    values.set(row, 1, line.value);
  }
  table->PutBody(1, values);
  fit_column(*table, -1);
  fit_column(*table, 0);
  sheet->FinishSheet();
  return 0;
}

// All outputs are listed by name and cell alone; their books and sheets are not told apart.
std::int32_t makeOutputsMissingReport(session::Session& session, ReportWorkbook& rWB,
                                      const model::OneBased<std::int32_t>& isSelectedOutput,
                                      const model::Records& trResults, const model::Records& trOutputs,
                                      std::int32_t t_NumUnreportedOutputs,
                                      const model::OneBased<std::int32_t>& t_UnreportedOutputs,
                                      std::int32_t runNumber, std::int32_t totalRuns) {
  const auto sheet = rWB.AddSheet(session.text(text::kMissingSheet));
  const std::string run =
      std::to_string(runNumber) + session.text(text::kBetweenRuns) + std::to_string(totalRuns);
  sheet->AddTitleBlockEx(session.text(text::kMissingTitle),
                         {{session.CommonString(text::kWorkbook), trResults(1).bookName},
                          {session.CommonString(text::kRun), run}});
  sheet->SetSheetOption(1);

  const auto table =
      sheet->AddTable(t_NumUnreportedOutputs, 2, 1, 0, session.text(text::kMissingCaption), "");
  table->SetColumnHeader(1, session.text(text::kMissingOutputs), HAlign::kLeft, HAlign::kLeft, 0,
                         kNameColumnWidth, "", true);
  table->SetColumnHeader(2, session.CommonString(text::kCell), HAlign::kCenter, HAlign::kCenter, 0,
                         kFitColumn, "", false);
  if (t_NumUnreportedOutputs > 0) {
    host::CellBlock outputs(t_NumUnreportedOutputs, 2);
    for (std::int32_t i = 1; i <= t_NumUnreportedOutputs; ++i) {
      const model::DralInputOutput& output = trOutputs(isSelectedOutput(t_UnreportedOutputs(i)));
      outputs.set_text(i, 1, NameWithAddress(output.has_name() ? output.ioName : "", output.cellAddress));
      outputs.set_text(i, 2, output.cellAddress);
    }
    table->PutBody(1, outputs);
  }
  sheet->FinishSheet();
  return 0;
}

}  // namespace ordvane::tables
