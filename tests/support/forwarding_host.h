// A wrapper for every interface that the core is given: it tells a hook of each call and passes the call on.
//
// From the hook every recording or failing double is made; a hook that throws keeps the call from being made.
// Objects that come back are wrapped, wrapped ranges that go in are unwrapped. The two members that never
// throw (Environment::escape_pressed) or always do (raise_error) are passed on unannounced.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "engine/engine.h"
#include "host/environment.h"
#include "host/excel.h"

namespace ordvane::test {

// Called with "Range.put" and the like before each call.
using Hook = std::function<void(const char* member)>;

// Thrown by a hook: the call, one of the engine's, is not made and answers with this status.
struct Refused {
  std::int32_t status = 1;
};

// Fails the `nth` call, counted from 1, or lastingly every call from there on. Hand it over by std::ref.
struct FailNth {
  int nth = 0;
  bool lasting = false;
  int calls = 0;
  bool failed = false;
  std::string where = {};  // the member that failed first

  void operator()(const char* member) {
    ++calls;
    if (calls < nth || (calls > nth && !lasting)) return;
    if (!failed) where = member;
    failed = true;
    throw host::Error(host::errc::kHostRefused, std::string("Call refused by the test: ") + member);
  }
};

namespace forwarding {

using SharedHook = std::shared_ptr<const Hook>;

// What every wrapper is made of.
template <class Interface>
class Wrapper : public Interface {
 public:
  Wrapper(std::shared_ptr<Interface> target, SharedHook hook)
      : target_(std::move(target)), hook_(std::move(hook)) {}
  Interface& target() { return *target_; }

 protected:
  template <class Call>
  auto announced(const char* member, Call&& call);

