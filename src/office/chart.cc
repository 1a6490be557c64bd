// Charts: every member writes what it is told into the chart's model.
#include <algorithm>
#include <cmath>

#include "office/handles.h"
#include "text/utf16.h"

namespace ordvane::office {
namespace {

using host::AxisGroup;
using host::AxisType;

// A chart as its handles share it.
struct ChartState {
  std::shared_ptr<Sheet> sheet;
  std::shared_ptr<ChartModel> model;
  bool removed = false;
};
using ChartPtr = std::shared_ptr<ChartState>;

ChartModel& alive(const ChartPtr& chart) {
  book_of(*chart->sheet);
  if (chart->removed) refuse("The chart is not there any more");
  return *chart->model;
}

double points_of_weight(std::int32_t weight) {
  switch (static_cast<host::LineWeight>(weight)) {
    case host::LineWeight::kHairline:
      return 0.25;
    case host::LineWeight::kThin:
      return 0.75;
    case host::LineWeight::kMedium:
      return 1.5;
    case host::LineWeight::kThick:
      return 2.25;
  }
  refuse("No such line weight");
}

// A line that gets a weight or a colour shows from then on, unless its style is given too.
void apply(const host::BorderFormat& format, LineProps& line) {
  const auto color = chosen_color(format.color, format.color_index);
  const double width = format.weight ? points_of_weight(*format.weight) : line.width;
  const bool shows_again = line.line_style == host::kXlNone && (format.weight || color);
  if (format.line_style)
    line.line_style = *format.line_style;
  else if (shows_again)
    line.line_style = static_cast<std::int32_t>(host::LineStyle::kContinuous);
  line.width = width;
  if (color) line.color = color;
}

void apply(const host::BorderFormat& format, std::optional<LineProps>& line) {
  LineProps changed = line.value_or(LineProps{});
  apply(format, changed);
  line = changed;
}

void apply(const host::InteriorFormat& format, FillProps& fill) {
  const auto color = chosen_color(format.color, format.color_index);
  if (format.pattern == host::kXlNone || (!color && format.color_index == host::kXlNone)) {
    fill = FillProps{true, std::nullopt};
  } else if (color) {
    fill = FillProps{false, color};
  } else if (format.color_index == host::kXlAutomatic) {
    fill = FillProps{};
  } else if (format.pattern) {
    fill.none = false;
  }
}

void apply(const host::InteriorFormat& format, std::optional<FillProps>& fill) {
  FillProps changed = fill.value_or(FillProps{});
  apply(format, changed);
  fill = changed;
}

void apply(const host::FontFormat& format, FontProps& font) {
  if (format.name) font.name = format.name;
  if (format.size) font.size = format.size;
  if (format.bold) font.bold = format.bold;
  if (format.italic) font.italic = format.italic;
  if (format.color) font.color = format.color;
}

void require_line_width(double points) {
  constexpr double kWidest = 1584;
  if (!(points >= 0 && points <= kWidest)) refuse("Lines are 0 to 1584 points wide");
}

void require_marker_size(std::int32_t size) {
  if (size < 2 || size > 72) refuse("Marker sizes are 2 to 72");
}

void require_finite(std::optional<double> value) {
  if (value && !std::isfinite(*value)) refuse("Not a number for an axis");
}

double require_place(double points) {
  if (!std::isfinite(points)) refuse("Not a place on the sheet");
  return std::max(points, 0.0);
}

double require_size(double points) {
  if (!std::isfinite(points) || points < 0) refuse("Not a size");
  return points;
}

std::int32_t point_count(const SeriesModel& series) {
  const SeriesData& data = series.values;
  return data.sheet.empty() ? static_cast<std::int32_t>(data.constants.size())
                            : data.area.rows * data.area.columns;
}

// ---- Points and their labels ----

struct SeriesState {
  ChartPtr chart;
  std::shared_ptr<SeriesModel> model;

  SeriesModel& alive() const {
    office::alive(chart);
    return *model;
  }
};

class DataLabelHandle final : public host::DataLabel {
 public:
  DataLabelHandle(SeriesState series, std::int32_t index) : series_(std::move(series)), index_(index) {}

  void set_text(const std::string& text) override { label().text = text; }
  void set_font(const host::FontFormat& font) override { apply(font, label().font); }
  void set_position(host::LabelPosition position) override {
    label().position = static_cast<std::int32_t>(position);
  }
  // Labels are one line, centred in a box of their own size: alignment changes nothing that shows.
  void set_alignment(host::HAlign, host::VAlign) override { label(); }
  void set_horizontal_orientation() override { label(); }
  void set_interior(const host::InteriorFormat& interior) override { apply(interior, label().fill); }
  void set_border(const host::BorderFormat& border) override { apply(border, label().border); }

