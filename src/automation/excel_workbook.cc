// Excel's Workbook and Worksheet objects.
#include <optional>
#include <utility>

#include "automation/excel_objects.h"
#include "text/cell_names.h"

namespace ordvane::automation {
namespace {

constexpr std::int32_t kXlPortrait = 1;
constexpr std::int32_t kXlLandscape = 2;

class ExcelWorkbook final : public host::Workbook, private ExcelObject {
 public:
  using ExcelObject::ExcelObject;

  std::string name() override { return it_.get(L"Name").text(); }
  bool multi_user_editing() override { return it_.get(L"MultiUserEditing").truth(); }
  std::vector<std::shared_ptr<host::Worksheet>> worksheets() override;
  std::shared_ptr<host::Worksheet> worksheet(const std::string& name) override;
  std::shared_ptr<host::Worksheet> add_worksheet() override;
  void set_properties(const host::DocumentProperties& properties) override;
  void activate() override { it_.call(L"Activate"); }
};

std::vector<std::shared_ptr<host::Worksheet>> ExcelWorkbook::worksheets() {
  const LateBound sheets = it_.object(L"Worksheets", kinds::kSheets);
  std::vector<std::shared_ptr<host::Worksheet>> result;
  const std::int32_t count = sheets.get(L"Count").whole();
  for (std::int32_t i = 1; i <= count; ++i)
    result.push_back(make_worksheet(context_, sheets.object(L"Item", kinds::kWorksheet, {i})));
  return result;
}

std::shared_ptr<host::Worksheet> ExcelWorkbook::worksheet(const std::string& name) {
  return make_worksheet(context_,
                        item_named(it_.object(L"Worksheets", kinds::kSheets), kinds::kWorksheet, name));
}

// After chart sheets, too.
std::shared_ptr<host::Worksheet> ExcelWorkbook::add_worksheet() {
  context_->character_points.reset();
  const LateBound all = it_.object(L"Sheets", kinds::kSheets);
  const LateBound last = all.object(L"Item", kinds::kWorksheet, {all.get(L"Count").whole()});
  const Variant added =
      it_.object(L"Worksheets", kinds::kSheets).call_named(L"Add", {{L"After", last.dispatch()}});
  return make_worksheet(context_, {added.object(), kinds::kWorksheet, it_.names()});
}

// What is empty stays as it is: Excel has put the user's name and company there.
void ExcelWorkbook::set_properties(const host::DocumentProperties& properties) {
  const std::pair<const char*, const std::string*> values[] = {
      {"Title", &properties.title},       {"Subject", &properties.subject},
      {"Author", &properties.author},     {"Company", &properties.company},
      {"Keywords", &properties.keywords}, {"Comments", &properties.comments}};
  const LateBound all = it_.object(L"BuiltinDocumentProperties", kinds::kDocumentProperties);
  for (const auto& [name, value] : values)
    if (!value->empty()) all.object(L"Item", kinds::kDocumentProperty, {name}).put(L"Value", *value);
}

// ---- Worksheets ----

class ExcelWorksheet final : public host::Worksheet, private ExcelObject {
 public:
  using ExcelObject::ExcelObject;

