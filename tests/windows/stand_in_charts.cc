// The stand-in's charts.
#include <algorithm>
#include <array>

#include "automation/cell_variants.h"
#include "windows/stand_in_targets.h"

namespace ordvane::test {
namespace {

using host::AxisGroup;
using host::AxisType;

struct ChartTarget {
  std::shared_ptr<host::Chart> chart;
  bool second_category_axis = false;  // asked for; a secondary group has none by itself
};
// The place of its inside, in the order of Box. What lies around it is as large on every side.
struct PlotAreaTarget {
  enum Box { kLeft, kTop, kWidth, kHeight };
  static constexpr double kAround = 12;
  std::shared_ptr<host::Chart> chart;
  std::array<double, 4> box = {60, 50, 200, 150};
  std::array<bool, 4> said = {};
};
// What cannot be done with it is null.
struct LineTarget {
  std::function<void(double)> weight;
  std::function<void(bool)> visible;
};
struct FormatTarget {
  std::function<void(double)> weight;
};
// Part of a text. What cannot be done with it is null.
struct CharactersTarget {
  std::function<void(const std::string&)> text;
  std::function<void(const host::FontFormat&)> font;
};

// A text box, which the spreadsheet behind gets once nobody holds it any more.
struct TextBox {
  std::shared_ptr<host::Chart> chart;
  double left, top, width, height;
  std::string text = {};
  host::FontFormat font = {};

