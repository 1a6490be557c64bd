// The ranking of a run without its reports: the scan that the reports use, over the embedded spreadsheet.
#include <algorithm>
#include <string>

#include "embedded/embedded_environment.h"
#include "embedded/report_job.h"
#include "embedded/selected_outputs.h"
#include "environment/string_table.h"
#include "model/engine_reader.h"
#include "model/multi_way.h"
#include "model/naming.h"
#include "model/scan.h"
#include "reports/answers.h"
#include "runfile/recorded_engine.h"

namespace ordvane::embedded {
namespace {

// Spreadsheet errors are no numbers either.
double shown(const model::NumberRules& rules, double value) {
  return rules.is_usable(value) ? value : rules.missing_number();
}

std::string name_of(const model::DralInputOutput& input) {
  return input.has_name() ? input.ioName : input.cellAddress;
}

Effect effect_of(const model::DralInputOutput& input, std::int32_t output,
                 const model::OutputAnswers& answers, std::int32_t position) {
  const model::NumberRules& rules = input.rules();
  const auto shown = [&](double value) { return embedded::shown(rules, value); };
  Effect effect;
  effect.input = name_of(input);
  effect.input_index = position;
  effect.rank = input.rank(output);
  effect.facts = answers.inputs.at(static_cast<std::size_t>(effect.rank - 1)).facts;
  effect.low = shown(input.outputMinValue(output));
  effect.high = shown(input.outputMaxValue(output));
  effect.swing = rules.difference(effect.high, effect.low);
  effect.low_change = shown(input.outputMinPercentChange(output));
  effect.high_change = shown(input.outputMaxPercentChange(output));
  const bool has_ends = !effect.facts.without_effect();
  effect.input_at_low = has_ends ? shown(input.minInputValue(output)) : rules.missing_number();
  effect.input_at_high = has_ends ? shown(input.maxInputValue(output)) : rules.missing_number();
  return effect;
}

// What the combinations of a group say besides their ends.
model::StepFacts facts_of(const model::MultiGroup& group, const model::GroupEffect& effect,
                          const model::NumberRules& rules, double base) {
  model::StepFacts facts{.steps = group.combinations, .failed = effect.failed};
  facts.leaves_out_base = effect.leaves_out_base;
  if (effect.lowest_at == 0) return facts;
  facts.moves = rules.difference(effect.highest, effect.lowest) != 0 ||
                (rules.is_usable(base) && rules.difference(effect.lowest, base) != 0);
  return facts;
}

GroupRanking ranking_of(const model::MultiGroup& group, const model::GroupEffect& effect,
                        const model::Records& inputs, const model::DralInputOutput& output_record,
                        std::int32_t output, const std::vector<std::int32_t>& positions) {
  const model::NumberRules& output_rules = output_record.rules();
  GroupRanking ranking;
  ranking.rank = effect.rank;
  ranking.low = effect.lowest;
  ranking.high = effect.highest;
  ranking.low_change = effect.lowest_change;
  ranking.high_change = effect.highest_change;
  ranking.swing = effect.lowest_at == 0 ? output_rules.missing_number() : effect.swing;
  ranking.own_swings = effect.own_swings;
  ranking.interaction = effect.interaction;
  ranking.interaction_state = effect.interaction_state;
  ranking.facts = facts_of(group, effect, output_rules, output_record.BaseValue());
  for (std::int32_t m = 1; m <= group.members.size(); ++m) {
    const model::DralInputOutput& input = inputs(group.members(m));
    const model::NumberRules& rules = input.rules();
    const auto value_at = [&](std::int32_t combination) {
      return combination == 0
                 ? rules.missing_number()
                 : shown(rules, group.inputs(m).value[static_cast<std::size_t>(combination - 1)]);
    };
    ranking.members.push_back(
        {.input = name_of(input),
         .input_index = positions.at(static_cast<std::size_t>(input.ioIndex)),
         .at_low = value_at(effect.lowest_at),
         .at_high = value_at(effect.highest_at),
         .own_swing = rules.difference(input.outputMaxValue(output), input.outputMinValue(output))});
  }
  return ranking;
}

template <class Ranked>
void sort_by_rank(std::vector<Ranked>& items) {
  std::sort(items.begin(), items.end(), [](const Ranked& a, const Ranked& b) { return a.rank < b.rank; });
}

}  // namespace

std::vector<OutputRanking> rank_outputs(const std::shared_ptr<const runfile::Run>& run,
                                        const std::vector<std::int32_t>& outputs,
                                        const RankingOptions& ranking_options) {
  const std::int32_t simulation = ranking_options.simulation;
  if (simulation < 1 || simulation > run->simulations)
    host::raise_subscript_out_of_range("simulation " + std::to_string(simulation) + " of " +
                                       std::to_string(run->simulations));
  ReportOptions options;
  options.language = ranking_options.language;
  session::Session session;
  session.environment = std::make_shared<EmbeddedEnvironment>(options);
  session.engine = runfile::make_recorded_engine(run);
  session.g_XLApp = open_model(*run);
  session.string_table = environment::make_string_table(environment::language(options.language));
  session.session_flag = 1;

  model::OrdvaneScan scan(session);
  model::Records input_records;
  model::Records output_records;
  std::int32_t automatic = 0;
  scan.newScan(input_records, engine::kInput, automatic);
  scan.newScan(output_records, engine::kOutput, automatic);

  model::fill_number_formats(session, output_records, output_records.size());
  model::fill_number_formats(session, input_records, input_records.size());
  const std::int32_t recalculations =
      model::EngineReader(session).recalculations(input_records.size()).standard;

  const auto indexes = selected_outputs(*run, outputs);
  model::OneBased<std::int32_t> positions;  // of the records, which stand in the engine's order
  for (const std::int32_t index : indexes) positions.push_back(index + 1);
  scan.getData(input_records, output_records, positions, recalculations, simulation);

  const std::vector<std::int32_t> ordered = engine_inputs(*run);
  const model::MultiWayRun multi_way_run =
      model::ReadMultiWay(session, input_records, output_records, positions, 0, simulation);
  std::vector<OutputRanking> rankings;
  for (const std::int32_t index : indexes) {
    if (ranking_options.progress)
      ranking_options.progress(rankings.size(), static_cast<std::size_t>(indexes.size()));
    const model::DralInputOutput& output = output_records(index + 1);
    OutputRanking ranking{
        .output_index = index,
        .output = output.has_name() ? output.ioName : "",
        .base = shown(output.rules(), output.BaseValue()),
        .effects = {},
        .answers = reports::AnswersOf(
            input_records, output_records, index + 1,
            model::wanted_target(ranking_options.target, own_target(*run, static_cast<std::size_t>(index)))),
        .sentence = {},
        .groups = {}};
    for (const model::DralInputOutput& input : input_records)
      ranking.effects.push_back(
          effect_of(input, index + 1, ranking.answers, ordered.at(static_cast<std::size_t>(input.ioIndex))));
    sort_by_rank(ranking.effects);
    ranking.sentence = reports::AnswerSentence(session, input_records, output_records,
                                               model::range_mode_of(input_records), ranking.answers);
    const auto selected = static_cast<std::int32_t>(rankings.size()) + 1;
    const model::GroupEffects effects =
        model::RankGroups(multi_way_run, input_records, output_records, selected, index + 1);
    for (std::int32_t g = 1; g <= effects.size(); ++g)
      ranking.groups.push_back(
          ranking_of(multi_way_run.groups(g), effects(g), input_records, output, index + 1, ordered));
    sort_by_rank(ranking.groups);
    rankings.push_back(std::move(ranking));
  }
  return rankings;
}

}  // namespace ordvane::embedded
