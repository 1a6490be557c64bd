// The embedded spreadsheet, judged by the data behind its workbooks.
#include "office/office.h"

#include <gtest/gtest.h>

#include <cmath>

#include "office/number_format.h"

namespace ordvane::office {
namespace {

using host::CellValue;
using host::Edge;

class Office : public testing::Test {
 protected:
  std::shared_ptr<OfficeApplication> app = make_application();
  std::shared_ptr<host::Workbook> book = app->open_workbook("model.xlsx");
  std::shared_ptr<host::Worksheet> sheet = app->open_sheet(*book, "Overview");

  std::shared_ptr<host::Range> at(const std::string& address) { return sheet->range(address); }
  const SheetModel& data() { return *app->model(*book)->sheets[0]; }
  CellStyle style(const std::string& address) {
    const Area cell = *parse_area(address);
    for (const RowBand& band : data().bands) {
      const bool in_rows = cell.row >= band.first_row && cell.row < band.first_row + band.rows;
      const bool in_columns =
          cell.column >= band.first_column && cell.column < band.first_column + band.columns;
      if (in_rows && in_columns)
        return app->model(*book)->styles.at(band.style(band.index(cell.row, cell.column)));
    }
    return {};
  }
};

TEST_F(Office, FormatsChangeOnlyWhatTheyName) {
  at("A1:B2")->set_font({.size = 14, .bold = true});
  at("B1:C1")->set_font({.italic = true, .color = 0x0000FF});
  EXPECT_TRUE(style("B1").bold && style("B1").italic);
  EXPECT_EQ(style("B1").font_size, 14);
  EXPECT_FALSE(style("C1").bold);
  EXPECT_EQ(style("C1").font_size, kDefaultFontSize);
  EXPECT_EQ(style("B2").font_color, std::nullopt);
  at("B1")->set_interior({.color_index = 36, .pattern = 1});
  EXPECT_EQ(style("B1").fill, 0x99FFFF);
  EXPECT_TRUE(style("B1").bold);
  at("B1")->set_interior({.pattern = 1});
  EXPECT_EQ(style("B1").fill, 0x99FFFF) << "a colour that is there stays";
  at("B1")->set_number_format("");
  EXPECT_EQ(at("B1")->number_format(), "General");
  at("B1")->set_interior({.pattern = host::kXlNone});
  EXPECT_EQ(style("B1").fill, std::nullopt);
  EXPECT_EQ(style("B2"), style("A2"));
}

TEST_F(Office, HoldsNoInfinitiesAndSelectsWhatIsActivated) {
  host::CellBlock block(1, 1);
  block.set_number(1, 1, INFINITY);
  at("B2")->put(block);
  EXPECT_EQ(at("B2")->value(), CellValue(host::CellError::kNum));
  at("A1:B2")->select();
  at("B2")->activate();
  EXPECT_EQ(data().selection, (Area{1, 1, 2, 2})) << "the cell lies in it";
  at("D4")->activate();
  EXPECT_EQ(data().selection, (Area{4, 4, 1, 1}));
}

TEST_F(Office, BordersStandOnTheEdgesTheyNameAndInside) {
  const host::BorderFormat thin{.line_style = 1, .weight = 2, .color_index = 15};
  struct Case {
    Edge edge;
    EdgeLine CellStyle::*line;
    std::vector<const char*> with, without;
  };
  const Case cases[] = {
      {Edge::kLeft, &CellStyle::left, {"B2", "B4"}, {"C2", "D3"}},
      {Edge::kTop, &CellStyle::top, {"B2", "D2"}, {"B3", "D4"}},
      {Edge::kRight, &CellStyle::right, {"D2", "D4"}, {"B2", "C3"}},
      {Edge::kBottom, &CellStyle::bottom, {"B4", "D4"}, {"B3", "D2"}},
      {Edge::kInsideVertical, &CellStyle::left, {"C2", "D4"}, {"B2", "E2"}},
      {Edge::kInsideVertical, &CellStyle::right, {"B2", "C4"}, {"D2", "A2"}},
      {Edge::kInsideHorizontal, &CellStyle::top, {"B3", "D4"}, {"B2", "B5"}},
      {Edge::kInsideHorizontal, &CellStyle::bottom, {"B2", "D3"}, {"B4", "B1"}},
  };
  for (const Case& c : cases) {
    sheet = app->open_sheet(*book, "Case " + std::to_string(&c - cases));
    for (auto former = book->worksheets(); former.size() > 1; former = book->worksheets())
      former[0]->remove();
    at("B2:D4")->set_border(c.edge, thin);
    const EdgeLine expected{1, 2, 0xC0C0C0};
    for (const char* cell : c.with) EXPECT_EQ(style(cell).*c.line, expected) << cell << &c - cases;
    for (const char* cell : c.without) EXPECT_EQ(style(cell).*c.line, EdgeLine{}) << cell << &c - cases;
  }
  at("B2:D4")->set_border(Edge::kLeft, {.line_style = host::kXlNone});
  EXPECT_EQ(style("B2").left, EdgeLine{});
  at("B2")->set_border(Edge::kLeft, {.color = 0xFF});
  EXPECT_EQ(style("B2").left, (EdgeLine{1, 2, 0xFF})) << "a coloured line shows";
}

TEST_F(Office, StylesAreSharedByCells) {
  at("A1:Z5000")->set_number_format("0.00");
  at("A1:A5000")->set_font({.bold = true});
  EXPECT_EQ(app->model(*book)->styles.size(), 3U);
  for (int i = 0; i < 70000; i += 1000) at("A1")->set_font({.size = 1 + i / 1000.0});
  EXPECT_EQ(style("A2").font_size, kDefaultFontSize);
}

TEST_F(Office, LargeFontsMakeRowsHigher) {
  at("A1")->set_font({.size = 18});
  at("A2")->set_font({.size = 9});
  at("A3")->set_row_height(12);
  at("A3")->set_font({.size = 18});
  EXPECT_DOUBLE_EQ(at("A1")->row_height(), 23.25);
  EXPECT_DOUBLE_EQ(at("A2")->row_height(), 15);
  EXPECT_DOUBLE_EQ(at("A3")->row_height(), 12) << "set by hand";
}

TEST_F(Office, MergedCellsLookLikeTheFirst) {
  at("B2")->set_interior({.color = 0x123456});
  at("D2")->set_border(Edge::kRight, {.line_style = 1});
  at("B2:D2")->set_merge(true);
  EXPECT_EQ(style("D2").fill, 0x123456);
  EXPECT_EQ(style("D2").right.line_style, 1);
  ASSERT_EQ(data().merges.size(), 1U);
  EXPECT_EQ(data().merges[0], (Area{2, 2, 1, 3}));
  at("C1:C9")->set_merge(false);
  EXPECT_TRUE(data().merges.empty());
}

TEST_F(Office, WidthsAreThoseOfTheFont) {
  // Widths by the metrics of the font, in 1/2048 em: digits are 1038 wide.
  EXPECT_NEAR(text_width("0123456789", "Calibri", 11, false), 10 * 11 * 1038 / 2048.0, 1e-9);
  EXPECT_GT(text_width("WWW", "Calibri", 11, false), 2 * text_width("iii", "Calibri", 11, false));
  EXPECT_GT(text_width("Total interest", "Calibri", 11, true),
            text_width("Total interest", "Calibri", 11, false));
  EXPECT_NEAR(text_width("abc", "Calibri", 22, false), 2 * text_width("abc", "Calibri", 11, false), 1e-9);
  EXPECT_NEAR(text_width("漢字", "Calibri", 10, false), 20, 1e-9);
  EXPECT_DOUBLE_EQ(text_width("e\u0301", "Calibri", 11, false), text_width("e", "Calibri", 11, false));
  EXPECT_NEAR(text_width("\U0001F600", "Calibri", 10, false), 10, 1e-9);
  EXPECT_DOUBLE_EQ(text_width("\u0E17\u0E35\u0E48", "Calibri", 11, false),
                   text_width("\u0E17", "Calibri", 11, false))
      << "Thai vowel and tone above a letter";
  EXPECT_GT(text_width("abc", "Verdana", 11, false), text_width("abc", "Calibri", 11, false));
  EXPECT_GT(text_width("\xFF\xC3", "Calibri", 11, false), 0) << "no UTF-8";
}

// The fast ways of the fitting against measuring every cell.
TEST_F(Office, ColumnsFitWhatIsShown) {
  std::uint64_t state = 3;
  const auto next = [&] { return state = state * 6364136223846793005U + 1442695040888963407U, state >> 33U; };
  const auto points = [](double width) { return width * 7 * 0.75; };
  for (const char* format : {"General", "0.00", "#,##0.0##", "0.0%;(0.0%);\"zero\"", "dddd d mmmm yyyy",
                             "[<10]\"less than ten\";0"}) {
    for (int round = 0; round < 40; ++round) {
      double widest = 0;
      at("A1:A40")->set_number_format(format);
      for (std::int32_t row = 1; row <= 40; ++row) {
        const double scale = std::pow(10, static_cast<double>(next() % 5));
        CellValue value = static_cast<double>(next() % 200000) / scale - (*format == 'd' ? 0 : 1e5 / scale);
        if (row == 7 && round % 4 == 1) value = "a text among them";
        if (row == 8 && round % 4 == 2) value = host::CellError::kDiv0;
        if (row == 9 && round % 4 == 3) value = 1e-20;
        at("A1")->cell(row, 1)->set_value(value);
        widest = std::max(widest,
                          text_width(displayed_text(value, format), kDefaultFont, kDefaultFontSize, false));
      }
      at("A1:A40")->auto_fit_columns();
      EXPECT_GE(points(at("A1")->column_width()) + 0.05, widest) << format;
      EXPECT_LE(points(at("A1")->column_width() - 0.6), widest) << format;
    }
  }
  at("C1")->set_value(std::string(5000, 'W'));
  at("C1")->auto_fit_columns();
  EXPECT_LE(at("C1")->column_width(), 255);
  at("D1")->set_value("wrapped texts are as wide as their column");
  at("D1")->set_wrap_text(true);
  at("D1")->auto_fit_columns();
  EXPECT_NEAR(at("D1")->column_width(), kDefaultColumnWidth, 0.01);
}

TEST_F(Office, LabelsAreTheNearestTexts) {
  at("A5")->set_value("Home price");
  at("B5")->set_value(3.0);
  at("C2")->set_value("Base case");
  at("C4")->set_value(" ");
  at("A7")->set_value("Only left");
  at("E1")->set_value("Only above");
  const struct {
    const char* cell;
    const char* text;
    const char* first;
    const char* second;
  } cases[] = {
      {"C5", "Home price / Base case", "$A$5", "$C$2"},
      {"D7", "Only left", "$A$7", ""},
      {"E3", "Only above", "$E$1", ""},
      {"A1", "", "", ""},
      {"A5", "", "", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(app->run("Dral4FindLabelVBDebug", *at(c.cell), 1), c.text) << c.cell;
    EXPECT_EQ(app->run("Dral4FindLabelVBDebug", *at(c.cell), 2), c.first) << c.cell;
    EXPECT_EQ(app->run("Dral4FindLabelVBDebug", *at(c.cell), 3), c.second) << c.cell;
  }
  EXPECT_THROW(app->run("Dral4FindLabelVBDebug", *at("C5"), 4), host::Error);
}

TEST_F(Office, WorkbooksOpenAndClose) {
  EXPECT_THROW(app->open_workbook("MODEL.xlsx"), host::Error);
  const auto cell = at("A1");
  const auto model = app->model(*book);
  app->set_status_bar("Working");
  EXPECT_EQ(app->status_bar(), "Working");
  EXPECT_EQ(app->range("[model.xlsx]Overview!B2")->address(false, true), "[model.xlsx]Overview!B2");
  app->close_workbook(*book);
  EXPECT_EQ(app->active_workbook(), nullptr);
  EXPECT_EQ(app->active_sheet(), nullptr);
  EXPECT_EQ(app->active_cell(), nullptr);
  EXPECT_THROW(book->name(), host::Error);
  EXPECT_THROW(cell->value(), host::Error);
  EXPECT_THROW(sheet->name(), host::Error);
  EXPECT_EQ(model->name, "model.xlsx") << "the data outlives the workbook";
  app->open_workbook("model.xlsx");
}

TEST_F(Office, HandlesOutliveTheirApplication) {
  const auto cell = at("A1");
  const auto chart = sheet->add_chart(0, 0, 9, 9)->chart();
  app.reset();
  EXPECT_THROW(cell->set_value(1.0), host::Error);
  EXPECT_THROW(chart->set_title("late"), host::Error);
  EXPECT_THROW(book->activate(), host::Error);
}

TEST_F(Office, ChartsKeepWhatTheyAreTold) {
  const auto chart = sheet->add_chart(1, 2, 3, 4)->chart();
  const ChartModel& model = *data().charts.at(0);
  chart->set_kind(host::ChartKind::kBarStacked);
  chart->set_title("Total “interest” by input");
  chart->format_title(7, 10, {.bold = true});
  chart->format_title(7, 3, {.size = 9});
  ASSERT_EQ(model.title.size(), 4U);
  EXPECT_EQ(model.title[1].text, "“in");
  EXPECT_EQ(model.title[2].text, "terest”");
  EXPECT_TRUE(*model.title[1].font.bold && *model.title[2].font.bold && *model.title[1].font.size == 9);
  EXPECT_FALSE(model.title[3].font.bold.has_value());

  const auto bars = chart->new_series();
  bars->set_values(*at("B2:B9"));
  bars->set_x_values(*at("A2:A9"));
  const auto line = chart->new_series();
  line->set_kind(host::ChartKind::kXYScatter);
  line->set_axis_group(host::AxisGroup::kSecondary);
  const double ends[] = {0, 1};
  line->set_values(ends);
  line->set_border({.line_style = -4118, .weight = 1, .color = 0xFF0000});
  line->set_marker(host::MarkerStyle::kTriangle, 9, 0, 0);
  line->point(1)->set_marker_style(host::MarkerStyle::kTriangle);
  line->point(1)->apply_data_labels(false);
  line->point(1)->data_label()->set_text("Base");
  sheet->set_name("Renamed");
  ASSERT_EQ(model.series.size(), 2U);
  EXPECT_EQ(model.series[0]->kind, host::ChartKind::kBarStacked);
  EXPECT_EQ(model.series[0]->values.sheet, "Renamed");
  EXPECT_EQ(model.series[0]->x_values.area, (Area{2, 1, 8, 1}));
  EXPECT_EQ(model.series[1]->values.constants, (std::vector<CellValue>{0.0, 1.0}));
  EXPECT_EQ(model.series[1]->line->width, 0.25);
  EXPECT_EQ(model.series[1]->line->line_style, -4118);
  EXPECT_EQ(model.series[1]->points.at(1).marker->style, 3);
  EXPECT_EQ(model.series[1]->points.at(1).marker->size, 9) << "as that of its series";
  EXPECT_EQ(model.series[1]->points.at(1).label->text, "Base");

  const auto axis = chart->axis(host::AxisType::kValue, host::AxisGroup::kSecondary);
  axis->set_crosses_maximum();
  axis->set_crosses_at(5);
  EXPECT_FALSE(model.axes[1][1].crosses_maximum);
  axis->set_crosses_maximum();
  EXPECT_TRUE(model.axes[1][1].crosses_maximum);
  EXPECT_FALSE(model.axes[1][1].crosses_at.has_value());
  EXPECT_THROW(axis->set_minimum_scale(NAN), host::Error);
  const auto other = app->add_workbook();
  EXPECT_THROW(bars->set_values(*app->active_sheet()->range("A1:A2")), host::Error)
      << "another workbook's cells";
  EXPECT_NE(sheet->add_chart(0, 0, 1, 1), nullptr);
  EXPECT_EQ(data().charts[1]->id, 2);
}

}  // namespace
}  // namespace ordvane::office
