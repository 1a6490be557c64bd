// What the wrappers of Excel's objects share: how they are made from one another, and how formats are set.
// Known only to the excel_*.cc files.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "automation/late_bound.h"
#include "host/excel.h"
#include "layout/format_codes.h"

namespace ordvane::automation {

// Interfaces of Excel, by their documented names.
namespace kinds {
inline constexpr std::wstring_view kApplication = L"Application", kWorkbooks = L"Workbooks",
                                   kWorkbook = L"Workbook", kSheets = L"Sheets", kWorksheet = L"Worksheet",
                                   kRange = L"Range", kFont = L"Font", kInterior = L"Interior",
                                   kBorders = L"Borders", kBorder = L"Border", kComment = L"Comment",
                                   kPageSetup = L"PageSetup", kWindows = L"Windows", kWindow = L"Window",
                                   kRowBreaks = L"HPageBreaks", kColumnBreaks = L"VPageBreaks",
                                   kFormatConditions = L"FormatConditions", kColorScale = L"ColorScale",
                                   kColorScaleCriteria = L"ColorScaleCriteria",
                                   kColorScaleCriterion = L"ColorScaleCriterion",
                                   kFormatColor = L"FormatColor", kWorksheetFunction = L"WorksheetFunction",
                                   kDocumentProperties = L"DocumentProperties",
                                   kDocumentProperty = L"DocumentProperty";
inline constexpr std::wstring_view kChartObjects = L"ChartObjects", kChartObject = L"ChartObject",
                                   kShapeRange = L"ShapeRange", kChart = L"Chart", kChartArea = L"ChartArea",
                                   kPlotArea = L"PlotArea", kChartTitle = L"ChartTitle", kLegend = L"Legend",
                                   kChartFormat = L"ChartFormat", kLineFormat = L"LineFormat",
                                   kFillFormat = L"FillFormat", kCharacters = L"Characters",
                                   kChartGroup = L"ChartGroup", kShapes = L"Shapes", kShape = L"Shape",
                                   kTextFrame = L"TextFrame";
inline constexpr std::wstring_view kAxis = L"Axis", kAxisTitle = L"AxisTitle", kTickLabels = L"TickLabels",
                                   kGridlines = L"Gridlines", kSeriesCollection = L"SeriesCollection",
                                   kSeries = L"Series", kPoint = L"Point", kDataLabel = L"DataLabel";
}  // namespace kinds

inline constexpr std::int32_t kXlSolid = 1;
inline constexpr std::int32_t kExcel2007 = 12;

// A place on a sheet, as far as it is known; 0 for what is not.
struct KnownArea {
  std::int32_t row = 0, column = 0, rows = 0, columns = 0;
};

struct ExcelContext {
  explicit ExcelContext(LateBound excel) : application(std::move(excel)) {}
  std::int32_t major_version();  // 12 for 2007; asked once
  // What the user's language has for the codes of number formats; asked once, English if Excel does not say.
  const layout::LocalCodes& local_codes();

  LateBound application;
  // Points of a character of column widths in the sheet that was added last; none while it was not asked.
  std::optional<double> character_points = {};

 private:
  std::int32_t major_version_ = 0;
  std::optional<layout::LocalCodes> local_codes_;
};
using Context = std::shared_ptr<ExcelContext>;

// What every wrapper is made of.
class ExcelObject {
 public:
  ExcelObject(Context context, LateBound object) : context_(std::move(context)), it_(std::move(object)) {}
  const LateBound& it() const { return it_; }

 protected:
  Context context_;
  LateBound it_;
};

// A collection's member. Throws error 9 when there is none of this name.
LateBound item_named(const LateBound& collection, std::wstring_view kind, const std::string& name);

std::shared_ptr<host::Workbook> make_workbook(Context context, LateBound workbook);
std::shared_ptr<host::Worksheet> make_worksheet(Context context, LateBound worksheet);
std::shared_ptr<host::Range> make_range(Context context, LateBound range, const KnownArea& place = {});
std::shared_ptr<host::ChartObject> make_chart_object(Context context, LateBound chart_object);
std::shared_ptr<host::Chart> make_chart(Context context, LateBound chart);
std::shared_ptr<host::Axis> make_axis(Context context, LateBound axis);
std::shared_ptr<host::Series> make_series(Context context, LateBound series);

// What a formula without "=" comes to, asked of the application or of a sheet; of a reference, its first
// cell's value.
host::CellValue evaluated(const Context& context, const LateBound& asked, const std::string& formula);
// What one cell comes to with another formula (without "="), and everything of it as before. None where the
// cell does not take that, or would not be what it was.
std::optional<host::CellValue> tried(const Context& context, const LateBound& cell,
                                     const std::string& formula);

// Excel's object behind a range of this application. Throws error 13 for any other range.
IDispatch* range_object(host::Range& range);

// "B2:C4" of a place on any sheet. Throws error 1004 for what can be no place.
std::string area_name(const KnownArea& place);

// Sets a text that some versions take up to 255 characters only: where the whole is refused, its beginning.
void put_caption(const LateBound& owner, const wchar_t* member, const std::string& text);

// `owner` has the property that is set: Font, Interior, Border.
void apply_font(const LateBound& owner, const host::FontFormat& format);
void apply_interior(const LateBound& owner, const host::InteriorFormat& format);
void apply_border(const LateBound& owner, const host::BorderFormat& format);
// The border itself.
void apply_line(const LateBound& border, const host::BorderFormat& format);

}  // namespace ordvane::automation
