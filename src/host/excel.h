// What reports are written into: the members of the spreadsheet's object model that the reports use, typed.
//
// Contract common to all interfaces below:
//   - Rows, columns and positions count from 1. Sizes and positions on a sheet or chart are in points (1/72
//   inch);
//     column widths are in characters of the default font, as the spreadsheet counts them.
//   - Colours (`Color`) are 0xBBGGRR. Colour indexes name the spreadsheet's default 56-colour table, 1 to 56.
//   - Texts are UTF-8.
//   - Numeric constants have the values of the spreadsheet's own object model, so that they cross automation
//   as is.
//   - Every member may throw host::Error; a member that throws has changed nothing that a later call could
//   see.
//   - Handles are shared: an object lives as long as a handle to it. A handle to something deleted throws on
//   use.
//   - One thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/cells.h"

namespace ordvane::host {

using Color = std::int32_t;

inline constexpr std::int32_t kXlNone = -4142;       // line style, tick mark, tick labels, marker: none
inline constexpr std::int32_t kXlAutomatic = -4105;  // also: automatic calculation

enum class Calculation : std::int32_t { kAutomatic = -4105, kManual = -4135, kSemiautomatic = 2 };
enum class Cursor : std::int32_t { kDefault = -4143, kWait = 2 };
enum class HAlign : std::int32_t { kGeneral = 1, kLeft = -4131, kCenter = -4108, kRight = -4152 };
enum class VAlign : std::int32_t { kTop = -4160, kCenter = -4108, kBottom = -4107 };
enum class Edge : std::int32_t {
  kLeft = 7,
  kTop = 8,
  kBottom = 9,
  kRight = 10,
  kInsideVertical = 11,
  kInsideHorizontal = 12
};
enum class LineStyle : std::int32_t { kContinuous = 1, kDash = -4115, kDot = -4118, kNone = -4142 };
enum class LineWeight : std::int32_t { kHairline = 1, kThin = 2, kMedium = -4138, kThick = 4 };

enum class ChartKind : std::int32_t {
  kBarClustered = 57,
  kBarStacked = 58,
  kXYScatter = -4169,
  kXYScatterLines = 74,
  kXYScatterLinesNoMarkers = 75,
};
enum class AxisType : std::int32_t { kCategory = 1, kValue = 2 };
enum class AxisGroup : std::int32_t { kPrimary = 1, kSecondary = 2 };
enum class TickLabelPosition : std::int32_t { kNextToAxis = 4, kLow = -4134, kHigh = -4127, kNone = -4142 };
enum class MarkerStyle : std::int32_t {
  kNone = -4142,
  kAutomatic = -4105,
  kSquare = 1,
  kDiamond = 2,
  kTriangle = 3,
  kX = -4168,
  kStar = 5,
  kCircle = 8,
  kPlus = 9,
};
// What a chart draws for an empty cell of a line of points.
enum class BlankCells : std::int32_t { kNotPlotted = 1, kZero = 2, kInterpolated = 3 };
enum class LegendPosition : std::int32_t { kRight = -4152, kBottom = -4107, kTop = -4160, kLeft = -4131 };
enum class LabelPosition : std::int32_t {
  kAbove = 0,
  kBelow = 1,
  kRight = -4152,
  kLeft = -4131,
  kCenter = -4108,
  kInsideEnd = 3,   // of a bar
  kInsideBase = 4,  // of a bar
};

// Line of a cell edge, axis, series or plot area. Members without a value stay as they are.
struct BorderFormat {
  std::optional<std::int32_t> line_style = {};   // LineStyle
  std::optional<std::int32_t> weight = {};       // LineWeight
  std::optional<std::int32_t> color_index = {};  // 1 to 56
  std::optional<Color> color = {};               // wins over color_index
};

// Fill of cells, plot areas, series and labels. Members without a value stay as they are.
struct InteriorFormat {
  std::optional<std::int32_t> color_index = {};
  std::optional<std::int32_t> pattern_color_index = {};
  std::optional<std::int32_t> pattern = {};  // 1 solid, kXlNone no fill
  std::optional<Color> color = {};           // wins over color_index
};

// Members without a value stay as they are.
struct FontFormat {
  std::optional<std::string> name = {};
  std::optional<double> size = {};  // points
  std::optional<bool> bold = {};
  std::optional<bool> italic = {};
  std::optional<Color> color = {};
};

// A number and the colour of cells that hold it.
struct ColorStop {
  double value;
  Color color;
  bool operator==(const ColorStop&) const = default;
};
// Two or three stops, their values rising.
inline bool is_color_scale(const std::vector<ColorStop>& stops) {
  for (std::size_t next = 1; next < stops.size(); ++next)
    if (!(stops[next - 1].value < stops[next].value)) return false;
  return stops.size() == 2 || stops.size() == 3;
}

class Application;
class Workbook;
class Worksheet;
class ChartObject;
class Chart;
class Axis;
class Series;
class Point;
class DataLabel;

// A rectangle of cells on one sheet. Its size never changes; it may reach outside what the sheet
// holds so far.
class Range {
 public:
  virtual ~Range() = default;

