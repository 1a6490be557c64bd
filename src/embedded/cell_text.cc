#include "embedded/cell_text.h"

#include "text/edit.h"

namespace ordvane::embedded {
namespace {

std::string format_of(const runfile::Item& item) {
  return item.date && office::NumberFormat(item.number_format).is_general() ? "yyyy-mm-dd"
                                                                            : item.number_format;
}

}  // namespace

CellText::CellText(const runfile::Item& item) : format_(format_of(item)) {}

std::string CellText::text(double value) const {
  const host::CellValue cell(value);
  const std::string shown = format_.text(cell);
  const std::string_view text = text::trimmed(shown);
  // A date before the calendar is a row of hashes.
  if (text.find_first_not_of('#') == std::string_view::npos) return office::displayed_text(cell, "General");
  return std::string(text);
}

}  // namespace ordvane::embedded