 private:
  DataLabelModel& label() {
    auto& kept = series_.alive().points[index_].label;
    if (!kept) refuse("The point has no label");
    return *kept;
  }

  SeriesState series_;
  std::int32_t index_;
};

class PointHandle final : public host::Point {
 public:
  PointHandle(SeriesState series, std::int32_t index) : series_(std::move(series)), index_(index) {}

  void set_interior(const host::InteriorFormat& interior) override { apply(interior, point().fill); }
  void set_marker_style(host::MarkerStyle style) override {
    marker().style = static_cast<std::int32_t>(style);
  }
  void set_marker_foreground_color(host::Color color) override { marker().foreground = color; }
  void set_marker_background_color(host::Color color) override { marker().background = color; }
  void set_marker_size(std::int32_t points) override {
    require_marker_size(points);
    marker().size = points;
  }
  void apply_data_labels(bool legend_key) override {
    auto& label = point().label;
    if (!label) label.emplace();
    label->legend_key = legend_key;
  }
  std::shared_ptr<host::DataLabel> data_label() override {
    if (!point().label) refuse("The point has no label");
    return std::make_shared<DataLabelHandle>(series_, index_);
  }

 private:
  PointModel& point() { return series_.alive().points[index_]; }
  // A point looks like its series until it gets a marker of its own.
  MarkerProps& marker() {
    PointModel& own = point();
    if (!own.marker) own.marker = series_.model->marker.value_or(MarkerProps{});
    return *own.marker;
  }

  SeriesState series_;
  std::int32_t index_;
};

// ---- Series ----

class SeriesHandle final : public host::Series {
 public:
  SeriesHandle(ChartPtr chart, std::shared_ptr<SeriesModel> model)
      : series_{std::move(chart), std::move(model)} {}

  void set_name(const std::string& name) override { series_.alive().name = name; }
  void set_kind(host::ChartKind kind) override { series_.alive().kind = kind; }
  void set_axis_group(AxisGroup group) override { series_.alive().group = group; }
  void set_values(host::Range& cells) override { series_.alive().values = data(cells); }
  void set_values(std::span<const double> constants) override { series_.alive().values = data(constants); }
  void set_x_values(host::Range& cells) override { series_.alive().x_values = data(cells); }
  void set_x_values(std::span<const double> constants) override {
    series_.alive().x_values = data(constants);
  }
  void set_border(const host::BorderFormat& border) override { apply(border, series_.alive().line); }
  void set_line_width(double points) override {
    require_line_width(points);
    auto& line = series_.alive().line;
    if (!line) line.emplace();
    line->width = points;
  }
  void set_interior(const host::InteriorFormat& interior) override { apply(interior, series_.alive().fill); }
  void set_marker(host::MarkerStyle style, std::int32_t size, host::Color foreground,
                  host::Color background) override {
    require_marker_size(size);
    series_.alive().marker = MarkerProps{static_cast<std::int32_t>(style), size, foreground, background};
  }
  std::shared_ptr<host::Point> point(std::int32_t index) override {
    if (index < 1 || index > point_count(series_.alive())) refuse("The series has no such point");
    return std::make_shared<PointHandle>(series_, index);
  }

 private:
  SeriesData data(host::Range& cells) const {
    RangeHandle& range = embedded(cells);
    const Book& book = book_of(*range.sheet_handle());
    if (&book != &book_of(*series_.chart->sheet)) refuse("A chart shows cells of its own workbook");
    range.sheet_handle()->is_charted = true;
    return {range.sheet_handle()->model->name, range.area(), {}};
  }
  static SeriesData data(std::span<const double> constants) {
    return {{}, {}, {constants.begin(), constants.end()}};
  }

  SeriesState series_;
};

// ---- Axes ----

bool has_series(const ChartModel& chart, AxisGroup group) {
  return std::any_of(chart.series.begin(), chart.series.end(),
                     [group](const auto& series) { return series->group == group; });
}

AxisModel& axis_model(ChartModel& chart, AxisType type, AxisGroup group) {
  return chart.axes[static_cast<std::size_t>(group) - 1][static_cast<std::size_t>(type) - 1];
}

class AxisHandle final : public host::Axis {
 public:
  AxisHandle(ChartPtr chart, AxisType type, AxisGroup group)
      : chart_(std::move(chart)), type_(type), group_(group) {
    axis();
  }

