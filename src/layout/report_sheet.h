// A sheet of a report workbook: places a title block, and tables and charts one below another, and sets up
// its printed pages.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/excel.h"
#include "layout/page_plan.h"
#include "session/session.h"

namespace ordvane::layout {

class BarChart;
class PairChart;
class PointChart;
class ReportChart;
class ReportTable;

inline constexpr double kBetweenCharts = 12.0;  // points, side by side

// One line of a title block: a label, and a value beside it.
struct TitleLine {
  std::string label;
  host::CellValue value;
  std::string number_format = {};  // English codes; empty: General
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
  // Sizes in points.
  std::shared_ptr<PointChart> AddPointChart(double width, double height);
  std::shared_ptr<BarChart> AddBarChart(double width, double height);
  std::shared_ptr<PairChart> AddPairChart(double width, double height);
  // Charts that are added from here on stand side by side, so many a row.
  void PlaceChartsSideBySide(std::int32_t charts);
  // Takes a chart away again and gives its room back.
  void RemoveChart(const std::shared_ptr<ReportChart>& chart);
  // Height in points at which this many bars read well.
  double ChartHeightForBars(std::int16_t bars) const;
  // The cell below what the sheet holds so far.
  std::shared_ptr<host::Range> NextCell();
  void AddCellNote(host::Range& cell, const std::string& heading, const std::string& text);

  // A quiet line below what the sheet holds so far, as much of it as a cell takes. It wraps at the width of
  // the finished sheet. Returns its first cell.
  std::shared_ptr<host::Range> AddLine(const std::string& whole);
  // Makes a cell lead to a row of the sheet.
  void PutLink(host::Range& cell, std::int32_t row, const std::string& text);
  void FinishSheet();

  session::Session& session() const { return session_; }

 private:
  friend class ReportTable;
  friend class PointChart;
  friend class BarChart;

  struct Room {
    std::int32_t row, rows;
  };

  template <class Kind>
  std::shared_ptr<Kind> add_chart(double width, double height);
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
  struct Line {
    std::string text;
    std::int32_t columns = 0;  // that it goes over; 0 until it is fitted
  };
  std::map<std::int32_t, Line> lines_;  // by row
  std::vector<std::shared_ptr<ReportTable>> tables_;
  std::map<std::int32_t, double> settled_widths_;  // by column, characters
  std::vector<std::shared_ptr<ReportChart>> charts_;
  std::int32_t charts_in_row_ = 1, placed_in_row_ = 0;
  // First free column for the hidden figures that charts draw from; 0: none yet.
  std::int32_t helper_column_ = 0;
  std::map<std::pair<std::int32_t, std::int32_t>, std::string> notes_;  // by row and column
  bool report_pages_ = false;
};

}  // namespace ordvane::layout
