#include "reports/answers.h"

#include <algorithm>
#include <optional>

#include "layout/format_codes.h"
#include "reports/item_texts.h"
#include "reports/table_values.h"
#include "reports/value_text.h"

namespace ordvane::reports {
namespace {

using model::InputAnswers;
using model::OutputAnswers;

std::string label_text(session::Session& session, const model::DralInputOutput& item, double value) {
  return ValueText(session, item, value, kDigitsOfLabel);
}

// "Price (44 to 104: -633 to 948)"
std::string described(session::Session& session, const model::DralInputOutput& input,
                      const model::DralInputOutput& output, model::OrdvaneRangeMode mode,
                      const InputAnswers& answers) {
  const auto range = [&](const model::DralInputOutput& item, double model::StepPoint::*value) {
    if (answers.curve.size() == 1) return label_text(session, item, answers.curve.front().*value);
    return session.text(text_id::kAnswersRange, label_text(session, item, answers.curve.front().*value),
                        label_text(session, item, answers.curve.back().*value));
  };
  return session.text(text_id::kAnswersInput, input.NameOrQualifiedCellAddressName(mode),
                      range(input, &model::StepPoint::input), range(output, &model::StepPoint::output));
}

// The first inputs with values of a kind, each with them: "Price = 67.4".
std::vector<std::string> first_places(session::Session& session, const model::Records& inputs,
                                      model::OrdvaneRangeMode mode, std::span<const InputAnswers> of,
                                      const auto& values_of) {
  std::vector<std::string> places;
  for (const InputAnswers& each : of) {
    const std::vector<double> values = values_of(each);
    if (values.empty()) continue;
    const model::DralInputOutput& input = inputs(each.input);
    places.push_back(session.text(text_id::kAnswersEquals, input.NameOrQualifiedCellAddressName(mode),
                                  ValuesText(session, input, values)));
    if (places.size() == kMostNamed) break;
  }
  return places;
}

}  // namespace

OutputAnswers AnswersOf(const model::Records& inputs, const model::Records& outputs, std::int32_t output,
                        const model::OutputTarget& target) {
  OutputAnswers answers = model::answers_of(inputs, outputs, output, target);
  const bool is_date = layout::shows_date(outputs(output).numberFormat);
  for (InputAnswers& each : answers.inputs)
    if (is_date || layout::shows_date(inputs(each.input).numberFormat))
      each.elasticity = each.arc_elasticity = std::nullopt;
  return answers;
}

OutputAnswers AnswersOf(const Context& context, std::int32_t output) {
  return AnswersOf(context.inputs, context.outputs, output,
                   context.settings.target_of(context.outputs(output).ioIndex));
}

std::string ValuesText(session::Session& session, const model::DralInputOutput& item,
                       const std::vector<double>& values) {
  std::string text;
  for (const double value : values) text += (text.empty() ? "" : " / ") + label_text(session, item, value);
  return text;
}

std::string TargetSentence(session::Session& session, const model::Records& inputs,
                           const model::Records& outputs, model::OrdvaneRangeMode mode,
                           const OutputAnswers& answers, std::span<const InputAnswers> of) {
  const model::DralInputOutput& output = outputs(answers.output);
  std::string sentence;
  const auto add = [&](session::TextId<3> text, const std::vector<std::string>& places) {
    if (places.empty()) return;
    if (!sentence.empty()) sentence += " ";
    sentence += session.text(text, output.NameOrQualifiedCellAddressName(mode),
                             label_text(session, output, answers.target), session.list_of(places));
  };
  const auto places = [&](const auto& values_of) {
    return first_places(session, inputs, mode, of, values_of);
  };
  add(text_id::kAnswersReaches, places([](const InputAnswers& each) {
        std::vector<double> values;
        for (const model::Crossing& crossing : each.break_even.reached) values.push_back(crossing.input);
        return values;
      }));
  add(text_id::kAnswersPasses, places([](const InputAnswers& each) { return each.break_even.passed; }));
  return sentence;
}

std::string DependsSentence(session::Session& session, const std::string& output,
                            const std::vector<std::string>& moving) {
  if (moving.empty()) return session.text(text_id::kAnswersNothing, output);
  if (moving.size() == 1) return session.text(text_id::kAnswersMost, output, moving.front());
  return session.text(text_id::kAnswersMostThen, output, moving.front(),
                      session.list_of({moving.begin() + 1, moving.end()}));
}

std::string GroupText(session::Session& session, const std::string& group,
                      const model::DralInputOutput& output, double low, double high) {
  return session.text(text_id::kAnswersGroup, group,
                      session.text(text_id::kAnswersRange, label_text(session, output, low),
                                   label_text(session, output, high)));
}

std::string AnswerSentence(session::Session& session, const model::Records& inputs,
                           const model::Records& outputs, model::OrdvaneRangeMode mode,
                           const OutputAnswers& answers) {
  const model::DralInputOutput& output = outputs(answers.output);
  const std::string name = output.NameOrQualifiedCellAddressName(mode);
  std::vector<std::string> moving;
  for (const InputAnswers& each : answers.inputs)
    if (each.facts.moves && !each.curve.empty() && moving.size() < kMostNamed)
      moving.push_back(described(session, inputs(each.input), output, mode, each));
  std::string sentence = DependsSentence(session, name, moving);
  if (moving.empty()) return sentence;
  // A date is at no target unless one is asked for.
  const bool is_date = output.IsDate || layout::shows_date(output.numberFormat);
  const auto reaches = [](const InputAnswers& each) { return !each.break_even.reached.empty(); };
  if (!is_date && std::none_of(answers.inputs.begin(), answers.inputs.end(), reaches))
    sentence +=
        " " + session.text(text_id::kAnswersNotReached, name, label_text(session, output, answers.target));
  const std::string target = TargetSentence(session, inputs, outputs, mode, answers, answers.inputs);
  return target.empty() ? sentence : sentence + " " + target;
}

void WriteShapeLines(const Context& context, layout::ReportSheet& sheet, const OutputAnswers& answers,
                     std::int32_t limit, const std::string& mark) {
  session::Session& session = context.session;
  std::vector<std::string> turning, bending;
  for (const InputAnswers& each : answers.inputs) {
    if (each.rank > limit) break;
    const model::DralInputOutput& input = context.inputs(each.input);
    const auto equals = [&](const std::string& value) {
      return session.text(text_id::kAnswersEquals, ItemLabel(input), value);
    };
    for (const auto& extreme : {each.shape.peak, each.shape.valley})
      if (extreme) turning.push_back(equals(label_text(session, input, extreme->input)));
    if (each.shape.bends())
      bending.push_back(equals(NumberText(session, *each.shape.bend, "0%", kDigitsOfLabel)));
  }
  if (!turning.empty())
    sheet.AddLine(mark + session.text(text_id::kAnswersTurning, session.list_of(turning)));
  if (!bending.empty()) sheet.AddLine(session.text(text_id::kAnswersBending, session.list_of(bending)));
}

}  // namespace ordvane::reports