  void set_border(const host::BorderFormat& border) override { apply(border, axis().line); }
  void set_major_tick_mark(std::int32_t tick_mark) override { axis().major_tick_mark = tick_mark; }
  void set_minor_tick_mark(std::int32_t tick_mark) override { axis().minor_tick_mark = tick_mark; }
  void set_tick_label_position(host::TickLabelPosition position) override { axis().tick_labels = position; }
  void set_tick_label_format(const std::string& number_format) override {
    axis().number_format = number_format;
  }
  void set_tick_label_font(const host::FontFormat& font) override { apply(font, axis().label_font); }
  void set_has_major_gridlines(bool shown) override { axis().major_gridlines = shown; }
  void set_major_gridline_border(const host::BorderFormat& border) override {
    if (!axis().major_gridlines) refuse("The axis has no major gridlines");
    apply(border, axis().gridline);
  }
  void set_minimum_scale(std::optional<double> minimum) override {
    require_finite(minimum);
    axis().minimum = minimum;
  }
  void set_maximum_scale(std::optional<double> maximum) override {
    require_finite(maximum);
    axis().maximum = maximum;
  }
  void set_major_unit(std::optional<double> unit) override {
    require_finite(unit);
    if (unit && *unit <= 0) refuse("The unit of an axis is more than zero");
    axis().major_unit = unit;
  }
  void set_crosses_at(std::optional<double> value) override {
    require_finite(value);
    axis().crosses_at = value;
    axis().crosses_maximum = false;
  }
  void set_crosses_maximum() override {
    axis().crosses_at.reset();
    axis().crosses_maximum = true;
  }
  void set_reverse_plot_order(bool reversed) override { axis().reversed = reversed; }
  void set_title(const std::string& text) override { axis().title = text; }
  void set_title_font(const host::FontFormat& font) override { apply(font, axis().title_font); }

 private:
  AxisModel& axis() {
    ChartModel& chart = alive(chart_);
    AxisModel& axis = axis_model(chart, type_, group_);
    if (!axis.present || !has_series(chart, group_)) refuse("The chart has no such axis");
    return axis;
  }

  ChartPtr chart_;
  AxisType type_;
  AxisGroup group_;
};

// ---- Charts ----

// The runs of a text with the units from `start` (from 0) to `end` in runs of their own.
std::vector<TextRun> split_runs(const std::vector<TextRun>& runs, std::int32_t start, std::int32_t end) {
  std::vector<TextRun> result;
  std::int32_t at = 0;
  for (const TextRun& run : runs) {
    const std::int32_t length = text::utf16_length(run.text);
    const std::int32_t first = std::clamp(start - at, 0, length), last = std::clamp(end - at, 0, length);
    const std::string before(text::left(run.text, first));
    const std::string until_last(text::left(run.text, last));
    for (const std::string& part :
         {before, until_last.substr(before.size()), run.text.substr(until_last.size())})
      if (!part.empty()) result.push_back({part, run.font});
    at += length;
  }
  return result;
}

class ChartHandle final : public host::Chart {
 public:
  explicit ChartHandle(ChartPtr chart) : chart_(std::move(chart)) {}

  std::shared_ptr<host::ChartObject> container() override;
  void set_kind(host::ChartKind kind) override {
    model().kind = kind;
    for (const auto& series : model().series) series->kind = kind;
  }
  void set_chart_area_line_weight(double points) override {
    require_line_width(points);
    model().area_line_width = points;
  }
  void set_chart_area_interior(const host::InteriorFormat& interior) override {
    apply(interior, model().area_fill);
  }

  void set_title(const std::string& text) override {
    model().title.clear();
    if (!text.empty()) model().title.push_back({text, {}});
  }
  void format_title(std::int32_t start, std::int32_t length, const host::FontFormat& font) override;
  void set_title_top(double points) override {
    if (model().title.empty()) refuse("The chart has no title");
    model().title_top = require_place(points);
  }

  void set_plot_area_border(const host::BorderFormat& border) override { apply(border, model().plot.border); }
  void set_plot_area_interior(const host::InteriorFormat& interior) override {
    apply(interior, model().plot.fill);
  }
  host::Color plot_area_interior_color() override {
    constexpr host::Color kWhite = 0xFFFFFF;
    const auto& fill = model().plot.fill;
    return fill ? fill->color.value_or(kWhite) : kWhite;
  }
  void set_plot_area_top(double points) override { model().plot.top = require_place(points); }
  void set_plot_area_inside(double left, double top, double width, double height) override {
    model().plot.inside = {require_place(left), require_place(top), require_size(width),
                           require_size(height)};
  }

  void set_has_legend(bool shown) override { model().has_legend = shown; }
  void set_legend_position(host::LegendPosition position) override { legend().legend_position = position; }
  void set_legend_font(const host::FontFormat& font) override { apply(font, legend().legend_font); }
  void delete_legend() override { legend().has_legend = false; }

