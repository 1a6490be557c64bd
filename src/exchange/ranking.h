// The ranking of a run's inputs as a text for other programs.
#pragma once

#include <cstdint>
#include <vector>

#include "embedded/report_job.h"
#include "exchange/rows.h"
#include "runfile/run.h"

namespace ordvane::exchange {

// JSON has outputs with their inputs and groups below them; CSV and NDJSON have a row an input, or a group,
// of one output.
void write_ranking(const runfile::Run& run, const std::vector<embedded::OutputRanking>& rankings,
                   std::int32_t simulation, TextForm form, const Write& write);

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
