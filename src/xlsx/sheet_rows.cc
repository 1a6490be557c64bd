// The row elements of a sheet: values, formulas with the value last computed, styles and heights.
//
// This is where the bulk of a package comes from; any run of rows can be encoded by itself.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

using host::CellKind;
using office::RowBand;
using office::SheetModel;

constexpr std::size_t kManyCells = 200000;

// Appends into a fixed buffer that holds the longest cell without a formula.
class CellText {
 public:
  void clear() { end_ = buffer_.data(); }
  void add(std::string_view text) {
    std::memcpy(end_, text.data(), text.size());
    end_ += text.size();
  }
  template <class Number>
  void add_number(Number value) {
    end_ = std::to_chars(end_, buffer_.data() + buffer_.size(), value).ptr;
  }
  std::string_view text() const { return {buffer_.data(), static_cast<std::size_t>(end_ - buffer_.data())}; }

 private:
  std::array<char, 160> buffer_;
  char* end_ = buffer_.data();
};

struct Cell {
  CellKind kind = CellKind::kBlank;
  double number = 0;
  office::StyleId style = 0;
};

// A number that no number element can hold is an error.
Cell checked(Cell cell) {
  if (cell.kind == CellKind::kNumber && !std::isfinite(cell.number))
    return {CellKind::kError, static_cast<double>(host::CellError::kNum), cell.style};
  return cell;
}

class RowEncoder {
 public:
  RowEncoder(const SheetModel& sheet, const SheetFrame& frame, const office::TextTable& strings,
             CellNames names, std::string& out)
      : sheet_(sheet), frame_(frame), strings_(strings), names_(names), out_(out) {}

  // `bands`: those that hold cells of this row, from left to right.
  void row(std::int32_t row, const std::vector<const RowBand*>& bands) {
    const std::size_t before = out_.size();
    start_row(row);
    const bool has_height = finish_row_start(row);
    const std::size_t empty = out_.size();
    formula_ = sheet_.formulas.lower_bound({row, 1});
    previous_ = 0;
    for (const RowBand* band : bands) band_cells(*band, row);
    formulas_before(row, office::kSheetColumns + 1);
    if (out_.size() != empty) {
      out_ += "</row>";
    } else if (has_height) {
      out_.back() = '/';
      out_ += '>';
    } else {
      out_.resize(before);
    }
  }

 private:
  void start_row(std::int32_t row) {
    digits_.clear();
    digits_.add_number(row);
    out_ += "<row r=\"";
    out_ += digits_.text();
    out_ += '"';
  }

  bool finish_row_start(std::int32_t row) {
    const auto height = sheet_.row_heights.find(row);
    const bool found = height != sheet_.row_heights.end();
    if (found) {
      out_ += " ht=\"";
      append_number(out_, height->second);
      out_ += "\" customHeight=\"1\"";
    }
    out_ += '>';
    return found;
  }

  void band_cells(const RowBand& band, std::int32_t row) {
    std::size_t at = band.index(row, band.first_column);
    const office::StyleId* style = band.styles_of(row);
    const std::int32_t end = band.first_column + band.columns;
    for (std::int32_t column = band.first_column; column < end; ++column, ++at, ++style) {
      formulas_before(row, column);
      const Cell cell = checked({band.cells[at].kind(), band.cells[at].value(), *style});
      if (has_formula(row, column)) {
        formula_cell(column, cell, formula_->second);
        ++formula_;
      } else if (cell.kind != CellKind::kBlank || cell.style != 0) {
        value_cell(column, cell);
      }
    }
  }

  bool has_formula(std::int32_t row, std::int32_t column) const {
    return formula_ != sheet_.formulas.end() && formula_->first.row == row &&
           formula_->first.column == column;
  }

  // Formulas of cells that no band holds.
  void formulas_before(std::int32_t row, std::int32_t column) {
    for (; formula_ != sheet_.formulas.end() && formula_->first.row == row && formula_->first.column < column;
         ++formula_)
      formula_cell(formula_->first.column, {}, formula_->second);
  }

  void start_cell(std::int32_t column, const Cell& cell, std::string_view type) {
    cell_.clear();
    cell_.add("<c");
    if (names_ == CellNames::kAll || column != previous_ + 1) {
      cell_.add(" r=\"");
      add_column(column);
      cell_.add(digits_.text());
      cell_.add("\"");
    }
    previous_ = column;
    if (const std::uint32_t format = format_of(cell.style); format != 0) {
      cell_.add(" s=\"");
      cell_.add_number(format);
      cell_.add("\"");
    }
    cell_.add(type);
    cell_.add(">");
  }

  std::uint32_t format_of(office::StyleId style) const {
    return frame_.styles != nullptr ? (*frame_.styles)[style] : style;
  }

  void add_column(std::int32_t column) {
    const int number = column - 1;
    const auto letter = [](int i) { return static_cast<char>('A' + i); };
    char name[3];
    std::size_t size = 0;
    if (number >= 26 + 26 * 26) name[size++] = letter((number - 26) / 676 - 1);
    if (number >= 26) name[size++] = letter((number / 26 - 1) % 26);
    name[size++] = letter(number % 26);
    cell_.add({name, size});
  }

