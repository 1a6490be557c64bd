// ordvane show: the ranking of a run's inputs, as a table with bars or as data for programs.
#include <charconv>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "cli/commands.h"
#include "cli/figures.h"
#include "cli/output_choice.h"
#include "cli/ranking.h"
#include "embedded/report_job.h"
#include "text/numbers.h"

namespace ordvane::cli {
namespace {

using embedded::Effect;
using embedded::GroupRanking;
using embedded::OutputRanking;
using nlohmann::ordered_json;

ordered_json json_number(double value) {
  return is_there(value) ? ordered_json(value) : ordered_json();
}

ordered_json json_item(const runfile::Item& item) {
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

void add_facts(ordered_json& json, const model::StepFacts& facts) {
  json["steps"] = facts.steps;
  json["failed"] = facts.failed;
  json["moves"] = facts.moves;
  json["leavesOutBase"] = facts.leaves_out_base;
}

ordered_json json_effect(const runfile::Run& run, const Effect& effect) {
  ordered_json json{{"rank", effect.rank}};
  json.update(json_item(input_of(run, effect)));
  json["low"] = json_number(effect.low);
  json["high"] = json_number(effect.high);
  json["swing"] = json_number(effect.swing);
  json["lowChange"] = json_number(effect.low_change);
  json["highChange"] = json_number(effect.high_change);
  json["inputAtLow"] = json_number(effect.input_at_low);
  json["inputAtHigh"] = json_number(effect.input_at_high);
  add_facts(json, effect.facts);
  return json;
}

ordered_json json_figure(const std::optional<double>& figure) {
  return figure ? ordered_json(*figure) : ordered_json();
}

ordered_json json_point(const std::optional<model::StepPoint>& point) {
  return point ? ordered_json{{"input", point->input}, {"output", point->output}} : ordered_json();
}

void add_answers(ordered_json& json, const model::InputAnswers& answers) {
  json["share"] = json_figure(answers.share);
  json["cumulativeShare"] = json_figure(answers.cumulative_share);
  json["downside"] = json_figure(answers.downside);
  json["upside"] = json_figure(answers.upside);
  json["elasticity"] = json_figure(answers.elasticity);
  json["arcElasticity"] = json_figure(answers.arc_elasticity);
  json["breakEven"] = ordered_json::array();
  for (const model::Crossing& crossing : answers.break_even)
    json["breakEven"].push_back({{"input", crossing.input}, {"calculated", crossing.calculated}});
  json["peak"] = json_point(answers.shape.peak);
  json["valley"] = json_point(answers.shape.valley);
  json["bend"] = json_figure(answers.shape.bend);
}

ordered_json json_steps(const std::vector<Step>& steps) {
  ordered_json json = ordered_json::array();
  for (const Step& step : steps)
    json.push_back({{"input", json_number(step.input)}, {"output", json_number(step.output)}});
  return json;
}

ordered_json json_group(const runfile::Run& run, const GroupRanking& group) {
  ordered_json json{{"rank", group.rank}, {"inputs", ordered_json::array()}};
  for (const GroupRanking::Member& member : group.members) {
    ordered_json item = json_item(input_of(run, member));
    item["atLow"] = json_number(member.at_low);
    item["atHigh"] = json_number(member.at_high);
    item["ownSwing"] = json_number(member.own_swing);
    json["inputs"].push_back(std::move(item));
  }
  json["low"] = json_number(group.low);
  json["high"] = json_number(group.high);
  json["swing"] = json_number(group.swing);
  json["lowChange"] = json_number(group.low_change);
  json["highChange"] = json_number(group.high_change);
  json["ownSwings"] = json_number(group.own_swings);
  json["interaction"] = json_number(group.interaction);
  add_facts(json, group.facts);
  json["interactionState"] = state_name(group.interaction_state);
  return json;
}

void print_json(const runfile::Run& run, const std::vector<OutputRanking>& rankings,
                const TableStyle& style) {
  ordered_json outputs = ordered_json::array();
  for (const OutputRanking& ranking : rankings) {
    ordered_json json = json_item(output_of(run, ranking));
    json["base"] = json_number(ranking.base);
    json["target"] = ranking.answers.target;
    json["sentence"] = ranking.sentence;
    json["inputs"] = ordered_json::array();
    for (const std::size_t position : model::sorted_by(style.sort, ranking.answers.inputs)) {
      const Effect& effect = ranking.effects[position];
      ordered_json& input = json["inputs"].emplace_back(json_effect(run, effect));
      add_answers(input, ranking.answers.inputs[position]);
      if (style.steps) input["results"] = json_steps(steps_of(run, ranking, effect, style.simulation));
    }
    for (const GroupRanking& group : ranking.groups) json["groups"].push_back(json_group(run, group));
    outputs.push_back(std::move(json));
  }
  const ordered_json json{{"run", run.file.string()}, {"simulation", style.simulation}, {"outputs", outputs}};
  std::cout << json.dump(2, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}

std::string csv_text(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char letter : text) quoted += letter == '"' ? std::string("\"\"") : std::string(1, letter);
  return quoted + '"';
}

// The shortest text that reads back as the same number; nothing for a missing one.
std::string csv_number(double value) {
  return is_there(value) ? text::shortest_number(value) : "";
}

constexpr const char* kListSeparator = ";";  // between the members of a group

class CsvLine {
 public:
  CsvLine(const runfile::Output& output, double base) {
    add(output.name).add(output.sheet).add(output.cell).add(base);
  }
  CsvLine& add(const std::string& text) {
    if (!std::exchange(first_, false)) line_ += ',';
    line_ += csv_text(text);
    return *this;
  }
  CsvLine& add(double value) { return add(csv_number(value)); }
  CsvLine& add(const std::optional<double>& value) { return add(value.value_or(host::kMissingNumber)); }
  CsvLine& add(const model::InputAnswers& answers) {
    std::string places;
    for (const model::Crossing& crossing : answers.break_even)
      places += (places.empty() ? "" : kListSeparator) + csv_number(crossing.input);
    const auto place = [](const std::optional<model::StepPoint>& point) {
      return point ? std::optional(point->input) : std::nullopt;
    };
    return add(answers.share)
        .add(answers.cumulative_share)
        .add(answers.downside)
        .add(answers.upside)
        .add(answers.elasticity)
        .add(answers.arc_elasticity)
        .add(places)
        .add(place(answers.shape.peak))
        .add(place(answers.shape.valley))
        .add(answers.shape.bend);
  }
  CsvLine& add(const model::StepFacts& facts) {
    const auto flag = [](bool is_so) { return std::string(is_so ? "true" : "false"); };
    return add(std::to_string(facts.steps))
        .add(std::to_string(facts.failed))
        .add(flag(facts.moves))
        .add(flag(facts.leaves_out_base));
  }
  void print() const { std::cout << line_ << '\n'; }

 private:
  std::string line_;
  bool first_ = true;
};

constexpr const char* kAnswerFields =
    "share,cumulativeShare,downside,upside,elasticity,arcElasticity,breakEven,peakAt,valleyAt,bend";

void print_csv(const runfile::Run& run, const std::vector<OutputRanking>& rankings, model::SortBy sort) {
  const bool groups = !run.groups.empty();
  std::cout << "output,outputSheet,outputCell,base,rank,input,inputSheet,inputCell,low,high,swing,lowChange,"
               "highChange,inputAtLow,inputAtHigh"
            << (groups ? ",inputs,ownSwings,interaction" : "") << ",steps,failed,moves,leavesOutBase"
            << (groups ? ",interactionState" : "") << ',' << kAnswerFields << '\n';
  for (const OutputRanking& ranking : rankings) {
    const runfile::Output& output = output_of(run, ranking);
    for (const std::size_t position : model::sorted_by(sort, ranking.answers.inputs)) {
      const Effect& effect = ranking.effects[position];
      const runfile::Input& input = input_of(run, effect);
      CsvLine line(output, ranking.base);
      line.add(std::to_string(effect.rank)).add(input.name).add(input.sheet).add(input.cell);
      for (const double value : {effect.low, effect.high, effect.swing, effect.low_change, effect.high_change,
                                 effect.input_at_low, effect.input_at_high})
        line.add(value);
      if (groups) line.add("1").add(effect.swing).add(host::kMissingNumber);
      line.add(effect.facts);
      if (groups) line.add("");
      line.add(ranking.answers.inputs[position]).print();
    }
    for (const GroupRanking& group : ranking.groups) {
      using Member = GroupRanking::Member;
      const auto list = [&](const auto& text_of) { return joined(group, kListSeparator, text_of); };
      CsvLine line(output, ranking.base);
      line.add(std::to_string(group.rank));
      for (std::string runfile::Item::*part :
           {&runfile::Item::name, &runfile::Item::sheet, &runfile::Item::cell})
        line.add(list([&](const Member& member) { return input_of(run, member).*part; }));
      for (const double value : {group.low, group.high, group.swing, group.low_change, group.high_change})
        line.add(value);
      line.add(list([](const Member& member) { return csv_number(member.at_low); }))
          .add(list([](const Member& member) { return csv_number(member.at_high); }))
          .add(std::to_string(group.members.size()))
          .add(group.own_swings)
          .add(group.interaction)
          .add(group.facts)
          .add(state_name(group.interaction_state))
          .add(model::InputAnswers{})
          .print();
    }
  }
}

}  // namespace

int show(const ShowCommand& command, Problems& problems) {
  const auto run = read_run(command.run, problems);
  std::vector<std::int32_t> outputs;
  if (command.steps && command.form == ShowForm::kCsv)
    problems.add("--steps: goes without --csv; the run's own CSV has every step");
  if (run) {
    problems.gather([&] { outputs = find_outputs(*run, command.outputs); });
    if (command.simulation > run->simulations)
      problems.add("--simulation: the run has simulations 1 to " + std::to_string(run->simulations));
  }
  problems.refuse_any();
  const auto rankings = embedded::rank_outputs(run, outputs, command.simulation, command.target);
  const TableStyle style{.simulation = command.simulation, .sort = command.sort, .steps = command.steps};
  switch (command.form) {
    case ShowForm::kJson:
      print_json(*run, rankings, style);
      break;
    case ShowForm::kCsv:
      print_csv(*run, rankings, style.sort);
      break;
    case ShowForm::kTable:
      for (std::size_t i = 0; i < rankings.size(); ++i) {
        if (i > 0) std::cout << '\n';
        print_table(*run, rankings[i], style);
      }
  }
  return kDone;
}

}  // namespace ordvane::cli