  std::shared_ptr<host::Workbook> workbook() override {
    return make_workbook(context_, it_.object(L"Parent", kinds::kWorkbook));
  }
  std::string name() override { return it_.get(L"Name").text(); }
  void set_name(const std::string& name) override { it_.put(L"Name", name); }
  std::int32_t row_limit() override {
    return first_cell()
        .object(L"EntireColumn", kinds::kRange)
        .object(L"Rows", kinds::kRange)
        .get(L"Count")
        .whole();
  }
  std::int64_t cell_limit() override { return 0; }
  std::int32_t column_limit() override {
    return first_cell()
        .object(L"EntireRow", kinds::kRange)
        .object(L"Columns", kinds::kRange)
        .get(L"Count")
        .whole();
  }
  std::shared_ptr<host::Range> range(const std::string& address) override {
    return make_range(context_, it_.object(L"Range", kinds::kRange, {address}));
  }
  std::shared_ptr<host::Range> range(std::int32_t row, std::int32_t column, std::int32_t rows,
                                     std::int32_t columns) override {
    const KnownArea place{row, column, rows, columns};
    return make_range(context_, it_.object(L"Range", kinds::kRange, {area_name(place)}), place);
  }
  std::shared_ptr<host::ChartObject> add_chart(double left, double top, double width, double height) override;
  void set_page_setup(const host::PageSetup& setup) override;
  void freeze_panes(std::int32_t rows, std::int32_t columns) override;
  void set_display_gridlines(bool shown) override {
    if (const auto window = own_window()) window->put(L"DisplayGridlines", shown);
  }
  void activate() override { it_.call(L"Activate"); }
  void move_before(const std::string& sheet) override;
  void remove() override;

