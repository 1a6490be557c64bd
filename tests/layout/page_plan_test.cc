// Pages as the spreadsheet fills them, row by row, on both papers: no chart may lie on two of them.
#include "layout/page_plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace ordvane::layout {
namespace {

constexpr double kRow = 15;
constexpr std::int32_t kTitleRows = 5;

struct Item {
  bool is_chart;
  double size;  // points of a chart, rows of a table
};
Item chart(double points) {
  return {true, points};
}
Item table(double rows) {
  return {false, rows};
}

struct PlanCase {
  const char* what;
  double width;
  std::vector<Item> items;
  bool landscape;
  std::int32_t pages_wide;  // 0: one, at a scale
  std::size_t breaks;
  bool cut = false;      // the chart is higher than any page
  bool legible = false;  // texts of 9 points come out at 7
};

const std::vector<Item> kManyCharts(24, chart(300));
std::vector<Item> with_table(std::vector<Item> items, double rows) {
  items.push_back(table(rows));
  return items;
}

const PlanCase kPlanCases[] = {
    {"a short table", 400, {table(12)}, false, 1, 0},
    {"a long table", 400, {table(500)}, false, 1, 0},
    {"a chart with its table", 570, {chart(550), table(20)}, false, 1, 1},
    {"a table at the foot of a page", 500, {chart(500), table(20)}, false, 1, 1},
    {"many charts on a narrow sheet", 420, with_table(kManyCharts, 130), false, 1, 12},
    {"nearly three charts to a page", 690, with_table(kManyCharts, 130), false, 0, 8},
    {"many charts on a wide sheet", 880, with_table(kManyCharts, 130), false, 1, 7},
    {"many charts on one that lies down", 950, with_table(kManyCharts, 130), true, 0, 12},
    {"a chart as high as a page", 520, {chart(640), table(25)}, false, 0, 1},
    {"the highest tornado", 420, {chart(484), table(32)}, false, 1, 1, false, true},
    {"the highest one, with a wide table", 750, {chart(484), table(32)}, true, 0, 1, false, true},
    {"a wide tornado of few bars", 800, {chart(220), table(5)}, true, 1, 0, false, true},
    {"a chart too high for a low page", 1000, {chart(900), table(5)}, false, 1, 0},
    {"a chart higher than any page", 420, {chart(2000), chart(300)}, false, 1, 1, true},
    {"a chart below a long table", 570, {table(200), chart(300)}, false, 1, 1},
    {"a long table below another", 600, {table(200), table(200)}, false, 1, 1},
    {"wide, on several pages", 3000, {table(12), table(200)}, true, 3, 0},
};

std::vector<PrintedBlock> blocks_of(const std::vector<Item>& items) {
  constexpr std::int32_t kHeaderRows = 3;
  std::vector<PrintedBlock> blocks;
  std::int32_t row = kTitleRows + 1;
  for (const Item& item : items) {
    PrintedBlock block{.row = row, .top = (row - 1) * kRow, .is_chart = item.is_chart};
    const double rows = block.is_chart ? std::ceil(item.size / kRow) : item.size + kHeaderRows;
    block.bottom = block.top + (block.is_chart ? item.size : rows * kRow);
    block.kept_bottom = block.is_chart ? block.bottom : block.top + std::min(rows, kHeaderRows + 3.0) * kRow;
    if (!block.is_chart) block.header = kHeaderRows * kRow;
    blocks.push_back(block);
    row += static_cast<std::int32_t>(rows) + 1;
  }
  return blocks;
}

struct Paper {
  const char* name;
  double width, height;
};
constexpr Paper kPapers[] = {{"A4", 595.3, 841.9}, {"Letter", 612, 792}};

// What the print comes out at, if columns do on paper so many times as wide as on the screen.
double scale_on(const Paper& paper, const PrintedSheet& sheet, const PagePlan& plan, double wider = 1) {
  const double width = (plan.landscape ? paper.height : paper.width) - 2 * 0.7 * 72;
  return plan.scale > 0 ? plan.scale / 100.0 : std::min(1.0, plan.pages_wide * width / (wider * sheet.width));
}

// By row, from 0: the page it is printed on.
std::vector<int> pages_of_rows(const PrintedSheet& sheet, const PagePlan& plan, const Paper& paper) {
  const double height = (plan.landscape ? paper.width : paper.height) - 2 * 0.75 * 72;
  const double scale = scale_on(paper, sheet, plan);
  const double last = std::ceil(sheet.blocks.back().bottom / kRow);
  std::vector<int> pages;
  for (double used = 0; static_cast<double>(pages.size()) < last;) {
    const auto row = static_cast<std::int32_t>(pages.size()) + 1;
    const bool begins = std::count(plan.row_breaks.begin(), plan.row_breaks.end(), row) > 0;
    int page = pages.empty() ? 1 : pages.back();
    used += kRow * scale;
    if (begins || used > height) used = kRow * scale, ++page;
    pages.push_back(page);
  }
  return pages;
}

int page_at(const std::vector<int>& pages, double height) {
  return pages.at(static_cast<std::size_t>(std::ceil(height / kRow)) - 1);
}

TEST(PagePlan, KeepsChartsWhole) {
  for (const PlanCase& c : kPlanCases) {
    PrintedSheet sheet{.width = c.width, .repeated_columns = 0, .blocks = blocks_of(c.items)};
    const PagePlan plan = plan_pages(sheet);
    SCOPED_TRACE(c.what);
    EXPECT_EQ(plan.landscape, c.landscape);
    EXPECT_EQ(plan.pages_wide, std::max(c.pages_wide, 1));
    EXPECT_EQ(plan.scale > 0, c.pages_wide == 0);
    if (plan.scale > 0) {
      EXPECT_LE(1.1 * c.width * plan.scale / 100, printable_width(plan.landscape)) << "columns may be wider";
    }
    EXPECT_EQ(plan.row_breaks.size(), c.breaks) << testing::PrintToString(plan.row_breaks);
    EXPECT_THAT(plan.row_breaks, testing::Not(testing::Contains(sheet.blocks.front().row)))
        << "the title block would be alone";
    for (const Paper& paper : kPapers) {
      SCOPED_TRACE(paper.name);
      if (c.legible) {
        EXPECT_GE(9 * scale_on(paper, sheet, plan, 1.1), 7);
      }
      const std::vector<int> pages = pages_of_rows(sheet, plan, paper);
      for (std::size_t i = 0; i < sheet.blocks.size(); ++i) {
        const PrintedBlock& block = sheet.blocks[i];
        const int first = page_at(pages, block.top + kRow);
        EXPECT_TRUE(c.cut || page_at(pages, block.kept_bottom) == first) << "row " << block.row;
        EXPECT_TRUE(plan.goes_on[i] || page_at(pages, block.bottom) == first) << "row " << block.row;
      }
    }
  }
}

TEST(PagePlan, CountsWhatEveryPageRepeats) {
  const auto pages = [](double width, double repeated) {
    return plan_pages({.width = width, .repeated_columns = repeated, .blocks = {}}).pages_wide;
  };
  EXPECT_EQ(pages(kPageWidth, 500), 1);
  EXPECT_EQ(pages(2 * kPageWidth, 0), 2);
  EXPECT_EQ(pages(2 * kPageWidth, 100), 3);
  EXPECT_EQ(pages(2 * kPageWidth - 100, 100), 2);
}

// Columns as pages side by side take them, on the narrower paper, each a tenth wider than on the screen.
TEST(PagePlan, KeepsBlocksOfColumnsWhole) {
  const struct {
    const char* what;
    double before;               // width of the columns before the blocks
    double repeated;             // of them
    std::vector<double> blocks;  // widths
    std::vector<std::size_t> breaks;
  } kCases[] = {
      {"as wide as one page", 300, 300, {300, 300, 300}, {}},
      {"evenly", 300, 300, std::vector<double>(8, 150), {4}},
      {"the first page has the columns that are not repeated", 400, 100, std::vector<double>(8, 150), {3}},
      {"a block as wide as others together", 200, 200, {600, 150, 150, 150, 600}, {1, 4}},
      {"a block wider than a page", 200, 200, {150, 1600, 150}, {1, 2}},
      {"many pages",
       200,
       200,
       std::vector<double>(80, 150),
       {5, 10, 15, 20, 25, 30, 35, 40, 45, 50, 55, 60, 65, 70, 75}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    PrintedSheet sheet{.width = c.before, .repeated_columns = c.repeated, .blocks = {}};
    for (const double width : c.blocks) {
      sheet.column_blocks.push_back(sheet.width);
      sheet.width += width;
    }
    const PagePlan plan = plan_pages(sheet);
    EXPECT_EQ(plan.column_breaks, c.breaks);
    EXPECT_EQ(plan.pages_wide, static_cast<std::int32_t>(c.breaks.size()) + 1);
    EXPECT_EQ(plan.scale > 0, !c.breaks.empty()) << "what is fitted would be broken anywhere";
    constexpr double kLetterWidth = 792 - 2 * 0.7 * 72;
    std::vector<std::size_t> ends = plan.column_breaks;
    ends.push_back(c.blocks.size());
    for (std::size_t page = 0, first = 0; plan.scale > 0 && page < ends.size(); first = ends[page++]) {
      double width = page == 0 ? c.before : c.repeated;
      for (std::size_t block = first; block < ends[page]; ++block) width += c.blocks[block];
      EXPECT_LE(1.1 * width * plan.scale / 100, kLetterWidth) << "page " << page + 1;
    }
  }
}

// A page upright takes 656 points.
const struct {
  const char* what;
  std::vector<PrintedBlock> blocks;  // row, top, bottom, what is kept, header
  std::vector<std::int32_t> breaks;
  std::vector<bool> goes_on;
} kBreakCases[] = {
    {"a table may go on", {{1, 20, 700, 80, 45}}, {}, {true}},
    {"one at the foot does not", {{1, 20, 600, 80, 45}, {40, 620, 900, 680, 45}}, {40}, {false, false}},
    {"it does where its first rows fit", {{1, 20, 600, 80, 45}, {40, 610, 900, 650, 45}}, {}, {false, true}},
    {"the first block stays with the title", {{4, 60, 900, 700, 0}}, {}, {true}},
    {"headers take room",
     {{1, 0, 100, 60, 100}, {10, 120, 700, 700, 0}, {50, 710, 730, 720, 0}},
     {10, 50},
     {false, true, false}},
    {"and go on being repeated",
     {{1, 0, 100, 60, 100}, {10, 120, 200, 140, 0}, {20, 220, 800, 800, 0}},
     {20},
     {false, false, true}},
};

TEST(PagePlan, BreaksBeforeWhatWouldBeParted) {
  for (const auto& c : kBreakCases) {
    SCOPED_TRACE(c.what);
    const PagePlan plan = plan_pages({.width = 400, .repeated_columns = 0, .blocks = c.blocks});
    EXPECT_EQ(plan.row_breaks, c.breaks);
    EXPECT_EQ(plan.goes_on, c.goes_on);
  }
}

}  // namespace
}  // namespace ordvane::layout
