#include "sweep/describe.h"

#include <cstdint>

#include "sweep/calculator.h"
#include "text/edit.h"

namespace ordvane::sweep {
namespace {

std::string place_text(const Wanted& wanted) {
  if (!wanted.defined_name.empty()) return wanted.defined_name;
  return wanted.sheet.empty() ? wanted.cell : wanted.sheet + "!" + wanted.cell;
}

std::string number_text(double number) {
  return shown({number, {}});
}

std::string counted(std::int64_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string values_text(const WantedInput& input, std::int32_t steps) {
  const std::string count = counted(input.steps.value_or(steps), "step");
  if (!input.values.empty())
    return counted(static_cast<std::int64_t>(input.values.size()), "value") + ", " +
           number_text(input.values.front()) + " to " + number_text(input.values.back());
  if (input.percent)
    return count + ", " + number_text(input.percent->first) + "% to " + number_text(input.percent->second) +
           "% of " + (input.base ? number_text(*input.base) : "the base");
  const std::string days = input.low->is_date ? " (days)" : "";
  return count + ", " + number_text(input.low->value) + " to " + number_text(input.high->value) + days;
}

void add_item(std::string& text, const Wanted& wanted, const std::string& values) {
  text += "  " + text::one_line(place_text(wanted));
  if (!wanted.name.empty()) text += "  " + text::one_line(wanted.name);
  text += (values.empty() ? "" : "  " + values) + "\n";
}

}  // namespace

std::string describe(const WhatIf& what_if) {
  std::int64_t recalculations = 0;
  for (const WantedInput& input : what_if.inputs)
    recalculations += input.values.empty() ? input.steps.value_or(what_if.steps)
                                           : static_cast<std::int64_t>(input.values.size());
  std::string text = "What-if definition\n  " +
                     counted(static_cast<std::int64_t>(what_if.inputs.size()), "input") + ", " +
                     counted(static_cast<std::int64_t>(what_if.outputs.size()), "output") + ", " +
                     counted(recalculations, "recalculation") + " of inputs varied one at a time\n";
  if (what_if.all_groups)
    text += "  every group of " + std::to_string(what_if.all_groups->first) + " inputs, " +
            std::to_string(what_if.all_groups->second) + " steps each\n";
  else if (!what_if.groups.empty())
    text += "  " + std::to_string(what_if.groups.size()) + " groups of inputs varied together\n";
  text += "\nInputs\n";
  for (const WantedInput& input : what_if.inputs) add_item(text, input, values_text(input, what_if.steps));
  text += "\nOutputs\n";
  for (const Wanted& output : what_if.outputs) add_item(text, output, "");
  return text;
}

}  // namespace ordvane::sweep
