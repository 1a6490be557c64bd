#include "reports/detail_by_input.h"

#include <algorithm>
#include <span>
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
    for (std::int32_t k = 1; k <= c_.k; ++k) results_.emplace_back(output(k), kOutputGaps);
  }

  void make();

 private:
  std::int32_t standard_recalculations();
  bool leaves_out_steps() const;
  std::vector<layout::Column> columns() const;
  // Body rows of one input.
  struct InputRows {
    std::int32_t input;  // position in the records
    std::int32_t first, rows;
    std::int32_t failed = 0;  // results, of all outputs shown
    std::int32_t last() const { return first + rows - 1; }
  };
  // Those of them that a piece has.
  struct Part {
    std::size_t of;           // which InputRows
    std::int32_t row, rows;   // of the block, from 1
    std::int32_t first_step;  // in its first row
    std::int32_t failed = 0;
  };
  struct Piece : BodyPiece {
    using BodyPiece::BodyPiece;
    std::vector<Part> parts;
    std::vector<double> results;  // of each output all of these rows
  };
  std::vector<InputRows> rows_of_inputs() const;
  void fill_body();
  void begin_piece(Piece& piece, const std::vector<InputRows>& inputs) const;
  void fill_part(Piece& piece, Part& part, const model::DralInputOutput& input) const;
  void name_steps(const std::vector<InputRows>& inputs);
  void name_input(host::CellBlock& block, std::int32_t row, const model::DralInputOutput& input) const;
  void format_names(const std::vector<InputRows>& inputs);
  void format_input_rows(const InputRows& input);
  void add_step_notes(const std::vector<InputRows>& inputs);
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

  // Names keep the widths that their columns have.
  table_->FitColumns(c_.cell(), c_.count() - c_.cell() + 1, 1);
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

// The rows of one input after those of another, as far as there is room.
std::vector<DetailByInput::InputRows> DetailByInput::rows_of_inputs() const {
  std::vector<InputRows> inputs;
  std::int32_t rows = 0;
  for (std::int32_t i = 1; i <= inputs_.size(); ++i) {
    const std::int32_t shown = std::min(inputs_(i).numSteps, rows_ - rows);
    if (shown < 1) continue;
    inputs.push_back({.input = i, .first = rows + 1, .rows = shown});
    rows += shown;
  }
  return inputs;
}

void DetailByInput::fill_body() {
  std::vector<InputRows> inputs = rows_of_inputs();
  if (inputs.empty()) return;
  name_steps(inputs);
  fill_body_in_pieces<Piece>(
      *table_, inputs.back().last(), fills_side_by_side(session_),
      [&](Piece& piece) { begin_piece(piece, inputs); },
      [&](Piece& piece) {
        for (Part& part : piece.parts) fill_part(piece, part, inputs_(inputs[part.of].input));
      },
      [&](const Piece& piece) {
        gaps_.add(piece.gaps);
        for (const Part& part : piece.parts) inputs[part.of].failed += part.failed;
      });
  format_names(inputs);
  for (const InputRows& input : inputs) format_input_rows(input);
  add_step_notes(inputs);
}

// Takes the results from the records, which are asked from one thread.
void DetailByInput::begin_piece(Piece& piece, const std::vector<InputRows>& inputs) const {
  const auto rows = static_cast<std::size_t>(piece.block.rows());
  piece.results.resize(rows * static_cast<std::size_t>(c_.k));
  piece.parts.clear();
  auto at = std::ranges::upper_bound(inputs, piece.first, {}, &InputRows::first) - 1;
  for (std::int32_t row = 1; row <= piece.block.rows(); row += piece.parts.back().rows, ++at) {
    const model::DralInputOutput& input = inputs_(at->input);
    const std::int32_t first_step = piece.first + row - at->first;
    const std::int32_t part_rows = std::min(at->rows - first_step, piece.block.rows() - row) + 1;
    piece.parts.push_back({.of = static_cast<std::size_t>(at - inputs.begin()),
                           .row = row,
                           .rows = part_rows,
                           .first_step = first_step});
    std::span<double> results(piece.results);
    results = results.subspan(static_cast<std::size_t>(row - 1));
    for (std::int32_t k = 1; k <= c_.k; ++k) {
      input.copy_results(context_.selected(k), first_step,
                         results.first(static_cast<std::size_t>(part_rows)));
      if (k < c_.k) results = results.subspan(rows);
    }
    if (first_step == 1)
      session_.application().set_status_bar(session_.text(
          text_id::kDetailByInputProgress, std::int64_t{at->input}, std::int64_t{inputs_.size()}));
    CheckUserCancel(session_);
  }
}

void DetailByInput::fill_part(Piece& piece, Part& part, const model::DralInputOutput& input) const {
  const ItemCells values(input, kInputGaps);
  const auto columns = [](std::int32_t first) {
    return ItemColumns{.value = first, .change = first + 1, .fraction = first + 2};
  };
  const auto rows = static_cast<std::size_t>(piece.block.rows());
  for (std::int32_t i = 0; i < part.rows; ++i) {
    const FilledRow row = piece.row(part.row + i);
    const std::int32_t step = part.first_step + i;
    name_input(row.block, row.row, input);
    row.block.set_text(row.row, c_.step(), step_texts_(step));
    values.put(row, columns(c_.input_value()), input.InputValuesUsed(step));
    const double* result = &piece.results[static_cast<std::size_t>(row.row - 1)];
    for (std::int32_t k = 1; k <= c_.k; ++k, result += rows)
      if (!results_[static_cast<std::size_t>(k - 1)].put(row, columns(c_.output_value(k)), *result))
        ++part.failed;
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
void DetailByInput::name_steps(const std::vector<InputRows>& inputs) {
  const std::int32_t most = std::ranges::max_element(inputs, {}, &InputRows::rows)->rows;
  while (step_texts_.size() < most)
    step_texts_.push_back(session_.text(text_id::kDetailByInputStep, std::int64_t{step_texts_.size()} + 1));
}

// An input shows where its first row is darker; long names go on below there.
void DetailByInput::format_names(const std::vector<InputRows>& inputs) {
  table_->Body(1, 1, rows_, c_.cell())->set_font({.color = layout::look::kMuted});
  std::vector<std::int32_t> first_rows;
  for (const InputRows& input : inputs) {
    table_->Body(input.first, 1, 1, c_.cell())->set_font({.color = layout::look::kText});
    first_rows.push_back(input.first);
  }
  table_->WrapNames(first_rows);
}

// What one input's rows have of their own: its number format, a rule below them.
void DetailByInput::format_input_rows(const InputRows& input) {
  FormatValuesAndChanges(*table_, input.first, input.rows, c_.input_value(), inputs_(input.input));
  table_->AddRowRule(input.last());
}

void DetailByInput::add_step_notes(const std::vector<InputRows>& inputs) {
  std::size_t notes = 0;
  for (const InputRows& input : inputs) {
    if (input.failed == 0) continue;
    if (++notes > kMostStepNotes) return;
    table_->AddTableNote(input.first, c_.name, session_.text(text_id::kNoteTitle),
                         StepNote(session_, {.steps = input.rows * c_.k, .failed = input.failed}));
  }
}

}  // namespace

std::int32_t MakeDetailByInputReport(const Context& context) {
  DetailByInput(context).make();
  return 0;
}

}  // namespace ordvane::reports
