#include "sample_book.h"

#include <limits>

namespace ordvane::xlsx {
namespace {

using host::AxisGroup;
using host::AxisType;
using host::ChartKind;

constexpr host::Color kBlue = 0xB56D2F;
constexpr host::Color kGrey = 0x808080;

office::LineProps no_line() {
  return {host::kXlNone, 0, {}};
}

void base_line(office::ChartModel& chart, double base) {
  auto line = add_series(chart, "Vertical", ChartKind::kXYScatter, {"", {}, {base, base}}, {"", {}, {0, 1}});
  line->group = AxisGroup::kSecondary;
  line->line = office::LineProps{static_cast<std::int32_t>(host::LineStyle::kDot), 0.25, 0x0000C0};
  office::DataLabelModel label;
  label.text = "Base value = 100";
  label.font.size = 6.75;
  label.position = static_cast<std::int32_t>(host::LabelPosition::kAbove);
  label.fill = office::FillProps{false, 0xFFFFFF};
  label.border = office::LineProps{1, 0.75, 0};
  line->points[1] = {{}, office::MarkerProps{3, 6, 0, 0x0000C0}, label};
  line->points[2] = {{}, office::MarkerProps{host::kXlNone, 5, {}, {}}, {}};
}

void spider_sheet(office::BookModel& book) {
  auto sheet = add_sheet(book, "Spider",
                         {{"x", "a", "b"}, {-0.1, 90, 110}, {0, 100, host::CellError::kNA}, {0.1, 110, 95}});
  auto chart = add_chart(*sheet, 200, 15, 428, 300);
  chart->title = {{"Spider graph", {}}};
  for (std::int32_t column : {2, 3}) {
    auto series = add_series(*chart, column == 2 ? "First" : "Second",
                             column == 2 ? ChartKind::kXYScatterLines : ChartKind::kXYScatterLinesNoMarkers,
                             {"Spider", {2, 1, 3, 1}, {}}, {"Spider", {2, column, 3, 1}, {}});
    series->line = office::LineProps{1, 1.5, column == 2 ? kBlue : 0x2D78D9};
  }
  chart->series[0]->marker = office::MarkerProps{8, 6, kBlue, 0xFFFFFF};
  chart->series[0]->points[3].label = office::DataLabelModel{};
  office::AxisModel& y = axis(*chart, AxisGroup::kPrimary, AxisType::kValue);
  y.title = "Output\nvalue";
  y.major_gridlines = true;
  y.gridline.color = 0xE0E0E0;
  y.major_unit = 5;
  y.minimum = 85;
  y.maximum = 115;
  office::AxisModel& x = axis(*chart, AxisGroup::kPrimary, AxisType::kCategory);
  x.number_format = "0%";
  x.tick_labels = host::TickLabelPosition::kLow;
  x.title = "Change of the input";
  x.title_font.bold = true;
  chart->legend_position = host::LegendPosition::kBottom;
  chart->legend_font.size = 8;
  chart->text_boxes.push_back({20, 120, 380, 60, "Trial <version>", {"Calibri", 28, true, {}, 0xE0E0E0}});
}

void style_sheet(office::BookModel& book) {
  auto sheet = add_sheet(book, "Styles",
                         {{"Title", 1.5, CellValue::boolean(true)},
                          {" two  blanks ", -1e-300, host::CellError::kDiv0},
                          {"a\nb\x01_x0041_", std::numeric_limits<double>::quiet_NaN(), 12345678901.0},
                          {"", 0.1 + 0.2, 43831.5}},
                         {2, 2});
  office::CellStyle title;
  title.font_size = 14;
  title.bold = title.italic = true;
  title.font_color = 0xFFFFFF;
  title.fill = kBlue;
  title.bottom = {1, 2, kGrey};
  title.left = {static_cast<std::int32_t>(host::LineStyle::kDash), -4138, {}};
  title.horizontal = host::HAlign::kCenter;
  title.vertical = host::VAlign::kTop;
  title.wrap = true;
  set_style(book, *sheet, 2, 2, title);
  office::CellStyle date;
  date.number_format = "d mmm yyyy \"at\" h:mm";
  date.locked = false;
  date.indent = 2;
  set_style(book, *sheet, 5, 4, date);
  sheet->formulas[{2, 3}] = "=C4&\"<\"";
  sheet->formulas[{5, 3}] = "=0.1+0.2";
  sheet->formulas[{20, 1}] = "=SUM(C2:C3)";
  sheet->merges = {{10, 2, 2, 3}};
  sheet->filter = {12, 2, 3, 2};
  sheet->color_scales = {{{2, 2, 3, 1}, {{-1.5, 0x009FE6}, {2, 0xFFFFFF}}}};
  sheet->columns[2] = {20.0, false};
  sheet->columns[3] = {20.0, false};
  sheet->columns[5] = {{}, true};
  sheet->row_heights[2] = 30;
  sheet->row_heights[12] = 7.5;
  sheet->comments[{2, 2}] = "A short note";
  sheet->comments[{4, 4}] =
      "A note of several lines.\nThe second one is so long that it has to be broken at least once.";
  sheet->frozen_rows = 3;
  sheet->frozen_columns = 1;
  sheet->gridlines = false;
  sheet->selection = {5, 2, 2, 2};
  sheet->active_cell = {6, 3};
  sheet->page = {.landscape = true,
                 .fit_to_pages_wide = 1,
                 .print_rows = 20,
                 .print_columns = 8,
                 .print_title_rows = {2, 3},
                 .print_title_columns = {1, 2},
                 .row_breaks = {9, 14},
                 .column_breaks = {3},
                 .center_header = "&\"Calibri,Bold\"Report & more",
                 .left_footer = "Page &P of &N",
                 .right_footer = "Trial"};
}

}  // namespace

std::shared_ptr<office::ChartModel> add_tornado(office::BookModel& book) {
  auto sheet = add_sheet(book, "Tornado 'A' 1",
                         {{"Name", "Lead -", "Lead +", "Low", "High"},
                          {"Home price", 0, 60, 40, 45},
                          {"Interest rate of the loan", 0, 80, 20, 30},
                          {"Years", 0, 90, 10, 5},
                          {"Fees", 0, 98, 2, 3}});
  sheet->gridlines = false;
  auto chart = add_chart(*sheet, 20, 100, 428, 220);
  chart->kind = ChartKind::kBarStacked;
  chart->name = "Tornado";
  chart->alternative_text = "Tornado graph\nof 4 inputs, \"Home price\" first";
  chart->click_macro = "Ordvane.xla!OrdvaneGraphClickEvent";
  chart->title = {{"Total interest", {}}, {"\nby input", {{}, 9, false, {}, kGrey}}};
  chart->has_legend = false;
  chart->gap_width = 40;
  chart->overlap = 100;
  chart->plot_visible_only = false;
  const office::SeriesData names{sheet->name, {2, 1, 4, 1}, {}};
  for (std::int32_t column = 2; column <= 5; ++column) {
    auto bars = add_series(*chart, "Series " + std::to_string(column - 1), ChartKind::kBarStacked, names,
                           {sheet->name, {2, column, 4, 1}, {}});
    bars->fill = column < 4 ? office::FillProps{true, {}} : office::FillProps{false, kBlue};
    bars->line = column < 4 ? no_line() : office::LineProps{1, 0.75, kGrey};
  }
  office::AxisModel& categories = axis(*chart, AxisGroup::kPrimary, AxisType::kCategory);
  categories.reversed = true;
  categories.crosses_maximum = true;  // the value axis stands at the bottom
  categories.tick_labels = host::TickLabelPosition::kLow;
  categories.line = office::LineProps{1, 1.0, 0x0000C0};
  office::AxisModel& values = axis(*chart, AxisGroup::kPrimary, AxisType::kValue);
  values.crosses_at = 100;
  values.minimum = 50;
  values.maximum = 150;
  values.number_format = "#,##0";
  values.title = "Output";
  values.major_gridlines = true;
  values.gridline.color = 0xE0E0E0;
  base_line(*chart, 100);
  office::AxisModel& x = axis(*chart, AxisGroup::kSecondary, AxisType::kCategory);
  x.minimum = 50;
  x.maximum = 150;
  x.tick_labels = host::TickLabelPosition::kNone;
  x.major_tick_mark = host::kXlNone;
  x.line = no_line();
  office::AxisModel& y = axis(*chart, AxisGroup::kSecondary, AxisType::kValue);
  y.minimum = 0;
  y.maximum = 1;
  y.present = false;
  return chart;
}

office::BookModel full_book() {
  office::BookModel book;
  book.name = "Reports";
  book.properties = {"Reports", "What-if", "Ordvane", "Company & Co", "tornado, spider", "All of them"};
  add_tornado(book);
  spider_sheet(book);
  add_sheet(book, "It's a message & more", {});
  style_sheet(book);
  book.active_sheet = 1;
  return book;
}

}  // namespace ordvane::xlsx
