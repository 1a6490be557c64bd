// The parts that every graph report shares around its tables and charts.
#include "graphs/graph_sheet.h"

#include <cctype>
#include <vector>

#include "model/naming.h"
#include "tables/utils.h"

namespace ordvane::graphs {
namespace {

std::int64_t whole(std::int32_t value) {
  return value;
}

std::vector<tables::TitleLine> title_lines(session::Session& session, const model::DralInputOutput& output,
                                           const SheetTexts& texts, std::int32_t runNumber,
                                           std::int32_t totalRuns) {
  std::int32_t flags = 0;
  const host::CellValue base =
      tables::FormatTableValue(output.rules(), output.BaseValue(), flags, 1.0, model::OrdvaneDivisorOutput);
  std::vector<tables::TitleLine> lines = {
      {session.CommonString(14), output.bookName},
      {session.CommonString(15), ItemLabel(output)},
      {session.CommonString(16), base, ValueFormat(output)},
  };
  if (totalRuns > 1)
    lines.push_back(
        {session.CommonString(13), session.text(texts.run_line, whole(runNumber), whole(totalRuns))});
  return lines;
}

}  // namespace

std::shared_ptr<tables::ReportSheet> StartGraphSheet(session::Session& session, tables::ReportWorkbook& rWB,
                                                     const model::DralInputOutput& output,
                                                     const SheetTexts& texts, std::int32_t runNumber,
                                                     std::int32_t totalRuns) {
  auto sheet = rWB.AddSheet(model::clean_sheet_name(session.text(texts.sheet_name, output.cellAddress)));
  sheet->AddTitleBlock(session.text(texts.title), title_lines(session, output, texts, runNumber, totalRuns));
  sheet->SheetWorksheet()->range("a1:c6")->set_wrap_text(false);
  sheet->SetSheetOption(1);
  return sheet;
}

void SetWatermark(session::Session& session, tables::ReportChart& chart) {
  if (session.watermark.text.empty()) return;
  chart.SetWatermark(session.watermark.primary, session.watermark.secondary, session.graph_click_macro);
}

}  // namespace ordvane::graphs
