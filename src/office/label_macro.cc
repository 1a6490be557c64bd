#include "office/label_macro.h"

#include <optional>
#include <vector>

#include "office/refusal.h"

namespace ordvane::office {
namespace {

struct Label {
  CellRef cell;
  std::string text;
};

// The nearest text from a cell on, going by `rows` and `columns` at a time until the edge of the sheet.
std::optional<Label> nearest_text(Sheet& sheet, CellRef cell, std::int32_t rows, std::int32_t columns) {
  for (;;) {
    cell.row += rows;
    cell.column += columns;
    if (cell.row < 1 || cell.column < 1) return std::nullopt;
    const host::CellValue value = sheet.value(cell.row, cell.column);
    const bool blank = value.text.find_first_not_of(' ') == std::string::npos;
    if (value.kind == host::CellKind::kText && !blank) return Label{cell, value.text};
  }
}

}  // namespace

std::string find_label(Sheet& sheet, const CellRef& cell, std::int16_t selector) {
  std::vector<Label> labels;
  if (auto left = nearest_text(sheet, cell, 0, -1)) labels.push_back(std::move(*left));
  if (auto above = nearest_text(sheet, cell, -1, 0)) labels.push_back(std::move(*above));
  const auto address = [&](std::size_t place) {
    return place < labels.size() ? cell_name(labels[place].cell.row, labels[place].cell.column, true) : "";
  };
  switch (selector) {
    case 1: {
      std::string text;
      for (const Label& label : labels) text += (text.empty() ? "" : " / ") + label.text;
      return text;
    }
    case 2:
      return address(0);
    case 3:
      return address(1);
    default:
      refuse("The label search has no such selector");
  }
}

}  // namespace ordvane::office
