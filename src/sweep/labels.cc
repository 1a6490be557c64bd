#include "sweep/labels.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "calc/address.h"
#include "text/edit.h"

namespace ordvane::sweep {
namespace {

constexpr std::size_t kLongestLabel = 80;
constexpr std::size_t kLongestUnit = 12;
constexpr std::int32_t kWidestGap = 2;  // columns from one cell of a table to the next
constexpr std::string_view kBlanks = " \t\r\n";

bool is_word(const std::string& text) {
  return text.find_first_not_of(" \t\r\n\u00A0") != std::string::npos;
}

std::string cleaned(std::string_view text) {
  std::string line;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool no_break = text.substr(at).starts_with("\u00A0");
    if (no_break) ++at;
    const bool blank = no_break || kBlanks.find(text[at]) != std::string_view::npos;
    if (!blank)
      line += text[at];
    else if (!line.ends_with(' '))
      line += ' ';
  }
  return text::cut_to(text::trimmed(line, " :="), kLongestLabel);
}

// "EUR/MWh", "[kW]", "%", "years": what a number is counted in, and no name for it.
bool is_unit(std::string_view text) {
  constexpr std::array kWords = {"year", "years", "yr",  "yrs", "month", "months", "day",
                                 "days", "hours", "h",   "kw",  "mw",    "kwh",    "mwh",
                                 "gw",   "gwh",   "kg",  "t",   "m",     "km",     "m2",
                                 "m3",   "eur",   "usd", "gbp", "chf",   "pcs",    "units"};
  text = text::trimmed(text);
  if (text.size() > kLongestUnit) return false;
  if (text.starts_with('[') || text.starts_with('(')) return true;
  for (const std::string_view mark : {"/", "%", "\u20AC", "$", "\u00A3", "\u00A5"})
    if (text.find(mark) != std::string_view::npos) return true;
  return std::find(kWords.begin(), kWords.end(), text::lower_ascii(text)) != kWords.end();
}

struct Left {
  std::string text;
  bool behind_numbers = false;
};

Left left_of(const calc::Model& model, const calc::Cell& cell) {
  Left left;
  std::int32_t last = cell.column;
  for (std::int32_t column = cell.column - 1; column >= 0; --column) {
    const calc::CellId id = model.workbook().find(cell.sheet, cell.row, column);
    if (id == calc::kNoCell || model.base(id).is_blank()) continue;
    if (left.behind_numbers && last - column > kWidestGap) return {};  // another table
    last = column;
    const calc::Value value = model.base(id);
    if (value.is_text() && is_word(value.text())) {
      const bool first = left.text.empty();
      if (!first && is_unit(value.text())) continue;
      left.text = value.text();
      if (!first || !is_unit(left.text)) return left;
    } else if (value.is_number()) {
      if (!left.text.empty()) return left;
      left.behind_numbers = true;
    }
  }
  return left;
}

std::string above(const calc::Model& model, const calc::Cell& cell) {
  const auto label = nearest_text(model, cell, -1, 0);
  return label ? cleaned(label->text) : "";
}

const calc::Cell& cell_of(const calc::Model& model, calc::CellId cell) {
  return model.workbook().cells[static_cast<std::size_t>(cell)];
}

std::string joined(const std::string& left, const std::string& above) {
  return left + (left.empty() || above.empty() ? "" : ", ") + above;
}

}  // namespace

std::optional<runfile::LabelCell> nearest_text(const calc::Model& model, const calc::Cell& cell, int row_step,
                                               int column_step) {
  const calc::Workbook& book = model.workbook();
  std::int32_t row = cell.row + row_step;
  std::int32_t column = cell.column + column_step;
  for (; row >= 0 && column >= 0; row += row_step, column += column_step) {
    const calc::CellId id = book.find(cell.sheet, row, column);
    if (id == calc::kNoCell) continue;
    const calc::Value value = model.base(id);
    if (value.is_text() && is_word(value.text()))
      return runfile::LabelCell{calc::cell_name(row, column), value.text()};
  }
  return std::nullopt;
}

std::string label_of(const calc::Model& model, calc::CellId id) {
  const calc::Cell& cell = cell_of(model, id);
  const Left left = left_of(model, cell);
  if (left.text.empty() || is_unit(left.text))
    if (std::string text = above(model, cell); !text.empty()) return text;
  return joined(cleaned(left.text), left.behind_numbers ? above(model, cell) : "");
}

std::string unit_of(const calc::Model& model, calc::CellId id) {
  const calc::Cell& cell = cell_of(model, id);
  for (const std::int32_t column : {cell.column + 1, cell.column - 1}) {
    if (column < 0) continue;
    const calc::CellId beside = model.workbook().find(cell.sheet, cell.row, column);
    if (beside == calc::kNoCell || !model.base(beside).is_text()) continue;
    if (std::string text = cleaned(model.base(beside).text()); is_unit(text)) return text;
  }
  return {};
}

std::string long_label_of(const calc::Model& model, calc::CellId id) {
  const calc::Cell& cell = cell_of(model, id);
  return joined(cleaned(left_of(model, cell).text), above(model, cell));
}

}  // namespace ordvane::sweep