  virtual std::shared_ptr<Worksheet> worksheet() = 0;
  // Place and size on the sheet.
  virtual std::int32_t row() = 0;
  virtual std::int32_t column() = 0;
  virtual std::int32_t row_count() = 0;
  virtual std::int32_t column_count() = 0;
  // A1 style. `absolute`: with "$" markers. `external`: preceded by '[book]sheet'! (quoted where a
  // name needs it).
  virtual std::string address(bool absolute, bool external) = 0;

  // One cell, counted from the range's first cell; may lie outside the range, as in the spreadsheet.
  virtual std::shared_ptr<Range> cell(std::int32_t row, std::int32_t column) = 0;
  virtual std::shared_ptr<Range> offset(std::int32_t rows, std::int32_t columns) = 0;
  virtual std::shared_ptr<Range> resize(std::int32_t rows, std::int32_t columns) = 0;

  // Content of the first cell.
  virtual CellValue value() = 0;
  // Every cell of the range.
  virtual void set_value(const CellValue& value) = 0;
  virtual CellBlock values() = 0;
  // Writes blocks of values from the range's first cell, row by row, one block below the other; together they
  // must have the range's size. Blank cells of a block empty the sheet's cells; formats stay.
  virtual void put_blocks(std::span<const CellBlock* const> blocks) = 0;
  void put(const CellBlock& block) {
    const CellBlock* const one = &block;
    put_blocks({&one, 1});
  }
  // The first cell's formula in its English form, with "="; its content as text where it holds no formula.
  virtual std::string formula() = 0;
  // Every cell; relative references move with the cell. A text without "=" is entered as if typed.
  virtual void set_formula(const std::string& formula) = 0;
  // What the first cell comes to with a formula (without "=") in the place of its own, calculated there. Its
  // formula, its array and its format are afterwards what they were. Where the cell does not take that, what
  // evaluate() makes of the formula if that is a number, or else what the cell shows.
  virtual CellValue value_with(const std::string& formula) = 0;
  // What a formula without "=" comes to for the first cell, which stays as it is: the value that the host
  // recorded for this formula in this very cell, where it did; otherwise as Application::evaluate says.
  virtual CellValue evaluate(const std::string& formula) = 0;

  // Number formats are in English codes; "" sets General.
  virtual std::string number_format() = 0;
  virtual std::string number_format_local() = 0;  // in the codes of the user's language
  virtual void set_number_format(const std::string& format) = 0;
  // One format for each row of the range; a list of another length is refused.
  virtual void set_row_formats(const std::vector<std::string>& formats) = 0;
  virtual void set_font(const FontFormat& font) = 0;
  virtual void set_interior(const InteriorFormat& interior) = 0;
  virtual void set_border(Edge edge, const BorderFormat& border) = 0;
  // Fills cells that hold numbers with the colour of a scale, as long as they hold them; other fills lie
  // below. Numbers between two stops have a mixture of their colours,
  // those beyond the last ones theirs. Throws for what is no color scale.
  virtual void add_color_scale(const std::vector<ColorStop>& stops) = 0;
  // The first row gets buttons that filter the rows below it. A sheet has one such range: a later one takes
  // its place.
  virtual void set_auto_filter() = 0;
  virtual void set_alignment(HAlign horizontal, VAlign vertical) = 0;
  virtual void set_indent(std::int32_t level) = 0;  // 0 to 15
  virtual void set_wrap_text(bool wrap) = 0;
  virtual bool locked() = 0;

