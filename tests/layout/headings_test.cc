// Headings of every report in every language, measured with the metrics of their font.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "embedded/report_job.h"
#include "environment/standard_environment.h"
#include "layout/look.h"
#include "layout/text_estimate.h"
#include "office/office.h"
#include "support/snapshot.h"

namespace ordvane::layout {
namespace {

constexpr double kPadding = 3.75;  // points that the grid keeps free in a cell

double points_of(const office::SheetModel& sheet, std::int32_t column) {
  const auto found = sheet.columns.find(column);
  const bool has_own = found != sheet.columns.end() && found->second.width;
  return office::column_pixels(has_own ? *found->second.width : office::kDefaultColumnWidth) * 0.75;
}

double width_of(const office::SheetModel& sheet, std::int32_t row, std::int32_t column) {
  office::Area area{row, column, 1, 1};
  for (const office::Area& merged : sheet.merges)
    if (merged.row == row && merged.column == column) area = merged;
  double width = 0;
  for (std::int32_t i = 0; i < area.columns; ++i) width += points_of(sheet, area.column + i);
  return width;
}

// The widest piece of a text that no line break of the spreadsheet's own parts, in the font's metrics.
double measured_word(const std::string& text, const office::CellStyle& style) {
  double widest = 0;
  std::string word;
  for (const char c : text + " ") {
    if (c != ' ' && c != '\n') {
      word += c;
      continue;
    }
    if (widest_word(word, 1) == estimated_width(word, 1))  // not one that breaks anywhere
      widest = std::max(widest, office::text_width(word, style.font_name, style.font_size, style.bold));
    word.clear();
  }
  return widest;
}

TEST(Headings, BreakBetweenWordsOnly) {
  using embedded::ReportOptions;
  const std::string runs = std::string(ORDVANE_SOURCE_DIR) + "/";
  for (const char* file :
       {"tests/end_to_end/runs/odd-values.run.json", "tests/end_to_end/runs/three-simulations.run.json"}) {
    const auto run = std::make_shared<const runfile::Run>(runfile::read_run(runs + file));
    for (const std::string& language : environment::languages()) {
      ReportOptions options;
      options.output_detail = options.detail_by_input = options.multi_way = true;
      options.language = language;
      const auto book = embedded::make_reports(run, options);
      const test::BookReader reader(*book);
      std::size_t headings = 0;
      for (const auto& sheet : book->sheets)
        for (const office::RowBand& band : sheet->bands)
          for (std::size_t at = 0; at < band.cells.size(); ++at) {
            const office::CellStyle& style = book->styles.at(band.style(at));
            if (!style.wrap || style.fill != look::kHeaderTint ||
                band.cells[at].kind() != host::CellKind::kText)
              continue;
            const auto row = band.first_row + static_cast<std::int32_t>(at) / band.columns;
            const auto column = band.first_column + static_cast<std::int32_t>(at) % band.columns;
            const std::string text = reader.value(*sheet, row, column).text;
            ++headings;
            EXPECT_LE(measured_word(text, style) + kPadding, width_of(*sheet, row, column))
                << language << ", " << sheet->name << ", row " << row << ", column " << column << ": "
                << text;
          }
      EXPECT_GT(headings, 50U) << file;
    }
  }
}

}  // namespace
}  // namespace ordvane::layout