  void add_value(const Cell& cell) {
    cell_.add("<v>");
    switch (cell.kind) {
      case CellKind::kNumber:
        cell_.add_number(cell.number);
        break;
      case CellKind::kText:
        cell_.add_number(frame_.texts->number[static_cast<office::TextId>(cell.number)]);
        break;
      case CellKind::kBoolean:
        cell_.add(cell.number != 0 ? "1" : "0");
        break;
      case CellKind::kError:
        cell_.add(
            host::cell_error_text(static_cast<host::CellError>(static_cast<std::int32_t>(cell.number))));
        break;
      case CellKind::kBlank:
        break;
    }
    cell_.add("</v>");
  }

  static std::string_view type_of(CellKind kind, std::string_view text) {
    switch (kind) {
      case CellKind::kText:
        return text;
      case CellKind::kBoolean:
        return " t=\"b\"";
      case CellKind::kError:
        return " t=\"e\"";
      case CellKind::kBlank:
      case CellKind::kNumber:
        break;
    }
    return "";
  }

  void value_cell(std::int32_t column, const Cell& cell) {
    if (cell.kind == CellKind::kText && frame_.texts == nullptr) return text_cell(column, cell);
    start_cell(column, cell, type_of(cell.kind, " t=\"s\""));
    if (cell.kind != CellKind::kBlank) add_value(cell);
    cell_.add("</c>");
    out_ += cell_.text();
  }

  // With its text in it.
  void text_cell(std::int32_t column, const Cell& cell) {
    start_cell(column, cell, " t=\"inlineStr\"");
    out_ += cell_.text();
    out_ += "<is>";
    Xml xml(out_);
    text_element(xml, "t", strings_.at(static_cast<office::TextId>(cell.number)));
    out_ += "</is></c>";
  }

  void formula_cell(std::int32_t column, const Cell& cell, std::string_view formula) {
    start_cell(column, cell, type_of(cell.kind, " t=\"str\""));
    out_ += cell_.text();
    cell_.clear();
    out_ += "<f>";
    append_escaped(out_, formula.starts_with('=') ? formula.substr(1) : formula, Escape::kXstring);
    out_ += "</f>";
    if (cell.kind == CellKind::kText) {
      out_ += "<v>";
      append_escaped(out_, strings_.at(static_cast<office::TextId>(cell.number)), Escape::kXstring);
      out_ += "</v>";
    } else if (cell.kind != CellKind::kBlank) {
      add_value(cell);
      out_ += cell_.text();
    }
    out_ += "</c>";
  }

  const SheetModel& sheet_;
  const SheetFrame& frame_;
  const office::TextTable& strings_;
  const CellNames names_;
  std::string& out_;
  CellText cell_, digits_;     // digits_: the number of the row
  std::int32_t previous_ = 0;  // column of the last cell written
  std::map<office::CellRef, std::string>::const_iterator formula_;
};

// The bands that hold cells of a row, going down the sheet.
class BandCursor {
 public:
  BandCursor(const SheetModel& sheet, std::int32_t row)
      : next_(sheet.bands.begin()), end_(sheet.bands.end()) {
    move_to(row);
  }
  void move_to(std::int32_t row) {
    std::erase_if(here_, [&](const RowBand* band) { return row >= band->first_row + band->rows; });
    const std::size_t kept = here_.size();
    for (; next_ != end_ && next_->first_row <= row; ++next_)
      if (row < next_->first_row + next_->rows && next_->columns > 0) here_.push_back(&*next_);
    if (here_.size() > kept)
      std::sort(here_.begin(), here_.end(),
                [](const auto* a, const auto* b) { return a->first_column < b->first_column; });
  }
  const std::vector<const RowBand*>& here() const { return here_; }
  // The first row, from `row` on, that a band holds.
  std::int32_t next_row(std::int32_t row) const {
    if (!here_.empty()) return row;
    return next_ == end_ ? office::kSheetRows + 1 : std::max(row, next_->first_row);
  }

 private:
  std::vector<RowBand>::const_iterator next_, end_;
  std::vector<const RowBand*> here_;
};

// The first row, from `row` on, that is to be written.
std::int32_t next_row(const SheetModel& sheet, const BandCursor& cursor, std::int32_t row) {
  std::int32_t next = cursor.next_row(row);
  if (const auto height = sheet.row_heights.lower_bound(row); height != sheet.row_heights.end())
    next = std::min(next, height->first);
  if (const auto formula = sheet.formulas.lower_bound({row, 1}); formula != sheet.formulas.end())
    next = std::min(next, formula->first.row);
  return next;
}

}  // namespace

CellNames cell_names(const SheetModel& sheet) {
  std::size_t cells = 0;
  for (const RowBand& band : sheet.bands) cells += band.cells.size();
  return cells > kManyCells ? CellNames::kWhereNeeded : CellNames::kAll;
}

void encode_rows(const SheetModel& sheet, const SheetFrame& frame, const office::TextTable& strings,
                 CellNames names, std::int32_t first, std::int32_t last, std::string& out) {
  RowEncoder encoder(sheet, frame, strings, names, out);
  BandCursor cursor(sheet, first);
  for (std::int32_t row = next_row(sheet, cursor, first); row <= last;
       row = next_row(sheet, cursor, row + 1)) {
    cursor.move_to(row);
    encoder.row(row, cursor.here());
    cursor.move_to(row + 1);
  }
}

}  // namespace ordvane::xlsx
