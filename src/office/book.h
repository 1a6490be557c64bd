// The data of an in-memory workbook: sheets, styles, charts, as plain values.
//
// office/ fills it through the host interfaces; xlsx/ writes it to a file. Rows and columns count from 1.
// Positions and sizes are points, column widths characters, colours 0xBBGGRR.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/excel.h"
#include "host/unset_memory.h"
#include "office/cell_content.h"
#include "office/row_styles.h"
#include "text/cell_names.h"

namespace ordvane::office {

using text::kSheetColumns;
using text::kSheetRows;
inline constexpr double kDefaultRowHeight = 15.0;    // points
inline constexpr double kDefaultColumnWidth = 8.43;  // characters
inline constexpr const char* kDefaultFont = "Calibri";
inline constexpr double kDefaultFontSize = 11;

using TextId = std::uint32_t;

struct EdgeLine {
  std::int32_t line_style = host::kXlNone;
  std::int32_t weight = 2;
  std::optional<host::Color> color;  // none: automatic
  bool operator==(const EdgeLine&) const = default;
};

struct CellStyle {
  std::string number_format = "General";
  std::string font_name = kDefaultFont;
  double font_size = kDefaultFontSize;
  bool bold = false, italic = false;
  std::optional<host::Color> font_color;  // none: automatic
  std::optional<host::Color> fill;        // none: no fill
  EdgeLine left, top, right, bottom;
  host::HAlign horizontal = host::HAlign::kGeneral;
  host::VAlign vertical = host::VAlign::kBottom;
  std::int32_t indent = 0;
  bool wrap = false;
  bool locked = true;
  bool operator==(const CellStyle&) const = default;
};

// Each different style once; 0 is the default style. Throws when there are more than 65,000.
class StyleTable {
 public:
  StyleTable();
  StyleId intern(const CellStyle& style);
  const CellStyle& at(StyleId id) const { return styles_[id]; }
  std::size_t size() const { return styles_.size(); }

 private:
  std::vector<CellStyle> styles_;
  std::unordered_multimap<std::size_t, StyleId> ids_;  // by hash
};

// Each different text once, in the order of first use.
class TextTable {
 public:
  TextId intern(std::string_view text);
  const std::string& at(TextId id) const { return *texts_[id]; }
  std::size_t size() const { return texts_.size(); }

