// The report layer: report workbook, sheets, tables and charts, on the host's spreadsheet.
//
// A report asks the workbook for a sheet, writes a title block, then adds charts and tables, each below what
// the sheet holds so far, and finishes the sheet. The layer owns the look of everything it places: fonts,
// fills, rules, print set-up. Reports fill bodies in blocks and format columns in runs; nothing here writes
// cell by cell.
//
// Rows and columns of a table count from 1 within the part that an operation addresses. Every operation
// throws host::Error when the host refuses. Objects hold references to the session and must not outlive it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/excel.h"
#include "layout/axis_ticks.h"
#include "layout/page_plan.h"
#include "session/session.h"

namespace ordvane::layout {

class ReportChart;
class ReportSheet;
class ReportTable;

// Look of the rules that separate groups of columns and rows.
inline constexpr std::int32_t kRuleLineStyle = 1;
inline constexpr std::int32_t kRuleWeight = 2;
inline constexpr std::int32_t kRuleColorIndex = 15;
inline constexpr double kNameColumnWidth = 22.0;  // characters
inline constexpr double kFitColumn = -1.0;
inline constexpr double kBetweenCharts = 12.0;  // points, side by side

// One line of a title block: a label, and a value beside it.
struct TitleLine {
  std::string label;
  host::CellValue value;
  std::string number_format = {};  // local form; empty: General
};

// The workbook that holds the results of several report workbooks; null until one is made.
struct GatheredResults {
  std::shared_ptr<host::Workbook> workbook;
};

class ReportWorkbook {
 public:
  // Into `target`; when it is null, into the workbook of `gathered` as long as that is open, else into a new
  // one, which becomes that of `gathered`. Without `gathered`, the new workbook is for these results alone.
  // Texts come in the session's language, whatever the last argument says.
  ReportWorkbook(session::Session& session, std::string name, std::shared_ptr<host::Workbook> target,
                 std::shared_ptr<GatheredResults> gathered, std::int32_t language_id);

  // Whether the spreadsheet may be told to show the finished reports.
  void SetExcelReady(bool ready);
  // Report sheets replace sheets of the same name instead of taking a free name. Sheets that this object has
  // added, and those that the host does not let go, are never replaced.
  void OverwriteExisting();
  // A sheet after the last one. A name that is taken gets " (2)", " (3)" … within the spreadsheet's 31
  // characters.
  std::shared_ptr<ReportSheet> AddSheet(const std::string& name);
  // Adds a list of the report sheets with links where there are many, before the first one; sets the document
  // properties of a new workbook; shows the first report sheet, or the list.
  void ReportsComplete();

  // The workbook that holds the reports; null until the first sheet is added.
  std::shared_ptr<host::Workbook> workbook() const { return workbook_; }

 private:
  void open_workbook();
  std::vector<std::string> titles_under(session::TextId<0> label) const;
  void name_document();
  void add_contents();
  std::string free_name(const std::string& name, const std::string& own_name);
  std::shared_ptr<host::Worksheet> take_worksheet();

  session::Session& session_;
  std::string name_;
  std::shared_ptr<host::Workbook> target_;
  std::shared_ptr<GatheredResults> gathered_;  // may be null
  bool is_new_ = false;                        // the workbook was made here
  bool excel_ready_ = false;
  bool overwrite_existing_ = false;
  std::shared_ptr<host::Workbook> workbook_;
  std::shared_ptr<host::Worksheet> empty_sheet_;  // the one a new workbook comes with, until it is used
  std::shared_ptr<host::Worksheet> first_sheet_;
  std::vector<std::shared_ptr<ReportSheet>> reports_;
  std::set<std::string> added_;                 // names of the sheets added here
  std::map<std::string, std::int32_t> copies_;  // by wanted name: how many names were tried
};

class ReportWorkbookFactory {
 public:
  // With `single_workbook_all_results`, all results that go into no target are gathered in one workbook.
  std::shared_ptr<ReportWorkbook> CreateReportWorkbook(session::Session& session, const std::string& name,
                                                       std::shared_ptr<host::Workbook> target,
                                                       bool single_workbook_all_results,
                                                       std::int32_t language_id);
  // Later results are gathered in another workbook.
  void ForgetResults() { gathered_.reset(); }

