// The parts that every graph report shares around its tables and charts.
#include "reports/graph_sheet.h"

#include <algorithm>

#include "model/naming.h"
#include "reports/utils.h"

namespace ordvane::reports {
namespace {

std::int64_t whole(std::int32_t value) {
  return value;
}

std::vector<layout::TitleLine> title_lines(session::Session& session, const model::DralInputOutput& output,
                                           const SheetTexts& texts, std::int32_t runNumber,
                                           std::int32_t totalRuns) {
  std::int32_t flags = 0;
  const host::CellValue base =
      FormatTableValue(output.rules(), output.BaseValue(), flags, 1.0, model::OrdvaneDivisorOutput);
  std::vector<layout::TitleLine> lines = {
      {session.text(text_id::kLabelWorkbook), output.bookName},
      {session.text(text_id::kLabelOutput), ItemLabel(output)},
      {session.text(text_id::kLabelBaseValue), base, ValueFormat(output)},
  };
  if (totalRuns > 1)
    lines.push_back(
        {session.text(text_id::kLabelRun), session.text(texts.run_line, whole(runNumber), whole(totalRuns))});
  return lines;
}

}  // namespace

std::shared_ptr<layout::ReportSheet> StartGraphSheet(session::Session& session, layout::ReportWorkbook& rWB,
                                                     const model::DralInputOutput& output,
                                                     const SheetTexts& texts, std::int32_t runNumber,
                                                     std::int32_t totalRuns) {
  auto sheet = rWB.AddSheet(model::clean_sheet_name(session.text(texts.sheet_name, output.cellAddress)));
  sheet->AddTitleBlock(session.text(texts.title), title_lines(session, output, texts, runNumber, totalRuns));
  sheet->SheetWorksheet()->range("a1:c6")->set_wrap_text(false);
  sheet->SetSheetOption(1);
  return sheet;
}

void SetWatermark(session::Session& session, layout::ReportChart& chart) {
  if (session.watermark.text.empty()) return;
  chart.SetWatermark(session.watermark.primary, session.watermark.secondary, session.graph_click_macro);
}

void FirstNotes::add(session::TextId<0> text, std::int32_t row, std::int32_t column) {
  const auto [kept, is_new] = places_.try_emplace(text, row, column);
  if (!is_new) kept->second = std::min(kept->second, {row, column});
}

std::vector<std::string> FirstNotes::write(const session::Session& session,
                                           layout::ReportTable& table) const {
  std::vector<std::pair<std::pair<std::int32_t, std::int32_t>, session::TextId<0>>> by_place;
  for (const auto& [text, place] : places_) by_place.emplace_back(place, text);
  std::sort(by_place.begin(), by_place.end());
  std::vector<std::string> texts;
  for (const auto& [place, text] : by_place) {
    texts.push_back(session.text(text));
    table.AddTableNote(place.first, place.second, session.text(text_id::kNoteTitle), texts.back());
  }
  return texts;
}

}  // namespace ordvane::reports
