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

// Appends to a text by way of a buffer, which takes what is short in a few instructions.
class CellText {
 public:
  explicit CellText(std::string& out) : out_(out) {}
  // Makes room for the longest cell, texts and formulas apart.
  void begin_cell() {
    if (end_ > buffer_.data() + kFull) flush();
  }
  void flush() {
    out_.append(buffer_.data(), end_);
    end_ = buffer_.data();
  }
  void add(std::string_view text) {
    std::memcpy(end_, text.data(), text.size());
    end_ += text.size();
  }
  // As many characters as there are in `text`, faster: so many are copied in any case.
  template <std::size_t kSize>
  void add(const std::array<char, kSize>& text, std::size_t size) {
    std::memcpy(end_, text.data(), kSize);
    end_ += size;
  }
  template <class Number>
  void add_number(Number value) {
    end_ = std::to_chars(end_, buffer_.data() + buffer_.size(), value).ptr;
  }
  // How long the text is by now.
  std::size_t size() const { return out_.size() + static_cast<std::size_t>(end_ - buffer_.data()); }
  // What is written to directly, everything before it being there.
  std::string& out() {
    flush();
    return out_;
  }

 private:
  static constexpr std::size_t kFull = 8192, kLongestCell = 160;

  std::string& out_;
  std::array<char, kFull + kLongestCell> buffer_;
  char* end_ = buffer_.data();
};

constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

// Where the same was written last without a name of its cell, and whether it followed the end of a value.
struct LastPlace {
  std::size_t at = kNowhere;
  bool after_value = false;
};