 private:
  std::shared_ptr<GatheredResults> gathered_;
};

class ReportSheet : public std::enable_shared_from_this<ReportSheet> {
 public:
  ReportSheet(session::Session& session, std::shared_ptr<host::Worksheet> worksheet);

  const std::shared_ptr<host::Worksheet>& SheetWorksheet() const { return worksheet_; }
  const std::string& title() const { return title_; }
  const std::vector<TitleLine>& title_lines() const { return title_lines_; }
  void AddTitleBlock(const std::string& title, const std::vector<TitleLine>& lines);
  void AddTitleBlockEx(const std::string& title, const std::vector<TitleLine>& lines);
  // 1: printed pages are set up for reports (width of one page, header and footer).
  void SetSheetOption(std::int32_t option);
  std::shared_ptr<ReportTable> AddTable(std::int32_t rows, std::int32_t columns, std::int32_t header_rows,
                                        std::int32_t row_header_columns, const std::string& caption,
                                        const std::string& subcaption);
  // Kinds: 33 spider graph and message chart, 34 sensitivity graph, 64 tornado. Sizes in points.
  std::shared_ptr<ReportChart> AddChart(std::int32_t kind, double width, double height);
  // Charts that are added from here on stand side by side, so many a row.
  void PlaceChartsSideBySide(std::int32_t charts);
  // Takes a chart away again and gives its room back.
  void RemoveChart(const std::shared_ptr<ReportChart>& chart);
  // Height in points at which this many bars read well.
  double ChartHeightForBars(std::int16_t bars) const;
  // The cell below what the sheet holds so far.
  std::shared_ptr<host::Range> NextCell();
  void AddCellNote(host::Range& cell, const std::string& heading, const std::string& text);
  // A quiet line below what the sheet holds so far. It wraps at the width of the finished sheet. Returns its
  // first cell.
  std::shared_ptr<host::Range> AddLine(const std::string& text);
  // Makes a cell lead to a row of the sheet.
  void PutLink(host::Range& cell, std::int32_t row, const std::string& text);
  void FinishSheet();

  session::Session& session() const { return session_; }

 private:
  friend class ReportTable;
  friend class ReportChart;

  struct Room {
    std::int32_t row, rows;
  };

  void settle_tables();
  Room take_room(double height);
  bool has_place_beside(double height);
  bool is_out_of_sight(host::Range& cells) const { return cells.column() > last_column(); }
  std::int32_t take_helper_columns(std::int32_t count);
  std::int32_t last_column() const;
  double used_width() const;
  std::int32_t text_columns() const;
  void fit_title_block();
  bool wrap_title_lines();
  void leave_lines();
  bool fit_lines();
  void return_charts();
  // Something that is printed; `table` is null for charts.
  struct Placed {
    PrintedBlock block;
    const ReportTable* table;
  };
  struct Kept {
    std::int32_t columns = 0;
    double width = 0;
  };
  std::vector<Placed> placed();
  void keep_line(std::int32_t row, std::vector<Placed>& blocks);
  Kept kept_columns(double most);
  static host::Span repeated_rows(const std::vector<Placed>& blocks, const PagePlan& plan);
  void set_page_texts(host::PageSetup& setup);
  void freeze_headers(double width);
  std::vector<std::int32_t> repeat_columns(PrintedSheet& sheet, host::PageSetup& setup);
  void set_up_pages();

  std::int32_t next_row_ = 1;    // first free row
  std::optional<Room> vacated_;  // where a chart was taken away from above other things
  session::Session& session_;
  std::shared_ptr<host::Worksheet> worksheet_;
  std::string title_;
  std::vector<TitleLine> title_lines_;
  std::map<std::int32_t, std::string> lines_;  // by row, those not yet fitted
  std::vector<std::shared_ptr<ReportTable>> tables_;
  std::map<std::int32_t, double> settled_widths_;  // by column, characters
  std::vector<std::shared_ptr<ReportChart>> charts_;
  std::int32_t charts_in_row_ = 1, placed_in_row_ = 0;
  std::int32_t helper_column_ =
      0;  // first free column for the hidden figures that charts draw from; 0: none yet
  std::map<std::pair<std::int32_t, std::int32_t>, std::string> notes_;  // by row and column
  bool report_pages_ = false;
};

class ReportTable {
 public:
  // Made by ReportSheet::AddTable.
  ReportTable(ReportSheet& sheet, std::int32_t first_row, std::int32_t rows, std::int32_t columns,
              std::int32_t header_rows, std::int32_t row_header_columns, const std::string& caption,
              const std::string& subcaption);

