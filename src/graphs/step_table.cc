// Step table: one block write and a few format runs an input.
#include "graphs/step_table.h"

#include <algorithm>
#include <cmath>

#include "graphs/graph_sheet.h"
#include "tables/utils.h"
#include "text/edit.h"
#include "text/utf16.h"

namespace ordvane::graphs {
namespace {

using host::HAlign;

// Columns after those that say where an input is (one a step of the range mode).
enum Column : std::int32_t {
  kName = 1,
  kCell,
  kStep,
  kInputValue,
  kInputChange,
  kInputFraction,
  kOutputValue,
  kOutputChange,
  kOutputFraction,
  kColumns = kOutputFraction
};
constexpr std::int32_t kHeaderRows = 2;
constexpr std::int32_t kItemColumns = 3;  // value, change, change in percent
constexpr std::int32_t kMostRows = 65525;
constexpr std::int32_t kSeriesNameLimit = 25;
constexpr std::int16_t kTableFull = 114;

}  // namespace

StepTable::StepTable(session::Session& session, const model::Records& inputs,
                     const model::DralInputOutput& output, std::int32_t output_index,
                     model::OrdvaneRangeMode range_mode, std::int32_t limit)
    : session_(session),
      inputs_(inputs),
      output_(output),
      output_index_(output_index),
      range_mode_(range_mode) {
  for (std::int32_t i = 1; i <= inputs.size(); ++i) {
    if (inputs(i).outputRank(output_index) > limit || inputs(i).numSteps <= 0) continue;
    const std::int32_t rows = std::min(inputs(i).numSteps, kMostRows - rows_);
    truncated_ = truncated_ || rows < inputs(i).numSteps;
    if (rows == 0) continue;
    blocks_.push_back({.input = i, .first_row = rows_ + 1, .rows = rows});
    rows_ += rows;
  }
}

std::int32_t StepTable::column(std::int32_t after_places) const {
  return range_mode_ + after_places;
}

double StepTable::input_value(const Block& block, std::int32_t step) const {
  return input(block).InputValuesUsed(step);
}

double StepTable::output_value(const Block& block, std::int32_t step) const {
  return input(block).OutputValuesCalculated(output_index_, step);
}

bool StepTable::has_base(const Block& block) const {
  const double base = input(block).BaseValue();
  return base != 0 && output_.rules().is_usable(base);
}

bool StepTable::is_drawable(const Block& block, std::int32_t step, Quantity quantity) const {
  const model::NumberRules& rules = output_.rules();
  const double value = output_value(block, step);
  return rules.is_usable(quantity == Quantity::kValue ? value
                                                      : rules.fractional_change(value, output_.BaseValue()));
}

StepTable::Steps StepTable::drawable_steps(const Block& block, Quantity quantity, bool with_errors) const {
  Steps steps;
  bool any = false;
  for (std::int32_t step = 1; step <= block.rows; ++step) {
    const bool drawable = is_drawable(block, step, quantity);
    any = any || drawable;
    if (!drawable && !(with_errors && output_.rules().is_error(output_value(block, step)))) continue;
    if (steps.count == 0) steps.first = step;
    steps.count = step - steps.first + 1;
  }
  return any ? steps : Steps{};
}

void StepTable::write(tables::ReportSheet& sheet, const StepTableTexts& texts) {
  table_ = sheet.AddTable(rows_, column(kColumns), kHeaderRows, 0,
                          session_.text(texts.caption, output_.NameOrQualifiedCellAddressName(
                                                           model::OrdvaneRangeMode{range_mode_})),
                          session_.text(texts.subcaption));
  write_headers();
  for (const Block& block : blocks_) {
    write_block(block);
    tables::CheckUserCancel(session_);
  }
  for (const Column last : {kStep, kInputFraction})
    table_->AddColumnRule(column(last), -1, tables::kRuleLineStyle, tables::kRuleWeight,
                          tables::kRuleColorIndex);
  add_note(input_base_zero_, texts.input_base_zero);
  add_note(output_base_zero_, texts.output_base_zero);
  add_note(invalid_, texts.invalid);
  if (truncated_) add_note(Place{0, column(kStep)}, kTableFull);
}

void StepTable::write_headers() {
  const auto names = [&](std::int32_t place, std::int32_t caption) {
    table_->SetColumnHeader(place, session_.CommonString(caption), HAlign::kLeft, HAlign::kLeft, 0,
                            tables::kNameColumnWidth, "", true);
  };
  const auto figures = [&](Column place, std::int32_t caption, HAlign body) {
    table_->SetColumnHeader(column(place), session_.CommonString(caption), body, HAlign::kCenter, 0,
                            tables::kFitColumn, "", false);
  };
  if (range_mode_ == model::OrdvaneRangeBookMode) names(1, 0);
  if (range_mode_ != model::OrdvaneRangeCellMode) names(range_mode_, 1);
  names(column(kName), 2);
  figures(kCell, 3, HAlign::kCenter);
  figures(kStep, 4, HAlign::kCenter);
  for (const Column value : {kInputValue, kOutputValue}) figures(value, 5, HAlign::kRight);
  for (const Column change : {kInputChange, kOutputChange}) figures(change, 6, HAlign::kRight);
  for (const Column fraction : {kInputFraction, kOutputFraction}) figures(fraction, 7, HAlign::kRight);
  AddHeaderGroup(*table_, 1, column(kInputValue), 1, kItemColumns, session_.CommonString(10));
  AddHeaderGroup(*table_, 1, column(kOutputValue), 1, kItemColumns, session_.CommonString(11));
}

void StepTable::write_block(const Block& block) {
  const model::DralInputOutput& in = input(block);
  host::CellBlock cells(block.rows, column(kColumns));
  if (range_mode_ == model::OrdvaneRangeBookMode) cells.set_text(1, 1, in.bookName);
  if (range_mode_ != model::OrdvaneRangeCellMode) cells.set_text(1, range_mode_, in.sheetName);
  cells.set_text(1, column(kName), ItemLabel(in));
  cells.set_text(1, column(kCell), in.cellAddress);
  for (std::int32_t step = 1; step <= block.rows; ++step) {
    cells.set_number(step, column(kStep), step);
    fill_item(cells, block, step, column(kInputValue), input_value(block, step), in,
              model::OrdvaneDivisorInput);
    fill_item(cells, block, step, column(kOutputValue), output_value(block, step), output_,
              model::OrdvaneDivisorOutput);
  }
  table_->PutBody(block.first_row, cells);
  format_item(block, column(kInputValue), in);
  format_item(block, column(kOutputValue), output_);
  merge_places(block);
}

void StepTable::fill_item(host::CellBlock& cells, const Block& block, std::int32_t step,
                          std::int32_t first_column, double value, const model::DralInputOutput& item,
                          model::OrdvaneDivisorType kind) {
  const model::NumberRules& rules = output_.rules();
  const double base = item.BaseValue();
  const bool measurable = rules.is_usable(value) && rules.is_usable(base);
  const double change = measurable ? value - base : rules.missing_number();
  const struct { double shown, divisor; } cells_of_item[] = {{value, 1.0}, {change, 1.0}, {change, base}};
  std::int32_t offset = 0;
  for (const auto& [shown, divisor] : cells_of_item) {
    const Place place = {step, first_column + offset++};
    std::int32_t flags = 0;
    tables::FormatTableValue(rules, cells, place.row, place.column, shown, flags, divisor, kind);
    if (flags == 0) continue;
    auto& first = !measurable || base != 0             ? invalid_
                  : kind == model::OrdvaneDivisorInput ? input_base_zero_
                                                       : output_base_zero_;
    if (!first) first = {block.first_row + step - 1, place.column};
  }
}

void StepTable::format_item(const Block& block, std::int32_t first_column,
                            const model::DralInputOutput& item) {
  tables::FormatValuesAndChanges(*table_, block.first_row, block.rows, first_column, item);
  table_->FormatBody(block.first_row, block.rows, first_column + 2, tables::PercentFormat());
}

// An input's place and name stand once, over all its steps.
void StepTable::merge_places(const Block& block) {
  if (block.rows == 1) return;
  for (std::int32_t place = 1; place <= column(kCell); ++place) {
    const auto cells = table_->Body(block.first_row, place, block.rows, 1);
    cells->set_alignment(place == column(kCell) ? HAlign::kCenter : HAlign::kLeft, host::VAlign::kTop);
    cells->set_merge(true);
    cells->set_wrap_text(true);  // a long name goes on in the rows below
  }
  table_->AddRowRule(block.first_row + block.rows - 1, -1, tables::kRuleLineStyle, tables::kRuleWeight,
                     tables::kRuleColorIndex);
}

void StepTable::add_note(const std::optional<Place>& place, std::int16_t text) {
  if (place) table_->AddTableNote(place->row, place->column, session_.CommonString(12), session_.text(text));
}

void StepTable::fill_range(model::OrdvaneGraphRange& range, const Block& block, const Steps& steps,
                           Quantity quantity) {
  const bool values = quantity == Quantity::kValue;
  const std::int32_t row = block.first_row + steps.first - 1;
  range.set_numValues(steps.count);
  range.set_rName(SeriesName(input(block)));
  range.set_xValues(table_->Body(row, column(values ? kInputValue : kInputFraction), steps.count));
  range.set_yValues(table_->Body(row, column(values ? kOutputValue : kOutputFraction), steps.count));
}

std::string SeriesName(const model::DralInputOutput& input) {
  const std::string name(text::trimmed(text::left(input.ioName, kSeriesNameLimit)));
  return tables::NameWithAddress(name, input.cellAddress);
}

}  // namespace ordvane::graphs
