#include "reports/sheet_opening.h"

#include <utility>
#include <vector>

#include "model/naming.h"
#include "reports/item_texts.h"
#include "reports/table_values.h"

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

}  // namespace ordvane::reports
