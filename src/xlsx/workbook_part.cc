// xl/workbook.xml: the sheets, the one that is shown, and the rows repeated on printed pages.
#include <algorithm>
#include <set>

#include "office/address.h"
#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

void check_names(const office::BookModel& book) {
  if (book.sheets.empty()) refuse("a workbook without sheets cannot be saved");
  std::set<std::string> names;
  for (const auto& sheet : book.sheets) {
    if (const auto fault = office::sheet_name_fault(sheet->name))
      refuse("sheet '" + sheet->name + "': " + *fault);
    if (!names.insert(office::folded(sheet->name)).second)
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

// "$1:$5", with every row absolute. Empty for what names no rows.
std::string title_rows(const std::string& rows) {
  std::string plain;
  std::copy_if(rows.begin(), rows.end(), std::back_inserter(plain), [](char c) { return c != '$'; });
  const std::size_t colon = plain.find(':');
  const std::string first = plain.substr(0, colon),
                    last = colon == plain.npos ? first : plain.substr(colon + 1);
  const auto is_row = [](const std::string& text) {
    return !text.empty() && text.size() <= 7 && text.find_first_not_of("0123456789") == text.npos;
  };
  return is_row(first) && is_row(last) ? "$" + first + ":$" + last : "";
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
  if (const std::string rows = title_rows(sheet.page.print_title_rows); !rows.empty()) {
    Xml xml(elements.emplace_back());
    start(xml, "_xlnm.Print_Titles");
    xml.text(office::quoted_sheet_name(sheet.name) + "!" + rows).end();
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
  if (has_formulas(book)) xml.start("calcPr").attr("fullCalcOnLoad", true).end();
  xml.end();
  return part;
}

}  // namespace ordvane::xlsx