// What stands between the name of a cell and its value, for the cells of one style and kind:
// ` s="12" t="s"><v>`.
struct CellStart {
  std::array<char, 24> text;
  std::size_t size = 0;  // 0: not made yet
  LastPlace last;
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
             CellNames names, MarkedText& out)
      : sheet_(sheet),
        frame_(frame),
        strings_(strings),
        names_(names),
        out_(out.text),
        repeats_(out.repeats),
        cells_(out.text) {}

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
    cells_.flush();
    if (out_.size() != empty) {
      out_ += kRowEnd;
      row_end_ = out_.size();
    } else if (has_height) {
      out_.back() = '/';
      out_ += '>';
    } else {
      out_.resize(before);
    }
  }

 private:
  static constexpr std::string_view kRowStart = "<row r=\"", kRowEnd = "</row>", kCellStart = "<c";
  static constexpr std::array<char, 8> kValueEnd = {'<', '/', 'v', '>', '<', '/', 'c', '>'};

  void start_row(std::int32_t row) {
    row_digits_ =
        std::to_chars(row_name_.data(), row_name_.data() + row_name_.size(), row).ptr - row_name_.data();
    if (row_end_ == out_.size()) {
      const std::size_t at = out_.size() - kRowEnd.size();
      note_repeat(at, kRowEnd.size() + kRowStart.size(), last_row_end_);
      last_row_end_ = at;
    }
    out_ += kRowStart;
    out_ += row_name();
    out_ += '"';
  }
  std::string_view row_name() const { return {row_name_.data(), static_cast<std::size_t>(row_digits_)}; }

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

  bool is_named(std::int32_t column) const { return names_ == CellNames::kAll || column != previous_ + 1; }

  // Up to its name, which it has where it does not follow the last one.
  void start_cell(std::int32_t column) {
    cells_.begin_cell();
    cells_.add(kCellStart);
    if (is_named(column)) {
      cells_.add(" r=\"");
      add_column(column);
      cells_.add(row_name());
      cells_.add("\"");
    }
    previous_ = column;
  }

  void start_cell(std::int32_t column, const Cell& cell, std::string_view type) {
    start_cell(column);
    if (const std::uint32_t format = format_of(cell.style); format != 0) {
      cells_.add(" s=\"");
      cells_.add_number(format);
      cells_.add("\"");
    }
    cells_.add(type);
    cells_.add(">");
  }

  // The rest of the start of a number's cell, or of one with a shared text.
  CellStart& start_of(const Cell& cell) {
    const std::size_t place = std::size_t{cell.style} * 2 + (cell.kind == CellKind::kText ? 1 : 0);
    if (place >= starts_.size()) starts_.resize(place + 2);
    CellStart& start = starts_[place];
    if (start.size > 0) return start;
    std::string text;
    if (const std::uint32_t format = format_of(cell.style); format != 0)
      text = " s=\"" + std::to_string(format) + "\"";
    text += cell.kind == CellKind::kText ? " t=\"s\"><v>" : "><v>";
    start.size = text.copy(start.text.data(), start.text.size());
    return start;
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
    cells_.add(std::string_view(name, size));
  }

  void add_content(const Cell& cell) {
    switch (cell.kind) {
      case CellKind::kNumber:
        cells_.add_number(cell.number);
        break;
      case CellKind::kText:
        cells_.add_number(frame_.texts->number[static_cast<office::TextId>(cell.number)]);
        break;
      case CellKind::kBoolean:
        cells_.add(cell.number != 0 ? "1" : "0");
        break;
      case CellKind::kError:
        cells_.add(
            host::cell_error_text(static_cast<host::CellError>(static_cast<std::int32_t>(cell.number))));
        break;
      case CellKind::kBlank:
        break;
    }
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
    const bool is_text = cell.kind == CellKind::kText;
    if (is_text && frame_.texts == nullptr) return text_cell(column, cell);
    if (is_text || cell.kind == CellKind::kNumber) {
      const bool named = is_named(column);
      const std::size_t at = cells_.size();
      start_cell(column);
      CellStart& start = start_of(cell);
      cells_.add(start.text, start.size);
      if (!named) note_start(start.last, at);
    } else {
      start_cell(column, cell, type_of(cell.kind, ""));
      if (cell.kind == CellKind::kBlank) return cells_.add("</c>");
      cells_.add("<v>");
    }
    add_content(cell);
    cells_.add(kValueEnd, kValueEnd.size());
    value_end_ = cells_.size();
  }

  // What was written from `at` on is most likely what it was at its last place.
  void note_start(LastPlace& last, std::size_t at) {
    const bool after_value = at == value_end_;
    const std::size_t before = after_value && last.after_value ? kValueEnd.size() : 0;
    if (last.at != kNowhere) note_repeat(at - before, before + cells_.size() - at, last.at - before);
    last = {at, after_value};
  }

  // The text from `at` on is the one from `before` on.
  void note_repeat(std::size_t at, std::size_t length, std::size_t before) {
    if (names_ == CellNames::kAll || before == kNowhere || at - before > kFarthestRepeat) return;
    repeats_.push_back({static_cast<std::uint32_t>(at), static_cast<std::uint16_t>(length),
                        static_cast<std::uint16_t>(at - before)});
  }

  // With its text in it.
  void text_cell(std::int32_t column, const Cell& cell) {
    start_cell(column, cell, " t=\"inlineStr\"");
    std::string& out = cells_.out();
    out += "<is>";
    Xml xml(out);
    text_element(xml, "t", strings_.at(static_cast<office::TextId>(cell.number)));
    out += "</is></c>";
  }

  void formula_cell(std::int32_t column, const Cell& cell, std::string_view formula) {
    start_cell(column, cell, type_of(cell.kind, " t=\"str\""));
    std::string& out = cells_.out();
    out += "<f>";
    append_escaped(out, formula.starts_with('=') ? formula.substr(1) : formula, Escape::kXstring);
    out += "</f>";
    if (cell.kind == CellKind::kBlank) {
      out += "</c>";
      return;
    }
    out += "<v>";
    if (cell.kind == CellKind::kText) {
      append_escaped(out, strings_.at(static_cast<office::TextId>(cell.number)), Escape::kXstring);
    } else {
      add_content(cell);
      cells_.flush();
    }
    out += "</v></c>";
  }

  const SheetModel& sheet_;
  const SheetFrame& frame_;
  const office::TextTable& strings_;
  const CellNames names_;
  std::string& out_;
  std::vector<Repeat>& repeats_;
  std::size_t row_end_ = kNowhere, value_end_ = kNowhere;  // where the last one ended
  std::size_t last_row_end_ = kNowhere;                    // where the one began that a row followed
  CellText cells_;
  std::array<char, 16> row_name_;
  std::ptrdiff_t row_digits_ = 0;
  std::vector<CellStart> starts_;  // by style, of numbers and of texts
  std::int32_t previous_ = 0;      // column of the last cell written
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
                 CellNames names, std::int32_t first, std::int32_t last, MarkedText& out) {
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
