// The ranking of a run's inputs as a text for other programs.
#pragma once

#include <cstdint>
#include <vector>

#include "embedded/report_job.h"
#include "exchange/rows.h"
#include "runfile/run.h"

namespace ordvane::exchange {

// How rankings are shown.
struct RankingStyle {
  std::int32_t simulation = 1;  // one-based; of which the rankings are
  model::SortBy sort = model::SortBy::kSwing;
  bool steps = false;  // every step of every input, too
};

// JSON has outputs with their inputs and groups below them; CSV and NDJSON have a row an input, or a group,
// of one output, and no steps.
void write_ranking(const runfile::Run& run, const std::vector<embedded::OutputRanking>& rankings,
                   const RankingStyle& style, TextForm form, const Write& write);

// A step as the run has it, in the order of the run; the missing-number marker for what is no number.
struct Step {
  double input, output;
};
std::vector<Step> steps_of(const runfile::Run& run, const embedded::OutputRanking& ranking,
                           const embedded::Effect& effect, std::int32_t simulation);

// A row for each input of each output with what its steps answer: break-even, shape, share, elasticity.
void write_answers(const runfile::Run& run, const std::vector<embedded::OutputRanking>& rankings,
                   TextForm form, const Write& write);

inline const runfile::Output& output_of(const runfile::Run& run, const embedded::OutputRanking& ranking) {
  return run.outputs[static_cast<std::size_t>(ranking.output_index)];
}
inline const runfile::Input& input_of(const runfile::Run& run, const embedded::Effect& effect) {
  return run.inputs[static_cast<std::size_t>(effect.input_index)];
}
inline const runfile::Input& input_of(const runfile::Run& run, const embedded::GroupRanking::Member& member) {
  return run.inputs[static_cast<std::size_t>(member.input_index)];
}

}  // namespace ordvane::exchange
