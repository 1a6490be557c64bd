#include "exchange/ranking.h"

#include <string>
#include <utility>

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

Json json_effect(const runfile::Run& run, const Effect& effect) {
  Json json{{"rank", effect.rank}};
  json.update(json_item(input_of(run, effect)));
  json["low"] = number_or_null(effect.low);
  json["high"] = number_or_null(effect.high);
  json["swing"] = number_or_null(effect.swing);
  json["lowChange"] = number_or_null(effect.low_change);
  json["highChange"] = number_or_null(effect.high_change);
  json["inputAtLow"] = number_or_null(effect.input_at_low);
  json["inputAtHigh"] = number_or_null(effect.input_at_high);
  add_facts(json, effect.facts);
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
  json["low"] = number_or_null(group.low);
  json["high"] = number_or_null(group.high);
  json["swing"] = number_or_null(group.swing);
  json["lowChange"] = number_or_null(group.low_change);
  json["highChange"] = number_or_null(group.high_change);
  json["ownSwings"] = number_or_null(group.own_swings);
  json["interaction"] = number_or_null(group.interaction);
  add_facts(json, group.facts);
  json["interactionState"] = state_name(group.interaction_state);
  return json;
}

Json ranking_document(const runfile::Run& run, const std::vector<OutputRanking>& rankings,
                      std::int32_t simulation) {
  Json outputs = Json::array();
  for (const OutputRanking& ranking : rankings) {
    Json json = json_item(output_of(run, ranking));
    json["base"] = number_or_null(ranking.base);
    json["inputs"] = Json::array();
    for (const Effect& effect : ranking.effects) json["inputs"].push_back(json_effect(run, effect));
    for (const GroupRanking& group : ranking.groups) json["groups"].push_back(json_group(run, group));
    outputs.push_back(std::move(json));
  }
  Json document = document_head(kFormat, kVersion, run.file.string());
  document["simulation"] = simulation;
  document["outputs"] = std::move(outputs);
  return document;
}

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
  const std::vector<Json>& cells() const { return cells_; }

 private:
  std::vector<Json> cells_;
};

RankingRow effect_row(const runfile::Run& run, const OutputRanking& ranking, const Effect& effect) {
  const runfile::Input& input = input_of(run, effect);
  RankingRow row(output_of(run, ranking), ranking.base);
  row.add(effect.rank).add(input.name).add(input.sheet).add(input.cell);
  row.add_numbers({effect.low, effect.high, effect.swing, effect.low_change, effect.high_change,
                   effect.input_at_low, effect.input_at_high});
  const bool groups = !run.groups.empty();
  if (groups) row.add(1).add(number_or_null(effect.swing)).add(Json());
  row.add(effect.facts);
  if (groups) row.add(Json());
  return row;
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
  return row.add(group.facts).add(state_name(group.interaction_state));
}

}  // namespace

void write_ranking(const runfile::Run& run, const std::vector<OutputRanking>& rankings,
                   std::int32_t simulation, TextForm form, const Write& write) {
  if (form.form == Form::kJson) return write(document_text(ranking_document(run, rankings, simulation)));
  RowWriter rows(form, row_columns(!run.groups.empty()), Json(), write);
  for (const OutputRanking& ranking : rankings) {
    for (const Effect& effect : ranking.effects) rows.add(effect_row(run, ranking, effect).cells());
    for (const GroupRanking& group : ranking.groups) rows.add(group_row(run, ranking, group).cells());
  }
  rows.finish();
}

}  // namespace ordvane::exchange