  std::int32_t rows() const { return rows_; }
  std::int32_t columns() const { return columns_; }
  // The cell above the row headers; the first header cell when there are none.
  std::shared_ptr<host::Range> CornerRange();
  std::shared_ptr<host::Range> HeaderRowRange(std::int32_t header_row);  // 0: the block of header rows
  std::shared_ptr<host::Range> ColumnHeaderRange(std::int32_t column);   // 0: the left edge of the table
  std::shared_ptr<host::Range> BodyRange();  // of a table without rows: one row that stays empty
  std::shared_ptr<host::Range> CaptionRange();
  void SetRowHeader(std::int32_t row_header_column, std::int32_t row, const std::string& text);
  // The caption goes into the last header row. `text`: true for names and addresses, false for figures.
  void SetColumnHeader(std::int32_t column, const std::string& caption, host::HAlign body_alignment,
                       host::HAlign caption_alignment, std::int32_t reserved, double width,
                       const std::string& number_format, bool text);
  // Its two halves: a table without headers of its own goes on under the captions of the one above it.
  void SetCaption(std::int32_t column, const std::string& caption, host::HAlign alignment);
  void SetColumn(std::int32_t column, host::HAlign body_alignment, double width,
                 const std::string& number_format, bool text);
  // Row 0: the header block.
  void AddTableNote(std::int32_t row, std::int32_t column, const std::string& heading,
                    const std::string& text);
  // Vertical rule at the right of a column, through headers and body. `last` -1: the whole table.
  void AddColumnRule(std::int32_t column, std::int32_t last, std::int32_t line_style, std::int32_t weight,
                     std::int32_t color_index);
  // Horizontal rule below a body row.
  void AddRowRule(std::int32_t row, std::int32_t last, std::int32_t line_style, std::int32_t weight,
                  std::int32_t color_index);

  // Writes whole body rows from `first_row` on; the block has the table's columns.
  void PutBody(std::int32_t first_row, const host::CellBlock& block);
  // A number format for every body row of a column, in local form.
  void FormatRows(std::int32_t column, const std::vector<std::string>& formats);
  // Number format of a run of body rows, in one column or some side by side, in local form.
  void FormatBody(std::int32_t first_row, std::int32_t rows, std::int32_t column, const std::string& format,
                  std::int32_t columns = 1);
  // Cells of the body, from (row, column).
  std::shared_ptr<host::Range> Body(std::int32_t row, std::int32_t column, std::int32_t rows = 1,
                                    std::int32_t columns = 1);
  // Figures that only charts draw from, beside body rows from `first_row` on, in hidden columns. Every block
  // has as many columns as the first one.
  std::shared_ptr<host::Range> PutOutOfSight(std::int32_t first_row, const host::CellBlock& figures);
  // Cells of the header block.
  std::shared_ptr<host::Range> Header(std::int32_t row, std::int32_t column, std::int32_t rows = 1,
                                      std::int32_t columns = 1);
  // How many of the sheet's first columns say what a row is. They stay in view, and are repeated on printed
  // pages, where the sheet is wide: `all` as long as they leave room for others, else the first `least`. One,
  // until it is told.
  void SetIdentityColumns(std::int32_t all, std::int32_t least);
  // Columns from `first` on that belong together, `width` by `width`, `count` times: printed pages side by
  // side begin with such a block, and never within one. The first table of a sheet decides for all of them.
  void AddColumnBlocks(std::int32_t first, std::int32_t width, std::int32_t count);
  // A caption over a group of columns, centred in one merged cell of the header. Columns that printed pages
  // part have it on every page.
  struct Heading {
    std::int32_t row, column, rows, columns;
    std::string caption;
  };
  void AddHeading(const Heading& heading);
  // Names wider than their column may get go on below, in rows that are as high as it takes; without this
  // they are seen as far as the column reaches. In these body rows; without any, in all.
  void WrapNames(std::vector<std::int32_t> rows = {});
  // Fits the columns that are to fit, and the height of the captions, to what the table holds by now. The
  // sheet sees to it before it places something below the table, and at its end.
  void Settle();

