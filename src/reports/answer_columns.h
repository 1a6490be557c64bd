// Columns of tables that say what the steps of an input answer: where its output reaches the target, its
// share of all movement, changes from the base value, elasticities, shape.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/cells.h"
#include "layout/column.h"
#include "layout/report_table.h"
#include "model/answers.h"
#include "reports/context.h"

namespace ordvane::reports {

enum class Answer : std::uint8_t {
  kBreakEven,
  kShare,
  kCumulativeShare,
  kDownside,
  kUpside,
  kElasticity,
  kArcElasticity,
  kTurn,
  kBend,
  kFailed
};
// Where a row stands for an input, and where it stands for a step. Neighbours share headings.
inline constexpr Answer kAnswersOfInputs[] = {
    Answer::kBreakEven, Answer::kShare,      Answer::kCumulativeShare, Answer::kDownside,
    Answer::kUpside,    Answer::kElasticity, Answer::kArcElasticity,   Answer::kTurn,
    Answer::kBend,      Answer::kFailed};
inline constexpr Answer kAnswersOfSteps[] = {Answer::kBreakEven, Answer::kShare, Answer::kElasticity,
                                             Answer::kTurn, Answer::kBend};

// The heading of what inputs can be sorted by.
session::TextId<0> SortHeading(model::SortBy order);

class AnswerColumns {
 public:
  // `first`: the column of the first answer, in a table with that many rows. What is referred to outlives
  // this object.
  AnswerColumns(const Context& context, const model::OutputAnswers& answers, std::span<const Answer> columns,
                std::int32_t first, std::int32_t rows);

  std::int32_t last() const { return first_ + static_cast<std::int32_t>(answers_shown_.size()) - 1; }
  // Captioned in the last row of a header with that many rows, below headings in the first.
  std::vector<layout::Column> columns(std::int32_t header_rows) const;
  // Fills a row of a block, which is the row `body_row` of the table.
  void fill(host::CellBlock& cells, std::int32_t row, std::int32_t body_row,
            const model::InputAnswers& answers);
  // Formats the columns whose rows show values of an input each, once they are written.
  void format(layout::ReportTable& table) const;

 private:
  host::CellValue value_of(Answer answer, const model::DralInputOutput& input,
                           const model::InputAnswers& answers) const;
  std::string format_of(Answer answer) const;
  std::string note_of(Answer answer) const;
  std::string target_text() const;

  const Context& context_;
  const model::OutputAnswers& answers_;
  std::span<const Answer> answers_shown_;
  std::int32_t first_;
  std::vector<std::string> input_formats_;  // by body row
};

}  // namespace ordvane::reports