  ~TextBox() {
    host::ignoring_errors([&] { chart->add_text_box(left, top, width, height, text, font); });
  }
};
struct FillTarget {};

struct SeriesTarget {
  std::shared_ptr<host::Series> series;
  std::optional<std::int32_t> marker = {}, size = {}, foreground = {}, background = {};
};
struct DataLabelTarget {
  std::shared_ptr<host::DataLabel> label;
  host::HAlign horizontal = host::HAlign::kCenter;
  host::VAlign vertical = host::VAlign::kCenter;
};

}  // namespace

STAND_IN_OF(ChartObjectsTarget, host::Worksheet, sheet, L"ChartObjects")
STAND_IN_OF(ChartObjectTarget, host::ChartObject, frame, L"ChartObject")
STAND_IN_OF(ShapeRangeTarget, host::ChartObject, frame, L"ShapeRange")
STAND_IN_INTERFACE(ChartTarget, L"Chart")
STAND_IN_OF(ChartAreaTarget, host::Chart, chart, L"ChartArea")
STAND_IN_INTERFACE(PlotAreaTarget, L"PlotArea")
STAND_IN_OF(ChartTitleTarget, host::Chart, chart, L"ChartTitle")
STAND_IN_OF(LegendTarget, host::Chart, chart, L"Legend")
STAND_IN_OF(ChartGroupTarget, host::Chart, chart, L"ChartGroup")
STAND_IN_OF(SeriesCollectionTarget, host::Chart, chart, L"SeriesCollection")
STAND_IN_OF(ShapesTarget, host::Chart, chart, L"Shapes")
STAND_IN_INTERFACE(LineTarget, L"LineFormat")
STAND_IN_INTERFACE(FormatTarget, L"ChartFormat")
STAND_IN_INTERFACE(CharactersTarget, L"Characters")
STAND_IN_OF(ShapeTarget, TextBox, box, L"Shape")
STAND_IN_OF(TextFrameTarget, TextBox, box, L"TextFrame")
STAND_IN_INTERFACE(FillTarget, L"FillFormat")
STAND_IN_OF(AxisTarget, host::Axis, axis, L"Axis")
STAND_IN_OF(AxisTitleTarget, host::Axis, axis, L"AxisTitle")
STAND_IN_OF(TickLabelsTarget, host::Axis, axis, L"TickLabels")
STAND_IN_OF(GridlinesTarget, host::Axis, axis, L"Gridlines")
STAND_IN_INTERFACE(SeriesTarget, L"Series")
STAND_IN_OF(PointTarget, host::Point, point, L"Point")
STAND_IN_INTERFACE(DataLabelTarget, L"DataLabel")

namespace {

double around(PlotAreaTarget::Box side) {
  return side < PlotAreaTarget::kWidth ? -PlotAreaTarget::kAround : 2 * PlotAreaTarget::kAround;
}

void set_inside(PlotAreaTarget& t, const Call& c, PlotAreaTarget::Box side, double points) {
  const auto other = static_cast<std::size_t>((side + 2) % 4);
  const bool across = side == PlotAreaTarget::kLeft || side == PlotAreaTarget::kWidth;
  const auto frame = t.chart->container();
  const double room = (across ? frame->width() : frame->height()) - t.box[other];
  if (c.stand_in->behaviours.clamps_plot) points = std::clamp(points, 0.0, std::max(room, 0.0));
  t.box[side] = points;
  t.said[side] = true;
  if (std::find(t.said.begin(), t.said.end(), false) == t.said.end())
    t.chart->set_plot_area_inside(t.box[0], t.box[1], t.box[2], t.box[3]);
}

// Said by itself it is all that is asked for.
void set_top(PlotAreaTarget& t, const Call& c, double points) {
  if (!t.said[PlotAreaTarget::kLeft]) return t.chart->set_plot_area_top(points);
  set_inside(t, c, PlotAreaTarget::kTop, points - around(PlotAreaTarget::kTop));
}

// A chart without series has neither a title nor axes.
void set_has_title(const ChartTarget& t, bool shown) {
  if (shown && t.chart->series_count() == 0) refuse("The chart has no series");
  t.chart->set_title(shown ? "Chart Title" : "");
}

bool is_second_category(const Call& c) {
  return c.whole(0) == static_cast<std::int32_t>(AxisType::kCategory) && c.whole(1, 1) == 2;
}

void set_has_axis(ChartTarget& t, const Call& c, bool shown) {
  t.chart->set_has_axis(static_cast<AxisType>(c.whole(0)), static_cast<AxisGroup>(c.whole(1, 1)), shown);
  if (is_second_category(c)) t.second_category_axis = shown;
}

Variant axis(const ChartTarget& t, const Call& c) {
  if (is_second_category(c) && !t.second_category_axis) refuse("The axis must be asked for first");
  return object(
      c, AxisTarget{t.chart->axis(static_cast<AxisType>(c.whole(0)), static_cast<AxisGroup>(c.whole(1, 1)))});
}

Variant chart_group(const ChartTarget& t, const Call& c) {
  if (c.whole(0, 0) != 1 || t.chart->series_count() == 0) refuse("The chart has no such group");
  return object(c, ChartGroupTarget{t.chart});
}

Variant add_text_box(const ShapesTarget& t, const Call& c) {
  constexpr std::int32_t kHorizontal = 1;
  if (c.whole(0) != kHorizontal) refuse("Texts are horizontal here");
  return object(
      c, ShapeTarget{std::make_shared<TextBox>(t.chart, c.number(1), c.number(2), c.number(3), c.number(4))});
}

void hide_only(bool visible) {
  if (visible) refuse("Text boxes have no frame here");
}

void add_to(host::FontFormat& kept, const host::FontFormat& more) {
  if (more.name) kept.name = more.name;
  if (more.size) kept.size = more.size;
  if (more.bold) kept.bold = more.bold;
  if (more.italic) kept.italic = more.italic;
  if (more.color) kept.color = more.color;
}

void set_crosses(host::Axis& axis, std::int32_t crosses) {
  constexpr std::int32_t kAutomatic = -4105, kMaximum = 2;
  if (crosses == kAutomatic) return axis.set_crosses_at({});
  if (crosses != kMaximum) refuse("No such crossing");
  axis.set_crosses_maximum();
}

void only_automatic(bool automatic) {
  if (!automatic) refuse("A bound is fixed by giving it");
}

// Cells by reference, or a list of constants.
template <class Put>
void put_data(const Variant& v, Put&& put) {
  if (!v.is_array()) return put(range_of(v.value()));
  std::vector<double> constants;
  LONG first = 0, last = -1;
  if (SafeArrayGetDim(v.value().parray) != 1) refuse("A series is one list");
  SafeArrayGetLBound(v.value().parray, 1, &first);
  SafeArrayGetUBound(v.value().parray, 1, &last);
  for (LONG at = first; at <= last; ++at) {
    Variant element;
    if (FAILED(SafeArrayGetElement(v.value().parray, &at, element.receive()))) refuse("Lists hold Variants");
    constants.push_back(element.number());
  }
  put(std::span<const double>(constants));
}

std::string series_name(const std::string& text) {
  if (!text.starts_with("=")) return text;
  if (text.size() < 3 || text[1] != '"' || text.back() != '"') refuse("The name is a formula");
  std::string name;
  for (std::size_t at = 2; at < text.size() - 1; ++at) {
    name += text[at];
    if (text[at] == '"') ++at;
  }
  return name;
}

void set_marker(SeriesTarget& t, std::optional<std::int32_t>& field, std::int32_t value) {
  field = value;
  if (t.marker && t.size && t.foreground && t.background)
    t.series->set_marker(static_cast<host::MarkerStyle>(*t.marker), *t.size, *t.foreground, *t.background);
}

Variant apply_labels(const PointTarget& t, const Call& c) {
  constexpr std::int32_t kShowValue = 2;
  if (c.whole(0, kShowValue) != kShowValue) refuse("Labels show values here");
  t.point->apply_data_labels(c.truth(1, false));
  return true;
}

}  // namespace

Variant make_chart_objects(const Call& call, const std::shared_ptr<host::Worksheet>& sheet) {
  if (call.has(0)) refuse("Charts are not found by number here");
  return object(call, ChartObjectsTarget{sheet});
}

// ---- The tables: names and parameters as documented ----
//
// An object that is not there (a title, a legend, gridlines) is refused when it is asked for: an empty format
// is put on it first.

STAND_IN_TABLE(ChartObjectsTarget) {
  return {METHOD(Add, PARAMETERS(L"Left", L"Top", L"Width", L"Height"),
                 return object(c, ChartObjectTarget{t.sheet->add_chart(c.number(0), c.number(1), c.number(2),
                                                                       c.number(3))}))};
}

STAND_IN_TABLE(ChartObjectTarget) {
  return {
    GET(Chart, object(c, ChartTarget{t.frame->chart()})),
        GET_PUT(Left, t.frame->left(), t.frame->set_left(v.number())),
        GET_PUT(Top, t.frame->top(), t.frame->set_top(v.number())),
        GET_PUT(Width, t.frame->width(), t.frame->set_width(v.number())),
        GET_PUT(Height, t.frame->height(), t.frame->set_height(v.number())),
        PUT(OnAction, t.frame->set_on_action(v.text())), PUT(Name, t.frame->set_name(v.text())),
        GET(ShapeRange, object(c, ShapeRangeTarget{t.frame})),
        METHOD(Delete, PARAMETERS(), t.frame->remove(); return true),
  };
}

STAND_IN_TABLE(ShapeRangeTarget) {
  return {PUT(AlternativeText, t.frame->set_alternative_text(caption(c, v)))};
}

STAND_IN_TABLE(ChartTarget) {
  return {
    PUT(ChartType, t.chart->set_kind(as<host::ChartKind>(v))),
        GET(ChartArea, object(c, ChartAreaTarget{t.chart})),
        GET(PlotArea, object(c, PlotAreaTarget{t.chart})), PUT(HasTitle, set_has_title(t, v.truth())),
        GET(ChartTitle, t.chart->format_title(1, 0, {}), object(c, ChartTitleTarget{t.chart})),
        PUT(HasLegend, t.chart->set_has_legend(v.truth())),
        GET(Legend, t.chart->set_legend_font({}), object(c, LegendTarget{t.chart})),
        PUT_OF(HasAxis, PARAMETERS(L"Index1", L"?Index2"), set_has_axis(t, c, v.truth())),
        METHOD(Axes, PARAMETERS(L"?Type", L"?AxisGroup"), return axis(t, c)),
        METHOD(SeriesCollection, PARAMETERS(L"?Index"),
               if (c.has(0)) return object(c, SeriesTarget{t.chart->series(c.whole(0))});
               return object(c, SeriesCollectionTarget{t.chart})),
        METHOD(ChartGroups, PARAMETERS(L"?Index"), return chart_group(t, c)),
        PUT(PlotVisibleOnly, t.chart->set_plot_visible_only(v.truth())),
        PUT(DisplayBlanksAs, t.chart->set_display_blanks_as(as<host::BlankCells>(v))),
        GET(Shapes, object(c, ShapesTarget{t.chart})),
        GET(Parent, object(c, ChartObjectTarget{t.chart->container()})),
  };
}

STAND_IN_TABLE(ChartAreaTarget) {
  return {
      GET(Format,
          object(c, FormatTarget{[chart = t.chart](double w) { chart->set_chart_area_line_weight(w); }})),
      INTERIOR(t.chart, set_chart_area_interior),
  };
}

STAND_IN_TABLE(FormatTarget) {
  return {GET(Line, object(c, LineTarget{t.weight, nullptr}))};
}

STAND_IN_TABLE(LineTarget) {
  return {
    PUT(Weight, if (!t.weight) refuse("No width here"); t.weight(v.number())),
        PUT(Visible, if (!t.visible) refuse("Lines are hidden by their borders here"); t.visible(v.truth())),
  };
}

STAND_IN_TABLE(PlotAreaTarget) {
  return {
      BORDER(t.chart, set_plot_area_border),
      GET(Interior,
          object(c, InteriorTarget{[chart = t.chart](const auto& i) { chart->set_plot_area_interior(i); },
                                   [chart = t.chart] { return chart->plot_area_interior_color(); }})),
#define PLOT_SIDE(side) \
  GET_PUT(Inside##side, t.box[PlotAreaTarget::k##side], set_inside(t, c, PlotAreaTarget::k##side, v.number()))
#define PLOT_OUTSIDE(side)                                                        \
  GET_PUT(side, t.box[PlotAreaTarget::k##side] + around(PlotAreaTarget::k##side), \
          set_inside(t, c, PlotAreaTarget::k##side, v.number() - around(PlotAreaTarget::k##side)))
      PLOT_SIDE(Left),
      PLOT_SIDE(Top),
      PLOT_SIDE(Width),
      PLOT_SIDE(Height),
      PLOT_OUTSIDE(Left),
      PLOT_OUTSIDE(Width),
      PLOT_OUTSIDE(Height),
      GET_PUT(Top, t.box[PlotAreaTarget::kTop] + around(PlotAreaTarget::kTop), set_top(t, c, v.number())),
  };
}

STAND_IN_TABLE(ChartTitleTarget) {
  return {
      PUT(Text, t.chart->set_title(caption(c, v))),
      PUT(Top, t.chart->set_title_top(v.number())),
      GET_OF(Characters, PARAMETERS(L"?Start", L"?Length"),
             object(c, CharactersTarget{nullptr,
                                        [chart = t.chart, start = c.whole(0, 1),
                                         length = c.whole(1, 32767)](const host::FontFormat& font) {
                                          chart->format_title(start, length, font);
                                        }})),
  };
}

STAND_IN_TABLE(CharactersTarget) {
  return {
    PUT(Text, if (!t.text) refuse("The text is set as a whole here"); t.text(caption(c, v))),
        GET(Font, t.font ? object(c, FontTarget{t.font})
                         : throw host::Error(host::errc::kHostRefused, "No font here")),
  };
}

STAND_IN_TABLE(LegendTarget) {
  return {
    PUT(Position, t.chart->set_legend_position(as<host::LegendPosition>(v))), FONT(t.chart, set_legend_font),
        METHOD(Delete, PARAMETERS(), t.chart->delete_legend(); return true),
  };
}

STAND_IN_TABLE(ChartGroupTarget) {
  return {PUT(GapWidth, t.chart->set_gap_width(v.whole())), PUT(Overlap, t.chart->set_overlap(v.whole()))};
}

STAND_IN_TABLE(SeriesCollectionTarget) {
  return {
      GET(Count, t.chart->series_count()),
      DEFAULT_METHOD(Item, PARAMETERS(L"Index"), return object(c, SeriesTarget{t.chart->series(c.whole(0))})),
      METHOD(NewSeries, PARAMETERS(), return object(c, SeriesTarget{t.chart->new_series()})),
  };
}

STAND_IN_TABLE(ShapesTarget) {
  return {METHOD(AddTextbox, PARAMETERS(L"Orientation", L"Left", L"Top", L"Width", L"Height"),
                 return add_text_box(t, c))};
}

STAND_IN_TABLE(ShapeTarget) {
  return {
      GET(TextFrame, object(c, TextFrameTarget{t.box})),
      GET(Fill, object(c, FillTarget{})),
      GET(Line, object(c, LineTarget{nullptr, hide_only})),
  };
}

STAND_IN_TABLE(FillTarget) {
  return {PUT(Visible, hide_only(v.truth()))};
}

STAND_IN_TABLE(TextFrameTarget) {
  return {
    METHOD(Characters, PARAMETERS(L"?Start", L"?Length"),
           if (c.has(0)) refuse("Text boxes have one font here");
           return object(
               c, CharactersTarget{[box = t.box](const std::string& text) { box->text = text; },
                                   [box = t.box](const host::FontFormat& font) { add_to(box->font, font); }}))
  };
}

STAND_IN_TABLE(AxisTarget) {
  return {
    BORDER(t.axis, set_border), PUT(MajorTickMark, t.axis->set_major_tick_mark(v.whole())),
        PUT(MinorTickMark, t.axis->set_minor_tick_mark(v.whole())),
        PUT(TickLabelPosition, t.axis->set_tick_label_position(as<host::TickLabelPosition>(v))),
        GET(TickLabels, object(c, TickLabelsTarget{t.axis})),
        PUT(HasMajorGridlines, t.axis->set_has_major_gridlines(v.truth())),
        GET(MajorGridlines, t.axis->set_major_gridline_border({}), object(c, GridlinesTarget{t.axis})),
        PUT(MinimumScale, t.axis->set_minimum_scale(v.number())),
        PUT(MaximumScale, t.axis->set_maximum_scale(v.number())),
        PUT(MajorUnit, t.axis->set_major_unit(v.number())),
        PUT(MinimumScaleIsAuto, only_automatic(v.truth()); t.axis->set_minimum_scale({})),
        PUT(MaximumScaleIsAuto, only_automatic(v.truth()); t.axis->set_maximum_scale({})),
        PUT(MajorUnitIsAuto, only_automatic(v.truth()); t.axis->set_major_unit({})),
        PUT(Crosses, set_crosses(*t.axis, v.whole())), PUT(CrossesAt, t.axis->set_crosses_at(v.number())),
        PUT(ReversePlotOrder, t.axis->set_reverse_plot_order(v.truth())),
        PUT(HasTitle, t.axis->set_title(v.truth() ? "Axis Title" : "")),
        GET(AxisTitle, object(c, AxisTitleTarget{t.axis})),
  };
}

STAND_IN_TABLE(AxisTitleTarget) {
  return {
      PUT(Text, t.axis->set_title(caption(c, v))),
      FONT(t.axis, set_title_font),
  };
}

STAND_IN_TABLE(TickLabelsTarget) {
  return {
      // Charts read the codes of the user's language here too.
      PUT(NumberFormat,
          t.axis->set_tick_label_format(format_from(*c.stand_in->behaviours.language, v.text()))),
      PUT(NumberFormatLocal,
          t.axis->set_tick_label_format(format_from(*c.stand_in->behaviours.language, v.text()))),
      FONT(t.axis, set_tick_label_font),
  };
}

STAND_IN_TABLE(GridlinesTarget) {
  return {BORDER(t.axis, set_major_gridline_border)};
}

STAND_IN_TABLE(SeriesTarget) {
  return {
      PUT(Name, t.series->set_name(series_name(caption(c, v)))),
      PUT(ChartType, t.series->set_kind(as<host::ChartKind>(v))),
      PUT(AxisGroup, t.series->set_axis_group(as<AxisGroup>(v))),
      PUT(Values, put_data(v, [&](auto&& data) { t.series->set_values(data); })),
      PUT(XValues, put_data(v, [&](auto&& data) { t.series->set_x_values(data); })),
      BORDER(t.series, set_border),
      GET(Format, object(c, FormatTarget{[series = t.series](double w) { series->set_line_width(w); }})),
      INTERIOR(t.series, set_interior),
      PUT(MarkerStyle, set_marker(t, t.marker, v.whole())),
      PUT(MarkerSize, set_marker(t, t.size, v.whole())),
      PUT(MarkerForegroundColor, set_marker(t, t.foreground, v.whole())),
      PUT(MarkerBackgroundColor, set_marker(t, t.background, v.whole())),
      METHOD(Points, PARAMETERS(L"?Index"), return object(c, PointTarget{t.series->point(c.whole(0))})),
  };
}

STAND_IN_TABLE(PointTarget) {
  return {
      INTERIOR(t.point, set_interior),
      PUT(MarkerStyle, t.point->set_marker_style(as<host::MarkerStyle>(v))),
      PUT(MarkerForegroundColor, t.point->set_marker_foreground_color(v.whole())),
      PUT(MarkerBackgroundColor, t.point->set_marker_background_color(v.whole())),
      PUT(MarkerSize, t.point->set_marker_size(v.whole())),
      METHOD(ApplyDataLabels,
             PARAMETERS(L"?Type", L"?LegendKey", L"?AutoText", L"?HasLeaderLines", L"?ShowSeriesName",
                        L"?ShowCategoryName", L"?ShowValue", L"?ShowPercentage", L"?ShowBubbleSize",
                        L"?Separator"),
             return apply_labels(t, c)),
      GET(DataLabel, object(c, DataLabelTarget{t.point->data_label()})),
  };
}

STAND_IN_TABLE(DataLabelTarget) {
  constexpr std::int32_t kXlHorizontal = -4128;
  return {
    PUT(Text, t.label->set_text(caption(c, v))),
        GET_OF(
            Characters, PARAMETERS(L"?Start", L"?Length"),
            object(c, CharactersTarget{[label = t.label](const std::string& text) { label->set_text(text); },
                                       nullptr})),
        FONT(t.label, set_font), PUT(Position, t.label->set_position(as<host::LabelPosition>(v))),
        PUT(HorizontalAlignment, t.horizontal = as<host::HAlign>(v);
            t.label->set_alignment(t.horizontal, t.vertical)),
        PUT(VerticalAlignment, t.vertical = as<host::VAlign>(v);
            t.label->set_alignment(t.horizontal, t.vertical)),
        PUT(Orientation, if (v.whole() != kXlHorizontal) refuse("Labels are horizontal here");
            t.label->set_horizontal_orientation()),
        INTERIOR(t.label, set_interior), BORDER(t.label, set_border),
  };
}

}  // namespace ordvane::test
