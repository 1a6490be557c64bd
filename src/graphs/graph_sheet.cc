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

// Whether a number format, in its English form, shows parts of a date or time. Quoted and escaped characters
// and what stands in brackets (colours, conditions, currencies) are no parts.
bool shows_date(const std::string& format) {
  if (format == "General") return false;
  for (std::size_t at = 0; at < format.size() && format[at] != ';'; ++at) {
    switch (std::tolower(static_cast<unsigned char>(format[at]))) {
      case '"':
        at = format.find('"', at + 1);
        break;
      case '[':
        at = format.find(']', at);
        break;
      case '\\':
      case '_':
      case '*':
        ++at;
        break;
      case 'd':
      case 'm':
      case 'y':
      case 'h':
      case 's':
        return true;
      default:
        break;
    }
    if (at == std::string::npos) return false;
  }
  return false;
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

std::string ItemLabel(const model::DralInputOutput& item) {
  return tables::NameWithAddress(item.has_name() ? item.ioName : "", item.cellAddress);
}

std::string ValueFormat(const model::DralInputOutput& item) {
  const bool plain = item.NumberFormatLocal.empty() || item.NumberFormatLocal == "General";
  return plain && item.IsDate ? item.DateFormat : item.NumberFormatLocal;
}

std::string ChangeFormat(const model::DralInputOutput& item) {
  return item.IsDate || shows_date(item.numberFormat) ? "" : item.NumberFormatLocal;
}

void AddHeaderGroup(tables::ReportTable& table, std::int32_t row, std::int32_t column, std::int32_t rows,
                    std::int32_t columns, const std::string& caption) {
  const auto cells = table.Header(row, column, rows, columns);
  cells->cell(1, 1)->set_value(caption);
  cells->set_alignment(host::HAlign::kCenter, host::VAlign::kCenter);
  if (rows * columns > 1) cells->set_merge(true);
}

void SetWatermark(session::Session& session, tables::ReportChart& chart) {
  if (session.watermark.text.empty()) return;
  chart.SetWatermark(session.watermark.primary, session.watermark.secondary, session.graph_click_macro);
}

}  // namespace ordvane::graphs