  std::shared_ptr<Interface> target_;
  SharedHook hook_;
};

template <class Interface>
Interface& unwrapped(Interface& object) {
  auto* wrapper = dynamic_cast<Wrapper<Interface>*>(&object);
  return wrapper ? wrapper->target() : object;
}

// Which class wraps an interface.
template <class Interface>
struct WrapperOf;

template <class Interface>
std::shared_ptr<Interface> wrapped(std::shared_ptr<Interface> object, const SharedHook& hook) {
  if (!object) return nullptr;
  return std::make_shared<typename WrapperOf<Interface>::type>(std::move(object), hook);
}
template <class Interface>
std::vector<std::shared_ptr<Interface>> wrapped(std::vector<std::shared_ptr<Interface>> objects,
                                                const SharedHook& hook) {
  for (auto& object : objects) object = wrapped(std::move(object), hook);
  return objects;
}
template <class Value>
Value wrapped(Value value, const SharedHook&) {
  return value;
}

template <class Interface>
template <class Call>
auto Wrapper<Interface>::announced(const char* member, Call&& call) {
  try {
    (*hook_)(member);
  } catch (const Refused& refused) {
    if constexpr (std::is_same_v<decltype(call()), std::int32_t>) return refused.status;
    throw;
  }
  if constexpr (std::is_void_v<decltype(call())>)
    call();
  else
    return wrapped(call(), hook_);
}

// One member: its result, its name, its parameters and how they are passed on.
#define ORDVANE_FORWARD(result, member, parameters, arguments)                                            \
  result member parameters override {                                                                     \
    return this->announced(ORDVANE_WRAPPED "." #member, [&] { return this->target_->member arguments; }); \
  }
#define ORDVANE_WRAPPER(interface)      \
  class Forwarding##interface;          \
  template <>                           \
  struct WrapperOf<host::interface> {   \
    using type = Forwarding##interface; \
  };

ORDVANE_WRAPPER(Application)
ORDVANE_WRAPPER(Workbook)
ORDVANE_WRAPPER(Worksheet)
ORDVANE_WRAPPER(Range)
ORDVANE_WRAPPER(ChartObject)
ORDVANE_WRAPPER(Chart)
ORDVANE_WRAPPER(Axis)
ORDVANE_WRAPPER(Series)
ORDVANE_WRAPPER(Point)
ORDVANE_WRAPPER(DataLabel)
ORDVANE_WRAPPER(StringTable)
#undef ORDVANE_WRAPPER

#define ORDVANE_WRAPPED "Application"
class ForwardingApplication final : public Wrapper<host::Application> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(std::string, name, (), ())
  ORDVANE_FORWARD(std::string, version, (), ())
  ORDVANE_FORWARD(host::Calculation, calculation, (), ())
  ORDVANE_FORWARD(void, set_calculation, (host::Calculation mode), (mode))
  ORDVANE_FORWARD(bool, screen_updating, (), ())
  ORDVANE_FORWARD(void, set_screen_updating, (bool on), (on))
  ORDVANE_FORWARD(bool, display_alerts, (), ())
  ORDVANE_FORWARD(void, set_display_alerts, (bool on), (on))
  ORDVANE_FORWARD(host::Cursor, cursor, (), ())
  ORDVANE_FORWARD(void, set_cursor, (host::Cursor cursor), (cursor))
  ORDVANE_FORWARD(std::string, status_bar, (), ())
  ORDVANE_FORWARD(void, set_status_bar, (const std::string& text), (text))
  ORDVANE_FORWARD(std::shared_ptr<host::Workbook>, active_workbook, (), ())
  ORDVANE_FORWARD(std::shared_ptr<host::Worksheet>, active_sheet, (), ())
  ORDVANE_FORWARD(std::shared_ptr<host::Range>, active_cell, (), ())
  ORDVANE_FORWARD(std::shared_ptr<host::Workbook>, workbook, (const std::string& name), (name))
  ORDVANE_FORWARD(std::shared_ptr<host::Workbook>, add_workbook, (), ())
  ORDVANE_FORWARD(std::shared_ptr<host::Range>, range, (const std::string& address), (address))
  ORDVANE_FORWARD(host::CellValue, evaluate, (const std::string& formula), (formula))
  ORDVANE_FORWARD(void, calculate, (), ())
  ORDVANE_FORWARD(std::string, run, (const std::string& macro, host::Range& cell, std::int16_t selector),
                  (macro, unwrapped(cell), selector))
  ORDVANE_FORWARD(double, min, (host::Range & range), (unwrapped(range)))
  ORDVANE_FORWARD(double, max, (host::Range & range), (unwrapped(range)))
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "Workbook"
class ForwardingWorkbook final : public Wrapper<host::Workbook> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(std::string, name, (), ())
  ORDVANE_FORWARD(bool, multi_user_editing, (), ())
  ORDVANE_FORWARD(std::vector<std::shared_ptr<host::Worksheet>>, worksheets, (), ())
  ORDVANE_FORWARD(std::shared_ptr<host::Worksheet>, worksheet, (const std::string& name), (name))
  ORDVANE_FORWARD(std::shared_ptr<host::Worksheet>, add_worksheet, (), ())
  ORDVANE_FORWARD(void, set_properties, (const host::DocumentProperties& properties), (properties))
  ORDVANE_FORWARD(void, activate, (), ())
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "Worksheet"
class ForwardingWorksheet final : public Wrapper<host::Worksheet> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(std::shared_ptr<host::Workbook>, workbook, (), ())
  ORDVANE_FORWARD(std::string, name, (), ())
  ORDVANE_FORWARD(void, set_name, (const std::string& name), (name))
  ORDVANE_FORWARD(std::int32_t, row_limit, (), ())
  ORDVANE_FORWARD(std::int32_t, column_limit, (), ())
  ORDVANE_FORWARD(std::shared_ptr<host::Range>, range, (const std::string& address), (address))
  ORDVANE_FORWARD(std::shared_ptr<host::Range>, range,
                  (std::int32_t row, std::int32_t column, std::int32_t rows, std::int32_t columns),
                  (row, column, rows, columns))
  ORDVANE_FORWARD(std::shared_ptr<host::ChartObject>, add_chart,
                  (double left, double top, double width, double height), (left, top, width, height))
  ORDVANE_FORWARD(void, set_page_setup, (const host::PageSetup& setup), (setup))
  ORDVANE_FORWARD(void, freeze_panes, (std::int32_t rows, std::int32_t columns), (rows, columns))
  ORDVANE_FORWARD(void, set_display_gridlines, (bool shown), (shown))
  ORDVANE_FORWARD(void, activate, (), ())
  ORDVANE_FORWARD(void, move_before, (const std::string& sheet), (sheet))
  ORDVANE_FORWARD(void, remove, (), ())
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "Range"
class ForwardingRange final : public Wrapper<host::Range> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(std::shared_ptr<host::Worksheet>, worksheet, (), ())
  ORDVANE_FORWARD(std::int32_t, row, (), ())
  ORDVANE_FORWARD(std::int32_t, column, (), ())
  ORDVANE_FORWARD(std::int32_t, row_count, (), ())
  ORDVANE_FORWARD(std::int32_t, column_count, (), ())
  ORDVANE_FORWARD(std::string, address, (bool absolute, bool external), (absolute, external))
  ORDVANE_FORWARD(std::shared_ptr<host::Range>, cell, (std::int32_t row, std::int32_t column), (row, column))
  ORDVANE_FORWARD(std::shared_ptr<host::Range>, offset, (std::int32_t rows, std::int32_t columns),
                  (rows, columns))
  ORDVANE_FORWARD(std::shared_ptr<host::Range>, resize, (std::int32_t rows, std::int32_t columns),
                  (rows, columns))
  ORDVANE_FORWARD(host::CellValue, value, (), ())
  ORDVANE_FORWARD(void, set_value, (const host::CellValue& value), (value))
  ORDVANE_FORWARD(host::CellBlock, values, (), ())
  ORDVANE_FORWARD(void, put, (const host::CellBlock& block), (block))
  ORDVANE_FORWARD(std::string, formula, (), ())
  ORDVANE_FORWARD(void, set_formula, (const std::string& formula), (formula))
  ORDVANE_FORWARD(host::CellValue, evaluate, (const std::string& formula), (formula))
  ORDVANE_FORWARD(std::string, number_format, (), ())
  ORDVANE_FORWARD(std::string, number_format_local, (), ())
  ORDVANE_FORWARD(void, set_number_format, (const std::string& format), (format))
  ORDVANE_FORWARD(void, set_number_format_local, (const std::string& format), (format))
  ORDVANE_FORWARD(void, set_row_formats_local, (const std::vector<std::string>& formats), (formats))
  ORDVANE_FORWARD(void, set_font, (const host::FontFormat& font), (font))
  ORDVANE_FORWARD(void, set_interior, (const host::InteriorFormat& interior), (interior))
  ORDVANE_FORWARD(void, set_border, (host::Edge edge, const host::BorderFormat& border), (edge, border))
  ORDVANE_FORWARD(void, set_alignment, (host::HAlign horizontal, host::VAlign vertical),
                  (horizontal, vertical))
  ORDVANE_FORWARD(void, set_indent, (std::int32_t level), (level))
  ORDVANE_FORWARD(void, set_wrap_text, (bool wrap), (wrap))
  ORDVANE_FORWARD(bool, locked, (), ())
  ORDVANE_FORWARD(void, set_merge, (bool merged), (merged))
  ORDVANE_FORWARD(void, auto_fit_columns, (), ())
  ORDVANE_FORWARD(double, column_width, (), ())
  ORDVANE_FORWARD(void, set_column_width, (double characters), (characters))
  ORDVANE_FORWARD(void, set_columns_hidden, (bool hidden), (hidden))
  ORDVANE_FORWARD(double, row_height, (), ())
  ORDVANE_FORWARD(void, set_row_height, (double points), (points))
  ORDVANE_FORWARD(double, left, (), ())
  ORDVANE_FORWARD(double, top, (), ())
  ORDVANE_FORWARD(double, width, (), ())
  ORDVANE_FORWARD(double, height, (), ())
  ORDVANE_FORWARD(void, add_comment, (const std::string& text), (text))
  ORDVANE_FORWARD(void, select, (), ())
  ORDVANE_FORWARD(void, activate, (), ())
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "ChartObject"
class ForwardingChartObject final : public Wrapper<host::ChartObject> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(std::shared_ptr<host::Chart>, chart, (), ())
  ORDVANE_FORWARD(double, left, (), ())
  ORDVANE_FORWARD(double, top, (), ())
  ORDVANE_FORWARD(double, width, (), ())
  ORDVANE_FORWARD(double, height, (), ())
  ORDVANE_FORWARD(void, set_left, (double points), (points))
  ORDVANE_FORWARD(void, set_top, (double points), (points))
  ORDVANE_FORWARD(void, set_width, (double points), (points))
  ORDVANE_FORWARD(void, set_height, (double points), (points))
  ORDVANE_FORWARD(void, set_on_action, (const std::string& macro), (macro))
  ORDVANE_FORWARD(void, set_name, (const std::string& name), (name))
  ORDVANE_FORWARD(void, set_alternative_text, (const std::string& text), (text))
  ORDVANE_FORWARD(void, remove, (), ())
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "Chart"
class ForwardingChart final : public Wrapper<host::Chart> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(std::shared_ptr<host::ChartObject>, container, (), ())
  ORDVANE_FORWARD(void, set_kind, (host::ChartKind kind), (kind))
  ORDVANE_FORWARD(void, set_chart_area_line_weight, (double points), (points))
  ORDVANE_FORWARD(void, set_chart_area_interior, (const host::InteriorFormat& interior), (interior))
  ORDVANE_FORWARD(void, set_title, (const std::string& text), (text))
  ORDVANE_FORWARD(void, format_title, (std::int32_t start, std::int32_t length, const host::FontFormat& font),
                  (start, length, font))
  ORDVANE_FORWARD(void, set_title_top, (double points), (points))
  ORDVANE_FORWARD(void, set_plot_area_border, (const host::BorderFormat& border), (border))
  ORDVANE_FORWARD(void, set_plot_area_interior, (const host::InteriorFormat& interior), (interior))
  ORDVANE_FORWARD(host::Color, plot_area_interior_color, (), ())
  ORDVANE_FORWARD(void, set_plot_area_top, (double points), (points))
  ORDVANE_FORWARD(void, set_plot_area_inside, (double left, double top, double width, double height),
                  (left, top, width, height))
  ORDVANE_FORWARD(void, set_has_legend, (bool shown), (shown))
  ORDVANE_FORWARD(void, set_legend_position, (host::LegendPosition position), (position))
  ORDVANE_FORWARD(void, set_legend_font, (const host::FontFormat& font), (font))
  ORDVANE_FORWARD(void, delete_legend, (), ())
  ORDVANE_FORWARD(void, set_has_axis, (host::AxisType type, host::AxisGroup group, bool shown),
                  (type, group, shown))
  ORDVANE_FORWARD(std::shared_ptr<host::Axis>, axis, (host::AxisType type, host::AxisGroup group),
                  (type, group))
  ORDVANE_FORWARD(std::int32_t, series_count, (), ())
  ORDVANE_FORWARD(std::shared_ptr<host::Series>, series, (std::int32_t index), (index))
  ORDVANE_FORWARD(std::shared_ptr<host::Series>, new_series, (), ())
  ORDVANE_FORWARD(void, set_gap_width, (std::int32_t percent), (percent))
  ORDVANE_FORWARD(void, set_overlap, (std::int32_t percent), (percent))
  ORDVANE_FORWARD(void, set_plot_visible_only, (bool visible_only), (visible_only))
  ORDVANE_FORWARD(void, set_display_blanks_as, (host::BlankCells shown), (shown))
  ORDVANE_FORWARD(void, add_text_box,
                  (double left, double top, double width, double height, const std::string& text,
                   const host::FontFormat& font),
                  (left, top, width, height, text, font))
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "Axis"
class ForwardingAxis final : public Wrapper<host::Axis> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(void, set_border, (const host::BorderFormat& border), (border))
  ORDVANE_FORWARD(void, set_major_tick_mark, (std::int32_t tick_mark), (tick_mark))
  ORDVANE_FORWARD(void, set_minor_tick_mark, (std::int32_t tick_mark), (tick_mark))
  ORDVANE_FORWARD(void, set_tick_label_position, (host::TickLabelPosition position), (position))
  ORDVANE_FORWARD(void, set_tick_label_format, (const std::string& format), (format))
  ORDVANE_FORWARD(void, set_tick_label_font, (const host::FontFormat& font), (font))
  ORDVANE_FORWARD(void, set_has_major_gridlines, (bool shown), (shown))
  ORDVANE_FORWARD(void, set_major_gridline_border, (const host::BorderFormat& border), (border))
  ORDVANE_FORWARD(void, set_minimum_scale, (std::optional<double> minimum), (minimum))
  ORDVANE_FORWARD(void, set_maximum_scale, (std::optional<double> maximum), (maximum))
  ORDVANE_FORWARD(void, set_major_unit, (std::optional<double> unit), (unit))
  ORDVANE_FORWARD(void, set_crosses_at, (std::optional<double> value), (value))
  ORDVANE_FORWARD(void, set_crosses_maximum, (), ())
  ORDVANE_FORWARD(void, set_reverse_plot_order, (bool reversed), (reversed))
  ORDVANE_FORWARD(void, set_title, (const std::string& text), (text))
  ORDVANE_FORWARD(void, set_title_font, (const host::FontFormat& font), (font))
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "Series"
class ForwardingSeries final : public Wrapper<host::Series> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(void, set_name, (const std::string& name), (name))
  ORDVANE_FORWARD(void, set_kind, (host::ChartKind kind), (kind))
  ORDVANE_FORWARD(void, set_axis_group, (host::AxisGroup group), (group))
  ORDVANE_FORWARD(void, set_values, (host::Range & cells), (unwrapped(cells)))
  ORDVANE_FORWARD(void, set_values, (std::span<const double> constants), (constants))
  ORDVANE_FORWARD(void, set_x_values, (host::Range & cells), (unwrapped(cells)))
  ORDVANE_FORWARD(void, set_x_values, (std::span<const double> constants), (constants))
  ORDVANE_FORWARD(void, set_border, (const host::BorderFormat& border), (border))
  ORDVANE_FORWARD(void, set_line_width, (double points), (points))
  ORDVANE_FORWARD(void, set_interior, (const host::InteriorFormat& interior), (interior))
  ORDVANE_FORWARD(void, set_marker,
                  (host::MarkerStyle style, std::int32_t size, host::Color foreground,
                   host::Color background),
                  (style, size, foreground, background))
  ORDVANE_FORWARD(std::shared_ptr<host::Point>, point, (std::int32_t index), (index))
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "Point"
class ForwardingPoint final : public Wrapper<host::Point> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(void, set_interior, (const host::InteriorFormat& interior), (interior))
  ORDVANE_FORWARD(void, set_marker_style, (host::MarkerStyle style), (style))
  ORDVANE_FORWARD(void, set_marker_foreground_color, (host::Color color), (color))
  ORDVANE_FORWARD(void, set_marker_background_color, (host::Color color), (color))
  ORDVANE_FORWARD(void, set_marker_size, (std::int32_t points), (points))
  ORDVANE_FORWARD(void, apply_data_labels, (bool legend_key), (legend_key))
  ORDVANE_FORWARD(std::shared_ptr<host::DataLabel>, data_label, (), ())
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "DataLabel"
class ForwardingDataLabel final : public Wrapper<host::DataLabel> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(void, set_text, (const std::string& text), (text))
  ORDVANE_FORWARD(void, set_font, (const host::FontFormat& font), (font))
  ORDVANE_FORWARD(void, set_position, (host::LabelPosition position), (position))
  ORDVANE_FORWARD(void, set_alignment, (host::HAlign horizontal, host::VAlign vertical),
                  (horizontal, vertical))
  ORDVANE_FORWARD(void, set_horizontal_orientation, (), ())
  ORDVANE_FORWARD(void, set_interior, (const host::InteriorFormat& interior), (interior))
  ORDVANE_FORWARD(void, set_border, (const host::BorderFormat& border), (border))
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "StringTable"
class ForwardingStringTable final : public Wrapper<host::StringTable> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(std::string, GetString,
                  (std::int16_t id, const host::TextArgument& arg1, const host::TextArgument& arg2,
                   const host::TextArgument& arg3),
                  (id, arg1, arg2, arg3))
  ORDVANE_FORWARD(void, set_active_language, (std::int32_t language_id), (language_id))
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "NumberService"
class ForwardingNumberService final : public Wrapper<host::NumberService> {
 public:
  using Wrapper::Wrapper;
  ORDVANE_FORWARD(double, missing_number, (), ())
  ORDVANE_FORWARD(bool, is_usable, (double value), (value))
  ORDVANE_FORWARD(host::AxisScale, axis_scale, (double low, double high), (low, high))
  ORDVANE_FORWARD(std::string, number_text, (double value, bool grouped), (value, grouped))
  ORDVANE_FORWARD(std::string, date_text, (double serial), (serial))
  ORDVANE_FORWARD(std::string, list_separator, (), ())
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "Environment"
class ForwardingEnvironment final : public Wrapper<host::Environment> {
 public:
  ForwardingEnvironment(std::shared_ptr<host::Environment> target, SharedHook hook)
      : Wrapper(target, hook),
        // The number service lives as long as its environment.
        numbers_(std::shared_ptr<host::NumberService>(target, &target->numbers()), hook) {}

  ORDVANE_FORWARD(std::string, engine_folder, (), ())
  ORDVANE_FORWARD(std::string, log_folder, (), ())
  ORDVANE_FORWARD(char, path_separator, (), ())
  ORDVANE_FORWARD(std::int32_t, language_id, (std::int32_t selector), (selector))
  ORDVANE_FORWARD(std::string, language_string, (std::int32_t language_id), (language_id))
  ORDVANE_FORWARD(std::shared_ptr<host::StringTable>, string_table,
                  (const std::string& component, const std::string& language), (component, language))
  host::NumberService& numbers() override {
    (*hook_)("Environment.numbers");
    return numbers_;
  }
  ORDVANE_FORWARD(std::string, shorten, (const std::string& text, std::int32_t limit), (text, limit))
  [[noreturn]] void raise_error(std::int32_t code, const std::string& message) override {
    target_->raise_error(code, message);
    std::abort();  // never reached; compilers do not trust a virtual function with that
  }
  ORDVANE_FORWARD(void, show_message, (const std::string& text, const std::string& title), (text, title))
  ORDVANE_FORWARD(void, show_progress,
                  (const std::string& text1, const std::string& text2, const std::string& text3),
                  (text1, text2, text3))
  ORDVANE_FORWARD(void, pump_messages, (), ())
  bool escape_pressed() override { return target_->escape_pressed(); }
  ORDVANE_FORWARD(void, remove_file, (const std::string& path), (path))
  ORDVANE_FORWARD(void, append_line, (const std::string& path, const std::string& line), (path, line))
  ORDVANE_FORWARD(std::string, date_and_time, (), ())
  ORDVANE_FORWARD(std::int32_t, excel_major_version, (), ())
  ORDVANE_FORWARD(bool, add_in_present, (), ())

 private:
  ForwardingNumberService numbers_;
};
#undef ORDVANE_WRAPPED

#define ORDVANE_WRAPPED "Engine"
class ForwardingEngine : public Wrapper<engine::Engine> {
 public:
  using Wrapper::Wrapper;
  using Long = std::int32_t;
  using Integer = std::int16_t;
  using String = std::string;

  ORDVANE_FORWARD(void, load_library, (const String& path), (path))
  ORDVANE_FORWARD(Long, DrllibInitLibraryVB,
                  (const String& text1, const String& text2, Long& a, Long& b, Long& c, Long& d),
                  (text1, text2, a, b, c, d))
  ORDVANE_FORWARD(Long, DrllibFreeLibraryVB,
                  (Long a, Long& b, Long c, Long& d, Long& e, Long& f, Long& g, String& h),
                  (a, b, c, d, e, f, g, h))
  ORDVANE_FORWARD(Long, DRL4_Init, (Long hVars), (hVars))
  ORDVANE_FORWARD(Long, DRL4_GetSimStats, (Long hVars, Long& simulations, Long& iterations),
                  (hVars, simulations, iterations))
  ORDVANE_FORWARD(Long, DRL4_GetNumInputsAndOutputs, (Long hVars, Long mode, Long& inputs, Long& outputs),
                  (hVars, mode, inputs, outputs))
  ORDVANE_FORWARD(Long, DRL4_GetNumInputsWithSavedSamples, (Long hVars, Long& inputs), (hVars, inputs))
  ORDVANE_FORWARD(Long, DRL4_GetVaryMultis, (Long hVars, std::span<Long> list, Long& a, Long& b, Long& c),
                  (hVars, list, a, b, c))
  ORDVANE_FORWARD(Long, DRL4_GetUsedVaryMultis,
                  (Long hVars, Long first, Long count, std::span<Long> members, Long per_group,
                   Long steps_per_group, std::span<Long> steps),
                  (hVars, first, count, members, per_group, steps_per_group, steps))
  ORDVANE_FORWARD(Long, DRL4_GetVaryCountList, (Long hVars, std::span<Integer> list, Long count),
                  (hVars, list, count))
  ORDVANE_FORWARD(Long, DRL4_GetDoubleInputOrOutputData,
                  (Long hVars, Long kind, Long index, Long run, Long first, Long last, std::span<double> data,
                   Long whole),
                  (hVars, kind, index, run, first, last, data, whole))
  ORDVANE_FORWARD(Long, DRL4_DoubleIsNaN, (double value), (value))
  ORDVANE_FORWARD(Long, DRL4_DoubleIsError, (double value), (value))
  ORDVANE_FORWARD(Long, DRL4_GetSamplingType, (Long hVars), (hVars))
  ORDVANE_FORWARD(Long, DRL4_SetSamplingType, (Long hVars, Long type), (hVars, type))
  ORDVANE_FORWARD(Long, DRL7_GetOrderedInputInfoVB,
                  (Long hVars, Integer flag, Long index, String& name, String& alternative, String& formula,
                   Long& start, Long& stop, Integer& use_default, Long& book, Long& sheet, Long& cell,
                   Long& formula_index, Integer& in_cell, Integer& locked, Integer& multi,
                   Integer& range_type, double& min_change, double& max_change, Integer& dist_for_range),
                  (hVars, flag, index, name, alternative, formula, start, stop, use_default, book, sheet,
                   cell, formula_index, in_cell, locked, multi, range_type, min_change, max_change,
                   dist_for_range))
  ORDVANE_FORWARD(Long, DRL7_GetOrderedOutputInfoVB,
                  (Long hVars, Integer flag, Long index, String& name, String& alternative, String& formula,
                   Long& start, Long& stop, Integer& use_default, Long& book, Long& sheet, Long& cell,
                   Long& formula_index, Integer& in_cell, Integer& locked, Integer& date, String& range_name,
                   Long& range_index, Long& output_index),
                  (hVars, flag, index, name, alternative, formula, start, stop, use_default, book, sheet,
                   cell, formula_index, in_cell, locked, date, range_name, range_index, output_index))
  ORDVANE_FORWARD(Long, DRL7_GetWorkbookWithInputOrOutputVB,
                  (Long hVars, Integer flag, Long kind, Long book, Long& sheets, String& workbook),
                  (hVars, flag, kind, book, sheets, workbook))
  ORDVANE_FORWARD(Long, DRL7_GetSheetWithInputOrOutputVB,
                  (Long hVars, Integer flag, Long kind, Long book, Long sheet, String& name),
                  (hVars, flag, kind, book, sheet, name))
  ORDVANE_FORWARD(Long, DRL7_GetCellWithInputOrOutputVB,
                  (Long hVars, Integer flag, Long kind, Long book, Long sheet, Long cell, Long formula,
                   Integer in_cell, String& address, String& range, Long& items),
                  (hVars, flag, kind, book, sheet, cell, formula, in_cell, address, range, items))
};
#undef ORDVANE_WRAPPED
#undef ORDVANE_FORWARD

}  // namespace forwarding

inline std::shared_ptr<host::Application> forwarding_application(std::shared_ptr<host::Application> target,
                                                                 Hook hook) {
  return std::make_shared<forwarding::ForwardingApplication>(std::move(target),
                                                             std::make_shared<const Hook>(std::move(hook)));
}
inline std::shared_ptr<host::Environment> forwarding_environment(std::shared_ptr<host::Environment> target,
                                                                 Hook hook) {
  return std::make_shared<forwarding::ForwardingEnvironment>(std::move(target),
                                                             std::make_shared<const Hook>(std::move(hook)));
}
inline std::shared_ptr<engine::Engine> forwarding_engine(std::shared_ptr<engine::Engine> target, Hook hook) {
  return std::make_shared<forwarding::ForwardingEngine>(std::move(target),
                                                        std::make_shared<const Hook>(std::move(hook)));
}

}  // namespace ordvane::test
