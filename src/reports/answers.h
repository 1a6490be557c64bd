// What the steps answer, in words: the sentence at every graph, and the lines about inputs whose output does
// not follow a straight line.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "layout/report_sheet.h"
#include "model/answers.h"
#include "model/enumerations.h"
#include "model/input_output.h"
#include "reports/context.h"
#include "session/session.h"

namespace ordvane::reports {

// Of an output; without elasticities of items whose cells show dates.
model::OutputAnswers AnswersOf(const model::Records& inputs, const model::Records& outputs,
                               std::int32_t output, const model::OutputTarget& target);
// Of an output of the context, with the target that the settings give it.
model::OutputAnswers AnswersOf(const Context& context, std::int32_t output);

// Which inputs move the output most, from which values to which, and where it reaches its target:
//   Profit depends most on Price (44 to 104: -633 to 948), then on Cost (…). Profit is 0 at Price = 67.4.
// Values are written as cells show them, in the session's language.
std::string AnswerSentence(session::Session& session, const model::Records& inputs,
                           const model::Records& outputs, model::OrdvaneRangeMode mode,
                           const model::OutputAnswers& answers);
// "Profit depends most on Price + Cost (-633 to 948), then on …." of what moves an output, the first first.
std::string DependsSentence(session::Session& session, const std::string& output,
                            const std::vector<std::string>& moving);
// The same of inputs varied together, which take the output from `low` to `high`: "Price + Cost (-633 to
// 948)".
std::string GroupText(session::Session& session, const std::string& group,
                      const model::DralInputOutput& output, double low, double high);
inline constexpr std::size_t kMostNamed = 3;  // in a sentence

// "Profit is 0 at Price = 67.4." of these inputs, and where it passes the target without being at it; ""
// where none of them does either.
std::string TargetSentence(session::Session& session, const model::Records& inputs,
                           const model::Records& outputs, model::OrdvaneRangeMode mode,
                           const model::OutputAnswers& answers, std::span<const model::InputAnswers> of);
// Values of an item side by side, apart from those of another in a list: "8.4 / 9.6".
std::string ValuesText(session::Session& session, const model::DralInputOutput& item,
                       const std::vector<double>& values);

// Behind the name of an input whose output turns back inside the range.
inline constexpr const char* kTurningMark = " *";
// Lines below what the sheet holds so far: of the inputs with a rank up to `limit`, those whose output turns
// back, with `mark` in front of the line, and those whose output is off the straight line.
void WriteShapeLines(const Context& context, layout::ReportSheet& sheet, const model::OutputAnswers& answers,
                     std::int32_t limit, const std::string& mark = {});

}  // namespace ordvane::reports
