// Excel's Axis, Series, Point and DataLabel objects.
#include <new>

#include "automation/excel_objects.h"
#include "text/utf16.h"

namespace ordvane::automation {
namespace {

constexpr std::int32_t kXlAxisCrossesAutomatic = -4105;
constexpr std::int32_t kXlMaximum = 2;
constexpr std::int32_t kXlDataLabelsShowValue = 2;
constexpr std::int32_t kXlHorizontal = -4128;

class ExcelAxis final : public host::Axis, private ExcelObject {
 public:
  using ExcelObject::ExcelObject;

  void set_border(const host::BorderFormat& border) override { apply_border(it_, border); }
  void set_major_tick_mark(std::int32_t tick_mark) override { it_.put(L"MajorTickMark", tick_mark); }
  void set_minor_tick_mark(std::int32_t tick_mark) override { it_.put(L"MinorTickMark", tick_mark); }
  void set_tick_label_position(host::TickLabelPosition position) override {
    it_.put(L"TickLabelPosition", position);
  }
  // Charts take the codes of the user's language through NumberFormat too, and make something else of them.
  void set_tick_label_format(const std::string& number_format) override {
    const LateBound labels = tick_labels();
    const std::string local = layout::localized(number_format, context_->local_codes());
    if (!host::ignoring_errors([&] { labels.put(L"NumberFormatLocal", local); }))
      labels.put(L"NumberFormat", number_format);
  }
  void set_tick_label_font(const host::FontFormat& font) override { apply_font(tick_labels(), font); }
  void set_has_major_gridlines(bool shown) override { it_.put(L"HasMajorGridlines", shown); }
  void set_major_gridline_border(const host::BorderFormat& border) override {
    apply_border(it_.object(L"MajorGridlines", kinds::kGridlines), border);
  }
  void set_minimum_scale(std::optional<double> minimum) override {
    put_or_automatic(L"MinimumScale", L"MinimumScaleIsAuto", minimum);
  }
  void set_maximum_scale(std::optional<double> maximum) override {
    put_or_automatic(L"MaximumScale", L"MaximumScaleIsAuto", maximum);
  }
  void set_major_unit(std::optional<double> unit) override {
    put_or_automatic(L"MajorUnit", L"MajorUnitIsAuto", unit);
  }
  void set_crosses_at(std::optional<double> value) override {
    if (value)
      it_.put(L"CrossesAt", *value);
    else
      it_.put(L"Crosses", kXlAxisCrossesAutomatic);
  }
  void set_crosses_maximum() override { it_.put(L"Crosses", kXlMaximum); }
  void set_reverse_plot_order(bool reversed) override { it_.put(L"ReversePlotOrder", reversed); }
  void set_title(const std::string& text) override {
    it_.put(L"HasTitle", !text.empty());
    if (!text.empty()) put_caption(title(), L"Text", text);
  }
  void set_title_font(const host::FontFormat& font) override { apply_font(title(), font); }

 private:
  LateBound tick_labels() { return it_.object(L"TickLabels", kinds::kTickLabels); }
  LateBound title() { return it_.object(L"AxisTitle", kinds::kAxisTitle); }
  void put_or_automatic(const wchar_t* bound, const wchar_t* automatic, std::optional<double> value) {
    if (value)
      it_.put(bound, *value);
    else
      it_.put(automatic, true);
  }
};

// ---- Points and their labels ----

class ExcelDataLabel final : public host::DataLabel, private ExcelObject {
 public:
  using ExcelObject::ExcelObject;

  // Up to Excel 2007 a label takes its text by its characters only.
  void set_text(const std::string& text) override {
    if (context_->major_version() > kExcel2007)
      put_caption(it_, L"Text", text);
    else
      put_caption(it_.object(L"Characters", kinds::kCharacters), L"Text", text);
  }
  void set_font(const host::FontFormat& font) override { apply_font(it_, font); }
  void set_position(host::LabelPosition position) override { it_.put(L"Position", position); }
  void set_alignment(host::HAlign horizontal, host::VAlign vertical) override {
    it_.put(L"HorizontalAlignment", horizontal);
    it_.put(L"VerticalAlignment", vertical);
  }
  void set_horizontal_orientation() override { it_.put(L"Orientation", kXlHorizontal); }
  void set_interior(const host::InteriorFormat& interior) override { apply_interior(it_, interior); }
  void set_border(const host::BorderFormat& border) override { apply_border(it_, border); }
};

class ExcelPoint final : public host::Point, private ExcelObject {
 public:
  using ExcelObject::ExcelObject;