  void set_has_axis(AxisType type, AxisGroup group, bool shown) override {
    if (shown && !has_series(model(), group)) refuse("No series is on these axes");
    axis_model(model(), type, group).present = shown;
  }
  std::shared_ptr<host::Axis> axis(AxisType type, AxisGroup group) override {
    return std::make_shared<AxisHandle>(chart_, type, group);
  }

  std::int32_t series_count() override { return static_cast<std::int32_t>(model().series.size()); }
  std::shared_ptr<host::Series> series(std::int32_t index) override {
    if (index < 1 || index > series_count()) refuse("The chart has no such series");
    return std::make_shared<SeriesHandle>(chart_, model().series[static_cast<std::size_t>(index - 1)]);
  }
  std::shared_ptr<host::Series> new_series() override {
    auto series = std::make_shared<SeriesModel>();
    series->kind = model().kind;
    model().series.push_back(series);
    return std::make_shared<SeriesHandle>(chart_, series);
  }
  void set_gap_width(std::int32_t percent) override {
    if (percent < 0 || percent > 500) refuse("Gap widths are 0 to 500 percent");
    model().gap_width = percent;
  }
  void set_overlap(std::int32_t percent) override {
    if (percent < -100 || percent > 100) refuse("Overlaps are -100 to 100 percent");
    model().overlap = percent;
  }
  void set_plot_visible_only(bool visible_only) override { model().plot_visible_only = visible_only; }
  void set_display_blanks_as(host::BlankCells shown) override { model().blank_cells = shown; }

  void add_text_box(double left, double top, double width, double height, const std::string& text,
                    const host::FontFormat& font) override {
    TextBoxModel box{
        require_place(left), require_place(top), require_size(width), require_size(height), text, {}};
    apply(font, box.font);
    model().text_boxes.push_back(std::move(box));
  }

 private:
  ChartModel& model() { return alive(chart_); }
  ChartModel& legend() {
    if (!model().has_legend) refuse("The chart has no legend");
    return model();
  }

  ChartPtr chart_;
};

void ChartHandle::format_title(std::int32_t start, std::int32_t length, const host::FontFormat& font) {
  if (model().title.empty()) refuse("The chart has no title");
  if (start < 1 || length < 0) refuse("Characters count from 1");
  const std::int32_t first = start - 1;
  const std::int64_t end = std::int64_t{first} + length;
  const auto last = static_cast<std::int32_t>(std::min<std::int64_t>(end, INT32_MAX));
  model().title = split_runs(model().title, first, last);
  std::int32_t at = 0;
  for (TextRun& run : model().title) {
    if (at >= first && at < last) apply(font, run.font);
    at += text::utf16_length(run.text);
  }
}

class ChartObjectHandle final : public host::ChartObject {
 public:
  explicit ChartObjectHandle(ChartPtr chart) : chart_(std::move(chart)) {}

  std::shared_ptr<host::Chart> chart() override {
    model();
    return std::make_shared<ChartHandle>(chart_);
  }
  double left() override { return model().left; }
  double top() override { return model().top; }
  double width() override { return model().width; }
  double height() override { return model().height; }
  void set_left(double points) override { model().left = require_place(points); }
  void set_top(double points) override { model().top = require_place(points); }
  void set_width(double points) override { model().width = require_size(points); }
  void set_height(double points) override { model().height = require_size(points); }
  void set_on_action(const std::string& macro) override { model().click_macro = macro; }
  void set_name(const std::string& name) override {
    if (name.empty()) refuse("A chart needs a name");
    model().name = name;
  }
  void set_alternative_text(const std::string& text) override { model().alternative_text = text; }
  void remove() override {
    ChartModel& removed = model();
    std::erase_if(chart_->sheet->model->charts, [&](const auto& chart) { return chart.get() == &removed; });
    chart_->removed = true;
  }

 private:
  ChartModel& model() { return alive(chart_); }

  ChartPtr chart_;
};

std::shared_ptr<host::ChartObject> ChartHandle::container() {
  model();
  return std::make_shared<ChartObjectHandle>(chart_);
}

}  // namespace

std::shared_ptr<host::ChartObject> make_chart(const std::shared_ptr<Sheet>& sheet, double left, double top,
                                              double width, double height) {
  auto model = std::make_shared<ChartModel>();
  model->left = require_place(left);
  model->top = require_place(top);
  model->width = require_size(width);
  model->height = require_size(height);
  model->id = ++book_of(*sheet).charts_made;
  model->name = "Chart " + std::to_string(model->id);
  sheet->model->charts.push_back(model);
  return std::make_shared<ChartObjectHandle>(
      std::make_shared<ChartState>(ChartState{sheet, std::move(model), false}));
}

}  // namespace ordvane::office