  // true: one merged cell that keeps the first cell's content; false: every merge touching the
  // range is undone.
  virtual void set_merge(bool merged) = 0;
  // Fits the widths of the range's columns to the contents of the range's cells (not of the whole columns).
  virtual void auto_fit_columns() = 0;
  virtual double column_width() = 0;  // first column, characters
  virtual void set_column_width(double characters) = 0;
  virtual void set_columns_hidden(bool hidden) = 0;
  virtual double row_height() = 0;  // first row, points
  virtual void set_row_height(double points) = 0;
  virtual double left() = 0;
  virtual double top() = 0;
  virtual double width() = 0;
  virtual double height() = 0;

  // A note of the first cell, replacing one that is there.
  virtual void add_comment(const std::string& text) = 0;
  virtual void select() = 0;
  virtual void activate() = 0;
};

// Rows or columns side by side, from `first` to `last`, counted from 1; 0: none.
struct Span {
  std::int32_t first = 0, last = 0;
  bool is_empty() const { return first == 0; }
  bool operator==(const Span&) const = default;
};

struct PageSetup {
  bool landscape = false;
  std::int32_t fit_to_pages_wide = 0;              // 0: not fitted
  std::int32_t fit_to_pages_tall = 0;              // 0: as many as needed
  std::int32_t scale = 100;                        // of a print that is not fitted, in percent; 10 to 400
  std::int32_t print_rows = 0, print_columns = 0;  // what is printed, from the first cell; 0: all there is
  Span print_title_rows = {}, print_title_columns = {};  // repeated on the pages that come after them
  std::vector<std::int32_t> row_breaks = {};  // a page begins with each of these rows; rising, from 2
  // The same of columns. Spreadsheets pay no heed to them where the print is fitted.
  std::vector<std::int32_t> column_breaks = {};
  std::string left_header = {}, center_header = {}, right_header = {};  // with the spreadsheet's & codes
  std::string left_footer = {}, center_footer = {}, right_footer = {};
};

class Worksheet {
 public:
  virtual ~Worksheet() = default;
  virtual std::shared_ptr<Workbook> workbook() = 0;
  virtual std::string name() = 0;
  // Throws for an empty, too long (over 31 UTF-16 units), malformed or taken name.
  virtual void set_name(const std::string& name) = 0;
  virtual std::int32_t row_limit() = 0;     // rows of the whole sheet
  virtual std::int32_t column_limit() = 0;  // columns of the whole sheet
  virtual std::int64_t cell_limit() = 0;    // most cells that a table may have; 0: as many as the sheet
  // By A1 address, "$" allowed, case ignored. Throws for what is no address.
  virtual std::shared_ptr<Range> range(const std::string& address) = 0;
  virtual std::shared_ptr<Range> range(std::int32_t row, std::int32_t column, std::int32_t rows,
                                       std::int32_t columns) = 0;
  virtual std::shared_ptr<ChartObject> add_chart(double left, double top, double width, double height) = 0;
  // Takes the place of everything set up before. Throws for rows and columns that are none of the sheet's.
  virtual void set_page_setup(const PageSetup& setup) = 0;
  // The rows above and columns left of the split stay in view; 0, 0 takes the split away.
  virtual void freeze_panes(std::int32_t rows, std::int32_t columns) = 0;
  virtual void set_display_gridlines(bool shown) = 0;
  virtual void activate() = 0;
  // Puts the sheet before another one of its workbook, named without regard to case; error 9 when there is
  // none. Which sheet is active afterwards is left to the spreadsheet.
  virtual void move_before(const std::string& sheet) = 0;
  // Removes the sheet; throws for the last one of a workbook.
  virtual void remove() = 0;
};

struct DocumentProperties {
  std::string title, subject, author, company, keywords, comments;
};

class Workbook {
 public:
  virtual ~Workbook() = default;
  virtual std::string name() = 0;
  virtual bool multi_user_editing() = 0;  // the workbook is shared
  virtual std::vector<std::shared_ptr<Worksheet>> worksheets() = 0;
  // By name, case ignored; throws error 9 when there is none.
  virtual std::shared_ptr<Worksheet> worksheet(const std::string& name) = 0;
  // After the last sheet, with a default name.
  virtual std::shared_ptr<Worksheet> add_worksheet() = 0;
  virtual void set_properties(const DocumentProperties& properties) = 0;
  virtual void activate() = 0;
};

class Application {
 public:
  virtual ~Application() = default;
  virtual std::string name() = 0;
  virtual std::string version() = 0;  // "16.0"
  virtual Calculation calculation() = 0;
  virtual void set_calculation(Calculation mode) = 0;
  virtual bool screen_updating() = 0;
  virtual void set_screen_updating(bool on) = 0;
  virtual bool display_alerts() = 0;
  virtual void set_display_alerts(bool on) = 0;
  virtual bool interactive() = 0;  // takes keys and clicks of the user
  virtual void set_interactive(bool on) = 0;
  virtual Cursor cursor() = 0;
  virtual void set_cursor(Cursor cursor) = 0;
  // The text that was put there; empty while the application shows its own.
  virtual std::string status_bar() = 0;
  virtual void set_status_bar(const std::string& text) = 0;  // empty: the application's own text again