 private:
  friend class ReportSheet;

  std::int32_t body_row() const;     // sheet row of body row 1
  std::int32_t body_column() const;  // sheet column of body column 1
  std::int32_t header_row() const;   // sheet row of header row 1
  std::int32_t rows_on_sheet() const { return rows_ < 1 ? 1 : rows_; }
  std::int32_t sheet_columns() const { return row_header_columns_ + columns_; }
  std::int32_t last_row() const { return body_row() + rows_on_sheet() - 1; }

  std::shared_ptr<host::Range> cells(std::int32_t row, std::int32_t column, std::int32_t rows = 1,
                                     std::int32_t columns = 1);
  void write_captions(const std::string& caption, const std::string& subcaption);
  void format_header();
  void format_body();
  double settle_column(std::int32_t column);
  void settle_groups();
  void settle_rows();
  // Each of these sheet columns begins a printed page.
  void part_headings(const std::vector<std::int32_t>& first_columns);
  void measure_names(const host::CellBlock& block);

  ReportSheet& sheet_;
  std::int32_t first_row_;  // sheet row of the caption
  std::int32_t rows_, columns_, header_rows_, row_header_columns_;
  std::int32_t hidden_column_ = 0;  // sheet column of the first figure out of sight; 0: there are none
  std::int32_t identity_columns_, least_identity_columns_;
  bool has_caption_, has_subcaption_;
  std::vector<std::int32_t> column_blocks_;  // sheet columns that they begin with
  std::vector<Heading> headings_;
  bool wraps_names_ = false;
  std::vector<std::int32_t> wrapped_rows_;        // none: all
  bool settled_ = false;                          // nothing was written since the last Settle
  std::map<std::int32_t, std::string> captions_;  // by sheet column
  std::map<std::int32_t, double> widths_to_fit_;  // by sheet column that fits its contents: its width so far
  std::map<std::int32_t, double> name_widths_;    // by sheet column of texts: the widest so far, points
};

// What tornado bars are made of.
struct BarParts {
  std::optional<double> split = {};     // the parts below and above this value can be coloured apart
  bool labels = false;                  // the ends can have texts beside them
  std::string number_format = {};       // of the values, English codes; for the value axis
  std::vector<std::int32_t> rows = {};  // of the table's, one a bar; empty: the first `bars`
  std::set<std::int32_t> points = {};   // bars, from 1, that are seen although they have no length
};
struct BarLabels {
  std::string left, right;                        // empty: none
  host::Color left_on_bar = 0, right_on_bar = 0;  // colour of the text where it stands on the bar
};
struct ColorKey {
  host::Color color;
  std::string text;
};

// A chart on a report sheet. Made by ReportSheet::AddChart.
class ReportChart {
 public:
  ReportChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container, std::int32_t kind);

  std::shared_ptr<host::Chart> Chart() const { return chart_; }
  const std::shared_ptr<host::ChartObject>& Container() const { return container_; }
  // A line of points; FinishChart puts automatic axes around them. A cell that is empty is a gap in it. Names
  // are cut to the room of a legend.
  void AddSeries(host::Range& x_values, host::Range& y_values, const std::string& name);
  void SetTitle(const std::string& text);
  void SetSubtitle(const std::string& text);
  // A line below the subtitle that says what colours of bars mean, from FinishChart on.
  void SetColorKey(const std::vector<ColorKey>& key);
  void SetChartOption(std::int32_t option);  // 0: no connecting lines are smoothed; the only option there is
  // Horizontal bars from `low` to `high`, one a row, the first on top, labelled by `names`. Stacked series: 1
  // and 2 lead unseen from zero to the bar, 1 as far as the value axis begins; 3 and 4 are the bar on the
  // negative and the positive side. Two more are what a split leaves of the bar beyond 3 and 4, and two
  // unseen ones go on from the bar to the ends of the axis when there are labels. Their figures are formulas
  // in hidden columns, so the bars follow the table. `crossing`: where the category axis stands. The value
  // axis gets its ticks here, for SetXAxis.
  void AddTornadoBars(std::int16_t bars, host::Range& low, host::Range& high, host::Range& names,
                      double crossing, const BarParts& parts = {});
  // Colours what of a bar lies below or above the value that the bars are split at.
  void ColorBarPart(std::int32_t bar, bool above, host::Color color);
  // Texts at the ends of the bars, for bars with labels, after FinishChart: beside the bar, or where the plot
  // has no room there, on the bar, whose parts have room for one each. One that has room in neither place, or
  // would lie on the category axis, is left out.
  void LabelBarEnds(const std::vector<BarLabels>& labels);
  // Figures equal to host::kAutoScaleValue are automatic; under bars, those of bar_ticks. `format`: English
  // codes. Horizontal axis.
  void SetXAxis(const std::string& title, double minimum, double maximum, double major_unit,
                const std::string& format, bool shown);
  // Vertical axis.
  void SetYAxis(const std::string& title, double minimum, double maximum, double major_unit,
                const std::string& format);
  void SetWatermark(const std::string& primary, const std::string& secondary, const std::string& click_macro);
  // Of the value axis under bars; none without bars.
  const std::optional<AxisTicks>& bar_ticks() const { return bar_ticks_; }
  // Lays the chart out once all its parts are there.
  void FinishChart();

