#include "reports/matrix.h"

#include <algorithm>
#include <string>
#include <vector>

#include "layout/look.h"
#include "model/grids.h"
#include "model/step_facts.h"
#include "reports/body_writer.h"
#include "reports/detail_by_input.h"
#include "reports/item_texts.h"
#include "reports/output_detail.h"
#include "reports/progress.h"
#include "reports/report_columns.h"
#include "reports/sheet_opening.h"
#include "reports/step_remarks.h"
#include "reports/table_values.h"

namespace ordvane::reports {
namespace {

constexpr std::int32_t kHeaderRows = 2;
constexpr std::int32_t kColumnsPerOutput = 2;
constexpr std::size_t kMostStepNotes = 500;  // a spreadsheet takes its time over each
constexpr const char* kShareFormat = "0%";
constexpr host::Color kWidest = 0xE6A882;

class Matrix {
 public:
  explicit Matrix(const Context& context)
      : context_(context),
        session_(context.session),
        outputs_(std::min(context.selected.size(), kMostDetailOutputs)),
        rows_(std::min(context.inputs.size(), kMostDetailRows)) {}

  void make() {
    rank_inputs();
    const auto sheet =
        StartSheet(context_, {text_id::kMatrixSheetName, text_id::kMatrixTitle, text_id::kMatrixRun});
    const std::string first =
        context_.outputs(context_.selected(1)).NameOrQualifiedCellAddressName(context_.range_mode);
    const auto table =
        AddTable(*sheet, rows_, kHeaderRows,
                 {session_.text(text_id::kMatrixCaption), session_.text(text_id::kMatrixSubcaption, first)},
                 columns());
    table->SetIdentityColumns(first_figure() - 1, 1);
    table->WrapNames();
    fill(*table);
    for (std::int32_t k = 1; k <= outputs_; ++k)
      table->Body(1, share_column(k), rows_)->add_color_scale({{0, 0xFFFFFF}, {1, kWidest}});
    table->FilterRows();
    sheet->FinishSheet();
  }

 private:
  std::int32_t first_figure() const { return static_cast<std::int32_t>(context_.range_mode) + 3; }
  std::int32_t share_column(std::int32_t k) const { return first_figure() + (k - 1) * kColumnsPerOutput; }

  void rank_inputs() {
    for (const model::DralInputOutput& input : context_.inputs) by_rank_.push_back(&input);
    std::stable_sort(by_rank_.begin(), by_rank_.end(), [&](const auto* a, const auto* b) {
      return a->rank(context_.selected(1)) < b->rank(context_.selected(1));
    });
  }

  std::vector<layout::Column> columns() const {
    const SharedColumns shared(context_);
    std::vector<layout::Column> columns = {shared.name()};
    layout::append(columns, shared.places());
    layout::append(columns, ruled({shared.cell()}));
    for (std::int32_t k = 1; k <= outputs_; ++k) {
      std::vector<layout::Column> figures = {layout::figure_column(session_.text(text_id::kMatrixShare)),
                                             shared.rank()};
      figures.front().number_format = kShareFormat;
      figures.front().begins_block = true;
      if (k == 1) figures.front().note = session_.text(text_id::kMatrixShareNote);
      if (k == 1 && outputs_ < context_.selected.size())
        figures.front().note += " " + session_.text(text_id::kDetailByInputFirstOutputsOnly);
      layout::append(columns, layout::grouped(shared.heading(context_.outputs(context_.selected(k))), 1,
                                              ruled(figures)));
    }
    return columns;
  }

  // Shares of an output, in the order of the rows.
  std::vector<double> shares_of(std::int32_t output) const {
    const model::NumberRules& rules = context_.outputs(output).rules();
    std::vector<double> swings;
    for (const model::DralInputOutput* input : by_rank_)
      swings.push_back(rules.difference(input->outputMaxValue(output), input->outputMinValue(output)));
    return model::SharesOfWidest(swings, rules);
  }

  void fill(layout::ReportTable& table) {
    std::vector<std::vector<double>> shares;
    for (std::int32_t k = 1; k <= outputs_; ++k) shares.push_back(shares_of(context_.selected(k)));
    BodyWriter body(table, rows_);
    for (std::int32_t i = 1; i <= rows_; ++i) {
      CheckUserCancel(session_);
      const model::DralInputOutput& input = *by_rank_[static_cast<std::size_t>(i - 1)];
      const std::int32_t row = body.next_row();
      body.block().set_text(row, 1, ItemLabel(input));
      PutPlace(body.block(), row, 2, context_.range_mode, input);
      body.block().set_text(row, first_figure() - 1, input.cellAddress);
      for (std::int32_t k = 1; k <= outputs_; ++k) {
        const double share = shares[static_cast<std::size_t>(k - 1)][static_cast<std::size_t>(i - 1)];
        std::int32_t flags = 0;
        FormatTableValue(input.rules(), body.block(), row, share_column(k), share, flags, 1.0,
                         model::OrdvaneDivisorOutput);
        body.block().set_number(row, share_column(k) + 1, input.rank(context_.selected(k)));
      }
    }
    body.flush();
    add_notes(table);
    for (std::int32_t k = 1; k <= outputs_; ++k)
      table.Body(1, share_column(k) + 1, rows_)->set_font({.color = layout::look::kMuted});
  }

  // Where the swing may be cut.
  void add_notes(layout::ReportTable& table) {
    std::size_t notes = 0;
    for (std::int32_t i = 1; i <= rows_; ++i) {
      const model::DralInputOutput& input = *by_rank_[static_cast<std::size_t>(i - 1)];
      for (std::int32_t k = 1; k <= outputs_; ++k) {
        const std::int32_t output = context_.selected(k);
        const model::StepFacts facts = model::step_facts(input, output, context_.outputs(output).BaseValue());
        const std::string note = StepNote(session_, {.steps = facts.steps, .failed = facts.failed});
        if (note.empty()) continue;
        if (++notes > kMostStepNotes) return;
        table.AddTableNote(i, share_column(k), session_.text(text_id::kNoteTitle), note);
      }
    }
  }

  const Context& context_;
  session::Session& session_;
  std::int32_t outputs_, rows_;
  std::vector<const model::DralInputOutput*> by_rank_;  // for the first output
};

}  // namespace

void MakeMatrixReport(const Context& context) {
  Matrix(context).make();
}

}  // namespace ordvane::reports
