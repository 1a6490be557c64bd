#include "layout/page_plan.h"

#include <algorithm>
#include <cmath>

namespace ordvane::layout {
namespace {

constexpr double kPortraitWidth = 680;   // points that still read well on an upright page
constexpr double kPortraitCharts = 900;  // charts make a sheet tall; they are worth smaller print
// What makes the texts of 9 points that graphs and tables have 7 points high.
constexpr double kLegibleScale = 7.0 / 9;
constexpr double kLeastScale = 0.5;
constexpr double kLeastScaleForMore = 0.6;  // to get one chart more on a page
constexpr double kWorthwhile = 0.88;        // of the scale that fits the width, for the same

// Inches to points, less the spreadsheet's usual margins.
constexpr double kPointsPerInch = 72;
constexpr double kSideMargins = 2 * 0.7 * kPointsPerInch;
constexpr double kTopAndBottom = 2 * 0.75 * kPointsPerInch;
constexpr double kA4Short = 595.3, kA4Long = 841.9;
constexpr double kLetterShort = 612, kLetterLong = 792;

constexpr double kReserve = 0.96;       // of a page's height
constexpr double kColumnReserve = 0.9;  // of a page's width: columns may come out wider on paper

constexpr double kBlocksScale = 0.6;       // blocks of columns are printed no smaller, as long as one fits
constexpr std::size_t kMostBreaks = 1000;  // that a spreadsheet takes

// The wider of the papers, on which the print is largest.
double widest(bool landscape) {
  return (landscape ? kA4Long : kLetterShort) - kSideMargins;
}

double lowest(bool landscape) {
  return (landscape ? kA4Short : kLetterLong) - kTopAndBottom;
}

std::int32_t pages_side_by_side(const PrintedSheet& sheet) {
  if (sheet.width <= kPageWidth) return 1;
  const double repeated = std::min(sheet.repeated_columns, kMostRepeated * kPageWidth);
  return static_cast<std::int32_t>(std::ceil((sheet.width - repeated) / (kPageWidth - repeated)));
}

// Pages side by side that begin with blocks of columns.
struct PagesOfBlocks {
  std::vector<std::size_t> begins;  // the first block of each page but the first one
  double widest = 0;                // with what is repeated on it
};

// As many blocks on a page as its width takes, but one at least.
PagesOfBlocks fill_pages(const PrintedSheet& sheet, double page_width) {
  PagesOfBlocks pages;
  double left = 0, repeated = 0;  // of the page at work
  std::size_t first = 0;
  const std::vector<double>& lefts = sheet.column_blocks;
  for (std::size_t i = 0; i < lefts.size(); ++i) {
    const double right = i + 1 < lefts.size() ? lefts[i + 1] : sheet.width;
    if (i > first && repeated + right - left > page_width) {
      pages.begins.push_back(i);
      first = i;
      left = lefts[i];
      repeated = sheet.repeated_columns;
    }
    pages.widest = std::max(pages.widest, repeated + right - left);
  }
  return pages;
}

// The narrowest pages of which there are as few as of such wide ones.
PagesOfBlocks even_pages(const PrintedSheet& sheet, double page_width) {
  constexpr double kEvenEnough = 1;  // point
  PagesOfBlocks pages = fill_pages(sheet, page_width);
  for (double too_narrow = 0; pages.widest - too_narrow > kEvenEnough;) {
    const double width = (too_narrow + pages.widest) / 2;
    PagesOfBlocks narrower = fill_pages(sheet, width);
    if (narrower.begins.size() == pages.begins.size() && narrower.widest < pages.widest)
      pages = std::move(narrower);
    else
      too_narrow = width;
  }
  return pages;
}

void break_columns(const PrintedSheet& sheet, PagePlan& plan) {
  const double width = kColumnReserve * printable_width(plan.landscape);
  const PagesOfBlocks pages = even_pages(sheet, width / kBlocksScale);
  if (pages.begins.size() > kMostBreaks) return;
  plan.column_breaks = pages.begins;
  plan.pages_wide = static_cast<std::int32_t>(pages.begins.size()) + 1;
  plan.scale = static_cast<std::int32_t>(100 * std::clamp(width / pages.widest, 0.1, 1.0));
}

// The largest scale at which a sheet is printed that is fitted to its pages.
double fitted_scale(const PrintedSheet& sheet, const PagePlan& plan) {
  const double width = sheet.width + (plan.pages_wide - 1) * sheet.repeated_columns;
  return std::min(1.0, plan.pages_wide * widest(plan.landscape) / std::max(width, 1.0));
}

// The highest that a chart needs, with the title block where it is the first thing below that.
double needed_height(const std::vector<PrintedBlock>& blocks) {
  double needed = 0;
  for (const PrintedBlock& block : blocks)
    if (block.is_chart)
      needed = std::max(needed, block.kept_bottom - (&block == &blocks.front() ? 0 : block.top));
  return needed;
}

// The height of one chart more than a page of this scale takes, where only a little smaller print gains that;
// else 0.
double height_of_more_charts(const std::vector<PrintedBlock>& blocks, double scale, double page) {
  for (std::size_t first = 1, last = first; last < blocks.size() && blocks[last].is_chart; ++last) {
    const double height = blocks[last].bottom - blocks[first].top;
    if (height * scale <= page) continue;
    const double smaller = page / height;
    return smaller >= kLeastScaleForMore && smaller >= kWorthwhile * scale ? height : 0;
  }
  return 0;
}

// The scale that fits the print to the width of its pages, or a smaller one that the plan sets, at which a
// page takes its highest chart, or one chart more.
double choose_scale(const PrintedSheet& sheet, PagePlan& plan) {
  const double fitted = fitted_scale(sheet, plan);
  const double height = kReserve * lowest(plan.landscape);
  const double needed =
      std::max(needed_height(sheet.blocks), height_of_more_charts(sheet.blocks, fitted, height));
  const double scale = height / needed;
  if (plan.pages_wide > 1 || needed * fitted <= height || scale < kLeastScale) return fitted;
  const double width = kColumnReserve * printable_width(plan.landscape) / sheet.width;
  plan.scale = static_cast<std::int32_t>(100 * std::min(scale, width));
  return plan.scale / 100.0;
}

// What follows a block that goes on over the end of a page begins a page: where that end comes depends on the
// paper.
void break_rows(const std::vector<PrintedBlock>& blocks, double height, PagePlan& plan) {
  double page_top = 0, room = height;
  double header = 0;  // that pages from here on repeat
  for (const PrintedBlock& block : blocks) {
    const bool is_first = &block == &blocks.front();  // stays with the title block
    if (!is_first && block.top > page_top && block.kept_bottom - page_top > room) {
      plan.row_breaks.push_back(block.row);
      page_top = block.top;
      room = height - header;
    }
    plan.goes_on.push_back(block.bottom - page_top > room);
    header = std::max(header, block.header);
  }
}

// What the print comes out at on the paper that makes it smallest; of a sheet one page wide.
double least_scale(const PrintedSheet& sheet, const PagePlan& plan) {
  if (plan.scale > 0) return plan.scale / 100.0;
  return std::min(1.0, kColumnReserve * printable_width(plan.landscape) / sheet.width);
}

PagePlan laid_out(const PrintedSheet& sheet, bool landscape) {
  PagePlan plan;
  plan.landscape = landscape;
  plan.pages_wide = pages_side_by_side(sheet);
  if (plan.pages_wide > 1 && !sheet.column_blocks.empty()) break_columns(sheet, plan);
  const double scale = plan.scale > 0 ? plan.scale / 100.0 : choose_scale(sheet, plan);
  break_rows(sheet.blocks, kReserve * lowest(plan.landscape) / scale, plan);
  return plan;
}

bool cuts_chart(const PrintedSheet& sheet, const PagePlan& plan) {
  for (std::size_t i = 0; i < sheet.blocks.size(); ++i)
    if (sheet.blocks[i].is_chart && plan.goes_on[i]) return true;
  return false;
}

// A graph with its table is printed upright as long as that can be read, else whichever way is larger.
PagePlan laid_out_for_graph(const PrintedSheet& sheet) {
  PagePlan upright = laid_out(sheet, false), lying = laid_out(sheet, true);
  if (lying.pages_wide > 1) return lying;
  if (least_scale(sheet, upright) >= kLegibleScale) return upright;
  const bool larger = least_scale(sheet, lying) > least_scale(sheet, upright);
  if (larger && !cuts_chart(sheet, lying)) return lying;
  return upright;
}

}  // namespace

double printable_width(bool landscape) {
  return (landscape ? kLetterLong : kA4Short) - kSideMargins;
}

PagePlan plan_pages(const PrintedSheet& sheet) {
  const auto charts = std::count_if(sheet.blocks.begin(), sheet.blocks.end(),
                                    [](const PrintedBlock& block) { return block.is_chart; });
  if (charts == 1) return laid_out_for_graph(sheet);
  return laid_out(sheet, sheet.width > (charts > 0 ? kPortraitCharts : kPortraitWidth));
}

}  // namespace ordvane::layout
