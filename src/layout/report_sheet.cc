// Report sheets: places title block, tables and charts one below another.
#include "layout/report_sheet.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "layout/bar_chart.h"
#include "layout/links.h"
#include "layout/look.h"
#include "layout/pair_chart.h"
#include "layout/point_chart.h"
#include "layout/report_table.h"
#include "layout/text_estimate.h"
#include "text/utf16.h"

namespace ordvane::layout {
namespace {

constexpr std::int32_t kReportPages = 1;  // the only sheet option there is

constexpr std::int32_t kTitleColumns = 3;  // the title block has at least these to itself
constexpr double kLabelMargin = 8;         // points beside the labels of a title block
constexpr double kRoomForTitles = 200;     // points; texts that need no more are no trouble on any sheet
constexpr double kLongestLine = 900;       // points; longer lines are hard to read, and leave the page

constexpr double kLeastBarsHeight = 180;
constexpr double kHeightWithoutBars = 110;
constexpr double kHeightOfBar = 22;
// Many bars stand closer: the highest graph is seen whole on a screen, and fits a page lying down in texts
// that can be read.
constexpr std::int32_t kWideBars = 10;
constexpr double kHeightOfFurtherBar = 7;
// Points below the top of a chart's first row: half of its frame would lie on the page before, if the row
// begins one.
constexpr double kFrameWidth = 0.75;

// A row of `height` with as many lines as its text takes in a width. Merged cells have no height of their own
// accord. Returns whether the row is higher than it was.
bool grow_row(host::Range& cells, const std::string& text, double size, double height) {
  const std::int32_t lines = wrapped_lines(text, cells.width() - kLabelMargin, size);
  height = look::row_height(height, lines);
  if (lines <= 1 || cells.row_height() >= height) return false;
  cells.set_row_height(height);
  return true;
}

}  // namespace

ReportSheet::ReportSheet(session::Session& session, std::shared_ptr<host::Worksheet> worksheet)
    : session_(session), worksheet_(std::move(worksheet)) {
  worksheet_->set_display_gridlines(false);
}

void ReportSheet::AddTitleBlock(const std::string& title, const std::vector<TitleLine>& lines) {
  title_ = title;
  title_lines_ = lines;
  const auto heading = worksheet_->range(1, 1, 1, 1);
  heading->set_value(title);
  heading->set_font(look::font(look::kTitleSize, look::kAccent, true));
  heading->set_alignment(host::HAlign::kLeft, host::VAlign::kCenter);
  heading->set_row_height(look::kTitleRowHeight);

  const auto count = static_cast<std::int32_t>(lines.size());
  if (count > 0) {
    constexpr std::int32_t kFirstLine = 2;
    host::CellBlock block(count, 2);
    std::int32_t row = 0;
    for (const TitleLine& line : lines) {
      ++row;
      block.set(row, 1, line.label);
      block.set(row, 2, line.value);
      // Texts stay texts, even one that looks like a date.
      const bool is_text = line.value.kind == host::CellKind::kText;
      if (is_text || !line.number_format.empty())
        worksheet_->range(kFirstLine + row - 1, 1, 1, 2)
            ->set_number_format(is_text ? "@" : line.number_format);
    }
    worksheet_->range(kFirstLine, 1, count, 2)->put(block);
    worksheet_->range(kFirstLine, 1, 1, 1)->set_row_height(look::kFirstLineHeight);
    worksheet_->range(kFirstLine, 1, count, 1)->set_font(look::font(look::kSmallSize, look::kMuted));
    const auto values = worksheet_->range(kFirstLine, 2, count, 1);
    values->set_font(look::font(look::kBodySize, look::kText));
    values->set_alignment(host::HAlign::kLeft, host::VAlign::kBottom);
  }
  next_row_ = std::max(next_row_, 1 + count + 2);
}

void ReportSheet::AddTitleBlockEx(const std::string& title, const std::vector<TitleLine>& lines) {
  AddTitleBlock(title, lines);
}

void ReportSheet::SetSheetOption(std::int32_t option) {
  if (option == kReportPages) report_pages_ = true;
}

std::shared_ptr<ReportTable> ReportSheet::AddTable(std::int32_t rows, std::int32_t columns,
                                                   std::int32_t header_rows, std::int32_t row_header_columns,
                                                   const std::string& caption,
                                                   const std::string& subcaption) {
  settle_tables();
  leave_lines();
  auto table = std::make_shared<ReportTable>(*this, next_row_, rows, columns, header_rows, row_header_columns,
                                             caption, subcaption);
  tables_.push_back(table);
  next_row_ = table->last_row() + 2;
  return table;
}

// Columns and header rows must have their sizes before anything is placed below them.
void ReportSheet::settle_tables() {
  for (const auto& table : tables_) table->Settle();
}

// The place of a chart that was taken away, where the new one fits; else below everything.
ReportSheet::Room ReportSheet::take_room(double height) {
  const double row_height = NextCell()->row_height();
  const auto rows = static_cast<std::int32_t>(std::ceil(height / row_height)) + 1;
  if (vacated_ && vacated_->rows >= rows) return *std::exchange(vacated_, std::nullopt);
  return {std::exchange(next_row_, next_row_ + rows), rows};
}

void ReportSheet::PlaceChartsSideBySide(std::int32_t charts) {
  charts_in_row_ = charts;
  placed_in_row_ = 0;
}

// Whether a chart of this height can stand to the right of the last one.
bool ReportSheet::has_place_beside(double height) {
  if (placed_in_row_ == 0 || placed_in_row_ >= charts_in_row_ || charts_.empty()) return false;
  const ReportChart& last = *charts_.back();
  return last.room_row_ + last.room_rows_ == next_row_ && height <= last.container_->height();
}

template <class Kind>
std::shared_ptr<Kind> ReportSheet::add_chart(double width, double height) {
  settle_tables();
  leave_lines();
  // What stands above a chart has its height by then: not every host moves charts with their cells.
  if (!tables_.empty()) fit_lines();
  Room room;
  double left = 0;
  if (has_place_beside(height)) {
    const ReportChart& last = *charts_.back();
    room = {last.room_row_, last.room_rows_};
    left = last.container_->left() + last.container_->width() + kBetweenCharts;
    ++placed_in_row_;
  } else {
    room = take_room(height);
    placed_in_row_ = 1;
  }
  const auto cell = worksheet_->range(room.row, 1, 1, 1);
  auto chart = std::make_shared<Kind>(
      *this, worksheet_->add_chart(std::max(left, cell->left()), cell->top() + kFrameWidth, width, height));
  chart->room_row_ = room.row;
  chart->room_rows_ = room.rows;
  charts_.push_back(chart);
  return chart;
}

std::shared_ptr<PointChart> ReportSheet::AddPointChart(double width, double height) {
  return add_chart<PointChart>(width, height);
}

std::shared_ptr<BarChart> ReportSheet::AddBarChart(double width, double height) {
  return add_chart<BarChart>(width, height);
}

std::shared_ptr<PairChart> ReportSheet::AddPairChart(double width, double height) {
  return add_chart<PairChart>(width, height);
}

void ReportSheet::RemoveChart(const std::shared_ptr<ReportChart>& chart) {
  chart->Container()->remove();
  std::erase(charts_, chart);
  const Room room = {chart->room_row_, chart->room_rows_};
  const auto shares_room = [&](const auto& other) { return other->room_row_ == room.row; };
  if (std::any_of(charts_.begin(), charts_.end(), shares_room)) return;
  if (room.row + room.rows == next_row_)
    next_row_ = room.row;
  else
    vacated_ = room;
}

double ReportSheet::ChartHeightForBars(std::int16_t bars) const {
  const std::int32_t wide = std::min<std::int32_t>(bars, kWideBars);
  return std::max(kLeastBarsHeight,
                  kHeightWithoutBars + kHeightOfBar * wide + kHeightOfFurtherBar * (bars - wide));
}

std::shared_ptr<host::Range> ReportSheet::NextCell() {
  return worksheet_->range(next_row_, 1, 1, 1);
}

void ReportSheet::AddCellNote(host::Range& cell, const std::string& heading, const std::string& text) {
  std::string& note = notes_[{cell.row(), cell.column()}];
  if (!note.empty())
    note += "\n" + text;
  else
    note = (heading.empty() ? "" : heading + ":\n") + text;
  cell.add_comment(note);
}

std::shared_ptr<host::Range> ReportSheet::AddLine(const std::string& whole) {
  constexpr std::int32_t kLongestText = 32767;  // of a cell
  const std::string text = text::shortened(whole, kLongestText);
  settle_tables();
  if (NextCell()->value().kind != host::CellKind::kBlank) ++next_row_;
  auto cell = NextCell();
  cell->set_number_format("@");
  cell->set_value(text);
  cell->set_font(look::font(look::kSmallSize, look::kMuted));
  lines_[next_row_++] = {text};
  return cell;
}

void ReportSheet::PutLink(host::Range& cell, std::int32_t row, const std::string& text) {
  cell.set_number_format("General");  // a formula in a text cell would be shown, not followed
  cell.set_formula(LinkFormula(worksheet_->name(), row, text));
  cell.set_font({.color = look::kAccent});
}

// A row stays empty between lines and what is placed below them.
void ReportSheet::leave_lines() {
  if (lines_.contains(next_row_ - 1)) ++next_row_;
}

// Points from the left, as far as tables and charts reach.
double ReportSheet::used_width() const {
  double width = worksheet_->range(1, 1, 1, last_column())->width();
  for (const auto& chart : charts_)
    width = std::max(width, chart->Container()->left() + chart->Container()->width());
  return width;
}

// The columns that a line of text may go over.
std::int32_t ReportSheet::text_columns() const {
  const double width = std::min(used_width(), kLongestLine);
  std::int32_t columns = 1;
  while (worksheet_->range(1, 1, 1, columns + 1)->width() <= width) ++columns;
  return columns;
}

// Lines may be fitted several times, as tables and charts come and columns get their widths.
bool ReportSheet::fit_lines() {
  if (lines_.empty()) return false;
  bool grown = false;
  const std::int32_t columns = text_columns();
  for (auto& [row, line] : lines_) {
    const auto cells = worksheet_->range(row, 1, 1, columns);
    grown = grow_row(*cells, line.text, look::kSmallSize, look::kBodyRowHeight) || grown;
    if (line.columns == columns) continue;
    // A part of a merged cell cannot be merged.
    if (line.columns > columns) worksheet_->range(row, 1, 1, line.columns)->set_merge(false);
    line.columns = columns;
    cells->set_merge(true);
    cells->set_alignment(host::HAlign::kLeft, host::VAlign::kTop);
    cells->set_wrap_text(true);
  }
  return grown;
}

// Not every spreadsheet moves charts with the rows below them when rows above become higher.
void ReportSheet::return_charts() {
  constexpr double kNoticed = 0.5;  // points
  for (const auto& chart : charts_) {
    const double top = worksheet_->range(chart->room_row_, 1, 1, 1)->top() + kFrameWidth;
    if (std::fabs(chart->Container()->top() - top) > kNoticed) chart->Container()->set_top(top);
  }
}

std::int32_t ReportSheet::last_column() const {
  std::int32_t last = kTitleColumns;
  for (const auto& table : tables_) last = std::max(last, table->sheet_columns());
  return last;
}

// A gap keeps them apart from the tables.
std::int32_t ReportSheet::take_helper_columns(std::int32_t count) {
  const std::int32_t first = std::max(helper_column_, last_column() + 2);
  helper_column_ = first + count;
  return first;
}

// Labels are never cut, and numbers never shown as "###".
void ReportSheet::fit_title_block() {
  double label_width = 0;
  for (std::int32_t i = 0; const TitleLine& line : title_lines_) {
    ++i;
    label_width = std::max(label_width, estimated_width(line.label, look::kSmallSize));
    if (!line.value.is_number()) continue;
    const auto value = worksheet_->range(1 + i, 2, 1, 1);
    const double width = value->column_width();
    value->auto_fit_columns();
    if (value->column_width() < width) value->set_column_width(width);
  }
  const auto labels = worksheet_->range(1, 1, 1, 1);
  const double needed = std::min(column_characters(label_width + kLabelMargin), look::kWidestColumn);
  if (labels->column_width() < needed) labels->set_column_width(needed);
  worksheet_->range(1, 1, 1, last_column())
      ->set_border(host::Edge::kBottom, look::rule(host::LineWeight::kMedium, look::kAccent));
}

// Texts go on below where they would leave the sheet. Returns whether rows are higher for it.
bool ReportSheet::wrap_title_lines() {
  const auto is_long = [](const TitleLine& line, double width) {
    return estimated_width(line.value.text, look::kBodySize) > width - kLabelMargin;
  };
  const bool fits = std::none_of(title_lines_.begin(), title_lines_.end(),
                                 [&](const TitleLine& line) { return is_long(line, kRoomForTitles); });
  if (fits) return false;
  bool grown = false;
  const std::int32_t columns = std::max(text_columns(), kTitleColumns) - 1;
  for (std::int32_t row = 1; const TitleLine& line : title_lines_) {
    const auto cells = worksheet_->range(++row, 2, 1, columns);
    if (!is_long(line, cells->width())) continue;
    grown = grow_row(*cells, line.value.text, look::kBodySize, cells->row_height()) || grown;
    cells->set_merge(true);
    cells->set_wrap_text(true);
  }
  return grown;
}

void ReportSheet::FinishSheet() {
  settle_tables();
  fit_title_block();
  const bool title_grew = wrap_title_lines(), lines_grew = fit_lines();
  if (title_grew || lines_grew) return_charts();
  if (report_pages_) set_up_pages();
  // Where the host cannot show it, it is a report all the same.
  host::ignoring_errors([&] {
    worksheet_->activate();
    worksheet_->range(1, 1, 1, 1)->select();
  });
}

}  // namespace ordvane::layout
