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
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "engine/engine.h"
#include "host/environment.h"
#include "host/excel.h"

namespace ordvane::test {

// Called with "Range.put_blocks" and the like before each call.
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

// Arguments as the wrapped object takes them.
template <class Value>
Value& unwrapped(Value& value) {
  return value;
}
inline host::Range& unwrapped(host::Range& range) {
  auto* wrapper = dynamic_cast<Wrapper<host::Range>*>(&range);
  return wrapper ? wrapper->target() : range;
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

// A member is overridden in a layer over the members before it. The layer takes result and parameters from
// the interface: only the name is told, and the signature where there are several members of one name.
#define ORDVANE_LAYER_OF(layer, member, signature)                                            \
  template <class Base, class Signature = signature>                                          \
  class layer##Layer;                                                                         \
  template <class Base, class Result, class... Parameters>                                    \
  class layer##Layer<Base, Result (Wrapped::*)(Parameters...)> : public Base {                \
   public:                                                                                    \
    using Base::Base;                                                                         \
    Result member(Parameters... arguments) override {                                         \
      static const std::string called = std::string(kInterface) + "." #member;                \
      return this->announced(called.c_str(),                                                  \
                             [&] { return this->target_->member(unwrapped(arguments)...); }); \
    }                                                                                         \
  };
#define ORDVANE_LAYER(member) ORDVANE_LAYER_OF(member, member, decltype(&Wrapped::member))
#define ORDVANE_OPEN(layer, ...) layer##Layer <
#define ORDVANE_CLOSE(...) >
#define ORDVANE_LAYERS(space, interface, members)                                                   \
  namespace layers_of_##interface {                                                                 \
    using Wrapped = space::interface;                                                               \
    constexpr const char* kInterface = #interface;                                                  \
    members(ORDVANE_LAYER, ORDVANE_LAYER_OF) using Layers =                                         \
        members(ORDVANE_OPEN, ORDVANE_OPEN) Wrapper<Wrapped> members(ORDVANE_CLOSE, ORDVANE_CLOSE); \
  }
#define ORDVANE_WRAPPER(space, interface, members)             \
  ORDVANE_LAYERS(space, interface, members)                    \
  using Forwarding##interface = layers_of_##interface::Layers; \
  template <>                                                  \
  struct WrapperOf<space::interface> {                         \
    using type = Forwarding##interface;                        \
  };

// clang-format off
#define ORDVANE_APPLICATION(X, ...) \
  X(name) X(version) X(calculation) X(set_calculation) X(screen_updating) X(set_screen_updating) \
  X(display_alerts) X(set_display_alerts) X(interactive) X(set_interactive) X(cursor) X(set_cursor) X(status_bar) X(set_status_bar) \
  X(active_workbook) X(active_sheet) X(active_cell) X(workbook) X(add_workbook) X(range) X(evaluate) \
  X(formatted) X(calculate) X(run) X(min) X(max)
#define ORDVANE_WORKBOOK(X, ...) \
  X(name) X(multi_user_editing) X(worksheets) X(worksheet) X(add_worksheet) X(set_properties) X(activate)
#define ORDVANE_WORKSHEET(X, Y) \
  X(workbook) X(name) X(set_name) X(row_limit) X(column_limit) X(cell_limit) \
  Y(range_1, range, std::shared_ptr<host::Range> (Wrapped::*)(const std::string&)) \
  Y(range_2, range, std::shared_ptr<host::Range> (Wrapped::*)(std::int32_t, std::int32_t, std::int32_t, \
                                                              std::int32_t)) \
  X(add_chart) X(set_page_setup) X(freeze_panes) X(set_display_gridlines) X(activate) X(move_before) \
  X(remove)
#define ORDVANE_RANGE(X, ...) \
  X(worksheet) X(row) X(column) X(row_count) X(column_count) X(address) X(cell) X(offset) X(resize) \
  X(value) X(set_value) X(values) X(put_blocks) X(formula) X(set_formula) X(value_with) X(evaluate) X(number_format) \
  X(number_format_local) X(set_number_format) X(set_row_formats) \
  X(set_font) X(set_interior) X(set_border) X(add_color_scale) X(set_auto_filter) X(set_alignment) X(set_indent) X(set_wrap_text) X(locked) \
  X(set_merge) X(auto_fit_columns) X(column_width) X(set_column_width) X(set_columns_hidden) X(row_height) \
  X(set_row_height) X(left) X(top) X(width) X(height) X(add_comment) X(select) X(activate)
#define ORDVANE_CHARTOBJECT(X, ...) \
  X(chart) X(left) X(top) X(width) X(height) X(set_left) X(set_top) X(set_width) X(set_height) \
  X(set_on_action) X(set_name) X(set_alternative_text) X(remove)
#define ORDVANE_CHART(X, ...) \
  X(container) X(set_kind) X(set_chart_area_line_weight) X(set_chart_area_interior) X(set_title) \
  X(format_title) X(set_title_top) X(set_plot_area_border) X(set_plot_area_interior) \
  X(plot_area_interior_color) X(set_plot_area_top) X(set_plot_area_inside) X(set_has_legend) \
  X(set_legend_position) X(set_legend_font) X(delete_legend) X(set_has_axis) X(axis) X(series_count) \
  X(series) X(new_series) X(set_gap_width) X(set_overlap) X(set_plot_visible_only) X(set_display_blanks_as) \
  X(add_text_box)