 private:
  LateBound first_cell() {
    constexpr std::int16_t kFirst = 1;
    return it_.object(L"Cells", kinds::kRange).object(L"Item", kinds::kRange, {kFirst});
  }
  void add_breaks(const wchar_t* member, std::wstring_view kind, const std::vector<std::int32_t>& firsts,
                  bool rows);
  // The window that shows this sheet, which must be the active one for it. None where it cannot be.
  std::optional<LateBound> own_window() {
    if (!host::ignoring_errors([&] { it_.call(L"Activate"); })) return std::nullopt;
    return it_.object(L"Parent", kinds::kWorkbook)
        .object(L"Windows", kinds::kWindows)
        .object(L"Item", kinds::kWindow, {1});
  }
};

// Excel may fill a new chart with what is selected; this one is empty.
std::shared_ptr<host::ChartObject> ExcelWorksheet::add_chart(double left, double top, double width,
                                                             double height) {
  const LateBound added = it_.object(L"ChartObjects", kinds::kChartObjects)
                              .object(L"Add", kinds::kChartObject, {left, top, width, height});
  const LateBound chart = added.object(L"Chart", kinds::kChart);
  const LateBound series = chart.object(L"SeriesCollection", kinds::kSeriesCollection);
  for (std::int32_t i = series.get(L"Count").whole(); i > 0; --i)
    series.object(L"Item", kinds::kSeries, {i}).call(L"Delete");
  return make_chart_object(context_, added);
}

// "$1:$5", "$A:$D"; empty for none.
template <class Name>
std::string titles(const host::Span& span, Name&& name) {
  return span.is_empty() ? std::string() : "$" + name(span.first) + ":$" + name(span.last);
}
std::string row_name(std::int32_t row) {
  return std::to_string(row);
}

// Asking the printer for each setting would take long, so that Excel (from 2010) is told to ask once.
void ExcelWorksheet::set_page_setup(const host::PageSetup& setup) {
  const LateBound page = it_.object(L"PageSetup", kinds::kPageSetup);
  const LateBound& application = context_->application;
  const bool together = host::ignoring_errors([&] { application.put(L"PrintCommunication", false); });
  const auto fitted = [](std::int32_t pages) { return pages > 0 ? Variant(pages) : Variant(false); };
  const auto put_all = [&] {
    page.put(L"Orientation", setup.landscape ? kXlLandscape : kXlPortrait);
    if (setup.fit_to_pages_wide > 0 || setup.fit_to_pages_tall > 0) {
      page.put(L"Zoom", false);
      page.put(L"FitToPagesWide", fitted(setup.fit_to_pages_wide));
      page.put(L"FitToPagesTall", fitted(setup.fit_to_pages_tall));
    } else {
      page.put(L"Zoom", setup.scale);
    }
    page.put(L"PrintTitleRows", titles(setup.print_title_rows, row_name));
    page.put(L"PrintTitleColumns", titles(setup.print_title_columns, text::column_name));
    page.put(L"LeftHeader", setup.left_header);
    page.put(L"CenterHeader", setup.center_header);
    page.put(L"RightHeader", setup.right_header);
    page.put(L"LeftFooter", setup.left_footer);
    page.put(L"CenterFooter", setup.center_footer);
    page.put(L"RightFooter", setup.right_footer);
  };
  try {
    put_all();
    if (together) application.put(L"PrintCommunication", true);
  } catch (const host::Error&) {
    if (together) host::ignoring_errors([&] { application.put(L"PrintCommunication", true); });
    throw;
  }
  // Excel itself sets areas and breaks by themselves.
  page.put(L"PrintArea",
           setup.print_rows > 0 ? area_name({1, 1, setup.print_rows, setup.print_columns}) : std::string());
  it_.call(L"ResetAllPageBreaks");
  add_breaks(L"HPageBreaks", kinds::kRowBreaks, setup.row_breaks, true);
  add_breaks(L"VPageBreaks", kinds::kColumnBreaks, setup.column_breaks, false);
}

// A page begins with the row or column of the cell that a break is put before.
void ExcelWorksheet::add_breaks(const wchar_t* member, std::wstring_view kind,
                                const std::vector<std::int32_t>& firsts, bool rows) {
  if (firsts.empty()) return;
  const LateBound breaks = it_.object(member, kind);
  for (const std::int32_t first : firsts) {
    const KnownArea before = rows ? KnownArea{first, 1, 1, 1} : KnownArea{1, first, 1, 1};
    const LateBound cell = it_.object(L"Range", kinds::kRange, {area_name(before)});
    breaks.call_named(L"Add", {{L"Before", cell.dispatch()}});
  }
}

void ExcelWorksheet::freeze_panes(std::int32_t rows, std::int32_t columns) {
  constexpr std::int32_t kXlNormalView = 1;
  const auto shown = own_window();
  if (!shown) return;
  // Panes do not freeze among the margins of pages.
  if (shown->get(L"View").whole() != kXlNormalView) shown->put(L"View", kXlNormalView);
  shown->put(L"FreezePanes", false);
  shown->put(L"ScrollRow", 1);
  shown->put(L"ScrollColumn", 1);
  shown->put(L"SplitRow", rows);
  shown->put(L"SplitColumn", columns);
  if (rows > 0 || columns > 0) shown->put(L"FreezePanes", true);
}

void ExcelWorksheet::move_before(const std::string& sheet) {
  const LateBound sheets = it_.object(L"Parent", kinds::kWorkbook).object(L"Worksheets", kinds::kSheets);
  const LateBound other = item_named(sheets, kinds::kWorksheet, sheet);
  it_.call(L"Move", {other.dispatch()});
}

// Excel would ask the user otherwise, and answers False where it was not done.
void ExcelWorksheet::remove() {
  const LateBound& application = context_->application;
  const bool alerts = application.get(L"DisplayAlerts").truth();
  if (alerts) application.put(L"DisplayAlerts", false);
  const auto restore = [&] {
    if (alerts) host::ignoring_errors([&] { application.put(L"DisplayAlerts", true); });
  };
  Variant removed;
  try {
    removed = it_.call(L"Delete");
  } catch (const host::Error&) {
    restore();
    throw;
  }
  restore();
  if (removed.value().vt == VT_BOOL && !removed.truth())
    throw host::Error(host::errc::kHostRefused, "The sheet cannot be removed");
}

}  // namespace

std::shared_ptr<host::Workbook> make_workbook(Context context, LateBound workbook) {
  return std::make_shared<ExcelWorkbook>(std::move(context), std::move(workbook));
}

std::shared_ptr<host::Worksheet> make_worksheet(Context context, LateBound worksheet) {
  return std::make_shared<ExcelWorksheet>(std::move(context), std::move(worksheet));
}

}  // namespace ordvane::automation
