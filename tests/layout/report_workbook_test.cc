// Report workbooks and sheets on the embedded spreadsheet: names, places, notes, print set-up.
#include "layout/report_workbook.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "layout/layout_bench.h"
#include "layout/point_chart.h"
#include "layout/report_table.h"

namespace ordvane::layout {
namespace {

using testing::ElementsAre;

TEST(ReportWorkbook, IsANewWorkbookWithoutEmptySheets) {
  test::TablesBench bench;
  auto reports = bench.reports();
  reports.SetExcelReady(true);
  EXPECT_EQ(reports.workbook(), nullptr);
  reports.ReportsComplete();  // nothing was added, nothing to complete
  EXPECT_EQ(bench.app->active_workbook(), nullptr);
  for (const char* name : {"Tornado", "Spider"}) reports.AddSheet(name)->AddTitleBlock("What moves it", {});
  reports.ReportsComplete();
  const auto& book = bench.model(reports);
  EXPECT_THAT(test::sheet_names(book), ElementsAre("Tornado", "Spider"));
  EXPECT_EQ(book.active_sheet, 0U);
  EXPECT_EQ(book.properties.title, "Ordvane");
  EXPECT_EQ(book.properties.subject, "What moves it");
}

TEST(ReportWorkbook, ManySheetsGetAListOfThemWithLinks) {
  for (const std::size_t sheets : {6U, 7U}) {
    test::TablesBench bench;
    ReportWorkbook reports(bench.session, "Ordvane", nullptr, nullptr, 0);
    reports.SetExcelReady(true);
    for (std::size_t i = 1; i <= sheets; ++i)
      reports.AddSheet("It's \"" + std::to_string(i) + "\"")
          ->AddTitleBlock("Report " + std::to_string(i),
                          {{bench.session.text(text_id::kLabelWorkbook), "plan.xlsx"},
                           {bench.session.text(text_id::kLabelOutput), "Profit (B2)"}});
    reports.ReportsComplete();
    const auto names = test::sheet_names(bench.model(reports));
    if (sheets == 6) {
      EXPECT_EQ(names.size(), sheets);
      continue;
    }
    ASSERT_EQ(names.size(), sheets + 1);
    const auto contents = reports.workbook()->worksheets().front();
    EXPECT_EQ(names[1], "It's \"1\"");
    EXPECT_EQ(bench.app->active_sheet()->name(), contents->name());
    EXPECT_EQ(contents->range("A4")->formula(), "=HYPERLINK(\"#'It''s \"\"1\"\"'!A1\",\"It's \"\"1\"\"\")");
    EXPECT_EQ(contents->range("A10")->value().text, "It's \"7\"");
    EXPECT_EQ(contents->range("B10")->value().text, "Report 7");
    EXPECT_EQ(contents->range("C10")->value().text, "Profit (B2)");
    EXPECT_EQ(bench.model(reports).properties.title, "<243: plan.xlsx>");
    EXPECT_EQ(bench.model(reports).properties.subject, "Profit (B2)");
  }
}

const struct {
  const char* what;
  bool overwrite;
  std::vector<std::string> there, wanted, result;
} kNameCases[] = {
    {"after what is there", false, {"Model"}, {"Summary"}, {"Model", "Summary"}},
    {"taken names, case ignored",
     false,
     {"summary", "Summary (2)"},
     {"Summary", "Summary"},
     {"summary", "Summary (2)", "Summary (3)", "Summary (4)"}},
    {"31 units",
     false,
     {"A name of thirty-one characters"},
     {"A name of thirty-one characters, and more"},
     {"A name of thirty-one characters", "A name of thirty-one charac (2)"}},
    {"characters",
     false,
     {"Model"},
     {"123456789012345678901234567890😀"},
     {"Model", "123456789012345678901234567890"}},
    {"overwriting replaces", true, {"Model", "Summary"}, {"Summary"}, {"Model", "Summary"}},
    {"overwriting the only sheet", true, {"Summary"}, {"Summary"}, {"Summary"}},
    {"reports of this run are not overwritten",
     true,
     {"Model", "Tornado (2)"},
     {"Tornado", "Tornado"},
     {"Model", "Tornado", "Tornado (2)"}},
};

TEST(ReportWorkbook, FindsFreeSheetNames) {
  for (const auto& c : kNameCases) {
    SCOPED_TRACE(c.what);
    test::TablesBench bench;
    const auto target = bench.open("plant.xlsx", c.there);
    auto reports = bench.reports(target);
    if (c.overwrite) reports.OverwriteExisting();
    for (const std::string& name : c.wanted) reports.AddSheet(name)->AddTitleBlock("new", {});
    reports.ReportsComplete();
    const auto& book = bench.model(reports);
    EXPECT_EQ(test::sheet_names(book), c.result);
    const test::BookReader reader(book);
    for (std::size_t i = 1; i <= c.wanted.size(); ++i)
      EXPECT_EQ(reader.value(*book.sheets[book.sheets.size() - i], 1, 1).text, "new");
    EXPECT_EQ(book.properties.title, "") << "the user's workbook keeps its properties";
  }
}

TEST(ReportWorkbook, LeavesNoSheetBehindWhenItsNameIsRefused) {
  test::TablesBench bench;
  auto reports = bench.reports(bench.open("plant.xlsx", {"Model"}));
  EXPECT_THROW(reports.AddSheet("no/slash"), host::Error);
  EXPECT_THAT(test::sheet_names(bench.model(reports)), ElementsAre("Model"));
}

constexpr const char* kLaidOut =
    R"(== Sheet
A1 "Report"
A2 "Workbook"  B2 "1-2"
A3 "Base"  B3 1234.5 {#,##0.0}
A5 "Caption"
A6 "Subcaption"
A7 "Group"
A8 "Item"  B8 "Value"  C8 "Percent change of the value"
A9 "first"  B9 1 {0.00}  C9 10
A10 "second"  B10 2 {0.00}  C10 20
A12 "Second table"
A13 "Only header"
A16 "below"
note at C8 "<116>:
About a column."
note at B10 "Note:
About a value.
And more."
)";

TEST(ReportSheet, PlacesBlocksOneBelowAnother) {
  test::SheetBench bench;
  const auto sheet = bench.sheet;
  sheet->AddTitleBlock("Report", {{"Workbook", "1-2"}, {"Base", 1234.5, "#,##0.0"}});
  const auto table = sheet->AddTable(2, 2, 2, 1, "Caption", "Subcaption");
  table->CornerRange()->set_value("Group");
  std::vector<Column> columns = {figure_column("Value"), figure_column("Percent change of the value")};
  columns[1].note = "About a column.";
  table->SetColumns(columns);
  table->SetRowHeader(1, 1, "first");
  table->SetRowHeader(1, 2, "second");
  sheet->SheetWorksheet()->range("A8")->set_value("Item");
  host::CellBlock body(2, 2);
  for (std::int32_t row = 1; row <= 2; ++row)
    for (std::int32_t column = 1; column <= 2; ++column)
      body.set_number(row, column, row * (column == 1 ? 1 : 10));
  table->PutBody(1, body);
  table->FormatBody(1, 2, 1, "0.00");
  table->AddTableNote(2, 1, "Note", "About a value.");
  sheet->AddCellNote(*table->Body(2, 1), "Note", "And more.");
  const auto empty = sheet->AddTable(0, 1, 1, 0, "Second table", "");
  empty->SetColumns({name_column("Only header")});
  sheet->NextCell()->set_value("below");
  sheet->FinishSheet();

  EXPECT_EQ(table->BodyRange()->address(false, false), "B9:C10");
  EXPECT_EQ(table->HeaderRowRange(0)->address(false, false), "B7:C8");
  EXPECT_EQ(table->ColumnHeaderRange(0)->column(), 1);
  EXPECT_EQ(empty->BodyRange()->address(false, false), "A14");
  const auto& model = bench.drawn();
  EXPECT_EQ(test::sheet_text(*bench.kept, model), kLaidOut);
  EXPECT_FALSE(model.gridlines);
  EXPECT_GE(model.columns.at(1).width.value_or(0), kNameColumnWidth);
  EXPECT_LT(model.columns.at(3).width.value_or(99), 16) << "a long caption wraps";
  EXPECT_GT(model.row_heights.at(8), 30) << "and its row holds all its lines";
}

// The second column's contents need no other width than it has, which must not fit it again.
TEST(ReportTable, ColumnsFittedTogetherAreNotFittedAgain) {
  test::SheetBench bench;
  const auto table = bench.sheet->AddTable(1, 2, 1, 0, "", "");
  table->SetColumns({layout::figure_column("a"), layout::figure_column("b")});
  host::CellBlock body(1, 2);
  body.set_number(1, 1, 123456789012);
  const double before = table->Body(1, 2)->column_width();
  table->PutBody(1, body);
  table->FitColumns(1, 2);
  const double first = table->Body(1, 1)->column_width();
  bench.sheet->FinishSheet();
  EXPECT_GT(first, before);
  EXPECT_EQ(table->Body(1, 1)->column_width(), first);
  EXPECT_EQ(table->Body(1, 2)->column_width(), before);
}

TEST(ReportTable, NameColumnsGrowWithTheirNamesWithinReason) {
  struct Case {
    std::size_t length;
    double least, most;
  };
  for (const Case& c : {Case{4, 22, 22.5}, Case{36, 30, 40}, Case{400, 40, 44}}) {
    test::SheetBench bench;
    const auto sheet = bench.sheet;
    const auto table = sheet->AddTable(2, 2, 1, 0, "", "");
    table->SetColumns({name_column("Name")});
    host::CellBlock body(2, 2);
    body.set_text(1, 1, std::string(c.length, 'e'));
    body.set_text(1, 2, std::string(400, 'e'));
    table->PutBody(1, body);
    table->Body(1, 1, 2)->set_merge(true);  // what the spreadsheet's own fitting does not see
    sheet->FinishSheet();
    const double width = bench.drawn().columns.at(1).width.value_or(0);
    EXPECT_GE(width, c.least);
    EXPECT_LE(width, c.most);
  }
}

TEST(ReportSheet, GivesTheRoomOfARemovedChartBack) {
  test::SheetBench bench;
  const auto sheet = bench.sheet;
  sheet->AddTitleBlock("Report", {});
  const std::int32_t first = sheet->NextCell()->row();
  const auto chart = sheet->AddPointChart(428, 300);
  EXPECT_EQ(sheet->NextCell()->row(), first + 21);
  EXPECT_EQ(chart->Container()->top(), sheet->SheetWorksheet()->range(first, 1, 1, 1)->top() + 0.75)
      << "the frame's width below, so that none of it is printed on the page before";
  sheet->RemoveChart(chart);
  EXPECT_EQ(sheet->NextCell()->row(), first);

  const auto above = sheet->AddPointChart(428, 300);
  const double top = above->Container()->top();
  sheet->AddTable(3, 1, 1, 0, "", "");
  const std::int32_t next = sheet->NextCell()->row();
  sheet->RemoveChart(above);
  EXPECT_EQ(sheet->AddPointChart(428, 300)->Container()->top(), top)
      << "in the place of the one above the table";
  EXPECT_EQ(sheet->NextCell()->row(), next);
  EXPECT_GT(sheet->AddPointChart(428, 300)->Container()->top(), top);
}

TEST(ReportSheet, KeepsChartsSideBySideOnOnePage) {
  test::SheetBench bench;
  const auto sheet = bench.sheet;
  sheet->SetSheetOption(1);
  sheet->AddTable(60, 3, 1, 0, "", "");
  sheet->AddLine(std::string(400, 'w'));
  sheet->PlaceChartsSideBySide(2);
  std::vector<std::shared_ptr<ReportChart>> charts;
  for (int i = 0; i < 9; ++i) charts.push_back(sheet->AddPointChart(376, 300));
  const double line_end = charts.front()->Container()->top();
  sheet->FinishSheet();
  const office::SheetModel& model = bench.drawn();
  EXPECT_EQ(charts.front()->Container()->top(), line_end);
  for (std::size_t i = 0; i + 1 < charts.size(); i += 2) {
    EXPECT_EQ(charts[i]->Container()->top(), charts[i + 1]->Container()->top());
    EXPECT_GE(charts[i + 1]->Container()->left(), 376);
    EXPECT_GE(charts[i + 2]->Container()->top(), charts[i]->Container()->top() + 300);
  }
  ASSERT_GE(model.page.row_breaks.size(), 2U);
  for (const std::int32_t row : model.page.row_breaks) {
    const double page = sheet->SheetWorksheet()->range(row, 1, 1, 1)->top();
    for (const auto& chart : charts)
      EXPECT_TRUE(page <= chart->Container()->top() || page >= chart->Container()->top() + 300) << row;
  }
  // One of two that share their rows gives nothing back.
  const std::int32_t next = sheet->NextCell()->row();
  sheet->RemoveChart(charts[7]);
  EXPECT_EQ(sheet->NextCell()->row(), next);
  EXPECT_EQ(sheet->AddPointChart(376, 300)->Container()->top(), charts[8]->Container()->top());
  EXPECT_GT(sheet->AddPointChart(376, 300)->Container()->top(), charts[8]->Container()->top());
}

// A chart at the foot of a page, with lines below it that would fall on the next one.
TEST(ReportSheet, LinesBelongToWhatStandsAboveThem) {
  std::string words;
  for (int i = 0; i < 60; ++i) words += "left out ";
  test::SheetBench bench;
  const auto sheet = bench.sheet;
  sheet->AddTitleBlock("Report", {{"Output", words}, {"Base", 5.0}});
  sheet->SetSheetOption(1);
  sheet->AddTable(1, 3, 1, 0, "", "");
  const std::int32_t room = sheet->NextCell()->row();
  const auto chart = sheet->AddPointChart(428, 420);
  const std::int32_t first = sheet->NextCell()->row();
  sheet->AddLine("No effect: Rent (B4)");
  sheet->AddLine(words);
  const auto table = sheet->AddTable(3, 3, 1, 0, "", "");
  EXPECT_EQ(table->HeaderRowRange(1)->row(), first + 3) << "an empty row below the lines";
  sheet->NextCell()->set_value("below");
  sheet->AddLine("end");
  EXPECT_EQ(sheet->NextCell()->row(), table->BodyRange()->row() + 6) << "nothing is written over";
  sheet->FinishSheet();

  const auto& model = bench.drawn();
  const auto cells = [&](std::int32_t row) { return sheet->SheetWorksheet()->range(row, 1, 1, 1); };
  EXPECT_EQ(chart->Container()->top(), cells(room)->top() + 0.75) << "the title block has grown";
  EXPECT_GT(model.row_heights.at(2), 60);
  EXPECT_FALSE(model.row_heights.contains(first));
  EXPECT_NEAR(model.row_heights.at(first + 1), 15 + 5 * 13.5, 28) << "at the chart's width";
  std::vector<std::int32_t> merged;
  for (const office::Area& area : model.merges) merged.push_back(area.row);
  EXPECT_THAT(merged, testing::UnorderedElementsAre(2, first, first + 1, table->BodyRange()->row() + 5));
  EXPECT_THAT(model.page.row_breaks, ElementsAre(room, first + 3));
}

// Lines are fitted when a chart is placed and once more at the end, when columns may be wider and others fit.
TEST(ReportSheet, LinesAreWholeWhateverWidthsTheColumnsGet) {
  const std::string words(400, 'w');
  for (const std::size_t label : {1, 12, 25, 60}) {
    for (const double width : {200.0, 376.0, 900.0}) {
      for (const std::int32_t charts : {1, 3}) {
        for (const bool line_below : {false, true}) {
          SCOPED_TRACE(testing::Message() << label << " " << width << " " << charts << " " << line_below);
          test::SheetBench bench;
          const auto sheet = bench.sheet;
          sheet->AddTitleBlock("Report", {{std::string(label, 'W'), 5.0}});
          const std::int32_t first = sheet->AddLine(words)->row();
          sheet->AddTable(2, 5, 1, 0, "", "");
          if (line_below) sheet->AddLine(words);
          sheet->PlaceChartsSideBySide(2);
          std::vector<std::shared_ptr<PointChart>> placed;
          for (std::int32_t i = 0; i < charts; ++i) placed.push_back(sheet->AddPointChart(width, 100));
          ASSERT_NO_THROW(sheet->FinishSheet());
          std::vector<std::int32_t> merged;
          for (const office::Area& area : bench.drawn().merges)
            if (area.column == 1) merged.push_back(area.row);
          EXPECT_EQ(merged, line_below ? (std::vector{first, first + 6}) : std::vector{first});
          const auto line = sheet->SheetWorksheet()->range(first, 1, 1, 1);
          EXPECT_LE(line->top() + line->row_height(), placed.front()->Container()->top());
        }
      }
    }
  }
}

const struct {
  const char* what;
  std::int32_t rows, columns;
  bool chart;
  bool landscape;
  std::int32_t pages_wide;
  host::Span title_rows, title_columns;
  std::int32_t frozen_rows, frozen_columns;
} kPageCases[] = {
    {"short", 5, 2, false, false, 1, {}, {}, 0, 0},
    {"long", 41, 2, false, false, 1, {3, 4}, {}, 4, 0},
    {"long, with a chart", 41, 2, true, false, 1, {24, 25}, {}, 0, 0},
    {"wide", 5, 7, false, true, 1, {}, {}, 0, 0},
    {"wide, with a chart", 5, 7, true, true, 1, {}, {}, 0, 0},
    {"wide and longer than its low page", 35, 7, false, true, 1, {3, 4}, {}, 0, 0},
    {"wide and long", 41, 12, false, true, 2, {3, 4}, {1, 1}, 4, 1},
};

TEST(ReportSheet, IsSetUpForPrintingAndScrolling) {
  for (const auto& c : kPageCases) {
    SCOPED_TRACE(c.what);
    test::SheetBench bench;
    bench.session.watermark = {"Draft\nA & B", "Draft", "A & B"};
    const auto sheet = bench.sheet;
    sheet->AddTitleBlock("Cost & profit", {});
    sheet->SetSheetOption(1);
    if (c.chart) sheet->AddPointChart(428, 300);
    const auto table = sheet->AddTable(c.rows, c.columns, 2, 0, "", "");
    table->SetColumns(std::vector(static_cast<std::size_t>(c.columns), name_column("x")));
    sheet->FinishSheet();
    const auto& model = bench.drawn();
    EXPECT_EQ(model.page.landscape, c.landscape);
    EXPECT_EQ(model.page.fit_to_pages_wide, c.pages_wide);
    EXPECT_EQ(model.page.print_title_rows, c.title_rows);
    EXPECT_EQ(model.page.print_title_columns, c.title_columns);
    EXPECT_EQ(model.frozen_rows, c.frozen_rows);
    EXPECT_EQ(model.frozen_columns, c.frozen_columns);
    EXPECT_THAT(model.page.left_header, testing::EndsWith("Cost && profit"));
    EXPECT_THAT(model.page.center_header, testing::EndsWith("Draft\nA && B"));
  }
}

// A table without headers goes on under those of the one above it; one with headers of its own ends that.
TEST(ReportTable, GoesOnUnderTheHeadersAboveIt) {
  for (const std::int32_t header_rows : {0, 3}) {
    SCOPED_TRACE(header_rows);
    test::SheetBench bench;
    const auto sheet = bench.sheet;
    sheet->SetSheetOption(1);
    std::vector<Column> columns = {name_column("Name")};
    columns[0].note = "Which";
    columns[0].rule = true;
    append(columns, grouped("Outer", 1, grouped("Inner", 2, {figure_column("a"), figure_column("b")})));
    const auto first = sheet->AddTable(2, 3, 3, 0, "", "");
    first->SetColumns(columns);
    const auto second = sheet->AddTable(60, 3, header_rows, 0, "", "");
    second->SetColumns(columns);
    second->Body(1, 3)->set_column_width(31);  // by the report
    host::CellBlock body(1, 3);
    body.set_text(1, 1, "1-2");
    second->PutBody(60, body);
    sheet->FinishSheet();
    const auto& model = bench.drawn();
    EXPECT_EQ(model.comments.size(), header_rows > 0 ? 2U : 1U);
    ASSERT_EQ(model.merges.size(), header_rows > 0 ? 4U : 2U);
    EXPECT_EQ(model.merges[0].row, 1) << "wide groups first";
    EXPECT_EQ(model.merges[1], (office::Area{2, 2, 1, 2}));
    EXPECT_EQ(model.frozen_rows, header_rows > 0 ? 0 : 3) << "of two headers neither stays in view";
    EXPECT_EQ(model.page.print_title_rows, header_rows > 0 ? (host::Span{7, 9}) : (host::Span{1, 3}));
    EXPECT_EQ(model.columns.at(3).width, 31);
    const std::int32_t last = second->BodyRange()->row() + 59;
    for (const office::RowBand& band : model.bands) {
      if (band.first_row + band.rows <= last || band.first_column > 1) continue;
      const office::CellStyle& name = bench.kept->styles.at(band.style(band.index(last, 1)));
      EXPECT_EQ(name.number_format, "@") << "a name that reads like a date stays one";
      EXPECT_EQ(name.right.line_style, 1) << "the rule goes down to the last row";
    }
  }
}

// Pages break between the blocks of a wide table, and each has the heading over its part of them.
TEST(ReportSheet, PrintsBlocksOfColumnsWholeWithTheirHeading) {
  test::SheetBench bench;
  const auto sheet = bench.sheet;
  sheet->SetSheetOption(1);
  const auto table = sheet->AddTable(5, 13, 2, 0, "", "");
  table->SetIdentityColumns(1, 1);
  std::vector<Column> columns = {name_column("x")};
  std::vector<Column> block(12, name_column("x"));
  for (std::size_t at = 0; at < block.size(); at += 3) block[at].begins_block = true;
  append(columns, grouped("Output", 1, block));
  table->SetColumns(columns);
  sheet->FinishSheet();
  const auto& model = bench.drawn();
  EXPECT_EQ(model.page.column_breaks, (std::vector<std::int32_t>{8}));
  EXPECT_EQ(model.page.fit_to_pages_wide, 0);
  EXPECT_LT(model.page.scale, 100);
  EXPECT_EQ(model.page.print_title_columns, (host::Span{1, 1}));
  EXPECT_THAT(test::sheet_text(*bench.kept, model),
              testing::AllOf(testing::HasSubstr("B1 \"Output\"  H1 \"Output\"\n"),
                             testing::HasSubstr("merged B1:G1\nmerged H1:M1\n")));
}

TEST(ReportSheet, PageHeadersAreOneOrTwoLinesThatStayApart) {
  const std::string wide(70, 'W'), marks(70, '&');
  test::SheetBench bench;
  bench.session.watermark = {"not empty", marks, wide + "\nthird\r\nfourth"};
  const auto sheet = bench.sheet;
  sheet->AddTitleBlock(wide, {});
  sheet->SetSheetOption(1);
  sheet->FinishSheet();
  const host::PageSetup& page = bench.drawn().page;
  EXPECT_LT(page.left_header.size() + page.center_header.size() + page.right_header.size(), 250U);
  EXPECT_THAT(page.left_header, testing::EndsWith("WW…"));
  EXPECT_THAT(page.center_header, testing::MatchesRegex("&9&\"[^\"]*\"&K808080(&&)+…\nW+…"));
}

}  // namespace
}  // namespace ordvane::layout
