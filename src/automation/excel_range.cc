// Excel's Range object.
#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>
#include <vector>

#include "automation/cell_variants.h"
#include "automation/excel_objects.h"
#include "text/cell_names.h"
#include "text/utf16.h"

namespace ordvane::automation {
namespace {

using host::CellKind;
using host::CellValue;

constexpr std::int32_t kXlA1 = 1;
constexpr std::int32_t kLongestText = 32767;       // UTF-16 units of a cell
constexpr std::int32_t kLongestTextInArray = 911;  // what every version takes within an array
constexpr const char* kTextFormat = "@";
constexpr const char* kGeneralFormat = "General";

void check_text(const std::string& text) {
  if (text.size() > kLongestText && text::utf16_length(text) > kLongestText)
    throw host::Error(host::errc::kHostRefused, "A cell holds at most 32,767 characters");
}

class ExcelRange final : public host::Range, public ExcelObject {
 public:
  ExcelRange(Context context, LateBound range, const KnownArea& place)
      : ExcelObject(std::move(context), std::move(range)), area_(place) {}

  std::shared_ptr<host::Worksheet> worksheet() override {
    return make_worksheet(context_, it_.object(L"Worksheet", kinds::kWorksheet));
  }
  std::int32_t row() override {
    return known(area_.row, [&] { return it_.get(L"Row").whole(); });
  }
  std::int32_t column() override {
    return known(area_.column, [&] { return it_.get(L"Column").whole(); });
  }
  std::int32_t row_count() override {
    return known(area_.rows, [&] { return count(L"Rows"); });
  }
  std::int32_t column_count() override {
    return known(area_.columns, [&] { return count(L"Columns"); });
  }
  std::string address(bool absolute, bool external) override {
    return it_.get(L"Address", {absolute, absolute, kXlA1, external}).text();
  }

  std::shared_ptr<host::Range> cell(std::int32_t row, std::int32_t column) override {
    return make_range(context_, item(row, column),
                      {moved(area_.row, row - 1), moved(area_.column, column - 1), 1, 1});
  }
  std::shared_ptr<host::Range> offset(std::int32_t rows, std::int32_t columns) override {
    return make_range(context_, it_.object(L"Offset", kinds::kRange, {rows, columns}),
                      {moved(area_.row, rows), moved(area_.column, columns), area_.rows, area_.columns});
  }
  std::shared_ptr<host::Range> resize(std::int32_t rows, std::int32_t columns) override {
    return make_range(context_, it_.object(L"Resize", kinds::kRange, {rows, columns}),
                      {area_.row, area_.column, rows, columns});
  }

  CellValue value() override { return first_value(few_cells().get(L"Value2")); }
  void set_value(const CellValue& value) override;
  host::CellBlock values() override { return cell_block(it_.get(L"Value2"), row_count(), column_count()); }
  void put_blocks(std::span<const host::CellBlock* const> blocks) override;
  std::string formula() override { return first_value(few_cells().get(L"Formula")).text; }
  void set_formula(const std::string& formula) override { it_.put(L"Formula", formula); }
  CellValue value_with(const std::string& formula) override;
  CellValue evaluate(const std::string& formula) override {
    return evaluated(context_, it_.object(L"Worksheet", kinds::kWorksheet), formula);
  }