 private:
  std::unordered_map<std::string, TextId> ids_;
  std::vector<const std::string*> texts_;
};

// Consecutive rows of a sheet, row-major, all of one width. Bands may lie side by side: a row can have cells
// in several bands.
struct RowBand {
  RowBand() = default;
  // Of blank cells in the default style.
  RowBand(std::int32_t row, std::int32_t row_count, std::int32_t column, std::int32_t column_count);
  std::int32_t first_row = 1, rows = 0;
  std::int32_t first_column = 1, columns = 0;
  host::UnsetVector<CellContent> cells;  // a cell with a style may be blank
  RowStyles styles;
  std::size_t index(std::int32_t row, std::int32_t column) const {
    return static_cast<std::size_t>(row - first_row) * static_cast<std::size_t>(columns) +
           static_cast<std::size_t>(column - first_column);
  }
  // The styles of a row's cells, from the first column on.
  const StyleId* styles_of(std::int32_t row) const {
    return styles.row(static_cast<std::size_t>(row - first_row));
  }
  StyleId style(std::size_t index) const {
    const auto width = static_cast<std::size_t>(columns);
    return styles.row(index / width)[index % width];
  }
  void add_rows(std::int32_t count);
};

// What a cell holds, with its text.
host::CellValue value_of(const TextTable& texts, const CellContent& cell);

struct CellRef {
  std::int32_t row = 1, column = 1;
  auto operator<=>(const CellRef&) const = default;  // NOLINT(modernize-use-nullptr): misread by the check
};

struct Area {
  std::int32_t row = 1, column = 1, rows = 1, columns = 1;
  bool operator==(const Area&) const = default;
};

// "B4", "$B$4", "B4:C9" …
using text::cell_name;
using text::column_name;
std::string area_name(const Area& area, bool absolute = false);
// Without sheet; "$" allowed, case ignored. Nothing for what is no address.
std::optional<Area> parse_area(std::string_view address);
// A sheet name as formulas write it, quoted where needed.
std::string quoted_sheet_name(const std::string& name);

struct Comment {
  CellRef cell;
  std::string text;
};

// ---- Charts ----

struct LineProps {
  std::int32_t line_style = 1;  // LineStyle; kNone: no line
  double width = 0.75;          // points
  std::optional<host::Color> color;
};

struct FillProps {
  bool none = false;
  std::optional<host::Color> color;  // none and no color: automatic
};

struct FontProps {
  std::optional<std::string> name;
  std::optional<double> size;
  std::optional<bool> bold, italic;
  std::optional<host::Color> color;
};

struct TextRun {
  std::string text;
  FontProps font;
};

struct MarkerProps {
  std::int32_t style = host::kXlAutomatic;  // MarkerStyle
  std::int32_t size = 5;
  std::optional<host::Color> foreground, background;
};

// Cells of a chart series, with what they held when the workbook was written; or constants.
struct SeriesData {
  std::string sheet;  // empty: constants
  Area area;
  std::vector<host::CellValue> constants;
};

struct DataLabelModel {
  bool legend_key = false;
  std::optional<std::string> text;  // none: the value
  FontProps font;
  std::optional<std::int32_t> position;  // LabelPosition
  std::optional<FillProps> fill;
  std::optional<LineProps> border;
};

struct PointModel {
  std::optional<FillProps> fill;
  std::optional<MarkerProps> marker;
  std::optional<DataLabelModel> label;
};

struct SeriesModel {
  std::string name;
  host::ChartKind kind = host::ChartKind::kXYScatterLines;
  host::AxisGroup group = host::AxisGroup::kPrimary;
  SeriesData values;
  SeriesData x_values;
  std::optional<LineProps> line;
  std::optional<FillProps> fill;
  std::optional<MarkerProps> marker;
  std::map<std::int32_t, PointModel> points;  // by one-based position
};

struct AxisModel {
  bool present = true;
  std::optional<LineProps> line;
  std::int32_t major_tick_mark = 3, minor_tick_mark = host::kXlNone;
  host::TickLabelPosition tick_labels = host::TickLabelPosition::kNextToAxis;
  std::optional<std::string> number_format;  // none: linked to the cells
  FontProps label_font;
  bool major_gridlines = false;
  LineProps gridline;
  std::optional<double> minimum, maximum, major_unit, crosses_at;
  bool crosses_maximum = false;
  bool reversed = false;
  std::string title;
  FontProps title_font;
};

struct TextBoxModel {
  double left = 0, top = 0, width = 0, height = 0;
  std::string text;
  FontProps font;
};

struct PlotArea {
  std::optional<LineProps> border;
  std::optional<FillProps> fill;
  std::optional<double> top;
  struct Inside {
    double left, top, width, height;
  };
  std::optional<Inside> inside;
};

struct ChartModel {
  std::int32_t id = 0;  // unique in its workbook, from 1
  std::string name, alternative_text, click_macro;
  double left = 0, top = 0, width = 0, height = 0;
  host::ChartKind kind = host::ChartKind::kXYScatterLines;
  double area_line_width = 0.75;
  FillProps area_fill;
  std::vector<TextRun> title;  // empty: none
  std::optional<double> title_top;
  PlotArea plot;
  bool has_legend = true;
  host::LegendPosition legend_position = host::LegendPosition::kRight;
  FontProps legend_font;
  std::vector<std::shared_ptr<SeriesModel>> series;
  // [AxisGroup - 1][AxisType - 1]; the secondary ones count only when a series is on them.
  AxisModel axes[2][2];
  std::int32_t gap_width = 150, overlap = 0;
  bool plot_visible_only = true;
  host::BlankCells blank_cells = host::BlankCells::kNotPlotted;
  std::vector<TextBoxModel> text_boxes;
};

// ---- Sheets and workbooks ----

struct ColumnProps {
  std::optional<double> width;  // characters; none: default
  bool hidden = false;
};

struct ColorScale {
  Area area;
  std::vector<host::ColorStop> stops;
};

struct SheetModel {
  std::string name;
  std::vector<RowBand> bands;               // ordered by first row, then first column; not overlapping
  std::map<CellRef, std::string> formulas;  // English, with "="; the cell holds the value last computed
  std::vector<Area> merges;
  std::vector<ColorScale> color_scales;
  std::optional<Area> filter;  // its first row has the buttons
  std::map<std::int32_t, ColumnProps> columns;
  std::map<std::int32_t, double> row_heights;  // points, only rows that were set or fitted
  std::map<CellRef, std::string> comments;
  std::vector<std::shared_ptr<ChartModel>> charts;
  host::PageSetup page;
  std::int32_t frozen_rows = 0, frozen_columns = 0;
  bool gridlines = true;
  Area selection;
  CellRef active_cell;
  bool is_report = false;  // made by this program: a later report of its name may take its place
  bool is_kept = false;    // cannot be removed: belongs to the user of a workbook that reports go into
};

// Column widths as the spreadsheet rounds them: whole pixels at 96 dpi, 7 to a digit of the default font, 5
// of padding. A pixel is 0.75 points.
std::int32_t column_pixels(double characters);
double column_characters(std::int32_t pixels);

struct BookModel {
  std::string name;
  bool multi_user_editing = false;
  StyleTable styles;
  TextTable texts;
  std::vector<std::shared_ptr<SheetModel>> sheets;
  std::size_t active_sheet = 0;  // zero-based position in `sheets`
  host::DocumentProperties properties;
};

}  // namespace ordvane::office
