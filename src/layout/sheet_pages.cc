// The printed pages of a report sheet: what it holds as blocks for the page plan, what is repeated on later
// pages, header and footer; and the panes that stay in view.
#include <algorithm>
#include <string>

#include "layout/look.h"
#include "layout/page_plan.h"
#include "layout/report_chart.h"
#include "layout/report_sheet.h"
#include "layout/report_table.h"
#include "layout/text_estimate.h"
#include "text/utf16.h"

namespace ordvane::layout {
namespace {

// Tables longer than this are read by scrolling.
constexpr std::int32_t kLongTableRows = 40;
constexpr double kWideTable = 1000;    // points; wider than a screen
constexpr double kMostFrozen = 450;    // leaves room to scroll in
constexpr std::int32_t kRowsKept = 3;  // of a table, with its captions

constexpr double kPageTextSize = 9;
constexpr double kPageTextGap = 8;             // points between the texts of a page header
constexpr double kMostOfHeader = 0.48;         // of the page's width, for a text beside the file's name
constexpr double kMostOfWatermark = 0.38;      // of the page's width, between the title and the file's name
constexpr std::int32_t kLongestPageText = 60;  // a whole header has 255 characters, formats and all

// A text within the codes of a page header or footer.
std::string page_text(const std::string& text) {
  std::string result;
  for (const char c : text) {
    result += c;
    if (c == '&') result += c;
  }
  return result;
}

// One line, as much of it as fits a width and a header.
std::string one_line(std::string text, double width, bool bold) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  std::string shown = text::shortened(text, kLongestPageText);
  const auto is_long = [&] {
    return estimated_width(shown, kPageTextSize, bold) > width ||
           text::utf16_length(page_text(shown)) > kLongestPageText;
  };
  for (std::int32_t length = kLongestPageText; length > 1 && is_long();)
    shown = text::shortened(text, --length);
  return shown;
}

std::string page_font(const char* style, const std::string& text) {
  return std::string("&9&\"") + look::kFont + "," + style + "\"" + text;
}

}  // namespace

std::vector<ReportSheet::Placed> ReportSheet::placed() {
  std::vector<Placed> result;
  for (const auto& chart : charts_) {
    PrintedBlock block{.row = chart->room_row_, .top = chart->Container()->top(), .is_chart = true};
    block.bottom = block.kept_bottom = block.top + chart->Container()->height();
    result.push_back({block, nullptr});
  }
  for (const auto& table : tables_) {
    const auto first = worksheet_->range(table->first_row_, 1, table->last_row() - table->first_row_ + 1, 1);
    const std::int32_t kept =
        table->body_row() - table->first_row_ + std::min(table->rows_on_sheet(), kRowsKept);
    PrintedBlock block{.row = table->first_row_, .top = first->top()};
    block.bottom = block.top + first->height();
    block.kept_bottom = block.top + first->resize(kept, 1)->height();
    if (table->header_rows_ > 0)
      block.header = table->cells(table->header_row(), 1, table->header_rows_)->height();
    result.push_back({block, table.get()});
  }
  std::sort(result.begin(), result.end(),
            [](const Placed& a, const Placed& b) { return a.block.top < b.block.top; });
  for (const auto& [row, line] : lines_) keep_line(row, result);
  return result;
}

// A line goes with what it stands below.
void ReportSheet::keep_line(std::int32_t row, std::vector<Placed>& blocks) {
  const auto line = worksheet_->range(row, 1, 1, 1);
  const auto below = std::find_if(blocks.begin(), blocks.end(),
                                  [&](const Placed& item) { return item.block.top > line->top(); });
  if (below == blocks.begin()) return;
  PrintedBlock& block = std::prev(below)->block;
  if (block.kept_bottom == block.bottom) block.kept_bottom = line->top() + line->height();
  block.bottom = line->top() + line->height();
}

// The first columns of the sheet that say what a row is, as many as may be kept; 0 where they take too much.
ReportSheet::Kept ReportSheet::kept_columns(double most) {
  if (tables_.empty()) return {};
  const ReportTable& table = *tables_.front();
  for (const std::int32_t columns : {table.identity_columns_, table.least_identity_columns_}) {
    const double width = worksheet_->range(1, 1, 1, columns)->width();
    if (width <= most) return {columns, width};
  }
  return {};
}

