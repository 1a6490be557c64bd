#include "exchange/ranking.h"

#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include "runfile/values.h"

namespace ordvane::exchange {
namespace {

using embedded::Effect;
using embedded::GroupRanking;
using embedded::OutputRanking;

constexpr const char* kFormat = "ordvane-ranking";
constexpr int kVersion = 1;

Json json_item(const runfile::Item& item) {
  return {{"name", item.name}, {"book", item.book}, {"sheet", item.sheet}, {"cell", item.cell}};
}

const char* state_name(model::InteractionState state) {
  switch (state) {
    case model::InteractionState::kMeasured:
      return "measured";
    case model::InteractionState::kNoOwnSwing:
      return "noOwnSwing";
    case model::InteractionState::kOtherValues:
      return "otherValues";
    case model::InteractionState::kErrors:
      return "errors";
  }
  return "";
}

void add_facts(Json& json, const model::StepFacts& facts) {
  json["steps"] = facts.steps;
  json["failed"] = facts.failed;
  json["moves"] = facts.moves;
  json["leavesOutBase"] = facts.leaves_out_base;
}

// Of an input or a group.
template <class Ranked>
void add_ends(Json& json, const Ranked& ranked) {
  json["low"] = number_or_null(ranked.low);
  json["high"] = number_or_null(ranked.high);
  json["swing"] = number_or_null(ranked.swing);
  json["lowChange"] = number_or_null(ranked.low_change);
  json["highChange"] = number_or_null(ranked.high_change);
}

Json json_effect(const runfile::Run& run, const Effect& effect) {
  Json json{{"rank", effect.rank}};
  json.update(json_item(input_of(run, effect)));
  add_ends(json, effect);
  json["inputAtLow"] = number_or_null(effect.input_at_low);
  json["inputAtHigh"] = number_or_null(effect.input_at_high);
  add_facts(json, effect.facts);
  return json;
}

Json figure(const std::optional<double>& value) {
  return value ? Json(*value) : Json();
}

Json json_point(const std::optional<model::StepPoint>& point) {
  return point ? Json{{"input", point->input}, {"output", point->output}} : Json();
}

void add_answers(Json& json, const model::InputAnswers& answers) {
  json["share"] = figure(answers.share);
  json["cumulativeShare"] = figure(answers.cumulative_share);
  json["downside"] = figure(answers.downside);
  json["upside"] = figure(answers.upside);
  json["elasticity"] = figure(answers.elasticity);
  json["arcElasticity"] = figure(answers.arc_elasticity);
  json["breakEven"] = Json::array();
  for (const model::Crossing& crossing : answers.break_even.reached)
    json["breakEven"].push_back({{"input", crossing.input},
                                 {"calculated", crossing.place == model::Crossing::Place::kStep},
                                 {"refined", crossing.place == model::Crossing::Place::kModel}});
  json["passesAt"] = answers.break_even.passed;
  json["peak"] = json_point(answers.shape.peak);
  json["valley"] = json_point(answers.shape.valley);
  json["bend"] = figure(answers.shape.bend);
}

Json json_steps(const std::vector<Step>& steps) {
  Json json = Json::array();
  for (const Step& step : steps)
    json.push_back({{"input", number_or_null(step.input)}, {"output", number_or_null(step.output)}});
  return json;
}

Json json_group(const runfile::Run& run, const GroupRanking& group) {
  Json json{{"rank", group.rank}, {"inputs", Json::array()}};
  for (const GroupRanking::Member& member : group.members) {
    Json item = json_item(input_of(run, member));
    item["atLow"] = number_or_null(member.at_low);
    item["atHigh"] = number_or_null(member.at_high);
    item["ownSwing"] = number_or_null(member.own_swing);
    json["inputs"].push_back(std::move(item));
  }
  add_ends(json, group);
  json["ownSwings"] = number_or_null(group.own_swings);
  json["interaction"] = number_or_null(group.interaction);
  add_facts(json, group.facts);
  json["interactionState"] = state_name(group.interaction_state);
  return json;
}

Json ranking_document(const runfile::Run& run, const std::vector<OutputRanking>& rankings,
                      const RankingStyle& style) {
  Json outputs = Json::array();
  for (const OutputRanking& ranking : rankings) {
    Json json = json_item(output_of(run, ranking));
    json["base"] = number_or_null(ranking.base);
    json["target"] = ranking.answers.target;
    json["sentence"] = ranking.sentence;
    json["inputs"] = Json::array();
    for (const std::size_t position : model::sorted_by(style.sort, ranking.answers.inputs)) {
      const Effect& effect = ranking.effects[position];
      Json& input = json["inputs"].emplace_back(json_effect(run, effect));
      add_answers(input, ranking.answers.inputs[position]);
      if (style.steps) input["results"] = json_steps(steps_of(run, ranking, effect, style.simulation));
    }
    for (const GroupRanking& group : ranking.groups) json["groups"].push_back(json_group(run, group));
    outputs.push_back(std::move(json));
  }
  Json document = document_head(kFormat, kVersion, run.file.string());
  document["simulation"] = style.simulation;
  document["outputs"] = std::move(outputs);
  return document;
}

const std::vector<std::string> kAnswerColumns{
    "share",     "cumulativeShare", "downside", "upside", "elasticity", "arcElasticity",
    "breakEven", "peakAt",          "valleyAt", "bend",   "passesAt"};

// Columns of groups are there when the run has any.
std::vector<std::string> row_columns(bool groups) {
  std::vector<std::string> columns{"output", "outputSheet", "outputCell", "base",       "rank",
                                   "input",  "inputSheet",  "inputCell",  "low",        "high",
                                   "swing",  "lowChange",   "highChange", "inputAtLow", "inputAtHigh"};
  const auto add = [&](std::initializer_list<const char*> more) {
    columns.insert(columns.end(), more.begin(), more.end());
  };
  if (groups) add({"inputs", "ownSwings", "interaction"});
  add({"steps", "failed", "moves", "leavesOutBase"});
  if (groups) add({"interactionState"});
  columns.insert(columns.end(), kAnswerColumns.begin(), kAnswerColumns.end());
  return columns;
}

// The cells of one row.
class RankingRow {
 public:
  RankingRow(const runfile::Output& output, double base)
      : cells_{output.name, output.sheet, output.cell, number_or_null(base)} {}
  RankingRow& add(Json cell) {
    cells_.push_back(std::move(cell));
    return *this;
  }
  RankingRow& add_numbers(std::initializer_list<double> values) {
    for (const double value : values) add(number_or_null(value));
    return *this;
  }
  RankingRow& add(const model::StepFacts& facts) {
    return add(facts.steps).add(facts.failed).add(facts.moves).add(facts.leaves_out_base);
  }
  // In the order of their columns.
  RankingRow& add(const model::InputAnswers& answers) {
    const auto input_at = [](const std::optional<model::StepPoint>& point) {
      return point ? Json(point->input) : Json();
    };
    Json places = Json::array();
    for (const model::Crossing& crossing : answers.break_even.reached) places.push_back(crossing.input);
    for (const auto& value : {answers.share, answers.cumulative_share, answers.downside, answers.upside,
                              answers.elasticity, answers.arc_elasticity})
      add(figure(value));
    add(std::move(places)).add(input_at(answers.shape.peak)).add(input_at(answers.shape.valley));
    return add(figure(answers.shape.bend)).add(Json(answers.break_even.passed));
  }
  const std::vector<Json>& cells() const { return cells_; }

