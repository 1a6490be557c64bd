#include "reports/answer_columns.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "host/environment.h"
#include "reports/answers.h"
#include "reports/item_texts.h"
#include "reports/report_columns.h"
#include "reports/table_values.h"
#include "reports/value_text.h"

namespace ordvane::reports {
namespace {

using model::InputAnswers;

struct Texts {
  session::TextId<0> group;  // that of the break-even has a place, and is none of these
  session::TextId<0> caption;
};

Texts texts_of(Answer answer) {
  switch (answer) {
    case Answer::kBreakEven:
      break;
    case Answer::kShare:
      return {text_id::kAnswersShareGroup, text_id::kAnswersShare};
    case Answer::kCumulativeShare:
      return {text_id::kAnswersShareGroup, text_id::kAnswersCumulative};
    case Answer::kDownside:
      return {text_id::kAnswersChangeGroup, text_id::kAnswersDownside};
    case Answer::kUpside:
      return {text_id::kAnswersChangeGroup, text_id::kAnswersUpside};
    case Answer::kElasticity:
      return {text_id::kAnswersElasticity, text_id::kAnswersElasticityBase};
    case Answer::kArcElasticity:
      return {text_id::kAnswersElasticity, text_id::kAnswersElasticityArc};
    case Answer::kTurn:
      return {text_id::kAnswersShape, text_id::kAnswersTurnsAt};
    case Answer::kBend:
      return {text_id::kAnswersShape, text_id::kAnswersBend};
    case Answer::kFailed:
      return {text_id::kAnswersShape, text_id::kAnswersFailed};
  }
  return {text_id::kHeadingInput, text_id::kHeadingInput};
}

bool shows_input_value(Answer answer) {
  return answer == Answer::kBreakEven || answer == Answer::kTurn;
}

host::CellValue cell_of(const std::optional<double>& figure) {
  return figure ? host::CellValue(*figure) : host::CellValue(host::kNotShown);
}

// The one value, or several as a text.
host::CellValue cell_of(session::Session& session, const model::DralInputOutput& input,
                        const std::vector<double>& values) {
  if (values.empty()) return host::kNotShown;
  if (values.size() == 1) return values.front();
  return ValuesText(session, input, values);
}

}  // namespace

session::TextId<0> SortHeading(model::SortBy order) {
  switch (order) {
    case model::SortBy::kSwing:
      break;
    case model::SortBy::kDownside:
      return text_id::kAnswersDownside;
    case model::SortBy::kUpside:
      return text_id::kAnswersUpside;
    case model::SortBy::kElasticity:
      return text_id::kAnswersElasticity;
  }
  return text_id::kRangeSwing;
}

AnswerColumns::AnswerColumns(const Context& context, const model::OutputAnswers& answers,
                             std::span<const Answer> columns, std::int32_t first, std::int32_t rows)
    : context_(context),
      answers_(answers),
      answers_shown_(columns),
      first_(first),
      input_formats_(static_cast<std::size_t>(rows)) {}

std::string AnswerColumns::target_text() const {
  return ValueText(context_.session, context_.outputs(answers_.output), answers_.target, kDigitsOfLabel);
}

std::vector<layout::Column> AnswerColumns::columns(std::int32_t header_rows) const {
  const session::Session& session = context_.session;
  std::vector<layout::Column> all, group;
  const auto end_group = [&](const std::string& caption) {
    layout::append(all, ruled(layout::grouped(caption, 1, std::exchange(group, {}), header_rows - 1)));
  };
  for (std::size_t i = 0; i < answers_shown_.size(); ++i) {
    const Answer answer = answers_shown_[i];
    const Texts texts = texts_of(answer);
    layout::Column& column = group.emplace_back(layout::figure_column(session.text(texts.caption)));
    column.number_format = format_of(answer);
    if (group.size() == 1) column.note = note_of(answer);
    if (answer == Answer::kBreakEven) {
      column.begins_block = true;
      end_group(session.text(text_id::kAnswersOutputAt, target_text()));
    } else if (i + 1 == answers_shown_.size() || !(texts_of(answers_shown_[i + 1]).group == texts.group)) {
      end_group(session.text(texts.group));
    }
  }
  return all;
}

std::string AnswerColumns::format_of(Answer answer) const {
  switch (answer) {
    case Answer::kShare:
    case Answer::kCumulativeShare:
    case Answer::kBend:
      return PercentFormat();
    case Answer::kDownside:
    case Answer::kUpside:
      return ChangeFormat(context_.outputs(answers_.output));
    case Answer::kElasticity:
    case Answer::kArcElasticity:
      return "0.00";
    default:
      return {};
  }
}

std::string AnswerColumns::note_of(Answer answer) const {
  const session::Session& session = context_.session;
  switch (answer) {
    case Answer::kBreakEven:
      return session.text(
          answers_.asked_model ? text_id::kAnswersNoteSoughtAt : text_id::kAnswersNoteOutputAt,
          target_text());
    case Answer::kElasticity:
      return session.text(text_id::kAnswersNoteElasticity);
    case Answer::kTurn:
      return session.text(text_id::kAnswersNoteShape);
    default:
      return {};
  }
}

host::CellValue AnswerColumns::value_of(Answer answer, const model::DralInputOutput& input,
                                        const InputAnswers& answers) const {
  std::vector<double> places;
  switch (answer) {
    case Answer::kBreakEven:
      for (const model::Crossing& crossing : answers.break_even.reached) places.push_back(crossing.input);
      return cell_of(context_.session, input, places);
    case Answer::kShare:
      return cell_of(answers.share);
    case Answer::kCumulativeShare:
      return cell_of(answers.cumulative_share);
    case Answer::kDownside:
      return cell_of(answers.downside);
    case Answer::kUpside:
      return cell_of(answers.upside);
    case Answer::kElasticity:
      return cell_of(answers.elasticity);
    case Answer::kArcElasticity:
      return cell_of(answers.arc_elasticity);
    case Answer::kTurn:
      for (const auto& extreme : {answers.shape.peak, answers.shape.valley})
        if (extreme) places.push_back(extreme->input);
      return cell_of(context_.session, input, places);
    case Answer::kBend:
      return cell_of(answers.shape.bend);
    case Answer::kFailed:
      return static_cast<double>(answers.facts.failed);
  }
  return host::kNotShown;
}

void AnswerColumns::fill(host::CellBlock& cells, std::int32_t row, std::int32_t body_row,
                         const InputAnswers& answers) {
  const model::DralInputOutput& input = context_.inputs(answers.input);
  for (std::int32_t column = first_; const Answer answer : answers_shown_) {
    const host::CellValue value = value_of(answer, input, answers);
    if (value.is_number())
      cells.set_number(row, column, value.number);
    else
      cells.set_text(row, column, value.text);
    ++column;
  }
  input_formats_[static_cast<std::size_t>(body_row - 1)] = ValueFormat(input);
}

// Neighbours with one format are formatted together.
void AnswerColumns::format(layout::ReportTable& table) const {
  const auto begin = input_formats_.begin();
  for (auto first = begin, end = begin; first != input_formats_.end(); first = end) {
    end = std::find_if(first, input_formats_.end(),
                       [&](const std::string& format) { return format != *first; });
    if (first->empty()) continue;
    for (std::int32_t column = first_; const Answer answer : answers_shown_) {
      if (shows_input_value(answer))
        table.FormatBody(static_cast<std::int32_t>(first - begin) + 1, static_cast<std::int32_t>(end - first),
                         column, *first);
      ++column;
    }
  }
}

}  // namespace ordvane::reports
