#include "embedded/selected_outputs.h"

#include <algorithm>
#include <limits>
#include <string>

namespace ordvane::embedded {

model::OneBased<std::int32_t> selected_outputs(const runfile::Run& run,
                                               const std::vector<std::int32_t>& positions) {
  const auto count = static_cast<std::int32_t>(run.outputs.size());
  model::OneBased<std::int32_t> selected;
  for (const std::int32_t position : positions) {
    if (position < 0 || position >= count)
      host::raise_subscript_out_of_range("output " + std::to_string(position) + " of " +
                                         std::to_string(count));
    if (std::find(selected.begin(), selected.end(), position) == selected.end()) selected.push_back(position);
  }
  if (positions.empty())
    for (std::int32_t position = 0; position < count; ++position) selected.push_back(position);
  return selected;
}

std::vector<std::int32_t> engine_inputs(const runfile::Run& run) {
  std::vector<std::int32_t> positions;
  for (std::size_t i = 0; i < run.inputs.size(); ++i)
    if (run.inputs[i].saved_samples) positions.push_back(static_cast<std::int32_t>(i));
  return positions;
}

model::OutputTarget own_target(const runfile::Run& run, std::size_t output) {
  const runfile::Output& item = run.outputs[output];
  model::OutputTarget target{.value = item.target.value_or(0)};
  if (!item.break_even) return target;
  const std::vector<std::int32_t> inputs = engine_inputs(run);
  target.sought.emplace();
  for (const runfile::BreakEven& point : *item.break_even) {
    const auto place = std::ranges::lower_bound(inputs, static_cast<std::int32_t>(point.input));
    target.sought->push_back({static_cast<std::int32_t>(place - inputs.begin()), point.value,
                              point.result.value_or(std::numeric_limits<double>::quiet_NaN())});
  }
  return target;
}

}  // namespace ordvane::embedded
