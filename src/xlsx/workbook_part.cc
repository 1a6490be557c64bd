// xl/workbook.xml: the sheets, the one that is shown, and what is repeated on printed pages.
#include <algorithm>
#include <set>

#include "office/address.h"
#include "unicode/names.h"
#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

// Every formula comes with its value. A spreadsheet computes a workbook that names no calculation engine, or
// one older than its own, when it opens it, and asks to save that when it closes it; this is the engine of
// the versions in use.
constexpr std::int32_t kCalculationVersion = 191029;

void check_names(const office::BookModel& book) {
  if (book.sheets.empty()) refuse("a workbook without sheets cannot be saved");
  std::set<std::string> names;
  for (const auto& sheet : book.sheets) {
    if (const auto fault = office::sheet_name_fault(sheet->name))
      refuse("sheet '" + sheet->name + "': " + *fault);
    if (!names.insert(unicode::folded(sheet->name)).second)
      refuse("two sheets are named '" + sheet->name + "'");
  }
}

void sheets(Xml& xml, const office::BookModel& book) {
  xml.start("sheets");
  for (std::size_t i = 0; i < book.sheets.size(); ++i)
    xml.start("sheet")
        .attr("name", book.sheets[i]->name)
        .attr("sheetId", i + 1)
        .attr("r:id", relationship_id(i))
        .end();
  xml.end();
}

// "Sheet!$A:$D,Sheet!$5:$7"; empty where nothing is repeated.
std::string print_titles(const office::SheetModel& sheet) {
  const host::Span &rows = sheet.page.print_title_rows, &columns = sheet.page.print_title_columns;
  std::string titles;
  const auto add = [&](const std::string& first, const std::string& last) {
    if (!titles.empty()) titles += ',';
    titles += office::quoted_sheet_name(sheet.name) + "!$" + first + ":$" + last;
  };
  if (!columns.is_empty()) add(office::column_name(columns.first), office::column_name(columns.last));
  if (!rows.is_empty()) add(std::to_string(rows.first), std::to_string(rows.last));
  return titles;
}

void names(Xml& xml, const office::BookModel& book) {
  std::string list;
  for (std::size_t i = 0; i < book.sheets.size(); ++i)
    for (const std::string& name : sheet_names(*book.sheets[i], i)) list += name;
  if (!list.empty()) xml.start("definedNames").raw() += list;
  if (!list.empty()) xml.end();
}

bool has_formulas(const office::BookModel& book) {
  return std::any_of(book.sheets.begin(), book.sheets.end(),
                     [](const auto& sheet) { return !sheet->formulas.empty(); });
}

}  // namespace

std::vector<std::string> sheet_names(const office::SheetModel& sheet, std::size_t place) {
  std::vector<std::string> elements;
  const auto start = [&](Xml& xml, const char* name) {
    xml.start("definedName").attr("name", name).attr("localSheetId", place);
  };
  const std::string in_sheet = office::quoted_sheet_name(sheet.name) + "!";
  if (sheet.filter) {
    Xml xml(elements.emplace_back());
    start(xml, "_xlnm._FilterDatabase");
    xml.attr("hidden", true).text(in_sheet + office::area_name(*sheet.filter, true)).end();
  }
  const host::PageSetup& page = sheet.page;
  if (page.print_rows > 0) {
    Xml xml(elements.emplace_back());
    start(xml, "_xlnm.Print_Area");
    const office::Area area{1, 1, page.print_rows, page.print_columns};
    xml.text(in_sheet + office::area_name(area, true)).end();
  }
  if (const std::string titles = print_titles(sheet); !titles.empty()) {
    Xml xml(elements.emplace_back());
    start(xml, "_xlnm.Print_Titles");
    xml.text(titles).end();
  }
  if (sheet.is_report) {
    Xml xml(elements.emplace_back());
    start(xml, kReportMark);
    xml.attr("hidden", true).text("TRUE").end();
  }
  return elements;
}

std::string workbook_part(const office::BookModel& book) {
  check_names(book);
  std::string part;
  Xml xml(part);
  xml.declaration().start("workbook").attr("xmlns", kMainSpace).attr("xmlns:r", kReferenceSpace);
  xml.empty("workbookPr");
  xml.start("bookViews").start("workbookView");
  xml.attr("xWindow", 0).attr("yWindow", 0).attr("windowWidth", 28800).attr("windowHeight", 15000);
  if (book.active_sheet > 0) xml.attr("activeTab", std::min(book.active_sheet, book.sheets.size() - 1));
  xml.end().end();
  sheets(xml, book);
  names(xml, book);
  if (has_formulas(book)) xml.start("calcPr").attr("calcId", kCalculationVersion).end();
  xml.end();
  return part;
}

}  // namespace ordvane::xlsx
