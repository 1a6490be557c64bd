#include "reports/detail_by_input.h"

#include <algorithm>
#include <string>
#include <vector>

#include "layout/look.h"
#include "model/engine_reader.h"
#include "reports/body_writer.h"
#include "reports/gap_notes.h"
#include "reports/item_texts.h"
#include "reports/output_detail.h"
#include "reports/progress.h"
#include "reports/report_columns.h"
#include "reports/sheet_opening.h"
#include "reports/step_remarks.h"

namespace ordvane::reports {
namespace {

constexpr std::int32_t kHeaderRows = 3;
constexpr std::int32_t kNameRow = 2;
constexpr std::int32_t kColumnsPerOutput = 3;
constexpr std::size_t kMostStepNotes = 500;  // a spreadsheet takes its time over each

struct Columns {
  Columns(std::int32_t mode, std::int32_t outputs) : m(mode), k(outputs) {}
  std::int32_t m, k;
  std::int32_t name = 1, place = 2;
  std::int32_t cell() const { return m + 2; }
  std::int32_t step() const { return m + 3; }
  std::int32_t input_value() const { return m + 4; }
  // Value column of output 1 to k; its change and its change in percent follow.
  std::int32_t output_value(std::int32_t output) const { return m + kColumnsPerOutput * output + 4; }
  std::int32_t count() const { return kColumnsPerOutput * k + 6 + m; }
};

class DetailByInput {
 public:
  explicit DetailByInput(const Context& context)
      : context_(context),
        session_(context.session),
        inputs_(context.inputs),
        c_(context.range_mode, std::min(context.selected.size(), kMostDetailOutputs)),
        gaps_(c_.count()) {
    for (std::int32_t k = 1; k <= c_.k; ++k) results_.emplace_back(output(k), kOutputGaps, gaps_);
  }

  void make();

 private:
  std::int32_t standard_recalculations();
  bool leaves_out_steps() const;
  std::vector<layout::Column> columns() const;
  void fill_body();
  const std::string& step_text(std::int32_t step);
  struct InputRows {
    const model::DralInputOutput& input;
    std::int32_t first, rows;
    std::int32_t failed = 0;  // results, of all outputs shown
  };
  void fill_input(BodyWriter& body, InputRows& group);
  void name_input(host::CellBlock& block, std::int32_t row, const model::DralInputOutput& input) const;
  void format_names(const std::vector<InputRows>& groups);
  void format_input_rows(const InputRows& group);
  void add_step_notes(const std::vector<InputRows>& groups);
  const model::DralInputOutput& output(std::int32_t k) const {
    return context_.outputs(context_.selected(k));
  }

