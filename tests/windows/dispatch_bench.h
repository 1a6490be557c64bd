// A recorded run reported on through IDispatch, and everything that the workbook shows, as text.
#pragma once

#include <array>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

#include "automation/excel_dispatch.h"
#include "service/small_run.h"
#include "support/forwarding_host.h"
#include "support/snapshot.h"
#include "windows/excel_stand_in.h"

namespace ordvane::test {

using Choose = void (*)(service::OrdvaneReports&);

inline constexpr std::array<std::pair<const char*, Choose>, 7> kReports = {{
    {"summary", [](service::OrdvaneReports&) {}},
    {"tornado", [](service::OrdvaneReports& r) { r.set_TornadoGraphs(true); }},
    {"spider", [](service::OrdvaneReports& r) { r.set_SpiderGraphs(true); }},
    {"sensitivity", [](service::OrdvaneReports& r) { r.set_SensitivityGraphs(true); }},
    {"output detail", [](service::OrdvaneReports& r) { r.set_OutputDetailReport(true); }},
    {"detail by input", [](service::OrdvaneReports& r) { r.set_DetailByInput(true); }},
    {"multi-way", [](service::OrdvaneReports& r) { r.set_MultiWayReport(true); }},
}};

struct DispatchBench : service::Bench {
  explicit DispatchBench(const service::RunShape& shape = {})
      : Bench(shape), stand_in(std::make_shared<StandIn>(application)) {
    services->session.engine = not_concurrent(services->session.engine);  // as the add-in's is
  }

  // Returns the workbook's name; empty where none was made.
  std::string make(bool through_dispatch, Choose choose, std::string* error = nullptr) {
    service::OrdvaneReports reports(services);
    choose(reports);
    std::string name;
    try {
      reports.Initialize(through_dispatch ? automation::wrap_excel(make_excel_stand_in(stand_in).get())
                                          : std::shared_ptr<host::Application>(application),
                         1);
      reports.set_WatermarkText("Draft\nnot for release");
      reports.GenerateReports(all_outputs());
      if (const auto made = reports.report_workbook()) host::ignoring_errors([&] { name = made->name(); });
    } catch (const host::Error& failed) {
      if (error) *error = failed.description();
    }
    if (reports.report_error() && error) *error = reports.report_error()->description();
    reports.Terminate();
    return name;
  }

  std::shared_ptr<StandIn> stand_in;
};

// What a workbook looks like, as text: everything of its model that the snapshot leaves out.
class Looks {
 public:
  static std::string of(const office::BookModel& book) {
    Looks looks;
    looks.add("book", book.properties.title, book.properties.subject, book.properties.author);
    for (const auto& sheet : book.sheets) looks.sheet(book, *sheet);
    return looks.text_.str();
  }

 private:
  template <class... Values>
  void add(const char* what, const Values&... values) {
    text_ << what;
    (put(values), ...);
    text_ << '\n';
  }

  template <class Value>
  void put(const Value& value) {
    if constexpr (std::is_enum_v<Value>)
      text_ << ' ' << static_cast<int>(value);
    else
      text_ << ' ' << value;
  }
  template <class Value>
  void put(const std::optional<Value>& value) {
    if (value)
      put(*value);
    else
      text_ << " -";
  }
  void put(const office::EdgeLine& line) {
    if (line.line_style == host::kXlNone)
      text_ << " none";
    else
      (put(line.line_style), put(line.weight), put(line.color));
  }
  void put(const office::LineProps& line) { put(line.line_style), put(line.width), put(line.color); }
  void put(const office::FillProps& fill) { put(fill.none), put(fill.color); }
  void put(const office::FontProps& font) {
    put(font.name), put(font.size), put(font.bold), put(font.italic), put(font.color);
  }
  void put(const office::MarkerProps& marker) {
    put(marker.style), put(marker.size), put(marker.foreground), put(marker.background);
  }
  void put(const office::DataLabelModel& label) {
    put(label.legend_key), put(label.text), put(label.font), put(label.position), put(label.fill);
    put(label.border);
  }
  void put(const office::PlotArea::Inside& inside) {
    put(inside.left), put(inside.top), put(inside.width), put(inside.height);
  }

  void sheet(const office::BookModel& book, const office::SheetModel& sheet) {
    add("sheet", sheet.name, sheet.frozen_rows, sheet.frozen_columns, sheet.gridlines);
    const host::PageSetup& page = sheet.page;
    add("page", page.landscape, page.print_rows, page.print_columns, page.fit_to_pages_wide,
        page.fit_to_pages_tall, page.scale, page.print_title_rows.first, page.print_title_rows.last,
        page.print_title_columns.first, page.print_title_columns.last, page.left_header, page.center_header,
        page.right_header, page.left_footer, page.center_footer, page.right_footer);
    for (const std::int32_t row : page.row_breaks) add("page begins", row);
    for (const std::int32_t column : page.column_breaks) add("page begins with column", column);
    for (const auto& band : sheet.bands)
      for (std::size_t at = 0; at < band.cells.size(); ++at) cell(book, band, at);
    for (const auto& [column, props] : sheet.columns) add("column", column, props.width, props.hidden);
    for (const auto& [row, height] : sheet.row_heights) add("row", row, height);
    for (const auto& chart : sheet.charts) this->chart(*chart);
  }

  void cell(const office::BookModel& book, const office::RowBand& band, std::size_t at) {
    const auto columns = static_cast<std::size_t>(band.columns);
    const office::CellStyle& style = book.styles.at(band.style(at));
    if (style == office::CellStyle()) return;
    add("cell", band.first_row + static_cast<std::int32_t>(at / columns),
        band.first_column + static_cast<std::int32_t>(at % columns), style.number_format, style.font_name,
        style.font_size, style.bold, style.italic, style.font_color, style.fill, style.left, style.top,
        style.right, style.bottom, style.horizontal, style.vertical, style.indent, style.wrap, style.locked);
  }

  void chart(const office::ChartModel& chart) {
    add("chart", chart.name, chart.alternative_text, chart.click_macro, chart.left, chart.top, chart.width,
        chart.height, chart.kind, chart.area_line_width, chart.area_fill, chart.title_top, chart.has_legend,
        chart.legend_position, chart.legend_font, chart.gap_width, chart.overlap, chart.plot_visible_only,
        chart.blank_cells);
    add("plot", chart.plot.border, chart.plot.fill, chart.plot.top, chart.plot.inside);
    for (const auto& run : chart.title) add("title", run.text, run.font);
    for (const auto& series : chart.series) {
      add("series", series->name, series->kind, series->group, series->line, series->fill, series->marker);
      for (const auto& [index, point] : series->points) add("point", index, point.marker, point.label);
    }
    for (const auto& group : chart.axes)
      for (const auto& axis : group)
        add("axis", axis.present, axis.line, axis.major_tick_mark, axis.minor_tick_mark, axis.tick_labels,
            axis.number_format, axis.label_font, axis.major_gridlines, axis.gridline, axis.minimum,
            axis.maximum, axis.major_unit, axis.crosses_at, axis.crosses_maximum, axis.reversed, axis.title,
            axis.title_font);
    for (const auto& box : chart.text_boxes)
      add("text box", box.left, box.top, box.width, box.height, box.text, box.font);
  }

  std::ostringstream text_;
};

}  // namespace ordvane::test
