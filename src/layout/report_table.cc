// Report tables: captions, header block and body, formatted in runs; columns and captions are fitted once the
// contents are known.
#include "layout/report_table.h"

#include <algorithm>
#include <set>
#include <utility>

#include "layout/look.h"
#include "layout/report_sheet.h"
#include "layout/text_estimate.h"

namespace ordvane::layout {
namespace {

using host::HAlign;
using host::VAlign;

constexpr double kWrappedCaptionWidth = 14;  // characters; longer captions of fitted columns wrap
constexpr double kCaptionMargin = 8;         // points beside a caption
constexpr double kFitted = -1;               // no column's width
constexpr double kBreathing = 1.5;           // characters beside fitted contents
constexpr double kWidestNames = 42;          // characters
constexpr const char* kTextFormat = "@";

// Characters that a fitted column needs for its caption.
double caption_width(const std::string& caption) {
  if (caption.empty()) return 0;
  const double whole = column_characters(estimated_width(caption, look::kBodySize, true) + kCaptionMargin);
  const double word = column_characters(widest_word(caption, look::kBodySize, true) + kCaptionMargin);
  return std::max(word, std::min(whole, kWrappedCaptionWidth));
}

}  // namespace

ReportTable::ReportTable(ReportSheet& sheet, std::int32_t first_row, std::int32_t rows, std::int32_t columns,
                         std::int32_t header_rows, std::int32_t row_header_columns,
                         const std::string& caption, const std::string& subcaption)
    : sheet_(sheet),
      first_row_(first_row),
      rows_(rows),
      columns_(columns),
      header_rows_(header_rows),
      row_header_columns_(row_header_columns),
      identity_columns_(std::max(row_header_columns, 1)),
      least_identity_columns_(identity_columns_),
      has_caption_(!caption.empty()),
      has_subcaption_(!subcaption.empty()) {
  write_captions(caption, subcaption);
  format_header();
  format_body();
  for (std::int32_t column = 1; column <= row_header_columns_; ++column)
    widths_to_fit_[column] = cells(header_row(), column)->column_width();
}

std::int32_t ReportTable::header_row() const {
  return first_row_ + (has_caption_ ? 1 : 0) + (has_subcaption_ ? 1 : 0);
}

std::int32_t ReportTable::body_row() const {
  return header_row() + header_rows_;
}

std::int32_t ReportTable::body_column() const {
  return row_header_columns_ + 1;
}

std::shared_ptr<host::Range> ReportTable::cells(std::int32_t row, std::int32_t column, std::int32_t rows,
                                                std::int32_t columns) {
  return sheet_.worksheet_->range(row, column, rows, columns);
}

void ReportTable::write_captions(const std::string& caption, const std::string& subcaption) {
  if (has_caption_) {
    const auto cell = cells(first_row_, 1);
    cell->set_value(caption);
    cell->set_font(look::font(look::kCaptionSize, look::kText, true));
  }
  if (has_subcaption_) {
    const auto cell = cells(header_row() - 1, 1);
    cell->set_value(subcaption);
    cell->set_font(look::font(look::kSmallSize, look::kMuted, false, true));
  }
}

void ReportTable::format_header() {
  if (header_rows_ < 1) return;
  const auto header = cells(header_row(), 1, header_rows_, sheet_columns());
  header->set_font(look::font(look::kBodySize, look::kAccent, true));
  header->set_interior({.color = look::kHeaderTint});
  header->set_alignment(HAlign::kCenter, VAlign::kCenter);
  header->set_wrap_text(true);
  header->set_border(host::Edge::kBottom, look::rule(host::LineWeight::kThin, look::kAccent));
  if (row_header_columns_ > 0)
    cells(header_row(), 1, header_rows_, row_header_columns_)->set_alignment(HAlign::kLeft, VAlign::kCenter);
}

void ReportTable::format_body() {
  const auto body = cells(body_row(), 1, rows_on_sheet(), sheet_columns());
  body->set_font(look::font(look::kBodySize, look::kText));
  if (rows_on_sheet() > 1)
    body->set_border(host::Edge::kInsideHorizontal, look::rule(host::LineWeight::kHairline, look::kHairline));
  body->set_border(host::Edge::kBottom, look::rule(host::LineWeight::kThin, look::kRule));
  if (row_header_columns_ > 0)
    cells(body_row(), 1, rows_on_sheet(), row_header_columns_)->set_alignment(HAlign::kLeft, VAlign::kCenter);
}

std::shared_ptr<host::Range> ReportTable::CornerRange() {
  return cells(header_row(), 1, std::max(header_rows_, 1), std::max(row_header_columns_, 1));
}

std::shared_ptr<host::Range> ReportTable::HeaderRowRange(std::int32_t row) {
  return row == 0 ? Header(1, 1, std::max(header_rows_, 1), columns_) : Header(row, 1, 1, columns_);
}

std::shared_ptr<host::Range> ReportTable::ColumnHeaderRange(std::int32_t column) {
  if (column == 0) return cells(header_row(), 1, std::max(header_rows_, 1));
  return Header(1, column, std::max(header_rows_, 1));
}

std::shared_ptr<host::Range> ReportTable::BodyRange() {
  return Body(1, 1, rows_on_sheet(), columns_);
}

std::shared_ptr<host::Range> ReportTable::CaptionRange() {
  return cells(first_row_, 1);
}

std::shared_ptr<host::Range> ReportTable::Body(std::int32_t row, std::int32_t column, std::int32_t rows,
                                               std::int32_t columns) {
  return cells(body_row() + row - 1, body_column() + column - 1, rows, columns);
}

std::shared_ptr<host::Range> ReportTable::PutOutOfSight(std::int32_t first_row,
                                                        const host::CellBlock& figures) {
  if (hidden_column_ == 0) {
    hidden_column_ = sheet_.take_helper_columns(figures.columns());
    cells(body_row(), hidden_column_, 1, figures.columns())->set_columns_hidden(true);
  }
  auto place = cells(body_row() + first_row - 1, hidden_column_, figures.rows(), figures.columns());
  place->put(figures);
  return place;
}

std::shared_ptr<host::Range> ReportTable::Header(std::int32_t row, std::int32_t column, std::int32_t rows,
                                                 std::int32_t columns) {
  return cells(header_row() + row - 1, body_column() + column - 1, rows, columns);
}

void ReportTable::SetRowHeader(std::int32_t row_header_column, std::int32_t row, const std::string& text) {
  settled_ = false;
  cells(body_row() + row - 1, row_header_column)->set_value(text);
}

void ReportTable::SetColumns(const std::vector<Column>& columns) {
  settled_ = false;
  for (std::int32_t number = 1; const Column& column : columns) {
    if (header_rows_ > 0) set_caption(number, column);
    set_column(number, column);
    ++number;
  }
  if (header_rows_ > 0) add_headings(columns);
  for (std::int32_t number = 1; const Column& column : columns) {
    if (header_rows_ > 0 && !column.note.empty())
      AddTableNote(0, number, sheet_.session().text(text_id::kNoteTitle), column.note);
    if (column.rule) {
      sheet_.session().environment->pump_messages();  // a table may have thousands of them
      add_column_rule(number);
    }
    ++number;
  }
}

// Wide groups get their widths before the groups within them.
void ReportTable::add_headings(const std::vector<Column>& columns) {
  std::vector<Heading> headings;
  for (std::int32_t number = 1; const Column& column : columns) {
    for (const GroupHeading& group : column.headings)
      headings.push_back({group.row, number, group.rows, group.columns, group.caption});
    ++number;
  }
  std::stable_sort(headings.begin(), headings.end(),
                   [](const Heading& a, const Heading& b) { return a.row < b.row; });
  for (const Heading& heading : headings) add_heading(heading);
}

// In the last header row.
void ReportTable::set_caption(std::int32_t number, const Column& column) {
  const auto header = Header(header_rows_, number);
  header->set_value(column.caption);
  header->set_alignment(column.caption_alignment, VAlign::kCenter);
  if (column.indented) header->set_indent(1);
  captions_[body_column() + number - 1] = column.caption;
}

void ReportTable::set_column(std::int32_t number, const Column& column) {
  const auto body = Body(1, number, rows_on_sheet());
  body->set_alignment(column.alignment, VAlign::kCenter);
  // Figures keep clear of the rule beside them.
  if (column.indented || column.alignment == HAlign::kRight) body->set_indent(1);
  // Names and addresses stay what they are, even one that reads like a number or a date.
  if (!column.number_format.empty())
    body->set_number_format(column.number_format);
  else if (column.text)
    body->set_number_format(kTextFormat);

  const std::int32_t sheet_column = body_column() + number - 1;
  if (column.begins_block) column_blocks_.push_back(sheet_column);
  if (column.text) name_widths_[sheet_column] = 0;
  const double present = body->column_width();
  if (column.width < 0)
    widths_to_fit_[sheet_column] = present;
  else if (present < column.width)
    body->set_column_width(column.width);
}

void ReportTable::AddTableNote(std::int32_t row, std::int32_t column, const std::string& heading,
                               const std::string& text) {
  const auto cell = row == 0 ? Header(std::max(header_rows_, 1), column) : Body(row, column);
  sheet_.AddCellNote(*cell, heading, text);
}

// At the right of a column, through header and body.
void ReportTable::add_column_rule(std::int32_t column) {
  cells(header_row(), body_column() + column - 1, last_row() - header_row() + 1)
      ->set_border(host::Edge::kRight, look::kGroupRule);
}

void ReportTable::AddRowRule(std::int32_t row) {
  cells(body_row() + row - 1, 1, 1, sheet_columns())->set_border(host::Edge::kBottom, look::kGroupRule);
}

void ReportTable::PutBody(std::int32_t first_row, const host::CellBlock& block) {
  const host::CellBlock* const one = &block;
  PutBody(first_row, {&one, 1});
}

void ReportTable::PutBody(std::int32_t first_row, std::span<const host::CellBlock* const> blocks) {
  if (blocks.empty()) return;
  settled_ = false;
  std::int32_t rows = 0;
  for (const host::CellBlock* block : blocks) rows += block->rows();
  Body(first_row, 1, rows, blocks[0]->columns())->put_blocks(blocks);
  for (const host::CellBlock* block : blocks) measure_names(*block);
}

// Names may be merged over several rows later, and merged cells are not fitted by the spreadsheet.
void ReportTable::measure_names(const host::CellBlock& block) {
  std::vector<bool> measured(block.text_count());
  for (auto& [sheet_column, widest] : name_widths_) {
    const std::int32_t column = sheet_column - body_column() + 1;
    std::fill(measured.begin(), measured.end(), false);
    for (std::int32_t row = 1; column <= block.columns() && row <= block.rows(); ++row) {
      const host::CellBlock::Cell& cell = block.at(row, column);
      if (cell.kind != host::CellKind::kText || measured[cell.text]) continue;
      measured[cell.text] = true;
      widest = std::max(widest, estimated_width(block.text(cell.text), look::kBodySize));
    }
  }
}

void ReportTable::FormatBody(std::int32_t first_row, std::int32_t rows, std::int32_t column,
                             const std::string& format, std::int32_t columns) {
  settled_ = false;
  Body(first_row, column, rows, columns)->set_number_format(format);
}

void ReportTable::FormatRows(std::int32_t column, const std::vector<std::string>& formats) {
  settled_ = false;
  Body(1, column, static_cast<std::int32_t>(formats.size()))->set_row_formats(formats);
}

void ReportTable::FitColumns(std::int32_t column, std::int32_t columns, std::int32_t header_rows) {
  cells(body_row() - header_rows, body_column() + column - 1, rows_on_sheet() + header_rows, columns)
      ->auto_fit_columns();
  for (std::int32_t i = 0; i < columns; ++i)
    if (const auto unfitted = widths_to_fit_.find(body_column() + column - 1 + i);
        unfitted != widths_to_fit_.end())
      unfitted->second = kFitted;
}

void ReportTable::Settle() {
  if (settled_) return;
  std::int32_t lines = 1;
  std::set<std::int32_t> without_caption;
  for (const auto& [column, width] : widths_to_fit_) without_caption.insert(column);
  for (const auto& [column, width] : name_widths_) without_caption.insert(column);
  for (const std::int32_t column : without_caption)
    if (!captions_.contains(column)) settle_column(column);
  for (const auto& [column, caption] : captions_) {
    const double width = column_points(settle_column(column));
    lines = std::max(lines, wrapped_lines(caption, width, look::kBodySize, true));
  }
  settle_groups();
  if (header_rows_ > 0) {
    const double needed = look::row_height(look::kHeaderRowHeight, lines);
    const auto last_header = cells(body_row() - 1, 1);
    if (last_header->row_height() < needed) last_header->set_row_height(needed);
  }
  if (wraps_names_) settle_rows();
  settled_ = true;
}

void ReportTable::FilterRows() {
  cells(body_row() - 1, 1, rows_on_sheet() + 1, sheet_columns())->set_auto_filter();
}

void ReportTable::SetIdentityColumns(std::int32_t all, std::int32_t least) {
  identity_columns_ = all;
  least_identity_columns_ = least;
}

// Centred in one merged cell.
void ReportTable::add_heading(const Heading& heading) {
  settled_ = false;
  const auto cells = Header(heading.row, heading.column, heading.rows, heading.columns);
  cells->cell(1, 1)->set_value(heading.caption);
  cells->set_alignment(HAlign::kCenter, VAlign::kCenter);
  if (heading.rows * heading.columns > 1) cells->set_merge(true);
  headings_.push_back(heading);
}

// A merged cell would show its caption where the middle of all its columns happens to be printed.
void ReportTable::part_headings(const std::vector<std::int32_t>& first_columns) {
  for (const Heading& whole : std::exchange(headings_, {})) {
    const std::int32_t end = whole.column + whole.columns;
    std::vector<Heading> parts = {whole};
    for (const std::int32_t sheet_column : first_columns) {
      const std::int32_t column = sheet_column - body_column() + 1;
      if (column <= whole.column || column >= end) continue;
      parts.back().columns = column - parts.back().column;
      parts.push_back({whole.row, column, whole.rows, end - column, whole.caption});
    }
    if (parts.size() == 1) continue;
    Header(whole.row, whole.column, whole.rows, whole.columns)->set_merge(false);
    for (const Heading& part : parts) add_heading(part);
  }
}

void ReportTable::WrapNames(std::vector<std::int32_t> rows) {
  settled_ = false;
  wraps_names_ = true;
  wrapped_rows_ = std::move(rows);
}

// A spreadsheet fits the height of rows by itself only once it shows them, and then not every one does.
void ReportTable::settle_rows() {
  const bool all = wrapped_rows_.empty();
  std::map<std::int32_t, std::int32_t> lines;  // by body row, where there are several
  for (const auto& [column, widest] : name_widths_) {
    const double width = column_points(sheet_.settled_widths_[column]) - kCaptionMargin;
    if (widest <= width) continue;
    const auto names = cells(body_row(), column, rows_on_sheet());
    if (all) names->set_wrap_text(true);
    const host::CellBlock texts = names->values();
    const auto wrap = [&](std::int32_t row) {
      const std::int32_t needed = wrapped_lines(texts.value(row, 1).text, width, look::kBodySize);
      if (needed < 2) return;
      if (!all) names->cell(row, 1)->set_wrap_text(true);
      lines[row] = std::max(lines[row], needed);
    };
    for (std::int32_t row = 1; all && row <= texts.rows(); ++row) wrap(row);
    for (const std::int32_t row : wrapped_rows_) wrap(row);
  }
  for (const auto& [row, count] : lines)
    cells(body_row() + row - 1, 1)->set_row_height(look::row_height(look::kBodyRowHeight, count));
}

// The columns of a group share what its caption needs beyond their width.
void ReportTable::settle_groups() {
  for (const Heading& group : headings_) {
    const auto block = Header(group.row, group.column, 1, group.columns);
    const double word = widest_word(group.caption, look::kBodySize, true) + kCaptionMargin;
    const double more = std::min(word, column_points(kWidestNames)) - block->width();
    for (std::int32_t column = group.column; more > 0 && column < group.column + group.columns; ++column) {
      const auto cell = Header(group.row, column);
      double& settled = sheet_.settled_widths_[cell->column()];
      settled = std::min(cell->column_width() + column_characters(more / group.columns), look::kWidestColumn);
      cell->set_column_width(settled);
    }
    if (group.rows > 1) continue;
    const std::int32_t lines = wrapped_lines(group.caption, block->width(), look::kBodySize, true);
    const double height = look::row_height(look::kHeaderRowHeight, lines);
    if (lines > 1 && block->row_height() < height) block->set_row_height(height);
  }
}

// A column that the report has fitted itself is left as it is, but for its caption. Returns its width.
double ReportTable::settle_column(std::int32_t column) {
  const bool row_header = column <= row_header_columns_;
  const auto body = cells(row_header ? header_row() : body_row(), column,
                          last_row() - (row_header ? header_row() : body_row()) + 1);
  const double present = body->column_width();
  double width = present, fitted = present;
  if (const auto unfitted = widths_to_fit_.find(column); unfitted != widths_to_fit_.end()) {
    if (present == unfitted->second) {
      body->auto_fit_columns();
      fitted = body->column_width();
      width = fitted + kBreathing;
    }
    unfitted->second = kFitted;
  }
  if (const auto caption = captions_.find(column); caption != captions_.end())
    width = std::max(width, caption_width(caption->second));
  if (const auto names = name_widths_.find(column); names != name_widths_.end())
    width = std::max(width, std::min(column_characters(names->second + kCaptionMargin), kWidestNames));
  double& settled = sheet_.settled_widths_[column];
  settled = std::min(std::max(settled, width), look::kWidestColumn);
  if (settled != fitted) body->set_column_width(settled);
  return settled;
}

}  // namespace ordvane::layout
