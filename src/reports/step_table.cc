// Step table: one block write and a few format runs an input.
#include "reports/step_table.h"

#include <algorithm>

#include "layout/look.h"
#include "reports/item_texts.h"
#include "reports/progress.h"
#include "reports/report_columns.h"
#include "reports/step_remarks.h"
#include "reports/table_values.h"
#include "text/edit.h"
#include "text/utf16.h"

namespace ordvane::reports {
namespace {

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
constexpr std::int32_t kMostRows = 65525;
constexpr std::int32_t kSeriesNameLimit = 25;

}  // namespace

StepTable::StepTable(const Context& context, std::int32_t output, std::int32_t limit,
                     const model::OutputAnswers& answers)
    : context_(context),
      session_(context.session),
      inputs_(context.inputs),
      output_(context.outputs(output)),
      output_index_(output),
      answers_(answers) {
  for (std::int32_t i = 1; i <= inputs_.size(); ++i) {
    const model::DralInputOutput& in = inputs_(i);
    if (in.rank(output) > limit || in.numSteps <= 0) continue;
    const std::int32_t rows = std::min(in.numSteps, kMostRows - rows_);
    truncated_ = truncated_ || rows < in.numSteps;
    if (rows == 0) continue;
    blocks_.push_back({.input = i, .first_row = rows_ + 1, .rows = rows, .facts = {}});
    blocks_.back().facts = this->answers(blocks_.back()).facts;
    rows_ += rows;
  }
}

std::int32_t StepTable::column(std::int32_t after_places) const {
  return context_.range_mode + after_places;
}

const model::InputAnswers& StepTable::answers(const Block& block) const {
  return *std::find_if(answers_.inputs.begin(), answers_.inputs.end(),
                       [&](const model::InputAnswers& each) { return each.input == block.input; });
}

double StepTable::input_value(const Block& block, std::int32_t step) const {
  return input(block).InputValuesUsed(step);
}

double StepTable::output_value(const Block& block, std::int32_t step) const {
  return input(block).OutputValuesCalculated(output_index_, step);
}

std::optional<StepTable::Point> StepTable::point(const Block& block, std::int32_t step,
                                                 Quantity quantity) const {
  return drawn(block, {input_value(block, step), output_value(block, step)}, quantity);
}

std::optional<StepTable::Point> StepTable::drawn(const Block& block, Point point, Quantity quantity) const {
  const model::NumberRules& rules = output_.rules();
  if (quantity == Quantity::kChange)
    point = {rules.fractional_change(point.x, input(block).BaseValue()),
             rules.fractional_change(point.y, output_.BaseValue())};
  return rules.is_usable(point.x) && rules.is_usable(point.y) ? std::optional(point) : std::nullopt;
}

StepTable::Steps StepTable::drawable_steps(const Block& block, Quantity quantity) const {
  Steps steps;
  std::int32_t drawable = 0;
  for (std::int32_t step = 1; step <= block.rows; ++step) {
    if (!point(block, step, quantity)) continue;
    if (drawable++ == 0) steps.first = step;
    steps.count = step - steps.first + 1;
  }
  steps.has_gaps = drawable < steps.count;
  return steps;
}

Obstacle StepTable::obstacle(const Block& block, Quantity quantity) const {
  const model::NumberRules& rules = output_.rules();
  const bool changes = quantity == Quantity::kChange;
  const double base = input(block).BaseValue(), output_base = output_.BaseValue();
  if (changes && (output_base == 0 || !rules.is_usable(output_base))) return Obstacle::kOutputBase;
  if (!context_.settings.all_inputs && block.facts.without_effect()) return Obstacle::kNoEffect;
  if (changes && base == 0) return Obstacle::kBaseZero;
  if (changes && !rules.is_usable(base)) return Obstacle::kBaseInvalid;
  return drawable_steps(block, quantity).count == 0 ? Obstacle::kNoResults : Obstacle::kNone;
}

std::string StepTable::caption(const StepTableTexts& texts) const {
  return session_.text(output_.has_name() ? texts.caption : text_id::kStepsCaptionOfCell,
                       output_.NameOrQualifiedCellAddressName(context_.range_mode));
}

void StepTable::write(layout::ReportSheet& sheet, const StepTableTexts& texts) {
  if (texts.answers)
    answer_columns_.emplace(context_, answers_, kAnswersOfSteps, column(kColumns) + 1, rows_);
  table_ = AddTable(sheet, rows_, kHeaderRows, {caption(texts), session_.text(texts.subcaption)}, columns());
  for (const Block& block : blocks_) {
    write_block(block, texts);
    CheckUserCancel(session_);
  }
  if (answer_columns_) answer_columns_->format(*table_);
  std::vector<std::int32_t> first_rows;
  for (const Block& block : blocks_) first_rows.push_back(block.first_row);
  if (!first_rows.empty()) table_->WrapNames(first_rows);
  table_->FilterRows();
  notes_.write(session_, *table_);
}

std::vector<layout::Column> StepTable::columns() const {
  const SharedColumns shared(context_);
  std::vector<layout::Column> columns = shared.places();
  layout::append(columns, ruled({shared.name(), shared.cell(), shared.step()}));
  if (truncated_) columns.back().note = session_.text(text_id::kTableFull);
  layout::append(columns, ruled(shared.of_inputs(1, {shared.value(), shared.change(), shared.fraction()})));
  layout::append(columns, shared.of_outputs(1, {shared.value(ValueFormat(output_)),
                                                shared.change(ChangeFormat(output_)), shared.fraction()}));
  if (!answer_columns_) return columns;
  columns = ruled(std::move(columns));
  layout::append(columns, answer_columns_->columns(kHeaderRows));
  return columns;
}

std::int32_t StepTable::last_column() const {
  return answer_columns_ ? answer_columns_->last() : column(kColumns);
}

void StepTable::write_block(const Block& block, const StepTableTexts& texts) {
  const model::DralInputOutput& in = input(block);
  host::CellBlock cells(block.rows, last_column());
  if (answer_columns_) answer_columns_->fill(cells, 1, block.first_row, answers(block));
  FirstNotes base_notes;  // of this input
  const ItemColumns of_input = {
      in, column(kInputValue), in.BaseValue() == 0 ? texts.input_base_zero : text_id::kStepsInputBaseNoNumber,
      base_notes};
  const ItemColumns of_output = {
      output_, column(kOutputValue),
      output_.BaseValue() == 0 ? texts.output_base_zero : text_id::kStepsOutputBaseNoNumber, notes_};
  for (std::int32_t step = 1; step <= block.rows; ++step) {
    PutPlace(cells, step, 1, context_.range_mode, in);
    cells.set_text(step, column(kName), ItemLabel(in));
    cells.set_text(step, column(kCell), in.cellAddress);
    cells.set_number(step, column(kStep), step);
    fill_item(cells, block, step, of_input, input_value(block, step), texts.invalid);
    fill_item(cells, block, step, of_output, output_value(block, step), texts.invalid);
  }
  table_->PutBody(block.first_row, cells);
  FormatValuesAndChanges(*table_, block.first_row, block.rows, column(kInputValue), in);
  set_apart(block);
  base_notes.write(session_, *table_);
  const std::string note = StepNote(session_, block.facts);
  if (!note.empty())
    table_->AddTableNote(block.first_row, column(kName), session_.text(text_id::kNoteTitle), note);
}

void StepTable::fill_item(host::CellBlock& cells, const Block& block, std::int32_t step,
                          const ItemColumns& columns, double value, session::TextId<0> invalid) {
  const model::NumberRules& rules = output_.rules();
  const double base = columns.item.BaseValue();
  const bool lacks_base = base == 0 || !rules.is_usable(base);
  const double figures[] = {value, rules.difference(value, base), rules.fractional_change(value, base)};
  for (std::int32_t place = columns.first; const double figure : figures) {
    std::int32_t flags = 0;
    FormatTableValue(rules, cells, step, place, figure, flags, 1.0, model::OrdvaneDivisorInputOrOutput);
    const std::int32_t row = block.first_row + step - 1;
    if (flags != 0 && rules.is_usable(value) && lacks_base)
      columns.base_notes.add(columns.without_change, row, place);
    else if (flags != 0)
      notes_.add(invalid, row, place);
    ++place;
  }
}

// An input's place and name stand in every row, so that rows can be filtered and sorted; behind the first one
// quietly.
void StepTable::set_apart(const Block& block) {
  if (block.rows > 1)
    table_->Body(block.first_row + 1, 1, block.rows - 1, column(kCell))
        ->set_font({.color = layout::look::kMuted});
  table_->AddRowRule(block.first_row + block.rows - 1);
}

// Figures that the table does not show stand out of sight: points of the line, and marks.
void StepTable::fill_range(model::OrdvaneGraphRange& range, const Block& block, Quantity quantity,
                           model::OrdvaneGraphRange* marks) {
  const Steps steps = drawable_steps(block, quantity);
  const bool values = quantity == Quantity::kValue;
  const std::int32_t row = block.first_row + steps.first - 1;
  range.set_numValues(steps.count);
  range.set_rName(SeriesName(input(block)));
  host::CellBlock figures(block.rows, 4);
  const auto put = [&](std::int32_t at, std::int32_t column, const std::optional<Point>& point) {
    if (!point) return false;
    figures.set_number(at, column, point->x);
    figures.set_number(at, column + 1, point->y);
    return true;
  };
  std::int32_t marked = 0;
  if (marks != nullptr)
    for (const model::Crossing& crossing : answers(block).break_even.reached)
      if (marked < block.rows &&
          put(marked + 1, 3, drawn(block, {crossing.input, answers_.target}, quantity)))
        ++marked;
  for (std::int32_t step = 1; steps.has_gaps && step <= block.rows; ++step)
    put(step, 1, point(block, step, quantity));
  std::shared_ptr<host::Range> cells;
  if (steps.has_gaps || marked > 0) cells = table_->PutOutOfSight(block.first_row, figures);
  if (marked > 0) {
    marks->set_numValues(marked);
    marks->set_xValues(cells->offset(0, 2)->resize(marked, 1));
    marks->set_yValues(cells->offset(0, 3)->resize(marked, 1));
  }
  if (steps.has_gaps) {
    range.set_xValues(cells->offset(steps.first - 1, 0)->resize(steps.count, 1));
    range.set_yValues(cells->offset(steps.first - 1, 1)->resize(steps.count, 1));
  } else {
    range.set_xValues(table_->Body(row, column(values ? kInputValue : kInputFraction), steps.count));
    range.set_yValues(table_->Body(row, column(values ? kOutputValue : kOutputFraction), steps.count));
  }
}

std::string SeriesName(const model::DralInputOutput& input) {
  const std::string name(text::trimmed(text::left(input.ioName, kSeriesNameLimit)));
  return NameWithAddress(name, input.cellAddress);
}

}  // namespace ordvane::reports