  virtual std::shared_ptr<Workbook> active_workbook() = 0;  // null when no workbook is open
  virtual std::shared_ptr<Worksheet> active_sheet() = 0;    // null when no workbook is open
  virtual std::shared_ptr<Range> active_cell() = 0;         // null when no workbook is open
  virtual std::shared_ptr<Workbook> workbook(
      const std::string& name) = 0;                      // throws error 9 when there is none
  virtual std::shared_ptr<Workbook> add_workbook() = 0;  // with one empty sheet; becomes the active workbook
  // By external address '[book]sheet'!A1.
  virtual std::shared_ptr<Range> range(const std::string& external_address) = 0;
  // A formula without "="; what cannot be computed is an error value, not an exception.
  virtual CellValue evaluate(const std::string& formula) = 0;
  // A number as cells of a format show it: English codes, separators and names of the user's language. Throws
  // for a format that cannot be read.
  virtual std::string formatted(double number, const std::string& format) = 0;
  virtual void calculate() = 0;
  // Runs a macro of the add-in with a cell and a selector; the result as text.
  virtual std::string run(const std::string& macro, Range& cell, std::int16_t selector) = 0;
  // Smallest and largest number of a range; throws when it holds an error value; 0 when it holds no number.
  virtual double min(Range& range) = 0;
  virtual double max(Range& range) = 0;
};

// The frame of a chart on a sheet.
class ChartObject {
 public:
  virtual ~ChartObject() = default;
  virtual std::shared_ptr<Chart> chart() = 0;
  virtual double left() = 0;
  virtual double top() = 0;
  virtual double width() = 0;
  virtual double height() = 0;
  virtual void set_left(double points) = 0;
  virtual void set_top(double points) = 0;
  virtual void set_width(double points) = 0;
  virtual void set_height(double points) = 0;
  virtual void set_on_action(const std::string& macro) = 0;
  virtual void set_name(const std::string& name) = 0;
  virtual void set_alternative_text(const std::string& text) = 0;
  virtual void remove() = 0;
};

class Chart {
 public:
  virtual ~Chart() = default;
  virtual std::shared_ptr<ChartObject> container() = 0;
  virtual void set_kind(ChartKind kind) = 0;
  virtual void set_chart_area_line_weight(double points) = 0;
  virtual void set_chart_area_interior(const InteriorFormat& interior) = 0;

  // Title; an empty text takes it away. Line feeds are kept.
  virtual void set_title(const std::string& text) = 0;
  // Format of `length` UTF-16 units of the title from `start` (from 1).
  virtual void format_title(std::int32_t start, std::int32_t length, const FontFormat& font) = 0;
  virtual void set_title_top(double points) = 0;

  virtual void set_plot_area_border(const BorderFormat& border) = 0;
  virtual void set_plot_area_interior(const InteriorFormat& interior) = 0;
  virtual Color plot_area_interior_color() = 0;
  virtual void set_plot_area_top(double points) = 0;
  // Place of the plot area inside its axis labels, within the chart.
  virtual void set_plot_area_inside(double left, double top, double width, double height) = 0;

  virtual void set_has_legend(bool shown) = 0;
  virtual void set_legend_position(LegendPosition position) = 0;
  virtual void set_legend_font(const FontFormat& font) = 0;
  virtual void delete_legend() = 0;  // throws when there is none

  virtual void set_has_axis(AxisType type, AxisGroup group, bool shown) = 0;
  // Throws when the chart has no such axis. Axes exist once a series of their group does.
  virtual std::shared_ptr<Axis> axis(AxisType type, AxisGroup group) = 0;