#define ORDVANE_AXIS(X, ...) \
  X(set_border) X(set_major_tick_mark) X(set_minor_tick_mark) X(set_tick_label_position) \
  X(set_tick_label_format) X(set_tick_label_font) X(set_has_major_gridlines) X(set_major_gridline_border) \
  X(set_minimum_scale) X(set_maximum_scale) X(set_major_unit) X(set_crosses_at) X(set_crosses_maximum) \
  X(set_reverse_plot_order) X(set_title) X(set_title_font)
#define ORDVANE_SERIES(X, Y) \
  X(set_name) X(set_kind) X(set_axis_group) Y(set_values_1, set_values, void (Wrapped::*)(host::Range&)) \
  Y(set_values_2, set_values, void (Wrapped::*)(std::span<const double>)) \
  Y(set_x_values_1, set_x_values, void (Wrapped::*)(host::Range&)) \
  Y(set_x_values_2, set_x_values, void (Wrapped::*)(std::span<const double>)) X(set_border) \
  X(set_line_width) X(set_interior) X(set_marker) X(point)
#define ORDVANE_POINT(X, ...) \
  X(set_interior) X(set_marker_style) X(set_marker_foreground_color) X(set_marker_background_color) \
  X(set_marker_size) X(apply_data_labels) X(data_label)
#define ORDVANE_DATALABEL(X, ...) \
  X(set_text) X(set_font) X(set_position) X(set_alignment) X(set_horizontal_orientation) X(set_interior) \
  X(set_border)
#define ORDVANE_STRINGTABLE(X, ...) \
  X(GetString) X(set_active_language)
#define ORDVANE_NUMBERSERVICE(X, ...) \
  X(missing_number) X(is_usable) X(axis_scale) X(number_text) X(date_text) X(list_separator)
#define ORDVANE_ENVIRONMENT(X, ...) \
  X(engine_folder) X(log_folder) X(path_separator) X(language_id) X(language_string) X(string_table) \
  X(shorten) X(show_message) X(show_progress) X(pump_messages) X(remove_file) X(append_line) X(close_file) \
  X(date_and_time) X(excel_major_version) X(add_in_present)
#define ORDVANE_ENGINE(X, ...) \
  X(load_library) X(DrllibInitLibraryVB) X(DrllibFreeLibraryVB) X(DRL4_Init) X(DRL4_GetSimStats) \
  X(DRL4_GetNumInputsAndOutputs) X(DRL4_GetNumInputsWithSavedSamples) X(DRL4_GetVaryMultis) \
  X(DRL4_GetUsedVaryMultis) X(DRL4_GetVaryCountList) X(DRL4_GetDoubleInputOrOutputData) X(DRL4_DoubleIsNaN) \
  X(DRL4_DoubleIsError) X(DRL4_GetSamplingType) X(DRL4_SetSamplingType) X(DRL7_GetOrderedInputInfoVB) \
  X(DRL7_GetOrderedOutputInfoVB) X(DRL7_GetWorkbookWithInputOrOutputVB) X(DRL7_GetSheetWithInputOrOutputVB) \
  X(DRL7_GetCellWithInputOrOutputVB)
// clang-format on

ORDVANE_WRAPPER(host, Application, ORDVANE_APPLICATION)
ORDVANE_WRAPPER(host, Workbook, ORDVANE_WORKBOOK)
ORDVANE_WRAPPER(host, Worksheet, ORDVANE_WORKSHEET)
ORDVANE_WRAPPER(host, Range, ORDVANE_RANGE)
ORDVANE_WRAPPER(host, ChartObject, ORDVANE_CHARTOBJECT)
ORDVANE_WRAPPER(host, Chart, ORDVANE_CHART)
ORDVANE_WRAPPER(host, Axis, ORDVANE_AXIS)
ORDVANE_WRAPPER(host, Series, ORDVANE_SERIES)
ORDVANE_WRAPPER(host, Point, ORDVANE_POINT)
ORDVANE_WRAPPER(host, DataLabel, ORDVANE_DATALABEL)
ORDVANE_WRAPPER(host, StringTable, ORDVANE_STRINGTABLE)
ORDVANE_WRAPPER(host, NumberService, ORDVANE_NUMBERSERVICE)
ORDVANE_WRAPPER(engine, Engine, ORDVANE_ENGINE)
ORDVANE_LAYERS(host, Environment, ORDVANE_ENVIRONMENT)

class ForwardingEnvironment final : public layers_of_Environment::Layers {
 public:
  ForwardingEnvironment(std::shared_ptr<host::Environment> target, SharedHook hook)
      : layers_of_Environment::Layers(target, hook),
        // The number service lives as long as its environment.
        numbers_(std::shared_ptr<host::NumberService>(target, &target->numbers()), hook) {}

  host::NumberService& numbers() override {
    (*hook_)("Environment.numbers");
    return numbers_;
  }
  [[noreturn]] void raise_error(std::int32_t code, const std::string& message) override {
    target_->raise_error(code, message);
    std::abort();  // never reached; compilers do not trust a virtual function with that
  }
  bool escape_pressed() override { return target_->escape_pressed(); }

 private:
  ForwardingNumberService numbers_;
};
template <>
struct WrapperOf<host::Environment> {
  using type = ForwardingEnvironment;
};

}  // namespace forwarding

// A wrapper of `target`, whose calls it announces to `hook`.
template <class Interface>
std::shared_ptr<Interface> announcing(std::shared_ptr<Interface> target, Hook hook) {
  return forwarding::wrapped(std::move(target), std::make_shared<const Hook>(std::move(hook)));
}

// The same engine, as one that is asked from one thread only.
inline std::shared_ptr<engine::Engine> not_concurrent(std::shared_ptr<engine::Engine> target) {
  return announcing(std::move(target), [](const char*) {});
}

}  // namespace ordvane::test