  std::string number_format() override { return of_first_cell(L"NumberFormat").text(); }
  std::string number_format_local() override { return of_first_cell(L"NumberFormatLocal").text(); }
  void set_number_format(const std::string& format) override {
    it_.put(L"NumberFormat", format.empty() ? kGeneralFormat : format);
  }
  void set_row_formats(const std::vector<std::string>& formats) override;
  void set_font(const host::FontFormat& font) override { apply_font(it_, font); }
  void set_interior(const host::InteriorFormat& interior) override { apply_interior(it_, interior); }
  void set_border(host::Edge edge, const host::BorderFormat& border) override {
    apply_line(it_.object(L"Borders", kinds::kBorders).object(L"Item", kinds::kBorder, {edge}), border);
  }
  void set_alignment(host::HAlign horizontal, host::VAlign vertical) override {
    it_.put(L"HorizontalAlignment", horizontal);
    it_.put(L"VerticalAlignment", vertical);
  }
  void add_color_scale(const std::vector<host::ColorStop>& stops) override;
  // Without arguments the call takes away a filter that is there.
  void set_auto_filter() override {
    it_.object(L"Worksheet", kinds::kWorksheet).put(L"AutoFilterMode", false);
    it_.call(L"AutoFilter");
  }
  void set_indent(std::int32_t level) override { it_.put(L"IndentLevel", level); }
  void set_wrap_text(bool wrap) override { it_.put(L"WrapText", wrap); }
  bool locked() override { return of_first_cell(L"Locked").truth(); }

  void set_merge(bool merged) override { it_.put(L"MergeCells", merged); }
  void auto_fit_columns() override { it_.object(L"Columns", kinds::kRange).call(L"AutoFit"); }
  double column_width() override;
  void set_column_width(double characters) override;
  void set_columns_hidden(bool hidden) override {
    it_.object(L"EntireColumn", kinds::kRange).put(L"Hidden", hidden);
  }
  double row_height() override { return of_first_cell(L"RowHeight").number(); }
  void set_row_height(double points) override { it_.put(L"RowHeight", points); }
  double left() override { return it_.get(L"Left").number(); }
  double top() override { return it_.get(L"Top").number(); }
  double width() override { return it_.get(L"Width").number(); }
  double height() override { return it_.get(L"Height").number(); }

  void add_comment(const std::string& text) override {
    const LateBound cell = first_cell();
    cell.call(L"ClearComments");
    cell.call(L"AddComment", {text});
  }
  void select() override { it_.call(L"Select"); }
  void activate() override { it_.call(L"Activate"); }

 private:
  std::int32_t count(const wchar_t* of) { return it_.object(of, kinds::kRange).get(L"Count").whole(); }
  // What is not known yet is asked, and kept: a range never moves.
  template <class Ask>
  static std::int32_t known(std::int32_t& value, Ask&& ask) {
    if (value == 0) value = ask();
    return value;
  }
  static std::int32_t moved(std::int32_t from, std::int32_t by) { return from == 0 ? 0 : from + by; }
  double character_points();
  bool is_one_cell() const { return area_.rows == 1 && area_.columns == 1; }
  LateBound first_cell() { return is_one_cell() ? it_ : item(1, 1); }
  // The range itself while it may be one cell, for what can be read of several cells together.
  LateBound few_cells() { return area_.rows == 0 ? it_ : first_cell(); }
  LateBound item(std::int32_t row, std::int32_t column) {
    return it_.object(L"Item", kinds::kRange, {row, column});
  }
  // Cells that differ answer Null together.
  Variant of_first_cell(const wchar_t* property) {
    Variant result = it_.get(property);
    return result.is_null() ? item(1, 1).get(property) : std::move(result);
  }

  // Cells formatted as text, asked for as few calls as their formats allow.
  class TextCells;
  void put_all(const host::CellBlock& block);

  KnownArea area_;
};

class ExcelRange::TextCells {
 public:
  explicit TextCells(ExcelRange& range) : range_(range) {}

  bool contains(std::int32_t row, std::int32_t column) {
    if (!asked_) whole_ = ask(range_.it_);
    asked_ = true;
    if (whole_) return *whole_;
    const auto [known, is_new] = columns_.try_emplace(column);
    if (is_new)
      known->second =
          ask(range_.item(1, column).object(L"Resize", kinds::kRange, {range_.row_count(), std::int32_t{1}}));
    if (known->second) return *known->second;
    return ask(range_.item(row, column)).value_or(false);
  }

 private:
  // Nothing where the cells differ.
  static std::optional<bool> ask(const LateBound& cells) {
    const Variant format = cells.get(L"NumberFormat");
    if (format.is_null()) return std::nullopt;
    return format.text() == kTextFormat;
  }

