// The stand-in's Application, workbooks, sheets and ranges.
#include <algorithm>
#include <cmath>

#include "automation/cell_variants.h"
#include "office/address.h"
#include "text/utf16.h"
#include "windows/stand_in_targets.h"

namespace ordvane::test {
namespace {

using automation::cell_value;
using host::CellKind;
using host::CellValue;

constexpr std::int32_t kXlWBATWorksheet = -4167;
constexpr std::int32_t kXlA1 = 1;
constexpr int kXlPageLayoutView = 3;

struct ApplicationTarget {};
struct WorkbooksTarget {};
struct FunctionsTarget {};
struct PropertyTarget {
  std::shared_ptr<host::Workbook> book;
  std::string host::DocumentProperties::*field;
};
struct WindowTarget {
  std::shared_ptr<host::Workbook> book;
  std::int32_t rows = 0, columns = 0;
  bool frozen = false;
};
struct PageTarget {
  std::shared_ptr<host::Worksheet> sheet;
  bool zoomed = true;
  std::int32_t wide = 1, tall = 1;
};
// The cells take the scale on once all of it is known.
struct Scale {
  struct Stop {
    bool is_number = false;
    std::optional<double> value;
    std::optional<host::Color> color;
  };
  std::shared_ptr<host::Range> range;
  std::vector<Stop> stops;

  void changed() const {
    std::vector<host::ColorStop> known;
    for (const Stop& stop : stops)
      if (stop.is_number && stop.value && stop.color) known.push_back({*stop.value, *stop.color});
    if (known.size() == stops.size()) range->add_color_scale(known);
  }
};
struct CriterionTarget {
  std::shared_ptr<Scale> scale;
  std::size_t position;

