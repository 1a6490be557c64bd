// Excel's ChartObject and Chart objects.
#include <iterator>

#include "automation/excel_objects.h"

namespace ordvane::automation {
namespace {

constexpr std::int32_t kMsoTextOrientationHorizontal = 1;

class ExcelChartObject final : public host::ChartObject, private ExcelObject {
 public:
  using ExcelObject::ExcelObject;

  std::shared_ptr<host::Chart> chart() override {
    return make_chart(context_, it_.object(L"Chart", kinds::kChart));
  }
  double left() override { return it_.get(L"Left").number(); }
  double top() override { return it_.get(L"Top").number(); }
  double width() override { return it_.get(L"Width").number(); }
  double height() override { return it_.get(L"Height").number(); }
  void set_left(double points) override { it_.put(L"Left", points); }
  void set_top(double points) override { it_.put(L"Top", points); }
  void set_width(double points) override { it_.put(L"Width", points); }
  void set_height(double points) override { it_.put(L"Height", points); }
  void set_on_action(const std::string& macro) override { it_.put(L"OnAction", macro); }
  void set_name(const std::string& name) override { it_.put(L"Name", name); }
  void set_alternative_text(const std::string& text) override {
    put_caption(it_.object(L"ShapeRange", kinds::kShapeRange), L"AlternativeText", text);
  }
  void remove() override { it_.call(L"Delete"); }
};

class ExcelChart final : public host::Chart, private ExcelObject {
 public:
  using ExcelObject::ExcelObject;

  std::shared_ptr<host::ChartObject> container() override {
    return make_chart_object(context_, it_.object(L"Parent", kinds::kChartObject));
  }
  void set_kind(host::ChartKind kind) override { it_.put(L"ChartType", kind); }
  void set_chart_area_line_weight(double points) override {
    area().object(L"Format", kinds::kChartFormat).object(L"Line", kinds::kLineFormat).put(L"Weight", points);
  }
  void set_chart_area_interior(const host::InteriorFormat& interior) override {
    apply_interior(area(), interior);
  }

  void set_title(const std::string& text) override {
    it_.put(L"HasTitle", !text.empty());
    if (!text.empty()) put_caption(title(), L"Text", text);
  }
  void format_title(std::int32_t start, std::int32_t length, const host::FontFormat& font) override {
    apply_font(title().object(L"Characters", kinds::kCharacters, {start, length}), font);
  }
  void set_title_top(double points) override { title().put(L"Top", points); }

  void set_plot_area_border(const host::BorderFormat& border) override { apply_border(plot_area(), border); }
  void set_plot_area_interior(const host::InteriorFormat& interior) override {
    apply_interior(plot_area(), interior);
  }
  host::Color plot_area_interior_color() override {
    return plot_area().object(L"Interior", kinds::kInterior).get(L"Color").whole();
  }
  void set_plot_area_top(double points) override { plot_area().put(L"Top", points); }
  void set_plot_area_inside(double left, double top, double width, double height) override;

  void set_has_legend(bool shown) override { it_.put(L"HasLegend", shown); }
  void set_legend_position(host::LegendPosition position) override { legend().put(L"Position", position); }
  void set_legend_font(const host::FontFormat& font) override { apply_font(legend(), font); }
  void delete_legend() override { legend().call(L"Delete"); }

  void set_has_axis(host::AxisType type, host::AxisGroup group, bool shown) override {
    it_.put(L"HasAxis", shown, {type, group});
  }
  std::shared_ptr<host::Axis> axis(host::AxisType type, host::AxisGroup group) override;