  void set_interior(const host::InteriorFormat& interior) override { apply_interior(it_, interior); }
  void set_marker_style(host::MarkerStyle style) override { it_.put(L"MarkerStyle", style); }
  void set_marker_foreground_color(host::Color color) override { it_.put(L"MarkerForegroundColor", color); }
  void set_marker_background_color(host::Color color) override { it_.put(L"MarkerBackgroundColor", color); }
  void set_marker_size(std::int32_t points) override { it_.put(L"MarkerSize", points); }
  void apply_data_labels(bool legend_key) override {
    it_.call_named(L"ApplyDataLabels", {{L"Type", kXlDataLabelsShowValue}, {L"LegendKey", legend_key}});
  }
  std::shared_ptr<host::DataLabel> data_label() override {
    return std::make_shared<ExcelDataLabel>(context_, it_.object(L"DataLabel", kinds::kDataLabel));
  }
};

// ---- Series ----

// A list of constants, counted from 1.
Variant list(std::span<const double> constants) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 1, static_cast<ULONG>(constants.size()));
  if (array == nullptr) throw std::bad_alloc();
  Variant result = Variant::array(array);
  LONG index = 1;
  for (const double constant : constants) {
    Variant element(constant);
    if (FAILED(SafeArrayPutElement(array, &index, const_cast<VARIANT*>(&element.value()))))
      throw std::bad_alloc();
    ++index;
  }
  return result;
}

constexpr std::int32_t kLongestName = 255;  // of a series, and of texts in formulas

// A name that looks like a formula is said by a formula.
std::string constant_text(const std::string& text) {
  if (!text.starts_with('=')) return text;
  std::string quoted = "=\"";
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

class ExcelSeries final : public host::Series, private ExcelObject {
 public:
  using ExcelObject::ExcelObject;

  void set_name(const std::string& name) override {
    it_.put(L"Name", constant_text(text::shortened(name, kLongestName)));
  }
  void set_kind(host::ChartKind kind) override { it_.put(L"ChartType", kind); }
  void set_axis_group(host::AxisGroup group) override { it_.put(L"AxisGroup", group); }
  void set_values(host::Range& cells) override { it_.put(L"Values", range_object(cells)); }
  void set_values(std::span<const double> constants) override { it_.put(L"Values", list(constants)); }
  void set_x_values(host::Range& cells) override { it_.put(L"XValues", range_object(cells)); }
  void set_x_values(std::span<const double> constants) override { it_.put(L"XValues", list(constants)); }
  void set_border(const host::BorderFormat& border) override { apply_border(it_, border); }
  void set_line_width(double points) override {
    it_.object(L"Format", kinds::kChartFormat).object(L"Line", kinds::kLineFormat).put(L"Weight", points);
  }
  void set_interior(const host::InteriorFormat& interior) override { apply_interior(it_, interior); }
  void set_marker(host::MarkerStyle style, std::int32_t size, host::Color foreground,
                  host::Color background) override {
    it_.put(L"MarkerStyle", style);
    it_.put(L"MarkerSize", size);
    it_.put(L"MarkerForegroundColor", foreground);
    it_.put(L"MarkerBackgroundColor", background);
  }
  std::shared_ptr<host::Point> point(std::int32_t index) override {
    return std::make_shared<ExcelPoint>(context_, it_.object(L"Points", kinds::kPoint, {index}));
  }
};

}  // namespace

std::shared_ptr<host::Axis> make_axis(Context context, LateBound axis) {
  return std::make_shared<ExcelAxis>(std::move(context), std::move(axis));
}

std::shared_ptr<host::Series> make_series(Context context, LateBound series) {
  return std::make_shared<ExcelSeries>(std::move(context), std::move(series));
}

}  // namespace ordvane::automation