// Header rows are repeated where their table goes on over the end of a page. Tables without headers of their
// own go on under those of the one above. Of several such tables, the pages of the last one are right.
host::Span ReportSheet::repeated_rows(const std::vector<Placed>& blocks, const PagePlan& plan) {
  const ReportTable* headed = nullptr;
  host::Span rows;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const ReportTable* table = blocks[i].table;
    if (table == nullptr) continue;
    const bool continues = table->header_rows_ < 1;
    if (!continues) headed = table;
    const auto& breaks = plan.row_breaks;
    const bool breaks_before = std::find(breaks.begin(), breaks.end(), table->first_row_) != breaks.end();
    if (headed != nullptr && (plan.goes_on[i] || (continues && breaks_before)))
      rows = {headed->header_row(), headed->body_row() - 1};
  }
  return rows;
}

// Left the report's title, in the middle the watermark, right the file's name, none of them over another as
// long as that name has a usual length.
void ReportSheet::set_page_texts(host::PageSetup& setup) {
  const double width = printable_width(setup.landscape);
  const auto& watermark = session_.watermark;
  double title_width = kMostOfHeader * width;
  if (!watermark.text.empty()) {
    const std::string first = one_line(watermark.primary, kMostOfWatermark * width, false);
    const std::string second = one_line(watermark.secondary, kMostOfWatermark * width, false);
    setup.center_header = page_font("Regular", "&K808080" + page_text(first));
    if (!second.empty()) setup.center_header += "\n" + page_text(second);
    const double widest =
        std::max(estimated_width(first, kPageTextSize), estimated_width(second, kPageTextSize));
    title_width = (width - widest) / 2 - kPageTextGap;
  }
  setup.left_header = page_font("Bold", page_text(one_line(title_, title_width, true)));
  setup.right_header = page_font("Regular", "&F");
  setup.center_footer = page_font("Regular", "&P / &N");
}

// Only a table that has the sheet to itself can be scrolled below its headers.
void ReportSheet::freeze_headers(double width) {
  if (tables_.empty() || !charts_.empty()) return;
  std::int32_t rows = 0;
  std::int32_t headers = 0;
  for (const auto& table : tables_) {
    if (table->header_rows_ > 0) ++headers;
    rows += table->rows();
  }
  if (headers > 1 || rows <= kLongTableRows) return;
  worksheet_->freeze_panes(tables_.front()->body_row() - 1,
                           width > kWideTable ? kept_columns(kMostFrozen).columns : 0);
}

// What pages side by side repeat, and the blocks of columns they may begin with, by their first columns.
std::vector<std::int32_t> ReportSheet::repeat_columns(PrintedSheet& sheet, host::PageSetup& setup) {
  std::vector<std::int32_t> column_blocks;
  if (!tables_.empty()) column_blocks = tables_.front()->column_blocks_;
  const Kept repeated =
      kept_columns(column_blocks.empty() ? kMostRepeated * kPageWidth : kMostRepeatedBesideBlocks);
  sheet.repeated_columns = repeated.width;
  if (repeated.columns > 0) setup.print_title_columns = {1, repeated.columns};
  std::erase_if(column_blocks, [&](std::int32_t column) { return column <= repeated.columns; });
  for (const std::int32_t column : column_blocks)
    sheet.column_blocks.push_back(worksheet_->range(1, column, 1, 1)->left());
  return column_blocks;
}

void ReportSheet::set_up_pages() {
  const std::vector<Placed> blocks = placed();
  PrintedSheet sheet;
  sheet.width = used_width();
  for (const Placed& item : blocks) sheet.blocks.push_back(item.block);
  host::PageSetup setup;
  std::vector<std::int32_t> column_blocks;
  if (sheet.width > kPageWidth) column_blocks = repeat_columns(sheet, setup);
  const PagePlan plan = plan_pages(sheet);
  setup.landscape = plan.landscape;
  if (plan.scale > 0)
    setup.scale = plan.scale;
  else
    setup.fit_to_pages_wide = plan.pages_wide;
  for (const std::size_t block : plan.column_breaks) setup.column_breaks.push_back(column_blocks[block]);
  if (!setup.column_breaks.empty()) tables_.front()->part_headings(setup.column_breaks);
  setup.row_breaks = plan.row_breaks;
  setup.print_title_rows = repeated_rows(blocks, plan);
  set_page_texts(setup);
  host::ignoring_errors([&] { freeze_headers(sheet.width); });
  // Without a printer a spreadsheet may refuse what concerns paper; the report is there all the same.
  host::ignoring_errors([&] { worksheet_->set_page_setup(setup); });
}

}  // namespace ordvane::layout