  virtual std::int32_t series_count() = 0;
  virtual std::shared_ptr<Series> series(std::int32_t index) = 0;
  virtual std::shared_ptr<Series> new_series() = 0;
  // Bars of the primary group: space between categories in percent of a bar, overlap in
  // percent (100: stacked).
  virtual void set_gap_width(std::int32_t percent) = 0;
  virtual void set_overlap(std::int32_t percent) = 0;
  // Cells in hidden rows and columns are drawn too when false.
  virtual void set_plot_visible_only(bool visible_only) = 0;
  virtual void set_display_blanks_as(BlankCells shown) = 0;

  // A text over the chart, placed in points within it.
  virtual void add_text_box(double left, double top, double width, double height, const std::string& text,
                            const FontFormat& font) = 0;
};

class Axis {
 public:
  virtual ~Axis() = default;
  virtual void set_border(const BorderFormat& border) = 0;
  virtual void set_major_tick_mark(std::int32_t tick_mark) = 0;  // kXlNone, 2 inside, 3 outside, 4 cross
  virtual void set_minor_tick_mark(std::int32_t tick_mark) = 0;
  virtual void set_tick_label_position(TickLabelPosition position) = 0;
  virtual void set_tick_label_format(const std::string& number_format) = 0;  // English codes
  virtual void set_tick_label_font(const FontFormat& font) = 0;
  virtual void set_has_major_gridlines(bool shown) = 0;
  virtual void set_major_gridline_border(const BorderFormat& border) = 0;  // throws when there are none
  // No value: automatic.
  virtual void set_minimum_scale(std::optional<double> minimum) = 0;
  virtual void set_maximum_scale(std::optional<double> maximum) = 0;
  virtual void set_major_unit(std::optional<double> unit) = 0;
  // Where on this axis the other axis of its group crosses. No value: automatic.
  virtual void set_crosses_at(std::optional<double> value) = 0;
  // The other axis crosses at this axis's greatest value or last category.
  virtual void set_crosses_maximum() = 0;
  virtual void set_reverse_plot_order(bool reversed) = 0;
  virtual void set_title(const std::string& text) = 0;  // empty: none
  virtual void set_title_font(const FontFormat& font) = 0;
};

class Series {
 public:
  virtual ~Series() = default;
  virtual void set_name(const std::string& name) = 0;
  virtual void set_kind(ChartKind kind) = 0;  // kXYScatter makes a combined chart
  virtual void set_axis_group(AxisGroup group) = 0;
  // Cells, or constants. Cells are referenced by the chart, and their present values kept with it.
  virtual void set_values(Range& cells) = 0;
  virtual void set_values(std::span<const double> constants) = 0;
  virtual void set_x_values(Range& cells) = 0;  // categories of bars: texts allowed
  virtual void set_x_values(std::span<const double> constants) = 0;
  virtual void set_border(const BorderFormat& border) = 0;
  virtual void set_line_width(double points) = 0;
  virtual void set_interior(const InteriorFormat& interior) = 0;
  virtual void set_marker(MarkerStyle style, std::int32_t size, Color foreground, Color background) = 0;
  virtual std::shared_ptr<Point> point(std::int32_t index) = 0;
};

class Point {
 public:
  virtual ~Point() = default;
  virtual void set_interior(const InteriorFormat& interior) = 0;  // of a bar
  virtual void set_marker_style(MarkerStyle style) = 0;
  virtual void set_marker_foreground_color(Color color) = 0;
  virtual void set_marker_background_color(Color color) = 0;
  virtual void set_marker_size(std::int32_t points) = 0;  // 2 to 72
  // Value labels, with or without the legend key.
  virtual void apply_data_labels(bool legend_key) = 0;
  virtual std::shared_ptr<DataLabel> data_label() = 0;  // throws when the point has none
};

class DataLabel {
 public:
  virtual ~DataLabel() = default;
  virtual void set_text(const std::string& text) = 0;
  virtual void set_font(const FontFormat& font) = 0;
  virtual void set_position(LabelPosition position) = 0;
  virtual void set_alignment(HAlign horizontal, VAlign vertical) = 0;
  virtual void set_horizontal_orientation() = 0;
  virtual void set_interior(const InteriorFormat& interior) = 0;
  virtual void set_border(const BorderFormat& border) = 0;
};

}  // namespace ordvane::host