  const Context& context_;
  session::Session& session_;
  const model::Records& inputs_;
  Columns c_;
  std::int32_t rows_ = 0;
  GapNotes gaps_;
  std::vector<ItemCells> results_;  // of the outputs
  model::OneBased<std::string> step_texts_;
  std::shared_ptr<layout::ReportTable> table_;
};

void DetailByInput::make() {
  host::Application& application = session_.application();
  const bool too_many_rows = context_.recalculations > kMostDetailRows;
  const std::int32_t standard = standard_recalculations();
  application.set_calculation(host::Calculation::kManual);
  rows_ = too_many_rows ? kMostDetailRows : std::min(standard, kMostDetailRows);

  const auto sheet = StartSheet(
      context_, {text_id::kDetailByInputSheetName, text_id::kDetailByInputTitle, text_id::kDetailByInputRun});
  table_ = AddTable(
      *sheet, rows_, kHeaderRows,
      {session_.text(text_id::kDetailByInputCaption), session_.text(text_id::kDetailByInputSubcaption)},
      columns());
  table_->SetIdentityColumns(c_.step(), c_.name);
  table_->Header(1, c_.input_value(), kHeaderRows, kColumnsPerOutput * (c_.k + 1))
      ->set_border(host::Edge::kBottom, layout::look::kGroupRule);

  const host::Cursor cursor = application.cursor();
  application.set_cursor(host::Cursor::kWait);
  fill_body();
  gaps_.write(session_, *table_, rows_);
  table_->FilterRows();
  application.set_cursor(cursor);

  const auto body = table_->BodyRange();
  // Names keep the widths that their columns have. All others in one go: the cells lie row by row.
  body->offset(-1, c_.cell() - 1)
      ->resize(body->row_count() + 1, c_.count() - c_.cell() + 1)
      ->auto_fit_columns();
  table_->Settle();
  sheet->FinishSheet();
}

std::int32_t DetailByInput::standard_recalculations() {
  return model::EngineReader(session_).recalculations(inputs_.size()).standard;
}

bool DetailByInput::leaves_out_steps() const {
  std::int64_t steps = 0;
  for (const model::DralInputOutput& input : inputs_) steps += input.numSteps;
  return steps > rows_;
}

std::vector<layout::Column> DetailByInput::columns() const {
  const SharedColumns shared(context_);
  std::vector<layout::Column> columns = {shared.name()};
  layout::append(columns, shared.places());
  layout::append(columns, ruled({shared.cell(), shared.step()}));
  const auto figures = [&](const std::string& values, const std::string& changes) {
    std::vector<layout::Column> block = {shared.value(values), shared.change(changes), shared.fraction()};
    block.front().begins_block = true;
    return block;
  };
  std::vector<layout::Column> inputs = figures("", "");
  if (leaves_out_steps()) inputs.front().note = session_.text(text_id::kTableFull);
  layout::append(columns, shared.of_inputs(1, inputs));
  std::vector<layout::Column> outputs;
  for (std::int32_t k = 1; k <= c_.k; ++k) {
    (k == 1 ? columns : outputs).back().rule = true;
    layout::append(outputs, layout::grouped(shared.heading(output(k)), kNameRow,
                                            figures(ValueFormat(output(k)), ChangeFormat(output(k)))));
  }
  if (context_.selected.size() > c_.k && c_.k > 0)
    outputs.front().note = session_.text(text_id::kDetailByInputFirstOutputsOnly);
  layout::append(columns, shared.of_outputs(1, outputs));
  return columns;
}

void DetailByInput::fill_body() {
  BodyWriter body(*table_, rows_);
  std::vector<InputRows> groups;
  for (std::int32_t i = 1; i <= inputs_.size() && body.rows() < rows_; ++i) {
    const model::DralInputOutput& input = inputs_(i);
    session_.application().set_status_bar(
        session_.text(text_id::kDetailByInputProgress, std::int64_t{i}, std::int64_t{inputs_.size()}));
    CheckUserCancel(session_);
    const std::int32_t first = body.rows() + 1;
    const std::int32_t rows = std::min(input.numSteps, rows_ - first + 1);
    if (rows < 1) continue;
    groups.push_back({input, first, rows});
    fill_input(body, groups.back());
  }
  body.flush();
  format_names(groups);
  for (const InputRows& group : groups) format_input_rows(group);
  add_step_notes(groups);
}

void DetailByInput::fill_input(BodyWriter& body, InputRows& group) {
  const ItemCells values(group.input, kInputGaps, gaps_);
  const auto columns = [](std::int32_t first) {
    return ItemColumns{.value = first, .change = first + 1, .fraction = first + 2};
  };
  for (std::int32_t step = 1; step <= group.rows; ++step) {
    const std::int32_t r = body.next_row();
    const FilledRow row{.block = body.block(), .row = r, .body_row = body.rows()};
    name_input(row.block, r, group.input);
    row.block.set_text(r, c_.step(), step_text(step));
    values.put(row, columns(c_.input_value()), group.input.InputValuesUsed(step));
    for (std::int32_t k = 1; k <= c_.k; ++k) {
      const double result = group.input.OutputValuesCalculated(context_.selected(k), step);
      if (!results_[static_cast<std::size_t>(k - 1)].put(row, columns(c_.output_value(k)), result))
        ++group.failed;
    }
    CheckUserCancel(session_);
  }
}

// In every row, so that rows can be filtered and sorted, and a page that begins within the rows of an input
// names it.
void DetailByInput::name_input(host::CellBlock& block, std::int32_t row,
                               const model::DralInputOutput& input) const {
  block.set_text(row, c_.name, ItemLabel(input));
  PutPlace(block, row, c_.place, context_.range_mode, input);
  block.set_text(row, c_.cell(), input.cellAddress);
}

// Most inputs have the same steps: each text is made once.
const std::string& DetailByInput::step_text(std::int32_t step) {
  while (step_texts_.size() < step)
    step_texts_.push_back(session_.text(text_id::kDetailByInputStep, std::int64_t{step_texts_.size()} + 1));
  return step_texts_(step);
}

// An input shows where its first row is darker; long names go on below there.
void DetailByInput::format_names(const std::vector<InputRows>& groups) {
  if (groups.empty()) return;
  table_->Body(1, 1, rows_, c_.cell())->set_font({.color = layout::look::kMuted});
  std::vector<std::int32_t> first_rows;
  for (const InputRows& group : groups) {
    table_->Body(group.first, 1, 1, c_.cell())->set_font({.color = layout::look::kText});
    first_rows.push_back(group.first);
  }
  table_->WrapNames(first_rows);
}

// What one input's rows have of their own: its number format, a rule below them.
void DetailByInput::format_input_rows(const InputRows& group) {
  FormatValuesAndChanges(*table_, group.first, group.rows, c_.input_value(), group.input);
  table_->AddRowRule(group.first + group.rows - 1);
}

void DetailByInput::add_step_notes(const std::vector<InputRows>& groups) {
  std::size_t notes = 0;
  for (const InputRows& group : groups) {
    if (group.failed == 0) continue;
    if (++notes > kMostStepNotes) return;
    table_->AddTableNote(group.first, c_.name, session_.text(text_id::kNoteTitle),
                         StepNote(session_, {.steps = group.rows * c_.k, .failed = group.failed}));
  }
}

}  // namespace

std::int32_t MakeDetailByInputReport(const Context& context) {
  DetailByInput(context).make();
  return 0;
}

}  // namespace ordvane::reports