 private:
  friend class ReportSheet;

  bool has_bars() const { return kind_ == kBarsKind; }
  void apply_title();
  void add_color_key();
  void set_axis(host::Axis& axis, const std::string& title, double minimum, double maximum, double major_unit,
                const std::string& format);
  std::shared_ptr<host::Range> fitted_names(host::Range& names, const std::vector<std::int32_t>& rows);
  double room_for_names() const;
  double bars_width();
  double plot_top() const;
  double plot_height() const;
  // A place within the chart, points.
  struct Box {
    double left = 0, top = 0, width = 0, height = 0;
  };
  Box bars_box();
  void place_plot_area();
  void add_bar_series(const std::string& name, bool seen, host::Range& figures, host::Range& names);
  void read_bar_ends(const host::CellBlock& low, const host::CellBlock& high,
                     const std::vector<std::int32_t>& rows);
  double scale_bars(const std::string& number_format);
  void place_bar_axes();
  double unit_of_point();
  double place_in_plot(double value);  // points from the left end of the value axis
  bool clear_of_axis(double from, double to);
  static double end_label_width(const std::string& text);
  bool label_beside(std::int32_t bar, bool is_right, const std::string& text);
  void label_ends(std::int32_t bar, const BarLabels& texts);
  void label_point(std::int32_t series, std::int32_t bar, const std::string& text, host::Color color,
                   host::LabelPosition position);
  std::int32_t part_at(double end, bool is_right) const;

  // ---- Points ----
  struct Point {
    double x, y;
  };
  // An axis as it was asked for.
  struct AskedAxis {
    std::string title, format;
    bool automatic = false;
  };
  std::string legend_name(const std::string& name);
  void show_legend();
  void keep_points(const host::CellBlock& x, const host::CellBlock& y);
  AxisTicks point_ticks(const AskedAxis& axis, double Point::*coordinate, const AxisRoom& room) const;
  double titles_height() const;
  void lay_out_points();
  std::vector<Box> marks();
  Box quiet_corner(double width, double height);

  static constexpr std::int32_t kBarsKind = 64;
  static constexpr std::int32_t kSpiderKind = 33;

  ReportSheet& sheet_;
  std::shared_ptr<host::ChartObject> container_;
  std::shared_ptr<host::Chart> chart_;
  std::int32_t kind_;
  std::int32_t room_row_ = 0, room_rows_ = 0;  // the rows that the sheet keeps for the chart
  std::string title_, subtitle_, horizontal_title_;
  std::vector<ColorKey> color_key_;
  double longest_name_ = 0;  // width of the longest name in the legend or beside the bars, points
  std::optional<AxisTicks> bar_ticks_;
  std::vector<std::vector<Point>> lines_;  // pieces of the lines, without the gaps between them
  AskedAxis x_axis_, y_axis_;
  AxisTicks x_ticks_, y_ticks_;
  std::optional<Box> points_box_;
  std::optional<double> bar_crossing_, split_;
  struct BarEnds {
    double left, right;
  };
  std::vector<std::optional<BarEnds>> bar_ends_;
  std::set<std::int32_t> points_;
  // The first of two series, negative and positive, that bars have only on demand; 0: not there.
  std::int32_t beyond_ = 0, tails_ = 0;
};

}  // namespace ordvane::layout
