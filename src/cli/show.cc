// ordvane show: the ranking of a run's inputs, as a table with bars or as data for programs.
#include <charconv>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
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
                std::int32_t simulation) {
  ordered_json outputs = ordered_json::array();
  for (const OutputRanking& ranking : rankings) {
    ordered_json json = json_item(output_of(run, ranking));
    json["base"] = json_number(ranking.base);
    json["inputs"] = ordered_json::array();
    for (const Effect& effect : ranking.effects) json["inputs"].push_back(json_effect(run, effect));
    for (const GroupRanking& group : ranking.groups) json["groups"].push_back(json_group(run, group));
    outputs.push_back(std::move(json));
  }
  const ordered_json json{{"run", run.file.string()}, {"simulation", simulation}, {"outputs", outputs}};
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

void print_csv(const runfile::Run& run, const std::vector<OutputRanking>& rankings) {
  const bool groups = !run.groups.empty();
  std::cout << "output,outputSheet,outputCell,base,rank,input,inputSheet,inputCell,low,high,swing,lowChange,"
               "highChange,inputAtLow,inputAtHigh"
            << (groups ? ",inputs,ownSwings,interaction" : "") << ",steps,failed,moves,leavesOutBase"
            << (groups ? ",interactionState\n" : "\n");
  for (const OutputRanking& ranking : rankings) {
    const runfile::Output& output = output_of(run, ranking);
    for (const Effect& effect : ranking.effects) {
      const runfile::Input& input = input_of(run, effect);
      CsvLine line(output, ranking.base);
      line.add(std::to_string(effect.rank)).add(input.name).add(input.sheet).add(input.cell);
      for (const double value : {effect.low, effect.high, effect.swing, effect.low_change, effect.high_change,
                                 effect.input_at_low, effect.input_at_high})
        line.add(value);
      if (groups) line.add("1").add(effect.swing).add(host::kMissingNumber);
      line.add(effect.facts);
      if (groups) line.add("");
      line.print();
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
          .print();
    }
  }
}

}  // namespace

int show(const ShowCommand& command, Problems& problems) {
  const auto run = read_run(command.run, problems);
  std::vector<std::int32_t> outputs;
  if (run) {
    problems.gather([&] { outputs = find_outputs(*run, command.outputs); });
    if (command.simulation > run->simulations)
      problems.add("--simulation: the run has simulations 1 to " + std::to_string(run->simulations));
  }
  problems.refuse_any();
  const auto rankings = embedded::rank_outputs(run, outputs, command.simulation);
  switch (command.form) {
    case ShowForm::kJson:
      print_json(*run, rankings, command.simulation);
      break;
    case ShowForm::kCsv:
      print_csv(*run, rankings);
      break;
    case ShowForm::kTable:
      for (std::size_t i = 0; i < rankings.size(); ++i) {
        if (i > 0) std::cout << '\n';
        print_table(*run, rankings[i]);
      }
  }
  return kDone;
}

}  // namespace ordvane::cli
