// The parts that reports share around their tables and charts.
#include "reports/graph_sheet.h"

#include <algorithm>

#include "model/naming.h"
#include "reports/table_parts.h"
#include "reports/utils.h"

namespace ordvane::reports {
namespace {

template <int places_of_name>
std::shared_ptr<layout::ReportSheet> start(const Context& context, const std::string& name,
                                           std::vector<layout::TitleLine> lines,
                                           const SheetTexts<places_of_name>& texts) {
  const session::Session& session = context.session;
  auto sheet = context.workbook.AddSheet(name);
  if (context.total_runs > 1)
    lines.push_back(
        {session.text(text_id::kLabelRun),
         session.text(texts.run_line, std::int64_t{context.run_number}, std::int64_t{context.total_runs})});
  sheet->AddTitleBlock(session.text(texts.title), lines);
  sheet->SheetWorksheet()->range("a1:c6")->set_wrap_text(false);
  sheet->SetSheetOption(1);
  return sheet;
}

}  // namespace

std::shared_ptr<layout::ReportSheet> StartSheet(const Context& context, const SheetTexts<0>& texts) {
  return start(context, context.session.text(texts.sheet_name),
               {{context.session.text(text_id::kLabelWorkbook), context.inputs(1).bookName}}, texts);
}

std::shared_ptr<layout::ReportSheet> StartOutputSheet(const Context& context, const std::string& book,
                                                      const model::DralInputOutput& output,
                                                      const SheetTexts<1>& texts) {
  const session::Session& session = context.session;
  std::int32_t flags = 0;
  const host::CellValue base =
      FormatTableValue(output.rules(), output.BaseValue(), flags, 1.0, model::OrdvaneDivisorOutput);
  return start(context, model::clean_sheet_name(session.text(texts.sheet_name, output.cellAddress)),
               {{session.text(text_id::kLabelWorkbook), book},
                {session.text(text_id::kLabelOutput), ItemLabel(output)},
                {session.text(text_id::kLabelBaseValue), base, ValueFormat(output)}},
               texts);
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