  std::int32_t series_count() override { return all_series().get(L"Count").whole(); }
  std::shared_ptr<host::Series> series(std::int32_t index) override {
    return make_series(context_, all_series().object(L"Item", kinds::kSeries, {index}));
  }
  std::shared_ptr<host::Series> new_series() override {
    return make_series(context_, all_series().object(L"NewSeries", kinds::kSeries));
  }
  void set_gap_width(std::int32_t percent) override { first_group().put(L"GapWidth", percent); }
  void set_overlap(std::int32_t percent) override { first_group().put(L"Overlap", percent); }
  void set_plot_visible_only(bool visible_only) override { it_.put(L"PlotVisibleOnly", visible_only); }
  void set_display_blanks_as(host::BlankCells shown) override { it_.put(L"DisplayBlanksAs", shown); }

  void add_text_box(double left, double top, double width, double height, const std::string& text,
                    const host::FontFormat& font) override {
    const LateBound box =
        it_.object(L"Shapes", kinds::kShapes)
            .object(L"AddTextbox", kinds::kShape, {kMsoTextOrientationHorizontal, left, top, width, height});
    const LateBound characters =
        box.object(L"TextFrame", kinds::kTextFrame).object(L"Characters", kinds::kCharacters);
    put_caption(characters, L"Text", text);
    apply_font(characters, font);
    // Nothing but the text is to be seen, whatever the theme gives a text box.
    box.object(L"Fill", kinds::kFillFormat).put(L"Visible", false);
    box.object(L"Line", kinds::kLineFormat).put(L"Visible", false);
  }

 private:
  LateBound area() { return it_.object(L"ChartArea", kinds::kChartArea); }
  LateBound plot_area() { return it_.object(L"PlotArea", kinds::kPlotArea); }
  LateBound title() { return it_.object(L"ChartTitle", kinds::kChartTitle); }
  LateBound legend() { return it_.object(L"Legend", kinds::kLegend); }
  LateBound all_series() { return it_.object(L"SeriesCollection", kinds::kSeriesCollection); }
  LateBound first_group() { return it_.object(L"ChartGroups", kinds::kChartGroup, {1}); }
};

// Up to Excel 2007 the inside can only be read, so that what lies around it is placed. No version lets the
// area leave its chart on the way: the place is said again once the size is right.
void ExcelChart::set_plot_area_inside(double left, double top, double width, double height) {
  const LateBound area = plot_area();
  struct Side {
    const wchar_t *inside, *outside;
    double points;
  };
  const Side sides[] = {{L"InsideLeft", L"Left", left},
                        {L"InsideTop", L"Top", top},
                        {L"InsideWidth", L"Width", width},
                        {L"InsideHeight", L"Height", height}};
  const auto place = [&](auto&& put) {
    for (const Side& side : sides) put(side);
    put(sides[0]);
    put(sides[1]);
  };
  if (context_->major_version() > kExcel2007)
    return place([&](const Side& side) { area.put(side.inside, side.points); });
  double around[4] = {};
  for (std::size_t at = 0; at < std::size(sides); ++at)
    around[at] = area.get(sides[at].outside).number() - area.get(sides[at].inside).number();
  place([&](const Side& side) { area.put(side.outside, side.points + around[&side - sides]); });
}

// Excel gives the secondary group a value axis only, and its category axis when that is asked for.
std::shared_ptr<host::Axis> ExcelChart::axis(host::AxisType type, host::AxisGroup group) {
  try {
    return make_axis(context_, it_.object(L"Axes", kinds::kAxis, {type, group}));
  } catch (const host::Error&) {
    const bool on_demand = type == host::AxisType::kCategory && group == host::AxisGroup::kSecondary;
    if (!on_demand || !host::ignoring_errors([&] { set_has_axis(type, group, true); })) throw;
  }
  return make_axis(context_, it_.object(L"Axes", kinds::kAxis, {type, group}));
}

}  // namespace

std::shared_ptr<host::ChartObject> make_chart_object(Context context, LateBound chart_object) {
  return std::make_shared<ExcelChartObject>(std::move(context), std::move(chart_object));
}

std::shared_ptr<host::Chart> make_chart(Context context, LateBound chart) {
  return std::make_shared<ExcelChart>(std::move(context), std::move(chart));
}

}  // namespace ordvane::automation