 private:
  std::vector<Json> cells_;
};

RankingRow effect_row(const runfile::Run& run, const OutputRanking& ranking, std::size_t position) {
  const Effect& effect = ranking.effects[position];
  const runfile::Input& input = input_of(run, effect);
  RankingRow row(output_of(run, ranking), ranking.base);
  row.add(effect.rank).add(input.name).add(input.sheet).add(input.cell);
  row.add_numbers({effect.low, effect.high, effect.swing, effect.low_change, effect.high_change,
                   effect.input_at_low, effect.input_at_high});
  const bool groups = !run.groups.empty();
  if (groups) row.add(1).add(number_or_null(effect.swing)).add(Json());
  row.add(effect.facts);
  if (groups) row.add(Json());
  return row.add(ranking.answers.inputs[position]);
}

RankingRow group_row(const runfile::Run& run, const OutputRanking& ranking, const GroupRanking& group) {
  using Member = GroupRanking::Member;
  const auto list = [&](const auto& cell_of) {
    Json cells = Json::array();
    for (const Member& member : group.members) cells.push_back(cell_of(member));
    return cells;
  };
  RankingRow row(output_of(run, ranking), ranking.base);
  row.add(group.rank);
  for (std::string runfile::Item::*part : {&runfile::Item::name, &runfile::Item::sheet, &runfile::Item::cell})
    row.add(list([&](const Member& member) { return Json(input_of(run, member).*part); }));
  row.add_numbers({group.low, group.high, group.swing, group.low_change, group.high_change});
  row.add(list([](const Member& member) { return number_or_null(member.at_low); }));
  row.add(list([](const Member& member) { return number_or_null(member.at_high); }));
  row.add(group.members.size()).add_numbers({group.own_swings, group.interaction});
  return row.add(group.facts).add(state_name(group.interaction_state)).add(model::InputAnswers());
}

RankingRow answers_row(const runfile::Run& run, const OutputRanking& ranking, std::size_t position) {
  const Effect& effect = ranking.effects[position];
  const runfile::Input& input = input_of(run, effect);
  RankingRow row(output_of(run, ranking), ranking.base);
  row.add(ranking.answers.target).add(effect.rank).add(input.name).add(input.sheet).add(input.cell);
  return row.add(ranking.answers.inputs[position]);
}

}  // namespace

void write_answers(const runfile::Run& run, const std::vector<OutputRanking>& rankings, TextForm form,
                   const Write& write) {
  std::vector<std::string> columns{"output", "outputSheet", "outputCell", "base",     "target",
                                   "rank",   "input",       "inputSheet", "inputCell"};
  columns.insert(columns.end(), kAnswerColumns.begin(), kAnswerColumns.end());
  RowWriter rows(form, std::move(columns), document_head("ordvane-answers", kVersion, run.file.string()),
                 write);
  for (const OutputRanking& ranking : rankings)
    for (std::size_t position = 0; position < ranking.effects.size(); ++position)
      rows.add(answers_row(run, ranking, position).cells());
  rows.finish();
}

void write_ranking(const runfile::Run& run, const std::vector<OutputRanking>& rankings,
                   const RankingStyle& style, TextForm form, const Write& write) {
  if (form.form == Form::kJson) return write(document_text(ranking_document(run, rankings, style)));
  RowWriter rows(form, row_columns(!run.groups.empty()), Json(), write);
  for (const OutputRanking& ranking : rankings) {
    for (const std::size_t position : model::sorted_by(style.sort, ranking.answers.inputs))
      rows.add(effect_row(run, ranking, position).cells());
    for (const GroupRanking& group : ranking.groups) rows.add(group_row(run, ranking, group).cells());
  }
  rows.finish();
}

std::vector<Step> steps_of(const runfile::Run& run, const OutputRanking& ranking, const Effect& effect,
                           std::int32_t simulation) {
  const auto number = [](double value) {
    return std::fabs(value) < runfile::kNumberLimit ? value : host::kMissingNumber;
  };
  std::int64_t first = 0;
  for (std::int32_t i = 0; i < effect.input_index; ++i)
    first += run.inputs[static_cast<std::size_t>(i)].steps;
  std::vector<Step> steps;
  for (std::int64_t step = first; step < first + input_of(run, effect).steps; ++step)
    steps.push_back({number(run.input_values[run.input_value_index(simulation - 1, step)]),
                     number(run.output_values[run.output_value_index(
                         simulation - 1, static_cast<std::size_t>(ranking.output_index), step)])});
  return steps;
}

}  // namespace ordvane::exchange