  template <class Change>
  void change(Change&& made) {
    made(scale->stops[position]);
    scale->changed();
  }
};
struct ChartSheetTarget {};
struct BreaksTarget {
  std::shared_ptr<host::Worksheet> sheet;
  bool of_rows;
};

}  // namespace

STAND_IN_INTERFACE(ApplicationTarget, L"Application")
STAND_IN_INTERFACE(FunctionsTarget, L"WorksheetFunction")
STAND_IN_INTERFACE(WorkbooksTarget, L"Workbooks")
STAND_IN_OF(WorkbookTarget, host::Workbook, book, L"Workbook")
STAND_IN_OF(SheetsTarget, host::Workbook, book, L"Sheets")
STAND_IN_OF(PropertiesTarget, host::Workbook, book, L"DocumentProperties")
STAND_IN_INTERFACE(PropertyTarget, L"DocumentProperty")
STAND_IN_OF(WindowsTarget, host::Workbook, book, L"Windows")
STAND_IN_INTERFACE(WindowTarget, L"Window")
STAND_IN_OF(WorksheetTarget, host::Worksheet, sheet, L"Worksheet")
STAND_IN_INTERFACE(ChartSheetTarget, L"ChartSheet")
STAND_IN_INTERFACE(PageTarget, L"PageSetup")
STAND_IN_INTERFACE(BreaksTarget, L"PageBreaks")
STAND_IN_OF(FormatConditionsTarget, host::Range, range, L"FormatConditions")
STAND_IN_OF(ScaleTarget, Scale, scale, L"ColorScale")
STAND_IN_OF(CriteriaTarget, Scale, scale, L"ColorScaleCriteria")
STAND_IN_INTERFACE(CriterionTarget, L"ColorScaleCriterion")
struct FormatColorTarget {
  CriterionTarget criterion;
};
STAND_IN_INTERFACE(FormatColorTarget, L"FormatColor")
STAND_IN_OF(BordersTarget, host::Range, range, L"Borders")

namespace {

host::Application& app(const Call& call) {
  return *call.stand_in->application;
}
Variant nothing() {
  return Variant(static_cast<IDispatch*>(nullptr));
}
Variant null() {
  Variant result;
  result.receive()->vt = VT_NULL;
  return result;
}
Variant make_range(const Call& call, std::shared_ptr<host::Range> range, Flavor flavor = Flavor::kCells) {
  return object(call, RangeTarget{std::move(range), flavor});
}
// "A1,B2:C3" names several areas.
Variant make_areas(const Call& call, host::Worksheet& sheet, const std::string& address) {
  std::size_t end = std::min(address.find(','), address.size());
  RangeTarget target{sheet.range(address.substr(0, end))};
  while (end < address.size()) {
    const std::size_t start = end + 1;
    end = std::min(address.find(',', start), address.size());
    target.more.push_back(sheet.range(address.substr(start, end - start)));
  }
  return object(call, std::move(target));
}
Variant make_workbook(const Call& call, const std::shared_ptr<host::Workbook>& book) {
  return book ? object(call, WorkbookTarget{book}) : nothing();
}
// Collections answer "no such member" with an HRESULT of their own.
template <class Find>
auto member_of(Find&& find) {
  try {
    return find();
  } catch (const host::Error& error) {
    if (error.code() == host::errc::kSubscriptOutOfRange) throw BadIndex();
    throw;
  }
}

// ---- Values ----

std::shared_ptr<host::Range> whole(host::Worksheet& sheet) {
  return sheet.range(1, 1, sheet.row_limit(), sheet.column_limit());
}

template <class Visit>
void each_cell(host::Range& range, Visit&& visit) {
  for (std::int32_t row = 1; row <= range.row_count(); ++row)
    for (std::int32_t column = 1; column <= range.column_count(); ++column) visit(*range.cell(row, column));
}

// The property of all cells, Null where they differ. Of large ranges the edges are looked at.
template <class Read>
Variant common(host::Range& range, Read&& read) {
  constexpr std::int64_t kLarge = 5000;
  const std::int32_t rows = range.row_count(), columns = range.column_count();
  const auto first = read(range);
  const bool large = std::int64_t{rows} * columns > kLarge;
  for (std::int32_t row = 1; row <= std::min(rows, 2000); ++row)
    for (std::int32_t column = 1; column <= (large && row > 1 ? 1 : columns); ++column)
      if (read(*range.cell(row, column)) != first) return null();
  return first;
}

bool is_plain_text(const std::string& text) {
  return (text.front() >= 'a' && text.front() <= 'z') || (text.front() >= 'A' && text.front() <= 'Z') ||
         text.front() < 0;
}

// ---- Cells of the model ----

Behaviours& manners(const Call& c) {
  return c.stand_in->behaviours;
}

CellTie tie_of(const Call& c, host::Range& cell) {
  const auto known = manners(c).ties.find(cell.address(true, true));
  return known == manners(c).ties.end() ? CellTie::kNone : known->second;
}

bool is_protected(const Call& c, host::Range& cell) {
  return manners(c).protected_sheets.contains(cell.worksheet()->name()) && cell.locked();
}

// Whatever is written the old way is no array afterwards, and nothing remains of what spilled.
void write_formula(const Call& c, host::Range& cell, const std::string& formula, bool as_array) {
  const CellTie tie = tie_of(c, cell);
  if (is_protected(c, cell)) refuse("The cell is protected");
  if (tie == CellTie::kPartOfArray) refuse("You cannot change part of an array");
  if (tie != CellTie::kNone && !(as_array && tie == CellTie::kArrayFormula))
    manners(c).ties.erase(cell.address(true, true));
  const bool in_model = cell.worksheet()->workbook()->name() == manners(c).model;
  if (in_model) ++manners(c).model_writes;
  if (in_model && manners(c).events) ++manners(c).changes_heard;
  // A column of a table takes over what one of its cells begins.
  if (manners(c).tables.contains(cell.address(true, true))) cell.cell(2, 1)->set_formula(formula);
  if (cell.number_format() == "@") return cell.set_value(formula);
  cell.set_formula(formula);
  if (in_model && manners(c).formats_formulas && formula.starts_with("=") &&
      cell.number_format() == "General")
    cell.set_number_format("$#,##0.00");
}

// A formula holds no text of more than 255 characters.
void check_texts(const std::string& formula) {
  constexpr std::int32_t kLongest = 255;
  if (!formula.starts_with("=")) return;
  for (std::size_t open = formula.find('"'); open != std::string::npos;) {
    std::size_t close = formula.find('"', open + 1);
    while (close != std::string::npos && formula.substr(close).starts_with("\"\""))
      close = formula.find('"', close + 2);
    if (close == std::string::npos) return;
    if (text::utf16_length(formula.substr(open + 1, close - open - 1)) > kLongest)
      refuse("A text in a formula has at most 255 characters");
    open = formula.find('"', close + 1);
  }
}

void put_formula(const RangeTarget& t, const Call& c, const std::string& formula, bool as_array) {
  check_texts(formula);
  if (t.range->row_count() * t.range->column_count() > 1) return t.range->set_formula(formula);
  write_formula(c, *t.range, formula, as_array);
}

bool is_tied(const Call& c, host::Range& cell, std::initializer_list<CellTie> ties) {
  return std::find(ties.begin(), ties.end(), tie_of(c, cell)) != ties.end();
}

void put_format(const RangeTarget& t, const Call& c, const std::string& format) {
  if (is_protected(c, *t.range)) refuse("The cell is protected");
  // What no language has for a code is none in English either.
  if (!manners(c).language->is_english()) format_in(*manners(c).language, format);
  t.range->set_number_format(format);
  for (const auto& area : t.more) area->set_number_format(format);
}

// As Excel numbers what it tells about a language.
Variant international(const Call& c) {
  const StandInLanguage& l = *manners(c).language;
  const std::map<std::int32_t, std::string> kTold = {
      {3, l.decimal}, {4, l.group}, {17, l.date},   {18, l.time},   {19, l.year},   {20, l.month},
      {21, l.day},    {22, l.hour}, {23, l.minute}, {24, l.second}, {26, l.general}};
  const auto told = kTold.find(c.whole(0));
  if (told == kTold.end()) refuse("The stand-in does not know that of a language");
  return told->second;
}

// Columns have some pixels beside their characters, as documented for files.
double room_beside(double digit) {
  return 2 * std::ceil(digit / 4) + 1;
}
constexpr double kPixel = 0.75;  // points

double characters_shown(const Call& c, host::Range& column) {
  const double digit = manners(c).digit_pixels;
  if (digit == 7) return column.column_width();
  return (column.resize(1, 1)->width() / kPixel - room_beside(digit)) / digit;
}

void put_width(const Call& c, host::Range& columns, double characters) {
  const double digit = manners(c).digit_pixels;
  if (digit != 7) characters = (characters * digit + room_beside(digit) - room_beside(7)) / 7;
  columns.set_column_width(characters);
}

void require_cells(const Call& c) {
  if (manners(c).chart_sheet_active) refuse("A chart sheet has no cells");
}

// Enters a text as if typed, which is what Excel makes of one that it is given.
void type(host::Range& cell, const std::string& text) {
  if (text.empty()) return cell.set_value(CellValue());
  if (cell.number_format() == "@") return cell.set_value(text);
  if (text.front() == '\'') return cell.set_value(text.substr(1));
  cell.set_formula(text);
}

void put_value(host::Range& range, const VARIANT& value) {
  if ((value.vt & VT_ARRAY) == 0) {
    const CellValue content = cell_value(value);
    if (content.kind != CellKind::kText) return range.set_value(content);
    each_cell(range, [&](host::Range& cell) { type(cell, content.text); });
    return;
  }
  Variant copy;
  if (FAILED(VariantCopy(copy.receive(), const_cast<VARIANT*>(&value)))) throw std::bad_alloc();
  host::CellBlock block = automation::cell_block(copy, range.row_count(), range.column_count());
  std::vector<std::pair<std::int32_t, std::int32_t>> typed;
  for (std::int32_t row = 1; row <= block.rows(); ++row) {
    for (std::int32_t column = 1; column <= block.columns(); ++column) {
      const CellValue content = block.value(row, column);
      if (content.kind != CellKind::kText) continue;
      if (content.text.size() > 911) refuse("Texts in arrays are not that long in every version");
      if (content.text.empty() || !is_plain_text(content.text) || content.text.size() <= 5)
        typed.emplace_back(row, column);
    }
  }
  range.put(block);
  for (const auto& [row, column] : typed) type(*range.cell(row, column), block.value(row, column).text);
}

Variant values(host::Range& range) {
  if (range.row_count() == 1 && range.column_count() == 1)
    return automation::cell_variant(range.value(), false);
  const auto never = [](std::int32_t, std::int32_t) { return false; };
  return automation::block_variant(range.values(), never, never);
}

Variant formulas(host::Range& range) {
  if (range.row_count() == 1 && range.column_count() == 1) return range.formula();
  host::CellBlock block(range.row_count(), range.column_count());
  for (std::int32_t row = 1; row <= block.rows(); ++row)
    for (std::int32_t column = 1; column <= block.columns(); ++column)
      block.set_text(row, column, range.cell(row, column)->formula());
  const auto never = [](std::int32_t, std::int32_t) { return false; };
  return automation::block_variant(block, never, never);
}

Variant item(RangeTarget& t, const Call& c) {
  const std::int32_t index = c.whole(0);
  if (t.flavor == Flavor::kRows && !c.has(1))
    return make_range(c, t.range->cell(index, 1)->resize(1, t.range->column_count()), Flavor::kRows);
  if (t.flavor == Flavor::kColumns && !c.has(1))
    return make_range(c, t.range->cell(1, index)->resize(t.range->row_count(), 1), Flavor::kColumns);
  if (c.has(1)) return make_range(c, t.range->cell(index, c.whole(1)));
  const std::int32_t columns = t.range->column_count();
  return make_range(c, t.range->cell((index - 1) / columns + 1, (index - 1) % columns + 1));
}

Variant count(const RangeTarget& t) {
  if (t.flavor == Flavor::kRows) return t.range->row_count();
  if (t.flavor == Flavor::kColumns) return t.range->column_count();
  const std::int64_t cells = std::int64_t{t.range->row_count()} * t.range->column_count();
  if (cells > INT32_MAX) throw host::Error(host::errc::kOverflow, "Overflow");
  return static_cast<std::int32_t>(cells);
}

std::shared_ptr<host::Range> entire(const RangeTarget& t, bool rows) {
  const auto sheet = t.range->worksheet();
  return rows ? sheet->range(t.range->row(), 1, t.range->row_count(), sheet->column_limit())
              : sheet->range(1, t.range->column(), sheet->row_limit(), t.range->column_count());
}

void auto_fit(const RangeTarget& t) {
  if (t.flavor != Flavor::kColumns) refuse("AutoFit is for rows and columns");
  t.range->auto_fit_columns();
}

void hide(const RangeTarget& t, bool hidden) {
  if (t.flavor != Flavor::kColumns) refuse("Only whole rows and columns can be hidden");
  t.range->set_columns_hidden(hidden);
}

void add_note(RangeTarget& t, const Call& c) {
  if (t.range->row_count() * t.range->column_count() != 1) refuse("A note belongs to one cell");
  if (!c.stand_in->notes.insert(t.range->address(true, true)).second) refuse("The cell has a note");
  t.range->add_comment(c.has(0) ? c.text(0) : "");
}

void clear_notes(RangeTarget& t, const Call& c) {
  each_cell(*t.range, [&](host::Range& cell) { c.stand_in->notes.erase(cell.address(true, true)); });
}

// ---- Workbooks and sheets ----

Variant add_workbook(const Call& c) {
  const auto book = app(c).add_workbook();
  manners(c).chart_sheet_active = false;
  if (!c.has(0) || c.whole(0) != kXlWBATWorksheet) book->add_worksheet();  // as many as the user has set
  return make_workbook(c, book);
}

std::shared_ptr<host::Worksheet> sheet_at(host::Workbook& book, const Call& c) {
  if (c.value(0).vt == VT_BSTR) return member_of([&] { return book.worksheet(c.text(0)); });
  const auto sheets = book.worksheets();
  const std::int32_t index = c.whole(0);
  if (index < 1 || index > static_cast<std::int32_t>(sheets.size())) throw BadIndex();
  return sheets[static_cast<std::size_t>(index - 1)];
}

// The spreadsheet behind adds after the last sheet only; Excel would add before the active one.
Variant add_sheet(SheetsTarget& t, const Call& c) {
  const auto* after = c.has(1) ? target_of<WorksheetTarget>(c.value(1)) : nullptr;
  if (c.has(0) || after == nullptr || after->sheet->name() != t.book->worksheets().back()->name())
    refuse("Sheets are added after the last one here");
  const auto added = t.book->add_worksheet();
  manners(c).chart_sheet_active = false;
  added->activate();
  return object(c, WorksheetTarget{added});
}

void move_sheet(const WorksheetTarget& t, const Call& c) {
  const auto* before = c.has(0) ? target_of<WorksheetTarget>(c.value(0)) : nullptr;
  if (before == nullptr || c.has(1)) refuse("Sheets are moved before another one here");
  t.sheet->move_before(before->sheet->name());
}

// With alerts on the user is asked, and here says no.
Variant delete_sheet(const WorksheetTarget& t, const Call& c) {
  if (app(c).display_alerts()) return false;
  t.sheet->remove();
  return true;
}

std::string host::DocumentProperties::*property_field(const std::string& name) {
  using P = host::DocumentProperties;
  static const std::map<std::string, std::string P::*> kFields = {
      {"Title", &P::title},     {"Subject", &P::subject},   {"Author", &P::author},
      {"Company", &P::company}, {"Keywords", &P::keywords}, {"Comments", &P::comments}};
  const auto found = kFields.find(name);
  if (found == kFields.end()) throw host::Error(E_INVALIDARG, "No such property");
  return found->second;
}

host::DocumentProperties& properties_of(const PropertyTarget& t, const Call& c) {
  return c.stand_in->properties[t.book->name()];
}

void put_property(const PropertyTarget& t, const Call& c, const std::string& text) {
  properties_of(t, c).*t.field = text;
  t.book->set_properties(properties_of(t, c));
}

void change_page(host::Worksheet& sheet, const Call& c, const std::function<void(host::PageSetup&)>& change) {
  auto& kept = c.stand_in->pages[sheet.workbook()->name() + "\n" + sheet.name()];
  host::PageSetup changed = kept;
  change(changed);
  sheet.set_page_setup(changed);
  kept = changed;
}

void set_page(PageTarget& t, const Call& c, const std::function<void(host::PageSetup&)>& change) {
  change_page(*t.sheet, c, [&](host::PageSetup& page) {
    change(page);
    page.fit_to_pages_wide = t.zoomed ? 0 : t.wide;
    page.fit_to_pages_tall = t.zoomed ? 0 : t.tall;
  });
}

// False: fitted to pages.
void put_zoom(PageTarget& t, const Call& c, const Variant& zoom) {
  t.zoomed = zoom.value().vt != VT_BOOL;
  set_page(t, c, [&](host::PageSetup& page) { page.scale = t.zoomed ? zoom.whole() : 100; });
}

void put_print_area(PageTarget& t, const Call& c, const std::string& text) {
  if (!c.stand_in->print_communication) refuse("Print areas are not set together with the rest");
  const auto area = office::parse_area(text);
  if (!text.empty() && !(area && area->row == 1 && area->column == 1))
    refuse("Areas are printed from the first cell on here");
  set_page(t, c, [&](host::PageSetup& page) {
    page.print_rows = area ? area->rows : 0;
    page.print_columns = area ? area->columns : 0;
  });
}

// "$1:$5" or "$A:$D".
host::Span titles(const std::string& text, bool rows) {
  if (text.empty()) return {};
  const auto area = office::parse_area(text);
  if (!area || (rows ? area->columns != office::kSheetColumns : area->rows != office::kSheetRows))
    refuse("The titles are no whole rows or columns");
  return rows ? host::Span{area->row, area->row + area->rows - 1}
              : host::Span{area->column, area->column + area->columns - 1};
}

// Excel keeps them in order, however they come.
void add_break(const BreaksTarget& t, const Call& c) {
  change_page(*t.sheet, c, [&](host::PageSetup& page) {
    host::Range& before = range_of(c.value(0));
    auto& breaks = t.of_rows ? page.row_breaks : page.column_breaks;
    breaks.push_back(t.of_rows ? before.row() : before.column());
    std::sort(breaks.begin(), breaks.end());
  });
}

void reset_breaks(const WorksheetTarget& t, const Call& c) {
  change_page(*t.sheet, c, [](host::PageSetup& page) {
    page.row_breaks.clear();
    page.column_breaks.clear();
  });
}

std::int32_t pages(const Variant& v) {
  return v.value().vt == VT_BOOL ? 0 : v.whole();
}

// What the window of a workbook shows: its active sheet, which it shows once it is activated.
std::shared_ptr<host::Worksheet> shown(const WindowTarget& t, const Call& c) {
  auto sheet = app(c).active_sheet();
  if (!sheet || sheet->workbook()->name() != t.book->name()) refuse("The window shows another workbook");
  return sheet;
}

void freeze(WindowTarget& t, const Call& c, bool frozen) {
  if (manners(c).page_layout_view) refuse("Panes do not freeze in this view");
  t.frozen = frozen;
  shown(t, c)->freeze_panes(frozen ? t.rows : 0, frozen ? t.columns : 0);
}

Variant run_macro(const Call& c) {
  if (!c.has(1) || c.value(2).vt != VT_I2) refuse("The macro takes a cell and an Integer");
  return app(c).run(c.text(0), range_of(c.value(1)), static_cast<std::int16_t>(c.whole(2)));
}

// A reference is answered with the cells it names.
Variant evaluate(const Call& c, const std::shared_ptr<host::Worksheet>& sheet) {
  std::string formula = c.text(0);
  if (formula.size() > 255) return automation::cell_variant(host::CellError::kValue, false);
  if (!host::ignoring_errors([&] { formula = formula_from(*manners(c).language, formula); }))
    return automation::cell_variant(host::CellError::kValue, false);
  std::shared_ptr<host::Range> cells;
  host::ignoring_errors([&] { cells = sheet->range(formula); });
  if (cells) return make_range(c, cells);
  return automation::cell_variant(app(c).evaluate(formula), false);
}

}  // namespace

std::string caption(const Call& call, const Variant& text) {
  std::string result = text.text();
  if (text::utf16_length(result) > manners(call).longest_caption) refuse("The text is too long");
  return result;
}

Variant make_worksheet(const Call& call, const std::shared_ptr<host::Worksheet>& sheet) {
  return sheet ? object(call, WorksheetTarget{sheet}) : nothing();
}

host::Range& range_of(const VARIANT& value) {
  auto* target = target_of<RangeTarget>(value);
  if (target == nullptr) throw host::Error(host::errc::kTypeMismatch, "Type mismatch");
  return *target->range;
}

// ---- The tables: names and parameters as documented ----

STAND_IN_TABLE(ApplicationTarget) {
  return {
    GET(Name, app(c).name()),
        GET(Version, manners(c).version.empty() ? app(c).version() : manners(c).version),
        GET_PUT(Calculation, app(c).calculation(), app(c).set_calculation(as<host::Calculation>(v))),
        GET_PUT(ScreenUpdating, app(c).screen_updating(), app(c).set_screen_updating(v.truth())),
        GET_PUT(DisplayAlerts, app(c).display_alerts(), app(c).set_display_alerts(v.truth())),
        GET_PUT(Cursor, app(c).cursor(), app(c).set_cursor(as<host::Cursor>(v))),
        GET_PUT(StatusBar, app(c).status_bar().empty() ? Variant(false) : Variant(app(c).status_bar()),
                app(c).set_status_bar(v.value().vt == VT_BOOL ? "" : v.text())),
        GET_PUT(PrintCommunication, c.stand_in->print_communication,
                c.stand_in->print_communication = v.truth()),
        GET(ActiveWorkbook, make_workbook(c, app(c).active_workbook())),
        GET(ActiveSheet, manners(c).chart_sheet_active ? object(c, ChartSheetTarget{})
                                                       : make_worksheet(c, app(c).active_sheet())),
        GET(ActiveCell,
            [&] {
              require_cells(c);
              auto cell = app(c).active_cell();
              return cell ? make_range(c, std::move(cell)) : nothing();
            }()),
        GET(Workbooks, object(c, WorkbooksTarget{})),
        GET_OF(Range, PARAMETERS(L"Cell1", L"?Cell2"), require_cells(c),
               make_range(c, app(c).range(c.text(0)))),
        GET_PUT(EnableEvents, manners(c).events, manners(c).events = v.truth()),
        GET_OF(International, PARAMETERS(L"?Index"), international(c)),
        METHOD(Evaluate, PARAMETERS(L"Name"), return evaluate(c, app(c).active_sheet())),
        METHOD(Calculate, PARAMETERS(), ++manners(c).recalculations; app(c).calculate(); return {}),
        METHOD(Run, PARAMETERS(L"?Macro", L"?Arg1", L"?Arg2", L"?Arg3", L"?Arg4"), return run_macro(c)),
        GET(WorksheetFunction, object(c, FunctionsTarget{})),
  };
}

STAND_IN_TABLE(FunctionsTarget) {
  return {
      METHOD(Min, PARAMETERS(L"Arg1", L"?Arg2", L"?Arg3"), return app(c).min(range_of(c.value(0)))),
      METHOD(Max, PARAMETERS(L"Arg1", L"?Arg2", L"?Arg3"), return app(c).max(range_of(c.value(0)))),
  };
}

STAND_IN_TABLE(WorkbooksTarget) {
  return {
      METHOD(Add, PARAMETERS(L"?Template"), return add_workbook(c)),
      DEFAULT_OF(Item, PARAMETERS(L"Index"),
                 make_workbook(c, member_of([&] { return app(c).workbook(c.text(0)); }))),
  };
}

STAND_IN_TABLE(WorkbookTarget) {
  return {
    GET(Name, t.book->name()), GET(MultiUserEditing, t.book->multi_user_editing()),
        GET(Worksheets, object(c, SheetsTarget{t.book})), GET(Sheets, object(c, SheetsTarget{t.book})),
        GET(BuiltinDocumentProperties, object(c, PropertiesTarget{t.book})),
        GET(Windows, object(c, WindowsTarget{t.book})),
        METHOD(Activate, PARAMETERS(), t.book->activate(); return {}),
  };
}

STAND_IN_TABLE(SheetsTarget) {
  return {
      GET(Count, static_cast<std::int32_t>(t.book->worksheets().size())),
      DEFAULT_OF(Item, PARAMETERS(L"Index"), object(c, WorksheetTarget{sheet_at(*t.book, c)})),
      METHOD(Add, PARAMETERS(L"?Before", L"?After", L"?Count", L"?Type"), return add_sheet(t, c)),
  };
}

STAND_IN_TABLE(PropertiesTarget) {
  return {
      DEFAULT_OF(Item, PARAMETERS(L"Index"), object(c, PropertyTarget{t.book, property_field(c.text(0))}))};
}

STAND_IN_TABLE(PropertyTarget) {
  return {GET_PUT(Value, properties_of(t, c).*t.field, put_property(t, c, v.text()))};
}

STAND_IN_TABLE(WindowsTarget) {
  return {DEFAULT_OF(Item, PARAMETERS(L"Index"), [&] {
    if (c.whole(0) != 1) throw BadIndex();
    return object(c, WindowTarget{t.book});
  }())};
}

STAND_IN_TABLE(ChartSheetTarget) {
  return {GET(Name, "Chart1")};
}

STAND_IN_TABLE(WindowTarget) {
  return {
      GET_PUT(View, manners(c).page_layout_view ? kXlPageLayoutView : 1,
              manners(c).page_layout_view = v.whole() == kXlPageLayoutView),
      PUT(DisplayGridlines, shown(t, c)->set_display_gridlines(v.truth())),
      GET_PUT(FreezePanes, t.frozen, freeze(t, c, v.truth())),
      PUT(ScrollRow, v.whole()),
      PUT(ScrollColumn, v.whole()),
      PUT(SplitRow, t.rows = v.whole()),
      PUT(SplitColumn, t.columns = v.whole()),
  };
}

STAND_IN_TABLE(WorksheetTarget) {
  return {
    GET_PUT(Name, t.sheet->name(), t.sheet->set_name(v.text())),
        GET(Parent, make_workbook(c, t.sheet->workbook())), GET(Cells, make_range(c, whole(*t.sheet))),
        GET(Rows, make_range(c, whole(*t.sheet), Flavor::kRows)),
        GET(Columns, make_range(c, whole(*t.sheet), Flavor::kColumns)),
        GET_OF(Range, PARAMETERS(L"Cell1", L"?Cell2"), make_areas(c, *t.sheet, c.text(0))),
        METHOD(ChartObjects, PARAMETERS(L"?Index"), return make_chart_objects(c, t.sheet)),
        METHOD(Evaluate, PARAMETERS(L"Name"), return evaluate(c, t.sheet)),
        GET(ProtectContents, manners(c).protected_sheets.contains(t.sheet->name())),
        // One that is there is taken away.
        PUT(AutoFilterMode, if (v.truth()) refuse("Only ranges put filters in")),
        GET(PageSetup, object(c, PageTarget{t.sheet})),
        GET(HPageBreaks, object(c, BreaksTarget{t.sheet, true})),
        GET(VPageBreaks, object(c, BreaksTarget{t.sheet, false})),
        METHOD(ResetAllPageBreaks, PARAMETERS(), reset_breaks(t, c); return {}),
        METHOD(Activate, PARAMETERS(), t.sheet->activate(); manners(c).chart_sheet_active = false; return {}),
        METHOD(Move, PARAMETERS(L"?Before", L"?After"), move_sheet(t, c); return {}),
        METHOD(Delete, PARAMETERS(), return delete_sheet(t, c)),
  };
}

STAND_IN_TABLE(PageTarget) {
  constexpr std::int32_t kXlLandscape = 2;
#define PAGE(name, field, value) PUT(name, set_page(t, c, [&](host::PageSetup& page) { page.field = value; }))
#define PAGE_TEXT(name, field) PAGE(name, field, caption(c, v))
  return {
    PAGE(Orientation, landscape, v.whole() == kXlLandscape), PUT(Zoom, put_zoom(t, c, v)),
        PUT(PrintArea, put_print_area(t, c, v.text())),
        PUT(FitToPagesWide, t.wide = pages(v); set_page(t, c, [](host::PageSetup&) {})),
        PUT(FitToPagesTall, t.tall = pages(v); set_page(t, c, [](host::PageSetup&) {})),
        PAGE(PrintTitleRows, print_title_rows, titles(v.text(), true)),
        PAGE(PrintTitleColumns, print_title_columns, titles(v.text(), false)),
        PAGE_TEXT(LeftHeader, left_header), PAGE_TEXT(CenterHeader, center_header),
        PAGE_TEXT(RightHeader, right_header), PAGE_TEXT(LeftFooter, left_footer),
        PAGE_TEXT(CenterFooter, center_footer), PAGE_TEXT(RightFooter, right_footer),
  };
}

STAND_IN_TABLE(BreaksTarget) {
  return {
    METHOD(Add, PARAMETERS(L"Before"), add_break(t, c); return nothing())
  };
}

STAND_IN_TABLE(RangeTarget) {
  return {
    GET(Row, t.range->row()), GET(Column, t.range->column()),
        GET(Rows, make_range(c, t.range, Flavor::kRows)),
        GET(Columns, make_range(c, t.range, Flavor::kColumns)), GET(Count, count(t)),
        GET(Cells, make_range(c, t.range)), GET(Worksheet, make_worksheet(c, t.range->worksheet())),
        GET(Parent, make_worksheet(c, t.range->worksheet())),
        GET_OF(
            Address,
            PARAMETERS(L"?RowAbsolute", L"?ColumnAbsolute", L"?ReferenceStyle", L"?External", L"?RelativeTo"),
            [&] {
              if (c.whole(2, kXlA1) != kXlA1 || c.truth(0, true) != c.truth(1, true))
                refuse("Only A1 addresses, wholly absolute or relative, are given here");
              return Variant(t.range->address(c.truth(0, true), c.truth(3, false)));
            }()),
        DEFAULT_OF(Item, PARAMETERS(L"RowIndex", L"?ColumnIndex"), item(t, c)),
        GET_OF(Offset, PARAMETERS(L"?RowOffset", L"?ColumnOffset"),
               make_range(c, t.range->offset(c.whole(0, 0), c.whole(1, 0)))),
        GET_OF(Resize, PARAMETERS(L"?RowSize", L"?ColumnSize"),
               make_range(c, t.range->resize(c.whole(0, t.range->row_count()),
                                             c.whole(1, t.range->column_count())))),
        GET(EntireRow, make_range(c, entire(t, true), Flavor::kRows)),
        GET(EntireColumn, make_range(c, entire(t, false), Flavor::kColumns)),
        GET_PUT(Value2, values(*t.range), put_value(*t.range, v.value())),
        GET_PUT(Value, values(*t.range), put_value(*t.range, v.value())),
        GET_PUT(Formula, formulas(*t.range), put_formula(t, c, v.text(), false)),
        GET_PUT(Formula2, formulas(*t.range), put_formula(t, c, v.text(), true)),
        GET(HasFormula, t.range->formula().starts_with("=")),
        GET(HasArray, is_tied(c, *t.range, {CellTie::kOneCellArray, CellTie::kPartOfArray})),
        GET(HasSpill, is_tied(c, *t.range, {CellTie::kSpills, CellTie::kSpilled})),
        GET(ListObject,
            manners(c).tables.contains(t.range->address(true, true)) ? make_range(c, t.range) : nothing()),
        METHOD(Calculate, PARAMETERS(), return {}),
        GET_PUT(NumberFormat, common(*t.range, [](host::Range& r) { return r.number_format(); }),
                put_format(t, c, v.text())),
        GET_PUT(NumberFormatLocal,
                common(*t.range,
                       [&](host::Range& r) { return format_in(*manners(c).language, r.number_format()); }),
                put_format(t, c, format_from(*manners(c).language, v.text()))),
        FONT(t.range, set_font), INTERIOR(t.range, set_interior),
        GET(Borders, object(c, BordersTarget{t.range})),
        PUT(HorizontalAlignment, t.horizontal = as<host::HAlign>(v);
            t.range->set_alignment(t.horizontal, t.vertical)),
        PUT(VerticalAlignment, t.vertical = as<host::VAlign>(v);
            t.range->set_alignment(t.horizontal, t.vertical)),
        PUT(IndentLevel, t.range->set_indent(v.whole())), PUT(WrapText, t.range->set_wrap_text(v.truth())),
        GET(Locked, common(*t.range, [](host::Range& r) { return r.locked(); })),
        PUT(MergeCells, t.range->set_merge(v.truth())),
        METHOD(AutoFit, PARAMETERS(), auto_fit(t); return true),
        GET_PUT(ColumnWidth, common(*t.range, [&](host::Range& r) { return characters_shown(c, r); }),
                put_width(c, *t.range, v.number())),
        GET_PUT(RowHeight, common(*t.range, [](host::Range& r) { return r.row_height(); }),
                t.range->set_row_height(v.number())),
        PUT(Hidden, hide(t, v.truth())), GET(Left, t.range->left()), GET(Top, t.range->top()),
        GET(Width, t.range->width()), GET(Height, t.range->height()),
        METHOD(ClearComments, PARAMETERS(), clear_notes(t, c); return {}),
        METHOD(AddComment, PARAMETERS(L"?Text"), add_note(t, c); return nothing()),
        GET(FormatConditions, object(c, FormatConditionsTarget{t.range})),
        METHOD(AutoFilter,
               PARAMETERS(L"?Field", L"?Criteria1", L"?Operator", L"?Criteria2", L"?VisibleDropDown"),
               t.range->set_auto_filter();
               return true),
        METHOD(Select, PARAMETERS(), t.range->select(); return true),
        METHOD(Activate, PARAMETERS(), t.range->activate(); return true),
  };
}

STAND_IN_TABLE(FormatConditionsTarget) {
  return {
    METHOD(AddColorScale, PARAMETERS(L"ColorScaleType"),
           const auto stops = static_cast<std::size_t>(c.whole(0));
           if (stops < 2 || stops > 3) refuse("A colour scale has two or three colours"); return object(
               c, ScaleTarget{std::make_shared<Scale>(Scale{t.range, std::vector<Scale::Stop>(stops)})}))
  };
}

STAND_IN_TABLE(ScaleTarget) {
  return {GET(ColorScaleCriteria, object(c, CriteriaTarget{t.scale}))};
}

STAND_IN_TABLE(CriteriaTarget) {
  return {DEFAULT_OF(Item, PARAMETERS(L"Index"), [&] {
    const auto position = static_cast<std::size_t>(c.whole(0));
    if (position < 1 || position > t.scale->stops.size()) throw BadIndex();
    return object(c, CriterionTarget{t.scale, position - 1});
  }())};
}

STAND_IN_TABLE(CriterionTarget) {
  constexpr std::int32_t kXlConditionValueNumber = 0;
  return {
      PUT(Type, t.change([&](auto& stop) { stop.is_number = v.whole() == kXlConditionValueNumber; })),
      PUT(Value, t.change([&](auto& stop) { stop.value = v.number(); })),
      GET(FormatColor, object(c, FormatColorTarget{t})),
  };
}

STAND_IN_TABLE(FormatColorTarget) {
  return {PUT(Color, t.criterion.change([&](auto& stop) { stop.color = v.whole(); }))};
}

STAND_IN_TABLE(BordersTarget) {
  return {DEFAULT_OF(Item, PARAMETERS(L"Index"), [&] {
    const auto edge = static_cast<host::Edge>(c.whole(0));
    return object(c, BorderTarget{[r = t.range, edge](const auto& f) { r->set_border(edge, f); }});
  }())};
}

STAND_IN_TABLE(FontTarget) {
  return {
      PUT(Name, t.apply({.name = v.text()})),    PUT(Size, t.apply({.size = v.number()})),
      PUT(Bold, t.apply({.bold = v.truth()})),   PUT(Italic, t.apply({.italic = v.truth()})),
      PUT(Color, t.apply({.color = v.whole()})),
  };
}

STAND_IN_TABLE(InteriorTarget) {
  return {
      GET_PUT(Color, t.color ? Variant(t.color()) : null(), t.apply({.color = v.whole()})),
      PUT(ColorIndex, t.apply({.color_index = v.whole()})),
      PUT(Pattern, t.apply({.pattern = v.whole()})),
      PUT(PatternColorIndex, t.apply({.pattern_color_index = v.whole()})),
  };
}

STAND_IN_TABLE(BorderTarget) {
  return {
      PUT(LineStyle, t.apply({.line_style = v.whole()})),
      PUT(Weight, t.apply({.weight = v.whole()})),
      PUT(ColorIndex, t.apply({.color_index = v.whole()})),
      PUT(Color, t.apply({.color = v.whole()})),
  };
}

ComPtr<IDispatch> make_excel_stand_in(const std::shared_ptr<StandIn>& stand_in) {
  ComPtr<IDispatch> made;
  *made.receive() = new Object<ApplicationTarget>(stand_in, {});
  return made;
}

}  // namespace ordvane::test
