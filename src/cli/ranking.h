// Rankings as `ordvane show` prints them: what belongs to their parts, and the table for people.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "embedded/report_job.h"
#include "runfile/run.h"

namespace ordvane::cli {

inline const runfile::Output& output_of(const runfile::Run& run, const embedded::OutputRanking& ranking) {
  return run.outputs[static_cast<std::size_t>(ranking.output_index)];
}

inline const runfile::Input& input_of(const runfile::Run& run, const embedded::Effect& effect) {
  return run.inputs[static_cast<std::size_t>(effect.input_index)];
}

inline const runfile::Input& input_of(const runfile::Run& run, const embedded::GroupRanking::Member& member) {
  return run.inputs[static_cast<std::size_t>(member.input_index)];
}

// A text of every member of a group.
template <class Text>
std::string joined(const embedded::GroupRanking& group, const char* between, const Text& text_of) {
  std::string text;
  for (const embedded::GroupRanking::Member& member : group.members)
    text += (&member == &group.members.front() ? "" : between) + text_of(member);
  return text;
}

// A step as the run has it, in the order of the run; the missing-number marker for what is no number.
struct Step {
  double input, output;
};
std::vector<Step> steps_of(const runfile::Run& run, const embedded::OutputRanking& ranking,
                           const embedded::Effect& effect, std::int32_t simulation);

// How the ranking of an output is printed.
struct TableStyle {
  std::int32_t simulation = 1;
  model::SortBy sort = model::SortBy::kSwing;
  bool steps = false;
};
// The ranking of an output with bars, as wide as the terminal.
void print_table(const runfile::Run& run, const embedded::OutputRanking& ranking, const TableStyle& style);

}  // namespace ordvane::cli