  ExcelRange& range_;
  bool asked_ = false;
  std::optional<bool> whole_;
  std::map<std::int32_t, std::optional<bool>> columns_;
};

// Excel counts widths in digits of the workbook's Normal font, beside which a column has some room.
constexpr double kCharacterPoints = 5.25;  // of the font that reports count in
constexpr double kRoom = 5.0 / 7;          // characters

double ExcelRange::character_points() {
  constexpr double kSame = 0.1;  // points
  std::optional<double>& known = context_->character_points;
  if (known) return *known;
  const LateBound column = area_.columns == 1 ? it_ : item(1, 1);
  const double characters = column.get(L"ColumnWidth").number();
  const double points = column.get(L"Width").number() / (characters + kRoom);
  return known.emplace(characters > 0 && std::fabs(points - kCharacterPoints) > kSame ? points
                                                                                      : kCharacterPoints);
}

double ExcelRange::column_width() {
  const double points = character_points(), shown = of_first_cell(L"ColumnWidth").number();
  return points == kCharacterPoints ? shown : (shown + kRoom) * points / kCharacterPoints - kRoom;
}

void ExcelRange::set_column_width(double characters) {
  constexpr double kWidest = 255;
  const double points = character_points();
  if (points != kCharacterPoints && characters <= kWidest)
    characters = std::clamp((characters + kRoom) * kCharacterPoints / points - kRoom, 0.0, kWidest);
  it_.put(L"ColumnWidth", characters);
}

CellValue ExcelRange::value_with(const std::string& formula) {
  if (const auto result = tried(context_, first_cell(), formula)) return *result;
  CellValue result;
  host::ignoring_errors([&] { result = evaluate(formula); });
  return result.is_number() ? result : value();
}

void ExcelRange::set_value(const CellValue& value) {
  check_text(value.text);
  if (value.kind != CellKind::kText || !may_be_read_otherwise(value.text)) {
    it_.put(L"Value2", cell_variant(value, false));
    return;
  }
  const Variant format = it_.get(L"NumberFormat");
  if (!format.is_null()) {
    it_.put(L"Value2", cell_variant(value, format.text() != kTextFormat));
    return;
  }
  host::CellBlock block(row_count(), column_count());
  const auto text = block.add_text(value.text);
  for (std::int32_t row = 1; row <= block.rows(); ++row)
    for (std::int32_t column = 1; column <= block.columns(); ++column) block.set_text(row, column, text);
  put(block);
}

void ExcelRange::put_blocks(std::span<const host::CellBlock* const> blocks) {
  std::int32_t rows = 0;
  for (const host::CellBlock* block : blocks) rows += block->rows();
  const auto fits = [&](const host::CellBlock* block) { return block->columns() == column_count(); };
  if (rows != row_count() || !std::ranges::all_of(blocks, fits))
    throw host::Error(host::errc::kHostRefused, "The block and the range differ in size");
  if (blocks.size() == 1) return put_all(*blocks[0]);
  for (std::int32_t above = 0; const host::CellBlock* block : blocks) {
    offset(above, 0)->resize(block->rows(), block->columns())->put(*block);
    above += block->rows();
  }
}

// Of the range's size.
void ExcelRange::put_all(const host::CellBlock& block) {
  std::vector<bool> risky(block.text_count()), large(block.text_count());
  for (host::CellBlock::TextId id = 0; id < block.text_count(); ++id) {
    const std::string& text = block.text(id);
    check_text(text);
    risky[id] = may_be_read_otherwise(text);
    large[id] = text.size() > kLongestTextInArray && text::utf16_length(text) > kLongestTextInArray;
  }
  TextCells text_cells(*this);
  const auto mark = [&](std::int32_t row, std::int32_t column) {
    return risky[block.at(row, column).text] && !text_cells.contains(row, column);
  };
  const auto is_large = [&](std::int32_t row, std::int32_t column) {
    const host::CellBlock::Cell& cell = block.at(row, column);
    return cell.kind == CellKind::kText && large[cell.text];
  };
  it_.put(L"Value2", block_variant(block, mark, is_large));
  if (std::find(large.begin(), large.end(), true) == large.end()) return;
  for (std::int32_t row = 1; row <= block.rows(); ++row)
    for (std::int32_t column = 1; column <= block.columns(); ++column)
      if (is_large(row, column))
        item(row, column).put(L"Value2", cell_variant(block.value(row, column), mark(row, column)));
}

void ExcelRange::add_color_scale(const std::vector<host::ColorStop>& stops) {
  constexpr std::int32_t kXlConditionValueNumber = 0;
  if (!host::is_color_scale(stops))
    throw host::Error(host::errc::kHostRefused, "A colour scale has two or three stops, their values rising");
  const LateBound conditions = it_.object(L"FormatConditions", kinds::kFormatConditions);
  const LateBound scale(conditions.call(L"AddColorScale", {static_cast<std::int32_t>(stops.size())}).object(),
                        kinds::kColorScale, it_.names());
  const LateBound criteria = scale.object(L"ColorScaleCriteria", kinds::kColorScaleCriteria);
  for (std::int32_t position = 1; const host::ColorStop& stop : stops) {
    const LateBound criterion = criteria.object(L"Item", kinds::kColorScaleCriterion, {position++});
    criterion.put(L"Type", kXlConditionValueNumber);
    criterion.put(L"Value", stop.value);
    criterion.object(L"FormatColor", kinds::kFormatColor).put(L"Color", stop.color);
  }
}

// Rows of one format are set together: Excel has no array of formats, but ranges of many areas.
void ExcelRange::set_row_formats(const std::vector<std::string>& formats) {
  constexpr std::size_t kLongestAddress = 255;
  const std::int32_t rows = row_count();
  if (formats.size() != static_cast<std::size_t>(rows))
    throw host::Error(host::errc::kHostRefused, "A range of " + std::to_string(rows) +
                                                    " rows takes as many formats, not " +
                                                    std::to_string(formats.size()));
  std::map<std::string_view, std::vector<std::string>> addresses;  // as few as hold all rows of a format
  for (std::int32_t first = 0, next = 0; first < rows; first = next) {
    const std::string& format = formats[static_cast<std::size_t>(first)];
    while (next < rows && formats[static_cast<std::size_t>(next)] == format) ++next;
    const std::string area = area_name({row() + first, column(), next - first, column_count()});
    auto& lists = addresses[format];
    if (lists.empty() || lists.back().size() + 1 + area.size() > kLongestAddress)
      lists.push_back(area);
    else
      lists.back() += "," + area;
  }
  const LateBound sheet = it_.object(L"Worksheet", kinds::kWorksheet);
  for (const auto& [format, lists] : addresses)
    for (const std::string& address : lists)
      ExcelRange(context_, sheet.object(L"Range", kinds::kRange, {address}), {})
          .set_number_format(std::string(format));
}

}  // namespace

std::shared_ptr<host::Range> make_range(Context context, LateBound range, const KnownArea& place) {
  return std::make_shared<ExcelRange>(std::move(context), std::move(range), place);
}

IDispatch* range_object(host::Range& range) {
  auto* known = dynamic_cast<ExcelRange*>(&range);
  if (known == nullptr)
    throw host::Error(host::errc::kTypeMismatch, "The range belongs to another application");
  return known->it().dispatch();
}

std::string area_name(const KnownArea& place) {
  const auto fits = [](std::int32_t first, std::int32_t count, std::int32_t most) {
    return first >= 1 && count >= 1 && first <= most && count <= most - first + 1;
  };
  if (!fits(place.row, place.rows, text::kSheetRows) ||
      !fits(place.column, place.columns, text::kSheetColumns))
    throw host::Error(host::errc::kHostRefused, "The range lies outside the sheet");
  const std::string first = text::cell_name(place.row, place.column);
  if (place.rows == 1 && place.columns == 1) return first;
  return first + ":" + text::cell_name(place.row + place.rows - 1, place.column + place.columns - 1);
}

}  // namespace ordvane::automation
