// The table under the spider and sensitivity graphs: every step of every reported input of one output, one
// block of rows an input, one row a step.
//
// The blocks are laid out when the object is made, so that a report knows what it will draw before the table
// has its place on the sheet. Series are drawn from the table's cells, or where the table shows that there is
// no number, from numbers and blanks in columns out of sight: a chart would draw a text as zero.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "layout/report_sheet.h"
#include "layout/report_table.h"
#include "model/answers.h"
#include "model/graph_ranges.h"
#include "model/input_output.h"
#include "reports/answer_columns.h"
#include "reports/context.h"
#include "reports/first_notes.h"
#include "session/session.h"

namespace ordvane::reports {

// The texts that differ from report to report.
struct StepTableTexts {
  session::TextId<1> caption;  // filled with the output's name
  session::TextId<0> subcaption;
  session::TextId<0> input_base_zero;  // notes
  session::TextId<0> output_base_zero;
  session::TextId<0> invalid;
  bool answers = false;  // columns of them, in the first row of every input
};

// Changes are fractions of the size of the base value.
enum class Quantity : std::uint8_t { kValue, kChange };

// What keeps an input from being drawn. One that moves nothing is drawn all the same, unless the session
// leaves such inputs out.
enum class Obstacle : std::uint8_t {
  kNone,
  kOutputBase,  // is 0 or no number
  kNoEffect,
  kBaseZero,
  kBaseInvalid,  // is no number
  kNoResults     // no step has numbers to draw
};

class StepTable {
 public:
  // Consecutive body rows of one input.
  struct Block {
    std::int32_t input;  // position in the input records
    std::int32_t first_row;
    std::int32_t rows;
    model::StepFacts facts;
  };

  // Lays out the inputs whose rank for the output is at most `limit` and that have steps, in their own order.
  // `answers`: of this output.
  StepTable(const Context& context, std::int32_t output, std::int32_t limit,
            const model::OutputAnswers& answers);

  const std::vector<Block>& blocks() const { return blocks_; }
  const model::DralInputOutput& input(const Block& block) const { return inputs_(block.input); }
  const model::DralInputOutput& output() const { return output_; }
  const model::OutputAnswers& answers() const { return answers_; }
  const model::InputAnswers& answers(const Block& block) const;
  Obstacle obstacle(const Block& block, Quantity quantity) const;

  // Places the table on the sheet and fills it. Asks between inputs whether to stop.
  void write(layout::ReportSheet& sheet, const StepTableTexts& texts);

  // One series of the written table, of a block without an obstacle: its input cells against its output
  // cells, from the first to the last step that can be drawn. Cells of steps between that cannot are blank.
  // `marks`: where the output is at its target, if that is wanted.
  void fill_range(model::OrdvaneGraphRange& range, const Block& block, Quantity quantity,
                  model::OrdvaneGraphRange* marks = nullptr);
  layout::ReportTable& table() { return *table_; }

 private:
  // Of an item: value, change, change in percent; and the notes on changes that its base value rules out.
  struct ItemColumns {
    const model::DralInputOutput& item;
    std::int32_t first;
    session::TextId<0> without_change;
    FirstNotes& base_notes;
  };
  struct Point {
    double x, y;
  };
  // Consecutive steps of a block.
  struct Steps {
    std::int32_t first = 1, count = 0;
    bool has_gaps = false;
  };

  std::int32_t column(std::int32_t after_places) const;
  double input_value(const Block& block, std::int32_t step) const;
  double output_value(const Block& block, std::int32_t step) const;
  // As a chart's axes have it; none for one that lacks a number.
  std::optional<Point> drawn(const Block& block, Point point, Quantity quantity) const;
  // None for a step that lacks a number.
  std::optional<Point> point(const Block& block, std::int32_t step, Quantity quantity) const;
  Steps drawable_steps(const Block& block, Quantity quantity) const;
  std::string caption(const StepTableTexts& texts) const;
  std::vector<layout::Column> columns() const;
  std::int32_t last_column() const;
  void write_block(const Block& block, const StepTableTexts& texts);
  void fill_item(host::CellBlock& cells, const Block& block, std::int32_t step, const ItemColumns& columns,
                 double value, session::TextId<0> invalid);
  void set_apart(const Block& block);

  const Context& context_;
  session::Session& session_;
  const model::Records& inputs_;
  const model::DralInputOutput& output_;
  std::int32_t output_index_;
  const model::OutputAnswers& answers_;
  std::vector<Block> blocks_;
  std::optional<AnswerColumns> answer_columns_;
  std::int32_t rows_ = 0;
  bool truncated_ = false;
  std::shared_ptr<layout::ReportTable> table_;
  FirstNotes notes_;  // those of all inputs
};

// Name of an input's series: at most 25 characters of its name, and its address.
std::string SeriesName(const model::DralInputOutput& input);

}  // namespace ordvane::reports
